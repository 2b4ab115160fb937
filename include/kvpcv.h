/*
 * kvpcv.h - kvpCV, a library of two-dimensional computer-vision primitives.
 *
 * Conventions: an image plane is a pointer to the first pixel of the region
 * of interest, a row step in bytes and a KvpiSize shared by all planes of a
 * call. Every function except kvpcvGetLibVersion returns a KvpStatus: 0 for
 * success, negative for errors, positive for warnings; a failed argument
 * check writes nothing. Mask planes are 8-bit, non-zero meaning "take part".
 *
 * Plain C99; usable from C and C++.
 */
#ifndef KVPCV_H
#define KVPCV_H

/* One declaration per line (the build checks the list against it). */
/* clang-format off */

#include "kvpcore.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================
 * Library
 * ====================================================================== */

typedef struct {
  int major;
  int minor;
  int majorBuild;
  int build;
  char targetCpu[4];
  const char* name;
  const char* version;
  const char* buildDate;
} KvpLibraryVersion;

/** The constant version record of the code path in use; never null. */
KVP_API const KvpLibraryVersion* kvpcvGetLibVersion(void);

/* ======================================================================
 * Shared types of the border filters and the analysis families
 * ====================================================================== */

/** Border of a filter: the pixels outside the image a kernel reads. */
typedef enum {
  kvpBorderConst = 0,   /**< a given constant */
  kvpBorderRepl = 1,    /**< the edge pixel repeated */
  kvpBorderWrap = 2,    /**< the image repeated periodically */
  kvpBorderMirror = 3,  /**< reflected about the edge pixel (not repeated) */
  kvpBorderMirrorR = 4  /**< reflected, the edge pixel repeated */
} KvpiBorderType;

/** Fixed mask sizes, rows x columns. */
typedef enum {
  kvpMskSize1x3 = 13,
  kvpMskSize1x5 = 15,
  kvpMskSize3x1 = 31,
  kvpMskSize3x3 = 33,
  kvpMskSize5x1 = 51,
  kvpMskSize5x5 = 55
} KvpiMaskSize;

/** Norms; where a norm selects connectivity, L1 means 4-connected and Inf 8-connected. */
typedef enum {
  kvpiNormInf = 0,
  kvpiNormL1 = 1,
  kvpiNormL2 = 2
} KvpiNorm;

/** Derivative kernels. */
typedef enum {
  kvpFilterSobel = 0,
  kvpFilterScharr = 1
} KvpiDifferentialKernel;

/** Interpolation. */
typedef enum {
  kvpInterNN = 1,
  kvpInterLinear = 2
} KvpiInterpolationType;

/** A point with float coordinates. */
typedef struct {
  Kvp32f x;
  Kvp32f y;
} KvpiPoint_32f;

/** A size with float extents. */
typedef struct {
  Kvp32f width;
  Kvp32f height;
} KvpiSize_32f;

/* ======================================================================
 * Accumulation and absolute difference (single-precision accumulator)
 * ====================================================================== */

/** acc += src */
KVP_API KvpStatus kvpiAdd_8u32f_C1IR(const Kvp8u* pSrc, int srcStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src */
KVP_API KvpStatus kvpiAdd_8s32f_C1IR(const Kvp8s* pSrc, int srcStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src */
KVP_API KvpStatus kvpiAdd_16u32f_C1IR(const Kvp16u* pSrc, int srcStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src where mask != 0 */
KVP_API KvpStatus kvpiAdd_8u32f_C1IMR(const Kvp8u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src where mask != 0 */
KVP_API KvpStatus kvpiAdd_8s32f_C1IMR(const Kvp8s* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src where mask != 0 */
KVP_API KvpStatus kvpiAdd_16u32f_C1IMR(const Kvp16u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src where mask != 0 */
KVP_API KvpStatus kvpiAdd_32f_C1IMR(const Kvp32f* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);

/** acc += src * src */
KVP_API KvpStatus kvpiAddSquare_8u32f_C1IR(const Kvp8u* pSrc, int srcStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src * src */
KVP_API KvpStatus kvpiAddSquare_8s32f_C1IR(const Kvp8s* pSrc, int srcStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src * src */
KVP_API KvpStatus kvpiAddSquare_16u32f_C1IR(const Kvp16u* pSrc, int srcStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src * src */
KVP_API KvpStatus kvpiAddSquare_32f_C1IR(const Kvp32f* pSrc, int srcStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src * src where mask != 0 */
KVP_API KvpStatus kvpiAddSquare_8u32f_C1IMR(const Kvp8u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src * src where mask != 0 */
KVP_API KvpStatus kvpiAddSquare_8s32f_C1IMR(const Kvp8s* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src * src where mask != 0 */
KVP_API KvpStatus kvpiAddSquare_16u32f_C1IMR(const Kvp16u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src * src where mask != 0 */
KVP_API KvpStatus kvpiAddSquare_32f_C1IMR(const Kvp32f* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);

/** acc += src1 * src2 */
KVP_API KvpStatus kvpiAddProduct_8u32f_C1IR(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src1 * src2 */
KVP_API KvpStatus kvpiAddProduct_8s32f_C1IR(const Kvp8s* pSrc1, int src1Step, const Kvp8s* pSrc2, int src2Step, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src1 * src2 */
KVP_API KvpStatus kvpiAddProduct_16u32f_C1IR(const Kvp16u* pSrc1, int src1Step, const Kvp16u* pSrc2, int src2Step, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src1 * src2 */
KVP_API KvpStatus kvpiAddProduct_32f_C1IR(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2, int src2Step, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src1 * src2 where mask != 0 */
KVP_API KvpStatus kvpiAddProduct_8u32f_C1IMR(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src1 * src2 where mask != 0 */
KVP_API KvpStatus kvpiAddProduct_8s32f_C1IMR(const Kvp8s* pSrc1, int src1Step, const Kvp8s* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src1 * src2 where mask != 0 */
KVP_API KvpStatus kvpiAddProduct_16u32f_C1IMR(const Kvp16u* pSrc1, int src1Step, const Kvp16u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);
/** acc += src1 * src2 where mask != 0 */
KVP_API KvpStatus kvpiAddProduct_32f_C1IMR(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize);

/** acc = (src - acc) * alpha + acc */
KVP_API KvpStatus kvpiAddWeighted_8u32f_C1IR(const Kvp8u* pSrc, int srcStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp32f alpha);
/** acc = (src - acc) * alpha + acc */
KVP_API KvpStatus kvpiAddWeighted_8s32f_C1IR(const Kvp8s* pSrc, int srcStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp32f alpha);
/** acc = (src - acc) * alpha + acc */
KVP_API KvpStatus kvpiAddWeighted_16u32f_C1IR(const Kvp16u* pSrc, int srcStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp32f alpha);
/** acc = (src - acc) * alpha + acc */
KVP_API KvpStatus kvpiAddWeighted_32f_C1IR(const Kvp32f* pSrc, int srcStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp32f alpha);
/** acc = (src - acc) * alpha + acc where mask != 0 */
KVP_API KvpStatus kvpiAddWeighted_8u32f_C1IMR(const Kvp8u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp32f alpha);
/** acc = (src - acc) * alpha + acc where mask != 0 */
KVP_API KvpStatus kvpiAddWeighted_8s32f_C1IMR(const Kvp8s* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp32f alpha);
/** acc = (src - acc) * alpha + acc where mask != 0 */
KVP_API KvpStatus kvpiAddWeighted_16u32f_C1IMR(const Kvp16u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp32f alpha);
/** acc = (src - acc) * alpha + acc where mask != 0 */
KVP_API KvpStatus kvpiAddWeighted_32f_C1IMR(const Kvp32f* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp32f alpha);
/** dst = (src1 - src2) * alpha + src2 (never threaded) */
KVP_API KvpStatus kvpiAddWeighted_32f_C1R(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2, int src2Step, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp32f alpha);

/** dst = |src1 - src2| */
KVP_API KvpStatus kvpiAbsDiff_8u_C1R(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step, Kvp8u* pDst, int dstStep, KvpiSize roiSize);
/** dst = |src1 - src2|, three interleaved channels */
KVP_API KvpStatus kvpiAbsDiff_8u_C3R(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step, Kvp8u* pDst, int dstStep, KvpiSize roiSize);
/** dst = |src1 - src2| */
KVP_API KvpStatus kvpiAbsDiff_16u_C1R(const Kvp16u* pSrc1, int src1Step, const Kvp16u* pSrc2, int src2Step, Kvp16u* pDst, int dstStep, KvpiSize roiSize);
/** dst = |src1 - src2| */
KVP_API KvpStatus kvpiAbsDiff_32f_C1R(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2, int src2Step, Kvp32f* pDst, int dstStep, KvpiSize roiSize);
/** dst = |src - value|, value clamped to 0..255 */
KVP_API KvpStatus kvpiAbsDiffC_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, int value);
/** dst = |src - value|, value clamped to 0..65535 */
KVP_API KvpStatus kvpiAbsDiffC_16u_C1R(const Kvp16u* pSrc, int srcStep, Kvp16u* pDst, int dstStep, KvpiSize roiSize, int value);
/** dst = |src - value| */
KVP_API KvpStatus kvpiAbsDiffC_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp32f value);

/* ======================================================================
 * Norms
 * ====================================================================== */

/** largest |src| where mask != 0 */
KVP_API KvpStatus kvpiNorm_Inf_8u_C1MR(const Kvp8u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** largest |src| over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNorm_Inf_8u_C3CMR(const Kvp8u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** largest |src| where mask != 0 */
KVP_API KvpStatus kvpiNorm_Inf_8s_C1MR(const Kvp8s* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** largest |src| over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNorm_Inf_8s_C3CMR(const Kvp8s* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** largest |src| where mask != 0 */
KVP_API KvpStatus kvpiNorm_Inf_16u_C1MR(const Kvp16u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** largest |src| over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNorm_Inf_16u_C3CMR(const Kvp16u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** largest |src| where mask != 0 */
KVP_API KvpStatus kvpiNorm_Inf_32f_C1MR(const Kvp32f* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** largest |src| over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNorm_Inf_32f_C3CMR(const Kvp32f* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** sum of |src| where mask != 0 */
KVP_API KvpStatus kvpiNorm_L1_8u_C1MR(const Kvp8u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** sum of |src| over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNorm_L1_8u_C3CMR(const Kvp8u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** sum of |src| where mask != 0 */
KVP_API KvpStatus kvpiNorm_L1_8s_C1MR(const Kvp8s* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** sum of |src| over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNorm_L1_8s_C3CMR(const Kvp8s* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** sum of |src| where mask != 0 */
KVP_API KvpStatus kvpiNorm_L1_16u_C1MR(const Kvp16u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** sum of |src| over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNorm_L1_16u_C3CMR(const Kvp16u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** sum of |src| where mask != 0 */
KVP_API KvpStatus kvpiNorm_L1_32f_C1MR(const Kvp32f* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** sum of |src| over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNorm_L1_32f_C3CMR(const Kvp32f* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** sqrt of the sum of (src)^2 where mask != 0 */
KVP_API KvpStatus kvpiNorm_L2_8u_C1MR(const Kvp8u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** sqrt of the sum of (src)^2 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNorm_L2_8u_C3CMR(const Kvp8u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** sqrt of the sum of (src)^2 where mask != 0 */
KVP_API KvpStatus kvpiNorm_L2_8s_C1MR(const Kvp8s* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** sqrt of the sum of (src)^2 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNorm_L2_8s_C3CMR(const Kvp8s* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** sqrt of the sum of (src)^2 where mask != 0 */
KVP_API KvpStatus kvpiNorm_L2_16u_C1MR(const Kvp16u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** sqrt of the sum of (src)^2 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNorm_L2_16u_C3CMR(const Kvp16u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** sqrt of the sum of (src)^2 where mask != 0 */
KVP_API KvpStatus kvpiNorm_L2_32f_C1MR(const Kvp32f* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** sqrt of the sum of (src)^2 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNorm_L2_32f_C3CMR(const Kvp32f* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** largest |src1 - src2| where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_Inf_8u_C1MR(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** largest |src1 - src2| over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_Inf_8u_C3CMR(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** largest |src1 - src2| where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_Inf_8s_C1MR(const Kvp8s* pSrc1, int src1Step, const Kvp8s* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** largest |src1 - src2| over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_Inf_8s_C3CMR(const Kvp8s* pSrc1, int src1Step, const Kvp8s* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** largest |src1 - src2| where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_Inf_16u_C1MR(const Kvp16u* pSrc1, int src1Step, const Kvp16u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** largest |src1 - src2| over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_Inf_16u_C3CMR(const Kvp16u* pSrc1, int src1Step, const Kvp16u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** largest |src1 - src2| where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_Inf_32f_C1MR(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** largest |src1 - src2| over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_Inf_32f_C3CMR(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** sum of |src1 - src2| where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_L1_8u_C1MR(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** sum of |src1 - src2| over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_L1_8u_C3CMR(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** sum of |src1 - src2| where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_L1_8s_C1MR(const Kvp8s* pSrc1, int src1Step, const Kvp8s* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** sum of |src1 - src2| over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_L1_8s_C3CMR(const Kvp8s* pSrc1, int src1Step, const Kvp8s* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** sum of |src1 - src2| where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_L1_16u_C1MR(const Kvp16u* pSrc1, int src1Step, const Kvp16u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** sum of |src1 - src2| over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_L1_16u_C3CMR(const Kvp16u* pSrc1, int src1Step, const Kvp16u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** sum of |src1 - src2| where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_L1_32f_C1MR(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** sum of |src1 - src2| over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_L1_32f_C3CMR(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** sqrt of the sum of (src1 - src2)^2 where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_L2_8u_C1MR(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** sqrt of the sum of (src1 - src2)^2 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_L2_8u_C3CMR(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** sqrt of the sum of (src1 - src2)^2 where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_L2_8s_C1MR(const Kvp8s* pSrc1, int src1Step, const Kvp8s* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** sqrt of the sum of (src1 - src2)^2 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_L2_8s_C3CMR(const Kvp8s* pSrc1, int src1Step, const Kvp8s* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** sqrt of the sum of (src1 - src2)^2 where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_L2_16u_C1MR(const Kvp16u* pSrc1, int src1Step, const Kvp16u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** sqrt of the sum of (src1 - src2)^2 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_L2_16u_C3CMR(const Kvp16u* pSrc1, int src1Step, const Kvp16u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** sqrt of the sum of (src1 - src2)^2 where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_L2_32f_C1MR(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** sqrt of the sum of (src1 - src2)^2 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormDiff_L2_32f_C3CMR(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** Inf norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 where mask != 0 */
KVP_API KvpStatus kvpiNormRel_Inf_8u_C1MR(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** Inf norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormRel_Inf_8u_C3CMR(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** Inf norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 where mask != 0 */
KVP_API KvpStatus kvpiNormRel_Inf_8s_C1MR(const Kvp8s* pSrc1, int src1Step, const Kvp8s* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** Inf norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormRel_Inf_8s_C3CMR(const Kvp8s* pSrc1, int src1Step, const Kvp8s* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** Inf norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 where mask != 0 */
KVP_API KvpStatus kvpiNormRel_Inf_16u_C1MR(const Kvp16u* pSrc1, int src1Step, const Kvp16u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** Inf norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormRel_Inf_16u_C3CMR(const Kvp16u* pSrc1, int src1Step, const Kvp16u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** Inf norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 where mask != 0 */
KVP_API KvpStatus kvpiNormRel_Inf_32f_C1MR(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** Inf norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormRel_Inf_32f_C3CMR(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** L1 norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 where mask != 0 */
KVP_API KvpStatus kvpiNormRel_L1_8u_C1MR(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** L1 norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormRel_L1_8u_C3CMR(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** L1 norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 where mask != 0 */
KVP_API KvpStatus kvpiNormRel_L1_8s_C1MR(const Kvp8s* pSrc1, int src1Step, const Kvp8s* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** L1 norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormRel_L1_8s_C3CMR(const Kvp8s* pSrc1, int src1Step, const Kvp8s* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** L1 norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 where mask != 0 */
KVP_API KvpStatus kvpiNormRel_L1_16u_C1MR(const Kvp16u* pSrc1, int src1Step, const Kvp16u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** L1 norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormRel_L1_16u_C3CMR(const Kvp16u* pSrc1, int src1Step, const Kvp16u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** L1 norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 where mask != 0 */
KVP_API KvpStatus kvpiNormRel_L1_32f_C1MR(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** L1 norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormRel_L1_32f_C3CMR(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** L2 norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 where mask != 0 */
KVP_API KvpStatus kvpiNormRel_L2_8u_C1MR(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** L2 norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormRel_L2_8u_C3CMR(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** L2 norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 where mask != 0 */
KVP_API KvpStatus kvpiNormRel_L2_8s_C1MR(const Kvp8s* pSrc1, int src1Step, const Kvp8s* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** L2 norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormRel_L2_8s_C3CMR(const Kvp8s* pSrc1, int src1Step, const Kvp8s* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** L2 norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 where mask != 0 */
KVP_API KvpStatus kvpiNormRel_L2_16u_C1MR(const Kvp16u* pSrc1, int src1Step, const Kvp16u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** L2 norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormRel_L2_16u_C3CMR(const Kvp16u* pSrc1, int src1Step, const Kvp16u* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);
/** L2 norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 where mask != 0 */
KVP_API KvpStatus kvpiNormRel_L2_32f_C1MR(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pValue);
/** L2 norm of src1 - src2 divided by that of src2; kvpStsDivByZero (NaN or +inf) when the latter is 0 over channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiNormRel_L2_32f_C3CMR(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2, int src2Step, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue);

/* ======================================================================
 * Separable border-filter pipeline
 * ====================================================================== */

/** Row pass of a separable filter (8u16s, C1): borders made by type, one result row per source row. */
KVP_API KvpStatus kvpiFilterRowBorderPipeline_8u16s_C1R(const Kvp8u* pSrc, int srcStep, Kvp16s** ppDst, KvpiSize roiSize, const Kvp16s* pKernel, int kernelSize, int xAnchor, int borderType, Kvp8u borderValue, int divisor, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterRowBorderPipeline_8u16s_C1R. */
KVP_API KvpStatus kvpiFilterRowBorderPipelineGetBufferSize_8u16s_C1R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Row pass of a separable filter (8u16s, C3): borders made by type, one result row per source row. */
KVP_API KvpStatus kvpiFilterRowBorderPipeline_8u16s_C3R(const Kvp8u* pSrc, int srcStep, Kvp16s** ppDst, KvpiSize roiSize, const Kvp16s* pKernel, int kernelSize, int xAnchor, int borderType, const Kvp8u* pBorderValue, int divisor, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterRowBorderPipeline_8u16s_C3R. */
KVP_API KvpStatus kvpiFilterRowBorderPipelineGetBufferSize_8u16s_C3R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Row pass of a separable filter (16s, C1): borders made by type, one result row per source row. */
KVP_API KvpStatus kvpiFilterRowBorderPipeline_16s_C1R(const Kvp16s* pSrc, int srcStep, Kvp16s** ppDst, KvpiSize roiSize, const Kvp16s* pKernel, int kernelSize, int xAnchor, int borderType, Kvp16s borderValue, int divisor, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterRowBorderPipeline_16s_C1R. */
KVP_API KvpStatus kvpiFilterRowBorderPipelineGetBufferSize_16s_C1R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Row pass of a separable filter (16s, C3): borders made by type, one result row per source row. */
KVP_API KvpStatus kvpiFilterRowBorderPipeline_16s_C3R(const Kvp16s* pSrc, int srcStep, Kvp16s** ppDst, KvpiSize roiSize, const Kvp16s* pKernel, int kernelSize, int xAnchor, int borderType, const Kvp16s* pBorderValue, int divisor, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterRowBorderPipeline_16s_C3R. */
KVP_API KvpStatus kvpiFilterRowBorderPipelineGetBufferSize_16s_C3R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Row pass of a separable filter (Low_16s, C1): borders made by type, one result row per source row. */
KVP_API KvpStatus kvpiFilterRowBorderPipeline_Low_16s_C1R(const Kvp16s* pSrc, int srcStep, Kvp16s** ppDst, KvpiSize roiSize, const Kvp16s* pKernel, int kernelSize, int xAnchor, int borderType, Kvp16s borderValue, int divisor, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterRowBorderPipeline_Low_16s_C1R. */
KVP_API KvpStatus kvpiFilterRowBorderPipelineGetBufferSize_Low_16s_C1R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Row pass of a separable filter (Low_16s, C3): borders made by type, one result row per source row. */
KVP_API KvpStatus kvpiFilterRowBorderPipeline_Low_16s_C3R(const Kvp16s* pSrc, int srcStep, Kvp16s** ppDst, KvpiSize roiSize, const Kvp16s* pKernel, int kernelSize, int xAnchor, int borderType, const Kvp16s* pBorderValue, int divisor, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterRowBorderPipeline_Low_16s_C3R. */
KVP_API KvpStatus kvpiFilterRowBorderPipelineGetBufferSize_Low_16s_C3R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Row pass of a separable filter (32f, C1): borders made by type, one result row per source row. */
KVP_API KvpStatus kvpiFilterRowBorderPipeline_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f** ppDst, KvpiSize roiSize, const Kvp32f* pKernel, int kernelSize, int xAnchor, int borderType, Kvp32f borderValue, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterRowBorderPipeline_32f_C1R. */
KVP_API KvpStatus kvpiFilterRowBorderPipelineGetBufferSize_32f_C1R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Row pass of a separable filter (32f, C3): borders made by type, one result row per source row. */
KVP_API KvpStatus kvpiFilterRowBorderPipeline_32f_C3R(const Kvp32f* pSrc, int srcStep, Kvp32f** ppDst, KvpiSize roiSize, const Kvp32f* pKernel, int kernelSize, int xAnchor, int borderType, const Kvp32f* pBorderValue, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterRowBorderPipeline_32f_C3R. */
KVP_API KvpStatus kvpiFilterRowBorderPipelineGetBufferSize_32f_C3R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Column pass of a separable filter (16s, C1) over an array of height + kernelSize - 1 row pointers. */
KVP_API KvpStatus kvpiFilterColumnPipeline_16s_C1R(const Kvp16s** ppSrc, Kvp16s* pDst, int dstStep, KvpiSize dstRoiSize, const Kvp16s* pKernel, int kernelSize, int divisor, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterColumnPipeline_16s_C1R. */
KVP_API KvpStatus kvpiFilterColumnPipelineGetBufferSize_16s_C1R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Column pass of a separable filter (16s, C3) over an array of height + kernelSize - 1 row pointers. */
KVP_API KvpStatus kvpiFilterColumnPipeline_16s_C3R(const Kvp16s** ppSrc, Kvp16s* pDst, int dstStep, KvpiSize dstRoiSize, const Kvp16s* pKernel, int kernelSize, int divisor, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterColumnPipeline_16s_C3R. */
KVP_API KvpStatus kvpiFilterColumnPipelineGetBufferSize_16s_C3R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Column pass of a separable filter (16s8u, C1) over an array of height + kernelSize - 1 row pointers. */
KVP_API KvpStatus kvpiFilterColumnPipeline_16s8u_C1R(const Kvp16s** ppSrc, Kvp8u* pDst, int dstStep, KvpiSize dstRoiSize, const Kvp16s* pKernel, int kernelSize, int divisor, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterColumnPipeline_16s8u_C1R. */
KVP_API KvpStatus kvpiFilterColumnPipelineGetBufferSize_16s8u_C1R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Column pass of a separable filter (16s8u, C3) over an array of height + kernelSize - 1 row pointers. */
KVP_API KvpStatus kvpiFilterColumnPipeline_16s8u_C3R(const Kvp16s** ppSrc, Kvp8u* pDst, int dstStep, KvpiSize dstRoiSize, const Kvp16s* pKernel, int kernelSize, int divisor, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterColumnPipeline_16s8u_C3R. */
KVP_API KvpStatus kvpiFilterColumnPipelineGetBufferSize_16s8u_C3R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Column pass of a separable filter (16s8s, C1) over an array of height + kernelSize - 1 row pointers. */
KVP_API KvpStatus kvpiFilterColumnPipeline_16s8s_C1R(const Kvp16s** ppSrc, Kvp8s* pDst, int dstStep, KvpiSize dstRoiSize, const Kvp16s* pKernel, int kernelSize, int divisor, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterColumnPipeline_16s8s_C1R. */
KVP_API KvpStatus kvpiFilterColumnPipelineGetBufferSize_16s8s_C1R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Column pass of a separable filter (16s8s, C3) over an array of height + kernelSize - 1 row pointers. */
KVP_API KvpStatus kvpiFilterColumnPipeline_16s8s_C3R(const Kvp16s** ppSrc, Kvp8s* pDst, int dstStep, KvpiSize dstRoiSize, const Kvp16s* pKernel, int kernelSize, int divisor, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterColumnPipeline_16s8s_C3R. */
KVP_API KvpStatus kvpiFilterColumnPipelineGetBufferSize_16s8s_C3R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Column pass of a separable filter (Low_16s, C1) over an array of height + kernelSize - 1 row pointers. */
KVP_API KvpStatus kvpiFilterColumnPipeline_Low_16s_C1R(const Kvp16s** ppSrc, Kvp16s* pDst, int dstStep, KvpiSize dstRoiSize, const Kvp16s* pKernel, int kernelSize, int divisor, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterColumnPipeline_Low_16s_C1R. */
KVP_API KvpStatus kvpiFilterColumnPipelineGetBufferSize_Low_16s_C1R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Column pass of a separable filter (Low_16s, C3) over an array of height + kernelSize - 1 row pointers. */
KVP_API KvpStatus kvpiFilterColumnPipeline_Low_16s_C3R(const Kvp16s** ppSrc, Kvp16s* pDst, int dstStep, KvpiSize dstRoiSize, const Kvp16s* pKernel, int kernelSize, int divisor, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterColumnPipeline_Low_16s_C3R. */
KVP_API KvpStatus kvpiFilterColumnPipelineGetBufferSize_Low_16s_C3R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Column pass of a separable filter (32f, C1) over an array of height + kernelSize - 1 row pointers. */
KVP_API KvpStatus kvpiFilterColumnPipeline_32f_C1R(const Kvp32f** ppSrc, Kvp32f* pDst, int dstStep, KvpiSize dstRoiSize, const Kvp32f* pKernel, int kernelSize, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterColumnPipeline_32f_C1R. */
KVP_API KvpStatus kvpiFilterColumnPipelineGetBufferSize_32f_C1R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Column pass of a separable filter (32f, C3) over an array of height + kernelSize - 1 row pointers. */
KVP_API KvpStatus kvpiFilterColumnPipeline_32f_C3R(const Kvp32f** ppSrc, Kvp32f* pDst, int dstStep, KvpiSize dstRoiSize, const Kvp32f* pKernel, int kernelSize, Kvp8u* pBuffer);
/** Bytes of work buffer for kvpiFilterColumnPipeline_32f_C3R. */
KVP_API KvpStatus kvpiFilterColumnPipelineGetBufferSize_32f_C3R(KvpiSize roiSize, int kernelSize, int* pBufferSize);

/* ======================================================================
 * Gaussian 5x5 pyramid
 * ====================================================================== */

/** Buffer size in bytes for one PyrDown level of a source roiWidth pixels wide (dataType 1, 3 or 13; channels 1 or 3). */
KVP_API KvpStatus kvpiPyrDownGetBufSize_Gauss5x5(int roiWidth, KvpDataType dataType, int channels, int* pBufSize);
/** Buffer size in bytes for one PyrUp level of a source roiWidth pixels wide (dataType 1, 3 or 13; channels 1 or 3). */
KVP_API KvpStatus kvpiPyrUpGetBufSize_Gauss5x5(int roiWidth, KvpDataType dataType, int channels, int* pBufSize);
/** One pyramid level: smooth with the 5x5 binomial kernel and halve (one channel); roiSize is the source size. */
KVP_API KvpStatus kvpiPyrDown_Gauss5x5_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, Kvp8u* pBuffer);
/** One pyramid level: smooth with the 5x5 binomial kernel and halve (three interleaved channels); roiSize is the source size. */
KVP_API KvpStatus kvpiPyrDown_Gauss5x5_8u_C3R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, Kvp8u* pBuffer);
/** One pyramid level: smooth with the 5x5 binomial kernel and halve (one channel); roiSize is the source size. */
KVP_API KvpStatus kvpiPyrDown_Gauss5x5_8s_C1R(const Kvp8s* pSrc, int srcStep, Kvp8s* pDst, int dstStep, KvpiSize roiSize, Kvp8u* pBuffer);
/** One pyramid level: smooth with the 5x5 binomial kernel and halve (three interleaved channels); roiSize is the source size. */
KVP_API KvpStatus kvpiPyrDown_Gauss5x5_8s_C3R(const Kvp8s* pSrc, int srcStep, Kvp8s* pDst, int dstStep, KvpiSize roiSize, Kvp8u* pBuffer);
/** One pyramid level: smooth with the 5x5 binomial kernel and halve (one channel); roiSize is the source size. */
KVP_API KvpStatus kvpiPyrDown_Gauss5x5_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp8u* pBuffer);
/** One pyramid level: smooth with the 5x5 binomial kernel and halve (three interleaved channels); roiSize is the source size. */
KVP_API KvpStatus kvpiPyrDown_Gauss5x5_32f_C3R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp8u* pBuffer);
/** One pyramid level: double and smooth with the 5x5 binomial kernel (one channel); roiSize is the source size. */
KVP_API KvpStatus kvpiPyrUp_Gauss5x5_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, Kvp8u* pBuffer);
/** One pyramid level: double and smooth with the 5x5 binomial kernel (three interleaved channels); roiSize is the source size. */
KVP_API KvpStatus kvpiPyrUp_Gauss5x5_8u_C3R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, Kvp8u* pBuffer);
/** One pyramid level: double and smooth with the 5x5 binomial kernel (one channel); roiSize is the source size. */
KVP_API KvpStatus kvpiPyrUp_Gauss5x5_8s_C1R(const Kvp8s* pSrc, int srcStep, Kvp8s* pDst, int dstStep, KvpiSize roiSize, Kvp8u* pBuffer);
/** One pyramid level: double and smooth with the 5x5 binomial kernel (three interleaved channels); roiSize is the source size. */
KVP_API KvpStatus kvpiPyrUp_Gauss5x5_8s_C3R(const Kvp8s* pSrc, int srcStep, Kvp8s* pDst, int dstStep, KvpiSize roiSize, Kvp8u* pBuffer);
/** One pyramid level: double and smooth with the 5x5 binomial kernel (one channel); roiSize is the source size. */
KVP_API KvpStatus kvpiPyrUp_Gauss5x5_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp8u* pBuffer);
/** One pyramid level: double and smooth with the 5x5 binomial kernel (three interleaved channels); roiSize is the source size. */
KVP_API KvpStatus kvpiPyrUp_Gauss5x5_32f_C3R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp8u* pBuffer);

/* ======================================================================
 * Flood fill
 * ====================================================================== */

/** Region record of a flood fill: repainted area, new value, bounding box (ROI coordinates). */
typedef struct {
  Kvp64f area;
  Kvp64f value[3];
  KvpiRect rect;
} KvpiConnectedComp;

/** Bytes of work buffer for the exact and fixed-range fills of roiSize. */
KVP_API KvpStatus kvpiFloodFillGetSize(KvpiSize roiSize, int* pBufferSize);
/** Bytes of work buffer (visited mask and segment list) for the floating-range fills of roiSize. */
KVP_API KvpStatus kvpiFloodFillGetSize_Grad(KvpiSize roiSize, int* pBufferSize);

/** 4-connected fill of the pixels equal to the seed, one channel. */
KVP_API KvpStatus kvpiFloodFill_4Con_8u_C1IR(Kvp8u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp8u newVal, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 4-connected fill of the pixels equal to the seed, three channels. */
KVP_API KvpStatus kvpiFloodFill_4Con_8u_C3IR(Kvp8u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp8u* pNewVal, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/** 4-connected fill of the pixels equal to the seed, one channel. */
KVP_API KvpStatus kvpiFloodFill_4Con_16u_C1IR(Kvp16u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp16u newVal, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 4-connected fill of the pixels equal to the seed, three channels. */
KVP_API KvpStatus kvpiFloodFill_4Con_16u_C3IR(Kvp16u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp16u* pNewVal, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/** 4-connected fill of the pixels equal to the seed, one channel. */
KVP_API KvpStatus kvpiFloodFill_4Con_32f_C1IR(Kvp32f* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp32f newVal, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 4-connected fill of the pixels equal to the seed, three channels. */
KVP_API KvpStatus kvpiFloodFill_4Con_32f_C3IR(Kvp32f* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp32f* pNewVal, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/** 8-connected fill of the pixels equal to the seed, one channel. */
KVP_API KvpStatus kvpiFloodFill_8Con_8u_C1IR(Kvp8u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp8u newVal, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 8-connected fill of the pixels equal to the seed, three channels. */
KVP_API KvpStatus kvpiFloodFill_8Con_8u_C3IR(Kvp8u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp8u* pNewVal, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/** 8-connected fill of the pixels equal to the seed, one channel. */
KVP_API KvpStatus kvpiFloodFill_8Con_16u_C1IR(Kvp16u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp16u newVal, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 8-connected fill of the pixels equal to the seed, three channels. */
KVP_API KvpStatus kvpiFloodFill_8Con_16u_C3IR(Kvp16u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp16u* pNewVal, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/** 8-connected fill of the pixels equal to the seed, one channel. */
KVP_API KvpStatus kvpiFloodFill_8Con_32f_C1IR(Kvp32f* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp32f newVal, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 8-connected fill of the pixels equal to the seed, three channels. */
KVP_API KvpStatus kvpiFloodFill_8Con_32f_C3IR(Kvp32f* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp32f* pNewVal, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/** 4-connected fill of the pixels within the seed's fixed range, one channel. */
KVP_API KvpStatus kvpiFloodFill_Range4Con_8u_C1IR(Kvp8u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp8u newVal, Kvp8u minDelta, Kvp8u maxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 4-connected fill of the pixels within the seed's fixed range, three channels. */
KVP_API KvpStatus kvpiFloodFill_Range4Con_8u_C3IR(Kvp8u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp8u* pNewVal, const Kvp8u* pMinDelta, const Kvp8u* pMaxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/** 4-connected fill of the pixels within the seed's fixed range, one channel. */
KVP_API KvpStatus kvpiFloodFill_Range4Con_16u_C1IR(Kvp16u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp16u newVal, Kvp16u minDelta, Kvp16u maxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 4-connected fill of the pixels within the seed's fixed range, three channels. */
KVP_API KvpStatus kvpiFloodFill_Range4Con_16u_C3IR(Kvp16u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp16u* pNewVal, const Kvp16u* pMinDelta, const Kvp16u* pMaxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/** 4-connected fill of the pixels within the seed's fixed range, one channel. */
KVP_API KvpStatus kvpiFloodFill_Range4Con_32f_C1IR(Kvp32f* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp32f newVal, Kvp32f minDelta, Kvp32f maxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 4-connected fill of the pixels within the seed's fixed range, three channels. */
KVP_API KvpStatus kvpiFloodFill_Range4Con_32f_C3IR(Kvp32f* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp32f* pNewVal, const Kvp32f* pMinDelta, const Kvp32f* pMaxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/** 8-connected fill of the pixels within the seed's fixed range, one channel. */
KVP_API KvpStatus kvpiFloodFill_Range8Con_8u_C1IR(Kvp8u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp8u newVal, Kvp8u minDelta, Kvp8u maxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 8-connected fill of the pixels within the seed's fixed range, three channels. */
KVP_API KvpStatus kvpiFloodFill_Range8Con_8u_C3IR(Kvp8u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp8u* pNewVal, const Kvp8u* pMinDelta, const Kvp8u* pMaxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/** 8-connected fill of the pixels within the seed's fixed range, one channel. */
KVP_API KvpStatus kvpiFloodFill_Range8Con_16u_C1IR(Kvp16u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp16u newVal, Kvp16u minDelta, Kvp16u maxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 8-connected fill of the pixels within the seed's fixed range, three channels. */
KVP_API KvpStatus kvpiFloodFill_Range8Con_16u_C3IR(Kvp16u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp16u* pNewVal, const Kvp16u* pMinDelta, const Kvp16u* pMaxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/** 8-connected fill of the pixels within the seed's fixed range, one channel. */
KVP_API KvpStatus kvpiFloodFill_Range8Con_32f_C1IR(Kvp32f* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp32f newVal, Kvp32f minDelta, Kvp32f maxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 8-connected fill of the pixels within the seed's fixed range, three channels. */
KVP_API KvpStatus kvpiFloodFill_Range8Con_32f_C3IR(Kvp32f* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp32f* pNewVal, const Kvp32f* pMinDelta, const Kvp32f* pMaxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/** 4-connected fill of the pixels within range of a joined neighbour, one channel. */
KVP_API KvpStatus kvpiFloodFill_Grad4Con_8u_C1IR(Kvp8u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp8u newVal, Kvp8u minDelta, Kvp8u maxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 4-connected fill of the pixels within range of a joined neighbour, three channels. */
KVP_API KvpStatus kvpiFloodFill_Grad4Con_8u_C3IR(Kvp8u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp8u* pNewVal, const Kvp8u* pMinDelta, const Kvp8u* pMaxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/** 4-connected fill of the pixels within range of a joined neighbour, one channel. */
KVP_API KvpStatus kvpiFloodFill_Grad4Con_16u_C1IR(Kvp16u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp16u newVal, Kvp16u minDelta, Kvp16u maxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 4-connected fill of the pixels within range of a joined neighbour, three channels. */
KVP_API KvpStatus kvpiFloodFill_Grad4Con_16u_C3IR(Kvp16u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp16u* pNewVal, const Kvp16u* pMinDelta, const Kvp16u* pMaxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/** 4-connected fill of the pixels within range of a joined neighbour, one channel. */
KVP_API KvpStatus kvpiFloodFill_Grad4Con_32f_C1IR(Kvp32f* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp32f newVal, Kvp32f minDelta, Kvp32f maxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 4-connected fill of the pixels within range of a joined neighbour, three channels. */
KVP_API KvpStatus kvpiFloodFill_Grad4Con_32f_C3IR(Kvp32f* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp32f* pNewVal, const Kvp32f* pMinDelta, const Kvp32f* pMaxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/** 8-connected fill of the pixels within range of a joined neighbour, one channel. */
KVP_API KvpStatus kvpiFloodFill_Grad8Con_8u_C1IR(Kvp8u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp8u newVal, Kvp8u minDelta, Kvp8u maxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 8-connected fill of the pixels within range of a joined neighbour, three channels. */
KVP_API KvpStatus kvpiFloodFill_Grad8Con_8u_C3IR(Kvp8u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp8u* pNewVal, const Kvp8u* pMinDelta, const Kvp8u* pMaxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/** 8-connected fill of the pixels within range of a joined neighbour, one channel. */
KVP_API KvpStatus kvpiFloodFill_Grad8Con_16u_C1IR(Kvp16u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp16u newVal, Kvp16u minDelta, Kvp16u maxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 8-connected fill of the pixels within range of a joined neighbour, three channels. */
KVP_API KvpStatus kvpiFloodFill_Grad8Con_16u_C3IR(Kvp16u* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp16u* pNewVal, const Kvp16u* pMinDelta, const Kvp16u* pMaxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/** 8-connected fill of the pixels within range of a joined neighbour, one channel. */
KVP_API KvpStatus kvpiFloodFill_Grad8Con_32f_C1IR(Kvp32f* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, Kvp32f newVal, Kvp32f minDelta, Kvp32f maxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);
/** 8-connected fill of the pixels within range of a joined neighbour, three channels. */
KVP_API KvpStatus kvpiFloodFill_Grad8Con_32f_C3IR(Kvp32f* pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const Kvp32f* pNewVal, const Kvp32f* pMinDelta, const Kvp32f* pMaxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer);

/* ======================================================================
 * Distance transforms
 * ====================================================================== */

/** Chamfer step costs {axial, diagonal[, knight]} as integers for kerSize 3 or 5 and norm 0 (chessboard), 1 (L1) or 2 (L2). */
KVP_API KvpStatus kvpiGetDistanceTransformMask_32s(int kerSize, int norm, Kvp32s* pMetrics);
/** Chamfer step costs {axial, diagonal[, knight]} as floats for kerSize 3 or 5 and norm 0, 1 or 2. */
KVP_API KvpStatus kvpiGetDistanceTransformMask_32f(int kerSize, int norm, Kvp32f* pMetrics);
/** Float step costs for maskType = 10 * kerSize + norm (30, 31, 32, 50, 51, 52). */
KVP_API KvpStatus kvpiGetDistanceTransformMask(int maskType, Kvp32f* pMetrics);

/** 3x3 chamfer distance to the nearest zero source pixel, saturating at 255. */
KVP_API KvpStatus kvpiDistanceTransform_3x3_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, Kvp32s* pMetrics);
/** 5x5 chamfer distance (with knight steps) to the nearest zero source pixel, saturating at 255. */
KVP_API KvpStatus kvpiDistanceTransform_5x5_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, Kvp32s* pMetrics);
/** 3x3 chamfer distance in place: the plane is both source and destination. */
KVP_API KvpStatus kvpiDistanceTransform_3x3_8u_C1IR(Kvp8u* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp32s* pMetrics);
/** 5x5 chamfer distance in place: the plane is both source and destination. */
KVP_API KvpStatus kvpiDistanceTransform_5x5_8u_C1IR(Kvp8u* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp32s* pMetrics);
/** 3x3 chamfer distance, saturating at 65535. */
KVP_API KvpStatus kvpiDistanceTransform_3x3_8u16u_C1R(const Kvp8u* pSrc, int srcStep, Kvp16u* pDst, int dstStep, KvpiSize roiSize, Kvp32s* pMetrics);
/** 5x5 chamfer distance, saturating at 65535. */
KVP_API KvpStatus kvpiDistanceTransform_5x5_8u16u_C1R(const Kvp8u* pSrc, int srcStep, Kvp16u* pDst, int dstStep, KvpiSize roiSize, Kvp32s* pMetrics);
/** 3x3 chamfer distance in float with float costs; no zero pixel leaves FLT_MAX everywhere. */
KVP_API KvpStatus kvpiDistanceTransform_3x3_8u32f_C1R(const Kvp8u* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp32f* pMetrics);
/** 5x5 chamfer distance in float with float costs; no zero pixel leaves FLT_MAX everywhere. */
KVP_API KvpStatus kvpiDistanceTransform_5x5_8u32f_C1R(const Kvp8u* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp32f* pMetrics);

/** Bytes of work buffer for the exact transform: (24 * max(W4, H4) + 56) per library thread. */
KVP_API KvpStatus kvpiTrueDistanceTransformGetBufferSize_8u32f_C1R(KvpiSize roiSize, int* pBufferSize);
/** Exact Euclidean distance to the nearest zero source pixel; +infinity everywhere when there is none. */
KVP_API KvpStatus kvpiTrueDistanceTransform_8u32f_C1R(const Kvp8u* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp8u* pBuffer);

/* ======================================================================
 * Integral images and rectangle standard deviation
 * ====================================================================== */

/** Upright integral: (w+1) x (h+1) table, first row and column val, 32-bit wrapping sums */
KVP_API KvpStatus kvpiIntegral_8u32s_C1R(const Kvp8u* pSrc, int srcStep, Kvp32s* pDst, int dstStep, KvpiSize roiSize, Kvp32s val);
/** Upright integral: (w+1) x (h+1) float table, each entry the one above plus the exact row prefix */
KVP_API KvpStatus kvpiIntegral_8u32f_C1R(const Kvp8u* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp32f val);
/** Upright integral and squared integral, both 32-bit wrapping */
KVP_API KvpStatus kvpiSqrIntegral_8u32s_C1R(const Kvp8u* pSrc, int srcStep, Kvp32s* pDst, int dstStep, Kvp32s* pSqr, int sqrStep, KvpiSize roiSize, Kvp32s val, Kvp32s valSqr);
/** Upright integral (32-bit wrapping) and squared integral (double) */
KVP_API KvpStatus kvpiSqrIntegral_8u32s64f_C1R(const Kvp8u* pSrc, int srcStep, Kvp32s* pDst, int dstStep, Kvp64f* pSqr, int sqrStep, KvpiSize roiSize, Kvp32s val, Kvp64f valSqr);
/** Upright integral (float) and squared integral (double) */
KVP_API KvpStatus kvpiSqrIntegral_8u32f64f_C1R(const Kvp8u* pSrc, int srcStep, Kvp32f* pDst, int dstStep, Kvp64f* pSqr, int sqrStep, KvpiSize roiSize, Kvp32f val, Kvp64f valSqr);
/** 45-degree tilted integral: (w+2) x (h+2) table, rows 0 and 1 val, 32-bit wrapping */
KVP_API KvpStatus kvpiTiltedIntegral_8u32s_C1R(const Kvp8u* pSrc, int srcStep, Kvp32s* pDst, int dstStep, KvpiSize roiSize, Kvp32s val);
/** 45-degree tilted integral: (w+2) x (h+2) float table */
KVP_API KvpStatus kvpiTiltedIntegral_8u32f_C1R(const Kvp8u* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp32f val);
/** Tilted integral and tilted squared integral, both 32-bit wrapping */
KVP_API KvpStatus kvpiTiltedSqrIntegral_8u32s_C1R(const Kvp8u* pSrc, int srcStep, Kvp32s* pDst, int dstStep, Kvp32s* pSqr, int sqrStep, KvpiSize roiSize, Kvp32s val, Kvp32s valSqr);
/** Tilted integral (32-bit wrapping) and tilted squared integral (double) */
KVP_API KvpStatus kvpiTiltedSqrIntegral_8u32s64f_C1R(const Kvp8u* pSrc, int srcStep, Kvp32s* pDst, int dstStep, Kvp64f* pSqr, int sqrStep, KvpiSize roiSize, Kvp32s val, Kvp64f valSqr);
/** Tilted integral (float) and tilted squared integral (double) */
KVP_API KvpStatus kvpiTiltedSqrIntegral_8u32f64f_C1R(const Kvp8u* pSrc, int srcStep, Kvp32f* pDst, int dstStep, Kvp64f* pSqr, int sqrStep, KvpiSize roiSize, Kvp32f val, Kvp64f valSqr);

/** Standard deviation over rect from a float sum and a double squared table, single-precision arithmetic */
KVP_API KvpStatus kvpiRectStdDev_32f_C1R(const Kvp32f* pSrc, int srcStep, const Kvp64f* pSqr, int sqrStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiRect rect);
/** Standard deviation over rect from a 32-bit sum and a double squared table */
KVP_API KvpStatus kvpiRectStdDev_32s32f_C1R(const Kvp32s* pSrc, int srcStep, const Kvp64f* pSqr, int sqrStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiRect rect);
/** Standard deviation over rect from 32-bit tables, scaled by 2^-scaleFactor and rounded */
KVP_API KvpStatus kvpiRectStdDev_32s_C1RSfs(const Kvp32s* pSrc, int srcStep, const Kvp32s* pSqr, int sqrStep, Kvp32s* pDst, int dstStep, KvpiSize roiSize, KvpiRect rect, int scaleFactor);
/** Standard deviation over a tilted rect from a float sum and a double squared tilted table */
KVP_API KvpStatus kvpiTiltedRectStdDev_32f_C1R(const Kvp32f* pSrc, int srcStep, const Kvp64f* pSqr, int sqrStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiRect rect);
/** Standard deviation over a tilted rect from a 32-bit sum and a double squared tilted table */
KVP_API KvpStatus kvpiTiltedRectStdDev_32s32f_C1R(const Kvp32s* pSrc, int srcStep, const Kvp64f* pSqr, int sqrStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiRect rect);
/** Standard deviation over a tilted rect from 32-bit tilted tables, scaled by 2^-scaleFactor and rounded */
KVP_API KvpStatus kvpiTiltedRectStdDev_32s_C1RSfs(const Kvp32s* pSrc, int srcStep, const Kvp32s* pSqr, int sqrStep, Kvp32s* pDst, int dstStep, KvpiSize roiSize, KvpiRect rect, int scaleFactor);

/* ======================================================================
 * Motion history
 * ====================================================================== */

/** Motion history update: moving (non-zero) silhouette pixels get timestamp,
 *  history values below timestamp - mhiDuration become 0, others are kept. */
KVP_API KvpStatus kvpiUpdateMotionHistory_8u32f_C1IR(const Kvp8u* pSilhouette, int silhStep, Kvp32f* pMHI, int mhiStep, KvpiSize roiSize, Kvp32f timestamp, Kvp32f mhiDuration);
/** Motion history update with a 16-bit silhouette. */
KVP_API KvpStatus kvpiUpdateMotionHistory_16u32f_C1IR(const Kvp16u* pSilhouette, int silhStep, Kvp32f* pMHI, int mhiStep, KvpiSize roiSize, Kvp32f timestamp, Kvp32f mhiDuration);
/** Motion history update with a float silhouette (-0.0 is not motion, NaN is). */
KVP_API KvpStatus kvpiUpdateMotionHistory_32f_C1IR(const Kvp32f* pSilhouette, int silhStep, Kvp32f* pMHI, int mhiStep, KvpiSize roiSize, Kvp32f timestamp, Kvp32f mhiDuration);

/* ======================================================================
 * Hough lines
 * ====================================================================== */

/** A line in polar form, or the step sizes of a line search: distance (pixels), then angle (radians). */
typedef struct {
  Kvp32f rho;
  Kvp32f theta;
} KvpPointPolar;

/** Work-buffer size in bytes for the line searches on roiSize with the given steps and line count; kvpStsSizeOverflow when it exceeds the int range (the truncated size is still stored). */
KVP_API KvpStatus kvpiHoughLineGetSize_8u_C1R(KvpiSize roiSize, KvpPointPolar delta, int maxLineCount, int* pBufSize);
/** Up to maxLineCount lines through the non-zero pixels with more than threshold votes, strongest first. */
KVP_API KvpStatus kvpiHoughLine_8u32f_C1R(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize, KvpPointPolar delta, int threshold, KvpPointPolar* pLine, int maxLineCount, int* pLineCount, Kvp8u* pBuffer);
/** The line search restricted to distances from dstRoi[0].rho to dstRoi[1].rho (the rho indices whose distance lies inside, clipped to the accumulator; angles unused); kvpStsBadRange for a reversed or NaN bound. */
KVP_API KvpStatus kvpiHoughLine_Region_8u32f_C1R(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize, KvpPointPolar delta, int threshold, KvpPointPolar* pLine, int maxLineCount, int* pLineCount, Kvp8u* pBuffer, const KvpPointPolar dstRoi[2]);

/* ======================================================================
 * Statistics: means, standard deviations, extrema with locations
 * ====================================================================== */

/* Over one channel (C1) or channel coi of three (C3C), every pixel (R) or the
 * pixels with a non-zero mask byte (MR). Checks: null source, mask or (all)
 * outputs, then size, source then mask step, 16u/32f step multiple, coi.
 * Integer means and deviations are correctly rounded from exact sums; 32f
 * sums run in double after subtracting the first selected value, in a fixed
 * order (identical bits at every thread count); a selected NaN or infinity
 * makes the 32f mean and deviation NaN. Nothing selected: mean, deviation,
 * minimum and maximum 0, locations {-1, -1}. Locations are the first
 * occurrence in row-major order, relative to the ROI. */

/** mean of src where mask != 0 (0 when nothing is selected); integer types exact */
KVP_API KvpStatus kvpiMean_8u_C1MR(const Kvp8u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pMean);
/** mean of channel coi (1..3) where mask != 0 (0 when nothing is selected) */
KVP_API KvpStatus kvpiMean_8u_C3CMR(const Kvp8u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pMean);
/** mean of src where mask != 0 (0 when nothing is selected); integer types exact */
KVP_API KvpStatus kvpiMean_8s_C1MR(const Kvp8s* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pMean);
/** mean of channel coi (1..3) where mask != 0 (0 when nothing is selected) */
KVP_API KvpStatus kvpiMean_8s_C3CMR(const Kvp8s* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pMean);
/** mean of src where mask != 0 (0 when nothing is selected); integer types exact */
KVP_API KvpStatus kvpiMean_16u_C1MR(const Kvp16u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pMean);
/** mean of channel coi (1..3) where mask != 0 (0 when nothing is selected) */
KVP_API KvpStatus kvpiMean_16u_C3CMR(const Kvp16u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pMean);
/** mean of src where mask != 0 (0 when nothing is selected); 32f: shifted double sums in a fixed order, NaN if a selected value is not finite */
KVP_API KvpStatus kvpiMean_32f_C1MR(const Kvp32f* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pMean);
/** mean of channel coi (1..3) where mask != 0 (0 when nothing is selected) */
KVP_API KvpStatus kvpiMean_32f_C3CMR(const Kvp32f* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pMean);
/** mean and population standard deviation of src; either output may be null, not both */
KVP_API KvpStatus kvpiMean_StdDev_8u_C1R(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize, Kvp64f* pMean, Kvp64f* pStdDev);
/** mean and population standard deviation of channel coi (1..3); either output may be null, not both */
KVP_API KvpStatus kvpiMean_StdDev_8u_C3CR(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize, int coi, Kvp64f* pMean, Kvp64f* pStdDev);
/** mean and population standard deviation of src where mask != 0 (0, 0 when nothing is selected) */
KVP_API KvpStatus kvpiMean_StdDev_8u_C1MR(const Kvp8u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pMean, Kvp64f* pStdDev);
/** mean and population standard deviation of channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiMean_StdDev_8u_C3CMR(const Kvp8u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pMean, Kvp64f* pStdDev);
/** mean and population standard deviation of src; either output may be null, not both */
KVP_API KvpStatus kvpiMean_StdDev_8s_C1R(const Kvp8s* pSrc, int srcStep, KvpiSize roiSize, Kvp64f* pMean, Kvp64f* pStdDev);
/** mean and population standard deviation of channel coi (1..3); either output may be null, not both */
KVP_API KvpStatus kvpiMean_StdDev_8s_C3CR(const Kvp8s* pSrc, int srcStep, KvpiSize roiSize, int coi, Kvp64f* pMean, Kvp64f* pStdDev);
/** mean and population standard deviation of src where mask != 0 (0, 0 when nothing is selected) */
KVP_API KvpStatus kvpiMean_StdDev_8s_C1MR(const Kvp8s* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pMean, Kvp64f* pStdDev);
/** mean and population standard deviation of channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiMean_StdDev_8s_C3CMR(const Kvp8s* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pMean, Kvp64f* pStdDev);
/** mean and population standard deviation of src; either output may be null, not both */
KVP_API KvpStatus kvpiMean_StdDev_16u_C1R(const Kvp16u* pSrc, int srcStep, KvpiSize roiSize, Kvp64f* pMean, Kvp64f* pStdDev);
/** mean and population standard deviation of channel coi (1..3); either output may be null, not both */
KVP_API KvpStatus kvpiMean_StdDev_16u_C3CR(const Kvp16u* pSrc, int srcStep, KvpiSize roiSize, int coi, Kvp64f* pMean, Kvp64f* pStdDev);
/** mean and population standard deviation of src where mask != 0 (0, 0 when nothing is selected) */
KVP_API KvpStatus kvpiMean_StdDev_16u_C1MR(const Kvp16u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pMean, Kvp64f* pStdDev);
/** mean and population standard deviation of channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiMean_StdDev_16u_C3CMR(const Kvp16u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pMean, Kvp64f* pStdDev);
/** mean and population standard deviation of src; either output may be null, not both */
KVP_API KvpStatus kvpiMean_StdDev_32f_C1R(const Kvp32f* pSrc, int srcStep, KvpiSize roiSize, Kvp64f* pMean, Kvp64f* pStdDev);
/** mean and population standard deviation of channel coi (1..3); either output may be null, not both */
KVP_API KvpStatus kvpiMean_StdDev_32f_C3CR(const Kvp32f* pSrc, int srcStep, KvpiSize roiSize, int coi, Kvp64f* pMean, Kvp64f* pStdDev);
/** mean and population standard deviation of src where mask != 0 (0, 0 when nothing is selected) */
KVP_API KvpStatus kvpiMean_StdDev_32f_C1MR(const Kvp32f* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp64f* pMean, Kvp64f* pStdDev);
/** mean and population standard deviation of channel coi (1..3) where mask != 0 */
KVP_API KvpStatus kvpiMean_StdDev_32f_C3CMR(const Kvp32f* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp64f* pMean, Kvp64f* pStdDev);
/** smallest and largest value with the first location {x, y} of each in row-major order; any output may be null, not all */
KVP_API KvpStatus kvpiMinMaxIndx_8u_C1R(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize, Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex);
/** extrema of channel coi (1..3) with their first locations */
KVP_API KvpStatus kvpiMinMaxIndx_8u_C3CR(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize, int coi, Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex);
/** extrema where mask != 0 with their first locations; nothing selected: 0, 0 and {-1, -1} */
KVP_API KvpStatus kvpiMinMaxIndx_8u_C1MR(const Kvp8u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex);
/** extrema of channel coi (1..3) where mask != 0 with their first locations */
KVP_API KvpStatus kvpiMinMaxIndx_8u_C3CMR(const Kvp8u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex);
/** smallest and largest value with the first location {x, y} of each in row-major order; any output may be null, not all */
KVP_API KvpStatus kvpiMinMaxIndx_8s_C1R(const Kvp8s* pSrc, int srcStep, KvpiSize roiSize, Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex);
/** extrema of channel coi (1..3) with their first locations */
KVP_API KvpStatus kvpiMinMaxIndx_8s_C3CR(const Kvp8s* pSrc, int srcStep, KvpiSize roiSize, int coi, Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex);
/** extrema where mask != 0 with their first locations; nothing selected: 0, 0 and {-1, -1} */
KVP_API KvpStatus kvpiMinMaxIndx_8s_C1MR(const Kvp8s* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex);
/** extrema of channel coi (1..3) where mask != 0 with their first locations */
KVP_API KvpStatus kvpiMinMaxIndx_8s_C3CMR(const Kvp8s* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex);
/** smallest and largest value with the first location {x, y} of each in row-major order; any output may be null, not all */
KVP_API KvpStatus kvpiMinMaxIndx_16u_C1R(const Kvp16u* pSrc, int srcStep, KvpiSize roiSize, Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex);
/** extrema of channel coi (1..3) with their first locations */
KVP_API KvpStatus kvpiMinMaxIndx_16u_C3CR(const Kvp16u* pSrc, int srcStep, KvpiSize roiSize, int coi, Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex);
/** extrema where mask != 0 with their first locations; nothing selected: 0, 0 and {-1, -1} */
KVP_API KvpStatus kvpiMinMaxIndx_16u_C1MR(const Kvp16u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex);
/** extrema of channel coi (1..3) where mask != 0 with their first locations */
KVP_API KvpStatus kvpiMinMaxIndx_16u_C3CMR(const Kvp16u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex);
/** smallest and largest value with the first location {x, y} of each in row-major order; NaNs skipped; any output may be null, not all */
KVP_API KvpStatus kvpiMinMaxIndx_32f_C1R(const Kvp32f* pSrc, int srcStep, KvpiSize roiSize, Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex);
/** extrema of channel coi (1..3) with their first locations; NaNs skipped */
KVP_API KvpStatus kvpiMinMaxIndx_32f_C3CR(const Kvp32f* pSrc, int srcStep, KvpiSize roiSize, int coi, Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex);
/** extrema where mask != 0 with their first locations; NaNs skipped; nothing selected: 0, 0 and {-1, -1} */
KVP_API KvpStatus kvpiMinMaxIndx_32f_C1MR(const Kvp32f* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex);
/** extrema of channel coi (1..3) where mask != 0 with their first locations; NaNs skipped */
KVP_API KvpStatus kvpiMinMaxIndx_32f_C3CMR(const Kvp32f* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi, Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex);

/* (end of statistics) */

/* ======================================================================
 * Derivative and smoothing filters with borders
 * ====================================================================== */
/** Sobel -d/dy (horizontal edges): row (1, 2, 1) x column (1, 0, -1), or the 5x5 form, exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelHorizBorder_8u16s_C1R(const Kvp8u* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8u borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelHorizBorder_8u16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelHorizGetBufferSize_8u16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Sobel -d/dy (horizontal edges): row (1, 2, 1) x column (1, 0, -1), or the 5x5 form, exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelHorizBorder_8s16s_C1R(const Kvp8s* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8s borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelHorizBorder_8s16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelHorizGetBufferSize_8s16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Sobel -d/dy (horizontal edges): row (1, 2, 1) x column (1, 0, -1), or the 5x5 form, single precision in tap order, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelHorizBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp32f borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelHorizBorder_32f_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelHorizGetBufferSize_32f_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Sobel d/dx (vertical edges): row (-1, 0, 1) x column (1, 2, 1), or the 5x5 form, exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelVertBorder_8u16s_C1R(const Kvp8u* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8u borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelVertBorder_8u16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelVertGetBufferSize_8u16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Sobel d/dx (vertical edges): row (-1, 0, 1) x column (1, 2, 1), or the 5x5 form, exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelVertBorder_8s16s_C1R(const Kvp8s* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8s borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelVertBorder_8s16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelVertGetBufferSize_8s16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Sobel d/dx (vertical edges): row (-1, 0, 1) x column (1, 2, 1), or the 5x5 form, single precision in tap order, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelVertBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp32f borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelVertBorder_32f_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelVertGetBufferSize_32f_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Sobel d2/dy2: row (1, 2, 1) x column (1, -2, 1), or the 5x5 form, exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelHorizSecondBorder_8u16s_C1R(const Kvp8u* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8u borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelHorizSecondBorder_8u16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelHorizSecondGetBufferSize_8u16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Sobel d2/dy2: row (1, 2, 1) x column (1, -2, 1), or the 5x5 form, exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelHorizSecondBorder_8s16s_C1R(const Kvp8s* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8s borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelHorizSecondBorder_8s16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelHorizSecondGetBufferSize_8s16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Sobel d2/dy2: row (1, 2, 1) x column (1, -2, 1), or the 5x5 form, single precision in tap order, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelHorizSecondBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp32f borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelHorizSecondBorder_32f_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelHorizSecondGetBufferSize_32f_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Sobel d2/dx2: row (1, -2, 1) x column (1, 2, 1), or the 5x5 form, exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelVertSecondBorder_8u16s_C1R(const Kvp8u* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8u borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelVertSecondBorder_8u16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelVertSecondGetBufferSize_8u16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Sobel d2/dx2: row (1, -2, 1) x column (1, 2, 1), or the 5x5 form, exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelVertSecondBorder_8s16s_C1R(const Kvp8s* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8s borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelVertSecondBorder_8s16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelVertSecondGetBufferSize_8s16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Sobel d2/dx2: row (1, -2, 1) x column (1, 2, 1), or the 5x5 form, single precision in tap order, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelVertSecondBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp32f borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelVertSecondBorder_32f_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelVertSecondGetBufferSize_32f_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Sobel d2/dxdy: row (-1, 0, 1) x column (-1, 0, 1), or the 5x5 form, exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelCrossBorder_8u16s_C1R(const Kvp8u* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8u borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelCrossBorder_8u16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelCrossGetBufferSize_8u16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Sobel d2/dxdy: row (-1, 0, 1) x column (-1, 0, 1), or the 5x5 form, exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelCrossBorder_8s16s_C1R(const Kvp8s* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8s borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelCrossBorder_8s16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelCrossGetBufferSize_8s16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Sobel d2/dxdy: row (-1, 0, 1) x column (-1, 0, 1), or the 5x5 form, single precision in tap order, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelCrossBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp32f borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelCrossBorder_32f_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelCrossGetBufferSize_32f_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Sobel -d/dx: row (1, 0, -1) x column (1, 2, 1), or the 5x5 form, exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelNegVertBorder_8u16s_C1R(const Kvp8u* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8u borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelNegVertBorder_8u16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelNegVertGetBufferSize_8u16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Sobel -d/dx: row (1, 0, -1) x column (1, 2, 1), or the 5x5 form, exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelNegVertBorder_8s16s_C1R(const Kvp8s* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8s borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelNegVertBorder_8s16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelNegVertGetBufferSize_8s16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Sobel -d/dx: row (1, 0, -1) x column (1, 2, 1), or the 5x5 form, single precision in tap order, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterSobelNegVertBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp32f borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterSobelNegVertBorder_32f_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterSobelNegVertGetBufferSize_32f_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Scharr -d/dy: row (3, 10, 3) x column (1, 0, -1), 3x3 only, exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterScharrHorizBorder_8u16s_C1R(const Kvp8u* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8u borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterScharrHorizBorder_8u16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterScharrHorizGetBufferSize_8u16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Scharr -d/dy: row (3, 10, 3) x column (1, 0, -1), 3x3 only, exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterScharrHorizBorder_8s16s_C1R(const Kvp8s* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8s borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterScharrHorizBorder_8s16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterScharrHorizGetBufferSize_8s16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Scharr -d/dy: row (3, 10, 3) x column (1, 0, -1), 3x3 only, single precision in tap order, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterScharrHorizBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp32f borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterScharrHorizBorder_32f_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterScharrHorizGetBufferSize_32f_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Scharr d/dx: row (-1, 0, 1) x column (3, 10, 3), 3x3 only, exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterScharrVertBorder_8u16s_C1R(const Kvp8u* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8u borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterScharrVertBorder_8u16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterScharrVertGetBufferSize_8u16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Scharr d/dx: row (-1, 0, 1) x column (3, 10, 3), 3x3 only, exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterScharrVertBorder_8s16s_C1R(const Kvp8s* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8s borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterScharrVertBorder_8s16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterScharrVertGetBufferSize_8s16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Scharr d/dx: row (-1, 0, 1) x column (3, 10, 3), 3x3 only, single precision in tap order, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterScharrVertBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp32f borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterScharrVertBorder_32f_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterScharrVertGetBufferSize_32f_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Laplacian d2/dx2 + d2/dy2 (3x3 [2 0 2; 0 -8 0; 2 0 2] or the 5x5 sum of the second derivatives), exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterLaplacianBorder_8u16s_C1R(const Kvp8u* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8u borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterLaplacianBorder_8u16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterLaplacianGetBufferSize_8u16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Laplacian d2/dx2 + d2/dy2 (3x3 [2 0 2; 0 -8 0; 2 0 2] or the 5x5 sum of the second derivatives), exact integers, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterLaplacianBorder_8s16s_C1R(const Kvp8s* pSrc, int srcStep, Kvp16s* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8s borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterLaplacianBorder_8s16s_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterLaplacianGetBufferSize_8s16s_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Laplacian d2/dx2 + d2/dy2 (3x3 [2 0 2; 0 -8 0; 2 0 2] or the 5x5 sum of the second derivatives), single precision in tap order, border by borderType (value for kvpBorderConst); no allocation. */
KVP_API KvpStatus kvpiFilterLaplacianBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp32f borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterLaplacianBorder_32f_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterLaplacianGetBufferSize_32f_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Box mean over the 3x3 or 5x5 mask (the nearest integer of the k x k sum / (k * k)), border by borderType; no allocation. */
KVP_API KvpStatus kvpiFilterLowpassBorder_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8u borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterLowpassBorder_8u_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterLowpassGetBufferSize_8u_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Box mean over the 3x3 or 5x5 mask (the nearest integer of the k x k sum / (k * k)), border by borderType; no allocation. */
KVP_API KvpStatus kvpiFilterLowpassBorder_8u_C3R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, const Kvp8u* pBorderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterLowpassBorder_8u_C3R for the current thread count. */
KVP_API KvpStatus kvpiFilterLowpassGetBufferSize_8u_C3R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Box mean over the 3x3 or 5x5 mask (sums in ascending order times 1.0f / (k * k)), border by borderType; no allocation. */
KVP_API KvpStatus kvpiFilterLowpassBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, Kvp32f borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterLowpassBorder_32f_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterLowpassGetBufferSize_32f_C1R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Box mean over the 3x3 or 5x5 mask (sums in ascending order times 1.0f / (k * k)), border by borderType; no allocation. */
KVP_API KvpStatus kvpiFilterLowpassBorder_32f_C3R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask, KvpiBorderType borderType, const Kvp32f* pBorderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterLowpassBorder_32f_C3R for the current thread count. */
KVP_API KvpStatus kvpiFilterLowpassGetBufferSize_32f_C3R(KvpiSize roiSize, KvpiMaskSize mask, int* pBufferSize);
/** Gaussian blur with an odd kernelSize >= 3 and sigma > 0 (exact fixed point with integer taps summing to 2^8), border by borderType; no allocation. */
KVP_API KvpStatus kvpiFilterGaussBorder_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, int kernelSize, Kvp32f sigma, KvpiBorderType borderType, Kvp8u borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterGaussBorder_8u_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterGaussGetBufferSize_8u_C1R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Gaussian blur with an odd kernelSize >= 3 and sigma > 0 (exact fixed point with integer taps summing to 2^8), border by borderType; no allocation. */
KVP_API KvpStatus kvpiFilterGaussBorder_8u_C3R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, int kernelSize, Kvp32f sigma, KvpiBorderType borderType, const Kvp8u* pBorderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterGaussBorder_8u_C3R for the current thread count. */
KVP_API KvpStatus kvpiFilterGaussGetBufferSize_8u_C3R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Gaussian blur with an odd kernelSize >= 3 and sigma > 0 (exact fixed point with integer taps summing to 2^16), border by borderType; no allocation. */
KVP_API KvpStatus kvpiFilterGaussBorder_16u_C1R(const Kvp16u* pSrc, int srcStep, Kvp16u* pDst, int dstStep, KvpiSize roiSize, int kernelSize, Kvp32f sigma, KvpiBorderType borderType, Kvp16u borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterGaussBorder_16u_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterGaussGetBufferSize_16u_C1R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Gaussian blur with an odd kernelSize >= 3 and sigma > 0 (single precision, symmetric tap pairs), border by borderType; no allocation. */
KVP_API KvpStatus kvpiFilterGaussBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, int kernelSize, Kvp32f sigma, KvpiBorderType borderType, Kvp32f borderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterGaussBorder_32f_C1R for the current thread count. */
KVP_API KvpStatus kvpiFilterGaussGetBufferSize_32f_C1R(KvpiSize roiSize, int kernelSize, int* pBufferSize);
/** Gaussian blur with an odd kernelSize >= 3 and sigma > 0 (single precision, symmetric tap pairs), border by borderType; no allocation. */
KVP_API KvpStatus kvpiFilterGaussBorder_32f_C3R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, int kernelSize, Kvp32f sigma, KvpiBorderType borderType, const Kvp32f* pBorderValue, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiFilterGaussBorder_32f_C3R for the current thread count. */
KVP_API KvpStatus kvpiFilterGaussGetBufferSize_32f_C3R(KvpiSize roiSize, int kernelSize, int* pBufferSize);

/* (end of filters) */

/* ======================================================================
 * Morphology
 * ====================================================================== */

/** State of flat erosion and dilation: mask copy and analysis, per-thread scratch; serves one call at a time. */
typedef struct KvpiMorphState KvpiMorphState;
/** State of the derived flat operations: as KvpiMorphState plus one intermediate image; serves one call at a time. */
typedef struct KvpiMorphAdvState KvpiMorphAdvState;
/** Bytes of a flat-mask state for ROIs up to roiWidth wide, for the current thread count. */
KVP_API KvpStatus kvpiMorphologyGetSize_8u_C1R(int roiWidth, KvpiSize maskSize, int* pSize);
/** Builds a flat-mask state in caller memory of GetSize bytes (any alignment); the mask is copied. */
KVP_API KvpStatus kvpiMorphologyInit_8u_C1R(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphState* pState);
/** Allocates and builds a flat-mask state; kvpStsBadArg for a mask without a non-zero byte. */
KVP_API KvpStatus kvpiMorphologyInitAlloc_8u_C1R(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphState** ppState);
/** Bytes of a flat-mask state for ROIs up to roiWidth wide, for the current thread count. */
KVP_API KvpStatus kvpiMorphologyGetSize_8u_C3R(int roiWidth, KvpiSize maskSize, int* pSize);
/** Builds a flat-mask state in caller memory of GetSize bytes (any alignment); the mask is copied. */
KVP_API KvpStatus kvpiMorphologyInit_8u_C3R(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphState* pState);
/** Allocates and builds a flat-mask state; kvpStsBadArg for a mask without a non-zero byte. */
KVP_API KvpStatus kvpiMorphologyInitAlloc_8u_C3R(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphState** ppState);
/** Bytes of a flat-mask state for ROIs up to roiWidth wide, for the current thread count. */
KVP_API KvpStatus kvpiMorphologyGetSize_8u_C4R(int roiWidth, KvpiSize maskSize, int* pSize);
/** Builds a flat-mask state in caller memory of GetSize bytes (any alignment); the mask is copied. */
KVP_API KvpStatus kvpiMorphologyInit_8u_C4R(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphState* pState);
/** Allocates and builds a flat-mask state; kvpStsBadArg for a mask without a non-zero byte. */
KVP_API KvpStatus kvpiMorphologyInitAlloc_8u_C4R(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphState** ppState);
/** Bytes of a flat-mask state for ROIs up to roiWidth wide, for the current thread count. */
KVP_API KvpStatus kvpiMorphologyGetSize_16u_C1R(int roiWidth, KvpiSize maskSize, int* pSize);
/** Builds a flat-mask state in caller memory of GetSize bytes (any alignment); the mask is copied. */
KVP_API KvpStatus kvpiMorphologyInit_16u_C1R(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphState* pState);
/** Allocates and builds a flat-mask state; kvpStsBadArg for a mask without a non-zero byte. */
KVP_API KvpStatus kvpiMorphologyInitAlloc_16u_C1R(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphState** ppState);
/** Bytes of a flat-mask state for ROIs up to roiWidth wide, for the current thread count. */
KVP_API KvpStatus kvpiMorphologyGetSize_32f_C1R(int roiWidth, KvpiSize maskSize, int* pSize);
/** Builds a flat-mask state in caller memory of GetSize bytes (any alignment); the mask is copied. */
KVP_API KvpStatus kvpiMorphologyInit_32f_C1R(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphState* pState);
/** Allocates and builds a flat-mask state; kvpStsBadArg for a mask without a non-zero byte. */
KVP_API KvpStatus kvpiMorphologyInitAlloc_32f_C1R(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphState** ppState);
/** Bytes of a flat-mask state for ROIs up to roiWidth wide, for the current thread count. */
KVP_API KvpStatus kvpiMorphologyGetSize_32f_C3R(int roiWidth, KvpiSize maskSize, int* pSize);
/** Builds a flat-mask state in caller memory of GetSize bytes (any alignment); the mask is copied. */
KVP_API KvpStatus kvpiMorphologyInit_32f_C3R(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphState* pState);
/** Allocates and builds a flat-mask state; kvpStsBadArg for a mask without a non-zero byte. */
KVP_API KvpStatus kvpiMorphologyInitAlloc_32f_C3R(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphState** ppState);
/** Bytes of a flat-mask state for ROIs up to roiWidth wide, for the current thread count. */
KVP_API KvpStatus kvpiMorphologyGetSize_32f_C4R(int roiWidth, KvpiSize maskSize, int* pSize);
/** Builds a flat-mask state in caller memory of GetSize bytes (any alignment); the mask is copied. */
KVP_API KvpStatus kvpiMorphologyInit_32f_C4R(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphState* pState);
/** Allocates and builds a flat-mask state; kvpStsBadArg for a mask without a non-zero byte. */
KVP_API KvpStatus kvpiMorphologyInitAlloc_32f_C4R(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphState** ppState);
/** Releases a state InitAlloc made; kvpStsBadArg for one Init built. */
KVP_API KvpStatus kvpiMorphologyFree(KvpiMorphState* pState);
/** Dilation: maximum over the mask members (not reflected), replicated border. */
KVP_API KvpStatus kvpiDilateBorderReplicate_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphState* pState);
/** Erosion: minimum over the mask members, replicated border. */
KVP_API KvpStatus kvpiErodeBorderReplicate_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphState* pState);
/** Dilation: maximum over the mask members (not reflected), replicated border. */
KVP_API KvpStatus kvpiDilateBorderReplicate_8u_C3R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphState* pState);
/** Erosion: minimum over the mask members, replicated border. */
KVP_API KvpStatus kvpiErodeBorderReplicate_8u_C3R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphState* pState);
/** Dilation: maximum over the mask members (not reflected), replicated border. */
KVP_API KvpStatus kvpiDilateBorderReplicate_8u_C4R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphState* pState);
/** Erosion: minimum over the mask members, replicated border. */
KVP_API KvpStatus kvpiErodeBorderReplicate_8u_C4R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphState* pState);
/** Dilation: maximum over the mask members (not reflected), replicated border. */
KVP_API KvpStatus kvpiDilateBorderReplicate_16u_C1R(const Kvp16u* pSrc, int srcStep, Kvp16u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphState* pState);
/** Erosion: minimum over the mask members, replicated border. */
KVP_API KvpStatus kvpiErodeBorderReplicate_16u_C1R(const Kvp16u* pSrc, int srcStep, Kvp16u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphState* pState);
/** Dilation: maximum over the mask members (not reflected), replicated border. */
KVP_API KvpStatus kvpiDilateBorderReplicate_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphState* pState);
/** Erosion: minimum over the mask members, replicated border. */
KVP_API KvpStatus kvpiErodeBorderReplicate_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphState* pState);
/** Dilation: maximum over the mask members (not reflected), replicated border. */
KVP_API KvpStatus kvpiDilateBorderReplicate_32f_C3R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphState* pState);
/** Erosion: minimum over the mask members, replicated border. */
KVP_API KvpStatus kvpiErodeBorderReplicate_32f_C3R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphState* pState);
/** Dilation: maximum over the mask members (not reflected), replicated border. */
KVP_API KvpStatus kvpiDilateBorderReplicate_32f_C4R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphState* pState);
/** Erosion: minimum over the mask members, replicated border. */
KVP_API KvpStatus kvpiErodeBorderReplicate_32f_C4R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphState* pState);
/** Bytes of a derived-operation state for ROIs up to roiSize, for the current thread count. */
KVP_API KvpStatus kvpiMorphAdvGetSize_8u_C1R(KvpiSize roiSize, KvpiSize maskSize, int* pSize);
/** Builds a derived-operation state in caller memory of GetSize bytes (any alignment). */
KVP_API KvpStatus kvpiMorphAdvInit_8u_C1R(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphAdvState* pState);
/** Allocates and builds a derived-operation state. */
KVP_API KvpStatus kvpiMorphAdvInitAlloc_8u_C1R(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphAdvState** ppState);
/** Bytes of a derived-operation state for ROIs up to roiSize, for the current thread count. */
KVP_API KvpStatus kvpiMorphAdvGetSize_8u_C3R(KvpiSize roiSize, KvpiSize maskSize, int* pSize);
/** Builds a derived-operation state in caller memory of GetSize bytes (any alignment). */
KVP_API KvpStatus kvpiMorphAdvInit_8u_C3R(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphAdvState* pState);
/** Allocates and builds a derived-operation state. */
KVP_API KvpStatus kvpiMorphAdvInitAlloc_8u_C3R(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphAdvState** ppState);
/** Bytes of a derived-operation state for ROIs up to roiSize, for the current thread count. */
KVP_API KvpStatus kvpiMorphAdvGetSize_8u_C4R(KvpiSize roiSize, KvpiSize maskSize, int* pSize);
/** Builds a derived-operation state in caller memory of GetSize bytes (any alignment). */
KVP_API KvpStatus kvpiMorphAdvInit_8u_C4R(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphAdvState* pState);
/** Allocates and builds a derived-operation state. */
KVP_API KvpStatus kvpiMorphAdvInitAlloc_8u_C4R(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphAdvState** ppState);
/** Bytes of a derived-operation state for ROIs up to roiSize, for the current thread count. */
KVP_API KvpStatus kvpiMorphAdvGetSize_16u_C1R(KvpiSize roiSize, KvpiSize maskSize, int* pSize);
/** Builds a derived-operation state in caller memory of GetSize bytes (any alignment). */
KVP_API KvpStatus kvpiMorphAdvInit_16u_C1R(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphAdvState* pState);
/** Allocates and builds a derived-operation state. */
KVP_API KvpStatus kvpiMorphAdvInitAlloc_16u_C1R(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphAdvState** ppState);
/** Bytes of a derived-operation state for ROIs up to roiSize, for the current thread count. */
KVP_API KvpStatus kvpiMorphAdvGetSize_32f_C1R(KvpiSize roiSize, KvpiSize maskSize, int* pSize);
/** Builds a derived-operation state in caller memory of GetSize bytes (any alignment). */
KVP_API KvpStatus kvpiMorphAdvInit_32f_C1R(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphAdvState* pState);
/** Allocates and builds a derived-operation state. */
KVP_API KvpStatus kvpiMorphAdvInitAlloc_32f_C1R(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphAdvState** ppState);
/** Bytes of a derived-operation state for ROIs up to roiSize, for the current thread count. */
KVP_API KvpStatus kvpiMorphAdvGetSize_32f_C3R(KvpiSize roiSize, KvpiSize maskSize, int* pSize);
/** Builds a derived-operation state in caller memory of GetSize bytes (any alignment). */
KVP_API KvpStatus kvpiMorphAdvInit_32f_C3R(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphAdvState* pState);
/** Allocates and builds a derived-operation state. */
KVP_API KvpStatus kvpiMorphAdvInitAlloc_32f_C3R(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphAdvState** ppState);
/** Bytes of a derived-operation state for ROIs up to roiSize, for the current thread count. */
KVP_API KvpStatus kvpiMorphAdvGetSize_32f_C4R(KvpiSize roiSize, KvpiSize maskSize, int* pSize);
/** Builds a derived-operation state in caller memory of GetSize bytes (any alignment). */
KVP_API KvpStatus kvpiMorphAdvInit_32f_C4R(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphAdvState* pState);
/** Allocates and builds a derived-operation state. */
KVP_API KvpStatus kvpiMorphAdvInitAlloc_32f_C4R(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphAdvState** ppState);
/** Releases a derived-operation state InitAlloc made; kvpStsBadArg for one Init built. */
KVP_API KvpStatus kvpiMorphAdvFree(KvpiMorphAdvState* pState);
/** Opening: dilation of the erosion. */
KVP_API KvpStatus kvpiMorphOpenBorder_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Closing: erosion of the dilation. */
KVP_API KvpStatus kvpiMorphCloseBorder_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Top-hat: source minus opening (integers saturate at 0). */
KVP_API KvpStatus kvpiMorphTophatBorder_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Black-hat: closing minus source (integers saturate at 0). */
KVP_API KvpStatus kvpiMorphBlackhatBorder_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Gradient: dilation minus erosion. */
KVP_API KvpStatus kvpiMorphGradientBorder_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Opening: dilation of the erosion. */
KVP_API KvpStatus kvpiMorphOpenBorder_8u_C3R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Closing: erosion of the dilation. */
KVP_API KvpStatus kvpiMorphCloseBorder_8u_C3R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Top-hat: source minus opening (integers saturate at 0). */
KVP_API KvpStatus kvpiMorphTophatBorder_8u_C3R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Black-hat: closing minus source (integers saturate at 0). */
KVP_API KvpStatus kvpiMorphBlackhatBorder_8u_C3R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Gradient: dilation minus erosion. */
KVP_API KvpStatus kvpiMorphGradientBorder_8u_C3R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Opening: dilation of the erosion. */
KVP_API KvpStatus kvpiMorphOpenBorder_8u_C4R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Closing: erosion of the dilation. */
KVP_API KvpStatus kvpiMorphCloseBorder_8u_C4R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Top-hat: source minus opening (integers saturate at 0). */
KVP_API KvpStatus kvpiMorphTophatBorder_8u_C4R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Black-hat: closing minus source (integers saturate at 0). */
KVP_API KvpStatus kvpiMorphBlackhatBorder_8u_C4R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Gradient: dilation minus erosion. */
KVP_API KvpStatus kvpiMorphGradientBorder_8u_C4R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Opening: dilation of the erosion. */
KVP_API KvpStatus kvpiMorphOpenBorder_16u_C1R(const Kvp16u* pSrc, int srcStep, Kvp16u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Closing: erosion of the dilation. */
KVP_API KvpStatus kvpiMorphCloseBorder_16u_C1R(const Kvp16u* pSrc, int srcStep, Kvp16u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Top-hat: source minus opening (integers saturate at 0). */
KVP_API KvpStatus kvpiMorphTophatBorder_16u_C1R(const Kvp16u* pSrc, int srcStep, Kvp16u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Black-hat: closing minus source (integers saturate at 0). */
KVP_API KvpStatus kvpiMorphBlackhatBorder_16u_C1R(const Kvp16u* pSrc, int srcStep, Kvp16u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Gradient: dilation minus erosion. */
KVP_API KvpStatus kvpiMorphGradientBorder_16u_C1R(const Kvp16u* pSrc, int srcStep, Kvp16u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Opening: dilation of the erosion. */
KVP_API KvpStatus kvpiMorphOpenBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Closing: erosion of the dilation. */
KVP_API KvpStatus kvpiMorphCloseBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Top-hat: source minus opening (integers saturate at 0). */
KVP_API KvpStatus kvpiMorphTophatBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Black-hat: closing minus source (integers saturate at 0). */
KVP_API KvpStatus kvpiMorphBlackhatBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Gradient: dilation minus erosion. */
KVP_API KvpStatus kvpiMorphGradientBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Opening: dilation of the erosion. */
KVP_API KvpStatus kvpiMorphOpenBorder_32f_C3R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Closing: erosion of the dilation. */
KVP_API KvpStatus kvpiMorphCloseBorder_32f_C3R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Top-hat: source minus opening (integers saturate at 0). */
KVP_API KvpStatus kvpiMorphTophatBorder_32f_C3R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Black-hat: closing minus source (integers saturate at 0). */
KVP_API KvpStatus kvpiMorphBlackhatBorder_32f_C3R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Gradient: dilation minus erosion. */
KVP_API KvpStatus kvpiMorphGradientBorder_32f_C3R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Opening: dilation of the erosion. */
KVP_API KvpStatus kvpiMorphOpenBorder_32f_C4R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Closing: erosion of the dilation. */
KVP_API KvpStatus kvpiMorphCloseBorder_32f_C4R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Top-hat: source minus opening (integers saturate at 0). */
KVP_API KvpStatus kvpiMorphTophatBorder_32f_C4R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Black-hat: closing minus source (integers saturate at 0). */
KVP_API KvpStatus kvpiMorphBlackhatBorder_32f_C4R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);
/** Gradient: dilation minus erosion. */
KVP_API KvpStatus kvpiMorphGradientBorder_32f_C4R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphAdvState* pState);

/** State of 8-bit erosion and dilation with a value mask; serves one call at a time. */
typedef struct KvpiMorphGrayState_8u KvpiMorphGrayState_8u;
/** State of float erosion and dilation with a value mask; serves one call at a time. */
typedef struct KvpiMorphGrayState_32f KvpiMorphGrayState_32f;
/** Bytes of a value-mask state for ROIs up to roiWidth wide, for the current thread count. */
KVP_API KvpStatus kvpiMorphGrayGetSize_8u_C1R(int roiWidth, KvpiSize maskSize, int* pSize);
/** Builds a value-mask state in caller memory of GetSize bytes (any alignment); the values are copied. */
KVP_API KvpStatus kvpiMorphGrayInit_8u_C1R(int roiWidth, const Kvp32s* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphGrayState_8u* pState);
/** Allocates and builds a value-mask state. */
KVP_API KvpStatus kvpiMorphGrayInitAlloc_8u_C1R(int roiWidth, const Kvp32s* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphGrayState_8u** ppState);
/** Releases a value-mask state InitAlloc made; kvpStsBadArg for one Init built. */
KVP_API KvpStatus kvpiMorphGrayFree_8u_C1R(KvpiMorphGrayState_8u* pState);
/** Bytes of a value-mask state for ROIs up to roiWidth wide, for the current thread count. */
KVP_API KvpStatus kvpiMorphGrayGetSize_32f_C1R(int roiWidth, KvpiSize maskSize, int* pSize);
/** Builds a value-mask state in caller memory of GetSize bytes (any alignment); the values are copied. NaN values: kvpStsBadArg. */
KVP_API KvpStatus kvpiMorphGrayInit_32f_C1R(int roiWidth, const Kvp32f* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphGrayState_32f* pState);
/** Allocates and builds a value-mask state. */
KVP_API KvpStatus kvpiMorphGrayInitAlloc_32f_C1R(int roiWidth, const Kvp32f* pMask, KvpiSize maskSize, KvpiPoint anchor, KvpiMorphGrayState_32f** ppState);
/** Releases a value-mask state InitAlloc made; kvpStsBadArg for one Init built. */
KVP_API KvpStatus kvpiMorphGrayFree_32f_C1R(KvpiMorphGrayState_32f* pState);
/** Non-flat erosion: minimum of source minus mask value over the mask, saturated to 0..255. */
KVP_API KvpStatus kvpiGrayErodeBorder_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphGrayState_8u* pState);
/** Non-flat dilation: maximum of source plus mask value over the mask, saturated to 0..255. */
KVP_API KvpStatus kvpiGrayDilateBorder_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphGrayState_8u* pState);
/** Non-flat erosion: minimum of source minus mask value over the mask (IEEE single). */
KVP_API KvpStatus kvpiGrayErodeBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphGrayState_32f* pState);
/** Non-flat dilation: maximum of source plus mask value over the mask (IEEE single). */
KVP_API KvpStatus kvpiGrayDilateBorder_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiBorderType borderType, KvpiMorphGrayState_32f* pState);

/** Work-buffer bytes of reconstruction on roiSize: 5 x width x height + 64. */
KVP_API KvpStatus kvpiMorphReconstructGetBufferSize_8u_C1(KvpiSize roiSize, int* pBufSize);
/** Reconstruction by dilation of the marker pSrcDst under the mask pSrc; norm L1: 4-connected, Inf: 8-connected. */
KVP_API KvpStatus kvpiMorphReconstructDilate_8u_C1IR(const Kvp8u* pSrc, int srcStep, Kvp8u* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp8u* pBuf, KvpiNorm norm);
/** Reconstruction by erosion of the marker pSrcDst above the mask pSrc; norm L1: 4-connected, Inf: 8-connected. */
KVP_API KvpStatus kvpiMorphReconstructErode_8u_C1IR(const Kvp8u* pSrc, int srcStep, Kvp8u* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp8u* pBuf, KvpiNorm norm);
/** Work-buffer bytes of reconstruction on roiSize: 5 x width x height + 64. */
KVP_API KvpStatus kvpiMorphReconstructGetBufferSize_16u_C1(KvpiSize roiSize, int* pBufSize);
/** Reconstruction by dilation of the marker pSrcDst under the mask pSrc; norm L1: 4-connected, Inf: 8-connected. */
KVP_API KvpStatus kvpiMorphReconstructDilate_16u_C1IR(const Kvp16u* pSrc, int srcStep, Kvp16u* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp8u* pBuf, KvpiNorm norm);
/** Reconstruction by erosion of the marker pSrcDst above the mask pSrc; norm L1: 4-connected, Inf: 8-connected. */
KVP_API KvpStatus kvpiMorphReconstructErode_16u_C1IR(const Kvp16u* pSrc, int srcStep, Kvp16u* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp8u* pBuf, KvpiNorm norm);
/** Work-buffer bytes of reconstruction on roiSize: 5 x width x height + 64. */
KVP_API KvpStatus kvpiMorphReconstructGetBufferSize_32f_C1(KvpiSize roiSize, int* pBufSize);
/** Reconstruction by dilation of the marker pSrcDst under the mask pSrc; norm L1: 4-connected, Inf: 8-connected. */
KVP_API KvpStatus kvpiMorphReconstructDilate_32f_C1IR(const Kvp32f* pSrc, int srcStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp8u* pBuf, KvpiNorm norm);
/** Reconstruction by erosion of the marker pSrcDst above the mask pSrc; norm L1: 4-connected, Inf: 8-connected. */
KVP_API KvpStatus kvpiMorphReconstructErode_32f_C1IR(const Kvp32f* pSrc, int srcStep, Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp8u* pBuf, KvpiNorm norm);
/** Work-buffer bytes of reconstruction on roiSize: 5 x width x height + 64. */
KVP_API KvpStatus kvpiMorphReconstructGetBufferSize_64f_C1(KvpiSize roiSize, int* pBufSize);
/** Reconstruction by dilation of the marker pSrcDst under the mask pSrc; norm L1: 4-connected, Inf: 8-connected. */
KVP_API KvpStatus kvpiMorphReconstructDilate_64f_C1IR(const Kvp64f* pSrc, int srcStep, Kvp64f* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp8u* pBuf, KvpiNorm norm);
/** Reconstruction by erosion of the marker pSrcDst above the mask pSrc; norm L1: 4-connected, Inf: 8-connected. */
KVP_API KvpStatus kvpiMorphReconstructErode_64f_C1IR(const Kvp64f* pSrc, int srcStep, Kvp64f* pSrcDst, int srcDstStep, KvpiSize roiSize, Kvp8u* pBuf, KvpiNorm norm);

/* (end of morphology) */

/* ======================================================================
 * Pyramid layers
 * ====================================================================== */

/** Geometry of an image pyramid and the caller's level images: level i has size pRoi[i], scale pRate[i] = rate^i relative to level 0, first ROI pixel pImage[i] (any element type, cast) and row step pStep[i]; the arrays hold level + 1 entries; pState is the caller's. */
typedef struct KvpiPyramid {
  Kvp8u** pImage;
  int* pStep;
  KvpiSize* pRoi;
  Kvp64f* pRate;
  int level;
  void* pState;
} KvpiPyramid;

typedef struct KvpiPyramidDownState_8u KvpiPyramidDownState_8u;
typedef struct KvpiPyramidDownState_16u KvpiPyramidDownState_16u;
typedef struct KvpiPyramidDownState_32f KvpiPyramidDownState_32f;
typedef struct KvpiPyramidUpState_8u KvpiPyramidUpState_8u;
typedef struct KvpiPyramidUpState_16u KvpiPyramidUpState_16u;
typedef struct KvpiPyramidUpState_32f KvpiPyramidUpState_32f;

/** A pyramid record with level + 1 levels from roiSize at the given rate (1 < rate <= 10) in one block; images and steps are left null/0 for the caller. */
KVP_API KvpStatus kvpiPyramidInitAlloc(KvpiPyramid** ppPyr, int level, KvpiSize roiSize, Kvp32f rate);
/** Releases a record from kvpiPyramidInitAlloc (not the level images). */
KVP_API KvpStatus kvpiPyramidFree(KvpiPyramid* pPyr);
/** Size of the next smaller level: floor((src - 1) / rate) + 1 per direction, exact. */
KVP_API KvpStatus kvpiGetPyramidDownROI(KvpiSize srcRoi, KvpiSize* pDstRoi, Kvp32f rate);
/** The range of larger level sizes whose down size is srcRoi: ceil((src - 1) * rate) + 1 .. ceil(src * rate) per direction. */
KVP_API KvpStatus kvpiGetPyramidUpROI(KvpiSize srcRoi, KvpiSize* pDstRoiMin, KvpiSize* pDstRoiMax, Kvp32f rate);
/** Work-buffer bytes of kvpiPyramidLayerDown for sources up to srcRoi at the current thread count. */
KVP_API KvpStatus kvpiPyramidLayerDownGetBufSize(KvpiSize srcRoi, Kvp32f rate, int kerSize, KvpDataType dataType, int channels, int* pBufSize);
/** Work-buffer bytes of kvpiPyramidLayerUp for sources up to srcRoi at the current thread count. */
KVP_API KvpStatus kvpiPyramidLayerUpGetBufSize(KvpiSize srcRoi, Kvp32f rate, int kerSize, KvpDataType dataType, int channels, int* pBufSize);
/** A down layer state for sources up to srcRoi: odd kernel of kerSize taps (integer taps summing to T >= 1 for integer data, divisor T^2; float taps normalised by their sum), mode kvpInterLinear. */
KVP_API KvpStatus kvpiPyramidLayerDownInitAlloc_8u_C1R(KvpiPyramidDownState_8u** ppState, KvpiSize srcRoi, Kvp32f rate, const Kvp16s* pKernel, int kerSize, int mode);
/** Releases a down layer state. */
KVP_API KvpStatus kvpiPyramidLayerDownFree_8u_C1R(KvpiPyramidDownState_8u* pState);
/** A down layer state for sources up to srcRoi: odd kernel of kerSize taps (integer taps summing to T >= 1 for integer data, divisor T^2; float taps normalised by their sum), mode kvpInterLinear. */
KVP_API KvpStatus kvpiPyramidLayerDownInitAlloc_8u_C3R(KvpiPyramidDownState_8u** ppState, KvpiSize srcRoi, Kvp32f rate, const Kvp16s* pKernel, int kerSize, int mode);
/** Releases a down layer state. */
KVP_API KvpStatus kvpiPyramidLayerDownFree_8u_C3R(KvpiPyramidDownState_8u* pState);
/** A down layer state for sources up to srcRoi: odd kernel of kerSize taps (integer taps summing to T >= 1 for integer data, divisor T^2; float taps normalised by their sum), mode kvpInterLinear. */
KVP_API KvpStatus kvpiPyramidLayerDownInitAlloc_16u_C1R(KvpiPyramidDownState_16u** ppState, KvpiSize srcRoi, Kvp32f rate, const Kvp16s* pKernel, int kerSize, int mode);
/** Releases a down layer state. */
KVP_API KvpStatus kvpiPyramidLayerDownFree_16u_C1R(KvpiPyramidDownState_16u* pState);
/** A down layer state for sources up to srcRoi: odd kernel of kerSize taps (integer taps summing to T >= 1 for integer data, divisor T^2; float taps normalised by their sum), mode kvpInterLinear. */
KVP_API KvpStatus kvpiPyramidLayerDownInitAlloc_16u_C3R(KvpiPyramidDownState_16u** ppState, KvpiSize srcRoi, Kvp32f rate, const Kvp16s* pKernel, int kerSize, int mode);
/** Releases a down layer state. */
KVP_API KvpStatus kvpiPyramidLayerDownFree_16u_C3R(KvpiPyramidDownState_16u* pState);
/** A down layer state for sources up to srcRoi: odd kernel of kerSize taps (integer taps summing to T >= 1 for integer data, divisor T^2; float taps normalised by their sum), mode kvpInterLinear. */
KVP_API KvpStatus kvpiPyramidLayerDownInitAlloc_32f_C1R(KvpiPyramidDownState_32f** ppState, KvpiSize srcRoi, Kvp32f rate, const Kvp32f* pKernel, int kerSize, int mode);
/** Releases a down layer state. */
KVP_API KvpStatus kvpiPyramidLayerDownFree_32f_C1R(KvpiPyramidDownState_32f* pState);
/** A down layer state for sources up to srcRoi: odd kernel of kerSize taps (integer taps summing to T >= 1 for integer data, divisor T^2; float taps normalised by their sum), mode kvpInterLinear. */
KVP_API KvpStatus kvpiPyramidLayerDownInitAlloc_32f_C3R(KvpiPyramidDownState_32f** ppState, KvpiSize srcRoi, Kvp32f rate, const Kvp32f* pKernel, int kerSize, int mode);
/** Releases a down layer state. */
KVP_API KvpStatus kvpiPyramidLayerDownFree_32f_C3R(KvpiPyramidDownState_32f* pState);
/** A up layer state for sources up to srcRoi (the source is the small image): odd kernel of kerSize taps (integer taps summing to T >= 1 for integer data, divisor T^2; float taps normalised by their sum), mode kvpInterLinear. */
KVP_API KvpStatus kvpiPyramidLayerUpInitAlloc_8u_C1R(KvpiPyramidUpState_8u** ppState, KvpiSize srcRoi, Kvp32f rate, const Kvp16s* pKernel, int kerSize, int mode);
/** Releases a up layer state. */
KVP_API KvpStatus kvpiPyramidLayerUpFree_8u_C1R(KvpiPyramidUpState_8u* pState);
/** A up layer state for sources up to srcRoi (the source is the small image): odd kernel of kerSize taps (integer taps summing to T >= 1 for integer data, divisor T^2; float taps normalised by their sum), mode kvpInterLinear. */
KVP_API KvpStatus kvpiPyramidLayerUpInitAlloc_8u_C3R(KvpiPyramidUpState_8u** ppState, KvpiSize srcRoi, Kvp32f rate, const Kvp16s* pKernel, int kerSize, int mode);
/** Releases a up layer state. */
KVP_API KvpStatus kvpiPyramidLayerUpFree_8u_C3R(KvpiPyramidUpState_8u* pState);
/** A up layer state for sources up to srcRoi (the source is the small image): odd kernel of kerSize taps (integer taps summing to T >= 1 for integer data, divisor T^2; float taps normalised by their sum), mode kvpInterLinear. */
KVP_API KvpStatus kvpiPyramidLayerUpInitAlloc_16u_C1R(KvpiPyramidUpState_16u** ppState, KvpiSize srcRoi, Kvp32f rate, const Kvp16s* pKernel, int kerSize, int mode);
/** Releases a up layer state. */
KVP_API KvpStatus kvpiPyramidLayerUpFree_16u_C1R(KvpiPyramidUpState_16u* pState);
/** A up layer state for sources up to srcRoi (the source is the small image): odd kernel of kerSize taps (integer taps summing to T >= 1 for integer data, divisor T^2; float taps normalised by their sum), mode kvpInterLinear. */
KVP_API KvpStatus kvpiPyramidLayerUpInitAlloc_16u_C3R(KvpiPyramidUpState_16u** ppState, KvpiSize srcRoi, Kvp32f rate, const Kvp16s* pKernel, int kerSize, int mode);
/** Releases a up layer state. */
KVP_API KvpStatus kvpiPyramidLayerUpFree_16u_C3R(KvpiPyramidUpState_16u* pState);
/** A up layer state for sources up to srcRoi (the source is the small image): odd kernel of kerSize taps (integer taps summing to T >= 1 for integer data, divisor T^2; float taps normalised by their sum), mode kvpInterLinear. */
KVP_API KvpStatus kvpiPyramidLayerUpInitAlloc_32f_C1R(KvpiPyramidUpState_32f** ppState, KvpiSize srcRoi, Kvp32f rate, const Kvp32f* pKernel, int kerSize, int mode);
/** Releases a up layer state. */
KVP_API KvpStatus kvpiPyramidLayerUpFree_32f_C1R(KvpiPyramidUpState_32f* pState);
/** A up layer state for sources up to srcRoi (the source is the small image): odd kernel of kerSize taps (integer taps summing to T >= 1 for integer data, divisor T^2; float taps normalised by their sum), mode kvpInterLinear. */
KVP_API KvpStatus kvpiPyramidLayerUpInitAlloc_32f_C3R(KvpiPyramidUpState_32f** ppState, KvpiSize srcRoi, Kvp32f rate, const Kvp32f* pKernel, int kerSize, int mode);
/** Releases a up layer state. */
KVP_API KvpStatus kvpiPyramidLayerUpFree_32f_C3R(KvpiPyramidUpState_32f* pState);
/** The next smaller level: separable smoothing (replicated border, vertical pass first), sampled at (x * rate, y * rate) with linear interpolation; dstRoiSize must be the down size of srcRoiSize. */
KVP_API KvpStatus kvpiPyramidLayerDown_8u_C1R(const Kvp8u* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp8u* pDst, int dstStep, KvpiSize dstRoiSize, const KvpiPyramidDownState_8u* pState, Kvp8u* pBuffer);
/** The next smaller level: separable smoothing (replicated border, vertical pass first), sampled at (x * rate, y * rate) with linear interpolation; dstRoiSize must be the down size of srcRoiSize. */
KVP_API KvpStatus kvpiPyramidLayerDown_8u_C3R(const Kvp8u* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp8u* pDst, int dstStep, KvpiSize dstRoiSize, const KvpiPyramidDownState_8u* pState, Kvp8u* pBuffer);
/** The next smaller level: separable smoothing (replicated border, vertical pass first), sampled at (x * rate, y * rate) with linear interpolation; dstRoiSize must be the down size of srcRoiSize. */
KVP_API KvpStatus kvpiPyramidLayerDown_16u_C1R(const Kvp16u* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp16u* pDst, int dstStep, KvpiSize dstRoiSize, const KvpiPyramidDownState_16u* pState, Kvp8u* pBuffer);
/** The next smaller level: separable smoothing (replicated border, vertical pass first), sampled at (x * rate, y * rate) with linear interpolation; dstRoiSize must be the down size of srcRoiSize. */
KVP_API KvpStatus kvpiPyramidLayerDown_16u_C3R(const Kvp16u* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp16u* pDst, int dstStep, KvpiSize dstRoiSize, const KvpiPyramidDownState_16u* pState, Kvp8u* pBuffer);
/** The next smaller level: separable smoothing (replicated border, vertical pass first), sampled at (x * rate, y * rate) with linear interpolation; dstRoiSize must be the down size of srcRoiSize. */
KVP_API KvpStatus kvpiPyramidLayerDown_32f_C1R(const Kvp32f* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp32f* pDst, int dstStep, KvpiSize dstRoiSize, const KvpiPyramidDownState_32f* pState, Kvp8u* pBuffer);
/** The next smaller level: separable smoothing (replicated border, vertical pass first), sampled at (x * rate, y * rate) with linear interpolation; dstRoiSize must be the down size of srcRoiSize. */
KVP_API KvpStatus kvpiPyramidLayerDown_32f_C3R(const Kvp32f* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp32f* pDst, int dstStep, KvpiSize dstRoiSize, const KvpiPyramidDownState_32f* pState, Kvp8u* pBuffer);
/** A larger level: linear interpolation of the source at (X / rate, Y / rate), then separable smoothing (replicated border); dstRoiSize within the up range of srcRoiSize. */
KVP_API KvpStatus kvpiPyramidLayerUp_8u_C1R(const Kvp8u* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp8u* pDst, int dstStep, KvpiSize dstRoiSize, const KvpiPyramidUpState_8u* pState, Kvp8u* pBuffer);
/** A larger level: linear interpolation of the source at (X / rate, Y / rate), then separable smoothing (replicated border); dstRoiSize within the up range of srcRoiSize. */
KVP_API KvpStatus kvpiPyramidLayerUp_8u_C3R(const Kvp8u* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp8u* pDst, int dstStep, KvpiSize dstRoiSize, const KvpiPyramidUpState_8u* pState, Kvp8u* pBuffer);
/** A larger level: linear interpolation of the source at (X / rate, Y / rate), then separable smoothing (replicated border); dstRoiSize within the up range of srcRoiSize. */
KVP_API KvpStatus kvpiPyramidLayerUp_16u_C1R(const Kvp16u* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp16u* pDst, int dstStep, KvpiSize dstRoiSize, const KvpiPyramidUpState_16u* pState, Kvp8u* pBuffer);
/** A larger level: linear interpolation of the source at (X / rate, Y / rate), then separable smoothing (replicated border); dstRoiSize within the up range of srcRoiSize. */
KVP_API KvpStatus kvpiPyramidLayerUp_16u_C3R(const Kvp16u* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp16u* pDst, int dstStep, KvpiSize dstRoiSize, const KvpiPyramidUpState_16u* pState, Kvp8u* pBuffer);
/** A larger level: linear interpolation of the source at (X / rate, Y / rate), then separable smoothing (replicated border); dstRoiSize within the up range of srcRoiSize. */
KVP_API KvpStatus kvpiPyramidLayerUp_32f_C1R(const Kvp32f* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp32f* pDst, int dstStep, KvpiSize dstRoiSize, const KvpiPyramidUpState_32f* pState, Kvp8u* pBuffer);
/** A larger level: linear interpolation of the source at (X / rate, Y / rate), then separable smoothing (replicated border); dstRoiSize within the up range of srcRoiSize. */
KVP_API KvpStatus kvpiPyramidLayerUp_32f_C3R(const Kvp32f* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp32f* pDst, int dstStep, KvpiSize dstRoiSize, const KvpiPyramidUpState_32f* pState, Kvp8u* pBuffer);

/* (end of pyramid layers) */

/* ======================================================================
 * Pyramidal optical flow
 * ====================================================================== */

typedef struct KvpiOptFlowPyrLK_8u KvpiOptFlowPyrLK_8u;
typedef struct KvpiOptFlowPyrLK_16u KvpiOptFlowPyrLK_16u;
typedef struct KvpiOptFlowPyrLK_32f KvpiOptFlowPyrLK_32f;

/** A tracking state for level-0 images up to roiSize and windows up to winSize (odd, >= 3), with scratch for the current thread count. */
KVP_API KvpStatus kvpiOpticalFlowPyrLKInitAlloc_8u_C1R(KvpiOptFlowPyrLK_8u** ppState, KvpiSize roiSize, int winSize);
/** Releases a tracking state. */
KVP_API KvpStatus kvpiOpticalFlowPyrLKFree_8u_C1R(KvpiOptFlowPyrLK_8u* pState);
/** A tracking state for level-0 images up to roiSize and windows up to winSize (odd, >= 3), with scratch for the current thread count. */
KVP_API KvpStatus kvpiOpticalFlowPyrLKInitAlloc_16u_C1R(KvpiOptFlowPyrLK_16u** ppState, KvpiSize roiSize, int winSize);
/** Releases a tracking state. */
KVP_API KvpStatus kvpiOpticalFlowPyrLKFree_16u_C1R(KvpiOptFlowPyrLK_16u* pState);
/** A tracking state for level-0 images up to roiSize and windows up to winSize (odd, >= 3), with scratch for the current thread count. */
KVP_API KvpStatus kvpiOpticalFlowPyrLKInitAlloc_32f_C1R(KvpiOptFlowPyrLK_32f** ppState, KvpiSize roiSize, int winSize);
/** Releases a tracking state. */
KVP_API KvpStatus kvpiOpticalFlowPyrLKFree_32f_C1R(KvpiOptFlowPyrLK_32f* pState);
/** Pyramidal Lucas-Kanade tracking of numFeat points from pyramid 1 to pyramid 2 over levels maxLev..0: pNext holds the initial guesses and receives the positions; status 1 tracked, 0 lost; pError (may be null) the mean absolute window difference, 0 when lost. */
KVP_API KvpStatus kvpiOpticalFlowPyrLK_8u_C1R(const KvpiPyramid* pPyr1, const KvpiPyramid* pPyr2, const KvpiPoint_32f* pPrev, KvpiPoint_32f* pNext, Kvp8s* pStatus, Kvp32f* pError, int numFeat, int winSize, int maxLev, int maxIter, Kvp32f threshold, KvpiOptFlowPyrLK_8u* pState);
/** Pyramidal Lucas-Kanade tracking of numFeat points from pyramid 1 to pyramid 2 over levels maxLev..0: pNext holds the initial guesses and receives the positions; status 1 tracked, 0 lost; pError (may be null) the mean absolute window difference, 0 when lost (rejection thresholds scaled by 256^2 and 256^4). */
KVP_API KvpStatus kvpiOpticalFlowPyrLK_16u_C1R(const KvpiPyramid* pPyr1, const KvpiPyramid* pPyr2, const KvpiPoint_32f* pPrev, KvpiPoint_32f* pNext, Kvp8s* pStatus, Kvp32f* pError, int numFeat, int winSize, int maxLev, int maxIter, Kvp32f threshold, KvpiOptFlowPyrLK_16u* pState);
/** Pyramidal Lucas-Kanade tracking of numFeat points from pyramid 1 to pyramid 2 over levels maxLev..0: pNext holds the initial guesses and receives the positions; status 1 tracked, 0 lost; pError (may be null) the mean absolute window difference, 0 when lost (32f data on the 0..255 scale). */
KVP_API KvpStatus kvpiOpticalFlowPyrLK_32f_C1R(const KvpiPyramid* pPyr1, const KvpiPyramid* pPyr2, const KvpiPoint_32f* pPrev, KvpiPoint_32f* pNext, Kvp8s* pStatus, Kvp32f* pError, int numFeat, int winSize, int maxLev, int maxIter, Kvp32f threshold, KvpiOptFlowPyrLK_32f* pState);

/* (end of optical flow) */

/* ======================================================================
 * Watershed, gradient segmentation, marker labelling, segment bounds
 * ====================================================================== */

/** Flooding flags of the watershed and gradient segmentations: a key rule, optionally OR-ed with one border rule. */
typedef enum {
  KVP_SEGMENT_QUEUE = 0x00,    /**< key of a queued pixel = its own level */
  KVP_SEGMENT_DISTANCE = 0x01, /**< key = max(own level, key of the pixel it was reached from) */
  KVP_SEGMENT_BORDER_4 = 0x40, /**< after flooding, set basin meeting pixels to the type's maximum (4-connected test) */
  KVP_SEGMENT_BORDER_8 = 0x80  /**< the same with the 8-connected test */
} KvpiSegmentFlag;

/** Work-buffer bytes of kvpiSegmentWatershed_8u_C1IR for roiSize at the current thread count. */
KVP_API KvpStatus kvpiSegmentWatershedGetBufferSize_8u_C1R(KvpiSize roiSize, int* pBufSize);
/** Work-buffer bytes of kvpiSegmentWatershed_8u16u_C1IR for roiSize at the current thread count. */
KVP_API KvpStatus kvpiSegmentWatershedGetBufferSize_8u16u_C1R(KvpiSize roiSize, int* pBufSize);
/** Grows the positive 8-bit markers over the grey levels of pSrc (256-level FIFO priority flooding, fixed neighbour order), in place. */
KVP_API KvpStatus kvpiSegmentWatershed_8u_C1IR(const Kvp8u* pSrc, int srcStep, Kvp8u* pMarker, int markerStep, KvpiSize roiSize, KvpiNorm norm, int flag, Kvp8u* pBuffer);
/** Grows the positive 16-bit markers over the grey levels of pSrc, in place. */
KVP_API KvpStatus kvpiSegmentWatershed_8u16u_C1IR(const Kvp8u* pSrc, int srcStep, Kvp16u* pMarker, int markerStep, KvpiSize roiSize, KvpiNorm norm, int flag, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiSegmentGradient_8u_C3IR for roiSize at the current thread count. */
KVP_API KvpStatus kvpiSegmentGradientGetBufferSize_8u_C3R(KvpiSize roiSize, int* pBufSize);
/** Grows the positive markers over a colour image, the priority being the largest channel step between neighbours, in place. */
KVP_API KvpStatus kvpiSegmentGradient_8u_C3IR(const Kvp8u* pSrc, int srcStep, Kvp8u* pMarker, int markerStep, KvpiSize roiSize, KvpiNorm norm, int flag, Kvp8u* pBuffer);
/** Work-buffer bytes of kvpiLabelMarkers_8u_C1IR for roiSize. */
KVP_API KvpStatus kvpiLabelMarkersGetBufferSize_8u_C1R(KvpiSize roiSize, int* pBufSize);
/** Work-buffer bytes of kvpiLabelMarkers_16u_C1IR for roiSize. */
KVP_API KvpStatus kvpiLabelMarkersGetBufferSize_16u_C1R(KvpiSize roiSize, int* pBufSize);
/** Numbers the connected non-zero components minLabel, minLabel + 1, ... in raster order of their first pixels (those beyond maxLabel become 0), in place. */
KVP_API KvpStatus kvpiLabelMarkers_8u_C1IR(Kvp8u* pMarker, int markerStep, KvpiSize roiSize, int minLabel, int maxLabel, KvpiNorm norm, int* pNumber, Kvp8u* pBuffer);
/** Numbers the connected non-zero components of a 16-bit image, in place. */
KVP_API KvpStatus kvpiLabelMarkers_16u_C1IR(Kvp16u* pMarker, int markerStep, KvpiSize roiSize, int minLabel, int maxLabel, KvpiNorm norm, int* pNumber, Kvp8u* pBuffer);
/** Sets to val every pixel with a neighbour of another label (label 0 included), in place; allocates row copies. */
KVP_API KvpStatus kvpiBoundSegments_8u_C1IR(Kvp8u* pMarker, int markerStep, KvpiSize roiSize, Kvp8u val, KvpiNorm norm);
/** Sets to val every pixel of a 16-bit label image with a neighbour of another label, in place; allocates row copies. */
KVP_API KvpStatus kvpiBoundSegments_16u_C1IR(Kvp16u* pMarker, int markerStep, KvpiSize roiSize, Kvp16u val, KvpiNorm norm);

/* (end of segmentation) */

/* ======================================================================
 * Fast marching and inpainting
 * ====================================================================== */

/** Inpainting state of one mask for one-channel images. */
typedef struct KvpiInpaintState_8u_C1R KvpiInpaintState_8u_C1R;
/** Inpainting state of one mask for three-channel images. */
typedef struct KvpiInpaintState_8u_C3R KvpiInpaintState_8u_C3R;

/** Work-buffer bytes of kvpiFastMarching_8u32f_C1R for roiSize (17 per pixel plus 1024). */
KVP_API KvpStatus kvpiFastMarchingGetBufferSize_8u32f_C1R(KvpiSize roiSize, int* pBufSize);
/** Arrival times from the known (zero) mask pixels, first-order upwind fast marching, limited to radius (+inf: no limit). */
KVP_API KvpStatus kvpiFastMarching_8u32f_C1R(const Kvp8u* pMask, int maskStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp32f radius, Kvp8u* pBuffer);
/** Builds the fill order and neighbourhood of a mask and its distance map for one-channel inpainting (flag 0). */
KVP_API KvpStatus kvpiInpaintInitAlloc_8u_C1R(KvpiInpaintState_8u_C1R** ppState, const Kvp32f* pDist, int distStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp32f radius, int flag);
/** Builds the fill order and neighbourhood of a mask and its distance map for three-channel inpainting (flag 0). */
KVP_API KvpStatus kvpiInpaintInitAlloc_8u_C3R(KvpiInpaintState_8u_C3R** ppState, const Kvp32f* pDist, int distStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp32f radius, int flag);
/** Releases a one-channel inpainting state. */
KVP_API KvpStatus kvpiInpaintFree_8u_C1R(KvpiInpaintState_8u_C1R* pState);
/** Releases a three-channel inpainting state. */
KVP_API KvpStatus kvpiInpaintFree_8u_C3R(KvpiInpaintState_8u_C3R* pState);
/** Copies pSrc to pDst and fills the masked pixels in ascending arrival time from the known pixels around them (in place allowed; a three-channel state is kvpStsBadArg). */
KVP_API KvpStatus kvpiInpaint_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, const KvpiInpaintState_8u_C1R* pState);
/** Three-channel inpainting, every channel filled with the same weights (in place allowed; a one-channel state is kvpStsBadArg). */
KVP_API KvpStatus kvpiInpaint_8u_C3R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, const KvpiInpaintState_8u_C3R* pState);

/* (end of inpainting) */

/* ======================================================================
 * Edges and corners
 * ====================================================================== */

/** Bytes of the work buffer of the Canny detectors on precomputed derivatives. */
KVP_API KvpStatus kvpiCannyGetSize(KvpiSize roiSize, int* pBufferSize);
/** Canny edges (255 edge, 0 not) from 16-bit horizontal and vertical derivatives; L2 magnitude, thresholds clamped at 32767. */
KVP_API KvpStatus kvpiCanny_16s8u_C1R(const Kvp16s* pSrcDx, int srcDxStep, const Kvp16s* pSrcDy, int srcDyStep, Kvp8u* pDstEdges, int dstEdgeStep, KvpiSize roiSize, Kvp32f lowThresh, Kvp32f highThresh, Kvp8u* pBuffer);
/** Canny edges from float derivatives; L2 magnitude in double, thresholds not clamped. */
KVP_API KvpStatus kvpiCanny_32f8u_C1R(const Kvp32f* pSrcDx, int srcDxStep, const Kvp32f* pSrcDy, int srcDyStep, Kvp8u* pDstEdges, int dstEdgeStep, KvpiSize roiSize, Kvp32f lowThresh, Kvp32f highThresh, Kvp8u* pBuffer);
/** Bytes of the work buffer of kvpiCannyBorder_8u_C1R for a kernel and mask. */
KVP_API KvpStatus kvpiCannyBorderGetSize(KvpiSize roiSize, KvpiDifferentialKernel filterType, KvpiMaskSize mask, int* pBufferSize);
/** Canny edges of an 8-bit image: Sobel 3x3/5x5 or Scharr 3x3 derivatives with the given border, L1 or L2 magnitude. */
KVP_API KvpStatus kvpiCannyBorder_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiDifferentialKernel filterType, KvpiMaskSize mask, KvpiBorderType borderType, Kvp8u borderValue, Kvp32f lowThresh, Kvp32f highThresh, KvpiNorm norm, Kvp8u* pBuffer);
/** Bytes of the work buffer of kvpiMinEigenVal_8u32f_C1R. */
KVP_API KvpStatus kvpiMinEigenValGetBufferSize_8u32f_C1R(KvpiSize roiSize, KvpiDifferentialKernel kernType, int apertureSize, int avgWindow, int* pBufferSize);
/** Bytes of the work buffer of kvpiMinEigenVal_32f_C1R. */
KVP_API KvpStatus kvpiMinEigenValGetBufferSize_32f_C1R(KvpiSize roiSize, KvpiDifferentialKernel kernType, int apertureSize, int avgWindow, int* pBufferSize);
/** Bytes of the work buffer of kvpiEigenValsVecs_8u32f_C1R. */
KVP_API KvpStatus kvpiEigenValsVecsGetBufferSize_8u32f_C1R(KvpiSize roiSize, KvpiDifferentialKernel kernType, int apertureSize, int avgWindow, int* pBufferSize);
/** Bytes of the work buffer of kvpiEigenValsVecs_32f_C1R. */
KVP_API KvpStatus kvpiEigenValsVecsGetBufferSize_32f_C1R(KvpiSize roiSize, KvpiDifferentialKernel kernType, int apertureSize, int avgWindow, int* pBufferSize);
/** Bytes of the work buffer of kvpiHarrisCorner_8u32f_C1R. */
KVP_API KvpStatus kvpiHarrisCornerGetBufferSize_8u32f_C1R(KvpiSize roiSize, KvpiDifferentialKernel kernType, int apertureSize, int avgWindow, int* pBufferSize);
/** Bytes of the work buffer of kvpiHarrisCorner_32f_C1R. */
KVP_API KvpStatus kvpiHarrisCornerGetBufferSize_32f_C1R(KvpiSize roiSize, KvpiDifferentialKernel kernType, int apertureSize, int avgWindow, int* pBufferSize);
/** Smaller eigenvalue of the windowed structure tensor of an 8-bit image (derivatives scaled to 1/255 units). */
KVP_API KvpStatus kvpiMinEigenVal_8u32f_C1R(const Kvp8u* pSrc, int srcStep, Kvp32f* pMinEigenVal, int minValStep, KvpiSize roiSize, KvpiDifferentialKernel kernType, int apertureSize, int avgWindow, Kvp8u* pBuffer);
/** Smaller eigenvalue of the windowed structure tensor of a float image. */
KVP_API KvpStatus kvpiMinEigenVal_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pMinEigenVal, int minValStep, KvpiSize roiSize, KvpiDifferentialKernel kernType, int apertureSize, int avgWindow, Kvp8u* pBuffer);
/** Both eigenvalues and unit eigenvectors of the structure tensor of an 8-bit image, 6 floats per pixel (l1, l2, x1, y1, x2, y2). */
KVP_API KvpStatus kvpiEigenValsVecs_8u32f_C1R(const Kvp8u* pSrc, int srcStep, Kvp32f* pEigenVV, int eigStep, KvpiSize roiSize, KvpiDifferentialKernel kernType, int apertureSize, int avgWindow, Kvp8u* pBuffer);
/** Both eigenvalues and unit eigenvectors of the structure tensor of a float image, 6 floats per pixel. */
KVP_API KvpStatus kvpiEigenValsVecs_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pEigenVV, int eigStep, KvpiSize roiSize, KvpiDifferentialKernel kernType, int apertureSize, int avgWindow, Kvp8u* pBuffer);
/** Harris response scale * (det - k * trace^2) of the structure tensor of an 8-bit image. */
KVP_API KvpStatus kvpiHarrisCorner_8u32f_C1R(const Kvp8u* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiDifferentialKernel kernType, int apertureSize, int avgWindow, Kvp32f k, Kvp32f scale, Kvp8u* pBuffer);
/** Harris response scale * (det - k * trace^2) of the structure tensor of a float image. */
KVP_API KvpStatus kvpiHarrisCorner_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiDifferentialKernel kernType, int apertureSize, int avgWindow, Kvp32f k, Kvp32f scale, Kvp8u* pBuffer);
/** Bytes of the peak bitmap of kvpiFindPeaks3x3_32f_C1R. */
KVP_API KvpStatus kvpiFindPeaks3x3GetBufferSize_32f_C1R(KvpiSize roiSize, int* pBufferSize);
/** Bytes of the peak bitmap of kvpiFindPeaks3x3_32s_C1R. */
KVP_API KvpStatus kvpiFindPeaks3x3GetBufferSize_32s_C1R(KvpiSize roiSize, int* pBufferSize);
/** Local maxima above a threshold (4 neighbours for L1, 8 for Inf) inside a border, in raster order, at most maxPeakCount. */
KVP_API KvpStatus kvpiFindPeaks3x3_32f_C1R(const Kvp32f* pSrc, int srcStep, KvpiSize roiSize, Kvp32f threshold, KvpiPoint* pPeak, int maxPeakCount, int* pPeakCount, KvpiNorm norm, int border, Kvp8u* pBuffer);
/** Local maxima of a 32-bit integer map above a threshold, in raster order, at most maxPeakCount. */
KVP_API KvpStatus kvpiFindPeaks3x3_32s_C1R(const Kvp32s* pSrc, int srcStep, KvpiSize roiSize, Kvp32s threshold, KvpiPoint* pPeak, int maxPeakCount, int* pPeakCount, KvpiNorm norm, int border, Kvp8u* pBuffer);
/** Angles of (y, x) pairs in degrees in [0, 360), within 0.00075 degrees, the same bits on every processor. */
KVP_API KvpStatus kvpibFastArctan_32f(const Kvp32f* pSrcY, const Kvp32f* pSrcX, Kvp32f* pDst, int length);
/** Inf, L1 or L2 norm of the three channel values of each 8-bit pixel (rounded, saturated). */
KVP_API KvpStatus kvpiGradientColorToGray_8u_C3C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, KvpiNorm norm);
/** Inf, L1 or L2 norm of the three channel values of each 16-bit pixel (rounded, saturated). */
KVP_API KvpStatus kvpiGradientColorToGray_16u_C3C1R(const Kvp16u* pSrc, int srcStep, Kvp16u* pDst, int dstStep, KvpiSize roiSize, KvpiNorm norm);
/** Inf, L1 or L2 norm of the absolute channel values of each float pixel (L2 in double). */
KVP_API KvpStatus kvpiGradientColorToGray_32f_C3C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiNorm norm);

/* (end of edges and corners) */

/* ======================================================================
 * Undistortion and sub-pixel sampling
 * ====================================================================== */

/** Bytes of the work buffer of kvpiUndistortRadial_* and kvpiCreateMapCameraUndistort_32f_C1R for a ROI (16 x width + 64). */
KVP_API KvpStatus kvpiUndistortGetSize(KvpiSize roiSize, int* pBufsize);
/** Corrects two-coefficient radial lens distortion: each pixel is the bilinear sample at the model's source position, zero outside the ROI. */
KVP_API KvpStatus kvpiUndistortRadial_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, Kvp32f fx, Kvp32f fy, Kvp32f cx, Kvp32f cy, Kvp32f k1, Kvp32f k2, Kvp8u* pBuffer);
/** Radial undistortion of a three-channel 8-bit image (see kvpiUndistortRadial_8u_C1R). */
KVP_API KvpStatus kvpiUndistortRadial_8u_C3R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, Kvp32f fx, Kvp32f fy, Kvp32f cx, Kvp32f cy, Kvp32f k1, Kvp32f k2, Kvp8u* pBuffer);
/** Radial undistortion of a 16-bit image (see kvpiUndistortRadial_8u_C1R). */
KVP_API KvpStatus kvpiUndistortRadial_16u_C1R(const Kvp16u* pSrc, int srcStep, Kvp16u* pDst, int dstStep, KvpiSize roiSize, Kvp32f fx, Kvp32f fy, Kvp32f cx, Kvp32f cy, Kvp32f k1, Kvp32f k2, Kvp8u* pBuffer);
/** Radial undistortion of a float image (see kvpiUndistortRadial_8u_C1R). */
KVP_API KvpStatus kvpiUndistortRadial_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp32f fx, Kvp32f fy, Kvp32f cx, Kvp32f cy, Kvp32f k1, Kvp32f k2, Kvp8u* pBuffer);
/** Radial undistortion of a three-channel float image (see kvpiUndistortRadial_8u_C1R). */
KVP_API KvpStatus kvpiUndistortRadial_32f_C3R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp32f fx, Kvp32f fy, Kvp32f cx, Kvp32f cy, Kvp32f k1, Kvp32f k2, Kvp8u* pBuffer);
/** Writes the source positions of radial and tangential lens undistortion as two coordinate maps (double precision, rounded once to float). */
KVP_API KvpStatus kvpiCreateMapCameraUndistort_32f_C1R(Kvp32f* pxMap, int xStep, Kvp32f* pyMap, int yStep, KvpiSize roiSize, Kvp32f fx, Kvp32f fy, Kvp32f cx, Kvp32f cy, Kvp32f k1, Kvp32f k2, Kvp32f p1, Kvp32f p2, Kvp8u* pBuffer);
/** Copies an image shifted by a fraction (0 <= dx, dy < 1) with bilinear weights; reads one extra source column and row. */
KVP_API KvpStatus kvpiCopySubpix_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, Kvp32f dx, Kvp32f dy);
/** Sub-pixel copy of an 8-bit image into 16 bits scaled by 2^(-scaleFactor). */
KVP_API KvpStatus kvpiCopySubpix_8u16u_C1R_Sfs(const Kvp8u* pSrc, int srcStep, Kvp16u* pDst, int dstStep, KvpiSize roiSize, Kvp32f dx, Kvp32f dy, int scaleFactor);
/** Sub-pixel copy of an 8-bit image into float, unrounded. */
KVP_API KvpStatus kvpiCopySubpix_8u32f_C1R(const Kvp8u* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp32f dx, Kvp32f dy);
/** Sub-pixel copy of a 16-bit image. */
KVP_API KvpStatus kvpiCopySubpix_16u_C1R(const Kvp16u* pSrc, int srcStep, Kvp16u* pDst, int dstStep, KvpiSize roiSize, Kvp32f dx, Kvp32f dy);
/** Sub-pixel copy of a 16-bit image into float, unrounded. */
KVP_API KvpStatus kvpiCopySubpix_16u32f_C1R(const Kvp16u* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp32f dx, Kvp32f dy);
/** Sub-pixel copy of a float image. */
KVP_API KvpStatus kvpiCopySubpix_32f_C1R(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp32f dx, Kvp32f dy);
/** Extracts a window centred at a sub-pixel point, replicating the border, and reports the destination range that read no replicated sample. */
KVP_API KvpStatus kvpiCopySubpixIntersect_8u_C1R(const Kvp8u* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp8u* pDst, int dstStep, KvpiSize dstRoiSize, KvpiPoint_32f point, KvpiPoint* pMin, KvpiPoint* pMax);
/** Sub-pixel window of an 8-bit image into 16 bits scaled by 2^(-scaleFactor). */
KVP_API KvpStatus kvpiCopySubpixIntersect_8u16u_C1R_Sfs(const Kvp8u* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp16u* pDst, int dstStep, KvpiSize dstRoiSize, KvpiPoint_32f point, KvpiPoint* pMin, KvpiPoint* pMax, int scaleFactor);
/** Sub-pixel window of an 8-bit image into float, unrounded. */
KVP_API KvpStatus kvpiCopySubpixIntersect_8u32f_C1R(const Kvp8u* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp32f* pDst, int dstStep, KvpiSize dstRoiSize, KvpiPoint_32f point, KvpiPoint* pMin, KvpiPoint* pMax);
/** Sub-pixel window of a 16-bit image. */
KVP_API KvpStatus kvpiCopySubpixIntersect_16u_C1R(const Kvp16u* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp16u* pDst, int dstStep, KvpiSize dstRoiSize, KvpiPoint_32f point, KvpiPoint* pMin, KvpiPoint* pMax);
/** Sub-pixel window of a 16-bit image into float, unrounded. */
KVP_API KvpStatus kvpiCopySubpixIntersect_16u32f_C1R(const Kvp16u* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp32f* pDst, int dstStep, KvpiSize dstRoiSize, KvpiPoint_32f point, KvpiPoint* pMin, KvpiPoint* pMax);
/** Sub-pixel window of a float image. */
KVP_API KvpStatus kvpiCopySubpixIntersect_32f_C1R(const Kvp32f* pSrc, int srcStep, KvpiSize srcRoiSize, Kvp32f* pDst, int dstStep, KvpiSize dstRoiSize, KvpiPoint_32f point, KvpiPoint* pMin, KvpiPoint* pMax);
/** Copies the pixels of the 8-connected digital line from pt1 to pt2, in order, into pDst (max(|dx|, |dy|) + 1 pixels). */
KVP_API KvpStatus kvpiSampleLine_8u_C1R(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize, Kvp8u* pDst, KvpiPoint pt1, KvpiPoint pt2);
/** Line sampling of a three-channel 8-bit image (three values per pixel). */
KVP_API KvpStatus kvpiSampleLine_8u_C3R(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize, Kvp8u* pDst, KvpiPoint pt1, KvpiPoint pt2);
/** Line sampling of a 16-bit image. */
KVP_API KvpStatus kvpiSampleLine_16u_C1R(const Kvp16u* pSrc, int srcStep, KvpiSize roiSize, Kvp16u* pDst, KvpiPoint pt1, KvpiPoint pt2);
/** Line sampling of a three-channel 16-bit image. */
KVP_API KvpStatus kvpiSampleLine_16u_C3R(const Kvp16u* pSrc, int srcStep, KvpiSize roiSize, Kvp16u* pDst, KvpiPoint pt1, KvpiPoint pt2);
/** Line sampling of a float image. */
KVP_API KvpStatus kvpiSampleLine_32f_C1R(const Kvp32f* pSrc, int srcStep, KvpiSize roiSize, Kvp32f* pDst, KvpiPoint pt1, KvpiPoint pt2);
/** Line sampling of a three-channel float image. */
KVP_API KvpStatus kvpiSampleLine_32f_C3R(const Kvp32f* pSrc, int srcStep, KvpiSize roiSize, Kvp32f* pDst, KvpiPoint pt1, KvpiPoint pt2);

/* (end of geometry) */

/* ======================================================================
 * Haar classifiers
 * ====================================================================== */

/** Opaque stage of weak Haar classifiers with float weights, thresholds and votes. */
typedef struct KvpiHaarClassifier_32f KvpiHaarClassifier_32f;
/** Opaque stage of weak Haar classifiers with integer weights, thresholds and votes. */
typedef struct KvpiHaarClassifier_32s KvpiHaarClassifier_32s;
/** New stage of length upright weak classifiers (pNum[i] rectangles each, consecutive in pFeature / pWeight). */
KVP_API KvpStatus kvpiHaarClassifierInitAlloc_32f(KvpiHaarClassifier_32f** ppState, const KvpiRect* pFeature, const Kvp32f* pWeight, const Kvp32f* pThreshold, const Kvp32f* pVal1, const Kvp32f* pVal2, const int* pNum, int length);
/** New stage of length upright weak classifiers with integer weights, thresholds and votes. */
KVP_API KvpStatus kvpiHaarClassifierInitAlloc_32s(KvpiHaarClassifier_32s** ppState, const KvpiRect* pFeature, const Kvp32s* pWeight, const Kvp32s* pThreshold, const Kvp32s* pVal1, const Kvp32s* pVal2, const int* pNum, int length);
/** New stage of length 45-degree (tilted) weak classifiers with float weights. */
KVP_API KvpStatus kvpiTiltedHaarClassifierInitAlloc_32f(KvpiHaarClassifier_32f** ppState, const KvpiRect* pFeature, const Kvp32f* pWeight, const Kvp32f* pThreshold, const Kvp32f* pVal1, const Kvp32f* pVal2, const int* pNum, int length);
/** New stage of length 45-degree (tilted) weak classifiers with integer weights. */
KVP_API KvpStatus kvpiTiltedHaarClassifierInitAlloc_32s(KvpiHaarClassifier_32s** ppState, const KvpiRect* pFeature, const Kvp32s* pWeight, const Kvp32s* pThreshold, const Kvp32s* pVal1, const Kvp32s* pVal2, const int* pNum, int length);
/** Releases a float Haar stage. */
KVP_API KvpStatus kvpiHaarClassifierFree_32f(KvpiHaarClassifier_32f* pState);
/** Releases an integer Haar stage. */
KVP_API KvpStatus kvpiHaarClassifierFree_32s(KvpiHaarClassifier_32s* pState);
/** Makes the classifiers with pMask[i] != 0 tilted (flag 1) or upright (flag 0); the window size follows. */
KVP_API KvpStatus kvpiTiltHaarFeatures_32f(const Kvp8u* pMask, int flag, KvpiHaarClassifier_32f* pState);
/** Makes the selected classifiers of an integer stage tilted (flag 1) or upright (flag 0). */
KVP_API KvpStatus kvpiTiltHaarFeatures_32s(const Kvp8u* pMask, int flag, KvpiHaarClassifier_32s* pState);
/** The table footprint {W, H} a window of the float stage reads beyond its anchor. */
KVP_API KvpStatus kvpiGetHaarClassifierSize_32f(const KvpiHaarClassifier_32f* pState, KvpiSize* pSize);
/** The table footprint {W, H} a window of the integer stage reads beyond its anchor. */
KVP_API KvpStatus kvpiGetHaarClassifierSize_32s(const KvpiHaarClassifier_32s* pState, KvpiSize* pSize);
/** Applies one stage on float tables: clears the candidate mask where the vote sum stays below threshold; *pPositive = candidates left. */
KVP_API KvpStatus kvpiApplyHaarClassifier_32f_C1R(const Kvp32f* pSrc, int srcStep, const Kvp32f* pNorm, int normStep, Kvp8u* pMask, int maskStep, KvpiSize roiSize, int* pPositive, Kvp32f threshold, const KvpiHaarClassifier_32f* pState);
/** Applies one float-weight stage on 32-bit integer tables (sums converted to float). */
KVP_API KvpStatus kvpiApplyHaarClassifier_32s32f_C1R(const Kvp32s* pSrc, int srcStep, const Kvp32f* pNorm, int normStep, Kvp8u* pMask, int maskStep, KvpiSize roiSize, int* pPositive, Kvp32f threshold, const KvpiHaarClassifier_32f* pState);
/** Applies one integer stage on 32-bit tables; thresholds carry scaleFactor (-31..31) fractional bits, exact 64-bit arithmetic. */
KVP_API KvpStatus kvpiApplyHaarClassifier_32s_C1RSfs(const Kvp32s* pSrc, int srcStep, const Kvp32s* pNorm, int normStep, Kvp8u* pMask, int maskStep, KvpiSize roiSize, int* pPositive, Kvp32s threshold, const KvpiHaarClassifier_32s* pState, int scaleFactor);
/** Applies a float stage reading upright classifiers from pSrc and tilted ones from pTilt. */
KVP_API KvpStatus kvpiApplyMixedHaarClassifier_32f_C1R(const Kvp32f* pSrc, int srcStep, const Kvp32f* pTilt, int tiltStep, const Kvp32f* pNorm, int normStep, Kvp8u* pMask, int maskStep, KvpiSize roiSize, int* pPositive, Kvp32f threshold, const KvpiHaarClassifier_32f* pState);
/** Applies a float-weight stage on integer upright (pSrc) and tilted (pTilt) tables. */
KVP_API KvpStatus kvpiApplyMixedHaarClassifier_32s32f_C1R(const Kvp32s* pSrc, int srcStep, const Kvp32s* pTilt, int tiltStep, const Kvp32f* pNorm, int normStep, Kvp8u* pMask, int maskStep, KvpiSize roiSize, int* pPositive, Kvp32f threshold, const KvpiHaarClassifier_32f* pState);
/** Applies an integer stage on integer upright (pSrc) and tilted (pTilt) tables with scaleFactor fractional threshold bits. */
KVP_API KvpStatus kvpiApplyMixedHaarClassifier_32s_C1RSfs(const Kvp32s* pSrc, int srcStep, const Kvp32s* pTilt, int tiltStep, const Kvp32s* pNorm, int normStep, Kvp8u* pMask, int maskStep, KvpiSize roiSize, int* pPositive, Kvp32s threshold, const KvpiHaarClassifier_32s* pState, int scaleFactor);

/* (end of haar) */

/* ======================================================================
 * Foreground models
 * ====================================================================== */

/** Parameters of the histogram background model (a null record selects 16, 16, 6, 8, 8, 12, 0.02, 0.005, 20, 0.1, 0.6, 0, 20). */
typedef struct {
  int valueQuant;              /* levels per channel of the colour feature, 2..256 */
  int changeQuant;             /* levels per channel of the co-occurrence feature, 2..256 (C1), 2..40 (C3) */
  int valueUse;                /* leading colour entries consulted by the classification, >= 1 */
  int valueAll;                /* colour entries kept per pixel, valueUse..64 */
  int changeUse;               /* leading co-occurrence entries consulted, >= 1 */
  int changeAll;               /* co-occurrence entries kept per pixel, changeUse..64 */
  Kvp32f updBGChange;          /* learning rate of the feature statistics, 0 < r <= 1 */
  Kvp32f updBGRef;             /* learning rate of the reference background, 0 < r <= 1 */
  int numFrame;                /* training frames (learned as background, masks all zero), >= 0 */
  Kvp32f detectionRate;        /* shadow: largest relative chromatic distortion, >= 0 */
  Kvp32f brightnessDistortion; /* shadow: smallest brightness ratio, 0 <= b < 1 */
  int shadowBG;                /* 0: no shadow test; non-zero: shadows written as background */
  int diffThreshold;           /* change detection: smallest grey-level difference that counts, 1..255 */
} KvpFGHistogramModel;

/** Parameters of the Gaussian-mixture background model (a null record selects 5, 0.7, -1, 200, 0, 0.1, 0.6, 0, 15). */
typedef struct {
  int numGauss;                /* components per pixel, 1..8 */
  Kvp32f priorBack;            /* background share of the weight, 0 < T <= 1 */
  Kvp32f updBGProb;            /* learning rate: < 0 automatic (1 / min(t, winSize)); 0 <= r < 1 fixed */
  int winSize;                 /* history length of the automatic rate, >= 1 */
  int numFrame;                /* training frames (masks all zero), >= 0 */
  Kvp32f detectionRate;        /* shadow: largest relative chromatic distortion, >= 0 */
  Kvp32f brightnessDistortion; /* shadow: smallest brightness ratio, 0 <= b < 1 */
  int shadowBG;                /* 0: no shadow test; non-zero: shadows written as background */
  Kvp32f noiseSigma;           /* variance floor noiseSigma^2, noiseSigma > 0 */
} KvpFGGaussianModel;

/** Opaque learning state of the histogram background model. */
typedef struct KvpiFGHistogramState KvpiFGHistogramState;
/** The histogram state built for one-channel frames. */
typedef KvpiFGHistogramState KvpiFGHistogramState_8u_C1R;
/** The histogram state built for three-channel frames. */
typedef KvpiFGHistogramState KvpiFGHistogramState_8u_C3R;
/** Opaque learning state of the Gaussian-mixture background model. */
typedef struct KvpiFGGaussianState KvpiFGGaussianState;
/** The Gaussian state built for one-channel frames. */
typedef KvpiFGGaussianState KvpiFGGaussianState_8u_C1R;
/** The Gaussian state built for three-channel frames. */
typedef KvpiFGGaussianState KvpiFGGaussianState_8u_C3R;

/** New histogram model of roiSize learned from the first frame (pModel null: defaults). */
KVP_API KvpStatus kvpiForegroundHistogramInitAlloc_8u_C1R(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize, const KvpFGHistogramModel* pModel, KvpiFGHistogramState_8u_C1R** ppState);
/** New three-channel histogram model learned from the first frame (pModel null: defaults). */
KVP_API KvpStatus kvpiForegroundHistogramInitAlloc_8u_C3R(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize, const KvpFGHistogramModel* pModel, KvpiFGHistogramState_8u_C3R** ppState);
/** Foreground mask (255 / 0) of the next frame against the histogram model; the state is only read. */
KVP_API KvpStatus kvpiForegroundHistogram_8u_C1R(const KvpiFGHistogramState_8u_C1R* pState, const Kvp8u* pSrc, int srcStep, Kvp8u* pFG, int fgStep);
/** Three-channel foreground mask against the histogram model; the state is only read. */
KVP_API KvpStatus kvpiForegroundHistogram_8u_C3R(const KvpiFGHistogramState_8u_C3R* pState, const Kvp8u* pSrc, int srcStep, Kvp8u* pFG, int fgStep);
/** Learns the next frame into the histogram model and writes the rounded reference background to pRef. */
KVP_API KvpStatus kvpiForegroundHistogramUpdate_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pRef, int refStep, KvpiSize roiSize, KvpiFGHistogramState_8u_C1R* pState);
/** Learns the next three-channel frame into the histogram model; pRef receives the reference background. */
KVP_API KvpStatus kvpiForegroundHistogramUpdate_8u_C3R(const Kvp8u* pSrc, int srcStep, Kvp8u* pRef, int refStep, KvpiSize roiSize, KvpiFGHistogramState_8u_C3R* pState);
/** Releases a histogram state and all its blocks. */
KVP_API KvpStatus kvpiForegroundHistogramFree(KvpiFGHistogramState* pState);
/** New Gaussian-mixture model of roiSize learned from the first frame (pModel null: defaults). */
KVP_API KvpStatus kvpiForegroundGaussianInitAlloc_8u_C1R(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize, const KvpFGGaussianModel* pModel, KvpiFGGaussianState_8u_C1R** ppState);
/** New three-channel Gaussian-mixture model learned from the first frame (pModel null: defaults). */
KVP_API KvpStatus kvpiForegroundGaussianInitAlloc_8u_C3R(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize, const KvpFGGaussianModel* pModel, KvpiFGGaussianState_8u_C3R** ppState);
/** Classifies and learns the next frame: foreground mask to pDstFG, leading component's mean to pRef. */
KVP_API KvpStatus kvpiForegroundGaussian_8u_C1R(const Kvp8u* pSrc, int srcStep, Kvp8u* pRef, int refStep, Kvp8u* pDstFG, int dstFGStep, KvpiSize roiSize, KvpiFGGaussianState_8u_C1R* pState);
/** Classifies and learns the next three-channel frame: mask to pDstFG, leading means to pRef. */
KVP_API KvpStatus kvpiForegroundGaussian_8u_C3R(const Kvp8u* pSrc, int srcStep, Kvp8u* pRef, int refStep, Kvp8u* pDstFG, int dstFGStep, KvpiSize roiSize, KvpiFGGaussianState_8u_C3R* pState);
/** Releases a Gaussian state and all its blocks. */
KVP_API KvpStatus kvpiForegroundGaussianFree(KvpiFGGaussianState* pState);

/* (end of foreground) */

/* ======================================================================
 * Super-resolution support
 * ====================================================================== */

/** Opaque table of 3x3 point-spread functions (taps in row order). */
typedef struct KvpiSRHNSpec_PSF3x3 KvpiSRHNSpec_PSF3x3;
/** Opaque table of 2x2 point-spread functions (taps in row order). */
typedef struct KvpiSRHNSpec_PSF2x2 KvpiSRHNSpec_PSF2x2;
/** Copies tabSize 3x3 PSFs into a new table object; kvpStsBadArg for a NaN or infinite tap. */
KVP_API KvpStatus kvpiSRHNInitAlloc_PSF3x3(KvpiSRHNSpec_PSF3x3** ppPSF, const Kvp32f pcTab[][9], int tabSize);
/** Copies tabSize 2x2 PSFs into a new table object; kvpStsBadArg for a NaN or infinite tap. */
KVP_API KvpStatus kvpiSRHNInitAlloc_PSF2x2(KvpiSRHNSpec_PSF2x2** ppPSF, const Kvp32f pcTab[][4], int tabSize);
/** Releases a 3x3 PSF table. */
KVP_API KvpStatus kvpiSRHNFree_PSF3x3(KvpiSRHNSpec_PSF3x3* pPSF);
/** Releases a 2x2 PSF table. */
KVP_API KvpStatus kvpiSRHNFree_PSF2x2(KvpiSRHNSpec_PSF2x2* pPSF);
/** pResidual[i] = pSrc[i] - (PSF pIndex[i] applied at (pX[i], pY[i]) of the estimate), taps summed in row order; every entry is range-checked first (kvpStsOutOfRange). */
KVP_API KvpStatus kvpiSRHNCalcResidual_PSF3x3_8u32f_C1R(const Kvp8u* pSrc, const Kvp32f* pHiRes, int hiResStep, KvpiSize hiResSize, Kvp32f* pResidual, const int* pX, const int* pY, const unsigned int* pIndex, int len, const KvpiSRHNSpec_PSF3x3* pPSF);
/** The 2x2 residual: pResidual[i] = pSrc[i] - the 2x2 PSF sum over the estimate at (pX[i], pY[i]). */
KVP_API KvpStatus kvpiSRHNCalcResidual_PSF2x2_8u32f_C1R(const Kvp8u* pSrc, const Kvp32f* pHiRes, int hiResStep, KvpiSize hiResSize, Kvp32f* pResidual, const int* pX, const int* pY, const unsigned int* pIndex, int len, const KvpiSRHNSpec_PSF2x2* pPSF);
/** Adds pWeight[i] times PSF pIndex[i] onto the gradient at (pX[i], pY[i]), entries strictly in order (accumulates; does not clear). */
KVP_API KvpStatus kvpiSRHNUpdateGradient_PSF3x3_32f_C1R(Kvp32f* pGrad, int gradStep, KvpiSize gradSize, const int* pX, const int* pY, const unsigned int* pIndex, const Kvp32f* pWeight, int len, const KvpiSRHNSpec_PSF3x3* pPSF);
/** The 2x2 gradient update: pWeight[i] times the 2x2 PSF added at (pX[i], pY[i]), entries in order. */
KVP_API KvpStatus kvpiSRHNUpdateGradient_PSF2x2_32f_C1R(Kvp32f* pGrad, int gradStep, KvpiSize gradSize, const int* pX, const int* pY, const unsigned int* pIndex, const Kvp32f* pWeight, int len, const KvpiSRHNSpec_PSF2x2* pPSF);

/* (end of super-resolution) */

#ifdef __cplusplus
}
#endif
/* clang-format on */
#endif /* KVPCV_H */

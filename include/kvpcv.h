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

/* (end of statistics) */

/* ======================================================================
 * Derivative and smoothing filters with borders
 * ====================================================================== */

/* (end of filters) */

/* ======================================================================
 * Morphology
 * ====================================================================== */

/* (end of morphology) */

/* ======================================================================
 * Pyramid layers
 * ====================================================================== */

/* (end of pyramid layers) */

/* ======================================================================
 * Pyramidal optical flow
 * ====================================================================== */

/* (end of optical flow) */

/* ======================================================================
 * Watershed, gradient segmentation, marker labelling, segment bounds
 * ====================================================================== */

/* (end of segmentation) */

/* ======================================================================
 * Fast marching and inpainting
 * ====================================================================== */

/* (end of inpainting) */

/* ======================================================================
 * Edges and corners
 * ====================================================================== */

/* (end of edges and corners) */

/* ======================================================================
 * Undistortion and sub-pixel sampling
 * ====================================================================== */

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

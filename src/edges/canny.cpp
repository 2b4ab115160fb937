// Canny entry points and the fast arctangent: checks of the one-call form's
// arguments here, the Canny work in the routines of the processor's table,
// the arctangent on the vector target chosen at load.
#include <cmath>

#include "edges/common.h"
#include "edges/kernel_table.h"

#define KVP_BF_ISA base
#define KVP_ED_ISA base
#define KVP_ED_TABLE kKernelsBase
#include "edges/canny_impl.h"

namespace {

const kvp::edges::KernelTable& kernels() {
  const Kvp64u need = KVP_CPU_AVX | KVP_CPU_AVX2;
  return (kvpGetEnabledCpuFeatures() & need) == need ? kvp::edges::kKernelsAvx2 : kvp::edges::kKernelsBase;
}

}  // namespace

extern "C" {

KvpStatus KVP_BODY(kvpiCannyGetSize)(KvpiSize roiSize, int* pBufferSize) {
  if (!pBufferSize) return kvpStsNullPtr;
  if (KvpStatus s = kvp::checkSize(roiSize)) return s;
  const long long W = roiSize.width, H = roiSize.height, n = kvp::edges::teamSize();
  if (W * H > 0x7fffffffLL) return kvpStsBadSize;  // the sum below would overflow first
  return kvp::storeBufferSize(kvp::edges::a64((W + 2) * (H + 2)) + 4 * W * H + n * (24 * (W + 2) + 64) + 64,
                              pBufferSize);
}

KvpStatus KVP_BODY(kvpiCannyBorderGetSize)(KvpiSize roiSize, KvpiDifferentialKernel filterType,
                                           KvpiMaskSize mask, int* pBufferSize) {
  if (!pBufferSize) return kvpStsNullPtr;
  if (KvpStatus s = kvp::checkSize(roiSize)) return s;
  if (KvpStatus s = kvp::edges::checkCannyKernel(kvp::enumArg(filterType), kvp::enumArg(mask))) return s;
  const long long W = roiSize.width, H = roiSize.height, n = kvp::edges::teamSize();
  if (W * H > 0x7fffffffLL) return kvpStsBadSize;
  return kvp::storeBufferSize(
      kvp::edges::a64((W + 2) * (H + 2)) + 4 * W * H + n * kvp::edges::cannyBorderSlice((int)W) + 64,
      pBufferSize);
}

KvpStatus KVP_BODY(kvpiCanny_16s8u_C1R)(const Kvp16s* pSrcDx, int srcDxStep, const Kvp16s* pSrcDy,
                                        int srcDyStep, Kvp8u* pDstEdges, int dstEdgeStep, KvpiSize roiSize,
                                        Kvp32f lowThresh, Kvp32f highThresh, Kvp8u* pBuffer) {
  return kernels().canny16s(pSrcDx, srcDxStep, pSrcDy, srcDyStep, pDstEdges, dstEdgeStep, roiSize, lowThresh,
                            highThresh, pBuffer);
}

KvpStatus KVP_BODY(kvpiCanny_32f8u_C1R)(const Kvp32f* pSrcDx, int srcDxStep, const Kvp32f* pSrcDy,
                                        int srcDyStep, Kvp8u* pDstEdges, int dstEdgeStep, KvpiSize roiSize,
                                        Kvp32f lowThresh, Kvp32f highThresh, Kvp8u* pBuffer) {
  return kernels().canny32f(pSrcDx, srcDxStep, pSrcDy, srcDyStep, pDstEdges, dstEdgeStep, roiSize, lowThresh,
                            highThresh, pBuffer);
}

KvpStatus KVP_BODY(kvpiCannyBorder_8u_C1R)(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep,
                                           KvpiSize roiSize, KvpiDifferentialKernel filterType,
                                           KvpiMaskSize mask, KvpiBorderType borderType, Kvp8u borderValue,
                                           Kvp32f lowThresh, Kvp32f highThresh, KvpiNorm norm,
                                           Kvp8u* pBuffer) {
  if (KvpStatus s =
          kvp::checkPlanes(roiSize, {kvp::plane(pSrc, srcStep), kvp::plane(pDst, dstStep)}, {pBuffer}))
    return s;
  if (KvpStatus s = kvp::edges::checkCannyKernel(kvp::enumArg(filterType), kvp::enumArg(mask))) return s;
  const int border = kvp::enumArg(borderType), nm = kvp::enumArg(norm);
  if (border < 0 || border > 4) return kvpStsBadArg;
  if (KvpStatus s = kvp::edges::checkCannyThresholds(lowThresh, highThresh)) return s;
  if (nm != kvpiNormL1 && nm != kvpiNormL2) return kvpStsBadArg;
  const double a = lowThresh < 32767.0f ? lowThresh : 32767.0,
               b = highThresh < 32767.0f ? highThresh : 32767.0;
  if (nm == kvpiNormL2)
    kernels().borderL2(kvp::enumArg(filterType), kvp::enumArg(mask), pSrc, srcStep, pDst, dstStep, roiSize,
                       border, borderValue, (uint32_t)std::floor(a * a), (uint32_t)std::floor(b * b),
                       pBuffer);
  else
    kernels().borderL1(kvp::enumArg(filterType), kvp::enumArg(mask), pSrc, srcStep, pDst, dstStep, roiSize,
                       border, borderValue, (uint32_t)std::floor(a), (uint32_t)std::floor(b), pBuffer);
  return kvpStsOk;
}

KvpStatus KVP_BODY(kvpibFastArctan_32f)(const Kvp32f* pSrcY, const Kvp32f* pSrcX, Kvp32f* pDst, int length) {
  if (!pSrcY || !pSrcX || !pDst) return kvpStsNullPtr;
  if (length < 1) return kvpStsBadSize;
  kvp::edges::fastAtanRow(pSrcY, pSrcX, pDst, length);
  return kvpStsOk;
}

}  // extern "C"

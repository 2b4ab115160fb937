// Colour gradient to gray: the Inf, L1 or L2 norm of each pixel's three
// channel values, row by row in bands.
#include <cmath>
#include <type_traits>

#include "edges/common.h"

namespace {

using kvp::rowAt;

template <class T, int Norm>
void gradRow(const T* s, T* d, int w) {
  if constexpr (std::is_same_v<T, float>) {
#pragma omp simd
    for (int x = 0; x < w; ++x) {
      const float c0 = s[3 * x], c1 = s[3 * x + 1], c2 = s[3 * x + 2];
      const float a0 = std::fabs(c0), a1 = std::fabs(c1), a2 = std::fabs(c2);
      float r;
      if constexpr (Norm == kvpiNormInf) {
        // A NaN channel wins every comparison below.
        r = a0 >= a1 ? a0 : a1;
        r = (r >= a2 || r != r) ? r : a2;
        r = (a0 != a0 || a1 != a1) ? a0 + a1 : r;
      } else if constexpr (Norm == kvpiNormL1) {
        r = (a0 + a1) + a2;
      } else {
        r = (float)std::sqrt(((double)c0 * c0 + (double)c1 * c1) + (double)c2 * c2);
      }
      d[x] = r;
    }
  } else {
    constexpr int kMax = sizeof(T) == 1 ? 255 : 65535;
#pragma omp simd
    for (int x = 0; x < w; ++x) {
      const int c0 = s[3 * x], c1 = s[3 * x + 1], c2 = s[3 * x + 2];
      int r;
      if constexpr (Norm == kvpiNormInf) {
        r = c0 > c1 ? c0 : c1;
        r = r > c2 ? r : c2;
      } else if constexpr (Norm == kvpiNormL1) {
        r = c0 + c1 + c2;
      } else if constexpr (sizeof(T) == 1) {
        // Sums of squares below 2^18 are exact in float; the root of an
        // integer is never a half-integer, so rint gives the nearest.
        r = (int)std::nearbyint(std::sqrt((float)(c0 * c0 + c1 * c1 + c2 * c2)));
      } else {
        const long long q = (long long)c0 * c0 + (long long)c1 * c1 + (long long)c2 * c2;
        r = (int)std::nearbyint(std::sqrt((double)q));
      }
      d[x] = (T)(r > kMax ? kMax : r);
    }
  }
}

template <class T>
KvpStatus gradient(const T* pSrc, int srcStep, T* pDst, int dstStep, KvpiSize roi, int norm) {
  if (KvpStatus s = kvp::checkPlanes(roi, {kvp::plane(pSrc, srcStep, 3), kvp::plane(pDst, dstStep)}))
    return s;
  if (norm != kvpiNormInf && norm != kvpiNormL1 && norm != kvpiNormL2) return kvpStsBadArg;
  using RowFn = void (*)(const T*, T*, int);
  const RowFn fn = norm == kvpiNormInf  ? gradRow<T, kvpiNormInf>
                   : norm == kvpiNormL1 ? gradRow<T, kvpiNormL1>
                                        : gradRow<T, kvpiNormL2>;
  kvp::forRowBands(roi.height, kvp::edges::threadedFor(roi), [&](int y0, int rows, int) {
    for (int y = y0; y < y0 + rows; ++y) fn(rowAt(pSrc, srcStep, y), rowAt(pDst, dstStep, y), roi.width);
  });
  return kvpStsOk;
}

}  // namespace

extern "C" {

KvpStatus KVP_BODY(kvpiGradientColorToGray_8u_C3C1R)(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep,
                                                     KvpiSize roiSize, KvpiNorm norm) {
  return gradient(pSrc, srcStep, pDst, dstStep, roiSize, kvp::enumArg(norm));
}
KvpStatus KVP_BODY(kvpiGradientColorToGray_16u_C3C1R)(const Kvp16u* pSrc, int srcStep, Kvp16u* pDst,
                                                      int dstStep, KvpiSize roiSize, KvpiNorm norm) {
  return gradient(pSrc, srcStep, pDst, dstStep, roiSize, kvp::enumArg(norm));
}
KvpStatus KVP_BODY(kvpiGradientColorToGray_32f_C3C1R)(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst,
                                                      int dstStep, KvpiSize roiSize, KvpiNorm norm) {
  return gradient(pSrc, srcStep, pDst, dstStep, roiSize, kvp::enumArg(norm));
}

}  // extern "C"

// Fast arctangent in degrees: one polynomial on [0, 1] after folding the
// pair into the first octant, every step a single-precision operation in a
// fixed order, so lanes and the scalar tail give the same bits.
#include <cmath>

#include "edges/common.h"

namespace {

// Angle of one (y, x) pair in [0, 360); NaN for a NaN input.
inline float fastAtan(float y, float x) {
  constexpr float c1 = 0x1.ca4ccep+5f, c3 = -0x1.2ea2fp+4f, c5 = 0x1.48e6f2p+3f, c7 = -0x1.33e5fp+2f,
                  c9 = 0x1.28f58cp+0f;
  const float ax = std::fabs(x), ay = std::fabs(y);
  const bool low = ax >= ay;
  const float num = low ? ay : ax, den = low ? ax : ay;
  float t = num / den;
  t = den == 0.0f ? 0.0f : t;
  t = (ax == INFINITY && ay == INFINITY) ? 1.0f : t;
  const float t2 = t * t;
  const float p = ((((c9 * t2 + c7) * t2 + c5) * t2 + c3) * t2 + c1) * t;
  float a = low ? p : 90.0f - p;
  a = x < 0.0f ? 180.0f - a : a;
  a = y < 0.0f ? 360.0f - a : a;
  a = a == 360.0f ? 0.0f : a;
  return (x != x || y != y) ? x + y : a;
}

}  // namespace

extern "C" KvpStatus KVP_BODY(kvpibFastArctan_32f)(const Kvp32f* pSrcY, const Kvp32f* pSrcX, Kvp32f* pDst,
                                                   int length) {
  if (!pSrcY || !pSrcX || !pDst) return kvpStsNullPtr;
  if (length < 1) return kvpStsBadSize;
    // pDst may alias one source: each element is read before it is written.
#pragma omp simd
  for (int i = 0; i < length; ++i) pDst[i] = fastAtan(pSrcY[i], pSrcX[i]);
  return kvpStsOk;
}

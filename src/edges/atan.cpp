// The fast arctangent, compiled once per vector target (frame/targets.h).
// Every step is a single-precision operation in a fixed order (nothing is
// contracted), so every target, and the scalar tail of each, gives the same
// bits.
#if KVP_HAVE_HWY
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "edges/atan.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>
#endif

#ifndef KVP_EDGES_ATAN_COMMON_
#define KVP_EDGES_ATAN_COMMON_
#include <cmath>

#include "edges/common.h"
#include "edges/kernel_table.h"
#include "frame/targets.h"
#endif

#if KVP_HAVE_HWY
HWY_BEFORE_NAMESPACE();
namespace kvp::edges::HWY_NAMESPACE {
#else
namespace kvp::edges::plain {
#endif
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

// d may alias one source: each element is read before it is written.
void atanRow(const float* y, const float* x, float* d, int n) {
#pragma omp simd
  for (int i = 0; i < n; ++i) d[i] = fastAtan(y[i], x[i]);
}

}  // namespace
}  // namespace kvp::edges::HWY_NAMESPACE (or plain)
#if KVP_HAVE_HWY
HWY_AFTER_NAMESPACE();
#endif

#if !KVP_HAVE_HWY || HWY_ONCE
namespace kvp::edges {
#if KVP_HAVE_HWY
HWY_EXPORT(atanRow);
void fastAtanRow(const float* y, const float* x, float* d, int n) { KVP_TARGET_KERNEL(atanRow)(y, x, d, n); }
#else
void fastAtanRow(const float* y, const float* x, float* d, int n) { plain::atanRow(y, x, d, n); }
#endif
}  // namespace kvp::edges
#endif

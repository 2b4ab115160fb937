// Pieces shared by the geometry family: the bilinear kernel every function
// samples with, the stores from float into each destination type, the
// threading decision, and the sub-pixel copy kernel that the shifted copy
// and the interior of the sub-pixel window both run.
//
// Arithmetic is single precision with every operation rounded on its own
// (the sources are compiled without contraction), so a sample position
// gives the same value in every function of the family.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/checks.h"
#include "frame/parallel.h"

namespace kvp::geo {

// Bilinear weights of the fractions a (across) and b (down).
struct Weights {
  float w00, w01, w10, w11;
};

inline Weights weights(float a, float b) {
  const float ia = 1.f - a, ib = 1.f - b;
  return {ia * ib, a * ib, ia * b, a * b};
}

// p00 at (ix, iy), p01 at (ix + 1, iy), p10 at (ix, iy + 1), p11 at
// (ix + 1, iy + 1); summed in exactly this order.
inline float blend(float p00, float p01, float p10, float p11, float w00, float w01, float w10, float w11) {
  return ((p00 * w00 + p01 * w01) + p10 * w10) + p11 * w11;
}

// Round half to even of a value in [0, 2^23): adding and removing 2^23
// leaves the integer nearest in the default rounding mode.
inline float roundEven(float r) { return (r + 8388608.f) - 8388608.f; }

// Clamp (NaN gives 0) then round half to even.
template <class D>
inline D toInt(float r) {
  constexpr float hi = std::is_same_v<D, Kvp8u> ? 255.f : 65535.f;
  r = r > 0.f ? r : 0.f;
  r = r < hi ? r : hi;
  return (D)(int)roundEven(r);
}

// Stores a row of float results into the destination type: as is for
// float, clamped and rounded for 8u and 16u, and for the scaled 16u
// destination t = r * 2^(-scaleFactor) (exact), clamped and rounded.
template <class D, bool Sfs = false>
struct Store {
  int sf = 0;        // scale factor clamped to [-2000, 2000]
  float scale = 1;   // 2^(-sf) where the float product is exact
  bool fast = true;  // whether |sf| <= 100

  Store() = default;
  explicit Store(int scaleFactor) {
    sf = scaleFactor < -2000 ? -2000 : (scaleFactor > 2000 ? 2000 : scaleFactor);
    fast = sf >= -100 && sf <= 100;
    scale = fast ? std::ldexp(1.f, -sf) : 1.f;
  }

  void row(const float* r, D* d, int n) const {
    if constexpr (std::is_same_v<D, Kvp32f>) {
      std::memcpy(d, r, sizeof(float) * (size_t)n);
    } else if constexpr (!Sfs) {
#pragma omp simd
      for (int i = 0; i < n; ++i) d[i] = toInt<D>(r[i]);
    } else if (fast) {
      // Results are never negative and at most 255, so with |sf| <= 100 the
      // float product neither overflows nor differs from the exact one
      // except below 2^-126, where both round to 0.
      const float s = scale;
#pragma omp simd
      for (int i = 0; i < n; ++i) d[i] = toInt<D>(r[i] * s);
    } else {
      for (int i = 0; i < n; ++i) {
        double t = std::ldexp((double)r[i], -sf);
        t = t > 0.0 ? t : 0.0;
        t = t < 65535.0 ? t : 65535.0;
        d[i] = (D)(int)std::nearbyint(t);
      }
    }
  }
};

// Whether a function with this destination area opens a parallel region.
inline bool threadedArea(long long width, long long height) {
  const int n = ownGetNumThreads();
  return n > 1 && width * height >= (long long)n * 32768;
}

// Source row converted to float (a float source is used in place).
template <class S>
inline const float* floatRow(const S* s, int n, float* buf) {
  if constexpr (std::is_same_v<S, Kvp32f>) {
    (void)n;
    (void)buf;
    return s;
  } else {
#pragma omp simd
    for (int i = 0; i < n; ++i) buf[i] = (float)s[i];
    return buf;
  }
}

// The shifted copy of rows x width pixels with constant weights: reads
// source columns 0 .. width and rows 0 .. rows. Column strips keep the
// converted rows on the stack; each converted lower row is the next upper
// row.
template <class S, class D, bool Sfs>
void subpixBlock(const S* src, int srcStep, D* dst, int dstStep, int width, int rows, const Weights& w,
                 const Store<D, Sfs>& st) {
  constexpr int kStrip = 2048;
  constexpr bool kFloat = std::is_same_v<S, Kvp32f> && std::is_same_v<D, Kvp32f>;
  alignas(64) float bufA[kFloat ? 1 : kStrip + 16], bufB[kFloat ? 1 : kStrip + 16], out[kFloat ? 1 : kStrip];
  // Float rows need no conversion: one strip spans the row.
  const int strip = kFloat ? width : kStrip;
  const float w00 = w.w00, w01 = w.w01, w10 = w.w10, w11 = w.w11;
  for (int x0 = 0; x0 < width; x0 += strip) {
    const int n = width - x0 < strip ? width - x0 : strip;
    const float* up = floatRow(rowAt(src, srcStep, 0) + x0, n + 1, bufA);
    for (int y = 0; y < rows; ++y) {
      const float* lo = floatRow(rowAt(src, srcStep, y + 1) + x0, n + 1, up == bufA ? bufB : bufA);
      D* d = rowAt(dst, dstStep, y) + x0;
      float* o = out;
      if constexpr (std::is_same_v<D, Kvp32f>) o = d;
#pragma omp simd
      for (int i = 0; i < n; ++i) o[i] = blend(up[i], up[i + 1], lo[i], lo[i + 1], w00, w01, w10, w11);
      if constexpr (!std::is_same_v<D, Kvp32f>) st.row(out, d, n);
      up = lo;
    }
  }
}

}  // namespace kvp::geo

// Plain references of the row and column filter passes, written from the
// formulas: every extended pixel looked up on its own, sums in 64 bits or
// in float tap by tap, scaling and rounding with the standard library.
#pragma once

#include <cfenv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "kvpcv.h"

// Marks the reference loops; the fuzz targets define it to keep them out of
// the coverage feedback.
#ifndef KVT_REF_LOOP
#define KVT_REF_LOOP
#endif

namespace ref {

// Source index of extended position p (reflection repeated until it lands
// in the row); -1 for the constant border.
inline int borderPixel(int p, int w, int type) {
  while (p < 0 || p >= w) {
    switch (type) {
      case 0:
        return -1;
      case 1:
        p = p < 0 ? 0 : w - 1;
        break;
      case 2:
        p = p < 0 ? p + w : p - w;
        break;
      case 3:
        if (w == 1)
          p = 0;
        else
          p = p < 0 ? -p : 2 * (w - 1) - p;
        break;
      case 4:
        p = p < 0 ? -1 - p : 2 * w - 1 - p;
        break;
    }
  }
  return p;
}

template <class T>
T extended(const T* row, int w, int ch, int type, const T* values, int p, int c) {
  const int q = borderPixel(p, w, type);
  return q < 0 ? values[c] : row[q * ch + c];
}

inline int nearestEven(float v) { return (int)std::nearbyint(v); }  // default mode: ties to even

template <class D>
D clampRound(float v, float lo, float hi) {
  if (v < lo) v = lo;
  if (v > hi) v = hi;
  return (D)nearestEven(v);
}

inline int16_t lowScale(int64_t sum, int divisor) {
  const int16_t s = (int16_t)(uint16_t)(uint64_t)sum;
  if (divisor == 1) return s;
  const int q = (int16_t)nearestEven(16384.0f / (float)divisor);
  int v = (s * q) >> 14;
  return (int16_t)(v < -32768 ? -32768 : (v > 32767 ? 32767 : v));
}

enum class Mode { Scaled, Low, Float };

// One output element from the k samples under the taps (vals[j] under
// kernel[j]). Float: the products added in tap order. Low: the 16-bit
// wrapping sum scaled by the Q14 reciprocal. Scaled: the 32-bit sum times
// 1/divisor in float, or (column pass, 3 and 5 taps) the products with
// 1/divisor folded into the taps added in float; then clamped to [lo, hi]
// and rounded half to even.
template <class D, class S, class K>
KVT_REF_LOOP D element(const K* kernel, const S* vals, int k, int divisor, Mode mode, bool foldTaps, float lo,
                       float hi) {
  if (mode == Mode::Float) {
    float acc = 0;
    for (int j = 0; j < k; ++j) {
      const float prod = (float)kernel[j] * (float)vals[j];
      acc = j == 0 ? prod : acc + prod;
    }
    return (D)acc;
  }
  int64_t sum = 0;
  for (int j = 0; j < k; ++j) sum += (int64_t)kernel[j] * vals[j];
  if (mode == Mode::Low) return (D)lowScale(sum, divisor);
  const float recip = 1.0f / (float)divisor;
  if (foldTaps) {
    float acc = 0;
    for (int j = 0; j < k; ++j) {
      const float prod = (float)vals[j] * ((float)kernel[j] * recip);
      acc = j == 0 ? prod : acc + prod;
    }
    return clampRound<D>(acc, lo, hi);
  }
  return clampRound<D>((float)(int32_t)(uint32_t)(uint64_t)sum * recip, lo, hi);
}

// One filtered row (width * ch outputs).
template <class S, class D, class K>
KVT_REF_LOOP void row(const S* src, int w, int ch, const K* kernel, int k, int anchor, int type,
                      const S* values, int divisor, Mode mode, D* out) {
  std::vector<S> window((size_t)k);
  for (int x = 0; x < w; ++x)
    for (int c = 0; c < ch; ++c) {
      for (int j = 0; j < k; ++j) window[j] = extended(src, w, ch, type, values, x - anchor + j, c);
      out[x * ch + c] = element<D>(kernel, window.data(), k, divisor, mode, false, -32768.f, 32767.f);
    }
}

// One destination row of the column pass from rows[0..k-1].
template <class S, class D, class K>
KVT_REF_LOOP void column(const S* const* rows, int elems, const K* kernel, int k, int divisor, Mode mode,
                         float lo, float hi, D* out) {
  std::vector<S> window((size_t)k);
  for (int e = 0; e < elems; ++e) {
    for (int j = 0; j < k; ++j) window[j] = rows[j][e];
    out[e] = element<D>(kernel, window.data(), k, divisor, mode, k == 3 || k == 5, lo, hi);
  }
}

}  // namespace ref

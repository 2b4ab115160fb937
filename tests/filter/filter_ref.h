// Plain references of the row and column filter passes, written from the
// formulas: every extended pixel looked up on its own, sums in 64 bits or
// in float tap by tap, scaling and rounding with the standard library.
#pragma once

#include <cfenv>
#include <cmath>
#include <cstdint>
#include <vector>

#include "kvpcv.h"

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

// One filtered row (width * ch outputs).
template <class S, class D, class K>
void row(const S* src, int w, int ch, const K* kernel, int k, int anchor, int type, const S* values,
         int divisor, Mode mode, D* out) {
  for (int x = 0; x < w; ++x)
    for (int c = 0; c < ch; ++c) {
      if (mode == Mode::Float) {
        float acc = 0;
        for (int j = 0; j < k; ++j) {
          const float prod = (float)kernel[j] * (float)extended(src, w, ch, type, values, x - anchor + j, c);
          acc = j == 0 ? prod : acc + prod;
        }
        out[x * ch + c] = (D)acc;
        continue;
      }
      int64_t sum = 0;
      for (int j = 0; j < k; ++j)
        sum += (int64_t)kernel[j] * extended(src, w, ch, type, values, x - anchor + j, c);
      if (mode == Mode::Low)
        out[x * ch + c] = (D)lowScale(sum, divisor);
      else
        out[x * ch + c] = clampRound<D>((float)(int32_t)(uint32_t)(uint64_t)sum * (1.0f / (float)divisor),
                                        -32768.f, 32767.f);
    }
}

// One destination row of the column pass from rows[0..k-1].
template <class S, class D, class K>
void column(const S* const* rows, int elems, const K* kernel, int k, int divisor, Mode mode, float lo,
            float hi, D* out) {
  const float recip = 1.0f / (float)divisor;
  for (int e = 0; e < elems; ++e) {
    if (mode == Mode::Float) {
      float acc = 0;
      for (int j = 0; j < k; ++j) {
        const float prod = (float)kernel[j] * (float)rows[j][e];
        acc = j == 0 ? prod : acc + prod;
      }
      out[e] = (D)acc;
      continue;
    }
    int64_t sum = 0;
    for (int j = 0; j < k; ++j) sum += (int64_t)kernel[j] * rows[j][e];
    if (mode == Mode::Low) {
      out[e] = (D)lowScale(sum, divisor);
    } else if (k == 3 || k == 5) {
      float acc = 0;
      for (int j = 0; j < k; ++j) {
        const float prod = (float)rows[j][e] * ((float)kernel[j] * recip);
        acc = j == 0 ? prod : acc + prod;
      }
      out[e] = clampRound<D>(acc, lo, hi);
    } else {
      out[e] = clampRound<D>((float)(int32_t)(uint32_t)(uint64_t)sum * recip, lo, hi);
    }
  }
}

}  // namespace ref

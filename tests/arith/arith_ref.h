// Plain references for the arithmetic family, shared by the unit tests and
// the fuzz targets: the per-pixel accumulation and difference rules in
// single precision in the order written, and the masked norms with the
// summation order that makes them independent of the thread count.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "kvpcv.h"

// Marks the reference loops; the fuzz targets define it to keep them out of
// the coverage feedback.
#ifndef KVT_REF_LOOP
#define KVT_REF_LOOP
#endif

namespace ar {

enum class Op { Add, Square, Product, Weighted, WeightedTo, AbsDiff, AbsDiffC };

// One accumulator pixel: acc plus a, a * a or a * b; (a - acc) * alpha + acc;
// or, not in place, (a - b) * alpha + b.
inline float accumulate(Op op, float acc, float a, float b, float alpha) {
  switch (op) {
    case Op::Add:
      return acc + a;
    case Op::Square: {
      const float sq = a * a;
      return acc + sq;
    }
    case Op::Product: {
      const float pr = a * b;
      return acc + pr;
    }
    case Op::Weighted: {
      const float scaled = (a - acc) * alpha;
      return scaled + acc;
    }
    default: {
      const float scaled = (a - b) * alpha;
      return scaled + b;
    }
  }
}

template <class S>
S absDiff(S a, S b) {
  if constexpr (std::is_floating_point_v<S>)
    return std::fabs(a - b);
  else
    return (S)(a > b ? a - b : b - a);
}

// AbsDiffC's constant as an element: integers clamped to the type's range.
template <class S, class K>
S constantOf(K k) {
  if constexpr (std::is_floating_point_v<S>) {
    return (S)k;
  } else {
    const long long hi = std::numeric_limits<S>::max();
    return (S)(k < 0 ? 0 : (k > hi ? hi : (long long)k));
  }
}

enum Kind { kInf, kL1, kL2 };

// The norm of the selected pixels (m(x, y) != 0) of a (diff false) or of
// a - b, over the channel the accessors a(x, y) and b(x, y) read.
// Integers: exact in 128 bits. 32f: rows cut into min(h, 256) chunks as row
// bands are cut; per chunk four single-precision lanes (column mod 4), the
// lanes added in double and rounded once to single precision; chunk totals
// added in single precision. A maximum over a NaN has no defined value:
// *nanMax tells.
template <class S, class A, class B, class M>
KVT_REF_LOOP double norm(Kind kind, int w, int h, bool diff, A a, B b, M m, bool* nanMax = nullptr) {
  if (nanMax) *nanMax = false;
  if (kind == kInf) {
    double mx = 0;
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        if (!m(x, y)) continue;
        double v;
        if constexpr (std::is_floating_point_v<S>)
          v = std::fabs(diff ? (double)(float)(a(x, y) - b(x, y)) : (double)a(x, y));
        else
          v = std::fabs(diff ? (double)a(x, y) - b(x, y) : (double)a(x, y));
        if (std::isnan(v) && nanMax) *nanMax = true;
        mx = std::max(mx, v);
      }
    return mx;
  }
  if constexpr (std::is_floating_point_v<S>) {
    const int chunks = std::min(h, 256), per = h / chunks;
    float total = 0.0f;
    for (int k = 0; k < chunks; ++k) {
      const int y1 = k == chunks - 1 ? h : (k + 1) * per;
      float lane[4] = {0, 0, 0, 0};
      for (int y = k * per; y < y1; ++y)
        for (int x = 0; x < w; ++x) {
          if (!m(x, y)) continue;
          const float d = diff ? a(x, y) - b(x, y) : a(x, y);
          lane[x % 4] += kind == kL1 ? std::fabs(d) : d * d;
        }
      total += (float)(((double)lane[0] + lane[1]) + ((double)lane[2] + lane[3]));
    }
    return kind == kL2 ? std::sqrt((double)total) : (double)total;
  } else {
    unsigned __int128 s = 0;
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        if (!m(x, y)) continue;
        const long long d = diff ? (long long)a(x, y) - b(x, y) : (long long)a(x, y);
        const unsigned long long v = (unsigned long long)(d < 0 ? -d : d);
        s += kind == kL2 ? (unsigned __int128)v * v : v;
      }
    return kind == kL2 ? std::sqrt((double)s) : (double)s;
  }
}

}  // namespace ar

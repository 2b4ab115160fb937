// Plain references for the statistics family, shared by the unit tests and
// the fuzz target. Planes are given as a pointer to the ROI, a step in
// bytes, channels C and the channel ch in use; the mask may be null (every
// pixel selected).
//
//   integer mean / stddev: exact count, sum and sum of squares in 128 bits;
//     mean = S / N, stddev = sqrt((double)(N Q - S^2)) / N
//   32f: K = first selected value; 64 row blocks; eight double lanes per
//     block (lane = column mod 8) of d = v - K and d * d; lanes folded
//     ((0+1)+(2+3))+((4+5)+(6+7)); blocks added in order; NaN when the sum
//     is not finite
//   extrema: first occurrence in row-major order, 32f NaNs skipped; nothing
//     selected gives 0 and {-1, -1}
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "kvpcv.h"

namespace statsref {

template <class T>
inline T elemAt(const T* p, int step, int C, int ch, int x, int y) {
  T v;
  std::memcpy(&v,
              reinterpret_cast<const uint8_t*>(p) + (long long)step * y + ((long long)x * C + ch) * sizeof(T),
              sizeof(T));
  return v;
}
inline bool selectedAt(const Kvp8u* m, int mStep, int x, int y) {
  return !m || m[(long long)mStep * y + x] != 0;
}

struct MeanStd {
  double mean, std;
};

inline double quietNaN() {
  const uint64_t b = 0x7FF8000000000000ull;
  double d;
  std::memcpy(&d, &b, 8);
  return d;
}

template <class T>
MeanStd meanStd(const T* p, int step, const Kvp8u* m, int mStep, int w, int h, int C, int ch) {
  if constexpr (!std::is_floating_point_v<T>) {
    __int128 n = 0, s = 0, q = 0;
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        if (selectedAt(m, mStep, x, y)) {
          const __int128 v = elemAt(p, step, C, ch, x, y);
          ++n, s += v, q += v * v;
        }
    if (n == 0) return {0.0, 0.0};
    const unsigned __int128 d = (unsigned __int128)(n * q - s * s);
    return {(double)(long long)s / (double)(long long)n, std::sqrt((double)d) / (double)(long long)n};
  } else {
    bool any = false;
    double k = 0;
    for (int y = 0; y < h && !any; ++y)
      for (int x = 0; x < w && !any; ++x)
        if (selectedAt(m, mStep, x, y)) any = true, k = (double)elemAt(p, step, C, ch, x, y);
    if (!any) return {0.0, 0.0};
    long long n = 0;
    double s = 0, q = 0;
    for (long long b = 0; b < 64; ++b) {
      double ls[8] = {0, 0, 0, 0, 0, 0, 0, 0}, lq[8] = {0, 0, 0, 0, 0, 0, 0, 0};
      for (int y = (int)(b * h / 64); y < (int)((b + 1) * h / 64); ++y)
        for (int x = 0; x < w; ++x)
          if (selectedAt(m, mStep, x, y)) {
            const double d = (double)elemAt(p, step, C, ch, x, y) - k;
            ls[x % 8] = ls[x % 8] + d;
            const double dd = d * d;
            lq[x % 8] = lq[x % 8] + dd;
            ++n;
          }
      s = s + (((ls[0] + ls[1]) + (ls[2] + ls[3])) + ((ls[4] + ls[5]) + (ls[6] + ls[7])));
      q = q + (((lq[0] + lq[1]) + (lq[2] + lq[3])) + ((lq[4] + lq[5]) + (lq[6] + lq[7])));
    }
    if (!std::isfinite(s)) return {quietNaN(), quietNaN()};
    const double dn = (double)n;
    const double ss = s * s;
    double var = (q - ss / dn) / dn;
    if (var < 0) var = 0;
    return {k + s / dn, std::sqrt(var)};
  }
}

struct Extrema {
  Kvp32f minVal, maxVal;
  KvpiPoint minLoc, maxLoc;
};

template <class T>
Extrema extrema(const T* p, int step, const Kvp8u* m, int mStep, int w, int h, int C, int ch) {
  Extrema e{0.0f, 0.0f, {-1, -1}, {-1, -1}};
  T mn{}, mx{};
  bool found = false;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      if (!selectedAt(m, mStep, x, y)) continue;
      const T v = elemAt(p, step, C, ch, x, y);
      if constexpr (std::is_floating_point_v<T>)
        if (std::isnan(v)) continue;
      if (!found || v < mn) mn = v, e.minLoc = {x, y};
      if (!found || v > mx) mx = v, e.maxLoc = {x, y};
      found = true;
    }
  if (found) e.minVal = (Kvp32f)mn, e.maxVal = (Kvp32f)mx;
  return e;
}

}  // namespace statsref

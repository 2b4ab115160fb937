// Plain references for the integral tables and the window standard
// deviations, shared by the unit tests and the fuzz target: the tables
// entry by entry in their own arithmetic, the eight reads of a window, the
// per-member deviation arithmetic and the statuses the checks call for.
#pragma once

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "kvpcv.h"

// Marks the reference loops; the fuzz targets define it to keep them out of
// the coverage feedback.
#ifndef KVT_REF_LOOP
#define KVT_REF_LOOP
#endif

namespace ir {

// 32-bit integer tables add modulo 2^32; floating tables add the 32-bit
// integer prefix of the source row, converted.
template <class T>
T addRowPrefix(T above, uint32_t prefix) {
  if constexpr (std::is_same_v<T, Kvp32s>)
    return (Kvp32s)((uint32_t)above + prefix);
  else
    return above + (T)(int32_t)prefix;
}
template <class T>
T tiltedEntry(T upLeft, T upRight, T up2, uint32_t p0, uint32_t p1) {
  if constexpr (std::is_same_v<T, Kvp32s>)
    return (Kvp32s)((uint32_t)upLeft + (uint32_t)upRight - (uint32_t)up2 + p0 + p1);
  else
    return upLeft + upRight - up2 + (T)p0 + (T)p1;
}

// The table of a w x h image, row-major, (w + 1) x (h + 1) entries upright
// and (w + 2) x (h + 2) tilted; px(x, y) gives a source pixel.
template <class T, class Px>
KVT_REF_LOOP std::vector<T> table(bool tilted, int w, int h, T val, bool square, Px px) {
  auto p = [&](int x, int y) -> uint32_t {
    if (x < 0 || x >= w) return 0;
    const uint32_t v = px(x, y);
    return square ? v * v : v;
  };
  const int cols = w + (tilted ? 2 : 1);
  std::vector<T> t((size_t)cols * (h + (tilted ? 2 : 1)), val);
  auto at = [&](int y, int x) -> T& { return t[(size_t)y * cols + x]; };
  for (int y = 0; y < h; ++y) {
    if (tilted) {
      const int r = y + 2;
      at(r, 0) = at(r - 1, 1);
      for (int j = 1; j <= w; ++j)
        at(r, j) = tiltedEntry<T>(at(r - 1, j - 1), at(r - 1, j + 1), at(r - 2, j), p(j - 1, y), p(j, y));
      at(r, w + 1) = at(r - 1, w);
    } else {
      uint32_t prefix = 0;
      for (int x = 0; x < w; ++x) at(y + 1, x + 1) = addRowPrefix<T>(at(y, x + 1), prefix += p(x, y));
    }
  }
  return t;
}

// The status of a builder call: pointers, size, source step, table steps in
// argument order, table steps as multiples of their elements.
inline KvpStatus builderStatus(bool srcNull, bool dstNull, bool sqrNull, bool withSqr, KvpiSize roi,
                               bool tilted, int srcStep, int dstStep, int dstElem, int sqrStep, int sqrElem) {
  if (srcNull || dstNull || (withSqr && sqrNull)) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1) return kvpStsBadSize;
  const long long cols = (long long)roi.width + (tilted ? 2 : 1);
  if (srcStep < roi.width || dstStep < cols * dstElem || (withSqr && sqrStep < cols * sqrElem))
    return kvpStsBadStep;
  if (dstStep % dstElem != 0 || (withSqr && sqrStep % sqrElem != 0)) return kvpStsStepNotMultiple;
  return kvpStsOk;
}

// The four table reads of a window relative to the output pixel, combined
// a - b - c + d, and the number of cells.
struct Reads {
  long long row[4], col[4];
  long long n;
};
inline Reads readsOf(bool tilted, KvpiRect r) {
  const long long x = r.x, y = r.y, w = r.width, h = r.height;
  if (tilted)
    return {{x + y + w + h, x + y + h, x + y + w, x + y},
            {x - y + w - h, x - y - h, x - y + w, x - y},
            2 * w * h};
  return {{y + h, y, y + h, y}, {x + w, x + w, x, x}, w * h};
}

// Columns the step checks measure the tables against.
inline long long windowCols(bool tilted, KvpiSize roi, KvpiRect r) {
  return tilted ? (long long)r.x + r.y + r.width + r.height + roi.width - 1
                : (long long)r.width + roi.width + r.x;
}

// Tables laid out so that every read lands on an entry: table column c0
// (<= 0) is the first column of a cols x rows plane.
struct Layout {
  long long c0, cols, rows;
};
inline Layout layoutOf(bool tilted, KvpiSize roi, KvpiRect r) {
  const Reads k = readsOf(tilted, r);
  long long lo = 0, hi = 0, rmax = 0;
  for (int i = 0; i < 4; ++i) {
    lo = std::min(lo, k.col[i]);
    hi = std::max(hi, k.col[i] + roi.width);
    rmax = std::max(rmax, k.row[i] + roi.height);
  }
  return {lo, hi - lo, rmax};
}

inline KvpStatus stdDevStatus(bool srcNull, bool sqrNull, bool dstNull, KvpiSize roi, KvpiRect r, bool tilted,
                              int srcStep, int srcElem, int sqrStep, int sqrElem, int dstStep, int dstElem) {
  if (srcNull || sqrNull || dstNull) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1) return kvpStsBadSize;
  const long long cols = windowCols(tilted, roi, r);
  if (srcStep < cols * srcElem || sqrStep < cols * sqrElem) return kvpStsBadStep;
  if (dstStep < (long long)roi.width * dstElem) return kvpStsBadStep;
  if (srcStep % srcElem || sqrStep % sqrElem || dstStep % dstElem) return kvpStsStepNotMultiple;
  if (r.x < 0 || r.y < 0 || r.width < 1 || r.height < 1) return kvpStsBadSize;
  return kvpStsOk;
}

// How a member turns its eight reads into a deviation.
enum class Precision {
  Single,  // upright 32f: single precision throughout, squares narrowed as read
  Double,  // tilted 32f and both 32s32f: double up to the clamped variance,
           // then single (32-bit sums differenced modulo 2^32)
  Scaled,  // 32s with scale factor: single-precision variance, 2^-sf, + 0.5,
           // truncation, saturation at INT_MAX
};

template <class T>
int32_t wrapDiff(T a, T b, T c, T d) {
  return (int32_t)((uint32_t)a - (uint32_t)b - (uint32_t)c + (uint32_t)d);
}

// 2^-sf: 0 far below, infinity far above.
inline double scaleOf(int sf) {
  if (sf > 2000) return 0.0;
  if (sf < -2000) return HUGE_VAL;
  return std::ldexp(1.0, -sf);
}

template <Precision P, class TS, class TQ, class TD>
KVT_REF_LOOP TD deviation(const TS s[4], const TQ q[4], long long cnt, int sf) {
  if constexpr (P == Precision::Single) {
    const float n = (float)cnt;
    const float sum = s[0] - s[1] - s[2] + s[3];
    const float sq = (float)q[0] - (float)q[1] - (float)q[2] + (float)q[3];
    const float mean = sum / n;
    const float var = sq / n - mean * mean;
    return std::sqrt(var < 0.f ? 0.f : var);
  } else if constexpr (P == Precision::Double) {
    const double n = (double)cnt;
    double sum;
    if constexpr (std::is_same_v<TS, Kvp32s>)
      sum = (double)wrapDiff(s[0], s[1], s[2], s[3]);
    else
      sum = (double)s[0] - (double)s[1] - (double)s[2] + (double)s[3];
    const double sq = q[0] - q[1] - q[2] + q[3];
    const double mean = sum / n;
    const double var = sq / n - mean * mean;
    return std::sqrt((float)(var < 0.0 ? 0.0 : var));
  } else {
    const float n = (float)cnt;
    const float mean = (float)wrapDiff(s[0], s[1], s[2], s[3]) / n;
    float var = (float)wrapDiff(q[0], q[1], q[2], q[3]) / n - mean * mean;
    if (var < 0.f) var = 0.f;
    const double t = std::sqrt((double)var) * scaleOf(sf) + 0.5;
    if (!(t < 2147483648.0)) return static_cast<TD>(INT_MAX);  // also NaN: infinite scale times 0
    return static_cast<TD>((int32_t)t);
  }
}

// The deviation at output (i, j); at(row, col) reads a table entry by
// table coordinates, the first output pixel at table column 0.
template <Precision P, class TS, class TQ, class TD, class AtS, class AtQ>
KVT_REF_LOOP TD deviationAt(bool tilted, KvpiRect r, int sf, int i, int j, AtS s, AtQ q) {
  const Reads k = readsOf(tilted, r);
  TS sv[4];
  TQ qv[4];
  for (int c = 0; c < 4; ++c) {
    sv[c] = s(i + k.row[c], j + k.col[c]);
    qv[c] = q(i + k.row[c], j + k.col[c]);
  }
  return deviation<P, TS, TQ, TD>(sv, qv, k.n, sf);
}

}  // namespace ir

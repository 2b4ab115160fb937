// Plain references for the distance transforms, shared by the unit tests
// and the fuzz target: the step-cost tables, the chamfer passes pixel by
// pixel, the exact squared Euclidean distances and the work-buffer size of
// the exact transform.
#pragma once

#include <algorithm>
#include <cfloat>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

#include "kvpcv.h"

// Marks the reference loops; the fuzz targets define it to keep them out of
// the coverage feedback.
#ifndef KVT_REF_LOOP
#define KVT_REF_LOOP
#endif

namespace dr {

// The step costs by (kerSize, norm): axial, diagonal and (5x5) knight.
struct MaskRow {
  int i[3];
  float f[3];
};
inline const MaskRow& maskRow(int kerSize, int norm) {
  static const MaskRow rows[2][3] = {
      {{{1, 1, 0}, {1.0f, 1.0f, 0}}, {{1, 2, 0}, {1.0f, 2.0f, 0}}, {{2, 3, 0}, {0.955f, 1.3693f, 0}}},
      {{{1, 1, 2}, {1.0f, 1.0f, 2.0f}}, {{1, 2, 3}, {1.0f, 2.0f, 3.0f}}, {{5, 7, 11}, {1.0f, 1.4f, 2.1969f}}},
  };
  return rows[kerSize == 5][norm];
}

// The forward and backward passes as a pixel loop over a packed source
// (row-major, w x h): the neighbour list visited in raster order, every
// neighbour outside the image skipped. Integers saturate at 0 and at the
// largest value; floats start from FLT_MAX.
template <class T, class M>
KVT_REF_LOOP std::vector<T> chamfer(const std::vector<uint8_t>& src, int w, int h, const M* m, bool five) {
  using Wide = std::conditional_t<std::is_floating_point_v<T>, float, long long>;
  const Wide top = std::is_floating_point_v<T> ? (Wide)FLT_MAX : (Wide)std::numeric_limits<T>::max();
  struct Step {
    int dx, dy, cost;  // cost: 0 axial, 1 diagonal, 2 knight
  };
  static constexpr Step kForward[] = {{-1, 0, 0},  {0, -1, 0}, {-1, -1, 1}, {1, -1, 1},
                                      {-2, -1, 2}, {2, -1, 2}, {-1, -2, 2}, {1, -2, 2}};
  std::vector<Wide> d((size_t)w * h);
  for (size_t i = 0; i < d.size(); ++i) d[i] = src[i] ? top : 0;
  const Wide cost[3] = {(Wide)m[0], (Wide)m[1], five ? (Wide)m[2] : 0};
  for (int pass = 0; pass < 2; ++pass) {
    const int sign = pass == 0 ? 1 : -1;  // the backward pass mirrors the steps
    for (int j = 0; j < h; ++j) {
      const int y = pass == 0 ? j : h - 1 - j;
      for (int i = 0; i < w; ++i) {
        const int x = pass == 0 ? i : w - 1 - i;
        Wide& v = d[(size_t)y * w + x];
        for (int k = 0; k < (five ? 8 : 4); ++k) {
          const int nx = x + sign * kForward[k].dx, ny = y + sign * kForward[k].dy;
          if (nx < 0 || ny < 0 || nx >= w || ny >= h) continue;
          Wide c = d[(size_t)ny * w + nx] + cost[kForward[k].cost];
          if constexpr (!std::is_floating_point_v<T>) c = std::clamp<Wide>(c, 0, top);
          if (c < v) v = c;
        }
      }
    }
  }
  return std::vector<T>(d.begin(), d.end());
}

// Squared Euclidean distances to the nearest zero pixel, through the column
// distances of each row; -1 everywhere when there is no zero pixel.
KVT_REF_LOOP inline std::vector<long long> squaredDistances(const std::vector<uint8_t>& src, int w, int h) {
  const long long none = (long long)1 << 60;
  std::vector<long long> dy((size_t)w * h, none);
  for (int x = 0; x < w; ++x) {
    long long last = none;
    for (int y = 0; y < h; ++y) {
      if (src[(size_t)y * w + x] == 0) last = y;
      if (last != none) dy[(size_t)y * w + x] = y - last;
    }
    last = none;
    for (int y = h - 1; y >= 0; --y) {
      if (src[(size_t)y * w + x] == 0) last = y;
      if (last != none) dy[(size_t)y * w + x] = std::min(dy[(size_t)y * w + x], last - y);
    }
  }
  std::vector<long long> d2((size_t)w * h, -1);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      long long best = -1;
      for (int q = 0; q < w; ++q) {
        const long long v = dy[(size_t)y * w + q];
        if (v == none) continue;
        const long long c = (long long)(x - q) * (x - q) + v * v;
        if (best < 0 || c < best) best = c;
      }
      d2[(size_t)y * w + x] = best;
    }
  return d2;
}

// The exact transform's work buffer per thread.
inline long long trueSlice(KvpiSize roi) {
  const long long w4 = ((long long)roi.width + 3) / 4 * 4, h4 = ((long long)roi.height + 3) / 4 * 4;
  return 24 * std::max(w4, h4) + 56;
}

}  // namespace dr

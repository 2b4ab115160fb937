// Plain reference for the Haar classifier stages: the window footprint, the
// rectangle sums read straight from the table by row and column, the weak
// classifiers and the stage decision in the documented arithmetic, and the
// statuses of the argument checks. Shared by the unit tests and the fuzz
// target.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "kvpcv.h"

namespace haarref {

// A stage as the caller describes it, over the member's weight type.
template <class W>
struct Stage {
  std::vector<KvpiRect> rect;
  std::vector<W> weight;
  std::vector<W> threshold, val1, val2;
  std::vector<int> num;
  std::vector<uint8_t> tilted;  // per classifier
};

inline bool rectValid(const KvpiRect& r, bool tilted) {
  if (r.width < 1 || r.height < 1 || r.y < 0) return false;
  if (tilted ? (int64_t)r.x - r.height < 0 : r.x < 0) return false;
  if ((int64_t)r.x + r.width > INT32_MAX) return false;
  return (tilted ? (int64_t)r.y + r.width + r.height : (int64_t)r.y + r.height) <= INT32_MAX;
}

// InitAlloc's statuses before allocation.
template <class W>
KvpStatus initStatus(const Stage<W>& s, bool anyNull, int length, bool tilted) {
  if (anyNull) return kvpStsNullPtr;
  if (length < 1) return kvpStsBadSize;
  size_t n = 0;
  for (int i = 0; i < length; ++i) {
    if (s.num[i] < 1) return kvpStsBadSize;
    n += (size_t)s.num[i];
  }
  for (size_t k = 0; k < n; ++k)
    if (!rectValid(s.rect[k], tilted)) return kvpStsBadSize;
  return kvpStsOk;
}

template <class W>
KvpiSize windowOf(const Stage<W>& s) {
  int64_t w = 0, h = 0;
  size_t k = 0;
  for (size_t i = 0; i < s.num.size(); ++i)
    for (int j = 0; j < s.num[i]; ++j, ++k) {
      const KvpiRect& r = s.rect[k];
      w = std::max<int64_t>(w, (int64_t)r.x + r.width);
      h = std::max<int64_t>(h, s.tilted[i] ? (int64_t)r.y + r.width + r.height : (int64_t)r.y + r.height);
    }
  return {(int)w, (int)h};
}

// Apply's statuses.
inline KvpStatus applyStatus(bool anyNull, KvpiSize roi, KvpiSize window, bool mixed, int srcStep,
                             int tiltStep, int normStep, int maskStep, bool integer, int sf) {
  if (anyNull) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1) return kvpStsBadSize;
  const int64_t need = ((int64_t)roi.width + window.width) * 4;
  if (srcStep < need) return kvpStsBadStep;
  if (mixed && tiltStep < need) return kvpStsBadStep;
  if (normStep < (int64_t)roi.width * 4) return kvpStsBadStep;
  if (maskStep < roi.width) return kvpStsBadStep;
  if (srcStep % 4 || (mixed && tiltStep % 4) || normStep % 4) return kvpStsStepNotMultiple;
  if (integer && (sf < -31 || sf > 31)) return kvpStsBadArg;
  return kvpStsOk;
}

// A table: entry (row, column) from the anchor of window (0, 0).
template <class T>
struct Table {
  const T* anchor;
  int step;  // bytes
  T at(int64_t r, int64_t c) const {
    return *reinterpret_cast<const T*>(reinterpret_cast<const uint8_t*>(anchor) + r * step +
                                       c * (int64_t)sizeof(T));
  }
};

// Rectangle sum of window (i, j).
template <class T>
T rectSum(const Table<T>& t, int64_t i, int64_t j, const KvpiRect& q, bool tilted) {
  const int64_t x = q.x, y = q.y, w = q.width, h = q.height;
  T p[4];
  if (!tilted) {
    p[0] = t.at(i + y, j + x), p[1] = t.at(i + y, j + x + w);
    p[2] = t.at(i + y + h, j + x), p[3] = t.at(i + y + h, j + x + w);
  } else {
    p[0] = t.at(i + y, j + x), p[1] = t.at(i + y + h, j + x - h);
    p[2] = t.at(i + y + w, j + x + w), p[3] = t.at(i + y + w + h, j + x + w - h);
  }
  if constexpr (std::is_integral_v<T>) {  // modulo 2^32
    return (T)(int32_t)((((uint32_t)p[0] - (uint32_t)p[1]) - (uint32_t)p[2]) + (uint32_t)p[3]);
  } else {
    return ((p[0] - p[1]) - p[2]) + p[3];
  }
}

// Whether window (i, j) passes a float-weight stage on tables of type T.
template <class T>
bool passesFloat(const Stage<float>& s, const Table<T>& up, const Table<T>& tl, bool mixed, int64_t i,
                 int64_t j, float norm, float threshold) {
  double acc = 0.0;
  size_t k = 0;
  for (size_t c = 0; c < s.num.size(); ++c) {
    const bool t = s.tilted[c] != 0;
    const Table<T>& tab = (mixed && t) ? tl : up;
    float F = 0.f;
    for (int r = 0; r < s.num[c]; ++r, ++k) {
      const float sum = (float)rectSum(tab, i, j, s.rect[k], t);
      F = r == 0 ? s.weight[k] * sum : F + s.weight[k] * sum;
    }
    acc = acc + (double)(F < s.threshold[c] * norm ? s.val1[c] : s.val2[c]);
  }
  return acc >= (double)threshold;
}

// Whether window (i, j) passes an integer stage with sf fractional bits.
inline bool passesInt(const Stage<int32_t>& s, const Table<int32_t>& up, const Table<int32_t>& tl, bool mixed,
                      int64_t i, int64_t j, int32_t norm, int32_t threshold, int sf) {
  uint64_t acc = 0;
  size_t k = 0;
  for (size_t c = 0; c < s.num.size(); ++c) {
    const bool t = s.tilted[c] != 0;
    const Table<int32_t>& tab = (mixed && t) ? tl : up;
    uint64_t F = 0;
    for (int r = 0; r < s.num[c]; ++r, ++k)
      F += (uint64_t)((int64_t)s.weight[k] * rectSum(tab, i, j, s.rect[k], t));
    const int64_t P = (int64_t)s.threshold[c] * norm;
    const bool below = sf >= 0 ? (int64_t)(F << sf) < P : (int64_t)F < (int64_t)((uint64_t)P << -sf);
    acc += (uint64_t)(int64_t)(below ? s.val1[c] : s.val2[c]);
  }
  return (int64_t)acc >= (int64_t)threshold;
}

// The whole call on a mask (rows of maskStep bytes): clears rejected
// candidates and returns the survivors.
template <class T, class W, class N>
int apply(const Stage<W>& s, const T* src, int srcStep, const T* tilt, int tiltStep, bool mixed,
          const N* norm, int normStep, uint8_t* mask, int maskStep, KvpiSize roi, W threshold, int sf = 0) {
  const Table<T> up{src, srcStep}, tl{mixed ? tilt : src, mixed ? tiltStep : srcStep};
  int count = 0;
  for (int i = 0; i < roi.height; ++i)
    for (int j = 0; j < roi.width; ++j) {
      uint8_t& m = mask[(size_t)i * maskStep + j];
      if (!m) continue;
      const N n = *reinterpret_cast<const N*>(reinterpret_cast<const uint8_t*>(norm) + (int64_t)i * normStep +
                                              (int64_t)j * (int64_t)sizeof(N));
      bool pass;
      if constexpr (std::is_integral_v<W>)
        pass = passesInt(s, up, tl, mixed, i, j, n, threshold, sf);
      else
        pass = passesFloat(s, up, tl, mixed, i, j, n, threshold);
      if (pass)
        ++count;
      else
        m = 0;
    }
  return count;
}

}  // namespace haarref

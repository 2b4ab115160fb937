// Pieces shared by the marker segmentations: connectivity from a norm, the
// pixel position of a linear index without a division, and the size
// formulas of the work buffers.
#pragma once

#include <algorithm>

#include "frame/alloc.h"
#include "frame/bodies.h"
#include "frame/checks.h"
#include "frame/parallel.h"

namespace kvp::seg {

// kvpiNormL1 selects 4-connectivity, kvpiNormInf 8-connectivity; every
// other value is refused.
inline bool connectivityNorm(KvpiNorm norm) { return norm == kvpiNormL1 || norm == kvpiNormInf; }

// Splits a linear index i = y * w + x (0 <= i < 2^31) into (x, y) with one
// multiplication by a double reciprocal and a correction of at most one row.
struct IndexSplit {
  int w;
  double inv;
  explicit IndexSplit(int width) : w(width), inv(1.0 / width) {}
  inline void operator()(int i, int& x, int& y) const {
    int q = (int)((double)i * inv);
    long long base = (long long)q * w;
    if (base > i) {
      --q;
      base -= w;
    } else if (base + w <= i) {
      ++q;
      base += w;
    }
    y = q;
    x = (int)(i - base);
  }
};

// A pixel count above which no buffer size fits in an int: the formulas
// below give a size past the int range from there on without overflowing.
constexpr long long kHugeArea = 1LL << 40;

// Bytes of the flooding buffer: the link array, then a slice of 256 heads
// and 256 tails per thread, each part 64-byte aligned.
inline long long floodBytes(KvpiSize roi, int threads) {
  const long long area = std::min((long long)roi.width * roi.height, kHugeArea);
  return 4 * area + 2048LL * threads + 128;
}

// Bytes of the labelling buffer: the provisional-label map and the
// equivalence table.
inline long long labelBytes(KvpiSize roi) {
  const long long area = std::min((long long)roi.width * roi.height, kHugeArea);
  return 4 * area + 4 * (area / 2 + 2) + 128;
}

// A size query's tail: pointer, size, then the 64-bit size against the int
// range.
inline KvpStatus storeSize(KvpiSize roi, int* pBufSize, long long (*bytes)(KvpiSize)) {
  if (!pBufSize) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1) return kvpStsBadSize;
  const long long n = bytes(roi);
  if (n > 0x7fffffffLL) return kvpStsBadSize;
  *pBufSize = (int)n;
  return kvpStsOk;
}

}  // namespace kvp::seg

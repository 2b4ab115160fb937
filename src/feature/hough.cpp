// Straight lines by voting in a (rho, theta) accumulator.
//
// Everything after the argument checks is integer fixed point: the cosine and
// sine of every angle are stored scaled by 1024 / delta.rho and truncated, and
// a point (x, y) votes at rho index ((x*cos + 512 + y*sin) >> 10) + rhoOffset.
// Only three accumulator rows are held, as a ring over the angle index: once
// row i is complete, row i - 1 can be searched for peaks against its two
// angular neighbours. Peaks go into a list sorted by votes (largest first,
// the earlier find first among equals) that keeps maxLineCount records.
//
// Buffer layout (every area inside the size the query reports):
//   edge lists   height slots of ((4*width + 31) & ~15) bytes, 16-aligned:
//                the count at the slot start, ascending x from byte 16
//   tables       numAngle cosines, then numAngle sines (int32)
//   accumulator  three rows of numRho + 14 cells, each rounded up to 32
//                bytes and 32-aligned; cell k of a row holds rho index k - 8
//                (votes never land below index -2 or above numRho, and the
//                four-cell peak groups reach from index -5 to five cells past
//                the largest voted index)
//   line list    maxLineCount records {rhoIndex, angleIndex, votes, spare},
//                16-aligned
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "frame/bodies.h"

namespace kvp::feature {
namespace {

// The angle range ends at this single-precision value, not at pi.
constexpr float kPiBound = 3.14159f;
constexpr int kLowMargin = 8;   // accumulator cells kept below rho index 0
constexpr int kHighMargin = 6;  // and above numRho - 1

// Truncation toward zero, saturated to the int range (NaN gives 0).
int truncSat(double v) {
  if (!(v == v)) return 0;
  if (v >= 2147483647.0) return std::numeric_limits<int>::max();
  if (v <= -2147483648.0) return std::numeric_limits<int>::min();
  return (int)v;
}

struct Geometry {
  int numRho, numAngle, rhoOffset;
};

Geometry geometry(KvpiSize roi, KvpPointPolar delta) {
  Geometry g;
  const float span = (float)(2 * ((long long)roi.width + roi.height) + 1);
  g.numRho = truncSat((double)(span / delta.rho));
  g.numAngle = truncSat((double)kPiBound / (double)delta.theta);
  if (g.numAngle < std::numeric_limits<int>::max()) ++g.numAngle;
  g.rhoOffset = (g.numRho - 1) / 2;
  return g;
}

size_t edgeSlotBytes(int width) { return ((size_t)4 * width + 31) & ~(size_t)15; }
size_t accRowCells(int numRho) { return (((size_t)numRho + kLowMargin + kHighMargin) * 4 + 31) / 32 * 8; }

template <class T>
T* alignPtr(Kvp8u* p, unsigned a) {
  const auto v = reinterpret_cast<uintptr_t>(p);
  return reinterpret_cast<T*>((v + a - 1) & ~(uintptr_t)(a - 1));
}

struct Line {
  int32_t rho, angle, votes, spare;
};

// The sorted list of the strongest peaks seen so far.
struct LineList {
  Line* rec;
  int capacity;
  int count = 0;
  int minVotes = 0;

  void add(int rho, int angle, int votes) {
    if (count == capacity) minVotes = rec[count - 1].votes;
    // First record with fewer votes (the list descends).
    int pos = 0, end = count;
    while (pos < end) {
      const int m = pos + (end - pos) / 2;
      if (rec[m].votes >= votes)
        pos = m + 1;
      else
        end = m;
    }
    if (pos == capacity) return;
    const int last = count < capacity ? count : capacity - 1;
    std::memmove(rec + pos + 1, rec + pos, sizeof(Line) * (size_t)(last - pos));
    rec[pos] = Line{rho, angle, votes, 0};
    if (count < capacity) ++count;
  }
};

// Peaks of row `mid` (angle index `angle`) between rho indices lo and hi;
// `prev` and `next` are the rows of the neighbouring angles. All three
// pointers address rho index 0. A peak beats its smaller-rho and
// earlier-angle neighbours strictly and the others or equals them.
void findPeaks(const int32_t* prev, const int32_t* mid, const int32_t* next, int lo, int hi, int angle,
               int threshold, LineList& list) {
  for (int r = lo & ~3; r <= hi; r += 4) {
    // Cheap test over four cells first: most cells hold too few votes.
    bool any = false;
    for (int k = 0; k < 4; ++k) any |= (mid[r + k] > threshold) & (mid[r + k] >= list.minVotes);
    if (!any) continue;
    for (int k = 0; k < 4; ++k) {
      const int rho = r + k;
      const int v = mid[rho];
      if (v > threshold && v >= list.minVotes && v > mid[rho - 1] && v >= mid[rho + 1] && v > prev[rho] &&
          v >= next[rho])
        list.add(rho, angle, v);
    }
  }
}

// Gathers the x coordinates of the edge points of every row.
void buildEdgeLists(const Kvp8u* src, int srcStep, KvpiSize roi, Kvp8u* lists, size_t slot) {
  for (int y = 0; y < roi.height; ++y) {
    const Kvp8u* row = src + (std::ptrdiff_t)srcStep * y;
    int32_t* xs = reinterpret_cast<int32_t*>(lists + slot * y + 16);
    int n = 0;
    int x = 0;
    // Edge maps are mostly zero: skip eight empty pixels at a time.
    for (; x + 8 <= roi.width; x += 8) {
      uint64_t word;
      std::memcpy(&word, row + x, 8);
      if (!word) continue;
      for (int k = 0; k < 8; k += 2) {
        xs[n] = x + k;
        n += row[x + k] != 0;
        xs[n] = x + k + 1;
        n += row[x + k + 1] != 0;
      }
    }
    for (; x + 1 < roi.width; x += 2) {
      // Branch-free append of the pair.
      xs[n] = x;
      n += row[x] != 0;
      xs[n] = x + 1;
      n += row[x + 1] != 0;
    }
    if (x < roi.width) {
      xs[n] = x;
      n += row[x] != 0;
    }
    *reinterpret_cast<int32_t*>(lists + slot * y) = n;
  }
}

// Votes of one angle. Acc is the arithmetic of the index computation (32-bit
// unless the scaled coordinates could leave that range). In a rho window
// [winLo, winHi] only votes inside it count. Returns the smallest and largest
// index voted through lo / hi (lo > hi when nothing was voted).
template <class Acc, bool Window>
void voteAngle(const Kvp8u* lists, size_t slot, int height, int cosQ, int sinQ, int rhoOffset, int32_t* acc,
               int winLo, int winHi, int& lo, int& hi) {
  int32_t* base = acc + rhoOffset;
  Acc yTerm = 512;
  int mn = std::numeric_limits<int>::max(), mx = std::numeric_limits<int>::min();
  const Acc c = cosQ;
  for (int y = 0; y < height; ++y, yTerm += sinQ) {
    const int32_t* p = reinterpret_cast<const int32_t*>(lists + slot * y);
    const int n = p[0];
    if (n == 0) continue;
    const int32_t* xs = p + 4;
    if constexpr (!Window) {
      // x ascending and the cosine fixed: the ends of the row bound its indices.
      const int a = (int)((xs[0] * c + yTerm) >> 10) + rhoOffset;
      const int b = (int)((xs[n - 1] * c + yTerm) >> 10) + rhoOffset;
      mn = std::min(mn, std::min(a, b));
      mx = std::max(mx, std::max(a, b));
      // Indices of a block of points as one vector multiply-add, then the
      // increments.
      constexpr int kBlock = 64;
      int32_t idx[kBlock];
      for (int k0 = 0; k0 < n; k0 += kBlock) {
        const int m = std::min(kBlock, n - k0);
        const int32_t* xb = xs + k0;
#pragma omp simd
        for (int k = 0; k < m; ++k) idx[k] = (int32_t)((xb[k] * c + yTerm) >> 10);
        for (int k = 0; k < m; ++k) ++base[idx[k]];
      }
    } else {
      for (int k = 0; k < n; ++k) {
        const int idx = (int)((xs[k] * c + yTerm) >> 10) + rhoOffset;
        if (idx < winLo || idx > winHi) continue;
        ++acc[idx];
        mn = std::min(mn, idx);
        mx = std::max(mx, idx);
      }
    }
  }
  lo = mn;
  hi = mx;
}

template <class Acc, bool Window>
int search(const Kvp8u* lists, size_t slot, KvpiSize roi, const Geometry& g, const int32_t* cosQ,
           const int32_t* sinQ, int32_t* ring[3], size_t rowCells, int threshold, int winLo, int winHi,
           LineList& list) {
  for (int r = 0; r < 3; ++r) std::memset(ring[r], 0, rowCells * 4);
  // Row pointers at rho index 0.
  int32_t* row[3] = {ring[0] + kLowMargin, ring[1] + kLowMargin, ring[2] + kLowMargin};
  int prevLo = 1, prevHi = 0;  // voted range of the previous angle
  for (int i = 0; i < g.numAngle; ++i) {
    int32_t* cur = row[i % 3];
    if (i >= 3) std::memset(ring[i % 3], 0, rowCells * 4);
    int lo, hi;
    voteAngle<Acc, Window>(lists, slot, roi.height, cosQ[i], sinQ[i], g.rhoOffset, cur, winLo, winHi, lo, hi);
    if (i >= 1 && prevLo <= prevHi)
      findPeaks(row[(i + 1) % 3], row[(i - 1) % 3], cur, prevLo, prevHi, i - 1, threshold, list);
    prevLo = lo;
    prevHi = hi;
  }
  // The last angle against a cleared row.
  const int last = g.numAngle - 1;
  std::memset(ring[(last + 1) % 3], 0, rowCells * 4);
  if (prevLo <= prevHi)
    findPeaks(row[(last + 2) % 3], row[last % 3], row[(last + 1) % 3], prevLo, prevHi, last, threshold, list);
  return list.count;
}

KvpStatus checkSearch(const Kvp8u* pSrc, int srcStep, KvpiSize roi, KvpPointPolar delta, int threshold,
                      const KvpPointPolar* pLine, int maxLineCount, const int* pLineCount,
                      const Kvp8u* pBuffer) {
  if (!pSrc || !pLine || !pLineCount || !pBuffer) return kvpStsNullPtr;
  if (srcStep < 1) return kvpStsBadStep;
  if (roi.width < 1 || roi.height < 1 || maxLineCount < 1) return kvpStsBadSize;
  const float span = (float)((long long)roi.width + roi.height);
  if (!(delta.rho > 0.f) || delta.rho > span || !(delta.theta > 0.f) || delta.theta > kPiBound ||
      threshold < 1)
    return kvpStsBadArg;
  return kvpStsOk;
}

// The whole search once the checks have passed. winLo > winHi means no
// window (every index votes).
KvpStatus houghLines(const Kvp8u* pSrc, int srcStep, KvpiSize roi, KvpPointPolar delta, int threshold,
                     KvpPointPolar* pLine, int maxLineCount, int* pLineCount, Kvp8u* pBuffer, bool windowed,
                     int winLo, int winHi) {
  const Geometry g = geometry(roi, delta);
  const size_t slot = edgeSlotBytes(roi.width);
  const size_t rowCells = accRowCells(g.numRho);

  Kvp8u* lists = alignPtr<Kvp8u>(pBuffer, 16);
  int32_t* cosQ = reinterpret_cast<int32_t*>(lists + slot * roi.height);
  int32_t* sinQ = cosQ + g.numAngle;
  int32_t* ring[3];
  ring[0] = alignPtr<int32_t>(reinterpret_cast<Kvp8u*>(sinQ + g.numAngle), 32);
  ring[1] = ring[0] + rowCells;
  ring[2] = ring[1] + rowCells;
  Line* rec = alignPtr<Line>(reinterpret_cast<Kvp8u*>(ring[2] + rowCells), 16);

  // Fixed-point tables from the single-precision running angle.
  const double scale = (double)(1.f / delta.rho) * 1024.0;
  float theta = 0.f;
  int maxCos = 0, maxSin = 0;
  for (int i = 0; i < g.numAngle; ++i) {
    cosQ[i] = truncSat(std::cos((double)theta) * scale);
    sinQ[i] = truncSat(std::sin((double)theta) * scale);
    maxCos = std::max(maxCos, cosQ[i] == std::numeric_limits<int>::min() ? maxCos : std::abs(cosQ[i]));
    maxSin = std::max(maxSin, sinQ[i] == std::numeric_limits<int>::min() ? maxSin : std::abs(sinQ[i]));
    theta += delta.theta;
  }
  buildEdgeLists(pSrc, srcStep, roi, lists, slot);

  LineList list{rec, maxLineCount};
  const long long reach = (long long)(roi.width - 1) * maxCos + (long long)(roi.height - 1) * maxSin + 512;
  const bool narrow = reach < (1ll << 31) - (long long)maxSin;
  if (windowed) {
    if (narrow)
      search<int32_t, true>(lists, slot, roi, g, cosQ, sinQ, ring, rowCells, threshold, winLo, winHi, list);
    else
      search<int64_t, true>(lists, slot, roi, g, cosQ, sinQ, ring, rowCells, threshold, winLo, winHi, list);
  } else {
    if (narrow)
      search<int32_t, false>(lists, slot, roi, g, cosQ, sinQ, ring, rowCells, threshold, 0, -1, list);
    else
      search<int64_t, false>(lists, slot, roi, g, cosQ, sinQ, ring, rowCells, threshold, 0, -1, list);
  }

  const int n = std::min(list.count, maxLineCount);
  for (int k = 0; k < n; ++k) {
    pLine[k].rho = (float)(rec[k].rho - g.rhoOffset) * delta.rho;
    pLine[k].theta = (float)rec[k].angle * delta.theta;
  }
  *pLineCount = n;
  return list.count > maxLineCount ? kvpStsLineCountWarning : kvpStsOk;
}

}  // namespace
}  // namespace kvp::feature

using namespace kvp::feature;

extern "C" {

KvpStatus KVP_BODY(kvpiHoughLineGetSize_8u_C1R)(KvpiSize roiSize, KvpPointPolar delta, int maxLineCount,
                                                int* pBufSize) {
  if (!pBufSize) return kvpStsNullPtr;
  if (roiSize.width < 1 || roiSize.height < 1) return kvpStsBadSize;
  if (!(delta.rho > 0.f) || !(delta.theta > 0.f)) return kvpStsBadArg;
  const Geometry g = geometry(roiSize, delta);
  // Sizes near 2^31 take the first product past 2^63, so the sum is formed
  // in 128 bits; its low 32 bits are what a 64-bit sum would store.
  const __int128 size = (__int128)roiSize.height * (4 * (__int128)roiSize.width + 64) +
                        16 * (__int128)maxLineCount + 8 * (__int128)g.numAngle + 16 * (__int128)g.numRho +
                        288;
  *pBufSize = (int)(uint32_t)(unsigned __int128)size;
  return size > 2147483647 ? kvpStsSizeOverflow : kvpStsOk;
}

KvpStatus KVP_BODY(kvpiHoughLine_8u32f_C1R)(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize,
                                            KvpPointPolar delta, int threshold, KvpPointPolar* pLine,
                                            int maxLineCount, int* pLineCount, Kvp8u* pBuffer) {
  if (KvpStatus s =
          checkSearch(pSrc, srcStep, roiSize, delta, threshold, pLine, maxLineCount, pLineCount, pBuffer))
    return s;
  return houghLines(pSrc, srcStep, roiSize, delta, threshold, pLine, maxLineCount, pLineCount, pBuffer, false,
                    0, -1);
}

// The rho window [dstRoi[0].rho, dstRoi[1].rho] becomes the rho indices whose
// line distance (index - rhoOffset) * delta.rho lies inside it, computed in
// double precision: from ceil(lo / delta.rho) + rhoOffset to
// floor(hi / delta.rho) + rhoOffset, then clipped to 0 .. numRho - 1. The
// angles of the pair are not used.
KvpStatus KVP_BODY(kvpiHoughLine_Region_8u32f_C1R)(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize,
                                                   KvpPointPolar delta, int threshold, KvpPointPolar* pLine,
                                                   int maxLineCount, int* pLineCount, Kvp8u* pBuffer,
                                                   const KvpPointPolar dstRoi[2]) {
  if (!dstRoi) return kvpStsNullPtr;
  if (KvpStatus s =
          checkSearch(pSrc, srcStep, roiSize, delta, threshold, pLine, maxLineCount, pLineCount, pBuffer))
    return s;
  const float rLo = dstRoi[0].rho, rHi = dstRoi[1].rho;
  if (std::isnan(rLo) || std::isnan(rHi) || rLo > rHi) return kvpStsBadRange;
  const Geometry g = geometry(roiSize, delta);
  const double offset = g.rhoOffset;
  const double lo = std::max(std::ceil((double)rLo / (double)delta.rho) + offset, 0.0);
  const double hi = std::min(std::floor((double)rHi / (double)delta.rho) + offset, (double)g.numRho - 1.0);
  // An empty window still runs the search (and finds nothing).
  const int winLo = lo > hi ? 1 : (int)lo;
  const int winHi = lo > hi ? 0 : (int)hi;
  return houghLines(pSrc, srcStep, roiSize, delta, threshold, pLine, maxLineCount, pLineCount, pBuffer, true,
                    winLo, winHi);
}

}  // extern "C"

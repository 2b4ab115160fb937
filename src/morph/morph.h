// Morphology: the state layout shared by the flat, derived and non-flat
// operations, the mask analysis, the checks and the threading rule (the
// flat band kernel is in flat.cpp, compiled once per vector target).
//
// A state block holds, from its first 64-byte aligned address on: the
// header (MorphHead, in the first kRegions bytes), the mask copy (bytes for
// flat masks, Kvp32s or Kvp32f values for value masks), the mask analysis,
// S scratch slices of (2 mH + 4) rows of R bytes each, and for the derived
// operations one intermediate image of the maximal ROI.
#pragma once

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "frame/alloc.h"
#include "frame/checks.h"
#include "frame/parallel.h"
#include "frame/state.h"

namespace kvp::morph {

// ---- sizes ----------------------------------------------------------------------

__extension__ typedef __int128 Wide;

constexpr long long kRegions = 960;  // header bytes before the first region
constexpr long long kMaxState = 0x7fffffffLL;

inline Wide a64(Wide v) { return (v + 63) / 64 * 64; }

// One scratch slice for a maximal ROI width W, mask mW x mH, ps bytes a pixel.
inline Wide rowBytes(long long W, long long mW, long long ps) { return a64(((Wide)W + 2 * (Wide)mW) * ps); }
inline Wide sliceBytes(long long W, long long mW, long long mH, long long ps) {
  return 64 + (2 * (Wide)mH + 4) * (8 + rowBytes(W, mW, ps));
}

// State sizes; valueBytes is 1 for flat masks, 4 for value masks.
inline Wide maskedStateBytes(long long W, long long mW, long long mH, long long ps, long long valueBytes,
                             long long n) {
  const Wide cells = (Wide)mW * mH;
  return 1024 + a64(valueBytes * cells) + a64(8 * cells) + (Wide)n * sliceBytes(W, mW, mH, ps);
}
inline Wide advStateBytes(long long W, long long H, long long mW, long long mH, long long ps, long long n) {
  return maskedStateBytes(W, mW, mH, ps, 1, n) + (Wide)H * a64((Wide)W * ps) + 64;
}

// ---- the state ------------------------------------------------------------------

enum Family : Kvp32u { kFlat = 1, kAdv = 2, kGray = 3 };
template <class T>
constexpr Kvp32u typeId() {
  return std::is_same_v<T, Kvp8u> ? 0 : (std::is_same_v<T, Kvp16u> ? 1 : 2);
}
template <class T>
constexpr Kvp32u kindOf(Family f, int cn) {
  return ((Kvp32u)f << 16) | (typeId<T>() << 8) | (Kvp32u)cn;
}

// One run of members: flat index j * bw + i of its first member in the box,
// and its length.
struct Run {
  int start;
  int len;
};

struct MorphHead {
  StateHead head;
  int maxW, maxH;           // bounds of the ROI (maxH: derived states)
  int mW, mH, ax, ay;       // the mask as given
  int bx0, by0, bw, bh;     // members' bounding box
  int rect;                 // 1 when every box cell is a member
  int runs;                 // number of runs
  int cachedLevel;          // window kept in the second ring (0: none)
  int slices;               // S
  long long maskOff;        // mask copy (flat bytes, or values)
  long long runOff;         // runs (flat masks)
  long long sliceOff;       // first slice
  long long sliceSize;      // bytes of a slice
  long long rowSize;        // R
  long long imOff, imStep;  // intermediate image (derived states)
};
static_assert(sizeof(MorphHead) <= kRegions, "the header fits its area");

inline unsigned char* baseOf(MorphHead* h) { return reinterpret_cast<unsigned char*>(h); }

// Row r of slice t (rows start at the slice's first 64-byte boundary).
inline unsigned char* sliceRow(MorphHead* h, int t, int r) {
  unsigned char* s = baseOf(h) + h->sliceOff + (long long)t * h->sliceSize;
  return alignUp(s, 64) + (long long)r * h->rowSize;
}

// The live head of a state of the given kind, or null.
inline MorphHead* headOf(void* p, Kvp32u kind) {
  const StateHead* h = stateHead(p);
  if (!h || h->kind != kind) return nullptr;
  return stateAt<MorphHead>(p);
}

// Bounding box, rectangle flag and runs of a flat mask (copied already).
inline void analyseFlat(MorphHead* h) {
  const Kvp8u* m = baseOf(h) + h->maskOff;
  int x0 = h->mW, x1 = -1, y0 = h->mH, y1 = -1;
  for (int j = 0; j < h->mH; ++j)
    for (int i = 0; i < h->mW; ++i)
      if (m[(long long)j * h->mW + i]) {
        x0 = std::min(x0, i), x1 = std::max(x1, i), y0 = std::min(y0, j), y1 = std::max(y1, j);
      }
  h->bx0 = x0, h->by0 = y0, h->bw = x1 - x0 + 1, h->bh = y1 - y0 + 1;
  Run* runs = reinterpret_cast<Run*>(baseOf(h) + h->runOff);
  int n = 0;
  long long members = 0;
  int levelCount[32] = {};
  for (int j = 0; j < h->bh; ++j) {
    const Kvp8u* row = m + (long long)(j + y0) * h->mW + x0;
    for (int i = 0; i < h->bw;) {
      if (!row[i]) {
        ++i;
        continue;
      }
      int e = i;
      while (e < h->bw && row[e]) ++e;
      runs[n++] = Run{j * h->bw + i, e - i};
      members += e - i;
      if (e - i > 1) ++levelCount[31 - __builtin_clz((unsigned)(e - i))];
      i = e;
    }
  }
  h->runs = n;
  h->rect = members == (long long)h->bw * h->bh;
  int best = 0;
  for (int l = 1; l < 32; ++l)
    if (levelCount[l] > levelCount[best]) best = l;
  h->cachedLevel = levelCount[best] ? 1 << best : 0;
}

// ---- element operations -----------------------------------------------------

// The extremum of two elements: the scalar form every vector form matches
// bit for bit (for floats also with NaN operands: the first operand unless
// the second is larger, resp. smaller).
template <class T>
struct MaxOp {
  static T f(T a, T b) { return a < b ? b : a; }
};
template <class T>
struct MinOp {
  static T f(T a, T b) { return b < a ? b : a; }
};

// a - b: saturating at 0 for integers, one IEEE subtraction for floats.
template <class T>
inline T subSat(T a, T b) {
  if constexpr (std::is_floating_point_v<T>)
    return a - b;
  else
    return a > b ? (T)(a - b) : (T)0;
}

// ---- output stage -------------------------------------------------------------

// How the last extremum of a row becomes the destination: copied, or
// subtracted from / by the same row of another image.
enum class Post { Copy, OtherMinus, MinusOther };

// Up to kBatch rows are combined in one pass.
constexpr int kBatch = 8;

// Calls f(std::integral_constant<int, K>) for count = K in 1 .. kBatch.
template <class F>
inline void withCount(int count, F&& f) {
  switch (count) {
    case 1:
      return f(std::integral_constant<int, 1>{});
    case 2:
      return f(std::integral_constant<int, 2>{});
    case 3:
      return f(std::integral_constant<int, 3>{});
    case 4:
      return f(std::integral_constant<int, 4>{});
    case 5:
      return f(std::integral_constant<int, 5>{});
    case 6:
      return f(std::integral_constant<int, 6>{});
    case 7:
      return f(std::integral_constant<int, 7>{});
    default:
      return f(std::integral_constant<int, 8>{});
  }
}

// ---- row helpers ----------------------------------------------------------------

// Pixels k = 0 .. len-1 of source row srow at x = clamp(k + offx, 0, W - 1).
template <class T>
inline void borderRow(T* d, const T* srow, int W, int cn, int offx, int len) {
  int k = 0;
  for (; k < len && k + offx < 0; ++k)
    for (int c = 0; c < cn; ++c) d[k * cn + c] = srow[c];
  const int mid = std::min(len, W - offx);
  if (mid > k) {
    std::memcpy(d + (long long)k * cn, srow + (long long)(k + offx) * cn, sizeof(T) * (size_t)(mid - k) * cn);
    k = mid;
  }
  const T* last = srow + (long long)(W - 1) * cn;
  for (; k < len; ++k)
    for (int c = 0; c < cn; ++c) d[(long long)k * cn + c] = last[c];
}

inline int floorMod(long long a, int m) {
  const long long r = a % m;
  return (int)(r < 0 ? r + m : r);
}

// ---- checks shared by the states and the working calls -------------------------

// The common Init / InitAlloc / GetSize checks before the mask is read.
inline KvpStatus checkMaskArgs(KvpiSize roi, KvpiSize maskSize, KvpiPoint anchor) {
  if (roi.width < 1 || roi.height < 1 || maskSize.width < 1 || maskSize.height < 1) return kvpStsBadSize;
  if (anchor.x < 0 || anchor.x >= maskSize.width || anchor.y < 0 || anchor.y >= maskSize.height)
    return kvpStsBadAnchor;
  return kvpStsOk;
}

template <class Opaque>
inline KvpStatus freeOf(Opaque* p, Family f, Kvp32u kind = 0) {
  if (!p) return kvpStsNullPtr;
  const StateHead* h = stateHead(p);
  if (!h || (h->kind >> 16) != (Kvp32u)f || (kind && h->kind != kind)) return kvpStsBadArg;
  return freeState(p);
}

// The working calls' checks up to the state; returns its head in *out.
template <class T, int CN>
inline KvpStatus checkCall(Family f, const T* pSrc, int srcStep, T* pDst, int dstStep, KvpiSize roi,
                           KvpiBorderType border, void* pState, MorphHead** out) {
  if (KvpStatus s = checkPlanes(roi, {plane(pSrc, srcStep, CN), plane(pDst, dstStep, CN)}, {pState}))
    return s;
  if (border != kvpBorderRepl) return kvpStsBadArg;
  MorphHead* h = headOf(pState, kindOf<T>(f, CN));
  if (!h) return kvpStsBadArg;
  if (roi.width > h->maxW || (f == kAdv && roi.height > h->maxH)) return kvpStsBadSize;
  *out = h;
  return kvpStsOk;
}

// ---- drivers -----------------------------------------------------------------

// Whether a call of W x H with this state opens a parallel region: from n x
// 32768 pixels, n = min(thread count, S). Measured on the cheapest pass (8u
// C1, 3x3, AVX-512, best of 150 calls on a 2-core machine): at 1920 x 35
// (67200 pixels) two threads take as long as one (6 us), at 1920 x 68 5 us
// against 8, at 1920 x 1080 71 us against 138 (median of 100 calls with the
// machine otherwise idle: 77 us against 151; 32f: 363 against 682); every
// other pass does more work per pixel, so the same area pays off for it too.
// When another process holds the second core, a region waits for its thread
// (milliseconds on a loaded machine) whatever the size.
inline bool threadedCall(const MorphHead* h, int W, int H) {
  const int n = std::min(ownGetNumThreads(), h->slices);
  return n > 1 && (long long)W * H >= (long long)n * 32768;
}

}  // namespace kvp::morph

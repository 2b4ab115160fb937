// Morphology: the state layout shared by the flat, derived and non-flat
// operations, and the row kernels of the flat erosion and dilation.
//
// A state block holds, from its first 64-byte aligned address on: the
// header (MorphHead, in the first kRegions bytes), the mask copy (bytes for
// flat masks, Kvp32s or Kvp32f values for value masks), the mask analysis,
// S scratch slices of (2 mH + 4) rows of R bytes each, and for the derived
// operations one intermediate image of the maximal ROI.
//
// Flat erosion and dilation work on the members' bounding box (bw x bh at
// bx0, by0; the anchor is relative to the full mask, so member (i, j) of the
// box reads source pixel (x + dx + i, y + dy + j) with dx = bx0 - ax,
// dy = by0 - ay, clamped into the ROI). Each source row a band needs is
// copied once into the slice with its replicated border ("bordered row").
//
//   rectangle (box full): horizontal extremum of length bw of every
//     bordered row (directly up to 4, else by doubling: windows of 2, 4, 8,
//     ... taken in place, the last two overlapping), then the vertical
//     extremum of bh such rows: directly up to 5 rows, else by van Herk /
//     Gil-Werman over blocks of bh rows (suffix extrema of one block,
//     running prefix extremum of the next, three operations per pixel).
//   other masks: every mask row splits into runs of members; a run of
//     length L at column i contributes ext(m_p[x + i], m_p[x + i + L - p]),
//     m_p the window-p extremum of the bordered row, p the largest power of
//     two <= L. Bordered rows and the most used m_p (p > 1) are kept in rings
//     of bh rows; other levels are recomputed per output row.
//
// Min and max are selections, so every order of evaluation gives the same
// result; the last extremum of a row is fused with the output stage (copy,
// or the saturating difference of the derived operations).
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

// An operation names its extremum f; kFlip operations work on the bitwise
// complement of the data (in at the bordered rows, out at the destination),
// where their extremum is the other one.
template <class T>
struct MaxOp {
  static constexpr bool kFlip = false;
  static T f(T a, T b) { return a < b ? b : a; }
};
template <class T>
struct MinOp {
  static constexpr bool kFlip = false;
  static T f(T a, T b) { return b < a ? b : a; }
};
// Without 16-bit unsigned min instructions (SSSE3) the minimum is the
// complement of the maximum of the complements, which costs two
// instructions per vector where the direct form costs five.
template <>
struct MinOp<Kvp16u> {
  static constexpr bool kFlip = true;
  static Kvp16u f(Kvp16u a, Kvp16u b) { return a < b ? b : a; }
};
template <class Op, class T>
inline T flipped(T v) {
  if constexpr (Op::kFlip)
    return (T)~v;
  else
    return v;
}

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

// d[e] = ext of rows p[0 .. K-1] at e, then post(., o[e]) when o is given.
template <class T, class Op, int K, class F>
inline void extRows(T* __restrict d, const T* const* p, int n, F&& store) {
  const T* q[K];
  for (int k = 0; k < K; ++k) q[k] = p[k];
#pragma omp simd
  for (int e = 0; e < n; ++e) {
    T v = q[0][e];
    for (int k = 1; k < K; ++k) v = Op::f(v, q[k][e]);
    store(d, e, v);
  }
}

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

// acc = ext of rows p[0 .. count-1] (count <= kBatch; acc may be p[0]).
template <class T, class Op>
inline void reduceRows(T* acc, const T* const* p, int count, int n) {
  withCount(count, [&](auto K) {
    const T* q[K];
    for (int k = 0; k < K; ++k) q[k] = p[k];
#pragma omp simd
    for (int e = 0; e < n; ++e) {
      T v = q[0][e];
      for (int k = 1; k < K; ++k) v = Op::f(v, q[k][e]);
      acc[e] = v;
    }
  });
}

template <class T, class Op, Post P>
struct Sink {
  T* dst;
  int dstStep;
  const T* other;
  int otherStep;
  int n;  // elements of a row

  static T post(T v, T o) {
    if constexpr (P == Post::OtherMinus)
      return subSat(o, v);
    else
      return subSat(v, o);
  }
  // dst row y = post(ext of rows p[0 .. count-1]), count <= kBatch.
  void put(int y, const T* const* p, int count) const {
    T* d = rowAt(dst, dstStep, y);
    if constexpr (P == Post::Copy) {
      if (count == 1 && !Op::kFlip) {
        std::memcpy(d, p[0], sizeof(T) * (size_t)n);
        return;
      }
      withCount(count, [&](auto K) {
        extRows<T, Op, K>(d, p, n, [](T* __restrict dd, int e, T v) { dd[e] = flipped<Op>(v); });
      });
    } else {
      const T* __restrict o = rowAt(other, otherStep, y);
      withCount(count, [&](auto K) {
        extRows<T, Op, K>(d, p, n, [o](T* __restrict dd, int e, T v) { dd[e] = post(flipped<Op>(v), o[e]); });
      });
    }
  }
  void put(int y, const T* a, const T* b) const {
    const T* p[2] = {a, b};
    put(y, p, b ? 2 : 1);
  }
};

// ---- row helpers ----------------------------------------------------------------

// d[e] = ext(a[e], b[e]) for n elements; d may be a.
template <class T, class Op>
inline void ext2(T* d, const T* a, const T* b, int n) {
#pragma omp simd
  for (int e = 0; e < n; ++e) d[e] = Op::f(a[e], b[e]);
}

// Pixels k = 0 .. len-1 of source row srow at x = clamp(k + offx, 0, W - 1)
// (complemented for the operations that work on complements).
template <class T, class Op = MaxOp<T>>
inline void borderRow(T* d, const T* srow, int W, int cn, int offx, int len) {
  int k = 0;
  for (; k < len && k + offx < 0; ++k)
    for (int c = 0; c < cn; ++c) d[k * cn + c] = flipped<Op>(srow[c]);
  const int mid = std::min(len, W - offx);
  if (mid > k) {
    T* __restrict dd = d + (long long)k * cn;
    const T* __restrict ss = srow + (long long)(k + offx) * cn;
    const long long n = (long long)(mid - k) * cn;
    if constexpr (Op::kFlip) {
#pragma omp simd
      for (long long e = 0; e < n; ++e) dd[e] = flipped<Op>(ss[e]);
    } else {
      std::memcpy(dd, ss, sizeof(T) * (size_t)n);
    }
    k = mid;
  }
  const T* last = srow + (long long)(W - 1) * cn;
  for (; k < len; ++k)
    for (int c = 0; c < cn; ++c) d[(long long)k * cn + c] = flipped<Op>(last[c]);
}

// In place: row r of lenPix pixels becomes its window-p extremum
// (pixels 0 .. lenPix - p valid), p a power of two; r holds window 1.
template <class T, class Op>
inline void doubleTo(T* r, int lenPix, int cn, int p) {
  for (int q = 1; q < p; q *= 2) {
    const int n = (lenPix - 2 * q + 1) * cn, off = q * cn;
#pragma omp simd
    for (int e = 0; e < n; ++e) r[e] = Op::f(r[e], r[e + off]);
  }
}

// d[e] = ext of s[e + i * cn], i < K (n elements).
template <class T, class Op, int K>
inline void hextDirect(T* __restrict d, const T* __restrict s, int n, int cn) {
  if (cn == 1) {
#pragma omp simd
    for (int e = 0; e < n; ++e) {
      T v = s[e];
      for (int i = 1; i < K; ++i) v = Op::f(v, s[e + i]);
      d[e] = v;
    }
  } else {
#pragma omp simd
    for (int e = 0; e < n; ++e) {
      T v = s[e];
      for (int i = 1; i < K; ++i) v = Op::f(v, s[e + i * cn]);
      d[e] = v;
    }
  }
}

// Window-L extremum of a bordered row b (W + L - 1 pixels, destroyed for
// long windows) for W pixels: into d, or b itself when L is 1. Returns the
// row that holds it.
template <class T, class Op>
inline const T* hext(T* d, T* b, int W, int cn, int L) {
  const int n = W * cn;
  if (L == 1) return b;
  if (L <= kBatch) {
    withCount(L, [&](auto K) { hextDirect<T, Op, K>(d, b, n, cn); });
    return d;
  }
  const int p = 1 << (31 - __builtin_clz((unsigned)L));
  doubleTo<T, Op>(b, W + L - 1, cn, p);
  ext2<T, Op>(d, b, b + (long long)(L - p) * cn, n);
  return d;
}

// ---- the band kernel ----------------------------------------------------------------

inline int floorMod(long long a, int m) {
  const long long r = a % m;
  return (int)(r < 0 ? r + m : r);
}

// Destination rows y0 .. y0 + rows - 1 of the erosion (MinOp) or dilation
// (MaxOp) of the W x H source, through sink, with slice t of the state.
template <class T, class Op, class S>
void flatBand(MorphHead* h, int t, const T* src, int srcStep, int W, int H, int cn, int y0, int rows,
              const S& sink) {
  const int bw = h->bw, bh = h->bh, dx = h->bx0 - h->ax, dy = h->by0 - h->ay;
  const int n = W * cn, lenPix = W + bw - 1;
  auto row = [&](int r) { return reinterpret_cast<T*>(sliceRow(h, t, r)); };
  auto srcRow = [&](long long s) { return rowAt(src, srcStep, (int)std::clamp<long long>(s, 0, H - 1)); };

  if (h->rect) {
    T* bord = row(0);
    // Horizontal extremum of virtual row s into d (returns where it is).
    auto hrow = [&](long long s, T* d) -> const T* {
      T* b = bw == 1 ? d : bord;
      borderRow<T, Op>(b, srcRow(s), W, cn, dx, lenPix);
      const T* r = hext<T, Op>(d, b, W, cn, bw);
      return r;
    };
    const long long s0 = (long long)y0 + dy;
    if (bh <= kBatch) {
      // Ring of bh horizontal rows (rows 2 ..), all bh combined in one pass.
      for (long long s = s0; s < s0 + bh - 1; ++s) hrow(s, row(2 + floorMod(s, bh)));
      const T* p[kBatch];
      for (int k = 0; k < rows; ++k) {
        const long long s = s0 + k;
        hrow(s + bh - 1, row(2 + floorMod(s + bh - 1, bh)));
        for (int j = 0; j < bh; ++j) p[j] = row(2 + floorMod(s + j, bh));
        sink.put(y0 + k, p, bh);
      }
      return;
    }
    // van Herk / Gil-Werman over blocks of k = bh virtual rows from s0:
    // blockA holds block b (made suffix extrema in place), blockB fills with
    // block b + 1 while its running prefix extremum goes into acc.
    const int k = bh;
    T* acc = row(1);
    T* blockA = row(2);
    T* blockB = row(2 + k);
    const long long R = h->rowSize / (long long)sizeof(T);
    auto at = [&](T* blk, int o) { return blk + o * R; };
    for (int o = 0; o < k; ++o) {
      T* d = at(blockA, o);
      const T* r = hrow(s0 + o, d);
      if (r != d) std::memcpy(d, r, sizeof(T) * (size_t)n);
    }
    for (int b0 = 0; b0 < rows; b0 += k) {
      for (int o = k - 2; o >= 0; --o) ext2<T, Op>(at(blockA, o), at(blockA, o), at(blockA, o + 1), n);
      sink.put(y0 + b0, at(blockA, 0), nullptr);
      const T* pre = nullptr;
      const long long next = s0 + b0 + k;
      int filled = 0;
      for (int o = 1; o < k && b0 + o < rows; ++o) {
        T* d = at(blockB, o - 1);
        const T* r = hrow(next + o - 1, d);
        if (r != d) std::memcpy(d, r, sizeof(T) * (size_t)n);
        filled = o;
        if (pre) {
          ext2<T, Op>(acc, pre, d, n);
          pre = acc;
        } else {
          pre = d;
        }
        sink.put(y0 + b0 + o, at(blockA, o), pre);
      }
      if (b0 + k >= rows) break;
      for (int o = filled; o < k; ++o) {
        T* d = at(blockB, o);
        const T* r = hrow(next + o, d);
        if (r != d) std::memcpy(d, r, sizeof(T) * (size_t)n);
      }
      std::swap(blockA, blockB);
    }
    return;
  }

  // Runs: ring of bordered rows (rows 2 .. 2 + bh - 1), ring of the cached
  // level (next bh rows), temp in row 0, accumulator in row 1.
  const int P = h->cachedLevel;
  const Run* runs = reinterpret_cast<const Run*>(baseOf(h) + h->runOff);
  T* tmp = row(0);
  T* acc = row(1);
  auto raw = [&](long long s) { return row(2 + floorMod(s, bh)); };
  auto cached = [&](long long s) { return row(2 + bh + floorMod(s, bh)); };
  auto load = [&](long long s) {
    T* b = raw(s);
    borderRow<T, Op>(b, srcRow(s), W, cn, dx, lenPix);
    if (P) {
      T* c = cached(s);
      std::memcpy(c, b, sizeof(T) * (size_t)lenPix * cn);
      doubleTo<T, Op>(c, lenPix, cn, P);
    }
  };
  const long long s0 = (long long)y0 + dy;
  for (long long s = s0; s < s0 + bh - 1; ++s) load(s);
  for (int k = 0; k < rows; ++k) {
    const long long s = s0 + k;
    load(s + bh - 1);
    // Terms gather in batches of kBatch rows; a full batch folds into acc,
    // which becomes the first term of the next.
    const T* batch[kBatch];
    int count = 0;
    auto flush = [&] {
      reduceRows<T, Op>(acc, batch, count, n);
      batch[0] = acc;
      count = 1;
    };
    auto add = [&](const T* v) {
      if (count == kBatch) flush();
      batch[count++] = v;
    };
    for (int q = 0; q < h->runs; ++q) {
      const int j = runs[q].start / bw, i = runs[q].start % bw, L = runs[q].len;
      const int p = 1 << (31 - __builtin_clz((unsigned)L));
      const long long off = (long long)i * cn, tail = (long long)(i + L - p) * cn;
      if (p == 1) {
        add(raw(s + j) + off);
      } else if (p == P) {
        const T* c = cached(s + j);
        add(c + off);
        if (L != p) add(c + tail);
      } else {
        // Another level: computed in tmp and folded into acc at once, so
        // that tmp is free for the next run.
        std::memcpy(tmp, raw(s + j), sizeof(T) * (size_t)lenPix * cn);
        doubleTo<T, Op>(tmp, lenPix, cn, p);
        add(tmp + off);
        if (L != p) add(tmp + tail);
        flush();
      }
    }
    sink.put(y0 + k, batch, count);
  }
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

// Whether a call of W x H with this state opens a parallel region, and the
// team cap.
inline bool threadedCall(const MorphHead* h, int W, int H) {
  const int n = std::min(ownGetNumThreads(), h->slices);
  return n > 1 && (long long)W * H >= (long long)n * 32768;
}

template <class T, class Op, Post P>
void runFlat(MorphHead* h, const T* src, int srcStep, T* dst, int dstStep, const T* other, int otherStep,
             int W, int H, int cn) {
  const Sink<T, Op, P> sink{dst, dstStep, other, otherStep, W * cn};
  forRowBands(
      H, threadedCall(h, W, H),
      [&](int y0, int rows, int t) { flatBand<T, Op>(h, t, src, srcStep, W, H, cn, y0, rows, sink); },
      h->slices);
}

}  // namespace kvp::morph

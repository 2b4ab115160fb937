// Flat morphology: the states of a byte mask (plain and with the
// intermediate image of the derived operations), erosion and dilation with
// replicated borders, and opening, closing, top-hat, black-hat and
// gradient built on them.
//
// Flat erosion and dilation work on the members' bounding box (bw x bh at
// bx0, by0; the anchor is relative to the full mask, so member (i, j) of the
// box reads source pixel (x + dx + i, y + dy + j) with dx = bx0 - ax,
// dy = by0 - ay, clamped into the ROI). Each source row a band needs is
// copied once into the slice with its replicated border ("bordered row").
//
//   rectangle (box full): horizontal extremum of length bw of every
//     bordered row (directly up to 8 with unaligned vector loads, else by
//     doubling: windows of 2, 4, 8, ... taken in place, the last two
//     overlapping; along a row this costs log2(bw) + 1 vector passes, where
//     van Herk / Gil-Werman would need a serial prefix recurrence per
//     element), then the vertical extremum of bh such rows: directly up to
//     8 rows in one pass, else by van Herk / Gil-Werman over blocks of bh
//     whole rows (suffix extrema of one block, running prefix extremum of
//     the next, three vector operations per element for any bh).
//   other masks: every mask row splits into runs of members; a run of
//     length L at column i contributes ext(m_p[x + i], m_p[x + i + L - p]),
//     m_p the window-p extremum of the bordered row, p the largest power of
//     two <= L. Bordered rows and the most used m_p (p > 1) are kept in rings
//     of bh rows; other levels are recomputed per output row.
//
// Min and max are selections, so every order of evaluation gives the same
// result; the last extremum of a row is fused with the output stage (copy,
// or the saturating difference of the derived operations).
//
// The band kernel is compiled once per vector target (frame/targets.h); the
// states, checks and drivers once.
#if KVP_HAVE_HWY
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "morph/flat.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>
#endif

#ifndef KVP_MORPH_FLAT_COMMON_
#define KVP_MORPH_FLAT_COMMON_
#include "frame/bodies.h"
#include "frame/checks.h"
#include "frame/targets.h"
#include "morph/morph.h"

namespace kvp::morph {
// One flat pass: the extremum (dilate: max, else min) of src through the
// state's mask, copied to dst or combined with other (post).
struct FlatJob {
  MorphHead* h;
  const void* src;
  int srcStep;
  void* dst;
  int dstStep;
  const void* other;
  int otherStep;
  int W, H, cn;
  Kvp32u type;  // typeId<T>()
  bool dilate;
  Post post;
};
}  // namespace kvp::morph
#endif

// ---- the band kernel, one copy per target ------------------------------------------

#if KVP_HAVE_HWY
HWY_BEFORE_NAMESPACE();
namespace kvp::morph::HWY_NAMESPACE {
#else
namespace kvp::morph::plain {
#endif
namespace {
#if KVP_HAVE_HWY
namespace hn = hwy::HWY_NAMESPACE;

// Vector extremum equal to Op::f lane by lane: Max(b, a) is b > a ? b : a,
// which is a < b ? b : a for every pair of floats, NaN included (and the
// same for Min), on every target.
template <class Op>
struct VecOf;
template <class T>
struct VecOf<MaxOp<T>> {
  template <class V>
  static HWY_INLINE V f(V a, V b) {
    return hn::Max(b, a);
  }
};
template <class T>
struct VecOf<MinOp<T>> {
  template <class V>
  static HWY_INLINE V f(V a, V b) {
    return hn::Min(b, a);
  }
};

template <class D, class V>
HWY_INLINE V vsub(D, V a, V b) {
  if constexpr (hwy::IsFloat<hn::TFromD<D>>())
    return hn::Sub(a, b);
  else
    return hn::SaturatedSub(a, b);
}
#endif

// d[e] = post(ext of rows p[0 .. K-1] at e, o[e]) for n elements; d may be
// p[0].
template <class T, class Op, int K, Post P>
void extRows(T* d, const T* const* p, const T* o, int n) {
  const T* q[K];
  for (int k = 0; k < K; ++k) q[k] = p[k];
  int e = 0;
#if KVP_HAVE_HWY
  const hn::ScalableTag<T> dv;
  const int N = (int)hn::Lanes(dv);
  for (; e + N <= n; e += N) {
    auto v = hn::LoadU(dv, q[0] + e);
    for (int k = 1; k < K; ++k) v = VecOf<Op>::f(v, hn::LoadU(dv, q[k] + e));
    if constexpr (P == Post::OtherMinus) v = vsub(dv, hn::LoadU(dv, o + e), v);
    if constexpr (P == Post::MinusOther) v = vsub(dv, v, hn::LoadU(dv, o + e));
    hn::StoreU(v, dv, d + e);
  }
#endif
  for (; e < n; ++e) {
    T v = q[0][e];
    for (int k = 1; k < K; ++k) v = Op::f(v, q[k][e]);
    if constexpr (P == Post::OtherMinus) v = subSat(o[e], v);
    if constexpr (P == Post::MinusOther) v = subSat(v, o[e]);
    d[e] = v;
  }
}

// d = ext of rows p[0 .. count-1] (count <= kBatch), then post with o.
template <class T, class Op, Post P>
void reduceRows(T* d, const T* const* p, int count, const T* o, int n) {
  if (P == Post::Copy && count == 1) {
    if (d != p[0]) std::memcpy(d, p[0], sizeof(T) * (size_t)n);
    return;
  }
  withCount(count, [&](auto K) { extRows<T, Op, K, P>(d, p, o, n); });
}

template <class T, class Op>
void ext2(T* d, const T* a, const T* b, int n) {
  const T* p[2] = {a, b};
  extRows<T, Op, 2, Post::Copy>(d, p, nullptr, n);
}

// d[e] = ext of s[e + i * cn], i < K (n elements).
template <class T, class Op, int K>
void hextDirect(T* d, const T* s, int n, int cn) {
  int e = 0;
#if KVP_HAVE_HWY
  const hn::ScalableTag<T> dv;
  const int N = (int)hn::Lanes(dv);
  for (; e + N <= n; e += N) {
    auto v = hn::LoadU(dv, s + e);
    for (int i = 1; i < K; ++i) v = VecOf<Op>::f(v, hn::LoadU(dv, s + e + i * cn));
    hn::StoreU(v, dv, d + e);
  }
#endif
  for (; e < n; ++e) {
    T v = s[e];
    for (int i = 1; i < K; ++i) v = Op::f(v, s[e + i * cn]);
    d[e] = v;
  }
}

// In place: row r of lenPix pixels becomes its window-p extremum
// (pixels 0 .. lenPix - p valid), p a power of two; r holds window 1.
// Every vector reads elements not yet written (the offset is positive).
template <class T, class Op>
void doubleTo(T* r, int lenPix, int cn, int p) {
  for (int q = 1; q < p; q *= 2) {
    const int n = (lenPix - 2 * q + 1) * cn, off = q * cn;
    int e = 0;
#if KVP_HAVE_HWY
    const hn::ScalableTag<T> dv;
    const int N = (int)hn::Lanes(dv);
    for (; e + N <= n; e += N)
      hn::StoreU(VecOf<Op>::f(hn::LoadU(dv, r + e), hn::LoadU(dv, r + e + off)), dv, r + e);
#endif
    for (; e < n; ++e) r[e] = Op::f(r[e], r[e + off]);
  }
}

// Window-L extremum of a bordered row b (W + L - 1 pixels, destroyed for
// long windows) for W pixels: into d, or b itself when L is 1. Returns the
// row that holds it.
template <class T, class Op>
const T* hext(T* d, T* b, int W, int cn, int L) {
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

// The destination side of a pass: row y = post(ext of up to kBatch rows).
template <class T, class Op, Post P>
struct Sink {
  T* dst;
  int dstStep;
  const T* other;
  int otherStep;
  int n;  // elements of a row

  void put(int y, const T* const* p, int count) const {
    const T* o = P == Post::Copy ? nullptr : rowAt(other, otherStep, y);
    reduceRows<T, Op, P>(rowAt(dst, dstStep, y), p, count, o, n);
  }
  void put(int y, const T* a, const T* b) const {
    const T* p[2] = {a, b};
    put(y, p, b ? 2 : 1);
  }
};

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
    // Short windows read the source directly where every tap lies inside
    // the ROI (pixels lo .. hi - 1) and border only the pieces at the ends.
    const int lo = std::clamp(-dx, 0, W), hi = std::clamp(W - dx - bw + 1, lo, W);
    auto hrow = [&](long long s, T* d) -> const T* {
      const T* sr = srcRow(s);
      if (bw > 1 && bw <= kBatch) {
        withCount(bw, [&](auto K) {
          hextDirect<T, Op, K>(d + (long long)lo * cn, sr + (long long)(lo + dx) * cn, (hi - lo) * cn, cn);
          if (lo > 0) {
            borderRow<T>(bord, sr, W, cn, dx, lo + bw - 1);
            hextDirect<T, Op, K>(d, bord, lo * cn, cn);
          }
          if (hi < W) {
            borderRow<T>(bord, sr, W, cn, dx + hi, W - hi + bw - 1);
            hextDirect<T, Op, K>(d + (long long)hi * cn, bord, (W - hi) * cn, cn);
          }
        });
        return d;
      }
      T* b = bw == 1 ? d : bord;
      borderRow<T>(b, sr, W, cn, dx, lenPix);
      return hext<T, Op>(d, b, W, cn, bw);
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
    borderRow<T>(b, srcRow(s), W, cn, dx, lenPix);
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
      reduceRows<T, Op, Post::Copy>(acc, batch, count, nullptr, n);
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

template <class T, class Op, Post P>
void bandOf(const FlatJob& j, int y0, int rows, int t) {
  const Sink<T, Op, P> sink{static_cast<T*>(j.dst), j.dstStep, static_cast<const T*>(j.other), j.otherStep,
                            j.W * j.cn};
  flatBand<T, Op>(j.h, t, static_cast<const T*>(j.src), j.srcStep, j.W, j.H, j.cn, y0, rows, sink);
}

template <class T>
void bandOfType(const FlatJob& j, int y0, int rows, int t) {
  if (j.dilate) {
    if (j.post == Post::Copy) return bandOf<T, MaxOp<T>, Post::Copy>(j, y0, rows, t);
    if (j.post == Post::OtherMinus) return bandOf<T, MaxOp<T>, Post::OtherMinus>(j, y0, rows, t);
    return bandOf<T, MaxOp<T>, Post::MinusOther>(j, y0, rows, t);
  }
  if (j.post == Post::Copy) return bandOf<T, MinOp<T>, Post::Copy>(j, y0, rows, t);
  return bandOf<T, MinOp<T>, Post::MinusOther>(j, y0, rows, t);
}

}  // namespace

// Destination rows y0 .. y0 + rows - 1 of the pass j with slice t.
void flatBandRows(const FlatJob& j, int y0, int rows, int t) {
  if (j.type == typeId<Kvp8u>()) return bandOfType<Kvp8u>(j, y0, rows, t);
  if (j.type == typeId<Kvp16u>()) return bandOfType<Kvp16u>(j, y0, rows, t);
  return bandOfType<Kvp32f>(j, y0, rows, t);
}

}  // namespace kvp::morph::HWY_NAMESPACE (or plain)
#if KVP_HAVE_HWY
HWY_AFTER_NAMESPACE();
#endif

// ---- states, checks, drivers and bodies, compiled once ------------------------------

#if !KVP_HAVE_HWY || HWY_ONCE
namespace kvp::morph {
#if KVP_HAVE_HWY
HWY_EXPORT(flatBandRows);
#define KVP_ROWS(fn) KVP_TARGET_KERNEL(fn)
#else
#define KVP_ROWS(fn) (&plain::fn)
#endif

namespace {

// One pass over the whole ROI (band rows through slice t).
template <class T>
FlatJob job(MorphHead* h, bool dilate, Post post, const T* src, int srcStep, T* dst, int dstStep,
            const T* other, int otherStep, int W, int H, int cn) {
  return FlatJob{h, src, srcStep, dst, dstStep, other, otherStep, W, H, cn, typeId<T>(), dilate, post};
}

inline bool anyMember(const Kvp8u* m, KvpiSize maskSize) {
  const long long cells = (long long)maskSize.width * maskSize.height;
  for (long long i = 0; i < cells; ++i)
    if (m[i]) return true;
  return false;
}

// Bytes of a flat (F = kFlat, roi.height unused) or derived state.
template <class T, int CN>
Wide flatBytes(Family f, KvpiSize roi, KvpiSize maskSize, int n) {
  const long long ps = (long long)CN * sizeof(T);
  return f == kFlat ? maskedStateBytes(roi.width, maskSize.width, maskSize.height, ps, 1, n)
                    : advStateBytes(roi.width, roi.height, maskSize.width, maskSize.height, ps, n);
}

template <class T, int CN>
KvpStatus getSize(Family f, KvpiSize roi, KvpiSize maskSize, int* pSize) {
  if (!pSize) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1 || maskSize.width < 1 || maskSize.height < 1) return kvpStsBadSize;
  const Wide bytes = flatBytes<T, CN>(f, roi, maskSize, ownGetNumThreads());
  if (bytes > kMaxState) return kvpStsBadSize;
  *pSize = (int)bytes;
  return kvpStsOk;
}

// Init (mem, into *ppState) or InitAlloc (mem null).
template <class T, int CN, class Opaque>
KvpStatus init(Family f, KvpiSize roi, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, void* mem,
               Opaque** ppState) {
  if (!pMask || !ppState) return kvpStsNullPtr;
  if (KvpStatus s = checkMaskArgs(roi, maskSize, anchor)) return s;
  if (!anyMember(pMask, maskSize)) return kvpStsBadArg;
  const int n = ownGetNumThreads();
  const Wide bytes = flatBytes<T, CN>(f, roi, maskSize, n);
  if (bytes > kMaxState) return kvpStsBadSize;
  const long long ps = (long long)CN * sizeof(T);
  auto build = [&](MorphHead* h, unsigned char*) {
    h->maxW = roi.width;
    h->maxH = f == kAdv ? roi.height : 0;
    h->mW = maskSize.width, h->mH = maskSize.height, h->ax = anchor.x, h->ay = anchor.y;
    h->slices = n;
    const long long cells = (long long)maskSize.width * maskSize.height;
    h->maskOff = kRegions;
    h->runOff = h->maskOff + (long long)a64(cells);
    h->sliceOff = h->runOff + (long long)a64(8 * (Wide)cells);
    h->sliceSize = (long long)sliceBytes(roi.width, maskSize.width, maskSize.height, ps);
    h->rowSize = (long long)rowBytes(roi.width, maskSize.width, ps);
    h->imOff = (long long)a64(h->sliceOff + (Wide)n * h->sliceSize);
    h->imStep = (long long)a64((Wide)roi.width * ps);
    std::memcpy(baseOf(h) + h->maskOff, pMask, (size_t)cells);
    analyseFlat(h);
  };
  const Kvp32u kind = f == kFlat ? kindOf<T>(kFlat, CN) : kindOf<T>(kAdv, CN);
  if (mem) return initState<Opaque, MorphHead>(mem, kind, ppState, build);
  return allocState<Opaque, MorphHead>((long long)bytes, kind, ppState, build);
}

template <class T, int CN, bool Dilate>
KvpStatus erodeDilate(const T* pSrc, int srcStep, T* pDst, int dstStep, KvpiSize roi, KvpiBorderType border,
                      KvpiMorphState* pState) {
  MorphHead* h = nullptr;
  if (KvpStatus s = checkCall<T, CN>(kFlat, pSrc, srcStep, pDst, dstStep, roi, border, pState, &h)) return s;
  const FlatJob j =
      job<T>(h, Dilate, Post::Copy, pSrc, srcStep, pDst, dstStep, nullptr, 0, roi.width, roi.height, CN);
  const auto band = KVP_ROWS(flatBandRows);
  forRowBands(
      roi.height, threadedCall(h, roi.width, roi.height),
      [&](int y0, int rows, int t) { band(j, y0, rows, t); }, h->slices);
  return kvpStsOk;
}

enum class Adv { Open, Close, Tophat, Blackhat, Gradient };

// Bytes of intermediate rows one strip of the single-thread derived
// operations makes before its second stage consumes them (they are read
// back from the core's cache, not from memory).
constexpr long long kStripBytes = 256 << 10;

template <class T, int CN, Adv A>
KvpStatus derived(const T* pSrc, int srcStep, T* pDst, int dstStep, KvpiSize roi, KvpiBorderType border,
                  KvpiMorphAdvState* pState) {
  MorphHead* h = nullptr;
  if (KvpStatus s = checkCall<T, CN>(kAdv, pSrc, srcStep, pDst, dstStep, roi, border, pState, &h)) return s;
  T* im = reinterpret_cast<T*>(baseOf(h) + h->imOff);
  const int is = (int)h->imStep, W = roi.width, H = roi.height;
  constexpr bool firstMax = A == Adv::Close || A == Adv::Blackhat;
  // Stage 1: Im = erosion (dilation) of the source; stage 2 the table of
  // the derived operations, its subtraction fused with the last extremum.
  const FlatJob s1 = job<T>(h, firstMax, Post::Copy, pSrc, srcStep, im, is, nullptr, 0, W, H, CN);
  FlatJob s2;
  if constexpr (A == Adv::Open || A == Adv::Close)
    s2 = job<T>(h, !firstMax, Post::Copy, im, is, pDst, dstStep, nullptr, 0, W, H, CN);
  if constexpr (A == Adv::Tophat)
    s2 = job<T>(h, true, Post::OtherMinus, im, is, pDst, dstStep, pSrc, srcStep, W, H, CN);
  if constexpr (A == Adv::Blackhat)
    s2 = job<T>(h, false, Post::MinusOther, im, is, pDst, dstStep, pSrc, srcStep, W, H, CN);
  if constexpr (A == Adv::Gradient)
    s2 = job<T>(h, true, Post::MinusOther, pSrc, srcStep, pDst, dstStep, im, is, W, H, CN);
  const auto band = KVP_ROWS(flatBandRows);
  if (threadedCall(h, W, H)) {
    // Both stages in one team: every band makes its Im rows, the barrier
    // waits for the neighbours' rows that stage 2 reads. Every thread has
    // rows (H >= team), so every thread reaches the barrier.
    const bool everyBand = H >= std::min(ownGetNumThreads(), h->slices);
    forRowBands(
        H, true,
        [&](int y0, int rows, int t) {
          band(s1, y0, rows, t);
          if (everyBand) {
#pragma omp barrier
            band(s2, y0, rows, t);
          }
        },
        h->slices);
    if (!everyBand)
      forRowBands(
          H, true, [&](int y0, int rows, int t) { band(s2, y0, rows, t); }, h->slices);
    return kvpStsOk;
  }
  // One thread: strips of Im rows, each consumed by stage 2 as far as its
  // rows are complete (stage 2 of row y reads Im rows up to y + last, the
  // gradient only row y).
  const long long last = A == Adv::Gradient ? 0 : (long long)h->by0 - h->ay + h->bh - 1;
  const long long rowBytes = (long long)W * CN * (long long)sizeof(T);
  const int strip = (int)std::clamp<long long>(kStripBytes / rowBytes, 4LL * h->bh, H);
  int done1 = 0, done2 = 0;
  while (done2 < H) {
    const int b = std::min(H, done1 + strip);
    band(s1, done1, b - done1, 0);
    done1 = b;
    const int d = b == H ? H : (int)std::clamp<long long>(b - last, done2, H);
    if (d > done2) band(s2, done2, d - done2, 0);
    done2 = d;
  }
  return kvpStsOk;
}

}  // namespace
}  // namespace kvp::morph

using namespace kvp::morph;

extern "C" {

KvpStatus KVP_BODY(kvpiMorphologyFree)(KvpiMorphState* pState) { return freeOf(pState, kFlat); }
KvpStatus KVP_BODY(kvpiMorphAdvFree)(KvpiMorphAdvState* pState) { return freeOf(pState, kAdv); }

#define KVP_MORPH_FLAT(SUF, T, CN)                                                                         \
  KvpStatus KVP_BODY(kvpiMorphologyGetSize_##SUF)(int roiWidth, KvpiSize maskSize, int* pSize) {           \
    return getSize<T, CN>(kFlat, KvpiSize{roiWidth, 1}, maskSize, pSize);                                  \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiMorphologyInit_##SUF)(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize,        \
                                               KvpiPoint anchor, KvpiMorphState* pState) {                 \
    KvpiMorphState* out = nullptr;                                                                         \
    return pState ? init<T, CN>(kFlat, KvpiSize{roiWidth, 1}, pMask, maskSize, anchor, pState, &out)       \
                  : kvpStsNullPtr;                                                                         \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiMorphologyInitAlloc_##SUF)(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize,   \
                                                    KvpiPoint anchor, KvpiMorphState** ppState) {          \
    return init<T, CN>(kFlat, KvpiSize{roiWidth, 1}, pMask, maskSize, anchor, nullptr, ppState);           \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiMorphAdvGetSize_##SUF)(KvpiSize roiSize, KvpiSize maskSize, int* pSize) {         \
    return getSize<T, CN>(kAdv, roiSize, maskSize, pSize);                                                 \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiMorphAdvInit_##SUF)(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize,      \
                                             KvpiPoint anchor, KvpiMorphAdvState* pState) {                \
    KvpiMorphAdvState* out = nullptr;                                                                      \
    return pState ? init<T, CN>(kAdv, roiSize, pMask, maskSize, anchor, pState, &out) : kvpStsNullPtr;     \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiMorphAdvInitAlloc_##SUF)(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize, \
                                                  KvpiPoint anchor, KvpiMorphAdvState** ppState) {         \
    return init<T, CN>(kAdv, roiSize, pMask, maskSize, anchor, nullptr, ppState);                          \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiErodeBorderReplicate_##SUF)(const T* pSrc, int srcStep, T* pDst, int dstStep,     \
                                                     KvpiSize roiSize, KvpiBorderType borderType,          \
                                                     KvpiMorphState* pState) {                             \
    return erodeDilate<T, CN, false>(pSrc, srcStep, pDst, dstStep, roiSize, borderType, pState);           \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiDilateBorderReplicate_##SUF)(const T* pSrc, int srcStep, T* pDst, int dstStep,    \
                                                      KvpiSize roiSize, KvpiBorderType borderType,         \
                                                      KvpiMorphState* pState) {                            \
    return erodeDilate<T, CN, true>(pSrc, srcStep, pDst, dstStep, roiSize, borderType, pState);            \
  }                                                                                                        \
  KVP_MORPH_ADV(Open, SUF, T, CN)                                                                          \
  KVP_MORPH_ADV(Close, SUF, T, CN)                                                                         \
  KVP_MORPH_ADV(Tophat, SUF, T, CN)                                                                        \
  KVP_MORPH_ADV(Blackhat, SUF, T, CN)                                                                      \
  KVP_MORPH_ADV(Gradient, SUF, T, CN)

#define KVP_MORPH_ADV(OP, SUF, T, CN)                                                               \
  KvpStatus KVP_BODY(kvpiMorph##OP##Border_##SUF)(const T* pSrc, int srcStep, T* pDst, int dstStep, \
                                                  KvpiSize roiSize, KvpiBorderType borderType,      \
                                                  KvpiMorphAdvState* pState) {                      \
    return derived<T, CN, Adv::OP>(pSrc, srcStep, pDst, dstStep, roiSize, borderType, pState);      \
  }

KVP_MORPH_FLAT(8u_C1R, Kvp8u, 1)
KVP_MORPH_FLAT(8u_C3R, Kvp8u, 3)
KVP_MORPH_FLAT(8u_C4R, Kvp8u, 4)
KVP_MORPH_FLAT(16u_C1R, Kvp16u, 1)
KVP_MORPH_FLAT(32f_C1R, Kvp32f, 1)
KVP_MORPH_FLAT(32f_C3R, Kvp32f, 3)
KVP_MORPH_FLAT(32f_C4R, Kvp32f, 4)

}  // extern "C"

#endif  // !KVP_HAVE_HWY || HWY_ONCE

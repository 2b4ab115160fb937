// Spans of the separable filter engine (see filter/engine.h for the ops),
// one copy per vector target.
//
// A source compiled once includes this header as usual and sees the spans
// of the static target as kvp::filt::span etc.; a source compiled per
// target (frame/targets.h) includes it after hwy/foreach_target.h and gets
// them in kvp::filt::HWY_NAMESPACE for each target.
#include "filter/engine.h"
#include "frame/simd.h"

#if KVP_HAVE_HWY
#if defined(KVP_FILTER_SPANS_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef KVP_FILTER_SPANS_H_
#undef KVP_FILTER_SPANS_H_
#else
#define KVP_FILTER_SPANS_H_
#endif
#define KVP_FILTER_SPANS_EXPAND 1
#endif
#elif !defined(KVP_FILTER_SPANS_H_)
#define KVP_FILTER_SPANS_H_
#define KVP_FILTER_SPANS_EXPAND 1
#endif

#ifdef KVP_FILTER_SPANS_EXPAND
#undef KVP_FILTER_SPANS_EXPAND
#if KVP_HAVE_HWY
HWY_BEFORE_NAMESPACE();
namespace kvp::filt::HWY_NAMESPACE {
#else
namespace kvp::filt::plain {
#endif
namespace {
#if KVP_HAVE_HWY
using namespace kvp::HWY_NAMESPACE;
#endif
// ---- spans --------------------------------------------------------------

// Fixed tap count: one fused pass, each element summed in registers.
template <int K, class Op, class PtrOf>
inline void spanFixed(const Op& op, PtrOf ptrOf, typename Op::Dst* dst, int n) {
  const typename Op::Src* p[K];
  decltype(op.tap(0)) t[K];
  for (int j = 0; j < K; ++j) {
    p[j] = ptrOf(j);
    t[j] = op.tap(j);
  }
#pragma omp simd
  for (int e = 0; e < n; ++e) {
    typename Op::Acc a = Op::first(t[0], p[0][e]);
    for (int j = 1; j < K; ++j) a = Op::add(a, t[j], p[j][e]);
    dst[e] = op.store(a);
  }
}

#if KVP_HAVE_HWY
// Vector forms of the exact integer route (OpShift). Sums of 16-bit
// products are formed in 16-bit lanes when they fit; otherwise pairs of
// taps go through the widening pairwise multiply-add on the two rows
// interleaved within each 128-bit block, and packing back to 16 bits also
// works within blocks, so the lanes come out in memory order.
namespace vx {

// (a + 2^(shift - 1) - 1 + bit 0 of the quotient) >> shift rounds half to
// even; callers keep the sum within the lane type.
template <class D, class V>
HWY_INLINE V roundShift(D d, V a, int shift, V bias) {
  const V odd = hn::And(hn::ShiftRightSame(a, shift), hn::Set(d, 1));
  return hn::ShiftRightSame(hn::Add(hn::Add(a, bias), odd), shift);
}

template <class D16, class S>
HWY_INLINE hn::Vec<D16> load16(D16 d16, const S* p) {
  if constexpr (sizeof(S) == 1)
    return hn::PromoteTo(d16, hn::LoadU(hn::Rebind<uint8_t, D16>(), p));
  else
    return hn::LoadU(d16, p);
}

template <class D16, class D>
HWY_INLINE void store16(D16 d16, hn::Vec<D16> v, D* out) {
  if constexpr (sizeof(D) == 2)
    hn::StoreU(v, d16, out);
  else
    hn::StoreU(hn::DemoteTo(hn::Rebind<D, D16>(), v), hn::Rebind<D, D16>(), out);
}

// Two taps side by side in each 32-bit lane.
template <class D16>
HWY_INLINE hn::Vec<D16> tapPair(D16 d16, int t0, int t1) {
  const hn::RepartitionToWide<D16> d32;
  return hn::BitCast(d16, hn::Set(d32, (int32_t)((uint32_t)(uint16_t)t0 | ((uint32_t)(uint16_t)t1 << 16))));
}

// 32-bit sums of 16-bit samples times 16-bit taps at elements [e, e +
// Lanes(d16)), wrapping like 32-bit integers; lo and hi hold the low and
// high four elements of each 128-bit block, the order ReorderDemote2To
// undoes.
template <int K, class D16, class PtrOf, class V32 = hn::Vec<hn::RepartitionToWide<D16>>>
HWY_INLINE void sum32(D16 d16, PtrOf ptrOf, int kk, const Kvp16s* taps, int e, V32& lo, V32& hi) {
  const hn::RepartitionToWide<D16> d32;
  auto lo0 = hn::Zero(d32), lo1 = hn::Zero(d32), hi0 = hn::Zero(d32), hi1 = hn::Zero(d32);
  for (int j = 0; j < kk; j += 2) {
    const auto x = load16(d16, ptrOf(j) + e);
    const auto y = j + 1 < kk ? load16(d16, ptrOf(j + 1) + e) : hn::Zero(d16);
    const auto t = tapPair(d16, taps[j], j + 1 < kk ? taps[j + 1] : 0);
    lo0 = hn::ReorderWidenMulAccumulate(d32, hn::InterleaveLower(d16, x, y), t, lo0, lo1);
    hi0 = hn::ReorderWidenMulAccumulate(d32, hn::InterleaveUpper(d16, x, y), t, hi0, hi1);
  }
  lo = hn::RearrangeToOddPlusEven(lo0, lo1);
  hi = hn::RearrangeToOddPlusEven(hi0, hi1);
}

// 16-bit wrapping sums of samples times taps at elements [e, e +
// Lanes(d16)).
template <class D16, class PtrOf>
HWY_INLINE hn::Vec<D16> sum16(D16 d16, PtrOf ptrOf, int kk, const Kvp16s* taps, int e) {
  auto a = hn::Mul(hn::Set(d16, taps[0]), load16(d16, ptrOf(0) + e));
  for (int j = 1; j < kk; ++j) a = hn::Add(a, hn::Mul(hn::Set(d16, taps[j]), load16(d16, ptrOf(j) + e)));
  return a;
}

// Float scaling of the scaled routes: clamp to [lo, hi], then the nearest
// integer (ties to even, the conversion's default rounding), packed to 16
// bits in memory order.
template <class D16, class VF>
HWY_INLINE hn::Vec<D16> clampRoundPack(D16 d16, VF lo, VF hi, VF fmin, VF fmax) {
  lo = hn::Min(hn::Max(lo, fmin), fmax);
  hi = hn::Min(hn::Max(hi, fmin), fmax);
  return hn::ReorderDemote2To(d16, hn::NearestInt(lo), hn::NearestInt(hi));
}

// OpScaled: float(sum) * reciprocal.
template <int K, class S, class D, class PtrOf>
HWY_INLINE int spanScaled(const OpScaled<S, D>& op, PtrOf ptrOf, int k, D* dst, int n) {
  const hn::ScalableTag<int16_t> d16;
  const hn::RepartitionToWide<decltype(d16)> d32;
  const hn::Rebind<float, decltype(d32)> df;
  const int lanes = (int)hn::Lanes(d16);
  const int kk = K > 0 ? K : k;
  const auto recip = hn::Set(df, op.recip), fmin = hn::Set(df, Limits<D>::lo),
             fmax = hn::Set(df, Limits<D>::hi);
  int e = 0;
  for (; e + lanes <= n; e += lanes) {
    hn::Vec<decltype(d32)> lo, hi;
    sum32<K>(d16, ptrOf, kk, op.taps, e, lo, hi);
    store16(d16,
            clampRoundPack(d16, hn::Mul(hn::ConvertTo(df, lo), recip), hn::Mul(hn::ConvertTo(df, hi), recip),
                           fmin, fmax),
            dst + e);
  }
  return e;
}

// OpFloatTap: float samples times pre-scaled taps, added in tap order.
template <int K, class D, class PtrOf>
HWY_INLINE int spanFloatTap(const OpFloatTap<D>& op, PtrOf ptrOf, D* dst, int n) {
  const hn::ScalableTag<int16_t> d16;
  const hn::RepartitionToWide<decltype(d16)> d32;
  const hn::Rebind<float, decltype(d32)> df;
  const int lanes = (int)hn::Lanes(d16);
  const auto fmin = hn::Set(df, Limits<D>::lo), fmax = hn::Set(df, Limits<D>::hi);
  // Sign-extending widening of the low and high four samples of each block.
  auto widen = [&](auto x, auto& lo, auto& hi) {
    lo = hn::ConvertTo(df, hn::ShiftRight<16>(hn::BitCast(d32, hn::InterleaveLower(d16, hn::Zero(d16), x))));
    hi = hn::ConvertTo(df, hn::ShiftRight<16>(hn::BitCast(d32, hn::InterleaveUpper(d16, hn::Zero(d16), x))));
  };
  int e = 0;
  for (; e + lanes <= n; e += lanes) {
    hn::Vec<decltype(df)> lo, hi, xl, xh;
    widen(hn::LoadU(d16, ptrOf(0) + e), xl, xh);
    const auto t0 = hn::Set(df, op.taps[0]);
    lo = hn::Mul(xl, t0);
    hi = hn::Mul(xh, t0);
    for (int j = 1; j < K; ++j) {
      widen(hn::LoadU(d16, ptrOf(j) + e), xl, xh);
      const auto t = hn::Set(df, op.taps[j]);
      lo = hn::Add(lo, hn::Mul(xl, t));
      hi = hn::Add(hi, hn::Mul(xh, t));
    }
    store16(d16, clampRoundPack(d16, lo, hi, fmin, fmax), dst + e);
  }
  return e;
}

// Reduced-precision routes: 16-bit wrapping sums, then stored as they are
// (OpLow1) or scaled by the Q14 quotient (OpLowQ): the product of the sum
// and the quotient is exact in 32 bits (one pairwise multiply-add against
// (q, 0)), shifted down by 14 and packed with saturation, which is the
// clamp.
template <int K, class Op, class PtrOf>
HWY_INLINE int spanLow(const Op& op, PtrOf ptrOf, int k, Kvp16s* dst, int n) {
  const hn::ScalableTag<int16_t> d16;
  const hn::RepartitionToWide<decltype(d16)> d32;
  const int lanes = (int)hn::Lanes(d16);
  const int kk = K > 0 ? K : k;
  constexpr bool kScaled = std::is_same_v<Op, OpLowQ>;
  int q = 0;
  if constexpr (kScaled) q = op.q;
  const auto qz = tapPair(d16, q, 0);
  int e = 0;
  for (; e + lanes <= n; e += lanes) {
    auto a = sum16(d16, ptrOf, kk, op.taps, e);
    if constexpr (kScaled) {
      auto unused = hn::Zero(d32);
      const auto lo = hn::ReorderWidenMulAccumulate(d32, hn::InterleaveLower(d16, a, hn::Zero(d16)), qz,
                                                    hn::Zero(d32), unused);
      const auto hi = hn::ReorderWidenMulAccumulate(d32, hn::InterleaveUpper(d16, a, hn::Zero(d16)), qz,
                                                    hn::Zero(d32), unused);
      a = hn::ReorderDemote2To(d16, hn::ShiftRight<14>(lo), hn::ShiftRight<14>(hi));
    }
    hn::StoreU(a, d16, dst + e);
  }
  return e;
}

// Elements [0, end) in whole vectors, k taps (K when it is not 0); returns
// end.
template <int K, bool Round, class S, class D, class A, class PtrOf>
HWY_INLINE int spanShift(const OpShift<S, D, A>& op, PtrOf ptrOf, int k, D* dst, int n) {
  const hn::ScalableTag<int16_t> d16;
  const int lanes = (int)hn::Lanes(d16);
  const int kk = K > 0 ? K : k;
  int e = 0;
  if constexpr (sizeof(A) == 2) {
    const auto bias = hn::Set(d16, op.bias);
    for (; e + lanes <= n; e += lanes) {
      auto a = sum16(d16, ptrOf, kk, op.taps, e);
      if constexpr (Round) a = roundShift(d16, a, op.shift, bias);
      store16(d16, a, dst + e);
    }
  } else {
    const hn::RepartitionToWide<decltype(d16)> d32;
    const auto bias = hn::Set(d32, op.bias);
    for (; e + lanes <= n; e += lanes) {
      hn::Vec<decltype(d32)> lo, hi;
      sum32<K>(d16, ptrOf, kk, op.taps, e, lo, hi);
      if constexpr (Round) {
        lo = roundShift(d32, lo, op.shift, bias);
        hi = roundShift(d32, hi, op.shift, bias);
      }
      store16(d16, hn::ReorderDemote2To(d16, lo, hi), dst + e);
    }
  }
  return e;
}

}  // namespace vx

// The elements [e, n) that a vector span left, one by one with the scalar
// op.
template <int K, class Op, class PtrOf>
inline void spanTail(const Op& op, PtrOf ptrOf, int k, typename Op::Dst* dst, int e, int n) {
  for (; e < n; ++e) {
    typename Op::Acc a = Op::first(op.tap(0), ptrOf(0)[e]);
    for (int j = 1; j < (K > 0 ? K : k); ++j) a = Op::add(a, op.tap(j), ptrOf(j)[e]);
    dst[e] = op.store(a);
  }
}

// OpShift spans: vectors (with or without the rounding shift), then the
// rest.
template <int K, class S, class D, class A, class PtrOf>
inline void spanShift(const OpShift<S, D, A>& op, PtrOf ptrOf, int k, D* dst, int n) {
  const int e =
      op.shift ? vx::spanShift<K, true>(op, ptrOf, k, dst, n) : vx::spanShift<K, false>(op, ptrOf, k, dst, n);
  spanTail<K>(op, ptrOf, k, dst, e, n);
}

template <int K, class S, class D, class A, class PtrOf>
inline void spanFixed(const OpShift<S, D, A>& op, PtrOf ptrOf, D* dst, int n) {
  spanShift<K>(op, ptrOf, K, dst, n);
}

template <class S, class D, class A, class PtrOf>
inline void spanGeneral(const OpShift<S, D, A>& op, PtrOf ptrOf, int k, D* dst, int n) {
  spanShift<0>(op, ptrOf, k, dst, n);
}

template <int K, class S, class D, class PtrOf>
inline void spanFixed(const OpScaled<S, D>& op, PtrOf ptrOf, D* dst, int n) {
  spanTail<K>(op, ptrOf, K, dst, vx::spanScaled<K>(op, ptrOf, K, dst, n), n);
}

template <class S, class D, class PtrOf>
inline void spanGeneral(const OpScaled<S, D>& op, PtrOf ptrOf, int k, D* dst, int n) {
  spanTail<0>(op, ptrOf, k, dst, vx::spanScaled<0>(op, ptrOf, k, dst, n), n);
}

template <int K, class PtrOf>
inline void spanFixed(const OpLow1& op, PtrOf ptrOf, Kvp16s* dst, int n) {
  spanTail<K>(op, ptrOf, K, dst, vx::spanLow<K>(op, ptrOf, K, dst, n), n);
}
template <class PtrOf>
inline void spanGeneral(const OpLow1& op, PtrOf ptrOf, int k, Kvp16s* dst, int n) {
  spanTail<0>(op, ptrOf, k, dst, vx::spanLow<0>(op, ptrOf, k, dst, n), n);
}
template <int K, class PtrOf>
inline void spanFixed(const OpLowQ& op, PtrOf ptrOf, Kvp16s* dst, int n) {
  spanTail<K>(op, ptrOf, K, dst, vx::spanLow<K>(op, ptrOf, K, dst, n), n);
}
template <class PtrOf>
inline void spanGeneral(const OpLowQ& op, PtrOf ptrOf, int k, Kvp16s* dst, int n) {
  spanTail<0>(op, ptrOf, k, dst, vx::spanLow<0>(op, ptrOf, k, dst, n), n);
}

// Float rows: each pair of output vectors summed in registers, taps in
// order.
template <int K, class PtrOf>
inline void spanF32(const OpF32& op, PtrOf ptrOf, int kk, float* dst, int n) {
  const hn::ScalableTag<float> df;
  const int lanes = (int)hn::Lanes(df);
  const int k = K > 0 ? K : kk;
  int e = 0;
  for (; e + 2 * lanes <= n; e += 2 * lanes) {
    auto t = hn::Set(df, op.taps[0]);
    auto a0 = hn::Mul(t, hn::LoadU(df, ptrOf(0) + e)), a1 = hn::Mul(t, hn::LoadU(df, ptrOf(0) + e + lanes));
    for (int j = 1; j < k; ++j) {
      const float* p = ptrOf(j) + e;
      t = hn::Set(df, op.taps[j]);
      a0 = hn::Add(a0, hn::Mul(t, hn::LoadU(df, p)));
      a1 = hn::Add(a1, hn::Mul(t, hn::LoadU(df, p + lanes)));
    }
    hn::StoreU(a0, df, dst + e);
    hn::StoreU(a1, df, dst + e + lanes);
  }
  spanTail<K>(op, ptrOf, k, dst, e, n);
}

template <class PtrOf>
inline void spanGeneral(const OpF32& op, PtrOf ptrOf, int k, float* dst, int n) {
  spanF32<0>(op, ptrOf, k, dst, n);
}
template <int K, class PtrOf>
inline void spanFixed(const OpF32& op, PtrOf ptrOf, float* dst, int n) {
  spanF32<K>(op, ptrOf, K, dst, n);
}

template <int K, class D, class PtrOf>
inline void spanFixed(const OpFloatTap<D>& op, PtrOf ptrOf, D* dst, int n) {
  spanTail<K>(op, ptrOf, K, dst, vx::spanFloatTap<K>(op, ptrOf, dst, n), n);
}
#endif

// Any tap count: blocks of elements, the taps added one after another into
// a block of accumulators.
template <class Op, class PtrOf>
inline void spanGeneral(const Op& op, PtrOf ptrOf, int k, typename Op::Dst* dst, int n) {
  constexpr int kBlock = 512;
  typename Op::Acc acc[kBlock];
  for (int e0 = 0; e0 < n; e0 += kBlock) {
    const int m = n - e0 < kBlock ? n - e0 : kBlock;
    {
      const typename Op::Src* p = ptrOf(0) + e0;
      const auto t = op.tap(0);
#pragma omp simd
      for (int i = 0; i < m; ++i) acc[i] = Op::first(t, p[i]);
    }
    for (int j = 1; j < k; ++j) {
      const typename Op::Src* p = ptrOf(j) + e0;
      const auto t = op.tap(j);
#pragma omp simd
      for (int i = 0; i < m; ++i) acc[i] = Op::add(acc[i], t, p[i]);
    }
    typename Op::Dst* d = dst + e0;
#pragma omp simd
    for (int i = 0; i < m; ++i) d[i] = op.store(acc[i]);
  }
}

// K = 0 selects the general span.
template <int K, class Op, class PtrOf>
inline void span(const Op& op, PtrOf ptrOf, int k, typename Op::Dst* dst, int n) {
  if constexpr (K > 0)
    spanFixed<K>(op, ptrOf, dst, n);
  else
    spanGeneral(op, ptrOf, k, dst, n);
}

// One row of the row pass: borders into work, then the left piece, the
// middle straight from the source and the right piece.
template <int K, class Op>
inline void filterRow(const Op& op, const typename Op::Src* src, int w, int ch, int k, int anchor, int type,
                      const typename Op::Src* borderValue, typename Op::Src* work, typename Op::Dst* dst) {
  using S = typename Op::Src;
  int xr = 0;
  const int off = fillBorder(src, w, ch, k, anchor, type, borderValue, work, &xr);
  const int nLeft = anchor < w ? anchor : w;
  if (nLeft > 0) {
    const S* s = work;
    span<K>(
        op, [&](int j) { return s + (ptrdiff_t)j * ch; }, k, dst, nLeft * ch);
  }
  if (xr > nLeft) {
    const S* s = src + (ptrdiff_t)(nLeft - anchor) * ch;
    span<K>(
        op, [&](int j) { return s + (ptrdiff_t)j * ch; }, k, dst + (ptrdiff_t)nLeft * ch, (xr - nLeft) * ch);
  }
  if (xr < w) {
    const S* s = work + off;
    span<K>(
        op, [&](int j) { return s + (ptrdiff_t)j * ch; }, k, dst + (ptrdiff_t)xr * ch, (w - xr) * ch);
  }
}

}  // namespace
}  // namespace kvp::filt::HWY_NAMESPACE (or plain)
#if KVP_HAVE_HWY
HWY_AFTER_NAMESPACE();
#endif
#endif  // per-target expansion

// Names for sources compiled once: the static target's spans.
#if !defined(HWY_TARGET_INCLUDE) && !defined(KVP_FILTER_SPANS_STATIC_NAMES_)
#define KVP_FILTER_SPANS_STATIC_NAMES_
namespace kvp::filt {
#if KVP_HAVE_HWY
using namespace kvp::filt::HWY_NAMESPACE;
#else
using namespace kvp::filt::plain;
#endif
}  // namespace kvp::filt
#endif

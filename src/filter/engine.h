// Separable filter engine shared by the row and column pipelines and by the
// fixed-kernel routines.
//
// A "span" computes n consecutive output elements from K input pointers:
//   out[e] = sum_j tap[j] * p_j[e]          (taps added in order j = 0, 1, ...)
// For the row pass p_j = s + j * channels (s: the row extended by its
// border); for the column pass p_j = rows[y + j]. The arithmetic of the sum
// and of the final scaling is an Op:
//   OpScaled   integer sum (32-bit, wrapping), float(sum) * (1/divisor),
//              clamp, round half to even
//   OpFloatTap float sum of sample * (tap / divisor), clamp, round
//   OpLow1     16-bit wrapping sum stored as it is (divisor 1)
//   OpLowQ     16-bit wrapping sum times the Q14 reciprocal, >> 14, clamp
//   OpF32      float sum, stored as it is
//   OpExact    integer sum, saturated (fixed kernels, no divisor)
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/simd.h"
#include "kvpcore.h"

namespace kvp::filt {

// Border codes and the in-memory flags of internal callers.
enum : int { kBorderConst = 0, kBorderRepl = 1, kBorderWrap = 2, kBorderMirr = 3, kBorderMirrR = 4 };
enum : int { kBorderInMemLeft = 64, kBorderInMemRight = 128 };

template <class T>
struct Limits;
template <>
struct Limits<Kvp8u> {
  static constexpr float lo = 0.f, hi = 255.f;
};
template <>
struct Limits<Kvp8s> {
  static constexpr float lo = -128.f, hi = 127.f;
};
template <>
struct Limits<Kvp16s> {
  static constexpr float lo = -32768.f, hi = 32767.f;
};

// Clamp to the destination range, then round half to even: adding and
// removing 1.5 * 2^23 leaves the nearest integer (ties to even) for the
// clamped range, and vectorises without a rounding instruction.
template <class D>
inline D clampRound(float v) {
  v = v < Limits<D>::lo ? Limits<D>::lo : v;
  v = v > Limits<D>::hi ? Limits<D>::hi : v;
  return (D)(int)((v + 12582912.0f) - 12582912.0f);
}

template <class S, class D>
struct OpScaled {
  using Src = S;
  using Dst = D;
  using Acc = uint32_t;
  const Kvp16s* taps;
  float recip;
  int tap(int j) const { return taps[j]; }
  static Acc first(int t, S s) { return (uint32_t)(t * (int)s); }
  static Acc add(Acc a, int t, S s) { return a + (uint32_t)(t * (int)s); }
  D store(Acc a) const { return clampRound<D>((float)(int32_t)a * recip); }
};

template <class D>
struct OpFloatTap {
  using Src = Kvp16s;
  using Dst = D;
  using Acc = float;
  const float* taps;  // tap * (1 / divisor)
  float tap(int j) const { return taps[j]; }
  static Acc first(float t, Kvp16s s) { return (float)s * t; }
  static Acc add(Acc a, float t, Kvp16s s) { return a + (float)s * t; }
  D store(Acc a) const { return clampRound<D>(a); }
};

struct OpLow1 {
  using Src = Kvp16s;
  using Dst = Kvp16s;
  using Acc = uint16_t;
  const Kvp16s* taps;
  int tap(int j) const { return taps[j]; }
  static Acc first(int t, Kvp16s s) { return (uint16_t)(t * (int)s); }
  static Acc add(Acc a, int t, Kvp16s s) { return (uint16_t)(a + (uint16_t)(t * (int)s)); }
  static Kvp16s store(Acc a) { return (Kvp16s)a; }
};

struct OpLowQ {
  using Src = Kvp16s;
  using Dst = Kvp16s;
  using Acc = uint16_t;
  const Kvp16s* taps;
  int q;  // round(16384 / divisor), 16-bit
  int tap(int j) const { return taps[j]; }
  static Acc first(int t, Kvp16s s) { return (uint16_t)(t * (int)s); }
  static Acc add(Acc a, int t, Kvp16s s) { return (uint16_t)(a + (uint16_t)(t * (int)s)); }
  Kvp16s store(Acc a) const {
    int v = ((int)(int16_t)a * q) >> 14;
    v = v < -32768 ? -32768 : v;
    v = v > 32767 ? 32767 : v;
    return (Kvp16s)v;
  }
};

struct OpF32 {
  using Src = Kvp32f;
  using Dst = Kvp32f;
  using Acc = float;
  const float* taps;
  float tap(int j) const { return taps[j]; }
  static Acc first(float t, float s) { return t * s; }
  static Acc add(Acc a, float t, float s) { return a + t * s; }
  static float store(Acc a) { return a; }
};

// Exact integer form of the scaled routes. When the divisor is 2^s and no
// partial sum can reach 2^24 in magnitude, every float step of OpScaled and
// OpFloatTap is exact, so their result is the integer sum times 2^-s,
// clamped and rounded half to even; clamping and rounding commute at integer
// bounds, so integer arithmetic gives it directly: a rounding shift, then
// saturation. Acc is int16_t when the sums are known to fit 16 bits (8-bit
// rows, small taps, room left for the rounding bias), which doubles the
// lanes per vector.
template <class S, class D, class A>
struct OpShift {
  using Src = S;
  using Dst = D;
  using Acc = A;
  const Kvp16s* taps;
  int shift;  // 0 .. kMaxShift
  A bias;     // 2^(shift - 1) - 1 (unused without a shift)
  OpShift(const Kvp16s* t, int s) : taps(t), shift(s), bias((A)(s ? (1 << (s - 1)) - 1 : 0)) {}
  A tap(int j) const { return (A)taps[j]; }
  static A first(A t, S s) { return (A)(t * (A)s); }
  static A add(A a, A t, S s) { return (A)(a + (A)(t * (A)s)); }
  D store(A a) const {
    A q = shift ? (A)((a + bias + ((a >> shift) & 1)) >> shift) : a;
    if constexpr (sizeof(D) < sizeof(A)) {
      constexpr A lo = (A)Limits<D>::lo, hi = (A)Limits<D>::hi;
      q = q < lo ? lo : q;
      q = q > hi ? hi : q;
    }
    return (D)q;
  }
};

constexpr int kMaxShift = 14;

// s when divisor == 2^s with s <= kMaxShift, else -1.
inline int divisorShift(int divisor) {
  for (int s = 0; s <= kMaxShift; ++s)
    if (divisor == 1 << s) return s;
  return -1;
}

// Bound on |partial sum| for samples of magnitude at most maxAbs.
inline long long sumBound(const Kvp16s* taps, int k, long long maxAbs) {
  long long b = 0;
  for (int j = 0; j < k; ++j) b += (taps[j] < 0 ? -(long long)taps[j] : taps[j]) * maxAbs;
  return b;
}

// Fixed kernels: taps built in (a constant table), no divisor; integer
// sums are exact and saturated to the destination, float sums are added in
// storage order.
template <class S, class D, auto Taps>
struct OpExact {
  using Src = S;
  using Dst = D;
  static constexpr bool kFloat = std::is_same_v<S, float>;
  using Acc = std::conditional_t<kFloat, float, int>;
  static constexpr Acc tap(int j) { return (Acc)Taps[j]; }
  static Acc first(Acc t, S s) { return t * (Acc)s; }
  static Acc add(Acc a, Acc t, S s) { return a + t * (Acc)s; }
  static D store(Acc a) {
    if constexpr (std::is_same_v<D, float>) {
      return a;
    } else {
      constexpr int lo = (int)Limits<D>::lo, hi = (int)Limits<D>::hi;
      return (D)(a < lo ? lo : (a > hi ? hi : a));
    }
  }
};

inline int quotientQ14(int divisor) {
  // 16384 / divisor in float, rounded to nearest (ties to even), kept in 16 bits.
  const float f = 16384.0f / (float)divisor;
  return (int)(int16_t)(int)((f + 12582912.0f) - 12582912.0f);
}

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

// (OpLow1 with 3 or 5 taps vectorises well as a plain loop.)
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

// Float rows with any tap count: each pair of output vectors summed in
// registers, taps in order (the 3- and 5-tap forms vectorise well as plain
// loops and stay with spanFixed).
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

// ---- borders ------------------------------------------------------------

inline int floorMod(int a, int m) {
  const int r = a % m;
  return r < 0 ? r + m : r;
}

// Source pixel index for an extended position p (any integer) of a row of
// width w, for a base border type other than constant. Positions further
// out than one period repeat the rule.
inline int borderIndex(int p, int w, int base) {
  if (p >= 0 && p < w) return p;
  switch (base) {
    case kBorderRepl:
      return p < 0 ? 0 : w - 1;
    case kBorderWrap:
      return floorMod(p, w);
    case kBorderMirr: {
      if (w == 1) return 0;
      const int period = 2 * w - 2;
      const int q = floorMod(p, period);
      return q < w ? q : period - q;
    }
    default: {  // kBorderMirrR
      const int period = 2 * w;
      const int q = floorMod(p, period);
      return q < w ? q : period - 1 - q;
    }
  }
}

// Writes the extended pixels [p0, p0 + count) of a row into out (channels
// interleaved). type: base code in the low four bits, flags 64 / 128 read
// the pixels left / right of the row from memory.
template <class T>
inline void extendRow(const T* src, int w, int ch, int type, const T* borderValue, int p0, int count,
                      T* out) {
  const int base = type & 15;
  for (int i = 0; i < count; ++i) {
    const int p = p0 + i;
    T* o = out + (ptrdiff_t)i * ch;
    if ((p < 0 && (type & kBorderInMemLeft)) || (p >= w && (type & kBorderInMemRight)) || (p >= 0 && p < w)) {
      for (int c = 0; c < ch; ++c) o[c] = src[(ptrdiff_t)p * ch + c];
    } else if (base == kBorderConst) {
      for (int c = 0; c < ch; ++c) o[c] = borderValue[c];
    } else {
      const int q = borderIndex(p, w, base);
      for (int c = 0; c < ch; ++c) o[c] = src[(ptrdiff_t)q * ch + c];
    }
  }
}

// Builds the bordered pieces of one row in work: the left piece holds the
// extended pixels that the first min(anchor, w) outputs read, the right
// piece those of the outputs whose windows pass the right end. Returns the
// element offset of the right piece; *xRight is the first output computed
// from it.
template <class T>
inline int fillBorder(const T* src, int w, int ch, int k, int anchor, int type, const T* borderValue, T* work,
                      int* xRight) {
  const int nLeft = anchor < w ? anchor : w;
  if (nLeft > 0) extendRow(src, w, ch, type, borderValue, -anchor, nLeft + k - 1, work);
  const int right = k - 1 - anchor;
  int xr = w - right;
  if (xr < nLeft) xr = nLeft;
  const int offset = (nLeft > 0 ? nLeft + k - 1 : 0) * ch;
  if (xr < w) extendRow(src, w, ch, type, borderValue, xr - anchor, (w - xr) + k - 1, work + offset);
  *xRight = xr;
  return offset;
}

// Elements of the two pieces at most (for sizing the work area).
inline long long pieceElems(int k, int ch) { return (long long)4 * k * ch; }

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

}  // namespace kvp::filt

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

}  // namespace kvp::filt

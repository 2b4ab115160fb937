// Integral images (upright and 45-degree tilted, with optional squared
// tables) and the per-window standard deviation computed from them.
//
// Table arithmetic is done in an "arithmetic type" per element type:
// 32-bit integer tables in uint32_t, so every sum wraps modulo 2^32 with
// defined behaviour; float tables in float; double tables in double. Every
// floating expression is evaluated left to right exactly as written (the
// build keeps multiply and add separate), so results do not depend on the
// vector width or the thread count.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "detect/integral_rows.h"
#include "frame/bodies.h"
#include "frame/checks.h"
#include "frame/parallel.h"

#if KVP_HAVE_HWY
#include <hwy/highway.h>
namespace hn = hwy::HWY_NAMESPACE;
#endif

namespace kvp::detect {
namespace {

// ---- element arithmetic --------------------------------------------------------

template <class T>
using ArithOf = std::conditional_t<std::is_same_v<T, Kvp32s>, uint32_t, T>;

template <class T>
inline ArithOf<T> load(const T& v) {
  return (ArithOf<T>)v;
}
template <class T>
inline T store(ArithOf<T> v) {
  return (T)v;  // modulo 2^32 for the integer tables
}

// Converts a 32-bit integer row prefix to the table's arithmetic type.
template <class T>
inline ArithOf<T> fromPrefix(uint32_t r) {
  if constexpr (std::is_same_v<T, Kvp32s>)
    return r;
  else
    return (T)(int32_t)r;
}

// A source pixel (or its square) in the table's arithmetic type.
template <class T, bool Square>
inline ArithOf<T> pixel(Kvp8u p) {
  const uint32_t v = Square ? (uint32_t)p * p : (uint32_t)p;
  if constexpr (std::is_same_v<T, Kvp32s>)
    return v;
  else
    return (T)v;
}

// ---- checks --------------------------------------------------------------------

// Builders: pointers, size, source step >= width, each table step >= its
// row bytes (argument order), each table step a multiple of its element.
template <class TS, class TQ>
KvpStatus checkBuilder(const Kvp8u* src, int srcStep, const TS* dst, int dstStep, const TQ* sqr, int sqrStep,
                       bool withSqr, KvpiSize roi, int extraCols) {
  if (!src || !dst || (withSqr && !sqr)) return kvpStsNullPtr;
  if (KvpStatus s = checkSize(roi)) return s;
  const long long cols = (long long)roi.width + extraCols;
  if (srcStep < roi.width) return kvpStsBadStep;
  if ((long long)dstStep < cols * (long long)sizeof(TS)) return kvpStsBadStep;
  if (withSqr && (long long)sqrStep < cols * (long long)sizeof(TQ)) return kvpStsBadStep;
  if (dstStep % (int)sizeof(TS) != 0) return kvpStsStepNotMultiple;
  if (withSqr && sqrStep % (int)sizeof(TQ) != 0) return kvpStsStepNotMultiple;
  return kvpStsOk;
}

// Standard deviations: pointers, size, the two table steps against the
// columns the window reaches, the output step, multiples, then the window.
template <class TS, class TQ, class TD>
KvpStatus checkStdDev(const TS* src, int srcStep, const TQ* sqr, int sqrStep, const TD* dst, int dstStep,
                      KvpiSize roi, KvpiRect rect, bool tilted) {
  if (!src || !sqr || !dst) return kvpStsNullPtr;
  if (KvpStatus s = checkSize(roi)) return s;
  const long long cols = tilted ? (long long)rect.x + rect.y + rect.width + rect.height + roi.width - 1
                                : (long long)rect.width + roi.width + rect.x;
  if ((long long)srcStep < cols * (long long)sizeof(TS)) return kvpStsBadStep;
  if ((long long)sqrStep < cols * (long long)sizeof(TQ)) return kvpStsBadStep;
  if ((long long)dstStep < (long long)roi.width * (long long)sizeof(TD)) return kvpStsBadStep;
  if (srcStep % (int)sizeof(TS) || sqrStep % (int)sizeof(TQ) || dstStep % (int)sizeof(TD))
    return kvpStsStepNotMultiple;
  if (rect.x < 0 || rect.y < 0 || rect.width < 1 || rect.height < 1) return kvpStsBadSize;
  return kvpStsOk;
}

// ---- upright builder --------------------------------------------------------------

// One table row: d[0] = val, d[x + 1] = above[x + 1] + (row prefix through x).
template <class T, bool Square>
void uprightRowScalar(const Kvp8u* __restrict s, const T* __restrict above, T* __restrict d, int x0, int w,
                      uint32_t r) {
  for (int x = x0; x < w; ++x) {
    const uint32_t p = s[x];
    r += Square ? p * p : p;
    d[x + 1] = store<T>(load(above[x + 1]) + fromPrefix<T>(r));
  }
}

#if KVP_HAVE_HWY
using D8 = hn::Full128<uint8_t>;
using D16 = hn::Full128<uint16_t>;
using D32 = hn::Full128<uint32_t>;
using DI32 = hn::Full128<int32_t>;
using DF32 = hn::Full128<float>;
using DF64 = hn::Full128<double>;
using V16 = hn::Vec<D16>;
using V32 = hn::Vec<D32>;

// Inclusive prefix sums across the lanes of one vector.
HWY_INLINE V16 prefix(V16 v) {
  const D16 d;
  v = hn::Add(v, hn::ShiftLeftLanes<1>(d, v));
  v = hn::Add(v, hn::ShiftLeftLanes<2>(d, v));
  return hn::Add(v, hn::ShiftLeftLanes<4>(d, v));
}
HWY_INLINE V32 prefix(V32 v) {
  const D32 d;
  v = hn::Add(v, hn::ShiftLeftLanes<1>(d, v));
  return hn::Add(v, hn::ShiftLeftLanes<2>(d, v));
}
// Widening by interleaving with zero: one instruction per half.
HWY_INLINE V32 lower32(V16 v) { return hn::ZipLower(D32(), v, hn::Zero(D16())); }
HWY_INLINE V32 upper32(V16 v) { return hn::ZipUpper(D32(), v, hn::Zero(D16())); }

// Four table entries: o[i] = a[i] + prefix lane i, in the table's arithmetic.
template <class T>
HWY_INLINE void emit4(const T* a, T* o, V32 p) {
  if constexpr (std::is_same_v<T, Kvp32s>) {
    const D32 d;
    hn::StoreU(hn::Add(hn::LoadU(d, (const uint32_t*)a), p), d, (uint32_t*)o);
  } else if constexpr (std::is_same_v<T, Kvp32f>) {
    const DF32 d;
    hn::StoreU(hn::Add(hn::LoadU(d, a), hn::ConvertTo(d, hn::BitCast(DI32(), p))), d, o);
  } else {
    const DF64 d;
    const hn::Half<DI32> dh;
    const auto pi = hn::BitCast(DI32(), p);
    hn::StoreU(hn::Add(hn::LoadU(d, a), hn::PromoteTo(d, hn::LowerHalf(dh, pi))), d, o);
    hn::StoreU(hn::Add(hn::LoadU(d, a + 2), hn::PromoteTo(d, hn::UpperHalf(dh, pi))), d, o + 2);
  }
}

// Prefix sums of sixteen pixels plus the carry, as four vectors of four;
// the carry becomes the last of them. Sixteen pixels sum to at most 4080,
// so the whole prefix stays in 16 bits. It is taken over the eight pixel
// pairs (x[2i] + x[2i+1]), which gives the odd positions; the even ones are
// those minus x[2i+1]. The four widened quarters take the carry
// independently.
HWY_INLINE void sumPrefix16(hn::Vec<D8> bytes, V32& carry, V32 out[4]) {
  const D16 d16;
  const V16 pairs16 = hn::BitCast(d16, bytes);
  const V16 odd = hn::ShiftRight<8>(pairs16);
  const V16 podd = prefix(hn::Add(hn::And(pairs16, hn::Set(d16, 0xff)), odd));
  const V16 peven = hn::Sub(podd, odd);
  const V16 plo = hn::InterleaveLower(d16, peven, podd);
  const V16 phi = hn::InterleaveUpper(d16, peven, podd);
  out[0] = hn::Add(lower32(plo), carry);
  out[1] = hn::Add(upper32(plo), carry);
  out[2] = hn::Add(lower32(phi), carry);
  out[3] = hn::Add(upper32(phi), carry);
  carry = hn::Broadcast<3>(out[3]);
}

// Four entries held in registers, in the table's arithmetic.
template <class T>
struct Quad;
template <>
struct Quad<Kvp32s> {
  V32 v;
  static Quad load(const Kvp32s* a) { return {hn::LoadU(D32(), (const uint32_t*)a)}; }
  Quad plus(V32 p) const { return {hn::Add(v, p)}; }
  void store(Kvp32s* o) const { hn::StoreU(v, D32(), (uint32_t*)o); }
};
template <>
struct Quad<Kvp32f> {
  hn::Vec<DF32> v;
  static Quad load(const Kvp32f* a) { return {hn::LoadU(DF32(), a)}; }
  Quad plus(V32 p) const { return {hn::Add(v, hn::ConvertTo(DF32(), hn::BitCast(DI32(), p)))}; }
  void store(Kvp32f* o) const { hn::StoreU(v, DF32(), o); }
};

// Two table rows from two source rows: the first adds its prefix to the
// row above, the second its prefix to the first (still in registers).
template <class T>
void uprightRowPair(const Kvp8u* __restrict s0, const Kvp8u* __restrict s1, const T* __restrict above,
                    T* __restrict d0, T* __restrict d1, int w) {
  V32 c0 = hn::Zero(D32()), c1 = hn::Zero(D32());
  int x = 0;
  for (; x + 16 <= w; x += 16) {
    V32 p0[4], p1[4];
    sumPrefix16(hn::LoadU(D8(), s0 + x), c0, p0);
    sumPrefix16(hn::LoadU(D8(), s1 + x), c1, p1);
    for (int k = 0; k < 4; ++k) {
      const int at = x + 1 + 4 * k;
      const Quad<T> r0 = Quad<T>::load(above + at).plus(p0[k]);
      r0.store(d0 + at);
      r0.plus(p1[k]).store(d1 + at);
    }
  }
  uprightRowScalar<T, false>(s0, above, d0, x, w, hn::GetLane(c0));
  uprightRowScalar<T, false>(s1, d0, d1, x, w, hn::GetLane(c1));
}

// Four table rows from four source rows. The row prefixes are formed
// down the columns: sixteen columns of four pixels are transposed into
// vectors with one lane per row, accumulated column after column, and
// transposed back; then row k + 1 adds its prefix to row k in registers.
template <class T>
void uprightRowQuad(const Kvp8u* const* s, const T* __restrict above, T* const* d, int w) {
  const D8 d8;
  const D16 d16;
  const D32 d32;
  // Byte 4c + r of a column group goes to lane r (row r of column c).
  alignas(16) static constexpr uint8_t kCol[4][16] = {
      {0, 0x80, 0x80, 0x80, 1, 0x80, 0x80, 0x80, 2, 0x80, 0x80, 0x80, 3, 0x80, 0x80, 0x80},
      {4, 0x80, 0x80, 0x80, 5, 0x80, 0x80, 0x80, 6, 0x80, 0x80, 0x80, 7, 0x80, 0x80, 0x80},
      {8, 0x80, 0x80, 0x80, 9, 0x80, 0x80, 0x80, 10, 0x80, 0x80, 0x80, 11, 0x80, 0x80, 0x80},
      {12, 0x80, 0x80, 0x80, 13, 0x80, 0x80, 0x80, 14, 0x80, 0x80, 0x80, 15, 0x80, 0x80, 0x80}};
  const hn::Vec<D8> m0 = hn::Load(d8, kCol[0]), m1 = hn::Load(d8, kCol[1]), m2 = hn::Load(d8, kCol[2]),
                    m3 = hn::Load(d8, kCol[3]);
  V32 acc = hn::Zero(d32);  // running prefix, lane r for row r
  int x = 0;
  for (; x + 16 <= w; x += 16) {
    const auto b0 = hn::LoadU(d8, s[0] + x), b1 = hn::LoadU(d8, s[1] + x);
    const auto b2 = hn::LoadU(d8, s[2] + x), b3 = hn::LoadU(d8, s[3] + x);
    const V16 t01l = hn::BitCast(d16, hn::InterleaveLower(d8, b0, b1));
    const V16 t01h = hn::BitCast(d16, hn::InterleaveUpper(d8, b0, b1));
    const V16 t23l = hn::BitCast(d16, hn::InterleaveLower(d8, b2, b3));
    const V16 t23h = hn::BitCast(d16, hn::InterleaveUpper(d8, b2, b3));
    // Four columns of four rows each (bytes 4c + r).
    hn::Vec<D8> g[4] = {hn::BitCast(d8, hn::InterleaveLower(d16, t01l, t23l)),
                        hn::BitCast(d8, hn::InterleaveUpper(d16, t01l, t23l)),
                        hn::BitCast(d8, hn::InterleaveLower(d16, t01h, t23h)),
                        hn::BitCast(d8, hn::InterleaveUpper(d16, t01h, t23h))};
    for (int q = 0; q < 4; ++q) {
      const V32 c0 = hn::Add(acc, hn::BitCast(d32, hn::TableLookupBytesOr0(g[q], m0)));
      const V32 c1 = hn::Add(c0, hn::BitCast(d32, hn::TableLookupBytesOr0(g[q], m1)));
      const V32 c2 = hn::Add(c1, hn::BitCast(d32, hn::TableLookupBytesOr0(g[q], m2)));
      const V32 c3 = hn::Add(c2, hn::BitCast(d32, hn::TableLookupBytesOr0(g[q], m3)));
      acc = c3;
      // Back to rows: r[k] holds row k's prefixes at these four columns.
      const hn::Repartition<uint64_t, D32> d64;
      const auto l01 = hn::BitCast(d64, hn::InterleaveLower(d32, c0, c1));
      const auto h01 = hn::BitCast(d64, hn::InterleaveUpper(d32, c0, c1));
      const auto l23 = hn::BitCast(d64, hn::InterleaveLower(d32, c2, c3));
      const auto h23 = hn::BitCast(d64, hn::InterleaveUpper(d32, c2, c3));
      const V32 r0 = hn::BitCast(d32, hn::InterleaveLower(d64, l01, l23));
      const V32 r1 = hn::BitCast(d32, hn::InterleaveUpper(d64, l01, l23));
      const V32 r2 = hn::BitCast(d32, hn::InterleaveLower(d64, h01, h23));
      const V32 r3 = hn::BitCast(d32, hn::InterleaveUpper(d64, h01, h23));
      const int at = x + 1 + 4 * q;
      const Quad<T> e0 = Quad<T>::load(above + at).plus(r0);
      e0.store(d[0] + at);
      const Quad<T> e1 = e0.plus(r1);
      e1.store(d[1] + at);
      const Quad<T> e2 = e1.plus(r2);
      e2.store(d[2] + at);
      e2.plus(r3).store(d[3] + at);
    }
  }
  alignas(16) uint32_t carry[4];
  hn::Store(acc, d32, carry);
  uprightRowScalar<T, false>(s[0], above, d[0], x, w, carry[0]);
  for (int k = 1; k < 4; ++k) uprightRowScalar<T, false>(s[k], d[k - 1], d[k], x, w, carry[k]);
}

// Sixteen pixels at a time: the sums take their prefix in 16-bit lanes
// (eight pixels of at most 255), the squares in 32-bit lanes; the running
// total is carried across vectors as a broadcast of the last lane.
template <class TS, class TQ, bool WithSqr>
void uprightRows(const Kvp8u* __restrict s, const TS* __restrict aS, TS* __restrict dS,
                 const TQ* __restrict aQ, TQ* __restrict dQ, int w) {
  const D8 d8;
  const D16 d16;
  const D32 d32;
  V32 cs = hn::Zero(d32), cq = hn::Zero(d32);
  int x = 0;
  for (; x + 16 <= w; x += 16) {
    const auto bytes = hn::LoadU(d8, s + x);
    const V16 lo = hn::ZipLower(d16, bytes, hn::Zero(d8));
    const V16 hi = hn::ZipUpper(d16, bytes, hn::Zero(d8));
    V32 ps[4];
    sumPrefix16(bytes, cs, ps);
    for (int k = 0; k < 4; ++k) emit4(aS + x + 1 + 4 * k, dS + x + 1 + 4 * k, ps[k]);
    if constexpr (WithSqr) {
      const V16 qlo = hn::Mul(lo, lo), qhi = hn::Mul(hi, hi);  // at most 65025
      const V32 q0 = hn::Add(prefix(lower32(qlo)), cq);
      const V32 q1 = hn::Add(prefix(upper32(qlo)), hn::Broadcast<3>(q0));
      const V32 q2 = hn::Add(prefix(lower32(qhi)), hn::Broadcast<3>(q1));
      const V32 q3 = hn::Add(prefix(upper32(qhi)), hn::Broadcast<3>(q2));
      cq = hn::Broadcast<3>(q3);
      emit4(aQ + x + 1, dQ + x + 1, q0);
      emit4(aQ + x + 5, dQ + x + 5, q1);
      emit4(aQ + x + 9, dQ + x + 9, q2);
      emit4(aQ + x + 13, dQ + x + 13, q3);
    }
  }
  uprightRowScalar<TS, false>(s, aS, dS, x, w, hn::GetLane(cs));
  if constexpr (WithSqr) uprightRowScalar<TQ, true>(s, aQ, dQ, x, w, hn::GetLane(cq));
}
#else
template <class TS, class TQ, bool WithSqr>
void uprightRows(const Kvp8u* __restrict s, const TS* __restrict aS, TS* __restrict dS,
                 const TQ* __restrict aQ, TQ* __restrict dQ, int w) {
  uprightRowScalar<TS, false>(s, aS, dS, 0, w, 0);
  if constexpr (WithSqr) uprightRowScalar<TQ, true>(s, aQ, dQ, 0, w, 0);
}
#endif

template <class T>
void fillRow(T* d, int n, T val) {
  for (int i = 0; i < n; ++i) d[i] = val;
}

template <class TS, class TQ, bool WithSqr>
KvpStatus upright(const Kvp8u* src, int srcStep, TS* dst, int dstStep, TQ* sqr, int sqrStep, KvpiSize roi,
                  TS val, TQ valSqr) {
  if (KvpStatus s = checkBuilder(src, srcStep, dst, dstStep, sqr, sqrStep, WithSqr, roi, 1)) return s;
  const int w = roi.width;
  fillRow(dst, w + 1, val);
  if constexpr (WithSqr) fillRow(sqr, w + 1, valSqr);
  int y = 0;
#if KVP_HAVE_HWY
  if constexpr (!WithSqr) {
    // Wider targets: one row at a time in full-width vectors.
    if (uprightSumsWide(src, srcStep, dst, dstStep, w, roi.height)) {
      for (; y < roi.height; ++y) rowAt(dst, dstStep, y + 1)[0] = val;
      return kvpStsOk;
    }
    for (; y + 4 <= roi.height; y += 4) {
      const Kvp8u* s4[4];
      TS* d4[4];
      for (int k = 0; k < 4; ++k) {
        s4[k] = rowAt(src, srcStep, y + k);
        d4[k] = rowAt(dst, dstStep, y + 1 + k);
        d4[k][0] = val;
      }
      uprightRowQuad<TS>(s4, rowAt(dst, dstStep, y), d4, w);
    }
    for (; y + 2 <= roi.height; y += 2) {
      TS* d0 = rowAt(dst, dstStep, y + 1);
      TS* d1 = rowAt(dst, dstStep, y + 2);
      d0[0] = val;
      d1[0] = val;
      uprightRowPair<TS>(rowAt(src, srcStep, y), rowAt(src, srcStep, y + 1), rowAt(dst, dstStep, y), d0, d1,
                         w);
    }
  }
#endif
  for (; y < roi.height; ++y) {
    TS* dS = rowAt(dst, dstStep, y + 1);
    dS[0] = val;
    TQ* dQ = nullptr;
    const TQ* aQ = nullptr;
    if constexpr (WithSqr) {
      dQ = rowAt(sqr, sqrStep, y + 1);
      aQ = rowAt(sqr, sqrStep, y);
      dQ[0] = valSqr;
    }
    uprightRows<TS, TQ, WithSqr>(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), dS, aQ, dQ, w);
  }
  return kvpStsOk;
}

// ---- tilted builder -----------------------------------------------------------------

// Row y >= 2 of the tilted table from rows y - 1 (up1) and y - 2 (up2) and
// source row y - 2:
//   d[0]     = up1[1]
//   d[j]     = up1[j - 1] + up1[j + 1] - up2[j] + s[j - 1] + s[j]   (1 <= j <= w, s[w] = 0)
//   d[w + 1] = up1[w]
template <class T, bool Square>
void tiltedRow(const Kvp8u* __restrict s, const T* __restrict up1, const T* __restrict up2, T* __restrict d,
               int w) {
  using A = ArithOf<T>;
  d[0] = up1[1];
#pragma omp simd
  for (int j = 1; j < w; ++j) {
    const A v = load(up1[j - 1]) + load(up1[j + 1]) - load(up2[j]) + pixel<T, Square>(s[j - 1]) +
                pixel<T, Square>(s[j]);
    d[j] = store<T>(v);
  }
  d[w] = store<T>(load(up1[w - 1]) + load(up1[w + 1]) - load(up2[w]) + pixel<T, Square>(s[w - 1]) +
                  pixel<T, Square>(0));
  d[w + 1] = up1[w];
}

template <class TS, class TQ, bool WithSqr>
KvpStatus tilted(const Kvp8u* src, int srcStep, TS* dst, int dstStep, TQ* sqr, int sqrStep, KvpiSize roi,
                 TS val, TQ valSqr) {
  if (KvpStatus s = checkBuilder(src, srcStep, dst, dstStep, sqr, sqrStep, WithSqr, roi, 2)) return s;
  const int w = roi.width;
  fillRow(rowAt(dst, dstStep, 0), w + 2, val);
  fillRow(rowAt(dst, dstStep, 1), w + 2, val);
  if constexpr (WithSqr) {
    fillRow(rowAt(sqr, sqrStep, 0), w + 2, valSqr);
    fillRow(rowAt(sqr, sqrStep, 1), w + 2, valSqr);
  }
  for (int y = 2; y < roi.height + 2; ++y) {
    const Kvp8u* s = rowAt(src, srcStep, y - 2);
    tiltedRow<TS, false>(s, rowAt(dst, dstStep, y - 1), rowAt(dst, dstStep, y - 2), rowAt(dst, dstStep, y),
                         w);
    if constexpr (WithSqr)
      tiltedRow<TQ, true>(s, rowAt(sqr, sqrStep, y - 1), rowAt(sqr, sqrStep, y - 2), rowAt(sqr, sqrStep, y),
                          w);
  }
  return kvpStsOk;
}

// ---- standard deviation -------------------------------------------------------------

// The four table reads of a window, relative to the output pixel, combined
// as a - b - c + d.
struct Corners {
  int row[4];
  int col[4];
  long long n;  // pixels (upright) or twice the cell count (tilted)
};

Corners uprightCorners(KvpiRect r) {
  return {{r.y + r.height, r.y, r.y + r.height, r.y},
          {r.x + r.width, r.x + r.width, r.x, r.x},
          (long long)r.width * r.height};
}

Corners tiltedCorners(KvpiRect r) {
  const int x = r.x, y = r.y, w = r.width, h = r.height;
  return {{x + y + w + h, x + y + h, x + y + w, x + y},
          {x - y + w - h, x - y - h, x - y + w, x - y},
          2 * (long long)w * h};
}

// Each path computes one output from the four sum reads and the four
// squared reads (a - b - c + d); vec4() computes four neighbouring outputs
// with the same operations lane by lane, so both give identical bits.

#if KVP_HAVE_HWY
using VF = hn::Vec<DF32>;
using VD = hn::Vec<DF64>;
using VI = hn::Vec<DI32>;

template <class V>
HWY_INLINE V corners(V a, V b, V c, V d) {
  return hn::Add(hn::Sub(hn::Sub(a, b), c), d);
}
// Negative variances become 0; NaN passes through as in the scalar form.
template <class D>
HWY_INLINE hn::Vec<D> clampNegative(D d, hn::Vec<D> v) {
  return hn::IfThenElse(hn::Lt(v, hn::Zero(d)), hn::Zero(d), v);
}
// Four doubles at p narrowed to floats.
HWY_INLINE VF narrow4(const Kvp64f* p) {
  const hn::Half<DF32> dh;
  return hn::Combine(DF32(), hn::DemoteTo(dh, hn::LoadU(DF64(), p + 2)),
                     hn::DemoteTo(dh, hn::LoadU(DF64(), p)));
}
#endif

// Single precision throughout, squared sums narrowed as read.
struct PathFloat {
  using Sum = Kvp32f;
  using Sqr = Kvp64f;
  using Out = Kvp32f;
  float n;
  PathFloat(long long cnt, int) : n((float)cnt) {}
  Kvp32f operator()(Kvp32f a, Kvp32f b, Kvp32f c, Kvp32f d, Kvp64f qa, Kvp64f qb, Kvp64f qc,
                    Kvp64f qd) const {
    const float sum = a - b - c + d;
    const float sq = (float)qa - (float)qb - (float)qc + (float)qd;
    const float mean = sum / n;
    float var = sq / n - mean * mean;
    if (var < 0.f) var = 0.f;
    return std::sqrt(var);
  }
#if KVP_HAVE_HWY
  HWY_INLINE void vec4(const Kvp32f* const* s, const Kvp64f* const* q, int j, Kvp32f* o) const {
    const DF32 df;
    const VF sum = corners(hn::LoadU(df, s[0] + j), hn::LoadU(df, s[1] + j), hn::LoadU(df, s[2] + j),
                           hn::LoadU(df, s[3] + j));
    const VF sq = corners(narrow4(q[0] + j), narrow4(q[1] + j), narrow4(q[2] + j), narrow4(q[3] + j));
    const VF vn = hn::Set(df, n);
    const VF mean = hn::Div(sum, vn);
    const VF var = clampNegative(df, hn::Sub(hn::Div(sq, vn), hn::Mul(mean, mean)));
    hn::StoreU(hn::Sqrt(var), df, o + j);
  }
#endif
};

// Differences, means and variance in double; the clamped variance is
// narrowed and its single-precision root stored. Integer sums are
// differenced modulo 2^32 before conversion.
template <class S>
struct PathDouble {
  using Sum = S;
  using Sqr = Kvp64f;
  using Out = Kvp32f;
  double n;
  PathDouble(long long cnt, int) : n((double)cnt) {}
  Kvp32f operator()(S a, S b, S c, S d, Kvp64f qa, Kvp64f qb, Kvp64f qc, Kvp64f qd) const {
    double sum;
    if constexpr (std::is_same_v<S, Kvp32s>)
      sum = (double)(int32_t)((uint32_t)a - (uint32_t)b - (uint32_t)c + (uint32_t)d);
    else
      sum = (double)a - (double)b - (double)c + (double)d;
    const double sq = qa - qb - qc + qd;
    const double mean = sum / n;
    double var = sq / n - mean * mean;
    if (var < 0.0) var = 0.0;
    return std::sqrt((float)var);
  }
#if KVP_HAVE_HWY
  // Two outputs from their sums (as doubles) and squared reads at p[k].
  HWY_INLINE hn::Vec<hn::Half<DF32>> half(VD sum, const Kvp64f* const* q, int j) const {
    const DF64 dd;
    const VD sq = corners(hn::LoadU(dd, q[0] + j), hn::LoadU(dd, q[1] + j), hn::LoadU(dd, q[2] + j),
                          hn::LoadU(dd, q[3] + j));
    const VD vn = hn::Set(dd, n);
    const VD mean = hn::Div(sum, vn);
    const VD var = clampNegative(dd, hn::Sub(hn::Div(sq, vn), hn::Mul(mean, mean)));
    return hn::DemoteTo(hn::Half<DF32>(), var);
  }
  HWY_INLINE void vec4(const S* const* s, const Kvp64f* const* q, int j, Kvp32f* o) const {
    const DF64 dd;
    const hn::Half<DI32> dih;
    const hn::Half<DF32> dfh;
    VD lo, hi;
    if constexpr (std::is_same_v<S, Kvp32s>) {
      const DI32 di;
      const VI sum = corners(hn::LoadU(di, s[0] + j), hn::LoadU(di, s[1] + j), hn::LoadU(di, s[2] + j),
                             hn::LoadU(di, s[3] + j));
      lo = hn::PromoteTo(dd, hn::LowerHalf(dih, sum));
      hi = hn::PromoteTo(dd, hn::UpperHalf(dih, sum));
    } else {
      VD l[4], h[4];
      for (int k = 0; k < 4; ++k) {
        const VF v = hn::LoadU(DF32(), s[k] + j);
        l[k] = hn::PromoteTo(dd, hn::LowerHalf(dfh, v));
        h[k] = hn::PromoteTo(dd, hn::UpperHalf(dfh, v));
      }
      lo = corners(l[0], l[1], l[2], l[3]);
      hi = corners(h[0], h[1], h[2], h[3]);
    }
    const VF var = hn::Combine(DF32(), half(hi, q, j + 2), half(lo, q, j));
    hn::StoreU(hn::Sqrt(var), DF32(), o + j);
  }
#endif
};

// Truncation toward zero into 32 bits; values at or above 2^31 - 1 and NaN
// saturate to INT_MAX, values below the range give INT_MIN.
inline int32_t truncToInt(double v) {
  if (!(v < 2147483647.0)) return INT_MAX;
  if (v <= -2147483649.0) return INT_MIN;
  return (int32_t)v;
}

// Integer differences modulo 2^32, single-precision means and variance,
// double-precision root, scale, + 0.5 and truncation.
struct PathScaled {
  using Sum = Kvp32s;
  using Sqr = Kvp32s;
  using Out = Kvp32s;
  float n;
  double scale;
  // Beyond +-2000 the power is 0 or infinite anyway; the clamp keeps the
  // negation of INT_MIN out.
  PathScaled(long long cnt, int scaleFactor)
      : n((float)cnt), scale(std::ldexp(1.0, -std::clamp(scaleFactor, -2000, 2000))) {}
  Kvp32s operator()(Kvp32s a, Kvp32s b, Kvp32s c, Kvp32s d, Kvp32s qa, Kvp32s qb, Kvp32s qc,
                    Kvp32s qd) const {
    const int32_t sum = (int32_t)((uint32_t)a - (uint32_t)b - (uint32_t)c + (uint32_t)d);
    const int32_t sq = (int32_t)((uint32_t)qa - (uint32_t)qb - (uint32_t)qc + (uint32_t)qd);
    const float mean = (float)sum / n;
    float var = (float)sq / n - mean * mean;
    if (var < 0.f) var = 0.f;
    return truncToInt(std::sqrt((double)var) * scale + 0.5);
  }
#if KVP_HAVE_HWY
  HWY_INLINE hn::Vec<hn::Half<DI32>> round2(hn::Vec<hn::Half<DF32>> var) const {
    const DF64 dd;
    const VD t = hn::Add(hn::Mul(hn::Sqrt(hn::PromoteTo(dd, var)), hn::Set(dd, scale)), hn::Set(dd, 0.5));
    const VD big = hn::Set(dd, 2147483647.0);
    const VD low = hn::Set(dd, -2147483649.0);
    // NaN and values from 2^31 - 1 up saturate; the rest truncate.
    const VD inRange = hn::IfThenElse(hn::Lt(t, big), t, big);
    const VD c = hn::IfThenElse(hn::Le(inRange, low), low, inRange);
    return hn::DemoteTo(hn::Half<DI32>(), c);
  }
  HWY_INLINE void vec4(const Kvp32s* const* s, const Kvp32s* const* q, int j, Kvp32s* o) const {
    const DI32 di;
    const DF32 df;
    const VI sum = corners(hn::LoadU(di, s[0] + j), hn::LoadU(di, s[1] + j), hn::LoadU(di, s[2] + j),
                           hn::LoadU(di, s[3] + j));
    const VI sq = corners(hn::LoadU(di, q[0] + j), hn::LoadU(di, q[1] + j), hn::LoadU(di, q[2] + j),
                          hn::LoadU(di, q[3] + j));
    const VF vn = hn::Set(df, n);
    const VF mean = hn::Div(hn::ConvertTo(df, sum), vn);
    const VF var = clampNegative(df, hn::Sub(hn::Div(hn::ConvertTo(df, sq), vn), hn::Mul(mean, mean)));
    const hn::Half<DF32> dfh;
    const VI r = hn::Combine(di, round2(hn::UpperHalf(dfh, var)), round2(hn::LowerHalf(dfh, var)));
    hn::StoreU(r, di, o + j);
  }
#endif
};

template <class Path>
void stdDevRow(const typename Path::Sum* src, int srcStep, const typename Path::Sqr* sqr, int sqrStep,
               typename Path::Out* d, int w, const Corners& k, const Path& path) {
  const typename Path::Sum* s[4];
  const typename Path::Sqr* q[4];
  for (int i = 0; i < 4; ++i) {
    s[i] = rowAt(src, srcStep, k.row[i]) + k.col[i];
    q[i] = rowAt(sqr, sqrStep, k.row[i]) + k.col[i];
  }
  int j = 0;
#if KVP_HAVE_HWY
  for (; j + 4 <= w; j += 4) path.vec4(s, q, j, d);
#endif
  for (; j < w; ++j) d[j] = path(s[0][j], s[1][j], s[2][j], s[3][j], q[0][j], q[1][j], q[2][j], q[3][j]);
}

constexpr long long kStdDevThreadArea = 65536;

template <class TS, class TQ, class TD, class Path>
KvpStatus stdDev(const TS* src, int srcStep, const TQ* sqr, int sqrStep, TD* dst, int dstStep, KvpiSize roi,
                 KvpiRect rect, bool tiltedWindow, bool threaded, int scaleFactor = 0) {
  if (KvpStatus s = checkStdDev(src, srcStep, sqr, sqrStep, dst, dstStep, roi, rect, tiltedWindow)) return s;
  const Corners k = tiltedWindow ? tiltedCorners(rect) : uprightCorners(rect);
  const Path path(k.n, scaleFactor);
  const bool split = threaded && (long long)roi.width * roi.height >= kStdDevThreadArea;
  forRowBands(roi.height, split, [&](int y0, int rows, int) {
    for (int i = y0; i < y0 + rows; ++i)
      stdDevRow(rowAt(src, srcStep, i), srcStep, rowAt(sqr, sqrStep, i), sqrStep, rowAt(dst, dstStep, i),
                roi.width, k, path);
  });
  return kvpStsOk;
}

}  // namespace
}  // namespace kvp::detect

using namespace kvp::detect;

// ---- exported bodies ---------------------------------------------------------------

KvpStatus KVP_BODY(kvpiIntegral_8u32s_C1R)(const Kvp8u* pSrc, int srcStep, Kvp32s* pDst, int dstStep,
                                           KvpiSize roiSize, Kvp32s val) {
  return upright<Kvp32s, Kvp32s, false>(pSrc, srcStep, pDst, dstStep, (Kvp32s*)nullptr, 0, roiSize, val, 0);
}
KvpStatus KVP_BODY(kvpiIntegral_8u32f_C1R)(const Kvp8u* pSrc, int srcStep, Kvp32f* pDst, int dstStep,
                                           KvpiSize roiSize, Kvp32f val) {
  return upright<Kvp32f, Kvp32f, false>(pSrc, srcStep, pDst, dstStep, (Kvp32f*)nullptr, 0, roiSize, val, 0.f);
}
KvpStatus KVP_BODY(kvpiSqrIntegral_8u32s_C1R)(const Kvp8u* pSrc, int srcStep, Kvp32s* pDst, int dstStep,
                                              Kvp32s* pSqr, int sqrStep, KvpiSize roiSize, Kvp32s val,
                                              Kvp32s valSqr) {
  return upright<Kvp32s, Kvp32s, true>(pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}
KvpStatus KVP_BODY(kvpiSqrIntegral_8u32s64f_C1R)(const Kvp8u* pSrc, int srcStep, Kvp32s* pDst, int dstStep,
                                                 Kvp64f* pSqr, int sqrStep, KvpiSize roiSize, Kvp32s val,
                                                 Kvp64f valSqr) {
  return upright<Kvp32s, Kvp64f, true>(pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}
KvpStatus KVP_BODY(kvpiSqrIntegral_8u32f64f_C1R)(const Kvp8u* pSrc, int srcStep, Kvp32f* pDst, int dstStep,
                                                 Kvp64f* pSqr, int sqrStep, KvpiSize roiSize, Kvp32f val,
                                                 Kvp64f valSqr) {
  return upright<Kvp32f, Kvp64f, true>(pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}

KvpStatus KVP_BODY(kvpiTiltedIntegral_8u32s_C1R)(const Kvp8u* pSrc, int srcStep, Kvp32s* pDst, int dstStep,
                                                 KvpiSize roiSize, Kvp32s val) {
  return tilted<Kvp32s, Kvp32s, false>(pSrc, srcStep, pDst, dstStep, (Kvp32s*)nullptr, 0, roiSize, val, 0);
}
KvpStatus KVP_BODY(kvpiTiltedIntegral_8u32f_C1R)(const Kvp8u* pSrc, int srcStep, Kvp32f* pDst, int dstStep,
                                                 KvpiSize roiSize, Kvp32f val) {
  return tilted<Kvp32f, Kvp32f, false>(pSrc, srcStep, pDst, dstStep, (Kvp32f*)nullptr, 0, roiSize, val, 0.f);
}
KvpStatus KVP_BODY(kvpiTiltedSqrIntegral_8u32s_C1R)(const Kvp8u* pSrc, int srcStep, Kvp32s* pDst, int dstStep,
                                                    Kvp32s* pSqr, int sqrStep, KvpiSize roiSize, Kvp32s val,
                                                    Kvp32s valSqr) {
  return tilted<Kvp32s, Kvp32s, true>(pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}
KvpStatus KVP_BODY(kvpiTiltedSqrIntegral_8u32s64f_C1R)(const Kvp8u* pSrc, int srcStep, Kvp32s* pDst,
                                                       int dstStep, Kvp64f* pSqr, int sqrStep,
                                                       KvpiSize roiSize, Kvp32s val, Kvp64f valSqr) {
  return tilted<Kvp32s, Kvp64f, true>(pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}
KvpStatus KVP_BODY(kvpiTiltedSqrIntegral_8u32f64f_C1R)(const Kvp8u* pSrc, int srcStep, Kvp32f* pDst,
                                                       int dstStep, Kvp64f* pSqr, int sqrStep,
                                                       KvpiSize roiSize, Kvp32f val, Kvp64f valSqr) {
  return tilted<Kvp32f, Kvp64f, true>(pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}

KvpStatus KVP_BODY(kvpiRectStdDev_32f_C1R)(const Kvp32f* pSrc, int srcStep, const Kvp64f* pSqr, int sqrStep,
                                           Kvp32f* pDst, int dstStep, KvpiSize roiSize, KvpiRect rect) {
  return stdDev<Kvp32f, Kvp64f, Kvp32f, PathFloat>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roiSize, rect,
                                                   false, true);
}
KvpStatus KVP_BODY(kvpiRectStdDev_32s32f_C1R)(const Kvp32s* pSrc, int srcStep, const Kvp64f* pSqr,
                                              int sqrStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize,
                                              KvpiRect rect) {
  return stdDev<Kvp32s, Kvp64f, Kvp32f, PathDouble<Kvp32s>>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep,
                                                            roiSize, rect, false, false);
}
KvpStatus KVP_BODY(kvpiRectStdDev_32s_C1RSfs)(const Kvp32s* pSrc, int srcStep, const Kvp32s* pSqr,
                                              int sqrStep, Kvp32s* pDst, int dstStep, KvpiSize roiSize,
                                              KvpiRect rect, int scaleFactor) {
  return stdDev<Kvp32s, Kvp32s, Kvp32s, PathScaled>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roiSize,
                                                    rect, false, false, scaleFactor);
}
KvpStatus KVP_BODY(kvpiTiltedRectStdDev_32f_C1R)(const Kvp32f* pSrc, int srcStep, const Kvp64f* pSqr,
                                                 int sqrStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize,
                                                 KvpiRect rect) {
  return stdDev<Kvp32f, Kvp64f, Kvp32f, PathDouble<Kvp32f>>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep,
                                                            roiSize, rect, true, false);
}
KvpStatus KVP_BODY(kvpiTiltedRectStdDev_32s32f_C1R)(const Kvp32s* pSrc, int srcStep, const Kvp64f* pSqr,
                                                    int sqrStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize,
                                                    KvpiRect rect) {
  return stdDev<Kvp32s, Kvp64f, Kvp32f, PathDouble<Kvp32s>>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep,
                                                            roiSize, rect, true, false);
}
KvpStatus KVP_BODY(kvpiTiltedRectStdDev_32s_C1RSfs)(const Kvp32s* pSrc, int srcStep, const Kvp32s* pSqr,
                                                    int sqrStep, Kvp32s* pDst, int dstStep, KvpiSize roiSize,
                                                    KvpiRect rect, int scaleFactor) {
  return stdDev<Kvp32s, Kvp32s, Kvp32s, PathScaled>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roiSize,
                                                    rect, true, false, scaleFactor);
}

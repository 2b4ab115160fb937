// Statistics over one channel of a ROI, over every pixel or over the pixels
// an 8-bit mask selects: the mean, the mean with the population standard
// deviation, and the extrema with the location of their first occurrence.
//
// Integer sources (8u, 8s, 16u) are summed exactly: per row the count N,
// S = sum v and Q = sum v^2 (vector kernels: byte sums of absolute values,
// pairwise multiply-add of 16-bit lanes, 32-bit partials flushed into
// 64-bit lanes before they can overflow); rows and threads add in any order.
// mean = S / N, stddev = sqrt(N Q - S^2) / N with N Q - S^2 formed exactly in
// 128 bits, so both are correctly rounded from exact sums.
//
// 32f sources subtract a shift K (the first selected value) and sum d = v - K
// and d^2 in double precision in a fixed order: 64 row blocks (block b holds
// rows b H / 64 up to (b + 1) H / 64 - 1), in each block eight lanes
// (lane = column mod 8) folded as ((0+1)+(2+3))+((4+5)+(6+7)), block totals
// added in block order. Threads take whole blocks, so the bits do not depend
// on the thread count or the vector width. A NaN or an infinity among the
// selected values makes both results the quiet NaN 0x7FF8000000000000.
//
// Extrema: per row a vector minimum and maximum of the selected values
// (32f: NaNs skipped); the first row that reaches a band's final extreme is
// remembered and scanned once for the first column. Bands are combined in
// row order, a later band winning only with a strictly better value.
//
// Nothing selected: mean, stddev, minimum and maximum 0, locations {-1, -1}.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "frame/bodies.h"
#include "frame/checks.h"
#include "frame/parallel.h"
#include "frame/simd.h"

namespace kvp::stats {
namespace {

using u128 = unsigned __int128;
using i128 = __int128;

// Threads as for the norms: area >= T * 32768 on a processor with more than
// one core, or area >= T * 131072.
inline bool threadedArea(KvpiSize roi) {
  const long long area = (long long)roi.width * roi.height;
  const long long t = ownGetNumThreads();
  if (area >= t * 131072) return true;
  return area >= t * 32768 && kvpGetNumCoresOnDie() != 1;
}

inline double quietNaN() {
  const uint64_t bits = 0x7FF8000000000000ull;
  double d;
  std::memcpy(&d, &bits, sizeof d);
  return d;
}

// The common checks, then the channel of interest. anyOut: at least one
// output pointer is given.
template <class T, int C, bool Masked>
KvpStatus checkStats(const T* p, int step, const Kvp8u* m, int mStep, KvpiSize roi, int coi, bool anyOut) {
  const void* out = anyOut ? (const void*)&roi : nullptr;
  KvpStatus st;
  if constexpr (Masked)
    st = checkPlanes(roi, {plane(p, step, C), plane(m, mStep)}, {out});
  else
    st = checkPlanes(roi, {plane(p, step, C)}, {out});
  if (st) return st;
  if (C == 3 && (coi < 1 || coi > 3)) return kvpStsBadCoi;
  return kvpStsOk;
}

// Number of non-zero mask bytes in a row.
inline long long countSelected(const Kvp8u* m, int w) {
  long long n = 0;
  int x = 0;
#if KVP_HAVE_HWY
  {
    // Byte sums of the 0xFF bytes that mark zero mask bytes: 255 per
    // unselected pixel.
    const hn::ScalableTag<uint8_t> d8;
    const hn::Repartition<uint64_t, decltype(d8)> d64;
    const int lanes = (int)hn::Lanes(d8);
    auto off = hn::Zero(d64);
    for (; x + lanes <= w; x += lanes)
      off = hn::Add(off, hn::SumsOf8(hn::VecFromMask(d8, hn::Eq(hn::LoadU(d8, m + x), hn::Zero(d8)))));
    n = x - (long long)(hn::GetLane(hn::SumOfLanes(d64, off)) / 255);
  }
#endif
  for (; x < w; ++x) n += m[x] != 0;
  return n;
}

#if KVP_HAVE_HWY
// The element of the channel in use from the next Lanes(d) pixels at p
// (p points at that channel; for three channels the other two follow).
template <int C, class D>
HWY_INLINE hn::Vec<D> loadChannel(D d, const hn::TFromD<D>* p) {
  if constexpr (C == 1) {
    return hn::LoadU(d, p);
  } else {
    hn::Vec<D> a, b, c;
    hn::LoadInterleaved3(d, p, a, b, c);
    return a;
  }
}
// Lanes of a whole vector before index w: the three-channel loads read two
// elements past their last pixel, so they stop one pixel earlier.
template <int C>
constexpr int vecLimit(int w, int lanes) {
  return C == 1 ? w - lanes : w - lanes - 1;
}
#endif

// ---- integer sums --------------------------------------------------------------

// Sums over the selected pixels of one row: count, sum, sum of squares.
struct RowSums {
  long long n = 0;
  long long s = 0;
  uint64_t q = 0;
};

// 8-bit elements. Vectors of bytes: the sum by byte sums of absolute
// values against zero (signed bytes biased by 128), the squares of the
// magnitudes by pairwise multiply-add of zero-extended 16-bit lanes into
// 32-bit lanes, flushed every kFlush8 vectors.
template <class T, int C, bool Masked, bool WithQ>
void rowSums8(const T* p, const Kvp8u* m, int w, RowSums& r) {
  int x = 0;
#if KVP_HAVE_HWY
  {
    const hn::ScalableTag<uint8_t> d8;
    const hn::Repartition<uint16_t, decltype(d8)> d16;
    const hn::Repartition<int16_t, decltype(d8)> di16;
    const hn::Repartition<int32_t, decltype(d8)> di32;
    const hn::Repartition<uint32_t, decltype(d8)> du32;
    const hn::Half<decltype(du32)> du32h;
    const hn::Repartition<uint64_t, decltype(d8)> d64;
    constexpr int kFlush8 = 8192;  // 2 * 2 * 255^2 * 8192 < 2^31
    const int lanes = (int)hn::Lanes(d8);
    const int last = vecLimit<C>(w, lanes);
    const auto zero = hn::Zero(d8);
    auto s64 = hn::Zero(d64), q64 = hn::Zero(d64);
    const uint8_t* pb = reinterpret_cast<const uint8_t*>(p);
    auto s64b = hn::Zero(d64);
    // One vector of pixels at xx into a sum and a 32-bit square partial.
    auto one = [&](int xx, auto& sAcc, auto& qAcc) HWY_ATTR {
      auto v = loadChannel<C>(d8, pb + (ptrdiff_t)xx * C);
      if constexpr (Masked) v = hn::AndNot(hn::VecFromMask(d8, hn::Eq(hn::LoadU(d8, m + xx), zero)), v);
      auto a = v;  // magnitude
      if constexpr (std::is_signed_v<T>) {
        sAcc = hn::Add(sAcc, hn::SumsOf8(hn::Xor(v, hn::Set(d8, 0x80))));
        a = hn::BitCast(d8, hn::Abs(hn::BitCast(hn::Repartition<int8_t, decltype(d8)>(), v)));
      } else {
        sAcc = hn::Add(sAcc, hn::SumsOf8(v));
      }
      if constexpr (WithQ) {
        auto unused = hn::Zero(di32);
        const auto lo = hn::BitCast(di16, hn::ZipLower(d16, a, zero));
        const auto hi = hn::BitCast(di16, hn::ZipUpper(d16, a, zero));
        qAcc = hn::ReorderWidenMulAccumulate(di32, lo, lo, qAcc, unused);
        qAcc = hn::ReorderWidenMulAccumulate(di32, hi, hi, qAcc, unused);
      }
    };
    auto flush = [&](hn::Vec<decltype(di32)> q32) HWY_ATTR {
      if constexpr (WithQ) {
        const auto u = hn::BitCast(du32, q32);
        q64 = hn::Add(q64, hn::PromoteTo(d64, hn::LowerHalf(du32h, u)));
        q64 = hn::Add(q64, hn::PromoteTo(d64, hn::UpperHalf(du32h, u)));
      }
    };
    // Two vectors per step with their own partials.
    while (x + lanes <= last) {
      auto qa = hn::Zero(di32), qb = hn::Zero(di32);
      for (int k = 0; k < kFlush8 / 2 && x + lanes <= last; ++k, x += 2 * lanes) {
        one(x, s64, qa);
        one(x + lanes, s64b, qb);
      }
      flush(qa);
      flush(qb);
    }
    if (x <= last) {
      auto qa = hn::Zero(di32);
      one(x, s64, qa);
      flush(qa);
      x += lanes;
    }
    s64 = hn::Add(s64, s64b);
    long long s = (long long)hn::GetLane(hn::SumOfLanes(d64, s64));
    if constexpr (std::is_signed_v<T>) s -= 128ll * x;
    r.s += s;
    if constexpr (WithQ) r.q += hn::GetLane(hn::SumOfLanes(d64, q64));
  }
#endif
  long long s = 0;
  uint64_t q = 0;
  for (; x < w; ++x) {
    if (Masked && !m[x]) continue;
    const long long v = p[(ptrdiff_t)x * C];
    s += v;
    q += (uint64_t)(v * v);
  }
  r.s += s;
  r.q += q;
}

// 16-bit unsigned elements: t = v - 32768 in signed 16-bit lanes; the sums
// of t and of t^2 by pairwise multiply-add (t^2 pairs read as unsigned
// 32-bit, widened to 64 bits at once), then
//   sum v = sum t + 32768 n,  sum v^2 = sum t^2 + 65536 sum t + 2^30 n
// over the n pixels of the vector part (unselected pixels count as v = 0,
// which adds nothing to either).
template <int C, bool Masked, bool WithQ>
void rowSums16(const Kvp16u* p, const Kvp8u* m, int w, RowSums& r) {
  int x = 0;
#if KVP_HAVE_HWY
  {
    const hn::ScalableTag<uint16_t> d16;
    const hn::Rebind<uint8_t, decltype(d16)> d8;
    const hn::Repartition<int16_t, decltype(d16)> di16;
    const hn::Repartition<int32_t, decltype(d16)> di32;
    const hn::Half<decltype(di32)> di32h;
    const hn::Repartition<int64_t, decltype(d16)> di64;
    const hn::Repartition<uint32_t, decltype(d16)> du32;
    const hn::Half<decltype(du32)> du32h;
    const hn::Repartition<uint64_t, decltype(d16)> d64;
    constexpr int kFlush16 = 16384;  // 2 * 32768 * 16384 = 2^30
    const int lanes = (int)hn::Lanes(d16);
    const int last = vecLimit<C>(w, lanes);
    const auto bias = hn::Set(d16, 0x8000);
    const auto ones = hn::Set(di16, 1);
    auto s64 = hn::Zero(di64);
    auto q64 = hn::Zero(d64);
    while (x <= last) {
      auto s32 = hn::Zero(di32), unused = hn::Zero(di32);
      for (int k = 0; k < kFlush16 && x <= last; ++k, x += lanes) {
        auto v = loadChannel<C>(d16, p + (ptrdiff_t)x * C);
        if constexpr (Masked) {
          const auto mb = hn::PromoteTo(d16, hn::LoadU(d8, m + x));
          v = hn::AndNot(hn::VecFromMask(d16, hn::Eq(mb, hn::Zero(d16))), v);
        }
        const auto t = hn::BitCast(di16, hn::Xor(v, bias));
        s32 = hn::ReorderWidenMulAccumulate(di32, t, ones, s32, unused);
        if constexpr (WithQ) {
          const auto sq =
              hn::BitCast(du32, hn::ReorderWidenMulAccumulate(di32, t, t, hn::Zero(di32), unused));
          q64 = hn::Add(q64, hn::PromoteTo(d64, hn::LowerHalf(du32h, sq)));
          q64 = hn::Add(q64, hn::PromoteTo(d64, hn::UpperHalf(du32h, sq)));
        }
      }
      s64 = hn::Add(s64, hn::PromoteTo(di64, hn::LowerHalf(di32h, s32)));
      s64 = hn::Add(s64, hn::PromoteTo(di64, hn::UpperHalf(di32h, s32)));
    }
    const long long st = (long long)hn::GetLane(hn::SumOfLanes(di64, s64));
    r.s += st + 32768ll * x;
    if constexpr (WithQ) {
      const i128 qt = (i128)hn::GetLane(hn::SumOfLanes(d64, q64));
      r.q += (uint64_t)(qt + (i128)65536 * st + ((i128)x << 30));
    }
  }
#endif
  long long s = 0;
  uint64_t q = 0;
  for (; x < w; ++x) {
    if (Masked && !m[x]) continue;
    const uint64_t v = p[(ptrdiff_t)x * C];
    s += (long long)v;
    q += v * v;
  }
  r.s += s;
  r.q += q;
}

template <class T, int C, bool Masked, bool WithQ>
inline void rowSums(const T* p, const Kvp8u* m, int w, RowSums& r) {
  if constexpr (sizeof(T) == 1)
    rowSums8<T, C, Masked, WithQ>(p, m, w, r);
  else
    rowSums16<C, Masked, WithQ>(p, m, w, r);
  r.n += Masked ? countSelected(m, w) : w;
}

// Mean (and, when pStd is given, the standard deviation) of an integer
// channel; p points at the channel in use.
template <class T, int C, bool Masked, bool WithQ>
void meanStdInt(const T* p, int step, const Kvp8u* m, int mStep, KvpiSize roi, Kvp64f* pMean, Kvp64f* pStd) {
  struct Part {
    long long n = 0, s = 0;
    u128 q = 0;
  };
  Part parts[kMaxTeam];
  const int team = forRowBands(roi.height, threadedArea(roi), [&](int y0, int rows, int t) {
    Part part;
    for (int y = y0; y < y0 + rows; ++y) {
      RowSums r;
      rowSums<T, C, Masked, WithQ>(rowAt(p, step, y), Masked ? rowAt(m, mStep, y) : nullptr, roi.width, r);
      part.n += r.n;
      part.s += r.s;
      part.q += r.q;
    }
    parts[t] = part;
  });
  Part tot;
  for (int t = 0; t < team; ++t) {
    tot.n += parts[t].n;
    tot.s += parts[t].s;
    tot.q += parts[t].q;
  }
  if (tot.n == 0) {
    if (pMean) *pMean = 0.0;
    if (pStd) *pStd = 0.0;
    return;
  }
  const double n = (double)tot.n;
  if (pMean) *pMean = (double)tot.s / n;
  if (pStd) {
    const u128 d = (u128)tot.n * tot.q - (u128)((i128)tot.s * tot.s);
    *pStd = std::sqrt((double)d) / n;
  }
}

// ---- 32f sums ----------------------------------------------------------------------

constexpr int kBlocks = 64;

// Adds one row into the eight lanes (lane = column mod 8) of s and q:
// d = v - K, s += d, q += d * d over the selected pixels. An unselected
// pixel is replaced by K (a float, so d is exactly +0.0, which leaves every
// lane as it is: no lane is ever -0.0).
template <int C, bool Masked, bool WithQ>
void rowLanes(const float* p, const Kvp8u* m, int w, double k, double s[8], double q[8]) {
  int x = 0;
#if KVP_HAVE_HWY
  {
    const hn::CappedTag<float, 8> df;
    const hn::Half<decltype(df)> dfh;
    const hn::Rebind<double, decltype(dfh)> dd;
    const hn::Rebind<uint8_t, decltype(df)> d8;
    const hn::Rebind<uint32_t, decltype(df)> du;
    constexpr int lf = (int)hn::MaxLanes(df), ld = lf / 2, groups = 8 / lf, nv = 8 / ld;
    static_assert(lf >= 2 && 8 % lf == 0);
    hn::Vec<decltype(dd)> vs[nv], vq[nv];
    for (int j = 0; j < nv; ++j) {
      vs[j] = hn::LoadU(dd, s + j * ld);
      vq[j] = hn::LoadU(dd, q + j * ld);
    }
    const auto kd = hn::Set(dd, k);
    const auto kf = hn::Set(df, (float)k);
    alignas(32) float gathered[8];
    for (; x + 8 <= w; x += 8) {
      if constexpr (C != 1)
        for (int i = 0; i < 8; ++i) gathered[i] = p[(ptrdiff_t)(x + i) * C];
      for (int g = 0; g < groups; ++g) {
        auto v = C == 1 ? hn::LoadU(df, p + x + g * lf) : hn::Load(df, gathered + g * lf);
        if constexpr (Masked) {
          const auto mb = hn::PromoteTo(du, hn::LoadU(d8, m + x + g * lf));
          v = hn::IfThenElse(hn::RebindMask(df, hn::Eq(mb, hn::Zero(du))), kf, v);
        }
        const auto d0 = hn::Sub(hn::PromoteTo(dd, hn::LowerHalf(dfh, v)), kd);
        const auto d1 = hn::Sub(hn::PromoteTo(dd, hn::UpperHalf(dfh, v)), kd);
        vs[2 * g] = hn::Add(vs[2 * g], d0);
        vs[2 * g + 1] = hn::Add(vs[2 * g + 1], d1);
        if constexpr (WithQ) {
          vq[2 * g] = hn::Add(vq[2 * g], hn::Mul(d0, d0));
          vq[2 * g + 1] = hn::Add(vq[2 * g + 1], hn::Mul(d1, d1));
        }
      }
    }
    for (int j = 0; j < nv; ++j) {
      hn::StoreU(vs[j], dd, s + j * ld);
      hn::StoreU(vq[j], dd, q + j * ld);
    }
  }
#endif
  for (; x < w; ++x) {
    if (Masked && !m[x]) continue;
    const double d = (double)p[(ptrdiff_t)x * C] - k;
    s[x & 7] = s[x & 7] + d;
    if (WithQ) q[x & 7] = q[x & 7] + d * d;
  }
}

inline double fold8(const double l[8]) {
  return ((l[0] + l[1]) + (l[2] + l[3])) + ((l[4] + l[5]) + (l[6] + l[7]));
}

// The first selected value in row-major order; false when none.
template <int C, bool Masked>
bool firstSelected(const float* p, int step, const Kvp8u* m, int mStep, KvpiSize roi, float& v) {
  for (int y = 0; y < roi.height; ++y) {
    const float* r = rowAt(p, step, y);
    if (!Masked) {
      v = r[0];
      return true;
    }
    const Kvp8u* rm = rowAt(m, mStep, y);
    for (int x = 0; x < roi.width; ++x)
      if (rm[x]) {
        v = r[(ptrdiff_t)x * C];
        return true;
      }
  }
  return false;
}

template <int C, bool Masked, bool WithQ>
void meanStd32f(const float* p, int step, const Kvp8u* m, int mStep, KvpiSize roi, Kvp64f* pMean,
                Kvp64f* pStd) {
  float first;
  if (!firstSelected<C, Masked>(p, step, m, mStep, roi, first)) {
    if (pMean) *pMean = 0.0;
    if (pStd) *pStd = 0.0;
    return;
  }
  const double k = (double)first;
  struct Block {
    long long n;
    double s, q;
  };
  Block blocks[kBlocks];
  const long long h = roi.height;
  forRowBands(kBlocks, threadedArea(roi), [&](int b0, int nb, int) {
    for (int b = b0; b < b0 + nb; ++b) {
      const int y0 = (int)(b * h / kBlocks), y1 = (int)((b + 1) * h / kBlocks);
      double s[8] = {0, 0, 0, 0, 0, 0, 0, 0}, q[8] = {0, 0, 0, 0, 0, 0, 0, 0};
      long long n = 0;
      for (int y = y0; y < y1; ++y) {
        const Kvp8u* rm = Masked ? rowAt(m, mStep, y) : nullptr;
        rowLanes<C, Masked, WithQ>(rowAt(p, step, y), rm, roi.width, k, s, q);
        n += Masked ? countSelected(rm, roi.width) : roi.width;
      }
      blocks[b] = Block{n, fold8(s), WithQ ? fold8(q) : 0.0};
    }
  });
  long long n = 0;
  double s = 0.0, q = 0.0;
  for (int b = 0; b < kBlocks; ++b) {
    n += blocks[b].n;
    s = s + blocks[b].s;
    q = q + blocks[b].q;
  }
  if (!std::isfinite(s)) {
    if (pMean) *pMean = quietNaN();
    if (pStd) *pStd = quietNaN();
    return;
  }
  const double dn = (double)n;
  if (pMean) *pMean = k + s / dn;
  if (pStd) {
    double var = (q - (s * s) / dn) / dn;
    if (var < 0.0) var = 0.0;
    *pStd = std::sqrt(var);
  }
}

template <class T, int C, bool Masked, bool WithQ>
KvpStatus meanStd(const T* p, int step, const Kvp8u* m, int mStep, KvpiSize roi, int coi, Kvp64f* pMean,
                  Kvp64f* pStd) {
  if (KvpStatus st = checkStats<T, C, Masked>(p, step, m, mStep, roi, coi, pMean || pStd)) return st;
  if (C == 3) p += coi - 1;
  if constexpr (std::is_same_v<T, Kvp32f>)
    meanStd32f<C, Masked, WithQ>(p, step, m, mStep, roi, pMean, pStd);
  else
    meanStdInt<T, C, Masked, WithQ>(p, step, m, mStep, roi, pMean, pStd);
  return kvpStsOk;
}

// ---- extrema ---------------------------------------------------------------------------

// Extrema of the selected values of one row, as keys that order like the
// values: integers as unsigned lanes (signed bytes with the sign bit
// flipped), floats as themselves with NaNs left out. any: some value took
// part.
template <class K>
struct RowExt {
  K mn, mx;
  bool any;
};

template <class T>
struct KeyType {
  using type = std::make_unsigned_t<T>;
};
template <>
struct KeyType<float> {
  using type = float;
};
template <class T>
using KeyOf = typename KeyType<T>::type;

template <class T>
inline KeyOf<T> keyOf(T v) {
  if constexpr (std::is_same_v<T, float>)
    return v;
  else if constexpr (std::is_signed_v<T>)
    return (KeyOf<T>)((KeyOf<T>)v ^ 0x80u);
  else
    return v;
}

// Whether pixel x takes part.
template <class T, bool Masked>
inline bool takesPart(T v, const Kvp8u* m, int x) {
  if (Masked && !m[x]) return false;
  if constexpr (std::is_same_v<T, float>) return v == v;
  return true;
}

template <class T, int C, bool Masked>
RowExt<KeyOf<T>> rowExtrema(const T* p, const Kvp8u* m, int w) {
  using K = KeyOf<T>;
  constexpr bool kFloat = std::is_same_v<T, float>;
  K mn = kFloat ? (K)HUGE_VALF : std::numeric_limits<K>::max();
  K mx = kFloat ? (K)-HUGE_VALF : (K)0;
  int x = 0;
#if KVP_HAVE_HWY
  {
    const hn::ScalableTag<K> d;
    const int lanes = (int)hn::Lanes(d);
    const int last = vecLimit<C>(w, lanes);
    if (x <= last) {
      auto vmn = hn::Set(d, mn), vmx = hn::Set(d, mx);
      for (; x <= last; x += lanes) {
        auto v = loadChannel<C>(d, reinterpret_cast<const K*>(p) + (ptrdiff_t)x * C);
        if constexpr (std::is_signed_v<T> && !kFloat) v = hn::Xor(v, hn::Set(d, (K)0x80));
        if constexpr (kFloat) {
          if constexpr (Masked) {
            // Unselected pixels become NaNs (exponent and quiet bit set).
            const hn::Rebind<uint8_t, decltype(d)> d8;
            const hn::Rebind<uint32_t, decltype(d)> du;
            const auto off = hn::BitCast(
                d, hn::VecFromMask(du, hn::Eq(hn::PromoteTo(du, hn::LoadU(d8, m + x)), hn::Zero(du))));
            v = hn::Or(v, hn::And(off, hn::BitCast(d, hn::Set(du, 0x7FC00000u))));
          }
          // The x86 minimum and maximum give their second operand when
          // either is NaN: NaNs leave the accumulators as they are.
          vmn = hn::Min(v, vmn);
          vmx = hn::Max(v, vmx);
        } else if constexpr (Masked) {
          // Unselected pixels become the neutral key of each side.
          hn::Vec<decltype(d)> off;
          if constexpr (sizeof(K) == 1) {
            off = hn::VecFromMask(d, hn::Eq(hn::LoadU(d, m + x), hn::Zero(d)));
          } else {
            const hn::Rebind<uint8_t, decltype(d)> d8;
            off = hn::VecFromMask(d, hn::Eq(hn::PromoteTo(d, hn::LoadU(d8, m + x)), hn::Zero(d)));
          }
          vmn = hn::Min(vmn, hn::Or(v, off));
          vmx = hn::Max(vmx, hn::AndNot(off, v));
        } else {
          vmn = hn::Min(vmn, v);
          vmx = hn::Max(vmx, v);
        }
      }
#if HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_SSE4
      mn = hn::GetLane(hn::MinOfLanes(d, vmn));
      mx = hn::GetLane(hn::MaxOfLanes(d, vmx));
#else
      // Wider targets lack the byte-lane reductions: through memory.
      alignas(64) K a[2][hn::MaxLanes(d)];
      hn::Store(vmn, d, a[0]);
      hn::Store(vmx, d, a[1]);
      for (int i = 0; i < lanes; ++i) {
        mn = a[0][i] < mn ? a[0][i] : mn;
        mx = a[1][i] > mx ? a[1][i] : mx;
      }
#endif
    }
  }
#endif
  for (; x < w; ++x) {
    const T v = p[(ptrdiff_t)x * C];
    if (!takesPart<T, Masked>(v, m, x)) continue;
    const K k = keyOf(v);
    mn = k < mn ? k : mn;
    mx = k > mx ? k : mx;
  }
  // Some value took part exactly when the minimum does not exceed the
  // maximum (with none, both keep their neutral start, the minimum above).
  const bool any = !(mn > mx);
  return {mn, mx, any};
}

// One extreme with its location; found is false while nothing took part.
template <class T>
struct Extreme {
  bool found = false;
  KeyOf<T> key{};
  T value{};
  int x = -1, y = -1;
};

// The first column of row y whose selected value has the given key.
template <class T, int C, bool Masked>
int firstColumn(const T* r, const Kvp8u* m, int w, KeyOf<T> key) {
  for (int x = 0; x < w; ++x) {
    const T v = r[(ptrdiff_t)x * C];
    if (takesPart<T, Masked>(v, m, x) && keyOf(v) == key) return x;
  }
  return -1;  // not reached: the row holds the key
}

template <class T, int C, bool Masked>
KvpStatus minMaxIndx(const T* p, int step, const Kvp8u* m, int mStep, KvpiSize roi, int coi, Kvp32f* pMinVal,
                     Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex) {
  const bool anyOut = pMinVal || pMaxVal || pMinIndex || pMaxIndex;
  if (KvpStatus st = checkStats<T, C, Masked>(p, step, m, mStep, roi, coi, anyOut)) return st;
  if (C == 3) p += coi - 1;
  struct Band {
    Extreme<T> mn, mx;
  };
  Band bands[kMaxTeam];
  const int team = forRowBands(roi.height, threadedArea(roi), [&](int y0, int rows, int t) {
    Band b;
    for (int y = y0; y < y0 + rows; ++y) {
      const auto r =
          rowExtrema<T, C, Masked>(rowAt(p, step, y), Masked ? rowAt(m, mStep, y) : nullptr, roi.width);
      if (!r.any) continue;
      if (!b.mn.found || r.mn < b.mn.key) b.mn.found = true, b.mn.key = r.mn, b.mn.y = y;
      if (!b.mx.found || r.mx > b.mx.key) b.mx.found = true, b.mx.key = r.mx, b.mx.y = y;
    }
    for (Extreme<T>* e : {&b.mn, &b.mx}) {
      if (!e->found) continue;
      const T* r = rowAt(p, step, e->y);
      const Kvp8u* rm = Masked ? rowAt(m, mStep, e->y) : nullptr;
      e->x = firstColumn<T, C, Masked>(r, rm, roi.width, e->key);
      e->value = r[(ptrdiff_t)e->x * C];
    }
    bands[t] = b;
  });
  Extreme<T> mn, mx;
  for (int t = 0; t < team; ++t) {
    const Band& b = bands[t];
    if (b.mn.found && (!mn.found || b.mn.key < mn.key)) mn = b.mn;
    if (b.mx.found && (!mx.found || b.mx.key > mx.key)) mx = b.mx;
  }
  // Nothing selected: values 0, locations {-1, -1}.
  if (pMinVal) *pMinVal = mn.found ? (Kvp32f)mn.value : 0.0f;
  if (pMaxVal) *pMaxVal = mx.found ? (Kvp32f)mx.value : 0.0f;
  if (pMinIndex) *pMinIndex = KvpiPoint{mn.x, mn.y};
  if (pMaxIndex) *pMaxIndex = KvpiPoint{mx.x, mx.y};
  return kvpStsOk;
}

}  // namespace
}  // namespace kvp::stats

// Masked norms: Norm, NormDiff and NormRel of kind Inf, L1 and L2 over one
// channel (C1MR) or one channel of interest of three (C3CMR).
//
// One kernel per kind (Acc<Kind, S> below), templated over the element type;
// the channel layout is the element stride C and the channel offset. The
// driver norm() does the checks, the threading and the final division.
//
// Integer sources are exact: |s| or s*s (or of s1 - s2) is summed per row in
// blocks small enough for a 32-bit accumulator (64-bit for 16u squares),
// rows into an unsigned 128-bit total; the total converts to double once.
//
// 32f sources are summed in single precision in four lanes (lane = column
// mod 4, restarting at each row), the lanes are added and the total rounded
// to single precision; that total is widened to double.
//
// Partial results and thread counts: the rows are cut into a fixed set of
// chunks that depends only on the height (min(height, kMaxTeam) chunks, cut
// as the row bands are cut), never on the number of threads. Every chunk is
// summed on its own from zero (for 32f: its own four lanes, rounded to a
// single-precision chunk total), threads take whole chunks, and after the
// parallel region the chunk partials are combined in chunk order (32f chunk
// totals added in single precision). The value therefore does not depend on
// how many threads ran: a single-precision sum split at thread-dependent
// band boundaries would round differently at every team size.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/bodies.h"
#include "frame/checks.h"
#include "frame/parallel.h"
#include "frame/simd.h"

namespace kvp::arith {
namespace {

enum Kind { kInf, kL1, kL2 };
enum Op { kNorm, kDiff, kRel };

using u128 = unsigned __int128;

// |s| (or |s1 - s2|) as the unsigned magnitude of an integer element.
template <class S>
inline unsigned magI(S a) {
  const int v = (int)a;
  return (unsigned)(v < 0 ? -v : v);
}
template <class S>
inline unsigned magI(S a, S b) {
  const int v = (int)a - (int)b;
  return (unsigned)(v < 0 ? -v : v);
}

// ---- integer kernels ---------------------------------------------------------

// Block accumulator: 32-bit unless 16-bit squares are summed.
template <Kind K, class S>
using BlockAcc = std::conditional_t<K == kL2 && sizeof(S) == 2, uint64_t, uint32_t>;

// 65536 elements of 255^2, of 65535 or of 65535^2 (in 64 bits) fit the block.
constexpr int kBlock = 65536;

// Sum over one row of |a| (b null) or |a - b| (L1) or their squares (L2).
template <Kind K, int C, bool Two, class S>
uint64_t rowSumI(const S* a, const S* b, const Kvp8u* m, int w) {
  using B = BlockAcc<K, S>;
  uint64_t total = 0;
  for (int x0 = 0; x0 < w; x0 += kBlock) {
    const int n = w - x0 < kBlock ? w - x0 : kBlock;
    const S* pa = a + (long long)x0 * C;
    const S* pb = Two ? b + (long long)x0 * C : pa;
    const Kvp8u* pm = m + x0;
    B acc = 0;
#pragma omp simd reduction(+ : acc)
    for (int i = 0; i < n; ++i) {
      const unsigned v = Two ? magI(pa[i * C], pb[i * C]) : magI(pa[i * C]);
      // A square of a 16-bit magnitude fits 32 bits; only the sum needs 64.
      const B t = K == kL1 ? (B)v : (B)(v * v);
      acc += pm[i] ? t : (B)0;
    }
    total += acc;
  }
  return total;
}

// The magnitudes of 8-bit elements and of their differences fit 8 bits,
// those of 16-bit elements 16 bits: the maximum runs in lanes of the
// element's width.
template <int C, bool Two, class S>
unsigned rowMaxI(const S* a, const S* b, const Kvp8u* m, int w) {
  using U = std::make_unsigned_t<S>;
  U mx = 0;
#pragma omp simd reduction(max : mx)
  for (int i = 0; i < w; ++i) {
    U v;
    if constexpr (Two) {
      const S x = a[i * C], y = b[i * C];
      v = x > y ? (U)((U)x - (U)y) : (U)((U)y - (U)x);
    } else {
      const S x = a[i * C];
      v = x < 0 ? (U)(0u - (U)x) : (U)x;
    }
    const U t = m[i] ? v : (U)0;
    mx = t > mx ? t : mx;
  }
  return mx;
}

// ---- single-precision kernels --------------------------------------------------

template <Kind K, bool Two>
inline float termF(float a, float b) {
  const float d = Two ? a - b : a;
  return K == kL1 ? std::fabs(d) : d * d;
}

// Adds one row into the four lanes: element x goes to lane x mod 4.
template <Kind K, int C, bool Two>
void rowLanesF(float lane[4], const float* a, const float* b, const Kvp8u* m, int w) {
  const float* pb = Two ? b : a;
  int x = 0;
#if KVP_HAVE_HWY
  {
    // The four lanes are one 128-bit vector on every target; an unselected
    // element leaves its lane as it was (adding 0.0f would turn a -0 lane
    // into +0).
    const hn::Full128<float> df;
    const hn::Full128<uint32_t> du;
    const hn::Full32<uint8_t> d8;
    auto acc = hn::LoadU(df, lane);
    auto load4 = [&](const float* p) {
      if constexpr (C == 1)
        return hn::LoadU(df, p);
      else {
        alignas(16) const float v[4] = {p[0], p[C], p[2 * C], p[3 * C]};
        return hn::Load(df, v);
      }
    };
    for (; x + 4 <= w; x += 4) {
      const auto va = load4(a + (ptrdiff_t)x * C);
      auto d = Two ? hn::Sub(va, load4(pb + (ptrdiff_t)x * C)) : va;
      const auto t = K == kL1 ? hn::Abs(d) : hn::Mul(d, d);
      const auto sel = hn::Ne(hn::PromoteTo(du, hn::LoadU(d8, m + x)), hn::Zero(du));
      acc = hn::IfThenElse(hn::RebindMask(df, sel), hn::Add(acc, t), acc);
    }
    hn::StoreU(acc, df, lane);
  }
#endif
  float l0 = lane[0], l1 = lane[1], l2 = lane[2], l3 = lane[3];
  for (; x + 4 <= w; x += 4) {
    const float t0 = termF<K, Two>(a[(x + 0) * C], pb[(x + 0) * C]);
    const float t1 = termF<K, Two>(a[(x + 1) * C], pb[(x + 1) * C]);
    const float t2 = termF<K, Two>(a[(x + 2) * C], pb[(x + 2) * C]);
    const float t3 = termF<K, Two>(a[(x + 3) * C], pb[(x + 3) * C]);
    l0 = m[x + 0] ? l0 + t0 : l0;
    l1 = m[x + 1] ? l1 + t1 : l1;
    l2 = m[x + 2] ? l2 + t2 : l2;
    l3 = m[x + 3] ? l3 + t3 : l3;
  }
  float* tail[3] = {&l0, &l1, &l2};
  for (int j = 0; x < w; ++x, ++j)
    if (m[x]) *tail[j] = *tail[j] + termF<K, Two>(a[x * C], pb[x * C]);
  lane[0] = l0, lane[1] = l1, lane[2] = l2, lane[3] = l3;
}

template <int C, bool Two>
float rowMaxF(const float* a, const float* b, const Kvp8u* m, int w) {
  float mx = 0.0f;
  const float* pb = Two ? b : a;
#pragma omp simd reduction(max : mx)
  for (int i = 0; i < w; ++i) {
    const float v = Two ? std::fabs(a[i * C] - pb[i * C]) : std::fabs(a[i * C]);
    const float t = m[i] ? v : 0.0f;
    mx = t > mx ? t : mx;
  }
  return mx;
}

// ---- one kernel per kind: partial type, chunk sum, combination, value ----------

template <Kind K, class S>
struct Acc;

// Integer sums.
template <Kind K, class S>
requires(K != kInf && !std::is_floating_point_v<S>) struct Acc<K, S> {
  using P = u128;
  static P zero() { return 0; }
  template <int C, bool Two>
  static P chunk(const S* a, int aStep, const S* b, int bStep, const Kvp8u* m, int mStep, int y0, int rows,
                 int w) {
    P s = 0;
    for (int y = y0; y < y0 + rows; ++y)
      s += rowSumI<K, C, Two>(rowAt(a, aStep, y), Two ? rowAt(b, bStep, y) : nullptr, rowAt(m, mStep, y), w);
    return s;
  }
  static P combine(P x, P y) { return x + y; }
  static double value(P p) { return K == kL2 ? std::sqrt((double)p) : (double)p; }
};

// Integer maxima.
template <class S>
requires(!std::is_floating_point_v<S>) struct Acc<kInf, S> {
  using P = unsigned;
  static P zero() { return 0; }
  template <int C, bool Two>
  static P chunk(const S* a, int aStep, const S* b, int bStep, const Kvp8u* m, int mStep, int y0, int rows,
                 int w) {
    P mx = 0;
    for (int y = y0; y < y0 + rows; ++y) {
      const P r =
          rowMaxI<C, Two>(rowAt(a, aStep, y), Two ? rowAt(b, bStep, y) : nullptr, rowAt(m, mStep, y), w);
      mx = r > mx ? r : mx;
    }
    return mx;
  }
  static P combine(P x, P y) { return x > y ? x : y; }
  static double value(P p) { return (double)p; }
};

// Single-precision sums: four lanes per chunk, the chunk total rounded to
// single precision, chunk totals added in single precision.
template <Kind K>
requires(K != kInf) struct Acc<K, float> {
  using P = float;
  static P zero() { return 0.0f; }
  template <int C, bool Two>
  static P chunk(const float* a, int aStep, const float* b, int bStep, const Kvp8u* m, int mStep, int y0,
                 int rows, int w) {
    float lane[4] = {0.0f, 0.0f, 0.0f, 0.0f};
    for (int y = y0; y < y0 + rows; ++y)
      rowLanesF<K, C, Two>(lane, rowAt(a, aStep, y), Two ? rowAt(b, bStep, y) : nullptr, rowAt(m, mStep, y),
                           w);
    // The lanes are added exactly (in double; four floats of one sign) and
    // the total rounded once to single precision.
    return (float)(((double)lane[0] + (double)lane[1]) + ((double)lane[2] + (double)lane[3]));
  }
  static P combine(P x, P y) { return x + y; }
  static double value(P p) { return K == kL2 ? std::sqrt((double)p) : (double)p; }
};

template <>
struct Acc<kInf, float> {
  using P = float;
  static P zero() { return 0.0f; }
  template <int C, bool Two>
  static P chunk(const float* a, int aStep, const float* b, int bStep, const Kvp8u* m, int mStep, int y0,
                 int rows, int w) {
    float mx = 0.0f;
    for (int y = y0; y < y0 + rows; ++y) {
      const float r =
          rowMaxF<C, Two>(rowAt(a, aStep, y), Two ? rowAt(b, bStep, y) : nullptr, rowAt(m, mStep, y), w);
      mx = r > mx ? r : mx;
    }
    return mx;
  }
  static P combine(P x, P y) { return x > y ? x : y; }
  static double value(P p) { return (double)p; }
};

// ---- driver --------------------------------------------------------------------

// Threads for the norms: area >= T * 32768 on a processor with more than one
// core, or area >= T * 131072.
bool threadedArea(KvpiSize roi) {
  const long long area = (long long)roi.width * roi.height;
  const long long t = ownGetNumThreads();
  if (area >= t * 131072) return true;
  return area >= t * 32768 && kvpGetNumCoresOnDie() != 1;
}

double relNaN() {
  const uint64_t bits = 0xFFF8000000000000ull;
  double d;
  std::memcpy(&d, &bits, sizeof d);
  return d;
}

// C is 1 or 3; for C == 3 the sources are offset to the channel of interest.
template <Op O, Kind K, int C, class S>
KvpStatus norm(const S* s1, int s1Step, const S* s2, int s2Step, const Kvp8u* m, int mStep, KvpiSize roi,
               int coi, Kvp64f* pValue) {
  using A = Acc<K, S>;
  using P = typename A::P;
  constexpr bool Two = O != kNorm;

  KvpStatus st;
  if constexpr (Two)
    st = checkPlanes(roi, {plane(s1, s1Step, C), plane(s2, s2Step, C), plane(m, mStep)}, {pValue});
  else
    st = checkPlanes(roi, {plane(s1, s1Step, C), plane(m, mStep)}, {pValue});
  if (st) return st;
  if (C == 3 && (coi < 1 || coi > 3)) return kvpStsBadCoi;
  if (C == 3) {
    s1 += coi - 1;
    if (Two) s2 += coi - 1;
  }

  // Fixed chunks of rows, cut like row bands: chunk c starts at c * per,
  // the last one takes the remainder.
  const int chunks = roi.height < kMaxTeam ? roi.height : kMaxTeam;
  const int per = roi.height / chunks, rem = roi.height % chunks;
  P a[kMaxTeam], b[kMaxTeam];  // a: the difference (or the source); b: NormRel's src2
  const bool threaded = !(O == kDiff && K == kInf) && threadedArea(roi);
  forRowBands(chunks, threaded, [&](int c0, int nc, int) {
    for (int c = c0; c < c0 + nc; ++c) {
      const int y0 = c * per, rows = per + (c == chunks - 1 ? rem : 0);
      a[c] = A::template chunk<C, Two>(s1, s1Step, s2, s2Step, m, mStep, y0, rows, roi.width);
      if constexpr (O == kRel)
        b[c] = A::template chunk<C, false>(s2, s2Step, nullptr, 0, m, mStep, y0, rows, roi.width);
    }
  });
  P ta = A::zero(), tb = A::zero();
  for (int c = 0; c < chunks; ++c) {
    ta = A::combine(ta, a[c]);
    if constexpr (O == kRel) tb = A::combine(tb, b[c]);
  }

  const double num = A::value(ta);
  if constexpr (O != kRel) {
    *pValue = num;
    return kvpStsOk;
  } else {
    const double den = A::value(tb);
    if (den == 0.0) {
      *pValue = num == 0.0 ? relNaN() : (num > 0.0 ? HUGE_VAL : -HUGE_VAL);
      return kvpStsDivByZero;
    }
    *pValue = num / den;
    return kvpStsOk;
  }
}

}  // namespace
}  // namespace kvp::arith

using namespace kvp::arith;

// ---- exported bodies -------------------------------------------------------------

#define KVP_NORM_ONE(KIND, TS, T)                                                                      \
  KvpStatus KVP_BODY(kvpiNorm_##KIND##_##TS##_C1MR)(const T* pSrc, int srcStep, const Kvp8u* pMask,    \
                                                    int maskStep, KvpiSize roiSize, Kvp64f* pValue) {  \
    return norm<kNorm, k##KIND, 1>(pSrc, srcStep, (const T*)nullptr, 0, pMask, maskStep, roiSize, 1,   \
                                   pValue);                                                            \
  }                                                                                                    \
  KvpStatus KVP_BODY(kvpiNorm_##KIND##_##TS##_C3CMR)(const T* pSrc, int srcStep, const Kvp8u* pMask,   \
                                                     int maskStep, KvpiSize roiSize, int coi,          \
                                                     Kvp64f* pValue) {                                 \
    return norm<kNorm, k##KIND, 3>(pSrc, srcStep, (const T*)nullptr, 0, pMask, maskStep, roiSize, coi, \
                                   pValue);                                                            \
  }

#define KVP_NORM_TWO(OPNAME, OP, KIND, TS, T)                                                              \
  KvpStatus KVP_BODY(kvpi##OPNAME##_##KIND##_##TS##_C1MR)(const T* pSrc1, int src1Step, const T* pSrc2,    \
                                                          int src2Step, const Kvp8u* pMask, int maskStep,  \
                                                          KvpiSize roiSize, Kvp64f* pValue) {              \
    return norm<OP, k##KIND, 1>(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep, roiSize, 1, pValue);    \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpi##OPNAME##_##KIND##_##TS##_C3CMR)(const T* pSrc1, int src1Step, const T* pSrc2,   \
                                                           int src2Step, const Kvp8u* pMask, int maskStep, \
                                                           KvpiSize roiSize, int coi, Kvp64f* pValue) {    \
    return norm<OP, k##KIND, 3>(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep, roiSize, coi, pValue);  \
  }

#define KVP_NORM_ALL(KIND, TS, T)            \
  KVP_NORM_ONE(KIND, TS, T)                  \
  KVP_NORM_TWO(NormDiff, kDiff, KIND, TS, T) \
  KVP_NORM_TWO(NormRel, kRel, KIND, TS, T)

#define KVP_NORM_KINDS(TS, T) \
  KVP_NORM_ALL(Inf, TS, T)    \
  KVP_NORM_ALL(L1, TS, T)     \
  KVP_NORM_ALL(L2, TS, T)

KVP_NORM_KINDS(8u, Kvp8u)
KVP_NORM_KINDS(8s, Kvp8s)
KVP_NORM_KINDS(16u, Kvp16u)
KVP_NORM_KINDS(32f, Kvp32f)

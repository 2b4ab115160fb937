// Masked norms: Inf, L1 and L2 of an image, of the difference of two
// images, and of that difference relative to the second image, over one
// channel or one channel of interest of three.
//
// Integer sources are exact: maxima in 32 bits, sums in 64 bits (enough for
// any ROI). Float sources take differences in single precision and sum in
// four single-precision lanes (lane = x mod 4 within a row); the lanes are
// added as (l0 + l1) + (l2 + l3) and rounded to single precision, and the
// per-thread totals are added in single precision in thread order. The
// exported value is that single-precision total widened to double (square
// root taken after widening for L2).
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/bodies.h"
#include "frame/checks.h"
#include "frame/parallel.h"

namespace kvp::norm {
namespace {

enum class Kind { Inf, L1, L2 };

// One accumulator of a kind: exact integers or single-precision lanes.
template <class T, Kind K>
struct Acc {
  static constexpr bool kFloat = std::is_floating_point_v<T>;
  using Sum = std::conditional_t<kFloat, float, uint64_t>;
  Sum lanes[4] = {0, 0, 0, 0};  // integers use lanes[0] only
  uint32_t maxInt = 0;
  float maxFloat = 0.f;

  // Single-precision (float) or exact (integer) total.
  Sum total() const {
    if constexpr (kFloat)
      return (lanes[0] + lanes[1]) + (lanes[2] + lanes[3]);
    else
      return lanes[0];
  }
};

// Absolute value of one sample, or of the difference of two, in the
// source's arithmetic (single precision for float, exact for integers).
template <class T>
inline auto absOf(T a) {
  if constexpr (std::is_floating_point_v<T>)
    return std::fabs(a);
  else
    return (uint32_t)(a < 0 ? -(int32_t)a : (int32_t)a);
}
template <class T>
inline auto absDiffOf(T a, T b) {
  if constexpr (std::is_floating_point_v<T>)
    return std::fabs(a - b);
  else
    return (uint32_t)(a > b ? (int32_t)a - (int32_t)b : (int32_t)b - (int32_t)a);
}

// The value a pixel contributes before accumulation: |s1| or |s1 - s2|.
template <bool Diff, int Ch, class T>
inline auto pixelAbs(const T* s1, const T* s2, int x) {
  if constexpr (Diff)
    return absDiffOf(s1[x * Ch], s2[x * Ch]);
  else
    return absOf(s1[x * Ch]);
}

// Accumulates one row. Ch is the pixel stride in elements; the caller has
// offset the row pointers to the channel of interest.
template <Kind K, bool Diff, int Ch, class T>
void accumulateRow(const T* s1, const T* s2, const Kvp8u* m, int w, Acc<T, K>& acc) {
  if constexpr (std::is_floating_point_v<T>) {
    if constexpr (K == Kind::Inf) {
      float mx = acc.maxFloat;
      for (int x = 0; x < w; ++x) {
        const float v = m[x] ? pixelAbs<Diff, Ch>(s1, s2, x) : 0.f;
        mx = v > mx ? v : mx;
      }
      acc.maxFloat = mx;
    } else {
      const auto value = [&](int i) {
        const float v = pixelAbs<Diff, Ch>(s1, s2, i);
        return m[i] ? (K == Kind::L1 ? v : v * v) : 0.f;
      };
      float l0 = acc.lanes[0], l1 = acc.lanes[1], l2 = acc.lanes[2], l3 = acc.lanes[3];
      int x = 0;
      for (; x + 4 <= w; x += 4) {
        l0 += value(x);
        l1 += value(x + 1);
        l2 += value(x + 2);
        l3 += value(x + 3);
      }
      float tail[4] = {l0, l1, l2, l3};
      for (; x < w; ++x) tail[x & 3] += value(x);
      for (int i = 0; i < 4; ++i) acc.lanes[i] = tail[i];
    }
  } else {
    if constexpr (K == Kind::Inf) {
      uint32_t mx = acc.maxInt;
#pragma omp simd reduction(max : mx)
      for (int x = 0; x < w; ++x) {
        const uint32_t v = m[x] ? (uint32_t)pixelAbs<Diff, Ch>(s1, s2, x) : 0u;
        mx = v > mx ? v : mx;
      }
      acc.maxInt = mx;
    } else if constexpr (sizeof(T) == 1) {
      // 65536 squares of 8-bit values fit in 32 bits: sum in chunks.
      for (int x0 = 0; x0 < w; x0 += 65536) {
        const int x1 = w - x0 < 65536 ? w : x0 + 65536;
        uint32_t sum = 0;
#pragma omp simd reduction(+ : sum)
        for (int x = x0; x < x1; ++x) {
          const uint32_t v = (uint32_t)pixelAbs<Diff, Ch>(s1, s2, x);
          sum += m[x] ? (K == Kind::L1 ? v : v * v) : 0u;
        }
        acc.lanes[0] += sum;
      }
    } else {
      uint64_t sum = 0;
#pragma omp simd reduction(+ : sum)
      for (int x = 0; x < w; ++x) {
        const uint64_t v = (uint64_t)pixelAbs<Diff, Ch>(s1, s2, x);
        sum += m[x] ? (K == Kind::L1 ? v : v * v) : 0u;
      }
      acc.lanes[0] += sum;
    }
  }
}

// The norm of a finished accumulator, as the exported value.
template <class T, Kind K>
double finish(const Acc<T, K>& a) {
  if constexpr (K == Kind::Inf) {
    if constexpr (std::is_floating_point_v<T>)
      return (double)a.maxFloat;
    else
      return (double)a.maxInt;
  } else {
    const double t = (double)a.total();
    return K == Kind::L2 ? std::sqrt(t) : t;
  }
}

// Combines per-thread accumulators in thread order.
template <class T, Kind K>
Acc<T, K> combine(const Acc<T, K>* parts, int n) {
  Acc<T, K> all = parts[0];
  for (int t = 1; t < n; ++t) {
    if constexpr (K == Kind::Inf) {
      if (parts[t].maxInt > all.maxInt) all.maxInt = parts[t].maxInt;
      if (parts[t].maxFloat > all.maxFloat) all.maxFloat = parts[t].maxFloat;
    } else if constexpr (std::is_floating_point_v<T>) {
      // Each thread's lanes are first folded to its single-precision total.
      const float sum = all.total() + parts[t].total();
      all.lanes[0] = sum;
      all.lanes[1] = all.lanes[2] = all.lanes[3] = 0.f;
    } else {
      all.lanes[0] += parts[t].lanes[0];
    }
  }
  return all;
}

enum class Op { Norm, Diff, Rel };

bool threadedNorm(KvpiSize roi) {
  const long long area = (long long)roi.width * roi.height;
  const long long t = ownGetNumThreads();
  return (area >= t * 32768 && kvpGetNumCoresOnDie() != 1) || area >= t * 131072;
}

// The family driver: checks, row bands with per-thread partials, result.
template <Op O, Kind K, int Ch, class T>
KvpStatus run(const T* s1, int s1Step, const T* s2, int s2Step, const Kvp8u* m, int mStep, KvpiSize roi,
              int coi, double* pValue) {
  KvpStatus st;
  if constexpr (O == Op::Norm)
    st = checkPlanes(roi, {plane(s1, s1Step, Ch), plane(m, mStep)}, {pValue});
  else
    st = checkPlanes(roi, {plane(s1, s1Step, Ch), plane(s2, s2Step, Ch), plane(m, mStep)}, {pValue});
  if (st) return st;
  if (Ch == 3 && (coi < 1 || coi > 3)) return kvpStsBadCoi;
  const int c = Ch == 3 ? coi - 1 : 0;

  const bool threaded = !(O == Op::Diff && K == Kind::Inf) && threadedNorm(roi);
  Acc<T, K> diff[kMaxTeam], ref[kMaxTeam];
  const int team = forRowBands(roi.height, threaded, [&](int y0, int rows, int t) {
    Acc<T, K> d, r;
    for (int y = y0; y < y0 + rows; ++y) {
      const T* a = rowAt(s1, s1Step, y) + c;
      const Kvp8u* mr = rowAt(m, mStep, y);
      if constexpr (O == Op::Norm) {
        accumulateRow<K, false, Ch, T>(a, nullptr, mr, roi.width, d);
      } else {
        const T* b = rowAt(s2, s2Step, y) + c;
        accumulateRow<K, true, Ch, T>(a, b, mr, roi.width, d);
        if constexpr (O == Op::Rel) accumulateRow<K, false, Ch, T>(b, nullptr, mr, roi.width, r);
      }
    }
    diff[t] = d;
    ref[t] = r;
  });
  const double num = finish(combine(diff, team));
  if constexpr (O != Op::Rel) {
    *pValue = num;
    return kvpStsOk;
  } else {
    const double den = finish(combine(ref, team));
    if (den != 0.0) {
      *pValue = num / den;
      return kvpStsOk;
    }
    if (num == 0.0) {
      const uint64_t bits = 0xFFF8000000000000ull;  // quiet NaN, sign bit set
      std::memcpy(pValue, &bits, sizeof bits);
    } else {
      *pValue = num > 0 ? INFINITY : -INFINITY;
    }
    return kvpStsDivByZero;
  }
}

}  // namespace
}  // namespace kvp::norm

using kvp::norm::Kind;
using kvp::norm::Op;

#define KVP_NORM_BODIES(KIND, TS, T)                                                                          \
  KvpStatus KVP_BODY(kvpiNorm_##KIND##_##TS##_C1MR)(const T* pSrc, int srcStep, const Kvp8u* pMask,            \
                                                    int maskStep, KvpiSize roiSize, Kvp64f* pValue) {          \
    return kvp::norm::run<Op::Norm, Kind::KIND, 1, T>(pSrc, srcStep, nullptr, 0, pMask, maskStep, roiSize, 1, \
                                                      pValue);                                                \
  }                                                                                                           \
  KvpStatus KVP_BODY(kvpiNorm_##KIND##_##TS##_C3CMR)(const T* pSrc, int srcStep, const Kvp8u* pMask,           \
                                                     int maskStep, KvpiSize roiSize, int coi, Kvp64f* pValue) { \
    return kvp::norm::run<Op::Norm, Kind::KIND, 3, T>(pSrc, srcStep, nullptr, 0, pMask, maskStep, roiSize,    \
                                                      coi, pValue);                                           \
  }                                                                                                           \
  KVP_NORM2_BODIES(NormDiff, Diff, KIND, TS, T)                                                               \
  KVP_NORM2_BODIES(NormRel, Rel, KIND, TS, T)

#define KVP_NORM2_BODIES(NAME, OP, KIND, TS, T)                                                              \
  KvpStatus KVP_BODY(kvpi##NAME##_##KIND##_##TS##_C1MR)(const T* pSrc1, int src1Step, const T* pSrc2,         \
                                                        int src2Step, const Kvp8u* pMask, int maskStep,       \
                                                        KvpiSize roiSize, Kvp64f* pValue) {                   \
    return kvp::norm::run<Op::OP, Kind::KIND, 1, T>(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep,       \
                                                    roiSize, 1, pValue);                                     \
  }                                                                                                          \
  KvpStatus KVP_BODY(kvpi##NAME##_##KIND##_##TS##_C3CMR)(const T* pSrc1, int src1Step, const T* pSrc2,        \
                                                         int src2Step, const Kvp8u* pMask, int maskStep,      \
                                                         KvpiSize roiSize, int coi, Kvp64f* pValue) {         \
    return kvp::norm::run<Op::OP, Kind::KIND, 3, T>(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep,       \
                                                    roiSize, coi, pValue);                                   \
  }

#define KVP_NORM_TYPES(KIND)        \
  KVP_NORM_BODIES(KIND, 8u, Kvp8u)  \
  KVP_NORM_BODIES(KIND, 8s, Kvp8s)  \
  KVP_NORM_BODIES(KIND, 16u, Kvp16u) \
  KVP_NORM_BODIES(KIND, 32f, Kvp32f)

KVP_NORM_TYPES(Inf)
KVP_NORM_TYPES(L1)
KVP_NORM_TYPES(L2)

// Fuzzes the masked norms (Norm, NormDiff, NormRel of kind Inf, L1, L2; 8u,
// 8s, 16u, 32f; one channel or one channel of interest of three): arbitrary
// sizes, steps, offsets, null pointers, masks, channels of interest and
// thread counts. Every call must return the status its arguments call for,
// write the result only on success (or on the zero-denominator warning),
// leave its inputs alone, and give the reference value: exact for the
// integer types, exact for 32f sums that no summation order can round,
// within the rounding any order allows otherwise; the same bits again with
// one thread.
#include <cfloat>
#include <cmath>
#include <cstring>
#include <optional>
#include <type_traits>

#include "fuzz_planes.h"

namespace {

constexpr long long kMaxPlaneBytes = 1 << 20;
constexpr long long kMaxBigPlaneBytes = 3 << 20;
// Enough pixels for the threaded path at up to three threads.
constexpr int kThreadArea = 3 * 32768;

enum class Op { Norm, Diff, Rel };
enum class Kind { Inf, L1, L2 };

template <Op O, Kind K, class S, int C>
struct Traits {
  static constexpr Op kOp = O;
  static constexpr Kind kKind = K;
  static constexpr int kChans = C;
  static constexpr bool kTwo = O != Op::Norm;
  using Src = S;
};

template <class Tr, auto Fn>
KvpStatus call(const typename Tr::Src* a, int as, const typename Tr::Src* b, int bs, const Kvp8u* m, int ms,
               KvpiSize roi, int coi, Kvp64f* v) {
  if constexpr (!Tr::kTwo) {
    if constexpr (Tr::kChans == 1)
      return Fn(a, as, m, ms, roi, v);
    else
      return Fn(a, as, m, ms, roi, coi, v);
  } else {
    if constexpr (Tr::kChans == 1)
      return Fn(a, as, b, bs, m, ms, roi, v);
    else
      return Fn(a, as, b, bs, m, ms, roi, coi, v);
  }
}

// What is known of a norm's value: exactly, within [lo, hi], NaN, or
// nothing (a maximum over NaNs, which has no defined value).
struct Est {
  enum What { Exact, Range, NaN, Unknown } what;
  double lo = 0, hi = 0;
};

// The exponent of the lowest set bit of a finite non-zero float.
int lowBitExponent(float f) {
  const uint32_t b = kvf::bitsOf(f);
  const int biased = (int)((b >> 23) & 0xff);
  const uint32_t mant = (b & 0x7fffff) | (biased ? 0x800000u : 0u);
  return (biased ? biased : 1) - 150 + __builtin_ctz(mant);
}

// The norm of kind K over the selected pixels (channel ch of C): of a, or
// of a - b.
template <Kind K, class S>
KVF_NO_COVERAGE Est reference(const kvf::GuardedPlane& a, const kvf::GuardedPlane* b,
                              const kvf::GuardedPlane& m, int w, int h, int C, int ch) {
  const uint8_t *ra = nullptr, *rb = nullptr;
  auto at = [&](const uint8_t* row, int x) {
    S v;
    std::memcpy(&v, row + ((size_t)x * C + ch) * sizeof(S), sizeof(S));
    return v;
  };
  if constexpr (!std::is_floating_point_v<S>) {
    // Exact: every sum here stays far below 2^53.
    uint64_t sum = 0, mx = 0;
    for (int y = 0; y < h; ++y) {
      const uint8_t* rm = m.row(y);
      ra = a.row(y), rb = b ? b->row(y) : nullptr;
      for (int x = 0; x < w; ++x) {
        if (!rm[x]) continue;
        long long d = (long long)at(ra, x) - (rb ? (long long)at(rb, x) : 0);
        const uint64_t v = (uint64_t)(d < 0 ? -d : d);
        mx = v > mx ? v : mx;
        sum += K == Kind::L2 ? v * v : v;
      }
    }
    if (K == Kind::Inf) return {Est::Exact, (double)mx, (double)mx};
    const double v = K == Kind::L2 ? std::sqrt((double)sum) : (double)sum;
    return {Est::Exact, v, v};
  } else {
    // Terms in single precision as the rule computes them: s or s1 - s2,
    // then its absolute value or its square.
    bool nan = false, inf = false;
    float mx = 0.f;
    double sum = 0;
    long long n = 0;
    int emin = 1000;
    for (int y = 0; y < h; ++y) {
      const uint8_t* rm = m.row(y);
      ra = a.row(y), rb = b ? b->row(y) : nullptr;
      for (int x = 0; x < w; ++x) {
        if (!rm[x]) continue;
        const float d = rb ? at(ra, x) - at(rb, x) : at(ra, x);
        const float t = K == Kind::L2 ? d * d : std::fabs(d);
        if (std::isnan(t)) {
          nan = true;
          continue;
        }
        if (std::isinf(t)) inf = true;
        mx = t > mx ? t : mx;
        if (t != 0.f && !std::isinf(t)) {
          const int e = lowBitExponent(t);
          emin = e < emin ? e : emin;
        }
        sum += t;
        ++n;
      }
    }
    if (K == Kind::Inf) {
      if (nan) return {Est::Unknown};
      return {Est::Exact, (double)mx, (double)mx};
    }
    auto f = [](double s) { return K == Kind::L2 ? std::sqrt(s) : s; };
    if (nan) return {Est::NaN};
    if (inf) return {Est::Exact, HUGE_VAL, HUGE_VAL};
    // All terms are multiples of 2^emin; while the total stays below
    // 2^24 of those units every partial sum is a float, in any order.
    // A total past the largest float ends as infinity, in any order.
    if (sum == 0 || sum < std::ldexp(1.0, 24 + emin)) {
      const double v = sum > (double)FLT_MAX ? HUGE_VAL : f(sum);
      return {Est::Exact, v, v};
    }
    // Otherwise any order of float additions errs by at most about
    // n * 2^-24 of the total (the terms are all non-negative).
    const double tol = sum * (double)(n + 8) * 0x1p-24 * 1.01;
    double lo = sum - tol, hi = sum + tol;
    if (hi >= (double)FLT_MAX) hi = HUGE_VAL;
    return {Est::Range, f(lo), f(hi)};
  }
}

bool within(double v, double lo, double hi) {
  return !std::isnan(v) && v >= lo - std::fabs(lo) * 1e-12 && v <= hi + std::fabs(hi) * 1e-12;
}

// Checks value v (with status st) against the estimate of a Norm or NormDiff.
void checkPlain(const Est& e, KvpStatus st, double v) {
  KVF_REQUIRE(st == kvpStsOk, "status %d, expected success", (int)st);
  switch (e.what) {
    case Est::Exact:
      KVF_REQUIRE(kvf::bitsOf(v) == kvf::bitsOf(e.lo), "value %a, expected %a", v, e.lo);
      break;
    case Est::Range:
      KVF_REQUIRE(within(v, e.lo, e.hi), "value %a outside [%a, %a]", v, e.lo, e.hi);
      break;
    case Est::NaN:
      KVF_REQUIRE(std::isnan(v), "value %a, expected NaN", v);
      break;
    case Est::Unknown:
      break;
  }
}

// NormRel: NormDiff over Norm of the second image, with the zero-denominator
// rule.
void checkRel(const Est& num, const Est& den, KvpStatus st, double v) {
  if (num.what == Est::Unknown || den.what == Est::Unknown) {
    KVF_REQUIRE(st == kvpStsOk || st == kvpStsDivByZero, "status %d", (int)st);
    return;
  }
  if (den.what == Est::NaN) {
    KVF_REQUIRE(st == kvpStsOk, "status %d with a NaN denominator", (int)st);
    KVF_REQUIRE(std::isnan(v), "value %a, expected NaN", v);
    return;
  }
  if (den.what == Est::Exact && den.lo == 0) {
    KVF_REQUIRE(st == kvpStsDivByZero, "status %d with a zero denominator", (int)st);
    if (num.what == Est::Exact && num.lo == 0)
      KVF_REQUIRE(kvf::bitsOf(v) == 0xFFF8000000000000ull, "0/0 gave %a (bits %llx)", v,
                  (unsigned long long)kvf::bitsOf(v));
    else if (num.what != Est::NaN)  // a NaN numerator has no sign: left open
      KVF_REQUIRE(v == HUGE_VAL, "x/0 gave %a", v);
    return;
  }
  KVF_REQUIRE(st == kvpStsOk, "status %d with a non-zero denominator", (int)st);
  if (num.what == Est::NaN) {
    KVF_REQUIRE(std::isnan(v), "value %a, expected NaN", v);
    return;
  }
  if (num.what == Est::Exact && den.what == Est::Exact) {
    const double q = num.lo / den.lo;
    if (std::isnan(q))
      KVF_REQUIRE(std::isnan(v), "value %a, expected NaN", v);
    else
      KVF_REQUIRE(kvf::bitsOf(v) == kvf::bitsOf(q), "value %a, expected %a", v, q);
    return;
  }
  const double lo = num.lo / den.hi, hi = num.hi / den.lo;
  if (std::isnan(lo) || std::isnan(hi)) return;
  // Totals near the top of the float range may both round to infinity.
  if (std::isnan(v) && std::isinf(num.hi) && std::isinf(den.hi)) return;
  KVF_REQUIRE(within(v, lo, hi), "value %a outside [%a, %a]", v, lo, hi);
}

int pickCoi(kvf::Stream& in) {
  const uint8_t how = in.byte();
  if (how < 16) return in.raw<int32_t>();
  if (how < 40) return (int)(how % 6) - 1;  // -1 .. 4
  return 1 + how % 3;
}

// Planes in argument order: source 1, source 2, mask.
enum { kS1, kS2, kMask, kPlanes };
using Planes = std::optional<kvf::GuardedPlane>[kPlanes];

template <class S, int C, bool Two>
KVF_NO_COVERAGE void fill(kvf::Stream& in, Planes& g, int width, int height) {
  for (int y = 0; y < height; ++y) {
    uint8_t* r1 = g[kS1]->row(y);
    uint8_t* r2 = Two ? g[kS2]->row(y) : nullptr;
    uint8_t* rm = g[kMask]->row(y);
    for (int x = 0; x < width; ++x) {
      rm[x] = kvf::pickMask(in);
      for (int c = 0; c < C; ++c) {
        const S a = kvf::pickElem<S>(in);
        // Often equal, so that differences vanish.
        const S b = in.byte() < 64 ? a : kvf::pickElem<S>(in);
        std::memcpy(r1 + ((size_t)x * C + c) * sizeof(S), &a, sizeof(S));
        if (Two) std::memcpy(r2 + ((size_t)x * C + c) * sizeof(S), &b, sizeof(S));
      }
    }
  }
}

template <class Tr, auto Fn>
void run(kvf::Stream& in) {
  using S = typename Tr::Src;
  constexpr int C = Tr::kChans;
  const int threads = kvf::setThreads(in);
  const kvf::Dims dims = kvf::readDims(in, kThreadArea);
  const KvpiSize roi = dims.roi;

  kvf::PlaneDesc p[kPlanes];
  p[kS1].used = true, p[kS1].elem = sizeof(S), p[kS1].chans = C;
  p[kS2].used = Tr::kTwo, p[kS2].elem = sizeof(S), p[kS2].chans = C;
  p[kMask].used = true;
  const uint8_t nulls = in.byte();
  for (int i = 0; i < kPlanes; ++i) {
    p[i].step = kvf::readStep(in, p[i].rowBytes(roi.width > 0 ? roi.width : 0), p[i].elem, dims.big);
    p[i].lead = (size_t)in.intIn(0, 31) * p[i].elem;
    p[i].null = (nulls & 7) == 0 ? ((nulls >> 3) % (kPlanes + 1) == i || nulls == 0) : false;
  }
  const bool valueNull = (nulls & 7) == 0 && ((nulls >> 3) % (kPlanes + 1) == kPlanes || nulls == 0);
  const int coi = C == 3 ? pickCoi(in) : 1;

  KvpStatus expect = kvf::commonStatus(p, kPlanes, roi.width, roi.height, valueNull);
  if (expect == kvpStsOk && C == 3 && (coi < 1 || coi > 3)) expect = kvpStsBadCoi;
  const long long maxBytes = dims.big ? kMaxBigPlaneBytes : kMaxPlaneBytes;
  // A call expected to get past the checks needs planes that can be laid out.
  if (expect == kvpStsOk && !kvf::planesFit(p, kPlanes, roi.width, roi.height, maxBytes)) return;

  Planes g;
  const bool laidOut = kvf::buildPlanes(p, kPlanes, roi.width, roi.height, maxBytes, g, in.byte());
  if (laidOut) fill<S, C, Tr::kTwo>(in, g, roi.width, roi.height);
  // The result lies between guards, at any 8-byte offset.
  kvf::GuardedPlane value(8, 1, 8, (size_t)in.intIn(0, 3) * 8, in.byte());
  for (auto& plane : g)
    if (plane) plane->arm();
  value.arm();

  auto ptr = [&](int i) -> const uint8_t* { return p[i].used && !p[i].null ? g[i]->roi() : nullptr; };
  auto invoke = [&](Kvp64f* out) {
    return call<Tr, Fn>(reinterpret_cast<const S*>(ptr(kS1)), p[kS1].step,
                        reinterpret_cast<const S*>(ptr(kS2)), p[kS2].step, ptr(kMask), p[kMask].step, roi,
                        coi, out);
  };
  const KvpStatus st = invoke(valueNull ? nullptr : value.as<Kvp64f>());

  KVF_REQUIRE(kvf::isLibraryStatus(st), "status %d is not one of the library's", (int)st);
  for (int i = 0; i < kPlanes; ++i)
    if (p[i].used) KVF_REQUIRE(g[i]->unchanged(), "input plane %d was written", i);
  if (expect != kvpStsOk) {
    KVF_REQUIRE(st == expect, "status %d, expected %d (w %d h %d steps %d %d %d coi %d)", (int)st,
                (int)expect, roi.width, roi.height, p[0].step, p[1].step, p[2].step, coi);
    KVF_REQUIRE(value.unchanged(), "a failing call wrote the result (status %d)", (int)st);
    return;
  }
  KVF_REQUIRE(st == kvpStsOk || (Tr::kOp == Op::Rel && st == kvpStsDivByZero), "status %d, expected success",
              (int)st);
  KVF_REQUIRE(value.guardsIntact(), "a write beside the result");
  double v;
  std::memcpy(&v, value.roi(), 8);

  const int ch = coi - 1;
  const Est a = reference<Tr::kKind, S>(*g[kS1], Tr::kTwo ? &*g[kS2] : nullptr, *g[kMask], roi.width,
                                        roi.height, C, ch);
  if (Tr::kOp == Op::Rel)
    checkRel(a, reference<Tr::kKind, S>(*g[kS2], nullptr, *g[kMask], roi.width, roi.height, C, ch), st, v);
  else
    checkPlain(a, st, v);

  // The same bits with one thread (the partial sums must not depend on
  // how the rows were shared out).
  if (threads > 1) {
    kvpSetNumThreads(1);
    Kvp64f again = 0;
    const KvpStatus st1 = invoke(&again);
    KVF_REQUIRE(st1 == st, "status %d with one thread, %d with %d", (int)st1, (int)st, threads);
    KVF_REQUIRE(kvf::bitsOf(again) == kvf::bitsOf(v), "value %a with one thread, %a with %d", again, v,
                threads);
  }
}

using Runner = void (*)(kvf::Stream&);

template <Op O, Kind K, class S, int C, auto Fn>
constexpr Runner entry = &run<Traits<O, K, S, C>, Fn>;

#define KVF_NORM_OP(OP, NAME, KIND, TS, T)                            \
  entry<Op::OP, Kind::KIND, T, 1, kvpi##NAME##_##KIND##_##TS##_C1MR>, \
      entry<Op::OP, Kind::KIND, T, 3, kvpi##NAME##_##KIND##_##TS##_C3CMR>
#define KVF_NORM_KIND(KIND, TS, T)                                                \
  KVF_NORM_OP(Norm, Norm, KIND, TS, T), KVF_NORM_OP(Diff, NormDiff, KIND, TS, T), \
      KVF_NORM_OP(Rel, NormRel, KIND, TS, T)
#define KVF_NORM_TYPE(TS, T) KVF_NORM_KIND(Inf, TS, T), KVF_NORM_KIND(L1, TS, T), KVF_NORM_KIND(L2, TS, T)

const Runner kRunners[] = {
    KVF_NORM_TYPE(8u, Kvp8u),
    KVF_NORM_TYPE(8s, Kvp8s),
    KVF_NORM_TYPE(16u, Kvp16u),
    KVF_NORM_TYPE(32f, Kvp32f),
};
constexpr int kCount = sizeof kRunners / sizeof kRunners[0];
static_assert(kCount == 72);

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader reader(data, size);
  const uint8_t which = reader.byte();
  kvf::Stream in(reader);
  kRunners[which % kCount](in);
  return 0;
}

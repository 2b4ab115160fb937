// Masked norms against plain references: exact integer sums, the
// single-precision four-lane sums of 32f, argument checks and their order,
// NormRel's zero-denominator rule, identical values at every thread count.
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>

#include "arith_ref.h"
#include "harness.h"

namespace {

using kvt::Plane;

using ar::Kind;
using ar::kInf;
using ar::kL1;
using ar::kL2;
enum Op { kNorm, kDiff, kRel };

// Every member as (src1, step1, src2, step2, mask, maskStep, roi, coi, pValue);
// Norm ignores src2, C1MR ignores coi.
template <class S>
using Call =
    std::function<KvpStatus(const S*, int, const S*, int, const Kvp8u*, int, KvpiSize, int, Kvp64f*)>;

template <class S>
struct Member {
  const char* name;
  Op op;
  Kind kind;
  int channels;
  Call<S> call;
};

#define NM_ONE(KIND, TS, T)                                                                             \
  Member<T>{"Norm_" #KIND "_" #TS "_C1MR", kNorm, k##KIND, 1,                                           \
            [](const T* a, int as, const T*, int, const Kvp8u* m, int ms, KvpiSize r, int, Kvp64f* v) { \
              return kvpiNorm_##KIND##_##TS##_C1MR(a, as, m, ms, r, v);                                 \
            }},                                                                                         \
      Member<T> {                                                                                       \
    "Norm_" #KIND "_" #TS "_C3CMR", kNorm, k##KIND, 3,                                                  \
        [](const T* a, int as, const T*, int, const Kvp8u* m, int ms, KvpiSize r, int c, Kvp64f* v) {   \
          return kvpiNorm_##KIND##_##TS##_C3CMR(a, as, m, ms, r, c, v);                                 \
        }                                                                                               \
  }
#define NM_TWO(OPN, OP, KIND, TS, T)                                                                         \
  Member<T>{#OPN "_" #KIND "_" #TS "_C1MR", OP, k##KIND, 1,                                                  \
            [](const T* a, int as, const T* b, int bs, const Kvp8u* m, int ms, KvpiSize r, int, Kvp64f* v) { \
              return kvpi##OPN##_##KIND##_##TS##_C1MR(a, as, b, bs, m, ms, r, v);                            \
            }},                                                                                              \
      Member<T> {                                                                                            \
#OPN "_" #KIND "_" #TS "_C3CMR", OP, k##KIND, 3,                                                         \
        [](const T* a, int as, const T* b, int bs, const Kvp8u* m, int ms, KvpiSize r, int c,                \
           Kvp64f* v) { return kvpi##OPN##_##KIND##_##TS##_C3CMR(a, as, b, bs, m, ms, r, c, v); }            \
  }
#define NM_KIND(KIND, TS, T) \
  NM_ONE(KIND, TS, T), NM_TWO(NormDiff, kDiff, KIND, TS, T), NM_TWO(NormRel, kRel, KIND, TS, T)
#define NM_TYPE(TS, T) \
  std::vector<Member<T>> { NM_KIND(Inf, TS, T), NM_KIND(L1, TS, T), NM_KIND(L2, TS, T) }

template <class S>
std::vector<Member<S>> members();
template <>
std::vector<Member<Kvp8u>> members() {
  return NM_TYPE(8u, Kvp8u);
}
template <>
std::vector<Member<Kvp8s>> members() {
  return NM_TYPE(8s, Kvp8s);
}
template <>
std::vector<Member<Kvp16u>> members() {
  return NM_TYPE(16u, Kvp16u);
}
template <>
std::vector<Member<Kvp32f>> members() {
  return NM_TYPE(32f, Kvp32f);
}

template <class S>
S randomSample(kvt::Rng& rng) {
  if constexpr (std::is_floating_point_v<S>)
    return std::uniform_real_distribution<float>(-300.f, 300.f)(rng);
  else
    return (S)std::uniform_int_distribution<int>(std::numeric_limits<S>::min(),
                                                 std::numeric_limits<S>::max())(rng);
}

uint64_t bitsOf(double d) {
  uint64_t b;
  std::memcpy(&b, &d, sizeof b);
  return b;
}

template <class S>
void runRandom() {
  kvt::Rng rng = kvt::makeRng(sizeof(S) * 7 + std::is_signed_v<S>);
  const std::vector<KvpiSize> sizes =
      kvt::smallRun() ? std::vector<KvpiSize>{{1, 1}, {7, 1}, {17, 9}, {5, 300}}
                      : std::vector<KvpiSize>{{1, 1},   {1, 7},   {7, 1},    {3, 5},     {17, 9},
                                              {31, 33}, {5, 300}, {333, 41}, {1001, 300}};
  for (const Member<S>& mb : members<S>()) {
    for (KvpiSize sz : sizes) {
      SCOPED_TRACE(std::string(mb.name) + " " + kvt::describe(sz));
      Plane<S> a(sz.width, sz.height, mb.channels, rng), b(sz.width, sz.height, mb.channels, rng);
      Plane<Kvp8u> m(sz.width, sz.height, 1, rng);
      a.fill([&] { return randomSample<S>(rng); });
      b.fill([&] { return randomSample<S>(rng); });
      std::bernoulli_distribution on(0.6);
      m.fill([&] { return on(rng) ? (Kvp8u)(1 + rng() % 255) : 0; });
      const int coi = mb.channels == 3 ? 1 + (int)(rng() % 3) : 1;
      const int c = coi - 1;
      auto at = [c](const Plane<S>& p) { return [&p, c](int x, int y) { return p.at(x, y, c); }; };
      auto mask = [&](int x, int y) { return m.at(x, y); };
      double expect = ar::norm<S>(mb.kind, sz.width, sz.height, mb.op != kNorm, at(a), at(b), mask);
      if (mb.op == kRel) expect /= ar::norm<S>(mb.kind, sz.width, sz.height, false, at(b), at(b), mask);
      const auto ba = a.bytes(), bb = b.bytes(), bm = m.bytes();
      for (int threads : kvt::threadCounts()) {
        kvt::Threads scope(threads);
        Kvp64f v = -1;
        const KvpStatus st = mb.call(a.roi(), a.step(), b.roi(), b.step(), m.roi(), m.step(), sz, coi, &v);
        if (std::isnan(expect) || std::isinf(expect)) {
          EXPECT_EQ(st, kvpStsDivByZero);
        } else {
          ASSERT_EQ(st, kvpStsOk) << threads;
          EXPECT_EQ(bitsOf(v), bitsOf(expect)) << threads << " threads: " << v << " vs " << expect;
        }
        if ((long long)sz.width * sz.height < 32768) break;  // one thread below the threshold
      }
      EXPECT_TRUE(a.unchanged(ba) && b.unchanged(bb) && m.unchanged(bm));
    }
  }
}

TEST(Norm, Random8u) { runRandom<Kvp8u>(); }
TEST(Norm, Random8s) { runRandom<Kvp8s>(); }
TEST(Norm, Random16u) { runRandom<Kvp16u>(); }
TEST(Norm, Random32f) { runRandom<Kvp32f>(); }

// Extreme integer values: |-128|, 65535^2 sums beyond 32 bits, the largest
// differences.
TEST(Norm, IntegerExtremes) {
  kvt::Rng rng = kvt::makeRng(11);
  const KvpiSize sz{70000, 3};
  Plane<Kvp16u> a(sz.width, sz.height, 1, rng), z(sz.width, sz.height, 1, rng);
  Plane<Kvp8u> m(sz.width, sz.height, 1, rng);
  a.fill([] { return 65535; });
  z.fill([] { return 0; });
  m.fill([] { return 1; });
  const double n = 210000.0;
  for (int threads : {1, 2}) {
    kvt::Threads scope(threads);
    Kvp64f v = 0;
    ASSERT_EQ(kvpiNorm_L2_16u_C1MR(a.roi(), a.step(), m.roi(), m.step(), sz, &v), kvpStsOk);
    EXPECT_EQ(v, std::sqrt(n * 65535.0 * 65535.0));
    ASSERT_EQ(kvpiNormDiff_L1_16u_C1MR(z.roi(), z.step(), a.roi(), a.step(), m.roi(), m.step(), sz, &v),
              kvpStsOk);
    EXPECT_EQ(v, n * 65535.0);
    ASSERT_EQ(kvpiNormDiff_Inf_16u_C1MR(z.roi(), z.step(), a.roi(), a.step(), m.roi(), m.step(), sz, &v),
              kvpStsOk);
    EXPECT_EQ(v, 65535.0);
  }
  Plane<Kvp8s> s(sz.width, sz.height, 1, rng), t(sz.width, sz.height, 1, rng);
  s.fill([] { return -128; });
  t.fill([] { return 127; });
  Kvp64f v = 0;
  ASSERT_EQ(kvpiNorm_Inf_8s_C1MR(s.roi(), s.step(), m.roi(), m.step(), sz, &v), kvpStsOk);
  EXPECT_EQ(v, 128.0);
  ASSERT_EQ(kvpiNormDiff_L2_8s_C1MR(s.roi(), s.step(), t.roi(), t.step(), m.roi(), m.step(), sz, &v),
            kvpStsOk);
  EXPECT_EQ(v, std::sqrt(n * 255.0 * 255.0));
}

TEST(Norm, RelativeZeroDenominator) {
  kvt::Rng rng = kvt::makeRng(14);
  const KvpiSize sz{9, 5};
  Plane<Kvp8u> a(sz.width, sz.height, 3, rng), b(sz.width, sz.height, 3, rng), m(sz.width, sz.height, 1, rng);
  a.fill([] { return 7; });
  b.fill([] { return 0; });
  m.fill([] { return 0; });
  Kvp64f v = 0;
  // All-zero mask: Norm and NormDiff 0, NormRel NaN with the sign bit.
  EXPECT_EQ(kvpiNorm_L1_8u_C3CMR(a.roi(), a.step(), m.roi(), m.step(), sz, 2, &v), kvpStsOk);
  EXPECT_EQ(v, 0.0);
  EXPECT_EQ(kvpiNormDiff_L2_8u_C3CMR(a.roi(), a.step(), b.roi(), b.step(), m.roi(), m.step(), sz, 2, &v),
            kvpStsOk);
  EXPECT_EQ(v, 0.0);
  for (auto fn : {kvpiNormRel_Inf_8u_C3CMR, kvpiNormRel_L1_8u_C3CMR, kvpiNormRel_L2_8u_C3CMR}) {
    v = 0;
    EXPECT_EQ(fn(a.roi(), a.step(), b.roi(), b.step(), m.roi(), m.step(), sz, 3, &v), kvpStsDivByZero);
    EXPECT_EQ(bitsOf(v), 0xFFF8000000000000ull);
  }
  // Zero denominator, positive numerator: +infinity.
  m.fill([] { return 1; });
  EXPECT_EQ(kvpiNormRel_L1_8u_C3CMR(a.roi(), a.step(), b.roi(), b.step(), m.roi(), m.step(), sz, 1, &v),
            kvpStsDivByZero);
  EXPECT_EQ(v, HUGE_VAL);
  // Identical images over a non-zero second image: 0 and Ok.
  Plane<Kvp32f> f(sz.width, sz.height, 1, rng);
  f.fill([] { return -2.5f; });
  v = 1;
  EXPECT_EQ(kvpiNormRel_L2_32f_C1MR(f.roi(), f.step(), f.roi(), f.step(), m.roi(), m.step(), sz, &v),
            kvpStsOk);
  EXPECT_EQ(bitsOf(v), 0ull);
  v = 1;
  EXPECT_EQ(kvpiNormDiff_Inf_32f_C1MR(f.roi(), f.step(), f.roi(), f.step(), m.roi(), m.step(), sz, &v),
            kvpStsOk);
  EXPECT_EQ(v, 0.0);
}

// The check order, with the value untouched on every failure.
TEST(Norm, ArgumentChecks) {
  kvt::Rng rng = kvt::makeRng(15);
  Plane<Kvp32f> a(10, 4, 3, rng, 0), b(10, 4, 3, rng, 0);
  Plane<Kvp8u> m(10, 4, 1, rng, 0);
  const KvpiSize sz{10, 4};
  const int st = 120;  // 10 * 3 * 4
  auto rel = [&](const Kvp32f* p1, int s1, const Kvp32f* p2, int s2, const Kvp8u* pm, int ms, KvpiSize r,
                 int coi, Kvp64f* v) { return kvpiNormRel_L1_32f_C3CMR(p1, s1, p2, s2, pm, ms, r, coi, v); };
  const Kvp64f sentinel = 12345.0;
  struct Case {
    const Kvp32f *p1, *p2;
    const Kvp8u* pm;
    int s1, s2, ms;
    KvpiSize r;
    int coi;
    bool nullValue;
    KvpStatus want;
  };
  const Case cases[] = {
      {nullptr, b.roi(), m.roi(), st, st, 10, {0, 4}, 0, false, kvpStsNullPtr},
      {a.roi(), nullptr, m.roi(), st, st, 10, sz, 1, false, kvpStsNullPtr},
      {a.roi(), b.roi(), nullptr, st, st, 10, sz, 1, false, kvpStsNullPtr},
      {a.roi(), b.roi(), m.roi(), st, st, 10, sz, 1, true, kvpStsNullPtr},
      {a.roi(), b.roi(), m.roi(), 1, 1, 1, {0, 4}, 0, false, kvpStsBadSize},
      {a.roi(), b.roi(), m.roi(), 1, 1, 1, {10, 0}, 0, false, kvpStsBadSize},
      {a.roi(), b.roi(), m.roi(), 116, st, 9, sz, 0, false, kvpStsBadStep},
      {a.roi(), b.roi(), m.roi(), st, 116, 9, sz, 0, false, kvpStsBadStep},
      {a.roi(), b.roi(), m.roi(), st, st, 9, sz, 0, false, kvpStsBadStep},
      {a.roi(), b.roi(), m.roi(), st + 1, st, 10, sz, 0, false, kvpStsStepNotMultiple},
      {a.roi(), b.roi(), m.roi(), st, st + 2, 10, sz, 0, false, kvpStsStepNotMultiple},
      {a.roi(), b.roi(), m.roi(), st, st, 11, sz, 0, false, kvpStsBadCoi},
      {a.roi(), b.roi(), m.roi(), st, st, 10, sz, 4, false, kvpStsBadCoi},
  };
  for (const Case& c : cases) {
    Kvp64f v = sentinel;
    EXPECT_EQ(rel(c.p1, c.s1, c.p2, c.s2, c.pm, c.ms, c.r, c.coi, c.nullValue ? nullptr : &v), c.want)
        << c.s1 << " " << c.s2 << " " << c.ms << " " << c.coi;
    EXPECT_EQ(v, sentinel);
  }
  // One-byte sources: no multiple test; the step check still comes first.
  Plane<Kvp8s> s(10, 4, 1, rng, 1);
  Kvp64f v = sentinel;
  EXPECT_EQ(kvpiNorm_Inf_8s_C1MR(s.roi(), 11, m.roi(), 10, sz, &v), kvpStsOk);
  EXPECT_EQ(kvpiNorm_Inf_8s_C1MR(s.roi(), 9, m.roi(), 10, sz, &v), kvpStsBadStep);
  EXPECT_EQ(kvpiNorm_Inf_8s_C3CMR(s.roi(), 29, m.roi(), 10, sz, 0, &v), kvpStsBadStep);
  Plane<Kvp16u> u(10, 4, 1, rng, 2);
  v = sentinel;
  EXPECT_EQ(kvpiNormDiff_Inf_16u_C1MR(u.roi(), 21, u.roi(), 22, m.roi(), 10, sz, &v), kvpStsStepNotMultiple);
  EXPECT_EQ(v, sentinel);
}

}  // namespace

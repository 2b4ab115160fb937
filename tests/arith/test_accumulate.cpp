// Accumulation and absolute difference against plain per-pixel references.
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>

#include "arith_ref.h"
#include "harness.h"
#include "targets.h"

namespace {

using kvt::Plane;

// A uniform view of every accumulation member: two sources (the second
// ignored by one-source members), an optional mask, the accumulator.
template <class S>
using AccCall =
    std::function<KvpStatus(const S*, int, const S*, int, const Kvp8u*, int, Kvp32f*, int, KvpiSize)>;
using ar::Op;

// Not in place (Op::WeightedTo), the output starts as noise the call must
// overwrite.
template <class S>
struct AccCase {
  const char* name;
  bool twoSources;
  bool masked;
  AccCall<S> call;
  Op op;
  float alpha = 0.f;
};

template <class S>
S randomSample(kvt::Rng& rng) {
  if constexpr (std::is_floating_point_v<S>) {
    return std::uniform_real_distribution<float>(-300.f, 300.f)(rng);
  } else {
    return (S)std::uniform_int_distribution<int>(std::numeric_limits<S>::min(),
                                                 std::numeric_limits<S>::max())(rng);
  }
}

template <class S>
void runAccCase(const AccCase<S>& c) {
  kvt::Rng rng = kvt::makeRng(std::hash<std::string>{}(c.name));
  for (KvpiSize sz : kvt::sizeSweep()) {
    SCOPED_TRACE(std::string(c.name) + " " + kvt::describe(sz));
    Plane<S> s1(sz.width, sz.height, 1, rng), s2(sz.width, sz.height, 1, rng);
    Plane<Kvp8u> mask(sz.width, sz.height, 1, rng);
    Plane<Kvp32f> acc(sz.width, sz.height, 1, rng);
    s1.fill([&] { return randomSample<S>(rng); });
    s2.fill([&] { return randomSample<S>(rng); });
    // Even rows: each pixel on or off at random; odd rows: runs of about 20
    // pixels on or off, so that whole vector groups are selected or left
    // out.
    std::bernoulli_distribution on(0.5), flip(0.05);
    bool run = false;
    for (int y = 0; y < sz.height; ++y)
      for (int x = 0; x < sz.width; ++x) {
        run = flip(rng) ? !run : run;
        mask.at(x, y) = ((y & 1) ? run : on(rng)) ? (Kvp8u)(1 + rng() % 255) : 0;
      }
    std::uniform_real_distribution<float> av(-1e4f, 1e4f);
    acc.fill([&] { return (rng() % 97 == 0) ? std::numeric_limits<float>::quiet_NaN() : av(rng); });

    Plane<Kvp32f> expect = acc;
    for (int y = 0; y < sz.height; ++y)
      for (int x = 0; x < sz.width; ++x)
        if (!c.masked || mask.at(x, y))
          expect.at(x, y) = ar::accumulate(c.op, acc.at(x, y), (float)s1.at(x, y),
                                           (float)(c.twoSources ? s2.at(x, y) : s1.at(x, y)), c.alpha);

    for (int64_t t : kvt::vectorTargets()) {
      kvt::Target target(t);
      for (int threads : kvt::threadCounts()) {
        kvt::Threads scope(threads);
        Plane<Kvp32f> out = acc;
        const auto before = out.bytes();
        ASSERT_EQ(kvpStsOk, c.call(s1.roi(), s1.step(), s2.roi(), s2.step(), mask.roi(), mask.step(),
                                   out.roi(), out.step(), sz));
        ASSERT_TRUE(kvt::sameRoi(out, expect)) << kvt::targetName(t) << ", threads " << threads;
        ASSERT_TRUE(out.sameOutsideRoi(before));
        if (sz.width * sz.height < 4096) break;  // threading cannot change small images
      }
    }
  }
}

// Binds an exported member to the uniform call shape.
template <class S, class F>
AccCall<S> oneSource(F f) {
  return [f](const S* a, int as, const S*, int, const Kvp8u*, int, Kvp32f* d, int ds, KvpiSize r) {
    return f(a, as, d, ds, r);
  };
}
template <class S, class F>
AccCall<S> oneSourceMasked(F f) {
  return [f](const S* a, int as, const S*, int, const Kvp8u* m, int ms, Kvp32f* d, int ds, KvpiSize r) {
    return f(a, as, m, ms, d, ds, r);
  };
}
template <class S, class F>
AccCall<S> twoSources(F f) {
  return [f](const S* a, int as, const S* b, int bs, const Kvp8u*, int, Kvp32f* d, int ds, KvpiSize r) {
    return f(a, as, b, bs, d, ds, r);
  };
}
template <class S, class F>
AccCall<S> twoSourcesMasked(F f) {
  return [f](const S* a, int as, const S* b, int bs, const Kvp8u* m, int ms, Kvp32f* d, int ds, KvpiSize r) {
    return f(a, as, b, bs, m, ms, d, ds, r);
  };
}
template <class S, class F>
AccCall<S> weighted(F f, float alpha) {
  return [f, alpha](const S* a, int as, const S*, int, const Kvp8u*, int, Kvp32f* d, int ds, KvpiSize r) {
    return f(a, as, d, ds, r, alpha);
  };
}
template <class S, class F>
AccCall<S> weightedTo(F f, float alpha) {
  return [f, alpha](const S* a, int as, const S* b, int bs, const Kvp8u*, int, Kvp32f* d, int ds,
                    KvpiSize r) { return f(a, as, b, bs, d, ds, r, alpha); };
}
template <class S, class F>
AccCall<S> weightedMasked(F f, float alpha) {
  return [f, alpha](const S* a, int as, const S*, int, const Kvp8u* m, int ms, Kvp32f* d, int ds,
                    KvpiSize r) { return f(a, as, m, ms, d, ds, r, alpha); };
}

template <class S>
std::vector<AccCase<S>> casesFor();

#define KVP_ACC_CASES(S, TS)                                                                               \
  template <>                                                                                              \
  std::vector<AccCase<S>> casesFor<S>() {                                                                  \
    const float alpha = 0.3f;                                                                              \
    return {                                                                                               \
        {"AddSquare_" #TS "_C1IR", false, false, oneSource<S>(kvpiAddSquare_##TS##_C1IR), Op::Square},     \
        {"AddSquare_" #TS "_C1IMR", false, true, oneSourceMasked<S>(kvpiAddSquare_##TS##_C1IMR),           \
         Op::Square},                                                                                      \
        {"AddProduct_" #TS "_C1IR", true, false, twoSources<S>(kvpiAddProduct_##TS##_C1IR), Op::Product},  \
        {"AddProduct_" #TS "_C1IMR", true, true, twoSourcesMasked<S>(kvpiAddProduct_##TS##_C1IMR),         \
         Op::Product},                                                                                     \
        {"AddWeighted_" #TS "_C1IR", false, false, weighted<S>(kvpiAddWeighted_##TS##_C1IR, alpha),        \
         Op::Weighted, alpha},                                                                             \
        {"AddWeighted_" #TS "_C1IMR", false, true, weightedMasked<S>(kvpiAddWeighted_##TS##_C1IMR, alpha), \
         Op::Weighted, alpha},                                                                             \
        {"Add_" #TS "_C1IMR", false, true, oneSourceMasked<S>(kvpiAdd_##TS##_C1IMR), Op::Add},             \
    };                                                                                                     \
  }
KVP_ACC_CASES(Kvp8u, 8u32f)
KVP_ACC_CASES(Kvp8s, 8s32f)
KVP_ACC_CASES(Kvp16u, 16u32f)
KVP_ACC_CASES(Kvp32f, 32f)

template <class S>
void runAll(std::vector<AccCase<S>> cases) {
  for (const auto& c : cases) runAccCase(c);
}

TEST(Accumulate, MatchesReference8u) {
  auto cases = casesFor<Kvp8u>();
  cases.push_back({"Add_8u32f_C1IR", false, false, oneSource<Kvp8u>(kvpiAdd_8u32f_C1IR), Op::Add});
  runAll(cases);
}
TEST(Accumulate, MatchesReference8s) {
  auto cases = casesFor<Kvp8s>();
  cases.push_back({"Add_8s32f_C1IR", false, false, oneSource<Kvp8s>(kvpiAdd_8s32f_C1IR), Op::Add});
  runAll(cases);
}
TEST(Accumulate, MatchesReference16u) {
  auto cases = casesFor<Kvp16u>();
  cases.push_back({"Add_16u32f_C1IR", false, false, oneSource<Kvp16u>(kvpiAdd_16u32f_C1IR), Op::Add});
  runAll(cases);
}
// Also the not-in-place member, and weights 0 and 1 (no shortcut: (s - a) *
// 1 + a rounds differently from s).
TEST(Accumulate, MatchesReference32f) {
  auto cases = casesFor<Kvp32f>();
  cases.push_back({"AddWeighted_32f_C1R", true, false, weightedTo<Kvp32f>(kvpiAddWeighted_32f_C1R, 0.7f),
                   Op::WeightedTo, 0.7f});
  for (float alpha : {0.f, 1.f})
    cases.push_back({"AddWeighted_32f_C1IR edge", false, false,
                     weighted<Kvp32f>(kvpiAddWeighted_32f_C1IR, alpha), Op::Weighted, alpha});
  runAll(cases);
}

// Pixels the mask excludes keep every bit, signalling NaNs and NaN payloads
// included: a blend rewritten by the optimiser as an addition of -0 would
// quiet them.
template <class S>
void checkMaskedOutNaNs(const std::vector<AccCase<S>>& cases) {
  kvt::Rng rng = kvt::makeRng(11);
  const uint32_t nans[] = {0x7f800001u, 0xff800001u, 0x7fa00000u, 0x7fc00001u, 0xffc00000u};
  for (const auto& c : cases) {
    if (!c.masked) continue;
    Plane<S> s(37, 3, 1, rng);
    Plane<Kvp8u> mask(37, 3, 1, rng);
    Plane<Kvp32f> acc(37, 3, 1, rng);
    s.fill([&] { return randomSample<S>(rng); });
    mask.fill([&] { return (Kvp8u)(rng() % 2); });
    acc.fill([&] {
      float f;
      std::memcpy(&f, &nans[rng() % 5], 4);
      return f;
    });
    for (int64_t t : kvt::vectorTargets()) {
      kvt::Target target(t);
      Plane<Kvp32f> out = acc;
      ASSERT_EQ(kvpStsOk, c.call(s.roi(), s.step(), s.roi(), s.step(), mask.roi(), mask.step(), out.roi(),
                                 out.step(), out.size()));
      for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 37; ++x) {
          if (!mask.at(x, y)) {
            ASSERT_EQ(0, std::memcmp(&out.at(x, y), &acc.at(x, y), 4))
                << c.name << " " << kvt::targetName(t) << " at " << x;
          }
        }
    }
  }
}

TEST(Accumulate, MaskedOutNaNsKeepTheirBits) {
  checkMaskedOutNaNs(casesFor<Kvp8u>());
  checkMaskedOutNaNs(casesFor<Kvp8s>());
  checkMaskedOutNaNs(casesFor<Kvp16u>());
  checkMaskedOutNaNs(casesFor<Kvp32f>());
}

// ---- absolute differences --------------------------------------------------------------

template <class T, class F>
void checkAbsDiff(F f, int channels) {
  kvt::Rng rng = kvt::makeRng(sizeof(T) * 10 + channels);
  for (KvpiSize sz : kvt::sizeSweep()) {
    SCOPED_TRACE(kvt::describe(sz));
    Plane<T> a(sz.width, sz.height, channels, rng), b(sz.width, sz.height, channels, rng);
    a.fill([&] { return randomSample<T>(rng); });
    b.fill([&] { return randomSample<T>(rng); });
    Plane<T> expect(sz.width, sz.height, channels, rng);
    for (int y = 0; y < sz.height; ++y)
      for (int i = 0; i < sz.width * channels; ++i) {
        expect.row(y)[i] = ar::absDiff(a.row(y)[i], b.row(y)[i]);
      }
    for (int64_t t : kvt::vectorTargets()) {
      kvt::Target target(t);
      for (int threads : kvt::threadCounts()) {
        kvt::Threads scope(threads);
        Plane<T> d(sz.width, sz.height, channels, rng);
        const auto before = d.bytes();
        ASSERT_EQ(kvpStsOk, f(a.roi(), a.step(), b.roi(), b.step(), d.roi(), d.step(), sz));
        ASSERT_TRUE(kvt::sameRoi(d, expect)) << kvt::targetName(t);
        ASSERT_TRUE(d.sameOutsideRoi(before));
        if (sz.width * sz.height < 4096) break;
      }
    }
  }
}

TEST(AbsDiff, MatchesReference) {
  checkAbsDiff<Kvp8u>(kvpiAbsDiff_8u_C1R, 1);
  checkAbsDiff<Kvp8u>(kvpiAbsDiff_8u_C3R, 3);
  checkAbsDiff<Kvp16u>(kvpiAbsDiff_16u_C1R, 1);
  checkAbsDiff<Kvp32f>(kvpiAbsDiff_32f_C1R, 1);
}

// The constants take turns over the sizes: each is clamped once into the
// element range (or not), whatever the size.
template <class T, class V, class F>
void checkAbsDiffC(F f, std::vector<std::pair<V, T>> constants) {
  kvt::Rng rng = kvt::makeRng(sizeof(T) * 100);
  size_t k = 0;
  for (KvpiSize sz : kvt::sizeSweep()) {
    const auto [value, clamped] = constants[k++ % constants.size()];
    Plane<T> a(sz.width, sz.height, 1, rng), d(sz.width, sz.height, 1, rng);
    a.fill([&] { return randomSample<T>(rng); });
    const auto before = d.bytes();
    ASSERT_EQ(kvpStsOk, f(a.roi(), a.step(), d.roi(), d.step(), sz, value));
    for (int y = 0; y < sz.height; ++y)
      for (int x = 0; x < sz.width; ++x) {
        const T e = ar::absDiff(a.at(x, y), clamped);
        ASSERT_EQ(0, std::memcmp(&e, &d.at(x, y), sizeof(T))) << kvt::describe(sz) << " " << x << "," << y;
      }
    ASSERT_TRUE(d.sameOutsideRoi(before));
  }
}

TEST(AbsDiffC, ClampsTheConstant) {
  checkAbsDiffC<Kvp8u, int>(kvpiAbsDiffC_8u_C1R, {{300, 255}, {-5, 0}, {77, 77}});
  checkAbsDiffC<Kvp16u, int>(kvpiAbsDiffC_16u_C1R, {{70000, 65535}, {-1, 0}, {1234, 1234}});
  checkAbsDiffC<Kvp32f, float>(kvpiAbsDiffC_32f_C1R, {{-12.25f, -12.25f}});
}

// ---- argument checks --------------------------------------------------------------------

TEST(AccumulateChecks, OrderAndNoWrite) {
  kvt::Rng rng = kvt::makeRng(11);
  Plane<Kvp8u> src(10, 4, 1, rng), mask(10, 4, 1, rng);
  Plane<Kvp32f> acc(10, 4, 1, rng);
  const auto before = acc.bytes();
  const KvpiSize sz{10, 4};
  auto call = [&](const Kvp8u* s, int ss, const Kvp8u* m, int ms, Kvp32f* a, int as, KvpiSize r) {
    return kvpiAddProduct_8u32f_C1IMR(s, ss, s, ss, m, ms, a, as, r);
  };
  // Pointers before sizes, sizes before steps.
  EXPECT_EQ(kvpStsNullPtr, call(src.roi(), 10, mask.roi(), 10, nullptr, 40, KvpiSize{0, 4}));
  EXPECT_EQ(kvpStsNullPtr, call(src.roi(), 10, nullptr, 10, acc.roi(), 40, sz));
  EXPECT_EQ(kvpStsBadSize, call(src.roi(), 0, mask.roi(), 0, acc.roi(), 0, KvpiSize{0, 4}));
  EXPECT_EQ(kvpStsBadSize, call(src.roi(), 0, mask.roi(), 0, acc.roi(), 0, KvpiSize{10, 0}));
  // Steps: the mask by one byte per pixel, the accumulator by four.
  EXPECT_EQ(kvpStsBadStep, call(src.roi(), 9, mask.roi(), 10, acc.roi(), 42, sz));
  EXPECT_EQ(kvpStsBadStep, call(src.roi(), 10, mask.roi(), 9, acc.roi(), 40, sz));
  EXPECT_EQ(kvpStsBadStep, call(src.roi(), 10, mask.roi(), 10, acc.roi(), 39, sz));
  // Only planes wider than a byte must be multiples of their element size.
  EXPECT_EQ(kvpStsStepNotMultiple, call(src.roi(), 11, mask.roi(), 11, acc.roi(), 42, sz));
  EXPECT_TRUE(acc.unchanged(before));
  EXPECT_EQ(kvpStsOk, call(src.roi(), src.step(), mask.roi(), 11, acc.roi(), acc.step(), sz));

  // A 32f plane of width 10: step 41 is not a multiple, 36 is too short.
  Plane<Kvp32f> f1(10, 2, 1, rng), f2(10, 2, 1, rng);
  EXPECT_EQ(kvpStsStepNotMultiple, kvpiAbsDiff_32f_C1R(f1.roi(), 41, f1.roi(), 40, f2.roi(), 40, {10, 2}));
  EXPECT_EQ(kvpStsBadStep, kvpiAbsDiff_32f_C1R(f1.roi(), 36, f1.roi(), 40, f2.roi(), 40, {10, 2}));
  EXPECT_EQ(kvpStsNullPtr, kvpiAddWeighted_32f_C1R(f1.roi(), 40, nullptr, 40, f2.roi(), 40, {0, 0}, 0.5f));
  EXPECT_EQ(kvpStsNullPtr, kvpiAddProduct_16u32f_C1IR(nullptr, 0, nullptr, 0, nullptr, 0, {0, 0}));
}

TEST(AccumulateChecks, ThreeChannelDifferenceChecksTripledWidth) {
  kvt::Rng rng = kvt::makeRng(12);
  Plane<Kvp8u> a(5, 3, 3, rng), d(5, 3, 3, rng);
  const auto before = d.bytes();
  EXPECT_EQ(kvpStsBadStep, kvpiAbsDiff_8u_C3R(a.roi(), 14, a.roi(), 15, d.roi(), 15, {5, 3}));
  EXPECT_EQ(kvpStsBadStep, kvpiAbsDiff_8u_C3R(a.roi(), 15, a.roi(), 15, d.roi(), 14, {5, 3}));
  EXPECT_TRUE(d.unchanged(before));
  EXPECT_EQ(kvpStsOk, kvpiAbsDiff_8u_C3R(a.roi(), 15, a.roi(), 15, d.roi(), 15, {5, 1}));
}

}  // namespace

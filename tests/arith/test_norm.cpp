// Norms against plain references: exact for integer sources, the
// four-lane single-precision sum for float sources.
#include <cmath>
#include <cstring>
#include <limits>

#include "harness.h"

namespace {

using kvt::Plane;

enum class Kind { Inf, L1, L2 };

// Reference: the norm of s1 (s2 null) or of s1 - s2 over channel c.
template <class T>
double refNorm(Kind k, const Plane<T>& s1, const Plane<T>* s2, const Plane<Kvp8u>& m, int c) {
  if constexpr (std::is_floating_point_v<T>) {
    float lanes[4] = {0, 0, 0, 0}, mx = 0;
    for (int y = 0; y < s1.height(); ++y)
      for (int x = 0; x < s1.width(); ++x) {
        if (!m.at(x, y)) continue;
        const float d = s2 ? s1.at(x, y, c) - s2->at(x, y, c) : s1.at(x, y, c);
        if (k == Kind::Inf) mx = std::max(mx, std::fabs(d));
        else lanes[x & 3] += k == Kind::L1 ? std::fabs(d) : d * d;
      }
    if (k == Kind::Inf) return mx;
    const float total = (lanes[0] + lanes[1]) + (lanes[2] + lanes[3]);
    return k == Kind::L2 ? std::sqrt((double)total) : (double)total;
  } else {
    long long mx = 0, sum = 0;
    for (int y = 0; y < s1.height(); ++y)
      for (int x = 0; x < s1.width(); ++x) {
        if (!m.at(x, y)) continue;
        const long long d = std::llabs((long long)s1.at(x, y, c) - (s2 ? (long long)s2->at(x, y, c) : 0));
        mx = std::max(mx, d);
        sum += k == Kind::L1 ? d : d * d;
      }
    return k == Kind::Inf ? (double)mx : k == Kind::L1 ? (double)sum : std::sqrt((double)sum);
  }
}

template <class T>
using NormC1 = KvpStatus (*)(const T*, int, const Kvp8u*, int, KvpiSize, Kvp64f*);
template <class T>
using NormC3 = KvpStatus (*)(const T*, int, const Kvp8u*, int, KvpiSize, int, Kvp64f*);
template <class T>
using DiffC1 = KvpStatus (*)(const T*, int, const T*, int, const Kvp8u*, int, KvpiSize, Kvp64f*);
template <class T>
using DiffC3 = KvpStatus (*)(const T*, int, const T*, int, const Kvp8u*, int, KvpiSize, int, Kvp64f*);

template <class T>
struct Members {
  Kind kind;
  NormC1<T> n1;
  NormC3<T> n3;
  DiffC1<T> d1, r1;
  DiffC3<T> d3, r3;
};

#define KVP_MEMBERS(K, TS)                                                                       \
  Members<decltype(sampleOf##TS)> {                                                              \
    Kind::K, kvpiNorm_##K##_##TS##_C1MR, kvpiNorm_##K##_##TS##_C3CMR, kvpiNormDiff_##K##_##TS##_C1MR, \
        kvpiNormRel_##K##_##TS##_C1MR, kvpiNormDiff_##K##_##TS##_C3CMR, kvpiNormRel_##K##_##TS##_C3CMR \
  }
Kvp8u sampleOf8u;
Kvp8s sampleOf8s;
Kvp16u sampleOf16u;
Kvp32f sampleOf32f;

template <class T>
T randomValue(kvt::Rng& rng, bool integral) {
  if constexpr (std::is_floating_point_v<T>)
    return integral ? (float)(int)(rng() % 7) - 3.f : std::uniform_real_distribution<float>(-1e3f, 1e3f)(rng);
  else
    return (T)std::uniform_int_distribution<int>(std::numeric_limits<T>::min(), std::numeric_limits<T>::max())(rng);
}

bool sameBits(double a, double b) { return std::memcmp(&a, &b, 8) == 0; }

// Every member of one kind and type on the size sweep. Float sources with
// small integer values sum exactly, so they match at any thread count; random floats are checked
// on one thread against the lane reference.
template <class T>
void checkMembers(const Members<T>& mm) {
  kvt::Rng rng = kvt::makeRng(sizeof(T) * 7 + (int)mm.kind);
  for (KvpiSize sz : kvt::sizeSweep()) {
    for (int ch : {1, 3}) {
      for (bool integral : {true, false}) {
        if (!std::is_floating_point_v<T> && !integral) continue;
        SCOPED_TRACE(kvt::describe(sz) + " ch " + std::to_string(ch) + (integral ? " integral" : " random"));
        Plane<T> a(sz.width, sz.height, ch, rng), b(sz.width, sz.height, ch, rng);
        Plane<Kvp8u> m(sz.width, sz.height, 1, rng);
        a.fill([&] { return randomValue<T>(rng, integral); });
        b.fill([&] { return randomValue<T>(rng, integral); });
        m.fill([&] { return (Kvp8u)(rng() % 3 ? rng() % 256 : 0); });
        const int coi = ch == 3 ? 1 + (int)(rng() % 3) : 1;
        const double en = refNorm<T>(mm.kind, a, nullptr, m, coi - 1);
        const double ed = refNorm<T>(mm.kind, a, &b, m, coi - 1);
        const double eb = refNorm<T>(mm.kind, b, nullptr, m, coi - 1);
        for (int threads : kvt::threadCounts()) {
          if (!integral && threads > 1) break;
          kvt::Threads scope(threads);
          double vn = -1, vd = -1, vr = -1;
          KvpStatus sr;
          if (ch == 1) {
            ASSERT_EQ(kvpStsOk, mm.n1(a.roi(), a.step(), m.roi(), m.step(), sz, &vn));
            ASSERT_EQ(kvpStsOk, mm.d1(a.roi(), a.step(), b.roi(), b.step(), m.roi(), m.step(), sz, &vd));
            sr = mm.r1(a.roi(), a.step(), b.roi(), b.step(), m.roi(), m.step(), sz, &vr);
          } else {
            ASSERT_EQ(kvpStsOk, mm.n3(a.roi(), a.step(), m.roi(), m.step(), sz, coi, &vn));
            ASSERT_EQ(kvpStsOk, mm.d3(a.roi(), a.step(), b.roi(), b.step(), m.roi(), m.step(), sz, coi, &vd));
            sr = mm.r3(a.roi(), a.step(), b.roi(), b.step(), m.roi(), m.step(), sz, coi, &vr);
          }
          ASSERT_TRUE(sameBits(en, vn)) << en << " vs " << vn << " threads " << threads;
          ASSERT_TRUE(sameBits(ed, vd)) << ed << " vs " << vd << " threads " << threads;
          if (eb != 0) {
            ASSERT_EQ(kvpStsOk, sr);
            ASSERT_TRUE(sameBits(ed / eb, vr)) << ed / eb << " vs " << vr;
          } else {
            ASSERT_EQ(kvpStsDivByZero, sr);
          }
          if ((long long)sz.width * sz.height < 4096) break;
        }
      }
    }
  }
}

TEST(Norm, IntegerTypesExact) {
  for (const auto& mm : {KVP_MEMBERS(Inf, 8u), KVP_MEMBERS(L1, 8u), KVP_MEMBERS(L2, 8u)}) checkMembers(mm);
  for (const auto& mm : {KVP_MEMBERS(Inf, 8s), KVP_MEMBERS(L1, 8s), KVP_MEMBERS(L2, 8s)}) checkMembers(mm);
  for (const auto& mm : {KVP_MEMBERS(Inf, 16u), KVP_MEMBERS(L1, 16u), KVP_MEMBERS(L2, 16u)}) checkMembers(mm);
}

TEST(Norm, FloatFourLaneSums) {
  for (const auto& mm : {KVP_MEMBERS(Inf, 32f), KVP_MEMBERS(L1, 32f), KVP_MEMBERS(L2, 32f)}) checkMembers(mm);
}

// 2^24 then ones in the same lane: a single-precision sum stays at 2^24,
// a double sum would not.
TEST(Norm, FloatSumsAreSinglePrecision) {
  const int w = 4, h = 3;
  Kvp32f img[w * h] = {16777216.f, 0, 0, 0, 1.f, 0, 0, 0, 1.f, 0, 0, 0};
  Kvp8u mask[w * h];
  std::memset(mask, 1, sizeof mask);
  double v = 0;
  ASSERT_EQ(kvpStsOk, kvpiNorm_L1_32f_C1MR(img, w * 4, mask, w, {w, h}, &v));
  EXPECT_EQ(16777216.0, v);
  // Differences are single precision too: (1e8 + 1) - 1e8 rounds to 0 first.
  Kvp32f a[1] = {100000001.f}, b[1] = {100000000.f};
  ASSERT_EQ(kvpStsOk, kvpiNormDiff_L2_32f_C1MR(a, 4, b, 4, mask, 1, {1, 1}, &v));
  EXPECT_EQ((double)std::fabs(a[0] - b[0]), v);
}

TEST(Norm, ManyOnesCountStopsInSinglePrecision) {
  if (kvt::smallRun()) GTEST_SKIP();
  const int w = 4096, h = 4096;
  std::vector<Kvp32f> img((size_t)w * (h + 1), 1.f);
  std::vector<Kvp8u> mask((size_t)w * (h + 1), 0);
  std::fill(mask.begin(), mask.begin() + (size_t)w * h + 1, 1);  // 2^24 + 1 pixels
  for (int threads : {1, 2, 3}) {
    kvt::Threads scope(threads);
    double v = 0;
    ASSERT_EQ(kvpStsOk, kvpiNorm_L2_32f_C1MR(img.data(), w * 4, mask.data(), w, {w, h + 1}, &v));
    EXPECT_EQ(4096.0, v) << threads;
  }
}

TEST(NormRel, ZeroDenominator) {
  Kvp8u a[4] = {1, 2, 3, 4}, zero[4] = {0, 0, 0, 0}, mask[4] = {1, 1, 1, 1}, none[4] = {0, 0, 0, 0};
  double v = 1;
  ASSERT_EQ(kvpStsDivByZero, kvpiNormRel_L1_8u_C1MR(zero, 4, zero, 4, mask, 4, {4, 1}, &v));
  uint64_t bits;
  std::memcpy(&bits, &v, 8);
  EXPECT_EQ(0xFFF8000000000000ull, bits);
  ASSERT_EQ(kvpStsDivByZero, kvpiNormRel_L2_8u_C1MR(a, 4, zero, 4, mask, 4, {4, 1}, &v));
  EXPECT_EQ(INFINITY, v);
  // An all-zero mask: every norm is 0 and the relative norm NaN.
  ASSERT_EQ(kvpStsOk, kvpiNorm_Inf_8u_C1MR(a, 4, none, 4, {4, 1}, &v));
  EXPECT_EQ(0.0, v);
  ASSERT_EQ(kvpStsDivByZero, kvpiNormRel_Inf_8u_C1MR(a, 4, a, 4, none, 4, {4, 1}, &v));
  EXPECT_TRUE(std::isnan(v));
  // Identical non-zero images: 0 and success.
  ASSERT_EQ(kvpStsOk, kvpiNormRel_L2_8u_C1MR(a, 4, a, 4, mask, 4, {4, 1}, &v));
  EXPECT_EQ(0.0, v);
}

TEST(NormChecks, Order) {
  Kvp16u img[64] = {};
  Kvp8u mask[64] = {};
  double v = 123;
  const KvpiSize sz{4, 2};
  EXPECT_EQ(kvpStsNullPtr, kvpiNorm_L1_16u_C3CMR(img, 24, mask, 4, {0, 0}, 0, nullptr));
  EXPECT_EQ(kvpStsNullPtr, kvpiNormDiff_L1_16u_C1MR(img, 8, img, 8, nullptr, 4, sz, &v));
  EXPECT_EQ(kvpStsBadSize, kvpiNorm_L1_16u_C3CMR(img, 24, mask, 4, {0, 2}, 0, &v));
  EXPECT_EQ(kvpStsBadStep, kvpiNorm_L1_16u_C3CMR(img, 22, mask, 4, sz, 0, &v));
  EXPECT_EQ(kvpStsBadStep, kvpiNorm_L1_16u_C3CMR(img, 24, mask, 3, sz, 0, &v));
  EXPECT_EQ(kvpStsStepNotMultiple, kvpiNorm_L1_16u_C3CMR(img, 25, mask, 4, sz, 0, &v));
  EXPECT_EQ(kvpStsStepNotMultiple, kvpiNormRel_L1_16u_C1MR(img, 8, img, 9, mask, 5, sz, &v));
  EXPECT_EQ(kvpStsBadCoi, kvpiNorm_L1_16u_C3CMR(img, 24, mask, 5, sz, 0, &v));
  EXPECT_EQ(kvpStsBadCoi, kvpiNormDiff_Inf_16u_C3CMR(img, 24, img, 24, mask, 5, sz, 4, &v));
  EXPECT_EQ(123.0, v) << "nothing written on failure";
  // 8-bit steps have no multiple rule.
  Kvp8u b[64] = {};
  EXPECT_EQ(kvpStsOk, kvpiNorm_L2_8u_C3CMR(b, 13, mask, 5, sz, 3, &v));
}

}  // namespace

// Mean, Mean_StdDev and MinMaxIndx against the plain references of
// stats_ref.h: bit-exact on random data at several thread counts, the
// documented edge cases, the argument checks and their order, and the
// second body of the masked 16u mean.
#include <dlfcn.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "harness.h"
#include "stats_ref.h"

namespace {

using kvt::Plane;

enum Op { kMean, kStd, kMinMax };

// Every member with one signature: (src, step, mask, maskStep, roi, coi,
// mean, std, min, max, minLoc, maxLoc); the unused arguments are ignored.
template <class T>
using Call = std::function<KvpStatus(const T*, int, const Kvp8u*, int, KvpiSize, int, Kvp64f*, Kvp64f*,
                                     Kvp32f*, Kvp32f*, KvpiPoint*, KvpiPoint*)>;

template <class T>
struct Member {
  std::string name;
  Op op;
  int channels;
  bool masked;
  Call<T> call;
};

#define ST_ARGS                                                                                       \
  const T *p, int s, const Kvp8u *m, int ms, KvpiSize r, int c, Kvp64f *mean, Kvp64f *sd, Kvp32f *mn, \
      Kvp32f *mx, KvpiPoint *lmn, KvpiPoint *lmx
#define ST_UNUSED                                                                                  \
  (void)p, (void)s, (void)m, (void)ms, (void)r, (void)c, (void)mean, (void)sd, (void)mn, (void)mx, \
      (void)lmn, (void)lmx
#define ST_MEMBER(NAME, OP, CH, MASKED, EXPR)                  \
  Member<T> {                                                  \
#NAME, OP, CH, MASKED, [](ST_ARGS) { ST_UNUSED; return EXPR; } \
  }
#define ST_TYPE(TS)                                                                                       \
  std::vector<Member<T>> {                                                                                \
    ST_MEMBER(kvpiMean_##TS##_C1MR, kMean, 1, true, kvpiMean_##TS##_C1MR(p, s, m, ms, r, mean)),          \
        ST_MEMBER(kvpiMean_##TS##_C3CMR, kMean, 3, true, kvpiMean_##TS##_C3CMR(p, s, m, ms, r, c, mean)), \
        ST_MEMBER(kvpiMean_StdDev_##TS##_C1R, kStd, 1, false,                                             \
                  kvpiMean_StdDev_##TS##_C1R(p, s, r, mean, sd)),                                         \
        ST_MEMBER(kvpiMean_StdDev_##TS##_C3CR, kStd, 3, false,                                            \
                  kvpiMean_StdDev_##TS##_C3CR(p, s, r, c, mean, sd)),                                     \
        ST_MEMBER(kvpiMean_StdDev_##TS##_C1MR, kStd, 1, true,                                             \
                  kvpiMean_StdDev_##TS##_C1MR(p, s, m, ms, r, mean, sd)),                                 \
        ST_MEMBER(kvpiMean_StdDev_##TS##_C3CMR, kStd, 3, true,                                            \
                  kvpiMean_StdDev_##TS##_C3CMR(p, s, m, ms, r, c, mean, sd)),                             \
        ST_MEMBER(kvpiMinMaxIndx_##TS##_C1R, kMinMax, 1, false,                                           \
                  kvpiMinMaxIndx_##TS##_C1R(p, s, r, mn, mx, lmn, lmx)),                                  \
        ST_MEMBER(kvpiMinMaxIndx_##TS##_C3CR, kMinMax, 3, false,                                          \
                  kvpiMinMaxIndx_##TS##_C3CR(p, s, r, c, mn, mx, lmn, lmx)),                              \
        ST_MEMBER(kvpiMinMaxIndx_##TS##_C1MR, kMinMax, 1, true,                                           \
                  kvpiMinMaxIndx_##TS##_C1MR(p, s, m, ms, r, mn, mx, lmn, lmx)),                          \
        ST_MEMBER(kvpiMinMaxIndx_##TS##_C3CMR, kMinMax, 3, true,                                          \
                  kvpiMinMaxIndx_##TS##_C3CMR(p, s, m, ms, r, c, mn, mx, lmn, lmx)),                      \
  }

template <class T>
std::vector<Member<T>> members();
template <>
std::vector<Member<Kvp8u>> members() {
  using T = Kvp8u;
  return ST_TYPE(8u);
}
template <>
std::vector<Member<Kvp8s>> members() {
  using T = Kvp8s;
  return ST_TYPE(8s);
}
template <>
std::vector<Member<Kvp16u>> members() {
  using T = Kvp16u;
  return ST_TYPE(16u);
}
template <>
std::vector<Member<Kvp32f>> members() {
  using T = Kvp32f;
  return ST_TYPE(32f);
}

uint64_t bits(double d) {
  uint64_t b;
  std::memcpy(&b, &d, 8);
  return b;
}
uint32_t bits(float f) {
  uint32_t b;
  std::memcpy(&b, &f, 4);
  return b;
}

// The outputs of one call, all initialised to a sentinel.
struct Out {
  Kvp64f mean = -7.25, sd = -7.25;
  Kvp32f mn = -7.25f, mx = -7.25f;
  KvpiPoint lmn{-9, -9}, lmx{-9, -9};
};

template <class T>
KvpStatus invoke(const Member<T>& mb, const Plane<T>& a, const Plane<Kvp8u>& m, int coi, Out& o) {
  return mb.call(a.roi(), a.step(), m.roi(), m.step(), a.size(), coi, &o.mean, &o.sd, &o.mn, &o.mx, &o.lmn,
                 &o.lmx);
}

// Compares a call's outputs with the reference, bit for bit.
template <class T>
::testing::AssertionResult matches(const Member<T>& mb, const Plane<T>& a, const Plane<Kvp8u>& m, int coi,
                                   const Out& o) {
  const Kvp8u* mp = mb.masked ? m.roi() : nullptr;
  const int w = a.width(), h = a.height();
  if (mb.op == kMinMax) {
    const auto e = statsref::extrema(a.roi(), a.step(), mp, m.step(), w, h, mb.channels, coi - 1);
    if (bits(e.minVal) != bits(o.mn) || bits(e.maxVal) != bits(o.mx) || e.minLoc.x != o.lmn.x ||
        e.minLoc.y != o.lmn.y || e.maxLoc.x != o.lmx.x || e.maxLoc.y != o.lmx.y)
      return ::testing::AssertionFailure()
             << "min " << o.mn << " at " << o.lmn.x << "," << o.lmn.y << " max " << o.mx << " at " << o.lmx.x
             << "," << o.lmx.y << "; expected " << e.minVal << " at " << e.minLoc.x << "," << e.minLoc.y
             << " and " << e.maxVal << " at " << e.maxLoc.x << "," << e.maxLoc.y;
    return ::testing::AssertionSuccess();
  }
  const auto r = statsref::meanStd(a.roi(), a.step(), mp, m.step(), w, h, mb.channels, coi - 1);
  if (bits(r.mean) != bits(o.mean) || (mb.op == kStd && bits(r.std) != bits(o.sd)))
    return ::testing::AssertionFailure()
           << "mean " << o.mean << " sd " << o.sd << "; expected " << r.mean << " " << r.std;
  if (mb.op == kMean && o.sd != -7.25) return ::testing::AssertionFailure() << "Mean wrote a deviation";
  return ::testing::AssertionSuccess();
}

enum Fill { kUniform, kLargeMean, kSpecial };

template <class T>
T sample(kvt::Rng& rng, Fill f) {
  if constexpr (std::is_floating_point_v<T>) {
    if (f == kLargeMean) return 3.0e6f + std::uniform_real_distribution<float>(-50.f, 50.f)(rng);
    if (f == kSpecial && rng() % 50 == 0) {
      const float sp[] = {NAN, HUGE_VALF, -HUGE_VALF, -0.0f, 0.0f, 3.4e38f, -3.4e38f};
      return sp[rng() % 7];
    }
    return std::uniform_real_distribution<float>(-1000.f, 1000.f)(rng);
  } else {
    // Integer extremes often, so that minima and maxima repeat.
    if (f == kSpecial) return rng() % 2 ? std::numeric_limits<T>::max() : std::numeric_limits<T>::min();
    return (T)std::uniform_int_distribution<int>(std::numeric_limits<T>::min(),
                                                 std::numeric_limits<T>::max())(rng);
  }
}

template <class T>
void runRandom(Fill fill) {
  kvt::Rng rng = kvt::makeRng(sizeof(T) * 5 + std::is_signed_v<T> + 17 * fill);
  const std::vector<KvpiSize> sizes =
      kvt::smallRun() ? std::vector<KvpiSize>{{1, 1}, {7, 1}, {17, 9}, {5, 70}, {70, 5}}
                      : std::vector<KvpiSize>{{1, 1},    {1, 7},   {7, 1},  {3, 5},   {17, 9},    {33, 65},
                                              {333, 41}, {1, 300}, {70, 5}, {5, 300}, {641, 411}, {1025, 70}};
  for (const Member<T>& mb : members<T>()) {
    for (KvpiSize sz : sizes) {
      SCOPED_TRACE(mb.name + " " + kvt::describe(sz) + " fill " + std::to_string(fill));
      Plane<T> a(sz.width, sz.height, mb.channels, rng);
      Plane<Kvp8u> m(sz.width, sz.height, 1, rng);
      a.fill([&] { return sample<T>(rng, fill); });
      // Masks in runs as well as scattered, and now and then empty.
      const int density = (int)(rng() % 5);
      m.fill(
          [&] { return density == 0 ? 0 : (rng() % 4 < (unsigned)density ? (Kvp8u)(1 + rng() % 255) : 0); });
      const int coi = mb.channels == 3 ? 1 + (int)(rng() % 3) : 1;
      const auto ba = a.bytes(), bm = m.bytes();
      for (int threads : kvt::threadCounts()) {
        kvt::Threads scope(threads);
        Out o;
        ASSERT_EQ(invoke(mb, a, m, coi, o), kvpStsOk);
        EXPECT_TRUE(matches(mb, a, m, coi, o)) << threads << " threads";
      }
      EXPECT_TRUE(a.unchanged(ba) && m.unchanged(bm));
    }
  }
}

TEST(Stats, Random8u) { runRandom<Kvp8u>(kUniform); }
TEST(Stats, Random8s) { runRandom<Kvp8s>(kUniform); }
TEST(Stats, Random16u) { runRandom<Kvp16u>(kUniform); }
TEST(Stats, Random32f) { runRandom<Kvp32f>(kUniform); }
TEST(Stats, Extremes8u) { runRandom<Kvp8u>(kSpecial); }
TEST(Stats, Extremes8s) { runRandom<Kvp8s>(kSpecial); }
TEST(Stats, Extremes16u) { runRandom<Kvp16u>(kSpecial); }
TEST(Stats, LargeMean32f) { runRandom<Kvp32f>(kLargeMean); }
TEST(Stats, Special32f) { runRandom<Kvp32f>(kSpecial); }

// Small images with known answers.
TEST(Stats, KnownValues) {
  kvt::Rng rng = kvt::makeRng(3);
  Kvp64f mean = 0, sd = 0;
  Plane<Kvp8u> u(2, 1, 1, rng);
  u.at(0, 0) = 0, u.at(1, 0) = 255;
  ASSERT_EQ(kvpiMean_StdDev_8u_C1R(u.roi(), u.step(), u.size(), &mean, &sd), kvpStsOk);
  EXPECT_EQ(mean, 127.5);
  EXPECT_EQ(sd, 127.5);
  Plane<Kvp8s> s(2, 1, 1, rng);
  s.at(0, 0) = -128, s.at(1, 0) = 127;
  ASSERT_EQ(kvpiMean_StdDev_8s_C1R(s.roi(), s.step(), s.size(), &mean, &sd), kvpStsOk);
  EXPECT_EQ(mean, -0.5);
  EXPECT_EQ(sd, 127.5);
  Plane<Kvp16u> w(1, 1, 1, rng);
  w.at(0, 0) = 65535;
  ASSERT_EQ(kvpiMean_StdDev_16u_C1R(w.roi(), w.step(), w.size(), &mean, &sd), kvpStsOk);
  EXPECT_EQ(mean, 65535.0);
  EXPECT_EQ(sd, 0.0);

  // NaNs: skipped by the extrema, NaN (one bit pattern) for the moments.
  Plane<Kvp32f> f(4, 1, 1, rng);
  const float vals[] = {NAN, 2.f, NAN, -1.f};
  for (int x = 0; x < 4; ++x) f.at(x, 0) = vals[x];
  Kvp32f mn = 0, mx = 0;
  KvpiPoint lmn{}, lmx{};
  ASSERT_EQ(kvpiMinMaxIndx_32f_C1R(f.roi(), f.step(), f.size(), &mn, &mx, &lmn, &lmx), kvpStsOk);
  EXPECT_EQ(mn, -1.f);
  EXPECT_EQ(mx, 2.f);
  EXPECT_TRUE(lmn.x == 3 && lmn.y == 0 && lmx.x == 1 && lmx.y == 0);
  ASSERT_EQ(kvpiMean_StdDev_32f_C1R(f.roi(), f.step(), f.size(), &mean, &sd), kvpStsOk);
  EXPECT_EQ(bits(mean), 0x7FF8000000000000ull);
  EXPECT_EQ(bits(sd), 0x7FF8000000000000ull);
  Plane<Kvp8u> all(4, 1, 1, rng);
  all.fill([] { return 1; });
  ASSERT_EQ(kvpiMean_32f_C1MR(f.roi(), f.step(), all.roi(), all.step(), f.size(), &mean), kvpStsOk);
  EXPECT_EQ(bits(mean), 0x7FF8000000000000ull);

  // -0 and +0 are equal; the value of the first occurrence is written.
  f.at(0, 0) = -0.0f, f.at(1, 0) = 0.0f, f.at(2, 0) = -0.0f, f.at(3, 0) = 0.0f;
  ASSERT_EQ(kvpiMinMaxIndx_32f_C1R(f.roi(), f.step(), f.size(), &mn, &mx, &lmn, &lmx), kvpStsOk);
  EXPECT_TRUE(std::signbit(mn) && std::signbit(mx) && lmn.x == 0 && lmx.x == 0);
}

// A one-pass sum of squares loses every digit here; the shifted sums are
// exact: mean 30000003, stddev sqrt(5).
TEST(Stats, LargeMeanIsExact) {
  kvt::Rng rng = kvt::makeRng(4);
  const int n = kvt::smallRun() ? 64 : 1024;
  Plane<Kvp32f> f(n, n, 1, rng);
  int i = 0;
  f.fill([&] { return 30000000.f + 2.f * (float)(i++ % 4); });
  for (int threads : {1, 2, 3}) {
    kvt::Threads scope(threads);
    Kvp64f mean = 0, sd = 0;
    ASSERT_EQ(kvpiMean_StdDev_32f_C1R(f.roi(), f.step(), f.size(), &mean, &sd), kvpStsOk);
    EXPECT_EQ(mean, 30000003.0);
    EXPECT_EQ(sd, std::sqrt(5.0));
  }
}

// First occurrences, also when the repeated extreme lies in another band.
TEST(Stats, FirstOccurrence) {
  kvt::Rng rng = kvt::makeRng(5);
  Plane<Kvp8u> a(3, 2, 1, rng);
  const Kvp8u v[] = {5, 1, 9, 1, 9, 5};
  for (int k = 0; k < 6; ++k) a.at(k % 3, k / 3) = v[k];
  Kvp32f mn = 0, mx = 0;
  KvpiPoint lmn{}, lmx{};
  ASSERT_EQ(kvpiMinMaxIndx_8u_C1R(a.roi(), a.step(), a.size(), &mn, &mx, &lmn, &lmx), kvpStsOk);
  EXPECT_TRUE(mn == 1 && lmn.x == 1 && lmn.y == 0 && mx == 9 && lmx.x == 2 && lmx.y == 0);

  // Tall images, one band per thread: the extremes sit in the first band's
  // last row and again in every later band; the first must win.
  for (int threads : {2, 3, 8}) {
    kvt::Threads scope(threads);
    const int h = 2048, w = 160;
    Plane<Kvp16u> t(w, h, 1, rng);
    t.fill([&] { return (Kvp16u)(1000 + rng() % 1000); });
    for (int y = h / threads - 1; y < h; y += 97) t.at(w - 1 - y % w, y) = 7, t.at(y % w, y) = 60000;
    ASSERT_EQ(kvpiMinMaxIndx_16u_C1R(t.roi(), t.step(), t.size(), &mn, &mx, &lmn, &lmx), kvpStsOk);
    const int y0 = h / threads - 1;
    EXPECT_TRUE(mn == 7 && lmn.y == y0 && lmn.x == w - 1 - y0 % w) << threads;
    EXPECT_TRUE(mx == 60000 && lmx.y == y0 && lmx.x == y0 % w) << threads;
  }
}

// Nothing selected: zeros and {-1, -1} for every type and layout.
template <class T>
void emptySelection() {
  kvt::Rng rng = kvt::makeRng(6);
  for (const Member<T>& mb : members<T>()) {
    if (!mb.masked) continue;
    Plane<T> a(9, 5, mb.channels, rng);
    Plane<Kvp8u> m(9, 5, 1, rng);
    a.fill([&] { return (T)3; });
    m.fill([] { return 0; });
    Out o;
    ASSERT_EQ(invoke(mb, a, m, 2, o), kvpStsOk) << mb.name;
    if (mb.op == kMinMax)
      EXPECT_TRUE(o.mn == 0 && o.mx == 0 && o.lmn.x == -1 && o.lmn.y == -1 && o.lmx.x == -1 && o.lmx.y == -1)
          << mb.name;
    else
      EXPECT_TRUE(bits(o.mean) == 0 && (mb.op == kMean || bits(o.sd) == 0)) << mb.name;
  }
}
TEST(Stats, EmptySelection) {
  emptySelection<Kvp8u>();
  emptySelection<Kvp8s>();
  emptySelection<Kvp16u>();
  emptySelection<Kvp32f>();
  // 32f extrema over NaNs only are empty too; the moments are NaN.
  kvt::Rng rng = kvt::makeRng(7);
  Plane<Kvp32f> f(5, 3, 1, rng);
  f.fill([] { return NAN; });
  Out o;
  ASSERT_EQ(kvpiMinMaxIndx_32f_C1R(f.roi(), f.step(), f.size(), &o.mn, &o.mx, &o.lmn, &o.lmx), kvpStsOk);
  EXPECT_TRUE(o.mn == 0 && o.mx == 0 && o.lmn.x == -1 && o.lmx.y == -1);
  ASSERT_EQ(kvpiMean_StdDev_32f_C1R(f.roi(), f.step(), f.size(), &o.mean, &o.sd), kvpStsOk);
  EXPECT_TRUE(std::isnan(o.mean) && std::isnan(o.sd));
}

// Rows long enough to flush the vector partials several times, at the
// largest values.
TEST(Stats, LongRows) {
  kvt::Rng rng = kvt::makeRng(8);
  const int w = kvt::smallRun() ? 4000 : 300001;
  Plane<Kvp16u> a(w, 2, 3, rng);
  Plane<Kvp8u> b(w, 2, 1, rng), m(w, 2, 1, rng);
  a.fill([] { return 65535; });
  b.fill([] { return 255; });
  m.fill([] { return 1; });
  a.at(w - 1, 1, 1) = 0;
  Kvp64f mean = 0, sd = 0;
  const double n = 2.0 * w;
  ASSERT_EQ(kvpiMean_StdDev_16u_C3CMR(a.roi(), a.step(), m.roi(), m.step(), a.size(), 2, &mean, &sd),
            kvpStsOk);
  const auto r = statsref::meanStd(a.roi(), a.step(), m.roi(), m.step(), w, 2, 3, 1);
  EXPECT_EQ(bits(mean), bits(r.mean));
  EXPECT_EQ(bits(sd), bits(r.std));
  ASSERT_EQ(kvpiMean_StdDev_8u_C1R(b.roi(), b.step(), b.size(), &mean, &sd), kvpStsOk);
  EXPECT_EQ(mean, 255.0);
  EXPECT_EQ(sd, 0.0);
  ASSERT_EQ(kvpiMean_16u_C1MR(a.roi(), a.step(), m.roi(), m.step(), {w, 2}, &mean), kvpStsOk);
  EXPECT_EQ(mean, 65535.0 * n / n);
}

// Optional outputs: only the given ones are written.
TEST(Stats, OptionalOutputs) {
  kvt::Rng rng = kvt::makeRng(9);
  Plane<Kvp8u> a(6, 4, 1, rng);
  a.fill([&] { return (Kvp8u)(rng() % 256); });
  Kvp64f mean = -1, sd = -1;
  ASSERT_EQ(kvpiMean_StdDev_8u_C1R(a.roi(), a.step(), a.size(), nullptr, &sd), kvpStsOk);
  EXPECT_EQ(sd, statsref::meanStd(a.roi(), a.step(), nullptr, 0, 6, 4, 1, 0).std);
  ASSERT_EQ(kvpiMean_StdDev_8u_C1R(a.roi(), a.step(), a.size(), &mean, nullptr), kvpStsOk);
  EXPECT_EQ(mean, statsref::meanStd(a.roi(), a.step(), nullptr, 0, 6, 4, 1, 0).mean);
  const auto e = statsref::extrema(a.roi(), a.step(), nullptr, 0, 6, 4, 1, 0);
  for (int which = 0; which < 4; ++which) {
    Out o;
    ASSERT_EQ(kvpiMinMaxIndx_8u_C1R(a.roi(), a.step(), a.size(), which == 0 ? &o.mn : nullptr,
                                    which == 1 ? &o.mx : nullptr, which == 2 ? &o.lmn : nullptr,
                                    which == 3 ? &o.lmx : nullptr),
              kvpStsOk);
    EXPECT_EQ(o.mn, which == 0 ? e.minVal : -7.25f);
    EXPECT_EQ(o.mx, which == 1 ? e.maxVal : -7.25f);
    EXPECT_EQ(o.lmn.x, which == 2 ? e.minLoc.x : -9);
    EXPECT_EQ(o.lmx.y, which == 3 ? e.maxLoc.y : -9);
  }
}

// The check order on the widest signature of each operation (32f, C3CMR),
// nothing written on failure; then the one-byte and unmasked forms.
TEST(Stats, ArgumentChecks) {
  kvt::Rng rng = kvt::makeRng(10);
  Plane<Kvp32f> a(10, 4, 3, rng, 0);
  Plane<Kvp8u> m(10, 4, 1, rng, 0);
  const KvpiSize sz{10, 4};
  const int st = 120;
  struct Case {
    bool nullSrc, nullMask, nullOut;
    int step, mStep;
    KvpiSize r;
    int coi;
    KvpStatus want;
  };
  const Case cases[] = {
      {true, false, false, st, 10, {0, 4}, 0, kvpStsNullPtr},
      {false, true, false, st, 10, {0, 4}, 1, kvpStsNullPtr},
      {false, false, true, st, 10, {0, 0}, 1, kvpStsNullPtr},
      {false, false, false, 1, 1, {0, 4}, 0, kvpStsBadSize},
      {false, false, false, 1, 1, {10, -1}, 0, kvpStsBadSize},
      {false, false, false, 116, 10, sz, 0, kvpStsBadStep},
      {false, false, false, st, 9, sz, 0, kvpStsBadStep},
      {false, false, false, st + 1, 9, sz, 0, kvpStsBadStep},
      {false, false, false, st + 2, 10, sz, 0, kvpStsStepNotMultiple},
      {false, false, false, st, 11, sz, 0, kvpStsBadCoi},
      {false, false, false, st + 4, 10, sz, 4, kvpStsBadCoi},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.step) + " " + std::to_string(c.mStep) + " coi " + std::to_string(c.coi));
    for (const Member<Kvp32f>& mb : members<Kvp32f>()) {
      if (mb.channels != 3 || !mb.masked) continue;
      Out o;
      Kvp64f* mean = c.nullOut ? nullptr : &o.mean;
      Kvp64f* sd = c.nullOut ? nullptr : &o.sd;
      Kvp32f* mn = c.nullOut ? nullptr : &o.mn;
      Kvp32f* mx = c.nullOut ? nullptr : &o.mx;
      KvpiPoint *lmn = c.nullOut ? nullptr : &o.lmn, *lmx = c.nullOut ? nullptr : &o.lmx;
      EXPECT_EQ(mb.call(c.nullSrc ? nullptr : a.roi(), c.step, c.nullMask ? nullptr : m.roi(), c.mStep, c.r,
                        c.coi, mean, sd, mn, mx, lmn, lmx),
                c.want)
          << mb.name;
      EXPECT_TRUE(o.mean == -7.25 && o.sd == -7.25 && o.mn == -7.25f && o.mx == -7.25f && o.lmn.x == -9 &&
                  o.lmx.x == -9);
    }
  }
  // Mean needs its mean; Mean_StdDev takes either output.
  Kvp64f v = 0;
  EXPECT_EQ(kvpiMean_32f_C1MR(a.roi(), st, m.roi(), 10, sz, nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiMean_StdDev_32f_C3CR(a.roi(), st, sz, 1, nullptr, nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiMean_StdDev_32f_C3CR(a.roi(), st, sz, 1, nullptr, &v), kvpStsOk);
  // One-byte sources: no multiple test; 32f width 10: 41 bytes is not a
  // multiple, 36 too short.
  Plane<Kvp8s> s(10, 4, 1, rng, 1);
  Plane<Kvp32f> f(10, 4, 1, rng, 4);
  s.fill([] { return 1; });
  EXPECT_EQ(kvpiMean_StdDev_8s_C1R(s.roi(), 11, sz, &v, nullptr), kvpStsOk);
  EXPECT_EQ(kvpiMean_StdDev_8s_C1R(s.roi(), 9, sz, &v, nullptr), kvpStsBadStep);
  EXPECT_EQ(kvpiMinMaxIndx_32f_C1R(f.roi(), 41, sz, nullptr, nullptr, nullptr, nullptr), kvpStsNullPtr);
  Kvp32f mn = 0;
  EXPECT_EQ(kvpiMinMaxIndx_32f_C1R(f.roi(), 41, sz, &mn, nullptr, nullptr, nullptr), kvpStsStepNotMultiple);
  EXPECT_EQ(kvpiMinMaxIndx_32f_C1R(f.roi(), 36, sz, &mn, nullptr, nullptr, nullptr), kvpStsBadStep);
  Plane<Kvp16u> u(10, 4, 1, rng, 2);
  EXPECT_EQ(kvpiMean_16u_C1MR(u.roi(), 21, m.roi(), 10, sz, &v), kvpStsStepNotMultiple);
  EXPECT_EQ(kvpiMean_16u_C1MR(u.roi(), 22, m.roi(), 7, sz, &v), kvpStsBadStep);
}

// Both table entries of the masked 16u mean give the same bits.
TEST(Stats, SecondBodyOfMean16u) {
  using Fn = decltype(&kvpiMean_16u_C1MR);
  auto* const* table = static_cast<Fn const*>(dlsym(RTLD_DEFAULT, "kvpiMean_16u_C1MR_arraddr"));
  ASSERT_NE(table, nullptr);
  kvt::Rng rng = kvt::makeRng(12);
  for (KvpiSize sz : kvt::sizeSweep()) {
    Plane<Kvp16u> a(sz.width, sz.height, 1, rng);
    Plane<Kvp8u> m(sz.width, sz.height, 1, rng);
    a.fill([&] { return (Kvp16u)rng(); });
    m.fill([&] { return (Kvp8u)(rng() % 3); });
    const auto r = statsref::meanStd(a.roi(), a.step(), m.roi(), m.step(), sz.width, sz.height, 1, 0);
    for (int body = 0; body < 2; ++body) {
      Kvp64f v = -1;
      ASSERT_EQ(table[body](a.roi(), a.step(), m.roi(), m.step(), sz, &v), kvpStsOk);
      EXPECT_EQ(bits(v), bits(r.mean)) << "body " << body << " " << kvt::describe(sz);
    }
  }
}

}  // namespace

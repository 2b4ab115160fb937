// Mean, Mean_StdDev and MinMaxIndx against the plain references of
// stats_ref.h: bit-exact on random data at several thread counts with any
// subset of the outputs, the documented edge cases, the argument checks and
// their order, and the second body of the masked 16u mean.
#include <dlfcn.h>

#include <cmath>
#include <functional>
#include <limits>

#include "harness.h"
#include "stats_ref.h"

namespace {

using kvt::Plane;

enum Op { kMean, kStd, kMinMax };

// The outputs of one call; null where not asked for.
struct Out {
  Kvp64f mean = -7.25, sd = -7.25;
  Kvp32f mn = -7.25f, mx = -7.25f;
  KvpiPoint lmn{-9, -9}, lmx{-9, -9};
};
struct OutPtrs {
  Kvp64f *mean, *sd;
  Kvp32f *mn, *mx;
  KvpiPoint *lmn, *lmx;
};

template <class T>
struct Member {
  const char* name;
  Op op;
  int channels;
  bool masked;
  std::function<KvpStatus(const T*, int, const Kvp8u*, int, KvpiSize, int, OutPtrs)> call;
};

// clang-format off
#define ST_M(NAME, OP, CH, MK, ...)                                                                 \
  Member<T>{#NAME, OP, CH, MK, [](const T* p, int s, const Kvp8u* m, int ms, KvpiSize r, int c, OutPtrs o) { \
    (void)m, (void)ms, (void)c;                                                                      \
    return NAME(__VA_ARGS__);                                                                        \
  }}
#define ST_TYPE(TS)                                                                                    \
  {ST_M(kvpiMean_##TS##_C1MR, kMean, 1, true, p, s, m, ms, r, o.mean),                                \
   ST_M(kvpiMean_##TS##_C3CMR, kMean, 3, true, p, s, m, ms, r, c, o.mean),                            \
   ST_M(kvpiMean_StdDev_##TS##_C1R, kStd, 1, false, p, s, r, o.mean, o.sd),                           \
   ST_M(kvpiMean_StdDev_##TS##_C3CR, kStd, 3, false, p, s, r, c, o.mean, o.sd),                       \
   ST_M(kvpiMean_StdDev_##TS##_C1MR, kStd, 1, true, p, s, m, ms, r, o.mean, o.sd),                    \
   ST_M(kvpiMean_StdDev_##TS##_C3CMR, kStd, 3, true, p, s, m, ms, r, c, o.mean, o.sd),                \
   ST_M(kvpiMinMaxIndx_##TS##_C1R, kMinMax, 1, false, p, s, r, o.mn, o.mx, o.lmn, o.lmx),             \
   ST_M(kvpiMinMaxIndx_##TS##_C3CR, kMinMax, 3, false, p, s, r, c, o.mn, o.mx, o.lmn, o.lmx),         \
   ST_M(kvpiMinMaxIndx_##TS##_C1MR, kMinMax, 1, true, p, s, m, ms, r, o.mn, o.mx, o.lmn, o.lmx),      \
   ST_M(kvpiMinMaxIndx_##TS##_C3CMR, kMinMax, 3, true, p, s, m, ms, r, c, o.mn, o.mx, o.lmn, o.lmx)}
// clang-format on

template <class T>
std::vector<Member<T>> members() {
  if constexpr (std::is_same_v<T, Kvp8u>) return ST_TYPE(8u);
  if constexpr (std::is_same_v<T, Kvp8s>) return ST_TYPE(8s);
  if constexpr (std::is_same_v<T, Kvp16u>) return ST_TYPE(16u);
  if constexpr (std::is_same_v<T, Kvp32f>) return ST_TYPE(32f);
}

template <class V>
uint64_t bits(V v) {
  uint64_t b = 0;
  std::memcpy(&b, &v, sizeof v);
  return b;
}

// Outputs of the member's kind selected by the low bits of pick (all when
// pick is -1).
OutPtrs ptrs(Out& o, Op op, int pick = -1) {
  auto on = [&](int i) { return ((pick >> i) & 1) != 0; };
  return {op != kMinMax && (op == kMean || on(0)) ? &o.mean : nullptr,
          op == kStd && on(1) ? &o.sd : nullptr,
          op == kMinMax && on(0) ? &o.mn : nullptr,
          op == kMinMax && on(1) ? &o.mx : nullptr,
          op == kMinMax && on(2) ? &o.lmn : nullptr,
          op == kMinMax && on(3) ? &o.lmx : nullptr};
}

// The reference's outputs where given, the sentinels elsewhere.
template <class T>
Out expected(const Member<T>& mb, const Plane<T>& a, const Plane<Kvp8u>& m, int coi, const OutPtrs& given) {
  Out e;
  const Kvp8u* mp = mb.masked ? m.roi() : nullptr;
  if (mb.op == kMinMax) {
    const auto r =
        statsref::extrema(a.roi(), a.step(), mp, m.step(), a.width(), a.height(), mb.channels, coi - 1);
    if (given.mn) e.mn = r.minVal;
    if (given.mx) e.mx = r.maxVal;
    if (given.lmn) e.lmn = r.minLoc;
    if (given.lmx) e.lmx = r.maxLoc;
  } else {
    const auto r =
        statsref::meanStd(a.roi(), a.step(), mp, m.step(), a.width(), a.height(), mb.channels, coi - 1);
    if (given.mean) e.mean = r.mean;
    if (given.sd) e.sd = r.std;
  }
  return e;
}

std::string show(const Out& o) {
  return "mean " + std::to_string(o.mean) + " sd " + std::to_string(o.sd) + " min " + std::to_string(o.mn) +
         " @" + std::to_string(o.lmn.x) + "," + std::to_string(o.lmn.y) + " max " + std::to_string(o.mx) +
         " @" + std::to_string(o.lmx.x) + "," + std::to_string(o.lmx.y);
}
::testing::AssertionResult same(const Out& o, const Out& e) {
  if (bits(o.mean) == bits(e.mean) && bits(o.sd) == bits(e.sd) && bits(o.mn) == bits(e.mn) &&
      bits(o.mx) == bits(e.mx) && bits(o.lmn) == bits(e.lmn) && bits(o.lmx) == bits(e.lmx))
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << show(o) << "; expected " << show(e);
}

enum Fill { kUniform, kLargeMean, kSpecial };

template <class T>
T sample(kvt::Rng& rng, Fill f) {
  if constexpr (std::is_floating_point_v<T>) {
    if (f == kLargeMean) return 3.0e6f + std::uniform_real_distribution<float>(-50.f, 50.f)(rng);
    const float sp[] = {NAN, HUGE_VALF, -HUGE_VALF, -0.0f, 0.0f, 3.4e38f, -3.4e38f};
    if (f == kSpecial && rng() % 50 == 0) return sp[rng() % 7];
    return std::uniform_real_distribution<float>(-1000.f, 1000.f)(rng);
  } else {
    // The extremes only: minima and maxima repeat, partial sums are largest.
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
  for (const Member<T>& mb : members<T>())
    for (KvpiSize sz : sizes) {
      SCOPED_TRACE(std::string(mb.name) + " " + kvt::describe(sz) + " fill " + std::to_string(fill));
      Plane<T> a(sz.width, sz.height, mb.channels, rng);
      Plane<Kvp8u> m(sz.width, sz.height, 1, rng);
      a.fill([&] { return sample<T>(rng, fill); });
      // From empty (density 0) to full masks.
      const unsigned density = rng() % 5;
      m.fill([&] { return rng() % 4 < density ? (Kvp8u)(1 + rng() % 255) : 0; });
      const int coi = mb.channels == 3 ? 1 + (int)(rng() % 3) : 1;
      const auto ba = a.bytes(), bm = m.bytes();
      for (int threads : kvt::threadCounts()) {
        kvt::Threads scope(threads);
        Out o;
        const int pick = threads == 1 ? -1 : 1 + (int)(rng() % (mb.op == kMinMax ? 15 : 3));
        const OutPtrs given = ptrs(o, mb.op, pick);
        ASSERT_EQ(mb.call(a.roi(), a.step(), m.roi(), m.step(), sz, coi, given), kvpStsOk);
        EXPECT_TRUE(same(o, expected(mb, a, m, coi, given))) << threads << " threads";
      }
      EXPECT_TRUE(a.unchanged(ba) && m.unchanged(bm));
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

// Small images with known answers (C1R forms).
template <class T>
Out run1(std::initializer_list<T> v, int w, Op op) {
  kvt::Rng rng = kvt::makeRng(3);
  Plane<T> a(w, (int)v.size() / w, 1, rng);
  int i = 0;
  a.fill([&] { return v.begin()[i++]; });
  const Member<T> mb = members<T>()[op == kStd ? 2 : 6];
  Out o;
  EXPECT_EQ(mb.call(a.roi(), a.step(), nullptr, 0, a.size(), 1, ptrs(o, op)), kvpStsOk);
  return o;
}

TEST(Stats, KnownValues) {
  const double nan = statsref::quietNaN();
  struct Case {
    Out got;
    double mean, sd;
  } moments[] = {{run1<Kvp8u>({0, 255}, 2, kStd), 127.5, 127.5},
                 {run1<Kvp8s>({-128, 127}, 2, kStd), -0.5, 127.5},
                 {run1<Kvp16u>({65535}, 1, kStd), 65535, 0},
                 {run1<Kvp32f>({NAN, 2, NAN, -1}, 4, kStd), nan, nan},
                 {run1<Kvp32f>({NAN, NAN}, 1, kStd), nan, nan}};
  for (const Case& c : moments) EXPECT_TRUE(bits(c.got.mean) == bits(c.mean) && bits(c.got.sd) == bits(c.sd));
  struct Ext {
    Out got;
    float mn, mx;
    KvpiPoint lmn, lmx;
    bool minSign;
  } extrema[] = {{run1<Kvp32f>({NAN, 2, NAN, -1}, 4, kMinMax), -1, 2, {3, 0}, {1, 0}, true},
                 {run1<Kvp8u>({5, 1, 9, 1, 9, 5}, 3, kMinMax), 1, 9, {1, 0}, {2, 0}, false},
                 {run1<Kvp32f>({-0.f, 0.f, -0.f, 0.f}, 2, kMinMax), 0, 0, {0, 0}, {0, 0}, true},
                 {run1<Kvp32f>({NAN, NAN, NAN}, 3, kMinMax), 0, 0, {-1, -1}, {-1, -1}, false}};
  for (const Ext& c : extrema)
    EXPECT_TRUE(c.got.mn == c.mn && c.got.mx == c.mx && bits(c.got.lmn) == bits(c.lmn) &&
                bits(c.got.lmx) == bits(c.lmx) && std::signbit(c.got.mn) == c.minSign);
}

// A one-pass sum of squares loses every digit here; the shifted sums are
// exact: mean 30000003, stddev sqrt(5), at every thread count.
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
    EXPECT_TRUE(mean == 30000003.0 && sd == std::sqrt(5.0)) << threads;
  }
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
  ASSERT_EQ(kvpiMean_StdDev_16u_C3CMR(a.roi(), a.step(), m.roi(), m.step(), a.size(), 2, &mean, &sd),
            kvpStsOk);
  const auto r = statsref::meanStd(a.roi(), a.step(), m.roi(), m.step(), w, 2, 3, 1);
  EXPECT_TRUE(bits(mean) == bits(r.mean) && bits(sd) == bits(r.std));
  ASSERT_EQ(kvpiMean_StdDev_8u_C1R(b.roi(), b.step(), b.size(), &mean, &sd), kvpStsOk);
  EXPECT_TRUE(mean == 255.0 && sd == 0.0);
}

// The check order on every 32f C3CMR member, nothing written on failure;
// then the required mean, one-byte steps and the 32f step multiples.
TEST(Stats, ArgumentChecks) {
  kvt::Rng rng = kvt::makeRng(10);
  Plane<Kvp32f> a(10, 4, 3, rng, 0);
  Plane<Kvp8u> m(10, 4, 1, rng, 0);
  const KvpiSize sz{10, 4};
  struct Case {
    bool nullSrc, nullMask, nullOut;
    int step, mStep;
    KvpiSize r;
    int coi;
    KvpStatus want;
  } cases[] = {
      {true, false, false, 120, 10, {0, 4}, 0, kvpStsNullPtr},
      {false, true, false, 120, 10, {0, 4}, 1, kvpStsNullPtr},
      {false, false, true, 120, 10, {0, 0}, 1, kvpStsNullPtr},
      {false, false, false, 1, 1, {0, 4}, 0, kvpStsBadSize},
      {false, false, false, 1, 1, {10, -1}, 0, kvpStsBadSize},
      {false, false, false, 116, 10, sz, 0, kvpStsBadStep},
      {false, false, false, 121, 9, sz, 0, kvpStsBadStep},
      {false, false, false, 122, 10, sz, 0, kvpStsStepNotMultiple},
      {false, false, false, 120, 11, sz, 0, kvpStsBadCoi},
      {false, false, false, 124, 10, sz, 4, kvpStsBadCoi},
  };
  for (const Case& c : cases)
    for (const Member<Kvp32f>& mb : members<Kvp32f>()) {
      if (mb.channels != 3 || !mb.masked) continue;
      Out o;
      EXPECT_EQ(mb.call(c.nullSrc ? nullptr : a.roi(), c.step, c.nullMask ? nullptr : m.roi(), c.mStep, c.r,
                        c.coi, c.nullOut ? OutPtrs{} : ptrs(o, mb.op)),
                c.want)
          << mb.name << " step " << c.step << " mask step " << c.mStep << " coi " << c.coi;
      EXPECT_TRUE(same(o, Out{}));
    }
  Kvp64f v = 0;
  Kvp32f mn = 0;
  EXPECT_EQ(kvpiMean_32f_C1MR(a.roi(), 120, m.roi(), 10, sz, nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiMean_StdDev_32f_C3CR(a.roi(), 120, sz, 1, nullptr, &v), kvpStsOk);
  EXPECT_EQ(kvpiMean_StdDev_8s_C1R((const Kvp8s*)m.roi(), 11, sz, &v, nullptr), kvpStsOk);
  EXPECT_EQ(kvpiMean_StdDev_8s_C1R((const Kvp8s*)m.roi(), 9, sz, &v, nullptr), kvpStsBadStep);
  EXPECT_EQ(kvpiMinMaxIndx_32f_C1R(a.roi(), 41, sz, &mn, nullptr, nullptr, nullptr), kvpStsStepNotMultiple);
  EXPECT_EQ(kvpiMinMaxIndx_32f_C1R(a.roi(), 36, sz, &mn, nullptr, nullptr, nullptr), kvpStsBadStep);
}

// Both table entries of the masked 16u mean give the reference's bits.
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

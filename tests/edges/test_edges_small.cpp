// Fast arctangent, colour gradient to gray and the 3x3 peak finder against
// the plain references: every element bit for bit over the size sweep and
// thread counts, the documented corner cases, statuses in check order and
// nothing written on failure.
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>

#include "edges_ref.h"
#include "edges_sizes.h"
#include "harness.h"
#include "targets.h"

namespace {

using kvt::Plane;

template <class T>
er::Img<T> toImg(const Plane<T>& p) {
  er::Img<T> o(p.width(), p.height(), p.channels());
  for (int y = 0; y < p.height(); ++y)
    for (int i = 0; i < p.width() * p.channels(); ++i)
      o.v[(size_t)y * p.width() * p.channels() + i] = p.row(y)[i];
  return o;
}

bool sameBits(float a, float b) { return std::memcmp(&a, &b, 4) == 0 || (std::isnan(a) && std::isnan(b)); }

// ---- fast arctangent -------------------------------------------------------

TEST(FastArctan, DocumentedValues) {
  struct Case {
    float y, x, want;
  } cases[] = {{0, 0, 0},
               {0, 1, 0},
               {1, 0, 90},
               {0, -1, 180},
               {-1, 0, 270},
               {1, 1, 45},
               {1, -1, 135},
               {-1, -1, 225},
               {-1, 1, 315},
               {-1e-30f, 1, 0},
               {-0.0f, -1, 180},
               {1, 2, 26.5652771f},
               {INFINITY, INFINITY, 45},
               {-INFINITY, 1, 270}};
  for (const Case& c : cases) {
    float out = -1;
    ASSERT_EQ(kvpibFastArctan_32f(&c.y, &c.x, &out, 1), kvpStsOk);
    EXPECT_EQ(out, c.want) << c.y << ", " << c.x;
  }
  const float nan = NAN, one = 1;
  float out = 0;
  kvpibFastArctan_32f(&nan, &one, &out, 1);
  EXPECT_TRUE(std::isnan(out));
  kvpibFastArctan_32f(&one, &nan, &out, 1);
  EXPECT_TRUE(std::isnan(out));
}

TEST(FastArctan, MatchesReferenceInPlaceAndWithinBound) {
  auto rng = kvt::makeRng(1);
  std::uniform_real_distribution<float> u(-4, 4);
  std::uniform_int_distribution<int> e(-140, 120);
  for (int len = 1; len <= 17 + (kvt::smallRun() ? 0 : 4000); len += len < 17 ? 1 : 997) {
    std::vector<float> y(len), x(len), out(len + 2, 7.f), ref(len);
    for (int i = 0; i < len; ++i) {
      y[i] = std::ldexp(u(rng), i % 3 ? 0 : e(rng));
      x[i] = std::ldexp(u(rng), i % 5 ? 0 : e(rng));
      ref[i] = er::fastAtan(y[i], x[i]);
    }
    for (int64_t t : kvt::vectorTargets()) {
      kvt::Target target(t);
      ASSERT_EQ(kvpibFastArctan_32f(y.data(), x.data(), out.data() + 1, len), kvpStsOk);
      for (int i = 0; i < len; ++i)
        ASSERT_TRUE(sameBits(out[i + 1], ref[i])) << len << " at " << i << " " << kvt::targetName(t);
    }
    EXPECT_EQ(out[0], 7.f);
    EXPECT_EQ(out[len + 1], 7.f);
    std::vector<float> yy = y, xx = x;
    kvpibFastArctan_32f(yy.data(), x.data(), yy.data(), len);
    kvpibFastArctan_32f(y.data(), xx.data(), xx.data(), len);
    for (int i = 0; i < len; ++i) ASSERT_TRUE(sameBits(yy[i], ref[i]) && sameBits(xx[i], ref[i]));
  }
  // A fine sweep of the circle stays within 0.00075 degrees.
  double worst = 0;
  for (int i = 0; i < 200000; ++i) {
    const double t = i * (2 * M_PI / 200000);
    const float y = (float)std::sin(t), x = (float)std::cos(t);
    float a;
    kvpibFastArctan_32f(&y, &x, &a, 1);
    double d = std::fabs(a - std::atan2((double)y, (double)x) * 180 / M_PI);
    d = std::fmod(d, 360.0);
    worst = std::max(worst, std::min(d, 360 - d));
  }
  EXPECT_LE(worst, 0.00075);
}

TEST(FastArctan, Statuses) {
  float a = 1, b = 1, o = 5;
  EXPECT_EQ(kvpibFastArctan_32f(nullptr, &b, &o, 1), kvpStsNullPtr);
  EXPECT_EQ(kvpibFastArctan_32f(&a, nullptr, &o, 1), kvpStsNullPtr);
  EXPECT_EQ(kvpibFastArctan_32f(&a, &b, nullptr, 0), kvpStsNullPtr);
  EXPECT_EQ(kvpibFastArctan_32f(&a, &b, &o, 0), kvpStsBadSize);
  EXPECT_EQ(o, 5);
}

// ---- gradient to gray ------------------------------------------------------

template <class T>
using GradFn = KvpStatus (*)(const T*, int, T*, int, KvpiSize, KvpiNorm);

template <class T>
void gradSweep(GradFn<T> fn, std::function<T()> gen) {
  auto rng = kvt::makeRng(2);
  for (KvpiSize sz : et::sizes()) {
    Plane<T> src(sz.width, sz.height, 3, rng);
    src.fill(gen);
    const er::Img<T> s = toImg(src);
    for (int norm = 0; norm < 3; ++norm)
      for (int n : et::threads()) {
        kvt::Threads th(n);
        Plane<T> dst(sz.width, sz.height, 1, rng);
        const auto before = dst.bytes();
        ASSERT_EQ(fn(src.roi(), src.step(), dst.roi(), dst.step(), sz, (KvpiNorm)norm), kvpStsOk);
        ASSERT_TRUE(dst.sameOutsideRoi(before));
        for (int y = 0; y < sz.height; ++y)
          for (int x = 0; x < sz.width; ++x) {
            const T want = er::gradGray(&s.at(x, y), norm);
            ASSERT_TRUE(
                std::memcmp(&want, &dst.at(x, y), sizeof(T)) == 0 ||
                (std::is_same_v<T, float> && std::isnan((double)want) && std::isnan((double)dst.at(x, y))))
                << kvt::describe(sz) << " norm " << norm << " at " << x << "," << y;
          }
      }
  }
}

TEST(GradientColorToGray, MatchesReference) {
  auto rng = kvt::makeRng(3);
  gradSweep<Kvp8u>(kvpiGradientColorToGray_8u_C3C1R, [&] { return (Kvp8u)rng(); });
  gradSweep<Kvp16u>(kvpiGradientColorToGray_16u_C3C1R, [&] { return (Kvp16u)rng(); });
  std::uniform_real_distribution<float> u(-1e4f, 1e4f);
  gradSweep<Kvp32f>(kvpiGradientColorToGray_32f_C3C1R, [&] {
    const unsigned r = (unsigned)rng() % 64;
    return r == 0 ? NAN : (r == 1 ? -0.0f : (r == 2 ? 3e38f : u(rng)));
  });
}

TEST(GradientColorToGray, DocumentedValues) {
  auto one8 = [](Kvp8u a, Kvp8u b, Kvp8u c, int norm) {
    const Kvp8u s[3] = {a, b, c};
    Kvp8u d = 0;
    kvpiGradientColorToGray_8u_C3C1R(s, 3, &d, 1, {1, 1}, (KvpiNorm)norm);
    return (int)d;
  };
  EXPECT_EQ(one8(3, 4, 0, 2), 5);
  EXPECT_EQ(one8(3, 4, 0, 1), 7);
  EXPECT_EQ(one8(3, 4, 0, 0), 4);
  EXPECT_EQ(one8(255, 255, 255, 1), 255);
  EXPECT_EQ(one8(255, 255, 255, 2), 255);
  EXPECT_EQ(one8(1, 1, 0, 2), 1);
  EXPECT_EQ(one8(1, 1, 1, 2), 2);
  const Kvp16u s16[3] = {40000, 30000, 0};
  Kvp16u d16 = 0;
  kvpiGradientColorToGray_16u_C3C1R(s16, 6, &d16, 2, {1, 1}, kvpiNormL2);
  EXPECT_EQ(d16, 50000);
  kvpiGradientColorToGray_16u_C3C1R(s16, 6, &d16, 2, {1, 1}, kvpiNormL1);
  EXPECT_EQ(d16, 65535);
  const float f[3] = {-3, 4, 0}, big[3] = {1e30f, 1e30f, 0};
  float o[3];
  for (int n = 0; n < 3; ++n) kvpiGradientColorToGray_32f_C3C1R(f, 12, &o[n], 4, {1, 1}, (KvpiNorm)n);
  EXPECT_EQ(o[0], 4);
  EXPECT_EQ(o[1], 7);
  EXPECT_EQ(o[2], 5);
  kvpiGradientColorToGray_32f_C3C1R(big, 12, o, 4, {1, 1}, kvpiNormL2);
  EXPECT_EQ(o[0], 1.41421356e30f);
}

TEST(GradientColorToGray, StatusesInOrder) {
  auto rng = kvt::makeRng(4);
  Plane<Kvp16u> s(4, 3, 3, rng, 0, 0), d(4, 3, 1, rng, 0, 0);
  const auto before = d.bytes();
  struct Case {
    const Kvp16u* s;
    int ss;
    Kvp16u* d;
    int ds;
    KvpiSize sz;
    int norm;
    KvpStatus want;
  } cases[] = {{nullptr, 24, d.roi(), 8, {4, 3}, 7, kvpStsNullPtr},
               {s.roi(), 24, nullptr, 8, {4, 3}, 0, kvpStsNullPtr},
               {s.roi(), 0, d.roi(), 0, {0, 3}, 7, kvpStsBadSize},
               {s.roi(), 23, d.roi(), 7, {4, 3}, 7, kvpStsBadStep},
               {s.roi(), 24, d.roi(), 6, {4, 3}, 7, kvpStsBadStep},
               {s.roi(), 25, d.roi(), 8, {4, 3}, 7, kvpStsStepNotMultiple},
               {s.roi(), 24, d.roi(), 9, {4, 3}, 7, kvpStsStepNotMultiple},
               {s.roi(), 24, d.roi(), 8, {4, 3}, 3, kvpStsBadArg},
               {s.roi(), 24, d.roi(), 8, {4, 3}, -1, kvpStsBadArg}};
  for (const Case& c : cases) {
    EXPECT_EQ(kvpiGradientColorToGray_16u_C3C1R(c.s, c.ss, c.d, c.ds, c.sz, (KvpiNorm)c.norm), c.want);
    EXPECT_TRUE(d.unchanged(before));
  }
}

// ---- peaks -----------------------------------------------------------------

template <class T>
using PeakFn = KvpStatus (*)(const T*, int, KvpiSize, T, KvpiPoint*, int, int*, KvpiNorm, int, Kvp8u*);

template <class T>
std::vector<KvpiPoint> runPeaks(PeakFn<T> fn, const Plane<T>& p, T thr, int norm, int border, int maxCount,
                                KvpStatus want = kvpStsOk) {
  int size = 0;
  EXPECT_EQ(kvpiFindPeaks3x3GetBufferSize_32f_C1R(p.size(), &size), kvpStsOk);
  std::vector<Kvp8u> buf(size);
  std::vector<KvpiPoint> out(maxCount + 1, KvpiPoint{-7, -7});
  int count = -5;
  EXPECT_EQ(
      fn(p.roi(), p.step(), p.size(), thr, out.data(), maxCount, &count, (KvpiNorm)norm, border, buf.data()),
      want);
  EXPECT_EQ(out[maxCount].x, -7);  // no write past the limit
  if (want != kvpStsOk) return {};
  out.resize(count);
  return out;
}

bool samePoints(const std::vector<KvpiPoint>& a, const std::vector<KvpiPoint>& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (a[i].x != b[i].x || a[i].y != b[i].y) return false;
  return true;
}

template <class T>
void peakSweep(PeakFn<T> fn, std::function<T()> gen, T thr) {
  auto rng = kvt::makeRng(5);
  for (KvpiSize sz : et::sizes()) {
    Plane<T> src(sz.width, sz.height, 1, rng);
    src.fill(gen);
    const er::Img<T> s = toImg(src);
    for (int norm : {kvpiNormInf, kvpiNormL1})
      for (int border : {0, 1, 3})
        for (int maxCount : {1, 1 << 20}) {
          const auto ref = er::peaks(s, thr, norm, border, maxCount);
          for (int n : et::threads()) {
            kvt::Threads th(n);
            ASSERT_TRUE(samePoints(runPeaks(fn, src, thr, norm, border, maxCount), ref))
                << kvt::describe(sz) << " norm " << norm << " border " << border << " max " << maxCount;
          }
        }
  }
}

TEST(FindPeaks3x3, MatchesReference) {
  auto rng = kvt::makeRng(6);
  // Few levels, so plateaus and ties are common.
  peakSweep<Kvp32s>(
      kvpiFindPeaks3x3_32s_C1R, [&] { return (Kvp32s)(rng() % 5) - 2; }, 0);
  peakSweep<Kvp32f>(
      kvpiFindPeaks3x3_32f_C1R,
      [&] {
        const unsigned r = (unsigned)rng() % 50;
        return r == 0 ? NAN : (r == 1 ? -0.0f : (float)(r % 6));
      },
      1.0f);
}

TEST(FindPeaks3x3, DocumentedCases) {
  auto rng = kvt::makeRng(7);
  Plane<Kvp32f> p(5, 5, 1, rng);
  p.fill([] { return 0.0f; });
  p.at(2, 2) = 7;
  p.at(3, 2) = 7;
  auto got = runPeaks<Kvp32f>(kvpiFindPeaks3x3_32f_C1R, p, 0, kvpiNormInf, 0, 10);
  ASSERT_EQ(got.size(), 2u);
  EXPECT_TRUE(got[0].x == 2 && got[0].y == 2 && got[1].x == 3 && got[1].y == 2);
  EXPECT_TRUE(runPeaks<Kvp32f>(kvpiFindPeaks3x3_32f_C1R, p, 7, kvpiNormInf, 0, 10).empty());
  // A larger diagonal neighbour blocks under Inf only.
  p.at(3, 2) = 0;
  p.at(3, 3) = 9;
  got = runPeaks<Kvp32f>(kvpiFindPeaks3x3_32f_C1R, p, 0, kvpiNormL1, 0, 10);
  EXPECT_EQ(got.size(), 2u);
  got = runPeaks<Kvp32f>(kvpiFindPeaks3x3_32f_C1R, p, 0, kvpiNormInf, 0, 10);
  ASSERT_EQ(got.size(), 1u);
  EXPECT_TRUE(got[0].x == 3 && got[0].y == 3);
  // The first peak in raster order wins the single slot.
  Plane<Kvp32s> q(6, 5, 1, rng);
  q.fill([] { return 0; });
  q.at(1, 3) = 5;
  q.at(4, 1) = 5;
  got = runPeaks<Kvp32s>(kvpiFindPeaks3x3_32s_C1R, q, 0, kvpiNormInf, 0, 1);
  ASSERT_EQ(got.size(), 1u);
  EXPECT_TRUE(got[0].x == 4 && got[0].y == 1);
  // Border 1 of a 3x3 leaves the centre, border 2 nothing.
  Plane<Kvp32s> c(3, 3, 1, rng);
  c.fill([] { return 1; });
  got = runPeaks<Kvp32s>(kvpiFindPeaks3x3_32s_C1R, c, 0, kvpiNormInf, 1, 10);
  ASSERT_EQ(got.size(), 1u);
  EXPECT_TRUE(got[0].x == 1 && got[0].y == 1);
  EXPECT_TRUE(runPeaks<Kvp32s>(kvpiFindPeaks3x3_32s_C1R, c, 0, kvpiNormInf, 2, 10).empty());
}

TEST(FindPeaks3x3, StatusesInOrder) {
  auto rng = kvt::makeRng(8);
  Plane<Kvp32f> p(4, 4, 1, rng, 0, 0);
  std::vector<Kvp8u> buf(1024);
  KvpiPoint pt[4];
  int count = -3;
  int size = 0;
  EXPECT_EQ(kvpiFindPeaks3x3GetBufferSize_32s_C1R({4, 4}, nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiFindPeaks3x3GetBufferSize_32s_C1R({4, 0}, &size), kvpStsBadSize);
  EXPECT_EQ(kvpiFindPeaks3x3GetBufferSize_32s_C1R({65, 3}, &size), kvpStsOk);
  EXPECT_EQ(size, 8 * 3 * 2 + 64);
  EXPECT_EQ(kvpiFindPeaks3x3GetBufferSize_32f_C1R({46341, 46341}, &size), kvpStsOk);
  EXPECT_EQ(kvpiFindPeaks3x3GetBufferSize_32f_C1R({1 << 30, 1 << 30}, &size), kvpStsBadSize);
  struct Case {
    bool src, pts, cnt, buf;
    KvpiSize sz;
    int step, maxCount, norm, border;
    KvpStatus want;
  } cases[] = {{false, true, true, true, {0, 4}, 3, 0, 7, -1, kvpStsNullPtr},
               {true, false, true, true, {4, 4}, 16, 4, 0, 0, kvpStsNullPtr},
               {true, true, false, true, {4, 4}, 16, 4, 0, 0, kvpStsNullPtr},
               {true, true, true, false, {4, 4}, 16, 4, 0, 0, kvpStsNullPtr},
               {true, true, true, true, {4, 0}, 3, 0, 7, -1, kvpStsBadSize},
               {true, true, true, true, {4, 4}, 12, 0, 7, -1, kvpStsBadStep},
               {true, true, true, true, {4, 4}, 18, 0, 7, -1, kvpStsStepNotMultiple},
               {true, true, true, true, {4, 4}, 16, 0, 7, -1, kvpStsBadSize},
               {true, true, true, true, {4, 4}, 16, 4, kvpiNormL2, -1, kvpStsBadArg},
               {true, true, true, true, {4, 4}, 16, 4, kvpiNormL1, -1, kvpStsBadArg}};
  for (const Case& c : cases) {
    EXPECT_EQ(kvpiFindPeaks3x3_32f_C1R(c.src ? p.roi() : nullptr, c.step, c.sz, 0, c.pts ? pt : nullptr,
                                       c.maxCount, c.cnt ? &count : nullptr, (KvpiNorm)c.norm, c.border,
                                       c.buf ? buf.data() : nullptr),
              c.want);
    EXPECT_EQ(count, -3);
  }
}

}  // namespace

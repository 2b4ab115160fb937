// Integral tables and window standard deviations against the plain
// references of integral_ref.h, plus checks of what the tables mean.
#include <climits>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "harness.h"
#include "integral_ref.h"
#include "targets.h"

namespace {

using ir::Precision;
using kvt::Plane;

template <class T>
::testing::AssertionResult sameTable(const Plane<T>& got, const std::vector<T>& want) {
  for (int y = 0; y < got.height(); ++y)
    for (int x = 0; x < got.width(); ++x)
      if (std::memcmp(&got.at(x, y), &want[(size_t)y * got.width() + x], sizeof(T)) != 0)
        return ::testing::AssertionFailure() << "entry (" << y << ", " << x << "): " << +got.at(x, y)
                                             << " vs " << +want[(size_t)y * got.width() + x];
  return ::testing::AssertionSuccess();
}

Plane<Kvp8u> randomImage(KvpiSize sz, kvt::Rng& rng, int lo = 0, int hi = 255) {
  Plane<Kvp8u> s(sz.width, sz.height, 1, rng);
  std::uniform_int_distribution<int> d(lo, hi);
  s.fill([&] { return d(rng); });
  return s;
}

// ---- builders --------------------------------------------------------------------

// Every builder as one call shape; the members without a squared table
// ignore its arguments.
template <class TS, class TQ>
struct Builder {
  const char* name;
  bool tilted, withSqr;
  std::function<KvpStatus(const Kvp8u*, int, TS*, int, TQ*, int, KvpiSize, TS, TQ)> call;
};

template <class TS, class TQ, class F>
Builder<TS, TQ> sumOnly(const char* name, bool tilted, F f) {
  return {name, tilted, false, [f](const Kvp8u* s, int ss, TS* d, int ds, TQ*, int, KvpiSize r, TS v, TQ) {
            return f(s, ss, d, ds, r, v);
          }};
}
template <class TS, class TQ, class F>
Builder<TS, TQ> withSqr(const char* name, bool tilted, F f) {
  return {name, tilted, true, f};
}

template <class TS, class TQ>
void checkBuilder(const Builder<TS, TQ>& b, const Plane<Kvp8u>& src, TS val, TQ valSqr, kvt::Rng& rng) {
  const int e = b.tilted ? 2 : 1, w = src.width(), h = src.height();
  Plane<TS> dst(w + e, h + e, 1, rng);
  Plane<TQ> sqr(w + e, h + e, 1, rng);
  const auto dstBefore = dst.bytes(), sqrBefore = sqr.bytes();
  ASSERT_EQ(kvpStsOk, b.call(src.roi(), src.step(), dst.roi(), dst.step(), sqr.roi(), sqr.step(), src.size(),
                             val, valSqr));
  auto px = [&](int x, int y) { return src.at(x, y); };
  ASSERT_TRUE(sameTable(dst, ir::table<TS>(b.tilted, w, h, val, false, px))) << "sum table";
  ASSERT_TRUE(dst.sameOutsideRoi(dstBefore));
  if (b.withSqr) {
    ASSERT_TRUE(sameTable(sqr, ir::table<TQ>(b.tilted, w, h, valSqr, true, px))) << "squared table";
    ASSERT_TRUE(sqr.sameOutsideRoi(sqrBefore));
  } else {
    ASSERT_TRUE(sqr.unchanged(sqrBefore));
  }
}

// Every other size starts the tables near the top of the 32-bit range, so
// that the integer tables wrap.
template <class TS, class TQ>
void sweepBuilders(const std::vector<Builder<TS, TQ>>& builders) {
  for (const auto& b : builders) {
    kvt::Rng rng = kvt::makeRng(std::hash<std::string>{}(b.name));
    int k = 0;
    for (KvpiSize sz : kvt::sizeSweep()) {
      SCOPED_TRACE(std::string(b.name) + " " + kvt::describe(sz));
      const Plane<Kvp8u> src = randomImage(sz, rng);
      const bool high = k++ & 1;
      std::uniform_int_distribution<int> small(-1000, 1000);
      const TS val = high ? (TS)(INT_MAX - 1000) : (TS)small(rng);
      const TQ valSqr = high ? (TQ)(INT_MIN + 7) : (TQ)small(rng);
      for (int64_t t : kvt::vectorTargets()) {
        kvt::Target target(t);
        SCOPED_TRACE(kvt::targetName(t));
        checkBuilder<TS, TQ>(b, src, val, valSqr, rng);
      }
    }
  }
}

TEST(IntegralBuild, MatchesReference) {
  sweepBuilders<Kvp32s, Kvp32s>(
      {sumOnly<Kvp32s, Kvp32s>("Integral_8u32s", false, kvpiIntegral_8u32s_C1R),
       withSqr<Kvp32s, Kvp32s>("SqrIntegral_8u32s", false, kvpiSqrIntegral_8u32s_C1R),
       sumOnly<Kvp32s, Kvp32s>("TiltedIntegral_8u32s", true, kvpiTiltedIntegral_8u32s_C1R),
       withSqr<Kvp32s, Kvp32s>("TiltedSqrIntegral_8u32s", true, kvpiTiltedSqrIntegral_8u32s_C1R)});
  sweepBuilders<Kvp32s, Kvp64f>(
      {withSqr<Kvp32s, Kvp64f>("SqrIntegral_8u32s64f", false, kvpiSqrIntegral_8u32s64f_C1R),
       withSqr<Kvp32s, Kvp64f>("TiltedSqrIntegral_8u32s64f", true, kvpiTiltedSqrIntegral_8u32s64f_C1R)});
  sweepBuilders<Kvp32f, Kvp64f>(
      {sumOnly<Kvp32f, Kvp64f>("Integral_8u32f", false, kvpiIntegral_8u32f_C1R),
       withSqr<Kvp32f, Kvp64f>("SqrIntegral_8u32f64f", false, kvpiSqrIntegral_8u32f64f_C1R),
       sumOnly<Kvp32f, Kvp64f>("TiltedIntegral_8u32f", true, kvpiTiltedIntegral_8u32f_C1R),
       withSqr<Kvp32f, Kvp64f>("TiltedSqrIntegral_8u32f64f", true, kvpiTiltedSqrIntegral_8u32f64f_C1R)});
}

// What the tables mean, independent of the recurrences: with val 0 an
// upright window sum counts its pixels' values and a tilted window over an
// image of ones counts its 2 * width * height cells.
TEST(IntegralBuild, WindowSumsMeanWhatTheySay) {
  kvt::Rng rng = kvt::makeRng(5);
  const Plane<Kvp8u> src = randomImage({40, 40}, rng);
  Plane<Kvp8u> ones(40, 40, 1, rng);
  ones.fill([] { return 1; });
  Plane<Kvp32s> u(41, 41, 1, rng), t(42, 42, 1, rng);
  ASSERT_EQ(kvpStsOk, kvpiIntegral_8u32s_C1R(src.roi(), src.step(), u.roi(), u.step(), src.size(), 0));
  ASSERT_EQ(kvpStsOk,
            kvpiTiltedIntegral_8u32s_C1R(ones.roi(), ones.step(), t.roi(), t.step(), ones.size(), 0));
  for (int w = 1; w <= 6; ++w)
    for (int h = 1; h <= 6; ++h) {
      int direct = 0;
      for (int y = 5; y < 5 + h; ++y)
        for (int x = 8; x < 8 + w; ++x) direct += src.at(x, y);
      EXPECT_EQ(direct, u.at(8 + w, 5 + h) - u.at(8 + w, 5) - u.at(8, 5 + h) + u.at(8, 5));
      // A tilted window with origin (8, 5), relative to column 12 of row 0.
      auto T = [&](int dr, int dc) { return t.at(12 + dc, dr); };
      EXPECT_EQ(2 * w * h, T(13 + w + h, 3 + w - h) - T(13 + h, 3 - h) - T(13 + w, 3 + w) + T(13, 3))
          << w << "x" << h;
    }
}

// Checks in order: pointers, size, steps (source, sum, squared), multiples;
// nothing written on failure.
TEST(IntegralChecks, OrderAndNoWrite) {
  kvt::Rng rng = kvt::makeRng(6);
  const Plane<Kvp8u> src = randomImage({10, 6}, rng);
  for (bool tilted : {false, true}) {
    SCOPED_TRACE(tilted ? "tilted" : "upright");
    const int extra = tilted ? 2 : 1;
    Plane<Kvp32s> dst(10 + extra, 6 + extra, 1, rng, 0);
    Plane<Kvp64f> sqr(10 + extra, 6 + extra, 1, rng, 0);
    const auto db = dst.bytes(), qb = sqr.bytes();
    auto call = [&](const Kvp8u* s, int ss, Kvp32s* d, int ds, Kvp64f* q, int qs, KvpiSize r) {
      return tilted ? kvpiTiltedSqrIntegral_8u32s64f_C1R(s, ss, d, ds, q, qs, r, 0, 0.0)
                    : kvpiSqrIntegral_8u32s64f_C1R(s, ss, d, ds, q, qs, r, 0, 0.0);
    };
    const int ss = src.step(), ds = dst.step(), qs = sqr.step();
    const Kvp8u* s = src.roi();
    Kvp32s* d = dst.roi();
    Kvp64f* q = sqr.roi();
    EXPECT_EQ(kvpStsNullPtr, call(nullptr, ss, d, ds, q, qs, {0, 0}));
    EXPECT_EQ(kvpStsNullPtr, call(s, ss, nullptr, ds, q, qs, {0, 6}));
    EXPECT_EQ(kvpStsNullPtr, call(s, ss, d, ds, nullptr, qs, {10, 6}));
    EXPECT_EQ(kvpStsBadSize, call(s, 1, d, 3, q, 5, {0, 6}));
    EXPECT_EQ(kvpStsBadSize, call(s, 1, d, 3, q, 5, {10, 0}));
    EXPECT_EQ(kvpStsBadStep, call(s, 9, d, ds, q, qs, {10, 6}));
    EXPECT_EQ(kvpStsBadStep, call(s, ss, d, ds - 4, q, 3, {10, 6}));
    EXPECT_EQ(kvpStsBadStep, call(s, ss, d, ds + 1, q, qs - 8, {10, 6}));
    EXPECT_EQ(kvpStsStepNotMultiple, call(s, ss, d, ds + 2, q, qs, {10, 6}));
    EXPECT_EQ(kvpStsStepNotMultiple, call(s, ss, d, ds, q, qs + 4, {10, 6}));
    EXPECT_TRUE(dst.unchanged(db));
    EXPECT_TRUE(sqr.unchanged(qb));
    // The source step is tested against the width in bytes, not rounded.
    EXPECT_EQ(kvpStsOk, call(s, 10, d, ds, q, qs, {10, 1}));
  }
  // A one-table member does not look at any squared table.
  Plane<Kvp32f> f(12, 8, 1, rng, 0);
  EXPECT_EQ(kvpStsBadStep, kvpiTiltedIntegral_8u32f_C1R(src.roi(), src.step(), f.roi(), 44, {10, 6}, 0.f));
  EXPECT_EQ(kvpStsStepNotMultiple,
            kvpiTiltedIntegral_8u32f_C1R(src.roi(), src.step(), f.roi(), 50, {10, 6}, 0.f));
  EXPECT_EQ(kvpStsBadStep, kvpiIntegral_8u32f_C1R(src.roi(), src.step(), f.roi(), 40, {10, 6}, 0.f));
  EXPECT_EQ(kvpStsOk, kvpiIntegral_8u32f_C1R(src.roi(), src.step(), f.roi(), 44, {10, 6}, 0.f));
}

// ---- standard deviations ---------------------------------------------------------

// One member in a uniform shape over its table types.
template <class TS, class TQ, class TD>
struct DevCase {
  const char* name;
  bool tilted;
  Precision path;
  std::function<KvpStatus(const TS*, int, const TQ*, int, TD*, int, KvpiSize, KvpiRect, int)> call;
};

template <class TS, class TQ, class TD, class F>
DevCase<TS, TQ, TD> plain(const char* name, bool tilted, Precision p, F f) {
  return {name, tilted, p,
          [f](const TS* s, int ss, const TQ* q, int qs, TD* d, int ds, KvpiSize r, KvpiRect k, int) {
            return f(s, ss, q, qs, d, ds, r, k);
          }};
}

// Tables of an image built by the (separately verified) builders.
template <class TS, class TQ>
void buildTables(const Plane<Kvp8u>& src, bool tilted, Plane<TS>& S, Plane<TQ>& Q, TS val, TQ valSqr) {
  KvpStatus st;
  if constexpr (std::is_same_v<TS, Kvp32s> && std::is_same_v<TQ, Kvp32s>)
    st = (tilted ? kvpiTiltedSqrIntegral_8u32s_C1R : kvpiSqrIntegral_8u32s_C1R)(
        src.roi(), src.step(), S.roi(), S.step(), Q.roi(), Q.step(), src.size(), val, valSqr);
  else if constexpr (std::is_same_v<TS, Kvp32s>)
    st = (tilted ? kvpiTiltedSqrIntegral_8u32s64f_C1R : kvpiSqrIntegral_8u32s64f_C1R)(
        src.roi(), src.step(), S.roi(), S.step(), Q.roi(), Q.step(), src.size(), val, valSqr);
  else
    st = (tilted ? kvpiTiltedSqrIntegral_8u32f64f_C1R : kvpiSqrIntegral_8u32f64f_C1R)(
        src.roi(), src.step(), S.roi(), S.step(), Q.roi(), Q.step(), src.size(), val, valSqr);
  ASSERT_EQ(kvpStsOk, st);
}

// The first output's table column and the largest output whose reads stay
// inside a table of tw x th entries.
struct Placement {
  int col0;
  KvpiSize out;
};
Placement placementFor(KvpiRect r, bool tilted, int tw, int th) {
  const ir::Layout L = ir::layoutOf(tilted, {1, 1}, r);
  return {(int)-L.c0, {tw - (int)L.cols + 1, th - (int)L.rows + 1}};
}

// Runs one member over the tables of an image and compares every output
// (at every thread count when the output is large); a window that does not
// fit the image is skipped.
template <class TS, class TQ, class TD>
void checkDev(const DevCase<TS, TQ, TD>& c, const Plane<Kvp8u>& src, KvpiRect r, int sf, TS val, TQ valSqr,
              kvt::Rng& rng) {
  const int extra = c.tilted ? 2 : 1, tw = src.width() + extra, th = src.height() + extra;
  const Placement lay = placementFor(r, c.tilted, tw, th);
  if (lay.out.width < 1 || lay.out.height < 1) return;
  // The step checks ask for more columns than a tilted window reads: pad.
  const long long needCols = ir::windowCols(c.tilted, lay.out, r);
  const int pad = (int)std::max<long long>(0, needCols - tw) + 1;
  Plane<TS> S(tw, th, 1, rng, pad * (int)sizeof(TS));
  Plane<TQ> Q(tw, th, 1, rng, pad * (int)sizeof(TQ));
  buildTables(src, c.tilted, S, Q, val, valSqr);
  Plane<TD> expect(lay.out.width, lay.out.height, 1, rng);
  auto sAt = [&](long long y, long long x) { return S.at((int)(lay.col0 + x), (int)y); };
  auto qAt = [&](long long y, long long x) { return Q.at((int)(lay.col0 + x), (int)y); };
  for (int i = 0; i < lay.out.height; ++i)
    for (int j = 0; j < lay.out.width; ++j) switch (c.path) {
        case Precision::Single:
          expect.at(j, i) = ir::deviationAt<Precision::Single, TS, TQ, TD>(c.tilted, r, sf, i, j, sAt, qAt);
          break;
        case Precision::Double:
          expect.at(j, i) = ir::deviationAt<Precision::Double, TS, TQ, TD>(c.tilted, r, sf, i, j, sAt, qAt);
          break;
        case Precision::Scaled:
          expect.at(j, i) = ir::deviationAt<Precision::Scaled, TS, TQ, TD>(c.tilted, r, sf, i, j, sAt, qAt);
          break;
      }
  const auto sBefore = S.bytes(), qBefore = Q.bytes();
  for (int threads : kvt::threadCounts()) {
    kvt::Threads scope(threads);
    Plane<TD> out(lay.out.width, lay.out.height, 1, rng);
    const auto before = out.bytes();
    ASSERT_EQ(kvpStsOk, c.call(S.roi() + lay.col0, S.step(), Q.roi() + lay.col0, Q.step(), out.roi(),
                               out.step(), lay.out, r, sf));
    ASSERT_TRUE(kvt::sameRoi(out, expect))
        << "threads " << threads << " rect " << r.x << "," << r.y << "," << r.width << "," << r.height;
    ASSERT_TRUE(out.sameOutsideRoi(before));
    ASSERT_TRUE(S.unchanged(sBefore) && Q.unchanged(qBefore));
    if ((long long)lay.out.width * lay.out.height < 65536) break;
  }
}

// Windows over images from one pixel up, one large output for the threaded
// path; the scaled members at ordinary and extreme scale factors, and
// integer tables that start near the top of the 32-bit range on every other
// image, so that their differences wrap.
template <class TS, class TQ, class TD>
void sweepDev(const DevCase<TS, TQ, TD>& c) {
  kvt::Rng rng = kvt::makeRng(std::hash<std::string>{}(c.name));
  const std::vector<KvpiSize> images = {{1, 1}, {3, 2}, {9, 7}, {17, 33}, {64, 5}, {101, 77}, {300, 260}};
  const std::vector<KvpiRect> rects = {{0, 0, 1, 1}, {0, 0, 2, 3}, {1, 2, 3, 1},
                                       {3, 1, 5, 4}, {0, 4, 7, 2}, {6, 0, 2, 9}};
  const std::vector<int> sfs = c.path == Precision::Scaled
                                   ? std::vector<int>{0, 1, -2, 3, INT_MIN, -1100, 1100, INT_MAX}
                                   : std::vector<int>{0};
  int k = 0;
  for (KvpiSize sz : images) {
    const Plane<Kvp8u> src = randomImage(sz, rng);
    const bool high = std::is_same_v<TS, Kvp32s> && (k++ & 1);
    for (KvpiRect r : rects)
      for (int sf : sfs) {
        SCOPED_TRACE(std::string(c.name) + " " + kvt::describe(sz) + " sf " + std::to_string(sf));
        checkDev(c, src, r, sf, high ? (TS)(INT_MAX - 12345) : (TS)3, high ? (TQ)(INT_MIN + 99) : (TQ)-11,
                 rng);
      }
  }
  const Plane<Kvp8u> large = randomImage(kvt::smallRun() ? KvpiSize{130, 120} : KvpiSize{700, 400}, rng);
  checkDev(c, large, {2, 3, 24, 19}, c.path == Precision::Scaled ? 2 : 0, (TS)0, (TQ)0, rng);
}

TEST(RectStdDev, MatchesReference) {
  using P = Precision;
  sweepDev(plain<Kvp32f, Kvp64f, Kvp32f>("RectStdDev_32f", false, P::Single, kvpiRectStdDev_32f_C1R));
  sweepDev(
      plain<Kvp32f, Kvp64f, Kvp32f>("TiltedRectStdDev_32f", true, P::Double, kvpiTiltedRectStdDev_32f_C1R));
  sweepDev(plain<Kvp32s, Kvp64f, Kvp32f>("RectStdDev_32s32f", false, P::Double, kvpiRectStdDev_32s32f_C1R));
  sweepDev(plain<Kvp32s, Kvp64f, Kvp32f>("TiltedRectStdDev_32s32f", true, P::Double,
                                         kvpiTiltedRectStdDev_32s32f_C1R));
  sweepDev(
      DevCase<Kvp32s, Kvp32s, Kvp32s>{"RectStdDev_32s_Sfs", false, P::Scaled, kvpiRectStdDev_32s_C1RSfs});
  sweepDev(DevCase<Kvp32s, Kvp32s, Kvp32s>{"TiltedRectStdDev_32s_Sfs", true, P::Scaled,
                                           kvpiTiltedRectStdDev_32s_C1RSfs});
}

// The deviations mean what they say: against a direct per-window
// computation over the pixels (upright windows, loose tolerance for the
// single-precision members).
TEST(RectStdDev, UprightMatchesDirectStatistics) {
  kvt::Rng rng = kvt::makeRng(8);
  const Plane<Kvp8u> src = randomImage({40, 30}, rng);
  const KvpiRect r{2, 1, 6, 5};
  Plane<Kvp32f> S(41, 31, 1, rng);
  Plane<Kvp64f> Q(41, 31, 1, rng);
  buildTables(src, false, S, Q, 0.f, 0.0);
  Plane<Kvp32s> Si(41, 31, 1, rng), Qi(41, 31, 1, rng);
  buildTables(src, false, Si, Qi, 0, 0);
  const KvpiSize out{41 - 8, 31 - 6};
  Plane<Kvp32f> d(out.width, out.height, 1, rng);
  Plane<Kvp32s> di(out.width, out.height, 1, rng);
  ASSERT_EQ(kvpStsOk,
            kvpiRectStdDev_32f_C1R(S.roi(), S.step(), Q.roi(), Q.step(), d.roi(), d.step(), out, r));
  ASSERT_EQ(kvpStsOk, kvpiRectStdDev_32s_C1RSfs(Si.roi(), Si.step(), Qi.roi(), Qi.step(), di.roi(), di.step(),
                                                out, r, -4));
  for (int i = 0; i < out.height; ++i)
    for (int j = 0; j < out.width; ++j) {
      double s = 0, q = 0;
      for (int y = 0; y < r.height; ++y)
        for (int x = 0; x < r.width; ++x) {
          const double p = src.at(j + r.x + x, i + r.y + y);
          s += p;
          q += p * p;
        }
      const double n = r.width * r.height, mean = s / n, sd = std::sqrt(q / n - mean * mean);
      ASSERT_NEAR(sd, d.at(j, i), 1e-3 * (1 + sd)) << i << "," << j;
      ASSERT_NEAR(sd * 16, di.at(j, i), 1.0) << i << "," << j;
    }
}

// Tables whose window gives a negative variance (mean squared above the
// mean of squares): every member clamps it to 0 instead of taking the root
// of a negative number.
TEST(RectStdDev, NegativeVarianceClampsToZero) {
  kvt::Rng rng = kvt::makeRng(13);
  for (bool tilted : {false, true}) {
    SCOPED_TRACE(tilted ? "tilted" : "upright");
    // Windows of one cell (upright) or two cells (tilted), five outputs in
    // a row (vector body and tail): every window has sum 6 per cell and
    // squares 10 per cell, or 40 per cell in the second round.
    const KvpiRect r{0, 0, 1, 1};
    const int col0 = tilted ? 1 : 0, n = tilted ? 2 : 1;
    Plane<Kvp32f> Sf(8, 4, 1, rng, 0);
    Plane<Kvp32s> Si(8, 4, 1, rng, 0), Qi(8, 4, 1, rng, 0);
    Plane<Kvp64f> Q(8, 4, 1, rng, 0);
    auto sf = tilted ? kvpiTiltedRectStdDev_32f_C1R : kvpiRectStdDev_32f_C1R;
    auto sd = tilted ? kvpiTiltedRectStdDev_32s32f_C1R : kvpiRectStdDev_32s32f_C1R;
    auto ss = tilted ? kvpiTiltedRectStdDev_32s_C1RSfs : kvpiRectStdDev_32s_C1RSfs;
    Plane<Kvp32f> f(5, 1, 1, rng), g(5, 1, 1, rng);
    Plane<Kvp32s> i(5, 1, 1, rng);
    for (int sq : {10, 40}) {
      Sf.fill([] { return 0; });
      Si.fill([] { return 0; });
      Qi.fill([] { return 0; });
      Q.fill([] { return 0; });
      for (int x = 0; x < 8; ++x) {
        // Upright: row 1 rises by the window's sums per column; tilted:
        // row 2 holds them (the window's only non-zero read).
        const int y = tilted ? 2 : 1, k = tilted ? 1 : x;
        Sf.at(x, y) = (float)(6 * n * k);
        Si.at(x, y) = 6 * n * k;
        Q.at(x, y) = (double)(sq * n * k);
        Qi.at(x, y) = sq * n * k;
      }
      const float want = sq == 10 ? 0.f : 2.f;
      ASSERT_EQ(kvpStsOk,
                sf(Sf.roi() + col0, Sf.step(), Q.roi() + col0, Q.step(), f.roi(), f.step(), {5, 1}, r));
      ASSERT_EQ(kvpStsOk,
                sd(Si.roi() + col0, Si.step(), Q.roi() + col0, Q.step(), g.roi(), g.step(), {5, 1}, r));
      ASSERT_EQ(kvpStsOk,
                ss(Si.roi() + col0, Si.step(), Qi.roi() + col0, Qi.step(), i.roi(), i.step(), {5, 1}, r, -3));
      for (int j = 0; j < 5; ++j) {
        EXPECT_EQ(want, f.at(j, 0)) << sq << " " << j;
        EXPECT_FALSE(std::signbit(f.at(j, 0)));
        EXPECT_EQ(want, g.at(j, 0)) << sq << " " << j;
        EXPECT_EQ((int)want * 8, i.at(j, 0)) << sq << " " << j;
      }
    }
  }
}

// The scaled member: 2^-scaleFactor, + 0.5, truncation, saturation. Every
// 2 x 1 window over alternating pixels 0 and 2d has deviation d exactly;
// nine outputs cover the vector body and the scalar tail. Deviation 1 at
// scale factor 1 is exactly one half, which rounds up.
TEST(RectStdDev, ScaleFactorRounding) {
  kvt::Rng rng = kvt::makeRng(10);
  for (int d : {1, 3, 5, 40}) {
    Plane<Kvp8u> src(10, 1, 1, rng);
    for (int x = 0; x < 10; ++x) src.at(x, 0) = (Kvp8u)(x % 2 ? 2 * d : 0);
    Plane<Kvp32s> S(11, 2, 1, rng), Q(11, 2, 1, rng);
    buildTables(src, false, S, Q, 0, 0);
    for (int sf : {0, 1, 2, -1, -5, 40, -28, -40, INT_MIN, INT_MIN + 1, -2000, -1100, 1100, 2000, INT_MAX}) {
      Plane<Kvp32s> out(9, 1, 1, rng);
      ASSERT_EQ(kvpStsOk, kvpiRectStdDev_32s_C1RSfs(S.roi(), S.step(), Q.roi(), Q.step(), out.roi(),
                                                    out.step(), {9, 1}, KvpiRect{0, 0, 2, 1}, sf));
      const double scaled = std::ldexp((double)d, sf < -3000 ? 3000 : sf > 3000 ? -3000 : -sf) + 0.5;
      const int want = scaled >= 2147483647.0 ? INT_MAX : (int)std::floor(scaled);
      for (int j = 0; j < 9; ++j) EXPECT_EQ(want, out.at(j, 0)) << "d " << d << " sf " << sf << " at " << j;
    }
  }
}

// Checks: pointers, size, steps (sum, squared, output), multiples, then the
// window; nothing written on failure.
TEST(RectStdDevChecks, OrderAndNoWrite) {
  kvt::Rng rng = kvt::makeRng(12);
  for (bool tilted : {false, true}) {
    SCOPED_TRACE(tilted ? "tilted" : "upright");
    Plane<Kvp32s> S(40, 40, 1, rng, 0);
    Plane<Kvp64f> Q(40, 40, 1, rng, 0);
    Plane<Kvp32f> D(10, 10, 1, rng, 0);
    const auto before = D.bytes();
    auto call = [&](const Kvp32s* s, int ss, const Kvp64f* q, int qs, Kvp32f* d, int ds, KvpiSize roi,
                    KvpiRect r) {
      return tilted ? kvpiTiltedRectStdDev_32s32f_C1R(s, ss, q, qs, d, ds, roi, r)
                    : kvpiRectStdDev_32s32f_C1R(s, ss, q, qs, d, ds, roi, r);
    };
    const KvpiRect r{2, 3, 4, 5}, badX{-1, 3, 4, 5};
    // Columns the step must cover.
    const int cols = tilted ? 2 + 3 + 4 + 5 + 10 - 1 : 4 + 10 + 2;
    const Kvp32s* s = S.roi() + 10;
    const Kvp64f* q = Q.roi() + 10;
    Kvp32f* d = D.roi();
    const KvpiSize roi{10, 10};
    const int ss = cols * 4, qs = cols * 8, ds = D.step();
    EXPECT_EQ(kvpStsNullPtr, call(nullptr, ss, q, qs, d, ds, {0, 0}, r));
    EXPECT_EQ(kvpStsNullPtr, call(s, ss, nullptr, qs, d, ds, {0, 0}, r));
    EXPECT_EQ(kvpStsNullPtr, call(s, ss, q, qs, nullptr, ds, roi, r));
    EXPECT_EQ(kvpStsBadSize, call(s, 0, q, 0, d, 0, {0, 10}, r));
    EXPECT_EQ(kvpStsBadSize, call(s, 0, q, 0, d, 0, {10, -1}, r));
    EXPECT_EQ(kvpStsBadStep, call(s, 4, q, qs, d, ds, roi, badX));
    EXPECT_EQ(kvpStsBadStep, call(s, ss + 1, q, qs - 8, d, ds, roi, r));
    EXPECT_EQ(kvpStsBadStep, call(s, ss + 1, q, qs + 4, d, 39, roi, r));
    EXPECT_EQ(kvpStsStepNotMultiple, call(s, ss + 1, q, qs, d, ds, roi, badX));
    EXPECT_EQ(kvpStsStepNotMultiple, call(s, ss, q, qs + 4, d, ds, roi, r));
    EXPECT_EQ(kvpStsStepNotMultiple, call(s, ss, q, qs, d, 42, roi, r));
    for (KvpiRect bad : {badX, KvpiRect{2, -1, 4, 5}, KvpiRect{2, 3, 0, 5}, KvpiRect{2, 3, 4, 0}})
      EXPECT_EQ(kvpStsBadSize, call(s, ss, q, qs, d, ds, roi, bad));
    EXPECT_TRUE(D.unchanged(before));
    // The step bound is exact.
    EXPECT_EQ(kvpStsBadStep, call(s, ss - 4, q, qs, d, ds, roi, r));
    EXPECT_EQ(kvpStsOk, call(s, ss, q, qs, d, ds, roi, r));
  }
  // The 32f and scaled members: 8-byte squared steps, 4-byte for the others.
  Plane<Kvp32f> S(20, 20, 1, rng, 0);
  Plane<Kvp64f> Q(20, 20, 1, rng, 0);
  Plane<Kvp32f> D(5, 5, 1, rng, 0);
  const KvpiRect r{1, 1, 2, 2};
  EXPECT_EQ(kvpStsStepNotMultiple,
            kvpiRectStdDev_32f_C1R(S.roi(), 80, Q.roi(), 164, D.roi(), D.step(), {5, 5}, r));
  EXPECT_EQ(kvpStsOk, kvpiRectStdDev_32f_C1R(S.roi(), 80, Q.roi(), 160, D.roi(), D.step(), {5, 5}, r));
  Plane<Kvp32s> Si(20, 20, 1, rng, 0), Qi(20, 20, 1, rng, 0), Di(5, 5, 1, rng, 0);
  EXPECT_EQ(kvpStsBadStep,
            kvpiRectStdDev_32s_C1RSfs(Si.roi(), 80, Qi.roi(), 4 * 7, Di.roi(), Di.step(), {5, 5}, r, 0));
  EXPECT_EQ(kvpStsOk,
            kvpiRectStdDev_32s_C1RSfs(Si.roi(), 80, Qi.roi(), 4 * 8, Di.roi(), Di.step(), {5, 5}, r, 0));
}

}  // namespace

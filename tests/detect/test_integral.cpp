// Integral tables and window standard deviations against plain references
// written from the table definitions and the per-member arithmetic.
#include <climits>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "harness.h"

namespace {

using kvt::Plane;

// ---- references: tables ---------------------------------------------------------

// A table as a dense row-major array.
template <class T>
struct Table {
  int w = 0, h = 0;
  std::vector<T> v;
  Table(int width, int height) : w(width), h(height), v((size_t)width * height) {}
  T& at(int y, int x) { return v[(size_t)y * w + x]; }
  const T& at(int y, int x) const { return v[(size_t)y * w + x]; }
};

inline uint32_t px(const Plane<Kvp8u>& s, int y, int x, bool square) {
  if (x < 0 || x >= s.width() || y < 0 || y >= s.height()) return 0;
  const uint32_t p = s.at(x, y);
  return square ? p * p : p;
}

// 32-bit integer tables: val plus the rectangle sum, modulo 2^32.
Table<Kvp32s> refUprightInt(const Plane<Kvp8u>& s, Kvp32s val, bool square) {
  Table<Kvp32s> t(s.width() + 1, s.height() + 1);
  std::vector<uint64_t> cum((size_t)(s.width() + 1) * (s.height() + 1), 0);
  auto c = [&](int y, int x) -> uint64_t& { return cum[(size_t)y * (s.width() + 1) + x]; };
  for (int y = 1; y <= s.height(); ++y)
    for (int x = 1; x <= s.width(); ++x)
      c(y, x) = c(y - 1, x) + c(y, x - 1) - c(y - 1, x - 1) + px(s, y - 1, x - 1, square);
  for (int y = 0; y <= s.height(); ++y)
    for (int x = 0; x <= s.width(); ++x) t.at(y, x) = (Kvp32s)(uint32_t)((uint64_t)(uint32_t)val + c(y, x));
  return t;
}

// Floating tables: each entry is the entry above plus the 32-bit integer
// prefix of its source row, converted.
template <class T>
Table<T> refUprightFloat(const Plane<Kvp8u>& s, T val, bool square) {
  Table<T> t(s.width() + 1, s.height() + 1);
  for (int x = 0; x <= s.width(); ++x) t.at(0, x) = val;
  for (int y = 1; y <= s.height(); ++y) {
    t.at(y, 0) = val;
    uint32_t r = 0;
    for (int x = 1; x <= s.width(); ++x) {
      r += px(s, y - 1, x - 1, square);
      t.at(y, x) = t.at(y - 1, x) + (T)(int32_t)r;
    }
  }
  return t;
}

// The tilted recurrence, evaluated left to right in the table's arithmetic.
template <class T>
Table<T> refTilted(const Plane<Kvp8u>& s, T val, bool square) {
  const int w = s.width(), h = s.height();
  Table<T> t(w + 2, h + 2);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < w + 2; ++x) t.at(y, x) = val;
  for (int y = 2; y < h + 2; ++y) {
    t.at(y, 0) = t.at(y - 1, 1);
    for (int j = 1; j <= w; ++j) {
      if constexpr (std::is_same_v<T, Kvp32s>) {
        const uint32_t v = (uint32_t)t.at(y - 1, j - 1) + (uint32_t)t.at(y - 1, j + 1) -
                           (uint32_t)t.at(y - 2, j) + px(s, y - 2, j - 1, square) + px(s, y - 2, j, square);
        t.at(y, j) = (Kvp32s)v;
      } else {
        t.at(y, j) = t.at(y - 1, j - 1) + t.at(y - 1, j + 1) - t.at(y - 2, j) +
                     (T)px(s, y - 2, j - 1, square) + (T)px(s, y - 2, j, square);
      }
    }
    t.at(y, w + 1) = t.at(y - 1, w);
  }
  return t;
}

template <class T>
Table<T> refTable(const Plane<Kvp8u>& s, T val, bool square, bool tilted) {
  if (tilted) return refTilted<T>(s, val, square);
  if constexpr (std::is_same_v<T, Kvp32s>)
    return refUprightInt(s, val, square);
  else
    return refUprightFloat<T>(s, val, square);
}

template <class T>
::testing::AssertionResult sameTable(const Plane<T>& got, const Table<T>& want) {
  for (int y = 0; y < want.h; ++y)
    for (int x = 0; x < want.w; ++x)
      if (std::memcmp(&got.at(x, y), &want.at(y, x), sizeof(T)) != 0)
        return ::testing::AssertionFailure()
               << "entry (" << y << ", " << x << "): " << +got.at(x, y) << " vs " << +want.at(y, x);
  return ::testing::AssertionSuccess();
}

Plane<Kvp8u> randomImage(KvpiSize sz, kvt::Rng& rng, int lo = 0, int hi = 255) {
  Plane<Kvp8u> s(sz.width, sz.height, 1, rng);
  std::uniform_int_distribution<int> d(lo, hi);
  s.fill([&] { return d(rng); });
  return s;
}

// ---- builders --------------------------------------------------------------------

// Every builder as one call shape; sqr arguments are ignored by the
// members without a squared table.
template <class TS, class TQ>
using BuildCall = std::function<KvpStatus(const Kvp8u*, int, TS*, int, TQ*, int, KvpiSize, TS, TQ)>;

template <class TS, class TQ>
struct Builder {
  const char* name;
  bool tilted;
  bool withSqr;
  BuildCall<TS, TQ> call;
};

template <class TS, class TQ, class F>
Builder<TS, TQ> sumOnly(const char* name, bool tilted, F f) {
  return {name, tilted, false, [f](const Kvp8u* s, int ss, TS* d, int ds, TQ*, int, KvpiSize r, TS v, TQ) {
            return f(s, ss, d, ds, r, v);
          }};
}
template <class TS, class TQ, class F>
Builder<TS, TQ> withSqr(const char* name, bool tilted, F f) {
  return {name, tilted, true,
          [f](const Kvp8u* s, int ss, TS* d, int ds, TQ* q, int qs, KvpiSize r, TS v, TQ vq) {
            return f(s, ss, d, ds, q, qs, r, v, vq);
          }};
}

template <class TS, class TQ>
void checkBuilder(const Builder<TS, TQ>& b, const Plane<Kvp8u>& src, TS val, TQ valSqr, kvt::Rng& rng) {
  const int extra = b.tilted ? 2 : 1;
  const int tw = src.width() + extra, th = src.height() + extra;
  Plane<TS> dst(tw, th, 1, rng);
  Plane<TQ> sqr(tw, th, 1, rng);
  const auto dstBefore = dst.bytes();
  const auto sqrBefore = sqr.bytes();
  ASSERT_EQ(kvpStsOk, b.call(src.roi(), src.step(), dst.roi(), dst.step(), sqr.roi(), sqr.step(), src.size(),
                             val, valSqr));
  ASSERT_TRUE(sameTable(dst, refTable<TS>(src, val, false, b.tilted))) << "sum table";
  ASSERT_TRUE(dst.sameOutsideRoi(dstBefore));
  if (b.withSqr) {
    ASSERT_TRUE(sameTable(sqr, refTable<TQ>(src, valSqr, true, b.tilted))) << "squared table";
    ASSERT_TRUE(sqr.sameOutsideRoi(sqrBefore));
  } else {
    ASSERT_TRUE(sqr.unchanged(sqrBefore));
  }
}

template <class TS, class TQ>
void sweepBuilder(const Builder<TS, TQ>& b) {
  kvt::Rng rng = kvt::makeRng(std::hash<std::string>{}(b.name));
  for (KvpiSize sz : kvt::sizeSweep()) {
    SCOPED_TRACE(std::string(b.name) + " " + kvt::describe(sz));
    const Plane<Kvp8u> src = randomImage(sz, rng);
    const TS val = (TS)std::uniform_int_distribution<int>(-1000, 1000)(rng);
    const TQ valSqr = (TQ)std::uniform_int_distribution<int>(-1000, 1000)(rng);
    checkBuilder(b, src, val, valSqr, rng);
  }
}

std::vector<Builder<Kvp32s, Kvp32s>> builders32s() {
  return {sumOnly<Kvp32s, Kvp32s>("Integral_8u32s", false, kvpiIntegral_8u32s_C1R),
          withSqr<Kvp32s, Kvp32s>("SqrIntegral_8u32s", false, kvpiSqrIntegral_8u32s_C1R),
          sumOnly<Kvp32s, Kvp32s>("TiltedIntegral_8u32s", true, kvpiTiltedIntegral_8u32s_C1R),
          withSqr<Kvp32s, Kvp32s>("TiltedSqrIntegral_8u32s", true, kvpiTiltedSqrIntegral_8u32s_C1R)};
}
std::vector<Builder<Kvp32s, Kvp64f>> builders32s64f() {
  return {withSqr<Kvp32s, Kvp64f>("SqrIntegral_8u32s64f", false, kvpiSqrIntegral_8u32s64f_C1R),
          withSqr<Kvp32s, Kvp64f>("TiltedSqrIntegral_8u32s64f", true, kvpiTiltedSqrIntegral_8u32s64f_C1R)};
}
std::vector<Builder<Kvp32f, Kvp64f>> builders32f() {
  return {sumOnly<Kvp32f, Kvp64f>("Integral_8u32f", false, kvpiIntegral_8u32f_C1R),
          withSqr<Kvp32f, Kvp64f>("SqrIntegral_8u32f64f", false, kvpiSqrIntegral_8u32f64f_C1R),
          sumOnly<Kvp32f, Kvp64f>("TiltedIntegral_8u32f", true, kvpiTiltedIntegral_8u32f_C1R),
          withSqr<Kvp32f, Kvp64f>("TiltedSqrIntegral_8u32f64f", true, kvpiTiltedSqrIntegral_8u32f64f_C1R)};
}

TEST(IntegralBuild, MatchesReference) {
  for (const auto& b : builders32s()) sweepBuilder(b);
  for (const auto& b : builders32s64f()) sweepBuilder(b);
  for (const auto& b : builders32f()) sweepBuilder(b);
}

TEST(IntegralBuild, OnePixel) {
  kvt::Rng rng = kvt::makeRng(1);
  Plane<Kvp8u> src(1, 1, 1, rng);
  src.at(0, 0) = 7;
  Plane<Kvp32s> dst(2, 2, 1, rng);
  ASSERT_EQ(kvpStsOk, kvpiIntegral_8u32s_C1R(src.roi(), src.step(), dst.roi(), dst.step(), {1, 1}, 5));
  EXPECT_EQ(5, dst.at(0, 0));
  EXPECT_EQ(5, dst.at(1, 0));
  EXPECT_EQ(5, dst.at(0, 1));
  EXPECT_EQ(12, dst.at(1, 1));
}

// Large sums in a float table: each entry is the float above plus the exact
// integer prefix of its row. A table formed by the two-dimensional float
// recurrence (left + above - diagonal + pixel) differs from it, so the
// comparison can tell the two apart.
TEST(IntegralBuild, FloatEntriesAddExactRowPrefix) {
  kvt::Rng rng = kvt::makeRng(2);
  const Plane<Kvp8u> src = randomImage({3000, 40}, rng, 200, 255);
  Plane<Kvp32f> dst(3001, 41, 1, rng);
  ASSERT_EQ(kvpStsOk,
            kvpiIntegral_8u32f_C1R(src.roi(), src.step(), dst.roi(), dst.step(), src.size(), 0.25f));
  const Table<Kvp32f> want = refUprightFloat<Kvp32f>(src, 0.25f, false);
  ASSERT_TRUE(sameTable(dst, want));
  Table<Kvp32f> other(3001, 41);
  for (int x = 0; x <= 3000; ++x) other.at(0, x) = 0.25f;
  bool differs = false;
  for (int y = 1; y <= 40; ++y) {
    other.at(y, 0) = 0.25f;
    for (int x = 1; x <= 3000; ++x) {
      other.at(y, x) =
          other.at(y, x - 1) + other.at(y - 1, x) - other.at(y - 1, x - 1) + (float)src.at(x - 1, y - 1);
      if (other.at(y, x) != want.at(y, x)) differs = true;
    }
  }
  EXPECT_TRUE(differs);
}

// 32-bit tables wrap: a value near the top of the range and a bright image
// carry the sums past 2^31 and 2^32.
TEST(IntegralBuild, IntegerTablesWrap) {
  kvt::Rng rng = kvt::makeRng(3);
  const Plane<Kvp8u> src = randomImage({300, 290}, rng, 240, 255);
  for (const auto& b : builders32s()) {
    SCOPED_TRACE(b.name);
    checkBuilder<Kvp32s, Kvp32s>(b, src, INT_MAX - 1000, INT_MIN + 7, rng);
  }
  for (const auto& b : builders32s64f()) {
    SCOPED_TRACE(b.name);
    checkBuilder<Kvp32s, Kvp64f>(b, src, INT_MAX - 1000, 1e15, rng);
  }
  // The squared sums of this image exceed 2^32 on their own.
  Plane<Kvp32s> dst(301, 291, 1, rng), sqr(301, 291, 1, rng);
  ASSERT_EQ(kvpStsOk, kvpiSqrIntegral_8u32s_C1R(src.roi(), src.step(), dst.roi(), dst.step(), sqr.roi(),
                                                sqr.step(), src.size(), 0, 0));
  uint64_t total = 0;
  for (int y = 0; y < 290; ++y)
    for (int x = 0; x < 300; ++x) total += (uint64_t)src.at(x, y) * src.at(x, y);
  ASSERT_GT(total, 0xffffffffull);
  EXPECT_EQ((uint32_t)total, (uint32_t)sqr.at(300, 290));
}

TEST(IntegralBuild, TiltedWidthOne) {
  kvt::Rng rng = kvt::makeRng(4);
  const Plane<Kvp8u> src = randomImage({1, 9}, rng);
  Plane<Kvp32s> t(3, 11, 1, rng);
  ASSERT_EQ(kvpStsOk, kvpiTiltedIntegral_8u32s_C1R(src.roi(), src.step(), t.roi(), t.step(), src.size(), 3));
  for (int x = 0; x < 3; ++x) {
    EXPECT_EQ(3, t.at(x, 0));
    EXPECT_EQ(3, t.at(x, 1));
  }
  for (int y = 2; y < 11; ++y) {
    EXPECT_EQ(t.at(1, y - 1), t.at(0, y));
    EXPECT_EQ(t.at(0, y - 1) + t.at(2, y - 1) - t.at(1, y - 2) + src.at(0, y - 2), t.at(1, y)) << y;
    EXPECT_EQ(t.at(1, y - 1), t.at(2, y));
  }
}

// With val 0 the tilted window sum over an image of ones counts the cells
// of the window: 2 * width * height of them. A stray term in the recurrence
// breaks this count.
TEST(IntegralBuild, TiltedWindowCountsItsCells) {
  kvt::Rng rng = kvt::makeRng(5);
  Plane<Kvp8u> src(40, 40, 1, rng);
  src.fill([] { return 1; });
  Plane<Kvp32s> t(42, 42, 1, rng);
  ASSERT_EQ(kvpStsOk, kvpiTiltedIntegral_8u32s_C1R(src.roi(), src.step(), t.roi(), t.step(), src.size(), 0));
  for (int w = 1; w <= 6; ++w)
    for (int h = 1; h <= 6; ++h) {
      const int x = 8, y = 5;  // window origin relative to a pixel at row 0, column 12
      const int r0 = 0, c0 = 12;
      auto T = [&](int dr, int dc) { return t.at(c0 + dc, r0 + dr); };
      const int sum = T(x + y + w + h, x - y + w - h) - T(x + y + h, x - y - h) - T(x + y + w, x - y + w) +
                      T(x + y, x - y);
      EXPECT_EQ(2 * w * h, sum) << w << "x" << h;
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
    const auto db = dst.bytes();
    const auto qb = sqr.bytes();
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

// ---- references: standard deviations ---------------------------------------------------

struct Reads {
  int row[4], col[4];
  long long n;
};

Reads readsFor(KvpiRect r, bool tilted) {
  const int x = r.x, y = r.y, w = r.width, h = r.height;
  if (!tilted) return {{y + h, y, y + h, y}, {x + w, x + w, x, x}, (long long)w * h};
  return {{x + y + w + h, x + y + h, x + y + w, x + y},
          {x - y + w - h, x - y - h, x - y + w, x - y},
          2LL * w * h};
}

// The member arithmetic, written out per pixel.
float refFloatPath(const float s[4], const double q[4], long long cnt, float* rawVar = nullptr) {
  const float n = (float)cnt;
  const float sum = s[0] - s[1] - s[2] + s[3];
  const float sq = (float)q[0] - (float)q[1] - (float)q[2] + (float)q[3];
  const float mean = sum / n;
  const float var = sq / n - mean * mean;
  if (rawVar) *rawVar = var;
  return std::sqrt(var < 0.f ? 0.f : var);
}
float refDoublePath(double sum, const double q[4], long long cnt) {
  const double n = (double)cnt;
  const double sq = q[0] - q[1] - q[2] + q[3];
  const double mean = sum / n;
  const double var = sq / n - mean * mean;
  return std::sqrt((float)(var < 0.0 ? 0.0 : var));
}
int32_t refScaledPath(const int32_t s[4], const int32_t q[4], long long cnt, int scaleFactor) {
  const float n = (float)cnt;
  const int32_t sum = (int32_t)((uint32_t)s[0] - (uint32_t)s[1] - (uint32_t)s[2] + (uint32_t)s[3]);
  const int32_t sq = (int32_t)((uint32_t)q[0] - (uint32_t)q[1] - (uint32_t)q[2] + (uint32_t)q[3]);
  const float mean = (float)sum / n;
  float var = (float)sq / n - mean * mean;
  if (var < 0.f) var = 0.f;
  const double v = std::sqrt((double)var) * std::pow(2.0, -scaleFactor) + 0.5;
  if (std::isnan(v) || v >= 2147483647.0) return INT_MAX;  // saturates
  return v > -2147483649.0 ? (int32_t)v : INT_MIN;
}

// Placement of a window evaluation over a table of tw x th entries: the
// first output pixel's table column (tilted windows reach left of it) and
// the largest output that keeps every read inside.
struct Layout {
  int col0;
  KvpiSize out;
};
Layout layoutFor(KvpiRect r, bool tilted, int tw, int th) {
  const Reads k = readsFor(r, tilted);
  int minC = 0, maxC = 0, maxR = 0;
  for (int i = 0; i < 4; ++i) {
    minC = std::min(minC, k.col[i]);
    maxC = std::max(maxC, k.col[i]);
    maxR = std::max(maxR, k.row[i]);
  }
  const int col0 = -minC;
  return {col0, {tw - col0 - maxC, th - maxR}};
}

// One standard-deviation member in a uniform shape over its table types.
enum class Path { Float, Double, Scaled };

template <class TS, class TQ, class TD>
using DevCall = std::function<KvpStatus(const TS*, int, const TQ*, int, TD*, int, KvpiSize, KvpiRect, int)>;

template <class TS, class TQ, class TD>
struct DevCase {
  const char* name;
  bool tilted;
  Path path;
  DevCall<TS, TQ, TD> call;
};

template <class TS, class TQ, class TD, class F>
DevCase<TS, TQ, TD> plain(const char* name, bool tilted, Path p, F f) {
  return {name, tilted, p,
          [f](const TS* s, int ss, const TQ* q, int qs, TD* d, int ds, KvpiSize r, KvpiRect k, int) {
            return f(s, ss, q, qs, d, ds, r, k);
          }};
}
template <class F>
DevCase<Kvp32s, Kvp32s, Kvp32s> scaled(const char* name, bool tilted, F f) {
  return {name, tilted, Path::Scaled, f};
}

// Reference output for one member at output pixel (i, j) of tables whose
// entry (0, 0) is at the caller's pSrc.
template <class TS, class TQ, class TD>
TD refPixel(const DevCase<TS, TQ, TD>& c, const Plane<TS>& S, const Plane<TQ>& Q, int col0, int i, int j,
            KvpiRect r, int scaleFactor) {
  const Reads k = readsFor(r, c.tilted);
  TS s[4];
  TQ q[4];
  for (int t = 0; t < 4; ++t) {
    s[t] = S.at(col0 + j + k.col[t], i + k.row[t]);
    q[t] = Q.at(col0 + j + k.col[t], i + k.row[t]);
  }
  if constexpr (std::is_same_v<TD, Kvp32s>) {
    return refScaledPath(s, q, k.n, scaleFactor);
  } else {
    if (c.path == Path::Float) {
      if constexpr (std::is_same_v<TS, Kvp32f>) return refFloatPath(s, q, k.n);
    }
    double sum;
    if constexpr (std::is_same_v<TS, Kvp32s>)
      sum = (double)(int32_t)((uint32_t)s[0] - (uint32_t)s[1] - (uint32_t)s[2] + (uint32_t)s[3]);
    else
      sum = (double)s[0] - (double)s[1] - (double)s[2] + (double)s[3];
    return refDoublePath(sum, q, k.n);
  }
}

// Tables of a random image built by the (separately verified) builders.
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

// Runs one member over an image and window and compares every output
// (all thread counts when the output is large); a window that does not
// fit the image is skipped.
template <class TS, class TQ, class TD>
void checkDev(const DevCase<TS, TQ, TD>& c, const Plane<Kvp8u>& src, KvpiRect r, int scaleFactor, TS val,
              TQ valSqr, kvt::Rng& rng) {
  const int extra = c.tilted ? 2 : 1;
  const int tw = src.width() + extra, th = src.height() + extra;
  const Layout lay = layoutFor(r, c.tilted, tw, th);
  if (lay.out.width < 1 || lay.out.height < 1) return;
  Plane<TS> S(tw, th, 1, rng);
  Plane<TQ> Q(tw, th, 1, rng);
  buildTables(src, c.tilted, S, Q, val, valSqr);
  // The step checks ask for more columns than a tilted window reads; pad
  // the tables' steps to satisfy them.
  const long long needCols = c.tilted ? (long long)r.x + r.y + r.width + r.height + lay.out.width - 1
                                      : (long long)r.width + lay.out.width + r.x;
  if ((long long)S.step() < needCols * (long long)sizeof(TS) ||
      (long long)Q.step() < needCols * (long long)sizeof(TQ)) {
    const int padCols = (int)std::max<long long>(0, needCols - tw) + 1;
    Plane<TS> S2(tw, th, 1, rng, padCols * (int)sizeof(TS));
    Plane<TQ> Q2(tw, th, 1, rng, padCols * (int)sizeof(TQ));
    for (int y = 0; y < th; ++y)
      for (int x = 0; x < tw; ++x) S2.at(x, y) = S.at(x, y), Q2.at(x, y) = Q.at(x, y);
    S = S2;
    Q = Q2;
  }
  Plane<TD> expect(lay.out.width, lay.out.height, 1, rng);
  for (int i = 0; i < lay.out.height; ++i)
    for (int j = 0; j < lay.out.width; ++j)
      expect.at(j, i) = refPixel(c, S, Q, lay.col0, i, j, r, scaleFactor);
  const bool big = (long long)lay.out.width * lay.out.height >= 65536;
  for (int threads : kvt::threadCounts()) {
    kvt::Threads scope(threads);
    Plane<TD> out(lay.out.width, lay.out.height, 1, rng);
    const auto before = out.bytes();
    const auto sBefore = S.bytes();
    const auto qBefore = Q.bytes();
    ASSERT_EQ(kvpStsOk, c.call(S.roi() + lay.col0, S.step(), Q.roi() + lay.col0, Q.step(), out.roi(),
                               out.step(), lay.out, r, scaleFactor));
    ASSERT_TRUE(kvt::sameRoi(out, expect))
        << "threads " << threads << " rect " << r.x << "," << r.y << "," << r.width << "," << r.height;
    ASSERT_TRUE(out.sameOutsideRoi(before));
    ASSERT_TRUE(S.unchanged(sBefore) && Q.unchanged(qBefore));
    if (!big) break;
  }
}

std::vector<DevCase<Kvp32f, Kvp64f, Kvp32f>> devs32f() {
  return {plain<Kvp32f, Kvp64f, Kvp32f>("RectStdDev_32f", false, Path::Float, kvpiRectStdDev_32f_C1R),
          plain<Kvp32f, Kvp64f, Kvp32f>("TiltedRectStdDev_32f", true, Path::Double,
                                        kvpiTiltedRectStdDev_32f_C1R)};
}
std::vector<DevCase<Kvp32s, Kvp64f, Kvp32f>> devs32s32f() {
  return {plain<Kvp32s, Kvp64f, Kvp32f>("RectStdDev_32s32f", false, Path::Double, kvpiRectStdDev_32s32f_C1R),
          plain<Kvp32s, Kvp64f, Kvp32f>("TiltedRectStdDev_32s32f", true, Path::Double,
                                        kvpiTiltedRectStdDev_32s32f_C1R)};
}
std::vector<DevCase<Kvp32s, Kvp32s, Kvp32s>> devs32s() {
  return {scaled("RectStdDev_32s_Sfs", false, kvpiRectStdDev_32s_C1RSfs),
          scaled("TiltedRectStdDev_32s_Sfs", true, kvpiTiltedRectStdDev_32s_C1RSfs)};
}

template <class TS, class TQ, class TD>
void sweepDev(const DevCase<TS, TQ, TD>& c) {
  kvt::Rng rng = kvt::makeRng(std::hash<std::string>{}(c.name));
  const std::vector<KvpiSize> images = {{1, 1}, {3, 2}, {9, 7}, {17, 33}, {64, 5}, {101, 77}, {300, 260}};
  const std::vector<KvpiRect> rects = {{0, 0, 1, 1}, {0, 0, 2, 3}, {1, 2, 3, 1},
                                       {3, 1, 5, 4}, {0, 4, 7, 2}, {6, 0, 2, 9}};
  for (KvpiSize sz : images) {
    const Plane<Kvp8u> src = randomImage(sz, rng);
    for (KvpiRect r : rects)
      for (int sf : {0, 1, -2, 3}) {
        if (c.path != Path::Scaled && sf != 0) continue;
        SCOPED_TRACE(std::string(c.name) + " " + kvt::describe(sz) + " sf " + std::to_string(sf));
        checkDev(c, src, r, sf, (TS)3, (TQ)-11, rng);
      }
  }
}

TEST(RectStdDev, MatchesReference) {
  for (const auto& c : devs32f()) sweepDev(c);
  for (const auto& c : devs32s32f()) sweepDev(c);
  for (const auto& c : devs32s()) sweepDev(c);
}

// Large outputs: the threaded member at several thread counts, and the
// others at the same sizes.
TEST(RectStdDev, LargeOutputsAndThreads) {
  kvt::Rng rng = kvt::makeRng(7);
  const Plane<Kvp8u> src = randomImage(kvt::smallRun() ? KvpiSize{130, 120} : KvpiSize{700, 400}, rng);
  const KvpiRect r{2, 3, 24, 19};
  for (const auto& c : devs32f()) checkDev(c, src, r, 0, 0.f, 0.0, rng);
  for (const auto& c : devs32s32f()) checkDev(c, src, r, 0, 0, 0.0, rng);
  for (const auto& c : devs32s()) checkDev(c, src, r, 2, 0, 0, rng);
}

// The standard deviations mean what they say: against a direct per-window
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

// A constant window gives exactly 0. The single-precision member narrows
// the squared sums, so its tables stay below 2^24 here; the others read
// exact tables of any size.
TEST(RectStdDev, ConstantWindowsGiveZero) {
  kvt::Rng rng = kvt::makeRng(9);
  {
    Plane<Kvp8u> src(60, 50, 1, rng);
    src.fill([] { return 37; });
    for (KvpiRect r : {KvpiRect{0, 0, 3, 3}, KvpiRect{1, 1, 37, 29}, KvpiRect{0, 2, 13, 41}}) {
      Plane<Kvp32f> S(61, 51, 1, rng);
      Plane<Kvp64f> Q(61, 51, 1, rng);
      buildTables(src, false, S, Q, 17.f, -3.0);
      const KvpiSize out{61 - r.x - r.width, 51 - r.y - r.height};
      Plane<Kvp32f> d(out.width, out.height, 1, rng);
      ASSERT_EQ(kvpStsOk,
                kvpiRectStdDev_32f_C1R(S.roi(), S.step(), Q.roi(), Q.step(), d.roi(), d.step(), out, r));
      for (int i = 0; i < out.height; ++i)
        for (int j = 0; j < out.width; ++j) ASSERT_EQ(0.f, d.at(j, i)) << i << "," << j;
    }
  }
  Plane<Kvp8u> src(260, 200, 1, rng);
  src.fill([] { return 211; });
  // The other members on constant windows, upright and tilted.
  for (bool tilted : {false, true}) {
    const int e = tilted ? 2 : 1;
    const KvpiRect r{3, 2, 9, 7};
    Plane<Kvp32s> S(260 + e, 200 + e, 1, rng), Qi(260 + e, 200 + e, 1, rng, 64);
    Plane<Kvp64f> Q(260 + e, 200 + e, 1, rng, 64);
    Plane<Kvp32f> Sf(260 + e, 200 + e, 1, rng, 64);
    Plane<Kvp64f> Qf(260 + e, 200 + e, 1, rng, 64);
    buildTables(src, tilted, S, Q, 0, 0.0);
    buildTables(src, tilted, Sf, Qf, 0.f, 0.0);
    Plane<Kvp32s> S2(260 + e, 200 + e, 1, rng, 64);
    buildTables(src, tilted, S2, Qi, 0, 0);
    const Layout lay = layoutFor(r, tilted, 260 + e, 200 + e);
    Plane<Kvp32f> d(lay.out.width, lay.out.height, 1, rng);
    Plane<Kvp32s> di(lay.out.width, lay.out.height, 1, rng);
    Plane<Kvp32f> df(lay.out.width, lay.out.height, 1, rng);
    if (tilted) {
      ASSERT_EQ(kvpStsOk, kvpiTiltedRectStdDev_32s32f_C1R(S.roi() + lay.col0, S.step(), Q.roi() + lay.col0,
                                                          Q.step(), d.roi(), d.step(), lay.out, r));
      ASSERT_EQ(kvpStsOk, kvpiTiltedRectStdDev_32f_C1R(Sf.roi() + lay.col0, Sf.step(), Qf.roi() + lay.col0,
                                                       Qf.step(), df.roi(), df.step(), lay.out, r));
      ASSERT_EQ(kvpStsOk, kvpiTiltedRectStdDev_32s_C1RSfs(S2.roi() + lay.col0, S2.step(), Qi.roi() + lay.col0,
                                                          Qi.step(), di.roi(), di.step(), lay.out, r, -3));
    } else {
      ASSERT_EQ(kvpStsOk, kvpiRectStdDev_32s32f_C1R(S.roi(), S.step(), Q.roi(), Q.step(), d.roi(), d.step(),
                                                    lay.out, r));
      ASSERT_EQ(kvpStsOk, kvpiRectStdDev_32s_C1RSfs(S2.roi(), S2.step(), Qi.roi(), Qi.step(), di.roi(),
                                                    di.step(), lay.out, r, -3));
      df = d;
    }
    // A tilted window reaches past the image near its edges, where it is no
    // longer constant; a table of ones tells which windows lie inside.
    Plane<Kvp8u> ones(260, 200, 1, rng);
    ones.fill([] { return 1; });
    Plane<Kvp32s> C(260 + e, 200 + e, 1, rng, 64), Cq(260 + e, 200 + e, 1, rng, 64);
    buildTables(ones, tilted, C, Cq, 0, 0);
    const Reads k = readsFor(r, tilted);
    int inside = 0;
    for (int i = 0; i < lay.out.height; ++i)
      for (int j = 0; j < lay.out.width; ++j) {
        auto c = [&](int t) { return C.at(lay.col0 + j + k.col[t], i + k.row[t]); };
        if (c(0) - c(1) - c(2) + c(3) != k.n) continue;
        ++inside;
        ASSERT_EQ(0.f, d.at(j, i)) << tilted << " " << i << "," << j;
        ASSERT_EQ(0.f, df.at(j, i)) << tilted << " " << i << "," << j;
        ASSERT_EQ(0, di.at(j, i)) << tilted << " " << i << "," << j;
      }
    EXPECT_GT(inside, lay.out.width * lay.out.height / 2);
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
    const int col0 = tilted ? 1 : 0;
    const int n = tilted ? 2 : 1;
    Plane<Kvp32f> Sf(8, 4, 1, rng, 0);
    Plane<Kvp32s> Si(8, 4, 1, rng, 0), Qi(8, 4, 1, rng, 0);
    Plane<Kvp64f> Q(8, 4, 1, rng, 0);
    auto fill = [&](int sq) {
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
    };
    auto sf = tilted ? kvpiTiltedRectStdDev_32f_C1R : kvpiRectStdDev_32f_C1R;
    auto sd = tilted ? kvpiTiltedRectStdDev_32s32f_C1R : kvpiRectStdDev_32s32f_C1R;
    auto ss = tilted ? kvpiTiltedRectStdDev_32s_C1RSfs : kvpiRectStdDev_32s_C1RSfs;
    Plane<Kvp32f> f(5, 1, 1, rng), g(5, 1, 1, rng);
    Plane<Kvp32s> i(5, 1, 1, rng);
    for (int sq : {10, 40}) {
      fill(sq);
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

// The scaled member: 2^-scaleFactor, + 0.5, truncation.
TEST(RectStdDev, ScaleFactorRounding) {
  kvt::Rng rng = kvt::makeRng(10);
  // Every 2 x 1 window over alternating pixels 0 and 2d has standard
  // deviation d; nine outputs cover the vector body and the scalar tail.
  for (int d : {1, 3, 5, 40}) {
    Plane<Kvp8u> src(10, 1, 1, rng);
    for (int x = 0; x < 10; ++x) src.at(x, 0) = (Kvp8u)(x % 2 ? 2 * d : 0);
    Plane<Kvp32s> S(11, 2, 1, rng), Q(11, 2, 1, rng);
    buildTables(src, false, S, Q, 0, 0);
    for (int sf : {0, 1, 2, -1, -5, 40, -28, -40}) {
      Plane<Kvp32s> out(9, 1, 1, rng);
      ASSERT_EQ(kvpStsOk, kvpiRectStdDev_32s_C1RSfs(S.roi(), S.step(), Q.roi(), Q.step(), out.roi(),
                                                    out.step(), {9, 1}, KvpiRect{0, 0, 2, 1}, sf));
      const double scaled = d * std::pow(2.0, -sf) + 0.5;
      const int want = scaled >= 2147483647.0 ? INT_MAX : (int)std::floor(scaled);
      for (int j = 0; j < 9; ++j) EXPECT_EQ(want, out.at(j, 0)) << "d " << d << " sf " << sf << " at " << j;
    }
  }
  // scaleFactor 1 on deviation 1 is exactly one half, which rounds up.
  Plane<Kvp8u> src(2, 1, 1, rng);
  src.at(0, 0) = 10;
  src.at(1, 0) = 12;
  Plane<Kvp32s> S(3, 2, 1, rng), Q(3, 2, 1, rng);
  buildTables(src, false, S, Q, 0, 0);
  Kvp32s out = 0;
  ASSERT_EQ(kvpStsOk, kvpiRectStdDev_32s_C1RSfs(S.roi(), S.step(), Q.roi(), Q.step(), &out, 4, {1, 1},
                                                {0, 0, 2, 1}, 1));
  EXPECT_EQ(1, out);
}

// Scale factors at the ends of int: 2^|INT_MIN| is infinite, so a non-zero
// deviation saturates (and 0 times infinity is NaN, which saturates too);
// 2^-INT_MAX is 0, leaving the 0.5 that truncates to 0.
TEST(RectStdDev, ExtremeScaleFactors) {
  kvt::Rng rng = kvt::makeRng(13);
  Plane<Kvp8u> src(9, 2, 1, rng);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 9; ++x) src.at(x, y) = (Kvp8u)(x % 2 ? 30 : 0);
  for (bool tilted : {false, true}) {
    const int e = tilted ? 2 : 1;
    Plane<Kvp32s> S(9 + e, 2 + e, 1, rng), Q(9 + e, 2 + e, 1, rng);
    buildTables(src, tilted, S, Q, 0, 0);
    auto call = tilted ? kvpiTiltedRectStdDev_32s_C1RSfs : kvpiRectStdDev_32s_C1RSfs;
    // One upright 2 x 1 window per output; the tilted window reads (1, 1)
    // and the cells beside it.
    const KvpiRect r = tilted ? KvpiRect{1, 0, 1, 1} : KvpiRect{0, 1, 2, 1};
    for (int sf : {INT_MIN, INT_MIN + 1, -2000, -1100, 1100, 2000, INT_MAX}) {
      Kvp32s out[8];
      ASSERT_EQ(kvpStsOk, call(S.roi(), S.step(), Q.roi(), Q.step(), out, sizeof(out), {8, 1}, r, sf)) << sf;
      for (int j = 0; j < 8; ++j) EXPECT_EQ(sf < 0 ? INT_MAX : 0, out[j]) << "sf " << sf << " at " << j;
    }
  }
}

// Differences of 32-bit tables are taken modulo 2^32, so tables that
// wrapped give the same deviations as tables that did not.
TEST(RectStdDev, WrappedIntegerTables) {
  kvt::Rng rng = kvt::makeRng(11);
  const Plane<Kvp8u> src = randomImage({320, 300}, rng, 180, 255);
  const KvpiRect r{1, 1, 20, 20};
  for (bool tilted : {false, true}) {
    const int e = tilted ? 2 : 1;
    Plane<Kvp32s> S0(320 + e, 300 + e, 1, rng, 64), Q0(320 + e, 300 + e, 1, rng, 64);
    Plane<Kvp32s> S1(320 + e, 300 + e, 1, rng, 64), Q1(320 + e, 300 + e, 1, rng, 64);
    buildTables(src, tilted, S0, Q0, 0, 0);
    buildTables(src, tilted, S1, Q1, INT_MAX - 12345, INT_MIN + 99);
    const Layout lay = layoutFor(r, tilted, 320 + e, 300 + e);
    Plane<Kvp32s> d0(lay.out.width, lay.out.height, 1, rng), d1(lay.out.width, lay.out.height, 1, rng);
    auto call = tilted ? kvpiTiltedRectStdDev_32s_C1RSfs : kvpiRectStdDev_32s_C1RSfs;
    ASSERT_EQ(kvpStsOk, call(S0.roi() + lay.col0, S0.step(), Q0.roi() + lay.col0, Q0.step(), d0.roi(),
                             d0.step(), lay.out, r, -2));
    ASSERT_EQ(kvpStsOk, call(S1.roi() + lay.col0, S1.step(), Q1.roi() + lay.col0, Q1.step(), d1.roi(),
                             d1.step(), lay.out, r, -2));
    EXPECT_TRUE(kvt::sameRoi(d0, d1));
  }
  // The squared sums of the image pass 2^32, so the tables above wrapped
  // even without an offset.
  uint64_t total = 0;
  for (int y = 0; y < 300; ++y)
    for (int x = 0; x < 320; ++x) total += (uint64_t)src.at(x, y) * src.at(x, y);
  EXPECT_GT(total, 0xffffffffull);
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
    const KvpiRect r{2, 3, 4, 5};
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
    EXPECT_EQ(kvpStsBadStep, call(s, 4, q, qs, d, ds, roi, {-1, 3, 4, 5}));
    EXPECT_EQ(kvpStsBadStep, call(s, ss + 1, q, qs - 8, d, ds, roi, r));
    EXPECT_EQ(kvpStsBadStep, call(s, ss + 1, q, qs + 4, d, 39, roi, r));
    EXPECT_EQ(kvpStsStepNotMultiple, call(s, ss + 1, q, qs, d, ds, roi, {-1, 3, 4, 5}));
    EXPECT_EQ(kvpStsStepNotMultiple, call(s, ss, q, qs + 4, d, ds, roi, r));
    EXPECT_EQ(kvpStsStepNotMultiple, call(s, ss, q, qs, d, 42, roi, r));
    EXPECT_EQ(kvpStsBadSize, call(s, ss, q, qs, d, ds, roi, {-1, 3, 4, 5}));
    EXPECT_EQ(kvpStsBadSize, call(s, ss, q, qs, d, ds, roi, {2, -1, 4, 5}));
    EXPECT_EQ(kvpStsBadSize, call(s, ss, q, qs, d, ds, roi, {2, 3, 0, 5}));
    EXPECT_EQ(kvpStsBadSize, call(s, ss, q, qs, d, ds, roi, {2, 3, 4, 0}));
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

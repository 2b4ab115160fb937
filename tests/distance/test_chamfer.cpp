// Chamfer transforms against the pixel-by-pixel two-pass reference of
// distance_ref.h, and the step-cost tables.
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>

#include "distance_ref.h"
#include "harness.h"

namespace {

using kvt::Plane;

// ---- a uniform view of the eight transforms -------------------------------------

template <class T, class M>
using Chamfer = std::function<KvpStatus(const Kvp8u*, int, T*, int, KvpiSize, M*)>;

template <class T, class M>
struct ChamferCase {
  const char* name;
  bool five;
  Chamfer<T, M> fn;
};

// The in-place members through the same shape: the source copied into the
// destination first.
template <class F>
Chamfer<Kvp8u, int> inPlace(F f) {
  return [f](const Kvp8u* s, int ss, Kvp8u* d, int ds, KvpiSize r, int* m) {
    for (int y = 0; y < r.height; ++y) std::memcpy(d + (size_t)y * ds, s + (size_t)y * ss, (size_t)r.width);
    return f(d, ds, r, m);
  };
}

std::vector<ChamferCase<Kvp8u, int>> cases8u() {
  return {{"3x3_8u", false, kvpiDistanceTransform_3x3_8u_C1R},
          {"5x5_8u", true, kvpiDistanceTransform_5x5_8u_C1R},
          {"3x3_8u_C1IR", false, inPlace(kvpiDistanceTransform_3x3_8u_C1IR)},
          {"5x5_8u_C1IR", true, inPlace(kvpiDistanceTransform_5x5_8u_C1IR)}};
}
std::vector<ChamferCase<Kvp16u, int>> cases16u() {
  return {{"3x3_8u16u", false, kvpiDistanceTransform_3x3_8u16u_C1R},
          {"5x5_8u16u", true, kvpiDistanceTransform_5x5_8u16u_C1R}};
}
std::vector<ChamferCase<Kvp32f, float>> cases32f() {
  return {{"3x3_8u32f", false, kvpiDistanceTransform_3x3_8u32f_C1R},
          {"5x5_8u32f", true, kvpiDistanceTransform_5x5_8u32f_C1R}};
}

// A source with zero pixels at the given density (0: none at all).
Plane<Kvp8u> randomSource(int w, int h, double density, kvt::Rng& rng) {
  Plane<Kvp8u> src(w, h, 1, rng);
  std::bernoulli_distribution zero(density);
  src.fill([&] { return zero(rng) ? 0 : (int)(1 + rng() % 255); });
  return src;
}

// Compared as bytes: rows of an odd step are not element-aligned.
template <class T>
::testing::AssertionResult sameAs(const Plane<T>& out, const std::vector<T>& expect) {
  for (int y = 0; y < out.height(); ++y)
    for (int x = 0; x < out.width(); ++x)
      if (std::memcmp(reinterpret_cast<const uint8_t*>(out.row(y)) + x * sizeof(T),
                      &expect[(size_t)y * out.width() + x], sizeof(T)) != 0)
        return ::testing::AssertionFailure() << "at " << x << "," << y;
  return ::testing::AssertionSuccess();
}

const std::vector<KvpiSize>& chamferSizes() {
  static const std::vector<KvpiSize> all = {{1, 1},  {1, 9},  {9, 1},    {2, 2},    {3, 3},
                                            {4, 5},  {15, 4}, {16, 16},  {17, 9},   {31, 33},
                                            {33, 2}, {64, 3}, {127, 65}, {333, 41}, {641, 211}};
  static const std::vector<KvpiSize> small = {{1, 1}, {2, 2}, {4, 5}, {17, 9}, {33, 2}};
  return kvt::smallRun() ? small : all;
}

template <class T, class M>
void runAgainstReference(const ChamferCase<T, M>& c, const std::vector<std::vector<M>>& metricSets) {
  kvt::Rng rng = kvt::makeRng(std::hash<std::string>{}(c.name));
  int k = 0;
  for (KvpiSize sz : chamferSizes())
    for (double density : {0.0, 0.002, 0.05, 0.5})
      for (const auto& metrics : metricSets) {
        SCOPED_TRACE(std::string(c.name) + " " + kvt::describe(sz) + " density " + std::to_string(density) +
                     " metrics " + std::to_string(metrics[0]) + "," + std::to_string(metrics[1]));
        Plane<Kvp8u> src = randomSource(sz.width, sz.height, density, rng);
        // Now and then a destination step that is not whole elements.
        Plane<T> dst(sz.width, sz.height, 1, rng, ++k % 5 == 0 ? (int)sizeof(T) + 1 : -1);
        const auto before = dst.bytes();
        const auto srcBefore = src.bytes();
        std::vector<M> m = metrics;
        ASSERT_EQ(kvpStsOk, c.fn(src.roi(), src.step(), dst.roi(), dst.step(), sz, m.data()));
        std::vector<uint8_t> packed;
        for (int y = 0; y < sz.height; ++y) packed.insert(packed.end(), src.row(y), src.row(y) + sz.width);
        ASSERT_TRUE(sameAs(dst, dr::chamfer<T>(packed, sz.width, sz.height, metrics.data(), c.five)));
        ASSERT_TRUE(dst.sameOutsideRoi(before));
        ASSERT_TRUE(src.unchanged(srcBefore));
        ASSERT_EQ(metrics, m) << "the costs are read only";
      }
}

// Integer cost sets: the tables, saturating ones, a diagonal cheaper than
// the axial step, and a knight cost of 0 or below.
const std::vector<std::vector<int>> kIntMetrics = {{1, 1, 2},    {1, 2, 3},     {2, 3, 4},         {5, 7, 11},
                                                   {40, 57, 90}, {3, 1, 2},     {300, 500, 70000}, {1, 1, 0},
                                                   {2, 2, -5},   {100000, 1, 7}};
const std::vector<std::vector<float>> kFloatMetrics = {{1.0f, 1.0f, 2.0f},          {0.955f, 1.3693f, 2.f},
                                                       {1.0f, 1.4f, 2.1969f},       {0.f, 0.5f, 0.f},
                                                       {3.0e37f, 1.0e38f, 2.0e38f}, {0.1f, 0.3f, 0.7f}};

TEST(Chamfer, MatchesReference8u) {
  for (const auto& c : cases8u()) runAgainstReference(c, kIntMetrics);
}
TEST(Chamfer, MatchesReference16u) {
  for (const auto& c : cases16u()) runAgainstReference(c, kIntMetrics);
}
TEST(Chamfer, MatchesReference32f) {
  for (const auto& c : cases32f()) runAgainstReference(c, kFloatMetrics);
}

// City-block and chessboard distances from a single zero pixel.
TEST(Chamfer, SingleZeroPixelNorms) {
  kvt::Rng rng = kvt::makeRng(3);
  const int w = 41, h = 37, cx = 20, cy = 18;
  Plane<Kvp8u> src(w, h, 1, rng);
  src.fill([] { return 9; });
  src.at(cx, cy) = 0;
  for (bool five : {false, true}) {
    int l1[3] = {1, 2, 3}, linf[3] = {1, 1, 2};
    Plane<Kvp8u> a(w, h, 1, rng), b(w, h, 1, rng);
    auto fn = five ? kvpiDistanceTransform_5x5_8u_C1R : kvpiDistanceTransform_3x3_8u_C1R;
    ASSERT_EQ(kvpStsOk, fn(src.roi(), src.step(), a.roi(), a.step(), src.size(), l1));
    ASSERT_EQ(kvpStsOk, fn(src.roi(), src.step(), b.roi(), b.step(), src.size(), linf));
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        const int dx = std::abs(x - cx), dy = std::abs(y - cy);
        ASSERT_EQ(dx + dy, a.at(x, y)) << "city block at " << x << "," << y << " five " << five;
        ASSERT_EQ(std::max(dx, dy), b.at(x, y)) << "chessboard at " << x << "," << y << " five " << five;
      }
  }
}

// Check order: pointers, size, steps, costs; nothing written on failure.
TEST(Chamfer, CheckOrder) {
  kvt::Rng rng = kvt::makeRng(7);
  Plane<Kvp8u> src = randomSource(10, 4, 0.2, rng);
  Plane<Kvp16u> dst(10, 4, 1, rng);
  Plane<Kvp8u> d8(10, 4, 1, rng);
  const auto before = dst.bytes();
  const auto before8 = d8.bytes();
  int ok[3] = {1, 2, 3}, bad0[3] = {0, 1, 1}, bad1[3] = {1, 0, 1};
  const KvpiSize sz{10, 4};
  auto f16 = kvpiDistanceTransform_3x3_8u16u_C1R;
  EXPECT_EQ(kvpStsNullPtr, f16(nullptr, 10, dst.roi(), dst.step(), {0, 4}, ok));
  EXPECT_EQ(kvpStsNullPtr, f16(src.roi(), src.step(), nullptr, dst.step(), sz, ok));
  EXPECT_EQ(kvpStsNullPtr, f16(src.roi(), src.step(), dst.roi(), dst.step(), sz, nullptr));
  EXPECT_EQ(kvpStsBadSize, f16(src.roi(), 0, dst.roi(), 0, {0, 4}, bad0));
  EXPECT_EQ(kvpStsBadSize, f16(src.roi(), src.step(), dst.roi(), dst.step(), {10, -1}, ok));
  EXPECT_EQ(kvpStsBadStep, f16(src.roi(), 9, dst.roi(), dst.step(), sz, bad0));
  EXPECT_EQ(kvpStsBadStep, f16(src.roi(), src.step(), dst.roi(), 19, sz, bad0));  // 16u rows need 20 bytes
  EXPECT_EQ(kvpStsBadMetric, f16(src.roi(), src.step(), dst.roi(), dst.step(), sz, bad0));
  EXPECT_EQ(kvpStsBadMetric, f16(src.roi(), src.step(), dst.roi(), dst.step(), sz, bad1));
  EXPECT_EQ(kvpStsBadStep, kvpiDistanceTransform_5x5_8u_C1R(src.roi(), src.step(), d8.roi(), 9, sz, ok));
  EXPECT_EQ(kvpStsBadMetric, kvpiDistanceTransform_5x5_8u_C1IR(d8.roi(), d8.step(), sz, bad0));
  EXPECT_EQ(kvpStsNullPtr, kvpiDistanceTransform_3x3_8u_C1IR(nullptr, 10, sz, ok));
  float fneg[3] = {-1.f, 1.f, 1.f}, fnan[3] = {1.f, 1.f, NAN};
  Plane<Kvp32f> df(10, 4, 1, rng);
  const auto beforeF = df.bytes();
  EXPECT_EQ(kvpStsBadStep,
            kvpiDistanceTransform_3x3_8u32f_C1R(src.roi(), src.step(), df.roi(), 39, sz, fneg));
  EXPECT_EQ(kvpStsBadMetric,
            kvpiDistanceTransform_3x3_8u32f_C1R(src.roi(), src.step(), df.roi(), df.step(), sz, fneg));
  EXPECT_EQ(kvpStsBadMetric,
            kvpiDistanceTransform_5x5_8u32f_C1R(src.roi(), src.step(), df.roi(), df.step(), sz, fnan));
  EXPECT_TRUE(dst.unchanged(before));
  EXPECT_TRUE(d8.unchanged(before8));
  EXPECT_TRUE(df.unchanged(beforeF));
}

// ---- step-cost tables -------------------------------------------------------------

TEST(ChamferMask, Tables) {
  for (int ker : {3, 5})
    for (int norm : {0, 1, 2}) {
      const dr::MaskRow& r = dr::maskRow(ker, norm);
      int i[4] = {-7, -7, -7, -7};
      float f[4] = {-7, -7, -7, -7}, g[4] = {-7, -7, -7, -7};
      ASSERT_EQ(kvpStsOk, kvpiGetDistanceTransformMask_32s(ker, norm, i));
      ASSERT_EQ(kvpStsOk, kvpiGetDistanceTransformMask_32f(ker, norm, f));
      ASSERT_EQ(kvpStsOk, kvpiGetDistanceTransformMask(10 * ker + norm, g));
      const int n = ker == 3 ? 2 : 3;
      for (int k = 0; k < n; ++k) {
        EXPECT_EQ(r.i[k], i[k]) << ker << norm;
        EXPECT_EQ(r.f[k], f[k]) << ker << norm;
        EXPECT_EQ(r.f[k], g[k]) << ker << norm;
      }
      for (int k = n; k < 4; ++k) {
        EXPECT_EQ(-7, i[k]) << "wrote past the row";
        EXPECT_EQ(-7.f, f[k]);
        EXPECT_EQ(-7.f, g[k]);
      }
    }
}

TEST(ChamferMask, CheckOrder) {
  int i[3] = {-7, -7, -7};
  float f[3] = {-7, -7, -7};
  EXPECT_EQ(kvpStsNullPtr, kvpiGetDistanceTransformMask_32s(4, 9, nullptr));
  EXPECT_EQ(kvpStsNullPtr, kvpiGetDistanceTransformMask_32f(4, 9, nullptr));
  EXPECT_EQ(kvpStsBadSize, kvpiGetDistanceTransformMask_32s(4, 9, i));
  EXPECT_EQ(kvpStsBadSize, kvpiGetDistanceTransformMask_32f(-3, 1, f));
  EXPECT_EQ(kvpStsBadArg, kvpiGetDistanceTransformMask_32s(3, 3, i));
  EXPECT_EQ(kvpStsBadArg, kvpiGetDistanceTransformMask_32f(5, -1, f));
  // The combined query tests the remainder first, then delegates.
  EXPECT_EQ(kvpStsBadArg, kvpiGetDistanceTransformMask(33, nullptr));
  EXPECT_EQ(kvpStsBadArg, kvpiGetDistanceTransformMask(-31, f));
  EXPECT_EQ(kvpStsBadArg, kvpiGetDistanceTransformMask(59, f));
  EXPECT_EQ(kvpStsNullPtr, kvpiGetDistanceTransformMask(41, nullptr));
  EXPECT_EQ(kvpStsBadSize, kvpiGetDistanceTransformMask(41, f));
  EXPECT_EQ(kvpStsBadSize, kvpiGetDistanceTransformMask(-30, f));
  EXPECT_EQ(kvpStsBadSize, kvpiGetDistanceTransformMask(2, f));
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(-7, i[k]);
    EXPECT_EQ(-7.f, f[k]);
  }
}

}  // namespace

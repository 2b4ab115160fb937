// Exact Euclidean transform against brute force in double.
#include <cmath>
#include <limits>

#include "harness.h"

namespace {

using kvt::Plane;

// Results may differ from the correctly rounded distance by the rounding of
// the final square root: the largest relative error accepted is 2^-22
// (two units in the last place of a float).
constexpr double kMaxRelError = 2.384185791015625e-07;

std::vector<double> bruteForce(const Plane<Kvp8u>& src) {
  const int w = src.width(), h = src.height();
  std::vector<std::pair<int, int>> zeros;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      if (!src.at(x, y)) zeros.push_back({x, y});
  std::vector<double> d((size_t)w * h, std::numeric_limits<double>::infinity());
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      double best = std::numeric_limits<double>::infinity();
      for (auto [zx, zy] : zeros) {
        const double dx = x - zx, dy = y - zy;
        best = std::min(best, dx * dx + dy * dy);
      }
      d[(size_t)y * w + x] = std::sqrt(best);
    }
  return d;
}

// A caller buffer of exactly the reported size between guard bytes.
struct GuardedBuffer {
  std::vector<Kvp8u> bytes;
  int size = 0;
  static constexpr int kGuard = 64;
  explicit GuardedBuffer(KvpiSize roi, int offset = 3) {
    EXPECT_EQ(kvpStsOk, kvpiTrueDistanceTransformGetBufferSize_8u32f_C1R(roi, &size));
    bytes.assign((size_t)size + 2 * kGuard + offset, 0x5c);
    start = kGuard + offset;
  }
  Kvp8u* data() { return bytes.data() + start; }
  bool guardsIntact() const {
    for (int i = 0; i < start; ++i)
      if (bytes[i] != 0x5c) return false;
    for (size_t i = (size_t)start + size; i < bytes.size(); ++i)
      if (bytes[i] != 0x5c) return false;
    return true;
  }
  int start;
};

Plane<Kvp8u> sourceWithDensity(int w, int h, double density, kvt::Rng& rng) {
  Plane<Kvp8u> src(w, h, 1, rng);
  std::bernoulli_distribution zero(density);
  src.fill([&] { return zero(rng) ? 0 : (int)(1 + rng() % 255); });
  return src;
}

void checkAgainstBruteForce(const Plane<Kvp8u>& src, const char* what) {
  const std::vector<double> expect = bruteForce(src);
  std::vector<Kvp32f> first;
  kvt::Rng rng = kvt::makeRng(11);
  for (int threads : kvt::threadCounts()) {
    SCOPED_TRACE(std::string(what) + " " + kvt::describe(src.size()) + " threads " + std::to_string(threads));
    kvt::Threads scope(threads);
    GuardedBuffer buf(src.size());
    Plane<Kvp32f> dst(src.width(), src.height(), 1, rng);
    const auto before = dst.bytes();
    ASSERT_EQ(kvpStsOk, kvpiTrueDistanceTransform_8u32f_C1R(src.roi(), src.step(), dst.roi(), dst.step(),
                                                            src.size(), buf.data()));
    ASSERT_TRUE(buf.guardsIntact());
    ASSERT_TRUE(dst.sameOutsideRoi(before));
    double worst = 0;
    std::vector<Kvp32f> got;
    for (int y = 0; y < src.height(); ++y)
      for (int x = 0; x < src.width(); ++x) {
        const double e = expect[(size_t)y * src.width() + x];
        const float g = dst.at(x, y);
        got.push_back(g);
        if (std::isinf(e)) {
          ASSERT_TRUE(std::isinf(g) && g > 0) << "no zero pixel anywhere gives +infinity";
          continue;
        }
        if (e == 0) {
          ASSERT_EQ(0.f, g) << x << "," << y;
          continue;
        }
        worst = std::max(worst, std::fabs(g - e) / e);
      }
    EXPECT_LE(worst, kMaxRelError);
    if (first.empty())
      first = got;
    else
      ASSERT_TRUE(std::memcmp(first.data(), got.data(), got.size() * sizeof(float)) == 0)
          << "results depend on the thread count";
  }
}

TEST(TrueDistance, SparseAgainstBruteForce) {
  kvt::Rng rng = kvt::makeRng(21);
  const std::vector<KvpiSize> sizes =
      kvt::smallRun()
          ? std::vector<KvpiSize>{{1, 1}, {5, 3}, {17, 9}}
          : std::vector<KvpiSize>{{1, 1}, {1, 40}, {40, 1}, {5, 3}, {17, 9}, {33, 64}, {130, 75}, {413, 173}};
  for (KvpiSize sz : sizes) {
    // A handful of zero pixels, at least one.
    Plane<Kvp8u> src = sourceWithDensity(sz.width, sz.height, 0.0, rng);
    const int n = 1 + (int)(rng() % 12);
    for (int i = 0; i < n; ++i) src.at((int)(rng() % sz.width), (int)(rng() % sz.height)) = 0;
    checkAgainstBruteForce(src, "sparse");
  }
}

TEST(TrueDistance, DenseAgainstBruteForce) {
  kvt::Rng rng = kvt::makeRng(22);
  for (KvpiSize sz : {KvpiSize{2, 2}, KvpiSize{16, 16}, KvpiSize{31, 7}, KvpiSize{97, 61}})
    for (double density : {0.02, 0.3, 0.9})
      checkAgainstBruteForce(sourceWithDensity(sz.width, sz.height, density, rng), "dense");
  if (!kvt::smallRun())  // past the threading threshold
    checkAgainstBruteForce(sourceWithDensity(300, 250, 0.0005, rng), "threaded");
}

TEST(TrueDistance, NoZeroAndAllZero) {
  kvt::Rng rng = kvt::makeRng(23);
  Plane<Kvp8u> none = sourceWithDensity(23, 11, 0.0, rng);
  checkAgainstBruteForce(none, "no zero");
  Plane<Kvp8u> all = sourceWithDensity(23, 11, 1.0, rng);
  checkAgainstBruteForce(all, "all zero");
  // A single column and a single row with zero pixels only at the ends.
  Plane<Kvp8u> col = sourceWithDensity(1, 300, 0.0, rng);
  col.at(0, 0) = 0;
  col.at(0, 299) = 0;
  checkAgainstBruteForce(col, "column");
}

TEST(TrueDistance, BufferSize) {
  for (int threads : {1, 3}) {
    kvt::Threads scope(threads);
    int t = 0;
    kvpGetNumThreads(&t);
    int size = -1;
    ASSERT_EQ(kvpStsOk, kvpiTrueDistanceTransformGetBufferSize_8u32f_C1R({5, 3}, &size));
    EXPECT_EQ((24 * 8 + 56) * t, size);  // W4 = 8, H4 = 4
    ASSERT_EQ(kvpStsOk, kvpiTrueDistanceTransformGetBufferSize_8u32f_C1R({4, 9}, &size));
    EXPECT_EQ((24 * 12 + 56) * t, size);
  }
  int size = -1;
  EXPECT_EQ(kvpStsNullPtr, kvpiTrueDistanceTransformGetBufferSize_8u32f_C1R({0, 0}, nullptr));
  EXPECT_EQ(kvpStsBadSize, kvpiTrueDistanceTransformGetBufferSize_8u32f_C1R({0, 5}, &size));
  EXPECT_EQ(kvpStsBadSize, kvpiTrueDistanceTransformGetBufferSize_8u32f_C1R({5, -1}, &size));
  EXPECT_EQ(-1, size);
}

TEST(TrueDistance, CheckOrder) {
  kvt::Rng rng = kvt::makeRng(24);
  Plane<Kvp8u> src = sourceWithDensity(10, 5, 0.2, rng);
  Plane<Kvp32f> dst(10, 5, 1, rng);
  std::vector<Kvp8u> buf(4096);
  const auto before = dst.bytes();
  const KvpiSize sz{10, 5};
  auto f = kvpiTrueDistanceTransform_8u32f_C1R;
  EXPECT_EQ(kvpStsNullPtr, f(nullptr, 10, dst.roi(), dst.step(), {0, 0}, buf.data()));
  EXPECT_EQ(kvpStsNullPtr, f(src.roi(), 10, nullptr, dst.step(), sz, buf.data()));
  EXPECT_EQ(kvpStsNullPtr, f(src.roi(), 10, dst.roi(), dst.step(), sz, nullptr));
  EXPECT_EQ(kvpStsBadSize, f(src.roi(), 0, dst.roi(), 1, {0, 5}, buf.data()));
  EXPECT_EQ(kvpStsBadStep, f(src.roi(), 9, dst.roi(), 41, sz, buf.data()));
  EXPECT_EQ(kvpStsBadStep, f(src.roi(), 10, dst.roi(), 39, sz, buf.data()));
  EXPECT_EQ(kvpStsStepNotMultiple, f(src.roi(), 10, dst.roi(), 42, sz, buf.data()));
  EXPECT_TRUE(dst.unchanged(before));
}

}  // namespace

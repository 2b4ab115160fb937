// Exact Euclidean transform against the exact squared distances of
// distance_ref.h.
#include <cmath>
#include <limits>

#include "distance_ref.h"
#include "harness.h"

namespace {

using kvt::Plane;

// Results may differ from the correctly rounded distance by the rounding of
// the final square root: the largest relative error accepted is 2^-22
// (two units in the last place of a float).
constexpr double kMaxRelError = 2.384185791015625e-07;

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

void checkAgainstReference(const Plane<Kvp8u>& src, const char* what) {
  std::vector<uint8_t> packed;
  for (int y = 0; y < src.height(); ++y) packed.insert(packed.end(), src.row(y), src.row(y) + src.width());
  const std::vector<long long> d2 = dr::squaredDistances(packed, src.width(), src.height());
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
        const long long e2 = d2[(size_t)y * src.width() + x];
        const double e = std::sqrt((double)e2);
        const float g = dst.at(x, y);
        got.push_back(g);
        if (e2 < 0) {
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

// Sources by the density of their zero pixels, or a few zero pixels
// scattered at random (count > 0) or at the two ends of the plane (count
// < 0); one past the threading threshold.
TEST(TrueDistance, MatchesReference) {
  struct Row {
    KvpiSize size;
    double density;
    int count;
  };
  const std::vector<Row> rows = {
      {{1, 1}, 0, 1},     {{1, 40}, 0, 3},    {{40, 1}, 0, 2},    {{5, 3}, 0, 4},
      {{17, 9}, 0, 7},    {{33, 64}, 0, 12},  {{130, 75}, 0, 5},  {{413, 173}, 0, 9},
      {{2, 2}, 0.9, 0},   {{16, 16}, 0.3, 0}, {{31, 7}, 0.02, 0}, {{97, 61}, 0.3, 0},
      {{23, 11}, 0.0, 0}, {{23, 11}, 1.0, 0}, {{1, 300}, 0, -1},  {{300, 250}, 0.0005, 0}};
  kvt::Rng rng = kvt::makeRng(21);
  for (const Row& r : rows) {
    if (kvt::smallRun() && r.size.width * r.size.height > 4000) continue;
    Plane<Kvp8u> src = sourceWithDensity(r.size.width, r.size.height, r.density, rng);
    for (int i = 0; i < r.count; ++i) src.at((int)(rng() % r.size.width), (int)(rng() % r.size.height)) = 0;
    if (r.count < 0) {
      src.at(0, 0) = 0;
      src.at(r.size.width - 1, r.size.height - 1) = 0;
    }
    checkAgainstReference(src, "table");
  }
}

TEST(TrueDistance, BufferSize) {
  for (int threads : {1, 3}) {
    kvt::Threads scope(threads);
    int t = 0;
    kvpGetNumThreads(&t);
    int size = -1;
    ASSERT_EQ(kvpStsOk, kvpiTrueDistanceTransformGetBufferSize_8u32f_C1R({5, 3}, &size));
    EXPECT_EQ((24 * 8 + 56) * t, size);  // W4 = 8, H4 = 4
    EXPECT_EQ(dr::trueSlice({5, 3}) * t, size);
    ASSERT_EQ(kvpStsOk, kvpiTrueDistanceTransformGetBufferSize_8u32f_C1R({4, 9}, &size));
    EXPECT_EQ(dr::trueSlice({4, 9}) * t, size);
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

// Fast marching and inpainting against the plain references of
// inpaint_ref.h: worked examples, random masks over the size sweep at
// several thread counts with guarded planes and exact buffers, the accuracy
// of the march against exact Euclidean distances, and every status in check
// order with nothing written.
#include <cmath>
#include <limits>
#include <string>

#include "harness.h"
#include "inpaint_ref.h"

namespace {

using kvt::Plane;
constexpr float kInf = std::numeric_limits<float>::infinity();

template <class T>
std::vector<T> packed(const Plane<T>& p) {
  std::vector<T> v;
  for (int y = 0; y < p.height(); ++y) v.insert(v.end(), p.row(y), p.row(y) + p.width() * p.channels());
  return v;
}

struct Buffer {
  std::vector<uint8_t> bytes;
  int n;
  explicit Buffer(int n_) : bytes((size_t)n_ + 69, 0xCD), n(n_) {}
  Kvp8u* data() { return bytes.data() + 5; }
  bool guards() const {
    for (size_t i = 0; i < bytes.size(); ++i)
      if ((i < 5 || i >= (size_t)n + 5) && bytes[i] != 0xCD) return false;
    return true;
  }
};

// Runs the march on packed planes; returns the map.
std::vector<float> march(const std::vector<uint8_t>& mask, int w, int h, float radius) {
  int bytes = 0;
  EXPECT_EQ(kvpStsOk, kvpiFastMarchingGetBufferSize_8u32f_C1R({w, h}, &bytes));
  EXPECT_EQ(17 * w * h + 1024, bytes);
  Buffer buf(bytes);
  std::vector<float> t((size_t)w * h, -1.f);
  EXPECT_EQ(kvpStsOk,
            kvpiFastMarching_8u32f_C1R(mask.data(), w, t.data(), 4 * w, {w, h}, radius, buf.data()));
  EXPECT_TRUE(buf.guards());
  return t;
}

TEST(FastMarching, WorkedExamples) {
  struct Case {
    int w, h;
    std::vector<uint8_t> mask;
    float radius;
    std::vector<float> expected;
  };
  const float corner = 1.70710683f, diag = 0.70710677f;
  const std::vector<Case> cases = {
      {3, 3, {0, 0, 0, 0, 1, 0, 0, 0, 0}, kInf, {0, 0, 0, 0, diag, 0, 0, 0, 0}},
      {5, 1, {0, 1, 1, 1, 1}, kInf, {0, 1, 2, 3, 4}},
      {5, 1, {0, 1, 1, 1, 1}, 2.5f, {0, 1, 2, 2.5f, 2.5f}},
      {5, 1, {0, 1, 1, 1, 1}, 2.f, {0, 1, 2, 2, 2}},
      {3, 3, {1, 1, 1, 1, 0, 1, 1, 1, 1}, kInf, {corner, 1, corner, 1, 0, 1, corner, 1, corner}},
      {2, 2, {1, 1, 1, 1}, 7.f, {7, 7, 7, 7}},
      {2, 2, {1, 1, 1, 1}, kInf, {kInf, kInf, kInf, kInf}},
      {2, 2, {0, 0, 0, 0}, 1.f, {0, 0, 0, 0}},
  };
  for (const Case& c : cases) {
    const auto t = march(c.mask, c.w, c.h, c.radius);
    for (size_t i = 0; i < t.size(); ++i) EXPECT_EQ(c.expected[i], t[i]) << "pixel " << i;
    EXPECT_EQ(inpref::march(c.mask, c.w, c.h, c.radius), t);
  }
}

// Masks with strokes and blobs of every density.
void randomMask(Plane<Kvp8u>& m, kvt::Rng& rng) {
  const int kind = (int)(rng() % 4);
  std::uniform_int_distribution<int> pct(0, 99);
  if (kind < 3) {
    const int p = kind == 0 ? 30 : (kind == 1 ? 80 : 99);
    m.fill([&] { return pct(rng) < p ? 1 + pct(rng) : 0; });
    return;
  }
  m.fill([] { return 0; });
  const int w = m.width(), h = m.height();
  for (int k = 0; k < 6; ++k) {
    const int x0 = (int)(rng() % w), y0 = (int)(rng() % h);
    const int rw = 1 + (int)(rng() % (w / 3 + 1)), rh = 1 + (int)(rng() % (h / 3 + 1));
    for (int y = y0; y < std::min(h, y0 + rh); ++y)
      for (int x = x0; x < std::min(w, x0 + rw); ++x) m.at(x, y) = 255;
  }
}

TEST(FastMarching, MatchesReference) {
  auto rng = kvt::makeRng(21);
  const float radii[] = {kInf, 0.5f, 3.f, 1000.f, 1e-30f};
  for (KvpiSize roi : kvt::sizeSweep())
    for (int threads : kvt::threadCounts()) {
      if (threads > 1 && (long long)roi.width * roi.height < 65536) continue;
      kvt::Threads scope(threads);
      Plane<Kvp8u> mask(roi.width, roi.height, 1, rng);
      randomMask(mask, rng);
      Plane<Kvp32f> dst(roi.width, roi.height, 1, rng);
      const float radius = radii[rng() % 5];
      const auto ref = inpref::march(packed(mask), roi.width, roi.height, radius);
      int bytes = 0;
      ASSERT_EQ(kvpStsOk, kvpiFastMarchingGetBufferSize_8u32f_C1R(roi, &bytes));
      Buffer buf(bytes);
      const auto mb = mask.bytes(), db = dst.bytes();
      ASSERT_EQ(kvpStsOk, kvpiFastMarching_8u32f_C1R(mask.roi(), mask.step(), dst.roi(), dst.step(), roi,
                                                     radius, buf.data()));
      const std::string what = kvt::describe(roi) + " threads " + std::to_string(threads);
      ASSERT_TRUE(buf.guards()) << what;
      ASSERT_TRUE(mask.unchanged(mb)) << what;
      ASSERT_TRUE(dst.sameOutsideRoi(db)) << what;
      const auto got = packed(dst);
      ASSERT_EQ(0, std::memcmp(got.data(), ref.data(), ref.size() * 4)) << what;
    }
}

// E - 0.5 <= T <= 1.06 E + 0.3 against the exact distance to the nearest
// known pixel centre.
TEST(FastMarching, CloseToEuclidean) {
  auto rng = kvt::makeRng(5);
  const int w = 97, h = 61;
  for (int trial = 0; trial < 4; ++trial) {
    std::vector<uint8_t> mask((size_t)w * h, 1);
    std::vector<std::pair<int, int>> known;
    const int seeds = trial == 0 ? 1 : 1 + (int)(rng() % 20);
    for (int k = 0; k < seeds; ++k) {
      const int x = (int)(rng() % w), y = (int)(rng() % h);
      mask[(size_t)y * w + x] = 0;
      known.push_back({x, y});
    }
    const auto t = march(mask, w, h, kInf);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        double e = 1e30;
        for (auto [kx, ky] : known) e = std::min(e, std::hypot(x - kx, y - ky));
        const double v = t[(size_t)y * w + x];
        ASSERT_GE(v, e - 0.5) << x << "," << y;
        ASSERT_LE(v, 1.06 * e + 0.3) << x << "," << y;
      }
  }
}

TEST(FastMarching, Statuses) {
  Kvp8u mask[64] = {};
  Kvp32f dst[64];
  std::vector<Kvp8u> buf(17 * 64 + 1024);
  int n = -3;
  for (float& v : dst) v = 5.f;
  EXPECT_EQ(kvpStsNullPtr, kvpiFastMarchingGetBufferSize_8u32f_C1R({0, 0}, nullptr));
  EXPECT_EQ(kvpStsBadSize, kvpiFastMarchingGetBufferSize_8u32f_C1R({0, 3}, &n));
  EXPECT_EQ(kvpStsBadSize, kvpiFastMarchingGetBufferSize_8u32f_C1R({20000, 20000}, &n));
  EXPECT_EQ(kvpStsBadSize, kvpiFastMarchingGetBufferSize_8u32f_C1R({2147483647, 2147483647}, &n));
  EXPECT_EQ(-3, n);
  auto call = [&](const Kvp8u* m, int ms, Kvp32f* d, int ds, KvpiSize r, float rad, Kvp8u* b) {
    return kvpiFastMarching_8u32f_C1R(m, ms, d, ds, r, rad, b);
  };
  const float nan = std::nanf("");
  EXPECT_EQ(kvpStsNullPtr, call(nullptr, 0, dst, 0, {0, 0}, nan, buf.data()));
  EXPECT_EQ(kvpStsNullPtr, call(mask, 0, nullptr, 0, {0, 0}, nan, buf.data()));
  EXPECT_EQ(kvpStsNullPtr, call(mask, 0, dst, 0, {0, 0}, nan, nullptr));
  EXPECT_EQ(kvpStsBadSize, call(mask, 0, dst, 0, {4, 0}, nan, buf.data()));
  EXPECT_EQ(kvpStsBadStep, call(mask, 3, dst, 1, {4, 4}, nan, buf.data()));
  EXPECT_EQ(kvpStsBadStep, call(mask, 4, dst, 15, {4, 4}, nan, buf.data()));
  EXPECT_EQ(kvpStsStepNotMultiple, call(mask, 4, dst, 18, {4, 2}, nan, buf.data()));
  for (float r : {0.f, -1.f, nan, -kInf})
    EXPECT_EQ(kvpStsBadArg, call(mask, 4, dst, 16, {4, 4}, r, buf.data()));
  for (float v : dst) EXPECT_EQ(5.f, v);
}

// ---- inpainting --------------------------------------------------------------------

template <int CN>
struct Api;
template <>
struct Api<1> {
  using S = KvpiInpaintState_8u_C1R;
  static constexpr auto init = kvpiInpaintInitAlloc_8u_C1R;
  static constexpr auto fill = kvpiInpaint_8u_C1R;
  static constexpr auto release = kvpiInpaintFree_8u_C1R;
};
template <>
struct Api<3> {
  using S = KvpiInpaintState_8u_C3R;
  static constexpr auto init = kvpiInpaintInitAlloc_8u_C3R;
  static constexpr auto fill = kvpiInpaint_8u_C3R;
  static constexpr auto release = kvpiInpaintFree_8u_C3R;
};

// Packed fill: march, state, inpaint; returns the image.
template <int CN>
std::vector<uint8_t> fillPacked(const std::vector<uint8_t>& img, const std::vector<uint8_t>& mask, int w,
                                int h, float radius) {
  const auto t = march(mask, w, h, radius);
  typename Api<CN>::S* st = nullptr;
  EXPECT_EQ(kvpStsOk, Api<CN>::init(&st, t.data(), 4 * w, mask.data(), w, {w, h}, radius, 0));
  std::vector<uint8_t> out(img.size(), 0);
  EXPECT_EQ(kvpStsOk, Api<CN>::fill(img.data(), w * CN, out.data(), w * CN, {w, h}, st));
  EXPECT_EQ(kvpStsOk, Api<CN>::release(st));
  return out;
}

TEST(Inpaint, WorkedExamples) {
  EXPECT_EQ((std::vector<uint8_t>{10, 30, 50}), fillPacked<1>({10, 99, 50}, {0, 1, 0}, 3, 1, 1.f));
  EXPECT_EQ((std::vector<uint8_t>{10, 30, 51}), fillPacked<1>({10, 99, 51}, {0, 1, 0}, 3, 1, 1.f));
  EXPECT_EQ((std::vector<uint8_t>{10, 32, 54}), fillPacked<1>({10, 99, 54}, {0, 1, 0}, 3, 1, 1.f));
  // The whole ROI masked, or nothing masked: a copy.
  EXPECT_EQ((std::vector<uint8_t>{1, 2, 3, 4}), fillPacked<1>({1, 2, 3, 4}, {1, 1, 1, 1}, 2, 2, 5.f));
  EXPECT_EQ((std::vector<uint8_t>{1, 2, 3, 4}), fillPacked<1>({1, 2, 3, 4}, {0, 0, 0, 0}, 2, 2, 5.f));
  // A constant image stays constant; a ramp is filled between its sides.
  auto rng = kvt::makeRng(9);
  const int w = 40, h = 30;
  std::vector<uint8_t> mask((size_t)w * h), flat((size_t)w * h, 77), ramp((size_t)w * h);
  for (size_t i = 0; i < mask.size(); ++i) mask[i] = rng() % 3 == 0;
  EXPECT_EQ(flat, fillPacked<1>(flat, mask, w, h, 3.f));
  std::vector<uint8_t> line((size_t)w * h, 0);
  for (int y = 0; y < h; ++y) {
    line[(size_t)y * w + 20] = 1;
    for (int x = 0; x < w; ++x) ramp[(size_t)y * w + x] = (uint8_t)(x * 5);
  }
  const auto r = fillPacked<1>(ramp, line, w, h, 3.f);
  for (int y = 0; y < h; ++y) {
    EXPECT_GE(r[(size_t)y * w + 20], 95);
    EXPECT_LE(r[(size_t)y * w + 20], 105);
  }
}

template <int CN>
void sweepInpaint() {
  auto rng = kvt::makeRng(30 + CN);
  const float radii[] = {1.f, 1.5f, 3.f, 5.f, 1e9f};
  for (KvpiSize roi : kvt::sizeSweep()) {
    if ((long long)roi.width * roi.height > 300000) continue;
    Plane<Kvp8u> mask(roi.width, roi.height, 1, rng);
    randomMask(mask, rng);
    Plane<Kvp8u> src(roi.width, roi.height, CN, rng), dst(roi.width, roi.height, CN, rng);
    std::uniform_int_distribution<int> px(0, 255);
    src.fill([&] { return px(rng); });
    const float radius = radii[rng() % (roi.width * roi.height > 5000 ? 4 : 5)];
    Plane<Kvp32f> t(roi.width, roi.height, 1, rng);
    int bytes = 0;
    kvpiFastMarchingGetBufferSize_8u32f_C1R(roi, &bytes);
    Buffer buf(bytes);
    // Sometimes a map limited below the radius, sometimes a full one.
    const float limit = (rng() & 1) ? kInf : 2.f;
    ASSERT_EQ(kvpStsOk, kvpiFastMarching_8u32f_C1R(mask.roi(), mask.step(), t.roi(), t.step(), roi,
                                                   limit == kInf ? 1e30f : limit, buf.data()));
    const auto tp = packed(t);
    const auto ref = inpref::inpaint(packed(src), CN, packed(mask), tp, roi.width, roi.height, radius);
    typename Api<CN>::S* st = nullptr;
    ASSERT_EQ(kvpStsOk, Api<CN>::init(&st, t.roi(), t.step(), mask.roi(), mask.step(), roi, radius, 0));
    const bool inPlace = rng() & 1;
    Plane<Kvp8u>& out = inPlace ? src : dst;
    const auto sb = src.bytes(), db = out.bytes();
    ASSERT_EQ(kvpStsOk, Api<CN>::fill(src.roi(), src.step(), out.roi(), out.step(), roi, st));
    ASSERT_EQ(kvpStsOk, Api<CN>::release(st));
    const std::string what = kvt::describe(roi) + " radius " + std::to_string(radius);
    ASSERT_TRUE(out.sameOutsideRoi(db)) << what;
    if (!inPlace) {
      ASSERT_TRUE(src.unchanged(sb)) << what;
    }
    ASSERT_TRUE(packed(out) == ref) << what;
  }
}

TEST(Inpaint, MatchesReference) {
  sweepInpaint<1>();
  sweepInpaint<3>();
}

TEST(Inpaint, Statuses) {
  float t[16] = {0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  Kvp8u mask[16] = {0, 1}, img[48] = {}, out[48];
  KvpiInpaintState_8u_C1R* const sentinel = reinterpret_cast<KvpiInpaintState_8u_C1R*>(&t[3]);
  KvpiInpaintState_8u_C1R* st = sentinel;
  const float nan = std::nanf("");
  auto init = [&](KvpiInpaintState_8u_C1R** pp, const float* d, int ds, const Kvp8u* m, int ms, KvpiSize r,
                  float rad,
                  int flag) { return kvpiInpaintInitAlloc_8u_C1R(pp, d, ds, m, ms, r, rad, flag); };
  EXPECT_EQ(kvpStsNullPtr, init(nullptr, t, 0, mask, 0, {0, 0}, nan, 1));
  EXPECT_EQ(kvpStsNullPtr, init(&st, nullptr, 0, mask, 0, {0, 0}, nan, 1));
  EXPECT_EQ(kvpStsNullPtr, init(&st, t, 0, nullptr, 0, {0, 0}, nan, 1));
  EXPECT_EQ(kvpStsBadSize, init(&st, t, 0, mask, 0, {0, 1}, nan, 1));
  EXPECT_EQ(kvpStsBadStep, init(&st, t, 7, mask, 0, {2, 2}, nan, 1));
  EXPECT_EQ(kvpStsBadStep, init(&st, t, 8, mask, 1, {2, 2}, nan, 1));
  EXPECT_EQ(kvpStsStepNotMultiple, init(&st, t, 10, mask, 2, {2, 2}, nan, 1));
  for (float r : {0.5f, nan, kInf, -3.f}) EXPECT_EQ(kvpStsBadArg, init(&st, t, 8, mask, 2, {2, 2}, r, 1));
  EXPECT_EQ(kvpStsBadArg, init(&st, t, 8, mask, 2, {2, 2}, 1.f, 1));
  t[2] = nan;
  EXPECT_EQ(kvpStsBadArg, init(&st, t, 8, mask, 2, {2, 2}, 1.f, 0));
  t[2] = -kInf;
  EXPECT_EQ(kvpStsBadArg, init(&st, t, 8, mask, 2, {2, 2}, 1.f, 0));
  EXPECT_EQ(kvpStsOk, init(&st, t, 16, mask, 4, {2, 2}, 1.f, 0));  // the bad value lies outside the ROI
  EXPECT_NE(sentinel, st);
  for (Kvp8u& v : out) v = 0xEE;
  EXPECT_EQ(kvpStsNullPtr, kvpiInpaint_8u_C1R(nullptr, 2, out, 2, {2, 2}, st));
  EXPECT_EQ(kvpStsNullPtr, kvpiInpaint_8u_C1R(img, 2, nullptr, 2, {2, 2}, st));
  EXPECT_EQ(kvpStsNullPtr, kvpiInpaint_8u_C1R(img, 2, out, 2, {2, 2}, nullptr));
  EXPECT_EQ(kvpStsBadSize, kvpiInpaint_8u_C1R(img, 0, out, 0, {0, 2}, st));
  EXPECT_EQ(kvpStsBadSize, kvpiInpaint_8u_C1R(img, 0, out, 0, {2, 3}, st));
  EXPECT_EQ(kvpStsBadStep, kvpiInpaint_8u_C1R(img, 1, out, 0, {2, 2}, st));
  EXPECT_EQ(kvpStsBadStep, kvpiInpaint_8u_C1R(img, 2, out, 1, {2, 2}, st));
  for (Kvp8u v : out) EXPECT_EQ(0xEE, v);
  EXPECT_EQ(kvpStsOk, kvpiInpaintFree_8u_C1R(st));
  EXPECT_EQ(kvpStsNullPtr, kvpiInpaintFree_8u_C1R(nullptr));
  EXPECT_EQ(kvpStsNullPtr, kvpiInpaintFree_8u_C3R(nullptr));
  KvpiInpaintState_8u_C3R* s3 = nullptr;
  EXPECT_EQ(kvpStsOk, kvpiInpaintInitAlloc_8u_C3R(&s3, t, 16, mask, 4, {2, 2}, 1.f, 0));
  EXPECT_EQ(kvpStsBadStep, kvpiInpaint_8u_C3R(img, 5, out, 6, {2, 2}, s3));
  EXPECT_EQ(kvpStsBadArg,
            kvpiInpaint_8u_C1R(img, 2, out, 2, {2, 2}, reinterpret_cast<const KvpiInpaintState_8u_C1R*>(s3)));
  EXPECT_EQ(kvpStsOk, kvpiInpaintFree_8u_C3R(s3));
}

}  // namespace

// Undistortion, sub-pixel copies and line sampling against the plain
// references of geometry_ref.h (bit for bit, every thread count, guarded
// planes with padded steps and unaligned ROI pointers), the statuses in
// check order with nothing written on failure, and values worked out by
// hand.
#include <algorithm>
#include <limits>
#include <vector>

#include "geometry_ref.h"
#include "harness.h"

extern "C" {
#define KVP_LINE_TABLE(SUF) extern void* const kvpiSampleLine_##SUF##_arraddr[2];
KVP_LINE_TABLE(8u_C1R)
KVP_LINE_TABLE(8u_C3R)
KVP_LINE_TABLE(16u_C1R)
KVP_LINE_TABLE(16u_C3R)
KVP_LINE_TABLE(32f_C1R)
KVP_LINE_TABLE(32f_C3R)
}

namespace {

using kvt::Plane;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

template <class T>
void randomFill(Plane<T>& p, kvt::Rng& rng) {
  if constexpr (std::is_same_v<T, Kvp32f>) {
    std::uniform_int_distribution<int> d(-8000, 8000);
    p.fill([&] { return (float)d(rng) / 8.f + (float)(rng() % 3) * 0.3f; });
  } else {
    std::uniform_int_distribution<int> d(0, std::numeric_limits<T>::max());
    p.fill([&] { return d(rng); });
  }
}

// Degenerate and odd shapes, and one past the threading threshold of every
// thread count used (641 x 411 >= 8 x 32768; 1 x 70000 >= 2 x 32768).
const std::vector<KvpiSize>& sizes() {
  static const std::vector<KvpiSize> all = {{1, 1},   {1, 7},  {7, 1},    {2, 2},    {3, 5},     {17, 9},
                                            {31, 33}, {64, 3}, {127, 65}, {333, 41}, {641, 411}, {1, 70000}};
  static const std::vector<KvpiSize> small = {{1, 1}, {1, 7}, {7, 1}, {3, 5}, {17, 9}, {31, 33}, {64, 3}};
  return kvt::smallRun() ? small : all;
}

std::vector<Kvp8u> undistortBuffer(KvpiSize roi) {
  int bytes = 0;
  EXPECT_EQ(kvpStsOk, kvpiUndistortGetSize(roi, &bytes));
  return std::vector<Kvp8u>((size_t)bytes + 7);
}

// ---- undistortion ------------------------------------------------------------------

template <class T, int C>
using UndistortFn = KvpStatus (*)(const T*, int, T*, int, KvpiSize, Kvp32f, Kvp32f, Kvp32f, Kvp32f, Kvp32f,
                                  Kvp32f, Kvp8u*);

// Lenses: mild and strong barrel and pincushion, positions that run far
// outside, an off-centre principal point, and a plain copy.
std::vector<georef::Lens> lenses(KvpiSize s) {
  const float W = (float)s.width, H = (float)s.height;
  return {{0.8f * W, 0.9f * H, 0.5f * W - 0.3f, 0.5f * H + 0.2f, -0.3f, 0.05f, 0, 0},
          {0.6f * W + 1, 0.6f * W + 1, 0.5f * W, 0.45f * H, 0.4f, 0.2f, 0, 0},
          {0.3f * W + 1, -0.5f * H - 1, 0.1f * W, 0.9f * H, 2.f, -1.f, 0, 0},
          {1.f, 1.f, 0.f, 0.f, 0.f, 0.f, 0, 0}};
}

template <class T, int C>
void checkUndistort(UndistortFn<T, C> fn) {
  kvt::Rng rng = kvt::makeRng(20 + sizeof(T) + C);
  for (const KvpiSize s : sizes()) {
    Plane<T> src(s.width, s.height, C, rng);
    randomFill(src, rng);
    for (const georef::Lens& L : lenses(s)) {
      Plane<T> want(s.width, s.height, C, rng);
      georef::undistortRadial<T, C>(src.roi(), src.step(), want.roi(), want.step(), s.width, s.height, L);
      for (int t : kvt::threadCounts()) {
        SCOPED_TRACE(kvt::describe(s) + " threads " + std::to_string(t) + " k1 " + std::to_string(L.k1));
        kvt::Threads th(t);
        Plane<T> dst(s.width, s.height, C, rng);
        const auto before = dst.bytes();
        auto buf = undistortBuffer(s);
        ASSERT_EQ(kvpStsOk, fn(src.roi(), src.step(), dst.roi(), dst.step(), s, L.fx, L.fy, L.cx, L.cy, L.k1,
                               L.k2, buf.data() + t % 7));
        ASSERT_TRUE(kvt::sameRoi(dst, want));
        ASSERT_TRUE(dst.sameOutsideRoi(before));
        if (L.k1 == 0.f && L.k2 == 0.f) {
          ASSERT_TRUE(kvt::sameRoi(dst, src)) << "integer centre, no distortion";
        }
      }
    }
  }
}

TEST(GeometryUndistort, RadialMatchesReference8uC1) { checkUndistort<Kvp8u, 1>(kvpiUndistortRadial_8u_C1R); }
TEST(GeometryUndistort, RadialMatchesReference8uC3) { checkUndistort<Kvp8u, 3>(kvpiUndistortRadial_8u_C3R); }
TEST(GeometryUndistort, RadialMatchesReference16uC1) {
  checkUndistort<Kvp16u, 1>(kvpiUndistortRadial_16u_C1R);
}
TEST(GeometryUndistort, RadialMatchesReference32fC1) {
  checkUndistort<Kvp32f, 1>(kvpiUndistortRadial_32f_C1R);
}
TEST(GeometryUndistort, RadialMatchesReference32fC3) {
  checkUndistort<Kvp32f, 3>(kvpiUndistortRadial_32f_C3R);
}

TEST(GeometryUndistort, HandValuesAndEdges) {
  // sx = -0.25 blends 0 and 10 -> 7.5 -> 8; sx = 2.25 blends 30 and 0 -> 22.5 -> 22.
  const Kvp8u src[3] = {10, 20, 30};
  Kvp8u dst[3] = {};
  Kvp8u buf[128];
  ASSERT_EQ(kvpStsOk, kvpiUndistortRadial_8u_C1R(src, 3, dst, 3, {3, 1}, 1, 1, 1, 0, 0.25f, 0, buf));
  EXPECT_EQ(8, dst[0]);
  EXPECT_EQ(20, dst[1]);
  EXPECT_EQ(22, dst[2]);
  // Positions exactly -1 or W are outside: 0. With cx = 1, k1 = 1: u = 0 -> sx = 1 - 1 * 2 = -1,
  // u = 2 -> sx = 1 + 2 = 3 = W.
  const float fsrc[3] = {1, 2, 3};
  float fdst[3] = {7, 7, 7};
  ASSERT_EQ(kvpStsOk, kvpiUndistortRadial_32f_C1R(fsrc, 12, fdst, 12, {3, 1}, 1, 1, 1, 0, 1, 0, buf));
  EXPECT_EQ(0.f, fdst[0]);
  EXPECT_EQ(2.f, fdst[1]);
  EXPECT_EQ(0.f, fdst[2]);
  // A non-finite coefficient zeroes the pixels it reaches.
  ASSERT_EQ(kvpStsOk, kvpiUndistortRadial_32f_C1R(fsrc, 12, fdst, 12, {3, 1}, 1, 1, 1, 0, kNaN, 0, buf));
  for (float v : fdst) EXPECT_EQ(0.f, v) << "d = 1 + r2 * NaN is NaN even at r2 = 0";
}

TEST(GeometryUndistort, MapMatchesReference) {
  kvt::Rng rng = kvt::makeRng(31);
  for (const KvpiSize s : sizes()) {
    const float W = (float)s.width, H = (float)s.height;
    for (const georef::Lens& L :
         {georef::Lens{0.7f * W + 3, 0.8f * H + 1, 0.5f * W, 0.5f * H, -0.2f, 0.03f, 1e-3f, -2e-3f},
          georef::Lens{512, 256, 319.7f, 240.5f, 0, 0, 0, 0},
          georef::Lens{-3.f, 0.25f, 7.f, -1.5f, 0.3f, -0.1f, 0.2f, 0.1f}}) {
      Plane<float> wx(s.width, s.height, 1, rng), wy(s.width, s.height, 1, rng);
      georef::createMap(wx.roi(), wx.step(), wy.roi(), wy.step(), s.width, s.height, L);
      for (int t : kvt::threadCounts()) {
        SCOPED_TRACE(kvt::describe(s) + " threads " + std::to_string(t));
        kvt::Threads th(t);
        Plane<float> mx(s.width, s.height, 1, rng), my(s.width, s.height, 1, rng);
        const auto bx = mx.bytes(), by = my.bytes();
        auto buf = undistortBuffer(s);
        ASSERT_EQ(kvpStsOk, kvpiCreateMapCameraUndistort_32f_C1R(mx.roi(), mx.step(), my.roi(), my.step(), s,
                                                                 L.fx, L.fy, L.cx, L.cy, L.k1, L.k2, L.p1,
                                                                 L.p2, buf.data() + t));
        ASSERT_TRUE(kvt::sameRoi(mx, wx));
        ASSERT_TRUE(kvt::sameRoi(my, wy));
        ASSERT_TRUE(mx.sameOutsideRoi(bx) && my.sameOutsideRoi(by));
        if (L.k1 == 0.f) {  // powers of two: the maps are the coordinates
          for (int v = 0; v < s.height; v += 7)
            for (int u = 0; u < s.width; u += 5)
              ASSERT_TRUE(mx.at(u, v) == (float)u && my.at(u, v) == (float)v);
        }
      }
    }
  }
  float mx[3], my[3];
  Kvp8u buf[128];
  ASSERT_EQ(kvpStsOk,
            kvpiCreateMapCameraUndistort_32f_C1R(mx, 12, my, 12, {3, 1}, 1, 1, 0, 0, 0.25f, 0, 0, 0, buf));
  EXPECT_EQ(4.f, mx[2]);  // 2 * (1 + 0.25 * 4)
  EXPECT_EQ(0.f, my[2]);
}

TEST(GeometryUndistort, BufferSize) {
  int n = -1;
  EXPECT_EQ(kvpStsOk, kvpiUndistortGetSize({1, 1}, &n));
  EXPECT_EQ(80, n);
  EXPECT_EQ(kvpStsOk, kvpiUndistortGetSize({1920, 1080}, &n));
  EXPECT_EQ(30784, n);
  n = -1;
  EXPECT_EQ(kvpStsNullPtr, kvpiUndistortGetSize({0, 0}, nullptr));
  EXPECT_EQ(kvpStsBadSize, kvpiUndistortGetSize({5, 0}, &n));
  EXPECT_EQ(kvpStsBadSize, kvpiUndistortGetSize({0, 5}, &n));
  EXPECT_EQ(kvpStsBadSize, kvpiUndistortGetSize({134217724, 1}, &n));  // 16 w + 64 = 2^31
  EXPECT_EQ(-1, n);
  EXPECT_EQ(kvpStsOk, kvpiUndistortGetSize({134217723, 1}, &n));
  EXPECT_EQ(2147483632, n);
}

// ---- sub-pixel copies ----------------------------------------------------------------

template <class S, class D>
using SubpixFn = KvpStatus (*)(const S*, int, D*, int, KvpiSize, Kvp32f, Kvp32f);
template <class S, class D>
using SubpixSfsFn = KvpStatus (*)(const S*, int, D*, int, KvpiSize, Kvp32f, Kvp32f, int);

// Runs the plain or the scaled form.
template <class S, class D>
struct SubpixCall {
  SubpixFn<S, D> plain = nullptr;
  SubpixSfsFn<S, D> sfs = nullptr;
  KvpStatus operator()(const S* s, int ss, D* d, int ds, KvpiSize r, float dx, float dy, int sf) const {
    return plain ? plain(s, ss, d, ds, r, dx, dy) : sfs(s, ss, d, ds, r, dx, dy, sf);
  }
};

// Scale factors: fractional bits kept, none, dropped, saturating, and both
// sides of the float shortcut's range.
const int kScales[7] = {-8, 0, 3, -9, 120, -120, -3000};

const float kFractions[][2] = {{0.f, 0.f}, {0.5f, 0.f}, {0.25f, 0.75f}, {0.999f, 0.0001f}, {0.3f, 0.6f}};

template <class S, class D>
void checkSubpix(SubpixCall<S, D> fn) {
  kvt::Rng rng = kvt::makeRng(40 + sizeof(S) * 3 + sizeof(D));
  const bool sfs = fn.sfs != nullptr;
  for (const KvpiSize s : sizes()) {
    Plane<S> src(s.width + 1, s.height + 1, 1, rng);
    randomFill(src, rng);
    // Every scale for the scaled form; the threaded sizes take two cases.
    const int cases = (long long)s.width * s.height > 100000 ? 2 : (sfs ? 7 : 5);
    for (int k = 0; k < cases; ++k) {
      const float* f = kFractions[k % 5];
      const int sf = sfs ? kScales[k] : 0;
      Plane<D> want(s.width, s.height, 1, rng);
      georef::copySubpix(src.roi(), src.step(), want.roi(), want.step(), s.width, s.height, f[0], f[1], sfs,
                         sf);
      for (int t : kvt::threadCounts()) {
        SCOPED_TRACE(kvt::describe(s) + " threads " + std::to_string(t) + " dx " + std::to_string(f[0]) +
                     " sf " + std::to_string(sf));
        kvt::Threads th(t);
        Plane<D> dst(s.width, s.height, 1, rng);
        const auto before = dst.bytes();
        ASSERT_EQ(kvpStsOk, fn(src.roi(), src.step(), dst.roi(), dst.step(), s, f[0], f[1], sf));
        ASSERT_TRUE(kvt::sameRoi(dst, want));
        ASSERT_TRUE(dst.sameOutsideRoi(before));
      }
    }
  }
}

TEST(GeometrySubpix, CopyMatchesReference) {
  checkSubpix<Kvp8u, Kvp8u>({kvpiCopySubpix_8u_C1R});
  checkSubpix<Kvp8u, Kvp16u>({nullptr, kvpiCopySubpix_8u16u_C1R_Sfs});
  checkSubpix<Kvp8u, Kvp32f>({kvpiCopySubpix_8u32f_C1R});
  checkSubpix<Kvp16u, Kvp16u>({kvpiCopySubpix_16u_C1R});
  checkSubpix<Kvp16u, Kvp32f>({kvpiCopySubpix_16u32f_C1R});
  checkSubpix<Kvp32f, Kvp32f>({kvpiCopySubpix_32f_C1R});
}

TEST(GeometrySubpix, CopyHandValues) {
  const Kvp8u src[8] = {1, 2, 3, 4, 1, 2, 3, 4};
  Kvp8u d8[3];
  float d32[3];
  Kvp16u d16[3];
  ASSERT_EQ(kvpStsOk, kvpiCopySubpix_8u_C1R(src, 4, d8, 3, {3, 1}, 0.5f, 0.f));
  EXPECT_EQ((std::vector<int>{2, 2, 4}), (std::vector<int>{d8[0], d8[1], d8[2]}));  // half to even
  ASSERT_EQ(kvpStsOk, kvpiCopySubpix_8u32f_C1R(src, 4, d32, 12, {3, 1}, 0.5f, 0.f));
  EXPECT_EQ((std::vector<float>{1.5f, 2.5f, 3.5f}), (std::vector<float>{d32[0], d32[1], d32[2]}));
  ASSERT_EQ(kvpStsOk, kvpiCopySubpix_8u16u_C1R_Sfs(src, 4, d16, 6, {3, 1}, 0.5f, 0.f, -8));
  EXPECT_EQ((std::vector<int>{384, 640, 896}), (std::vector<int>{d16[0], d16[1], d16[2]}));
  ASSERT_EQ(kvpStsOk, kvpiCopySubpix_8u16u_C1R_Sfs(src, 4, d16, 6, {3, 1}, 0.5f, 0.f, 1));
  EXPECT_EQ((std::vector<int>{1, 1, 2}), (std::vector<int>{d16[0], d16[1], d16[2]}));
  const Kvp8u white[4] = {255, 255, 255, 255};
  ASSERT_EQ(kvpStsOk, kvpiCopySubpix_8u16u_C1R_Sfs(white, 2, d16, 2, {1, 1}, 0.5f, 0.5f, -9));
  EXPECT_EQ(65535, d16[0]);
  // Extreme scales: 255 << 2000 saturates, a tiny weight << 2000 too.
  ASSERT_EQ(kvpStsOk, kvpiCopySubpix_8u16u_C1R_Sfs(white, 2, d16, 2, {1, 1}, 0.f, 0.f, INT_MIN));
  EXPECT_EQ(65535, d16[0]);
  const Kvp8u corner[4] = {0, 1, 0, 0};
  ASSERT_EQ(kvpStsOk, kvpiCopySubpix_8u16u_C1R_Sfs(corner, 2, d16, 2, {1, 1}, 1e-30f, 0.f, -2000));
  EXPECT_EQ(65535, d16[0]);
  ASSERT_EQ(kvpStsOk, kvpiCopySubpix_8u16u_C1R_Sfs(white, 2, d16, 2, {1, 1}, 0.f, 0.f, 9));
  EXPECT_EQ(0, d16[0]);  // 255 / 512 rounds to 0
  const float sq[4] = {0, 10, 20, 30};
  ASSERT_EQ(kvpStsOk, kvpiCopySubpix_32f_C1R(sq, 8, d32, 4, {1, 1}, 0.5f, 0.5f));
  EXPECT_EQ(15.f, d32[0]);
  // dx = dy = 0 copies, -0 included when its neighbours are all <= -0; an
  // infinite neighbour poisons through 0 * inf.
  const float z[4] = {-0.f, -0.f, -0.f, -0.f};
  ASSERT_EQ(kvpStsOk, kvpiCopySubpix_32f_C1R(z, 8, d32, 4, {1, 1}, 0.f, 0.f));
  EXPECT_TRUE(std::signbit(d32[0]));
  const float zi[4] = {-0.f, 1.f, -0.f, -0.f};
  ASSERT_EQ(kvpStsOk, kvpiCopySubpix_32f_C1R(zi, 8, d32, 4, {1, 1}, 0.f, 0.f));
  EXPECT_FALSE(std::signbit(d32[0]));
  const float inf[4] = {1.f, kInf, 2.f, 3.f};
  ASSERT_EQ(kvpStsOk, kvpiCopySubpix_32f_C1R(inf, 8, d32, 4, {1, 1}, 0.f, 0.f));
  EXPECT_TRUE(std::isnan(d32[0]));
}

template <class S, class D>
using IntersectFn = KvpStatus (*)(const S*, int, KvpiSize, D*, int, KvpiSize, KvpiPoint_32f, KvpiPoint*,
                                  KvpiPoint*);
template <class S, class D>
using IntersectSfsFn = KvpStatus (*)(const S*, int, KvpiSize, D*, int, KvpiSize, KvpiPoint_32f, KvpiPoint*,
                                     KvpiPoint*, int);

template <class S, class D>
struct IntersectCall {
  IntersectFn<S, D> plain = nullptr;
  IntersectSfsFn<S, D> sfs = nullptr;
  KvpStatus operator()(const S* s, int ss, KvpiSize sr, D* d, int ds, KvpiSize dr, KvpiPoint_32f p,
                       KvpiPoint* lo, KvpiPoint* hi, int sf) const {
    return plain ? plain(s, ss, sr, d, ds, dr, p, lo, hi) : sfs(s, ss, sr, d, ds, dr, p, lo, hi, sf);
  }
};

template <class S, class D>
void checkIntersect(IntersectCall<S, D> fn) {
  kvt::Rng rng = kvt::makeRng(50 + sizeof(S) * 3 + sizeof(D));
  const bool sfs = fn.sfs != nullptr;
  const std::vector<std::pair<KvpiSize, KvpiSize>> shapes =
      kvt::smallRun()
          ? std::vector<std::pair<KvpiSize, KvpiSize>>{{{1, 1}, {3, 2}}, {{7, 5}, {4, 6}}, {{17, 9}, {17, 9}}}
          : std::vector<std::pair<KvpiSize, KvpiSize>>{
                {{1, 1}, {3, 2}},    {{1, 9}, {5, 5}},      {{7, 5}, {4, 6}},         {{17, 9}, {17, 9}},
                {{64, 40}, {31, 7}}, {{33, 65}, {120, 90}}, {{700, 500}, {641, 411}}, {{2, 300}, {9, 1}}};
  for (const auto& [ss, ds] : shapes) {
    Plane<S> src(ss.width, ss.height, 1, rng);
    randomFill(src, rng);
    const float W = (float)ss.width, H = (float)ss.height;
    // Centres inside, on the edges, half outside, far outside, and at
    // fractions that round away when the origin is formed.
    const KvpiPoint_32f points[] = {{0.5f * W, 0.5f * H},     {0.3f * W + 0.37f, 0.6f * H - 0.81f},
                                    {-0.5f, -0.5f},           {W - 0.25f, H + 1.75f},
                                    {-100.25f, 0.4f * H},     {3e9f, -3e9f},
                                    {W * 0.5f + 1e-7f, 1.5f}, {-1.f, H - 1.f}};
    const int cases = (long long)ds.width * ds.height > 100000 ? 3 : 8;
    for (int k = 0; k < cases; ++k) {
      const KvpiPoint_32f p = points[k];
      const int sf = sfs ? kScales[k % 7] : 0;
      Plane<D> want(ds.width, ds.height, 1, rng);
      KvpiPoint wmin, wmax;
      georef::copySubpixIntersect(src.roi(), src.step(), ss, want.roi(), want.step(), ds, p, &wmin, &wmax,
                                  sfs, sf);
      for (int t : kvt::threadCounts()) {
        SCOPED_TRACE(kvt::describe(ss) + " -> " + kvt::describe(ds) + " at " + std::to_string(p.x) + ", " +
                     std::to_string(p.y) + " threads " + std::to_string(t));
        kvt::Threads th(t);
        Plane<D> dst(ds.width, ds.height, 1, rng);
        const auto before = dst.bytes();
        KvpiPoint lo{-7, -7}, hi{-7, -7};
        ASSERT_EQ(kvpStsOk, fn(src.roi(), src.step(), ss, dst.roi(), dst.step(), ds, p, &lo, &hi, sf));
        ASSERT_TRUE(kvt::sameRoi(dst, want));
        ASSERT_TRUE(dst.sameOutsideRoi(before));
        ASSERT_EQ(wmin.x, lo.x);
        ASSERT_EQ(wmin.y, lo.y);
        ASSERT_EQ(wmax.x, hi.x);
        ASSERT_EQ(wmax.y, hi.y);
      }
    }
  }
}

TEST(GeometrySubpix, IntersectMatchesReference) {
  checkIntersect<Kvp8u, Kvp8u>({kvpiCopySubpixIntersect_8u_C1R});
  checkIntersect<Kvp8u, Kvp16u>({nullptr, kvpiCopySubpixIntersect_8u16u_C1R_Sfs});
  checkIntersect<Kvp8u, Kvp32f>({kvpiCopySubpixIntersect_8u32f_C1R});
  checkIntersect<Kvp16u, Kvp16u>({kvpiCopySubpixIntersect_16u_C1R});
  checkIntersect<Kvp16u, Kvp32f>({kvpiCopySubpixIntersect_16u32f_C1R});
  checkIntersect<Kvp32f, Kvp32f>({kvpiCopySubpixIntersect_32f_C1R});
}

TEST(GeometrySubpix, IntersectHandValues) {
  const float sq[4] = {0, 10, 20, 30};
  float d[9];
  KvpiPoint lo, hi;
  ASSERT_EQ(kvpStsOk, kvpiCopySubpixIntersect_32f_C1R(sq, 8, {2, 2}, d, 12, {3, 3}, {0.5f, 0.5f}, &lo, &hi));
  EXPECT_EQ((std::vector<float>{0, 5, 10, 10, 15, 20, 20, 25, 30}), std::vector<float>(d, d + 9));
  EXPECT_TRUE(lo.x == 1 && lo.y == 1 && hi.x == 1 && hi.y == 1);
  ASSERT_EQ(kvpStsOk, kvpiCopySubpixIntersect_32f_C1R(sq, 8, {2, 2}, d, 4, {1, 1}, {0.5f, 0.5f}, &lo, &hi));
  EXPECT_EQ(15.f, d[0]);
  EXPECT_TRUE(lo.x == 0 && lo.y == 0 && hi.x == 0 && hi.y == 0);
  ASSERT_EQ(kvpStsOk, kvpiCopySubpixIntersect_32f_C1R(sq, 8, {2, 2}, d, 8, {2, 2}, {10.f, 10.f}, &lo, &hi));
  EXPECT_EQ((std::vector<float>{30, 30, 30, 30}), std::vector<float>(d, d + 4));
  EXPECT_TRUE(lo.x == 0 && lo.y == 0 && hi.x == -1 && hi.y == -1);
  // Far left: every column replicates column 0 and the x range is empty.
  ASSERT_EQ(kvpStsOk,
            kvpiCopySubpixIntersect_32f_C1R(sq, 8, {2, 2}, d, 12, {3, 1}, {-100.25f, 0.f}, &lo, &hi));
  EXPECT_EQ((std::vector<float>{0, 0, 0}), std::vector<float>(d, d + 3));
  EXPECT_EQ(3, lo.x);
}

// ---- line sampling ---------------------------------------------------------------

template <class T>
using LineFn = KvpStatus (*)(const T*, int, KvpiSize, T*, KvpiPoint, KvpiPoint);

template <class T, int C>
void checkLine(void* const* table) {
  kvt::Rng rng = kvt::makeRng(60 + sizeof(T) + C);
  for (int body = 0; body < 2; ++body) {
    const auto fn = reinterpret_cast<LineFn<T>>(table[body]);
    for (const KvpiSize s : sizes()) {
      Plane<T> src(s.width, s.height, C, rng);
      randomFill(src, rng);
      std::uniform_int_distribution<int> dx(0, s.width - 1), dy(0, s.height - 1);
      for (int i = 0; i < 40; ++i) {
        KvpiPoint p1{dx(rng), dy(rng)}, p2{dx(rng), dy(rng)};
        if (i == 0) p2 = p1;
        if (i == 1) p1 = {0, 0}, p2 = {s.width - 1, s.height - 1};
        if (i == 2) p1 = {s.width - 1, 0}, p2 = {0, s.height - 1};
        const long long n = georef::lineCount(p1, p2);
        std::vector<T> want((size_t)n * C), got((size_t)(n + 2) * C, T(77));
        georef::sampleLine<T, C>(src.roi(), src.step(), want.data(), p1, p2);
        ASSERT_EQ(kvpStsOk, fn(src.roi(), src.step(), s, got.data(), p1, p2));
        SCOPED_TRACE("body " + std::to_string(body) + " " + kvt::describe(s));
        ASSERT_EQ(0, std::memcmp(want.data(), got.data(), want.size() * sizeof(T)));
        for (size_t k = want.size(); k < got.size(); ++k) ASSERT_EQ(T(77), got[k]) << "written past the line";
      }
    }
  }
}

TEST(GeometryLine, MatchesReferenceBothBodies) {
  checkLine<Kvp8u, 1>(kvpiSampleLine_8u_C1R_arraddr);
  checkLine<Kvp8u, 3>(kvpiSampleLine_8u_C3R_arraddr);
  checkLine<Kvp16u, 1>(kvpiSampleLine_16u_C1R_arraddr);
  checkLine<Kvp16u, 3>(kvpiSampleLine_16u_C3R_arraddr);
  checkLine<Kvp32f, 1>(kvpiSampleLine_32f_C1R_arraddr);
  checkLine<Kvp32f, 3>(kvpiSampleLine_32f_C3R_arraddr);
}

TEST(GeometryLine, HandPaths) {
  // Pixel values encode their coordinates: 10 * y + x.
  Kvp8u img[16];
  for (int i = 0; i < 16; ++i) img[i] = (Kvp8u)(10 * (i / 4) + i % 4);
  struct Case {
    KvpiPoint a, b;
    std::vector<int> path;
  };
  const Case cases[] = {
      {{0, 0}, {2, 1}, {0, 1, 12}},      {{2, 1}, {0, 0}, {12, 11, 0}}, {{3, 0}, {0, 3}, {3, 12, 21, 30}},
      {{0, 0}, {0, 3}, {0, 10, 20, 30}}, {{2, 2}, {2, 2}, {22}},        {{0, 3}, {3, 1}, {30, 21, 22, 13}}};
  for (int body = 0; body < 2; ++body)
    for (const Case& c : cases) {
      Kvp8u out[8] = {};
      ASSERT_EQ(kvpStsOk, reinterpret_cast<LineFn<Kvp8u>>(kvpiSampleLine_8u_C1R_arraddr[body])(
                              img, 4, {4, 4}, out, c.a, c.b));
      EXPECT_EQ(c.path, std::vector<int>(out, out + c.path.size())) << "body " << body;
    }
  const Kvp16u rgb[6] = {1, 2, 3, 4, 5, 6};
  Kvp16u out[6] = {};
  ASSERT_EQ(kvpStsOk, kvpiSampleLine_16u_C3R(rgb, 12, {2, 1}, out, {1, 0}, {0, 0}));
  EXPECT_EQ((std::vector<int>{4, 5, 6, 1, 2, 3}), std::vector<int>(out, out + 6));
}

// ---- statuses in check order, nothing written on failure -----------------------------

TEST(GeometryStatus, UndistortAndMap) {
  kvt::Rng rng = kvt::makeRng(70);
  Plane<float> src(6, 4, 1, rng, 8), dst(6, 4, 1, rng, 8);
  const auto before = dst.bytes();
  std::vector<Kvp8u> buf(200);
  const float* s = src.roi();
  float* d = dst.roi();
  const int ss = src.step(), ds = dst.step();
  Kvp8u* b = buf.data();
  const KvpiSize r{6, 4};
  struct Row {
    KvpStatus want, got;
  };
  const Row rows[] = {
      {kvpStsNullPtr, kvpiUndistortRadial_32f_C1R(nullptr, ss, d, ds, r, 1, 1, 0, 0, 0, 0, b)},
      {kvpStsNullPtr, kvpiUndistortRadial_32f_C1R(s, ss, nullptr, ds, {0, 0}, 1, 1, 0, 0, 0, 0, b)},
      {kvpStsNullPtr, kvpiUndistortRadial_32f_C1R(s, ss, d, ds, r, 0, 1, 0, 0, 0, 0, nullptr)},
      {kvpStsBadSize, kvpiUndistortRadial_32f_C1R(s, 1, d, 1, {0, 4}, 0, 1, 0, 0, 0, 0, b)},
      {kvpStsBadSize, kvpiUndistortRadial_32f_C1R(s, ss, d, ds, {6, -1}, 1, 1, 0, 0, 0, 0, b)},
      {kvpStsBadStep, kvpiUndistortRadial_32f_C1R(s, 23, d, 2, r, 0, 1, 0, 0, 0, 0, b)},
      {kvpStsBadStep, kvpiUndistortRadial_32f_C3R(s, 72, d, 71, {6, 1}, 0, 1, 0, 0, 0, 0, b)},
      {kvpStsStepNotMultiple, kvpiUndistortRadial_32f_C1R(s, 26, d, ds, r, 0, 1, 0, 0, 0, 0, b)},
      {kvpStsStepNotMultiple,
       kvpiUndistortRadial_16u_C1R((const Kvp16u*)s, 12, (Kvp16u*)d, 13, r, 0, 1, 0, 0, 0, 0, b)},
      {kvpStsBadArg, kvpiUndistortRadial_32f_C1R(s, ss, d, ds, r, 0, 1, 0, 0, 0, 0, b)},
      {kvpStsBadArg,
       kvpiUndistortRadial_8u_C3R((const Kvp8u*)s, 18, (Kvp8u*)d, 18, r, 1, -0.f, 0, 0, 0, 0, b)},
      {kvpStsNullPtr,
       kvpiCreateMapCameraUndistort_32f_C1R(d, ds, nullptr, ds, {0, 0}, 0, 0, 0, 0, 0, 0, 0, 0, b)},
      {kvpStsNullPtr, kvpiCreateMapCameraUndistort_32f_C1R(d, ds, d, ds, r, 1, 1, 0, 0, 0, 0, 0, 0, nullptr)},
      {kvpStsBadSize, kvpiCreateMapCameraUndistort_32f_C1R(d, 0, d, 0, {1, 0}, 0, 0, 0, 0, 0, 0, 0, 0, b)},
      {kvpStsBadStep, kvpiCreateMapCameraUndistort_32f_C1R(d, ds, d, 20, r, 0, 0, 0, 0, 0, 0, 0, 0, b)},
      {kvpStsStepNotMultiple,
       kvpiCreateMapCameraUndistort_32f_C1R(d, 26, d, ds, r, 0, 0, 0, 0, 0, 0, 0, 0, b)},
      {kvpStsBadArg, kvpiCreateMapCameraUndistort_32f_C1R(d, ds, d, ds, r, 1, 0, 0, 0, 0, 0, 0, 0, b)},
  };
  for (size_t i = 0; i < std::size(rows); ++i) EXPECT_EQ(rows[i].want, rows[i].got) << "row " << i;
  EXPECT_TRUE(dst.unchanged(before));
}

TEST(GeometryStatus, SubpixAndWindow) {
  kvt::Rng rng = kvt::makeRng(71);
  Plane<float> src(7, 5, 1, rng, 4), dst(6, 4, 1, rng, 8);
  const auto before = dst.bytes();
  const float* s = src.roi();
  float* d = dst.roi();
  const auto* s8 = (const Kvp8u*)s;
  const auto* s16 = (const Kvp16u*)s;
  const int ss = src.step(), ds = dst.step();
  const KvpiSize r{6, 4};
  KvpiPoint lo{-9, -9}, hi{-9, -9};
  const KvpStatus rows[][2] = {
      {kvpStsNullPtr, kvpiCopySubpix_32f_C1R(nullptr, ss, d, ds, {0, 0}, 2, 2)},
      {kvpStsNullPtr, kvpiCopySubpix_8u16u_C1R_Sfs(s8, ss, nullptr, ds, r, 0, 0, 0)},
      {kvpStsBadSize, kvpiCopySubpix_32f_C1R(s, ss, d, ds, {6, 0}, 2, 2)},
      {kvpStsBadStep, kvpiCopySubpix_32f_C1R(s, 23, d, 1, r, 2, 2)},
      {kvpStsBadStep, kvpiCopySubpix_16u32f_C1R(s16, 12, d, 23, r, 2, 2)},
      {kvpStsStepNotMultiple, kvpiCopySubpix_16u_C1R(s16, 13, (Kvp16u*)d, ds, r, 2, 2)},
      {kvpStsStepNotMultiple, kvpiCopySubpix_8u32f_C1R(s8, ss, d, 4 * 6 + 2, r, 2, 2)},
      {kvpStsBadArg, kvpiCopySubpix_32f_C1R(s, ss, d, ds, r, 1.f, 0)},
      {kvpStsBadArg, kvpiCopySubpix_32f_C1R(s, ss, d, ds, r, 0, kNaN)},
      {kvpStsBadArg, kvpiCopySubpix_8u_C1R(s8, ss, (Kvp8u*)d, ds, r, -1e-30f, 0)},
      {kvpStsNullPtr, kvpiCopySubpixIntersect_32f_C1R(s, ss, {7, 5}, d, ds, r, {1, 1}, nullptr, &hi)},
      {kvpStsNullPtr, kvpiCopySubpixIntersect_32f_C1R(s, ss, {7, 5}, d, ds, r, {1, 1}, &lo, nullptr)},
      {kvpStsBadSize, kvpiCopySubpixIntersect_32f_C1R(s, 1, {0, 5}, d, 1, {0, 5}, {kNaN, 1}, &lo, &hi)},
      {kvpStsBadSize, kvpiCopySubpixIntersect_32f_C1R(s, 1, {7, 5}, d, 1, {0, 5}, {kNaN, 1}, &lo, &hi)},
      {kvpStsBadStep, kvpiCopySubpixIntersect_32f_C1R(s, 27, {7, 5}, d, 1, r, {kNaN, 1}, &lo, &hi)},
      {kvpStsBadStep, kvpiCopySubpixIntersect_32f_C1R(s, ss, {7, 5}, d, 23, r, {kNaN, 1}, &lo, &hi)},
      {kvpStsStepNotMultiple,
       kvpiCopySubpixIntersect_16u_C1R(s16, 15, {7, 5}, (Kvp16u*)d, 12, r, {kNaN, 1}, &lo, &hi)},
      {kvpStsStepNotMultiple,
       kvpiCopySubpixIntersect_8u16u_C1R_Sfs(s8, 7, {7, 5}, (Kvp16u*)d, 13, r, {kNaN, 1}, &lo, &hi, 0)},
      {kvpStsBadArg, kvpiCopySubpixIntersect_32f_C1R(s, ss, {7, 5}, d, ds, r, {kInf, 1}, &lo, &hi)},
      {kvpStsBadArg, kvpiCopySubpixIntersect_8u32f_C1R(s8, 7, {7, 5}, d, ds, r, {1, -kInf}, &lo, &hi)},
  };
  for (size_t i = 0; i < std::size(rows); ++i) EXPECT_EQ(rows[i][0], rows[i][1]) << "row " << i;
  EXPECT_TRUE(dst.unchanged(before));
  EXPECT_TRUE(lo.x == -9 && lo.y == -9 && hi.x == -9 && hi.y == -9);
  // Accepted edge arguments: dx = -0, odd 8-bit source step.
  EXPECT_EQ(kvpStsOk, kvpiCopySubpix_8u32f_C1R(s8, 7, d, ds, r, -0.f, 0.5f));
}

TEST(GeometryStatus, Line) {
  const Kvp32f img[6] = {};
  Kvp32f out[8];
  std::fill(out, out + 8, 5.f);
  const KvpiSize r{3, 2};
  const KvpStatus rows[][2] = {
      {kvpStsNullPtr, kvpiSampleLine_32f_C1R(nullptr, 12, {0, 0}, out, {0, 0}, {0, 0})},
      {kvpStsNullPtr, kvpiSampleLine_32f_C3R(img, 36, r, nullptr, {0, 0}, {0, 0})},
      {kvpStsBadSize, kvpiSampleLine_32f_C1R(img, 12, {0, 2}, out, {-1, 0}, {0, 0})},
      {kvpStsBadStep, kvpiSampleLine_32f_C3R(img, 35, r, out, {-1, 0}, {0, 0})},
      {kvpStsStepNotMultiple, kvpiSampleLine_16u_C1R((const Kvp16u*)img, 7, r, (Kvp16u*)out, {0, 0}, {0, 0})},
      {kvpStsError, kvpiSampleLine_32f_C1R(img, 12, r, out, {-2147483647, 0}, {0, 0})},
      {kvpStsError, kvpiSampleLine_32f_C1R(img, 12, r, out, {0, INT_MIN}, {0, INT_MAX})},
      {kvpStsOutOfRange, kvpiSampleLine_32f_C1R(img, 12, r, out, {-2147483645, 0}, {0, 0})},
      {kvpStsError, kvpiSampleLine_32f_C1R(img, 12, r, out, {0, 0}, {-2147483646, 0})},
      {kvpStsOutOfRange, kvpiSampleLine_32f_C1R(img, 12, r, out, {-1, 0}, {0, 0})},
      {kvpStsOutOfRange, kvpiSampleLine_32f_C1R(img, 12, r, out, {0, 0}, {3, 0})},
      {kvpStsOutOfRange, kvpiSampleLine_8u_C1R((const Kvp8u*)img, 3, r, (Kvp8u*)out, {0, 0}, {0, 2})},
  };
  for (size_t i = 0; i < std::size(rows); ++i) EXPECT_EQ(rows[i][0], rows[i][1]) << "row " << i;
  for (float v : out) EXPECT_EQ(5.f, v);
}

}  // namespace

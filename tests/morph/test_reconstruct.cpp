// Reconstruction by dilation and erosion against the fixed-point
// iteration, for every type and both connectivities; hand-worked cases;
// a serpentine corridor whose one path crosses every band boundary many
// times, at several thread counts; ROIs inside larger buffers; statuses.
#include "harness.h"
#include "morph_ref.h"

namespace {

template <class T>
struct ReconFns;
#define RECON_FNS(TS, T)                                                      \
  template <>                                                                 \
  struct ReconFns<T> {                                                        \
    static constexpr auto size = kvpiMorphReconstructGetBufferSize_##TS##_C1; \
    static constexpr auto dilate = kvpiMorphReconstructDilate_##TS##_C1IR;    \
    static constexpr auto erode = kvpiMorphReconstructErode_##TS##_C1IR;      \
  };
RECON_FNS(8u, Kvp8u)
RECON_FNS(16u, Kvp16u)
RECON_FNS(32f, Kvp32f)
RECON_FNS(64f, Kvp64f)

// Runs one reconstruction with a buffer of exactly the reported size at an
// odd offset; the bytes after it stay as they were.
template <class T>
KvpStatus recon(bool dilate, const T* mask, int ms, T* marker, int js, KvpiSize roi, KvpiNorm norm) {
  int size = 0;
  if (KvpStatus s = ReconFns<T>::size(roi, &size)) return s;
  std::vector<Kvp8u> buf((size_t)size + 3 + 16, 0x5A);
  const KvpStatus s =
      (dilate ? ReconFns<T>::dilate : ReconFns<T>::erode)(mask, ms, marker, js, roi, buf.data() + 3, norm);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(buf[(size_t)size + 3 + i], 0x5A) << "the buffer overran";
  return s;
}

template <class T>
void sweep() {
  kvt::Rng rng = kvt::makeRng(21);
  const std::vector<KvpiSize> sizes = {{1, 1}, {6, 1},   {1, 5},
                                       {2, 2}, {29, 17}, {kvt::smallRun() ? 60 : 331, 299}};
  // Values from a small range so that plateaus and long paths occur.
  std::uniform_int_distribution<int> val(0, 12);
  for (KvpiSize roi : sizes)
    for (bool dilate : {true, false})
      for (KvpiNorm norm : {kvpiNormL1, kvpiNormInf}) {
        kvt::Plane<T> mask(roi.width, roi.height, 1, rng), marker(roi.width, roi.height, 1, rng);
        mask.fill([&] { return (T)(val(rng) * 5); });
        // A marker mostly on the far side of the mask, sometimes not.
        marker.fill([&] { return (T)(val(rng) < 11 ? (dilate ? 0 : 60) : val(rng) * 5); });
        const auto want =
            mref::reconstruct(mref::load<T>(mask.roi(), mask.step(), roi.width, roi.height, 1),
                              mref::load<T>(marker.roi(), marker.step(), roi.width, roi.height, 1), dilate,
                              norm == kvpiNormInf);
        const auto maskBefore = mask.bytes(), markerBefore = marker.bytes();
        for (int n : kvt::threadCounts()) {
          kvt::Threads scope(n);
          kvt::Plane<T> j = marker;
          ASSERT_EQ(recon<T>(dilate, mask.roi(), mask.step(), j.roi(), j.step(), roi, norm), kvpStsOk);
          ASSERT_TRUE(mask.unchanged(maskBefore));
          ASSERT_TRUE(j.sameOutsideRoi(markerBefore));
          for (int y = 0; y < roi.height; ++y)
            for (int x = 0; x < roi.width; ++x)
              if (j.at(x, y) != want.at(x, y)) {
                FAIL() << kvt::describe(roi) << " dilate " << dilate << " norm " << norm << " threads " << n
                       << " at " << x << "," << y << ": " << +j.at(x, y) << " vs " << +want.at(x, y);
              }
        }
      }
}

TEST(MorphReconstruct, Reference8u) { sweep<Kvp8u>(); }
TEST(MorphReconstruct, Reference16u) { sweep<Kvp16u>(); }
TEST(MorphReconstruct, Reference32f) { sweep<Kvp32f>(); }
TEST(MorphReconstruct, Reference64f) { sweep<Kvp64f>(); }

TEST(MorphReconstruct, HandWorked) {
  struct C {
    int w, h;
    std::vector<int> mask, marker;
    bool dilate;
    KvpiNorm norm;
    std::vector<int> want;
  };
  const std::vector<C> cases = {
      {6, 1, {5, 2, 7, 7, 1, 9}, {0, 0, 0, 6, 0, 0}, true, kvpiNormL1, {2, 2, 6, 6, 1, 1}},
      {6, 1, {1, 6, 2, 2, 8, 0}, {9, 9, 9, 3, 9, 9}, false, kvpiNormL1, {6, 6, 3, 3, 8, 8}},
      {2, 1, {3, 3}, {8, 0}, true, kvpiNormInf, {3, 3}},
      {2, 2, {9, 0, 0, 9}, {9, 0, 0, 0}, true, kvpiNormL1, {9, 0, 0, 0}},
      {2, 2, {9, 0, 0, 9}, {9, 0, 0, 0}, true, kvpiNormInf, {9, 0, 0, 9}},
      {3,
       3,
       {5, 5, 5, 5, 1, 5, 5, 5, 5},
       {5, 5, 5, 5, 9, 5, 5, 5, 5},
       false,
       kvpiNormL1,
       {5, 5, 5, 5, 5, 5, 5, 5, 5}},
  };
  for (const C& c : cases) {
    std::vector<Kvp8u> m(c.mask.begin(), c.mask.end()), j(c.marker.begin(), c.marker.end());
    std::vector<Kvp64f> m64(c.mask.begin(), c.mask.end()), j64(c.marker.begin(), c.marker.end());
    ASSERT_EQ(recon<Kvp8u>(c.dilate, m.data(), c.w, j.data(), c.w, {c.w, c.h}, c.norm), kvpStsOk);
    ASSERT_EQ(recon<Kvp64f>(c.dilate, m64.data(), 8 * c.w, j64.data(), 8 * c.w, {c.w, c.h}, c.norm),
              kvpStsOk);
    for (size_t i = 0; i < c.want.size(); ++i) {
      EXPECT_EQ(j[i], c.want[i]) << i;
      EXPECT_EQ(j64[i], c.want[i]) << i;
    }
  }
}

// One corridor snaking through all rows: every band boundary is crossed
// 256 times in alternating directions.
TEST(MorphReconstruct, SerpentineCorridor) {
  const int W = kvt::smallRun() ? 64 : 1024, H = kvt::smallRun() ? 32 : 512;
  std::vector<Kvp8u> mask((size_t)W * H, 0);
  for (int y = 0; y < H; ++y)
    for (int x = 0; x < W; ++x)
      if (y % 2 == 0 || x == ((y / 2) % 2 ? 0 : W - 1)) mask[(size_t)y * W + x] = 255;
  for (int n : {1, 2, 3, 16}) {
    kvt::Threads scope(n);
    for (KvpiNorm norm : {kvpiNormL1, kvpiNormInf}) {
      std::vector<Kvp8u> j((size_t)W * H, 0);
      j[0] = 255;
      ASSERT_EQ(recon<Kvp8u>(true, mask.data(), W, j.data(), W, {W, H}, norm), kvpStsOk);
      EXPECT_TRUE(j == mask) << n << " threads, norm " << norm;
    }
  }
}

// Surroundings of 0 or the maximum around both ROIs are neither read nor
// written.
TEST(MorphReconstruct, RoiInsideLargerImages) {
  kvt::Rng rng = kvt::makeRng(8);
  const int W = 23, H = 19;
  std::vector<Kvp16u> results[2];
  for (int k = 0; k < 2; ++k) {
    const Kvp16u fill = k ? 65535 : 0;
    std::vector<Kvp16u> m((size_t)(W + 2) * (H + 2), fill), j(m.size(), fill);
    kvt::Rng data = kvt::makeRng(9);
    for (int y = 1; y <= H; ++y)
      for (int x = 1; x <= W; ++x) {
        m[(size_t)y * (W + 2) + x] = (Kvp16u)(data() % 4000);
        j[(size_t)y * (W + 2) + x] = (Kvp16u)(data() % 9 ? 0 : 4000);
      }
    const auto mBefore = m;
    const int st = 2 * (W + 2);
    ASSERT_EQ(recon<Kvp16u>(true, m.data() + W + 3, st, j.data() + W + 3, st, {W, H}, kvpiNormInf), kvpStsOk);
    EXPECT_TRUE(m == mBefore);
    for (int y = 0; y < H + 2; ++y)
      for (int x = 0; x < W + 2; ++x)
        if (x == 0 || y == 0 || x == W + 1 || y == H + 1) {
          ASSERT_EQ(j[(size_t)y * (W + 2) + x], fill);
        } else {
          results[k].push_back(j[(size_t)y * (W + 2) + x]);
        }
  }
  EXPECT_TRUE(results[0] == results[1]);
  (void)rng;
}

TEST(MorphReconstruct, StatusesInOrder) {
  int size = 0;
  EXPECT_EQ(kvpiMorphReconstructGetBufferSize_32f_C1({4, 4}, nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiMorphReconstructGetBufferSize_32f_C1({0, 4}, &size), kvpStsBadSize);
  EXPECT_EQ(kvpiMorphReconstructGetBufferSize_32f_C1({20000, 21475}, &size), kvpStsBadSize);
  ASSERT_EQ(kvpiMorphReconstructGetBufferSize_8u_C1({20000, 21474}, &size), kvpStsOk);
  EXPECT_EQ(size, 5 * 20000 * 21474 + 64);
  std::vector<Kvp32f> m(16, 3), j(16, 1);
  std::vector<Kvp8u> buf(5 * 16 + 64);
  const Kvp32f* p = m.data();
  Kvp32f* q = j.data();
  Kvp8u* b = buf.data();
  const KvpiNorm l2 = kvpiNormL2;
  auto f = kvpiMorphReconstructErode_32f_C1IR;
  EXPECT_EQ(f(nullptr, 16, q, 16, {4, 4}, b, kvpiNormL1), kvpStsNullPtr);
  EXPECT_EQ(f(p, 16, nullptr, 16, {0, 4}, b, kvpiNormL1), kvpStsNullPtr);
  EXPECT_EQ(f(p, 16, q, 16, {4, 4}, nullptr, kvpiNormL1), kvpStsNullPtr);
  EXPECT_EQ(f(p, 0, q, 0, {4, 0}, b, l2), kvpStsBadSize);
  EXPECT_EQ(f(p, 0, q, 0, {20000, 21475}, b, l2), kvpStsBadSize);
  EXPECT_EQ(f(p, 12, q, 0, {4, 4}, b, l2), kvpStsBadStep);
  EXPECT_EQ(f(p, 16, q, 12, {4, 4}, b, l2), kvpStsBadStep);
  EXPECT_EQ(f(p, 18, q, 16, {4, 4}, b, l2), kvpStsStepNotMultiple);
  EXPECT_EQ(f(p, 16, q, 16, {4, 4}, b, l2), kvpStsBadArg);
  EXPECT_EQ(f(p, 16, q, 16, {4, 4}, b, (KvpiNorm)7), kvpStsBadArg);
  EXPECT_TRUE(std::all_of(j.begin(), j.end(), [](Kvp32f v) { return v == 1; }));
  EXPECT_EQ(f(p, 16, q, 16, {4, 4}, b, kvpiNormInf), kvpStsOk);
  EXPECT_TRUE(std::all_of(j.begin(), j.end(), [](Kvp32f v) { return v == 3; }));
}

}  // namespace

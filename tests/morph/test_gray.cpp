// Non-flat erosion and dilation against the plain reference (64-bit terms
// then saturation for 8u, single-precision terms for 32f), the hand-worked
// rows with values past the byte range, the flat equivalence of an
// all-zero value mask, and the statuses.
#include <cmath>

#include "harness.h"
#include "morph_ref.h"

namespace {

template <class T>
struct GrayFns;
#define GRAY_FNS(TS, T, MT)                                              \
  template <>                                                            \
  struct GrayFns<T> {                                                    \
    using M = MT;                                                        \
    using S = KvpiMorphGrayState_##TS;                                   \
    static constexpr auto getSize = kvpiMorphGrayGetSize_##TS##_C1R;     \
    static constexpr auto init = kvpiMorphGrayInit_##TS##_C1R;           \
    static constexpr auto initAlloc = kvpiMorphGrayInitAlloc_##TS##_C1R; \
    static constexpr auto free = kvpiMorphGrayFree_##TS##_C1R;           \
    static constexpr auto erode = kvpiGrayErodeBorder_##TS##_C1R;        \
    static constexpr auto dilate = kvpiGrayDilateBorder_##TS##_C1R;      \
  };
GRAY_FNS(8u, Kvp8u, Kvp32s)
GRAY_FNS(32f, Kvp32f, Kvp32f)

// One call with a fresh state (InitAlloc, or Init at offset misalign).
template <class T>
KvpStatus grayCall(bool dilate, const T* src, int ss, T* dst, int ds, KvpiSize roi,
                   const typename GrayFns<T>::M* m, KvpiSize ms, KvpiPoint a, int misalign = -1) {
  using F = GrayFns<T>;
  typename F::S* st = nullptr;
  std::vector<uint8_t> mem;
  if (misalign < 0) {
    if (KvpStatus s = F::initAlloc(roi.width, m, ms, a, &st)) return s;
  } else {
    int size = 0;
    if (KvpStatus s = F::getSize(roi.width, ms, &size)) return s;
    mem.resize((size_t)size + misalign);
    st = reinterpret_cast<typename F::S*>(mem.data() + misalign);
    if (KvpStatus s = F::init(roi.width, m, ms, a, st)) return s;
  }
  const KvpStatus s = (dilate ? F::dilate : F::erode)(src, ss, dst, ds, roi, kvpBorderRepl, st);
  EXPECT_EQ(F::free(st), misalign < 0 ? kvpStsOk : kvpStsBadArg);
  return s;
}

template <class T>
void sweep() {
  using M = typename GrayFns<T>::M;
  kvt::Rng rng = kvt::makeRng(11);
  std::uniform_int_distribution<int> small(-40, 40);
  struct K {
    int w, h, ax, ay;
    std::vector<M> m;
  };
  std::vector<K> masks = {{1, 1, 0, 0, {M(17)}}, {3, 3, 1, 1, {}}, {5, 2, 4, 0, {}}, {2, 5, 0, 1, {}}};
  if constexpr (std::is_same_v<T, Kvp8u>)
    masks.push_back({3, 2, 1, 1, {INT32_MAX, -300, 0, 256, INT32_MIN, -255}});
  else
    masks.push_back({3, 2, 1, 1, {INFINITY, -300.5f, -0.f, 1e30f, 0.125f, -INFINITY}});
  for (K& k : masks)
    while ((int)k.m.size() < k.w * k.h) k.m.push_back((M)small(rng) / (std::is_same_v<T, Kvp8u> ? 1 : 4));
  const std::vector<KvpiSize> sizes = {{1, 1}, {9, 1}, {1, 9}, {31, 17}, {kvt::smallRun() ? 70 : 331, 299}};
  for (const K& k : masks)
    for (KvpiSize roi : sizes) {
      kvt::Plane<T> src(roi.width, roi.height, 1, rng);
      src.fill([&] {
        if constexpr (std::is_same_v<T, Kvp8u>)
          return (T)rng();
        else
          return (T)std::uniform_int_distribution<int>(-4000, 4000)(rng) / 8;
      });
      const auto in = mref::load<T>(src.roi(), src.step(), roi.width, roi.height, 1);
      for (bool dilate : {false, true}) {
        const auto want = mref::gray(in, k.m.data(), k.w, k.h, k.ax, k.ay, dilate);
        for (int n : kvt::threadCounts()) {
          kvt::Threads scope(n);
          kvt::Plane<T> dst(roi.width, roi.height, 1, rng);
          const auto before = dst.bytes();
          ASSERT_EQ(grayCall<T>(dilate, src.roi(), src.step(), dst.roi(), dst.step(), roi, k.m.data(),
                                {k.w, k.h}, {k.ax, k.ay}, n == 3 ? 5 : -1),
                    kvpStsOk);
          ASSERT_TRUE(dst.sameOutsideRoi(before));
          for (int y = 0; y < roi.height; ++y)
            for (int x = 0; x < roi.width; ++x)
              if (!mref::same(dst.at(x, y), want.at(x, y))) {
                FAIL() << "mask " << k.w << "x" << k.h << " dilate " << dilate << " at " << x << "," << y
                       << " of " << kvt::describe(roi) << ", " << n << " threads: " << +dst.at(x, y) << " vs "
                       << +want.at(x, y);
              }
        }
      }
    }
}

TEST(MorphGray, Reference8u) { sweep<Kvp8u>(); }
TEST(MorphGray, Reference32f) { sweep<Kvp32f>(); }

TEST(MorphGray, HandWorkedRows) {
  struct C {
    std::vector<Kvp32s> m;
    std::vector<int> src;
    bool dilate;
    std::vector<int> want8u;
    std::vector<float> want32f;  // empty: as 8u
  };
  const std::vector<C> cases = {
      {{0, 20, 0}, {100, 200, 50}, true, {200, 220, 200}, {}},
      {{0, 20, 0}, {100, 200, 50}, false, {80, 50, 30}, {}},
      {{0, 100, 0}, {100, 200, 50}, true, {200, 255, 200}, {200, 300, 200}},
      {{0, 250, 0}, {100, 200, 50}, false, {0, 0, 0}, {-150, -50, -200}},
      {{INT32_MAX}, {0, 7, 255}, true, {255, 255, 255}, {}},
      {{INT32_MAX}, {0, 7, 255}, false, {0, 0, 0}, {}},
      {{INT32_MIN}, {0, 7, 255}, true, {0, 0, 0}, {}},
      {{INT32_MIN}, {0, 7, 255}, false, {255, 255, 255}, {}},
  };
  for (const C& c : cases) {
    const int w = (int)c.src.size(), mw = (int)c.m.size();
    std::vector<Kvp8u> s8(c.src.begin(), c.src.end()), d8(w);
    ASSERT_EQ(grayCall<Kvp8u>(c.dilate, s8.data(), w, d8.data(), w, {w, 1}, c.m.data(), {mw, 1}, {mw / 2, 0}),
              kvpStsOk);
    for (int x = 0; x < w; ++x) EXPECT_EQ(d8[x], c.want8u[x]) << "x " << x;
    if (mw == 1) continue;  // the 32-bit extremes have no float counterpart here
    std::vector<Kvp32f> s32(c.src.begin(), c.src.end()), d32(w), m32(c.m.begin(), c.m.end());
    ASSERT_EQ(grayCall<Kvp32f>(c.dilate, s32.data(), 4 * w, d32.data(), 4 * w, {w, 1}, m32.data(), {mw, 1},
                               {mw / 2, 0}),
              kvpStsOk);
    for (int x = 0; x < w; ++x)
      EXPECT_EQ(d32[x], c.want32f.empty() ? c.want8u[x] : c.want32f[x]) << "x " << x;
  }
}

// An all-zero value mask is the flat rectangle of the same size and anchor.
TEST(MorphGray, ZeroValuesAreFlat) {
  kvt::Rng rng = kvt::makeRng(4);
  const int W = 45, H = 23;
  std::vector<Kvp8u> src((size_t)W * H), a(src.size()), b(src.size());
  for (auto& v : src) v = (Kvp8u)rng();
  const std::vector<Kvp32s> zeros(12, 0);
  const std::vector<Kvp8u> ones(12, 1);
  for (bool dilate : {false, true}) {
    ASSERT_EQ(grayCall<Kvp8u>(dilate, src.data(), W, a.data(), W, {W, H}, zeros.data(), {4, 3}, {3, 1}),
              kvpStsOk);
    KvpiMorphState* st = nullptr;
    ASSERT_EQ(kvpiMorphologyInitAlloc_8u_C1R(W, ones.data(), {4, 3}, {3, 1}, &st), kvpStsOk);
    ASSERT_EQ((dilate ? kvpiDilateBorderReplicate_8u_C1R : kvpiErodeBorderReplicate_8u_C1R)(
                  src.data(), W, b.data(), W, {W, H}, kvpBorderRepl, st),
              kvpStsOk);
    kvpiMorphologyFree(st);
    EXPECT_TRUE(a == b);
  }
}

TEST(MorphGray, StatusesInOrder) {
  const Kvp32f m[4] = {0, 1, 2, 3}, nan[4] = {0, NAN, 2, 3};
  KvpiMorphGrayState_32f* st = nullptr;
  int size = 0;
  EXPECT_EQ(kvpiMorphGrayGetSize_32f_C1R(4, {2, 2}, nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiMorphGrayGetSize_32f_C1R(4, {2, 0}, &size), kvpStsBadSize);
  EXPECT_EQ(kvpiMorphGrayInitAlloc_32f_C1R(4, nullptr, {2, 0}, {0, 0}, &st), kvpStsNullPtr);
  EXPECT_EQ(kvpiMorphGrayInitAlloc_32f_C1R(0, nan, {2, 2}, {2, 0}, &st), kvpStsBadSize);
  EXPECT_EQ(kvpiMorphGrayInitAlloc_32f_C1R(4, nan, {2, 2}, {2, 0}, &st), kvpStsBadAnchor);
  EXPECT_EQ(kvpiMorphGrayInitAlloc_32f_C1R(4, nan, {2, 2}, {1, 1}, &st), kvpStsBadArg);
  EXPECT_EQ(kvpiMorphGrayInitAlloc_32f_C1R(1 << 29, m, {2, 2}, {1, 1}, &st), kvpStsBadSize);
  EXPECT_EQ(st, nullptr);
  ASSERT_EQ(kvpiMorphGrayInitAlloc_32f_C1R(4, m, {2, 2}, {1, 1}, &st), kvpStsOk);
  KvpiMorphGrayState_8u* st8 = nullptr;
  const Kvp32s m8[1] = {3};
  ASSERT_EQ(kvpiMorphGrayInitAlloc_8u_C1R(4, m8, {1, 1}, {0, 0}, &st8), kvpStsOk);
  std::vector<Kvp32f> src(16, 1), dst(16, 5);
  const Kvp32f* p = src.data();
  Kvp32f* q = dst.data();
  auto* other = reinterpret_cast<KvpiMorphGrayState_32f*>(st8);
  EXPECT_EQ(kvpiGrayErodeBorder_32f_C1R(p, 16, nullptr, 16, {4, 4}, kvpBorderRepl, st), kvpStsNullPtr);
  EXPECT_EQ(kvpiGrayErodeBorder_32f_C1R(p, 16, q, 16, {4, 4}, kvpBorderRepl, nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiGrayErodeBorder_32f_C1R(p, 16, q, 16, {4, -1}, kvpBorderConst, other), kvpStsBadSize);
  EXPECT_EQ(kvpiGrayErodeBorder_32f_C1R(p, 16, q, 12, {4, 4}, kvpBorderConst, other), kvpStsBadStep);
  EXPECT_EQ(kvpiGrayErodeBorder_32f_C1R(p, 18, q, 16, {4, 4}, kvpBorderConst, other), kvpStsStepNotMultiple);
  EXPECT_EQ(kvpiGrayDilateBorder_32f_C1R(p, 16, q, 16, {4, 4}, kvpBorderConst, other), kvpStsBadArg);
  EXPECT_EQ(kvpiGrayDilateBorder_32f_C1R(p, 16, q, 16, {4, 4}, kvpBorderRepl, other), kvpStsBadArg);
  EXPECT_EQ(kvpiGrayDilateBorder_32f_C1R(p, 20, q, 20, {5, 3}, kvpBorderRepl, st), kvpStsBadSize);
  EXPECT_TRUE(std::all_of(dst.begin(), dst.end(), [](Kvp32f v) { return v == 5; }));
  EXPECT_EQ(kvpiMorphGrayFree_32f_C1R(other), kvpStsBadArg);
  EXPECT_EQ(kvpiMorphGrayFree_8u_C1R(nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiMorphGrayFree_32f_C1R(st), kvpStsOk);
  EXPECT_EQ(kvpiMorphGrayFree_8u_C1R(st8), kvpStsOk);
}

}  // namespace

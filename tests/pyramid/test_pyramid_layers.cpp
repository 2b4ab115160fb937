// Pyramid layers: the record, the size queries, the states and both layer
// directions against the pixel-by-pixel reference, at several rates and
// kernels, thread counts, padded steps and unaligned ROI pointers; the check
// order of every function; the worked examples.
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "harness.h"
#include "pyramid_layers_ref.h"
#include "targets.h"

namespace {

using kvt::Plane;

// ---- the functions under test, by element type and channel count ------------

template <class T, int CH>
struct Layer;
#define KVT_LAYER(E, K, TS, CH)                                                      \
  template <>                                                                        \
  struct Layer<E, CH> {                                                              \
    using Tap = K;                                                                   \
    using DownState = KvpiPyramidDownState_##TS;                                     \
    using UpState = KvpiPyramidUpState_##TS;                                         \
    static constexpr KvpDataType code = kvp##TS;                                     \
    static constexpr auto downAlloc = kvpiPyramidLayerDownInitAlloc_##TS##_C##CH##R; \
    static constexpr auto upAlloc = kvpiPyramidLayerUpInitAlloc_##TS##_C##CH##R;     \
    static constexpr auto downFree = kvpiPyramidLayerDownFree_##TS##_C##CH##R;       \
    static constexpr auto upFree = kvpiPyramidLayerUpFree_##TS##_C##CH##R;           \
    static constexpr auto down = kvpiPyramidLayerDown_##TS##_C##CH##R;               \
    static constexpr auto up = kvpiPyramidLayerUp_##TS##_C##CH##R;                   \
    static constexpr const char* name = #TS "_C" #CH "R";                            \
  };
KVT_LAYER(Kvp8u, Kvp16s, 8u, 1)
KVT_LAYER(Kvp8u, Kvp16s, 8u, 3)
KVT_LAYER(Kvp16u, Kvp16s, 16u, 1)
KVT_LAYER(Kvp16u, Kvp16s, 16u, 3)
KVT_LAYER(Kvp32f, Kvp32f, 32f, 1)
KVT_LAYER(Kvp32f, Kvp32f, 32f, 3)
#undef KVT_LAYER

template <class T>
using Tap = typename Layer<T, 1>::Tap;

template <class T>
kvpref::LayerKernel refKernel(const std::vector<Tap<T>>& taps) {
  if constexpr (std::is_same_v<T, Kvp32f>)
    return kvpref::layerKernelFloat(taps);
  else
    return kvpref::layerKernelInt(taps);
}

// Random pixels: the full integer range, or floats on the 0..255 scale with
// fractions and the odd negative value.
template <class T>
void randomFill(Plane<T>& p, kvt::Rng& rng) {
  if constexpr (std::is_same_v<T, Kvp32f>) {
    std::uniform_real_distribution<float> d(-20.0f, 260.0f);
    p.fill([&] { return d(rng); });
  } else {
    std::uniform_int_distribution<int> d(0, (int)kvpref::layerMax<T>);
    p.fill([&] { return d(rng); });
  }
}

// The queried buffer, exactly as long as reported (overruns show under ASan).
std::vector<Kvp8u> buffer(bool up, KvpiSize srcMax, float rate, int k, KvpDataType type, int ch) {
  int size = 0;
  const KvpStatus st = up ? kvpiPyramidLayerUpGetBufSize(srcMax, rate, k, type, ch, &size)
                          : kvpiPyramidLayerDownGetBufSize(srcMax, rate, k, type, ch, &size);
  EXPECT_EQ(st, kvpStsOk);
  std::vector<Kvp8u> b((size_t)size);
  for (size_t i = 0; i < b.size(); ++i) b[i] = (Kvp8u)(i * 7 + 1);
  return b;
}

// ---- one layer against the reference ----------------------------------------

struct Case {
  float rate;
  std::vector<int> taps;  // integer taps; float kernels use them as floats (plus a fraction)
};

template <class T, int CH, bool Up>
void checkLayer(const Case& cs, KvpiSize srcRoi, int threads, kvt::Rng& rng) {
  using L = Layer<T, CH>;
  std::vector<Tap<T>> taps;
  for (size_t j = 0; j < cs.taps.size(); ++j)
    taps.push_back(std::is_same_v<T, Kvp32f> ? (Tap<T>)(cs.taps[j] + 0.25f * (j % 3)) : (Tap<T>)cs.taps[j]);
  const int k = (int)taps.size();
  const std::string what = std::string(L::name) + (Up ? " up" : " down") + " rate " +
                           std::to_string(cs.rate) + " k " + std::to_string(k) + " " + kvt::describe(srcRoi) +
                           " thr " + std::to_string(threads);
  kvt::Threads scope(threads);
  // The state serves a larger source than the call uses.
  const KvpiSize stateRoi = {srcRoi.width + 3, srcRoi.height + 1};
  Plane<T> src(srcRoi.width, srcRoi.height, CH, rng);
  randomFill(src, rng);
  const auto before = src.bytes();
  KvpiSize dmin, dmax, dsz;
  if (Up) {
    ASSERT_EQ(kvpiGetPyramidUpROI(srcRoi, &dmin, &dmax, cs.rate), kvpStsOk);
    // Smallest and largest in alternate directions.
    dsz = {dmax.width, dmin.height};
  } else {
    ASSERT_EQ(kvpiGetPyramidDownROI(srcRoi, &dsz, cs.rate), kvpStsOk);
  }
  Plane<T> dst(dsz.width, dsz.height, CH, rng), ref(dsz.width, dsz.height, CH, rng);
  const auto dstBefore = dst.bytes();
  auto buf = buffer(Up, stateRoi, cs.rate, k, Layer<T, 1>::code, CH);
  const kvpref::LayerKernel K = refKernel<T>(taps);
  if constexpr (Up)
    kvpref::layerUpRef(src.roi(), src.step(), srcRoi.width, srcRoi.height, CH, ref.roi(), ref.step(),
                       dsz.width, dsz.height, cs.rate, K);
  else
    kvpref::layerDownRef(src.roi(), src.step(), srcRoi.width, srcRoi.height, CH, ref.roi(), ref.step(),
                         cs.rate, K);
  // The same bits from the kernels of every vector target.
  for (int64_t t : kvt::vectorTargets()) {
    kvt::Target target(t);
    KvpStatus st;
    if constexpr (Up) {
      typename L::UpState* s = nullptr;
      ASSERT_EQ(L::upAlloc(&s, stateRoi, cs.rate, taps.data(), k, kvpInterLinear), kvpStsOk);
      st = L::up(src.roi(), src.step(), srcRoi, dst.roi(), dst.step(), dsz, s, buf.data());
      EXPECT_EQ(L::upFree(s), kvpStsOk);
    } else {
      typename L::DownState* s = nullptr;
      ASSERT_EQ(L::downAlloc(&s, stateRoi, cs.rate, taps.data(), k, kvpInterLinear), kvpStsOk);
      st = L::down(src.roi(), src.step(), srcRoi, dst.roi(), dst.step(), dsz, s, buf.data());
      EXPECT_EQ(L::downFree(s), kvpStsOk);
    }
    ASSERT_EQ(st, kvpStsOk) << what;
    EXPECT_TRUE(kvt::sameRoi(dst, ref)) << what << " " << kvt::targetName(t);
    EXPECT_TRUE(dst.sameOutsideRoi(dstBefore)) << what;
  }
  EXPECT_TRUE(src.unchanged(before)) << what;
}

const std::vector<Case>& cases() {
  static const std::vector<Case> all = {
      {2.0f, {1, 4, 6, 4, 1}},                    // the Gaussian layer (float lanes, phase split)
      {2.0f, {1, 2, 1}},                          //
      {3.0f, {1, 3, 5, 3, 1}},                    // integral rate 3, D not a power of two
      {1.5f, {1, 4, 6, 4, 1}},                    // fractional positions
      {1.2f, {1, 2, 1}},                          //
      {2.5f, {-1, 3, 9, 3, -1}},                  // negative taps, D = 169
      {10.0f, {2, 7, 14, 7, 2}},                  // the largest rate
      {1.7f, {3000, -200, 9000, -200, 3000}},     // sums beyond 32 bits (64-bit route)
      {2.0f, {1, 6, 15, 20, 15, 6, 1}},           // 7 taps, D = 4096
      {2.0f, {1, 1, 2, 8, 2, 1, 1}},              // 7 taps, D = 256
      {2.0f, {1, 0, 3, 0, 1, 0, 3, 0, 1, 0, 7}},  // 11 taps, D = 256
      {4.0f, {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}},  // 11 taps over 4 phases
  };
  static const std::vector<Case> small = {all[0], all[3], all[5], all[7]};
  return kvt::smallRun() ? small : all;
}

const std::vector<KvpiSize>& layerSizes() {
  static const std::vector<KvpiSize> all = {{1, 1},  {1, 7},   {7, 1},  {2, 2},   {5, 3},
                                            {17, 9}, {31, 33}, {64, 5}, {129, 67}};
  static const std::vector<KvpiSize> small = {{1, 1}, {7, 1}, {5, 3}, {17, 9}};
  return kvt::smallRun() ? small : all;
}

template <class T, int CH>
void sweep() {
  auto rng = kvt::makeRng(sizeof(T) * 10 + CH);
  for (const Case& cs : cases())
    for (KvpiSize sz : layerSizes()) {
      checkLayer<T, CH, false>(cs, sz, 1, rng);
      checkLayer<T, CH, true>(cs, sz, 1, rng);
    }
}

TEST(PyramidLayers, Down8uC1) { sweep<Kvp8u, 1>(); }
TEST(PyramidLayers, Down8uC3) { sweep<Kvp8u, 3>(); }
TEST(PyramidLayers, Down16uC1) { sweep<Kvp16u, 1>(); }
TEST(PyramidLayers, Down16uC3) { sweep<Kvp16u, 3>(); }
TEST(PyramidLayers, Down32fC1) { sweep<Kvp32f, 1>(); }
TEST(PyramidLayers, Down32fC3) { sweep<Kvp32f, 3>(); }

// Above the threading threshold, at every thread count, the bands give the
// reference bits (the threshold is per thread, so the area grows with n).
TEST(PyramidLayers, Threads) {
  auto rng = kvt::makeRng(77);
  const KvpiSize big = kvt::smallRun() ? KvpiSize{300, 250} : KvpiSize{1024, 257};
  for (int n : kvt::threadCounts()) {
    checkLayer<Kvp8u, 1, false>({2.0f, {1, 4, 6, 4, 1}}, big, n, rng);
    checkLayer<Kvp16u, 3, false>({1.5f, {1, 2, 1}}, {big.width / 2, big.height}, n, rng);
    checkLayer<Kvp32f, 1, true>({2.0f, {1, 2, 1}}, {big.width / 2, big.height / 2}, n, rng);
    checkLayer<Kvp8u, 3, true>({1.3f, {1, 4, 6, 4, 1}}, {big.width / 3, big.height / 3}, n, rng);
  }
}

// ---- worked examples --------------------------------------------------------

struct Row8 {
  bool up;
  float rate;
  std::vector<Kvp16s> taps;
  std::vector<Kvp8u> src;
  int dstWidth;
  std::vector<Kvp8u> want;
};

TEST(PyramidLayers, WorkedRows) {
  const std::vector<Row8> rows = {
      {false, 2.0f, {1, 2, 1}, {0, 0, 255, 0, 0}, 3, {0, 128, 0}},  // 2040 / 16 = 127.5 rounds up
      {false, 1.5f, {1, 2, 1}, {0, 0, 5, 5}, 3, {0, 2, 5}},         // 2.5 rounds to even
      {false, 2.0f, {-1, 4, -1}, {0, 255, 0}, 2, {0, 0}},           // negative sums saturate
      {false, 2.0f, {-1, 4, -1}, {255, 0, 255}, 2, {255, 255}},     //
      {true, 2.0f, {1, 2, 1}, {0, 16}, 4, {2, 8, 14, 16}},          //
  };
  for (const Row8& r : rows) {
    const KvpiSize s = {(int)r.src.size(), 1}, d = {r.dstWidth, 1};
    std::vector<Kvp8u> out(r.want.size(), 99);
    std::vector<Kvp8u> buf(1 << 16);
    KvpStatus st;
    if (r.up) {
      KvpiPyramidUpState_8u* p = nullptr;
      ASSERT_EQ(kvpiPyramidLayerUpInitAlloc_8u_C1R(&p, s, r.rate, r.taps.data(), 3, kvpInterLinear),
                kvpStsOk);
      st = kvpiPyramidLayerUp_8u_C1R(r.src.data(), s.width, s, out.data(), d.width, d, p, buf.data());
      kvpiPyramidLayerUpFree_8u_C1R(p);
    } else {
      KvpiPyramidDownState_8u* p = nullptr;
      ASSERT_EQ(kvpiPyramidLayerDownInitAlloc_8u_C1R(&p, s, r.rate, r.taps.data(), 3, kvpInterLinear),
                kvpStsOk);
      st = kvpiPyramidLayerDown_8u_C1R(r.src.data(), s.width, s, out.data(), d.width, d, p, buf.data());
      kvpiPyramidLayerDownFree_8u_C1R(p);
    }
    EXPECT_EQ(st, kvpStsOk);
    EXPECT_EQ(out, r.want) << "rate " << r.rate << (r.up ? " up" : " down");
  }
}

// At rate 2 with the binomial kernel the 8u layer is the Gaussian 5x5 level
// everywhere but on the outermost rows and columns.
TEST(PyramidLayers, AgreesWithGaussianLevel) {
  auto rng = kvt::makeRng(5);
  const Kvp16s taps[5] = {1, 4, 6, 4, 1};
  for (KvpiSize sz : {KvpiSize{1, 1}, KvpiSize{9, 7}, KvpiSize{64, 33}, KvpiSize{101, 80}}) {
    Plane<Kvp8u> src(sz.width, sz.height, 1, rng);
    randomFill(src, rng);
    const KvpiSize d = {(sz.width + 1) / 2, (sz.height + 1) / 2};
    Plane<Kvp8u> a(d.width, d.height, 1, rng), b(d.width, d.height, 1, rng);
    int size = 0;
    ASSERT_EQ(kvpiPyrDownGetBufSize_Gauss5x5(sz.width, kvp8u, 1, &size), kvpStsOk);
    std::vector<Kvp8u> buf5((size_t)size);
    ASSERT_EQ(kvpiPyrDown_Gauss5x5_8u_C1R(src.roi(), src.step(), a.roi(), a.step(), sz, buf5.data()),
              kvpStsOk);
    KvpiPyramidDownState_8u* s = nullptr;
    ASSERT_EQ(kvpiPyramidLayerDownInitAlloc_8u_C1R(&s, sz, 2.0f, taps, 5, kvpInterLinear), kvpStsOk);
    auto buf = buffer(false, sz, 2.0f, 5, kvp8u, 1);
    ASSERT_EQ(kvpiPyramidLayerDown_8u_C1R(src.roi(), src.step(), sz, b.roi(), b.step(), d, s, buf.data()),
              kvpStsOk);
    kvpiPyramidLayerDownFree_8u_C1R(s);
    if (sz.width == 1) {
      EXPECT_EQ(b.at(0, 0), src.at(0, 0));  // a 1 x 1 source copies
    }
    for (int y = 1; y + 1 < d.height; ++y)
      for (int x = 1; x + 1 < d.width; ++x) ASSERT_EQ(a.at(x, y), b.at(x, y)) << x << "," << y;
  }
}

// ---- size queries and the record --------------------------------------------

TEST(PyramidLayers, DownAndUpSizes) {
  struct Row {
    KvpiSize src;
    float rate;
    KvpStatus st;
    KvpiSize down, upMin, upMax;
  };
  const std::vector<Row> rows = {
      {{10, 7}, 2.0f, kvpStsOk, {5, 4}, {19, 13}, {20, 14}},
      {{1, 1}, 2.0f, kvpStsOk, {1, 1}, {1, 1}, {2, 2}},
      {{10, 6}, 1.5f, kvpStsOk, {7, 4}, {15, 9}, {15, 9}},
      {{10, 11}, 3.0f, kvpStsOk, {4, 4}, {28, 31}, {30, 33}},
      {{10, 11}, 10.0f, kvpStsOk, {1, 2}, {91, 101}, {100, 110}},
      {{6, 7}, 2.5f, kvpStsOk, {3, 3}, {14, 16}, {15, 18}},
      {{7, 7}, 1.2f, kvpStsOk, {5, 5}, {9, 9}, {9, 9}},  // 1.2f is just above 1.2
      {{5, 3}, 2.0f, kvpStsOk, {3, 2}, {9, 5}, {10, 6}},
      {{7, 7}, 1.5f, kvpStsOk, {5, 5}, {10, 10}, {11, 11}},
      {{0, 3}, 2.0f, kvpStsBadSize, {}, {}, {}},
      {{3, -1}, 2.0f, kvpStsBadSize, {}, {}, {}},
      {{3, 3}, 1.0f, kvpStsBadArg, {}, {}, {}},
      {{3, 3}, 10.000001f, kvpStsBadArg, {}, {}, {}},
      {{3, 3}, std::numeric_limits<float>::quiet_NaN(), kvpStsBadArg, {}, {}, {}},
  };
  for (const Row& r : rows) {
    KvpiSize d = {-5, -5}, lo = {-5, -5}, hi = {-5, -5};
    EXPECT_EQ(kvpiGetPyramidDownROI(r.src, &d, r.rate), r.st);
    EXPECT_EQ(kvpiGetPyramidUpROI(r.src, &lo, &hi, r.rate), r.st);
    if (r.st != kvpStsOk) {
      EXPECT_EQ(d.width, -5);
      EXPECT_EQ(lo.width, -5);
      continue;
    }
    EXPECT_EQ(d.width, r.down.width) << r.src.width << " at " << r.rate;
    EXPECT_EQ(d.height, r.down.height) << r.src.height << " at " << r.rate;
    EXPECT_EQ(lo.width, r.upMin.width);
    EXPECT_EQ(lo.height, r.upMin.height);
    EXPECT_EQ(hi.width, r.upMax.width);
    EXPECT_EQ(hi.height, r.upMax.height);
    // Every size in the up range goes back down to the source size.
    for (int w = lo.width; w <= hi.width; ++w) EXPECT_EQ(kvpref::layerDownLen(w, r.rate), r.src.width);
  }
  KvpiSize d;
  EXPECT_EQ(kvpiGetPyramidDownROI({0, 0}, nullptr, 2.0f), kvpStsNullPtr);
  EXPECT_EQ(kvpiGetPyramidUpROI({0, 0}, &d, nullptr, 2.0f), kvpStsNullPtr);
  KvpiSize a, b;
  EXPECT_EQ(kvpiGetPyramidUpROI({300000000, 1}, &a, &b, 10.0f), kvpStsBadSize);
}

TEST(PyramidLayers, Record) {
  KvpiPyramid* p = nullptr;
  ASSERT_EQ(kvpiPyramidInitAlloc(&p, 3, {10, 7}, 2.0f), kvpStsOk);
  ASSERT_EQ(p->level, 3);
  const KvpiSize want[4] = {{10, 7}, {5, 4}, {3, 2}, {2, 1}};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(p->pRoi[i].width, want[i].width);
    EXPECT_EQ(p->pRoi[i].height, want[i].height);
    EXPECT_EQ(p->pRate[i], std::ldexp(1.0, i));
    EXPECT_EQ(p->pImage[i], nullptr);
    EXPECT_EQ(p->pStep[i], 0);
  }
  EXPECT_EQ(p->pState, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(p->pRate) % 8, 0u);
  EXPECT_EQ(kvpiPyramidFree(p), kvpStsOk);
  ASSERT_EQ(kvpiPyramidInitAlloc(&p, 2, {100, 50}, 1.5f), kvpStsOk);
  EXPECT_EQ(p->pRate[2], (double)1.5f * (double)1.5f);
  EXPECT_EQ(p->pRoi[2].width, 45);
  kvpiPyramidFree(p);
  ASSERT_EQ(kvpiPyramidInitAlloc(&p, 0, {1, 1}, 10.0f), kvpStsOk);
  kvpiPyramidFree(p);

  KvpiPyramid other{};
  KvpiPyramid* keep = &other;
  p = keep;
  EXPECT_EQ(kvpiPyramidInitAlloc(nullptr, 1, {0, 0}, 0.0f), kvpStsNullPtr);
  EXPECT_EQ(kvpiPyramidInitAlloc(&p, -1, {0, 3}, 0.0f), kvpStsBadSize);
  EXPECT_EQ(kvpiPyramidInitAlloc(&p, -1, {3, 3}, 0.0f), kvpStsBadArg);
  EXPECT_EQ(kvpiPyramidInitAlloc(&p, 1, {3, 3}, 1.0f), kvpStsBadArg);
  EXPECT_EQ(kvpiPyramidInitAlloc(&p, 0x7ffffff0, {3, 3}, 2.0f), kvpStsNoMemory);
  kvpSetMallocFailCountdown(1);
  EXPECT_EQ(kvpiPyramidInitAlloc(&p, 1, {3, 3}, 2.0f), kvpStsNoMemory);
  kvpSetMallocFailCountdown(0);
  EXPECT_EQ(p, keep);
  EXPECT_EQ(kvpiPyramidFree(nullptr), kvpStsNullPtr);
}

TEST(PyramidLayers, BufferSizes) {
  int n = 1;
  kvpGetNumThreads(&n);
  struct Row {
    KvpiSize roi;
    float rate;
    int k, type, ch;
    KvpStatus st;
    long long down, up;  // per thread
  };
  const std::vector<Row> rows = {
      {{100, 5}, 2.0f, 5, 1, 1, kvpStsOk, 960, 6720},
      {{100, 5}, 2.0f, 5, 13, 1, kvpStsOk, 960, 6720},  // independent of the type
      {{1, 1}, 10.0f, 3, 5, 3, kvpStsOk, 2 * 64 + 64, 5 * 128 + 192 + 64},
      {{0, 5}, 2.0f, 5, 1, 1, kvpStsBadSize, 0, 0},
      {{5, 5}, 2.0f, 1, 1, 1, kvpStsBadSize, 0, 0},    // length before parity
      {{5, 5}, 2.0f, 2, 1, 1, kvpStsBadSize, 0, 0},    //
      {{5, 5}, 2.0f, 257, 1, 1, kvpStsBadSize, 0, 0},  //
      {{5, 5}, 1.0f, 4, 1, 4, kvpStsBadArg, 0, 0},     // rate before parity
      {{5, 5}, 2.0f, 4, 1, 4, kvpStsBadArg, 0, 0},     // parity before channels
      {{5, 5}, 2.0f, 5, 2, 4, kvpStsBadChannels, 0, 0},
      {{5, 5}, 2.0f, 5, 3, 1, kvpStsBadDataType, 0, 0},
      {{5, 5}, 2.0f, 5, 0, 3, kvpStsBadDataType, 0, 0},
      {{200000000, 5}, 2.0f, 5, 1, 3, kvpStsBadSize, 0, 0},
  };
  for (const Row& r : rows) {
    int a = -1, b = -1;
    KvpDataType t;
    std::memcpy(&t, &r.type, sizeof t);
    EXPECT_EQ(kvpiPyramidLayerDownGetBufSize(r.roi, r.rate, r.k, t, r.ch, &a), r.st)
        << r.roi.width << " k " << r.k;
    EXPECT_EQ(kvpiPyramidLayerUpGetBufSize(r.roi, r.rate, r.k, t, r.ch, &b), r.st)
        << r.roi.width << " k " << r.k;
    if (r.st == kvpStsOk) {
      EXPECT_EQ(a, r.down * n);
      EXPECT_EQ(b, r.up * n);
    } else {
      EXPECT_EQ(a, -1);
      EXPECT_EQ(b, -1);
    }
  }
  EXPECT_EQ(kvpiPyramidLayerDownGetBufSize({0, 0}, 0.0f, 0, kvp8u, 0, nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiPyramidLayerUpGetBufSize({0, 0}, 0.0f, 0, kvp8u, 0, nullptr), kvpStsNullPtr);
  // The size follows the thread count.
  kvt::Threads scope(3);
  int a = 0;
  ASSERT_EQ(kvpiPyramidLayerDownGetBufSize({100, 5}, 2.0f, 5, kvp8u, 1, &a), kvpStsOk);
  EXPECT_EQ(a, 3 * 960);
}

// ---- state checks -----------------------------------------------------------

TEST(PyramidLayers, StateChecks) {
  struct Row {
    KvpiSize roi;
    float rate;
    std::vector<int> taps;
    int mode;
    KvpStatus st;
  };
  const std::vector<Row> rows = {
      {{0, 5}, 2.0f, {1, 2, 1}, 2, kvpStsBadSize},
      {{5, 5}, 2.0f, {1}, 2, kvpStsBadSize},
      {{5, 5}, 2.0f, {1, 1}, 2, kvpStsBadSize},
      {{5, 5}, 1.0f, {1, 1}, 2, kvpStsBadSize},  // length first
      {{5, 5}, 1.0f, {1, 2, 3, 4}, 2, kvpStsBadArg},
      {{5, 5}, 2.0f, {1, 2, 3, 4}, 2, kvpStsBadArg},
      {{5, 5}, 2.0f, {1, 2, 1}, 1, kvpStsBadArg},
      {{5, 5}, 2.0f, {1, -2, 1}, 2, kvpStsBadArg},  // sum 0
      {{5, 5}, 2.0f, {1, 2, 1}, 2, kvpStsOk},
  };
  for (const Row& r : rows) {
    std::vector<Kvp16s> ti(r.taps.begin(), r.taps.end());
    std::vector<Kvp32f> tf(r.taps.begin(), r.taps.end());
    const int k = (int)ti.size();
    KvpiPyramidDownState_8u* d = nullptr;
    KvpiPyramidUpState_16u* u = nullptr;
    KvpiPyramidDownState_32f* f = nullptr;
    EXPECT_EQ(kvpiPyramidLayerDownInitAlloc_8u_C3R(&d, r.roi, r.rate, ti.data(), k, r.mode), r.st);
    EXPECT_EQ(kvpiPyramidLayerUpInitAlloc_16u_C1R(&u, r.roi, r.rate, ti.data(), k, r.mode), r.st);
    EXPECT_EQ(kvpiPyramidLayerDownInitAlloc_32f_C1R(&f, r.roi, r.rate, tf.data(), k, r.mode), r.st);
    EXPECT_EQ(d != nullptr, r.st == kvpStsOk);
    kvpiPyramidLayerDownFree_8u_C3R(d);
    kvpiPyramidLayerUpFree_16u_C1R(u);
    kvpiPyramidLayerDownFree_32f_C1R(f);
  }
  // Kernel limits of each type.
  KvpiPyramidDownState_16u* d = nullptr;
  const Kvp16s heavy[3] = {10000, 12767, 10000}, tooHeavy[3] = {10000, 12768, 10000};
  EXPECT_EQ(kvpiPyramidLayerDownInitAlloc_16u_C1R(&d, {5, 5}, 2.0f, heavy, 3, 2), kvpStsOk);
  kvpiPyramidLayerDownFree_16u_C1R(d);
  d = nullptr;
  EXPECT_EQ(kvpiPyramidLayerDownInitAlloc_16u_C1R(&d, {5, 5}, 2.0f, tooHeavy, 3, 2), kvpStsBadArg);
  EXPECT_EQ(d, nullptr);
  const float inf = std::numeric_limits<float>::infinity();
  for (auto taps : {std::vector<float>{1, inf, 1}, std::vector<float>{1, -1, 0},
                    std::vector<float>{3e38f, 3e38f, 1}, std::vector<float>{1, std::nanf(""), 1}}) {
    KvpiPyramidUpState_32f* u = nullptr;
    EXPECT_EQ(kvpiPyramidLayerUpInitAlloc_32f_C3R(&u, {5, 5}, 2.0f, taps.data(), 3, 2), kvpStsBadArg);
    EXPECT_EQ(u, nullptr);
  }
  const Kvp16s t3[3] = {1, 2, 1};
  EXPECT_EQ(kvpiPyramidLayerDownInitAlloc_8u_C1R(nullptr, {5, 5}, 2.0f, t3, 3, 2), kvpStsNullPtr);
  EXPECT_EQ(kvpiPyramidLayerDownInitAlloc_8u_C1R(reinterpret_cast<KvpiPyramidDownState_8u**>(&d), {0, 5},
                                                 2.0f, nullptr, 3, 2),
            kvpStsNullPtr);
  KvpiPyramidDownState_8u* s = nullptr;
  kvpSetMallocFailCountdown(1);
  EXPECT_EQ(kvpiPyramidLayerDownInitAlloc_8u_C1R(&s, {5, 5}, 2.0f, t3, 3, 2), kvpStsNoMemory);
  kvpSetMallocFailCountdown(0);
  EXPECT_EQ(s, nullptr);
  EXPECT_EQ(kvpiPyramidLayerUpInitAlloc_8u_C1R(reinterpret_cast<KvpiPyramidUpState_8u**>(&s), {2000000000, 5},
                                               10.0f, t3, 3, 2),
            kvpStsNoMemory);
  EXPECT_EQ(kvpiPyramidLayerDownFree_8u_C1R(nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiPyramidLayerUpFree_32f_C3R(nullptr), kvpStsNullPtr);
}

// ---- working-call checks: order, and nothing written ------------------------

TEST(PyramidLayers, CallChecks) {
  auto rng = kvt::makeRng(3);
  const Kvp16s taps[3] = {1, 2, 1};
  KvpiPyramidDownState_16u* sd = nullptr;
  KvpiPyramidUpState_16u* su = nullptr;
  ASSERT_EQ(kvpiPyramidLayerDownInitAlloc_16u_C1R(&sd, {20, 10}, 2.0f, taps, 3, 2), kvpStsOk);
  ASSERT_EQ(kvpiPyramidLayerUpInitAlloc_16u_C1R(&su, {20, 10}, 2.0f, taps, 3, 2), kvpStsOk);
  Plane<Kvp16u> src(20, 10, 1, rng, 2), dst(40, 20, 1, rng, 0);
  std::vector<Kvp8u> buf(1 << 16);
  const auto before = dst.bytes();
  struct Row {
    const char* what;
    bool nullSrc, nullDst, nullState, nullBuf;
    KvpiSize s, d;
    int srcStep, dstStep;
    KvpStatus down, up;
  };
  const int ss = src.step(), ds = dst.step();
  const std::vector<Row> rows = {
      {"null src", true, false, false, false, {0, 0}, {0, 0}, 0, 0, kvpStsNullPtr, kvpStsNullPtr},
      {"null dst", false, true, false, false, {0, 0}, {0, 0}, 0, 0, kvpStsNullPtr, kvpStsNullPtr},
      {"null state", false, false, true, false, {0, 0}, {0, 0}, 0, 0, kvpStsNullPtr, kvpStsNullPtr},
      {"null buffer", false, false, false, true, {0, 0}, {0, 0}, 0, 0, kvpStsNullPtr, kvpStsNullPtr},
      {"src width 0", false, false, false, false, {0, 4}, {5, 4}, 1, 1, kvpStsBadSize, kvpStsBadSize},
      {"dst height 0", false, false, false, false, {10, 4}, {5, 0}, 1, 1, kvpStsBadSize, kvpStsBadSize},
      {"src step", false, false, false, false, {10, 8}, {5, 4}, 18, 1, kvpStsBadStep, kvpStsBadStep},
      {"dst step", false, false, false, false, {10, 8}, {5, 4}, 20, 9, kvpStsBadStep, kvpStsBadStep},
      {"odd step",
       false,
       false,
       false,
       false,
       {10, 8},
       {5, 4},
       21,
       80,
       kvpStsStepNotMultiple,
       kvpStsStepNotMultiple},
      {"step 201",
       false,
       false,
       false,
       false,
       {10, 8},
       {5, 4},
       201,
       80,
       kvpStsStepNotMultiple,
       kvpStsStepNotMultiple},
      {"src beyond state",
       false,
       false,
       false,
       false,
       {21, 8},
       {11, 4},
       ss,
       ds,
       kvpStsBadSize,
       kvpStsBadSize},
      {"src beyond state rows",
       false,
       false,
       false,
       false,
       {10, 11},
       {5, 6},
       ss,
       ds,
       kvpStsBadSize,
       kvpStsBadSize},
      {"dst off by one", false, false, false, false, {10, 8}, {6, 4}, ss, ds, kvpStsBadSize, kvpStsBadSize},
      {"up too small", false, false, false, false, {10, 8}, {18, 16}, ss, ds, kvpStsBadSize, kvpStsBadSize},
      {"up too large", false, false, false, false, {10, 8}, {20, 17}, ss, ds, kvpStsBadSize, kvpStsBadSize},
  };
  for (const Row& r : rows) {
    const Kvp16u* ps = r.nullSrc ? nullptr : src.roi();
    Kvp16u* pd = r.nullDst ? nullptr : dst.roi();
    Kvp8u* pb = r.nullBuf ? nullptr : buf.data();
    EXPECT_EQ(
        kvpiPyramidLayerDown_16u_C1R(ps, r.srcStep, r.s, pd, r.dstStep, r.d, r.nullState ? nullptr : sd, pb),
        r.down)
        << r.what;
    EXPECT_EQ(
        kvpiPyramidLayerUp_16u_C1R(ps, r.srcStep, r.s, pd, r.dstStep, r.d, r.nullState ? nullptr : su, pb),
        r.up)
        << r.what;
    EXPECT_TRUE(dst.unchanged(before)) << r.what;
  }
  // The boundaries themselves are accepted.
  EXPECT_EQ(kvpiPyramidLayerDown_16u_C1R(src.roi(), ss, {20, 10}, dst.roi(), ds, {10, 5}, sd, buf.data()),
            kvpStsOk);
  EXPECT_EQ(kvpiPyramidLayerUp_16u_C1R(src.roi(), ss, {20, 10}, dst.roi(), ds, {39, 20}, su, buf.data()),
            kvpStsOk);
  kvpiPyramidLayerDownFree_16u_C1R(sd);
  kvpiPyramidLayerUpFree_16u_C1R(su);
}

}  // namespace

// Gaussian 5x5 pyramid levels against a direct 5x5 (down) and 3x3-phase (up)
// reference written from the weights and border rules, plus the size
// queries, the argument checks and the buffer bounds.
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "harness.h"

namespace {

using kvt::Plane;

// ---- the functions under test, by element type and channel count ------------

template <class T>
using LevelFn = KvpStatus (*)(const T*, int, T*, int, KvpiSize, Kvp8u*);

template <class T, int CH>
struct Level;
#define KVT_LEVEL(T, TS, CH, CODE)                                           \
  template <>                                                                \
  struct Level<T, CH> {                                                      \
    static constexpr LevelFn<T> down = kvpiPyrDown_Gauss5x5_##TS##_C##CH##R; \
    static constexpr LevelFn<T> up = kvpiPyrUp_Gauss5x5_##TS##_C##CH##R;     \
    static constexpr KvpDataType type = CODE;                                \
    static constexpr const char* name = #TS "_C" #CH "R";                    \
  };
KVT_LEVEL(Kvp8u, 8u, 1, kvp8u)
KVT_LEVEL(Kvp8u, 8u, 3, kvp8u)
KVT_LEVEL(Kvp8s, 8s, 1, kvp8s)
KVT_LEVEL(Kvp8s, 8s, 3, kvp8s)
KVT_LEVEL(Kvp32f, 32f, 1, kvp32f)
KVT_LEVEL(Kvp32f, 32f, 3, kvp32f)
#undef KVT_LEVEL

// ---- reference -------------------------------------------------------------------

// Down: index i of an axis of n samples, mirrored without repeating the
// edge, mirrored again while still outside.
int downIndex(int i, int n) {
  if (n == 1) return 0;
  while (i < 0 || i >= n) i = i < 0 ? -i : 2 * (n - 1) - i;
  return i;
}

// Up: mirrored on the low side, replicated on the high side.
int upIndex(int i, int n) {
  if (i < 0) return n > 1 ? -i : 0;
  return i >= n ? n - 1 : i;
}

const int kBinomial[5] = {1, 4, 6, 4, 1};

// Taps (source index, weight) of output position o along an axis of n.
std::vector<std::pair<int, int>> downTaps(int o, int n) {
  std::vector<std::pair<int, int>> t;
  for (int i = -2; i <= 2; ++i) t.push_back({downIndex(2 * o + i, n), kBinomial[i + 2]});
  return t;
}
std::vector<std::pair<int, int>> upTaps(int o, int n) {
  const int x = o / 2;
  if (o % 2 == 0) return {{upIndex(x - 1, n), 1}, {upIndex(x, n), 6}, {upIndex(x + 1, n), 1}};
  return {{upIndex(x, n), 4}, {upIndex(x + 1, n), 4}};
}

// Weighted sum over the separable window in double (exact for 8-bit
// inputs), then rounded half upward for integers.
template <class T, bool Down>
Plane<T> reference(const Plane<T>& src, kvt::Rng& rng) {
  const int w = src.width(), h = src.height(), ch = src.channels();
  const int dw = Down ? (w + 1) / 2 : 2 * w, dh = Down ? (h + 1) / 2 : 2 * h;
  const double total = Down ? 256.0 : 64.0;
  Plane<T> dst(dw, dh, ch, rng);
  for (int y = 0; y < dh; ++y) {
    const auto ty = Down ? downTaps(y, h) : upTaps(y, h);
    for (int x = 0; x < dw; ++x) {
      const auto tx = Down ? downTaps(x, w) : upTaps(x, w);
      for (int c = 0; c < ch; ++c) {
        double sum = 0;
        for (auto [sy, wy] : ty)
          for (auto [sx, wx] : tx) sum += (double)wy * wx * (double)src.at(sx, sy, c);
        if constexpr (std::is_floating_point_v<T>)
          dst.at(x, y, c) = (T)(sum / total);
        else
          dst.at(x, y, c) = (T)std::floor((sum + total / 2) / total);
      }
    }
  }
  return dst;
}

// ---- guarded work buffer -----------------------------------------------------------

// A buffer of exactly the reported size at an odd offset, with guard bytes
// before and after.
struct WorkBuffer {
  static constexpr int kGuard = 96;
  std::vector<Kvp8u> bytes;
  int size, offset;
  WorkBuffer(int sz, int off) : bytes((size_t)sz + 2 * kGuard, 0x5c), size(sz), offset(kGuard + off) {}
  Kvp8u* data() { return bytes.data() + offset; }
  bool guardsIntact() const {
    for (int i = 0; i < offset; ++i)
      if (bytes[i] != 0x5c) return false;
    for (size_t i = (size_t)offset + size; i < bytes.size(); ++i)
      if (bytes[i] != 0x5c) return false;
    return true;
  }
};

int bufSize(bool down, int width, KvpDataType type, int ch) {
  int size = -1;
  const KvpStatus st = down ? kvpiPyrDownGetBufSize_Gauss5x5(width, type, ch, &size)
                            : kvpiPyrUpGetBufSize_Gauss5x5(width, type, ch, &size);
  EXPECT_EQ(st, kvpStsOk);
  return size;
}

// ---- shapes and data --------------------------------------------------------------

const std::vector<KvpiSize>& shapes() {
  static const std::vector<KvpiSize> all = {{1, 1},   {1, 2},     {2, 1},   {2, 2},   {1, 9},     {9, 1},
                                            {2, 7},   {7, 2},     {3, 3},   {4, 4},   {5, 1},     {6, 1},
                                            {1, 6},   {5, 5},     {6, 6},   {5, 6},   {6, 5},     {3, 8},
                                            {8, 3},   {33, 17},   {34, 18}, {64, 31}, {65, 4},    {127, 66},
                                            {96, 97}, {301, 201}, {2, 130}, {130, 2}, {1921, 23}, {17, 400}};
  static const std::vector<KvpiSize> small = {{1, 1}, {2, 2}, {1, 9}, {9, 1}, {2, 7}, {5, 6}, {33, 17}};
  return kvt::smallRun() ? small : all;
}

template <class T>
T randomValue(kvt::Rng& rng) {
  if constexpr (std::is_floating_point_v<T>)
    return std::uniform_real_distribution<float>(-1000.f, 1000.f)(rng);
  else
    return (T)std::uniform_int_distribution<int>(std::numeric_limits<T>::min(),
                                                 std::numeric_limits<T>::max())(rng);
}

template <class T>
T integerValue(kvt::Rng& rng) {
  if constexpr (std::is_floating_point_v<T>)
    return (T)std::uniform_int_distribution<int>(-4096, 4096)(rng);
  else
    return randomValue<T>(rng);
}

// Runs one level on src; checks the status, the guards of the destination
// and of the buffer, and returns the destination.
template <class T, int CH, bool Down>
Plane<T> runLevel(const Plane<T>& src, kvt::Rng& rng) {
  const int w = src.width(), h = src.height();
  Plane<T> dst(Down ? (w + 1) / 2 : 2 * w, Down ? (h + 1) / 2 : 2 * h, CH, rng);
  WorkBuffer buf(bufSize(Down, w, Level<T, CH>::type, CH), (int)(rng() % 64));
  const auto before = dst.bytes();
  const LevelFn<T> fn = Down ? Level<T, CH>::down : Level<T, CH>::up;
  EXPECT_EQ(fn(src.roi(), src.step(), dst.roi(), dst.step(), src.size(), buf.data()), kvpStsOk);
  EXPECT_TRUE(dst.sameOutsideRoi(before)) << "write outside the destination ROI";
  EXPECT_TRUE(buf.guardsIntact()) << "write outside the reported buffer size";
  return dst;
}

// Elementwise |a - b| <= tol.
::testing::AssertionResult closeRoi(const Plane<float>& a, const Plane<float>& b, float tol) {
  for (int y = 0; y < a.height(); ++y)
    for (int i = 0; i < a.width() * a.channels(); ++i) {
      const float u = a.row(y)[i], v = b.row(y)[i];
      if (!(std::fabs(u - v) <= tol))
        return ::testing::AssertionFailure() << "element " << i << ", row " << y << ": " << u << " vs " << v;
    }
  return ::testing::AssertionSuccess();
}

// Every shape, exact where the reference is exact (integer types, and
// floats holding small integers, whose sums and power-of-two scale are
// exact), within a tolerance for random floats in [-1000, 1000] (single-
// precision sums err by about 1e-4 there; a wrong weight by 1 or more).
template <class T, int CH, bool Down>
void sweep() {
  kvt::Rng rng =
      kvt::makeRng(std::hash<std::string>{}(std::string(Level<T, CH>::name) + (Down ? "down" : "up")));
  for (KvpiSize sz : shapes()) {
    SCOPED_TRACE(std::string(Level<T, CH>::name) + (Down ? " down " : " up ") + kvt::describe(sz));
    Plane<T> src(sz.width, sz.height, CH, rng);
    src.fill([&] { return integerValue<T>(rng); });
    EXPECT_TRUE(kvt::sameRoi(runLevel<T, CH, Down>(src, rng), reference<T, Down>(src, rng)));
    if constexpr (std::is_floating_point_v<T>) {
      src.fill([&] { return randomValue<T>(rng); });
      EXPECT_TRUE(closeRoi(runLevel<T, CH, Down>(src, rng), reference<T, Down>(src, rng), 1e-3f));
    } else {
      // Only the ends of the range: the sums reach the limits of their lanes.
      const T lo = std::numeric_limits<T>::min(), hi = std::numeric_limits<T>::max();
      for (int pattern = 0; pattern < 3; ++pattern) {
        src.fill([&] { return pattern == 0 ? lo : pattern == 1 ? hi : (rng() & 1 ? hi : lo); });
        EXPECT_TRUE(kvt::sameRoi(runLevel<T, CH, Down>(src, rng), reference<T, Down>(src, rng)));
      }
    }
  }
}

TEST(PyrDown, MatchesReference8u) { sweep<Kvp8u, 1, true>(), sweep<Kvp8u, 3, true>(); }
TEST(PyrDown, MatchesReference8s) { sweep<Kvp8s, 1, true>(), sweep<Kvp8s, 3, true>(); }
TEST(PyrDown, MatchesReference32f) { sweep<Kvp32f, 1, true>(), sweep<Kvp32f, 3, true>(); }
TEST(PyrUp, MatchesReference8u) { sweep<Kvp8u, 1, false>(), sweep<Kvp8u, 3, false>(); }
TEST(PyrUp, MatchesReference8s) { sweep<Kvp8s, 1, false>(), sweep<Kvp8s, 3, false>(); }
TEST(PyrUp, MatchesReference32f) { sweep<Kvp32f, 1, false>(), sweep<Kvp32f, 3, false>(); }

// ---- known answers that do not go through the reference ---------------------------

TEST(PyrDown, SinglePixelIsCopied) {
  kvt::Rng rng = kvt::makeRng(1);
  for (int v : {0, 1, 127, 200, 255}) {
    Plane<Kvp8u> src(1, 1, 1, rng);
    src.at(0, 0) = (Kvp8u)v;
    EXPECT_EQ((runLevel<Kvp8u, 1, true>(src, rng).at(0, 0)), v);
  }
  Plane<Kvp8s> s8(1, 1, 3, rng);
  s8.at(0, 0, 0) = -128, s8.at(0, 0, 1) = -1, s8.at(0, 0, 2) = 127;
  const Plane<Kvp8s> d8 = runLevel<Kvp8s, 3, true>(s8, rng);
  EXPECT_EQ(d8.at(0, 0, 0), -128);
  EXPECT_EQ(d8.at(0, 0, 1), -1);
  EXPECT_EQ(d8.at(0, 0, 2), 127);
}

TEST(PyrDown, EdgeWeightsOfOneRow) {
  // Height 1: every vertical tap is row 0, so an output is its horizontal
  // sum / 16. Six wide: the last output is s2 + 4 (s3 + s5) + 7 s4; five wide:
  // 6 s4 + 8 s3 + 2 s2; the first is 6 s0 + 8 s1 + 2 s2.
  kvt::Rng rng = kvt::makeRng(2);
  Plane<Kvp32f> six(6, 1, 1, rng);
  const float s[6] = {16, 32, 48, 64, 80, 160};
  for (int x = 0; x < 6; ++x) six.at(x, 0) = s[x];
  const Plane<Kvp32f> d6 = runLevel<Kvp32f, 1, true>(six, rng);
  EXPECT_EQ(d6.at(0, 0), (6 * s[0] + 8 * s[1] + 2 * s[2]) / 16);
  EXPECT_EQ(d6.at(1, 0), (s[0] + 4 * s[1] + 6 * s[2] + 4 * s[3] + s[4]) / 16);
  EXPECT_EQ(d6.at(2, 0), (s[2] + 4 * (s[3] + s[5]) + 7 * s[4]) / 16);
  Plane<Kvp32f> five(5, 1, 1, rng);
  for (int x = 0; x < 5; ++x) five.at(x, 0) = s[x];
  const Plane<Kvp32f> d5 = runLevel<Kvp32f, 1, true>(five, rng);
  EXPECT_EQ(d5.at(2, 0), (6 * s[4] + 8 * s[3] + 2 * s[2]) / 16);
}

TEST(PyrDown, NarrowImageUsesColumnPairs) {
  // Width 2: each row's horizontal sum is 8 (s0 + s1); then (1 4 6 4 1)
  // vertically with mirrored rows, + 128 >> 8.
  kvt::Rng rng = kvt::makeRng(3);
  Plane<Kvp8u> src(2, 7, 1, rng);
  src.fill([&] { return (Kvp8u)(rng() & 255); });
  const Plane<Kvp8u> d = runLevel<Kvp8u, 1, true>(src, rng);
  auto hs = [&](int y) { return 8 * (src.at(0, y) + src.at(1, y)); };
  const int rows[4][5] = {{2, 1, 0, 1, 2}, {0, 1, 2, 3, 4}, {2, 3, 4, 5, 6}, {4, 5, 6, 5, 4}};
  for (int y = 0; y < 4; ++y) {
    int sum = 0;
    for (int j = 0; j < 5; ++j) sum += kBinomial[j] * hs(rows[y][j]);
    EXPECT_EQ(d.at(0, y), (sum + 128) >> 8) << "row " << y;
  }
}

TEST(PyrDown, SignedRoundsHalfUpward) {
  // A 1x2 column of (-1, 0): the sum is 8 * (-16) = -128, exactly half way:
  // half upward gives 0 (away from zero would give -1).
  kvt::Rng rng = kvt::makeRng(4);
  Plane<Kvp8s> src(1, 2, 1, rng);
  src.at(0, 0) = -1, src.at(0, 1) = 0;
  EXPECT_EQ((runLevel<Kvp8s, 1, true>(src, rng).at(0, 0)), 0);
  src.at(0, 0) = -1, src.at(0, 1) = -1;
  EXPECT_EQ((runLevel<Kvp8s, 1, true>(src, rng).at(0, 0)), -1);
}

TEST(PyrUp, SinglePixelBecomesBlock) {
  kvt::Rng rng = kvt::makeRng(5);
  Plane<Kvp8u> src(1, 1, 3, rng);
  src.at(0, 0, 0) = 9, src.at(0, 0, 1) = 250, src.at(0, 0, 2) = 0;
  const Plane<Kvp8u> d = runLevel<Kvp8u, 3, false>(src, rng);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 2; ++x) {
      EXPECT_EQ(d.at(x, y, 0), 9);
      EXPECT_EQ(d.at(x, y, 1), 250);
      EXPECT_EQ(d.at(x, y, 2), 0);
    }
}

TEST(PyrUp, ConstantStaysConstant) {
  kvt::Rng rng = kvt::makeRng(6);
  for (KvpiSize sz : {KvpiSize{1, 5}, KvpiSize{5, 1}, KvpiSize{2, 3}, KvpiSize{37, 21}}) {
    Plane<Kvp8s> s8(sz.width, sz.height, 1, rng);
    s8.fill([] { return (Kvp8s)-77; });
    const Plane<Kvp8s> d8 = runLevel<Kvp8s, 1, false>(s8, rng);
    Plane<Kvp32f> sf(sz.width, sz.height, 3, rng);
    sf.fill([] { return 0.1f; });
    const Plane<Kvp32f> df = runLevel<Kvp32f, 3, false>(sf, rng);
    for (int y = 0; y < 2 * sz.height; ++y)
      for (int x = 0; x < 2 * sz.width; ++x) {
        ASSERT_EQ(d8.at(x, y), -77) << x << "," << y;
        for (int c = 0; c < 3; ++c) ASSERT_NEAR(df.at(x, y, c), 0.1f, 1e-7f) << x << "," << y;
      }
  }
}

TEST(PyrUp, SignedRowOfTwoRoundsHalfUpward) {
  // Height 1: outputs are the expanded row / 8. (0, -2) expands to
  // (6*0 + 2*-2, 4*(0 - 2), 0 + 7*-2, 8*-2) = (-4, -8, -14, -16):
  // -0.5 -> 0, -1, -1.75 -> -2, -2.
  kvt::Rng rng = kvt::makeRng(7);
  Plane<Kvp8s> src(2, 1, 1, rng);
  src.at(0, 0) = 0, src.at(1, 0) = -2;
  const Plane<Kvp8s> d = runLevel<Kvp8s, 1, false>(src, rng);
  const int expect[4] = {0, -1, -2, -2};
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 4; ++x) EXPECT_EQ(d.at(x, y), expect[x]) << x << "," << y;
}

// ---- buffer sizes ---------------------------------------------------------------

TEST(PyrBufSize, Formulas) {
  for (int w : {1, 2, 3, 4, 5, 7, 64, 1001, 1920})
    for (int ch : {1, 3})
      for (KvpDataType t : {kvp8u, kvp8s, kvp32f}) {
        EXPECT_EQ(bufSize(true, w, t, ch), ((w * 4 * ch + 15) / 16 * 16) * 6 + 64) << w << " " << ch;
        EXPECT_EQ(bufSize(false, w, t, ch), ((w * 8 * ch + 15) / 16 * 16) * 3 + 64) << w << " " << ch;
      }
}

TEST(PyrBufSize, CheckOrder) {
  for (auto fn : {kvpiPyrDownGetBufSize_Gauss5x5, kvpiPyrUpGetBufSize_Gauss5x5}) {
    int size = -7;
    EXPECT_EQ(fn(0, (KvpDataType)2, 4, nullptr), kvpStsNullPtr);
    EXPECT_EQ(fn(0, (KvpDataType)2, 4, &size), kvpStsBadSize);
    EXPECT_EQ(fn(-5, kvp8u, 1, &size), kvpStsBadSize);
    EXPECT_EQ(fn(10, (KvpDataType)2, 4, &size), kvpStsBadChannels);
    EXPECT_EQ(fn(10, kvp8u, 2, &size), kvpStsBadChannels);
    EXPECT_EQ(fn(10, kvp8u, 0, &size), kvpStsBadChannels);
    EXPECT_EQ(fn(10, (KvpDataType)2, 1, &size), kvpStsBadDataType);
    EXPECT_EQ(fn(10, kvp16u, 3, &size), kvpStsBadDataType);
    EXPECT_EQ(size, -7) << "a failed query wrote its result";
  }
}

// ---- argument checks of the level functions -----------------------------------------

template <class T, int CH, bool Down>
void checkOrder() {
  SCOPED_TRACE(std::string(Level<T, CH>::name) + (Down ? " down" : " up"));
  kvt::Rng rng = kvt::makeRng(8);
  const LevelFn<T> fn = Down ? Level<T, CH>::down : Level<T, CH>::up;
  const int w = 250, h = 9, es = (int)sizeof(T);
  const int dw = Down ? (w + 1) / 2 : 2 * w;
  Plane<T> src(w, h, CH, rng, 0);
  Plane<T> dst(dw, Down ? (h + 1) / 2 : 2 * h, CH, rng, 8 * es);
  src.fill([&] { return integerValue<T>(rng); });
  WorkBuffer buf(bufSize(Down, w, Level<T, CH>::type, CH), 0);
  const auto dstBefore = dst.bytes();
  const auto bufBefore = buf.bytes;
  const int ss = src.step(), ds = dst.step();
  const KvpiSize sz = src.size();
  T* d = dst.roi();
  const T* s = src.roi();
  Kvp8u* b = buf.data();

  EXPECT_EQ(fn(nullptr, ss, d, ds, sz, b), kvpStsNullPtr);
  EXPECT_EQ(fn(s, ss, nullptr, ds, sz, b), kvpStsNullPtr);
  EXPECT_EQ(fn(s, ss, d, ds, sz, nullptr), kvpStsNullPtr);
  EXPECT_EQ(fn(s, 0, d, 0, {0, h}, nullptr), kvpStsNullPtr);  // pointers before sizes
  EXPECT_EQ(fn(s, ss, d, ds, {0, h}, b), kvpStsBadSize);
  EXPECT_EQ(fn(s, ss, d, ds, {w, 0}, b), kvpStsBadSize);
  EXPECT_EQ(fn(s, 0, d, 0, {w, -1}, b), kvpStsBadSize);  // sizes before steps
  EXPECT_EQ(fn(s, w * CH * es - es, d, ds, sz, b), kvpStsBadStep);
  EXPECT_EQ(fn(s, ss, d, dw * CH * es - es, sz, b), kvpStsBadStep);
  EXPECT_EQ(fn(s, ss, d, dw * CH * es - 1, sz, b), kvpStsBadStep);  // short beats not-a-multiple
  if (es > 1) {
    EXPECT_EQ(fn(s, ss + 2, d, ds, sz, b), kvpStsStepNotMultiple);
    EXPECT_EQ(fn(s, ss, d, ds + 1, sz, b), kvpStsStepNotMultiple);
  }
  EXPECT_TRUE(dst.unchanged(dstBefore)) << "a failed call wrote its destination";
  EXPECT_TRUE(buf.bytes == bufBefore) << "a failed call wrote its buffer";
  if (es == 1) {
    // Byte steps need only cover the row.
    Plane<T> odd(dw, Down ? (h + 1) / 2 : 2 * h, CH, rng, 3);
    EXPECT_EQ(fn(s, ss, odd.roi(), odd.step(), sz, b), kvpStsOk);
  }
  // The minimal steps are accepted.
  Plane<T> tight(dw, Down ? (h + 1) / 2 : 2 * h, CH, rng, 0);
  EXPECT_EQ(fn(s, w * CH * es, tight.roi(), dw * CH * es, sz, b), kvpStsOk);
}

TEST(PyrChecks, OrderAndNoWriteOnFailure) {
  checkOrder<Kvp8u, 1, true>(), checkOrder<Kvp8u, 3, true>(), checkOrder<Kvp8s, 1, true>();
  checkOrder<Kvp8s, 3, true>(), checkOrder<Kvp32f, 1, true>(), checkOrder<Kvp32f, 3, true>();
  checkOrder<Kvp8u, 1, false>(), checkOrder<Kvp8u, 3, false>(), checkOrder<Kvp8s, 1, false>();
  checkOrder<Kvp8s, 3, false>(), checkOrder<Kvp32f, 1, false>(), checkOrder<Kvp32f, 3, false>();
}

TEST(PyrChecks, FloatStepOf1002IsNotAMultiple) {
  kvt::Rng rng = kvt::makeRng(9);
  Plane<Kvp32f> src(200, 4, 1, rng, 202);  // step 1002
  Plane<Kvp32f> dst(400, 8, 1, rng, 0);
  WorkBuffer buf(bufSize(false, 200, kvp32f, 1), 0);
  EXPECT_EQ(kvpiPyrUp_Gauss5x5_32f_C1R(src.roi(), src.step(), dst.roi(), dst.step(), src.size(), buf.data()),
            kvpStsStepNotMultiple);
  EXPECT_EQ(
      kvpiPyrDown_Gauss5x5_32f_C1R(src.roi(), src.step(), dst.roi(), dst.step(), src.size(), buf.data()),
      kvpStsStepNotMultiple);
}

TEST(PyrChecks, WidestRoiHalvesWithoutOverflow) {
  // A source INT_MAX pixels wide goes down to 2^30 pixels per row: a
  // shorter destination step is rejected before anything is read.
  Kvp8u src[4] = {}, dst[4] = {};
  WorkBuffer buf(64, 0);
  const int widest = std::numeric_limits<int>::max();
  EXPECT_EQ(kvpiPyrDown_Gauss5x5_8u_C1R(src, widest, dst, 1 << 29, {widest, 1}, buf.data()), kvpStsBadStep);
  EXPECT_EQ(kvpiPyrDown_Gauss5x5_8s_C1R((const Kvp8s*)src, widest, (Kvp8s*)dst, (1 << 30) - 1, {widest, 3},
                                        buf.data()),
            kvpStsBadStep);
}

TEST(PyrBuffer, CarriesNoStateBetweenCalls) {
  // The same buffer reused for different images and directions gives the
  // results of a fresh buffer.
  kvt::Rng rng = kvt::makeRng(10);
  Plane<Kvp8u> a(40, 30, 3, rng), b(40, 30, 3, rng);
  a.fill([&] { return (Kvp8u)(rng() & 255); });
  b.fill([&] { return (Kvp8u)(rng() & 255); });
  WorkBuffer shared(bufSize(false, 40, kvp8u, 3), 0);  // the larger of the two
  Plane<Kvp8u> d1(20, 15, 3, rng, 0), d2(20, 15, 3, rng, 0), u(80, 60, 3, rng, 0);
  ASSERT_EQ(kvpiPyrDown_Gauss5x5_8u_C3R(a.roi(), a.step(), d1.roi(), d1.step(), a.size(), shared.data()),
            kvpStsOk);
  ASSERT_EQ(kvpiPyrUp_Gauss5x5_8u_C3R(b.roi(), b.step(), u.roi(), u.step(), b.size(), shared.data()),
            kvpStsOk);
  ASSERT_EQ(kvpiPyrDown_Gauss5x5_8u_C3R(a.roi(), a.step(), d2.roi(), d2.step(), a.size(), shared.data()),
            kvpStsOk);
  EXPECT_TRUE(kvt::sameRoi(d1, d2));
  EXPECT_TRUE(kvt::sameRoi(d1, reference<Kvp8u, true>(a, rng)));
}

}  // namespace

// Gaussian 5x5 pyramid levels against the direct 5x5 (down) and 3x3-phase
// (up) reference of pyramid_ref.h and a table of known answers, plus the
// size queries, the argument checks and the buffer bounds.
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "harness.h"
#include "pyramid_ref.h"
#include "targets.h"

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

template <class T, bool Down>
Plane<T> reference(const Plane<T>& src, kvt::Rng& rng) {
  const int w = src.width(), h = src.height(), ch = src.channels();
  Plane<T> dst(Down ? (w + 1) / 2 : 2 * w, Down ? (h + 1) / 2 : 2 * h, ch, rng);
  for (int y = 0; y < dst.height(); ++y)
    for (int x = 0; x < dst.width(); ++x)
      for (int c = 0; c < ch; ++c)
        dst.at(x, y, c) = pr::level<T>(Down, x, y, w, h, [&](int sx, int sy) { return src.at(sx, sy, c); });
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
// precision sums err by about 1e-4 there; a wrong weight by 1 or more), on
// every vector target.
template <class T, int CH, bool Down>
void sweep() {
  kvt::Rng rng =
      kvt::makeRng(std::hash<std::string>{}(std::string(Level<T, CH>::name) + (Down ? "down" : "up")));
  // One reference, then the level on every target.
  const auto check = [&](const Plane<T>& src, float tol) {
    const Plane<T> want = reference<T, Down>(src, rng);
    for (int64_t t : kvt::vectorTargets()) {
      kvt::Target target(t);
      SCOPED_TRACE(kvt::targetName(t));
      if (tol == 0.0f) {
        EXPECT_TRUE(kvt::sameRoi(runLevel<T, CH, Down>(src, rng), want));
      } else if constexpr (std::is_floating_point_v<T>) {
        EXPECT_TRUE(closeRoi(runLevel<T, CH, Down>(src, rng), want, tol));
      }
    }
  };
  for (KvpiSize sz : shapes()) {
    SCOPED_TRACE(std::string(Level<T, CH>::name) + (Down ? " down " : " up ") + kvt::describe(sz));
    Plane<T> src(sz.width, sz.height, CH, rng);
    src.fill([&] { return integerValue<T>(rng); });
    check(src, 0.0f);
    if constexpr (std::is_floating_point_v<T>) {
      src.fill([&] { return randomValue<T>(rng); });
      check(src, 1e-3f);
    } else {
      // Only the ends of the range: the sums reach the limits of their lanes.
      const T lo = std::numeric_limits<T>::min(), hi = std::numeric_limits<T>::max();
      for (int pattern = 0; pattern < 3; ++pattern) {
        src.fill([&] { return pattern == 0 ? lo : pattern == 1 ? hi : (rng() & 1 ? hi : lo); });
        check(src, 0.0f);
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

struct Known {
  const char* what;
  bool down;
  KvpDataType type;
  int ch;
  KvpiSize size;
  std::vector<double> src, want;  // interleaved channels, row by row
};

template <class T, int CH>
void runKnown(const Known& k) {
  kvt::Rng rng = kvt::makeRng(1);
  Plane<T> src(k.size.width, k.size.height, CH, rng);
  size_t i = 0;
  for (int y = 0; y < k.size.height; ++y)
    for (int x = 0; x < k.size.width * CH; ++x) src.row(y)[x] = (T)k.src[i++];
  const Plane<T> d = k.down ? runLevel<T, CH, true>(src, rng) : runLevel<T, CH, false>(src, rng);
  i = 0;
  for (int y = 0; y < d.height(); ++y)
    for (int x = 0; x < d.width() * CH; ++x, ++i)
      EXPECT_EQ((double)d.row(y)[x], k.want[i]) << k.what << " " << i;
}

TEST(Pyr, KnownAnswers) {
  const double s[6] = {16, 32, 48, 64, 80, 160};
  const std::vector<Known> table = {
      {"a pixel is copied", true, kvp8u, 1, {1, 1}, {200}, {200}},
      {"a pixel is copied", true, kvp8s, 3, {1, 1}, {-128, -1, 127}, {-128, -1, 127}},
      // Height 1: an output is its horizontal sum / 16; the last of six is
      // s2 + 4 (s3 + s5) + 7 s4, the last of five 6 s4 + 8 s3 + 2 s2.
      {"edge weights, six wide",
       true,
       kvp32f,
       1,
       {6, 1},
       {s[0], s[1], s[2], s[3], s[4], s[5]},
       {(6 * s[0] + 8 * s[1] + 2 * s[2]) / 16, (s[0] + 4 * s[1] + 6 * s[2] + 4 * s[3] + s[4]) / 16,
        (s[2] + 4 * (s[3] + s[5]) + 7 * s[4]) / 16}},
      {"edge weights, five wide",
       true,
       kvp32f,
       1,
       {5, 1},
       {s[0], s[1], s[2], s[3], s[4]},
       {(6 * s[0] + 8 * s[1] + 2 * s[2]) / 16, (s[0] + 4 * s[1] + 6 * s[2] + 4 * s[3] + s[4]) / 16,
        (6 * s[4] + 8 * s[3] + 2 * s[2]) / 16}},
      // -128 / 256 is half way: half upward gives 0, away from zero -1.
      {"half rounds upward", true, kvp8s, 1, {1, 2}, {-1, 0}, {0}},
      {"half rounds upward", true, kvp8s, 1, {1, 2}, {-1, -1}, {-1}},
      {"a pixel becomes a block",
       false,
       kvp8u,
       3,
       {1, 1},
       {9, 250, 0},
       {9, 250, 0, 9, 250, 0, 9, 250, 0, 9, 250, 0}},
      // (0, -2) expands to (-4, -8, -14, -16) / 8: -0.5 -> 0, -1, -1.75 -> -2, -2.
      {"half rounds upward", false, kvp8s, 1, {2, 1}, {0, -2}, {0, -1, -2, -2, 0, -1, -2, -2}},
  };
  for (const Known& k : table) {
    if (k.type == kvp8u) k.ch == 1 ? runKnown<Kvp8u, 1>(k) : runKnown<Kvp8u, 3>(k);
    if (k.type == kvp8s) k.ch == 1 ? runKnown<Kvp8s, 1>(k) : runKnown<Kvp8s, 3>(k);
    if (k.type == kvp32f) k.ch == 1 ? runKnown<Kvp32f, 1>(k) : runKnown<Kvp32f, 3>(k);
  }
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

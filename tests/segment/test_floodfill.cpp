// Flood fills against plain references: the connected set by a pixel stack
// and step-by-step models of the segment list, on random blob images of
// every type and channel count, with buffers of exactly the reported size
// followed by guard bytes.
#include <cmath>
#include <functional>
#include <limits>
#include <string>

#include "floodfill_ref.h"
#include "harness.h"

namespace {

using ffr::Img;
using ffr::Result;
using kvt::Plane;

enum Family { kExact, kRange, kGrad };

// Every fill through one shape: value, minDelta and maxDelta by pointer.
template <class T>
using FillFn = std::function<KvpStatus(T*, int, KvpiSize, KvpiPoint, const T*, const T*, const T*,
                                       KvpiConnectedComp*, Kvp8u*)>;

template <class T>
struct Member {
  std::string name;
  Family fam;
  bool eight;
  int cn;
  FillFn<T> fn;
};

#define FF_EXACT1(F, T)                                                                           \
  [](T* p, int s, KvpiSize r, KvpiPoint sd, const T* v, const T*, const T*, KvpiConnectedComp* g, \
     Kvp8u* b) { return F(p, s, r, sd, *v, g, b); }
#define FF_EXACT3(F, T)                                                                           \
  [](T* p, int s, KvpiSize r, KvpiPoint sd, const T* v, const T*, const T*, KvpiConnectedComp* g, \
     Kvp8u* b) { return F(p, s, r, sd, v, g, b); }
#define FF_RANGE1(F, T)                                                                                 \
  [](T* p, int s, KvpiSize r, KvpiPoint sd, const T* v, const T* mn, const T* mx, KvpiConnectedComp* g, \
     Kvp8u* b) { return F(p, s, r, sd, *v, *mn, *mx, g, b); }
#define FF_RANGE3(F, T)                                                                                 \
  [](T* p, int s, KvpiSize r, KvpiPoint sd, const T* v, const T* mn, const T* mx, KvpiConnectedComp* g, \
     Kvp8u* b) { return F(p, s, r, sd, v, mn, mx, g, b); }

#define FF_MEMBERS(TS, T)                                                                                \
  std::vector<Member<T>> members_##TS() {                                                                \
    return {                                                                                             \
        {"4Con_" #TS "_C1IR", kExact, false, 1, FF_EXACT1(kvpiFloodFill_4Con_##TS##_C1IR, T)},           \
        {"4Con_" #TS "_C3IR", kExact, false, 3, FF_EXACT3(kvpiFloodFill_4Con_##TS##_C3IR, T)},           \
        {"8Con_" #TS "_C1IR", kExact, true, 1, FF_EXACT1(kvpiFloodFill_8Con_##TS##_C1IR, T)},            \
        {"8Con_" #TS "_C3IR", kExact, true, 3, FF_EXACT3(kvpiFloodFill_8Con_##TS##_C3IR, T)},            \
        {"Range4Con_" #TS "_C1IR", kRange, false, 1, FF_RANGE1(kvpiFloodFill_Range4Con_##TS##_C1IR, T)}, \
        {"Range4Con_" #TS "_C3IR", kRange, false, 3, FF_RANGE3(kvpiFloodFill_Range4Con_##TS##_C3IR, T)}, \
        {"Range8Con_" #TS "_C1IR", kRange, true, 1, FF_RANGE1(kvpiFloodFill_Range8Con_##TS##_C1IR, T)},  \
        {"Range8Con_" #TS "_C3IR", kRange, true, 3, FF_RANGE3(kvpiFloodFill_Range8Con_##TS##_C3IR, T)},  \
        {"Grad4Con_" #TS "_C1IR", kGrad, false, 1, FF_RANGE1(kvpiFloodFill_Grad4Con_##TS##_C1IR, T)},    \
        {"Grad4Con_" #TS "_C3IR", kGrad, false, 3, FF_RANGE3(kvpiFloodFill_Grad4Con_##TS##_C3IR, T)},    \
        {"Grad8Con_" #TS "_C1IR", kGrad, true, 1, FF_RANGE1(kvpiFloodFill_Grad8Con_##TS##_C1IR, T)},     \
        {"Grad8Con_" #TS "_C3IR", kGrad, true, 3, FF_RANGE3(kvpiFloodFill_Grad8Con_##TS##_C3IR, T)},     \
    };                                                                                                   \
  }
FF_MEMBERS(8u, Kvp8u)
FF_MEMBERS(16u, Kvp16u)
FF_MEMBERS(32f, Kvp32f)

template <class T>
std::vector<Member<T>> members() {
  if constexpr (std::is_same_v<T, Kvp8u>) return members_8u();
  if constexpr (std::is_same_v<T, Kvp16u>) return members_16u();
  if constexpr (std::is_same_v<T, Kvp32f>) return members_32f();
}

int bufferSize(Family fam, KvpiSize roi) {
  int n = -1;
  EXPECT_EQ(kvpStsOk, fam == kGrad ? kvpiFloodFillGetSize_Grad(roi, &n) : kvpiFloodFillGetSize(roi, &n));
  return n;
}

// A work buffer of exactly the reported size at a chosen misalignment,
// followed by guard bytes.
struct WorkBuffer {
  std::vector<uint8_t> bytes;
  int size, offset;
  static constexpr int kGuard = 64;
  WorkBuffer(int size_, int offset_)
      : bytes((size_t)size_ + offset_ + kGuard, 0xCD), size(size_), offset(offset_) {}
  Kvp8u* data() { return bytes.data() + offset; }
  bool guardsIntact() const {
    for (int i = 0; i < offset; ++i)
      if (bytes[i] != 0xCD) return false;
    for (size_t i = (size_t)offset + size; i < bytes.size(); ++i)
      if (bytes[i] != 0xCD) return false;
    return true;
  }
};

template <class T>
Img<T> toImg(const Plane<T>& p) {
  Img<T> im(p.width(), p.height(), p.channels());
  for (int y = 0; y < p.height(); ++y)
    std::memcpy(im.px(0, y), p.row(y), (size_t)p.width() * p.channels() * sizeof(T));
  return im;
}
template <class T>
void fromImg(Plane<T>& p, const Img<T>& im) {
  for (int y = 0; y < p.height(); ++y)
    std::memcpy(p.row(y), im.px(0, y), (size_t)p.width() * p.channels() * sizeof(T));
}

// The library's answer for one call.
struct Outcome {
  KvpStatus st;
  KvpiConnectedComp rec;
  bool guards;
};

template <class T>
Outcome runFill(const Member<T>& m, Plane<T>& img, KvpiPoint seed, const T* nv, const T* mn, const T* mx,
                int bufOffset) {
  WorkBuffer buf(bufferSize(m.fam, img.size()), bufOffset);
  Outcome o;
  std::memset(&o.rec, 0x5A, sizeof o.rec);
  const auto before = img.bytes();
  o.st = m.fn(img.roi(), img.step(), img.size(), seed, nv, mn, mx, &o.rec, buf.data());
  o.guards = buf.guardsIntact() && img.sameOutsideRoi(before);
  return o;
}

// The reference answer; false when the model gave up (a walk without end).
template <class T>
bool reference(const Member<T>& m, Img<T>& im, KvpiPoint seed, const T* nv, const T* mn, const T* mx,
               Result& r) {
  const int cn = m.cn;
  T s[3];
  for (int c = 0; c < cn; ++c) s[c] = im.px(seed.x, seed.y)[c];
  if (m.fam != kGrad && ffr::samePix(s, nv, cn)) {
    r = Result{};
    return true;
  }
  if (m.fam == kExact) {
    r = ffr::stackFill(im, seed.x, seed.y, m.eight, nv, [&](const T* p) { return ffr::samePix(p, s, cn); });
    return true;
  }
  if (m.fam == kRange) {
    const auto b = ffr::boundsOf(s, mn, mx, cn);
    const int k = (int)((unsigned)im.w * (unsigned)im.h) / 4;
    return ffr::scanModel(
               im, seed.x, seed.y, m.eight, nv, [&](const T* p) { return b.ok(p); }, k, r, 200000) ==
           ffr::End::Done;
  }
  r = m.eight ? ffr::gradModel(im, seed.x, seed.y, true, nv, mn, mx)
              : ffr::gradClosure(im, seed.x, seed.y, nv, mn, mx);
  return true;
}

template <class T>
::testing::AssertionResult sameRecord(const KvpiConnectedComp& g, const Result& r, const T* nv, int cn) {
  const KvpiRect e{r.x0, r.y0, r.x1 - r.x0 + 1, r.y1 - r.y0 + 1};
  if (g.area != r.area) return ::testing::AssertionFailure() << "area " << g.area << " expected " << r.area;
  for (int c = 0; c < 3; ++c) {
    const double v = c < cn ? (double)nv[c] : 0.0;
    if (std::memcmp(&g.value[c], &v, sizeof v) != 0)
      return ::testing::AssertionFailure() << "value[" << c << "] " << g.value[c] << " expected " << v;
  }
  if (g.rect.x != e.x || g.rect.y != e.y || g.rect.width != e.width || g.rect.height != e.height)
    return ::testing::AssertionFailure()
           << "rect {" << g.rect.x << "," << g.rect.y << "," << g.rect.width << "," << g.rect.height
           << "} expected {" << e.x << "," << e.y << "," << e.width << "," << e.height << "}";
  return ::testing::AssertionSuccess();
}

// One call checked against the reference: status, image bit for bit,
// every field of the record (or the record untouched), guards.
template <class T>
void checkCall(const Member<T>& m, Plane<T>& img, KvpiPoint seed, const T* nv, const T* mn, const T* mx,
               int bufOffset = 3) {
  Img<T> ref = toImg(img);
  Result r;
  const bool finite = reference(m, ref, seed, nv, mn, mx, r);
  const Outcome o = runFill(m, img, seed, nv, mn, mx, bufOffset);
  ASSERT_EQ(kvpStsOk, o.st);
  ASSERT_TRUE(o.guards) << "wrote outside the ROI or past the reported buffer size";
  if (!finite) return;  // the walk has no end: only termination and safety are checked
  ASSERT_TRUE(toImg(img) == ref) << "image differs";
  if (!r.wrote) {
    KvpiConnectedComp untouched;
    std::memset(&untouched, 0x5A, sizeof untouched);
    ASSERT_EQ(0, std::memcmp(&untouched, &o.rec, sizeof untouched)) << "record written on the early return";
  } else {
    ASSERT_TRUE(sameRecord(o.rec, r, nv, m.cn));
  }
}

// ---- image generators ----------------------------------------------------------------

template <class T>
T levelValue(int i) {
  if constexpr (std::is_same_v<T, Kvp8u>) return (T)(40 * i + 7);
  if constexpr (std::is_same_v<T, Kvp16u>) return (T)(9000 * i + 300);
  return (T)(1.25f * i - 2.0f);
}

// Blobs: a coarse random grid of a few levels, upsampled, with scattered
// single-pixel noise; channels of a C3 pixel mostly agree, sometimes one
// differs.
template <class T>
void fillBlobs(Plane<T>& p, kvt::Rng& rng, int levels, int cell) {
  const int gw = p.width() / cell + 2, gh = p.height() / cell + 2;
  std::vector<int> grid((size_t)gw * gh);
  for (auto& g : grid) g = (int)(rng() % levels);
  for (int y = 0; y < p.height(); ++y)
    for (int x = 0; x < p.width(); ++x) {
      int l = grid[(size_t)(y / cell) * gw + x / cell];
      if (rng() % 11 == 0) l = (int)(rng() % levels);
      for (int c = 0; c < p.channels(); ++c) {
        int lc = l;
        if (c == 2 && rng() % 17 == 0) lc = (l + 1) % levels;
        p.at(x, y, c) = levelValue<T>(lc);
      }
    }
}

// A smooth random walk for the floating-range fills.
template <class T>
void fillSmooth(Plane<T>& p, kvt::Rng& rng, int stepMax) {
  for (int y = 0; y < p.height(); ++y)
    for (int x = 0; x < p.width(); ++x)
      for (int c = 0; c < p.channels(); ++c) {
        int base = 100 + (int)(rng() % 3);
        if (x > 0) base = (int)p.at(x - 1, y, c);
        if (y > 0 && rng() % 2) base = (int)p.at(x, y - 1, c);
        const int v = std::clamp(base + (int)(rng() % (2 * stepMax + 1)) - stepMax, 0, 250);
        p.at(x, y, c) = (T)v;
      }
}

template <class T>
void deltas(const Member<T>& m, kvt::Rng& rng, T* nv, T* mn, T* mx) {
  for (int c = 0; c < 3; ++c) {
    if (m.fam == kGrad) {
      mn[c] = (T)(rng() % 3);
      mx[c] = (T)(rng() % 3);
      nv[c] = (T)(rng() % 2 ? 251 : rng() % 250);
    } else {
      mn[c] = std::is_floating_point_v<T> ? (T)1.0f : (T)(rng() % 2 ? 20 : 0);
      mx[c] = std::is_floating_point_v<T> ? (T)0.5f : (T)(rng() % 2 ? 30 : 0);
      // Usually a value outside the image's levels, sometimes one of them.
      nv[c] = rng() % 4 ? (std::is_same_v<T, Kvp16u> ? (T)65535 : (T)253) : levelValue<T>((int)(rng() % 3));
    }
  }
}

const std::vector<KvpiSize>& fillSizes() {
  static const std::vector<KvpiSize> s = {{1, 1},  {1, 2},   {1, 3},   {2, 1},   {2, 2},  {3, 3},
                                          {7, 1},  {1, 9},   {5, 4},   {9, 9},   {16, 3}, {17, 13},
                                          {31, 8}, {40, 40}, {67, 23}, {130, 61}};
  return s;
}

template <class T>
void randomSweep() {
  for (const auto& m : members<T>()) {
    kvt::Rng rng = kvt::makeRng(std::hash<std::string>{}(m.name));
    for (KvpiSize sz : fillSizes())
      for (int trial = 0; trial < 4; ++trial) {
        SCOPED_TRACE(m.name + " " + kvt::describe(sz) + " trial " + std::to_string(trial));
        Plane<T> img(sz.width, sz.height, m.cn, rng);
        if (m.fam == kGrad && !std::is_floating_point_v<T>)
          fillSmooth(img, rng, 3);
        else if (m.fam == kGrad)
          fillSmooth(img, rng, 2);
        else
          fillBlobs(img, rng, 3, 1 + (int)(rng() % 6));
        T nv[3], mn[3], mx[3];
        deltas(m, rng, nv, mn, mx);
        KvpiPoint seed{(int)(rng() % sz.width), (int)(rng() % sz.height)};
        if (trial == 1) seed.y = sz.height - 1;  // the last row starts upwards
        checkCall(m, img, seed, nv, mn, mx, (int)(rng() % 8));
        if (::testing::Test::HasFatalFailure()) return;
      }
  }
}

TEST(FloodFill, MatchesReference8u) { randomSweep<Kvp8u>(); }
TEST(FloodFill, MatchesReference16u) { randomSweep<Kvp16u>(); }
TEST(FloodFill, MatchesReference32f) { randomSweep<Kvp32f>(); }

// ---- size queries and argument checks ------------------------------------------------------

TEST(FloodFill, SizeQueries) {
  for (KvpiSize sz : {KvpiSize{1, 1}, KvpiSize{3, 1}, KvpiSize{1, 5}, KvpiSize{17, 9}, KvpiSize{1920, 1080},
                      KvpiSize{3840, 2160}, KvpiSize{20000, 20000}}) {
    int n = 0, g = 0;
    ASSERT_EQ(kvpStsOk, kvpiFloodFillGetSize(sz, &n));
    ASSERT_EQ(kvpStsOk, kvpiFloodFillGetSize_Grad(sz, &g));
    const long long list = (long long)sz.width * 24 * sz.height / 4;
    EXPECT_EQ((int)(uint32_t)(list + 32), n) << kvt::describe(sz);
    EXPECT_EQ((int)(uint32_t)((long long)(sz.width + 2) * (sz.height + 2) + list + 32), g)
        << kvt::describe(sz);
  }
  // Sizes whose product overflows 64 bits: it wraps, then is divided and cut
  // to 32 bits (no undefined arithmetic on the way).
  for (KvpiSize sz :
       {KvpiSize{0x7fffffff, 0x7fffffff}, KvpiSize{0x7fffffff, 1660950529}, KvpiSize{1 << 30, 1 << 30}}) {
    int n = 0, g = 0;
    ASSERT_EQ(kvpStsOk, kvpiFloodFillGetSize(sz, &n));
    ASSERT_EQ(kvpStsOk, kvpiFloodFillGetSize_Grad(sz, &g));
    const long long list = (long long)((uint64_t)sz.width * 24u * (uint64_t)sz.height) / 4;
    EXPECT_EQ((int)(uint32_t)(uint64_t)(list + 32), n) << kvt::describe(sz);
    EXPECT_EQ(
        (int)(uint32_t)((uint64_t)((long long)(sz.width + 2LL) * (sz.height + 2LL)) + (uint64_t)(list + 32)),
        g)
        << kvt::describe(sz);
  }
  int keep = 77;
  EXPECT_EQ(kvpStsNullPtr, kvpiFloodFillGetSize({0, 0}, nullptr));
  EXPECT_EQ(kvpStsNullPtr, kvpiFloodFillGetSize_Grad({0, 0}, nullptr));
  for (KvpiSize bad : {KvpiSize{0, 5}, KvpiSize{5, 0}, KvpiSize{-1, 3}}) {
    EXPECT_EQ(kvpStsBadSize, kvpiFloodFillGetSize(bad, &keep));
    EXPECT_EQ(kvpStsBadSize, kvpiFloodFillGetSize_Grad(bad, &keep));
  }
  EXPECT_EQ(77, keep);
}

// Row bytes that the step check asks for: the 8u and 32f three-channel
// members test the one-channel row.
template <class T>
int minStep(int width, int cn) {
  if (cn == 3 && std::is_same_v<T, Kvp16u>) return 6 * width;
  return width * (int)sizeof(T);
}

template <class T>
void checkOrder() {
  kvt::Rng rng = kvt::makeRng(91);
  for (const auto& m : members<T>()) {
    SCOPED_TRACE(m.name);
    const int w = 6, h = 4;
    Plane<T> img(w, h, m.cn, rng);
    fillBlobs(img, rng, 3, 2);
    const auto before = img.bytes();
    std::vector<Kvp8u> buf(4096, 0xEE);
    const std::vector<Kvp8u> bufBefore = buf;
    T nv[3] = {(T)1, (T)2, (T)3}, mn[3] = {(T)1, (T)1, (T)1}, mx[3] = {(T)1, (T)1, (T)1};
    KvpiConnectedComp rec, recBefore;
    std::memset(&rec, 0x33, sizeof rec);
    recBefore = rec;
    auto call = [&](T* p, int step, KvpiSize roi, KvpiPoint seed, const T* v, const T* a, const T* b,
                    KvpiConnectedComp* r, Kvp8u* bf) { return m.fn(p, step, roi, seed, v, a, b, r, bf); };
    const KvpiSize roi = img.size();
    const int st = img.step();
    // Pointers first, whatever else is wrong.
    EXPECT_EQ(kvpStsNullPtr, call(nullptr, 0, {0, 0}, {-1, -1}, nv, mn, mx, &rec, buf.data()));
    EXPECT_EQ(kvpStsNullPtr, call(img.roi(), st, roi, {0, 0}, nv, mn, mx, nullptr, buf.data()));
    EXPECT_EQ(kvpStsNullPtr, call(img.roi(), st, roi, {0, 0}, nv, mn, mx, &rec, nullptr));
    if (m.cn == 3) {
      EXPECT_EQ(kvpStsNullPtr, call(img.roi(), st, {0, 0}, {0, 0}, nullptr, mn, mx, &rec, buf.data()));
      if (m.fam != kExact) {
        EXPECT_EQ(kvpStsNullPtr, call(img.roi(), st, {0, 0}, {0, 0}, nv, nullptr, mx, &rec, buf.data()));
        EXPECT_EQ(kvpStsNullPtr, call(img.roi(), st, {0, 0}, {0, 0}, nv, mn, nullptr, &rec, buf.data()));
      }
    }
    // Size before step before seed.
    EXPECT_EQ(kvpStsBadSize, call(img.roi(), 0, {0, h}, {-1, -1}, nv, mn, mx, &rec, buf.data()));
    EXPECT_EQ(kvpStsBadSize, call(img.roi(), 0, {w, -2}, {-1, -1}, nv, mn, mx, &rec, buf.data()));
    const int need = minStep<T>(w, m.cn);
    EXPECT_EQ(kvpStsBadStep, call(img.roi(), need - 1, roi, {-1, -1}, nv, mn, mx, &rec, buf.data()));
    // The smallest accepted step reaches the seed test.
    EXPECT_EQ(kvpStsOutOfRange, call(img.roi(), need, roi, {w, 0}, nv, mn, mx, &rec, buf.data()));
    if (sizeof(T) > 1) {
      EXPECT_EQ(kvpStsStepNotMultiple, call(img.roi(), st + 1, roi, {-1, -1}, nv, mn, mx, &rec, buf.data()));
      EXPECT_EQ(kvpStsBadStep, call(img.roi(), need - 1, roi, {-1, -1}, nv, mn, mx, &rec, buf.data()));
    }
    for (KvpiPoint bad :
         {KvpiPoint{-1, 0}, KvpiPoint{w, 0}, KvpiPoint{0, -1}, KvpiPoint{0, h}, KvpiPoint{w, h}})
      EXPECT_EQ(kvpStsOutOfRange, call(img.roi(), st, roi, bad, nv, mn, mx, &rec, buf.data()));
    EXPECT_TRUE(img.unchanged(before));
    EXPECT_TRUE(buf == bufBefore);
    EXPECT_EQ(0, std::memcmp(&rec, &recBefore, sizeof rec));
  }
}

TEST(FloodFill, CheckOrder) {
  checkOrder<Kvp8u>();
  checkOrder<Kvp16u>();
  checkOrder<Kvp32f>();
}

// ---- crafted images ---------------------------------------------------------------

// Images the random blobs rarely produce, each filled by every member of
// its type and checked against the reference like the sweep.
template <class T>
struct Crafted {
  const char* name;
  KvpiSize size;
  KvpiPoint seed;
  std::function<T(int x, int y, int c, int cn)> px;
  T nv, mn, mx;  // the same in every channel
};

template <class T>
void checkCrafted(const std::vector<Crafted<T>>& cases) {
  kvt::Rng rng = kvt::makeRng(5);
  for (const Crafted<T>& k : cases)
    for (const auto& m : members<T>()) {
      SCOPED_TRACE(std::string(k.name) + " " + m.name);
      Plane<T> img(k.size.width, k.size.height, m.cn, rng);
      for (int y = 0; y < k.size.height; ++y)
        for (int x = 0; x < k.size.width; ++x)
          for (int c = 0; c < m.cn; ++c) img.at(x, y, c) = k.px(x, y, c, m.cn);
      const T nv[3] = {k.nv, k.nv, k.nv}, mn[3] = {k.mn, k.mn, k.mn}, mx[3] = {k.mx, k.mx, k.mx};
      checkCall(m, img, k.seed, nv, mn, mx, 1);
    }
}

TEST(FloodFill, CraftedImages) {
  const float nan = std::numeric_limits<float>::quiet_NaN(), big = 1e30f;
  checkCrafted<Kvp32f>({
      // -0 at the seed equals the new value +0: the early return (the
      // gradient fills have none).
      {"signed zero seed",
       {9, 5},
       {4, 2},
       [](int x, int y, int, int) { return x == 4 && y == 2 ? -0.f : 0.f; },
       0.f,
       0.5f,
       0.5f},
      // A NaN seed paints only itself; NaN neighbours never join.
      {"NaN seed",
       {7, 6},
       {3, 3},
       [=](int x, int y, int c, int) { return x == 3 && y == 3 && c == 1 ? 2.f : nan; },
       5.f,
       big,
       big},
      {"NaN wall",
       {8, 5},
       {1, 2},
       [=](int x, int, int c, int cn) { return x == 4 && c == cn - 1 ? nan : 1.f; },
       5.f,
       big,
       big},
  });
  checkCrafted<Kvp16u>({
      // A diagonal of touching corners joins only with eight neighbours.
      {"diagonal",
       {4, 4},
       {0, 0},
       [](int x, int y, int, int) { return (Kvp16u)(x == y ? 50 : 1000); },
       7,
       5,
       5},
      // The fixed-range bounds clamp at 0 and 65535.
      {"clamp 16u",
       {3, 1},
       {1, 0},
       [](int x, int, int, int) { return (Kvp16u)(x == 0   ? 65535
                                                  : x == 1 ? 65530
                                                           : 0); },
       9,
       0,
       100},
  });
  const Kvp8u row[12] = {5, 5, 9, 5, 5, 5, 5, 9, 5, 5, 5, 5}, clampLo[6] = {14, 0, 3, 13, 14, 2},
              clampHi[3] = {255, 250, 240};
  checkCrafted<Kvp8u>({
      {"one row", {12, 1}, {4, 0}, [&](int x, int, int, int) { return row[x]; }, 200, 0, 0},
      {"clamp at 0", {6, 1}, {2, 0}, [&](int x, int, int, int) { return clampLo[x]; }, 100, 10, 10},
      {"clamp at 255", {3, 1}, {1, 0}, [&](int x, int, int, int) { return clampHi[x]; }, 1, 0, 10},
      // The floating range follows a ramp of unit steps, the fixed one not.
      {"ramp", {200, 3}, {100, 1}, [](int x, int y, int, int) { return (Kvp8u)(x + y); }, 255, 1, 1},
  });
}

// Every binary pattern of small images from every seed: the only images on
// which the exact and floating-range lists outgrow the reported buffer, and
// the ones where the fixed-range ring overflows the most.
TEST(FloodFill, ExhaustiveSmallPatterns) {
  kvt::Rng rng = kvt::makeRng(12);
  const auto ms = members<Kvp8u>();
  int outgrown = 0, ringLost = 0;
  // Every pattern of the smallest shapes, random ones of a few larger.
  struct Shape {
    KvpiSize sz;
    int patterns;  // 0: all
  };
  for (Shape shape : {Shape{{3, 3}, 0}, Shape{{4, 3}, 0}, Shape{{2, 5}, 0}, Shape{{6, 3}, 300},
                      Shape{{5, 3}, 300}, Shape{{3, 6}, 300}}) {
    const KvpiSize sz = shape.sz;
    const int n = sz.width * sz.height;
    const int count = shape.patterns ? shape.patterns : 1 << n;
    for (int p = 0; p < count; ++p)
      for (int s = 0; s < n; ++s) {
        const int bits = shape.patterns ? (int)(rng() & ((1u << n) - 1)) | (1 << s) : p;
        if (!((bits >> s) & 1)) continue;
        for (const auto& m : ms) {
          if (m.cn != 1) continue;
          Plane<Kvp8u> img(sz.width, sz.height, 1, rng, 0, 0);
          for (int i = 0; i < n; ++i) img.at(i % sz.width, i / sz.width) = ((bits >> i) & 1) ? 10 : 100;
          SCOPED_TRACE(m.name + " " + kvt::describe(sz) + " pattern " + std::to_string(bits) + " seed " +
                       std::to_string(s));
          const Kvp8u nv = 50, d = 1;
          const KvpiPoint seed{s % sz.width, s / sz.width};
          if (m.fam != kRange) {
            Img<Kvp8u> probe = toImg(img);
            Result r;
            if (m.fam == kExact)
              ffr::scanModel(
                  probe, seed.x, seed.y, m.eight, &nv, [](const Kvp8u* p) { return *p == 10; }, 0, r);
            else
              r = ffr::gradModel(probe, seed.x, seed.y, m.eight, &nv, &d, &d);
            outgrown += (long)r.maxDepth * 24 + 7 > 6L * n + 32;
          } else {
            Img<Kvp8u> full = toImg(img), ring = full;
            Result rf, rr;
            auto ok = [](const Kvp8u* p) { return *p >= 9 && *p <= 11; };
            ffr::scanModel(full, seed.x, seed.y, m.eight, &nv, ok, 0, rf);
            ffr::scanModel(ring, seed.x, seed.y, m.eight, &nv, ok, n / 4, rr);
            ringLost += rr.area < rf.area;
          }
          checkCall(m, img, seed, &nv, &d, &d, bits % 8);
          if (::testing::Test::HasFatalFailure()) return;
        }
      }
  }
  EXPECT_GT(outgrown, 0) << "no pattern outgrew the buffer: the overflow path went untested";
  EXPECT_GT(ringLost, 0) << "no pattern overflowed the ring";
}

// A fixed-range fill whose new value lies inside the range, around a ring
// of pixels, finds its own paint again and again. Around a band two pixels
// wide or more the walk ends by itself (after many rounds) and must be
// followed to its end; around a band one pixel wide it never ends and must
// still stop, inside its buffer.
TEST(FloodFill, FixedRangeWithNewValueInRangeTerminates) {
  kvt::Rng rng = kvt::makeRng(14);
  int endless = 0, finite = 0;
  for (const auto& m : members<Kvp8u>()) {
    if (m.fam != kRange) continue;
    for (int size : {12, 40, 90})
      for (int band : {1, 2, 3}) {
        SCOPED_TRACE(m.name + " " + std::to_string(size) + " band " + std::to_string(band));
        Plane<Kvp8u> img(size, size, m.cn, rng);
        for (int y = 0; y < size; ++y)
          for (int x = 0; x < size; ++x) {
            const bool wall = x >= band && y >= band && x < size - band && y < size - band;
            for (int c = 0; c < m.cn; ++c) img.at(x, y, c) = wall ? 200 : (Kvp8u)(20 + (x * 7 + y * 3) % 5);
          }
        const Kvp8u nv[3] = {21, 21, 21}, d[3] = {4, 4, 4};
        Img<Kvp8u> probe = toImg(img);
        Result r;
        const bool ends = ffr::scanModel(
                              probe, 0, 0, m.eight, nv, [](const Kvp8u* p) { return *p >= 18 && *p <= 26; },
                              size * size / 4, r, 2000000) == ffr::End::Done;
        const Outcome o = runFill(m, img, {0, 0}, nv, d, d, 6);
        ASSERT_EQ(kvpStsOk, o.st);
        EXPECT_TRUE(o.guards);
        if (ends) {
          EXPECT_EQ(r.area, o.rec.area);
          EXPECT_TRUE(toImg(img) == probe);
          EXPECT_GT(r.area, 10.0 * 4 * (size - band) * band) << "expected many rounds";
          ++finite;
        } else {
          ++endless;
          EXPECT_GE(o.rec.area, 4.0 * (size - 1));
          EXPECT_LT(o.rec.area, 100.0 * size * size) << "a walk without end should stop after a few rounds";
        }
      }
  }
  EXPECT_GT(endless, 0) << "no walk without end: termination went untested";
  EXPECT_GT(finite, 0);
}

}  // namespace

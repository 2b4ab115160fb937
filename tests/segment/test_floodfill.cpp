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

using kvt::Plane;
using ffr::Img;
using ffr::Result;

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

#define FF_EXACT1(F, T)                                                                                       \
  [](T* p, int s, KvpiSize r, KvpiPoint sd, const T* v, const T*, const T*, KvpiConnectedComp* g, Kvp8u* b) { \
    return F(p, s, r, sd, *v, g, b);                                                                          \
  }
#define FF_EXACT3(F, T)                                                                                       \
  [](T* p, int s, KvpiSize r, KvpiPoint sd, const T* v, const T*, const T*, KvpiConnectedComp* g, Kvp8u* b) { \
    return F(p, s, r, sd, v, g, b);                                                                           \
  }
#define FF_RANGE1(F, T)                                                                                        \
  [](T* p, int s, KvpiSize r, KvpiPoint sd, const T* v, const T* mn, const T* mx, KvpiConnectedComp* g,        \
     Kvp8u* b) { return F(p, s, r, sd, *v, *mn, *mx, g, b); }
#define FF_RANGE3(F, T)                                                                                        \
  [](T* p, int s, KvpiSize r, KvpiPoint sd, const T* v, const T* mn, const T* mx, KvpiConnectedComp* g,        \
     Kvp8u* b) { return F(p, s, r, sd, v, mn, mx, g, b); }

#define FF_MEMBERS(TS, T)                                                                                     \
  std::vector<Member<T>> members_##TS() {                                                                     \
    return {                                                                                                  \
        {"4Con_" #TS "_C1IR", kExact, false, 1, FF_EXACT1(kvpiFloodFill_4Con_##TS##_C1IR, T)},                \
        {"4Con_" #TS "_C3IR", kExact, false, 3, FF_EXACT3(kvpiFloodFill_4Con_##TS##_C3IR, T)},                \
        {"8Con_" #TS "_C1IR", kExact, true, 1, FF_EXACT1(kvpiFloodFill_8Con_##TS##_C1IR, T)},                 \
        {"8Con_" #TS "_C3IR", kExact, true, 3, FF_EXACT3(kvpiFloodFill_8Con_##TS##_C3IR, T)},                 \
        {"Range4Con_" #TS "_C1IR", kRange, false, 1, FF_RANGE1(kvpiFloodFill_Range4Con_##TS##_C1IR, T)},     \
        {"Range4Con_" #TS "_C3IR", kRange, false, 3, FF_RANGE3(kvpiFloodFill_Range4Con_##TS##_C3IR, T)},     \
        {"Range8Con_" #TS "_C1IR", kRange, true, 1, FF_RANGE1(kvpiFloodFill_Range8Con_##TS##_C1IR, T)},      \
        {"Range8Con_" #TS "_C3IR", kRange, true, 3, FF_RANGE3(kvpiFloodFill_Range8Con_##TS##_C3IR, T)},      \
        {"Grad4Con_" #TS "_C1IR", kGrad, false, 1, FF_RANGE1(kvpiFloodFill_Grad4Con_##TS##_C1IR, T)},        \
        {"Grad4Con_" #TS "_C3IR", kGrad, false, 3, FF_RANGE3(kvpiFloodFill_Grad4Con_##TS##_C3IR, T)},        \
        {"Grad8Con_" #TS "_C1IR", kGrad, true, 1, FF_RANGE1(kvpiFloodFill_Grad8Con_##TS##_C1IR, T)},         \
        {"Grad8Con_" #TS "_C3IR", kGrad, true, 3, FF_RANGE3(kvpiFloodFill_Grad8Con_##TS##_C3IR, T)},         \
    };                                                                                                        \
  }
FF_MEMBERS(8u, Kvp8u)
FF_MEMBERS(16u, Kvp16u)
FF_MEMBERS(32f, Kvp32f)

template <class T>
std::vector<Member<T>> members();
template <>
std::vector<Member<Kvp8u>> members() { return members_8u(); }
template <>
std::vector<Member<Kvp16u>> members() { return members_16u(); }
template <>
std::vector<Member<Kvp32f>> members() { return members_32f(); }

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
  WorkBuffer(int size_, int offset_) : bytes((size_t)size_ + offset_ + kGuard, 0xCD), size(size_), offset(offset_) {}
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
bool reference(const Member<T>& m, Img<T>& im, KvpiPoint seed, const T* nv, const T* mn, const T* mx, Result& r) {
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
    return ffr::scanModel(im, seed.x, seed.y, m.eight, nv, [&](const T* p) { return b.ok(p); }, k, r, 200000);
  }
  r = m.eight ? ffr::gradModel(im, seed.x, seed.y, true, nv, mn, mx) : ffr::gradClosure(im, seed.x, seed.y, nv, mn, mx);
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
    return ::testing::AssertionFailure() << "rect {" << g.rect.x << "," << g.rect.y << "," << g.rect.width << ","
                                         << g.rect.height << "} expected {" << e.x << "," << e.y << "," << e.width
                                         << "," << e.height << "}";
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
  static const std::vector<KvpiSize> s = {{1, 1}, {1, 2}, {1, 3}, {2, 1}, {2, 2},  {3, 3},   {7, 1},  {1, 9},
                                          {5, 4}, {9, 9}, {16, 3}, {17, 13}, {31, 8}, {40, 40}, {67, 23}, {130, 61}};
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

}  // namespace

// Pyramidal Lucas-Kanade tracking: bit-exact agreement with the cell-by-cell
// reference over window sizes, level counts, element types, border points
// and thread counts; the accuracy on a known translation; the exact cases
// (identical images, flat images, scaled types); the check order.
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "flow_ref.h"
#include "harness.h"

namespace {

// A rate-2 pyramid of owned levels built with the binomial layer, in 8u and
// converted to 16u (x 256) and 32f.
template <class T>
struct Pyr {
  KvpiPyramid* rec = nullptr;
  std::vector<std::vector<T>> levels;
  Pyr() = default;
  Pyr(const Pyr&) = delete;
  ~Pyr() {
    if (rec) kvpiPyramidFree(rec);
  }
};

using Image8 = std::vector<Kvp8u>;

std::unique_ptr<Pyr<Kvp8u>> build8(const Image8& img, KvpiSize sz, int level) {
  auto p = std::make_unique<Pyr<Kvp8u>>();
  EXPECT_EQ(kvpiPyramidInitAlloc(&p->rec, level, sz, 2.0f), kvpStsOk);
  p->levels.resize(level + 1);
  p->levels[0] = img;
  const Kvp16s taps[5] = {1, 4, 6, 4, 1};
  KvpiPyramidDownState_8u* s = nullptr;
  EXPECT_EQ(kvpiPyramidLayerDownInitAlloc_8u_C1R(&s, sz, 2.0f, taps, 5, kvpInterLinear), kvpStsOk);
  int bytes = 0;
  kvpiPyramidLayerDownGetBufSize(sz, 2.0f, 5, kvp8u, 1, &bytes);
  std::vector<Kvp8u> buf((size_t)bytes);
  for (int L = 0; L <= level; ++L) {
    const KvpiSize r = p->rec->pRoi[L];
    if (L > 0) {
      const KvpiSize q = p->rec->pRoi[L - 1];
      p->levels[L].resize((size_t)r.width * r.height);
      EXPECT_EQ(kvpiPyramidLayerDown_8u_C1R(p->levels[L - 1].data(), q.width, q, p->levels[L].data(), r.width,
                                            r, s, buf.data()),
                kvpStsOk);
    }
    p->rec->pImage[L] = p->levels[L].data();
    p->rec->pStep[L] = r.width;
  }
  kvpiPyramidLayerDownFree_8u_C1R(s);
  return p;
}

template <class T>
std::unique_ptr<Pyr<T>> convert(const Pyr<Kvp8u>& src) {
  auto p = std::make_unique<Pyr<T>>();
  const int level = src.rec->level;
  EXPECT_EQ(kvpiPyramidInitAlloc(&p->rec, level, src.rec->pRoi[0], 2.0f), kvpStsOk);
  p->levels.resize(level + 1);
  for (int L = 0; L <= level; ++L) {
    for (Kvp8u v : src.levels[L]) p->levels[L].push_back(std::is_same_v<T, Kvp16u> ? (T)(v * 256) : (T)v);
    p->rec->pImage[L] = reinterpret_cast<Kvp8u*>(p->levels[L].data());
    p->rec->pStep[L] = p->rec->pRoi[L].width * (int)sizeof(T);
  }
  return p;
}

Image8 pattern(KvpiSize sz, float sx, float sy, kvt::Rng* noise) {
  Image8 img((size_t)sz.width * sz.height);
  std::uniform_int_distribution<int> d(-6, 6);
  for (int y = 0; y < sz.height; ++y)
    for (int x = 0; x < sz.width; ++x) {
      double v = 128 + 100 * std::sin((x - sx) / 7.0) * std::cos((y - sy) / 9.0);
      if (noise) v += d(*noise);
      img[(size_t)y * sz.width + x] = (Kvp8u)std::lround(std::fmin(255.0, std::fmax(0.0, v)));
    }
  return img;
}

template <class T>
struct Fn;
#define KVT_FLOW(E, TS)                                                     \
  template <>                                                               \
  struct Fn<E> {                                                            \
    using State = KvpiOptFlowPyrLK_##TS;                                    \
    static constexpr auto alloc = kvpiOpticalFlowPyrLKInitAlloc_##TS##_C1R; \
    static constexpr auto release = kvpiOpticalFlowPyrLKFree_##TS##_C1R;    \
    static constexpr auto track = kvpiOpticalFlowPyrLK_##TS##_C1R;          \
  };
KVT_FLOW(Kvp8u, 8u)
KVT_FLOW(Kvp16u, 16u)
KVT_FLOW(Kvp32f, 32f)
#undef KVT_FLOW

struct Result {
  std::vector<KvpiPoint_32f> next;
  std::vector<Kvp8s> status;
  std::vector<Kvp32f> err;
};

template <class T>
Result run(const Pyr<T>& a, const Pyr<T>& b, const std::vector<KvpiPoint_32f>& prev,
           const std::vector<KvpiPoint_32f>& guess, int win, int maxLev, int maxIter, float thr,
           bool withErr = true) {
  Result r{guess, std::vector<Kvp8s>(prev.size(), 7), std::vector<Kvp32f>(prev.size(), -1.0f)};
  typename Fn<T>::State* s = nullptr;
  EXPECT_EQ(Fn<T>::alloc(&s, a.rec->pRoi[0], win + 2), kvpStsOk);
  EXPECT_EQ(Fn<T>::track(a.rec, b.rec, prev.data(), r.next.data(), r.status.data(),
                         withErr ? r.err.data() : nullptr, (int)prev.size(), win, maxLev, maxIter, thr, s),
            kvpStsOk);
  Fn<T>::release(s);
  return r;
}

template <class T>
Result reference(const Pyr<T>& a, const Pyr<T>& b, const std::vector<KvpiPoint_32f>& prev,
                 const std::vector<KvpiPoint_32f>& guess, int win, int maxLev, int maxIter, float thr) {
  Result r{guess, std::vector<Kvp8s>(prev.size()), std::vector<Kvp32f>(prev.size())};
  kvpref::flowTrackRef<T>(a.rec, b.rec, prev.data(), r.next.data(), r.status.data(), r.err.data(),
                          (int)prev.size(), win, maxLev, maxIter, thr);
  return r;
}

::testing::AssertionResult same(const Result& a, const Result& b, bool withErr = true) {
  for (size_t i = 0; i < a.next.size(); ++i) {
    if (std::memcmp(&a.next[i], &b.next[i], sizeof(KvpiPoint_32f)) != 0 || a.status[i] != b.status[i] ||
        (withErr && std::memcmp(&a.err[i], &b.err[i], 4) != 0))
      return ::testing::AssertionFailure()
             << "point " << i << ": (" << a.next[i].x << ", " << a.next[i].y << ") s " << +a.status[i]
             << " e " << a.err[i] << " vs (" << b.next[i].x << ", " << b.next[i].y << ") s " << +b.status[i]
             << " e " << b.err[i];
  }
  return ::testing::AssertionSuccess();
}

// Points all over the image, on and beyond its borders, with guesses near
// the true motion.
void randomPoints(KvpiSize sz, int count, int h, kvt::Rng& rng, std::vector<KvpiPoint_32f>& prev,
                  std::vector<KvpiPoint_32f>& guess) {
  std::uniform_real_distribution<float> x(-h - 3.0f, sz.width + h + 2.0f), y(-h - 3.0f, sz.height + h + 2.0f),
      jitter(-1.5f, 1.5f);
  prev.clear();
  guess.clear();
  for (int i = 0; i < count; ++i) {
    const KvpiPoint_32f p = {x(rng), y(rng)};
    prev.push_back(p);
    guess.push_back(i % 3 == 0 ? p : KvpiPoint_32f{p.x + jitter(rng), p.y + jitter(rng)});
  }
}

// ---- against the reference --------------------------------------------------

template <class T>
const Pyr<T>& pick(const Pyr<Kvp8u>& p8, const std::unique_ptr<Pyr<T>>& converted) {
  if constexpr (std::is_same_v<T, Kvp8u>)
    return p8;
  else
    return *converted;
}

template <class T>
void againstReference() {
  auto rng = kvt::makeRng(sizeof(T));
  struct Row {
    KvpiSize size;
    int win, maxLev, maxIter;
    float thr;
  };
  const std::vector<Row> rows = {
      {{64, 48}, 7, 2, 30, 0.01f}, {{64, 48}, 3, 0, 10, 0.0f}, {{41, 33}, 21, 3, 30, 0.01f},
      {{16, 16}, 5, 2, 20, 0.05f}, {{90, 70}, 11, 1, 3, 0.5f}, {{5, 3}, 9, 1, 10, 0.01f},
  };
  for (const Row& r : rows) {
    auto base = build8(pattern(r.size, 0, 0, &rng), r.size, r.maxLev);
    auto moved = build8(pattern(r.size, 1.6f, -0.7f, &rng), r.size, r.maxLev);
    std::unique_ptr<Pyr<T>> a, b;
    if constexpr (!std::is_same_v<T, Kvp8u>) {
      a = convert<T>(*base);
      b = convert<T>(*moved);
    }
    const Pyr<T>& A = pick<T>(*base, a);
    const Pyr<T>& B = pick<T>(*moved, b);
    std::vector<KvpiPoint_32f> prev, guess;
    randomPoints(r.size, kvt::smallRun() ? 20 : 60, (r.win - 1) / 2, rng, prev, guess);
    const Result want = reference(A, B, prev, guess, r.win, r.maxLev, r.maxIter, r.thr);
    for (int n : {1, 3}) {
      kvt::Threads scope(n);
      EXPECT_TRUE(same(run(A, B, prev, guess, r.win, r.maxLev, r.maxIter, r.thr), want))
          << "win " << r.win << " maxLev " << r.maxLev << " threads " << n;
    }
    EXPECT_TRUE(same(run(A, B, prev, guess, r.win, r.maxLev, r.maxIter, r.thr, false), want, false));
  }
}

TEST(OpticalFlow, Reference8u) { againstReference<Kvp8u>(); }
TEST(OpticalFlow, Reference16u) { againstReference<Kvp16u>(); }
TEST(OpticalFlow, Reference32f) { againstReference<Kvp32f>(); }

// Enough points to open the parallel region at every thread count: results
// identical to the bit, errors included.
TEST(OpticalFlow, ThreadCounts) {
  auto rng = kvt::makeRng(11);
  const KvpiSize sz = {160, 120};
  auto a = build8(pattern(sz, 0, 0, &rng), sz, 2), b = build8(pattern(sz, -2.3f, 1.1f, &rng), sz, 2);
  std::vector<KvpiPoint_32f> prev, guess;
  randomPoints(sz, kvt::smallRun() ? 400 : 5000, 5, rng, prev, guess);
  const Result one = [&] {
    kvt::Threads scope(1);
    return run(*a, *b, prev, guess, 11, 2, 20, 0.01f);
  }();
  for (int n : kvt::threadCounts()) {
    kvt::Threads scope(n);
    EXPECT_TRUE(same(run(*a, *b, prev, guess, 11, 2, 20, 0.01f), one)) << n << " threads";
  }
}

// ---- properties ---------------------------------------------------------------

TEST(OpticalFlow, KnownTranslation) {
  const KvpiSize sz = {640, 480};
  auto a = build8(pattern(sz, 0, 0, nullptr), sz, 3), b = build8(pattern(sz, 1.25f, -0.75f, nullptr), sz, 3);
  std::vector<KvpiPoint_32f> prev;
  for (int y = 30; y <= sz.height - 31; y += kvt::smallRun() ? 60 : 15)
    for (int x = 30; x <= sz.width - 31; x += kvt::smallRun() ? 60 : 15) prev.push_back({(float)x, (float)y});
  const Result r = run(*a, *b, prev, prev, 21, 3, 30, 0.01f);
  for (size_t i = 0; i < prev.size(); ++i) {
    ASSERT_EQ(r.status[i], 1) << i;
    EXPECT_NEAR(r.next[i].x - prev[i].x, 1.25f, 0.05f) << prev[i].x << "," << prev[i].y;
    EXPECT_NEAR(r.next[i].y - prev[i].y, -0.75f, 0.05f) << prev[i].x << "," << prev[i].y;
    EXPECT_LT(r.err[i], 1.0f);
  }
}

TEST(OpticalFlow, ExactCases) {
  auto rng = kvt::makeRng(4);
  const KvpiSize sz = {96, 64};
  auto a = build8(pattern(sz, 0, 0, &rng), sz, 2);
  std::vector<KvpiPoint_32f> prev, guess;
  randomPoints({80, 48}, 50, 0, rng, prev, guess);
  for (auto& p : prev) p = {p.x + 8, p.y + 8};
  // Identical images: every textured point stays exactly where it was.
  Result r = run(*a, *a, prev, prev, 9, 2, 30, 0.01f);
  for (size_t i = 0; i < prev.size(); ++i) {
    EXPECT_EQ(r.status[i], 1);
    EXPECT_EQ(r.next[i].x, prev[i].x);
    EXPECT_EQ(r.next[i].y, prev[i].y);
    EXPECT_EQ(r.err[i], 0.0f);
  }
  // A flat image: every point lost, the guess returned untouched.
  auto flat = build8(Image8((size_t)sz.width * sz.height, 77), sz, 2);
  r = run(*flat, *flat, prev, guess, 9, 2, 30, 0.01f);
  for (size_t i = 0; i < prev.size(); ++i) {
    EXPECT_EQ(r.status[i], 0);
    EXPECT_EQ(r.next[i].x, guess[i].x);
    EXPECT_EQ(r.next[i].y, guess[i].y);
    EXPECT_EQ(r.err[i], 0.0f);
  }
  // The inside test at the left edge (h = 4): -h - 2 is outside, -h - 0.5 is in.
  const std::vector<KvpiPoint_32f> edge = {{-6.0f, 10.0f}, {-4.5f, 10.0f}};
  r = run(*a, *a, edge, edge, 9, 0, 5, 0.01f);
  EXPECT_EQ(r.status[0], 0);
  const Result ref = reference(*a, *a, edge, edge, 9, 0, 5, 0.01f);
  EXPECT_TRUE(same(r, ref));
}

// 16u = 8u x 256 scales every quantity by a power of two; 32f copies of
// the 8u levels give the 8u results.
TEST(OpticalFlow, TypesAgree) {
  auto rng = kvt::makeRng(8);
  const KvpiSize sz = {120, 90};
  auto a = build8(pattern(sz, 0, 0, &rng), sz, 3), b = build8(pattern(sz, 2.5f, 1.0f, &rng), sz, 3);
  std::vector<KvpiPoint_32f> prev, guess;
  randomPoints(sz, 200, 7, rng, prev, guess);
  const Result r8 = run(*a, *b, prev, guess, 15, 3, 30, 0.01f);
  const Result r16 = run(*convert<Kvp16u>(*a), *convert<Kvp16u>(*b), prev, guess, 15, 3, 30, 0.01f);
  Result r32 = run(*convert<Kvp32f>(*a), *convert<Kvp32f>(*b), prev, guess, 15, 3, 30, 0.01f);
  EXPECT_TRUE(same(r8, r32));
  for (auto& e : r32.err) e *= 256.0f;
  EXPECT_TRUE(same(r16, r32));
}

// ---- checks -------------------------------------------------------------------

TEST(OpticalFlow, StateChecks) {
  KvpiOptFlowPyrLK_8u* s = nullptr;
  EXPECT_EQ(kvpiOpticalFlowPyrLKInitAlloc_8u_C1R(nullptr, {0, 0}, 0), kvpStsNullPtr);
  EXPECT_EQ(kvpiOpticalFlowPyrLKInitAlloc_8u_C1R(&s, {0, 5}, 4), kvpStsBadSize);
  EXPECT_EQ(kvpiOpticalFlowPyrLKInitAlloc_8u_C1R(&s, {5, 5}, 1), kvpStsBadSize);
  EXPECT_EQ(kvpiOpticalFlowPyrLKInitAlloc_8u_C1R(&s, {5, 5}, 4), kvpStsBadArg);
  EXPECT_EQ(kvpiOpticalFlowPyrLKInitAlloc_8u_C1R(&s, {5, 5}, 40001), kvpStsNoMemory);
  kvpSetMallocFailCountdown(1);
  EXPECT_EQ(kvpiOpticalFlowPyrLKInitAlloc_8u_C1R(&s, {5, 5}, 5), kvpStsNoMemory);
  kvpSetMallocFailCountdown(0);
  EXPECT_EQ(s, nullptr);
  EXPECT_EQ(kvpiOpticalFlowPyrLKFree_8u_C1R(nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiOpticalFlowPyrLKFree_16u_C1R(nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiOpticalFlowPyrLKFree_32f_C1R(nullptr), kvpStsNullPtr);
}

TEST(OpticalFlow, CallChecks) {
  auto rng = kvt::makeRng(2);
  const KvpiSize sz = {40, 30};
  auto a = build8(pattern(sz, 0, 0, &rng), sz, 2), b = build8(pattern(sz, 1, 1, &rng), sz, 2);
  auto c = build8(pattern({40, 31}, 0, 0, &rng), {40, 31}, 2);  // level 1: 20 x 16
  auto shortPyr = build8(pattern(sz, 0, 0, &rng), sz, 1);
  KvpiOptFlowPyrLK_8u* st = nullptr;
  KvpiOptFlowPyrLK_8u* small = nullptr;
  ASSERT_EQ(kvpiOpticalFlowPyrLKInitAlloc_8u_C1R(&st, sz, 9), kvpStsOk);
  ASSERT_EQ(kvpiOpticalFlowPyrLKInitAlloc_8u_C1R(&small, {39, 30}, 9), kvpStsOk);
  const KvpiPoint_32f prev[2] = {{10, 10}, {20, 12}};
  KvpiPoint_32f next[2] = {{10, 10}, {20, 12}};
  Kvp8s status[2] = {5, 5};
  Kvp32f err[2] = {-1, -1};
  Kvp8u* keepImage = a->rec->pImage[1];
  struct Row {
    const char* what;
    std::function<void()> spoil;
    int numFeat, win, maxLev, maxIter;
    float thr;
    KvpStatus want;
    bool nullPrev = false, nullStatus = false, useSmall = false, useC = false, useShort = false;
  };
  auto none = [] {};
  const std::vector<Row> rows = {
      {"null prev", none, 0, 0, -1, 0, -1, kvpStsNullPtr, true},
      {"null status", none, 0, 0, -1, 0, -1, kvpStsNullPtr, false, true},
      {"numFeat 0", none, 0, 4, -1, 0, -1, kvpStsBadSize},
      {"win 1", none, 2, 1, -1, 0, -1, kvpStsBadSize},
      {"win above state", none, 2, 11, -1, 0, -1, kvpStsBadSize},
      {"win 4", none, 2, 4, 0, 1, 0, kvpStsBadArg},
      {"maxLev -1", none, 2, 5, -1, 1, 0, kvpStsBadArg},
      {"maxIter 0", none, 2, 5, 0, 0, 0, kvpStsBadArg},
      {"threshold -1", none, 2, 5, 0, 1, -1, kvpStsBadArg},
      {"threshold NaN", none, 2, 5, 0, 1, std::nanf(""), kvpStsBadArg},
      {"null roi array", [&] { b->rec->pRoi = nullptr; }, 2, 5, 9, 1, 0, kvpStsNullPtr},
      {"short pyramid", none, 2, 5, 2, 1, 0, kvpStsError, false, false, false, false, true},
      {"null level image", [&] { a->rec->pImage[1] = nullptr; }, 2, 5, 2, 1, 0, kvpStsNullPtr},
      {"level 0 sizes differ", none, 2, 5, 2, 1, 0, kvpStsError, false, false, false, true},
      {"level 1 sizes differ", [&] { b->rec->pRoi[1].height = 14; }, 2, 5, 2, 1, 0, kvpStsError},
      {"level 1 null beats level-2 rate",
       [&] {
         a->rec->pImage[1] = nullptr;
         a->rec->pRate[2] = 3;
       },
       2, 5, 2, 1, 0, kvpStsNullPtr},
      {"step short", [&] { b->rec->pStep[1] = 19; }, 2, 5, 2, 1, 0, kvpStsError},
      {"rate not growing", [&] { a->rec->pRate[2] = b->rec->pRate[2] = 2; }, 2, 5, 2, 1, 0, kvpStsError},
      {"rate 0 not one", [&] { a->rec->pRate[0] = b->rec->pRate[0] = 0.5; }, 2, 5, 0, 1, 0, kvpStsError},
      {"rates differ", [&] { a->rec->pRate[1] = 2.5; }, 2, 5, 1, 1, 0, kvpStsError},
      {"roi beyond state", none, 2, 5, 1, 1, 0, kvpStsBadSize, false, false, true},
  };
  for (const Row& r : rows) {
    // Fresh records for every row.
    auto fa = build8(a->levels[0], sz, 2), fb = build8(b->levels[0], sz, 2);
    std::swap(a, fa);
    std::swap(b, fb);
    r.spoil();
    const KvpiPyramid* p2 = r.useC ? c->rec : b->rec;
    const KvpiPyramid* p1 = r.useShort ? shortPyr->rec : a->rec;
    EXPECT_EQ(kvpiOpticalFlowPyrLK_8u_C1R(p1, p2, r.nullPrev ? nullptr : prev, next,
                                          r.nullStatus ? nullptr : status, err, r.numFeat, r.win, r.maxLev,
                                          r.maxIter, r.thr, r.useSmall ? small : st),
              r.want)
        << r.what;
    EXPECT_EQ(next[0].x, 10.0f);
    EXPECT_EQ(status[0], 5);
    EXPECT_EQ(err[0], -1.0f);
  }
  (void)keepImage;
  EXPECT_EQ(kvpiOpticalFlowPyrLK_8u_C1R(a->rec, b->rec, prev, next, status, err, 2, 9, 2, 1, 0, nullptr),
            kvpStsNullPtr);
  EXPECT_EQ(kvpiOpticalFlowPyrLK_8u_C1R(a->rec, nullptr, prev, next, status, err, 2, 9, 2, 1, 0, st),
            kvpStsNullPtr);
  // pError may be null; pNext may alias pPrev.
  KvpiPoint_32f same[2] = {{10, 10}, {20, 12}};
  EXPECT_EQ(kvpiOpticalFlowPyrLK_8u_C1R(a->rec, b->rec, same, same, status, nullptr, 2, 9, 2, 5, 0.01f, st),
            kvpStsOk);
  EXPECT_EQ(status[0], 1);
  kvpiOpticalFlowPyrLKFree_8u_C1R(st);
  kvpiOpticalFlowPyrLKFree_8u_C1R(small);
}

}  // namespace

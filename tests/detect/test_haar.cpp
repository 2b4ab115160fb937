// Haar classifier stages: all six Apply forms against haar_ref.h bit for
// bit on random stages, tables, norms and masks at every thread count and
// vector target; the worked cases (hand example, tilted sums on the
// library's tilted table, scale factors, window sizes, geometry changes,
// mixed tables); every status in check order with nothing written on
// failure.
#include <cmath>
#include <limits>
#include <memory>

#include "haar_ref.h"
#include "harness.h"
#include "targets.h"

namespace {

using kvt::Plane;

// ---- the six Apply forms behind one shape --------------------------------------------

enum class Member { F32, S32F32, S32 };

struct Form {
  const char* name;
  Member member;
  bool mixed;
};

const Form kForms[] = {{"32f", Member::F32, false},
                       {"32s32f", Member::S32F32, false},
                       {"32s Sfs", Member::S32, false},
                       {"mixed 32f", Member::F32, true},
                       {"mixed 32s32f", Member::S32F32, true},
                       {"mixed 32s Sfs", Member::S32, true}};

// A state of either weight type with a deleter.
struct State {
  KvpiHaarClassifier_32f* f = nullptr;
  KvpiHaarClassifier_32s* s = nullptr;
  State() = default;
  State(const State&) = delete;
  ~State() {
    if (f) kvpiHaarClassifierFree_32f(f);
    if (s) kvpiHaarClassifierFree_32s(s);
  }
};

// Builds the library state of a reference stage (geometry per classifier
// set by TiltHaarFeatures after an upright InitAlloc).
template <class W>
KvpStatus build(const haarref::Stage<W>& st, State& out) {
  const int n = (int)st.num.size();
  KvpStatus r;
  if constexpr (std::is_same_v<W, float>) {
    r = kvpiHaarClassifierInitAlloc_32f(&out.f, st.rect.data(), st.weight.data(), st.threshold.data(),
                                        st.val1.data(), st.val2.data(), st.num.data(), n);
    if (r == kvpStsOk) r = kvpiTiltHaarFeatures_32f(st.tilted.data(), 1, out.f);
  } else {
    r = kvpiHaarClassifierInitAlloc_32s(&out.s, st.rect.data(), st.weight.data(), st.threshold.data(),
                                        st.val1.data(), st.val2.data(), st.num.data(), n);
    if (r == kvpStsOk) r = kvpiTiltHaarFeatures_32s(st.tilted.data(), 1, out.s);
  }
  return r;
}

// Random stage: 1..maxLen classifiers of 1..3 rectangles, some tilted.
template <class W>
haarref::Stage<W> randomStage(kvt::Rng& rng, int maxLen, bool allowTilted) {
  haarref::Stage<W> s;
  std::uniform_int_distribution<int> len(1, maxLen), cnt(1, 3), pos(0, 6), ext(1, 5), coin(0, 3);
  const int n = len(rng);
  for (int i = 0; i < n; ++i) {
    const bool t = allowTilted && coin(rng) == 0;
    s.tilted.push_back(t);
    const int k = cnt(rng);
    s.num.push_back(k);
    for (int r = 0; r < k; ++r) {
      KvpiRect q{pos(rng), pos(rng), ext(rng), ext(rng)};
      if (t) q.x += q.height;  // left corner inside the window
      s.rect.push_back(q);
      if constexpr (std::is_same_v<W, float>)
        s.weight.push_back((float)((int)(rng() % 9) - 4) * 0.75f);
      else
        s.weight.push_back((int32_t)(rng() % 19) - 9);
    }
    if constexpr (std::is_same_v<W, float>) {
      s.threshold.push_back((float)((int)(rng() % 200) - 100) / 16.f);
      s.val1.push_back((float)((int)(rng() % 100) - 50) / 8.f);
      s.val2.push_back((float)((int)(rng() % 100) - 50) / 8.f);
    } else {
      s.threshold.push_back((int32_t)(rng() % 2001) - 1000);
      s.val1.push_back((int32_t)(rng() % 201) - 100);
      s.val2.push_back((int32_t)(rng() % 201) - 100);
    }
  }
  return s;
}

// Everything one call reads and writes, laid out with padded steps.
struct Scene {
  KvpiSize roi, window;
  Plane<Kvp32f> f, ft, nf;
  Plane<Kvp32s> s, st, ns;
  Plane<Kvp8u> mask;
  Scene(KvpiSize r, KvpiSize w, kvt::Rng& rng)
      : roi(r),
        window(w),
        f(r.width + w.width, r.height + w.height, 1, rng),
        ft(r.width + w.width, r.height + w.height, 1, rng),
        nf(r.width, r.height, 1, rng),
        s(r.width + w.width, r.height + w.height, 1, rng),
        st(r.width + w.width, r.height + w.height, 1, rng),
        ns(r.width, r.height, 1, rng),
        mask(r.width, r.height, 1, rng) {
    std::uniform_int_distribution<int> small(-600, 600), m(0, 9);
    f.fill([&] { return (float)small(rng) / 4.f; });
    ft.fill([&] { return (float)small(rng) / 4.f; });
    s.fill([&] { return (int32_t)(uint32_t)rng(); });  // wrapped tables
    st.fill([&] { return (int32_t)(uint32_t)rng(); });
    nf.fill([&] { return (float)(small(rng) % 40) / 8.f; });
    ns.fill([&] { return small(rng) % 50; });
    mask.fill([&] { return m(rng) < 4 ? 0 : (m(rng) < 5 ? 7 : 255); });
    // Windows that are not candidates may hold anything in their norm.
    for (int y = 0; y < r.height; ++y)
      for (int x = 0; x < r.width; ++x)
        if (!mask.at(x, y)) nf.at(x, y) = std::numeric_limits<float>::quiet_NaN();
  }
};

// One Apply call of a form on raw tables (the state of its weight type).
KvpStatus applyRaw(const Form& fm, const void* src, int ss, const void* tl, int ts, const void* nrm, int ns,
                   Kvp8u* m, int ms, KvpiSize roi, int* pos, float thrF, int32_t thrS,
                   KvpiHaarClassifier_32f* f, KvpiHaarClassifier_32s* s, int sf) {
  auto* s32 = static_cast<const Kvp32s*>(src);
  auto* t32 = static_cast<const Kvp32s*>(tl);
  switch (fm.member) {
    case Member::F32:
      return fm.mixed ? kvpiApplyMixedHaarClassifier_32f_C1R((const Kvp32f*)src, ss, (const Kvp32f*)tl, ts,
                                                             (const Kvp32f*)nrm, ns, m, ms, roi, pos, thrF, f)
                      : kvpiApplyHaarClassifier_32f_C1R((const Kvp32f*)src, ss, (const Kvp32f*)nrm, ns, m, ms,
                                                        roi, pos, thrF, f);
    case Member::S32F32:
      return fm.mixed ? kvpiApplyMixedHaarClassifier_32s32f_C1R(s32, ss, t32, ts, (const Kvp32f*)nrm, ns, m,
                                                                ms, roi, pos, thrF, f)
                      : kvpiApplyHaarClassifier_32s32f_C1R(s32, ss, (const Kvp32f*)nrm, ns, m, ms, roi, pos,
                                                           thrF, f);
    default:
      return fm.mixed ? kvpiApplyMixedHaarClassifier_32s_C1RSfs(s32, ss, t32, ts, (const Kvp32s*)nrm, ns, m,
                                                                ms, roi, pos, thrS, s, sf)
                      : kvpiApplyHaarClassifier_32s_C1RSfs(s32, ss, (const Kvp32s*)nrm, ns, m, ms, roi, pos,
                                                           thrS, s, sf);
  }
}

// One Apply call of a form on a scene (mask given separately).
KvpStatus callForm(const Form& fm, Scene& sc, Plane<Kvp8u>& mask, int* pos, const State& state, float thrF,
                   int32_t thrS, int sf) {
  const bool f = fm.member == Member::F32, s = fm.member == Member::S32;
  return applyRaw(fm, f ? (const void*)sc.f.roi() : sc.s.roi(), f ? sc.f.step() : sc.s.step(),
                  f ? (const void*)sc.ft.roi() : sc.st.roi(), f ? sc.ft.step() : sc.st.step(),
                  s ? (const void*)sc.ns.roi() : sc.nf.roi(), s ? sc.ns.step() : sc.nf.step(), mask.roi(),
                  mask.step(), sc.roi, pos, thrF, thrS, state.f, state.s, sf);
}

// The reference on the same scene.
int refForm(const Form& fm, Scene& sc, Plane<Kvp8u>& mask, const haarref::Stage<float>& sfl,
            const haarref::Stage<int32_t>& sint, float thrF, int32_t thrS, int sf) {
  switch (fm.member) {
    case Member::F32:
      return haarref::apply(sfl, sc.f.roi(), sc.f.step(), sc.ft.roi(), sc.ft.step(), fm.mixed, sc.nf.roi(),
                            sc.nf.step(), mask.roi(), mask.step(), sc.roi, thrF);
    case Member::S32F32:
      return haarref::apply(sfl, sc.s.roi(), sc.s.step(), sc.st.roi(), sc.st.step(), fm.mixed, sc.nf.roi(),
                            sc.nf.step(), mask.roi(), mask.step(), sc.roi, thrF);
    default:
      return haarref::apply(sint, sc.s.roi(), sc.s.step(), sc.st.roi(), sc.st.step(), fm.mixed, sc.ns.roi(),
                            sc.ns.step(), mask.roi(), mask.step(), sc.roi, thrS, sf);
  }
}

// Random stages, tables, norms and masks: every form equals the reference
// at every thread count, and only rejected candidates change.
TEST(Haar, MatchesReferenceAtEveryThreadCount) {
  auto rng = kvt::makeRng(21);
  const std::vector<KvpiSize> sizes =
      kvt::smallRun()
          ? std::vector<KvpiSize>{{1, 1}, {7, 1}, {17, 9}, {64, 3}}
          : std::vector<KvpiSize>{{1, 1}, {1, 7}, {7, 1}, {17, 9}, {64, 3}, {127, 65}, {333, 41}, {300, 200}};
  for (KvpiSize roi : sizes)
    for (int rep = 0; rep < 3; ++rep) {
      // Long stages (past the stack table of corner offsets) on small ROIs.
      const int maxLen = rep < 2 ? 12 : (roi.width * roi.height < 5000 ? 450 : 40);
      const auto sfl = randomStage<float>(rng, maxLen, true);
      auto sint = randomStage<int32_t>(rng, maxLen, true);
      const KvpiSize wf = haarref::windowOf(sfl), wi = haarref::windowOf(sint);
      const KvpiSize w{std::max(wf.width, wi.width), std::max(wf.height, wi.height)};
      Scene sc(roi, w, rng);
      if (rep == 1)  // candidates on the even grid only, as a detector's scan leaves them
        for (int y = 0; y < roi.height; ++y)
          for (int x = 1; x < roi.width; x += 2) {
            sc.mask.at(x, y) = 0;
            sc.nf.at(x, y) = std::numeric_limits<float>::quiet_NaN();
          }
      State stf, sts;
      ASSERT_EQ(kvpStsOk, build(sfl, stf));
      ASSERT_EQ(kvpStsOk, build(sint, sts));
      const float thrF = (float)((int)(rng() % 40) - 20) / 4.f;
      const int32_t thrS = (int32_t)(rng() % 200) - 100;
      const int sf = (int)(rng() % 21) - 10;
      for (const Form& fm : kForms) {
        SCOPED_TRACE(::testing::Message() << fm.name << " " << kvt::describe(roi) << " rep " << rep);
        Plane<Kvp8u> want = sc.mask;
        const int wantPos = refForm(fm, sc, want, sfl, sint, thrF, thrS, sf);
        for (int64_t tg : kvt::vectorTargets())
          for (int t : kvt::threadCounts()) {
            kvt::Target target(tg);
            kvt::Threads scope(t);
            Plane<Kvp8u> got = sc.mask;
            const auto before = got.bytes();
            int pos = -5;
            ASSERT_EQ(kvpStsOk,
                      callForm(fm, sc, got, &pos, fm.member == Member::S32 ? sts : stf, thrF, thrS, sf));
            EXPECT_EQ(wantPos, pos) << t << " threads, " << kvt::targetName(tg);
            EXPECT_TRUE(kvt::sameRoi(got, want)) << t << " threads, " << kvt::targetName(tg);
            EXPECT_TRUE(got.sameOutsideRoi(before));
          }
      }
    }
}

// Image rows {0, 1} and {2, 3}: one classifier over the pixel itself.
TEST(Haar, HandExample) {
  const float table[9] = {0, 0, 0, 0, 0, 1, 0, 2, 6};  // upright integral, val 0
  const float norm[4] = {1, 1, 1, 1};
  const KvpiRect rect{0, 0, 1, 1};
  const int num = 1;
  struct Case {
    float pThreshold, stage;
    uint8_t want[4];
    int positive;
  };
  const Case cases[] = {{0.5f, 0.f, {0, 255, 255, 255}, 3},
                        {0.5f, -1.f, {255, 255, 255, 255}, 4},
                        {1.f, 0.f, {0, 255, 255, 255}, 3},  // F = 1 is not below 1
                        {1.5f, 0.f, {0, 0, 255, 255}, 2}};
  for (const Case& c : cases) {
    const float w = 1.f, v1 = -1.f, v2 = 1.f;
    KvpiHaarClassifier_32f* s = nullptr;
    ASSERT_EQ(kvpStsOk, kvpiHaarClassifierInitAlloc_32f(&s, &rect, &w, &c.pThreshold, &v1, &v2, &num, 1));
    uint8_t mask[4] = {255, 255, 255, 255};
    int pos = 0;
    ASSERT_EQ(kvpStsOk,
              kvpiApplyHaarClassifier_32f_C1R(table, 12, norm, 8, mask, 2, {2, 2}, &pos, c.stage, s));
    EXPECT_EQ(0, std::memcmp(mask, c.want, 4)) << c.pThreshold << " " << c.stage;
    EXPECT_EQ(c.positive, pos);
    kvpiHaarClassifierFree_32f(s);
  }
}

// The library's tilted table of an integer image, by its recurrence.
std::vector<int64_t> tiltedTable(const std::vector<int64_t>& img, int w, int h) {
  std::vector<int64_t> t((size_t)(w + 2) * (h + 2), 0);
  auto T = [&](int y, int x) -> int64_t& { return t[(size_t)y * (w + 2) + x]; };
  auto px = [&](int y, int x) -> int64_t {
    return (x < 0 || x >= w || y < 0 || y >= h) ? 0 : img[(size_t)y * w + x];
  };
  for (int y = 2; y < h + 2; ++y) {
    T(y, 0) = T(y - 1, 1);
    for (int j = 1; j <= w; ++j)
      T(y, j) = T(y - 1, j - 1) + T(y - 1, j + 1) - T(y - 2, j) + px(y - 2, j - 1) + px(y - 2, j);
    T(y, w + 1) = T(y - 1, w);
  }
  return t;
}

// Tilted rectangles on a 4 x 5 image of distinct powers of two: the sum
// names exactly the pixels it covers. The integer member with N = 1 and
// thresholds sum and sum + 1 brackets the sum exactly.
TEST(Haar, TiltedSumsCoverTheDocumentedPixels) {
  const int w = 4, h = 5;
  std::vector<int64_t> img(w * h);
  for (int i = 0; i < w * h; ++i) img[i] = int64_t(1) << i;
  const auto t64 = tiltedTable(img, w, h);
  std::vector<int32_t> tab(t64.size());
  for (size_t i = 0; i < t64.size(); ++i) tab[i] = (int32_t)t64[i];
  auto bit = [&](int r, int c) { return int64_t(1) << (r * w + c); };
  struct Case {
    KvpiRect rect;
    int64_t want;
  };
  const Case cases[] = {
      {{1, 0, 1, 1}, bit(0, 0) + bit(0, 1)},
      {{2, 0, 2, 2},
       bit(0, 1) + bit(0, 2) + bit(1, 0) + bit(1, 1) + bit(1, 2) + bit(1, 3) + bit(2, 1) + bit(2, 2)},
  };
  for (const Case& c : cases) {
    const haarref::Table<int32_t> ref{tab.data(), (w + 2) * 4};
    EXPECT_EQ(c.want, haarref::rectSum(ref, 0, 0, c.rect, true));
    for (int64_t thr : {c.want, c.want + 1}) {
      const int32_t weight = 1, t32 = (int32_t)thr, v1 = 1, v2 = -1, one = 1, num = 1;
      KvpiHaarClassifier_32s* s = nullptr;
      ASSERT_EQ(kvpStsOk,
                kvpiTiltedHaarClassifierInitAlloc_32s(&s, &c.rect, &weight, &t32, &v1, &v2, &num, 1));
      uint8_t mask = 1;
      int pos = -1;
      ASSERT_EQ(kvpStsOk, kvpiApplyHaarClassifier_32s_C1RSfs(tab.data(), (w + 2) * 4, &one, 4, &mask, 1,
                                                             {1, 1}, &pos, 0, s, 0));
      EXPECT_EQ(thr == c.want ? 0 : 1, mask) << "threshold " << thr;  // sum < threshold votes +1
      kvpiHaarClassifierFree_32s(s);
    }
  }
}

// F = 3, threshold 5, N = 1 under different scale factors; sums across a
// wrapped table stay exact.
TEST(Haar, ScaleFactorsAndWrappedTables) {
  const KvpiRect rect{0, 0, 1, 1};
  const int32_t w = 1, thr = 5, v1 = 10, v2 = -10, num = 1, one = 1;
  KvpiHaarClassifier_32s* s = nullptr;
  ASSERT_EQ(kvpStsOk, kvpiHaarClassifierInitAlloc_32s(&s, &rect, &w, &thr, &v1, &v2, &num, 1));
  // Corners around the wrap: 0x7fffffff - 0 - (-0x80000000 + 1) + ... sum = 3.
  const int32_t base = INT32_MAX - 1;
  const int32_t tab[4] = {base, (int32_t)((uint32_t)base + 10u), (int32_t)((uint32_t)base + 100u),
                          (int32_t)((uint32_t)base + 113u)};  // (b - (b+10)) - (b+100) + (b+113) = 3
  struct Case {
    int sf;
    KvpStatus st;
    uint8_t mask;
  };
  const Case cases[] = {{0, kvpStsOk, 1},   {1, kvpStsOk, 0},      {-1, kvpStsOk, 1},     {31, kvpStsOk, 0},
                        {-31, kvpStsOk, 1}, {32, kvpStsBadArg, 1}, {-32, kvpStsBadArg, 1}};
  for (const Case& c : cases) {
    uint8_t mask = 1;
    int pos = -3;
    EXPECT_EQ(c.st, kvpiApplyHaarClassifier_32s_C1RSfs(tab, 8, &one, 4, &mask, 1, {1, 1}, &pos, 0, s, c.sf))
        << c.sf;
    EXPECT_EQ(c.mask, mask) << c.sf;
    EXPECT_EQ(c.st == kvpStsOk ? (int)c.mask : -3, pos) << c.sf;
  }
  kvpiHaarClassifierFree_32s(s);
}

// Window sizes, geometry changes, and the mixed tables.
TEST(Haar, WindowSizeAndGeometry) {
  const KvpiRect up[2] = {{0, 0, 3, 2}, {2, 5, 4, 1}};
  const float wts[2] = {1, 1}, thr[2] = {0, 0}, v[2] = {1, 1};
  const int nums[2] = {1, 1};
  KvpiHaarClassifier_32f* s = nullptr;
  ASSERT_EQ(kvpStsOk, kvpiHaarClassifierInitAlloc_32f(&s, up, wts, thr, v, v, nums, 2));
  KvpiSize size{};
  ASSERT_EQ(kvpStsOk, kvpiGetHaarClassifierSize_32f(s, &size));
  EXPECT_EQ(6, size.width);
  EXPECT_EQ(6, size.height);
  // Tilting {0, 0, 3, 2} is invalid (x - height < 0): nothing changes.
  const uint8_t first[2] = {1, 0}, both[2] = {1, 1};
  EXPECT_EQ(kvpStsBadSize, kvpiTiltHaarFeatures_32f(first, 1, s));
  EXPECT_EQ(kvpStsBadArg, kvpiTiltHaarFeatures_32f(first, 2, s));
  EXPECT_EQ(kvpStsNullPtr, kvpiTiltHaarFeatures_32f(nullptr, 7, s));
  ASSERT_EQ(kvpStsOk, kvpiGetHaarClassifierSize_32f(s, &size));
  EXPECT_EQ(6, size.height);
  EXPECT_EQ(kvpStsOk, kvpiTiltHaarFeatures_32f(both, 0, s));
  kvpiHaarClassifierFree_32f(s);

  const KvpiRect t{2, 0, 2, 2};
  const int32_t wi = 1, ti = 0, vi = 1, ni = 1;
  KvpiHaarClassifier_32s* ts = nullptr;
  ASSERT_EQ(kvpStsOk, kvpiTiltedHaarClassifierInitAlloc_32s(&ts, &t, &wi, &ti, &vi, &vi, &ni, 1));
  ASSERT_EQ(kvpStsOk, kvpiGetHaarClassifierSize_32s(ts, &size));
  EXPECT_EQ(4, size.width);
  EXPECT_EQ(4, size.height);
  ASSERT_EQ(kvpStsOk, kvpiTiltHaarFeatures_32s(both, 0, ts));
  ASSERT_EQ(kvpStsOk, kvpiGetHaarClassifierSize_32s(ts, &size));
  EXPECT_EQ(4, size.width);
  EXPECT_EQ(2, size.height);
  EXPECT_EQ(kvpStsNullPtr, kvpiGetHaarClassifierSize_32s(ts, nullptr));
  EXPECT_EQ(kvpStsNullPtr, kvpiGetHaarClassifierSize_32f(nullptr, &size));
  kvpiHaarClassifierFree_32s(ts);
}

// Mixed reads each classifier from its own table: swapping the tables
// changes the result, and an all-tilted stage gives the plain Apply's mask
// on the tilted table whatever the upright table holds.
TEST(Haar, MixedTables) {
  auto rng = kvt::makeRng(5);
  haarref::Stage<float> st;
  st.rect = {{0, 0, 2, 2}, {3, 1, 2, 2}};
  st.weight = {1.f, 1.f};
  st.num = {1, 1};
  st.tilted = {0, 1};
  st.threshold = {10.f, 10.f};
  st.val1 = {1.f, 1.f};
  st.val2 = {0.f, 0.f};
  const KvpiSize roi{40, 30};
  Scene sc(roi, {8, 8}, rng);
  for (int y = 0; y < sc.f.height(); ++y)
    for (int x = 0; x < sc.f.width(); ++x) {
      sc.f.at(x, y) = (float)(x + y);        // small sums: upright votes 1
      sc.ft.at(x, y) = (float)(40 * x * y);  // large sums: tilted votes 0
    }
  State s;
  ASSERT_EQ(kvpStsOk, build(st, s));
  Plane<Kvp8u> a = sc.mask, b = sc.mask;
  int pa = 0, pb = 0;
  ASSERT_EQ(kvpStsOk, kvpiApplyMixedHaarClassifier_32f_C1R(sc.f.roi(), sc.f.step(), sc.ft.roi(), sc.ft.step(),
                                                           sc.nf.roi(), sc.nf.step(), a.roi(), a.step(), roi,
                                                           &pa, 1.5f, s.f));
  ASSERT_EQ(kvpStsOk, kvpiApplyMixedHaarClassifier_32f_C1R(sc.ft.roi(), sc.ft.step(), sc.f.roi(), sc.f.step(),
                                                           sc.nf.roi(), sc.nf.step(), b.roi(), b.step(), roi,
                                                           &pb, 1.5f, s.f));
  EXPECT_FALSE(kvt::sameRoi(a, b));

  st.tilted = {1, 1};
  st.rect[0].x = 2;
  State all;
  ASSERT_EQ(kvpStsOk, build(st, all));
  Plane<Kvp8u> plain = sc.mask, mixed = sc.mask;
  ASSERT_EQ(kvpStsOk, kvpiApplyHaarClassifier_32f_C1R(sc.ft.roi(), sc.ft.step(), sc.nf.roi(), sc.nf.step(),
                                                      plain.roi(), plain.step(), roi, &pa, 0.5f, all.f));
  ASSERT_EQ(kvpStsOk, kvpiApplyMixedHaarClassifier_32f_C1R(sc.f.roi(), sc.f.step(), sc.ft.roi(), sc.ft.step(),
                                                           sc.nf.roi(), sc.nf.step(), mixed.roi(),
                                                           mixed.step(), roi, &pb, 0.5f, all.f));
  EXPECT_TRUE(kvt::sameRoi(plain, mixed));
  EXPECT_EQ(pa, pb);
}

TEST(Haar, InitAllocStatuses) {
  const KvpiRect good{2, 1, 2, 2};
  struct Case {
    const char* what;
    int nullArg;  // 1..7
    std::vector<int> num;
    KvpiRect bad;  // replaces the last rectangle when width != 0
    bool tilted;
    KvpStatus want;
  };
  const Case cases[] = {
      {"ok", 0, {2, 1}, {}, false, kvpStsOk},
      {"ok tilted", 0, {1, 2}, {}, true, kvpStsOk},
      {"null out", 1, {1}, {}, false, kvpStsNullPtr},
      {"null num before length", 7, {0}, {}, false, kvpStsNullPtr},
      {"length 0", 0, {}, {}, false, kvpStsBadSize},
      {"num {2, 0}", 0, {2, 0}, {}, false, kvpStsBadSize},
      {"width 0", 0, {1, 1}, {0, 0, 0, 1}, false, kvpStsBadSize},
      {"negative x", 0, {1, 1}, {-1, 0, 1, 1}, false, kvpStsBadSize},
      {"tilted corner left of anchor", 0, {1, 1}, {1, 0, 1, 2}, true, kvpStsBadSize},
      {"extent past int", 0, {1, 1}, {2, 0, 2147483647, 1}, false, kvpStsBadSize},
      {"tilted extent past int", 0, {1, 1}, {47, 2147483600, 1, 47}, true, kvpStsBadSize},
      {"tilted extent at int", 0, {1, 1}, {46, 2147483600, 1, 46}, true, kvpStsOk},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    int total = 0;
    for (int n : c.num) total += std::max(n, 0);
    haarref::Stage<float> st;
    st.rect.assign(std::max(total, 1), good);
    if (c.bad.width || c.bad.height) st.rect.back() = c.bad;
    st.weight.assign(st.rect.size(), 1.f);
    st.num = c.num.empty() ? std::vector<int>{1} : c.num;
    st.threshold.assign(st.num.size(), 0.f);
    st.val1 = st.val2 = st.threshold;
    const int length = (int)c.num.size();
    EXPECT_EQ(c.want, haarref::initStatus(st, c.nullArg != 0, length, c.tilted));
    auto n = [&](int i, auto* p) { return c.nullArg == i ? nullptr : p; };
    KvpiHaarClassifier_32f* sentinel = reinterpret_cast<KvpiHaarClassifier_32f*>(&st);
    KvpiHaarClassifier_32f* s = sentinel;
    auto fn = c.tilted ? kvpiTiltedHaarClassifierInitAlloc_32f : kvpiHaarClassifierInitAlloc_32f;
    const KvpStatus got =
        fn(n(1, &s), n(2, st.rect.data()), n(3, st.weight.data()), n(4, st.threshold.data()),
           n(5, st.val1.data()), n(6, st.val2.data()), n(7, st.num.data()), length);
    EXPECT_EQ(c.want, got);
    if (got == kvpStsOk) {
      EXPECT_EQ(kvpStsOk, kvpiHaarClassifierFree_32f(s));
    } else {
      EXPECT_EQ(sentinel, s);
    }
    // The integer InitAlloc applies the same rules.
    std::vector<int32_t> wi(st.rect.size(), 1), ti(st.num.size(), 0);
    KvpiHaarClassifier_32s* si = nullptr;
    auto fi = c.tilted ? kvpiTiltedHaarClassifierInitAlloc_32s : kvpiHaarClassifierInitAlloc_32s;
    EXPECT_EQ(c.want, fi(n(1, &si), n(2, st.rect.data()), n(3, wi.data()), n(4, ti.data()), n(5, ti.data()),
                         n(6, ti.data()), n(7, st.num.data()), length));
    if (si) kvpiHaarClassifierFree_32s(si);
  }
  EXPECT_EQ(kvpStsNullPtr, kvpiHaarClassifierFree_32f(nullptr));
  EXPECT_EQ(kvpStsNullPtr, kvpiHaarClassifierFree_32s(nullptr));
}

// Apply's statuses in order for every form; on failure neither the mask
// nor *pPositive changes.
TEST(Haar, ApplyStatusesWriteNothing) {
  auto rng = kvt::makeRng(8);
  haarref::Stage<float> sfl = randomStage<float>(rng, 3, false);
  haarref::Stage<int32_t> sint = randomStage<int32_t>(rng, 3, false);
  State stf, sts;
  ASSERT_EQ(kvpStsOk, build(sfl, stf));
  ASSERT_EQ(kvpStsOk, build(sint, sts));
  const KvpiSize wf = haarref::windowOf(sfl), wi = haarref::windowOf(sint);
  const KvpiSize roi{5, 4};
  struct Case {
    const char* what;
    int nullArg;  // 1 src, 2 tilt, 3 norm, 4 mask, 5 positive, 6 state
    KvpiSize roi;
    int dSrc, dTilt, dNorm, maskStep;  // step changes
    int sf;
  };
  const int ok = 0;
  const Case cases[] = {
      {"null state, empty roi", 6, {0, 0}, ok, ok, ok, 5, 0},
      {"null positive", 5, roi, ok, ok, ok, 5, 0},
      {"null mask", 4, roi, -1, ok, ok, 5, 0},
      {"null tilt", 2, roi, ok, ok, ok, 5, 0},
      {"empty roi", 0, {5, 0}, -4, ok, ok, 5, 0},
      {"src step short by 4", 0, roi, -4, ok, ok, 5, 99},
      {"tilt step short", 0, roi, ok, -4, ok, 5, 0},
      {"norm step short", 0, roi, ok, ok, -4, 5, 0},
      {"mask step short", 0, roi, ok, ok, ok, 4, 0},
      {"norm step + 2", 0, roi, ok, ok, 2, 5, 0},
      {"src step + 1", 0, roi, 1, ok, ok, 5, 0},
      {"odd mask step", 0, roi, ok, ok, ok, 7, 0},
      {"sf 32", 0, roi, ok, ok, ok, 5, 32},
      {"sf -32", 0, roi, ok, ok, ok, 5, -32},
  };
  for (const Form& fm : kForms)
    for (const Case& c : cases) {
      SCOPED_TRACE(::testing::Message() << fm.name << ": " << c.what);
      const bool integer = fm.member == Member::S32;
      const KvpiSize wForm = integer ? wi : wf;
      const int base = (roi.width + wForm.width) * 4;
      const int srcStep = base + c.dSrc, tiltStep = base + c.dTilt, normStep = roi.width * 4 + c.dNorm;
      std::vector<uint8_t> tables(16 * 1024, 0), mask(64, 255);
      std::vector<uint8_t> maskBefore = mask;
      const bool anyNull = c.nullArg != 0 && (c.nullArg != 2 || fm.mixed);
      const KvpStatus want = haarref::applyStatus(anyNull, c.roi, wForm, fm.mixed, srcStep, tiltStep,
                                                  normStep, c.maskStep, integer, c.sf);
      const void* src = c.nullArg == 1 ? nullptr : tables.data();
      const void* tl = c.nullArg == 2 ? nullptr : tables.data() + 4096;
      const void* nrm = c.nullArg == 3 ? nullptr : tables.data() + 8192;
      uint8_t* m = c.nullArg == 4 ? nullptr : mask.data();
      int positive = -77;
      int* pos = c.nullArg == 5 ? nullptr : &positive;
      const bool noState = c.nullArg == 6;
      const KvpStatus got =
          applyRaw(fm, src, srcStep, tl, tiltStep, nrm, normStep, m, c.maskStep, c.roi, pos, 1e30f, INT32_MAX,
                   noState ? nullptr : stf.f, noState ? nullptr : sts.s, c.sf);
      EXPECT_EQ(want, got);
      if (want != kvpStsOk) {
        EXPECT_EQ(maskBefore, mask);
        EXPECT_EQ(-77, positive);
      } else {
        EXPECT_EQ(0, positive);  // the stage threshold cannot be reached
      }
    }
}

}  // namespace

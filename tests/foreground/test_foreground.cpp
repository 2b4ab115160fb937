// Background models: masks and reference backgrounds of whole sequences
// against the per-pixel references of foreground_ref.h, bit for bit at
// every thread count; the worked cases of both models; every status in
// check order with nothing written and no state changed on failure.
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>

#include "foreground_ref.h"
#include "harness.h"

namespace {

using kvt::Plane;

// A synthetic camera: textured background, noise, two moving rectangles,
// a darkened band (shadow-like), and from frame `changeAt` on a lasting
// change of one corner.
struct Scene {
  int w, h, C;
  std::vector<uint8_t> bg;
  kvt::Rng rng;
  int noise;
  Scene(int width, int height, int channels, uint64_t seed, int noiseAmp = 6)
      : w(width),
        h(height),
        C(channels),
        bg((size_t)width * height * channels),
        rng(kvt::makeRng(seed)),
        noise(noiseAmp) {
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        for (int c = 0; c < C; ++c)
          bg[((size_t)y * w + x) * C + c] =
              (uint8_t)(110 + 70 * std::sin(x * 0.21 + c) * std::cos(y * 0.17 - c));
  }
  Plane<Kvp8u> frame(int t, kvt::Rng& layout) {
    Plane<Kvp8u> f(w, h, C, layout);
    std::uniform_int_distribution<int> n(-noise, noise);
    const int rx = (t * 5) % (w + 20) - 10, ry = h / 4, rw = std::max(2, w / 5), rh = std::max(2, h / 3);
    const int sx = w - 1 - (t * 3) % (w + 10), sy = h / 2;
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        for (int c = 0; c < C; ++c) {
          int v = bg[((size_t)y * w + x) * C + c] + n(rng);
          if (x >= rx && x < rx + rw && y >= ry && y < ry + rh) v = 30 + 60 * c + ((x + y) & 7);
          if (x >= sx && x < sx + rw && y >= sy && y < sy + rh) v = 240 - 50 * c;
          if (y >= h - std::max(1, h / 6) && x < w / 2 && (t & 4)) v = v * 6 / 10;
          if (t >= 6 && x > 2 * w / 3 && y < h / 3) v = 255 - v;
          f.at(x, y, c) = (Kvp8u)std::clamp(v, 0, 255);
        }
    return f;
  }
};

const std::vector<KvpiSize>& seqSizes() {
  static const std::vector<KvpiSize> all = {{1, 1}, {7, 5}, {33, 17}, {263, 251}};
  static const std::vector<KvpiSize> small = {{1, 1}, {7, 5}, {33, 17}};
  return kvt::smallRun() ? small : all;
}

KvpFGHistogramModel histVariant(int i) {
  KvpFGHistogramModel m = fgref::histDefaults();
  switch (i) {
    case 1:  // short tables, fast learning: replacement, promotion, absorption
      m = {4, 3, 1, 2, 2, 3, 0.4f, 0.3f, 0, 0.1f, 0.6f, 0, 12};
      break;
    case 2:  // shadows, training frames, fine quantisation
      m.shadowBG = 1, m.numFrame = 3, m.valueQuant = 256, m.changeQuant = 40, m.diffThreshold = 8;
      m.brightnessDistortion = 0.4f, m.detectionRate = 0.3f;
      break;
    case 3:  // one entry each, full rates
      m = {2, 2, 1, 1, 1, 1, 1.f, 1.f, 1, 0.f, 0.f, 1, 1};
      break;
    default:
      break;
  }
  return m;
}

KvpFGGaussianModel gaussVariant(int i) {
  KvpFGGaussianModel m = fgref::gaussDefaults();
  switch (i) {
    case 1:
      m.numGauss = 1;
      break;
    case 2:
      m.numGauss = 3, m.updBGProb = 0.1f, m.shadowBG = 1, m.numFrame = 2, m.brightnessDistortion = 0.3f,
      m.detectionRate = 0.5f;
      break;
    case 3:
      m.numGauss = 8, m.winSize = 3, m.priorBack = 1.f, m.noiseSigma = 2.f;
      break;
    case 4:
      m.updBGProb = 0.f, m.priorBack = 0.3f;  // frame 1 learns, later frames only classify
      break;
    default:
      break;
  }
  return m;
}

// Expected masks and backgrounds of a sequence (frames 2..), packed rows.
struct Expected {
  std::vector<std::vector<uint8_t>> masks, refs;
};

template <class T>
::testing::AssertionResult samePacked(const Plane<T>& got, const std::vector<uint8_t>& want) {
  const size_t row = (size_t)got.width() * got.channels();
  for (int y = 0; y < got.height(); ++y)
    if (std::memcmp(got.row(y), want.data() + row * y, row) != 0)
      return ::testing::AssertionFailure() << "row " << y << " differs";
  return ::testing::AssertionSuccess();
}

// Frames of a scene; the big size gets fewer of them.
std::vector<Plane<Kvp8u>> sequence(KvpiSize sz, int C, uint64_t seed, int noise, int count) {
  Scene scene(sz.width, sz.height, C, seed, noise);
  kvt::Rng layout = kvt::makeRng(seed + 1);
  std::vector<Plane<Kvp8u>> frames;
  const int n = (long long)sz.width * sz.height > 10000 ? 5 : count;
  for (int t = 1; t <= n; ++t) frames.push_back(scene.frame(t, layout));
  return frames;
}

// Histogram model: classification and update of every frame, the
// reference run once, the library at one and two threads (the big size
// is above the two-thread threshold and has an odd row count).
TEST(Foreground, HistogramMatchesReference) {
  for (int C : {1, 3})
    for (int v = 0; v < 4; ++v)
      for (KvpiSize sz : seqSizes()) {
        SCOPED_TRACE(::testing::Message() << "C" << C << " variant " << v << " " << kvt::describe(sz));
        const KvpFGHistogramModel m = histVariant(v);
        const auto frames = sequence(sz, C, 7 + v, 6, 12);
        Expected e;
        fgref::Histogram ref(C, m, sz.width, sz.height, frames[0].roi(), frames[0].step());
        for (size_t t = 1; t < frames.size(); ++t) {
          e.masks.emplace_back((size_t)sz.width * sz.height);
          e.refs.emplace_back((size_t)sz.width * sz.height * C);
          ref.classify(frames[t].roi(), frames[t].step(), e.masks.back().data(), sz.width);
          ref.update(frames[t].roi(), frames[t].step(), e.refs.back().data(), sz.width * C);
        }
        kvt::Rng layout = kvt::makeRng(3);
        for (int threads : {1, 2}) {
          kvt::Threads scope(threads);
          KvpiFGHistogramState* st = nullptr;
          ASSERT_EQ(kvpStsOk, (C == 1 ? kvpiForegroundHistogramInitAlloc_8u_C1R
                                      : kvpiForegroundHistogramInitAlloc_8u_C3R)(
                                  frames[0].roi(), frames[0].step(), sz, v ? &m : nullptr, &st));
          for (size_t t = 1; t < frames.size(); ++t) {
            const Plane<Kvp8u>& f = frames[t];
            Plane<Kvp8u> mask(sz.width, sz.height, 1, layout), bg(sz.width, sz.height, C, layout);
            const auto before = mask.bytes(), bgBefore = bg.bytes();
            ASSERT_EQ(kvpStsOk, (C == 1 ? kvpiForegroundHistogram_8u_C1R : kvpiForegroundHistogram_8u_C3R)(
                                    st, f.roi(), f.step(), mask.roi(), mask.step()));
            ASSERT_TRUE(samePacked(mask, e.masks[t - 1]))
                << "frame " << t + 1 << ", " << threads << " threads";
            ASSERT_TRUE(mask.sameOutsideRoi(before));
            ASSERT_EQ(kvpStsOk,
                      (C == 1 ? kvpiForegroundHistogramUpdate_8u_C1R : kvpiForegroundHistogramUpdate_8u_C3R)(
                          f.roi(), f.step(), bg.roi(), bg.step(), sz, st));
            ASSERT_TRUE(samePacked(bg, e.refs[t - 1])) << "frame " << t + 1 << ", " << threads << " threads";
            ASSERT_TRUE(bg.sameOutsideRoi(bgBefore));
          }
          EXPECT_EQ(kvpStsOk, kvpiForegroundHistogramFree(st));
        }
      }
}

// Gaussian model: masks and reference backgrounds of every frame.
TEST(Foreground, GaussianMatchesReference) {
  for (int C : {1, 3})
    for (int v = 0; v < 5; ++v)
      for (KvpiSize sz : seqSizes()) {
        SCOPED_TRACE(::testing::Message() << "C" << C << " variant " << v << " " << kvt::describe(sz));
        const KvpFGGaussianModel m = gaussVariant(v);
        const auto frames = sequence(sz, C, 17 + v, 12, 14);
        Expected e;
        fgref::Gaussian ref(C, m, sz.width, sz.height, frames[0].roi(), frames[0].step());
        for (size_t t = 1; t < frames.size(); ++t) {
          e.masks.emplace_back((size_t)sz.width * sz.height);
          e.refs.emplace_back((size_t)sz.width * sz.height * C);
          ref.apply(frames[t].roi(), frames[t].step(), e.refs.back().data(), sz.width * C,
                    e.masks.back().data(), sz.width);
        }
        kvt::Rng layout = kvt::makeRng(4);
        for (int threads : {1, 2}) {
          kvt::Threads scope(threads);
          KvpiFGGaussianState* st = nullptr;
          ASSERT_EQ(kvpStsOk, (C == 1 ? kvpiForegroundGaussianInitAlloc_8u_C1R
                                      : kvpiForegroundGaussianInitAlloc_8u_C3R)(
                                  frames[0].roi(), frames[0].step(), sz, v ? &m : nullptr, &st));
          for (size_t t = 1; t < frames.size(); ++t) {
            const Plane<Kvp8u>& f = frames[t];
            Plane<Kvp8u> mask(sz.width, sz.height, 1, layout), bg(sz.width, sz.height, C, layout);
            const auto before = mask.bytes(), bgBefore = bg.bytes();
            ASSERT_EQ(kvpStsOk, (C == 1 ? kvpiForegroundGaussian_8u_C1R : kvpiForegroundGaussian_8u_C3R)(
                                    f.roi(), f.step(), bg.roi(), bg.step(), mask.roi(), mask.step(), sz, st));
            ASSERT_TRUE(samePacked(mask, e.masks[t - 1]))
                << "frame " << t + 1 << ", " << threads << " threads";
            ASSERT_TRUE(samePacked(bg, e.refs[t - 1])) << "frame " << t + 1;
            ASSERT_TRUE(mask.sameOutsideRoi(before));
            ASSERT_TRUE(bg.sameOutsideRoi(bgBefore));
          }
          EXPECT_EQ(kvpStsOk, kvpiForegroundGaussianFree(st));
        }
      }
}

// One-pixel sequences with values worked out by hand.
struct OnePixel {
  int C;
  std::vector<std::vector<uint8_t>> frames;  // frame 1 first
  std::vector<uint8_t> masks;                // frames 2..
  std::vector<uint8_t> refs;                 // first channel of pRef, frames 2.. (empty: not checked)
};

TEST(Foreground, GaussianWorkedCases) {
  KvpFGGaussianModel one = fgref::gaussDefaults();
  one.numGauss = 1;
  struct Case {
    const char* what;
    const KvpFGGaussianModel* model;
    OnePixel seq;
  };
  const Case cases[] = {
      // 100, 100: matched, variance 450; 200: no match, new record 1 with
      // weight 0.05 below the leading one: foreground.
      {"defaults", nullptr, {1, {{100}, {100}, {200}}, {0, 255}, {100, 100}}},
      // One record: an unmatched value replaces it and is background.
      {"one component", &one, {1, {{100}, {10}, {250}, {40}}, {0, 0, 0}, {10, 250, 40}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const auto& f = c.seq.frames;
    KvpiFGGaussianState* st = nullptr;
    auto fn = c.seq.C == 1 ? kvpiForegroundGaussian_8u_C1R : kvpiForegroundGaussian_8u_C3R;
    ASSERT_EQ(kvpStsOk,
              (c.seq.C == 1 ? kvpiForegroundGaussianInitAlloc_8u_C1R
                            : kvpiForegroundGaussianInitAlloc_8u_C3R)(f[0].data(), 3, {1, 1}, c.model, &st));
    for (size_t t = 1; t < f.size(); ++t) {
      uint8_t mask = 7, ref[3] = {};
      ASSERT_EQ(kvpStsOk, fn(f[t].data(), 3, ref, 3, &mask, 1, {1, 1}, st));
      EXPECT_EQ(c.seq.masks[t - 1], mask) << "frame " << t + 1;
      EXPECT_EQ(c.seq.refs[t - 1], ref[0]) << "frame " << t + 1;
    }
    kvpiForegroundGaussianFree(st);
  }
  // The state after frames 1 and 2 of the first case.
  const uint8_t v100 = 100;
  fgref::Gaussian ref(1, fgref::gaussDefaults(), 1, 1, &v100, 1);
  uint8_t mask, bg;
  ref.apply(&v100, 1, &bg, 1, &mask, 1);
  EXPECT_EQ(1.f, ref.record(0, 0, 0).weight);
  EXPECT_EQ(100.f, ref.record(0, 0, 0).mean[0]);
  EXPECT_EQ(450.f, ref.record(0, 0, 0).var[0]);
}

// Shadows: a background (100, 120, 140) seen darker by 0.6 is background,
// with a changed hue or darker than half it is foreground.
TEST(Foreground, ShadowTest) {
  const float R[3] = {100, 120, 140};
  const float same[3] = {60, 72, 84}, hue[3] = {60, 72, 120}, dark[3] = {30, 36, 42};
  EXPECT_TRUE(fgref::shadow(3, same, R, 0.5f, 0.1f));
  EXPECT_FALSE(fgref::shadow(3, hue, R, 0.5f, 0.1f));
  EXPECT_FALSE(fgref::shadow(3, dark, R, 0.5f, 0.1f));
  KvpFGGaussianModel m = fgref::gaussDefaults();
  m.shadowBG = 1, m.brightnessDistortion = 0.5f, m.detectionRate = 0.1f;
  KvpFGHistogramModel h = fgref::histDefaults();
  h.shadowBG = 1, h.brightnessDistortion = 0.5f, h.detectionRate = 0.1f, h.numFrame = 0;
  const uint8_t bg[3] = {100, 120, 140};
  const uint8_t seen[3][3] = {{60, 72, 84}, {60, 72, 120}, {30, 36, 42}};
  const uint8_t want[3] = {0, 255, 255};
  for (int i = 0; i < 3; ++i) {
    // Sixty frames of the background shrink the variances so that the
    // darker colours do not match.
    KvpiFGGaussianState* g = nullptr;
    ASSERT_EQ(kvpStsOk, kvpiForegroundGaussianInitAlloc_8u_C3R(bg, 3, {1, 1}, &m, &g));
    uint8_t mask = 1, ref[3];
    for (int t = 0; t < 60; ++t)
      ASSERT_EQ(kvpStsOk, kvpiForegroundGaussian_8u_C3R(bg, 3, ref, 3, &mask, 1, {1, 1}, g));
    ASSERT_EQ(kvpStsOk, kvpiForegroundGaussian_8u_C3R(seen[i], 3, ref, 3, &mask, 1, {1, 1}, g));
    EXPECT_EQ(want[i], mask) << "Gaussian " << i;
    kvpiForegroundGaussianFree(g);
    KvpiFGHistogramState* s = nullptr;
    ASSERT_EQ(kvpStsOk, kvpiForegroundHistogramInitAlloc_8u_C3R(bg, 3, {1, 1}, &h, &s));
    mask = 1;
    ASSERT_EQ(kvpStsOk, kvpiForegroundHistogram_8u_C3R(s, seen[i], 3, &mask, 1));
    EXPECT_EQ(want[i], mask) << "histogram " << i;
    kvpiForegroundHistogramFree(s);
  }
}

// Histogram absorption of a lasting change (one pixel, 10 then 200).
TEST(Foreground, HistogramAbsorbsLastingChange) {
  const KvpFGHistogramModel m = {2, 2, 1, 2, 1, 2, 0.5f, 0.005f, 0, 0.1f, 0.6f, 0, 100};
  const uint8_t v10 = 10, v200 = 200;
  KvpiFGHistogramState* s = nullptr;
  ASSERT_EQ(kvpStsOk, kvpiForegroundHistogramInitAlloc_8u_C1R(&v10, 1, {1, 1}, &m, &s));
  fgref::Histogram ref(1, m, 1, 1, &v10, 1);
  const uint8_t masks[] = {255, 255, 0, 0, 0};
  const uint8_t refs[] = {10, 10, 200, 200, 200};
  for (int i = 0; i < 5; ++i) {
    uint8_t mask = 9, bg = 9;
    ASSERT_EQ(kvpStsOk, kvpiForegroundHistogram_8u_C1R(s, &v200, 1, &mask, 1));
    EXPECT_EQ(masks[i], mask) << "frame " << i + 2;
    ASSERT_EQ(kvpStsOk, kvpiForegroundHistogramUpdate_8u_C1R(&v200, 1, &bg, 1, {1, 1}, s));
    EXPECT_EQ(refs[i], bg) << "frame " << i + 2;
    ref.update(&v200, 1, &bg, 1);
    const auto& t = ref.pixel(0, 0).table[0];
    if (i == 0) {  // Pb 0.5, {0: 0.5, 0.5}, {1: 0.5, 0}
      EXPECT_EQ(0.5f, ref.pixel(0, 0).pb[0]);
      EXPECT_EQ(0u, t[0].code);
      EXPECT_EQ(0.5f, t[0].pvb);
      EXPECT_EQ(1u, t[1].code);
      EXPECT_EQ(0.f, t[1].pvb);
    }
    if (i == 1) {  // roles swapped: Pb 0.75, {1: 0.75, 0.75}, {0: 0.25, 0}
      EXPECT_EQ(0.75f, ref.pixel(0, 0).pb[0]);
      EXPECT_EQ(1u, t[0].code);
      EXPECT_EQ(0.75f, t[0].pv);
      EXPECT_EQ(0.75f, t[0].pvb);
      EXPECT_EQ(0.f, t[1].pvb);
    }
  }
  kvpiForegroundHistogramFree(s);
}

// Constant scenes stay background; training frames give empty masks.
TEST(Foreground, ConstantSceneAndTraining) {
  kvt::Rng rng = kvt::makeRng(9);
  Plane<Kvp8u> f(37, 11, 3, rng);
  f.fill([&] { return rng() % 256; });
  KvpiFGHistogramState* h = nullptr;
  KvpiFGGaussianState* g = nullptr;
  ASSERT_EQ(kvpStsOk, kvpiForegroundHistogramInitAlloc_8u_C3R(f.roi(), f.step(), f.size(), nullptr, &h));
  ASSERT_EQ(kvpStsOk, kvpiForegroundGaussianInitAlloc_8u_C3R(f.roi(), f.step(), f.size(), nullptr, &g));
  for (int t = 2; t < 30; ++t) {
    Plane<Kvp8u> m1(37, 11, 1, rng), m2(37, 11, 1, rng), r1(37, 11, 3, rng), r2(37, 11, 3, rng);
    ASSERT_EQ(kvpStsOk, kvpiForegroundHistogram_8u_C3R(h, f.roi(), f.step(), m1.roi(), m1.step()));
    ASSERT_EQ(kvpStsOk,
              kvpiForegroundHistogramUpdate_8u_C3R(f.roi(), f.step(), r1.roi(), r1.step(), f.size(), h));
    ASSERT_EQ(kvpStsOk, kvpiForegroundGaussian_8u_C3R(f.roi(), f.step(), r2.roi(), r2.step(), m2.roi(),
                                                      m2.step(), f.size(), g));
    for (int y = 0; y < 11; ++y)
      for (int x = 0; x < 37; ++x) {
        ASSERT_EQ(0, m1.at(x, y));
        ASSERT_EQ(0, m2.at(x, y));
      }
    ASSERT_TRUE(kvt::sameRoi(r1, f));
    ASSERT_TRUE(kvt::sameRoi(r2, f));
  }
  kvpiForegroundHistogramFree(h);
  kvpiForegroundGaussianFree(g);
  // Training: numFrame 3 masks frames 2 and 3 whatever they hold.
  KvpFGGaussianModel gm = fgref::gaussDefaults();
  gm.numFrame = 3;
  const uint8_t frames[4] = {0, 255, 0, 255};
  ASSERT_EQ(kvpStsOk, kvpiForegroundGaussianInitAlloc_8u_C1R(&frames[0], 1, {1, 1}, &gm, &g));
  for (int t = 1; t < 4; ++t) {
    uint8_t mask = 7, bg;
    ASSERT_EQ(kvpStsOk, kvpiForegroundGaussian_8u_C1R(&frames[t], 1, &bg, 1, &mask, 1, {1, 1}, g));
    EXPECT_EQ(t < 3 ? 0 : 255, mask) << "frame " << t + 1;
  }
  kvpiForegroundGaussianFree(g);
}

// The rate 0 leaves the model as it is: two different frames after it
// change nothing that a third frame would see.
TEST(Foreground, GaussianRateZeroKeepsModel) {
  KvpFGGaussianModel m = fgref::gaussDefaults();
  m.updBGProb = 0.f;
  const uint8_t a[4] = {10, 200, 30, 90}, b[4] = {250, 0, 30, 91}, c[4] = {12, 190, 99, 70};
  KvpiFGGaussianState *s1 = nullptr, *s2 = nullptr;
  ASSERT_EQ(kvpStsOk, kvpiForegroundGaussianInitAlloc_8u_C1R(a, 2, {2, 2}, &m, &s1));
  ASSERT_EQ(kvpStsOk, kvpiForegroundGaussianInitAlloc_8u_C1R(a, 2, {2, 2}, &m, &s2));
  uint8_t mask1[4], mask2[4], ref1[4], ref2[4];
  ASSERT_EQ(kvpStsOk, kvpiForegroundGaussian_8u_C1R(b, 2, ref1, 2, mask1, 2, {2, 2}, s1));
  ASSERT_EQ(kvpStsOk, kvpiForegroundGaussian_8u_C1R(c, 2, ref1, 2, mask1, 2, {2, 2}, s1));
  ASSERT_EQ(kvpStsOk, kvpiForegroundGaussian_8u_C1R(c, 2, ref2, 2, mask2, 2, {2, 2}, s2));
  EXPECT_EQ(0, std::memcmp(mask1, mask2, 4));
  EXPECT_EQ(0, std::memcmp(ref1, ref2, 4));
  EXPECT_EQ(0, std::memcmp(ref1, a, 4));
  kvpiForegroundGaussianFree(s1);
  kvpiForegroundGaussianFree(s2);
}

TEST(Foreground, InitAllocStatuses) {
  const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
  using H = KvpFGHistogramModel;
  const std::vector<std::pair<const char*, std::function<void(H&)>>> badHist = {
      {"valueQuant 1", [](H& m) { m.valueQuant = 1; }},
      {"valueQuant 257", [](H& m) { m.valueQuant = 257; }},
      {"changeQuant 41", [](H& m) { m.changeQuant = 41; }},  // C3 only
      {"valueAll < valueUse", [](H& m) { m.valueAll = 5; }},
      {"valueAll 65", [](H& m) { m.valueAll = 65; }},
      {"changeUse 0", [](H& m) { m.changeUse = 0; }},
      {"changeAll 65", [](H& m) { m.changeAll = 65; }},
      {"updBGChange 0", [](H& m) { m.updBGChange = 0.f; }},
      {"updBGRef NaN", [nan](H& m) { m.updBGRef = nan; }},
      {"updBGRef 1.5", [](H& m) { m.updBGRef = 1.5f; }},
      {"numFrame -1", [](H& m) { m.numFrame = -1; }},
      {"detectionRate inf", [inf](H& m) { m.detectionRate = inf; }},
      {"brightness 1", [](H& m) { m.brightnessDistortion = 1.f; }},
      {"diffThreshold 0", [](H& m) { m.diffThreshold = 0; }},
      {"diffThreshold 256", [](H& m) { m.diffThreshold = 256; }},
  };
  using G = KvpFGGaussianModel;
  const std::vector<std::pair<const char*, std::function<void(G&)>>> badGauss = {
      {"numGauss 9", [](G& m) { m.numGauss = 9; }},
      {"numGauss 0", [](G& m) { m.numGauss = 0; }},
      {"priorBack NaN", [nan](G& m) { m.priorBack = nan; }},
      {"priorBack 0", [](G& m) { m.priorBack = 0.f; }},
      {"updBGProb 1", [](G& m) { m.updBGProb = 1.f; }},
      {"updBGProb -inf", [inf](G& m) { m.updBGProb = -inf; }},
      {"winSize 0", [](G& m) { m.winSize = 0; }},
      {"brightness -0.1", [](G& m) { m.brightnessDistortion = -0.1f; }},
      {"noiseSigma 0", [](G& m) { m.noiseSigma = 0.f; }},
  };
  const uint8_t px[12] = {};
  for (int C : {1, 3}) {
    auto hInit = C == 1 ? kvpiForegroundHistogramInitAlloc_8u_C1R : kvpiForegroundHistogramInitAlloc_8u_C3R;
    auto gInit = C == 1 ? kvpiForegroundGaussianInitAlloc_8u_C1R : kvpiForegroundGaussianInitAlloc_8u_C3R;
    for (const auto& [what, edit] : badHist) {
      H m = fgref::histDefaults();
      edit(m);
      const KvpStatus want = fgref::validHist(m, C) ? kvpStsOk : kvpStsBadArg;
      if (std::strcmp(what, "changeQuant 41") != 0 || C == 3) {
        EXPECT_EQ(kvpStsBadArg, want) << what;
      }
      KvpiFGHistogramState* s = reinterpret_cast<KvpiFGHistogramState*>(&m);
      EXPECT_EQ(want, hInit(px, 2 * C, {2, 2}, &m, &s)) << what << " C" << C;
      if (want == kvpStsOk) {
        kvpiForegroundHistogramFree(s);
      } else {
        EXPECT_EQ(reinterpret_cast<KvpiFGHistogramState*>(&m), s);
      }
    }
    for (const auto& [what, edit] : badGauss) {
      G m = fgref::gaussDefaults();
      edit(m);
      EXPECT_FALSE(fgref::validGauss(m)) << what;
      KvpiFGGaussianState* s = reinterpret_cast<KvpiFGGaussianState*>(&m);
      EXPECT_EQ(kvpStsBadArg, gInit(px, 2 * C, {2, 2}, &m, &s)) << what;
      EXPECT_EQ(reinterpret_cast<KvpiFGGaussianState*>(&m), s);
    }
    // The common order: pointers, size, step, model.
    H bad = fgref::histDefaults();
    bad.valueQuant = 0;
    KvpiFGHistogramState* hs = nullptr;
    KvpiFGGaussianState* gs = nullptr;
    EXPECT_EQ(kvpStsNullPtr, hInit(nullptr, 0, {0, 0}, &bad, &hs));
    EXPECT_EQ(kvpStsNullPtr, gInit(px, 0, {0, 0}, nullptr, nullptr));
    EXPECT_EQ(kvpStsBadSize, hInit(px, 0, {0, 2}, &bad, &hs));
    EXPECT_EQ(kvpStsBadSize, gInit(px, 0, {2, -1}, nullptr, &gs));
    EXPECT_EQ(kvpStsBadStep, hInit(px, 2 * C - 1, {2, 2}, &bad, &hs));
    EXPECT_EQ(kvpStsBadStep, gInit(px, 2 * C - 1, {2, 2}, nullptr, &gs));
    EXPECT_EQ(kvpStsBadArg, hInit(px, 2 * C, {2, 2}, &bad, &hs));
    EXPECT_EQ(nullptr, hs);
    EXPECT_EQ(nullptr, gs);
  }
  EXPECT_EQ(kvpStsNullPtr, kvpiForegroundHistogramFree(nullptr));
  EXPECT_EQ(kvpStsNullPtr, kvpiForegroundGaussianFree(nullptr));
}

// Working-call statuses in order; a failing call writes nothing and leaves
// the state as it was (the next successful frame matches a state that
// never saw the failures).
TEST(Foreground, WorkingStatusesLeaveStateAlone) {
  kvt::Rng rng = kvt::makeRng(2);
  for (int C : {1, 3}) {
    Plane<Kvp8u> f1(9, 4, C, rng), f2(9, 4, C, rng);
    f1.fill([&] { return rng() % 256; });
    f2.fill([&] { return rng() % 256; });
    const KvpiSize sz = f1.size();
    KvpiFGHistogramState *h = nullptr, *hRef = nullptr, *hOther = nullptr;
    KvpiFGGaussianState *g = nullptr, *gRef = nullptr;
    auto hInit = C == 1 ? kvpiForegroundHistogramInitAlloc_8u_C1R : kvpiForegroundHistogramInitAlloc_8u_C3R;
    auto gInit = C == 1 ? kvpiForegroundGaussianInitAlloc_8u_C1R : kvpiForegroundGaussianInitAlloc_8u_C3R;
    auto hOtherInit =
        C == 1 ? kvpiForegroundHistogramInitAlloc_8u_C3R : kvpiForegroundHistogramInitAlloc_8u_C1R;
    ASSERT_EQ(kvpStsOk, hInit(f1.roi(), f1.step(), sz, nullptr, &h));
    ASSERT_EQ(kvpStsOk, hInit(f1.roi(), f1.step(), sz, nullptr, &hRef));
    ASSERT_EQ(kvpStsOk, hOtherInit(f1.roi(), f1.step(), {3, 4}, nullptr, &hOther));
    ASSERT_EQ(kvpStsOk, gInit(f1.roi(), f1.step(), sz, nullptr, &g));
    ASSERT_EQ(kvpStsOk, gInit(f1.roi(), f1.step(), sz, nullptr, &gRef));
    auto hClass = C == 1 ? kvpiForegroundHistogram_8u_C1R : kvpiForegroundHistogram_8u_C3R;
    auto hUpd = C == 1 ? kvpiForegroundHistogramUpdate_8u_C1R : kvpiForegroundHistogramUpdate_8u_C3R;
    auto gApply = C == 1 ? kvpiForegroundGaussian_8u_C1R : kvpiForegroundGaussian_8u_C3R;
    Plane<Kvp8u> mask(9, 4, 1, rng), ref(9, 4, C, rng);
    const int ss = f2.step(), rs = ref.step(), ms = mask.step();
    struct Case {
      const char* what;
      int nullArg;  // 1 src, 2 ref/fg, 3 mask, 4 state
      bool otherState;
      KvpiSize roi;
      int srcStep, refStep, fgStep;
    };
    const Case cases[] = {
        {"null src", 1, false, sz, ss, rs, ms},
        {"null state before size", 4, false, {0, 0}, ss, rs, ms},
        {"null ref before tag", 2, true, sz, ss, rs, ms},
        {"other state before size", 0, true, {0, 0}, 0, 0, 0},
        {"size 0", 0, false, {0, 4}, ss, rs, ms},
        {"src step", 0, false, sz, 9 * C - 1, rs, ms},
        {"ref step", 0, false, sz, ss, 9 * C - 1, ms},
        {"fg step", 0, false, sz, ss, rs, 8},
        {"steps before state size", 0, false, {10, 4}, ss, rs, ms},
        {"state size", 0, false, {9, 3}, ss, rs, ms},
        {"state size 2", 0, false, {8, 4}, ss, rs, ms},
    };
    for (const Case& c : cases) {
      SCOPED_TRACE(std::string(c.what) + " C" + std::to_string(C));
      const bool anyNull = c.nullArg != 0;
      KvpiFGHistogramState* hs = c.nullArg == 4 ? nullptr : (c.otherState ? hOther : h);
      KvpiFGGaussianState* gs =
          c.nullArg == 4 ? nullptr : (c.otherState ? reinterpret_cast<KvpiFGGaussianState*>(hOther) : g);
      const Kvp8u* src = c.nullArg == 1 ? nullptr : f2.roi();
      Kvp8u* r = c.nullArg == 2 ? nullptr : ref.roi();
      Kvp8u* m = c.nullArg == 3 ? nullptr : mask.roi();
      const KvpStatus wantUpd = fgref::workStatus(anyNull && c.nullArg != 3, !c.otherState, c.roi, sz, C,
                                                  c.srcStep, c.refStep, 0, false);
      const KvpStatus wantG =
          fgref::workStatus(anyNull, !c.otherState, c.roi, sz, C, c.srcStep, c.refStep, c.fgStep, true);
      EXPECT_NE(kvpStsOk, wantG);
      const auto rb = ref.bytes(), mb = mask.bytes();
      EXPECT_EQ(wantG, gApply(src, c.srcStep, r, c.refStep, m, c.fgStep, c.roi, gs));
      EXPECT_TRUE(ref.unchanged(rb));
      EXPECT_TRUE(mask.unchanged(mb));
      if (wantUpd == kvpStsOk) {
        // Update takes no mask: the mask step case succeeds; the twin learns
        // the same frame.
        Plane<Kvp8u> twin(9, 4, C, rng);
        ASSERT_EQ(kvpStsOk, hUpd(src, c.srcStep, twin.roi(), twin.step(), c.roi, hRef));
      }
      EXPECT_EQ(wantUpd, hUpd(src, c.srcStep, r, c.refStep, c.roi, hs));
      if (wantUpd != kvpStsOk) {
        EXPECT_TRUE(ref.unchanged(rb));
      }
      const KvpStatus wantCls = fgref::classifyStatus(c.nullArg == 1 || c.nullArg == 3 || c.nullArg == 4,
                                                      !c.otherState, 9, C, c.srcStep, c.fgStep);
      const auto mb2 = mask.bytes();
      const KvpStatus gotCls = hClass(hs, src, c.srcStep, m, c.fgStep);
      EXPECT_EQ(wantCls, gotCls);
      if (gotCls != kvpStsOk) {
        EXPECT_TRUE(mask.unchanged(mb2));
      }
    }
    // Free refuses a state of the other model.
    EXPECT_EQ(kvpStsBadArg, kvpiForegroundGaussianFree(reinterpret_cast<KvpiFGGaussianState*>(hOther)));
    // After all the failures, the states answer like untouched ones.
    Plane<Kvp8u> m1(9, 4, 1, rng), m2(9, 4, 1, rng), r1(9, 4, C, rng), r2(9, 4, C, rng);
    ASSERT_EQ(kvpStsOk, hUpd(f2.roi(), f2.step(), r1.roi(), r1.step(), sz, h));
    ASSERT_EQ(kvpStsOk, hUpd(f2.roi(), f2.step(), r2.roi(), r2.step(), sz, hRef));
    EXPECT_TRUE(kvt::sameRoi(r1, r2));
    ASSERT_EQ(kvpStsOk, gApply(f2.roi(), f2.step(), r1.roi(), r1.step(), m1.roi(), m1.step(), sz, g));
    ASSERT_EQ(kvpStsOk, gApply(f2.roi(), f2.step(), r2.roi(), r2.step(), m2.roi(), m2.step(), sz, gRef));
    EXPECT_TRUE(kvt::sameRoi(m1, m2));
    EXPECT_TRUE(kvt::sameRoi(r1, r2));
    for (auto* p : {h, hRef, hOther}) EXPECT_EQ(kvpStsOk, kvpiForegroundHistogramFree(p));
    for (auto* p : {g, gRef}) EXPECT_EQ(kvpStsOk, kvpiForegroundGaussianFree(p));
  }
}

}  // namespace

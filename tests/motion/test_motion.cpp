// Motion history update against the per-pixel reference of motion_ref.h.
#include <bit>
#include <cmath>
#include <functional>
#include <limits>

#include "harness.h"
#include "motion_ref.h"
#include "targets.h"

namespace {

using kvt::Plane;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

template <class S>
using MotionFn = KvpStatus (*)(const S*, int, Kvp32f*, int, KvpiSize, Kvp32f, Kvp32f);

// Silhouette values: mostly still, with every kind of moving value, and
// for float the values whose comparison with zero is easy to get wrong.
template <class S>
S randomSilhouette(kvt::Rng& rng) {
  const unsigned k = rng() % 10;
  if constexpr (std::is_floating_point_v<S>) {
    switch (k) {
      case 0:
        return -0.f;  // still
      case 1:
        return kNaN;  // moving
      case 2:
        return std::bit_cast<float>(0xffc00001u);  // negative NaN with payload: moving
      case 3:
        return std::numeric_limits<float>::denorm_min();  // moving
      case 4:
        return -kInf;
      case 5:
        return std::uniform_real_distribution<float>(-1e3f, 1e3f)(rng);
      default:
        return 0.f;
    }
  } else {
    switch (k) {
      case 0:
        return S(1);
      case 1:
        return std::numeric_limits<S>::max();
      case 2:
        return S(0x80);
      case 3:
        return S(1 + rng() % std::numeric_limits<S>::max());
      default:
        return S(0);
    }
  }
}

// History values clustered around the limit, plus the special values.
float randomHistory(kvt::Rng& rng, float ts, float limit) {
  switch (rng() % 14) {
    case 0:
      return limit;  // kept
    case 1:
      return std::nextafter(limit, -kInf);  // just below: cleared
    case 2:
      return std::nextafter(limit, kInf);  // kept
    case 3:
      return kNaN;  // kept
    case 4:
      return std::bit_cast<float>(0xff800123u);  // signalling-pattern NaN, kept bit for bit
    case 5:
      return -0.f;
    case 6:
      return kInf;
    case 7:
      return -kInf;
    case 8:
      return ts;
    case 9:
      return std::numeric_limits<float>::denorm_min();
    default: {
      const float span =
          std::isfinite(limit) && std::isfinite(ts) ? std::fmin(std::fabs(ts - limit) + 1.f, 1e36f) : 100.f;
      const float c = std::isfinite(limit) ? limit : 0.f;
      return std::uniform_real_distribution<float>(c - 2 * span, c + 2 * span)(rng);
    }
  }
}

struct Stamp {
  float ts, dur;
};

// Time stamps and durations: ordinary ones and the edges (zero duration,
// -0.0 duration, a limit that underflows to a huge negative, infinities,
// NaN stamps or durations, which make the limit NaN so that every still
// history is kept).
const std::vector<Stamp>& stamps() {
  static const std::vector<Stamp> s = {
      {100.25f, 10.5f}, {5.f, 0.f},  {5.f, -0.f}, {-3.5f, 2.f}, {-0.f, 1.f}, {1e30f, 3e38f},
      {0.1f, 0.2f},     {7.f, kInf}, {kInf, 1.f}, {kNaN, 1.f},  {3.f, kNaN}, {16777216.f, 1.f},
  };
  return s;
}

template <class S>
void checkMember(MotionFn<S> f, uint64_t salt) {
  kvt::Rng rng = kvt::makeRng(salt);
  size_t i = 0;
  for (KvpiSize sz : kvt::sizeSweep()) {
    const Stamp st = stamps()[i++ % stamps().size()];
    const float limit = st.ts - st.dur;
    SCOPED_TRACE(kvt::describe(sz) + " ts " + std::to_string(st.ts) + " dur " + std::to_string(st.dur));
    Plane<S> sil(sz.width, sz.height, 1, rng);
    Plane<Kvp32f> mhi(sz.width, sz.height, 1, rng);
    sil.fill([&] { return randomSilhouette<S>(rng); });
    mhi.fill([&] { return randomHistory(rng, st.ts, limit); });

    Plane<Kvp32f> expect = mhi;
    for (int y = 0; y < sz.height; ++y)
      for (int x = 0; x < sz.width; ++x)
        expect.at(x, y) = mr::update(sil.at(x, y), mhi.at(x, y), st.ts, limit);

    const auto silBefore = sil.bytes();
    for (int64_t t : kvt::vectorTargets()) {
      kvt::Target target(t);
      Plane<Kvp32f> out = mhi;
      const auto before = out.bytes();
      ASSERT_EQ(kvpStsOk, f(sil.roi(), sil.step(), out.roi(), out.step(), sz, st.ts, st.dur));
      ASSERT_TRUE(kvt::sameRoi(out, expect)) << kvt::targetName(t);
      ASSERT_TRUE(out.sameOutsideRoi(before));
      ASSERT_TRUE(sil.unchanged(silBefore));
    }
  }
}

TEST(MotionHistory, MatchesReference8u) { checkMember<Kvp8u>(kvpiUpdateMotionHistory_8u32f_C1IR, 1); }
TEST(MotionHistory, MatchesReference16u) { checkMember<Kvp16u>(kvpiUpdateMotionHistory_16u32f_C1IR, 2); }
TEST(MotionHistory, MatchesReference32f) { checkMember<Kvp32f>(kvpiUpdateMotionHistory_32f_C1IR, 3); }

// Row steps that share no alignment: every start offset of the ROI against
// the vector width, both planes padded independently, widths around the
// vector blocks of every silhouette type.
template <class S>
void checkOffsets(MotionFn<S> f) {
  kvt::Rng rng = kvt::makeRng(4 + sizeof(S));
  for (int w = 1; w <= 70; ++w)
    for (int off = 0; off < 4; ++off) {
      Plane<S> sil(w, 3, 1, rng, (int)sizeof(S) * ((w + off) % 7), (off * 5) % 16);
      Plane<Kvp32f> mhi(w, 3, 1, rng, 4 * ((w + off) % 5), off);
      sil.fill([&] { return randomSilhouette<S>(rng); });
      mhi.fill([&] { return randomHistory(rng, 9.f, 4.f); });
      Plane<Kvp32f> expect = mhi;
      for (int y = 0; y < 3; ++y)
        for (int x = 0; x < w; ++x) expect.at(x, y) = mr::update(sil.at(x, y), mhi.at(x, y), 9.f, 4.f);
      for (int64_t t : kvt::vectorTargets()) {
        kvt::Target target(t);
        Plane<Kvp32f> out = mhi;
        const auto before = out.bytes();
        ASSERT_EQ(kvpStsOk, f(sil.roi(), sil.step(), out.roi(), out.step(), out.size(), 9.f, 5.f));
        ASSERT_TRUE(kvt::sameRoi(out, expect)) << kvt::targetName(t) << " width " << w << " offset " << off;
        ASSERT_TRUE(out.sameOutsideRoi(before)) << kvt::targetName(t) << " width " << w << " offset " << off;
      }
    }
}

TEST(MotionHistory, OffsetsAndWidthsAroundVectorBlocks) {
  checkOffsets<Kvp8u>(kvpiUpdateMotionHistory_8u32f_C1IR);
  checkOffsets<Kvp16u>(kvpiUpdateMotionHistory_16u32f_C1IR);
  checkOffsets<Kvp32f>(kvpiUpdateMotionHistory_32f_C1IR);
}

// ---- argument checks ------------------------------------------------------------

struct CheckCase {
  const char* what;
  bool nullSil, nullMhi;
  KvpiSize size;
  int silStep, mhiStep;
  float dur;
  KvpStatus expect;
};

// Runs each case against one member; every failing call must leave the
// history untouched.
template <class S>
void runChecks(MotionFn<S> f, const std::vector<CheckCase>& cases) {
  kvt::Rng rng = kvt::makeRng(5 + sizeof(S));
  // Planes big enough for every step used below.
  Plane<S> sil(8, 3, 1, rng, 64);
  Plane<Kvp32f> mhi(8, 3, 1, rng, 64);
  sil.fill([&] { return S(1); });
  for (const CheckCase& c : cases) {
    const auto before = mhi.bytes();
    const KvpStatus st = f(c.nullSil ? nullptr : sil.roi(), c.silStep, c.nullMhi ? nullptr : mhi.roi(),
                           c.mhiStep, c.size, 1.f, c.dur);
    EXPECT_EQ(c.expect, st) << c.what;
    if (st != kvpStsOk) {
      EXPECT_TRUE(mhi.unchanged(before)) << c.what;
    }
  }
}

// Cases every member shares; e is the silhouette element size.
std::vector<CheckCase> commonChecks(int e) {
  const int s = 8 * e, m = 32;  // the smallest valid steps for width 8
  return {
      {"null silhouette first", true, false, {0, 0}, -1, -1, -1.f, kvpStsNullPtr},
      {"null history first", false, true, {0, 0}, -1, -1, -1.f, kvpStsNullPtr},
      {"both null", true, true, {8, 3}, s, m, 1.f, kvpStsNullPtr},
      {"zero width before steps", false, false, {0, 3}, -1, -1, -1.f, kvpStsBadSize},
      {"negative height", false, false, {8, -1}, s, m, 1.f, kvpStsBadSize},
      {"zero height", false, false, {8, 0}, s, m, 1.f, kvpStsBadSize},
      {"short silhouette step before multiples", false, false, {8, 3}, s - 1, m + 2, -1.f, kvpStsBadStep},
      {"short history step", false, false, {8, 3}, s, m - 4, -1.f, kvpStsBadStep},
      {"negative silhouette step", false, false, {8, 3}, -s, m, 1.f, kvpStsBadStep},
      {"negative history step", false, false, {8, 3}, s, -m, 1.f, kvpStsBadStep},
      {"history step not a multiple of 4", false, false, {8, 3}, s, m + 2, -1.f, kvpStsStepNotMultiple},
      {"history step odd", false, false, {8, 3}, s, m + 1, 1.f, kvpStsStepNotMultiple},
      {"negative duration last", false, false, {8, 3}, s, m, -1.f, kvpStsOutOfRange},
      {"tiny negative duration",
       false,
       false,
       {8, 3},
       s,
       m,
       -std::numeric_limits<float>::denorm_min(),
       kvpStsOutOfRange},
      {"minus infinity duration", false, false, {8, 3}, s, m, -kInf, kvpStsOutOfRange},
      {"smallest steps", false, false, {8, 3}, s, m, 0.f, kvpStsOk},
      {"padded steps", false, false, {8, 3}, s + 4 * e, m + 8, 2.f, kvpStsOk},
  };
}

TEST(MotionHistory, Checks8u) {
  auto cases = commonChecks(1);
  // The 8-bit member tests only the history step's multiple.
  cases.push_back({"odd silhouette step is fine", false, false, {8, 3}, 9, 32, 1.f, kvpStsOk});
  cases.push_back(
      {"odd silhouette step, negative duration", false, false, {8, 3}, 11, 32, -1.f, kvpStsOutOfRange});
  runChecks<Kvp8u>(kvpiUpdateMotionHistory_8u32f_C1IR, cases);
}

TEST(MotionHistory, Checks16u) {
  auto cases = commonChecks(2);
  cases.push_back({"odd silhouette step", false, false, {8, 3}, 17, 32, 1.f, kvpStsStepNotMultiple});
  cases.push_back(
      {"odd silhouette step before duration", false, false, {8, 3}, 17, 32, -1.f, kvpStsStepNotMultiple});
  cases.push_back({"silhouette step 2 mod 4 is fine", false, false, {8, 3}, 18, 32, 1.f, kvpStsOk});
  runChecks<Kvp16u>(kvpiUpdateMotionHistory_16u32f_C1IR, cases);
}

TEST(MotionHistory, Checks32f) {
  auto cases = commonChecks(4);
  cases.push_back({"silhouette step 2 mod 4", false, false, {8, 3}, 34, 32, 1.f, kvpStsStepNotMultiple});
  cases.push_back({"silhouette step odd", false, false, {8, 3}, 33, 32, -1.f, kvpStsStepNotMultiple});
  // Width 10: 41 bytes is long enough but not a multiple; 36 is too short.
  cases.push_back({"41-byte step", false, false, {10, 1}, 41, 40, 1.f, kvpStsStepNotMultiple});
  cases.push_back({"36-byte step", false, false, {10, 1}, 36, 40, 1.f, kvpStsBadStep});
  runChecks<Kvp32f>(kvpiUpdateMotionHistory_32f_C1IR, cases);
}

// Steps whose row-byte product would overflow 32 bits are still rejected.
TEST(MotionHistory, HugeWidthIsABadStepNotAnOverflow) {
  const Kvp8u sil = 0;
  Kvp32f mhi = 1.f;
  EXPECT_EQ(kvpStsBadStep, kvpiUpdateMotionHistory_8u32f_C1IR(&sil, 0x7fffffff, &mhi, 0x7ffffffc,
                                                              {0x40000000, 1}, 1.f, 1.f));
  EXPECT_EQ(1.f, mhi);
}

}  // namespace

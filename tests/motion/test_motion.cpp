// Motion history update against a per-pixel reference.
#include <cmath>
#include <limits>

#include "harness.h"

namespace {

using kvt::Plane;

float refUpdate(float silMoving, float mhi, float ts, float limit) {
  if (silMoving) return ts;
  return mhi < limit ? 0.f : mhi;
}

template <class S, class F>
void checkMember(F f) {
  kvt::Rng rng = kvt::makeRng(sizeof(S));
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (KvpiSize sz : kvt::sizeSweep()) {
    SCOPED_TRACE(kvt::describe(sz));
    const float ts = 100.25f, dur = 10.5f, limit = ts - dur;
    Plane<S> sil(sz.width, sz.height, 1, rng);
    Plane<Kvp32f> mhi(sz.width, sz.height, 1, rng);
    sil.fill([&]() -> S {
      switch (rng() % 6) {
        case 0: return S(1);
        case 1: return std::numeric_limits<S>::max();
        case 2: if constexpr (std::is_floating_point_v<S>) return -0.f; else return S(0);
        case 3: if constexpr (std::is_floating_point_v<S>) return nan; else return S(7);
        default: return S(0);
      }
    });
    mhi.fill([&]() -> float {
      switch (rng() % 6) {
        case 0: return limit;                      // exactly at the limit: kept
        case 1: return std::nextafter(limit, 0.f); // just below: cleared
        case 2: return nan;                        // NaN history: kept
        default: return (float)(rng() % 12000) / 100.f;
      }
    });
    Plane<Kvp32f> expect = mhi;
    for (int y = 0; y < sz.height; ++y)
      for (int x = 0; x < sz.width; ++x)
        expect.at(x, y) = refUpdate(sil.at(x, y) != S(0), mhi.at(x, y), ts, limit);
    Plane<Kvp32f> out = mhi;
    const auto before = out.bytes();
    ASSERT_EQ(kvpStsOk, f(sil.roi(), sil.step(), out.roi(), out.step(), sz, ts, dur));
    ASSERT_TRUE(kvt::sameRoi(out, expect));
    ASSERT_TRUE(out.sameOutsideRoi(before));
  }
}

TEST(MotionHistory, MatchesReference) {
  checkMember<Kvp8u>(kvpiUpdateMotionHistory_8u32f_C1IR);
  checkMember<Kvp16u>(kvpiUpdateMotionHistory_16u32f_C1IR);
  checkMember<Kvp32f>(kvpiUpdateMotionHistory_32f_C1IR);
}

TEST(MotionHistory, ZeroDurationKeepsOnlyTheCurrentStamp) {
  const Kvp8u sil[4] = {0, 0, 0, 255};
  Kvp32f mhi[4] = {5.f, 4.999f, 0.f, 1.f};
  ASSERT_EQ(kvpStsOk, kvpiUpdateMotionHistory_8u32f_C1IR(sil, 4, mhi, 16, {4, 1}, 5.f, 0.f));
  EXPECT_EQ(5.f, mhi[0]);
  EXPECT_EQ(0.f, mhi[1]);
  EXPECT_FALSE(std::signbit(mhi[1]));
  EXPECT_EQ(0.f, mhi[2]);
  EXPECT_EQ(5.f, mhi[3]);
}

TEST(MotionHistory, ChecksInOrderAndNoWrite) {
  kvt::Rng rng = kvt::makeRng(3);
  Plane<Kvp16u> sil(8, 3, 1, rng);
  Plane<Kvp32f> mhi(8, 3, 1, rng);
  const auto before = mhi.bytes();
  EXPECT_EQ(kvpStsNullPtr, kvpiUpdateMotionHistory_16u32f_C1IR(nullptr, 16, mhi.roi(), 32, {0, 3}, 1.f, -1.f));
  EXPECT_EQ(kvpStsBadSize, kvpiUpdateMotionHistory_16u32f_C1IR(sil.roi(), 0, mhi.roi(), 0, {8, 0}, 1.f, -1.f));
  EXPECT_EQ(kvpStsBadStep, kvpiUpdateMotionHistory_16u32f_C1IR(sil.roi(), 15, mhi.roi(), 32, {8, 3}, 1.f, -1.f));
  EXPECT_EQ(kvpStsBadStep, kvpiUpdateMotionHistory_16u32f_C1IR(sil.roi(), 16, mhi.roi(), 31, {8, 3}, 1.f, -1.f));
  EXPECT_EQ(kvpStsStepNotMultiple,
            kvpiUpdateMotionHistory_16u32f_C1IR(sil.roi(), 17, mhi.roi(), 32, {8, 3}, 1.f, -1.f));
  EXPECT_EQ(kvpStsStepNotMultiple,
            kvpiUpdateMotionHistory_16u32f_C1IR(sil.roi(), 18, mhi.roi(), 34, {8, 3}, 1.f, -1.f));
  EXPECT_EQ(kvpStsOutOfRange, kvpiUpdateMotionHistory_16u32f_C1IR(sil.roi(), 18, mhi.roi(), 36, {8, 3}, 1.f, -1.f));
  // The 8-bit member has no silhouette step multiple to test.
  Plane<Kvp8u> sil8(8, 3, 1, rng);
  EXPECT_EQ(kvpStsOutOfRange, kvpiUpdateMotionHistory_8u32f_C1IR(sil8.roi(), 9, mhi.roi(), 36, {8, 3}, 1.f, -0.5f));
  EXPECT_EQ(kvpStsStepNotMultiple, kvpiUpdateMotionHistory_8u32f_C1IR(sil8.roi(), 9, mhi.roi(), 34, {8, 3}, 1.f, 1.f));
  Plane<Kvp32f> silf(8, 3, 1, rng);
  EXPECT_EQ(kvpStsStepNotMultiple, kvpiUpdateMotionHistory_32f_C1IR(silf.roi(), 34, mhi.roi(), 32, {8, 3}, 1.f, 1.f));
  EXPECT_TRUE(mhi.unchanged(before));
}

}  // namespace

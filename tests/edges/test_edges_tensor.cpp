// Structure-tensor measures (minimum eigenvalue, eigenpairs, Harris)
// against the plain reference bit for bit: both source types, every kernel
// and aperture, several windows, the size sweep at several thread counts,
// the documented values and the statuses in check order.
#include <cmath>
#include <cstring>

#include "edges_ref.h"
#include "edges_sizes.h"
#include "harness.h"

namespace {

using kvt::Plane;

enum { kMin = er::kMinEig, kVV = er::kEigVV, kHar = er::kHarris };

// One call of any measure, either source type, with its own buffer query.
template <class S>
KvpStatus call(int m, const S* src, int ss, float* dst, int ds, KvpiSize sz, int kern, int ap, int B,
               float k = 0.04f, float scale = 1.0f, bool withBuffer = true) {
  int size = 0;
  KvpStatus q;
  constexpr bool b8 = sizeof(S) == 1;
  // A prvalue each time: kern may lie outside the enumerators.
  const auto K = [kern] { return (KvpiDifferentialKernel)kern; };
  if (m == kMin)
    q = b8 ? kvpiMinEigenValGetBufferSize_8u32f_C1R(sz, K(), ap, B, &size)
           : kvpiMinEigenValGetBufferSize_32f_C1R(sz, K(), ap, B, &size);
  else if (m == kVV)
    q = b8 ? kvpiEigenValsVecsGetBufferSize_8u32f_C1R(sz, K(), ap, B, &size)
           : kvpiEigenValsVecsGetBufferSize_32f_C1R(sz, K(), ap, B, &size);
  else
    q = b8 ? kvpiHarrisCornerGetBufferSize_8u32f_C1R(sz, K(), ap, B, &size)
           : kvpiHarrisCornerGetBufferSize_32f_C1R(sz, K(), ap, B, &size);
  std::vector<Kvp8u> buf(q == kvpStsOk ? size : 16);
  Kvp8u* pb = withBuffer ? buf.data() : nullptr;
  if constexpr (b8) {
    if (m == kMin) return kvpiMinEigenVal_8u32f_C1R(src, ss, dst, ds, sz, K(), ap, B, pb);
    if (m == kVV) return kvpiEigenValsVecs_8u32f_C1R(src, ss, dst, ds, sz, K(), ap, B, pb);
    return kvpiHarrisCorner_8u32f_C1R(src, ss, dst, ds, sz, K(), ap, B, k, scale, pb);
  } else {
    if (m == kMin) return kvpiMinEigenVal_32f_C1R(src, ss, dst, ds, sz, K(), ap, B, pb);
    if (m == kVV) return kvpiEigenValsVecs_32f_C1R(src, ss, dst, ds, sz, K(), ap, B, pb);
    return kvpiHarrisCorner_32f_C1R(src, ss, dst, ds, sz, K(), ap, B, k, scale, pb);
  }
}

template <class S>
er::Img<S> toImg(const Plane<S>& p) {
  er::Img<S> o(p.width(), p.height());
  for (int y = 0; y < p.height(); ++y)
    for (int x = 0; x < p.width(); ++x) o.at(x, y) = p.at(x, y);
  return o;
}

struct Config {
  int kern, ap, B;
};

template <class S, class Gen>
void sweep(Gen&& gen) {
  auto rng = kvt::makeRng(11);
  const Config configs[] = {{0, 3, 3}, {0, 5, 5}, {1, 3, 1}, {0, 3, 2}, {0, 5, 7}};
  for (KvpiSize sz : et::sizes()) {
    const bool big = et::threadedSize(sz);
    Plane<S> src(sz.width, sz.height, 1, rng);
    src.fill(gen);
    const er::Img<S> s = toImg(src);
    for (const Config& c : configs) {
      if (big && c.ap == 3 && c.B != 1) continue;
      for (int m : {kMin, kVV, kHar}) {
        const int ch = m == kVV ? 6 : 1;
        const er::Img<float> ref = er::tensor(s, m, c.kern, c.ap, c.B, 0.04f, 3.5f);
        for (int n : et::threads()) {
          if (big && n == 2) continue;
          kvt::Threads th(n);
          Plane<float> dst(sz.width, sz.height, ch, rng);
          const auto before = dst.bytes();
          ASSERT_EQ(call(m, src.roi(), src.step(), dst.roi(), dst.step(), sz, c.kern, c.ap, c.B, 0.04f, 3.5f),
                    kvpStsOk);
          ASSERT_TRUE(dst.sameOutsideRoi(before));
          for (int y = 0; y < sz.height; ++y)
            ASSERT_EQ(std::memcmp(dst.row(y), &ref.at(0, y), sizeof(float) * sz.width * ch), 0)
                << kvt::describe(sz) << " measure " << m << " kern " << c.kern << " ap " << c.ap << " B "
                << c.B << " row " << y << " threads " << n;
        }
      }
    }
  }
}

TEST(StructureTensor, MatchesReference8u) {
  auto rng = kvt::makeRng(12);
  sweep<Kvp8u>([&] { return (Kvp8u)(rng() % 3 ? rng() : (rng() & 1) * 255); });
}

TEST(StructureTensor, MatchesReference32f) {
  auto rng = kvt::makeRng(13);
  std::uniform_real_distribution<float> u(-3, 3);
  sweep<Kvp32f>([&] { return std::ldexp(u(rng), (int)(rng() % 9) - 4); });
}

TEST(StructureTensor, DocumentedValues) {
  auto rng = kvt::makeRng(14);
  Plane<Kvp8u> step(16, 16, 1, rng);
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 16; ++x) step.at(x, y) = x < 8 ? 0 : 255;
  Plane<float> mn(16, 16, 1, rng), vv(16, 16, 6, rng), hr(16, 16, 1, rng);
  ASSERT_EQ(call(kMin, step.roi(), step.step(), mn.roi(), mn.step(), {16, 16}, 0, 3, 1), kvpStsOk);
  ASSERT_EQ(call(kVV, step.roi(), step.step(), vv.roi(), vv.step(), {16, 16}, 0, 3, 1), kvpStsOk);
  ASSERT_EQ(call(kHar, step.roi(), step.step(), hr.roi(), hr.step(), {16, 16}, 0, 3, 1, 0.04f, 1.0f),
            kvpStsOk);
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 16; ++x) {
      const bool edge = x == 7 || x == 8;
      EXPECT_EQ(mn.at(x, y), 0.0f);
      EXPECT_EQ(hr.at(x, y), edge ? -0.04f : 0.0f) << x;
      const float want[6] = {edge ? 1.0f : 0.0f, 0, edge ? 1.0f : 0.0f, 0, 0, edge ? -1.0f : 0.0f};
      for (int i = 0; i < 6; ++i) EXPECT_EQ(vv.at(x, y, i), want[i]) << x << "," << y << " " << i;
    }
  // B = 3: A = 2/3 on columns 7, 8 and 1/3 on columns 6, 9 (largest eigenvalue).
  ASSERT_EQ(call(kVV, step.roi(), step.step(), vv.roi(), vv.step(), {16, 16}, 0, 3, 3), kvpStsOk);
  EXPECT_EQ(vv.at(7, 4, 0), (float)(2.0 / 3));
  EXPECT_EQ(vv.at(9, 4, 0), (float)(1.0 / 3));
  EXPECT_EQ(vv.at(5, 4, 0), 0.0f);
  // A constant image and a 1x1 image with a wide window give zeros.
  Plane<float> flat(9, 7, 1, rng), out(9, 7, 6, rng);
  flat.fill([] { return 42.5f; });
  ASSERT_EQ(call(kVV, flat.roi(), flat.step(), out.roi(), out.step(), {9, 7}, 1, 3, 5), kvpStsOk);
  for (int y = 0; y < 7; ++y)
    for (int i = 0; i < 54; ++i) EXPECT_EQ(out.row(y)[i], 0.0f);
  ASSERT_EQ(call(kMin, flat.roi(), flat.step(), out.roi(), out.step(), {1, 1}, 0, 5, 7), kvpStsOk);
  EXPECT_EQ(out.at(0, 0), 0.0f);
}

TEST(StructureTensor, StatusesInOrder) {
  auto rng = kvt::makeRng(15);
  Plane<float> s(4, 3, 1, rng, 0, 0), d(4, 3, 6, rng, 0, 0);
  const auto before = d.bytes();
  struct Case {
    int m;
    bool src, dst, buf;
    KvpiSize sz;
    int ss, ds, kern, ap, B;
    KvpStatus want;
  } cases[] = {{kMin, false, true, true, {0, 3}, 0, 0, 5, 9, 0, kvpStsNullPtr},
               {kMin, true, false, true, {0, 3}, 0, 0, 5, 9, 0, kvpStsNullPtr},
               {kHar, true, true, false, {4, 3}, 16, 16, 0, 3, 3, kvpStsNullPtr},
               {kMin, true, true, true, {4, 0}, 0, 0, 5, 9, 0, kvpStsBadSize},
               {kMin, true, true, true, {4, 3}, 15, 0, 5, 9, 0, kvpStsBadStep},
               {kVV, true, true, true, {4, 3}, 16, 92, 5, 9, 0, kvpStsBadStep},
               {kVV, true, true, true, {4, 3}, 18, 96, 5, 9, 0, kvpStsStepNotMultiple},
               {kMin, true, true, true, {4, 3}, 16, 17, 5, 9, 0, kvpStsStepNotMultiple},
               {kMin, true, true, true, {4, 3}, 16, 16, 2, 9, 0, kvpStsBadArg},
               {kMin, true, true, true, {4, 3}, 16, 16, 1, 5, 3, kvpStsBadMaskSize},
               {kMin, true, true, true, {4, 3}, 16, 16, 0, 7, 3, kvpStsBadMaskSize},
               {kHar, true, true, true, {4, 3}, 16, 16, 0, 3, 0, kvpStsBadMaskSize},
               {kHar, true, true, true, {4, 3}, 16, 16, 0, 3, 256, kvpStsBadMaskSize}};
  for (const Case& c : cases) {
    EXPECT_EQ(call<float>(c.m, c.src ? s.roi() : nullptr, c.ss, c.dst ? d.roi() : nullptr, c.ds, c.sz, c.kern,
                          c.ap, c.B, 0.04f, 1.0f, c.buf),
              c.want)
        << (&c - cases);
    EXPECT_TRUE(d.unchanged(before));
  }
  // 8-bit sources: only the float destination step has to be a multiple of 4.
  Plane<Kvp8u> s8(5, 3, 1, rng, 0, 0);
  Plane<float> d8(5, 3, 1, rng, 0, 0);
  EXPECT_EQ(call<Kvp8u>(kMin, s8.roi(), 5, d8.roi(), 20, {5, 3}, 0, 3, 3), kvpStsOk);
  EXPECT_EQ(call<Kvp8u>(kMin, s8.roi(), 5, d8.roi(), 22, {5, 3}, 0, 3, 3), kvpStsStepNotMultiple);
  int size = 0;
  EXPECT_EQ(kvpiHarrisCornerGetBufferSize_32f_C1R({4, 3}, kvpFilterSobel, 3, 3, nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiHarrisCornerGetBufferSize_32f_C1R({4, 3}, kvpFilterScharr, 3, 255, &size), kvpStsOk);
  EXPECT_EQ(kvpiEigenValsVecsGetBufferSize_8u32f_C1R({1 << 20, 8}, kvpFilterSobel, 5, 255, &size),
            kvpStsBadSize);
}

}  // namespace

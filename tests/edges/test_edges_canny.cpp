// Canny on given derivatives (16s, 32f) and in one call from an 8-bit
// image, against the plain reference procedure bit for bit over sizes,
// thresholds, kernels, borders, norms and thread counts; the documented
// sectors, ties and hysteresis chains; statuses in check order.
#include <cmath>
#include <cstring>

#include "edges_ref.h"
#include "edges_sizes.h"
#include "harness.h"

namespace {

// The shared sizes plus a threaded ROI with fewer rows than three threads.
std::vector<KvpiSize> cannySizes() {
  std::vector<KvpiSize> all = et::sizes();
  if (!kvt::smallRun()) all.push_back({49153, 2});
  return all;
}

using kvt::Plane;

template <class T>
er::Img<T> toImg(const Plane<T>& p) {
  er::Img<T> o(p.width(), p.height());
  for (int y = 0; y < p.height(); ++y)
    for (int x = 0; x < p.width(); ++x) o.at(x, y) = p.at(x, y);
  return o;
}

::testing::AssertionResult sameMap(const Plane<Kvp8u>& d, const er::Img<uint8_t>& ref) {
  for (int y = 0; y < d.height(); ++y)
    for (int x = 0; x < d.width(); ++x)
      if (d.at(x, y) != ref.at(x, y))
        return ::testing::AssertionFailure()
               << "at " << x << "," << y << ": " << +d.at(x, y) << " vs " << +ref.at(x, y);
  return ::testing::AssertionSuccess();
}

template <class G>
KvpStatus cannyGiven(const Plane<G>& dx, const Plane<G>& dy, Plane<Kvp8u>& dst, float lo, float hi) {
  int size = 0;
  EXPECT_EQ(kvpiCannyGetSize(dx.size(), &size), kvpStsOk);
  std::vector<Kvp8u> buf(size);
  if constexpr (sizeof(G) == 2)
    return kvpiCanny_16s8u_C1R(dx.roi(), dx.step(), dy.roi(), dy.step(), dst.roi(), dst.step(), dx.size(), lo,
                               hi, buf.data());
  else
    return kvpiCanny_32f8u_C1R(dx.roi(), dx.step(), dy.roi(), dy.step(), dst.roi(), dst.step(), dx.size(), lo,
                               hi, buf.data());
}

// Smooth random derivatives (so that ridges and chains form) plus noise.
template <class G>
void fillDerivs(Plane<G>& dx, Plane<G>& dy, kvt::Rng& rng, int amp) {
  const double fx = 0.05 + (rng() % 100) * 0.003, fy = 0.04 + (rng() % 100) * 0.003;
  for (int y = 0; y < dx.height(); ++y)
    for (int x = 0; x < dx.width(); ++x) {
      const double n1 = (double)(rng() % 41) - 20, n2 = (double)(rng() % 41) - 20;
      dx.at(x, y) = (G)std::lround(amp * std::sin(x * fx + y * 0.3 * fy) + n1);
      dy.at(x, y) = (G)std::lround(amp * std::cos(y * fy - x * 0.2 * fx) + n2);
    }
}

TEST(Canny, GivenDerivativesMatchReference) {
  auto rng = kvt::makeRng(21);
  const float th[][2] = {{50, 150}, {0, 0}, {100, 100}, {400, 30000}};
  for (KvpiSize sz : cannySizes()) {
    Plane<Kvp16s> dx(sz.width, sz.height, 1, rng), dy(sz.width, sz.height, 1, rng);
    fillDerivs(dx, dy, rng, 200);
    Plane<Kvp32f> fx(sz.width, sz.height, 1, rng), fy(sz.width, sz.height, 1, rng);
    for (int y = 0; y < sz.height; ++y)
      for (int x = 0; x < sz.width; ++x) fx.at(x, y) = dx.at(x, y), fy.at(x, y) = dy.at(x, y);
    const auto gx = toImg(dx), gy = toImg(dy);
    for (const auto& t : th) {
      const er::Img<uint8_t> ref = er::canny16s(gx, gy, t[0], t[1]);
      et::bothWidths([&] {
        for (int n : et::threads()) {
          kvt::Threads threads(n);
          Plane<Kvp8u> d16(sz.width, sz.height, 1, rng), d32(sz.width, sz.height, 1, rng);
          const auto b16 = d16.bytes(), b32 = d32.bytes();
          ASSERT_EQ(cannyGiven(dx, dy, d16, t[0], t[1]), kvpStsOk);
          ASSERT_EQ(cannyGiven(fx, fy, d32, t[0], t[1]), kvpStsOk);
          ASSERT_TRUE(d16.sameOutsideRoi(b16) && d32.sameOutsideRoi(b32));
          ASSERT_TRUE(sameMap(d16, ref)) << kvt::describe(sz) << " thresholds " << t[0] << " " << t[1];
          // Float copies of integer derivatives give the same map.
          ASSERT_TRUE(sameMap(d32, ref)) << kvt::describe(sz);
        }
      });
    }
  }
  // Extreme values: products beyond 32 bits, infinities, NaN in floats.
  Plane<Kvp16s> dx(37, 23, 1, rng), dy(37, 23, 1, rng);
  dx.fill([&] { return (Kvp16s)(rng() % 4 ? rng() : 0x8000); });
  dy.fill([&] { return (Kvp16s)(rng() % 4 ? rng() : 0x8000); });
  Plane<Kvp8u> d(37, 23, 1, rng);
  ASSERT_EQ(cannyGiven(dx, dy, d, 20000, INFINITY), kvpStsOk);
  EXPECT_TRUE(sameMap(d, er::canny16s(toImg(dx), toImg(dy), 20000, INFINITY)));
  Plane<Kvp32f> fx(37, 23, 1, rng), fy(37, 23, 1, rng);
  const float special[] = {NAN, INFINITY, -INFINITY, -0.0f, 3e38f, 1e-40f};
  fx.fill([&] { return rng() % 5 ? (float)((int)(rng() % 2001) - 1000) : special[rng() % 6]; });
  fy.fill([&] { return rng() % 5 ? (float)((int)(rng() % 2001) - 1000) : special[rng() % 6]; });
  ASSERT_EQ(cannyGiven(fx, fy, d, 300, 700), kvpStsOk);
  EXPECT_TRUE(sameMap(d, er::canny32f(toImg(fx), toImg(fy), 300, 700)));
}

TEST(Canny, BorderFormMatchesReference) {
  auto rng = kvt::makeRng(22);
  struct K {
    int kern, mask;
  } kernels[] = {{0, kvpMskSize3x3}, {0, kvpMskSize5x5}, {1, kvpMskSize3x3}};
  for (KvpiSize sz : cannySizes()) {
    const bool big = et::threadedSize(sz);
    Plane<Kvp8u> src(sz.width, sz.height, 1, rng);
    // Blocks with noise: real edges and weak texture.
    for (int y = 0; y < sz.height; ++y)
      for (int x = 0; x < sz.width; ++x)
        src.at(x, y) = (Kvp8u)((((x / 7) ^ (y / 5)) & 1 ? 180 : 60) + rng() % 40);
    const auto s = toImg(src);
    for (const K& k : kernels)
      for (int border = 0; border < 5; ++border)
        for (int norm : {kvpiNormL1, kvpiNormL2}) {
          if (big && (border == 2 || border == 3)) continue;
          const float lo = norm == kvpiNormL1 ? 200.f : 300.f, hi = norm == kvpiNormL1 ? 700.f : 900.f;
          const er::Img<uint8_t> ref = er::cannyBorder(s, k.kern, k.mask, border, 77, lo, hi, norm);
          et::bothWidths([&] {
            for (int n : et::threads()) {
              if (big && n == 2) continue;
              kvt::Threads threads(n);
              int size = 0;
              ASSERT_EQ(
                  kvpiCannyBorderGetSize(sz, (KvpiDifferentialKernel)k.kern, (KvpiMaskSize)k.mask, &size),
                  kvpStsOk);
              std::vector<Kvp8u> buf(size);
              Plane<Kvp8u> d(sz.width, sz.height, 1, rng);
              const auto before = d.bytes();
              ASSERT_EQ(
                  kvpiCannyBorder_8u_C1R(src.roi(), src.step(), d.roi(), d.step(), sz,
                                         (KvpiDifferentialKernel)k.kern, (KvpiMaskSize)k.mask,
                                         (KvpiBorderType)border, 77, lo, hi, (KvpiNorm)norm, buf.data()),
                  kvpStsOk);
              ASSERT_TRUE(d.sameOutsideRoi(before));
              ASSERT_TRUE(sameMap(d, ref)) << kvt::describe(sz) << " kern " << k.kern << " mask " << k.mask
                                           << " border " << border << " norm " << norm << " threads " << n;
            }
          });
        }
  }
}

// 11x11 derivative maps with a few set pixels; the expected edge pixels.
TEST(Canny, DocumentedCases) {
  struct Px {
    int x, y, gx, gy;
  };
  struct Case {
    std::vector<Px> set;
    float lo, hi;
    std::vector<std::pair<int, int>> edges;
  };
  std::vector<Px> chain = {{0, 5, 0, 60}};
  for (int x = 1; x < 10; ++x) chain.push_back({x, 5, 0, 52});
  std::vector<Px> broken = chain;
  broken[4].gy = 40;
  std::vector<std::pair<int, int>> all, left;
  for (int x = 0; x < 10; ++x) all.push_back({x, 5});
  for (int x = 0; x < 4; ++x) left.push_back({x, 5});
  const Case cases[] = {
      {{{5, 5, 100, 0}}, 50, 90, {{5, 5}}},
      {{{5, 5, 100, 0}}, 50, 100, {}},
      {{{4, 5, 100, 0}, {5, 5, 100, 0}}, 50, 90, {{4, 5}}},
      {{{5, 4, 0, 100}, {5, 5, 0, 100}}, 50, 90, {{5, 4}}},
      // (100, 41) is horizontal: the left neighbour blocks, not the upper one.
      {{{5, 5, 100, 41}, {4, 5, 100, 41}}, 50, 90, {{4, 5}}},
      {{{5, 5, 100, 41}, {5, 4, 200, 0}}, 50, 90, {{5, 5}, {5, 4}}},
      // (100, 42) is diagonal: the upper-left neighbour blocks.
      {{{5, 5, 100, 42}, {4, 4, 200, 0}}, 50, 90, {{4, 4}}},
      {{{5, 5, 41, 99}, {5, 4, 200, 0}}, 50, 90, {{5, 4}}},
      {{{5, 5, 41, 98}, {4, 4, 200, 0}}, 50, 90, {{4, 4}}},
      {{{5, 5, -41, 98}, {6, 4, 200, 0}}, 50, 90, {{6, 4}}},
      {chain, 50, 55, all},
      {broken, 50, 55, left},
      // A weak pixel touching a strong one only diagonally is kept.
      {{{5, 5, 0, 60}, {6, 6, 0, 52}}, 50, 55, {{5, 5}, {6, 6}}},
  };
  auto rng = kvt::makeRng(23);
  for (const Case& c : cases) {
    Plane<Kvp16s> dx(11, 11, 1, rng), dy(11, 11, 1, rng);
    dx.fill([] { return 0; });
    dy.fill([] { return 0; });
    for (const Px& p : c.set) dx.at(p.x, p.y) = (Kvp16s)p.gx, dy.at(p.x, p.y) = (Kvp16s)p.gy;
    Plane<Kvp8u> d(11, 11, 1, rng);
    ASSERT_EQ(cannyGiven(dx, dy, d, c.lo, c.hi), kvpStsOk);
    int n = 0;
    for (int y = 0; y < 11; ++y)
      for (int x = 0; x < 11; ++x) n += d.at(x, y) == 255;
    EXPECT_EQ(n, (int)c.edges.size()) << (&c - cases);
    for (auto [x, y] : c.edges) EXPECT_EQ(d.at(x, y), 255) << (&c - cases) << ": " << x << "," << y;
  }
  // One-call form on a 16x16 step image and on flat images.
  for (int mask : {kvpMskSize3x3, kvpMskSize5x5})
    for (int norm : {kvpiNormL1, kvpiNormL2}) {
      Plane<Kvp8u> s(16, 16, 1, rng), d(16, 16, 1, rng);
      for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) s.at(x, y) = x < 8 ? 0 : 255;
      int size = 0;
      kvpiCannyBorderGetSize({16, 16}, kvpFilterSobel, (KvpiMaskSize)mask, &size);
      std::vector<Kvp8u> buf(size);
      auto run = [&](int border, Kvp8u v) {
        return kvpiCannyBorder_8u_C1R(s.roi(), s.step(), d.roi(), d.step(), {16, 16}, kvpFilterSobel,
                                      (KvpiMaskSize)mask, (KvpiBorderType)border, v, 100, 200, (KvpiNorm)norm,
                                      buf.data());
      };
      ASSERT_EQ(run(kvpBorderRepl, 0), kvpStsOk);
      for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) EXPECT_EQ(d.at(x, y), x == 7 ? 255 : 0) << x << "," << y;
      s.fill([] { return 255; });
      ASSERT_EQ(run(kvpBorderRepl, 0), kvpStsOk);
      for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) EXPECT_EQ(d.at(x, y), 0);
      ASSERT_EQ(run(kvpBorderConst, 0), kvpStsOk);
      for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x)
          EXPECT_EQ(d.at(x, y), (x == 0 || y == 0 || x == 15 || y == 15) ? 255 : 0);
    }
}

TEST(Canny, StatusesInOrder) {
  auto rng = kvt::makeRng(24);
  Plane<Kvp16s> dx(5, 4, 1, rng, 0, 0), dy(5, 4, 1, rng, 0, 0);
  Plane<Kvp8u> d(5, 4, 1, rng, 0, 0);
  const auto before = d.bytes();
  std::vector<Kvp8u> buf(1 << 16);
  struct Case {
    bool a, b, dst, buf;
    KvpiSize sz;
    int as, bs, ds;
    float lo, hi;
    KvpStatus want;
  } cases[] = {{false, true, true, true, {0, 4}, 0, 0, 0, -1, NAN, kvpStsNullPtr},
               {true, true, true, false, {0, 4}, 0, 0, 0, -1, NAN, kvpStsNullPtr},
               {true, true, true, true, {5, 0}, 0, 0, 0, -1, NAN, kvpStsBadSize},
               {true, true, true, true, {5, 4}, 10, 8, 5, -1, NAN, kvpStsBadStep},
               {true, true, true, true, {5, 4}, 10, 10, 4, -1, NAN, kvpStsBadStep},
               {true, true, true, true, {5, 4}, 10, 11, 5, -1, NAN, kvpStsStepNotMultiple},
               {true, true, true, true, {5, 4}, 10, 10, 5, -1, 10, kvpStsBadArg},
               {true, true, true, true, {5, 4}, 10, 10, 5, 1, NAN, kvpStsBadArg},
               {true, true, true, true, {5, 4}, 10, 10, 5, 20, 10, kvpStsBadArg},
               {true, true, true, true, {5, 4}, 10, 10, 5, 10, 10, kvpStsOk}};
  for (const Case& c : cases) {
    Plane<Kvp8u> dd = d;
    EXPECT_EQ(
        kvpiCanny_16s8u_C1R(c.a ? dx.roi() : nullptr, c.as, c.b ? dy.roi() : nullptr, c.bs,
                            c.dst ? dd.roi() : nullptr, c.ds, c.sz, c.lo, c.hi, c.buf ? buf.data() : nullptr),
        c.want)
        << (&c - cases);
    if (c.want != kvpStsOk) {
      EXPECT_TRUE(dd.unchanged(before));
    }
  }
  int size = 0;
  EXPECT_EQ(kvpiCannyGetSize({5, 4}, nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiCannyGetSize({5, 0}, &size), kvpStsBadSize);
  EXPECT_EQ(kvpiCannyGetSize({1 << 15, 1 << 15}, &size), kvpStsBadSize);
  EXPECT_EQ(kvpiCannyBorderGetSize({5, 4}, (KvpiDifferentialKernel)2, kvpMskSize3x3, &size), kvpStsBadArg);
  EXPECT_EQ(kvpiCannyBorderGetSize({5, 4}, kvpFilterScharr, kvpMskSize5x5, &size), kvpStsBadMaskSize);
  EXPECT_EQ(kvpiCannyBorderGetSize({5, 4}, kvpFilterSobel, kvpMskSize3x1, &size), kvpStsBadMaskSize);
  // One-call form: kernel, mask, border, thresholds, norm, in that order.
  Plane<Kvp8u> s(5, 4, 1, rng, 0, 0);
  struct BCase {
    int kern, mask, border;
    float lo, hi;
    int norm;
    KvpStatus want;
  } bcases[] = {{2, 0, 9, -1, 1, 0, kvpStsBadArg},
                {1, kvpMskSize5x5, 9, -1, 1, 0, kvpStsBadMaskSize},
                {0, kvpMskSize3x3, 5, -1, 1, 0, kvpStsBadArg},
                {0, kvpMskSize3x3, 4, 2, 1, 0, kvpStsBadArg},
                {0, kvpMskSize3x3, 4, 1, 2, 0, kvpStsBadArg},
                {0, kvpMskSize3x3, 4, 1, 2, 2, kvpStsOk}};
  for (const BCase& c : bcases) {
    Plane<Kvp8u> dd = d;
    EXPECT_EQ(kvpiCannyBorder_8u_C1R(s.roi(), 5, dd.roi(), 5, {5, 4}, (KvpiDifferentialKernel)c.kern,
                                     (KvpiMaskSize)c.mask, (KvpiBorderType)c.border, 0, c.lo, c.hi,
                                     (KvpiNorm)c.norm, buf.data()),
              c.want)
        << (&c - bcases);
    if (c.want != kvpStsOk) {
      EXPECT_TRUE(dd.unchanged(before));
    }
  }
  EXPECT_EQ(kvpiCannyBorder_8u_C1R(s.roi(), 4, d.roi(), 5, {5, 4}, kvpFilterSobel, kvpMskSize3x3,
                                   kvpBorderRepl, 0, 1, 2, kvpiNormL1, buf.data()),
            kvpStsBadStep);
}

}  // namespace

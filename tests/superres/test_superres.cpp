// Super-resolution support: PSF tables, residuals and gradient scatter
// against the plain loops of superres_ref.h, the worked cases whose bits
// depend on the operation order, every status in its check order, and
// nothing written on failure.
#include <cmath>
#include <limits>
#include <vector>

#include "harness.h"
#include "superres_ref.h"

namespace {

using kvt::Plane;

// Both PSF sizes behind one shape: tables as flat arrays of s*s taps.
struct Kind {
  int s;
  KvpStatus (*init)(void**, const float*, int);
  KvpStatus (*release)(void*);
  KvpStatus (*residual)(const Kvp8u*, const Kvp32f*, int, KvpiSize, Kvp32f*, const int*, const int*,
                        const unsigned*, int, const void*);
  KvpStatus (*gradient)(Kvp32f*, int, KvpiSize, const int*, const int*, const unsigned*, const Kvp32f*, int,
                        const void*);
};

const Kind k3{3,
              [](void** pp, const float* t, int n) {
                return kvpiSRHNInitAlloc_PSF3x3(reinterpret_cast<KvpiSRHNSpec_PSF3x3**>(pp),
                                                reinterpret_cast<const Kvp32f(*)[9]>(t), n);
              },
              [](void* p) { return kvpiSRHNFree_PSF3x3(static_cast<KvpiSRHNSpec_PSF3x3*>(p)); },
              [](const Kvp8u* a, const Kvp32f* h, int hs, KvpiSize sz, Kvp32f* r, const int* x, const int* y,
                 const unsigned* i, int n, const void* p) {
                return kvpiSRHNCalcResidual_PSF3x3_8u32f_C1R(a, h, hs, sz, r, x, y, i, n,
                                                             static_cast<const KvpiSRHNSpec_PSF3x3*>(p));
              },
              [](Kvp32f* g, int gs, KvpiSize sz, const int* x, const int* y, const unsigned* i,
                 const Kvp32f* w, int n, const void* p) {
                return kvpiSRHNUpdateGradient_PSF3x3_32f_C1R(g, gs, sz, x, y, i, w, n,
                                                             static_cast<const KvpiSRHNSpec_PSF3x3*>(p));
              }};
const Kind k2{2,
              [](void** pp, const float* t, int n) {
                return kvpiSRHNInitAlloc_PSF2x2(reinterpret_cast<KvpiSRHNSpec_PSF2x2**>(pp),
                                                reinterpret_cast<const Kvp32f(*)[4]>(t), n);
              },
              [](void* p) { return kvpiSRHNFree_PSF2x2(static_cast<KvpiSRHNSpec_PSF2x2*>(p)); },
              [](const Kvp8u* a, const Kvp32f* h, int hs, KvpiSize sz, Kvp32f* r, const int* x, const int* y,
                 const unsigned* i, int n, const void* p) {
                return kvpiSRHNCalcResidual_PSF2x2_8u32f_C1R(a, h, hs, sz, r, x, y, i, n,
                                                             static_cast<const KvpiSRHNSpec_PSF2x2*>(p));
              },
              [](Kvp32f* g, int gs, KvpiSize sz, const int* x, const int* y, const unsigned* i,
                 const Kvp32f* w, int n, const void* p) {
                return kvpiSRHNUpdateGradient_PSF2x2_32f_C1R(g, gs, sz, x, y, i, w, n,
                                                             static_cast<const KvpiSRHNSpec_PSF2x2*>(p));
              }};

// A table object that frees itself.
struct Psf {
  const Kind& k;
  void* p = nullptr;
  Psf(const Kind& kind, const std::vector<float>& tab) : k(kind) {
    EXPECT_EQ(kvpStsOk, k.init(&p, tab.data(), (int)(tab.size() / (k.s * k.s))));
  }
  ~Psf() {
    if (p) {
      EXPECT_EQ(kvpStsOk, k.release(p));
    }
  }
};

// Entries over a plane: positions anywhere inside, random PSF numbers.
struct Entries {
  std::vector<int> x, y;
  std::vector<unsigned> idx;
  std::vector<Kvp8u> src;
  std::vector<float> w;
  Entries(int len, KvpiSize size, int s, int tabSize, kvt::Rng& rng) {
    std::uniform_int_distribution<int> dx(0, size.width - s), dy(0, size.height - s), di(0, tabSize - 1),
        dv(0, 255), dw(-4000, 4000);
    for (int i = 0; i < len; ++i) {
      x.push_back(dx(rng));
      y.push_back(dy(rng));
      idx.push_back((unsigned)di(rng));
      src.push_back((Kvp8u)dv(rng));
      w.push_back((float)dw(rng) / 37.f);
    }
  }
  int len() const { return (int)x.size(); }
};

std::vector<float> randomTable(int n, int s, kvt::Rng& rng) {
  std::uniform_real_distribution<float> d(-1.f, 1.f);
  std::vector<float> t((size_t)n * s * s);
  for (float& v : t) v = d(rng);
  return t;
}

// Residuals and gradients equal the reference bit for bit for both sizes,
// several plane shapes and entry counts (past the threading threshold), at
// every thread count; nothing outside the planes and arrays is written.
TEST(SuperRes, MatchesReferenceAtEveryThreadCount) {
  auto rng = kvt::makeRng(11);
  const std::vector<std::pair<KvpiSize, int>> cases =
      kvt::smallRun()
          ? std::vector<std::pair<KvpiSize, int>>{{{3, 3}, 1}, {{17, 9}, 300}, {{64, 33}, 5000}}
          : std::vector<std::pair<KvpiSize, int>>{
                {{3, 3}, 1}, {{17, 9}, 300}, {{64, 33}, 5000}, {{333, 41}, 70001}, {{640, 480}, 300000}};
  for (const Kind* k : {&k3, &k2})
    for (auto [size, len] : cases) {
      SCOPED_TRACE("S " + std::to_string(k->s) + " " + kvt::describe(size) + " len " + std::to_string(len));
      const int tabSize = 1 + (int)(rng() % 9);
      const std::vector<float> tab = randomTable(tabSize, k->s, rng);
      Psf psf(*k, tab);
      Entries e(len, size, k->s, tabSize, rng);
      Plane<Kvp32f> hi(size.width, size.height, 1, rng);
      std::uniform_real_distribution<float> dv(-300.f, 300.f);
      hi.fill([&] { return dv(rng); });
      std::vector<float> want(len);
      srref::residual(k->s, tab.data(), e.src.data(), hi.roi(), hi.step(), want.data(), e.x.data(),
                      e.y.data(), e.idx.data(), len);
      Plane<Kvp32f> g0(size.width, size.height, 1, rng);
      g0.fill([&] { return dv(rng); });
      Plane<Kvp32f> gWant = g0;
      srref::gradient(k->s, tab.data(), gWant.roi(), gWant.step(), e.x.data(), e.y.data(), e.idx.data(),
                      e.w.data(), len);
      for (int t : kvt::threadCounts()) {
        kvt::Threads scope(t);
        std::vector<float> got(len + 2, -7.f);
        const auto hiBefore = hi.bytes();
        ASSERT_EQ(kvpStsOk, k->residual(e.src.data(), hi.roi(), hi.step(), size, got.data() + 1, e.x.data(),
                                        e.y.data(), e.idx.data(), len, psf.p));
        EXPECT_EQ(0, std::memcmp(want.data(), got.data() + 1, (size_t)len * 4)) << t << " threads";
        EXPECT_EQ(-7.f, got[0]);
        EXPECT_EQ(-7.f, got[len + 1]);
        EXPECT_TRUE(hi.unchanged(hiBefore));
        Plane<Kvp32f> g = g0;
        const auto gBefore = g.bytes();
        ASSERT_EQ(kvpStsOk, k->gradient(g.roi(), g.step(), size, e.x.data(), e.y.data(), e.idx.data(),
                                        e.w.data(), len, psf.p));
        EXPECT_TRUE(kvt::sameRoi(g, gWant));
        EXPECT_TRUE(g.sameOutsideRoi(gBefore));
      }
    }
}

// The worked cases whose values depend on the exact operation order.
TEST(SuperRes, OrderOfOperations) {
  // 2x2 box on rows (10, 20), (30, 40), src 30: 25 summed, residual 5.
  {
    Psf psf(k2, {0.25f, 0.25f, 0.25f, 0.25f});
    const float hi[4] = {10, 20, 30, 40};
    const Kvp8u src = 30;
    const int x = 0, y = 0;
    const unsigned i = 0;
    float r = 0;
    ASSERT_EQ(kvpStsOk, k2.residual(&src, hi, 8, {2, 2}, &r, &x, &y, &i, 1, psf.p));
    EXPECT_EQ(5.f, r);
  }
  // (2^24 + 1) - 2^24 in tap order is 0; any other order gives -1.
  {
    Psf psf(k3, {1, 1, -1, 0, 0, 0, 0, 0, 0});
    float hi[9] = {16777216.f, 1.f, 16777216.f, 0, 0, 0, 0, 0, 0};
    const Kvp8u src = 0;
    const int x = 0, y = 0;
    const unsigned i = 0;
    float r = 99;
    ASSERT_EQ(kvpStsOk, k3.residual(&src, hi, 12, {3, 3}, &r, &x, &y, &i, 1, psf.p));
    EXPECT_EQ(0.f, r);
  }
  // Weights 2^24, 1, -2^24 on one footprint, all taps 1: the 1 is lost.
  {
    Psf psf(k3, std::vector<float>(9, 1.f));
    float g[9] = {};
    const int x[3] = {0, 0, 0}, y[3] = {0, 0, 0};
    const unsigned i[3] = {0, 0, 0};
    const float w[3] = {16777216.f, 1.f, -16777216.f};
    ASSERT_EQ(kvpStsOk, k3.gradient(g, 12, {3, 3}, x, y, i, w, 3, psf.p));
    for (float v : g) EXPECT_EQ(0.f, v);
  }
  // Overlapping footprints accumulate onto what the gradient held.
  {
    Psf psf(k3, std::vector<float>(9, 1.f));
    float g[12] = {};
    const int x[2] = {0, 1}, y[2] = {0, 0};
    const unsigned i[2] = {0, 0};
    const float w[2] = {1.f, 2.f};
    ASSERT_EQ(kvpStsOk, k3.gradient(g, 16, {4, 3}, x, y, i, w, 2, psf.p));
    EXPECT_EQ(1.f, g[0]);
    EXPECT_EQ(3.f, g[1]);
    EXPECT_EQ(3.f, g[2]);
    EXPECT_EQ(2.f, g[3]);
  }
}

// The table is copied: the caller's array may change after InitAlloc.
TEST(SuperRes, TableIsCopied) {
  std::vector<float> tab{0.5f, 0.25f, 0.125f, 2.f};
  Psf psf(k2, tab);
  tab.assign(4, 100.f);
  const float hi[4] = {4, 8, 16, 1};
  const Kvp8u src = 10;
  const int x = 0, y = 0;
  const unsigned i = 0;
  float r = 0;
  ASSERT_EQ(kvpStsOk, k2.residual(&src, hi, 8, {2, 2}, &r, &x, &y, &i, 1, psf.p));
  EXPECT_EQ(10.f - (((2.f + 2.f) + 2.f) + 2.f), r);
}

TEST(SuperRes, InitAllocStatuses) {
  const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
  struct Case {
    const char* what;
    bool nullOut, nullTab;
    int n;
    float bad;  // written into the last tap when not 0
    KvpStatus want;
  };
  const Case cases[] = {
      {"null out", true, false, 1, 0, kvpStsNullPtr},
      {"null table", false, true, 1, 0, kvpStsNullPtr},
      {"null before size", true, false, 0, 0, kvpStsNullPtr},
      {"tabSize 0", false, false, 0, 0, kvpStsBadSize},
      {"tabSize -3", false, false, -3, nan, kvpStsBadSize},
      {"NaN tap", false, false, 2, nan, kvpStsBadArg},
      {"inf tap", false, false, 3, -inf, kvpStsBadArg},
      {"finite", false, false, 3, 1e30f, kvpStsOk},
  };
  for (const Kind* k : {&k3, &k2})
    for (const Case& c : cases) {
      SCOPED_TRACE(c.what);
      std::vector<float> tab((size_t)std::max(c.n, 1) * k->s * k->s, 0.5f);
      if (c.bad != 0) tab.back() = c.bad;
      void* sentinel = &tab;
      void* p = sentinel;
      const KvpStatus st = k->init(c.nullOut ? nullptr : &p, c.nullTab ? nullptr : tab.data(), c.n);
      EXPECT_EQ(c.want, st);
      EXPECT_EQ(c.want, srref::initStatus(c.nullOut, c.nullTab ? nullptr : tab.data(), c.n, k->s));
      if (st == kvpStsOk) {
        EXPECT_EQ(kvpStsOk, k->release(p));
      } else {
        EXPECT_EQ(sentinel, p);
      }
    }
  EXPECT_EQ(kvpStsNullPtr, k3.release(nullptr));
  EXPECT_EQ(kvpStsNullPtr, k2.release(nullptr));
}

// Every status of both working calls in check order; on failure neither
// residuals nor gradient change.
TEST(SuperRes, WorkingStatusesAndNothingWritten) {
  struct Case {
    const char* what;
    int nullArg;  // 0: none; 1..: the n-th pointer argument null
    int len;
    KvpiSize size;
    int step;
    int badEntry;  // 0 none, 1 index = tabSize at the end, 2 x = -1, 3 x one past, 4 y one past
    KvpStatus want;
  };
  const Case cases[] = {
      {"ok", 0, 4, {5, 4}, 20, 0, kvpStsOk},
      {"null first with len 0", 1, 0, {5, 4}, 20, 0, kvpStsNullPtr},
      {"null last", 7, 4, {5, 4}, 20, 0, kvpStsNullPtr},
      {"null PSF before size", 6, 4, {0, 0}, 1, 0, kvpStsNullPtr},
      {"len 0", 0, 0, {5, 4}, 20, 0, kvpStsBadSize},
      {"narrow", 0, 4, {2, 5}, 20, 1, kvpStsBadSize},
      {"short step", 0, 4, {5, 4}, 16, 1, kvpStsBadStep},
      {"negative step", 0, 4, {5, 4}, -20, 0, kvpStsBadStep},
      {"odd step", 0, 4, {5, 4}, 22, 1, kvpStsStepNotMultiple},
      {"index = tabSize", 0, 4, {5, 4}, 20, 1, kvpStsOutOfRange},
      {"x = -1", 0, 4, {5, 4}, 20, 2, kvpStsOutOfRange},
      {"x one past", 0, 4, {5, 4}, 20, 3, kvpStsOutOfRange},
      {"y one past", 0, 4, {5, 4}, 24, 4, kvpStsOutOfRange},
  };
  for (const Kind* k : {&k3, &k2})
    for (const Case& c : cases) {
      SCOPED_TRACE(std::string(c.what) + " S " + std::to_string(k->s));
      const int tabSize = 2;
      Psf psf(*k, std::vector<float>((size_t)tabSize * k->s * k->s, 1.f));
      std::vector<int> x(4, 0), y(4, 0);
      std::vector<unsigned> idx(4, 1);
      std::vector<Kvp8u> src(4, 9);
      std::vector<float> w(4, 1.f), res(4, -3.f), plane(64, 2.f);
      if (c.badEntry == 1) idx[3] = tabSize;
      if (c.badEntry == 2) x[3] = -1;
      if (c.badEntry == 3) x[3] = c.size.width - k->s + 1;
      if (c.badEntry == 4) y[3] = c.size.height - k->s + 1;
      // The table's statuses are those of the 3x3 size; the 2x2 size takes
      // the reference's (the narrow plane is wide enough for it).
      const KvpStatus ref =
          srref::workStatus(k->s, c.step, c.size, x.data(), y.data(), idx.data(), c.len, tabSize);
      if (c.nullArg == 0 && k->s == 3) {
        EXPECT_EQ(c.want, ref);
      }
      const KvpStatus want = (c.nullArg || k->s == 3) ? c.want : ref;
      auto n = [&](int i, auto* p) { return c.nullArg == i ? nullptr : p; };
      const std::vector<float> planeBefore = plane;
      EXPECT_EQ(want, k->residual(n(1, src.data()), n(2, plane.data()), c.step, c.size, n(3, res.data()),
                                  n(4, x.data()), n(5, y.data()), n(7, idx.data()), c.len, n(6, psf.p)));
      if (want != kvpStsOk) {
        EXPECT_EQ(std::vector<float>(4, -3.f), res);
      }
      EXPECT_EQ(want, k->gradient(n(2, plane.data()), c.step, c.size, n(4, x.data()), n(5, y.data()),
                                  n(7, idx.data()), n(1, w.data()), c.len, n(6, psf.p)));
      if (want != kvpStsOk) {
        EXPECT_EQ(planeBefore, plane);
      }
    }
}

// The reconstruction the library exists for: four half-resolution frames
// of a textured image, pixel-replicated start, twenty steps of mu = 1 with
// the 2x2 box. The error must fall by more than half (over 3 dB).
TEST(SuperRes, ReconstructionConverges) {
  auto rng = kvt::makeRng(5);
  const int W = 64, H = 64;
  std::vector<float> X(W * H);
  for (int y = 0; y < H; ++y)
    for (int x = 0; x < W; ++x)
      X[y * W + x] = (float)(128 + 60 * std::sin(x * 0.9) * std::cos(y * 0.7) + (int)(rng() % 40) - 20);
  Psf psf(k2, {0.25f, 0.25f, 0.25f, 0.25f});
  std::vector<int> ex, ey;
  std::vector<unsigned> ei;
  std::vector<Kvp8u> es;
  for (int dy = 0; dy < 2; ++dy)
    for (int dx = 0; dx < 2; ++dx)
      for (int y = dy; y + 1 < H; y += 2)
        for (int x = dx; x + 1 < W; x += 2) {
          const float m = (X[y * W + x] + X[y * W + x + 1] + X[(y + 1) * W + x] + X[(y + 1) * W + x + 1]) / 4;
          ex.push_back(x);
          ey.push_back(y);
          ei.push_back(0);
          es.push_back((Kvp8u)std::lrint(std::fmin(std::fmax(m, 0.f), 255.f)));
        }
  std::vector<float> est(W * H), r(ex.size()), g(W * H);
  for (int y = 0; y < H; ++y)
    for (int x = 0; x < W; ++x) est[y * W + x] = es[(y / 2) * (W / 2) + x / 2];
  auto mse = [&] {
    double s = 0;
    for (int i = 0; i < W * H; ++i) s += (est[i] - X[i]) * (est[i] - X[i]);
    return s / (W * H);
  };
  const double before = mse();
  for (int it = 0; it < 20; ++it) {
    ASSERT_EQ(kvpStsOk, k2.residual(es.data(), est.data(), W * 4, {W, H}, r.data(), ex.data(), ey.data(),
                                    ei.data(), (int)ex.size(), psf.p));
    std::fill(g.begin(), g.end(), 0.f);
    ASSERT_EQ(kvpStsOk, k2.gradient(g.data(), W * 4, {W, H}, ex.data(), ey.data(), ei.data(), r.data(),
                                    (int)ex.size(), psf.p));
    for (int i = 0; i < W * H; ++i) est[i] += g[i];
  }
  EXPECT_LT(mse(), before / 2);
}

}  // namespace

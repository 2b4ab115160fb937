// Derivative and smoothing filters with borders against the plain
// per-pixel reference: every function, every border, odd shapes from 1x1
// past the threading threshold, padded steps and unaligned ROIs, exact
// buffers; argument checks in order with nothing written; buffer sizes;
// thread counts and both vector widths give the same bits; known values.
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <tuple>

#include "border_filter_ref.h"
#include "harness.h"

namespace {

using kvt::Plane;

enum Family { kDeriv, kLowpass, kGauss };

// One exported pair, type-erased: (src, srcStep, dst, dstStep, roi, mask or
// kernel size, sigma, border, border value (C1: the value, C3: the
// pointer), buffer) and its size query (roi, mask or kernel size, &size).
using Run =
    std::function<KvpStatus(const void*, int, void*, int, KvpiSize, int, float, int, const void*, Kvp8u*)>;
using Size = std::function<KvpStatus(KvpiSize, int, int*)>;

struct Member {
  std::string name;
  Family family;
  int op;        // derivative op
  int src, dst;  // element kind: 0 8u, 1 8s, 2 16u, 3 32f, 4 16s
  int ch;
  Run run;
  Size size;
};

#define BF_DERIV(OP, T, S, D, SK, DK)                                                              \
  Member {                                                                                         \
#OP "_" #T, kDeriv, bref::OP, SK, DK, 1,                                                         \
         [](const void* s, int ss, void* d, int ds, KvpiSize r, int m, float, int b, const void* v,       \
            Kvp8u* buf) {                                                                                 \
           return kvpiFilter##OP##Border_##T##_C1R((const S*)s, ss, (D*)d, ds, r, (KvpiMaskSize)m,        \
                                                   (KvpiBorderType)b, *(const S*)v, buf);                 \
         },                                                                                               \
         [](KvpiSize r, int m, int* p) { return kvpiFilter##OP##GetBufferSize_##T##_C1R(r, (KvpiMaskSize)m, p); } \
  }
#define BF_DERIV3(OP)                                                                 \
  BF_DERIV(OP, 8u16s, Kvp8u, Kvp16s, 0, 4), BF_DERIV(OP, 8s16s, Kvp8s, Kvp16s, 1, 4), \
      BF_DERIV(OP, 32f, Kvp32f, Kvp32f, 3, 3)

#define BF_VALUE_1(S) *(const S*)v
#define BF_VALUE_3(S) (const S*)v
#define BF_SMOOTH(FAM, NAME, T, S, SK, CH, MTYPE)                                                    \
  Member {                                                                                           \
#NAME "_" #T "_C" #CH "R", FAM, 0, SK, SK, CH,                                                     \
         [](const void* s, int ss, void* d, int ds, KvpiSize r, int m, float sg, int b, const void* v,      \
            Kvp8u* buf) {                                                                                   \
           (void)sg;                                                                                        \
           return kvpiFilter##NAME##Border_##T##_C##CH##R((const S*)s, ss, (S*)d, ds, r, BF_ARGS_##FAM(m, sg), \
                                                          (KvpiBorderType)b, BF_VALUE_##CH(S), buf);        \
         },                                                                                                 \
         [](KvpiSize r, int m, int* p) { return kvpiFilter##NAME##GetBufferSize_##T##_C##CH##R(r, (MTYPE)m, p); } \
  }
#define BF_ARGS_kLowpass(m, sg) (KvpiMaskSize) m
#define BF_ARGS_kGauss(m, sg) m, sg

const std::vector<Member>& members() {
  static const std::vector<Member> all = {BF_DERIV3(SobelHoriz),
                                          BF_DERIV3(SobelVert),
                                          BF_DERIV3(SobelHorizSecond),
                                          BF_DERIV3(SobelVertSecond),
                                          BF_DERIV3(SobelCross),
                                          BF_DERIV3(SobelNegVert),
                                          BF_DERIV3(ScharrHoriz),
                                          BF_DERIV3(ScharrVert),
                                          BF_DERIV3(Laplacian),
                                          BF_SMOOTH(kLowpass, Lowpass, 8u, Kvp8u, 0, 1, KvpiMaskSize),
                                          BF_SMOOTH(kLowpass, Lowpass, 8u, Kvp8u, 0, 3, KvpiMaskSize),
                                          BF_SMOOTH(kLowpass, Lowpass, 32f, Kvp32f, 3, 1, KvpiMaskSize),
                                          BF_SMOOTH(kLowpass, Lowpass, 32f, Kvp32f, 3, 3, KvpiMaskSize),
                                          BF_SMOOTH(kGauss, Gauss, 8u, Kvp8u, 0, 1, int),
                                          BF_SMOOTH(kGauss, Gauss, 8u, Kvp8u, 0, 3, int),
                                          BF_SMOOTH(kGauss, Gauss, 16u, Kvp16u, 2, 1, int),
                                          BF_SMOOTH(kGauss, Gauss, 32f, Kvp32f, 3, 1, int),
                                          BF_SMOOTH(kGauss, Gauss, 32f, Kvp32f, 3, 3, int)};
  return all;
}

bool scharr(const Member& m) {
  return m.family == kDeriv && (m.op == bref::ScharrHoriz || m.op == bref::ScharrVert);
}

// Masks (mask codes, or Gauss kernel sizes) a member accepts in the sweeps.
std::vector<int> masksOf(const Member& m) {
  if (m.family == kGauss) return {3, 5, 9, 15, 19};
  if (scharr(m)) return {kvpMskSize3x3};
  return {kvpMskSize3x3, kvpMskSize5x5};
}

int side(const Member& m, int mask) { return m.family == kGauss ? mask : mask / 10; }

// Typed work over the member's element kinds.
template <class Fn>
void withTypes(int kind, Fn&& fn) {
  switch (kind) {
    case 0:
      fn(Kvp8u{});
      break;
    case 1:
      fn(Kvp8s{});
      break;
    case 2:
      fn(Kvp16u{});
      break;
    case 4:
      fn(Kvp16s{});
      break;
    default:
      fn(Kvp32f{});
      break;
  }
}

template <class T>
T randomValue(kvt::Rng& rng) {
  if constexpr (std::is_same_v<T, Kvp32f>)
    return std::uniform_real_distribution<float>(-300.f, 300.f)(rng);  // full mantissas: order matters
  else
    return (T)(rng() & 0xffff);
}

// A source plane with random pixels and its border values.
template <class S>
struct Source {
  Plane<S> plane;
  S value[3];
  Source(KvpiSize sz, int ch, kvt::Rng& rng) : plane(sz.width, sz.height, ch, rng) {
    plane.fill([&] { return randomValue<S>(rng); });
    for (S& v : value) v = randomValue<S>(rng);
  }
};

// Reference result of a member into out (a plane of the destination type).
template <class S, class D>
void reference(const Member& m, const Source<S>& s, int mask, float sigma, int border, Plane<D>& out) {
  const bref::Ext<S> e{s.plane.roi(), s.plane.step(), s.plane.width(), s.plane.height(),
                       m.ch,          border,         s.value};
  const int k = side(m, mask);
  if constexpr (std::is_same_v<S, D> || std::is_same_v<D, Kvp16s>) {
    if (m.family == kDeriv) {
      if constexpr (std::is_same_v<S, Kvp32f> && std::is_same_v<D, Kvp32f>)
        bref::deriv32f(e, m.op, k, out.roi(), out.step());
      else if constexpr (std::is_same_v<D, Kvp16s> && !std::is_same_v<S, Kvp32f>)
        bref::derivInt(e, m.op, k, out.roi(), out.step());
    } else if constexpr (std::is_same_v<S, D>) {
      if (m.family == kLowpass) {
        if constexpr (std::is_same_v<S, Kvp8u>) bref::lowpass8u(e, k, out.roi(), out.step());
        if constexpr (std::is_same_v<S, Kvp32f>) bref::lowpass32f(e, k, out.roi(), out.step());
      } else {
        if constexpr (std::is_same_v<S, Kvp32f>)
          bref::gauss32f(e, k, sigma, out.roi(), out.step());
        else
          bref::gaussInt(e, k, sigma, out.roi(), out.step());
      }
    }
  }
}

// Runs a member with an exactly sized buffer (at an odd address) and
// checks status, guards and the untouched source.
template <class S, class D>
::testing::AssertionResult runMember(const Member& m, Source<S>& s, int mask, float sigma, int border,
                                     Plane<D>& dst) {
  int bytes = 0;
  if (m.size(s.plane.size(), mask, &bytes) != kvpStsOk) return ::testing::AssertionFailure() << "size query";
  std::vector<Kvp8u> buffer((size_t)bytes + 1);
  const std::vector<uint8_t> srcBefore = s.plane.bytes(), dstBefore = dst.bytes();
  const void* value = m.ch == 3 ? (const void*)s.value : (const void*)&s.value[0];
  const KvpStatus st = m.run(s.plane.roi(), s.plane.step(), dst.roi(), dst.step(), s.plane.size(), mask,
                             sigma, border, value, buffer.data() + 1);
  if (st != kvpStsOk) return ::testing::AssertionFailure() << "status " << st;
  if (!s.plane.unchanged(srcBefore)) return ::testing::AssertionFailure() << "source written";
  if (!dst.sameOutsideRoi(dstBefore)) return ::testing::AssertionFailure() << "written outside the ROI";
  return ::testing::AssertionSuccess();
}

const float kSigmas[] = {0.3f, 0.8f, 1.5f, 4.0f, 20.0f};

// Every member, mask, border and shape against the reference.
TEST(BorderFilters, MatchReference) {
  kvt::Rng rng = kvt::makeRng(71);
  const std::vector<KvpiSize> shapes =
      kvt::smallRun() ? std::vector<KvpiSize>{{1, 1}, {2, 2}, {7, 3}, {17, 9}}
                      : std::vector<KvpiSize>{{1, 1}, {2, 2}, {1, 6},  {6, 1},   {3, 5},
                                              {4, 4}, {9, 2}, {17, 9}, {40, 11}, {67, 23}};
  for (const Member& m : members())
    withTypes(m.src, [&](auto sv) {
      withTypes(m.dst, [&](auto dv) {
        using S = decltype(sv);
        using D = decltype(dv);
        int n = 0;
        for (KvpiSize sz : shapes)
          for (int mask : masksOf(m))
            for (int border = 0; border < 5; ++border) {
              const float sigma = kSigmas[n++ % 5];
              SCOPED_TRACE(m.name + " " + kvt::describe(sz) + " mask " + std::to_string(mask) + " border " +
                           std::to_string(border) + " sigma " + std::to_string(sigma));
              Source<S> s(sz, m.ch, rng);
              Plane<D> got(sz.width, sz.height, m.ch, rng), want(sz.width, sz.height, m.ch, rng);
              ASSERT_TRUE(runMember(m, s, mask, sigma, border, got));
              reference(m, s, mask, sigma, border, want);
              ASSERT_TRUE(kvt::sameRoi(got, want));
            }
      });
    });
}

// A shape past the threading threshold at several thread counts, and with
// the 256-bit routines switched off: the same bits as the reference.
TEST(BorderFilters, ThreadsAndVectorWidths) {
  kvt::Rng rng = kvt::makeRng(72);
  const KvpiSize sz = kvt::smallRun() ? KvpiSize{67, 40} : KvpiSize{400, 330};
  const Kvp64u features = kvpGetEnabledCpuFeatures();
  for (const Member& m : members())
    withTypes(m.src, [&](auto sv) {
      withTypes(m.dst, [&](auto dv) {
        using S = decltype(sv);
        using D = decltype(dv);
        const std::vector<int> masks = masksOf(m);
        const int mask = masks[masks.size() > 2 ? 2 : masks.size() - 1];
        const int border = m.family == kDeriv ? m.op % 5 : (int)m.src % 5;
        Source<S> s(sz, m.ch, rng);
        Plane<D> want(sz.width, sz.height, m.ch, rng);
        reference(m, s, mask, 1.2f, border, want);
        for (int threads : kvt::threadCounts())
          for (bool wide : {true, false}) {
            SCOPED_TRACE(m.name + " threads " + std::to_string(threads) + (wide ? " wide" : " narrow"));
            kvt::Threads scope(threads);
            kvpSetCpuFeatures(wide ? features : features & ~(Kvp64u)KVP_CPU_AVX2);
            Plane<D> got(sz.width, sz.height, m.ch, rng);
            const auto ok = runMember(m, s, mask, 1.2f, border, got);
            kvpSetCpuFeatures(features);
            ASSERT_TRUE(ok);
            ASSERT_TRUE(kvt::sameRoi(got, want));
          }
      });
    });
}

// The statuses in check order; a failing call writes nothing.
struct Args {
  const void* src;
  int ss;
  void* dst;
  int ds;
  KvpiSize roi;
  int mask;
  float sigma;
  int border;
  const void* value;
  Kvp8u* buf;
};

TEST(BorderFilters, ChecksInOrder) {
  kvt::Rng rng = kvt::makeRng(73);
  const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
  for (const Member& m : members())
    withTypes(m.src, [&](auto sv) {
      withTypes(m.dst, [&](auto dv) {
        using S = decltype(sv);
        using D = decltype(dv);
        Source<S> s({5, 4}, m.ch, rng);
        Plane<D> d(5, 4, m.ch, rng);
        std::vector<Kvp8u> buf(1 << 16, 0x5A);
        const bool gauss = m.family == kGauss, wide = sizeof(S) > 1 || sizeof(D) > 1;
        const Args ok{s.plane.roi(),
                      s.plane.step(),
                      d.roi(),
                      d.step(),
                      {5, 4},
                      gauss ? 5 : kvpMskSize3x3,
                      1,
                      1,
                      m.ch == 3 ? (const void*)s.value : (const void*)&s.value[0],
                      buf.data()};
        const int srow = 5 * m.ch * (int)sizeof(S), drow = 5 * m.ch * (int)sizeof(D);
        // Each case changes the good arguments; later checks' arguments are
        // also bad where that shows the order.
        std::vector<std::tuple<const char*, KvpStatus, std::function<void(Args&)>>> cases = {
            {"null src", kvpStsNullPtr, [](Args& a) { a.src = nullptr, a.roi.width = 0; }},
            {"null dst", kvpStsNullPtr, [](Args& a) { a.dst = nullptr, a.roi.width = 0; }},
            {"null buffer", kvpStsNullPtr, [](Args& a) { a.buf = nullptr, a.roi.width = 0; }},
            {"zero width", kvpStsBadSize, [](Args& a) { a.roi.width = 0, a.ss = 0; }},
            {"negative height", kvpStsBadSize, [](Args& a) { a.roi.height = -1, a.ss = 0; }},
            {"short src step", kvpStsBadStep, [&](Args& a) { a.ss = srow - 1, a.mask = 0, a.border = 9; }},
            {"short dst step", kvpStsBadStep, [&](Args& a) { a.ds = drow - 1, a.mask = 0, a.border = 9; }},
            {"step multiple", wide ? kvpStsStepNotMultiple : (gauss ? kvpStsBadSize : kvpStsBadMaskSize),
             [&](Args& a) { a.ss += sizeof(S) > 1, a.ds += sizeof(D) > 1, a.mask = 0; }},
            {"border 5", kvpStsBadArg, [](Args& a) { a.border = 5; }},
            {"border -1", kvpStsBadArg, [](Args& a) { a.border = -1; }}};
        if (gauss) {
          cases.push_back(
              {"kernel 1", kvpStsBadSize, [&](Args& a) { a.mask = 1, a.sigma = nan, a.border = 9; }});
          cases.push_back({"kernel 4", kvpStsBadArg, [](Args& a) { a.mask = 4; }});
          for (float bad : {0.f, -1.f, nan, inf})
            cases.push_back({"sigma", kvpStsBadArg, [bad](Args& a) { a.sigma = bad; }});
        } else {
          cases.push_back(
              {"mask 3x1", kvpStsBadMaskSize, [](Args& a) { a.mask = kvpMskSize3x1, a.border = 9; }});
          cases.push_back(
              {"mask 5x5", scharr(m) ? kvpStsBadMaskSize : kvpStsOk, [](Args& a) { a.mask = 55; }});
        }
        if (m.ch == 3) {
          cases.push_back(
              {"const, null values", kvpStsNullPtr, [](Args& a) { a.border = 0, a.value = nullptr; }});
          cases.push_back({"replicate, null values", kvpStsOk, [](Args& a) { a.value = nullptr; }});
        }
        for (const auto& [what, want, change] : cases) {
          SCOPED_TRACE(m.name + ": " + what);
          Args a = ok;
          change(a);
          const std::vector<uint8_t> before = d.bytes();
          EXPECT_EQ(want, m.run(a.src, a.ss, a.dst, a.ds, a.roi, a.mask, a.sigma, a.border, a.value, a.buf));
          if (want != kvpStsOk) {
            EXPECT_TRUE(d.unchanged(before));
          }
        }
      });
    });
}

// Size queries: the formula at several thread counts, statuses in order,
// nothing stored on failure.
TEST(BorderFilters, BufferSizes) {
  for (const Member& m : members()) {
    SCOPED_TRACE(m.name);
    const int good = m.family == kGauss ? 7 : kvpMskSize3x3;
    for (int threads : {1, 3}) {
      kvt::Threads scope(threads);
      for (KvpiSize sz : {KvpiSize{1, 1}, KvpiSize{641, 3}, KvpiSize{4000, 1}}) {
        int got = -1;
        ASSERT_EQ(kvpStsOk, m.size(sz, good, &got));
        EXPECT_EQ(bref::bufferBytes(sz.width, m.ch, side(m, good), threads,
                                    m.family == kDeriv && m.op == bref::Laplacian, m.family == kGauss),
                  got);
      }
    }
    int v = -7;
    EXPECT_EQ(kvpStsNullPtr, m.size({0, 0}, 0, nullptr));
    EXPECT_EQ(kvpStsBadSize, m.size({0, 5}, good, &v));
    EXPECT_EQ(kvpStsBadSize, m.size({5, 0}, good, &v));
    if (m.family == kGauss) {
      EXPECT_EQ(kvpStsBadSize, m.size({5, 5}, 1, &v));
      EXPECT_EQ(kvpStsBadArg, m.size({5, 5}, 6, &v));
    } else {
      EXPECT_EQ(kvpStsBadMaskSize, m.size({5, 5}, kvpMskSize1x3, &v));
      if (scharr(m)) {
        EXPECT_EQ(kvpStsBadMaskSize, m.size({5, 5}, kvpMskSize5x5, &v));
      }
    }
    EXPECT_EQ(kvpStsBadSize, m.size({400000000, 1}, good, &v));
    EXPECT_EQ(-7, v);
  }
}

// ---- values worked by hand ---------------------------------------------------

template <class S, class D>
std::vector<D> runPlain(const Member& m, const std::vector<S>& src, int w, int h, int mask, float sigma,
                        int border, S value) {
  int bytes = 0;
  EXPECT_EQ(kvpStsOk, m.size({w, h}, mask, &bytes));
  std::vector<Kvp8u> buf(bytes);
  std::vector<D> dst((size_t)w * h * m.ch);
  const S values[3] = {value, value, value};
  EXPECT_EQ(kvpStsOk,
            m.run(src.data(), w * m.ch * (int)sizeof(S), dst.data(), w * m.ch * (int)sizeof(D), {w, h}, mask,
                  sigma, border, m.ch == 3 ? (const void*)values : (const void*)&value, buf.data()));
  return dst;
}

const Member& named(const std::string& name) {
  for (const Member& m : members())
    if (m.name == name) return m;
  throw std::runtime_error(name);
}

TEST(BorderFilters, HandWorkedValues) {
  const std::vector<Kvp8u> nine = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  auto at = [](const std::vector<Kvp16s>& v, int i) { return (int)v[i]; };
  EXPECT_EQ(8, at(runPlain<Kvp8u, Kvp16s>(named("SobelVert_8u16s"), nine, 3, 3, 33, 0, 1, 0), 4));
  EXPECT_EQ(4, at(runPlain<Kvp8u, Kvp16s>(named("SobelVert_8u16s"), nine, 3, 3, 33, 0, 1, 0), 0));
  EXPECT_EQ(-24, at(runPlain<Kvp8u, Kvp16s>(named("SobelHoriz_8u16s"), nine, 3, 3, 33, 0, 1, 0), 4));
  EXPECT_EQ(-8, at(runPlain<Kvp8u, Kvp16s>(named("SobelNegVert_8u16s"), nine, 3, 3, 33, 0, 1, 0), 4));
  // A bright pixel: the mask rotated by 180 degrees, times 255.
  std::vector<Kvp8u> dot(25, 0);
  dot[12] = 255;
  const std::vector<Kvp16s> sv = runPlain<Kvp8u, Kvp16s>(named("SobelVert_8u16s"), dot, 5, 5, 33, 0, 0, 0);
  const std::vector<int> ring = {sv[6], sv[7], sv[8], sv[11], sv[12], sv[13], sv[16], sv[17], sv[18]};
  EXPECT_EQ((std::vector<int>{255, 0, -255, 510, 0, -510, 255, 0, -255}), ring);
  EXPECT_EQ(-6120, at(runPlain<Kvp8u, Kvp16s>(named("Laplacian_8u16s"), dot, 5, 5, 55, 0, 0, 0), 12));
  // Extremes without clamping: 255 where the 5x5 Laplacian weight is positive.
  const std::vector<int> lap = bref::maskOf(bref::Laplacian, 5);
  std::vector<Kvp8u> pos(25), neg(25);
  for (int i = 0; i < 25; ++i) pos[i] = lap[i] > 0 ? 255 : 0, neg[i] = (Kvp8u)(255 - pos[i]);
  EXPECT_EQ(14280, at(runPlain<Kvp8u, Kvp16s>(named("Laplacian_8u16s"), pos, 5, 5, 55, 0, 1, 0), 12));
  EXPECT_EQ(-14280, at(runPlain<Kvp8u, Kvp16s>(named("Laplacian_8u16s"), neg, 5, 5, 55, 0, 1, 0), 12));
  // A vertical step: 5x5 SobelVert 12240 beside the edge, 4080 one further.
  std::vector<Kvp8u> step(12 * 9);
  std::vector<Kvp8s> step8s(12 * 9);
  for (int i = 0; i < 12 * 9; ++i) step[i] = i % 12 >= 6 ? 255 : 0, step8s[i] = i % 12 >= 6 ? 127 : -128;
  for (const auto& d : {runPlain<Kvp8u, Kvp16s>(named("SobelVert_8u16s"), step, 12, 9, 55, 0, 1, 0),
                        runPlain<Kvp8s, Kvp16s>(named("SobelVert_8s16s"), step8s, 12, 9, 55, 0, 1, 0)}) {
    const std::vector<int> row = {d[4 * 12 + 2], d[4 * 12 + 4], d[4 * 12 + 5],
                                  d[4 * 12 + 6], d[4 * 12 + 7], d[4 * 12 + 9]};
    EXPECT_EQ((std::vector<int>{0, 4080, 12240, 12240, 4080, 0}), row);
  }
  // Constant corners of a 1x1 ROI.
  const std::vector<Kvp8u> ten = {10};
  EXPECT_EQ(179, (runPlain<Kvp8u, Kvp8u>(named("Lowpass_8u_C1R"), ten, 1, 1, 33, 0, 0, 200)[0]));
  EXPECT_EQ(760, at(runPlain<Kvp8u, Kvp16s>(named("SobelVertSecond_8u16s"), ten, 1, 1, 33, 0, 0, 200), 0));
  EXPECT_EQ(0, at(runPlain<Kvp8u, Kvp16s>(named("SobelCross_8u16s"), ten, 1, 1, 33, 0, 0, 200), 0));
  // Box rounding next to the halves: 13/9 -> 1, 14/9 -> 2, 12/25 -> 0, 13/25 -> 1.
  for (auto [sum, mask, want] : {std::tuple{13, 33, 1}, {14, 33, 2}, {12, 55, 0}, {13, 55, 1}}) {
    std::vector<Kvp8u> img(1, (Kvp8u)sum);
    EXPECT_EQ(want, (runPlain<Kvp8u, Kvp8u>(named("Lowpass_8u_C1R"), img, 1, 1, mask, 0, 0, 0)[0])) << sum;
  }
  // Gauss k = 3, sigma 0.5 on a unit impulse in float: the taps squared.
  std::vector<Kvp32f> impulse(9, 0.f);
  impulse[4] = 1.f;
  const std::vector<Kvp32f> g =
      runPlain<Kvp32f, Kvp32f>(named("Gauss_32f_C1R"), impulse, 3, 3, 3, 0.5f, 0, 0.f);
  EXPECT_NEAR(0.786986 * 0.786986, g[4], 1e-6);
  EXPECT_NEAR(0.106507 * 0.786986, g[1], 1e-6);
  // Constant images stay constant: integer Gauss and 8u box exactly.
  for (int k : {3, 9, 31}) {
    std::vector<Kvp8u> c8(6 * 4, 201);
    std::vector<Kvp16u> c16(6 * 4, 65535);
    for (Kvp8u v : runPlain<Kvp8u, Kvp8u>(named("Gauss_8u_C1R"), c8, 6, 4, k, 2.5f, 0, 201))
      EXPECT_EQ(201, v);
    for (Kvp16u v : runPlain<Kvp16u, Kvp16u>(named("Gauss_16u_C1R"), c16, 6, 4, k, 0.4f, 2, 0))
      EXPECT_EQ(65535, v);
  }
}

}  // namespace

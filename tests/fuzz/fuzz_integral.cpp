// Fuzzes the integral-image builders (upright, squared, tilted) and the
// window standard deviations over their tables: arbitrary sizes, steps,
// unaligned ROI offsets, null or valid pointers, constants, windows and
// scale factors. Every call must return the status its arguments call for,
// write nothing when it fails, nothing outside its output pixels when it
// succeeds, leave its inputs alone, and then match a plain reference written
// from the table definitions entry for entry.
#include <climits>
#include <cmath>
#include <cstring>
#include <type_traits>
#include <vector>

#include "fuzz_support.h"
#include "kvpcore.h"
KVF_REF_BEGIN
#include "../detect/integral_ref.h"
KVF_REF_END

namespace {

constexpr long long kMaxPlaneBytes = 1 << 20;

// ---- values ----------------------------------------------------------------------

template <class T>
T pickValue(kvf::Reader& in) {
  if constexpr (std::is_same_v<T, Kvp32s>) {
    const uint8_t k = in.byte();
    if (k < 64) return (Kvp32s)in.intIn(-1000, 1000);
    if (k < 80) return INT_MAX - in.intIn(0, 70000);
    if (k < 96) return INT_MIN + in.intIn(0, 70000);
    return in.raw<int32_t>();
  } else if constexpr (std::is_same_v<T, Kvp32f>) {
    return in.pickFloat();
  } else {
    return in.pickDouble();
  }
}

// Same value: bit for bit, except that any NaN equals any NaN (the payload
// of a NaN result depends on operand order, which is not part of the rule).
template <class T>
bool sameValue(T a, T b) {
  if constexpr (std::is_floating_point_v<T>)
    if (a != a || b != b) return a != a && b != b;
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <class T>
T readAt(const uint8_t* rowPtr, long long x) {
  T v;
  std::memcpy(&v, rowPtr + x * (long long)sizeof(T), sizeof(T));
  return v;
}
template <class T>
void writeAt(uint8_t* rowPtr, long long x, T v) {
  std::memcpy(rowPtr + x * (long long)sizeof(T), &v, sizeof(T));
}

int toInt(long long v) { return (int)(uint32_t)(uint64_t)v; }

// A step near `need` bytes (short by a little, exact, or padded by whole or
// partial elements), or any 32-bit value.
int pickStep(kvf::Reader& in, bool anyBits, long long need, int shortBy) {
  if (anyBits) return in.raw<int32_t>();
  return toInt(need + in.intIn(-shortBy, 40));
}

kvf::GuardedPlane planeOrTrap(bool fits, size_t rowBytes, int rows, long long step, size_t lead,
                              uint8_t seed) {
  return fits ? kvf::GuardedPlane(rowBytes, rows, (size_t)step, lead, seed) : kvf::GuardedPlane::trap(seed);
}

// ---- builders ----------------------------------------------------------------------

template <class F>
struct BuilderSig;
template <class TS>
struct BuilderSig<KvpStatus (*)(const Kvp8u*, int, TS*, int, KvpiSize, TS)> {
  using S = TS;
  using Q = TS;  // unused
  static constexpr bool kSqr = false;
};
template <class TS, class TQ>
struct BuilderSig<KvpStatus (*)(const Kvp8u*, int, TS*, int, TQ*, int, KvpiSize, TS, TQ)> {
  using S = TS;
  using Q = TQ;
  static constexpr bool kSqr = true;
};

template <class T>
KVF_NO_COVERAGE void requireTable(const kvf::GuardedPlane& p, const std::vector<T>& ref, int cols, int rows,
                                  const char* what) {
  for (int y = 0; y < rows; ++y)
    for (int x = 0; x < cols; ++x) {
      const T got = readAt<T>(p.row(y), x), want = ref[(size_t)y * cols + x];
      KVF_REQUIRE(sameValue(got, want), "%s table entry (%d, %d) of %dx%d", what, x, y, cols, rows);
    }
}

template <bool Tilted, auto Fn>
void runBuilder(kvf::Reader& in) {
  using Sig = BuilderSig<decltype(Fn)>;
  using TS = typename Sig::S;
  using TQ = typename Sig::Q;
  constexpr bool kSqr = Sig::kSqr;
  constexpr int kExtra = Tilted ? 2 : 1;

  const uint8_t how = in.byte();
  KvpiSize roi;
  // Wide rows let the 32-bit row prefix of the squares wrap.
  if ((how & 0xe0) == 0xe0) {
    roi.width = in.intIn(1000, 40000);
    roi.height = in.intIn(1, 2);
  } else {
    roi.width = (how & 1) ? in.raw<int32_t>() : in.intIn(-2, 100);
    roi.height = (how & 2) ? in.raw<int32_t>() : in.intIn(-2, 24);
  }
  const long long w = roi.width > 0 ? roi.width : 0, h = roi.height > 0 ? roi.height : 0;
  const long long cols = w + kExtra, rows = h + kExtra;
  const int srcStep = pickStep(in, how & 4, w, 3);
  const int dstStep = pickStep(in, how & 8, cols * (long long)sizeof(TS), 5);
  const int sqrStep = kSqr ? pickStep(in, how & 16, cols * (long long)sizeof(TQ), 9) : 0;
  const size_t srcLead = in.intIn(0, 31), dstLead = (size_t)in.intIn(0, 31) * sizeof(TS),
               sqrLead = (size_t)in.intIn(0, 31) * sizeof(TQ);
  const uint8_t nulls = in.byte();
  const bool srcNull = (nulls & 3) == 1, dstNull = ((nulls >> 2) & 3) == 1, sqrNull = ((nulls >> 4) & 3) == 1;
  const TS val = pickValue<TS>(in);
  const TQ valSqr = pickValue<TQ>(in);
  const uint8_t fill = in.byte();  // pixels once the input runs out

  const KvpStatus expect = ir::builderStatus(srcNull, dstNull, sqrNull, kSqr, roi, Tilted, srcStep, dstStep,
                                             sizeof(TS), sqrStep, sizeof(TQ));
  const bool fits =
      kvf::planeFits(w, h, srcStep, srcLead, kMaxPlaneBytes) &&
      kvf::planeFits(cols * (long long)sizeof(TS), rows, dstStep, dstLead, kMaxPlaneBytes) &&
      (!kSqr || kvf::planeFits(cols * (long long)sizeof(TQ), rows, sqrStep, sqrLead, kMaxPlaneBytes));
  if (expect == kvpStsOk && !fits) return;

  kvf::GuardedPlane src = planeOrTrap(fits, (size_t)w, (int)h, srcStep, srcLead, 11);
  kvf::GuardedPlane dst = planeOrTrap(fits, (size_t)cols * sizeof(TS), (int)rows, dstStep, dstLead, 12);
  kvf::GuardedPlane sqr = kSqr ? planeOrTrap(fits, (size_t)cols * sizeof(TQ), (int)rows, sqrStep, sqrLead, 13)
                               : kvf::GuardedPlane::trap(13);
  if (fits)
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) src.row(y)[x] = in.left() ? in.byte() : fill;
  src.arm();
  dst.arm();
  sqr.arm();

  KvpStatus st;
  const Kvp8u* pSrc = srcNull ? nullptr : src.roi();
  TS* pDst = dstNull ? nullptr : dst.as<TS>();
  if constexpr (kSqr)
    st = Fn(pSrc, srcStep, pDst, dstStep, sqrNull ? nullptr : sqr.as<TQ>(), sqrStep, roi, val, valSqr);
  else
    st = Fn(pSrc, srcStep, pDst, dstStep, roi, val);

  if (!kvf::settled(st, expect, {&src}, {&dst, &sqr})) return;
  auto px = [&](int x, int y) KVF_NO_COVERAGE { return src.armedRow(y)[x]; };
  requireTable(dst, ir::table<TS>(Tilted, (int)w, (int)h, val, false, px), (int)cols, (int)rows, "sum");
  if constexpr (kSqr)
    requireTable(sqr, ir::table<TQ>(Tilted, (int)w, (int)h, valSqr, true, px), (int)cols, (int)rows,
                 "squared");
}

// ---- standard deviations ---------------------------------------------------------------

template <class F>
struct StdDevSig;
template <class TS, class TQ, class TD>
struct StdDevSig<KvpStatus (*)(const TS*, int, const TQ*, int, TD*, int, KvpiSize, KvpiRect)> {
  using S = TS;
  using Q = TQ;
  using D = TD;
  static constexpr bool kScaled = false;
};
template <class TS, class TQ, class TD>
struct StdDevSig<KvpStatus (*)(const TS*, int, const TQ*, int, TD*, int, KvpiSize, KvpiRect, int)> {
  using S = TS;
  using Q = TQ;
  using D = TD;
  static constexpr bool kScaled = true;
};

// Scale factors at the ends of the double exponent range and of int.
int pickScaleFactor(kvf::Reader& in) {
  static const int special[] = {INT_MIN, INT_MIN + 1, INT_MAX, -1075, -1074, -1025, -1024, -1023,
                                1022,    1023,        1024,    1074,  1075,  31,    -31,   32};
  const uint8_t k = in.byte();
  if (k < 2 * sizeof(special) / sizeof(special[0])) return special[k / 2];
  return in.raw<int32_t>();
}

// Table contents: anything, or the upright integral of a constant image
// (every upright window has a variance of exactly 0, so rounding can only
// push it below), or the integral of an image from the input.
template <class T>
KVF_NO_COVERAGE void fillTable(kvf::GuardedPlane& p, const ir::Layout& L, kvf::Reader& in, int mode, int cv,
                               bool square, const std::vector<uint8_t>& img) {
  // Sums of the image above and left of each entry, rows x cols.
  std::vector<double> cum;
  if (mode == 2) {
    cum.assign((size_t)(L.rows * L.cols), 0.0);
    for (long long y = 1; y < L.rows; ++y)
      for (long long x = 1; x < L.cols; ++x) {
        const double pv = img[(size_t)((y - 1) * L.cols + x - 1)];
        cum[(size_t)(y * L.cols + x)] = cum[(size_t)((y - 1) * L.cols + x)] +
                                        cum[(size_t)(y * L.cols + x - 1)] -
                                        cum[(size_t)((y - 1) * L.cols + x - 1)] + (square ? pv * pv : pv);
      }
  }
  for (long long y = 0; y < L.rows; ++y)
    for (long long x = 0; x < L.cols; ++x) {
      T v;
      if (mode == 0) {
        v = pickValue<T>(in);
      } else {
        const double e = mode == 1 ? (double)(square ? cv * cv : cv) * (double)y * (double)x
                                   : cum[(size_t)(y * L.cols + x)];
        if constexpr (std::is_same_v<T, Kvp32s>)
          v = (Kvp32s)(uint32_t)(uint64_t)e;
        else
          v = (T)e;
      }
      writeAt<T>(p.row((int)y), x, v);
    }
}

template <bool Tilted, ir::Precision P, auto Fn>
void runStdDev(kvf::Reader& in) {
  using Sig = StdDevSig<decltype(Fn)>;
  using TS = typename Sig::S;
  using TQ = typename Sig::Q;
  using TD = typename Sig::D;

  const uint8_t how = in.byte();
  // Outputs of 65536 pixels and more split their rows among threads in
  // the upright single-precision member.
  const bool big = P == ir::Precision::Single && !Tilted && (how & 0xe0) == 0xe0;
  KvpiSize roi;
  KvpiRect r;
  if (big) {
    roi.width = in.intIn(256, 300);
    roi.height = in.intIn(256, 330);
    r = {in.intIn(0, 2), in.intIn(0, 2), in.intIn(1, 3), in.intIn(1, 3)};
  } else {
    roi.width = (how & 1) ? in.raw<int32_t>() : in.intIn(-2, 48);
    roi.height = (how & 2) ? in.raw<int32_t>() : in.intIn(-2, 16);
    if (how & 4)
      r = {in.raw<int32_t>(), in.raw<int32_t>(), in.raw<int32_t>(), in.raw<int32_t>()};
    else
      r = {in.intIn(-2, 10), in.intIn(-2, 10), in.intIn(-1, 10), in.intIn(-1, 10)};
  }
  const bool rectOk = r.x >= 0 && r.y >= 0 && r.width >= 1 && r.height >= 1;
  const bool roiOk = roi.width >= 1 && roi.height >= 1;
  const ir::Layout L = rectOk && roiOk ? ir::layoutOf(Tilted, roi, r) : ir::Layout{0, 1, 1};
  // Steps near what the checks ask for, or near what the layout needs.
  const long long checkCols = ir::windowCols(Tilted, roi, r);
  const long long baseCols = (how & 16) ? std::max(checkCols, L.cols) : checkCols;
  const int srcStep = pickStep(in, how & 8, baseCols * (long long)sizeof(TS), 5);
  const int sqrStep = pickStep(in, how & 8, baseCols * (long long)sizeof(TQ), 9);
  const int dstStep = pickStep(in, how & 8, (long long)std::max(roi.width, 0) * (long long)sizeof(TD), 5);
  const int sf = Sig::kScaled ? ((how & 0x40) ? pickScaleFactor(in) : in.intIn(-8, 8)) : 0;
  const size_t srcLead = (size_t)in.intIn(0, 31) * sizeof(TS), sqrLead = (size_t)in.intIn(0, 31) * sizeof(TQ),
               dstLead = (size_t)in.intIn(0, 31) * sizeof(TD);
  const uint8_t nulls = big ? 0 : in.byte();
  const bool srcNull = (nulls & 3) == 1, sqrNull = ((nulls >> 2) & 3) == 1, dstNull = ((nulls >> 4) & 3) == 1;

  const KvpStatus expect = ir::stdDevStatus(srcNull, sqrNull, dstNull, roi, r, Tilted, srcStep, sizeof(TS),
                                            sqrStep, sizeof(TQ), dstStep, sizeof(TD));
  // Every read must land on a table pixel, so a table row must hold all the
  // columns read from it.
  const bool fits =
      rectOk && roiOk && srcStep >= L.cols * (long long)sizeof(TS) &&
      sqrStep >= L.cols * (long long)sizeof(TQ) &&
      kvf::planeFits(L.cols * (long long)sizeof(TS), L.rows, srcStep, srcLead, kMaxPlaneBytes) &&
      kvf::planeFits(L.cols * (long long)sizeof(TQ), L.rows, sqrStep, sqrLead, kMaxPlaneBytes) &&
      kvf::planeFits((long long)roi.width * (long long)sizeof(TD), roi.height, dstStep, dstLead,
                     kMaxPlaneBytes);
  if (expect == kvpStsOk && !fits) return;

  kvf::GuardedPlane src = planeOrTrap(fits, (size_t)L.cols * sizeof(TS), (int)L.rows, srcStep, srcLead, 21);
  kvf::GuardedPlane sqr = planeOrTrap(fits, (size_t)L.cols * sizeof(TQ), (int)L.rows, sqrStep, sqrLead, 22);
  kvf::GuardedPlane dst = planeOrTrap(fits, (size_t)roi.width * sizeof(TD), roi.height, dstStep, dstLead, 23);
  if (fits) {
    const uint8_t m = in.byte();
    int mode = big ? 1 + (m & 1) : m % 3;
    // Images from the input stay small.
    if (mode == 2 && L.rows * L.cols > 8192) mode = 1;
    const int cv = in.byte();
    std::vector<uint8_t> img;
    if (mode == 2)
      for (long long i = 0; i < L.rows * L.cols; ++i) img.push_back(in.byte());
    fillTable<TS>(src, L, in, mode, cv, false, img);
    fillTable<TQ>(sqr, L, in, mode, cv, true, img);
  }
  src.arm();
  sqr.arm();
  dst.arm();
  // pSrc and pSqr address table column 0, -c0 columns into the plane rows.
  const TS* pSrc = srcNull ? nullptr : fits ? src.as<TS>() - L.c0 : src.as<TS>();
  const TQ* pSqr = sqrNull ? nullptr : fits ? sqr.as<TQ>() - L.c0 : sqr.as<TQ>();
  TD* pDst = dstNull ? nullptr : dst.as<TD>();
  auto call = [&] {
    if constexpr (Sig::kScaled)
      return Fn(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roi, r, sf);
    else
      return Fn(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roi, r);
  };
  const KvpStatus st = call();

  if (!kvf::settled(st, expect, {&src, &sqr}, {&dst})) return;

  auto check = [&](const char* when) KVF_NO_COVERAGE {
    auto sAt = [&](long long y, long long x) { return readAt<TS>(src.row((int)y), x - L.c0); };
    auto qAt = [&](long long y, long long x) { return readAt<TQ>(sqr.row((int)y), x - L.c0); };
    for (int i = 0; i < roi.height; ++i)
      for (int j = 0; j < roi.width; ++j) {
        const TD want = ir::deviationAt<P, TS, TQ, TD>(Tilted, r, sf, i, j, sAt, qAt);
        const TD got = readAt<TD>(dst.row(i), j);
        KVF_REQUIRE(sameValue(got, want), "output (%d, %d) of %dx%d, rect %d %d %d %d, %s", j, i, roi.width,
                    roi.height, r.x, r.y, r.width, r.height, when);
      }
  };
  check("first call");
  if (big) {
    // Threads change nothing: one thread, then three (bands of unequal
    // height), each over a scrambled output, give the checked bytes again.
    std::vector<uint8_t> first;
    for (int i = 0; i < roi.height; ++i) first.insert(first.end(), dst.row(i), dst.row(i) + dst.rowBytes());
    int before = 0;
    kvpGetNumThreads(&before);
    for (int n : {1, 3}) {
      kvpSetNumThreads(n);
      dst.scramble((uint8_t)(n * 40));
      const KvpStatus again = call();
      KVF_REQUIRE(again == kvpStsOk, "status %d with %d threads", (int)again, n);
      KVF_REQUIRE(dst.guardsIntact(), "a write outside the output with %d threads", n);
      for (int i = 0; i < roi.height; ++i)
        KVF_REQUIRE(std::memcmp(dst.row(i), first.data() + (size_t)i * dst.rowBytes(), dst.rowBytes()) == 0,
                    "output row %d differs with %d threads", i, n);
    }
    kvpSetNumThreads(before);
  }
}

using Runner = void (*)(kvf::Reader&);
const Runner kRunners[] = {
    runBuilder<false, kvpiIntegral_8u32s_C1R>,
    runBuilder<false, kvpiIntegral_8u32f_C1R>,
    runBuilder<false, kvpiSqrIntegral_8u32s_C1R>,
    runBuilder<false, kvpiSqrIntegral_8u32s64f_C1R>,
    runBuilder<false, kvpiSqrIntegral_8u32f64f_C1R>,
    runBuilder<true, kvpiTiltedIntegral_8u32s_C1R>,
    runBuilder<true, kvpiTiltedIntegral_8u32f_C1R>,
    runBuilder<true, kvpiTiltedSqrIntegral_8u32s_C1R>,
    runBuilder<true, kvpiTiltedSqrIntegral_8u32s64f_C1R>,
    runBuilder<true, kvpiTiltedSqrIntegral_8u32f64f_C1R>,
    runStdDev<false, ir::Precision::Single, kvpiRectStdDev_32f_C1R>,
    runStdDev<false, ir::Precision::Double, kvpiRectStdDev_32s32f_C1R>,
    runStdDev<false, ir::Precision::Scaled, kvpiRectStdDev_32s_C1RSfs>,
    runStdDev<true, ir::Precision::Double, kvpiTiltedRectStdDev_32f_C1R>,
    runStdDev<true, ir::Precision::Double, kvpiTiltedRectStdDev_32s32f_C1R>,
    runStdDev<true, ir::Precision::Scaled, kvpiTiltedRectStdDev_32s_C1RSfs>,
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader in(data, size);
  kRunners[in.byte() % (sizeof(kRunners) / sizeof(kRunners[0]))](in);
  return 0;
}

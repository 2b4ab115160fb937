// Fuzzes the edge and corner detectors: Canny (16s, 32f, one-call), the
// structure-tensor measures, the 3x3 peak finder, the colour gradient and
// the fast arctangent, with arbitrary sizes, steps, offsets, null pointers,
// kernels, windows, thresholds, norms, borders and thread counts. Every
// call must return the status its arguments call for, write nothing on
// failure, write only the ROI on success (the work buffer has exactly the
// queried size), and give the bits of the plain reference shared with the
// unit tests.
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <vector>

#include "fuzz_planes.h"
KVF_REF_BEGIN
#include "../edges/edges_ref.h"
KVF_REF_END

namespace {

constexpr long long kMaxPlaneBytes = 1 << 20;
constexpr int kThreadArea = 3 * 32768;

using kvf::GuardedPlane;
using kvf::PlaneDesc;
using Planes = std::optional<GuardedPlane>[2];

// A work buffer of exactly the queried size (a 64-byte dummy when the
// query fails), or null.
struct Buffer {
  Kvp8u* p = nullptr;
  explicit Buffer(int bytes, bool null) {
    if (!null) p = static_cast<Kvp8u*>(std::malloc(bytes > 0 ? (size_t)bytes : 64));
  }
  ~Buffer() { std::free(p); }
};

template <class T>
KVF_NO_COVERAGE er::Img<T> image(const GuardedPlane& g, int w, int h, int ch) {
  er::Img<T> o(w, h, ch);
  for (int y = 0; y < h; ++y) std::memcpy(&o.v[(size_t)y * w * ch], g.row(y), sizeof(T) * (size_t)w * ch);
  return o;
}

template <class T>
KVF_NO_COVERAGE void fill(kvf::Stream& in, GuardedPlane& g, int w, int h, int ch, int levels, int scale) {
  // Element by element through memcpy: a failing call may have steps that
  // are not multiples of the element size.
  for (int y = 0; y < h; ++y) {
    uint8_t* r = g.row(y);
    for (int i = 0; i < w * ch; ++i) {
      const T v = (levels && in.byte() >= 16) ? (T)(in.byte() % levels * scale)  // flat areas, plateaus, ties
                                              : kvf::pickElem<T>(in);
      std::memcpy(r + sizeof(T) * i, &v, sizeof(T));
    }
  }
}

// Source plane 0 and destination plane 1 with random steps, leads and
// nulls; returns the common status.
struct Setup {
  PlaneDesc d[2];
  kvf::Dims dims;
  bool fits;
  KvpStatus common;
};
Setup describe(kvf::Stream& in, int srcElem, int srcCh, int dstElem, int dstCh, bool dstUsed,
               bool extraNull) {
  Setup s;
  s.dims = kvf::readDims(in, kThreadArea);
  const long long w = s.dims.roi.width;
  const int elems[2] = {srcElem, dstElem}, chans[2] = {srcCh, dstCh};
  for (int i = 0; i < 2; ++i) {
    s.d[i].used = i == 0 || dstUsed;
    s.d[i].elem = elems[i];
    s.d[i].chans = chans[i];
    s.d[i].null = in.byte() < 6;
    s.d[i].step = kvf::readStep(in, s.d[i].rowBytes(w > 0 ? w : 1), elems[i], s.dims.big);
    s.d[i].lead = (size_t)in.intIn(0, 5) * elems[i];
  }
  s.common = kvf::commonStatus(s.d, 2, w, s.dims.roi.height, extraNull);
  s.fits = s.dims.roi.width > 0 && s.dims.roi.height > 0 &&
           kvf::planesFit(s.d, 2, s.dims.roi.width, s.dims.roi.height, kMaxPlaneBytes);
  return s;
}

template <class T>
T* ptr(const Setup& s, Planes& g, int i) {
  return s.d[i].null ? nullptr : g[i]->as<T>();
}

// Builds the planes (traps where they do not fit), fills the source.
template <class S>
KVF_NO_COVERAGE void build(kvf::Stream& in, const Setup& s, Planes& g, int levels, int scale = 1) {
  kvf::buildPlanes(s.d, 2, s.dims.roi.width, s.fits ? s.dims.roi.height : 1, kMaxPlaneBytes, g, in.byte());
  if (s.fits) fill<S>(in, *g[0], s.dims.roi.width, s.dims.roi.height, s.d[0].chans, levels, scale);
  for (auto& p : g)
    if (p) p->arm();
}

// After the call: nothing written on failure, guards intact on success.
void after(const Setup& s, Planes& g, KvpStatus got, KvpStatus want) {
  KVF_REQUIRE(got == want, "status %d, expected %d", (int)got, (int)want);
  KVF_REQUIRE(g[0]->unchanged(), "source written");
  if (g[1]) KVF_REQUIRE(want == kvpStsOk ? g[1]->guardsIntact() : g[1]->unchanged(), "destination guards");
  (void)s;
}

// ---- fast arctangent -------------------------------------------------------

void runArctan(kvf::Stream& in) {
  const int len = in.byte() < 8 ? in.intIn(-3, 0) : in.intIn(1, in.flag() ? 5000 : 40);
  const int n = len > 0 ? len : 1;
  std::vector<float> y(n), x(n), out(n + 2, 5.f);
  for (int i = 0; i < n; ++i) y[i] = kvf::pickF(in), x[i] = kvf::pickF(in);
  const uint8_t mode = in.byte();
  const bool nullY = mode == 1, nullX = mode == 2, nullD = mode == 3;
  float* dst = mode == 4 ? y.data() : (mode == 5 ? x.data() : out.data() + 1);
  std::vector<float> wantV(n);
  for (int i = 0; i < n; ++i) wantV[i] = er::fastAtan(y[i], x[i]);
  const KvpStatus want = (nullY || nullX || nullD) ? kvpStsNullPtr : (len < 1 ? kvpStsBadSize : kvpStsOk);
  const KvpStatus got =
      kvpibFastArctan_32f(nullY ? nullptr : y.data(), nullX ? nullptr : x.data(), nullD ? nullptr : dst, len);
  KVF_REQUIRE(got == want, "arctan status %d, expected %d", (int)got, (int)want);
  KVF_REQUIRE(out[0] == 5.f && out[n + 1] == 5.f, "arctan wrote outside");
  if (want != kvpStsOk) return;
  for (int i = 0; i < n; ++i) KVF_REQUIRE(kvf::sameElem(dst[i], wantV[i]), "arctan differs at %d", i);
}

// ---- gradient to gray ------------------------------------------------------

template <class T, auto Fn>
void runGradient(kvf::Stream& in) {
  kvf::setThreads(in);
  const Setup s = describe(in, sizeof(T), 3, sizeof(T), 1, true, false);
  const int norm = in.intIn(-1, 3);
  KvpStatus want = s.common;
  if (want == kvpStsOk && (norm < 0 || norm > 2)) want = kvpStsBadArg;
  if (want == kvpStsOk && !s.fits) return;
  Planes g;
  build<T>(in, s, g, 0);
  const KvpStatus got =
      Fn(ptr<T>(s, g, 0), s.d[0].step, ptr<T>(s, g, 1), s.d[1].step, s.dims.roi, (KvpiNorm)norm);
  after(s, g, got, want);
  if (want != kvpStsOk) return;
  const auto src = image<T>(*g[0], s.dims.roi.width, s.dims.roi.height, 3);
  for (int y = 0; y < s.dims.roi.height; ++y)
    for (int x = 0; x < s.dims.roi.width; ++x)
      KVF_REQUIRE(
          kvf::sameElem(reinterpret_cast<const T*>(g[1]->row(y))[x], er::gradGray(&src.at(x, y), norm)),
          "gradient differs at %d,%d", x, y);
}

// ---- peaks -----------------------------------------------------------------

template <class T, auto Fn>
void runPeaks(kvf::Stream& in) {
  kvf::setThreads(in);
  const uint8_t nulls = in.byte();
  const bool nullPeak = nulls == 1, nullCount = nulls == 2, nullBuf = nulls == 3;
  const Setup s = describe(in, sizeof(T), 1, 1, 1, false, nullPeak || nullCount || nullBuf);
  const int maxCount = in.byte() < 10 ? in.intIn(-2, 0) : in.intIn(1, 300);
  const int norm = in.intIn(-1, 3), border = in.byte() < 8 ? -in.intIn(1, 3) : in.intIn(0, 4);
  const T thr = in.flag() ? (T)in.intIn(-1, 3) : kvf::pickElem<T>(in);
  KvpStatus want = s.common;
  if (want == kvpStsOk && maxCount < 1) want = kvpStsBadSize;
  if (want == kvpStsOk && norm != kvpiNormL1 && norm != kvpiNormInf) want = kvpStsBadArg;
  if (want == kvpStsOk && border < 0) want = kvpStsBadArg;
  if (want == kvpStsOk && !s.fits) return;
  Planes g;
  build<T>(in, s, g, 4);
  int size = 0;
  if (s.dims.roi.width > 0 && s.dims.roi.height > 0) kvpiFindPeaks3x3GetBufferSize_32f_C1R(s.dims.roi, &size);
  Buffer buf(size, nullBuf);
  const int cap = maxCount > 0 ? maxCount : 1;
  std::vector<KvpiPoint> pts(cap + 1, KvpiPoint{-9, -9});
  int count = -4;
  const KvpStatus got = Fn(ptr<T>(s, g, 0), s.d[0].step, s.dims.roi, thr, nullPeak ? nullptr : pts.data(),
                           maxCount, nullCount ? nullptr : &count, (KvpiNorm)norm, border, buf.p);
  after(s, g, got, want);
  if (want != kvpStsOk) {
    KVF_REQUIRE(count == -4 && pts[0].x == -9, "peaks wrote on failure");
    return;
  }
  const auto ref =
      er::peaks(image<T>(*g[0], s.dims.roi.width, s.dims.roi.height, 1), thr, norm, border, maxCount);
  KVF_REQUIRE(count == (int)ref.size(), "peak count %d, expected %zu", count, ref.size());
  for (int i = 0; i < count; ++i)
    KVF_REQUIRE(pts[i].x == ref[i].x && pts[i].y == ref[i].y, "peak %d differs", i);
  KVF_REQUIRE(pts[count].x == -9, "peak written past the count");
}

// ---- structure tensor ------------------------------------------------------

template <class S, int M>
KvpStatus tensorCall(const S* p, int ss, float* d, int ds, KvpiSize r, int kern, int ap, int B, float k,
                     float sc, Kvp8u* buf) {
  // A prvalue each time: kern may lie outside the enumerators.
  const auto K = [kern] { return (KvpiDifferentialKernel)kern; };
  if constexpr (sizeof(S) == 1) {
    if (M == er::kMinEig) return kvpiMinEigenVal_8u32f_C1R(p, ss, d, ds, r, K(), ap, B, buf);
    if (M == er::kEigVV) return kvpiEigenValsVecs_8u32f_C1R(p, ss, d, ds, r, K(), ap, B, buf);
    return kvpiHarrisCorner_8u32f_C1R(p, ss, d, ds, r, K(), ap, B, k, sc, buf);
  } else {
    if (M == er::kMinEig) return kvpiMinEigenVal_32f_C1R(p, ss, d, ds, r, K(), ap, B, buf);
    if (M == er::kEigVV) return kvpiEigenValsVecs_32f_C1R(p, ss, d, ds, r, K(), ap, B, buf);
    return kvpiHarrisCorner_32f_C1R(p, ss, d, ds, r, K(), ap, B, k, sc, buf);
  }
}

template <class S, int M>
void runTensor(kvf::Stream& in) {
  kvf::setThreads(in);
  const bool nullBuf = in.byte() < 6;
  const Setup s = describe(in, sizeof(S), 1, 4, M == er::kEigVV ? 6 : 1, true, nullBuf);
  const int kern = in.byte() < 8 ? in.intIn(-1, 3) : in.byte() & 1;
  const int ap = in.byte() < 8 ? in.intIn(0, 7) : (in.flag() ? 5 : 3);
  const int B = in.byte() < 8 ? (in.flag() ? in.intIn(-1, 0) : in.intIn(250, 300))
                              : in.intIn(1, s.dims.big || s.dims.roi.width > 2048 ? 3 : 9);
  const float k = in.flag() ? 0.04f : kvf::pickF(in), sc = in.flag() ? 1.0f : kvf::pickF(in);
  KvpStatus want = s.common;
  if (want == kvpStsOk && kern != 0 && kern != 1) want = kvpStsBadArg;
  if (want == kvpStsOk && (kern == 0 ? (ap != 3 && ap != 5) : ap != 3)) want = kvpStsBadMaskSize;
  if (want == kvpStsOk && (B < 1 || B > 255)) want = kvpStsBadMaskSize;
  if (want == kvpStsOk && !s.fits) return;
  Planes g;
  build<S>(in, s, g, sizeof(S) == 1 ? 0 : 3);
  int size = 0;
  if (want == kvpStsOk)
    KVF_REQUIRE(kvpiMinEigenValGetBufferSize_32f_C1R(s.dims.roi, (KvpiDifferentialKernel)kern, ap, B,
                                                     &size) == kvpStsOk,
                "tensor query failed");
  Buffer buf(size, nullBuf);
  const KvpStatus got = tensorCall<S, M>(ptr<S>(s, g, 0), s.d[0].step, ptr<float>(s, g, 1), s.d[1].step,
                                         s.dims.roi, kern, ap, B, k, sc, buf.p);
  after(s, g, got, want);
  if (want != kvpStsOk) return;
  const int W = s.dims.roi.width, H = s.dims.roi.height, ch = M == er::kEigVV ? 6 : 1;
  const auto ref = er::tensor(image<S>(*g[0], W, H, 1), M, kern, ap, B, k, sc);
  for (int y = 0; y < H; ++y)
    for (int i = 0; i < W * ch; ++i)
      KVF_REQUIRE(
          kvf::sameElem(reinterpret_cast<const float*>(g[1]->row(y))[i], ref.v[(size_t)y * W * ch + i]),
          "tensor differs at element %d of row %d", i, y);
}

// ---- Canny -----------------------------------------------------------------

float pickThreshold(kvf::Stream& in) {
  const uint8_t b = in.byte();
  if (b < 20) return kvf::pickF(in);
  return (float)in.intIn(0, 400);
}

KvpStatus thresholdStatus(float lo, float hi) {
  if (!(lo >= 0) || !(hi >= 0) || lo > hi) return kvpStsBadArg;
  return kvpStsOk;
}

template <class G>
void runCanny(kvf::Stream& in) {
  kvf::setThreads(in);
  const bool nullBuf = in.byte() < 6;
  // Planes: dx and dy share a description shape; the destination is a third.
  const Setup s = describe(in, sizeof(G), 1, sizeof(G), 1, true, false);
  PlaneDesc dd;
  dd.used = true;
  dd.null = in.byte() < 6;
  dd.step = kvf::readStep(in, s.dims.roi.width > 0 ? s.dims.roi.width : 1, 1, s.dims.big);
  dd.lead = (size_t)in.intIn(0, 5);
  const PlaneDesc all[3] = {s.d[0], s.d[1], dd};
  KvpStatus want = kvf::commonStatus(all, 3, s.dims.roi.width, s.dims.roi.height, nullBuf);
  const float lo = pickThreshold(in), hi = in.byte() < 200 ? lo + (float)in.intIn(0, 300) : pickThreshold(in);
  if (want == kvpStsOk) want = thresholdStatus(lo, hi);
  const bool fits = s.fits && kvf::planesFit(&dd, 1, s.dims.roi.width, s.dims.roi.height, kMaxPlaneBytes);
  if (want == kvpStsOk && !fits) return;
  std::optional<GuardedPlane> g[3];
  kvf::buildPlanes(all, 3, s.dims.roi.width, fits ? s.dims.roi.height : 1, kMaxPlaneBytes, g, in.byte());
  const int W = s.dims.roi.width, H = s.dims.roi.height;
  if (fits) {
    // Smooth ramps with noise and the occasional extreme value.
    const int amp = in.intIn(0, 400);
    for (int y = 0; y < H; ++y)
      for (int i = 0; i < 2; ++i) {
        uint8_t* r = g[i]->row(y);
        for (int x = 0; x < W; ++x) {
          const G v = in.byte() < 8 ? kvf::pickElem<G>(in)
                                    : (G)(((x * (i + 1) + y * (2 - i)) % 9 - 4) * amp / 4 + in.byte() % 16);
          std::memcpy(r + sizeof(G) * x, &v, sizeof(G));
        }
      }
  }
  for (auto& p : g) p->arm();
  int size = 0;
  if (W > 0 && H > 0) kvpiCannyGetSize(s.dims.roi, &size);
  Buffer buf(size, nullBuf);
  auto P = [&](int i) { return all[i].null ? nullptr : g[i]->as<G>(); };
  KvpStatus got;
  Kvp8u* dst = dd.null ? nullptr : g[2]->roi();
  if constexpr (sizeof(G) == 2)
    got = kvpiCanny_16s8u_C1R(P(0), all[0].step, P(1), all[1].step, dst, dd.step, s.dims.roi, lo, hi, buf.p);
  else
    got = kvpiCanny_32f8u_C1R(P(0), all[0].step, P(1), all[1].step, dst, dd.step, s.dims.roi, lo, hi, buf.p);
  KVF_REQUIRE(got == want, "canny status %d, expected %d", (int)got, (int)want);
  KVF_REQUIRE(g[0]->unchanged() && g[1]->unchanged(), "derivatives written");
  KVF_REQUIRE(want == kvpStsOk ? g[2]->guardsIntact() : g[2]->unchanged(), "edge map guards");
  if (want != kvpStsOk) return;
  const auto gx = image<G>(*g[0], W, H, 1), gy = image<G>(*g[1], W, H, 1);
  er::Img<uint8_t> ref;
  if constexpr (sizeof(G) == 2)
    ref = er::canny16s(gx, gy, lo, hi);
  else
    ref = er::canny32f(gx, gy, lo, hi);
  for (int y = 0; y < H; ++y)
    KVF_REQUIRE(std::memcmp(g[2]->row(y), &ref.v[(size_t)y * W], (size_t)W) == 0, "canny differs in row %d",
                y);
}

void runCannyBorder(kvf::Stream& in) {
  kvf::setThreads(in);
  const bool nullBuf = in.byte() < 6;
  const Setup s = describe(in, 1, 1, 1, 1, true, nullBuf);
  const int kern = in.byte() < 8 ? in.intIn(-1, 3) : in.byte() & 1;
  const int mask = in.byte() < 8 ? in.intIn(0, 60) : (in.flag() ? kvpMskSize5x5 : kvpMskSize3x3);
  const int border = in.byte() < 8 ? in.intIn(-2, 6) : in.intIn(0, 4);
  const int value = in.byte();
  const float lo = pickThreshold(in), hi = in.byte() < 200 ? lo + (float)in.intIn(0, 600) : pickThreshold(in);
  const int norm = in.byte() < 8 ? in.intIn(-1, 4) : (in.flag() ? kvpiNormL2 : kvpiNormL1);
  KvpStatus want = s.common;
  if (want == kvpStsOk && kern != 0 && kern != 1) want = kvpStsBadArg;
  if (want == kvpStsOk &&
      ((mask != kvpMskSize3x3 && mask != kvpMskSize5x5) || (kern == 1 && mask == kvpMskSize5x5)))
    want = kvpStsBadMaskSize;
  if (want == kvpStsOk && (border < 0 || border > 4)) want = kvpStsBadArg;
  if (want == kvpStsOk) want = thresholdStatus(lo, hi);
  if (want == kvpStsOk && norm != kvpiNormL1 && norm != kvpiNormL2) want = kvpStsBadArg;
  if (want == kvpStsOk && !s.fits) return;
  Planes g;
  build<Kvp8u>(in, s, g, 5, 60);
  int size = 0;
  if (want == kvpStsOk)
    KVF_REQUIRE(kvpiCannyBorderGetSize(s.dims.roi, (KvpiDifferentialKernel)kern, (KvpiMaskSize)mask, &size) ==
                    kvpStsOk,
                "canny border query failed");
  Buffer buf(size, nullBuf);
  const KvpStatus got =
      kvpiCannyBorder_8u_C1R(ptr<Kvp8u>(s, g, 0), s.d[0].step, ptr<Kvp8u>(s, g, 1), s.d[1].step, s.dims.roi,
                             (KvpiDifferentialKernel)kern, (KvpiMaskSize)mask, (KvpiBorderType)border,
                             (Kvp8u)value, lo, hi, (KvpiNorm)norm, buf.p);
  after(s, g, got, want);
  if (want != kvpStsOk) return;
  const int W = s.dims.roi.width, H = s.dims.roi.height;
  const auto ref = er::cannyBorder(image<Kvp8u>(*g[0], W, H, 1), kern, mask, border, value, lo, hi, norm);
  for (int y = 0; y < H; ++y)
    KVF_REQUIRE(std::memcmp(g[1]->row(y), &ref.v[(size_t)y * W], (size_t)W) == 0,
                "canny border differs in row %d", y);
}

using Runner = void (*)(kvf::Stream&);
const Runner kRunners[] = {
    runArctan,
    runGradient<Kvp8u, kvpiGradientColorToGray_8u_C3C1R>,
    runGradient<Kvp16u, kvpiGradientColorToGray_16u_C3C1R>,
    runGradient<Kvp32f, kvpiGradientColorToGray_32f_C3C1R>,
    runPeaks<Kvp32f, kvpiFindPeaks3x3_32f_C1R>,
    runPeaks<Kvp32s, kvpiFindPeaks3x3_32s_C1R>,
    runTensor<Kvp8u, er::kMinEig>,
    runTensor<Kvp8u, er::kEigVV>,
    runTensor<Kvp8u, er::kHarris>,
    runTensor<Kvp32f, er::kMinEig>,
    runTensor<Kvp32f, er::kEigVV>,
    runTensor<Kvp32f, er::kHarris>,
    runCanny<Kvp16s>,
    runCanny<Kvp32f>,
    runCannyBorder,
};
constexpr int kCount = sizeof kRunners / sizeof kRunners[0];

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader reader(data, size);
  const uint8_t which = reader.byte();
  kvf::Stream in(reader);
  kRunners[which % kCount](in);
  return 0;
}

// Fuzzes the distance transforms: the three step-cost queries, the chamfer
// transforms (3x3 and 5x5; 8u, in place, 16u and 32f destinations) and the
// exact Euclidean transform with its buffer-size query. Arbitrary sizes,
// steps, ROI offsets, null or valid pointers, step costs, sources with
// dense, sparse or no zero pixels, and thread counts. Every call must
// return the status its arguments call for, write nothing when it fails,
// nothing outside the destination's pixels when it succeeds, leave its
// inputs alone, and then agree with a plain reference:
//   chamfer  the pixel-by-pixel forward and backward passes, bit for bit;
//   exact    the true Euclidean distance, to the last bits (the divisions
//            may round differently), on planes small enough for a direct
//            computation; on larger ones a sample of pixels, and the same
//            bytes for another thread count.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <type_traits>
#include <vector>

#include "fuzz_support.h"
KVF_REF_BEGIN
#include "../distance/distance_ref.h"
KVF_REF_END

namespace {

constexpr long long kMaxPlaneBytes = 1 << 20;

// ---- step-cost queries ------------------------------------------------------------

// kind 0: _32s, 1: _32f, 2: by mask type.
void runMaskQuery(kvf::Reader& in, int kind) {
  const uint8_t how = in.byte();
  int kerSize = (how & 1) ? in.raw<int32_t>() : in.intIn(-1, 7);
  int norm = (how & 2) ? in.raw<int32_t>() : in.intIn(-2, 4);
  int maskType = (how & 4) ? in.raw<int32_t>() : in.intIn(-60, 80);
  const bool null = (how >> 3) % 8 == 1;

  KvpStatus expect;
  if (kind == 2) {
    // The remainder is tested before anything else, even the pointer.
    const int r = maskType % 10;
    kerSize = maskType / 10;
    norm = r;
    if (r != 0 && r != 1 && r != 2)
      expect = kvpStsBadArg;
    else if (null)
      expect = kvpStsNullPtr;
    else if (kerSize != 3 && kerSize != 5)
      expect = kvpStsBadSize;
    else
      expect = kvpStsOk;
  } else {
    if (null)
      expect = kvpStsNullPtr;
    else if (kerSize != 3 && kerSize != 5)
      expect = kvpStsBadSize;
    else if (norm < 0 || norm > 2)
      expect = kvpStsBadArg;
    else
      expect = kvpStsOk;
  }

  kvf::GuardedPlane out(12, 1, 12, (size_t)in.intIn(0, 7) * 4, in.byte());
  out.arm();
  KvpStatus st;
  switch (kind) {
    case 0:
      st = kvpiGetDistanceTransformMask_32s(kerSize, norm, null ? nullptr : out.as<Kvp32s>());
      break;
    case 1:
      st = kvpiGetDistanceTransformMask_32f(kerSize, norm, null ? nullptr : out.as<Kvp32f>());
      break;
    default:
      st = kvpiGetDistanceTransformMask(maskType, null ? nullptr : out.as<Kvp32f>());
      break;
  }
  KVF_REQUIRE(kvf::isLibraryStatus(st), "status %d is not one of the library's", (int)st);
  KVF_REQUIRE(st == expect, "mask query %d: status %d, expected %d (kerSize %d norm %d type %d)", kind,
              (int)st, (int)expect, kerSize, norm, maskType);
  KVF_REQUIRE(out.guardsIntact(), "a write outside the metrics");
  if (st != kvpStsOk) {
    KVF_REQUIRE(out.unchanged(), "a failing query wrote");
    return;
  }
  const dr::MaskRow& row = dr::maskRow(kerSize, norm);
  const int n = kerSize == 3 ? 2 : 3;
  for (int i = 0; i < 3; ++i) {
    const uint8_t* got = out.roi() + 4 * i;
    if (i >= n) {
      KVF_REQUIRE(std::memcmp(got, out.armedRow(0) + 4 * i, 4) == 0, "metric %d written beyond the mask's",
                  i);
      continue;
    }
    const void* want = kind == 0 ? (const void*)&row.i[i] : (const void*)&row.f[i];
    KVF_REQUIRE(std::memcmp(got, want, 4) == 0, "metric %d of (%d, %d) wrong", i, kerSize, norm);
  }
}

// ---- sources ------------------------------------------------------------------------

struct Rng {
  uint64_t s;
  uint32_t next() {
    s ^= s << 13;
    s ^= s >> 7;
    s ^= s << 17;
    return (uint32_t)(s >> 11);
  }
};

// Fills the source: zero pixels from the input bytes, at a random density,
// or only at a few points (long distances, or none at all).
void fillSource(kvf::Reader& in, kvf::GuardedPlane& src, int w, int h) {
  const uint8_t mode = in.byte();
  Rng rng{in.raw<uint64_t>() | 1};
  const uint32_t density = in.byte();  // zeros per 256
  const int points = in.intIn(0, 4);
  std::vector<std::pair<int, int>> at;
  for (int i = 0; i < points; ++i) at.push_back({in.intIn(0, w - 1), in.intIn(0, h - 1)});
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      uint8_t v;
      switch (mode % 3) {
        case 0:
          v = in.byte();
          break;
        case 1:
          v = (rng.next() & 255) < density ? 0 : (uint8_t)(1 + rng.next() % 255);
          break;
        default:
          v = (uint8_t)(1 + (x * 7 + y) % 255);
          break;
      }
      src.row(y)[x] = v;
    }
  if (mode % 3 == 2)
    for (auto p : at) src.row(p.second)[p.first] = 0;
}

// ---- chamfer transforms ----------------------------------------------------------------

enum class Layout { TwoPlanes, InPlace };

template <class T>
using MetricOf = std::conditional_t<std::is_same_v<T, Kvp32f>, Kvp32f, Kvp32s>;

template <class T, bool Five, Layout L>
using ChamferFn = std::conditional_t<L == Layout::InPlace, KvpStatus (*)(T*, int, KvpiSize, MetricOf<T>*),
                                     KvpStatus (*)(const Kvp8u*, int, T*, int, KvpiSize, MetricOf<T>*)>;

template <class T>
MetricOf<T> anyMetric(kvf::Reader& in) {
  const uint8_t k = in.byte();
  if constexpr (std::is_same_v<T, Kvp32f>) {
    if (k < 128) return (float)(k % 16) / 4.f;  // 0 .. 3.75, below 1 too
    return in.pickFloat();
  } else {
    if (k < 192) return (int)(k % 8);  // 0 .. 7
    if (k < 224) return -(int)(k % 4);
    return in.raw<int32_t>();
  }
}

template <class T, bool Five, Layout L, ChamferFn<T, Five, L> Fn>
void runChamfer(kvf::Reader& in) {
  constexpr bool inPlace = L == Layout::InPlace;
  constexpr int E = (int)sizeof(T);
  // Each of sizes and steps is any 32-bit value one time in four.
  const uint16_t how = in.raw<uint16_t>();
  auto anyBits = [&](int bit) { return ((how >> bit) & 3) == 3; };
  KvpiSize roi;
  // Now and then a wider plane.
  const bool big = ((how >> 8) & 7) == 7;
  roi.width = anyBits(0) ? in.raw<int32_t>() : in.intIn(-1, big ? 200 : 40);
  roi.height = anyBits(2) ? in.raw<int32_t>() : in.intIn(-1, big ? 60 : 24);
  const long long w = std::max(roi.width, 0), h = std::max(roi.height, 0);
  // Steps near the row (the destination's not always a whole number of
  // elements: the chamfer transforms do not ask for that), or anything.
  const int srcStep = anyBits(4) ? in.raw<int32_t>() : (int)(w + in.intIn(-2, 20));
  const int dstStep = inPlace      ? srcStep
                      : anyBits(6) ? in.raw<int32_t>()
                                   : (int)(w * E + in.intIn(-E - 1, 20));
  const uint8_t nulls = in.byte() % 16;
  const bool srcNull = nulls == 1 || nulls == 4, dstNull = !inPlace && (nulls == 2 || nulls == 4),
             metNull = nulls == 3;
  const int nMetrics = Five ? 3 : 2;
  MetricOf<T> metrics[3] = {0, 0, 0};
  const bool usual = (how >> 11) & 1;
  if (usual && !std::is_same_v<T, Kvp32f>) {
    // A row of the usual table most of the time.
    const dr::MaskRow& row = dr::maskRow(Five ? 5 : 3, in.intIn(0, 2));
    for (int i = 0; i < 3; ++i) metrics[i] = (MetricOf<T>)row.i[i];
  } else if (usual) {
    const dr::MaskRow& row = dr::maskRow(Five ? 5 : 3, in.intIn(0, 2));
    for (int i = 0; i < 3; ++i) metrics[i] = (MetricOf<T>)row.f[i];
  } else {
    for (int i = 0; i < nMetrics; ++i) metrics[i] = anyMetric<T>(in);
  }

  KvpStatus expect = kvpStsOk;
  bool metricsOpen = false;  // the outcome for these costs is left open
  if (srcNull || dstNull || metNull)
    expect = kvpStsNullPtr;
  else if (roi.width < 1 || roi.height < 1)
    expect = kvpStsBadSize;
  else if (srcStep < roi.width || (!inPlace && (long long)dstStep < (long long)roi.width * E))
    expect = kvpStsBadStep;
  else if constexpr (!std::is_same_v<T, Kvp32f>) {
    if (metrics[0] < 1 || metrics[1] < 1) expect = kvpStsBadMetric;
  } else {
    // Float costs: at least 1 must be served; below 1 (or NaN) the text
    // allows a refusal with kvpStsBadMetric or a result.
    for (int i = 0; i < nMetrics; ++i)
      if (!(metrics[i] >= 1.0f)) metricsOpen = true;
  }

  const long long lead = (long long)in.intIn(0, 31);
  const long long dLead = (long long)in.intIn(0, 31) * E;
  const bool fits = kvf::planeFits(w, h, srcStep, lead, kMaxPlaneBytes) &&
                    (inPlace || kvf::planeFits(w * E, h, dstStep, dLead, kMaxPlaneBytes));
  // Successful calls stay small, apart from the odd large plane, so that
  // the references keep up.
  if (expect == kvpStsOk && (!fits || w * h > (big ? 12000 : 2048))) return;

  kvf::GuardedPlane src = fits
                              ? kvf::GuardedPlane((size_t)w, (int)h, (size_t)srcStep, (size_t)lead, in.byte())
                              : kvf::GuardedPlane::trap(1);
  kvf::GuardedPlane dst =
      fits && !inPlace ? kvf::GuardedPlane((size_t)(w * E), (int)h, (size_t)dstStep, (size_t)dLead, in.byte())
                       : kvf::GuardedPlane::trap(2);
  if (fits && w * h <= 100000) fillSource(in, src, (int)w, (int)h);
  src.arm();
  dst.arm();
  kvf::GuardedPlane met(sizeof metrics, 1, sizeof metrics, (size_t)in.intIn(0, 3) * 4, 3);
  std::memcpy(met.roi(), metrics, sizeof metrics);
  met.arm();
  MetricOf<T>* pm = metNull ? nullptr : met.as<MetricOf<T>>();

  KvpStatus st;
  if constexpr (inPlace)
    st = Fn(srcNull ? nullptr : src.as<T>(), srcStep, roi, pm);
  else
    st = Fn(srcNull ? nullptr : src.roi(), srcStep, dstNull ? nullptr : dst.as<T>(), dstStep, roi, pm);

  KVF_REQUIRE(kvf::isLibraryStatus(st), "status %d is not one of the library's", (int)st);
  if (metricsOpen && expect == kvpStsOk) {
    KVF_REQUIRE(st == kvpStsOk || st == kvpStsBadMetric, "status %d for float costs below 1", (int)st);
    expect = st;
  }
  KVF_REQUIRE(st == expect, "status %d, expected %d (w %d h %d steps %d %d metrics %g %g %g)", (int)st,
              (int)expect, roi.width, roi.height, srcStep, dstStep, (double)metrics[0], (double)metrics[1],
              (double)metrics[2]);
  KVF_REQUIRE(met.unchanged(), "the metrics were written");
  kvf::GuardedPlane& out = inPlace ? src : dst;
  if (st != kvpStsOk) {
    KVF_REQUIRE(src.unchanged() && dst.unchanged(), "a failing call wrote (status %d)", (int)st);
    return;
  }
  if (!inPlace) KVF_REQUIRE(src.unchanged(), "the source was written");
  KVF_REQUIRE(out.guardsIntact(), "a write outside the destination's pixels");

  const int W = (int)w, H = (int)h;
  std::vector<uint8_t> packed((size_t)W * H);
  for (int y = 0; y < H; ++y) std::memcpy(&packed[(size_t)y * W], src.armedRow(y), (size_t)W);
  const std::vector<T> want = dr::chamfer<T>(packed, W, H, metrics, Five);
  for (int y = 0; y < H; ++y)
    for (int x = 0; x < W; ++x) {
      T got;
      std::memcpy(&got, out.row(y) + (size_t)x * E, E);
      KVF_REQUIRE(std::memcmp(&got, &want[(size_t)y * W + x], E) == 0,
                  "pixel (%d, %d) of %dx%d: %g, expected %g", x, y, W, H, (double)got,
                  (double)want[(size_t)y * W + x]);
    }
}

// ---- exact transform ---------------------------------------------------------------------

int setThreads(kvf::Reader& in) {
  const int t = in.intIn(1, 4);
  KVF_REQUIRE(kvpSetNumThreads(t) == kvpStsOk, "thread count %d refused", t);
  int n = 0;
  KVF_REQUIRE(kvpGetNumThreads(&n) == kvpStsOk && n == t, "thread count reads back %d, set %d", n, t);
  return t;
}

void runTrueQuery(kvf::Reader& in) {
  const uint8_t how = in.byte();
  KvpiSize roi;
  roi.width = (how & 1) ? in.raw<int32_t>() : in.intIn(-2, 5000);
  roi.height = (how & 2) ? in.raw<int32_t>() : in.intIn(-2, 5000);
  const bool null = (how & 0x1c) == 4;
  const int t = setThreads(in);
  int out[3] = {0x5a5a5a5a, 0x5a5a5a5a, 0x5a5a5a5a};
  const KvpStatus st = kvpiTrueDistanceTransformGetBufferSize_8u32f_C1R(roi, null ? nullptr : &out[1]);
  KVF_REQUIRE(kvf::isLibraryStatus(st), "status %d is not one of the library's", (int)st);
  KVF_REQUIRE(out[0] == 0x5a5a5a5a && out[2] == 0x5a5a5a5a, "size query wrote beside its result");
  if (null || roi.width < 1 || roi.height < 1) {
    const KvpStatus expect = null ? kvpStsNullPtr : kvpStsBadSize;
    KVF_REQUIRE(st == expect, "size query status %d, expected %d", (int)st, (int)expect);
    KVF_REQUIRE(out[1] == 0x5a5a5a5a, "a failing size query wrote");
    return;
  }
  const long long size = dr::trueSlice(roi) * t;
  if (size <= 0x7fffffffLL) {
    KVF_REQUIRE(st == kvpStsOk && out[1] == (int)size,
                "size query %d / %d, expected %lld (%d x %d, %d threads)", (int)st, out[1], size, roi.width,
                roi.height, t);
    return;
  }
  // A size beyond 32 bits: what the query answers is not settled; it must
  // be a library status, and a failure writes nothing.
  if (st != kvpStsOk) KVF_REQUIRE(out[1] == 0x5a5a5a5a, "a failing size query wrote");
}

// The distance of one pixel, directly over all zero pixels.
KVF_NO_COVERAGE long long trueAt(const std::vector<uint8_t>& src, int w, int h, int x, int y) {
  long long best = -1;
  for (int j = 0; j < h; ++j)
    for (int i = 0; i < w; ++i)
      if (src[(size_t)j * w + i] == 0) {
        const long long c = (long long)(x - i) * (x - i) + (long long)(y - j) * (y - j);
        if (best < 0 || c < best) best = c;
      }
  return best;
}

void requireDistance(float got, long long d2, int x, int y) {
  const double e = std::sqrt((double)d2);
  KVF_REQUIRE(std::fabs((double)got - e) <= e * 0x1p-20, "distance at (%d, %d) %.9g, expected %.9g", x, y,
              (double)got, e);
}

void runTrue(kvf::Reader& in) {
  const uint16_t how = in.raw<uint16_t>();
  auto anyBits = [&](int bit) { return ((how >> bit) & 3) == 3; };
  KvpiSize roi;
  // Now and then a plane large enough to be split between threads.
  const bool big = ((how >> 8) & 15) == 15;
  roi.width = anyBits(0) ? in.raw<int32_t>() : big ? in.intIn(200, 330) : in.intIn(-1, 48);
  roi.height = anyBits(2) ? in.raw<int32_t>() : big ? in.intIn(200, 300) : in.intIn(-1, 32);
  const long long w = std::max(roi.width, 0), h = std::max(roi.height, 0);
  const int srcStep = anyBits(4) ? in.raw<int32_t>() : (int)(w + in.intIn(-2, 20));
  // Mostly whole floats of padding, else any bytes.
  const int dstStep = anyBits(6)          ? in.raw<int32_t>()
                      : ((how >> 12) & 1) ? (int)(w * 4 + in.intIn(-5, 20))
                                          : (int)(w * 4 + 4 * in.intIn(-1, 5));
  const uint8_t nulls = in.byte() % 16;
  const bool srcNull = nulls == 1, dstNull = nulls == 2, bufNull = nulls == 3 || nulls == 4;
  const int threads = setThreads(in);

  KvpStatus expect = kvpStsOk;
  if (srcNull || dstNull || bufNull)
    expect = kvpStsNullPtr;
  else if (roi.width < 1 || roi.height < 1)
    expect = kvpStsBadSize;
  else if (srcStep < roi.width || (long long)dstStep < 4LL * roi.width)
    expect = kvpStsBadStep;
  else if (dstStep % 4 != 0)
    expect = kvpStsStepNotMultiple;

  const long long lead = (long long)in.intIn(0, 31), dLead = (long long)in.intIn(0, 31) * 4;
  const bool fits = kvf::planeFits(w, h, srcStep, lead, kMaxPlaneBytes) &&
                    kvf::planeFits(w * 4, h, dstStep, dLead, kMaxPlaneBytes);
  if (expect == kvpStsOk && (!fits || w * h > (big ? 100000 : 2048))) return;
  kvf::GuardedPlane src = fits
                              ? kvf::GuardedPlane((size_t)w, (int)h, (size_t)srcStep, (size_t)lead, in.byte())
                              : kvf::GuardedPlane::trap(1);
  kvf::GuardedPlane dst =
      fits ? kvf::GuardedPlane((size_t)(w * 4), (int)h, (size_t)dstStep, (size_t)dLead, in.byte())
           : kvf::GuardedPlane::trap(2);
  if (fits && w * h <= 100000) fillSource(in, src, (int)w, (int)h);
  src.arm();
  dst.arm();
  int bufBytes = 0;
  if (expect == kvpStsOk) {
    KVF_REQUIRE(kvpiTrueDistanceTransformGetBufferSize_8u32f_C1R(roi, &bufBytes) == kvpStsOk,
                "size query failed");
    KVF_REQUIRE(bufBytes == dr::trueSlice(roi) * threads, "size query %d for %d threads", bufBytes, threads);
  }
  const uint8_t bufHow = in.byte();
  kvf::GuardedPlane buf = expect == kvpStsOk
                              ? kvf::GuardedPlane((size_t)bufBytes, 1, (size_t)bufBytes, bufHow & 15, bufHow)
                              : kvf::GuardedPlane::trap(3);
  buf.arm();

  const KvpStatus st = kvpiTrueDistanceTransform_8u32f_C1R(srcNull ? nullptr : src.roi(), srcStep,
                                                           dstNull ? nullptr : dst.as<Kvp32f>(), dstStep, roi,
                                                           bufNull ? nullptr : buf.roi());
  if (!kvf::settled(st, expect, {&src}, {&dst, &buf})) return;

  const int W = (int)w, H = (int)h;
  std::vector<uint8_t> packed((size_t)W * H);
  bool anyZero = false;
  for (int y = 0; y < H; ++y) {
    std::memcpy(&packed[(size_t)y * W], src.armedRow(y), (size_t)W);
    for (int x = 0; x < W; ++x) anyZero |= packed[(size_t)y * W + x] == 0;
  }
  auto got = [&](int x, int y) {
    float v;
    std::memcpy(&v, dst.row(y) + 4 * (size_t)x, 4);
    return v;
  };
  if (!anyZero) {
    // No zero pixel: what is written is not settled beyond being one value,
    // farther than any distance inside the image.
    const float first = got(0, 0);
    KVF_REQUIRE(first >= std::hypot((float)W, (float)H), "no zero pixel gave %g", (double)first);
    for (int y = 0; y < H; ++y)
      for (int x = 0; x < W; ++x)
        KVF_REQUIRE(std::memcmp(&first, dst.row(y) + 4 * (size_t)x, 4) == 0,
                    "no zero pixel: (%d, %d) differs", x, y);
    return;
  }
  if ((long long)W * W * H <= (1 << 21)) {
    const std::vector<long long> d2 = dr::squaredDistances(packed, W, H);
    for (int y = 0; y < H; ++y)
      for (int x = 0; x < W; ++x) requireDistance(got(x, y), d2[(size_t)y * W + x], x, y);
    return;
  }
  // Large planes: a few pixels directly, and the same bytes from a run with
  // one thread (its buffer is no larger than the one at hand).
  Rng rng{(uint64_t)W * 7919 + H};
  for (int i = 0; i < 8; ++i) {
    const int x = (int)(rng.next() % W), y = (int)(rng.next() % H);
    requireDistance(got(x, y), trueAt(packed, W, H, x, y), x, y);
  }
  std::vector<uint8_t> first((size_t)W * H * 4);
  for (int y = 0; y < H; ++y) std::memcpy(&first[(size_t)y * W * 4], dst.row(y), (size_t)W * 4);
  KVF_REQUIRE(kvpSetNumThreads(threads == 1 ? 2 : 1) == kvpStsOk, "thread count refused");
  int again = 0;
  KVF_REQUIRE(kvpiTrueDistanceTransformGetBufferSize_8u32f_C1R(roi, &again) == kvpStsOk, "size query failed");
  std::vector<uint8_t> buf2((size_t)again);
  KVF_REQUIRE(kvpiTrueDistanceTransform_8u32f_C1R(src.roi(), srcStep, dst.as<Kvp32f>(), dstStep, roi,
                                                  buf2.data()) == kvpStsOk,
              "second run failed");
  KVF_REQUIRE(src.unchanged(), "the source was written");
  for (int y = 0; y < H; ++y)
    KVF_REQUIRE(std::memcmp(&first[(size_t)y * W * 4], dst.row(y), (size_t)W * 4) == 0,
                "row %d differs between thread counts", y);
}

// ---- the table -------------------------------------------------------------------------

using Runner = void (*)(kvf::Reader&);

template <class T, bool Five, Layout L, ChamferFn<T, Five, L> Fn>
constexpr Runner chamfer() {
  return &runChamfer<T, Five, L, Fn>;
}

constexpr Runner kTable[] = {
    [](kvf::Reader& in) { runMaskQuery(in, 0); },
    [](kvf::Reader& in) { runMaskQuery(in, 1); },
    [](kvf::Reader& in) { runMaskQuery(in, 2); },
    chamfer<Kvp8u, false, Layout::TwoPlanes, kvpiDistanceTransform_3x3_8u_C1R>(),
    chamfer<Kvp8u, true, Layout::TwoPlanes, kvpiDistanceTransform_5x5_8u_C1R>(),
    chamfer<Kvp8u, false, Layout::InPlace, kvpiDistanceTransform_3x3_8u_C1IR>(),
    chamfer<Kvp8u, true, Layout::InPlace, kvpiDistanceTransform_5x5_8u_C1IR>(),
    chamfer<Kvp16u, false, Layout::TwoPlanes, kvpiDistanceTransform_3x3_8u16u_C1R>(),
    chamfer<Kvp16u, true, Layout::TwoPlanes, kvpiDistanceTransform_5x5_8u16u_C1R>(),
    chamfer<Kvp32f, false, Layout::TwoPlanes, kvpiDistanceTransform_3x3_8u32f_C1R>(),
    chamfer<Kvp32f, true, Layout::TwoPlanes, kvpiDistanceTransform_5x5_8u32f_C1R>(),
    runTrueQuery,
    runTrue,
};
constexpr size_t kEntries = sizeof(kTable) / sizeof(kTable[0]);
static_assert(kEntries == 13, "every exported distance function");

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader in(data, size);
  kTable[in.byte() % kEntries](in);
  return 0;
}

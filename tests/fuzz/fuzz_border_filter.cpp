// Fuzzes the derivative and smoothing filters with borders (36 filters and
// their 36 buffer-size queries): arbitrary sizes, steps, ROI offsets, null
// pointers, masks, kernel sizes, sigmas, border types and values, thread
// counts.
//
// Every call must return the status its arguments call for; a failing call
// writes nothing (destination, buffer); a size query reports the documented
// bytes; a successful filter call writes nothing outside the destination
// pixels, leaves the source untouched, equals the per-pixel reference of
// the unit tests bit for bit, and gives the same bytes again with another
// thread count and a buffer full of other garbage.
#include <cmath>
#include <cstring>
#include <optional>
#include <vector>

#include "fuzz_planes.h"
KVF_REF_BEGIN
#include "../filter/border_filter_ref.h"
KVF_REF_END

namespace {

constexpr long long kMaxPlaneBytes = 1 << 20;
constexpr long long kMaxWork = 3 << 20;  // output elements x mask side^2 per call

enum Family { kDeriv, kLowpass, kGauss };

using Run = KvpStatus (*)(const void*, int, void*, int, KvpiSize, int, float, int, const void*, Kvp8u*);
using Size = KvpStatus (*)(KvpiSize, int, int*);

struct Member {
  Family family;
  int op;
  int srcElem, dstElem;  // bytes
  int kind;              // 0 8u, 1 8s, 2 16u, 3 32f
  int ch;
  Run run;
  Size size;
};

#define FZ_DERIV(OP, T, S, D, SE, DE, KIND)                                                        \
  Member {                                                                                         \
    kDeriv, bref::OP, SE, DE, KIND, 1,                                                             \
        [](const void* s, int ss, void* d, int ds, KvpiSize r, int m, float, int b, const void* v, \
           Kvp8u* buf) {                                                                           \
          return kvpiFilter##OP##Border_##T##_C1R((const S*)s, ss, (D*)d, ds, r, (KvpiMaskSize)m,  \
                                                  (KvpiBorderType)b, *(const S*)v, buf);           \
        },                                                                                         \
        [](KvpiSize r, int m, int* p) {                                                            \
          return kvpiFilter##OP##GetBufferSize_##T##_C1R(r, (KvpiMaskSize)m, p);                   \
        }                                                                                          \
  }
#define FZ_DERIV3(OP)                                                                       \
  FZ_DERIV(OP, 8u16s, Kvp8u, Kvp16s, 1, 2, 0), FZ_DERIV(OP, 8s16s, Kvp8s, Kvp16s, 1, 2, 1), \
      FZ_DERIV(OP, 32f, Kvp32f, Kvp32f, 4, 4, 3)
#define FZ_VALUE_1(S) *(const S*)v
#define FZ_VALUE_3(S) (const S*)v
#define FZ_ARGS_kLowpass(m, sg) (KvpiMaskSize) m
#define FZ_ARGS_kGauss(m, sg) m, sg
#define FZ_SMOOTH(FAM, NAME, T, S, E, KIND, CH, MTYPE)                                                \
  Member {                                                                                            \
    FAM, 0, E, E, KIND, CH,                                                                           \
        [](const void* s, int ss, void* d, int ds, KvpiSize r, int m, float sg, int b, const void* v, \
           Kvp8u* buf) {                                                                              \
          (void)sg;                                                                                   \
          return kvpiFilter##NAME##Border_##T##_C##CH##R((const S*)s, ss, (S*)d, ds, r,               \
                                                         FZ_ARGS_##FAM(m, sg), (KvpiBorderType)b,     \
                                                         FZ_VALUE_##CH(S), buf);                      \
        },                                                                                            \
        [](KvpiSize r, int m, int* p) {                                                               \
          return kvpiFilter##NAME##GetBufferSize_##T##_C##CH##R(r, (MTYPE)m, p);                      \
        }                                                                                             \
  }

const Member kMembers[] = {FZ_DERIV3(SobelHoriz),
                           FZ_DERIV3(SobelVert),
                           FZ_DERIV3(SobelHorizSecond),
                           FZ_DERIV3(SobelVertSecond),
                           FZ_DERIV3(SobelCross),
                           FZ_DERIV3(SobelNegVert),
                           FZ_DERIV3(ScharrHoriz),
                           FZ_DERIV3(ScharrVert),
                           FZ_DERIV3(Laplacian),
                           FZ_SMOOTH(kLowpass, Lowpass, 8u, Kvp8u, 1, 0, 1, KvpiMaskSize),
                           FZ_SMOOTH(kLowpass, Lowpass, 8u, Kvp8u, 1, 0, 3, KvpiMaskSize),
                           FZ_SMOOTH(kLowpass, Lowpass, 32f, Kvp32f, 4, 3, 1, KvpiMaskSize),
                           FZ_SMOOTH(kLowpass, Lowpass, 32f, Kvp32f, 4, 3, 3, KvpiMaskSize),
                           FZ_SMOOTH(kGauss, Gauss, 8u, Kvp8u, 1, 0, 1, int),
                           FZ_SMOOTH(kGauss, Gauss, 8u, Kvp8u, 1, 0, 3, int),
                           FZ_SMOOTH(kGauss, Gauss, 16u, Kvp16u, 2, 2, 1, int),
                           FZ_SMOOTH(kGauss, Gauss, 32f, Kvp32f, 4, 3, 1, int),
                           FZ_SMOOTH(kGauss, Gauss, 32f, Kvp32f, 4, 3, 3, int)};
constexpr int kCount = sizeof(kMembers) / sizeof(kMembers[0]);

bool scharrOnly(const Member& m) {
  return m.family == kDeriv && (m.op == bref::ScharrHoriz || m.op == bref::ScharrVert);
}

// Mask side for a mask code (0: rejected).
int maskSide(const Member& m, int mask) {
  if (mask == kvpMskSize3x3) return 3;
  if (mask == kvpMskSize5x5 && !scharrOnly(m)) return 5;
  return 0;
}

// Status of the mask / kernel-size argument alone.
KvpStatus maskStatus(const Member& m, int mask) {
  if (m.family != kGauss) return maskSide(m, mask) ? kvpStsOk : kvpStsBadMaskSize;
  if (mask < 3) return kvpStsBadSize;
  if (mask % 2 == 0) return kvpStsBadArg;
  return kvpStsOk;
}

template <class T>
T readValue(kvf::Stream& s) {
  if constexpr (sizeof(T) == 4)
    return kvf::pickF(s);
  else
    return s.raw<T>();
}

// Reference result into out (packed rows).
template <class S, class D>
void reference(const Member& m, const void* src, int srcStep, KvpiSize roi, int side, float sigma, int border,
               const S* value, std::vector<D>& out) {
  const bref::Ext<S> e{static_cast<const S*>(src), srcStep, roi.width, roi.height, m.ch, border, value};
  const int step = roi.width * m.ch * (int)sizeof(D);
  if constexpr (std::is_same_v<S, float>) {
    if (m.family == kDeriv) bref::deriv32f(e, m.op, side, out.data(), step);
    if (m.family == kLowpass) bref::lowpass32f(e, side, out.data(), step);
    if (m.family == kGauss) bref::gauss32f(e, side, sigma, out.data(), step);
  } else if constexpr (std::is_same_v<D, Kvp16s>) {
    bref::derivInt(e, m.op, side, out.data(), step);
  } else if constexpr (std::is_same_v<S, D>) {
    if (m.family == kLowpass) {
      if constexpr (std::is_same_v<S, Kvp8u>) bref::lowpass8u(e, side, out.data(), step);
    } else {
      bref::gaussInt(e, side, sigma, out.data(), step);
    }
  }
}

// Row y of the destination equals the reference (float NaNs match any NaN:
// their payload depends on operand order, which is not part of the result).
template <class D>
bool sameRow(const uint8_t* got, const D* want, int n) {
  for (int i = 0; i < n; ++i) {
    D g;
    std::memcpy(&g, got + (size_t)i * sizeof(D), sizeof(D));
    if (!kvf::sameElem(want[i], g)) return false;
  }
  return true;
}

template <class S, class D>
void run(const Member& m, kvf::Stream& s) {
  int threads = kvf::setThreads(s);
  kvf::Dims dims = kvf::readDims(s, 100000);
  // A plane past the threading threshold costs as much as a few hundred
  // small ones (two calls, the reference, sanitizers): one in eight of
  // those asked for is kept, and a zero byte (seeds are full of them)
  // gives a small one.
  if (dims.big && s.byte() < 224) dims = {{s.intIn(1, 70), s.intIn(1, 9)}, false};
  const KvpiSize roi = dims.roi;
  // Mask or kernel size, sigma, border, value.
  const uint8_t how = s.byte();
  int mask;
  if (m.family == kGauss)
    mask = how < 16 ? s.raw<int32_t>() : (how < 200 ? 3 + 2 * (how % 8) : 1 + s.byte() % 45);
  else
    mask = how < 16 ? s.raw<int32_t>() : (how & 1 ? kvpMskSize5x5 : kvpMskSize3x3);
  const uint8_t sg = s.byte();
  const float sigma = sg < 16 ? kvf::pickF(s) : 0.2f + (float)(sg % 64) * 0.25f;
  const uint8_t bt = s.byte();
  const int border = bt < 8 ? s.raw<int32_t>() : bt % 5;
  S values[3];
  for (S& v : values) v = readValue<S>(s);
  const uint8_t nulls = s.byte();
  const bool srcNull = (nulls & 0x1f) == 1, dstNull = (nulls & 0x1f) == 2, bufNull = (nulls & 0x1f) == 3,
             valueNull = m.ch == 3 && (nulls & 0x1f) == 4;

  kvf::PlaneDesc p[2];
  p[0].used = p[1].used = true;
  p[0].elem = m.srcElem, p[1].elem = m.dstElem;
  p[0].chans = p[1].chans = m.ch;
  const long long w = roi.width > 0 ? roi.width : 0;
  p[0].step = kvf::readStep(s, p[0].rowBytes(w), m.srcElem, dims.big);
  p[1].step = kvf::readStep(s, p[1].rowBytes(w), m.dstElem, dims.big);
  p[0].lead = (size_t)s.intIn(0, 15) * m.srcElem;
  p[1].lead = (size_t)s.intIn(0, 15) * m.dstElem;
  p[0].null = srcNull, p[1].null = dstNull;

  // The status the arguments call for.
  KvpStatus expect = kvf::commonStatus(p, 2, roi.width, roi.height, bufNull);
  if (expect == kvpStsOk) expect = maskStatus(m, mask);
  if (expect == kvpStsOk && m.family == kGauss && !(sigma > 0 && std::isfinite(sigma))) expect = kvpStsBadArg;
  if (expect == kvpStsOk && (border < 0 || border > 4)) expect = kvpStsBadArg;
  if (expect == kvpStsOk && valueNull && border == 0) expect = kvpStsNullPtr;

  // Size query with the same ROI and mask.
  const int side = m.family == kGauss ? mask : maskSide(m, mask);
  {
    int got = -5;
    KvpStatus want = roi.width < 1 || roi.height < 1 ? kvpStsBadSize : maskStatus(m, mask);
    long long bytes = 0;
    if (want == kvpStsOk) {
      bytes = bref::bufferBytes(roi.width, m.ch, side, threads, m.family == kDeriv && m.op == bref::Laplacian,
                                m.family == kGauss);
      if (bytes > 2147483647LL) want = kvpStsBadSize;
    }
    const KvpStatus st = m.size(roi, mask, &got);
    KVF_REQUIRE(st == want, "size query status %d, expected %d", (int)st, (int)want);
    KVF_REQUIRE(st == kvpStsOk ? got == bytes : got == -5, "size query stored %d (expected %lld)", got,
                bytes);
  }

  const bool fits = kvf::planesFit(p, 2, w, roi.height, kMaxPlaneBytes);
  if (expect == kvpStsOk) {
    // side is tested alone first: a valid Gauss kernel may be huge, and side^2
    // times the plane size must not overflow.
    if (!fits || side > 2048 || w * roi.height * m.ch * (long long)side * side > kMaxWork) return;
    if (m.family == kGauss && side > 41) return;
  }
  std::optional<kvf::GuardedPlane> planes[2];
  const bool laid = kvf::buildPlanes(p, 2, w, roi.height, kMaxPlaneBytes, planes, s.byte());
  if (laid)
    for (int y = 0; y < roi.height; ++y)
      for (int x = 0; x < roi.width * m.ch; ++x) {
        const S v = readValue<S>(s);
        std::memcpy(planes[0]->row(y) + (size_t)x * sizeof(S), &v, sizeof(S));
      }
  planes[0]->arm();
  planes[1]->arm();
  int bytes = 64;
  if (expect == kvpStsOk) m.size(roi, mask, &bytes);
  kvf::GuardedPlane buf((size_t)bytes, 1, (size_t)bytes, (size_t)s.intIn(0, 63), s.byte());
  buf.arm();

  const void* value = valueNull ? nullptr : (m.ch == 3 ? (const void*)values : (const void*)&values[0]);
  auto call = [&] {
    return m.run(srcNull ? nullptr : planes[0]->roi(), p[0].step, dstNull ? nullptr : planes[1]->roi(),
                 p[1].step, roi, mask, sigma, border, value, bufNull ? nullptr : buf.roi());
  };
  const KvpStatus st = call();
  KVF_REQUIRE(kvf::isLibraryStatus(st), "status %d is not one of the library's", (int)st);
  KVF_REQUIRE(st == expect, "status %d, expected %d (w %d h %d steps %d %d mask %d border %d)", (int)st,
              (int)expect, roi.width, roi.height, p[0].step, p[1].step, mask, border);
  KVF_REQUIRE(planes[0]->unchanged(), "the source was written");
  if (st != kvpStsOk) {
    KVF_REQUIRE(planes[1]->unchanged(), "a failing call wrote the destination");
    KVF_REQUIRE(buf.unchanged(), "a failing call wrote the buffer");
    return;
  }
  KVF_REQUIRE(planes[1]->guardsIntact(), "a write outside the destination pixels");
  KVF_REQUIRE(buf.guardsIntact(), "a write outside the buffer");

  std::vector<D> want((size_t)roi.width * roi.height * m.ch);
  reference<S, D>(m, planes[0]->roi(), p[0].step, roi, side, sigma, border, values, want);
  const int n = roi.width * m.ch;
  for (int y = 0; y < roi.height; ++y)
    KVF_REQUIRE(sameRow(planes[1]->row(y), want.data() + (size_t)y * n, n),
                "row %d of %dx%d differs from the reference (mask %d border %d)", y, roi.width, roi.height,
                mask, border);

  // Again with another thread count (the buffer sized for it) and garbage.
  threads = threads % 3 + 1;
  kvpSetNumThreads(threads);
  m.size(roi, mask, &bytes);
  kvf::GuardedPlane buf2((size_t)bytes, 1, (size_t)bytes, 7, s.byte());
  buf2.arm();
  planes[1]->scramble(s.byte());
  const KvpStatus st2 = m.run(planes[0]->roi(), p[0].step, planes[1]->roi(), p[1].step, roi, mask, sigma,
                              border, value, buf2.roi());
  KVF_REQUIRE(st2 == kvpStsOk, "second call status %d", (int)st2);
  for (int y = 0; y < roi.height; ++y)
    KVF_REQUIRE(sameRow(planes[1]->row(y), want.data() + (size_t)y * n, n), "row %d differs at %d threads", y,
                threads);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader in(data, size);
  const Member& m = kMembers[in.byte() % kCount];
  kvf::Stream s(in);
  switch (m.kind) {
    case 0:
      if (m.dstElem == 2)
        run<Kvp8u, Kvp16s>(m, s);
      else
        run<Kvp8u, Kvp8u>(m, s);
      break;
    case 1:
      run<Kvp8s, Kvp16s>(m, s);
      break;
    case 2:
      run<Kvp16u, Kvp16u>(m, s);
      break;
    default:
      run<Kvp32f, Kvp32f>(m, s);
      break;
  }
  return 0;
}

// Fuzzes the morphology family: flat erosion, dilation and the derived
// operations for every type and layout, value-mask erosion and dilation,
// and reconstruction, with arbitrary masks, anchors, ROI sizes, steps,
// offsets, null pointers, border types, states of another kind or of a
// smaller bound, and thread counts. Each call must return the status the
// check order calls for, write nothing when it fails, write nothing outside
// the destination's pixels, leave its inputs alone, and match the plain
// reference (tests/morph/morph_ref.h) pixel for pixel; inputs holding NaN
// (and, for value masks, infinities on both sides) are only checked for
// status and guards.
#include <algorithm>
#include <cmath>
#include <optional>

#include "fuzz_planes.h"
KVF_REF_BEGIN
#include "../morph/morph_ref.h"
KVF_REF_END

namespace {

constexpr int kThreadArea = 2 * 32768;
constexpr long long kMaxPlaneBytes = 1 << 18, kMaxBigPlaneBytes = 1 << 20;

template <class T>
bool hasNan(const mref::Img<T>& im) {
  if constexpr (std::is_floating_point_v<T>)
    for (T v : im.v)
      if (std::isnan(v)) return true;
  return false;
}
template <class T>
bool hasInf(const mref::Img<T>& im) {
  if constexpr (std::is_floating_point_v<T>)
    for (T v : im.v)
      if (std::isinf(v)) return true;
  return false;
}

// Fills the pixels of plane g (w x h x cn elements of T) from the stream.
template <class T>
KVF_NO_COVERAGE void fill(kvf::Stream& s, kvf::GuardedPlane& g, int w, int h, int cn, bool smallRange) {
  for (int y = 0; y < h; ++y)
    for (int i = 0; i < w * cn; ++i) {
      const T v = smallRange ? (T)(s.byte() % 6 * 7) : kvf::pickElem<T>(s);
      std::memcpy(g.row(y) + (size_t)i * sizeof(T), &v, sizeof(T));
    }
}

// The two planes of a call: source (or mask image) and destination (or
// marker), with their descriptions and the status the common checks call for.
struct Call {
  KvpiSize roi{};
  bool big = false;
  kvf::PlaneDesc p[2];
  std::optional<kvf::GuardedPlane> g[2];
  KvpStatus common = kvpStsOk;
  bool laidOut = false;
};

// Reads sizes, steps, offsets and null flags; lays the planes out when they
// fit (returns false when a successful call could not be laid out).
bool readCall(kvf::Stream& s, Call& c, int es, int cn) {
  const kvf::Dims d = kvf::readDims(s, kThreadArea);
  c.roi = d.roi;
  c.big = d.big;
  const uint8_t nulls = s.byte();
  for (int i = 0; i < 2; ++i) {
    c.p[i].used = true, c.p[i].elem = es, c.p[i].chans = cn;
    c.p[i].step = kvf::readStep(s, c.p[i].rowBytes(c.roi.width > 0 ? c.roi.width : 0), es, d.big);
    c.p[i].lead = (size_t)s.intIn(0, 31) * es;
    c.p[i].null = (nulls & 15) == 1 + i;
  }
  c.common = kvf::commonStatus(c.p, 2, c.roi.width, c.roi.height);
  const long long maxBytes = d.big ? kMaxBigPlaneBytes : kMaxPlaneBytes;
  if (c.common == kvpStsOk && !kvf::planesFit(c.p, 2, c.roi.width, c.roi.height, maxBytes)) return false;
  c.laidOut = kvf::buildPlanes(c.p, 2, c.roi.width, c.roi.height, maxBytes, c.g, s.byte());
  return true;
}

// A bound for the state: the ROI, one larger (or smaller) now and then.
KvpiSize readBound(kvf::Stream& s, KvpiSize roi) {
  KvpiSize b{std::clamp(roi.width, 1, 1 << 16), std::clamp(roi.height, 1, 1 << 16)};
  const uint8_t how = s.byte();
  if (how < 16) b.width = std::max(1, b.width - 1);
  if (how >= 16 && how < 24) b.height = std::max(1, b.height - 1);
  if (how >= 200) b.width += how % 7, b.height += how % 5;
  return b;
}

// ---- flat and derived ------------------------------------------------------------

template <class T>
struct FlatEntry {
  int cn;
  KvpStatus (*initAlloc)(int, const Kvp8u*, KvpiSize, KvpiPoint, KvpiMorphState**);
  KvpStatus (*advInitAlloc)(KvpiSize, const Kvp8u*, KvpiSize, KvpiPoint, KvpiMorphAdvState**);
  KvpStatus (*work[2])(const T*, int, T*, int, KvpiSize, KvpiBorderType, KvpiMorphState*);
  KvpStatus (*adv[5])(const T*, int, T*, int, KvpiSize, KvpiBorderType, KvpiMorphAdvState*);
};

#define FLAT_ENTRY(SUF, CN)                                                               \
  {                                                                                       \
    CN, kvpiMorphologyInitAlloc_##SUF, kvpiMorphAdvInitAlloc_##SUF,                       \
        {kvpiErodeBorderReplicate_##SUF, kvpiDilateBorderReplicate_##SUF}, {              \
      kvpiMorphOpenBorder_##SUF, kvpiMorphCloseBorder_##SUF, kvpiMorphTophatBorder_##SUF, \
          kvpiMorphBlackhatBorder_##SUF, kvpiMorphGradientBorder_##SUF                    \
    }                                                                                     \
  }

const FlatEntry<Kvp8u> k8u[] = {FLAT_ENTRY(8u_C1R, 1), FLAT_ENTRY(8u_C3R, 3), FLAT_ENTRY(8u_C4R, 4)};
const FlatEntry<Kvp16u> k16u[] = {FLAT_ENTRY(16u_C1R, 1)};
const FlatEntry<Kvp32f> k32f[] = {FLAT_ENTRY(32f_C1R, 1), FLAT_ENTRY(32f_C3R, 3), FLAT_ENTRY(32f_C4R, 4)};

template <class T>
void runFlat(kvf::Stream& s, const FlatEntry<T>& f, const FlatEntry<T>& other) {
  kvf::setThreads(s);
  const int op = s.byte() % 7;
  const bool adv = op >= 2;
  // The mask: mostly small, sometimes with no member or a bad anchor.
  mref::Mask k;
  k.w = s.intIn(-1, 7), k.h = s.intIn(-1, 7);
  k.ax = s.intIn(-1, 7), k.ay = s.intIn(-1, 7);
  if (s.byte() < 200)
    k.ax = std::min(k.ax, std::max(k.w - 1, 0)), k.ay = std::min(k.ay, std::max(k.h - 1, 0));
  const bool full = s.byte() < 64;
  for (long long i = 0; i < (long long)std::max(k.w, 0) * std::max(k.h, 0); ++i)
    k.m.push_back(full ? 1 : kvf::pickMask(s));
  if (k.m.empty()) k.m.push_back(1);
  Call c;
  if (!readCall(s, c, sizeof(T), f.cn)) return;
  KvpiSize bound = readBound(s, c.roi);
  if (c.common != kvpStsOk) bound = {8, 8};  // the call fails before it looks at the state
  const uint8_t how = s.byte();
  const KvpiBorderType border = how < 240 ? kvpBorderRepl : (KvpiBorderType)(how % 5);
  const bool wrongKind = s.byte() < 12;
  const bool smallRange = s.flag();
  if (c.laidOut) fill<T>(s, *c.g[0], c.roi.width, c.roi.height, f.cn, smallRange);
  for (auto& g : c.g) g->arm();

  // The state: its own statuses first.
  KvpStatus initWant = kvpStsOk;
  if (k.w < 1 || k.h < 1)
    initWant = kvpStsBadSize;
  else if (k.ax < 0 || k.ax >= k.w || k.ay < 0 || k.ay >= k.h)
    initWant = kvpStsBadAnchor;
  else if (std::all_of(k.m.begin(), k.m.end(), [](uint8_t b) { return b == 0; }))
    initWant = kvpStsBadArg;
  const FlatEntry<T>& maker = wrongKind ? other : f;
  const KvpiSize ms{k.w, k.h};
  const KvpiPoint a{k.ax, k.ay};
  void* st = nullptr;
  KvpStatus is;
  if (adv)
    is = maker.advInitAlloc(bound, k.m.data(), ms, a, reinterpret_cast<KvpiMorphAdvState**>(&st));
  else
    is = maker.initAlloc(bound.width, k.m.data(), ms, a, reinterpret_cast<KvpiMorphState**>(&st));
  KVF_REQUIRE(is == initWant, "init status %d, expected %d", (int)is, (int)initWant);
  if (is != kvpStsOk) return;

  KvpStatus want = c.common;
  if (want == kvpStsOk && border != kvpBorderRepl) want = kvpStsBadArg;
  if (want == kvpStsOk && &maker != &f) want = kvpStsBadArg;
  if (want == kvpStsOk && (c.roi.width > bound.width || (adv && c.roi.height > bound.height)))
    want = kvpStsBadSize;
  auto ptr = [&](int i) { return c.p[i].null ? nullptr : c.g[i]->template as<T>(); };
  const KvpStatus got = adv ? f.adv[op - 2](ptr(0), c.p[0].step, ptr(1), c.p[1].step, c.roi, border,
                                            static_cast<KvpiMorphAdvState*>(st))
                            : f.work[op](ptr(0), c.p[0].step, ptr(1), c.p[1].step, c.roi, border,
                                         static_cast<KvpiMorphState*>(st));
  if (adv)
    kvpiMorphAdvFree(static_cast<KvpiMorphAdvState*>(st));
  else
    kvpiMorphologyFree(static_cast<KvpiMorphState*>(st));
  KVF_REQUIRE(kvf::isLibraryStatus(got), "status %d is not one of the library's", (int)got);
  KVF_REQUIRE(got == want, "status %d, expected %d (op %d, %dx%d)", (int)got, (int)want, op, c.roi.width,
              c.roi.height);
  KVF_REQUIRE(c.g[0]->unchanged(), "the source was written");
  if (got != kvpStsOk) {
    KVF_REQUIRE(c.g[1]->unchanged(), "a failing call wrote its destination");
    return;
  }
  KVF_REQUIRE(c.g[1]->guardsIntact(), "a write outside the destination's pixels");
  const auto in = mref::load<T>(c.g[0]->roi(), c.p[0].step, c.roi.width, c.roi.height, f.cn);
  if (hasNan(in)) return;
  const auto out = mref::load<T>(c.g[1]->roi(), c.p[1].step, c.roi.width, c.roi.height, f.cn);
  const auto ref = mref::allOps(in, k)[op];
  for (size_t i = 0; i < ref.v.size(); ++i)
    KVF_REQUIRE(mref::same(out.v[i], ref.v[i]), "op %d element %zu of %dx%d: %g vs %g", op, i, c.roi.width,
                c.roi.height, (double)out.v[i], (double)ref.v[i]);
}

// ---- value masks ------------------------------------------------------------------

template <class T>
void runGray(kvf::Stream& s) {
  using M = std::conditional_t<std::is_same_v<T, Kvp8u>, Kvp32s, Kvp32f>;
  using S = std::conditional_t<std::is_same_v<T, Kvp8u>, KvpiMorphGrayState_8u, KvpiMorphGrayState_32f>;
  kvf::setThreads(s);
  const bool dilate = s.flag();
  const int mw = s.intIn(0, 5), mh = s.intIn(0, 5);
  int ax = s.intIn(0, 5), ay = s.intIn(0, 5);
  if (s.byte() < 220) ax = std::min(ax, std::max(mw - 1, 0)), ay = std::min(ay, std::max(mh - 1, 0));
  std::vector<M> m;
  static const Kvp32s special[] = {INT32_MIN, INT32_MAX, -256, 256, -255, 255, 0, 1, -1};
  for (int i = 0; i < mw * mh; ++i) {
    if constexpr (std::is_same_v<T, Kvp8u>)
      m.push_back(s.byte() < 64 ? special[s.byte() % 9] : s.intIn(-300, 300));
    else
      m.push_back(s.byte() < 230 ? (M)s.intIn(-80, 80) / 4 : kvf::pickF(s));
  }
  if (m.empty()) m.push_back(0);
  Call c;
  if (!readCall(s, c, sizeof(T), 1)) return;
  KvpiSize bound = readBound(s, c.roi);
  if (c.common != kvpStsOk) bound = {8, 8};
  const KvpiBorderType border = s.byte() < 240 ? kvpBorderRepl : kvpBorderMirror;
  if (c.laidOut) fill<T>(s, *c.g[0], c.roi.width, c.roi.height, 1, false);
  for (auto& g : c.g) g->arm();

  KvpStatus initWant = kvpStsOk;
  if (mw < 1 || mh < 1)
    initWant = kvpStsBadSize;
  else if (ax >= mw || ay >= mh)
    initWant = kvpStsBadAnchor;
  else if constexpr (std::is_floating_point_v<M>)
    if (std::any_of(m.begin(), m.end(), [](M v) { return std::isnan(v); })) initWant = kvpStsBadArg;
  S* st = nullptr;
  KvpStatus is;
  if constexpr (std::is_same_v<T, Kvp8u>)
    is = kvpiMorphGrayInitAlloc_8u_C1R(bound.width, m.data(), {mw, mh}, {ax, ay}, &st);
  else
    is = kvpiMorphGrayInitAlloc_32f_C1R(bound.width, m.data(), {mw, mh}, {ax, ay}, &st);
  KVF_REQUIRE(is == initWant, "init status %d, expected %d", (int)is, (int)initWant);
  if (is != kvpStsOk) return;
  KvpStatus want = c.common;
  if (want == kvpStsOk && border != kvpBorderRepl) want = kvpStsBadArg;
  if (want == kvpStsOk && c.roi.width > bound.width) want = kvpStsBadSize;
  const T* src = c.p[0].null ? nullptr : c.g[0]->template as<T>();
  T* dst = c.p[1].null ? nullptr : c.g[1]->template as<T>();
  KvpStatus got;
  if constexpr (std::is_same_v<T, Kvp8u>) {
    got = (dilate ? kvpiGrayDilateBorder_8u_C1R : kvpiGrayErodeBorder_8u_C1R)(src, c.p[0].step, dst,
                                                                              c.p[1].step, c.roi, border, st);
    kvpiMorphGrayFree_8u_C1R(st);
  } else {
    got = (dilate ? kvpiGrayDilateBorder_32f_C1R : kvpiGrayErodeBorder_32f_C1R)(
        src, c.p[0].step, dst, c.p[1].step, c.roi, border, st);
    kvpiMorphGrayFree_32f_C1R(st);
  }
  KVF_REQUIRE(got == want, "status %d, expected %d", (int)got, (int)want);
  KVF_REQUIRE(c.g[0]->unchanged(), "the source was written");
  if (got != kvpStsOk) {
    KVF_REQUIRE(c.g[1]->unchanged(), "a failing call wrote its destination");
    return;
  }
  KVF_REQUIRE(c.g[1]->guardsIntact(), "a write outside the destination's pixels");
  const auto in = mref::load<T>(c.g[0]->roi(), c.p[0].step, c.roi.width, c.roi.height, 1);
  bool maskInf = false;
  if constexpr (std::is_floating_point_v<M>)
    maskInf = std::any_of(m.begin(), m.end(), [](M v) { return std::isinf(v); });
  if (hasNan(in) || (maskInf && hasInf(in))) return;
  const auto out = mref::load<T>(c.g[1]->roi(), c.p[1].step, c.roi.width, c.roi.height, 1);
  const auto ref = mref::gray(in, m.data(), mw, mh, ax, ay, dilate);
  for (size_t i = 0; i < ref.v.size(); ++i)
    KVF_REQUIRE(mref::same(out.v[i], ref.v[i]), "element %zu of %dx%d", i, c.roi.width, c.roi.height);
}

// ---- reconstruction ------------------------------------------------------------------

template <class T, auto Size, auto Dilate, auto Erode>
void runRecon(kvf::Stream& s) {
  const int threads = kvf::setThreads(s);
  const bool dilate = s.flag();
  const uint8_t nb = s.byte();
  const KvpiNorm norm = nb < 120 ? kvpiNormL1 : (nb < 250 ? kvpiNormInf : (KvpiNorm)(2 + nb % 2));
  const bool nullBuf = s.byte() < 4;
  Call c;
  if (!readCall(s, c, sizeof(T), 1)) return;
  const bool smallRange = s.byte() < 200;
  if (c.laidOut) {
    fill<T>(s, *c.g[0], c.roi.width, c.roi.height, 1, smallRange);
    fill<T>(s, *c.g[1], c.roi.width, c.roi.height, 1, smallRange);
  }
  for (auto& g : c.g) g->arm();
  int bytes = 64;
  if (c.roi.width > 0 && c.roi.height > 0) Size(c.roi, &bytes);
  const size_t lead = s.byte() % 64;
  std::vector<Kvp8u> buf(c.laidOut ? lead + (size_t)bytes + 16 : 64, 0xA7);
  // Every pointer is checked before anything else.
  // The buffer's size bound belongs to the size check, before the steps.
  KvpStatus want = nullBuf ? kvpStsNullPtr : c.common;
  if (want != kvpStsNullPtr && c.roi.width > 0 && c.roi.height > 0 &&
      5.0 * c.roi.width * c.roi.height + 64 > 2147483647.0)
    want = kvpStsBadSize;
  if (want == kvpStsOk && norm != kvpiNormL1 && norm != kvpiNormInf) want = kvpStsBadArg;
  const T* I = c.p[0].null ? nullptr : c.g[0]->template as<T>();
  T* J = c.p[1].null ? nullptr : c.g[1]->template as<T>();
  const KvpStatus got = (dilate ? Dilate : Erode)(I, c.p[0].step, J, c.p[1].step, c.roi,
                                                  nullBuf ? nullptr : buf.data() + lead, norm);
  KVF_REQUIRE(got == want, "status %d, expected %d", (int)got, (int)want);
  KVF_REQUIRE(c.g[0]->unchanged(), "the mask image was written");
  if (got != kvpStsOk) {
    KVF_REQUIRE(c.g[1]->unchanged(), "a failing call wrote the marker");
    return;
  }
  KVF_REQUIRE(c.g[1]->guardsIntact(), "a write outside the marker's pixels");
  for (int i = 0; i < 16; ++i) KVF_REQUIRE(buf[lead + (size_t)bytes + i] == 0xA7, "buffer overrun");
  const auto mask = mref::load<T>(c.g[0]->roi(), c.p[0].step, c.roi.width, c.roi.height, 1);
  std::vector<uint8_t> armed((size_t)c.roi.height * c.p[1].rowBytes(c.roi.width));
  for (int y = 0; y < c.roi.height; ++y)
    std::memcpy(armed.data() + y * c.p[1].rowBytes(c.roi.width), c.g[1]->armedRow(y),
                c.p[1].rowBytes(c.roi.width));
  const auto marker = mref::load<T>(armed.data(), c.p[1].rowBytes(c.roi.width), c.roi.width, c.roi.height, 1);
  if (hasNan(mask) || hasNan(marker)) return;
  const auto out = mref::load<T>(c.g[1]->roi(), c.p[1].step, c.roi.width, c.roi.height, 1);
  mref::Img<T> ref;
  if ((long long)c.roi.width * c.roi.height <= 4096) {
    ref = mref::reconstruct(mask, marker, dilate, norm == kvpiNormInf);
  } else {
    // Large planes: the single-thread call (checked against the iteration
    // on small planes) is the reference for the banded one.
    if (threads == 1) return;
    kvpSetNumThreads(1);
    std::vector<T> j = marker.v;
    const int step = c.roi.width * (int)sizeof(T);
    std::vector<Kvp8u> b1((size_t)bytes);
    KVF_REQUIRE(
        (dilate ? Dilate : Erode)(mask.v.data(), step, j.data(), step, c.roi, b1.data(), norm) == kvpStsOk,
        "single-thread call");
    ref = marker;
    ref.v = j;
  }
  for (size_t i = 0; i < ref.v.size(); ++i)
    KVF_REQUIRE(mref::same(out.v[i], ref.v[i]), "element %zu of %dx%d", i, c.roi.width, c.roi.height);
}

template <class T, auto Size, auto Dilate, auto Erode>
void recon(kvf::Stream& s, uint8_t, uint8_t) {
  runRecon<T, Size, Dilate, Erode>(s);
}

// Runners by the first byte; the flat ones pick their two operations by it
// and by the next byte.
void (*const kRuns[])(kvf::Stream&, uint8_t, uint8_t) = {
    [](kvf::Stream& s, uint8_t w, uint8_t p) { runFlat<Kvp8u>(s, k8u[w % 3], k8u[p % 3]); },
    [](kvf::Stream& s, uint8_t w, uint8_t p) { runFlat<Kvp8u>(s, k8u[w % 3], k8u[p % 3]); },
    [](kvf::Stream& s, uint8_t w, uint8_t p) { runFlat<Kvp8u>(s, k8u[w % 3], k8u[p % 3]); },
    [](kvf::Stream& s, uint8_t, uint8_t) { runFlat<Kvp16u>(s, k16u[0], k16u[0]); },
    [](kvf::Stream& s, uint8_t w, uint8_t p) { runFlat<Kvp32f>(s, k32f[w % 3], k32f[p % 3]); },
    [](kvf::Stream& s, uint8_t w, uint8_t p) { runFlat<Kvp32f>(s, k32f[w % 3], k32f[p % 3]); },
    [](kvf::Stream& s, uint8_t w, uint8_t p) { runFlat<Kvp32f>(s, k32f[w % 3], k32f[p % 3]); },
    [](kvf::Stream& s, uint8_t, uint8_t) { runGray<Kvp8u>(s); },
    [](kvf::Stream& s, uint8_t, uint8_t) { runGray<Kvp32f>(s); },
    recon<Kvp8u, kvpiMorphReconstructGetBufferSize_8u_C1, kvpiMorphReconstructDilate_8u_C1IR,
          kvpiMorphReconstructErode_8u_C1IR>,
    recon<Kvp16u, kvpiMorphReconstructGetBufferSize_16u_C1, kvpiMorphReconstructDilate_16u_C1IR,
          kvpiMorphReconstructErode_16u_C1IR>,
    recon<Kvp32f, kvpiMorphReconstructGetBufferSize_32f_C1, kvpiMorphReconstructDilate_32f_C1IR,
          kvpiMorphReconstructErode_32f_C1IR>,
    recon<Kvp64f, kvpiMorphReconstructGetBufferSize_64f_C1, kvpiMorphReconstructDilate_64f_C1IR,
          kvpiMorphReconstructErode_64f_C1IR>,
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader in(data, size);
  const uint8_t which = in.byte();
  kvf::Stream s(in);
  const uint8_t pick = s.byte();
  kRuns[std::min(which % 14, 12)](s, which, pick);  // 12 and 13: 64f
  return 0;
}

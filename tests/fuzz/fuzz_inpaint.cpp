// Fuzzes the fast march and the inpainting: arbitrary sizes, steps, ROI
// offsets, radii (NaN, infinities, tiny and huge values), distance maps
// with special values, flags, null pointers and mismatched sizes, at 1 to
// 3 threads. Every call must return the status its arguments call for,
// write nothing when it fails, touch nothing outside its planes and the
// reported buffer when it succeeds, and agree bit for bit with the plain
// references the unit tests use.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <vector>

#include "fuzz_planes.h"
KVF_REF_BEGIN
#include "../inpaint/inpaint_ref.h"
KVF_REF_END

namespace {

constexpr long long kMaxPlaneBytes = 1 << 20;
constexpr int kBigArea = 3 * 32768 + 1;

using kvf::PlaneDesc;
using kvf::Stream;

template <class T>
KVF_NO_COVERAGE std::vector<T> packedOf(kvf::GuardedPlane& p, int w, int h, int cn, bool armed = false) {
  std::vector<T> v((size_t)w * h * cn);
  for (int y = 0; y < h; ++y)
    std::memcpy(&v[(size_t)y * w * cn], armed ? p.armedRow(y) : p.row(y), (size_t)w * cn * sizeof(T));
  return v;
}

KVF_NO_COVERAGE void fillMask(Stream& s, kvf::GuardedPlane& m, int h) {
  const uint8_t density = s.byte();
  for (int y = 0; y < h; ++y)
    for (size_t x = 0; x < m.rowBytes(); ++x)
      m.row(y)[x] = s.byte() < density ? (uint8_t)(1 + s.byte() % 255) : 0;
}

void readDesc(Stream& s, PlaneDesc& d, int elem, int chans, int width, bool big) {
  d.used = true;
  d.elem = elem;
  d.chans = chans;
  d.step = kvf::readStep(s, d.rowBytes(width > 0 ? width : 1), elem, big);
  d.lead = (size_t)s.intIn(0, 7) * elem;
  d.null = s.byte() < 6;
}

// ---- fast marching ----------------------------------------------------------------------

void runMarch(Stream& s) {
  const kvf::Dims dims = kvf::readDims(s, kBigArea);
  const KvpiSize roi = dims.roi;
  PlaneDesc d[2];
  readDesc(s, d[0], 1, 1, roi.width, dims.big);
  readDesc(s, d[1], 4, 1, roi.width, dims.big);
  const uint8_t how = s.byte();
  const float radius = how < 60 ? INFINITY : (how < 160 ? (float)s.intIn(1, 80) / 8.f : kvf::pickF(s));
  const bool bufNull = s.byte() < 6;
  KvpStatus expect = kvf::commonStatus(d, 2, roi.width, roi.height, bufNull);
  if (expect == kvpStsOk && !(radius > 0)) expect = kvpStsBadArg;
  const int h = roi.height > 0 ? roi.height : 1, w = roi.width;
  const bool laid = kvf::planesFit(d, 2, w, h, kMaxPlaneBytes);
  if (expect == kvpStsOk && !laid) return;
  std::optional<kvf::GuardedPlane> p[2];
  kvf::buildPlanes(d, 2, w, h, kMaxPlaneBytes, p, s.byte());
  if (laid) fillMask(s, *p[0], h);
  p[0]->arm();
  p[1]->arm();
  const long long bytes = 17LL * (laid ? (long long)w * h : 0) + 1024;
  std::optional<kvf::GuardedPlane> buf;
  if (expect == kvpStsOk) {
    buf.emplace((size_t)bytes, 1, (size_t)bytes, (size_t)s.intIn(0, 63), s.byte());
    buf->arm();
  } else {
    buf.emplace(kvf::GuardedPlane::trap(s.byte()));
  }
  const KvpStatus st = kvpiFastMarching_8u32f_C1R(d[0].null ? nullptr : p[0]->roi(), d[0].step,
                                                  d[1].null ? nullptr : p[1]->as<Kvp32f>(), d[1].step, roi,
                                                  radius, bufNull ? nullptr : buf->roi());
  if (!kvf::settled(st, expect, {&*p[0]}, {&*p[1], &*buf})) return;
  const auto ref = inpref::march(packedOf<uint8_t>(*p[0], w, h, 1), w, h, radius);
  const auto got = packedOf<float>(*p[1], w, h, 1);
  KVF_REQUIRE(std::memcmp(got.data(), ref.data(), ref.size() * 4) == 0,
              "map differs from the reference (%dx%d)", w, h);
}

// ---- inpainting ---------------------------------------------------------------------------

template <int CN>
void runInpaint(Stream& s) {
  using State = std::conditional_t<CN == 1, KvpiInpaintState_8u_C1R, KvpiInpaintState_8u_C3R>;
  const kvf::Dims dims = kvf::readDims(s, 1);
  KvpiSize roi = dims.roi;
  if (dims.big) roi = {s.intIn(1, 40), s.intIn(1, 40)};
  PlaneDesc d[2];
  readDesc(s, d[0], 4, 1, roi.width, false);
  readDesc(s, d[1], 1, 1, roi.width, false);
  const uint8_t how = s.byte();
  float radius = how < 180 ? (float)s.intIn(4, 48) / 8.f : kvf::pickF(s);
  const int flag = s.byte() < 240 ? 0 : s.raw<int32_t>();
  const bool ppNull = s.byte() < 6;
  const int h = roi.height > 0 ? roi.height : 1, w = roi.width;
  const bool laid = kvf::planesFit(d, 2, w, h, kMaxPlaneBytes);
  // The fill costs the masked pixels times the disc: keep huge discs to
  // small images.
  if (laid && std::isfinite(radius) && radius > 6 && (long long)w * h > 400) radius = 6;
  KvpStatus expect = kvf::commonStatus(d, 2, roi.width, roi.height, ppNull);
  if (ppNull) expect = kvpStsNullPtr;
  if (expect == kvpStsOk && (!std::isfinite(radius) || radius < 1)) expect = kvpStsBadArg;
  if (expect == kvpStsOk && flag != 0) expect = kvpStsBadArg;
  if (expect == kvpStsOk && !laid) return;
  std::optional<kvf::GuardedPlane> p[2];
  kvf::buildPlanes(d, 2, w, h, kMaxPlaneBytes, p, s.byte());
  if (laid) {
    fillMask(s, *p[1], h);
    // Distances: the march's map of the mask, or arbitrary values.
    const uint8_t kind = s.byte();
    for (int y = 0; y < h; ++y) {
      for (int x = 0; x < w; ++x) {
        const float v = kind < 200 ? (float)s.intIn(0, 40) / 4.f : kvf::pickF(s);
        std::memcpy(p[0]->row(y) + 4 * (size_t)x, &v, 4);
      }
    }
    if (kind < 128) {
      const auto t = inpref::march(packedOf<uint8_t>(*p[1], w, h, 1), w, h, radius < 1 ? 1.f : radius);
      for (int y = 0; y < h; ++y) std::memcpy(p[0]->row(y), &t[(size_t)y * w], (size_t)w * 4);
    }
  }
  p[0]->arm();
  p[1]->arm();
  if (expect == kvpStsOk)
    for (float v : packedOf<float>(*p[0], w, h, 1))
      if (!std::isfinite(v)) expect = kvpStsBadArg;
  State* const sentinel = reinterpret_cast<State*>(&p);
  State* state = sentinel;
  const float* dist = d[0].null ? nullptr : p[0]->as<float>();
  const Kvp8u* mask = d[1].null ? nullptr : p[1]->roi();
  KvpStatus st;
  if constexpr (CN == 1)
    st = kvpiInpaintInitAlloc_8u_C1R(ppNull ? nullptr : &state, dist, d[0].step, mask, d[1].step, roi, radius,
                                     flag);
  else
    st = kvpiInpaintInitAlloc_8u_C3R(ppNull ? nullptr : &state, dist, d[0].step, mask, d[1].step, roi, radius,
                                     flag);
  KVF_REQUIRE(st == expect, "state: status %d, expected %d (%dx%d radius %g flag %d)", (int)st, (int)expect,
              roi.width, roi.height, radius, flag);
  KVF_REQUIRE(p[0]->unchanged() && p[1]->unchanged(), "the state's inputs were written");
  if (st != kvpStsOk) {
    KVF_REQUIRE(state == sentinel, "a failing state call stored a pointer");
    return;
  }

  // The fill: the state's size or another, images with their own steps, in
  // place or not.
  KvpiSize fillRoi = roi;
  if (s.byte() < 20) fillRoi = {roi.width + s.intIn(-1, 1), roi.height + s.intIn(-1, 1)};
  PlaneDesc f[2];
  readDesc(s, f[0], 1, CN, fillRoi.width, false);
  readDesc(s, f[1], 1, CN, fillRoi.width, false);
  const bool inPlace = s.flag();
  if (inPlace) f[1] = f[0];
  const bool stNull = s.byte() < 6;
  KvpStatus fexp = kvpStsOk;
  if (f[0].null || f[1].null || stNull)
    fexp = kvpStsNullPtr;
  else if (fillRoi.width < 1 || fillRoi.height < 1 || fillRoi.width != roi.width ||
           fillRoi.height != roi.height)
    fexp = kvpStsBadSize;
  else if (f[0].step < f[0].rowBytes(w) || f[1].step < f[1].rowBytes(w))
    fexp = kvpStsBadStep;
  const int fh = fillRoi.height > 0 ? fillRoi.height : 1;
  const bool flaid = kvf::planesFit(f, inPlace ? 1 : 2, fillRoi.width, fh, kMaxPlaneBytes);
  if (fexp == kvpStsOk && !flaid) {
    if constexpr (CN == 1)
      kvpiInpaintFree_8u_C1R(state);
    else
      kvpiInpaintFree_8u_C3R(state);
    return;
  }
  std::optional<kvf::GuardedPlane> q[2];
  kvf::buildPlanes(f, inPlace ? 1 : 2, fillRoi.width, fh, kMaxPlaneBytes, q, s.byte());
  if (flaid) {
    for (int y = 0; y < fh; ++y)
      for (size_t x = 0; x < q[0]->rowBytes(); ++x) q[0]->row(y)[x] = s.byte();
  }
  q[0]->arm();
  kvf::GuardedPlane& out = inPlace ? *q[0] : *q[1];
  out.arm();
  const Kvp8u* src = f[0].null ? nullptr : q[0]->roi();
  Kvp8u* dst = f[1].null ? nullptr : out.roi();
  KvpStatus fst;
  if constexpr (CN == 1)
    fst = kvpiInpaint_8u_C1R(src, f[0].step, dst, f[1].step, fillRoi, stNull ? nullptr : state);
  else
    fst = kvpiInpaint_8u_C3R(src, f[0].step, dst, f[1].step, fillRoi, stNull ? nullptr : state);
  if constexpr (CN == 1)
    KVF_REQUIRE(kvpiInpaintFree_8u_C1R(state) == kvpStsOk, "free failed");
  else
    KVF_REQUIRE(kvpiInpaintFree_8u_C3R(state) == kvpStsOk, "free failed");
  KVF_REQUIRE(fst == fexp, "fill: status %d, expected %d", (int)fst, (int)fexp);
  if (fst != kvpStsOk) {
    KVF_REQUIRE(out.unchanged() && q[0]->unchanged(), "a failing fill wrote");
    return;
  }
  KVF_REQUIRE(out.guardsIntact(), "a write outside the destination");
  if (!inPlace) KVF_REQUIRE(q[0]->unchanged(), "the source was written");
  const auto ref =
      inpref::inpaint(packedOf<uint8_t>(*q[0], w, h, CN, true), CN, packedOf<uint8_t>(*p[1], w, h, 1),
                      packedOf<float>(*p[0], w, h, 1), w, h, radius);
  KVF_REQUIRE(packedOf<uint8_t>(out, w, h, CN) == ref, "fill differs from the reference (%dx%d radius %g)", w,
              h, radius);
}

void runQuery(Stream& s) {
  const KvpiSize roi{(s.flag() ? s.raw<int32_t>() : s.intIn(-2, 20000)),
                     (s.flag() ? s.raw<int32_t>() : s.intIn(-2, 20000))};
  const bool null = s.byte() < 20;
  int out = -5;
  const KvpStatus st = kvpiFastMarchingGetBufferSize_8u32f_C1R(roi, null ? nullptr : &out);
  const bool sized = roi.width >= 1 && roi.height >= 1;
  const long long n = sized ? 17 * std::min((long long)roi.width * roi.height, 1LL << 40) + 1024 : 0;
  const KvpStatus expect = null                                ? kvpStsNullPtr
                           : (roi.width < 1 || roi.height < 1) ? kvpStsBadSize
                           : n > 0x7fffffffLL                  ? kvpStsBadSize
                                                               : kvpStsOk;
  KVF_REQUIRE(st == expect, "query: status %d, expected %d", (int)st, (int)expect);
  KVF_REQUIRE(st == kvpStsOk ? out == n : out == -5, "query stored %d", out);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader in(data, size);
  Stream s(in);
  const int which = s.byte() % 4;
  kvf::setThreads(s);
  switch (which) {
    case 0:
      runMarch(s);
      break;
    case 1:
      runInpaint<1>(s);
      break;
    case 2:
      runInpaint<3>(s);
      break;
    default:
      runQuery(s);
      break;
  }
  return 0;
}

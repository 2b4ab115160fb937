// Fuzzes the geometry family: the undistortion buffer query, radial
// undistortion, the undistortion maps, sub-pixel copies and windows, and
// both bodies of line sampling, with arbitrary sizes, steps, ROI offsets,
// null pointers, lens coefficients, fractions, points and scale factors.
//
// Every call must return the status its arguments call for, write nothing
// when it fails, read nothing outside its planes (guards are poisoned),
// write nothing outside its outputs, and match the plain reference of
// geometry_ref.h bit for bit (float NaNs match any NaN: their payload
// depends on which operand the compiler puts first).
#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>
#include <vector>

#include "fuzz_planes.h"
KVF_REF_BEGIN
#include "../geometry/geometry_ref.h"
KVF_REF_END

extern "C" {
extern void* const kvpiSampleLine_8u_C1R_arraddr[2];
extern void* const kvpiSampleLine_8u_C3R_arraddr[2];
extern void* const kvpiSampleLine_16u_C1R_arraddr[2];
extern void* const kvpiSampleLine_16u_C3R_arraddr[2];
extern void* const kvpiSampleLine_32f_C1R_arraddr[2];
extern void* const kvpiSampleLine_32f_C3R_arraddr[2];
}

namespace {

constexpr long long kMaxPlaneBytes = 4 << 20;
constexpr int kThreadArea = 3 * 32768;  // above the threshold of every team used

using kvf::sameElem;

// The ROI of a plane against the same shape laid out densely.
template <class T>
KVF_NO_COVERAGE bool samePlane(const kvf::GuardedPlane& got, const std::vector<T>& want, int elemsPerRow,
                               int rows) {
  for (int y = 0; y < rows; ++y)
    for (int i = 0; i < elemsPerRow; ++i) {
      T g;
      std::memcpy(&g, got.row(y) + (size_t)i * sizeof(T), sizeof(T));
      if (!sameElem(g, want[(size_t)y * elemsPerRow + i])) {
        std::fprintf(stderr, "first difference at element %d of row %d\n", i, y);
        return false;
      }
    }
  return true;
}

template <class T>
KVF_NO_COVERAGE void fillPlane(kvf::GuardedPlane& p, int elemsPerRow, int rows, kvf::Stream& s) {
  for (int y = 0; y < rows; ++y)
    for (int i = 0; i < elemsPerRow; ++i) {
      const T v = kvf::pickElem<T>(s);
      std::memcpy(p.row(y) + (size_t)i * sizeof(T), &v, sizeof(T));
    }
}

// A plane description: step near the row's bytes (or anything), an offset
// of whole elements, null now and then.
kvf::PlaneDesc readPlane(kvf::Stream& s, long long width, int elem, int chans, bool big, uint8_t nulls,
                         int bit) {
  kvf::PlaneDesc p;
  p.used = true;
  p.elem = elem;
  p.chans = chans;
  p.step = kvf::readStep(s, width * chans * elem, elem, big);
  p.lead = (size_t)s.intIn(0, 9) * elem;
  p.null = (nulls >> bit & 7) == 0;
  return p;
}

// A coefficient: mostly modest, sometimes one of the values that break
// careless code.
float coefficient(kvf::Stream& s, float scale) {
  const uint8_t k = s.byte();
  if (k < 40) return kvf::pickF(s);
  return (float)s.intIn(-1000, 1000) / 1000.f * scale;
}

// ---- undistortion --------------------------------------------------------------------

KVF_NO_COVERAGE void bufferSize(kvf::Stream& s) {
  const kvf::Dims d = kvf::readDims(s, 1);
  const bool null = s.byte() < 16;
  int v = -5;
  const KvpStatus st = kvpiUndistortGetSize(d.roi, null ? nullptr : &v);
  const long long want = 16LL * d.roi.width + 64;
  const KvpStatus expect =
      null ? kvpStsNullPtr
           : (d.roi.width < 1 || d.roi.height < 1 || want > INT_MAX ? kvpStsBadSize : kvpStsOk);
  KVF_REQUIRE(st == expect, "buffer size: status %d, expected %d", (int)st, (int)expect);
  KVF_REQUIRE(st == kvpStsOk ? v == want : v == -5, "buffer size %d for width %d", v, d.roi.width);
}

template <class T, int C>
using UndistortFn = KvpStatus (*)(const T*, int, T*, int, KvpiSize, Kvp32f, Kvp32f, Kvp32f, Kvp32f, Kvp32f,
                                  Kvp32f, Kvp8u*);

template <class T, int C>
void undistort(kvf::Stream& s, UndistortFn<T, C> fn) {
  const kvf::Dims d = kvf::readDims(s, kThreadArea);
  const long long w = d.roi.width, h = d.roi.height;
  const uint8_t nulls = s.byte();
  kvf::PlaneDesc p[2] = {readPlane(s, w, sizeof(T), C, d.big, nulls, 0),
                         readPlane(s, w, sizeof(T), C, d.big, nulls, 3)};
  const bool bufNull = (nulls >> 6) == 0;
  const float W = (float)w, H = (float)h;
  georef::Lens L{};
  L.fx = s.byte() < 8 ? 0.f : coefficient(s, 2 * W) + 0.5f * W;
  L.fy = s.byte() < 8 ? -0.f : coefficient(s, 2 * H) + 0.5f * W;
  L.cx = coefficient(s, W) + 0.5f * W;
  L.cy = coefficient(s, H) + 0.5f * H;
  L.k1 = coefficient(s, 1.f);
  L.k2 = coefficient(s, 0.5f);
  KvpStatus expect = kvf::commonStatus(p, 2, w, h, bufNull);
  if (expect == kvpStsOk && (L.fx == 0.f || L.fy == 0.f)) expect = kvpStsBadArg;
  const bool fits = kvf::planesFit(p, 2, w, (int)h, kMaxPlaneBytes);
  if (expect == kvpStsOk && !fits) return;
  std::optional<kvf::GuardedPlane> pl[2];
  kvf::buildPlanes(p, 2, w, fits ? (int)h : 1, kMaxPlaneBytes, pl, s.byte());
  if (fits) fillPlane<T>(*pl[0], (int)w * C, (int)h, s);
  std::vector<Kvp8u> buffer(fits ? (size_t)(16 * w + 64 + 64) : 64);
  const size_t bufOff = s.byte() % 64;
  pl[0]->arm();
  pl[1]->arm();
  const KvpStatus st =
      fn(p[0].null ? nullptr : pl[0]->as<T>(), p[0].step, p[1].null ? nullptr : pl[1]->as<T>(), p[1].step,
         d.roi, L.fx, L.fy, L.cx, L.cy, L.k1, L.k2, bufNull ? nullptr : buffer.data() + bufOff);
  KVF_REQUIRE(st == expect, "undistort: status %d, expected %d (%lldx%lld, steps %d %d)", (int)st,
              (int)expect, w, h, p[0].step, p[1].step);
  KVF_REQUIRE(pl[0]->unchanged(), "undistort wrote its source");
  if (st != kvpStsOk) {
    KVF_REQUIRE(pl[1]->unchanged(), "a failing undistort wrote its destination");
    return;
  }
  KVF_REQUIRE(pl[1]->guardsIntact(), "undistort wrote outside its destination");
  std::vector<T> want((size_t)(w * h * C));
  georef::undistortRadial<T, C>(pl[0]->as<T>(), p[0].step, want.data(), (int)w * C * (int)sizeof(T), (int)w,
                                (int)h, L);
  KVF_REQUIRE(samePlane<T>(*pl[1], want, (int)w * C, (int)h), "undistort %lldx%lld C%d", w, h, C);
}

void undistortMap(kvf::Stream& s) {
  const kvf::Dims d = kvf::readDims(s, kThreadArea);
  const long long w = d.roi.width, h = d.roi.height;
  const uint8_t nulls = s.byte();
  kvf::PlaneDesc p[2] = {readPlane(s, w, 4, 1, d.big, nulls, 0), readPlane(s, w, 4, 1, d.big, nulls, 3)};
  const bool bufNull = (nulls >> 6) == 0;
  const float W = (float)w, H = (float)h;
  georef::Lens L{};
  L.fx = s.byte() < 8 ? 0.f : coefficient(s, 2 * W) + 0.5f * W;
  L.fy = s.byte() < 8 ? 0.f : coefficient(s, 2 * H) + 0.5f * W;
  L.cx = coefficient(s, W) + 0.5f * W;
  L.cy = coefficient(s, H) + 0.5f * H;
  L.k1 = coefficient(s, 1.f);
  L.k2 = coefficient(s, 0.5f);
  L.p1 = coefficient(s, 0.01f);
  L.p2 = coefficient(s, 0.01f);
  KvpStatus expect = kvf::commonStatus(p, 2, w, h, bufNull);
  if (expect == kvpStsOk && (L.fx == 0.f || L.fy == 0.f)) expect = kvpStsBadArg;
  const bool fits = kvf::planesFit(p, 2, w, (int)h, kMaxPlaneBytes);
  if (expect == kvpStsOk && !fits) return;
  std::optional<kvf::GuardedPlane> pl[2];
  kvf::buildPlanes(p, 2, w, fits ? (int)h : 1, kMaxPlaneBytes, pl, s.byte());
  std::vector<Kvp8u> buffer(fits ? (size_t)(16 * w + 128) : 64);
  const size_t bufOff = s.byte() % 64;
  pl[0]->arm();
  pl[1]->arm();
  const KvpStatus st = kvpiCreateMapCameraUndistort_32f_C1R(
      p[0].null ? nullptr : pl[0]->as<float>(), p[0].step, p[1].null ? nullptr : pl[1]->as<float>(),
      p[1].step, d.roi, L.fx, L.fy, L.cx, L.cy, L.k1, L.k2, L.p1, L.p2,
      bufNull ? nullptr : buffer.data() + bufOff);
  KVF_REQUIRE(st == expect, "map: status %d, expected %d", (int)st, (int)expect);
  if (st != kvpStsOk) {
    KVF_REQUIRE(pl[0]->unchanged() && pl[1]->unchanged(), "a failing map call wrote a map");
    return;
  }
  KVF_REQUIRE(pl[0]->guardsIntact() && pl[1]->guardsIntact(), "map written outside its pixels");
  std::vector<float> wx((size_t)(w * h)), wy((size_t)(w * h));
  georef::createMap(wx.data(), (int)w * 4, wy.data(), (int)w * 4, (int)w, (int)h, L);
  KVF_REQUIRE(samePlane<float>(*pl[0], wx, (int)w, (int)h) && samePlane<float>(*pl[1], wy, (int)w, (int)h),
              "map %lldx%lld", w, h);
}

// ---- sub-pixel copies -------------------------------------------------------------------

template <class S, class D>
struct Subpix {
  KvpStatus (*plain)(const S*, int, D*, int, KvpiSize, Kvp32f, Kvp32f);
  KvpStatus (*sfs)(const S*, int, D*, int, KvpiSize, Kvp32f, Kvp32f, int);
  KvpStatus (*win)(const S*, int, KvpiSize, D*, int, KvpiSize, KvpiPoint_32f, KvpiPoint*, KvpiPoint*);
  KvpStatus (*winSfs)(const S*, int, KvpiSize, D*, int, KvpiSize, KvpiPoint_32f, KvpiPoint*, KvpiPoint*, int);
};

float fraction(kvf::Stream& s) {
  const uint8_t k = s.byte();
  if (k < 30) return kvf::pickF(s);
  if (k < 60) return (float)s.intIn(0, 4) / 4.f;
  return (float)s.raw<uint16_t>() / 65536.f;
}

int scale(kvf::Stream& s) {
  const uint8_t k = s.byte();
  if (k < 20) return s.raw<int32_t>();
  return s.intIn(-130, 130);
}

template <class S, class D>
void copySubpix(kvf::Stream& s, const Subpix<S, D>& f) {
  const kvf::Dims d = kvf::readDims(s, kThreadArea);
  const long long w = d.roi.width, h = d.roi.height;
  const uint8_t nulls = s.byte();
  kvf::PlaneDesc p[2] = {readPlane(s, w, sizeof(S), 1, d.big, nulls, 0),
                         readPlane(s, w, sizeof(D), 1, d.big, nulls, 3)};
  const float dx = fraction(s), dy = fraction(s);
  const int sf = scale(s);
  KvpStatus expect = kvf::commonStatus(p, 2, w, h);
  if (expect == kvpStsOk && !(georef::inSubpixRange(dx) && georef::inSubpixRange(dy))) expect = kvpStsBadArg;
  // The source has one more column and row than the ROI.
  if (expect == kvpStsOk && p[0].step < (w + 1) * (long long)sizeof(S))
    p[0].step = (int)((w + 1) * sizeof(S));
  const bool fits =
      kvf::planeFits((w + 1) * (long long)sizeof(S), h + 1, p[0].step, (long long)p[0].lead,
                     kMaxPlaneBytes) &&
      kvf::planeFits(w * (long long)sizeof(D), h, p[1].step, (long long)p[1].lead, kMaxPlaneBytes);
  if (expect == kvpStsOk && !fits) return;
  const uint8_t seed = s.byte();
  kvf::GuardedPlane src =
      fits ? kvf::GuardedPlane((size_t)(w + 1) * sizeof(S), (int)h + 1, (size_t)p[0].step, p[0].lead, seed)
           : kvf::GuardedPlane::trap(seed);
  kvf::GuardedPlane dst = fits ? kvf::GuardedPlane((size_t)w * sizeof(D), (int)h, (size_t)p[1].step,
                                                   p[1].lead, (uint8_t)(seed + 1))
                               : kvf::GuardedPlane::trap((uint8_t)(seed + 1));
  if (fits) fillPlane<S>(src, (int)w + 1, (int)h + 1, s);
  src.arm();
  dst.arm();
  const S* ps = p[0].null ? nullptr : src.as<S>();
  D* pd = p[1].null ? nullptr : dst.as<D>();
  const KvpStatus st = f.sfs ? f.sfs(ps, p[0].step, pd, p[1].step, d.roi, dx, dy, sf)
                             : f.plain(ps, p[0].step, pd, p[1].step, d.roi, dx, dy);
  KVF_REQUIRE(st == expect, "subpix: status %d, expected %d", (int)st, (int)expect);
  KVF_REQUIRE(src.unchanged(), "subpix wrote its source");
  if (st != kvpStsOk) {
    KVF_REQUIRE(dst.unchanged(), "a failing subpix call wrote its destination");
    return;
  }
  KVF_REQUIRE(dst.guardsIntact(), "subpix wrote outside its destination");
  std::vector<D> want((size_t)(w * h));
  georef::copySubpix<S, D>(src.as<S>(), p[0].step, want.data(), (int)w * (int)sizeof(D), (int)w, (int)h, dx,
                           dy, f.sfs != nullptr, sf);
  KVF_REQUIRE(samePlane<D>(dst, want, (int)w, (int)h), "subpix %lldx%lld dx %g dy %g sf %d", w, h, dx, dy,
              sf);
}

template <class S, class D>
void window(kvf::Stream& s, const Subpix<S, D>& f) {
  const kvf::Dims ds = kvf::readDims(s, 64), dd = kvf::readDims(s, kThreadArea);
  const long long W = ds.roi.width, H = ds.roi.height, w = dd.roi.width, h = dd.roi.height;
  const uint8_t nulls = s.byte();
  kvf::PlaneDesc ps = readPlane(s, W, sizeof(S), 1, ds.big, nulls, 0);
  kvf::PlaneDesc pd = readPlane(s, w, sizeof(D), 1, dd.big, nulls, 3);
  const bool minNull = (nulls >> 6) == 0, maxNull = (nulls >> 6) == 1 && (nulls & 0x20);
  KvpiPoint_32f pt;
  for (float* c : {&pt.x, &pt.y}) {
    const uint8_t k = s.byte();
    const long long extent = std::clamp<long long>(c == &pt.x ? W : H, 0, 4096);
    *c = k < 40 ? kvf::pickF(s) : (float)s.intIn(-2000, 2000 + (int)extent * 16) / 16.f - 30.f;
  }
  const int sf = scale(s);
  KvpStatus expect = kvpStsOk;
  if (ps.null || pd.null || minNull || maxNull)
    expect = kvpStsNullPtr;
  else if (W < 1 || H < 1 || w < 1 || h < 1)
    expect = kvpStsBadSize;
  else if (ps.step < ps.rowBytes(W) || pd.step < pd.rowBytes(w))
    expect = kvpStsBadStep;
  else if ((ps.elem > 1 && ps.step % ps.elem) || (pd.elem > 1 && pd.step % pd.elem))
    expect = kvpStsStepNotMultiple;
  else if (!std::isfinite(pt.x) || !std::isfinite(pt.y))
    expect = kvpStsBadArg;
  const bool fits = kvf::planeFits(ps.rowBytes(W), H, ps.step, (long long)ps.lead, kMaxPlaneBytes) &&
                    kvf::planeFits(pd.rowBytes(w), h, pd.step, (long long)pd.lead, kMaxPlaneBytes);
  if (expect == kvpStsOk && !fits) return;
  const uint8_t seed = s.byte();
  kvf::GuardedPlane src =
      fits ? kvf::GuardedPlane((size_t)ps.rowBytes(W), (int)H, (size_t)ps.step, ps.lead, seed)
           : kvf::GuardedPlane::trap(seed);
  kvf::GuardedPlane dst =
      fits ? kvf::GuardedPlane((size_t)pd.rowBytes(w), (int)h, (size_t)pd.step, pd.lead, (uint8_t)(seed + 1))
           : kvf::GuardedPlane::trap((uint8_t)(seed + 1));
  if (fits) fillPlane<S>(src, (int)W, (int)H, s);
  src.arm();
  dst.arm();
  KvpiPoint lo{-77, -77}, hi{-77, -77};
  const S* sp = ps.null ? nullptr : src.as<S>();
  D* dp = pd.null ? nullptr : dst.as<D>();
  KvpiPoint* plo = minNull ? nullptr : &lo;
  KvpiPoint* phi = maxNull ? nullptr : &hi;
  const KvpStatus st = f.winSfs ? f.winSfs(sp, ps.step, ds.roi, dp, pd.step, dd.roi, pt, plo, phi, sf)
                                : f.win(sp, ps.step, ds.roi, dp, pd.step, dd.roi, pt, plo, phi);
  KVF_REQUIRE(st == expect, "window: status %d, expected %d", (int)st, (int)expect);
  KVF_REQUIRE(src.unchanged(), "window wrote its source");
  if (st != kvpStsOk) {
    KVF_REQUIRE(dst.unchanged() && lo.x == -77 && lo.y == -77 && hi.x == -77 && hi.y == -77,
                "a failing window call wrote an output");
    return;
  }
  KVF_REQUIRE(dst.guardsIntact(), "window wrote outside its destination");
  std::vector<D> want((size_t)(w * h));
  KvpiPoint wlo, whi;
  georef::copySubpixIntersect<S, D>(src.as<S>(), ps.step, ds.roi, want.data(), (int)w * (int)sizeof(D),
                                    dd.roi, pt, &wlo, &whi, f.winSfs != nullptr, sf);
  KVF_REQUIRE(samePlane<D>(dst, want, (int)w, (int)h), "window %lldx%lld in %lldx%lld at %g, %g", w, h, W, H,
              pt.x, pt.y);
  KVF_REQUIRE(lo.x == wlo.x && lo.y == wlo.y && hi.x == whi.x && hi.y == whi.y,
              "range (%d, %d)-(%d, %d), expected (%d, %d)-(%d, %d)", lo.x, lo.y, hi.x, hi.y, wlo.x, wlo.y,
              whi.x, whi.y);
}

// ---- line sampling ------------------------------------------------------------------------

template <class T, int C>
void line(kvf::Stream& s, void* const* table) {
  const auto fn =
      reinterpret_cast<KvpStatus (*)(const T*, int, KvpiSize, T*, KvpiPoint, KvpiPoint)>(table[s.flag()]);
  const kvf::Dims d = kvf::readDims(s, 4096);
  const long long w = d.roi.width, h = d.roi.height;
  const uint8_t nulls = s.byte();
  kvf::PlaneDesc p = readPlane(s, w, sizeof(T), C, d.big, nulls, 0);
  const bool dstNull = (nulls >> 3 & 7) == 0;
  KvpiPoint pts[2];
  for (KvpiPoint& q : pts) {
    const uint8_t k = s.byte();
    if (k < 24) {
      q = {s.raw<int32_t>(), s.raw<int32_t>()};
    } else {
      q.x = s.intIn(-2, (int)std::clamp<long long>(w + 1, -2, 1 << 20));
      q.y = s.intIn(-2, (int)std::clamp<long long>(h + 1, -2, 1 << 20));
    }
  }
  const KvpStatus expect = georef::lineStatus(kvf::commonStatus(&p, 1, w, h, dstNull), d.roi, pts[0], pts[1]);
  const bool fits = kvf::planesFit(&p, 1, w, (int)h, kMaxPlaneBytes);
  if (expect == kvpStsOk && !fits) return;
  std::optional<kvf::GuardedPlane> pl[1];
  kvf::buildPlanes(&p, 1, w, fits ? (int)h : 1, kMaxPlaneBytes, pl, s.byte());
  if (fits) fillPlane<T>(*pl[0], (int)w * C, (int)h, s);
  const long long n = expect == kvpStsOk ? georef::lineCount(pts[0], pts[1]) : 0;
  kvf::GuardedPlane out =
      n ? kvf::GuardedPlane((size_t)n * C * sizeof(T), 1, (size_t)n * C * sizeof(T), 16, 3)
        : kvf::GuardedPlane::trap(3);
  pl[0]->arm();
  out.arm();
  const KvpStatus st =
      fn(p.null ? nullptr : pl[0]->as<T>(), p.step, d.roi, dstNull ? nullptr : out.as<T>(), pts[0], pts[1]);
  KVF_REQUIRE(st == expect, "line: status %d, expected %d", (int)st, (int)expect);
  KVF_REQUIRE(pl[0]->unchanged(), "line sampling wrote its source");
  if (st != kvpStsOk) {
    KVF_REQUIRE(out.unchanged(), "a failing line call wrote its output");
    return;
  }
  KVF_REQUIRE(out.guardsIntact(), "line sampling wrote past its points");
  std::vector<T> want((size_t)n * C);
  georef::sampleLine<T, C>(pl[0]->as<T>(), p.step, want.data(), pts[0], pts[1]);
  KVF_REQUIRE(samePlane<T>(out, want, (int)n * C, 1), "line (%d, %d)-(%d, %d)", pts[0].x, pts[0].y, pts[1].x,
              pts[1].y);
}

const Subpix<Kvp8u, Kvp8u> s8{kvpiCopySubpix_8u_C1R, nullptr, kvpiCopySubpixIntersect_8u_C1R, nullptr};
const Subpix<Kvp8u, Kvp16u> s816{nullptr, kvpiCopySubpix_8u16u_C1R_Sfs, nullptr,
                                 kvpiCopySubpixIntersect_8u16u_C1R_Sfs};
const Subpix<Kvp8u, Kvp32f> s832{kvpiCopySubpix_8u32f_C1R, nullptr, kvpiCopySubpixIntersect_8u32f_C1R,
                                 nullptr};
const Subpix<Kvp16u, Kvp16u> s16{kvpiCopySubpix_16u_C1R, nullptr, kvpiCopySubpixIntersect_16u_C1R, nullptr};
const Subpix<Kvp16u, Kvp32f> s1632{kvpiCopySubpix_16u32f_C1R, nullptr, kvpiCopySubpixIntersect_16u32f_C1R,
                                   nullptr};
const Subpix<Kvp32f, Kvp32f> s32{kvpiCopySubpix_32f_C1R, nullptr, kvpiCopySubpixIntersect_32f_C1R, nullptr};

#define FZ_RUN(...) [](kvf::Stream& s) { __VA_ARGS__; }
void (*const kRuns[])(kvf::Stream&) = {
    bufferSize,
    FZ_RUN(undistort<Kvp8u, 1>(s, kvpiUndistortRadial_8u_C1R)),
    FZ_RUN(undistort<Kvp8u, 3>(s, kvpiUndistortRadial_8u_C3R)),
    FZ_RUN(undistort<Kvp16u, 1>(s, kvpiUndistortRadial_16u_C1R)),
    FZ_RUN(undistort<Kvp32f, 1>(s, kvpiUndistortRadial_32f_C1R)),
    FZ_RUN(undistort<Kvp32f, 3>(s, kvpiUndistortRadial_32f_C3R)),
    undistortMap,
    FZ_RUN(copySubpix(s, s8)),
    FZ_RUN(copySubpix(s, s816)),
    FZ_RUN(copySubpix(s, s832)),
    FZ_RUN(copySubpix(s, s16)),
    FZ_RUN(copySubpix(s, s1632)),
    FZ_RUN(copySubpix(s, s32)),
    FZ_RUN(window(s, s8)),
    FZ_RUN(window(s, s816)),
    FZ_RUN(window(s, s832)),
    FZ_RUN(window(s, s16)),
    FZ_RUN(window(s, s1632)),
    FZ_RUN(window(s, s32)),
    FZ_RUN(line<Kvp8u, 1>(s, kvpiSampleLine_8u_C1R_arraddr)),
    FZ_RUN(line<Kvp8u, 3>(s, kvpiSampleLine_8u_C3R_arraddr)),
    FZ_RUN(line<Kvp16u, 1>(s, kvpiSampleLine_16u_C1R_arraddr)),
    FZ_RUN(line<Kvp16u, 3>(s, kvpiSampleLine_16u_C3R_arraddr)),
    FZ_RUN(line<Kvp32f, 1>(s, kvpiSampleLine_32f_C1R_arraddr)),
    FZ_RUN(line<Kvp32f, 3>(s, kvpiSampleLine_32f_C3R_arraddr)),
};
static_assert(std::size(kRuns) == 25);

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader in(data, size);
  kvf::Stream s(in);
  kvf::setThreads(s);
  kRuns[s.byte() % std::size(kRuns)](s);
  return 0;
}

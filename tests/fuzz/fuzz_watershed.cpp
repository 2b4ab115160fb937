// Fuzzes the marker segmentations: watershed (8-bit and 16-bit markers),
// gradient segmentation, marker labelling, segment bounds and the size
// queries, with arbitrary sizes, steps, ROI offsets, norms, flags, label
// ranges and null pointers, at 1 to 3 threads. Every call must return the
// status its arguments call for, write nothing when it fails, touch nothing
// outside its planes and the reported buffer when it succeeds, and then
// agree bit for bit with the plain references the unit tests use.
#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

#include "fuzz_planes.h"
KVF_REF_BEGIN
#include "../segment/segmentation_ref.h"
KVF_REF_END

namespace {

constexpr long long kMaxPlaneBytes = 1 << 20;
constexpr int kBigArea = 3 * 32768 + 1;

using kvf::PlaneDesc;
using kvf::Stream;

// Valid norms mostly; the invalid ones stay inside the enumeration's range
// of values (0..3), which is all a C caller can pass without undefined
// behaviour.
KvpiNorm pickNorm(Stream& s) {
  const uint8_t k = s.byte();
  if (k < 100) return kvpiNormL1;
  if (k < 200) return kvpiNormInf;
  return (KvpiNorm)(k < 230 ? kvpiNormL2 : 3);
}
bool validNorm(KvpiNorm n) { return n == kvpiNormL1 || n == kvpiNormInf; }

int pickFlag(Stream& s) {
  static const int valid[] = {0x00, 0x01, 0x40, 0x41, 0x80, 0x81};
  const uint8_t k = s.byte();
  if (k < 220) return valid[k % 6];
  return (k & 1) ? s.raw<int32_t>() : (int)(1u << (k % 32));
}
bool validFlag(int f) { return !(f & ~0xC1) && (f & 0xC0) != 0xC0; }

// Byte count of a flooding or labelling buffer, formed in 64 bits.
// (Areas past 2^40 are capped: every size is then far past the int range.)
long long floodBytes(KvpiSize r, int n) {
  return 4 * std::min((long long)r.width * r.height, 1LL << 40) + 2048LL * n + 128;
}
long long labelBytes(KvpiSize r) {
  const long long a = std::min((long long)r.width * r.height, 1LL << 40);
  return 4 * a + 4 * (a / 2 + 2) + 128;
}

// A work buffer of exactly n bytes at an arbitrary offset, or a trap.
kvf::GuardedPlane workBuffer(Stream& s, long long n, bool real) {
  if (!real || n < 1 || n > (1 << 24)) return kvf::GuardedPlane::trap(s.byte());
  kvf::GuardedPlane b((size_t)n, 1, (size_t)n, (size_t)s.intIn(0, 63), s.byte());
  b.arm();
  return b;
}

// Stores v as the x-th element of a row (the row may be misaligned when the
// call is expected to refuse its step).
template <class T>
inline void put(uint8_t* row, int x, T v) {
  std::memcpy(row + (size_t)x * sizeof(T), &v, sizeof v);
}

template <class T>
KVF_NO_COVERAGE std::vector<T> packedOf(kvf::GuardedPlane& p, int w, int h, int cn) {
  std::vector<T> v((size_t)w * h * cn);
  for (int y = 0; y < h; ++y) std::memcpy(&v[(size_t)y * w * cn], p.row(y), (size_t)w * cn * sizeof(T));
  return v;
}

// Markers: sparse labels, or a dense mix, from the stream.
template <class T>
KVF_NO_COVERAGE void fillMarkers(Stream& s, kvf::GuardedPlane& m, int w, int h, int top) {
  const uint8_t density = s.byte();
  const int labels = 1 + s.intIn(0, top - 1);
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x)
      put<T>(m.row(y), x, s.byte() < density ? (T)(1 + s.intIn(0, labels - 1)) : T(0));
  }
}

KVF_NO_COVERAGE void fillBytes(Stream& s, kvf::GuardedPlane& p, int h) {
  const uint8_t levels = s.byte();  // few levels make plateaus
  for (int y = 0; y < h; ++y)
    for (size_t x = 0; x < p.rowBytes(); ++x)
      p.row(y)[x] = levels < 128 ? (uint8_t)(s.byte() & 0xC0) : s.byte();
}

struct Setup {
  KvpiSize roi;
  bool big;
  PlaneDesc d[2];
  std::optional<kvf::GuardedPlane> p[2];
};

// Planes 0 and 1 as the caller describes them; false when an expected
// success cannot be laid out.
bool readPlanes(Stream& s, Setup& c, int n, const int* elem, const int* chans, bool big) {
  const kvf::Dims dims = kvf::readDims(s, big ? kBigArea : 1);
  c.roi = dims.roi;
  c.big = dims.big;
  for (int i = 0; i < n; ++i) {
    PlaneDesc& d = c.d[i];
    d.used = true;
    d.elem = elem[i];
    d.chans = chans[i];
    d.step = kvf::readStep(s, d.rowBytes(c.roi.width > 0 ? c.roi.width : 1), d.elem, c.big);
    d.lead = (size_t)s.intIn(0, 7) * d.elem;
    d.null = s.byte() < 6;
  }
  kvf::buildPlanes(c.d, n, c.roi.width, c.roi.height > 0 ? c.roi.height : 1, kMaxPlaneBytes, c.p, s.byte());
  return true;
}

// ---- flooding -------------------------------------------------------------------------

template <class T, bool Gradient>
void runFlood(Stream& s, int threads) {
  const int cn = Gradient ? 3 : 1;
  const int elem[2] = {1, (int)sizeof(T)}, chans[2] = {cn, 1};
  Setup c;
  readPlanes(s, c, 2, elem, chans, true);
  const KvpiNorm norm = pickNorm(s);
  const int flag = pickFlag(s);
  const bool bufNull = s.byte() < 6;
  KvpStatus expect = kvf::commonStatus(c.d, 2, c.roi.width, c.roi.height, bufNull);
  if (expect == kvpStsOk && !validNorm(norm)) expect = kvpStsBadArg;
  if (expect == kvpStsOk && !validFlag(flag)) expect = kvpStsBadArg;
  const bool laid = kvf::planesFit(c.d, 2, c.roi.width, c.roi.height, kMaxPlaneBytes);
  if (expect == kvpStsOk && !laid) return;
  const int w = c.roi.width, h = c.roi.height;
  if (laid) {
    fillBytes(s, *c.p[0], h);
    fillMarkers<T>(s, *c.p[1], w, h, Gradient || sizeof(T) == 1 ? 254 : 65534);
  }
  c.p[0]->arm();
  c.p[1]->arm();
  kvf::GuardedPlane buf = workBuffer(s, laid ? floodBytes(c.roi, threads) : 0, expect == kvpStsOk);
  const Kvp8u* src = c.d[0].null ? nullptr : c.p[0]->roi();
  T* marker = c.d[1].null ? nullptr : c.p[1]->as<T>();
  Kvp8u* b = bufNull ? nullptr : buf.roi();
  KvpStatus st;
  if constexpr (Gradient)
    st = kvpiSegmentGradient_8u_C3IR(src, c.d[0].step, marker, c.d[1].step, c.roi, norm, flag, b);
  else if constexpr (sizeof(T) == 1)
    st = kvpiSegmentWatershed_8u_C1IR(src, c.d[0].step, marker, c.d[1].step, c.roi, norm, flag, b);
  else
    st = kvpiSegmentWatershed_8u16u_C1IR(src, c.d[0].step, marker, c.d[1].step, c.roi, norm, flag, b);
  if (!kvf::settled(st, expect, {&*c.p[0]}, {&*c.p[1], &buf})) return;
  std::vector<T> ref(((size_t)w * h));
  for (int y = 0; y < h; ++y) std::memcpy(&ref[(size_t)y * w], c.p[1]->armedRow(y), (size_t)w * sizeof(T));
  segref::flood(packedOf<uint8_t>(*c.p[0], w, h, cn), cn, ref, w, h, norm == kvpiNormInf, flag);
  KVF_REQUIRE(packedOf<T>(*c.p[1], w, h, 1) == ref, "flooding differs from the reference (%dx%d)", w, h);
}

// ---- labelling ------------------------------------------------------------------------

template <class T>
void runLabel(Stream& s) {
  const int elem[1] = {(int)sizeof(T)}, chans[1] = {1};
  Setup c;
  readPlanes(s, c, 1, elem, chans, false);
  const int top = sizeof(T) == 1 ? 255 : 65535;
  const uint8_t how = s.byte();
  int minLabel = how < 200 ? s.intIn(1, 5) : s.intIn(-2, top + 2);
  int maxLabel = how < 100 ? top : (how < 230 ? minLabel + s.intIn(-1, 30) : s.raw<int32_t>());
  const bool numNull = s.byte() < 6, bufNull = s.byte() < 6;
  KvpStatus expect = kvf::commonStatus(c.d, 1, c.roi.width, c.roi.height, numNull || bufNull);
  const KvpiNorm norm = pickNorm(s);
  if (expect == kvpStsOk && !validNorm(norm)) expect = kvpStsBadArg;
  if (expect == kvpStsOk && !(1 <= minLabel && minLabel <= maxLabel && maxLabel <= top))
    expect = kvpStsBadArg;
  const bool laid = kvf::planesFit(c.d, 1, c.roi.width, c.roi.height, kMaxPlaneBytes);
  if (expect == kvpStsOk && !laid) return;
  const int w = c.roi.width, h = c.roi.height;
  if (laid) {
    const uint8_t density = s.byte();
    for (int y = 0; y < h; ++y) {
      for (int x = 0; x < w; ++x)
        put<T>(c.p[0]->row(y), x, s.byte() < density ? (T)(1 + s.intIn(0, top - 1)) : T(0));
    }
  }
  c.p[0]->arm();
  kvf::GuardedPlane buf = workBuffer(s, laid ? labelBytes(c.roi) : 0, expect == kvpStsOk);
  int number = -77;
  T* m = c.d[0].null ? nullptr : c.p[0]->as<T>();
  KvpStatus st;
  if constexpr (sizeof(T) == 1)
    st = kvpiLabelMarkers_8u_C1IR(m, c.d[0].step, c.roi, minLabel, maxLabel, norm,
                                  numNull ? nullptr : &number, bufNull ? nullptr : buf.roi());
  else
    st = kvpiLabelMarkers_16u_C1IR(m, c.d[0].step, c.roi, minLabel, maxLabel, norm,
                                   numNull ? nullptr : &number, bufNull ? nullptr : buf.roi());
  KVF_REQUIRE(st == expect, "labelling: status %d, expected %d", (int)st, (int)expect);
  KVF_REQUIRE(buf.guardsIntact(), "a write past the reported buffer");
  if (st != kvpStsOk) {
    KVF_REQUIRE(c.p[0]->unchanged() && number == -77, "a failing call wrote");
    return;
  }
  KVF_REQUIRE(c.p[0]->guardsIntact(), "a write outside the markers");
  std::vector<T> ref((size_t)w * h);
  for (int y = 0; y < h; ++y) std::memcpy(&ref[(size_t)y * w], c.p[0]->armedRow(y), (size_t)w * sizeof(T));
  const int n = segref::label(ref, w, h, norm == kvpiNormInf, minLabel, maxLabel);
  KVF_REQUIRE(packedOf<T>(*c.p[0], w, h, 1) == ref && n == number, "labels differ (%d vs %d)", number, n);
}

// ---- bounds ---------------------------------------------------------------------------

template <class T>
void runBounds(Stream& s) {
  const int elem[1] = {(int)sizeof(T)}, chans[1] = {1};
  Setup c;
  readPlanes(s, c, 1, elem, chans, true);
  const KvpiNorm norm = pickNorm(s);
  const T val = s.raw<T>();
  KvpStatus expect = kvf::commonStatus(c.d, 1, c.roi.width, c.roi.height);
  if (expect == kvpStsOk && !validNorm(norm)) expect = kvpStsBadArg;
  const bool laid = kvf::planesFit(c.d, 1, c.roi.width, c.roi.height, kMaxPlaneBytes);
  if (expect == kvpStsOk && !laid) return;
  const int w = c.roi.width, h = c.roi.height;
  if (laid) {
    const int cell = 1 + s.byte() % 8;
    std::vector<T> labs(64);
    for (T& l : labs) l = (T)(s.byte() % 3);
    for (int y = 0; y < h; ++y) {
      for (int x = 0; x < w; ++x) put<T>(c.p[0]->row(y), x, labs[(y / cell * 8 + x / cell) % 64]);
    }
  }
  c.p[0]->arm();
  T* m = c.d[0].null ? nullptr : c.p[0]->as<T>();
  KvpStatus st;
  if constexpr (sizeof(T) == 1)
    st = kvpiBoundSegments_8u_C1IR(m, c.d[0].step, c.roi, val, norm);
  else
    st = kvpiBoundSegments_16u_C1IR(m, c.d[0].step, c.roi, val, norm);
  if (!kvf::settled(st, expect, {}, {&*c.p[0]})) return;
  std::vector<T> ref((size_t)w * h);
  for (int y = 0; y < h; ++y) std::memcpy(&ref[(size_t)y * w], c.p[0]->armedRow(y), (size_t)w * sizeof(T));
  segref::bounds(ref, w, h, norm == kvpiNormInf, val);
  KVF_REQUIRE(packedOf<T>(*c.p[0], w, h, 1) == ref, "bounds differ from the reference (%dx%d)", w, h);
}

// ---- size queries ---------------------------------------------------------------------

void runQuery(Stream& s, int threads) {
  using Query = KvpStatus (*)(KvpiSize, int*);
  static const Query queries[] = {
      kvpiSegmentWatershedGetBufferSize_8u_C1R, kvpiSegmentWatershedGetBufferSize_8u16u_C1R,
      kvpiSegmentGradientGetBufferSize_8u_C3R, kvpiLabelMarkersGetBufferSize_8u_C1R,
      kvpiLabelMarkersGetBufferSize_16u_C1R};
  const int k = s.byte() % 5;
  const KvpiSize roi{(s.flag() ? s.raw<int32_t>() : s.intIn(-2, 50000)),
                     (s.flag() ? s.raw<int32_t>() : s.intIn(-2, 50000))};
  const bool null = s.byte() < 20;
  int out = -5;
  const KvpStatus st = queries[k](roi, null ? nullptr : &out);
  KvpStatus expect = kvpStsOk;
  long long n = 0;
  if (null)
    expect = kvpStsNullPtr;
  else if (roi.width < 1 || roi.height < 1)
    expect = kvpStsBadSize;
  else if ((n = k < 3 ? floodBytes(roi, threads) : labelBytes(roi)) > 0x7fffffffLL)
    expect = kvpStsBadSize;
  KVF_REQUIRE(st == expect, "query %d: status %d, expected %d", k, (int)st, (int)expect);
  KVF_REQUIRE(st == kvpStsOk ? out == n : out == -5, "query %d stored %d, expected %lld", k, out, n);
}

void (*const kRuns[])(Stream&, int) = {
    runFlood<Kvp8u, false>,
    runFlood<Kvp16u, false>,
    runFlood<Kvp8u, true>,
    [](Stream& s, int) { runLabel<Kvp8u>(s); },
    [](Stream& s, int) { runLabel<Kvp16u>(s); },
    [](Stream& s, int) { runBounds<Kvp8u>(s); },
    [](Stream& s, int) { runBounds<Kvp16u>(s); },
    runQuery,
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader in(data, size);
  Stream s(in);
  const int which = s.byte() % 8;
  kRuns[which](s, kvf::setThreads(s));
  return 0;
}

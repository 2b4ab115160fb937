// Helpers for targets whose calls take several planes of one ROI: a byte
// stream that outlasts the input, element and mask values that break
// careless code, ROI sizes and steps (mostly ones that can be laid out,
// sometimes any 32-bit value), the status that the common checks call for,
// and the construction of the planes themselves.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <optional>
#include <type_traits>

#include "fuzz_support.h"

KVF_REF_BEGIN
namespace kvf {

// The input's bytes while they last, then bytes from a small generator
// seeded by the input's first four, so that large planes get varied pixels
// and not a run of zeros.
class Stream {
 public:
  explicit Stream(Reader& in) : in_(in) { state_ = 0x9E3779B97F4A7C15ull * (in.raw<uint32_t>() + 1ull); }

  KVF_NO_COVERAGE uint8_t byte() {
    if (in_.left()) return in_.byte();
    state_ ^= state_ << 13;
    state_ ^= state_ >> 7;
    state_ ^= state_ << 17;
    return (uint8_t)(state_ >> 32);
  }
  template <class T>
  KVF_NO_COVERAGE T raw() {
    unsigned char b[sizeof(T)];
    for (unsigned char& c : b) c = byte();
    T v;
    std::memcpy(&v, b, sizeof v);
    return v;
  }
  // A value in [lo, hi].
  KVF_NO_COVERAGE int intIn(int lo, int hi) {
    const unsigned long long span = (unsigned long long)((long long)hi - lo + 1);
    const unsigned long long r = span > 65536 ? raw<uint32_t>() : raw<uint16_t>();
    return (int)((long long)lo + (long long)(r % span));
  }
  bool flag() { return byte() & 1; }

 private:
  Reader& in_;
  uint64_t state_;
};

inline float floatBits(uint32_t u) {
  float f;
  std::memcpy(&f, &u, 4);
  return f;
}

// A single-precision value: mostly small multiples of 1/8 (whose sums and
// squares stay exact), often one of the values that break careless code,
// sometimes any bits.
KVF_NO_COVERAGE inline float pickF(Stream& s) {
  static const uint32_t special[] = {
      0x00000000u, 0x80000000u, 0x3f800000u, 0xbf800000u, 0x00000001u, 0x80800000u, 0x7f7fffffu, 0xff7fffffu,
      0x7f800000u, 0xff800000u, 0x7fc00000u, 0xffc00001u, 0x7f800001u, 0x4b800000u, 0x4b800001u, 0x33800000u,
  };
  const uint8_t k = s.byte();
  if (k < 24) return floatBits(special[k % (sizeof special / sizeof special[0])]);
  if (k < 232) return (float)s.intIn(-1000, 1000) / 8.f;
  return floatBits(s.raw<uint32_t>());
}

// One element of a source plane.
template <class T>
KVF_NO_COVERAGE T pickElem(Stream& s) {
  if constexpr (std::is_floating_point_v<T>) {
    return pickF(s);
  } else {
    const uint8_t k = s.byte();
    if (k < 32) {
      // The type's extremes and their neighbours.
      switch (k & 3) {
        case 0:
          return std::numeric_limits<T>::min();
        case 1:
          return std::numeric_limits<T>::max();
        case 2:
          return (T)(std::numeric_limits<T>::min() + 1);
        default:
          return (T)(std::numeric_limits<T>::max() - 1);
      }
    }
    return s.raw<T>();
  }
}

// A mask byte: half of them zero, the others any non-zero value (single
// bits included).
KVF_NO_COVERAGE inline uint8_t pickMask(Stream& s) {
  const uint8_t b = s.byte();
  if (b < 128) return 0;
  return (b & 0x40) ? b : (uint8_t)(1u << (b & 7));
}

// One plane of a call as the checks see it.
struct PlaneDesc {
  bool used = false;
  int elem = 1;   // bytes per element
  int chans = 1;  // elements per pixel
  int step = 0;
  size_t lead = 0;    // bytes from the allocation to the ROI (whole elements)
  bool null = false;  // pass a null pointer
  long long rowBytes(long long width) const { return width * chans * elem; }
};

// The status the common checks call for, planes in argument order:
// a null pointer, then the size, then each step against its plane's row
// bytes, then the steps of planes wider than a byte against their element
// size. Success is kvpStsOk; callers add their own later checks.
inline KvpStatus commonStatus(const PlaneDesc* p, int n, long long width, long long height,
                              bool extraNull = false) {
  for (int i = 0; i < n; ++i)
    if (p[i].used && p[i].null) return kvpStsNullPtr;
  if (extraNull) return kvpStsNullPtr;
  if (width < 1 || height < 1) return kvpStsBadSize;
  for (int i = 0; i < n; ++i)
    if (p[i].used && (long long)p[i].step < p[i].rowBytes(width)) return kvpStsBadStep;
  for (int i = 0; i < n; ++i)
    if (p[i].used && p[i].elem > 1 && p[i].step % p[i].elem != 0) return kvpStsStepNotMultiple;
  return kvpStsOk;
}

// A ROI: mostly small, now and then any 32-bit values, and now and then
// (big) about minArea pixels so that the threaded paths run.
struct Dims {
  KvpiSize roi;
  bool big;
};

inline Dims readDims(Stream& s, int minArea) {
  const uint8_t how = s.byte();
  Dims d{{0, 0}, false};
  if (how < 2) {
    // Tall, wide and square shapes around the area, with remainders for
    // every team size.
    d.big = true;
    const int h = (how & 1) ? s.intIn(1, 64) : s.intIn(1, s.flag() ? minArea : 1024);
    d.roi.height = h;
    d.roi.width = (minArea + h - 1) / h + s.intIn(-1, 2);
    if (d.roi.width < 1) d.roi.width = 1;
    return d;
  }
  if (how < 18) {
    d.roi.width = (how & 1) ? s.raw<int32_t>() : s.intIn(-2, 70);
    d.roi.height = (how & 2) ? s.raw<int32_t>() : s.intIn(-2, 9);
    return d;
  }
  d.roi.width = s.intIn(-1, (how & 0x20) ? 300 : 70);
  d.roi.height = s.intIn(-1, (how & 0x40) ? 40 : 9);
  return d;
}

// A step for a plane of rowBytes bytes per row: short by a little, exact,
// padded by whole or partial elements, or any 32-bit value. Big planes get
// little padding so that they stay small.
inline int readStep(Stream& s, long long rowBytes, int elem, bool big) {
  const uint8_t how = s.byte();
  if (how < 10) return s.raw<int32_t>();
  long long step;
  if (big)
    step = rowBytes + ((how & 3) == 3 ? elem : ((how & 3) == 2 ? 1 : 0));
  else
    step = rowBytes + s.intIn(-3, 40);
  return (int)(uint32_t)(uint64_t)step;
}

// Guarded planes for every used desc: laid out when it fits in maxBytes,
// else a trap (which the call must not touch; only failing calls get one).
// Returns whether all used planes were laid out.
inline bool buildPlanes(const PlaneDesc* p, int n, long long width, int height, long long maxBytes,
                        std::optional<GuardedPlane>* out, uint8_t seed) {
  bool all = true;
  for (int i = 0; i < n; ++i) {
    if (!p[i].used) continue;
    const long long rb = p[i].rowBytes(width);
    if (planeFits(rb, height, p[i].step, (long long)p[i].lead, maxBytes))
      out[i].emplace((size_t)rb, height, (size_t)p[i].step, p[i].lead, (uint8_t)(seed + 37 * i));
    else {
      out[i].emplace(GuardedPlane::trap((uint8_t)(seed + i)));
      all = false;
    }
  }
  return all;
}

// Whether the planes of a call can all be laid out.
inline bool planesFit(const PlaneDesc* p, int n, long long width, int height, long long maxBytes) {
  for (int i = 0; i < n; ++i)
    if (p[i].used && !planeFits(p[i].rowBytes(width), height, p[i].step, (long long)p[i].lead, maxBytes))
      return false;
  return true;
}

// Thread count for this run: 1, 2 or 3 (odd teams leave remainders).
inline int setThreads(Stream& s) {
  const int n = 1 + s.byte() % 3;
  kvpSetNumThreads(n);
  return n;
}

// A channel of interest: mostly 1..3, sometimes just outside, now and
// then any 32-bit value.
inline int pickCoi(Stream& in) {
  const uint8_t how = in.byte();
  if (how < 16) return in.raw<int32_t>();
  if (how < 40) return (int)(how % 6) - 1;  // -1 .. 4
  return 1 + how % 3;
}

// The planes of one call, in argument order, with the exploration every
// target repeats: steps, offsets and null pointers from the input, the
// status of the common checks, the layout (a trap for each plane that
// cannot be laid out), and the checks after the call.
template <int N>
struct PlaneSet {
  PlaneDesc d[N];
  std::optional<GuardedPlane> g[N];
  bool laidOut = false;

  // Steps, offsets and nulls of the used planes (set used, elem and chans
  // first). One call in eight passes one null pointer, of `slots` (the
  // planes, then pointers of the caller's own), and a zero byte makes them
  // all null. Returns which of the caller's pointers is null (-1: none).
  int read(Stream& in, long long width, bool big, int slots = N) {
    const uint8_t nulls = in.byte();
    const bool one = (nulls & 7) == 0;
    const int which = (nulls >> 3) % slots;
    for (int i = 0; i < N; ++i) {
      d[i].step = readStep(in, d[i].rowBytes(width > 0 ? width : 0), d[i].elem, big);
      d[i].lead = (size_t)in.intIn(0, 31) * d[i].elem;
      d[i].null = one && (which == i || nulls == 0);
    }
    return !one ? -1 : (nulls == 0 ? N : (which >= N ? which : -1));
  }
  KvpStatus expect(long long width, long long height, bool extraNull = false) const {
    return commonStatus(d, N, width, height, extraNull);
  }
  bool fit(long long width, int height, long long maxBytes) const {
    return planesFit(d, N, width, height, maxBytes);
  }
  // Lays the planes out; the caller fills the pixels when laidOut, then arms.
  void build(long long width, int height, long long maxBytes, uint8_t seed) {
    laidOut = buildPlanes(d, N, width, height, maxBytes, g, seed);
  }
  void arm() {
    for (auto& p : g)
      if (p) p->arm();
  }
  template <class T = uint8_t>
  T* ptr(int i) const {
    return d[i].used && !d[i].null ? g[i]->template as<T>() : nullptr;
  }
  uint8_t* row(int i, int y) const { return g[i]->row(y); }
  int step(int i) const { return d[i].step; }
  // After the call: a status of the library's; planes below firstOut (and
  // the extra guarded blocks in ins) untouched; where the checks decide
  // (expect not kvpStsOk) exactly that status and nothing written. Returns
  // whether the call got past the checks; then no output was written
  // outside its pixels.
  bool settle(KvpStatus st, KvpStatus expect, int firstOut, std::initializer_list<GuardedPlane*> outs = {}) {
    KVF_REQUIRE(isLibraryStatus(st), "status %d is not one of the library's", (int)st);
    for (int i = 0; i < N; ++i)
      if (d[i].used && i < firstOut) KVF_REQUIRE(g[i]->unchanged(), "input plane %d was written", i);
    if (expect != kvpStsOk) {
      KVF_REQUIRE(st == expect, "status %d, expected %d (steps %d %d, nulls %d %d)", (int)st, (int)expect,
                  d[0].step, N > 1 ? d[N - 1].step : 0, d[0].null, N > 1 ? d[N - 1].null : 0);
      for (int i = firstOut; i < N; ++i)
        if (d[i].used) KVF_REQUIRE(g[i]->unchanged(), "a failing call wrote plane %d", i);
      for (GuardedPlane* o : outs) KVF_REQUIRE(o->unchanged(), "a failing call wrote an output");
      return false;
    }
    for (int i = firstOut; i < N; ++i)
      if (d[i].used) KVF_REQUIRE(g[i]->guardsIntact(), "a write outside the pixels of plane %d", i);
    for (GuardedPlane* o : outs) KVF_REQUIRE(o->guardsIntact(), "a write beside an output");
    return true;
  }
};

// The entry point of a target whose first byte picks a runner of its table
// and whose other bytes feed a Stream.
template <size_t K>
int dispatch(const uint8_t* data, size_t size, void (*const (&table)[K])(Stream&)) {
  Reader reader(data, size);
  const uint8_t which = reader.byte();
  Stream in(reader);
  table[which % K](in);
  return 0;
}

inline uint64_t bitsOf(double d) {
  uint64_t b;
  std::memcpy(&b, &d, sizeof b);
  return b;
}
inline uint32_t bitsOf(float f) {
  uint32_t b;
  std::memcpy(&b, &f, sizeof b);
  return b;
}

}  // namespace kvf
KVF_REF_END

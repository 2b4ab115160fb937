// Scan-line flood fills over a work list of row segments kept in the
// caller's buffer.
//
// Three membership rules share one procedure:
//   exact           a pixel joins when it equals the seed value;
//   fixed range     a pixel joins when it lies in [lo, hi], bounds taken from
//                   the seed once;
//   floating range  a pixel joins when it fits (lies within -minDelta ..
//                   +maxDelta of) an adjacent pixel that already joined.
//
// A segment (row, left, right, parentLeft, parentRight, direction) is a run
// already repainted (exact, fixed range) or marked (floating range); its
// parent run lies on row + direction. Processing a segment scans the row
// away from the parent over the run's columns (one more on each side when
// 8-connected) and the parent row only where the parent did not reach.
//
// Safety beyond the plain procedure, both documented on the drivers below:
//   * the exact and floating-range lists have no room test of their own;
//     when a run does not fit, it is left for a later sweep of the image
//     (exact: a bit per pixel at the end of the buffer; floating range: the
//     value 2 in the visited mask) instead of being written past the buffer;
//   * a fixed-range fill whose new value lies inside its own range can find
//     repainted pixels again without end; such a fill watches the state of
//     its list and stops when the state repeats (see RangeRing).
//
// Everything here has internal linkage: the file is included by sources
// that are compiled for two code paths.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <type_traits>

#include "frame/alloc.h"
#include "frame/bodies.h"

#if KVP_HAVE_HWY
#include <hwy/highway.h>
#endif

namespace kvp::seg {
namespace {

struct Segment {
  int y, l, r, pl, pr, dir;
};
static_assert(sizeof(Segment) == 24, "segment records are six packed 32-bit integers");

// Buffer sizes, formed in 64 bits and truncated to 32 like the queries. The
// product wraps in 64 bits (two's complement) when it does not fit, which
// only sizes far beyond any real image reach.
inline long long listBytes(KvpiSize roi) {
  const unsigned long long p =
      (unsigned long long)(long long)roi.width * 24u * (unsigned long long)(long long)roi.height;
  return (long long)p / 4 + 32;
}
inline long long maskBytes(KvpiSize roi) { return ((long long)roi.width + 2) * ((long long)roi.height + 2); }

template <class T>
inline T* rowOf(T* base, int step, int y) {
  using Byte = std::conditional_t<std::is_const_v<T>, const char, char>;
  return reinterpret_cast<T*>(reinterpret_cast<Byte*>(base) + (ptrdiff_t)step * y);
}

// ---- argument checks ------------------------------------------------------------------

// Minimum row bytes tested by the step check: the three-channel 8u and 32f
// members test against the one-channel row.
template <class T, int CN>
constexpr long long minStepBytes(int width) {
  if constexpr (CN == 3 && std::is_same_v<T, Kvp16u>) return 6LL * width;
  return (long long)width * (long long)sizeof(T);
}

template <class T, int CN>
KvpStatus checkFill(const T* img, int step, KvpiSize roi, KvpiPoint seed, const void* region,
                    const void* buffer, std::initializer_list<const void*> valuePtrs) {
  if (!img || !region || !buffer) return kvpStsNullPtr;
  for (const void* p : valuePtrs)
    if (!p) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1) return kvpStsBadSize;
  if ((long long)step < minStepBytes<T, CN>(roi.width)) return kvpStsBadStep;
  if (sizeof(T) > 1 && (step & (int)(sizeof(T) - 1))) return kvpStsStepNotMultiple;
  if (seed.x < 0 || seed.x >= roi.width || seed.y < 0 || seed.y >= roi.height) return kvpStsOutOfRange;
  return kvpStsOk;
}

// ---- membership tests -------------------------------------------------------------------

// Pixel equals the seed value in every channel (IEEE equality for floats).
template <class T, int CN>
struct Equal {
  T s[CN];
  bool operator()(const T* p) const {
    for (int c = 0; c < CN; ++c)
      if (!(p[c] == s[c])) return false;
    return true;
  }
#if KVP_HAVE_HWY
  template <class D, class V>
  auto vecOk(D d, V v) const {
    return hwy::HWY_NAMESPACE::Eq(v, hwy::HWY_NAMESPACE::Set(d, s[0]));
  }
#endif
};

// Pixel in [lo, hi] in every channel; for floats written so that NaN fails.
template <class T, int CN>
struct InRange {
  T lo[CN], hi[CN];
  bool operator()(const T* p) const {
    for (int c = 0; c < CN; ++c)
      if (!(p[c] >= lo[c] && hi[c] >= p[c])) return false;
    return true;
  }
#if KVP_HAVE_HWY
  template <class D, class V>
  auto vecOk(D d, V v) const {
    namespace hn = hwy::HWY_NAMESPACE;
    if constexpr (std::is_floating_point_v<T>) {
      return hn::And(hn::Ge(v, hn::Set(d, lo[0])), hn::Ge(hn::Set(d, hi[0]), v));
    } else {
      // Unsigned lanes: lo <= v <= hi as min/max identities.
      return hn::And(hn::Eq(hn::Max(v, hn::Set(d, lo[0])), v), hn::Eq(hn::Min(v, hn::Set(d, hi[0])), v));
    }
  }
#endif
};

// Last column >= x whose pixels from x on all qualify (x itself qualifies
// or is the start of the search); returns the run's right end.
template <class T, int CN, class Pred>
inline int runRight(const T* row, int x, int width, const Pred& q) {
#if KVP_HAVE_HWY
  if constexpr (CN == 1) {
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::ScalableTag<T> d;
    const int n = (int)hn::Lanes(d);
    int i = x + 1;
    while (i + n <= width && hn::AllTrue(d, q.vecOk(d, hn::LoadU(d, row + i)))) i += n;
    x = i - 1;
  }
#endif
  while (x + 1 < width && q(row + (ptrdiff_t)(x + 1) * CN)) ++x;
  return x;
}

// Left end of the run that extends left from x.
template <class T, int CN, class Pred>
inline int runLeft(const T* row, int x, const Pred& q) {
#if KVP_HAVE_HWY
  if constexpr (CN == 1) {
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::ScalableTag<T> d;
    const int n = (int)hn::Lanes(d);
    while (x - n >= 0 && hn::AllTrue(d, q.vecOk(d, hn::LoadU(d, row + x - n)))) x -= n;
  }
#endif
  while (x > 0 && q(row + (ptrdiff_t)(x - 1) * CN)) --x;
  return x;
}

template <class T, int CN>
inline void paintRun(T* row, int l, int r, const T* v) {
  if constexpr (CN == 1) {
    const T val = v[0];
    T* p = row + l;
    const int n = r - l + 1;
#pragma omp simd
    for (int i = 0; i < n; ++i) p[i] = val;
  } else {
    for (int x = l; x <= r; ++x)
      for (int c = 0; c < CN; ++c) row[(ptrdiff_t)x * CN + c] = v[c];
  }
}

// Running bounding box and area.
struct Region {
  double area = 0;
  int x0, x1, y0, y1;
  void start(int y, int l, int r) {
    x0 = l;
    x1 = r;
    y0 = y1 = y;
    area = r - l + 1;
  }
  void fold(int y, int l, int r) {
    if (l < x0) x0 = l;
    if (r > x1) x1 = r;
    if (y < y0) y0 = y;
    if (y > y1) y1 = y;
  }
};

template <class T, int CN>
void writeRecord(KvpiConnectedComp* out, const Region& reg, const T* newVal) {
  out->area = reg.area;
  for (int c = 0; c < 3; ++c) out->value[c] = c < CN ? (double)newVal[c] : 0.0;
  out->rect = KvpiRect{reg.x0, reg.y0, reg.x1 - reg.x0 + 1, reg.y1 - reg.y0 + 1};
}

inline Segment* recordsAt(Kvp8u* workStart) { return alignUp<Segment>(workStart, 8); }

// Number of whole records between the aligned start and end.
inline long long recordRoom(const Segment* first, const Kvp8u* end) {
  const long long bytes = (long long)(end - reinterpret_cast<const Kvp8u*>(first));
  return bytes < 0 ? 0 : bytes / (long long)sizeof(Segment);
}

// ---- exact and fixed-range fills ----------------------------------------------------------

// Exact-fill work list: a stack of the records that fit in front of a bit
// per pixel kept at the end of the buffer. A run found while the stack is
// full is left unpainted and its pixels are set in the bit map; once the
// stack runs dry, the set pixels that still hold the seed value start the
// fill again. The region is the same set of pixels whatever the order of
// the work, so the result is the one an unbounded list would give.
struct ExactList {
  Segment* rec;
  long long cap;
  long long n = 0;
  Kvp8u* bits;  // one bit per ROI pixel, index y * width + x
  size_t bitBytes;
  int width;
  bool mapLive = false;  // the map has been cleared and may hold set bits
  bool dropped = false;  // a run was left behind since the last sweep began
  int dropY0 = 0, dropY1 = -1;

  bool full() const { return n >= cap; }
  void push(const Segment& s) { rec[n++] = s; }
  bool empty() const { return n == 0; }
  Segment pop() { return rec[--n]; }
  void drop(int y, int l, int r) {
    if (!mapLive) {
      std::memset(bits, 0, bitBytes);
      mapLive = true;
      dropY0 = dropY1 = y;
    }
    dropped = true;
    if (y < dropY0) dropY0 = y;
    if (y > dropY1) dropY1 = y;
    for (size_t b = (size_t)y * width + l, e = (size_t)y * width + r; b <= e; ++b)
      bits[b >> 3] |= (Kvp8u)(1u << (b & 7));
  }
  bool takeBit(size_t b) {
    const Kvp8u m = (Kvp8u)(1u << (b & 7));
    if (!(bits[b >> 3] & m)) return false;
    bits[b >> 3] &= (Kvp8u)~m;
    return true;
  }
};

// Fixed-range work list: a ring of K records. A push stores at the index and
// advances it, wrapping to 0 at K; a pop steps back; the fill ends when the
// index is 0 after a segment. Overflow overwrites the oldest records. An
// image of fewer than four pixels has K = 0, which the index never meets:
// its list is a plain stack, and a push with no room left in the buffer is
// dropped (on such an image every neighbour of that run has been seen) and
// only folded into the bounding box.
//
// Termination: when the new value itself lies in the range, a repainted
// pixel qualifies exactly as it did before, so which pixels qualify never
// changes during the fill and the work done for a segment depends on the
// segment alone. The whole state of the walk is then the list below the
// index, rec[0 .. idx): the walk has no end exactly when that state
// repeats. The ring keeps two 64-bit position-weighted hashes of the live
// records, updated on every push and pop, and compares them (Brent's
// cycle search: a checkpoint at every power of two of segments) with the
// state saved at the last checkpoint. A repeated state stops the fill;
// every walk that ends by itself is followed to its end.
// Inverse of an odd number modulo 2^64 (Newton's iteration).
constexpr uint64_t oddInverse(uint64_t p) {
  uint64_t x = p;
  for (int i = 0; i < 6; ++i) x *= 2 - p * x;
  return x;
}
static_assert(oddInverse(0x9E3779B97F4A7C15ull) * 0x9E3779B97F4A7C15ull == 1);

struct StateHash {
  static constexpr uint64_t kP1 = 0x9E3779B97F4A7C15ull, kP2 = 0xC2B2AE3D27D4EB4Full;
  static constexpr uint64_t kI1 = oddInverse(kP1), kI2 = oddInverse(kP2);
  uint64_t h1 = 0, h2 = 0, w1 = 1, w2 = 1;  // hashes and the weights of the next position

  static uint64_t mix(uint64_t z) {
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  static void keys(const Segment& s, uint64_t& a, uint64_t& b) {
    const uint64_t k = mix(((uint64_t)(uint32_t)s.y << 32 | (uint32_t)s.l) ^
                           mix((uint64_t)(uint32_t)s.r << 32 | (uint32_t)s.pl) ^
                           mix((uint64_t)(uint32_t)s.pr << 32 | (uint32_t)s.dir));
    a = k;
    b = mix(k + 0x632BE59BD9B4E019ull);
  }
  void push(const Segment& s) {
    uint64_t a, b;
    keys(s, a, b);
    h1 += a * w1;
    h2 += b * w2;
    w1 *= kP1;
    w2 *= kP2;
  }
  void pop(const Segment& s) {
    uint64_t a, b;
    keys(s, a, b);
    w1 *= kI1;
    w2 *= kI2;
    h1 -= a * w1;
    h2 -= b * w2;
  }
  void clear() { *this = StateHash{}; }
};

struct RangeRing {
  Segment* rec;
  int wrap;  // K, or 0 for no wrap
  long long room;
  Region* reg;
  int idx = 0;
  bool watch = false;  // the new value qualifies: look for a repeated state
  StateHash hash;
  uint64_t saved1 = 0, saved2 = 0;
  int savedIdx = -1;
  long long power = 1, lam = 0;

  static constexpr bool full() { return false; }
  void push(const Segment& s) {
    if (idx >= room) {
      reg->fold(s.y, s.l, s.r);
      return;
    }
    rec[idx] = s;
    if (watch) hash.push(s);
    if (++idx == wrap) {
      idx = 0;
      if (watch) hash.clear();
    }
  }
  bool empty() const { return idx == 0; }
  Segment pop() {
    const Segment s = rec[--idx];
    if (watch) hash.pop(s);
    return s;
  }
  // Called after each segment: true when the state repeats an earlier one.
  bool repeats() {
    if (!watch) return false;
    if (idx == savedIdx && hash.h1 == saved1 && hash.h2 == saved2) return true;
    if (++lam == power) {
      saved1 = hash.h1;
      saved2 = hash.h2;
      savedIdx = idx;
      power *= 2;
      lam = 0;
    }
    return false;
  }
};

// One row scan of the exact / fixed-range procedure: every qualifying pixel
// in [a, b] of row yy starts a run that is extended both ways, painted,
// counted and pushed as (yy, runL, runR, pl, pr, dir); the scan continues
// two past the run's end.
template <class T, int CN, class Pred, class List>
inline void scanRow(T* row, int yy, int a, int b, int width, const Pred& q, const T* nv, List& list,
                    Region& reg, int pl, int pr, int dir) {
  for (int x = a; x <= b;) {
    if (!q(row + (ptrdiff_t)x * CN)) {
      ++x;
      continue;
    }
    const int rl = runLeft<T, CN>(row, x, q);
    const int rr = runRight<T, CN>(row, x, width, q);
    if constexpr (std::is_same_v<List, ExactList>) {
      if (list.full()) {
        list.drop(yy, rl, rr);
        x = rr + 2;
        continue;
      }
    }
    paintRun<T, CN>(row, rl, rr, nv);
    reg.area += rr - rl + 1;
    list.push(Segment{yy, rl, rr, pl, pr, dir});
    x = rr + 2;
  }
}

// Pops and processes segments until the list is empty or its state repeats.
template <bool Eight, class T, int CN, class Pred, class List>
void drain(T* img, int step, KvpiSize roi, const Pred& q, const T* nv, List& list, Region& reg) {
  const int w = roi.width, h = roi.height;
  while (!list.empty()) {
    const Segment s = list.pop();
    reg.fold(s.y, s.l, s.r);
    const int lo = Eight ? (s.l > 0 ? s.l - 1 : 0) : s.l;
    const int hi = Eight ? (s.r < w - 1 ? s.r + 1 : w - 1) : s.r;
    const int ny = s.y - s.dir;
    if ((unsigned)ny < (unsigned)h)
      scanRow<T, CN>(rowOf(img, step, ny), ny, lo, hi, w, q, nv, list, reg, s.l, s.r, s.dir);
    // The parent row exists by construction of every record.
    const int py = s.y + s.dir;
    T* prow = rowOf(img, step, py);
    scanRow<T, CN>(prow, py, lo, s.pl - 1, w, q, nv, list, reg, s.l, s.r, -s.dir);
    scanRow<T, CN>(prow, py, s.pr + 1, hi, w, q, nv, list, reg, s.l, s.r, -s.dir);
    if constexpr (std::is_same_v<List, RangeRing>)
      if (list.repeats()) return;
  }
}

// Paints the seed pixel and the run through it; the seed is painted even
// when it does not qualify itself (a NaN, or a negative float range).
template <class T, int CN, class Pred>
inline void seedRun(T* row, int x, int width, const Pred& q, const T* nv, int& l, int& r) {
  l = runLeft<T, CN>(row, x, q);
  r = runRight<T, CN>(row, x, width, q);
  paintRun<T, CN>(row, l, r, nv);
}

template <class T, int CN>
inline bool sameValue(const T* a, const T* b) {
  for (int c = 0; c < CN; ++c)
    if (!(a[c] == b[c])) return false;
  return true;
}

template <class T, int CN>
inline void seedValue(const T* img, int step, KvpiPoint seed, T* s) {
  const T* p = rowOf(img, step, seed.y) + (ptrdiff_t)seed.x * CN;
  for (int c = 0; c < CN; ++c) s[c] = p[c];
}

// Exact fill. Returns at once, writing nothing, when the seed already holds
// the new value.
template <bool Eight, class T, int CN>
KvpStatus fillExact(T* img, int step, KvpiSize roi, KvpiPoint seed, const T* nv, KvpiConnectedComp* out,
                    Kvp8u* buf) {
  const int w = roi.width, h = roi.height;
  Equal<T, CN> q;
  seedValue<T, CN>(img, step, seed, q.s);
  if (sameValue<T, CN>(q.s, nv)) return kvpStsOk;

  int L, R;
  seedRun<T, CN>(rowOf(img, step, seed.y), seed.x, w, q, nv, L, R);
  Region reg;
  reg.start(seed.y, L, R);
  if (h > 1) {
    ExactList list;
    list.bitBytes = ((size_t)w * (size_t)h + 7) / 8;
    list.bits = buf + listBytes(roi) - list.bitBytes;
    list.rec = recordsAt(buf);
    list.cap = recordRoom(list.rec, list.bits);
    list.width = w;
    list.push(Segment{seed.y, L, R, R + 1, R, seed.y == h - 1 ? -1 : 1});
    drain<Eight, T, CN>(img, step, roi, q, nv, list, reg);
    // Runs left behind while the stack was full: every set pixel that still
    // holds the seed value belongs to the region and starts it again.
    while (list.dropped) {
      list.dropped = false;
      for (int y = list.dropY0; y <= list.dropY1; ++y) {
        T* row = rowOf(img, step, y);
        const size_t base = (size_t)y * w;
        for (int x = 0; x < w; ++x) {
          const size_t b = base + x;
          if ((b & 7) == 0 && x + 8 <= w && list.bits[b >> 3] == 0) {
            x += 7;
            continue;
          }
          if (!list.takeBit(b) || !q(row + (ptrdiff_t)x * CN)) continue;
          int l, r;
          seedRun<T, CN>(row, x, w, q, nv, l, r);
          reg.area += r - l + 1;
          list.push(Segment{y, l, r, r + 1, r, y == h - 1 ? -1 : 1});
          drain<Eight, T, CN>(img, step, roi, q, nv, list, reg);
        }
      }
    }
  }
  writeRecord<T, CN>(out, reg, nv);
  return kvpStsOk;
}

// Fixed-range bounds from the seed value: integers clamped to the type's
// range, floats unclamped.
template <class T, int CN>
inline InRange<T, CN> rangeOf(const T* s, const T* minD, const T* maxD) {
  InRange<T, CN> q;
  for (int c = 0; c < CN; ++c) {
    if constexpr (std::is_floating_point_v<T>) {
      q.lo[c] = s[c] - minD[c];
      q.hi[c] = s[c] + maxD[c];
    } else {
      constexpr int top = std::is_same_v<T, Kvp8u> ? 255 : 65535;
      const int lo = (int)s[c] < (int)minD[c] ? 0 : (int)s[c] - (int)minD[c];
      const int hi = (int)s[c] + (int)maxD[c];
      q.lo[c] = (T)lo;
      q.hi[c] = (T)(hi > top ? top : hi);
    }
  }
  return q;
}

// Fixed-range fill over the ring.
template <bool Eight, class T, int CN>
KvpStatus fillRange(T* img, int step, KvpiSize roi, KvpiPoint seed, const T* nv, const T* minD, const T* maxD,
                    KvpiConnectedComp* out, Kvp8u* buf) {
  const int w = roi.width, h = roi.height;
  T s[CN];
  seedValue<T, CN>(img, step, seed, s);
  if (sameValue<T, CN>(s, nv)) return kvpStsOk;
  const InRange<T, CN> q = rangeOf<T, CN>(s, minD, maxD);

  int L, R;
  seedRun<T, CN>(rowOf(img, step, seed.y), seed.x, w, q, nv, L, R);
  Region reg;
  reg.start(seed.y, L, R);
  if (h > 1) {
    RangeRing ring;
    ring.rec = recordsAt(buf);
    ring.room = recordRoom(ring.rec, buf + listBytes(roi));
    const int k = (int)((unsigned)w * (unsigned)h) / 4;
    ring.wrap = (k >= 1 && k <= ring.room) ? k : 0;
    ring.reg = &reg;
    ring.watch = q(nv);
    ring.push(Segment{seed.y, L, R, R + 1, R, seed.y == h - 1 ? -1 : 1});
    drain<Eight, T, CN>(img, step, roi, q, nv, ring, reg);
  }
  writeRecord<T, CN>(out, reg, nv);
  return kvpStsOk;
}

// ---- floating-range fill ------------------------------------------------------------------

// a fits b: b - minDelta <= a <= b + maxDelta in every channel; integers as
// one unsigned 32-bit comparison.
template <class T, int CN>
struct Fits {
  T mn[CN], mx[CN];
  bool operator()(const T* a, const T* b) const {
    for (int c = 0; c < CN; ++c) {
      if constexpr (std::is_floating_point_v<T>) {
        if (!(b[c] - mn[c] <= a[c] && a[c] <= b[c] + mx[c])) return false;
      } else {
        if ((uint32_t)((uint32_t)a[c] + (uint32_t)mn[c] - (uint32_t)b[c]) > (uint32_t)mn[c] + (uint32_t)mx[c])
          return false;
      }
    }
    return true;
  }
};

// Visited mask of (width + 2) x (height + 2) bytes: 0 free, 1 taken or
// outside, 2 taken but left behind by a full list (its neighbours are still
// to be examined and it is still to be painted).
struct Mask {
  Kvp8u* m;
  size_t stride;
  Kvp8u* row(int y) const { return m + (ptrdiff_t)(y + 1) * (ptrdiff_t)stride + 1; }  // row(y)[-1 .. width]
};

struct GradList {
  Segment* rec;
  long long cap;
  long long n = 0;
  bool dropped = false;
  int dropY0 = 0, dropY1 = -1;
  bool full() const { return n >= cap; }
  void push(const Segment& s) { rec[n++] = s; }
  bool empty() const { return n == 0; }
  Segment pop() { return rec[--n]; }
  void dropRow(int y) {
    if (!dropped && dropY1 < dropY0) dropY0 = dropY1 = y;
    dropped = true;
    if (y < dropY0) dropY0 = y;
    if (y > dropY1) dropY1 = y;
  }
};

// Run ends and candidates of the floating-range scans. The generic forms
// test pixel by pixel; 8-bit one-channel rows test a vector of pixels at
// once (every pixel's test depends only on its own position: free in the
// mask, fits its neighbour / the pixel across), so the first failing lane
// ends the run exactly where the pixel loop would.
#if KVP_HAVE_HWY
namespace hn = hwy::HWY_NAMESPACE;
using D8 = hn::ScalableTag<uint8_t>;
using V8 = hn::Vec<D8>;

// a fits b lane by lane: b - mn <= a <= b + mx with saturating bounds,
// which is the unsigned comparison for bytes.
HWY_INLINE hn::Mask<D8> fitsVec(V8 a, V8 b, V8 mn, V8 mx) {
  const V8 lo = hn::SaturatedSub(b, mn), hi = hn::SaturatedAdd(b, mx);
  return hn::And(hn::Eq(hn::Max(a, lo), a), hn::Eq(hn::Min(a, hi), a));
}
#endif

#if KVP_HAVE_HWY
constexpr bool kHaveVectors = true;
#else
constexpr bool kHaveVectors = false;
#endif
template <class T, int CN>
constexpr bool kGradVector = kHaveVectors&& std::is_same_v<T, Kvp8u>&& CN == 1;

// Extends a run right from its end x; across (or null) is the popped run's
// row, whose pixels up to column r may also admit the next pixel.
template <class T, int CN>
inline int gradRight(const T* row, const T* across, int r, Kvp8u* m, int x, [[maybe_unused]] int width,
                     const Fits<T, CN>& fits) {
#if KVP_HAVE_HWY
  if constexpr (kGradVector<T, CN>) {
    const D8 d;
    const int n = (int)hn::Lanes(d);
    const V8 mn = hn::Set(d, fits.mn[0]), mx = hn::Set(d, fits.mx[0]), zero = hn::Zero(d);
    while (x + 1 + n <= width) {
      const int i = x + 1;
      const V8 a = hn::LoadU(d, row + i);
      auto ok = fitsVec(a, hn::LoadU(d, row + i - 1), mn, mx);
      if (across && i <= r) {
        auto v = fitsVec(a, hn::LoadU(d, across + i), mn, mx);
        if (r - i + 1 < n) v = hn::And(v, hn::FirstN(d, (size_t)(r - i + 1)));
        ok = hn::Or(ok, v);
      }
      ok = hn::And(ok, hn::Eq(hn::LoadU(d, m + i), zero));
      if (hn::AllTrue(d, ok)) {
        hn::StoreU(hn::Set(d, 1), d, m + i);
        x += n;
        continue;
      }
      const int k = (int)hn::FindFirstTrue(d, hn::Not(ok));
      if (k > 0) std::memset(m + i, 1, (size_t)k);
      return x + k;
    }
  }
#endif
  while (!m[x + 1] &&
         (fits(row + (ptrdiff_t)(x + 1) * CN, row + (ptrdiff_t)x * CN) ||
          (across && x < r && fits(row + (ptrdiff_t)(x + 1) * CN, across + (ptrdiff_t)(x + 1) * CN))))
    m[++x] = 1;
  return x;
}

// Extends a run left from its start x through free pixels that fit their
// right neighbour.
template <class T, int CN>
inline int gradLeft(const T* row, Kvp8u* m, int x, const Fits<T, CN>& fits) {
#if KVP_HAVE_HWY
  if constexpr (kGradVector<T, CN>) {
    const D8 d;
    const int n = (int)hn::Lanes(d);
    const V8 mn = hn::Set(d, fits.mn[0]), mx = hn::Set(d, fits.mx[0]), zero = hn::Zero(d);
    while (x - n >= 0) {
      const int i = x - n;
      const auto ok = hn::And(fitsVec(hn::LoadU(d, row + i), hn::LoadU(d, row + i + 1), mn, mx),
                              hn::Eq(hn::LoadU(d, m + i), zero));
      if (!hn::AllTrue(d, ok)) break;
      hn::StoreU(hn::Set(d, 1), d, m + i);
      x = i;
    }
  }
#endif
  while (!m[x - 1] && fits(row + (ptrdiff_t)(x - 1) * CN, row + (ptrdiff_t)x * CN)) m[--x] = 1;
  return x;
}

// First column in [x, last] (all inside the popped run's columns and the
// image) that is free and fits the pixel directly across; last + 1 if none.
template <class T, int CN>
inline int gradCandidate(const T* row, const T* across, const Kvp8u* m, int x, int last,
                         [[maybe_unused]] int width, const Fits<T, CN>& fits) {
#if KVP_HAVE_HWY
  if constexpr (kGradVector<T, CN>) {
    const D8 d;
    const int n = (int)hn::Lanes(d);
    const V8 mn = hn::Set(d, fits.mn[0]), mx = hn::Set(d, fits.mx[0]), zero = hn::Zero(d);
    while (x + n - 1 <= last && x + n <= width) {
      const auto c = hn::And(hn::Eq(hn::LoadU(d, m + x), zero),
                             fitsVec(hn::LoadU(d, row + x), hn::LoadU(d, across + x), mn, mx));
      const intptr_t k = hn::FindFirstTrue(d, c);
      if (k >= 0) return x + (int)k;
      x += n;
    }
  }
#endif
  for (; x <= last; ++x)
    if (!m[x] && fits(row + (ptrdiff_t)x * CN, across + (ptrdiff_t)x * CN)) return x;
  return last + 1;
}

// Candidates of row yy in [a, b] next to the popped run s (of row s.y):
// a free pixel that fits its nearest pixel of s starts a run, extended left
// through free pixels that fit their right neighbour and right through free
// pixels that fit their left neighbour or, inside s, the pixel across. A
// row outside the image is all border in the mask and yields nothing.
template <bool Eight, class T, int CN>
inline void gradScan(T* img, int step, KvpiSize roi, const Mask& mask, int yy, int a, int b, const Segment& s,
                     int dir, const Fits<T, CN>& fits, GradList& list) {
  if ((unsigned)yy >= (unsigned)roi.height) return;
  Kvp8u* m = mask.row(yy);
  const T* row = rowOf(img, step, yy);
  const T* across = rowOf(img, step, s.y);
  for (int x = a; x <= b;) {
    if (x >= s.l && x <= s.r) {
      const int last = b < s.r ? b : s.r;
      x = gradCandidate<T, CN>(row, across, m, x, last, roi.width, fits);
      if (x > last) continue;
    } else {
      // Outside the run's columns (8-connected only): the diagonal pixel.
      const int xc = x < s.l ? s.l : s.r;
      if (m[x] || !fits(row + (ptrdiff_t)x * CN, across + (ptrdiff_t)xc * CN)) {
        ++x;
        continue;
      }
    }
    m[x] = 1;
    const int rl = gradLeft<T, CN>(row, m, x, fits);
    const int rr = gradRight<T, CN>(row, across, s.r, m, x, roi.width, fits);
    if (list.full()) {
      std::memset(m + rl, 2, (size_t)(rr - rl + 1));
      list.dropRow(yy);
    } else {
      list.push(Segment{yy, rl, rr, s.l, s.r, dir});
    }
    x = rr + 1;
  }
}

template <bool Eight, class T, int CN>
void gradDrain(T* img, int step, KvpiSize roi, const Mask& mask, const Fits<T, CN>& fits, const T* nv,
               GradList& list, Region& reg) {
  while (!list.empty()) {
    const Segment s = list.pop();
    reg.fold(s.y, s.l, s.r);
    const int lo = Eight ? s.l - 1 : s.l, hi = Eight ? s.r + 1 : s.r;
    gradScan<Eight, T, CN>(img, step, roi, mask, s.y - s.dir, lo, hi, s, s.dir, fits, list);
    gradScan<Eight, T, CN>(img, step, roi, mask, s.y + s.dir, lo, s.pl - 1, s, -s.dir, fits, list);
    gradScan<Eight, T, CN>(img, step, roi, mask, s.y + s.dir, s.pr + 1, hi, s, -s.dir, fits, list);
    paintRun<T, CN>(rowOf(img, step, s.y), s.l, s.r, nv);
    reg.area += s.r - s.l + 1;
  }
}

// Floating-range fill. The mask's border stops every scan before the image
// is read outside the ROI, so rows -1 and height are never read.
template <bool Eight, class T, int CN>
KvpStatus fillGrad(T* img, int step, KvpiSize roi, KvpiPoint seed, const T* nv, const T* minD, const T* maxD,
                   KvpiConnectedComp* out, Kvp8u* buf) {
  const int w = roi.width, h = roi.height;
  Fits<T, CN> fits;
  for (int c = 0; c < CN; ++c) {
    fits.mn[c] = minD[c];
    fits.mx[c] = maxD[c];
  }
  const size_t stride = (size_t)w + 2;
  const size_t mbytes = (size_t)maskBytes(roi);
  Mask mask{buf, stride};
  std::memset(buf, 1, stride);
  std::memset(buf + mbytes - stride, 1, stride);
  for (int y = 0; y < h; ++y) {
    Kvp8u* m = mask.row(y);
    m[-1] = 1;
    std::memset(m, 0, (size_t)w);
    m[w] = 1;
  }

  T* srow = rowOf(img, step, seed.y);
  Kvp8u* sm = mask.row(seed.y);
  sm[seed.x] = 1;
  const int R = gradRight<T, CN>(srow, nullptr, 0, sm, seed.x, w, fits);
  const int L = gradLeft<T, CN>(srow, sm, seed.x, fits);

  Region reg;
  reg.start(seed.y, L, R);
  reg.area = 0;
  GradList list;
  list.rec = recordsAt(buf + mbytes);
  list.cap = recordRoom(list.rec, buf + mbytes + listBytes(roi));
  list.push(Segment{seed.y, L, R, R + 1, R, 1});
  gradDrain<Eight, T, CN>(img, step, roi, mask, fits, nv, list, reg);
  // Runs left behind while the list was full carry 2 in the mask: each
  // stretch of them goes back on the list with no parent, so both
  // neighbouring rows are examined in full. The 4-connected region is the
  // set reachable through fitting neighbours whatever the order of work, so
  // it is unchanged by the detour; an 8-connected region compares diagonal
  // candidates with run ends, which can depend on the order, so after a
  // detour it may differ from an unbounded list's in such pixels.
  while (list.dropped) {
    list.dropped = false;
    for (int y = list.dropY0; y <= list.dropY1; ++y) {
      Kvp8u* m = mask.row(y);
      for (int x = 0; x < w; ++x) {
        if (m[x] != 2) continue;
        int r = x;
        while (m[r + 1] == 2) ++r;
        std::memset(m + x, 1, (size_t)(r - x + 1));
        list.push(Segment{y, x, r, r + 1, r, 1});
        gradDrain<Eight, T, CN>(img, step, roi, mask, fits, nv, list, reg);
        x = r;
      }
    }
  }
  writeRecord<T, CN>(out, reg, nv);
  return kvpStsOk;
}

}  // namespace
}  // namespace kvp::seg

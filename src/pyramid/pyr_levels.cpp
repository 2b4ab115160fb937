// Gaussian 5x5 pyramid levels: kernels and drivers, compiled once per
// vector target (frame/targets.h); the bodies call the chosen target's.
//
// Both directions run in two passes over 32-bit intermediate rows kept in
// the caller's buffer:
//   down: each needed source row becomes (w + 1) / 2 horizontal sums of
//         weight 16 (kernel 1 4 6 4 1 at even centres); five such rows are
//         combined vertically with the same kernel and scaled by 1/256.
//   up:   each source row becomes 2w expanded values of weight 8
//         (s[x-1] + 6 s[x] + s[x+1] and 4 (s[x] + s[x+1])); three such rows
//         are combined vertically the same way and scaled by 1/64.
// Borders: down mirrors without repeating the edge (mirrored again for 1-
// and 2-pixel extents); up mirrors on the left / top and replicates on the
// right / bottom. Integer results round half upward with an arithmetic
// shift; float results are multiplied by the exact power-of-two scale.
#if KVP_HAVE_HWY
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pyramid/pyr_levels.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>
#endif

#ifndef KVP_PYRAMID_PYR_LEVELS_COMMON_
#define KVP_PYRAMID_PYR_LEVELS_COMMON_
#include <cstdint>
#include <type_traits>

#include "frame/alloc.h"
#include "frame/checks.h"
#include "frame/parallel.h"
#include "frame/targets.h"
#include "pyramid/pyr_kernels.h"
#endif

#if KVP_HAVE_HWY
HWY_BEFORE_NAMESPACE();
namespace kvp::pyr::HWY_NAMESPACE {
#else
namespace kvp::pyr::plain {
#endif
namespace {
// Intermediate sums: every 8-bit sum of weight up to 256 (plus the rounding
// bias) fits 16 bits, so 8-bit levels run in 16-bit lanes.
template <class T>
using Acc = std::conditional_t<std::is_floating_point_v<T>, float,
                               std::conditional_t<std::is_signed_v<T>, int16_t, uint16_t>>;

template <class T>
constexpr bool kIsFloat = std::is_floating_point_v<T>;

// Source index i of an axis of n >= 3 samples, mirrored without repeating
// the edge sample; valid for -2 <= i <= n + 1.
inline int mirror101(int i, int n) { return i < 0 ? -i : (i >= n ? 2 * n - 2 - i : i); }

// (n + 1) / 2 without leaving int for n up to INT_MAX.
inline int halfUp(int n) { return n / 2 + (n & 1); }

// ---- down: horizontal pass ----------------------------------------------------

// Three-channel 8-bit interior outputs from x0 on, two per step: each tap
// is one byte load and one byte shuffle that widens the six samples of the
// tap's two pixels to 16-bit lanes. Every store also writes two spare lanes,
// which belong to output x + 2 and are rewritten later (the caller computes
// every output up to x1, and the last output after that). Returns the first
// output not computed: the steps stop where a load would pass the row's w
// pixels.
template <class T>
int downRowInterior3x8(const T* s, Acc<T>* out, int x0, int x1, int w) {
#if KVP_HAVE_HWY && HWY_TARGET != HWY_SCALAR
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::Full128<uint8_t> d8;
  const hn::Full128<int16_t> d16;
  // Sample bytes of the two pixels (0, 1, 2 and 6, 7, 8 from the load) in the
  // low byte of a lane (unsigned) or the high byte, to be shifted down with
  // its sign.
  alignas(16) static constexpr uint8_t kLow[16] = {0, 0x80, 1, 0x80, 2,    0x80, 6,    0x80,
                                                   7, 0x80, 8, 0x80, 0x80, 0x80, 0x80, 0x80};
  alignas(16) static constexpr uint8_t kHigh[16] = {0x80, 0, 0x80, 1, 0x80, 2,    0x80, 6,
                                                    0x80, 7, 0x80, 8, 0x80, 0x80, 0x80, 0x80};
  const auto idx = hn::Load(d8, std::is_signed_v<T> ? kHigh : kLow);
  auto tap = [&](const T* p) {
    const auto v =
        hn::BitCast(d16, hn::TableLookupBytesOr0(hn::LoadU(d8, reinterpret_cast<const uint8_t*>(p)), idx));
    if constexpr (std::is_signed_v<T>)
      return hn::ShiftRight<8>(v);
    else
      return v;
  };
  int x = x0;
  // Step x reads bytes 6x - 6 .. 6x + 21 of the row.
  for (; x + 2 <= x1 && 6LL * x + 22 <= 3LL * w; x += 2) {
    const T* p = s + 6 * x - 6;
    const auto outer = hn::Add(tap(p), tap(p + 12));
    const auto inner = hn::Add(tap(p + 3), tap(p + 9));
    const auto centre = tap(p + 6);
    const auto sum = hn::Add(hn::Add(outer, hn::ShiftLeft<2>(inner)),
                             hn::Add(hn::ShiftLeft<2>(centre), hn::ShiftLeft<1>(centre)));
    hn::StoreU(sum, d16, reinterpret_cast<int16_t*>(out + 3 * x));
  }
  return x;
#else
  (void)s, (void)out, (void)x1, (void)w;
  return x0;
#endif
}

// Interior outputs x in [x0, x1) of a row with CH interleaved channels:
// out = (s[-2] + s[2]) + 4 (s[-1] + s[1]) + 6 s[0] around centre 2x.
template <class T, int CH>
void downRowInterior(const T* s, Acc<T>* out, int x0, int x1, int w) {
  using A = Acc<T>;
  if constexpr (CH == 1) {
#pragma omp simd
    for (int x = x0; x < x1; ++x) {
      const T* p = s + 2 * x;
      out[x] = ((A)p[-2] + (A)p[2]) + (A)4 * ((A)p[-1] + (A)p[1]) + (A)6 * (A)p[0];
    }
  } else {
    if constexpr (CH == 3 && sizeof(T) == 1) x0 = downRowInterior3x8(s, out, x0, x1, w);
    for (int x = x0; x < x1; ++x) {
      const T* p = s + 2 * x * CH;
      A* o = out + x * CH;
      for (int c = 0; c < CH; ++c)
        o[c] = ((A)p[c - 2 * CH] + (A)p[c + 2 * CH]) + (A)4 * ((A)p[c - CH] + (A)p[c + CH]) + (A)6 * (A)p[c];
    }
  }
}

// One source row of width w -> (w + 1) / 2 sums per channel.
template <class T, int CH>
void downRow(const T* s, int w, Acc<T>* out) {
  using A = Acc<T>;
  if (w <= 2) {
    // Every tap falls on s0 or s1 (s1 = s0 for a single pixel): 8 (s0 + s1).
    const T* s1 = s + (w == 2 ? CH : 0);
    for (int c = 0; c < CH; ++c) out[c] = ((A)s[c] + (A)s1[c]) * (A)8;
    return;
  }
  const int dw = halfUp(w);
  for (int c = 0; c < CH; ++c) out[c] = (A)6 * (A)s[c] + (A)8 * (A)s[CH + c] + (A)2 * (A)s[2 * CH + c];
  downRowInterior<T, CH>(s, out, 1, dw - 1, w);
  A* o = out + (dw - 1) * CH;
  if (w & 1) {
    const T* p = s + (w - 1) * CH;  // centre w - 1
    for (int c = 0; c < CH; ++c) o[c] = (A)6 * (A)p[c] + (A)8 * (A)p[c - CH] + (A)2 * (A)p[c - 2 * CH];
  } else {
    const T* p = s + (w - 2) * CH;  // centre w - 2
    for (int c = 0; c < CH; ++c)
      o[c] = (A)p[c - 2 * CH] + (A)4 * ((A)p[c - CH] + (A)p[c + CH]) + (A)7 * (A)p[c];
  }
}

// ---- down: vertical pass ------------------------------------------------------

template <class T>
inline T downScale(Acc<T> sum) {
  if constexpr (kIsFloat<T>)
    return sum * 0.00390625f;
  else
    return (T)((sum + 128) >> 8);
}

// Five rows (already mirrored) -> one destination row of n elements.
template <class T>
void downCol(const Acc<T>* r0, const Acc<T>* r1, const Acc<T>* r2, const Acc<T>* r3, const Acc<T>* r4, T* d,
             int n) {
  using A = Acc<T>;
#pragma omp simd
  for (int i = 0; i < n; ++i) d[i] = downScale<T>((r0[i] + r4[i]) + (A)4 * (r1[i] + r3[i]) + (A)6 * r2[i]);
}

// Sources of height 1 or 2: every vertical tap reads row 0 or row 1.
template <class T>
void downColShort(const Acc<T>* r0, const Acc<T>* r1, T* d, int n) {
  using A = Acc<T>;
#pragma omp simd
  for (int i = 0; i < n; ++i) d[i] = downScale<T>((r0[i] + r1[i]) * (A)8);
}

template <class T, int CH>
KvpStatus pyrDown(const T* src, int srcStep, T* dst, int dstStep, KvpiSize roi, Kvp8u* buffer) {
  using A = Acc<T>;
  if (!src || !dst || !buffer) return kvpStsNullPtr;
  if (KvpStatus st = checkSize(roi)) return st;
  const int w = roi.width, h = roi.height;
  const int dw = halfUp(w), dh = halfUp(h);
  if ((long long)srcStep < (long long)w * CH * (int)sizeof(T)) return kvpStsBadStep;
  if ((long long)dstStep < (long long)dw * CH * (int)sizeof(T)) return kvpStsBadStep;
  if (sizeof(T) > 1 && ((srcStep | dstStep) & (int)(sizeof(T) - 1))) return kvpStsStepNotMultiple;

  const long long rowBytes = downRowBytes(w, CH);
  Kvp8u* base = alignUp(buffer, 64);
  auto slot = [&](int k) { return reinterpret_cast<A*>(base + rowBytes * k); };
  const int n = dw * CH;

  if (h <= 2) {
    A* r0 = slot(0);
    A* r1 = slot(1);
    downRow<T, CH>(src, w, r0);
    if (h == 2) downRow<T, CH>(rowAt(src, srcStep, 1), w, r1);
    downColShort<T>(r0, h == 2 ? r1 : r0, dst, n);
    return kvpStsOk;
  }

  // Five rows in rotation: source row r lives in slot r mod 5; any five
  // consecutive source rows, and so every mirrored window, use distinct slots.
  int tag[5] = {-1, -1, -1, -1, -1};
  auto hrow = [&](int r) -> const A* {
    const int k = r % 5;
    A* out = slot(k);
    if (tag[k] != r) {
      downRow<T, CH>(rowAt(src, srcStep, r), w, out);
      tag[k] = r;
    }
    return out;
  };
  for (int y = 0; y < dh; ++y) {
    const int c = 2 * y;
    const A* r0 = hrow(mirror101(c - 2, h));
    const A* r1 = hrow(mirror101(c - 1, h));
    const A* r2 = hrow(c);
    const A* r3 = hrow(mirror101(c + 1, h));
    const A* r4 = hrow(mirror101(c + 2, h));
    downCol<T>(r0, r1, r2, r3, r4, rowAt(dst, dstStep, y), n);
  }
  return kvpStsOk;
}

// ---- up: horizontal pass ------------------------------------------------------

// One source row of width w -> 2w expanded values per channel:
// e[2x] = s[x-1] + 6 s[x] + s[x+1], e[2x+1] = 4 (s[x] + s[x+1]),
// with s[-1] = s[1] and s[w] = s[w-1].
template <class T, int CH>
void upRow(const T* s, int w, Acc<T>* e) {
  using A = Acc<T>;
  if (w == 1) {
    for (int c = 0; c < CH; ++c) e[c] = e[CH + c] = (A)8 * (A)s[c];
    return;
  }
  for (int c = 0; c < CH; ++c) {
    e[c] = (A)6 * (A)s[c] + (A)2 * (A)s[CH + c];
    e[CH + c] = (A)4 * ((A)s[c] + (A)s[CH + c]);
  }
  if constexpr (CH == 1) {
#pragma omp simd
    for (int x = 1; x < w - 1; ++x) {
      e[2 * x] = (A)s[x - 1] + (A)6 * (A)s[x] + (A)s[x + 1];
      e[2 * x + 1] = (A)4 * ((A)s[x] + (A)s[x + 1]);
    }
  } else {
    for (int x = 1; x < w - 1; ++x) {
      const T* p = s + x * CH;
      A* o = e + 2 * x * CH;
      for (int c = 0; c < CH; ++c) {
        o[c] = (A)p[c - CH] + (A)6 * (A)p[c] + (A)p[c + CH];
        o[CH + c] = (A)4 * ((A)p[c] + (A)p[c + CH]);
      }
    }
  }
  const T* p = s + (w - 1) * CH;
  A* o = e + 2 * (w - 1) * CH;
  for (int c = 0; c < CH; ++c) {
    o[c] = (A)p[c - CH] + (A)7 * (A)p[c];
    o[CH + c] = (A)8 * (A)p[c];
  }
}

// ---- up: vertical pass --------------------------------------------------------

template <class T>
inline T upScale(Acc<T> sum) {
  if constexpr (kIsFloat<T>)
    return sum * 0.015625f;
  else
    return (T)((sum + 32) >> 6);
}

// Rows E[y-1], E[y], E[y+1] -> destination rows 2y and 2y + 1.
template <class T>
void upCol(const Acc<T>* ea, const Acc<T>* eb, const Acc<T>* ec, T* d0, T* d1, int n) {
  using A = Acc<T>;
#pragma omp simd
  for (int i = 0; i < n; ++i) {
    d0[i] = upScale<T>(ea[i] + (A)6 * eb[i] + ec[i]);
    d1[i] = upScale<T>((A)4 * (eb[i] + ec[i]));
  }
}

// A single source row: both destination rows are 8 E / 64.
template <class T>
void upColSingle(const Acc<T>* e, T* d0, T* d1, int n) {
#pragma omp simd
  for (int i = 0; i < n; ++i) {
    T v;
    if constexpr (kIsFloat<T>)
      v = e[i] * 0.125f;
    else
      v = (T)((e[i] * 8 + 32) >> 6);
    d0[i] = v;
    d1[i] = v;
  }
}

template <class T, int CH>
KvpStatus pyrUp(const T* src, int srcStep, T* dst, int dstStep, KvpiSize roi, Kvp8u* buffer) {
  using A = Acc<T>;
  if (!src || !dst || !buffer) return kvpStsNullPtr;
  if (KvpStatus st = checkSize(roi)) return st;
  const int w = roi.width, h = roi.height;
  if ((long long)srcStep < (long long)w * CH * (int)sizeof(T)) return kvpStsBadStep;
  if ((long long)dstStep < 2LL * w * CH * (int)sizeof(T)) return kvpStsBadStep;
  if (sizeof(T) > 1 && ((srcStep | dstStep) & (int)(sizeof(T) - 1))) return kvpStsStepNotMultiple;

  const long long rowBytes = upRowBytes(w, CH);
  Kvp8u* base = alignUp(buffer, 64);
  auto slot = [&](int k) { return reinterpret_cast<A*>(base + rowBytes * k); };
  const int n = 2 * w * CH;

  if (h == 1) {
    A* e = slot(0);
    upRow<T, CH>(src, w, e);
    upColSingle<T>(e, dst, rowAt(dst, dstStep, 1), n);
    return kvpStsOk;
  }

  // Three expanded rows in rotation: source row r lives in slot r mod 3.
  int tag[3] = {-1, -1, -1};
  auto erow = [&](int r) -> const A* {
    const int k = r % 3;
    A* out = slot(k);
    if (tag[k] != r) {
      upRow<T, CH>(rowAt(src, srcStep, r), w, out);
      tag[k] = r;
    }
    return out;
  };
  for (int y = 0; y < h; ++y) {
    const A* ea = erow(y == 0 ? 1 : y - 1);
    const A* eb = erow(y);
    const A* ec = erow(y == h - 1 ? y : y + 1);
    upCol<T>(ea, eb, ec, rowAt(dst, dstStep, 2 * y), rowAt(dst, dstStep, 2 * y + 1), n);
  }
  return kvpStsOk;
}

#define KVP_PYR_LEVEL_KERNELS(T, TS, CH)                                                \
  KvpStatus down##TS##C##CH(const T* s, int ss, T* d, int ds, KvpiSize roi, Kvp8u* b) { \
    return pyrDown<T, CH>(s, ss, d, ds, roi, b);                                        \
  }                                                                                     \
  KvpStatus up##TS##C##CH(const T* s, int ss, T* d, int ds, KvpiSize roi, Kvp8u* b) {   \
    return pyrUp<T, CH>(s, ss, d, ds, roi, b);                                          \
  }
KVP_PYR_LEVEL_KERNELS(Kvp8u, 8u, 1)
KVP_PYR_LEVEL_KERNELS(Kvp8u, 8u, 3)
KVP_PYR_LEVEL_KERNELS(Kvp8s, 8s, 1)
KVP_PYR_LEVEL_KERNELS(Kvp8s, 8s, 3)
KVP_PYR_LEVEL_KERNELS(Kvp32f, 32f, 1)
KVP_PYR_LEVEL_KERNELS(Kvp32f, 32f, 3)
#undef KVP_PYR_LEVEL_KERNELS

}  // namespace
}  // namespace kvp::pyr::HWY_NAMESPACE (or plain)
#if KVP_HAVE_HWY
HWY_AFTER_NAMESPACE();
#endif

#if !KVP_HAVE_HWY || HWY_ONCE
namespace kvp::pyr {
#if KVP_HAVE_HWY
#define KVP_PYR_LEVEL(T, TS, CH)                                                               \
  HWY_EXPORT(down##TS##C##CH);                                                                 \
  HWY_EXPORT(up##TS##C##CH);                                                                   \
  KvpStatus levelDown_##TS##_C##CH(const T* s, int ss, T* d, int ds, KvpiSize roi, Kvp8u* b) { \
    return KVP_TARGET_KERNEL(down##TS##C##CH)(s, ss, d, ds, roi, b);                           \
  }                                                                                            \
  KvpStatus levelUp_##TS##_C##CH(const T* s, int ss, T* d, int ds, KvpiSize roi, Kvp8u* b) {   \
    return KVP_TARGET_KERNEL(up##TS##C##CH)(s, ss, d, ds, roi, b);                             \
  }
#else
#define KVP_PYR_LEVEL(T, TS, CH)                                                               \
  KvpStatus levelDown_##TS##_C##CH(const T* s, int ss, T* d, int ds, KvpiSize roi, Kvp8u* b) { \
    return plain::down##TS##C##CH(s, ss, d, ds, roi, b);                                       \
  }                                                                                            \
  KvpStatus levelUp_##TS##_C##CH(const T* s, int ss, T* d, int ds, KvpiSize roi, Kvp8u* b) {   \
    return plain::up##TS##C##CH(s, ss, d, ds, roi, b);                                         \
  }
#endif
KVP_PYR_LEVEL(Kvp8u, 8u, 1)
KVP_PYR_LEVEL(Kvp8u, 8u, 3)
KVP_PYR_LEVEL(Kvp8s, 8s, 1)
KVP_PYR_LEVEL(Kvp8s, 8s, 3)
KVP_PYR_LEVEL(Kvp32f, 32f, 1)
KVP_PYR_LEVEL(Kvp32f, 32f, 3)
#undef KVP_PYR_LEVEL
}  // namespace kvp::pyr
#endif

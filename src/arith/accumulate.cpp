// Accumulation into a single-precision image and absolute differences.
//
// Each operation is one per-pixel functor; accumulate() and absDiff() do the
// rest: the checks in the common order, the 262144-pixel threading
// threshold and the row bands. All arithmetic is single precision in the
// order written (a + s, a + s*s, a + s1*s2, (s - a)*alpha + a); the build
// keeps multiply and add separate.
//
// The row kernels are compiled once per vector target (frame/targets.h);
// the drivers and bodies once.
#if KVP_HAVE_HWY
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "arith/accumulate.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>
#endif
#include "frame/simd.h"

#ifndef KVP_ARITH_ACCUMULATE_COMMON_
#define KVP_ARITH_ACCUMULATE_COMMON_
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "frame/bodies.h"
#include "frame/checks.h"
#include "frame/parallel.h"
#include "frame/targets.h"

namespace kvp::arith {
enum class AccOp { Add, Square, Product, Weighted };
}
#endif

// ---- row kernels, one copy per target --------------------------------------------

#if KVP_HAVE_HWY
HWY_BEFORE_NAMESPACE();
namespace kvp::arith::HWY_NAMESPACE {
#else
namespace kvp::arith::plain {
#endif
namespace {
#if KVP_HAVE_HWY
using namespace kvp::HWY_NAMESPACE;
#endif

// ---- accumulation ----------------------------------------------------------

// Each operation is written once for scalars and for vectors (the vector
// types have the same operators), so the vector body and the scalar tail
// round identically.
struct OpAdd {
  template <class V>
  V operator()(V a, V s, V) const {
    return a + s;
  }
};
struct OpSquare {
  template <class V>
  V operator()(V a, V s, V) const {
    return a + s * s;
  }
};
struct OpProduct {
  template <class V>
  V operator()(V a, V s1, V s2) const {
    return a + s1 * s2;
  }
};
struct OpWeighted {
  float alpha;
  float operator()(float a, float s, float) const { return (s - a) * alpha + a; }
#if KVP_HAVE_HWY
  template <class V>
  V operator()(V a, V s, V) const {
    return (s - a) * hn::Set(hn::DFromV<V>(), alpha) + a;
  }
#endif
};

#if KVP_HAVE_HWY
// Loads Lanes(DF) source elements widened exactly to float.
template <class S>
HWY_INLINE hn::Vec<DF> loadAsFloat(const S* p) {
  const DF df;
  if constexpr (std::is_same_v<S, float>) {
    return hn::LoadU(df, p);
  } else {
    const hn::Rebind<int32_t, DF> di;
    const hn::Rebind<S, DF> ds;
    return hn::ConvertTo(df, hn::PromoteTo(di, hn::LoadU(ds, p)));
  }
}

// The old accumulator as the fallback of a masked store, hidden from the
// optimiser: "mask ? a + t : a" may otherwise be rewritten as
// "a + (mask ? t : -0)", which turns a signalling NaN in a masked-out pixel
// into a quiet one.
template <class V>
HWY_INLINE V opaque(V v) {
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
  asm("" : "+v"(v.raw));
#elif HWY_ARCH_X86
  asm("" : "+x"(v.raw));
#endif
  return v;
}

// Lanes(DF) mask bytes as a float-lane mask, true where the byte is zero
// (the pixel keeps its value): one widening load and one compare, and the
// blend takes the compare's result as it is.
HWY_INLINE hn::Mask<DF> loadMaskedOut(const Kvp8u* p) {
  const DF df;
  const hn::Rebind<int32_t, DF> di;
  const hn::Rebind<Kvp8u, DF> d8;
  return hn::RebindMask(df, hn::Eq(hn::PromoteTo(di, hn::LoadU(d8, p)), hn::Zero(di)));
}
#endif

#if KVP_HAVE_HWY
// One vector of n pixels at x (the mask byte of each pixel, widened to its
// lane, selects the new value or the old bits).
template <bool Masked, class S, class Op>
HWY_INLINE void accVector(const S* s1, const S* s2, const Kvp8u* m, float* acc, int x, Op op) {
  const DF df;
  // A masked row loads the accumulator once into a register that both the
  // arithmetic and the blend read.
  const auto a = Masked ? opaque(hn::LoadU(df, acc + x)) : hn::LoadU(df, acc + x);
  const auto r = op(a, loadAsFloat(s1 + x), loadAsFloat(s2 + x));
  if constexpr (Masked)
    hn::StoreU(hn::IfThenElse(loadMaskedOut(m + x), a, r), df, acc + x);
  else
    hn::StoreU(r, df, acc + x);
}

// The first `head` pixels of the vector at acc (head < Lanes): the other
// lanes are stored back with their old bits, to be updated by the aligned
// vectors that follow.
template <bool Masked, class S, class Op>
HWY_INLINE void accHead(const S* s1, const S* s2, const Kvp8u* m, float* acc, int head, Op op) {
  const DF df;
  const auto a = opaque(hn::LoadU(df, acc));
  const auto r = op(a, loadAsFloat(s1), loadAsFloat(s2));
  auto keep = hn::Not(hn::FirstN(df, (size_t)head));
  if constexpr (Masked) keep = hn::Or(keep, loadMaskedOut(m));
  hn::StoreU(hn::IfThenElse(keep, a, r), df, acc);
}

#if HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_SSE4
// Group G (four pixels) of sixteen whose bytes are b1, b2 and whose mask
// bytes compared with zero are nz.
template <int G, bool Masked, class S, class Op>
HWY_INLINE void accGroup(hn::Vec<D8> b1, hn::Vec<D8> b2, hn::Vec<D8> nz, float* acc, Op op) {
  const DF df;
  constexpr bool isSigned = std::is_signed_v<S>;
  const auto a = hn::LoadU(df, acc + 4 * G);
  const auto r = op(a, bytesToFloat<G>(b1, isSigned), bytesToFloat<G>(b2, isSigned));
  if constexpr (Masked)
    hn::StoreU(hn::IfThenElse(maskGroup<G>(nz), r, opaque(a)), df, acc + 4 * G);
  else
    hn::StoreU(r, df, acc + 4 * G);
}
#endif
#endif

// One row: acc[x] = op(acc[x], s1[x], s2[x]) where the mask allows; a
// masked-out pixel keeps its exact bits.
//
// A masked row is blended in registers: every vector of the row is computed
// and the mask selects, lane by lane, the new value or the old one. No
// branch depends on the mask, so a photograph's mask (long runs broken at
// random places) costs the same as a constant one: one extra load of one
// mask byte per pixel and one blend per vector. Four vectors per step keep
// the loads of the next group in flight while the previous one is stored.
template <bool Masked, class S, class Op>
void accRow(const S* s1, const S* s2, const Kvp8u* m, float* acc, int w, Op op) {
  int x = 0;
#if KVP_HAVE_HWY
  if constexpr (kByteShuffleRows && sizeof(S) == 1) {
#if HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_SSE4
    // Sixteen pixels from one byte load per source (and one of the mask);
    // the mask bytes, compared with zero, are spread to the four groups.
    const D8 d8;
    for (; x + 16 <= w; x += 16) {
      const auto b1 = hn::LoadU(d8, reinterpret_cast<const uint8_t*>(s1 + x));
      const auto b2 = hn::LoadU(d8, reinterpret_cast<const uint8_t*>(s2 + x));
      const auto nz = Masked ? hn::VecFromMask(d8, hn::Ne(hn::LoadU(d8, m + x), hn::Zero(d8))) : hn::Zero(d8);
      accGroup<0, Masked, S>(b1, b2, nz, acc + x, op);
      accGroup<1, Masked, S>(b1, b2, nz, acc + x, op);
      accGroup<2, Masked, S>(b1, b2, nz, acc + x, op);
      accGroup<3, Masked, S>(b1, b2, nz, acc + x, op);
    }
#endif
  } else {
    const int n = (int)hn::Lanes(DF());
    // Stores that straddle two cache lines cost about twice as much as
    // whole ones (a whole 64-byte vector straddles on every store when the
    // accumulator sits 16 bytes off a line, as a large block from the C
    // allocator does): one vector ahead of the loop takes the pixels up to
    // the next vector boundary of the accumulator.
    const int head = (int)((0u - (unsigned)reinterpret_cast<uintptr_t>(acc)) % (unsigned)(n * 4)) / 4;
    if (head && w >= 2 * n && reinterpret_cast<uintptr_t>(acc) % 4 == 0) {
      accHead<Masked>(s1, s2, m, acc, head, op);
      x = head;
    }
    for (; x + 4 * n <= w; x += 4 * n) {
      accVector<Masked>(s1, s2, m, acc, x, op);
      accVector<Masked>(s1, s2, m, acc, x + n, op);
      accVector<Masked>(s1, s2, m, acc, x + 2 * n, op);
      accVector<Masked>(s1, s2, m, acc, x + 3 * n, op);
    }
    for (; x + n <= w; x += n) accVector<Masked>(s1, s2, m, acc, x, op);
  }
#endif
  for (; x < w; ++x)
    if (!Masked || m[x]) acc[x] = op(acc[x], (float)s1[x], (float)s2[x]);
}

// One row of any member: op selects the operation, masked the masked form.
template <class S>
void accRows(AccOp op, bool masked, float alpha, const S* s1, const S* s2, const Kvp8u* m, float* acc,
             int w) {
  switch (op) {
    case AccOp::Add:
      return masked ? accRow<true>(s1, s2, m, acc, w, OpAdd{}) : accRow<false>(s1, s2, m, acc, w, OpAdd{});
    case AccOp::Square:
      return masked ? accRow<true>(s1, s2, m, acc, w, OpSquare{})
                    : accRow<false>(s1, s2, m, acc, w, OpSquare{});
    case AccOp::Product:
      return masked ? accRow<true>(s1, s2, m, acc, w, OpProduct{})
                    : accRow<false>(s1, s2, m, acc, w, OpProduct{});
    case AccOp::Weighted:
      return masked ? accRow<true>(s1, s2, m, acc, w, OpWeighted{alpha})
                    : accRow<false>(s1, s2, m, acc, w, OpWeighted{alpha});
  }
}

#define KVP_ACC_ROWS(TS, T)                                                                                  \
  void accRows##TS(AccOp op, bool masked, float alpha, const T* s1, const T* s2, const Kvp8u* m, float* acc, \
                   int w) {                                                                                  \
    accRows(op, masked, alpha, s1, s2, m, acc, w);                                                           \
  }
KVP_ACC_ROWS(8u, Kvp8u)
KVP_ACC_ROWS(8s, Kvp8s)
KVP_ACC_ROWS(16u, Kvp16u)
KVP_ACC_ROWS(32f, Kvp32f)
#undef KVP_ACC_ROWS

// ---- absolute difference ------------------------------------------------------

template <class T>
inline T absDiff1(T a, T b) {
  if constexpr (std::is_floating_point_v<T>)
    return std::fabs(a - b);
  else
    return a > b ? T(a - b) : T(b - a);
}

#if KVP_HAVE_HWY
// |a - b| of whole vectors: saturating differences both ways for unsigned
// integers (exact), the absolute value of the difference for floats.
template <class V>
HWY_INLINE V absDiffVec(V a, V b) {
  if constexpr (hwy::IsFloat<hn::TFromV<V>>())
    return hn::Abs(hn::Sub(a, b));
  else
    return hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a));
}
#endif

// One row of |a[x] - b[x]|, or |a[x] - v| when b is null.
template <class T>
void absDiffRow(const T* a, const T* b, T v, T* d, int w) {
  int x = 0;
#if KVP_HAVE_HWY
  const hn::ScalableTag<T> dt;
  const int n = (int)hn::Lanes(dt);
  const auto vv = hn::Set(dt, v);
  for (; x + 2 * n <= w; x += 2 * n) {
    const auto b0 = b ? hn::LoadU(dt, b + x) : vv;
    const auto b1 = b ? hn::LoadU(dt, b + x + n) : vv;
    hn::StoreU(absDiffVec(hn::LoadU(dt, a + x), b0), dt, d + x);
    hn::StoreU(absDiffVec(hn::LoadU(dt, a + x + n), b1), dt, d + x + n);
  }
#endif
  for (; x < w; ++x) d[x] = absDiff1(a[x], b ? b[x] : v);
}

#define KVP_ABSDIFF_ROWS(TS, T) \
  void absDiffRows##TS(const T* a, const T* b, T v, T* d, int w) { absDiffRow(a, b, v, d, w); }
KVP_ABSDIFF_ROWS(8u, Kvp8u)
KVP_ABSDIFF_ROWS(16u, Kvp16u)
KVP_ABSDIFF_ROWS(32f, Kvp32f)
#undef KVP_ABSDIFF_ROWS

}  // namespace
}  // namespace kvp::arith::HWY_NAMESPACE (or plain)
#if KVP_HAVE_HWY
HWY_AFTER_NAMESPACE();
#endif

// ---- drivers and bodies, compiled once ------------------------------------------

#if !KVP_HAVE_HWY || HWY_ONCE
namespace kvp::arith {
#if KVP_HAVE_HWY
HWY_EXPORT(accRows8u);
HWY_EXPORT(accRows8s);
HWY_EXPORT(accRows16u);
HWY_EXPORT(accRows32f);
HWY_EXPORT(absDiffRows8u);
HWY_EXPORT(absDiffRows16u);
HWY_EXPORT(absDiffRows32f);
#define KVP_ROWS(fn) KVP_TARGET_KERNEL(fn)
#else
#define KVP_ROWS(fn) (&plain::fn)
#endif

namespace {

// Row bands from 262144 pixels on, for every member that threads. The
// kernels stream about 10 bytes per pixel, so a band of a quarter million
// pixels takes some 100 us on one core, while opening and joining a team
// of two costs a few us: at 1920x1080 (two bands of about a million
// pixels) two threads are never slower than one unless the second core is
// busy with other work.
constexpr long long kThreadArea = 262144;

bool threadedArea(KvpiSize roi) { return (long long)roi.width * roi.height >= kThreadArea; }

// The chosen target's row kernel for source type S.
template <class S>
auto accKernel() {
  if constexpr (std::is_same_v<S, Kvp8u>)
    return KVP_ROWS(accRows8u);
  else if constexpr (std::is_same_v<S, Kvp8s>)
    return KVP_ROWS(accRows8s);
  else if constexpr (std::is_same_v<S, Kvp16u>)
    return KVP_ROWS(accRows16u);
  else
    return KVP_ROWS(accRows32f);
}
template <class T>
auto absDiffKernel() {
  if constexpr (std::is_same_v<T, Kvp8u>)
    return KVP_ROWS(absDiffRows8u);
  else if constexpr (std::is_same_v<T, Kvp16u>)
    return KVP_ROWS(absDiffRows16u);
  else
    return KVP_ROWS(absDiffRows32f);
}

// The family driver. s2 is unused for one-source operations, m when
// unmasked; the planes are checked in argument order (sources, mask, acc).
template <bool Masked, bool TwoSources, class S>
KvpStatus accumulate(const S* s1, int s1Step, const S* s2, int s2Step, const Kvp8u* m, int mStep, Kvp32f* acc,
                     int accStep, KvpiSize roi, AccOp op, float alpha = 0.f) {
  KvpStatus st;
  if (TwoSources && Masked)
    st = checkPlanes(roi, {plane(s1, s1Step), plane(s2, s2Step), plane(m, mStep), plane(acc, accStep)});
  else if (TwoSources)
    st = checkPlanes(roi, {plane(s1, s1Step), plane(s2, s2Step), plane(acc, accStep)});
  else if (Masked)
    st = checkPlanes(roi, {plane(s1, s1Step), plane(m, mStep), plane(acc, accStep)});
  else
    st = checkPlanes(roi, {plane(s1, s1Step), plane(acc, accStep)});
  if (st) return st;

  const auto kernel = accKernel<S>();
  forRowBands(roi.height, threadedArea(roi), [&](int y0, int rows, int) {
    for (int y = y0; y < y0 + rows; ++y) {
      const S* r1 = rowAt(s1, s1Step, y);
      // A one-source operation reads its only source twice; the functor
      // ignores the second value.
      const S* r2 = TwoSources ? rowAt(s2, s2Step, y) : r1;
      const Kvp8u* rm = Masked ? rowAt(m, mStep, y) : nullptr;
      kernel(op, Masked, alpha, r1, r2, rm, rowAt(acc, accStep, y), roi.width);
    }
  });
  return kvpStsOk;
}

// The masked members that mix two values per pixel query the cache size for
// their blocking; a row is streamed once, so the block is the whole row.
void touchCacheSize() {
  int bytes = 0;
  (void)kvpGetMaxCacheSizeB(&bytes);
}

template <class T>
KvpStatus absDiff(const T* s1, int s1Step, const T* s2, int s2Step, T* dst, int dstStep, KvpiSize roi) {
  if (KvpStatus st = checkPlanes(roi, {plane(s1, s1Step), plane(s2, s2Step), plane(dst, dstStep)})) return st;
  const auto kernel = absDiffKernel<T>();
  forRowBands(roi.height, threadedArea(roi), [&](int y0, int rows, int) {
    for (int y = y0; y < y0 + rows; ++y)
      kernel(rowAt(s1, s1Step, y), rowAt(s2, s2Step, y), T(0), rowAt(dst, dstStep, y), roi.width);
  });
  return kvpStsOk;
}

template <class T, class V>
KvpStatus absDiffC(const T* src, int srcStep, T* dst, int dstStep, KvpiSize roi, V value) {
  if (KvpStatus st = checkPlanes(roi, {plane(src, srcStep), plane(dst, dstStep)})) return st;
  T v;
  if constexpr (std::is_floating_point_v<T>) {
    v = value;
  } else {
    constexpr V hi = (V)std::numeric_limits<T>::max();
    v = (T)(value < 0 ? 0 : (value > hi ? hi : value));
  }
  const auto kernel = absDiffKernel<T>();
  forRowBands(roi.height, threadedArea(roi), [&](int y0, int rows, int) {
    for (int y = y0; y < y0 + rows; ++y)
      kernel(rowAt(src, srcStep, y), (const T*)nullptr, v, rowAt(dst, dstStep, y), roi.width);
  });
  return kvpStsOk;
}

}  // namespace
}  // namespace kvp::arith

using namespace kvp::arith;

// ---- exported bodies ---------------------------------------------------------

#define KVP_ACC_ONE_SOURCE(OP, NAME, TS, T)                                                               \
  KvpStatus KVP_BODY(kvpi##OP##_##TS##_C1IR)(const T* pSrc, int srcStep, Kvp32f* pSrcDst, int srcDstStep, \
                                             KvpiSize roiSize) {                                          \
    return accumulate<false, false>(pSrc, srcStep, (const T*)nullptr, 0, nullptr, 0, pSrcDst, srcDstStep, \
                                    roiSize, NAME);                                                       \
  }
#define KVP_ACC_ONE_SOURCE_M(OP, NAME, TS, T)                                                               \
  KvpStatus KVP_BODY(kvpi##OP##_##TS##_C1IMR)(const T* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, \
                                              Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize) {          \
    return accumulate<true, false>(pSrc, srcStep, (const T*)nullptr, 0, pMask, maskStep, pSrcDst,           \
                                   srcDstStep, roiSize, NAME);                                              \
  }

KVP_ACC_ONE_SOURCE(Add, AccOp::Add, 8u32f, Kvp8u)
KVP_ACC_ONE_SOURCE(Add, AccOp::Add, 8s32f, Kvp8s)
KVP_ACC_ONE_SOURCE(Add, AccOp::Add, 16u32f, Kvp16u)
KVP_ACC_ONE_SOURCE_M(Add, AccOp::Add, 8u32f, Kvp8u)
KVP_ACC_ONE_SOURCE_M(Add, AccOp::Add, 8s32f, Kvp8s)
KVP_ACC_ONE_SOURCE_M(Add, AccOp::Add, 16u32f, Kvp16u)
KVP_ACC_ONE_SOURCE_M(Add, AccOp::Add, 32f, Kvp32f)

KVP_ACC_ONE_SOURCE(AddSquare, AccOp::Square, 8u32f, Kvp8u)
KVP_ACC_ONE_SOURCE(AddSquare, AccOp::Square, 8s32f, Kvp8s)
KVP_ACC_ONE_SOURCE(AddSquare, AccOp::Square, 16u32f, Kvp16u)
KVP_ACC_ONE_SOURCE(AddSquare, AccOp::Square, 32f, Kvp32f)
KVP_ACC_ONE_SOURCE_M(AddSquare, AccOp::Square, 8u32f, Kvp8u)
KVP_ACC_ONE_SOURCE_M(AddSquare, AccOp::Square, 8s32f, Kvp8s)
KVP_ACC_ONE_SOURCE_M(AddSquare, AccOp::Square, 16u32f, Kvp16u)
KVP_ACC_ONE_SOURCE_M(AddSquare, AccOp::Square, 32f, Kvp32f)

#define KVP_ACC_PRODUCT(TS, T, CACHE)                                                                        \
  KvpStatus KVP_BODY(kvpiAddProduct_##TS##_C1IR)(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, \
                                                 Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize) {        \
    return accumulate<false, true>(pSrc1, src1Step, pSrc2, src2Step, nullptr, 0, pSrcDst, srcDstStep,        \
                                   roiSize, AccOp::Product);                                                 \
  }                                                                                                          \
  KvpStatus KVP_BODY(kvpiAddProduct_##TS##_C1IMR)(const T* pSrc1, int src1Step, const T* pSrc2,              \
                                                  int src2Step, const Kvp8u* pMask, int maskStep,            \
                                                  Kvp32f* pSrcDst, int srcDstStep, KvpiSize roiSize) {       \
    KvpStatus st = accumulate<true, true>(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep, pSrcDst,        \
                                          srcDstStep, roiSize, AccOp::Product);                              \
    if (CACHE && st == kvpStsOk) touchCacheSize();                                                           \
    return st;                                                                                               \
  }

KVP_ACC_PRODUCT(8u32f, Kvp8u, true)
KVP_ACC_PRODUCT(8s32f, Kvp8s, false)
KVP_ACC_PRODUCT(16u32f, Kvp16u, false)
KVP_ACC_PRODUCT(32f, Kvp32f, true)

#define KVP_ACC_WEIGHTED(TS, T, CACHE)                                                                    \
  KvpStatus KVP_BODY(kvpiAddWeighted_##TS##_C1IR)(const T* pSrc, int srcStep, Kvp32f* pSrcDst,            \
                                                  int srcDstStep, KvpiSize roiSize, Kvp32f alpha) {       \
    return accumulate<false, false>(pSrc, srcStep, (const T*)nullptr, 0, nullptr, 0, pSrcDst, srcDstStep, \
                                    roiSize, AccOp::Weighted, alpha);                                     \
  }                                                                                                       \
  KvpStatus KVP_BODY(kvpiAddWeighted_##TS##_C1IMR)(const T* pSrc, int srcStep, const Kvp8u* pMask,        \
                                                   int maskStep, Kvp32f* pSrcDst, int srcDstStep,         \
                                                   KvpiSize roiSize, Kvp32f alpha) {                      \
    KvpStatus st = accumulate<true, false>(pSrc, srcStep, (const T*)nullptr, 0, pMask, maskStep, pSrcDst, \
                                           srcDstStep, roiSize, AccOp::Weighted, alpha);                  \
    if (CACHE && st == kvpStsOk) touchCacheSize();                                                        \
    return st;                                                                                            \
  }

KVP_ACC_WEIGHTED(8u32f, Kvp8u, false)
KVP_ACC_WEIGHTED(8s32f, Kvp8s, true)
KVP_ACC_WEIGHTED(16u32f, Kvp16u, false)
KVP_ACC_WEIGHTED(32f, Kvp32f, true)

KvpStatus KVP_BODY(kvpiAddWeighted_32f_C1R)(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2,
                                            int src2Step, Kvp32f* pDst, int dstStep, KvpiSize roiSize,
                                            Kvp32f alpha) {
  using namespace kvp;
  if (KvpStatus st =
          checkPlanes(roiSize, {plane(pSrc1, src1Step), plane(pSrc2, src2Step), plane(pDst, dstStep)}))
    return st;
  // Never threaded.
  for (int y = 0; y < roiSize.height; ++y) {
    const float* a = rowAt(pSrc1, src1Step, y);
    const float* b = rowAt(pSrc2, src2Step, y);
    float* d = rowAt(pDst, dstStep, y);
#pragma omp simd
    for (int x = 0; x < roiSize.width; ++x) d[x] = (a[x] - b[x]) * alpha + b[x];
  }
  return kvpStsOk;
}

KvpStatus KVP_BODY(kvpiAbsDiff_8u_C1R)(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step,
                                       Kvp8u* pDst, int dstStep, KvpiSize roiSize) {
  return absDiff(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize);
}
KvpStatus KVP_BODY(kvpiAbsDiff_8u_C3R)(const Kvp8u* pSrc1, int src1Step, const Kvp8u* pSrc2, int src2Step,
                                       Kvp8u* pDst, int dstStep, KvpiSize roiSize) {
  // The one-channel operation on rows three times as wide, checks included.
  // The tripled width is formed as the one-channel call sees it (32-bit).
  const KvpiSize wide{(int)((unsigned)roiSize.width * 3u), roiSize.height};
  return absDiff(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, wide);
}
KvpStatus KVP_BODY(kvpiAbsDiff_16u_C1R)(const Kvp16u* pSrc1, int src1Step, const Kvp16u* pSrc2, int src2Step,
                                        Kvp16u* pDst, int dstStep, KvpiSize roiSize) {
  return absDiff(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize);
}
KvpStatus KVP_BODY(kvpiAbsDiff_32f_C1R)(const Kvp32f* pSrc1, int src1Step, const Kvp32f* pSrc2, int src2Step,
                                        Kvp32f* pDst, int dstStep, KvpiSize roiSize) {
  return absDiff(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize);
}
KvpStatus KVP_BODY(kvpiAbsDiffC_8u_C1R)(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep,
                                        KvpiSize roiSize, int value) {
  return absDiffC(pSrc, srcStep, pDst, dstStep, roiSize, value);
}
KvpStatus KVP_BODY(kvpiAbsDiffC_16u_C1R)(const Kvp16u* pSrc, int srcStep, Kvp16u* pDst, int dstStep,
                                         KvpiSize roiSize, int value) {
  return absDiffC(pSrc, srcStep, pDst, dstStep, roiSize, value);
}
KvpStatus KVP_BODY(kvpiAbsDiffC_32f_C1R)(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep,
                                         KvpiSize roiSize, Kvp32f value) {
  return absDiffC(pSrc, srcStep, pDst, dstStep, roiSize, value);
}

#endif  // !KVP_HAVE_HWY || HWY_ONCE

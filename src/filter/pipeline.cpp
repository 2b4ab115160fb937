// Row and column filter pipelines (all but the float column pass's bodies,
// which live in column32f.dual.cpp) and the buffer-size queries.
//
// The row and column kernels are compiled once per vector target
// (frame/targets.h); the checks, drivers and bodies once. A driver fills a
// job, takes the chosen target's kernel once and runs every band with it.
#if KVP_HAVE_HWY
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/pipeline.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>
#endif
#include "filter/spans.h"

#ifndef KVP_FILTER_PIPELINE_COMMON_
#define KVP_FILTER_PIPELINE_COMMON_
#include <emmintrin.h>

#include "filter/pipeline.h"
#include "frame/bodies.h"
#include "frame/targets.h"

namespace kvp::filt {

// Arithmetic of a row or column pass (the ops of filter/engine.h).
enum Route : int {
  kRouteShift16,   // OpShift, 16-bit sums
  kRouteShift32,   // OpShift, 32-bit sums
  kRouteScaled,    // OpScaled
  kRouteFloatTap,  // OpFloatTap (columns with 3 or 5 taps)
  kRouteLow1,      // OpLow1
  kRouteLowQ,      // OpLowQ
  kRouteLowSym5,   // symmetric 5-tap reduced-precision column, divisor 16
  kRouteF32        // OpF32
};

// Element types of a pass: 8u, 8s, 16s or 32f.
enum Elem : int { kElem8u, kElem8s, kElem16s, kElem32f };

struct RowJob {
  const void* src;
  int srcStep;
  void* const* dst;
  KvpiSize roi;
  int ch, k, anchor, type;
  const void* values;
  Kvp8u* buffer;
  long long area, part1;
  unsigned alignTo;
  const void* taps;
  int route, srcElem, shift;
  float recip;
  int q;
};

struct ColumnJob {
  const void* const* rows;
  void* dst;
  int dstStep, elems, k;
  const void* taps;
  float tapsF[5];  // tap * (1 / divisor) for kRouteFloatTap
  int route, dstElem, shift;
  float recip;
  int q;
  bool stream;  // non-temporal stores (16-bit destinations)
};

// A column job with the fields every column pass fills alike; the caller
// picks the route and what that route reads.
inline ColumnJob columnJob(const void* rows, void* dst, int dstStep, KvpiSize roi, int ch, const void* taps,
                           int k, int dstElem) {
  ColumnJob j{};
  j.rows = static_cast<const void* const*>(rows);
  j.dst = dst;
  j.dstStep = dstStep;
  j.elems = roi.width * ch;
  j.k = k;
  j.taps = taps;
  j.dstElem = dstElem;
  return j;
}

}  // namespace kvp::filt
#endif

// ---- kernels, one copy per target ---------------------------------------------------

#if KVP_HAVE_HWY
HWY_BEFORE_NAMESPACE();
namespace kvp::filt::HWY_NAMESPACE {
#else
namespace kvp::filt::plain {
#endif
namespace {

template <int K, class Op>
void rowBandOf(const Op& op, const RowJob& j, int y0, int rows, int t) {
  using S = typename Op::Src;
  using D = typename Op::Dst;
  S* work = kvp::alignUp<S>(j.buffer + j.part1 + (long long)t * j.area, j.alignTo);
  const S* src = static_cast<const S*>(j.src);
  for (int y = y0; y < y0 + rows; ++y)
    filterRow<K>(op, rowAt(src, j.srcStep, y), j.roi.width, j.ch, j.k, j.anchor, j.type,
                 static_cast<const S*>(j.values), work, static_cast<D*>(j.dst[y]));
}

template <class Op>
void rowBandK(const Op& op, const RowJob& j, int y0, int rows, int t) {
  if (j.k == 3)
    rowBandOf<3>(op, j, y0, rows, t);
  else if (j.k == 5)
    rowBandOf<5>(op, j, y0, rows, t);
  else
    rowBandOf<0>(op, j, y0, rows, t);
}

template <class S>
void rowBandInt(const RowJob& j, int y0, int rows, int t) {
  const Kvp16s* taps = static_cast<const Kvp16s*>(j.taps);
  if (j.route == kRouteShift16)
    rowBandK(OpShift<S, Kvp16s, int16_t>(taps, j.shift), j, y0, rows, t);
  else if (j.route == kRouteShift32)
    rowBandK(OpShift<S, Kvp16s, int32_t>(taps, j.shift), j, y0, rows, t);
  else
    rowBandK(OpScaled<S, Kvp16s>{taps, j.recip}, j, y0, rows, t);
}

// Rows [y0, y0 + rows) of a row pass on thread t.
void rowBand(const RowJob& j, int y0, int rows, int t) {
  const Kvp16s* taps = static_cast<const Kvp16s*>(j.taps);
  switch (j.route) {
    case kRouteLow1:
      return rowBandK(OpLow1{taps}, j, y0, rows, t);
    case kRouteLowQ:
      return rowBandK(OpLowQ{taps, j.q}, j, y0, rows, t);
    case kRouteF32:
      return rowBandK(OpF32{static_cast<const float*>(j.taps)}, j, y0, rows, t);
    default:
      if (j.srcElem == kElem8u)
        rowBandInt<Kvp8u>(j, y0, rows, t);
      else
        rowBandInt<Kvp16s>(j, y0, rows, t);
  }
}

template <class Op>
void columnRowsOf(const Op& op, const ColumnJob& j, int y0, int count) {
  using S = typename Op::Src;
  using D = typename Op::Dst;
  const S* const* rows = reinterpret_cast<const S* const*>(j.rows);
  D* dst = static_cast<D*>(j.dst);
  for (int y = y0; y < y0 + count; ++y) {
    const S* const* r = rows + y;
    D* d = rowAt(dst, j.dstStep, y);
    auto ptrOf = [&](int i) { return r[i]; };
    if (j.k == 3)
      span<3>(op, ptrOf, 3, d, j.elems);
    else if (j.k == 5)
      span<5>(op, ptrOf, 5, d, j.elems);
    else
      span<0>(op, ptrOf, j.k, d, j.elems);
  }
}

template <class D>
void columnInt(const ColumnJob& j, int y0, int count) {
  const Kvp16s* taps = static_cast<const Kvp16s*>(j.taps);
  if (j.route == kRouteShift32)
    columnRowsOf(OpShift<Kvp16s, D, int32_t>(taps, j.shift), j, y0, count);
  else if (j.route == kRouteFloatTap)
    columnRowsOf(OpFloatTap<D>{j.tapsF}, j, y0, count);
  else
    columnRowsOf(OpScaled<Kvp16s, D>{taps, j.recip}, j, y0, count);
}

// Reduced-precision column rows. With stream set, the destination is
// written with non-temporal stores (16-byte aligned blocks; head and tail
// plainly).
template <class RowFn>
void lowStoreRow(Kvp16s* d, int elems, bool stream, RowFn&& compute) {
  if (!stream || ((uintptr_t)d & 1)) {
    compute(0, elems, d);
    return;
  }
  int head = (int)(((16 - ((uintptr_t)d & 15)) & 15) / 2);
  if (head > elems) head = elems;
  if (head) compute(0, head, d);
  int e = head;
  alignas(64) Kvp16s block[512];
  while (elems - e >= 8) {
    int m = elems - e;
    m = (m > 512 ? 512 : m) & ~7;
    compute(e, m, block);
    for (int i = 0; i < m; i += 8)
      _mm_stream_si128(reinterpret_cast<__m128i*>(d + e + i),
                       _mm_load_si128(reinterpret_cast<const __m128i*>(block + i)));
    e += m;
  }
  if (e < elems) compute(e, elems - e, d + e);
}

// Symmetric 5-tap kernel with divisor 16: (r0 + r4) * t0 + (r1 + r3) * t1 +
// r2 * t2 in 16-bit lanes, then the Q14 scale by 1024, which is a shift by 4.
void lowSym5(const Kvp16s* const* r, int t0, int t1, int t2, int e0, int m, Kvp16s* out) {
  const Kvp16s *a = r[0] + e0, *b = r[1] + e0, *c = r[2] + e0, *d = r[3] + e0, *f = r[4] + e0;
#pragma omp simd
  for (int i = 0; i < m; ++i) {
    const uint16_t s = (uint16_t)((uint16_t)((uint16_t)(a[i] + f[i]) * t0) +
                                  (uint16_t)((uint16_t)(b[i] + d[i]) * t1) + (uint16_t)(c[i] * t2));
    out[i] = (Kvp16s)(((int)(int16_t)s * 1024) >> 14);
  }
}

template <class Op>
void lowRowsOf(const Op& op, const ColumnJob& j, int y0, int count) {
  const Kvp16s* const* rows = reinterpret_cast<const Kvp16s* const*>(j.rows);
  for (int y = y0; y < y0 + count; ++y) {
    const Kvp16s* const* r = rows + y;
    lowStoreRow(rowAt(static_cast<Kvp16s*>(j.dst), j.dstStep, y), j.elems, j.stream,
                [&](int e0, int m, Kvp16s* out) {
                  auto ptrOf = [&](int i) { return r[i] + e0; };
                  if (j.k == 3)
                    span<3>(op, ptrOf, 3, out, m);
                  else if (j.k == 5)
                    span<5>(op, ptrOf, 5, out, m);
                  else
                    span<0>(op, ptrOf, j.k, out, m);
                });
  }
}

// Destination rows [y0, y0 + count) of a column pass.
void columnBand(const ColumnJob& j, int y0, int count) {
  const Kvp16s* taps = static_cast<const Kvp16s*>(j.taps);
  switch (j.route) {
    case kRouteF32:
      return columnRowsOf(OpF32{static_cast<const float*>(j.taps)}, j, y0, count);
    case kRouteLowSym5: {
      const Kvp16s* const* rows = reinterpret_cast<const Kvp16s* const*>(j.rows);
      for (int y = y0; y < y0 + count; ++y) {
        const Kvp16s* const* r = rows + y;
        lowStoreRow(rowAt(static_cast<Kvp16s*>(j.dst), j.dstStep, y), j.elems, j.stream,
                    [&](int e0, int m, Kvp16s* out) { lowSym5(r, taps[0], taps[1], taps[2], e0, m, out); });
      }
      break;
    }
    case kRouteLow1:
      lowRowsOf(OpLow1{taps}, j, y0, count);
      break;
    case kRouteLowQ:
      lowRowsOf(OpLowQ{taps, j.q}, j, y0, count);
      break;
    default:
      if (j.dstElem == kElem8u)
        columnInt<Kvp8u>(j, y0, count);
      else if (j.dstElem == kElem8s)
        columnInt<Kvp8s>(j, y0, count);
      else
        columnInt<Kvp16s>(j, y0, count);
      return;
  }
  if (j.stream) _mm_sfence();
}

}  // namespace
}  // namespace kvp::filt::HWY_NAMESPACE (or plain)
#if KVP_HAVE_HWY
HWY_AFTER_NAMESPACE();
#endif

// ---- checks, drivers and bodies, compiled once ---------------------------------------

#if !KVP_HAVE_HWY || HWY_ONCE
namespace kvp::filt {
#if KVP_HAVE_HWY
HWY_EXPORT(rowBand);
HWY_EXPORT(columnBand);
#define KVP_FILTER_KERNEL(fn) KVP_TARGET_KERNEL(fn)
#else
#define KVP_FILTER_KERNEL(fn) (&plain::fn)
#endif

// The chosen target's kernels, named from inside this namespace: a build
// with one static target names the per-target namespace unqualified, which
// is ambiguous from code that also sees kvp's own.
auto rowKernel() { return KVP_FILTER_KERNEL(rowBand); }
auto columnKernel() { return KVP_FILTER_KERNEL(columnBand); }

void column32fRows(const Kvp32f* const* rows, Kvp32f* dst, int dstStep, KvpiSize roi, const Kvp32f* kernel,
                   int k, int ch) {
  ColumnJob j = columnJob(rows, dst, dstStep, roi, ch, kernel, k, kElem32f);
  j.route = kRouteF32;
  columnKernel()(j, 0, roi.height);
}

}  // namespace kvp::filt

namespace {

using namespace kvp;
using namespace kvp::filt;

// ---- row pass -------------------------------------------------------------

template <class S>
KvpStatus checkRow(const S* src, int srcStep, const void* dst, KvpiSize roi, const void* kernel, int k,
                   int anchor, int type, int ch, const void* c3Values, bool hasDivisor, int divisor,
                   const void* buffer) {
  if (!src || !dst || !kernel || !buffer) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1) return kvpStsBadSize;
  if (k < 1) return kvpStsBadSize;
  if (anchor < 0 || anchor >= k) return kvpStsBadAnchor;
  if ((long long)srcStep < (long long)roi.width * ch * (long long)sizeof(S)) return kvpStsBadStep;
  if (sizeof(S) > 1 && (srcStep & (int)(sizeof(S) - 1))) return kvpStsStepNotMultiple;
  if (type < kBorderConst || type > kBorderMirrR) return kvpStsBadArg;
  if (ch == 3 && type == kBorderConst && !c3Values) return kvpStsNullPtr;
  if (hasDivisor && divisor == 0) return kvpStsBadArg;
  return kvpStsOk;
}

enum RowVariant { kRow8u16s, kRow16s, kRowLow, kRow32f };

long long rowArea(int variant, int ch, int k) {
  const long long kk = k;
  switch (variant) {
    case kRow8u16s:
      return ch == 1 ? 36 * kk + 112 : 60 * kk + 112;
    case kRow16s:
      return ch == 1 ? 48 * kk + 80 : 40 * kk + 64;
    case kRowLow:
      return ch == 1 ? 24 * kk + 64 : 208 * kk + 64;
    default:
      return ch == 1 ? 128 * kk + 64 : 192 * kk + 32;
  }
}

// Runs a row pass: the threading test, then every band with the chosen
// target's kernel.
void rowRun(RowJob& j) {
  const int n = clampTeam(ownGetNumThreads());
  const bool threaded = n > 1 && (long long)j.roi.width * j.roi.height >= (long long)n * 32768;
  // Part 1 of the buffer (per-thread pointer arrays) sized for the threads
  // that may run; the work areas follow it.
  j.part1 = (long long)(threaded ? n : 1) * (8LL * (j.roi.height + j.k) + 32);
  const auto kernel = rowKernel();
  forRowBands(j.roi.height, threaded, [&](int y0, int rows, int t) { kernel(j, y0, rows, t); });
}

RowJob rowJob(const void* src, int srcStep, void* const* dst, KvpiSize roi, const void* kernel, int k,
              int anchor, int type, const void* values, Kvp8u* buffer, int ch, long long area) {
  RowJob j{};
  j.src = src;
  j.srcStep = srcStep;
  j.dst = dst;
  j.roi = roi;
  j.ch = ch;
  j.k = k;
  j.anchor = anchor;
  j.type = type;
  j.values = values;
  j.buffer = buffer;
  j.area = area;
  j.alignTo = 16;
  j.taps = kernel;
  return j;
}

template <class S>
KvpStatus rowInteger(int variant, const S* src, int srcStep, Kvp16s** dst, KvpiSize roi, const Kvp16s* kernel,
                     int k, int anchor, int type, const S* values, const S* c3Values, int divisor,
                     Kvp8u* buffer, int ch) {
  if (KvpStatus s =
          checkRow(src, srcStep, dst, roi, kernel, k, anchor, type, ch, c3Values, true, divisor, buffer))
    return s;
  RowJob j = rowJob(src, srcStep, reinterpret_cast<void* const*>(dst), roi, kernel, k, anchor, type, values,
                    buffer, ch, rowArea(variant, ch, k));
  j.srcElem = sizeof(S) == 1 ? kElem8u : kElem16s;
  if (variant == kRowLow) {
    j.alignTo = 32;
    j.route = divisor == 1 ? kRouteLow1 : kRouteLowQ;
    j.q = divisor == 1 ? 0 : quotientQ14(divisor);
  } else {
    const int shift = divisorShift(divisor);
    const long long bound = shift < 0 ? -1 : sumBound(kernel, k, sizeof(S) == 1 ? 255 : 32768);
    j.shift = shift;
    j.recip = 1.0f / (float)divisor;
    if (shift >= 0 && bound + (shift ? 1 << (shift - 1) : 0) <= 32767)
      j.route = kRouteShift16;
    else if (shift >= 0 && bound < (1 << 24))
      j.route = kRouteShift32;
    else
      j.route = kRouteScaled;
  }
  rowRun(j);
  return kvpStsOk;
}

KvpStatus row32f(const Kvp32f* src, int srcStep, Kvp32f** dst, KvpiSize roi, const Kvp32f* kernel, int k,
                 int anchor, int type, const Kvp32f* values, const Kvp32f* c3Values, Kvp8u* buffer, int ch) {
  if (KvpStatus s = checkRow(src, srcStep, dst, roi, kernel, k, anchor, type, ch, c3Values, false, 1, buffer))
    return s;
  RowJob j = rowJob(src, srcStep, reinterpret_cast<void* const*>(dst), roi, kernel, k, anchor, type, values,
                    buffer, ch, rowArea(kRow32f, ch, k));
  j.srcElem = kElem32f;
  j.route = kRouteF32;
  rowRun(j);
  return kvpStsOk;
}

// ---- integer column passes ---------------------------------------------------

void columnRun(const ColumnJob& j, KvpiSize roi) {
  const auto kernel = columnKernel();
  columnBands(roi, columnThreaded(roi, j.k), [&](int y0, int count) { kernel(j, y0, count); });
}

template <class D>
KvpStatus columnInteger(const Kvp16s** rows, D* dst, int dstStep, KvpiSize roi, const Kvp16s* kernel, int k,
                        int divisor, Kvp8u* buffer, int ch) {
  if (KvpStatus s = checkColumn(rows, dst, dstStep, roi, kernel, k, ch * (int)sizeof(D), (int)sizeof(D),
                                buffer, true, divisor))
    return s;
  ColumnJob j = columnJob(rows, dst, dstStep, roi, ch, kernel, k,
                          sizeof(D) == 2             ? kElem16s
                          : std::is_same_v<D, Kvp8u> ? kElem8u
                                                     : kElem8s);
  j.recip = 1.0f / (float)divisor;
  j.shift = divisorShift(divisor);
  if (j.shift >= 0 && sumBound(kernel, k, 32768) < (1 << 24)) {
    j.route = kRouteShift32;
  } else if (k == 3 || k == 5) {
    // Float route: taps pre-multiplied by the reciprocal.
    j.route = kRouteFloatTap;
    for (int i = 0; i < k; ++i) j.tapsF[i] = (float)kernel[i] * j.recip;
  } else {
    j.route = kRouteScaled;
  }
  columnRun(j, roi);
  return kvpStsOk;
}

// Low column pass. Above 262144 pixels the destination is written with
// non-temporal stores, followed by a store fence.
constexpr long long kStreamArea = 262144;

KvpStatus columnLow(const Kvp16s** rows, Kvp16s* dst, int dstStep, KvpiSize roi, const Kvp16s* kernel, int k,
                    int divisor, Kvp8u* buffer, int ch) {
  if (KvpStatus s = checkColumn(rows, dst, dstStep, roi, kernel, k, 2 * ch, 2, buffer, true, divisor))
    return s;
  ColumnJob j = columnJob(rows, dst, dstStep, roi, ch, kernel, k, kElem16s);
  j.stream = (long long)roi.width * roi.height > kStreamArea;
  if (k == 5 && divisor == 16 && kernel[0] == kernel[4] && kernel[1] == kernel[3])
    j.route = kRouteLowSym5;
  else if (divisor == 1)
    j.route = kRouteLow1;
  else
    j.route = kRouteLowQ, j.q = quotientQ14(divisor);
  columnRun(j, roi);
  return kvpStsOk;
}

}  // namespace

extern "C" {

// ---- row bodies ------------------------------------------------------------------

#define KVP_ROW_INT(T, S, V, CH)                                                                           \
  KvpStatus KVP_BODY(kvpiFilterRowBorderPipeline_##T##_C##CH##R)(                                          \
      const S* pSrc, int srcStep, Kvp16s** ppDst, KvpiSize roiSize, const Kvp16s* pKernel, int kernelSize, \
      int xAnchor, int borderType, KVP_ROW_VALUE_##CH(S), int divisor, Kvp8u* pBuffer) {                   \
    return rowInteger<S>(V, pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType,       \
                         KVP_ROW_VALUES_##CH, KVP_ROW_C3_##CH, divisor, pBuffer, CH);                      \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiFilterRowBorderPipelineGetBufferSize_##T##_C##CH##R)(                             \
      KvpiSize roiSize, int kernelSize, int* pBufferSize) {                                                \
    return bufferSize(roiSize, kernelSize, pBufferSize, rowArea(V, CH, kernelSize));                       \
  }

#define KVP_ROW_VALUE_1(S) S borderValue
#define KVP_ROW_VALUE_3(S) const S* pBorderValue
#define KVP_ROW_VALUES_1 &borderValue
#define KVP_ROW_VALUES_3 pBorderValue
#define KVP_ROW_C3_1 nullptr
#define KVP_ROW_C3_3 pBorderValue

KVP_ROW_INT(8u16s, Kvp8u, kRow8u16s, 1)
KVP_ROW_INT(8u16s, Kvp8u, kRow8u16s, 3)
KVP_ROW_INT(16s, Kvp16s, kRow16s, 1)
KVP_ROW_INT(16s, Kvp16s, kRow16s, 3)
KVP_ROW_INT(Low_16s, Kvp16s, kRowLow, 1)
KVP_ROW_INT(Low_16s, Kvp16s, kRowLow, 3)

KvpStatus KVP_BODY(kvpiFilterRowBorderPipeline_32f_C1R)(const Kvp32f* pSrc, int srcStep, Kvp32f** ppDst,
                                                        KvpiSize roiSize, const Kvp32f* pKernel,
                                                        int kernelSize, int xAnchor, int borderType,
                                                        Kvp32f borderValue, Kvp8u* pBuffer) {
  return row32f(pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, &borderValue,
                nullptr, pBuffer, 1);
}

KvpStatus KVP_BODY(kvpiFilterRowBorderPipeline_32f_C3R)(const Kvp32f* pSrc, int srcStep, Kvp32f** ppDst,
                                                        KvpiSize roiSize, const Kvp32f* pKernel,
                                                        int kernelSize, int xAnchor, int borderType,
                                                        const Kvp32f* pBorderValue, Kvp8u* pBuffer) {
  return row32f(pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, pBorderValue,
                pBorderValue, pBuffer, 3);
}

KvpStatus KVP_BODY(kvpiFilterRowBorderPipelineGetBufferSize_32f_C1R)(KvpiSize roiSize, int kernelSize,
                                                                     int* pBufferSize) {
  return bufferSize(roiSize, kernelSize, pBufferSize, rowArea(kRow32f, 1, kernelSize));
}

KvpStatus KVP_BODY(kvpiFilterRowBorderPipelineGetBufferSize_32f_C3R)(KvpiSize roiSize, int kernelSize,
                                                                     int* pBufferSize) {
  return bufferSize(roiSize, kernelSize, pBufferSize, rowArea(kRow32f, 3, kernelSize));
}

// ---- column bodies ---------------------------------------------------------------

#define KVP_COL_INT(T, D, CH, AREA)                                                                          \
  KvpStatus KVP_BODY(kvpiFilterColumnPipeline_##T##_C##CH##R)(const Kvp16s** ppSrc, D* pDst, int dstStep,    \
                                                              KvpiSize dstRoiSize, const Kvp16s* pKernel,    \
                                                              int kernelSize, int divisor, Kvp8u* pBuffer) { \
    return columnInteger<D>(ppSrc, pDst, dstStep, dstRoiSize, pKernel, kernelSize, divisor, pBuffer, CH);    \
  }                                                                                                          \
  KvpStatus KVP_BODY(kvpiFilterColumnPipelineGetBufferSize_##T##_C##CH##R)(KvpiSize roiSize, int kernelSize, \
                                                                           int* pBufferSize) {               \
    return bufferSize(roiSize, kernelSize, pBufferSize, AREA);                                               \
  }

KVP_COL_INT(16s, Kvp16s, 1, 12LL * align4(roiSize.width) + 32)
KVP_COL_INT(16s, Kvp16s, 3, 36LL * align4(roiSize.width) + 32)
KVP_COL_INT(16s8u, Kvp8u, 1, 12LL * align4(roiSize.width) + 32)
KVP_COL_INT(16s8u, Kvp8u, 3, 36LL * align4(roiSize.width) + 32)
KVP_COL_INT(16s8s, Kvp8s, 1, 12LL * align4(roiSize.width) + 32)
KVP_COL_INT(16s8s, Kvp8s, 3, 36LL * align4(roiSize.width) + 32)

KvpStatus KVP_BODY(kvpiFilterColumnPipeline_Low_16s_C1R)(const Kvp16s** ppSrc, Kvp16s* pDst, int dstStep,
                                                         KvpiSize dstRoiSize, const Kvp16s* pKernel,
                                                         int kernelSize, int divisor, Kvp8u* pBuffer) {
  return columnLow(ppSrc, pDst, dstStep, dstRoiSize, pKernel, kernelSize, divisor, pBuffer, 1);
}

KvpStatus KVP_BODY(kvpiFilterColumnPipeline_Low_16s_C3R)(const Kvp16s** ppSrc, Kvp16s* pDst, int dstStep,
                                                         KvpiSize dstRoiSize, const Kvp16s* pKernel,
                                                         int kernelSize, int divisor, Kvp8u* pBuffer) {
  return columnLow(ppSrc, pDst, dstStep, dstRoiSize, pKernel, kernelSize, divisor, pBuffer, 3);
}

KvpStatus KVP_BODY(kvpiFilterColumnPipelineGetBufferSize_Low_16s_C1R)(KvpiSize roiSize, int kernelSize,
                                                                      int* pBufferSize) {
  return bufferSize(roiSize, kernelSize, pBufferSize, 12LL * align8(roiSize.width) + 32);
}

KvpStatus KVP_BODY(kvpiFilterColumnPipelineGetBufferSize_Low_16s_C3R)(KvpiSize roiSize, int kernelSize,
                                                                      int* pBufferSize) {
  return bufferSize(roiSize, kernelSize, pBufferSize, 36LL * align8(roiSize.width) + 32);
}

// The float column pass never runs threaded and needs no buffer memory.
KvpStatus KVP_BODY(kvpiFilterColumnPipelineGetBufferSize_32f_C1R)(KvpiSize roiSize, int kernelSize,
                                                                  int* pBufferSize) {
  if (!pBufferSize) return kvpStsNullPtr;
  if (roiSize.width < 1 || roiSize.height < 1 || kernelSize < 1) return kvpStsBadSize;
  *pBufferSize = 32;
  return kvpStsOk;
}

KvpStatus KVP_BODY(kvpiFilterColumnPipelineGetBufferSize_32f_C3R)(KvpiSize roiSize, int kernelSize,
                                                                  int* pBufferSize) {
  if (!pBufferSize) return kvpStsNullPtr;
  if (roiSize.width < 1 || roiSize.height < 1 || kernelSize < 1) return kvpStsBadSize;
  *pBufferSize = 32;
  return kvpStsOk;
}

}  // extern "C"
#endif  // !KVP_HAVE_HWY || HWY_ONCE

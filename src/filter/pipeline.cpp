// Row and column filter pipelines (all but the float column pass, which has
// two bodies and lives in column32f.dual.cpp) and the buffer-size queries.
#include "filter/pipeline.h"

#include <emmintrin.h>

#include "frame/bodies.h"

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

// Work area of one thread in bytes, as the size query reports it.
long long rowArea(int variant, int ch, int k);

enum RowVariant { kRow8u16s, kRow16s, kRowLow, kRow32f };

template <int K, class Op>
void rowRun(const Op& op, const typename Op::Src* src, int srcStep, typename Op::Dst* const* dst,
            KvpiSize roi, int ch, int k, int anchor, int type, const typename Op::Src* values, Kvp8u* buffer,
            long long area, unsigned alignTo) {
  using S = typename Op::Src;
  const int n = clampTeam(ownGetNumThreads());
  const bool threaded = n > 1 && (long long)roi.width * roi.height >= (long long)n * 32768;
  // Part 1 of the buffer (per-thread pointer arrays) sized for the threads
  // that may run; the work areas follow it.
  const long long part1 = (long long)(threaded ? n : 1) * (8LL * (roi.height + k) + 32);
  forRowBands(roi.height, threaded, [&](int y0, int rows, int t) {
    S* work = alignUp<S>(buffer + part1 + (long long)t * area, alignTo);
    for (int y = y0; y < y0 + rows; ++y)
      filterRow<K>(op, rowAt(src, srcStep, y), roi.width, ch, k, anchor, type, values, work, dst[y]);
  });
}

template <class Op>
void rowDispatch(const Op& op, const typename Op::Src* src, int srcStep, typename Op::Dst* const* dst,
                 KvpiSize roi, int ch, int k, int anchor, int type, const typename Op::Src* values,
                 Kvp8u* buffer, long long area, unsigned alignTo) {
  if (k == 3)
    rowRun<3>(op, src, srcStep, dst, roi, ch, k, anchor, type, values, buffer, area, alignTo);
  else if (k == 5)
    rowRun<5>(op, src, srcStep, dst, roi, ch, k, anchor, type, values, buffer, area, alignTo);
  else
    rowRun<0>(op, src, srcStep, dst, roi, ch, k, anchor, type, values, buffer, area, alignTo);
}

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

template <class S>
KvpStatus rowInteger(int variant, const S* src, int srcStep, Kvp16s** dst, KvpiSize roi, const Kvp16s* kernel,
                     int k, int anchor, int type, const S* values, const S* c3Values, int divisor,
                     Kvp8u* buffer, int ch) {
  if (KvpStatus s =
          checkRow(src, srcStep, dst, roi, kernel, k, anchor, type, ch, c3Values, true, divisor, buffer))
    return s;
  const long long area = rowArea(variant, ch, k);
  if (variant == kRowLow) {
    if (divisor == 1)
      rowDispatch(OpLow1{kernel}, (const Kvp16s*)src, srcStep, dst, roi, ch, k, anchor, type,
                  (const Kvp16s*)values, buffer, area, 32);
    else
      rowDispatch(OpLowQ{kernel, quotientQ14(divisor)}, (const Kvp16s*)src, srcStep, dst, roi, ch, k, anchor,
                  type, (const Kvp16s*)values, buffer, area, 32);
  } else {
    const int shift = divisorShift(divisor);
    const long long bound = shift < 0 ? -1 : sumBound(kernel, k, sizeof(S) == 1 ? 255 : 32768);
    if (shift >= 0 && bound + (shift ? 1 << (shift - 1) : 0) <= 32767)
      rowDispatch(OpShift<S, Kvp16s, int16_t>(kernel, shift), src, srcStep, dst, roi, ch, k, anchor, type,
                  values, buffer, area, 16);
    else if (shift >= 0 && bound < (1 << 24))
      rowDispatch(OpShift<S, Kvp16s, int32_t>(kernel, shift), src, srcStep, dst, roi, ch, k, anchor, type,
                  values, buffer, area, 16);
    else
      rowDispatch(OpScaled<S, Kvp16s>{kernel, 1.0f / (float)divisor}, src, srcStep, dst, roi, ch, k, anchor,
                  type, values, buffer, area, 16);
  }
  return kvpStsOk;
}

KvpStatus row32f(const Kvp32f* src, int srcStep, Kvp32f** dst, KvpiSize roi, const Kvp32f* kernel, int k,
                 int anchor, int type, const Kvp32f* values, const Kvp32f* c3Values, Kvp8u* buffer, int ch) {
  if (KvpStatus s = checkRow(src, srcStep, dst, roi, kernel, k, anchor, type, ch, c3Values, false, 1, buffer))
    return s;
  rowDispatch(OpF32{kernel}, src, srcStep, dst, roi, ch, k, anchor, type, values, buffer,
              rowArea(kRow32f, ch, k), 16);
  return kvpStsOk;
}

// ---- integer column passes ---------------------------------------------------

template <class D>
KvpStatus columnInteger(const Kvp16s** rows, D* dst, int dstStep, KvpiSize roi, const Kvp16s* kernel, int k,
                        int divisor, Kvp8u* buffer, int ch) {
  if (KvpStatus s = checkColumn(rows, dst, dstStep, roi, kernel, k, ch * (int)sizeof(D), (int)sizeof(D),
                                buffer, true, divisor))
    return s;
  const int elems = roi.width * ch;
  const float recip = 1.0f / (float)divisor;
  const int shift = divisorShift(divisor);
  if (shift >= 0 && sumBound(kernel, k, 32768) < (1 << 24)) {
    const OpShift<Kvp16s, D, int32_t> op(kernel, shift);
    columnBands(roi, columnThreaded(roi, k),
                [&](int y0, int count) { columnDispatch(op, rows, dst, dstStep, elems, k, y0, count); });
  } else if (k == 3 || k == 5) {
    // Float route: taps pre-multiplied by the reciprocal.
    float taps[5];
    for (int j = 0; j < k; ++j) taps[j] = (float)kernel[j] * recip;
    const OpFloatTap<D> op{taps};
    columnBands(roi, columnThreaded(roi, k), [&](int y0, int count) {
      if (k == 3)
        columnRows<3>(op, rows, dst, dstStep, elems, k, y0, count);
      else
        columnRows<5>(op, rows, dst, dstStep, elems, k, y0, count);
    });
  } else {
    const OpScaled<Kvp16s, D> op{kernel, recip};
    columnBands(roi, columnThreaded(roi, k),
                [&](int y0, int count) { columnRows<0>(op, rows, dst, dstStep, elems, k, y0, count); });
  }
  return kvpStsOk;
}

// Low column pass. Above 262144 pixels the destination is written with
// non-temporal stores (16-byte aligned blocks; head and tail plainly),
// followed by a store fence.
constexpr long long kStreamArea = 262144;

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
  alignas(16) Kvp16s block[512];
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
void lowColumnRows(const Op& op, const Kvp16s* const* rows, Kvp16s* dst, int dstStep, int elems, int k,
                   int y0, int count, bool stream) {
  for (int y = y0; y < y0 + count; ++y) {
    const Kvp16s* const* r = rows + y;
    lowStoreRow(rowAt(dst, dstStep, y), elems, stream, [&](int e0, int m, Kvp16s* out) {
      auto ptrOf = [&](int j) { return r[j] + e0; };
      if (k == 3)
        span<3>(op, ptrOf, k, out, m);
      else if (k == 5)
        span<5>(op, ptrOf, k, out, m);
      else
        span<0>(op, ptrOf, k, out, m);
    });
  }
}

KvpStatus columnLow(const Kvp16s** rows, Kvp16s* dst, int dstStep, KvpiSize roi, const Kvp16s* kernel, int k,
                    int divisor, Kvp8u* buffer, int ch) {
  if (KvpStatus s = checkColumn(rows, dst, dstStep, roi, kernel, k, 2 * ch, 2, buffer, true, divisor))
    return s;
  const int elems = roi.width * ch;
  const bool stream = (long long)roi.width * roi.height > kStreamArea;
  const bool sym5 = k == 5 && divisor == 16 && kernel[0] == kernel[4] && kernel[1] == kernel[3];
  const bool threaded = columnThreaded(roi, k);
  if (sym5) {
    const int t0 = kernel[0], t1 = kernel[1], t2 = kernel[2];
    columnBands(roi, threaded, [&](int y0, int count) {
      for (int y = y0; y < y0 + count; ++y) {
        const Kvp16s* const* r = rows + y;
        lowStoreRow(rowAt(dst, dstStep, y), elems, stream,
                    [&](int e0, int m, Kvp16s* out) { lowSym5(r, t0, t1, t2, e0, m, out); });
      }
      if (stream) _mm_sfence();
    });
  } else if (divisor == 1) {
    const OpLow1 op{kernel};
    columnBands(roi, threaded, [&](int y0, int count) {
      lowColumnRows(op, rows, dst, dstStep, elems, k, y0, count, stream);
      if (stream) _mm_sfence();
    });
  } else {
    const OpLowQ op{kernel, quotientQ14(divisor)};
    columnBands(roi, threaded, [&](int y0, int count) {
      lowColumnRows(op, rows, dst, dstStep, elems, k, y0, count, stream);
      if (stream) _mm_sfence();
    });
  }
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

// Non-flat (gray-scale) erosion and dilation: every cell of the value mask
// is a member; erosion is the minimum of source minus value, dilation the
// maximum of source plus value, with replicated borders.
//
// 8u: the values are clamped to [-255, 255] at Init (a term beyond [0, 255]
// stays beyond it on the same side) and each term is saturated to [0, 255]
// before the extremum: saturation is monotone, so the minimum of the
// saturated terms is the saturated minimum of the exact ones, and all the
// arithmetic stays in byte lanes. 32f: each term is one IEEE single
// addition or subtraction.
//
// A band keeps the mH bordered source rows an output row needs in a ring
// in its slice; each output row folds the mW x mH terms into an
// accumulator row.
#include <cmath>

#include "frame/bodies.h"
#include "frame/checks.h"
#include "morph/morph.h"

namespace kvp::morph {
namespace {

template <class T>
using Value = std::conditional_t<std::is_same_v<T, Kvp8u>, Kvp32s, Kvp32f>;

template <class T>
KvpStatus grayGetSize(int roiWidth, KvpiSize maskSize, int* pSize) {
  if (!pSize) return kvpStsNullPtr;
  if (roiWidth < 1 || maskSize.width < 1 || maskSize.height < 1) return kvpStsBadSize;
  const Wide bytes =
      maskedStateBytes(roiWidth, maskSize.width, maskSize.height, sizeof(T), 4, ownGetNumThreads());
  if (bytes > kMaxState) return kvpStsBadSize;
  *pSize = (int)bytes;
  return kvpStsOk;
}

template <class T, class Opaque>
KvpStatus grayInit(int roiWidth, const Value<T>* pMask, KvpiSize maskSize, KvpiPoint anchor, void* mem,
                   Opaque** ppState) {
  if (!pMask || !ppState) return kvpStsNullPtr;
  if (KvpStatus s = checkMaskArgs(KvpiSize{roiWidth, 1}, maskSize, anchor)) return s;
  const long long cells = (long long)maskSize.width * maskSize.height;
  if constexpr (std::is_floating_point_v<Value<T>>)
    for (long long i = 0; i < cells; ++i)
      if (std::isnan(pMask[i])) return kvpStsBadArg;
  const int n = ownGetNumThreads();
  const Wide bytes = maskedStateBytes(roiWidth, maskSize.width, maskSize.height, sizeof(T), 4, n);
  if (bytes > kMaxState) return kvpStsBadSize;
  auto build = [&](MorphHead* h, unsigned char*) {
    h->maxW = roiWidth;
    h->mW = maskSize.width, h->mH = maskSize.height, h->ax = anchor.x, h->ay = anchor.y;
    h->bw = h->mW, h->bh = h->mH;
    h->slices = n;
    h->maskOff = kRegions;
    h->runOff = h->maskOff + (long long)a64(4 * (Wide)cells);
    h->sliceOff = h->runOff + (long long)a64(8 * (Wide)cells);
    h->sliceSize = (long long)sliceBytes(roiWidth, maskSize.width, maskSize.height, sizeof(T));
    h->rowSize = (long long)rowBytes(roiWidth, maskSize.width, sizeof(T));
    Value<T>* v = reinterpret_cast<Value<T>*>(baseOf(h) + h->maskOff);
    for (long long i = 0; i < cells; ++i)
      if constexpr (std::is_same_v<T, Kvp8u>)
        v[i] = std::clamp(pMask[i], -255, 255);
      else
        v[i] = pMask[i];
  };
  const Kvp32u kind = kindOf<T>(kGray, 1);
  if (mem) return initState<Opaque, MorphHead>(mem, kind, ppState, build);
  return allocState<Opaque, MorphHead>((long long)bytes, kind, ppState, build);
}

// acc[e] = ext(acc[e], term(b[e], m)) over n elements (first: acc = term).
template <class T, bool Dilate, bool first>
inline void foldTerm(T* __restrict acc, const T* __restrict b, Value<T> m, int n) {
  if constexpr (std::is_same_v<T, Kvp8u>) {
    // Saturated b + m (dilation) or b - m (erosion) as one byte operation.
    const bool add = Dilate ? m >= 0 : m < 0;
    const Kvp8u k = (Kvp8u)(m < 0 ? -m : m), room = (Kvp8u)(255 - k);
    if (add) {
#pragma omp simd
      for (int e = 0; e < n; ++e) {
        const Kvp8u t = (Kvp8u)((b[e] < room ? b[e] : room) + k);
        acc[e] = first ? t : (Dilate ? (acc[e] < t ? t : acc[e]) : (t < acc[e] ? t : acc[e]));
      }
    } else {
#pragma omp simd
      for (int e = 0; e < n; ++e) {
        const Kvp8u t = (Kvp8u)(b[e] - (b[e] < k ? b[e] : k));
        acc[e] = first ? t : (Dilate ? (acc[e] < t ? t : acc[e]) : (t < acc[e] ? t : acc[e]));
      }
    }
  } else {
#pragma omp simd
    for (int e = 0; e < n; ++e) {
      const T t = Dilate ? b[e] + m : b[e] - m;
      acc[e] = first ? t : (Dilate ? (acc[e] < t ? t : acc[e]) : (t < acc[e] ? t : acc[e]));
    }
  }
}

template <class T, bool Dilate>
void grayBand(MorphHead* h, int t, const T* src, int srcStep, T* dst, int dstStep, int W, int H, int y0,
              int rows) {
  const int mW = h->mW, mH = h->mH, lenPix = W + mW - 1;
  const Value<T>* m = reinterpret_cast<const Value<T>*>(baseOf(h) + h->maskOff);
  auto ring = [&](long long s) { return reinterpret_cast<T*>(sliceRow(h, t, 1 + floorMod(s, mH))); };
  auto load = [&](long long s) {
    borderRow(ring(s), rowAt(src, srcStep, (int)std::clamp<long long>(s, 0, H - 1)), W, 1, -h->ax, lenPix);
  };
  const long long s0 = (long long)y0 - h->ay;
  for (long long s = s0; s < s0 + mH - 1; ++s) load(s);
  for (int k = 0; k < rows; ++k) {
    load(s0 + k + mH - 1);
    T* d = rowAt(dst, dstStep, y0 + k);
    for (int j = 0; j < mH; ++j) {
      const T* b = ring(s0 + k + j);
      for (int i = 0; i < mW; ++i)
        if (i == 0 && j == 0)
          foldTerm<T, Dilate, true>(d, b, m[0], W);
        else
          foldTerm<T, Dilate, false>(d, b + i, m[(long long)j * mW + i], W);
    }
  }
}

template <class T, bool Dilate, class Opaque>
KvpStatus grayCall(const T* pSrc, int srcStep, T* pDst, int dstStep, KvpiSize roi, KvpiBorderType border,
                   Opaque* pState) {
  MorphHead* h = nullptr;
  if (KvpStatus s = checkCall<T, 1>(kGray, pSrc, srcStep, pDst, dstStep, roi, border, pState, &h)) return s;
  forRowBands(
      roi.height, threadedCall(h, roi.width, roi.height),
      [&](int y0, int rows, int t) {
        grayBand<T, Dilate>(h, t, pSrc, srcStep, pDst, dstStep, roi.width, roi.height, y0, rows);
      },
      h->slices);
  return kvpStsOk;
}

}  // namespace
}  // namespace kvp::morph

using namespace kvp::morph;

extern "C" {

#define KVP_MORPH_GRAY(TS, T, MT)                                                                         \
  KvpStatus KVP_BODY(kvpiMorphGrayGetSize_##TS##_C1R)(int roiWidth, KvpiSize maskSize, int* pSize) {      \
    return grayGetSize<T>(roiWidth, maskSize, pSize);                                                     \
  }                                                                                                       \
  KvpStatus KVP_BODY(kvpiMorphGrayInit_##TS##_C1R)(int roiWidth, const MT* pMask, KvpiSize maskSize,      \
                                                   KvpiPoint anchor, KvpiMorphGrayState_##TS* pState) {   \
    KvpiMorphGrayState_##TS* out = nullptr;                                                               \
    return pState ? grayInit<T>(roiWidth, pMask, maskSize, anchor, pState, &out) : kvpStsNullPtr;         \
  }                                                                                                       \
  KvpStatus KVP_BODY(kvpiMorphGrayInitAlloc_##TS##_C1R)(int roiWidth, const MT* pMask, KvpiSize maskSize, \
                                                        KvpiPoint anchor,                                 \
                                                        KvpiMorphGrayState_##TS** ppState) {              \
    return grayInit<T>(roiWidth, pMask, maskSize, anchor, nullptr, ppState);                              \
  }                                                                                                       \
  KvpStatus KVP_BODY(kvpiMorphGrayFree_##TS##_C1R)(KvpiMorphGrayState_##TS * pState) {                    \
    return freeOf(pState, kGray, kindOf<T>(kGray, 1));                                                    \
  }                                                                                                       \
  KvpStatus KVP_BODY(kvpiGrayErodeBorder_##TS##_C1R)(const T* pSrc, int srcStep, T* pDst, int dstStep,    \
                                                     KvpiSize roiSize, KvpiBorderType borderType,         \
                                                     KvpiMorphGrayState_##TS* pState) {                   \
    return grayCall<T, false>(pSrc, srcStep, pDst, dstStep, roiSize, borderType, pState);                 \
  }                                                                                                       \
  KvpStatus KVP_BODY(kvpiGrayDilateBorder_##TS##_C1R)(const T* pSrc, int srcStep, T* pDst, int dstStep,   \
                                                      KvpiSize roiSize, KvpiBorderType borderType,        \
                                                      KvpiMorphGrayState_##TS* pState) {                  \
    return grayCall<T, true>(pSrc, srcStep, pDst, dstStep, roiSize, borderType, pState);                  \
  }

KVP_MORPH_GRAY(8u, Kvp8u, Kvp32s)
KVP_MORPH_GRAY(32f, Kvp32f, Kvp32f)

}  // extern "C"

// Flat morphology: the states of a byte mask (plain and with the
// intermediate image of the derived operations), erosion and dilation with
// replicated borders, and opening, closing, top-hat, black-hat and
// gradient built on them.
#include "frame/bodies.h"
#include "frame/checks.h"
#include "morph/morph.h"

namespace kvp::morph {
namespace {

inline bool anyMember(const Kvp8u* m, KvpiSize maskSize) {
  const long long cells = (long long)maskSize.width * maskSize.height;
  for (long long i = 0; i < cells; ++i)
    if (m[i]) return true;
  return false;
}

// Bytes of a flat (F = kFlat, roi.height unused) or derived state.
template <class T, int CN>
Wide flatBytes(Family f, KvpiSize roi, KvpiSize maskSize, int n) {
  const long long ps = (long long)CN * sizeof(T);
  return f == kFlat ? maskedStateBytes(roi.width, maskSize.width, maskSize.height, ps, 1, n)
                    : advStateBytes(roi.width, roi.height, maskSize.width, maskSize.height, ps, n);
}

template <class T, int CN>
KvpStatus getSize(Family f, KvpiSize roi, KvpiSize maskSize, int* pSize) {
  if (!pSize) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1 || maskSize.width < 1 || maskSize.height < 1) return kvpStsBadSize;
  const Wide bytes = flatBytes<T, CN>(f, roi, maskSize, ownGetNumThreads());
  if (bytes > kMaxState) return kvpStsBadSize;
  *pSize = (int)bytes;
  return kvpStsOk;
}

// Init (mem, into *ppState) or InitAlloc (mem null).
template <class T, int CN, class Opaque>
KvpStatus init(Family f, KvpiSize roi, const Kvp8u* pMask, KvpiSize maskSize, KvpiPoint anchor, void* mem,
               Opaque** ppState) {
  if (!pMask || !ppState) return kvpStsNullPtr;
  if (KvpStatus s = checkMaskArgs(roi, maskSize, anchor)) return s;
  if (!anyMember(pMask, maskSize)) return kvpStsBadArg;
  const int n = ownGetNumThreads();
  const Wide bytes = flatBytes<T, CN>(f, roi, maskSize, n);
  if (bytes > kMaxState) return kvpStsBadSize;
  const long long ps = (long long)CN * sizeof(T);
  auto build = [&](MorphHead* h, unsigned char*) {
    h->maxW = roi.width;
    h->maxH = f == kAdv ? roi.height : 0;
    h->mW = maskSize.width, h->mH = maskSize.height, h->ax = anchor.x, h->ay = anchor.y;
    h->slices = n;
    const long long cells = (long long)maskSize.width * maskSize.height;
    h->maskOff = kRegions;
    h->runOff = h->maskOff + (long long)a64(cells);
    h->sliceOff = h->runOff + (long long)a64(8 * (Wide)cells);
    h->sliceSize = (long long)sliceBytes(roi.width, maskSize.width, maskSize.height, ps);
    h->rowSize = (long long)rowBytes(roi.width, maskSize.width, ps);
    h->imOff = (long long)a64(h->sliceOff + (Wide)n * h->sliceSize);
    h->imStep = (long long)a64((Wide)roi.width * ps);
    std::memcpy(baseOf(h) + h->maskOff, pMask, (size_t)cells);
    analyseFlat(h);
  };
  const Kvp32u kind = f == kFlat ? kindOf<T>(kFlat, CN) : kindOf<T>(kAdv, CN);
  if (mem) return initState<Opaque, MorphHead>(mem, kind, ppState, build);
  return allocState<Opaque, MorphHead>((long long)bytes, kind, ppState, build);
}

template <class T, int CN, bool Dilate>
KvpStatus erodeDilate(const T* pSrc, int srcStep, T* pDst, int dstStep, KvpiSize roi, KvpiBorderType border,
                      KvpiMorphState* pState) {
  MorphHead* h = nullptr;
  if (KvpStatus s = checkCall<T, CN>(kFlat, pSrc, srcStep, pDst, dstStep, roi, border, pState, &h)) return s;
  if (Dilate)
    runFlat<T, MaxOp<T>, Post::Copy>(h, pSrc, srcStep, pDst, dstStep, nullptr, 0, roi.width, roi.height, CN);
  else
    runFlat<T, MinOp<T>, Post::Copy>(h, pSrc, srcStep, pDst, dstStep, nullptr, 0, roi.width, roi.height, CN);
  return kvpStsOk;
}

enum class Adv { Open, Close, Tophat, Blackhat, Gradient };

template <class T, int CN, Adv A>
KvpStatus derived(const T* pSrc, int srcStep, T* pDst, int dstStep, KvpiSize roi, KvpiBorderType border,
                  KvpiMorphAdvState* pState) {
  MorphHead* h = nullptr;
  if (KvpStatus s = checkCall<T, CN>(kAdv, pSrc, srcStep, pDst, dstStep, roi, border, pState, &h)) return s;
  using Min = MinOp<T>;
  using Max = MaxOp<T>;
  T* im = reinterpret_cast<T*>(baseOf(h) + h->imOff);
  const int is = (int)h->imStep, W = roi.width, H = roi.height;
  constexpr bool firstMin = A == Adv::Open || A == Adv::Tophat || A == Adv::Gradient;
  if (firstMin)
    runFlat<T, Min, Post::Copy>(h, pSrc, srcStep, im, is, nullptr, 0, W, H, CN);
  else
    runFlat<T, Max, Post::Copy>(h, pSrc, srcStep, im, is, nullptr, 0, W, H, CN);
  if constexpr (A == Adv::Open) runFlat<T, Max, Post::Copy>(h, im, is, pDst, dstStep, nullptr, 0, W, H, CN);
  if constexpr (A == Adv::Close) runFlat<T, Min, Post::Copy>(h, im, is, pDst, dstStep, nullptr, 0, W, H, CN);
  if constexpr (A == Adv::Tophat)
    runFlat<T, Max, Post::OtherMinus>(h, im, is, pDst, dstStep, pSrc, srcStep, W, H, CN);
  if constexpr (A == Adv::Blackhat)
    runFlat<T, Min, Post::MinusOther>(h, im, is, pDst, dstStep, pSrc, srcStep, W, H, CN);
  if constexpr (A == Adv::Gradient)
    runFlat<T, Max, Post::MinusOther>(h, pSrc, srcStep, pDst, dstStep, im, is, W, H, CN);
  return kvpStsOk;
}

}  // namespace
}  // namespace kvp::morph

using namespace kvp::morph;

extern "C" {

KvpStatus KVP_BODY(kvpiMorphologyFree)(KvpiMorphState* pState) { return freeOf(pState, kFlat); }
KvpStatus KVP_BODY(kvpiMorphAdvFree)(KvpiMorphAdvState* pState) { return freeOf(pState, kAdv); }

#define KVP_MORPH_FLAT(SUF, T, CN)                                                                         \
  KvpStatus KVP_BODY(kvpiMorphologyGetSize_##SUF)(int roiWidth, KvpiSize maskSize, int* pSize) {           \
    return getSize<T, CN>(kFlat, KvpiSize{roiWidth, 1}, maskSize, pSize);                                  \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiMorphologyInit_##SUF)(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize,        \
                                               KvpiPoint anchor, KvpiMorphState* pState) {                 \
    KvpiMorphState* out = nullptr;                                                                         \
    return pState ? init<T, CN>(kFlat, KvpiSize{roiWidth, 1}, pMask, maskSize, anchor, pState, &out)       \
                  : kvpStsNullPtr;                                                                         \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiMorphologyInitAlloc_##SUF)(int roiWidth, const Kvp8u* pMask, KvpiSize maskSize,   \
                                                    KvpiPoint anchor, KvpiMorphState** ppState) {          \
    return init<T, CN>(kFlat, KvpiSize{roiWidth, 1}, pMask, maskSize, anchor, nullptr, ppState);           \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiMorphAdvGetSize_##SUF)(KvpiSize roiSize, KvpiSize maskSize, int* pSize) {         \
    return getSize<T, CN>(kAdv, roiSize, maskSize, pSize);                                                 \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiMorphAdvInit_##SUF)(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize,      \
                                             KvpiPoint anchor, KvpiMorphAdvState* pState) {                \
    KvpiMorphAdvState* out = nullptr;                                                                      \
    return pState ? init<T, CN>(kAdv, roiSize, pMask, maskSize, anchor, pState, &out) : kvpStsNullPtr;     \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiMorphAdvInitAlloc_##SUF)(KvpiSize roiSize, const Kvp8u* pMask, KvpiSize maskSize, \
                                                  KvpiPoint anchor, KvpiMorphAdvState** ppState) {         \
    return init<T, CN>(kAdv, roiSize, pMask, maskSize, anchor, nullptr, ppState);                          \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiErodeBorderReplicate_##SUF)(const T* pSrc, int srcStep, T* pDst, int dstStep,     \
                                                     KvpiSize roiSize, KvpiBorderType borderType,          \
                                                     KvpiMorphState* pState) {                             \
    return erodeDilate<T, CN, false>(pSrc, srcStep, pDst, dstStep, roiSize, borderType, pState);           \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiDilateBorderReplicate_##SUF)(const T* pSrc, int srcStep, T* pDst, int dstStep,    \
                                                      KvpiSize roiSize, KvpiBorderType borderType,         \
                                                      KvpiMorphState* pState) {                            \
    return erodeDilate<T, CN, true>(pSrc, srcStep, pDst, dstStep, roiSize, borderType, pState);            \
  }                                                                                                        \
  KVP_MORPH_ADV(Open, SUF, T, CN)                                                                          \
  KVP_MORPH_ADV(Close, SUF, T, CN)                                                                         \
  KVP_MORPH_ADV(Tophat, SUF, T, CN)                                                                        \
  KVP_MORPH_ADV(Blackhat, SUF, T, CN)                                                                      \
  KVP_MORPH_ADV(Gradient, SUF, T, CN)

#define KVP_MORPH_ADV(OP, SUF, T, CN)                                                               \
  KvpStatus KVP_BODY(kvpiMorph##OP##Border_##SUF)(const T* pSrc, int srcStep, T* pDst, int dstStep, \
                                                  KvpiSize roiSize, KvpiBorderType borderType,      \
                                                  KvpiMorphAdvState* pState) {                      \
    return derived<T, CN, Adv::OP>(pSrc, srcStep, pDst, dstStep, roiSize, borderType, pState);      \
  }

KVP_MORPH_FLAT(8u_C1R, Kvp8u, 1)
KVP_MORPH_FLAT(8u_C3R, Kvp8u, 3)
KVP_MORPH_FLAT(8u_C4R, Kvp8u, 4)
KVP_MORPH_FLAT(16u_C1R, Kvp16u, 1)
KVP_MORPH_FLAT(32f_C1R, Kvp32f, 1)
KVP_MORPH_FLAT(32f_C3R, Kvp32f, 3)
KVP_MORPH_FLAT(32f_C4R, Kvp32f, 4)

}  // extern "C"

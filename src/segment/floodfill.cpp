// Exported flood-fill bodies: argument checks, then the templated fills of
// floodfill.h. The 8-bit one-channel 4-connected floating-range fill has a
// body per code path and lives in floodfill_grad.dual.cpp.
#include "segment/floodfill.h"

using namespace kvp::seg;

KvpStatus KVP_BODY(kvpiFloodFillGetSize)(KvpiSize roiSize, int* pBufferSize) {
  if (!pBufferSize) return kvpStsNullPtr;
  if (roiSize.width < 1 || roiSize.height < 1) return kvpStsBadSize;
  *pBufferSize = (int)(unsigned)(unsigned long long)listBytes(roiSize);
  return kvpStsOk;
}

KvpStatus KVP_BODY(kvpiFloodFillGetSize_Grad)(KvpiSize roiSize, int* pBufferSize) {
  if (!pBufferSize) return kvpStsNullPtr;
  if (roiSize.width < 1 || roiSize.height < 1) return kvpStsBadSize;
  *pBufferSize = (int)(unsigned)(unsigned long long)(maskBytes(roiSize) + listBytes(roiSize));
  return kvpStsOk;
}

#define KVP_FF_EXACT(FAM, EIGHT, TS, T)                                                                    \
  KvpStatus KVP_BODY(kvpiFloodFill_##FAM##_##TS##_C1IR)(T * pImage, int imageStep, KvpiSize roiSize,       \
                                                        KvpiPoint seed, T newVal,                          \
                                                        KvpiConnectedComp* pRegion, Kvp8u* pBuffer) {      \
    if (KvpStatus st = checkFill<T, 1>(pImage, imageStep, roiSize, seed, pRegion, pBuffer, {})) return st; \
    return fillExact<EIGHT, T, 1>(pImage, imageStep, roiSize, seed, &newVal, pRegion, pBuffer);            \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiFloodFill_##FAM##_##TS##_C3IR)(T * pImage, int imageStep, KvpiSize roiSize,       \
                                                        KvpiPoint seed, const T* pNewVal,                  \
                                                        KvpiConnectedComp* pRegion, Kvp8u* pBuffer) {      \
    if (KvpStatus st = checkFill<T, 3>(pImage, imageStep, roiSize, seed, pRegion, pBuffer, {pNewVal}))     \
      return st;                                                                                           \
    return fillExact<EIGHT, T, 3>(pImage, imageStep, roiSize, seed, pNewVal, pRegion, pBuffer);            \
  }

#define KVP_FF_RANGED(FAM, FILL, EIGHT, TS, T, C1)                                                           \
  C1(KvpStatus KVP_BODY(kvpiFloodFill_##FAM##_##TS##_C1IR)(T * pImage, int imageStep, KvpiSize roiSize,      \
                                                           KvpiPoint seed, T newVal, T minDelta, T maxDelta, \
                                                           KvpiConnectedComp* pRegion, Kvp8u* pBuffer) {     \
    if (KvpStatus st = checkFill<T, 1>(pImage, imageStep, roiSize, seed, pRegion, pBuffer, {})) return st;   \
    return FILL<EIGHT, T, 1>(pImage, imageStep, roiSize, seed, &newVal, &minDelta, &maxDelta, pRegion,       \
                             pBuffer);                                                                       \
  })                                                                                                         \
  KvpStatus KVP_BODY(kvpiFloodFill_##FAM##_##TS##_C3IR)(                                                     \
      T * pImage, int imageStep, KvpiSize roiSize, KvpiPoint seed, const T* pNewVal, const T* pMinDelta,     \
      const T* pMaxDelta, KvpiConnectedComp* pRegion, Kvp8u* pBuffer) {                                      \
    if (KvpStatus st = checkFill<T, 3>(pImage, imageStep, roiSize, seed, pRegion, pBuffer,                   \
                                       {pNewVal, pMinDelta, pMaxDelta}))                                     \
      return st;                                                                                             \
    return FILL<EIGHT, T, 3>(pImage, imageStep, roiSize, seed, pNewVal, pMinDelta, pMaxDelta, pRegion,       \
                             pBuffer);                                                                       \
  }

#define KVP_FF_KEEP(...) __VA_ARGS__
#define KVP_FF_SKIP(...)

KVP_FF_EXACT(4Con, false, 8u, Kvp8u)
KVP_FF_EXACT(8Con, true, 8u, Kvp8u)
KVP_FF_EXACT(4Con, false, 16u, Kvp16u)
KVP_FF_EXACT(8Con, true, 16u, Kvp16u)
KVP_FF_EXACT(4Con, false, 32f, Kvp32f)
KVP_FF_EXACT(8Con, true, 32f, Kvp32f)
KVP_FF_RANGED(Range4Con, fillRange, false, 8u, Kvp8u, KVP_FF_KEEP)
KVP_FF_RANGED(Range8Con, fillRange, true, 8u, Kvp8u, KVP_FF_KEEP)
KVP_FF_RANGED(Range4Con, fillRange, false, 16u, Kvp16u, KVP_FF_KEEP)
KVP_FF_RANGED(Range8Con, fillRange, true, 16u, Kvp16u, KVP_FF_KEEP)
KVP_FF_RANGED(Range4Con, fillRange, false, 32f, Kvp32f, KVP_FF_KEEP)
KVP_FF_RANGED(Range8Con, fillRange, true, 32f, Kvp32f, KVP_FF_KEEP)
KVP_FF_RANGED(Grad4Con, fillGrad, false, 8u, Kvp8u, KVP_FF_SKIP)
KVP_FF_RANGED(Grad8Con, fillGrad, true, 8u, Kvp8u, KVP_FF_KEEP)
KVP_FF_RANGED(Grad4Con, fillGrad, false, 16u, Kvp16u, KVP_FF_KEEP)
KVP_FF_RANGED(Grad8Con, fillGrad, true, 16u, Kvp16u, KVP_FF_KEEP)
KVP_FF_RANGED(Grad4Con, fillGrad, false, 32f, Kvp32f, KVP_FF_KEEP)
KVP_FF_RANGED(Grad8Con, fillGrad, true, 32f, Kvp32f, KVP_FF_KEEP)

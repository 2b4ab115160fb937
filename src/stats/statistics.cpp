// Mean, Mean_StdDev and MinMaxIndx of 8u, 8s, 16u and 32f images: one
// channel (C1) or the channel of interest of three (C3C), over every pixel
// (R) or under a mask (MR). The kernels and drivers are in stats.h; the
// masked 16u mean has two bodies and lives in mean16u.dual.cpp.
#include "stats/stats.h"

using namespace kvp::stats;

#define KVP_STATS_MEAN(TS, T)                                                                             \
  KvpStatus KVP_BODY(kvpiMean_##TS##_C3CMR)(const T* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, \
                                            KvpiSize roiSize, int coi, Kvp64f* pMean) {                   \
    return meanStd<T, 3, true, false>(pSrc, srcStep, pMask, maskStep, roiSize, coi, pMean, nullptr);      \
  }

#define KVP_STATS_MEAN_C1(TS, T)                                                                         \
  KvpStatus KVP_BODY(kvpiMean_##TS##_C1MR)(const T* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, \
                                           KvpiSize roiSize, Kvp64f* pMean) {                            \
    return meanStd<T, 1, true, false>(pSrc, srcStep, pMask, maskStep, roiSize, 1, pMean, nullptr);       \
  }

#define KVP_STATS_STD(TS, T)                                                                               \
  KvpStatus KVP_BODY(kvpiMean_StdDev_##TS##_C1R)(const T* pSrc, int srcStep, KvpiSize roiSize,             \
                                                 Kvp64f* pMean, Kvp64f* pStdDev) {                         \
    return meanStd<T, 1, false, true>(pSrc, srcStep, nullptr, 0, roiSize, 1, pMean, pStdDev);              \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiMean_StdDev_##TS##_C3CR)(const T* pSrc, int srcStep, KvpiSize roiSize, int coi,   \
                                                  Kvp64f* pMean, Kvp64f* pStdDev) {                        \
    return meanStd<T, 3, false, true>(pSrc, srcStep, nullptr, 0, roiSize, coi, pMean, pStdDev);            \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiMean_StdDev_##TS##_C1MR)(const T* pSrc, int srcStep, const Kvp8u* pMask,          \
                                                  int maskStep, KvpiSize roiSize, Kvp64f* pMean,           \
                                                  Kvp64f* pStdDev) {                                       \
    return meanStd<T, 1, true, true>(pSrc, srcStep, pMask, maskStep, roiSize, 1, pMean, pStdDev);          \
  }                                                                                                        \
  KvpStatus KVP_BODY(kvpiMean_StdDev_##TS##_C3CMR)(const T* pSrc, int srcStep, const Kvp8u* pMask,         \
                                                   int maskStep, KvpiSize roiSize, int coi, Kvp64f* pMean, \
                                                   Kvp64f* pStdDev) {                                      \
    return meanStd<T, 3, true, true>(pSrc, srcStep, pMask, maskStep, roiSize, coi, pMean, pStdDev);        \
  }

#define KVP_STATS_MINMAX(TS, T)                                                                              \
  KvpStatus KVP_BODY(kvpiMinMaxIndx_##TS##_C1R)(const T* pSrc, int srcStep, KvpiSize roiSize,                \
                                                Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex,      \
                                                KvpiPoint* pMaxIndex) {                                      \
    return minMaxIndx<T, 1, false>(pSrc, srcStep, nullptr, 0, roiSize, 1, pMinVal, pMaxVal, pMinIndex,       \
                                   pMaxIndex);                                                               \
  }                                                                                                          \
  KvpStatus KVP_BODY(kvpiMinMaxIndx_##TS##_C3CR)(const T* pSrc, int srcStep, KvpiSize roiSize, int coi,      \
                                                 Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex,     \
                                                 KvpiPoint* pMaxIndex) {                                     \
    return minMaxIndx<T, 3, false>(pSrc, srcStep, nullptr, 0, roiSize, coi, pMinVal, pMaxVal, pMinIndex,     \
                                   pMaxIndex);                                                               \
  }                                                                                                          \
  KvpStatus KVP_BODY(kvpiMinMaxIndx_##TS##_C1MR)(                                                            \
      const T* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, Kvp32f* pMinVal,       \
      Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex) {                                         \
    return minMaxIndx<T, 1, true>(pSrc, srcStep, pMask, maskStep, roiSize, 1, pMinVal, pMaxVal, pMinIndex,   \
                                  pMaxIndex);                                                                \
  }                                                                                                          \
  KvpStatus KVP_BODY(kvpiMinMaxIndx_##TS##_C3CMR)(                                                           \
      const T* pSrc, int srcStep, const Kvp8u* pMask, int maskStep, KvpiSize roiSize, int coi,               \
      Kvp32f* pMinVal, Kvp32f* pMaxVal, KvpiPoint* pMinIndex, KvpiPoint* pMaxIndex) {                        \
    return minMaxIndx<T, 3, true>(pSrc, srcStep, pMask, maskStep, roiSize, coi, pMinVal, pMaxVal, pMinIndex, \
                                  pMaxIndex);                                                                \
  }

#define KVP_STATS_TYPE(TS, T) \
  KVP_STATS_MEAN(TS, T)       \
  KVP_STATS_STD(TS, T)        \
  KVP_STATS_MINMAX(TS, T)

KVP_STATS_TYPE(8u, Kvp8u)
KVP_STATS_TYPE(8s, Kvp8s)
KVP_STATS_TYPE(16u, Kvp16u)
KVP_STATS_TYPE(32f, Kvp32f)
KVP_STATS_MEAN_C1(8u, Kvp8u)
KVP_STATS_MEAN_C1(8s, Kvp8s)
KVP_STATS_MEAN_C1(32f, Kvp32f)

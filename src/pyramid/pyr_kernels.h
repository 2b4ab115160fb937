// Gaussian 5x5 pyramid levels: the buffer layout shared by the size queries
// and the kernels, and the level drivers (pyr_levels.cpp, compiled once per
// vector target and chosen at run time) behind the exported bodies.
#pragma once

#include "kvpcv.h"

namespace kvp::pyr {

// Bytes of one intermediate row of the down pass: width * 4 * channels,
// rounded up to 16.
inline long long downRowBytes(int width, int channels) {
  return ((long long)width * 4 * channels + 15) & ~15LL;
}
// Bytes of one intermediate row of the up pass: width * 8 * channels,
// rounded up to 16.
inline long long upRowBytes(int width, int channels) {
  return ((long long)width * 8 * channels + 15) & ~15LL;
}

// One level down or up of one element type and channel count: checks,
// then the kernels of the chosen vector target.
#define KVP_PYR_LEVEL_DECL(T, TS, CH)                                                            \
  KvpStatus levelDown_##TS##_C##CH(const T* src, int srcStep, T* dst, int dstStep, KvpiSize roi, \
                                   Kvp8u* buffer);                                               \
  KvpStatus levelUp_##TS##_C##CH(const T* src, int srcStep, T* dst, int dstStep, KvpiSize roi, Kvp8u* buffer);
KVP_PYR_LEVEL_DECL(Kvp8u, 8u, 1)
KVP_PYR_LEVEL_DECL(Kvp8u, 8u, 3)
KVP_PYR_LEVEL_DECL(Kvp8s, 8s, 1)
KVP_PYR_LEVEL_DECL(Kvp8s, 8s, 3)
KVP_PYR_LEVEL_DECL(Kvp32f, 32f, 1)
KVP_PYR_LEVEL_DECL(Kvp32f, 32f, 3)
#undef KVP_PYR_LEVEL_DECL

}  // namespace kvp::pyr

// The exported bodies of one element type and channel count.
#define KVP_PYR_BODIES(T, TS, CH)                                                                            \
  KvpStatus KVP_BODY(kvpiPyrDown_Gauss5x5_##TS##_C##CH##R)(const T* pSrc, int srcStep, T* pDst, int dstStep, \
                                                           KvpiSize roiSize, Kvp8u* pBuffer) {               \
    return kvp::pyr::levelDown_##TS##_C##CH(pSrc, srcStep, pDst, dstStep, roiSize, pBuffer);                 \
  }                                                                                                          \
  KvpStatus KVP_BODY(kvpiPyrUp_Gauss5x5_##TS##_C##CH##R)(const T* pSrc, int srcStep, T* pDst, int dstStep,   \
                                                         KvpiSize roiSize, Kvp8u* pBuffer) {                 \
    return kvp::pyr::levelUp_##TS##_C##CH(pSrc, srcStep, pDst, dstStep, roiSize, pBuffer);                   \
  }

// The 8-bit one-channel 4-connected floating-range fill, compiled once per
// code path (the second time tuned for in-order low-power cores).
#include "segment/floodfill.h"

using namespace kvp::seg;

KvpStatus KVP_BODY(kvpiFloodFill_Grad4Con_8u_C1IR)(Kvp8u* pImage, int imageStep, KvpiSize roiSize,
                                                   KvpiPoint seed, Kvp8u newVal, Kvp8u minDelta,
                                                   Kvp8u maxDelta, KvpiConnectedComp* pRegion,
                                                   Kvp8u* pBuffer) {
  if (KvpStatus st = checkFill<Kvp8u, 1>(pImage, imageStep, roiSize, seed, pRegion, pBuffer, {})) return st;
  return fillGrad<false, Kvp8u, 1>(pImage, imageStep, roiSize, seed, &newVal, &minDelta, &maxDelta, pRegion,
                                   pBuffer);
}

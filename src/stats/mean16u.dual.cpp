// The masked 16u mean, compiled once per code path: the same kernel and the
// same exact sums give both bodies the same result, bit for bit.
#include "stats/stats.h"

using namespace kvp::stats;

KvpStatus KVP_BODY(kvpiMean_16u_C1MR)(const Kvp16u* pSrc, int srcStep, const Kvp8u* pMask, int maskStep,
                                      KvpiSize roiSize, Kvp64f* pMean) {
  return meanStd<Kvp16u, 1, true, false>(pSrc, srcStep, pMask, maskStep, roiSize, 1, pMean, nullptr);
}

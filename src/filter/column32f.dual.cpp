// Float column pass: sums the taps in storage order, tap 0 first; runs on
// the calling thread and uses none of the buffer.
#include "filter/pipeline.h"
#include "frame/bodies.h"

namespace {

using namespace kvp::filt;

KvpStatus column32f(const Kvp32f** rows, Kvp32f* dst, int dstStep, KvpiSize roi, const Kvp32f* kernel, int k,
                    Kvp8u* buffer, int ch) {
  if (KvpStatus s = checkColumn(rows, dst, dstStep, roi, kernel, k, 4 * ch, 4, buffer, false, 0)) return s;
  column32fRows(rows, dst, dstStep, roi, kernel, k, ch);
  return kvpStsOk;
}

}  // namespace

extern "C" {

KvpStatus KVP_BODY(kvpiFilterColumnPipeline_32f_C1R)(const Kvp32f** ppSrc, Kvp32f* pDst, int dstStep,
                                                     KvpiSize dstRoiSize, const Kvp32f* pKernel,
                                                     int kernelSize, Kvp8u* pBuffer) {
  return column32f(ppSrc, pDst, dstStep, dstRoiSize, pKernel, kernelSize, pBuffer, 1);
}

KvpStatus KVP_BODY(kvpiFilterColumnPipeline_32f_C3R)(const Kvp32f** ppSrc, Kvp32f* pDst, int dstStep,
                                                     KvpiSize dstRoiSize, const Kvp32f* pKernel,
                                                     int kernelSize, Kvp8u* pBuffer) {
  return column32f(ppSrc, pDst, dstStep, dstRoiSize, pKernel, kernelSize, pBuffer, 3);
}

}  // extern "C"

// Drivers of the row and column pipelines: argument checks in the
// pipeline's own order, buffer layout, threading.
#pragma once

#include "filter/engine.h"
#include "frame/alloc.h"
#include "frame/parallel.h"

namespace kvp::filt {

// Column pass checks: pointers, sizes, step, step multiple, buffer,
// divisor, then the row pointers the pass will read.
template <class S>
inline KvpStatus checkColumn(const S* const* rows, const void* dst, int dstStep, KvpiSize roi,
                             const void* kernel, int k, int rowBytes, int elemSize, const void* buffer,
                             bool hasDivisor, int divisor) {
  if (!rows || !dst || !kernel) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1 || k < 1) return kvpStsBadSize;
  if ((long long)dstStep < (long long)roi.width * rowBytes) return kvpStsBadStep;
  if (elemSize > 1 && (dstStep & (elemSize - 1))) return kvpStsStepNotMultiple;
  if (!buffer) return kvpStsNullPtr;
  if (hasDivisor && divisor == 0) return kvpStsBadArg;
  const long long n = (long long)roi.height + k - 1;
  for (long long i = 0; i < n; ++i)
    if (!rows[i]) return kvpStsNullPtr;
  return kvpStsOk;
}

// Buffer-size query: n * (P + 32 + 8 * (H + k)) in 32-bit arithmetic.
inline KvpStatus bufferSize(KvpiSize roi, int k, int* pSize, long long perThread) {
  if (!pSize) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1 || k < 1) return kvpStsBadSize;
  const unsigned n = (unsigned)ownGetNumThreads();
  const unsigned one = (unsigned)perThread + 32u + 8u * ((unsigned)roi.height + (unsigned)k);
  *pSize = (int)(n * one);
  return kvpStsOk;
}

inline int align4(int w) { return (int)(((unsigned)w + 3u) & ~3u); }
inline int align8(int w) { return (int)(((unsigned)w + 7u) & ~7u); }

// Runs rowsOf(y0, rows) over the destination rows of a column pass, in
// bands when threaded.
template <class Fn>
inline void columnBands(KvpiSize roi, bool threaded, Fn&& fn) {
  forRowBands(roi.height, threaded, [&](int y0, int rows, int) { fn(y0, rows); });
}

// Threading test of the integer column passes (the processor count, a
// file read, only asked when threads are allowed and the area is large).
inline bool columnThreaded(KvpiSize roi, int k) {
  const long long n = ownGetNumThreads();
  if (n <= 1 || (long long)roi.width * roi.height < n * 32768) return false;
  return !((k == 3 || k == 5) && kvpGetNumCoresOnDie() <= 1);
}

// The float column pass over every row (arguments checked) on the calling
// thread, with the kernels of the chosen vector target.
void column32fRows(const Kvp32f* const* rows, Kvp32f* dst, int dstStep, KvpiSize roi, const Kvp32f* kernel,
                   int k, int ch);

}  // namespace kvp::filt

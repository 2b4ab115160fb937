// Shared argument checks in the library's common order:
//   1. every required pointer non-null          -> kvpStsNullPtr
//   2. width >= 1, height >= 1                   -> kvpStsBadSize
//   3. each plane's step >= its row bytes,
//      planes in argument order                  -> kvpStsBadStep
//   4. OR of the steps of planes wider than one
//      byte a multiple of their element size     -> kvpStsStepNotMultiple
// A family lists its planes (and extra pointers) and adds only what differs.
#pragma once

#include <cstring>
#include <initializer_list>

#include "kvpcore.h"

namespace kvp {

// The int a caller passed for an enumeration parameter, read without an
// enumeration-typed load: a C caller may pass any value, which the checks
// then refuse.
template <class E>
inline int enumArg(const E& e) {
  static_assert(sizeof(E) == sizeof(int));
  int v;
  std::memcpy(&v, &e, sizeof v);
  return v;
}

// Stores a buffer size in bytes, or fails with kvpStsBadSize when it does
// not fit an int.
inline KvpStatus storeBufferSize(long long bytes, int* pBufferSize) {
  if (bytes > 0x7fffffffLL) return kvpStsBadSize;
  *pBufferSize = (int)bytes;
  return kvpStsOk;
}

// One image plane as the checks see it.
struct PlaneArg {
  const void* ptr;
  int step;
  int elemSize;      // bytes per element
  int channels = 1;  // elements per pixel
};

template <class T>
constexpr PlaneArg plane(const T* p, int step, int channels = 1) {
  return PlaneArg{p, step, (int)sizeof(T), channels};
}

inline KvpStatus checkPointers(std::initializer_list<const void*> ptrs) {
  for (const void* p : ptrs)
    if (!p) return kvpStsNullPtr;
  return kvpStsOk;
}

inline KvpStatus checkSize(KvpiSize roi, int minWidth = 1, int minHeight = 1) {
  if (roi.width < minWidth) return kvpStsBadSize;
  if (roi.height < minHeight) return kvpStsBadSize;
  return kvpStsOk;
}

// Steps 3 and 4 for the given planes.
inline KvpStatus checkSteps(int width, std::initializer_list<PlaneArg> planes) {
  for (const PlaneArg& p : planes)
    if ((long long)p.step < (long long)width * p.channels * p.elemSize) return kvpStsBadStep;
  // Each plane's step must be a multiple of its own element size; for planes
  // of one size this is the test on the OR of their steps.
  int orSteps = 0;
  for (const PlaneArg& p : planes)
    if (p.elemSize > 1) orSteps |= p.step & (p.elemSize - 1);
  if (orSteps) return kvpStsStepNotMultiple;
  return kvpStsOk;
}

// The whole common sequence: pointers of the planes and any extra pointers,
// size, steps, multiples.
inline KvpStatus checkPlanes(KvpiSize roi, std::initializer_list<PlaneArg> planes,
                             std::initializer_list<const void*> extraPtrs = {}) {
  for (const PlaneArg& p : planes)
    if (!p.ptr) return kvpStsNullPtr;
  if (KvpStatus s = checkPointers(extraPtrs)) return s;
  if (KvpStatus s = checkSize(roi)) return s;
  return checkSteps(roi.width, planes);
}

}  // namespace kvp

// Plain reference of the motion history update, shared by the unit tests
// and the fuzz target.
#pragma once

#include "kvpcv.h"

namespace mr {

// Straight from the definition: a moving pixel (any silhouette value that
// does not compare equal to zero, NaN included) takes the time stamp; a
// still one keeps a history that is not below limit = stamp - duration
// (NaN included) and is otherwise +0.
template <class S>
float update(S sil, float mhi, float ts, float limit) {
  if (sil != S(0)) return ts;
  if (!(mhi < limit)) return mhi;
  return 0.f;
}

// The status the arguments call for: pointers, size, steps, step multiples
// (the 8-bit silhouette has none of its own), duration.
inline KvpStatus status(bool silNull, bool mhiNull, KvpiSize roi, int silStep, int mhiStep, int silElem,
                        float duration) {
  if (silNull || mhiNull) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1) return kvpStsBadSize;
  if ((long long)silStep < (long long)roi.width * silElem) return kvpStsBadStep;
  if ((long long)mhiStep < (long long)roi.width * 4) return kvpStsBadStep;
  if ((silElem > 1 && silStep % silElem != 0) || mhiStep % 4 != 0) return kvpStsStepNotMultiple;
  if (duration < 0.f) return kvpStsOutOfRange;
  return kvpStsOk;
}

}  // namespace mr

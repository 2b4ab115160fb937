// Plain references for the super-resolution calls: nested loops over
// entries and taps in the documented orders, binary32 throughout, plus the
// status each argument set calls for. Shared by the unit tests and the fuzz
// target.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "kvpcv.h"

namespace srref {

// Status of InitAlloc for a table of n PSFs with s*s taps each.
inline KvpStatus initStatus(bool nullOut, const float* tab, int n, int s) {
  if (nullOut || !tab) return kvpStsNullPtr;
  if (n < 1) return kvpStsBadSize;
  for (long long i = 0; i < (long long)n * s * s; ++i)
    if (std::isnan(tab[i]) || std::isinf(tab[i])) return kvpStsBadArg;
  return kvpStsOk;
}

// Status of a working call once its pointers are known to be non-null.
inline KvpStatus workStatus(int s, int step, KvpiSize size, const int* x, const int* y, const unsigned* idx,
                            int len, int tabSize) {
  if (len < 1 || size.width < s || size.height < s) return kvpStsBadSize;
  if ((long long)step < (long long)size.width * 4) return kvpStsBadStep;
  if (step % 4 != 0) return kvpStsStepNotMultiple;
  for (int i = 0; i < len; ++i)
    if (idx[i] >= (unsigned)tabSize || x[i] < 0 || y[i] < 0 || x[i] > size.width - s ||
        y[i] > size.height - s)
      return kvpStsOutOfRange;
  return kvpStsOk;
}

inline float& at(float* base, int step, int x, int y) {
  return *reinterpret_cast<float*>(reinterpret_cast<unsigned char*>(base) + (ptrdiff_t)step * y + 4 * x);
}
inline float at(const float* base, int step, int x, int y) {
  return *reinterpret_cast<const float*>(reinterpret_cast<const unsigned char*>(base) + (ptrdiff_t)step * y +
                                         4 * x);
}

// s = p0*h0, then s = s + pk*hk in tap order; residual = src - s.
inline void residual(int s, const float* tab, const uint8_t* src, const float* hi, int step, float* res,
                     const int* x, const int* y, const unsigned* idx, int len) {
  for (int i = 0; i < len; ++i) {
    const float* p = tab + (size_t)idx[i] * s * s;
    float sum = p[0] * at(hi, step, x[i], y[i]);
    for (int k = 1; k < s * s; ++k) sum = sum + p[k] * at(hi, step, x[i] + k % s, y[i] + k / s);
    res[i] = (float)src[i] - sum;
  }
}

// g(xk, yk) += w_i * p_k, entries then taps in order.
inline void gradient(int s, const float* tab, float* g, int step, const int* x, const int* y,
                     const unsigned* idx, const float* w, int len) {
  for (int i = 0; i < len; ++i) {
    const float* p = tab + (size_t)idx[i] * s * s;
    for (int k = 0; k < s * s; ++k) {
      float& v = at(g, step, x[i] + k % s, y[i] + k / s);
      v = v + w[i] * p[k];
    }
  }
}

}  // namespace srref

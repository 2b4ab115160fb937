// Row-band work splitting on OpenMP.
//
// A team of ownGetNumThreads() threads is requested; the master reads the
// actual team size n and computes rows per band = height / n and the
// remainder; a barrier publishes them; thread t takes rows
// [t * (height / n), ...) and the last thread also the remainder. Bands are
// disjoint, so kernels that write only their own rows need no locking.
#pragma once

#include <omp.h>

#include <type_traits>

#include "kvpcore.h"

namespace kvp {

// Upper bound on the team size of one call (per-thread partial results live
// in fixed arrays of this length).
constexpr int kMaxTeam = 256;

inline int clampTeam(int n) { return n < 1 ? 1 : (n > kMaxTeam ? kMaxTeam : n); }

// Runs band(y0, rows, t) over the whole height: on the calling thread when
// threaded is false (or one thread is allowed), else as row bands of at
// most maxTeam threads (a family whose per-thread scratch was sized for a
// given thread count caps the team at that count). Returns the number of
// bands used (the team size), so callers can combine per-thread partials
// 0..n-1.
template <class Band>
int forRowBands(int height, bool threaded, int maxTeam, Band&& band) {
  const int lib = ownGetNumThreads();
  const int want = threaded ? clampTeam(lib < maxTeam ? lib : maxTeam) : 1;
  if (want == 1) {
    band(0, height, 0);
    return 1;
  }
  int team = 1, per = 0, rem = 0;
#pragma omp parallel num_threads(want)
  {
#pragma omp master
    {
      team = omp_get_num_threads();
      per = height / team;
      rem = height % team;
    }
#pragma omp barrier
    const int t = omp_get_thread_num();
    const int rows = per + (t == team - 1 ? rem : 0);
    if (rows > 0) band(t * per, rows, t);
  }
  return team;
}

// The same with the team limited only by the library's thread count.
template <class Band>
int forRowBands(int height, bool threaded, Band&& band) {
  return forRowBands(height, threaded, kMaxTeam, band);
}

// Pointer to row y of a plane.
template <class T>
inline T* rowAt(T* base, int step, int y) {
  using Byte = std::conditional_t<std::is_const_v<T>, const unsigned char, unsigned char>;
  return reinterpret_cast<T*>(reinterpret_cast<Byte*>(base) + (long long)step * y);
}

}  // namespace kvp

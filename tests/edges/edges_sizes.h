// Sizes and thread counts of the edge tests: the small shapes of the shared
// sweep plus one image above the threading threshold of 2 and 3 threads.
#pragma once

#include "harness.h"

namespace et {

inline const std::vector<KvpiSize>& sizes() {
  static const std::vector<KvpiSize> all = {{1, 1},    {1, 7},    {7, 1},    {2, 2},  {3, 5},
                                            {15, 4},   {17, 9},   {31, 33},  {64, 3}, {127, 65},
                                            {333, 41}, {1, 1200}, {401, 250}};
  return kvt::smallRun() ? kvt::sizeSweep() : all;
}

inline const std::vector<int>& threads() {
  static const std::vector<int> counts = {1, 2, 3};
  return kvt::smallRun() ? kvt::threadCounts() : counts;
}

// The sizes that open a parallel region with 2 or 3 threads.
inline bool threadedSize(KvpiSize s) { return (long long)s.width * s.height >= 98304; }

}  // namespace et

namespace et {

// Runs f() with the 256-bit routines enabled, then with them disabled.
template <class F>
void bothWidths(F&& f) {
  const Kvp64u all = kvpGetEnabledCpuFeatures();
  f();
  kvpSetCpuFeatures(all & ~(Kvp64u)KVP_CPU_AVX2);
  f();
  kvpSetCpuFeatures(all);
}

}  // namespace et

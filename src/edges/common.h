// Helpers shared by the edge and corner detectors: the threading rule and
// the carving of the caller's work buffer.
#pragma once

#include <cstdint>
#include <cstring>

#include "frame/alloc.h"
#include "frame/bodies.h"
#include "frame/checks.h"
#include "frame/parallel.h"

namespace kvp::edges {

// Team size the buffer queries size for.
inline int teamSize() { return clampTeam(ownGetNumThreads()); }

// A parallel region pays off only from 32768 pixels per thread.
inline bool threadedFor(KvpiSize roi) {
  const int n = teamSize();
  return n > 1 && (long long)roi.width * roi.height >= (long long)n * 32768;
}

inline long long a64(long long v) { return (v + 63) & ~63LL; }

}  // namespace kvp::edges

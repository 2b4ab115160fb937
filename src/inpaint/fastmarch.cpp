// Fast marching: arrival times of a front that starts at the known (zero)
// mask pixels and moves at unit speed, first-order upwind over the four
// axial neighbours, optionally stopped at a given distance.
//
// Tentative and final times live in the destination itself. The caller's
// buffer holds a state byte per pixel (far, band, accepted), the band as a
// binary heap of (time, index) entries ordered by time, then index (row,
// then column), and the heap position of every band pixel for the
// decrease-key step. The total order makes the march independent of the
// heap's shape; the update arithmetic is double precision without
// contraction, each candidate rounded to float.
#include <algorithm>
#include <cmath>
#include <limits>

#include "frame/alloc.h"
#include "frame/bodies.h"
#include "frame/checks.h"
#include "frame/parallel.h"
#include "inpaint/inpaint_common.h"

namespace kvp::inp {
namespace {

enum : Kvp8u { kFar = 0, kBand = 1, kAccepted = 2 };

struct Entry {
  float t;
  int i;
};
inline bool before(const Entry& a, const Entry& b) { return a.t < b.t || (a.t == b.t && a.i < b.i); }

// Binary min-heap with positions.
struct Heap {
  Entry* e;
  int* pos;
  int n = 0;

  void place(int k, const Entry& v) {
    e[k] = v;
    pos[v.i] = k;
  }
  void up(int k, Entry v) {
    while (k > 0) {
      const int parent = (k - 1) >> 1;
      if (!before(v, e[parent])) break;
      place(k, e[parent]);
      k = parent;
    }
    place(k, v);
  }
  void down(int k, Entry v) {
    for (;;) {
      int c = 2 * k + 1;
      if (c >= n) break;
      if (c + 1 < n && before(e[c + 1], e[c])) ++c;
      if (!before(e[c], v)) break;
      place(k, e[c]);
      k = c;
    }
    place(k, v);
  }
  void push(int i, float t) { up(n++, Entry{t, i}); }
  void lower(int i, float t) { up(pos[i], Entry{t, i}); }
  Entry pop() {
    const Entry top = e[0];
    --n;
    if (n > 0) down(0, e[n]);
    return top;
  }
};

struct Grid {
  Kvp32f* dst;
  int step;
  int w, h;
  Kvp32f* row(int y) const { return rowAt(dst, step, y); }
};

// Candidate time of the unknown pixel (x, y) from its accepted neighbours.
inline float candidate(const Grid& g, const Kvp8u* state, int x, int y) {
  constexpr double inf = std::numeric_limits<double>::infinity();
  const long long i = (long long)y * g.w + x;
  const Kvp32f* r = g.row(y);
  double a = inf, b = inf;
  if (x > 0 && state[i - 1] == kAccepted) a = r[x - 1];
  if (x + 1 < g.w && state[i + 1] == kAccepted) a = std::min(a, (double)r[x + 1]);
  if (y > 0 && state[i - g.w] == kAccepted) b = rowAt(r, -g.step, 1)[x];
  if (y + 1 < g.h && state[i + g.w] == kAccepted) b = std::min(b, (double)rowAt(r, g.step, 1)[x]);
  const double m = std::min(a, b), n = std::max(a, b);
  double t;
  if (n == inf || n - m >= 1.0) {
    t = m + 1.0;
  } else {
    const double d = n - m;
    t = ((m + n) + std::sqrt(2.0 - d * d)) * 0.5;
  }
  return (float)t;
}

KvpStatus fastMarching(const Kvp8u* mask, int maskStep, Kvp32f* dst, int dstStep, KvpiSize roi, Kvp32f radius,
                       Kvp8u* buffer) {
  if (KvpStatus st = checkPlanes(roi, {plane(mask, maskStep), plane(dst, dstStep)}, {buffer})) return st;
  if (!(radius > 0)) return kvpStsBadArg;
  const int w = roi.width, h = roi.height;
  const long long area = (long long)w * h;
  const MarchBuffer mb(buffer, roi);
  Kvp8u* state = mb.state;
  const Grid g{dst, dstStep, w, h};
  const bool threaded = area >= (long long)ownGetNumThreads() * 32768;
  constexpr float inf = std::numeric_limits<float>::infinity();
  forRowBands(h, threaded, [&](int y0, int rows, int) {
    for (int y = y0; y < y0 + rows; ++y) {
      const Kvp8u* m = rowAt(mask, maskStep, y);
      Kvp32f* d = g.row(y);
      Kvp8u* s = state + (long long)y * w;
#pragma omp simd
      for (int x = 0; x < w; ++x) {
        s[x] = m[x] ? kFar : kAccepted;
        d[x] = m[x] ? inf : 0.f;
      }
    }
  });
  Heap heap{static_cast<Entry*>(mb.entriesRaw), mb.links};
  // The band starts with every unknown pixel next to a known one.
  for (int y = 0; y < h; ++y) {
    const Kvp8u* s = state + (long long)y * w;
    Kvp32f* d = g.row(y);
    for (int x = 0; x < w; ++x) {
      if (s[x] != kFar) continue;
      const bool touches = (x > 0 && s[x - 1] == kAccepted) || (x + 1 < w && s[x + 1] == kAccepted) ||
                           (y > 0 && s[x - w] == kAccepted) || (y + 1 < h && s[x + w] == kAccepted);
      if (!touches) continue;
      d[x] = candidate(g, state, x, y);
      state[(long long)y * w + x] = kBand;
      heap.push(y * w + x, d[x]);
    }
  }
  const IndexSplit split(w);
  auto relax = [&](int x, int y) {
    const int i = y * w + x;
    if (state[i] == kAccepted) return;
    const float t = candidate(g, state, x, y);
    float& cur = g.row(y)[x];
    if (state[i] == kFar) {
      cur = t;
      state[i] = kBand;
      heap.push(i, t);
    } else if (t < cur) {
      cur = t;
      heap.lower(i, t);
    }
  };
  while (heap.n > 0) {
    const Entry p = heap.pop();
    if (p.t > radius) break;
    state[p.i] = kAccepted;
    int x, y;
    split(p.i, x, y);
    if (y > 0) relax(x, y - 1);
    if (x > 0) relax(x - 1, y);
    if (x + 1 < w) relax(x + 1, y);
    if (y + 1 < h) relax(x, y + 1);
  }
  forRowBands(h, threaded, [&](int y0, int rows, int) {
    for (int y = y0; y < y0 + rows; ++y) {
      Kvp32f* d = g.row(y);
      const Kvp8u* s = state + (long long)y * w;
#pragma omp simd
      for (int x = 0; x < w; ++x) d[x] = s[x] == kAccepted ? d[x] : radius;
    }
  });
  return kvpStsOk;
}

long long marchBytes(KvpiSize roi) { return 17LL * roi.width * roi.height + 1024; }

}  // namespace
}  // namespace kvp::inp

using namespace kvp::inp;

KvpStatus KVP_BODY(kvpiFastMarchingGetBufferSize_8u32f_C1R)(KvpiSize roiSize, int* pBufSize) {
  if (!pBufSize) return kvpStsNullPtr;
  if (roiSize.width < 1 || roiSize.height < 1) return kvpStsBadSize;
  const long long n = marchBytes(roiSize);
  if (n > 0x7fffffffLL) return kvpStsBadSize;
  *pBufSize = (int)n;
  return kvpStsOk;
}

KvpStatus KVP_BODY(kvpiFastMarching_8u32f_C1R)(const Kvp8u* pMask, int maskStep, Kvp32f* pDst, int dstStep,
                                               KvpiSize roiSize, Kvp32f radius, Kvp8u* pBuffer) {
  return fastMarching(pMask, maskStep, pDst, dstStep, roiSize, radius, pBuffer);
}

// Fast marching: arrival times of a front that starts at the known (zero)
// mask pixels and moves at unit speed, first-order upwind over the four
// axial neighbours, optionally stopped at a given distance.
//
// Tentative and final times live in the destination itself. The band is a
// two-level queue in the caller's buffer: buckets of width 1/8 in time, a
// ring of 16 doubly linked lists threaded through two links per pixel (a
// candidate never lies more than 1 above the time being accepted, so the
// ring never wraps onto a live bucket), and for the bucket being drained a
// run sorted once by (time, index) plus a small binary heap for the pixels
// that join that bucket or decrease while it drains. Every list bucket lies
// above the drained one, so the smaller of the run's next entry and the
// heap's head is the band's minimum in the total order (T, row, column);
// pixels of equal time come out of the run in raster order, which keeps
// the neighbour accesses local. State bytes say where a pixel is (far, a
// list, the run, the heap, accepted). The update arithmetic is double
// precision without contraction, each candidate rounded to float.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "frame/alloc.h"
#include "frame/bodies.h"
#include "frame/checks.h"
#include "frame/parallel.h"
#include "inpaint/inpaint_common.h"

namespace kvp::inp {
namespace {

enum : Kvp8u { kFar = 0, kList = 1, kSorted = 2, kHeap = 3, kAccepted = 4 };

constexpr int kSub = 8;

struct Grid {
  Kvp32f* dst;
  int step;
  int w, h;
  IndexSplit split;
  Kvp32f* row(int y) const { return rowAt(dst, step, y); }
  float time(int i) const {
    int x, y;
    split(i, x, y);
    return row(y)[x];
  }
};

// The band. Buckets above the current one are doubly linked lists; the
// current bucket is a run sorted once when it is reached (pixel indices in
// the first half of the entry region) read by a cursor, beside a heap of
// pixel indices (second half) for the pixels that join the current bucket
// or decrease while it drains. A decreased pixel of the run leaves a stale
// run entry behind (its state no longer says "sorted"). Keys are
// (T, index), T read from the map.
struct Band {
  const Grid& g;
  Kvp8u* state;
  unsigned long long* keys;  // the whole region, for sorting a bucket
  int* run;                  // first half: the sorted bucket
  int* heap;                 // second half
  int* next;                 // list links; the heap position of a heap pixel
  int* prev;
  int* head;  // 16 x kSub list heads
  long long cur = 0;
  int nRun = 0, at = 0, nHeap = 0;

  static long long bucket(float t) { return (long long)std::floor((double)t * 8.0); }
  bool less(int a, int b) const {
    const float ta = g.time(a), tb = g.time(b);
    return ta < tb || (ta == tb && a < b);
  }

  void place(int k, int i) {
    heap[k] = i;
    next[i] = k;
  }
  void up(int k, int i) {
    while (k > 0) {
      const int parent = (k - 1) >> 1;
      if (!less(i, heap[parent])) break;
      place(k, heap[parent]);
      k = parent;
    }
    place(k, i);
  }
  void down(int k, int i) {
    for (;;) {
      int c = 2 * k + 1;
      if (c >= nHeap) break;
      if (c + 1 < nHeap && less(heap[c + 1], heap[c])) ++c;
      if (!less(heap[c], i)) break;
      place(k, heap[c]);
      k = c;
    }
    place(k, i);
  }
  void push(int i) {
    state[i] = kHeap;
    up(nHeap++, i);
  }
  int popHeap() {
    const int top = heap[0];
    if (--nHeap > 0) down(0, heap[nHeap]);
    return top;
  }

  // Each bucket is kSub lists (by the low bits of the index), so that a
  // bucket is gathered along several independent chains at once.
  static int slot(float t, int i) { return (int)(bucket(t) & 15) * kSub + (i & (kSub - 1)); }
  void link(int i, float t) {
    const int s = slot(t, i);
    state[i] = kList;
    next[i] = head[s];
    prev[i] = -1;
    if (head[s] >= 0) prev[head[s]] = i;
    head[s] = i;
  }
  void unlink(int i, float t) {
    const int s = slot(t, i);
    if (prev[i] >= 0)
      next[prev[i]] = next[i];
    else
      head[s] = next[i];
    if (next[i] >= 0) prev[next[i]] = prev[i];
  }

  void insert(int i, float t) {
    if (bucket(t) <= cur)
      push(i);
    else
      link(i, t);
  }
  // The map already holds the new time t (below old).
  void decrease(int i, float old, float t) {
    if (state[i] == kHeap) {
      up(next[i], i);
    } else if (state[i] == kSorted) {
      push(i);
    } else if (bucket(t) != bucket(old)) {
      unlink(i, old);
      insert(i, t);
    }
  }

  // Sorts the next non-empty bucket into the run; false when none is left.
  // Keys are sorted as 64-bit integers: the bits of a non-negative float
  // order like the float, the index fills the low half.
  bool refill() {
    for (int k = 1; k <= 16; ++k) {
      int* h = head + (int)((cur + k) & 15) * kSub;
      bool any = false;
      for (int j = 0; j < kSub; ++j) any |= h[j] >= 0;
      if (!any) continue;
      cur += k;
      int n = 0;
      for (bool more = true; more;) {
        more = false;
        for (int j = 0; j < kSub; ++j) {
          const int i = h[j];
          if (i < 0) continue;
          h[j] = next[i];
          more = true;
          const float t = g.time(i);
          Kvp32u bits;
          std::memcpy(&bits, &t, 4);
          keys[n++] = (unsigned long long)bits << 32 | (Kvp32u)i;
        }
      }
      std::sort(keys, keys + n);
      for (int j = 0; j < n; ++j) {
        const int i = (int)(Kvp32u)keys[j];
        state[i] = kSorted;
        std::memcpy(run + j, &i, sizeof i);  // the run reuses the keys' bytes
      }
      nRun = n;
      at = 0;
      return true;
    }
    return false;
  }
  // The band pixel with the smallest key; false when the band is empty.
  bool pop(int& i) {
    for (;;) {
      while (at < nRun && state[run[at]] != kSorted) ++at;
      const bool haveRun = at < nRun;
      if (!haveRun && nHeap == 0) {
        if (!refill()) return false;
        continue;
      }
      if (haveRun && (nHeap == 0 || less(run[at], heap[0])))
        i = run[at++];
      else
        i = popHeap();
      return true;
    }
  }
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
  const Grid g{dst, dstStep, w, h, IndexSplit(w)};
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
  auto* keys = static_cast<unsigned long long*>(mb.entriesRaw);
  int* half = static_cast<int*>(mb.entriesRaw);
  Band band{g, state, keys, half, half + area, mb.links, mb.links + area, mb.heads};
  std::fill(mb.heads, mb.heads + 16 * kSub, -1);
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
      band.insert(y * w + x, d[x]);
    }
  }
  auto relax = [&](int x, int y) {
    const int i = y * w + x;
    if (state[i] == kAccepted) return;
    const float t = candidate(g, state, x, y);
    float& cur = g.row(y)[x];
    if (state[i] == kFar) {
      cur = t;
      band.insert(i, t);
    } else if (t < cur) {
      const float old = cur;
      cur = t;
      band.decrease(i, old, t);
    }
  };
  int p;
  while (band.pop(p)) {
    int x, y;
    g.split(p, x, y);
    if (g.row(y)[x] > radius) break;
    state[p] = kAccepted;
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

// 17 bytes per pixel and 1024; past 2^40 pixels (far beyond the int range
// in any case) the count is capped so that the product cannot overflow.
long long marchBytes(KvpiSize roi) {
  return 17 * std::min((long long)roi.width * roi.height, 1LL << 40) + 1024;
}

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

// Inpainting by arrival time: the unknown pixels are filled one by one in
// ascending (T, row, column), each as the weighted mean of the pixels of a
// disc around it that are known or already filled. The weight of a
// neighbour q of p is
//   |(q - p) . grad T(p)| / |q - p|^3     (front direction and distance;
//                                          a near-tangent neighbour keeps
//                                          the floor 1e-6)
//   * 1 / (1 + |T(q) - T(p)|)             (level-set closeness),
// all in double in a fixed order, the mean rounded half to even.
//
// The state, built once per mask and distance map, holds the disc with its
// distance factors, a copy of T, a rank map (-1 known, the fill rank of
// every pixel that gets filled, INT_MAX for an unknown pixel that has no
// known pixel in its disc when its turn comes) and the filled pixels in
// rank order. "q counts for p" is then the single test rank(q) < rank(p).
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include "frame/bodies.h"
#include "frame/checks.h"
#include "frame/parallel.h"
#include "frame/state.h"
#include "inpaint/inpaint_common.h"

namespace kvp::inp {
namespace {

constexpr Kvp32u kKindC1 = 0x696e7031u;  // "inp1"
constexpr Kvp32u kKindC3 = 0x696e7033u;  // "inp3"

struct Disc {
  double c;  // 1 / (r^2 sqrt(r^2))
  int dx, dy;
  int off;  // dy * W + dx in the packed maps
  int pad;
};

struct State {
  StateHead head;
  int w, h;
  int rx, ry;  // largest |dx|, |dy| of the disc
  int nDisc, nFill;
  long long offDisc, offT, offRank, offOrder;
  const Disc* disc() const { return reinterpret_cast<const Disc*>(base() + offDisc); }
  const float* t() const { return reinterpret_cast<const float*>(base() + offT); }
  const int* rank() const { return reinterpret_cast<const int*>(base() + offRank); }
  const int* order() const { return reinterpret_cast<const int*>(base() + offOrder); }
  const Kvp8u* base() const { return reinterpret_cast<const Kvp8u*>(this); }
};

// Half extents of the disc: min(floor(radius), extent - 1), taken in double.
inline int halfExtent(double radius, int extent) {
  return (int)std::min(std::floor(radius), (double)extent - 1);
}

// Number of dx in [-rx, rx] with dx^2 + dy^2 <= r2 (the test in double).
inline long long rowCount(int dy, int rx, double r2) {
  const double left = r2 - (double)dy * dy;
  if (left < 0) return 0;
  long long k = (long long)std::min((double)rx, std::sqrt(left));  // in double: the root may pass any integer
  while (k < rx && (double)(k + 1) * (k + 1) + (double)dy * dy <= r2) ++k;
  while (k >= 0 && (double)k * k + (double)dy * dy > r2) --k;
  return k < 0 ? 0 : 2 * k + 1;
}

template <int CN>
KvpStatus initAlloc(void** ppState, const Kvp32f* dist, int distStep, const Kvp8u* mask, int maskStep,
                    KvpiSize roi, Kvp32f radius, int flag) {
  if (!ppState) return kvpStsNullPtr;
  if (KvpStatus st = checkPlanes(roi, {plane(dist, distStep), plane(mask, maskStep)})) return st;
  if (!std::isfinite(radius) || radius < 1) return kvpStsBadArg;
  if (flag != 0) return kvpStsBadArg;
  const int w = roi.width, h = roi.height;
  long long unknown = 0;
  for (int y = 0; y < h; ++y) {
    const Kvp32f* d = rowAt(dist, distStep, y);
    const Kvp8u* m = rowAt(mask, maskStep, y);
    for (int x = 0; x < w; ++x) {
      if (!std::isfinite(d[x])) return kvpStsBadArg;
      unknown += m[x] != 0;
    }
  }
  const double r2 = (double)radius * (double)radius;
  const int rx = halfExtent(radius, w), ry = halfExtent(radius, h);
  long long nDisc = 0;
  for (int dy = -ry; dy <= ry; ++dy) nDisc += rowCount(dy, rx, r2) - (dy == 0 ? 1 : 0);
  const long long area = (long long)w * h;
  if (area > kMaxBlock / 8) return kvpStsNoMemory;  // the two maps alone exceed a block
  const long long offDisc = regionAfter(0, sizeof(State));
  const long long offT = regionAfter(offDisc, nDisc * (long long)sizeof(Disc));
  const long long offRank = regionAfter(offT, 4 * area);
  const long long offOrder = regionAfter(offRank, 4 * area);
  const long long payload = offOrder + 4 * std::max(unknown, 1LL);
  return allocState<void, State>(payload, CN == 1 ? kKindC1 : kKindC3, ppState, [&](State* s, Kvp8u* base) {
    s->w = w;
    s->h = h;
    s->rx = rx;
    s->ry = ry;
    s->nDisc = (int)nDisc;
    s->offDisc = offDisc;
    s->offT = offT;
    s->offRank = offRank;
    s->offOrder = offOrder;
    Disc* disc = reinterpret_cast<Disc*>(base + offDisc);
    float* t = reinterpret_cast<float*>(base + offT);
    int* rank = reinterpret_cast<int*>(base + offRank);
    int* order = reinterpret_cast<int*>(base + offOrder);
    int k = 0;
    for (int dy = -ry; dy <= ry; ++dy)
      for (int dx = -rx; dx <= rx; ++dx) {
        const double q2 = (double)dx * dx + (double)dy * dy;
        if ((dx == 0 && dy == 0) || !(q2 <= r2)) continue;
        disc[k++] = Disc{1.0 / (q2 * std::sqrt(q2)), dx, dy, dy * w + dx, 0};
      }
    int n = 0;
    for (int y = 0; y < h; ++y) {
      const Kvp32f* d = rowAt(dist, distStep, y);
      const Kvp8u* m = rowAt(mask, maskStep, y);
      for (int x = 0; x < w; ++x) {
        const int i = y * w + x;
        t[i] = d[x];
        rank[i] = m[x] ? INT_MAX : -1;
        if (m[x]) order[n++] = i;
      }
    }
    s->nFill = 0;
    if (unknown == area) return;  // nothing known: nothing can be filled
    std::sort(order, order + n, [t](int a, int b) { return t[a] < t[b] || (t[a] == t[b] && a < b); });
    // Ranks in fill order; a pixel with nothing known in its disc is skipped
    // and never counts as known.
    const IndexSplit split(w);
    int filled = 0;
    for (int j = 0; j < n; ++j) {
      const int i = order[j];
      int x, y;
      split(i, x, y);
      bool any = false;
      for (int e = 0; e < (int)nDisc && !any; ++e) {
        const int qx = x + disc[e].dx, qy = y + disc[e].dy;
        if (qx < 0 || qy < 0 || qx >= w || qy >= h) continue;
        any = rank[i + disc[e].off] != INT_MAX;
      }
      if (!any) continue;
      rank[i] = filled;
      order[filled++] = i;
    }
    s->nFill = filled;
  });
}

inline Kvp8u roundByte(double v) {
  v = v < 0 ? 0 : (v > 255 ? 255 : v);
  return (Kvp8u)std::nearbyint(v);
}

// Gradient of T along one axis at a pixel: central inside, one-sided at
// the ends, 0 on a line of one pixel.
inline double slope(const float* t, int pos, int extent, long long stride) {
  const bool lo = pos > 0, hi = pos + 1 < extent;
  if (lo && hi) return ((double)t[stride] - (double)t[-stride]) * 0.5;
  if (hi) return (double)t[stride] - (double)t[0];
  if (lo) return (double)t[0] - (double)t[-stride];
  return 0.0;
}

template <int CN, bool Inside>
inline void fillPixel(const State& s, int i, int x, int y, int k, Kvp8u* dst, int dstStep) {
  const float* t = s.t();
  const int* rank = s.rank();
  const Disc* disc = s.disc();
  const double tp = t[i];
  const double gx = slope(t + i, x, s.w, 1), gy = slope(t + i, y, s.h, s.w);
  double sum = 0, v[CN] = {};
  Kvp8u* pp = rowAt(dst, dstStep, y) + x * CN;
  for (int e = 0; e < s.nDisc; ++e) {
    const Disc& d = disc[e];
    if (!Inside) {
      const int qx = x + d.dx, qy = y + d.dy;
      if (qx < 0 || qy < 0 || qx >= s.w || qy >= s.h) continue;
    }
    const int q = i + d.off;
    if (rank[q] >= k) continue;
    double a = (double)d.dx * gx + (double)d.dy * gy;
    if (std::fabs(a) <= 0.01) a = 1e-6;
    const double lev = 1.0 / (1.0 + std::fabs((double)t[q] - tp));
    const double wgt = (std::fabs(a) * d.c) * lev;
    sum += wgt;
    const Kvp8u* pq = rowAt(pp, dstStep, d.dy) + d.dx * CN;
    for (int c = 0; c < CN; ++c) v[c] += wgt * (double)pq[c];
  }
  for (int c = 0; c < CN; ++c) pp[c] = roundByte(v[c] / sum);
}

template <int CN>
KvpStatus inpaint(const Kvp8u* src, int srcStep, Kvp8u* dst, int dstStep, KvpiSize roi, const void* pState) {
  if (!src || !dst || !pState) return kvpStsNullPtr;
  const StateHead* head = stateHead(pState);
  if (roi.width < 1 || roi.height < 1) return kvpStsBadSize;
  const State* s = head && head->kind == (CN == 1 ? kKindC1 : kKindC3) ? stateAt<State>(pState) : nullptr;
  if (!s) return kvpStsBadArg;
  if (roi.width != s->w || roi.height != s->h) return kvpStsBadSize;
  if (KvpStatus st = checkSteps(roi.width, {plane(src, srcStep, CN), plane(dst, dstStep, CN)})) return st;
  if (src != dst)
    for (int y = 0; y < roi.height; ++y)
      std::memmove(rowAt(dst, dstStep, y), rowAt(src, srcStep, y), (size_t)roi.width * CN);
  const int* order = s->order();
  const IndexSplit split(s->w);
  for (int k = 0; k < s->nFill; ++k) {
    const int i = order[k];
    int x, y;
    split(i, x, y);
    if (x >= s->rx && x + s->rx < s->w && y >= s->ry && y + s->ry < s->h)
      fillPixel<CN, true>(*s, i, x, y, k, dst, dstStep);
    else
      fillPixel<CN, false>(*s, i, x, y, k, dst, dstStep);
  }
  return kvpStsOk;
}

}  // namespace
}  // namespace kvp::inp

using namespace kvp::inp;

KvpStatus KVP_BODY(kvpiInpaintInitAlloc_8u_C1R)(KvpiInpaintState_8u_C1R** ppState, const Kvp32f* pDist,
                                                int distStep, const Kvp8u* pMask, int maskStep,
                                                KvpiSize roiSize, Kvp32f radius, int flag) {
  return initAlloc<1>(reinterpret_cast<void**>(ppState), pDist, distStep, pMask, maskStep, roiSize, radius,
                      flag);
}
KvpStatus KVP_BODY(kvpiInpaintInitAlloc_8u_C3R)(KvpiInpaintState_8u_C3R** ppState, const Kvp32f* pDist,
                                                int distStep, const Kvp8u* pMask, int maskStep,
                                                KvpiSize roiSize, Kvp32f radius, int flag) {
  return initAlloc<3>(reinterpret_cast<void**>(ppState), pDist, distStep, pMask, maskStep, roiSize, radius,
                      flag);
}
KvpStatus KVP_BODY(kvpiInpaintFree_8u_C1R)(KvpiInpaintState_8u_C1R* pState) { return kvp::freeState(pState); }
KvpStatus KVP_BODY(kvpiInpaintFree_8u_C3R)(KvpiInpaintState_8u_C3R* pState) { return kvp::freeState(pState); }
KvpStatus KVP_BODY(kvpiInpaint_8u_C1R)(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep,
                                       KvpiSize roiSize, const KvpiInpaintState_8u_C1R* pState) {
  return inpaint<1>(pSrc, srcStep, pDst, dstStep, roiSize, pState);
}
KvpStatus KVP_BODY(kvpiInpaint_8u_C3R)(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep,
                                       KvpiSize roiSize, const KvpiInpaintState_8u_C3R* pState) {
  return inpaint<3>(pSrc, srcStep, pDst, dstStep, roiSize, pState);
}

// Marker flooding: the watershed on grey levels and the gradient
// segmentation on colour steps.
//
// One priority queue of 256 first-in-first-out lists, threaded through a
// link array of one entry per pixel (next[i], -1 at the end of a list);
// heads and tails live in per-thread slices of the caller's buffer. Seeds
// are queued in raster order (row bands each fill their own slice, which the
// calling thread then chains per key in band order); the flooding pops the
// head of the lowest non-empty list, labels each unlabelled neighbour in the
// fixed raster order of the neighbour offsets when it queues it, and never
// relabels. An optional last step marks the pixels that have a neighbour of
// a smaller label with the type's maximum; the link array holds those
// decisions between the deciding and the writing pass.
#include <algorithm>
#include <cstring>

#include "segment/segment_common.h"

namespace kvp::seg {
namespace {

constexpr int kFlagDistance = KVP_SEGMENT_DISTANCE;
constexpr int kBorder4 = KVP_SEGMENT_BORDER_4;
constexpr int kBorder8 = KVP_SEGMENT_BORDER_8;

inline bool validFlag(int flag) {
  if (flag & ~(kFlagDistance | kBorder4 | kBorder8)) return false;
  return (flag & (kBorder4 | kBorder8)) != (kBorder4 | kBorder8);
}

inline bool floodThreaded(KvpiSize roi) {
  return (long long)roi.width * roi.height >= (long long)ownGetNumThreads() * 32768;
}

// The parts of the caller's buffer.
struct FloodBuffer {
  int* next;   // W x H links
  int* slice;  // slice t: heads at slice + 512 t, tails at slice + 512 t + 256
  FloodBuffer(Kvp8u* buf, KvpiSize roi) {
    next = alignUp<int>(buf, 64);
    slice = alignUp<int>(next + (long long)roi.width * roi.height, 64);
  }
  int* heads(int t) const { return slice + 512 * t; }
  int* tails(int t) const { return slice + 512 * t + 256; }
};

// Seeding: every pixel with a label is appended to the list of its key, in
// raster order. Bands fill their own slices; the calling thread chains them.
template <class T, bool Gradient>
void seed(const Kvp8u* src, int srcStep, T* marker, int markerStep, KvpiSize roi, const FloodBuffer& fb,
          bool threaded) {
  const int w = roi.width;
  // A band without rows never runs: every slice the team may use starts
  // empty.
  const int slices = threaded ? clampTeam(ownGetNumThreads()) : 1;
  std::fill(fb.heads(0), fb.heads(0) + 512 * slices, -1);
  const int team = forRowBands(roi.height, threaded, [&](int y0, int rows, int t) {
    int* head = fb.heads(t);
    int* tail = fb.tails(t);
    for (int y = y0; y < y0 + rows; ++y) {
      const T* m = rowAt(marker, markerStep, y);
      const Kvp8u* s = rowAt(src, srcStep, y);
      const int base = y * w;
      for (int x = 0; x < w; ++x) {
        if (!m[x]) continue;
        const int k = Gradient ? 0 : s[x];
        const int i = base + x;
        fb.next[i] = -1;
        if (head[k] < 0)
          head[k] = i;
        else
          fb.next[tail[k]] = i;
        tail[k] = i;
      }
    }
  });
  int* head = fb.heads(0);
  int* tail = fb.tails(0);
  for (int t = 1; t < team; ++t) {
    const int* h = fb.heads(t);
    const int* tl = fb.tails(t);
    for (int k = 0; k < 256; ++k) {
      if (h[k] < 0) continue;
      if (head[k] < 0)
        head[k] = h[k];
      else
        fb.next[tail[k]] = h[k];
      tail[k] = tl[k];
    }
  }
}

// Level of q reached from p: the grey level of q, or the largest channel
// step between the two colour pixels.
template <bool Gradient>
inline int levelOf(const Kvp8u* sq, const Kvp8u* sp) {
  if constexpr (Gradient) {
    int d = 0;
    for (int c = 0; c < 3; ++c) {
      const int v = sq[c] > sp[c] ? sq[c] - sp[c] : sp[c] - sq[c];
      d = v > d ? v : d;
    }
    return d;
  } else {
    (void)sp;
    return *sq;
  }
}

// The flooding loop, on the chained lists of slice 0.
template <class T, bool Eight, bool Distance, bool Gradient>
void flood(const Kvp8u* src, int srcStep, T* marker, int markerStep, KvpiSize roi, const FloodBuffer& fb) {
  constexpr int cn = Gradient ? 3 : 1;
  const int w = roi.width, h = roi.height;
  int* next = fb.next;
  int* head = fb.heads(0);
  int* tail = fb.tails(0);
  const IndexSplit split(w);
  int cur = 0;
  for (;;) {
    while (cur < 256 && head[cur] < 0) ++cur;
    if (cur == 256) break;
    const int p = head[cur];
    head[cur] = next[p];
    int x, y;
    split(p, x, y);
    T* mrow = rowAt(marker, markerStep, y);
    const Kvp8u* srow = rowAt(src, srcStep, y);
    const T lab = mrow[x];
    const Kvp8u* sp = srow + x * cn;
    const int keyP = cur;
    auto visit = [&](T* mq, const Kvp8u* sq, int q) {
      if (*mq) return;
      *mq = lab;
      int k = levelOf<Gradient>(sq, sp);
      if (Distance && k < keyP) k = keyP;
      next[q] = -1;
      if (head[k] < 0)
        head[k] = q;
      else
        next[tail[k]] = q;
      tail[k] = q;
      if (k < cur) cur = k;
    };
    const bool left = x > 0, right = x + 1 < w;
    if (y > 0) {
      T* mu = rowAt(mrow, -markerStep, 1);
      const Kvp8u* su = rowAt(srow, -srcStep, 1);
      if (Eight && left) visit(mu + x - 1, su + (x - 1) * cn, p - w - 1);
      visit(mu + x, su + x * cn, p - w);
      if (Eight && right) visit(mu + x + 1, su + (x + 1) * cn, p - w + 1);
    }
    if (left) visit(mrow + x - 1, srow + (x - 1) * cn, p - 1);
    if (right) visit(mrow + x + 1, srow + (x + 1) * cn, p + 1);
    if (y + 1 < h) {
      T* md = rowAt(mrow, markerStep, 1);
      const Kvp8u* sd = rowAt(srow, srcStep, 1);
      if (Eight && left) visit(md + x - 1, sd + (x - 1) * cn, p + w - 1);
      visit(md + x, sd + x * cn, p + w);
      if (Eight && right) visit(md + x + 1, sd + (x + 1) * cn, p + w + 1);
    }
  }
}

// Border decision of one row: 1 where some neighbour inside the ROI holds a
// smaller label. up / down are null on the first / last row.
template <class T, bool Eight>
void borderRow(const T* up, const T* cur, const T* down, int w, int* out) {
  for (int x = 0; x < w; ++x) {
    const T v = cur[x];
    const bool l = x > 0, r = x + 1 < w;
    bool b = (l && cur[x - 1] < v) || (r && cur[x + 1] < v);
    if (up) b = b || up[x] < v || (Eight && ((l && up[x - 1] < v) || (r && up[x + 1] < v)));
    if (down) b = b || down[x] < v || (Eight && ((l && down[x - 1] < v) || (r && down[x + 1] < v)));
    out[x] = b;
  }
}

template <class T>
void markBorders(T* marker, int markerStep, KvpiSize roi, bool eight, int* decide, bool threaded) {
  const int w = roi.width, h = roi.height;
  forRowBands(h, threaded, [&](int y0, int rows, int) {
    for (int y = y0; y < y0 + rows; ++y) {
      const T* cur = rowAt(marker, markerStep, y);
      const T* up = y > 0 ? rowAt(marker, markerStep, y - 1) : nullptr;
      const T* down = y + 1 < h ? rowAt(marker, markerStep, y + 1) : nullptr;
      int* out = decide + (long long)y * w;
      if (eight)
        borderRow<T, true>(up, cur, down, w, out);
      else
        borderRow<T, false>(up, cur, down, w, out);
    }
  });
  const T top = (T)~T(0);
  forRowBands(h, threaded, [&](int y0, int rows, int) {
    for (int y = y0; y < y0 + rows; ++y) {
      T* m = rowAt(marker, markerStep, y);
      const int* d = decide + (long long)y * w;
#pragma omp simd
      for (int x = 0; x < w; ++x) m[x] = d[x] ? top : m[x];
    }
  });
}

template <class T, bool Gradient>
KvpStatus segment(const Kvp8u* src, int srcStep, T* marker, int markerStep, KvpiSize roi, KvpiNorm norm,
                  int flag, Kvp8u* buffer) {
  if (KvpStatus st =
          checkPlanes(roi, {plane(src, srcStep, Gradient ? 3 : 1), plane(marker, markerStep)}, {buffer}))
    return st;
  if (!connectivityNorm(norm)) return kvpStsBadArg;
  if (!validFlag(flag)) return kvpStsBadArg;
  const FloodBuffer fb(buffer, roi);
  // The gradient segmentation's seeding is cheap (every key is 0): it stays
  // on the calling thread and uses slice 0 only.
  const bool threaded = !Gradient && floodThreaded(roi);
  seed<T, Gradient>(src, srcStep, marker, markerStep, roi, fb, threaded);
  const int* head = fb.heads(0);
  if (std::all_of(head, head + 256, [](int i) { return i < 0; })) return kvpStsOk;
  const bool eight = norm == kvpiNormInf;
  const bool dist = flag & kFlagDistance;
  if (eight)
    dist ? flood<T, true, true, Gradient>(src, srcStep, marker, markerStep, roi, fb)
         : flood<T, true, false, Gradient>(src, srcStep, marker, markerStep, roi, fb);
  else
    dist ? flood<T, false, true, Gradient>(src, srcStep, marker, markerStep, roi, fb)
         : flood<T, false, false, Gradient>(src, srcStep, marker, markerStep, roi, fb);
  if (flag & (kBorder4 | kBorder8))
    markBorders(marker, markerStep, roi, (flag & kBorder8) != 0, fb.next, !Gradient && floodThreaded(roi));
  return kvpStsOk;
}

long long floodBytesNow(KvpiSize roi) { return floodBytes(roi, std::max(1, ownGetNumThreads())); }

}  // namespace
}  // namespace kvp::seg

using namespace kvp::seg;

KvpStatus KVP_BODY(kvpiSegmentWatershedGetBufferSize_8u_C1R)(KvpiSize roiSize, int* pBufSize) {
  return storeSize(roiSize, pBufSize, floodBytesNow);
}
KvpStatus KVP_BODY(kvpiSegmentWatershedGetBufferSize_8u16u_C1R)(KvpiSize roiSize, int* pBufSize) {
  return storeSize(roiSize, pBufSize, floodBytesNow);
}
KvpStatus KVP_BODY(kvpiSegmentGradientGetBufferSize_8u_C3R)(KvpiSize roiSize, int* pBufSize) {
  return storeSize(roiSize, pBufSize, floodBytesNow);
}

KvpStatus KVP_BODY(kvpiSegmentWatershed_8u_C1IR)(const Kvp8u* pSrc, int srcStep, Kvp8u* pMarker,
                                                 int markerStep, KvpiSize roiSize, KvpiNorm norm, int flag,
                                                 Kvp8u* pBuffer) {
  return segment<Kvp8u, false>(pSrc, srcStep, pMarker, markerStep, roiSize, norm, flag, pBuffer);
}
KvpStatus KVP_BODY(kvpiSegmentWatershed_8u16u_C1IR)(const Kvp8u* pSrc, int srcStep, Kvp16u* pMarker,
                                                    int markerStep, KvpiSize roiSize, KvpiNorm norm, int flag,
                                                    Kvp8u* pBuffer) {
  return segment<Kvp16u, false>(pSrc, srcStep, pMarker, markerStep, roiSize, norm, flag, pBuffer);
}
KvpStatus KVP_BODY(kvpiSegmentGradient_8u_C3IR)(const Kvp8u* pSrc, int srcStep, Kvp8u* pMarker,
                                                int markerStep, KvpiSize roiSize, KvpiNorm norm, int flag,
                                                Kvp8u* pBuffer) {
  return segment<Kvp8u, true>(pSrc, srcStep, pMarker, markerStep, roiSize, norm, flag, pBuffer);
}

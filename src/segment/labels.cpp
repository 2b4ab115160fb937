// Marker labelling and segment bounds.
//
// Labelling: one raster pass gives every foreground pixel a provisional
// label (a new one when no earlier neighbour is foreground) and joins the
// labels that meet in a union-find table whose unions keep the smaller
// root; provisional labels are handed out in raster order, so the root of
// each component is the label of its first pixel and numbering the roots in
// increasing order numbers the components in the order of their first
// pixels. A new label needs its left and upper neighbours in the background,
// so the new-label pixels form an independent set of the 4-connected grid:
// at most ceil(W H / 2) of them, which is what the table holds.
//
// Bounds: a pixel becomes val when a neighbour holds another label. The
// decision reads the input only; rows are written in place, so the input of
// the previous and the current row is kept in rolling copies; with row
// bands the first and last rows of each band (the only rows another band
// reads) are decided inside the region but written after it.
#include <algorithm>
#include <cstring>

#include "segment/segment_common.h"

namespace kvp::seg {
namespace {

// ---- labelling ----------------------------------------------------------------

struct Union {
  int* eq;
  int find(int a) const {
    while (eq[a] != a) a = eq[a];
    return a;
  }
  // Joins the sets of a and b; the smaller root survives and is returned.
  int join(int a, int b) {
    int ra = find(a), rb = find(b);
    if (ra == rb) return ra;
    if (ra > rb) std::swap(ra, rb);
    eq[rb] = ra;
    // Shortcut the two labels met here to the surviving root.
    eq[a] = ra;
    eq[b] = ra;
    return ra;
  }
};

template <class T, bool Eight>
int provisional(const T* marker, int markerStep, KvpiSize roi, int* map, Union& u) {
  const int w = roi.width, h = roi.height;
  int count = 0;
  for (int y = 0; y < h; ++y) {
    const T* m = rowAt(marker, markerStep, y);
    int* cur = map + (long long)y * w;
    const int* up = y > 0 ? cur - w : nullptr;
    for (int x = 0; x < w; ++x) {
      if (!m[x]) {
        cur[x] = 0;
        continue;
      }
      const int l = x > 0 ? cur[x - 1] : 0;
      int lab;
      if constexpr (!Eight) {
        const int a = up ? up[x] : 0;
        if (l) {
          lab = (a && a != l) ? u.join(a, l) : l;
        } else if (a) {
          lab = a;
        } else {
          lab = ++count;
          u.eq[lab] = lab;
        }
      } else {
        const int a = up ? up[x] : 0;
        if (a) {
          // The upper pixel touches every other earlier neighbour.
          lab = a;
        } else {
          const int ul = up && x > 0 ? up[x - 1] : 0;
          const int ur = up && x + 1 < w ? up[x + 1] : 0;
          const int prev = l ? l : ul;  // left and upper-left touch each other
          if (ur) {
            lab = (prev && prev != ur) ? u.join(prev, ur) : ur;
          } else if (prev) {
            lab = prev;
          } else {
            lab = ++count;
            u.eq[lab] = lab;
          }
        }
      }
      cur[x] = lab;
    }
  }
  return count;
}

template <class T>
KvpStatus labelMarkers(T* marker, int markerStep, KvpiSize roi, int minLabel, int maxLabel, KvpiNorm norm,
                       int* pNumber, Kvp8u* buffer) {
  if (KvpStatus st = checkPlanes(roi, {plane(marker, markerStep)}, {pNumber, buffer})) return st;
  if (!connectivityNorm(norm)) return kvpStsBadArg;
  const int top = (int)(T)~T(0);
  if (!(1 <= minLabel && minLabel <= maxLabel && maxLabel <= top)) return kvpStsBadArg;
  const int w = roi.width, h = roi.height;
  int* map = alignUp<int>(buffer, 64);
  Union u{alignUp<int>(map + (long long)w * h, 64)};
  const int count = norm == kvpiNormInf ? provisional<T, true>(marker, markerStep, roi, map, u)
                                        : provisional<T, false>(marker, markerStep, roi, map, u);
  // Number the roots in increasing order; every other label takes the
  // final value of its parent (always a smaller label), then becomes the
  // output value: minLabel + k for the k-th component, 0 past maxLabel.
  const int room = maxLabel - minLabel + 1;
  int k = 0;
  for (int l = 1; l <= count; ++l) u.eq[l] = u.eq[l] == l ? ++k : u.eq[u.eq[l]];
  for (int l = 1; l <= count; ++l) u.eq[l] = u.eq[l] <= room ? minLabel + u.eq[l] - 1 : 0;
  u.eq[0] = 0;
  for (int y = 0; y < h; ++y) {
    T* m = rowAt(marker, markerStep, y);
    const int* p = map + (long long)y * w;
    for (int x = 0; x < w; ++x) m[x] = (T)u.eq[p[x]];
  }
  *pNumber = std::min(k, room);
  return kvpStsOk;
}

// ---- bounds -------------------------------------------------------------------

constexpr long long kMaxBlockBytes = 0x7fffffffLL;

// One output row: out[x] = val where a neighbour of the input row cur
// differs from cur[x], else cur[x]. up / down are null outside the ROI.
template <class T, bool Eight>
void boundRow(const T* up, const T* cur, const T* down, int w, T val, T* out) {
  auto edge = [&](int x) {
    const T v = cur[x];
    const bool l = x > 0, r = x + 1 < w;
    bool b = (l && cur[x - 1] != v) || (r && cur[x + 1] != v);
    if (up) b = b || up[x] != v || (Eight && ((l && up[x - 1] != v) || (r && up[x + 1] != v)));
    if (down) b = b || down[x] != v || (Eight && ((l && down[x - 1] != v) || (r && down[x + 1] != v)));
    out[x] = b ? val : v;
  };
  if (!up || !down || w < 3) {
    for (int x = 0; x < w; ++x) edge(x);
    return;
  }
  edge(0);
#pragma omp simd
  for (int x = 1; x < w - 1; ++x) {
    const T v = cur[x];
    bool b = (cur[x - 1] != v) | (cur[x + 1] != v) | (up[x] != v) | (down[x] != v);
    if (Eight) b = b | (up[x - 1] != v) | (up[x + 1] != v) | (down[x - 1] != v) | (down[x + 1] != v);
    out[x] = b ? val : v;
  }
  edge(w - 1);
}

template <class T, bool Eight>
KvpStatus bounds(T* marker, int markerStep, KvpiSize roi, T val) {
  const int w = roi.width, h = roi.height;
  const long long rowBytes = ((long long)w * (long long)sizeof(T) + 63) / 64 * 64;
  bool threaded = (long long)w * h >= (long long)ownGetNumThreads() * 32768;
  const int want = threaded ? clampTeam(ownGetNumThreads()) : 1;
  long long bytes = rowBytes * (threaded ? 4LL * want : 2LL);
  if (bytes > kMaxBlockBytes) {
    threaded = false;
    bytes = rowBytes * 2;
  }
  if (bytes > kMaxBlockBytes) return kvpStsNoMemory;
  Kvp8u* block = static_cast<Kvp8u*>(kvpMalloc((int)bytes));
  if (!block) return kvpStsNoMemory;
  const size_t rb = (size_t)w * sizeof(T);
  auto slot = [&](int i) { return reinterpret_cast<T*>(block + rowBytes * i); };
  auto in = [&](int y) { return rowAt(marker, markerStep, y); };
  if (!threaded) {
    // Rolling copies of the previous and the current input row.
    T* prev = slot(0);
    T* cur = slot(1);
    for (int y = 0; y < h; ++y) {
      std::memcpy(cur, in(y), rb);
      boundRow<T, Eight>(y > 0 ? prev : nullptr, cur, y + 1 < h ? in(y + 1) : nullptr, w, val, in(y));
      std::swap(prev, cur);
    }
    kvpFree(block);
    return kvpStsOk;
  }
  // Bands: the first and last rows of a band are the only rows another band
  // reads, so inside the region they stay unwritten: their output goes to
  // the band's slots 4 t + 2 and 4 t + 3 and is copied in afterwards. The
  // rows between are written in place behind a rolling copy (slots 4 t and
  // 4 t + 1).
  int start[kMaxTeam], count[kMaxTeam] = {};
  const int team = forRowBands(h, true, [&](int y0, int rows, int t) {
    start[t] = y0;
    count[t] = rows;
    const int y1 = y0 + rows;
    boundRow<T, Eight>(y0 > 0 ? in(y0 - 1) : nullptr, in(y0), y0 + 1 < h ? in(y0 + 1) : nullptr, w, val,
                       slot(4 * t + 2));
    if (rows == 1) return;
    const T* prev = in(y0);
    T* copy[2] = {slot(4 * t), slot(4 * t + 1)};
    for (int y = y0 + 1; y < y1 - 1; ++y) {
      T* cur = copy[y & 1];
      std::memcpy(cur, in(y), rb);
      boundRow<T, Eight>(prev, cur, in(y + 1), w, val, in(y));
      prev = cur;
    }
    boundRow<T, Eight>(prev, in(y1 - 1), y1 < h ? in(y1) : nullptr, w, val, slot(4 * t + 3));
  });
  for (int t = 0; t < team; ++t) {
    if (count[t] < 1) continue;
    std::memcpy(in(start[t]), slot(4 * t + 2), rb);
    if (count[t] > 1) std::memcpy(in(start[t] + count[t] - 1), slot(4 * t + 3), rb);
  }
  kvpFree(block);
  return kvpStsOk;
}

template <class T>
KvpStatus boundSegments(T* marker, int markerStep, KvpiSize roi, T val, KvpiNorm norm) {
  if (KvpStatus st = checkPlanes(roi, {plane(marker, markerStep)})) return st;
  if (!connectivityNorm(norm)) return kvpStsBadArg;
  return norm == kvpiNormInf ? bounds<T, true>(marker, markerStep, roi, val)
                             : bounds<T, false>(marker, markerStep, roi, val);
}

}  // namespace
}  // namespace kvp::seg

using namespace kvp::seg;

KvpStatus KVP_BODY(kvpiLabelMarkersGetBufferSize_8u_C1R)(KvpiSize roiSize, int* pBufSize) {
  return storeSize(roiSize, pBufSize, labelBytes);
}
KvpStatus KVP_BODY(kvpiLabelMarkersGetBufferSize_16u_C1R)(KvpiSize roiSize, int* pBufSize) {
  return storeSize(roiSize, pBufSize, labelBytes);
}
KvpStatus KVP_BODY(kvpiLabelMarkers_8u_C1IR)(Kvp8u* pMarker, int markerStep, KvpiSize roiSize, int minLabel,
                                             int maxLabel, KvpiNorm norm, int* pNumber, Kvp8u* pBuffer) {
  return labelMarkers(pMarker, markerStep, roiSize, minLabel, maxLabel, norm, pNumber, pBuffer);
}
KvpStatus KVP_BODY(kvpiLabelMarkers_16u_C1IR)(Kvp16u* pMarker, int markerStep, KvpiSize roiSize, int minLabel,
                                              int maxLabel, KvpiNorm norm, int* pNumber, Kvp8u* pBuffer) {
  return labelMarkers(pMarker, markerStep, roiSize, minLabel, maxLabel, norm, pNumber, pBuffer);
}
KvpStatus KVP_BODY(kvpiBoundSegments_8u_C1IR)(Kvp8u* pMarker, int markerStep, KvpiSize roiSize, Kvp8u val,
                                              KvpiNorm norm) {
  return boundSegments(pMarker, markerStep, roiSize, val, norm);
}
KvpStatus KVP_BODY(kvpiBoundSegments_16u_C1IR)(Kvp16u* pMarker, int markerStep, KvpiSize roiSize, Kvp16u val,
                                               KvpiNorm norm) {
  return boundSegments(pMarker, markerStep, roiSize, val, norm);
}

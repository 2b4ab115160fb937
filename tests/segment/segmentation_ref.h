// Plain references of the marker segmentations, shared by the unit tests
// and the fuzz target: packed images (row-major vectors), no buffers, no
// threads, the rules written out directly.
//   flood   a priority queue of 256 std::deque, pop from the lowest
//           non-empty one, neighbours in raster order;
//   label   a breadth-first search started at each unvisited foreground
//           pixel in raster order;
//   bounds  every pixel compared with each neighbour of the input copy.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <vector>

namespace segref {

struct Offset {
  int dx, dy;
};

inline std::vector<Offset> neighbours(bool eight) {
  if (eight) return {{-1, -1}, {0, -1}, {1, -1}, {-1, 0}, {1, 0}, {-1, 1}, {0, 1}, {1, 1}};
  return {{0, -1}, {-1, 0}, {1, 0}, {0, 1}};
}

// Marker flooding. src holds cn values per pixel (1: grey levels, 3: colour
// steps); marker holds the labels and is updated. flag as in the library
// (validity not checked here).
template <class T>
void flood(const std::vector<uint8_t>& src, int cn, std::vector<T>& marker, int w, int h, bool eight,
           int flag) {
  const bool distance = flag & 1;
  std::deque<int> q[256];
  std::vector<int> key((size_t)w * h, 0);
  bool any = false;
  for (int i = 0; i < w * h; ++i)
    if (marker[i]) {
      key[i] = cn == 3 ? 0 : src[i];
      q[key[i]].push_back(i);
      any = true;
    }
  if (!any) return;
  const auto nb = neighbours(eight);
  for (;;) {
    int k = 0;
    while (k < 256 && q[k].empty()) ++k;
    if (k == 256) break;
    const int p = q[k].front();
    q[k].pop_front();
    const int px = p % w, py = p / w;
    for (const Offset& o : nb) {
      const int x = px + o.dx, y = py + o.dy;
      if (x < 0 || y < 0 || x >= w || y >= h) continue;
      const int i = y * w + x;
      if (marker[i]) continue;
      marker[i] = marker[p];
      int v = 0;
      if (cn == 3)
        for (int c = 0; c < 3; ++c)
          v = std::max(v, std::abs(src[(size_t)i * 3 + c] - src[(size_t)p * 3 + c]));
      else
        v = src[i];
      key[i] = distance ? std::max(v, key[p]) : v;
      q[key[i]].push_back(i);
    }
  }
  if (flag & 0xC0) {
    const auto bn = neighbours(flag & 0x80);
    const std::vector<T> lab = marker;
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        for (const Offset& o : bn) {
          const int qx = x + o.dx, qy = y + o.dy;
          if (qx < 0 || qy < 0 || qx >= w || qy >= h) continue;
          if (lab[(size_t)qy * w + qx] < lab[(size_t)y * w + x]) marker[(size_t)y * w + x] = (T)~T(0);
        }
  }
}

// Component labelling; returns the number of components that got a label.
template <class T>
int label(std::vector<T>& marker, int w, int h, bool eight, int minLabel, int maxLabel) {
  std::vector<int> comp((size_t)w * h, -1);
  const auto nb = neighbours(eight);
  int k = 0;
  for (int s = 0; s < w * h; ++s) {
    if (!marker[s] || comp[s] >= 0) continue;
    std::deque<int> todo{s};
    comp[s] = k;
    while (!todo.empty()) {
      const int p = todo.front();
      todo.pop_front();
      for (const Offset& o : nb) {
        const int x = p % w + o.dx, y = p / w + o.dy;
        if (x < 0 || y < 0 || x >= w || y >= h) continue;
        const int i = y * w + x;
        if (marker[i] && comp[i] < 0) {
          comp[i] = k;
          todo.push_back(i);
        }
      }
    }
    ++k;
  }
  const int room = maxLabel - minLabel + 1;
  for (int i = 0; i < w * h; ++i) marker[i] = comp[i] < 0 || comp[i] >= room ? T(0) : (T)(minLabel + comp[i]);
  return std::min(k, room);
}

// Segment bounds.
template <class T>
void bounds(std::vector<T>& marker, int w, int h, bool eight, T val) {
  const std::vector<T> in = marker;
  const auto nb = neighbours(eight);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (const Offset& o : nb) {
        const int qx = x + o.dx, qy = y + o.dy;
        if (qx < 0 || qy < 0 || qx >= w || qy >= h) continue;
        if (in[(size_t)qy * w + qx] != in[(size_t)y * w + x]) marker[(size_t)y * w + x] = val;
      }
}

}  // namespace segref

// Plain reference of one Gaussian 5x5 pyramid level, shared by the unit
// tests and the fuzz target: the taps of each output position under the
// border rules of each direction, and the weighted sums.
#pragma once

#include <cmath>
#include <type_traits>

#include "kvpcv.h"

// Marks the reference loops; the fuzz targets define it to keep them out of
// the coverage feedback.
#ifndef KVT_REF_LOOP
#define KVT_REF_LOOP
#endif

namespace pr {

// Down: index i of an axis of n samples, mirrored about the edge sample
// (not repeating it) until it falls inside.
inline int mirrorDown(int i, int n) {
  if (n == 1) return 0;
  while (i < 0 || i >= n) i = i < 0 ? -i : 2 * n - 2 - i;
  return i;
}

// Up: one step past the start mirrors, one past the end replicates.
inline int edgeUp(int i, int n) {
  if (n == 1) return 0;
  return i < 0 ? -i : (i >= n ? n - 1 : i);
}

// The (index, weight) taps of output position o along an axis of n source
// samples: (1 4 6 4 1) down, (1 6 1) or (4 4) up. Returns how many.
inline int taps(bool down, int o, int n, int* idx, int* w) {
  static const int k[5] = {1, 4, 6, 4, 1};
  if (down) {
    for (int i = 0; i < 5; ++i) idx[i] = mirrorDown(2 * o + i - 2, n), w[i] = k[i];
    return 5;
  }
  const int x = o / 2;
  if (o % 2 == 0) {
    idx[0] = edgeUp(x - 1, n), idx[1] = x, idx[2] = edgeUp(x + 1, n);
    w[0] = 1, w[1] = 6, w[2] = 1;
    return 3;
  }
  idx[0] = x, idx[1] = edgeUp(x + 1, n);
  w[0] = w[1] = 4;
  return 2;
}

// Output (X, Y) of a w x h source, get(x, y) reading the channel: the
// weighted sum in double (exact for 8-bit sources), divided by 256 (down)
// or 64 (up); integers rounded half upward.
template <class T, class Get>
KVT_REF_LOOP T level(bool down, int X, int Y, int w, int h, Get get) {
  int xi[5], xw[5], yi[5], yw[5];
  const int nx = taps(down, X, w, xi, xw), ny = taps(down, Y, h, yi, yw);
  double sum = 0;
  for (int j = 0; j < ny; ++j)
    for (int i = 0; i < nx; ++i) sum += (double)yw[j] * xw[i] * (double)get(xi[i], yi[j]);
  const double total = down ? 256.0 : 64.0;
  if constexpr (std::is_floating_point_v<T>)
    return (T)(sum / total);
  else
    return (T)std::floor((sum + total / 2) / total);
}

}  // namespace pr

// Pieces shared by the fast march and the inpainting: the pixel position of
// a linear index without a division, and the parts of the march's buffer.
#pragma once

#include "frame/alloc.h"
#include "kvpcore.h"

namespace kvp::inp {

// Splits a linear index i = y * w + x (0 <= i < 2^31) into (x, y) with one
// multiplication by a double reciprocal and a correction of at most one row.
struct IndexSplit {
  int w;
  double inv;
  explicit IndexSplit(int width) : w(width), inv(1.0 / width) {}
  inline void operator()(long long i, int& x, int& y) const {
    long long q = (long long)((double)i * inv);
    long long base = q * w;
    if (base > i) {
      --q;
      base -= w;
    } else if (base + w <= i) {
      ++q;
      base += w;
    }
    y = (int)q;
    x = (int)(i - base);
  }
};

// The march's buffer: a state byte per pixel, an 8-byte queue entry per
// pixel, two 32-bit links per pixel, each part 64-byte aligned; the rest of
// the 1024 spare bytes holds the queue's heads.
struct MarchBuffer {
  Kvp8u* state;
  void* entriesRaw;
  int* links;
  int* heads;
  MarchBuffer(Kvp8u* buf, KvpiSize roi) {
    const long long area = (long long)roi.width * roi.height;
    state = alignUp<Kvp8u>(buf, 64);
    entriesRaw = alignUp<void>(state + area, 64);
    links = alignUp<int>(static_cast<Kvp8u*>(entriesRaw) + 8 * area, 64);
    heads = alignUp<int>(links + 2 * area, 64);
  }
};

}  // namespace kvp::inp

// The state object shared by the two background models: one head block
// (kind tag, frame size, counter, parameters, the table of model blocks)
// and the per-pixel model in whole rows spread over as many kvpMalloc
// blocks as needed, each at most 2147483647 bytes. Also the per-pixel
// helpers both models use: the shadow test and the rounding to 8 bits.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "frame/checks.h"
#include "frame/parallel.h"
#include "frame/state.h"
#include "kvpcv.h"

namespace kvp::fg {

enum Model : Kvp32u { kHistogram = 1, kGaussian = 2 };

// The kind tag: model and channel count.
constexpr Kvp32u kindOf(Model m, int channels) { return 0x46470000u | ((Kvp32u)m << 4) | (Kvp32u)channels; }

struct FGState {
  StateHead head;
  int channels;
  KvpiSize size;
  int counter;           // frames seen, 1 after InitAlloc, saturating at 2^31 - 2
  long long pixelBytes;  // per-pixel model record
  long long rowBytes;
  int rowsPerBlock;
  int blocks;
  unsigned char** block;  // `blocks` pointers, in the head block
  KvpFGHistogramModel hist;
  KvpFGGaussianModel gauss;

  unsigned char* row(int y) const {
    return block[y / rowsPerBlock] + (long long)(y % rowsPerBlock) * rowBytes;
  }
};

constexpr int kMaxCounter = 0x7ffffffe;

// The next frame's index t (counter + 1).
inline int nextFrame(const FGState& s) { return s.counter + 1; }
inline void advance(FGState& s, int t) { s.counter = t > kMaxCounter ? kMaxCounter : t; }

// Releases the model blocks and the head.
inline KvpStatus freeFG(void* p) {
  if (!p) return kvpStsNullPtr;
  const StateHead* h = stateHead(p);
  if (!h || !h->owned) return kvpStsBadArg;
  FGState* s = stateAt<FGState>(p);
  for (int i = 0; i < s->blocks; ++i) kvpFree(s->block[i]);
  return freeState(p);
}

// Head plus zeroed model blocks for `pixelBytes` bytes per pixel. On
// failure everything is released and *pp untouched.
template <class Opaque, class Setup>
KvpStatus allocFG(Model m, int channels, KvpiSize size, long long pixelBytes, Opaque** pp, Setup&& setup) {
  const long long rowBytes = pixelBytes * size.width;
  if (rowBytes > kMaxBlock) return kvpStsNoMemory;
  const long long rowsPerBlock = kMaxBlock / rowBytes;
  const int rpb = (int)(rowsPerBlock < size.height ? rowsPerBlock : size.height);
  const int blocks = (size.height + rpb - 1) / rpb;
  const long long tableAt = regionAfter(0, (long long)sizeof(FGState));
  void* head = nullptr;
  KvpStatus st = allocState<void, FGState>(tableAt + (long long)blocks * (long long)sizeof(void*),
                                           kindOf(m, channels), &head, [&](FGState* s, unsigned char* base) {
                                             s->channels = channels;
                                             s->size = size;
                                             s->counter = 1;
                                             s->pixelBytes = pixelBytes;
                                             s->rowBytes = rowBytes;
                                             s->rowsPerBlock = rpb;
                                             s->blocks = 0;
                                             s->block = reinterpret_cast<unsigned char**>(base + tableAt);
                                           });
  if (st) return st;
  FGState* s = stateAt<FGState>(head);
  for (int i = 0; i < blocks; ++i) {
    const int rows = (i + 1 == blocks) ? size.height - i * rpb : rpb;
    void* b = kvpMalloc((int)(rowBytes * rows));
    if (!b) {
      freeFG(head);
      return kvpStsNoMemory;
    }
    std::memset(b, 0, (size_t)(rowBytes * rows));
    s->block[s->blocks++] = static_cast<unsigned char*>(b);
  }
  setup(*s);
  *pp = static_cast<Opaque*>(head);
  return kvpStsOk;
}

// The tag test of the working calls: a live state of this model and
// channel count.
inline bool tagged(const void* p, Model m, int channels) {
  const StateHead* h = stateHead(p);
  return h && h->kind == kindOf(m, channels);
}

// Clamp to [0, 255], round half to even (the conversion rounds in the
// default nearest-even mode; the portable form adds and removes 2^23, which
// rounds a value in [0, 2^23) to an integer the same way).
inline Kvp8u round8(float v) {
  const float c = std::min(std::max(v, 0.f), 255.f);
#ifdef __SSE2__
  return (Kvp8u)_mm_cvtss_si32(_mm_set_ss(c));
#else
  return (Kvp8u)(int)((c + 8388608.f) - 8388608.f);
#endif
}

inline bool finite(float v) { return std::isfinite(v); }

// Whether colour I (C channel values) is a darkened copy of reference R.
template <int C>
inline bool shadow(const float* I, const float* R, float brightness, float detection) {
  float m2 = R[0] * R[0];
  for (int c = 1; c < C; ++c) m2 = m2 + R[c] * R[c];
  if (m2 == 0.f) return false;
  float p = I[0] * R[0];
  for (int c = 1; c < C; ++c) p = p + I[c] * R[c];
  const float beta = p / m2;
  if (!(beta >= brightness && beta < 1.f)) return false;
  if constexpr (C == 3) {
    float e = 0.f;
    for (int c = 0; c < C; ++c) {
      const float d = I[c] - beta * R[c];
      e = (c == 0) ? d * d : e + d * d;
    }
    return e <= (detection * detection) * m2;
  }
  return true;
}

// Rows split into bands above the area threshold.
inline bool threadedArea(KvpiSize s) {
  return (long long)s.width * s.height >= (long long)ownGetNumThreads() * 32768;
}

}  // namespace kvp::fg

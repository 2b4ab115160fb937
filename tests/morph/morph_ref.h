// Plain references for the morphology family, pixel by pixel from the
// definitions: flat erosion and dilation over the mask members with every
// read clamped into the ROI, the derived operations composed from them,
// non-flat erosion and dilation term by term in 64-bit integers or single
// floats, and reconstruction as the iteration J <- min(dilate(J), I) (or
// its dual) repeated until nothing changes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "kvpcv.h"

namespace mref {

// A packed image of cn interleaved channels.
template <class T>
struct Img {
  int w = 0, h = 0, cn = 1;
  std::vector<T> v;
  Img() = default;
  Img(int w_, int h_, int cn_) : w(w_), h(h_), cn(cn_), v((size_t)w_ * h_ * cn_) {}
  T& at(int x, int y, int c = 0) { return v[((size_t)y * w + x) * cn + c]; }
  const T& at(int x, int y, int c = 0) const { return v[((size_t)y * w + x) * cn + c]; }
  // The same clamped into the image (the replicated border).
  const T& clamped(int x, int y, int c) const {
    return at(std::clamp(x, 0, w - 1), std::clamp(y, 0, h - 1), c);
  }
};

// A plane given by its first pixel and row step in bytes, read through
// memcpy (rows need not be aligned).
template <class T>
Img<T> load(const void* p, long long step, int w, int h, int cn) {
  Img<T> im(w, h, cn);
  for (int y = 0; y < h; ++y)
    std::memcpy(&im.v[(size_t)y * w * cn], static_cast<const uint8_t*>(p) + step * y,
                sizeof(T) * (size_t)w * cn);
  return im;
}

// Element equality (floats by ==, so tied zeros of either sign agree; two
// NaNs, which a difference of equal infinities gives, agree too).
template <class T>
bool same(T a, T b) {
  return a == b || (a != a && b != b);
}

template <class T>
T sat(long long v) {
  return (T)std::clamp<long long>(v, 0, std::numeric_limits<T>::max());
}

// a - b, saturating at 0 for integers.
template <class T>
T sub(T a, T b) {
  if constexpr (std::is_floating_point_v<T>)
    return a - b;
  else
    return a > b ? (T)(a - b) : (T)0;
}

struct Mask {
  int w = 1, h = 1, ax = 0, ay = 0;
  std::vector<uint8_t> m;  // row-major, non-zero = member
};

// Flat erosion (dilate false) or dilation: extremum over members (i, j) of
// src(x + i - ax, y + j - ay), clamped.
template <class T>
Img<T> flat(const Img<T>& s, const Mask& k, bool dilate) {
  Img<T> d(s.w, s.h, s.cn);
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < s.w; ++x)
      for (int c = 0; c < s.cn; ++c) {
        bool first = true;
        T e{};
        for (int j = 0; j < k.h; ++j)
          for (int i = 0; i < k.w; ++i) {
            if (!k.m[(size_t)j * k.w + i]) continue;
            const T v = s.clamped(x + i - k.ax, y + j - k.ay, c);
            if (first || (dilate ? e < v : v < e)) e = v;
            first = false;
          }
        d.at(x, y, c) = e;
      }
  return d;
}

enum class Op { Erode, Dilate, Open, Close, Tophat, Blackhat, Gradient };

// All seven operations, indexed by Op, from four flat passes.
template <class T>
std::vector<Img<T>> allOps(const Img<T>& s, const Mask& k) {
  const Img<T> e = flat(s, k, false), d = flat(s, k, true), o = flat(e, k, true), c = flat(d, k, false);
  auto diff = [](Img<T> a, const Img<T>& b) {
    for (size_t i = 0; i < a.v.size(); ++i) a.v[i] = sub(a.v[i], b.v[i]);
    return a;
  };
  return {e, d, o, c, diff(s, o), diff(c, s), diff(d, e)};
}

// Non-flat: every mask element a member; 8u terms exact in 64 bits then
// saturated, 32f terms one single-precision operation each.
template <class T, class M>
Img<T> gray(const Img<T>& s, const M* m, int mw, int mh, int ax, int ay, bool dilate) {
  Img<T> d(s.w, s.h, 1);
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < s.w; ++x) {
      if constexpr (std::is_floating_point_v<T>) {
        T e{};
        bool first = true;
        for (int j = 0; j < mh; ++j)
          for (int i = 0; i < mw; ++i) {
            const T a = s.clamped(x + i - ax, y + j - ay, 0), b = m[(size_t)j * mw + i];
            const T v = dilate ? a + b : a - b;
            if (first || (dilate ? e < v : v < e)) e = v;
            first = false;
          }
        d.at(x, y) = e;
      } else {
        long long e = dilate ? std::numeric_limits<long long>::min() : std::numeric_limits<long long>::max();
        for (int j = 0; j < mh; ++j)
          for (int i = 0; i < mw; ++i) {
            const long long a = s.clamped(x + i - ax, y + j - ay, 0), b = m[(size_t)j * mw + i];
            e = dilate ? std::max(e, a + b) : std::min(e, a - b);
          }
        d.at(x, y) = sat<T>(e);
      }
    }
  return d;
}

// Reconstruction of marker j under (dilate) or above (erode) mask i;
// eight selects the 8-neighbourhood. Iterates to the fixed point.
template <class T>
Img<T> reconstruct(const Img<T>& i, Img<T> j, bool dilate, bool eight) {
  auto better = [&](T a, T b) { return dilate ? b < a : a < b; };  // a improves on b
  auto bound = [&](T v, T lim) { return better(v, lim) ? lim : v; };
  for (size_t k = 0; k < j.v.size(); ++k) j.v[k] = bound(j.v[k], i.v[k]);
  for (bool changed = true; changed;) {
    changed = false;
    Img<T> n = j;
    for (int y = 0; y < j.h; ++y)
      for (int x = 0; x < j.w; ++x) {
        T e = j.at(x, y);
        for (int dy = -1; dy <= 1; ++dy)
          for (int dx = -1; dx <= 1; ++dx) {
            if ((dx && dy && !eight) || x + dx < 0 || y + dy < 0 || x + dx >= j.w || y + dy >= j.h) continue;
            if (better(j.at(x + dx, y + dy), e)) e = j.at(x + dx, y + dy);
          }
        e = bound(e, i.at(x, y));
        if (!same(e, n.at(x, y))) {
          n.at(x, y) = e;
          changed = true;
        }
      }
    j = n;
  }
  return j;
}

}  // namespace mref

// Plain references for the flood fills: a simple stack fill over the
// connected set (exact, fixed range without overflow, 4-connected floating
// range) and a step-by-step model of the scan-line procedure with its
// segment list (the ring of the fixed-range fills, the floating-range fills
// with 8-connectivity).
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "kvpcv.h"

// Marks the reference loops; the fuzz targets define it to keep them out of
// the coverage feedback.
#ifndef KVT_REF_LOOP
#define KVT_REF_LOOP
#endif

namespace ffr {

// A packed image of CN interleaved channels.
template <class T>
struct Img {
  int w = 0, h = 0, cn = 1;
  std::vector<T> v;
  Img() = default;
  Img(int w_, int h_, int cn_) : w(w_), h(h_), cn(cn_), v((size_t)w_ * h_ * cn_) {}
  T* px(int x, int y) { return &v[((size_t)y * w + x) * cn]; }
  const T* px(int x, int y) const { return &v[((size_t)y * w + x) * cn]; }
  bool operator==(const Img& o) const {
    if (w != o.w || h != o.h || cn != o.cn) return false;
    for (size_t i = 0; i < v.size(); ++i)
      if (std::memcmp(&v[i], &o.v[i], sizeof(T)) != 0) return false;
    return true;
  }
};

struct Result {
  double area = 0;
  int x0 = 0, y0 = 0, x1 = -1, y1 = -1;
  bool wrote = false;
  size_t maxDepth = 0;  // most records on the list at once (unbounded lists)
  void add(int x, int y) {
    if (x1 < x0) x0 = x1 = x, y0 = y1 = y;
    x0 = std::min(x0, x);
    x1 = std::max(x1, x);
    y0 = std::min(y0, y);
    y1 = std::max(y1, y);
  }
};

template <class T>
bool samePix(const T* a, const T* b, int cn) {
  for (int c = 0; c < cn; ++c)
    if (!(a[c] == b[c])) return false;
  return true;
}

template <class T>
void paint(Img<T>& im, int x, int y, const T* nv) {
  for (int c = 0; c < im.cn; ++c) im.px(x, y)[c] = nv[c];
}

// Fixed-range bounds, per channel.
template <class T>
struct Bounds {
  T lo[3], hi[3];
  int cn;
  bool ok(const T* p) const {
    for (int c = 0; c < cn; ++c)
      if (!(p[c] >= lo[c] && hi[c] >= p[c])) return false;
    return true;
  }
};
template <class T>
Bounds<T> boundsOf(const T* s, const T* mn, const T* mx, int cn) {
  Bounds<T> b;
  b.cn = cn;
  for (int c = 0; c < cn; ++c) {
    if constexpr (std::is_floating_point_v<T>) {
      b.lo[c] = s[c] - mn[c];
      b.hi[c] = s[c] + mx[c];
    } else {
      const long top = std::is_same_v<T, Kvp8u> ? 255 : 65535;
      b.lo[c] = (T)std::max(0L, (long)s[c] - (long)mn[c]);
      b.hi[c] = (T)std::min(top, (long)s[c] + (long)mx[c]);
    }
  }
  return b;
}

// a fits b in every channel: b - mn <= a <= b + mx.
template <class T>
bool fits(const T* a, const T* b, const T* mn, const T* mx, int cn) {
  for (int c = 0; c < cn; ++c) {
    if constexpr (std::is_floating_point_v<T>) {
      if (!((T)(b[c] - mn[c]) <= a[c] && a[c] <= (T)(b[c] + mx[c]))) return false;
    } else {
      if (!((long)b[c] - (long)mn[c] <= (long)a[c] && (long)a[c] <= (long)b[c] + (long)mx[c])) return false;
    }
  }
  return true;
}

// Pixels reachable from the seed: a neighbour joins when join(neighbour,
// the pixel it is reached from) holds. A mask, row-major.
template <class T, class Join>
KVT_REF_LOOP std::vector<uint8_t> reach(const Img<T>& im, int sx, int sy, bool eight, Join join) {
  std::vector<uint8_t> in((size_t)im.w * im.h, 0);
  std::vector<std::pair<int, int>> st{{sx, sy}};
  in[(size_t)sy * im.w + sx] = 1;
  while (!st.empty()) {
    auto [x, y] = st.back();
    st.pop_back();
    for (int dy = -1; dy <= 1; ++dy)
      for (int dx = -1; dx <= 1; ++dx) {
        if ((dx == 0 && dy == 0) || (!eight && dx != 0 && dy != 0)) continue;
        const int nx = x + dx, ny = y + dy;
        if (nx < 0 || ny < 0 || nx >= im.w || ny >= im.h || in[(size_t)ny * im.w + nx]) continue;
        if (!join(im.px(nx, ny), im.px(x, y))) continue;
        in[(size_t)ny * im.w + nx] = 1;
        st.push_back({nx, ny});
      }
  }
  return in;
}

// Paints the pixels of a mask and reports them.
template <class T>
KVT_REF_LOOP Result paintSet(Img<T>& im, const std::vector<uint8_t>& in, const T* nv) {
  Result res;
  for (int y = 0; y < im.h; ++y)
    for (int x = 0; x < im.w; ++x)
      if (in[(size_t)y * im.w + x]) {
        paint(im, x, y, nv);
        res.add(x, y);
        res.area += 1;
      }
  res.wrote = true;
  return res;
}

// The connected set of pixels that satisfy ok(pixel).
template <class T, class Ok>
Result stackFill(Img<T>& im, int sx, int sy, bool eight, const T* nv, Ok ok) {
  return paintSet(im, reach(im, sx, sy, eight, [&](const T* a, const T*) { return ok(a); }), nv);
}

// Floating range, 4-connected: every pixel reachable from the seed through
// steps onto a 4-neighbour that fits the pixel it is reached from. All
// tests see the original values.
template <class T>
Result gradClosure(Img<T>& im, int sx, int sy, const T* nv, const T* mn, const T* mx) {
  auto fit = [&](const T* a, const T* b) { return fits(a, b, mn, mx, im.cn); };
  return paintSet(im, reach(im, sx, sy, false, fit), nv);
}

struct Seg {
  int y, l, r, pl, pr, dir;
  bool operator==(const Seg& o) const {
    return y == o.y && l == o.l && r == o.r && pl == o.pl && pr == o.pr && dir == o.dir;
  }
};

// How a model walk ended: the list ran empty; the list came back to a state
// it had before (possible when the new value itself qualifies: the image
// and the box are then final, only the area is not); or maxSegments ran out.
enum class End { Done, Cycle, Capped };

// Step-by-step model of the exact / fixed-range scan-line procedure. ring
// > 0: the fixed-range ring of that many records; 0: an unbounded stack.
// maxSegments bounds the model's own work.
template <class T, class Ok>
KVT_REF_LOOP End scanModel(Img<T>& im, int sx, int sy, bool eight, const T* nv, Ok ok, int ring, Result& res,
                           long maxSegments = 1L << 40) {
  const int w = im.w, h = im.h;
  auto extendPaint = [&](int x, int y, int& l, int& r) {
    paint(im, x, y, nv);
    l = x;
    while (l > 0 && ok(im.px(l - 1, y))) paint(im, --l, y, nv);
    r = x;
    while (r < w - 1 && ok(im.px(r + 1, y))) paint(im, ++r, y, nv);
  };
  int L, R;
  extendPaint(sx, sy, L, R);
  res = Result{};
  res.wrote = true;
  res.area = R - L + 1;
  res.x0 = L, res.x1 = R, res.y0 = res.y1 = sy;
  if (h == 1) return End::Done;
  std::vector<Seg> list(ring > 0 ? ring : 0);
  int idx = 0;
  auto push = [&](Seg s) {
    if (ring > 0) {
      list[idx] = s;
      if (++idx == ring) idx = 0;
    } else {
      list.push_back(s);
      res.maxDepth = std::max(res.maxDepth, list.size());
    }
  };
  auto empty = [&] { return ring > 0 ? idx == 0 : list.empty(); };
  auto pop = [&] {
    if (ring > 0) return list[--idx];
    Seg s = list.back();
    list.pop_back();
    return s;
  };
  auto scan = [&](int y, int a, int b, int pl, int pr, int dir) {
    for (int x = a; x <= b;) {
      if (!ok(im.px(x, y))) {
        ++x;
        continue;
      }
      int l, r;
      extendPaint(x, y, l, r);
      push({y, l, r, pl, pr, dir});
      res.area += r - l + 1;
      x = r + 2;
    }
  };
  push({sy, L, R, R + 1, R, sy == h - 1 ? -1 : 1});
  // Cycle detection (Brent) over the list's states, when the new value
  // qualifies and the walk can find its own paint again.
  const bool watch = ok(nv);
  std::vector<Seg> saved;
  int savedIdx = -1;
  long power = 1, lam = 0, segments = 0;
  while (!empty()) {
    if (++segments > maxSegments) return End::Capped;
    const Seg s = pop();
    res.x0 = std::min(res.x0, s.l), res.x1 = std::max(res.x1, s.r);
    res.y0 = std::min(res.y0, s.y), res.y1 = std::max(res.y1, s.y);
    const int lo = eight ? std::max(s.l - 1, 0) : s.l, hi = eight ? std::min(s.r + 1, w - 1) : s.r;
    if (s.y - s.dir >= 0 && s.y - s.dir < h) scan(s.y - s.dir, lo, hi, s.l, s.r, s.dir);
    scan(s.y + s.dir, lo, s.pl - 1, s.l, s.r, -s.dir);
    scan(s.y + s.dir, s.pr + 1, hi, s.l, s.r, -s.dir);
    if (!watch || ring <= 0) continue;
    if (idx == savedIdx && std::equal(list.begin(), list.begin() + idx, saved.begin())) return End::Cycle;
    if (++lam == power) {
      saved.assign(list.begin(), list.begin() + idx);
      savedIdx = idx;
      power *= 2;
      lam = 0;
    }
  }
  return End::Done;
}

// Step-by-step model of the floating-range procedure with an unbounded
// stack; a diagonal candidate is compared with the nearest pixel of the
// popped run.
template <class T>
KVT_REF_LOOP Result gradModel(Img<T>& im, int sx, int sy, bool eight, const T* nv, const T* mn, const T* mx) {
  const int w = im.w, h = im.h, cn = im.cn;
  const Img<T> orig = im;
  std::vector<uint8_t> mark((size_t)w * h, 0);
  auto free = [&](int x, int y) { return x >= 0 && y >= 0 && x < w && y < h && !mark[(size_t)y * w + x]; };
  auto f = [&](int ax, int ay, int bx, int by) { return fits(orig.px(ax, ay), orig.px(bx, by), mn, mx, cn); };
  Result res;
  res.wrote = true;
  res.maxDepth = 1;
  mark[(size_t)sy * w + sx] = 1;
  int L = sx, R = sx;
  while (free(R + 1, sy) && f(R + 1, sy, R, sy)) mark[(size_t)sy * w + ++R] = 1;
  while (free(L - 1, sy) && f(L - 1, sy, L, sy)) mark[(size_t)sy * w + --L] = 1;
  std::vector<Seg> st{{sy, L, R, R + 1, R, 1}};
  res.x0 = L, res.x1 = R, res.y0 = res.y1 = sy;
  auto scan = [&](const Seg& s, int y, int a, int b, int dir) {
    for (int x = a; x <= b; ++x) {
      if (!free(x, y)) continue;
      const int xc = std::clamp(x, s.l, s.r);
      if (!f(x, y, xc, s.y)) continue;
      mark[(size_t)y * w + x] = 1;
      int l = x, r = x;
      while (free(l - 1, y) && f(l - 1, y, l, y)) mark[(size_t)y * w + --l] = 1;
      while (free(r + 1, y) && (f(r + 1, y, r, y) || (r < s.r && f(r + 1, y, r + 1, s.y))))
        mark[(size_t)y * w + ++r] = 1;
      st.push_back({y, l, r, s.l, s.r, dir});
      res.maxDepth = std::max(res.maxDepth, st.size());
      x = r;
    }
  };
  while (!st.empty()) {
    const Seg s = st.back();
    st.pop_back();
    res.x0 = std::min(res.x0, s.l), res.x1 = std::max(res.x1, s.r);
    res.y0 = std::min(res.y0, s.y), res.y1 = std::max(res.y1, s.y);
    const int lo = eight ? s.l - 1 : s.l, hi = eight ? s.r + 1 : s.r;
    scan(s, s.y - s.dir, lo, hi, s.dir);
    scan(s, s.y + s.dir, lo, s.pl - 1, -s.dir);
    scan(s, s.y + s.dir, s.pr + 1, hi, -s.dir);
    for (int x = s.l; x <= s.r; ++x) paint(im, x, s.y, nv);
    res.area += s.r - s.l + 1;
  }
  return res;
}

}  // namespace ffr

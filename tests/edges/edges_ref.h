// Plain scalar references for the edge and corner detectors, shared by the
// unit tests and the fuzz target: images as dense vectors, every formula
// written out in its documented order.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "kvpcv.h"

// Marks the reference loops; the fuzz target defines it to keep them out of
// the coverage feedback.
#ifndef KVT_REF_LOOP
#define KVT_REF_LOOP
#endif

namespace er {

template <class T>
struct Img {
  int w = 0, h = 0, ch = 1;
  std::vector<T> v;
  Img() = default;
  Img(int w_, int h_, int ch_ = 1) : w(w_), h(h_), ch(ch_), v((size_t)w_ * h_ * ch_) {}
  T& at(int x, int y, int c = 0) { return v[((size_t)y * w + x) * ch + c]; }
  const T& at(int x, int y, int c = 0) const { return v[((size_t)y * w + x) * ch + c]; }
};

// ---- fast arctangent -------------------------------------------------------

KVT_REF_LOOP inline float fastAtan(float y, float x) {
  if (std::isnan(x) || std::isnan(y)) return NAN;
  const float c1 = 0x1.ca4ccep+5f, c3 = -0x1.2ea2fp+4f, c5 = 0x1.48e6f2p+3f, c7 = -0x1.33e5fp+2f,
              c9 = 0x1.28f58cp+0f;
  const float ax = std::fabs(x), ay = std::fabs(y);
  auto P = [&](float t) {
    const float t2 = t * t;
    float p = c9 * t2;
    p = p + c7;
    p = p * t2;
    p = p + c5;
    p = p * t2;
    p = p + c3;
    p = p * t2;
    p = p + c1;
    return p * t;
  };
  float a;
  if (std::isinf(ax) && std::isinf(ay)) {
    a = P(1.0f);
  } else if (ax >= ay) {
    a = P(ax == 0.0f ? 0.0f : ay / ax);
  } else {
    a = 90.0f - P(ax / ay);
  }
  if (x < 0) a = 180.0f - a;
  if (y < 0) a = 360.0f - a;
  if (a == 360.0f) a = 0.0f;
  return a;
}

// ---- gradient to gray ------------------------------------------------------

template <class T>
T gradGray(const T* c, int norm) {
  if constexpr (sizeof(T) == 4) {
    const float a0 = std::fabs(c[0]), a1 = std::fabs(c[1]), a2 = std::fabs(c[2]);
    if (std::isnan(a0) || std::isnan(a1) || std::isnan(a2)) return NAN;
    if (norm == 0) return std::fmax(std::fmax(a0, a1), a2);
    if (norm == 1) return (a0 + a1) + a2;
    return (float)std::sqrt(((double)c[0] * c[0] + (double)c[1] * c[1]) + (double)c[2] * c[2]);
  } else {
    const long long mx = sizeof(T) == 1 ? 255 : 65535;
    const long long a = c[0], b = c[1], d = c[2];
    long long r;
    if (norm == 0)
      r = std::max(std::max(a, b), d);
    else if (norm == 1)
      r = a + b + d;
    else {
      // Nearest integer to the root by integer search.
      const long long q = a * a + b * b + d * d;
      long long s = (long long)std::sqrt((double)q);
      while (s * s > q) --s;
      while ((s + 1) * (s + 1) <= q) ++s;
      // q lies in [s^2, (s+1)^2); the root is nearer s + 1 when q > s^2 + s.
      r = q > s * s + s ? s + 1 : s;
    }
    return (T)std::min(r, mx);
  }
}

// ---- peaks -----------------------------------------------------------------

template <class T>
KVT_REF_LOOP std::vector<KvpiPoint> peaks(const Img<T>& s, T thr, int norm, int border, int maxCount) {
  std::vector<KvpiPoint> out;
  for (int y = border; y < s.h - border; ++y)
    for (int x = border; x < s.w - border; ++x) {
      const T v = s.at(x, y);
      bool p = v > thr;
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
          if (!dx && !dy) continue;
          if (norm == kvpiNormL1 && dx && dy) continue;
          const int xx = x + dx, yy = y + dy;
          if (xx < 0 || yy < 0 || xx >= s.w || yy >= s.h) continue;
          if (!(v >= s.at(xx, yy))) p = false;
        }
      if (p && (int)out.size() < maxCount) out.push_back({x, y});
    }
  return out;
}

// ---- derivatives -----------------------------------------------------------

// Taps of the row factor of dx and of its column factor (dy: swapped).
struct Mask {
  std::vector<int> diff, smooth;
};
inline Mask mask(int kern, int aperture) {
  if (kern == 1) return {{-1, 0, 1}, {3, 10, 3}};
  if (aperture == 5) return {{-1, -2, 0, 2, 1}, {1, 4, 6, 4, 1}};
  return {{-1, 0, 1}, {1, 2, 1}};
}

// Source index of an extended position for border types 1 .. 4.
inline int borderIdx(int p, int n, int type) {
  while (p < 0 || p >= n) {
    if (type == 1)
      p = p < 0 ? 0 : n - 1;
    else if (type == 2)
      p = p < 0 ? p + n : p - n;
    else if (type == 3) {
      if (n == 1) return 0;
      p = p < 0 ? -p : 2 * (n - 1) - p;
    } else
      p = p < 0 ? -p - 1 : 2 * n - 1 - p;
  }
  return p;
}

// Exact integer derivatives of an 8-bit image: d = 0 for x, 1 for y.
KVT_REF_LOOP inline Img<int> deriv8u(const Img<uint8_t>& s, const Mask& m, int d, int border, int value) {
  const int k = (int)m.diff.size(), r = k / 2;
  const std::vector<int>& rowT = d == 0 ? m.diff : m.smooth;
  const std::vector<int>& colT = d == 0 ? m.smooth : m.diff;
  auto px = [&](int x, int y) -> int {
    if (border == 0 && (x < 0 || y < 0 || x >= s.w || y >= s.h)) return value;
    return s.at(borderIdx(x, s.w, border ? border : 1), borderIdx(y, s.h, border ? border : 1));
  };
  Img<int> o(s.w, s.h);
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < s.w; ++x) {
      int acc = 0;
      for (int j = 0; j < k; ++j)
        for (int i = 0; i < k; ++i) acc += colT[j] * rowT[i] * px(x - r + i, y - r + j);
      o.at(x, y) = acc;
    }
  return o;
}

// Float source: row pass then column pass in double, non-zero taps in order.
KVT_REF_LOOP inline Img<double> deriv32f(const Img<float>& s, const Mask& m, int d) {
  const int k = (int)m.diff.size(), r = k / 2;
  const std::vector<int>& rowT = d == 0 ? m.diff : m.smooth;
  const std::vector<int>& colT = d == 0 ? m.smooth : m.diff;
  auto cl = [](int p, int n) { return p < 0 ? 0 : (p >= n ? n - 1 : p); };
  Img<double> hor(s.w, s.h), o(s.w, s.h);
  auto tapped = [&](const std::vector<int>& t, auto&& ld) {
    double acc = 0;
    bool started = false;
    for (int i = 0; i < k; ++i) {
      if (!t[i]) continue;
      const double v = (double)t[i] * ld(i);
      acc = started ? acc + v : v;
      started = true;
    }
    return acc;
  };
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < s.w; ++x)
      hor.at(x, y) = tapped(rowT, [&](int i) { return (double)s.at(cl(x - r + i, s.w), y); });
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < s.w; ++x)
      o.at(x, y) = tapped(colT, [&](int j) { return hor.at(x, cl(y - r + j, s.h)); });
  return o;
}

// ---- structure tensor measures ---------------------------------------------

enum { kMinEig, kEigVV, kHarris };

// Output as 1 (or 6) floats per pixel.
template <class S>
KVT_REF_LOOP Img<float> tensor(const Img<S>& s, int measure, int kern, int aperture, int B, float k = 0,
                               float scale = 0) {
  const int W = s.w, H = s.h, h = B / 2;
  const Mask m = mask(kern, aperture);
  Img<double> gx(W, H), gy(W, H);
  if constexpr (sizeof(S) == 1) {
    const Img<int> a = deriv8u(s, m, 0, 1, 0), b = deriv8u(s, m, 1, 1, 0);
    for (size_t i = 0; i < a.v.size(); ++i) gx.v[i] = a.v[i], gy.v[i] = b.v[i];
  } else {
    gx = deriv32f(s, m, 0);
    gy = deriv32f(s, m, 1);
  }
  double f = (double)(1 << (aperture - 1)) * B * (kern == 1 ? 2 : 1) * (sizeof(S) == 1 ? 255 : 1);
  const double q = (1.0 / f) * (1.0 / f);
  auto cl = [](int p, int n) { return p < 0 ? 0 : (p >= n ? n - 1 : p); };
  Img<float> o(W, H, measure == kEigVV ? 6 : 1);
  for (int y = 0; y < H; ++y)
    for (int x = 0; x < W; ++x) {
      double S3[3];
      for (int c = 0; c < 3; ++c) {
        double col = 0;
        for (int j = 0; j < B; ++j) {
          double row = 0;
          for (int i = 0; i < B; ++i) {
            const int xx = cl(x - h + i, W), yy = cl(y - h + j, H);
            const double a = gx.at(xx, yy), b = gy.at(xx, yy);
            const double p = c == 0 ? a * a : (c == 1 ? a * b : b * b);
            row = i ? row + p : p;
          }
          col = j ? col + row : row;
        }
        S3[c] = col;
      }
      const double A = S3[0] * q, Bm = S3[1] * q, C = S3[2] * q;
      const double u = (A + C) * 0.5, d = (A - C) * 0.5, v = std::sqrt(d * d + Bm * Bm);
      const double l1 = u + v, l2 = u - v;
      if (measure == kMinEig) {
        o.at(x, y) = (float)l2;
      } else if (measure == kHarris) {
        const double R = (A * C - Bm * Bm) - ((double)k * (A + C)) * (A + C);
        o.at(x, y) = (float)(R * (double)scale);
      } else {
        o.at(x, y, 0) = (float)l1;
        o.at(x, y, 1) = (float)l2;
        const double l[2] = {l1, l2};
        for (int e = 0; e < 2; ++e) {
          double vx = Bm, vy = l[e] - A;
          if (std::fabs(vx) + std::fabs(vy) < 1e-4) {
            vx = l[e] - C;
            vy = Bm;
            if (std::fabs(vx) + std::fabs(vy) < 1e-4) {
              const double sc = 1.0 / (std::fabs(vx) + std::fabs(vy) + 0x1p-23);
              vx *= sc;
              vy *= sc;
            }
          }
          const double r = 1.0 / std::sqrt(vx * vx + vy * vy + 0x1p-52);
          o.at(x, y, 2 + 2 * e) = (float)(vx * r);
          o.at(x, y, 3 + 2 * e) = (float)(vy * r);
        }
      }
    }
  return o;
}

// ---- Canny -----------------------------------------------------------------

// Edge map from magnitudes and derivatives (any arithmetic type) with the
// thresholds already in magnitude units.
template <class M, class G>
KVT_REF_LOOP Img<uint8_t> cannyCore(const Img<M>& mag, const Img<G>& gx, const Img<G>& gy, M tl, M th) {
  const int W = mag.w, H = mag.h, S = W + 2;
  std::vector<uint8_t> map((size_t)S * (H + 2), 0);  // 0 never, 1 weak, 2 edge
  std::vector<int32_t> stack;
  auto m = [&](int x, int y) -> M { return (x < 0 || y < 0 || x >= W || y >= H) ? (M)0 : mag.at(x, y); };
  for (int y = 0; y < H; ++y)
    for (int x = 0; x < W; ++x) {
      const M v = m(x, y);
      if (!(v > tl)) continue;
      const G a = gx.at(x, y), b = gy.at(x, y);
      const double ax = std::fabs((double)a), ay = std::fabs((double)b);
      bool c;
      if (32768.0 * ay < 13573.0 * ax)
        c = v > m(x - 1, y) && v >= m(x + 1, y);
      else if (32768.0 * ay > 79109.0 * ax)
        c = v > m(x, y - 1) && v >= m(x, y + 1);
      else {
        const int s = ((a < 0) != (b < 0)) ? -1 : 1;
        c = v > m(x - s, y - 1) && v > m(x + s, y + 1);
      }
      if (!c) continue;
      const int32_t i = (y + 1) * S + x + 1;
      if (v > th) {
        map[i] = 2;
        stack.push_back(i);
      } else {
        map[i] = 1;
      }
    }
  while (!stack.empty()) {
    const int32_t i = stack.back();
    stack.pop_back();
    for (int dy = -1; dy <= 1; ++dy)
      for (int dx = -1; dx <= 1; ++dx) {
        const int32_t j = i + dy * S + dx;
        if (map[j] == 1) {
          map[j] = 2;
          stack.push_back(j);
        }
      }
  }
  Img<uint8_t> o(W, H);
  for (int y = 0; y < H; ++y)
    for (int x = 0; x < W; ++x) o.at(x, y) = map[(y + 1) * S + x + 1] == 2 ? 255 : 0;
  return o;
}

inline double clampT(float t) { return t < 32767.0f ? (double)t : 32767.0; }

inline Img<uint8_t> canny16s(const Img<int16_t>& gx, const Img<int16_t>& gy, float lo, float hi) {
  Img<long long> mag(gx.w, gx.h);
  for (size_t i = 0; i < mag.v.size(); ++i)
    mag.v[i] = (long long)gx.v[i] * gx.v[i] + (long long)gy.v[i] * gy.v[i];
  return cannyCore<long long>(mag, gx, gy, (long long)std::floor(clampT(lo) * clampT(lo)),
                              (long long)std::floor(clampT(hi) * clampT(hi)));
}

inline Img<uint8_t> canny32f(const Img<float>& gx, const Img<float>& gy, float lo, float hi) {
  Img<double> mag(gx.w, gx.h);
  for (size_t i = 0; i < mag.v.size(); ++i) mag.v[i] = (double)gx.v[i] * gx.v[i] + (double)gy.v[i] * gy.v[i];
  return cannyCore<double>(mag, gx, gy, (double)lo * lo, (double)hi * hi);
}

inline Img<uint8_t> cannyBorder(const Img<uint8_t>& s, int kern, int maskSize, int border, int value,
                                float lo, float hi, int norm) {
  const Mask m = mask(kern, maskSize == kvpMskSize5x5 ? 5 : 3);
  const Img<int> gx = deriv8u(s, m, 0, border, value), gy = deriv8u(s, m, 1, border, value);
  Img<long long> mag(s.w, s.h);
  for (size_t i = 0; i < mag.v.size(); ++i)
    mag.v[i] = norm == kvpiNormL2 ? (long long)gx.v[i] * gx.v[i] + (long long)gy.v[i] * gy.v[i]
                                  : std::abs(gx.v[i]) + std::abs(gy.v[i]);
  const double a = clampT(lo), b = clampT(hi);
  if (norm == kvpiNormL2)
    return cannyCore<long long>(mag, gx, gy, (long long)std::floor(a * a), (long long)std::floor(b * b));
  return cannyCore<long long>(mag, gx, gy, (long long)std::floor(a), (long long)std::floor(b));
}

}  // namespace er

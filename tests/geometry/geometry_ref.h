// Plain references of the geometry family, one pixel at a time straight
// from the definitions, shared by the unit tests and the fuzz target.
// Planes are a pointer to the first ROI pixel and a step in bytes; values
// go in and out through memcpy so that any step works.
#pragma once

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "kvpcv.h"

namespace georef {

template <class T>
T get(const void* base, long long step, long long x, long long y, int ch = 1, int c = 0) {
  T v;
  std::memcpy(&v, static_cast<const unsigned char*>(base) + y * step + (x * ch + c) * (long long)sizeof(T),
              sizeof v);
  return v;
}
template <class T>
void put(void* base, long long step, long long x, long long y, T v, int ch = 1, int c = 0) {
  std::memcpy(static_cast<unsigned char*>(base) + y * step + (x * ch + c) * (long long)sizeof(T), &v,
              sizeof v);
}

// B(p00, p01, p10, p11, a, b) in single precision, in the documented order.
inline float bilinear(float p00, float p01, float p10, float p11, float a, float b) {
  const float w00 = (1.f - a) * (1.f - b), w01 = a * (1.f - b);
  const float w10 = (1.f - a) * b, w11 = a * b;
  return ((p00 * w00 + p01 * w01) + p10 * w10) + p11 * w11;
}

// Float result into the destination type: clamp, then round half to even;
// with sfs, scaled by 2^(-scaleFactor) in double first.
template <class D>
D store(float r, bool sfs = false, int scaleFactor = 0) {
  if constexpr (std::is_same_v<D, Kvp32f>) {
    return r;
  } else {
    const double hi = std::is_same_v<D, Kvp8u> ? 255.0 : 65535.0;
    double t = r;
    if (sfs) {
      const int s = scaleFactor < -2000 ? -2000 : (scaleFactor > 2000 ? 2000 : scaleFactor);
      t = std::ldexp(t, -s);
    }
    if (!(t > 0.0)) t = 0.0;
    if (t > hi) t = hi;
    return (D)std::nearbyint(t);  // default mode: half to even
  }
}

// ---- undistortion --------------------------------------------------------------

struct Lens {
  float fx, fy, cx, cy, k1, k2, p1, p2;
};

template <class T, int C>
void undistortRadial(const T* src, int srcStep, T* dst, int dstStep, int W, int H, const Lens& L) {
  const float ifx = 1.f / L.fx, ify = 1.f / L.fy;
  for (int v = 0; v < H; ++v)
    for (int u = 0; u < W; ++u) {
      const float du = (float)u - L.cx, dv = (float)v - L.cy;
      const float x = du * ifx, y = dv * ify;
      const float r2 = x * x + y * y;
      const float d = 1.f + r2 * (L.k1 + r2 * L.k2);
      const float sx = L.cx + du * d, sy = L.cy + dv * d;
      const bool in = sx > -1.f && sx < (float)W && sy > -1.f && sy < (float)H;
      const long long ix = in ? (long long)std::floor(sx) : 0, iy = in ? (long long)std::floor(sy) : 0;
      const float a = sx - (float)ix, b = sy - (float)iy;
      for (int c = 0; c < C; ++c) {
        auto s = [&](long long x, long long y) {
          return x < 0 || x >= W || y < 0 || y >= H ? 0.f : (float)get<T>(src, srcStep, x, y, C, c);
        };
        const float r = in ? bilinear(s(ix, iy), s(ix + 1, iy), s(ix, iy + 1), s(ix + 1, iy + 1), a, b) : 0.f;
        put<T>(dst, dstStep, u, v, store<T>(r), C, c);
      }
    }
}

inline void createMap(float* mx, int xStep, float* my, int yStep, int W, int H, const Lens& L) {
  for (int v = 0; v < H; ++v)
    for (int u = 0; u < W; ++u) {
      const double x = ((double)u - L.cx) / L.fx, y = ((double)v - L.cy) / L.fy;
      const double r2 = x * x + y * y;
      const double xy2 = (2 * x) * y;
      const double kr = 1 + r2 * ((double)L.k1 + r2 * (double)L.k2);
      const double xd = (x * kr + (double)L.p1 * xy2) + (double)L.p2 * (r2 + 2 * (x * x));
      const double yd = (y * kr + (double)L.p1 * (r2 + 2 * (y * y))) + (double)L.p2 * xy2;
      put<float>(mx, xStep, u, v, (float)((double)L.fx * xd + (double)L.cx));
      put<float>(my, yStep, u, v, (float)((double)L.fy * yd + (double)L.cy));
    }
}

// ---- sub-pixel copies ----------------------------------------------------------

template <class S, class D>
void copySubpix(const S* src, int srcStep, D* dst, int dstStep, int w, int h, float dx, float dy,
                bool sfs = false, int scaleFactor = 0) {
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      auto s = [&](int i, int j) { return (float)get<S>(src, srcStep, i, j); };
      const float r = bilinear(s(x, y), s(x + 1, y), s(x, y + 1), s(x + 1, y + 1), dx, dy);
      put<D>(dst, dstStep, x, y, store<D>(r, sfs, scaleFactor));
    }
}

// Every pixel through the clamped coordinates (inside the source they are
// the plain ones). The window origin's integer part is clamped in float as
// documented, which changes no pixel.
template <class S, class D>
void copySubpixIntersect(const S* src, int srcStep, KvpiSize srcRoi, D* dst, int dstStep, KvpiSize dstRoi,
                         KvpiPoint_32f pt, KvpiPoint* pMin, KvpiPoint* pMax, bool sfs = false,
                         int scaleFactor = 0) {
  const long long W = srcRoi.width, H = srcRoi.height, w = dstRoi.width, h = dstRoi.height;
  const float x0 = pt.x - (float)(w - 1) * 0.5f, y0 = pt.y - (float)(h - 1) * 0.5f;
  const float fx = std::floor(x0), fy = std::floor(y0);
  const float a = x0 - fx, b = y0 - fy;
  auto clampF = [](float f, long long lo, long long hi) {
    return f < (float)lo ? (float)lo : (f > (float)hi ? (float)hi : f);
  };
  const long long ix = (long long)clampF(fx, -(w + 2), W + 1), iy = (long long)clampF(fy, -(h + 2), H + 1);
  auto cl = [](long long t, long long n) { return t < 0 ? 0 : (t >= n ? n - 1 : t); };
  for (long long i = 0; i < h; ++i)
    for (long long j = 0; j < w; ++j) {
      const long long c0 = cl(ix + j, W), c1 = cl(ix + j + 1, W), r0 = cl(iy + i, H), r1 = cl(iy + i + 1, H);
      auto s = [&](long long c, long long r) { return (float)get<S>(src, srcStep, c, r); };
      const float r = c0 != c1 ? bilinear(s(c0, r0), s(c1, r0), s(c0, r1), s(c1, r1), a, b)
                               : s(c0, r0) * (1.f - b) + s(c0, r1) * b;
      put<D>(dst, dstStep, j, i, store<D>(r, sfs, scaleFactor));
    }
  auto lo = [](long long v, long long n) { return v < 0 ? 0 : (v > n ? n : v); };
  auto hi = [](long long v, long long n) { return v > n - 1 ? n - 1 : (v < -1 ? -1 : v); };
  *pMin = KvpiPoint{(int)lo(-ix, w), (int)lo(-iy, h)};
  *pMax = KvpiPoint{(int)hi(W - 2 - ix, w), (int)hi(H - 2 - iy, h)};
}

// ---- line sampling ---------------------------------------------------------------

// Pixel k of the line: the minor offset is the integer nearest to k*m/M,
// ties towards pt1, i.e. ceil((2km - M) / 2M).
inline KvpiPoint linePoint(KvpiPoint p1, KvpiPoint p2, long long k) {
  const long long dx = (long long)p2.x - p1.x, dy = (long long)p2.y - p1.y;
  const long long ax = dx < 0 ? -dx : dx, ay = dy < 0 ? -dy : dy;
  const long long sx = dx < 0 ? -1 : 1, sy = dy < 0 ? -1 : 1;
  const bool xMajor = ax >= ay;
  const unsigned long long M = xMajor ? ax : ay, m = xMajor ? ay : ax;
  const long long q = M == 0 ? 0 : (long long)((2 * (unsigned long long)k * m + M - 1) / (2 * M));
  if (xMajor) return KvpiPoint{(int)(p1.x + sx * k), (int)(p1.y + sy * q)};
  return KvpiPoint{(int)(p1.x + sx * q), (int)(p1.y + sy * k)};
}

inline long long lineCount(KvpiPoint p1, KvpiPoint p2) {
  const long long ax = std::llabs((long long)p2.x - p1.x), ay = std::llabs((long long)p2.y - p1.y);
  return (ax > ay ? ax : ay) + 1;
}

template <class T, int C>
void sampleLine(const T* src, int srcStep, T* dst, KvpiPoint p1, KvpiPoint p2) {
  const long long n = lineCount(p1, p2);
  for (long long k = 0; k < n; ++k) {
    const KvpiPoint p = linePoint(p1, p2, k);
    for (int c = 0; c < C; ++c) dst[k * C + c] = get<T>(src, srcStep, p.x, p.y, C, c);
  }
}

// ---- statuses in check order -------------------------------------------------------

inline bool inSubpixRange(float d) { return d >= 0.f && d < 1.f; }

inline KvpStatus lineStatus(KvpStatus common, KvpiSize roi, KvpiPoint p1, KvpiPoint p2) {
  if (common != kvpStsOk) return common;
  if (lineCount(p1, p2) + 1 > INT_MAX) return kvpStsError;
  auto out = [&](KvpiPoint p) { return p.x < 0 || p.y < 0 || p.x >= roi.width || p.y >= roi.height; };
  if (out(p1) || out(p2)) return kvpStsOutOfRange;
  return kvpStsOk;
}

}  // namespace georef

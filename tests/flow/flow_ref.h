// Plain reference of pyramidal Lucas-Kanade tracking, cell by cell from the
// formulas: mirrored level access, Scharr gradients per cell (zero outside
// the level), bilinear window samples, window sums over eight column
// accumulators, the Gauss-Newton loop with both stopping rules, the level
// scalings and the final inside test. Shared by the unit tests and the fuzz
// target.
#pragma once

#include <cmath>
#include <type_traits>

#include "kvpcv.h"

namespace kvpref {

template <class T>
struct FlowLevel {
  const KvpiPyramid* pyr;
  int L;
  int W() const { return pyr->pRoi[L].width; }
  int H() const { return pyr->pRoi[L].height; }
  static int mirror(int i, int n) {
    if (n == 1) return 0;
    const int m = (i < 0 ? -i : i) % (2 * n - 2);
    return m < n ? m : 2 * n - 2 - m;
  }
  float P(int x, int y) const {
    const unsigned char* row = pyr->pImage[L] + (long long)pyr->pStep[L] * mirror(y, H());
    return (float)reinterpret_cast<const T*>(row)[mirror(x, W())];
  }
  bool in(int x, int y) const { return x >= 0 && y >= 0 && x < W() && y < H(); }
  float Gx(int x, int y) const {
    if (!in(x, y)) return 0.0f;
    auto V = [&](int xx) { return ((P(xx, y - 1) + P(xx, y + 1)) * 3.0f) + P(xx, y) * 10.0f; };
    return (V(x + 1) - V(x - 1)) * 0.03125f;
  }
  float Gy(int x, int y) const {
    if (!in(x, y)) return 0.0f;
    auto U = [&](int yy) { return ((P(x - 1, yy) + P(x + 1, yy)) * 3.0f) + P(x, yy) * 10.0f; };
    return (U(y + 1) - U(y - 1)) * 0.03125f;
  }
  bool inside(float px, float py, int h) const {
    return (double)px >= -h - 1.0 && (double)px < (double)W() + h && (double)py >= -h - 1.0 &&
           (double)py < (double)H() + h;
  }
};

struct FlowSum {
  float a[8] = {0, 0, 0, 0, 0, 0, 0, 0};
  void add(int c, float t) { a[c % 8] = a[c % 8] + t; }
  float total() const { return ((a[0] + a[4]) + (a[2] + a[6])) + ((a[1] + a[5]) + (a[3] + a[7])); }
};

// Bilinear sample of F at (px, py) + (u, v).
template <class F>
float flowSample(F f, float px, float py, int u, int v) {
  const float fx = std::floor(px), fy = std::floor(py);
  const int ix = (int)fx, iy = (int)fy;
  const float a = px - fx, b = py - fy;
  const float w00 = (1.0f - a) * (1.0f - b), w01 = a * (1.0f - b), w10 = (1.0f - a) * b, w11 = a * b;
  return ((w00 * f(ix + u, iy + v) + w01 * f(ix + u + 1, iy + v)) + w10 * f(ix + u, iy + v + 1)) +
         w11 * f(ix + u + 1, iy + v + 1);
}

template <class T>
void flowTrackRef(const KvpiPyramid* p1, const KvpiPyramid* p2, const KvpiPoint_32f* prev,
                  KvpiPoint_32f* next, Kvp8s* status, Kvp32f* err, int numFeat, int win, int maxLev,
                  int maxIter, float threshold) {
  const int h = (win - 1) / 2;
  const float N = (float)(win * win);
  const float s2 = std::is_same_v<T, Kvp16u> ? 65536.0f : 1.0f;
  const float minEig = 0.1024f * s2, minDet = (0.125f * s2) * s2;
  // Window arrays of the previous image at the current level.
  static thread_local float I[256 * 256], Ix[256 * 256], Iy[256 * 256];
  for (int i = 0; i < numFeat; ++i) {
    const KvpiPoint_32f p0 = prev[i];
    const float sm = (float)(1.0 / p1->pRate[maxLev]);
    float dx = next[i].x * sm, dy = next[i].y * sm;
    bool tracked = true;
    for (int L = maxLev; L >= 0; --L) {
      const FlowLevel<T> A{p1, L}, B{p2, L};
      const float sl = (float)(1.0 / p1->pRate[L]);
      const float px = p0.x * sl, py = p0.y * sl;
      bool skip = !A.inside(px, py, h);
      float A11 = 0, A12 = 0, A22 = 0, D = 0;
      if (!skip) {
        FlowSum s11, s12, s22;
        for (int v = -h; v <= h; ++v)
          for (int u = -h; u <= h; ++u) {
            const int c = u + h, k = (v + h) * win + c;
            I[k] = flowSample([&](int x, int y) { return A.P(x, y); }, px, py, u, v);
            Ix[k] = flowSample([&](int x, int y) { return A.Gx(x, y); }, px, py, u, v);
            Iy[k] = flowSample([&](int x, int y) { return A.Gy(x, y); }, px, py, u, v);
            s11.add(c, Ix[k] * Ix[k]);
            s12.add(c, Ix[k] * Iy[k]);
            s22.add(c, Iy[k] * Iy[k]);
          }
        A11 = s11.total();
        A12 = s12.total();
        A22 = s22.total();
        D = (A11 * A22) - (A12 * A12);
        const float lambda =
            ((A22 + A11) - std::sqrt(((A11 - A22) * (A11 - A22)) + ((4.0f * A12) * A12))) / (float)(2.0f * N);
        skip = lambda < minEig || D < minDet;
      }
      if (skip) {
        if (L == 0) tracked = false;
      } else {
        const float invD = 1.0f / D;
        float qx = 0, qy = 0;
        for (int j = 0; j < maxIter; ++j) {
          if (!B.inside(dx, dy, h)) {
            if (L == 0) tracked = false;
            break;
          }
          FlowSum b1, b2;
          for (int v = -h; v <= h; ++v)
            for (int u = -h; u <= h; ++u) {
              const int c = u + h, k = (v + h) * win + c;
              const float e = flowSample([&](int x, int y) { return B.P(x, y); }, dx, dy, u, v) - I[k];
              b1.add(c, e * Ix[k]);
              b2.add(c, e * Iy[k]);
            }
          const float B1 = b1.total(), B2 = b2.total();
          const float ddx = ((A12 * B2) - (A22 * B1)) * invD;
          const float ddy = ((A12 * B1) - (A11 * B2)) * invD;
          dx = dx + ddx;
          dy = dy + ddy;
          if ((double)ddx * (double)ddx + (double)ddy * (double)ddy <= (double)threshold * (double)threshold)
            break;
          if (j > 0 && std::fabs(ddx + qx) < 0.01 && std::fabs(ddy + qy) < 0.01) {
            dx = dx - ddx * 0.5f;
            dy = dy - ddy * 0.5f;
            break;
          }
          qx = ddx;
          qy = ddy;
        }
      }
      if (L > 0) {
        const float up = (float)(p1->pRate[L] / p1->pRate[L - 1]);
        dx = dx * up;
        dy = dy * up;
      }
    }
    const FlowLevel<T> B0{p2, 0};
    if (tracked && !B0.inside(dx, dy, h)) tracked = false;
    float e = 0.0f;
    if (tracked) {
      FlowSum s;
      for (int v = -h; v <= h; ++v)
        for (int u = -h; u <= h; ++u)
          s.add(u + h, std::fabs(flowSample([&](int x, int y) { return B0.P(x, y); }, dx, dy, u, v) -
                                 I[(v + h) * win + u + h]));
      e = s.total() * (1.0f / N);
    }
    next[i] = {dx, dy};
    status[i] = tracked ? 1 : 0;
    if (err) err[i] = e;
  }
}

}  // namespace kvpref

// Plain references of the fast march and the inpainting, shared by the unit
// tests and the fuzz target. Packed images (row-major vectors).
//   march    the band as an ordered std::set of (T, index), erased and
//            reinserted on every decrease;
//   inpaint  the unknown pixels sorted by (T, index), a known flag per
//            pixel, the disc walked row by row for every pixel.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <set>
#include <utility>
#include <vector>

namespace inpref {

// Arrival times; mask non-zero = unknown.
inline std::vector<float> march(const std::vector<uint8_t>& mask, int w, int h, float radius) {
  const double inf = std::numeric_limits<double>::infinity();
  const size_t n = (size_t)w * h;
  std::vector<float> t(n, std::numeric_limits<float>::infinity());
  std::vector<int> st(n, 0);  // 0 far, 1 band, 2 accepted
  for (size_t i = 0; i < n; ++i)
    if (!mask[i]) {
      t[i] = 0.f;
      st[i] = 2;
    }
  auto acc = [&](int x, int y) { return x >= 0 && y >= 0 && x < w && y < h && st[(size_t)y * w + x] == 2; };
  auto cand = [&](int x, int y) {
    double a = inf, b = inf;
    if (acc(x - 1, y)) a = std::min(a, (double)t[(size_t)y * w + x - 1]);
    if (acc(x + 1, y)) a = std::min(a, (double)t[(size_t)y * w + x + 1]);
    if (acc(x, y - 1)) b = std::min(b, (double)t[(size_t)(y - 1) * w + x]);
    if (acc(x, y + 1)) b = std::min(b, (double)t[(size_t)(y + 1) * w + x]);
    const double m = std::min(a, b), M = std::max(a, b);
    if (M == inf || M - m >= 1.0) return (float)(m + 1.0);
    const double d = M - m;
    return (float)(((m + M) + std::sqrt(2.0 - d * d)) * 0.5);
  };
  std::set<std::pair<float, int>> band;
  auto relax = [&](int x, int y) {
    const int i = y * w + x;
    if (st[i] == 2) return;
    const float c = cand(x, y);
    if (st[i] == 0) {
      st[i] = 1;
      t[i] = c;
      band.insert({c, i});
    } else if (c < t[i]) {
      band.erase({t[i], i});
      t[i] = c;
      band.insert({c, i});
    }
  };
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      if (st[(size_t)y * w + x] == 0 && (acc(x - 1, y) || acc(x + 1, y) || acc(x, y - 1) || acc(x, y + 1)))
        relax(x, y);
  while (!band.empty()) {
    const auto [tp, i] = *band.begin();
    if (tp > radius) break;
    band.erase(band.begin());
    st[i] = 2;
    const int x = i % w, y = i / w;
    if (y > 0) relax(x, y - 1);
    if (x > 0) relax(x - 1, y);
    if (x + 1 < w) relax(x + 1, y);
    if (y + 1 < h) relax(x, y + 1);
  }
  for (size_t i = 0; i < n; ++i)
    if (st[i] != 2) t[i] = radius;
  return t;
}

// Inpainting of img (cn values per pixel) from the mask, the distance map
// and the radius; returns the filled image.
inline std::vector<uint8_t> inpaint(const std::vector<uint8_t>& img, int cn, const std::vector<uint8_t>& mask,
                                    const std::vector<float>& t, int w, int h, float radius) {
  std::vector<uint8_t> out = img;
  std::vector<int> order;
  std::vector<char> known((size_t)w * h);
  for (int i = 0; i < w * h; ++i) {
    known[i] = !mask[i];
    if (mask[i]) order.push_back(i);
  }
  std::sort(order.begin(), order.end(), [&](int a, int b) { return t[a] < t[b] || (t[a] == t[b] && a < b); });
  const double r2 = (double)radius * (double)radius;
  const int rx = (int)std::min(std::floor((double)radius), (double)w - 1);
  const int ry = (int)std::min(std::floor((double)radius), (double)h - 1);
  auto grad = [&](int pos, int extent, int i, int stride) {
    if (pos > 0 && pos + 1 < extent) return ((double)t[i + stride] - (double)t[i - stride]) * 0.5;
    if (pos + 1 < extent) return (double)t[i + stride] - (double)t[i];
    if (pos > 0) return (double)t[i] - (double)t[i - stride];
    return 0.0;
  };
  for (int p : order) {
    const int x = p % w, y = p / w;
    const double gx = grad(x, w, p, 1), gy = grad(y, h, p, w);
    double s = 0, v[3] = {0, 0, 0};
    for (int dy = -ry; dy <= ry; ++dy)
      for (int dx = -rx; dx <= rx; ++dx) {
        const double q2 = (double)dx * dx + (double)dy * dy;
        if ((dx == 0 && dy == 0) || q2 > r2) continue;
        const int qx = x + dx, qy = y + dy;
        if (qx < 0 || qy < 0 || qx >= w || qy >= h || !known[(size_t)qy * w + qx]) continue;
        const int q = qy * w + qx;
        double a = (double)dx * gx + (double)dy * gy;
        if (std::fabs(a) <= 0.01) a = 1e-6;
        const double c = 1.0 / (q2 * std::sqrt(q2));
        const double lev = 1.0 / (1.0 + std::fabs((double)t[q] - (double)t[p]));
        const double wt = (std::fabs(a) * c) * lev;
        s += wt;
        for (int k = 0; k < cn; ++k) v[k] += wt * (double)out[(size_t)q * cn + k];
      }
    if (s > 0) {
      for (int k = 0; k < cn; ++k)
        out[(size_t)p * cn + k] = (uint8_t)std::nearbyint(std::clamp(v[k] / s, 0.0, 255.0));
      known[p] = 1;
    }
  }
  return out;
}

}  // namespace inpref

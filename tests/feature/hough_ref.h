// Plain reference of the Hough line search, shared by the unit tests and the
// fuzz target: the accumulator geometry, the size query's sum, the rho
// window of the range variant, and a re-count of every vote (one sparse row
// per angle) with every peak, sorted stably by votes.
#pragma once

#include <algorithm>
#include <cmath>
#include <map>
#include <vector>

#include "kvpcv.h"

// Marks the reference loops; the fuzz targets define it to keep them out of
// the coverage feedback.
#ifndef KVT_REF_LOOP
#define KVT_REF_LOOP
#endif

namespace hr {

constexpr float kPiBound = 3.14159f;  // the largest theta step, and the angle range

// Conversions of quotients that leave the int range have no defined result;
// such a geometry is marked out of range.
struct Geometry {
  bool inRange;
  long long numRho, numAngle, rhoOffset;
};
inline Geometry geometryOf(KvpiSize roi, KvpPointPolar delta) {
  Geometry g{};
  const float rhoQ = (float)(2 * ((long long)roi.width + roi.height) + 1) / delta.rho;
  const double angQ = (double)kPiBound / (double)delta.theta;
  g.inRange = rhoQ < 2147483648.f && angQ < 2147483647.0;
  if (!g.inRange) return g;
  g.numRho = (long long)rhoQ;
  g.numAngle = (long long)angQ + 1;
  g.rhoOffset = (g.numRho - 1) / 2;
  return g;
}

// The size query's sum, exactly (its first product can pass 63 bits).
inline __int128 bufferSize(KvpiSize roi, const Geometry& g, int maxLineCount) {
  return (__int128)roi.height * (4 * (__int128)roi.width + 64) + 16 * (__int128)maxLineCount +
         8 * (__int128)g.numAngle + 16 * (__int128)g.numRho + 288;
}

// The rho indices of the range variant: those whose distance (index -
// rhoOffset) * delta.rho lies in [lo, hi], clipped to the accumulator; empty
// when *winLo > *winHi.
inline void rhoWindow(float lo, float hi, KvpPointPolar delta, const Geometry& g, long long* winLo,
                      long long* winHi) {
  const double a = std::max(std::ceil((double)lo / (double)delta.rho) + (double)g.rhoOffset, 0.0);
  const double b =
      std::min(std::floor((double)hi / (double)delta.rho) + (double)g.rhoOffset, (double)g.numRho - 1.0);
  *winLo = a <= b ? (long long)a : 0;
  *winHi = a <= b ? (long long)b : -1;
}

struct Line {
  float rho, theta;
  int votes;
};

// The lines of a w x h image, edge(x, y) telling the edge pixels: votes at
// rho index ((x cos + y sin) * 1024 / rhoStep + 512) >> 10, a peak beats its
// lower and earlier neighbours and is not beaten by the others (angles
// beyond the range count as empty), the strongest maxLines in the order
// found (angle, then rho) among equal votes.
template <class Edge>
KVT_REF_LOOP std::vector<Line> lines(int w, int h, Edge edge, KvpPointPolar delta, int threshold,
                                     int maxLines, bool windowed = false, long long winLo = 0,
                                     long long winHi = -1) {
  const Geometry g = geometryOf({w, h}, delta);
  const double scale = (double)(1.f / delta.rho) * 1024.0;
  std::vector<long long> c(g.numAngle), s(g.numAngle);
  float th = 0.f;
  for (long long i = 0; i < g.numAngle; ++i, th += delta.theta) {
    c[i] = (long long)(std::cos((double)th) * scale);
    s[i] = (long long)(std::sin((double)th) * scale);
  }
  std::vector<std::map<long long, int>> acc(g.numAngle);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      if (!edge(x, y)) continue;
      for (long long i = 0; i < g.numAngle; ++i) {
        const long long idx = ((x * c[i] + 512 + y * s[i]) >> 10) + g.rhoOffset;
        if (!windowed || (idx >= winLo && idx <= winHi)) ++acc[i][idx];
      }
    }
  auto votes = [&](long long i, long long r) -> int {
    if (i < 0 || i >= g.numAngle) return 0;
    auto it = acc[i].find(r);
    return it == acc[i].end() ? 0 : it->second;
  };
  std::vector<Line> out;
  for (long long i = 0; i < g.numAngle; ++i)
    for (auto [r, v] : acc[i])
      if (v > threshold && v > votes(i, r - 1) && v >= votes(i, r + 1) && v > votes(i - 1, r) &&
          v >= votes(i + 1, r))
        out.push_back({(float)(r - g.rhoOffset) * delta.rho, (float)i * delta.theta, v});
  std::stable_sort(out.begin(), out.end(), [](const Line& a, const Line& b) { return a.votes > b.votes; });
  if ((long long)out.size() > maxLines) out.resize((size_t)std::max(maxLines, 0));
  return out;
}

}  // namespace hr

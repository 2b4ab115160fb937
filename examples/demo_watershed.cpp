// Marker watershed: the coins photograph separated into one region per
// coin. Seeds: the bright cores of the coins (numbered by the labelling)
// and the dark background that reaches the image frame; the flooding runs over the gradient magnitude,
// the region bounds are drawn white and every coin gets its own colour over
// the photograph.
#include <algorithm>
#include <cmath>
#include <vector>

#include "demo.h"

namespace {

// Mean over a (2r+1)^2 box, clipped at the image edges.
std::vector<int> boxMean(const std::vector<Kvp8u>& g, int w, int h, int r) {
  std::vector<int> out(g.size());
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      int s = 0, n = 0;
      for (int dy = -r; dy <= r; ++dy)
        for (int dx = -r; dx <= r; ++dx) {
          const int xx = x + dx, yy = y + dy;
          if (xx < 0 || yy < 0 || xx >= w || yy >= h) continue;
          s += g[(size_t)yy * w + xx];
          ++n;
        }
      out[(size_t)y * w + x] = s / n;
    }
  return out;
}

}  // namespace

KVP_DEMO_STEP("watershed", [](const demo::Context& ctx) {
  const demo::Image coins = demo::readPng(ctx.asset("coins.png"), 1);
  if (coins.pixels.empty()) return false;
  const int w = coins.width, h = coins.height;
  const KvpiSize roi{w, h};
  const std::vector<int> smooth = boxMean(coins.pixels, w, h, 2), local = boxMean(coins.pixels, w, h, 25);

  // Gradient magnitude of the smoothed image: the relief to flood.
  std::vector<Kvp8u> relief((size_t)w * h, 0);
  for (int y = 1; y + 1 < h; ++y)
    for (int x = 1; x + 1 < w; ++x) {
      const size_t i = (size_t)y * w + x;
      const int gx = smooth[i + 1] - smooth[i - 1], gy = smooth[i + w] - smooth[i - w];
      relief[i] = (Kvp8u)std::min(255, 2 * (int)std::lround(std::hypot(gx, gy)));
    }

  // Coin cores: clearly brighter than their surroundings; numbered from 2.
  std::vector<Kvp16u> markers((size_t)w * h);
  for (size_t i = 0; i < markers.size(); ++i) markers[i] = smooth[i] > local[i] + 30;
  int bytes = 0, cores = 0;
  if (kvpiLabelMarkersGetBufferSize_16u_C1R(roi, &bytes)) return false;
  std::vector<Kvp8u> lbuf((size_t)bytes);
  if (kvpiLabelMarkers_16u_C1IR(markers.data(), 2 * w, roi, 2, 65534, kvpiNormInf, &cores, lbuf.data()))
    return false;
  // Small specks are no coin cores.
  std::vector<int> area(cores + 2, 0);
  for (Kvp16u v : markers) ++area[v];
  for (Kvp16u& v : markers)
    if (v && area[v] < 40) v = 0;
  // Background: darker than the surroundings and smooth, and connected to
  // the image frame (dark patches inside a coin are no background).
  std::vector<Kvp16u> dark((size_t)w * h);
  for (size_t i = 0; i < dark.size(); ++i)
    dark[i] = !markers[i] && smooth[i] < local[i] - 12 && relief[i] < 12;
  int parts = 0;
  if (kvpiLabelMarkers_16u_C1IR(dark.data(), 2 * w, roi, 1, 65535, kvpiNormInf, &parts, lbuf.data()))
    return false;
  std::vector<char> framed(parts + 1, 0);
  for (int x = 0; x < w; ++x) framed[dark[x]] = framed[dark[(size_t)(h - 1) * w + x]] = 1;
  for (int y = 0; y < h; ++y) framed[dark[(size_t)y * w]] = framed[dark[(size_t)y * w + w - 1]] = 1;
  for (size_t i = 0; i < dark.size(); ++i)
    if (dark[i] && framed[dark[i]]) markers[i] = 1;

  if (kvpiSegmentWatershedGetBufferSize_8u16u_C1R(roi, &bytes)) return false;
  std::vector<Kvp8u> wbuf((size_t)bytes);
  if (kvpiSegmentWatershed_8u16u_C1IR(relief.data(), w, markers.data(), 2 * w, roi, kvpiNormL1,
                                      KVP_SEGMENT_DISTANCE, wbuf.data()))
    return false;
  std::vector<Kvp16u> bounds = markers;
  if (kvpiBoundSegments_16u_C1IR(bounds.data(), 2 * w, roi, 65535, kvpiNormL1)) return false;

  // The photograph on the left, the coloured regions on the right.
  demo::Image out{2 * w, h, 3, std::vector<Kvp8u>((size_t)2 * w * h * 3)};
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const size_t i = (size_t)y * w + x;
      const int g = coins.pixels[i];
      Kvp8u* left = &out.pixels[((size_t)y * 2 * w + x) * 3];
      Kvp8u* right = left + (size_t)w * 3;
      left[0] = left[1] = left[2] = (Kvp8u)g;
      const int lab = markers[i];
      int c[3] = {g / 3, g / 3, g / 3};
      if (lab > 1) {
        // A hue per label, spread by a golden-ratio step.
        const double hue = std::fmod(lab * 0.618034, 1.0) * 6.0;
        const int k = (int)hue;
        const double f = hue - k;
        const double rgb[6][3] = {{1, f, 0},     {1 - f, 1, 0}, {0, 1, f},
                                  {0, 1 - f, 1}, {f, 0, 1},     {1, 0, 1 - f}};
        for (int j = 0; j < 3; ++j) c[j] = (int)(g * 0.45 + 140 * rgb[k][j]);
      }
      if (bounds[i] == 65535) c[0] = c[1] = c[2] = 255;
      for (int j = 0; j < 3; ++j) right[j] = (Kvp8u)std::clamp(c[j], 0, 255);
    }
  return demo::writePng(ctx.output("watershed_coins.png"), out);
});

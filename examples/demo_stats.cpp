// Statistics per region of a colour photograph: left, the photograph cut
// into tiles with the darkest (blue) and brightest (red) pixel of each
// tile's green channel marked; right, every tile and channel normalised by
// its own mean and standard deviation, so that shadows and highlights show
// the same contrast.
#include <algorithm>
#include <cmath>
#include <vector>

#include "demo.h"

namespace {

// A cross of radius r in colour (r, g, b), clipped to the panel.
void cross(demo::Image& img, int cx, int cy, const Kvp8u rgb[3]) {
  for (int d = -6; d <= 6; ++d)
    for (int t = -1; t <= 1; ++t)
      for (auto [x, y] : {std::pair{cx + d, cy + t}, std::pair{cx + t, cy + d}}) {
        if (x < 0 || y < 0 || x >= img.width || y >= img.height) continue;
        std::copy(rgb, rgb + 3, &img.pixels[((size_t)y * img.width + x) * 3]);
      }
}

}  // namespace

KVP_DEMO_STEP("stats", [](const demo::Context& ctx) {
  const demo::Image src = demo::readPng(ctx.asset("chelsea.png"), 3);
  if (src.pixels.empty()) return false;
  const int w = src.width, h = src.height, cols = 5, rows = 3, gap = 8;
  demo::Image out{2 * w + gap, h, 3, std::vector<Kvp8u>((size_t)(2 * w + gap) * h * 3, 255)};
  demo::Image left = src, right = src;
  const Kvp8u blue[3] = {40, 90, 255}, red[3] = {255, 40, 40};
  for (int ty = 0; ty < rows; ++ty)
    for (int tx = 0; tx < cols; ++tx) {
      const int x0 = tx * w / cols, x1 = (tx + 1) * w / cols, y0 = ty * h / rows, y1 = (ty + 1) * h / rows;
      const KvpiSize tile{x1 - x0, y1 - y0};
      const size_t at = ((size_t)y0 * w + x0) * 3;
      for (int c = 0; c < 3; ++c) {
        Kvp64f mean = 0, sd = 0;
        if (kvpiMean_StdDev_8u_C3CR(src.data() + at, src.step(), tile, c + 1, &mean, &sd)) return false;
        for (int y = y0; y < y1; ++y)
          for (int x = x0; x < x1; ++x) {
            Kvp8u& px = right.pixels[((size_t)y * w + x) * 3 + c];
            const double v = 128.0 + 48.0 * (px - mean) / std::max(sd, 1.0);
            px = (Kvp8u)std::clamp(std::lround(v), 0l, 255l);
          }
      }
      Kvp32f mn = 0, mx = 0;
      KvpiPoint lmn{}, lmx{};
      if (kvpiMinMaxIndx_8u_C3CR(src.data() + at, src.step(), tile, 2, &mn, &mx, &lmn, &lmx)) return false;
      // Tile borders, then the markers.
      for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x)
          if (x == x0 || y == y0)
            for (int c = 0; c < 3; ++c) left.pixels[((size_t)y * w + x) * 3 + c] = 255;
      cross(left, x0 + lmn.x, y0 + lmn.y, blue);
      cross(left, x0 + lmx.x, y0 + lmx.y, red);
    }
  for (int y = 0; y < h; ++y) {
    std::copy_n(&left.pixels[(size_t)y * w * 3], w * 3, &out.pixels[(size_t)y * out.width * 3]);
    std::copy_n(&right.pixels[(size_t)y * w * 3], w * 3, &out.pixels[((size_t)y * out.width + w + gap) * 3]);
  }
  return demo::writePng(ctx.output("stats_tiles.png"), out);
});

// Hough lines: an edge map of a photograph from a simple gradient
// threshold, and the strongest lines found in it drawn over the photograph.
#include <cmath>
#include <vector>

#include "demo.h"

namespace {

demo::Image gradientEdges(const demo::Image& g, int minMagnitude) {
  demo::Image e{g.width, g.height, 1, std::vector<Kvp8u>((size_t)g.width * g.height, 0)};
  for (int y = 1; y < g.height - 1; ++y)
    for (int x = 1; x < g.width - 1; ++x) {
      const Kvp8u* p = g.data() + (size_t)y * g.step() + x;
      const int gx = p[1] - p[-1], gy = p[g.step()] - p[-g.step()];
      e.pixels[(size_t)y * g.width + x] = gx * gx + gy * gy >= minMagnitude * minMagnitude ? 255 : 0;
    }
  return e;
}

// Every pixel of the image on the line x cos(theta) + y sin(theta) = rho.
void drawLine(demo::Image& rgb, KvpPointPolar l, const Kvp8u color[3]) {
  const double c = std::cos(l.theta), s = std::sin(l.theta);
  auto put = [&](int x, int y) {
    if (x < 0 || y < 0 || x >= rgb.width || y >= rgb.height) return;
    Kvp8u* p = rgb.data() + (size_t)y * rgb.step() + 3 * x;
    p[0] = color[0], p[1] = color[1], p[2] = color[2];
  };
  if (std::fabs(s) > std::fabs(c))
    for (int x = 0; x < rgb.width; ++x) put(x, (int)std::lround((l.rho - x * c) / s));
  else
    for (int y = 0; y < rgb.height; ++y) put((int)std::lround((l.rho - y * s) / c), y);
}

}  // namespace

KVP_DEMO_STEP("hough", [](const demo::Context& ctx) {
  const demo::Image gray = demo::readPng(ctx.asset("brick.png"), 1);
  if (gray.pixels.empty()) return false;
  const demo::Image edges = gradientEdges(gray, 60);

  const KvpPointPolar delta{1.f, 3.14159265f / 180};
  const int maxLines = 24;
  int size = 0;
  if (kvpiHoughLineGetSize_8u_C1R(edges.size(), delta, maxLines, &size) != kvpStsOk) return false;
  std::vector<Kvp8u> buf((size_t)size);
  std::vector<KvpPointPolar> lines(maxLines);
  int count = 0;
  if (kvpiHoughLine_8u32f_C1R(edges.data(), edges.step(), edges.size(), delta, gray.width / 4, lines.data(),
                              maxLines, &count, buf.data()) != kvpStsOk)
    return false;
  std::printf("  hough: %d lines\n", count);

  demo::Image rgb{gray.width, gray.height, 3, std::vector<Kvp8u>((size_t)gray.width * gray.height * 3)};
  for (size_t i = 0; i < gray.pixels.size(); ++i)
    rgb.pixels[3 * i] = rgb.pixels[3 * i + 1] = rgb.pixels[3 * i + 2] = gray.pixels[i];
  const Kvp8u strongest[3] = {255, 40, 40}, others[3] = {40, 220, 255};
  for (int k = count - 1; k >= 0; --k) drawLine(rgb, lines[k], k < 6 ? strongest : others);
  return demo::writePng(ctx.output("hough_edges.png"), edges) &&
         demo::writePng(ctx.output("hough_lines.png"), rgb);
});

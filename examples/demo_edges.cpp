// Edges and corners: Canny edges of a photograph in one call, and its
// strongest corners (local maxima of the minimum eigenvalue of the
// structure tensor), drawn over the dimmed photograph.
#include <algorithm>
#include <vector>

#include "demo.h"

KVP_DEMO_STEP("edges", [](const demo::Context& ctx) {
  const demo::Image gray = demo::readPng(ctx.asset("camera.png"), 1);
  if (gray.pixels.empty()) return false;
  const KvpiSize roi = gray.size();

  int size = 0;
  if (kvpiCannyBorderGetSize(roi, kvpFilterSobel, kvpMskSize3x3, &size) != kvpStsOk) return false;
  std::vector<Kvp8u> buf((size_t)size);
  demo::Image edges{gray.width, gray.height, 1, std::vector<Kvp8u>(gray.pixels.size())};
  if (kvpiCannyBorder_8u_C1R(gray.data(), gray.step(), edges.data(), edges.step(), roi, kvpFilterSobel,
                             kvpMskSize3x3, kvpBorderRepl, 0, 80, 200, kvpiNormL2, buf.data()) != kvpStsOk)
    return false;

  // Corner response, then its 3x3 peaks, the strongest first.
  if (kvpiMinEigenValGetBufferSize_8u32f_C1R(roi, kvpFilterSobel, 3, 5, &size) != kvpStsOk) return false;
  buf.assign((size_t)size, 0);
  std::vector<Kvp32f> response(gray.pixels.size());
  if (kvpiMinEigenVal_8u32f_C1R(gray.data(), gray.step(), response.data(), 4 * gray.width, roi,
                                kvpFilterSobel, 3, 5, buf.data()) != kvpStsOk)
    return false;
  if (kvpiFindPeaks3x3GetBufferSize_32f_C1R(roi, &size) != kvpStsOk) return false;
  buf.assign((size_t)size, 0);
  std::vector<KvpiPoint> peaks(20000);
  int count = 0;
  if (kvpiFindPeaks3x3_32f_C1R(response.data(), 4 * gray.width, roi, 0.002f, peaks.data(), (int)peaks.size(),
                               &count, kvpiNormInf, 4, buf.data()) != kvpStsOk)
    return false;
  peaks.resize(count);
  auto at = [&](KvpiPoint p) { return response[(size_t)p.y * gray.width + p.x]; };
  std::sort(peaks.begin(), peaks.end(), [&](KvpiPoint a, KvpiPoint b) { return at(a) > at(b); });
  if (peaks.size() > 80) peaks.resize(80);
  int edgeCount = 0;
  for (Kvp8u e : edges.pixels) edgeCount += e != 0;
  std::printf("  edges: %d edge pixels, %d corner peaks, %zu drawn\n", edgeCount, count, peaks.size());

  demo::Image rgb{gray.width, gray.height, 3, std::vector<Kvp8u>(gray.pixels.size() * 3)};
  for (size_t i = 0; i < gray.pixels.size(); ++i) {
    const Kvp8u v = (Kvp8u)(gray.pixels[i] / 2);
    const bool e = edges.pixels[i] != 0;
    rgb.pixels[3 * i] = e ? 40 : v;
    rgb.pixels[3 * i + 1] = e ? 230 : v;
    rgb.pixels[3 * i + 2] = e ? 255 : v;
  }
  for (KvpiPoint p : peaks)
    for (int d = -4; d <= 4; ++d)
      for (int t = -1; t <= 1; ++t)
        for (auto [x, y] : {std::pair{p.x + d, p.y + t}, std::pair{p.x + t, p.y + d}}) {
          if (x < 0 || y < 0 || x >= gray.width || y >= gray.height) continue;
          Kvp8u* q = rgb.data() + (size_t)y * rgb.step() + 3 * x;
          q[0] = 255, q[1] = 40, q[2] = 40;
        }
  return demo::writePng(ctx.output("edges_canny.png"), edges) &&
         demo::writePng(ctx.output("edges_corners.png"), rgb);
});

// Derivative and smoothing filters on photographs: the Sobel gradient
// magnitude of a gray scene (white where edges are strong), and a colour
// photograph beside its Gaussian blur (kernel 15, sigma 4).
#include <algorithm>
#include <cmath>
#include <vector>

#include "demo.h"

namespace {

// sqrt(dx^2 + dy^2) of the 3x3 Sobel pair, scaled so that 255 means a step
// of about a quarter of the full range.
bool gradient(const demo::Image& gray, demo::Image& out) {
  const KvpiSize sz = gray.size();
  int bx = 0, by = 0;
  if (kvpiFilterSobelVertGetBufferSize_8u16s_C1R(sz, kvpMskSize3x3, &bx) ||
      kvpiFilterSobelHorizGetBufferSize_8u16s_C1R(sz, kvpMskSize3x3, &by))
    return false;
  std::vector<Kvp8u> buffer((size_t)std::max(bx, by));
  std::vector<Kvp16s> dx((size_t)sz.width * sz.height), dy(dx.size());
  const int step16 = sz.width * 2;
  if (kvpiFilterSobelVertBorder_8u16s_C1R(gray.data(), gray.step(), dx.data(), step16, sz, kvpMskSize3x3,
                                          kvpBorderRepl, 0, buffer.data()) ||
      kvpiFilterSobelHorizBorder_8u16s_C1R(gray.data(), gray.step(), dy.data(), step16, sz, kvpMskSize3x3,
                                           kvpBorderRepl, 0, buffer.data()))
    return false;
  out = demo::Image{sz.width, sz.height, 1, std::vector<Kvp8u>(dx.size())};
  for (size_t i = 0; i < dx.size(); ++i) {
    const double m = std::sqrt((double)dx[i] * dx[i] + (double)dy[i] * dy[i]) * (255.0 / 256.0);
    out.pixels[i] = (Kvp8u)std::min(255.0, m);
  }
  return true;
}

bool blur(const demo::Image& rgb, demo::Image& out) {
  int bytes = 0;
  if (kvpiFilterGaussGetBufferSize_8u_C3R(rgb.size(), 15, &bytes)) return false;
  std::vector<Kvp8u> buffer((size_t)bytes);
  out = demo::Image{rgb.width, rgb.height, 3, std::vector<Kvp8u>(rgb.pixels.size())};
  return kvpiFilterGaussBorder_8u_C3R(rgb.data(), rgb.step(), out.data(), out.step(), rgb.size(), 15, 4.0f,
                                      kvpBorderMirror, nullptr, buffer.data()) == kvpStsOk;
}

}  // namespace

KVP_DEMO_STEP("filters", [](const demo::Context& ctx) {
  const demo::Image gray = demo::readPng(ctx.asset("coins.png"), 1);
  const demo::Image rgb = demo::readPng(ctx.asset("chelsea.png"), 3);
  if (gray.pixels.empty() || rgb.pixels.empty()) return false;
  demo::Image edges, blurred;
  if (!gradient(gray, edges) || !blur(rgb, blurred)) return false;
  demo::Image pair{2 * rgb.width, rgb.height, 3, std::vector<Kvp8u>((size_t)2 * rgb.width * rgb.height * 3)};
  for (int y = 0; y < rgb.height; ++y) {
    std::copy_n(rgb.data() + (size_t)y * rgb.step(), rgb.step(), pair.data() + (size_t)y * pair.step());
    std::copy_n(blurred.data() + (size_t)y * rgb.step(), rgb.step(),
                pair.data() + (size_t)y * pair.step() + rgb.step());
  }
  return demo::writePng(ctx.output("filters_sobel_magnitude.png"), edges) &&
         demo::writePng(ctx.output("filters_gauss_blur.png"), pair);
});

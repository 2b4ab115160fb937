// Morphology: the camera photograph beside its white top-hat (a disc of
// radius 7, contrast x3) and its 3x3 morphological gradient; the coins
// beside their holes filled (reconstruction by erosion from the border)
// and their domes of height 40 (the photograph minus its reconstruction by
// dilation from the photograph lowered by 40, x4).
#include <algorithm>
#include <vector>

#include "demo.h"

namespace {

// Three gray images of one size side by side.
demo::Image strip(const demo::Image& a, const std::vector<Kvp8u>& b, const std::vector<Kvp8u>& c) {
  demo::Image out;
  out.width = a.width * 3;
  out.height = a.height;
  out.channels = 1;
  out.pixels.resize((size_t)out.width * out.height);
  for (int y = 0; y < a.height; ++y)
    for (int x = 0; x < a.width; ++x) {
      const size_t i = (size_t)y * a.width + x, o = (size_t)y * out.width + x;
      out.pixels[o] = a.pixels[i];
      out.pixels[o + a.width] = b[i];
      out.pixels[o + 2 * a.width] = c[i];
    }
  return out;
}

std::vector<Kvp8u> scaled(std::vector<Kvp8u> v, int k) {
  for (auto& p : v) p = (Kvp8u)std::min(255, p * k);
  return v;
}

bool cameraStep(const demo::Context& ctx) {
  const demo::Image cam = demo::readPng(ctx.asset("camera.png"), 1);
  if (cam.pixels.empty()) return false;
  const int w = cam.width, h = cam.height, r = 7, k = 2 * r + 1;
  std::vector<Kvp8u> disc((size_t)k * k), ones(9, 1), tophat(cam.pixels.size()), grad(tophat.size());
  for (int j = 0; j < k; ++j)
    for (int i = 0; i < k; ++i) disc[(size_t)j * k + i] = (i - r) * (i - r) + (j - r) * (j - r) <= r * r;
  KvpiMorphAdvState* st = nullptr;
  if (kvpiMorphAdvInitAlloc_8u_C1R(cam.size(), disc.data(), {k, k}, {r, r}, &st)) return false;
  KvpStatus s = kvpiMorphTophatBorder_8u_C1R(cam.data(), w, tophat.data(), w, cam.size(), kvpBorderRepl, st);
  kvpiMorphAdvFree(st);
  if (s || kvpiMorphAdvInitAlloc_8u_C1R(cam.size(), ones.data(), {3, 3}, {1, 1}, &st)) return false;
  s = kvpiMorphGradientBorder_8u_C1R(cam.data(), w, grad.data(), w, cam.size(), kvpBorderRepl, st);
  kvpiMorphAdvFree(st);
  (void)h;
  return !s && demo::writePng(ctx.output("morph_tophat_gradient.png"), strip(cam, scaled(tophat, 3), grad));
}

bool coinsStep(const demo::Context& ctx) {
  const demo::Image coins = demo::readPng(ctx.asset("coins.png"), 1);
  if (coins.pixels.empty()) return false;
  const int w = coins.width, h = coins.height;
  int size = 0;
  if (kvpiMorphReconstructGetBufferSize_8u_C1(coins.size(), &size)) return false;
  std::vector<Kvp8u> buf((size_t)size), filled(coins.pixels.size()), dome(filled.size());
  // Holes: the marker keeps the border and is white inside; erosion above
  // the photograph fills every dark region that does not reach the border.
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const size_t i = (size_t)y * w + x;
      filled[i] = (x == 0 || y == 0 || x == w - 1 || y == h - 1) ? coins.pixels[i] : 255;
      dome[i] = (Kvp8u)std::max(0, coins.pixels[i] - 40);
    }
  if (kvpiMorphReconstructErode_8u_C1IR(coins.data(), w, filled.data(), w, coins.size(), buf.data(),
                                        kvpiNormInf) ||
      kvpiMorphReconstructDilate_8u_C1IR(coins.data(), w, dome.data(), w, coins.size(), buf.data(),
                                         kvpiNormInf))
    return false;
  for (size_t i = 0; i < dome.size(); ++i) dome[i] = (Kvp8u)(coins.pixels[i] - dome[i]);
  return demo::writePng(ctx.output("morph_fill_holes_domes.png"), strip(coins, filled, scaled(dome, 4)));
}

}  // namespace

KVP_DEMO_STEP("morph", [](const demo::Context& ctx) { return cameraStep(ctx) && coinsStep(ctx); });

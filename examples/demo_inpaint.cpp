// Inpainting: the cat photograph with white scratches painted over it,
// and the same photograph restored from the scratch mask (arrival times by
// fast marching, then the fill in ascending time, radius 5).
#include <cmath>
#include <vector>

#include "demo.h"

namespace {

// A curved scratch of the given half-width from (x0, y0) to (x1, y1),
// bowed sideways by bow pixels.
void scratch(std::vector<Kvp8u>& mask, int w, int h, double x0, double y0, double x1, double y1, double bow,
             double half) {
  const double len = std::hypot(x1 - x0, y1 - y0), nx = -(y1 - y0) / len, ny = (x1 - x0) / len;
  for (double s = 0; s <= 1.0; s += 0.5 / len) {
    const double b = bow * 4 * s * (1 - s);
    const double cx = x0 + s * (x1 - x0) + b * nx, cy = y0 + s * (y1 - y0) + b * ny;
    for (int y = (int)(cy - half) - 1; y <= (int)(cy + half) + 1; ++y)
      for (int x = (int)(cx - half) - 1; x <= (int)(cx + half) + 1; ++x)
        if (x >= 0 && y >= 0 && x < w && y < h && std::hypot(x - cx, y - cy) <= half)
          mask[(size_t)y * w + x] = 255;
  }
}

}  // namespace

KVP_DEMO_STEP("inpaint", [](const demo::Context& ctx) {
  const demo::Image cat = demo::readPng(ctx.asset("chelsea.png"), 3);
  if (cat.pixels.empty()) return false;
  const int w = cat.width, h = cat.height;
  const KvpiSize roi{w, h};
  std::vector<Kvp8u> mask((size_t)w * h, 0);
  scratch(mask, w, h, 20, 40, 430, 260, 60, 2.5);
  scratch(mask, w, h, 60, 280, 400, 20, -40, 1.5);
  scratch(mask, w, h, 150, 10, 200, 290, 30, 3.5);
  scratch(mask, w, h, 300, 150, 440, 120, 10, 1.0);
  demo::Image damaged = cat;
  for (size_t i = 0; i < mask.size(); ++i)
    if (mask[i]) damaged.pixels[3 * i] = damaged.pixels[3 * i + 1] = damaged.pixels[3 * i + 2] = 250;

  const float radius = 5.f;
  int bytes = 0;
  if (kvpiFastMarchingGetBufferSize_8u32f_C1R(roi, &bytes)) return false;
  std::vector<Kvp8u> buf((size_t)bytes);
  std::vector<Kvp32f> t((size_t)w * h);
  if (kvpiFastMarching_8u32f_C1R(mask.data(), w, t.data(), 4 * w, roi, radius, buf.data())) return false;
  KvpiInpaintState_8u_C3R* state = nullptr;
  if (kvpiInpaintInitAlloc_8u_C3R(&state, t.data(), 4 * w, mask.data(), w, roi, radius, 0)) return false;
  demo::Image restored = damaged;
  const KvpStatus st =
      kvpiInpaint_8u_C3R(damaged.data(), damaged.step(), restored.data(), restored.step(), roi, state);
  kvpiInpaintFree_8u_C3R(state);
  if (st) return false;

  // Damaged on the left, restored on the right.
  demo::Image out{2 * w, h, 3, std::vector<Kvp8u>((size_t)2 * w * h * 3)};
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < 3 * w; ++x) {
      out.pixels[(size_t)y * 6 * w + x] = damaged.pixels[(size_t)y * 3 * w + x];
      out.pixels[(size_t)y * 6 * w + 3 * w + x] = restored.pixels[(size_t)y * 3 * w + x];
    }
  return demo::writePng(ctx.output("inpaint_cat.png"), out);
});

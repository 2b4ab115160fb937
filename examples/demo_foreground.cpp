// Both background models on a synthetic camera sequence over a photograph:
// sensor noise on every frame, a dark disc and a bright square moving
// across, and a shadow band drifting over the lower part. Twenty empty
// frames train the models; the result shows the last frame, the Gaussian
// mixture's mask and the histogram model's mask (shadows as background).
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

#include "demo.h"

namespace {

demo::Image frameAt(const demo::Image& bg, int t, std::mt19937& rng) {
  demo::Image f = bg;
  std::normal_distribution<float> noise(0.f, 4.f);
  const int w = bg.width, h = bg.height;
  const bool moving = t > 20;
  const int cx = 40 + (t - 20) * 9, cy = h / 3, r = 28;
  const int sx = w - 80 - (t - 20) * 6, sy = 2 * h / 3 - 30;
  const int shadowX = (t * 4) % w;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < 3; ++c) {
        float v = bg.pixels[((size_t)y * w + x) * 3 + c];
        if (moving && (x - cx) * (x - cx) + (y - cy) * (y - cy) < r * r) v = 25.f + 10 * c;
        if (moving && x >= sx && x < sx + 50 && y >= sy && y < sy + 50) v = 235.f - 30 * c;
        if (y > h - 60 && x >= shadowX && x < shadowX + 90) v *= 0.7f;
        f.pixels[((size_t)y * w + x) * 3 + c] = (Kvp8u)std::clamp(v + noise(rng), 0.f, 255.f);
      }
  return f;
}

}  // namespace

KVP_DEMO_STEP("foreground", [](const demo::Context& ctx) {
  const demo::Image bg = demo::readPng(ctx.asset("chelsea.png"), 3);
  if (bg.pixels.empty()) return false;
  const int w = bg.width, h = bg.height;
  const KvpiSize roi{w, h};
  std::mt19937 rng(7);
  KvpFGGaussianModel gm = {5, 0.7f, -1.f, 200, 0, 0.3f, 0.5f, 1, 15.f};
  KvpFGHistogramModel hm = {16, 16, 6, 8, 8, 12, 0.02f, 0.005f, 20, 0.3f, 0.5f, 1, 20};
  demo::Image f = frameAt(bg, 1, rng);
  KvpiFGGaussianState* gs = nullptr;
  KvpiFGHistogramState* hs = nullptr;
  if (kvpiForegroundGaussianInitAlloc_8u_C3R(f.data(), w * 3, roi, &gm, &gs)) return false;
  if (kvpiForegroundHistogramInitAlloc_8u_C3R(f.data(), w * 3, roi, &hm, &hs)) {
    kvpiForegroundGaussianFree(gs);
    return false;
  }
  std::vector<Kvp8u> gMask((size_t)w * h), hMask((size_t)w * h), ref((size_t)w * h * 3);
  bool ok = true;
  for (int t = 2; t <= 45 && ok; ++t) {
    f = frameAt(bg, t, rng);
    ok = kvpiForegroundGaussian_8u_C3R(f.data(), w * 3, ref.data(), w * 3, gMask.data(), w, roi, gs) ==
             kvpStsOk &&
         kvpiForegroundHistogram_8u_C3R(hs, f.data(), w * 3, hMask.data(), w) == kvpStsOk &&
         kvpiForegroundHistogramUpdate_8u_C3R(f.data(), w * 3, ref.data(), w * 3, roi, hs) == kvpStsOk;
  }
  kvpiForegroundGaussianFree(gs);
  kvpiForegroundHistogramFree(hs);
  if (!ok) return false;
  const auto share = [&](const std::vector<Kvp8u>& m) {
    return 100.0 * (double)std::count(m.begin(), m.end(), 255) / (double)m.size();
  };
  std::printf("  foreground: %.1f %% (Gaussian), %.1f %% (histogram) of the last frame\n", share(gMask),
              share(hMask));
  // Three panels: the frame, then each mask in red over a dimmed frame.
  demo::Image out{3 * w + 8, h, 3, std::vector<Kvp8u>((size_t)(3 * w + 8) * h * 3, 255)};
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int p = 0; p < 3; ++p) {
        const Kvp8u* src = &f.pixels[((size_t)y * w + x) * 3];
        Kvp8u* dst = &out.pixels[((size_t)y * out.width + p * (w + 4) + x) * 3];
        const bool fg = p == 1 ? gMask[(size_t)y * w + x] : p == 2 ? hMask[(size_t)y * w + x] : false;
        for (int c = 0; c < 3; ++c) dst[c] = p == 0 ? src[c] : (Kvp8u)(src[c] / 3);
        if (fg) dst[0] = 255, dst[1] = 40, dst[2] = 40;
      }
  return demo::writePng(ctx.output("foreground.png"), out);
});

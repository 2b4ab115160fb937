// Twice the resolution from four half-resolution copies of a photograph,
// each shifted by one pixel of the original: every observation is the mean
// of a 2x2 block, and twenty gradient steps with the 2x2 box PSF bring the
// pixel-replicated start back towards the original.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "demo.h"

KVP_DEMO_STEP("superres", [](const demo::Context& ctx) {
  const demo::Image X = demo::readPng(ctx.asset("camera.png"), 1);
  if (X.pixels.empty()) return false;
  const int W = X.width & ~1, H = X.height & ~1;
  auto px = [&](int x, int y) { return (float)X.pixels[(size_t)y * X.width + x]; };

  // Observations of the four frames (dx, dy), in raster order per frame.
  std::vector<int> ex, ey;
  std::vector<unsigned> ei;
  std::vector<Kvp8u> es;
  for (int dy = 0; dy < 2; ++dy)
    for (int dx = 0; dx < 2; ++dx)
      for (int y = dy; y + 1 < H; y += 2)
        for (int x = dx; x + 1 < W; x += 2) {
          const float m = (px(x, y) + px(x + 1, y) + px(x, y + 1) + px(x + 1, y + 1)) / 4.f;
          ex.push_back(x);
          ey.push_back(y);
          ei.push_back(0);
          es.push_back((Kvp8u)std::nearbyint(std::clamp(m, 0.f, 255.f)));
        }
  const int len = (int)ex.size();
  const Kvp32f tab[1][4] = {{0.25f, 0.25f, 0.25f, 0.25f}};
  KvpiSRHNSpec_PSF2x2* psf = nullptr;
  if (kvpiSRHNInitAlloc_PSF2x2(&psf, tab, 1)) return false;

  // Start: frame (0, 0) with every pixel replicated 2x2.
  std::vector<float> est((size_t)W * H), start, grad((size_t)W * H), res(len);
  for (int y = 0; y < H; ++y)
    for (int x = 0; x < W; ++x) est[(size_t)y * W + x] = es[(size_t)(y / 2) * (W / 2) + x / 2];
  start = est;
  auto psnr = [&](const std::vector<float>& e) {
    double s = 0;
    for (int y = 0; y < H; ++y)
      for (int x = 0; x < W; ++x) {
        const double d = std::clamp(e[(size_t)y * W + x], 0.f, 255.f) - px(x, y);
        s += d * d;
      }
    return 10 * std::log10(255.0 * 255.0 / (s / ((double)W * H)));
  };
  const KvpiSize size{W, H};
  bool ok = true;
  for (int it = 0; it < 20 && ok; ++it) {
    ok = kvpiSRHNCalcResidual_PSF2x2_8u32f_C1R(es.data(), est.data(), W * 4, size, res.data(), ex.data(),
                                               ey.data(), ei.data(), len, psf) == kvpStsOk;
    std::fill(grad.begin(), grad.end(), 0.f);  // mu = 1: the residuals are the weights
    ok = ok && kvpiSRHNUpdateGradient_PSF2x2_32f_C1R(grad.data(), W * 4, size, ex.data(), ey.data(),
                                                     ei.data(), res.data(), len, psf) == kvpStsOk;
    for (size_t i = 0; i < est.size(); ++i) est[i] += grad[i];
  }
  kvpiSRHNFree_PSF2x2(psf);
  if (!ok) return false;
  std::printf("  superres: PSNR %.2f dB (replicated) -> %.2f dB (20 steps)\n", psnr(start), psnr(est));

  // A 192x192 crop magnified 2x, three panels: start, result, original.
  const int cx = 180, cy = 60, cw = 192, mag = 2, pw = cw * mag;
  demo::Image out{3 * pw + 8, pw, 1, std::vector<Kvp8u>((size_t)(3 * pw + 8) * pw, 255)};
  for (int panel = 0; panel < 3; ++panel)
    for (int y = 0; y < pw; ++y)
      for (int x = 0; x < pw; ++x) {
        const int sx = cx + x / mag, sy = cy + y / mag;
        const float v = panel == 0   ? start[(size_t)sy * W + sx]
                        : panel == 1 ? est[(size_t)sy * W + sx]
                                     : px(sx, sy);
        out.pixels[(size_t)y * out.width + panel * (pw + 4) + x] =
            (Kvp8u)std::nearbyint(std::clamp(v, 0.f, 255.f));
      }
  return demo::writePng(ctx.output("superres.png"), out);
});

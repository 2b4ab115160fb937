// Accumulation and absolute difference: a running average, a variance map
// and frame differences of a photograph shifted over a few frames.
#include <cmath>
#include <vector>

#include "demo.h"

KVP_DEMO_STEP("accumulate", [](const demo::Context& ctx) {
  const demo::Image cam = demo::readPng(ctx.asset("camera.png"), 1);
  if (cam.pixels.empty()) return false;
  const int w = cam.width - 16, h = cam.height - 16;
  const KvpiSize roi{w, h};
  std::vector<Kvp32f> mean((size_t)w * h, 0.f), sq((size_t)w * h, 0.f), avg((size_t)w * h, 0.f);
  const int frames = 8;
  for (int f = 0; f < frames; ++f) {
    const Kvp8u* frame = cam.data() + f * 2 * cam.step() + f * 2;  // drift down-right
    if (kvpiAdd_8u32f_C1IR(frame, cam.step(), mean.data(), w * 4, roi) ||
        kvpiAddSquare_8u32f_C1IR(frame, cam.step(), sq.data(), w * 4, roi) ||
        kvpiAddWeighted_8u32f_C1IR(frame, cam.step(), avg.data(), w * 4, roi, f == 0 ? 1.f : 0.25f))
      return false;
  }
  // variance = E[x^2] - E[x]^2
  std::vector<Kvp32f> var((size_t)w * h);
  for (size_t i = 0; i < var.size(); ++i) {
    const float m = mean[i] / frames;
    var[i] = std::sqrt(std::fmax(sq[i] / frames - m * m, 0.f));
  }
  demo::Image diff{w, h, 1, std::vector<Kvp8u>((size_t)w * h)};
  const Kvp8u* last = cam.data() + (frames - 1) * 2 * cam.step() + (frames - 1) * 2;
  if (kvpiAbsDiff_8u_C1R(cam.data(), cam.step(), last, cam.step(), diff.data(), w, roi)) return false;
  return demo::writePng(ctx.output("accumulate_mean.png"), demo::floatToGray(mean.data(), w * 4, roi)) &&
         demo::writePng(ctx.output("accumulate_stddev.png"), demo::floatToGray(var.data(), w * 4, roi)) &&
         demo::writePng(ctx.output("accumulate_running_average.png"),
                        demo::floatToGray(avg.data(), w * 4, roi)) &&
         demo::writePng(ctx.output("absdiff.png"), diff);
});

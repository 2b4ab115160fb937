// Motion history of a disc moving across a photograph: the silhouette of
// each frame is the difference to the previous frame, thresholded.
#include <algorithm>
#include <cmath>
#include <vector>

#include "demo.h"

KVP_DEMO_STEP("motion", [](const demo::Context& ctx) {
  const demo::Image bg = demo::readPng(ctx.asset("camera.png"), 1);
  if (bg.pixels.empty()) return false;
  const int w = bg.width, h = bg.height;
  const KvpiSize roi{w, h};
  std::vector<Kvp32f> mhi((size_t)w * h, 0.f);
  demo::Image prev = bg, frame = bg, diff = bg, sil = bg;
  const int frames = 12;
  for (int f = 0; f < frames; ++f) {
    frame = bg;
    const int cx = 60 + f * 32, cy = 140 + f * 18, r = 40;
    for (int y = std::max(0, cy - r); y < std::min(h, cy + r); ++y)
      for (int x = std::max(0, cx - r); x < std::min(w, cx + r); ++x)
        if ((x - cx) * (x - cx) + (y - cy) * (y - cy) < r * r) frame.pixels[(size_t)y * w + x] = 255;
    if (kvpiAbsDiff_8u_C1R(frame.data(), w, prev.data(), w, diff.data(), w, roi)) return false;
    for (size_t i = 0; i < sil.pixels.size(); ++i) sil.pixels[i] = diff.pixels[i] > 30;
    if (kvpiUpdateMotionHistory_8u32f_C1IR(sil.data(), w, mhi.data(), w * 4, roi, (float)(f + 1), 6.f))
      return false;
    prev = frame;
  }
  // Over a dimmed photograph, the age of each pixel's last motion as a
  // colour: the newest stamp yellow, the oldest kept stamp blue.
  const float newest = (float)frames, duration = 6.f;
  demo::Image out{w, h, 3, std::vector<Kvp8u>((size_t)w * h * 3)};
  for (size_t i = 0; i < (size_t)w * h; ++i) {
    Kvp8u* px = &out.pixels[3 * i];
    if (mhi[i] > 0.f) {
      const float age = std::clamp((newest - mhi[i]) / duration, 0.f, 1.f);
      px[0] = (Kvp8u)(255 - 215 * age);
      px[1] = (Kvp8u)(230 - 150 * age);
      px[2] = (Kvp8u)(40 + 215 * age);
    } else {
      px[0] = px[1] = px[2] = (Kvp8u)(bg.pixels[i] / 3);
    }
  }
  return demo::writePng(ctx.output("motion_history.png"), out);
});

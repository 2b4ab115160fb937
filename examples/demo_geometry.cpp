// Lens distortion: a photograph of brickwork given barrel distortion with
// the radial model, then straightened again with the model's approximate
// inverse (k1' = -k1, k2' = 3 k1^2). Writes the distorted and the
// straightened image, and the three side by side.
#include <vector>

#include "demo.h"

namespace {

bool radial(const demo::Image& src, demo::Image& dst, float k1, float k2) {
  dst = demo::Image{src.width, src.height, 1, std::vector<Kvp8u>(src.pixels.size())};
  int bytes = 0;
  if (kvpiUndistortGetSize(src.size(), &bytes) != kvpStsOk) return false;
  std::vector<Kvp8u> buffer((size_t)bytes);
  // Focal length = width: the corners sit at a normalised radius of 0.7.
  const float f = (float)src.width, cx = 0.5f * (float)(src.width - 1), cy = 0.5f * (float)(src.height - 1);
  return kvpiUndistortRadial_8u_C1R(src.data(), src.step(), dst.data(), dst.step(), src.size(), f, f, cx, cy,
                                    k1, k2, buffer.data()) == kvpStsOk;
}

}  // namespace

KVP_DEMO_STEP("geometry", [](const demo::Context& ctx) {
  const demo::Image photo = demo::readPng(ctx.asset("brick.png"), 1);
  if (photo.pixels.empty()) return false;
  const float k1 = 0.3f;
  demo::Image barrel, straight;
  if (!radial(photo, barrel, k1, 0.f) || !radial(barrel, straight, -k1, 3.f * k1 * k1)) return false;
  const int gap = 8, w = photo.width;
  demo::Image sheet{3 * w + 2 * gap, photo.height, 1,
                    std::vector<Kvp8u>((size_t)(3 * w + 2 * gap) * photo.height, 255)};
  const demo::Image* panels[3] = {&photo, &barrel, &straight};
  for (int p = 0; p < 3; ++p)
    for (int y = 0; y < photo.height; ++y)
      for (int x = 0; x < w; ++x)
        sheet.pixels[(size_t)y * sheet.width + p * (w + gap) + x] = panels[p]->pixels[(size_t)y * w + x];
  return demo::writePng(ctx.output("geometry_barrel.png"), barrel) &&
         demo::writePng(ctx.output("geometry_straightened.png"), straight) &&
         demo::writePng(ctx.output("geometry_sheet.png"), sheet);
});

// Gaussian pyramid of a colour photograph: four levels down side by side
// (full size on the left, each smaller level to its right, aligned at the
// top), and the smallest level brought back up twice.
#include <algorithm>
#include <vector>

#include "demo.h"

namespace {

// One level down of an RGB image.
bool down(const demo::Image& src, demo::Image& dst) {
  dst = demo::Image{(src.width + 1) / 2, (src.height + 1) / 2, 3, {}};
  dst.pixels.resize((size_t)dst.width * dst.height * 3);
  int bytes = 0;
  if (kvpiPyrDownGetBufSize_Gauss5x5(src.width, kvp8u, 3, &bytes)) return false;
  std::vector<Kvp8u> buffer((size_t)bytes);
  return kvpiPyrDown_Gauss5x5_8u_C3R(src.data(), src.step(), dst.data(), dst.step(), src.size(),
                                     buffer.data()) == kvpStsOk;
}

// One level up of an RGB image.
bool up(const demo::Image& src, demo::Image& dst) {
  dst = demo::Image{2 * src.width, 2 * src.height, 3, {}};
  dst.pixels.resize((size_t)dst.width * dst.height * 3);
  int bytes = 0;
  if (kvpiPyrUpGetBufSize_Gauss5x5(src.width, kvp8u, 3, &bytes)) return false;
  std::vector<Kvp8u> buffer((size_t)bytes);
  return kvpiPyrUp_Gauss5x5_8u_C3R(src.data(), src.step(), dst.data(), dst.step(), src.size(),
                                   buffer.data()) == kvpStsOk;
}

}  // namespace

KVP_DEMO_STEP("pyramid", [](const demo::Context& ctx) {
  std::vector<demo::Image> levels(1, demo::readPng(ctx.asset("chelsea.png"), 3));
  if (levels[0].pixels.empty()) return false;
  for (int i = 0; i < 4; ++i) {
    demo::Image next;
    if (!down(levels.back(), next)) return false;
    levels.push_back(std::move(next));
  }
  int width = 0;
  for (const demo::Image& l : levels) width += l.width;
  demo::Image sheet{width, levels[0].height, 3,
                    std::vector<Kvp8u>((size_t)width * levels[0].height * 3, 255)};
  int x0 = 0;
  for (const demo::Image& l : levels) {
    for (int y = 0; y < l.height; ++y)
      std::copy_n(l.data() + (size_t)y * l.step(), l.step(),
                  sheet.data() + (size_t)y * sheet.step() + x0 * 3);
    x0 += l.width;
  }
  demo::Image up1, up2;
  if (!up(levels[2], up1) || !up(up1, up2)) return false;
  return demo::writePng(ctx.output("pyramid_levels.png"), sheet) &&
         demo::writePng(ctx.output("pyramid_up_from_quarter.png"), up2);
});

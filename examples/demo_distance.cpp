// Distance transforms: the exact Euclidean distance map of the horse
// silhouette's background to the horse, and the 5x5 chamfer map beside it.
#include <vector>

#include "demo.h"

KVP_DEMO_STEP("distance", [](const demo::Context& ctx) {
  const demo::Image horse = demo::readPng(ctx.asset("horse.png"), 1);
  if (horse.pixels.empty()) return false;
  const int w = horse.width, h = horse.height;
  const KvpiSize roi{w, h};
  // The silhouette (every pixel on the other side of mid-gray from the
  // corner, which is background) is the set of zero (feature) pixels.
  const bool darkBackground = horse.pixels[0] < 128;
  std::vector<Kvp8u> src((size_t)w * h);
  for (size_t i = 0; i < src.size(); ++i) src[i] = (horse.pixels[i] < 128) == darkBackground ? 1 : 0;
  std::vector<Kvp32f> exact((size_t)w * h), chamfer((size_t)w * h);
  int size = 0;
  if (kvpiTrueDistanceTransformGetBufferSize_8u32f_C1R(roi, &size)) return false;
  std::vector<Kvp8u> buf((size_t)size);
  if (kvpiTrueDistanceTransform_8u32f_C1R(src.data(), w, exact.data(), w * 4, roi, buf.data())) return false;
  Kvp32f m[3];
  if (kvpiGetDistanceTransformMask(52, m) ||
      kvpiDistanceTransform_5x5_8u32f_C1R(src.data(), w, chamfer.data(), w * 4, roi, m))
    return false;
  return demo::writePng(ctx.output("distance_exact.png"), demo::floatToGray(exact.data(), w * 4, roi)) &&
         demo::writePng(ctx.output("distance_chamfer5x5.png"), demo::floatToGray(chamfer.data(), w * 4, roi));
});

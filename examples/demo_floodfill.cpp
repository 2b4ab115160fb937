// Flood fill: the background of the coins photograph by floating range
// (the coins stay), the same from the same seed by fixed range, a patch of
// the cat's fur by floating range over three channels, and the
// silhouette's outside by exact value.
#include <vector>

#include "demo.h"

namespace {

std::vector<Kvp8u> buffer(KvpiSize roi, bool grad) {
  int n = 0;
  if (grad ? kvpiFloodFillGetSize_Grad(roi, &n) : kvpiFloodFillGetSize(roi, &n)) return {};
  return std::vector<Kvp8u>((size_t)n);
}

}  // namespace

KVP_DEMO_STEP("floodfill", [](const demo::Context& ctx) {
  KvpiConnectedComp rc;
  demo::Image coins = demo::readPng(ctx.asset("coins.png"), 1);
  if (coins.pixels.empty()) return false;
  demo::Image fixed = coins;
  std::vector<Kvp8u> gbuf = buffer(coins.size(), true), fbuf = buffer(coins.size(), false);
  if (kvpiFloodFill_Grad8Con_8u_C1IR(coins.data(), coins.step(), coins.size(), {10, 10}, 255, 8, 8, &rc,
                                     gbuf.data()) ||
      kvpiFloodFill_Range8Con_8u_C1IR(fixed.data(), fixed.step(), fixed.size(), {10, 10}, 255, 25, 25, &rc,
                                      fbuf.data()))
    return false;

  demo::Image cat = demo::readPng(ctx.asset("chelsea.png"), 3);
  if (cat.pixels.empty()) return false;
  std::vector<Kvp8u> cbuf = buffer(cat.size(), true);
  const Kvp8u red[3] = {255, 0, 0}, d[3] = {3, 3, 3};
  const KvpiPoint wall{cat.width - 21, cat.height / 2};
  if (kvpiFloodFill_Grad8Con_8u_C3IR(cat.data(), cat.step(), cat.size(), wall, red, d, d, &rc, cbuf.data()))
    return false;

  demo::Image horse = demo::readPng(ctx.asset("horse.png"), 1);
  if (horse.pixels.empty()) return false;
  std::vector<Kvp8u> hbuf = buffer(horse.size(), false);
  if (kvpiFloodFill_4Con_8u_C1IR(horse.data(), horse.step(), horse.size(), {5, 5}, 128, &rc, hbuf.data()))
    return false;

  return demo::writePng(ctx.output("floodfill_coins_floating.png"), coins) &&
         demo::writePng(ctx.output("floodfill_coins_fixed.png"), fixed) &&
         demo::writePng(ctx.output("floodfill_cat_background.png"), cat) &&
         demo::writePng(ctx.output("floodfill_horse_outside.png"), horse);
});

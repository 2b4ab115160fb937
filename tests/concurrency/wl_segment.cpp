// Flood fill of a large region, 8-connected.
#include <vector>

#include "kvpcv.h"
#include "workloads.h"

namespace {

std::vector<uint8_t> floodFill(uint64_t seed) {
  const int w = 500, h = 400;
  std::vector<Kvp8u> img((size_t)w * h, 10);
  for (int y = 0; y < h; y += 7)
    for (int x = (int)(seed % 5); x < w; x += 3) img[(size_t)y * w + x] = 200;  // dotted walls
  int size = 0;
  int st = kvpiFloodFillGetSize({w, h}, &size);
  std::vector<Kvp8u> buf((size_t)size + 64);
  KvpiConnectedComp region{};
  st |= kvpiFloodFill_8Con_8u_C1IR(img.data(), w, {w, h}, {1, 1}, 99, &region, buf.data());
  std::vector<uint8_t> out;
  kvt::append(out, &st, 1);
  kvt::append(out, &region, 1);
  kvt::append(out, img);
  return out;
}

KVT_WORKLOAD("floodfill", floodFill);

}  // namespace

// Fast marching above the threading threshold. (The inpainting state comes
// from the allocator, which the allocation test here arms to fail: the fill
// stays out.)
#include <random>
#include <vector>

#include "kvpcv.h"
#include "workloads.h"

namespace {

std::vector<uint8_t> fastMarching(uint64_t seed) {
  const int w = 600, h = 500;  // 300000 pixels: threaded
  std::mt19937 rng((unsigned)seed + 5);
  std::vector<Kvp8u> mask((size_t)w * h, 0);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      if ((x + 2 * y + (int)seed) % 37 < 3 || rng() % 5 == 0) mask[(size_t)y * w + x] = 1;
  int size = 0;
  int st = kvpiFastMarchingGetBufferSize_8u32f_C1R({w, h}, &size);
  std::vector<Kvp8u> buf((size_t)size);
  std::vector<Kvp32f> t((size_t)w * h);
  st |= kvpiFastMarching_8u32f_C1R(mask.data(), w, t.data(), 4 * w, {w, h}, 4.f, buf.data());
  std::vector<uint8_t> res;
  kvt::append(res, &st, 1);
  kvt::append(res, t);
  return res;
}

KVT_WORKLOAD("fastmarching", fastMarching);

}  // namespace

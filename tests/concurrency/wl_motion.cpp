// Motion history on a moving square.
#include <vector>

#include "kvpcv.h"
#include "workloads.h"

namespace {

std::vector<uint8_t> motion(uint64_t seed) {
  const int w = 640, h = 480;
  std::vector<Kvp8u> sil((size_t)w * h);
  std::vector<Kvp32f> mhi((size_t)w * h, 0.f);
  int st = 0;
  for (int f = 0; f < 6; ++f) {
    std::fill(sil.begin(), sil.end(), 0);
    const int x0 = (int)(seed % 50) + f * 30;
    for (int y = 100; y < 200; ++y)
      for (int x = x0; x < x0 + 80; ++x) sil[(size_t)y * w + x] = 1;
    st |= kvpiUpdateMotionHistory_8u32f_C1IR(sil.data(), w, mhi.data(), w * 4, {w, h}, (float)f, 3.f);
  }
  std::vector<uint8_t> out;
  kvt::append(out, &st, 1);
  kvt::append(out, mhi);
  return out;
}

KVT_WORKLOAD("motion", motion);

}  // namespace

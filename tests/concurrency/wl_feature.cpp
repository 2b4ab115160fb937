// Line searches (plain and rho window) on random segments over sparse noise,
// each call with its own buffer.
#include <random>
#include <vector>

#include "kvpcv.h"
#include "workloads.h"

namespace {

std::vector<uint8_t> houghLines(uint64_t seed) {
  const int w = 200, h = 150, maxLines = 40;
  std::mt19937 rng((unsigned)seed + 23);
  std::vector<Kvp8u> img((size_t)w * h, 0);
  for (auto& v : img) v = rng() % 50 == 0 ? 255 : 0;
  for (int s = 0; s < 5; ++s) {
    const int x0 = (int)(rng() % w), y0 = (int)(rng() % h), x1 = (int)(rng() % w), y1 = (int)(rng() % h);
    for (int k = 0; k <= 200; ++k)
      img[(size_t)(y0 + (y1 - y0) * k / 200) * w + (x0 + (x1 - x0) * k / 200)] = 1;
  }
  const KvpPointPolar delta{1.f, 0.017453292f};
  int size = 0;
  int st = kvpiHoughLineGetSize_8u_C1R({w, h}, delta, maxLines, &size);
  std::vector<Kvp8u> buf((size_t)size);
  std::vector<KvpPointPolar> all(maxLines), part(maxLines);
  int nAll = 0, nPart = 0;
  st |= kvpiHoughLine_8u32f_C1R(img.data(), w, {w, h}, delta, 20, all.data(), maxLines, &nAll, buf.data());
  const KvpPointPolar window[2] = {{-30.f, 0.f}, {90.f, 0.f}};
  st |= kvpiHoughLine_Region_8u32f_C1R(img.data(), w, {w, h}, delta, 20, part.data(), maxLines, &nPart,
                                       buf.data(), window);
  std::vector<uint8_t> result;
  kvt::append(result, &st, 1);
  kvt::append(result, &nAll, 1);
  kvt::append(result, all.data(), (size_t)nAll);
  kvt::append(result, &nPart, 1);
  kvt::append(result, part.data(), (size_t)nPart);
  return result;
}

KVT_WORKLOAD("hough", houghLines);

}  // namespace

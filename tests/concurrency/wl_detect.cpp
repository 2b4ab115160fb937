// Integral images of a random image and window deviations over them (the
// deviations split over output rows).
#include <random>
#include <vector>

#include "kvpcv.h"
#include "workloads.h"

namespace {

std::vector<uint8_t> integral(uint64_t seed) {
  const int w = 640, h = 480, tw = w + 1, th = h + 1;
  std::mt19937 rng((unsigned)seed + 11);
  std::vector<Kvp8u> src((size_t)w * h);
  for (auto& v : src) v = (Kvp8u)rng();
  std::vector<Kvp32f> sum((size_t)tw * th);
  std::vector<Kvp64f> sqr((size_t)tw * th);
  int st = kvpiSqrIntegral_8u32f64f_C1R(src.data(), w, sum.data(), tw * 4, sqr.data(), tw * 8, {w, h}, 0.f, 0.0);
  const KvpiRect rect{0, 0, 9, 9};
  const KvpiSize out{tw - 9, th - 9};
  std::vector<Kvp32f> dev((size_t)out.width * out.height);
  st |= kvpiRectStdDev_32f_C1R(sum.data(), tw * 4, sqr.data(), tw * 8, dev.data(), out.width * 4, out, rect);
  std::vector<uint8_t> result;
  kvt::append(result, &st, 1);
  kvt::append(result, sum);
  kvt::append(result, dev);
  return result;
}

KVT_WORKLOAD("integral", integral);

}  // namespace

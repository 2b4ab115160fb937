// Integral tables and the threaded window deviation on a seeded image.
#include <random>
#include <vector>

#include "kvpcv.h"
#include "workloads.h"

namespace {

std::vector<uint8_t> integral(uint64_t seed) {
  const int w = 400, h = 300;
  std::mt19937_64 rng(seed);
  std::vector<Kvp8u> src((size_t)w * h);
  for (auto& p : src) p = (Kvp8u)(rng() & 0xff);
  std::vector<Kvp32f> sum((size_t)(w + 1) * (h + 1));
  std::vector<Kvp64f> sqr((size_t)(w + 1) * (h + 1));
  std::vector<Kvp32s> tilt((size_t)(w + 2) * (h + 2));
  int st = kvpiSqrIntegral_8u32f64f_C1R(src.data(), w, sum.data(), (w + 1) * 4, sqr.data(), (w + 1) * 8,
                                        {w, h}, 0.f, 0.0);
  st |=
      kvpiTiltedIntegral_8u32s_C1R(src.data(), w, tilt.data(), (w + 2) * 4, {w, h}, (Kvp32s)(seed & 0xffff));
  const KvpiRect r{1, 2, 17, 13};
  const KvpiSize out{w + 1 - r.x - r.width, h + 1 - r.y - r.height};
  std::vector<Kvp32f> dev((size_t)out.width * out.height);
  st |= kvpiRectStdDev_32f_C1R(sum.data(), (w + 1) * 4, sqr.data(), (w + 1) * 8, dev.data(), out.width * 4,
                               out, r);
  std::vector<uint8_t> res;
  kvt::append(res, &st, 1);
  kvt::append(res, sum);
  kvt::append(res, tilt);
  kvt::append(res, dev);
  return res;
}

KVT_WORKLOAD("integral", integral);

}  // namespace

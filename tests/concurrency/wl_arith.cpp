// Accumulation and absolute difference, above the threading threshold.
#include <random>

#include "kvpcv.h"
#include "workloads.h"

namespace {

std::vector<uint8_t> arith(uint64_t seed) {
  const int w = 700, h = 400;  // 280000 pixels: threaded
  std::mt19937 rng((unsigned)seed + 1);
  std::vector<Kvp8u> a((size_t)w * h), b((size_t)w * h), m((size_t)w * h), d((size_t)w * h);
  for (size_t i = 0; i < a.size(); ++i) {
    a[i] = (Kvp8u)rng();
    b[i] = (Kvp8u)rng();
    m[i] = (Kvp8u)(rng() & 1);
  }
  std::vector<Kvp32f> acc((size_t)w * h, 0.5f);
  std::vector<uint8_t> out;
  const KvpiSize roi{w, h};
  int st = kvpiAddProduct_8u32f_C1IMR(a.data(), w, b.data(), w, m.data(), w, acc.data(), w * 4, roi);
  st |= kvpiAddWeighted_8u32f_C1IR(b.data(), w, acc.data(), w * 4, roi, 0.25f);
  st |= kvpiAbsDiff_8u_C1R(a.data(), w, b.data(), w, d.data(), w, roi);
  kvt::append(out, &st, 1);
  kvt::append(out, acc);
  kvt::append(out, d);
  return out;
}

KVT_WORKLOAD("arith", arith);

}  // namespace

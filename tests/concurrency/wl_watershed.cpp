// Marker labelling and watershed with border marks, above the threading
// threshold. (Segment bounds take their row copies from the allocator, which
// the allocation test here arms to fail: they stay out.)
#include <random>
#include <vector>

#include "kvpcv.h"
#include "workloads.h"

namespace {

std::vector<uint8_t> watershed(uint64_t seed) {
  const int w = 600, h = 500;  // 300000 pixels: threaded
  std::mt19937 rng((unsigned)seed + 3);
  std::vector<Kvp8u> src((size_t)w * h), seeds((size_t)w * h, 0);
  for (auto& v : src) v = (Kvp8u)(rng() & 0xF0);
  for (int k = 0; k < 300; ++k) seeds[rng() % seeds.size()] = 1;
  int lsize = 0, wsize = 0, n = 0;
  int st = kvpiLabelMarkersGetBufferSize_8u_C1R({w, h}, &lsize);
  st |= kvpiSegmentWatershedGetBufferSize_8u_C1R({w, h}, &wsize);
  std::vector<Kvp8u> lbuf((size_t)lsize), wbuf((size_t)wsize);
  st |= kvpiLabelMarkers_8u_C1IR(seeds.data(), w, {w, h}, 1, 254, kvpiNormInf, &n, lbuf.data());
  st |= kvpiSegmentWatershed_8u_C1IR(src.data(), w, seeds.data(), w, {w, h}, kvpiNormL1,
                                     KVP_SEGMENT_DISTANCE | KVP_SEGMENT_BORDER_8, wbuf.data());
  std::vector<uint8_t> out;
  kvt::append(out, &st, 1);
  kvt::append(out, &n, 1);
  kvt::append(out, seeds);
  return out;
}

KVT_WORKLOAD("watershed", watershed);

}  // namespace

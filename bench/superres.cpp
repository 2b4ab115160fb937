// Super-resolution residuals and gradient scatter on the x2 layout of four
// shifted frames (one entry per low-resolution pixel, frame by frame in
// raster order) at the high resolution of the benchmark size, beside the
// plain nested loops the results are defined by (no peer exists).
#include <vector>

#include "../tests/superres/superres_ref.h"
#include "bench_util.h"

namespace {

struct Layout {
  std::vector<int> x, y;
  std::vector<unsigned> idx;
  std::vector<Kvp8u> src;
  std::vector<float> hi, res, grad;
  Layout(int w, int h) : hi((size_t)w * h), grad((size_t)w * h) {
    for (int dy = 0; dy < 2; ++dy)
      for (int dx = 0; dx < 2; ++dx)
        for (int yy = dy; yy + 2 < h; yy += 2)
          for (int xx = dx; xx + 2 < w; xx += 2) {
            x.push_back(xx);
            y.push_back(yy);
            idx.push_back((unsigned)((dx + 2 * dy) & 3));
            src.push_back((Kvp8u)((xx * 7 + yy * 3) & 255));
          }
    for (size_t i = 0; i < hi.size(); ++i) hi[i] = (float)(i % 251);
    res.resize(x.size());
  }
  int len() const { return (int)x.size(); }
};

constexpr float kTab3[4][9] = {{0.125f, 0.25f, 0.125f, 0.125f, 0.25f, 0.125f, 0, 0, 0},
                               {0.25f, 0.25f, 0, 0.25f, 0.25f, 0, 0, 0, 0},
                               {0.0625f, 0.125f, 0.0625f, 0.125f, 0.25f, 0.125f, 0.0625f, 0.125f, 0.0625f},
                               {0, 0.25f, 0.25f, 0, 0.25f, 0.25f, 0, 0, 0}};
constexpr float kTab2[4][4] = {
    {0.25f, 0.25f, 0.25f, 0.25f}, {0.5f, 0.5f, 0, 0}, {0.5f, 0, 0.5f, 0}, {0.125f, 0.375f, 0.375f, 0.125f}};

template <int S>
void residual(benchmark::State& st, bool library) {
  kvpb::Setup s(st);
  Layout l(s.width, s.height);
  KvpiSRHNSpec_PSF3x3* p3 = nullptr;
  KvpiSRHNSpec_PSF2x2* p2 = nullptr;
  kvpiSRHNInitAlloc_PSF3x3(&p3, kTab3, 4);
  kvpiSRHNInitAlloc_PSF2x2(&p2, kTab2, 4);
  for (auto _ : st) {
    if (!library)
      srref::residual(S, S == 3 ? &kTab3[0][0] : &kTab2[0][0], l.src.data(), l.hi.data(), s.width * 4,
                      l.res.data(), l.x.data(), l.y.data(), l.idx.data(), l.len());
    else if (S == 3)
      kvpiSRHNCalcResidual_PSF3x3_8u32f_C1R(l.src.data(), l.hi.data(), s.width * 4, s.size(), l.res.data(),
                                            l.x.data(), l.y.data(), l.idx.data(), l.len(), p3);
    else
      kvpiSRHNCalcResidual_PSF2x2_8u32f_C1R(l.src.data(), l.hi.data(), s.width * 4, s.size(), l.res.data(),
                                            l.x.data(), l.y.data(), l.idx.data(), l.len(), p2);
    benchmark::ClobberMemory();
  }
  kvpiSRHNFree_PSF3x3(p3);
  kvpiSRHNFree_PSF2x2(p2);
  st.counters["entries"] = l.len();
}

template <int S>
void gradient(benchmark::State& st, bool library) {
  kvpb::Setup s(st);
  Layout l(s.width, s.height);
  for (size_t i = 0; i < l.res.size(); ++i) l.res[i] = (float)(int)(i % 17) - 8.f;
  KvpiSRHNSpec_PSF3x3* p3 = nullptr;
  KvpiSRHNSpec_PSF2x2* p2 = nullptr;
  kvpiSRHNInitAlloc_PSF3x3(&p3, kTab3, 4);
  kvpiSRHNInitAlloc_PSF2x2(&p2, kTab2, 4);
  for (auto _ : st) {
    if (!library)
      srref::gradient(S, S == 3 ? &kTab3[0][0] : &kTab2[0][0], l.grad.data(), s.width * 4, l.x.data(),
                      l.y.data(), l.idx.data(), l.res.data(), l.len());
    else if (S == 3)
      kvpiSRHNUpdateGradient_PSF3x3_32f_C1R(l.grad.data(), s.width * 4, s.size(), l.x.data(), l.y.data(),
                                            l.idx.data(), l.res.data(), l.len(), p3);
    else
      kvpiSRHNUpdateGradient_PSF2x2_32f_C1R(l.grad.data(), s.width * 4, s.size(), l.x.data(), l.y.data(),
                                            l.idx.data(), l.res.data(), l.len(), p2);
    benchmark::ClobberMemory();
  }
  kvpiSRHNFree_PSF3x3(p3);
  kvpiSRHNFree_PSF2x2(p2);
}

void BM_SRHNResidual_3x3_kvp(benchmark::State& st) { residual<3>(st, true); }
void BM_SRHNResidual_3x3_loop(benchmark::State& st) { residual<3>(st, false); }
void BM_SRHNResidual_2x2_kvp(benchmark::State& st) { residual<2>(st, true); }
void BM_SRHNResidual_2x2_loop(benchmark::State& st) { residual<2>(st, false); }
void BM_SRHNGradient_3x3_kvp(benchmark::State& st) { gradient<3>(st, true); }
void BM_SRHNGradient_3x3_loop(benchmark::State& st) { gradient<3>(st, false); }
void BM_SRHNGradient_2x2_kvp(benchmark::State& st) { gradient<2>(st, true); }
void BM_SRHNGradient_2x2_loop(benchmark::State& st) { gradient<2>(st, false); }
KVP_BENCH(BM_SRHNResidual_3x3_kvp);
KVP_BENCH(BM_SRHNResidual_3x3_loop);
KVP_BENCH(BM_SRHNResidual_2x2_kvp);
KVP_BENCH(BM_SRHNResidual_2x2_loop);
KVP_BENCH(BM_SRHNGradient_3x3_kvp);
KVP_BENCH(BM_SRHNGradient_3x3_loop);
KVP_BENCH(BM_SRHNGradient_2x2_kvp);
KVP_BENCH(BM_SRHNGradient_2x2_loop);

}  // namespace

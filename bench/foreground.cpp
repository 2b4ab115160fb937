// Background models on a synthetic camera sequence (textured background,
// noise, two moving rectangles): the Gaussian mixture beside the peer's
// mixture-of-Gaussians subtractor, the histogram model's update and
// classification beside a memcpy of its state (no peer exists for it).
// The peer's rows are built where the contributed modules are installed.

#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV_CONTRIB
#include <opencv2/bgsegm.hpp>
#endif

namespace {

constexpr int kFrames = 8;

// kFrames frames of C channels, packed rows.
std::vector<std::vector<Kvp8u>> scene(int w, int h, int C) {
  std::vector<Kvp8u> bg((size_t)w * h * C);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < C; ++c)
        bg[((size_t)y * w + x) * C + c] = (Kvp8u)(110 + 70 * std::sin(x * 0.05 + c) * std::cos(y * 0.04 - c));
  std::vector<std::vector<Kvp8u>> frames(kFrames, bg);
  unsigned s = 1;
  for (int t = 0; t < kFrames; ++t) {
    auto& f = frames[t];
    for (auto& v : f) {
      s = s * 1664525u + 1013904223u;
      v = (Kvp8u)std::min(255, std::max(0, (int)v + (int)(s >> 29) - 4));
    }
    const int rw = w / 6, rh = h / 4;
    for (int k = 0; k < 2; ++k) {
      const int x0 = (w / 8 + t * w / 40 + k * w / 2) % (w - rw), y0 = h / 5 + k * h / 3;
      for (int y = y0; y < y0 + rh; ++y)
        for (int x = x0; x < x0 + rw; ++x)
          for (int c = 0; c < C; ++c) f[((size_t)y * w + x) * C + c] = (Kvp8u)(40 + 80 * k + 30 * c);
    }
  }
  return frames;
}

template <int C>
void gaussianKvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const auto frames = scene(s.width, s.height, C);
  std::vector<Kvp8u> ref((size_t)s.pixels() * C), mask((size_t)s.pixels());
  KvpiFGGaussianState* state = nullptr;
  auto init = C == 1 ? kvpiForegroundGaussianInitAlloc_8u_C1R : kvpiForegroundGaussianInitAlloc_8u_C3R;
  auto apply = C == 1 ? kvpiForegroundGaussian_8u_C1R : kvpiForegroundGaussian_8u_C3R;
  if (init(frames[0].data(), s.width * C, s.size(), nullptr, &state)) {
    st.SkipWithError("InitAlloc failed");
    return;
  }
  int t = 1;
  for (auto _ : st) {
    apply(frames[t].data(), s.width * C, ref.data(), s.width * C, mask.data(), s.width, s.size(), state);
    benchmark::ClobberMemory();
    t = (t + 1) % kFrames;
  }
  kvpiForegroundGaussianFree(state);
}
void BM_FGGaussian_C1_kvp(benchmark::State& st) { gaussianKvp<1>(st); }
void BM_FGGaussian_C3_kvp(benchmark::State& st) { gaussianKvp<3>(st); }
KVP_BENCH(BM_FGGaussian_C1_kvp);

#ifdef KVP_HAVE_OPENCV_CONTRIB
template <int C>
void gaussianOcv(benchmark::State& st) {
  kvpb::Setup s(st);
  auto frames = scene(s.width, s.height, C);
  auto mog = cv::bgsegm::createBackgroundSubtractorMOG(200, 5, 0.7, 15.0);
  cv::Mat mask;
  mog->apply(cv::Mat(s.height, s.width, CV_8UC(C), frames[0].data()), mask);
  int t = 1;
  for (auto _ : st) {
    mog->apply(cv::Mat(s.height, s.width, CV_8UC(C), frames[t].data()), mask, -1);
    benchmark::ClobberMemory();
    t = (t + 1) % kFrames;
  }
}
void BM_FGGaussian_C1_ocv(benchmark::State& st) { gaussianOcv<1>(st); }
void BM_FGGaussian_C3_ocv(benchmark::State& st) { gaussianOcv<3>(st); }
KVP_BENCH(BM_FGGaussian_C1_ocv);
KVP_BENCH(BM_FGGaussian_C3_kvp);
KVP_BENCH(BM_FGGaussian_C3_ocv);
#else
KVP_BENCH(BM_FGGaussian_C3_kvp);
#endif

// The histogram state is large (263 bytes per pixel with the three-channel
// defaults): these rows run at 1920x1080 only.
void histArgs(benchmark::internal::Benchmark* b) {
  b->ArgNames({"w", "h", "thr"});
  for (int t : {1, 2}) b->Args({1920, 1080, t});
  b->Unit(benchmark::kMicrosecond)->UseRealTime();
}

template <int C>
void histogramKvp(benchmark::State& st, bool update) {
  kvpb::Setup s(st);
  const auto frames = scene(s.width, s.height, C);
  std::vector<Kvp8u> ref((size_t)s.pixels() * C), mask((size_t)s.pixels());
  KvpiFGHistogramState* state = nullptr;
  auto init = C == 1 ? kvpiForegroundHistogramInitAlloc_8u_C1R : kvpiForegroundHistogramInitAlloc_8u_C3R;
  auto upd = C == 1 ? kvpiForegroundHistogramUpdate_8u_C1R : kvpiForegroundHistogramUpdate_8u_C3R;
  auto cls = C == 1 ? kvpiForegroundHistogram_8u_C1R : kvpiForegroundHistogram_8u_C3R;
  if (init(frames[0].data(), s.width * C, s.size(), nullptr, &state)) {
    st.SkipWithError("InitAlloc failed");
    return;
  }
  for (int t = 1; t < kFrames; ++t)
    upd(frames[t].data(), s.width * C, ref.data(), s.width * C, s.size(), state);
  int t = 0;
  for (auto _ : st) {
    if (update)
      upd(frames[t].data(), s.width * C, ref.data(), s.width * C, s.size(), state);
    else
      cls(state, frames[t].data(), s.width * C, mask.data(), s.width);
    benchmark::ClobberMemory();
    t = (t + 1) % kFrames;
  }
  kvpiForegroundHistogramFree(state);
}
void BM_FGHistogramUpdate_C1_kvp(benchmark::State& st) { histogramKvp<1>(st, true); }
void BM_FGHistogramUpdate_C3_kvp(benchmark::State& st) { histogramKvp<3>(st, true); }
void BM_FGHistogram_C1_kvp(benchmark::State& st) { histogramKvp<1>(st, false); }
void BM_FGHistogram_C3_kvp(benchmark::State& st) { histogramKvp<3>(st, false); }

// One copy of the state's per-pixel model with the defaults (12 * (8 + 12)
// + 5C + 8 bytes per pixel, rounded up to 4).
template <int C>
void stateCopy(benchmark::State& st) {
  kvpb::Setup s(st);
  const size_t bytes = (size_t)s.pixels() * ((12 * 20 + 5 * C + 8 + 3) / 4 * 4);
  std::unique_ptr<char[]> a(new char[bytes]), b(new char[bytes]);
  std::memset(a.get(), 1, bytes);
  std::memset(b.get(), 2, bytes);
  for (auto _ : st) {
    std::memcpy(b.get(), a.get(), bytes);
    benchmark::ClobberMemory();
  }
}
void BM_FGHistogramStateCopy_C1(benchmark::State& st) { stateCopy<1>(st); }
void BM_FGHistogramStateCopy_C3(benchmark::State& st) { stateCopy<3>(st); }
BENCHMARK(BM_FGHistogramUpdate_C1_kvp)->Apply(histArgs);
BENCHMARK(BM_FGHistogram_C1_kvp)->Apply(histArgs);
BENCHMARK(BM_FGHistogramStateCopy_C1)->Apply(histArgs);
BENCHMARK(BM_FGHistogramUpdate_C3_kvp)->Apply(histArgs);
BENCHMARK(BM_FGHistogram_C3_kvp)->Apply(histArgs);
BENCHMARK(BM_FGHistogramStateCopy_C3)->Apply(histArgs);

}  // namespace

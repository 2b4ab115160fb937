// Fast marching beside cv::distanceTransform (precise L2, the yardstick: it
// computes the exact distance without any ordering) on blob masks (about
// 13 % of the image) and stroke masks (strokes 1 to 10 pixels wide, about
// 35 %); inpainting (march + state + fill, and the fill alone) beside
// cv::inpaint with Telea's method on the photograph with thin scratches
// (about 1 % of the image: the peer's time grows steeply with the masked
// area, about 25 s for 10 % at 1920x1080).
#include <cmath>
#include <random>

#include "bench_photo.h"
#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#include <opencv2/photo.hpp>
#endif

namespace {

enum MaskKind { kBlobs = 0, kStrokes = 1, kScratches = 2 };

// Sets a disc; returns the number of pixels it newly covered.
long long disc(std::vector<Kvp8u>& m, int w, int h, double cx, double cy, double r) {
  long long added = 0;
  for (int y = std::max(0, (int)(cy - r)); y <= std::min(h - 1, (int)(cy + r)); ++y)
    for (int x = std::max(0, (int)(cx - r)); x <= std::min(w - 1, (int)(cx + r)); ++x)
      if ((x - cx) * (x - cx) + (y - cy) * (y - cy) <= r * r && !m[(size_t)y * w + x]) {
        m[(size_t)y * w + x] = 255;
        ++added;
      }
  return added;
}

// A mask of the given kind; non-zero = unknown. Sizes scale with the image.
std::vector<Kvp8u> mask(int w, int h, int kind) {
  std::vector<Kvp8u> m((size_t)w * h, 0);
  std::mt19937 rng(7);
  const double scale = w / 1920.0;
  const double target = kind == kBlobs ? 0.13 : (kind == kStrokes ? 0.35 : 0.01);
  long long covered = 0;
  while ((double)covered < target * w * h) {
    const double x = rng() % w, y = rng() % h;
    if (kind == kBlobs) {
      covered += disc(m, w, h, x, y, (5 + rng() % 40) * scale);
    } else {
      const double len = (20 + rng() % 200) * scale, a = (rng() % 360) * M_PI / 180;
      const double r = kind == kStrokes ? (1 + rng() % 10) * 0.5 : (1 + rng() % 4) * 0.5;
      for (double s = 0; s <= len; s += 0.5)
        covered += disc(m, w, h, x + s * std::cos(a), y + s * std::sin(a), r);
    }
  }
  return m;
}

std::vector<Kvp8u> stretchedPhoto(int width, int height, int cn) {
  int w = 0, h = 0;
  const auto g = kvpb::photo(w, h);
  std::vector<Kvp8u> v((size_t)width * height * cn);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < cn; ++c)
        v[((size_t)y * width + x) * cn + c] =
            (Kvp8u)(g[(size_t)((long long)y * h / height) * w + (size_t)((long long)x * w / width)] ^
                    (c * 16));
  return v;
}

template <int Kind>
void BM_FastMarching_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const auto m = mask(s.width, s.height, Kind);
  std::vector<Kvp32f> t(m.size());
  int bytes = 0;
  kvpiFastMarchingGetBufferSize_8u32f_C1R(s.size(), &bytes);
  std::vector<Kvp8u> buf((size_t)bytes);
  const float inf = INFINITY;
  for (auto _ : st)
    benchmark::DoNotOptimize(
        kvpiFastMarching_8u32f_C1R(m.data(), s.width, t.data(), 4 * s.width, s.size(), inf, buf.data()));
  kvpb::setBytes(st, s.pixels() * 5);
}

// March, state and fill: what a caller with one image and one mask runs.
template <int CN, int Radius>
void BM_Inpaint_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const auto m = mask(s.width, s.height, kScratches);
  const auto img = stretchedPhoto(s.width, s.height, CN);
  std::vector<Kvp8u> out(img.size());
  std::vector<Kvp32f> t(m.size());
  int bytes = 0;
  kvpiFastMarchingGetBufferSize_8u32f_C1R(s.size(), &bytes);
  std::vector<Kvp8u> buf((size_t)bytes);
  for (auto _ : st) {
    kvpiFastMarching_8u32f_C1R(m.data(), s.width, t.data(), 4 * s.width, s.size(), (float)Radius, buf.data());
    if constexpr (CN == 1) {
      KvpiInpaintState_8u_C1R* state = nullptr;
      kvpiInpaintInitAlloc_8u_C1R(&state, t.data(), 4 * s.width, m.data(), s.width, s.size(), Radius, 0);
      kvpiInpaint_8u_C1R(img.data(), s.width, out.data(), s.width, s.size(), state);
      kvpiInpaintFree_8u_C1R(state);
    } else {
      KvpiInpaintState_8u_C3R* state = nullptr;
      kvpiInpaintInitAlloc_8u_C3R(&state, t.data(), 4 * s.width, m.data(), s.width, s.size(), Radius, 0);
      kvpiInpaint_8u_C3R(img.data(), 3 * s.width, out.data(), 3 * s.width, s.size(), state);
      kvpiInpaintFree_8u_C3R(state);
    }
  }
  benchmark::DoNotOptimize(out.data());
}

// The fill alone, with a state built once.
template <int Radius>
void BM_InpaintFill_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const auto m = mask(s.width, s.height, kScratches);
  const auto img = stretchedPhoto(s.width, s.height, 1);
  std::vector<Kvp8u> out(img.size());
  std::vector<Kvp32f> t(m.size());
  int bytes = 0;
  kvpiFastMarchingGetBufferSize_8u32f_C1R(s.size(), &bytes);
  std::vector<Kvp8u> buf((size_t)bytes);
  kvpiFastMarching_8u32f_C1R(m.data(), s.width, t.data(), 4 * s.width, s.size(), (float)Radius, buf.data());
  KvpiInpaintState_8u_C1R* state = nullptr;
  kvpiInpaintInitAlloc_8u_C1R(&state, t.data(), 4 * s.width, m.data(), s.width, s.size(), Radius, 0);
  for (auto _ : st)
    benchmark::DoNotOptimize(kvpiInpaint_8u_C1R(img.data(), s.width, out.data(), s.width, s.size(), state));
  kvpiInpaintFree_8u_C1R(state);
}

KVP_BENCH(BM_FastMarching_kvp<kBlobs>);
#ifdef KVP_HAVE_OPENCV
template <int Kind>
void BM_FastMarching_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  auto m = mask(s.width, s.height, Kind);
  cv::Mat src(s.height, s.width, CV_8UC1, m.data()), dst;
  for (auto _ : st) cv::distanceTransform(src, dst, cv::DIST_L2, cv::DIST_MASK_PRECISE, CV_32F);
  kvpb::setBytes(st, s.pixels() * 5);
}
template <int CN, int Radius>
void BM_Inpaint_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  auto m = mask(s.width, s.height, kScratches);
  auto img = stretchedPhoto(s.width, s.height, CN);
  cv::Mat src(s.height, s.width, CN == 1 ? CV_8UC1 : CV_8UC3, img.data()),
      msk(s.height, s.width, CV_8UC1, m.data()), dst;
  for (auto _ : st) cv::inpaint(src, msk, dst, Radius, cv::INPAINT_TELEA);
}
KVP_BENCH(BM_FastMarching_ocv<kBlobs>);
#endif
KVP_BENCH(BM_FastMarching_kvp<kStrokes>);
#ifdef KVP_HAVE_OPENCV
KVP_BENCH(BM_FastMarching_ocv<kStrokes>);
#endif
KVP_BENCH((BM_Inpaint_kvp<1, 3>));
#ifdef KVP_HAVE_OPENCV
KVP_BENCH((BM_Inpaint_ocv<1, 3>));
#endif
KVP_BENCH((BM_Inpaint_kvp<1, 5>));
#ifdef KVP_HAVE_OPENCV
KVP_BENCH((BM_Inpaint_ocv<1, 5>));
#endif
KVP_BENCH((BM_Inpaint_kvp<3, 5>));
#ifdef KVP_HAVE_OPENCV
KVP_BENCH((BM_Inpaint_ocv<3, 5>));
#endif
KVP_BENCH(BM_InpaintFill_kvp<3>);
KVP_BENCH(BM_InpaintFill_kvp<5>);

}  // namespace

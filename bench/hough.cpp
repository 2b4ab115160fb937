// Line search on the edge map of a photograph stretched to the benchmark
// size (rho step 1, theta step pi/180), beside cv::HoughLines.
#include <png.h>

#include <cmath>
#include <string>

#include "bench_photo.h"
#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

constexpr int kThreshold = 250;
constexpr int kMaxLines = 100000;

// Bilinear stretch to width x height, then a central-difference gradient
// magnitude above a fixed threshold.
std::vector<Kvp8u> edgeMap(int width, int height) {
  int w = 0, h = 0;
  const std::vector<Kvp8u> g = kvpb::photo(w, h);
  std::vector<float> big((size_t)width * height);
  for (int y = 0; y < height; ++y) {
    const float fy = (y + 0.5f) * h / height - 0.5f;
    const int y0 = std::max(0, std::min(h - 2, (int)std::floor(fy)));
    const float ay = std::max(0.f, std::min(1.f, fy - y0));
    for (int x = 0; x < width; ++x) {
      const float fx = (x + 0.5f) * w / width - 0.5f;
      const int x0 = std::max(0, std::min(w - 2, (int)std::floor(fx)));
      const float ax = std::max(0.f, std::min(1.f, fx - x0));
      const Kvp8u* p = &g[(size_t)y0 * w + x0];
      big[(size_t)y * width + x] =
          (1 - ay) * ((1 - ax) * p[0] + ax * p[1]) + ay * ((1 - ax) * p[w] + ax * p[w + 1]);
    }
  }
  std::vector<Kvp8u> e((size_t)width * height, 0);
  for (int y = 1; y < height - 1; ++y)
    for (int x = 1; x < width - 1; ++x) {
      const float gx = big[(size_t)y * width + x + 1] - big[(size_t)y * width + x - 1];
      const float gy = big[(size_t)(y + 1) * width + x] - big[(size_t)(y - 1) * width + x];
      e[(size_t)y * width + x] = gx * gx + gy * gy > 20.f * 20.f ? 255 : 0;
    }
  return e;
}

void BM_HoughLine_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const std::vector<Kvp8u> edges = edgeMap(s.width, s.height);
  const KvpPointPolar delta{1.f, (float)(M_PI / 180)};
  int size = 0;
  kvpiHoughLineGetSize_8u_C1R(s.size(), delta, kMaxLines, &size);
  std::vector<Kvp8u> buf((size_t)size);
  std::vector<KvpPointPolar> lines(kMaxLines);
  int count = 0;
  for (auto _ : st) {
    kvpiHoughLine_8u32f_C1R(edges.data(), s.width, s.size(), delta, kThreshold, lines.data(), kMaxLines,
                            &count, buf.data());
    benchmark::DoNotOptimize(lines.data());
  }
  st.counters["lines"] = count;
  kvpb::setBytes(st, s.pixels());
}
KVP_BENCH(BM_HoughLine_kvp);

#ifdef KVP_HAVE_OPENCV
void BM_HoughLine_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  std::vector<Kvp8u> edges = edgeMap(s.width, s.height);
  const cv::Mat img(s.height, s.width, CV_8UC1, edges.data());
  std::vector<cv::Vec2f> lines;
  for (auto _ : st) {
    cv::HoughLines(img, lines, 1, CV_PI / 180, kThreshold);
    benchmark::DoNotOptimize(lines.data());
  }
  st.counters["lines"] = (double)lines.size();
  kvpb::setBytes(st, s.pixels());
}
KVP_BENCH(BM_HoughLine_ocv);
#endif

}  // namespace

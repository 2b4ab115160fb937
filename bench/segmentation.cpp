// Marker segmentation on the photograph stretched to the benchmark size:
// watershed and gradient flooding from 200 seed discs of radius 4 beside
// cv::watershed, labelling of the thresholded photograph beside
// cv::connectedComponents (Wu's method, the peer that numbers in the same
// order), and segment bounds of the labels beside the dilate / erode /
// compare / setTo sequence. Every iteration restores the in-place input
// first, on both sides.
#include <cstring>
#include <random>

#include "bench_photo.h"
#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

std::vector<Kvp8u> stretched(int width, int height, int cn) {
  int w = 0, h = 0;
  const auto g = kvpb::photo(w, h);
  std::vector<Kvp8u> v((size_t)width * height * cn);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < cn; ++c)
        v[((size_t)y * width + x) * cn + c] =
            (Kvp8u)(g[(size_t)((long long)y * h / height) * w + (size_t)((long long)x * w / width)] + 7 * c);
  return v;
}

// 200 discs of radius 4 with labels 1..200.
template <class T>
std::vector<T> seeds(int w, int h) {
  std::vector<T> m((size_t)w * h, 0);
  std::mt19937 rng(3);
  for (int k = 1; k <= 200; ++k) {
    const int cx = (int)(rng() % w), cy = (int)(rng() % h);
    for (int y = std::max(0, cy - 4); y <= std::min(h - 1, cy + 4); ++y)
      for (int x = std::max(0, cx - 4); x <= std::min(w - 1, cx + 4); ++x)
        if ((x - cx) * (x - cx) + (y - cy) * (y - cy) <= 16) m[(size_t)y * w + x] = (T)k;
  }
  return m;
}

// The photograph thresholded: dark parts (and some noise) are foreground.
std::vector<Kvp16u> foreground(int w, int h) {
  const auto g = stretched(w, h, 1);
  std::vector<Kvp16u> m(g.size());
  std::mt19937 rng(5);
  for (size_t i = 0; i < g.size(); ++i) m[i] = (g[i] < 100) != (rng() % 64 == 0);
  return m;
}

template <bool Gradient>
void BM_Segment_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const auto src = stretched(s.width, s.height, Gradient ? 3 : 1);
  const auto init = seeds<Kvp8u>(s.width, s.height);
  std::vector<Kvp8u> m(init.size());
  int bytes = 0;
  Gradient ? kvpiSegmentGradientGetBufferSize_8u_C3R(s.size(), &bytes)
           : kvpiSegmentWatershedGetBufferSize_8u_C1R(s.size(), &bytes);
  std::vector<Kvp8u> buf((size_t)bytes);
  for (auto _ : st) {
    std::memcpy(m.data(), init.data(), m.size());
    if (Gradient)
      kvpiSegmentGradient_8u_C3IR(src.data(), 3 * s.width, m.data(), s.width, s.size(), kvpiNormL1,
                                  KVP_SEGMENT_QUEUE, buf.data());
    else
      kvpiSegmentWatershed_8u_C1IR(src.data(), s.width, m.data(), s.width, s.size(), kvpiNormL1,
                                   KVP_SEGMENT_QUEUE, buf.data());
    benchmark::DoNotOptimize(m.data());
  }
}

template <int Conn>
void BM_Label_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const auto init = foreground(s.width, s.height);
  std::vector<Kvp16u> m(init.size());
  int bytes = 0, n = 0;
  kvpiLabelMarkersGetBufferSize_16u_C1R(s.size(), &bytes);
  std::vector<Kvp8u> buf((size_t)bytes);
  for (auto _ : st) {
    std::memcpy(m.data(), init.data(), m.size() * 2);
    kvpiLabelMarkers_16u_C1IR(m.data(), 2 * s.width, s.size(), 1, 65535, Conn == 4 ? kvpiNormL1 : kvpiNormInf,
                              &n, buf.data());
    benchmark::DoNotOptimize(m.data());
  }
  st.counters["components"] = n;
}

// Labels of the thresholded photograph, the input of the bounds.
std::vector<Kvp16u> labels(int w, int h) {
  auto m = foreground(w, h);
  int bytes = 0, n = 0;
  kvpiLabelMarkersGetBufferSize_16u_C1R({w, h}, &bytes);
  std::vector<Kvp8u> buf((size_t)bytes);
  kvpiLabelMarkers_16u_C1IR(m.data(), 2 * w, {w, h}, 1, 65535, kvpiNormInf, &n, buf.data());
  return m;
}

template <int Conn>
void BM_Bound_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const auto init = labels(s.width, s.height);
  std::vector<Kvp16u> m(init.size());
  for (auto _ : st) {
    std::memcpy(m.data(), init.data(), m.size() * 2);
    kvpiBoundSegments_16u_C1IR(m.data(), 2 * s.width, s.size(), 65535, Conn == 4 ? kvpiNormL1 : kvpiNormInf);
    benchmark::DoNotOptimize(m.data());
  }
}

#ifdef KVP_HAVE_OPENCV
// cv::watershed takes a colour image: the grey one repeated for the
// watershed rows, the colour one for the gradient rows.
template <bool Gradient>
void BM_Segment_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  auto src = stretched(s.width, s.height, Gradient ? 3 : 1);
  cv::Mat img(s.height, s.width, Gradient ? CV_8UC3 : CV_8UC1, src.data()), img3;
  if (Gradient)
    img3 = img;
  else
    cv::cvtColor(img, img3, cv::COLOR_GRAY2BGR);
  auto init = seeds<Kvp32s>(s.width, s.height);
  cv::Mat seed(s.height, s.width, CV_32SC1, init.data()), m;
  for (auto _ : st) {
    seed.copyTo(m);
    cv::watershed(img3, m);
  }
}
template <int Conn>
void BM_Label_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  auto init = foreground(s.width, s.height);
  cv::Mat in(s.height, s.width, CV_16UC1, init.data()), m, lab;
  int n = 0;
  for (auto _ : st) {
    in.copyTo(m);
    n = cv::connectedComponents(m != 0, lab, Conn, CV_32S, cv::CCL_WU);
  }
  st.counters["components"] = n - 1;
}
template <int Conn>
void BM_Bound_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  auto init = labels(s.width, s.height);
  cv::Mat in(s.height, s.width, CV_16UC1, init.data()), m, d, e;
  const cv::Mat k = cv::getStructuringElement(Conn == 4 ? cv::MORPH_CROSS : cv::MORPH_RECT, {3, 3});
  for (auto _ : st) {
    in.copyTo(m);
    cv::dilate(m, d, k, {-1, -1}, 1, cv::BORDER_REPLICATE);
    cv::erode(m, e, k, {-1, -1}, 1, cv::BORDER_REPLICATE);
    m.setTo(65535, d != e);
  }
}
#define KVP_SEG_PEER(X) KVP_BENCH(X)
#else
#define KVP_SEG_PEER(X)
#endif

KVP_BENCH(BM_Segment_kvp<false>);
KVP_SEG_PEER(BM_Segment_ocv<false>);
KVP_BENCH(BM_Segment_kvp<true>);
KVP_SEG_PEER(BM_Segment_ocv<true>);
KVP_BENCH(BM_Label_kvp<4>);
KVP_SEG_PEER(BM_Label_ocv<4>);
KVP_BENCH(BM_Label_kvp<8>);
KVP_SEG_PEER(BM_Label_ocv<8>);
KVP_BENCH(BM_Bound_kvp<4>);
KVP_SEG_PEER(BM_Bound_ocv<4>);
KVP_BENCH(BM_Bound_kvp<8>);
KVP_SEG_PEER(BM_Bound_ocv<8>);

}  // namespace

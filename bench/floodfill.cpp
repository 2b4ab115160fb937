// Flood fill: repaint the large background region of a scene with scattered
// obstacles, 4- and 8-connected, exact, fixed range and floating range,
// beside cv::floodFill. The scene is restored outside the timed part of
// every iteration.
#include <cstring>
#include <vector>

#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

enum Kind { kExact, kFixed, kFloating };

// Background (uniform for the exact fill, a gentle ramp with noise for the
// range fills) broken by rectangles of a far value covering about a sixth
// of the scene; the seed at the centre lies in the background.
std::vector<Kvp8u> scene(int w, int h, Kind kind) {
  std::mt19937 rng(7);
  std::vector<Kvp8u> v((size_t)w * h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const int t = ((x + y) >> 7) % 14;  // a triangle wave: neighbours differ by at most 1 + noise
      v[(size_t)y * w + x] = kind == kExact ? 100 : (Kvp8u)(90 + (t < 8 ? t : 14 - t) + rng() % 3);
    }
  const int boxes = w * h / 2400;
  for (int i = 0; i < boxes; ++i) {
    const int bw = 4 + rng() % 28, bh = 4 + rng() % 28;
    const int x0 = rng() % (w - bw), y0 = rng() % (h - bh);
    for (int y = y0; y < y0 + bh; ++y) std::memset(&v[(size_t)y * w + x0], 230, bw);
  }
  for (int y = h / 2 - 2; y <= h / 2 + 2; ++y)
    std::memset(&v[(size_t)y * w + w / 2 - 2], kind == kExact ? 100 : 94, 5);
  return v;
}

template <Kind K, bool Eight>
void BM_FloodFill_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const std::vector<Kvp8u> orig = scene(s.width, s.height, K);
  std::vector<Kvp8u> img = orig;
  int size = 0;
  if (K == kFloating)
    kvpiFloodFillGetSize_Grad(s.size(), &size);
  else
    kvpiFloodFillGetSize(s.size(), &size);
  std::vector<Kvp8u> buf((size_t)size);
  const KvpiPoint seed{s.width / 2, s.height / 2};
  double area = 0;
  for (auto _ : st) {
    st.PauseTiming();
    std::memcpy(img.data(), orig.data(), img.size());
    st.ResumeTiming();
    KvpiConnectedComp rc;
    KvpStatus r;
    if (K == kExact)
      r = Eight ? kvpiFloodFill_8Con_8u_C1IR(img.data(), s.width, s.size(), seed, 7, &rc, buf.data())
                : kvpiFloodFill_4Con_8u_C1IR(img.data(), s.width, s.size(), seed, 7, &rc, buf.data());
    else if (K == kFixed)
      r = Eight ? kvpiFloodFill_Range8Con_8u_C1IR(img.data(), s.width, s.size(), seed, 7, 20, 20, &rc,
                                                  buf.data())
                : kvpiFloodFill_Range4Con_8u_C1IR(img.data(), s.width, s.size(), seed, 7, 20, 20, &rc,
                                                  buf.data());
    else
      r = Eight
              ? kvpiFloodFill_Grad8Con_8u_C1IR(img.data(), s.width, s.size(), seed, 7, 3, 3, &rc, buf.data())
              : kvpiFloodFill_Grad4Con_8u_C1IR(img.data(), s.width, s.size(), seed, 7, 3, 3, &rc, buf.data());
    if (r != kvpStsOk) st.SkipWithError("fill failed");
    area = rc.area;
  }
  st.counters["area"] = area;
  kvpb::setBytes(st, (long long)area);
}

#ifdef KVP_HAVE_OPENCV
template <Kind K, bool Eight>
void BM_FloodFill_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  const std::vector<Kvp8u> orig = scene(s.width, s.height, K);
  cv::Mat img(s.height, s.width, CV_8UC1);
  const cv::Point seed{s.width / 2, s.height / 2};
  const int flags = (Eight ? 8 : 4) | (K == kFixed ? cv::FLOODFILL_FIXED_RANGE : 0);
  const double d = K == kExact ? 0 : (K == kFixed ? 20 : 3);
  double area = 0;
  for (auto _ : st) {
    st.PauseTiming();
    std::memcpy(img.data, orig.data(), orig.size());
    st.ResumeTiming();
    area = cv::floodFill(img, seed, cv::Scalar(7), nullptr, cv::Scalar(d), cv::Scalar(d), flags);
  }
  st.counters["area"] = area;
  kvpb::setBytes(st, (long long)area);
}
#endif

}  // namespace

#define KVP_FF_BENCH(NAME, K, E)                                                      \
  void BM_FloodFill##NAME##_kvp(benchmark::State& st) { BM_FloodFill_kvp<K, E>(st); } \
  KVP_BENCH(BM_FloodFill##NAME##_kvp);
#define KVP_FF_BENCH_OCV(NAME, K, E)                                                  \
  void BM_FloodFill##NAME##_ocv(benchmark::State& st) { BM_FloodFill_ocv<K, E>(st); } \
  KVP_BENCH(BM_FloodFill##NAME##_ocv);

KVP_FF_BENCH(4Con, kExact, false)
KVP_FF_BENCH(8Con, kExact, true)
KVP_FF_BENCH(Range4Con, kFixed, false)
KVP_FF_BENCH(Range8Con, kFixed, true)
KVP_FF_BENCH(Grad4Con, kFloating, false)
KVP_FF_BENCH(Grad8Con, kFloating, true)
#ifdef KVP_HAVE_OPENCV
KVP_FF_BENCH_OCV(4Con, kExact, false)
KVP_FF_BENCH_OCV(8Con, kExact, true)
KVP_FF_BENCH_OCV(Range4Con, kFixed, false)
KVP_FF_BENCH_OCV(Range8Con, kFixed, true)
KVP_FF_BENCH_OCV(Grad4Con, kFloating, false)
KVP_FF_BENCH_OCV(Grad8Con, kFloating, true)
#endif

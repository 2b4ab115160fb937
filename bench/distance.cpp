// Chamfer and exact distance transforms on a thresholded photograph
// stretched to the benchmark size, beside cv::distanceTransform (L1 and L2
// with 3x3 and 5x5 masks, and the precise L2 transform).
#include <png.h>

#include <cmath>
#include <string>

#include "bench_photo.h"
#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

// Nearest-neighbour stretch to width x height, thresholded at 100: dark
// parts become the zero (feature) pixels.
std::vector<Kvp8u> thresholded(int width, int height) {
  int w = 0, h = 0;
  const std::vector<Kvp8u> g = kvpb::photo(w, h);
  std::vector<Kvp8u> v((size_t)width * height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      v[(size_t)y * width + x] =
          g[(size_t)((long long)y * h / height) * w + (size_t)((long long)x * w / width)] < 100 ? 0 : 255;
  return v;
}

// Chamfer in float with the given mask (3 or 5) and norm (1 L1, 2 L2).
template <int Mask, int Norm>
void BM_DistChamfer32f_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const auto src = thresholded(s.width, s.height);
  std::vector<Kvp32f> dst(src.size());
  Kvp32f m[3];
  kvpiGetDistanceTransformMask_32f(Mask, Norm, m);
  for (auto _ : st)
    benchmark::DoNotOptimize(
        Mask == 3
            ? kvpiDistanceTransform_3x3_8u32f_C1R(src.data(), s.width, dst.data(), s.width * 4, s.size(), m)
            : kvpiDistanceTransform_5x5_8u32f_C1R(src.data(), s.width, dst.data(), s.width * 4, s.size(), m));
  kvpb::setBytes(st, s.pixels() * 5);
}
KVP_BENCH((BM_DistChamfer32f_kvp<3, 1>));
KVP_BENCH((BM_DistChamfer32f_kvp<3, 2>));
KVP_BENCH((BM_DistChamfer32f_kvp<5, 2>));

// Integer chamfer (8u and 16u destinations).
template <int Mask, bool Wide>
void BM_DistChamferInt_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const auto src = thresholded(s.width, s.height);
  std::vector<Kvp8u> d8(src.size());
  std::vector<Kvp16u> d16(src.size());
  Kvp32s m[3];
  kvpiGetDistanceTransformMask_32s(Mask, 1, m);  // L1, like the 8-bit peer
  for (auto _ : st) {
    KvpStatus r;
    if (Wide)
      r = Mask == 3
              ? kvpiDistanceTransform_3x3_8u16u_C1R(src.data(), s.width, d16.data(), s.width * 2, s.size(), m)
              : kvpiDistanceTransform_5x5_8u16u_C1R(src.data(), s.width, d16.data(), s.width * 2, s.size(),
                                                    m);
    else
      r = Mask == 3 ? kvpiDistanceTransform_3x3_8u_C1R(src.data(), s.width, d8.data(), s.width, s.size(), m)
                    : kvpiDistanceTransform_5x5_8u_C1R(src.data(), s.width, d8.data(), s.width, s.size(), m);
    benchmark::DoNotOptimize(r);
  }
  kvpb::setBytes(st, s.pixels() * (Wide ? 3 : 2));
}
KVP_BENCH((BM_DistChamferInt_kvp<3, false>));
KVP_BENCH((BM_DistChamferInt_kvp<5, false>));
KVP_BENCH((BM_DistChamferInt_kvp<3, true>));
KVP_BENCH((BM_DistChamferInt_kvp<5, true>));

void BM_DistTrue_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const auto src = thresholded(s.width, s.height);
  std::vector<Kvp32f> dst(src.size());
  int size = 0;
  kvpiTrueDistanceTransformGetBufferSize_8u32f_C1R(s.size(), &size);
  std::vector<Kvp8u> buf((size_t)size);
  for (auto _ : st)
    benchmark::DoNotOptimize(kvpiTrueDistanceTransform_8u32f_C1R(src.data(), s.width, dst.data(), s.width * 4,
                                                                 s.size(), buf.data()));
  kvpb::setBytes(st, s.pixels() * 5);
}
KVP_BENCH(BM_DistTrue_kvp);

#ifdef KVP_HAVE_OPENCV
// Peers: distanceType, maskSize (0 = DIST_MASK_PRECISE), destination depth.
template <int Type, int Mask, int Depth>
void BM_Dist_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  auto v = thresholded(s.width, s.height);
  cv::Mat src(s.height, s.width, CV_8UC1, v.data()), dst;
  for (auto _ : st) cv::distanceTransform(src, dst, Type, Mask, Depth);
  kvpb::setBytes(st, s.pixels() * (Depth == CV_8U ? 2 : 5));
}
// Beside BM_DistChamfer32f_kvp<3, 1>, <3, 2>, <5, 2>.
KVP_BENCH((BM_Dist_ocv<cv::DIST_L1, 3, CV_32F>));
KVP_BENCH((BM_Dist_ocv<cv::DIST_L2, 3, CV_32F>));
KVP_BENCH((BM_Dist_ocv<cv::DIST_L2, 5, CV_32F>));
// Beside BM_DistChamferInt_kvp<3, false> (8-bit output, L1 3x3).
KVP_BENCH((BM_Dist_ocv<cv::DIST_L1, 3, CV_8U>));
// Beside BM_DistTrue_kvp.
KVP_BENCH((BM_Dist_ocv<cv::DIST_L2, cv::DIST_MASK_PRECISE, CV_32F>));
#endif

}  // namespace

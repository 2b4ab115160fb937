// Integral images: sum; sum and squared sum; sum, squared sum and tilted sum.
#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

struct Tables {
  int w, h;
  std::vector<Kvp8u> src;
  std::vector<Kvp32s> sum, tilt;
  std::vector<Kvp64f> sqr, tiltSqr;
  Tables(int width, int height)
      : w(width),
        h(height),
        src(kvpb::randomPlane<Kvp8u>(width, height)),
        sum((size_t)(width + 1) * (height + 1)),
        tilt((size_t)(width + 2) * (height + 2)),
        sqr((size_t)(width + 1) * (height + 1)),
        tiltSqr((size_t)(width + 2) * (height + 2)) {}
};

void BM_Integral_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  Tables t(s.width, s.height);
  for (auto _ : st)
    benchmark::DoNotOptimize(
        kvpiIntegral_8u32s_C1R(t.src.data(), t.w, t.sum.data(), (t.w + 1) * 4, s.size(), 0));
  kvpb::setBytes(st, s.pixels() * 5);
}
KVP_BENCH(BM_Integral_kvp);

void BM_SqrIntegral_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  Tables t(s.width, s.height);
  for (auto _ : st)
    benchmark::DoNotOptimize(kvpiSqrIntegral_8u32s64f_C1R(t.src.data(), t.w, t.sum.data(), (t.w + 1) * 4,
                                                          t.sqr.data(), (t.w + 1) * 8, s.size(), 0, 0.0));
  kvpb::setBytes(st, s.pixels() * 13);
}
KVP_BENCH(BM_SqrIntegral_kvp);

// The tilted tables come from their own call, after the upright pair.
void BM_SqrTiltedIntegral_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  Tables t(s.width, s.height);
  for (auto _ : st) {
    benchmark::DoNotOptimize(kvpiSqrIntegral_8u32s64f_C1R(t.src.data(), t.w, t.sum.data(), (t.w + 1) * 4,
                                                          t.sqr.data(), (t.w + 1) * 8, s.size(), 0, 0.0));
    benchmark::DoNotOptimize(
        kvpiTiltedIntegral_8u32s_C1R(t.src.data(), t.w, t.tilt.data(), (t.w + 2) * 4, s.size(), 0));
  }
  kvpb::setBytes(st, s.pixels() * 17);
}
KVP_BENCH(BM_SqrTiltedIntegral_kvp);

#ifdef KVP_HAVE_OPENCV
void BM_Integral_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  Tables t(s.width, s.height);
  cv::Mat src(s.height, s.width, CV_8UC1, t.src.data());
  cv::Mat sum(s.height + 1, s.width + 1, CV_32SC1, t.sum.data());
  for (auto _ : st) cv::integral(src, sum, CV_32S);
  kvpb::setBytes(st, s.pixels() * 5);
}
KVP_BENCH(BM_Integral_ocv);

void BM_SqrIntegral_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  Tables t(s.width, s.height);
  cv::Mat src(s.height, s.width, CV_8UC1, t.src.data());
  cv::Mat sum(s.height + 1, s.width + 1, CV_32SC1, t.sum.data());
  cv::Mat sqr(s.height + 1, s.width + 1, CV_64FC1, t.sqr.data());
  for (auto _ : st) cv::integral(src, sum, sqr, CV_32S, CV_64F);
  kvpb::setBytes(st, s.pixels() * 13);
}
KVP_BENCH(BM_SqrIntegral_ocv);

void BM_SqrTiltedIntegral_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  Tables t(s.width, s.height);
  cv::Mat src(s.height, s.width, CV_8UC1, t.src.data());
  cv::Mat sum(s.height + 1, s.width + 1, CV_32SC1, t.sum.data());
  cv::Mat sqr(s.height + 1, s.width + 1, CV_64FC1, t.sqr.data());
  cv::Mat tilt(s.height + 1, s.width + 1, CV_32SC1, t.tilt.data());
  for (auto _ : st) cv::integral(src, sum, sqr, tilt, CV_32S, CV_64F);
  kvpb::setBytes(st, s.pixels() * 17);
}
KVP_BENCH(BM_SqrTiltedIntegral_ocv);
#endif

}  // namespace

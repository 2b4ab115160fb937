// Motion history update beside OpenCV's and beside a memcpy of the bytes read.
#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV_CONTRIB
#include <opencv2/optflow/motempl.hpp>
#endif

namespace {

void BM_MotionHistory_8u_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  auto sil = kvpb::randomPlane<Kvp8u>(s.width, s.height, 1, 0, 1);
  auto mhi = kvpb::randomPlane<Kvp32f>(s.width, s.height, 1, 0, 100);
  float ts = 100.f;
  for (auto _ : st) {
    benchmark::DoNotOptimize(kvpiUpdateMotionHistory_8u32f_C1IR(sil.data(), s.width, mhi.data(), s.width * 4, s.size(), ts, 30.f));
    ts += 1.f;
  }
  kvpb::setBytes(st, s.pixels() * 5);
}
KVP_BENCH(BM_MotionHistory_8u_kvp);

#ifdef KVP_HAVE_OPENCV_CONTRIB
void BM_MotionHistory_8u_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  cv::Mat sil(s.height, s.width, CV_8UC1), mhi(s.height, s.width, CV_32FC1);
  cv::randu(sil, 0, 2);
  cv::randu(mhi, 0, 100);
  double ts = 100.0;
  for (auto _ : st) {
    cv::motempl::updateMotionHistory(sil, mhi, ts, 30.0);
    ts += 1.0;
  }
  kvpb::setBytes(st, s.pixels() * 5);
}
KVP_BENCH(BM_MotionHistory_8u_ocv);
#endif

}  // namespace

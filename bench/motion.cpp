// Motion history update beside OpenCV's (8-bit silhouettes only there) and
// beside a one-thread memcpy of the bytes the update reads per pixel
// (silhouette element + 4 history bytes).
#include <cstring>

#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV_CONTRIB
#include <opencv2/optflow/motempl.hpp>
#endif

namespace {

template <class S>
using MotionFn = KvpStatus (*)(const S*, int, Kvp32f*, int, KvpiSize, Kvp32f, Kvp32f);

// Half the silhouette moving, histories spread over three durations so that
// every branch of the select is taken about equally often.
template <class S>
void runKvp(benchmark::State& st, MotionFn<S> fn) {
  kvpb::Setup s(st);
  auto sil = kvpb::randomPlane<S>(s.width, s.height, 1, 0, 1);
  auto mhi = kvpb::randomPlane<Kvp32f>(s.width, s.height, 1, 0, 100, 2);
  float ts = 100.f;
  for (auto _ : st) {
    benchmark::DoNotOptimize(
        fn(sil.data(), s.width * (int)sizeof(S), mhi.data(), s.width * 4, s.size(), ts, 30.f));
    benchmark::ClobberMemory();
    ts += 1.f;
  }
  kvpb::setBytes(st, s.pixels() * (long long)(sizeof(S) + 4));
}

void BM_MotionHistory_8u_kvp(benchmark::State& st) { runKvp<Kvp8u>(st, kvpiUpdateMotionHistory_8u32f_C1IR); }
void BM_MotionHistory_16u_kvp(benchmark::State& st) {
  runKvp<Kvp16u>(st, kvpiUpdateMotionHistory_16u32f_C1IR);
}
void BM_MotionHistory_32f_kvp(benchmark::State& st) { runKvp<Kvp32f>(st, kvpiUpdateMotionHistory_32f_C1IR); }
KVP_BENCH(BM_MotionHistory_8u_kvp);
KVP_BENCH(BM_MotionHistory_16u_kvp);
KVP_BENCH(BM_MotionHistory_32f_kvp);

// The memcpy references for 5, 6 and 8 bytes per pixel are BM_Memcpy in arith.cpp.

#ifdef KVP_HAVE_OPENCV_CONTRIB
void BM_MotionHistory_8u_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  cv::Mat sil(s.height, s.width, CV_8UC1), mhi(s.height, s.width, CV_32FC1);
  cv::randu(sil, 0, 2);
  cv::randu(mhi, 0, 100);
  double ts = 100.0;
  for (auto _ : st) {
    cv::motempl::updateMotionHistory(sil, mhi, ts, 30.0);
    benchmark::ClobberMemory();
    ts += 1.0;
  }
  kvpb::setBytes(st, s.pixels() * 5);
}
KVP_BENCH(BM_MotionHistory_8u_ocv);
#endif

}  // namespace

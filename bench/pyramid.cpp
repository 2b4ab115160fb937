// Gaussian 5x5 pyramid: one level down and one level up, beside
// cv::pyrDown / cv::pyrUp (default border) on the same data.
#include <vector>

#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

template <class T, int CH, bool Down>
void runKvp(benchmark::State& st) {
  const kvpb::Setup s(st);
  const int dw = Down ? (s.width + 1) / 2 : 2 * s.width, dh = Down ? (s.height + 1) / 2 : 2 * s.height;
  std::vector<T> src = kvpb::randomPlane<T>(s.width, s.height, CH);
  std::vector<T> dst((size_t)dw * dh * CH);
  const KvpDataType type = sizeof(T) == 4 ? kvp32f : kvp8u;
  int bytes = 0;
  if (Down)
    kvpiPyrDownGetBufSize_Gauss5x5(s.width, type, CH, &bytes);
  else
    kvpiPyrUpGetBufSize_Gauss5x5(s.width, type, CH, &bytes);
  std::vector<Kvp8u> buf((size_t)bytes);
  const int srcStep = s.width * CH * (int)sizeof(T), dstStep = dw * CH * (int)sizeof(T);
  for (auto _ : st) {
    KvpStatus r;
    if constexpr (Down) {
      if constexpr (sizeof(T) == 4)
        r = CH == 1
                ? kvpiPyrDown_Gauss5x5_32f_C1R(src.data(), srcStep, dst.data(), dstStep, s.size(), buf.data())
                : kvpiPyrDown_Gauss5x5_32f_C3R(src.data(), srcStep, dst.data(), dstStep, s.size(),
                                               buf.data());
      else
        r = CH == 1
                ? kvpiPyrDown_Gauss5x5_8u_C1R(src.data(), srcStep, dst.data(), dstStep, s.size(), buf.data())
                : kvpiPyrDown_Gauss5x5_8u_C3R(src.data(), srcStep, dst.data(), dstStep, s.size(), buf.data());
    } else {
      if constexpr (sizeof(T) == 4)
        r = CH == 1
                ? kvpiPyrUp_Gauss5x5_32f_C1R(src.data(), srcStep, dst.data(), dstStep, s.size(), buf.data())
                : kvpiPyrUp_Gauss5x5_32f_C3R(src.data(), srcStep, dst.data(), dstStep, s.size(), buf.data());
      else
        r = CH == 1
                ? kvpiPyrUp_Gauss5x5_8u_C1R(src.data(), srcStep, dst.data(), dstStep, s.size(), buf.data())
                : kvpiPyrUp_Gauss5x5_8u_C3R(src.data(), srcStep, dst.data(), dstStep, s.size(), buf.data());
    }
    benchmark::DoNotOptimize(r);
    benchmark::ClobberMemory();
  }
  kvpb::setBytes(st, (long long)(s.pixels() + (long long)dw * dh) * CH * (long long)sizeof(T));
}

void BM_PyrDown_8u_C1_kvp(benchmark::State& st) { runKvp<Kvp8u, 1, true>(st); }
void BM_PyrDown_8u_C3_kvp(benchmark::State& st) { runKvp<Kvp8u, 3, true>(st); }
void BM_PyrDown_32f_C1_kvp(benchmark::State& st) { runKvp<Kvp32f, 1, true>(st); }
void BM_PyrUp_8u_C1_kvp(benchmark::State& st) { runKvp<Kvp8u, 1, false>(st); }
void BM_PyrUp_8u_C3_kvp(benchmark::State& st) { runKvp<Kvp8u, 3, false>(st); }
void BM_PyrUp_32f_C1_kvp(benchmark::State& st) { runKvp<Kvp32f, 1, false>(st); }
KVP_BENCH(BM_PyrDown_8u_C1_kvp);
KVP_BENCH(BM_PyrDown_8u_C3_kvp);
KVP_BENCH(BM_PyrDown_32f_C1_kvp);
KVP_BENCH(BM_PyrUp_8u_C1_kvp);
KVP_BENCH(BM_PyrUp_8u_C3_kvp);
KVP_BENCH(BM_PyrUp_32f_C1_kvp);

#ifdef KVP_HAVE_OPENCV
template <class T, int CH, bool Down>
void runOcv(benchmark::State& st) {
  const kvpb::Setup s(st);
  const int depth = sizeof(T) == 4 ? CV_32F : CV_8U;
  std::vector<T> data = kvpb::randomPlane<T>(s.width, s.height, CH);
  cv::Mat src(s.height, s.width, CV_MAKETYPE(depth, CH), data.data());
  const cv::Size dsz =
      Down ? cv::Size((s.width + 1) / 2, (s.height + 1) / 2) : cv::Size(2 * s.width, 2 * s.height);
  cv::Mat dst(dsz, src.type());
  for (auto _ : st) {
    if (Down)
      cv::pyrDown(src, dst, dsz);
    else
      cv::pyrUp(src, dst, dsz);
    benchmark::ClobberMemory();
  }
  kvpb::setBytes(st, (long long)(s.pixels() + (long long)dsz.area()) * CH * (long long)sizeof(T));
}

void BM_PyrDown_8u_C1_ocv(benchmark::State& st) { runOcv<Kvp8u, 1, true>(st); }
void BM_PyrDown_8u_C3_ocv(benchmark::State& st) { runOcv<Kvp8u, 3, true>(st); }
void BM_PyrDown_32f_C1_ocv(benchmark::State& st) { runOcv<Kvp32f, 1, true>(st); }
void BM_PyrUp_8u_C1_ocv(benchmark::State& st) { runOcv<Kvp8u, 1, false>(st); }
void BM_PyrUp_8u_C3_ocv(benchmark::State& st) { runOcv<Kvp8u, 3, false>(st); }
void BM_PyrUp_32f_C1_ocv(benchmark::State& st) { runOcv<Kvp32f, 1, false>(st); }
KVP_BENCH(BM_PyrDown_8u_C1_ocv);
KVP_BENCH(BM_PyrDown_8u_C3_ocv);
KVP_BENCH(BM_PyrDown_32f_C1_ocv);
KVP_BENCH(BM_PyrUp_8u_C1_ocv);
KVP_BENCH(BM_PyrUp_8u_C3_ocv);
KVP_BENCH(BM_PyrUp_32f_C1_ocv);
#endif

}  // namespace

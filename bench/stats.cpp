// Means, standard deviations and extrema with locations beside cv::mean,
// cv::meanStdDev and cv::minMaxLoc, with and without a mask (random 0/1
// mask: about half the pixels selected).
#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace {

template <class T>
struct StatsData {
  kvpb::Setup s;
  std::vector<T> a;
  std::vector<Kvp8u> mask;
  explicit StatsData(const benchmark::State& st)
      : s(st),
        a(kvpb::randomPlane<T>(s.width, s.height, 1, 0, 255)),
        mask(kvpb::randomPlane<Kvp8u>(s.width, s.height, 1, 0, 1, 3)) {}
  int step() const { return s.width * (int)sizeof(T); }
};

#define KVP_STATS_BENCH(NAME, T, MASKED, CALL)                           \
  void BM_##NAME##_kvp(benchmark::State& st) {                           \
    StatsData<T> d(st);                                                  \
    Kvp64f mean = 0, sd = 0;                                             \
    Kvp32f mn = 0, mx = 0;                                               \
    KvpiPoint lmn{}, lmx{};                                              \
    for (auto _ : st) benchmark::DoNotOptimize(CALL);                    \
    benchmark::DoNotOptimize(mean + sd + mn + mx + lmn.x + lmx.x);       \
    kvpb::setBytes(st, d.s.pixels() * (sizeof(T) + ((MASKED) ? 1 : 0))); \
  }                                                                      \
  KVP_BENCH(BM_##NAME##_kvp);

KVP_STATS_BENCH(Mean_8u_C1MR, Kvp8u, 1,
                kvpiMean_8u_C1MR(d.a.data(), d.step(), d.mask.data(), d.s.width, d.s.size(), &mean))
KVP_STATS_BENCH(Mean_StdDev_8u_C1R, Kvp8u, 0,
                kvpiMean_StdDev_8u_C1R(d.a.data(), d.step(), d.s.size(), &mean, &sd))
KVP_STATS_BENCH(Mean_StdDev_8u_C1MR, Kvp8u, 1,
                kvpiMean_StdDev_8u_C1MR(d.a.data(), d.step(), d.mask.data(), d.s.width, d.s.size(), &mean,
                                        &sd))
KVP_STATS_BENCH(Mean_StdDev_16u_C1MR, Kvp16u, 1,
                kvpiMean_StdDev_16u_C1MR(d.a.data(), d.step(), d.mask.data(), d.s.width, d.s.size(), &mean,
                                         &sd))
KVP_STATS_BENCH(Mean_StdDev_32f_C1R, Kvp32f, 0,
                kvpiMean_StdDev_32f_C1R(d.a.data(), d.step(), d.s.size(), &mean, &sd))
KVP_STATS_BENCH(Mean_StdDev_32f_C1MR, Kvp32f, 1,
                kvpiMean_StdDev_32f_C1MR(d.a.data(), d.step(), d.mask.data(), d.s.width, d.s.size(), &mean,
                                         &sd))
KVP_STATS_BENCH(MinMaxIndx_8u_C1R, Kvp8u, 0,
                kvpiMinMaxIndx_8u_C1R(d.a.data(), d.step(), d.s.size(), &mn, &mx, &lmn, &lmx))
KVP_STATS_BENCH(MinMaxIndx_8u_C1MR, Kvp8u, 1,
                kvpiMinMaxIndx_8u_C1MR(d.a.data(), d.step(), d.mask.data(), d.s.width, d.s.size(), &mn, &mx,
                                       &lmn, &lmx))
KVP_STATS_BENCH(MinMaxIndx_16u_C1MR, Kvp16u, 1,
                kvpiMinMaxIndx_16u_C1MR(d.a.data(), d.step(), d.mask.data(), d.s.width, d.s.size(), &mn, &mx,
                                        &lmn, &lmx))
KVP_STATS_BENCH(MinMaxIndx_32f_C1R, Kvp32f, 0,
                kvpiMinMaxIndx_32f_C1R(d.a.data(), d.step(), d.s.size(), &mn, &mx, &lmn, &lmx))
KVP_STATS_BENCH(MinMaxIndx_32f_C1MR, Kvp32f, 1,
                kvpiMinMaxIndx_32f_C1MR(d.a.data(), d.step(), d.mask.data(), d.s.width, d.s.size(), &mn, &mx,
                                        &lmn, &lmx))

#ifdef KVP_HAVE_OPENCV
template <int Type>
struct CvStats {
  kvpb::Setup s;
  cv::Mat a, mask;
  explicit CvStats(const benchmark::State& st) : s(st) {
    a.create(s.height, s.width, Type);
    mask.create(s.height, s.width, CV_8UC1);
    cv::randu(a, 0, 256);
    cv::randu(mask, 0, 2);
  }
};

#define KVP_STATS_OCV(NAME, TYPE, ELEM, MASKED, CALL)                 \
  void BM_##NAME##_ocv(benchmark::State& st) {                        \
    CvStats<TYPE> d(st);                                              \
    cv::Scalar mean, sd;                                              \
    double mn = 0, mx = 0;                                            \
    cv::Point lmn, lmx;                                               \
    for (auto _ : st) CALL;                                           \
    benchmark::DoNotOptimize(mean[0] + sd[0] + mn + mx + lmn.x);      \
    kvpb::setBytes(st, d.s.pixels() * ((ELEM) + ((MASKED) ? 1 : 0))); \
  }                                                                   \
  KVP_BENCH(BM_##NAME##_ocv);

KVP_STATS_OCV(Mean_8u_C1MR, CV_8UC1, 1, 1, mean = cv::mean(d.a, d.mask))
KVP_STATS_OCV(Mean_StdDev_8u_C1R, CV_8UC1, 1, 0, cv::meanStdDev(d.a, mean, sd))
KVP_STATS_OCV(Mean_StdDev_8u_C1MR, CV_8UC1, 1, 1, cv::meanStdDev(d.a, mean, sd, d.mask))
KVP_STATS_OCV(Mean_StdDev_16u_C1MR, CV_16UC1, 2, 1, cv::meanStdDev(d.a, mean, sd, d.mask))
KVP_STATS_OCV(Mean_StdDev_32f_C1R, CV_32FC1, 4, 0, cv::meanStdDev(d.a, mean, sd))
KVP_STATS_OCV(Mean_StdDev_32f_C1MR, CV_32FC1, 4, 1, cv::meanStdDev(d.a, mean, sd, d.mask))
KVP_STATS_OCV(MinMaxIndx_8u_C1R, CV_8UC1, 1, 0, cv::minMaxLoc(d.a, &mn, &mx, &lmn, &lmx))
KVP_STATS_OCV(MinMaxIndx_8u_C1MR, CV_8UC1, 1, 1, cv::minMaxLoc(d.a, &mn, &mx, &lmn, &lmx, d.mask))
KVP_STATS_OCV(MinMaxIndx_16u_C1MR, CV_16UC1, 2, 1, cv::minMaxLoc(d.a, &mn, &mx, &lmn, &lmx, d.mask))
KVP_STATS_OCV(MinMaxIndx_32f_C1R, CV_32FC1, 4, 0, cv::minMaxLoc(d.a, &mn, &mx, &lmn, &lmx))
KVP_STATS_OCV(MinMaxIndx_32f_C1MR, CV_32FC1, 4, 1, cv::minMaxLoc(d.a, &mn, &mx, &lmn, &lmx, d.mask))
#endif

}  // namespace

// Masked norms beside cv::norm with a mask.
#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace {

template <class T>
struct NormData {
  kvpb::Setup s;
  std::vector<T> a, b;
  std::vector<Kvp8u> mask;
  explicit NormData(const benchmark::State& st)
      : s(st),
        a(kvpb::randomPlane<T>(s.width, s.height)),
        b(kvpb::randomPlane<T>(s.width, s.height, 1, 0, 255, 2)),
        mask(kvpb::randomPlane<Kvp8u>(s.width, s.height, 1, 0, 1, 3)) {}
  int step() const { return s.width * (int)sizeof(T); }
};

#define KVP_NORM_BENCH(NAME, T, CALL)                       \
  void BM_##NAME##_kvp(benchmark::State& st) {              \
    NormData<T> d(st);                                      \
    double v = 0;                                           \
    for (auto _ : st) benchmark::DoNotOptimize(CALL);       \
    benchmark::DoNotOptimize(v);                            \
    kvpb::setBytes(st, d.s.pixels() * (2 * sizeof(T) + 1)); \
  }                                                         \
  KVP_BENCH(BM_##NAME##_kvp);

KVP_NORM_BENCH(Norm_Inf_8u, Kvp8u,
               kvpiNorm_Inf_8u_C1MR(d.a.data(), d.step(), d.mask.data(), d.s.width, d.s.size(), &v))
KVP_NORM_BENCH(Norm_L1_8u, Kvp8u,
               kvpiNorm_L1_8u_C1MR(d.a.data(), d.step(), d.mask.data(), d.s.width, d.s.size(), &v))
KVP_NORM_BENCH(Norm_L2_8u, Kvp8u,
               kvpiNorm_L2_8u_C1MR(d.a.data(), d.step(), d.mask.data(), d.s.width, d.s.size(), &v))
KVP_NORM_BENCH(NormDiff_L2_8u, Kvp8u,
               kvpiNormDiff_L2_8u_C1MR(d.a.data(), d.step(), d.b.data(), d.step(), d.mask.data(), d.s.width,
                                       d.s.size(), &v))
KVP_NORM_BENCH(Norm_L2_32f, Kvp32f,
               kvpiNorm_L2_32f_C1MR(d.a.data(), d.step(), d.mask.data(), d.s.width, d.s.size(), &v))
KVP_NORM_BENCH(NormRel_L2_32f, Kvp32f,
               kvpiNormRel_L2_32f_C1MR(d.a.data(), d.step(), d.b.data(), d.step(), d.mask.data(), d.s.width,
                                       d.s.size(), &v))

#ifdef KVP_HAVE_OPENCV
template <int Type>
struct CvNorm {
  kvpb::Setup s;
  cv::Mat a, b, mask;
  explicit CvNorm(const benchmark::State& st) : s(st) {
    a.create(s.height, s.width, Type);
    b.create(s.height, s.width, Type);
    mask.create(s.height, s.width, CV_8UC1);
    cv::randu(a, 0, 256);
    cv::randu(b, 0, 256);
    cv::randu(mask, 0, 2);
  }
};

#define KVP_NORM_OCV(NAME, TYPE, ELEM, CALL)             \
  void BM_##NAME##_ocv(benchmark::State& st) {           \
    CvNorm<TYPE> d(st);                                  \
    for (auto _ : st) benchmark::DoNotOptimize(CALL);    \
    kvpb::setBytes(st, d.s.pixels() * (2 * (ELEM) + 1)); \
  }                                                      \
  KVP_BENCH(BM_##NAME##_ocv);

KVP_NORM_OCV(Norm_Inf_8u, CV_8UC1, 1, cv::norm(d.a, cv::NORM_INF, d.mask))
KVP_NORM_OCV(Norm_L1_8u, CV_8UC1, 1, cv::norm(d.a, cv::NORM_L1, d.mask))
KVP_NORM_OCV(Norm_L2_8u, CV_8UC1, 1, cv::norm(d.a, cv::NORM_L2, d.mask))
KVP_NORM_OCV(NormDiff_L2_8u, CV_8UC1, 1, cv::norm(d.a, d.b, cv::NORM_L2, d.mask))
KVP_NORM_OCV(Norm_L2_32f, CV_32FC1, 4, cv::norm(d.a, cv::NORM_L2, d.mask))
KVP_NORM_OCV(NormRel_L2_32f, CV_32FC1, 4, cv::norm(d.a, d.b, cv::NORM_RELATIVE | cv::NORM_L2, d.mask))
#endif

}  // namespace

// Pyramid layers: the down layer at rate 2 with the binomial kernel beside
// cv::pyrDown (replicated border, the same pixels), and a rate-1.5 down /
// up layer beside the separable filter + remap composition.
#include <vector>

#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

template <class T, int CH>
struct Fns;
#define KVB_FNS(E, K, TS, CH)                                                        \
  template <>                                                                        \
  struct Fns<E, CH> {                                                                \
    using Tap = K;                                                                   \
    using DownState = KvpiPyramidDownState_##TS;                                     \
    using UpState = KvpiPyramidUpState_##TS;                                         \
    static constexpr KvpDataType type = kvp##TS;                                     \
    static constexpr auto downAlloc = kvpiPyramidLayerDownInitAlloc_##TS##_C##CH##R; \
    static constexpr auto upAlloc = kvpiPyramidLayerUpInitAlloc_##TS##_C##CH##R;     \
    static constexpr auto downFree = kvpiPyramidLayerDownFree_##TS##_C##CH##R;       \
    static constexpr auto upFree = kvpiPyramidLayerUpFree_##TS##_C##CH##R;           \
    static constexpr auto down = kvpiPyramidLayerDown_##TS##_C##CH##R;               \
    static constexpr auto up = kvpiPyramidLayerUp_##TS##_C##CH##R;                   \
  };
KVB_FNS(Kvp8u, Kvp16s, 8u, 1)
KVB_FNS(Kvp8u, Kvp16s, 8u, 3)
KVB_FNS(Kvp16u, Kvp16s, 16u, 1)
KVB_FNS(Kvp16u, Kvp16s, 16u, 3)
KVB_FNS(Kvp32f, Kvp32f, 32f, 1)
KVB_FNS(Kvp32f, Kvp32f, 32f, 3)
#undef KVB_FNS

template <class T, int CH, bool Down>
void runKvp(benchmark::State& st, float rate) {
  using F = Fns<T, CH>;
  const kvpb::Setup s(st);
  const int hi = sizeof(T) == 2 ? 65535 : 255;
  std::vector<T> src = kvpb::randomPlane<T>(s.width, s.height, CH, 0, hi);
  const typename F::Tap taps[5] = {1, 4, 6, 4, 1};
  KvpiSize d, dmax;
  int bytes = 0;
  if (Down) {
    kvpiGetPyramidDownROI(s.size(), &d, rate);
    kvpiPyramidLayerDownGetBufSize(s.size(), rate, 5, F::type, CH, &bytes);
  } else {
    kvpiGetPyramidUpROI(s.size(), &dmax, &d, rate);
    kvpiPyramidLayerUpGetBufSize(s.size(), rate, 5, F::type, CH, &bytes);
  }
  std::vector<T> dst((size_t)d.width * d.height * CH);
  std::vector<Kvp8u> buf((size_t)bytes);
  const int srcStep = s.width * CH * (int)sizeof(T), dstStep = d.width * CH * (int)sizeof(T);
  typename F::DownState* ds = nullptr;
  typename F::UpState* us = nullptr;
  if (Down)
    F::downAlloc(&ds, s.size(), rate, taps, 5, kvpInterLinear);
  else
    F::upAlloc(&us, s.size(), rate, taps, 5, kvpInterLinear);
  for (auto _ : st) {
    const KvpStatus r = Down ? F::down(src.data(), srcStep, s.size(), dst.data(), dstStep, d, ds, buf.data())
                             : F::up(src.data(), srcStep, s.size(), dst.data(), dstStep, d, us, buf.data());
    benchmark::DoNotOptimize(r);
    benchmark::ClobberMemory();
  }
  if (ds) F::downFree(ds);
  if (us) F::upFree(us);
  kvpb::setBytes(st, (s.pixels() + (long long)d.width * d.height) * CH * (long long)sizeof(T));
}

#define KVB_KVP(name, T, CH, DOWN, RATE)                                        \
  void BM_##name##_kvp(benchmark::State& st) { runKvp<T, CH, DOWN>(st, RATE); } \
  KVP_BENCH(BM_##name##_kvp);
#define KVB_OCV(name, T, CH, DOWN, RATE)                                        \
  void BM_##name##_ocv(benchmark::State& st) { runOcv<T, CH, DOWN>(st, RATE); } \
  KVP_BENCH(BM_##name##_ocv);

#ifdef KVP_HAVE_OPENCV
// Rate 2: cv::pyrDown with the replicated border (the same result). Other
// rates: the separable filter with the normalised taps, then remap with
// linear interpolation at the layer's positions (down), or remap then the
// filter (up).
template <class T, int CH, bool Down>
void runOcv(benchmark::State& st, float rate) {
  const kvpb::Setup s(st);
  const int depth = sizeof(T) == 4 ? CV_32F : (sizeof(T) == 2 ? CV_16U : CV_8U);
  const int hi = sizeof(T) == 2 ? 65535 : 255;
  std::vector<T> data = kvpb::randomPlane<T>(s.width, s.height, CH, 0, hi);
  cv::Mat src(s.height, s.width, CV_MAKETYPE(depth, CH), data.data());
  KvpiSize d, dmax;
  if (Down)
    kvpiGetPyramidDownROI(s.size(), &d, rate);
  else
    kvpiGetPyramidUpROI(s.size(), &dmax, &d, rate);
  const cv::Size dsz(d.width, d.height);
  cv::Mat dst(dsz, src.type()), tmp;
  const cv::Mat k = (cv::Mat_<float>(1, 5) << 1 / 16.f, 4 / 16.f, 6 / 16.f, 4 / 16.f, 1 / 16.f);
  cv::Mat mx(dsz, CV_32F), my(dsz, CV_32F);
  for (int y = 0; y < dsz.height; ++y)
    for (int x = 0; x < dsz.width; ++x) {
      mx.at<float>(y, x) = Down ? x * rate : x / rate;
      my.at<float>(y, x) = Down ? y * rate : y / rate;
    }
  for (auto _ : st) {
    if (rate == 2.0f && Down) {
      cv::pyrDown(src, dst, dsz, cv::BORDER_REPLICATE);
    } else if (Down) {
      cv::sepFilter2D(src, tmp, CV_32F, k, k, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
      cv::remap(tmp, dst, mx, my, cv::INTER_LINEAR, cv::BORDER_REPLICATE);
    } else {
      cv::remap(src, tmp, mx, my, cv::INTER_LINEAR, cv::BORDER_REPLICATE);
      cv::sepFilter2D(tmp, dst, src.depth(), k, k, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    }
    benchmark::ClobberMemory();
  }
  kvpb::setBytes(st, (s.pixels() + (long long)dsz.area()) * CH * (long long)sizeof(T));
}
#endif

// Each kvpCV row is followed by its peer.
KVB_KVP(LayerDown2_8u_C1, Kvp8u, 1, true, 2.0f)
#ifdef KVP_HAVE_OPENCV
KVB_OCV(LayerDown2_8u_C1, Kvp8u, 1, true, 2.0f)
#endif
KVB_KVP(LayerDown2_8u_C3, Kvp8u, 3, true, 2.0f)
#ifdef KVP_HAVE_OPENCV
KVB_OCV(LayerDown2_8u_C3, Kvp8u, 3, true, 2.0f)
#endif
KVB_KVP(LayerDown2_16u_C1, Kvp16u, 1, true, 2.0f)
#ifdef KVP_HAVE_OPENCV
KVB_OCV(LayerDown2_16u_C1, Kvp16u, 1, true, 2.0f)
#endif
KVB_KVP(LayerDown2_16u_C3, Kvp16u, 3, true, 2.0f)
#ifdef KVP_HAVE_OPENCV
KVB_OCV(LayerDown2_16u_C3, Kvp16u, 3, true, 2.0f)
#endif
KVB_KVP(LayerDown2_32f_C1, Kvp32f, 1, true, 2.0f)
#ifdef KVP_HAVE_OPENCV
KVB_OCV(LayerDown2_32f_C1, Kvp32f, 1, true, 2.0f)
#endif
KVB_KVP(LayerDown2_32f_C3, Kvp32f, 3, true, 2.0f)
#ifdef KVP_HAVE_OPENCV
KVB_OCV(LayerDown2_32f_C3, Kvp32f, 3, true, 2.0f)
#endif
KVB_KVP(LayerDown15_8u_C1, Kvp8u, 1, true, 1.5f)
#ifdef KVP_HAVE_OPENCV
KVB_OCV(LayerDown15_8u_C1, Kvp8u, 1, true, 1.5f)
#endif
KVB_KVP(LayerUp15_8u_C1, Kvp8u, 1, false, 1.5f)
#ifdef KVP_HAVE_OPENCV
KVB_OCV(LayerUp15_8u_C1, Kvp8u, 1, false, 1.5f)
#endif

}  // namespace

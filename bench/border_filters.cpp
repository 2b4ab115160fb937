// Derivative and smoothing filters with a replicated border, beside
// cv::Sobel, cv::Scharr, cv::Laplacian, cv::blur and cv::GaussianBlur with
// cv::BORDER_REPLICATE.
#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

enum Kind {
  kSobel3,
  kSobel5,
  kSobel32f,
  kScharr,
  kLaplacian3,
  kLaplacian5,
  kBlur3,
  kBlur5,
  kBlur32f,
  kBlurC3,
  kGauss5,
  kGauss11,
  kGaussC3,
  kGauss16u,
  kGauss32f
};

struct Shape {
  int depth;  // 0: 8u, 1: 16u, 2: 32f
  int ch;
  bool signedOut;  // 8u -> 16s
};

Shape shapeOf(Kind k) {
  switch (k) {
    case kSobel32f:
    case kBlur32f:
    case kGauss32f:
      return {2, 1, false};
    case kBlurC3:
    case kGaussC3:
      return {0, 3, false};
    case kGauss16u:
      return {1, 1, false};
    case kBlur3:
    case kBlur5:
    case kGauss5:
    case kGauss11:
      return {0, 1, false};
    default:
      return {0, 1, true};
  }
}

template <Kind K>
void BM_Border_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const KvpiSize sz = s.size();
  const Shape sh = shapeOf(K);
  const int w = s.width, h = s.height, c = sh.ch;
  // Only the source of the benchmarked type is filled.
  std::vector<Kvp8u> s8 = sh.depth == 0 ? kvpb::randomPlane<Kvp8u>(w, h, c) : std::vector<Kvp8u>();
  std::vector<Kvp16u> s16 =
      sh.depth == 1 ? kvpb::randomPlane<Kvp16u>(w, h, c, 0, 65535) : std::vector<Kvp16u>();
  std::vector<Kvp32f> s32 = sh.depth == 2 ? kvpb::randomPlane<Kvp32f>(w, h, c) : std::vector<Kvp32f>();
  const size_t n = (size_t)w * h * c;
  std::vector<Kvp8u> d8(sh.depth == 0 && !sh.signedOut ? n : 0);
  std::vector<Kvp16s> d16(sh.signedOut ? n : 0);
  std::vector<Kvp16u> d16u(sh.depth == 1 ? n : 0);
  std::vector<Kvp32f> d32(sh.depth == 2 ? n : 0);
  const int ss8 = w * c, ss16 = 2 * w * c, ss32 = 4 * w * c;
  const KvpiBorderType rep = kvpBorderRepl;
  const Kvp8u v8[3] = {0, 0, 0};
  const Kvp32f v32[3] = {0, 0, 0};
  int bytes = 0;
  switch (K) {
    case kSobel3:
      kvpiFilterSobelVertGetBufferSize_8u16s_C1R(sz, kvpMskSize3x3, &bytes);
      break;
    case kSobel5:
      kvpiFilterSobelVertGetBufferSize_8u16s_C1R(sz, kvpMskSize5x5, &bytes);
      break;
    case kSobel32f:
      kvpiFilterSobelVertGetBufferSize_32f_C1R(sz, kvpMskSize3x3, &bytes);
      break;
    case kScharr:
      kvpiFilterScharrVertGetBufferSize_8u16s_C1R(sz, kvpMskSize3x3, &bytes);
      break;
    case kLaplacian3:
      kvpiFilterLaplacianGetBufferSize_8u16s_C1R(sz, kvpMskSize3x3, &bytes);
      break;
    case kLaplacian5:
      kvpiFilterLaplacianGetBufferSize_8u16s_C1R(sz, kvpMskSize5x5, &bytes);
      break;
    case kBlur3:
      kvpiFilterLowpassGetBufferSize_8u_C1R(sz, kvpMskSize3x3, &bytes);
      break;
    case kBlur5:
      kvpiFilterLowpassGetBufferSize_8u_C1R(sz, kvpMskSize5x5, &bytes);
      break;
    case kBlur32f:
      kvpiFilterLowpassGetBufferSize_32f_C1R(sz, kvpMskSize3x3, &bytes);
      break;
    case kBlurC3:
      kvpiFilterLowpassGetBufferSize_8u_C3R(sz, kvpMskSize3x3, &bytes);
      break;
    case kGauss5:
      kvpiFilterGaussGetBufferSize_8u_C1R(sz, 5, &bytes);
      break;
    case kGauss11:
      kvpiFilterGaussGetBufferSize_8u_C1R(sz, 11, &bytes);
      break;
    case kGaussC3:
      kvpiFilterGaussGetBufferSize_8u_C3R(sz, 5, &bytes);
      break;
    case kGauss16u:
      kvpiFilterGaussGetBufferSize_16u_C1R(sz, 5, &bytes);
      break;
    case kGauss32f:
      kvpiFilterGaussGetBufferSize_32f_C1R(sz, 5, &bytes);
      break;
  }
  std::vector<Kvp8u> buf(bytes);
  for (auto _ : st) {
    KvpStatus r = kvpStsOk;
    switch (K) {
      case kSobel3:
        r = kvpiFilterSobelVertBorder_8u16s_C1R(s8.data(), ss8, d16.data(), 2 * w, sz, kvpMskSize3x3, rep, 0,
                                                buf.data());
        break;
      case kSobel5:
        r = kvpiFilterSobelVertBorder_8u16s_C1R(s8.data(), ss8, d16.data(), 2 * w, sz, kvpMskSize5x5, rep, 0,
                                                buf.data());
        break;
      case kSobel32f:
        r = kvpiFilterSobelVertBorder_32f_C1R(s32.data(), ss32, d32.data(), ss32, sz, kvpMskSize3x3, rep, 0,
                                              buf.data());
        break;
      case kScharr:
        r = kvpiFilterScharrVertBorder_8u16s_C1R(s8.data(), ss8, d16.data(), 2 * w, sz, kvpMskSize3x3, rep, 0,
                                                 buf.data());
        break;
      case kLaplacian3:
        r = kvpiFilterLaplacianBorder_8u16s_C1R(s8.data(), ss8, d16.data(), 2 * w, sz, kvpMskSize3x3, rep, 0,
                                                buf.data());
        break;
      case kLaplacian5:
        r = kvpiFilterLaplacianBorder_8u16s_C1R(s8.data(), ss8, d16.data(), 2 * w, sz, kvpMskSize5x5, rep, 0,
                                                buf.data());
        break;
      case kBlur3:
        r = kvpiFilterLowpassBorder_8u_C1R(s8.data(), ss8, d8.data(), ss8, sz, kvpMskSize3x3, rep, 0,
                                           buf.data());
        break;
      case kBlur5:
        r = kvpiFilterLowpassBorder_8u_C1R(s8.data(), ss8, d8.data(), ss8, sz, kvpMskSize5x5, rep, 0,
                                           buf.data());
        break;
      case kBlur32f:
        r = kvpiFilterLowpassBorder_32f_C1R(s32.data(), ss32, d32.data(), ss32, sz, kvpMskSize3x3, rep, 0,
                                            buf.data());
        break;
      case kBlurC3:
        r = kvpiFilterLowpassBorder_8u_C3R(s8.data(), ss8, d8.data(), ss8, sz, kvpMskSize3x3, rep, v8,
                                           buf.data());
        break;
      case kGauss5:
        r = kvpiFilterGaussBorder_8u_C1R(s8.data(), ss8, d8.data(), ss8, sz, 5, 1.1f, rep, 0, buf.data());
        break;
      case kGauss11:
        r = kvpiFilterGaussBorder_8u_C1R(s8.data(), ss8, d8.data(), ss8, sz, 11, 2.0f, rep, 0, buf.data());
        break;
      case kGaussC3:
        r = kvpiFilterGaussBorder_8u_C3R(s8.data(), ss8, d8.data(), ss8, sz, 5, 1.1f, rep, v8, buf.data());
        break;
      case kGauss16u:
        r = kvpiFilterGaussBorder_16u_C1R(s16.data(), ss16, d16u.data(), ss16, sz, 5, 1.1f, rep, 0,
                                          buf.data());
        break;
      case kGauss32f:
        r = kvpiFilterGaussBorder_32f_C1R(s32.data(), ss32, d32.data(), ss32, sz, 5, 1.1f, rep, 0,
                                          buf.data());
        (void)v32;
        break;
    }
    benchmark::DoNotOptimize(r);
  }
  kvpb::setBytes(st, s.pixels() * c);
}

#ifdef KVP_HAVE_OPENCV
template <Kind K>
void BM_Border_cv(benchmark::State& st) {
  kvpb::Setup s(st);
  const Shape sh = shapeOf(K);
  const int type = sh.depth == 0 ? CV_8UC(sh.ch) : (sh.depth == 1 ? CV_16UC(sh.ch) : CV_32FC(sh.ch));
  cv::Mat src(s.height, s.width, type), dst;
  cv::randu(src, 0, sh.depth == 1 ? 65536 : 256);
  const int rep = cv::BORDER_REPLICATE;
  for (auto _ : st) {
    switch (K) {
      case kSobel3:
        cv::Sobel(src, dst, CV_16S, 1, 0, 3, 1, 0, rep);
        break;
      case kSobel5:
        cv::Sobel(src, dst, CV_16S, 1, 0, 5, 1, 0, rep);
        break;
      case kSobel32f:
        cv::Sobel(src, dst, CV_32F, 1, 0, 3, 1, 0, rep);
        break;
      case kScharr:
        cv::Scharr(src, dst, CV_16S, 1, 0, 1, 0, rep);
        break;
      case kLaplacian3:
        cv::Laplacian(src, dst, CV_16S, 3, 1, 0, rep);
        break;
      case kLaplacian5:
        cv::Laplacian(src, dst, CV_16S, 5, 1, 0, rep);
        break;
      case kBlur3:
      case kBlur32f:
      case kBlurC3:
        cv::blur(src, dst, cv::Size(3, 3), cv::Point(-1, -1), rep);
        break;
      case kBlur5:
        cv::blur(src, dst, cv::Size(5, 5), cv::Point(-1, -1), rep);
        break;
      case kGauss11:
        cv::GaussianBlur(src, dst, cv::Size(11, 11), 2.0, 2.0, rep);
        break;
      default:
        cv::GaussianBlur(src, dst, cv::Size(5, 5), 1.1, 1.1, rep);
        break;
    }
    benchmark::DoNotOptimize(dst.data);
  }
  kvpb::setBytes(st, s.pixels() * sh.ch);
}
#define BORDER_PAIR(K, NAME)                                    \
  KVP_BENCH(BM_Border_kvp<K>)->Name("BM_Border_" #NAME "_kvp"); \
  KVP_BENCH(BM_Border_cv<K>)->Name("BM_Border_" #NAME "_ocv")
#else
#define BORDER_PAIR(K, NAME) KVP_BENCH(BM_Border_kvp<K>)->Name("BM_Border_" #NAME "_kvp")
#endif

BORDER_PAIR(kSobel3, SobelVert3x3_8u16s);
BORDER_PAIR(kSobel5, SobelVert5x5_8u16s);
BORDER_PAIR(kSobel32f, SobelVert3x3_32f);
BORDER_PAIR(kScharr, ScharrVert_8u16s);
BORDER_PAIR(kLaplacian3, Laplacian3x3_8u16s);
BORDER_PAIR(kLaplacian5, Laplacian5x5_8u16s);
BORDER_PAIR(kBlur3, Lowpass3x3_8u);
BORDER_PAIR(kBlur5, Lowpass5x5_8u);
BORDER_PAIR(kBlur32f, Lowpass3x3_32f);
BORDER_PAIR(kBlurC3, Lowpass3x3_8u_C3);
BORDER_PAIR(kGauss5, Gauss5_8u);
BORDER_PAIR(kGauss11, Gauss11_8u);
BORDER_PAIR(kGaussC3, Gauss5_8u_C3);
BORDER_PAIR(kGauss16u, Gauss5_16u);
BORDER_PAIR(kGauss32f, Gauss5_32f);

}  // namespace

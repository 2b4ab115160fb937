// Separable filtering as an application drives it: row pass into an
// intermediate image, replicated row pointers for the vertical border, then
// the column pass; beside cv::sepFilter2D with a replicated border.
#include <algorithm>

#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

template <class S, class I, class D>
struct SepFilter {
  int w, h, ch, k;
  std::vector<S> src;
  std::vector<I> inter;
  std::vector<D> dst;
  std::vector<Kvp8u> rowBuf, colBuf;
  std::vector<I*> rowPtrs;
  std::vector<const I*> colPtrs;

  SepFilter(int width, int height, int channels, int taps, int rowBytes, int colBytes)
      : w(width),
        h(height),
        ch(channels),
        k(taps),
        src(kvpb::randomPlane<S>(width, height, channels)),
        inter((size_t)width * height * channels),
        dst((size_t)width * height * channels),
        rowBuf(rowBytes),
        colBuf(colBytes),
        rowPtrs(height),
        colPtrs(height + taps - 1) {}

  // Pointer setup of one call, vertical border replicated.
  void pointers() {
    const size_t row = (size_t)w * ch;
    for (int y = 0; y < h; ++y) rowPtrs[y] = inter.data() + row * y;
    const int a = k / 2;
    for (int i = 0; i < h + k - 1; ++i) colPtrs[i] = inter.data() + row * std::clamp(i - a, 0, h - 1);
  }
};

const Kvp16s kTaps3[3] = {1, 2, 1};
const Kvp16s kTaps5[5] = {1, 4, 6, 4, 1};
const Kvp16s kDeriv3[3] = {-1, 0, 1};
const Kvp16s kDeriv5[5] = {-1, -2, 0, 2, 1};
const Kvp32f kTaps5f[5] = {0.0625f, 0.25f, 0.375f, 0.25f, 0.0625f};

template <int Ch, int K>
void BM_SepFilter_8u16s_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const KvpiSize sz = s.size();
  int rb = 0, cb = 0;
  if (Ch == 1) {
    kvpiFilterRowBorderPipelineGetBufferSize_8u16s_C1R(sz, K, &rb);
    kvpiFilterColumnPipelineGetBufferSize_16s_C1R(sz, K, &cb);
  } else {
    kvpiFilterRowBorderPipelineGetBufferSize_8u16s_C3R(sz, K, &rb);
    kvpiFilterColumnPipelineGetBufferSize_16s_C3R(sz, K, &cb);
  }
  SepFilter<Kvp8u, Kvp16s, Kvp16s> f(s.width, s.height, Ch, K, rb, cb);
  const Kvp16s* rowK = K == 3 ? kDeriv3 : kDeriv5;
  const Kvp16s* colK = K == 3 ? kTaps3 : kTaps5;
  const Kvp8u values[3] = {0, 0, 0};
  for (auto _ : st) {
    f.pointers();
    if (Ch == 1) {
      kvpiFilterRowBorderPipeline_8u16s_C1R(f.src.data(), s.width, f.rowPtrs.data(), sz, rowK, K, K / 2, 1, 0,
                                            1, f.rowBuf.data());
      kvpiFilterColumnPipeline_16s_C1R(f.colPtrs.data(), f.dst.data(), s.width * 2, sz, colK, K, 1,
                                       f.colBuf.data());
    } else {
      kvpiFilterRowBorderPipeline_8u16s_C3R(f.src.data(), s.width * 3, f.rowPtrs.data(), sz, rowK, K, K / 2,
                                            1, values, 1, f.rowBuf.data());
      kvpiFilterColumnPipeline_16s_C3R(f.colPtrs.data(), f.dst.data(), s.width * 6, sz, colK, K, 1,
                                       f.colBuf.data());
    }
    benchmark::DoNotOptimize(f.dst.data());
  }
  kvpb::setBytes(st, s.pixels() * Ch * 3);
}

template <int Ch>
void BM_SepFilter_32f_k5_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const KvpiSize sz = s.size();
  int rb = 0, cb = 0;
  if (Ch == 1) {
    kvpiFilterRowBorderPipelineGetBufferSize_32f_C1R(sz, 5, &rb);
    kvpiFilterColumnPipelineGetBufferSize_32f_C1R(sz, 5, &cb);
  } else {
    kvpiFilterRowBorderPipelineGetBufferSize_32f_C3R(sz, 5, &rb);
    kvpiFilterColumnPipelineGetBufferSize_32f_C3R(sz, 5, &cb);
  }
  SepFilter<Kvp32f, Kvp32f, Kvp32f> f(s.width, s.height, Ch, 5, rb, cb);
  const Kvp32f values[3] = {0, 0, 0};
  for (auto _ : st) {
    f.pointers();
    if (Ch == 1) {
      kvpiFilterRowBorderPipeline_32f_C1R(f.src.data(), s.width * 4, f.rowPtrs.data(), sz, kTaps5f, 5, 2, 1,
                                          0.f, f.rowBuf.data());
      kvpiFilterColumnPipeline_32f_C1R(f.colPtrs.data(), f.dst.data(), s.width * 4, sz, kTaps5f, 5,
                                       f.colBuf.data());
    } else {
      kvpiFilterRowBorderPipeline_32f_C3R(f.src.data(), s.width * 12, f.rowPtrs.data(), sz, kTaps5f, 5, 2, 1,
                                          values, f.rowBuf.data());
      kvpiFilterColumnPipeline_32f_C3R(f.colPtrs.data(), f.dst.data(), s.width * 12, sz, kTaps5f, 5,
                                       f.colBuf.data());
    }
    benchmark::DoNotOptimize(f.dst.data());
  }
  kvpb::setBytes(st, s.pixels() * Ch * 8);
}

void BM_SepFilter_8u16s_k3_C1_kvp(benchmark::State& st) { BM_SepFilter_8u16s_kvp<1, 3>(st); }
void BM_SepFilter_8u16s_k3_C3_kvp(benchmark::State& st) { BM_SepFilter_8u16s_kvp<3, 3>(st); }
void BM_SepFilter_8u16s_k5_C1_kvp(benchmark::State& st) { BM_SepFilter_8u16s_kvp<1, 5>(st); }
void BM_SepFilter_8u16s_k5_C3_kvp(benchmark::State& st) { BM_SepFilter_8u16s_kvp<3, 5>(st); }
void BM_SepFilter_32f_k5_C1_kvp(benchmark::State& st) { BM_SepFilter_32f_k5_kvp<1>(st); }
void BM_SepFilter_32f_k5_C3_kvp(benchmark::State& st) { BM_SepFilter_32f_k5_kvp<3>(st); }
KVP_BENCH(BM_SepFilter_8u16s_k3_C1_kvp);
KVP_BENCH(BM_SepFilter_8u16s_k3_C3_kvp);
KVP_BENCH(BM_SepFilter_8u16s_k5_C1_kvp);
KVP_BENCH(BM_SepFilter_8u16s_k5_C3_kvp);
KVP_BENCH(BM_SepFilter_32f_k5_C1_kvp);
KVP_BENCH(BM_SepFilter_32f_k5_C3_kvp);

#ifdef KVP_HAVE_OPENCV
template <int Ch, int K>
void BM_SepFilter_8u16s_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  auto data = kvpb::randomPlane<Kvp8u>(s.width, s.height, Ch);
  cv::Mat src(s.height, s.width, CV_8UC(Ch), data.data()), dst;
  cv::Mat kx(1, K, CV_32F), ky(1, K, CV_32F);
  for (int j = 0; j < K; ++j) {
    kx.at<float>(j) = K == 3 ? kDeriv3[j] : kDeriv5[j];
    ky.at<float>(j) = K == 3 ? kTaps3[j] : kTaps5[j];
  }
  for (auto _ : st) {
    cv::sepFilter2D(src, dst, CV_16S, kx, ky, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    benchmark::DoNotOptimize(dst.data);
  }
  kvpb::setBytes(st, s.pixels() * Ch * 3);
}

template <int Ch>
void BM_SepFilter_32f_k5_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  auto data = kvpb::randomPlane<Kvp32f>(s.width, s.height, Ch);
  cv::Mat src(s.height, s.width, CV_32FC(Ch), data.data()), dst;
  cv::Mat kx(1, 5, CV_32F, (void*)kTaps5f);
  for (auto _ : st) {
    cv::sepFilter2D(src, dst, CV_32F, kx, kx, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    benchmark::DoNotOptimize(dst.data);
  }
  kvpb::setBytes(st, s.pixels() * Ch * 8);
}

void BM_SepFilter_8u16s_k3_C1_ocv(benchmark::State& st) { BM_SepFilter_8u16s_ocv<1, 3>(st); }
void BM_SepFilter_8u16s_k3_C3_ocv(benchmark::State& st) { BM_SepFilter_8u16s_ocv<3, 3>(st); }
void BM_SepFilter_8u16s_k5_C1_ocv(benchmark::State& st) { BM_SepFilter_8u16s_ocv<1, 5>(st); }
void BM_SepFilter_8u16s_k5_C3_ocv(benchmark::State& st) { BM_SepFilter_8u16s_ocv<3, 5>(st); }
void BM_SepFilter_32f_k5_C1_ocv(benchmark::State& st) { BM_SepFilter_32f_k5_ocv<1>(st); }
void BM_SepFilter_32f_k5_C3_ocv(benchmark::State& st) { BM_SepFilter_32f_k5_ocv<3>(st); }
KVP_BENCH(BM_SepFilter_8u16s_k3_C1_ocv);
KVP_BENCH(BM_SepFilter_8u16s_k3_C3_ocv);
KVP_BENCH(BM_SepFilter_8u16s_k5_C1_ocv);
KVP_BENCH(BM_SepFilter_8u16s_k5_C3_ocv);
KVP_BENCH(BM_SepFilter_32f_k5_C1_ocv);
KVP_BENCH(BM_SepFilter_32f_k5_C3_ocv);
#endif

}  // namespace

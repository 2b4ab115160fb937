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

// Strip streaming: the image filtered in strips of kStrip rows, each strip's
// intermediate rows (strip + k - 1, vertical border replicated) kept in a
// small buffer that stays in cache; beside cv::sepFilter2D on the same
// strips of the source (the rows around a strip serve as its border, so the
// result is that of the whole image).
constexpr int kStrip = 64;

template <class S, class I>
struct Strips {
  int w, h, ch, k;
  std::vector<I> inter;
  std::vector<I*> rowPtrs;
  std::vector<const I*> colPtrs;
  Strips(int width, int height, int channels, int taps)
      : w(width),
        h(height),
        ch(channels),
        k(taps),
        inter((size_t)width * channels * (kStrip + taps - 1)),
        rowPtrs(kStrip + taps - 1),
        colPtrs(kStrip + taps - 1) {}
  // run(src rows [r0, r0 + n) -> rowPtrs, n), then column(count) for each
  // strip.
  template <class RowFn, class ColFn>
  void each(const S* src, RowFn&& rows, ColFn&& columns) {
    const int a = k / 2;
    for (int y0 = 0; y0 < h; y0 += kStrip) {
      const int n = std::min(kStrip, h - y0);
      const int r0 = std::max(0, y0 - a), r1 = std::min(h - 1, y0 + n - 1 + (k - 1 - a));
      for (int r = r0; r <= r1; ++r) rowPtrs[r - r0] = inter.data() + (size_t)(r - r0) * w * ch;
      rows(src + (size_t)r0 * w * ch, r1 - r0 + 1);
      for (int i = 0; i < n + k - 1; ++i) colPtrs[i] = rowPtrs[std::clamp(y0 - a + i, 0, h - 1) - r0];
      columns(y0, n);
    }
  }
};

template <int Ch>
void BM_SepStrips_8u16s_k3_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const KvpiSize strip{s.width, kStrip + 2};
  int rb = 0, cb = 0;
  if (Ch == 1) {
    kvpiFilterRowBorderPipelineGetBufferSize_8u16s_C1R(strip, 3, &rb);
    kvpiFilterColumnPipelineGetBufferSize_16s_C1R(strip, 3, &cb);
  } else {
    kvpiFilterRowBorderPipelineGetBufferSize_8u16s_C3R(strip, 3, &rb);
    kvpiFilterColumnPipelineGetBufferSize_16s_C3R(strip, 3, &cb);
  }
  const auto src = kvpb::randomPlane<Kvp8u>(s.width, s.height, Ch);
  std::vector<Kvp16s> dst((size_t)s.width * s.height * Ch);
  std::vector<Kvp8u> rowBuf(rb), colBuf(cb);
  Strips<Kvp8u, Kvp16s> f(s.width, s.height, Ch, 3);
  const Kvp8u values[3] = {0, 0, 0};
  const int srcStep = s.width * Ch, dstStep = s.width * Ch * 2;
  for (auto _ : st) {
    f.each(
        src.data(),
        [&](const Kvp8u* p, int n) {
          if (Ch == 1)
            kvpiFilterRowBorderPipeline_8u16s_C1R(p, srcStep, f.rowPtrs.data(), {s.width, n}, kDeriv3, 3, 1,
                                                  1, 0, 1, rowBuf.data());
          else
            kvpiFilterRowBorderPipeline_8u16s_C3R(p, srcStep, f.rowPtrs.data(), {s.width, n}, kDeriv3, 3, 1,
                                                  1, values, 1, rowBuf.data());
        },
        [&](int y0, int n) {
          Kvp16s* d = dst.data() + (size_t)y0 * s.width * Ch;
          if (Ch == 1)
            kvpiFilterColumnPipeline_16s_C1R(f.colPtrs.data(), d, dstStep, {s.width, n}, kTaps3, 3, 1,
                                             colBuf.data());
          else
            kvpiFilterColumnPipeline_16s_C3R(f.colPtrs.data(), d, dstStep, {s.width, n}, kTaps3, 3, 1,
                                             colBuf.data());
        });
    benchmark::DoNotOptimize(dst.data());
  }
  kvpb::setBytes(st, s.pixels() * Ch * 3);
}

template <int Ch>
void BM_SepStrips_32f_k5_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const KvpiSize strip{s.width, kStrip + 4};
  int rb = 0, cb = 0;
  if (Ch == 1) {
    kvpiFilterRowBorderPipelineGetBufferSize_32f_C1R(strip, 5, &rb);
    kvpiFilterColumnPipelineGetBufferSize_32f_C1R(strip, 5, &cb);
  } else {
    kvpiFilterRowBorderPipelineGetBufferSize_32f_C3R(strip, 5, &rb);
    kvpiFilterColumnPipelineGetBufferSize_32f_C3R(strip, 5, &cb);
  }
  const auto src = kvpb::randomPlane<Kvp32f>(s.width, s.height, Ch);
  std::vector<Kvp32f> dst((size_t)s.width * s.height * Ch);
  std::vector<Kvp8u> rowBuf(rb), colBuf(cb);
  Strips<Kvp32f, Kvp32f> f(s.width, s.height, Ch, 5);
  const Kvp32f values[3] = {0, 0, 0};
  const int step = s.width * Ch * 4;
  for (auto _ : st) {
    f.each(
        src.data(),
        [&](const Kvp32f* p, int n) {
          if (Ch == 1)
            kvpiFilterRowBorderPipeline_32f_C1R(p, step, f.rowPtrs.data(), {s.width, n}, kTaps5f, 5, 2, 1,
                                                0.f, rowBuf.data());
          else
            kvpiFilterRowBorderPipeline_32f_C3R(p, step, f.rowPtrs.data(), {s.width, n}, kTaps5f, 5, 2, 1,
                                                values, rowBuf.data());
        },
        [&](int y0, int n) {
          Kvp32f* d = dst.data() + (size_t)y0 * s.width * Ch;
          if (Ch == 1)
            kvpiFilterColumnPipeline_32f_C1R(f.colPtrs.data(), d, step, {s.width, n}, kTaps5f, 5,
                                             colBuf.data());
          else
            kvpiFilterColumnPipeline_32f_C3R(f.colPtrs.data(), d, step, {s.width, n}, kTaps5f, 5,
                                             colBuf.data());
        });
    benchmark::DoNotOptimize(dst.data());
  }
  kvpb::setBytes(st, s.pixels() * Ch * 8);
}

void BM_SepStrips_8u16s_k3_C1_kvp(benchmark::State& st) { BM_SepStrips_8u16s_k3_kvp<1>(st); }
void BM_SepStrips_8u16s_k3_C3_kvp(benchmark::State& st) { BM_SepStrips_8u16s_k3_kvp<3>(st); }
void BM_SepStrips_32f_k5_C1_kvp(benchmark::State& st) { BM_SepStrips_32f_k5_kvp<1>(st); }
void BM_SepStrips_32f_k5_C3_kvp(benchmark::State& st) { BM_SepStrips_32f_k5_kvp<3>(st); }
KVP_BENCH(BM_SepStrips_8u16s_k3_C1_kvp);
KVP_BENCH(BM_SepStrips_8u16s_k3_C3_kvp);
KVP_BENCH(BM_SepStrips_32f_k5_C1_kvp);
KVP_BENCH(BM_SepStrips_32f_k5_C3_kvp);

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
// OpenCV on the same strips: each strip a view of the source and of the
// destination, the rows around it read as its border.
template <class T, int Ch, int K>
void sepStripsOcv(benchmark::State& st, int depth, const float* rowK, const float* colK) {
  kvpb::Setup s(st);
  auto data = kvpb::randomPlane<T>(s.width, s.height, Ch);
  cv::Mat src(s.height, s.width, CV_MAKETYPE(cv::DataType<T>::depth, Ch), data.data());
  cv::Mat dst(s.height, s.width, CV_MAKETYPE(depth, Ch));
  cv::Mat kx(1, K, CV_32F, (void*)rowK), ky(1, K, CV_32F, (void*)colK);
  for (auto _ : st) {
    for (int y0 = 0; y0 < s.height; y0 += kStrip) {
      const cv::Range r(y0, std::min(s.height, y0 + kStrip));
      cv::Mat out = dst.rowRange(r);
      cv::sepFilter2D(src.rowRange(r), out, depth, kx, ky, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    }
    benchmark::DoNotOptimize(dst.data);
  }
  kvpb::setBytes(st, s.pixels() * Ch * (sizeof(T) == 1 ? 3 : 8));
}

const float kDeriv3f[3] = {-1, 0, 1};
const float kTaps3f[3] = {1, 2, 1};
void BM_SepStrips_8u16s_k3_C1_ocv(benchmark::State& st) {
  sepStripsOcv<Kvp8u, 1, 3>(st, CV_16S, kDeriv3f, kTaps3f);
}
void BM_SepStrips_8u16s_k3_C3_ocv(benchmark::State& st) {
  sepStripsOcv<Kvp8u, 3, 3>(st, CV_16S, kDeriv3f, kTaps3f);
}
void BM_SepStrips_32f_k5_C1_ocv(benchmark::State& st) {
  sepStripsOcv<Kvp32f, 1, 5>(st, CV_32F, kTaps5f, kTaps5f);
}
void BM_SepStrips_32f_k5_C3_ocv(benchmark::State& st) {
  sepStripsOcv<Kvp32f, 3, 5>(st, CV_32F, kTaps5f, kTaps5f);
}
KVP_BENCH(BM_SepStrips_8u16s_k3_C1_ocv);
KVP_BENCH(BM_SepStrips_8u16s_k3_C3_ocv);
KVP_BENCH(BM_SepStrips_32f_k5_C1_ocv);
KVP_BENCH(BM_SepStrips_32f_k5_C3_ocv);
#endif

}  // namespace

// Edges and corners beside the OpenCV peers: Canny (one call from an 8-bit
// image and from 16-bit derivatives), minimum eigenvalue, eigenpairs,
// Harris and the arctangent, on the bundled photograph scaled to the frame
// size (a real scene, so that edge counts are typical).
#include <cmath>

#include "bench_photo.h"
#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

// The photograph scaled bilinearly to w x h.
std::vector<Kvp8u> scene(int w, int h) {
  int pw = 0, ph = 0;
  const std::vector<Kvp8u> p = kvpb::photo(pw, ph);
  std::vector<Kvp8u> o((size_t)w * h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const double fx = (x + 0.5) * pw / w - 0.5, fy = (y + 0.5) * ph / h - 0.5;
      const int x0 = std::max(0, (int)fx), y0 = std::max(0, (int)fy);
      const int x1 = std::min(pw - 1, x0 + 1), y1 = std::min(ph - 1, y0 + 1);
      const double ax = std::clamp(fx - x0, 0.0, 1.0), ay = std::clamp(fy - y0, 0.0, 1.0);
      const double v = (1 - ay) * ((1 - ax) * p[(size_t)y0 * pw + x0] + ax * p[(size_t)y0 * pw + x1]) +
                       ay * ((1 - ax) * p[(size_t)y1 * pw + x0] + ax * p[(size_t)y1 * pw + x1]);
      o[(size_t)y * w + x] = (Kvp8u)std::lround(v);
    }
  return o;
}

struct Data {
  kvpb::Setup s;
  std::vector<Kvp8u> img, out8;
  std::vector<Kvp16s> dx, dy;
  std::vector<Kvp32f> f, out32, y32, x32;
  std::vector<Kvp8u> buf;
  explicit Data(const benchmark::State& st) : s(st), img(scene(s.width, s.height)), out8(img.size()) {
    const size_t n = img.size();
    dx.resize(n);
    dy.resize(n);
    f.resize(n);
    out32.resize(n * 6);
    for (size_t i = 0; i < n; ++i) f[i] = img[i] * (1.0f / 255);
    kvpiFilterSobelVertBorder_8u16s_C1R(img.data(), s.width, dx.data(), 2 * s.width, s.size(), kvpMskSize3x3,
                                        kvpBorderRepl, 0, nullptr);
    kvpiFilterSobelHorizBorder_8u16s_C1R(img.data(), s.width, dy.data(), 2 * s.width, s.size(), kvpMskSize3x3,
                                         kvpBorderRepl, 0, nullptr);
    y32.resize(n);
    x32.resize(n);
    for (size_t i = 0; i < n; ++i) y32[i] = dy[i], x32[i] = dx[i];
  }
  void buffer(int bytes) { buf.assign(bytes, 0); }
};

constexpr float kLow = 60, kHigh = 160;

void BM_CannyBorder_L2_3x3_kvp(benchmark::State& st) {
  Data d(st);
  int size = 0;
  kvpiCannyBorderGetSize(d.s.size(), kvpFilterSobel, kvpMskSize3x3, &size);
  d.buffer(size);
  for (auto _ : st)
    kvpiCannyBorder_8u_C1R(d.img.data(), d.s.width, d.out8.data(), d.s.width, d.s.size(), kvpFilterSobel,
                           kvpMskSize3x3, kvpBorderRepl, 0, kLow, kHigh, kvpiNormL2, d.buf.data());
  kvpb::setBytes(st, d.s.pixels() * 2);
}
KVP_BENCH(BM_CannyBorder_L2_3x3_kvp);

void BM_CannyBorder_L1_3x3_kvp(benchmark::State& st) {
  Data d(st);
  int size = 0;
  kvpiCannyBorderGetSize(d.s.size(), kvpFilterSobel, kvpMskSize3x3, &size);
  d.buffer(size);
  for (auto _ : st)
    kvpiCannyBorder_8u_C1R(d.img.data(), d.s.width, d.out8.data(), d.s.width, d.s.size(), kvpFilterSobel,
                           kvpMskSize3x3, kvpBorderRepl, 0, kLow, kHigh, kvpiNormL1, d.buf.data());
  kvpb::setBytes(st, d.s.pixels() * 2);
}
KVP_BENCH(BM_CannyBorder_L1_3x3_kvp);

void BM_Canny_16s_kvp(benchmark::State& st) {
  Data d(st);
  int size = 0;
  kvpiCannyGetSize(d.s.size(), &size);
  d.buffer(size);
  for (auto _ : st)
    kvpiCanny_16s8u_C1R(d.dx.data(), 2 * d.s.width, d.dy.data(), 2 * d.s.width, d.out8.data(), d.s.width,
                        d.s.size(), kLow, kHigh, d.buf.data());
  kvpb::setBytes(st, d.s.pixels() * 5);
}
KVP_BENCH(BM_Canny_16s_kvp);

#define KVP_TENSOR_BENCH(NAME, QUERY, CALL, B, SRC, STEP, CH) \
  void BM_##NAME##_kvp(benchmark::State& st) {                \
    Data d(st);                                               \
    int size = 0;                                             \
    QUERY(d.s.size(), kvpFilterSobel, 3, B, &size);           \
    d.buffer(size);                                           \
    for (auto _ : st) CALL;                                   \
    kvpb::setBytes(st, d.s.pixels() * (STEP + 4 * CH));       \
  }                                                           \
  KVP_BENCH(BM_##NAME##_kvp);

KVP_TENSOR_BENCH(MinEigenVal_8u32f_B3, kvpiMinEigenValGetBufferSize_8u32f_C1R,
                 kvpiMinEigenVal_8u32f_C1R(d.img.data(), d.s.width, d.out32.data(), 4 * d.s.width, d.s.size(),
                                           kvpFilterSobel, 3, 3, d.buf.data()),
                 3, img, 1, 1)
KVP_TENSOR_BENCH(MinEigenVal_8u32f_B5, kvpiMinEigenValGetBufferSize_8u32f_C1R,
                 kvpiMinEigenVal_8u32f_C1R(d.img.data(), d.s.width, d.out32.data(), 4 * d.s.width, d.s.size(),
                                           kvpFilterSobel, 3, 5, d.buf.data()),
                 5, img, 1, 1)
KVP_TENSOR_BENCH(MinEigenVal_32f_B3, kvpiMinEigenValGetBufferSize_32f_C1R,
                 kvpiMinEigenVal_32f_C1R(d.f.data(), 4 * d.s.width, d.out32.data(), 4 * d.s.width, d.s.size(),
                                         kvpFilterSobel, 3, 3, d.buf.data()),
                 3, f, 4, 1)
KVP_TENSOR_BENCH(EigenValsVecs_8u32f_B3, kvpiEigenValsVecsGetBufferSize_8u32f_C1R,
                 kvpiEigenValsVecs_8u32f_C1R(d.img.data(), d.s.width, d.out32.data(), 24 * d.s.width,
                                             d.s.size(), kvpFilterSobel, 3, 3, d.buf.data()),
                 3, img, 1, 6)
KVP_TENSOR_BENCH(HarrisCorner_8u32f_B3, kvpiHarrisCornerGetBufferSize_8u32f_C1R,
                 kvpiHarrisCorner_8u32f_C1R(d.img.data(), d.s.width, d.out32.data(), 4 * d.s.width,
                                            d.s.size(), kvpFilterSobel, 3, 3, 0.04f, 1.0f, d.buf.data()),
                 3, img, 1, 1)
KVP_TENSOR_BENCH(HarrisCorner_32f_B5, kvpiHarrisCornerGetBufferSize_32f_C1R,
                 kvpiHarrisCorner_32f_C1R(d.f.data(), 4 * d.s.width, d.out32.data(), 4 * d.s.width,
                                          d.s.size(), kvpFilterSobel, 3, 5, 0.04f, 1.0f, d.buf.data()),
                 5, f, 4, 1)

void BM_FastArctan_kvp(benchmark::State& st) {
  Data d(st);
  for (auto _ : st) kvpibFastArctan_32f(d.y32.data(), d.x32.data(), d.out32.data(), (int)d.s.pixels());
  kvpb::setBytes(st, d.s.pixels() * 12);
}
KVP_BENCH(BM_FastArctan_kvp);

#ifdef KVP_HAVE_OPENCV
struct CvData {
  Data d;
  cv::Mat img, f, dx, dy, out, y32, x32;
  explicit CvData(const benchmark::State& st) : d(st) {
    img = cv::Mat(d.s.height, d.s.width, CV_8UC1, d.img.data());
    f = cv::Mat(d.s.height, d.s.width, CV_32FC1, d.f.data());
    dx = cv::Mat(d.s.height, d.s.width, CV_16SC1, d.dx.data());
    dy = cv::Mat(d.s.height, d.s.width, CV_16SC1, d.dy.data());
    y32 = cv::Mat(d.s.height, d.s.width, CV_32FC1, d.y32.data());
    x32 = cv::Mat(d.s.height, d.s.width, CV_32FC1, d.x32.data());
  }
};

void BM_CannyBorder_L2_3x3_ocv(benchmark::State& st) {
  CvData c(st);
  for (auto _ : st) cv::Canny(c.img, c.out, kLow, kHigh, 3, true);
  kvpb::setBytes(st, c.d.s.pixels() * 2);
}
KVP_BENCH(BM_CannyBorder_L2_3x3_ocv);

void BM_CannyBorder_L1_3x3_ocv(benchmark::State& st) {
  CvData c(st);
  for (auto _ : st) cv::Canny(c.img, c.out, kLow, kHigh, 3, false);
  kvpb::setBytes(st, c.d.s.pixels() * 2);
}
KVP_BENCH(BM_CannyBorder_L1_3x3_ocv);

void BM_Canny_16s_ocv(benchmark::State& st) {
  CvData c(st);
  for (auto _ : st) cv::Canny(c.dx, c.dy, c.out, kLow, kHigh, true);
  kvpb::setBytes(st, c.d.s.pixels() * 5);
}
KVP_BENCH(BM_Canny_16s_ocv);

#define KVP_TENSOR_OCV(NAME, CALL, STEP, CH)              \
  void BM_##NAME##_ocv(benchmark::State& st) {            \
    CvData c(st);                                         \
    for (auto _ : st) CALL;                               \
    kvpb::setBytes(st, c.d.s.pixels() * (STEP + 4 * CH)); \
  }                                                       \
  KVP_BENCH(BM_##NAME##_ocv);

KVP_TENSOR_OCV(MinEigenVal_8u32f_B3, cv::cornerMinEigenVal(c.img, c.out, 3, 3, cv::BORDER_REPLICATE), 1, 1)
KVP_TENSOR_OCV(MinEigenVal_8u32f_B5, cv::cornerMinEigenVal(c.img, c.out, 5, 3, cv::BORDER_REPLICATE), 1, 1)
KVP_TENSOR_OCV(MinEigenVal_32f_B3, cv::cornerMinEigenVal(c.f, c.out, 3, 3, cv::BORDER_REPLICATE), 4, 1)
KVP_TENSOR_OCV(EigenValsVecs_8u32f_B3, cv::cornerEigenValsAndVecs(c.img, c.out, 3, 3, cv::BORDER_REPLICATE),
               1, 6)
KVP_TENSOR_OCV(HarrisCorner_8u32f_B3, cv::cornerHarris(c.img, c.out, 3, 3, 0.04, cv::BORDER_REPLICATE), 1, 1)
KVP_TENSOR_OCV(HarrisCorner_32f_B5, cv::cornerHarris(c.f, c.out, 5, 3, 0.04, cv::BORDER_REPLICATE), 4, 1)

void BM_FastArctan_ocv(benchmark::State& st) {
  CvData c(st);
  for (auto _ : st) cv::phase(c.x32, c.y32, c.out, true);
  kvpb::setBytes(st, c.d.s.pixels() * 12);
}
KVP_BENCH(BM_FastArctan_ocv);
#endif

}  // namespace

// Accumulation and absolute difference beside OpenCV and beside a memcpy of
// the bytes each kernel reads.
#include <algorithm>
#include <cstring>

#include "bench_photo.h"
#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

// The masked rows' mask: the coins photograph stretched (bilinear) to the
// benchmark size and thresholded at its Otsu level, so that about 39 % of
// the pixels are set in long runs broken at irregular places, as in a real
// foreground mask (1 where brighter than the level, else 0).
std::vector<Kvp8u> photoMask(int width, int height) {
  int w = 0, h = 0;
  const std::vector<Kvp8u> g = kvpb::photo(w, h, "coins.png");
  std::vector<Kvp8u> big((size_t)width * height);
  for (int y = 0; y < height; ++y) {
    const float fy = std::max(0.f, (y + 0.5f) * h / height - 0.5f);
    const int y0 = std::min(h - 2, (int)fy);
    const float ay = std::min(1.f, fy - y0);
    for (int x = 0; x < width; ++x) {
      const float fx = std::max(0.f, (x + 0.5f) * w / width - 0.5f);
      const int x0 = std::min(w - 2, (int)fx);
      const float ax = std::min(1.f, fx - x0);
      const Kvp8u* p = &g[(size_t)y0 * w + x0];
      big[(size_t)y * width + x] =
          (Kvp8u)((1 - ay) * ((1 - ax) * p[0] + ax * p[1]) + ay * ((1 - ax) * p[w] + ax * p[w + 1]) + 0.5f);
    }
  }
  double hist[256] = {};
  for (Kvp8u v : big) hist[v] += 1;
  double total = 0, sum = 0;
  for (int i = 0; i < 256; ++i) total += hist[i], sum += i * hist[i];
  double w0 = 0, sum0 = 0, best = -1;
  int level = 0;
  for (int t = 0; t < 256; ++t) {
    w0 += hist[t];
    sum0 += t * hist[t];
    if (w0 == 0 || w0 == total) continue;
    const double m0 = sum0 / w0, m1 = (sum - sum0) / (total - w0);
    const double between = w0 * (total - w0) * (m0 - m1) * (m0 - m1);
    if (between > best) best = between, level = t;
  }
  for (Kvp8u& v : big) v = v > level ? 1 : 0;
  return big;
}

struct AccData {
  kvpb::Setup s;
  std::vector<Kvp8u> a, b, mask;
  std::vector<Kvp32f> acc;
  explicit AccData(const benchmark::State& st)
      : s(st),
        a(kvpb::randomPlane<Kvp8u>(s.width, s.height)),
        b(kvpb::randomPlane<Kvp8u>(s.width, s.height, 1, 0, 255, 2)),
        mask(photoMask(s.width, s.height)),
        acc((size_t)s.width * s.height, 0.f) {}
  int accStep() const { return s.width * 4; }
};

// Bytes read per pixel by each kernel (sources, mask, accumulator).
constexpr long long kAddBytes = 1 + 4, kAddMaskedBytes = 1 + 1 + 4, kProductBytes = 1 + 1 + 4;

#define KVP_ACC_BENCH(NAME, BYTES, CALL)              \
  void BM_##NAME##_kvp(benchmark::State& st) {        \
    AccData d(st);                                    \
    const KvpiSize roi = d.s.size();                  \
    for (auto _ : st) benchmark::DoNotOptimize(CALL); \
    kvpb::setBytes(st, d.s.pixels() * (BYTES));       \
  }                                                   \
  KVP_BENCH(BM_##NAME##_kvp);

KVP_ACC_BENCH(Add_8u32f, kAddBytes, kvpiAdd_8u32f_C1IR(d.a.data(), d.s.width, d.acc.data(), d.accStep(), roi))
KVP_ACC_BENCH(Add_8u32f_Masked, kAddMaskedBytes,
              kvpiAdd_8u32f_C1IMR(d.a.data(), d.s.width, d.mask.data(), d.s.width, d.acc.data(), d.accStep(),
                                  roi))
KVP_ACC_BENCH(AddSquare_8u32f, kAddBytes,
              kvpiAddSquare_8u32f_C1IR(d.a.data(), d.s.width, d.acc.data(), d.accStep(), roi))
KVP_ACC_BENCH(AddSquare_8u32f_Masked, kAddMaskedBytes,
              kvpiAddSquare_8u32f_C1IMR(d.a.data(), d.s.width, d.mask.data(), d.s.width, d.acc.data(),
                                        d.accStep(), roi))
KVP_ACC_BENCH(AddProduct_8u32f, kProductBytes,
              kvpiAddProduct_8u32f_C1IR(d.a.data(), d.s.width, d.b.data(), d.s.width, d.acc.data(),
                                        d.accStep(), roi))
KVP_ACC_BENCH(AddProduct_8u32f_Masked, kProductBytes + 1,
              kvpiAddProduct_8u32f_C1IMR(d.a.data(), d.s.width, d.b.data(), d.s.width, d.mask.data(),
                                         d.s.width, d.acc.data(), d.accStep(), roi))
KVP_ACC_BENCH(AddWeighted_8u32f, kAddBytes,
              kvpiAddWeighted_8u32f_C1IR(d.a.data(), d.s.width, d.acc.data(), d.accStep(), roi, 0.1f))
KVP_ACC_BENCH(AddWeighted_8u32f_Masked, kAddMaskedBytes,
              kvpiAddWeighted_8u32f_C1IMR(d.a.data(), d.s.width, d.mask.data(), d.s.width, d.acc.data(),
                                          d.accStep(), roi, 0.1f))

template <int Channels>
void BM_AbsDiff_8u_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  auto a = kvpb::randomPlane<Kvp8u>(s.width, s.height, Channels),
       b = kvpb::randomPlane<Kvp8u>(s.width, s.height, Channels, 0, 255, 2);
  std::vector<Kvp8u> d(a.size());
  const int step = s.width * Channels;
  for (auto _ : st)
    benchmark::DoNotOptimize(
        Channels == 1 ? kvpiAbsDiff_8u_C1R(a.data(), step, b.data(), step, d.data(), step, s.size())
                      : kvpiAbsDiff_8u_C3R(a.data(), step, b.data(), step, d.data(), step, s.size()));
  kvpb::setBytes(st, s.pixels() * Channels * 2);
}
KVP_BENCH(BM_AbsDiff_8u_kvp<1>);
KVP_BENCH(BM_AbsDiff_8u_kvp<3>);

void BM_AbsDiff_32f_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  auto a = kvpb::randomPlane<Kvp32f>(s.width, s.height),
       b = kvpb::randomPlane<Kvp32f>(s.width, s.height, 1, 0, 255, 2);
  std::vector<Kvp32f> d(a.size());
  for (auto _ : st)
    benchmark::DoNotOptimize(
        kvpiAbsDiff_32f_C1R(a.data(), s.width * 4, b.data(), s.width * 4, d.data(), s.width * 4, s.size()));
  kvpb::setBytes(st, s.pixels() * 8);
}
KVP_BENCH(BM_AbsDiff_32f_kvp);

// The streaming reference: a one-thread memcpy of `arg(3)` bytes per pixel,
// the bytes each kernel above reads.
void BM_Memcpy(benchmark::State& st) {
  const long long bytes = st.range(0) * st.range(1) * st.range(2);
  std::vector<char> src(bytes, 1), dst(bytes);
  for (auto _ : st) {
    std::memcpy(dst.data(), src.data(), bytes);
    benchmark::ClobberMemory();
  }
  kvpb::setBytes(st, bytes);
}
BENCHMARK(BM_Memcpy)
    ->ArgNames({"w", "h", "bytes/px"})
    ->Args({1920, 1080, 2})
    ->Args({1920, 1080, 5})
    ->Args({1920, 1080, 6})
    ->Args({1920, 1080, 8})
    ->Args({3840, 2160, 2})
    ->Args({3840, 2160, 5})
    ->Args({3840, 2160, 6})
    ->Args({3840, 2160, 8})
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

#ifdef KVP_HAVE_OPENCV
struct CvAcc {
  kvpb::Setup s;
  std::vector<Kvp8u> maskData;
  cv::Mat a, b, mask, acc;
  explicit CvAcc(const benchmark::State& st) : s(st), maskData(photoMask(s.width, s.height)) {
    a = cv::Mat(s.height, s.width, CV_8UC1);
    b = cv::Mat(s.height, s.width, CV_8UC1);
    mask = cv::Mat(s.height, s.width, CV_8UC1, maskData.data());
    cv::randu(a, 0, 256);
    cv::randu(b, 0, 256);
    acc = cv::Mat::zeros(s.height, s.width, CV_32FC1);
  }
};

#define KVP_OCV_BENCH(NAME, BYTES, CALL)        \
  void BM_##NAME##_ocv(benchmark::State& st) {  \
    CvAcc d(st);                                \
    for (auto _ : st) CALL;                     \
    kvpb::setBytes(st, d.s.pixels() * (BYTES)); \
  }                                             \
  KVP_BENCH(BM_##NAME##_ocv);

KVP_OCV_BENCH(Add_8u32f, kAddBytes, cv::accumulate(d.a, d.acc))
KVP_OCV_BENCH(Add_8u32f_Masked, kAddMaskedBytes, cv::accumulate(d.a, d.acc, d.mask))
KVP_OCV_BENCH(AddSquare_8u32f, kAddBytes, cv::accumulateSquare(d.a, d.acc))
KVP_OCV_BENCH(AddSquare_8u32f_Masked, kAddMaskedBytes, cv::accumulateSquare(d.a, d.acc, d.mask))
KVP_OCV_BENCH(AddProduct_8u32f, kProductBytes, cv::accumulateProduct(d.a, d.b, d.acc))
KVP_OCV_BENCH(AddProduct_8u32f_Masked, kProductBytes + 1, cv::accumulateProduct(d.a, d.b, d.acc, d.mask))
KVP_OCV_BENCH(AddWeighted_8u32f, kAddBytes, cv::accumulateWeighted(d.a, d.acc, 0.1))
KVP_OCV_BENCH(AddWeighted_8u32f_Masked, kAddMaskedBytes, cv::accumulateWeighted(d.a, d.acc, 0.1, d.mask))

template <int Channels>
void BM_AbsDiff_8u_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  cv::Mat a(s.height, s.width, CV_8UC(Channels)), b(s.height, s.width, CV_8UC(Channels)), d;
  cv::randu(a, 0, 256);
  cv::randu(b, 0, 256);
  d.create(s.height, s.width, CV_8UC(Channels));
  for (auto _ : st) cv::absdiff(a, b, d);
  kvpb::setBytes(st, s.pixels() * Channels * 2);
}
KVP_BENCH(BM_AbsDiff_8u_ocv<1>);
KVP_BENCH(BM_AbsDiff_8u_ocv<3>);

void BM_AbsDiff_32f_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  cv::Mat a(s.height, s.width, CV_32FC1), b(s.height, s.width, CV_32FC1), d(s.height, s.width, CV_32FC1);
  cv::randu(a, 0, 256);
  cv::randu(b, 0, 256);
  for (auto _ : st) cv::absdiff(a, b, d);
  kvpb::setBytes(st, s.pixels() * 8);
}
KVP_BENCH(BM_AbsDiff_32f_ocv);
#endif

}  // namespace

// Undistortion, sub-pixel copies and line sampling beside their OpenCV
// counterparts: cv::undistort and cv::initUndistortRectifyMap (no new
// camera matrix, CV_32FC1 maps), cv::getRectSubPix, and a cv::LineIterator
// loop.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

// One lens for every undistortion row: mild barrel distortion about the
// centre, focal length 0.9 x width.
struct Lens {
  float fx, fy, cx, cy, k1, k2, p1, p2;
  explicit Lens(const kvpb::Setup& s)
      : fx(0.9f * (float)s.width),
        fy(0.9f * (float)s.width),
        cx(0.5f * (float)s.width - 0.5f),
        cy(0.5f * (float)s.height - 0.5f),
        k1(-0.2f),
        k2(0.05f),
        p1(1e-3f),
        p2(-5e-4f) {}
};

template <class T, int C>
KvpStatus undistort(const T* s, int ss, T* d, int ds, KvpiSize r, const Lens& L, Kvp8u* b) {
  if constexpr (sizeof(T) == 1)
    return C == 1 ? kvpiUndistortRadial_8u_C1R(s, ss, d, ds, r, L.fx, L.fy, L.cx, L.cy, L.k1, L.k2, b)
                  : kvpiUndistortRadial_8u_C3R(s, ss, d, ds, r, L.fx, L.fy, L.cx, L.cy, L.k1, L.k2, b);
  else if constexpr (sizeof(T) == 2)
    return kvpiUndistortRadial_16u_C1R(s, ss, d, ds, r, L.fx, L.fy, L.cx, L.cy, L.k1, L.k2, b);
  else
    return C == 1 ? kvpiUndistortRadial_32f_C1R(s, ss, d, ds, r, L.fx, L.fy, L.cx, L.cy, L.k1, L.k2, b)
                  : kvpiUndistortRadial_32f_C3R(s, ss, d, ds, r, L.fx, L.fy, L.cx, L.cy, L.k1, L.k2, b);
}

template <class T, int C>
void undistortKvp(benchmark::State& st) {
  const kvpb::Setup s(st);
  const Lens L(s);
  const std::vector<T> src = kvpb::randomPlane<T>(s.width, s.height, C);
  std::vector<T> dst(src.size());
  int bytes = 0;
  kvpiUndistortGetSize(s.size(), &bytes);
  std::vector<Kvp8u> buf((size_t)bytes);
  const int step = s.width * C * (int)sizeof(T);
  for (auto _ : st) {
    benchmark::DoNotOptimize(undistort<T, C>(src.data(), step, dst.data(), step, s.size(), L, buf.data()));
    benchmark::ClobberMemory();
  }
  kvpb::setBytes(st, 2 * s.pixels() * C * (long long)sizeof(T));
}

void BM_UndistortRadial_8u_C1_kvp(benchmark::State& st) { undistortKvp<Kvp8u, 1>(st); }
void BM_UndistortRadial_8u_C3_kvp(benchmark::State& st) { undistortKvp<Kvp8u, 3>(st); }
void BM_UndistortRadial_32f_C1_kvp(benchmark::State& st) { undistortKvp<Kvp32f, 1>(st); }

void BM_CreateMapCameraUndistort_kvp(benchmark::State& st) {
  const kvpb::Setup s(st);
  const Lens L(s);
  std::vector<float> mx((size_t)s.pixels()), my((size_t)s.pixels());
  int bytes = 0;
  kvpiUndistortGetSize(s.size(), &bytes);
  std::vector<Kvp8u> buf((size_t)bytes);
  for (auto _ : st) {
    benchmark::DoNotOptimize(kvpiCreateMapCameraUndistort_32f_C1R(mx.data(), 4 * s.width, my.data(),
                                                                  4 * s.width, s.size(), L.fx, L.fy, L.cx,
                                                                  L.cy, L.k1, L.k2, L.p1, L.p2, buf.data()));
    benchmark::ClobberMemory();
  }
  kvpb::setBytes(st, 8 * s.pixels());
}

// Shift by (0.3, 0.7) of a pixel; the source has the extra column and row.
template <class T>
void subpixKvp(benchmark::State& st) {
  const kvpb::Setup s(st);
  const std::vector<T> src = kvpb::randomPlane<T>(s.width + 1, s.height + 1);
  std::vector<T> dst((size_t)s.pixels());
  const int ss = (s.width + 1) * (int)sizeof(T), ds = s.width * (int)sizeof(T);
  for (auto _ : st) {
    if constexpr (sizeof(T) == 1)
      benchmark::DoNotOptimize(kvpiCopySubpix_8u_C1R(src.data(), ss, dst.data(), ds, s.size(), 0.3f, 0.7f));
    else
      benchmark::DoNotOptimize(kvpiCopySubpix_32f_C1R(src.data(), ss, dst.data(), ds, s.size(), 0.3f, 0.7f));
    benchmark::ClobberMemory();
  }
  kvpb::setBytes(st, 2 * s.pixels() * (long long)sizeof(T));
}
void BM_CopySubpix_8u_kvp(benchmark::State& st) { subpixKvp<Kvp8u>(st); }
void BM_CopySubpix_32f_kvp(benchmark::State& st) { subpixKvp<Kvp32f>(st); }

// A window of the source's size centred a fraction off the source's
// centre: all but a one-pixel frame reads no replicated sample.
template <class T>
void intersectKvp(benchmark::State& st) {
  const kvpb::Setup s(st);
  const std::vector<T> src = kvpb::randomPlane<T>(s.width, s.height);
  std::vector<T> dst((size_t)s.pixels());
  const int step = s.width * (int)sizeof(T);
  const KvpiPoint_32f c{0.5f * (float)s.width + 0.3f, 0.5f * (float)s.height - 0.2f};
  KvpiPoint lo, hi;
  for (auto _ : st) {
    if constexpr (sizeof(T) == 1)
      benchmark::DoNotOptimize(kvpiCopySubpixIntersect_8u_C1R(src.data(), step, s.size(), dst.data(), step,
                                                              s.size(), c, &lo, &hi));
    else
      benchmark::DoNotOptimize(kvpiCopySubpixIntersect_32f_C1R(src.data(), step, s.size(), dst.data(), step,
                                                               s.size(), c, &lo, &hi));
    benchmark::ClobberMemory();
  }
  kvpb::setBytes(st, 2 * s.pixels() * (long long)sizeof(T));
}
void BM_CopySubpixIntersect_8u_kvp(benchmark::State& st) { intersectKvp<Kvp8u>(st); }
void BM_CopySubpixIntersect_32f_kvp(benchmark::State& st) { intersectKvp<Kvp32f>(st); }

// Lines across the image: from every 8th row of the left edge to the
// mirrored row of the right edge, and from every 8th column of the top edge
// to the mirrored column of the bottom edge.
struct Lines {
  std::vector<KvpiPoint> a, b;
  long long pixels = 0;
  explicit Lines(const kvpb::Setup& s) {
    for (int y = 0; y < s.height; y += 8) {
      a.push_back({0, y});
      b.push_back({s.width - 1, s.height - 1 - y});
    }
    for (int x = 0; x < s.width; x += 8) {
      a.push_back({x, 0});
      b.push_back({s.width - 1 - x, s.height - 1});
    }
    for (size_t i = 0; i < a.size(); ++i)
      pixels += std::max(std::abs(b[i].x - a[i].x), std::abs(b[i].y - a[i].y)) + 1;
  }
};

void BM_SampleLine_8u_C1_kvp(benchmark::State& st) {
  const kvpb::Setup s(st);
  const Lines L(s);
  const std::vector<Kvp8u> src = kvpb::randomPlane<Kvp8u>(s.width, s.height);
  std::vector<Kvp8u> out((size_t)std::max(s.width, s.height));
  for (auto _ : st) {
    for (size_t i = 0; i < L.a.size(); ++i)
      benchmark::DoNotOptimize(
          kvpiSampleLine_8u_C1R(src.data(), s.width, s.size(), out.data(), L.a[i], L.b[i]));
    benchmark::ClobberMemory();
  }
  st.counters["px"] = (double)L.pixels;
}

#ifdef KVP_HAVE_OPENCV
cv::Mat cameraMatrix(const Lens& L) {
  return (cv::Mat_<double>(3, 3) << L.fx, 0, L.cx, 0, L.fy, L.cy, 0, 0, 1);
}

template <int Type>
void undistortOcv(benchmark::State& st) {
  const kvpb::Setup s(st);
  const Lens L(s);
  cv::Mat src(s.height, s.width, Type), dst;
  cv::randu(src, 0, 256);
  const cv::Mat K = cameraMatrix(L);
  const cv::Mat dist = (cv::Mat_<double>(1, 4) << L.k1, L.k2, 0, 0);
  for (auto _ : st) {
    cv::undistort(src, dst, K, dist, cv::noArray());
    benchmark::ClobberMemory();
  }
  kvpb::setBytes(st, 2 * s.pixels() * (long long)src.elemSize());
}
void BM_UndistortRadial_8u_C1_ocv(benchmark::State& st) { undistortOcv<CV_8UC1>(st); }
void BM_UndistortRadial_8u_C3_ocv(benchmark::State& st) { undistortOcv<CV_8UC3>(st); }
void BM_UndistortRadial_32f_C1_ocv(benchmark::State& st) { undistortOcv<CV_32FC1>(st); }

void BM_CreateMapCameraUndistort_ocv(benchmark::State& st) {
  const kvpb::Setup s(st);
  const Lens L(s);
  const cv::Mat K = cameraMatrix(L);
  const cv::Mat dist = (cv::Mat_<double>(1, 4) << L.k1, L.k2, L.p1, L.p2);
  cv::Mat mx, my;
  for (auto _ : st) {
    cv::initUndistortRectifyMap(K, dist, cv::noArray(), K, cv::Size(s.width, s.height), CV_32FC1, mx, my);
    benchmark::ClobberMemory();
  }
  kvpb::setBytes(st, 8 * s.pixels());
}

template <int Type>
void subpixOcv(benchmark::State& st) {
  const kvpb::Setup s(st);
  cv::Mat src(s.height + 1, s.width + 1, Type), dst;
  cv::randu(src, 0, 256);
  const cv::Point2f c(0.3f + (float)(s.width - 1) * 0.5f, 0.7f + (float)(s.height - 1) * 0.5f);
  for (auto _ : st) {
    cv::getRectSubPix(src, cv::Size(s.width, s.height), c, dst);
    benchmark::ClobberMemory();
  }
  kvpb::setBytes(st, 2 * s.pixels() * (long long)src.elemSize());
}
void BM_CopySubpix_8u_ocv(benchmark::State& st) { subpixOcv<CV_8UC1>(st); }
void BM_CopySubpix_32f_ocv(benchmark::State& st) { subpixOcv<CV_32FC1>(st); }

template <int Type>
void intersectOcv(benchmark::State& st) {
  const kvpb::Setup s(st);
  cv::Mat src(s.height, s.width, Type), dst;
  cv::randu(src, 0, 256);
  const cv::Point2f c(0.5f * (float)s.width + 0.3f, 0.5f * (float)s.height - 0.2f);
  for (auto _ : st) {
    cv::getRectSubPix(src, cv::Size(s.width, s.height), c, dst);
    benchmark::ClobberMemory();
  }
  kvpb::setBytes(st, 2 * s.pixels() * (long long)src.elemSize());
}
void BM_CopySubpixIntersect_8u_ocv(benchmark::State& st) { intersectOcv<CV_8UC1>(st); }
void BM_CopySubpixIntersect_32f_ocv(benchmark::State& st) { intersectOcv<CV_32FC1>(st); }

void BM_SampleLine_8u_C1_ocv(benchmark::State& st) {
  const kvpb::Setup s(st);
  const Lines L(s);
  cv::Mat src(s.height, s.width, CV_8UC1);
  cv::randu(src, 0, 256);
  std::vector<Kvp8u> out((size_t)std::max(s.width, s.height));
  for (auto _ : st) {
    for (size_t i = 0; i < L.a.size(); ++i) {
      cv::LineIterator it(src, cv::Point(L.a[i].x, L.a[i].y), cv::Point(L.b[i].x, L.b[i].y), 8);
      for (int k = 0; k < it.count; ++k, ++it) out[(size_t)k] = **it;
      benchmark::DoNotOptimize(out.data());
    }
    benchmark::ClobberMemory();
  }
  st.counters["px"] = (double)L.pixels;
}
#endif

// Registered in pairs so that each OpenCV row runs right after its kvpCV row.
KVP_BENCH(BM_UndistortRadial_8u_C1_kvp);
#ifdef KVP_HAVE_OPENCV
KVP_BENCH(BM_UndistortRadial_8u_C1_ocv);
#endif
KVP_BENCH(BM_UndistortRadial_8u_C3_kvp);
#ifdef KVP_HAVE_OPENCV
KVP_BENCH(BM_UndistortRadial_8u_C3_ocv);
#endif
KVP_BENCH(BM_UndistortRadial_32f_C1_kvp);
#ifdef KVP_HAVE_OPENCV
KVP_BENCH(BM_UndistortRadial_32f_C1_ocv);
#endif
KVP_BENCH(BM_CreateMapCameraUndistort_kvp);
#ifdef KVP_HAVE_OPENCV
KVP_BENCH(BM_CreateMapCameraUndistort_ocv);
#endif
KVP_BENCH(BM_CopySubpix_8u_kvp);
#ifdef KVP_HAVE_OPENCV
KVP_BENCH(BM_CopySubpix_8u_ocv);
#endif
KVP_BENCH(BM_CopySubpix_32f_kvp);
#ifdef KVP_HAVE_OPENCV
KVP_BENCH(BM_CopySubpix_32f_ocv);
#endif
KVP_BENCH(BM_CopySubpixIntersect_8u_kvp);
#ifdef KVP_HAVE_OPENCV
KVP_BENCH(BM_CopySubpixIntersect_8u_ocv);
#endif
KVP_BENCH(BM_CopySubpixIntersect_32f_kvp);
#ifdef KVP_HAVE_OPENCV
KVP_BENCH(BM_CopySubpixIntersect_32f_ocv);
#endif
KVP_BENCH(BM_SampleLine_8u_C1_kvp);
#ifdef KVP_HAVE_OPENCV
KVP_BENCH(BM_SampleLine_8u_C1_ocv);
#endif

}  // namespace

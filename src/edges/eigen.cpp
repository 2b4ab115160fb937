// Structure-tensor corner measures: minimum eigenvalue, both eigenpairs and
// the Harris response.
//
// Each band streams its rows: for every ROI row it needs (its own plus the
// window context) it makes the derivative rows from a ring of row-pass
// outputs (source replicated at the edges), forms the three moments on a
// row padded by replication, sums each window row left to right, keeps
// those sums in a ring of avgWindow rows and adds them top to bottom for
// every output row. 8-bit sources give exact integers throughout (doubles
// hold them exactly), float sources follow the fixed double order.
#include <cmath>
#include <cstring>

#include "edges/common.h"
#include "filter/border_kernels.h"

namespace {

using kvp::rowAt;
namespace bf = kvp::bf;
namespace filt = kvp::filt;

enum Measure { kMinEig, kEigVV, kHarris };

// Derivative row routines of one mask for source S: the row pass into T,
// the column pass back to T.
template <class S, class T, const auto& RX, const auto& CX, const auto& RY, const auto& CY, int K>
struct Deriv {
  using FX = bf::Sep<RX, CX, K, S, T>;
  using FY = bf::Sep<RY, CY, K, S, T>;
  static constexpr int k = K;
};

template <class S, class T>
struct Masks {
  using Sobel3 =
      Deriv<S, T, filt::kerDx_3_16s, filt::kerSobel_3_16s, filt::kerSobel_3_16s, filt::kerDx_3_16s, 3>;
  using Sobel5 =
      Deriv<S, T, filt::kerDx_5_16s, filt::kerSobel_5_16s, filt::kerSobel_5_16s, filt::kerDx_5_16s, 5>;
  using Scharr =
      Deriv<S, T, filt::kerDx_3_16s, filt::kerScharr_3_16s, filt::kerScharr_3_16s, filt::kerDx_3_16s, 3>;
};

struct Params {
  int W, H, B;
  double q;
  double k, scale;  // Harris
};

// One output row from the window sums.
template <int M>
void finishRow(const double* sxx, const double* sxy, const double* syy, float* dst, int W, const Params& p) {
  const double q = p.q;
  if constexpr (M == kMinEig) {
#pragma omp simd
    for (int x = 0; x < W; ++x) {
      const double A = sxx[x] * q, Bm = sxy[x] * q, C = syy[x] * q;
      const double u = (A + C) * 0.5, d = (A - C) * 0.5;
      const double v = std::sqrt(d * d + Bm * Bm);
      dst[x] = (float)(u - v);
    }
  } else if constexpr (M == kHarris) {
    const double k = p.k, sc = p.scale;
#pragma omp simd
    for (int x = 0; x < W; ++x) {
      const double A = sxx[x] * q, Bm = sxy[x] * q, C = syy[x] * q;
      const double r = (A * C - Bm * Bm) - (k * (A + C)) * (A + C);
      dst[x] = (float)(r * sc);
    }
  } else {
    for (int x = 0; x < W; ++x) {
      const double A = sxx[x] * q, Bm = sxy[x] * q, C = syy[x] * q;
      const double u = (A + C) * 0.5, d = (A - C) * 0.5;
      const double v = std::sqrt(d * d + Bm * Bm);
      const double l[2] = {u + v, u - v};
      float* o = dst + 6 * x;
      o[0] = (float)l[0];
      o[1] = (float)l[1];
      for (int e = 0; e < 2; ++e) {
        double vx = Bm, vy = l[e] - A;
        if (std::fabs(vx) + std::fabs(vy) < 1e-4) {
          vx = l[e] - C;
          vy = Bm;
          if (std::fabs(vx) + std::fabs(vy) < 1e-4) {
            const double s = 1.0 / (std::fabs(vx) + std::fabs(vy) + 0x1p-23);
            vx = vx * s;
            vy = vy * s;
          }
        }
        const double r = 1.0 / std::sqrt(vx * vx + vy * vy + 0x1p-52);
        o[2 + 2 * e] = (float)(vx * r);
        o[3 + 2 * e] = (float)(vy * r);
      }
    }
  }
}

template <class S, class D, int M>
struct Runner {
  using T = typename D::FX::T;  // row-pass element: int16 for 8u, double for 32f
  static constexpr int K = D::k, R = K / 2;
  const S* src;
  int srcStep;
  float* dst;
  int dstStep;
  Params p;
  Kvp8u* slices;
  long long sliceBytes;

  void band(int y0, int rows, int t) const {
    const int W = p.W, H = p.H, B = p.B, h = B / 2;
    Kvp8u* base = slices + (ptrdiff_t)t * sliceBytes;
    auto take = [&](long long bytes) {
      Kvp8u* r = base;
      base += (bytes + 7) & ~7LL;
      return r;
    };
    // Row-pass rings (K rows each of dx and dy), the padded source piece,
    // the derivative rows, the padded moment rows and the window-row ring.
    T* ringX = reinterpret_cast<T*>(take((long long)sizeof(T) * K * W));
    T* ringY = reinterpret_cast<T*>(take((long long)sizeof(T) * K * W));
    S* piece = reinterpret_cast<S*>(take((long long)sizeof(S) * (W + K)));
    T* gx = reinterpret_cast<T*>(take((long long)sizeof(T) * W));
    T* gy = reinterpret_cast<T*>(take((long long)sizeof(T) * W));
    double* mom = reinterpret_cast<double*>(take(8LL * 3 * (W + B)));
    double* wring = reinterpret_cast<double*>(take(8LL * 3 * W * B));
    double* out = reinterpret_cast<double*>(take(8LL * 3 * W));

    // Window rows of this band: ROI rows lo .. hi.
    const int lo = y0 - h < 0 ? 0 : y0 - h;
    const int hiRaw = y0 + rows - 1 - h + B - 1;
    const int hi = hiRaw > H - 1 ? H - 1 : hiRaw;
    int nextSrc = lo - R;  // next unclamped source row for the row pass
    int nextWin = lo;      // next ROI row whose window sums are made
    auto rowPass = [&](int yy) {
      const int ys = yy < 0 ? 0 : (yy >= H ? H - 1 : yy);
      const S* s = rowAt(src, srcStep, ys);
      for (int i = 0; i < R; ++i) piece[i] = s[0], piece[R + W + i] = s[W - 1];
      std::memcpy(piece + R, s, sizeof(S) * (size_t)W);
      const int slot = ((yy % K) + K) % K;
      T* ox[1] = {ringX + (ptrdiff_t)slot * W};
      T* oy[1] = {ringY + (ptrdiff_t)slot * W};
      D::FX::row(piece, ox, 0, W);
      D::FY::row(piece, oy, 0, W);
    };
    auto makeWindowRow = [&](int r) {
      while (nextSrc <= r + R) rowPass(nextSrc++);
      auto win = [&](T* ring) {
        return [ring, r, W](int, int j) -> const T* {
          const int yy = r - R + j;
          return ring + (ptrdiff_t)(((yy % K) + K) % K) * W;
        };
      };
      D::FX::col(win(ringX), gx, W);
      D::FY::col(win(ringY), gy, W);
      double* pxx = mom;
      double* pxy = mom + (W + B);
      double* pyy = mom + 2 * (W + B);
#pragma omp simd
      for (int x = 0; x < W; ++x) {
        const double a = (double)gx[x], b = (double)gy[x];
        pxx[h + x] = a * a;
        pxy[h + x] = a * b;
        pyy[h + x] = b * b;
      }
      for (double* m : {pxx, pxy, pyy}) {
        for (int i = 0; i < h; ++i) m[i] = m[h];
        for (int i = h + W; i < W + B - 1; ++i) m[i] = m[h + W - 1];
      }
      double* wr = wring + (ptrdiff_t)(r % B) * 3 * W;
      for (int c = 0; c < 3; ++c) {
        const double* m = mom + c * (W + B);
        double* o = wr + c * W;
        if (B == 1) {
          std::memcpy(o, m, sizeof(double) * (size_t)W);
        } else if (B == 3) {
#pragma omp simd
          for (int x = 0; x < W; ++x) o[x] = (m[x] + m[x + 1]) + m[x + 2];
        } else if (B == 5) {
#pragma omp simd
          for (int x = 0; x < W; ++x) o[x] = (((m[x] + m[x + 1]) + m[x + 2]) + m[x + 3]) + m[x + 4];
        } else {
#pragma omp simd
          for (int x = 0; x < W; ++x) {
            double s = m[x];
            for (int j = 1; j < B; ++j) s = s + m[x + j];
            o[x] = s;
          }
        }
      }
    };
    for (int y = y0; y < y0 + rows; ++y) {
      const int last = y - h + B - 1 > H - 1 ? H - 1 : y - h + B - 1;
      while (nextWin <= last && nextWin <= hi) makeWindowRow(nextWin++);
      const double* wr[256];
      for (int j = 0; j < B; ++j) {
        int r = y - h + j;
        r = r < 0 ? 0 : (r > H - 1 ? H - 1 : r);
        wr[j] = wring + (ptrdiff_t)(r % B) * 3 * W;
      }
      for (int c = 0; c < 3; ++c) {
        double* o = out + c * W;
        const double* r0 = wr[0] + c * W;
        if (B == 1) {
          std::memcpy(o, r0, sizeof(double) * (size_t)W);
        } else if (B == 3) {
          const double *r1 = wr[1] + c * W, *r2 = wr[2] + c * W;
#pragma omp simd
          for (int x = 0; x < W; ++x) o[x] = (r0[x] + r1[x]) + r2[x];
        } else {
          std::memcpy(o, r0, sizeof(double) * (size_t)W);
          for (int j = 1; j < B; ++j) {
            const double* rj = wr[j] + c * W;
#pragma omp simd
            for (int x = 0; x < W; ++x) o[x] = o[x] + rj[x];
          }
        }
      }
      finishRow<M>(out, out + W, out + 2 * W, rowAt(dst, dstStep, y), W, p);
    }
  }
};

// Per-thread bytes; the same formula for every measure and source type.
long long sliceBytes(int W, int B, int a) {
  return 24LL * (W + B) * (B + 2) + 16LL * (W + 8) * (2 * a + 4) + 256;
}

KvpStatus checkKernel(int kern, int aperture, int avg) {
  if (kern != kvpFilterSobel && kern != kvpFilterScharr) return kvpStsBadArg;
  if (kern == kvpFilterSobel ? (aperture != 3 && aperture != 5) : aperture != 3) return kvpStsBadMaskSize;
  if (avg < 1 || avg > 255) return kvpStsBadMaskSize;
  return kvpStsOk;
}

KvpStatus querySize(KvpiSize roi, int kern, int aperture, int avg, int* pSize) {
  if (!pSize) return kvpStsNullPtr;
  if (KvpStatus s = kvp::checkSize(roi)) return s;
  if (KvpStatus s = checkKernel(kern, aperture, avg)) return s;
  const long long n = kvp::edges::teamSize();
  return kvp::storeBufferSize(n * sliceBytes(roi.width, avg, aperture) + 64, pSize);
}

template <int M, class S>
KvpStatus measure(const S* pSrc, int srcStep, float* pDst, int dstStep, KvpiSize roi, int kern, int aperture,
                  int avg, double k, double scale, Kvp8u* pBuffer) {
  constexpr int ch = M == kEigVV ? 6 : 1;
  if (KvpStatus s =
          kvp::checkPlanes(roi, {kvp::plane(pSrc, srcStep), kvp::plane(pDst, dstStep, ch)}, {pBuffer}))
    return s;
  if (KvpStatus s = checkKernel(kern, aperture, avg)) return s;
  const int W = roi.width, H = roi.height;
  double f = (double)(1 << (aperture - 1)) * avg;
  if (kern == kvpFilterScharr) f *= 2;
  if constexpr (sizeof(S) == 1) f *= 255;
  Params p{W, H, avg, (1.0 / f) * (1.0 / f), k, scale};
  const int n = kvp::edges::teamSize();
  const bool threaded = kvp::edges::threadedFor(roi);
  Kvp8u* slices = kvp::alignUp(pBuffer, 64);
  const long long sb = sliceBytes(W, avg, aperture);
  using T = std::conditional_t<sizeof(S) == 1, int16_t, double>;
  auto run = [&]<class D>() {
    const Runner<S, D, M> r{pSrc, srcStep, pDst, dstStep, p, slices, sb};
    kvp::forRowBands(
        H, threaded, [&](int y0, int rows, int t) { r.band(y0, rows, t); }, n);
  };
  if (kern == kvpFilterScharr)
    run.template operator()<typename Masks<S, T>::Scharr>();
  else if (aperture == 3)
    run.template operator()<typename Masks<S, T>::Sobel3>();
  else
    run.template operator()<typename Masks<S, T>::Sobel5>();
  return kvpStsOk;
}

}  // namespace

extern "C" {

#define KVP_EIG_QUERY(NAME)                                                                     \
  KvpStatus KVP_BODY(NAME)(KvpiSize roiSize, KvpiDifferentialKernel kernType, int apertureSize, \
                           int avgWindow, int* pBufferSize) {                                   \
    return querySize(roiSize, kvp::enumArg(kernType), apertureSize, avgWindow, pBufferSize);    \
  }
KVP_EIG_QUERY(kvpiMinEigenValGetBufferSize_8u32f_C1R)
KVP_EIG_QUERY(kvpiMinEigenValGetBufferSize_32f_C1R)
KVP_EIG_QUERY(kvpiEigenValsVecsGetBufferSize_8u32f_C1R)
KVP_EIG_QUERY(kvpiEigenValsVecsGetBufferSize_32f_C1R)
KVP_EIG_QUERY(kvpiHarrisCornerGetBufferSize_8u32f_C1R)
KVP_EIG_QUERY(kvpiHarrisCornerGetBufferSize_32f_C1R)
#undef KVP_EIG_QUERY

KvpStatus KVP_BODY(kvpiMinEigenVal_8u32f_C1R)(const Kvp8u* pSrc, int srcStep, Kvp32f* pMinEigenVal,
                                              int minValStep, KvpiSize roiSize,
                                              KvpiDifferentialKernel kernType, int apertureSize,
                                              int avgWindow, Kvp8u* pBuffer) {
  return measure<kMinEig>(pSrc, srcStep, pMinEigenVal, minValStep, roiSize, kvp::enumArg(kernType),
                          apertureSize, avgWindow, 0, 0, pBuffer);
}
KvpStatus KVP_BODY(kvpiMinEigenVal_32f_C1R)(const Kvp32f* pSrc, int srcStep, Kvp32f* pMinEigenVal,
                                            int minValStep, KvpiSize roiSize, KvpiDifferentialKernel kernType,
                                            int apertureSize, int avgWindow, Kvp8u* pBuffer) {
  return measure<kMinEig>(pSrc, srcStep, pMinEigenVal, minValStep, roiSize, kvp::enumArg(kernType),
                          apertureSize, avgWindow, 0, 0, pBuffer);
}
KvpStatus KVP_BODY(kvpiEigenValsVecs_8u32f_C1R)(const Kvp8u* pSrc, int srcStep, Kvp32f* pEigenVV, int eigStep,
                                                KvpiSize roiSize, KvpiDifferentialKernel kernType,
                                                int apertureSize, int avgWindow, Kvp8u* pBuffer) {
  return measure<kEigVV>(pSrc, srcStep, pEigenVV, eigStep, roiSize, kvp::enumArg(kernType), apertureSize,
                         avgWindow, 0, 0, pBuffer);
}
KvpStatus KVP_BODY(kvpiEigenValsVecs_32f_C1R)(const Kvp32f* pSrc, int srcStep, Kvp32f* pEigenVV, int eigStep,
                                              KvpiSize roiSize, KvpiDifferentialKernel kernType,
                                              int apertureSize, int avgWindow, Kvp8u* pBuffer) {
  return measure<kEigVV>(pSrc, srcStep, pEigenVV, eigStep, roiSize, kvp::enumArg(kernType), apertureSize,
                         avgWindow, 0, 0, pBuffer);
}
KvpStatus KVP_BODY(kvpiHarrisCorner_8u32f_C1R)(const Kvp8u* pSrc, int srcStep, Kvp32f* pDst, int dstStep,
                                               KvpiSize roiSize, KvpiDifferentialKernel kernType,
                                               int apertureSize, int avgWindow, Kvp32f k, Kvp32f scale,
                                               Kvp8u* pBuffer) {
  return measure<kHarris>(pSrc, srcStep, pDst, dstStep, roiSize, kvp::enumArg(kernType), apertureSize,
                          avgWindow, (double)k, (double)scale, pBuffer);
}
KvpStatus KVP_BODY(kvpiHarrisCorner_32f_C1R)(const Kvp32f* pSrc, int srcStep, Kvp32f* pDst, int dstStep,
                                             KvpiSize roiSize, KvpiDifferentialKernel kernType,
                                             int apertureSize, int avgWindow, Kvp32f k, Kvp32f scale,
                                             Kvp8u* pBuffer) {
  return measure<kHarris>(pSrc, srcStep, pDst, dstStep, roiSize, kvp::enumArg(kernType), apertureSize,
                          avgWindow, (double)k, (double)scale, pBuffer);
}

}  // extern "C"

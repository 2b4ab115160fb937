// Lens undistortion: the radial correction in one call (UndistortRadial)
// and the source-position maps of the radial and tangential model
// (CreateMapCameraUndistort), with the work-buffer query both share.
//
// The buffer holds two per-column tables at its first 64-byte aligned
// address: UndistortRadial float du[u], x2[u]; CreateMap double x[u], x2[u].
// They are filled before the parallel region and only read inside it.
#include <climits>
#include <cstdint>

#include "frame/alloc.h"
#include "frame/bodies.h"
#include "frame/simd.h"
#include "geometry/sampling.h"

namespace kvp::geo {
namespace {

constexpr int kChunk = 64;  // pixels positioned and gathered at a time

// The model's parameters as one row needs them.
struct Radial {
  const float* du;
  const float* x2;
  float cx, cy, k1, k2, ify;
  int W, H;
};

// Positions of one chunk of a row in float lanes: fractions, integer
// parts and whether the position is inside (a non-finite one is not). The
// floor comes from a truncating conversion corrected by one where it
// rounded up.
struct Chunk {
  alignas(64) float fa[kChunk], fb[kChunk], keep[kChunk];
  alignas(64) float w00[kChunk], w01[kChunk], w10[kChunk], w11[kChunk];
  alignas(64) int ixs[kChunk], iys[kChunk];
};

inline void positions(Chunk& k, const float* du, const float* x2, float dv, float y2, int n,
                      const Radial& m) {
  const float Wf = (float)m.W, Hf = (float)m.H;
#pragma omp simd
  for (int i = 0; i < n; ++i) {
    const float r2 = x2[i] + y2;
    const float d = 1.f + r2 * (m.k1 + r2 * m.k2);
    const float sx = m.cx + du[i] * d;
    const float sy = m.cy + dv * d;
    const bool in = sx > -1.f && sx < Wf && sy > -1.f && sy < Hf;
    // Outside positions (NaN included) are replaced before the
    // conversion; their pixels are zeroed at the end.
    const float px = in ? sx : 0.f, py = in ? sy : 0.f;
    int ix = (int)px, iy = (int)py;
    ix -= (float)ix > px ? 1 : 0;
    iy -= (float)iy > py ? 1 : 0;
    const float a = px - (float)ix, b = py - (float)iy;
    const Weights w = weights(a, b);
    k.fa[i] = a;
    k.fb[i] = b;
    k.w00[i] = w.w00;
    k.w01[i] = w.w01;
    k.w10[i] = w.w10;
    k.w11[i] = w.w11;
    k.ixs[i] = ix;
    k.iys[i] = iy;
    k.keep[i] = in ? 1.f : 0.f;
  }
}

// The four samples of channel c of pixel i, each tested against the ROI
// (zero outside), or all zero when the position is outside.
template <class T, int C>
inline void samplesChecked(const T* src, int srcStep, const Chunk& k, int i, int W, int H, int c,
                           float p[4]) {
  const int ix = k.ixs[i], iy = k.iys[i];
  const bool in = k.keep[i] != 0.f;
  const bool c0 = in && ix >= 0, c1 = in && ix + 1 < W, r0 = in && iy >= 0, r1 = in && iy + 1 < H;
  const T* row0 = r0 ? rowAt(src, srcStep, iy) : nullptr;
  const T* row1 = r1 ? rowAt(src, srcStep, iy + 1) : nullptr;
  p[0] = c0 && r0 ? (float)row0[(long long)ix * C + c] : 0.f;
  p[1] = c1 && r0 ? (float)row0[(long long)(ix + 1) * C + c] : 0.f;
  p[2] = c0 && r1 ? (float)row1[(long long)ix * C + c] : 0.f;
  p[3] = c1 && r1 ? (float)row1[(long long)(ix + 1) * C + c] : 0.f;
}

// One destination row v, one channel or three channels without vectors:
// the samples are gathered per pixel into planes (all four from memory
// when the position is at least one pixel inside, else each tested), then
// blended and stored in lanes.
template <class T, int C>
void undistortRowPlanar(const T* src, int srcStep, T* dst, int v, const Radial& m) {
  const float dv = (float)v - m.cy;
  const float y = dv * m.ify;
  const float y2 = y * y;
  const int W = m.W, H = m.H;
  Chunk k;
  alignas(64) float out[kChunk * C];
  alignas(64) T g[4 * C][kChunk];
  for (int u0 = 0; u0 < W; u0 += kChunk) {
    const int n = W - u0 < kChunk ? W - u0 : kChunk;
    positions(k, m.du + u0, m.x2 + u0, dv, y2, n, m);
    for (int i = 0; i < n; ++i) {
      const int ix = k.ixs[i], iy = k.iys[i];
      if (k.keep[i] != 0.f && ix >= 0 && ix < W - 1 && iy >= 0 && iy < H - 1) {
        const T* r0 = rowAt(src, srcStep, iy) + (long long)ix * C;
        const T* r1 = rowAt(r0, srcStep, 1);
        for (int c = 0; c < C; ++c) {
          g[c][i] = r0[c];
          g[C + c][i] = r0[C + c];
          g[2 * C + c][i] = r1[c];
          g[3 * C + c][i] = r1[C + c];
        }
      } else {
        for (int c = 0; c < C; ++c) {
          float p[4];
          samplesChecked<T, C>(src, srcStep, k, i, W, H, c, p);
          for (int q = 0; q < 4; ++q) g[q * C + c][i] = (T)p[q];
        }
      }
    }
    for (int c = 0; c < C; ++c) {
#pragma omp simd
      for (int i = 0; i < n; ++i) {
        const float r = blend((float)g[c][i], (float)g[C + c][i], (float)g[2 * C + c][i],
                              (float)g[3 * C + c][i], k.w00[i], k.w01[i], k.w10[i], k.w11[i]);
        out[i * C + c] = k.keep[i] != 0.f ? r : 0.f;
      }
    }
    Store<T>().row(out, dst + (long long)u0 * C, n * C);
  }
}

#if KVP_HAVE_HWY
// One destination row v of three channels, one pixel per vector: the
// channels of each sample sit in lanes 0-2, the pixel's weights are
// broadcast. Pixels near the border go through the tested samples.
template <class T>
void undistortRowPixels3(const T* src, int srcStep, T* dst, int v, const Radial& m) {
  const hn::Full128<float> df;
  const hn::Full128<int32_t> di;
  const float dv = (float)v - m.cy;
  const float y = dv * m.ify;
  const float y2 = y * y;
  const int W = m.W, H = m.H;
  // 8-bit pixels are read eight bytes per row, two more than the pair
  // needs: the vector route stops one pixel earlier to stay in the row.
  constexpr bool k8 = std::is_same_v<T, Kvp8u>;
  const int lastX = W - (k8 ? 3 : 2);
  Chunk k;
  alignas(64) T out[kChunk * 3 + 4];
  for (int u0 = 0; u0 < W; u0 += kChunk) {
    const int n = W - u0 < kChunk ? W - u0 : kChunk;
    positions(k, m.du + u0, m.x2 + u0, dv, y2, n, m);
    for (int i = 0; i < n; ++i) {
      const int ix = k.ixs[i], iy = k.iys[i];
      if (k.keep[i] != 0.f && ix >= 0 && ix <= lastX && iy >= 0 && iy < H - 1) {
        const T* r0 = rowAt(src, srcStep, iy) + (long long)ix * 3;
        const T* r1 = rowAt(r0, srcStep, 1);
        hn::Vec128<float> p00, p01, p10, p11;
        if constexpr (k8) {
          const hn::Full128<uint8_t> d8;
          const hn::Full64<uint8_t> d8h;
          constexpr uint8_t Z = 0x80;
          alignas(16) static constexpr uint8_t kIdx[4][16] = {
              {0, Z, Z, Z, 1, Z, Z, Z, 2, Z, Z, Z, Z, Z, Z, Z},
              {3, Z, Z, Z, 4, Z, Z, Z, 5, Z, Z, Z, Z, Z, Z, Z},
              {8, Z, Z, Z, 9, Z, Z, Z, 10, Z, Z, Z, Z, Z, Z, Z},
              {11, Z, Z, Z, 12, Z, Z, Z, 13, Z, Z, Z, Z, Z, Z, Z}};
          const auto both = hn::Combine(d8, hn::LoadU(d8h, r1), hn::LoadU(d8h, r0));
          auto lane = [&](int q) {
            return hn::ConvertTo(df, hn::BitCast(di, hn::TableLookupBytesOr0(both, hn::Load(d8, kIdx[q]))));
          };
          p00 = lane(0);
          p01 = lane(1);
          p10 = lane(2);
          p11 = lane(3);
        } else {
          p00 = hn::LoadU(df, r0);
          p01 = hn::ShiftRightLanes<1>(df, hn::LoadU(df, r0 + 2));
          p10 = hn::LoadU(df, r1);
          p11 = hn::ShiftRightLanes<1>(df, hn::LoadU(df, r1 + 2));
        }
        auto r = hn::Add(hn::Mul(p00, hn::Set(df, k.w00[i])), hn::Mul(p01, hn::Set(df, k.w01[i])));
        r = hn::Add(r, hn::Mul(p10, hn::Set(df, k.w10[i])));
        r = hn::Add(r, hn::Mul(p11, hn::Set(df, k.w11[i])));
        if constexpr (k8) {
          // Lane 3 holds 0; clamp, then convert in the default rounding
          // mode (half to even).
          r = hn::Min(hn::Max(r, hn::Zero(df)), hn::Set(df, 255.f));
          hn::StoreU(hn::DemoteTo(hn::Full32<uint8_t>(), hn::NearestInt(r)), hn::Full32<uint8_t>(),
                     out + 3 * i);
        } else {
          hn::StoreU(r, df, out + 3 * i);  // lane 3 is overwritten by the next pixel
        }
      } else {
        for (int c = 0; c < 3; ++c) {
          float p[4];
          samplesChecked<T, 3>(src, srcStep, k, i, W, H, c, p);
          const float r = blend(p[0], p[1], p[2], p[3], k.w00[i], k.w01[i], k.w10[i], k.w11[i]);
          Store<T>().row(&r, out + 3 * i + c, 1);
        }
      }
    }
    std::memcpy(dst + (long long)u0 * 3, out, sizeof(T) * 3 * (size_t)n);
  }
}
#endif

template <class T, int C>
void undistortRow(const T* src, int srcStep, T* dst, int v, const Radial& m) {
#if KVP_HAVE_HWY
  if constexpr (C == 3) return undistortRowPixels3<T>(src, srcStep, dst, v, m);
#endif
  undistortRowPlanar<T, C>(src, srcStep, dst, v, m);
}

template <class T, int C>
KvpStatus undistortRadial(const T* pSrc, int srcStep, T* pDst, int dstStep, KvpiSize roi, float fx, float fy,
                          float cx, float cy, float k1, float k2, Kvp8u* pBuffer) {
  if (KvpStatus s = checkPlanes(roi, {plane(pSrc, srcStep, C), plane(pDst, dstStep, C)}, {pBuffer})) return s;
  if (fx == 0.f || fy == 0.f) return kvpStsBadArg;
  const int W = roi.width;
  float* du = alignUp<float>(pBuffer, 64);
  float* x2 = du + W;
  const float ifx = 1.f / fx, ify = 1.f / fy;
#pragma omp simd
  for (int u = 0; u < W; ++u) {
    const float d = (float)u - cx;
    const float x = d * ifx;
    du[u] = d;
    x2[u] = x * x;
  }
  const Radial m{du, x2, cx, cy, k1, k2, ify, W, roi.height};
  forRowBands(roi.height, threadedArea(W, roi.height), [&](int y0, int rows, int) {
    for (int v = y0; v < y0 + rows; ++v) undistortRow<T, C>(pSrc, srcStep, rowAt(pDst, dstStep, v), v, m);
  });
  return kvpStsOk;
}

}  // namespace
}  // namespace kvp::geo

using namespace kvp::geo;

KvpStatus KVP_BODY(kvpiUndistortGetSize)(KvpiSize roiSize, int* pBufsize) {
  if (!pBufsize) return kvpStsNullPtr;
  if (KvpStatus s = kvp::checkSize(roiSize)) return s;
  const long long bytes = 16LL * roiSize.width + 64;
  if (bytes > INT_MAX) return kvpStsBadSize;
  *pBufsize = (int)bytes;
  return kvpStsOk;
}

#define KVP_UNDISTORT_BODY(SUF, T, C)                                                                     \
  KvpStatus KVP_BODY(kvpiUndistortRadial_##SUF)(const T* pSrc, int srcStep, T* pDst, int dstStep,         \
                                                KvpiSize roiSize, Kvp32f fx, Kvp32f fy, Kvp32f cx,        \
                                                Kvp32f cy, Kvp32f k1, Kvp32f k2, Kvp8u* pBuffer) {        \
    return undistortRadial<T, C>(pSrc, srcStep, pDst, dstStep, roiSize, fx, fy, cx, cy, k1, k2, pBuffer); \
  }

KVP_UNDISTORT_BODY(8u_C1R, Kvp8u, 1)
KVP_UNDISTORT_BODY(8u_C3R, Kvp8u, 3)
KVP_UNDISTORT_BODY(16u_C1R, Kvp16u, 1)
KVP_UNDISTORT_BODY(32f_C1R, Kvp32f, 1)
KVP_UNDISTORT_BODY(32f_C3R, Kvp32f, 3)

KvpStatus KVP_BODY(kvpiCreateMapCameraUndistort_32f_C1R)(Kvp32f* pxMap, int xStep, Kvp32f* pyMap, int yStep,
                                                         KvpiSize roiSize, Kvp32f fx, Kvp32f fy, Kvp32f cx,
                                                         Kvp32f cy, Kvp32f k1, Kvp32f k2, Kvp32f p1,
                                                         Kvp32f p2, Kvp8u* pBuffer) {
  if (KvpStatus s =
          kvp::checkPlanes(roiSize, {kvp::plane(pxMap, xStep), kvp::plane(pyMap, yStep)}, {pBuffer}))
    return s;
  if (fx == 0.f || fy == 0.f) return kvpStsBadArg;
  const int W = roiSize.width;
  double* xs = kvp::alignUp<double>(pBuffer, 64);
  double* x2s = xs + W;
  const double dfx = fx, dfy = fy, dcx = cx, dcy = cy, dk1 = k1, dk2 = k2, dp1 = p1, dp2 = p2;
  for (int u = 0; u < W; ++u) {
    const double x = ((double)u - dcx) / dfx;
    xs[u] = x;
    x2s[u] = x * x;
  }
  kvp::forRowBands(roiSize.height, threadedArea(W, roiSize.height), [&](int y0, int rows, int) {
    for (int v = y0; v < y0 + rows; ++v) {
      const double y = ((double)v - dcy) / dfy;
      const double y2 = y * y;
      float* mx = kvp::rowAt(pxMap, xStep, v);
      float* my = kvp::rowAt(pyMap, yStep, v);
#pragma omp simd
      for (int u = 0; u < W; ++u) {
        const double x = xs[u], x2 = x2s[u];
        const double r2 = x2 + y2;
        const double xy2 = (2.0 * x) * y;
        const double kr = 1.0 + r2 * (dk1 + r2 * dk2);
        const double xd = (x * kr + dp1 * xy2) + dp2 * (r2 + 2.0 * x2);
        const double yd = (y * kr + dp1 * (r2 + 2.0 * y2)) + dp2 * xy2;
        mx[u] = (float)(dfx * xd + dcx);
        my[u] = (float)(dfy * yd + dcy);
      }
    }
  });
  return kvpStsOk;
}

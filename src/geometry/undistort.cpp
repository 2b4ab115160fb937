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

// One destination row v. Positions are computed for a chunk of pixels at a
// time in float lanes; floor and fractions come from a truncating
// conversion corrected by one where it rounded up; the samples are gathered
// per pixel (all four from memory when the position is at least one pixel
// inside, else each tested against the ROI, zero outside); the blend and
// the store run in lanes again.
template <class T, int C>
void undistortRow(const T* src, int srcStep, T* dst, int v, const Radial& m) {
  const float dv = (float)v - m.cy;
  const float y = dv * m.ify;
  const float y2 = y * y;
  const float Wf = (float)m.W, Hf = (float)m.H;
  const int W = m.W, H = m.H;
  alignas(64) float fa[kChunk], fb[kChunk], keep[kChunk], out[kChunk * C];
  alignas(64) int ixs[kChunk], iys[kChunk];
  alignas(64) T g[4 * C][kChunk];
  for (int u0 = 0; u0 < W; u0 += kChunk) {
    const int n = W - u0 < kChunk ? W - u0 : kChunk;
    const float* du = m.du + u0;
    const float* x2 = m.x2 + u0;
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
      fa[i] = px - (float)ix;
      fb[i] = py - (float)iy;
      ixs[i] = ix;
      iys[i] = iy;
      keep[i] = in ? 1.f : 0.f;
    }
    for (int i = 0; i < n; ++i) {
      const int ix = ixs[i], iy = iys[i];
      if (keep[i] != 0.f && ix >= 0 && ix < W - 1 && iy >= 0 && iy < H - 1) {
        const T* r0 = rowAt(src, srcStep, iy) + (long long)ix * C;
        const T* r1 = rowAt(r0, srcStep, 1);
        for (int c = 0; c < C; ++c) {
          g[c][i] = r0[c];
          g[C + c][i] = r0[C + c];
          g[2 * C + c][i] = r1[c];
          g[3 * C + c][i] = r1[C + c];
        }
      } else if (keep[i] != 0.f) {
        // ix in [-1, W - 1], iy in [-1, H - 1]: test each sample.
        const bool c0 = ix >= 0, c1 = ix + 1 < W, rr0 = iy >= 0, rr1 = iy + 1 < H;
        const T* r0 = rr0 ? rowAt(src, srcStep, iy) : nullptr;
        const T* r1 = rr1 ? rowAt(src, srcStep, iy + 1) : nullptr;
        for (int c = 0; c < C; ++c) {
          g[c][i] = c0 && rr0 ? r0[(long long)ix * C + c] : T(0);
          g[C + c][i] = c1 && rr0 ? r0[(long long)(ix + 1) * C + c] : T(0);
          g[2 * C + c][i] = c0 && rr1 ? r1[(long long)ix * C + c] : T(0);
          g[3 * C + c][i] = c1 && rr1 ? r1[(long long)(ix + 1) * C + c] : T(0);
        }
      } else {
        for (int k = 0; k < 4 * C; ++k) g[k][i] = T(0);
      }
    }
    for (int c = 0; c < C; ++c) {
#pragma omp simd
      for (int i = 0; i < n; ++i) {
        const Weights w = weights(fa[i], fb[i]);
        const float r = blend((float)g[c][i], (float)g[C + c][i], (float)g[2 * C + c][i],
                              (float)g[3 * C + c][i], w.w00, w.w01, w.w10, w.w11);
        out[i * C + c] = keep[i] != 0.f ? r : 0.f;
      }
    }
    Store<T>().row(out, dst + (long long)u0 * C, n * C);
  }
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

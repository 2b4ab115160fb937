// Exact Euclidean distance transform, separable in two passes.
//
// Column pass: for every pixel the vertical distance dy to the nearest zero
// pixel of its column, by a downward and an upward sweep that run across a
// strip of columns at once; dy is stored as float in the destination (exact
// below 2^24, +infinity where the column has no zero pixel).
//
// Row pass: along each row the distance is min over q of (x - q)^2 + dy(q)^2,
// the lower envelope of parabolas rooted at the finite columns. The envelope
// works on exact integers held in double; only the final square root is
// rounded (double square root, then the float nearest it).
//
// Both passes split the work over the library's threads; the row pass keeps
// its envelope in the calling thread's slice of the caller's buffer:
// f (double, w), z (double, w + 1) and v (int, w), 20 w + 8 bytes plus
// alignment, inside the 24 max(W4, H4) + 56 bytes reported per thread.
//
// A source without any zero pixel gives +infinity everywhere.
#include <algorithm>
#include <cmath>
#include <limits>

#include "frame/alloc.h"
#include "frame/bodies.h"
#include "frame/checks.h"
#include "frame/parallel.h"
#include "frame/simd.h"

namespace kvp::distance {
namespace {

// Bands from 65536 pixels on: the transform costs some 8 ns per pixel, so
// the smallest threaded image takes about 0.5 ms, a hundred times the cost
// of opening and joining a team; at 1920x1080 two threads take about half
// the time of one (measured on an idle 2-core machine; while the second
// core is busy with other processes, the join waits for it).
constexpr long long kThreadArea = 65536;

long long sliceBytes(KvpiSize roi) {
  const long long w4 = ((long long)roi.width + 3) / 4 * 4;
  const long long h4 = ((long long)roi.height + 3) / 4 * 4;
  return 24 * std::max(w4, h4) + 56;
}

// Vertical distances for columns [x0, x0 + cols).
void columnPass(const Kvp8u* src, int srcStep, float* dst, int dstStep, int x0, int cols, int h) {
  const float inf = std::numeric_limits<float>::infinity();
  {
    const Kvp8u* s = src + x0;
    float* d = dst + x0;
#pragma omp simd
    for (int i = 0; i < cols; ++i) d[i] = s[i] ? inf : 0.0f;
  }
  for (int y = 1; y < h; ++y) {
    const Kvp8u* s = rowAt(src, srcStep, y) + x0;
    const float* up = rowAt(dst, dstStep, y - 1) + x0;
    float* d = rowAt(dst, dstStep, y) + x0;
#pragma omp simd
    for (int i = 0; i < cols; ++i) d[i] = s[i] ? up[i] + 1.0f : 0.0f;
  }
  for (int y = h - 2; y >= 0; --y) {
    const float* down = rowAt(dst, dstStep, y + 1) + x0;
    float* d = rowAt(dst, dstStep, y) + x0;
#pragma omp simd
    for (int i = 0; i < cols; ++i) d[i] = std::min(d[i], down[i] + 1.0f);
  }
}

// One row in place: dy values in, Euclidean distances out.
void rowPass(float* row, int w, double* f, double* z, int* v) {
  const double inf = std::numeric_limits<double>::infinity();
  for (int q = 0; q < w; ++q) {
    const double dy = row[q];
    f[q] = dy * dy;  // exact: dy is an integer below 2^24, or infinite
  }
  // Envelope over the finite parabolas: v[0..k] roots, z[i] the left end of
  // the interval where v[i] is lowest.
  int k = -1;
  for (int q = 0; q < w; ++q) {
    if (f[q] == inf) continue;
    const double fq = f[q] + (double)q * q;
    double s = 0.0;
    while (k >= 0) {
      const int p = v[k];
      s = (fq - (f[p] + (double)p * p)) / (2.0 * (q - p));
      if (s > z[k]) break;
      --k;
    }
    ++k;
    v[k] = q;
    z[k] = k == 0 ? -inf : s;
    z[k + 1] = inf;
  }
  if (k < 0) {
    const float finf = std::numeric_limits<float>::infinity();
    for (int x = 0; x < w; ++x) row[x] = finf;
    return;
  }
  // Squared distances a block at a time, then their square roots over
  // whole vectors (each root correctly rounded, as the scalar one is), so
  // that the roots overlap instead of waiting on the envelope walk.
  constexpr int kBlock = 64;
  alignas(16) double d2[kBlock];
  int j = 0;
  for (int x0 = 0; x0 < w; x0 += kBlock) {
    const int m = std::min(kBlock, w - x0);
    for (int i = 0; i < m; ++i) {
      const int x = x0 + i;
      while (z[j + 1] < x) ++j;
      const double dx = (double)(x - v[j]);
      d2[i] = dx * dx + f[v[j]];
    }
    int i = 0;
#if KVP_HAVE_HWY
    const hn::ScalableTag<double> dd;
    const hn::Rebind<float, decltype(dd)> df;
    const int n = (int)hn::Lanes(dd);
    for (; i + n <= m; i += n)
      hn::StoreU(hn::DemoteTo(df, hn::Sqrt(hn::LoadU(dd, d2 + i))), df, row + x0 + i);
#endif
    for (; i < m; ++i) row[x0 + i] = (float)std::sqrt(d2[i]);
  }
}

}  // namespace
}  // namespace kvp::distance

using namespace kvp::distance;

extern "C" {

KvpStatus KVP_BODY(kvpiTrueDistanceTransformGetBufferSize_8u32f_C1R)(KvpiSize roiSize, int* pBufferSize) {
  if (!pBufferSize) return kvpStsNullPtr;
  if (roiSize.width < 1 || roiSize.height < 1) return kvpStsBadSize;
  const long long total = sliceBytes(roiSize) * kvp::clampTeam(ownGetNumThreads());
  if (total > 0x7fffffffLL) return kvpStsNoMemory;
  *pBufferSize = (int)total;
  return kvpStsOk;
}

KvpStatus KVP_BODY(kvpiTrueDistanceTransform_8u32f_C1R)(const Kvp8u* pSrc, int srcStep, Kvp32f* pDst,
                                                        int dstStep, KvpiSize roiSize, Kvp8u* pBuffer) {
  if (KvpStatus s =
          kvp::checkPlanes(roiSize, {kvp::plane(pSrc, srcStep), kvp::plane(pDst, dstStep)}, {pBuffer}))
    return s;
  const int w = roiSize.width, h = roiSize.height;
  const bool threaded = (long long)w * h >= kThreadArea;
  // Columns in strips of whole cache lines where possible.
  const int strips = (w + 15) / 16;
  kvp::forRowBands(strips, threaded, [&](int s0, int ns, int) {
    const int x0 = s0 * 16;
    const int cols = std::min(w, (s0 + ns) * 16) - x0;
    columnPass(pSrc, srcStep, pDst, dstStep, x0, cols, h);
  });
  const long long slice = sliceBytes(roiSize);
  kvp::forRowBands(h, threaded, [&](int y0, int rows, int t) {
    unsigned char* base = kvp::alignUp(pBuffer + slice * t, 8);
    double* f = reinterpret_cast<double*>(base);
    double* z = f + w;
    int* v = reinterpret_cast<int*>(z + w + 1);
    for (int y = y0; y < y0 + rows; ++y) rowPass(kvp::rowAt(pDst, dstStep, y), w, f, z, v);
  });
  return kvpStsOk;
}

}  // extern "C"

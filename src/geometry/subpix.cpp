// Sub-pixel copies: the whole image shifted by a fraction of a pixel
// (CopySubpix), and a window centred at a sub-pixel point with the source
// border replicated where the window leaves the source (CopySubpixIntersect).
//
// Both run the constant-weight kernel subpixBlock; the window runs it on the
// part that reads no replicated sample and evaluates only its border pixel
// by pixel with clamped coordinates.
#include <algorithm>
#include <cmath>

#include "frame/bodies.h"
#include "geometry/sampling.h"

namespace kvp::geo {
namespace {

template <class S, class D, bool Sfs = false>
KvpStatus copySubpix(const S* pSrc, int srcStep, D* pDst, int dstStep, KvpiSize roi, float dx, float dy,
                     int scaleFactor = 0) {
  if (KvpStatus s = checkPlanes(roi, {plane(pSrc, srcStep), plane(pDst, dstStep)})) return s;
  if (!(dx >= 0.f && dx < 1.f)) return kvpStsBadArg;
  if (!(dy >= 0.f && dy < 1.f)) return kvpStsBadArg;
  const Store<D, Sfs> st(scaleFactor);
  const Weights w = weights(dx, dy);
  forRowBands(roi.height, threadedArea(roi.width, roi.height), [&](int y0, int rows, int) {
    subpixBlock(rowAt(pSrc, srcStep, y0), srcStep, rowAt(pDst, dstStep, y0), dstStep, roi.width, rows, w, st);
  });
  return kvpStsOk;
}

// Clamps a column (row) index to [0, n - 1].
inline long long clampIdx(long long t, long long n) { return t < 0 ? 0 : (t > n - 1 ? n - 1 : t); }

// floor(v) clamped to [lo, hi] in float, then made an integer: the clamp
// keeps huge positions from overflowing the conversion.
inline long long clampedFloor(float v, long long lo, long long hi) {
  float f = std::floor(v);
  const float flo = (float)lo, fhi = (float)hi;
  f = f < flo ? flo : (f > fhi ? fhi : f);
  return (long long)f;
}

template <class S, class D, bool Sfs = false>
KvpStatus copySubpixIntersect(const S* pSrc, int srcStep, KvpiSize srcRoi, D* pDst, int dstStep,
                              KvpiSize dstRoi, KvpiPoint_32f point, KvpiPoint* pMin, KvpiPoint* pMax,
                              int scaleFactor = 0) {
  if (!pSrc || !pDst || !pMin || !pMax) return kvpStsNullPtr;
  if (KvpStatus s = checkSize(srcRoi)) return s;
  if (KvpStatus s = checkSize(dstRoi)) return s;
  if ((long long)srcStep < (long long)srcRoi.width * (long long)sizeof(S)) return kvpStsBadStep;
  if ((long long)dstStep < (long long)dstRoi.width * (long long)sizeof(D)) return kvpStsBadStep;
  if ((srcStep & (int)(sizeof(S) - 1)) | (dstStep & (int)(sizeof(D) - 1))) return kvpStsStepNotMultiple;
  if (!std::isfinite(point.x) || !std::isfinite(point.y)) return kvpStsBadArg;

  const long long W = srcRoi.width, H = srcRoi.height, w = dstRoi.width, h = dstRoi.height;
  const float x0 = point.x - (float)(w - 1) * 0.5f;
  const float y0 = point.y - (float)(h - 1) * 0.5f;
  const float a = x0 - std::floor(x0), b = y0 - std::floor(y0);
  const long long ix = clampedFloor(x0, -(w + 2), W + 1);
  const long long iy = clampedFloor(y0, -(h + 2), H + 1);

  // The destination range whose samples all lie inside the source.
  const long long minX = std::min(std::max(-ix, 0LL), w), maxX = std::max(std::min(W - 2 - ix, w - 1), -1LL);
  const long long minY = std::min(std::max(-iy, 0LL), h), maxY = std::max(std::min(H - 2 - iy, h - 1), -1LL);
  *pMin = KvpiPoint{(int)minX, (int)minY};
  *pMax = KvpiPoint{(int)maxX, (int)maxY};

  const Store<D, Sfs> st(scaleFactor);
  const Weights wt = weights(a, b);
  const float ib = 1.f - b;
  auto sample = [&](long long c, long long r) { return (float)rowAt(pSrc, srcStep, (int)r)[c]; };
  // One pixel with clamped coordinates: four samples when the column pair
  // stays two columns, else the two rows of the one column.
  auto border = [&](long long j, long long i) {
    const long long c0 = clampIdx(ix + j, W), c1 = clampIdx(ix + j + 1, W);
    const long long r0 = clampIdx(iy + i, H), r1 = clampIdx(iy + i + 1, H);
    float v;
    if (c0 != c1)
      v = blend(sample(c0, r0), sample(c1, r0), sample(c0, r1), sample(c1, r1), wt.w00, wt.w01, wt.w10,
                wt.w11);
    else
      v = sample(c0, r0) * ib + sample(c0, r1) * b;
    st.row(&v, rowAt(pDst, dstStep, (int)i) + j, 1);
  };
  const bool inX = minX <= maxX;
  forRowBands((int)h, threadedArea(w, h), [&](int yb, int rows, int) {
    const long long ye = (long long)yb + rows;
    // Interior rows of this band.
    const long long iy0 = std::max<long long>(yb, minY), iy1 = std::min<long long>(ye - 1, maxY);
    if (inX && iy0 <= iy1)
      subpixBlock(rowAt(pSrc, srcStep, (int)(iy + iy0)) + (ix + minX), srcStep,
                  rowAt(pDst, dstStep, (int)iy0) + minX, dstStep, (int)(maxX - minX + 1),
                  (int)(iy1 - iy0 + 1), wt, st);
    for (long long i = yb; i < ye; ++i) {
      if (inX && i >= iy0 && i <= iy1) {
        for (long long j = 0; j < minX; ++j) border(j, i);
        for (long long j = maxX + 1; j < w; ++j) border(j, i);
      } else {
        for (long long j = 0; j < w; ++j) border(j, i);
      }
    }
  });
  return kvpStsOk;
}

}  // namespace
}  // namespace kvp::geo

using namespace kvp::geo;

#define KVP_SUBPIX_BODIES(SUF, S, D)                                                                         \
  KvpStatus KVP_BODY(kvpiCopySubpix_##SUF)(const S* pSrc, int srcStep, D* pDst, int dstStep,                 \
                                           KvpiSize roiSize, Kvp32f dx, Kvp32f dy) {                         \
    return copySubpix<S, D>(pSrc, srcStep, pDst, dstStep, roiSize, dx, dy);                                  \
  }                                                                                                          \
  KvpStatus KVP_BODY(kvpiCopySubpixIntersect_##SUF)(const S* pSrc, int srcStep, KvpiSize srcRoiSize,         \
                                                    D* pDst, int dstStep, KvpiSize dstRoiSize,               \
                                                    KvpiPoint_32f point, KvpiPoint* pMin, KvpiPoint* pMax) { \
    return copySubpixIntersect<S, D>(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, point, pMin,      \
                                     pMax);                                                                  \
  }

KVP_SUBPIX_BODIES(8u_C1R, Kvp8u, Kvp8u)
KVP_SUBPIX_BODIES(8u32f_C1R, Kvp8u, Kvp32f)
KVP_SUBPIX_BODIES(16u_C1R, Kvp16u, Kvp16u)
KVP_SUBPIX_BODIES(16u32f_C1R, Kvp16u, Kvp32f)
KVP_SUBPIX_BODIES(32f_C1R, Kvp32f, Kvp32f)

KvpStatus KVP_BODY(kvpiCopySubpix_8u16u_C1R_Sfs)(const Kvp8u* pSrc, int srcStep, Kvp16u* pDst, int dstStep,
                                                 KvpiSize roiSize, Kvp32f dx, Kvp32f dy, int scaleFactor) {
  return copySubpix<Kvp8u, Kvp16u, true>(pSrc, srcStep, pDst, dstStep, roiSize, dx, dy, scaleFactor);
}

KvpStatus KVP_BODY(kvpiCopySubpixIntersect_8u16u_C1R_Sfs)(const Kvp8u* pSrc, int srcStep, KvpiSize srcRoiSize,
                                                          Kvp16u* pDst, int dstStep, KvpiSize dstRoiSize,
                                                          KvpiPoint_32f point, KvpiPoint* pMin,
                                                          KvpiPoint* pMax, int scaleFactor) {
  return copySubpixIntersect<Kvp8u, Kvp16u, true>(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, point,
                                                  pMin, pMax, scaleFactor);
}

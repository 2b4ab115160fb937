// 3x3 peak finder: bands mark a bitmap of peaks (one bit per pixel, each row
// a whole number of 64-bit words), then one thread emits the set bits in
// raster order.
#include <cstring>

#include "edges/common.h"

namespace {

using kvp::rowAt;

inline int wordsPerRow(int w) { return (w + 63) / 64; }

// Bits of row y for columns [x0, x1): v > threshold and v >= every
// neighbour inside the ROI (4 or 8 of them).
template <class T, bool Eight>
void markRow(const T* src, int step, int W, int H, int y, int x0, int x1, T thr, uint64_t* bits) {
  const T* c = rowAt(src, step, y);
  const T* u = y > 0 ? rowAt(src, step, y - 1) : nullptr;
  const T* d = y + 1 < H ? rowAt(src, step, y + 1) : nullptr;
  std::memset(bits, 0, sizeof(uint64_t) * (size_t)wordsPerRow(W));
  for (int xb = x0; xb < x1;) {
    const int word = xb >> 6, xe = (word + 1) * 64 < x1 ? (word + 1) * 64 : x1;
    uint64_t m = 0;
    for (int x = xb; x < xe; ++x) {
      const T v = c[x];
      bool p = v > thr;
      const bool hasL = x > 0, hasR = x + 1 < W;
      if (hasL) p = p && v >= c[x - 1];
      if (hasR) p = p && v >= c[x + 1];
      if (u) {
        p = p && v >= u[x];
        if constexpr (Eight) {
          if (hasL) p = p && v >= u[x - 1];
          if (hasR) p = p && v >= u[x + 1];
        }
      }
      if (d) {
        p = p && v >= d[x];
        if constexpr (Eight) {
          if (hasL) p = p && v >= d[x - 1];
          if (hasR) p = p && v >= d[x + 1];
        }
      }
      m |= (uint64_t)p << (x & 63);
    }
    bits[word] = m;
    xb = xe;
  }
}

template <class T>
KvpStatus findPeaks(const T* pSrc, int srcStep, KvpiSize roi, T threshold, KvpiPoint* pPeak, int maxPeakCount,
                    int* pPeakCount, int norm, int border, Kvp8u* pBuffer) {
  if (KvpStatus s = kvp::checkPlanes(roi, {kvp::plane(pSrc, srcStep)}, {pPeak, pPeakCount, pBuffer}))
    return s;
  if (maxPeakCount < 1) return kvpStsBadSize;
  if (norm != kvpiNormL1 && norm != kvpiNormInf) return kvpStsBadArg;
  if (border < 0) return kvpStsBadArg;
  const int W = roi.width, H = roi.height;
  const long long x0 = border, x1 = (long long)W - border, y0 = border, y1 = (long long)H - border;
  if (x0 >= x1 || y0 >= y1) {
    *pPeakCount = 0;
    return kvpStsOk;
  }
  const int nw = wordsPerRow(W);
  uint64_t* bits = kvp::alignUp<uint64_t>(pBuffer, 8);
  const int rows = (int)(y1 - y0);
  const auto mark = norm == kvpiNormInf ? markRow<T, true> : markRow<T, false>;
  kvp::forRowBands(rows, kvp::edges::threadedFor(roi), [&](int b0, int n, int) {
    for (int i = b0; i < b0 + n; ++i)
      mark(pSrc, srcStep, W, H, (int)y0 + i, (int)x0, (int)x1, threshold, bits + (size_t)i * nw);
  });
  int count = 0;
  for (int i = 0; i < rows && count < maxPeakCount; ++i) {
    const uint64_t* r = bits + (size_t)i * nw;
    for (int wd = 0; wd < nw && count < maxPeakCount; ++wd) {
      uint64_t m = r[wd];
      while (m && count < maxPeakCount) {
        pPeak[count++] = KvpiPoint{wd * 64 + __builtin_ctzll(m), (int)y0 + i};
        m &= m - 1;
      }
    }
  }
  *pPeakCount = count;
  return kvpStsOk;
}

KvpStatus peaksSize(KvpiSize roi, int* p) {
  if (!p) return kvpStsNullPtr;
  if (KvpStatus s = kvp::checkSize(roi)) return s;
  return kvp::storeBufferSize(8LL * roi.height * wordsPerRow(roi.width) + 64, p);
}

}  // namespace

extern "C" {

KvpStatus KVP_BODY(kvpiFindPeaks3x3GetBufferSize_32f_C1R)(KvpiSize roiSize, int* pBufferSize) {
  return peaksSize(roiSize, pBufferSize);
}
KvpStatus KVP_BODY(kvpiFindPeaks3x3GetBufferSize_32s_C1R)(KvpiSize roiSize, int* pBufferSize) {
  return peaksSize(roiSize, pBufferSize);
}
KvpStatus KVP_BODY(kvpiFindPeaks3x3_32f_C1R)(const Kvp32f* pSrc, int srcStep, KvpiSize roiSize,
                                             Kvp32f threshold, KvpiPoint* pPeak, int maxPeakCount,
                                             int* pPeakCount, KvpiNorm norm, int border, Kvp8u* pBuffer) {
  return findPeaks(pSrc, srcStep, roiSize, threshold, pPeak, maxPeakCount, pPeakCount, kvp::enumArg(norm),
                   border, pBuffer);
}
KvpStatus KVP_BODY(kvpiFindPeaks3x3_32s_C1R)(const Kvp32s* pSrc, int srcStep, KvpiSize roiSize,
                                             Kvp32s threshold, KvpiPoint* pPeak, int maxPeakCount,
                                             int* pPeakCount, KvpiNorm norm, int border, Kvp8u* pBuffer) {
  return findPeaks(pSrc, srcStep, roiSize, threshold, pPeak, maxPeakCount, pPeakCount, kvp::enumArg(norm),
                   border, pBuffer);
}

}  // extern "C"

// Line sampling: the pixels of the 8-connected digital line from pt1 to pt2,
// in order. Compiled once per code path, giving each function its two
// bodies.
//
// Pixel k lies at major coordinate pt1 + k and at minor coordinate the
// integer nearest to k * m / M, ties towards pt1, kept incrementally in the
// error term e = M - 2m: before each step, e < 0 moves one along the minor
// axis and adds 2M; then 2m is subtracted.
#include <climits>
#include <cstdint>

#include "frame/bodies.h"
#include "frame/checks.h"

namespace {

template <class T, int C>
KvpStatus sampleLine(const T* pSrc, int srcStep, KvpiSize roi, T* pDst, KvpiPoint pt1, KvpiPoint pt2) {
  if (KvpStatus s = kvp::checkPlanes(roi, {kvp::plane(pSrc, srcStep, C)}, {pDst})) return s;
  const long long dX = (long long)pt2.x - pt1.x, dY = (long long)pt2.y - pt1.y;
  const long long aX = dX < 0 ? -dX : dX, aY = dY < 0 ? -dY : dY;
  const long long M = aX >= aY ? aX : aY, m = aX >= aY ? aY : aX;
  if (M + 2 > INT_MAX) return kvpStsError;
  auto outside = [&](KvpiPoint p) { return p.x < 0 || p.x >= roi.width || p.y < 0 || p.y >= roi.height; };
  if (outside(pt1) || outside(pt2)) return kvpStsOutOfRange;

  // Byte strides of one step along each axis.
  const long long sx = (dX < 0 ? -1 : 1) * (long long)(C * sizeof(T)),
                  sy = (dY < 0 ? -1 : 1) * (long long)srcStep;
  const long long major = aX >= aY ? sx : sy, minor = aX >= aY ? sy : sx;
  const unsigned char* p = reinterpret_cast<const unsigned char*>(pSrc) + (long long)pt1.y * srcStep +
                           (long long)pt1.x * C * sizeof(T);
  // Long lines across rows miss the cache at nearly every pixel: the pixel
  // about kAhead steps further is requested early (a hint only; it may lie
  // past the line's end and is never read).
  constexpr long long kAhead = 16;
  const long long ahead = M ? kAhead * major + ((kAhead * m + M / 2) / M) * minor : 0;
  long long e = M - 2 * m;
  const long long up = 2 * M, down = 2 * m;
  for (long long k = 0;; ++k) {
    const T* px = reinterpret_cast<const T*>(p);
    for (int c = 0; c < C; ++c) pDst[k * C + c] = px[c];
    if (k == M) break;
    __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(p) + (uintptr_t)ahead));
    // A branch on the error term: its pattern repeats along the line and is
    // predicted well, which beats a branch-free update whose every step
    // waits on the previous one.
    if (e < 0) {
      p += minor;
      e += up;
    }
    p += major;
    e -= down;
  }
  return kvpStsOk;
}

}  // namespace

#define KVP_LINE_BODY(SUF, T, C)                                                                  \
  KvpStatus KVP_BODY(kvpiSampleLine_##SUF)(const T* pSrc, int srcStep, KvpiSize roiSize, T* pDst, \
                                           KvpiPoint pt1, KvpiPoint pt2) {                        \
    return sampleLine<T, C>(pSrc, srcStep, roiSize, pDst, pt1, pt2);                              \
  }

KVP_LINE_BODY(8u_C1R, Kvp8u, 1)
KVP_LINE_BODY(8u_C3R, Kvp8u, 3)
KVP_LINE_BODY(16u_C1R, Kvp16u, 1)
KVP_LINE_BODY(16u_C3R, Kvp16u, 3)
KVP_LINE_BODY(32f_C1R, Kvp32f, 1)
KVP_LINE_BODY(32f_C3R, Kvp32f, 3)

// Pyramidal Lucas-Kanade tracking of sparse points (8u, 16u, 32f, one
// channel), coarse to fine over two pyramid records.
//
// Per point and level the (win + 3)^2 patch of the previous image around the
// point is loaded once as float (mirrored indices only when it touches the
// border), the Scharr gradients are formed on the (win + 1)^2 cells the
// bilinear window reads, and the window arrays I, Ix, Iy are sampled. Each
// Gauss-Newton iteration then samples the next image directly from its rows
// (or from a mirrored patch near the border) and forms the two mismatch
// sums. Window arrays are padded with zeros to a multiple of eight columns,
// so every window sum runs as eight column accumulators (column c feeding
// accumulator c mod 8) combined in a fixed tree: one order for every vector
// width and thread count. Points are split into contiguous blocks, one per
// thread, each with its own scratch slice of the state.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <type_traits>

#include "frame/bodies.h"
#include "frame/parallel.h"
#include "frame/state.h"

#if KVP_HAVE_HWY
#include <hwy/highway.h>
#endif

namespace {

using namespace kvp;

struct FlowState {
  StateHead head;
  int maxW, maxH, maxWin;
  int team;              // scratch slices
  long long sliceBytes;  // bytes per slice, a multiple of 64
  long long offScratch;  // first slice, from the state's aligned base
};

template <class T>
constexpr Kvp32u kFlowKind = 0x464c0000u | (Kvp32u)sizeof(T);

// Window stride: the window side rounded up to eight columns.
inline int windowStride(int win) { return (win + 7) & ~7; }

// Slice layout (floats): patch (win + 3)^2, gradients 2 x (win + 1)^2,
// window arrays 3 x win x stride, the next image's patch of (win + 1) rows
// of stride + 8 (columns past win + 1 stay zero), and a lane mask of stride
// words (all ones on the window's columns, zero on the padding).
struct Slice {
  float *patch, *gx, *gy, *I, *Ix, *Iy, *jp;
  uint32_t* mask;
};
inline int patchStride(int win) { return windowStride(win) + 8; }
inline long long sliceBytesFor(int win) {
  const long long ws = windowStride(win), p = win + 3, g = win + 1;
  long long off = regionAfter(0, p * p * 4);
  off = regionAfter(off, g * g * 4);
  off = regionAfter(off, g * g * 4);
  off = regionAfter(off, win * ws * 4);
  off = regionAfter(off, win * ws * 4);
  off = regionAfter(off, win * ws * 4);
  off = regionAfter(off, (win + 1LL) * patchStride(win) * 4);
  return regionAfter(off, ws * 4);
}
inline Slice sliceAt(unsigned char* base, int win) {
  const long long ws = windowStride(win), p = win + 3, g = win + 1;
  Slice s;
  long long off = 0;
  auto take = [&](long long bytes) {
    float* f = reinterpret_cast<float*>(base + off);
    off = regionAfter(off, bytes);
    return f;
  };
  s.patch = take(p * p * 4);
  s.gx = take(g * g * 4);
  s.gy = take(g * g * 4);
  s.I = take(win * ws * 4);
  s.Ix = take(win * ws * 4);
  s.Iy = take(win * ws * 4);
  s.jp = take((win + 1LL) * patchStride(win) * 4);
  s.mask = reinterpret_cast<uint32_t*>(take(ws * 4));
  return s;
}

template <class T>
KvpStatus flowInitAlloc(void** ppState, KvpiSize roi, int winSize) {
  if (!ppState) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1 || winSize < 3) return kvpStsBadSize;
  if ((winSize & 1) == 0) return kvpStsBadArg;
  const int team = clampTeam(ownGetNumThreads());
  const long long slice = sliceBytesFor(winSize);
  const long long off = regionAfter(0, sizeof(FlowState));
  const long long total = off + slice * team;
  if (total > kMaxBlock) return kvpStsNoMemory;
  return allocState<void, FlowState>(total, kFlowKind<T>, ppState, [&](FlowState* s, unsigned char*) {
    s->maxW = roi.width;
    s->maxH = roi.height;
    s->maxWin = winSize;
    s->team = team;
    s->sliceBytes = slice;
    s->offScratch = off;
  });
}

// ---- level access -----------------------------------------------------------

// Index i of an axis of n samples, mirrored about the edges without
// repeating them, as often as needed.
inline int mirror(int i, int n) {
  if (n == 1) return 0;
  const int period = 2 * n - 2;
  int m = (i < 0 ? -i : i) % period;
  return m < n ? m : period - m;
}

template <class T>
struct Level {
  const T* img;
  int step, W, H;
  const T* row(int y) const { return rowAt(img, step, y); }
  // Loads the side x side patch with top-left (x0, y0) as float, rows
  // `stride` floats apart.
  void patch(int x0, int y0, int side, int stride, float* out) const {
    if (x0 >= 0 && y0 >= 0 && x0 + side <= W && y0 + side <= H) {
      for (int v = 0; v < side; ++v) {
        const T* r = row(y0 + v) + x0;
        float* o = out + (long long)v * stride;
#pragma omp simd
        for (int c = 0; c < side; ++c) o[c] = (float)r[c];
      }
      return;
    }
    for (int v = 0; v < side; ++v) {
      const T* r = row(mirror(y0 + v, H));
      float* o = out + (long long)v * stride;
      for (int c = 0; c < side; ++c) o[c] = (float)r[mirror(x0 + c, W)];
    }
  }
  bool inside(float px, float py, int h) const {
    return (double)px >= (double)(-h - 1) && (double)px < (double)W + h && (double)py >= (double)(-h - 1) &&
           (double)py < (double)H + h;
  }
};

// ---- window arithmetic ------------------------------------------------------

struct Weights {
  int ix, iy;
  float w00, w01, w10, w11;
};
inline Weights weightsAt(float px, float py) {
  Weights w;
  const float fx = std::floor(px), fy = std::floor(py);
  w.ix = (int)fx;
  w.iy = (int)fy;
  const float a = px - fx, b = py - fy;
  w.w00 = (1.0f - a) * (1.0f - b);
  w.w01 = a * (1.0f - b);
  w.w10 = (1.0f - a) * b;
  w.w11 = a * b;
  return w;
}

// Row v of the bilinear window from rows r0 (cells v) and r1 (cells v + 1).
template <class E>
inline void sampleRow(const E* r0, const E* r1, const Weights& w, int win, float* out) {
#pragma omp simd
  for (int c = 0; c < win; ++c)
    out[c] =
        ((w.w00 * (float)r0[c] + w.w01 * (float)r0[c + 1]) + w.w10 * (float)r1[c]) + w.w11 * (float)r1[c + 1];
}

inline float combine8(const float* a) {
  return ((a[0] + a[4]) + (a[2] + a[6])) + ((a[1] + a[5]) + (a[3] + a[7]));
}

// The three sums of the gradient matrix.
inline void gradientSums(const Slice& s, int win, float& A11, float& A12, float& A22) {
  const int ws = windowStride(win);
  float a11[8] = {}, a12[8] = {}, a22[8] = {};
  for (int v = 0; v < win; ++v) {
    const float* x = s.Ix + (long long)v * ws;
    const float* y = s.Iy + (long long)v * ws;
    for (int c0 = 0; c0 < ws; c0 += 8) {
#pragma omp simd
      for (int l = 0; l < 8; ++l) {
        const float gx = x[c0 + l], gy = y[c0 + l];
        a11[l] = a11[l] + gx * gx;
        a12[l] = a12[l] + gx * gy;
        a22[l] = a22[l] + gy * gy;
      }
    }
  }
  A11 = combine8(a11);
  A12 = combine8(a12);
  A22 = combine8(a22);
}

// Samples the next image's window at (px, py) of level lv from its float
// patch and returns the mismatch sums b1 = sum e Ix, b2 = sum e Iy, or
// (Err) the sum of |e|, with e = J - I. The padding lanes compute from
// whatever the patch holds there; the mask turns their e into +0, which
// leaves every accumulator unchanged.
template <bool Err, class T>
inline void mismatchAt(const Level<T>& lv, float px, float py, const Slice& s, int win, float& b1,
                       float& b2) {
  const int h = (win - 1) / 2, ws = windowStride(win), pst = patchStride(win);
  const Weights w = weightsAt(px, py);
  lv.patch(w.ix - h, w.iy - h, win + 1, pst, s.jp);
  float a1[8] = {}, a2[8] = {};
#if KVP_HAVE_HWY && HWY_TARGET != HWY_SCALAR
  // Accumulator l of the eight lives in lane l % 4 of vector l / 4.
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::FixedTag<float, 4> d;
  const hn::RebindToUnsigned<decltype(d)> du;
  const auto w00 = hn::Set(d, w.w00), w01 = hn::Set(d, w.w01), w10 = hn::Set(d, w.w10),
             w11 = hn::Set(d, w.w11);
  auto s1a = hn::Zero(d), s1b = hn::Zero(d), s2a = hn::Zero(d), s2b = hn::Zero(d);
  for (int v = 0; v < win; ++v) {
    const float* p0 = s.jp + (long long)v * pst;
    const float* p1 = p0 + pst;
    const float* I = s.I + (long long)v * ws;
    const float* Ix = s.Ix + (long long)v * ws;
    const float* Iy = s.Iy + (long long)v * ws;
    for (int c0 = 0; c0 < ws; c0 += 8) {
      for (int half = 0; half < 2; ++half) {
        const int c = c0 + 4 * half;
        const auto j = hn::Add(
            hn::Add(hn::Add(hn::Mul(w00, hn::LoadU(d, p0 + c)), hn::Mul(w01, hn::LoadU(d, p0 + c + 1))),
                    hn::Mul(w10, hn::LoadU(d, p1 + c))),
            hn::Mul(w11, hn::LoadU(d, p1 + c + 1)));
        const auto e = hn::And(hn::Sub(j, hn::Load(d, I + c)), hn::BitCast(d, hn::Load(du, s.mask + c)));
        auto& acc1 = half ? s1b : s1a;
        auto& acc2 = half ? s2b : s2a;
        if constexpr (Err) {
          acc1 = hn::Add(acc1, hn::Abs(e));
        } else {
          acc1 = hn::Add(acc1, hn::Mul(e, hn::Load(d, Ix + c)));
          acc2 = hn::Add(acc2, hn::Mul(e, hn::Load(d, Iy + c)));
        }
      }
    }
  }
  hn::StoreU(s1a, d, a1);
  hn::StoreU(s1b, d, a1 + 4);
  hn::StoreU(s2a, d, a2);
  hn::StoreU(s2b, d, a2 + 4);
#else
  for (int v = 0; v < win; ++v) {
    const float* p0 = s.jp + (long long)v * pst;
    const float* p1 = p0 + pst;
    const float* I = s.I + (long long)v * ws;
    const float* Ix = s.Ix + (long long)v * ws;
    const float* Iy = s.Iy + (long long)v * ws;
    for (int c0 = 0; c0 < ws; c0 += 8) {
      for (int l = 0; l < 8; ++l) {
        const int c = c0 + l;
        const float j = ((w.w00 * p0[c] + w.w01 * p0[c + 1]) + w.w10 * p1[c]) + w.w11 * p1[c + 1];
        float e = j - I[c];
        uint32_t bits;
        std::memcpy(&bits, &e, 4);
        bits &= s.mask[c];
        std::memcpy(&e, &bits, 4);
        if constexpr (Err) {
          a1[l] = a1[l] + std::fabs(e);
        } else {
          a1[l] = a1[l] + e * Ix[c];
          a2[l] = a2[l] + e * Iy[c];
        }
      }
    }
  }
#endif
  b1 = combine8(a1);
  b2 = Err ? 0.0f : combine8(a2);
}

// Window arrays I, Ix, Iy of the previous image at (px, py).
template <class T>
void windowArrays(const Level<T>& lv, float px, float py, const Slice& s, int win) {
  const int h = (win - 1) / 2, ws = windowStride(win), g = win + 1, p = win + 3;
  const Weights w = weightsAt(px, py);
  const int x0 = w.ix - h, y0 = w.iy - h;  // cell (0, 0)
  lv.patch(x0 - 1, y0 - 1, p, p, s.patch);
  for (int v = 0; v < g; ++v) {
    const float* up = s.patch + (long long)v * p;  // patch row of cell row v - 1
    const float* mid = up + p;
    const float* dn = mid + p;
    float* gx = s.gx + (long long)v * g;
    float* gy = s.gy + (long long)v * g;
#pragma omp simd
    for (int c = 0; c < g; ++c) {
      // Patch column c + 1 is cell column c.
      const float vl = ((up[c] + dn[c]) * 3.0f) + mid[c] * 10.0f;
      const float vr = ((up[c + 2] + dn[c + 2]) * 3.0f) + mid[c + 2] * 10.0f;
      const float ut = ((up[c] + up[c + 2]) * 3.0f) + up[c + 1] * 10.0f;
      const float ub = ((dn[c] + dn[c + 2]) * 3.0f) + dn[c + 1] * 10.0f;
      gx[c] = (vr - vl) * 0.03125f;
      gy[c] = (ub - ut) * 0.03125f;
    }
    const int y = y0 + v;
    if (y < 0 || y >= lv.H) {
      for (int c = 0; c < g; ++c) gx[c] = gy[c] = 0.0f;
    } else {
      for (int c = 0; c < g; ++c)
        if (x0 + c < 0 || x0 + c >= lv.W) gx[c] = gy[c] = 0.0f;
    }
  }
  for (int v = 0; v < win; ++v) {
    float* I = s.I + (long long)v * ws;
    float* Ix = s.Ix + (long long)v * ws;
    float* Iy = s.Iy + (long long)v * ws;
    sampleRow(s.patch + (long long)(v + 1) * p + 1, s.patch + (long long)(v + 2) * p + 1, w, win, I);
    sampleRow(s.gx + (long long)v * g, s.gx + (long long)(v + 1) * g, w, win, Ix);
    sampleRow(s.gy + (long long)v * g, s.gy + (long long)(v + 1) * g, w, win, Iy);
    for (int c = win; c < ws; ++c) I[c] = Ix[c] = Iy[c] = 0.0f;
  }
}

// ---- the tracking call --------------------------------------------------------

template <class T>
struct Track {
  const KvpiPyramid *pyr1, *pyr2;
  int win, maxLev, maxIter;
  double thr2;
  float minEig, minDet;

  static Level<T> level(const KvpiPyramid* p, int L) {
    return Level<T>{reinterpret_cast<const T*>(p->pImage[L]), p->pStep[L], p->pRoi[L].width,
                    p->pRoi[L].height};
  }
  float down(int L) const { return (float)(1.0 / pyr1->pRate[L]); }

  void point(const KvpiPoint_32f& p0, KvpiPoint_32f& guess, Kvp8s& status, Kvp32f* err,
             const Slice& s) const {
    const int h = (win - 1) / 2;
    const float N = (float)(win * win);
    const float dm = down(maxLev);
    float dx = guess.x * dm, dy = guess.y * dm;
    bool tracked = true;
    for (int L = maxLev; L >= 0; --L) {
      const Level<T> I = level(pyr1, L), J = level(pyr2, L);
      const float dl = down(L);
      const float px = p0.x * dl, py = p0.y * dl;
      if (!I.inside(px, py, h)) {
        if (L == 0) tracked = false;
      } else {
        windowArrays(I, px, py, s, win);
        float A11, A12, A22;
        gradientSums(s, win, A11, A12, A22);
        const float D = (A11 * A22) - (A12 * A12);
        const float lambda =
            ((A22 + A11) - std::sqrt(((A11 - A22) * (A11 - A22)) + ((4.0f * A12) * A12))) / (2.0f * N);
        if (lambda < minEig || D < minDet) {
          if (L == 0) tracked = false;
        } else {
          const float invD = 1.0f / D;
          float px0 = 0.0f, py0 = 0.0f;
          for (int j = 0; j < maxIter; ++j) {
            if (!J.inside(dx, dy, h)) {
              if (L == 0) tracked = false;
              break;
            }
            float b1, b2;
            mismatchAt<false>(J, dx, dy, s, win, b1, b2);
            const float ddx = ((A12 * b2) - (A22 * b1)) * invD;
            const float ddy = ((A12 * b1) - (A11 * b2)) * invD;
            dx = dx + ddx;
            dy = dy + ddy;
            if ((double)ddx * ddx + (double)ddy * ddy <= thr2) break;
            if (j > 0 && std::fabs(ddx + px0) < 0.01 && std::fabs(ddy + py0) < 0.01) {
              dx = dx - ddx * 0.5f;
              dy = dy - ddy * 0.5f;
              break;
            }
            px0 = ddx;
            py0 = ddy;
          }
        }
      }
      if (L > 0) {
        const float up = (float)(pyr1->pRate[L] / pyr1->pRate[L - 1]);
        dx = dx * up;
        dy = dy * up;
      }
    }
    const Level<T> J0 = level(pyr2, 0);
    if (tracked && !J0.inside(dx, dy, h)) tracked = false;
    float e = 0.0f;
    if (tracked && err) {
      float unused;
      mismatchAt<true>(J0, dx, dy, s, win, e, unused);
      e = e * (1.0f / N);
    }
    guess.x = dx;
    guess.y = dy;
    status = tracked ? 1 : 0;
    if (err) *err = e;
  }
};

template <class T>
KvpStatus levelChecks(const KvpiPyramid* a, const KvpiPyramid* b, int L) {
  if (!a->pImage[L] || !b->pImage[L]) return kvpStsNullPtr;
  const KvpiSize ra = a->pRoi[L], rb = b->pRoi[L];
  if (ra.width < 1 || ra.height < 1 || rb.width < 1 || rb.height < 1) return kvpStsError;
  if (ra.width != rb.width || ra.height != rb.height || !(a->pRate[L] == b->pRate[L])) return kvpStsError;
  const long long row = (long long)ra.width * (long long)sizeof(T);
  for (const KvpiPyramid* p : {a, b})
    if ((long long)p->pStep[L] < row || p->pStep[L] % (int)sizeof(T) != 0) return kvpStsError;
  const double r = a->pRate[L];
  if (!std::isfinite(r) || a->pRate[0] != 1.0 || (L >= 1 && r <= a->pRate[L - 1])) return kvpStsError;
  return kvpStsOk;
}

template <class T>
KvpStatus flowTrack(const KvpiPyramid* pPyr1, const KvpiPyramid* pPyr2, const KvpiPoint_32f* pPrev,
                    KvpiPoint_32f* pNext, Kvp8s* pStatus, Kvp32f* pError, int numFeat, int winSize,
                    int maxLev, int maxIter, Kvp32f threshold, void* pState) {
  if (!pPyr1 || !pPyr2 || !pPrev || !pNext || !pStatus || !pState) return kvpStsNullPtr;
  FlowState* st = stateAt<FlowState>(pState);
  if (numFeat < 1 || winSize < 3 || winSize > st->maxWin) return kvpStsBadSize;
  if ((winSize & 1) == 0 || maxLev < 0 || maxIter < 1 || !(threshold >= 0.0f)) return kvpStsBadArg;
  for (const KvpiPyramid* p : {pPyr1, pPyr2})
    if (!p->pImage || !p->pStep || !p->pRoi || !p->pRate) return kvpStsNullPtr;
  if (pPyr1->level < maxLev || pPyr2->level < maxLev) return kvpStsError;
  for (int L = 0; L <= maxLev; ++L)
    if (KvpStatus s = levelChecks<T>(pPyr1, pPyr2, L)) return s;
  if (pPyr1->pRoi[0].width > st->maxW || pPyr1->pRoi[0].height > st->maxH) return kvpStsBadSize;

  Track<T> job;
  job.pyr1 = pPyr1;
  job.pyr2 = pPyr2;
  job.win = winSize;
  job.maxLev = maxLev;
  job.maxIter = maxIter;
  job.thr2 = (double)threshold * (double)threshold;
  const float s2 = std::is_same_v<T, Kvp16u> ? 65536.0f : 1.0f;
  job.minEig = 0.1024f * s2;
  job.minDet = (0.125f * s2) * s2;

  const int n = std::min(clampTeam(ownGetNumThreads()), st->team);
  const bool threaded = (long long)numFeat * winSize * winSize >= (long long)n * 32768;
  unsigned char* scratch = reinterpret_cast<unsigned char*>(st) + st->offScratch;
  forRowBands(
      numFeat, threaded,
      [&](int i0, int count, int t) {
        const Slice s = sliceAt(scratch + (long long)t * st->sliceBytes, winSize);
        // Patch columns past the window's reach hold zeros; the mask keeps
        // the window's columns.
        const int ws = windowStride(winSize), pst = patchStride(winSize);
        for (int v = 0; v <= winSize; ++v)
          for (int c = winSize + 1; c < pst; ++c) s.jp[(long long)v * pst + c] = 0.0f;
        for (int c = 0; c < ws; ++c) s.mask[c] = c < winSize ? 0xffffffffu : 0u;
        for (int i = i0; i < i0 + count; ++i) {
          const KvpiPoint_32f p0 = pPrev[i];
          KvpiPoint_32f g = pNext[i];
          Kvp8s status;
          Kvp32f e;
          job.point(p0, g, status, pError ? &e : nullptr, s);
          pNext[i] = g;
          pStatus[i] = status;
          if (pError) pError[i] = e;
        }
      },
      n);
  return kvpStsOk;
}

}  // namespace

#define KVP_FLOW_BODIES(E, TS)                                                                              \
  KvpStatus KVP_BODY(kvpiOpticalFlowPyrLKInitAlloc_##TS##_C1R)(KvpiOptFlowPyrLK_##TS * *ppState,            \
                                                               KvpiSize roiSize, int winSize) {             \
    return flowInitAlloc<E>(reinterpret_cast<void**>(ppState), roiSize, winSize);                           \
  }                                                                                                         \
  KvpStatus KVP_BODY(kvpiOpticalFlowPyrLKFree_##TS##_C1R)(KvpiOptFlowPyrLK_##TS * pState) {                 \
    return freeState(pState);                                                                               \
  }                                                                                                         \
  KvpStatus KVP_BODY(kvpiOpticalFlowPyrLK_##TS##_C1R)(                                                      \
      const KvpiPyramid* pPyr1, const KvpiPyramid* pPyr2, const KvpiPoint_32f* pPrev, KvpiPoint_32f* pNext, \
      Kvp8s* pStatus, Kvp32f* pError, int numFeat, int winSize, int maxLev, int maxIter, Kvp32f threshold,  \
      KvpiOptFlowPyrLK_##TS* pState) {                                                                      \
    return flowTrack<E>(pPyr1, pPyr2, pPrev, pNext, pStatus, pError, numFeat, winSize, maxLev, maxIter,     \
                        threshold, pState);                                                                 \
  }

KVP_FLOW_BODIES(Kvp8u, 8u)
KVP_FLOW_BODIES(Kvp16u, 16u)
KVP_FLOW_BODIES(Kvp32f, 32f)

// Morphological reconstruction by dilation and by erosion (Vincent's hybrid
// procedure): the marker is first bounded by the mask, one raster and one
// anti-raster scan carry values along the scan directions, and a FIFO of
// pixel indices finishes the propagation from the pixels whose neighbours
// can still change. Only comparisons are made, so every type is exact.
//
// Bands: each band of rows runs the whole procedure on its own rows (the
// rows beyond it treated as absent) with the ring slots of its own pixels,
// which leaves a lower (dilation) or upper (erosion) bound of the result
// that is stable inside the band; the calling thread then queues the pixels
// beside each band boundary that can improve a neighbour across it, and
// drains the queue over the whole ROI. The result is unique, so it does not
// depend on the band layout.
#include "frame/bodies.h"
#include "frame/checks.h"
#include "morph/morph.h"

namespace kvp::morph {
namespace {

inline Wide reconBytes(KvpiSize roi) { return 5 * (Wide)roi.width * roi.height + 64; }

template <class T>
KvpStatus bufferSize(KvpiSize roi, int* pBufSize) {
  if (!pBufSize) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1 || reconBytes(roi) > kMaxState) return kvpStsBadSize;
  *pBufSize = (int)reconBytes(roi);
  return kvpStsOk;
}

// A FIFO on a range of ring slots.
struct Fifo {
  Kvp32u* slot;
  long long cap, head = 0, size = 0;
  void push(Kvp32u p) {
    long long at = head + size++;
    if (at >= cap) at -= cap;
    slot[at] = p;
  }
  Kvp32u pop() {
    const Kvp32u p = slot[head];
    if (++head == cap) head = 0;
    --size;
    return p;
  }
};

template <class T, bool Dilate, bool Eight>
struct Recon {
  const T* I;
  int is;
  T* J;
  int js;
  int W, H;
  Kvp32u* ring;
  Kvp8u* inq;

  // a improves on b (larger for dilation, smaller for erosion).
  static bool better(T a, T b) {
    if constexpr (Dilate)
      return b < a;
    else
      return a < b;
  }
  static T ext(T a, T b) { return better(b, a) ? b : a; }
  static T bound(T v, T lim) { return better(v, lim) ? lim : v; }

  T* jr(int y) const { return rowAt(J, js, y); }
  const T* ir(int y) const { return rowAt(I, is, y); }

  // q (marker jq, mask iq) can be raised (lowered) by a neighbour of marker jp.
  static bool gains(T jp, T jq, T iq) { return better(jp, jq) && better(iq, jq); }

  void enqueue(Fifo& f, long long p) {
    if (!inq[p]) {
      inq[p] = 1;
      f.push((Kvp32u)p);
    }
  }

  // Steps 1 to 3 on rows y0 .. y1 - 1, queueing into f.
  void scans(int y0, int y1, Fifo& f) {
    for (int y = y0; y < y1; ++y) {
      T* j = jr(y);
      const T* i = ir(y);
#pragma omp simd
      for (int x = 0; x < W; ++x) j[x] = bound(j[x], i[x]);
      std::memset(inq + (long long)y * W, 0, (size_t)W);
    }
    // Raster: left, up (and up-left, up-right).
    for (int y = y0; y < y1; ++y) {
      T* j = jr(y);
      const T* i = ir(y);
      if (y > y0) {
        const T* u = jr(y - 1);
        if (Eight && W > 1) {
          j[0] = ext(j[0], ext(u[0], u[1]));
          for (int x = 1; x < W - 1; ++x) j[x] = ext(j[x], ext(u[x], ext(u[x - 1], u[x + 1])));
          j[W - 1] = ext(j[W - 1], ext(u[W - 1], u[W - 2]));
        } else {
#pragma omp simd
          for (int x = 0; x < W; ++x) j[x] = ext(j[x], u[x]);
        }
      }
      T prev = j[0] = bound(j[0], i[0]);
      for (int x = 1; x < W; ++x) prev = j[x] = bound(ext(j[x], prev), i[x]);
    }
    // Anti-raster: right, down (and down-right, down-left); then queue p
    // when one of those can still gain from it.
    for (int y = y1 - 1; y >= y0; --y) {
      T* j = jr(y);
      const T* i = ir(y);
      const T* d = y + 1 < y1 ? jr(y + 1) : nullptr;
      const T* di = y + 1 < y1 ? ir(y + 1) : nullptr;
      if (d) {
        if (Eight && W > 1) {
          j[0] = ext(j[0], ext(d[0], d[1]));
          for (int x = 1; x < W - 1; ++x) j[x] = ext(j[x], ext(d[x], ext(d[x - 1], d[x + 1])));
          j[W - 1] = ext(j[W - 1], ext(d[W - 1], d[W - 2]));
        } else {
#pragma omp simd
          for (int x = 0; x < W; ++x) j[x] = ext(j[x], d[x]);
        }
      }
      T prev = j[W - 1] = bound(j[W - 1], i[W - 1]);
      for (int x = W - 2; x >= 0; --x) prev = j[x] = bound(ext(j[x], prev), i[x]);
      for (int x = 0; x < W; ++x) {
        const T jp = j[x];
        bool q = x + 1 < W && gains(jp, j[x + 1], i[x + 1]);
        if (d) {
          q = q || gains(jp, d[x], di[x]);
          if (Eight)
            q = q || (x > 0 && gains(jp, d[x - 1], di[x - 1])) ||
                (x + 1 < W && gains(jp, d[x + 1], di[x + 1]));
        }
        if (q) enqueue(f, (long long)y * W + x);
      }
    }
  }

  void visit(Fifo& f, T jp, int x, int y) {
    T& jq = jr(y)[x];
    const T iq = ir(y)[x];
    if (gains(jp, jq, iq)) {
      jq = bound(jp, iq);
      enqueue(f, (long long)y * W + x);
    }
  }

  // Step 4 within rows y0 .. y1 - 1.
  void drain(Fifo& f, int y0, int y1) {
    while (f.size) {
      const Kvp32u p = f.pop();
      inq[p] = 0;
      const int y = (int)(p / (Kvp32u)W), x = (int)(p - (Kvp32u)y * W);
      const T jp = jr(y)[x];
      if (x > 0) visit(f, jp, x - 1, y);
      if (x + 1 < W) visit(f, jp, x + 1, y);
      for (int yy : {y - 1, y + 1}) {
        if (yy < y0 || yy >= y1) continue;
        visit(f, jp, x, yy);
        if (Eight) {
          if (x > 0) visit(f, jp, x - 1, yy);
          if (x + 1 < W) visit(f, jp, x + 1, yy);
        }
      }
    }
  }

  void band(int y0, int y1) {
    Fifo f{ring + (long long)y0 * W, (long long)(y1 - y0) * W};
    scans(y0, y1, f);
    drain(f, y0, y1);
  }

  // After the bands: queue the pixels of rows yb - 1 and yb that can still
  // improve a neighbour across the boundary above row yb.
  void seamSeeds(Fifo& f, int yb) {
    for (int side = 0; side < 2; ++side) {
      const int y = side ? yb : yb - 1, yq = side ? yb - 1 : yb;
      const T* j = jr(y);
      const T* jq = jr(yq);
      const T* iq = ir(yq);
      for (int x = 0; x < W; ++x) {
        bool q = gains(j[x], jq[x], iq[x]);
        if (Eight)
          q = q || (x > 0 && gains(j[x], jq[x - 1], iq[x - 1])) ||
              (x + 1 < W && gains(j[x], jq[x + 1], iq[x + 1]));
        if (q) enqueue(f, (long long)y * W + x);
      }
    }
  }
};

template <class T, bool Dilate, bool Eight>
void reconstruct(const T* I, int is, T* J, int js, KvpiSize roi, Kvp8u* pBuf) {
  const int W = roi.width, H = roi.height;
  Kvp32u* ring = alignUp<Kvp32u>(pBuf, 64);
  Recon<T, Dilate, Eight> r{I, is, J, js, W, H, ring, reinterpret_cast<Kvp8u*>(ring + (long long)W * H)};
  const int n = std::min(ownGetNumThreads(), H);
  const bool threaded = n > 1 && (long long)W * H >= (long long)n * 32768;
  const int team = forRowBands(
      H, threaded, [&](int y0, int rows, int) { r.band(y0, y0 + rows); }, H);
  if (team < 2) return;
  Fifo f{ring, (long long)W * H};
  const int per = H / team;
  for (int t = 1; t < team; ++t) r.seamSeeds(f, t * per);
  r.drain(f, 0, H);
}

template <class T, bool Dilate>
KvpStatus reconCall(const T* pSrc, int srcStep, T* pSrcDst, int srcDstStep, KvpiSize roi, Kvp8u* pBuf,
                    KvpiNorm norm) {
  if (!pSrc || !pSrcDst || !pBuf) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1 || reconBytes(roi) > kMaxState) return kvpStsBadSize;
  if (KvpStatus s = checkSteps(roi.width, {plane(pSrc, srcStep), plane(pSrcDst, srcDstStep)})) return s;
  if (norm == kvpiNormL1)
    reconstruct<T, Dilate, false>(pSrc, srcStep, pSrcDst, srcDstStep, roi, pBuf);
  else if (norm == kvpiNormInf)
    reconstruct<T, Dilate, true>(pSrc, srcStep, pSrcDst, srcDstStep, roi, pBuf);
  else
    return kvpStsBadArg;
  return kvpStsOk;
}

}  // namespace
}  // namespace kvp::morph

using namespace kvp::morph;

extern "C" {

#define KVP_MORPH_RECON(TS, T)                                                                              \
  KvpStatus KVP_BODY(kvpiMorphReconstructGetBufferSize_##TS##_C1)(KvpiSize roiSize, int* pBufSize) {        \
    return bufferSize<T>(roiSize, pBufSize);                                                                \
  }                                                                                                         \
  KvpStatus KVP_BODY(kvpiMorphReconstructDilate_##TS##_C1IR)(const T* pSrc, int srcStep, T* pSrcDst,        \
                                                             int srcDstStep, KvpiSize roiSize, Kvp8u* pBuf, \
                                                             KvpiNorm norm) {                               \
    return reconCall<T, true>(pSrc, srcStep, pSrcDst, srcDstStep, roiSize, pBuf, norm);                     \
  }                                                                                                         \
  KvpStatus KVP_BODY(kvpiMorphReconstructErode_##TS##_C1IR)(const T* pSrc, int srcStep, T* pSrcDst,         \
                                                            int srcDstStep, KvpiSize roiSize, Kvp8u* pBuf,  \
                                                            KvpiNorm norm) {                                \
    return reconCall<T, false>(pSrc, srcStep, pSrcDst, srcDstStep, roiSize, pBuf, norm);                    \
  }

KVP_MORPH_RECON(8u, Kvp8u)
KVP_MORPH_RECON(16u, Kvp16u)
KVP_MORPH_RECON(32f, Kvp32f)
KVP_MORPH_RECON(64f, Kvp64f)

}  // extern "C"

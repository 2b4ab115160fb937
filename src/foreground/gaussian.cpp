// Gaussian-mixture background model: per pixel, K records {sortKey, weight,
// mean[C], var[C]} ranked by weight over spread. A pixel is background when
// it matches one of the leading records whose weights first exceed the
// background share. One call classifies, learns and reports the leading
// record's mean as the reference background.
//
// The records of a pixel are contiguous (K * (2 + 2C) floats), so the usual
// case, a match of record 0 without promotion, touches one or two cache
// lines. The reference background is gathered while the records are in
// cache and stored a chunk of pixels at a time. Arithmetic is binary32, left
// to right as written, no contraction.
#include <algorithm>
#include <cstring>

#include "foreground/fg_state.h"
#include "frame/bodies.h"

namespace kvp::fg {
namespace {

const KvpFGGaussianModel kDefaults = {5, 0.7f, -1.f, 200, 0, 0.1f, 0.6f, 0, 15.f};

constexpr float kVarThreshold = 6.25f;
constexpr float kInitWeight = 0x1.99999ap-5f;
constexpr float kInitVar = 900.0f;
constexpr float kEps = 0x1p-23f;

KvpStatus checkModel(const KvpFGGaussianModel& m) {
  const bool ok = m.numGauss >= 1 && m.numGauss <= 8 && finite(m.priorBack) && m.priorBack > 0.f &&
                  m.priorBack <= 1.f && finite(m.updBGProb) && m.updBGProb < 1.f && m.winSize >= 1 &&
                  m.numFrame >= 0 && finite(m.detectionRate) && m.detectionRate >= 0.f &&
                  finite(m.brightnessDistortion) && m.brightnessDistortion >= 0.f &&
                  m.brightnessDistortion < 1.f && finite(m.noiseSigma) && m.noiseSigma > 0.f;
  return ok ? kvpStsOk : kvpStsBadArg;
}

template <int C>
struct Rules {
  static constexpr int R = 2 + 2 * C;  // floats per record
  int K;
  float T, minVar, bright, detect;
  bool shadowBG;
  int numFrame;
  static constexpr float sk0 = C == 1 ? 0x1.b4e81cp-10f : 0x1.f87f12p-11f;
  explicit Rules(const KvpFGGaussianModel& m)
      : K(m.numGauss),
        T(m.priorBack),
        minVar((float)((double)m.noiseSigma * (double)m.noiseSigma)),
        bright(m.brightnessDistortion),
        detect(m.detectionRate),
        shadowBG(m.shadowBG != 0),
        numFrame(m.numFrame) {}
};

// Record fields: [0] sortKey, [1] weight, [2..2+C) mean, [2+C..2+2C) var.
template <int C>
inline void swapRecords(float* a, float* b) {
  for (int i = 0; i < 2 + 2 * C; ++i) std::swap(a[i], b[i]);
}

template <int C>
inline void distance(const float* rec, const float* I, float* diff, float& d2, float& V) {
  for (int c = 0; c < C; ++c) diff[c] = I[c] - rec[2 + c];
  if constexpr (C == 1) {
    d2 = diff[0] * diff[0];
    V = rec[3];
  } else {
    d2 = (diff[0] * diff[0] + diff[1] * diff[1]) + diff[2] * diff[2];
    V = (rec[5] + rec[6]) + rec[7];
  }
}

// The update step at one pixel; returns whether the pixel is foreground.
template <int C, int K>
__attribute__((always_inline)) inline bool learnPixel(float* recs, const float* I, float alpha, float T,
                                                      float minVar) {
  constexpr int R = Rules<C>::R;
  float wsum = 0.0f;
  int hit = -1, k = 0;
  for (; k < K; ++k) {
    float* rec = recs + k * R;
    const float w = rec[1];
    wsum = wsum + w;
    if (w < kEps) break;
    float diff[C], d2, V;
    distance<C>(rec, I, diff, d2, V);
    if (d2 < kVarThreshold * V) {
      wsum = wsum - w;
      rec[1] = w + alpha * (1.0f - w);
      for (int c = 0; c < C; ++c) {
        rec[2 + c] = rec[2 + c] + alpha * diff[c];
        rec[2 + C + c] = std::max(rec[2 + C + c] + alpha * (diff[c] * diff[c] - rec[2 + C + c]), minVar);
      }
      const float Vn = C == 1 ? rec[3] : (rec[5] + rec[6]) + rec[7];
      rec[0] = w / std::sqrt(Vn);
      int p = k;
      while (p > 0 && recs[(p - 1) * R] < recs[p * R]) {
        swapRecords<C>(recs + (p - 1) * R, recs + p * R);
        --p;
      }
      hit = p;
      break;
    }
  }
  if (hit < 0) {
    k = std::min(k, K - 1);
    float* rec = recs + k * R;
    wsum = wsum + (kInitWeight - rec[1]);
    rec[0] = Rules<C>::sk0;
    rec[1] = kInitWeight;
    for (int c = 0; c < C; ++c) {
      rec[2 + c] = I[c];
      rec[2 + C + c] = kInitVar;
    }
    hit = k;
  } else {
    for (int m = k; m < K; ++m) wsum = wsum + recs[m * R + 1];
  }
  const float s = 1.0f / wsum;
  float acc = 0.0f;
  int first = -1;
  if constexpr (C == 1) {
    for (int m = 0; m < K; ++m) {
      float* rec = recs + m * R;
      rec[1] = rec[1] * s;
      acc = acc + rec[1];
      rec[0] = rec[0] * s;
      if (acc > T && first < 0) first = m + 1;
    }
  } else {
    // s is finite and positive, so a zero weight and sort key stay as they
    // are: such records are left unwritten, which keeps their cache lines
    // clean (unused records of a static pixel then cost a read, not a
    // write-back). The running sum of the weights is not needed past the
    // record where it first exceeds T, so it is a loop of its own that
    // stops there. (With one channel the single loop is faster.)
    for (int m = 0; m < K; ++m) {
      float* rec = recs + m * R;
      if (rec[1] != 0.f || rec[0] != 0.f) {
        rec[1] = rec[1] * s;
        rec[0] = rec[0] * s;
      }
    }
    for (int m = 0; m < K; ++m) {
      acc = acc + recs[m * R + 1];
      if (acc > T) {
        first = m + 1;
        break;
      }
    }
  }
  return hit >= first;
}

// Classification without learning (rate 0).
template <int C, int K>
__attribute__((always_inline)) inline bool testPixel(const float* recs, const float* I, float T) {
  constexpr int R = Rules<C>::R;
  int hit = -1;
  for (int k = 0; k < K; ++k) {
    const float* rec = recs + k * R;
    if (rec[1] < kEps) break;
    float diff[C], d2, V;
    distance<C>(rec, I, diff, d2, V);
    if (d2 < kVarThreshold * V) {
      hit = k;
      break;
    }
  }
  if (hit < 0) return true;
  float acc = 0.0f;
  int first = -1;
  for (int k = 0; k < K; ++k) {
    acc = acc + recs[k * R + 1];
    if (acc > T) {
      first = k + 1;
      break;
    }
  }
  return hit >= first;
}

template <int C, int K>
void frameRowK(const FGState& s, const Rules<C>& r, const Kvp8u* src, Kvp8u* ref, Kvp8u* fg, int y,
               float alpha, bool training) {
  constexpr int R = Rules<C>::R;
  float* recs = reinterpret_cast<float*>(s.row(y));
  constexpr int stride = K * R;
  const float T = r.T, minVar = r.minVar;
  const int width = s.size.width;
  const bool shadows = r.shadowBG;
  const float bright = r.bright, detect = r.detect;
  // The leading means as the reference background, gathered per chunk of
  // pixels while the pixel's records are still in cache and stored a chunk
  // at a time (byte stores into the caller's row could alias the records).
  constexpr int kChunk = 64;
  Kvp8u lead[kChunk * C];
  for (int x0 = 0; x0 < width; x0 += kChunk) {
    const int n = std::min(kChunk, width - x0);
    for (int j = 0; j < n; ++j, recs += stride) {
      const int x = x0 + j;
      float I[C];
      for (int c = 0; c < C; ++c) I[c] = (float)src[x * C + c];
      const bool fore =
          alpha > 0.f ? learnPixel<C, K>(recs, I, alpha, T, minVar) : testPixel<C, K>(recs, I, T);
      if (ref)
        for (int c = 0; c < C; ++c) lead[j * C + c] = round8(recs[2 + c]);
      if (fg) {
        Kvp8u out = 0;
        if (!training && fore) out = (shadows && shadow<C>(I, recs + 2, bright, detect)) ? 0 : 255;
        fg[x] = out;
      }
    }
    if (ref) std::memcpy(ref + (size_t)x0 * C, lead, (size_t)n * C);
  }
}

// One row with the component count as a constant.
template <int C>
void frameRow(const FGState& s, const Rules<C>& r, const Kvp8u* src, Kvp8u* ref, Kvp8u* fg, int y,
              float alpha, bool training) {
  switch (r.K) {
    case 1:
      return frameRowK<C, 1>(s, r, src, ref, fg, y, alpha, training);
    case 2:
      return frameRowK<C, 2>(s, r, src, ref, fg, y, alpha, training);
    case 3:
      return frameRowK<C, 3>(s, r, src, ref, fg, y, alpha, training);
    case 4:
      return frameRowK<C, 4>(s, r, src, ref, fg, y, alpha, training);
    case 5:
      return frameRowK<C, 5>(s, r, src, ref, fg, y, alpha, training);
    case 6:
      return frameRowK<C, 6>(s, r, src, ref, fg, y, alpha, training);
    case 7:
      return frameRowK<C, 7>(s, r, src, ref, fg, y, alpha, training);
    default:
      return frameRowK<C, 8>(s, r, src, ref, fg, y, alpha, training);
  }
}

template <int C>
KvpStatus initAlloc(const Kvp8u* pSrc, int srcStep, KvpiSize roi, const KvpFGGaussianModel* pModel,
                    KvpiFGGaussianState** pp) {
  if (!pSrc || !pp) return kvpStsNullPtr;
  if (KvpStatus st = checkSize(roi)) return st;
  if ((long long)srcStep < (long long)roi.width * C) return kvpStsBadStep;
  const KvpFGGaussianModel m = pModel ? *pModel : kDefaults;
  if (KvpStatus st = checkModel(m)) return st;
  KvpiFGGaussianState* out = nullptr;
  const long long pixelBytes = 4LL * m.numGauss * Rules<C>::R;
  KvpStatus st = allocFG(kGaussian, C, roi, pixelBytes, &out, [&](FGState& s) {
    s.gauss = m;
    const Rules<C> r(m);
    forRowBands(roi.height, threadedArea(roi), [&](int y0, int rows, int) {
      for (int y = y0; y < y0 + rows; ++y)
        frameRow<C>(s, r, rowAt(pSrc, srcStep, y), nullptr, nullptr, y, 1.0f, true);
    });
  });
  if (st == kvpStsOk) *pp = out;
  return st;
}

template <int C>
KvpStatus frame(const Kvp8u* pSrc, int srcStep, Kvp8u* pRef, int refStep, Kvp8u* pFG, int fgStep,
                KvpiSize roi, KvpiFGGaussianState* pState) {
  if (!pSrc || !pRef || !pFG || !pState) return kvpStsNullPtr;
  if (!tagged(pState, kGaussian, C)) return kvpStsBadArg;
  if (KvpStatus st = checkSize(roi)) return st;
  if ((long long)srcStep < (long long)roi.width * C) return kvpStsBadStep;
  if ((long long)refStep < (long long)roi.width * C) return kvpStsBadStep;
  if (fgStep < roi.width) return kvpStsBadStep;
  FGState& s = *stateAt<FGState>(pState);
  if (roi.width != s.size.width || roi.height != s.size.height) return kvpStsBadSize;
  const Rules<C> r(s.gauss);
  const int t = nextFrame(s);
  const float alpha =
      s.gauss.updBGProb >= 0.f ? s.gauss.updBGProb : (float)(1.0 / (double)std::min(t, s.gauss.winSize));
  const bool training = t <= s.gauss.numFrame;
  forRowBands(roi.height, threadedArea(roi), [&](int y0, int rows, int) {
    for (int y = y0; y < y0 + rows; ++y)
      frameRow<C>(s, r, rowAt(pSrc, srcStep, y), rowAt(pRef, refStep, y), rowAt(pFG, fgStep, y), y, alpha,
                  training);
  });
  advance(s, t);
  return kvpStsOk;
}

}  // namespace
}  // namespace kvp::fg

using namespace kvp::fg;

extern "C" {

KvpStatus KVP_BODY(kvpiForegroundGaussianInitAlloc_8u_C1R)(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize,
                                                           const KvpFGGaussianModel* pModel,
                                                           KvpiFGGaussianState_8u_C1R** ppState) {
  return initAlloc<1>(pSrc, srcStep, roiSize, pModel, ppState);
}
KvpStatus KVP_BODY(kvpiForegroundGaussianInitAlloc_8u_C3R)(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize,
                                                           const KvpFGGaussianModel* pModel,
                                                           KvpiFGGaussianState_8u_C3R** ppState) {
  return initAlloc<3>(pSrc, srcStep, roiSize, pModel, ppState);
}
KvpStatus KVP_BODY(kvpiForegroundGaussian_8u_C1R)(const Kvp8u* pSrc, int srcStep, Kvp8u* pRef, int refStep,
                                                  Kvp8u* pDstFG, int dstFGStep, KvpiSize roiSize,
                                                  KvpiFGGaussianState_8u_C1R* pState) {
  return frame<1>(pSrc, srcStep, pRef, refStep, pDstFG, dstFGStep, roiSize, pState);
}
KvpStatus KVP_BODY(kvpiForegroundGaussian_8u_C3R)(const Kvp8u* pSrc, int srcStep, Kvp8u* pRef, int refStep,
                                                  Kvp8u* pDstFG, int dstFGStep, KvpiSize roiSize,
                                                  KvpiFGGaussianState_8u_C3R* pState) {
  return frame<3>(pSrc, srcStep, pRef, refStep, pDstFG, dstFGStep, roiSize, pState);
}
KvpStatus KVP_BODY(kvpiForegroundGaussianFree)(KvpiFGGaussianState* pState) {
  if (pState && !tagged(pState, kGaussian, 1) && !tagged(pState, kGaussian, 3)) return kvpStsBadArg;
  return freeFG(pState);
}

}  // extern "C"

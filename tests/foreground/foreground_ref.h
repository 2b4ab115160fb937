// Plain references for the two background models: one pixel at a time,
// each pixel's model in ordinary containers, every rule written out in the
// documented order in binary32. Also the statuses the argument checks call
// for. Shared by the unit tests and the fuzz target.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "kvpcv.h"

namespace fgref {

inline bool finite(float v) { return std::isfinite(v); }

inline uint8_t round8(float v) {
  const float c = std::min(std::max(v, 0.f), 255.f);
  return (uint8_t)std::nearbyint(c);
}

inline KvpFGHistogramModel histDefaults() {
  return {16, 16, 6, 8, 8, 12, 0.02f, 0.005f, 20, 0.1f, 0.6f, 0, 20};
}
inline KvpFGGaussianModel gaussDefaults() { return {5, 0.7f, -1.f, 200, 0, 0.1f, 0.6f, 0, 15.f}; }

inline bool validHist(const KvpFGHistogramModel& m, int C) {
  if (m.valueQuant < 2 || m.valueQuant > 256) return false;
  if (m.changeQuant < 2 || m.changeQuant > (C == 1 ? 256 : 40)) return false;
  if (m.valueUse < 1 || m.valueAll < m.valueUse || m.valueAll > 64) return false;
  if (m.changeUse < 1 || m.changeAll < m.changeUse || m.changeAll > 64) return false;
  if (!finite(m.updBGChange) || !(m.updBGChange > 0.f && m.updBGChange <= 1.f)) return false;
  if (!finite(m.updBGRef) || !(m.updBGRef > 0.f && m.updBGRef <= 1.f)) return false;
  if (m.numFrame < 0) return false;
  if (!finite(m.detectionRate) || m.detectionRate < 0.f) return false;
  if (!finite(m.brightnessDistortion) || m.brightnessDistortion < 0.f || m.brightnessDistortion >= 1.f)
    return false;
  return m.diffThreshold >= 1 && m.diffThreshold <= 255;
}

inline bool validGauss(const KvpFGGaussianModel& m) {
  if (m.numGauss < 1 || m.numGauss > 8) return false;
  if (!finite(m.priorBack) || !(m.priorBack > 0.f && m.priorBack <= 1.f)) return false;
  if (!finite(m.updBGProb) || m.updBGProb >= 1.f) return false;
  if (m.winSize < 1 || m.numFrame < 0) return false;
  if (!finite(m.detectionRate) || m.detectionRate < 0.f) return false;
  if (!finite(m.brightnessDistortion) || m.brightnessDistortion < 0.f || m.brightnessDistortion >= 1.f)
    return false;
  return finite(m.noiseSigma) && m.noiseSigma > 0.f;
}

// InitAlloc's checks (before allocation).
inline KvpStatus initStatus(bool nullSrc, bool nullOut, KvpiSize roi, int srcStep, int C, bool modelOk) {
  if (nullSrc || nullOut) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1) return kvpStsBadSize;
  if ((long long)srcStep < (long long)roi.width * C) return kvpStsBadStep;
  return modelOk ? kvpStsOk : kvpStsBadArg;
}

// Checks of Update and of the Gaussian call: pointers, tag, size, steps
// (rows of C, C and 1 bytes; fgStep < 0 means "no such plane"), state size.
inline KvpStatus workStatus(bool anyNull, bool tagOk, KvpiSize roi, KvpiSize stateSize, int C, int srcStep,
                            int refStep, int fgStep, bool withFg) {
  if (anyNull) return kvpStsNullPtr;
  if (!tagOk) return kvpStsBadArg;
  if (roi.width < 1 || roi.height < 1) return kvpStsBadSize;
  if ((long long)srcStep < (long long)roi.width * C) return kvpStsBadStep;
  if ((long long)refStep < (long long)roi.width * C) return kvpStsBadStep;
  if (withFg && fgStep < roi.width) return kvpStsBadStep;
  if (roi.width != stateSize.width || roi.height != stateSize.height) return kvpStsBadSize;
  return kvpStsOk;
}

// Checks of the histogram classification (the state gives the width).
inline KvpStatus classifyStatus(bool anyNull, bool tagOk, int width, int C, int srcStep, int fgStep) {
  if (anyNull) return kvpStsNullPtr;
  if (!tagOk) return kvpStsBadArg;
  if ((long long)srcStep < (long long)width * C) return kvpStsBadStep;
  if (fgStep < width) return kvpStsBadStep;
  return kvpStsOk;
}

// Shadow test of colour I against reference R.
inline bool shadow(int C, const float* I, const float* R, float bright, float detect) {
  C = C < 3 ? C : 3;  // pixels hold at most three channels
  float m2 = R[0] * R[0];
  for (int c = 1; c < C; ++c) m2 = m2 + R[c] * R[c];
  if (m2 == 0.f) return false;
  float p = I[0] * R[0];
  for (int c = 1; c < C; ++c) p = p + I[c] * R[c];
  const float beta = p / m2;
  if (!(beta >= bright) || !(beta < 1.f)) return false;
  if (C == 1) return true;
  float e = (I[0] - beta * R[0]) * (I[0] - beta * R[0]);
  e = e + (I[1] - beta * R[1]) * (I[1] - beta * R[1]);
  e = e + (I[2] - beta * R[2]) * (I[2] - beta * R[2]);
  return e <= (detect * detect) * m2;
}

// ---- histogram model -------------------------------------------------------------

struct Entry {
  uint32_t code = 0xFFFFFFFFu;
  float pv = 0.f, pvb = 0.f;
};

struct HistPixel {
  std::vector<Entry> table[2];  // 0: colour, 1: co-occurrence
  float pb[2] = {1.f, 1.f};
  float B[3] = {};
  uint8_t P[3] = {};
};

class Histogram {
 public:
  Histogram(int channels, const KvpFGHistogramModel& m, int width, int height, const uint8_t* frame, int step)
      : C(channels), m_(m), w_(width), h_(height), px_((size_t)width * height) {
    for (int y = 0; y < h_; ++y)
      for (int x = 0; x < w_; ++x) {
        HistPixel& p = px_[(size_t)y * w_ + x];
        const uint8_t* I = frame + (size_t)y * step + x * C;
        p.table[0].assign(m_.valueAll, Entry{});
        p.table[1].assign(m_.changeAll, Entry{});
        p.table[0][0] = {code(I, m_.valueQuant), 1.f, 1.f};
        p.table[1][0] = {change(I, I), 1.f, 1.f};
        for (int c = 0; c < C; ++c) {
          p.B[c] = I[c];
          p.P[c] = I[c];
        }
      }
  }

  // The mask of the next frame (the model unchanged).
  void classify(const uint8_t* frame, int step, uint8_t* mask, int maskStep) const {
    for (int y = 0; y < h_; ++y)
      for (int x = 0; x < w_; ++x) {
        const HistPixel& p = px_[(size_t)y * w_ + x];
        const uint8_t* I = frame + (size_t)y * step + x * C;
        int kind;
        uint8_t out = 0;
        if (!background(p, I, kind)) {
          out = 255;
          float fi[3] = {};
          for (int c = 0; c < C; ++c) fi[c] = I[c];
          if (m_.shadowBG && shadow(C, fi, p.B, m_.brightnessDistortion, m_.detectionRate)) out = 0;
        }
        mask[(size_t)y * maskStep + x] = out;
      }
  }

  // Learns the next frame; writes the rounded reference background.
  void update(const uint8_t* frame, int step, uint8_t* ref, int refStep) {
    const float a = 1.0f - m_.updBGChange, b = 1.0f - m_.updBGRef;
    for (int y = 0; y < h_; ++y)
      for (int x = 0; x < w_; ++x) {
        HistPixel& p = px_[(size_t)y * w_ + x];
        const uint8_t* I = frame + (size_t)y * step + x * C;
        int kind;
        const bool M = background(p, I, kind);
        learn(p.table[0], p.pb[0], m_.valueUse, code(I, m_.valueQuant), M, a);
        learn(p.table[1], p.pb[1], m_.changeUse, change(p.P, I), M, a);
        for (int c = 0; c < C; ++c) {
          if (M && kind == 1)
            p.B[c] = (float)I[c];
          else if (M)
            p.B[c] = b * p.B[c] + m_.updBGRef * (float)I[c];
          p.P[c] = I[c];
          ref[(size_t)y * refStep + x * C + c] = round8(p.B[c]);
        }
      }
    counter_ = std::min(counter_ + 1, 0x7ffffffe);
  }

  const HistPixel& pixel(int x, int y) const { return px_[(size_t)y * w_ + x]; }

 private:
  uint32_t code(const uint8_t* v, int L) const {
    uint32_t k = 0;
    for (int c = 0; c < C; ++c) k = k * (uint32_t)L + (((uint32_t)v[c] * (uint32_t)L) >> 8);
    return k;
  }
  uint32_t change(const uint8_t* prev, const uint8_t* v) const {
    uint32_t pw = 1;
    for (int c = 0; c < C; ++c) pw *= (uint32_t)m_.changeQuant;
    return code(prev, m_.changeQuant) * pw + code(v, m_.changeQuant);
  }
  // kind: 0 none, 1 colour, 2 co-occurrence.
  bool background(const HistPixel& p, const uint8_t* I, int& kind) const {
    kind = 0;
    if (counter_ + 1 <= m_.numFrame) return true;
    int motion = 0, diff = 0;
    for (int c = 0; c < C; ++c) {
      motion = std::max(motion, std::abs((int)I[c] - (int)p.P[c]));
      diff = std::max(diff, std::abs((int)I[c] - (int)round8(p.B[c])));
    }
    uint32_t v;
    int n1;
    const std::vector<Entry>* t;
    if (motion >= m_.diffThreshold) {
      kind = 2, v = change(p.P, I), n1 = m_.changeUse, t = &p.table[1];
    } else if (diff >= m_.diffThreshold) {
      kind = 1, v = code(I, m_.valueQuant), n1 = m_.valueUse, t = &p.table[0];
    } else {
      return true;
    }
    for (int j = 0; j < n1; ++j)
      if ((*t)[j].code == v) return 2.0f * (*t)[j].pvb > (*t)[j].pv;
    return false;
  }
  void learn(std::vector<Entry>& e, float& pb, int n1, uint32_t v, bool M, float a) const {
    const float a1 = m_.updBGChange;
    const int n2 = (int)e.size();
    pb = a * pb;
    if (M) pb = pb + a1;
    int j = -1;
    for (int i = 0; i < n2 && j < 0; ++i)
      if (e[i].code == v) j = i;
    for (Entry& x : e) {
      x.pv = a * x.pv;
      x.pvb = a * x.pvb;
    }
    if (j >= 0) {
      e[j].pv = e[j].pv + a1;
      if (M) e[j].pvb = e[j].pvb + a1;
    } else {
      j = n2 - 1;
      e[j] = {v, a1, M ? a1 : 0.f};
    }
    for (; j > 0 && e[j].pv > e[j - 1].pv; --j) std::swap(e[j], e[j - 1]);
    float f = 0.0f;
    for (int i = 0; i < n1; ++i) f = f + (e[i].pv - e[i].pvb);
    if (pb < 0.5f && f > 0.9f * (1.0f - pb)) {
      pb = 1.0f - pb;
      for (Entry& x : e) x.pvb = x.pv - x.pvb;
    }
  }

  int C;
  KvpFGHistogramModel m_;
  int w_, h_;
  int counter_ = 1;
  std::vector<HistPixel> px_;
};

// ---- Gaussian model ----------------------------------------------------------------

struct Gauss {
  float sortKey = 0.f, weight = 0.f, mean[3] = {}, var[3] = {};
};

class Gaussian {
 public:
  Gaussian(int channels, const KvpFGGaussianModel& m, int width, int height, const uint8_t* frame, int step)
      : C(channels), m_(m), w_(width), h_(height), px_((size_t)width * height * m.numGauss) {
    run(frame, step, nullptr, 0, nullptr, 0, 1.0f, false);
  }

  // The Gaussian call for the next frame.
  void apply(const uint8_t* frame, int step, uint8_t* ref, int refStep, uint8_t* mask, int maskStep) {
    const int t = counter_ + 1;
    const float alpha = m_.updBGProb >= 0.f ? m_.updBGProb : (float)(1.0 / (double)std::min(t, m_.winSize));
    run(frame, step, ref, refStep, mask, maskStep, alpha, t <= m_.numFrame);
    counter_ = std::min(t, 0x7ffffffe);
  }

  const Gauss& record(int x, int y, int k) const { return px_[((size_t)y * w_ + x) * m_.numGauss + k]; }

 private:
  float d2V(const Gauss& g, const float* I, float* diff, float& V) const {
    for (int c = 0; c < C; ++c) diff[c] = I[c] - g.mean[c];
    if (C == 1) {
      V = g.var[0];
      return diff[0] * diff[0];
    }
    V = (g.var[0] + g.var[1]) + g.var[2];
    return (diff[0] * diff[0] + diff[1] * diff[1]) + diff[2] * diff[2];
  }

  bool step(Gauss* g, const float* I, float alpha) const {
    const int K = m_.numGauss;
    const float minVar = (float)((double)m_.noiseSigma * (double)m_.noiseSigma);
    const float eps = 0x1p-23f;
    if (alpha == 0.f) {
      int hit = -1;
      for (int k = 0; k < K && hit < 0; ++k) {
        if (g[k].weight < eps) break;
        float diff[3], V;
        if (d2V(g[k], I, diff, V) < 6.25f * V) hit = k;
      }
      if (hit < 0) return true;
      float acc = 0.0f;
      int first = -1;
      for (int k = 0; k < K && first < 0; ++k) {
        acc = acc + g[k].weight;
        if (acc > m_.priorBack) first = k + 1;
      }
      return hit >= first;
    }
    float wsum = 0.0f;
    int hit = -1, k = 0;
    for (; k < K; ++k) {
      const float w = g[k].weight;
      wsum = wsum + w;
      if (w < eps) break;
      float diff[3], V;
      if (d2V(g[k], I, diff, V) < 6.25f * V) {
        wsum = wsum - w;
        g[k].weight = w + alpha * (1.0f - w);
        for (int c = 0; c < C; ++c) {
          g[k].mean[c] = g[k].mean[c] + alpha * diff[c];
          g[k].var[c] = std::max(g[k].var[c] + alpha * (diff[c] * diff[c] - g[k].var[c]), minVar);
        }
        const float Vn = C == 1 ? g[k].var[0] : (g[k].var[0] + g[k].var[1]) + g[k].var[2];
        g[k].sortKey = w / std::sqrt(Vn);
        int p = k;
        for (; p > 0 && g[p - 1].sortKey < g[p].sortKey; --p) std::swap(g[p - 1], g[p]);
        hit = p;
        break;
      }
    }
    if (hit < 0) {
      k = std::min(k, K - 1);
      wsum = wsum + (0.05f - g[k].weight);
      g[k].sortKey = C == 1 ? 0x1.b4e81cp-10f : 0x1.f87f12p-11f;
      g[k].weight = 0.05f;
      for (int c = 0; c < C; ++c) {
        g[k].mean[c] = I[c];
        g[k].var[c] = 900.0f;
      }
      hit = k;
    } else {
      for (int m = k; m < K; ++m) wsum = wsum + g[m].weight;
    }
    const float s = 1.0f / wsum;
    float acc = 0.0f;
    int first = -1;
    for (int m = 0; m < K; ++m) {
      g[m].weight = g[m].weight * s;
      acc = acc + g[m].weight;
      g[m].sortKey = g[m].sortKey * s;
      if (acc > m_.priorBack && first < 0) first = m + 1;
    }
    return hit >= first;
  }

  void run(const uint8_t* frame, int fstep, uint8_t* ref, int refStep, uint8_t* mask, int maskStep,
           float alpha, bool training) {
    for (int y = 0; y < h_; ++y)
      for (int x = 0; x < w_; ++x) {
        Gauss* g = &px_[((size_t)y * w_ + x) * m_.numGauss];
        float I[3] = {};
        for (int c = 0; c < C; ++c) I[c] = frame[(size_t)y * fstep + x * C + c];
        const bool fore = step(g, I, alpha);
        if (mask) {
          uint8_t out = 0;
          if (!training && fore)
            out =
                (m_.shadowBG && shadow(C, I, g[0].mean, m_.brightnessDistortion, m_.detectionRate)) ? 0 : 255;
          mask[(size_t)y * maskStep + x] = out;
        }
        if (ref)
          for (int c = 0; c < C; ++c) ref[(size_t)y * refStep + x * C + c] = round8(g[0].mean[c]);
      }
  }

  int C;
  KvpFGGaussianModel m_;
  int w_, h_;
  int counter_ = 1;
  std::vector<Gauss> px_;
};

}  // namespace fgref

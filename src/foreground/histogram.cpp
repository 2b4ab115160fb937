// Histogram background model: per pixel, a table of frequent quantised
// colours (consulted for still pixels that differ from the reference
// background) and a table of frequent colour co-occurrences of the previous
// and the current frame (consulted for changing pixels), each entry with its
// smoothed frequency overall (Pv) and as background (Pvb), each table with
// a background prior Pb; plus the previous frame and a reference background.
//
// Per-pixel record, 4-byte aligned: colour entries, co-occurrence entries
// ({code, Pv, Pvb} each, kept in non-increasing Pv order; unused entries
// have code 0xFFFFFFFF and zero frequencies), the two priors, the reference
// background (C floats), the previous frame (C bytes), padding to 4 bytes.
//
// Arithmetic is binary32, left to right as written, no contraction.
#include <algorithm>

#include "foreground/fg_state.h"
#include "frame/bodies.h"

namespace kvp::fg {
namespace {

constexpr Kvp32u kUnused = 0xFFFFFFFFu;

struct Entry {
  Kvp32u code;
  float pv, pvb;
};

const KvpFGHistogramModel kDefaults = {16, 16, 6, 8, 8, 12, 0.02f, 0.005f, 20, 0.1f, 0.6f, 0, 20};

KvpStatus checkModel(const KvpFGHistogramModel& m, int channels) {
  const bool ok = m.valueQuant >= 2 && m.valueQuant <= 256 && m.changeQuant >= 2 &&
                  m.changeQuant <= (channels == 1 ? 256 : 40) && m.valueUse >= 1 &&
                  m.valueAll >= m.valueUse && m.valueAll <= 64 && m.changeUse >= 1 &&
                  m.changeAll >= m.changeUse && m.changeAll <= 64 && finite(m.updBGChange) &&
                  m.updBGChange > 0.f && m.updBGChange <= 1.f && finite(m.updBGRef) && m.updBGRef > 0.f &&
                  m.updBGRef <= 1.f && m.numFrame >= 0 && finite(m.detectionRate) && m.detectionRate >= 0.f &&
                  finite(m.brightnessDistortion) && m.brightnessDistortion >= 0.f &&
                  m.brightnessDistortion < 1.f && m.diffThreshold >= 1 && m.diffThreshold <= 255;
  return ok ? kvpStsOk : kvpStsBadArg;
}

long long recordBytes(const KvpFGHistogramModel& m, int channels) {
  const long long b = 12LL * (m.valueAll + m.changeAll) + 8 + 5LL * channels;
  return (b + 3) / 4 * 4;
}

// One pixel's record, viewed through the model's table lengths.
template <int C>
struct Pixel {
  Entry* colour;
  Entry* change;
  float* pb;  // [0] colour table, [1] co-occurrence table
  float* ref;
  Kvp8u* prev;
  Pixel(unsigned char* rec, const KvpFGHistogramModel& m) {
    colour = reinterpret_cast<Entry*>(rec);
    change = colour + m.valueAll;
    pb = reinterpret_cast<float*>(change + m.changeAll);
    ref = pb + 2;
    prev = reinterpret_cast<Kvp8u*>(ref + C);
  }
};

// The per-call constants.
template <int C>
struct Rules {
  int lc, lcc, n1c, n2c, n1cc, n2cc, numFrame, diff;
  Kvp32u lccPow;
  float a1, a2, a, b, bright, detect;
  bool shadowBG;
  explicit Rules(const KvpFGHistogramModel& m)
      : lc(m.valueQuant),
        lcc(m.changeQuant),
        n1c(m.valueUse),
        n2c(m.valueAll),
        n1cc(m.changeUse),
        n2cc(m.changeAll),
        numFrame(m.numFrame),
        diff(m.diffThreshold),
        lccPow(C == 1 ? (Kvp32u)m.changeQuant : (Kvp32u)(m.changeQuant * m.changeQuant * m.changeQuant)),
        a1(m.updBGChange),
        a2(m.updBGRef),
        a(1.0f - m.updBGChange),
        b(1.0f - m.updBGRef),
        bright(m.brightnessDistortion),
        detect(m.detectionRate),
        shadowBG(m.shadowBG != 0) {}

  static Kvp32u code(const Kvp8u* v, int levels) {
    Kvp32u k = ((Kvp32u)v[0] * (Kvp32u)levels) >> 8;
    for (int c = 1; c < C; ++c) k = k * (Kvp32u)levels + (((Kvp32u)v[c] * (Kvp32u)levels) >> 8);
    return k;
  }
  Kvp32u colourCode(const Kvp8u* v) const { return code(v, lc); }
  Kvp32u changeCode(const Kvp8u* prev, const Kvp8u* v) const {
    return code(prev, lcc) * lccPow + code(v, lcc);
  }
};

enum Kind { kNone, kColour, kChange };

struct Verdict {
  bool background;
  Kind kind;
};

template <int C>
Verdict classify(const Rules<C>& r, const Pixel<C>& px, const Kvp8u* I, int t) {
  if (t <= r.numFrame) return {true, kNone};
  int motion = 0, change = 0;
  for (int c = 0; c < C; ++c) {
    const int dp = (int)I[c] - (int)px.prev[c];
    const int db = (int)I[c] - (int)round8(px.ref[c]);
    motion = std::max(motion, dp < 0 ? -dp : dp);
    change = std::max(change, db < 0 ? -db : db);
  }
  const Entry* e;
  int n1;
  Kvp32u v;
  Kind kind;
  if (motion >= r.diff) {
    e = px.change, n1 = r.n1cc, v = r.changeCode(px.prev, I), kind = kChange;
  } else if (change >= r.diff) {
    e = px.colour, n1 = r.n1c, v = r.colourCode(I), kind = kColour;
  } else {
    return {true, kNone};
  }
  for (int j = 0; j < n1; ++j)
    if (e[j].code == v) return {2.0f * e[j].pvb > e[j].pv, kind};
  return {false, kind};
}

// Learns feature v into one table.
void learn(Entry* e, float& pb, int n1, int n2, Kvp32u v, bool m, float a, float a1) {
  pb = a * pb;
  if (m) pb = pb + a1;
  int j = -1;
  for (int i = 0; i < n2; ++i)
    if (e[i].code == v) {
      j = i;
      break;
    }
  for (int i = 0; i < n2; ++i) {
    e[i].pv = a * e[i].pv;
    e[i].pvb = a * e[i].pvb;
  }
  if (j >= 0) {
    e[j].pv = e[j].pv + a1;
    if (m) e[j].pvb = e[j].pvb + a1;
  } else {
    j = n2 - 1;
    e[j] = Entry{v, a1, m ? a1 : 0.f};
  }
  while (j > 0 && e[j].pv > e[j - 1].pv) {
    const Entry t = e[j];
    e[j] = e[j - 1];
    e[j - 1] = t;
    --j;
  }
  float f = 0.0f;
  for (int i = 0; i < n1; ++i) f = f + (e[i].pv - e[i].pvb);
  if (pb < 0.5f && f > 0.9f * (1.0f - pb)) {
    pb = 1.0f - pb;
    for (int i = 0; i < n2; ++i) e[i].pvb = e[i].pv - e[i].pvb;
  }
}

template <int C>
void initRow(const FGState& s, const Rules<C>& r, const Kvp8u* src, int y) {
  unsigned char* rec = s.row(y);
  for (int x = 0; x < s.size.width; ++x, rec += s.pixelBytes) {
    Pixel<C> px(rec, s.hist);
    const Kvp8u* I = src + x * C;
    for (int i = 0; i < r.n2c; ++i) px.colour[i] = Entry{kUnused, 0.f, 0.f};
    for (int i = 0; i < r.n2cc; ++i) px.change[i] = Entry{kUnused, 0.f, 0.f};
    px.colour[0] = Entry{r.colourCode(I), 1.f, 1.f};
    px.change[0] = Entry{r.changeCode(I, I), 1.f, 1.f};
    px.pb[0] = px.pb[1] = 1.f;
    for (int c = 0; c < C; ++c) {
      px.ref[c] = (float)I[c];
      px.prev[c] = I[c];
    }
  }
}

template <int C>
void classifyRow(const FGState& s, const Rules<C>& r, const Kvp8u* src, Kvp8u* fg, int y, int t) {
  unsigned char* rec = s.row(y);
  for (int x = 0; x < s.size.width; ++x, rec += s.pixelBytes) {
    const Pixel<C> px(rec, s.hist);
    const Kvp8u* I = src + x * C;
    Kvp8u out = 0;
    if (!classify(r, px, I, t).background) {
      out = 255;
      if (r.shadowBG) {
        float fi[C];
        for (int c = 0; c < C; ++c) fi[c] = (float)I[c];
        if (shadow<C>(fi, px.ref, r.bright, r.detect)) out = 0;
      }
    }
    fg[x] = out;
  }
}

template <int C>
void updateRow(const FGState& s, const Rules<C>& r, const Kvp8u* src, Kvp8u* ref, int y, int t) {
  unsigned char* rec = s.row(y);
  for (int x = 0; x < s.size.width; ++x, rec += s.pixelBytes) {
    Pixel<C> px(rec, s.hist);
    const Kvp8u* I = src + x * C;
    const Verdict v = classify(r, px, I, t);
    const bool m = v.background;
    learn(px.colour, px.pb[0], r.n1c, r.n2c, r.colourCode(I), m, r.a, r.a1);
    learn(px.change, px.pb[1], r.n1cc, r.n2cc, r.changeCode(px.prev, I), m, r.a, r.a1);
    for (int c = 0; c < C; ++c) {
      const float fi = (float)I[c];
      if (m && v.kind == kColour)
        px.ref[c] = fi;
      else if (m)
        px.ref[c] = r.b * px.ref[c] + r.a2 * fi;
      px.prev[c] = I[c];
      ref[x * C + c] = round8(px.ref[c]);
    }
  }
}

template <int C>
KvpStatus initAlloc(const Kvp8u* pSrc, int srcStep, KvpiSize roi, const KvpFGHistogramModel* pModel,
                    KvpiFGHistogramState** pp) {
  if (!pSrc || !pp) return kvpStsNullPtr;
  if (KvpStatus st = checkSize(roi)) return st;
  if ((long long)srcStep < (long long)roi.width * C) return kvpStsBadStep;
  const KvpFGHistogramModel m = pModel ? *pModel : kDefaults;
  if (KvpStatus st = checkModel(m, C)) return st;
  KvpiFGHistogramState* out = nullptr;
  KvpStatus st = allocFG(kHistogram, C, roi, recordBytes(m, C), &out, [&](FGState& s) {
    s.hist = m;
    const Rules<C> r(m);
    forRowBands(roi.height, threadedArea(roi), [&](int y0, int rows, int) {
      for (int y = y0; y < y0 + rows; ++y) initRow<C>(s, r, rowAt(pSrc, srcStep, y), y);
    });
  });
  if (st == kvpStsOk) *pp = out;
  return st;
}

template <int C>
KvpStatus classifyFrame(const KvpiFGHistogramState* pState, const Kvp8u* pSrc, int srcStep, Kvp8u* pFG,
                        int fgStep) {
  if (!pState || !pSrc || !pFG) return kvpStsNullPtr;
  if (!tagged(pState, kHistogram, C)) return kvpStsBadArg;
  const FGState& s = *stateAt<FGState>(pState);
  if ((long long)srcStep < (long long)s.size.width * C) return kvpStsBadStep;
  if (fgStep < s.size.width) return kvpStsBadStep;
  const Rules<C> r(s.hist);
  const int t = nextFrame(s);
  forRowBands(s.size.height, threadedArea(s.size), [&](int y0, int rows, int) {
    for (int y = y0; y < y0 + rows; ++y)
      classifyRow<C>(s, r, rowAt(pSrc, srcStep, y), rowAt(pFG, fgStep, y), y, t);
  });
  return kvpStsOk;
}

template <int C>
KvpStatus update(const Kvp8u* pSrc, int srcStep, Kvp8u* pRef, int refStep, KvpiSize roi,
                 KvpiFGHistogramState* pState) {
  if (!pSrc || !pRef || !pState) return kvpStsNullPtr;
  if (!tagged(pState, kHistogram, C)) return kvpStsBadArg;
  if (KvpStatus st = checkSize(roi)) return st;
  if ((long long)srcStep < (long long)roi.width * C) return kvpStsBadStep;
  if ((long long)refStep < (long long)roi.width * C) return kvpStsBadStep;
  FGState& s = *stateAt<FGState>(pState);
  if (roi.width != s.size.width || roi.height != s.size.height) return kvpStsBadSize;
  const Rules<C> r(s.hist);
  const int t = nextFrame(s);
  forRowBands(roi.height, threadedArea(roi), [&](int y0, int rows, int) {
    for (int y = y0; y < y0 + rows; ++y)
      updateRow<C>(s, r, rowAt(pSrc, srcStep, y), rowAt(pRef, refStep, y), y, t);
  });
  advance(s, t);
  return kvpStsOk;
}

}  // namespace
}  // namespace kvp::fg

using namespace kvp::fg;

extern "C" {

KvpStatus KVP_BODY(kvpiForegroundHistogramInitAlloc_8u_C1R)(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize,
                                                            const KvpFGHistogramModel* pModel,
                                                            KvpiFGHistogramState_8u_C1R** ppState) {
  return initAlloc<1>(pSrc, srcStep, roiSize, pModel, ppState);
}
KvpStatus KVP_BODY(kvpiForegroundHistogramInitAlloc_8u_C3R)(const Kvp8u* pSrc, int srcStep, KvpiSize roiSize,
                                                            const KvpFGHistogramModel* pModel,
                                                            KvpiFGHistogramState_8u_C3R** ppState) {
  return initAlloc<3>(pSrc, srcStep, roiSize, pModel, ppState);
}
KvpStatus KVP_BODY(kvpiForegroundHistogram_8u_C1R)(const KvpiFGHistogramState_8u_C1R* pState,
                                                   const Kvp8u* pSrc, int srcStep, Kvp8u* pFG, int fgStep) {
  return classifyFrame<1>(pState, pSrc, srcStep, pFG, fgStep);
}
KvpStatus KVP_BODY(kvpiForegroundHistogram_8u_C3R)(const KvpiFGHistogramState_8u_C3R* pState,
                                                   const Kvp8u* pSrc, int srcStep, Kvp8u* pFG, int fgStep) {
  return classifyFrame<3>(pState, pSrc, srcStep, pFG, fgStep);
}
KvpStatus KVP_BODY(kvpiForegroundHistogramUpdate_8u_C1R)(const Kvp8u* pSrc, int srcStep, Kvp8u* pRef,
                                                         int refStep, KvpiSize roiSize,
                                                         KvpiFGHistogramState_8u_C1R* pState) {
  return update<1>(pSrc, srcStep, pRef, refStep, roiSize, pState);
}
KvpStatus KVP_BODY(kvpiForegroundHistogramUpdate_8u_C3R)(const Kvp8u* pSrc, int srcStep, Kvp8u* pRef,
                                                         int refStep, KvpiSize roiSize,
                                                         KvpiFGHistogramState_8u_C3R* pState) {
  return update<3>(pSrc, srcStep, pRef, refStep, roiSize, pState);
}
KvpStatus KVP_BODY(kvpiForegroundHistogramFree)(KvpiFGHistogramState* pState) {
  if (pState && !tagged(pState, kHistogram, 1) && !tagged(pState, kHistogram, 3)) return kvpStsBadArg;
  return freeFG(pState);
}

}  // extern "C"

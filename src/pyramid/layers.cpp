// Pyramid layers with any rate in (1, 10] and any odd kernel: the pyramid
// record, the size queries, the layer states and the down / up layers for
// 8u, 16u and 32f with one or three interleaved channels.
//
// Down smooths with the separable kernel (replicated border, vertical pass
// first) and samples the smoothed image at (x * r, y * r): rows of vertical
// sums of the needed source rows are kept in the caller's buffer (padded on
// both sides with the replicated edge sums) and the horizontal pass runs only
// at the needed columns. Integer data whose sums provably stay below 2^24
// with a power-of-two divisor run in float lanes, where every step is exact;
// other integer kernels keep 32-bit vertical sums and 64-bit horizontal ones.
// At integral rates the padded vertical row is split into its rate phases so
// the horizontal pass becomes contiguous multiply-adds.
//
// Up interpolates the small image linearly onto the large grid (rows of
// horizontally interpolated source samples are cached), keeps a ring of k
// interpolated rows and smooths them in float, vertical pass first.
//
// The down and up kernels are compiled once per vector target
// (frame/targets.h); the checks, states and bodies once.
#if KVP_HAVE_HWY
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pyramid/layers.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>
#endif

#ifndef KVP_PYRAMID_LAYERS_COMMON_
#define KVP_PYRAMID_LAYERS_COMMON_
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/bodies.h"
#include "frame/parallel.h"
#include "frame/state.h"
#include "frame/targets.h"
#include "pyramid/layer_geometry.h"

#if KVP_HAVE_HWY
#include <hwy/highway.h>
#endif

namespace {

using namespace kvp;
using namespace kvp::pyr;

constexpr int kMaxTaps = 255;

// ---- the pyramid record -----------------------------------------------------

int typeCodeOf(const KvpDataType& dataType) {
  int code;
  static_assert(sizeof code == sizeof dataType);
  std::memcpy(&code, &dataType, sizeof code);
  return code;
}

// ---- layer states -----------------------------------------------------------

struct LayerState {
  StateHead head;
  int maxW, maxH;  // largest source ROI served
  int tabW, tabH;  // destination columns and rows with geometry
  long long M;     // rate * 2^23
  int k, a;
  long long D;         // divisor of the integer kernel (T^2)
  bool floatRoute;     // integer data computed exactly in float lanes
  bool pairRoute;      // 8u at rate 2: 16-bit vertical sums, pairwise 32-bit taps
  int shift;           // log2(D) on the pair route
  bool narrowRoute;    // 8u at rate 2, k <= 7, taps >= 0, 255 * D < 65536: 16-bit lanes throughout
  float invD;          // 1.0f / (float)D
  float halfD;         // floor(D / 2) (float route only, exact)
  int ti[kMaxTaps];    // integer taps
  float tf[kMaxTaps];  // float taps: integer taps as floats, or normalised float taps
  long long offIx, offFx, offIy, offFy;
};

template <class T>
const T* region(const LayerState* s, long long off) {
  return reinterpret_cast<const T*>(reinterpret_cast<const unsigned char*>(s) + off);
}

template <class T>
constexpr int kTypeIndex = std::is_same_v<T, Kvp8u> ? 0 : (std::is_same_v<T, Kvp16u> ? 1 : 2);
template <class T>
constexpr bool kFloat = std::is_same_v<T, Kvp32f>;
template <class T>
constexpr float kMaxVal = std::is_same_v<T, Kvp8u> ? 255.0f : 65535.0f;

constexpr Kvp32u kindOf(bool up, int typeIndex) {
  return 0x50590000u | (up ? 0x10u : 0u) | (Kvp32u)typeIndex;
}

// Kernel checks and the divisor; returns kvpStsOk or kvpStsBadArg.
template <class K>
KvpStatus takeKernel(const K* pKernel, int k, LayerState& s, double maxVal) {
  if constexpr (std::is_same_v<K, Kvp16s>) {
    long long sum = 0, sumAbs = 0;
    for (int j = 0; j < k; ++j) {
      sum += pKernel[j];
      sumAbs += pKernel[j] < 0 ? -(long long)pKernel[j] : pKernel[j];
    }
    if (sum < 1 || sumAbs > 32767) return kvpStsBadArg;
    s.D = sum * sum;
    for (int j = 0; j < k; ++j) {
      s.ti[j] = pKernel[j];
      s.tf[j] = (float)pKernel[j];
    }
    s.invD = 1.0f / (float)s.D;
    // Every partial sum, rounding bias included, stays below 2^24 and the
    // divisor is a power of two: float steps are then exact.
    const bool pow2 = (s.D & (s.D - 1)) == 0;
    s.floatRoute = pow2 && (maxVal + 1.0) * (double)sumAbs * (double)sumAbs <= 16777216.0;
    // 8-bit vertical sums fit 16-bit lanes and the divisor is a shift.
    s.pairRoute = pow2 && maxVal == 255.0 && 255 * sumAbs < 32768;
    s.shift = 0;
    while ((1LL << s.shift) < s.D) ++s.shift;
    bool nonNegative = true;
    for (int j = 0; j < k; ++j) nonNegative = nonNegative && pKernel[j] >= 0;
    s.narrowRoute = s.pairRoute && nonNegative && k <= 7 && 255 * s.D < 65536;
    s.halfD = (float)(s.D / 2);
  } else {
    float sum = 0.0f;
    for (int j = 0; j < k; ++j) {
      if (!std::isfinite(pKernel[j])) return kvpStsBadArg;
      sum = sum + pKernel[j];
    }
    if (!std::isfinite(sum) || !(sum > 0.0f)) return kvpStsBadArg;
    for (int j = 0; j < k; ++j) s.tf[j] = pKernel[j] / sum;
    s.D = 1;
    s.invD = 1.0f;
    s.floatRoute = true;
    s.pairRoute = false;
    s.narrowRoute = false;
  }
  return kvpStsOk;
}

template <class T, bool Up, class Opaque, class K>
KvpStatus layerInitAlloc(Opaque** ppState, KvpiSize srcRoi, Kvp32f rate, const K* pKernel, int kerSize,
                         int mode) {
  if (!ppState || !pKernel) return kvpStsNullPtr;
  if (srcRoi.width < 1 || srcRoi.height < 1 || kerSize < 3 || kerSize > kMaxTaps) return kvpStsBadSize;
  if (!rateOk(rate)) return kvpStsBadArg;
  if ((kerSize & 1) == 0) return kvpStsBadArg;
  if (mode != kvpInterLinear) return kvpStsBadArg;
  LayerState proto{};
  if (KvpStatus st = takeKernel(pKernel, kerSize, proto, kFloat<T> ? 0.0 : (double)kMaxVal<T>)) return st;
  const long long M = rateFixed(rate);
  const long long tw = Up ? upLengthMax(srcRoi.width, M) : downLength(srcRoi.width, M);
  const long long th = Up ? upLengthMax(srcRoi.height, M) : downLength(srcRoi.height, M);
  long long off = regionAfter(0, sizeof(LayerState));
  const long long offIx = off;
  off = regionAfter(off, tw * 4);
  const long long offFx = off;
  off = regionAfter(off, tw * 4);
  const long long offIy = off;
  off = regionAfter(off, th * 4);
  const long long offFy = off;
  off = regionAfter(off, th * 4);
  if (tw > 0x7fffffffLL || th > 0x7fffffffLL) return kvpStsNoMemory;
  return allocState<Opaque, LayerState>(off, kindOf(Up, kTypeIndex<T>), ppState,
                                        [&](LayerState* s, unsigned char* base) {
                                          const StateHead head = s->head;
                                          *s = proto;
                                          s->head = head;
                                          s->maxW = srcRoi.width;
                                          s->maxH = srcRoi.height;
                                          s->tabW = (int)tw;
                                          s->tabH = (int)th;
                                          s->M = M;
                                          s->k = kerSize;
                                          s->a = (kerSize - 1) / 2;
                                          s->offIx = offIx;
                                          s->offFx = offFx;
                                          s->offIy = offIy;
                                          s->offFy = offFy;
                                          auto fill = [&](long long n, long long oi, long long of) {
                                            int* idx = reinterpret_cast<int*>(base + oi);
                                            float* frac = reinterpret_cast<float*>(base + of);
                                            for (long long x = 0; x < n; ++x) {
                                              if (!Up) {
                                                const long long X = x * M;
                                                idx[x] = (int)(X >> kRateShift);
                                                frac[x] = (float)(X & (kRateOne - 1)) * (1.0f / 8388608.0f);
                                              } else {
                                                const long long Q = x * kRateOne;
                                                const long long i = Q / M;
                                                idx[x] = (int)i;
                                                frac[x] = (float)(Q - i * M) / (float)M;
                                              }
                                            }
                                          };
                                          fill(tw, offIx, offFx);
                                          fill(th, offIy, offFy);
                                        });
}

// ---- working calls: common checks -------------------------------------------

template <class T, int C>
KvpStatus layerChecks(const T* pSrc, int srcStep, KvpiSize sr, const T* pDst, int dstStep, KvpiSize dr,
                      const void* pState, const Kvp8u* pBuffer) {
  if (!pSrc || !pDst || !pState || !pBuffer) return kvpStsNullPtr;
  if (sr.width < 1 || sr.height < 1 || dr.width < 1 || dr.height < 1) return kvpStsBadSize;
  if ((long long)srcStep < (long long)sr.width * C * (long long)sizeof(T)) return kvpStsBadStep;
  if ((long long)dstStep < (long long)dr.width * C * (long long)sizeof(T)) return kvpStsBadStep;
  if (sizeof(T) > 1 && ((srcStep | dstStep) & (int)(sizeof(T) - 1))) return kvpStsStepNotMultiple;
  return kvpStsOk;
}

inline int clampi(int i, int n) { return i < 0 ? 0 : (i >= n ? n - 1 : i); }

// Rounded half to even for 0 <= v < 2^23 (v already clamped).
inline float roundEven(float v) { return (v + 8388608.0f) - 8388608.0f; }

template <class T>
inline T toInt(float v) {
  v = v < 0.0f ? 0.0f : (v > kMaxVal<T> ? kMaxVal<T> : v);
  return (T)(int)roundEven(v);
}

}  // namespace
#endif  // KVP_PYRAMID_LAYERS_COMMON_

// ---- kernels, one copy per target ---------------------------------------------

#if KVP_HAVE_HWY
HWY_BEFORE_NAMESPACE();
namespace kvp::pyr::HWY_NAMESPACE {
#else
namespace kvp::pyr::plain {
#endif
namespace {

// ---- down -------------------------------------------------------------------

// A: element of the vertical sums (float, or int32 on the integer route).
template <class T, int C, class A>
struct Down {
  using S = std::conditional_t<std::is_same_v<A, float>, float, long long>;

  const LayerState* s;
  const T* src;
  int srcStep, W, H, w;
  T* dst;
  int dstStep;
  A taps[kMaxTaps];

  void init() {
    for (int j = 0; j < s->k; ++j) taps[j] = std::is_same_v<A, float> ? (A)s->tf[j] : (A)s->ti[j];
  }

  // Vertical sums of source row i into out (a pixels of replicated padding
  // on either side).
  void vrow(int i, A* out) const {
    const int n = W * C, a = s->a, k = s->k;
    A* o = out + a * C;
    {
      const T* r = rowAt(src, srcStep, clampi(i - a, H));
      const A t = taps[0];
#pragma omp simd
      for (int j = 0; j < n; ++j) o[j] = t * (A)r[j];
    }
    for (int u = 1; u < k; ++u) {
      const T* r = rowAt(src, srcStep, clampi(i - a + u, H));
      const A t = taps[u];
#pragma omp simd
      for (int j = 0; j < n; ++j) o[j] = o[j] + t * (A)r[j];
    }
    for (int p = 0; p < a; ++p)
      for (int ch = 0; ch < C; ++ch) {
        out[p * C + ch] = o[ch];
        o[(W + p) * C + ch] = o[(W - 1) * C + ch];
      }
  }

  // Horizontal sum at source column j, channel ch, from padded vertical sums.
  S hsum(const A* v, int j, int ch) const {
    const A* p = v + j * C + ch;
    S acc = (S)taps[0] * (S)p[0];
    for (int t = 1; t < s->k; ++t) acc = acc + (S)taps[t] * (S)p[t * C];
    return acc;
  }

  // Rule for integral positions of integer data.
  T integral(S v) const {
    if constexpr (std::is_same_v<S, float>) {
      float q = (v + s->halfD) * s->invD;
      q = q < 0.0f ? 0.0f : (q > kMaxVal<T> ? kMaxVal<T> : q);
      return (T)(int)q;
    } else {
      const long long n = v + s->D / 2;
      long long q = n / s->D;
      if (n % s->D != 0 && n < 0) --q;
      return (T)(q < 0 ? 0 : (q > (long long)kMaxVal<T> ? (long long)kMaxVal<T> : q));
    }
  }

  // Any rate: the needed vertical rows through a two-row cache, then the
  // horizontal pass per output sample.
  void rowsGeneric(int y0, int rows, A* slot0, A* slot1) const {
    const int* ix = region<int>(s, s->offIx);
    const float* fx = region<float>(s, s->offFx);
    const int* iy = region<int>(s, s->offIy);
    const float* fy = region<float>(s, s->offFy);
    A* slot[2] = {slot0, slot1};
    int tag[2] = {-1, -1};
    auto fetch = [&](int i, int avoid) -> const A* {
      for (int q = 0; q < 2; ++q)
        if (tag[q] == i) return slot[q];
      const int q = tag[0] == avoid ? 1 : 0;
      vrow(i, slot[q]);
      tag[q] = i;
      return slot[q];
    };
    for (int y = y0; y < y0 + rows; ++y) {
      const int i = iy[y];
      const float g = fy[y];
      const A* r0 = fetch(i, g != 0.0f ? i + 1 : -2);
      const A* r1 = g != 0.0f ? fetch(i + 1, i) : nullptr;
      T* d = rowAt(dst, dstStep, y);
      for (int x = 0; x < w; ++x) {
        const int j = ix[x];
        const float f = fx[x];
        for (int ch = 0; ch < C; ++ch) {
          if (!kFloat<T> && f == 0.0f && g == 0.0f) {
            d[x * C + ch] = integral(hsum(r0, j, ch));
            continue;
          }
          const float s00 = (float)hsum(r0, j, ch);
          float t0 = s00;
          if (f != 0.0f) {
            const float s01 = (float)hsum(r0, j + 1, ch);
            t0 = s00 + f * (s01 - s00);
          }
          float v = t0;
          if (g != 0.0f) {
            const float s10 = (float)hsum(r1, j, ch);
            float t1 = s10;
            if (f != 0.0f) {
              const float s11 = (float)hsum(r1, j + 1, ch);
              t1 = s10 + f * (s11 - s10);
            }
            v = t0 + g * (t1 - t0);
          }
          if constexpr (kFloat<T>)
            d[x * C + ch] = v;
          else
            d[x * C + ch] = toInt<T>(v * s->invD);
        }
      }
    }
  }

  // Every second float of v (n readable floats) into out, up to len
  // outputs; returns how many were written (the rest is left to the caller).
  static int splitPhase(const float* v, int n, int len, float* out) {
    int i = 0;
#if KVP_HAVE_HWY && HWY_TARGET != HWY_SCALAR
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::ScalableTag<float> d;
    const int N = (int)hn::Lanes(d);
    for (; i + N <= len && 2 * (i + N) <= n; i += N) {
      const auto lo = hn::LoadU(d, v + 2 * i), hi = hn::LoadU(d, v + 2 * i + N);
      hn::StoreU(hn::ConcatEven(d, hi, lo), d, out + i);
    }
#else
    (void)v;
    (void)n;
    (void)len;
    (void)out;
#endif
    return i;
  }

  // 8u at rate 2 with 16-bit vertical sums: the horizontal taps are taken
  // in pairs (2m, 2m + 1), each pair one widening pairwise multiply-add
  // over a row z in which the two samples of every pair sit side by side
  // (the vertical row itself for one channel; for three, each pixel pair's
  // channels interleaved). Results are (S + D/2) >> log2(D), saturated.
  void rowsPairs(int y0, int rows, int16_t* v, int16_t* z) const {
    const int k = s->k, a = s->a, nOut = w * C;
    const int pairs = a + 1;  // tap pairs, the last with a zero partner
    int tp[2 * kMaxTaps + 2];
    for (int j = 0; j < 2 * pairs; ++j) tp[j] = j < k ? s->ti[j] : 0;
    const int half = (int)(s->D / 2), sh = s->shift;
    const int n = W * C;
    for (int y = y0; y < y0 + rows; ++y) {
      const int i = 2 * y;
      int16_t* o = v + a * C;
      {
        const T* r = rowAt(src, srcStep, clampi(i - a, H));
        const int t = s->ti[0];
#pragma omp simd
        for (int j = 0; j < n; ++j) o[j] = (int16_t)(t * (int)r[j]);
      }
      for (int u = 1; u < k; ++u) {
        const T* r = rowAt(src, srcStep, clampi(i - a + u, H));
        const int t = s->ti[u];
#pragma omp simd
        for (int j = 0; j < n; ++j) o[j] = (int16_t)(o[j] + t * (int)r[j]);
      }
      for (int p = 0; p < a; ++p)
        for (int ch = 0; ch < C; ++ch) v[p * C + ch] = o[ch];
      for (int p = 0; p <= a; ++p)
        for (int ch = 0; ch < C; ++ch) o[(W + p) * C + ch] = o[(W - 1) * C + ch];
      const int16_t* zz = v;
      if constexpr (C != 1) {
        const int np = w + a;
        for (int q = 0; q < np; ++q)
          for (int ch = 0; ch < C; ++ch) {
            z[2 * (q * C + ch)] = v[(2 * q) * C + ch];
            z[2 * (q * C + ch) + 1] = v[(2 * q + 1) * C + ch];
          }
        zz = z;
      }
      T* d = rowAt(dst, dstStep, y);
      int j = 0;
#if KVP_HAVE_HWY && HWY_TARGET != HWY_SCALAR
      {
        namespace hn = hwy::HWY_NAMESPACE;
        const hn::ScalableTag<int32_t> d32;
        const hn::Repartition<int16_t, decltype(d32)> d16;
        const hn::Rebind<uint8_t, decltype(d32)> d8;
        const int N = (int)hn::Lanes(d32);
        const auto vhalf = hn::Set(d32, half);
        for (; j + N <= nOut; j += N) {
          auto acc = hn::Zero(d32);
          for (int m = 0; m < pairs; ++m) {
            const auto zv = hn::LoadU(d16, zz + 2 * (j + C * m));
            const auto tv = hn::BitCast(
                d16,
                hn::Set(d32, (int32_t)(((uint32_t)(uint16_t)tp[2 * m + 1] << 16) | (uint16_t)tp[2 * m])));
            auto sum1 = hn::Zero(d32);
            const auto sum0 = hn::ReorderWidenMulAccumulate(d32, zv, tv, hn::Zero(d32), sum1);
            acc = hn::Add(acc, hn::RearrangeToOddPlusEven(sum0, sum1));
          }
          const auto q = hn::ShiftRightSame(hn::Add(acc, vhalf), sh);
          hn::StoreU(hn::DemoteTo(d8, q), d8, reinterpret_cast<uint8_t*>(d) + j);
        }
      }
#endif
      for (; j < nOut; ++j) {
        int acc = 0;
        for (int m = 0; m < pairs; ++m)
          acc += zz[2 * (j + C * m)] * tp[2 * m] + zz[2 * (j + C * m) + 1] * tp[2 * m + 1];
        const int q = (acc + half) >> sh;
        d[j] = (T)(q < 0 ? 0 : (q > 255 ? 255 : q));
      }
    }
  }

  // 8u, one channel, rate 2, short non-negative kernels with 255 * D below
  // 2^16: every source row is smoothed horizontally once at the even
  // columns (16-bit lanes; even and odd bytes come from one 16-bit load),
  // a ring of k such rows is combined vertically in wrapping 16-bit lanes
  // (the true sum lies in 0..65535), and (S + D/2) >> log2(D) is taken as
  // ((S >> 1) + D/4) >> (log2(D) - 1), which never leaves 16 bits.
  // The kernel (1 4 6 4 1), whose taps are shifts.
  bool isBinomial5() const {
    return s->k == 5 && s->ti[0] == 1 && s->ti[1] == 4 && s->ti[2] == 6 && s->ti[3] == 4 && s->ti[4] == 1;
  }

#if KVP_HAVE_HWY && HWY_TARGET != HWY_SCALAR
  // Sum of t_v * p_v in wrapping 16-bit lanes (the same bits either way).
  template <int K, class D, class V>
  static V combine(D d, const V* p, const V* t, bool binomial) {
    namespace hn = hwy::HWY_NAMESPACE;
    if constexpr (K == 5) {
      if (binomial) {
        const V mid = p[2];
        return hn::Add(hn::Add(hn::Add(p[0], p[4]), hn::ShiftLeft<2>(hn::Add(p[1], p[3]))),
                       hn::Add(hn::ShiftLeft<2>(mid), hn::ShiftLeft<1>(mid)));
      }
    }
    V acc = hn::Mul(p[0], t[0]);
    for (int v = 1; v < K; ++v) acc = hn::Add(acc, hn::Mul(p[v], t[v]));
    (void)d;
    return acc;
  }
#endif

  template <int K>
  void hrowNarrow(const T* r, uint16_t* h) const {
    constexpr int k = K, a = (K - 1) / 2;
    int x = 0;
    auto scalar = [&](int x) {
      int acc = 0;
      for (int v = 0; v < k; ++v) acc += s->ti[v] * (int)r[clampi(2 * x + v - a, W)];
      h[x] = (uint16_t)acc;
    };
    const int x0 = (a + 1) / 2;  // first x with 2x - a >= 0
    for (; x < x0 && x < w; ++x) scalar(x);
#if KVP_HAVE_HWY && HWY_TARGET != HWY_SCALAR
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::ScalableTag<uint16_t> d;
    const hn::Repartition<uint8_t, decltype(d)> d8;
    const int N = (int)hn::Lanes(d);
    const auto lowByte = hn::Set(d, 0xFF);
    hn::Vec<decltype(d)> tv[K];
    for (int v = 0; v < K; ++v) tv[v] = hn::Set(d, (uint16_t)s->ti[v]);
    const bool binomial = isBinomial5();
    // Tap v reads the even (a - v even) or odd bytes of the 16-bit pairs
    // starting at byte 2x + 2 * floor((v - a) / 2); the loads reach byte
    // 2 * (x + N - 1) + 1 + (k - 1 - a) at most.
    for (; x + N <= w && 2 * (x + N) + (k - 1 - a) <= W; x += N) {
      const uint8_t* base = reinterpret_cast<const uint8_t*>(r) + 2 * x;
      hn::Vec<decltype(d)> px[K];
      for (int v = 0; v < K; ++v) {
        const int rel = v - a;  // byte offset from 2x
        const int even = rel >= 0 ? rel & ~1 : -((-rel + 1) & ~1);
        const auto pairs = hn::BitCast(d, hn::LoadU(d8, base + even));
        px[v] = (rel - even) ? hn::ShiftRight<8>(pairs) : hn::And(pairs, lowByte);
      }
      hn::StoreU(combine<K>(d, px, tv, binomial), d, h + x);
    }
#endif
    for (; x < w; ++x) scalar(x);
  }

  template <int K>
  void rowsNarrow(int y0, int rows, uint16_t* ringBase) const {
    constexpr int k = K, a = (K - 1) / 2;
    const long long stride = ((long long)w + 31) & ~31LL;
    const int sh = s->shift;
    const uint16_t quarter = (uint16_t)(s->D / 4);
    int hi = clampi(2 * y0 - a, H) - 1;
    for (int y = y0; y < y0 + rows; ++y) {
      for (const int top = clampi(2 * y + a, H); hi < top;) {
        ++hi;
        hrowNarrow<K>(rowAt(src, srcStep, hi), ringBase + (hi % k) * stride);
      }
      const uint16_t* hr[8];
      for (int u = 0; u < k; ++u) hr[u] = ringBase + (clampi(2 * y - a + u, H) % k) * stride;
      T* d = rowAt(dst, dstStep, y);
      int x = 0;
      auto finish = [&](unsigned S) -> T { return (T)(sh == 0 ? S : ((S >> 1) + quarter) >> (sh - 1)); };
#if KVP_HAVE_HWY && HWY_TARGET != HWY_SCALAR
      namespace hn = hwy::HWY_NAMESPACE;
      const hn::ScalableTag<uint16_t> d16;
      const hn::Rebind<uint8_t, decltype(d16)> d8;
      const int N = (int)hn::Lanes(d16);
      const auto vq = hn::Set(d16, quarter);
      hn::Vec<decltype(d16)> tv[K];
      for (int u = 0; u < K; ++u) tv[u] = hn::Set(d16, (uint16_t)s->ti[u]);
      const bool binomial = isBinomial5();
      for (; x + N <= w; x += N) {
        hn::Vec<decltype(d16)> rv[K];
        for (int u = 0; u < K; ++u) rv[u] = hn::LoadU(d16, hr[u] + x);
        const auto acc = combine<K>(d16, rv, tv, binomial);
        const auto q = sh == 0 ? acc : hn::ShiftRightSame(hn::Add(hn::ShiftRight<1>(acc), vq), sh - 1);
        const hn::Rebind<int16_t, decltype(d16)> di16;
        hn::StoreU(hn::DemoteTo(d8, hn::BitCast(di16, q)), d8, reinterpret_cast<uint8_t*>(d) + x);
      }
#endif
      for (; x < w; ++x) {
        unsigned S = 0;
        for (int u = 0; u < k; ++u) S = (S + (unsigned)s->ti[u] * hr[u][x]) & 0xFFFFu;
        d[x] = finish(S);
      }
    }
  }

  // Integral rate R, float lanes: the padded vertical row is split into its
  // R phases (only the samples the taps reach), then each tap is one
  // contiguous multiply-add over the output row.
  // 16u on the float route: every partial sum is an integer below 2^24, so
  // the float sums equal the exact integer sums. Those are formed here in
  // 32-bit lanes, two rows at a time by a pairwise multiply-add of
  // interleaved samples (biased by -32768 into the signed 16-bit range,
  // 32768 * T added back), eight columns per step in 128-bit vectors, and
  // converted to float. Returns the first column left to the caller.
  template <int K>
  int vrowExact16(const T* const* r, int n, float* o) const {
    int j = 0;
#if KVP_HAVE_HWY && HWY_TARGET != HWY_SCALAR
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::FixedTag<int16_t, 8> d16;
    const hn::FixedTag<uint16_t, 8> du16;
    const hn::FixedTag<int32_t, 4> d32;
    const hn::FixedTag<float, 4> df;
    constexpr int P = (K + 1) / 2;
    hn::Vec<decltype(d16)> tp[P];
    int sum = 0;
    for (int u = 0; u < K; ++u) sum += s->ti[u];
    for (int m = 0; m < P; ++m) {
      const int lo = s->ti[2 * m], hi = 2 * m + 1 < K ? s->ti[2 * m + 1] : 0;
      tp[m] = hn::BitCast(d16, hn::Set(d32, (int32_t)(((uint32_t)(uint16_t)hi << 16) | (uint16_t)lo)));
    }
    const auto bias = hn::Set(d16, (int16_t)-32768);
    const auto base = hn::Set(d32, 32768 * sum);
    for (; j + 8 <= n; j += 8) {
      auto accLo = base, accHi = base;
      for (int m = 0; m < P; ++m) {
        const auto a = hn::Xor(hn::BitCast(d16, hn::LoadU(du16, r[2 * m] + j)), bias);
        const auto b = 2 * m + 1 < K ? hn::Xor(hn::BitCast(d16, hn::LoadU(du16, r[2 * m + 1] + j)), bias)
                                     : hn::Zero(d16);
        auto s1 = hn::Zero(d32);
        accLo = hn::Add(accLo, hn::RearrangeToOddPlusEven(
                                   hn::ReorderWidenMulAccumulate(d32, hn::InterleaveLower(d16, a, b), tp[m],
                                                                 hn::Zero(d32), s1),
                                   s1));
        auto s2 = hn::Zero(d32);
        accHi = hn::Add(accHi, hn::RearrangeToOddPlusEven(
                                   hn::ReorderWidenMulAccumulate(d32, hn::InterleaveUpper(d16, a, b), tp[m],
                                                                 hn::Zero(d32), s2),
                                   s2));
      }
      hn::StoreU(hn::ConvertTo(df, accLo), df, o + j);
      hn::StoreU(hn::ConvertTo(df, accHi), df, o + j + 4);
    }
#else
    (void)r;
    (void)n;
    (void)o;
#endif
    return j;
  }

  // Vertical sums with K taps fused into one pass (same order of
  // operations as vrow).
  template <int K>
  void vrowFused(int i, float* out) const {
    constexpr int a = (K - 1) / 2;
    const int n = W * C;
    const T* r[K];
    float t[K];
    for (int u = 0; u < K; ++u) {
      r[u] = rowAt(src, srcStep, clampi(i - a + u, H));
      t[u] = taps[u];
    }
    float* o = out + a * C;
    int j0 = 0;
    if constexpr (!kFloat<T>) {
      // Integer data reach this pass only where every partial sum is an
      // integer below 2^24 (the float route): the float sums are exact, so
      // 32-bit integer sums converted once give the same floats. On 128-bit
      // targets 16-bit samples are summed pairwise instead.
#if KVP_HAVE_HWY && (HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_SSE4)
      if constexpr (std::is_same_v<T, Kvp16u>) j0 = vrowExact16<K>(r, n, o);
#endif
      int ti[K];
      for (int u = 0; u < K; ++u) ti[u] = s->ti[u];
      if constexpr (K == 5) {
        if (isBinomial5()) {
#pragma omp simd
          for (int j = j0; j < n; ++j) {
            const int32_t mid = r[2][j];
            o[j] = (float)(((int32_t)r[0][j] + (int32_t)r[4][j]) +
                           (((int32_t)r[1][j] + (int32_t)r[3][j]) << 2) + ((mid << 2) + (mid << 1)));
          }
          j0 = n;
        }
      }
#pragma omp simd
      for (int j = j0; j < n; ++j) {
        int32_t acc = ti[0] * (int32_t)r[0][j];
        for (int u = 1; u < K; ++u) acc += ti[u] * (int32_t)r[u][j];
        o[j] = (float)acc;
      }
      j0 = n;
    }
#pragma omp simd
    for (int j = j0; j < n; ++j) {
      float acc = t[0] * (float)r[0][j];
      for (int u = 1; u < K; ++u) acc = acc + t[u] * (float)r[u][j];
      o[j] = acc;
    }
    for (int p = 0; p < a; ++p)
      for (int ch = 0; ch < C; ++ch) {
        out[p * C + ch] = o[ch];
        o[(W + p) * C + ch] = o[(W - 1) * C + ch];
      }
  }

  // K > 0: the kernel length known at compile time (fused passes).
  template <int K>
  void rowsIntegral(int y0, int rows, float* rowA, float* rowB) const {
    const int R = (int)(s->M >> kRateShift), k = s->k;
    const int nOut = w * C;
    const int phases = std::min(R, k);
    const float* ph[kMaxTaps];
    {
      float* p = rowB;
      for (int q = 0; q < phases; ++q) {
        ph[q] = p;
        p += (long long)(w + (k - 1 - q) / R) * C;
      }
    }
    for (int y = y0; y < y0 + rows; ++y) {
      const int iy = (int)(((long long)y * s->M) >> kRateShift);
      if constexpr (K > 0)
        vrowFused<K>(iy, rowA);
      else
        vrow(iy, rowA);
      for (int q = 0; q < phases; ++q) {
        float* p = const_cast<float*>(ph[q]);
        const int len = w + (k - 1 - q) / R;
        if constexpr (C == 1) {
          int i = 0;
          if (R == 2) i = splitPhase(rowA + q, (s->a * 2 + W) - q, len, p);
          for (; i < len; ++i) p[i] = rowA[(long long)R * i + q];
        } else {
          int i = 0;
          // Three channels: one 16-byte copy per pixel; its fourth float
          // belongs to the next pixel and is rewritten by the next copy.
          if constexpr (C == 3)
            for (; i + 1 < len; ++i) std::memcpy(p + 3 * i, rowA + ((long long)R * i + q) * 3, 16);
          for (; i < len; ++i)
            for (int ch = 0; ch < C; ++ch) p[i * C + ch] = rowA[((long long)R * i + q) * C + ch];
        }
      }
      T* d = rowAt(dst, dstStep, y);
      const float half = s->halfD, inv = s->invD;
      // The destination element of one horizontal sum.
      const auto out = [&](float acc) -> T {
        if constexpr (kFloat<T>) {
          (void)half, (void)inv;
          return acc;
        } else {
          float q = (acc + half) * inv;
          q = q < 0.0f ? 0.0f : (q > kMaxVal<T> ? kMaxVal<T> : q);
          return (T)(int)q;
        }
      };
      if constexpr (K > 0) {
        // The horizontal sums go straight to the destination row.
        const float* hp[K];
        float t[K];
        for (int v = 0; v < K; ++v) {
          hp[v] = ph[v % R] + (v / R) * C;
          t[v] = taps[v];
        }
#pragma omp simd
        for (int i = 0; i < nOut; ++i) {
          float acc = t[0] * hp[0][i];
          for (int v = 1; v < K; ++v) acc = acc + t[v] * hp[v][i];
          d[i] = out(acc);
        }
        continue;
      }
      // rowA is free again: it takes the horizontal sums.
      {
        const float t = taps[0];
        const float* p = ph[0];
#pragma omp simd
        for (int i = 0; i < nOut; ++i) rowA[i] = t * p[i];
      }
      for (int v = 1; v < k; ++v) {
        const float t = taps[v];
        const float* p = ph[v % R] + (v / R) * C;
#pragma omp simd
        for (int i = 0; i < nOut; ++i) rowA[i] = rowA[i] + t * p[i];
      }
      if constexpr (kFloat<T>) {
        std::memcpy(d, rowA, (size_t)nOut * sizeof(float));
      } else {
#pragma omp simd
        for (int i = 0; i < nOut; ++i) {
          float q = (rowA[i] + half) * inv;
          q = q < 0.0f ? 0.0f : (q > kMaxVal<T> ? kMaxVal<T> : q);
          d[i] = (T)(int)q;
        }
      }
    }
  }
};

template <class T, int C>
KvpStatus downRun(const T* pSrc, int srcStep, KvpiSize sr, T* pDst, int dstStep, KvpiSize dr,
                  const LayerState* s, Kvp8u* pBuffer) {
  const long long rowBytes = align64((long long)(sr.width + s->k - 1) * C * 4);
  const long long slice = 2 * rowBytes + 64;
  const int n = clampTeam(ownGetNumThreads());
  const bool threaded = (long long)sr.width * sr.height >= (long long)n * 32768;
  const bool integral = (s->M & (kRateOne - 1)) == 0;
  const bool pairs = s->pairRoute && s->M == 2 * kRateOne;
  // The ring of k narrow rows (each w rounded up to 32 samples) fits the
  // two vertical-sum rows of the slice.
  const bool narrow =
      pairs && s->narrowRoute && (long long)s->k * ((dr.width + 31) & ~31LL) * 2 <= 2 * rowBytes;
  auto run = [&](auto tagA) {
    using A = decltype(tagA);
    Down<T, C, A> job{s, pSrc, srcStep, sr.width, sr.height, dr.width, pDst, dstStep, {}};
    job.init();
    forRowBands(dr.height, threaded, [&](int y0, int rows, int t) {
      unsigned char* base = alignUp(pBuffer + (long long)t * slice, 64);
      A* rowA = reinterpret_cast<A*>(base);
      A* rowB = reinterpret_cast<A*>(base + rowBytes);
      if constexpr (std::is_same_v<A, float>) {
        if constexpr (std::is_same_v<T, Kvp8u> && C == 1) {
          uint16_t* ring = reinterpret_cast<uint16_t*>(rowA);
          if (narrow && s->k == 3) return job.template rowsNarrow<3>(y0, rows, ring);
          if (narrow && s->k == 5) return job.template rowsNarrow<5>(y0, rows, ring);
          if (narrow && s->k == 7) return job.template rowsNarrow<7>(y0, rows, ring);
        }
        if constexpr (std::is_same_v<T, Kvp8u>) {
          if (pairs)
            return job.rowsPairs(y0, rows, reinterpret_cast<int16_t*>(rowA),
                                 reinterpret_cast<int16_t*>(rowB));
        }
        if (integral) {
          if (s->k == 3) return job.template rowsIntegral<3>(y0, rows, rowA, rowB);
          if (s->k == 5) return job.template rowsIntegral<5>(y0, rows, rowA, rowB);
          if (s->k == 7) return job.template rowsIntegral<7>(y0, rows, rowA, rowB);
          return job.template rowsIntegral<0>(y0, rows, rowA, rowB);
        }
      }
      job.rowsGeneric(y0, rows, rowA, rowB);
    });
  };
  if (s->floatRoute || pairs)
    run(0.0f);
  else
    run(0);
  return kvpStsOk;
}

// ---- up ---------------------------------------------------------------------

template <class T, int C>
struct Up {
  const LayerState* s;
  const T* src;
  int srcStep, W, H;
  T* dst;
  int dstStep, Wd, Hd;
  long long rowFloats;  // floats between ring rows

  // Source row i interpolated horizontally onto the destination columns.
  void erow(int i, float* e) const {
    const int* ix = region<int>(s, s->offIx);
    const float* fx = region<float>(s, s->offFx);
    const T* r = rowAt(src, srcStep, i);
    for (int X = 0; X < Wd; ++X) {
      const int j0 = ix[X], j1 = j0 + 1 < W ? j0 + 1 : W - 1;
      const float f = fx[X];
      for (int ch = 0; ch < C; ++ch) {
        const float a0 = (float)r[j0 * C + ch], a1 = (float)r[j1 * C + ch];
        e[X * C + ch] = a0 + f * (a1 - a0);
      }
    }
  }

  void rows(int y0, int rows, unsigned char* base) const {
    const int k = s->k, a = s->a, n = Wd * C;
    const int* iy = region<int>(s, s->offIy);
    const float* fy = region<float>(s, s->offFy);
    float* ring = reinterpret_cast<float*>(base);
    float* eRow[2] = {ring + (long long)k * rowFloats, ring + (long long)(k + 1) * rowFloats};
    float* c = ring + (long long)(k + 2) * rowFloats;
    int eTag[2] = {-1, -1};
    auto fetchE = [&](int i, int avoid) -> const float* {
      for (int q = 0; q < 2; ++q)
        if (eTag[q] == i) return eRow[q];
      const int q = eTag[0] == avoid ? 1 : 0;
      erow(i, eRow[q]);
      eTag[q] = i;
      return eRow[q];
    };
    int hi = clampi(y0 - a, Hd) - 1;
    for (int Y = y0; Y < y0 + rows; ++Y) {
      for (const int top = clampi(Y + a, Hd); hi < top;) {
        ++hi;
        const int i0 = iy[hi], i1 = i0 + 1 < H ? i0 + 1 : H - 1;
        const float g = fy[hi];
        const float* e0 = fetchE(i0, i1);
        const float* e1 = fetchE(i1, i0);
        float* gr = ring + (long long)(hi % k) * rowFloats;
#pragma omp simd
        for (int j = 0; j < n; ++j) gr[j] = e0[j] + g * (e1[j] - e0[j]);
      }
      float* cm = c + a * C;
      {
        const float t = s->tf[0];
        const float* gr = ring + (long long)(clampi(Y - a, Hd) % k) * rowFloats;
#pragma omp simd
        for (int j = 0; j < n; ++j) cm[j] = t * gr[j];
      }
      for (int u = 1; u < k; ++u) {
        const float t = s->tf[u];
        const float* gr = ring + (long long)(clampi(Y - a + u, Hd) % k) * rowFloats;
#pragma omp simd
        for (int j = 0; j < n; ++j) cm[j] = cm[j] + t * gr[j];
      }
      for (int p = 0; p < a; ++p)
        for (int ch = 0; ch < C; ++ch) {
          c[p * C + ch] = cm[ch];
          cm[(Wd + p) * C + ch] = cm[(Wd - 1) * C + ch];
        }
      T* d = rowAt(dst, dstStep, Y);
      constexpr int B = 16;
      for (int j0 = 0; j0 < n; j0 += B) {
        const int m = n - j0 < B ? n - j0 : B;
        float acc[B];
        const float t0 = s->tf[0];
        for (int l = 0; l < B; ++l) acc[l] = l < m ? t0 * c[j0 + l] : 0.0f;
        for (int v = 1; v < k; ++v) {
          const float t = s->tf[v];
          const float* p = c + j0 + v * C;
          if (m == B) {
#pragma omp simd
            for (int l = 0; l < B; ++l) acc[l] = acc[l] + t * p[l];
          } else {
            for (int l = 0; l < m; ++l) acc[l] = acc[l] + t * p[l];
          }
        }
        if constexpr (kFloat<T>) {
          for (int l = 0; l < m; ++l) d[j0 + l] = acc[l];
        } else {
          const float inv = s->invD;
          for (int l = 0; l < m; ++l) d[j0 + l] = toInt<T>(acc[l] * inv);
        }
      }
    }
  }
};

template <class T, int C>
KvpStatus upRun(const T* pSrc, int srcStep, KvpiSize sr, T* pDst, int dstStep, KvpiSize dr,
                const LayerState* s, Kvp8u* pBuffer) {
  const long long rowBytes = align64((long long)dr.width * C * 4);
  const long long slice = (s->k + 2) * rowBytes + align64((long long)(dr.width + s->k - 1) * C * 4) + 64;
  const int n = clampTeam(ownGetNumThreads());
  const bool threaded = (long long)dr.width * dr.height >= (long long)n * 32768;
  const Up<T, C> job{s, pSrc, srcStep, sr.width, sr.height, pDst, dstStep, dr.width, dr.height, rowBytes / 4};
  forRowBands(dr.height, threaded, [&](int y0, int rows, int t) {
    job.rows(y0, rows, alignUp(pBuffer + (long long)t * slice, 64));
  });
  return kvpStsOk;
}

#define KVP_LAYER_RUNS(T, TS, C)                                                                         \
  KvpStatus down_##TS##_C##C(const T* pSrc, int srcStep, KvpiSize sr, T* pDst, int dstStep, KvpiSize dr, \
                             const LayerState* s, Kvp8u* pBuffer) {                                      \
    return downRun<T, C>(pSrc, srcStep, sr, pDst, dstStep, dr, s, pBuffer);                              \
  }                                                                                                      \
  KvpStatus up_##TS##_C##C(const T* pSrc, int srcStep, KvpiSize sr, T* pDst, int dstStep, KvpiSize dr,   \
                           const LayerState* s, Kvp8u* pBuffer) {                                        \
    return upRun<T, C>(pSrc, srcStep, sr, pDst, dstStep, dr, s, pBuffer);                                \
  }
KVP_LAYER_RUNS(Kvp8u, 8u, 1)
KVP_LAYER_RUNS(Kvp8u, 8u, 3)
KVP_LAYER_RUNS(Kvp16u, 16u, 1)
KVP_LAYER_RUNS(Kvp16u, 16u, 3)
KVP_LAYER_RUNS(Kvp32f, 32f, 1)
KVP_LAYER_RUNS(Kvp32f, 32f, 3)
#undef KVP_LAYER_RUNS

}  // namespace
}  // namespace kvp::pyr::HWY_NAMESPACE (or plain)
#if KVP_HAVE_HWY
HWY_AFTER_NAMESPACE();
#endif

#if !KVP_HAVE_HWY || HWY_ONCE
namespace kvp::pyr {
#if KVP_HAVE_HWY
HWY_EXPORT(down_8u_C1);
HWY_EXPORT(down_8u_C3);
HWY_EXPORT(down_16u_C1);
HWY_EXPORT(down_16u_C3);
HWY_EXPORT(down_32f_C1);
HWY_EXPORT(down_32f_C3);
HWY_EXPORT(up_8u_C1);
HWY_EXPORT(up_8u_C3);
HWY_EXPORT(up_16u_C1);
HWY_EXPORT(up_16u_C3);
HWY_EXPORT(up_32f_C1);
HWY_EXPORT(up_32f_C3);
#endif

#if KVP_HAVE_HWY
#define KVP_LAYER_PICK(fn) KVP_TARGET_KERNEL(fn)
#else
#define KVP_LAYER_PICK(fn) (&plain::fn)
#endif
}  // namespace kvp::pyr

namespace {

// The down or up kernel of the chosen target for T and C channels.
template <bool Up, class T, int C>
auto layerKernel() {
  using namespace kvp::pyr;
  if constexpr (std::is_same_v<T, Kvp8u>) {
    if constexpr (Up)
      return C == 1 ? KVP_LAYER_PICK(up_8u_C1) : KVP_LAYER_PICK(up_8u_C3);
    else
      return C == 1 ? KVP_LAYER_PICK(down_8u_C1) : KVP_LAYER_PICK(down_8u_C3);
  } else if constexpr (std::is_same_v<T, Kvp16u>) {
    if constexpr (Up)
      return C == 1 ? KVP_LAYER_PICK(up_16u_C1) : KVP_LAYER_PICK(up_16u_C3);
    else
      return C == 1 ? KVP_LAYER_PICK(down_16u_C1) : KVP_LAYER_PICK(down_16u_C3);
  } else {
    if constexpr (Up)
      return C == 1 ? KVP_LAYER_PICK(up_32f_C1) : KVP_LAYER_PICK(up_32f_C3);
    else
      return C == 1 ? KVP_LAYER_PICK(down_32f_C1) : KVP_LAYER_PICK(down_32f_C3);
  }
}

template <class T, int C>
KvpStatus layerDown(const T* pSrc, int srcStep, KvpiSize sr, T* pDst, int dstStep, KvpiSize dr,
                    const void* pState, Kvp8u* pBuffer) {
  if (KvpStatus st = layerChecks<T, C>(pSrc, srcStep, sr, pDst, dstStep, dr, pState, pBuffer)) return st;
  const LayerState* s = stateAt<LayerState>(pState);
  if (sr.width > s->maxW || sr.height > s->maxH) return kvpStsBadSize;
  if (dr.width != downLength(sr.width, s->M) || dr.height != downLength(sr.height, s->M))
    return kvpStsBadSize;
  return layerKernel<false, T, C>()(pSrc, srcStep, sr, pDst, dstStep, dr, s, pBuffer);
}

template <class T, int C>
KvpStatus layerUp(const T* pSrc, int srcStep, KvpiSize sr, T* pDst, int dstStep, KvpiSize dr,
                  const void* pState, Kvp8u* pBuffer) {
  if (KvpStatus st = layerChecks<T, C>(pSrc, srcStep, sr, pDst, dstStep, dr, pState, pBuffer)) return st;
  const LayerState* s = stateAt<LayerState>(pState);
  if (sr.width > s->maxW || sr.height > s->maxH) return kvpStsBadSize;
  if (dr.width < upLengthMin(sr.width, s->M) || dr.width > upLengthMax(sr.width, s->M) ||
      dr.height < upLengthMin(sr.height, s->M) || dr.height > upLengthMax(sr.height, s->M))
    return kvpStsBadSize;
  return layerKernel<true, T, C>()(pSrc, srcStep, sr, pDst, dstStep, dr, s, pBuffer);
}

// ---- buffer sizes -----------------------------------------------------------

KvpStatus layerBufSize(bool up, KvpiSize srcRoi, Kvp32f rate, int kerSize, const KvpDataType& dataType,
                       int channels, int* pBufSize) {
  if (!pBufSize) return kvpStsNullPtr;
  if (srcRoi.width < 1 || srcRoi.height < 1 || kerSize < 3 || kerSize > kMaxTaps) return kvpStsBadSize;
  if (!rateOk(rate)) return kvpStsBadArg;
  if ((kerSize & 1) == 0) return kvpStsBadArg;
  if (channels != 1 && channels != 3) return kvpStsBadChannels;
  const int code = typeCodeOf(dataType);
  if (code != kvp8u && code != kvp16u && code != kvp32f) return kvpStsBadDataType;
  const long long n = clampTeam(ownGetNumThreads());
  const long long W = srcRoi.width, k = kerSize, c = channels;
  long long size;
  if (!up) {
    size = n * (2 * align64((W + k - 1) * c * 4) + 64);
  } else {
    const long long Wd = upLengthMax(W, rateFixed(rate));
    size = n * ((k + 2) * align64(Wd * c * 4) + align64((Wd + k - 1) * c * 4) + 64);
  }
  if (size > 0x7fffffffLL) return kvpStsBadSize;
  *pBufSize = (int)size;
  return kvpStsOk;
}

}  // namespace

KvpStatus KVP_BODY(kvpiPyramidInitAlloc)(KvpiPyramid** ppPyr, int level, KvpiSize roiSize, Kvp32f rate) {
  if (!ppPyr) return kvpStsNullPtr;
  if (roiSize.width < 1 || roiSize.height < 1) return kvpStsBadSize;
  if (level < 0) return kvpStsBadArg;
  if (!rateOk(rate)) return kvpStsBadArg;
  const long long n = (long long)level + 1;
  const long long offRate = regionAfter(0, sizeof(KvpiPyramid), 8);
  const long long offImage = regionAfter(offRate, n * 8, 8);
  const long long offRoi = regionAfter(offImage, n * (long long)sizeof(Kvp8u*), 8);
  const long long offStep = regionAfter(offRoi, n * (long long)sizeof(KvpiSize), 8);
  const long long total = offStep + n * 4;
  if (total > 0x7fffffffLL) return kvpStsNoMemory;
  unsigned char* block = static_cast<unsigned char*>(kvpMalloc((int)total));
  if (!block) return kvpStsNoMemory;
  KvpiPyramid* p = reinterpret_cast<KvpiPyramid*>(block);
  p->pRate = reinterpret_cast<Kvp64f*>(block + offRate);
  p->pImage = reinterpret_cast<Kvp8u**>(block + offImage);
  p->pRoi = reinterpret_cast<KvpiSize*>(block + offRoi);
  p->pStep = reinterpret_cast<int*>(block + offStep);
  p->level = level;
  p->pState = nullptr;
  const long long M = rateFixed(rate);
  for (long long i = 0; i < n; ++i) {
    p->pImage[i] = nullptr;
    p->pStep[i] = 0;
    if (i == 0) {
      p->pRoi[0] = roiSize;
      p->pRate[0] = 1.0;
    } else {
      p->pRoi[i] = {(int)downLength(p->pRoi[i - 1].width, M), (int)downLength(p->pRoi[i - 1].height, M)};
      p->pRate[i] = p->pRate[i - 1] * (double)rate;
    }
  }
  *ppPyr = p;
  return kvpStsOk;
}

KvpStatus KVP_BODY(kvpiPyramidFree)(KvpiPyramid* pPyr) {
  if (!pPyr) return kvpStsNullPtr;
  kvpFree(pPyr);
  return kvpStsOk;
}

KvpStatus KVP_BODY(kvpiGetPyramidDownROI)(KvpiSize srcRoi, KvpiSize* pDstRoi, Kvp32f rate) {
  if (!pDstRoi) return kvpStsNullPtr;
  if (srcRoi.width < 1 || srcRoi.height < 1) return kvpStsBadSize;
  if (!rateOk(rate)) return kvpStsBadArg;
  const long long M = rateFixed(rate);
  *pDstRoi = {(int)downLength(srcRoi.width, M), (int)downLength(srcRoi.height, M)};
  return kvpStsOk;
}

KvpStatus KVP_BODY(kvpiGetPyramidUpROI)(KvpiSize srcRoi, KvpiSize* pDstRoiMin, KvpiSize* pDstRoiMax,
                                        Kvp32f rate) {
  if (!pDstRoiMin || !pDstRoiMax) return kvpStsNullPtr;
  if (srcRoi.width < 1 || srcRoi.height < 1) return kvpStsBadSize;
  if (!rateOk(rate)) return kvpStsBadArg;
  const long long M = rateFixed(rate);
  const long long mw = upLengthMax(srcRoi.width, M), mh = upLengthMax(srcRoi.height, M);
  if (mw > 0x7fffffffLL || mh > 0x7fffffffLL) return kvpStsBadSize;
  *pDstRoiMin = {(int)upLengthMin(srcRoi.width, M), (int)upLengthMin(srcRoi.height, M)};
  *pDstRoiMax = {(int)mw, (int)mh};
  return kvpStsOk;
}

KvpStatus KVP_BODY(kvpiPyramidLayerDownGetBufSize)(KvpiSize srcRoi, Kvp32f rate, int kerSize,
                                                   KvpDataType dataType, int channels, int* pBufSize) {
  return layerBufSize(false, srcRoi, rate, kerSize, dataType, channels, pBufSize);
}

KvpStatus KVP_BODY(kvpiPyramidLayerUpGetBufSize)(KvpiSize srcRoi, Kvp32f rate, int kerSize,
                                                 KvpDataType dataType, int channels, int* pBufSize) {
  return layerBufSize(true, srcRoi, rate, kerSize, dataType, channels, pBufSize);
}

#define KVP_LAYER_BODIES(E, K, TS, CH)                                                                       \
  KvpStatus KVP_BODY(kvpiPyramidLayerDownInitAlloc_##TS##_C##CH##R)(                                         \
      KvpiPyramidDownState_##TS * *ppState, KvpiSize srcRoi, Kvp32f rate, const K* pKernel, int kerSize,     \
      int mode) {                                                                                            \
    return layerInitAlloc<E, false>(ppState, srcRoi, rate, pKernel, kerSize, mode);                          \
  }                                                                                                          \
  KvpStatus KVP_BODY(kvpiPyramidLayerUpInitAlloc_##TS##_C##CH##R)(KvpiPyramidUpState_##TS * *ppState,        \
                                                                  KvpiSize srcRoi, Kvp32f rate,              \
                                                                  const K* pKernel, int kerSize, int mode) { \
    return layerInitAlloc<E, true>(ppState, srcRoi, rate, pKernel, kerSize, mode);                           \
  }                                                                                                          \
  KvpStatus KVP_BODY(kvpiPyramidLayerDownFree_##TS##_C##CH##R)(KvpiPyramidDownState_##TS * pState) {         \
    return freeState(pState);                                                                                \
  }                                                                                                          \
  KvpStatus KVP_BODY(kvpiPyramidLayerUpFree_##TS##_C##CH##R)(KvpiPyramidUpState_##TS * pState) {             \
    return freeState(pState);                                                                                \
  }                                                                                                          \
  KvpStatus KVP_BODY(kvpiPyramidLayerDown_##TS##_C##CH##R)(                                                  \
      const E* pSrc, int srcStep, KvpiSize srcRoiSize, E* pDst, int dstStep, KvpiSize dstRoiSize,            \
      const KvpiPyramidDownState_##TS* pState, Kvp8u* pBuffer) {                                             \
    return layerDown<E, CH>(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, pState, pBuffer);          \
  }                                                                                                          \
  KvpStatus KVP_BODY(kvpiPyramidLayerUp_##TS##_C##CH##R)(                                                    \
      const E* pSrc, int srcStep, KvpiSize srcRoiSize, E* pDst, int dstStep, KvpiSize dstRoiSize,            \
      const KvpiPyramidUpState_##TS* pState, Kvp8u* pBuffer) {                                               \
    return layerUp<E, CH>(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, pState, pBuffer);            \
  }

KVP_LAYER_BODIES(Kvp8u, Kvp16s, 8u, 1)
KVP_LAYER_BODIES(Kvp8u, Kvp16s, 8u, 3)
KVP_LAYER_BODIES(Kvp16u, Kvp16s, 16u, 1)
KVP_LAYER_BODIES(Kvp16u, Kvp16s, 16u, 3)
KVP_LAYER_BODIES(Kvp32f, Kvp32f, 32f, 1)
KVP_LAYER_BODIES(Kvp32f, Kvp32f, 32f, 3)

#endif  // !KVP_HAVE_HWY || HWY_ONCE

// Haar classifier stages over the integral tables: each weak classifier
// sums a few weighted rectangles (upright on the upright integral, 45-degree
// on the tilted integral), compares the sum with its threshold times the
// window's normalisation value and votes; a window survives the stage when
// the votes reach the stage threshold. Apply clears the candidate mask where
// the stage rejects and counts the survivors.
//
// State: one kvpMalloc block holding the classifiers (rectangle count,
// geometry, threshold, votes, index of the first rectangle), the rectangles
// and weights, and the window footprint {W, H}.
//
// Apply turns every rectangle into four element offsets from the window's
// anchor for the call's steps (a stack table; stages with more rectangles
// than it holds compute the offsets per window), skips runs of zero mask
// bytes eight at a time, and evaluates each candidate window classifier by
// classifier in order. Float members: products and sums in single precision
// in rectangle order, votes summed in double precision in classifier order.
// The integer member: exact 64-bit sums. Float members evaluate runs of
// candidates a vector of windows at a time, neighbouring windows or, where
// the candidates lie on an even grid (a detector's scan), every other
// window, with the scalar path's operations per lane; the band kernels are
// compiled per vector target and the widest one is chosen at run time. A
// window's result depends only on its own reads, so row bands give the
// same mask and count at any thread count and on every target.
#if KVP_HAVE_HWY
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "detect/haar.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>
#endif
#include "frame/simd.h"

#ifndef KVP_DETECT_HAAR_COMMON_
#define KVP_DETECT_HAAR_COMMON_
#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "frame/bodies.h"
#include "frame/checks.h"
#include "frame/parallel.h"
#include "frame/state.h"
#include "frame/targets.h"

namespace kvp::haar {
namespace {

constexpr Kvp32u kKind32f = 0x48410032u;
constexpr Kvp32u kKind32s = 0x48410033u;

template <class W>
struct Stage {
  StateHead head;
  int length;
  int rects;
  KvpiSize window;
  int* num;        // rectangles per classifier
  int* first;      // index of each classifier's first rectangle
  Kvp8u* tilted;   // geometry per classifier
  W* threshold;    // per classifier
  W* val1;         // vote when the sum is below the threshold
  W* val2;         // vote otherwise
  KvpiRect* rect;  // all rectangles, classifier by classifier
  W* weight;       // one per rectangle
  // Bounds of the votes still to come after classifier i (largest and
  // smallest possible sum of classifiers i + 1 ..), and the margin that
  // covers the rounding of the double sums; a decision is taken early only
  // when it cannot change. `bounded` is false when a vote is not finite.
  using Acc = std::conditional_t<std::is_same_v<W, Kvp32f>, double, long long>;
  Acc* restHi;
  Acc* restLo;
  double margin;
  bool bounded;
};

// Rule for one rectangle under a geometry: size at least 1, corners inside
// the window's reach, extents representable.
inline bool rectValid(const KvpiRect& r, bool tilted) {
  if (r.width < 1 || r.height < 1) return false;
  if (r.y < 0) return false;
  if (tilted ? ((long long)r.x - r.height < 0) : (r.x < 0)) return false;
  if ((long long)r.x + r.width > 0x7fffffffLL) return false;
  const long long ext = tilted ? (long long)r.y + r.width + r.height : (long long)r.y + r.height;
  return ext <= 0x7fffffffLL;
}

template <class W>
void computeWindow(Stage<W>& s) {
  long long w = 0, h = 0;
  for (int i = 0; i < s.length; ++i)
    for (int k = s.first[i]; k < s.first[i] + s.num[i]; ++k) {
      const KvpiRect& r = s.rect[k];
      w = std::max(w, (long long)r.x + r.width);
      h = std::max(h, s.tilted[i] ? (long long)r.y + r.width + r.height : (long long)r.y + r.height);
    }
  s.window = {(int)w, (int)h};
}

template <class W>
KvpStatus initAlloc(void** pp, const KvpiRect* feature, const W* weight, const W* threshold, const W* val1,
                    const W* val2, const int* num, int length, bool tilted) {
  if (!pp || !feature || !weight || !threshold || !val1 || !val2 || !num) return kvpStsNullPtr;
  if (length < 1) return kvpStsBadSize;
  long long rects = 0;
  for (int i = 0; i < length; ++i) {
    if (num[i] < 1) return kvpStsBadSize;
    rects += num[i];
  }
  for (long long k = 0; k < rects; ++k)
    if (!rectValid(feature[k], tilted)) return kvpStsBadSize;
  const long long L = length;
  long long off = regionAfter(0, (long long)sizeof(Stage<W>));
  const long long numAt = off;
  const long long firstAt = regionAfter(numAt, 4 * L);
  const long long tiltAt = regionAfter(firstAt, 4 * L);
  const long long thrAt = regionAfter(tiltAt, L);
  const long long v1At = regionAfter(thrAt, 4 * L);
  const long long v2At = regionAfter(v1At, 4 * L);
  const long long rectAt = regionAfter(v2At, 4 * L);
  const long long weightAt = regionAfter(rectAt, 16 * rects);
  const long long hiAt = regionAfter(weightAt, 4 * rects);
  const long long loAt = regionAfter(hiAt, 8 * L);
  const long long payload = loAt + 8 * L;
  if (payload > kMaxBlock) return kvpStsNoMemory;
  return allocState<void, Stage<W>>(payload, std::is_same_v<W, Kvp32f> ? kKind32f : kKind32s, pp,
                                    [&](Stage<W>* s, unsigned char* base) {
                                      s->length = length;
                                      s->rects = (int)rects;
                                      s->num = reinterpret_cast<int*>(base + numAt);
                                      s->first = reinterpret_cast<int*>(base + firstAt);
                                      s->tilted = base + tiltAt;
                                      s->threshold = reinterpret_cast<W*>(base + thrAt);
                                      s->val1 = reinterpret_cast<W*>(base + v1At);
                                      s->val2 = reinterpret_cast<W*>(base + v2At);
                                      s->rect = reinterpret_cast<KvpiRect*>(base + rectAt);
                                      s->weight = reinterpret_cast<W*>(base + weightAt);
                                      std::memcpy(s->num, num, (size_t)L * 4);
                                      int f = 0;
                                      for (int i = 0; i < length; ++i) {
                                        s->first[i] = f;
                                        f += num[i];
                                      }
                                      std::memset(s->tilted, tilted ? 1 : 0, (size_t)L);
                                      std::memcpy(s->threshold, threshold, (size_t)L * sizeof(W));
                                      std::memcpy(s->val1, val1, (size_t)L * sizeof(W));
                                      std::memcpy(s->val2, val2, (size_t)L * sizeof(W));
                                      std::memcpy(s->rect, feature, (size_t)rects * sizeof(KvpiRect));
                                      std::memcpy(s->weight, weight, (size_t)rects * sizeof(W));
                                      using Acc = typename Stage<W>::Acc;
                                      s->restHi = reinterpret_cast<Acc*>(base + hiAt);
                                      s->restLo = reinterpret_cast<Acc*>(base + loAt);
                                      Acc hi = 0, lo = 0;
                                      double total = 0.0;
                                      s->bounded = true;
                                      for (int i = length - 1; i >= 0; --i) {
                                        s->restHi[i] = hi;
                                        s->restLo[i] = lo;
                                        const Acc a = (Acc)val1[i], b = (Acc)val2[i];
                                        if constexpr (std::is_same_v<W, Kvp32f>)
                                          if (!std::isfinite(val1[i]) || !std::isfinite(val2[i]) ||
                                              std::fabs(a) > 1e30 || std::fabs(b) > 1e30)
                                            s->bounded = false;
                                        hi = hi + std::max(a, b);
                                        lo = lo + std::min(a, b);
                                        total += std::max(std::fabs((double)a), std::fabs((double)b));
                                      }
                                      // Each double addition of the stage sum and of the bound is off by
                                      // at most half an ulp of a value below `total`.
                                      s->margin = ((double)length + 8.0) * total * 0x1p-50;
                                      computeWindow(*s);
                                    });
}

template <class W>
KvpStatus tilt(const Kvp8u* mask, int flag, void* p) {
  if (!mask || !p) return kvpStsNullPtr;
  if (flag != 0 && flag != 1) return kvpStsBadArg;
  Stage<W>& s = *stateAt<Stage<W>>(p);
  for (int i = 0; i < s.length; ++i)
    if (mask[i])
      for (int k = s.first[i]; k < s.first[i] + s.num[i]; ++k)
        if (!rectValid(s.rect[k], flag == 1)) return kvpStsBadSize;
  for (int i = 0; i < s.length; ++i)
    if (mask[i]) s.tilted[i] = (Kvp8u)flag;
  computeWindow(s);
  return kvpStsOk;
}

template <class W>
KvpStatus getSize(const void* p, KvpiSize* size) {
  if (!p || !size) return kvpStsNullPtr;
  *size = stateAt<Stage<W>>(p)->window;
  return kvpStsOk;
}

// ---- evaluation ----------------------------------------------------------------------

// Four corner offsets (elements) of a rectangle from the window anchor.
struct Corners {
  long long o[4];
};

inline Corners corners(const KvpiRect& r, bool tilted, long long step) {
  const long long x = r.x, y = r.y, w = r.width, h = r.height;
  if (!tilted) return {{y * step + x, y * step + x + w, (y + h) * step + x, (y + h) * step + x + w}};
  return {{y * step + x, (y + h) * step + x - h, (y + w) * step + x + w, (y + w + h) * step + x + w - h}};
}

// The rectangle sum: float arithmetic on float tables, 32-bit wrapping
// arithmetic on integer tables.
template <class T, class O>
inline T rectSum(const T* a, const O* o) {
  if constexpr (std::is_same_v<T, Kvp32f>) {
    return ((a[o[0]] - a[o[1]]) - a[o[2]]) + a[o[3]];
  } else {
    const Kvp32u v = (((Kvp32u)a[o[0]] - (Kvp32u)a[o[1]]) - (Kvp32u)a[o[2]]) + (Kvp32u)a[o[3]];
    return (Kvp32s)v;
  }
}

enum Member { kFloat, kIntFloat, kInt };

template <Member M>
struct Types;
template <>
struct Types<kFloat> {
  using T = Kvp32f;
  using W = Kvp32f;
  using N = Kvp32f;
};
template <>
struct Types<kIntFloat> {
  using T = Kvp32s;
  using W = Kvp32f;
  using N = Kvp32f;
};
template <>
struct Types<kInt> {
  using T = Kvp32s;
  using W = Kvp32s;
  using N = Kvp32s;
};

// A rectangle prepared for one call: 32-bit corner offsets, the table it
// reads and its weight.
template <class W>
struct RectOp {
  int o[4];
  int table;
  W weight;
};

constexpr int kStackRects = 1024;

// What one Apply call evaluates with: the stage, the tables, the prepared
// rectangles and the call's scalars.
template <Member M>
struct CallData {
  using T = typename Types<M>::T;
  using W = typename Types<M>::W;
  using N = typename Types<M>::N;
  const Stage<W>* s;
  const T* tables[2];
  long long steps[2];  // elements
  bool mixed;
  const RectOp<W>* ops;  // null: offsets per window
  W threshold;
  int sf;
  bool early;  // decisions may be taken before the last classifier
};

}  // namespace
}  // namespace kvp::haar
#endif  // KVP_DETECT_HAAR_COMMON_

// ---- band kernels, one copy per target --------------------------------------------

#if KVP_HAVE_HWY
HWY_BEFORE_NAMESPACE();
namespace kvp::haar::HWY_NAMESPACE {
#else
namespace kvp::haar::plain {
#endif
namespace {
#if KVP_HAVE_HWY
using namespace kvp::HWY_NAMESPACE;
#endif

template <Member M>
struct Call : CallData<M> {
  using Base = CallData<M>;
  using T = typename Base::T;
  using W = typename Base::W;
  using N = typename Base::N;
  using Base::early;
  using Base::mixed;
  using Base::ops;
  using Base::s;
  using Base::sf;
  using Base::steps;
  using Base::tables;
  using Base::threshold;
  explicit Call(const CallData<M>& d) : Base(d) {}

  // Weak classifier i's sum F at a window (Fast: the prepared rectangles).
  template <bool Fast>
  inline auto feature(int i, const T* const* base) const {
    const int k0 = s->first[i], k1 = k0 + s->num[i];
    using F_t = std::conditional_t<M == kInt, Kvp64u, Kvp32f>;
    F_t F = 0;
    for (int k = k0; k < k1; ++k) {
      T sum;
      W w;
      if constexpr (Fast) {
        sum = rectSum(base[ops[k].table], ops[k].o);
        w = ops[k].weight;
      } else {
        const bool t = s->tilted[i] != 0;
        const int which = (mixed && t) ? 1 : 0;
        sum = rectSum(base[which], corners(s->rect[k], t, steps[which]).o);
        w = s->weight[k];
      }
      if constexpr (M == kInt) {
        F += (Kvp64u)((long long)w * (long long)sum);
      } else {
        const Kvp32f term = w * (Kvp32f)sum;
        F = k == k0 ? term : F + term;
      }
    }
    return F;
  }

  // Whether the window at the anchor offsets passes the stage.
  template <bool Fast>
  bool passes(long long a0, long long a1, N norm) const {
    const T* base[2] = {tables[0] + a0, tables[1] + a1};
    const int L = s->length;
    if constexpr (M == kInt) {
      Kvp64u acc = 0;
      for (int i = 0; i < L; ++i) {
        const Kvp64u F = feature<Fast>(i, base);
        const long long P = (long long)s->threshold[i] * (long long)norm;
        const bool below = sf >= 0 ? (long long)(F << sf) < P : (long long)F < (long long)((Kvp64u)P << -sf);
        acc += (Kvp64u)(long long)(below ? s->val1[i] : s->val2[i]);
        if (early) {  // exact bounds: no partial vote sum can wrap
          if ((long long)acc + s->restHi[i] < (long long)threshold) return false;
          if ((long long)acc + s->restLo[i] >= (long long)threshold) return true;
        }
      }
      return (long long)acc >= (long long)threshold;
    } else {
      double acc = 0.0;
      const double thr = (double)threshold, m = s->margin;
      for (int i = 0; i < L; ++i) {
        const Kvp32f F = feature<Fast>(i, base);
        const Kvp32f lim = s->threshold[i] * norm;
        acc = acc + (double)(F < lim ? s->val1[i] : s->val2[i]);
        if (early) {
          if (acc + s->restHi[i] < thr - m) return false;
          if (acc + s->restLo[i] >= thr + m) return true;
        }
      }
      return acc >= thr;
    }
  }

#if KVP_HAVE_HWY
  // Lanes(DF) neighbouring windows at once (float members, prepared
  // rectangles): each lane performs the scalar path's operations in the
  // same order, so the decisions agree bit for bit. Lane l is the window
  // Stride * l to the right of the anchor (Stride 2: the windows of an even
  // grid, every other element of twice the loads). Bit l of the result is
  // whether lane l's window passes.
  template <int Stride>
  static HWY_INLINE hn::Vec<DF> loadF(const Kvp32f* p) {
    const DF df;
    if constexpr (Stride == 1) return hn::LoadU(df, p);
    return hn::ConcatEven(df, hn::LoadU(df, p + hn::Lanes(df)), hn::LoadU(df, p));
  }
  template <int Stride>
  static HWY_INLINE hn::Vec<hn::RebindToSigned<DF>> loadI(const Kvp32s* p) {
    const hn::RebindToSigned<DF> di;
    if constexpr (Stride == 1) return hn::LoadU(di, p);
    return hn::ConcatEven(di, hn::LoadU(di, p + hn::Lanes(di)), hn::LoadU(di, p));
  }

  template <int Stride>
  unsigned passesVec(long long a0, long long a1, const N* norms) const {
    const DF df;
    const hn::Half<DF> dh;
    const hn::Rebind<double, decltype(dh)> dd;
    using VD = hn::Vec<decltype(dd)>;
    using MD = hn::Mask<decltype(dd)>;
    const T* base[2] = {tables[0] + a0, tables[1] + a1};
    const auto vnorm = loadF<Stride>(norms);
    VD accLo = hn::Zero(dd), accHi = hn::Zero(dd);
    const double thr = (double)threshold, m = s->margin;
    const VD rejectAt = hn::Set(dd, thr - m), acceptAt = hn::Set(dd, thr + m);
    MD passLo = hn::FirstN(dd, 0), passHi = passLo, doneLo = passLo, doneHi = passLo;
    const int L = s->length;
    for (int i = 0; i < L; ++i) {
      const int k0 = s->first[i], k1 = k0 + s->num[i];
      hn::Vec<DF> F = hn::Zero(df);
      for (int k = k0; k < k1; ++k) {
        const RectOp<W>& op = ops[k];
        const T* a = base[op.table];
        hn::Vec<DF> sum;
        if constexpr (std::is_same_v<T, Kvp32f>) {
          sum = hn::Add(hn::Sub(hn::Sub(loadF<Stride>(a + op.o[0]), loadF<Stride>(a + op.o[1])),
                                loadF<Stride>(a + op.o[2])),
                        loadF<Stride>(a + op.o[3]));
        } else {
          sum = hn::ConvertTo(df,
                              hn::Add(hn::Sub(hn::Sub(loadI<Stride>(a + op.o[0]), loadI<Stride>(a + op.o[1])),
                                              loadI<Stride>(a + op.o[2])),
                                      loadI<Stride>(a + op.o[3])));
        }
        const hn::Vec<DF> term = hn::Mul(hn::Set(df, op.weight), sum);
        F = k == k0 ? term : hn::Add(F, term);
      }
      const hn::Vec<DF> lim = hn::Mul(hn::Set(df, s->threshold[i]), vnorm);
      const hn::Vec<DF> vote =
          hn::IfThenElse(hn::Lt(F, lim), hn::Set(df, s->val1[i]), hn::Set(df, s->val2[i]));
      accLo = hn::Add(accLo, hn::PromoteTo(dd, hn::LowerHalf(dh, vote)));
      accHi = hn::Add(accHi, hn::PromoteTo(dd, hn::UpperHalf(dh, vote)));
      if (early) {
        // A lane decides once its outcome cannot change; its decision is
        // final, so later classifiers only matter for undecided lanes.
        const VD hi = hn::Set(dd, s->restHi[i]), lo = hn::Set(dd, s->restLo[i]);
        const MD accLoNow = hn::Ge(hn::Add(accLo, lo), acceptAt),
                 accHiNow = hn::Ge(hn::Add(accHi, lo), acceptAt);
        const MD rejLoNow = hn::Lt(hn::Add(accLo, hi), rejectAt),
                 rejHiNow = hn::Lt(hn::Add(accHi, hi), rejectAt);
        passLo = hn::Or(passLo, hn::AndNot(doneLo, accLoNow));
        passHi = hn::Or(passHi, hn::AndNot(doneHi, accHiNow));
        doneLo = hn::Or(doneLo, hn::Or(accLoNow, rejLoNow));
        doneHi = hn::Or(doneHi, hn::Or(accHiNow, rejHiNow));
        if (hn::AllTrue(dd, doneLo) && hn::AllTrue(dd, doneHi)) break;
      }
    }
    const VD thrV = hn::Set(dd, thr);
    passLo = hn::Or(passLo, hn::AndNot(doneLo, hn::Ge(accLo, thrV)));
    passHi = hn::Or(passHi, hn::AndNot(doneHi, hn::Ge(accHi, thrV)));
    const size_t half = hn::Lanes(dd);
    uint8_t lo[8] = {}, hi[8] = {};
    hn::StoreMaskBits(dd, passLo, lo);
    hn::StoreMaskBits(dd, passHi, hi);
    const unsigned bits = (unsigned)lo[0] | ((unsigned)hi[0] << half);
    return bits;
  }
#endif

  // One band of window rows; returns the survivors it counted.
  template <bool Fast>
  long long band(const N* pNorm, int normStep, Kvp8u* pMask, int maskStep, int width, int y0,
                 int rows) const {
    long long count = 0;
    for (int i = y0; i < y0 + rows; ++i) {
      Kvp8u* m = rowAt(pMask, maskStep, i);
      const N* nrow = rowAt(pNorm, normStep, i);
      const long long r0 = (long long)i * steps[0], r1 = (long long)i * steps[1];
      int j = 0;
      while (j < width) {
        if (j + 8 <= width) {
          Kvp64u word;
          std::memcpy(&word, m + j, 8);
          if (!word) {
            j += 8;
            continue;
          }
        }
#if KVP_HAVE_HWY
        if constexpr (Fast && M != kInt) {
          // Runs with two or more candidates among the next Lanes windows
          // take the vector path; isolated candidates the scalar one.
          const int lanes = (int)hn::Lanes(DF());
          // Candidates only on the even grid (as a detector's scan leaves
          // them) over the next 2 * Lanes windows: one vector of those.
          if (lanes >= 4 && lanes <= 16 && j + 2 * lanes <= width) {
            int even = 0, odd = 0;
            for (int l = 0; l < 2 * lanes; l += 2) {
              even += m[j + l] != 0;
              odd |= m[j + l + 1];
            }
            if (!odd && even >= 2) {
              const unsigned pass = passesVec<2>(r0 + j, r1 + j, nrow + j);
              for (int l = 0; l < lanes; ++l)
                if (m[j + 2 * l]) {
                  if (pass >> l & 1)
                    ++count;
                  else
                    m[j + 2 * l] = 0;
                }
              j += 2 * lanes;
              continue;
            }
          }
          if (lanes >= 4 && lanes <= 16 && j + lanes <= width) {
            int candidates = 0;
            for (int l = 0; l < lanes; ++l) candidates += m[j + l] != 0;
            if (candidates >= 2) {
              const unsigned pass = passesVec<1>(r0 + j, r1 + j, nrow + j);
              for (int l = 0; l < lanes; ++l)
                if (m[j + l]) {
                  if (pass >> l & 1)
                    ++count;
                  else
                    m[j + l] = 0;
                }
              j += lanes;
              continue;
            }
          }
        }
#endif
        if (m[j]) {
          if (passes<Fast>(r0 + j, r1 + j, nrow[j]))
            ++count;
          else
            m[j] = 0;
        }
        ++j;
      }
    }
    return count;
  }
};

// One band of window rows of a call; returns the survivors it counted.
template <Member M>
long long bandOf(const CallData<M>& d, const typename Types<M>::N* pNorm, int normStep, Kvp8u* pMask,
                 int maskStep, int width, int y0, int rows) {
  const Call<M> c(d);
  return d.ops ? c.template band<true>(pNorm, normStep, pMask, maskStep, width, y0, rows)
               : c.template band<false>(pNorm, normStep, pMask, maskStep, width, y0, rows);
}
long long bandFloat(const CallData<kFloat>& d, const Kvp32f* pNorm, int normStep, Kvp8u* pMask, int maskStep,
                    int width, int y0, int rows) {
  return bandOf<kFloat>(d, pNorm, normStep, pMask, maskStep, width, y0, rows);
}
long long bandIntFloat(const CallData<kIntFloat>& d, const Kvp32f* pNorm, int normStep, Kvp8u* pMask,
                       int maskStep, int width, int y0, int rows) {
  return bandOf<kIntFloat>(d, pNorm, normStep, pMask, maskStep, width, y0, rows);
}
long long bandInt(const CallData<kInt>& d, const Kvp32s* pNorm, int normStep, Kvp8u* pMask, int maskStep,
                  int width, int y0, int rows) {
  return bandOf<kInt>(d, pNorm, normStep, pMask, maskStep, width, y0, rows);
}

}  // namespace
}  // namespace kvp::haar::HWY_NAMESPACE (or plain)
#if KVP_HAVE_HWY
HWY_AFTER_NAMESPACE();
#endif

// ---- drivers and bodies, compiled once ------------------------------------------

#if !KVP_HAVE_HWY || HWY_ONCE
namespace kvp::haar {
#if KVP_HAVE_HWY
HWY_EXPORT(bandFloat);
HWY_EXPORT(bandIntFloat);
HWY_EXPORT(bandInt);
#define KVP_HAAR_BAND(fn) KVP_TARGET_KERNEL(fn)
#else
#define KVP_HAAR_BAND(fn) (&plain::fn)
#endif
namespace {

// The chosen target's band kernel of a member, taken once per call.
template <Member M>
auto bandKernel() {
  if constexpr (M == kFloat)
    return KVP_HAAR_BAND(bandFloat);
  else if constexpr (M == kIntFloat)
    return KVP_HAAR_BAND(bandIntFloat);
  else
    return KVP_HAAR_BAND(bandInt);
}

template <Member M>
KvpStatus apply(const typename Types<M>::T* pSrc, int srcStep, const typename Types<M>::T* pTilt,
                int tiltStep, bool mixed, const typename Types<M>::N* pNorm, int normStep, Kvp8u* pMask,
                int maskStep, KvpiSize roi, int* pPositive, typename Types<M>::W threshold,
                const void* pState, int sf) {
  using W = typename Types<M>::W;
  if (!pSrc || (mixed && !pTilt) || !pNorm || !pMask || !pPositive || !pState) return kvpStsNullPtr;
  if (KvpStatus st = checkSize(roi)) return st;
  const Stage<W>& s = *stateAt<Stage<W>>(pState);
  const long long need = ((long long)roi.width + s.window.width) * 4;
  if ((long long)srcStep < need) return kvpStsBadStep;
  if (mixed && (long long)tiltStep < need) return kvpStsBadStep;
  if ((long long)normStep < (long long)roi.width * 4) return kvpStsBadStep;
  if (maskStep < roi.width) return kvpStsBadStep;
  if ((srcStep | (mixed ? tiltStep : 0) | normStep) & 3) return kvpStsStepNotMultiple;
  if (M == kInt && (sf < -31 || sf > 31)) return kvpStsBadArg;

  CallData<M> c;
  c.s = &s;
  c.tables[0] = pSrc;
  c.tables[1] = mixed ? pTilt : pSrc;
  c.steps[0] = srcStep / 4;
  c.steps[1] = mixed ? tiltStep / 4 : srcStep / 4;
  c.mixed = mixed;
  c.threshold = threshold;
  c.sf = sf;
  c.early = s.bounded;
  // Corner offsets for this call's steps, when the stage fits the stack
  // table and every offset fits 32 bits.
  RectOp<W> stack[kStackRects];
  c.ops = nullptr;
  if (s.rects <= kStackRects) {
    bool fits = true;
    for (int i = 0; i < s.length; ++i) {
      const bool t = s.tilted[i] != 0;
      const int which = (mixed && t) ? 1 : 0;
      for (int k = s.first[i]; k < s.first[i] + s.num[i]; ++k) {
        const Corners q = corners(s.rect[k], t, c.steps[which]);
        for (int n = 0; n < 4; ++n) {
          fits = fits && q.o[n] >= -0x7fffffffLL && q.o[n] <= 0x7fffffffLL;
          stack[k].o[n] = (int)q.o[n];
        }
        stack[k].table = which;
        stack[k].weight = s.weight[k];
      }
    }
    if (fits) c.ops = stack;
  }
  const auto band = bandKernel<M>();
  long long counts[kMaxTeam] = {};
  const bool threaded = (long long)roi.width * roi.height >= (long long)ownGetNumThreads() * 8192;
  const int team = forRowBands(roi.height, threaded, [&](int y0, int rows, int t) {
    counts[t] = band(c, pNorm, normStep, pMask, maskStep, roi.width, y0, rows);
  });
  long long total = 0;
  for (int t = 0; t < team; ++t) total += counts[t];
  *pPositive = (int)total;
  return kvpStsOk;
}
}  // namespace
}  // namespace kvp::haar

using namespace kvp::haar;

extern "C" {

KvpStatus KVP_BODY(kvpiHaarClassifierInitAlloc_32f)(KvpiHaarClassifier_32f** ppState,
                                                    const KvpiRect* pFeature, const Kvp32f* pWeight,
                                                    const Kvp32f* pThreshold, const Kvp32f* pVal1,
                                                    const Kvp32f* pVal2, const int* pNum, int length) {
  return initAlloc<Kvp32f>(reinterpret_cast<void**>(ppState), pFeature, pWeight, pThreshold, pVal1, pVal2,
                           pNum, length, false);
}
KvpStatus KVP_BODY(kvpiHaarClassifierInitAlloc_32s)(KvpiHaarClassifier_32s** ppState,
                                                    const KvpiRect* pFeature, const Kvp32s* pWeight,
                                                    const Kvp32s* pThreshold, const Kvp32s* pVal1,
                                                    const Kvp32s* pVal2, const int* pNum, int length) {
  return initAlloc<Kvp32s>(reinterpret_cast<void**>(ppState), pFeature, pWeight, pThreshold, pVal1, pVal2,
                           pNum, length, false);
}
KvpStatus KVP_BODY(kvpiTiltedHaarClassifierInitAlloc_32f)(KvpiHaarClassifier_32f** ppState,
                                                          const KvpiRect* pFeature, const Kvp32f* pWeight,
                                                          const Kvp32f* pThreshold, const Kvp32f* pVal1,
                                                          const Kvp32f* pVal2, const int* pNum, int length) {
  return initAlloc<Kvp32f>(reinterpret_cast<void**>(ppState), pFeature, pWeight, pThreshold, pVal1, pVal2,
                           pNum, length, true);
}
KvpStatus KVP_BODY(kvpiTiltedHaarClassifierInitAlloc_32s)(KvpiHaarClassifier_32s** ppState,
                                                          const KvpiRect* pFeature, const Kvp32s* pWeight,
                                                          const Kvp32s* pThreshold, const Kvp32s* pVal1,
                                                          const Kvp32s* pVal2, const int* pNum, int length) {
  return initAlloc<Kvp32s>(reinterpret_cast<void**>(ppState), pFeature, pWeight, pThreshold, pVal1, pVal2,
                           pNum, length, true);
}
KvpStatus KVP_BODY(kvpiHaarClassifierFree_32f)(KvpiHaarClassifier_32f* pState) {
  return kvp::freeState(pState);
}
KvpStatus KVP_BODY(kvpiHaarClassifierFree_32s)(KvpiHaarClassifier_32s* pState) {
  return kvp::freeState(pState);
}
KvpStatus KVP_BODY(kvpiTiltHaarFeatures_32f)(const Kvp8u* pMask, int flag, KvpiHaarClassifier_32f* pState) {
  return tilt<Kvp32f>(pMask, flag, pState);
}
KvpStatus KVP_BODY(kvpiTiltHaarFeatures_32s)(const Kvp8u* pMask, int flag, KvpiHaarClassifier_32s* pState) {
  return tilt<Kvp32s>(pMask, flag, pState);
}
KvpStatus KVP_BODY(kvpiGetHaarClassifierSize_32f)(const KvpiHaarClassifier_32f* pState, KvpiSize* pSize) {
  return getSize<Kvp32f>(pState, pSize);
}
KvpStatus KVP_BODY(kvpiGetHaarClassifierSize_32s)(const KvpiHaarClassifier_32s* pState, KvpiSize* pSize) {
  return getSize<Kvp32s>(pState, pSize);
}

KvpStatus KVP_BODY(kvpiApplyHaarClassifier_32f_C1R)(const Kvp32f* pSrc, int srcStep, const Kvp32f* pNorm,
                                                    int normStep, Kvp8u* pMask, int maskStep,
                                                    KvpiSize roiSize, int* pPositive, Kvp32f threshold,
                                                    const KvpiHaarClassifier_32f* pState) {
  return apply<kFloat>(pSrc, srcStep, nullptr, 0, false, pNorm, normStep, pMask, maskStep, roiSize, pPositive,
                       threshold, pState, 0);
}
KvpStatus KVP_BODY(kvpiApplyHaarClassifier_32s32f_C1R)(const Kvp32s* pSrc, int srcStep, const Kvp32f* pNorm,
                                                       int normStep, Kvp8u* pMask, int maskStep,
                                                       KvpiSize roiSize, int* pPositive, Kvp32f threshold,
                                                       const KvpiHaarClassifier_32f* pState) {
  return apply<kIntFloat>(pSrc, srcStep, nullptr, 0, false, pNorm, normStep, pMask, maskStep, roiSize,
                          pPositive, threshold, pState, 0);
}
KvpStatus KVP_BODY(kvpiApplyHaarClassifier_32s_C1RSfs)(const Kvp32s* pSrc, int srcStep, const Kvp32s* pNorm,
                                                       int normStep, Kvp8u* pMask, int maskStep,
                                                       KvpiSize roiSize, int* pPositive, Kvp32s threshold,
                                                       const KvpiHaarClassifier_32s* pState,
                                                       int scaleFactor) {
  return apply<kInt>(pSrc, srcStep, nullptr, 0, false, pNorm, normStep, pMask, maskStep, roiSize, pPositive,
                     threshold, pState, scaleFactor);
}
KvpStatus KVP_BODY(kvpiApplyMixedHaarClassifier_32f_C1R)(const Kvp32f* pSrc, int srcStep, const Kvp32f* pTilt,
                                                         int tiltStep, const Kvp32f* pNorm, int normStep,
                                                         Kvp8u* pMask, int maskStep, KvpiSize roiSize,
                                                         int* pPositive, Kvp32f threshold,
                                                         const KvpiHaarClassifier_32f* pState) {
  return apply<kFloat>(pSrc, srcStep, pTilt, tiltStep, true, pNorm, normStep, pMask, maskStep, roiSize,
                       pPositive, threshold, pState, 0);
}
KvpStatus KVP_BODY(kvpiApplyMixedHaarClassifier_32s32f_C1R)(const Kvp32s* pSrc, int srcStep,
                                                            const Kvp32s* pTilt, int tiltStep,
                                                            const Kvp32f* pNorm, int normStep, Kvp8u* pMask,
                                                            int maskStep, KvpiSize roiSize, int* pPositive,
                                                            Kvp32f threshold,
                                                            const KvpiHaarClassifier_32f* pState) {
  return apply<kIntFloat>(pSrc, srcStep, pTilt, tiltStep, true, pNorm, normStep, pMask, maskStep, roiSize,
                          pPositive, threshold, pState, 0);
}
KvpStatus KVP_BODY(kvpiApplyMixedHaarClassifier_32s_C1RSfs)(
    const Kvp32s* pSrc, int srcStep, const Kvp32s* pTilt, int tiltStep, const Kvp32s* pNorm, int normStep,
    Kvp8u* pMask, int maskStep, KvpiSize roiSize, int* pPositive, Kvp32s threshold,
    const KvpiHaarClassifier_32s* pState, int scaleFactor) {
  return apply<kInt>(pSrc, srcStep, pTilt, tiltStep, true, pNorm, normStep, pMask, maskStep, roiSize,
                     pPositive, threshold, pState, scaleFactor);
}

}  // extern "C"

#endif  // !KVP_HAVE_HWY || HWY_ONCE

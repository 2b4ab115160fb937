// Chamfer distance transforms with 3x3 and 5x5 masks, and the tables of
// step costs for the usual norms.
//
// The transform is two raster passes over the destination. Each row of a
// pass first takes the candidates from the two rows already finished
// (axial and diagonal steps from the adjacent row, knight steps from both)
// in one branch-free loop over the interior, and then runs the in-row
// recurrence d(x) = min(d(x), d(x -/+ 1) + a) along the row. Taking the
// row-above candidates before the in-row ones is the same minimum as the
// pixel-by-pixel pass, so results are identical to it.
//
// Integer destinations saturate: a step cost is first clamped to the
// destination's largest value M, sums are clamped to [0, M], and a
// saturated sum compares like the unbounded one clamped afterwards.
#include <algorithm>
#include <cfloat>
#include <cstring>
#include <limits>
#include <type_traits>

#include "frame/alloc.h"
#include "frame/bodies.h"
#include "frame/checks.h"
#include "frame/parallel.h"
#include "frame/simd.h"

namespace kvp::distance {
namespace {

// ---- step-cost tables --------------------------------------------------------

// Rows indexed by 10 * kerSize + norm - 30; only 0..2 and 20..22 are reached
// after the size and norm checks.
constexpr int kTableLen = 23;

KvpStatus maskRow(int kerSize, int norm, const int*& i32, const float*& f32) {
  static constexpr int i3[3][2] = {{1, 1}, {1, 2}, {2, 3}};
  static constexpr int i5[3][3] = {{1, 1, 2}, {1, 2, 3}, {5, 7, 11}};
  static constexpr float f3[3][2] = {{1.0f, 1.0f}, {1.0f, 2.0f}, {0.955f, 1.3693f}};
  static constexpr float f5[3][3] = {{1.0f, 1.0f, 2.0f}, {1.0f, 2.0f, 3.0f}, {1.0f, 1.4f, 2.1969f}};
  if (kerSize != 3 && kerSize != 5) return kvpStsBadSize;
  if (norm < 0 || norm > 2) return kvpStsBadArg;
  const int index = 10 * kerSize + norm - 30;
  if (index < 0 || index >= kTableLen || (index > 2 && index < 20)) return kvpStsOutOfRange;
  if (kerSize == 3) {
    i32 = i3[norm];
    f32 = f3[norm];
  } else {
    i32 = i5[norm];
    f32 = f5[norm];
  }
  return kvpStsOk;
}

// ---- arithmetic per destination type -------------------------------------------

template <class T>
struct Arith {
  using C = int;  // integer destinations compute in int
  static constexpr int kMax = (int)std::numeric_limits<T>::max();
  static C init() { return kMax; }
  static C cost(int m) { return std::clamp(m, -kMax, kMax); }
  static C add(C d, C m) { return std::min(std::max(d + m, 0), kMax); }
};

template <>
struct Arith<float> {
  using C = float;
  static C init() { return FLT_MAX; }
  static C cost(float m) { return m; }
  static C add(C d, C m) { return d + m; }
};

template <class T>
struct Costs {
  typename Arith<T>::C a, b, k;
};

#if KVP_HAVE_HWY
// Unsigned minimum and maximum; without SSE4 instructions for 16-bit lanes,
// through one saturating subtraction (a - (a -sat b) = min, b + (a -sat b)
// = max), cheaper than the library's signed-compare emulation.
template <class V>
HWY_INLINE V minU(V a, V b) {
#if HWY_TARGET == HWY_SSSE3
  if constexpr (sizeof(hn::TFromV<V>) == 2) return hn::Sub(a, hn::SaturatedSub(a, b));
#endif
  return hn::Min(a, b);
}
template <class V>
HWY_INLINE V maxU(V a, V b) {
#if HWY_TARGET == HWY_SSSE3
  if constexpr (sizeof(hn::TFromV<V>) == 2) return hn::Add(b, hn::SaturatedSub(a, b));
#endif
  return hn::Max(a, b);
}

// Integer destinations in lanes of their own width: a clamped cost c >= 0 is
// a saturating add, c < 0 a saturating subtraction of -c (only the knight
// cost may be negative). Interior outputs [x0, x1) in whole vectors;
// returns the first output not computed.
template <class T, bool Five>
int neighboursInt(T* cur, const T* n1, const T* n2, int x0, int x1, Costs<T> c) {
  const hn::ScalableTag<T> d;
  const int lanes = (int)hn::Lanes(d);
  const auto ca = hn::Set(d, (T)c.a), cb = hn::Set(d, (T)c.b);
  const auto kp = hn::Set(d, (T)std::max(c.k, 0)), kn = hn::Set(d, (T)std::max(-c.k, 0));
  auto knight = [&](const T* p) { return hn::SaturatedSub(hn::SaturatedAdd(hn::LoadU(d, p), kp), kn); };
  int x = x0;
  for (; x + lanes <= x1; x += lanes) {
    auto v = hn::LoadU(d, cur + x);
    v = minU(v, hn::SaturatedAdd(hn::LoadU(d, n1 + x), ca));
    v = minU(v, hn::SaturatedAdd(hn::LoadU(d, n1 + x - 1), cb));
    v = minU(v, hn::SaturatedAdd(hn::LoadU(d, n1 + x + 1), cb));
    if constexpr (Five) {
      v = minU(v, knight(n1 + x - 2));
      v = minU(v, knight(n1 + x + 2));
      if (n2) {
        v = minU(v, knight(n2 + x - 1));
        v = minU(v, knight(n2 + x + 1));
      }
    }
    hn::StoreU(v, d, cur + x);
  }
  return x;
}
#endif

// Minimum with the candidates of the rows at distance one (n1) and two (n2)
// from the current row, over the columns [xFrom, xTo); n1 or n2 are null at
// the image border. The set of neighbour offsets is symmetric in x, so the
// forward and backward passes share this function.
template <class T, bool Five>
void neighbours(T* cur, const T* n1, const T* n2, int w, int xFrom, int xTo, Costs<T> c) {
  using A = Arith<T>;
  using C = typename A::C;
  if (!n1) return;
  // Edges (where some neighbour offsets fall outside the row) with tests.
  auto edge = [&](int x) {
    C v = cur[x];
    v = std::min(v, A::add(n1[x], c.a));
    if (x >= 1) v = std::min(v, A::add(n1[x - 1], c.b));
    if (x + 1 < w) v = std::min(v, A::add(n1[x + 1], c.b));
    if constexpr (Five) {
      if (x >= 2) v = std::min(v, A::add(n1[x - 2], c.k));
      if (x + 2 < w) v = std::min(v, A::add(n1[x + 2], c.k));
      if (n2) {
        if (x >= 1) v = std::min(v, A::add(n2[x - 1], c.k));
        if (x + 1 < w) v = std::min(v, A::add(n2[x + 1], c.k));
      }
    }
    cur[x] = (T)v;
  };
  const int r = Five ? 2 : 1;
  // Interior [i0, i1): every neighbour offset falls inside the row.
  const int i0 = std::max(xFrom, r), i1 = std::min(xTo, w - r);
  if (i0 >= i1) {
    for (int x = xFrom; x < xTo; ++x) edge(x);
    return;
  }
  for (int x = xFrom; x < i0; ++x) edge(x);
  int x0 = i0;
#if KVP_HAVE_HWY
  if constexpr (!std::is_floating_point_v<T>) x0 = neighboursInt<T, Five>(cur, n1, n2, i0, i1, c);
#endif
  const C a = c.a, b = c.b, k = c.k;
  if (!Five || !n2) {
#pragma omp simd
    for (int x = x0; x < i1; ++x) {
      C v = cur[x];
      v = std::min(v, A::add(n1[x], a));
      v = std::min(v, A::add(n1[x - 1], b));
      v = std::min(v, A::add(n1[x + 1], b));
      if constexpr (Five) {
        v = std::min(v, A::add(n1[x - 2], k));
        v = std::min(v, A::add(n1[x + 2], k));
      }
      cur[x] = (T)v;
    }
  } else {
#pragma omp simd
    for (int x = x0; x < i1; ++x) {
      C v = cur[x];
      v = std::min(v, A::add(n1[x], a));
      v = std::min(v, A::add(n1[x - 1], b));
      v = std::min(v, A::add(n1[x + 1], b));
      v = std::min(v, A::add(n1[x - 2], k));
      v = std::min(v, A::add(n1[x + 2], k));
      v = std::min(v, A::add(n2[x - 1], k));
      v = std::min(v, A::add(n2[x + 1], k));
      cur[x] = (T)v;
    }
  }
  for (int x = i1; x < xTo; ++x) edge(x);
}

// The in-row recurrence, left to right (Forward) or right to left.
template <bool Forward, class T>
void scan(T* cur, int w, typename Arith<T>::C a) {
  using A = Arith<T>;
  typename A::C prev = cur[Forward ? 0 : w - 1];
  for (int i = 1; i < w; ++i) {
    const int x = Forward ? i : w - 1 - i;
    const typename A::C v = std::min<typename A::C>(cur[x], A::add(prev, a));
    cur[x] = (T)v;
    prev = v;
  }
}

#if KVP_HAVE_HWY
// Integer recurrences a 128-bit group of pixels at a time (16 for 8u, 8 for
// 16u), on inverted values (M - d, M the largest value), where a saturating
// add of a cost becomes a saturating subtraction and the minimum a maximum;
// lanes shifted in from outside the group are 0, which is "no candidate".
// Within a group the running minimum of t(j) + |x - j| * a is built in
// shift steps of 1, 2, 4 (and 8) lanes with costs a, 2a, 4a (8a); the
// value carried from the previous group enters with the lane's distance to
// it times a. Saturation is monotone and sat(sat(u) + v) = sat(u + v) for
// non-negative terms, so this equals the pixel-by-pixel recurrence exactly.
template <class T>
struct ScanInt {
  using D = hn::Full128<T>;
  static constexpr int kLanes = 16 / (int)sizeof(T);
  static constexpr int kMax = (int)std::numeric_limits<T>::max();
  hn::Vec<D> step[4], rampUp, rampDown;
  hn::Vec<hn::Full128<uint8_t>> firstLane, lastLane;  // byte indices

  explicit ScanInt(int a) {
    const D d;
    auto sat = [](long long v) { return (T)std::min<long long>(v, kMax); };
    for (int i = 0; i < 4; ++i) step[i] = hn::Set(d, sat((long long)a << i));
    alignas(16) T up[kLanes], down[kLanes];
    for (int i = 0; i < kLanes; ++i) {
      up[i] = sat((long long)(i + 1) * a);
      down[i] = sat((long long)(kLanes - i) * a);
    }
    rampUp = hn::Load(d, up);
    rampDown = hn::Load(d, down);
    alignas(16) uint8_t first[16], last[16];
    for (int i = 0; i < 16; ++i) {
      first[i] = (uint8_t)(i % sizeof(T));
      last[i] = (uint8_t)(16 - sizeof(T) + i % sizeof(T));
    }
    firstLane = hn::Load(hn::Full128<uint8_t>(), first);
    lastLane = hn::Load(hn::Full128<uint8_t>(), last);
  }

  // One group, running towards higher lanes (forward) or lower ones.
  template <bool Forward>
  HWY_INLINE hn::Vec<D> group(hn::Vec<D> v, hn::Vec<D> carry) const {
    const D d;
    auto shifted = [&](auto lanesC) {
      constexpr int n = decltype(lanesC)::value;
      if constexpr (Forward)
        return hn::ShiftLeftLanes<n>(d, v);
      else
        return hn::ShiftRightLanes<n>(d, v);
    };
    v = maxU(v, hn::SaturatedSub(shifted(std::integral_constant<int, 1>{}), step[0]));
    v = maxU(v, hn::SaturatedSub(shifted(std::integral_constant<int, 2>{}), step[1]));
    v = maxU(v, hn::SaturatedSub(shifted(std::integral_constant<int, 4>{}), step[2]));
    if constexpr (kLanes == 16)
      v = maxU(v, hn::SaturatedSub(shifted(std::integral_constant<int, 8>{}), step[3]));
    return maxU(v, hn::SaturatedSub(carry, Forward ? rampUp : rampDown));
  }
  // The group's last (forward) or first lane in every lane.
  template <bool Forward>
  HWY_INLINE hn::Vec<D> carryOf(hn::Vec<D> v) const {
    const hn::Full128<uint8_t> d8;
    return hn::BitCast(D(), hn::TableLookupBytes(hn::BitCast(d8, v), Forward ? lastLane : firstLane));
  }
};

template <bool Forward, class T>
void scanInt(T* cur, int w, int a) {
  using S = ScanInt<T>;
  const typename S::D d;
  const S c(a);
  auto carry = hn::Zero(d);  // inverted: no value carried yet
  const int groups = w / S::kLanes, done = groups * S::kLanes;
  for (int g = 0; g < groups; ++g) {
    T* p = Forward ? cur + g * S::kLanes : cur + w - (g + 1) * S::kLanes;
    const auto v = c.template group<Forward>(hn::Not(hn::LoadU(d, p)), carry);
    carry = c.template carryOf<Forward>(v);
    hn::StoreU(hn::Not(v), d, p);
  }
  int prev = S::kMax - (int)hn::GetLane(carry);
  for (int i = done; i < w; ++i) {
    const int x = Forward ? i : w - 1 - i;
    const int v = std::min<int>(cur[x], std::min(prev + a, S::kMax));
    cur[x] = (T)v;
    prev = v;
  }
}
#endif

template <bool Forward, class T>
void scanRow(T* cur, int w, typename Arith<T>::C a) {
#if KVP_HAVE_HWY
  if constexpr (!std::is_floating_point_v<T>) {
    scanInt<Forward, T>(cur, w, a);
    return;
  }
#endif
  scan<Forward, T>(cur, w, a);
}

// One float pass. The in-row recurrence is a chain of dependent additions,
// so rows run in pairs: row r of the pass is scanned two blocks ahead of
// row r + 1, whose candidates from row r are taken block by block once the
// block of row r above them and the pixels beside it are final, and the two
// chains advance in one loop. Every pixel sees the same values, in the
// same order, as in the row-by-row pass. Rows and pixels run in pass
// order: down and right (Forward) or up and left.
template <bool Five, bool Forward>
void passFloat(float* dst, int dstStep, int w, int h, Costs<float> c) {
  constexpr int kBlock = 64;
  auto row = [&](int r) { return rowAt(dst, dstStep, Forward ? r : h - 1 - r); };
  auto above = [&](int r, int k) -> const float* { return r - k >= 0 ? row(r - k) : nullptr; };
  const int blocks = (w + kBlock - 1) / kBlock;
  // Columns of block b in scan order; the scan starts at x0 and moves by dir.
  auto block = [&](int b, int& from, int& to) {
    if (Forward)
      from = b * kBlock, to = std::min(w, from + kBlock);
    else
      to = w - b * kBlock, from = std::max(0, to - kBlock);
  };
  const int dir = Forward ? 1 : -1;
  const float a = c.a;
  auto step = [a](float* cur, int x, float& prev) {
    const float v = std::min<float>(cur[x], prev + a);
    cur[x] = v;
    prev = v;
  };
  // No pixel before the first: +infinity leaves it as it is.
  constexpr float kNone = std::numeric_limits<float>::infinity();
  int r = 0;
  for (; r + 1 < h; r += 2) {
    float* ra = row(r);
    float* rb = row(r + 1);
    neighbours<float, Five>(ra, above(r, 1), above(r, 2), w, 0, w, c);
    float pa = kNone, pb = kNone;
    for (int b = 0; b < blocks + 2; ++b) {
      int a0 = 0, a1 = 0, b0 = 0, b1 = 0;
      if (b < blocks) block(b, a0, a1);
      if (b >= 2) {
        block(b - 2, b0, b1);
        neighbours<float, Five>(rb, ra, above(r, 1), w, b0, b1, c);
      }
      int xa = Forward ? a0 : a1 - 1, xb = Forward ? b0 : b1 - 1;
      int na = a1 - a0, nb = b1 - b0;
      for (; na > 0 && nb > 0; --na, --nb, xa += dir, xb += dir) {
        step(ra, xa, pa);
        step(rb, xb, pb);
      }
      for (; na > 0; --na, xa += dir) step(ra, xa, pa);
      for (; nb > 0; --nb, xb += dir) step(rb, xb, pb);
    }
  }
  if (r < h) {
    float* ra = row(r);
    neighbours<float, Five>(ra, above(r, 1), above(r, 2), w, 0, w, c);
    scan<Forward>(ra, w, a);
  }
}

// Initialisation and the two passes over a packed or stepped destination.
template <class T, bool Five>
void chamfer(const Kvp8u* src, int srcStep, T* dst, int dstStep, int w, int h, Costs<T> c) {
  using A = Arith<T>;
  const T far = (T)A::init();
  for (int y = 0; y < h; ++y) {
    const Kvp8u* s = rowAt(src, srcStep, y);
    T* d = rowAt(dst, dstStep, y);
#pragma omp simd
    for (int x = 0; x < w; ++x) d[x] = s[x] ? far : (T)0;
  }
  if constexpr (std::is_floating_point_v<T>) {
    passFloat<Five, true>(dst, dstStep, w, h, c);
    passFloat<Five, false>(dst, dstStep, w, h, c);
    return;
  }
  for (int y = 0; y < h; ++y) {
    T* cur = rowAt(dst, dstStep, y);
    neighbours<T, Five>(cur, y >= 1 ? rowAt(dst, dstStep, y - 1) : nullptr,
                        y >= 2 ? rowAt(dst, dstStep, y - 2) : nullptr, w, 0, w, c);
    scanRow<true, T>(cur, w, c.a);
  }
  for (int y = h - 1; y >= 0; --y) {
    T* cur = rowAt(dst, dstStep, y);
    neighbours<T, Five>(cur, y + 1 < h ? rowAt(dst, dstStep, y + 1) : nullptr,
                        y + 2 < h ? rowAt(dst, dstStep, y + 2) : nullptr, w, 0, w, c);
    scanRow<false, T>(cur, w, c.a);
  }
}

// Checks and the run. A destination step that is not a whole number of
// elements is served through a packed scratch image.
template <class T, bool Five, class M>
KvpStatus distanceTransform(const Kvp8u* src, int srcStep, T* dst, int dstStep, KvpiSize roi,
                            const M* metrics) {
  if (!src || !dst || !metrics) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1) return kvpStsBadSize;
  if (srcStep < roi.width || (long long)dstStep < (long long)roi.width * (long long)sizeof(T))
    return kvpStsBadStep;
  Costs<T> c{};
  if constexpr (std::is_same_v<M, int>) {
    if (metrics[0] < 1 || metrics[1] < 1) return kvpStsBadMetric;
    c.a = Arith<T>::cost(metrics[0]);
    c.b = Arith<T>::cost(metrics[1]);
    c.k = Five ? Arith<T>::cost(metrics[2]) : 0;
  } else {
    // Float costs: any non-negative value is accepted (the usual L2 pair
    // starts below 1); a negative or NaN cost is refused.
    for (int i = 0; i < (Five ? 3 : 2); ++i)
      if (!(metrics[i] >= 0.0f)) return kvpStsBadMetric;
    c.a = metrics[0];
    c.b = metrics[1];
    c.k = Five ? metrics[2] : 0.0f;
  }
  const int w = roi.width, h = roi.height;
  if (dstStep % (int)sizeof(T) == 0) {
    chamfer<T, Five>(src, srcStep, dst, dstStep, w, h, c);
    return kvpStsOk;
  }
  T* packed = mallocN<T>((int)std::min<long long>((long long)w * h, 0x7fffffff));
  if (!packed || (long long)w * h * (long long)sizeof(T) > 0x7fffffffLL) {
    kvpsFree(packed);
    return kvpStsNoMemory;
  }
  chamfer<T, Five>(src, srcStep, packed, w * (int)sizeof(T), w, h, c);
  for (int y = 0; y < h; ++y)
    std::memcpy(reinterpret_cast<unsigned char*>(dst) + (long long)dstStep * y, packed + (long long)w * y,
                (size_t)w * sizeof(T));
  kvpsFree(packed);
  return kvpStsOk;
}

}  // namespace
}  // namespace kvp::distance

using namespace kvp::distance;

extern "C" {

KvpStatus KVP_BODY(kvpiGetDistanceTransformMask_32s)(int kerSize, int norm, Kvp32s* pMetrics) {
  if (!pMetrics) return kvpStsNullPtr;
  const int* i32 = nullptr;
  const float* f32 = nullptr;
  if (KvpStatus s = maskRow(kerSize, norm, i32, f32)) return s;
  for (int i = 0; i < (kerSize == 3 ? 2 : 3); ++i) pMetrics[i] = i32[i];
  return kvpStsOk;
}

KvpStatus KVP_BODY(kvpiGetDistanceTransformMask_32f)(int kerSize, int norm, Kvp32f* pMetrics) {
  if (!pMetrics) return kvpStsNullPtr;
  const int* i32 = nullptr;
  const float* f32 = nullptr;
  if (KvpStatus s = maskRow(kerSize, norm, i32, f32)) return s;
  for (int i = 0; i < (kerSize == 3 ? 2 : 3); ++i) pMetrics[i] = f32[i];
  return kvpStsOk;
}

KvpStatus KVP_BODY(kvpiGetDistanceTransformMask)(int maskType, Kvp32f* pMetrics) {
  const int norm = maskType % 10;
  if (norm != 0 && norm != 1 && norm != 2) return kvpStsBadArg;
  return KVP_BODY(kvpiGetDistanceTransformMask_32f)(maskType / 10, norm, pMetrics);
}

#define KVP_CHAMFER(MASK, FIVE)                                                                         \
  KvpStatus KVP_BODY(kvpiDistanceTransform_##MASK##_8u_C1R)(                                            \
      const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roiSize, Kvp32s* pMetrics) {   \
    return distanceTransform<Kvp8u, FIVE>(pSrc, srcStep, pDst, dstStep, roiSize, pMetrics);             \
  }                                                                                                     \
  KvpStatus KVP_BODY(kvpiDistanceTransform_##MASK##_8u_C1IR)(Kvp8u * pSrcDst, int srcDstStep,           \
                                                             KvpiSize roiSize, Kvp32s* pMetrics) {      \
    return distanceTransform<Kvp8u, FIVE>(pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize, pMetrics); \
  }                                                                                                     \
  KvpStatus KVP_BODY(kvpiDistanceTransform_##MASK##_8u16u_C1R)(                                         \
      const Kvp8u* pSrc, int srcStep, Kvp16u* pDst, int dstStep, KvpiSize roiSize, Kvp32s* pMetrics) {  \
    return distanceTransform<Kvp16u, FIVE>(pSrc, srcStep, pDst, dstStep, roiSize, pMetrics);            \
  }                                                                                                     \
  KvpStatus KVP_BODY(kvpiDistanceTransform_##MASK##_8u32f_C1R)(                                         \
      const Kvp8u* pSrc, int srcStep, Kvp32f* pDst, int dstStep, KvpiSize roiSize, Kvp32f* pMetrics) {  \
    return distanceTransform<Kvp32f, FIVE>(pSrc, srcStep, pDst, dstStep, roiSize, pMetrics);            \
  }

KVP_CHAMFER(3x3, false)
KVP_CHAMFER(5x5, true)

}  // extern "C"

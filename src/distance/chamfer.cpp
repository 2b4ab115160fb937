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

// Minimum with the candidates of the rows at distance one (n1) and two (n2)
// from the current row; n1 or n2 are null at the image border. The set of
// neighbour offsets is symmetric in x, so the forward and backward passes
// share this function.
template <class T, bool Five>
void rowFromNeighbours(T* cur, const T* n1, const T* n2, int w, Costs<T> c) {
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
  if (w <= 2 * r) {
    for (int x = 0; x < w; ++x) edge(x);
    return;
  }
  for (int x = 0; x < r; ++x) edge(x);
  const C a = c.a, b = c.b, k = c.k;
  if (!Five || !n2) {
#pragma omp simd
    for (int x = r; x < w - r; ++x) {
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
    for (int x = r; x < w - r; ++x) {
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
  for (int x = w - r; x < w; ++x) edge(x);
}

// The in-row recurrence, left to right (forward) or right to left.
template <class T>
void scanForward(T* cur, int w, typename Arith<T>::C a) {
  using A = Arith<T>;
  typename A::C prev = cur[0];
  for (int x = 1; x < w; ++x) {
    const typename A::C v = std::min<typename A::C>(cur[x], A::add(prev, a));
    cur[x] = (T)v;
    prev = v;
  }
}

template <class T>
void scanBackward(T* cur, int w, typename Arith<T>::C a) {
  using A = Arith<T>;
  typename A::C prev = cur[w - 1];
  for (int x = w - 2; x >= 0; --x) {
    const typename A::C v = std::min<typename A::C>(cur[x], A::add(prev, a));
    cur[x] = (T)v;
    prev = v;
  }
}

#if KVP_HAVE_HWY
// 8-bit recurrences sixteen pixels at a time, on inverted values (255 - d),
// where a saturating add of a cost becomes a saturating subtraction and the
// minimum a maximum; lanes shifted in from outside the group are 0, which
// is "no candidate". Within a group the running minimum of
// t(j) + |x - j| * a is built in four shift steps with costs a, 2a, 4a, 8a;
// the value carried from the previous group enters with the lane's distance
// to it times a. Saturation is monotone and sat(sat(u) + v) = sat(u + v) for
// non-negative terms, so this equals the pixel-by-pixel recurrence exactly.
using D16 = hn::Full128<uint8_t>;

struct ScanCosts8u {
  hn::Vec<D16> c1, c2, c4, c8, rampUp, rampDown;
  explicit ScanCosts8u(int a) {
    const D16 d;
    auto sat = [](long long v) { return (uint8_t)std::min<long long>(v, 255); };
    c1 = hn::Set(d, sat(a));
    c2 = hn::Set(d, sat(2LL * a));
    c4 = hn::Set(d, sat(4LL * a));
    c8 = hn::Set(d, sat(8LL * a));
    alignas(16) uint8_t up[16], down[16];
    for (int i = 0; i < 16; ++i) {
      up[i] = sat((long long)(i + 1) * a);
      down[i] = sat((long long)(16 - i) * a);
    }
    rampUp = hn::Load(d, up);
    rampDown = hn::Load(d, down);
  }
};

void scanForward8u(Kvp8u* cur, int w, int a) {
  const D16 d;
  const ScanCosts8u c(a);
  auto carry = hn::Zero(d);  // inverted: no value carried yet
  int x = 0;
  for (; x + 16 <= w; x += 16) {
    auto v = hn::Not(hn::LoadU(d, cur + x));
    v = hn::Max(v, hn::SaturatedSub(hn::ShiftLeftBytes<1>(d, v), c.c1));
    v = hn::Max(v, hn::SaturatedSub(hn::ShiftLeftBytes<2>(d, v), c.c2));
    v = hn::Max(v, hn::SaturatedSub(hn::ShiftLeftBytes<4>(d, v), c.c4));
    v = hn::Max(v, hn::SaturatedSub(hn::ShiftLeftBytes<8>(d, v), c.c8));
    v = hn::Max(v, hn::SaturatedSub(carry, c.rampUp));
    carry = hn::TableLookupBytes(v, hn::Set(d, (uint8_t)15));
    hn::StoreU(hn::Not(v), d, cur + x);
  }
  int prev = 255 - (int)hn::GetLane(carry);
  for (; x < w; ++x) {
    const int v = std::min<int>(cur[x], std::min(prev + a, 255));
    cur[x] = (Kvp8u)v;
    prev = v;
  }
}

void scanBackward8u(Kvp8u* cur, int w, int a) {
  const D16 d;
  const ScanCosts8u c(a);
  auto carry = hn::Zero(d);
  int x = w;
  for (; x >= 16; x -= 16) {
    Kvp8u* p = cur + x - 16;
    auto v = hn::Not(hn::LoadU(d, p));
    v = hn::Max(v, hn::SaturatedSub(hn::ShiftRightBytes<1>(d, v), c.c1));
    v = hn::Max(v, hn::SaturatedSub(hn::ShiftRightBytes<2>(d, v), c.c2));
    v = hn::Max(v, hn::SaturatedSub(hn::ShiftRightBytes<4>(d, v), c.c4));
    v = hn::Max(v, hn::SaturatedSub(hn::ShiftRightBytes<8>(d, v), c.c8));
    v = hn::Max(v, hn::SaturatedSub(carry, c.rampDown));
    carry = hn::TableLookupBytes(v, hn::Zero(d));
    hn::StoreU(hn::Not(v), d, p);
  }
  int prev = 255 - (int)hn::GetLane(carry);
  for (--x; x >= 0; --x) {
    const int v = std::min<int>(cur[x], std::min(prev + a, 255));
    cur[x] = (Kvp8u)v;
    prev = v;
  }
}
#endif

template <class T>
void scanRowForward(T* cur, int w, typename Arith<T>::C a) {
#if KVP_HAVE_HWY
  if constexpr (std::is_same_v<T, Kvp8u>) {
    scanForward8u(cur, w, a);
    return;
  }
#endif
  scanForward<T>(cur, w, a);
}

template <class T>
void scanRowBackward(T* cur, int w, typename Arith<T>::C a) {
#if KVP_HAVE_HWY
  if constexpr (std::is_same_v<T, Kvp8u>) {
    scanBackward8u(cur, w, a);
    return;
  }
#endif
  scanBackward<T>(cur, w, a);
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
  for (int y = 0; y < h; ++y) {
    T* cur = rowAt(dst, dstStep, y);
    rowFromNeighbours<T, Five>(cur, y >= 1 ? rowAt(dst, dstStep, y - 1) : nullptr,
                               y >= 2 ? rowAt(dst, dstStep, y - 2) : nullptr, w, c);
    scanRowForward<T>(cur, w, c.a);
  }
  for (int y = h - 1; y >= 0; --y) {
    T* cur = rowAt(dst, dstStep, y);
    rowFromNeighbours<T, Five>(cur, y + 1 < h ? rowAt(dst, dstStep, y + 1) : nullptr,
                               y + 2 < h ? rowAt(dst, dstStep, y + 2) : nullptr, w, c);
    scanRowBackward<T>(cur, w, c.a);
  }
}

// Checks and the run. A destination step that is not a whole number of
// elements is served through a packed scratch image.
template <class T, bool Five, class M>
KvpStatus distanceTransform(const Kvp8u* src, int srcStep, T* dst, int dstStep, KvpiSize roi, const M* metrics) {
  if (!src || !dst || !metrics) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1) return kvpStsBadSize;
  if (srcStep < roi.width || (long long)dstStep < (long long)roi.width * (long long)sizeof(T)) return kvpStsBadStep;
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

#define KVP_CHAMFER(MASK, FIVE)                                                                                    \
  KvpStatus KVP_BODY(kvpiDistanceTransform_##MASK##_8u_C1R)(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst,           \
                                                            int dstStep, KvpiSize roiSize, Kvp32s* pMetrics) {     \
    return distanceTransform<Kvp8u, FIVE>(pSrc, srcStep, pDst, dstStep, roiSize, pMetrics);                      \
  }                                                                                                                \
  KvpStatus KVP_BODY(kvpiDistanceTransform_##MASK##_8u_C1IR)(Kvp8u* pSrcDst, int srcDstStep, KvpiSize roiSize,     \
                                                             Kvp32s* pMetrics) {                                   \
    return distanceTransform<Kvp8u, FIVE>(pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize, pMetrics);          \
  }                                                                                                                \
  KvpStatus KVP_BODY(kvpiDistanceTransform_##MASK##_8u16u_C1R)(const Kvp8u* pSrc, int srcStep, Kvp16u* pDst,       \
                                                               int dstStep, KvpiSize roiSize, Kvp32s* pMetrics) {  \
    return distanceTransform<Kvp16u, FIVE>(pSrc, srcStep, pDst, dstStep, roiSize, pMetrics);                     \
  }                                                                                                                \
  KvpStatus KVP_BODY(kvpiDistanceTransform_##MASK##_8u32f_C1R)(const Kvp8u* pSrc, int srcStep, Kvp32f* pDst,       \
                                                               int dstStep, KvpiSize roiSize, Kvp32f* pMetrics) {  \
    return distanceTransform<Kvp32f, FIVE>(pSrc, srcStep, pDst, dstStep, roiSize, pMetrics);                     \
  }

KVP_CHAMFER(3x3, false)
KVP_CHAMFER(5x5, true)

}  // extern "C"

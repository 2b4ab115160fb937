// Upright sum-table rows, compiled once per vector target.
//
// One row at a time: a vector of pixels is widened to 16-bit lanes and its
// inclusive prefix formed in log2(lanes) steps (three lane shifts inside
// each block of eight pixels, then, once widened to 32-bit lanes, on
// 512-bit vectors one step that adds the first block's total to the
// second), the running total of the row enters as a broadcast carry, and
// the row above is added in the same pass.
// Integer tables wrap modulo 2^32; float tables add the float of the 32-bit
// prefix to the float above, exactly as the scalar recurrence does.
//
// The rows run on the calling thread at every thread count (each row adds
// the one above it), so two threads are never slower than one. One row at
// a time: the row above comes back from the first-level cache, and one
// output stream at a time ran about 5 % faster on cache-resident
// 1920x1080 tables than four rows abreast sharing the loads of the row
// above.
#if KVP_HAVE_HWY
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "detect/integral_rows.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#ifndef KVP_DETECT_INTEGRAL_ROWS_COMMON_
#define KVP_DETECT_INTEGRAL_ROWS_COMMON_
#include <cstdint>
#include <type_traits>

#include "detect/integral_rows.h"
#include "frame/parallel.h"
#include "frame/targets.h"
#endif

HWY_BEFORE_NAMESPACE();
namespace kvp::detect::HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

template <class T>
bool sumRows(const Kvp8u* src, int srcStep, T* dst, int dstStep, int w, int h) {
  using D = hn::ScalableTag<uint32_t>;
  const D d;
  if (hn::Lanes(d) <= 4) return false;
#if HWY_TARGET != HWY_SSSE3 && HWY_TARGET != HWY_SSE4
  constexpr int N = (int)hn::MaxLanes(D());
  static_assert(N == 8 || N == 16, "one 128-bit block of 16-bit lanes holds eight pixels");
  const hn::Rebind<uint8_t, D> d8;
  const hn::RebindToSigned<D> di;
  const hn::Rebind<float, D> df;
  // Lanes 8..15 take lane 7 (the total of the first eight pixels); the
  // lanes before become zero.
  alignas(64) uint32_t up8[N], last[N];
  for (int i = 0; i < N; ++i) {
    up8[i] = i >= 8 ? 7 : 0;
    last[i] = N - 1;
  }
  const auto i8 = hn::SetTableIndices(d, up8);
  const auto iLast = hn::SetTableIndices(d, last);
  const auto low8 = hn::FirstN(d, 8);
  const hn::Rebind<uint16_t, D> d16;

  // Inclusive prefix of N pixels of one row, plus the row's carry. The
  // first steps run on 16-bit lanes (eight pixels per 128-bit block sum to
  // at most 2040), half the width of the 32-bit steps; the widened prefix
  // then needs one step across blocks on 512-bit vectors and none on
  // 256-bit ones.
  const auto prefix = [&](const Kvp8u* p, hn::Vec<D>& carry) {
    auto h = hn::PromoteTo(d16, hn::LoadU(d8, p));
    h = hn::Add(h, hn::ShiftLeftLanes<1>(d16, h));
    h = hn::Add(h, hn::ShiftLeftLanes<2>(d16, h));
    h = hn::Add(h, hn::ShiftLeftLanes<4>(d16, h));
    auto v = hn::PromoteTo(d, h);
    if constexpr (N > 8) v = hn::Add(v, hn::IfThenZeroElse(low8, hn::TableLookupLanes(v, i8)));
    // The carry grows by this vector's total, taken before the carry is
    // added, so that the only dependency from one vector to the next is
    // one add (not the add and the lane broadcast after it).
    const auto total = hn::TableLookupLanes(v, iLast);
    v = hn::Add(v, carry);
    carry = hn::Add(carry, total);
    return v;
  };
  // Table row = row above + prefix, in the table's arithmetic.
  const auto loadRow = [&](const T* p) {
    if constexpr (std::is_same_v<T, Kvp32s>)
      return hn::LoadU(d, reinterpret_cast<const uint32_t*>(p));
    else
      return hn::LoadU(df, p);
  };
  const auto plus = [&](auto a, hn::Vec<D> v) {
    if constexpr (std::is_same_v<T, Kvp32s>)
      return hn::Add(a, v);
    else
      return hn::Add(a, hn::ConvertTo(df, hn::BitCast(di, v)));
  };
  const auto storeRow = [&](auto v, T* p) {
    if constexpr (std::is_same_v<T, Kvp32s>)
      hn::StoreU(v, d, reinterpret_cast<uint32_t*>(p));
    else
      hn::StoreU(v, df, p);
  };
  // R rows at a time (R = 1 below, see the top): the row above is read once
  // and each new row is added to the previous one in registers.
  const auto rows = [&](auto rowsC, int y) {
    constexpr int R = decltype(rowsC)::value;
    const Kvp8u* s[R];
    T* out[R];
    hn::Vec<D> carry[R];
    for (int k = 0; k < R; ++k) {
      s[k] = rowAt(src, srcStep, y + k);
      out[k] = rowAt(dst, dstStep, y + 1 + k) + 1;
      carry[k] = hn::Zero(d);
    }
    const T* above = rowAt(dst, dstStep, y) + 1;
    int x = 0;
    for (; x + N <= w; x += N) {
      auto a = loadRow(above + x);
      for (int k = 0; k < R; ++k) {
        a = plus(a, prefix(s[k] + x, carry[k]));
        storeRow(a, out[k] + x);
      }
    }
    for (int k = 0; k < R; ++k) {
      const T* up = k ? out[k - 1] : above;
      uint32_t r = hn::GetLane(carry[k]);
      for (int i = x; i < w; ++i) {
        r += s[k][i];
        if constexpr (std::is_same_v<T, Kvp32s>)
          out[k][i] = (Kvp32s)((uint32_t)up[i] + r);
        else
          out[k][i] = up[i] + (float)(int32_t)r;
      }
    }
  };
  int y = 0;
  for (; y < h; ++y) rows(std::integral_constant<int, 1>{}, y);
  return true;
#else
  (void)src, (void)srcStep, (void)dst, (void)dstStep, (void)w, (void)h;
  return false;
#endif
}

bool sumRows32s(const Kvp8u* src, int srcStep, Kvp32s* dst, int dstStep, int w, int h) {
  return sumRows(src, srcStep, dst, dstStep, w, h);
}
bool sumRows32f(const Kvp8u* src, int srcStep, Kvp32f* dst, int dstStep, int w, int h) {
  return sumRows(src, srcStep, dst, dstStep, w, h);
}

}  // namespace
}  // namespace kvp::detect::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kvp::detect {
HWY_EXPORT(sumRows32s);
HWY_EXPORT(sumRows32f);

bool uprightSumsWide(const Kvp8u* src, int srcStep, Kvp32s* dst, int dstStep, int w, int h) {
  return KVP_TARGET_KERNEL(sumRows32s)(src, srcStep, dst, dstStep, w, h);
}
bool uprightSumsWide(const Kvp8u* src, int srcStep, Kvp32f* dst, int dstStep, int w, int h) {
  return KVP_TARGET_KERNEL(sumRows32f)(src, srcStep, dst, dstStep, w, h);
}
}  // namespace kvp::detect
#endif

#else  // no vector support: the caller's plain rows
#include "detect/integral_rows.h"
namespace kvp::detect {
bool uprightSumsWide(const Kvp8u*, int, Kvp32s*, int, int, int) { return false; }
bool uprightSumsWide(const Kvp8u*, int, Kvp32f*, int, int, int) { return false; }
}  // namespace kvp::detect
#endif

// Motion history update.
//
// limit = timestamp - duration (single precision, once). Per pixel:
//   moving silhouette (value != 0)  -> timestamp
//   else history >= limit (or NaN)  -> history, unchanged
//   else                            -> 0
// written as a branch-free select over whole vectors with a scalar tail.
// The row kernel is compiled once per vector target (frame/targets.h).
#if KVP_HAVE_HWY
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "motion/motion_history.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>
#endif
#include "frame/simd.h"

#ifndef KVP_MOTION_HISTORY_COMMON_
#define KVP_MOTION_HISTORY_COMMON_
#include <cstdint>
#include <type_traits>

#include "frame/bodies.h"
#include "frame/checks.h"
#include "frame/parallel.h"
#include "frame/targets.h"
#endif

#if KVP_HAVE_HWY
HWY_BEFORE_NAMESPACE();
namespace kvp::motion::HWY_NAMESPACE {
#else
namespace kvp::motion::plain {
#endif
namespace {
#if KVP_HAVE_HWY
using namespace kvp::HWY_NAMESPACE;
#endif

template <class S>
inline float updateOne(S sil, float mhi, float ts, float limit) {
  // !(mhi < limit) keeps NaN histories; sil != 0 treats -0.0 as still and NaN as moving.
  const float kept = (mhi < limit) ? 0.f : mhi;
  return sil != S(0) ? ts : kept;
}

template <class S>
void updateRow(const S* sil, float* mhi, int w, float ts, float limit) {
  int x = 0;
#if KVP_HAVE_HWY
  const DF df;
  const hn::RebindToSigned<DF> di;
  const int n = (int)hn::Lanes(df);
  const auto vts = hn::Set(df, ts), vlimit = hn::Set(df, limit);
  // One vector of histories at p: still pixels keep a value not below the
  // limit (NaN included) and get +0 otherwise; moving pixels get the stamp.
  const auto select = [&](hn::Mask<DF> still, float* p) {
    const auto h = hn::LoadU(df, p);
    hn::StoreU(hn::IfThenElse(still, hn::IfThenZeroElse(hn::Lt(h, vlimit), h), vts), df, p);
  };
  // One vector of n pixels at x, the still mask widened from the
  // silhouette's own elements.
  const auto vector = [&](int at) {
    hn::Mask<DF> still;
    if constexpr (std::is_same_v<S, float>) {
      still = hn::Eq(hn::LoadU(df, sil + at), hn::Zero(df));
    } else {
      const hn::Rebind<S, DF> ds;
      still = hn::RebindMask(df, hn::Eq(hn::PromoteTo(di, hn::LoadU(ds, sil + at)), hn::Zero(di)));
    }
    select(still, mhi + at);
  };
  // The update is idempotent (a second pass over the same silhouette leaves
  // every bit as the first wrote it), so the first vector may overlap the
  // next: it runs unaligned at 0, and the rest of the row starts at the
  // history's next vector boundary, where no store straddles two cache
  // lines.
  const int head = (int)((0u - (unsigned)reinterpret_cast<uintptr_t>(mhi)) % (unsigned)(n * 4)) / 4;
  if (head && w >= 2 * n && reinterpret_cast<uintptr_t>(mhi) % 4 == 0) {
    vector(0);
    x = head;
  }
  if constexpr (sizeof(S) == 1 && kByteShuffleRows) {
#if HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_SSE4
    // Sixteen pixels per step: one byte compare, one shuffle per group.
    const D8 d8;
    for (; x + 16 <= w; x += 16) {
      const auto still = hn::VecFromMask(d8, hn::Eq(hn::LoadU(d8, sil + x), hn::Zero(d8)));
      select(maskGroup<0>(still), mhi + x);
      select(maskGroup<1>(still), mhi + x + 4);
      select(maskGroup<2>(still), mhi + x + 8);
      select(maskGroup<3>(still), mhi + x + 12);
    }
#endif
  } else if constexpr (sizeof(S) == 2) {
    // 2n pixels per step: one 16-bit compare; each half of the 0 / -1
    // lanes widened to a float-lane mask.
    const hn::Repartition<int16_t, DF> d16;
    const hn::Repartition<uint16_t, DF> du16;
    for (; x + 2 * n <= w; x += 2 * n) {
      const auto still =
          hn::VecFromMask(d16, hn::Eq(hn::BitCast(d16, hn::LoadU(du16, sil + x)), hn::Zero(d16)));
#if HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_SSE4
      // 128-bit vectors: pairing each lane with itself is the widening.
      const auto lo = hn::BitCast(di, hn::InterleaveLower(d16, still, still));
      const auto hi = hn::BitCast(di, hn::InterleaveUpper(d16, still, still));
#else
      const hn::Half<decltype(d16)> dh;
      const auto lo = hn::PromoteTo(di, hn::LowerHalf(dh, still));
      const auto hi = hn::PromoteTo(di, hn::UpperHalf(dh, still));
#endif
      select(hn::RebindMask(df, hn::MaskFromVec(lo)), mhi + x);
      select(hn::RebindMask(df, hn::MaskFromVec(hi)), mhi + x + n);
    }
  }
  for (; x + n <= w; x += n) vector(x);
#endif
  for (; x < w; ++x) mhi[x] = updateOne(sil[x], mhi[x], ts, limit);
}

void updateRows8u(const Kvp8u* sil, float* mhi, int w, float ts, float limit) {
  updateRow(sil, mhi, w, ts, limit);
}
void updateRows16u(const Kvp16u* sil, float* mhi, int w, float ts, float limit) {
  updateRow(sil, mhi, w, ts, limit);
}
void updateRows32f(const Kvp32f* sil, float* mhi, int w, float ts, float limit) {
  updateRow(sil, mhi, w, ts, limit);
}

}  // namespace
}  // namespace kvp::motion::HWY_NAMESPACE (or plain)
#if KVP_HAVE_HWY
HWY_AFTER_NAMESPACE();
#endif

#if !KVP_HAVE_HWY || HWY_ONCE
namespace kvp::motion {
#if KVP_HAVE_HWY
HWY_EXPORT(updateRows8u);
HWY_EXPORT(updateRows16u);
HWY_EXPORT(updateRows32f);
#define KVP_ROWS(fn) KVP_TARGET_KERNEL(fn)
#else
#define KVP_ROWS(fn) (&plain::fn)
#endif
namespace {

template <class S>
auto updateKernel() {
  if constexpr (std::is_same_v<S, Kvp8u>)
    return KVP_ROWS(updateRows8u);
  else if constexpr (std::is_same_v<S, Kvp16u>)
    return KVP_ROWS(updateRows16u);
  else
    return KVP_ROWS(updateRows32f);
}

template <class S>
KvpStatus update(const S* sil, int silStep, float* mhi, int mhiStep, KvpiSize roi, float ts, float duration) {
  if (KvpStatus st = checkPlanes(roi, {plane(sil, silStep), plane(mhi, mhiStep)})) return st;
  if (duration < 0.f) return kvpStsOutOfRange;
  const float limit = ts - duration;
  // Always on the calling thread, whatever the thread count (the update
  // streams 5 to 8 bytes per pixel and is bound by memory, not by the core),
  // so two threads can never be slower than one.
  const auto kernel = updateKernel<S>();
  for (int y = 0; y < roi.height; ++y)
    kernel(rowAt(sil, silStep, y), rowAt(mhi, mhiStep, y), roi.width, ts, limit);
  return kvpStsOk;
}

}  // namespace
}  // namespace kvp::motion

KvpStatus KVP_BODY(kvpiUpdateMotionHistory_8u32f_C1IR)(const Kvp8u* pSilhouette, int silhStep, Kvp32f* pMHI,
                                                       int mhiStep, KvpiSize roiSize, Kvp32f timestamp,
                                                       Kvp32f mhiDuration) {
  return kvp::motion::update(pSilhouette, silhStep, pMHI, mhiStep, roiSize, timestamp, mhiDuration);
}
KvpStatus KVP_BODY(kvpiUpdateMotionHistory_16u32f_C1IR)(const Kvp16u* pSilhouette, int silhStep, Kvp32f* pMHI,
                                                        int mhiStep, KvpiSize roiSize, Kvp32f timestamp,
                                                        Kvp32f mhiDuration) {
  return kvp::motion::update(pSilhouette, silhStep, pMHI, mhiStep, roiSize, timestamp, mhiDuration);
}
KvpStatus KVP_BODY(kvpiUpdateMotionHistory_32f_C1IR)(const Kvp32f* pSilhouette, int silhStep, Kvp32f* pMHI,
                                                     int mhiStep, KvpiSize roiSize, Kvp32f timestamp,
                                                     Kvp32f mhiDuration) {
  return kvp::motion::update(pSilhouette, silhStep, pMHI, mhiStep, roiSize, timestamp, mhiDuration);
}

#endif  // !KVP_HAVE_HWY || HWY_ONCE

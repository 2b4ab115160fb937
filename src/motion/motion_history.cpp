// Motion history update.
//
// limit = timestamp - duration (single precision, once). Per pixel:
//   moving silhouette (value != 0)  -> timestamp
//   else history >= limit (or NaN)  -> history, unchanged
//   else                            -> 0
// written as a branch-free select over whole vectors with a scalar tail.
#include "frame/bodies.h"
#include "frame/checks.h"
#include "frame/parallel.h"

#include "frame/simd.h"

namespace kvp::motion {
namespace {

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
  const hn::ScalableTag<float> df;
  const hn::Rebind<S, decltype(df)> ds;
  const int n = (int)hn::Lanes(df);
  const auto vts = hn::Set(df, ts), vlimit = hn::Set(df, limit);
#if HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_SSE4
  if constexpr (sizeof(S) == 1) {
    // Sixteen pixels per step: one byte compare, one shuffle per group.
    const D8 d8;
    const auto group = [&](auto g, hn::Vec<D8> stillBytes) {
      constexpr int G = decltype(g)::value;
      float* p = mhi + x + 4 * G;
      const auto h = hn::LoadU(df, p);
      hn::StoreU(hn::IfThenElse(maskGroup<G>(stillBytes), hn::IfThenZeroElse(hn::Lt(h, vlimit), h), vts), df, p);
    };
    for (; x + 16 <= w; x += 16) {
      const auto still = hn::VecFromMask(d8, hn::Eq(hn::LoadU(d8, sil + x), hn::Zero(d8)));
      group(std::integral_constant<int, 0>{}, still);
      group(std::integral_constant<int, 1>{}, still);
      group(std::integral_constant<int, 2>{}, still);
      group(std::integral_constant<int, 3>{}, still);
    }
  }
#endif
  for (; x + n <= w; x += n) {
    const auto h = hn::LoadU(df, mhi + x);
    const auto kept = hn::IfThenZeroElse(hn::Lt(h, vlimit), h);
    hn::Mask<decltype(df)> still;
    if constexpr (std::is_same_v<S, float>) {
      still = hn::Eq(hn::LoadU(df, sil + x), hn::Zero(df));
    } else {
      const hn::Rebind<int32_t, decltype(df)> di;
      still = hn::RebindMask(df, hn::Eq(hn::PromoteTo(di, hn::LoadU(ds, sil + x)), hn::Zero(di)));
    }
    hn::StoreU(hn::IfThenElse(still, kept, vts), df, mhi + x);
  }
#endif
  for (; x < w; ++x) mhi[x] = updateOne(sil[x], mhi[x], ts, limit);
}

template <class S>
KvpStatus update(const S* sil, int silStep, float* mhi, int mhiStep, KvpiSize roi, float ts, float duration) {
  if (KvpStatus st = checkPlanes(roi, {plane(sil, silStep), plane(mhi, mhiStep)})) return st;
  if (duration < 0.f) return kvpStsOutOfRange;
  const float limit = ts - duration;
  for (int y = 0; y < roi.height; ++y) updateRow(rowAt(sil, silStep, y), rowAt(mhi, mhiStep, y), roi.width, ts, limit);
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

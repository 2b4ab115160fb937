// Shared vector helpers (Highway). Only included where KVP_HAVE_HWY is set by
// the build.
//
// The helpers live in kvp::HWY_NAMESPACE, one copy per vector target. A
// source compiled once (static dispatch: the target follows the compiler
// flags) includes this header as usual and sees them as kvp::DF etc. and
// Highway's namespace as ::hn. A source compiled once per target (see
// frame/targets.h) includes it after hwy/foreach_target.h; the header is
// then expanded again for every target and the family's kernels, declared in
// their own per-target namespace, name the helpers of their target.
#if KVP_HAVE_HWY

#if defined(KVP_FRAME_SIMD_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef KVP_FRAME_SIMD_H_
#undef KVP_FRAME_SIMD_H_
#else
#define KVP_FRAME_SIMD_H_
#endif

#include <hwy/highway.h>

#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace kvp::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using DF = hn::ScalableTag<float>;

#if HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_SSE4
// On 128-bit targets 8-bit data is widened sixteen pixels at a time:
// one byte load, then one byte shuffle per group of four pixels (cheaper
// than two unpack steps per group). Wider targets widen eight or sixteen
// bytes directly into whole float vectors.
constexpr bool kByteShuffleRows = true;
using D8 = hn::Full128<uint8_t>;

template <int Group>
HWY_INLINE hn::Vec<DF> bytesToFloat(hn::Vec<D8> bytes, bool isSigned) {
  const D8 d8;
  const hn::Repartition<int32_t, D8> di;
  // Byte 4*Group+i goes to the low byte of lane i; the other bytes are zero
  // (index 0x80) or, for signed bytes, copies of the byte that are then
  // arithmetic-shifted down.
  alignas(16) static constexpr uint8_t kZero[16] = {
      4 * Group + 0, 0x80, 0x80, 0x80, 4 * Group + 1, 0x80, 0x80, 0x80,
      4 * Group + 2, 0x80, 0x80, 0x80, 4 * Group + 3, 0x80, 0x80, 0x80};
  alignas(16) static constexpr uint8_t kHigh[16] = {
      0x80, 0x80, 0x80, 4 * Group + 0, 0x80, 0x80, 0x80, 4 * Group + 1,
      0x80, 0x80, 0x80, 4 * Group + 2, 0x80, 0x80, 0x80, 4 * Group + 3};
  if (isSigned)
    return hn::ConvertTo(
        DF(), hn::ShiftRight<24>(hn::BitCast(di, hn::TableLookupBytesOr0(bytes, hn::Load(d8, kHigh)))));
  return hn::ConvertTo(DF(), hn::BitCast(di, hn::TableLookupBytesOr0(bytes, hn::Load(d8, kZero))));
}

// Lanes of four pixels taken from a byte vector of 0x00 / 0xFF, as a
// float-lane mask (true where the byte is 0xFF).
template <int Group>
HWY_INLINE hn::Mask<DF> maskGroup(hn::Vec<D8> nonZero) {
  const D8 d8;
  alignas(16) static constexpr uint8_t kSpread[16] = {
      4 * Group + 0, 4 * Group + 0, 4 * Group + 0, 4 * Group + 0, 4 * Group + 1, 4 * Group + 1,
      4 * Group + 1, 4 * Group + 1, 4 * Group + 2, 4 * Group + 2, 4 * Group + 2, 4 * Group + 2,
      4 * Group + 3, 4 * Group + 3, 4 * Group + 3, 4 * Group + 3};
  return hn::MaskFromVec(hn::BitCast(DF(), hn::TableLookupBytes(nonZero, hn::Load(d8, kSpread))));
}
#else
constexpr bool kByteShuffleRows = false;
#endif

}  // namespace kvp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard

// Names for sources compiled once: the static target's helpers.
#if !defined(HWY_TARGET_INCLUDE) && !defined(KVP_FRAME_SIMD_STATIC_NAMES_)
#define KVP_FRAME_SIMD_STATIC_NAMES_
namespace hn = hwy::HWY_NAMESPACE;
namespace kvp {
using namespace kvp::HWY_NAMESPACE;
}
#endif

#endif  // KVP_HAVE_HWY

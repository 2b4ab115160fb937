// Shared vector helpers (Highway, static dispatch: the target follows the
// compiler flags). Only included where KVP_HAVE_HWY is set by the build.
#pragma once

#if KVP_HAVE_HWY
#include <hwy/highway.h>

#include <cstdint>

namespace hn = hwy::HWY_NAMESPACE;

namespace kvp {

using DF = hn::ScalableTag<float>;

#if KVP_HAVE_HWY && (HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_SSE4)
// On 128-bit targets 8-bit data is widened sixteen pixels at a time:
// one byte load, then one byte shuffle per group of four pixels (cheaper
// than two unpack steps per group).
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

}  // namespace kvp
#endif  // KVP_HAVE_HWY

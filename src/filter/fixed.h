// Fixed-kernel row and column routines for the derivative and smoothing
// filters: the taps are built in, the caller picks a routine from a table
// instead of passing a kernel.
//
// Row routines compute one centred row (anchor = taps / 2) of width pixels,
// one channel, with the border type of their table slot; flags 64 / 128
// read the pixels left / right of the row from memory. Column routines
// compute one destination row from rows[0 .. taps - 1].
#pragma once

#include "kvpcore.h"

#define KVP_HIDDEN __attribute__((visibility("hidden")))

namespace kvp::filt {

// Tap tables, each in a 16-bit and a float copy.
inline constexpr Kvp16s kerSobel_3_16s[3] = {1, 2, 1};
inline constexpr Kvp16s kerSobel_5_16s[5] = {1, 4, 6, 4, 1};
inline constexpr Kvp16s kerDx_3_16s[3] = {-1, 0, 1};
inline constexpr Kvp16s kerDx_5_16s[5] = {-1, -2, 0, 2, 1};
inline constexpr Kvp16s kerDxNeg_3_16s[3] = {1, 0, -1};
inline constexpr Kvp16s kerDxNeg_5_16s[5] = {1, 2, 0, -2, -1};
inline constexpr Kvp16s kerD2x_3_16s[3] = {1, -2, 1};
inline constexpr Kvp16s kerD2x_5_16s[5] = {1, 0, -2, 0, 1};
inline constexpr Kvp16s kerScharr_3_16s[3] = {3, 10, 3};
inline constexpr Kvp16s kerAvr_3_16s[3] = {1, 1, 1};
inline constexpr Kvp16s kerAvr_5_16s[5] = {1, 1, 1, 1, 1};
inline constexpr Kvp16s kerLap_3_16s[3] = {1, 0, 1};
inline constexpr Kvp16s kerLap_5_16s[5] = {1, 0, 0, 0, 1};  // the 3-tap form spread by two
inline constexpr Kvp16s kerSobelNeg_3_16s[3] = {-1, -2, -1};
inline constexpr Kvp16s kerSobelNeg_5_16s[5] = {-1, -4, -6, -4, -1};

inline constexpr Kvp32f kerSobel_3_32f[3] = {1, 2, 1};
inline constexpr Kvp32f kerSobel_5_32f[5] = {1, 4, 6, 4, 1};
inline constexpr Kvp32f kerDx_3_32f[3] = {-1, 0, 1};
inline constexpr Kvp32f kerDx_5_32f[5] = {-1, -2, 0, 2, 1};
inline constexpr Kvp32f kerDxNeg_3_32f[3] = {1, 0, -1};
inline constexpr Kvp32f kerDxNeg_5_32f[5] = {1, 2, 0, -2, -1};
inline constexpr Kvp32f kerD2x_3_32f[3] = {1, -2, 1};
inline constexpr Kvp32f kerD2x_5_32f[5] = {1, 0, -2, 0, 1};
inline constexpr Kvp32f kerScharr_3_32f[3] = {3, 10, 3};
inline constexpr Kvp32f kerAvr_3_32f[3] = {1, 1, 1};
inline constexpr Kvp32f kerAvr_5_32f[5] = {1, 1, 1, 1, 1};
inline constexpr Kvp32f kerLap_3_32f[3] = {1, 0, 1};
inline constexpr Kvp32f kerLap_5_32f[5] = {1, 0, 0, 0, 1};
inline constexpr Kvp32f kerSobelNeg_3_32f[3] = {-1, -2, -1};
inline constexpr Kvp32f kerSobelNeg_5_32f[5] = {-1, -4, -6, -4, -1};

using ownRow_8u16s = void (*)(const Kvp8u* src, Kvp16s* dst, int width, int flags, Kvp8u borderValue);
using ownRow_32f = void (*)(const Kvp32f* src, Kvp32f* dst, int width, int flags, Kvp32f borderValue);
using ownColumn_16s = void (*)(const Kvp16s* const* rows, Kvp16s* dst, int width);
using ownColumn_16s8s = void (*)(const Kvp16s* const* rows, Kvp8s* dst, int width);
using ownColumn_32f = void (*)(const Kvp32f* const* rows, Kvp32f* dst, int width);

// Five routines per row kernel, indexed by the border code.
using ownRowBorders_8u16s = ownRow_8u16s[5];
using ownRowBorders_32f = ownRow_32f[5];

// Row tables: 3 kerDx, 3 kerScharr, 3 kerDxNeg, 5 kerDxNeg, 3 kerDx2,
// 5 kerDx2, 3 kerSobel, 5 kerSobel, 3 kerAvr, 5 kerAvr, 3 kerLaplacian.
KVP_HIDDEN extern const ownRowBorders_8u16s* const owntabRow_8u16s[11];
KVP_HIDDEN extern const ownRowBorders_32f* const owntabRow_32f[11];

// Column tables: 3 kerScharr, 3 kerDx, 3 kerSobel, 5 kerSobel, 5 kerDx,
// 3 kerDx2, 5 kerDx2, 3 kerLaplacian, 5 kerLaplacian, 3 kerAvr, 5 kerAvr,
// 3 kerSobelNeg, 5 kerSobelNeg. The 16-bit tables repeat the kerSobelNeg
// routines in the kerAvr places; the 8-bit signed one also repeats the
// 3-tap kerLaplacian in the 5-tap place.
KVP_HIDDEN extern const ownColumn_16s owntabColumn_8u16s[13];
KVP_HIDDEN extern const ownColumn_16s8s owntabColumn_8u8s[13];
KVP_HIDDEN extern const ownColumn_32f owntabColumn_32f[13];

}  // namespace kvp::filt

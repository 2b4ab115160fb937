// Upright sum tables on vector targets wider than 128 bits.
#pragma once

#include "kvpcv.h"

namespace kvp::detect {

// Rows 1 .. h of an upright sum table from source rows 0 .. h - 1, columns
// 1 .. w (row 0 and column 0 are the caller's). Returns false, writing
// nothing, where the chosen vector target is 128 bits wide: the caller's
// four-row transposed kernel is faster there.
bool uprightSumsWide(const Kvp8u* src, int srcStep, Kvp32s* dst, int dstStep, int w, int h);
bool uprightSumsWide(const Kvp8u* src, int srcStep, Kvp32f* dst, int dstStep, int w, int h);

}  // namespace kvp::detect

// Geometry of pyramid layers at an arbitrary rate r in (1, 10].
//
// Every such single-precision rate is a multiple of 2^-23, so M = r * 2^23
// is an integer below 2^27 and all sizes and sample positions are computed
// exactly from M in 64-bit integers. The optical-flow family reads level
// records made from these sizes.
#pragma once

#include "kvpcv.h"

namespace kvp::pyr {

constexpr int kRateShift = 23;
constexpr long long kRateOne = 1LL << kRateShift;

// The rate check shared by every function of the family (NaN fails).
inline bool rateOk(Kvp32f rate) { return rate > 1.0f && rate <= 10.0f; }

// M = rate * 2^23, exact.
inline long long rateFixed(Kvp32f rate) { return (long long)((double)rate * (double)kRateOne); }

// floor((n - 1) / r) + 1.
inline long long downLength(long long n, long long M) { return ((n - 1) * kRateOne) / M + 1; }
// ceil((n - 1) * r) + 1 and ceil(n * r): the lengths whose down length is n.
inline long long upLengthMin(long long n, long long M) { return ((n - 1) * M + kRateOne - 1) / kRateOne + 1; }
inline long long upLengthMax(long long n, long long M) { return (n * M + kRateOne - 1) / kRateOne; }

inline long long align64(long long x) { return (x + 63) / 64 * 64; }

}  // namespace kvp::pyr

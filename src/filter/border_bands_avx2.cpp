// Band routines of the border filters built for 256-bit vectors; chosen at
// run time when the processor has them. Results equal the baseline's bit
// for bit (integer sums are exact, float sums keep their order, nothing is
// contracted).
#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

// Shared helpers stay compiled for the baseline.
#include "filter/engine.h"
#include "filter/fixed.h"
#include "frame/parallel.h"

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2")
#endif
#define KVP_BF_ISA avx2
#define KVP_BF_AVX2 1
#define KVP_BF_TABLE kBandsAvx2
#include "filter/border_bands.h"
#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

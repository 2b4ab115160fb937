// The Canny routines built for 256-bit vectors; chosen at
// run time when the processor has them. Same operations in the same order
// as the baseline copy (nothing is contracted), so the same bits.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

// Shared helpers stay compiled for the baseline.
#include "edges/common.h"
#include "edges/kernel_table.h"
#include "filter/engine.h"
#include "filter/fixed.h"
#include "frame/parallel.h"

#pragma GCC push_options
#pragma GCC target("avx2")
#define KVP_BF_ISA avx2
#define KVP_ED_ISA avx2
#define KVP_ED_TABLE kKernelsAvx2
#include "edges/canny_impl.h"
#pragma GCC pop_options

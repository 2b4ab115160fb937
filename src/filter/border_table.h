// The band routines of the border filters, one table per instruction set.
#pragma once

#include "filter/border_kernels.h"

namespace kvp::bf {

// Derivative operations in table order.
enum Op : int {
  kSobelHoriz,
  kSobelVert,
  kSobelHorizSecond,
  kSobelVertSecond,
  kSobelCross,
  kSobelNegVert,
  kScharrHoriz,
  kScharrVert,
  kLaplacian,
  kOps
};

// Gauss variants in table order.
enum GaussKind : int { kG8uC1, kG8uC3, kG16uC1, kG32fC1, kG32fC3, kGaussKinds };

struct BandTable {
  BandFn deriv[kOps][3][2];      // op, source (8u, 8s, 32f), mask (3x3, 5x5); Scharr 5x5 empty
  BandFn low[2][2][2];           // element (8u, 32f), channels (1, 3), mask (3x3, 5x5)
  BandFn gauss[kGaussKinds][8];  // kind, side (3, 5, ..., 15, any other)
};

KVP_HIDDEN extern const BandTable kBandsBase;
KVP_HIDDEN extern const BandTable kBandsAvx2;

}  // namespace kvp::bf

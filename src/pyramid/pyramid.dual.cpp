// The 8-bit Gaussian 5x5 pyramid levels. This file is compiled once per
// code path, giving each of these functions its two bodies.
#include "frame/bodies.h"
#include "pyramid/pyr_kernels.h"

using namespace kvp::pyr;

KVP_PYR_BODIES(Kvp8u, 8u, 1)
KVP_PYR_BODIES(Kvp8u, 8u, 3)
KVP_PYR_BODIES(Kvp8s, 8s, 1)
KVP_PYR_BODIES(Kvp8s, 8s, 3)

// The routines of the edge detectors that are built once per instruction
// set (baseline and 256-bit vectors); results are the same bits in both.
#pragma once

#include "kvpcore.h"

#define KVP_HIDDEN_ED __attribute__((visibility("hidden")))

namespace kvp::edges {

struct KernelTable {
  KvpStatus (*canny16s)(const Kvp16s*, int, const Kvp16s*, int, Kvp8u*, int, KvpiSize, float, float, Kvp8u*);
  KvpStatus (*canny32f)(const Kvp32f*, int, const Kvp32f*, int, Kvp8u*, int, KvpiSize, float, float, Kvp8u*);
  // Checked one-call form: kernel, mask, ROI, border, thresholds in magnitude units.
  void (*borderL2)(int, int, const Kvp8u*, int, Kvp8u*, int, KvpiSize, int, Kvp8u, uint32_t, uint32_t,
                   Kvp8u*);
  void (*borderL1)(int, int, const Kvp8u*, int, Kvp8u*, int, KvpiSize, int, Kvp8u, uint32_t, uint32_t,
                   Kvp8u*);
};

KVP_HIDDEN_ED extern const KernelTable kKernelsBase;
KVP_HIDDEN_ED extern const KernelTable kKernelsAvx2;

// The fast arctangent of n (y, x) pairs on the vector target chosen at load
// (edges/atan.cpp); d may alias one source.
KVP_HIDDEN_ED void fastAtanRow(const float* y, const float* x, float* d, int n);

inline KvpStatus checkCannyKernel(int kern, int mask) {
  if (kern != kvpFilterSobel && kern != kvpFilterScharr) return kvpStsBadArg;
  if (mask != kvpMskSize3x3 && mask != kvpMskSize5x5) return kvpStsBadMaskSize;
  if (kern == kvpFilterScharr && mask == kvpMskSize5x5) return kvpStsBadMaskSize;
  return kvpStsOk;
}

inline KvpStatus checkCannyThresholds(float lo, float hi) {
  if (!(lo >= 0.0f) || !(hi >= 0.0f)) return kvpStsBadArg;
  if (lo > hi) return kvpStsBadArg;
  return kvpStsOk;
}

inline long long cannyBorderSlice(int W) { return 96LL * (W + 8) + 256; }

}  // namespace kvp::edges

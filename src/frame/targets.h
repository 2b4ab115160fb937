// Kernels compiled once per vector target, chosen at run time.
//
// The build compiles such kernels for SSSE3, AVX2 and AVX-512 (Highway's
// AVX3); SSE4 and the emulated targets are left out (-DHWY_DISABLED_TARGETS
// and the SSSE3 baseline). kvpcvInitLib fixes the widest target the
// processor offers and the enabled feature mask allows once, at load; every dispatched call afterwards reads
// that choice. A family writes its per-target kernels in the source that
// drives them:
//
//   #undef HWY_TARGET_INCLUDE
//   #define HWY_TARGET_INCLUDE "family/file.cpp"   // this very file
//   #include <hwy/foreach_target.h>                 // before highway.h
//   #include <hwy/highway.h>
//   #include "frame/simd.h"                         // per-target helpers
//
//   HWY_BEFORE_NAMESPACE();
//   namespace kvp::family::HWY_NAMESPACE {
//   namespace {                                      // one copy per TU
//   using namespace kvp::HWY_NAMESPACE;              // hn, DF, ...
//   void fooRows(...) { ... }                        // plain function
//   }
//   }
//   HWY_AFTER_NAMESPACE();
//
//   #if HWY_ONCE                                     // compiled once
//   #include "frame/targets.h"
//   namespace kvp::family {
//   HWY_EXPORT(fooRows);
//   ... const auto rows = KVP_TARGET_KERNEL(fooRows);  // once per call
//   }
//   #endif
//
// Everything compiled per target lives in the per-target namespace (an
// unnamed one inside it, so that the two code paths of a *.dual.cpp source
// do not share symbols); nothing target-dependent may sit in code outside
// it. Kernels must give identical bits on every target: no fused
// multiply-add (hn::MulAdd and friends are not used where the plain code
// rounds the product), and in-block operations packed back in block order.
#pragma once

#include "kvpcore.h"

#if KVP_HAVE_HWY
#include <hwy/highway.h>
#include <hwy/targets.h>

// Pointer to the kernel of the chosen target. Taken once per call and used
// for every row, so a call runs one target from start to end.
#define KVP_TARGET_KERNEL(fn) (&HWY_DYNAMIC_DISPATCH(fn))

namespace kvp {
// Fixes the widest target the processor supports among those the enabled
// feature mask allows (called once, at load): without AVX2 in the mask the
// SSSE3 kernels run, without AVX-512F at most the AVX2 ones.
inline void chooseVectorTarget(Kvp64u enabled) {
  int64_t targets = hwy::SupportedTargets();
  if (!(enabled & KVP_CPU_AVX512F)) targets &= ~int64_t(HWY_AVX3 | HWY_AVX3_DL);
  if (!(enabled & KVP_CPU_AVX2)) targets &= ~int64_t(HWY_AVX2 | HWY_AVX3 | HWY_AVX3_DL);
  hwy::GetChosenTarget().Update(targets);
}
}  // namespace kvp
#endif

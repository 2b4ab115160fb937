// Load-time choice of the code path.
//
// kvpcvInitLib is the shared object's init entry (DT_INIT, set by the
// linker). It runs once, before any exported function can be reached, and
// stores the code-path index that every entry stub reads.
#include "frame/bodies.h"
#include "frame/targets.h"

extern "C" KVP_LOCAL int kvp_index_local;

extern "C" KVP_LOCAL int kvpcvInitLib(void) {
  (void)kvpGetCpuFeatures(nullptr, nullptr);
  const Kvp64u mask = kvpGetEnabledCpuFeatures();
  // MOVBE is tested first; both it and SSSE3 select the second path.
  kvp_index_local = ((mask & KVP_CPU_MOVBE) && (mask & KVP_CPU_SSSE3)) ? 1 : 0;
#if KVP_HAVE_HWY
  // The vector target of the dispatched kernels, fixed once as well.
  kvp::chooseVectorTarget(mask);
#endif
  return 1;
}

extern "C" KVP_LOCAL void kvpcvFiniLib(void) {}

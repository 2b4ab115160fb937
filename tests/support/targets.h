// Runs a test once per vector target the library is built for and this
// processor supports (SSSE3, AVX2, AVX-512), so that every compiled kernel
// is compared with the scalar reference, not only the widest one.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#if KVP_HAVE_HWY
#include <hwy/targets.h>
#endif

namespace kvt {

// The targets to try; a single 0 ("whatever the library chose") without
// vector support.
inline std::vector<int64_t> vectorTargets() {
#if KVP_HAVE_HWY
  std::vector<int64_t> out = hwy::SupportedAndGeneratedTargets();
  if (!out.empty()) return out;
#endif
  return {0};
}

inline std::string targetName(int64_t t) {
#if KVP_HAVE_HWY
  if (t) return hwy::TargetName(t);
#endif
  return "default";
}

// While alive, dispatched kernels run the given target; afterwards the
// library's own choice again.
class Target {
 public:
  explicit Target(int64_t t) { set(t); }
  ~Target() { set(0); }
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;

 private:
  static void set([[maybe_unused]] int64_t t) {
#if KVP_HAVE_HWY
    hwy::SetSupportedTargetsForTest(t);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
#endif
  }
};

}  // namespace kvt

// The code path chosen at load time, each case in a child process that sets
// the enabled features through the core library before it loads the vision
// library.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "kvpcv.h"

#if KVP_HAVE_HWY
#include <hwy/targets.h>
#endif

namespace {

// Child: 0 when the loaded library reports the expected path everywhere.
int childRun(Kvp64u mask, int expectIndex) {
  kvpSetCpuFeatures(mask);
  void* h = dlopen(KVP_LIB_PATH, RTLD_NOW | RTLD_LOCAL);
  if (!h) return 10;
  auto getVersion = reinterpret_cast<const KvpLibraryVersion* (*)()>(dlsym(h, "kvpcvGetLibVersion"));
  const int* index = static_cast<const int*>(dlsym(h, "kvpJumpIndexForMergedDLL"));
  if (!getVersion || !index) return 11;
  if (*index != expectIndex) return 12;
  const KvpLibraryVersion* v = getVersion();
  const char* tag = expectIndex ? "n8" : "u8";
  const char* name = expectIndex ? "kvpCV Lumo (n8)" : "kvpCV SSSE3 (u8)";
  if (std::memcmp(v->targetCpu, tag, 3) != 0 || v->targetCpu[3] != 0) return 13;
  if (std::strcmp(v->name, name) != 0) return 14;
  if (v->major != 7 || v->minor != 1 || v->majorBuild != 1 || v->build != 37466) return 15;
  if (std::strcmp(v->version, "7.1.1 (r37466)") != 0 || std::strcmp(v->buildDate, "Sep 24 2012") != 0)
    return 16;
  // A function with one body runs it on either path.
  auto absDiff = reinterpret_cast<decltype(&kvpiAbsDiffC_8u_C1R)>(dlsym(h, "kvpiAbsDiffC_8u_C1R"));
  if (!absDiff) return 17;
  const Kvp8u src[4] = {0, 100, 200, 255};
  Kvp8u dst[4] = {};
  if (absDiff(src, 4, dst, 4, {4, 1}, 120) != kvpStsOk) return 18;
  if (dst[0] != 120 || dst[1] != 20 || dst[2] != 80 || dst[3] != 135) return 19;
  return 0;
}

#if KVP_HAVE_HWY
// Child: 0 when the vector target the library fixed at load is the widest
// supported one that the mask allows (targets: what it may still use).
int childVectorTarget(Kvp64u mask, int64_t targets) {
  kvpSetCpuFeatures(mask);
  if (!dlopen(KVP_LIB_PATH, RTLD_NOW | RTLD_LOCAL)) return 10;
  // Read first: asking Highway for the supported targets re-selects the
  // widest one.
  const size_t chosen = hwy::GetChosenTarget().GetIndex();
  hwy::ChosenTarget want;
  want.Update(hwy::SupportedTargets() & targets);
  return chosen == want.GetIndex() ? 0 : 20;
}
#endif

template <class F>
int inChildDo(F f) {
  const pid_t pid = fork();
  if (pid == 0) _exit(f());
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 100;
}

int inChild(Kvp64u mask, int expectIndex) {
  const pid_t pid = fork();
  if (pid == 0) _exit(childRun(mask, expectIndex));
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 100;
}

Kvp64u detected() {
  Kvp64u f = 0;
  kvpGetCpuFeatures(&f, nullptr);
  return f;
}

TEST(Dispatch, SsseWithoutMovbeTakesU8) { EXPECT_EQ(0, inChild(~KVP_CPU_MOVBE, 0)); }

TEST(Dispatch, MovbeWithoutSsse3TakesU8) { EXPECT_EQ(0, inChild(~KVP_CPU_SSSE3, 0)); }

TEST(Dispatch, NeitherTakesU8) { EXPECT_EQ(0, inChild(0, 0)); }

TEST(Dispatch, BothTakeN8) {
  const Kvp64u f = detected();
  if (!(f & KVP_CPU_MOVBE) || !(f & KVP_CPU_SSSE3)) GTEST_SKIP() << "processor lacks MOVBE or SSSE3";
  EXPECT_EQ(0, inChild(~Kvp64u(0), 1));
}

#if KVP_HAVE_HWY
// The mask also bounds the vector width of the dispatched kernels.
TEST(Dispatch, VectorTargetFollowsTheMask) {
  const int64_t all = ~int64_t(0), noAvx512 = ~int64_t(HWY_AVX3 | HWY_AVX3_DL),
                noAvx2 = ~int64_t(HWY_AVX2 | HWY_AVX3 | HWY_AVX3_DL);
  const struct {
    Kvp64u mask;
    int64_t targets;
  } cases[] = {{~Kvp64u(0), all},
               {~KVP_CPU_AVX512F, noAvx512},
               {~KVP_CPU_AVX2, noAvx2},
               {~(KVP_CPU_AVX2 | KVP_CPU_AVX512F), noAvx2}};
  for (const auto& c : cases)
    EXPECT_EQ(0, inChildDo([&] { return childVectorTarget(c.mask, c.targets); })) << std::hex << c.mask;
  // The widest target is not the same in every case on a processor with
  // AVX2 (otherwise the cases above cannot tell the masks apart).
  if (hwy::SupportedTargets() & HWY_AVX2) {
    hwy::ChosenTarget widest, narrow;
    widest.Update(hwy::SupportedTargets());
    narrow.Update(hwy::SupportedTargets() & noAvx2);
    EXPECT_NE(widest.GetIndex(), narrow.GetIndex());
  }
}
#endif

TEST(CoreLibrary, FeatureMaskIsDetectedAndMask) {
  Kvp64u f = 0;
  Kvp32u regs[4] = {};
  ASSERT_EQ(kvpStsOk, kvpGetCpuFeatures(&f, regs));
  EXPECT_EQ(kvpStsOk, kvpGetCpuFeatures(nullptr, nullptr));
  EXPECT_NE(0u, regs[0]) << "CPUID leaf 1 signature";
  EXPECT_EQ(f, kvpGetEnabledCpuFeatures());
  kvpSetCpuFeatures(KVP_CPU_SSSE3 | (1ULL << 62));
  EXPECT_EQ(f & KVP_CPU_SSSE3, kvpGetEnabledCpuFeatures());
  kvpSetCpuFeatures(~Kvp64u(0));
}

TEST(CoreLibrary, ThreadsCacheCoresMemory) {
  int n = 0;
  EXPECT_EQ(kvpStsBadArg, kvpSetNumThreads(0));
  EXPECT_EQ(kvpStsNullPtr, kvpGetNumThreads(nullptr));
  ASSERT_EQ(kvpStsOk, kvpSetNumThreads(3));
  ASSERT_EQ(kvpStsOk, kvpGetNumThreads(&n));
  EXPECT_EQ(3, n);
  EXPECT_EQ(3, ownGetNumThreads());
  int cache = 0;
  EXPECT_EQ(kvpStsOk, kvpGetMaxCacheSizeB(&cache));
  EXPECT_GE(cache, 4096);
  EXPECT_GE(kvpGetNumCoresOnDie(), 1);
  void* p = kvpMalloc(100);
  ASSERT_NE(nullptr, p);
  EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(p) % 64);
  kvpFree(p);
  kvpFree(nullptr);
  EXPECT_EQ(nullptr, kvpMalloc(0));
  kvpSetMallocFailCountdown(2);
  void* a = kvpMalloc(8);
  void* b = kvpMalloc(8);
  void* c = kvpMalloc(8);
  EXPECT_NE(nullptr, a);
  EXPECT_EQ(nullptr, b);
  EXPECT_NE(nullptr, c);
  kvpFree(a);
  kvpFree(c);
}

}  // namespace

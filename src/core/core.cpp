// The core library: processor features, thread count, cache and core
// counts, and the 64-byte aligned allocator used by the vision library.
#include <cpuid.h>
#include <omp.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>

#include "kvpcore.h"

namespace {

struct CpuInfo {
  Kvp64u features = 0;
  Kvp32u regs[4] = {0, 0, 0, 0};  // CPUID leaf 1: EAX, EBX, ECX, EDX
};

Kvp64u xgetbv0() {
  unsigned eax = 0, edx = 0;
  asm volatile("xgetbv" : "=a"(eax), "=d"(edx) : "c"(0));
  return (Kvp64u(edx) << 32) | eax;
}

CpuInfo detect() {
  CpuInfo info;
  unsigned a = 0, b = 0, c = 0, d = 0;
  if (!__get_cpuid(1, &a, &b, &c, &d)) return info;
  info.regs[0] = a;
  info.regs[1] = b;
  info.regs[2] = c;
  info.regs[3] = d;
  Kvp64u f = 0;
  if (d & (1u << 23)) f |= KVP_CPU_MMX;
  if (d & (1u << 25)) f |= KVP_CPU_SSE;
  if (d & (1u << 26)) f |= KVP_CPU_SSE2;
  if (c & (1u << 0)) f |= KVP_CPU_SSE3;
  if (c & (1u << 9)) f |= KVP_CPU_SSSE3;
  if (c & (1u << 22)) f |= KVP_CPU_MOVBE;
  if (c & (1u << 19)) f |= KVP_CPU_SSE41;
  if (c & (1u << 20)) f |= KVP_CPU_SSE42;
  if (c & (1u << 25)) f |= KVP_CPU_AES;
  if (c & (1u << 1)) f |= KVP_CPU_CLMUL;
  if (c & (1u << 23)) f |= KVP_CPU_POPCNT;
  const bool osxsave = (c & (1u << 27)) != 0;
  const Kvp64u xcr0 = osxsave ? xgetbv0() : 0;
  const bool ymm = (xcr0 & 0x6) == 0x6;
  const bool zmm = (xcr0 & 0xe6) == 0xe6;
  if (ymm && (c & (1u << 28))) f |= KVP_CPU_AVX;
  if (ymm && (c & (1u << 29))) f |= KVP_CPU_F16C;
  if (ymm && (c & (1u << 12))) f |= KVP_CPU_FMA;
  unsigned a7 = 0, b7 = 0, c7 = 0, d7 = 0;
  if (__get_cpuid_count(7, 0, &a7, &b7, &c7, &d7)) {
    if (ymm && (b7 & (1u << 5))) f |= KVP_CPU_AVX2;
    if (b7 & (1u << 3)) f |= KVP_CPU_BMI1;
    if (b7 & (1u << 8)) f |= KVP_CPU_BMI2;
    if (zmm && (b7 & (1u << 16))) f |= KVP_CPU_AVX512F;
  }
  info.features = f;
  return info;
}

const CpuInfo& cpu() {
  static const CpuInfo info = detect();
  return info;
}

// Enabled feature set; ~0 until set, meaning "everything detected".
std::atomic<Kvp64u> gEnabledMask{~Kvp64u(0)};
std::atomic<int> gNumThreads{0};  // 0: not yet chosen, use the OpenMP maximum
std::atomic<int> gFailCountdown{0};

int largestCacheBytes() {
  // Deterministic cache parameters (leaf 4): ways * partitions * line * sets.
  int best = 0;
  for (unsigned i = 0; i < 16; ++i) {
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (!__get_cpuid_count(4, i, &a, &b, &c, &d)) break;
    if ((a & 0x1f) == 0) break;
    const long long bytes = (long long)(((b >> 22) & 0x3ff) + 1) * (((b >> 12) & 0x3ff) + 1) *
                            ((b & 0xfff) + 1) * ((long long)c + 1);
    if (bytes > best && bytes <= 0x7fffffff) best = (int)bytes;
  }
  if (best == 0) {
    const long v = sysconf(_SC_LEVEL3_CACHE_SIZE);
    best = v > 0 ? (int)v : 1 << 20;
  }
  return best;
}

}  // namespace

extern "C" {

KvpStatus kvpGetCpuFeatures(Kvp64u* pFeatureMask, Kvp32u* pCpuidRegs) {
  const CpuInfo& info = cpu();
  if (pFeatureMask) *pFeatureMask = info.features;
  if (pCpuidRegs)
    for (int i = 0; i < 4; ++i) pCpuidRegs[i] = info.regs[i];
  return kvpStsOk;
}

Kvp64u kvpGetEnabledCpuFeatures(void) { return cpu().features & gEnabledMask.load(); }

KvpStatus kvpSetCpuFeatures(Kvp64u mask) {
  gEnabledMask.store(mask);
  return kvpStsOk;
}

KvpStatus kvpSetNumThreads(int n) {
  if (n < 1) return kvpStsBadArg;
  gNumThreads.store(n);
  return kvpStsOk;
}

int ownGetNumThreads(void) {
  const int n = gNumThreads.load();
  return n > 0 ? n : omp_get_max_threads();
}

KvpStatus kvpGetNumThreads(int* pn) {
  if (!pn) return kvpStsNullPtr;
  *pn = ownGetNumThreads();
  return kvpStsOk;
}

int kvpGetNumCoresOnDie(void) {
  const long n = sysconf(_SC_NPROCESSORS_ONLN);
  return n > 0 ? (int)n : 1;
}

KvpStatus kvpGetMaxCacheSizeB(int* pSize) {
  if (!pSize) return kvpStsNullPtr;
  static const int bytes = largestCacheBytes();
  *pSize = bytes;
  return kvpStsOk;
}

void* kvpMalloc(int length) {
  if (length < 1) return nullptr;
  if (gFailCountdown.load(std::memory_order_relaxed) > 0 && gFailCountdown.fetch_sub(1) == 1) return nullptr;
  const size_t rounded = ((size_t)length + 63) & ~(size_t)63;
  return std::aligned_alloc(64, rounded);
}

void kvpFree(void* ptr) { std::free(ptr); }

void kvpSetMallocFailCountdown(int n) { gFailCountdown.store(n > 0 ? n : 0); }

}  // extern "C"

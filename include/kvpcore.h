/*
 * kvpcore.h - the core library of kvpCV: types, status codes, processor
 * features, thread count and aligned memory.
 *
 * Plain C99; usable from C and C++.
 */
#ifndef KVPCORE_H
#define KVPCORE_H

/* One declaration per line (the build checks the list against it). */
/* clang-format off */

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define KVP_API __attribute__((visibility("default")))
#else
#define KVP_API
#endif

/* ---- element types ---------------------------------------------------- */
typedef unsigned char Kvp8u;
typedef signed char Kvp8s;
typedef unsigned short Kvp16u;
typedef short Kvp16s;
typedef unsigned int Kvp32u;
typedef int Kvp32s;
typedef float Kvp32f;
typedef long long Kvp64s;
typedef unsigned long long Kvp64u;
typedef double Kvp64f;

/* ---- records ---------------------------------------------------------- */
typedef struct { int width; int height; } KvpiSize;
typedef struct { int x; int y; } KvpiPoint;
typedef struct { int x; int y; int width; int height; } KvpiRect;

/* Element-type codes taken by buffer-size and pyramid functions. */
typedef enum {
  kvp8u = 1,
  kvp8s = 3,
  kvp16u = 5,
  kvp32f = 13
} KvpDataType;

/* ---- status codes: 0 success, < 0 error, > 0 warning ------------------- */
typedef enum {
  kvpStsLineCountWarning = 33, /* more lines found than the caller's maximum */
  kvpStsSizeOverflow = 12,     /* a size exceeds 2^31-1; truncated size stored */
  kvpStsDivByZero = 6,         /* zero denominator; result is NaN or infinity */
  kvpStsOk = 0,
  kvpStsInternalFail = -1,
  kvpStsError = -2,
  kvpStsBadArg = -5,
  kvpStsBadSize = -6,
  kvpStsBadRange = -7,
  kvpStsNullPtr = -8,
  kvpStsNoMemory = -9,
  kvpStsOutOfRange = -11,
  kvpStsBadDataType = -12,
  kvpStsBadStep = -14,
  kvpStsBadMaskSize = -33,
  kvpStsBadAnchor = -34,
  kvpStsBadCoi = -52,
  kvpStsBadChannels = -53,
  kvpStsBadMetric = -56,
  kvpStsStepNotMultiple = -108
} KvpStatus;

/* ---- processor features ------------------------------------------------
 * Bits of the feature masks below. 0x10 and 0x20 select the code path of the
 * vision library; the others are informational. */
#define KVP_CPU_MMX 0x1ULL
#define KVP_CPU_SSE 0x2ULL
#define KVP_CPU_SSE2 0x4ULL
#define KVP_CPU_SSE3 0x8ULL
#define KVP_CPU_SSSE3 0x10ULL
#define KVP_CPU_MOVBE 0x20ULL
#define KVP_CPU_SSE41 0x40ULL
#define KVP_CPU_SSE42 0x80ULL
#define KVP_CPU_AVX 0x100ULL     /* with operating-system support for YMM state */
#define KVP_CPU_AES 0x200ULL
#define KVP_CPU_CLMUL 0x400ULL
#define KVP_CPU_POPCNT 0x800ULL
#define KVP_CPU_F16C 0x1000ULL
#define KVP_CPU_FMA 0x2000ULL
#define KVP_CPU_AVX2 0x4000ULL
#define KVP_CPU_BMI1 0x8000ULL
#define KVP_CPU_BMI2 0x10000ULL
#define KVP_CPU_AVX512F 0x20000ULL /* with operating-system support for ZMM state */

/** Detects the processor; stores its feature mask and the four CPUID leaf-1
 *  registers (EAX, EBX, ECX, EDX). Either pointer may be null. */
KVP_API KvpStatus kvpGetCpuFeatures(Kvp64u* pFeatureMask, Kvp32u* pCpuidRegs);
/** Mask of features that are both present and enabled. */
KVP_API Kvp64u kvpGetEnabledCpuFeatures(void);
/** Enables exactly mask AND the detected features. A vision library loaded
 *  afterwards chooses its code path from the enabled set. */
KVP_API KvpStatus kvpSetCpuFeatures(Kvp64u mask);

/* ---- threads ---------------------------------------------------------- */
/** Sets the number of threads one call may use; n < 1 gives kvpStsBadArg. */
KVP_API KvpStatus kvpSetNumThreads(int n);
/** Stores the number of threads one call may use. */
KVP_API KvpStatus kvpGetNumThreads(int* pn);
/** Number of threads one call may use (default: the OpenMP maximum). */
KVP_API int ownGetNumThreads(void);
/** Number of processor cores. */
KVP_API int kvpGetNumCoresOnDie(void);
/** Stores the size in bytes of the largest processor cache. */
KVP_API KvpStatus kvpGetMaxCacheSizeB(int* pSize);

/* ---- memory ----------------------------------------------------------- */
/** A 64-byte aligned block of length bytes, or null (also for length < 1). */
KVP_API void* kvpMalloc(int length);
/** Releases a block from kvpMalloc; null is allowed. */
KVP_API void kvpFree(void* ptr);
/** Test hook: makes the n-th following kvpMalloc call (1 = the next one)
 *  fail; 0 disarms. Not for production use. */
KVP_API void kvpSetMallocFailCountdown(int n);

#ifdef __cplusplus
}
#endif
/* clang-format on */
#endif /* KVPCORE_H */

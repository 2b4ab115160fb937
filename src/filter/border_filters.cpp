// Derivative and smoothing filters with borders: checks, buffer layout,
// Gauss taps and threading; the band routines come from the table of the
// widest instruction set the processor has enabled.
//
// Buffer layout: up to 64 bytes of slack that align the rest to 64 bytes;
// for Gauss the k taps (4 bytes each, A64(4k) bytes); then one slice per
// thread of (rows) x R bytes, R = A64(4 c (W + k - 1)): the rings of
// intermediate rows followed by the bordered source piece.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "filter/border_table.h"
#include "frame/bodies.h"
#include "frame/checks.h"

namespace kvp::bf {
namespace {

const BandTable& bands() {
  const Kvp64u need = KVP_CPU_AVX | KVP_CPU_AVX2;
  return (kvpGetEnabledCpuFeatures() & need) == need ? kBandsAvx2 : kBandsBase;
}

constexpr long long a64(long long b) { return (b + 63) & ~63LL; }

long long ringRow(int width, int channels, int k) { return a64(4LL * channels * ((long long)width + k - 1)); }

int threadsNow() {
  const int n = ownGetNumThreads();
  return n < 1 ? 1 : n;
}

// Rows of R bytes in one thread's slice.
long long sliceRows(int k, bool laplacian) { return laplacian ? 2LL * k + 1 : k + 1LL; }

// The size query's bytes; anything past the int range is reported as
// 2^31 (the products stay far inside 64 bits).
long long bufferBytes(KvpiSize roi, int channels, int k, bool laplacian, bool gauss) {
  const long long rows = sliceRows(k, laplacian), row = ringRow(roi.width, channels, k);
  if (rows > 2147483647LL || row > 2147483647LL || rows * row > 2147483647LL) return 2147483648LL;
  const long long slice = rows * row;
  return 64 + (gauss ? a64(4LL * k) : 0) + (long long)threadsNow() * slice;
}

int maskSide(int mask, bool only3) {
  if (mask == kvpMskSize3x3) return 3;
  if (mask == kvpMskSize5x5 && !only3) return 5;
  return 0;
}

KvpStatus gaussArgs(int kernelSize) {
  if (kernelSize < 3) return kvpStsBadSize;
  if (kernelSize % 2 == 0) return kvpStsBadArg;
  return kvpStsOk;
}

// The threading rule: area against n x 32768, and for 3- and 5-tap masks
// more than one core on the die.
bool threaded(KvpiSize roi, int k) {
  const long long n = ownGetNumThreads();
  if (n <= 1 || (long long)roi.width * roi.height < n * 32768) return false;
  if (k <= 5 && kvpGetNumCoresOnDie() <= 1) return false;
  return true;
}

Kvp8u* aligned(Kvp8u* p) { return p + ((64 - ((uintptr_t)p & 63)) & 63); }

template <class S>
Job makeJob(const S* src, int srcStep, void* dst, int dstStep, KvpiSize roi, int channels, int k, int border,
            const S* value, Kvp8u* buffer, bool laplacian) {
  Job job{};
  job.src = src;
  job.srcStep = srcStep;
  job.dst = dst;
  job.dstStep = dstStep;
  job.width = roi.width;
  job.height = roi.height;
  job.border = border;
  // The values are read only for the constant border.
  if (border == filt::kBorderConst) std::memcpy(job.value, value, sizeof(S) * channels);
  job.slices = aligned(buffer);
  job.rowBytes = ringRow(roi.width, channels, k);
  job.sliceBytes = sliceRows(k, laplacian) * job.rowBytes;
  job.k = k;
  return job;
}

void run(BandFn fn, const Job& job, KvpiSize roi) {
  forRowBands(roi.height, threaded(roi, job.k), [&](int y0, int rows, int t) { fn(job, y0, rows, t); });
}

int elemIndex(const Kvp8u*) { return 0; }
int elemIndex(const Kvp8s*) { return 1; }
int elemIndex(const Kvp32f*) { return 2; }

template <class S, class D>
KvpStatus derivative(Op op, const S* pSrc, int srcStep, D* pDst, int dstStep, KvpiSize roi, int mask,
                     int borderType, S borderValue, Kvp8u* pBuffer) {
  if (KvpStatus s = checkPlanes(roi, {plane(pSrc, srcStep), plane(pDst, dstStep)}, {pBuffer})) return s;
  const int k = maskSide(mask, op == kScharrHoriz || op == kScharrVert);
  if (!k) return kvpStsBadMaskSize;
  if ((unsigned)borderType > 4u) return kvpStsBadArg;
  const Job job =
      makeJob(pSrc, srcStep, pDst, dstStep, roi, 1, k, borderType, &borderValue, pBuffer, op == kLaplacian);
  run(bands().deriv[op][elemIndex(pSrc)][k == 5], job, roi);
  return kvpStsOk;
}

KvpStatus derivativeSize(Op op, KvpiSize roi, int mask, int* pBufferSize) {
  if (!pBufferSize) return kvpStsNullPtr;
  if (KvpStatus s = checkSize(roi)) return s;
  const int k = maskSide(mask, op == kScharrHoriz || op == kScharrVert);
  if (!k) return kvpStsBadMaskSize;
  return storeBufferSize(bufferBytes(roi, 1, k, op == kLaplacian, false), pBufferSize);
}

template <class S>
KvpStatus lowpass(const S* pSrc, int srcStep, S* pDst, int dstStep, KvpiSize roi, int channels, int mask,
                  int borderType, const S* value, bool valueIsPointer, Kvp8u* pBuffer) {
  if (KvpStatus s =
          checkPlanes(roi, {plane(pSrc, srcStep, channels), plane(pDst, dstStep, channels)}, {pBuffer}))
    return s;
  const int k = maskSide(mask, false);
  if (!k) return kvpStsBadMaskSize;
  if ((unsigned)borderType > 4u) return kvpStsBadArg;
  if (valueIsPointer && borderType == filt::kBorderConst && !value) return kvpStsNullPtr;
  const Job job = makeJob(pSrc, srcStep, pDst, dstStep, roi, channels, k, borderType, value, pBuffer, false);
  run(bands().low[sizeof(S) == 4][channels == 3][k == 5], job, roi);
  return kvpStsOk;
}

KvpStatus lowpassSize(KvpiSize roi, int channels, int mask, int* pBufferSize) {
  if (!pBufferSize) return kvpStsNullPtr;
  if (KvpStatus s = checkSize(roi)) return s;
  const int k = maskSide(mask, false);
  if (!k) return kvpStsBadMaskSize;
  return storeBufferSize(bufferBytes(roi, channels, k, false, false), pBufferSize);
}

// Gauss weights t_i = exp(q x^2) in double, their sum in index order.
double gaussWeights(int k, float sigma, double* t) {
  const double s = (double)sigma, q = -0.5 / (s * s);
  const int r = k / 2;
  double sum = 0;
  for (int i = 0; i < k; ++i) {
    const double x = i - r;
    t[i] = std::exp((q * x) * x);
  }
  for (int i = 0; i < k; ++i) sum += t[i];
  return sum;
}

// Integer taps summing to 2^bits by symmetric error diffusion from the
// outermost taps inwards; the centre takes what is left.
void gaussTapsInt(int k, float sigma, int bits, int32_t* g, double* t) {
  const double sum = gaussWeights(k, sigma, t), one = (double)(1 << bits);
  const int r = k / 2;
  double err = 0;
  long long outer = 0;
  for (int i = 0; i < r; ++i) {
    const double v = (t[i] / sum) * one + err;
    const double gi = std::floor(v + 0.5);
    g[i] = g[k - 1 - i] = (int32_t)gi;
    err = v - gi;
    outer += (long long)gi;
  }
  g[r] = (int32_t)((1LL << bits) - 2 * outer);
}

void gaussTaps32f(int k, float sigma, float* g, double* t) {
  const double sum = gaussWeights(k, sigma, t), inv = 1.0 / sum;
  for (int i = 0; i < k; ++i) g[i] = (float)(t[i] * inv);
}

template <class S>
KvpStatus gauss(GaussKind kind, const S* pSrc, int srcStep, S* pDst, int dstStep, KvpiSize roi, int channels,
                int kernelSize, Kvp32f sigma, int borderType, const S* value, bool valueIsPointer,
                Kvp8u* pBuffer) {
  if (KvpStatus s =
          checkPlanes(roi, {plane(pSrc, srcStep, channels), plane(pDst, dstStep, channels)}, {pBuffer}))
    return s;
  if (KvpStatus s = gaussArgs(kernelSize)) return s;
  if (!(sigma > 0) || !std::isfinite(sigma)) return kvpStsBadArg;
  if ((unsigned)borderType > 4u) return kvpStsBadArg;
  if (valueIsPointer && borderType == filt::kBorderConst && !value) return kvpStsNullPtr;
  const int k = kernelSize;
  Kvp8u* base = aligned(pBuffer);
  Job job = makeJob(pSrc, srcStep, pDst, dstStep, roi, channels, k, borderType, value, pBuffer, false);
  // The taps go first; the double weights are computed at the start of
  // the slices, which the bands overwrite later (a slice holds k + 1 >= 4
  // rows of R >= 4 k bytes).
  job.slices = base + a64(4LL * k);
  double* weights = reinterpret_cast<double*>(job.slices);
  if (sizeof(S) == 4)
    gaussTaps32f(k, sigma, reinterpret_cast<float*>(base), weights);
  else
    gaussTapsInt(k, sigma, sizeof(S) == 1 ? 8 : 16, reinterpret_cast<int32_t*>(base), weights);
  job.taps = base;
  const int side = k <= 15 ? k / 2 - 1 : 7;
  run(bands().gauss[kind][side], job, roi);
  return kvpStsOk;
}

KvpStatus gaussSize(KvpiSize roi, int channels, int kernelSize, int* pBufferSize) {
  if (!pBufferSize) return kvpStsNullPtr;
  if (KvpStatus s = checkSize(roi)) return s;
  if (KvpStatus s = gaussArgs(kernelSize)) return s;
  return storeBufferSize(bufferBytes(roi, channels, kernelSize, false, true), pBufferSize);
}

}  // namespace
}  // namespace kvp::bf

using namespace kvp::bf;

#define KVP_BF_DERIV(NAME, OP, T, S, D)                                                              \
  KvpStatus KVP_BODY(kvpiFilter##NAME##Border_##T##_C1R)(                                            \
      const S* pSrc, int srcStep, D* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask,         \
      KvpiBorderType borderType, S borderValue, Kvp8u* pBuffer) {                                    \
    return derivative(OP, pSrc, srcStep, pDst, dstStep, roiSize, kvp::enumArg(mask),                 \
                      kvp::enumArg(borderType), borderValue, pBuffer);                               \
  }                                                                                                  \
  KvpStatus KVP_BODY(kvpiFilter##NAME##GetBufferSize_##T##_C1R)(KvpiSize roiSize, KvpiMaskSize mask, \
                                                                int* pBufferSize) {                  \
    return derivativeSize(OP, roiSize, kvp::enumArg(mask), pBufferSize);                             \
  }

#define KVP_BF_DERIV3(NAME, OP)                \
  KVP_BF_DERIV(NAME, OP, 8u16s, Kvp8u, Kvp16s) \
  KVP_BF_DERIV(NAME, OP, 8s16s, Kvp8s, Kvp16s) \
  KVP_BF_DERIV(NAME, OP, 32f, Kvp32f, Kvp32f)

KVP_BF_DERIV3(SobelHoriz, kSobelHoriz)
KVP_BF_DERIV3(SobelVert, kSobelVert)
KVP_BF_DERIV3(SobelHorizSecond, kSobelHorizSecond)
KVP_BF_DERIV3(SobelVertSecond, kSobelVertSecond)
KVP_BF_DERIV3(SobelCross, kSobelCross)
KVP_BF_DERIV3(SobelNegVert, kSobelNegVert)
KVP_BF_DERIV3(ScharrHoriz, kScharrHoriz)
KVP_BF_DERIV3(ScharrVert, kScharrVert)
KVP_BF_DERIV3(Laplacian, kLaplacian)

// C1R forms pass the address of their value, C3R forms the caller's pointer.
#define KVP_BF_SMOOTH_VALUE_C1(S) S borderValue
#define KVP_BF_SMOOTH_VALUE_C3(S) const S* pBorderValue
#define KVP_BF_SMOOTH_ARG_C1 &borderValue, false
#define KVP_BF_SMOOTH_ARG_C3 pBorderValue, true

#define KVP_BF_LOWPASS(T, S, CH)                                                                            \
  KvpStatus KVP_BODY(kvpiFilterLowpassBorder_##T##_C##CH##R)(                                               \
      const S* pSrc, int srcStep, S* pDst, int dstStep, KvpiSize roiSize, KvpiMaskSize mask,                \
      KvpiBorderType borderType, KVP_BF_SMOOTH_VALUE_C##CH(S), Kvp8u* pBuffer) {                            \
    return lowpass(pSrc, srcStep, pDst, dstStep, roiSize, CH, kvp::enumArg(mask), kvp::enumArg(borderType), \
                   KVP_BF_SMOOTH_ARG_C##CH, pBuffer);                                                       \
  }                                                                                                         \
  KvpStatus KVP_BODY(kvpiFilterLowpassGetBufferSize_##T##_C##CH##R)(KvpiSize roiSize, KvpiMaskSize mask,    \
                                                                    int* pBufferSize) {                     \
    return lowpassSize(roiSize, CH, kvp::enumArg(mask), pBufferSize);                                       \
  }

KVP_BF_LOWPASS(8u, Kvp8u, 1)
KVP_BF_LOWPASS(8u, Kvp8u, 3)
KVP_BF_LOWPASS(32f, Kvp32f, 1)
KVP_BF_LOWPASS(32f, Kvp32f, 3)

#define KVP_BF_GAUSS(T, S, CH, KIND)                                                                    \
  KvpStatus KVP_BODY(kvpiFilterGaussBorder_##T##_C##CH##R)(                                             \
      const S* pSrc, int srcStep, S* pDst, int dstStep, KvpiSize roiSize, int kernelSize, Kvp32f sigma, \
      KvpiBorderType borderType, KVP_BF_SMOOTH_VALUE_C##CH(S), Kvp8u* pBuffer) {                        \
    return gauss(KIND, pSrc, srcStep, pDst, dstStep, roiSize, CH, kernelSize, sigma,                    \
                 kvp::enumArg(borderType), KVP_BF_SMOOTH_ARG_C##CH, pBuffer);                           \
  }                                                                                                     \
  KvpStatus KVP_BODY(kvpiFilterGaussGetBufferSize_##T##_C##CH##R)(KvpiSize roiSize, int kernelSize,     \
                                                                  int* pBufferSize) {                   \
    return gaussSize(roiSize, CH, kernelSize, pBufferSize);                                             \
  }

KVP_BF_GAUSS(8u, Kvp8u, 1, kG8uC1)
KVP_BF_GAUSS(8u, Kvp8u, 3, kG8uC3)
KVP_BF_GAUSS(16u, Kvp16u, 1, kG16uC1)
KVP_BF_GAUSS(32f, Kvp32f, 1, kG32fC1)
KVP_BF_GAUSS(32f, Kvp32f, 3, kG32fC3)

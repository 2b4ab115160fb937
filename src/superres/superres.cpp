// Super-resolution support: tables of 3x3 or 2x2 point-spread functions,
// residuals of low-resolution observations against a high-resolution
// estimate, and the scatter of weighted PSFs onto a gradient plane.
//
// Every observation (entry) names the top-left pixel of its footprint and a
// PSF of the table. All entries are range-checked in one pass before any is
// computed, so a bad entry never causes a read or write outside the planes.
//
// Arithmetic is binary32 with every product rounded before it is added.
// Residual taps are summed in row order, each entry on its own, so entries
// may be split among threads freely. Gradient contributions are added in
// entry order, taps in row order; that order is part of the result and the
// update runs on the calling thread.
#include <cmath>
#include <cstring>

#include "frame/bodies.h"
#include "frame/checks.h"
#include "frame/parallel.h"
#include "frame/state.h"

namespace kvp::superres {
namespace {

constexpr Kvp32u kKind3x3 = 0x53520309u;
constexpr Kvp32u kKind2x2 = 0x53520204u;

struct PsfTable {
  StateHead head;
  int taps;  // S * S
  int tabSize;
  Kvp32f* table;  // tabSize * taps, row order per PSF
};

template <int S>
KvpStatus initAlloc(void** ppPSF, const Kvp32f* tab, int tabSize) {
  if (!ppPSF || !tab) return kvpStsNullPtr;
  if (tabSize < 1) return kvpStsBadSize;
  const long long count = (long long)tabSize * S * S;
  for (long long i = 0; i < count; ++i)
    if (!std::isfinite(tab[i])) return kvpStsBadArg;
  const long long tableAt = regionAfter(0, (long long)sizeof(PsfTable));
  const long long payload = tableAt + count * 4;
  if (payload > kMaxBlock) return kvpStsNoMemory;
  return allocState<void, PsfTable>(payload, S == 3 ? kKind3x3 : kKind2x2, ppPSF,
                                    [&](PsfTable* s, unsigned char* base) {
                                      s->taps = S * S;
                                      s->tabSize = tabSize;
                                      s->table = reinterpret_cast<Kvp32f*>(base + tableAt);
                                      std::memcpy(s->table, tab, (size_t)count * 4);
                                    });
}

// Checks common to both working functions after the pointers: len and size,
// the step, then every entry against the plane.
template <int S>
KvpStatus checkEntries(int step, KvpiSize size, const int* pX, const int* pY, const unsigned* pIndex, int len,
                       const PsfTable& psf) {
  if (len < 1 || size.width < S || size.height < S) return kvpStsBadSize;
  if ((long long)step < (long long)size.width * 4) return kvpStsBadStep;
  if (step & 3) return kvpStsStepNotMultiple;
  const int maxX = size.width - S, maxY = size.height - S;
  const unsigned tabSize = (unsigned)psf.tabSize;
  bool bad = false;
  for (int i = 0; i < len; ++i)
    bad |= (pIndex[i] >= tabSize) | (pX[i] < 0) | (pY[i] < 0) | (pX[i] > maxX) | (pY[i] > maxY);
  return bad ? kvpStsOutOfRange : kvpStsOk;
}

template <int S>
inline Kvp32f footprintSum(const Kvp32f* p, const unsigned char* at, long long step) {
  const Kvp32f* r0 = reinterpret_cast<const Kvp32f*>(at);
  Kvp32f s = p[0] * r0[0];
  for (int c = 1; c < S; ++c) s = s + p[c] * r0[c];
  for (int r = 1; r < S; ++r) {
    const Kvp32f* row = reinterpret_cast<const Kvp32f*>(at + step * r);
    for (int c = 0; c < S; ++c) s = s + p[r * S + c] * row[c];
  }
  return s;
}

template <int S>
void residualRange(const Kvp8u* pSrc, const Kvp32f* pHiRes, long long step, Kvp32f* pResidual, const int* pX,
                   const int* pY, const unsigned* pIndex, const Kvp32f* table, int i0, int n) {
  const unsigned char* base = reinterpret_cast<const unsigned char*>(pHiRes);
  for (int i = i0; i < i0 + n; ++i) {
    const unsigned char* at = base + step * pY[i] + 4LL * pX[i];
    const Kvp32f s = footprintSum<S>(table + (size_t)pIndex[i] * (S * S), at, step);
    pResidual[i] = (Kvp32f)pSrc[i] - s;
  }
}

template <int S>
KvpStatus calcResidual(const Kvp8u* pSrc, const Kvp32f* pHiRes, int hiResStep, KvpiSize hiResSize,
                       Kvp32f* pResidual, const int* pX, const int* pY, const unsigned* pIndex, int len,
                       const void* pPSF) {
  if (KvpStatus st = checkPointers({pSrc, pHiRes, pResidual, pX, pY, pIndex, pPSF})) return st;
  const PsfTable& psf = *stateAt<PsfTable>(pPSF);
  if (KvpStatus st = checkEntries<S>(hiResStep, hiResSize, pX, pY, pIndex, len, psf)) return st;
  const bool threaded = (long long)len >= (long long)ownGetNumThreads() * 32768;
  forRowBands(len, threaded, [&](int i0, int n, int) {
    residualRange<S>(pSrc, pHiRes, hiResStep, pResidual, pX, pY, pIndex, psf.table, i0, n);
  });
  return kvpStsOk;
}

template <int S>
KvpStatus updateGradient(Kvp32f* pGrad, int gradStep, KvpiSize gradSize, const int* pX, const int* pY,
                         const unsigned* pIndex, const Kvp32f* pWeight, int len, const void* pPSF) {
  if (KvpStatus st = checkPointers({pGrad, pX, pY, pIndex, pWeight, pPSF})) return st;
  const PsfTable& psf = *stateAt<PsfTable>(pPSF);
  if (KvpStatus st = checkEntries<S>(gradStep, gradSize, pX, pY, pIndex, len, psf)) return st;
  unsigned char* base = reinterpret_cast<unsigned char*>(pGrad);
  const long long step = gradStep;
  for (int i = 0; i < len; ++i) {
    const Kvp32f* p = psf.table + (size_t)pIndex[i] * (S * S);
    const Kvp32f w = pWeight[i];
    unsigned char* at = base + step * pY[i] + 4LL * pX[i];
    for (int r = 0; r < S; ++r) {
      Kvp32f* row = reinterpret_cast<Kvp32f*>(at + step * r);
      for (int c = 0; c < S; ++c) row[c] = row[c] + w * p[r * S + c];
    }
  }
  return kvpStsOk;
}

}  // namespace
}  // namespace kvp::superres

using namespace kvp::superres;

extern "C" {

KvpStatus KVP_BODY(kvpiSRHNInitAlloc_PSF3x3)(KvpiSRHNSpec_PSF3x3** ppPSF, const Kvp32f pcTab[][9],
                                             int tabSize) {
  return initAlloc<3>(reinterpret_cast<void**>(ppPSF), pcTab ? &pcTab[0][0] : nullptr, tabSize);
}
KvpStatus KVP_BODY(kvpiSRHNInitAlloc_PSF2x2)(KvpiSRHNSpec_PSF2x2** ppPSF, const Kvp32f pcTab[][4],
                                             int tabSize) {
  return initAlloc<2>(reinterpret_cast<void**>(ppPSF), pcTab ? &pcTab[0][0] : nullptr, tabSize);
}
KvpStatus KVP_BODY(kvpiSRHNFree_PSF3x3)(KvpiSRHNSpec_PSF3x3* pPSF) { return kvp::freeState(pPSF); }
KvpStatus KVP_BODY(kvpiSRHNFree_PSF2x2)(KvpiSRHNSpec_PSF2x2* pPSF) { return kvp::freeState(pPSF); }

KvpStatus KVP_BODY(kvpiSRHNCalcResidual_PSF3x3_8u32f_C1R)(const Kvp8u* pSrc, const Kvp32f* pHiRes,
                                                          int hiResStep, KvpiSize hiResSize,
                                                          Kvp32f* pResidual, const int* pX, const int* pY,
                                                          const unsigned int* pIndex, int len,
                                                          const KvpiSRHNSpec_PSF3x3* pPSF) {
  return calcResidual<3>(pSrc, pHiRes, hiResStep, hiResSize, pResidual, pX, pY, pIndex, len, pPSF);
}
KvpStatus KVP_BODY(kvpiSRHNCalcResidual_PSF2x2_8u32f_C1R)(const Kvp8u* pSrc, const Kvp32f* pHiRes,
                                                          int hiResStep, KvpiSize hiResSize,
                                                          Kvp32f* pResidual, const int* pX, const int* pY,
                                                          const unsigned int* pIndex, int len,
                                                          const KvpiSRHNSpec_PSF2x2* pPSF) {
  return calcResidual<2>(pSrc, pHiRes, hiResStep, hiResSize, pResidual, pX, pY, pIndex, len, pPSF);
}
KvpStatus KVP_BODY(kvpiSRHNUpdateGradient_PSF3x3_32f_C1R)(Kvp32f* pGrad, int gradStep, KvpiSize gradSize,
                                                          const int* pX, const int* pY,
                                                          const unsigned int* pIndex, const Kvp32f* pWeight,
                                                          int len, const KvpiSRHNSpec_PSF3x3* pPSF) {
  return updateGradient<3>(pGrad, gradStep, gradSize, pX, pY, pIndex, pWeight, len, pPSF);
}
KvpStatus KVP_BODY(kvpiSRHNUpdateGradient_PSF2x2_32f_C1R)(Kvp32f* pGrad, int gradStep, KvpiSize gradSize,
                                                          const int* pX, const int* pY,
                                                          const unsigned int* pIndex, const Kvp32f* pWeight,
                                                          int len, const KvpiSRHNSpec_PSF2x2* pPSF) {
  return updateGradient<2>(pGrad, gradStep, gradSize, pX, pY, pIndex, pWeight, len, pPSF);
}

}  // extern "C"

// Row and column routines of the fixed-mask border filters, and the
// streaming band driver that pairs them.
//
// A filter description F names its element types and two routines:
//   S  source element, T  intermediate (ring) element, D  destination element
//   C  interleaved channels, Rings  intermediate rows made per source row
//   k()                       mask side (taps of both passes)
//   row(p, outs, off, n)      outs[g][off + i] for i < n from p[i + j * C],
//                             p pointing at the leftmost pixel of the window
//   col(rows, dst, n)         dst[i] from rows[g * k + j][i], j = 0 .. k - 1
//                             the rows y - r .. y + r of ring g
// band() streams one band of destination rows: each thread runs the row
// pass of every source row its band needs into a ring of k rows (per ring)
// in its slice of the caller's buffer and emits one destination row per
// source row. Interior pixels are read straight from the source; only the
// pixels within r of the left and right ends go through a small bordered
// piece, and rows outside the ROI are made by the border rule.
//
// Everything is a template over the element types and the built-in taps;
// the including file may set KVP_BF_ISA to compile a second copy for a
// wider instruction set in its own namespace.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "filter/engine.h"
#include "filter/fixed.h"
#include "frame/parallel.h"

#ifndef KVP_BF_ISA
#define KVP_BF_ISA base
#endif
#ifndef KVP_BF_AVX2
#define KVP_BF_AVX2 0
#endif

namespace kvp::bf {

// One call as the band routines see it (the checks have passed).
struct Job {
  const void* src;
  int srcStep;
  void* dst;
  int dstStep;
  int width, height;
  int border;                  // 0 .. 4
  alignas(8) Kvp8u value[12];  // C border values of the source type
  Kvp8u* slices;               // slice of thread t at slices + t * sliceBytes
  long long sliceBytes;
  long long rowBytes;  // R: bytes of one ring row
  const void* taps;    // Gauss: k taps (int32 or float)
  int k;               // mask side or kernel size
};

using BandFn = void (*)(const Job&, int y0, int rows, int t);

inline namespace KVP_BF_ISA {

// ---- helpers ----------------------------------------------------------------

template <int J>
using Idx = std::integral_constant<int, J>;

// The J-th of the arguments (row pointers passed as values stay in
// registers; an array of them in memory would be reloaded after every
// store, which keeps the loops from vectorising).
template <int J, class P0, class... P>
inline P0 nth(P0 p0, P... p) {
  if constexpr (J == 0)
    return p0;
  else
    return nth<J - 1>(p...);
}

// Calls fn(w(g, 0), ..., w(g, K - 1)).
template <int K, class W, class Fn>
inline void withRows(const W& w, int g, Fn&& fn) {
  [&]<int... J>(std::integer_sequence<int, J...>) { fn(w(g, J)...); }
  (std::make_integer_sequence<int, K>());
}

// Calls fn(Idx<0>{}), ..., fn(Idx<N - 1>{}) in order.
template <int N, class Fn>
inline void unroll(Fn&& fn) {
  [&]<int... J>(std::integer_sequence<int, J...>) { (fn(Idx<J>{}), ...); }
  (std::make_integer_sequence<int, N>());
}

// Sum of A[j] * ld(Idx<j>) over the non-zero taps, j ascending, starting
// from the first non-zero product (no zero product is ever formed).
template <const auto& A, int K, class Acc, class L>
inline Acc tapSum(L&& ld) {
  Acc acc{};
  bool started = false;
  unroll<K>([&](auto J) {
    if constexpr (A[J] != 0) {
      const Acc v = (Acc)((Acc)A[J] * (Acc)ld(J));
      acc = started ? (Acc)(acc + v) : v;
      started = true;
    }
  });
  return acc;
}

// ---- separable derivatives -------------------------------------------------

// Row taps A, column taps B. Integer sources: 16-bit rows and 16-bit
// wrapping column sums (every result fits 16 bits). Float: products rounded
// and added in tap order.
template <const auto& A, const auto& B, int K, class S_, class T_>
struct Sep {
  using S = S_;
  using T = T_;
  using D = T_;
  static constexpr int C = 1, Rings = 1;
  static constexpr int k() { return K; }
  static void row(const S* p, T* const* outs, ptrdiff_t off, int n) {
    T* out = outs[0] + off;
#pragma omp simd
    for (int i = 0; i < n; ++i) out[i] = tapSum<A, K, T>([=](auto J) { return (T)p[i + J]; });
  }
  template <class... P>
  static void colRows(D* dst, int n, P... r) {
#pragma omp simd
    for (int i = 0; i < n; ++i) dst[i] = tapSum<B, K, T>([=](auto J) { return nth<J>(r...)[i]; });
  }
  template <class W>
  static void col(const W& w, D* dst, int n) {
    withRows<K>(w, 0, [&](auto... r) { colRows(dst, n, r...); });
  }
};

// Laplacian as the sum of the two second derivatives: ring 0 holds the
// second-difference rows, ring 1 the smoothing rows; result = smoothing
// column of ring 0 + second-difference column of ring 1 (for floats the two
// derivative results are rounded first, then added).
template <const auto& D2, const auto& Sm, int K, class S_, class T_>
struct Lap {
  using S = S_;
  using T = T_;
  using D = T_;
  static constexpr int C = 1, Rings = 2;
  static constexpr int k() { return K; }
  static void row(const S* p, T* const* outs, ptrdiff_t off, int n) {
    T* a = outs[0] + off;
    T* b = outs[1] + off;
#pragma omp simd
    for (int i = 0; i < n; ++i) {
      a[i] = tapSum<D2, K, T>([=](auto J) { return (T)p[i + J]; });
      b[i] = tapSum<Sm, K, T>([=](auto J) { return (T)p[i + J]; });
    }
  }
  // r: K rows of ring 0, then K rows of ring 1.
  template <class... P>
  static void colRows(D* dst, int n, P... r) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
      const T pv = tapSum<Sm, K, T>([=](auto J) { return nth<J>(r...)[i]; });
      const T qv = tapSum<D2, K, T>([=](auto J) { return nth<K + J>(r...)[i]; });
      dst[i] = (T)(pv + qv);
    }
  }
  template <class W>
  static void col(const W& w, D* dst, int n) {
    withRows<K>(w, 0, [&](auto... a) { withRows<K>(w, 1, [&](auto... b) { colRows(dst, n, a..., b...); }); });
  }
};

// 3x3 float Laplacian in its fixed order (((2a + 2c) + -8m) + 2g) + 2i: the
// ring holds bordered source rows (width + 2 elements).
struct Lap3f {
  using S = float;
  using T = float;
  using D = float;
  static constexpr int C = 1, Rings = 1;
  static constexpr bool kBordered = true;
  static constexpr int k() { return 3; }
  static void colRows(D* dst, int n, const float* r0, const float* r1, const float* r2) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
      const float s = 2.0f * r0[i] + 2.0f * r0[i + 2];
      dst[i] = ((s + -8.0f * r1[i + 1]) + 2.0f * r2[i]) + 2.0f * r2[i + 2];
    }
  }
  template <class W>
  static void col(const W& w, D* dst, int n) {
    colRows(dst, n, w(0, 0), w(0, 1), w(0, 2));
  }
};

// ---- low-pass --------------------------------------------------------------

// 8u: exact box sums in 16 bits, then round((float)S * (1.0f / (K * K))).
template <int K, int C_>
struct Box8u {
  using S = Kvp8u;
  using T = uint16_t;
  using D = Kvp8u;
  static constexpr int C = C_, Rings = 1;
  static constexpr int k() { return K; }
  static void row(const S* p, T* const* outs, ptrdiff_t off, int n) {
    T* out = outs[0] + off;
#pragma omp simd
    for (int i = 0; i < n; ++i) {
      T s = p[i];
      for (int j = 1; j < K; ++j) s = (T)(s + p[i + j * C]);
      out[i] = s;
    }
  }
  template <class... P>
  static void colRows(D* dst, int n, P... r) {
    constexpr float recip = 1.0f / (K * K);
#pragma omp simd
    for (int i = 0; i < n; ++i) {
      T s = 0;
      ((s = (T)(s + r[i])), ...);
      // s * recip < 255.5, so adding 1.5 * 2^23 rounds half to even.
      dst[i] = (D)(int)(((float)(int)s * recip + 12582912.0f) - 12582912.0f);
    }
  }
  template <class W>
  static void col(const W& w, D* dst, int n) {
    withRows<K>(w, 0, [&](auto... r) { colRows(dst, n, r...); });
  }
};

// 32f: sums in ascending order, then times the float reciprocal.
template <int K, int C_>
struct Box32f {
  using S = float;
  using T = float;
  using D = float;
  static constexpr int C = C_, Rings = 1;
  static constexpr int k() { return K; }
  static void row(const S* p, T* const* outs, ptrdiff_t off, int n) {
    T* out = outs[0] + off;
#pragma omp simd
    for (int i = 0; i < n; ++i) {
      float s = p[i];
      for (int j = 1; j < K; ++j) s = s + p[i + j * C];
      out[i] = s;
    }
  }
  template <class P0, class... P>
  static void colRows(D* dst, int n, P0 r0, P... r) {
    constexpr float recip = 1.0f / (K * K);
#pragma omp simd
    for (int i = 0; i < n; ++i) {
      float s = r0[i];
      ((s = s + r[i]), ...);
      dst[i] = s * recip;
    }
  }
  template <class W>
  static void col(const W& w, D* dst, int n) {
    withRows<K>(w, 0, [&](auto... r) { colRows(dst, n, r...); });
  }
};

// ---- Gauss -----------------------------------------------------------------

// Integer taps G[0 .. k-1] (symmetric, summing to 2^B); K = the built-in
// side or 0 for any. 8u: rows exact in 16 bits (folded pairs wrap, the sum
// does not), columns in 32 bits. 16u: rows in 32 bits, columns in 64.
template <int K, class S_, int C_>
struct GaussInt {
  using S = S_;
  static constexpr bool k8 = sizeof(S_) == 1;
  using T = std::conditional_t<k8, uint16_t, uint32_t>;
  using A = std::conditional_t<k8, uint32_t, uint64_t>;
  using D = S_;
  static constexpr int C = C_, Rings = 1;
  static constexpr int kShift = k8 ? 16 : 32;
  const int32_t* g;
  int kk;
  int k() const { return K ? K : kk; }
  void row(const S* p, T* const* outs, ptrdiff_t off, int n) const {
    T* out = outs[0] + off;
    const int kn = k(), r = kn / 2;
    if constexpr (K) {
      T tp[K / 2 + 1];
      for (int j = 0; j <= r; ++j) tp[j] = (T)g[r + j];
#pragma omp simd
      for (int i = 0; i < n; ++i) {
        const S* c = p + i + r * C;
        T s = (T)(tp[0] * (T)c[0]);
        for (int j = 1; j <= K / 2; ++j) s = (T)(s + (T)(tp[j] * (T)(c[-j * C] + c[j * C])));
        out[i] = s;
      }
    } else {
      const T g0 = (T)g[r];
#pragma omp simd
      for (int i = 0; i < n; ++i) out[i] = (T)(g0 * (T)p[i + r * C]);
      for (int j = 1; j <= r; ++j) {
        const T gj = (T)g[r + j];
        const S* a = p + (r - j) * C;
        const S* b = p + (r + j) * C;
#pragma omp simd
        for (int i = 0; i < n; ++i) out[i] = (T)(out[i] + (T)(gj * (T)(a[i] + b[i])));
      }
    }
  }
  // 8u columns by pairwise 16-bit multiply-add: with R' = R - 2^15 (the
  // sign bit flipped) every row value fits a signed lane, and since the taps
  // sum to 2^8, sum G R = sum G R' + 2^23. Returns the elements done.
  int colMadd(const T* const* rows, D* dst, int n) const {
#if KVP_BF_AVX2
    using V = __m256i;
    constexpr int L = 16;
#define KVP_BF_V(op) _mm256_##op
#define KVP_BF_SI(op) _mm256_##op##_si256
#else
    using V = __m128i;
    constexpr int L = 8;
#define KVP_BF_V(op) _mm_##op
#define KVP_BF_SI(op) _mm_##op##_si128
#endif
    constexpr int P = (K + 1) / 2;
    V pairs[P];
    for (int q = 0; q < P; ++q) {
      const int lo = g[2 * q], hi = 2 * q + 1 < K ? g[2 * q + 1] : 0;
      pairs[q] = KVP_BF_V(set1_epi32)((int)((uint32_t)lo | ((uint32_t)hi << 16)));
    }
    const V flip = KVP_BF_V(set1_epi16)((short)0x8000);
    const V bias = KVP_BF_V(set1_epi32)((1 << 23) + (1 << 15));
    int e = 0;
    for (; e + L <= n; e += L) {
      V accLo = bias, accHi = bias;
      for (int q = 0; q < P; ++q) {
        const V a = KVP_BF_SI(xor)(flip, KVP_BF_SI(loadu)(reinterpret_cast<const V*>(rows[2 * q] + e)));
        const V b =
            2 * q + 1 < K
                ? KVP_BF_SI(xor)(flip, KVP_BF_SI(loadu)(reinterpret_cast<const V*>(rows[2 * q + 1] + e)))
                : KVP_BF_SI(setzero)();
        accLo = KVP_BF_V(add_epi32)(accLo, KVP_BF_V(madd_epi16)(KVP_BF_V(unpacklo_epi16)(a, b), pairs[q]));
        accHi = KVP_BF_V(add_epi32)(accHi, KVP_BF_V(madd_epi16)(KVP_BF_V(unpackhi_epi16)(a, b), pairs[q]));
      }
      // The in-block pack undoes the in-block interleave.
      const V v16 = KVP_BF_V(packs_epi32)(KVP_BF_V(srai_epi32)(accLo, 16), KVP_BF_V(srai_epi32)(accHi, 16));
      const V v8 = KVP_BF_V(packus_epi16)(v16, v16);
#if KVP_BF_AVX2
      _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + e),
                       _mm256_castsi256_si128(_mm256_permute4x64_epi64(v8, 0x08)));
#else
      _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + e), v8);
#endif
    }
#undef KVP_BF_V
#undef KVP_BF_SI
    return e;
  }

  template <class... P>
  void colRows(D* dst, int n, P... r) const {
    A tp[K];
    for (int j = 0; j < K; ++j) tp[j] = (A)g[j];
#pragma omp simd
    for (int i = 0; i < n; ++i) {
      A s = 0;
      unroll<K>([&, i](auto J) { s += tp[J] * (A)nth<J>(r...)[i]; });
      dst[i] = (D)((s + ((A)1 << (kShift - 1))) >> kShift);
    }
  }
  template <class W>
  void col(const W& w, D* dst, int n) const {
    if constexpr (K && k8) {
      const T* rows[K];
      for (int j = 0; j < K; ++j) rows[j] = w(0, j);
      const int e = colMadd(rows, dst, n);
      withRows<K>(w, 0, [&](auto... r) { colRows(dst + e, n - e, (r + e)...); });
    } else if constexpr (K) {
      withRows<K>(w, 0, [&](auto... r) { colRows(dst, n, r...); });
    } else {
      // Any side: blocks of accumulators, the rows added one after another.
      constexpr int kBlock = 256;
      A acc[kBlock];
      const int kn = k();
      for (int i0 = 0; i0 < n; i0 += kBlock) {
        const int m = n - i0 < kBlock ? n - i0 : kBlock;
        const A g0 = (A)g[0];
        const T* r0 = w(0, 0) + i0;
#pragma omp simd
        for (int i = 0; i < m; ++i) acc[i] = g0 * (A)r0[i];
        for (int j = 1; j < kn; ++j) {
          const A gj = (A)g[j];
          const T* rj = w(0, j) + i0;
#pragma omp simd
          for (int i = 0; i < m; ++i) acc[i] += gj * (A)rj[i];
        }
        D* d = dst + i0;
#pragma omp simd
        for (int i = 0; i < m; ++i) d[i] = (D)((acc[i] + ((A)1 << (kShift - 1))) >> kShift);
      }
    }
  }
};

// Float taps g[0 .. k-1]; both passes in the symmetric form
// t = g_r * e(x), then t = t + g_{r+j} * (e(x - j) + e(x + j)), j ascending.
template <int K, int C_>
struct Gauss32f {
  using S = float;
  using T = float;
  using D = float;
  static constexpr int C = C_, Rings = 1;
  const float* g;
  int kk;
  int k() const { return K ? K : kk; }
  void row(const S* p, T* const* outs, ptrdiff_t off, int n) const {
    T* out = outs[0] + off;
    const int r = k() / 2;
    if constexpr (K) {
      float tp[K / 2 + 1];
      for (int j = 0; j <= r; ++j) tp[j] = g[r + j];
#pragma omp simd
      for (int i = 0; i < n; ++i) {
        const float* c = p + i + r * C;
        float s = tp[0] * c[0];
        for (int j = 1; j <= K / 2; ++j) s = s + tp[j] * (c[-j * C] + c[j * C]);
        out[i] = s;
      }
    } else {
      const float g0 = g[r];
#pragma omp simd
      for (int i = 0; i < n; ++i) out[i] = g0 * p[i + r * C];
      for (int j = 1; j <= r; ++j) {
        const float gj = g[r + j];
        const float* a = p + (r - j) * C;
        const float* b = p + (r + j) * C;
#pragma omp simd
        for (int i = 0; i < n; ++i) out[i] = out[i] + gj * (a[i] + b[i]);
      }
    }
  }
  template <class... P>
  void colRows(D* dst, int n, P... c) const {
    constexpr int R = K / 2;
    float tp[R + 1];
    for (int j = 0; j <= R; ++j) tp[j] = g[R + j];
#pragma omp simd
    for (int i = 0; i < n; ++i) {
      float s = tp[0] * nth<R>(c...)[i];
      unroll<R>([&, i](auto J) { s = s + tp[J + 1] * (nth<R - 1 - J>(c...)[i] + nth<R + 1 + J>(c...)[i]); });
      dst[i] = s;
    }
  }
  template <class W>
  void col(const W& w, D* dst, int n) const {
    if constexpr (K) {
      withRows<K>(w, 0, [&](auto... c) { colRows(dst, n, c...); });
    } else {
      const int r = k() / 2;
      const float g0 = g[r];
      const float* c0 = w(0, r);
#pragma omp simd
      for (int i = 0; i < n; ++i) dst[i] = g0 * c0[i];
      for (int j = 1; j <= r; ++j) {
        const float gj = g[r + j];
        const float* a = w(0, r - j);
        const float* b = w(0, r + j);
#pragma omp simd
        for (int i = 0; i < n; ++i) dst[i] = dst[i] + gj * (a[i] + b[i]);
      }
    }
  }
};

// ---- the band driver ---------------------------------------------------------

template <class F>
constexpr bool isBordered() {
  if constexpr (requires { F::kBordered; })
    return F::kBordered;
  else
    return false;
}

// Row pass of one source row (null: a row of border values) into the rings
// at element offset 0. piece: bordered scratch of at least (W + k - 1) * C
// source elements.
template <class F>
inline void rowPass(const F& f, const typename F::S* srow, int W, int border, const typename F::S* value,
                    typename F::S* piece, typename F::T* const* outs) {
  using S = typename F::S;
  constexpr int C = F::C;
  const int k = f.k(), r = k / 2;
  if constexpr (isBordered<F>()) {
    // The ring keeps the bordered row itself.
    S* o = outs[0];
    if (!srow) {
      for (int i = 0; i < (W + k - 1) * C; ++i) o[i] = value[i % C];
      return;
    }
    filt::extendRow(srow, W, C, border, value, -r, r, o);
    std::memcpy(o + r * C, srow, sizeof(S) * (size_t)W * C);
    filt::extendRow(srow, W, C, border, value, W, r, o + (ptrdiff_t)(W + r) * C);
  } else {
    if (!srow) {
      for (int i = 0; i < (W + k - 1) * C; ++i) piece[i] = value[i % C];
      f.row(piece, outs, 0, W * C);
    } else if (W > 2 * r) {
      filt::extendRow(srow, W, C, border, value, -r, 3 * r, piece);
      f.row(piece, outs, 0, r * C);
      f.row(srow, outs, (ptrdiff_t)r * C, (W - 2 * r) * C);
      filt::extendRow(srow, W, C, border, value, W - 2 * r, 3 * r, piece);
      f.row(piece, outs, (ptrdiff_t)(W - r) * C, r * C);
    } else {
      filt::extendRow(srow, W, C, border, value, -r, W + 2 * r, piece);
      f.row(piece, outs, 0, W * C);
    }
  }
}

// Destination rows [y0, y0 + rows) with slice t of the buffer.
template <class F>
void band(const F& f, const Job& job, int y0, int rows, int t) {
  using S = typename F::S;
  using T = typename F::T;
  using D = typename F::D;
  constexpr int C = F::C, G = F::Rings;
  const int k = f.k(), r = k / 2, W = job.width, H = job.height;
  Kvp8u* slice = job.slices + (ptrdiff_t)t * job.sliceBytes;
  // Ring rows: slot (g, i) for ring g, source row offset i modulo k.
  auto slot = [&](int g, int i) {
    return reinterpret_cast<T*>(slice + (ptrdiff_t)(g * k + i) * job.rowBytes);
  };
  S* piece = reinterpret_cast<S*>(slice + (ptrdiff_t)G * k * job.rowBytes);
  const S* value = reinterpret_cast<const S*>(job.value);
  const S* src = static_cast<const S*>(job.src);
  D* dst = static_cast<D*>(job.dst);
  const int base = job.border;
  T* outs[G];
  const int first = y0 - r;
  for (int yy = first; yy < y0 + rows + r; ++yy) {
    const int i = (yy - first) % k;
    for (int g = 0; g < G; ++g) outs[g] = slot(g, i);
    const S* srow = nullptr;
    if (yy >= 0 && yy < H)
      srow = rowAt(src, job.srcStep, yy);
    else if (base != filt::kBorderConst)
      srow = rowAt(src, job.srcStep, filt::borderIndex(yy, H, base));
    rowPass(f, srow, W, base, value, piece, outs);
    const int y = yy - r;
    if (y < y0) continue;
    // Window rows y - r .. y + r sit in slots (y - r - first + j) % k.
    const int j0 = (y - r - first) % k;
    const auto win = [&](int g, int j) -> const T* {
      const int s = j0 + j;
      return slot(g, s < k ? s : s - k);
    };
    f.col(win, rowAt(dst, job.dstStep, y), W * C);
  }
}

}  // namespace KVP_BF_ISA
}  // namespace kvp::bf

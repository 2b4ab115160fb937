// Plain per-pixel reference of the derivative and smoothing filters with
// borders, shared by the unit tests and the fuzz target. Every result is
// computed from the extended source e(x, y) straight from its definition:
// integer masks as full 2-D correlations, float sums in their fixed order.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "kvpcv.h"

namespace bref {

enum Op {
  SobelHoriz,
  SobelVert,
  SobelHorizSecond,
  SobelVertSecond,
  SobelCross,
  SobelNegVert,
  ScharrHoriz,
  ScharrVert,
  Laplacian,
  kOps
};

inline const char* opName(int op) {
  static const char* names[] = {"SobelHoriz",      "SobelVert",  "SobelHorizSecond",
                                "SobelVertSecond", "SobelCross", "SobelNegVert",
                                "ScharrHoriz",     "ScharrVert", "Laplacian"};
  return names[op];
}

// Index map of a line of length n for border codes 1..4 (total, periodic).
inline int mapIndex(long long x, long long n, int border) {
  if (x >= 0 && x < n) return (int)x;
  auto mod = [](long long a, long long m) { return ((a % m) + m) % m; };
  switch (border) {
    case 1:
      return x < 0 ? 0 : (int)n - 1;
    case 2:
      return (int)mod(x, n);
    case 3: {
      if (n == 1) return 0;
      const long long q = mod(x, 2 * n - 2);
      return (int)(q < n ? q : 2 * n - 2 - q);
    }
    default: {
      const long long q = mod(x, 2 * n);
      return (int)(q < n ? q : 2 * n - 1 - q);
    }
  }
}

// A source plane seen through the border rule.
template <class S>
struct Ext {
  const S* src;
  int step;  // bytes
  int w, h, ch, border;
  const S* value;  // ch values, read for border 0 only
  S operator()(long long x, long long y, int c) const {
    if (border == 0 && (x < 0 || x >= w || y < 0 || y >= h)) return value[c];
    const int xx = mapIndex(x, w, border), yy = mapIndex(y, h, border);
    return reinterpret_cast<const S*>(reinterpret_cast<const char*>(src) + (long long)step * yy)[xx * ch + c];
  }
};

// Row taps a and column taps b of a separable mask (k = 3 or 5).
struct Sep {
  int a[5], b[5];
};

inline Sep sepOf(int op, int k) {
  // Rows: smoothing, difference, negated difference, second difference, Scharr smoothing.
  static const int t3[5][5] = {{1, 2, 1}, {-1, 0, 1}, {1, 0, -1}, {1, -2, 1}, {3, 10, 3}};
  static const int t5[5][5] = {{1, 4, 6, 4, 1}, {-1, -2, 0, 2, 1}, {1, 2, 0, -2, -1}, {1, 0, -2, 0, 1}};
  // (row, column) of SobelHoriz .. ScharrVert in enum order.
  static const int use[8][2] = {{0, 2}, {1, 0}, {0, 3}, {3, 0}, {1, 1}, {2, 0}, {4, 2}, {1, 4}};
  const int(*t)[5] = k == 3 ? t3 : t5;
  Sep s{};
  for (int j = 0; j < k; ++j) s.a[j] = t[use[op][0]][j], s.b[j] = t[use[op][1]][j];
  return s;
}

// The k x k mask M[i][j] (Laplacian: the sum of the two second derivatives).
inline std::vector<int> maskOf(int op, int k) {
  std::vector<int> m(k * k, 0);
  auto add = [&](int o) {
    const Sep s = sepOf(o, k);
    for (int i = 0; i < k; ++i)
      for (int j = 0; j < k; ++j) m[i * k + j] += s.b[i] * s.a[j];
  };
  if (op == Laplacian) {
    add(SobelVertSecond);
    add(SobelHorizSecond);
  } else {
    add(op);
  }
  return m;
}

// Integer derivative: the exact 2-D correlation.
template <class S>
void derivInt(const Ext<S>& e, int op, int k, Kvp16s* dst, int dstStep) {
  const std::vector<int> m = maskOf(op, k);
  const int r = k / 2;
  for (int y = 0; y < e.h; ++y) {
    Kvp16s* d = reinterpret_cast<Kvp16s*>(reinterpret_cast<char*>(dst) + (long long)dstStep * y);
    for (int x = 0; x < e.w; ++x) {
      long long s = 0;
      for (int i = 0; i < k; ++i)
        for (int j = 0; j < k; ++j) s += (long long)m[i * k + j] * e(x - r + j, y - r + i, 0);
      d[x] = (Kvp16s)s;
    }
  }
}

// Float separable pass: non-zero taps in ascending order, from the first
// non-zero product.
inline float tapOrder(const int* t, int k, const float* v) {
  float acc = 0;
  bool started = false;
  for (int j = 0; j < k; ++j)
    if (t[j] != 0) {
      const float p = (float)t[j] * v[j];
      acc = started ? acc + p : p;
      started = true;
    }
  return acc;
}

inline float sep32f(const Ext<float>& e, const Sep& s, int k, int x, int y) {
  const int r = k / 2;
  float t[5], v[5];
  for (int i = 0; i < k; ++i) {
    for (int j = 0; j < k; ++j) v[j] = e(x - r + j, y - r + i, 0);
    t[i] = tapOrder(s.a, k, v);
  }
  return tapOrder(s.b, k, t);
}

inline void deriv32f(const Ext<float>& e, int op, int k, float* dst, int dstStep) {
  for (int y = 0; y < e.h; ++y) {
    float* d = reinterpret_cast<float*>(reinterpret_cast<char*>(dst) + (long long)dstStep * y);
    for (int x = 0; x < e.w; ++x) {
      float v;
      if (op == Laplacian && k == 3) {
        const float a = e(x - 1, y - 1, 0), c = e(x + 1, y - 1, 0), m = e(x, y, 0), g = e(x - 1, y + 1, 0),
                    i = e(x + 1, y + 1, 0);
        v = (((2 * a + 2 * c) + (-8 * m)) + 2 * g) + 2 * i;
      } else if (op == Laplacian) {
        v = sep32f(e, sepOf(SobelVertSecond, 5), 5, x, y) + sep32f(e, sepOf(SobelHorizSecond, 5), 5, x, y);
      } else {
        v = sep32f(e, sepOf(op, k), k, x, y);
      }
      d[x] = v;
    }
  }
}

template <class T>
T* rowOf(T* base, int step, int y) {
  return reinterpret_cast<T*>(reinterpret_cast<char*>(base) + (long long)step * y);
}

inline void lowpass8u(const Ext<Kvp8u>& e, int k, Kvp8u* dst, int dstStep) {
  const int r = k / 2;
  for (int y = 0; y < e.h; ++y)
    for (int x = 0; x < e.w; ++x)
      for (int c = 0; c < e.ch; ++c) {
        int s = 0;
        for (int i = -r; i <= r; ++i)
          for (int j = -r; j <= r; ++j) s += e(x + j, y + i, c);
        rowOf(dst, dstStep, y)[x * e.ch + c] = (Kvp8u)std::nearbyint((float)s * (1.0f / (float)(k * k)));
      }
}

inline void lowpass32f(const Ext<float>& e, int k, float* dst, int dstStep) {
  const int r = k / 2;
  const float recip = 1.0f / (float)(k * k);
  for (int y = 0; y < e.h; ++y)
    for (int x = 0; x < e.w; ++x)
      for (int c = 0; c < e.ch; ++c) {
        float u = 0;
        for (int i = -r; i <= r; ++i) {
          float t = e(x - r, y + i, c);
          for (int j = -r + 1; j <= r; ++j) t = t + e(x + j, y + i, c);
          u = i == -r ? t : u + t;
        }
        rowOf(dst, dstStep, y)[x * e.ch + c] = u * recip;
      }
}

// Gauss weights in double and their sum in index order.
inline std::vector<double> gaussWeights(int k, float sigma, double* sum) {
  std::vector<double> t(k);
  const double s = sigma, q = -0.5 / (s * s);
  *sum = 0;
  for (int i = 0; i < k; ++i) {
    const double x = i - k / 2;
    t[i] = std::exp((q * x) * x);
  }
  for (int i = 0; i < k; ++i) *sum += t[i];
  return t;
}

inline std::vector<float> gaussTaps32f(int k, float sigma) {
  double sum;
  const std::vector<double> t = gaussWeights(k, sigma, &sum);
  std::vector<float> g(k);
  for (int i = 0; i < k; ++i) g[i] = (float)(t[i] * (1.0 / sum));
  return g;
}

inline std::vector<long long> gaussTapsInt(int k, float sigma, int bits) {
  double sum;
  const std::vector<double> t = gaussWeights(k, sigma, &sum);
  std::vector<long long> g(k);
  const int r = k / 2;
  double err = 0;
  long long outer = 0;
  for (int i = 0; i < r; ++i) {
    const double v = (t[i] / sum) * std::ldexp(1.0, bits) + err;
    g[i] = g[k - 1 - i] = (long long)std::floor(v + 0.5);
    err = v - (double)g[i];
    outer += g[i];
  }
  g[r] = (1LL << bits) - 2 * outer;
  return g;
}

// 8u (bits 8) and 16u (bits 16): exact sums, (S + 2^(2b-1)) >> 2b.
template <class S>
void gaussInt(const Ext<S>& e, int k, float sigma, S* dst, int dstStep) {
  const int bits = sizeof(S) == 1 ? 8 : 16, r = k / 2;
  const std::vector<long long> g = gaussTapsInt(k, sigma, bits);
  for (int y = 0; y < e.h; ++y)
    for (int x = 0; x < e.w; ++x)
      for (int c = 0; c < e.ch; ++c) {
        unsigned long long s = 0;
        for (int i = 0; i < k; ++i) {
          unsigned long long row = 0;
          for (int j = 0; j < k; ++j) row += (unsigned long long)g[j] * e(x + j - r, y + i - r, c);
          s += (unsigned long long)g[i] * row;
        }
        rowOf(dst, dstStep, y)[x * e.ch + c] = (S)((s + (1ULL << (2 * bits - 1))) >> (2 * bits));
      }
}

inline void gauss32f(const Ext<float>& e, int k, float sigma, float* dst, int dstStep) {
  const std::vector<float> g = gaussTaps32f(k, sigma);
  const int r = k / 2;
  std::vector<float> t(k);
  for (int y = 0; y < e.h; ++y)
    for (int x = 0; x < e.w; ++x)
      for (int c = 0; c < e.ch; ++c) {
        for (int i = 0; i < k; ++i) {
          const long long yy = y + i - r;
          float v = g[r] * e(x, yy, c);
          for (int j = 1; j <= r; ++j) v = v + g[r + j] * (e(x - j, yy, c) + e(x + j, yy, c));
          t[i] = v;
        }
        float v = g[r] * t[r];
        for (int i = 1; i <= r; ++i) v = v + g[r + i] * (t[r - i] + t[r + i]);
        rowOf(dst, dstStep, y)[x * e.ch + c] = v;
      }
}

// Buffer bytes a query must report for n threads: 64 (+ A64(4k) for Gauss)
// + n x rows x A64(4 c (W + k - 1)).
inline long long bufferBytes(int width, int channels, int k, int n, bool laplacian, bool gauss) {
  auto a64 = [](long long b) { return (b + 63) / 64 * 64; };
  const double slice =
      (laplacian ? 2.0 * k + 1 : k + 1.0) * (double)a64(4LL * channels * ((long long)width + k - 1));
  if (slice > 1e12) return 1LL << 40;  // past any int
  return 64 + (gauss ? a64(4LL * k) : 0) + n * (long long)slice;
}

}  // namespace bref

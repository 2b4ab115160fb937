// Plain reference of the pyramid layers, written pixel by pixel from the
// formulas: sizes from the fixed-point rate, the separable smoothing sums
// evaluated directly for every sample a destination pixel needs, the
// integral-position rule for integer data and the linear interpolation in
// single precision. Shared by the unit tests and the fuzz target.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "kvpcv.h"

namespace kvpref {

inline bool layerRateOk(float r) { return r > 1.0f && r <= 10.0f; }
inline long long layerM(float r) { return (long long)((double)r * 8388608.0); }
inline long long layerDownLen(long long n, float r) { return ((n - 1) << 23) / layerM(r) + 1; }
inline long long layerUpMin(long long n, float r) {
  const long long p = (n - 1) * layerM(r);
  return p / 8388608 + (p % 8388608 != 0) + 1;
}
inline long long layerUpMax(long long n, float r) {
  const long long p = n * layerM(r);
  return p / 8388608 + (p % 8388608 != 0);
}

inline int layerClamp(int i, int n) { return i < 0 ? 0 : (i >= n ? n - 1 : i); }

template <class T>
constexpr double layerMax = std::is_same_v<T, Kvp8u> ? 255.0 : 65535.0;

template <class T>
T layerToInt(float v) {
  const float m = (float)layerMax<T>;
  v = v < 0.0f ? 0.0f : (v > m ? m : v);
  return (T)std::nearbyint(v);
}

// A kernel as the layer uses it: integer taps (8u/16u) or normalised float
// taps (32f).
struct LayerKernel {
  std::vector<long long> ti;
  std::vector<float> tf;  // normalised (32f) or the integer taps as floats
  long long D = 1;
  int k() const { return (int)tf.size(); }
};

inline LayerKernel layerKernelInt(const std::vector<Kvp16s>& taps) {
  LayerKernel K;
  long long T = 0;
  for (Kvp16s t : taps) {
    K.ti.push_back(t);
    K.tf.push_back((float)t);
    T += t;
  }
  K.D = T * T;
  return K;
}
inline LayerKernel layerKernelFloat(const std::vector<float>& taps) {
  LayerKernel K;
  float T = 0.0f;
  for (float t : taps) T = T + t;
  for (float t : taps) K.tf.push_back(t / T);
  return K;
}

template <class T>
const T& layerPix(const T* p, int step, int x, int y, int C, int ch) {
  return reinterpret_cast<const T*>(reinterpret_cast<const unsigned char*>(p) +
                                    (long long)step * y)[x * C + ch];
}
template <class T>
T& layerPix(T* p, int step, int x, int y, int C, int ch) {
  return reinterpret_cast<T*>(reinterpret_cast<unsigned char*>(p) + (long long)step * y)[x * C + ch];
}

// Smoothed source sample S(i, j) of channel ch: exact integer for integer
// data, single-precision sums in tap order for float data.
template <class T>
double layerSmooth(const T* src, int step, int W, int H, int C, int ch, const LayerKernel& K, int i, int j) {
  const int k = K.k(), a = (k - 1) / 2;
  if constexpr (std::is_same_v<T, Kvp32f>) {
    float s = 0.0f;
    for (int v = 0; v < k; ++v) {
      const int jj = layerClamp(j - a + v, W);
      float V = K.tf[0] * layerPix(src, step, jj, layerClamp(i - a, H), C, ch);
      for (int u = 1; u < k; ++u) V = V + K.tf[u] * layerPix(src, step, jj, layerClamp(i - a + u, H), C, ch);
      s = v == 0 ? K.tf[0] * V : s + K.tf[v] * V;
    }
    return s;
  } else {
    long long s = 0;
    for (int v = 0; v < k; ++v) {
      const int jj = layerClamp(j - a + v, W);
      long long V = 0;
      for (int u = 0; u < k; ++u) V += K.ti[u] * layerPix(src, step, jj, layerClamp(i - a + u, H), C, ch);
      s += K.ti[v] * V;
    }
    return (double)s;
  }
}

// The down layer into dst (w x h = the down size of W x H).
template <class T>
void layerDownRef(const T* src, int srcStep, int W, int H, int C, T* dst, int dstStep, float rate,
                  const LayerKernel& K) {
  const long long M = layerM(rate);
  const int w = (int)layerDownLen(W, rate), h = (int)layerDownLen(H, rate);
  for (int y = 0; y < h; ++y) {
    const long long Y = y * M;
    const int iy = (int)(Y >> 23);
    const float fy = (float)(Y & 0x7fffff) / 8388608.0f;
    for (int x = 0; x < w; ++x) {
      const long long X = x * M;
      const int ix = (int)(X >> 23);
      const float fx = (float)(X & 0x7fffff) / 8388608.0f;
      for (int ch = 0; ch < C; ++ch) {
        auto S = [&](int i, int j) { return layerSmooth(src, srcStep, W, H, C, ch, K, i, j); };
        T& out = layerPix(dst, dstStep, x, y, C, ch);
        if (!std::is_same_v<T, Kvp32f> && fx == 0.0f && fy == 0.0f) {
          const long long n = (long long)S(iy, ix) + K.D / 2;
          long long q = n / K.D - ((n % K.D != 0) && n < 0);
          q = q < 0 ? 0 : (q > (long long)layerMax<T> ? (long long)layerMax<T> : q);
          out = (T)q;
          continue;
        }
        // (float) of an exact integer held in a double rounds like the
        // integer itself.
        const float s00 = (float)S(iy, ix);
        const float t0 = fx != 0.0f ? s00 + fx * ((float)S(iy, ix + 1) - s00) : s00;
        float v = t0;
        if (fy != 0.0f) {
          const float s10 = (float)S(iy + 1, ix);
          const float t1 = fx != 0.0f ? s10 + fx * ((float)S(iy + 1, ix + 1) - s10) : s10;
          v = t0 + fy * (t1 - t0);
        }
        if constexpr (std::is_same_v<T, Kvp32f>)
          out = v;
        else
          out = layerToInt<T>(v * (1.0f / (float)K.D));
      }
    }
  }
}

// The up layer into dst (w x h within the up range of W x H).
template <class T>
void layerUpRef(const T* src, int srcStep, int W, int H, int C, T* dst, int dstStep, int w, int h, float rate,
                const LayerKernel& K) {
  const long long M = layerM(rate);
  const int k = K.k(), a = (k - 1) / 2;
  auto pos = [&](int X, int& i, float& f) {
    const long long Q = (long long)X << 23;
    i = (int)(Q / M);
    f = (float)(Q - i * M) / (float)M;
  };
  for (int ch = 0; ch < C; ++ch) {
    std::vector<float> g((size_t)w * h), c((size_t)w * h);
    for (int Y = 0; Y < h; ++Y) {
      int iy;
      float fy;
      pos(Y, iy, fy);
      const int iy1 = layerClamp(iy + 1, H);
      for (int X = 0; X < w; ++X) {
        int ix;
        float fx;
        pos(X, ix, fx);
        const int ix1 = layerClamp(ix + 1, W);
        auto e = [&](int i) {
          const float s0 = (float)layerPix(src, srcStep, ix, i, C, ch);
          const float s1 = (float)layerPix(src, srcStep, ix1, i, C, ch);
          return s0 + fx * (s1 - s0);
        };
        const float e0 = e(iy), e1 = e(iy1);
        g[(size_t)Y * w + X] = e0 + fy * (e1 - e0);
      }
    }
    for (int Y = 0; Y < h; ++Y)
      for (int X = 0; X < w; ++X) {
        float s = K.tf[0] * g[(size_t)layerClamp(Y - a, h) * w + X];
        for (int u = 1; u < k; ++u) s = s + K.tf[u] * g[(size_t)layerClamp(Y - a + u, h) * w + X];
        c[(size_t)Y * w + X] = s;
      }
    for (int Y = 0; Y < h; ++Y)
      for (int X = 0; X < w; ++X) {
        float s = K.tf[0] * c[(size_t)Y * w + layerClamp(X - a, w)];
        for (int v = 1; v < k; ++v) s = s + K.tf[v] * c[(size_t)Y * w + layerClamp(X - a + v, w)];
        T& out = layerPix(dst, dstStep, X, Y, C, ch);
        if constexpr (std::is_same_v<T, Kvp32f>)
          out = s;
        else
          out = layerToInt<T>(s * (1.0f / (float)K.D));
      }
  }
}

}  // namespace kvpref

// Pixel content, plane handling and result comparison shared by the filter
// and pyramid targets: a small generator that fills planes of any size from
// a few input bytes, planes that are real or traps, the clamp-then-round-
// half-even store of the integer results, and a checker for float sums whose
// order of addition is the library's choice.
//
// Nothing here carries coverage instrumentation: these loops tell the
// fuzzer nothing that the library's own branches do not, and would cost
// most of each run. Include this header instead of fuzz_support.h.
#pragma once

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "fuzz_support.h"

#pragma clang attribute push(__attribute__((no_sanitize("coverage"))), apply_to = function)

namespace kvf {

// xorshift64*: pixels of planes far larger than the input. The mode picks
// the distribution: any bits, the extremes of the type, small values, or
// one constant.
class Filler {
 public:
  explicit Filler(Reader& in) : mode_(in.byte() % 4), s_(in.raw<uint64_t>() | 1) { constant_ = next(); }

  template <class T>
  T value() {
    const uint64_t r = next();
    if constexpr (std::is_floating_point_v<T>) {
      switch (mode_) {
        case 0:
          return (r & 7) == 0 ? special((uint32_t)(r >> 8)) : fromBits((uint32_t)(r >> 32));
        case 1:
          return (float)((int)(r >> 40) % 2000001 - 1000000) / 64.f;
        case 2:
          return (float)((int)(r >> 40) % 9 - 4);
        default:
          return (float)((int)(constant_ >> 40) % 513 - 256) / 4.f;
      }
    } else {
      using L = std::numeric_limits<T>;
      switch (mode_) {
        case 0:
          return (T)(r >> 32);
        case 1: {
          const T pick[] = {L::min(), L::max(), T(0), T(L::min() + 1), T(L::max() - 1)};
          return pick[(r >> 32) % 5];
        }
        case 2:
          return (T)((int)((r >> 32) % 9) - (L::is_signed ? 4 : 0));
        default:
          return (T)(constant_ >> 32);
      }
    }
  }

 private:
  static float fromBits(uint32_t u) {
    float f;
    std::memcpy(&f, &u, 4);
    return f;
  }
  static float special(uint32_t r) {
    static const float s[] = {0.f,
                              -0.f,
                              std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity(),
                              std::numeric_limits<float>::quiet_NaN(),
                              FLT_MAX,
                              -FLT_MAX,
                              FLT_TRUE_MIN,
                              -FLT_MIN};
    return s[r % 9];
  }
  uint64_t next() {
    s_ ^= s_ >> 12;
    s_ ^= s_ << 25;
    s_ ^= s_ >> 27;
    return s_ * 0x2545F4914F6CDD1DULL;
  }
  uint8_t mode_;
  uint64_t s_, constant_ = 0;
};

// Clamp to [lo, hi], then round half to even.
inline long clampRoundEven(double v, double lo, double hi) {
  v = v < lo ? lo : (v > hi ? hi : v);
  return std::lrint(v);
}

// A float sum of weighted terms, added up in double beside the magnitudes,
// so that any order of single-precision addition can be judged: the result
// must lie within a bound of the exact sum, or be the NaN or infinity that
// every order gives. Where single-precision overflow depends on the order,
// nothing is required.
class FloatSum {
 public:
  void add(double weight, float v) {
    ++terms_;
    if (std::isnan(weight) || std::isnan(v)) {
      nan_ = true;
    } else if (std::isinf(weight) || std::isinf(v)) {
      if (weight == 0.0 || v == 0.f)
        nan_ = true;  // 0 x inf
      else
        ((weight > 0) == (v > 0) ? posInf_ : negInf_) = true;
    } else {
      sum_ += weight * v;
      mag_ += std::fabs(weight * v);
    }
  }
  // scale: the power of two the sum is multiplied by at the end.
  bool matches(float got, double scale = 1.0) const {
    if (nan_ || (posInf_ && negInf_)) return std::isnan(got);
    if (mag_ >= 1e37) return true;  // whether a partial sum overflows depends on the order
    if (posInf_) return std::isinf(got) && got > 0;
    if (negInf_) return std::isinf(got) && got < 0;
    if (!std::isfinite(got)) return false;
    const double tol = (terms_ + 2) * ((double)FLT_EPSILON * mag_ * scale + (double)FLT_TRUE_MIN);
    return std::fabs((double)got - sum_ * scale) <= tol;
  }
  double exact() const { return sum_; }

 private:
  double sum_ = 0, mag_ = 0;
  int terms_ = 0;
  bool nan_ = false, posInf_ = false, negInf_ = false;
};

// A plane as GuardedPlane lays it out, or a trap when it cannot be.
inline GuardedPlane planeOrTrap(bool real, long long rowBytes, long long rows, long long step, size_t lead,
                                uint8_t seed) {
  if (!real) return GuardedPlane::trap(seed);
  return GuardedPlane((size_t)rowBytes, (int)rows, (size_t)step, lead, seed);
}

// Pixels from the generator (elems elements of T per row), then armed.
template <class T>
void fillPlane(GuardedPlane& p, long long elems, Filler& f) {
  for (int y = 0; y < p.rows(); ++y)
    for (long long e = 0; e < elems; ++e) {
      const T v = f.value<T>();
      std::memcpy(p.row(y) + e * sizeof(T), &v, sizeof(T));
    }
  p.arm();
}

// Element e of a row that may be misaligned for T.
template <class T>
T load(const uint8_t* row, long long e) {
  T v;
  std::memcpy(&v, row + e * sizeof(T), sizeof(T));
  return v;
}

// The pixel bytes of every row, one after another.
inline std::vector<uint8_t> pixels(const GuardedPlane& p) {
  std::vector<uint8_t> out;
  for (int y = 0; y < p.rows(); ++y) out.insert(out.end(), p.row(y), p.row(y) + p.rowBytes());
  return out;
}

// Fills the pixels with a pattern and arms the plane: results must be
// written over it.
inline void scribble(GuardedPlane& p, uint8_t seed) {
  for (int y = 0; y < p.rows(); ++y)
    for (size_t i = 0; i < p.rowBytes(); ++i) p.row(y)[i] = (uint8_t)(seed + 31 * i + y);
  p.arm();
}

// A step near a row's bytes: padded by whole elements, by any bytes, one
// element short, exact, or anything at all.
inline int readStep(Reader& in, long long rowBytes, int elem) {
  switch (in.byte() % 8) {
    case 4:
      return (int)(rowBytes + in.intIn(-3, 9));
    case 5:
      return (int)(rowBytes - elem);
    case 6:
      return in.raw<int32_t>();
    case 7:
      return (int)rowBytes;
    default:
      return (int)(rowBytes + (long long)elem * in.intIn(0, 8));
  }
}

}  // namespace kvf
#pragma clang attribute pop

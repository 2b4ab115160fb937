// Test harness shared by every family: guarded image planes, random data,
// thread-count scopes and bit-exact comparison.
//
// A Plane<T> lives inside a larger byte buffer: its first pixel sits at a
// chosen (by default random, element-aligned but not vector-aligned) offset,
// rows are padded to a step larger than the row, and every byte that is not
// a ROI pixel is guard. After a call, sameOutsideRoi() proves nothing was
// written outside the ROI, and unchanged() that nothing was written at all.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "kvpcv.h"

namespace kvt {

using Rng = std::mt19937_64;

inline Rng makeRng(uint64_t salt = 0) { return Rng(0x6b7670637620ull ^ (salt * 0x9e3779b97f4a7c15ull)); }

template <class T>
class Plane {
 public:
  // padBytes < 0: a random pad of whole elements; offsetElems < 0: random.
  Plane(int width, int height, int channels, Rng& rng, int padBytes = -1, int offsetElems = -1)
      : w_(width), h_(height), ch_(channels) {
    std::uniform_int_distribution<int> pad(0, 5);
    const int rowBytes = width * channels * (int)sizeof(T);
    step_ = rowBytes + (padBytes >= 0 ? padBytes : pad(rng) * (int)sizeof(T));
    const int off = (offsetElems >= 0 ? offsetElems : pad(rng)) * (int)sizeof(T);
    lead_ = 64 + off;
    bytes_.resize((size_t)lead_ + (size_t)step_ * (height > 0 ? height : 1) + 64);
    for (size_t i = 0; i < bytes_.size(); ++i) bytes_[i] = (uint8_t)(0xA5 ^ (i * 31));
  }

  T* roi() { return reinterpret_cast<T*>(bytes_.data() + lead_); }
  const T* roi() const { return reinterpret_cast<const T*>(bytes_.data() + lead_); }
  int step() const { return step_; }
  int width() const { return w_; }
  int height() const { return h_; }
  int channels() const { return ch_; }
  KvpiSize size() const { return {w_, h_}; }

  T* row(int y) { return reinterpret_cast<T*>(bytes_.data() + lead_ + (size_t)step_ * y); }
  const T* row(int y) const { return reinterpret_cast<const T*>(bytes_.data() + lead_ + (size_t)step_ * y); }
  T& at(int x, int y, int c = 0) { return row(y)[x * ch_ + c]; }
  const T& at(int x, int y, int c = 0) const { return row(y)[x * ch_ + c]; }

  template <class Gen>
  void fill(Gen&& gen) {
    for (int y = 0; y < h_; ++y)
      for (int i = 0; i < w_ * ch_; ++i) row(y)[i] = (T)gen();
  }

  const std::vector<uint8_t>& bytes() const { return bytes_; }

  // Every byte outside the ROI rows equals the snapshot.
  bool sameOutsideRoi(const std::vector<uint8_t>& before) const {
    const size_t rowBytes = (size_t)w_ * ch_ * sizeof(T);
    for (size_t i = 0; i < bytes_.size(); ++i) {
      if (i >= (size_t)lead_ && h_ > 0) {
        const size_t rel = i - lead_;
        const size_t y = rel / step_, x = rel % step_;
        if (y < (size_t)h_ && x < rowBytes) continue;
      }
      if (bytes_[i] != before[i]) return false;
    }
    return true;
  }
  bool unchanged(const std::vector<uint8_t>& before) const { return bytes_ == before; }

 private:
  int w_, h_, ch_, step_, lead_;
  std::vector<uint8_t> bytes_;
};

// ROI contents equal bit for bit; reports the first difference.
template <class T>
::testing::AssertionResult sameRoi(const Plane<T>& a, const Plane<T>& b) {
  for (int y = 0; y < a.height(); ++y)
    if (std::memcmp(a.row(y), b.row(y), (size_t)a.width() * a.channels() * sizeof(T)) != 0) {
      for (int i = 0; i < a.width() * a.channels(); ++i)
        if (std::memcmp(&a.row(y)[i], &b.row(y)[i], sizeof(T)) != 0)
          return ::testing::AssertionFailure() << "first difference at element " << i << ", row " << y << ": "
                                               << +a.row(y)[i] << " vs " << +b.row(y)[i];
    }
  return ::testing::AssertionSuccess();
}

// Sets the library's thread count for a scope.
class Threads {
 public:
  explicit Threads(int n) {
    kvpGetNumThreads(&old_);
    kvpSetNumThreads(n);
  }
  ~Threads() { kvpSetNumThreads(old_); }

 private:
  int old_ = 1;
};

// KVT_SMALL=1 in the environment trims the sweeps below to small images,
// for runs under slow checkers (valgrind).
inline bool smallRun() {
  static const bool small = std::getenv("KVT_SMALL") != nullptr;
  return small;
}

inline const std::vector<int>& threadCounts() {
  static const std::vector<int> counts = smallRun() ? std::vector<int>{1, 2} : std::vector<int>{1, 2, 3, 8};
  return counts;
}

// A sweep of sizes: degenerate shapes, odd widths, and both sides of the
// 262144-pixel threading threshold.
inline const std::vector<KvpiSize>& sizeSweep() {
  static const std::vector<KvpiSize> all = {
      {1, 1},  {1, 7},    {7, 1},    {2, 2},     {3, 5},      {15, 4},     {16, 16},    {17, 9},   {31, 33},
      {64, 3}, {127, 65}, {333, 41}, {511, 512}, {1000, 262}, {1024, 256}, {1, 262144}, {641, 411}};
  static const std::vector<KvpiSize> small = {{1, 1}, {1, 7}, {7, 1}, {3, 5}, {17, 9}, {31, 33}, {64, 3}};
  return smallRun() ? small : all;
}

inline std::string describe(KvpiSize s) { return std::to_string(s.width) + "x" + std::to_string(s.height); }

}  // namespace kvt

// Helpers shared by the libFuzzer targets: a front-to-back reader over the
// fuzz input, guard-padded plane allocations, and the set of statuses the
// library may return.
//
// A GuardedPlane is one heap block laid out exactly like a caller's plane:
// `lead` guard bytes, then `rows` rows of `rowBytes` bytes spaced `step`
// bytes apart, and nothing after the last row, so the allocator's own
// redzone sits right behind the plane. Every byte that is not a pixel of the
// plane is a guard: it holds a known pattern, and under AddressSanitizer it
// is poisoned as far as the shadow granularity allows, so reads as well as
// writes outside the plane are reported. A trap plane has no pixels at all:
// any access through its pointer is a report.
#pragma once

#include <sanitizer/asan_interface.h>

// The standard headers the references use come first: a redeclaration
// inside KVF_REF_BEGIN/END of a function defined before would be a warning.
#include <algorithm>
#include <array>
#include <cfenv>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <functional>
#include <initializer_list>
#include <limits>
#include <map>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

#include "kvpcv.h"

// Stops the run with a message; libFuzzer records the input as a crash.
#define KVF_REQUIRE(cond, ...)                                                              \
  do {                                                                                      \
    if (!(cond)) {                                                                          \
      std::fprintf(stderr, "%s:%d: requirement failed: %s\n  ", __FILE__, __LINE__, #cond); \
      std::fprintf(stderr, __VA_ARGS__);                                                    \
      std::fprintf(stderr, "\n");                                                           \
      std::abort();                                                                         \
    }                                                                                       \
  } while (0)

// For the targets' own loops (references, guard scans): no coverage
// feedback from them, so that the fuzzer steers by the library alone and
// they run at full speed.
#define KVF_NO_COVERAGE __attribute__((no_sanitize("coverage")))
// The shared references (tests/<family>/*_ref.h) mark their loops with this.
#define KVT_REF_LOOP KVF_NO_COVERAGE
// Around a reference header's #include: none of its functions gets coverage
// instrumentation, whether or not it marks its loops (an instrumented
// reference costs most of each run and steers the fuzzer by its own
// branches).
#define KVF_REF_BEGIN \
  _Pragma("clang attribute push(__attribute__((no_sanitize(\"coverage\"))), apply_to = function)")
#define KVF_REF_END _Pragma("clang attribute pop")

// The helpers carry no coverage instrumentation: the fuzzer steers by the
// library's branches, and the helpers' loops run at full speed.
KVF_REF_BEGIN
namespace kvf {

// Reads the input from the front; past its end every read gives zeros, so
// each input, however short, is one complete case.
class Reader {
 public:
  Reader(const uint8_t* data, size_t size) : p_(data), n_(size) {}

  template <class T>
  T raw() {
    T v{};
    unsigned char bytes[sizeof(T)] = {};
    const size_t k = n_ < sizeof(T) ? n_ : sizeof(T);
    if (k) std::memcpy(bytes, p_, k);
    p_ += k;
    n_ -= k;
    std::memcpy(&v, bytes, sizeof(T));
    return v;
  }
  uint8_t byte() { return raw<uint8_t>(); }
  bool flag() { return byte() & 1; }
  // A value in [lo, hi] from two bytes (lo when the input is exhausted).
  int intIn(int lo, int hi) {
    const unsigned span = (unsigned)((long long)hi - lo + 1);
    return (int)((long long)lo + raw<uint16_t>() % span);
  }
  // Mostly one of the values that break careless code, else any bits.
  float pickFloat() {
    static const uint32_t special[] = {
        0x00000000u,  // +0
        0x80000000u,  // -0
        0x3f800000u,  // 1
        0xbf800000u,  // -1
        0x00000001u,  // smallest subnormal
        0x7f7fffffu,  // largest finite
        0xff7fffffu,  // most negative finite
        0x7f800000u,  // +inf
        0xff800000u,  // -inf
        0x7fc00000u,  // quiet NaN
        0xffc00001u,  // negative NaN with payload
        0x7f800001u,  // signalling NaN
        0x4b800000u,  // 2^24
    };
    const uint8_t k = byte();
    if (k < 2 * sizeof(special) / sizeof(special[0])) return bits(special[k / 2]);
    if (k < 200) return (float)intIn(-1000, 1000) / 8.f;
    return bits(raw<uint32_t>());
  }
  // The double counterpart of pickFloat.
  double pickDouble() {
    static const uint64_t special[] = {
        0x0000000000000000ull,  // +0
        0x8000000000000000ull,  // -0
        0x3ff0000000000000ull,  // 1
        0xbff0000000000000ull,  // -1
        0x0000000000000001ull,  // smallest subnormal
        0x7fefffffffffffffull,  // largest finite
        0xffefffffffffffffull,  // most negative finite
        0x7ff0000000000000ull,  // +inf
        0xfff0000000000000ull,  // -inf
        0x7ff8000000000000ull,  // quiet NaN
        0xfff8000000000001ull,  // negative NaN with payload
        0x7ff0000000000001ull,  // signalling NaN
        0x4340000000000000ull,  // 2^53
    };
    const uint8_t k = byte();
    if (k < 2 * sizeof(special) / sizeof(special[0])) {
      double d;
      std::memcpy(&d, &special[k / 2], 8);
      return d;
    }
    if (k < 200) return (double)intIn(-1000, 1000) / 8.0;
    const uint64_t u = raw<uint64_t>();
    double d;
    std::memcpy(&d, &u, 8);
    return d;
  }
  size_t left() const { return n_; }

 private:
  static float bits(uint32_t u) {
    float f;
    std::memcpy(&f, &u, 4);
    return f;
  }
  const uint8_t* p_;
  size_t n_;
};

// Whether two elements agree bit for bit, a NaN matching any NaN: where two
// NaN operands meet, which payload an operation passes on depends on the
// order in which the compiler placed the operands, so only NaN-ness is fixed.
template <class T>
KVF_NO_COVERAGE bool sameElem(T a, T b) {
  if constexpr (std::is_floating_point_v<T>)
    if (std::isnan(a) && std::isnan(b)) return true;
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// The same over n floats, the results read from raw bytes.
inline bool sameFloats(const float* want, const void* got, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    float g;
    std::memcpy(&g, static_cast<const uint8_t*>(got) + i * sizeof g, sizeof g);
    if (!sameElem(want[i], g)) return false;
  }
  return true;
}

// True for every status the library may return.
inline bool isLibraryStatus(KvpStatus s) {
  static const KvpStatus table[] = {
      kvpStsLineCountWarning, kvpStsSizeOverflow,    kvpStsDivByZero,   kvpStsOk,
      kvpStsInternalFail,     kvpStsError,           kvpStsBadArg,      kvpStsBadSize,
      kvpStsBadRange,         kvpStsNullPtr,         kvpStsNoMemory,    kvpStsOutOfRange,
      kvpStsBadDataType,      kvpStsStepNotMultiple, kvpStsBadStep,     kvpStsBadMaskSize,
      kvpStsBadAnchor,        kvpStsBadCoi,          kvpStsBadChannels, kvpStsBadMetric};
  for (KvpStatus t : table)
    if (s == t) return true;
  return false;
}

// Whether a plane of rows x rowBytes with the given step and lead can be laid
// out in at most maxBytes.
inline bool planeFits(long long rowBytes, long long rows, long long step, long long lead,
                      long long maxBytes) {
  if (rowBytes < 1 || rows < 1 || step < rowBytes || lead < 0) return false;
  if (rows > maxBytes || step > maxBytes) return false;
  return lead + (rows - 1) * step + rowBytes <= maxBytes;
}

class GuardedPlane {
 public:
  // A plane as described above; planeFits() must hold.
  GuardedPlane(size_t rowBytes, int rows, size_t step, size_t lead, uint8_t seed)
      : rowBytes_(rowBytes), rows_(rows), step_(step), lead_(lead) {
    size_ = lead + (size_t)(rows - 1) * step + rowBytes;
    alloc(seed);
  }
  // A trap: 64 guard bytes, the pointer in their middle.
  static GuardedPlane trap(uint8_t seed) { return GuardedPlane(seed); }

  GuardedPlane(const GuardedPlane&) = delete;
  GuardedPlane& operator=(const GuardedPlane&) = delete;
  GuardedPlane(GuardedPlane&& o) noexcept { *this = std::move(o); }
  GuardedPlane& operator=(GuardedPlane&& o) noexcept {
    std::swap(base_, o.base_);
    std::swap(size_, o.size_);
    std::swap(rowBytes_, o.rowBytes_);
    std::swap(rows_, o.rows_);
    std::swap(step_, o.step_);
    std::swap(lead_, o.lead_);
    snapshot_.swap(o.snapshot_);
    return *this;
  }
  ~GuardedPlane() {
    if (!base_) return;
    ASAN_UNPOISON_MEMORY_REGION(base_, size_);
    std::free(base_);
  }

  uint8_t* roi() const { return base_ + lead_; }
  uint8_t* row(int y) const { return base_ + lead_ + (size_t)y * step_; }
  template <class T>
  T* as() const {
    return reinterpret_cast<T*>(roi());
  }
  size_t rowBytes() const { return rowBytes_; }
  int rows() const { return rows_; }

  // Records the whole block as the reference for the checks below and
  // poisons the guards. Call after filling the pixels.
  void arm() {
    unpoison();
    snapshot_.assign(base_, base_ + size_);
    poison();
  }
  // Nothing outside the pixels differs from the armed state.
  KVF_NO_COVERAGE bool guardsIntact() {
    unpoison();
    bool ok = true;
    for (size_t i = 0; i < size_ && ok; ++i)
      if (!isPixel(i) && base_[i] != snapshot_[i]) ok = false;
    poison();
    return ok;
  }
  // Nothing at all differs from the armed state.
  bool unchanged() {
    unpoison();
    const bool ok = std::memcmp(base_, snapshot_.data(), size_) == 0;
    poison();
    return ok;
  }
  // Overwrites every pixel byte with a pattern from seed (the guards and the
  // armed state stay as they are), so that a later call must write each
  // output pixel again.
  KVF_NO_COVERAGE void scramble(uint8_t seed) {
    for (int y = 0; y < rows_; ++y)
      for (size_t x = 0; x < rowBytes_; ++x) row(y)[x] = (uint8_t)(seed + 29u * x + 71u * (unsigned)y);
  }
  // The armed content of the pixel bytes of row y.
  const uint8_t* armedRow(int y) const { return snapshot_.data() + lead_ + (size_t)y * step_; }

 private:
  explicit GuardedPlane(uint8_t seed) : rowBytes_(0), rows_(0), step_(0), lead_(32) {
    size_ = 64;
    alloc(seed);
    arm();
  }
  KVF_NO_COVERAGE void alloc(uint8_t seed) {
    base_ = static_cast<uint8_t*>(std::malloc(size_));
    if (!base_) std::abort();
    for (size_t i = 0; i < size_; ++i) base_[i] = (uint8_t)(seed ^ (i * 167u) ^ 0x5a);
  }
  KVF_NO_COVERAGE bool isPixel(size_t i) const {
    if (rows_ == 0 || i < lead_) return false;
    const size_t rel = i - lead_;
    return rel / step_ < (size_t)rows_ && rel % step_ < rowBytes_;
  }
  // Guards are poisoned in the runs between pixels; the shadow memory can
  // only mark the tail of an 8-byte granule, so a guard run that ends
  // inside a granule shared with pixels stays readable (its pattern check
  // still catches writes).
  void poison() {
    if (rows_ == 0) {
      ASAN_POISON_MEMORY_REGION(base_, size_);
      return;
    }
    ASAN_POISON_MEMORY_REGION(base_, lead_ & ~(size_t)7);
    for (int y = 0; y + 1 < rows_; ++y) {
      const size_t from = lead_ + (size_t)y * step_ + rowBytes_, to = lead_ + (size_t)(y + 1) * step_;
      const size_t end = to & ~(size_t)7;
      if (end > from) ASAN_POISON_MEMORY_REGION(base_ + from, end - from);
    }
  }
  void unpoison() { ASAN_UNPOISON_MEMORY_REGION(base_, size_); }

  uint8_t* base_ = nullptr;
  size_t size_ = 0, rowBytes_ = 0;
  int rows_ = 0;
  size_t step_ = 0, lead_ = 0;
  std::vector<uint8_t> snapshot_;
};

// After a call whose status the arguments decide: exactly that status; the
// inputs untouched; on failure the outputs untouched, on success nothing
// written outside their pixels. Returns whether the call succeeded.
inline bool settled(KvpStatus st, KvpStatus expect, std::initializer_list<GuardedPlane*> ins,
                    std::initializer_list<GuardedPlane*> outs) {
  KVF_REQUIRE(isLibraryStatus(st), "status %d is not one of the library's", (int)st);
  KVF_REQUIRE(st == expect, "status %d, expected %d", (int)st, (int)expect);
  for (GuardedPlane* p : ins) KVF_REQUIRE(p->unchanged(), "an input was written");
  for (GuardedPlane* p : outs)
    KVF_REQUIRE(st == kvpStsOk ? p->guardsIntact() : p->unchanged(), "%s",
                st == kvpStsOk ? "a write outside an output's pixels" : "a failing call wrote an output");
  return st == kvpStsOk;
}

}  // namespace kvf
KVF_REF_END

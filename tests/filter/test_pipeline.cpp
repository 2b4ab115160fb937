// Row and column filter pipelines against the plain references: every
// border type, anchors, kernel sizes 1 to 9, divisors, ring-ordered row
// pointers, buffers of exactly the reported size, thread counts, vector
// targets, checks.
#include <algorithm>
#include <functional>
#include <limits>
#include <numeric>

#include "filter_ref.h"
#include "harness.h"
#include "targets.h"

namespace {

using kvt::Plane;

constexpr int kGuard = 64;
constexpr Kvp8u kGuardByte = 0x5A;

// A work buffer of exactly the reported size followed by guard bytes.
struct Buffer {
  std::vector<Kvp8u> bytes;
  int size;
  explicit Buffer(int n) : bytes((size_t)n + kGuard, kGuardByte), size(n) {}
  Kvp8u* data() { return bytes.data(); }
  bool guardIntact() const {
    return std::all_of(bytes.begin() + size, bytes.end(), [](Kvp8u b) { return b == kGuardByte; });
  }
};

template <class T>
T randomValue(kvt::Rng& rng, int lo, int hi) {
  if constexpr (std::is_floating_point_v<T>)
    return (T)std::uniform_real_distribution<float>((float)lo, (float)hi)(rng);
  else
    return (T)std::uniform_int_distribution<int>(lo, hi)(rng);
}

template <class S, class D, class K>
struct RowCase {
  const char* name;
  int ch;
  ref::Mode mode;
  bool divisor;
  int lo, hi;        // source sample range
  int tapLo, tapHi;  // kernel tap range
  std::function<KvpStatus(const S*, int, D**, KvpiSize, const K*, int, int, int, const S*, int, Kvp8u*)> call;
  std::function<KvpStatus(KvpiSize, int, int*)> size;
};

template <class S, class D, class K, class F, class G>
RowCase<S, D, K> rowC1(const char* name, ref::Mode m, int lo, int hi, int tlo, int thi, F f, G g) {
  RowCase<S, D, K> c{name, 1, m, true, lo, hi, tlo, thi, {}, g};
  c.call = [f](const S* s, int ss, D** d, KvpiSize r, const K* k, int n, int a, int b, const S* v, int div,
               Kvp8u* buf) { return f(s, ss, d, r, k, n, a, b, *v, div, buf); };
  return c;
}
template <class S, class D, class K, class F, class G>
RowCase<S, D, K> rowC3(const char* name, ref::Mode m, int lo, int hi, int tlo, int thi, F f, G g) {
  RowCase<S, D, K> c{name, 3, m, true, lo, hi, tlo, thi, {}, g};
  c.call = [f](const S* s, int ss, D** d, KvpiSize r, const K* k, int n, int a, int b, const S* v, int div,
               Kvp8u* buf) { return f(s, ss, d, r, k, n, a, b, v, div, buf); };
  return c;
}
template <class F, class G>
RowCase<Kvp32f, Kvp32f, Kvp32f> row32(const char* name, int ch, F f, G g) {
  RowCase<Kvp32f, Kvp32f, Kvp32f> c{name, ch, ref::Mode::Float, false, -1000, 1000, -4, 4, {}, g};
  if (ch == 1)
    c.call = [f](const Kvp32f* s, int ss, Kvp32f** d, KvpiSize r, const Kvp32f* k, int n, int a, int b,
                 const Kvp32f* v, int, Kvp8u* buf) {
      if constexpr (std::is_invocable_v<F, const Kvp32f*, int, Kvp32f**, KvpiSize, const Kvp32f*, int, int,
                                        int, Kvp32f, Kvp8u*>)
        return f(s, ss, d, r, k, n, a, b, *v, buf);
      else
        return (void)f, kvpStsError;
    };
  else
    c.call = [f](const Kvp32f* s, int ss, Kvp32f** d, KvpiSize r, const Kvp32f* k, int n, int a, int b,
                 const Kvp32f* v, int, Kvp8u* buf) {
      if constexpr (std::is_invocable_v<F, const Kvp32f*, int, Kvp32f**, KvpiSize, const Kvp32f*, int, int,
                                        int, const Kvp32f*, Kvp8u*>)
        return f(s, ss, d, r, k, n, a, b, v, buf);
      else
        return (void)f, kvpStsError;
    };
  return c;
}

// Runs one row configuration at the current thread count on every vector
// target and compares with the reference; the destination rows are handed
// over in a shuffled order.
// Every vector target where a row holds a vector on some target (pick >=
// 0: only target pick, cyclically); the library's choice for shorter rows
// (all scalar tails).
std::vector<int64_t> targetsFor(size_t elems, int pick) {
  const std::vector<int64_t> all = kvt::vectorTargets();
  if (elems < 8) return {0};
  return pick < 0 ? all : std::vector<int64_t>{all[pick % all.size()]};
}

template <class S, class D, class K>
void checkRowOnce(const RowCase<S, D, K>& c, kvt::Rng& rng, KvpiSize sz, int k, int anchor, int type,
                  int divisor, const std::vector<K>& kernel, const Plane<S>& src, const S* values,
                  int pick = -1) {
  const size_t elems = (size_t)sz.width * c.ch;
  std::vector<D> expect(elems * sz.height);
  for (int y = 0; y < sz.height; ++y)
    ref::row(src.row(y), sz.width, c.ch, kernel.data(), k, anchor, type, values, divisor, c.mode,
             &expect[elems * y]);
  int bytes = 0;
  ASSERT_EQ(kvpStsOk, c.size(sz, k, &bytes));
  for (int64_t target : targetsFor(elems, pick)) {
    SCOPED_TRACE(kvt::targetName(target));
    kvt::Target scope(target);
    Buffer buf(bytes);
    Plane<D> dst(sz.width, sz.height, c.ch, rng);
    std::vector<int> order(sz.height);
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), rng);
    std::vector<D*> rows(sz.height);
    for (int y = 0; y < sz.height; ++y) rows[y] = dst.row(order[y]);
    const auto before = dst.bytes();
    ASSERT_EQ(kvpStsOk, c.call(src.roi(), src.step(), rows.data(), sz, kernel.data(), k, anchor, type, values,
                               divisor, buf.data()));
    ASSERT_TRUE(buf.guardIntact()) << "written past the reported buffer size";
    ASSERT_TRUE(dst.sameOutsideRoi(before));
    for (int y = 0; y < sz.height; ++y)
      for (size_t i = 0; i < elems; ++i)
        ASSERT_EQ(0, std::memcmp(&expect[elems * y + i], &rows[y][i], sizeof(D)))
            << "row " << y << " element " << i << ": " << +expect[elems * y + i] << " vs " << +rows[y][i];
  }
}

const int kDivisors[] = {1, 1, -1, 2, 3, -7, 16, 255, 1000};

template <class S, class D, class K>
void runRowCase(const RowCase<S, D, K>& c) {
  kvt::Rng rng = kvt::makeRng(std::hash<std::string>{}(c.name));
  const KvpiSize sizes[] = {{1, 1}, {1, 3}, {2, 2}, {3, 4}, {4, 1}, {7, 3}, {17, 2}, {64, 2}};
  for (KvpiSize sz : sizes)
    for (int k = 1; k <= 9; ++k)
      for (int type = 0; type <= 4; ++type) {
        // Every anchor for the small kernels; first, middle and last otherwise.
        std::vector<int> anchors;
        if (k <= 5)
          for (int a = 0; a < k; ++a) anchors.push_back(a);
        else
          anchors = {0, k / 2, k - 1};
        for (int anchor : anchors) {
          SCOPED_TRACE(std::string(c.name) + " " + kvt::describe(sz) + " k=" + std::to_string(k) +
                       " anchor=" + std::to_string(anchor) + " border=" + std::to_string(type));
          Plane<S> src(sz.width, sz.height, c.ch, rng);
          src.fill([&] { return randomValue<S>(rng, c.lo, c.hi); });
          std::vector<K> kernel(k);
          for (auto& t : kernel) t = randomValue<K>(rng, c.tapLo, c.tapHi);
          const int divisor = c.divisor ? kDivisors[rng() % std::size(kDivisors)] : 1;
          S values[3];
          for (auto& v : values) v = randomValue<S>(rng, c.lo, c.hi);
          checkRowOnce(c, rng, sz, k, anchor, type, divisor, kernel, src, values);
          if (::testing::Test::HasFatalFailure()) return;
        }
      }
  // Large images: banded at several thread counts, same bits (one target
  // per thread count, in turn).
  for (KvpiSize sz : {KvpiSize{333, 250}, KvpiSize{1031, 260}})
    for (int k : {3, 5, 7}) {
      Plane<S> src(sz.width, sz.height, c.ch, rng);
      src.fill([&] { return randomValue<S>(rng, c.lo, c.hi); });
      std::vector<K> kernel(k);
      for (auto& t : kernel) t = randomValue<K>(rng, c.tapLo, c.tapHi);
      S values[3] = {randomValue<S>(rng, c.lo, c.hi), randomValue<S>(rng, c.lo, c.hi),
                     randomValue<S>(rng, c.lo, c.hi)};
      for (int threads : kvt::threadCounts()) {
        SCOPED_TRACE(std::string(c.name) + " " + kvt::describe(sz) + " threads " + std::to_string(threads));
        kvt::Threads scope(threads);
        checkRowOnce(c, rng, sz, k, k / 2, (int)(rng() % 5), c.divisor ? 3 : 1, kernel, src, values, threads);
        if (::testing::Test::HasFatalFailure()) return;
      }
    }
}

TEST(FilterRowPipeline, MatchesReference8u16s) {
  runRowCase(rowC1<Kvp8u, Kvp16s, Kvp16s>("8u16s_C1", ref::Mode::Scaled, 0, 255, -300, 300,
                                          kvpiFilterRowBorderPipeline_8u16s_C1R,
                                          kvpiFilterRowBorderPipelineGetBufferSize_8u16s_C1R));
  runRowCase(rowC3<Kvp8u, Kvp16s, Kvp16s>("8u16s_C3", ref::Mode::Scaled, 0, 255, -300, 300,
                                          kvpiFilterRowBorderPipeline_8u16s_C3R,
                                          kvpiFilterRowBorderPipelineGetBufferSize_8u16s_C3R));
}

TEST(FilterRowPipeline, MatchesReference16s) {
  runRowCase(rowC1<Kvp16s, Kvp16s, Kvp16s>("16s_C1", ref::Mode::Scaled, -32768, 32767, -32768, 32767,
                                           kvpiFilterRowBorderPipeline_16s_C1R,
                                           kvpiFilterRowBorderPipelineGetBufferSize_16s_C1R));
  runRowCase(rowC3<Kvp16s, Kvp16s, Kvp16s>("16s_C3", ref::Mode::Scaled, -2000, 2000, -20, 20,
                                           kvpiFilterRowBorderPipeline_16s_C3R,
                                           kvpiFilterRowBorderPipelineGetBufferSize_16s_C3R));
}

TEST(FilterRowPipeline, MatchesReferenceLow16s) {
  runRowCase(rowC1<Kvp16s, Kvp16s, Kvp16s>("Low_16s_C1", ref::Mode::Low, -32768, 32767, -9, 9,
                                           kvpiFilterRowBorderPipeline_Low_16s_C1R,
                                           kvpiFilterRowBorderPipelineGetBufferSize_Low_16s_C1R));
  runRowCase(rowC3<Kvp16s, Kvp16s, Kvp16s>("Low_16s_C3", ref::Mode::Low, -1000, 1000, -9, 9,
                                           kvpiFilterRowBorderPipeline_Low_16s_C3R,
                                           kvpiFilterRowBorderPipelineGetBufferSize_Low_16s_C3R));
}

TEST(FilterRowPipeline, MatchesReference32f) {
  runRowCase(row32("32f_C1", 1, kvpiFilterRowBorderPipeline_32f_C1R,
                   kvpiFilterRowBorderPipelineGetBufferSize_32f_C1R));
  runRowCase(row32("32f_C3", 3, kvpiFilterRowBorderPipeline_32f_C3R,
                   kvpiFilterRowBorderPipelineGetBufferSize_32f_C3R));
}

// ---- column pass ---------------------------------------------------------------

template <class S, class D, class K>
struct ColCase {
  const char* name;
  int ch;
  ref::Mode mode;
  bool divisor;
  float lo, hi;  // destination range
  int srcLo, srcHi, tapLo, tapHi;
  std::function<KvpStatus(const S**, D*, int, KvpiSize, const K*, int, int, Kvp8u*)> call;
  std::function<KvpStatus(KvpiSize, int, int*)> size;
};

template <class D, class F, class G>
ColCase<Kvp16s, D, Kvp16s> colInt(const char* name, int ch, ref::Mode m, float lo, float hi, int slo, int shi,
                                  int tlo, int thi, F f, G g) {
  return {name, ch, m, true, lo, hi, slo, shi, tlo, thi, f, g};
}
template <class F, class G>
ColCase<Kvp32f, Kvp32f, Kvp32f> col32(const char* name, int ch, F f, G g) {
  ColCase<Kvp32f, Kvp32f, Kvp32f> c{name, ch, ref::Mode::Float, false, 0, 0, -1000, 1000, -4, 4, {}, g};
  c.call = [f](const Kvp32f** r, Kvp32f* d, int ds, KvpiSize sz, const Kvp32f* k, int n, int, Kvp8u* b) {
    return f(r, d, ds, sz, k, n, b);
  };
  return c;
}

// The intermediate rows live in a ring of ringRows rows; the pointer array
// walks the ring starting at a random phase, as a streaming caller has it.
template <class S, class D, class K>
void checkColumnOnce(const ColCase<S, D, K>& c, kvt::Rng& rng, KvpiSize sz, int k, int divisor,
                     const std::vector<K>& kernel, int pick = -1) {
  const int elems = sz.width * c.ch;
  const int ringRows = std::min(sz.height + k - 1, k + 3);
  Plane<S> ring(sz.width, ringRows, c.ch, rng);
  // A quarter of the samples at each end of the range, so that sums reach
  // their bounds.
  ring.fill([&] {
    const unsigned pick = rng() % 4;
    return pick == 0 ? (S)c.srcLo : pick == 1 ? (S)c.srcHi : randomValue<S>(rng, c.srcLo, c.srcHi);
  });
  const int phase = (int)(rng() % ringRows);
  std::vector<const S*> rows(sz.height + k - 1);
  for (size_t i = 0; i < rows.size(); ++i) rows[i] = ring.row((int)((i + phase) % ringRows));
  std::vector<D> expect((size_t)elems * sz.height);
  for (int y = 0; y < sz.height; ++y)
    ref::column(&rows[y], elems, kernel.data(), k, divisor, c.mode, c.lo, c.hi, &expect[(size_t)elems * y]);
  int bytes = 0;
  ASSERT_EQ(kvpStsOk, c.size(sz, k, &bytes));
  for (int64_t target : targetsFor(elems, pick)) {
    SCOPED_TRACE(kvt::targetName(target));
    kvt::Target scope(target);
    Buffer buf(bytes);
    Plane<D> dst(sz.width, sz.height, c.ch, rng);
    const auto before = dst.bytes();
    ASSERT_EQ(kvpStsOk,
              c.call(rows.data(), dst.roi(), dst.step(), sz, kernel.data(), k, divisor, buf.data()));
    ASSERT_TRUE(buf.guardIntact()) << "written past the reported buffer size";
    ASSERT_TRUE(dst.sameOutsideRoi(before));
    for (int y = 0; y < sz.height; ++y)
      for (int i = 0; i < elems; ++i)
        ASSERT_EQ(0, std::memcmp(&expect[(size_t)elems * y + i], &dst.row(y)[i], sizeof(D)))
            << "row " << y << " element " << i << ": " << +expect[(size_t)elems * y + i] << " vs "
            << +dst.row(y)[i];
  }
}

template <class S, class D, class K>
void runColumnCase(const ColCase<S, D, K>& c) {
  kvt::Rng rng = kvt::makeRng(std::hash<std::string>{}(c.name));
  const KvpiSize sizes[] = {{1, 1}, {1, 5}, {3, 2}, {7, 3}, {17, 4}, {64, 2}, {101, 3}};
  for (KvpiSize sz : sizes)
    for (int k = 1; k <= 9; ++k)
      for (int divisor : kDivisors) {
        if (!c.divisor && divisor != 1) continue;
        SCOPED_TRACE(std::string(c.name) + " " + kvt::describe(sz) + " k=" + std::to_string(k) +
                     " divisor=" + std::to_string(divisor));
        std::vector<K> kernel(k);
        for (auto& t : kernel) t = randomValue<K>(rng, c.tapLo, c.tapHi);
        checkColumnOnce(c, rng, sz, k, divisor, kernel);
        if (::testing::Test::HasFatalFailure()) return;
      }
  // Symmetric 5-tap kernels with divisor 16 (a separate route of the
  // reduced-precision pass), and large images at several thread counts,
  // across the non-temporal store threshold.
  for (KvpiSize sz : {KvpiSize{333, 250}, KvpiSize{1031, 260}})
    for (int k : {3, 5, 7}) {
      std::vector<K> kernel(k);
      for (auto& t : kernel) t = randomValue<K>(rng, c.tapLo, c.tapHi);
      if (k == 5) kernel[4] = kernel[0], kernel[3] = kernel[1];
      for (int threads : kvt::threadCounts()) {
        SCOPED_TRACE(std::string(c.name) + " " + kvt::describe(sz) + " k=" + std::to_string(k) + " threads " +
                     std::to_string(threads));
        kvt::Threads scope(threads);
        checkColumnOnce(c, rng, sz, k, c.divisor ? (k == 5 ? 16 : 3) : 1, kernel, threads + k);
        if (::testing::Test::HasFatalFailure()) return;
      }
    }
}

TEST(FilterColumnPipeline, MatchesReference16s) {
  runColumnCase(colInt<Kvp16s>("col16s_C1", 1, ref::Mode::Scaled, -32768, 32767, -32768, 32767, -40, 40,
                               kvpiFilterColumnPipeline_16s_C1R,
                               kvpiFilterColumnPipelineGetBufferSize_16s_C1R));
  runColumnCase(colInt<Kvp16s>("col16s_C3", 3, ref::Mode::Scaled, -32768, 32767, -32768, 32767, -40, 40,
                               kvpiFilterColumnPipeline_16s_C3R,
                               kvpiFilterColumnPipelineGetBufferSize_16s_C3R));
}

TEST(FilterColumnPipeline, MatchesReference16s8u8s) {
  runColumnCase(colInt<Kvp8u>("col16s8u_C1", 1, ref::Mode::Scaled, 0, 255, -2000, 2000, -5, 5,
                              kvpiFilterColumnPipeline_16s8u_C1R,
                              kvpiFilterColumnPipelineGetBufferSize_16s8u_C1R));
  runColumnCase(colInt<Kvp8u>("col16s8u_C3", 3, ref::Mode::Scaled, 0, 255, -2000, 2000, -5, 5,
                              kvpiFilterColumnPipeline_16s8u_C3R,
                              kvpiFilterColumnPipelineGetBufferSize_16s8u_C3R));
  runColumnCase(colInt<Kvp8s>("col16s8s_C1", 1, ref::Mode::Scaled, -128, 127, -2000, 2000, -5, 5,
                              kvpiFilterColumnPipeline_16s8s_C1R,
                              kvpiFilterColumnPipelineGetBufferSize_16s8s_C1R));
  runColumnCase(colInt<Kvp8s>("col16s8s_C3", 3, ref::Mode::Scaled, -128, 127, -2000, 2000, -5, 5,
                              kvpiFilterColumnPipeline_16s8s_C3R,
                              kvpiFilterColumnPipelineGetBufferSize_16s8s_C3R));
}

// Power-of-two divisors with kernels on either side of the bounds that let
// the passes run in 16-bit or 32-bit integer lanes instead of float: the
// results stay those of the float formulas.
TEST(FilterPipeline, IntegerRoutesAtTheirLimits) {
  kvt::Rng rng = kvt::makeRng(41);
  const int divisors[] = {1, -1, 2, 4, -16, 128, 256, 16384, 32768};
  const std::vector<std::vector<Kvp16s>> rowKernels = {{128},
                                                       {-128},
                                                       {43, -43, 42},
                                                       {43, 43, 43},
                                                       {-1, 2, -1},
                                                       {1, 2, 1},
                                                       {20000, 20000, 25000},
                                                       {20000, -20000, 25800},
                                                       {32767, -32768, 32767},
                                                       {1, 4, 6, 4, 1},
                                                       {3, -10, 3, 9, -3, 1, 7}};
  const KvpiSize sizes[] = {{1, 1}, {7, 3}, {64, 2}, {101, 3}};
  const auto c1 = rowC1<Kvp8u, Kvp16s, Kvp16s>("8u16s_C1", ref::Mode::Scaled, 0, 255, 0, 0,
                                               kvpiFilterRowBorderPipeline_8u16s_C1R,
                                               kvpiFilterRowBorderPipelineGetBufferSize_8u16s_C1R);
  const auto c3 = rowC3<Kvp8u, Kvp16s, Kvp16s>("8u16s_C3", ref::Mode::Scaled, 0, 255, 0, 0,
                                               kvpiFilterRowBorderPipeline_8u16s_C3R,
                                               kvpiFilterRowBorderPipelineGetBufferSize_8u16s_C3R);
  for (const auto& kernel : rowKernels)
    for (int divisor : divisors)
      for (KvpiSize sz : sizes)
        for (const auto* c : {&c1, &c3}) {
          const int k = (int)kernel.size();
          SCOPED_TRACE(std::string(c->name) + " " + kvt::describe(sz) + " k=" + std::to_string(k) +
                       " tap0=" + std::to_string(kernel[0]) + " divisor=" + std::to_string(divisor));
          Plane<Kvp8u> src(sz.width, sz.height, c->ch, rng);
          src.fill([&] { return (Kvp8u)(rng() % 3 == 0 ? rng() : (rng() & 1) * 255); });
          const Kvp8u values[3] = {255, 0, 255};
          checkRowOnce(*c, rng, sz, k, k / 2, (int)(rng() % 5), divisor, kernel, src, values);
          if (::testing::Test::HasFatalFailure()) return;
        }
  const std::vector<std::vector<Kvp16s>> colKernels = {{511},
                                                       {-512},
                                                       {170, 171, -170},
                                                       {170, 172, -170},
                                                       {1, 2, 1},
                                                       {-1, 0, 1},
                                                       {1, 4, 6, 4, 1},
                                                       {100, -100, 100, -100, 111},
                                                       {3, -10, 3, 9, -3, 1, 7}};
  const auto col16 =
      colInt<Kvp16s>("col16s_C1", 1, ref::Mode::Scaled, -32768, 32767, -32768, 32767, 0, 0,
                     kvpiFilterColumnPipeline_16s_C1R, kvpiFilterColumnPipelineGetBufferSize_16s_C1R);
  const auto col8u =
      colInt<Kvp8u>("col16s8u_C3", 3, ref::Mode::Scaled, 0, 255, -32768, 32767, 0, 0,
                    kvpiFilterColumnPipeline_16s8u_C3R, kvpiFilterColumnPipelineGetBufferSize_16s8u_C3R);
  const auto col8s =
      colInt<Kvp8s>("col16s8s_C1", 1, ref::Mode::Scaled, -128, 127, -300, 300, 0, 0,
                    kvpiFilterColumnPipeline_16s8s_C1R, kvpiFilterColumnPipelineGetBufferSize_16s8s_C1R);
  for (const auto& kernel : colKernels)
    for (int divisor : divisors)
      for (KvpiSize sz : sizes) {
        const int k = (int)kernel.size();
        SCOPED_TRACE(kvt::describe(sz) + " k=" + std::to_string(k) + " tap0=" + std::to_string(kernel[0]) +
                     " divisor=" + std::to_string(divisor));
        checkColumnOnce(col16, rng, sz, k, divisor, kernel);
        checkColumnOnce(col8u, rng, sz, k, divisor, kernel);
        checkColumnOnce(col8s, rng, sz, k, divisor, kernel);
        if (::testing::Test::HasFatalFailure()) return;
      }
}

TEST(FilterColumnPipeline, MatchesReferenceLow16s) {
  runColumnCase(colInt<Kvp16s>("colLow_C1", 1, ref::Mode::Low, -32768, 32767, -32768, 32767, -9, 9,
                               kvpiFilterColumnPipeline_Low_16s_C1R,
                               kvpiFilterColumnPipelineGetBufferSize_Low_16s_C1R));
  runColumnCase(colInt<Kvp16s>("colLow_C3", 3, ref::Mode::Low, -32768, 32767, -3000, 3000, -9, 9,
                               kvpiFilterColumnPipeline_Low_16s_C3R,
                               kvpiFilterColumnPipelineGetBufferSize_Low_16s_C3R));
}

TEST(FilterColumnPipeline, MatchesReference32f) {
  runColumnCase(
      col32("col32f_C1", 1, kvpiFilterColumnPipeline_32f_C1R, kvpiFilterColumnPipelineGetBufferSize_32f_C1R));
  runColumnCase(
      col32("col32f_C3", 3, kvpiFilterColumnPipeline_32f_C3R, kvpiFilterColumnPipelineGetBufferSize_32f_C3R));
}

// ---- buffer sizes ----------------------------------------------------------------------

TEST(FilterPipeline, BufferSizeFormulas) {
  struct Row {
    KvpStatus (*fn)(KvpiSize, int, int*);
    int a, b;  // P = a * k + b
  };
  const Row rows[] = {{kvpiFilterRowBorderPipelineGetBufferSize_8u16s_C1R, 36, 112},
                      {kvpiFilterRowBorderPipelineGetBufferSize_8u16s_C3R, 60, 112},
                      {kvpiFilterRowBorderPipelineGetBufferSize_16s_C1R, 48, 80},
                      {kvpiFilterRowBorderPipelineGetBufferSize_16s_C3R, 40, 64},
                      {kvpiFilterRowBorderPipelineGetBufferSize_Low_16s_C1R, 24, 64},
                      {kvpiFilterRowBorderPipelineGetBufferSize_Low_16s_C3R, 208, 64},
                      {kvpiFilterRowBorderPipelineGetBufferSize_32f_C1R, 128, 64},
                      {kvpiFilterRowBorderPipelineGetBufferSize_32f_C3R, 192, 32}};
  struct Col {
    KvpStatus (*fn)(KvpiSize, int, int*);
    int mul, align;
  };
  const Col cols[] = {{kvpiFilterColumnPipelineGetBufferSize_16s_C1R, 12, 4},
                      {kvpiFilterColumnPipelineGetBufferSize_16s_C3R, 36, 4},
                      {kvpiFilterColumnPipelineGetBufferSize_16s8u_C1R, 12, 4},
                      {kvpiFilterColumnPipelineGetBufferSize_16s8u_C3R, 36, 4},
                      {kvpiFilterColumnPipelineGetBufferSize_16s8s_C1R, 12, 4},
                      {kvpiFilterColumnPipelineGetBufferSize_16s8s_C3R, 36, 4},
                      {kvpiFilterColumnPipelineGetBufferSize_Low_16s_C1R, 12, 8},
                      {kvpiFilterColumnPipelineGetBufferSize_Low_16s_C3R, 36, 8}};
  for (int n : {1, 3}) {
    kvt::Threads scope(n);
    for (KvpiSize sz : {KvpiSize{1, 1}, KvpiSize{13, 7}, KvpiSize{1920, 1080}})
      for (int k : {1, 3, 8}) {
        int v = -1;
        for (const Row& r : rows) {
          ASSERT_EQ(kvpStsOk, r.fn(sz, k, &v));
          EXPECT_EQ(n * (r.a * k + r.b + 32 + 8 * (sz.height + k)), v);
        }
        for (const Col& c : cols) {
          ASSERT_EQ(kvpStsOk, c.fn(sz, k, &v));
          const int aw = (sz.width + c.align - 1) / c.align * c.align;
          EXPECT_EQ(n * (c.mul * aw + 32 + 32 + 8 * (sz.height + k)), v);
        }
        for (auto fn :
             {kvpiFilterColumnPipelineGetBufferSize_32f_C1R, kvpiFilterColumnPipelineGetBufferSize_32f_C3R}) {
          ASSERT_EQ(kvpStsOk, fn(sz, k, &v));
          EXPECT_EQ(32, v);
        }
      }
  }
  int v = 77;
  EXPECT_EQ(kvpStsOk, kvpiFilterColumnPipelineGetBufferSize_32f_C1R({1 << 20, 1 << 20}, 1 << 10, &v));
  EXPECT_EQ(32, v);
  EXPECT_EQ(kvpStsNullPtr, kvpiFilterRowBorderPipelineGetBufferSize_8u16s_C1R({0, 0}, 0, nullptr));
  v = 77;
  EXPECT_EQ(kvpStsBadSize, kvpiFilterRowBorderPipelineGetBufferSize_8u16s_C1R({0, 5}, 3, &v));
  EXPECT_EQ(kvpStsBadSize, kvpiFilterColumnPipelineGetBufferSize_16s_C1R({5, 0}, 3, &v));
  EXPECT_EQ(kvpStsBadSize, kvpiFilterColumnPipelineGetBufferSize_32f_C3R({5, 5}, 0, &v));
  EXPECT_EQ(77, v);
}

// ---- checks ------------------------------------------------------------------------

TEST(FilterRowPipeline, ChecksInOrder) {
  std::vector<Kvp8u> buf(1 << 16);
  std::vector<Kvp16s> src(64 * 8), out(64 * 8, 3);
  std::vector<Kvp16s*> dst(8);
  for (int y = 0; y < 8; ++y) dst[y] = &out[y * 64];
  const Kvp16s taps[3] = {1, 2, 1};
  const Kvp16s values[3] = {0, 0, 0};
  auto row = [&](const Kvp16s* s, int step, Kvp16s** d, KvpiSize sz, const Kvp16s* k, int n, int a, int b,
                 int div, Kvp8u* bb) {
    return kvpiFilterRowBorderPipeline_16s_C1R(s, step, d, sz, k, n, a, b, 0, div, bb);
  };
  const KvpiSize sz{8, 8};
  EXPECT_EQ(kvpStsNullPtr, row(nullptr, 1, dst.data(), {0, 0}, taps, 0, 9, 9, 0, buf.data()));
  EXPECT_EQ(kvpStsNullPtr, row(src.data(), 1, nullptr, {0, 0}, taps, 0, 9, 9, 0, buf.data()));
  EXPECT_EQ(kvpStsNullPtr, row(src.data(), 1, dst.data(), {0, 0}, nullptr, 0, 9, 9, 0, buf.data()));
  EXPECT_EQ(kvpStsNullPtr, row(src.data(), 1, dst.data(), {0, 0}, taps, 0, 9, 9, 0, nullptr));
  EXPECT_EQ(kvpStsBadSize, row(src.data(), 1, dst.data(), {0, 8}, taps, 3, 9, 9, 0, buf.data()));
  EXPECT_EQ(kvpStsBadSize, row(src.data(), 1, dst.data(), sz, taps, 0, 9, 9, 0, buf.data()));
  EXPECT_EQ(kvpStsBadAnchor, row(src.data(), 1, dst.data(), sz, taps, 3, 3, 9, 0, buf.data()));
  EXPECT_EQ(kvpStsBadAnchor, row(src.data(), 1, dst.data(), sz, taps, 3, -1, 9, 0, buf.data()));
  EXPECT_EQ(kvpStsBadStep, row(src.data(), 14, dst.data(), sz, taps, 3, 2, 9, 0, buf.data()));
  EXPECT_EQ(kvpStsStepNotMultiple, row(src.data(), 17, dst.data(), sz, taps, 3, 2, 9, 0, buf.data()));
  for (int bad : {5, -1, 64, 128, 64 | 1, 128 | 3})
    EXPECT_EQ(kvpStsBadArg, row(src.data(), 16, dst.data(), sz, taps, 3, 2, bad, 0, buf.data())) << bad;
  EXPECT_EQ(kvpStsBadArg, row(src.data(), 16, dst.data(), sz, taps, 3, 2, 4, 0, buf.data()));
  EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](Kvp16s v) { return v == 3; })) << "written on failure";
  EXPECT_EQ(kvpStsOk, row(src.data(), 16, dst.data(), sz, taps, 3, 2, 4, 1, buf.data()));

  // Three channels: the border-value pointer matters only for type 0; the
  // 8u row has no step-multiple test.
  std::vector<Kvp8u> s8(64 * 8);
  EXPECT_EQ(kvpStsNullPtr, kvpiFilterRowBorderPipeline_8u16s_C3R(s8.data(), 24, dst.data(), sz, taps, 3, 1, 0,
                                                                 nullptr, 0, buf.data()));
  EXPECT_EQ(kvpStsBadArg, kvpiFilterRowBorderPipeline_8u16s_C3R(s8.data(), 25, dst.data(), sz, taps, 3, 1, 1,
                                                                nullptr, 0, buf.data()));
  EXPECT_EQ(kvpStsOk, kvpiFilterRowBorderPipeline_8u16s_C3R(s8.data(), 25, dst.data(), sz, taps, 3, 1, 1,
                                                            nullptr, 1, buf.data()));
  EXPECT_EQ(kvpStsBadStep, kvpiFilterRowBorderPipeline_16s_C3R(src.data(), 46, dst.data(), sz, taps, 3, 1, 0,
                                                               values, 1, buf.data()));
  std::vector<Kvp32f> s32(64 * 8), o32(64 * 8);
  std::vector<Kvp32f*> d32(8);
  for (int y = 0; y < 8; ++y) d32[y] = &o32[y * 64];
  const Kvp32f t32[3] = {1, 2, 1};
  EXPECT_EQ(kvpStsStepNotMultiple,
            kvpiFilterRowBorderPipeline_32f_C1R(s32.data(), 34, d32.data(), sz, t32, 3, 1, 9, 0, buf.data()));
  EXPECT_EQ(kvpStsBadArg,
            kvpiFilterRowBorderPipeline_32f_C1R(s32.data(), 32, d32.data(), sz, t32, 3, 1, 9, 0, buf.data()));
  EXPECT_EQ(kvpStsNullPtr, kvpiFilterRowBorderPipeline_32f_C3R(s32.data(), 96, d32.data(), sz, t32, 3, 1, 0,
                                                               nullptr, buf.data()));
}

TEST(FilterColumnPipeline, ChecksInOrder) {
  std::vector<Kvp8u> buf(64);
  std::vector<Kvp16s> data(16 * 12, 1);
  std::vector<const Kvp16s*> rows(12);
  for (int y = 0; y < 12; ++y) rows[y] = &data[y * 16];
  std::vector<Kvp16s> out(16 * 10, 3);
  const Kvp16s taps[3] = {1, 2, 1};
  auto col = [&](const Kvp16s** r, Kvp16s* d, int step, KvpiSize sz, const Kvp16s* k, int n, int div,
                 Kvp8u* b) { return kvpiFilterColumnPipeline_16s_C1R(r, d, step, sz, k, n, div, b); };
  const KvpiSize sz{16, 10};
  EXPECT_EQ(kvpStsNullPtr, col(nullptr, out.data(), 0, {0, 0}, taps, 0, 0, nullptr));
  EXPECT_EQ(kvpStsNullPtr, col(rows.data(), nullptr, 0, {0, 0}, taps, 0, 0, nullptr));
  EXPECT_EQ(kvpStsNullPtr, col(rows.data(), out.data(), 0, {0, 0}, nullptr, 0, 0, nullptr));
  EXPECT_EQ(kvpStsBadSize, col(rows.data(), out.data(), 0, {16, 0}, taps, 3, 0, nullptr));
  EXPECT_EQ(kvpStsBadSize, col(rows.data(), out.data(), 0, sz, taps, 0, 0, nullptr));
  EXPECT_EQ(kvpStsBadStep, col(rows.data(), out.data(), 30, sz, taps, 3, 0, nullptr));
  EXPECT_EQ(kvpStsStepNotMultiple, col(rows.data(), out.data(), 33, sz, taps, 3, 0, nullptr));
  EXPECT_EQ(kvpStsNullPtr, col(rows.data(), out.data(), 32, sz, taps, 3, 0, nullptr));
  EXPECT_EQ(kvpStsBadArg, col(rows.data(), out.data(), 32, sz, taps, 3, 0, buf.data()));
  rows[11] = nullptr;  // entry height + k - 2
  EXPECT_EQ(kvpStsNullPtr, col(rows.data(), out.data(), 32, sz, taps, 3, 1, buf.data()));
  EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](Kvp16s v) { return v == 3; })) << "written on failure";
  EXPECT_EQ(kvpStsOk,
            col(rows.data(), out.data(), 32, {16, 9}, taps, 3, 1, buf.data()));  // entry 11 not read
  rows[11] = rows[10];
  EXPECT_EQ(kvpStsOk, col(rows.data(), out.data(), 32, sz, taps, 3, 1, buf.data()));

  // 8u destinations have no multiple test; 32f has no divisor.
  std::vector<Kvp8u> o8(16 * 10);
  EXPECT_EQ(kvpStsBadArg,
            kvpiFilterColumnPipeline_16s8u_C1R(rows.data(), o8.data(), 17, sz, taps, 3, 0, buf.data()));
  std::vector<Kvp32f> f(48 * 12, 1.f), o32(48 * 10);
  std::vector<const Kvp32f*> frows(12);
  for (int y = 0; y < 12; ++y) frows[y] = &f[y * 48];
  const Kvp32f t32[3] = {1, 2, 1};
  EXPECT_EQ(kvpStsStepNotMultiple,
            kvpiFilterColumnPipeline_32f_C3R(frows.data(), o32.data(), 193, sz, t32, 3, buf.data()));
  EXPECT_EQ(kvpStsNullPtr,
            kvpiFilterColumnPipeline_32f_C3R(frows.data(), o32.data(), 192, sz, t32, 3, nullptr));
  frows[0] = nullptr;
  EXPECT_EQ(kvpStsNullPtr,
            kvpiFilterColumnPipeline_32f_C3R(frows.data(), o32.data(), 192, sz, t32, 3, buf.data()));
  EXPECT_TRUE(std::all_of(o32.begin(), o32.end(), [](Kvp32f v) { return v == 0.f; }));
}

}  // namespace

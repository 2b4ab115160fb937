// Shared benchmark helpers. Every family benchmark takes the arguments
// {width, height, threads}; kvpBenchArgs() registers the standard matrix:
// 1920x1080 and 3840x2160, 1 and 2 threads. OpenCV peers are compiled only
// where KVP_HAVE_OPENCV is defined and run with cv::setNumThreads(threads).
// main() comes from benchmark_main: bench files must not define one.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "kvpcv.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace kvpb {

inline void standardArgs(benchmark::internal::Benchmark* b) {
  b->ArgNames({"w", "h", "thr"});
  for (auto [w, h] : {std::pair{1920, 1080}, std::pair{3840, 2160}})
    for (int t : {1, 2}) b->Args({w, h, t});
  b->Unit(benchmark::kMicrosecond)->UseRealTime();
}

struct Setup {
  int width, height, threads;
  explicit Setup(const benchmark::State& st)
      : width((int)st.range(0)), height((int)st.range(1)), threads((int)st.range(2)) {
    kvpSetNumThreads(threads);
#ifdef KVP_HAVE_OPENCV
    cv::setNumThreads(threads);
#endif
  }
  KvpiSize size() const { return {width, height}; }
  long long pixels() const { return (long long)width * height; }
};

// A packed plane of random values (rows of width * channels elements).
template <class T>
std::vector<T> randomPlane(int width, int height, int channels = 1, int lo = 0, int hi = 255,
                           unsigned seed = 1) {
  std::mt19937 rng(seed);
  std::uniform_int_distribution<int> d(lo, hi);
  std::vector<T> v((size_t)width * height * channels);
  for (auto& x : v) x = (T)d(rng);
  return v;
}

// Bytes moved per iteration, reported as throughput.
inline void setBytes(benchmark::State& st, long long bytesPerIteration) {
  st.SetBytesProcessed(st.iterations() * bytesPerIteration);
}

}  // namespace kvpb

// Registers a benchmark over the standard matrix.
#define KVP_BENCH(fn) BENCHMARK(fn)->Apply(kvpb::standardArgs)

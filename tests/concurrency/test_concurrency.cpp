// Many application threads calling the library at once, each on its own
// data, with the library's own threads on: every result must equal the one
// computed by a lone single-threaded call. Run under ThreadSanitizer by
// `make test-tsan`.
#include <atomic>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#include "harness.h"
#include "workloads.h"

namespace {

TEST(Concurrency, EveryWorkloadFromManyThreadsMatchesLoneCall) {
  const auto& all = kvt::workloads();
  ASSERT_FALSE(all.empty());
  constexpr int kAppThreads = 4, kRounds = 3;

  // Reference results: one call at a time, one library thread.
  std::vector<std::vector<uint8_t>> expect(all.size() * kAppThreads);
  {
    kvt::Threads one(1);
    for (size_t w = 0; w < all.size(); ++w)
      for (int t = 0; t < kAppThreads; ++t) expect[w * kAppThreads + t] = all[w].run((uint64_t)t);
  }

  kvt::Threads lib(2);
  std::atomic<int> mismatches{0}, calls{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kAppThreads; ++t)
    threads.emplace_back([&, t] {
      for (int r = 0; r < kRounds; ++r)
        for (size_t w = 0; w < all.size(); ++w) {
          // Rotate the order so different workloads overlap in time.
          const size_t k = (w + (size_t)t) % all.size();
          if (all[k].run((uint64_t)t) != expect[k * kAppThreads + t]) ++mismatches;
          ++calls;
        }
    });
  for (auto& th : threads) th.join();
  EXPECT_EQ(0, mismatches.load());
  EXPECT_EQ(kAppThreads * kRounds * (int)all.size(), calls.load());
}

// A call made from inside an application's own OpenMP parallel region runs
// its team nested; with nesting off (the runtime default) the inner team
// has one thread, so the machine is not oversubscribed, and results hold.
TEST(Concurrency, CallsFromInsideAnApplicationParallelRegion) {
  const auto& all = kvt::workloads();
  std::vector<std::vector<uint8_t>> expect(all.size());
  {
    kvt::Threads one(1);
    for (size_t w = 0; w < all.size(); ++w) expect[w] = all[w].run(7);
  }
  kvt::Threads lib(2);
  std::atomic<int> mismatches{0};
#pragma omp parallel num_threads(2)
  {
    for (size_t w = 0; w < all.size(); ++w)
      if (all[w].run(7) != expect[w]) ++mismatches;
  }
  EXPECT_EQ(0, mismatches.load());
}

}  // namespace

namespace {

// No exported function takes memory from the core allocator (scratch space
// comes from the caller): with the allocator set to fail, every workload
// gives the same result and the armed failure is still pending afterwards.
TEST(Allocation, NoFunctionDependsOnTheAllocator) {
  const auto& all = kvt::workloads();
  kvt::Threads one(1);
  std::vector<std::vector<uint8_t>> expect;
  for (const auto& w : all) expect.push_back(w.run(3));
  kvpSetMallocFailCountdown(1);
  for (size_t i = 0; i < all.size(); ++i) EXPECT_EQ(expect[i], all[i].run(3)) << all[i].name;
  void* p = kvpMalloc(16);
  EXPECT_EQ(nullptr, p) << "some workload called the allocator";
  kvpFree(p);
  kvpSetMallocFailCountdown(0);
}

}  // namespace

namespace {

// The one allocating path: a chamfer transform into a 16-bit plane whose
// step is not a whole number of elements works through a packed scratch
// plane. When the allocator fails it returns kvpStsNoMemory and writes
// nothing; otherwise it gives the packed result.
TEST(Allocation, ChamferScratchPlaneFailure) {
  const int w = 9, h = 5, step = w * 2 + 1;
  std::vector<Kvp8u> src((size_t)w * h, 1);
  src[(size_t)2 * w + 4] = 0;
  Kvp32s metrics[2] = {1, 2};
  std::vector<Kvp8u> out((size_t)step * h, 0xCD);
  const auto before = out;
  auto call = [&] {
    return kvpiDistanceTransform_3x3_8u16u_C1R(src.data(), w, reinterpret_cast<Kvp16u*>(out.data()), step,
                                               {w, h}, metrics);
  };
  kvpSetMallocFailCountdown(1);
  EXPECT_EQ(kvpStsNoMemory, call());
  kvpSetMallocFailCountdown(0);
  EXPECT_EQ(before, out);
  EXPECT_EQ(kvpStsOk, call());
  Kvp16u corner;
  std::memcpy(&corner, out.data(), 2);
  EXPECT_EQ(6, corner) << "(0,0) is 2 rows and 4 columns away: 2 diagonal steps (2 each) + 2 axial (1 each)";
}

}  // namespace

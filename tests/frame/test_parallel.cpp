// The row-band splitter and the shared argument checks.
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include "frame/checks.h"
#include "frame/parallel.h"

namespace {

TEST(RowBands, LastBandTakesTheRemainder) {
  for (int threads : {1, 2, 3, 5, 8}) {
    kvpSetNumThreads(threads);
    for (int height : {1, 2, 7, 16, 101}) {
      std::vector<int> owner(height, -1);
      std::vector<std::pair<int, int>> bands(kvp::kMaxTeam, {-1, -1});
      const int team = kvp::forRowBands(height, true, [&](int y0, int rows, int t) {
        bands[t] = {y0, rows};
        for (int y = y0; y < y0 + rows; ++y) owner[y] = t;
      });
      ASSERT_GE(team, 1);
      for (int y = 0; y < height; ++y) ASSERT_NE(-1, owner[y]) << "row " << y << " not covered";
      const int per = height / team, rem = height % team;
      for (int t = 0; t < team; ++t) {
        const int rows = per + (t == team - 1 ? rem : 0);
        if (rows == 0) continue;
        EXPECT_EQ(t * per, bands[t].first);
        EXPECT_EQ(rows, bands[t].second);
      }
    }
  }
  kvpSetNumThreads(2);
  int calls = 0;
  EXPECT_EQ(1, kvp::forRowBands(10, false, [&](int y0, int rows, int t) {
              EXPECT_EQ(0, y0);
              EXPECT_EQ(10, rows);
              EXPECT_EQ(0, t);
              ++calls;
            }));
  EXPECT_EQ(1, calls);
}

TEST(Checks, CommonOrder) {
  using kvp::plane;
  float f[64];
  unsigned char b[64];
  const KvpiSize sz{4, 2};
  EXPECT_EQ(kvpStsNullPtr, kvp::checkPlanes({0, 0}, {plane(b, 0), plane((float*)nullptr, 0)}));
  EXPECT_EQ(kvpStsNullPtr, kvp::checkPlanes(sz, {plane(b, 4)}, {nullptr}));
  EXPECT_EQ(kvpStsBadSize, kvp::checkPlanes({0, 2}, {plane(b, 0)}));
  EXPECT_EQ(kvpStsBadSize, kvp::checkPlanes({2, -1}, {plane(b, 0)}));
  EXPECT_EQ(kvpStsBadStep, kvp::checkPlanes(sz, {plane(b, 3), plane(f, 2)}));
  EXPECT_EQ(kvpStsBadStep, kvp::checkPlanes(sz, {plane(b, 4), plane(f, 15)}));
  EXPECT_EQ(kvpStsStepNotMultiple, kvp::checkPlanes(sz, {plane(b, 5), plane(f, 18)}));
  EXPECT_EQ(kvpStsOk, kvp::checkPlanes(sz, {plane(b, 5), plane(f, 20)}));
  EXPECT_EQ(kvpStsBadStep, kvp::checkPlanes(sz, {plane(f, 40, 3)}));
  EXPECT_EQ(kvpStsOk, kvp::checkPlanes(sz, {plane(f, 48, 3)}));
}

}  // namespace

namespace {

// A threaded call gets the team it asks for, also from a thread that is not
// an OpenMP thread; inside an application's parallel region (nesting off)
// it gets one thread.
TEST(RowBands, TeamSizeFollowsTheThreadCount) {
  kvpSetNumThreads(2);
  EXPECT_EQ(2, kvp::forRowBands(100, true, [](int, int, int) {}));
  int fromThread = 0;
  std::thread th([&] { fromThread = kvp::forRowBands(100, true, [](int, int, int) {}); });
  th.join();
  EXPECT_EQ(2, fromThread);
  int nested[2] = {0, 0};
#pragma omp parallel num_threads(2)
  nested[omp_get_thread_num()] = kvp::forRowBands(100, true, [](int, int, int) {});
  if (omp_get_max_active_levels() <= 1) {
    EXPECT_EQ(1, nested[0]);
    EXPECT_EQ(1, nested[1]);
  }
}

}  // namespace

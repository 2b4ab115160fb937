// Fixed-kernel routines: every table slot equals the general pipeline (or,
// with the in-memory border flags, the reference) run with the same taps.
#include <vector>

#include "filter/fixed.cpp"  // the library's tables, compiled into the test
#include "filter_ref.h"
#include "harness.h"

namespace {

using namespace kvp::filt;

struct Taps {
  int k;
  std::vector<int> t;
};

// Row table order: 3 kerDx, 3 kerScharr, 3 kerDxNeg, 5 kerDxNeg, 3 kerDx2,
// 5 kerDx2, 3 kerSobel, 5 kerSobel, 3 kerAvr, 5 kerAvr, 3 kerLaplacian.
const Taps kRowTaps[11] = {{3, {-1, 0, 1}}, {3, {3, 10, 3}},       {3, {1, 0, -1}}, {5, {1, 2, 0, -2, -1}},
                           {3, {1, -2, 1}}, {5, {1, 0, -2, 0, 1}}, {3, {1, 2, 1}},  {5, {1, 4, 6, 4, 1}},
                           {3, {1, 1, 1}},  {5, {1, 1, 1, 1, 1}},  {3, {1, 0, 1}}};

// Column table order (float table): 3 kerScharr, 3 kerDx, 3 kerSobel,
// 5 kerSobel, 5 kerDx, 3 kerDx2, 5 kerDx2, 3 kerLaplacian, 5 kerLaplacian,
// 3 kerAvr, 5 kerAvr, 3 kerSobelNeg, 5 kerSobelNeg.
const Taps kSobelNeg3{3, {-1, -2, -1}}, kSobelNeg5{5, {-1, -4, -6, -4, -1}}, kLap3{3, {1, 0, 1}};
const Taps kColTaps32f[13] = {{3, {3, 10, 3}},
                              {3, {-1, 0, 1}},
                              {3, {1, 2, 1}},
                              {5, {1, 4, 6, 4, 1}},
                              {5, {-1, -2, 0, 2, 1}},
                              {3, {1, -2, 1}},
                              {5, {1, 0, -2, 0, 1}},
                              kLap3,
                              {5, {1, 0, 0, 0, 1}},
                              {3, {1, 1, 1}},
                              {5, {1, 1, 1, 1, 1}},
                              kSobelNeg3,
                              kSobelNeg5};

Taps colTaps16(int i, bool to8s) {
  if (i == 9) return kSobelNeg3;
  if (i == 10) return kSobelNeg5;
  if (to8s && i == 8) return kLap3;
  return kColTaps32f[i];
}

TEST(FilterFixedKernels, RowRoutinesEqualGeneralRoute) {
  kvt::Rng rng = kvt::makeRng(11);
  std::vector<Kvp8u> buf(1 << 16);
  for (int i = 0; i < 11; ++i)
    for (int border = 0; border < 5; ++border)
      for (int w : {1, 2, 3, 4, 7, 33}) {
        SCOPED_TRACE("slot " + std::to_string(i) + " border " + std::to_string(border) + " width " +
                     std::to_string(w));
        const Taps& tp = kRowTaps[i];
        std::vector<Kvp8u> src8(w);
        std::vector<Kvp32f> src32(w);
        for (int x = 0; x < w; ++x)
          src8[x] = (Kvp8u)(rng() & 255), src32[x] = (float)(int)(rng() % 2001) / 8 - 100;
        const Kvp8u v8 = (Kvp8u)(rng() & 255);
        const Kvp32f v32 = -3.25f;
        std::vector<Kvp16s> k16(tp.t.begin(), tp.t.end());
        std::vector<Kvp32f> k32(tp.t.begin(), tp.t.end());
        // The general route for slot 4 of a 3-tap kernel is the mirror with
        // the edge repeated, which the table serves with replication.
        std::vector<Kvp16s> got16(w), want16(w);
        std::vector<Kvp32f> got32(w), want32(w);
        Kvp16s* d16 = want16.data();
        Kvp32f* d32 = want32.data();
        ASSERT_EQ(kvpStsOk, kvpiFilterRowBorderPipeline_8u16s_C1R(src8.data(), w, &d16, {w, 1}, k16.data(),
                                                                  tp.k, tp.k / 2, border, v8, 1, buf.data()));
        ASSERT_EQ(kvpStsOk, kvpiFilterRowBorderPipeline_32f_C1R(src32.data(), 4 * w, &d32, {w, 1}, k32.data(),
                                                                tp.k, tp.k / 2, border, v32, buf.data()));
        (*owntabRow_8u16s[i])[border](src8.data(), got16.data(), w, 0, v8);
        (*owntabRow_32f[i])[border](src32.data(), got32.data(), w, 0, v32);
        EXPECT_EQ(want16, got16);
        EXPECT_EQ(0, std::memcmp(want32.data(), got32.data(), 4 * w));
      }
}

TEST(FilterFixedKernels, RowRoutinesReadInMemoryBorders) {
  kvt::Rng rng = kvt::makeRng(12);
  const int w = 9, pad = 4;
  for (int i = 0; i < 11; ++i)
    for (int border = 0; border < 5; ++border)
      for (int flags : {64, 128, 192}) {
        SCOPED_TRACE("slot " + std::to_string(i) + " border " + std::to_string(border) + " flags " +
                     std::to_string(flags));
        std::vector<Kvp8u> line(w + 2 * pad);
        for (auto& v : line) v = (Kvp8u)(rng() & 255);
        const Kvp8u* src = line.data() + pad;
        const Taps& tp = kRowTaps[i];
        const int a = tp.k / 2;
        const int base = (tp.k == 3 && border == 4) ? 1 : border;
        const Kvp8u value = 77;
        std::vector<Kvp16s> got(w);
        (*owntabRow_8u16s[i])[border](src, got.data(), w, flags, value);
        for (int x = 0; x < w; ++x) {
          int sum = 0;
          for (int j = 0; j < tp.k; ++j) {
            const int p = x - a + j;
            const bool inMem = (p < 0 && (flags & 64)) || (p >= w && (flags & 128));
            sum += tp.t[j] * (inMem ? src[p] : ref::extended(src, w, 1, base, &value, p, 0));
          }
          ASSERT_EQ(sum, got[x]) << "x " << x;
        }
      }
}

template <class D, class F>
void checkColumnTable(const char* name, F table, bool to8s,
                      KvpStatus (*general)(const Kvp16s**, D*, int, KvpiSize, const Kvp16s*, int, int,
                                           Kvp8u*)) {
  kvt::Rng rng = kvt::makeRng(std::hash<std::string>{}(name));
  Kvp8u buf[64];
  const int w = 37;
  for (int i = 0; i < 13; ++i) {
    SCOPED_TRACE(std::string(name) + " slot " + std::to_string(i));
    const Taps tp = colTaps16(i, to8s);
    std::vector<std::vector<Kvp16s>> data(5, std::vector<Kvp16s>(w));
    const int range = to8s ? 100 : 30000;
    for (auto& r : data)
      for (auto& v : r) v = (Kvp16s)((int)(rng() % (2 * range + 1)) - range);
    const Kvp16s* rows[5];
    for (int j = 0; j < 5; ++j) rows[j] = data[j].data();
    std::vector<Kvp16s> k16(tp.t.begin(), tp.t.end());
    std::vector<D> want(w), got(w);
    ASSERT_EQ(kvpStsOk, general(rows, want.data(), w * (int)sizeof(D), {w, 1}, k16.data(), tp.k, 1, buf));
    table[i](rows, got.data(), w);
    EXPECT_EQ(want, got);
  }
}

TEST(FilterFixedKernels, ColumnRoutinesEqualGeneralRoute) {
  checkColumnTable<Kvp16s>("8u16s", owntabColumn_8u16s, false, kvpiFilterColumnPipeline_16s_C1R);
  checkColumnTable<Kvp8s>("8u8s", owntabColumn_8u8s, true, kvpiFilterColumnPipeline_16s8s_C1R);

  kvt::Rng rng = kvt::makeRng(13);
  Kvp8u buf[64];
  const int w = 29;
  for (int i = 0; i < 13; ++i) {
    SCOPED_TRACE("32f slot " + std::to_string(i));
    std::vector<std::vector<Kvp32f>> data(5, std::vector<Kvp32f>(w));
    for (auto& r : data)
      for (auto& v : r) v = std::uniform_real_distribution<float>(-100.f, 100.f)(rng);
    const Kvp32f* rows[5];
    for (int j = 0; j < 5; ++j) rows[j] = data[j].data();
    std::vector<Kvp32f> k32(kColTaps32f[i].t.begin(), kColTaps32f[i].t.end());
    std::vector<Kvp32f> want(w), got(w);
    ASSERT_EQ(kvpStsOk, kvpiFilterColumnPipeline_32f_C1R(rows, want.data(), 4 * w, {w, 1}, k32.data(),
                                                         kColTaps32f[i].k, buf));
    owntabColumn_32f[i](rows, got.data(), w);
    EXPECT_EQ(0, std::memcmp(want.data(), got.data(), 4 * w));
  }
}

}  // namespace

// Fuzzes Mean, Mean_StdDev and MinMaxIndx (8u, 8s, 16u, 32f; one channel
// or a channel of interest of three; with and without a mask): arbitrary
// sizes, steps, offsets, null planes, null outputs, channels of interest
// and thread counts. Every call must return the status its arguments call
// for, write nothing on failure and only the outputs it was given on
// success, leave its inputs alone, and give the bits of the plain reference
// (stats_ref.h, shared with the unit tests); again with one thread.
#include <cstring>
#include <iterator>
#include <optional>
#include <type_traits>

#include "fuzz_planes.h"
KVF_REF_BEGIN
#include "../stats/stats_ref.h"
KVF_REF_END

namespace {

constexpr long long kMaxPlaneBytes = 1 << 20;
constexpr long long kMaxBigPlaneBytes = 3 << 20;
constexpr int kThreadArea = 3 * 32768;

enum class Op { Mean, Std, MinMax };

// Output block: mean, stddev, min, max, min location, max location.
constexpr size_t kOffMean = 0, kOffStd = 8, kOffMin = 16, kOffMax = 20, kOffMinLoc = 24, kOffMaxLoc = 32,
                 kOutBytes = 40;

template <Op O, class T, int C, bool M>
struct Traits {
  static constexpr Op kOp = O;
  static constexpr int kChans = C;
  static constexpr bool kMasked = M;
  using Src = T;
};

template <class Tr, auto Fn>
KvpStatus call(const typename Tr::Src* p, int s, const Kvp8u* m, int ms, KvpiSize r, int coi,
               uint8_t* const out[6]) {
  auto* mean = reinterpret_cast<Kvp64f*>(out[0]);
  auto* sd = reinterpret_cast<Kvp64f*>(out[1]);
  auto* mn = reinterpret_cast<Kvp32f*>(out[2]);
  auto* mx = reinterpret_cast<Kvp32f*>(out[3]);
  auto* lmn = reinterpret_cast<KvpiPoint*>(out[4]);
  auto* lmx = reinterpret_cast<KvpiPoint*>(out[5]);
  constexpr bool c3 = Tr::kChans == 3, mk = Tr::kMasked;
  if constexpr (Tr::kOp == Op::Mean) {
    if constexpr (c3)
      return Fn(p, s, m, ms, r, coi, mean);
    else
      return Fn(p, s, m, ms, r, mean);
  } else if constexpr (Tr::kOp == Op::Std) {
    if constexpr (mk && c3)
      return Fn(p, s, m, ms, r, coi, mean, sd);
    else if constexpr (mk)
      return Fn(p, s, m, ms, r, mean, sd);
    else if constexpr (c3)
      return Fn(p, s, r, coi, mean, sd);
    else
      return Fn(p, s, r, mean, sd);
  } else {
    if constexpr (mk && c3)
      return Fn(p, s, m, ms, r, coi, mn, mx, lmn, lmx);
    else if constexpr (mk)
      return Fn(p, s, m, ms, r, mn, mx, lmn, lmx);
    else if constexpr (c3)
      return Fn(p, s, r, coi, mn, mx, lmn, lmx);
    else
      return Fn(p, s, r, mn, mx, lmn, lmx);
  }
}

enum { kSrc, kMask, kPlanes };
using Planes = kvf::PlaneSet<kPlanes>;

template <class T, int C, bool M>
KVF_NO_COVERAGE void fill(kvf::Stream& in, Planes& g, int width, int height) {
  // Runs of one value now and then, so that extremes repeat.
  T last{};
  for (int y = 0; y < height; ++y) {
    uint8_t* r = g.row(kSrc, y);
    uint8_t* rm = M ? g.row(kMask, y) : nullptr;
    for (int x = 0; x < width; ++x) {
      if (M) rm[x] = kvf::pickMask(in);
      for (int c = 0; c < C; ++c) {
        const T v = in.byte() < 64 ? last : kvf::pickElem<T>(in);
        last = v;
        std::memcpy(r + ((size_t)x * C + c) * sizeof(T), &v, sizeof(T));
      }
    }
  }
}

template <class Tr, auto Fn>
void run(kvf::Stream& in) {
  using T = typename Tr::Src;
  constexpr int C = Tr::kChans;
  constexpr bool M = Tr::kMasked;
  const int threads = kvf::setThreads(in);
  const kvf::Dims dims = kvf::readDims(in, kThreadArea);
  const KvpiSize roi = dims.roi;

  Planes g;
  g.d[kSrc] = {true, (int)sizeof(T), C};
  g.d[kMask].used = M;
  g.read(in, roi.width, dims.big);
  // Which outputs are given: Mean takes only the mean, Mean_StdDev the
  // first two, MinMaxIndx the last four.
  const uint8_t given = in.byte();
  bool use[6];
  for (int i = 0; i < 6; ++i) {
    const bool belongs = Tr::kOp == Op::Mean ? i == 0 : (Tr::kOp == Op::Std ? i < 2 : i >= 2);
    use[i] = belongs && (given & 0x40 ? true : ((given >> i) & 1));
  }
  bool anyOut = false;
  for (bool u : use) anyOut = anyOut || u;
  const int coi = C == 3 ? kvf::pickCoi(in) : 1;

  KvpStatus expect = g.expect(roi.width, roi.height, !anyOut);
  if (expect == kvpStsOk && C == 3 && (coi < 1 || coi > 3)) expect = kvpStsBadCoi;
  const long long maxBytes = dims.big ? kMaxBigPlaneBytes : kMaxPlaneBytes;
  if (expect == kvpStsOk && !g.fit(roi.width, roi.height, maxBytes)) return;

  g.build(roi.width, roi.height, maxBytes, in.byte());
  if (g.laidOut) fill<T, C, M>(in, g, roi.width, roi.height);
  kvf::GuardedPlane out(kOutBytes, 1, kOutBytes, (size_t)in.intIn(0, 3) * 8, in.byte());
  g.arm();
  out.arm();

  const size_t offs[6] = {kOffMean, kOffStd, kOffMin, kOffMax, kOffMinLoc, kOffMaxLoc};
  uint8_t* ptrs[6];
  for (int i = 0; i < 6; ++i) ptrs[i] = use[i] ? out.roi() + offs[i] : nullptr;
  const KvpStatus st =
      call<Tr, Fn>(g.ptr<T>(kSrc), g.step(kSrc), g.ptr(kMask), g.step(kMask), roi, coi, ptrs);
  if (!g.settle(st, expect, kPlanes, {&out})) return;
  KVF_REQUIRE(st == kvpStsOk, "status %d, expected success", (int)st);

  // The expected output block: the armed bytes, with the reference results
  // in the given fields.
  uint8_t want[kOutBytes];
  std::memcpy(want, out.armedRow(0), kOutBytes);
  const T* ps = g.ptr<T>(kSrc);
  const Kvp8u* pm = g.ptr(kMask);
  if (Tr::kOp != Op::MinMax) {
    const auto r = statsref::meanStd(ps, g.step(kSrc), pm, g.step(kMask), roi.width, roi.height, C, coi - 1);
    if (use[0]) std::memcpy(want + kOffMean, &r.mean, 8);
    if (use[1]) std::memcpy(want + kOffStd, &r.std, 8);
  } else {
    const auto e = statsref::extrema(ps, g.step(kSrc), pm, g.step(kMask), roi.width, roi.height, C, coi - 1);
    if (use[2]) std::memcpy(want + kOffMin, &e.minVal, 4);
    if (use[3]) std::memcpy(want + kOffMax, &e.maxVal, 4);
    if (use[4]) std::memcpy(want + kOffMinLoc, &e.minLoc, 8);
    if (use[5]) std::memcpy(want + kOffMaxLoc, &e.maxLoc, 8);
  }
  for (size_t i = 0; i < kOutBytes; ++i)
    KVF_REQUIRE(out.roi()[i] == want[i], "output byte %zu is %02x, expected %02x (w %d h %d coi %d)", i,
                out.roi()[i], want[i], roi.width, roi.height, coi);

  // The same bytes with one thread.
  if (threads > 1) {
    kvpSetNumThreads(1);
    uint8_t again[kOutBytes];
    std::memcpy(again, want, kOutBytes);
    uint8_t* ptrs1[6];
    for (int i = 0; i < 6; ++i) ptrs1[i] = use[i] ? again + offs[i] : nullptr;
    const KvpStatus st1 = call<Tr, Fn>(ps, g.step(kSrc), pm, g.step(kMask), roi, coi, ptrs1);
    KVF_REQUIRE(st1 == st && std::memcmp(again, want, kOutBytes) == 0, "one thread differs from %d", threads);
  }
}

using Runner = void (*)(kvf::Stream&);

template <Op O, class T, int C, bool M, auto Fn>
constexpr Runner entry = &run<Traits<O, T, C, M>, Fn>;

#define KVF_STATS_TYPE(TS, T)                                                                            \
  entry<Op::Mean, T, 1, true, kvpiMean_##TS##_C1MR>, entry<Op::Mean, T, 3, true, kvpiMean_##TS##_C3CMR>, \
      entry<Op::Std, T, 1, false, kvpiMean_StdDev_##TS##_C1R>,                                           \
      entry<Op::Std, T, 3, false, kvpiMean_StdDev_##TS##_C3CR>,                                          \
      entry<Op::Std, T, 1, true, kvpiMean_StdDev_##TS##_C1MR>,                                           \
      entry<Op::Std, T, 3, true, kvpiMean_StdDev_##TS##_C3CMR>,                                          \
      entry<Op::MinMax, T, 1, false, kvpiMinMaxIndx_##TS##_C1R>,                                         \
      entry<Op::MinMax, T, 3, false, kvpiMinMaxIndx_##TS##_C3CR>,                                        \
      entry<Op::MinMax, T, 1, true, kvpiMinMaxIndx_##TS##_C1MR>,                                         \
      entry<Op::MinMax, T, 3, true, kvpiMinMaxIndx_##TS##_C3CMR>

const Runner kRunners[] = {
    KVF_STATS_TYPE(8u, Kvp8u),
    KVF_STATS_TYPE(8s, Kvp8s),
    KVF_STATS_TYPE(16u, Kvp16u),
    KVF_STATS_TYPE(32f, Kvp32f),
};
static_assert(std::size(kRunners) == 40);

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return kvf::dispatch(data, size, kRunners);
}

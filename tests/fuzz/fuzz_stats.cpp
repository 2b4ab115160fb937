// Fuzzes Mean, Mean_StdDev and MinMaxIndx (8u, 8s, 16u, 32f; one channel
// or a channel of interest of three; with and without a mask): arbitrary
// sizes, steps, offsets, null planes, null outputs, channels of interest
// and thread counts. Every call must return the status its arguments call
// for, write nothing on failure and only the outputs it was given on
// success, leave its inputs alone, and give the bits of the plain reference
// (stats_ref.h, shared with the unit tests); again with one thread.
#include <cstring>
#include <optional>
#include <type_traits>

#include "../stats/stats_ref.h"
#include "fuzz_planes.h"

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

int pickCoi(kvf::Stream& in) {
  const uint8_t how = in.byte();
  if (how < 16) return in.raw<int32_t>();
  if (how < 40) return (int)(how % 6) - 1;
  return 1 + how % 3;
}

enum { kSrc, kMask, kPlanes };
using Planes = std::optional<kvf::GuardedPlane>[kPlanes];

template <class T, int C, bool M>
KVF_NO_COVERAGE void fill(kvf::Stream& in, Planes& g, int width, int height) {
  // Runs of one value now and then, so that extremes repeat.
  T last{};
  for (int y = 0; y < height; ++y) {
    uint8_t* r = g[kSrc]->row(y);
    uint8_t* rm = M ? g[kMask]->row(y) : nullptr;
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

  kvf::PlaneDesc p[kPlanes];
  p[kSrc].used = true, p[kSrc].elem = sizeof(T), p[kSrc].chans = C;
  p[kMask].used = M;
  const uint8_t nulls = in.byte();
  for (int i = 0; i < kPlanes; ++i) {
    p[i].step = kvf::readStep(in, p[i].rowBytes(roi.width > 0 ? roi.width : 0), p[i].elem, dims.big);
    p[i].lead = (size_t)in.intIn(0, 31) * p[i].elem;
    p[i].null = (nulls & 7) == 0 && (nulls >> 3) % kPlanes == i;
  }
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
  const int coi = C == 3 ? pickCoi(in) : 1;

  KvpStatus expect = kvf::commonStatus(p, kPlanes, roi.width, roi.height, !anyOut);
  if (expect == kvpStsOk && C == 3 && (coi < 1 || coi > 3)) expect = kvpStsBadCoi;
  const long long maxBytes = dims.big ? kMaxBigPlaneBytes : kMaxPlaneBytes;
  if (expect == kvpStsOk && !kvf::planesFit(p, kPlanes, roi.width, roi.height, maxBytes)) return;

  Planes g;
  const bool laidOut = kvf::buildPlanes(p, kPlanes, roi.width, roi.height, maxBytes, g, in.byte());
  if (laidOut) fill<T, C, M>(in, g, roi.width, roi.height);
  kvf::GuardedPlane out(kOutBytes, 1, kOutBytes, (size_t)in.intIn(0, 3) * 8, in.byte());
  for (auto& plane : g)
    if (plane) plane->arm();
  out.arm();

  const size_t offs[6] = {kOffMean, kOffStd, kOffMin, kOffMax, kOffMinLoc, kOffMaxLoc};
  uint8_t* ptrs[6];
  for (int i = 0; i < 6; ++i) ptrs[i] = use[i] ? out.roi() + offs[i] : nullptr;
  auto src = [&]() { return p[kSrc].null ? nullptr : g[kSrc]->as<T>(); };
  auto mask = [&]() -> const Kvp8u* { return M && !p[kMask].null ? g[kMask]->roi() : nullptr; };
  const KvpStatus st = call<Tr, Fn>(src(), p[kSrc].step, mask(), p[kMask].step, roi, coi, ptrs);

  KVF_REQUIRE(kvf::isLibraryStatus(st), "status %d is not one of the library's", (int)st);
  for (int i = 0; i < kPlanes; ++i)
    if (p[i].used) KVF_REQUIRE(g[i]->unchanged(), "input plane %d was written", i);
  if (expect != kvpStsOk) {
    KVF_REQUIRE(st == expect, "status %d, expected %d (w %d h %d steps %d %d coi %d)", (int)st, (int)expect,
                roi.width, roi.height, p[0].step, p[1].step, coi);
    KVF_REQUIRE(out.unchanged(), "a failing call wrote an output (status %d)", (int)st);
    return;
  }
  KVF_REQUIRE(st == kvpStsOk, "status %d, expected success", (int)st);
  KVF_REQUIRE(out.guardsIntact(), "a write beside the outputs");

  // The expected output block: the armed bytes, with the reference results
  // in the given fields.
  uint8_t want[kOutBytes];
  std::memcpy(want, out.armedRow(0), kOutBytes);
  const T* ps = g[kSrc]->as<T>();
  const Kvp8u* pm = M ? g[kMask]->roi() : nullptr;
  if (Tr::kOp != Op::MinMax) {
    const auto r = statsref::meanStd(ps, p[kSrc].step, pm, p[kMask].step, roi.width, roi.height, C, coi - 1);
    if (use[0]) std::memcpy(want + kOffMean, &r.mean, 8);
    if (use[1]) std::memcpy(want + kOffStd, &r.std, 8);
  } else {
    const auto e = statsref::extrema(ps, p[kSrc].step, pm, p[kMask].step, roi.width, roi.height, C, coi - 1);
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
    const KvpStatus st1 = call<Tr, Fn>(src(), p[kSrc].step, mask(), p[kMask].step, roi, coi, ptrs1);
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
constexpr int kCount = sizeof kRunners / sizeof kRunners[0];
static_assert(kCount == 40);

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader reader(data, size);
  const uint8_t which = reader.byte();
  kvf::Stream in(reader);
  kRunners[which % kCount](in);
  return 0;
}

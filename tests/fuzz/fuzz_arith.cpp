// Fuzzes accumulation into a single-precision image (Add, AddSquare,
// AddProduct, AddWeighted, masked and unmasked, and the not-in-place
// AddWeighted_32f_C1R) and the absolute differences (AbsDiff, AbsDiffC):
// arbitrary sizes, steps, offsets, null pointers, masks, weights, constants
// and thread counts. Every call must return the status its arguments call
// for, write nothing when it fails, leave its sources and mask alone, write
// nothing outside the output's pixels, and match the per-pixel rule bit for
// bit (any NaN where the rule gives NaN).
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <type_traits>

#include "fuzz_planes.h"
KVF_REF_BEGIN
#include "../arith/arith_ref.h"
KVF_REF_END

namespace {

constexpr long long kMaxPlaneBytes = 1 << 20;
constexpr long long kMaxBigPlaneBytes = 3 << 20;
constexpr int kThreadArea = 262144;

using ar::Op;

// Per-function traits: the operation, the source element type, whether a
// mask takes part, elements per pixel (3 only for AbsDiff_8u_C3R).
template <Op O, class S, bool Masked, int Chans = 1>
struct Traits {
  static constexpr Op kOp = O;
  static constexpr bool kMasked = Masked;
  static constexpr int kChans = Chans;
  static constexpr bool kTwo = O == Op::Product || O == Op::WeightedTo || O == Op::AbsDiff;
  // In place into a single-precision accumulator.
  static constexpr bool kInPlace = O == Op::Add || O == Op::Square || O == Op::Product || O == Op::Weighted;
  using Src = S;
  using Dst = std::conditional_t<kInPlace || O == Op::WeightedTo, float, S>;
  // alpha, or AbsDiffC's constant (an int for the integer types).
  using Scalar = std::conditional_t<O == Op::AbsDiffC && !std::is_floating_point_v<S>, int, float>;
};

// Calls Fn with the arguments in its own order.
template <class Tr, auto Fn>
KvpStatus call(const typename Tr::Src* s1, int st1, const typename Tr::Src* s2, int st2, const Kvp8u* m,
               int stm, typename Tr::Dst* d, int std_, KvpiSize roi, typename Tr::Scalar k) {
  constexpr Op O = Tr::kOp;
  if constexpr (O == Op::Add || O == Op::Square) {
    if constexpr (Tr::kMasked)
      return Fn(s1, st1, m, stm, d, std_, roi);
    else
      return Fn(s1, st1, d, std_, roi);
  } else if constexpr (O == Op::Weighted) {
    if constexpr (Tr::kMasked)
      return Fn(s1, st1, m, stm, d, std_, roi, k);
    else
      return Fn(s1, st1, d, std_, roi, k);
  } else if constexpr (O == Op::Product) {
    if constexpr (Tr::kMasked)
      return Fn(s1, st1, s2, st2, m, stm, d, std_, roi);
    else
      return Fn(s1, st1, s2, st2, d, std_, roi);
  } else if constexpr (O == Op::WeightedTo) {
    return Fn(s1, st1, s2, st2, d, std_, roi, k);
  } else if constexpr (O == Op::AbsDiff) {
    return Fn(s1, st1, s2, st2, d, std_, roi);
  } else {
    return Fn(s1, st1, d, std_, roi, k);
  }
}

// The per-pixel rule of the shared reference.
template <class Tr>
typename Tr::Dst rule(typename Tr::Src a, typename Tr::Src b, typename Tr::Dst old, typename Tr::Scalar k) {
  using S = typename Tr::Src;
  if constexpr (Tr::kOp == Op::AbsDiff)
    return ar::absDiff<S>(a, b);
  else if constexpr (Tr::kOp == Op::AbsDiffC)
    return ar::absDiff<S>(a, ar::constantOf<S>(k));
  else
    return ar::accumulate(Tr::kOp, old, (float)a, (float)b, k);
}

template <class T>
bool sameValue(T want, T got) {
  if constexpr (std::is_floating_point_v<T>) {
    if (std::isnan(want)) return std::isnan(got);
    return kvf::bitsOf(want) == kvf::bitsOf(got);
  } else {
    return want == got;
  }
}

template <class Tr>
typename Tr::Scalar pickScalar(kvf::Stream& s) {
  if constexpr (std::is_same_v<typename Tr::Scalar, int>) {
    const uint8_t how = s.byte();
    if (how < 32) return s.raw<int32_t>();
    if (how < 64) {
      static const int edge[] = {-1,
                                 0,
                                 1,
                                 254,
                                 255,
                                 256,
                                 65534,
                                 65535,
                                 65536,
                                 std::numeric_limits<int>::min(),
                                 std::numeric_limits<int>::max()};
      return edge[how % (sizeof edge / sizeof edge[0])];
    }
    return s.intIn(-300, 70000);
  } else {
    // Weights: mostly in 0..1, often the edges, sometimes anything.
    const uint8_t how = s.byte();
    if (how < 96) return (float)s.intIn(0, 256) / 256.f;
    return kvf::pickF(s);
  }
}

// Planes in argument order: source 1, source 2, mask, output.
enum { kS1, kS2, kMask, kOut, kPlanes };
using Planes = kvf::PlaneSet<kPlanes>;

// Pixels of the laid-out planes. Rows whose step is not a multiple of the
// element are misaligned: pixels go in and out through memcpy.
template <class Tr>
KVF_NO_COVERAGE void fill(kvf::Stream& in, Planes& g, int width, int height) {
  using S = typename Tr::Src;
  using D = typename Tr::Dst;
  for (int y = 0; y < height; ++y) {
    uint8_t* r1 = g.row(kS1, y);
    uint8_t* r2 = Tr::kTwo ? g.row(kS2, y) : nullptr;
    uint8_t* rm = Tr::kMasked ? g.row(kMask, y) : nullptr;
    uint8_t* ro = g.row(kOut, y);
    for (int x = 0; x < width; ++x) {
      const S a = kvf::pickElem<S>(in);
      std::memcpy(r1 + x * sizeof(S), &a, sizeof(S));
      if (Tr::kTwo) {
        // Often equal to the first source, so that differences are zero.
        const S b = in.byte() < 40 ? a : kvf::pickElem<S>(in);
        std::memcpy(r2 + x * sizeof(S), &b, sizeof(S));
      }
      if (Tr::kMasked) rm[x] = kvf::pickMask(in);
      // The accumulator starts from any value; a destination from noise,
      // so that a pixel the call skips is seen.
      const D o = Tr::kInPlace ? (D)kvf::pickF(in) : in.raw<D>();
      std::memcpy(ro + x * sizeof(D), &o, sizeof(D));
    }
  }
}

// Every output pixel against the rule; masked-out accumulator pixels keep
// their exact bits.
template <class Tr>
KVF_NO_COVERAGE void verify(Planes& g, int width, int height, typename Tr::Scalar k) {
  using S = typename Tr::Src;
  using D = typename Tr::Dst;
  for (int y = 0; y < height; ++y) {
    const uint8_t* r1 = g.row(kS1, y);
    const uint8_t* r2 = Tr::kTwo ? g.row(kS2, y) : nullptr;
    const uint8_t* rm = Tr::kMasked ? g.row(kMask, y) : nullptr;
    const uint8_t* ro = g.row(kOut, y);
    const uint8_t* rold = g.g[kOut]->armedRow(y);
    for (int x = 0; x < width; ++x) {
      S a, b{};
      D old, got;
      const Kvp8u m = Tr::kMasked ? rm[x] : 1;
      std::memcpy(&a, r1 + x * sizeof(S), sizeof(S));
      if (Tr::kTwo) std::memcpy(&b, r2 + x * sizeof(S), sizeof(S));
      std::memcpy(&old, rold + x * sizeof(D), sizeof(D));
      std::memcpy(&got, ro + x * sizeof(D), sizeof(D));
      if (Tr::kInPlace && Tr::kMasked && m == 0) {
        KVF_REQUIRE(std::memcmp(&old, &got, sizeof(D)) == 0,
                    "masked-out pixel (%d, %d) of %dx%d changed: %08x -> %08x", x, y, width, height,
                    kvf::bitsOf((float)old), kvf::bitsOf((float)got));
      } else {
        const D want = rule<Tr>(a, b, old, k);
        KVF_REQUIRE(sameValue(want, got), "pixel (%d, %d) of %dx%d: %a, expected %a", x, y, width, height,
                    (double)got, (double)want);
      }
    }
  }
}

template <class Tr, auto Fn>
void run(kvf::Stream& in) {
  using S = typename Tr::Src;
  using D = typename Tr::Dst;
  kvf::setThreads(in);
  const kvf::Dims dims = kvf::readDims(in, kThreadArea);
  const KvpiSize roi = dims.roi;
  // AbsDiff_8u_C3R is the one-channel operation on rows of width * 3
  // elements, checks included. Where width * 3 does not fit 32 bits, the
  // one-channel call it forwards to receives the wrapped product, so a huge
  // or negative width can pass as a small one; that is the status expected.
  const int width = Tr::kChans == 3 ? (int)((unsigned)roi.width * 3u) : roi.width;

  Planes g;
  g.d[kS1] = {true, (int)sizeof(S)};
  g.d[kS2] = {Tr::kTwo, (int)sizeof(S)};
  g.d[kMask] = {Tr::kMasked, 1};
  g.d[kOut] = {true, (int)sizeof(D)};
  g.read(in, width, dims.big);
  const typename Tr::Scalar k = pickScalar<Tr>(in);
  const KvpStatus expect = g.expect(width, roi.height);
  const long long maxBytes = dims.big ? kMaxBigPlaneBytes : kMaxPlaneBytes;
  // A successful call on planes too big to lay out here is not tried.
  if (expect == kvpStsOk && !g.fit(width, roi.height, maxBytes)) return;

  g.build(width, roi.height, maxBytes, in.byte());
  if (g.laidOut) fill<Tr>(in, g, width, roi.height);
  g.arm();

  const KvpStatus st = call<Tr, Fn>(g.ptr<S>(kS1), g.step(kS1), g.ptr<S>(kS2), g.step(kS2), g.ptr(kMask),
                                    g.step(kMask), g.ptr<D>(kOut), g.step(kOut), roi, k);
  if (!g.settle(st, expect, kOut)) return;
  KVF_REQUIRE(st == kvpStsOk, "status %d, expected success", (int)st);
  verify<Tr>(g, width, roi.height, k);
}

using Runner = void (*)(kvf::Stream&);

template <Op O, class S, bool M, auto Fn, int C = 1>
constexpr Runner entry = &run<Traits<O, S, M, C>, Fn>;

const Runner kRunners[] = {
    entry<Op::Add, Kvp8u, false, kvpiAdd_8u32f_C1IR>,
    entry<Op::Add, Kvp8s, false, kvpiAdd_8s32f_C1IR>,
    entry<Op::Add, Kvp16u, false, kvpiAdd_16u32f_C1IR>,
    entry<Op::Add, Kvp8u, true, kvpiAdd_8u32f_C1IMR>,
    entry<Op::Add, Kvp8s, true, kvpiAdd_8s32f_C1IMR>,
    entry<Op::Add, Kvp16u, true, kvpiAdd_16u32f_C1IMR>,
    entry<Op::Add, Kvp32f, true, kvpiAdd_32f_C1IMR>,
    entry<Op::Square, Kvp8u, false, kvpiAddSquare_8u32f_C1IR>,
    entry<Op::Square, Kvp8s, false, kvpiAddSquare_8s32f_C1IR>,
    entry<Op::Square, Kvp16u, false, kvpiAddSquare_16u32f_C1IR>,
    entry<Op::Square, Kvp32f, false, kvpiAddSquare_32f_C1IR>,
    entry<Op::Square, Kvp8u, true, kvpiAddSquare_8u32f_C1IMR>,
    entry<Op::Square, Kvp8s, true, kvpiAddSquare_8s32f_C1IMR>,
    entry<Op::Square, Kvp16u, true, kvpiAddSquare_16u32f_C1IMR>,
    entry<Op::Square, Kvp32f, true, kvpiAddSquare_32f_C1IMR>,
    entry<Op::Product, Kvp8u, false, kvpiAddProduct_8u32f_C1IR>,
    entry<Op::Product, Kvp8s, false, kvpiAddProduct_8s32f_C1IR>,
    entry<Op::Product, Kvp16u, false, kvpiAddProduct_16u32f_C1IR>,
    entry<Op::Product, Kvp32f, false, kvpiAddProduct_32f_C1IR>,
    entry<Op::Product, Kvp8u, true, kvpiAddProduct_8u32f_C1IMR>,
    entry<Op::Product, Kvp8s, true, kvpiAddProduct_8s32f_C1IMR>,
    entry<Op::Product, Kvp16u, true, kvpiAddProduct_16u32f_C1IMR>,
    entry<Op::Product, Kvp32f, true, kvpiAddProduct_32f_C1IMR>,
    entry<Op::Weighted, Kvp8u, false, kvpiAddWeighted_8u32f_C1IR>,
    entry<Op::Weighted, Kvp8s, false, kvpiAddWeighted_8s32f_C1IR>,
    entry<Op::Weighted, Kvp16u, false, kvpiAddWeighted_16u32f_C1IR>,
    entry<Op::Weighted, Kvp32f, false, kvpiAddWeighted_32f_C1IR>,
    entry<Op::Weighted, Kvp8u, true, kvpiAddWeighted_8u32f_C1IMR>,
    entry<Op::Weighted, Kvp8s, true, kvpiAddWeighted_8s32f_C1IMR>,
    entry<Op::Weighted, Kvp16u, true, kvpiAddWeighted_16u32f_C1IMR>,
    entry<Op::Weighted, Kvp32f, true, kvpiAddWeighted_32f_C1IMR>,
    entry<Op::WeightedTo, Kvp32f, false, kvpiAddWeighted_32f_C1R>,
    entry<Op::AbsDiff, Kvp8u, false, kvpiAbsDiff_8u_C1R>,
    entry<Op::AbsDiff, Kvp8u, false, kvpiAbsDiff_8u_C3R, 3>,
    entry<Op::AbsDiff, Kvp16u, false, kvpiAbsDiff_16u_C1R>,
    entry<Op::AbsDiff, Kvp32f, false, kvpiAbsDiff_32f_C1R>,
    entry<Op::AbsDiffC, Kvp8u, false, kvpiAbsDiffC_8u_C1R>,
    entry<Op::AbsDiffC, Kvp16u, false, kvpiAbsDiffC_16u_C1R>,
    entry<Op::AbsDiffC, Kvp32f, false, kvpiAbsDiffC_32f_C1R>,
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return kvf::dispatch(data, size, kRunners);
}

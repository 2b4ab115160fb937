// Fuzzes the masked norms (Norm, NormDiff, NormRel of kind Inf, L1, L2; 8u,
// 8s, 16u, 32f; one channel or one channel of interest of three): arbitrary
// sizes, steps, offsets, null pointers, masks, channels of interest and
// thread counts. Every call must return the status its arguments call for,
// write the result only on success (or on the zero-denominator warning),
// leave its inputs alone, and give the reference value bit for bit (exact
// integer sums; for 32f the fixed order of chunks and lanes that makes the
// value independent of the thread count); the same bits again with one
// thread.
#include <cfloat>
#include <cmath>
#include <cstring>
#include <iterator>
#include <optional>
#include <type_traits>

#include "fuzz_planes.h"
KVF_REF_BEGIN
#include "../arith/arith_ref.h"
KVF_REF_END

namespace {

constexpr long long kMaxPlaneBytes = 1 << 20;
constexpr long long kMaxBigPlaneBytes = 3 << 20;
// Enough pixels for the threaded path at up to three threads.
constexpr int kThreadArea = 3 * 32768;

enum class Op { Norm, Diff, Rel };

template <Op O, ar::Kind K, class S, int C>
struct Traits {
  static constexpr Op kOp = O;
  static constexpr ar::Kind kKind = K;
  static constexpr int kChans = C;
  static constexpr bool kTwo = O != Op::Norm;
  using Src = S;
};

template <class Tr, auto Fn>
KvpStatus call(const typename Tr::Src* a, int as, const typename Tr::Src* b, int bs, const Kvp8u* m, int ms,
               KvpiSize roi, int coi, Kvp64f* v) {
  if constexpr (!Tr::kTwo) {
    if constexpr (Tr::kChans == 1)
      return Fn(a, as, m, ms, roi, v);
    else
      return Fn(a, as, m, ms, roi, coi, v);
  } else {
    if constexpr (Tr::kChans == 1)
      return Fn(a, as, b, bs, m, ms, roi, v);
    else
      return Fn(a, as, b, bs, m, ms, roi, coi, v);
  }
}

// A norm's reference value; unknown for a maximum over NaNs, which has no
// defined value.
struct Ref {
  double v;
  bool unknown;
};

template <class S>
Ref reference(ar::Kind kind, const kvf::GuardedPlane& a, const kvf::GuardedPlane* b,
              const kvf::GuardedPlane& m, int w, int h, int C, int ch) {
  auto at = [C, ch](const kvf::GuardedPlane& p) {
    return [&p, C, ch](int x, int y) {
      S v;
      std::memcpy(&v, p.row(y) + ((size_t)x * C + ch) * sizeof(S), sizeof(S));
      return v;
    };
  };
  bool nanMax = false;
  const double v = ar::norm<S>(
      kind, w, h, b != nullptr, at(a), at(b ? *b : a), [&](int x, int y) { return m.row(y)[x]; }, &nanMax);
  return {v, nanMax};
}

bool sameResult(double got, double want) {
  return std::isnan(want) ? std::isnan(got) : kvf::bitsOf(got) == kvf::bitsOf(want);
}

// Norm and NormDiff: the reference's bits (any NaN for a NaN).
void checkPlain(const Ref& e, KvpStatus st, double v) {
  KVF_REQUIRE(st == kvpStsOk, "status %d, expected success", (int)st);
  if (!e.unknown) KVF_REQUIRE(sameResult(v, e.v), "value %a, expected %a", v, e.v);
}

// NormRel: NormDiff over Norm of the second image, with the zero-denominator
// rule: 0/0 gives the negative quiet NaN, x/0 +infinity.
void checkRel(const Ref& num, const Ref& den, KvpStatus st, double v) {
  if (num.unknown || den.unknown) {
    KVF_REQUIRE(st == kvpStsOk || st == kvpStsDivByZero, "status %d", (int)st);
    return;
  }
  if (den.v == 0) {
    KVF_REQUIRE(st == kvpStsDivByZero, "status %d with a zero denominator", (int)st);
    if (num.v == 0)
      KVF_REQUIRE(kvf::bitsOf(v) == 0xFFF8000000000000ull, "0/0 gave %a (bits %llx)", v,
                  (unsigned long long)kvf::bitsOf(v));
    else if (!std::isnan(num.v))  // a NaN numerator has no sign: left open
      KVF_REQUIRE(v == HUGE_VAL, "x/0 gave %a", v);
    return;
  }
  KVF_REQUIRE(st == kvpStsOk, "status %d with a non-zero denominator", (int)st);
  KVF_REQUIRE(sameResult(v, num.v / den.v), "value %a, expected %a", v, num.v / den.v);
}

// Planes in argument order: source 1, source 2, mask.
enum { kS1, kS2, kMask, kPlanes };
using Planes = kvf::PlaneSet<kPlanes>;

template <class S, int C, bool Two>
KVF_NO_COVERAGE void fill(kvf::Stream& in, Planes& g, int width, int height) {
  for (int y = 0; y < height; ++y) {
    uint8_t* r1 = g.row(kS1, y);
    uint8_t* r2 = Two ? g.row(kS2, y) : nullptr;
    uint8_t* rm = g.row(kMask, y);
    for (int x = 0; x < width; ++x) {
      rm[x] = kvf::pickMask(in);
      for (int c = 0; c < C; ++c) {
        const S a = kvf::pickElem<S>(in);
        // Often equal, so that differences vanish.
        const S b = in.byte() < 64 ? a : kvf::pickElem<S>(in);
        std::memcpy(r1 + ((size_t)x * C + c) * sizeof(S), &a, sizeof(S));
        if (Two) std::memcpy(r2 + ((size_t)x * C + c) * sizeof(S), &b, sizeof(S));
      }
    }
  }
}

template <class Tr, auto Fn>
void run(kvf::Stream& in) {
  using S = typename Tr::Src;
  constexpr int C = Tr::kChans;
  const int threads = kvf::setThreads(in);
  const kvf::Dims dims = kvf::readDims(in, kThreadArea);
  const KvpiSize roi = dims.roi;

  Planes g;
  g.d[kS1] = {true, (int)sizeof(S), C};
  g.d[kS2] = {Tr::kTwo, (int)sizeof(S), C};
  g.d[kMask].used = true;
  const bool valueNull = g.read(in, roi.width, dims.big, kPlanes + 1) == kPlanes;
  const int coi = C == 3 ? kvf::pickCoi(in) : 1;

  KvpStatus expect = g.expect(roi.width, roi.height, valueNull);
  if (expect == kvpStsOk && C == 3 && (coi < 1 || coi > 3)) expect = kvpStsBadCoi;
  const long long maxBytes = dims.big ? kMaxBigPlaneBytes : kMaxPlaneBytes;
  // A call expected to get past the checks needs planes that can be laid out.
  if (expect == kvpStsOk && !g.fit(roi.width, roi.height, maxBytes)) return;

  g.build(roi.width, roi.height, maxBytes, in.byte());
  if (g.laidOut) fill<S, C, Tr::kTwo>(in, g, roi.width, roi.height);
  // The result lies between guards, at any 8-byte offset.
  kvf::GuardedPlane value(8, 1, 8, (size_t)in.intIn(0, 3) * 8, in.byte());
  g.arm();
  value.arm();

  auto invoke = [&](Kvp64f* out) {
    return call<Tr, Fn>(g.ptr<S>(kS1), g.step(kS1), g.ptr<S>(kS2), g.step(kS2), g.ptr(kMask), g.step(kMask),
                        roi, coi, out);
  };
  const KvpStatus st = invoke(valueNull ? nullptr : value.as<Kvp64f>());
  if (!g.settle(st, expect, kPlanes, {&value})) return;
  KVF_REQUIRE(st == kvpStsOk || (Tr::kOp == Op::Rel && st == kvpStsDivByZero), "status %d, expected success",
              (int)st);
  double v;
  std::memcpy(&v, value.roi(), 8);

  const int ch = coi - 1;
  const Ref a = reference<S>(Tr::kKind, *g.g[kS1], Tr::kTwo ? &*g.g[kS2] : nullptr, *g.g[kMask], roi.width,
                             roi.height, C, ch);
  if (Tr::kOp == Op::Rel)
    checkRel(a, reference<S>(Tr::kKind, *g.g[kS2], nullptr, *g.g[kMask], roi.width, roi.height, C, ch), st,
             v);
  else
    checkPlain(a, st, v);

  // The same bits with one thread (the partial sums must not depend on
  // how the rows were shared out).
  if (threads > 1) {
    kvpSetNumThreads(1);
    Kvp64f again = 0;
    const KvpStatus st1 = invoke(&again);
    KVF_REQUIRE(st1 == st, "status %d with one thread, %d with %d", (int)st1, (int)st, threads);
    KVF_REQUIRE(kvf::bitsOf(again) == kvf::bitsOf(v), "value %a with one thread, %a with %d", again, v,
                threads);
  }
}

using Runner = void (*)(kvf::Stream&);

template <Op O, ar::Kind K, class S, int C, auto Fn>
constexpr Runner entry = &run<Traits<O, K, S, C>, Fn>;

#define KVF_NORM_OP(OP, NAME, KIND, TS, T)                             \
  entry<Op::OP, ar::k##KIND, T, 1, kvpi##NAME##_##KIND##_##TS##_C1MR>, \
      entry<Op::OP, ar::k##KIND, T, 3, kvpi##NAME##_##KIND##_##TS##_C3CMR>
#define KVF_NORM_KIND(KIND, TS, T)                                                \
  KVF_NORM_OP(Norm, Norm, KIND, TS, T), KVF_NORM_OP(Diff, NormDiff, KIND, TS, T), \
      KVF_NORM_OP(Rel, NormRel, KIND, TS, T)
#define KVF_NORM_TYPE(TS, T) KVF_NORM_KIND(Inf, TS, T), KVF_NORM_KIND(L1, TS, T), KVF_NORM_KIND(L2, TS, T)

const Runner kRunners[] = {
    KVF_NORM_TYPE(8u, Kvp8u),
    KVF_NORM_TYPE(8s, Kvp8s),
    KVF_NORM_TYPE(16u, Kvp16u),
    KVF_NORM_TYPE(32f, Kvp32f),
};
static_assert(std::size(kRunners) == 72);

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return kvf::dispatch(data, size, kRunners);
}

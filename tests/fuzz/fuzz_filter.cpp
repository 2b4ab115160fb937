// Fuzzes the separable filter pipelines: the eight row passes, the ten
// column passes and their eighteen buffer-size queries, with arbitrary
// sizes, steps, ROI offsets, kernels, anchors, border types and values,
// divisors, row-pointer arrays (permuted, shared, with null entries), null
// pointers and thread counts.
//
// Every call must return the status its arguments call for; a failing call
// writes nothing (destination rows, buffer); a successful one writes nothing
// outside the destination pixels and its buffer, reads only its inputs
// (guards are poisoned) and leaves them untouched. Results are compared
// with a direct per-pixel sum, and a second call with another thread count
// and a buffer full of other garbage must give the same bytes.
#include <algorithm>
#include <cstring>
#include <type_traits>
#include <vector>

#include "fuzz_values.h"
KVF_REF_BEGIN
#include "../filter/filter_ref.h"
KVF_REF_END

namespace {

constexpr long long kMaxPlaneBytes = 1 << 20;
constexpr long long kMaxProducts = 1 << 20;  // output elements x taps per call (about 50 ms)
constexpr int kMaxTaps = 64;
constexpr int kMaxRows = 65536;  // keeps pointer arrays and work buffers small

enum class Arith { Scaled, Low, Float };

template <class S, class D, int CH, Arith A>
struct Pass {
  using Src = S;
  using Dst = D;
  using Tap = std::conditional_t<A == Arith::Float, float, Kvp16s>;
  static constexpr int ch = CH;
  static constexpr Arith arith = A;
  static constexpr bool hasDivisor = A != Arith::Float;
};

// What a size query reports: n threads times (area + 32 + 8 (H + k)) in
// 32-bit arithmetic, the area being a k + b for the row passes and
// a * (W rounded up to `round`) + 32 for the column passes; or always 32.
enum SizeForm { kRowArea, kColumnArea, kFixed32 };
struct Sizing {
  SizeForm form;
  uint32_t a, b, round;
};

uint32_t expectedBufferSize(Sizing z, KvpiSize roi, int k, int threads) {
  if (z.form == kFixed32) return 32;
  const uint32_t w = (uint32_t)roi.width, h = (uint32_t)roi.height, kk = (uint32_t)k;
  const uint32_t area =
      z.form == kRowArea ? z.a * kk + z.b : z.a * ((w + z.round - 1) & ~(z.round - 1)) + 32u;
  return (uint32_t)threads * (area + 32u + 8u * (h + kk));
}

int useThreads(int n) {
  KVF_REQUIRE(kvpSetNumThreads(n) == kvpStsOk, "cannot set %d threads", n);
  int got = 0;
  KVF_REQUIRE(kvpGetNumThreads(&got) == kvpStsOk && got >= 1, "thread count unreadable");
  return got;
}

// ---- reading the arguments ------------------------------------------------

KvpiSize readRoi(kvf::Reader& in) {
  const uint8_t how = in.byte() % 8;
  if (how < 4) return {in.intIn(-1, 24), in.intIn(-1, 12)};
  if (how == 6) {
    const uint8_t big = in.byte() % 32;
    if (big < 4) return {in.intIn(256, 320), in.intIn(256, 320)};   // threaded with two threads
    if (big == 4) return {in.intIn(512, 580), in.intIn(520, 560)};  // past 262144 pixels
  }
  if (how < 7) return {in.intIn(1, 80), in.intIn(1, 40)};
  return {in.raw<int32_t>(), in.raw<int32_t>()};
}

int readTaps(kvf::Reader& in) {
  switch (in.byte() % 8) {
    case 0:
      return 3;
    case 1:
      return 5;
    case 2:
    case 3:
      return in.intIn(1, 9);
    case 4:
      return in.intIn(10, kMaxTaps);
    case 5:
      return in.intIn(-2, 0);
    case 6:
      return in.raw<int32_t>();
    default:
      return 1;
  }
}

int readAnchor(kvf::Reader& in, int k) {
  const uint8_t how = in.byte() % 8;
  if (how < 5) return k > 0 ? in.intIn(0, k - 1) : 0;
  if (how == 5) return k;
  if (how == 6) return -1;
  return in.raw<int32_t>();
}

int readBorder(kvf::Reader& in) {
  const uint8_t how = in.byte();
  if (how % 8 < 5) return how % 8;
  if (how % 8 == 5) {
    static const int flags[] = {64, 128, 192};  // pixels beside the row taken from memory
    return in.intIn(0, 4) | flags[in.byte() % 3];
  }
  if (how % 8 == 6) return in.intIn(-1, 9);
  return in.raw<int32_t>();
}

int readDivisor(kvf::Reader& in) {
  static const int picked[] = {16, 32768, -32768, 16384, 3, 65536, -1, 10923, 2147483647, -2147483647 - 1};
  switch (in.byte() % 8) {
    case 0:
      return 1;
    case 1:
    case 2:
      return in.intIn(1, 300);
    case 3:
      return -in.intIn(1, 300);
    case 4:
      return 0;
    case 5:
      return picked[in.byte() % 10];
    case 6:
      return in.raw<int32_t>();
    default:
      return in.intIn(1, 8);
  }
}

// Which pointers are null: mostly none.
enum : unsigned { kNullSrc = 1, kNullDst = 2, kNullTaps = 4, kNullBuffer = 8, kNullExtra = 16 };
unsigned readNulls(kvf::Reader& in) {
  const uint8_t b = in.byte();
  return (b >> 5) == 0 ? (b & 31u) : 0u;
}

// Taps from the input: any value, small ones or extremes, in any order or
// symmetric about the centre.
template <class T>
T readTap(kvf::Reader& in, uint8_t mode) {
  if constexpr (std::is_floating_point_v<T>) {
    return mode == 0 ? in.pickFloat() : (float)in.intIn(-8, 8) / (mode == 1 ? 1.f : 4.f);
  } else {
    static const Kvp16s extremes[] = {-32768, 32767, 0, 1, -1};
    if (mode == 0) return in.raw<Kvp16s>();
    if (mode == 1) return (Kvp16s)in.intIn(-4, 8);
    return extremes[in.byte() % 5];
  }
}

// A work buffer of exactly the size the query reports for the current
// thread count, at any offset from the allocator's alignment; a trap when
// the query fails.
template <auto SizeFn>
kvf::GuardedPlane workBuffer(KvpiSize roi, int k, size_t lead, uint8_t seed, bool* ok) {
  int bytes = -1;
  *ok = SizeFn(roi, k, &bytes) == kvpStsOk && bytes >= 1 && bytes <= (8 << 20);
  if (!*ok) return kvf::GuardedPlane::trap(seed);
  kvf::GuardedPlane b((size_t)bytes, 1, (size_t)bytes, lead, seed);
  b.arm();
  return b;
}

// k taps into their plane; modes 3 to 5 mirror the first half.
template <class T>
void fillTaps(kvf::Reader& in, kvf::GuardedPlane& taps, int k, uint8_t mode) {
  std::vector<T> t((size_t)k);
  for (int j = 0; j < k; ++j) t[j] = mode >= 3 && j >= (k + 1) / 2 ? t[k - 1 - j] : readTap<T>(in, mode % 3);
  std::memcpy(taps.roi(), t.data(), (size_t)k * sizeof(T));
  taps.arm();
}

// ---- the arithmetic of one output element ---------------------------------

template <class D>
constexpr float lowest() {
  return (float)std::numeric_limits<D>::lowest();
}
template <class D>
constexpr float highest() {
  return (float)std::numeric_limits<D>::max();
}

// Whether got is the reference's result of the taps applied to vals
// (foldTaps: the column route for 3 and 5 taps). Left open: elements whose
// integer sum leaves 32 bits (the width of the sum is the library's), and
// the Q14 reciprocal of divisors of magnitude 32768, a tie between 0 and 1.
template <class P>
KVF_NO_COVERAGE bool elementOk(const typename P::Tap* taps, const typename P::Src* vals, int k, int divisor,
                               bool foldTaps, typename P::Dst got) {
  using D = typename P::Dst;
  constexpr ref::Mode mode = P::arith == Arith::Float ? ref::Mode::Float
                             : P::arith == Arith::Low ? ref::Mode::Low
                                                      : ref::Mode::Scaled;
  const D want = ref::element<D>(taps, vals, k, divisor, mode, foldTaps, lowest<D>(), highest<D>());
  if constexpr (P::arith == Arith::Float) {
    return std::isnan(want) ? std::isnan(got) : std::memcmp(&want, &got, sizeof got) == 0;
  } else {
    long long sum = 0;
    for (int j = 0; j < k; ++j) sum += (long long)taps[j] * vals[j];
    if (P::arith == Arith::Low && (divisor == 32768 || divisor == -32768))
      return got == 0 || got == (D)(((int)(int16_t)(uint16_t)(sum & 0xffff) * (divisor > 0 ? 1 : -1)) >> 14);
    if (P::arith == Arith::Scaled && !foldTaps && (sum < INT32_MIN || sum > INT32_MAX)) return true;
    return got == want;
  }
}

// The taps, the samples they multiply and the result, for a failure report.
template <class P>
void printElement(const typename P::Tap* taps, const typename P::Src* vals, int k, typename P::Dst got) {
  for (int j = 0; j < k; ++j) std::fprintf(stderr, "  tap %.9g x %.9g\n", (double)taps[j], (double)vals[j]);
  std::fprintf(stderr, "  result %.9g\n", (double)got);
}

// ---- row pass -------------------------------------------------------------

KvpStatus expectRow(unsigned nulls, KvpiSize roi, int k, int anchor, int step, int elem, int ch, int type,
                    bool hasDivisor, int divisor) {
  if (nulls & (kNullSrc | kNullDst | kNullTaps | kNullBuffer)) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1 || k < 1) return kvpStsBadSize;
  if (anchor < 0 || anchor >= k) return kvpStsBadAnchor;
  if ((long long)step < (long long)roi.width * ch * elem) return kvpStsBadStep;
  if (step % elem != 0) return kvpStsStepNotMultiple;
  if (type < 0 || type > 4) return kvpStsBadArg;
  if (ch == 3 && type == 0 && (nulls & kNullExtra)) return kvpStsNullPtr;
  if (hasDivisor && divisor == 0) return kvpStsBadArg;
  return kvpStsOk;
}

template <class P, auto Fn>
KvpStatus callRow(const typename P::Src* src, int step, typename P::Dst** dst, KvpiSize roi,
                  const typename P::Tap* taps, int k, int anchor, int type, const typename P::Src* values,
                  int divisor, Kvp8u* buffer) {
  if constexpr (P::ch == 1 && P::hasDivisor)
    return Fn(src, step, dst, roi, taps, k, anchor, type, *values, divisor, buffer);
  else if constexpr (P::ch == 1)
    return Fn(src, step, dst, roi, taps, k, anchor, type, *values, buffer);
  else if constexpr (P::hasDivisor)
    return Fn(src, step, dst, roi, taps, k, anchor, type, values, divisor, buffer);
  else
    return Fn(src, step, dst, roi, taps, k, anchor, type, values, buffer);
}

// Every element of the row pass whose window the border rules define.
template <class P>
KVF_NO_COVERAGE void checkRowResult(const kvf::GuardedPlane& src, const kvf::GuardedPlane& dst,
                                    const std::vector<int>& rowOf, const typename P::Tap* taps,
                                    const typename P::Src* border, KvpiSize roi, int k, int anchor, int type,
                                    int divisor) {
  using S = typename P::Src;
  using D = typename P::Dst;
  constexpr int ch = P::ch;
  std::vector<S> window((size_t)k);
  for (int y = 0; y < roi.height; ++y) {
    const uint8_t* s = src.row(y);
    const uint8_t* d = dst.row(rowOf[y]);
    for (int x = 0; x < roi.width; ++x)
      for (int c = 0; c < ch; ++c) {
        for (int j = 0; j < k; ++j) {
          const int q = ref::borderPixel(x - anchor + j, roi.width, type);
          if (q < 0)
            std::memcpy(&window[j], reinterpret_cast<const uint8_t*>(border) + c * sizeof(S), sizeof(S));
          else
            window[j] = kvf::load<S>(s, (long long)q * ch + c);
        }
        const D got = kvf::load<D>(d, (long long)x * ch + c);
        const bool ok = elementOk<P>(taps, window.data(), k, divisor, false, got);
        if (!ok) printElement<P>(taps, window.data(), k, got);
        KVF_REQUIRE(ok, "row %d element %d channel %d of %dx%d (k %d anchor %d type %d divisor %d)", y, x, c,
                    roi.width, roi.height, k, anchor, type, divisor);
      }
  }
}

template <class P, auto Fn, auto SizeFn>
void runRow(kvf::Reader& in) {
  using S = typename P::Src;
  using D = typename P::Dst;
  using T = typename P::Tap;
  constexpr int ch = P::ch;
  const int threads = 1 + in.byte() % 3;
  useThreads(threads);
  const KvpiSize roi = readRoi(in);
  const int k = readTaps(in);
  const int anchor = readAnchor(in, k);
  const int type = readBorder(in);
  const int divisor = P::hasDivisor ? readDivisor(in) : 1;
  const long long elems = (long long)roi.width * ch;
  const int srcStep = kvf::readStep(in, elems * (long long)sizeof(S), sizeof(S));
  const size_t srcLead = (size_t)in.intIn(0, 31) * sizeof(S);
  const long long dstRowBytes = elems * (long long)sizeof(D);
  const long long dstStep = dstRowBytes + (long long)sizeof(D) * in.intIn(0, 8);
  const size_t dstLead = (size_t)in.intIn(0, 31) * sizeof(D);
  const unsigned nulls = readNulls(in);
  const uint8_t order = in.byte();  // how the pointer array maps ROI rows to intermediate rows
  const KvpStatus expect =
      expectRow(nulls, roi, k, anchor, srcStep, (int)sizeof(S), ch, type, P::hasDivisor, divisor);

  const bool fits =
      kvf::planeFits(elems * (long long)sizeof(S), roi.height, srcStep, (long long)srcLead, kMaxPlaneBytes) &&
      kvf::planeFits(dstRowBytes, roi.height, dstStep, (long long)dstLead, kMaxPlaneBytes) && k >= 1 &&
      k <= kMaxTaps && elems * roi.height * k <= kMaxProducts && roi.height <= kMaxRows;
  // A successful call on planes too big to lay out here is not tried; every
  // failing call is, on trap planes when the planes cannot be laid out.
  if (expect == kvpStsOk && !fits) return;

  kvf::Filler fill(in);
  kvf::GuardedPlane src = kvf::planeOrTrap(fits, elems * sizeof(S), roi.height, srcStep, srcLead, 1);
  if (fits) kvf::fillPlane<S>(src, elems, fill);
  kvf::GuardedPlane dst = kvf::planeOrTrap(fits, dstRowBytes, roi.height, dstStep, dstLead, 2);
  if (fits) kvf::scribble(dst, in.byte());
  kvf::GuardedPlane rows =
      kvf::planeOrTrap(fits, 8LL * roi.height, 1, 8LL * roi.height, 8 * in.intIn(0, 3), 3);
  std::vector<int> rowOf;  // intermediate row written through entry y
  if (fits) {
    const int rot = in.intIn(0, roi.height - 1);
    for (int y = 0; y < roi.height; ++y) {
      const int r = ((order & 1) ? roi.height - 1 - y : y) + ((order & 2) ? rot : 0);
      rowOf.push_back(r % roi.height);
      D* p = reinterpret_cast<D*>(dst.row(rowOf.back()));
      std::memcpy(rows.roi() + 8 * y, &p, 8);
    }
    rows.arm();
  }
  const uint8_t tapMode = in.byte() % 6;
  kvf::GuardedPlane taps = kvf::planeOrTrap(fits, k * (long long)sizeof(T), 1, k * (long long)sizeof(T),
                                            sizeof(T) * in.intIn(0, 7), 4);
  if (fits) fillTaps<T>(in, taps, k, tapMode);
  // Border values: one by value for one channel, three behind a pointer.
  kvf::GuardedPlane values(ch * sizeof(S), 1, ch * sizeof(S), sizeof(S) * in.intIn(0, 3), 5);
  {
    kvf::Filler vf(in);
    kvf::fillPlane<S>(values, ch, vf);
  }
  bool haveBuffer = false;
  kvf::GuardedPlane buffer = workBuffer<SizeFn>(roi, k, (size_t)in.intIn(0, 63), in.byte(), &haveBuffer);
  if (expect == kvpStsOk) KVF_REQUIRE(haveBuffer, "the size query failed for valid arguments");

  const S* valuesArg = (ch == 3 && (nulls & kNullExtra)) ? nullptr : values.as<S>();
  auto call = [&]() {
    return callRow<P, Fn>((nulls & kNullSrc) ? nullptr : src.as<S>(), srcStep,
                          (nulls & kNullDst) ? nullptr : reinterpret_cast<D**>(rows.roi()), roi,
                          (nulls & kNullTaps) ? nullptr : taps.as<T>(), k, anchor, type, valuesArg, divisor,
                          (nulls & kNullBuffer) ? nullptr : buffer.roi());
  };
  const KvpStatus st = call();

  if (!kvf::settled(st, expect, {&src, &taps, &values, &rows}, {&dst, &buffer})) return;

  checkRowResult<P>(src, dst, rowOf, taps.as<T>(), values.as<S>(), roi, k, anchor, type, divisor);

  // Same bytes with another thread count and a fresh buffer.
  const std::vector<uint8_t> first = kvf::pixels(dst);
  useThreads(threads % 3 + 1);
  buffer = workBuffer<SizeFn>(roi, k, (size_t)in.intIn(0, 63), in.byte() ^ 0xa5, &haveBuffer);
  KVF_REQUIRE(haveBuffer, "the size query failed on the second call");
  kvf::scribble(dst, 0x3c);
  KVF_REQUIRE(call() == kvpStsOk, "the second call failed");
  KVF_REQUIRE(kvf::pixels(dst) == first, "another thread count or buffer changed the result");
  KVF_REQUIRE(dst.guardsIntact() && buffer.guardsIntact(), "the second call wrote outside");
}

// ---- column pass ----------------------------------------------------------

KvpStatus expectColumn(unsigned nulls, KvpiSize roi, int k, int step, int elem, int ch, bool hasDivisor,
                       int divisor) {
  if (nulls & (kNullSrc | kNullDst | kNullTaps)) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1 || k < 1) return kvpStsBadSize;
  if ((long long)step < (long long)roi.width * ch * elem) return kvpStsBadStep;
  if (step % elem != 0) return kvpStsStepNotMultiple;
  if (nulls & kNullBuffer) return kvpStsNullPtr;
  if (hasDivisor && divisor == 0) return kvpStsBadArg;
  return kvpStsOk;  // the row entries come next
}

template <class P, auto Fn>
KvpStatus callColumn(const typename P::Src** rows, typename P::Dst* dst, int step, KvpiSize roi,
                     const typename P::Tap* taps, int k, int divisor, Kvp8u* buffer) {
  if constexpr (P::hasDivisor)
    return Fn(rows, dst, step, roi, taps, k, divisor, buffer);
  else
    return Fn(rows, dst, step, roi, taps, k, buffer);
}

// Every element of the column pass.
template <class P>
KVF_NO_COVERAGE void checkColumnResult(const kvf::GuardedPlane& src, const kvf::GuardedPlane& dst,
                                       const std::vector<int>& rowOf, const typename P::Tap* taps,
                                       KvpiSize roi, int k, int divisor) {
  using S = typename P::Src;
  using D = typename P::Dst;
  const long long elems = (long long)roi.width * P::ch;
  const bool floatTaps = k == 3 || k == 5;
  std::vector<S> column((size_t)k);
  for (int y = 0; y < roi.height; ++y)
    for (long long e = 0; e < elems; ++e) {
      for (int j = 0; j < k; ++j) column[j] = kvf::load<S>(src.row(rowOf[y + j]), e);
      const D got = kvf::load<D>(dst.row(y), e);
      const bool ok = elementOk<P>(taps, column.data(), k, divisor, floatTaps, got);
      if (!ok) printElement<P>(taps, column.data(), k, got);
      KVF_REQUIRE(ok, "row %d element %lld of %dx%d (k %d divisor %d)", y, e, roi.width, roi.height, k,
                  divisor);
    }
}

template <class P, auto Fn, auto SizeFn>
void runColumn(kvf::Reader& in) {
  using S = typename P::Src;
  using D = typename P::Dst;
  using T = typename P::Tap;
  constexpr int ch = P::ch;
  const int threads = 1 + in.byte() % 3;
  useThreads(threads);
  const KvpiSize roi = readRoi(in);
  const int k = readTaps(in);
  const int divisor = P::hasDivisor ? readDivisor(in) : 1;
  const long long elems = (long long)roi.width * ch;
  const int dstStep = kvf::readStep(in, elems * (long long)sizeof(D), sizeof(D));
  const size_t dstLead = (size_t)in.intIn(0, 31) * sizeof(D);
  const unsigned nulls = readNulls(in);
  const uint8_t layout = in.byte();
  const long long count = (long long)roi.height + k - 1;  // row entries the pass reads

  KvpStatus expect = expectColumn(nulls, roi, k, dstStep, (int)sizeof(D), ch, P::hasDivisor, divisor);
  const bool readsEntries = expect == kvpStsOk;
  if (readsEntries && (nulls & kNullExtra)) expect = kvpStsNullPtr;

  // Distinct source rows behind the entries: one each, one for all, a ring
  // of k rows, or a few picked at random.
  long long distinct = 1;
  if (count >= 1 && count <= kMaxRows + kMaxTaps) {
    switch (layout % 4) {
      case 0:
        distinct = count;
        break;
      case 1:
        distinct = 1;
        break;
      case 2:
        distinct = std::min<long long>(count, k);
        break;
      default:
        distinct = 1 + in.byte() % std::min<long long>(count, 16);
        break;
    }
  }
  const long long srcRowBytes = elems * (long long)sizeof(S);
  const long long srcStep = srcRowBytes + (long long)sizeof(S) * in.intIn(0, 8);
  const bool fits =
      k >= 1 && k <= kMaxTaps && roi.height <= kMaxRows &&
      kvf::planeFits(srcRowBytes, distinct, srcStep, 0, kMaxPlaneBytes) &&
      kvf::planeFits(elems * (long long)sizeof(D), roi.height, dstStep, (long long)dstLead, kMaxPlaneBytes) &&
      elems * roi.height * k <= kMaxProducts;
  // Calls that get as far as the row entries need them all laid out.
  if (readsEntries && !fits) return;

  kvf::Filler fill(in);
  kvf::GuardedPlane src =
      kvf::planeOrTrap(fits, srcRowBytes, distinct, srcStep, sizeof(S) * in.intIn(0, 15), 1);
  if (fits) kvf::fillPlane<S>(src, elems, fill);
  kvf::GuardedPlane dst = kvf::planeOrTrap(fits, elems * sizeof(D), roi.height, dstStep, dstLead, 2);
  if (fits) kvf::scribble(dst, in.byte());
  kvf::GuardedPlane rows = kvf::planeOrTrap(fits, 8 * count, 1, 8 * count, 8 * in.intIn(0, 3), 3);
  std::vector<int> rowOf;  // source row behind entry i
  if (fits) {
    uint32_t h = in.raw<uint32_t>() | 1;
    const long long nullAt = (nulls & kNullExtra) ? in.intIn(0, (int)count - 1) : -1;
    for (long long i = 0; i < count; ++i) {
      h = h * 1664525u + 1013904223u;
      rowOf.push_back((int)((layout % 4 == 3 ? (h >> 8) : (uint32_t)i) % distinct));
      const S* p = i == nullAt ? nullptr : reinterpret_cast<const S*>(src.row(rowOf.back()));
      std::memcpy(rows.roi() + 8 * i, &p, 8);
    }
    rows.arm();
  }
  const uint8_t tapMode = in.byte() % 6;
  kvf::GuardedPlane taps = kvf::planeOrTrap(fits, k * (long long)sizeof(T), 1, k * (long long)sizeof(T),
                                            sizeof(T) * in.intIn(0, 7), 4);
  if (fits) fillTaps<T>(in, taps, k, tapMode);
  bool haveBuffer = false;
  kvf::GuardedPlane buffer = workBuffer<SizeFn>(roi, k, (size_t)in.intIn(0, 63), in.byte(), &haveBuffer);
  if (expect == kvpStsOk) KVF_REQUIRE(haveBuffer, "the size query failed for valid arguments");

  auto call = [&]() {
    return callColumn<P, Fn>((nulls & kNullSrc) ? nullptr : reinterpret_cast<const S**>(rows.roi()),
                             (nulls & kNullDst) ? nullptr : dst.as<D>(), dstStep, roi,
                             (nulls & kNullTaps) ? nullptr : taps.as<T>(), k, divisor,
                             (nulls & kNullBuffer) ? nullptr : buffer.roi());
  };
  const KvpStatus st = call();

  if (!kvf::settled(st, expect, {&src, &taps, &rows}, {&dst, &buffer})) return;

  checkColumnResult<P>(src, dst, rowOf, taps.as<T>(), roi, k, divisor);

  const std::vector<uint8_t> first = kvf::pixels(dst);
  useThreads(threads % 3 + 1);
  buffer = workBuffer<SizeFn>(roi, k, (size_t)in.intIn(0, 63), in.byte() ^ 0xa5, &haveBuffer);
  KVF_REQUIRE(haveBuffer, "the size query failed on the second call");
  kvf::scribble(dst, 0x3c);
  KVF_REQUIRE(call() == kvpStsOk, "the second call failed");
  KVF_REQUIRE(kvf::pixels(dst) == first, "another thread count or buffer changed the result");
  KVF_REQUIRE(dst.guardsIntact() && buffer.guardsIntact(), "the second call wrote outside");
}

// ---- size queries ---------------------------------------------------------

template <auto SizeFn, Sizing Z>
void runSize(kvf::Reader& in) {
  const int threads = useThreads(1 + in.byte() % 8);
  const uint8_t how = in.byte();
  const KvpiSize roi = (how & 1) ? KvpiSize{in.raw<int32_t>(), in.raw<int32_t>()} : readRoi(in);
  const int k = (how & 2) ? in.raw<int32_t>() : readTaps(in);
  const bool nullOut = (how >> 2) % 16 == 0;
  int out = -77;
  const KvpStatus st = SizeFn(roi, k, nullOut ? nullptr : &out);
  KvpStatus expect = kvpStsOk;
  if (nullOut)
    expect = kvpStsNullPtr;
  else if (roi.width < 1 || roi.height < 1 || k < 1)
    expect = kvpStsBadSize;
  KVF_REQUIRE(st == expect, "size query status %d, expected %d (w %d h %d k %d)", (int)st, (int)expect,
              roi.width, roi.height, k);
  if (st != kvpStsOk) {
    KVF_REQUIRE(out == -77, "a failing size query stored %d", out);
    return;
  }
  const uint32_t want = expectedBufferSize(Z, roi, k, threads);
  KVF_REQUIRE((uint32_t)out == want, "size %d, expected %d (w %d h %d k %d threads %d)", out, (int)want,
              roi.width, roi.height, k, threads);
}

// ---- the table ------------------------------------------------------------

using Run = void (*)(kvf::Reader&);

#define KVF_ROW(T, CH, AREA_A, AREA_B, ...)                         \
  &runRow<__VA_ARGS__, kvpiFilterRowBorderPipeline_##T##_C##CH##R,  \
          kvpiFilterRowBorderPipelineGetBufferSize_##T##_C##CH##R>, \
      &runSize<kvpiFilterRowBorderPipelineGetBufferSize_##T##_C##CH##R, Sizing{kRowArea, AREA_A, AREA_B, 0}>
#define KVF_COL(T, CH, SIZING, ...)                                 \
  &runColumn<__VA_ARGS__, kvpiFilterColumnPipeline_##T##_C##CH##R,  \
             kvpiFilterColumnPipelineGetBufferSize_##T##_C##CH##R>, \
      &runSize<kvpiFilterColumnPipelineGetBufferSize_##T##_C##CH##R, SIZING>

constexpr Sizing col(uint32_t a, uint32_t round) { return Sizing{kColumnArea, a, 0, round}; }
constexpr Sizing kFixed = Sizing{kFixed32, 0, 0, 0};

// Each pipeline function followed by its size query.
const Run kRuns[] = {
    KVF_ROW(8u16s, 1, 36, 112, Pass<Kvp8u, Kvp16s, 1, Arith::Scaled>),
    KVF_ROW(8u16s, 3, 60, 112, Pass<Kvp8u, Kvp16s, 3, Arith::Scaled>),
    KVF_ROW(16s, 1, 48, 80, Pass<Kvp16s, Kvp16s, 1, Arith::Scaled>),
    KVF_ROW(16s, 3, 40, 64, Pass<Kvp16s, Kvp16s, 3, Arith::Scaled>),
    KVF_ROW(Low_16s, 1, 24, 64, Pass<Kvp16s, Kvp16s, 1, Arith::Low>),
    KVF_ROW(Low_16s, 3, 208, 64, Pass<Kvp16s, Kvp16s, 3, Arith::Low>),
    KVF_ROW(32f, 1, 128, 64, Pass<Kvp32f, Kvp32f, 1, Arith::Float>),
    KVF_ROW(32f, 3, 192, 32, Pass<Kvp32f, Kvp32f, 3, Arith::Float>),
    KVF_COL(16s, 1, col(12, 4), Pass<Kvp16s, Kvp16s, 1, Arith::Scaled>),
    KVF_COL(16s, 3, col(36, 4), Pass<Kvp16s, Kvp16s, 3, Arith::Scaled>),
    KVF_COL(16s8u, 1, col(12, 4), Pass<Kvp16s, Kvp8u, 1, Arith::Scaled>),
    KVF_COL(16s8u, 3, col(36, 4), Pass<Kvp16s, Kvp8u, 3, Arith::Scaled>),
    KVF_COL(16s8s, 1, col(12, 4), Pass<Kvp16s, Kvp8s, 1, Arith::Scaled>),
    KVF_COL(16s8s, 3, col(36, 4), Pass<Kvp16s, Kvp8s, 3, Arith::Scaled>),
    KVF_COL(Low_16s, 1, col(12, 8), Pass<Kvp16s, Kvp16s, 1, Arith::Low>),
    KVF_COL(Low_16s, 3, col(36, 8), Pass<Kvp16s, Kvp16s, 3, Arith::Low>),
    KVF_COL(32f, 1, kFixed, Pass<Kvp32f, Kvp32f, 1, Arith::Float>),
    KVF_COL(32f, 3, kFixed, Pass<Kvp32f, Kvp32f, 3, Arith::Float>),
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader in(data, size);
  kRuns[in.byte() % (sizeof(kRuns) / sizeof(kRuns[0]))](in);
  return 0;
}

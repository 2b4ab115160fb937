// Fuzzes one level of the Gaussian 5x5 pyramid: the twelve down and up
// functions and the two buffer-size queries, with arbitrary sizes, steps,
// ROI offsets, null pointers, data-type codes and channel counts.
//
// Every call must return the status its arguments call for; a failing call
// writes nothing; a successful one writes nothing outside the destination
// pixels and the buffer, reads nothing outside its source (guards are
// poisoned) and leaves the source untouched. Results are compared with the
// direct 25-tap sum of the kernel (1 4 6 4 1) under the border rules of each
// direction, and a second call with a buffer full of other garbage must give
// the same bytes.
#include <cstring>
#include <type_traits>

#include "fuzz_values.h"
KVF_REF_BEGIN
#include "../pyramid/pyramid_ref.h"
KVF_REF_END

namespace {

constexpr long long kMaxPlaneBytes = 1 << 20;

template <class T>
constexpr int kTypeCode = 1;
template <>
constexpr int kTypeCode<Kvp8s> = 3;
template <>
constexpr int kTypeCode<Kvp32f> = 13;

template <class T>
using LevelFn = KvpStatus (*)(const T*, int, T*, int, KvpiSize, Kvp8u*);
using SizeFn = KvpStatus (*)(int, KvpDataType, int, int*);

// Every destination element against the reference: integers exactly;
// floats within the rounding of any order of addition.
template <class T, int CH, bool Down>
KVF_NO_COVERAGE void checkLevel(const kvf::GuardedPlane& src, const kvf::GuardedPlane& dst, KvpiSize roi,
                                KvpiSize out) {
  int xi[5], xw[5], yi[5], yw[5];
  for (int Y = 0; Y < out.height; ++Y)
    for (int X = 0; X < out.width; ++X)
      for (int c = 0; c < CH; ++c) {
        auto get = [&](int x, int y) { return kvf::load<T>(src.row(y), (long long)x * CH + c); };
        const T got = kvf::load<T>(dst.row(Y), (long long)X * CH + c);
        bool ok;
        if constexpr (std::is_floating_point_v<T>) {
          const int nx = pr::taps(Down, X, roi.width, xi, xw), ny = pr::taps(Down, Y, roi.height, yi, yw);
          kvf::FloatSum s;
          for (int j = 0; j < ny; ++j)
            for (int i = 0; i < nx; ++i) s.add(yw[j] * xw[i], get(xi[i], yi[j]));
          ok = s.matches(got, Down ? 1.0 / 256 : 1.0 / 64);
        } else {
          ok = got == pr::level<T>(Down, X, Y, roi.width, roi.height, get);
        }
        if (!ok) std::fprintf(stderr, "  result %.9g\n", (double)got);
        KVF_REQUIRE(ok, "%s pixel (%d, %d) channel %d of a %dx%d source", Down ? "down" : "up", X, Y, c,
                    roi.width, roi.height);
      }
}

// ---- level functions ------------------------------------------------------

KvpiSize readRoi(kvf::Reader& in) {
  switch (in.byte() % 8) {
    case 0:
    case 1:
    case 2:
    case 3:
      return {in.intIn(-1, 20), in.intIn(-1, 12)};
    case 4:
    case 5:
      return {in.intIn(1, 300), in.intIn(1, 16)};  // past the 16-wide horizontal blocks
    case 6:
      return {in.intIn(1, 4), in.intIn(1, 40)};  // narrow and short shapes
    default:
      return {in.raw<int32_t>(), in.raw<int32_t>()};
  }
}

enum : unsigned { kNullSrc = 1, kNullDst = 2, kNullBuffer = 4 };

KvpStatus expectLevel(unsigned nulls, KvpiSize roi, long long srcRow, long long dstRow, int srcStep,
                      int dstStep, int elem) {
  if (nulls) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1) return kvpStsBadSize;
  if (srcStep < srcRow || dstStep < dstRow) return kvpStsBadStep;
  if (elem == 4 && (srcStep % 4 != 0 || dstStep % 4 != 0)) return kvpStsStepNotMultiple;
  return kvpStsOk;
}

// A buffer of exactly the reported size at any offset; a trap when the
// query fails.
KVF_NO_COVERAGE kvf::GuardedPlane workBuffer(SizeFn query, int width, int type, int ch, size_t lead,
                                             uint8_t seed) {
  int bytes = -1;
  if (query(width, (KvpDataType)type, ch, &bytes) != kvpStsOk || bytes < 1 || bytes > (4 << 20))
    return kvf::GuardedPlane::trap(seed);
  kvf::GuardedPlane b((size_t)bytes, 1, (size_t)bytes, lead, seed);
  b.arm();
  return b;
}

template <class T, int CH, bool Down, LevelFn<T> Fn>
void runLevel(kvf::Reader& in) {
  constexpr int elem = sizeof(T);
  const SizeFn query = Down ? kvpiPyrDownGetBufSize_Gauss5x5 : kvpiPyrUpGetBufSize_Gauss5x5;
  const KvpiSize roi = readRoi(in);
  const long long w = roi.width, h = roi.height;
  const KvpiSize out = Down ? KvpiSize{(int)((w + 1) / 2), (int)((h + 1) / 2)}
                            : KvpiSize{(int)(w > 0 ? 2 * w : 0), (int)(h > 0 ? 2 * h : 0)};
  const long long outW = Down ? (w + 1) / 2 : 2 * w;
  const long long srcRow = w * CH * elem, dstRow = outW * CH * elem;
  const int srcStep = kvf::readStep(in, srcRow, elem);
  const int dstStep = kvf::readStep(in, dstRow, elem);
  const size_t srcLead = (size_t)in.intIn(0, 31) * elem, dstLead = (size_t)in.intIn(0, 31) * elem;
  const uint8_t nb = in.byte();
  const unsigned nulls = (nb >> 5) == 0 ? (nb & 7u) : 0u;
  const KvpStatus expect = expectLevel(nulls, roi, srcRow, dstRow, srcStep, dstStep, elem);

  const bool fits =
      w * CH <= 65536 && kvf::planeFits(srcRow, h, srcStep, (long long)srcLead, kMaxPlaneBytes) &&
      kvf::planeFits(dstRow, Down ? (h + 1) / 2 : 2 * h, dstStep, (long long)dstLead, kMaxPlaneBytes);
  if (expect == kvpStsOk && !fits) return;

  kvf::Filler fill(in);
  kvf::GuardedPlane src = kvf::planeOrTrap(fits, srcRow, h, srcStep, srcLead, 1);
  if (fits) kvf::fillPlane<T>(src, w * CH, fill);
  kvf::GuardedPlane dst = kvf::planeOrTrap(fits, dstRow, out.height, dstStep, dstLead, 2);
  if (fits) kvf::scribble(dst, in.byte());
  kvf::GuardedPlane buffer =
      workBuffer(query, roi.width, kTypeCode<T>, CH, (size_t)in.intIn(0, 63), in.byte());

  auto call = [&]() {
    return Fn((nulls & kNullSrc) ? nullptr : src.as<T>(), srcStep, (nulls & kNullDst) ? nullptr : dst.as<T>(),
              dstStep, roi, (nulls & kNullBuffer) ? nullptr : buffer.roi());
  };
  const KvpStatus st = call();
  if (!kvf::settled(st, expect, {&src}, {&dst, &buffer})) return;
  checkLevel<T, CH, Down>(src, dst, roi, out);

  // The buffer keeps nothing between calls.
  const std::vector<uint8_t> first = kvf::pixels(dst);
  buffer = workBuffer(query, roi.width, kTypeCode<T>, CH, (size_t)in.intIn(0, 63), in.byte() ^ 0x5a);
  kvf::scribble(dst, 0xc3);
  KVF_REQUIRE(call() == kvpStsOk, "the second call failed");
  KVF_REQUIRE(kvf::pixels(dst) == first, "a buffer with other content changed the result");
  KVF_REQUIRE(dst.guardsIntact() && buffer.guardsIntact(), "the second call wrote outside");
}

// ---- size queries ---------------------------------------------------------

template <bool Down>
void runSize(kvf::Reader& in) {
  static const int types[] = {1, 3, 13, 0, 2, 5, 12, 14};
  static const int channels[] = {1, 3, 0, 2, 4, -1};
  const uint8_t how = in.byte();
  const int width = (how & 1) ? in.raw<int32_t>() : in.intIn(-2, 5000);
  const int type = (how & 2) ? in.raw<int32_t>() : types[in.byte() % 8];
  const int ch = (how & 4) ? in.raw<int32_t>() : channels[in.byte() % 6];
  const bool nullOut = (how >> 3) % 16 == 0;
  int bytes = -77;
  const KvpStatus st = (Down ? kvpiPyrDownGetBufSize_Gauss5x5 : kvpiPyrUpGetBufSize_Gauss5x5)(
      width, (KvpDataType)type, ch, nullOut ? nullptr : &bytes);

  KvpStatus expect = kvpStsOk;
  if (nullOut)
    expect = kvpStsNullPtr;
  else if (width < 1)
    expect = kvpStsBadSize;
  else if (ch != 1 && ch != 3)
    expect = kvpStsBadChannels;
  else if (type != 1 && type != 3 && type != 13)
    expect = kvpStsBadDataType;
  KVF_REQUIRE(st == expect, "size query status %d, expected %d (width %d type %d channels %d)", (int)st,
              (int)expect, width, type, ch);
  if (st != kvpStsOk) {
    KVF_REQUIRE(bytes == -77, "a failing size query stored %d", bytes);
    return;
  }
  // Rows of 32-bit sums rounded up to 16 bytes: six of width x 4 x channels
  // bytes down, three of width x 8 x channels up, plus 64 for alignment.
  // Where the true size leaves 32 bits only the status is judged: how it
  // is cut is not fixed.
  const long long row = ((long long)width * (Down ? 4 : 8) * ch + 15) / 16 * 16;
  const long long want = row * (Down ? 6 : 3) + 64;
  if (want <= 2147483647LL)
    KVF_REQUIRE(bytes == want, "size %d, expected %lld (width %d channels %d)", bytes, want, width, ch);
}

// ---- the table ------------------------------------------------------------

using Run = void (*)(kvf::Reader&);

#define KVF_LEVEL(DIR, DOWN, T, TN, CH) &runLevel<T, CH, DOWN, kvpiPyr##DIR##_Gauss5x5_##TN##_C##CH##R>

const Run kRuns[] = {
    KVF_LEVEL(Down, true, Kvp8u, 8u, 1),
    KVF_LEVEL(Down, true, Kvp8u, 8u, 3),
    KVF_LEVEL(Down, true, Kvp8s, 8s, 1),
    KVF_LEVEL(Down, true, Kvp8s, 8s, 3),
    KVF_LEVEL(Down, true, Kvp32f, 32f, 1),
    KVF_LEVEL(Down, true, Kvp32f, 32f, 3),
    KVF_LEVEL(Up, false, Kvp8u, 8u, 1),
    KVF_LEVEL(Up, false, Kvp8u, 8u, 3),
    KVF_LEVEL(Up, false, Kvp8s, 8s, 1),
    KVF_LEVEL(Up, false, Kvp8s, 8s, 3),
    KVF_LEVEL(Up, false, Kvp32f, 32f, 1),
    KVF_LEVEL(Up, false, Kvp32f, 32f, 3),
    &runSize<true>,
    &runSize<false>,
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader in(data, size);
  kRuns[in.byte() % (sizeof(kRuns) / sizeof(kRuns[0]))](in);
  return 0;
}

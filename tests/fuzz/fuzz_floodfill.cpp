// Fuzzes the flood fills and their two size queries: arbitrary sizes, steps,
// ROI offsets, seeds, null or valid pointers, new values and deltas, and
// work buffers sized as the queries report (at an arbitrary byte offset,
// sometimes with room to spare). Every call must return the status its
// arguments call for, write nothing when it fails (the work buffer
// included), touch nothing outside the image's pixels, the region record
// and the work buffer when it succeeds, leave the value arrays alone, and
// then agree with a plain reference:
//   exact fills           the connected set of pixels equal to the seed;
//   fixed-range fills     a step-by-step model of the segment ring (the ring
//                         can overflow and end a fill early, which only a
//                         model of the list reproduces);
//   floating-range fills  4-connected: the set reachable through fitting
//                         neighbours; 8-connected: a step-by-step model
//                         (diagonal candidates are compared with run ends,
//                         so the order of work matters), and where the work
//                         list outgrows the records the buffer is sized
//                         for, a region between the 4-connected and the
//                         8-connected reachable sets.
#include <algorithm>
#include <cstring>
#include <type_traits>
#include <vector>

#include "fuzz_support.h"
KVF_REF_BEGIN
#include "../segment/floodfill_ref.h"
KVF_REF_END

namespace {

constexpr long long kMaxPlaneBytes = 1 << 18;

enum class Rule { Exact, Range, Grad };

// ---- the expected status ------------------------------------------------------

struct Nulls {
  bool img = false, region = false, buffer = false, nv = false, mn = false, mx = false;
};

template <class T, int CN, Rule R>
KvpStatus expectedStatus(const Nulls& n, KvpiSize roi, int step, KvpiPoint seed) {
  bool anyNull = n.img || n.region || n.buffer;
  if (CN == 3) anyNull = anyNull || n.nv || (R != Rule::Exact && (n.mn || n.mx));
  if (anyNull) return kvpStsNullPtr;
  if (roi.width < 1 || roi.height < 1) return kvpStsBadSize;
  // The 16u three-channel fills test the whole row; the 8u and 32f ones
  // only one channel's worth of it.
  const long long minStep =
      (CN == 3 && std::is_same_v<T, Kvp16u>) ? 6LL * roi.width : (long long)roi.width * (long long)sizeof(T);
  if ((long long)step < minStep) return kvpStsBadStep;
  if (sizeof(T) > 1 && step % (int)sizeof(T) != 0) return kvpStsStepNotMultiple;
  if (seed.x < 0 || seed.x >= roi.width || seed.y < 0 || seed.y >= roi.height) return kvpStsOutOfRange;
  return kvpStsOk;
}

// Buffer sizes: the product width x 24 x height / 4 is formed in 64 bits
// (wrapping as two's complement when it does not fit) and the sum is cut
// to 32 bits.
int expectedListBytes(KvpiSize roi) {
  const long long p = (long long)((unsigned long long)(long long)roi.width * 24ull *
                                  (unsigned long long)(long long)roi.height);
  return (int)(unsigned)(unsigned long long)(p / 4 + 32);
}
int expectedGradBytes(KvpiSize roi) {
  const long long m = ((long long)roi.width + 2) * ((long long)roi.height + 2);
  return (int)(unsigned)((unsigned long long)m + (unsigned long long)(long long)expectedListBytes(roi));
}

// ---- the references ------------------------------------------------------------

using ffr::End;
using ffr::Result;

// o's box lies inside b's (an empty o lies anywhere).
bool boxContains(const Result& b, const Result& o) {
  return o.x1 < o.x0 || (b.x0 <= o.x0 && b.y0 <= o.y0 && b.x1 >= o.x1 && b.y1 >= o.y1);
}

// ---- values from the input -------------------------------------------------------

template <class T>
T anyValue(kvf::Reader& in) {
  if constexpr (std::is_floating_point_v<T>)
    return in.pickFloat();
  else if constexpr (sizeof(T) == 1)
    return in.byte();
  else {
    const uint8_t k = in.byte();
    return k < 128 ? (T)(k & 15) : (k < 192 ? (T)(65535 - (k & 15)) : in.raw<T>());
  }
}

// A small delta: 0..7 mostly, sometimes anything.
template <class T>
T delta(kvf::Reader& in) {
  const uint8_t k = in.byte();
  if (k < 224) return (T)(k & 7);
  return anyValue<T>(in);
}

// base + sx x + sy y, integers wrapping in their own width.
template <class T>
T ramp(T base, T sx, T sy, int x, int y) {
  if constexpr (std::is_floating_point_v<T>)
    return base + sx * (T)x + sy * (T)y;
  else
    return (T)((unsigned)base + (unsigned)sx * (unsigned)x + (unsigned)sy * (unsigned)y);
}

// ---- one fill ------------------------------------------------------------------

template <class T, int CN, Rule R>
using FillFn = std::conditional_t<
    R == Rule::Exact,
    std::conditional_t<CN == 1, KvpStatus (*)(T*, int, KvpiSize, KvpiPoint, T, KvpiConnectedComp*, Kvp8u*),
                       KvpStatus (*)(T*, int, KvpiSize, KvpiPoint, const T*, KvpiConnectedComp*, Kvp8u*)>,
    std::conditional_t<CN == 1,
                       KvpStatus (*)(T*, int, KvpiSize, KvpiPoint, T, T, T, KvpiConnectedComp*, Kvp8u*),
                       KvpStatus (*)(T*, int, KvpiSize, KvpiPoint, const T*, const T*, const T*,
                                     KvpiConnectedComp*, Kvp8u*)>>;

template <class T, int CN, Rule R, auto Fn>
KvpStatus call(T* img, int step, KvpiSize roi, KvpiPoint seed, const T* nv, const T* mn, const T* mx,
               KvpiConnectedComp* region, Kvp8u* buf) {
  if constexpr (R == Rule::Exact) {
    if constexpr (CN == 1)
      return Fn(img, step, roi, seed, *nv, region, buf);
    else
      return Fn(img, step, roi, seed, nv, region, buf);
  } else {
    if constexpr (CN == 1)
      return Fn(img, step, roi, seed, *nv, *mn, *mx, region, buf);
    else
      return Fn(img, step, roi, seed, nv, mn, mx, region, buf);
  }
}

// Largest plane per rule: the fixed-range walks can be long when the new
// value lies in the range, so their planes stay smaller.
template <Rule R>
constexpr int kMaxW = R == Rule::Range ? 16 : 64;
template <Rule R>
constexpr int kMaxH = R == Rule::Range ? 12 : 40;

template <class T, int CN, Rule R, bool Eight, auto Fn>
void runFill(kvf::Reader& in) {
  constexpr int E = (int)sizeof(T);
  constexpr long long pixBytes = (long long)CN * E;
  // Each of width, height, step and seed is any 32-bit value one time in
  // four.
  const uint16_t how = in.raw<uint16_t>();
  auto anyBits = [&](int bit) { return ((how >> bit) & 3) == 3; };
  KvpiSize roi;
  roi.width = anyBits(0) ? in.raw<int32_t>() : in.intIn(-1, kMaxW<R>);
  roi.height = anyBits(2) ? in.raw<int32_t>() : in.intIn(-1, kMaxH<R>);
  const long long w = std::max(roi.width, 0), h = std::max(roi.height, 0);
  // A step near the full row (short by a little, exact, padded by whole or
  // partial elements), near the one-channel row, or anything.
  int step;
  switch ((how >> 4) & 3) {
    case 0:
    case 1:
      step = (int)(w * pixBytes + in.intIn(-2 * E, 24));
      break;
    case 2:
      step = (int)(w * E + in.intIn(-E, 3 * E));
      break;
    default:
      step = in.raw<int32_t>();
      break;
  }
  KvpiPoint seed;
  if (anyBits(6)) {
    seed.x = in.raw<int32_t>();
    seed.y = in.raw<int32_t>();
  } else if (anyBits(8)) {
    seed.x = in.intIn(-2, (int)std::min<long long>(w + 1, 1 << 20));
    seed.y = in.intIn(-2, (int)std::min<long long>(h + 1, 1 << 20));
  } else {
    seed.x = w > 0 ? in.intIn(0, (int)std::min<long long>(w - 1, 1 << 20)) : 0;
    seed.y = h > 0 ? in.intIn(0, (int)std::min<long long>(h - 1, 1 << 20)) : 0;
  }
  Nulls nulls;
  switch (in.byte() % 24) {
    case 1:
      nulls.img = true;
      break;
    case 2:
      nulls.region = true;
      break;
    case 3:
      nulls.buffer = true;
      break;
    case 4:
      nulls.nv = true;
      break;
    case 5:
      nulls.mn = true;
      break;
    case 6:
      nulls.mx = true;
      break;
    case 7:
      nulls.img = nulls.buffer = nulls.nv = true;
      break;
    default:
      break;
  }
  const KvpStatus expect = expectedStatus<T, CN, R>(nulls, roi, step, seed);

  // Rows overlap when a three-channel step passes the one-channel test only;
  // such a plane is laid out as one block.
  const long long rowBytes = w * pixBytes;
  const bool overlap = step < rowBytes && step >= 1 && h > 1;
  const long long lead = (long long)in.intIn(0, 15) * E;
  const bool fits =
      overlap ? kvf::planeFits((h - 1) * step + rowBytes, 1, (h - 1) * step + rowBytes, lead, kMaxPlaneBytes)
              : kvf::planeFits(rowBytes, h, step, lead, kMaxPlaneBytes);
  // Successful calls stay small so that the walks and references keep up.
  if (expect == kvpStsOk && (!fits || w * h > (long long)kMaxW<R> * kMaxH<R>)) return;

  const uint8_t pattern = in.byte();
  kvf::GuardedPlane img =
      !fits     ? kvf::GuardedPlane::trap(1)
      : overlap ? kvf::GuardedPlane((size_t)((h - 1) * step + rowBytes), 1,
                                    (size_t)((h - 1) * step + rowBytes), (size_t)lead, pattern)
                : kvf::GuardedPlane((size_t)rowBytes, (int)h, (size_t)step, (size_t)lead, pattern);
  auto pixel = [&](int x, int y) { return img.roi() + (ptrdiff_t)y * step + (ptrdiff_t)x * pixBytes; };

  // Pixels: from a palette of up to four colours, as small noise around a
  // base colour, as a ramp, or as a checkerboard or comb of two colours
  // (many runs per row: long work lists).
  // (A failing call's plane keeps its pattern when it is large: it only has
  // to stay as it is.)
  T nv[CN], mn[CN], mx[CN];
  if (fits && w * h <= (long long)kMaxW<R> * kMaxH<R>) {
    const uint8_t mode = in.byte();
    const int nPal = 1 + (mode >> 3) % 4;
    T pal[4][CN];
    for (int i = 0; i < 4; ++i)
      for (int c = 0; c < CN; ++c) pal[i][c] = anyValue<T>(in);
    T slope[2][CN];
    for (int c = 0; c < CN; ++c) {
      slope[0][c] = delta<T>(in);
      slope[1][c] = delta<T>(in);
    }
    const int cx = in.intIn(1, 3), cy = in.intIn(1, 3), bar = (mode >> 5) & 1 ? (int)h - 1 : 0;
    for (long long y = 0; y < h; ++y)
      for (long long x = 0; x < w; ++x) {
        const uint8_t k = (mode & 7) < 4 ? in.byte() : 0;
        T p[CN];
        for (int c = 0; c < CN; ++c) {
          switch (mode & 7) {
            case 2:
              p[c] = ramp<T>(pal[0][c], (T)((k >> (2 * c)) & 3), 0, 1, 0);
              break;
            case 3:
              p[c] = ramp<T>(pal[0][c], slope[0][c], slope[1][c], (int)x, (int)y);
              break;
            case 4:
              p[c] = pal[(x / cx + y / cy) & 1][c];
              break;
            case 5:
              p[c] = pal[x % (cx + 1) == 0 || y == bar ? 0 : 1][c];
              break;
            default:
              p[c] = pal[(k + ((k & 0x80) && c == 1 ? 1 : 0)) % nPal][c];
              break;
          }
        }
        std::memcpy(pixel((int)x, (int)y), p, sizeof p);
      }
    // The new value: the seed's own (the early return), a palette colour,
    // or anything.
    const uint8_t k = in.byte();
    for (int c = 0; c < CN; ++c) nv[c] = k % 4 == 1 ? pal[(k >> 2) % nPal][c] : anyValue<T>(in);
    if (k % 4 == 0 && seed.x >= 0 && seed.x < w && seed.y >= 0 && seed.y < h)
      std::memcpy(nv, pixel(seed.x, seed.y), sizeof nv);
  } else {
    for (int c = 0; c < CN; ++c) nv[c] = anyValue<T>(in);
  }
  for (int c = 0; c < CN; ++c) {
    mn[c] = delta<T>(in);
    mx[c] = delta<T>(in);
  }
  img.arm();

  // The value arrays live in guarded blocks of their own (C3 passes them by
  // pointer); the region record and the buffer likewise.
  auto valueBlock = [&](const T* v, uint8_t seedByte) {
    kvf::GuardedPlane b(sizeof(T) * CN, 1, sizeof(T) * CN, (size_t)in.intIn(0, 3) * E, seedByte);
    std::memcpy(b.roi(), v, sizeof(T) * CN);
    b.arm();
    return b;
  };
  kvf::GuardedPlane nvB = valueBlock(nv, 3), mnB = valueBlock(mn, 4), mxB = valueBlock(mx, 5);
  kvf::GuardedPlane regB(sizeof(KvpiConnectedComp), 1, sizeof(KvpiConnectedComp), (size_t)in.intIn(0, 3) * 8,
                         6);
  regB.arm();
  int bufBytes = 0;
  if (expect == kvpStsOk) {
    const KvpStatus qs =
        R == Rule::Grad ? kvpiFloodFillGetSize_Grad(roi, &bufBytes) : kvpiFloodFillGetSize(roi, &bufBytes);
    KVF_REQUIRE(qs == kvpStsOk, "size query status %d", (int)qs);
    KVF_REQUIRE(bufBytes == (R == Rule::Grad ? expectedGradBytes(roi) : expectedListBytes(roi)),
                "size query gave %d for %dx%d", bufBytes, roi.width, roi.height);
  }
  const uint8_t bufHow = in.byte();
  kvf::GuardedPlane buf = expect != kvpStsOk
                              ? kvf::GuardedPlane::trap(7)
                              : kvf::GuardedPlane((size_t)bufBytes + ((bufHow & 0x80) ? (bufHow & 63) : 0), 1,
                                                  (size_t)bufBytes + ((bufHow & 0x80) ? (bufHow & 63) : 0),
                                                  bufHow & 15, in.byte());
  buf.arm();

  // One-channel fills take their values by value: no null for them.
  const bool c3 = CN == 3;
  const KvpStatus st = call<T, CN, R, Fn>(
      nulls.img ? nullptr : img.as<T>(), step, roi, seed, nulls.nv && c3 ? nullptr : nvB.as<T>(),
      nulls.mn && c3 ? nullptr : mnB.as<T>(), nulls.mx && c3 ? nullptr : mxB.as<T>(),
      nulls.region ? nullptr : regB.as<KvpiConnectedComp>(), nulls.buffer ? nullptr : buf.roi());

  KVF_REQUIRE(kvf::isLibraryStatus(st), "status %d is not one of the library's", (int)st);
  KVF_REQUIRE(st == expect, "status %d, expected %d (w %d h %d step %d seed %d,%d)", (int)st, (int)expect,
              roi.width, roi.height, step, seed.x, seed.y);
  KVF_REQUIRE(nvB.unchanged() && mnB.unchanged() && mxB.unchanged(), "a value array was written");
  if (st != kvpStsOk) {
    KVF_REQUIRE(img.unchanged() && regB.unchanged() && buf.unchanged(), "a failing call wrote (status %d)",
                (int)st);
    return;
  }
  KVF_REQUIRE(img.guardsIntact(), "a write outside the image's pixels");
  KVF_REQUIRE(regB.guardsIntact(), "a write outside the region record");
  KVF_REQUIRE(buf.guardsIntact(), "a write outside the work buffer");
  if (overlap) return;  // rows share pixels: no reference for that

  // The reference works on packed copies of the image before and after.
  const int W = (int)w, H = (int)h;
  ffr::Img<T> before(W, H, CN), after = before;
  for (int y = 0; y < H; ++y) {
    std::memcpy(before.px(0, y), img.armedRow(y), (size_t)rowBytes);
    std::memcpy(after.px(0, y), img.row(y), (size_t)rowBytes);
  }
  KvpiConnectedComp got;
  std::memcpy(&got, regB.roi(), sizeof got);
  auto requireRecord = [&](double area, const Result& box) {
    KVF_REQUIRE(got.area == area, "area %g, expected %g (%dx%d)", got.area, area, W, H);
    KVF_REQUIRE(got.rect.x == box.x0 && got.rect.y == box.y0 && got.rect.width == box.x1 - box.x0 + 1 &&
                    got.rect.height == box.y1 - box.y0 + 1,
                "rect %d,%d %dx%d, expected %d,%d %dx%d", got.rect.x, got.rect.y, got.rect.width,
                got.rect.height, box.x0, box.y0, box.x1 - box.x0 + 1, box.y1 - box.y0 + 1);
  };
  auto requireValue = [&]() {
    for (int c = 0; c < 3; ++c) {
      const double e = c < CN ? (double)nv[c] : 0.0;
      KVF_REQUIRE(std::memcmp(&e, &got.value[c], sizeof e) == 0, "value[%d] %g, expected %g", c, got.value[c],
                  e);
    }
  };
  auto requireImage = [&](const ffr::Img<T>& want) KVF_NO_COVERAGE {
    for (int y = 0; y < H; ++y)
      for (int x = 0; x < W; ++x)
        KVF_REQUIRE(std::memcmp(after.px(x, y), want.px(x, y), sizeof(T) * CN) == 0,
                    "pixel (%d, %d) of %dx%d seed %d,%d", x, y, W, H, seed.x, seed.y);
  };
  auto requireAll = [&](const ffr::Img<T>& want, const Result& r) {
    requireImage(want);
    requireRecord(r.area, r);
    requireValue();
  };
  auto changed = [&](int x, int y) {
    return std::memcmp(after.px(x, y), before.px(x, y), sizeof(T) * CN) != 0;
  };
  auto isNew = [&](int x, int y) { return std::memcmp(after.px(x, y), nv, sizeof(T) * CN) == 0; };
  const T* s = before.px(seed.x, seed.y);

  if constexpr (R == Rule::Exact || R == Rule::Range) {
    if (ffr::samePix(s, nv, CN)) {
      KVF_REQUIRE(img.unchanged() && regB.unchanged(), "the seed holds the new value, yet the call wrote");
      return;
    }
  }
  ffr::Img<T> want = before;
  if constexpr (R == Rule::Exact) {
    requireAll(want, ffr::stackFill(want, seed.x, seed.y, Eight, nv,
                                    [&](const T* a) { return ffr::samePix(a, s, CN); }));
  } else if constexpr (R == Rule::Range) {
    const ffr::Bounds<T> q = ffr::boundsOf(s, mn, mx, CN);
    auto ok = [&](const T* a) { return q.ok(a); };
    Result r;
    const End end = ffr::scanModel(want, seed.x, seed.y, Eight, nv, ok, W * H / 4, r, 200000);
    requireValue();
    if (end == End::Done) {
      requireImage(want);
      requireRecord(r.area, r);
      return;
    }
    if (end == End::Cycle) {
      requireImage(want);
      requireRecord(got.area, r);
    }
    // Whatever the walk's length: only pixels of the seed's qualifying
    // set change, each to the new value, and each is counted.
    const auto member =
        ffr::reach(before, seed.x, seed.y, Eight, [&](const T* a, const T*) { return ok(a); });
    double count = 0;
    for (int y = 0; y < H; ++y)
      for (int x = 0; x < W; ++x) {
        if (!changed(x, y)) continue;
        KVF_REQUIRE(member[(size_t)y * W + x] && isNew(x, y), "pixel (%d, %d) repainted", x, y);
        count += 1;
      }
    KVF_REQUIRE(got.area >= count, "area %g below the %g pixels changed", got.area, count);
  } else {
    if (!Eight) {
      requireAll(want, ffr::gradClosure(want, seed.x, seed.y, nv, mn, mx));
      return;
    }
    // 8-connected: the model, wherever its stack stayed within the
    // (width x height) / 4 records that the buffer is sized for. Beyond
    // that the order of work may change, and with it which diagonal pixels
    // join; then every 4-reachable pixel is painted, nothing beyond the
    // 8-reachable set is, and the area and box lie between the two.
    const Result r = ffr::gradModel(want, seed.x, seed.y, true, nv, mn, mx);
    if (r.maxDepth <= (size_t)W * H / 4) {
      requireAll(want, r);
      return;
    }
    const auto fit = [&](const T* a, const T* b) { return ffr::fits(a, b, mn, mx, CN); };
    const auto in4 = ffr::reach(before, seed.x, seed.y, false, fit);
    const auto in8 = ffr::reach(before, seed.x, seed.y, true, fit);
    double lo = 0, hi = 0;
    Result inner, outer;
    for (int y = 0; y < H; ++y)
      for (int x = 0; x < W; ++x) {
        const size_t i = (size_t)y * W + x;
        KVF_REQUIRE(!in4[i] || isNew(x, y), "4-reachable pixel (%d, %d) not painted", x, y);
        KVF_REQUIRE(in8[i] || !changed(x, y), "pixel (%d, %d) beyond the 8-reachable set painted", x, y);
        KVF_REQUIRE(!changed(x, y) || isNew(x, y), "pixel (%d, %d) holds neither its value nor the new one",
                    x, y);
        if (in4[i] || changed(x, y)) {
          lo += 1;
          inner.add(x, y);
        }
        if (in8[i] && (in4[i] || changed(x, y) || isNew(x, y))) hi += 1;
        if (in8[i]) outer.add(x, y);
      }
    KVF_REQUIRE(got.area >= lo && got.area <= hi, "area %g outside [%g, %g]", got.area, lo, hi);
    Result gotBox;
    gotBox.add(got.rect.x, got.rect.y);
    gotBox.add(got.rect.x + got.rect.width - 1, got.rect.y + got.rect.height - 1);
    KVF_REQUIRE(boxContains(gotBox, inner) && boxContains(outer, gotBox), "rect %d,%d %dx%d out of bounds",
                got.rect.x, got.rect.y, got.rect.width, got.rect.height);
    requireValue();
  }
}

// ---- the size queries ---------------------------------------------------------

template <bool Grad>
void runQuery(kvf::Reader& in) {
  const uint8_t how = in.byte();
  KvpiSize roi;
  roi.width = (how & 1) ? in.raw<int32_t>() : in.intIn(-2, 5000);
  roi.height = (how & 2) ? in.raw<int32_t>() : in.intIn(-2, 5000);
  const bool null = (how & 0x1c) == 4;
  int out[3] = {0x5a5a5a5a, 0x5a5a5a5a, 0x5a5a5a5a};
  const KvpStatus st = Grad ? kvpiFloodFillGetSize_Grad(roi, null ? nullptr : &out[1])
                            : kvpiFloodFillGetSize(roi, null ? nullptr : &out[1]);
  const KvpStatus expect =
      null ? kvpStsNullPtr : (roi.width < 1 || roi.height < 1 ? kvpStsBadSize : kvpStsOk);
  KVF_REQUIRE(st == expect, "size query status %d, expected %d (%d x %d)", (int)st, (int)expect, roi.width,
              roi.height);
  KVF_REQUIRE(out[0] == 0x5a5a5a5a && out[2] == 0x5a5a5a5a, "size query wrote beside its result");
  const int want = st != kvpStsOk ? 0x5a5a5a5a : (Grad ? expectedGradBytes(roi) : expectedListBytes(roi));
  KVF_REQUIRE(out[1] == want, "size query gave %d, expected %d (%d x %d)", out[1], want, roi.width,
              roi.height);
}

// ---- the table ------------------------------------------------------------------

using Runner = void (*)(kvf::Reader&);

template <class T, int CN, Rule R, bool Eight, FillFn<T, CN, R> Fn>
constexpr Runner fill() {
  return &runFill<T, CN, R, Eight, Fn>;
}

constexpr Runner kTable[] = {
    runQuery<false>,
    runQuery<true>,
    fill<Kvp8u, 1, Rule::Exact, false, kvpiFloodFill_4Con_8u_C1IR>(),
    fill<Kvp8u, 3, Rule::Exact, false, kvpiFloodFill_4Con_8u_C3IR>(),
    fill<Kvp16u, 1, Rule::Exact, false, kvpiFloodFill_4Con_16u_C1IR>(),
    fill<Kvp16u, 3, Rule::Exact, false, kvpiFloodFill_4Con_16u_C3IR>(),
    fill<Kvp32f, 1, Rule::Exact, false, kvpiFloodFill_4Con_32f_C1IR>(),
    fill<Kvp32f, 3, Rule::Exact, false, kvpiFloodFill_4Con_32f_C3IR>(),
    fill<Kvp8u, 1, Rule::Exact, true, kvpiFloodFill_8Con_8u_C1IR>(),
    fill<Kvp8u, 3, Rule::Exact, true, kvpiFloodFill_8Con_8u_C3IR>(),
    fill<Kvp16u, 1, Rule::Exact, true, kvpiFloodFill_8Con_16u_C1IR>(),
    fill<Kvp16u, 3, Rule::Exact, true, kvpiFloodFill_8Con_16u_C3IR>(),
    fill<Kvp32f, 1, Rule::Exact, true, kvpiFloodFill_8Con_32f_C1IR>(),
    fill<Kvp32f, 3, Rule::Exact, true, kvpiFloodFill_8Con_32f_C3IR>(),
    fill<Kvp8u, 1, Rule::Range, false, kvpiFloodFill_Range4Con_8u_C1IR>(),
    fill<Kvp8u, 3, Rule::Range, false, kvpiFloodFill_Range4Con_8u_C3IR>(),
    fill<Kvp16u, 1, Rule::Range, false, kvpiFloodFill_Range4Con_16u_C1IR>(),
    fill<Kvp16u, 3, Rule::Range, false, kvpiFloodFill_Range4Con_16u_C3IR>(),
    fill<Kvp32f, 1, Rule::Range, false, kvpiFloodFill_Range4Con_32f_C1IR>(),
    fill<Kvp32f, 3, Rule::Range, false, kvpiFloodFill_Range4Con_32f_C3IR>(),
    fill<Kvp8u, 1, Rule::Range, true, kvpiFloodFill_Range8Con_8u_C1IR>(),
    fill<Kvp8u, 3, Rule::Range, true, kvpiFloodFill_Range8Con_8u_C3IR>(),
    fill<Kvp16u, 1, Rule::Range, true, kvpiFloodFill_Range8Con_16u_C1IR>(),
    fill<Kvp16u, 3, Rule::Range, true, kvpiFloodFill_Range8Con_16u_C3IR>(),
    fill<Kvp32f, 1, Rule::Range, true, kvpiFloodFill_Range8Con_32f_C1IR>(),
    fill<Kvp32f, 3, Rule::Range, true, kvpiFloodFill_Range8Con_32f_C3IR>(),
    fill<Kvp8u, 1, Rule::Grad, false, kvpiFloodFill_Grad4Con_8u_C1IR>(),
    fill<Kvp8u, 3, Rule::Grad, false, kvpiFloodFill_Grad4Con_8u_C3IR>(),
    fill<Kvp16u, 1, Rule::Grad, false, kvpiFloodFill_Grad4Con_16u_C1IR>(),
    fill<Kvp16u, 3, Rule::Grad, false, kvpiFloodFill_Grad4Con_16u_C3IR>(),
    fill<Kvp32f, 1, Rule::Grad, false, kvpiFloodFill_Grad4Con_32f_C1IR>(),
    fill<Kvp32f, 3, Rule::Grad, false, kvpiFloodFill_Grad4Con_32f_C3IR>(),
    fill<Kvp8u, 1, Rule::Grad, true, kvpiFloodFill_Grad8Con_8u_C1IR>(),
    fill<Kvp8u, 3, Rule::Grad, true, kvpiFloodFill_Grad8Con_8u_C3IR>(),
    fill<Kvp16u, 1, Rule::Grad, true, kvpiFloodFill_Grad8Con_16u_C1IR>(),
    fill<Kvp16u, 3, Rule::Grad, true, kvpiFloodFill_Grad8Con_16u_C3IR>(),
    fill<Kvp32f, 1, Rule::Grad, true, kvpiFloodFill_Grad8Con_32f_C1IR>(),
    fill<Kvp32f, 3, Rule::Grad, true, kvpiFloodFill_Grad8Con_32f_C3IR>(),
};
constexpr size_t kEntries = sizeof(kTable) / sizeof(kTable[0]);
static_assert(kEntries == 38, "36 fills and two size queries");

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader in(data, size);
  kTable[in.byte() % kEntries](in);
  return 0;
}

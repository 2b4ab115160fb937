// Fuzzes the motion history update: arbitrary sizes, steps, offsets, null or
// valid pointers, silhouettes, histories, stamps and durations. Every call
// must return the status its arguments call for (always one of the
// library's), write nothing when it fails, write nothing outside the
// history's pixels when it succeeds, and then match the per-pixel rule bit
// for bit.
#include <cstring>

#include "fuzz_support.h"
KVF_REF_BEGIN
#include "../motion/motion_ref.h"
KVF_REF_END

namespace {

constexpr long long kMaxPlaneBytes = 1 << 20;

template <class S>
using MotionFn = KvpStatus (*)(const S*, int, Kvp32f*, int, KvpiSize, Kvp32f, Kvp32f);

// Mostly sizes and steps that can be laid out, sometimes any 32-bit value.
struct Shape {
  KvpiSize roi;
  int silStep, mhiStep;
  size_t silLead, mhiLead;
};

Shape readShape(kvf::Reader& in, int silElem) {
  Shape s{};
  const uint8_t how = in.byte();
  s.roi.width = (how & 1) ? in.raw<int32_t>() : in.intIn(-2, 200);
  s.roi.height = (how & 2) ? in.raw<int32_t>() : in.intIn(-2, 24);
  const long long w = s.roi.width > 0 ? s.roi.width : 0;
  // A step near the row's bytes (short by a little, exact, or padded by
  // whole or partial elements), or anything at all.
  s.silStep = (how & 4) ? in.raw<int32_t>() : (int)(w * silElem + in.intIn(-3, 40));
  s.mhiStep = (how & 8) ? in.raw<int32_t>() : (int)(w * 4 + in.intIn(-5, 40));
  // ROI pointers at any element offset from the allocator's alignment.
  s.silLead = (size_t)in.intIn(0, 31) * silElem;
  s.mhiLead = (size_t)in.intIn(0, 31) * 4;
  return s;
}

template <class S>
void run(kvf::Reader& in, MotionFn<S> fn) {
  const Shape sh = readShape(in, sizeof(S));
  const uint8_t nulls = in.byte();
  const bool silNull = (nulls & 0x0f) == 1, mhiNull = (nulls >> 4) == 1;
  const float ts = in.pickFloat(), dur = in.pickFloat();
  const KvpStatus expect = mr::status(silNull, mhiNull, sh.roi, sh.silStep, sh.mhiStep, sizeof(S), dur);

  const bool fits = kvf::planeFits((long long)sh.roi.width * (long long)sizeof(S), sh.roi.height, sh.silStep,
                                   (long long)sh.silLead, kMaxPlaneBytes) &&
                    kvf::planeFits((long long)sh.roi.width * 4, sh.roi.height, sh.mhiStep,
                                   (long long)sh.mhiLead, kMaxPlaneBytes);
  // A successful call on planes too big to lay out here is not tried; every
  // failing call is, on trap planes when the planes cannot be laid out.
  if (expect == kvpStsOk && !fits) return;

  kvf::GuardedPlane sil = fits ? kvf::GuardedPlane((size_t)sh.roi.width * sizeof(S), sh.roi.height,
                                                   (size_t)sh.silStep, sh.silLead, in.byte())
                               : kvf::GuardedPlane::trap(1);
  kvf::GuardedPlane mhi = fits ? kvf::GuardedPlane((size_t)sh.roi.width * 4, sh.roi.height,
                                                   (size_t)sh.mhiStep, sh.mhiLead, in.byte())
                               : kvf::GuardedPlane::trap(2);
  if (fits) {
    // Pixels: silhouettes mostly still with the rest from the input;
    // histories from the special values and the input.
    // Rows of a plane whose step is not a multiple of its element are
    // misaligned: pixels go in and out through memcpy.
    for (int y = 0; y < sh.roi.height; ++y)
      for (int x = 0; x < sh.roi.width; ++x) {
        const uint8_t k = in.byte();
        S sv;
        if constexpr (sizeof(S) == 4)
          sv = (k & 3) == 0 ? in.pickFloat() : ((k & 3) == 1 ? -0.f : 0.f);
        else
          sv = (k & 1) ? in.raw<S>() : S(0);
        const float mv = (k & 4) ? ts - dur : in.pickFloat();
        std::memcpy(sil.row(y) + x * sizeof(S), &sv, sizeof(S));
        std::memcpy(mhi.row(y) + x * 4, &mv, 4);
      }
  }
  sil.arm();
  mhi.arm();

  const KvpStatus st = fn(silNull ? nullptr : sil.as<S>(), sh.silStep, mhiNull ? nullptr : mhi.as<Kvp32f>(),
                          sh.mhiStep, sh.roi, ts, dur);

  if (!kvf::settled(st, expect, {&sil}, {&mhi})) return;
  const float limit = ts - dur;
  for (int y = 0; y < sh.roi.height; ++y)
    for (int x = 0; x < sh.roi.width; ++x) {
      S sv;
      float before, after;
      std::memcpy(&sv, sil.row(y) + x * sizeof(S), sizeof(S));
      std::memcpy(&before, mhi.armedRow(y) + x * 4, 4);
      std::memcpy(&after, mhi.row(y) + x * 4, 4);
      const float e = mr::update(sv, before, ts, limit);
      KVF_REQUIRE(std::memcmp(&e, &after, 4) == 0, "pixel (%d, %d) of %dx%d", x, y, sh.roi.width,
                  sh.roi.height);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader in(data, size);
  void (*const runs[])(kvf::Reader&) = {
      [](kvf::Reader& r) { run<Kvp8u>(r, kvpiUpdateMotionHistory_8u32f_C1IR); },
      [](kvf::Reader& r) { run<Kvp16u>(r, kvpiUpdateMotionHistory_16u32f_C1IR); },
      [](kvf::Reader& r) { run<Kvp32f>(r, kvpiUpdateMotionHistory_32f_C1IR); }};
  runs[in.byte() % 3](in);
  return 0;
}

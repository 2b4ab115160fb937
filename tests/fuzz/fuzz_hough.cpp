// Fuzzes the Hough line search, its rho-range variant and the buffer-size
// query: arbitrary sizes, steps (also below the row width, where rows
// overlap), step sizes of the accumulator, thresholds, line counts, ranges
// and null or valid pointers. Every call must return the status its
// arguments call for, write nothing when it fails, write only the reported
// lines, the count and the buffer when it succeeds (the buffer only within
// the size the query reported), and then return exactly the lines of a plain
// re-count of the votes.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <vector>

#include "fuzz_support.h"
KVF_REF_BEGIN
#include "../feature/hough_ref.h"
KVF_REF_END

namespace {

constexpr long long kMaxPlaneBytes = 1 << 20;
// Votes cast plus accumulator cells scanned, above which a search is only
// run to see its status fail.
constexpr long long kMaxWork = 400000;

using hr::kPiBound;

// Step sizes: mostly values a caller would use, the ends of the accepted
// ranges and just past them, else anything.
float pickRhoStep(kvf::Reader& in, long long span) {
  const uint8_t k = in.byte();
  switch (k % 16) {
    case 0:
      return 1.f;
    case 1:
      return 0.5f;
    case 2:
      return 2.f;
    case 3:
      return 0.75f;
    case 4:
      return 1.5f;
    case 5:
      return (float)span;
    case 6:
      return std::nextafter((float)span, INFINITY);
    case 7:
      return (float)in.intIn(1, 400) / 64.f;
    case 8:
      return (float)span / (float)in.intIn(1, 64);
    default:
      return in.pickFloat();
  }
}
float pickThetaStep(kvf::Reader& in) {
  const uint8_t k = in.byte();
  switch (k % 16) {
    case 0:
      return 3.14159265f / 180.f;
    case 1:
      return 3.14159265f / 90.f;
    case 2:
      return 3.14159265f / 45.f;
    case 3:
      return 0.1f;
    case 4:
      return 1.f;
    case 5:
      return kPiBound;
    case 6:
      return std::nextafter(kPiBound, 4.f);
    case 7:
      return 3.14159265f / 2.f;
    case 8:
      return (float)in.intIn(1, 4000) / 1024.f;
    default:
      return in.pickFloat();
  }
}
int pickCount(kvf::Reader& in, bool anyBits, int lo, int hi) {
  return anyBits ? in.raw<int32_t>() : in.intIn(lo, hi);
}

// ---- size query ----------------------------------------------------------------------

void runGetSize(kvf::Reader& in) {
  const uint8_t how = in.byte();
  KvpiSize roi;
  roi.width = (how & 1) ? in.raw<int32_t>() : in.intIn(-2, 3000);
  roi.height = (how & 2) ? in.raw<int32_t>() : in.intIn(-2, 3000);
  const long long span = (long long)roi.width + roi.height;
  const KvpPointPolar delta{pickRhoStep(in, span), pickThetaStep(in)};
  const int maxLines = pickCount(in, how & 4, -100, 100000);
  const bool sizeNull = (how & 0x18) == 0x08;

  kvf::GuardedPlane out(4, 1, 4, 4, 31);
  out.arm();
  const KvpStatus st = kvpiHoughLineGetSize_8u_C1R(roi, delta, maxLines, sizeNull ? nullptr : out.as<int>());
  KVF_REQUIRE(kvf::isLibraryStatus(st), "status %d is not one of the library's", (int)st);
  if (st < 0)
    KVF_REQUIRE(out.unchanged(), "a failing query wrote its result (status %d)", (int)st);
  else
    KVF_REQUIRE(out.guardsIntact(), "a write beside the result");

  KvpStatus expect;
  if (sizeNull)
    expect = kvpStsNullPtr;
  else if (roi.width < 1 || roi.height < 1)
    expect = kvpStsBadSize;
  else if (delta.rho <= 0.f || delta.theta <= 0.f)
    expect = kvpStsBadArg;
  else if (std::isnan(delta.rho) || std::isnan(delta.theta)) {
    // A NaN step passes a "<= 0" test but defines no accumulator: any
    // refusal will do.
    KVF_REQUIRE(st < 0, "a NaN step was accepted (status %d)", (int)st);
    return;
  } else {
    const hr::Geometry g = hr::geometryOf(roi, delta);
    if (!g.inRange) {
      // More than 2^31 rho or angle cells: the stored (truncated) value
      // depends on how the counts were converted. With a line count of 0 or
      // more the true size overflows; a negative count (not validated) can
      // pull it back, so then either answer will do.
      if (maxLines >= 0)
        KVF_REQUIRE(st == kvpStsSizeOverflow, "status %d for an accumulator of more than 2^31 cells",
                    (int)st);
      else
        KVF_REQUIRE(st == kvpStsSizeOverflow || st == kvpStsOk,
                    "status %d for an accumulator of more than 2^31 cells", (int)st);
      return;
    }
    const __int128 size = hr::bufferSize(roi, g, maxLines);
    expect = size > INT_MAX ? kvpStsSizeOverflow : kvpStsOk;
    KVF_REQUIRE(st == expect, "status %d, expected %d (%dx%d delta %g %g lines %d)", (int)st, (int)expect,
                roi.width, roi.height, delta.rho, delta.theta, maxLines);
    int got;
    std::memcpy(&got, out.roi(), 4);
    const int want = (int)(uint32_t)(unsigned __int128)size;
    KVF_REQUIRE(got == want, "size %d, expected %d (%dx%d delta %g %g lines %d)", got, want, roi.width,
                roi.height, delta.rho, delta.theta, maxLines);
    return;
  }
  KVF_REQUIRE(st == expect, "status %d, expected %d", (int)st, (int)expect);
}

// ---- line search ---------------------------------------------------------------------

// Edge pixels: raw input bytes, or a few segments with sparse noise.
KVF_NO_COVERAGE void drawImage(kvf::Reader& in, uint8_t* img, size_t bytes, int srcStep, KvpiSize roi) {
  const uint8_t mode = in.byte();
  if (mode & 1) {
    for (size_t i = 0; i < bytes; ++i) img[i] = in.byte();
    return;
  }
  std::memset(img, 0, bytes);
  auto put = [&](long long x, long long y) {
    if (x >= 0 && x < roi.width && y >= 0 && y < roi.height) img[(size_t)(y * srcStep + x)] = 255;
  };
  const int segments = (mode >> 1) & 3;
  for (int s = 0; s <= segments; ++s) {
    const int x0 = in.intIn(0, roi.width - 1), y0 = in.intIn(0, roi.height - 1);
    const int x1 = in.intIn(0, roi.width - 1), y1 = in.intIn(0, roi.height - 1);
    const int n = std::max(std::abs(x1 - x0), std::abs(y1 - y0));
    for (int t = 0; t <= n; ++t)
      put(x0 + (n ? (long long)(x1 - x0) * t / n : 0), y0 + (n ? (long long)(y1 - y0) * t / n : 0));
  }
  const int noise = (mode >> 3) & 7;
  for (int k = 0; k < noise; ++k) put(in.intIn(0, roi.width - 1), in.intIn(0, roi.height - 1));
}

template <bool Region>
void runSearch(kvf::Reader& in) {
  const uint8_t how = in.byte();
  KvpiSize roi;
  roi.width = (how & 1) ? in.raw<int32_t>() : in.intIn(-2, 64);
  roi.height = (how & 2) ? in.raw<int32_t>() : in.intIn(-2, 48);
  const long long w = std::max(roi.width, 0), h = std::max(roi.height, 0);
  // Steps at or near the row width, below it (rows overlap), or anything.
  const int srcStep = (how & 4)
                          ? in.raw<int32_t>()
                          : (in.flag() ? in.intIn(-2, (int)std::min(w, 100ll)) : (int)(w + in.intIn(-2, 40)));
  const long long span = (long long)roi.width + roi.height;
  const KvpPointPolar delta{pickRhoStep(in, span), pickThetaStep(in)};
  const int threshold = pickCount(in, how & 8, -2, 30);
  const int maxLines = pickCount(in, how & 16, -2, 40);
  KvpPointPolar range[2] = {{in.pickFloat(), in.pickFloat()}, {in.pickFloat(), in.pickFloat()}};
  if (Region && (how & 32)) {
    // Mostly a range of line distances inside the image's.
    const int reach = (int)std::clamp(span, 0ll, 20000ll);
    range[0].rho = (float)in.intIn(-reach, reach);
    range[1].rho = range[0].rho + (float)in.intIn(-2, 2 * reach);
  }
  const uint8_t nulls = in.byte();
  const bool srcNull = (nulls & 7) == 1, lineNull = (nulls & 7) == 2, countNull = (nulls & 7) == 3,
             bufNull = (nulls & 7) == 4, rangeNull = Region && (nulls & 7) == 5;

  // The checks: pointers, step, sizes, step sizes and threshold, then the
  // range. Where the range test falls among the others is not fixed; it is
  // taken as the last, after every test the plain search makes.
  bool nanStep = false;
  KvpStatus expect = kvpStsOk;
  if (srcNull || lineNull || countNull || bufNull || rangeNull)
    expect = kvpStsNullPtr;
  else if (srcStep < 1)
    expect = kvpStsBadStep;
  else if (roi.width < 1 || roi.height < 1 || maxLines < 1)
    expect = kvpStsBadSize;
  else if (delta.rho <= 0.f || delta.rho > (float)span || delta.theta <= 0.f || delta.theta > kPiBound ||
           threshold < 1)
    expect = kvpStsBadArg;
  else if (std::isnan(delta.rho) || std::isnan(delta.theta))
    nanStep = true;  // no accumulator; any refusal will do
  else if (Region && (std::isnan(range[0].rho) || std::isnan(range[1].rho) || range[0].rho > range[1].rho))
    expect = kvpStsBadRange;

  // Only calls that pass every check need real memory. A successful search
  // runs only where it is cheap.
  const hr::Geometry g = expect == kvpStsOk && !nanStep ? hr::geometryOf(roi, delta) : hr::Geometry{};
  const long long imageBytes = (h - 1) * (long long)srcStep + w;
  long long points = 0;
  const bool real = expect == kvpStsOk && !nanStep;
  if (real) {
    if (!g.inRange || imageBytes > kMaxPlaneBytes || maxLines > 4096) return;
    if (hr::bufferSize(roi, g, maxLines) > kMaxPlaneBytes) return;
    if (g.numAngle * (w * h + g.numRho + 16) > kMaxWork) return;
  }

  // The image as one block (rows may overlap when the step is below the
  // width), or a trap.
  kvf::GuardedPlane src =
      real ? (srcStep >= w
                  ? kvf::GuardedPlane((size_t)w, (int)h, (size_t)srcStep, (size_t)in.intIn(0, 31), 41)
                  : kvf::GuardedPlane((size_t)imageBytes, 1, (size_t)imageBytes, (size_t)in.intIn(0, 31), 41))
           : kvf::GuardedPlane::trap(41);
  if (real) {
    std::vector<uint8_t> img((size_t)imageBytes);
    drawImage(in, img.data(), img.size(), srcStep, roi);
    if (srcStep >= w)
      for (long long y = 0; y < h; ++y) std::memcpy(src.row((int)y), img.data() + y * srcStep, (size_t)w);
    else
      std::memcpy(src.roi(), img.data(), img.size());
    for (long long y = 0; y < h; ++y)
      for (long long x = 0; x < w; ++x) points += src.roi()[(size_t)(y * srcStep + x)] != 0;
  }
  int bufSize = 0;
  if (real) {
    const KvpStatus qs = kvpiHoughLineGetSize_8u_C1R(roi, delta, maxLines, &bufSize);
    KVF_REQUIRE(qs == kvpStsOk, "the size query refused a search's arguments (status %d)", (int)qs);
  }
  const size_t lineBytes = (size_t)std::max(maxLines, 1) * sizeof(KvpPointPolar);
  kvf::GuardedPlane lines = real ? kvf::GuardedPlane(lineBytes, 1, lineBytes, (size_t)in.intIn(0, 7) * 4, 42)
                                 : kvf::GuardedPlane::trap(42);
  kvf::GuardedPlane count = real ? kvf::GuardedPlane(4, 1, 4, 4, 43) : kvf::GuardedPlane::trap(43);
  // The buffer at any byte offset; the search aligns its own areas.
  kvf::GuardedPlane buf =
      real ? kvf::GuardedPlane((size_t)bufSize, 1, (size_t)bufSize, (size_t)in.intIn(0, 63), 44)
           : kvf::GuardedPlane::trap(44);
  kvf::GuardedPlane rangePlane(sizeof(range), 1, sizeof(range), 8, 45);
  std::memcpy(rangePlane.roi(), range, sizeof(range));
  src.arm();
  lines.arm();
  count.arm();
  buf.arm();
  rangePlane.arm();

  auto call = [&] {
    const Kvp8u* pSrc = srcNull ? nullptr : src.roi();
    KvpPointPolar* pLine = lineNull ? nullptr : lines.as<KvpPointPolar>();
    int* pCount = countNull ? nullptr : count.as<int>();
    Kvp8u* pBuf = bufNull ? nullptr : buf.roi();
    if constexpr (Region)
      return kvpiHoughLine_Region_8u32f_C1R(pSrc, srcStep, roi, delta, threshold, pLine, maxLines, pCount,
                                            pBuf, rangeNull ? nullptr : rangePlane.as<KvpPointPolar>());
    else
      return kvpiHoughLine_8u32f_C1R(pSrc, srcStep, roi, delta, threshold, pLine, maxLines, pCount, pBuf);
  };
  const KvpStatus st = call();

  KVF_REQUIRE(kvf::isLibraryStatus(st), "status %d is not one of the library's", (int)st);
  KVF_REQUIRE(src.unchanged() && rangePlane.unchanged(), "an input was written");
  if (nanStep)
    KVF_REQUIRE(st < 0, "a NaN step was accepted (status %d)", (int)st);
  else
    KVF_REQUIRE(st == expect, "status %d, expected %d (%dx%d step %d delta %g %g threshold %d lines %d)",
                (int)st, (int)expect, roi.width, roi.height, srcStep, delta.rho, delta.theta, threshold,
                maxLines);
  if (st != kvpStsOk) {
    KVF_REQUIRE(lines.unchanged() && count.unchanged() && buf.unchanged(), "a failing call wrote (status %d)",
                (int)st);
    return;
  }
  KVF_REQUIRE(buf.guardsIntact(), "a write outside the %d-byte buffer", bufSize);
  KVF_REQUIRE(lines.guardsIntact() && count.guardsIntact(), "a write beside the lines or the count");

  long long winLo = 0, winHi = -1;
  if (Region) hr::rhoWindow(range[0].rho, range[1].rho, delta, g, &winLo, &winHi);
  const uint8_t* img = src.roi();
  const std::vector<hr::Line> want = hr::lines(
      roi.width, roi.height, [&](int x, int y) { return img[(size_t)y * srcStep + x] != 0; }, delta,
      threshold, maxLines, Region, winLo, winHi);
  auto requireLines = [&](const char* when) {
    int n;
    std::memcpy(&n, count.roi(), 4);
    KVF_REQUIRE(n == (int)want.size(),
                "%d lines, expected %d (%s; %dx%d, %lld points, delta %g %g, threshold %d)", n,
                (int)want.size(), when, roi.width, roi.height, points, delta.rho, delta.theta, threshold);
    for (int k = 0; k < n; ++k) {
      KvpPointPolar got;
      std::memcpy(&got, lines.roi() + k * sizeof(KvpPointPolar), sizeof(got));
      const float rho = want[k].rho, theta = want[k].theta;
      KVF_REQUIRE(std::memcmp(&got.rho, &rho, 4) == 0 && std::memcmp(&got.theta, &theta, 4) == 0,
                  "line %d is (%g, %g), expected (%g, %g) with %d votes (%s)", k, got.rho, got.theta, rho,
                  theta, want[k].votes, when);
    }
    // Records past the count stay as they were.
    KVF_REQUIRE(
        std::memcmp(lines.roi() + n * sizeof(KvpPointPolar), lines.armedRow(0) + n * sizeof(KvpPointPolar),
                    lineBytes - n * sizeof(KvpPointPolar)) == 0,
        "a line record past the count was written (%s)", when);
  };
  requireLines("first call");
  // The buffer carries nothing between calls: a second search over the
  // first one's leftovers gives the same lines.
  const KvpStatus again = call();
  KVF_REQUIRE(again == kvpStsOk, "status %d on the second call", (int)again);
  KVF_REQUIRE(buf.guardsIntact(), "a write outside the buffer on the second call");
  requireLines("second call");
}

using Runner = void (*)(kvf::Reader&);
const Runner kRunners[] = {runGetSize, runSearch<false>, runSearch<true>};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader in(data, size);
  kRunners[in.byte() % (sizeof(kRunners) / sizeof(kRunners[0]))](in);
  return 0;
}

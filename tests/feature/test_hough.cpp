// Hough lines: the size query, every check and its order, known answers, and
// the line lists compared bit for bit with the reference of hough_ref.h.
#include <dlfcn.h>
#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <vector>

#include "harness.h"
#include "hough_ref.h"

namespace {

using kvt::Plane;
using kvt::Rng;

constexpr float kDeg = 0.017453292f;  // pi / 180 as a float

struct RefResult {
  std::vector<hr::Line> lines;
};

// The reference's lines; with a window, those of the range variant.
RefResult reference(const Plane<Kvp8u>& img, KvpPointPolar d, int threshold, int maxLines,
                    const KvpPointPolar* window = nullptr) {
  long long lo = 0, hi = -1;
  if (window) hr::rhoWindow(window[0].rho, window[1].rho, d, hr::geometryOf(img.size(), d), &lo, &hi);
  return {hr::lines(
      img.width(), img.height(), [&](int x, int y) { return img.at(x, y) != 0; }, d, threshold, maxLines,
      window != nullptr, lo, hi)};
}

// ---- calling the library with a guarded buffer ------------------------------

struct Search {
  KvpStatus status;
  std::vector<KvpPointPolar> lines;
};

int bufferSize(KvpiSize roi, KvpPointPolar d, int maxLines) {
  int size = -1;
  EXPECT_EQ(kvpiHoughLineGetSize_8u_C1R(roi, d, maxLines, &size), kvpStsOk);
  return size;
}

// The buffer is exactly the reported size, starts at an odd offset, and is
// followed by guard bytes; the line array has guards past maxLines.
Search runSearch(const Plane<Kvp8u>& img, KvpPointPolar d, int threshold, int maxLines,
                 const KvpPointPolar* window = nullptr, int bufOffset = 3) {
  const int size = bufferSize(img.size(), d, maxLines);
  std::vector<Kvp8u> buf((size_t)size + bufOffset + 256);
  for (size_t i = 0; i < buf.size(); ++i) buf[i] = (Kvp8u)(i * 7 + 1);
  const std::vector<Kvp8u> before = buf;
  std::vector<KvpPointPolar> lines((size_t)maxLines + 4, KvpPointPolar{-7.f, -7.f});
  int count = -1;
  Search r;
  r.status =
      window ? kvpiHoughLine_Region_8u32f_C1R(img.roi(), img.step(), img.size(), d, threshold, lines.data(),
                                              maxLines, &count, buf.data() + bufOffset, window)
             : kvpiHoughLine_8u32f_C1R(img.roi(), img.step(), img.size(), d, threshold, lines.data(),
                                       maxLines, &count, buf.data() + bufOffset);
  for (int i = 0; i < bufOffset; ++i) EXPECT_EQ(buf[i], before[i]) << "written before the buffer";
  for (size_t i = (size_t)size + bufOffset; i < buf.size(); ++i)
    if (buf[i] != before[i]) {
      ADD_FAILURE() << "written past the reported size at +" << i - size - bufOffset;
      break;
    }
  for (int k = maxLines; k < maxLines + 4; ++k) EXPECT_EQ(lines[k].rho, -7.f) << "line past maxLineCount";
  if (r.status >= 0) {
    EXPECT_GE(count, 0);
    EXPECT_LE(count, maxLines);
  } else {
    EXPECT_EQ(count, -1) << "count written on a failed check";
  }
  lines.resize(std::max(count, 0));
  r.lines = lines;
  return r;
}

::testing::AssertionResult sameLines(const Search& got, const RefResult& want) {
  if (got.status != kvpStsOk) return ::testing::AssertionFailure() << "status " << got.status;
  if (got.lines.size() != want.lines.size())
    return ::testing::AssertionFailure() << got.lines.size() << " lines, expected " << want.lines.size();
  for (size_t k = 0; k < got.lines.size(); ++k)
    if (std::memcmp(&got.lines[k].rho, &want.lines[k].rho, 4) ||
        std::memcmp(&got.lines[k].theta, &want.lines[k].theta, 4))
      return ::testing::AssertionFailure()
             << "line " << k << ": (" << got.lines[k].rho << ", " << got.lines[k].theta << ") expected ("
             << want.lines[k].rho << ", " << want.lines[k].theta << ")";
  return ::testing::AssertionSuccess();
}

Plane<Kvp8u> blank(int w, int h, Rng& rng) {
  Plane<Kvp8u> p(w, h, 1, rng);
  p.fill([] { return 0; });
  return p;
}

// Sparse random edges with values other than 255 (any non-zero is an edge).
Plane<Kvp8u> sparse(int w, int h, double density, Rng& rng) {
  Plane<Kvp8u> p(w, h, 1, rng);
  std::uniform_real_distribution<double> u(0, 1);
  std::uniform_int_distribution<int> v(1, 255);
  p.fill([&] { return u(rng) < density ? v(rng) : 0; });
  return p;
}

void drawSegment(Plane<Kvp8u>& p, int x0, int y0, int x1, int y1) {
  const int n = std::max(std::abs(x1 - x0), std::abs(y1 - y0));
  for (int k = 0; k <= n; ++k) {
    const int x = n ? x0 + (int)std::lround((double)(x1 - x0) * k / n) : x0;
    const int y = n ? y0 + (int)std::lround((double)(y1 - y0) * k / n) : y0;
    if (x >= 0 && y >= 0 && x < p.width() && y < p.height()) p.at(x, y) = 255;
  }
}

// ---- size query -------------------------------------------------------------

TEST(HoughSize, FormulaByHand) {
  int size = 0;
  // 100x50, steps 1 and pi/180: numRho = 301, numAngle = 179 + 1 (3.14159 is below pi).
  ASSERT_EQ(kvpiHoughLineGetSize_8u_C1R({100, 50}, {1.f, kDeg}, 10, &size), kvpStsOk);
  EXPECT_EQ(size, 50 * 464 + 160 + 8 * 180 + 16 * 301 + 288);
  // rho step 2.5: numRho = (int)(301 / 2.5) = 120; theta step 3.14159: two angles.
  ASSERT_EQ(kvpiHoughLineGetSize_8u_C1R({100, 50}, {2.5f, 3.14159f}, 1, &size), kvpStsOk);
  EXPECT_EQ(size, 50 * 464 + 16 + 8 * 2 + 16 * 120 + 288);
  // A theta step beyond the search's bound is not refused here: one angle.
  ASSERT_EQ(kvpiHoughLineGetSize_8u_C1R({1, 1}, {1.f, 4.f}, 0, &size), kvpStsOk);
  EXPECT_EQ(size, 1 * 68 + 8 * 1 + 16 * 5 + 288);
  // maxLineCount is not validated: a negative count shrinks the sum.
  ASSERT_EQ(kvpiHoughLineGetSize_8u_C1R({1, 1}, {1.f, 4.f}, -2, &size), kvpStsOk);
  EXPECT_EQ(size, 68 - 32 + 8 + 80 + 288);
}

TEST(HoughSize, OverflowWarningStoresTruncatedSize) {
  int size = 0;
  const long long w = 30000, h = 30000;
  const long long full = h * (4 * w + 64) + 16 * 5 + 8 * 180 + 16 * (2 * (w + h) + 1) + 288;
  ASSERT_GT(full, 2147483647ll);
  EXPECT_EQ(kvpiHoughLineGetSize_8u_C1R({30000, 30000}, {1.f, kDeg}, 5, &size), kvpStsSizeOverflow);
  EXPECT_EQ(size, (int)(uint32_t)full);
  // Just below the limit stays Ok.
  EXPECT_EQ(kvpiHoughLineGetSize_8u_C1R({4000, 4000}, {1.f, kDeg}, 5, &size), kvpStsOk);
  EXPECT_GT(size, 0);
}

// Sizes near 2^31: height x (4 x width + 64) is 2^64 - 2^33 here, which a
// 64-bit sum would wrap to a small negative size without the warning. The
// stored low 32 bits are the other terms alone: 16 x 10 + 8 x 4 angles +
// 16 x 8192 rho cells (2^33 / 2^20) + 288.
TEST(HoughSize, HugeImagesWarn) {
  int size = 0;
  EXPECT_EQ(kvpiHoughLineGetSize_8u_C1R({2147483632, 2147483647}, {1048576.f, 1.f}, 10, &size),
            kvpStsSizeOverflow);
  EXPECT_EQ(size, 160 + 32 + 131072 + 288);
  EXPECT_EQ(kvpiHoughLineGetSize_8u_C1R({2147483647, 2147483647}, {1048576.f, 1.f}, 10, &size),
            kvpStsSizeOverflow);
}

TEST(HoughSize, CheckOrder) {
  int size = 1234;
  EXPECT_EQ(kvpiHoughLineGetSize_8u_C1R({0, 0}, {0.f, 0.f}, 1, nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiHoughLineGetSize_8u_C1R({0, 5}, {0.f, 0.f}, 1, &size), kvpStsBadSize);
  EXPECT_EQ(kvpiHoughLineGetSize_8u_C1R({5, 0}, {1.f, 1.f}, 1, &size), kvpStsBadSize);
  EXPECT_EQ(kvpiHoughLineGetSize_8u_C1R({5, 5}, {0.f, 1.f}, 1, &size), kvpStsBadArg);
  EXPECT_EQ(kvpiHoughLineGetSize_8u_C1R({5, 5}, {1.f, -1.f}, 1, &size), kvpStsBadArg);
  EXPECT_EQ(kvpiHoughLineGetSize_8u_C1R({5, 5}, {NAN, 1.f}, 1, &size), kvpStsBadArg);
  EXPECT_EQ(size, 1234) << "written on a failed check";
}

// ---- checks of the searches -------------------------------------------------

struct SearchArgs {
  const Kvp8u* src;
  int step;
  KvpiSize roi;
  KvpPointPolar d;
  int threshold;
  KvpPointPolar* lines;
  int maxLines;
  int* count;
  Kvp8u* buf;
};

TEST(HoughChecks, OrderAndNothingWritten) {
  std::vector<Kvp8u> img(100, 0), buf(1 << 16, 0x5a);
  img[11] = 1;
  std::vector<KvpPointPolar> lines(4, KvpPointPolar{-3.f, -3.f});
  int count = -9;
  const SearchArgs ok{img.data(), 10, {10, 10}, {1.f, kDeg}, 1, lines.data(), 4, &count, buf.data()};
  const KvpPointPolar win[2] = {{-5.f, 0.f}, {5.f, 0.f}};
  struct Case {
    const char* what;
    SearchArgs a;
    KvpStatus want;
  };
  auto with = [&](auto f) {
    SearchArgs a = ok;
    f(a);
    return a;
  };
  const std::vector<Case> cases = {
      {"null src beats bad step", with([](SearchArgs& a) {
         a.src = nullptr;
         a.step = 0;
       }),
       kvpStsNullPtr},
      {"null lines", with([](SearchArgs& a) {
         a.lines = nullptr;
         a.roi = {0, 0};
       }),
       kvpStsNullPtr},
      {"null count", with([](SearchArgs& a) { a.count = nullptr; }), kvpStsNullPtr},
      {"null buffer", with([](SearchArgs& a) {
         a.buf = nullptr;
         a.threshold = 0;
       }),
       kvpStsNullPtr},
      {"step 0 beats bad size", with([](SearchArgs& a) {
         a.step = 0;
         a.roi = {0, 1};
       }),
       kvpStsBadStep},
      {"negative step", with([](SearchArgs& a) { a.step = -10; }), kvpStsBadStep},
      {"width 0 beats bad args", with([](SearchArgs& a) {
         a.roi = {0, 10};
         a.threshold = 0;
       }),
       kvpStsBadSize},
      {"height 0", with([](SearchArgs& a) {
         a.roi = {10, 0};
       }),
       kvpStsBadSize},
      {"maxLineCount 0", with([](SearchArgs& a) {
         a.maxLines = 0;
         a.d.rho = 0;
       }),
       kvpStsBadSize},
      {"threshold 0", with([](SearchArgs& a) { a.threshold = 0; }), kvpStsBadArg},
      {"rho step 0", with([](SearchArgs& a) { a.d.rho = 0.f; }), kvpStsBadArg},
      {"rho step above w + h", with([](SearchArgs& a) { a.d.rho = 20.001f; }), kvpStsBadArg},
      {"rho step NaN", with([](SearchArgs& a) { a.d.rho = NAN; }), kvpStsBadArg},
      {"theta step 0", with([](SearchArgs& a) { a.d.theta = 0.f; }), kvpStsBadArg},
      {"theta step above 3.14159", with([](SearchArgs& a) { a.d.theta = std::nextafter(3.14159f, 4.f); }),
       kvpStsBadArg},
      {"theta step pi", with([](SearchArgs& a) { a.d.theta = 3.14159265f; }), kvpStsBadArg},
  };
  for (bool region : {false, true})
    for (const Case& c : cases) {
      const auto bufBefore = buf;
      const KvpStatus st =
          region ? kvpiHoughLine_Region_8u32f_C1R(c.a.src, c.a.step, c.a.roi, c.a.d, c.a.threshold, c.a.lines,
                                                  c.a.maxLines, c.a.count, c.a.buf, win)
                 : kvpiHoughLine_8u32f_C1R(c.a.src, c.a.step, c.a.roi, c.a.d, c.a.threshold, c.a.lines,
                                           c.a.maxLines, c.a.count, c.a.buf);
      EXPECT_EQ(st, c.want) << c.what << (region ? " (region)" : "");
      EXPECT_EQ(count, -9) << c.what;
      EXPECT_EQ(lines[0].rho, -3.f) << c.what;
      EXPECT_TRUE(buf == bufBefore) << c.what;
    }
  // Accepted limits: rho step exactly w + h, theta step exactly 3.14159, and a
  // step smaller than the row (the step is not compared with the width).
  EXPECT_EQ(kvpiHoughLine_8u32f_C1R(img.data(), 10, {10, 10}, {20.f, 3.14159f}, 1, lines.data(), 4, &count,
                                    buf.data()),
            kvpStsOk);
  EXPECT_EQ(
      kvpiHoughLine_8u32f_C1R(img.data(), 1, {10, 10}, {1.f, kDeg}, 1, lines.data(), 4, &count, buf.data()),
      kvpStsOk);
}

TEST(HoughChecks, RegionRangeAfterSearchChecks) {
  std::vector<Kvp8u> img(100, 0), buf(1 << 16, 0);
  std::vector<KvpPointPolar> lines(4);
  int count = -9;
  const KvpPointPolar reversed[2] = {{5.f, 0.f}, {-5.f, 0.f}};
  const KvpPointPolar nanLo[2] = {{NAN, 0.f}, {5.f, 0.f}};
  const KvpPointPolar nanHi[2] = {{0.f, 0.f}, {NAN, 0.f}};
  auto call = [&](const KvpPointPolar* win, int threshold) {
    return kvpiHoughLine_Region_8u32f_C1R(img.data(), 10, {10, 10}, {1.f, kDeg}, threshold, lines.data(), 4,
                                          &count, buf.data(), win);
  };
  EXPECT_EQ(call(nullptr, 1), kvpStsNullPtr);
  EXPECT_EQ(call(reversed, 1), kvpStsBadRange);
  EXPECT_EQ(call(nanLo, 1), kvpStsBadRange);
  EXPECT_EQ(call(nanHi, 1), kvpStsBadRange);
  EXPECT_EQ(count, -9);
  EXPECT_EQ(call(reversed, 0), kvpStsBadArg) << "the search's own checks come first";
  // The angles of the pair are not looked at; a single-value window is valid.
  const KvpPointPolar point[2] = {{3.f, NAN}, {3.f, -100.f}};
  EXPECT_EQ(call(point, 1), kvpStsOk);
}

// ---- stated behaviour -------------------------------------------------------

// Known answers on drawn segments: the number of lines (-1: at least one)
// and the first line, exact or within the given tolerances.
TEST(HoughLines, KnownAnswers) {
  struct Seg {
    int x0, y0, x1, y1;
  };
  struct Row {
    const char* what;
    KvpiSize size;
    std::vector<Seg> segs;
    KvpPointPolar d;
    int threshold, maxLines, count;
    float rho, theta, tolRho, tolTheta;
  };
  const std::vector<Row> rows = {
      {"no edges, no lines", {37, 21}, {}, {1.f, kDeg}, 1, 8, 0, 0, 0, 0, 0},
      {"horizontal line near pi / 2",
       {80, 60},
       {{5, 33, 74, 33}},
       {1.f, kDeg},
       20,
       3,
       -1,
       33.f,
       1.5708f,
       1.f,
       2 * kDeg},
      // x = 5 votes 20 at angle 0 (rho 5) and at 3.14159 (rho -5: cos just
      // above -1); both peaks, the earlier angle first.
      {"theta step bound gives two angles",
       {20, 20},
       {{5, 0, 5, 19}},
       {1.f, 3.14159f},
       1,
       10,
       2,
       5.f,
       0.f,
       0,
       0},
      {"one line keeps the longer",
       {100, 100},
       {{10, 20, 60, 20}, {70, 5, 70, 95}},
       {1.f, kDeg},
       10,
       1,
       1,
       70.f,
       0.f,
       0,
       0},
      {"one line keeps the longer",
       {100, 100},
       {{5, 20, 95, 20}, {70, 30, 70, 60}},
       {1.f, kDeg},
       10,
       1,
       1,
       20.f,
       1.5708f,
       1.f,
       kDeg},
      // Adjacent vertical lines fill rho 3 and 4 equally at angle 0: only
      // rho 3 is a peak there.
      {"equal neighbours keep the smaller rho",
       {10, 30},
       {{3, 0, 3, 29}, {4, 0, 4, 29}},
       {1.f, kDeg},
       25,
       50,
       -1,
       3.f,
       0.f,
       0,
       0},
  };
  Rng rng = kvt::makeRng(1);
  for (const Row& r : rows) {
    SCOPED_TRACE(r.what);
    Plane<Kvp8u> img = blank(r.size.width, r.size.height, rng);
    for (const Seg& g : r.segs) drawSegment(img, g.x0, g.y0, g.x1, g.y1);
    const Search s = runSearch(img, r.d, r.threshold, r.maxLines);
    ASSERT_EQ(s.status, kvpStsOk);
    if (r.count >= 0) {
      ASSERT_EQ(s.lines.size(), (size_t)r.count);
    }
    if (r.count == 0) continue;
    ASSERT_FALSE(s.lines.empty());
    EXPECT_NEAR(s.lines[0].rho, r.rho, r.tolRho);
    EXPECT_NEAR(s.lines[0].theta, r.theta, r.tolTheta);
    for (const auto& l : s.lines) EXPECT_FALSE(r.rho == 3.f && l.theta == 0.f && l.rho == 4.f);
  }
}

// ---- against the reference ------------------------------------------------

struct Params {
  KvpPointPolar d;
  int threshold, maxLines;
};

const std::vector<Params>& paramSweep() {
  static const std::vector<Params> p = {
      {{1.f, kDeg}, 4, 50},    {{1.f, kDeg}, 1, 1000},  {{0.5f, 0.01f}, 3, 20},
      {{2.f, 2 * kDeg}, 6, 7}, {{1.5f, 0.3f}, 2, 30},   {{3.7f, 0.05f}, 5, 3},
      {{1.f, 1.0f}, 1, 64},    {{0.25f, 0.7f}, 2, 500}, {{1.f, 3.14159f}, 1, 9},
  };
  return p;
}

TEST(HoughLines, RandomSparseImagesMatchReference) {
  Rng rng = kvt::makeRng(6);
  const KvpiSize sizes[] = {{1, 1},   {2, 1},   {1, 9},   {7, 3},    {17, 23},
                            {40, 31}, {64, 64}, {97, 45}, {160, 120}};
  for (KvpiSize s : sizes)
    for (const Params& p : paramSweep()) {
      const Plane<Kvp8u> img = sparse(s.width, s.height, 0.08, rng);
      if (p.d.rho > (float)(s.width + s.height)) {
        EXPECT_EQ(runSearch(img, p.d, p.threshold, p.maxLines).status, kvpStsBadArg);
        continue;
      }
      EXPECT_TRUE(sameLines(runSearch(img, p.d, p.threshold, p.maxLines),
                            reference(img, p.d, p.threshold, p.maxLines)))
          << kvt::describe(s) << " d=(" << p.d.rho << ", " << p.d.theta << ") thr " << p.threshold;
    }
}

TEST(HoughLines, DrawnSegmentsMatchReference) {
  Rng rng = kvt::makeRng(7);
  std::uniform_int_distribution<int> coord(-20, 260);
  for (int trial = 0; trial < 6; ++trial) {
    Plane<Kvp8u> img = blank(241, 187, rng);
    for (int k = 0; k < 3 + trial * 2; ++k) drawSegment(img, coord(rng), coord(rng), coord(rng), coord(rng));
    // A little noise, some of it on the segments' rows.
    std::uniform_int_distribution<int> px(0, 240), py(0, 186);
    for (int k = 0; k < 40; ++k) img.at(px(rng), py(rng)) = 9;
    for (const Params& p : paramSweep()) {
      const int thr = p.threshold * 5;
      EXPECT_TRUE(sameLines(runSearch(img, p.d, thr, p.maxLines), reference(img, p.d, thr, p.maxLines)))
          << "trial " << trial << " d=(" << p.d.rho << ", " << p.d.theta << ")";
    }
  }
}

TEST(HoughLines, ExtremeStepsMatchReference) {
  // The largest rho step (two rho cells: votes land below index 0) and a rho
  // step small enough that the scaled coordinates need 64-bit arithmetic.
  Rng rng = kvt::makeRng(8);
  for (KvpiSize s : {KvpiSize{5, 1}, KvpiSize{1, 5}, KvpiSize{13, 7}, KvpiSize{50, 3}}) {
    const Plane<Kvp8u> img = sparse(s.width, s.height, 0.5, rng);
    const KvpPointPolar d{(float)(s.width + s.height), 0.05f};
    EXPECT_TRUE(sameLines(runSearch(img, d, 1, 100), reference(img, d, 1, 100))) << kvt::describe(s);
  }
  Plane<Kvp8u> wide = blank(2100, 40, rng);
  std::uniform_int_distribution<int> px(0, 2099), py(0, 39);
  for (int k = 0; k < 30; ++k) wide.at(px(rng), py(rng)) = 1;
  drawSegment(wide, 2090, 0, 2090, 39);
  const KvpPointPolar fine{0.001f, 0.1f};
  EXPECT_TRUE(sameLines(runSearch(wide, fine, 1, 40), reference(wide, fine, 1, 40)));
}

// An edge map of a bundled photograph: gradient magnitude above a threshold.
Plane<Kvp8u> photoEdges(Rng& rng, bool& ok) {
  ok = false;
  Plane<Kvp8u> none(1, 1, 1, rng);
  void* lib = dlopen("libpng16.so.16", RTLD_NOW);
  if (!lib) return none;
  auto begin = (decltype(&png_image_begin_read_from_file))dlsym(lib, "png_image_begin_read_from_file");
  auto finish = (decltype(&png_image_finish_read))dlsym(lib, "png_image_finish_read");
  auto release = (decltype(&png_image_free))dlsym(lib, "png_image_free");
  png_image im;
  std::memset(&im, 0, sizeof im);
  im.version = PNG_IMAGE_VERSION;
  std::vector<Kvp8u> gray;
  if (begin && finish && release && begin(&im, KVP_ASSETS_DIR "/camera.png")) {
    im.format = PNG_FORMAT_GRAY;
    gray.resize(PNG_IMAGE_SIZE(im));
    if (!finish(&im, nullptr, gray.data(), 0, nullptr)) gray.clear();
    release(&im);
  }
  dlclose(lib);
  if (gray.empty()) return none;
  const int w = (int)im.width, h = (int)im.height;
  Plane<Kvp8u> e(w - 2, h - 2, 1, rng);
  for (int y = 1; y < h - 1; ++y)
    for (int x = 1; x < w - 1; ++x) {
      const int gx = gray[(size_t)y * w + x + 1] - gray[(size_t)y * w + x - 1];
      const int gy = gray[(size_t)(y + 1) * w + x] - gray[(size_t)(y - 1) * w + x];
      e.at(x - 1, y - 1) = gx * gx + gy * gy > 60 * 60 ? 255 : 0;
    }
  ok = true;
  return e;
}

TEST(HoughLines, PhotographEdgeMapMatchesReference) {
  Rng rng = kvt::makeRng(9);
  bool ok = false;
  const Plane<Kvp8u> img = photoEdges(rng, ok);
  if (!ok) GTEST_SKIP() << "photograph not readable";
  for (const Params& p :
       {Params{{1.f, kDeg}, 60, 40}, Params{{2.f, 0.02f}, 80, 200}, Params{{0.5f, 0.1f}, 30, 15}})
    EXPECT_TRUE(sameLines(runSearch(img, p.d, p.threshold, p.maxLines),
                          reference(img, p.d, p.threshold, p.maxLines)));
}

// ---- the rho window ---------------------------------------------------------

TEST(HoughRegion, WindowsMatchReference) {
  Rng rng = kvt::makeRng(10);
  std::uniform_real_distribution<float> bound(-150.f, 150.f);
  for (float dr : {0.5f, 1.f, 2.f, 4.f})
    for (int trial = 0; trial < 8; ++trial) {
      Plane<Kvp8u> img = sparse(90, 70, 0.02, rng);
      drawSegment(img, 0, trial * 8, 89, 69 - trial * 3);
      drawSegment(img, 10 + trial * 9, 0, 45, 69);
      float lo = bound(rng), hi = bound(rng);
      if (lo > hi) std::swap(lo, hi);
      // Some bounds exactly on a rho value: that index is inside.
      if (trial % 3 == 0) lo = std::round(lo / dr) * dr;
      if (trial % 3 == 1) hi = std::round(hi / dr) * dr;
      const KvpPointPolar win[2] = {{lo, 0.f}, {hi, 0.f}};
      const KvpPointPolar d{dr, 0.04f};
      EXPECT_TRUE(sameLines(runSearch(img, d, 3, 25, win), reference(img, d, 3, 25, win)))
          << "dr " << dr << " window [" << lo << ", " << hi << "]";
    }
}

TEST(HoughRegion, BoundConversion) {
  // 31x31, rho step 1: numRho 125, rhoOffset 62. A vertical line at x = 10
  // votes at rho 10 for angle 0.
  Rng rng = kvt::makeRng(11);
  Plane<Kvp8u> img = blank(31, 31, rng);
  drawSegment(img, 10, 0, 10, 30);
  auto strongest = [&](float lo, float hi) {
    const KvpPointPolar win[2] = {{lo, 0.f}, {hi, 0.f}};
    return runSearch(img, {1.f, kDeg}, 20, 1, win);
  };
  Search r = strongest(10.f, 10.f);  // a bound on the value itself is inside
  ASSERT_EQ(r.lines.size(), 1u);
  EXPECT_EQ(r.lines[0].rho, 10.f);
  EXPECT_EQ(r.lines[0].theta, 0.f);
  r = strongest(9.5f, 10.5f);  // fractional bounds round inward to index 10
  ASSERT_EQ(r.lines.size(), 1u);
  EXPECT_EQ(r.lines[0].rho, 10.f);
  EXPECT_TRUE(strongest(10.25f, 10.75f).lines.empty());  // no index inside
  EXPECT_EQ(strongest(10.25f, 10.75f).status, kvpStsOk);
  EXPECT_TRUE(strongest(10.5f, 30.f).lines.empty() || strongest(10.5f, 30.f).lines[0].rho != 10.f);
  // Bounds far outside the accumulator are clipped, not refused: the same
  // lines as the plain search.
  const Params p{{1.f, kDeg}, 8, 30};
  Plane<Kvp8u> busy = sparse(31, 31, 0.05, rng);
  drawSegment(busy, 0, 3, 30, 25);
  const KvpPointPolar huge[2] = {{-1e30f, 0.f}, {INFINITY, 0.f}};
  const Search all = runSearch(busy, p.d, p.threshold, p.maxLines, huge);
  EXPECT_TRUE(sameLines(all, reference(busy, p.d, p.threshold, p.maxLines)));
  const KvpPointPolar outside[2] = {{500.f, 0.f}, {600.f, 0.f}};
  const Search none = runSearch(busy, p.d, p.threshold, p.maxLines, outside);
  EXPECT_EQ(none.status, kvpStsOk);
  EXPECT_TRUE(none.lines.empty());
}

}  // namespace

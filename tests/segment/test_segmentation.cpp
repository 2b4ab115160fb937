// Watershed, gradient segmentation, marker labelling and segment bounds
// against the plain references of segmentation_ref.h: worked examples, then
// random images over the size sweep, both connectivities, every flag and
// several thread counts, with guarded planes and buffers of exactly the
// reported size; then every status in check order with nothing written.
#include <functional>
#include <string>

#include "harness.h"
#include "segmentation_ref.h"

namespace {

using kvt::Plane;

template <class T>
using FloodFn = std::function<KvpStatus(const Kvp8u*, int, T*, int, KvpiSize, KvpiNorm, int, Kvp8u*)>;

template <class T>
struct Flooder {
  std::string name;
  int cn;
  FloodFn<T> fn;
  KvpStatus (*query)(KvpiSize, int*);
};

std::vector<Flooder<Kvp8u>> flooders8() {
  return {{"Watershed_8u", 1, kvpiSegmentWatershed_8u_C1IR, kvpiSegmentWatershedGetBufferSize_8u_C1R},
          {"Gradient_8u", 3, kvpiSegmentGradient_8u_C3IR, kvpiSegmentGradientGetBufferSize_8u_C3R}};
}
std::vector<Flooder<Kvp16u>> flooders16() {
  return {
      {"Watershed_8u16u", 1, kvpiSegmentWatershed_8u16u_C1IR, kvpiSegmentWatershedGetBufferSize_8u16u_C1R}};
}

// A buffer of exactly n bytes at an odd offset, guard bytes around it.
struct Buffer {
  std::vector<uint8_t> bytes;
  int n;
  explicit Buffer(int n_) : bytes((size_t)n_ + 67, 0xCD), n(n_) {}
  Kvp8u* data() { return bytes.data() + 3; }
  bool guards() const {
    for (size_t i = 0; i < bytes.size(); ++i)
      if ((i < 3 || i >= (size_t)n + 3) && bytes[i] != 0xCD) return false;
    return true;
  }
};

template <class T>
std::vector<T> packed(const Plane<T>& p) {
  std::vector<T> v;
  for (int y = 0; y < p.height(); ++y) v.insert(v.end(), p.row(y), p.row(y) + p.width() * p.channels());
  return v;
}
template <class T>
void unpack(Plane<T>& p, const std::vector<T>& v) {
  for (int y = 0; y < p.height(); ++y)
    std::copy(v.begin() + (size_t)y * p.width() * p.channels(),
              v.begin() + (size_t)(y + 1) * p.width() * p.channels(), p.row(y));
}

// ---- worked examples ------------------------------------------------------------

struct RowCase {
  std::vector<uint8_t> src;
  std::vector<uint8_t> marker;
  int flag;
  std::vector<uint8_t> expected;
};

TEST(Segmentation, WatershedRows) {
  const std::vector<RowCase> cases = {
      {{0, 5, 9, 9, 9, 5, 0}, {1, 0, 0, 0, 0, 0, 2}, KVP_SEGMENT_QUEUE, {1, 1, 1, 1, 2, 2, 2}},
      {{0, 5, 9, 9, 9, 5, 0}, {1, 0, 0, 0, 0, 0, 2}, KVP_SEGMENT_BORDER_4, {1, 1, 1, 1, 255, 2, 2}},
      {{0, 9, 1, 1, 1, 9, 0}, {1, 0, 0, 0, 0, 0, 2}, KVP_SEGMENT_QUEUE, {1, 1, 1, 1, 1, 2, 2}},
      {{0, 9, 1, 1, 1, 9, 0}, {1, 0, 0, 0, 0, 0, 2}, KVP_SEGMENT_DISTANCE, {1, 1, 1, 1, 2, 2, 2}},
      {{3, 3, 3, 3}, {0, 0, 0, 0}, KVP_SEGMENT_BORDER_8, {0, 0, 0, 0}},      // no seed: unchanged
      {{3, 1, 3, 3}, {4, 7, 9, 4}, KVP_SEGMENT_QUEUE, {4, 7, 9, 4}},         // all seeds
      {{3, 1, 3, 3}, {4, 7, 9, 4}, KVP_SEGMENT_BORDER_4, {4, 255, 255, 4}},  // seeds become borders
      {{7}, {0}, KVP_SEGMENT_QUEUE, {0}},
      {{7}, {5}, KVP_SEGMENT_BORDER_8, {5}},
  };
  for (const RowCase& c : cases)
    for (bool column : {false, true}) {
      const int n = (int)c.src.size();
      const KvpiSize roi = column ? KvpiSize{1, n} : KvpiSize{n, 1};
      std::vector<uint8_t> m = c.marker;
      int bytes = 0;
      ASSERT_EQ(kvpStsOk, kvpiSegmentWatershedGetBufferSize_8u_C1R(roi, &bytes));
      std::vector<Kvp8u> buf(bytes);
      const int step = column ? 1 : n;
      ASSERT_EQ(kvpStsOk, kvpiSegmentWatershed_8u_C1IR(c.src.data(), step, m.data(), step, roi, kvpiNormL1,
                                                       c.flag, buf.data()));
      EXPECT_EQ(c.expected, m) << "flag " << c.flag << (column ? " column" : " row");
    }
}

// A diagonal gap in a wall of 255: the label crosses only 8-connected.
TEST(Segmentation, DiagonalGap) {
  const int w = 4, h = 4;
  const std::vector<uint8_t> src = {0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 0, 0, 0, 0, 0};
  // The wall occupies (2,0), (1,1), (0,2); (0,0) sits in the closed corner.
  for (KvpiNorm norm : {kvpiNormL1, kvpiNormInf}) {
    std::vector<uint8_t> m(16, 0);
    m[0] = 1;
    m[15] = 2;
    std::vector<uint8_t> ref = m;
    segref::flood(src, 1, ref, w, h, norm == kvpiNormInf, 0);
    int bytes = 0;
    kvpiSegmentWatershedGetBufferSize_8u_C1R({w, h}, &bytes);
    std::vector<Kvp8u> buf(bytes);
    ASSERT_EQ(kvpStsOk,
              kvpiSegmentWatershed_8u_C1IR(src.data(), w, m.data(), w, {w, h}, norm, 0, buf.data()));
    EXPECT_EQ(ref, m);
    // (3,0) lies beyond the wall: label 1 gets there through the gap
    // between (1,0) and (2,1) only when diagonal steps count.
    EXPECT_EQ(norm == kvpiNormInf ? 1 : 2, m[3]) << "norm " << norm;
  }
}

TEST(Segmentation, LabelCases) {
  struct Case {
    int w, h;
    std::vector<uint8_t> img;
    KvpiNorm norm;
    int minLabel, maxLabel;
    std::vector<uint8_t> expected;
    int number;
  };
  const std::vector<Case> cases = {
      // A U whose arms join below: one label.
      {3, 3, {1, 0, 1, 1, 0, 1, 1, 1, 1}, kvpiNormL1, 1, 255, {1, 0, 1, 1, 0, 1, 1, 1, 1}, 1},
      {3, 3, {1, 0, 1, 1, 0, 1, 1, 1, 1}, kvpiNormInf, 1, 255, {1, 0, 1, 1, 0, 1, 1, 1, 1}, 1},
      // First pixel (5,0) numbered before (0,1).
      {6,
       2,
       {0, 0, 0, 0, 0, 9, 9, 0, 0, 0, 0, 0},
       kvpiNormInf,
       1,
       255,
       {0, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 0},
       2},
      // Three components, room for two.
      {5, 1, {1, 0, 1, 0, 1}, kvpiNormL1, 3, 4, {3, 0, 4, 0, 0}, 2},
      // Mixed values form one component; background only stays.
      {3, 1, {7, 200, 7}, kvpiNormL1, 1, 255, {1, 1, 1}, 1},
      {3, 1, {0, 0, 0}, kvpiNormInf, 1, 255, {0, 0, 0}, 0},
      // Checkerboard: every pixel alone 4-connected, one component 8-connected.
      {3, 3, {1, 0, 1, 0, 1, 0, 1, 0, 1}, kvpiNormL1, 1, 255, {1, 0, 2, 0, 3, 0, 4, 0, 5}, 5},
      {3, 3, {1, 0, 1, 0, 1, 0, 1, 0, 1}, kvpiNormInf, 1, 255, {1, 0, 1, 0, 1, 0, 1, 0, 1}, 1},
  };
  for (const Case& c : cases) {
    std::vector<uint8_t> m = c.img;
    int bytes = 0, number = -1;
    ASSERT_EQ(kvpStsOk, kvpiLabelMarkersGetBufferSize_8u_C1R({c.w, c.h}, &bytes));
    std::vector<Kvp8u> buf(bytes);
    ASSERT_EQ(kvpStsOk, kvpiLabelMarkers_8u_C1IR(m.data(), c.w, {c.w, c.h}, c.minLabel, c.maxLabel, c.norm,
                                                 &number, buf.data()));
    EXPECT_EQ(c.expected, m);
    EXPECT_EQ(c.number, number);
  }
}

TEST(Segmentation, BoundCases) {
  const std::vector<uint8_t> img = {1, 1, 1, 1, 2, 1, 1, 1, 1};
  std::vector<uint8_t> m = img;
  ASSERT_EQ(kvpStsOk, kvpiBoundSegments_8u_C1IR(m.data(), 3, {3, 3}, 9, kvpiNormL1));
  EXPECT_EQ((std::vector<uint8_t>{1, 9, 1, 9, 9, 9, 1, 9, 1}), m);
  m = img;
  ASSERT_EQ(kvpStsOk, kvpiBoundSegments_8u_C1IR(m.data(), 3, {3, 3}, 9, kvpiNormInf));
  EXPECT_EQ(std::vector<uint8_t>(9, 9), m);
  m.assign(9, 4);
  ASSERT_EQ(kvpStsOk, kvpiBoundSegments_8u_C1IR(m.data(), 3, {3, 3}, 9, kvpiNormInf));
  EXPECT_EQ(std::vector<uint8_t>(9, 4), m);
}

// ---- random images against the references ---------------------------------------

// Sparse seeds with labels 1..maxLab on an image of plateaus and noise.
template <class T>
void randomSeeds(Plane<T>& m, kvt::Rng& rng, int maxLab, int density) {
  std::uniform_int_distribution<int> pick(0, 999), lab(1, maxLab);
  m.fill([&] { return pick(rng) < density ? lab(rng) : 0; });
}
void randomLevels(Plane<Kvp8u>& s, kvt::Rng& rng) {
  std::uniform_int_distribution<int> lv(0, 255), coarse(0, 3);
  const bool flat = rng() & 1;  // few levels make long plateaus and many ties
  s.fill([&] { return flat ? coarse(rng) * 80 : lv(rng); });
}

template <class T>
void sweepFlooders(const std::vector<Flooder<T>>& members, int maxLab) {
  auto rng = kvt::makeRng(sizeof(T));
  for (const auto& f : members)
    for (KvpiSize roi : kvt::sizeSweep())
      for (int threads : kvt::threadCounts()) {
        // Below the threading threshold every count runs the same code.
        if (threads > 1 && (long long)roi.width * roi.height < 65536) continue;
        kvt::Threads scope(threads);
        const KvpiNorm norm = (rng() & 1) ? kvpiNormL1 : kvpiNormInf;
        static const int flags[] = {0x00, 0x01, 0x40, 0x41, 0x80, 0x81};
        const int flag = flags[rng() % 6];
        Plane<Kvp8u> src(roi.width, roi.height, f.cn, rng);
        randomLevels(src, rng);
        Plane<T> m(roi.width, roi.height, 1, rng);
        randomSeeds(m, rng, maxLab, (int)(rng() % 3) * 10 + 1);
        std::vector<T> ref = packed(m);
        segref::flood(packed(src), f.cn, ref, roi.width, roi.height, norm == kvpiNormInf, flag);
        int bytes = 0;
        ASSERT_EQ(kvpStsOk, f.query(roi, &bytes));
        Buffer buf(bytes);
        const auto before = m.bytes(), srcBefore = src.bytes();
        ASSERT_EQ(kvpStsOk, f.fn(src.roi(), src.step(), m.roi(), m.step(), roi, norm, flag, buf.data()));
        const std::string what = f.name + " " + kvt::describe(roi) + " threads " + std::to_string(threads) +
                                 " norm " + std::to_string(norm) + " flag " + std::to_string(flag);
        ASSERT_TRUE(buf.guards()) << what;
        ASSERT_TRUE(m.sameOutsideRoi(before)) << what;
        ASSERT_TRUE(src.unchanged(srcBefore)) << what;
        ASSERT_TRUE(packed(m) == ref) << what;
      }
}

TEST(Segmentation, FloodingMatchesReference) {
  sweepFlooders(flooders8(), 254);
  sweepFlooders(flooders16(), 65534);
}

template <class T>
void sweepLabels(KvpStatus (*fn)(T*, int, KvpiSize, int, int, KvpiNorm, int*, Kvp8u*),
                 KvpStatus (*query)(KvpiSize, int*), int top) {
  auto rng = kvt::makeRng(7 + sizeof(T));
  for (KvpiSize roi : kvt::sizeSweep())
    for (KvpiNorm norm : {kvpiNormL1, kvpiNormInf}) {
      std::uniform_int_distribution<int> pick(0, 99), val(1, top);
      const int density = (int)(rng() % 70) + 10;
      Plane<T> m(roi.width, roi.height, 1, rng);
      m.fill([&] { return pick(rng) < density ? val(rng) : 0; });
      const int minLabel = 1 + (int)(rng() % 4);
      const int maxLabel = (rng() & 1) ? top : minLabel + (int)(rng() % 40);
      std::vector<T> ref = packed(m);
      const int refNumber =
          segref::label(ref, roi.width, roi.height, norm == kvpiNormInf, minLabel, maxLabel);
      int bytes = 0, number = -1;
      ASSERT_EQ(kvpStsOk, query(roi, &bytes));
      Buffer buf(bytes);
      const auto before = m.bytes();
      ASSERT_EQ(kvpStsOk, fn(m.roi(), m.step(), roi, minLabel, maxLabel, norm, &number, buf.data()));
      const std::string what = kvt::describe(roi) + " norm " + std::to_string(norm);
      ASSERT_TRUE(buf.guards()) << what;
      ASSERT_TRUE(m.sameOutsideRoi(before)) << what;
      ASSERT_TRUE(packed(m) == ref) << what;
      ASSERT_EQ(refNumber, number) << what;
    }
}

TEST(Segmentation, LabelsMatchReference) {
  sweepLabels<Kvp8u>(kvpiLabelMarkers_8u_C1IR, kvpiLabelMarkersGetBufferSize_8u_C1R, 255);
  sweepLabels<Kvp16u>(kvpiLabelMarkers_16u_C1IR, kvpiLabelMarkersGetBufferSize_16u_C1R, 65535);
}

// Worst case of the equivalence table: a full checkerboard, 4-connected.
TEST(Segmentation, LabelCheckerboardFillsTable) {
  for (KvpiSize roi : {KvpiSize{1, 1}, KvpiSize{5, 3}, KvpiSize{4, 4}, KvpiSize{301, 257}}) {
    auto rng = kvt::makeRng(3);
    Plane<Kvp16u> m(roi.width, roi.height, 1, rng);
    for (int y = 0; y < roi.height; ++y)
      for (int x = 0; x < roi.width; ++x) m.at(x, y) = (x + y) % 2 == 0;
    int bytes = 0, number = 0;
    kvpiLabelMarkersGetBufferSize_16u_C1R(roi, &bytes);
    Buffer buf(bytes);
    ASSERT_EQ(kvpStsOk,
              kvpiLabelMarkers_16u_C1IR(m.roi(), m.step(), roi, 1, 65535, kvpiNormL1, &number, buf.data()));
    const long long cells = (long long)roi.width * roi.height;
    EXPECT_EQ(std::min<long long>((cells + 1) / 2, 65535), number);
    EXPECT_TRUE(buf.guards());
  }
}

template <class T>
void sweepBounds(KvpStatus (*fn)(T*, int, KvpiSize, T, KvpiNorm), int top) {
  auto rng = kvt::makeRng(11 + sizeof(T));
  for (KvpiSize roi : kvt::sizeSweep())
    for (int threads : kvt::threadCounts()) {
      if (threads > 1 && (long long)roi.width * roi.height < 65536) continue;
      kvt::Threads scope(threads);
      const KvpiNorm norm = (rng() & 1) ? kvpiNormL1 : kvpiNormInf;
      // Blocks of labels so that most pixels are interior.
      const int cell = 1 + (int)(rng() % 6);
      std::vector<int> labs(4096);
      for (int& l : labs) l = (int)(rng() % 4) * (top / 3);
      Plane<T> m(roi.width, roi.height, 1, rng);
      for (int y = 0; y < roi.height; ++y)
        for (int x = 0; x < roi.width; ++x) m.at(x, y) = (T)labs[(y / cell * 64 + x / cell) % 4096];
      const T val = (T)(rng() % (top + 1));
      std::vector<T> ref = packed(m);
      segref::bounds(ref, roi.width, roi.height, norm == kvpiNormInf, val);
      const auto before = m.bytes();
      ASSERT_EQ(kvpStsOk, fn(m.roi(), m.step(), roi, val, norm));
      const std::string what = kvt::describe(roi) + " threads " + std::to_string(threads);
      ASSERT_TRUE(m.sameOutsideRoi(before)) << what;
      ASSERT_TRUE(packed(m) == ref) << what;
    }
}

TEST(Segmentation, BoundsMatchReference) {
  sweepBounds<Kvp8u>(kvpiBoundSegments_8u_C1IR, 255);
  sweepBounds<Kvp16u>(kvpiBoundSegments_16u_C1IR, 65535);
}

// ---- statuses --------------------------------------------------------------------

TEST(Segmentation, SizeQueries) {
  using Query = KvpStatus (*)(KvpiSize, int*);
  const Query flood[] = {kvpiSegmentWatershedGetBufferSize_8u_C1R,
                         kvpiSegmentWatershedGetBufferSize_8u16u_C1R,
                         kvpiSegmentGradientGetBufferSize_8u_C3R};
  const Query label[] = {kvpiLabelMarkersGetBufferSize_8u_C1R, kvpiLabelMarkersGetBufferSize_16u_C1R};
  kvt::Threads scope(3);
  for (int k = 0; k < 5; ++k) {
    const Query q = k < 3 ? flood[k] : label[k - 3];
    int n = -7;
    EXPECT_EQ(kvpStsNullPtr, q({0, 0}, nullptr));
    EXPECT_EQ(kvpStsBadSize, q({0, 5}, &n));
    EXPECT_EQ(kvpStsBadSize, q({5, -1}, &n));
    EXPECT_EQ(kvpStsBadSize, q({40000, 40000}, &n));
    EXPECT_EQ(kvpStsBadSize, q({2147483647, 2147483647}, &n));
    EXPECT_EQ(-7, n);
    ASSERT_EQ(kvpStsOk, q({33, 7}, &n));
    EXPECT_EQ(k < 3 ? 4 * 231 + 2048 * 3 + 128 : 4 * 231 + 4 * (115 + 2) + 128, n);
  }
}

TEST(Segmentation, FloodStatusOrder) {
  Kvp8u src[64] = {}, m8[64] = {};
  Kvp16u m16[32] = {};
  int bytes = 0;
  ASSERT_EQ(kvpStsOk, kvpiSegmentWatershedGetBufferSize_8u_C1R({4, 4}, &bytes));
  std::vector<Kvp8u> work(bytes);
  Kvp8u* buf = work.data();
  m8[0] = 1;
  m16[0] = 1;
  struct Case {
    KvpStatus st;
    bool nullSrc, nullMarker, nullBuf;
    KvpiSize roi;
    int srcStep, markerStep;
    int norm, flag;
  };
  const std::vector<Case> cases = {
      {kvpStsNullPtr, true, false, false, {0, 0}, 0, 0, 3, 0x100},
      {kvpStsNullPtr, false, true, false, {4, 4}, 4, 8, 0, 0},
      {kvpStsNullPtr, false, false, true, {4, 4}, 4, 8, 0, 0},
      {kvpStsBadSize, false, false, false, {0, 4}, 0, 0, 3, 0x100},
      {kvpStsBadSize, false, false, false, {4, 0}, 0, 0, 3, 0x100},
      {kvpStsBadStep, false, false, false, {4, 4}, 3, 7, 3, 0x100},
      {kvpStsBadStep, false, false, false, {4, 4}, 12, 7, 3, 0x100},
      {kvpStsBadArg, false, false, false, {4, 4}, 12, 8, kvpiNormL2, 0x100},
      {kvpStsBadArg, false, false, false, {4, 4}, 12, 8, 3, 0},
      {kvpStsBadArg, false, false, false, {4, 4}, 12, 8, kvpiNormL1, 0xC0},
      {kvpStsBadArg, false, false, false, {4, 4}, 12, 8, kvpiNormL1, 0x02},
      {kvpStsBadArg, false, false, false, {4, 4}, 12, 8, kvpiNormInf, 0x100},
      {kvpStsOk, false, false, false, {4, 4}, 12, 8, kvpiNormInf, 0x41},
  };
  for (const Case& c : cases) {
    const int mstep8 = c.markerStep / 2;  // the 8-bit rows of the same cases
    Kvp8u before8[64];
    std::copy(m8, m8 + 64, before8);
    const Kvp8u* s = c.nullSrc ? nullptr : src;
    Kvp8u* b = c.nullBuf ? nullptr : buf;
    EXPECT_EQ(c.st, kvpiSegmentWatershed_8u_C1IR(s, c.srcStep, c.nullMarker ? nullptr : m8, mstep8, c.roi,
                                                 (KvpiNorm)c.norm, c.flag, b));
    EXPECT_EQ(c.st, kvpiSegmentWatershed_8u16u_C1IR(s, c.srcStep, c.nullMarker ? nullptr : m16, c.markerStep,
                                                    c.roi, (KvpiNorm)c.norm, c.flag, b));
    EXPECT_EQ(c.st, kvpiSegmentGradient_8u_C3IR(s, c.srcStep, c.nullMarker ? nullptr : m8, mstep8, c.roi,
                                                (KvpiNorm)c.norm, c.flag, b));
    if (c.st != kvpStsOk) {
      EXPECT_TRUE(std::equal(m8, m8 + 64, before8));
    }
  }
  // A 16-bit marker step that holds the row but is odd.
  EXPECT_EQ(kvpStsStepNotMultiple,
            kvpiSegmentWatershed_8u16u_C1IR(src, 4, m16, 9, {4, 4}, kvpiNormL2, 0x100, buf));
  EXPECT_EQ(kvpStsBadStep, kvpiSegmentGradient_8u_C3IR(src, 11, m8, 4, {4, 4}, kvpiNormL1, 0, buf));
}

TEST(Segmentation, LabelAndBoundStatusOrder) {
  Kvp8u m8[64] = {}, buf[4096];
  Kvp16u m16[64] = {};
  int n = -5;
  for (int i = 0; i < 64; ++i) m8[i] = m16[i] = (Kvp8u)(i % 3);
  const std::vector<Kvp8u> before(m8, m8 + 64);
  EXPECT_EQ(kvpStsNullPtr, kvpiLabelMarkers_8u_C1IR(nullptr, 0, {0, 0}, 0, 0, kvpiNormL2, &n, buf));
  EXPECT_EQ(kvpStsNullPtr, kvpiLabelMarkers_8u_C1IR(m8, 0, {0, 0}, 0, 0, kvpiNormL2, nullptr, buf));
  EXPECT_EQ(kvpStsNullPtr, kvpiLabelMarkers_8u_C1IR(m8, 0, {0, 0}, 0, 0, kvpiNormL2, &n, nullptr));
  EXPECT_EQ(kvpStsBadSize, kvpiLabelMarkers_8u_C1IR(m8, 0, {0, 2}, 0, 0, kvpiNormL2, &n, buf));
  EXPECT_EQ(kvpStsBadStep, kvpiLabelMarkers_8u_C1IR(m8, 3, {4, 2}, 0, 0, kvpiNormL2, &n, buf));
  EXPECT_EQ(kvpStsStepNotMultiple, kvpiLabelMarkers_16u_C1IR(m16, 9, {4, 2}, 0, 0, kvpiNormL2, &n, buf));
  EXPECT_EQ(kvpStsBadArg, kvpiLabelMarkers_8u_C1IR(m8, 4, {4, 2}, 0, 0, kvpiNormL2, &n, buf));
  for (auto [lo, hi] : {std::pair{0, 5}, std::pair{1, 256}, std::pair{6, 5}}) {
    EXPECT_EQ(kvpStsBadArg, kvpiLabelMarkers_8u_C1IR(m8, 4, {4, 2}, lo, hi, kvpiNormL1, &n, buf));
  }
  EXPECT_EQ(kvpStsBadArg, kvpiLabelMarkers_16u_C1IR(m16, 8, {4, 2}, 1, 65536, kvpiNormInf, &n, buf));
  EXPECT_EQ(kvpStsOk, kvpiLabelMarkers_16u_C1IR(m16, 8, {4, 2}, 1, 65535, kvpiNormInf, &n, buf));
  EXPECT_EQ(1, n);
  EXPECT_EQ(std::vector<Kvp8u>(m8, m8 + 64), before);
  EXPECT_EQ(kvpStsNullPtr, kvpiBoundSegments_8u_C1IR(nullptr, 0, {0, 0}, 1, kvpiNormL2));
  EXPECT_EQ(kvpStsBadSize, kvpiBoundSegments_8u_C1IR(m8, 0, {-1, 2}, 1, kvpiNormL2));
  EXPECT_EQ(kvpStsBadStep, kvpiBoundSegments_8u_C1IR(m8, 3, {4, 2}, 1, kvpiNormL2));
  EXPECT_EQ(kvpStsStepNotMultiple, kvpiBoundSegments_16u_C1IR(m16, 9, {4, 2}, 1, kvpiNormL2));
  EXPECT_EQ(kvpStsBadArg, kvpiBoundSegments_8u_C1IR(m8, 4, {4, 2}, 1, kvpiNormL2));
  EXPECT_EQ(kvpStsBadArg, kvpiBoundSegments_16u_C1IR(m16, 8, {4, 2}, 1, (KvpiNorm)3));
  EXPECT_EQ(std::vector<Kvp8u>(m8, m8 + 64), before);
}

}  // namespace

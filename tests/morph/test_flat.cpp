// Flat erosion, dilation and the derived operations against the plain
// reference, for every type and layout: masks that take each route
// (rectangles short and long, runs at every window level, gaps, anchors
// outside the members), sizes on both sides of the threading threshold,
// guard bytes, states in caller memory at any alignment, and every status
// in check order.
#include <memory>

#include "harness.h"
#include "morph_ref.h"

namespace {

using mref::Img;
using mref::Mask;
using mref::Op;

template <class T>
using Work = KvpStatus (*)(const T*, int, T*, int, KvpiSize, KvpiBorderType, KvpiMorphState*);
template <class T>
using AdvWork = KvpStatus (*)(const T*, int, T*, int, KvpiSize, KvpiBorderType, KvpiMorphAdvState*);

template <class T>
struct Fns {
  int cn;
  const char* name;
  KvpStatus (*getSize)(int, KvpiSize, int*);
  KvpStatus (*init)(int, const Kvp8u*, KvpiSize, KvpiPoint, KvpiMorphState*);
  KvpStatus (*initAlloc)(int, const Kvp8u*, KvpiSize, KvpiPoint, KvpiMorphState**);
  KvpStatus (*advGetSize)(KvpiSize, KvpiSize, int*);
  KvpStatus (*advInit)(KvpiSize, const Kvp8u*, KvpiSize, KvpiPoint, KvpiMorphAdvState*);
  KvpStatus (*advInitAlloc)(KvpiSize, const Kvp8u*, KvpiSize, KvpiPoint, KvpiMorphAdvState**);
  Work<T> work[2];    // erode, dilate
  AdvWork<T> adv[5];  // open, close, tophat, blackhat, gradient
};

#define FNS(SUF, CN)                                                                                \
  {                                                                                                 \
    CN, #SUF, kvpiMorphologyGetSize_##SUF, kvpiMorphologyInit_##SUF, kvpiMorphologyInitAlloc_##SUF, \
        kvpiMorphAdvGetSize_##SUF, kvpiMorphAdvInit_##SUF, kvpiMorphAdvInitAlloc_##SUF,             \
        {kvpiErodeBorderReplicate_##SUF, kvpiDilateBorderReplicate_##SUF}, {                        \
      kvpiMorphOpenBorder_##SUF, kvpiMorphCloseBorder_##SUF, kvpiMorphTophatBorder_##SUF,           \
          kvpiMorphBlackhatBorder_##SUF, kvpiMorphGradientBorder_##SUF                              \
    }                                                                                               \
  }

const std::vector<Fns<Kvp8u>> k8u = {FNS(8u_C1R, 1), FNS(8u_C3R, 3), FNS(8u_C4R, 4)};
const std::vector<Fns<Kvp16u>> k16u = {FNS(16u_C1R, 1)};
const std::vector<Fns<Kvp32f>> k32f = {FNS(32f_C1R, 1), FNS(32f_C3R, 3), FNS(32f_C4R, 4)};

template <class T>
const std::vector<Fns<T>>& table() {
  if constexpr (std::is_same_v<T, Kvp8u>)
    return k8u;
  else if constexpr (std::is_same_v<T, Kvp16u>)
    return k16u;
  else
    return k32f;
}

Mask mask(int w, int h, int ax, int ay, std::vector<uint8_t> m = {}) {
  if (m.empty()) m.resize((size_t)w * h, 1);
  return Mask{w, h, ax, ay, m};
}

// A disc of radius r in a (2r + 1)^2 box, anchor at its centre.
Mask disc(int r) {
  Mask k = mask(2 * r + 1, 2 * r + 1, r, r);
  for (int j = 0; j < k.h; ++j)
    for (int i = 0; i < k.w; ++i)
      k.m[(size_t)j * k.w + i] = (i - r) * (i - r) + (j - r) * (j - r) <= r * r + r;
  return k;
}

// Masks for every route: 1x1, short and long rectangles (direct and van
// Herk in both directions), a disc, rows of runs of lengths 1..11 (every
// window level, the cached one and the recomputed ones), a mask with gaps
// and members far from the anchor, an anchor outside the members' box.
std::vector<Mask> masks() {
  std::vector<Mask> v = {mask(1, 1, 0, 0), mask(3, 3, 1, 1), mask(5, 5, 2, 2), mask(15, 15, 7, 7),
                         mask(9, 2, 8, 0), mask(2, 7, 0, 6), disc(3)};
  v.push_back(mask(24, 3, 5, 1, {1, 0, 1, 1, 0, 1, 1, 1, 1, 1, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0,  //
                                 0, 1, 1, 1, 1, 1, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 1, 1, 1, 0, 0,  //
                                 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  v.push_back(mask(5, 5, 2, 2, {0, 0, 1, 1, 1, 0, 0, 1, 1, 1, 0, 0, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  v.push_back(mask(6, 4, 0, 3, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7, 0, 0, 9, 0, 0, 0, 0, 0, 0}));
  return v;
}

template <class T>
T randomValue(kvt::Rng& rng) {
  if constexpr (std::is_floating_point_v<T>)
    return (T)std::uniform_int_distribution<int>(-8000, 8000)(rng) / 8;
  else
    return (T)std::uniform_int_distribution<int>(0, std::numeric_limits<T>::max())(rng);
}

// A state for the flat (adv false) or derived functions: InitAlloc, or Init
// in caller memory of exactly GetSize bytes at offset misalign.
struct StateBox {
  void* p = nullptr;
  bool owned = false;
  std::vector<uint8_t> mem;
  ~StateBox() {
    if (owned) kvpiMorphologyFree(static_cast<KvpiMorphState*>(p));
  }
};

template <class T>
KvpStatus makeState(const Fns<T>& f, bool adv, KvpiSize roi, const Mask& k, int misalign, StateBox& box) {
  const KvpiSize ms{k.w, k.h};
  const KvpiPoint a{k.ax, k.ay};
  if (misalign < 0) {
    box.owned = true;
    if (adv) return f.advInitAlloc(roi, k.m.data(), ms, a, reinterpret_cast<KvpiMorphAdvState**>(&box.p));
    return f.initAlloc(roi.width, k.m.data(), ms, a, reinterpret_cast<KvpiMorphState**>(&box.p));
  }
  int size = 0;
  if (KvpStatus s = adv ? f.advGetSize(roi, ms, &size) : f.getSize(roi.width, ms, &size)) return s;
  box.mem = std::vector<uint8_t>((size_t)size + misalign + 64, 0xC3);
  box.p = box.mem.data() + misalign;
  KvpStatus s = adv ? f.advInit(roi, k.m.data(), ms, a, static_cast<KvpiMorphAdvState*>(box.p))
                    : f.init(roi.width, k.m.data(), ms, a, static_cast<KvpiMorphState*>(box.p));
  for (int i = 0; i < 64; ++i)
    EXPECT_EQ(box.mem[(size_t)size + misalign + i], 0xC3) << "state overran its size";
  return s;
}

// Runs operation op (index of Op) on src into dst with a state for bound.
template <class T>
KvpStatus call(const Fns<T>& f, Op op, const T* src, int srcStep, T* dst, int dstStep, KvpiSize roi,
               KvpiSize bound, const Mask& k, int misalign = -1) {
  const bool adv = op != Op::Erode && op != Op::Dilate;
  StateBox box;
  if (KvpStatus s = makeState(f, adv, bound, k, misalign, box)) return s;
  if (adv) {
    KvpStatus s = f.adv[(int)op - 2](src, srcStep, dst, dstStep, roi, kvpBorderRepl,
                                     static_cast<KvpiMorphAdvState*>(box.p));
    if (box.owned) {
      EXPECT_EQ(kvpiMorphAdvFree(static_cast<KvpiMorphAdvState*>(box.p)), kvpStsOk);
    }
    box.owned = false;
    return s;
  }
  return f.work[(int)op](src, srcStep, dst, dstStep, roi, kvpBorderRepl, static_cast<KvpiMorphState*>(box.p));
}

constexpr Op kOps[] = {Op::Erode, Op::Dilate, Op::Open, Op::Close, Op::Tophat, Op::Blackhat, Op::Gradient};

// One case: every operation against the reference, guards intact, the
// source untouched; for large images the thread counts agree.
template <class T>
void check(const Fns<T>& f, const Mask& k, KvpiSize roi, kvt::Rng& rng, bool threads) {
  kvt::Plane<T> src(roi.width, roi.height, f.cn, rng);
  src.fill([&] { return randomValue<T>(rng); });
  const auto srcBefore = src.bytes();
  const Img<T> in = mref::load<T>(src.roi(), src.step(), roi.width, roi.height, f.cn);
  // The references of all seven from four flat passes.
  const Img<T> ero = mref::flat(in, k, false), dil = mref::flat(in, k, true);
  const Img<T> opn = mref::flat(ero, k, true), cls = mref::flat(dil, k, false);
  auto diff = [&](const Img<T>& a, const Img<T>& b) {
    Img<T> d = a;
    for (size_t i = 0; i < d.v.size(); ++i) d.v[i] = mref::sub(a.v[i], b.v[i]);
    return d;
  };
  const Img<T> refs[] = {ero, dil, opn, cls, diff(in, opn), diff(cls, in), diff(dil, ero)};
  for (Op op : kOps) {
    const Img<T>& want = refs[(int)op];
    for (int n : threads ? kvt::threadCounts() : std::vector<int>{1}) {
      kvt::Threads scope(n);
      kvt::Plane<T> dst(roi.width, roi.height, f.cn, rng);
      const auto before = dst.bytes();
      ASSERT_EQ(call(f, op, src.roi(), src.step(), dst.roi(), dst.step(), roi, roi, k, n == 2 ? 17 : -1),
                kvpStsOk);
      ASSERT_TRUE(dst.sameOutsideRoi(before));
      ASSERT_TRUE(src.unchanged(srcBefore));
      for (int y = 0; y < roi.height; ++y)
        for (int i = 0; i < roi.width * f.cn; ++i)
          if (!mref::same(dst.row(y)[i], want.v[(size_t)y * roi.width * f.cn + i])) {
            FAIL() << f.name << " op " << (int)op << " mask " << k.w << "x" << k.h << " at " << i << "," << y
                   << " of " << kvt::describe(roi) << ", " << n << " threads";
          }
    }
  }
}

template <class T>
void sweep() {
  kvt::Rng rng = kvt::makeRng(sizeof(T));
  const std::vector<KvpiSize> sizes =
      kvt::smallRun() ? std::vector<KvpiSize>{{1, 1}, {7, 1}, {1, 6}, {23, 17}}
                      : std::vector<KvpiSize>{{1, 1}, {7, 1}, {1, 6}, {2, 3}, {23, 17}, {67, 40}};
  for (const auto& f : table<T>())
    for (const Mask& k : masks())
      for (KvpiSize roi : sizes) check(f, k, roi, rng, roi.width == 23);
  // Above the threading threshold, bands of unequal height.
  const KvpiSize big = kvt::smallRun() ? KvpiSize{70, 50} : KvpiSize{331, 299};
  for (const auto& f : table<T>()) {
    check(f, mask(3, 3, 1, 1), big, rng, true);
    check(f, masks()[7], big, rng, f.cn == 1);
  }
}

TEST(MorphFlat, Reference8u) { sweep<Kvp8u>(); }
TEST(MorphFlat, Reference16u) { sweep<Kvp16u>(); }
TEST(MorphFlat, Reference32f) { sweep<Kvp32f>(); }

// Rows worked out by hand (mask rows, anchor, source, operation, result).
struct RowCase {
  std::vector<uint8_t> m;
  int ax;
  std::vector<int> src;
  Op op;
  std::vector<float> want8u, want32f;  // 32f empty: same as 8u
};

TEST(MorphFlat, HandWorkedRows) {
  const std::vector<RowCase> cases = {
      {{1, 1, 1}, 1, {5, 3, 8, 1, 9}, Op::Erode, {3, 3, 1, 1, 1}, {}},
      {{1, 1, 1}, 1, {5, 3, 8, 1, 9}, Op::Dilate, {5, 8, 8, 9, 9}, {}},
      {{1, 0, 1}, 1, {5, 3, 8, 1, 9}, Op::Erode, {3, 5, 1, 8, 1}, {}},
      {{1, 0, 1}, 1, {5, 3, 8, 1, 9}, Op::Dilate, {5, 8, 3, 9, 9}, {}},
      {{1, 0, 1}, 0, {5, 3, 8, 1, 9}, Op::Erode, {5, 1, 8, 1, 9}, {}},
      {{1, 0, 1}, 0, {5, 3, 8, 1, 9}, Op::Dilate, {8, 3, 9, 9, 9}, {}},
      {{1, 1}, 0, {0, 9, 9}, Op::Open, {9, 9, 9}, {}},
      {{1, 1}, 0, {0, 9, 9}, Op::Tophat, {0, 0, 0}, {-9, 0, 0}},
      {{1, 1}, 0, {0, 9, 9}, Op::Close, {9, 9, 9}, {}},
      {{1, 1}, 0, {0, 9, 9}, Op::Blackhat, {9, 0, 0}, {}},
      {{1, 1}, 0, {0, 9, 9}, Op::Gradient, {9, 0, 0}, {}},
      {{1, 0, 1, 0, 1}, 2, {3, 9, 3, 6, 5}, Op::Open, {3, 5, 3, 5, 3}, {}},
      {{1, 0, 1, 0, 1}, 2, {3, 9, 3, 6, 5}, Op::Close, {3, 3, 3, 5, 5}, {}},
      {{1, 0, 1, 0, 1}, 2, {3, 9, 3, 6, 5}, Op::Tophat, {0, 4, 0, 1, 2}, {}},
      {{1, 0, 1, 0, 1}, 2, {3, 9, 3, 6, 5}, Op::Blackhat, {0, 0, 0, 0, 0}, {0, -6, 0, -1, 0}},
  };
  for (const RowCase& c : cases) {
    const int w = (int)c.src.size();
    const Mask k = mask((int)c.m.size(), 1, c.ax, 0, c.m);
    std::vector<Kvp8u> s8(c.src.begin(), c.src.end()), d8(w);
    std::vector<Kvp32f> s32(c.src.begin(), c.src.end()), d32(w);
    ASSERT_EQ(call(k8u[0], c.op, s8.data(), w, d8.data(), w, {w, 1}, {w, 1}, k), kvpStsOk);
    ASSERT_EQ(call(k32f[0], c.op, s32.data(), 4 * w, d32.data(), 4 * w, {w, 1}, {w, 1}, k), kvpStsOk);
    const auto& w32 = c.want32f.empty() ? c.want8u : c.want32f;
    for (int x = 0; x < w; ++x) {
      EXPECT_EQ(d8[x], c.want8u[x]) << "op " << (int)c.op << " x " << x;
      EXPECT_EQ(d32[x], w32[x]) << "op " << (int)c.op << " x " << x;
    }
  }
}

// The 5x5 mask whose members are columns 2-4 of rows 0-2 with anchor (2, 2)
// is the 3x3 rectangle with anchor (0, 2); surroundings of the ROI (0 or the
// maximum) are never read; a state made for a larger ROI serves a smaller
// one; Init at any alignment gives what InitAlloc gives.
template <class T>
void equivalences() {
  kvt::Rng rng = kvt::makeRng(7);
  const Mask sparse = masks()[8], box = mask(3, 3, 0, 2);
  for (const auto& f : table<T>()) {
    const int W = 37, H = 29, cn = f.cn;
    kvt::Plane<T> outer(W + 4, H + 4, cn, rng);
    for (T fillv : {T(0), std::numeric_limits<T>::max()}) {
      outer.fill([&] { return fillv; });
      kvt::Rng data = kvt::makeRng(3);
      for (int y = 0; y < H; ++y)
        for (int i = 0; i < W * cn; ++i) outer.row(y + 2)[2 * cn + i] = randomValue<T>(data);
      const T* roi = outer.row(2) + 2 * cn;
      const auto before = outer.bytes();
      for (Op op : kOps) {
        std::vector<T> a((size_t)W * H * cn), b(a.size()), c(a.size());
        const int st = W * cn * (int)sizeof(T);
        ASSERT_EQ(call(f, op, roi, outer.step(), a.data(), st, {W, H}, {W, H}, sparse), kvpStsOk);
        ASSERT_EQ(call(f, op, roi, outer.step(), b.data(), st, {W, H}, {W + 5, H + 3}, box, 1 + (int)op * 9),
                  kvpStsOk);
        ASSERT_TRUE(a == b) << f.name << " op " << (int)op;
        const Img<T> want = mref::derived(mref::load<T>(roi, outer.step(), W, H, cn), box, op);
        for (size_t i = 0; i < a.size(); ++i) ASSERT_TRUE(mref::same(a[i], want.v[i])) << f.name << " " << i;
        ASSERT_TRUE(outer.unchanged(before));
      }
    }
  }
}

TEST(MorphFlat, Equivalences) {
  equivalences<Kvp8u>();
  equivalences<Kvp16u>();
  equivalences<Kvp32f>();
}

// Statuses in check order; a failing call writes nothing.
TEST(MorphFlat, StatusesInOrder) {
  const Fns<Kvp16u>& f = k16u[0];
  const Fns<Kvp8u>& g = k8u[1];  // 8u C3
  const Kvp8u ones[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1}, zeros[9] = {};
  int size = 0;
  KvpiMorphState* st = nullptr;
  KvpiMorphAdvState* as = nullptr;
  // GetSize and Init.
  EXPECT_EQ(f.getSize(8, {3, 3}, nullptr), kvpStsNullPtr);
  EXPECT_EQ(f.getSize(0, {3, 3}, &size), kvpStsBadSize);
  EXPECT_EQ(f.advGetSize({8, 0}, {3, 3}, &size), kvpStsBadSize);
  EXPECT_EQ(f.getSize(8, {3, 0}, &size), kvpStsBadSize);
  EXPECT_EQ(f.getSize(1 << 30, {3, 3}, &size), kvpStsBadSize);
  EXPECT_EQ(f.initAlloc(8, nullptr, {0, 3}, {5, 5}, &st), kvpStsNullPtr);
  EXPECT_EQ(f.initAlloc(8, ones, {0, 3}, {5, 5}, nullptr), kvpStsNullPtr);
  EXPECT_EQ(f.initAlloc(8, ones, {0, 3}, {5, 5}, &st), kvpStsBadSize);
  EXPECT_EQ(f.initAlloc(8, zeros, {3, 3}, {3, 0}, &st), kvpStsBadAnchor);
  EXPECT_EQ(f.initAlloc(8, zeros, {3, 3}, {0, -1}, &st), kvpStsBadAnchor);
  EXPECT_EQ(f.advInitAlloc({8, 8}, zeros, {3, 3}, {2, 2}, &as), kvpStsBadArg);
  EXPECT_EQ(f.initAlloc(1 << 28, ones, {3, 3}, {2, 2}, &st), kvpStsBadSize);
  EXPECT_EQ(st, nullptr);
  EXPECT_EQ(as, nullptr);
  // Working calls: pointers, size, steps, multiples, border, kind, bound.
  std::vector<Kvp16u> src(64, 7), dst(64, 9);
  StateBox box, box3;
  ASSERT_EQ(makeState(f, false, {8, 8}, mask(3, 3, 2, 2), -1, box), kvpStsOk);
  ASSERT_EQ(makeState(g, false, {8, 8}, mask(3, 3, 2, 2), 5, box3), kvpStsOk);
  auto* s = static_cast<KvpiMorphState*>(box.p);
  struct C {
    const Kvp16u* src;
    int ss;
    Kvp16u* dst;
    int ds;
    KvpiSize roi;
    KvpiBorderType b;
    KvpiMorphState* st;
    KvpStatus want;
  };
  const Kvp16u* p = src.data();
  Kvp16u* q = dst.data();
  auto* wrong = static_cast<KvpiMorphState*>(box3.p);
  const std::vector<C> cases = {
      {nullptr, 16, q, 16, {8, 8}, kvpBorderRepl, s, kvpStsNullPtr},
      {p, 16, nullptr, 16, {0, 8}, kvpBorderRepl, s, kvpStsNullPtr},
      {p, 16, q, 16, {8, 8}, kvpBorderRepl, nullptr, kvpStsNullPtr},
      {p, 0, q, 0, {8, 0}, kvpBorderConst, s, kvpStsBadSize},
      {p, 15, q, 0, {8, 8}, kvpBorderConst, s, kvpStsBadStep},
      {p, 16, q, 14, {8, 8}, kvpBorderConst, s, kvpStsBadStep},
      {p, 17, q, 16, {8, 8}, kvpBorderConst, s, kvpStsStepNotMultiple},
      {p, 16, q, 16, {8, 8}, kvpBorderConst, wrong, kvpStsBadArg},
      {p, 16, q, 16, {8, 8}, kvpBorderMirror, s, kvpStsBadArg},
      {p, 18, q, 18, {9, 7}, kvpBorderRepl, wrong, kvpStsBadArg},
      {p, 18, q, 18, {9, 7}, kvpBorderRepl, s, kvpStsBadSize},
  };
  for (size_t i = 0; i < cases.size(); ++i) {
    const C& c = cases[i];
    for (int w = 0; w < 2; ++w) {
      EXPECT_EQ(f.work[w](c.src, c.ss, c.dst, c.ds, c.roi, c.b, c.st), c.want) << "case " << i;
      EXPECT_TRUE(std::all_of(dst.begin(), dst.end(), [](Kvp16u v) { return v == 9; })) << "case " << i;
    }
  }
  // A derived state: its own height bound; a flat state is not one.
  StateBox adv;
  ASSERT_EQ(makeState(f, true, {8, 6}, mask(3, 3, 2, 2), 3, adv), kvpStsOk);
  auto* a = static_cast<KvpiMorphAdvState*>(adv.p);
  for (auto fn : f.adv) {
    EXPECT_EQ(fn(p, 16, q, 16, {8, 7}, kvpBorderRepl, a), kvpStsBadSize);
    EXPECT_EQ(fn(p, 16, q, 16, {8, 6}, kvpBorderRepl, reinterpret_cast<KvpiMorphAdvState*>(s)), kvpStsBadArg);
    EXPECT_EQ(fn(p, 16, q, 16, {8, 6}, kvpBorderWrap, a), kvpStsBadArg);
  }
  EXPECT_EQ(f.work[0](p, 16, q, 16, {8, 6}, kvpBorderRepl, reinterpret_cast<KvpiMorphState*>(a)),
            kvpStsBadArg);
  // Free: null, Init-built, another family's state.
  EXPECT_EQ(kvpiMorphologyFree(nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiMorphAdvFree(nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiMorphologyFree(wrong), kvpStsBadArg);
  EXPECT_EQ(kvpiMorphAdvFree(a), kvpStsBadArg);
  EXPECT_EQ(kvpiMorphAdvFree(reinterpret_cast<KvpiMorphAdvState*>(s)), kvpStsBadArg);
  // Anchor at the last mask cell is accepted.
  EXPECT_EQ(f.initAlloc(8, ones, {3, 3}, {2, 2}, &st), kvpStsOk);
  EXPECT_EQ(kvpiMorphologyFree(st), kvpStsOk);
}

// GetSize follows the thread count; a state built at one thread serves a
// call made at four (it holds one slice, so the call stays on one thread).
TEST(MorphFlat, StateSizeFollowsThreads) {
  int one = 0, four = 0;
  {
    kvt::Threads t(1);
    ASSERT_EQ(kvpiMorphologyGetSize_8u_C1R(300, {5, 5}, &one), kvpStsOk);
  }
  kvt::Threads t(4);
  ASSERT_EQ(kvpiMorphologyGetSize_8u_C1R(300, {5, 5}, &four), kvpStsOk);
  EXPECT_GT(four, one);
  std::vector<uint8_t> mem((size_t)one);
  kvt::Rng rng = kvt::makeRng(5);
  std::vector<Kvp8u> src(300 * 300), dst(src.size());
  for (auto& v : src) v = (Kvp8u)rng();
  const Mask k = disc(2);
  auto* st = reinterpret_cast<KvpiMorphState*>(mem.data());
  {
    kvt::Threads t1(1);
    ASSERT_EQ(kvpiMorphologyInit_8u_C1R(300, k.m.data(), {5, 5}, {2, 2}, st), kvpStsOk);
  }
  ASSERT_EQ(kvpiErodeBorderReplicate_8u_C1R(src.data(), 300, dst.data(), 300, {300, 300}, kvpBorderRepl, st),
            kvpStsOk);
  Img<Kvp8u> in(300, 300, 1);
  in.v = src;
  EXPECT_TRUE(mref::flat(in, k, false).v == dst);
}

}  // namespace

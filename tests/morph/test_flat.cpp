// Flat erosion, dilation and the derived operations against the plain
// reference for every type and layout: masks that take each route
// (rectangles short and long, runs at every window level, gaps, anchors
// outside the members), sizes on both sides of the threading threshold,
// guard bytes, states in caller memory at any alignment, statuses in order.
#include "harness.h"
#include "morph_ref.h"
#include "targets.h"

namespace {

using mref::Img;
using mref::Mask;
using mref::Op;

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
  KvpStatus (*work[2])(const T*, int, T*, int, KvpiSize, KvpiBorderType, KvpiMorphState*);
  KvpStatus (*adv[5])(const T*, int, T*, int, KvpiSize, KvpiBorderType, KvpiMorphAdvState*);
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

// Masks for every route: 1x1, short, long and wide rectangles (direct,
// doubling and van Herk), a disc, rows of runs of lengths 1..11 (the cached window level and
// recomputed ones), columns 2-4 of rows 0-2 of a 5x5 box, scattered members
// away from the anchor.
std::vector<Mask> masks() {
  std::vector<Mask> v = {mask(1, 1, 0, 0), mask(3, 3, 1, 1), mask(5, 5, 2, 2), mask(15, 15, 7, 7),
                         mask(9, 2, 8, 0), mask(2, 7, 0, 6), mask(7, 7, 3, 3)};
  for (int j = 0; j < 7; ++j)
    for (int i = 0; i < 7; ++i) v.back().m[(size_t)j * 7 + i] = (i - 3) * (i - 3) + (j - 3) * (j - 3) <= 12;
  v.push_back(mask(24, 3, 5, 1, {1, 0, 1, 1, 0, 1, 1, 1, 1, 1, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0,  //
                                 0, 1, 1, 1, 1, 1, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 1, 1, 1, 0, 0,  //
                                 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  v.push_back(mask(5, 5, 2, 2, {0, 0, 1, 1, 1, 0, 0, 1, 1, 1, 0, 0, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  v.push_back(mask(6, 4, 0, 3, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7, 0, 0, 9, 0, 0, 0, 0, 0, 0}));
  // Wide and tall rectangles, and runs of 41, 20 and 17 members.
  v.push_back(mask(37, 2, 30, 1));
  v.push_back(mask(2, 21, 1, 3));
  v.push_back(mask(41, 3, 20, 1));
  for (int i = 0; i < 41; ++i) v.back().m[41 + i] = i != 20, v.back().m[82 + i] = i < 17;
  return v;
}

template <class T>
T randomValue(kvt::Rng& rng) {
  if constexpr (std::is_floating_point_v<T>)
    return (T)std::uniform_int_distribution<int>(-8000, 8000)(rng) / 8;
  else
    return (T)std::uniform_int_distribution<int>(0, std::numeric_limits<T>::max())(rng);
}

// A flat (adv false) or derived state: InitAlloc (misalign < 0, released on
// destruction), or Init in caller memory of exactly GetSize bytes at offset
// misalign, followed by bytes that must stay untouched.
struct State {
  void* p = nullptr;
  bool owned = false, adv = false;
  std::vector<uint8_t> mem;
  template <class T>
  KvpStatus make(const Fns<T>& f, bool isAdv, KvpiSize roi, const Mask& k, int misalign) {
    const KvpiSize ms{k.w, k.h};
    const KvpiPoint a{k.ax, k.ay};
    adv = isAdv, owned = misalign < 0;
    if (owned)
      return adv ? f.advInitAlloc(roi, k.m.data(), ms, a, reinterpret_cast<KvpiMorphAdvState**>(&p))
                 : f.initAlloc(roi.width, k.m.data(), ms, a, reinterpret_cast<KvpiMorphState**>(&p));
    int size = 0;
    if (KvpStatus s = adv ? f.advGetSize(roi, ms, &size) : f.getSize(roi.width, ms, &size)) return s;
    mem.resize((size_t)size + misalign + 64, 0xC3);
    p = mem.data() + misalign;
    return adv ? f.advInit(roi, k.m.data(), ms, a, static_cast<KvpiMorphAdvState*>(p))
               : f.init(roi.width, k.m.data(), ms, a, static_cast<KvpiMorphState*>(p));
  }
  ~State() {
    if (owned && p) {
      EXPECT_EQ(adv ? kvpiMorphAdvFree(static_cast<KvpiMorphAdvState*>(p))
                    : kvpiMorphologyFree(static_cast<KvpiMorphState*>(p)),
                kvpStsOk);
    }
    for (size_t i = mem.size() >= 64 ? mem.size() - 64 : 0; i < mem.size(); ++i) {
      EXPECT_EQ(mem[i], 0xC3) << "the state overran its size";
    }
  }
};

// Runs operation op on src into dst with a fresh state made for bound.
template <class T>
KvpStatus call(const Fns<T>& f, Op op, const T* src, int ss, T* dst, int ds, KvpiSize roi, KvpiSize bound,
               const Mask& k, int misalign = -1) {
  const int o = (int)op;
  State st;
  if (KvpStatus s = st.make(f, o >= 2, bound, k, misalign)) return s;
  return o >= 2 ? f.adv[o - 2](src, ss, dst, ds, roi, kvpBorderRepl, static_cast<KvpiMorphAdvState*>(st.p))
                : f.work[o](src, ss, dst, ds, roi, kvpBorderRepl, static_cast<KvpiMorphState*>(st.p));
}

// Every operation against the reference at the given thread counts, guards
// intact, the source untouched.
template <class T>
void check(const Fns<T>& f, const Mask& k, KvpiSize roi, kvt::Rng& rng, const std::vector<int>& threads) {
  kvt::Plane<T> src(roi.width, roi.height, f.cn, rng);
  src.fill([&] { return randomValue<T>(rng); });
  const auto srcBefore = src.bytes();
  const auto refs = mref::allOps(mref::load<T>(src.roi(), src.step(), roi.width, roi.height, f.cn), k);
  for (int op = 0; op < 7; ++op)
    for (int n : threads) {
      kvt::Threads scope(n);
      kvt::Plane<T> dst(roi.width, roi.height, f.cn, rng);
      const auto before = dst.bytes();
      ASSERT_EQ(call(f, (Op)op, src.roi(), src.step(), dst.roi(), dst.step(), roi, roi, k, n == 2 ? 17 : -1),
                kvpStsOk);
      ASSERT_TRUE(dst.sameOutsideRoi(before) && src.unchanged(srcBefore));
      for (int y = 0; y < roi.height; ++y)
        for (int i = 0; i < roi.width * f.cn; ++i)
          if (!mref::same(dst.row(y)[i], refs[op].v[(size_t)y * roi.width * f.cn + i])) {
            FAIL() << f.name << " op " << op << " mask " << k.w << "x" << k.h << " at " << i << "," << y
                   << " of " << kvt::describe(roi) << ", " << n << " threads";
          }
    }
}

// Every compiled vector target on odd widths past one vector; the library's
// own target also on the other sizes, at several thread counts, and above
// the threading threshold with bands of unequal height.
template <class T>
void sweep() {
  kvt::Rng rng = kvt::makeRng(sizeof(T));
  for (int64_t target : kvt::vectorTargets()) {
    kvt::Target scope(target);
    SCOPED_TRACE(kvt::targetName(target));
    for (const auto& f : table<T>())
      for (const Mask& k : masks())
        check(f, k, kvt::smallRun() ? KvpiSize{21, 9} : KvpiSize{67, 25}, rng, {1});
  }
  std::vector<KvpiSize> sizes = {{1, 1}, {7, 1}, {1, 6}, {23, 17}};
  if (!kvt::smallRun()) sizes.push_back({2, 3});
  for (const auto& f : table<T>())
    for (const Mask& k : masks())
      for (KvpiSize roi : sizes)
        check(f, k, roi, rng, roi.width == 23 ? kvt::threadCounts() : std::vector<int>{1});
  const KvpiSize big = kvt::smallRun() ? KvpiSize{70, 50} : KvpiSize{331, 299};
  for (const auto& f : table<T>()) {
    check(f, mask(3, 3, 1, 1), big, rng, kvt::threadCounts());
    if (f.cn == 1) check(f, masks()[7], big, rng, kvt::threadCounts());
    if (f.cn == 4) check(f, masks()[11], big, rng, {1});  // several strips of the derived operations
  }
}

TEST(MorphFlat, Reference8u) { sweep<Kvp8u>(); }
TEST(MorphFlat, Reference16u) { sweep<Kvp16u>(); }
TEST(MorphFlat, Reference32f) { sweep<Kvp32f>(); }

// Rows worked out by hand: mask row, anchor, source, operation, result
// (8u, and 32f where it differs).
TEST(MorphFlat, HandWorkedRows) {
  struct C {
    std::vector<uint8_t> m;
    int ax;
    std::vector<int> src;
    Op op;
    std::vector<float> want8u, want32f;
  };
  const std::vector<C> cases = {
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
  for (const C& c : cases) {
    const int w = (int)c.src.size();
    const Mask k = mask((int)c.m.size(), 1, c.ax, 0, c.m);
    std::vector<Kvp8u> s8(c.src.begin(), c.src.end()), d8(w);
    std::vector<Kvp32f> s32(c.src.begin(), c.src.end()), d32(w);
    ASSERT_EQ(call(k8u[0], c.op, s8.data(), w, d8.data(), w, {w, 1}, {w, 1}, k), kvpStsOk);
    ASSERT_EQ(call(k32f[0], c.op, s32.data(), 4 * w, d32.data(), 4 * w, {w, 1}, {w, 1}, k), kvpStsOk);
    for (int x = 0; x < w; ++x) {
      EXPECT_EQ(d8[x], c.want8u[x]) << "op " << (int)c.op << " x " << x;
      EXPECT_EQ(d32[x], (c.want32f.empty() ? c.want8u : c.want32f)[x]) << "op " << (int)c.op << " x " << x;
    }
  }
}

// The 5x5 mask of columns 2-4, rows 0-2 with anchor (2, 2) is the 3x3
// rectangle with anchor (0, 2); surroundings of the ROI (0 or the maximum)
// are never read; a state for a larger ROI serves a smaller one; Init at
// any alignment gives what InitAlloc gives.
template <class T>
void equivalences() {
  kvt::Rng rng = kvt::makeRng(7);
  const Mask sparse = masks()[8], box = mask(3, 3, 0, 2);
  for (const auto& f : table<T>()) {
    const int W = 37, H = 29, cn = f.cn, st = W * cn * (int)sizeof(T);
    kvt::Plane<T> outer(W + 4, H + 4, cn, rng);
    for (T fillv : {T(0), std::numeric_limits<T>::max()}) {
      outer.fill([&] { return fillv; });
      kvt::Rng data = kvt::makeRng(3);
      for (int y = 0; y < H; ++y)
        for (int i = 0; i < W * cn; ++i) outer.row(y + 2)[2 * cn + i] = randomValue<T>(data);
      const T* roi = outer.row(2) + 2 * cn;
      const auto before = outer.bytes();
      const auto refs = mref::allOps(mref::load<T>(roi, outer.step(), W, H, cn), box);
      for (int op = 0; op < 7; ++op) {
        std::vector<T> a((size_t)W * H * cn), b(a.size());
        ASSERT_EQ(call(f, (Op)op, roi, outer.step(), a.data(), st, {W, H}, {W, H}, sparse), kvpStsOk);
        ASSERT_EQ(call(f, (Op)op, roi, outer.step(), b.data(), st, {W, H}, {W + 5, H + 3}, box, 1 + op * 9),
                  kvpStsOk);
        ASSERT_TRUE(a == b && outer.unchanged(before)) << f.name << " op " << op;
        for (size_t i = 0; i < a.size(); ++i)
          ASSERT_TRUE(mref::same(a[i], refs[op].v[i])) << f.name << " " << i;
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
  const Kvp8u ones[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1}, zeros[9] = {};
  int size = 0;
  KvpiMorphState* st = nullptr;
  KvpiMorphAdvState* as = nullptr;
  EXPECT_EQ(f.getSize(8, {3, 3}, nullptr), kvpStsNullPtr);
  EXPECT_EQ(f.getSize(0, {3, 3}, &size), kvpStsBadSize);
  EXPECT_EQ(f.advGetSize({8, 0}, {3, 3}, &size), kvpStsBadSize);
  EXPECT_EQ(f.getSize(1 << 30, {3, 3}, &size), kvpStsBadSize);
  EXPECT_EQ(f.initAlloc(8, nullptr, {0, 3}, {5, 5}, &st), kvpStsNullPtr);
  EXPECT_EQ(f.initAlloc(8, ones, {0, 3}, {5, 5}, nullptr), kvpStsNullPtr);
  EXPECT_EQ(f.initAlloc(8, ones, {0, 3}, {5, 5}, &st), kvpStsBadSize);
  EXPECT_EQ(f.initAlloc(8, zeros, {3, 3}, {3, 0}, &st), kvpStsBadAnchor);
  EXPECT_EQ(f.initAlloc(8, zeros, {3, 3}, {0, -1}, &st), kvpStsBadAnchor);
  EXPECT_EQ(f.advInitAlloc({8, 8}, zeros, {3, 3}, {2, 2}, &as), kvpStsBadArg);
  EXPECT_EQ(f.initAlloc(1 << 28, ones, {3, 3}, {2, 2}, &st), kvpStsBadSize);
  EXPECT_TRUE(st == nullptr && as == nullptr);
  // Working calls: pointers, size, steps, multiples, border, kind, bound.
  std::vector<Kvp16u> src(64, 7), dst(64, 9);
  State s16, s8, sa;
  ASSERT_EQ(s16.make(f, false, {8, 8}, mask(3, 3, 2, 2), -1), kvpStsOk);
  ASSERT_EQ(s8.make(k8u[1], false, {8, 8}, mask(3, 3, 2, 2), 5), kvpStsOk);
  ASSERT_EQ(sa.make(f, true, {8, 6}, mask(3, 3, 2, 2), 3), kvpStsOk);
  auto* s = static_cast<KvpiMorphState*>(s16.p);
  auto* wrong = static_cast<KvpiMorphState*>(s8.p);
  auto* a = static_cast<KvpiMorphAdvState*>(sa.p);
  const Kvp16u* p = src.data();
  Kvp16u* q = dst.data();
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
      {p, 18, q, 18, {9, 7}, kvpBorderRepl, reinterpret_cast<KvpiMorphState*>(a), kvpStsBadArg},
      {p, 18, q, 18, {9, 7}, kvpBorderRepl, s, kvpStsBadSize},
  };
  for (size_t i = 0; i < cases.size(); ++i)
    for (auto fn : f.work) {
      const C& c = cases[i];
      EXPECT_EQ(fn(c.src, c.ss, c.dst, c.ds, c.roi, c.b, c.st), c.want) << "case " << i;
      EXPECT_TRUE(std::all_of(dst.begin(), dst.end(), [](Kvp16u v) { return v == 9; })) << "case " << i;
    }
  for (auto fn : f.adv) {
    EXPECT_EQ(fn(p, 16, q, 16, {8, 7}, kvpBorderRepl, a), kvpStsBadSize);
    EXPECT_EQ(fn(p, 16, q, 16, {8, 6}, kvpBorderRepl, reinterpret_cast<KvpiMorphAdvState*>(s)), kvpStsBadArg);
    EXPECT_EQ(fn(p, 16, q, 16, {8, 6}, kvpBorderWrap, a), kvpStsBadArg);
  }
  EXPECT_TRUE(std::all_of(dst.begin(), dst.end(), [](Kvp16u v) { return v == 9; }));
  // Free: null, Init-built, another family's state.
  EXPECT_EQ(kvpiMorphologyFree(nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiMorphAdvFree(nullptr), kvpStsNullPtr);
  EXPECT_EQ(kvpiMorphologyFree(wrong), kvpStsBadArg);
  EXPECT_EQ(kvpiMorphAdvFree(a), kvpStsBadArg);
  EXPECT_EQ(kvpiMorphAdvFree(reinterpret_cast<KvpiMorphAdvState*>(s)), kvpStsBadArg);
}

// GetSize follows the thread count; a state built at one thread (one
// slice) serves a call made at four within exactly its size.
TEST(MorphFlat, StateSizeFollowsThreads) {
  int one = 0, four = 0;
  std::vector<uint8_t> mem;
  const Mask k = masks()[6];
  {
    kvt::Threads t(1);
    ASSERT_EQ(kvpiMorphologyGetSize_8u_C1R(300, {7, 7}, &one), kvpStsOk);
    mem.resize((size_t)one);
    ASSERT_EQ(kvpiMorphologyInit_8u_C1R(300, k.m.data(), {7, 7}, {3, 3}, (KvpiMorphState*)mem.data()),
              kvpStsOk);
  }
  kvt::Threads t(4);
  ASSERT_EQ(kvpiMorphologyGetSize_8u_C1R(300, {7, 7}, &four), kvpStsOk);
  EXPECT_GT(four, one);
  kvt::Rng rng = kvt::makeRng(5);
  Img<Kvp8u> in(300, 300, 1);
  for (auto& v : in.v) v = (Kvp8u)rng();
  std::vector<Kvp8u> dst(in.v.size());
  ASSERT_EQ(kvpiErodeBorderReplicate_8u_C1R(in.v.data(), 300, dst.data(), 300, {300, 300}, kvpBorderRepl,
                                            (KvpiMorphState*)mem.data()),
            kvpStsOk);
  EXPECT_TRUE(mref::flat(in, k, false).v == dst);
}

}  // namespace

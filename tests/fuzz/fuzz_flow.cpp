// Fuzzes pyramidal Lucas-Kanade tracking: small pyramids of arbitrary
// pixels (8u, 16u, 32f), points anywhere (on, off and far off the image,
// infinities and NaN included), arbitrary windows, level counts, iteration
// limits, thresholds and thread counts.
//
// Every call must return the status its arguments call for and write
// nothing when it fails; a successful call must give the positions,
// statuses and errors of the cell-by-cell reference shared with the unit
// tests, bit for bit (a NaN matches any NaN).
#include <vector>

#include "fuzz_planes.h"
KVF_REF_BEGIN
#include "../flow/flow_ref.h"
KVF_REF_END

namespace {

template <class T>
struct Api;
#define KVF_API(E, TS)                                                      \
  template <>                                                               \
  struct Api<E> {                                                           \
    using State = KvpiOptFlowPyrLK_##TS;                                    \
    static constexpr auto alloc = kvpiOpticalFlowPyrLKInitAlloc_##TS##_C1R; \
    static constexpr auto release = kvpiOpticalFlowPyrLKFree_##TS##_C1R;    \
    static constexpr auto track = kvpiOpticalFlowPyrLK_##TS##_C1R;          \
  };
KVF_API(Kvp8u, 8u)
KVF_API(Kvp16u, 16u)
KVF_API(Kvp32f, 32f)
#undef KVF_API

bool sameFloat(float a, float b) { return (a != a && b != b) || std::memcmp(&a, &b, 4) == 0; }

template <class T>
void track(kvf::Stream& s) {
  using A = Api<T>;
  const KvpiSize roi = {s.intIn(1, 40), s.intIn(1, 40)};
  const int level = s.intIn(0, 3);
  const float rate = s.flag() ? 2.0f : 1.5f;
  KvpiPyramid *p1 = nullptr, *p2 = nullptr;
  KVF_REQUIRE(kvpiPyramidInitAlloc(&p1, level, roi, rate) == kvpStsOk, "record");
  KVF_REQUIRE(kvpiPyramidInitAlloc(&p2, level, roi, rate) == kvpStsOk, "record");
  std::vector<std::vector<T>> px[2];
  for (int q = 0; q < 2; ++q) {
    KvpiPyramid* p = q ? p2 : p1;
    px[q].resize(level + 1);
    for (int L = 0; L <= level; ++L) {
      const int pad = s.intIn(0, 3);
      const int stride = p->pRoi[L].width + pad;
      px[q][L].resize((size_t)stride * p->pRoi[L].height);
      for (T& v : px[q][L]) {
        v = kvf::pickElem<T>(s);
        if constexpr (std::is_same_v<T, Kvp32f>)
          if (!std::isfinite(v) || std::fabs(v) > 1e6f) v = (float)s.intIn(0, 255);
      }
      p->pImage[L] = reinterpret_cast<Kvp8u*>(px[q][L].data());
      p->pStep[L] = stride * (int)sizeof(T);
    }
  }
  const int numFeat = s.byte() < 8 ? s.intIn(-1, 0) : s.intIn(1, 24);
  std::vector<KvpiPoint_32f> prev((size_t)std::max(numFeat, 1)), next(prev.size());
  for (size_t i = 0; i < prev.size(); ++i) {
    const bool wild = s.byte() < 40;
    prev[i] = wild ? KvpiPoint_32f{kvf::pickF(s), kvf::pickF(s)}
                   : KvpiPoint_32f{(float)s.intIn(-300, roi.width * 8 + 300) / 8.0f,
                                   (float)s.intIn(-300, roi.height * 8 + 300) / 8.0f};
    next[i] = s.flag() ? prev[i]
                       : KvpiPoint_32f{prev[i].x + (float)s.intIn(-24, 24) / 8.0f,
                                       prev[i].y + (float)s.intIn(-24, 24) / 8.0f};
  }
  const uint8_t wh = s.byte();
  const int win = wh < 240 ? 3 + 2 * (wh % 6) : s.intIn(-1, 8);
  const int stateWin = s.byte() < 230 ? std::max(win, 3) | 1 : s.intIn(3, 9) | 1;
  const int maxLev = s.byte() < 240 ? s.intIn(0, level) : s.intIn(-1, level + 1);
  const int maxIter = s.byte() < 245 ? s.intIn(1, 12) : s.intIn(-1, 0);
  const float thr = s.byte() < 220 ? (float)s.intIn(0, 20) / 100.0f : kvf::pickF(s);
  const KvpiSize stateRoi = s.byte() < 230 ? roi : KvpiSize{roi.width - 1 + s.intIn(0, 1), roi.height};
  const bool withErr = s.flag();
  kvf::setThreads(s);

  typename A::State* st = nullptr;
  if (stateRoi.width < 1 || A::alloc(&st, stateRoi, stateWin) != kvpStsOk) {
    kvpiPyramidFree(p1);
    kvpiPyramidFree(p2);
    return;
  }
  KvpStatus want = kvpStsOk;
  if (numFeat < 1 || win < 3 || win > stateWin)
    want = kvpStsBadSize;
  else if (win % 2 == 0 || maxLev < 0 || maxIter < 1 || !(thr >= 0.0f))
    want = kvpStsBadArg;
  else if (level < maxLev)
    want = kvpStsError;
  else if (roi.width > stateRoi.width || roi.height > stateRoi.height)
    want = kvpStsBadSize;
  std::vector<KvpiPoint_32f> out = next;
  std::vector<Kvp8s> status(prev.size(), 9);
  std::vector<Kvp32f> err(prev.size(), -2.0f);
  const KvpStatus got = A::track(p1, p2, prev.data(), out.data(), status.data(),
                                 withErr ? err.data() : nullptr, numFeat, win, maxLev, maxIter, thr, st);
  KVF_REQUIRE(got == want, "tracking: %d, expected %d", got, want);
  if (got != kvpStsOk) {
    for (size_t i = 0; i < prev.size(); ++i)
      KVF_REQUIRE(sameFloat(out[i].x, next[i].x) && status[i] == 9 && err[i] == -2.0f, "written on failure");
  } else {
    std::vector<KvpiPoint_32f> ref = next;
    std::vector<Kvp8s> rs(prev.size());
    std::vector<Kvp32f> re(prev.size());
    kvpref::flowTrackRef<T>(p1, p2, prev.data(), ref.data(), rs.data(), re.data(), numFeat, win, maxLev,
                            maxIter, thr);
    for (int i = 0; i < numFeat; ++i)
      KVF_REQUIRE(sameFloat(out[i].x, ref[i].x) && sameFloat(out[i].y, ref[i].y) && status[i] == rs[i] &&
                      (!withErr || sameFloat(err[i], re[i])),
                  "point %d: (%a, %a) %d %a vs (%a, %a) %d %a", i, out[i].x, out[i].y, status[i], err[i],
                  ref[i].x, ref[i].y, rs[i], re[i]);
    if (!withErr) KVF_REQUIRE(err[0] == -2.0f, "error written though not wanted");
  }
  A::release(st);
  kvpiPyramidFree(p1);
  kvpiPyramidFree(p2);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader in(data, size);
  kvf::Stream s(in);
  switch (s.byte() % 3) {
    case 0:
      track<Kvp8u>(s);
      break;
    case 1:
      track<Kvp16u>(s);
      break;
    default:
      track<Kvp32f>(s);
      break;
  }
  kvpSetNumThreads(1);
  return 0;
}

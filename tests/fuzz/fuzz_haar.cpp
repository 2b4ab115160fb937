// Fuzzes the Haar classifier stages: stage descriptions of any rectangles,
// weights, thresholds and votes (InitAlloc must return the status they call
// for, then TiltHaarFeatures and the window size must follow the rules),
// and Apply calls of all six forms on guarded tables, norms and masks of any
// size, step and offset. Every call must return its status, write nothing
// on failure, write nothing outside the mask, and equal haar_ref.h.
#include <cstring>
#include <type_traits>
#include <vector>

#include "fuzz_support.h"
KVF_REF_BEGIN
#include "../detect/haar_ref.h"
KVF_REF_END

namespace {

constexpr long long kMaxPlaneBytes = 1 << 17;

template <class W>
W pickW(kvf::Reader& in) {
  if constexpr (std::is_same_v<W, float>)
    return in.byte() < 20 ? in.pickFloat() : (float)in.intIn(-64, 64) / 8.f;
  else
    return in.byte() < 20 ? in.raw<int32_t>() : in.intIn(-64, 64);
}

template <class W>
haarref::Stage<W> readStage(kvf::Reader& in, int& length) {
  haarref::Stage<W> s;
  length = in.byte() < 6 ? in.intIn(-1, 0) : in.intIn(1, 6);
  const int n = length > 0 ? length : 1;
  for (int i = 0; i < n; ++i) {
    const uint8_t k = in.byte();
    s.num.push_back(k < 4 ? in.intIn(-1, 0) : 1 + k % 3);
    s.tilted.push_back(in.byte() < 64);
    s.threshold.push_back(pickW<W>(in));
    s.val1.push_back(pickW<W>(in));
    s.val2.push_back(pickW<W>(in));
  }
  int rects = 0;
  for (int v : s.num) rects += v > 0 ? v : 0;
  for (int r = 0; r < rects; ++r) {
    KvpiRect q{in.intIn(0, 7), in.intIn(0, 6), in.intIn(1, 5), in.intIn(1, 5)};
    const uint8_t k = in.byte();
    if (k < 8) q = {in.raw<int32_t>(), in.raw<int32_t>(), in.raw<int32_t>(), in.raw<int32_t>()};
    s.rect.push_back(q);
    s.weight.push_back(pickW<W>(in));
  }
  // One spare entry, so that no array is empty (an empty vector's data()
  // may be null, which is a different status).
  s.rect.push_back({0, 0, 1, 1});
  s.weight.push_back(W(1));
  return s;
}

template <class W>
void run(kvf::Reader& in, int form) {
  using TT = std::conditional_t<std::is_same_v<W, float>, float, int32_t>;
  const bool mixed = in.flag();
  const bool floatTables = std::is_same_v<W, float> && form == 0;
  int length = 0;
  haarref::Stage<W> st = readStage<W>(in, length);
  const bool tiltedInit = in.byte() < 40;
  // InitAlloc with every classifier of the InitAlloc's geometry.
  const KvpStatus iexp = haarref::initStatus(st, false, length, tiltedInit);
  void* state = nullptr;
  KvpStatus ist;
  if constexpr (std::is_same_v<W, float>)
    ist = (tiltedInit ? kvpiTiltedHaarClassifierInitAlloc_32f : kvpiHaarClassifierInitAlloc_32f)(
        reinterpret_cast<KvpiHaarClassifier_32f**>(&state), st.rect.data(), st.weight.data(),
        st.threshold.data(), st.val1.data(), st.val2.data(), st.num.data(), length);
  else
    ist = (tiltedInit ? kvpiTiltedHaarClassifierInitAlloc_32s : kvpiHaarClassifierInitAlloc_32s)(
        reinterpret_cast<KvpiHaarClassifier_32s**>(&state), st.rect.data(), st.weight.data(),
        st.threshold.data(), st.val1.data(), st.val2.data(), st.num.data(), length);
  KVF_REQUIRE(ist == iexp, "InitAlloc status %d, expected %d", (int)ist, (int)iexp);
  if (ist != kvpStsOk) return;
  for (auto& t : st.tilted) t = tiltedInit;
  // Geometry changes: selected classifiers must all stay valid.
  const int flag = in.byte() < 10 ? in.intIn(-1, 3) : in.byte() & 1;
  std::vector<uint8_t> sel(length);
  for (auto& b : sel) b = in.byte() & 1;
  KvpStatus texp = (flag != 0 && flag != 1) ? kvpStsBadArg : kvpStsOk;
  if (texp == kvpStsOk) {
    size_t k = 0;
    for (int i = 0; i < length; ++i)
      for (int r = 0; r < st.num[i]; ++r, ++k)
        if (sel[i] && !haarref::rectValid(st.rect[k], flag == 1)) texp = kvpStsBadSize;
  }
  KvpStatus tst;
  if constexpr (std::is_same_v<W, float>)
    tst = kvpiTiltHaarFeatures_32f(sel.data(), flag, static_cast<KvpiHaarClassifier_32f*>(state));
  else
    tst = kvpiTiltHaarFeatures_32s(sel.data(), flag, static_cast<KvpiHaarClassifier_32s*>(state));
  KVF_REQUIRE(tst == texp, "TiltHaarFeatures status %d, expected %d", (int)tst, (int)texp);
  if (tst == kvpStsOk)
    for (int i = 0; i < length; ++i)
      if (sel[i]) st.tilted[i] = (uint8_t)flag;
  KvpiSize win{};
  if constexpr (std::is_same_v<W, float>)
    kvpiGetHaarClassifierSize_32f(static_cast<KvpiHaarClassifier_32f*>(state), &win);
  else
    kvpiGetHaarClassifierSize_32s(static_cast<KvpiHaarClassifier_32s*>(state), &win);
  const KvpiSize wantWin = haarref::windowOf(st);
  KVF_REQUIRE(win.width == wantWin.width && win.height == wantWin.height, "window %dx%d, expected %dx%d",
              win.width, win.height, wantWin.width, wantWin.height);

  // One Apply call.
  KvpiSize roi{in.intIn(-1, 20), in.intIn(-1, 8)};
  const long long rw = roi.width > 0 ? roi.width : 1, rh = roi.height > 0 ? roi.height : 1;
  const long long tw = rw + win.width, th = rh + win.height;
  auto step = [&](long long bytes) {
    return in.byte() < 10 ? (int)in.raw<int32_t>() : (int)(bytes + in.intIn(-5, 12));
  };
  const int srcStep = step(tw * 4), tiltStep = step(tw * 4), normStep = step(rw * 4), maskStep = step(rw);
  const int sf = in.byte() < 10 ? in.intIn(-40, 40) : in.intIn(-31, 31);
  const uint8_t nulls = in.byte();
  const int nullArg = nulls < 40 ? 1 + nulls % 6 : 0;
  const bool anyNull = nullArg != 0 && (nullArg != 2 || mixed);
  const KvpStatus expect = haarref::applyStatus(anyNull, roi, win, mixed, srcStep, tiltStep, normStep,
                                                maskStep, std::is_same_v<W, int32_t>, sf);
  const bool fits = kvf::planeFits(tw * 4, th, srcStep, 0, kMaxPlaneBytes) &&
                    kvf::planeFits(tw * 4, th, tiltStep, 0, kMaxPlaneBytes) &&
                    kvf::planeFits(rw * 4, rh, normStep, 0, kMaxPlaneBytes) &&
                    kvf::planeFits(rw, rh, maskStep, 0, kMaxPlaneBytes);
  if (!fits || win.height > 64 || win.width > 64) {
    if (expect == kvpStsOk) {
      if constexpr (std::is_same_v<W, float>)
        kvpiHaarClassifierFree_32f(static_cast<KvpiHaarClassifier_32f*>(state));
      else
        kvpiHaarClassifierFree_32s(static_cast<KvpiHaarClassifier_32s*>(state));
      return;
    }
  }
  const bool lay = fits && win.height <= 64 && win.width <= 64;
  auto plane = [&](long long rowBytes, long long rows, int stp, uint8_t seed) {
    return lay ? kvf::GuardedPlane((size_t)rowBytes, (int)rows, (size_t)stp, (size_t)in.intIn(0, 7) * 4, seed)
               : kvf::GuardedPlane::trap(seed);
  };
  kvf::GuardedPlane src = plane(tw * 4, th, srcStep, 1), tl = plane(tw * 4, th, tiltStep, 2),
                    nrm = plane(rw * 4, rh, normStep, 3), mask = plane(rw, rh, maskStep, 4);
  if (lay) {
    for (kvf::GuardedPlane* p : {&src, &tl})
      for (long long y = 0; y < th; ++y)
        for (long long x = 0; x < tw; ++x) {
          TT v;
          if (floatTables)
            v = (TT)(in.byte() < 8 ? in.pickFloat() : (float)in.intIn(-4000, 4000) / 4.f);
          else
            v = (TT)(in.byte() < 8 ? in.raw<int32_t>() : in.intIn(-100000, 100000));
          std::memcpy(p->row((int)y) + x * 4, &v, 4);
        }
    for (long long y = 0; y < rh; ++y)
      for (long long x = 0; x < rw; ++x) {
        const uint8_t k = in.byte();
        mask.row((int)y)[x] = k < 100 ? 0 : (k < 120 ? k : 255);
        if (std::is_same_v<W, float>) {
          const float v = in.byte() < 16 ? in.pickFloat() : (float)in.intIn(-100, 100) / 8.f;
          std::memcpy(nrm.row((int)y) + x * 4, &v, 4);
        } else {
          const int32_t v = in.intIn(-50, 50);
          std::memcpy(nrm.row((int)y) + x * 4, &v, 4);
        }
      }
  }
  for (kvf::GuardedPlane* p : {&src, &tl, &nrm, &mask}) p->arm();
  std::vector<uint8_t> want((size_t)rw * rh);
  for (long long y = 0; lay && y < rh; ++y) std::memcpy(&want[(size_t)y * rw], mask.row((int)y), (size_t)rw);
  const W thr = pickW<W>(in);
  kvpSetNumThreads(1 + in.byte() % 3);
  int positive = -9;
  auto P = [&](int i, auto* p) { return nullArg == i ? nullptr : p; };
  KvpStatus got;
  if constexpr (std::is_same_v<W, float>) {
    auto* s = P(6, static_cast<const KvpiHaarClassifier_32f*>(state));
    if (floatTables)
      got = mixed ? kvpiApplyMixedHaarClassifier_32f_C1R(
                        P(1, src.as<const Kvp32f>()), srcStep, P(2, tl.as<const Kvp32f>()), tiltStep,
                        P(3, nrm.as<const Kvp32f>()), normStep, P(4, mask.roi()), maskStep, roi,
                        P(5, &positive), thr, s)
                  : kvpiApplyHaarClassifier_32f_C1R(P(1, src.as<const Kvp32f>()), srcStep,
                                                    P(3, nrm.as<const Kvp32f>()), normStep, P(4, mask.roi()),
                                                    maskStep, roi, P(5, &positive), thr, s);
    else
      got = mixed ? kvpiApplyMixedHaarClassifier_32s32f_C1R(
                        P(1, src.as<const Kvp32s>()), srcStep, P(2, tl.as<const Kvp32s>()), tiltStep,
                        P(3, nrm.as<const Kvp32f>()), normStep, P(4, mask.roi()), maskStep, roi,
                        P(5, &positive), thr, s)
                  : kvpiApplyHaarClassifier_32s32f_C1R(
                        P(1, src.as<const Kvp32s>()), srcStep, P(3, nrm.as<const Kvp32f>()), normStep,
                        P(4, mask.roi()), maskStep, roi, P(5, &positive), thr, s);
  } else {
    auto* s = P(6, static_cast<const KvpiHaarClassifier_32s*>(state));
    got = mixed ? kvpiApplyMixedHaarClassifier_32s_C1RSfs(
                      P(1, src.as<const Kvp32s>()), srcStep, P(2, tl.as<const Kvp32s>()), tiltStep,
                      P(3, nrm.as<const Kvp32s>()), normStep, P(4, mask.roi()), maskStep, roi,
                      P(5, &positive), thr, s, sf)
                : kvpiApplyHaarClassifier_32s_C1RSfs(P(1, src.as<const Kvp32s>()), srcStep,
                                                     P(3, nrm.as<const Kvp32s>()), normStep, P(4, mask.roi()),
                                                     maskStep, roi, P(5, &positive), thr, s, sf);
  }
  KVF_REQUIRE(got == expect, "Apply status %d, expected %d", (int)got, (int)expect);
  KVF_REQUIRE(src.unchanged() && tl.unchanged() && nrm.unchanged(), "Apply wrote a table or the norms");
  if (got != kvpStsOk) {
    KVF_REQUIRE(mask.unchanged() && positive == -9, "a failing Apply wrote");
  } else {
    KVF_REQUIRE(mask.guardsIntact(), "a write outside the mask");
    int wantPos;
    if constexpr (std::is_same_v<W, float>) {
      if (floatTables)
        wantPos = haarref::apply(st, src.as<const float>(), srcStep, tl.as<const float>(), tiltStep, mixed,
                                 nrm.as<const float>(), normStep, want.data(), (int)rw, roi, thr);
      else
        wantPos = haarref::apply(st, src.as<const int32_t>(), srcStep, tl.as<const int32_t>(), tiltStep,
                                 mixed, nrm.as<const float>(), normStep, want.data(), (int)rw, roi, thr);
    } else {
      wantPos = haarref::apply(st, src.as<const int32_t>(), srcStep, tl.as<const int32_t>(), tiltStep, mixed,
                               nrm.as<const int32_t>(), normStep, want.data(), (int)rw, roi, thr, sf);
    }
    KVF_REQUIRE(positive == wantPos, "count %d, expected %d", positive, wantPos);
    for (long long y = 0; y < rh; ++y)
      KVF_REQUIRE(std::memcmp(&want[(size_t)y * rw], mask.row((int)y), (size_t)rw) == 0,
                  "mask row %d differs", (int)y);
  }
  if constexpr (std::is_same_v<W, float>)
    kvpiHaarClassifierFree_32f(static_cast<KvpiHaarClassifier_32f*>(state));
  else
    kvpiHaarClassifierFree_32s(static_cast<KvpiHaarClassifier_32s*>(state));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader in(data, size);
  switch (in.byte() % 3) {
    case 0:
      run<float>(in, 0);
      break;
    case 1:
      run<float>(in, 1);
      break;
    default:
      run<int32_t>(in, 2);
      break;
  }
  return 0;
}

// Fuzzes the pyramid layers: the size queries, the buffer sizes, the record,
// the layer states and the twelve down / up layers, with arbitrary sizes,
// rates, kernels, steps, ROI offsets, null pointers and thread counts.
//
// Every call must return the status its arguments call for; a failing call
// writes nothing; a successful layer writes nothing outside the destination
// pixels, reads nothing outside its source and its buffer (guards are
// poisoned; the buffer is exactly the queried size) and gives the bits of
// the pixel-by-pixel reference shared with the unit tests.
#include <optional>
#include <vector>

#include "fuzz_planes.h"
KVF_REF_BEGIN
#include "../pyramid/pyramid_layers_ref.h"
KVF_REF_END

namespace {

constexpr long long kMaxPlaneBytes = 1 << 18;

float pickRate(kvf::Stream& s) {
  static const float rates[] = {2.0f, 1.5f, 3.0f, 1.2f, 2.5f, 10.0f, 1.0f, 10.000001f, 1.0000001f, 7.3f};
  const uint8_t k = s.byte();
  if (k < 200) return rates[k % (sizeof rates / sizeof rates[0])];
  if (k < 240) return 1.0f + (float)s.intIn(1, 9000) / 1000.0f;
  return kvf::pickF(s);
}

template <class T>
struct Api;
#define KVF_API(E, K, TS)                                                                                    \
  template <>                                                                                                \
  struct Api<E> {                                                                                            \
    using Tap = K;                                                                                           \
    using Down = KvpiPyramidDownState_##TS;                                                                  \
    using Up = KvpiPyramidUpState_##TS;                                                                      \
    static constexpr int code = kvp##TS;                                                                     \
    static KvpStatus downAlloc(int c, Down** p, KvpiSize r, float rate, const K* t, int k, int m) {          \
      return c == 1 ? kvpiPyramidLayerDownInitAlloc_##TS##_C1R(p, r, rate, t, k, m)                          \
                    : kvpiPyramidLayerDownInitAlloc_##TS##_C3R(p, r, rate, t, k, m);                         \
    }                                                                                                        \
    static KvpStatus upAlloc(int c, Up** p, KvpiSize r, float rate, const K* t, int k, int m) {              \
      return c == 1 ? kvpiPyramidLayerUpInitAlloc_##TS##_C1R(p, r, rate, t, k, m)                            \
                    : kvpiPyramidLayerUpInitAlloc_##TS##_C3R(p, r, rate, t, k, m);                           \
    }                                                                                                        \
    static KvpStatus free(int c, Down* p) {                                                                  \
      return c == 1 ? kvpiPyramidLayerDownFree_##TS##_C1R(p) : kvpiPyramidLayerDownFree_##TS##_C3R(p);       \
    }                                                                                                        \
    static KvpStatus free(int c, Up* p) {                                                                    \
      return c == 1 ? kvpiPyramidLayerUpFree_##TS##_C1R(p) : kvpiPyramidLayerUpFree_##TS##_C3R(p);           \
    }                                                                                                        \
    static KvpStatus down(int c, const E* s, int ss, KvpiSize sr, E* d, int ds, KvpiSize dr, const Down* st, \
                          Kvp8u* b) {                                                                        \
      return c == 1 ? kvpiPyramidLayerDown_##TS##_C1R(s, ss, sr, d, ds, dr, st, b)                           \
                    : kvpiPyramidLayerDown_##TS##_C3R(s, ss, sr, d, ds, dr, st, b);                          \
    }                                                                                                        \
    static KvpStatus up(int c, const E* s, int ss, KvpiSize sr, E* d, int ds, KvpiSize dr, const Up* st,     \
                        Kvp8u* b) {                                                                          \
      return c == 1 ? kvpiPyramidLayerUp_##TS##_C1R(s, ss, sr, d, ds, dr, st, b)                             \
                    : kvpiPyramidLayerUp_##TS##_C3R(s, ss, sr, d, ds, dr, st, b);                            \
    }                                                                                                        \
  };
KVF_API(Kvp8u, Kvp16s, 8u)
KVF_API(Kvp16u, Kvp16s, 16u)
KVF_API(Kvp32f, Kvp32f, 32f)
#undef KVF_API

// The kernel's verdict as the state checks see it.
template <class K>
bool kernelOk(const std::vector<K>& t) {
  if constexpr (std::is_same_v<K, Kvp16s>) {
    long long sum = 0, abs = 0;
    for (K v : t) {
      sum += v;
      abs += v < 0 ? -(long long)v : v;
    }
    return sum >= 1 && abs <= 32767;
  } else {
    float sum = 0.0f;
    for (K v : t) {
      if (!std::isfinite(v)) return false;
      sum = sum + v;
    }
    return std::isfinite(sum) && sum > 0.0f;
  }
}

template <class K>
std::vector<K> pickKernel(kvf::Stream& s, int k) {
  std::vector<K> t((size_t)(k > 0 ? k : 0));
  const uint8_t how = s.byte();
  for (int j = 0; j < k; ++j) {
    if constexpr (std::is_same_v<K, Kvp16s>)
      t[j] = how < 200 ? (K)s.intIn(how < 128 ? 0 : -3, 20) : s.raw<K>();
    else
      t[j] = how < 200 ? (K)s.intIn(how < 128 ? 0 : -3, 20) : kvf::pickF(s);
  }
  return t;
}

void sizes(kvf::Stream& s) {
  const KvpiSize r = {s.intIn(-2, 400), s.intIn(-2, 400)};
  const float rate = pickRate(s);
  KvpiSize d{-7, -7}, lo{-7, -7}, hi{-7, -7};
  const bool bad = r.width < 1 || r.height < 1;
  const KvpStatus want = bad ? kvpStsBadSize : (kvpref::layerRateOk(rate) ? kvpStsOk : kvpStsBadArg);
  KVF_REQUIRE(kvpiGetPyramidDownROI(r, &d, rate) == want, "down roi");
  KVF_REQUIRE(kvpiGetPyramidUpROI(r, &lo, &hi, rate) == want, "up roi");
  if (want != kvpStsOk) {
    KVF_REQUIRE(d.width == -7 && lo.width == -7 && hi.width == -7, "written on failure");
    return;
  }
  KVF_REQUIRE(
      d.width == kvpref::layerDownLen(r.width, rate) && d.height == kvpref::layerDownLen(r.height, rate),
      "down %d x %d at %a", r.width, r.height, rate);
  KVF_REQUIRE(
      lo.width == kvpref::layerUpMin(r.width, rate) && hi.height == kvpref::layerUpMax(r.height, rate),
      "up range");
  KVF_REQUIRE(
      kvpref::layerDownLen(lo.width, rate) == r.width && kvpref::layerDownLen(hi.width, rate) == r.width,
      "up range goes back down");
  // The record: level sizes chain the down sizes.
  KvpiPyramid* p = nullptr;
  const int level = s.intIn(0, 6);
  KVF_REQUIRE(kvpiPyramidInitAlloc(&p, level, r, rate) == kvpStsOk, "record");
  for (int L = 1; L <= level; ++L)
    KVF_REQUIRE(p->pRoi[L].width == kvpref::layerDownLen(p->pRoi[L - 1].width, rate) && !p->pImage[L] &&
                    p->pStep[L] == 0 && p->pRate[L] == p->pRate[L - 1] * (double)rate,
                "record level %d", L);
  KVF_REQUIRE(kvpiPyramidFree(p) == kvpStsOk, "free");
}

template <class T>
void layer(kvf::Stream& s, bool up) {
  using A = Api<T>;
  using K = typename A::Tap;
  const int C = s.flag() ? 3 : 1;
  const float rate = pickRate(s);
  const uint8_t kh = s.byte();
  const int k = kh < 230 ? 3 + 2 * (kh % 4) : s.intIn(-1, 260);
  const std::vector<K> taps = pickKernel<K>(s, k > 0 && k < 300 ? k : 0);
  const int mode = s.byte() < 245 ? kvpInterLinear : s.intIn(-1, 3);
  const kvf::Dims dims = kvf::readDims(s, 40000);
  const KvpiSize sr = dims.roi;
  const KvpiSize stateRoi = s.flag() ? sr : KvpiSize{sr.width + s.intIn(-1, 3), sr.height + s.intIn(-1, 3)};
  kvf::setThreads(s);

  // The state.
  typename A::Down* ds = nullptr;
  typename A::Up* us = nullptr;
  KvpStatus want = kvpStsOk;
  if (!taps.data())
    want = kvpStsNullPtr;  // an empty kernel
  else if (stateRoi.width < 1 || stateRoi.height < 1 || k < 3 || k > 255)
    want = kvpStsBadSize;
  else if (!kvpref::layerRateOk(rate) || k % 2 == 0 || mode != kvpInterLinear || !kernelOk(taps))
    want = kvpStsBadArg;
  // A state for a source millions of pixels wide is legitimate but slow
  // to build; such states are left to the unit tests.
  if (want == kvpStsOk && ((long long)stateRoi.width + stateRoi.height) * (up ? 10 : 1) > 2000000) return;
  const KvpStatus got = up ? A::upAlloc(C, &us, stateRoi, rate, taps.data(), k, mode)
                           : A::downAlloc(C, &ds, stateRoi, rate, taps.data(), k, mode);
  if (want == kvpStsOk && got == kvpStsNoMemory) return;  // a huge up state
  KVF_REQUIRE(got == want, "state: %d, expected %d", got, want);
  if (got != kvpStsOk) {
    KVF_REQUIRE(!ds && !us, "state written on failure");
    return;
  }
  // The destination: the right size, or off by a little.
  KvpiSize dr;
  if (sr.width >= 1 && sr.height >= 1) {
    if (up) {
      const long long lo = kvpref::layerUpMin(sr.width, rate), hi = kvpref::layerUpMax(sr.width, rate);
      const long long loH = kvpref::layerUpMin(sr.height, rate), hiH = kvpref::layerUpMax(sr.height, rate);
      dr = {(int)std::min<long long>(hi, lo + s.intIn(0, 3)),
            (int)std::min<long long>(hiH, loH + s.intIn(0, 3))};
    } else {
      dr = {(int)kvpref::layerDownLen(sr.width, rate), (int)kvpref::layerDownLen(sr.height, rate)};
    }
    if (s.byte() < 30) dr.width += s.intIn(-1, 1);
    if (s.byte() < 30) dr.height += s.intIn(-1, 1);
  } else {
    dr = {s.intIn(-1, 9), s.intIn(-1, 9)};
  }
  kvf::PlaneDesc pd[2];
  for (int i = 0; i < 2; ++i) {
    pd[i].used = true;
    pd[i].elem = sizeof(T);
    pd[i].chans = C;
    pd[i].null = s.byte() < 6;
    pd[i].lead = (size_t)s.intIn(0, 5) * sizeof(T);
  }
  pd[0].step = kvf::readStep(s, (long long)sr.width * C * sizeof(T), sizeof(T), dims.big);
  pd[1].step = kvf::readStep(s, (long long)dr.width * C * sizeof(T), sizeof(T), dims.big);
  const bool nullState = s.byte() < 6, nullBuf = s.byte() < 6;

  // The expected status, in the library's order.
  if (pd[0].null || pd[1].null || nullState || nullBuf)
    want = kvpStsNullPtr;
  else if (sr.width < 1 || sr.height < 1 || dr.width < 1 || dr.height < 1)
    want = kvpStsBadSize;
  else if ((long long)pd[0].step < pd[0].rowBytes(sr.width) ||
           (long long)pd[1].step < pd[1].rowBytes(dr.width))
    want = kvpStsBadStep;
  else if (sizeof(T) > 1 && ((pd[0].step | pd[1].step) % (int)sizeof(T)))
    want = kvpStsStepNotMultiple;
  else if (sr.width > stateRoi.width || sr.height > stateRoi.height)
    want = kvpStsBadSize;
  else if (up ? (dr.width < kvpref::layerUpMin(sr.width, rate) ||
                 dr.width > kvpref::layerUpMax(sr.width, rate) ||
                 dr.height < kvpref::layerUpMin(sr.height, rate) ||
                 dr.height > kvpref::layerUpMax(sr.height, rate))
              : (dr.width != kvpref::layerDownLen(sr.width, rate) ||
                 dr.height != kvpref::layerDownLen(sr.height, rate)))
    want = kvpStsBadSize;
  else
    want = kvpStsOk;

  // Planes that cannot be laid out, or a reference too long to wait for,
  // stay traps; only failing calls may get them.
  const long long refCost = (long long)dr.width * dr.height * C * k * k;
  const bool fits = kvf::planeFits(pd[0].rowBytes(sr.width), sr.height, pd[0].step, (long long)pd[0].lead,
                                   kMaxPlaneBytes) &&
                    kvf::planeFits(pd[1].rowBytes(dr.width), dr.height, pd[1].step, (long long)pd[1].lead,
                                   kMaxPlaneBytes) &&
                    refCost < 4000000;
  if (want == kvpStsOk && !fits) {
    up ? A::free(C, us) : A::free(C, ds);
    return;
  }
  std::optional<kvf::GuardedPlane> src, dst, buf;
  auto make = [&](std::optional<kvf::GuardedPlane>& g, const kvf::PlaneDesc& p, KvpiSize r, uint8_t seed) {
    if (kvf::planeFits(p.rowBytes(r.width), r.height, p.step, (long long)p.lead, kMaxPlaneBytes))
      g.emplace((size_t)p.rowBytes(r.width), r.height, (size_t)p.step, p.lead, seed);
    else
      g.emplace(kvf::GuardedPlane::trap(seed));
  };
  make(src, pd[0], sr, 1);
  make(dst, pd[1], dr, 2);
  int bytes = 0;
  const KvpDataType code = (KvpDataType)A::code;
  const KvpStatus bs = up ? kvpiPyramidLayerUpGetBufSize(stateRoi, rate, k, code, C, &bytes)
                          : kvpiPyramidLayerDownGetBufSize(stateRoi, rate, k, code, C, &bytes);
  if (bs == kvpStsOk && bytes <= kMaxPlaneBytes * 4)
    buf.emplace((size_t)bytes, 1, (size_t)bytes, 0, 3);
  else if (want == kvpStsOk) {
    up ? A::free(C, us) : A::free(C, ds);
    return;
  } else
    buf.emplace(kvf::GuardedPlane::trap(3));
  for (int y = 0; y < src->rows(); ++y) {
    uint8_t* r = src->row(y);
    for (int i = 0; i < sr.width * C; ++i) {
      const T v = kvf::pickElem<T>(s);
      std::memcpy(r + (size_t)i * sizeof(T), &v, sizeof(T));
    }
  }
  src->arm();
  dst->arm();
  buf->arm();
  T* ps = pd[0].null ? nullptr : src->as<T>();
  T* pdst = pd[1].null ? nullptr : dst->as<T>();
  Kvp8u* pb = nullBuf ? nullptr : buf->roi();
  const KvpStatus st =
      up ? A::up(C, ps, pd[0].step, sr, pdst, pd[1].step, dr, nullState ? nullptr : us, pb)
         : A::down(C, ps, pd[0].step, sr, pdst, pd[1].step, dr, nullState ? nullptr : ds, pb);
  KVF_REQUIRE(st == want, "layer %s: %d, expected %d", up ? "up" : "down", st, want);
  KVF_REQUIRE(src->unchanged(), "source written");
  if (st != kvpStsOk) {
    KVF_REQUIRE(dst->unchanged(), "destination written on failure");
  } else {
    KVF_REQUIRE(dst->guardsIntact() && buf->guardsIntact(), "guards");
    std::optional<kvf::GuardedPlane> ref;
    ref.emplace((size_t)pd[1].rowBytes(dr.width), dr.height, (size_t)pd[1].step, 0, 4);
    const kvpref::LayerKernel K = std::is_same_v<T, Kvp32f>
                                      ? kvpref::layerKernelFloat(std::vector<float>(taps.begin(), taps.end()))
                                      : kvpref::layerKernelInt(std::vector<Kvp16s>(taps.begin(), taps.end()));
    if (up)
      kvpref::layerUpRef(src->as<T>(), pd[0].step, sr.width, sr.height, C, ref->as<T>(), pd[1].step, dr.width,
                         dr.height, rate, K);
    else
      kvpref::layerDownRef(src->as<T>(), pd[0].step, sr.width, sr.height, C, ref->as<T>(), pd[1].step, rate,
                           K);
    for (int y = 0; y < dr.height; ++y) {
      const T* a = reinterpret_cast<const T*>(dst->row(y));
      const T* b = reinterpret_cast<const T*>(ref->row(y));
      for (int i = 0; i < dr.width * C; ++i) {
        // NaN results match any NaN (payloads follow the operand order).
        const bool bothNaN = std::is_same_v<T, Kvp32f> && a[i] != a[i] && b[i] != b[i];
        KVF_REQUIRE(bothNaN || std::memcmp(&a[i], &b[i], sizeof(T)) == 0,
                    "%s row %d element %d differs (%d x %d -> %d x %d, rate %a, k %d, C %d)",
                    up ? "up" : "down", y, i, sr.width, sr.height, dr.width, dr.height, rate, k, C);
      }
    }
  }
  up ? A::free(C, us) : A::free(C, ds);
}

void bufSizes(kvf::Stream& s) {
  const KvpiSize r = {s.intIn(-1, 300000), s.intIn(-1, 5)};
  const float rate = pickRate(s);
  const int k = s.intIn(-1, 260), ch = s.intIn(0, 4), type = s.intIn(0, 14);
  const bool up = s.flag();
  KvpStatus want;
  if (r.width < 1 || r.height < 1 || k < 3 || k > 255)
    want = kvpStsBadSize;
  else if (!kvpref::layerRateOk(rate) || k % 2 == 0)
    want = kvpStsBadArg;
  else if (ch != 1 && ch != 3)
    want = kvpStsBadChannels;
  else if (type != 1 && type != 5 && type != 13)
    want = kvpStsBadDataType;
  else {
    int n = 1;
    kvpGetNumThreads(&n);
    const auto a64 = [](long long x) { return (x + 63) / 64 * 64; };
    const long long W = r.width;
    const long long wd = kvpref::layerUpMax(W, rate);
    const long long size = up ? n * ((k + 2) * a64(wd * ch * 4) + a64((wd + k - 1) * ch * 4) + 64)
                              : n * (2 * a64((W + k - 1) * ch * 4) + 64);
    want = size > 0x7fffffffLL ? kvpStsBadSize : kvpStsOk;
  }
  int got = -5;
  KvpDataType t;
  std::memcpy(&t, &type, sizeof t);
  const KvpStatus st = up ? kvpiPyramidLayerUpGetBufSize(r, rate, k, t, ch, &got)
                          : kvpiPyramidLayerDownGetBufSize(r, rate, k, t, ch, &got);
  KVF_REQUIRE(st == want, "buffer size: %d, expected %d", st, want);
  KVF_REQUIRE(st == kvpStsOk ? got > 0 : got == -5, "size stored");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader in(data, size);
  kvf::Stream s(in);
  void (*const runs[])(kvf::Stream&) = {
      sizes,
      bufSizes,
      [](kvf::Stream& t) { layer<Kvp8u>(t, false); },
      [](kvf::Stream& t) { layer<Kvp8u>(t, true); },
      [](kvf::Stream& t) { layer<Kvp16u>(t, false); },
      [](kvf::Stream& t) { layer<Kvp16u>(t, true); },
      [](kvf::Stream& t) { layer<Kvp32f>(t, false); },
      [](kvf::Stream& t) { layer<Kvp32f>(t, true); },
  };
  runs[s.byte() % 8](s);
  kvpSetNumThreads(1);
  return 0;
}

// Morphology beside its peers: flat erosion, dilation and the derived
// operations for every type with 3x3, 5x5 and 15x15 rectangles and the 5x5
// ellipse (cv::erode / cv::dilate / cv::morphologyEx, replicated border);
// value-mask erosion and dilation beside a composition of shifted
// subtractions and minima; reconstruction of a photograph (h-dome marker by
// dilation, hole filling by erosion) beside the loop of dilations and
// minima repeated until nothing changes. Benchmarks are named
// Morph/<operation>/<type>/<mask>/<side>. With OpenCV present, every kvpCV
// setup first compares its result with the peer's and reports an error on
// a difference.
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "bench_photo.h"
#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

// ---- masks --------------------------------------------------------------

struct MaskDef {
  const char* name;
  int w, h;
  std::vector<Kvp8u> m;
};

const std::vector<MaskDef>& maskDefs() {
  static const std::vector<MaskDef> defs = [] {
    std::vector<MaskDef> v;
    for (int k : {3, 5, 15})
      v.push_back({k == 3 ? "3x3" : (k == 5 ? "5x5" : "15x15"), k, k, std::vector<Kvp8u>(k * k, 1)});
    v.push_back(
        {"ellipse5", 5, 5, {0, 0, 1, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 1, 0, 0}});
    return v;
  }();
  return defs;
}

void args(benchmark::internal::Benchmark* b) {
  b->ArgNames({"w", "h", "thr"});
  for (auto [w, h] : {std::pair{1920, 1080}, std::pair{3840, 2160}})
    for (int t : {1, 2}) b->Args({w, h, t});
  b->Unit(benchmark::kMicrosecond)->UseRealTime();
}

// ---- flat and derived ---------------------------------------------------------

// The random source of a size and layout, made once per process (a
// benchmark's setup runs for every batch of iterations).
template <class T>
const std::vector<T>& sourcePlane(int w, int h, int cn) {
  static std::map<std::tuple<int, int, int>, std::vector<T>> cache;
  auto& v = cache[{w, h, cn}];
  if (v.empty()) v = kvpb::randomPlane<T>(w, h, cn);
  return v;
}

enum Kind { kErode, kDilate, kOpen, kClose, kTophat, kBlackhat, kGradient };
const char* const kKindNames[] = {"Erode", "Dilate", "Open", "Close", "Tophat", "Blackhat", "Gradient"};

template <class T>
struct FlatFns {
  int cn, cvType;
  KvpStatus (*initAlloc)(int, const Kvp8u*, KvpiSize, KvpiPoint, KvpiMorphState**);
  KvpStatus (*advInitAlloc)(KvpiSize, const Kvp8u*, KvpiSize, KvpiPoint, KvpiMorphAdvState**);
  KvpStatus (*work[2])(const T*, int, T*, int, KvpiSize, KvpiBorderType, KvpiMorphState*);
  KvpStatus (*adv[5])(const T*, int, T*, int, KvpiSize, KvpiBorderType, KvpiMorphAdvState*);
};

#ifdef KVP_HAVE_OPENCV
void cvOp(Kind k, const cv::Mat& src, cv::Mat& dst, const cv::Mat& K) {
  const cv::Point a(K.cols / 2, K.rows / 2);
  static const int ops[] = {
      0, 0, cv::MORPH_OPEN, cv::MORPH_CLOSE, cv::MORPH_TOPHAT, cv::MORPH_BLACKHAT, cv::MORPH_GRADIENT};
  if (k == kErode)
    cv::erode(src, dst, K, a, 1, cv::BORDER_REPLICATE);
  else if (k == kDilate)
    cv::dilate(src, dst, K, a, 1, cv::BORDER_REPLICATE);
  else
    cv::morphologyEx(src, dst, ops[k], K, a, 1, cv::BORDER_REPLICATE);
}
#endif

template <class T>
void flatKvp(benchmark::State& st, FlatFns<T> f, Kind k, const MaskDef* md) {
  kvpb::Setup s(st);
  const auto& src = sourcePlane<T>(s.width, s.height, f.cn);
  std::vector<T> dst(src.size());
  const int step = s.width * f.cn * (int)sizeof(T);
  const KvpiSize ms{md->w, md->h};
  const KvpiPoint a{md->w / 2, md->h / 2};
  KvpiMorphState* fs = nullptr;
  KvpiMorphAdvState* as = nullptr;
  if ((k <= kDilate ? f.initAlloc(s.width, md->m.data(), ms, a, &fs)
                    : f.advInitAlloc(s.size(), md->m.data(), ms, a, &as)) != kvpStsOk) {
    st.SkipWithError("state");
    return;
  }
  auto run = [&] {
    return k <= kDilate ? f.work[k](src.data(), step, dst.data(), step, s.size(), kvpBorderRepl, fs)
                        : f.adv[k - 2](src.data(), step, dst.data(), step, s.size(), kvpBorderRepl, as);
  };
#ifdef KVP_HAVE_OPENCV
  {
    run();
    cv::Mat cs(s.height, s.width, CV_MAKETYPE(f.cvType, f.cn), (void*)src.data(), step), cd;
    cvOp(k, cs, cd, cv::Mat(md->h, md->w, CV_8U, (void*)md->m.data()));
    if (std::memcmp(cd.data, dst.data(), dst.size() * sizeof(T)) != 0)
      st.SkipWithError("differs from the peer");
  }
#endif
  for (auto _ : st) benchmark::DoNotOptimize(run());
  kvpiMorphologyFree(fs);
  kvpiMorphAdvFree(as);
  kvpb::setBytes(st, s.pixels() * f.cn * (long long)sizeof(T) * 2);
}

#ifdef KVP_HAVE_OPENCV
template <class T>
void flatCv(benchmark::State& st, FlatFns<T> f, Kind k, const MaskDef* md) {
  kvpb::Setup s(st);
  const auto& src = sourcePlane<T>(s.width, s.height, f.cn);
  const int step = s.width * f.cn * (int)sizeof(T);
  cv::Mat cs(s.height, s.width, CV_MAKETYPE(f.cvType, f.cn), (void*)src.data(), step), cd;
  const cv::Mat K(md->h, md->w, CV_8U, (void*)md->m.data());
  for (auto _ : st) cvOp(k, cs, cd, K);
  kvpb::setBytes(st, s.pixels() * f.cn * (long long)sizeof(T) * 2);
}
#endif

template <class T>
void registerFlat(const char* type, FlatFns<T> f) {
  for (const MaskDef& md : maskDefs())
    for (int k = kErode; k <= kGradient; ++k) {
      const std::string base = std::string("Morph/") + kKindNames[k] + "/" + type + "/" + md.name + "/";
      benchmark::RegisterBenchmark((base + "kvp").c_str(), flatKvp<T>, f, (Kind)k, &md)->Apply(args);
#ifdef KVP_HAVE_OPENCV
      benchmark::RegisterBenchmark((base + "ocv").c_str(), flatCv<T>, f, (Kind)k, &md)->Apply(args);
#endif
    }
}

#define FLAT_FNS(SUF, T, CN, CVT)                                                            \
  FlatFns<T> {                                                                               \
    CN, CVT, kvpiMorphologyInitAlloc_##SUF, kvpiMorphAdvInitAlloc_##SUF,                     \
        {kvpiErodeBorderReplicate_##SUF, kvpiDilateBorderReplicate_##SUF},                   \
        {kvpiMorphOpenBorder_##SUF, kvpiMorphCloseBorder_##SUF, kvpiMorphTophatBorder_##SUF, \
         kvpiMorphBlackhatBorder_##SUF, kvpiMorphGradientBorder_##SUF},                      \
  }

constexpr int CV8U = 0, CV16U = 2, CV32F = 5;  // OpenCV depth codes

const int kFlatRegistered = [] {
  registerFlat("8u_C1R", FLAT_FNS(8u_C1R, Kvp8u, 1, CV8U));
  registerFlat("8u_C3R", FLAT_FNS(8u_C3R, Kvp8u, 3, CV8U));
  registerFlat("8u_C4R", FLAT_FNS(8u_C4R, Kvp8u, 4, CV8U));
  registerFlat("16u_C1R", FLAT_FNS(16u_C1R, Kvp16u, 1, CV16U));
  registerFlat("32f_C1R", FLAT_FNS(32f_C1R, Kvp32f, 1, CV32F));
  registerFlat("32f_C3R", FLAT_FNS(32f_C3R, Kvp32f, 3, CV32F));
  registerFlat("32f_C4R", FLAT_FNS(32f_C4R, Kvp32f, 4, CV32F));
  return 0;
}();

// ---- value masks --------------------------------------------------------------

template <class T, class M>
std::vector<M> valueMask(int k) {
  std::vector<M> m((size_t)k * k);
  for (int j = 0; j < k; ++j)
    for (int i = 0; i < k; ++i)
      m[(size_t)j * k + i] = (M)(20 - 4 * ((i - k / 2) * (i - k / 2) + (j - k / 2) * (j - k / 2)));
  return m;
}

template <class T>
void grayKvp(benchmark::State& st, int k, bool dilate) {
  kvpb::Setup s(st);
  using M = std::conditional_t<std::is_same_v<T, Kvp8u>, Kvp32s, Kvp32f>;
  const auto src = kvpb::randomPlane<T>(s.width, s.height);
  std::vector<T> dst(src.size());
  const auto m = valueMask<T, M>(k);
  const int step = s.width * (int)sizeof(T);
  int r = 0;
  if constexpr (std::is_same_v<T, Kvp8u>) {
    KvpiMorphGrayState_8u* g = nullptr;
    kvpiMorphGrayInitAlloc_8u_C1R(s.width, m.data(), {k, k}, {k / 2, k / 2}, &g);
    for (auto _ : st)
      r |= (dilate ? kvpiGrayDilateBorder_8u_C1R : kvpiGrayErodeBorder_8u_C1R)(
          src.data(), step, dst.data(), step, s.size(), kvpBorderRepl, g);
    kvpiMorphGrayFree_8u_C1R(g);
  } else {
    KvpiMorphGrayState_32f* g = nullptr;
    kvpiMorphGrayInitAlloc_32f_C1R(s.width, m.data(), {k, k}, {k / 2, k / 2}, &g);
    for (auto _ : st)
      r |= (dilate ? kvpiGrayDilateBorder_32f_C1R : kvpiGrayErodeBorder_32f_C1R)(
          src.data(), step, dst.data(), step, s.size(), kvpBorderRepl, g);
    kvpiMorphGrayFree_32f_C1R(g);
  }
  if (r) st.SkipWithError("status");
  kvpb::setBytes(st, s.pixels() * (long long)sizeof(T) * 2);
}

#ifdef KVP_HAVE_OPENCV
template <class T>
void grayCv(benchmark::State& st, int k, bool dilate) {
  kvpb::Setup s(st);
  using M = std::conditional_t<std::is_same_v<T, Kvp8u>, Kvp32s, Kvp32f>;
  auto src = kvpb::randomPlane<T>(s.width, s.height);
  const auto m = valueMask<T, M>(k);
  const int type = std::is_same_v<T, Kvp8u> ? CV_8UC1 : CV_32FC1;
  cv::Mat cs(s.height, s.width, type, (void*)src.data()), B, Tm, acc;
  for (auto _ : st) {
    cv::copyMakeBorder(cs, B, k / 2, k / 2, k / 2, k / 2, cv::BORDER_REPLICATE);
    for (int j = 0; j < k; ++j)
      for (int i = 0; i < k; ++i) {
        const cv::Mat view = B(cv::Rect(i, j, s.width, s.height));
        if (dilate)
          cv::add(view, cv::Scalar((double)m[(size_t)j * k + i]), Tm);
        else
          cv::subtract(view, cv::Scalar((double)m[(size_t)j * k + i]), Tm);
        if (i == 0 && j == 0)
          acc = Tm.clone();
        else if (dilate)
          cv::max(acc, Tm, acc);
        else
          cv::min(acc, Tm, acc);
      }
  }
  kvpb::setBytes(st, s.pixels() * (long long)sizeof(T) * 2);
}
#endif

const int kGrayRegistered = [] {
  for (int k : {3, 5})
    for (bool dilate : {false, true}) {
      const std::string op = dilate ? "GrayDilate/" : "GrayErode/", mk = k == 3 ? "/3x3/" : "/5x5/";
      benchmark::RegisterBenchmark(("Morph/" + op + "8u_C1R" + mk + "kvp").c_str(), grayKvp<Kvp8u>, k, dilate)
          ->Apply(args);
      benchmark::RegisterBenchmark(("Morph/" + op + "32f_C1R" + mk + "kvp").c_str(), grayKvp<Kvp32f>, k,
                                   dilate)
          ->Apply(args);
#ifdef KVP_HAVE_OPENCV
      benchmark::RegisterBenchmark(("Morph/" + op + "8u_C1R" + mk + "ocv").c_str(), grayCv<Kvp8u>, k, dilate)
          ->Apply(args);
      benchmark::RegisterBenchmark(("Morph/" + op + "32f_C1R" + mk + "ocv").c_str(), grayCv<Kvp32f>, k,
                                   dilate)
          ->Apply(args);
#endif
    }
  return 0;
}();

// ---- reconstruction -----------------------------------------------------------

// The photograph scaled (nearest neighbour) to w x h; h-dome: marker =
// photo - 20 (saturated), by dilation; holes: marker = photo on the ROI
// border and the maximum inside, by erosion.
template <class T>
void reconInputs(int w, int h, bool holes, std::vector<T>& mask, std::vector<T>& marker) {
  int pw = 0, ph = 0;
  const auto p = kvpb::photo(pw, ph);
  mask.resize((size_t)w * h);
  marker.resize(mask.size());
  const T top = std::is_same_v<T, Kvp8u> ? (T)255 : (T)1e30f;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const T v = (T)p[(size_t)(y * ph / h) * pw + x * pw / w];
      const size_t i = (size_t)y * w + x;
      mask[i] = v;
      if (holes)
        marker[i] = (x == 0 || y == 0 || x == w - 1 || y == h - 1) ? v : top;
      else
        marker[i] = v > 20 ? (T)(v - 20) : (T)0;
    }
}

template <class T>
void reconKvp(benchmark::State& st, bool holes, KvpiNorm norm) {
  kvpb::Setup s(st);
  std::vector<T> mask, marker;
  reconInputs<T>(s.width, s.height, holes, mask, marker);
  std::vector<T> j(marker.size());
  int size = 0;
  kvpiMorphReconstructGetBufferSize_8u_C1(s.size(), &size);
  std::vector<Kvp8u> buf((size_t)size);
  const int step = s.width * (int)sizeof(T);
  int r = 0;
  for (auto _ : st) {
    st.PauseTiming();
    j = marker;
    st.ResumeTiming();
    if constexpr (std::is_same_v<T, Kvp8u>)
      r |= (holes ? kvpiMorphReconstructErode_8u_C1IR : kvpiMorphReconstructDilate_8u_C1IR)(
          mask.data(), step, j.data(), step, s.size(), buf.data(), norm);
    else
      r |= (holes ? kvpiMorphReconstructErode_32f_C1IR : kvpiMorphReconstructDilate_32f_C1IR)(
          mask.data(), step, j.data(), step, s.size(), buf.data(), norm);
  }
  if (r) st.SkipWithError("status");
}

#ifdef KVP_HAVE_OPENCV
template <class T>
void reconCv(benchmark::State& st, bool holes, KvpiNorm norm) {
  kvpb::Setup s(st);
  std::vector<T> mask, marker;
  reconInputs<T>(s.width, s.height, holes, mask, marker);
  const int type = std::is_same_v<T, Kvp8u> ? CV_8UC1 : CV_32FC1;
  const cv::Mat I(s.height, s.width, type, mask.data()), J0(s.height, s.width, type, marker.data());
  const cv::Mat F =
      cv::getStructuringElement(norm == kvpiNormL1 ? cv::MORPH_CROSS : cv::MORPH_RECT, cv::Size(3, 3));
  for (auto _ : st) {
    cv::Mat J = holes ? cv::max(J0, I) : cv::min(J0, I), D, Jn;
    for (;;) {
      if (holes) {
        cv::erode(J, D, F);
        cv::max(D, I, Jn);
      } else {
        cv::dilate(J, D, F);
        cv::min(D, I, Jn);
      }
      if (cv::countNonZero(Jn != J) == 0) break;
      std::swap(J, Jn);
    }
    benchmark::DoNotOptimize(J.data);
  }
}
#endif

const int kReconRegistered = [] {
  for (bool holes : {false, true})
    for (KvpiNorm norm : {kvpiNormL1, kvpiNormInf}) {
      const std::string op = std::string("Morph/") + (holes ? "FillHoles" : "HDome") + "/";
      const std::string conn = norm == kvpiNormL1 ? "/4conn/" : "/8conn/";
      benchmark::RegisterBenchmark((op + "8u_C1R" + conn + "kvp").c_str(), reconKvp<Kvp8u>, holes, norm)
          ->Apply(args);
      benchmark::RegisterBenchmark((op + "32f_C1R" + conn + "kvp").c_str(), reconKvp<Kvp32f>, holes, norm)
          ->Apply(args);
#ifdef KVP_HAVE_OPENCV
      benchmark::RegisterBenchmark((op + "8u_C1R" + conn + "ocv").c_str(), reconCv<Kvp8u>, holes, norm)
          ->Apply(args)
          ->Iterations(1);
      benchmark::RegisterBenchmark((op + "32f_C1R" + conn + "ocv").c_str(), reconCv<Kvp32f>, holes, norm)
          ->Apply(args)
          ->Iterations(1);
#endif
    }
  return 0;
}();

}  // namespace

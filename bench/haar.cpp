// Single-scale face detection with the Haar classifier stages beside the
// peer's cascade classifier on the same image (a tiled portrait) and
// cascade: integral and
// squared integral, normalisation values and variance test on the even
// grid, the 25 stages of the frontal-face cascade; the peer with minimum
// and maximum size equal to the cascade window and no grouping, so that it
// scans the same single scale and returns the raw windows.
//
// The XML reader and the peer's object-detection library are loaded at run
// time (the benchmark is not linked with them); rows that need a missing one
// report an error instead of a time. The kvp rows also report how many raw
// windows each side found and how many differ (the last window row left
// out, which the peer may skip).
#include <dlfcn.h>

#include <algorithm>
#include <set>
#include <string>
#include <utility>

#include "../examples/haar_cascade.h"
#include "bench_photo.h"
#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/objdetect.hpp>
#endif

namespace {

const char* kCascade = "/usr/share/opencv4/haarcascades/haarcascade_frontalface_default.xml";

// The cascade, read once through a run-time loaded expat.
const haar::Cascade* cascade() {
  static haar::Cascade c;
  static const bool ok = [] {
    void* lib = dlopen("libexpat.so.1", RTLD_NOW);
    if (!lib) return false;
    haar::Expat x{(decltype(x.create))dlsym(lib, "XML_ParserCreate"),
                  (decltype(x.setUserData))dlsym(lib, "XML_SetUserData"),
                  (decltype(x.setElementHandler))dlsym(lib, "XML_SetElementHandler"),
                  (decltype(x.setCharacterDataHandler))dlsym(lib, "XML_SetCharacterDataHandler"),
                  (decltype(x.parse))dlsym(lib, "XML_Parse"),
                  (decltype(x.free))dlsym(lib, "XML_ParserFree")};
    if (!x.create || !x.setUserData || !x.setElementHandler || !x.setCharacterDataHandler || !x.parse ||
        !x.free)
      return false;
    std::string error;
    return haar::readCascade(kCascade, x, c, error);
  }();
  return ok ? &c : nullptr;
}

// The astronaut portrait reduced to 120 pixels square (the face then fills
// about one cascade window) and tiled over the benchmark size.
std::vector<Kvp8u> scene(int w, int h) {
  int pw = 0, ph = 0;
  const std::vector<Kvp8u> photo = kvpb::photo(pw, ph, "astronaut.png");
  const int sw = pw * 120 / 512, sh = ph * 120 / 512;
  std::vector<Kvp8u> small((size_t)sw * sh);
  for (int y = 0; y < sh; ++y)
    for (int x = 0; x < sw; ++x) {
      const int x0 = x * pw / sw, x1 = (x + 1) * pw / sw, y0 = y * ph / sh, y1 = (y + 1) * ph / sh;
      int acc = 0;
      for (int v = y0; v < y1; ++v)
        for (int u = x0; u < x1; ++u) acc += photo[(size_t)v * pw + u];
      const int n = (x1 - x0) * (y1 - y0);
      small[(size_t)y * sw + x] = (Kvp8u)((acc + n / 2) / n);
    }
  std::vector<Kvp8u> img((size_t)w * h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) img[(size_t)y * w + x] = small[(size_t)(y % sh) * sw + x % sw];
  return img;
}

#ifdef KVP_HAVE_OPENCV
// The peer's classifier through its exported constructor, scan and
// destructor.
class PeerCascade {
 public:
  PeerCascade() {
    void* lib = dlopen("libopencv_objdetect.so.406", RTLD_NOW);
    if (!lib) return;
    ctor_ = (Ctor)dlsym(lib,
                        "_ZN2cv17CascadeClassifierC1ERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE");
    detect_ = (Detect)dlsym(lib,
                            "_ZN2cv17CascadeClassifier16detectMultiScaleERKNS_11_InputArrayERSt6vectorINS_"
                            "5Rect_IiEESaIS6_EEdiiNS_5Size_IiEESB_");
    dtor_ = (Dtor)dlsym(lib, "_ZN2cv17CascadeClassifierD1Ev");
    if (!ctor_ || !detect_ || !dtor_) return;
    ctor_(obj_, std::string(kCascade));
    live_ = true;
  }
  ~PeerCascade() {
    if (live_) dtor_(obj_);
  }
  bool ok() const { return live_; }
  void detect(const cv::Mat& img, std::vector<cv::Rect>& out, cv::Size win) {
    detect_(obj_, cv::_InputArray(img), out, 1.1, 0, 0, win, win);
  }

 private:
  using Ctor = void (*)(void*, const std::string&);
  using Detect = void (*)(void*, const cv::_InputArray&, std::vector<cv::Rect>&, double, int, int, cv::Size,
                          cv::Size);
  using Dtor = void (*)(void*);
  alignas(16) unsigned char obj_[sizeof(cv::CascadeClassifier)];
  Ctor ctor_ = nullptr;
  Detect detect_ = nullptr;
  Dtor dtor_ = nullptr;
  bool live_ = false;
};
#endif

void BM_HaarDetect_kvp(benchmark::State& st) {
  kvpb::Setup s(st);
  const haar::Cascade* c = cascade();
  if (!c) {
    st.SkipWithError("cascade or XML reader not available");
    return;
  }
  const std::vector<Kvp8u> img = scene(s.width, s.height);
  haar::Detector det(*c);
  std::vector<KvpiPoint> found;
  for (auto _ : st) {
    found = det.scan(img.data(), s.width, s.width, s.height);
    benchmark::DoNotOptimize(found.data());
  }
  st.counters["windows"] = (double)found.size();
#ifdef KVP_HAVE_OPENCV
  PeerCascade peer;
  if (peer.ok()) {
    std::vector<cv::Rect> raw;
    peer.detect(cv::Mat(s.height, s.width, CV_8UC1, const_cast<Kvp8u*>(img.data())), raw,
                cv::Size(c->width, c->height));
    const int lastRow = s.height - c->height;
    std::set<std::pair<int, int>> a, b;
    for (const KvpiPoint& p : found)
      if (p.y != lastRow) a.insert({p.x, p.y});
    for (const cv::Rect& r : raw)
      if (r.y != lastRow) b.insert({r.x, r.y});
    std::vector<std::pair<int, int>> diff;
    std::set_symmetric_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(diff));
    st.counters["peer_windows"] = (double)b.size();
    st.counters["differ"] = (double)diff.size();
  }
#endif
}
KVP_BENCH(BM_HaarDetect_kvp);

#ifdef KVP_HAVE_OPENCV
void BM_HaarDetect_ocv(benchmark::State& st) {
  kvpb::Setup s(st);
  const haar::Cascade* c = cascade();
  PeerCascade peer;
  if (!c || !peer.ok()) {
    st.SkipWithError("peer library or cascade not available");
    return;
  }
  std::vector<Kvp8u> img = scene(s.width, s.height);
  const cv::Mat m(s.height, s.width, CV_8UC1, img.data());
  std::vector<cv::Rect> raw;
  for (auto _ : st) {
    peer.detect(m, raw, cv::Size(c->width, c->height));
    benchmark::DoNotOptimize(raw.data());
  }
  st.counters["windows"] = (double)raw.size();
}
KVP_BENCH(BM_HaarDetect_ocv);
#endif

}  // namespace

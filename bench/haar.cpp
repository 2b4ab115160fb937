// Single-scale face detection with the Haar classifier stages beside the
// peer's cascade classifier on the same image (a tiled portrait) and
// cascade: integral and
// squared integral, normalisation values and variance test on the even
// grid, the 25 stages of the frontal-face cascade; the peer with minimum
// and maximum size equal to the cascade window and no grouping, so that it
// scans the same single scale and returns the raw windows.
//
// The benchmark is built only where the XML reader (expat) is installed;
// rows whose cascade file is missing report an error instead of a time. The kvp rows also report how many raw
// windows each side found and how many differ (the last window row left
// out, which the peer may skip).
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

// The cascade, read once.
const haar::Cascade* cascade() {
  static haar::Cascade c;
  static const bool ok = [] {
    const haar::Expat x{XML_ParserCreate, XML_SetUserData, XML_SetElementHandler, XML_SetCharacterDataHandler,
                        XML_Parse,        XML_ParserFree};
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
// The peer's classifier scanning exactly the cascade window's scale.
class PeerCascade {
 public:
  PeerCascade() : c_(kCascade) {}
  bool ok() const { return !c_.empty(); }
  void detect(const cv::Mat& img, std::vector<cv::Rect>& out, cv::Size win) {
    c_.detectMultiScale(img, out, 1.1, 0, 0, win, win);
  }

 private:
  cv::CascadeClassifier c_;
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

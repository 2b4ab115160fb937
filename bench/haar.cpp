// Single-scale face detection with the Haar classifier stages beside the
// peer's cascade classifier on the same image (tiled copies of the
// astronaut portrait with faces the cascade accepts) and cascade: integral
// and squared integral, normalisation values and variance test on the even
// grid, the 25 stages of the frontal-face cascade; the peer with minimum
// and maximum size equal to the cascade window and no grouping, so that it
// scans the same single scale and returns the raw windows.
//
// The benchmark is built only where the XML reader (expat) is installed;
// rows whose cascade file is missing report an error instead of a time, and
// the kvp rows report an error when no window passes (the scene would then
// not exercise the cascade). The kvp rows also report how many raw windows
// each side found and how many differ (the last window row left out, which
// the peer may skip).
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

// The astronaut portrait in gray (luma 0.299 R + 0.587 G + 0.114 B in 14-bit
// fixed point, rounded; both sides read the same bytes), or the bundled
// gray fallback when the colour file cannot be read.
std::vector<Kvp8u> portrait(int& w, int& h) {
  std::string path = __FILE__;
  path = path.substr(0, path.find_last_of('/')) + "/../assets/astronaut.png";
  std::vector<Kvp8u> rgb, gray;
  png_image im{};
  im.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&im, path.c_str())) {
    im.format = PNG_FORMAT_RGB;
    rgb.resize(PNG_IMAGE_SIZE(im));
    w = (int)im.width;
    h = (int)im.height;
    if (!png_image_finish_read(&im, nullptr, rgb.data(), 0, nullptr)) rgb.clear();
    png_image_free(&im);
  }
  if (rgb.empty()) return kvpb::photo(w, h, "astronaut.png");
  gray.resize((size_t)w * h);
  for (size_t i = 0; i < gray.size(); ++i)
    gray[i] = (Kvp8u)((rgb[3 * i] * 4899 + rgb[3 * i + 1] * 9617 + rgb[3 * i + 2] * 1868 + 8192) >> 14);
  return gray;
}

// The portrait box-reduced to `side` pixels wide.
std::vector<Kvp8u> reduced(const std::vector<Kvp8u>& photo, int pw, int ph, int side, int& sh) {
  const int sw = side;
  sh = ph * side / pw;
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
  return small;
}

// The benchmark scene: rows of copies of the portrait reduced to 100-150
// pixels square (the face then spans about one cascade window and the
// cascade accepts a few windows on it), one reduction per tile row so that
// the faces sit at several offsets and both grid parities.
std::vector<Kvp8u> scene(int w, int h) {
  int pw = 0, ph = 0;
  const std::vector<Kvp8u> photo = portrait(pw, ph);
  std::vector<Kvp8u> img((size_t)w * h);
  const int sides[] = {120, 105, 130, 115, 150, 125, 100};
  for (int y0 = 0, r = 0; y0 < h; ++r) {
    int sh = 0;
    const int sw = sides[r % 7];
    const std::vector<Kvp8u> small = reduced(photo, pw, ph, sw, sh);
    const int shift = r * 37 % sw;
    for (int y = y0; y < std::min(h, y0 + sh); ++y)
      for (int x = 0; x < w; ++x) img[(size_t)y * w + x] = small[(size_t)(y - y0) * sw + (x + shift) % sw];
    y0 += sh;
  }
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
  std::vector<KvpiPoint> found = det.scan(img.data(), s.width, s.width, s.height);
  if (found.empty()) {
    st.SkipWithError("no window passes the cascade: the scene does not exercise it");
    return;
  }
#ifdef KVP_HAVE_OPENCV
  // The same windows from the peer (the last window row left out: the peer
  // may not scan it). The rectangle sums are exact integers here; the
  // normalisation value, each weak classifier's weighted sum and a stage's
  // votes are rounded in each side's own precision and order, so a window
  // whose sum lies within rounding of a threshold could differ; `differ`
  // counts the windows found by one side only.
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
  for (auto _ : st) {
    found = det.scan(img.data(), s.width, s.width, s.height);
    benchmark::DoNotOptimize(found.data());
  }
  st.counters["windows"] = (double)found.size();
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

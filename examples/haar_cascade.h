// A face detector built from the Haar classifier stages: reads a boosted
// cascade of stumps from its XML file through the expat parser (its entry
// points passed in, so that a program may link expat or load it at run
// time), makes one library stage per cascade stage, and scans an image at
// one scale: integral and squared integral, the normalisation value and the
// variance test of every window on the even grid, stage 0 with the skip of
// the window after each rejection in a row, then the remaining stages.
// Shared by the demo and the benchmark.
#pragma once

#include <expat.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "kvpcv.h"

namespace haar {

// The expat calls the reader uses.
struct Expat {
  decltype(&XML_ParserCreate) create;
  decltype(&XML_SetUserData) setUserData;
  decltype(&XML_SetElementHandler) setElementHandler;
  decltype(&XML_SetCharacterDataHandler) setCharacterDataHandler;
  decltype(&XML_Parse) parse;
  decltype(&XML_ParserFree) free;
};

struct Feature {
  std::vector<KvpiRect> rects;
  std::vector<float> weights;
  bool tilted = false;
};

struct Stump {
  int feature = 0;
  float threshold = 0.f, left = 0.f, right = 0.f;
};

struct CascadeStage {
  float threshold = 0.f;
  std::vector<Stump> stumps;
};

struct Cascade {
  int width = 0, height = 0;
  std::vector<CascadeStage> stages;
  std::vector<Feature> features;
};

// Builds the cascade from the element events: each closing element's text
// is read according to its name and its parent.
class Reader {
 public:
  explicit Reader(Cascade& c) : c_(c) {}
  static void XMLCALL start(void* self, const XML_Char* name, const XML_Char**) {
    auto* r = static_cast<Reader*>(self);
    if (std::strcmp(name, "_") == 0 && !r->path_.empty() && r->path_.back() == "features")
      r->c_.features.emplace_back();
    r->path_.emplace_back(name);
    r->text_.clear();
  }
  static void XMLCALL text(void* self, const XML_Char* s, int len) {
    static_cast<Reader*>(self)->text_.append(s, len);
  }
  static void XMLCALL end(void* self, const XML_Char* name) {
    auto* r = static_cast<Reader*>(self);
    r->path_.pop_back();
    const std::string parent = r->path_.empty() ? "" : r->path_.back();
    const char* t = r->text_.c_str();
    char* e = nullptr;
    Cascade& c = r->c_;
    if (std::strcmp(name, "width") == 0 && parent == "cascade") {
      c.width = std::atoi(t);
    } else if (std::strcmp(name, "height") == 0 && parent == "cascade") {
      c.height = std::atoi(t);
    } else if (std::strcmp(name, "stageThreshold") == 0) {
      c.stages.emplace_back();
      c.stages.back().threshold = std::strtof(t, nullptr);
    } else if (std::strcmp(name, "internalNodes") == 0 && !c.stages.empty()) {
      Stump s;
      std::strtol(t, &e, 10);  // left child
      std::strtol(e, &e, 10);  // right child
      s.feature = (int)std::strtol(e, &e, 10);
      s.threshold = std::strtof(e, &e);
      c.stages.back().stumps.push_back(s);
    } else if (std::strcmp(name, "leafValues") == 0 && !c.stages.empty() && !c.stages.back().stumps.empty()) {
      Stump& s = c.stages.back().stumps.back();
      s.left = std::strtof(t, &e);
      s.right = std::strtof(e, &e);
    } else if (std::strcmp(name, "_") == 0 && parent == "rects" && !c.features.empty()) {
      KvpiRect q;
      q.x = (int)std::strtol(t, &e, 10);
      q.y = (int)std::strtol(e, &e, 10);
      q.width = (int)std::strtol(e, &e, 10);
      q.height = (int)std::strtol(e, &e, 10);
      c.features.back().rects.push_back(q);
      c.features.back().weights.push_back(std::strtof(e, &e));
    } else if (std::strcmp(name, "tilted") == 0 && !c.features.empty()) {
      c.features.back().tilted = std::atoi(t) != 0;
    }
    r->text_.clear();
  }

 private:
  Cascade& c_;
  std::vector<std::string> path_;
  std::string text_;
};

// Reads a cascade file; false with a message when it cannot be read.
inline bool readCascade(const std::string& path, const Expat& x, Cascade& c, std::string& error) {
  FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) {
    error = "cannot open " + path;
    return false;
  }
  std::string xml;
  char buf[65536];
  for (size_t n; (n = std::fread(buf, 1, sizeof buf, f)) > 0;) xml.append(buf, n);
  std::fclose(f);
  c = Cascade{};
  Reader reader(c);
  XML_Parser p = x.create(nullptr);
  x.setUserData(p, &reader);
  x.setElementHandler(p, Reader::start, Reader::end);
  x.setCharacterDataHandler(p, Reader::text);
  const bool ok = x.parse(p, xml.data(), (int)xml.size(), 1) == XML_STATUS_OK;
  x.free(p);
  if (!ok) {
    error = "XML error in " + path;
    return false;
  }
  for (const CascadeStage& s : c.stages)
    for (const Stump& t : s.stumps)
      if (t.feature < 0 || t.feature >= (int)c.features.size()) {
        error = "feature index out of range";
        return false;
      }
  if (c.width < 3 || c.height < 3 || c.stages.empty()) {
    error = "no cascade in " + path;
    return false;
  }
  return true;
}

// The library stages of a cascade and the scan of one image at one scale.
class Detector {
 public:
  explicit Detector(const Cascade& c) : c_(c) {
    for (const CascadeStage& s : c.stages) {
      std::vector<KvpiRect> rects;
      std::vector<float> weights, thr, v1, v2;
      std::vector<int> num;
      std::vector<Kvp8u> tilted;
      for (const Stump& t : s.stumps) {
        const Feature& f = c.features[t.feature];
        rects.insert(rects.end(), f.rects.begin(), f.rects.end());
        weights.insert(weights.end(), f.weights.begin(), f.weights.end());
        num.push_back((int)f.rects.size());
        tilted.push_back(f.tilted);
        thr.push_back(t.threshold);
        v1.push_back(t.left);
        v2.push_back(t.right);
      }
      KvpiHaarClassifier_32f* st = nullptr;
      if (kvpiHaarClassifierInitAlloc_32f(&st, rects.data(), weights.data(), thr.data(), v1.data(), v2.data(),
                                          num.data(), (int)num.size()) != kvpStsOk ||
          kvpiTiltHaarFeatures_32f(tilted.data(), 1, st) != kvpStsOk) {
        if (st) kvpiHaarClassifierFree_32f(st);
        ok_ = false;
        continue;
      }
      stages_.push_back(st);
      thresholds_.push_back(s.threshold - 1e-5f);
    }
  }
  ~Detector() {
    for (auto* s : stages_) kvpiHaarClassifierFree_32f(s);
  }
  Detector(const Detector&) = delete;
  bool ok() const { return ok_; }

  // Windows (top-left corners, cascade size) that pass every stage at this
  // scale. Tilted features are not read here (the frontal cascades have
  // none). The windows are scanned in strips of window rows, all stages per
  // strip, so that the strip's table rows, norms and mask stay in cache.
  // With several library threads, each thread takes every n-th strip, and
  // the strips are small enough for each Apply call to run on its thread.
  std::vector<KvpiPoint> scan(const Kvp8u* img, int step, int w, int h) {
    std::vector<KvpiPoint> found;
    const int W = c_.width, H = c_.height;
    if (w < W || h < H || !ok_) return found;
    const KvpiSize roi{w - W + 1, h - H + 1};
    sum_.resize((size_t)(w + 1) * (h + 1));
    sqr_.resize((size_t)(w + 1) * (h + 1));
    if (kvpiSqrIntegral_8u32s64f_C1R(img, step, sum_.data(), (w + 1) * 4, sqr_.data(), (w + 1) * 8, {w, h}, 0,
                                     0.0))
      return found;
    int threads = 1;
    kvpGetNumThreads(&threads);
    threads = std::max(1, std::min(threads, 64));
    const int strip =
        threads == 1 ? kStrip : std::max(2, (int)(((long long)threads * 8192 - 1) / roi.width) & ~1);
    work_.resize((size_t)threads);
    if (threads == 1) {
      scanStrips(roi, strip, 0, 1, work_[0]);
      return std::move(work_[0].found);
    }
    std::vector<std::thread> team;
    for (int t = 0; t < threads; ++t)
      team.emplace_back([&, t] { scanStrips(roi, strip, t, threads, work_[(size_t)t]); });
    for (auto& th : team) th.join();
    for (auto& wk : work_) found.insert(found.end(), wk.found.begin(), wk.found.end());
    std::sort(found.begin(), found.end(),
              [](const KvpiPoint& a, const KvpiPoint& b) { return a.y != b.y ? a.y < b.y : a.x < b.x; });
    return found;
  }

 private:
  struct Work {
    std::vector<float> norm;
    std::vector<Kvp8u> mask, before;
    std::vector<KvpiPoint> found;
  };

  // Strips first, first + every, ... of the window rows.
  void scanStrips(KvpiSize roi, int strip, int first, int every, Work& wk) const {
    const int W = c_.width, H = c_.height, tw = roi.width + W;
    wk.found.clear();
    wk.norm.resize((size_t)roi.width * strip);
    wk.mask.resize((size_t)roi.width * strip);
    const double n = (double)(W - 2) * (H - 2);
    for (int y0 = first * strip; y0 < roi.height; y0 += every * strip) {
      const KvpiSize part{roi.width, std::min(strip, roi.height - y0)};
      // Normalisation over the window shrunk by one pixel on each side and
      // the variance test, on the even grid.
      std::fill(wk.mask.begin(), wk.mask.end(), 0);
      for (int y = 0; y < part.height; y += 2) {
        const Kvp32s* s0 = &sum_[(size_t)(y0 + y + 1) * tw + 1];
        const Kvp32s* s1 = &sum_[(size_t)(y0 + y + H - 1) * tw + 1];
        const Kvp64f* q0 = &sqr_[(size_t)(y0 + y + 1) * tw + 1];
        const Kvp64f* q1 = &sqr_[(size_t)(y0 + y + H - 1) * tw + 1];
        float* nrow = &wk.norm[(size_t)y * roi.width];
        Kvp8u* mrow = &wk.mask[(size_t)y * roi.width];
        for (int x = 0; x < roi.width; x += 2) {
          // 32-bit tables wrap on large images; the inner sum itself is small.
          const double s = (double)(Kvp32s)((((Kvp32u)s0[x] - (Kvp32u)s0[x + W - 2]) - (Kvp32u)s1[x]) +
                                            (Kvp32u)s1[x + W - 2]);
          const double q = ((q0[x] - q0[x + W - 2]) - q1[x]) + q1[x + W - 2];
          const double nf = n * q - s * s;
          if (nf <= 0.0) continue;
          const double root = std::sqrt(nf);
          if (n * (double)(float)(1.0 / root) >= 0.1) continue;
          nrow[x] = (float)root;
          mrow[x] = 1;
        }
      }
      wk.before = wk.mask;
      int positive = 0;
      for (size_t k = 0; k < stages_.size(); ++k) {
        if (kvpiApplyHaarClassifier_32s32f_C1R(&sum_[(size_t)y0 * tw], tw * 4, wk.norm.data(), roi.width * 4,
                                               wk.mask.data(), roi.width, part, &positive, thresholds_[k],
                                               stages_[k]))
          return;
        if (k == 0) {
          // Within a row, the window after a stage-0 rejection is not visited.
          for (int y = 0; y < part.height; y += 2) {
            const Kvp8u* b = &wk.before[(size_t)y * roi.width];
            Kvp8u* m = &wk.mask[(size_t)y * roi.width];
            for (int x = 0; x < roi.width; x += 2)
              if (b[x] && !m[x] && x + 2 < roi.width) {
                m[x + 2] = 0;
                x += 2;
              }
          }
        }
        if (positive == 0) break;
      }
      if (positive == 0) continue;
      for (int y = 0; y < part.height; y += 2)
        for (int x = 0; x < roi.width; x += 2)
          if (wk.mask[(size_t)y * roi.width + x]) wk.found.push_back({x, y0 + y});
    }
  }

  static constexpr int kStrip = 32;  // window rows per strip (even)
  const Cascade& c_;
  bool ok_ = true;
  std::vector<KvpiHaarClassifier_32f*> stages_;
  std::vector<float> thresholds_;
  std::vector<Kvp32s> sum_;
  std::vector<Kvp64f> sqr_;
  std::vector<Work> work_;
};

}  // namespace haar

// Face detection with the Haar classifier stages: the frontal-face cascade
// of the system's cascade data, read with expat, scanned over a pyramid of
// the photograph (each level 1/1.1 of the one before); the windows that
// pass all stages are grouped and drawn as boxes.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "demo.h"

#if KVP_HAVE_EXPAT
#include "haar_cascade.h"

namespace {

const char* kCascade = "/usr/share/opencv4/haarcascades/haarcascade_frontalface_default.xml";

// Area-weighted reduction of a grey image to dw x dh.
demo::Image shrink(const demo::Image& src, int dw, int dh) {
  demo::Image d{dw, dh, 1, std::vector<Kvp8u>((size_t)dw * dh)};
  const double sx = (double)src.width / dw, sy = (double)src.height / dh;
  for (int y = 0; y < dh; ++y)
    for (int x = 0; x < dw; ++x) {
      const double x0 = x * sx, x1 = (x + 1) * sx, y0 = y * sy, y1 = (y + 1) * sy;
      double acc = 0, area = 0;
      for (int v = (int)y0; v < std::min((int)std::ceil(y1), src.height); ++v)
        for (int u = (int)x0; u < std::min((int)std::ceil(x1), src.width); ++u) {
          const double a = (std::min(x1, u + 1.0) - std::max(x0, (double)u)) *
                           (std::min(y1, v + 1.0) - std::max(y0, (double)v));
          acc += a * src.pixels[(size_t)v * src.width + u];
          area += a;
        }
      d.pixels[(size_t)y * dw + x] = (Kvp8u)std::lround(acc / area);
    }
  return d;
}

struct Box {
  double x, y, size;
};

// Windows that overlap closely form a group; groups of at least four
// windows give one box, their mean.
std::vector<Box> group(const std::vector<Box>& raw) {
  std::vector<int> parent(raw.size());
  for (size_t i = 0; i < raw.size(); ++i) parent[i] = (int)i;
  auto root = [&](int i) {
    while (parent[i] != i) i = parent[i] = parent[parent[i]];
    return i;
  };
  for (size_t i = 0; i < raw.size(); ++i)
    for (size_t j = i + 1; j < raw.size(); ++j) {
      const double d = 0.2 * std::min(raw[i].size, raw[j].size);
      if (std::abs(raw[i].x - raw[j].x) <= d && std::abs(raw[i].y - raw[j].y) <= d &&
          std::abs(raw[i].size - raw[j].size) <= d)
        parent[root((int)i)] = root((int)j);
    }
  std::vector<Box> sum(raw.size(), Box{0, 0, 0});
  std::vector<int> count(raw.size(), 0);
  for (size_t i = 0; i < raw.size(); ++i) {
    const int r = root((int)i);
    sum[r].x += raw[i].x, sum[r].y += raw[i].y, sum[r].size += raw[i].size;
    ++count[r];
  }
  std::vector<Box> out;
  for (size_t i = 0; i < raw.size(); ++i)
    if (count[i] >= 4) out.push_back({sum[i].x / count[i], sum[i].y / count[i], sum[i].size / count[i]});
  return out;
}

void drawBox(demo::Image& img, const Box& b, const Kvp8u rgb[3]) {
  const int x0 = (int)std::lround(b.x), y0 = (int)std::lround(b.y), s = (int)std::lround(b.size);
  for (int t = 0; t < 3; ++t)
    for (int k = 0; k <= s; ++k) {
      const int pts[4][2] = {{x0 + k, y0 + t}, {x0 + k, y0 + s - t}, {x0 + t, y0 + k}, {x0 + s - t, y0 + k}};
      for (const auto& p : pts)
        if (p[0] >= 0 && p[0] < img.width && p[1] >= 0 && p[1] < img.height)
          std::copy(rgb, rgb + 3, &img.pixels[((size_t)p[1] * img.width + p[0]) * 3]);
    }
}

}  // namespace

KVP_DEMO_STEP("haar", [](const demo::Context& ctx) {
  const haar::Expat expat{
      XML_ParserCreate, XML_SetUserData, XML_SetElementHandler, XML_SetCharacterDataHandler,
      XML_Parse,        XML_ParserFree};
  haar::Cascade cascade;
  std::string error;
  if (!haar::readCascade(kCascade, expat, cascade, error)) {
    std::printf("  haar: skipped (%s; Debian package opencv-data)\n", error.c_str());
    return true;
  }
  const demo::Image colour = demo::readPng(ctx.asset("astronaut.png"), 3);
  const demo::Image grey = demo::readPng(ctx.asset("astronaut.png"), 1);
  if (colour.pixels.empty() || grey.pixels.empty()) return false;
  haar::Detector det(cascade);
  if (!det.ok()) return false;
  std::vector<Box> raw;
  size_t stumps = 0;
  for (const auto& s : cascade.stages) stumps += s.stumps.size();
  for (double scale = 1.0;; scale *= 1.1) {
    const int w = (int)std::lround(grey.width / scale), h = (int)std::lround(grey.height / scale);
    if (w < cascade.width || h < cascade.height) break;
    const demo::Image level = scale == 1.0 ? grey : shrink(grey, w, h);
    for (const KvpiPoint& p : det.scan(level.data(), level.step(), w, h))
      raw.push_back({p.x * scale, p.y * scale, cascade.width * scale});
  }
  const std::vector<Box> faces = group(raw);
  std::printf("  haar: %zu stages, %zu stumps; %zu raw windows, %zu face(s)\n", cascade.stages.size(), stumps,
              raw.size(), faces.size());
  demo::Image out = colour;
  const Kvp8u thin[3] = {255, 220, 0}, thick[3] = {40, 255, 60};
  for (const Box& b : raw) {
    const int x0 = (int)std::lround(b.x), y0 = (int)std::lround(b.y), s = (int)std::lround(b.size);
    for (int k = 0; k <= s; ++k)
      for (const auto& p : {std::pair{x0 + k, y0}, std::pair{x0 + k, y0 + s}, std::pair{x0, y0 + k},
                            std::pair{x0 + s, y0 + k}})
        if (p.first >= 0 && p.first < out.width && p.second >= 0 && p.second < out.height)
          std::copy(thin, thin + 3, &out.pixels[((size_t)p.second * out.width + p.first) * 3]);
  }
  for (const Box& b : faces) drawBox(out, b, thick);
  return !faces.empty() && demo::writePng(ctx.output("haar_faces.png"), out);
});

#else

KVP_DEMO_STEP("haar", [](const demo::Context&) {
  std::printf("  haar: skipped (built without expat, Debian package libexpat1-dev)\n");
  return true;
});

#endif

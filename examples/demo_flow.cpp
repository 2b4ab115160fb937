// Feature tracks over a synthetic camera motion of a photograph: the camera
// pans, turns and zooms a little per frame; points on a grid are tracked
// from frame to frame with pyramidal Lucas-Kanade over rate-2 pyramid
// layers, and every track is drawn over the last frame, its colour running
// from blue (first frame) to yellow (last), lost tracks ending in red.
#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "demo.h"

namespace {

constexpr int kFrames = 10, kLevels = 3, kWin = 15;

// The photograph seen by a camera at frame t: a rotation about the centre,
// a zoom and a pan, bilinear, edges replicated.
demo::Image view(const demo::Image& src, int t) {
  const int w = src.width, h = src.height, ch = src.channels;
  const float ang = 0.02f * t, zoom = 1.0f + 0.015f * t, px = 3.0f * t, py = -1.5f * t;
  const float c = std::cos(ang) / zoom, s = std::sin(ang) / zoom;
  demo::Image out{w, h, ch, std::vector<Kvp8u>(src.pixels.size())};
  auto at = [&](int x, int y, int k) {
    x = std::clamp(x, 0, w - 1);
    y = std::clamp(y, 0, h - 1);
    return (float)src.pixels[((size_t)y * w + x) * ch + k];
  };
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const float dx = x - w / 2.0f, dy = y - h / 2.0f;
      const float sx = c * dx - s * dy + w / 2.0f + px, sy = s * dx + c * dy + h / 2.0f + py;
      const int ix = (int)std::floor(sx), iy = (int)std::floor(sy);
      const float a = sx - ix, b = sy - iy;
      for (int k = 0; k < ch; ++k) {
        const float v = (1 - b) * ((1 - a) * at(ix, iy, k) + a * at(ix + 1, iy, k)) +
                        b * ((1 - a) * at(ix, iy + 1, k) + a * at(ix + 1, iy + 1, k));
        out.pixels[((size_t)y * w + x) * ch + k] = (Kvp8u)std::lround(std::clamp(v, 0.0f, 255.0f));
      }
    }
  return out;
}

demo::Image gray(const demo::Image& rgb) {
  demo::Image g{rgb.width, rgb.height, 1, std::vector<Kvp8u>((size_t)rgb.width * rgb.height)};
  for (size_t i = 0; i < g.pixels.size(); ++i)
    g.pixels[i] =
        (Kvp8u)((77 * rgb.pixels[3 * i] + 150 * rgb.pixels[3 * i + 1] + 29 * rgb.pixels[3 * i + 2]) >> 8);
  return g;
}

// A rate-2 pyramid of a gray frame, levels owned here.
struct Pyramid {
  KvpiPyramid* rec = nullptr;
  std::vector<std::vector<Kvp8u>> levels;
  bool build(const demo::Image& g) {
    if (kvpiPyramidInitAlloc(&rec, kLevels, g.size(), 2.0f)) return false;
    const Kvp16s taps[5] = {1, 4, 6, 4, 1};
    KvpiPyramidDownState_8u* st = nullptr;
    if (kvpiPyramidLayerDownInitAlloc_8u_C1R(&st, g.size(), 2.0f, taps, 5, kvpInterLinear)) return false;
    int bytes = 0;
    kvpiPyramidLayerDownGetBufSize(g.size(), 2.0f, 5, kvp8u, 1, &bytes);
    std::vector<Kvp8u> buf((size_t)bytes);
    levels.resize(kLevels + 1);
    bool ok = true;
    for (int L = 0; L <= kLevels && ok; ++L) {
      const KvpiSize r = rec->pRoi[L];
      levels[L].resize((size_t)r.width * r.height);
      if (L == 0)
        levels[0] = g.pixels;
      else
        ok = kvpiPyramidLayerDown_8u_C1R(levels[L - 1].data(), rec->pStep[L - 1], rec->pRoi[L - 1],
                                         levels[L].data(), r.width, r, st, buf.data()) == kvpStsOk;
      rec->pImage[L] = levels[L].data();
      rec->pStep[L] = r.width;
    }
    kvpiPyramidLayerDownFree_8u_C1R(st);
    return ok;
  }
  ~Pyramid() {
    if (rec) kvpiPyramidFree(rec);
  }
};

void line(demo::Image& img, float x0, float y0, float x1, float y1, const Kvp8u rgb[3]) {
  const int n = (int)std::ceil(std::max(std::fabs(x1 - x0), std::fabs(y1 - y0))) + 1;
  for (int i = 0; i <= n; ++i) {
    const int x = (int)std::lround(x0 + (x1 - x0) * i / n), y = (int)std::lround(y0 + (y1 - y0) * i / n);
    if (x < 0 || y < 0 || x >= img.width || y >= img.height) continue;
    std::copy(rgb, rgb + 3, &img.pixels[((size_t)y * img.width + x) * 3]);
  }
}

void dot(demo::Image& img, float cx, float cy, const Kvp8u rgb[3]) {
  for (int dy = -1; dy <= 1; ++dy) line(img, cx - 1, cy + dy, cx + 1, cy + dy, rgb);
}

}  // namespace

KVP_DEMO_STEP("flow", [](const demo::Context& ctx) {
  const demo::Image photo = demo::readPng(ctx.asset("chelsea.png"), 3);
  if (photo.pixels.empty()) return false;
  const int w = photo.width, h = photo.height;
  std::vector<std::vector<KvpiPoint_32f>> tracks;
  for (int y = 20; y < h - 20; y += 24)
    for (int x = 20; x < w - 20; x += 24) tracks.push_back({{(float)x, (float)y}});
  std::vector<int> lostAt(tracks.size(), -1);
  KvpiOptFlowPyrLK_8u* state = nullptr;
  if (kvpiOpticalFlowPyrLKInitAlloc_8u_C1R(&state, {w, h}, kWin)) return false;
  demo::Image frame = view(photo, 0);
  auto prevPyr = std::make_unique<Pyramid>();
  if (!prevPyr->build(gray(frame))) return false;
  bool ok = true;
  for (int t = 1; t < kFrames && ok; ++t) {
    frame = view(photo, t);
    auto nextPyr = std::make_unique<Pyramid>();
    ok = nextPyr->build(gray(frame));
    std::vector<KvpiPoint_32f> prev, next;
    std::vector<size_t> which;
    for (size_t i = 0; i < tracks.size(); ++i)
      if (lostAt[i] < 0) {
        prev.push_back(tracks[i].back());
        which.push_back(i);
      }
    if (prev.empty()) break;
    next = prev;
    std::vector<Kvp8s> status(prev.size());
    std::vector<Kvp32f> err(prev.size());
    ok = ok && kvpiOpticalFlowPyrLK_8u_C1R(prevPyr->rec, nextPyr->rec, prev.data(), next.data(),
                                           status.data(), err.data(), (int)prev.size(), kWin, kLevels, 30,
                                           0.01f, state) == kvpStsOk;
    for (size_t j = 0; j < prev.size() && ok; ++j) {
      // A large matching error means the window no longer matches.
      if (status[j] && err[j] < 12.0f)
        tracks[which[j]].push_back(next[j]);
      else
        lostAt[which[j]] = t;
    }
    prevPyr = std::move(nextPyr);
  }
  kvpiOpticalFlowPyrLKFree_8u_C1R(state);
  if (!ok) return false;
  // The last frame, dimmed, under the tracks.
  demo::Image out = frame;
  for (Kvp8u& v : out.pixels) v = (Kvp8u)(v * 3 / 5);
  for (size_t i = 0; i < tracks.size(); ++i) {
    const auto& tr = tracks[i];
    for (size_t k = 1; k < tr.size(); ++k) {
      const float f = (float)k / (kFrames - 1);
      const Kvp8u rgb[3] = {(Kvp8u)(40 + 215 * f), (Kvp8u)(90 + 140 * f), (Kvp8u)(255 - 215 * f)};
      line(out, tr[k - 1].x, tr[k - 1].y, tr[k].x, tr[k].y, rgb);
    }
    static const Kvp8u kRed[3] = {255, 40, 40}, kEnd[3] = {255, 240, 60};
    dot(out, tr.back().x, tr.back().y, lostAt[i] >= 0 ? kRed : kEnd);
  }
  return demo::writePng(ctx.output("flow_tracks.png"), out);
});

// Pyramidal Lucas-Kanade tracking of 2000 points over 4 levels (window 21,
// 30 iterations, step threshold 0.01) between a frame made from the bundled
// photograph and the same frame moved by a small rotation and shift, beside
// cv::calcOpticalFlowPyrLK with the same window, levels and stopping rule.
//
//   Track: pyramids built outside the timing (kvpCV: rate-2 binomial
//          layers; OpenCV: buildOpticalFlowPyramid with derivatives).
//   Pair:  both pyramids built inside the timing (kvpCV: the layers + the
//          tracking; OpenCV: calcOpticalFlowPyrLK on the two images).
//
// The agreement counters come from one extra run in which both trackers read
// the levels of cv::buildPyramid: "agree" is the share of the points tracked
// by both whose positions differ by at most 0.05 px, "med_dx" the median
// difference.
#include <algorithm>
#include <cmath>
#include <vector>

#include "bench_photo.h"
#include "bench_util.h"

#ifdef KVP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>
#endif

namespace {

constexpr int kWin = 21, kLev = 3, kIter = 30, kFeat = 2000;
constexpr float kThr = 0.01f;

// Frame 0: the photograph mirrored to fill w x h. Frame 1: frame 0 sampled
// at a point rotated by 0.3 degrees about the centre and shifted by
// (-1.6, 0.9), bilinear.
struct Frames {
  int w, h;
  std::vector<Kvp8u> f0, f1;
  std::vector<KvpiPoint_32f> pts;
  Frames(int w_, int h_) : w(w_), h(h_), f0((size_t)w * h), f1((size_t)w * h) {
    int pw, ph;
    const std::vector<Kvp8u> photo = kvpb::photo(pw, ph);
    auto at = [&](int x, int y) {
      x = std::abs(x) % (2 * pw);
      y = std::abs(y) % (2 * ph);
      if (x >= pw) x = 2 * pw - 1 - x;
      if (y >= ph) y = 2 * ph - 1 - y;
      return (float)photo[(size_t)y * pw + x];
    };
    // A 1.7x enlargement keeps the scene smooth enough to track.
    auto scene = [&](float x, float y) {
      x /= 1.7f;
      y /= 1.7f;
      const int ix = (int)std::floor(x), iy = (int)std::floor(y);
      const float a = x - ix, b = y - iy;
      return (1 - b) * ((1 - a) * at(ix, iy) + a * at(ix + 1, iy)) +
             b * ((1 - a) * at(ix, iy + 1) + a * at(ix + 1, iy + 1));
    };
    const float c = std::cos(0.3f * 3.14159265f / 180), s = std::sin(0.3f * 3.14159265f / 180);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        f0[(size_t)y * w + x] = (Kvp8u)std::lround(scene((float)x, (float)y));
        const float dx = x - w / 2.0f, dy = y - h / 2.0f;
        const float sx = c * dx + s * dy + w / 2.0f + 1.6f, sy = -s * dx + c * dy + h / 2.0f - 0.9f;
        f1[(size_t)y * w + x] = (Kvp8u)std::lround(scene(sx, sy));
      }
    const int cols = 50, rows = kFeat / cols;
    for (int j = 0; j < rows; ++j)
      for (int i = 0; i < cols; ++i)
        pts.push_back({40.0f + (w - 80.0f) * (i + 0.37f) / cols, 40.0f + (h - 80.0f) * (j + 0.61f) / rows});
  }
};

// A rate-2 pyramid of owned levels.
struct KvpPyr {
  KvpiPyramid* rec = nullptr;
  std::vector<std::vector<Kvp8u>> levels;
  KvpiPyramidDownState_8u* state = nullptr;
  std::vector<Kvp8u> buf;
  KvpPyr(int w, int h) {
    kvpiPyramidInitAlloc(&rec, kLev, {w, h}, 2.0f);
    const Kvp16s taps[5] = {1, 4, 6, 4, 1};
    kvpiPyramidLayerDownInitAlloc_8u_C1R(&state, {w, h}, 2.0f, taps, 5, kvpInterLinear);
    int bytes = 0;
    kvpiPyramidLayerDownGetBufSize({w, h}, 2.0f, 5, kvp8u, 1, &bytes);
    buf.resize((size_t)bytes);
    levels.resize(kLev + 1);
    for (int L = 0; L <= kLev; ++L) {
      levels[L].resize((size_t)rec->pRoi[L].width * rec->pRoi[L].height);
      rec->pImage[L] = levels[L].data();
      rec->pStep[L] = rec->pRoi[L].width;
    }
  }
  ~KvpPyr() {
    kvpiPyramidLayerDownFree_8u_C1R(state);
    kvpiPyramidFree(rec);
  }
  void build(const Kvp8u* img) {
    std::copy(img, img + levels[0].size(), levels[0].begin());
    for (int L = 1; L <= kLev; ++L)
      kvpiPyramidLayerDown_8u_C1R(levels[L - 1].data(), rec->pStep[L - 1], rec->pRoi[L - 1], levels[L].data(),
                                  rec->pStep[L], rec->pRoi[L], state, buf.data());
  }
};

template <bool Pair>
void runKvp(benchmark::State& st) {
  const kvpb::Setup s(st);
  const Frames fr(s.width, s.height);
  KvpPyr a(s.width, s.height), b(s.width, s.height);
  a.build(fr.f0.data());
  b.build(fr.f1.data());
  KvpiOptFlowPyrLK_8u* state = nullptr;
  kvpiOpticalFlowPyrLKInitAlloc_8u_C1R(&state, s.size(), kWin);
  std::vector<KvpiPoint_32f> next(fr.pts.size());
  std::vector<Kvp8s> status(fr.pts.size());
  std::vector<Kvp32f> err(fr.pts.size());
  for (auto _ : st) {
    if (Pair) {
      a.build(fr.f0.data());
      b.build(fr.f1.data());
    }
    next = fr.pts;
    const KvpStatus r =
        kvpiOpticalFlowPyrLK_8u_C1R(a.rec, b.rec, fr.pts.data(), next.data(), status.data(), err.data(),
                                    (int)fr.pts.size(), kWin, kLev, kIter, kThr, state);
    benchmark::DoNotOptimize(r);
    benchmark::ClobberMemory();
  }
  kvpiOpticalFlowPyrLKFree_8u_C1R(state);
  long long tracked = 0;
  for (Kvp8s v : status) tracked += v;
  st.counters["tracked"] = (double)tracked;
}

void BM_FlowTrack_8u_kvp(benchmark::State& st) { runKvp<false>(st); }
void BM_FlowPair_8u_kvp(benchmark::State& st) { runKvp<true>(st); }

#ifdef KVP_HAVE_OPENCV
cv::TermCriteria criteria() { return {cv::TermCriteria::COUNT | cv::TermCriteria::EPS, kIter, kThr}; }

// Both trackers on the levels of cv::buildPyramid (mirrored borders).
void agreement(benchmark::State& st, const Frames& fr) {
  cv::Mat m0(fr.h, fr.w, CV_8U, const_cast<Kvp8u*>(fr.f0.data())),
      m1(fr.h, fr.w, CV_8U, const_cast<Kvp8u*>(fr.f1.data()));
  std::vector<cv::Mat> p0, p1;
  cv::buildPyramid(m0, p0, kLev);
  cv::buildPyramid(m1, p1, kLev);
  KvpiPyramid *r0 = nullptr, *r1 = nullptr;
  kvpiPyramidInitAlloc(&r0, kLev, {fr.w, fr.h}, 2.0f);
  kvpiPyramidInitAlloc(&r1, kLev, {fr.w, fr.h}, 2.0f);
  for (int L = 0; L <= kLev; ++L) {
    r0->pImage[L] = p0[L].data;
    r0->pStep[L] = (int)p0[L].step;
    r1->pImage[L] = p1[L].data;
    r1->pStep[L] = (int)p1[L].step;
  }
  KvpiOptFlowPyrLK_8u* state = nullptr;
  kvpiOpticalFlowPyrLKInitAlloc_8u_C1R(&state, {fr.w, fr.h}, kWin);
  std::vector<KvpiPoint_32f> next = fr.pts;
  std::vector<Kvp8s> status(fr.pts.size());
  std::vector<Kvp32f> err(fr.pts.size());
  kvpiOpticalFlowPyrLK_8u_C1R(r0, r1, fr.pts.data(), next.data(), status.data(), err.data(),
                              (int)fr.pts.size(), kWin, kLev, kIter, kThr, state);
  kvpiOpticalFlowPyrLKFree_8u_C1R(state);
  kvpiPyramidFree(r0);
  kvpiPyramidFree(r1);
  std::vector<cv::Point2f> c0, c1;
  for (auto p : fr.pts) c0.push_back({p.x, p.y});
  std::vector<uchar> cs;
  std::vector<float> ce;
  cv::calcOpticalFlowPyrLK(m0, m1, c0, c1, cs, ce, cv::Size(kWin, kWin), kLev, criteria(), 0, 1e-4);
  std::vector<double> diff;
  long long both = 0, agree = 0, statusSame = 0, settled = 0, settledAgree = 0;
  for (size_t i = 0; i < c0.size(); ++i) {
    statusSame += (status[i] != 0) == (cs[i] != 0);
    if (!status[i] || !cs[i]) continue;
    ++both;
    const double d = std::hypot(next[i].x - c1[i].x, next[i].y - c1[i].y);
    diff.push_back(d);
    agree += d <= 0.05;
    // Points whose windows match (error at most 10 levels) have settled.
    if (err[i] <= 10.0f) {
      ++settled;
      settledAgree += d <= 0.05;
    }
  }
  std::sort(diff.begin(), diff.end());
  st.counters["agree"] = both ? (double)agree / both : 0.0;
  st.counters["med_dx"] = diff.empty() ? 0.0 : diff[diff.size() / 2];
  st.counters["same_st"] = (double)statusSame / c0.size();
  st.counters["agree_settled"] = settled ? (double)settledAgree / settled : 0.0;
}

template <bool Pair>
void runOcv(benchmark::State& st) {
  const kvpb::Setup s(st);
  const Frames fr(s.width, s.height);
  cv::Mat m0(fr.h, fr.w, CV_8U, const_cast<Kvp8u*>(fr.f0.data())),
      m1(fr.h, fr.w, CV_8U, const_cast<Kvp8u*>(fr.f1.data()));
  std::vector<cv::Mat> p0, p1;
  cv::buildOpticalFlowPyramid(m0, p0, cv::Size(kWin, kWin), kLev, true);
  cv::buildOpticalFlowPyramid(m1, p1, cv::Size(kWin, kWin), kLev, true);
  std::vector<cv::Point2f> c0, c1;
  for (auto p : fr.pts) c0.push_back({p.x, p.y});
  std::vector<uchar> cs;
  std::vector<float> ce;
  for (auto _ : st) {
    if (Pair)
      cv::calcOpticalFlowPyrLK(m0, m1, c0, c1, cs, ce, cv::Size(kWin, kWin), kLev, criteria(), 0, 1e-4);
    else
      cv::calcOpticalFlowPyrLK(p0, p1, c0, c1, cs, ce, cv::Size(kWin, kWin), kLev, criteria(), 0, 1e-4);
    benchmark::ClobberMemory();
  }
  long long tracked = 0;
  for (uchar v : cs) tracked += v != 0;
  st.counters["tracked"] = (double)tracked;
  if (!Pair && s.threads == 1) agreement(st, fr);
}

void BM_FlowTrack_8u_ocv(benchmark::State& st) { runOcv<false>(st); }
void BM_FlowPair_8u_ocv(benchmark::State& st) { runOcv<true>(st); }
#endif

KVP_BENCH(BM_FlowTrack_8u_kvp);
#ifdef KVP_HAVE_OPENCV
KVP_BENCH(BM_FlowTrack_8u_ocv);
#endif
KVP_BENCH(BM_FlowPair_8u_kvp);
#ifdef KVP_HAVE_OPENCV
KVP_BENCH(BM_FlowPair_8u_ocv);
#endif

}  // namespace

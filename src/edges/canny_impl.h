// Canny routines, compiled once per instruction set: the
// including file sets KVP_ED_ISA (and KVP_BF_ISA for the derivative
// routines) and names the table it defines KVP_ED_TABLE.
//
// Canny edge detection: magnitude, non-maximum suppression and candidate
// marking in row bands, hysteresis on one thread, the 0/255 map in bands,
// all in one parallel region where every thread holds a band.
//
// The work buffer holds a (W+2) x (H+2) byte map framed with "none" (0),
// whose pixels become 1 (weak candidate) or 2 (edge), a stack of W * H map
// indices, and one slice per thread for the magnitude rings (and, for the
// one-call form, the derivative rings). Each band pushes its strong
// candidates into its own part of the stack (rows y0 .. y0 + rows take at
// most rows * W entries, starting at y0 * W); the parts are then packed to
// the front in band order before the hysteresis walk, which pushes every
// pixel at most once.
#pragma once

#include <omp.h>

#include <cmath>
#include <cstring>

#include "edges/common.h"
#include "edges/kernel_table.h"
#include "filter/border_kernels.h"

namespace kvp::edges {
inline namespace KVP_ED_ISA {
namespace {

using kvp::rowAt;
namespace bf = kvp::bf;
namespace filt = kvp::filt;

// Sector tests on absolute derivatives: integers (|g| <= 32768, products
// below 2^32 in unsigned 32-bit) or doubles (exact for float inputs).
template <class A>
inline int sector(A ax, A ay) {
  if ((A)32768 * ay < (A)13573 * ax) return 0;
  if ((A)32768 * ay > (A)79109 * ax) return 1;
  return 2;
}

// Map row y + 1 from the magnitude rows above (mu), at (mc) and below (md)
// row y, each padded with one zero on both ends. Returns the strong count.
template <class G, class M, class A>
int suppressRow(const G* gx, const G* gy, const M* mu, const M* mc, const M* md, int W, M tl, M th,
                Kvp8u* map, int32_t mapRow, int32_t* stack) {
  // Pre-test in lanes: map bytes 1 for pixels above the low threshold,
  // then visit only those, eight bytes at a time.
  map[0] = 0;
  map[W + 1] = 0;
#pragma omp simd
  for (int x = 0; x < W; ++x) map[x + 1] = (Kvp8u)(mc[x + 1] > tl);
  int n = 0;
  auto visit = [&](int x) {
    const M m = mc[x + 1];
    const G a = gx[x], b = gy[x];
    A ax, ay;
    if constexpr (sizeof(A) == 4) {
      ax = (A)(a < 0 ? -(int)a : (int)a);
      ay = (A)(b < 0 ? -(int)b : (int)b);
    } else {
      ax = std::fabs((A)a);
      ay = std::fabs((A)b);
    }
    bool c;
    switch (sector(ax, ay)) {
      case 0:
        c = m > mc[x] && m >= mc[x + 2];
        break;
      case 1:
        c = m > mu[x + 1] && m >= md[x + 1];
        break;
      default: {
        const int s = ((a < 0) != (b < 0)) ? -1 : 1;
        c = m > mu[x + 1 - s] && m > md[x + 1 + s];
      }
    }
    if (!c) {
      map[x + 1] = 0;
      return;
    }
    if (m > th) {
      map[x + 1] = 2;
      stack[n++] = mapRow + x + 1;
    } else {
      map[x + 1] = 1;
    }
  };
  const int w8 = W & ~7;
  for (int x0 = 0; x0 < w8; x0 += 8) {
    uint64_t w;
    std::memcpy(&w, map + 1 + x0, 8);
    while (w) {
      const int b = __builtin_ctzll(w) >> 3;
      w &= ~(0xffULL << (8 * b));
      visit(x0 + b);
    }
  }
  for (int x = w8; x < W; ++x)
    if (map[x + 1]) visit(x);
  return n;
}

struct Layout {
  Kvp8u* map;
  int32_t* stack;
  Kvp8u* slices;
  long long sliceBytes;
};

Layout carve(Kvp8u* buf, int W, int H, long long sliceBytes) {
  Kvp8u* p = kvp::alignUp(buf, 64);
  Layout l;
  l.map = p;
  p += kvp::edges::a64((long long)(W + 2) * (H + 2));
  l.stack = reinterpret_cast<int32_t*>(p);
  p += 4LL * W * H;
  l.slices = kvp::alignUp(p, 64);
  l.sliceBytes = sliceBytes;
  return l;
}

// Hysteresis from the strong candidates of the team's bands.
void hysteresis(const Layout& l, const int* counts, int team, int W, int H) {
  const int stride = W + 2;
  Kvp8u* map = l.map;
  // Pack the band parts of the stack to the front, in band order.
  long long sp = 0;
  const int per = H / team;
  for (int t = 0; t < team; ++t) {
    const long long from = (long long)t * per * W;
    if (counts[t] && from != sp)
      std::memmove(l.stack + sp, l.stack + from, sizeof(int32_t) * (size_t)counts[t]);
    sp += counts[t];
  }
  int32_t* st = l.stack;
  const int off[8] = {-stride - 1, -stride, -stride + 1, -1, 1, stride - 1, stride, stride + 1};
  while (sp > 0) {
    const int32_t i = st[--sp];
    for (int k = 0; k < 8; ++k) {
      const int32_t j = i + off[k];
      if (map[j] == 1) {
        map[j] = 2;
        st[sp++] = j;
      }
    }
  }
}

// Rows y0 .. y0 + rows of the edge map: 255 where the map holds an edge.
void edgeRows(const Layout& l, int W, int y0, int rows, Kvp8u* dst, int dstStep) {
  const int stride = W + 2;
  for (int y = y0; y < y0 + rows; ++y) {
    const Kvp8u* m = l.map + (ptrdiff_t)(y + 1) * stride + 1;
    Kvp8u* d = rowAt(dst, dstStep, y);
#pragma omp simd
    for (int x = 0; x < W; ++x) d[x] = (Kvp8u)((m[x] >> 1) * 255);
  }
}

// The whole detector on the bands of one parallel region: band(y0, rows, t)
// marks the candidates of its rows and returns its strong count; after a
// barrier the first thread runs the hysteresis, and after a second one
// every thread writes the edge map of its own rows. The barriers need every
// thread of the team to hold a band, which H >= n guarantees (the team has
// at most n threads); shorter ROIs run the three steps one after another,
// the map in a second region.
template <class Band>
void cannyRun(const Layout& l, int W, int H, Kvp8u* dst, int dstStep, bool threaded, int n, Band&& band) {
  int counts[kvp::kMaxTeam] = {};
  if (threaded && H >= n) {
    kvp::forRowBands(
        H, true,
        [&](int y0, int rows, int t) {
          counts[t] = band(y0, rows, t);
#pragma omp barrier
          if (t == 0) hysteresis(l, counts, omp_get_num_threads(), W, H);
#pragma omp barrier
          edgeRows(l, W, y0, rows, dst, dstStep);
        },
        n);
    return;
  }
  const int team = kvp::forRowBands(
      H, threaded, [&](int y0, int rows, int t) { counts[t] = band(y0, rows, t); }, n);
  hysteresis(l, counts, team, W, H);
  kvp::forRowBands(
      H, threaded, [&](int y0, int rows, int) { edgeRows(l, W, y0, rows, dst, dstStep); }, n);
}

// The band loop shared by every form: Rows supplies, for ROI row r, the
// derivative rows and the magnitude row (made into the given ring slot).
template <class G, class M, class A, class Rows>
int cannyBand(Rows& rows, const Layout& l, int W, int H, M tl, M th, int y0, int nrows, M* ring) {
  const int stride = W + 2;
  auto slot = [&](int r) { return ring + (ptrdiff_t)(((r % 3) + 3) % 3) * stride; };
  // Rows outside the ROI have magnitude 0; they take the slot of a row
  // three away, which is not in use then.
  auto make = [&](int r) {
    M* m = slot(r);
    m[0] = 0;
    m[W + 1] = 0;
    if (r < 0 || r >= H)
      std::memset(m, 0, sizeof(M) * (size_t)stride);
    else
      rows.magnitude(r, m + 1);
  };
  make(y0 - 1);
  make(y0);
  int32_t* stack = l.stack + (ptrdiff_t)y0 * W;
  int n = 0;
  if (y0 == 0) {
    std::memset(l.map, 0, (size_t)stride);
    std::memset(l.map + (ptrdiff_t)(H + 1) * stride, 0, (size_t)stride);
  }
  for (int y = y0; y < y0 + nrows; ++y) {
    make(y + 1);
    const M* mu = slot(y - 1);
    const M* md = slot(y + 1);
    const int32_t mapRow = (y + 1) * stride;
    n += suppressRow<G, M, A>(rows.gx(y), rows.gy(y), mu, slot(y), md, W, tl, th, l.map + mapRow, mapRow,
                              stack + n);
  }
  return n;
}

// Precomputed derivatives.
template <class G, class M>
struct GivenRows {
  const G *dx, *dy;
  int dxStep, dyStep, W;
  const G* gx(int y) const { return rowAt(dx, dxStep, y); }
  const G* gy(int y) const { return rowAt(dy, dyStep, y); }
  void magnitude(int y, M* m) const {
    const G* a = gx(y);
    const G* b = gy(y);
    if constexpr (sizeof(G) == 2) {
#pragma omp simd
      for (int x = 0; x < W; ++x) m[x] = (uint32_t)((int)a[x] * a[x]) + (uint32_t)((int)b[x] * b[x]);
    } else {
#pragma omp simd
      for (int x = 0; x < W; ++x) m[x] = (double)a[x] * (double)a[x] + (double)b[x] * (double)b[x];
    }
  }
};

template <class G>
KvpStatus cannyGiven(const G* pDx, int dxStep, const G* pDy, int dyStep, Kvp8u* pDst, int dstStep,
                     KvpiSize roi, float low, float high, Kvp8u* pBuffer) {
  if (KvpStatus s = kvp::checkPlanes(
          roi, {kvp::plane(pDx, dxStep), kvp::plane(pDy, dyStep), kvp::plane(pDst, dstStep)}, {pBuffer}))
    return s;
  if (KvpStatus s = checkCannyThresholds(low, high)) return s;
  const int W = roi.width, H = roi.height;
  const int n = kvp::edges::teamSize();
  const bool threaded = kvp::edges::threadedFor(roi);
  const Layout l = carve(pBuffer, W, H, 24LL * (W + 2) + 64);
  using M = std::conditional_t<sizeof(G) == 2, uint32_t, double>;
  M tl, th;
  if constexpr (sizeof(G) == 2) {
    const double a = low < 32767.0f ? low : 32767.0, b = high < 32767.0f ? high : 32767.0;
    tl = (M)std::floor(a * a);
    th = (M)std::floor(b * b);
  } else {
    tl = (double)low * (double)low;
    th = (double)high * (double)high;
  }
  GivenRows<G, M> rows{pDx, pDy, dxStep, dyStep, W};
  cannyRun(l, W, H, pDst, dstStep, threaded, n, [&](int y0, int nr, int t) {
    M* ring = reinterpret_cast<M*>(l.slices + (ptrdiff_t)t * l.sliceBytes);
    return cannyBand<G, M, std::conditional_t<sizeof(G) == 2, uint32_t, double>>(rows, l, W, H, tl, th, y0,
                                                                                 nr, ring);
  });
  return kvpStsOk;
}

// Derivatives made from the 8-bit source with a border rule.
template <class FX, class FY, bool L2>
struct BorderRows {
  const Kvp8u* src;
  int srcStep, W, H, border;
  Kvp8u value;
  int16_t *ringX, *ringY;  // K row-pass rows each
  int16_t *dx3, *dy3;      // derivative rows of three ROI rows
  Kvp8u* piece;
  int nextSrc;
  static constexpr int K = FX{}.k(), R = K / 2;
  const int16_t* gx(int y) const { return dx3 + (ptrdiff_t)(y % 3) * W; }
  const int16_t* gy(int y) const { return dy3 + (ptrdiff_t)(y % 3) * W; }
  void rowPass(int yy) {
    const Kvp8u* s = nullptr;
    if (yy >= 0 && yy < H)
      s = rowAt(src, srcStep, yy);
    else if (border != filt::kBorderConst)
      s = rowAt(src, srcStep, filt::borderIndex(yy, H, border));
    const int slot = ((yy % K) + K) % K;
    int16_t* ox[1] = {ringX + (ptrdiff_t)slot * W};
    int16_t* oy[1] = {ringY + (ptrdiff_t)slot * W};
    bf::rowPass(FX{}, s, W, border, &value, piece, ox);
    bf::rowPass(FY{}, s, W, border, &value, piece, oy);
  }
  void magnitude(int r, uint32_t* m) {
    if (nextSrc < r - R) nextSrc = r - R;
    while (nextSrc <= r + R) rowPass(nextSrc++);
    auto win = [r](int16_t* ring, int W_) {
      return [ring, r, W_](int, int j) -> const int16_t* {
        const int yy = r - R + j;
        return ring + (ptrdiff_t)(((yy % K) + K) % K) * W_;
      };
    };
    int16_t* a = dx3 + (ptrdiff_t)(r % 3) * W;
    int16_t* b = dy3 + (ptrdiff_t)(r % 3) * W;
    FX::col(win(ringX, W), a, W);
    FY::col(win(ringY, W), b, W);
    if constexpr (L2) {
#pragma omp simd
      for (int x = 0; x < W; ++x) m[x] = (uint32_t)((int)a[x] * a[x] + (int)b[x] * b[x]);
    } else {
#pragma omp simd
      for (int x = 0; x < W; ++x) m[x] = (uint32_t)((a[x] < 0 ? -a[x] : a[x]) + (b[x] < 0 ? -b[x] : b[x]));
    }
  }
};

template <class FX, class FY, bool L2>
void cannyBorderRun(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roi, int border,
                    Kvp8u value, uint32_t tl, uint32_t th, Kvp8u* pBuffer) {
  const int W = roi.width, H = roi.height;
  const int n = kvp::edges::teamSize();
  const bool threaded = kvp::edges::threadedFor(roi);
  const Layout l = carve(pBuffer, W, H, cannyBorderSlice(W));
  cannyRun(l, W, H, pDst, dstStep, threaded, n, [&](int y0, int nr, int t) {
    Kvp8u* s = l.slices + (ptrdiff_t)t * l.sliceBytes;
    // Magnitude ring (4 rows of W + 2), row-pass rings, three
    // derivative rows of each kind, the bordered piece.
    uint32_t* ring = reinterpret_cast<uint32_t*>(s);
    s += 16LL * (W + 2);  // 12 (W + 2) rounded up
    constexpr int K = BorderRows<FX, FY, L2>::K;
    BorderRows<FX, FY, L2> rows{pSrc,    srcStep, W,       H,       border,  value,
                                nullptr, nullptr, nullptr, nullptr, nullptr, -(1 << 30)};
    rows.ringX = reinterpret_cast<int16_t*>(s);
    rows.ringY = rows.ringX + (ptrdiff_t)K * W;
    rows.dx3 = rows.ringY + (ptrdiff_t)K * W;
    rows.dy3 = rows.dx3 + 3 * (ptrdiff_t)W;
    rows.piece = reinterpret_cast<Kvp8u*>(rows.dy3 + 3 * (ptrdiff_t)W);
    return cannyBand<int16_t, uint32_t, uint32_t>(rows, l, W, H, tl, th, y0, nr, ring);
  });
}

template <const auto& RX, const auto& CX, const auto& RY, const auto& CY, int K, bool L2>
void cannyBorderMask(const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep, KvpiSize roi, int border,
                     Kvp8u value, uint32_t tl, uint32_t th, Kvp8u* pBuffer) {
  cannyBorderRun<bf::Sep<RX, CX, K, Kvp8u, int16_t>, bf::Sep<RY, CY, K, Kvp8u, int16_t>, L2>(
      pSrc, srcStep, pDst, dstStep, roi, border, value, tl, th, pBuffer);
}

template <bool L2>
void cannyBorderKernel(int kern, int mask, const Kvp8u* pSrc, int srcStep, Kvp8u* pDst, int dstStep,
                       KvpiSize roi, int border, Kvp8u value, uint32_t tl, uint32_t th, Kvp8u* pBuffer) {
  using namespace filt;
  if (kern == kvpFilterScharr)
    cannyBorderMask<kerDx_3_16s, kerScharr_3_16s, kerScharr_3_16s, kerDx_3_16s, 3, L2>(
        pSrc, srcStep, pDst, dstStep, roi, border, value, tl, th, pBuffer);
  else if (mask == kvpMskSize3x3)
    cannyBorderMask<kerDx_3_16s, kerSobel_3_16s, kerSobel_3_16s, kerDx_3_16s, 3, L2>(
        pSrc, srcStep, pDst, dstStep, roi, border, value, tl, th, pBuffer);
  else
    cannyBorderMask<kerDx_5_16s, kerSobel_5_16s, kerSobel_5_16s, kerDx_5_16s, 5, L2>(
        pSrc, srcStep, pDst, dstStep, roi, border, value, tl, th, pBuffer);
}

}  // namespace
}  // namespace KVP_ED_ISA

const KernelTable KVP_ED_TABLE = {KVP_ED_ISA::cannyGiven<int16_t>, KVP_ED_ISA::cannyGiven<float>,
                                  KVP_ED_ISA::cannyBorderKernel<true>, KVP_ED_ISA::cannyBorderKernel<false>};

}  // namespace kvp::edges

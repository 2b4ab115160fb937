// Fuzzes the super-resolution calls: PSF tables of any values and sizes,
// planes of any size, step and offset, entry lists with positions and PSF
// numbers in and out of range, null pointers. Every call must return the
// status its arguments call for, write nothing when it fails (the entry
// check comes before any work), write nothing outside the residuals or the
// gradient's pixels, and match the plain loops of superres_ref.h bit for bit.
#include <cstring>
#include <vector>

#include "fuzz_support.h"
KVF_REF_BEGIN
#include "../superres/superres_ref.h"
KVF_REF_END

namespace {

constexpr long long kMaxPlaneBytes = 1 << 18;

struct Call {
  int s;
  KvpStatus init(void** pp, const float* t, int n) const {
    return s == 3 ? kvpiSRHNInitAlloc_PSF3x3(reinterpret_cast<KvpiSRHNSpec_PSF3x3**>(pp),
                                             reinterpret_cast<const Kvp32f(*)[9]>(t), n)
                  : kvpiSRHNInitAlloc_PSF2x2(reinterpret_cast<KvpiSRHNSpec_PSF2x2**>(pp),
                                             reinterpret_cast<const Kvp32f(*)[4]>(t), n);
  }
  KvpStatus release(void* p) const {
    return s == 3 ? kvpiSRHNFree_PSF3x3(static_cast<KvpiSRHNSpec_PSF3x3*>(p))
                  : kvpiSRHNFree_PSF2x2(static_cast<KvpiSRHNSpec_PSF2x2*>(p));
  }
};

void run(kvf::Reader& in) {
  const Call call{in.flag() ? 3 : 2};
  const int s = call.s;
  // The table: mostly ordinary taps, sometimes the special values.
  const uint8_t tabHow = in.byte();
  const int tabSize = tabHow < 8 ? in.intIn(-2, 1) : 1 + tabHow % 5;
  std::vector<float> tab((size_t)(tabSize > 0 ? tabSize : 1) * s * s);
  for (float& t : tab) t = (in.byte() < 16) ? in.pickFloat() : (float)in.intIn(-64, 64) / 16.f;
  const bool nullTab = tabHow == 255;
  void* psf = nullptr;
  const KvpStatus ist = call.init(&psf, nullTab ? nullptr : tab.data(), tabSize);
  const KvpStatus iexp = srref::initStatus(false, nullTab ? nullptr : tab.data(), tabSize, s);
  KVF_REQUIRE(ist == iexp, "InitAlloc status %d, expected %d", (int)ist, (int)iexp);
  if (ist != kvpStsOk) {
    KVF_REQUIRE(psf == nullptr, "a failing InitAlloc stored a table");
    return;
  }

  // Plane, step and entries.
  const uint8_t how = in.byte();
  KvpiSize size{in.intIn(-1, 40), in.intIn(-1, 24)};
  if (how < 4) size = {in.raw<int32_t>(), in.raw<int32_t>()};
  const long long w = size.width > 0 ? size.width : 0;
  int step = (how & 0x10) ? in.raw<int32_t>() : (int)(w * 4 + in.intIn(-5, 40));
  const size_t lead = (size_t)in.intIn(0, 15) * 4;
  const int len = in.byte() < 8 ? in.intIn(-2, 0) : in.intIn(1, 64);
  const int n = len > 0 ? len : 1;
  std::vector<int> x(n), y(n);
  std::vector<unsigned> idx(n);
  std::vector<Kvp8u> src(n);
  std::vector<float> wgt(n);
  const int mx = (int)(size.width > s ? size.width - s : 0),
            my = (int)(size.height > s ? size.height - s : 0);
  for (int i = 0; i < n; ++i) {
    const uint8_t k = in.byte();
    x[i] = k < 4 ? in.raw<int32_t>() : (k < 8 ? mx + 1 : in.intIn(0, mx));
    y[i] = (k & 0xf0) == 0x10 ? -1 : (k == 0x20 ? my + 1 : in.intIn(0, my));
    idx[i] = k == 0x30 ? (unsigned)tabSize : (k == 0x31 ? 0xffffffffu : (unsigned)in.intIn(0, tabSize - 1));
    src[i] = in.byte();
    wgt[i] = (in.byte() < 16) ? in.pickFloat() : (float)in.intIn(-2000, 2000) / 8.f;
  }
  const uint8_t nulls = in.byte();
  const int nullArg = nulls < 64 ? nulls % 8 : 0;  // 1..7: that pointer null
  const bool fits = kvf::planeFits(w * 4, size.height, step, (long long)lead, kMaxPlaneBytes);
  const bool residual = in.flag();
  // pResidual (argument 3) is not one of the gradient's pointers.
  const bool anyNull = nullArg != 0 && (residual || nullArg != 3);
  const KvpStatus expect =
      anyNull ? kvpStsNullPtr
              : srref::workStatus(s, step, size, x.data(), y.data(), idx.data(), len, tabSize);
  if (expect == kvpStsOk && !fits) {
    call.release(psf);
    return;
  }
  kvf::GuardedPlane plane = fits ? kvf::GuardedPlane((size_t)w * 4, size.height, (size_t)step, lead, how)
                                 : kvf::GuardedPlane::trap(how);
  if (fits)
    for (int r = 0; r < size.height; ++r)
      for (long long c = 0; c < w; ++c) {
        const float v = (in.byte() < 16) ? in.pickFloat() : (float)in.intIn(-1000, 1000) / 4.f;
        std::memcpy(plane.row(r) + c * 4, &v, 4);
      }
  plane.arm();
  kvf::GuardedPlane res((size_t)n * 4, 1, (size_t)n * 4, 0, 3);
  res.arm();
  auto p = [&](int i, auto* q) { return nullArg == i ? nullptr : q; };

  if (residual) {
    const KvpStatus st =
        s == 3 ? kvpiSRHNCalcResidual_PSF3x3_8u32f_C1R(p(1, src.data()), p(2, plane.as<const Kvp32f>()), step,
                                                       size, p(3, res.as<Kvp32f>()), p(4, x.data()),
                                                       p(5, y.data()), p(6, idx.data()), len,
                                                       p(7, static_cast<const KvpiSRHNSpec_PSF3x3*>(psf)))
               : kvpiSRHNCalcResidual_PSF2x2_8u32f_C1R(p(1, src.data()), p(2, plane.as<const Kvp32f>()), step,
                                                       size, p(3, res.as<Kvp32f>()), p(4, x.data()),
                                                       p(5, y.data()), p(6, idx.data()), len,
                                                       p(7, static_cast<const KvpiSRHNSpec_PSF2x2*>(psf)));
    KVF_REQUIRE(st == expect, "residual status %d, expected %d", (int)st, (int)expect);
    KVF_REQUIRE(plane.unchanged(), "the estimate was written");
    if (st != kvpStsOk) {
      KVF_REQUIRE(res.unchanged(), "a failing call wrote residuals");
    } else {
      std::vector<float> want(n);
      srref::residual(s, tab.data(), src.data(), plane.as<const float>(), step, want.data(), x.data(),
                      y.data(), idx.data(), len);
      KVF_REQUIRE(kvf::sameFloats(want.data(), res.roi(), (size_t)len), "residuals differ");
    }
  } else {
    const KvpStatus st =
        s == 3
            ? kvpiSRHNUpdateGradient_PSF3x3_32f_C1R(p(2, plane.as<Kvp32f>()), step, size, p(4, x.data()),
                                                    p(5, y.data()), p(6, idx.data()), p(1, wgt.data()), len,
                                                    p(7, static_cast<const KvpiSRHNSpec_PSF3x3*>(psf)))
            : kvpiSRHNUpdateGradient_PSF2x2_32f_C1R(p(2, plane.as<Kvp32f>()), step, size, p(4, x.data()),
                                                    p(5, y.data()), p(6, idx.data()), p(1, wgt.data()), len,
                                                    p(7, static_cast<const KvpiSRHNSpec_PSF2x2*>(psf)));
    KVF_REQUIRE(st == expect, "gradient status %d, expected %d", (int)st, (int)expect);
    if (st != kvpStsOk) {
      KVF_REQUIRE(plane.unchanged(), "a failing call wrote the gradient");
    } else {
      KVF_REQUIRE(plane.guardsIntact(), "a write outside the gradient's pixels");
      std::vector<float> want((size_t)size.height * step / 4);
      for (int r = 0; r < size.height; ++r)
        std::memcpy(&want[(size_t)r * step / 4], plane.armedRow(r), w * 4);
      srref::gradient(s, tab.data(), want.data(), step, x.data(), y.data(), idx.data(), wgt.data(), len);
      for (int r = 0; r < size.height; ++r)
        KVF_REQUIRE(kvf::sameFloats(&want[(size_t)r * step / 4], plane.row(r), (size_t)w),
                    "gradient row %d differs", r);
    }
  }
  KVF_REQUIRE(call.release(psf) == kvpStsOk, "Free failed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader in(data, size);
  run(in);
  return 0;
}

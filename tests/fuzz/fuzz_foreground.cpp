// Fuzzes the background models: model records of any field values, frame
// sizes, steps and offsets, short sequences with arbitrary pixels, and
// working calls with bad arguments in between. InitAlloc must return the
// status the record calls for; every working call must return its status,
// write nothing when it fails, write nothing outside its planes, and give
// the masks and reference backgrounds of foreground_ref.h bit for bit (a
// failed call must leave the state as it was, so later frames still match).
#include <cstring>
#include <optional>
#include <vector>

#include "fuzz_support.h"
KVF_REF_BEGIN
#include "../foreground/foreground_ref.h"
KVF_REF_END

namespace {

constexpr int kMaxW = 24, kMaxH = 10;

int pickInt(kvf::Reader& in, int lo, int hi) { return in.byte() < 12 ? in.raw<int32_t>() : in.intIn(lo, hi); }
float pickRate(kvf::Reader& in, float lo, float hi) {
  const uint8_t k = in.byte();
  if (k < 16) return in.pickFloat();
  return lo + (hi - lo) * (float)(k - 16) / 239.f;
}

KvpFGHistogramModel readHist(kvf::Reader& in) {
  KvpFGHistogramModel m;
  m.valueQuant = pickInt(in, 1, 257);
  m.changeQuant = pickInt(in, 1, 41);
  m.valueUse = pickInt(in, 0, 4);
  m.valueAll = pickInt(in, 1, 8);
  m.changeUse = pickInt(in, 0, 4);
  m.changeAll = pickInt(in, 1, 8);
  m.updBGChange = pickRate(in, 0.f, 1.f);
  m.updBGRef = pickRate(in, 0.f, 1.f);
  m.numFrame = pickInt(in, -1, 3);
  m.detectionRate = pickRate(in, 0.f, 1.f);
  m.brightnessDistortion = pickRate(in, 0.f, 1.f);
  m.shadowBG = in.byte() & 1;
  m.diffThreshold = pickInt(in, 0, 80);
  return m;
}

KvpFGGaussianModel readGauss(kvf::Reader& in) {
  KvpFGGaussianModel m;
  m.numGauss = pickInt(in, 0, 9);
  m.priorBack = pickRate(in, 0.f, 1.f);
  m.updBGProb = in.flag() ? -1.f : pickRate(in, 0.f, 1.f);
  m.winSize = pickInt(in, 0, 5);
  m.numFrame = pickInt(in, -1, 3);
  m.detectionRate = pickRate(in, 0.f, 1.f);
  m.brightnessDistortion = pickRate(in, 0.f, 1.f);
  m.shadowBG = in.byte() & 1;
  m.noiseSigma = pickRate(in, 0.f, 20.f);
  return m;
}

struct Frame {
  std::vector<uint8_t> px;  // packed rows
};

// A plane laid out from packed rows with the given step and lead.
kvf::GuardedPlane place(const uint8_t* packed, int rowBytes, int rows, int step, size_t lead, uint8_t seed) {
  kvf::GuardedPlane p((size_t)rowBytes, rows, (size_t)step, lead, seed);
  for (int y = 0; y < rows; ++y) std::memcpy(p.row(y), packed + (size_t)y * rowBytes, (size_t)rowBytes);
  p.arm();
  return p;
}

bool samePacked(const kvf::GuardedPlane& p, const std::vector<uint8_t>& want, int rowBytes, int rows) {
  for (int y = 0; y < rows; ++y)
    if (std::memcmp(p.row(y), want.data() + (size_t)y * rowBytes, (size_t)rowBytes) != 0) return false;
  return true;
}

void run(kvf::Reader& in) {
  const bool gaussian = in.flag();
  const int C = in.flag() ? 3 : 1;
  const KvpiSize size{in.intIn(in.byte() < 8 ? -1 : 1, kMaxW), in.intIn(in.byte() < 8 ? -1 : 1, kMaxH)};
  const int w = size.width > 0 ? size.width : 1, h = size.height > 0 ? size.height : 1;
  const bool defaults = in.byte() < 40;
  const KvpFGHistogramModel hm = defaults ? fgref::histDefaults() : readHist(in);
  const KvpFGGaussianModel gm = defaults ? fgref::gaussDefaults() : readGauss(in);
  const int frames = 1 + in.byte() % 5;
  // Frames: a base image, then pixels that mostly stay, sometimes jump.
  std::vector<Frame> seq(frames);
  seq[0].px.resize((size_t)w * h * C);
  for (auto& v : seq[0].px) v = in.byte();
  for (int t = 1; t < frames; ++t) {
    seq[t].px = seq[t - 1].px;
    for (auto& v : seq[t].px) {
      const uint8_t k = in.byte();
      if (k < 64)
        v = in.byte();
      else if (k < 128)
        v = (uint8_t)std::min(255, std::max(0, v + (int)(k & 15) - 8));
    }
  }
  const int srcStep = w * C + in.intIn(in.byte() < 8 ? -2 : 0, 9);
  const bool nullSrc = in.byte() == 1;
  const bool modelOk = defaults || (gaussian ? fgref::validGauss(gm) : fgref::validHist(hm, C));
  const KvpStatus iexp = fgref::initStatus(nullSrc, false, size, srcStep, C, modelOk);
  const bool planeOk = size.width > 0 && size.height > 0 && srcStep >= w * C;
  std::optional<kvf::GuardedPlane> f0;
  if (planeOk) f0.emplace(place(seq[0].px.data(), w * C, h, srcStep, (size_t)in.intIn(0, 7), 1));
  const uint8_t* src0 = nullSrc ? nullptr : (f0 ? f0->roi() : reinterpret_cast<const uint8_t*>(&hm));
  void* state = nullptr;
  KvpStatus ist;
  if (gaussian)
    ist = (C == 1 ? kvpiForegroundGaussianInitAlloc_8u_C1R : kvpiForegroundGaussianInitAlloc_8u_C3R)(
        src0, srcStep, size, defaults && in.flag() ? nullptr : &gm,
        reinterpret_cast<KvpiFGGaussianState**>(&state));
  else
    ist = (C == 1 ? kvpiForegroundHistogramInitAlloc_8u_C1R : kvpiForegroundHistogramInitAlloc_8u_C3R)(
        src0, srcStep, size, defaults && in.flag() ? nullptr : &hm,
        reinterpret_cast<KvpiFGHistogramState**>(&state));
  KVF_REQUIRE(ist == iexp, "InitAlloc status %d, expected %d", (int)ist, (int)iexp);
  if (ist != kvpStsOk) {
    KVF_REQUIRE(state == nullptr, "a failing InitAlloc stored a state");
    return;
  }
  KVF_REQUIRE(f0->unchanged(), "InitAlloc wrote its frame");

  std::optional<fgref::Histogram> href;
  std::optional<fgref::Gaussian> gref;
  if (gaussian)
    gref.emplace(C, gm, w, h, seq[0].px.data(), w * C);
  else
    href.emplace(C, hm, w, h, seq[0].px.data(), w * C);

  for (int t = 1; t < frames; ++t) {
    // Now and then a call with a bad argument first; it must fail cleanly.
    const uint8_t bad = in.byte();
    const int refStep = w * C + in.intIn(0, 5), fgStep = w + in.intIn(0, 5);
    kvf::GuardedPlane src = place(seq[t].px.data(), w * C, h, srcStep, (size_t)in.intIn(0, 7), 2);
    kvf::GuardedPlane ref((size_t)w * C, h, (size_t)refStep, (size_t)in.intIn(0, 7), 3);
    kvf::GuardedPlane fg((size_t)w, h, (size_t)fgStep, (size_t)in.intIn(0, 7), 4);
    ref.arm();
    fg.arm();
    if (bad < 96) {
      const int which = bad % 4;
      KvpiSize roi = which == 0 ? KvpiSize{w, h - 1} : size;
      const int rs = which == 1 ? w * C - 1 : refStep, fs = which == 2 ? w - 1 : fgStep;
      uint8_t* refp = which == 3 ? nullptr : ref.roi();
      KvpStatus st, want;
      if (gaussian) {
        want = fgref::workStatus(which == 3, true, roi, size, C, srcStep, rs, fs, true);
        st = (C == 1 ? kvpiForegroundGaussian_8u_C1R : kvpiForegroundGaussian_8u_C3R)(
            src.roi(), srcStep, refp, rs, fg.roi(), fs, roi, static_cast<KvpiFGGaussianState*>(state));
      } else {
        want = fgref::workStatus(which == 3, true, roi, size, C, srcStep, rs, 0, false);
        if (which == 2) want = kvpStsOk;  // Update takes no mask
        if (want == kvpStsOk) {
          st = kvpStsOk;  // nothing bad to try
        } else {
          st = (C == 1 ? kvpiForegroundHistogramUpdate_8u_C1R : kvpiForegroundHistogramUpdate_8u_C3R)(
              src.roi(), srcStep, refp, rs, roi, static_cast<KvpiFGHistogramState*>(state));
        }
      }
      KVF_REQUIRE(st == want, "bad call %d: status %d, expected %d", which, (int)st, (int)want);
      KVF_REQUIRE(ref.unchanged() && fg.unchanged(), "a failing call wrote output");
    }
    std::vector<uint8_t> wantMask((size_t)w * h), wantRef((size_t)w * h * C);
    if (gaussian) {
      const KvpStatus st = (C == 1 ? kvpiForegroundGaussian_8u_C1R : kvpiForegroundGaussian_8u_C3R)(
          src.roi(), srcStep, ref.roi(), refStep, fg.roi(), fgStep, size,
          static_cast<KvpiFGGaussianState*>(state));
      KVF_REQUIRE(st == kvpStsOk, "status %d", (int)st);
      gref->apply(seq[t].px.data(), w * C, wantRef.data(), w * C, wantMask.data(), w);
      KVF_REQUIRE(samePacked(fg, wantMask, w, h), "Gaussian mask of frame %d differs", t + 1);
    } else {
      const KvpStatus sc = (C == 1 ? kvpiForegroundHistogram_8u_C1R : kvpiForegroundHistogram_8u_C3R)(
          static_cast<KvpiFGHistogramState*>(state), src.roi(), srcStep, fg.roi(), fgStep);
      KVF_REQUIRE(sc == kvpStsOk, "status %d", (int)sc);
      href->classify(seq[t].px.data(), w * C, wantMask.data(), w);
      KVF_REQUIRE(samePacked(fg, wantMask, w, h), "histogram mask of frame %d differs", t + 1);
      const KvpStatus su =
          (C == 1 ? kvpiForegroundHistogramUpdate_8u_C1R : kvpiForegroundHistogramUpdate_8u_C3R)(
              src.roi(), srcStep, ref.roi(), refStep, size, static_cast<KvpiFGHistogramState*>(state));
      KVF_REQUIRE(su == kvpStsOk, "status %d", (int)su);
      href->update(seq[t].px.data(), w * C, wantRef.data(), w * C);
    }
    KVF_REQUIRE(samePacked(ref, wantRef, w * C, h), "reference background of frame %d differs", t + 1);
    KVF_REQUIRE(ref.guardsIntact() && fg.guardsIntact() && src.unchanged(), "a write outside the outputs");
  }
  const KvpStatus fr = gaussian ? kvpiForegroundGaussianFree(static_cast<KvpiFGGaussianState*>(state))
                                : kvpiForegroundHistogramFree(static_cast<KvpiFGHistogramState*>(state));
  KVF_REQUIRE(fr == kvpStsOk, "Free failed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kvf::Reader in(data, size);
  run(in);
  return 0;
}

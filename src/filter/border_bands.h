// Instantiates every band routine of the border filters into a BandTable
// named KVP_BF_TABLE, compiled in the instruction-set namespace KVP_BF_ISA.
#include "filter/border_table.h"

namespace kvp::bf {
inline namespace KVP_BF_ISA {
namespace {

using namespace kvp::filt;

template <class F>
void fixedBand(const Job& job, int y0, int rows, int t) {
  band(F{}, job, y0, rows, t);
}

template <class F>
void tapBand(const Job& job, int y0, int rows, int t) {
  using Tap = std::remove_cv_t<std::remove_pointer_t<decltype(F::g)>>;
  band(F{static_cast<const Tap*>(job.taps), job.k}, job, y0, rows, t);
}

template <const auto& A, const auto& B, int K>
constexpr BandFn sep[3] = {fixedBand<Sep<A, B, K, Kvp8u, int16_t>>, fixedBand<Sep<A, B, K, Kvp8s, int16_t>>,
                           fixedBand<Sep<A, B, K, float, float>>};

#define KVP_BF_SIDES(...)                                                                     \
  {                                                                                           \
    (__VA_ARGS__)[0], (__VA_ARGS__)[1], (__VA_ARGS__)[2], (__VA_ARGS__)[3], (__VA_ARGS__)[4], \
        (__VA_ARGS__)[5], (__VA_ARGS__)[6], (__VA_ARGS__)[7]                                  \
  }

// Row taps A3/A5 and column taps B3/B5 of one operation, both masks.
#define KVP_BF_SEP(A3, B3, A5, B5)                                                    \
  {                                                                                   \
    {sep<A3, B3, 3>[0], sep<A5, B5, 5>[0]}, {sep<A3, B3, 3>[1], sep<A5, B5, 5>[1]}, { \
      sep<A3, B3, 3>[2], sep<A5, B5, 5>[2]                                            \
    }                                                                                 \
  }

// Sides 3, 5, ..., 15 built in, then any other.
template <class S, int C>
constexpr BandFn gaussIntSides[8] = {tapBand<GaussInt<3, S, C>>,  tapBand<GaussInt<5, S, C>>,
                                     tapBand<GaussInt<7, S, C>>,  tapBand<GaussInt<9, S, C>>,
                                     tapBand<GaussInt<11, S, C>>, tapBand<GaussInt<13, S, C>>,
                                     tapBand<GaussInt<15, S, C>>, tapBand<GaussInt<0, S, C>>};
template <int C>
constexpr BandFn gauss32fSides[8] = {
    tapBand<Gauss32f<3, C>>,  tapBand<Gauss32f<5, C>>,  tapBand<Gauss32f<7, C>>,  tapBand<Gauss32f<9, C>>,
    tapBand<Gauss32f<11, C>>, tapBand<Gauss32f<13, C>>, tapBand<Gauss32f<15, C>>, tapBand<Gauss32f<0, C>>};

}  // namespace
}  // namespace KVP_BF_ISA

const BandTable KVP_BF_TABLE = {
    {KVP_BF_SEP(kerSobel_3_16s, kerDxNeg_3_16s, kerSobel_5_16s, kerDxNeg_5_16s),
     KVP_BF_SEP(kerDx_3_16s, kerSobel_3_16s, kerDx_5_16s, kerSobel_5_16s),
     KVP_BF_SEP(kerSobel_3_16s, kerD2x_3_16s, kerSobel_5_16s, kerD2x_5_16s),
     KVP_BF_SEP(kerD2x_3_16s, kerSobel_3_16s, kerD2x_5_16s, kerSobel_5_16s),
     KVP_BF_SEP(kerDx_3_16s, kerDx_3_16s, kerDx_5_16s, kerDx_5_16s),
     KVP_BF_SEP(kerDxNeg_3_16s, kerSobel_3_16s, kerDxNeg_5_16s, kerSobel_5_16s),
     {{sep<kerScharr_3_16s, kerDxNeg_3_16s, 3>[0], nullptr},
      {sep<kerScharr_3_16s, kerDxNeg_3_16s, 3>[1], nullptr},
      {sep<kerScharr_3_16s, kerDxNeg_3_16s, 3>[2], nullptr}},
     {{sep<kerDx_3_16s, kerScharr_3_16s, 3>[0], nullptr},
      {sep<kerDx_3_16s, kerScharr_3_16s, 3>[1], nullptr},
      {sep<kerDx_3_16s, kerScharr_3_16s, 3>[2], nullptr}},
     {{fixedBand<Lap<kerD2x_3_16s, kerSobel_3_16s, 3, Kvp8u, int16_t>>,
       fixedBand<Lap<kerD2x_5_16s, kerSobel_5_16s, 5, Kvp8u, int16_t>>},
      {fixedBand<Lap<kerD2x_3_16s, kerSobel_3_16s, 3, Kvp8s, int16_t>>,
       fixedBand<Lap<kerD2x_5_16s, kerSobel_5_16s, 5, Kvp8s, int16_t>>},
      {fixedBand<Lap3f>, fixedBand<Lap<kerD2x_5_16s, kerSobel_5_16s, 5, float, float>>}}},
    {{{fixedBand<Box8u<3, 1>>, fixedBand<Box8u<5, 1>>}, {fixedBand<Box8u<3, 3>>, fixedBand<Box8u<5, 3>>}},
     {{fixedBand<Box32f<3, 1>>, fixedBand<Box32f<5, 1>>},
      {fixedBand<Box32f<3, 3>>, fixedBand<Box32f<5, 3>>}}},
    {KVP_BF_SIDES(gaussIntSides<Kvp8u, 1>), KVP_BF_SIDES(gaussIntSides<Kvp8u, 3>),
     KVP_BF_SIDES(gaussIntSides<Kvp16u, 1>), KVP_BF_SIDES(gauss32fSides<1>), KVP_BF_SIDES(gauss32fSides<3>)}};

#undef KVP_BF_SEP
#undef KVP_BF_SIDES

}  // namespace kvp::bf

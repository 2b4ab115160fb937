// Fixed-kernel routines and their tables.
#include "filter/fixed.h"

#include "filter/spans.h"

namespace kvp::filt {
namespace {

template <class S, class D, auto Taps, int K, int Base>
void fixedRow(const S* src, D* dst, int width, int flags, S borderValue) {
  S work[4 * K];
  const OpExact<S, D, Taps> op;
  filterRow<K>(op, src, width, 1, K, K / 2, Base | (flags & (kBorderInMemLeft | kBorderInMemRight)),
               &borderValue, work, dst);
}

template <class S, class D, auto Taps, int K>
void fixedColumn(const S* const* rows, D* dst, int width) {
  const OpExact<S, D, Taps> op;
  spanFixed<K>(
      op, [&](int j) { return rows[j]; }, dst, width);
}

// The five border routines of one row kernel. With three taps the centred
// window reaches one pixel past each end, where mirroring with the edge
// repeated is replication, so slot 4 holds the replicate routine.
template <class S, class D, auto Taps, int K>
constexpr void (*borders[5])(const S*, D*, int, int, S) = {
    fixedRow<S, D, Taps, K, kBorderConst>, fixedRow<S, D, Taps, K, kBorderRepl>,
    fixedRow<S, D, Taps, K, kBorderWrap>, fixedRow<S, D, Taps, K, kBorderMirr>,
    fixedRow<S, D, Taps, K, K == 3 ? kBorderRepl : kBorderMirrR>};

template <auto Taps, int K>
constexpr const ownRowBorders_8u16s* row8u = &borders<Kvp8u, Kvp16s, Taps, K>;
template <auto Taps, int K>
constexpr const ownRowBorders_32f* row32f = &borders<Kvp32f, Kvp32f, Taps, K>;

template <auto Taps, int K>
constexpr ownColumn_16s col16s = fixedColumn<Kvp16s, Kvp16s, Taps, K>;
template <auto Taps, int K>
constexpr ownColumn_16s8s col8s = fixedColumn<Kvp16s, Kvp8s, Taps, K>;
template <auto Taps, int K>
constexpr ownColumn_32f col32f = fixedColumn<Kvp32f, Kvp32f, Taps, K>;

}  // namespace

const ownRowBorders_8u16s* const owntabRow_8u16s[11] = {
    row8u<kerDx_3_16s, 3>,  row8u<kerScharr_3_16s, 3>, row8u<kerDxNeg_3_16s, 3>, row8u<kerDxNeg_5_16s, 5>,
    row8u<kerD2x_3_16s, 3>, row8u<kerD2x_5_16s, 5>,    row8u<kerSobel_3_16s, 3>, row8u<kerSobel_5_16s, 5>,
    row8u<kerAvr_3_16s, 3>, row8u<kerAvr_5_16s, 5>,    row8u<kerLap_3_16s, 3>};

const ownRowBorders_32f* const owntabRow_32f[11] = {
    row32f<kerDx_3_32f, 3>,  row32f<kerScharr_3_32f, 3>, row32f<kerDxNeg_3_32f, 3>, row32f<kerDxNeg_5_32f, 5>,
    row32f<kerD2x_3_32f, 3>, row32f<kerD2x_5_32f, 5>,    row32f<kerSobel_3_32f, 3>, row32f<kerSobel_5_32f, 5>,
    row32f<kerAvr_3_32f, 3>, row32f<kerAvr_5_32f, 5>,    row32f<kerLap_3_32f, 3>};

const ownColumn_32f owntabColumn_32f[13] = {
    col32f<kerScharr_3_32f, 3>,  col32f<kerDx_3_32f, 3>,  col32f<kerSobel_3_32f, 3>,
    col32f<kerSobel_5_32f, 5>,   col32f<kerDx_5_32f, 5>,  col32f<kerD2x_3_32f, 3>,
    col32f<kerD2x_5_32f, 5>,     col32f<kerLap_3_32f, 3>, col32f<kerLap_5_32f, 5>,
    col32f<kerAvr_3_32f, 3>,     col32f<kerAvr_5_32f, 5>, col32f<kerSobelNeg_3_32f, 3>,
    col32f<kerSobelNeg_5_32f, 5>};

const ownColumn_16s owntabColumn_8u16s[13] = {
    col16s<kerScharr_3_16s, 3>,   col16s<kerDx_3_16s, 3>,       col16s<kerSobel_3_16s, 3>,
    col16s<kerSobel_5_16s, 5>,    col16s<kerDx_5_16s, 5>,       col16s<kerD2x_3_16s, 3>,
    col16s<kerD2x_5_16s, 5>,      col16s<kerLap_3_16s, 3>,      col16s<kerLap_5_16s, 5>,
    col16s<kerSobelNeg_3_16s, 3>, col16s<kerSobelNeg_5_16s, 5>, col16s<kerSobelNeg_3_16s, 3>,
    col16s<kerSobelNeg_5_16s, 5>};

const ownColumn_16s8s owntabColumn_8u8s[13] = {
    col8s<kerScharr_3_16s, 3>,   col8s<kerDx_3_16s, 3>,       col8s<kerSobel_3_16s, 3>,
    col8s<kerSobel_5_16s, 5>,    col8s<kerDx_5_16s, 5>,       col8s<kerD2x_3_16s, 3>,
    col8s<kerD2x_5_16s, 5>,      col8s<kerLap_3_16s, 3>,      col8s<kerLap_3_16s, 3>,
    col8s<kerSobelNeg_3_16s, 3>, col8s<kerSobelNeg_5_16s, 5>, col8s<kerSobelNeg_3_16s, 3>,
    col8s<kerSobelNeg_5_16s, 5>};

}  // namespace kvp::filt

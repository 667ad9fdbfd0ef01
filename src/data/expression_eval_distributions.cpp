// data/expression_eval_distributions.cpp - the instructions that call a special function.

#include <algorithm>

#include "data/expression_machine.h"
#include "data/special_functions.h"

namespace korva {

namespace {

// f of the k top operands, x[0] the top one, lane by lane. With constants alone there is one lane.
template <int k, class F>
void apply(BlockMachine* m, F f) {
    const int d = m->depth - k;
    const double* x[k];
    double constants[k];  // a copy: the result may take the place of one
    int step[k];
    bool constant = true;
    for (int j = 0; j < k; j++) {
        const NumberOperand operand = m->numbers[m->depth - 1 - j];
        constants[j] = *operand.x;
        x[j] = operand.constant ? &constants[j] : operand.x;
        step[j] = operand.constant ? 0 : 1;
        constant = constant && operand.constant;
    }
    double* out = m->own[d];
    const int n = lanes_of(m, constant);
    for (int i = 0; i < n; i++) {
        if constexpr (k == 1) {
            out[i] = f(x[0][i * step[0]]);
        } else if constexpr (k == 2) {
            out[i] = f(x[0][i * step[0]], x[1][i * step[1]]);
        } else if constexpr (k == 3) {
            out[i] = f(x[0][i * step[0]], x[1][i * step[1]], x[2][i * step[2]]);
        } else {
            out[i] = f(x[0][i * step[0]], x[1][i * step[1]], x[2][i * step[2]], x[3][i * step[3]]);
        }
    }
    m->depth = d + 1;
    set_result(m, d, constant);
}

}  // namespace

// SPECIAL(instruction, arguments, function)
#define SPECIAL(name, k, function)                                                                 \
    void op_##name(BlockMachine* m, const int16_t*) {                                              \
        apply<k>(m, function);                                                                     \
    }

SPECIAL(NORMAL, 1, special_normal)
SPECIAL(LNNORMAL, 1, special_lnnormal)
SPECIAL(INVNORMAL, 1, special_invnormal)
SPECIAL(NORMALDEN, 1, special_normalden)
SPECIAL(NORMALDEN2, 2, [](double x, double sd) { return special_normalden_scaled(x, 0, sd); })
SPECIAL(NORMALDEN3, 3, special_normalden_scaled)
SPECIAL(LNNORMALDEN, 1, [](double x) { return special_lnnormalden_scaled(x, 0, 1); })
SPECIAL(LNNORMALDEN2, 2, [](double x, double sd) { return special_lnnormalden_scaled(x, 0, sd); })
SPECIAL(LNNORMALDEN3, 3, special_lnnormalden_scaled)
SPECIAL(BINORMAL, 3, special_binormal)

SPECIAL(LNGAMMA, 1, special_lngamma)
SPECIAL(LNFACTORIAL, 1, special_lnfactorial)
SPECIAL(DIGAMMA, 1, special_digamma)
SPECIAL(TRIGAMMA, 1, special_trigamma)
SPECIAL(COMB, 2, special_comb)
SPECIAL(GAMMAP, 2, special_gammap)
SPECIAL(INVGAMMAP, 2, special_invgammap)
SPECIAL(GAMMADEN, 4, special_gammaden)
SPECIAL(DGAMMAPDA, 2, special_dgammapda)
SPECIAL(DGAMMAPDX, 2, special_dgammapdx)
SPECIAL(DGAMMAPDADA, 2, special_dgammapdada)
SPECIAL(DGAMMAPDADX, 2, special_dgammapdadx)
SPECIAL(DGAMMAPDXDX, 2, special_dgammapdxdx)
SPECIAL(CHI2, 2, special_chi2)
SPECIAL(CHI2TAIL, 2, special_chi2tail)
SPECIAL(INVCHI2, 2, special_invchi2)
SPECIAL(INVCHI2TAIL, 2, special_invchi2tail)
SPECIAL(INVCHI, 2, special_invchi2tail)  // the old name's probability is that above

SPECIAL(IBETA, 3, special_ibeta)
SPECIAL(INVIBETA, 3, special_invibeta)
SPECIAL(BETADEN, 3, special_betaden)
SPECIAL(FPROBABILITY, 3, special_F)
SPECIAL(FTAIL, 3, special_Ftail)
SPECIAL(INVF, 3, special_invF)
SPECIAL(INVFTAIL, 3, special_invFtail)
SPECIAL(FDEN, 3, special_Fden)
SPECIAL(TDEN, 2, special_tden)
SPECIAL(TTAIL, 2, special_ttail)
SPECIAL(INVTTAIL, 2, special_invttail)
SPECIAL(TPROB, 2, special_tprob)
SPECIAL(INVT, 2, special_invt)
SPECIAL(BINOMIALTAIL, 3, special_binomialtail)
SPECIAL(INVBINOMIAL, 3, special_invbinomial)

SPECIAL(NCHI2, 3, special_nchi2)
SPECIAL(INVNCHI2, 3, special_invnchi2)
SPECIAL(NPNCHI2, 3, special_npnchi2)
SPECIAL(NIBETA, 4, special_nibeta)
SPECIAL(INVNIBETA, 4, special_invnibeta)
SPECIAL(NBETADEN, 4, special_nbetaden)
SPECIAL(NFDEN, 4, special_nFden)
SPECIAL(NFTAIL, 4, special_nFtail)
SPECIAL(INVNFTAIL, 4, special_invnFtail)

#undef SPECIAL

}  // namespace korva

// data/special_functions.h - special functions with this system's argument rules.
//
// A missing argument, a parameter outside of its domain, a pole, an overflow and a method that does
// not converge give `.`; nothing is thrown, and nothing is allocated. A variate outside of a
// distribution's support is no fault: the distribution is 0 or 1 there and the density 0. A
// probability is accepted from 0 to 1 where the inverse has a number for it.
//
// Names with `tail` give the probability above and are computed as such: they keep their digits
// where the distribution itself is 1. docs/numerics.md tells methods and accuracy.
#pragma once

namespace korva {

// --- Normal (special_normal.cpp) ---

double special_normal(double x);
double special_lnnormal(double x);   // its logarithm, also where it is near 0 or 1
double special_invnormal(double p);  // 0 < p < 1
double special_normalden(double x);
double special_normalden_scaled(double x, double mean, double sd);    // sd > 0
double special_lnnormalden_scaled(double x, double mean, double sd);  // sd > 0
// P(X <= h and Y <= k) of two standard normal variates with the correlation rho.
double special_binormal(double h, double k, double rho);

// --- Gamma (special_gamma.cpp) ---

double special_lngamma(double x);
double special_lnfactorial(double n);          // n a whole number from 0 on
double special_digamma(double x);              // the derivative of lngamma
double special_trigamma(double x);             // and its derivative
double special_comb(double n, double k);       // whole numbers, 0 <= k <= n
double special_gammap(double a, double x);     // lower incomplete gamma over gamma(a), a > 0
double special_invgammap(double a, double p);  // 0 <= p < 1
double special_gammaden(double a, double b, double g, double x);  // shape a, scale b, from g on
double special_dgammapda(double a, double x);                     // derivatives of gammap, x >= 0
double special_dgammapdx(double a, double x);
double special_dgammapdada(double a, double x);
double special_dgammapdadx(double a, double x);
double special_dgammapdxdx(double a, double x);
double special_chi2(double df, double x);  // df > 0
double special_chi2tail(double df, double x);
double special_invchi2(double df, double p);
double special_invchi2tail(double df, double p);

// --- Beta (special_beta.cpp) ---

double special_ibeta(double a, double b, double x);  // regularised, a > 0, b > 0
double special_invibeta(double a, double b, double p);
double special_betaden(double a, double b, double x);
double special_F(double df1, double df2, double f);
double special_Ftail(double df1, double df2, double f);
double special_invF(double df1, double df2, double p);
double special_invFtail(double df1, double df2, double p);
double special_Fden(double df1, double df2, double f);
double special_tden(double df, double t);
double special_ttail(double df, double t);     // P(T > t)
double special_invttail(double df, double p);  // 0 < p < 1
double special_tprob(double df, double t);     // P(|T| > |t|)
double special_invt(double df, double p);      // the t with P(|T| <= t) = p
// P(K >= k) of n trials with the success probability p; n and k are cut to whole numbers.
double special_binomialtail(double n, double k, double p);
// The success probability with which P(K >= k) = p; 1 <= k <= n.
double special_invbinomial(double n, double k, double p);

// --- Noncentral (special_noncentral.cpp): lambda from 0 on ---

double special_nchi2(double df, double lambda, double x);
double special_invnchi2(double df, double lambda, double p);
double special_npnchi2(double df, double x, double p);  // the lambda with nchi2(df, lambda, x) = p
double special_nibeta(double a, double b, double lambda, double x);
double special_invnibeta(double a, double b, double lambda, double p);
double special_nbetaden(double a, double b, double lambda, double x);
double special_nFden(double df1, double df2, double lambda, double f);
double special_nFtail(double df1, double df2, double lambda, double f);
double special_invnFtail(double df1, double df2, double lambda, double p);

}  // namespace korva

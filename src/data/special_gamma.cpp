// data/special_gamma.cpp - the gamma function and its kin, the gamma and the chi-squared
// distribution.
//
// Incomplete gamma functions are Boost.Math's; from a = 1e8 on, where its series would grow long,
// the uniform expansion of Temme (SIAM J. Math. Anal. 10, 1979, p. 757), of which three terms are
// exact there. Inverses start from Boost.Math's and take Newton steps in Wide, or bisect where that
// start is no solution. The derivatives by a are integrals of one sign: over the side of x on which
// ln(t) - digamma(a) does not change its sign.
#include <boost/math/special_functions/digamma.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <boost/math/special_functions/trigamma.hpp>
#include <numbers>

#include "data/special_functions.h"
#include "data/special_wide.h"

namespace korva {

namespace special {

namespace {

constexpr Wide kHugeShape = 1e8L;   // from it on only a narrow band around x = a is neither 0 nor 1
constexpr Wide kMostShape = 1e30L;  // above it Wide does not tell the band from a point

// Temme's eta, (x - a) sqrt(phi): half its square times a is the exponent of the density.
Wide huge_eta(Wide a, Wide x) {
    const Wide mu = (x - a) / a;
    if (std::fabs(mu) > 0.01L) {
        const Wide r = std::sqrt(2 * (mu - std::log1p(mu)));
        return mu < 0 ? -r : r;
    }
    // eta^2 / 2 = mu - ln(1 + mu), as a series.
    Wide sum = 0;
    for (int k = 14; k >= 2; k--) sum = 1.0L / k - mu * sum;
    return mu * std::sqrt(2 * sum);
}

Wide huge_gamma(Wide a, Wide x, bool upper) {
    if (a > kMostShape) return NAN;
    const Wide eta = huge_eta(a, x);
    const Wide tail = 0.5L * std::erfc((upper ? eta : -eta) * std::sqrt(a / 2));
    const Wide c0 = -1.0L / 3 + eta * (1.0L / 12 - eta * (2.0L / 135 - eta / 864));
    const Wide rest = std::exp(-0.5L * a * eta * eta) /
                      std::sqrt(2 * std::numbers::pi_v<Wide> * a) * (c0 - 1 / (540 * a));
    return upper ? tail + rest : tail - rest;
}

}  // namespace

Wide gamma_lower(Wide a, Wide x) {
    if (x <= 0) return 0;
    if (a >= kHugeShape) return huge_gamma(a, x, false);
    return boost::math::gamma_p(a, x, Quiet());
}

Wide gamma_upper(Wide a, Wide x) {
    if (x <= 0) return 1;
    if (a >= kHugeShape) return huge_gamma(a, x, true);
    return boost::math::gamma_q(a, x, Quiet());
}

Wide gamma_density(Wide a, Wide x) {
    if (x < 0) return 0;
    if (x == 0) return a > 1 ? 0 : a == 1 ? 1 : NAN;
    if (a >= kHugeShape) {
        if (a > kMostShape) return NAN;
        const Wide eta = huge_eta(a, x);
        // Stirling's formula with its first correction.
        return std::exp(-0.5L * a * eta * eta) * std::sqrt(a / (2 * std::numbers::pi_v<Wide>)) / x *
               (1 - 1 / (12 * a));
    }
    return boost::math::gamma_p_derivative(a, x, Quiet());
}

Wide gamma_lower_inverse(Wide a, Wide p) {
    if (p == 0) return 0;
    if (p == 1) return NAN;
    Wide x = a >= kHugeShape ? a : boost::math::gamma_p_inv(a, p, Quiet());
    if (x == 0) return 0;
    const auto f = [a](Wide t) { return gamma_lower(a, t); };
    if (polish(
            f, [a](Wide t) { return gamma_density(a, t); }, p, &x))
        return x;
    return find_root([&](Wide t) { return f(t) - p; }, kWideTiny, 2 * a + 20000);
}

Wide gamma_upper_inverse(Wide a, Wide p) {
    if (p == 1) return 0;
    if (p == 0) return NAN;
    Wide x = a >= kHugeShape ? a : boost::math::gamma_q_inv(a, p, Quiet());
    if (x == 0) return 0;
    const auto f = [a](Wide t) { return gamma_upper(a, t); };
    if (polish(
            f, [a](Wide t) { return -gamma_density(a, t); }, p, &x))
        return x;
    return find_root([&](Wide t) { return f(t) - p; }, kWideTiny, 2 * a + 20000);
}

}  // namespace special

namespace {

using namespace special;

// Beyond this every negative double is a whole number and so a pole of the gamma function.
constexpr double kAllPoles = -0x1p52;

bool is_gamma_pole(double x) {
    return x <= 0 && (x <= kAllPoles || x == std::floor(x));
}

bool is_whole(double x) {
    return x == std::floor(x);
}

bool is_shape(double a, double x) {
    return all_known(a, x) && a > 0;
}

bool is_probability(double p) {
    return p >= 0 && p <= 1;
}

// The integral of density(t) * weight(ln t - digamma(a)) over 0 to x, or over x to infinity. t runs
// over x exp(-u) or x exp(u), where the density is steep at one end at most.
template <class W>
Wide weighted_side(Wide a, Wide x, bool above, W weight) {
    const Wide center = std::log(x) - boost::math::digamma(a, Quiet());
    const Wide at_x = x * gamma_density(a, x);
    const Wide scale = 1 / (std::fabs(a - x) + std::sqrt(x));
    const Wide sign = above ? 1 : -1;
    return scale * integrate_half_line([&](Wide v) {
               const Wide u = sign * scale * v;
               const Wide exponent = a * u - x * std::expm1(u);
               return exponent < -11000 ? 0 : at_x * std::exp(exponent) * weight(center + u);
           });
}

}  // namespace

double special_lngamma(double x) {
    if (!all_known(x) || is_gamma_pole(x)) return kSysMissing;
    int sign;  // lgamma() would keep it in a global, which all threads share
    return result(lgamma_r(x, &sign));
}

double special_lnfactorial(double n) {
    if (!all_known(n) || n < 0 || !is_whole(n)) return kSysMissing;
    return special_lngamma(n + 1);
}

double special_digamma(double x) {
    if (!all_known(x) || is_gamma_pole(x)) return kSysMissing;
    return result(boost::math::digamma(x, Quiet()));
}

double special_trigamma(double x) {
    if (!all_known(x) || is_gamma_pole(x)) return kSysMissing;
    return result(boost::math::trigamma(x, Quiet()));
}

double special_comb(double n, double k) {
    if (!all_known(n, k) || !is_whole(n) || !is_whole(k) || k < 0 || k > n) return kSysMissing;
    // More than 520 factors are never needed: the value has overflowed before.
    const double factors = k < n - k ? k : n - k;
    Wide value = 1;
    for (double i = 1; i <= factors; i++) {
        value = value * (Wide(n) - factors + i) / i;
        if (value >= Wide(kSysMissing)) return kSysMissing;
    }
    return result(value < 0x1p63L ? std::round(value) : value);
}

double special_gammap(double a, double x) {
    return is_shape(a, x) ? result(gamma_lower(a, x)) : kSysMissing;
}

double special_invgammap(double a, double p) {
    return is_shape(a, p) && is_probability(p) ? result(gamma_lower_inverse(a, p)) : kSysMissing;
}

double special_gammaden(double a, double b, double g, double x) {
    if (!is_shape(a, x) || !all_known(b, g) || b <= 0) return kSysMissing;
    return result(gamma_density(a, (Wide(x) - g) / b) / b);
}

double special_dgammapda(double a, double x) {
    if (!is_shape(a, x) || x < 0) return kSysMissing;
    if (x == 0) return 0;
    const auto weight = [](Wide l) { return l; };
    const bool above = std::log(Wide(x)) > boost::math::digamma(Wide(a), Quiet());
    const Wide side = weighted_side(a, x, above, weight);
    return result(above ? -side : side);
}

double special_dgammapdx(double a, double x) {
    return is_shape(a, x) && x >= 0 ? result(gamma_density(a, x)) : kSysMissing;
}

double special_dgammapdada(double a, double x) {
    if (!is_shape(a, x) || x < 0) return kSysMissing;
    if (x == 0) return 0;
    const Wide variance = boost::math::trigamma(Wide(a), Quiet());
    const auto weight = [variance](Wide l) { return l * l - variance; };
    const bool above = std::log(Wide(x)) > boost::math::digamma(Wide(a), Quiet());
    const Wide side = weighted_side(a, x, above, weight);
    return result(above ? -side : side);
}

double special_dgammapdadx(double a, double x) {
    if (!is_shape(a, x) || x < 0) return kSysMissing;
    if (x == 0) return a > 1 ? 0 : kSysMissing;
    return result(gamma_density(a, x) *
                  (std::log(Wide(x)) - boost::math::digamma(Wide(a), Quiet())));
}

double special_dgammapdxdx(double a, double x) {
    if (!is_shape(a, x) || x < 0) return kSysMissing;
    if (x == 0) return a > 2 ? 0 : a == 2 ? 1 : a == 1 ? -1 : kSysMissing;
    return result(gamma_density(a, x) * ((Wide(a) - 1 - x) / x));
}

double special_chi2(double df, double x) {
    return is_shape(df, x) ? result(gamma_lower(Wide(df) / 2, Wide(x) / 2)) : kSysMissing;
}

double special_chi2tail(double df, double x) {
    return is_shape(df, x) ? result(gamma_upper(Wide(df) / 2, Wide(x) / 2)) : kSysMissing;
}

double special_invchi2(double df, double p) {
    if (!is_shape(df, p) || !is_probability(p)) return kSysMissing;
    return result(2 * gamma_lower_inverse(Wide(df) / 2, p));
}

double special_invchi2tail(double df, double p) {
    if (!is_shape(df, p) || !is_probability(p)) return kSysMissing;
    return result(2 * gamma_upper_inverse(Wide(df) / 2, p));
}

}  // namespace korva

// data/special_beta.cpp - the beta distribution and what it stands behind: F, t and the binomial.
//
// Incomplete beta functions are Boost.Math's, asked on the side of the nearer end, so that a point
// keeps the digits of both its distances. F, t and binomial probabilities are such functions of a
// point that is computed with its complement. Inverses start from Boost.Math's and take Newton
// steps in Wide; where that start is no solution they are bisected.
#include <boost/math/special_functions/beta.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <numbers>

#include "data/special_functions.h"
#include "data/special_wide.h"

namespace korva {

namespace special {

namespace {

// Newton or bisection for the distance to the nearer end, in whose scale the root has its digits.
UnitPoint beta_inverse(Wide a, Wide b, Wide p, bool upper) {
    const auto probability = [a, b, upper](UnitPoint at) {
        return upper ? beta_upper(a, b, at) : beta_lower(a, b, at);
    };
    if (p == 0 || p == 1) return (p == 1) != upper ? UnitPoint{1, 0} : UnitPoint{0, 1};
    const Wide half = probability({0.5L, 0.5L});
    const bool left = upper ? half <= p : half >= p;
    const auto point = [left](Wide t) { return left ? UnitPoint{t, 1 - t} : UnitPoint{1 - t, t}; };
    Wide other = 0;
    const Wide start = upper ? boost::math::ibetac_inv(a, b, p, &other, Quiet())
                             : boost::math::ibeta_inv(a, b, p, &other, Quiet());
    Wide t = left ? start : other;
    const Wide sign = left != upper ? 1 : -1;
    const auto f = [&](Wide x) { return probability(point(x)); };
    const auto slope = [&](Wide x) { return sign * beta_density(a, b, point(x)); };
    if (t <= 0.75L && polish(f, slope, p, &t)) return point(t);
    const auto miss = [&](Wide x) { return f(x) - p; };
    if ((miss(kNearest) < 0) == (half - p < 0)) return point(0);  // nearer than can be told
    return point(find_root(miss, kNearest, 0.5L));
}

}  // namespace

Wide beta_lower(Wide a, Wide b, UnitPoint at) {
    if (at.x <= 0) return 0;
    if (at.y <= 0) return 1;
    return at.x <= at.y ? boost::math::ibeta(a, b, at.x, Quiet())
                        : boost::math::ibetac(b, a, at.y, Quiet());
}

Wide beta_upper(Wide a, Wide b, UnitPoint at) {
    return beta_lower(b, a, {at.y, at.x});
}

Wide beta_density(Wide a, Wide b, UnitPoint at) {
    if (at.x < 0 || at.y < 0) return 0;
    if (at.x > at.y) return beta_density(b, a, {at.y, at.x});
    if (at.x == 0) return a > 1 ? 0 : a == 1 ? b : NAN;
    return boost::math::ibeta_derivative(a, b, at.x, Quiet());
}

UnitPoint beta_lower_inverse(Wide a, Wide b, Wide p) {
    return beta_inverse(a, b, p, false);
}

UnitPoint beta_upper_inverse(Wide a, Wide b, Wide p) {
    return beta_inverse(a, b, p, true);
}

}  // namespace special

namespace {

using namespace special;

// From here on t is normal to the last digit, in the far tail too.
constexpr double kNormalDf = 1e18;
constexpr double kMostShape = 1e30;  // beyond it the distribution is a step that Wide cannot tell

constexpr double kMostOfBoth = 1e10;  // the continued fraction would run for its square root

bool are_shapes(double a, double b) {
    return all_known(a, b) && a > 0 && b > 0 && a < kMostShape && b < kMostShape &&
           (a < kMostOfBoth || b < kMostOfBoth);
}

bool is_probability(double p) {
    return p >= 0 && p <= 1;
}

UnitPoint unit_point(double x) {
    return {x, 1 - Wide(x)};
}

// The point t^2 / (df + t^2), at which |T| is a beta distribution of 1/2 and df/2.
UnitPoint t_point(Wide df, Wide t) {
    return f_point(1, df, t * t);
}

// P(|T| > |t|).
Wide both_tails(Wide df, Wide t) {
    if (df >= Wide(kNormalDf)) return std::erfc(std::fabs(t) / std::numbers::sqrt2_v<Wide>);
    return beta_upper(0.5L, df / 2, t_point(df, t));
}

// The t from 0 on with P(|T| > t) = outside and P(|T| <= t) = inside, which are 1 together.
Wide t_between(Wide df, Wide outside, Wide inside) {
    if (outside == 0) return NAN;
    const UnitPoint at = outside < inside ? beta_upper_inverse(0.5L, df / 2, outside)
                                          : beta_lower_inverse(0.5L, df / 2, inside);
    return std::sqrt(df) * std::sqrt(at.x / at.y);
}

}  // namespace

double special_ibeta(double a, double b, double x) {
    if (!are_shapes(a, b) || !all_known(x)) return kSysMissing;
    return result(beta_lower(a, b, unit_point(x)));
}

double special_invibeta(double a, double b, double p) {
    if (!are_shapes(a, b) || !is_probability(p)) return kSysMissing;
    return result(beta_lower_inverse(a, b, p).x);
}

double special_betaden(double a, double b, double x) {
    if (!are_shapes(a, b) || !all_known(x)) return kSysMissing;
    return result(beta_density(a, b, unit_point(x)));
}

double special_F(double df1, double df2, double f) {
    if (!are_shapes(df1, df2) || !all_known(f)) return kSysMissing;
    if (f <= 0) return 0;
    return result(beta_lower(Wide(df1) / 2, Wide(df2) / 2, f_point(df1, df2, f)));
}

double special_Ftail(double df1, double df2, double f) {
    if (!are_shapes(df1, df2) || !all_known(f)) return kSysMissing;
    if (f <= 0) return 1;
    return result(beta_upper(Wide(df1) / 2, Wide(df2) / 2, f_point(df1, df2, f)));
}

double special_invF(double df1, double df2, double p) {
    if (!are_shapes(df1, df2) || !is_probability(p)) return kSysMissing;
    const UnitPoint at = beta_lower_inverse(Wide(df1) / 2, Wide(df2) / 2, p);
    return result(Wide(df2) * at.x / (Wide(df1) * at.y));
}

double special_invFtail(double df1, double df2, double p) {
    if (!are_shapes(df1, df2) || !is_probability(p)) return kSysMissing;
    const UnitPoint at = beta_upper_inverse(Wide(df1) / 2, Wide(df2) / 2, p);
    return result(Wide(df2) * at.x / (Wide(df1) * at.y));
}

double special_Fden(double df1, double df2, double f) {
    if (!are_shapes(df1, df2) || !all_known(f)) return kSysMissing;
    if (f < 0) return 0;
    const UnitPoint at = f_point(df1, df2, f);
    const Wide density = beta_density(Wide(df1) / 2, Wide(df2) / 2, at);
    return result(density * (Wide(df1) / df2) * at.y * at.y);
}

double special_tden(double df, double t) {
    if (!are_shapes(df, 1) || !all_known(t)) return kSysMissing;
    if (df >= kNormalDf) return special_normalden(t);
    const Wide half = Wide(df) / 2;
    const Wide ratio = boost::math::tgamma_delta_ratio(half, 0.5L, Quiet());
    const Wide square = Wide(t) * t / df;
    return result(std::exp(-(half + 0.5L) * std::log1p(square)) /
                  (ratio * std::sqrt(df * std::numbers::pi_v<Wide>)));
}

double special_ttail(double df, double t) {
    if (!all_known(df, t) || df <= 0) return kSysMissing;
    const Wide outside = both_tails(df, t) / 2;
    return result(t >= 0 ? outside : 1 - outside);
}

double special_invttail(double df, double p) {
    if (!all_known(df) || df <= 0 || !(p > 0 && p < 1)) return kSysMissing;
    if (df >= kNormalDf) return result(-special_invnormal(p));
    return p <= 0.5 ? result(t_between(df, 2 * Wide(p), 1 - 2 * Wide(p)))
                    : result(-t_between(df, 2 * (1 - Wide(p)), 2 * Wide(p) - 1));
}

double special_tprob(double df, double t) {
    if (!all_known(df, t) || df <= 0) return kSysMissing;
    return result(both_tails(df, t));
}

double special_invt(double df, double p) {
    if (!all_known(df) || df <= 0 || !is_probability(p)) return kSysMissing;
    if (df >= kNormalDf) return special_invnormal(0.5 + p / 2);
    return result(t_between(df, 1 - Wide(p), p));
}

double special_binomialtail(double n, double k, double p) {
    if (!all_known(n, k) || n < 0 || !is_probability(p)) return kSysMissing;
    n = std::floor(n);
    k = std::floor(k);
    if (k <= 0) return 1;
    if (k > n) return 0;
    return result(beta_lower(k, Wide(n) - k + 1, unit_point(p)));
}

double special_invbinomial(double n, double k, double p) {
    if (!all_known(n, k) || !is_probability(p)) return kSysMissing;
    n = std::floor(n);
    k = std::floor(k);
    if (k < 1 || k > n || n >= kMostShape) return kSysMissing;
    return result(beta_lower_inverse(k, Wide(n) - k + 1, p).x);
}

}  // namespace korva

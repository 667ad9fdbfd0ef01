// data/special_normal.cpp - the normal distribution in one and two dimensions.
//
// normal is the C library's erfc, corrected for the rounding of x / sqrt(2), which would cost three
// digits in the far tail. lnnormal takes the logarithm of that, in the far tail the continued
// fraction of the Mills ratio (Abramowitz and Stegun 26.2.14). invnormal is Boost.Math's erfc_inv.
//
// binormal integrates the derivative by the correlation (Plackett, Biometrika 41, 1954, p. 351)
// from a correlation of 0, or for a negative one from -1, where the probability is known: a sum of
// positive parts, so that small probabilities keep their digits too. The angle is taken by its
// logarithm, in which the integrand is smooth however near to 1 the correlation is.

#include <algorithm>
#include <boost/math/special_functions/erf.hpp>
#include <numbers>

#include "data/special_functions.h"
#include "data/special_policy.h"

namespace korva {

namespace {

using namespace special;

constexpr double kFarTail = -20;  // below it erfc comes near its underflow
constexpr int kTailTerms = 40;    // at 20 standard deviations a dozen would do
constexpr double kRootOfTwoLow = -9.667293313452913e-17;  // sqrt(2) less the double nearest to it
const double kLogRootOfTwoPi = 0.91893853320467274178;    // ln(sqrt(2 pi))
constexpr double kRootOfTwoPi = 2.5066282746310005024;

// erfc(-x / sqrt(2)) / 2
double lower_tail(double x) {
    const double y = -x / std::numbers::sqrt2;
    const double r = 0.5 * std::erfc(y);
    if (y < 1) return r;
    // y is off by `rest`, and erfc falls by about 2 y + 1 / y of itself for each unit.
    const double rest = (std::fma(-y, std::numbers::sqrt2, -x) - y * kRootOfTwoLow) /
                        std::numbers::sqrt2;
    return r - r * rest * (2 * y + 1 / y);
}

Wide wide_normal(Wide x) {
    return 0.5L * std::erfc(-x / std::numbers::sqrt2_v<Wide>);
}

// P(-h < X <= k), 0 for an empty interval, from the side on which the tails are small.
Wide between(Wide low, Wide high) {
    if (low >= high) return 0;
    return low > 0 ? wide_normal(-low) - wide_normal(-high) : wide_normal(high) - wide_normal(low);
}

// 1 / (2 pi) times the integral of exp(-(gap^2 / (2 sin^2 a) + product / (1 + cos a))) over the
// angles a from `from` to `to`, by their logarithm.
Wide angle_integral(Wide gap, Wide product, Wide from, Wide to) {
    const auto integrand = [gap, product](Wide log_angle) {
        const Wide a = std::exp(log_angle);
        const Wide s = gap / std::sin(a);
        return a * std::exp(-0.5L * s * s - product / (1 + std::cos(a)));
    };
    const Wide high = std::log(to);
    Wide sum;
    if (from > 0) {
        // A bump inside lies where the layer that the gap holds down ends.
        const Wide low = std::log(from);
        const Wide bend = std::clamp(
            std::log(std::fmax(std::fabs(gap) / (1 + std::sqrt(std::fabs(product))), kWideTiny)),
            low, high);
        sum = 0;
        if (bend > low) sum += integrate_between(integrand, low, bend);
        if (bend < high) sum += integrate_between(integrand, bend, high);
    } else {
        sum = integrate_half_line([&](Wide v) { return integrand(high - v); });
    }
    return sum / (2 * std::numbers::pi_v<Wide>);
}

}  // namespace

double special_normal(double x) {
    return all_known(x) ? lower_tail(x) : kSysMissing;
}

double special_lnnormal(double x) {
    if (!all_known(x)) return kSysMissing;
    if (x > 0) return std::log1p(-lower_tail(-x));
    if (x > kFarTail) return std::log(lower_tail(x));
    const double distance = -x;
    double fraction = distance;
    for (int k = kTailTerms; k > 0; k--) fraction = distance + k / fraction;
    return result(-0.5 * x * x - kLogRootOfTwoPi - std::log(fraction));
}

double special_invnormal(double p) {
    if (!(p > 0 && p < 1)) return kSysMissing;
    return result(-std::numbers::sqrt2_v<Wide> * boost::math::erfc_inv(2 * Wide(p), Quiet()));
}

double special_normalden(double x) {
    if (!all_known(x)) return kSysMissing;
    if (std::fabs(x) > 40) return 0;
    // x * x in two parts, the first of them exact, so that a large exponent keeps its digits.
    const double high = std::nearbyint(x * 65536) / 65536;
    return std::exp(-0.5 * high * high) * std::exp(-0.5 * (x - high) * (x + high)) / kRootOfTwoPi;
}

double special_normalden_scaled(double x, double mean, double sd) {
    if (!all_known(x, mean, sd) || sd <= 0) return kSysMissing;
    const Wide z = (Wide(x) - mean) / sd;
    return result(std::exp(-0.5L * z * z) / (Wide(sd) * std::sqrt(2 * std::numbers::pi_v<Wide>)));
}

double special_lnnormalden_scaled(double x, double mean, double sd) {
    if (!all_known(x, mean, sd) || sd <= 0) return kSysMissing;
    const Wide z = (Wide(x) - mean) / sd;
    return result(-0.5L * z * z - std::log(Wide(sd)) -
                  0.5L * std::log(2 * std::numbers::pi_v<Wide>));
}

double special_binormal(double h, double k, double rho) {
    if (!all_known(h, k, rho) || std::fabs(rho) > 1) return kSysMissing;
    if (rho == 1) return special_normal(std::min(h, k));
    if (rho == -1) return result(between(-Wide(k), h));
    // Beyond 150 deviations every density underflows; there the sums below would lose their sense.
    const Wide x = std::clamp(Wide(h), -150.0L, 150.0L);
    const Wide y = std::clamp(Wide(k), -150.0L, 150.0L);
    const Wide sine = std::sqrt((1 - Wide(rho)) * (1 + Wide(rho)));
    if (rho >= 0) {
        const Wide independent = wide_normal(x) * wide_normal(y);
        if (rho == 0) return result(independent);
        const Wide from = std::atan2(sine, Wide(rho));
        return result(independent +
                      angle_integral(x - y, x * y, from, std::numbers::pi_v<Wide> / 2));
    }
    return result(between(-y, x) + angle_integral(x + y, -x * y, 0, std::atan2(sine, -Wide(rho))));
}

}  // namespace korva

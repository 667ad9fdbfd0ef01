// data/special_functions.cpp - Boost.Math behind our argument rules, and what it does not have.
//
// digamma, trigamma: Boost.Math (rational approximations by interval, reflection for negative
// arguments). invnormal: Boost.Math's erfc_inv. lnnormal: the C library's erfc where that keeps its
// digits, in the far tail the continued fraction of the Mills ratio (Abramowitz and
// Stegun 26.2.14).
#include "data/special_functions.h"

#include <boost/math/special_functions/digamma.hpp>
#include <boost/math/special_functions/erf.hpp>
#include <boost/math/special_functions/trigamma.hpp>
#include <cmath>
#include <numbers>

#include "core/missing.h"

namespace korva {

namespace {

namespace policies = boost::math::policies;

// Faults come back as NaN or infinity.
using Quiet = policies::policy<
    policies::domain_error<policies::ignore_error>, policies::pole_error<policies::ignore_error>,
    policies::overflow_error<policies::ignore_error>,
    policies::evaluation_error<policies::ignore_error>,
    policies::rounding_error<policies::ignore_error>, policies::promote_double<false>>;

constexpr double kFarTail = -20;  // below it erfc comes near its underflow
constexpr int kTailTerms = 40;    // at 20 standard deviations a dozen would do

// Beyond this every negative double is a whole number and so a pole of the gamma function.
constexpr double kAllPoles = -0x1p52;

bool is_gamma_pole(double x) {
    return x <= 0 && (x <= kAllPoles || x == std::floor(x));
}

}  // namespace

double special_digamma(double x) {
    if (is_missing(x) || is_gamma_pole(x)) return kSysMissing;
    return finite_or_missing(boost::math::digamma(x, Quiet()));
}

double special_trigamma(double x) {
    if (is_missing(x) || is_gamma_pole(x)) return kSysMissing;
    return finite_or_missing(boost::math::trigamma(x, Quiet()));
}

double special_invnormal(double p) {
    if (!(p > 0 && p < 1)) return kSysMissing;
    return finite_or_missing(-std::numbers::sqrt2 * boost::math::erfc_inv(2 * p, Quiet()));
}

double special_lnnormal(double x) {
    if (is_missing(x)) return kSysMissing;
    if (x > 0) return std::log1p(-0.5 * std::erfc(x / std::numbers::sqrt2));
    if (x > kFarTail) return std::log(0.5 * std::erfc(-x / std::numbers::sqrt2));
    const double distance = -x;
    double fraction = distance;
    for (int k = kTailTerms; k > 0; k--) fraction = distance + k / fraction;
    const double log_density = -0.5 * x * x - 0.5 * std::log(2 * std::numbers::pi);
    return finite_or_missing(log_density - std::log(fraction));
}

}  // namespace korva

// data/special_policy.h - what the special functions share: how Boost.Math is asked, how an
// equation is solved, how an integral is taken. For special_*.cpp only.
//
// Everything is computed in Wide, whose 64 bits of mantissa and 15 of exponent keep the digits of a
// double through cancelling exponents and through tails far below 1e-308. Boost.Math reports a
// fault, and a method that did not converge, as NaN; result() makes every one of them `.`.
#pragma once

#include <boost/math/policies/policy.hpp>
#include <cmath>
#include <limits>

#include "core/missing.h"

namespace boost::math::policies {

// What a method that ran out of iterations gives: no number, and no exception.
template <class T>
T user_evaluation_error(const char*, const char*, const T&) {
    return std::numeric_limits<T>::quiet_NaN();
}

}  // namespace boost::math::policies

namespace korva {

using Wide = long double;

namespace special {

namespace policies = boost::math::policies;

using Quiet = policies::policy<
    policies::domain_error<policies::ignore_error>, policies::pole_error<policies::ignore_error>,
    policies::overflow_error<policies::ignore_error>,
    policies::underflow_error<policies::ignore_error>,
    policies::denorm_error<policies::ignore_error>,
    policies::evaluation_error<policies::user_error>,
    policies::rounding_error<policies::ignore_error>,
    policies::indeterminate_result_error<policies::ignore_error>, policies::promote_double<false>,
    policies::max_series_iterations<50000>, policies::max_root_iterations<100>>;

// The double of a wide result; `.` for what no number of the system is.
inline double result(Wide x) {
    const double r = double(x);
    return std::fabs(r) < kSysMissing ? r : kSysMissing;
}

// True if every argument is a number.
template <class... X>
bool all_known(X... x) {
    return ((std::fabs(x) < kSysMissing) && ...);
}

constexpr Wide kWideTiny = std::numeric_limits<Wide>::min();
constexpr Wide kNearest = 1e-4000L;  // to an end of 0 to 1: densities there are still in range

// The root of a rising or falling f between low and high, where f has other signs, to the last
// bits: bisection in the scale of the logarithm while the ends are far apart, then Ridders' method,
// whose every second point keeps the bracket.
template <class F>
Wide find_root(F f, Wide low, Wide high) {
    Wide f_low = f(low), f_high = f(high);
    if (f_low == 0) return low;
    if (f_high == 0) return high;
    if (!((f_low < 0) != (f_high < 0)) || std::isnan(f_low) || std::isnan(f_high)) return NAN;
    const auto narrow = [&](Wide x, Wide fx) {
        if ((fx < 0) == (f_low < 0)) {
            low = x;
            f_low = fx;
        } else {
            high = x;
            f_high = fx;
        }
    };
    for (int step = 0; step < 300; step++) {
        if (high - low <= 2e-19L * std::fabs(high)) break;
        const bool far = high > 4 * low && low >= 0;
        const Wide middle = far ? std::sqrt(std::fmax(low, kWideTiny)) * std::sqrt(high)
                                : low + (high - low) / 2;
        if (middle <= low || middle >= high) break;
        const Wide f_middle = f(middle);
        if (std::isnan(f_middle)) return NAN;
        if (f_middle == 0) return middle;
        const Wide f_left = f_low, f_right = f_high;
        const Wide half = (high - low) / 2;
        narrow(middle, f_middle);
        if (far) continue;
        const Wide root = std::sqrt(f_middle * f_middle - f_left * f_right);
        const Wide x = middle + half * (f_left < f_right ? -1 : 1) * f_middle / root;
        if (!(x > low && x < high)) continue;
        const Wide fx = f(x);
        if (fx == 0) return x;
        if (!std::isnan(fx)) narrow(x, fx);
    }
    return std::fabs(f_low) < std::fabs(f_high) ? low : high;
}

// Improves *x, a root > 0 of f(x) = p, by Newton's steps; false if it is none.
template <class F, class D>
bool polish(F f, D slope, Wide p, Wide* x) {
    if (!(*x > 0) || std::isinf(*x)) return false;
    for (int step = 0; step < 3; step++) {
        const Wide move = (f(*x) - p) / slope(*x);
        if (!(std::fabs(move) < 0.5L * *x)) return false;
        *x -= move;
        if (std::fabs(move) <= 1e-18L * *x) return true;
    }
    return std::fabs(f(*x) - p) <= 1e-15L * p;
}

// The integral of f over 0 to infinity for an f that is smooth at the scale of 1 and dies at least
// exponentially: the trapezoid rule after v = exp(w - exp(-w)), which is exact to the last digits
// for such an f (Takahasi and Mori, 1974).
template <class F>
Wide integrate_half_line(F f) {
    constexpr Wide kStep = 1.0L / 64;
    Wide sum = 0;
    for (int k = -240; k <= 448; k++) {
        const Wide w = k * kStep;
        const Wide inner = std::exp(-w);
        const Wide v = std::exp(w - inner);
        const Wide y = f(v) * v * (1 + inner);
        sum += y;
        if (w > 1 && std::fabs(y) < 1e-25L * std::fabs(sum)) break;
    }
    return sum * kStep;
}

// The integral of f over a to b; poles and steep ends are allowed (tanh-sinh). f is handed the
// point and is never called at an end.
template <class F>
Wide integrate_between(F f, Wide a, Wide b) {
    constexpr Wide kStep = 1.0L / 32;
    const Wide half = (b - a) / 2;
    Wide sum = 0;
    for (int k = -132; k <= 132; k++) {
        const Wide w = k * kStep;
        const Wide s = Wide(M_PI_2l) * std::sinh(w);
        const Wide c = std::cosh(s);
        const Wide from_end = half * std::exp(-std::fabs(s)) / c;  // distance to the nearer end
        const Wide x = s < 0 ? a + from_end : b - from_end;
        if (x <= a || x >= b) continue;
        sum += f(x) * std::cosh(w) / (c * c);
    }
    return sum * kStep * half * Wide(M_PI_2l);
}

}  // namespace special
}  // namespace korva

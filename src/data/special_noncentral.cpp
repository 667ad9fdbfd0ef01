// data/special_noncentral.cpp - noncentral chi-squared, beta and F.
//
// Each is a mixture of central ones with Poisson weights. The central probabilities of neighbouring
// parts differ by a positive term with a two-factor recurrence; they are carried in the direction
// in which that term is added, lower ones downwards and upper ones upwards (Benton and
// Krishnamoorthy, Comput. Statist. Data Anal. 43, 2003, p. 249), so that everything summed is
// positive and small probabilities keep their digits. Inverses solve the equation of the smaller of
// the two tails.

#include <algorithm>

#include "data/special_functions.h"
#include "data/special_wide.h"

namespace korva {

namespace {

using namespace special;

constexpr Wide kMostMean = 1e7L;    // of the Poisson weights: the sum has some 20 sqrt(mean) parts
constexpr int kMostParts = 400000;  // a sum that needs more is given up
constexpr double kMostShape = 1e9;  // beyond it one part alone takes milliseconds
constexpr Wide kNegligible = 1e-23L;

Wide poisson(Wide j, Wide mean) {
    return mean == 0 ? Wide(j == 0) : gamma_density(j + 1, mean);
}

// How far from the mean the weights matter: beyond, they are below 1e-22 of the whole.
Wide reach(Wide mean) {
    return 10 * std::sqrt(mean) + 60;
}

// A family of central distributions with the part number j.
struct ChiParts {
    Wide a, x;
    Wide lower(Wide j) const { return gamma_lower(a + j, x); }
    Wide upper(Wide j) const { return gamma_upper(a + j, x); }
    Wide term(Wide j) const { return gamma_density(a + j + 1, x); }  // lower(j) - lower(j + 1)
    Wide growth(Wide j) const { return x / (a + j + 1); }            // term(j + 1) / term(j)
};

struct BetaParts {
    Wide a, b;
    UnitPoint at;
    Wide lower(Wide j) const { return beta_lower(a + j, b, at); }
    Wide upper(Wide j) const { return beta_upper(a + j, b, at); }
    Wide term(Wide j) const { return beta_density(a + j, b, at) * at.x * at.y / (a + j); }
    Wide growth(Wide j) const { return at.x * (a + j + b) / (a + j + 1); }
};

// The whole number next to `good` that is still good, between it and `bad`.
template <class Good>
Wide last_good(Wide good, Wide bad, Good is_good) {
    while (std::fabs(bad - good) > 1) {
        const Wide middle = std::floor((good + bad) / 2);
        (is_good(middle) ? good : bad) = middle;
    }
    return good;
}

// The weighted sum of the lower probabilities, from the highest part that matters down.
template <class Parts>
Wide lower_mixture(const Parts& parts, Wide mean) {
    if (!(mean <= kMostMean)) return NAN;
    if (mean == 0) return parts.lower(0);
    Wide j = std::floor(mean + reach(mean));
    const auto has_part = [&](Wide k) {
        return parts.lower(k) != 0 && (k <= mean || poisson(k, mean) > 0);
    };
    if (!has_part(j)) {
        if (!has_part(0)) return 0;
        j = last_good(0, j, has_part);
    }
    Wide weight = poisson(j, mean);
    Wide value = parts.lower(j);
    Wide term = parts.term(j);
    Wide sum = weight * value;
    Wide last = sum;
    for (int n = 0; j > 0; n++) {
        if (n > kMostParts) return NAN;
        weight *= j / mean;
        j--;
        // What has underflowed is taken anew until it does not.
        term = term > 0 ? term / parts.growth(j) : parts.term(j);
        value = value > 0 ? value + term : parts.lower(j);
        const Wide part = weight * value;
        sum += part;
        // The parts rise and then fall for good: a falling one bounds what follows it.
        if (part < 0.99L * last && part * 100 < kNegligible * sum) break;
        last = part;
    }
    return sum;
}

// The weighted sum of the upper probabilities, from the lowest part that matters up.
template <class Parts>
Wide upper_mixture(const Parts& parts, Wide mean) {
    if (!(mean <= kMostMean)) return NAN;
    if (mean == 0) return parts.upper(0);
    Wide j = std::fmax(0, std::floor(mean - reach(mean)));
    const auto has_part = [&](Wide k) { return parts.upper(k) != 0; };
    if (!has_part(j)) {
        const Wide top = std::floor(mean + 100 * reach(mean));
        if (!has_part(top)) return 0;
        j = last_good(top, j, has_part);
    }
    Wide weight = poisson(j, mean);
    Wide value = parts.upper(j);
    Wide term = parts.term(j);
    Wide sum = weight * value;
    Wide last = sum;
    for (int n = 0; n < kMostParts; n++) {
        value = value > 0 ? std::fmin(value + term, 1) : parts.upper(j + 1);
        term = term > 0 ? term * parts.growth(j) : parts.term(j + 1);
        j++;
        weight *= mean / j;
        const Wide part = weight * value;
        sum += part;
        if (j > mean && part < 0.99L * last && part * 100 < kNegligible * sum) return sum;
        if (j > mean && part == 0 && last == 0 && weight == 0) return sum;
        last = part;
    }
    return NAN;
}

// The weighted sum of beta densities, from the largest part to both sides.
Wide density_mixture(Wide a, Wide b, UnitPoint at, Wide mean) {
    if (!(mean <= kMostMean)) return NAN;
    if (at.x <= 0 || mean == 0) return poisson(0, mean) * beta_density(a, b, at);
    const Wide lx = mean * at.x;
    const Wide linear = a + 1 - lx;
    const Wide constant = a - lx * (a + b);
    const Wide root = std::sqrt(std::fmax(linear * linear - 4 * constant, 0));
    const Wide peak = std::fmax(0, std::floor((root - linear) / 2));
    const Wide top = poisson(peak, mean) * beta_density(a + peak, b, at);
    if (!(top > 0)) return top;
    Wide sum = top;
    Wide part = top;
    for (Wide j = peak; j < peak + kMostParts && part > kNegligible * 1e-3L * sum; j++) {
        part *= lx / (j + 1) * ((a + b + j) / (a + j));
        sum += part;
    }
    part = top;
    for (Wide j = peak - 1; j >= 0 && part > kNegligible * 1e-3L * sum; j--) {
        part *= (j + 1) / lx * ((a + j) / (a + b + j));
        sum += part;
    }
    return sum;
}

// The degrees of freedom or shapes, and the noncentrality.
bool are_parameters(double a, double b, double lambda) {
    return all_known(a, b, lambda) && a > 0 && b > 0 && a < kMostShape && b < kMostShape &&
           lambda >= 0;
}

// The point at which the noncentral beta distribution has `lower` below and `upper` above it.
UnitPoint nbeta_inverse(Wide a, Wide b, Wide mean, Wide lower, Wide upper) {
    if (lower == 0) return {0, 1};
    if (upper == 0) return {1, 0};
    // Rises with x.
    const auto miss = [&](UnitPoint at) {
        const BetaParts parts{a, b, at};
        return lower <= upper ? lower_mixture(parts, mean) - lower
                              : upper - upper_mixture(parts, mean);
    };
    const Wide at_half = miss({0.5L, 0.5L});
    if (std::isnan(at_half)) return {NAN, NAN};
    const bool left = at_half >= 0;
    const auto point = [left](Wide t) { return left ? UnitPoint{t, 1 - t} : UnitPoint{1 - t, t}; };
    const auto f = [&](Wide t) { return miss(point(t)); };
    if (at_half == 0) return point(0.5L);
    if ((f(kNearest) < 0) == (at_half < 0)) return point(0);
    return point(find_root(f, kNearest, 0.5L));
}

}  // namespace

double special_nchi2(double df, double lambda, double x) {
    if (!are_parameters(df, 1, lambda) || !all_known(x)) return kSysMissing;
    if (x <= 0) return 0;
    return result(lower_mixture(ChiParts{Wide(df) / 2, Wide(x) / 2}, Wide(lambda) / 2));
}

double special_invnchi2(double df, double lambda, double p) {
    if (!are_parameters(df, 1, lambda) || !(p >= 0 && p < 1)) return kSysMissing;
    if (p == 0) return 0;
    const Wide mean = Wide(lambda) / 2;
    const auto miss = [&](Wide x) {
        const ChiParts parts{Wide(df) / 2, x};
        return p <= 0.5 ? lower_mixture(parts, mean) - p : 1 - Wide(p) - upper_mixture(parts, mean);
    };
    if (miss(kWideTiny) > 0) return 0;
    Wide high = Wide(df) / 2 + mean + 1;
    for (int step = 0; step < 64 && miss(high) < 0; step++) high *= 2;
    return result(2 * find_root(miss, kWideTiny, high));
}

double special_npnchi2(double df, double x, double p) {
    if (!are_parameters(df, 1, 0) || !all_known(x) || x <= 0 || !(p > 0 && p < 1)) {
        return kSysMissing;
    }
    const ChiParts parts{Wide(df) / 2, Wide(x) / 2};
    const Wide central = parts.lower(0);
    // What invchi2 and the like have rounded may stand a little above.
    if (!(p <= central * (1 + 0x1p-50L))) return kSysMissing;
    if (p >= central) return 0;
    const auto miss = [&](Wide mean) { return lower_mixture(parts, mean) - p; };
    Wide high = parts.x + 1;
    for (int step = 0; step < 40 && miss(high) > 0; step++) high *= 2;
    return result(2 * find_root(miss, 0, high));
}

double special_nibeta(double a, double b, double lambda, double x) {
    if (!are_parameters(a, b, lambda) || !all_known(x)) return kSysMissing;
    if (x <= 0 || x >= 1) return x >= 1;
    return result(lower_mixture(BetaParts{a, b, {x, 1 - Wide(x)}}, Wide(lambda) / 2));
}

double special_invnibeta(double a, double b, double lambda, double p) {
    if (!are_parameters(a, b, lambda) || !(p >= 0 && p <= 1)) return kSysMissing;
    return result(nbeta_inverse(a, b, Wide(lambda) / 2, p, 1 - Wide(p)).x);
}

double special_nbetaden(double a, double b, double lambda, double x) {
    if (!are_parameters(a, b, lambda) || !all_known(x)) return kSysMissing;
    if (x < 0 || x > 1) return 0;
    return result(density_mixture(a, b, {x, 1 - Wide(x)}, Wide(lambda) / 2));
}

double special_nFden(double df1, double df2, double lambda, double f) {
    if (!are_parameters(df1, df2, lambda) || !all_known(f)) return kSysMissing;
    if (f < 0) return 0;
    const UnitPoint at = f_point(df1, df2, f);
    const Wide density = density_mixture(Wide(df1) / 2, Wide(df2) / 2, at, Wide(lambda) / 2);
    return result(density * (Wide(df1) / df2) * at.y * at.y);
}

double special_nFtail(double df1, double df2, double lambda, double f) {
    if (!are_parameters(df1, df2, lambda) || !all_known(f)) return kSysMissing;
    if (f <= 0) return 1;
    const BetaParts parts{Wide(df1) / 2, Wide(df2) / 2, f_point(df1, df2, f)};
    return result(upper_mixture(parts, Wide(lambda) / 2));
}

double special_invnFtail(double df1, double df2, double lambda, double p) {
    if (!are_parameters(df1, df2, lambda) || !(p >= 0 && p <= 1)) return kSysMissing;
    const UnitPoint at = nbeta_inverse(Wide(df1) / 2, Wide(df2) / 2, Wide(lambda) / 2, 1 - Wide(p),
                                       p);
    return result(Wide(df2) * at.x / (Wide(df1) * at.y));
}

}  // namespace korva

// data/special_wide.h - incomplete gamma and beta functions in Wide, for special_*.cpp only.
//
// Parameters have been checked: a, b > 0, 0 <= x, probabilities between 0 and 1. Faults are NaN.
#pragma once

#include "data/special_policy.h"

namespace korva::special {

// A point of the beta distribution, or of F, with what is missing to 1, each with its own digits.
struct UnitPoint {
    Wide x;
    Wide y;  // 1 - x
};

// Lower and upper incomplete gamma function over gamma(a), and the density of the first.
Wide gamma_lower(Wide a, Wide x);
Wide gamma_upper(Wide a, Wide x);
Wide gamma_density(Wide a, Wide x);

// The x with gamma_lower(a, x) = p, or gamma_upper(a, x) = p.
Wide gamma_lower_inverse(Wide a, Wide p);
Wide gamma_upper_inverse(Wide a, Wide p);

// The regularised incomplete beta function, 1 - it, and its derivative by x.
Wide beta_lower(Wide a, Wide b, UnitPoint at);
Wide beta_upper(Wide a, Wide b, UnitPoint at);
Wide beta_density(Wide a, Wide b, UnitPoint at);

// The point with beta_lower = p, or beta_upper = p.
UnitPoint beta_lower_inverse(Wide a, Wide b, Wide p);
UnitPoint beta_upper_inverse(Wide a, Wide b, Wide p);

// df1 f / (df2 + df1 f), the point at which F is a beta distribution of df1/2 and df2/2.
inline UnitPoint f_point(Wide df1, Wide df2, Wide f) {
    const Wide whole = df2 + df1 * f;
    return {df1 * f / whole, df2 / whole};
}

}  // namespace korva::special

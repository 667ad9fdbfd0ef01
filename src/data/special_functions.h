// data/special_functions.h - special functions with this system's argument rules.
//
// A missing argument, one outside of the domain, a pole and an overflow give `.`; nothing is
// thrown.
#pragma once

namespace korva {

// The logarithmic derivative of the gamma function, and its derivative.
double special_digamma(double x);
double special_trigamma(double x);

// The x with normal(x) = p, for 0 < p < 1.
double special_invnormal(double p);

// ln(normal(x)), without losing digits where normal(x) is near 0 or 1.
double special_lnnormal(double x);

}  // namespace korva

// Special functions against values computed to 40 digits with mpmath.
#include "data/special_functions.h"

#include <gtest/gtest.h>

#include <cmath>

#include "core/missing.h"

namespace korva {
namespace {

double relative_error(double computed, double exact) {
    return std::fabs(computed - exact) / std::fmax(std::fabs(exact), 1e-300);
}

TEST(SpecialFunctions, GammaDerivatives) {
    const double rows[][3] = {
        {0.1, -10.423754940411076232, 101.4332991507927477},
        {1, -0.57721566490153286061, 1.6449340668482264365},
        {2.5, 0.70315664064524318723, 0.49035775610023486497},
        {-3.25, 4.4662758723502799671, 19.474085068082155114},
        {100, 4.6001618527380874002, 0.010050166663333571395},
        {1e-8, -100000000.57721564636, 10000000000000001.226},
        {1e10, 23.02585092989045684, 1.00000000005e-10},
    };
    for (const auto& [x, digamma, trigamma] : rows) {
        EXPECT_LT(relative_error(special_digamma(x), digamma), 1e-14) << x;
        EXPECT_LT(relative_error(special_trigamma(x), trigamma), 1e-14) << x;
    }
    for (double pole : {0.0, -1.0, -1e300, kSysMissing}) {
        EXPECT_EQ(special_digamma(pole), kSysMissing);
        EXPECT_EQ(special_trigamma(pole), kSysMissing);
    }
}

TEST(SpecialFunctions, NormalTailsKeepTheirDigits) {
    const double logs[][2] = {
        {-1000, -500007.82669481218431}, {-40, -804.60844201375378817},
        {-20.5, -214.06672896326380017}, {-19.5, -194.01696577749749941},
        {-5, -15.064998393988725736},    {0, -0.69314718055994530942},
        {1, -0.17275377902344988953},    {8.5, -9.4795348222033183991e-18},
    };
    for (const auto& [x, value] : logs) {
        EXPECT_LT(relative_error(special_lnnormal(x), value), 1e-13) << x;
    }
    const double quantiles[][2] = {
        {1e-300, -37.047096299361199237},  {1e-10, -6.3613409024040561991},
        {0.025, -1.9599639845400542118},   {0.975, 1.9599639845400538556},
        {0.999999, 4.7534243088170877657},
    };
    for (const auto& [p, value] : quantiles) {
        EXPECT_LT(relative_error(special_invnormal(p), value), 1e-13) << p;
    }
    EXPECT_EQ(special_invnormal(0.5), 0);
    for (double p : {0.0, 1.0, -0.5, kSysMissing}) EXPECT_EQ(special_invnormal(p), kSysMissing);
}

}  // namespace
}  // namespace korva

// Special functions against values of an independent computation, and against themselves.
#include "data/special_functions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string_view>

#include "core/missing.h"

namespace korva {
namespace {

using One = double (*)(double);
using Two = double (*)(double, double);
using Three = double (*)(double, double, double);
using Four = double (*)(double, double, double, double);

struct Callee {
    std::string_view name;
    One one = nullptr;
    Two two = nullptr;
    Three three = nullptr;
    Four four = nullptr;
    Callee(std::string_view n, One f) : name(n), one(f) {}
    Callee(std::string_view n, Two f) : name(n), two(f) {}
    Callee(std::string_view n, Three f) : name(n), three(f) {}
    Callee(std::string_view n, Four f) : name(n), four(f) {}
    int arguments() const { return one ? 1 : two ? 2 : three ? 3 : 4; }
    double operator()(const double* x) const {
        return one     ? one(x[0])
               : two   ? two(x[0], x[1])
               : three ? three(x[0], x[1], x[2])
                       : four(x[0], x[1], x[2], x[3]);
    }
};

const Callee kCallees[] = {
    {"normal", special_normal},
    {"lnnormal", special_lnnormal},
    {"invnormal", special_invnormal},
    {"normalden", special_normalden},
    {"normalden3", special_normalden_scaled},
    {"lnnormalden3", special_lnnormalden_scaled},
    {"binormal", special_binormal},
    {"lngamma", special_lngamma},
    {"digamma", special_digamma},
    {"trigamma", special_trigamma},
    {"lnfactorial", special_lnfactorial},
    {"comb", special_comb},
    {"gammap", special_gammap},
    {"invgammap", special_invgammap},
    {"gammaden", special_gammaden},
    {"dgammapda", special_dgammapda},
    {"dgammapdx", special_dgammapdx},
    {"dgammapdada", special_dgammapdada},
    {"dgammapdadx", special_dgammapdadx},
    {"dgammapdxdx", special_dgammapdxdx},
    {"chi2", special_chi2},
    {"chi2tail", special_chi2tail},
    {"invchi2", special_invchi2},
    {"invchi2tail", special_invchi2tail},
    {"ibeta", special_ibeta},
    {"invibeta", special_invibeta},
    {"betaden", special_betaden},
    {"F", special_F},
    {"Ftail", special_Ftail},
    {"invF", special_invF},
    {"invFtail", special_invFtail},
    {"Fden", special_Fden},
    {"tden", special_tden},
    {"ttail", special_ttail},
    {"invttail", special_invttail},
    {"tprob", special_tprob},
    {"invt", special_invt},
    {"Binomial", special_binomialtail},
    {"invbinomial", special_invbinomial},
    {"nchi2", special_nchi2},
    {"invnchi2", special_invnchi2},
    {"npnchi2", special_npnchi2},
    {"nibeta", special_nibeta},
    {"invnibeta", special_invnibeta},
    {"nbetaden", special_nbetaden},
    {"nFden", special_nFden},
    {"nFtail", special_nFtail},
    {"invnFtail", special_invnFtail},
};

const Callee* callee(std::string_view name) {
    for (const Callee& c : kCallees) {
        if (c.name == name) return &c;
    }
    return nullptr;
}

struct ValueRow {
    const char* name;
    int arguments;
    double x[4];
    double value;
};
const ValueRow kValues[] = {
#include "special_values.inc"
};

TEST(SpecialFunctions, AgreeWithValuesTo30Digits) {
    for (const ValueRow& row : kValues) {
        const Callee* f = callee(row.name);
        ASSERT_TRUE(f && f->arguments() == row.arguments) << row.name;
        const double computed = (*f)(row.x);
        const bool far_tail = std::fabs(row.value) < 1e-100;
        const double scale = std::fmax(std::fabs(row.value), 1e-307);
        EXPECT_LE(std::fabs(computed - row.value) / scale, far_tail ? 1e-11 : 1e-13)
            << row.name << " " << row.x[0] << " " << row.x[1] << " " << row.x[2] << " " << row.x[3]
            << ": " << computed << " is not " << row.value;
    }
}

double ulps(double a, double b) {
    return std::fabs(a - b) / (std::nextafter(std::fabs(b), INFINITY) - std::fabs(b));
}

// f(x) is p again, to 4 units of the last place and what the next x would change.
template <class F>
void expect_back(const char* name, F f, double x, double p) {
    const double steep = ulps(f(std::nextafter(x, INFINITY)), f(x));
    EXPECT_LE(ulps(f(x), p), 4 + steep) << name << " at " << x << " for " << p;
}

TEST(SpecialFunctions, InversesComeBack) {
    const double kSizes[] = {0.6, 2, 7.5, 40};
    for (double p : {1e-12, 0.003, 0.2, 0.5, 0.7, 0.95}) {
        expect_back("normal", special_normal, special_invnormal(p), p);
        for (double a : kSizes) {
            const auto with = [a](Two f) { return [a, f](double x) { return f(a, x); }; };
            expect_back("gammap", with(special_gammap), special_invgammap(a, p), p);
            expect_back("chi2", with(special_chi2), special_invchi2(a, p), p);
            expect_back("chi2tail", with(special_chi2tail), special_invchi2tail(a, p), p);
            expect_back("ttail", with(special_ttail), special_invttail(a, p), p);
            for (double b : kSizes) {
                const auto both = [a, b](Three f) {
                    return [a, b, f](double x) { return f(a, b, x); };
                };
                const auto three = [a, b](Four f) {
                    return [a, b, f](double x) { return f(a, b, 3, x); };
                };
                expect_back("ibeta", both(special_ibeta), special_invibeta(a, b, p), p);
                expect_back("F", both(special_F), special_invF(a, b, p), p);
                expect_back("Ftail", both(special_Ftail), special_invFtail(a, b, p), p);
                expect_back("nchi2", both(special_nchi2), special_invnchi2(a, b, p), p);
                expect_back("nibeta", three(special_nibeta), special_invnibeta(a, b, 3, p), p);
                expect_back("nFtail", three(special_nFtail), special_invnFtail(a, b, 3, p), p);
            }
        }
    }
}

// Whatever stands in the arguments, the result is a number or `.`, soon.
TEST(SpecialFunctions, NoArgumentDoesHarm) {
    const double kOdd[] = {0,        -0.0,   1,          -1,          0.5,
                           2,        1e-320, 1e-300,     1e8,         1e17,
                           1e300,    -1e300, kMaxDouble, kSysMissing, missing_value(3),
                           INFINITY, NAN};
    constexpr int n = int(std::size(kOdd));
    for (const Callee& f : kCallees) {
        int all = 1;
        for (int i = 0; i < f.arguments(); i++) all *= n;
        for (int k = 0; k<all; k += f.arguments()> 3 ? 7 : 1) {
            double x[4] = {};
            bool known = true;
            for (int i = 0, rest = k; i < f.arguments(); i++, rest /= n) {
                x[i] = kOdd[rest % n];
                known = known && std::fabs(x[i]) < kSysMissing;
            }
            const double r = f(x);
            EXPECT_TRUE(std::fabs(r) < kSysMissing || r == kSysMissing) << f.name;
            if (!known) EXPECT_EQ(r, kSysMissing) << f.name << " " << x[0] << " " << x[1];
        }
    }
}

TEST(SpecialFunctions, DomainsEndWhereTheyShould) {
    for (double pole : {0.0, -1.0, -1e300}) {
        EXPECT_EQ(special_digamma(pole), kSysMissing);
        EXPECT_EQ(special_lngamma(pole), kSysMissing);
    }
    for (double p : {0.0, 1.0, -0.5}) EXPECT_EQ(special_invnormal(p), kSysMissing);
    EXPECT_EQ(special_invnormal(0.5), 0);
    EXPECT_EQ(special_chi2(3, -1), 0);
    EXPECT_EQ(special_chi2tail(3, -1), 1);
    EXPECT_EQ(special_chi2(0, 1), kSysMissing);
    EXPECT_EQ(special_invchi2(3, 1), kSysMissing);
    EXPECT_EQ(special_binomialtail(5, 0, 0.3), 1);
    EXPECT_EQ(special_binomialtail(5, 6, 0.3), 0);
    EXPECT_EQ(special_npnchi2(4, 1, 0.99), kSysMissing);  // above chi2(4, 1): no lambda
    EXPECT_EQ(special_binormal(1, 0.25, 1), special_normal(0.25));
    EXPECT_EQ(special_comb(5, 2.5), kSysMissing);
    EXPECT_EQ(special_betaden(2, 3, 1.5), 0);
}

}  // namespace
}  // namespace korva

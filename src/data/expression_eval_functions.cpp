// data/expression_eval_functions.cpp - functions of numbers.
//
// A function of the C library whose result is no number, or is out of the range of numbers, gives
// `.`; it raises no flag. The loops that call none of them vectorise.

#include <algorithm>
#include <cmath>

#include "core/missing.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/expression_machine.h"

namespace korva {

namespace {

// r if it is a number in range.
KORVA_INTO_WIDE double fitting(double r) {
    return std::fabs(r) < kSysMissing ? r : kSysMissing;
}

// The roundings of the C library, bit for bit, in operations that vectorise: 2^52 added and taken
// away rounds a smaller magnitude to a whole number, and what is not smaller is whole.
KORVA_INTO_WIDE double fast_floor(double x) {
    const double magnitude = std::fabs(x);
    const double nearest = std::copysign((magnitude + 0x1p52) - 0x1p52, x);
    const double below = nearest - (nearest > x ? 1.0 : 0.0);
    return magnitude < 0x1p52 ? below : x;
}
KORVA_INTO_WIDE double fast_ceil(double x) {
    return -fast_floor(-x);
}
KORVA_INTO_WIDE double fast_trunc(double x) {
    return std::copysign(fast_floor(std::fabs(x)), x);
}

// f of the top operand. f sees missing values.
template <class F>
KORVA_INTO_WIDE void unary(BlockMachine* m, F f) {
    const int d = m->depth - 1;
    const NumberOperand operand = m->numbers[d];
    const double* x = operand.x;
    double* out = m->own[d];
    const int n = lanes_of(m, operand.constant);
    KORVA_LANES
    for (int i = 0; i < n; i++) out[i] = f(x[i]);
    set_result(m, d, operand.constant);
}

// f of the top operand where it is not missing.
template <class F>
KORVA_INTO_WIDE void mathematical(BlockMachine* m, F f) {
    unary(m, [f](double x) { return x < kSysMissing ? fitting(f(x)) : kSysMissing; });
}

// f(first, second): the first argument is on the top.
template <class F>
KORVA_INTO_WIDE void two_arguments(BlockMachine* m, F f) {
    const int d = --m->depth - 1;
    const NumberOperand first = m->numbers[d + 1];
    const NumberOperand second = m->numbers[d];
    const bool constant = first.constant && second.constant;
    pair_lanes(first, second, lanes_of(m, constant), m->own[d], f);
    set_result(m, d, constant);
}

// Takes k arguments off the stack as lanes, x[0] the first; returns the depth of the result.
int take_arguments(BlockMachine* m, int k, const double** x) {
    for (int i = 0; i < k; i++) x[i] = spread(m, m->depth - 1 - i);
    m->depth -= k - 1;
    return m->depth - 1;
}

template <class F>
KORVA_INTO_WIDE void three_arguments(BlockMachine* m, F f) {
    const double* x[3];
    const int d = take_arguments(m, 3, x);
    double* out = m->own[d];
    KORVA_LANES
    for (int i = 0; i < m->n; i++) out[i] = f(x[0][i], x[1][i], x[2][i]);
    set_result(m, d, false);
}

// The bounds x[1..k-1] rise in the lane.
bool bounds_rise(const double* const* x, int k, int lane) {
    for (int j = 2; j < k; j++) {
        if (!(x[j - 1][lane] <= x[j][lane])) return false;
    }
    return true;
}

KORVA_INTO_WIDE double round_to(double x, double y) {
    const double rounded = fitting(fast_floor(x / y + 0.5) * y);
    const double result = x < kSysMissing ? rounded : x;
    return y == 0 ? x : y < kSysMissing ? result : kSysMissing;
}

KORVA_INTO_WIDE double modulus(double x, double y) {
    const double r = x - fast_floor(x / y) * y;
    const double positive = r < 0 ? r + y : r;
    return ((x < kSysMissing) & (y < kSysMissing) & (y > 0)) ? fitting(positive) : kSysMissing;
}

// True if modulus() of each x and a y of whole_modulus() is exact without a division: whole numbers
// of a magnitude up to 2^31. Adding and taking away 1.5 * 2^52 rounds to a whole number.
constexpr double kRounder = 0x1.8p52;
KORVA_INTO_WIDE bool all_whole(const double* x, int n) {
    uint64_t others = 0;
    KORVA_LANES
    for (int i = 0; i < n; i++) {
        const bool whole = (std::fabs(x[i]) <= 0x1p31) & ((x[i] + kRounder) - kRounder == x[i]);
        others |= uint64_t(!whole);
    }
    return others == 0;
}

// modulus(x, y) by the reciprocal of y. The rounded quotient is at most one beside the right one,
// and all products and differences are exact, so the bits are those of modulus(); + 0.0 makes a
// negative zero positive, as it is there.
KORVA_INTO_WIDE double whole_modulus(double x, double y, double reciprocal) {
    const double nearest = (x * reciprocal + kRounder) - kRounder;
    const double r = x - nearest * y;
    return r < 0 ? r + y : r + 0.0;
}

// First point of lo + step, lo + 2 step, ... that is not less than x; hi behind the last but one.
double autocode(double x, double n, double lo, double hi) {
    if (!(n > 0 && n < 1000) || !(hi < kSysMissing) || !(hi > lo)) return kSysMissing;
    if (!(x < kSysMissing)) return x;
    const double step = (hi - lo) / n;
    double point = lo;
    for (int i = 1; i < n; i++) {
        point += step;
        if (point >= x) return fitting(point);
    }
    return hi;
}

}  // namespace

// --- Of one number ---

KORVA_WIDE void op_NOT(BlockMachine* m, const int16_t*) {
    unary(m, [](double x) { return x == 0 ? 1.0 : 0.0; });
}
KORVA_WIDE void op_NEGATE(BlockMachine* m, const int16_t*) {
    unary(m, [](double x) { return x < kSysMissing ? fitting(-x) : kSysMissing; });
}
KORVA_WIDE void op_ABS(BlockMachine* m, const int16_t*) {
    unary(m, [](double x) { return x < kSysMissing ? fitting(std::fabs(x)) : kSysMissing; });
}
KORVA_WIDE void op_SIGN(BlockMachine* m, const int16_t*) {
    unary(m,
          [](double x) { return x < kSysMissing ? double(x > 0) - double(x < 0) : kSysMissing; });
}
KORVA_WIDE void op_TRUNC(BlockMachine* m, const int16_t*) {
    unary(m, [](double x) { return x < kSysMissing ? fast_trunc(x) : kSysMissing; });
}
KORVA_WIDE void op_FLOOR(BlockMachine* m, const int16_t*) {
    unary(m, [](double x) { return x < kSysMissing ? fast_floor(x) : x; });
}
KORVA_WIDE void op_CEIL(BlockMachine* m, const int16_t*) {
    unary(m, [](double x) { return x < kSysMissing ? fast_ceil(x) : x; });
}
void op_FLOAT(BlockMachine* m, const int16_t*) {
    unary(m, [](double x) { return round_to_float(x); });
}
void op_LOG(BlockMachine* m, const int16_t*) {
    unary(m, [](double x) { return x > 0 && x < kSysMissing ? std::log(x) : kSysMissing; });
}
void op_LOG10(BlockMachine* m, const int16_t*) {
    const double log_of_10 = std::log(10.0);
    unary(m, [log_of_10](double x) {
        return x > 0 && x < kSysMissing ? std::log(x) / log_of_10 : kSysMissing;
    });
}
void op_EXP(BlockMachine* m, const int16_t*) {
    mathematical(m, [](double x) { return std::exp(x); });
}
KORVA_WIDE void op_SQRT(BlockMachine* m, const int16_t*) {
    unary(m, [](double x) { return ((x >= 0) & (x < kSysMissing)) ? std::sqrt(x) : kSysMissing; });
}
void op_ATAN(BlockMachine* m, const int16_t*) {
    mathematical(m, [](double x) { return std::atan(x); });
}
void op_SIN(BlockMachine* m, const int16_t*) {
    mathematical(m, [](double x) { return std::sin(x); });
}
void op_COS(BlockMachine* m, const int16_t*) {
    mathematical(m, [](double x) { return std::cos(x); });
}
void op_TAN(BlockMachine* m, const int16_t*) {
    mathematical(m, [](double x) { return std::tan(x); });
}
void op_ASIN(BlockMachine* m, const int16_t*) {
    mathematical(m, [](double x) { return std::asin(x); });
}
void op_ACOS(BlockMachine* m, const int16_t*) {
    mathematical(m, [](double x) { return std::acos(x); });
}
void op_TANH(BlockMachine* m, const int16_t*) {
    mathematical(m, [](double x) { return std::tanh(x); });
}
void op_ATANH(BlockMachine* m, const int16_t*) {
    mathematical(m, [](double x) { return std::atanh(x); });
}
void op_LOGIT(BlockMachine* m, const int16_t*) {
    mathematical(m, [](double x) { return std::log(x / (1 - x)); });
}
void op_INVLOGIT(BlockMachine* m, const int16_t*) {
    // By the side on which exp() cannot overflow.
    mathematical(m, [](double x) {
        const double e = std::exp(-std::fabs(x));
        return (x < 0 ? e : 1) / (1 + e);
    });
}
void op_CLOGLOG(BlockMachine* m, const int16_t*) {
    mathematical(m, [](double x) { return std::log(-std::log1p(-x)); });
}
void op_INVCLOGLOG(BlockMachine* m, const int16_t*) {
    mathematical(m, [](double x) { return -std::expm1(-std::exp(x)); });
}

// The observation's group when the range is cut into x equal ones.
void op_GROUP(BlockMachine* m, const int16_t*) {
    const double* x = spread(m, m->depth - 1);
    double* out = m->own[m->depth - 1];
    const double first = m->record->first;
    const double width = m->record->last - first;
    for (int i = 0; i < m->n; i++) {
        const double place = lane_obs(m, i) - first;
        double r = kSysMissing;
        if (x[i] > 0 && x[i] < kSysMissing) {
            r = width > 0 ? std::floor(place * (x[i] - 0.000001) / width + 1) : 1;
        }
        out[i] = fitting(r);
    }
    set_result(m, m->depth - 1, false);
}

// --- Of two or more ---

KORVA_WIDE void op_MOD(BlockMachine* m, const int16_t*) {
    const NumberOperand dividend = m->numbers[m->depth - 1];
    const NumberOperand divisor = m->numbers[m->depth - 2];
    const double by = *divisor.x;
    if (divisor.constant && !dividend.constant && by >= 1 && by <= 0x1p31 && by == std::floor(by) &&
        all_whole(dividend.x, m->n)) {
        const double reciprocal = 1 / by;
        two_arguments(
            m, [by, reciprocal](double x, double) { return whole_modulus(x, by, reciprocal); });
        return;
    }
    two_arguments(m, [](double x, double y) { return modulus(x, y); });
}

void op_ATAN2(BlockMachine* m, const int16_t*) {
    two_arguments(m, [](double y, double x) {
        return y < kSysMissing && x < kSysMissing ? fitting(std::atan2(y, x)) : kSysMissing;
    });
}

KORVA_WIDE void op_RELDIF(BlockMachine* m, const int16_t*) {
    two_arguments(m, [](double x, double y) {
        return ((x < kSysMissing) & (y < kSysMissing))
                   ? fitting(std::fabs(x - y) / (std::fabs(y) + 1))
                   : kSysMissing;
    });
}

// x at the whole number that it is nearer to than the tolerance.
KORVA_WIDE void op_CHOP(BlockMachine* m, const int16_t*) {
    two_arguments(m, [](double x, double tolerance) {
        if (!(x < kSysMissing && tolerance < kSysMissing)) return kSysMissing;
        const double whole = std::floor(x + 0.5);
        return std::fabs(x - whole) < tolerance ? whole : x;
    });
}

KORVA_WIDE void op_CLIP(BlockMachine* m, const int16_t*) {
    three_arguments(m, [](double x, double a, double b) {
        if (!(x < kSysMissing && a < kSysMissing && b < kSysMissing) || a > b) return kSysMissing;
        return x < a ? a : x > b ? b : x;
    });
}

void op_AUTOCODE(BlockMachine* m, const int16_t*) {
    const double* x[4];
    const int d = take_arguments(m, 4, x);
    double* out = m->own[d];
    for (int i = 0; i < m->n; i++) out[i] = autocode(x[0][i], x[1][i], x[2][i], x[3][i]);
    set_result(m, d, false);
}

KORVA_WIDE void op_ROUND(BlockMachine* m, const int16_t* operand) {
    if (operand[0] == 1) {
        unary(m, [](double x) { return round_to(x, 1); });
    } else {
        two_arguments(m, [](double x, double y) { return round_to(x, y); });
    }
}

namespace {

// The best of the k arguments that are not missing. The first argument's lanes lie deeper than the
// result's, so the result is built in it and then moved.
template <class F>
KORVA_INTO_WIDE void best_of(BlockMachine* m, int k, F better) {
    const double* x[kMaxNumbers];
    const int d = take_arguments(m, k, x);
    double* out = m->own[d + k - 1];
    const double* first = x[0];
    KORVA_LANES
    for (int i = 0; i < m->n; i++) out[i] = first[i] < kSysMissing ? first[i] : kSysMissing;
    for (int j = 1; j < k; j++) {
        const double* y = x[j];
        KORVA_LANES
        for (int i = 0; i < m->n; i++) {
            const bool take = (y[i] < kSysMissing) &
                              ((out[i] >= kSysMissing) | better(y[i], out[i]));
            out[i] = take ? y[i] : out[i];
        }
    }
    std::copy(out, out + m->n, m->own[d]);
    set_result(m, d, false);
}

}  // namespace

KORVA_WIDE void op_MAX(BlockMachine* m, const int16_t* operand) {
    best_of(m, operand[0], [](double a, double b) { return a > b; });
}
KORVA_WIDE void op_MIN(BlockMachine* m, const int16_t* operand) {
    best_of(m, operand[0], [](double a, double b) { return a < b; });
}

void op_RECODE(BlockMachine* m, const int16_t* operand) {
    const int k = operand[0];
    const double* x[kMaxNumbers];
    const int d = take_arguments(m, k, x);
    double* out = m->own[d];
    for (int i = 0; i < m->n; i++) {
        double r = x[0][i];
        if (r < kSysMissing) {
            int j = 1;
            while (j < k - 1 && x[j][i] < r) j++;
            r = bounds_rise(x, k, i) ? x[j][i] : kSysMissing;
        }
        out[i] = r;
    }
    set_result(m, d, false);
}

void op_IRECODE(BlockMachine* m, const int16_t* operand) {
    const int k = operand[0];
    const double* x[kMaxNumbers];
    const int d = take_arguments(m, k, x);
    double* out = m->own[d];
    for (int i = 0; i < m->n; i++) {
        int below = 0;
        for (int j = 1; j < k; j++) below += x[j][i] < x[0][i];
        out[i] = x[0][i] < kSysMissing && bounds_rise(x, k, i) ? below : kSysMissing;
    }
    set_result(m, d, false);
}

KORVA_WIDE void op_COND(BlockMachine* m, const int16_t* operand) {
    const int k = operand[0];
    const double* x[4];
    const int d = take_arguments(m, k, x);
    double* out = m->own[d];
    const double* if_missing = k == 4 ? x[3] : x[1];
    KORVA_LANES
    for (int i = 0; i < m->n; i++) {
        const double chosen = x[0][i] != 0 ? x[1][i] : x[2][i];
        out[i] = x[0][i] < kSysMissing ? chosen : if_missing[i];
    }
    set_result(m, d, false);
}

// A missing x is in no range; a missing bound is none.
KORVA_WIDE void op_INRANGE(BlockMachine* m, const int16_t*) {
    three_arguments(m, [](double x, double a, double b) {
        const bool above = (a >= kSysMissing) | (x >= a);
        const bool below = (b >= kSysMissing) | (x <= b);
        return ((x < kSysMissing) & above & below) ? 1.0 : 0.0;
    });
}

void op_INLIST(BlockMachine* m, const int16_t* operand) {
    const int k = operand[0];
    const double* x[kMaxNumbers];
    const int d = take_arguments(m, k, x);
    double* out = m->own[d];
    const bool one_missing = m->one_missing;
    for (int i = 0; i < m->n; i++) {
        bool found = false;
        for (int j = 1; j < k && !found; j++) {
            found = x[j][i] == x[0][i] ||
                    (one_missing && is_missing(x[j][i]) && is_missing(x[0][i]));
        }
        out[i] = found ? 1 : 0;
    }
    set_result(m, d, false);
}

}  // namespace korva

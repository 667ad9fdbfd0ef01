// data/expression_eval_dates.cpp - functions of elapsed days and of elapsed weeks, months,
// quarters, half-years and years.
//
// Arguments are cut to whole units, downwards. What the calendar does not have is `.`.

#include <cmath>

#include "core/missing.h"
#include "data/date_reading.h"
#include "data/expression_machine.h"
#include "data/expression_texts.h"
#include "output/calendar.h"

namespace korva {

namespace {

// f of the top operand in whole units; f returns false for `.`.
template <class F>
void of_units(BlockMachine* m, F f) {
    const int d = m->depth - 1;
    const NumberOperand x = m->numbers[d];
    double* out = m->own[d];
    const int n = lanes_of(m, x.constant);
    for (int i = 0; i < n; i++) {
        int64_t units;
        double value;
        out[i] = elapsed_units(x.x[i], &units) && f(units, &value) ? value : kSysMissing;
    }
    set_result(m, d, x.constant);
}

// A field of the day on the top.
template <class F>
void of_date(BlockMachine* m, F field) {
    of_units(m, [field](int64_t days, double* value) {
        CalendarDate date;
        if (!calendar_date(days, &date)) return false;
        *value = field(date);
        return true;
    });
}

void of_day(BlockMachine* m, TimeUnit unit) {
    of_units(m, [unit](int64_t days, double* value) {
        int64_t elapsed;
        if (!unit_of_day(unit, days, &elapsed)) return false;
        *value = double(elapsed);
        return true;
    });
}

void day_of(BlockMachine* m, TimeUnit unit) {
    of_units(m, [unit](int64_t elapsed, double* value) {
        int64_t days;
        if (!first_day_of_unit(unit, elapsed, &days)) return false;
        *value = double(days);
        return true;
    });
}

// A part of a date as an int, which no part outside of one has a meaning for.
bool small_whole(double x, int* value) {
    int64_t units;
    if (!elapsed_units(x, &units) || units < -100000 || units > 100000) return false;
    *value = int(units);
    return true;
}

// f of the k top operands as small whole numbers, x[0] the top one; f returns false for `.`.
template <int k, class F>
void of_parts(BlockMachine* m, F f) {
    const double* x[k];
    for (int j = 0; j < k; j++) x[j] = spread(m, m->depth - 1 - j);
    m->depth -= k - 1;
    double* out = m->own[m->depth - 1];
    for (int i = 0; i < m->n; i++) {
        int part[k];
        int64_t elapsed;
        bool known = true;
        for (int j = 0; j < k; j++) known = known && small_whole(x[j][i], &part[j]);
        out[i] = known && f(part, &elapsed) ? double(elapsed) : kSysMissing;
    }
    set_result(m, m->depth - 1, false);
}

void of_year_and_part(BlockMachine* m, TimeUnit unit) {
    of_parts<2>(m, [unit](const int* part, int64_t* elapsed) {
        return unit_of_parts(unit, part[0], part[1], elapsed);
    });
}

// The text, its order and, with `has_top`, the top year off the stacks; the unit's number on.
void read_lanes(BlockMachine* m, TimeUnit unit, bool has_top) {
    const TextLane* text = text_operand(m, 0);
    const TextLane* order = text_operand(m, 1);
    const double* top = has_top ? spread(m, --m->depth) : nullptr;
    double* out = m->own[m->depth];
    for (int i = 0; i < m->n; i++) {
        int64_t elapsed;
        const double top_year = top ? top[i] : kSysMissing;
        out[i] = read_time(unit, text[i].view(), order[i].view(), top_year, &elapsed)
                     ? double(elapsed)
                     : kSysMissing;
    }
    m->text_depth -= 2;
    set_result(m, m->depth, false);
    m->depth++;
}

}  // namespace

void op_DOW(BlockMachine* m, const int16_t*) {
    of_date(m, [](const CalendarDate& date) { return date.weekday; });
}
void op_DAY(BlockMachine* m, const int16_t*) {
    of_date(m, [](const CalendarDate& date) { return date.day; });
}
void op_MONTH(BlockMachine* m, const int16_t*) {
    of_date(m, [](const CalendarDate& date) { return date.month; });
}
void op_YEAR(BlockMachine* m, const int16_t*) {
    of_date(m, [](const CalendarDate& date) { return date.year; });
}
void op_HALFYEAR(BlockMachine* m, const int16_t*) {
    of_date(m, [](const CalendarDate& date) { return date.half; });
}
void op_QUARTER(BlockMachine* m, const int16_t*) {
    of_date(m, [](const CalendarDate& date) { return date.quarter; });
}
void op_WEEK(BlockMachine* m, const int16_t*) {
    of_date(m, [](const CalendarDate& date) { return date.week; });
}
void op_DOY(BlockMachine* m, const int16_t*) {
    of_date(m, [](const CalendarDate& date) { return date.day_of_year; });
}

void op_MDY(BlockMachine* m, const int16_t*) {
    of_parts<3>(m, [](const int* part, int64_t* days) {
        return days_of_date(part[2], part[0], part[1], days);
    });
}
void op_YW(BlockMachine* m, const int16_t*) {
    of_year_and_part(m, TimeUnit::Week);
}
void op_YM(BlockMachine* m, const int16_t*) {
    of_year_and_part(m, TimeUnit::Month);
}
void op_YQ(BlockMachine* m, const int16_t*) {
    of_year_and_part(m, TimeUnit::Quarter);
}
void op_YH(BlockMachine* m, const int16_t*) {
    of_year_and_part(m, TimeUnit::HalfYear);
}

void op_DOFY(BlockMachine* m, const int16_t*) {
    day_of(m, TimeUnit::Year);
}
void op_DOFH(BlockMachine* m, const int16_t*) {
    day_of(m, TimeUnit::HalfYear);
}
void op_DOFQ(BlockMachine* m, const int16_t*) {
    day_of(m, TimeUnit::Quarter);
}
void op_DOFM(BlockMachine* m, const int16_t*) {
    day_of(m, TimeUnit::Month);
}
void op_DOFW(BlockMachine* m, const int16_t*) {
    day_of(m, TimeUnit::Week);
}
void op_DOFD(BlockMachine* m, const int16_t*) {
    of_day(m, TimeUnit::Day);
}
void op_HOFD(BlockMachine* m, const int16_t*) {
    of_day(m, TimeUnit::HalfYear);
}
void op_QOFD(BlockMachine* m, const int16_t*) {
    of_day(m, TimeUnit::Quarter);
}
void op_MOFD(BlockMachine* m, const int16_t*) {
    of_day(m, TimeUnit::Month);
}
void op_WOFD(BlockMachine* m, const int16_t*) {
    of_day(m, TimeUnit::Week);
}

void op_DATE2(BlockMachine* m, const int16_t*) {
    read_lanes(m, TimeUnit::Day, false);
}
void op_DATE3(BlockMachine* m, const int16_t*) {
    read_lanes(m, TimeUnit::Day, true);
}
void op_YEARLY(BlockMachine* m, const int16_t* operand) {
    read_lanes(m, TimeUnit::Year, operand[0] == 3);
}
void op_HALFYEARLY(BlockMachine* m, const int16_t* operand) {
    read_lanes(m, TimeUnit::HalfYear, operand[0] == 3);
}
void op_QUARTERLY(BlockMachine* m, const int16_t* operand) {
    read_lanes(m, TimeUnit::Quarter, operand[0] == 3);
}
void op_MONTHLY(BlockMachine* m, const int16_t* operand) {
    read_lanes(m, TimeUnit::Month, operand[0] == 3);
}
void op_WEEKLY(BlockMachine* m, const int16_t* operand) {
    read_lanes(m, TimeUnit::Week, operand[0] == 3);
}

}  // namespace korva

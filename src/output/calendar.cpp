// output/calendar.cpp - days to dates and back without tables of years.
//
// Years that begin in March put the leap day last, so that months have a fixed pattern of 153 days
// in five; 400 such years always have 146097 days.
#include "output/calendar.h"

#include <algorithm>
#include <cmath>

namespace korva {

namespace {

constexpr int kEpochYear = 1960;
constexpr int64_t kDaysTo1960 = 715815;  // from 1 March of year 0
constexpr int64_t kDaysOfFourCenturies = 146097;
constexpr double kMostUnits = 1e9;  // no calendar reaches so far
constexpr int kEpochWeekday = 5;    // 1 January 1960 was a Friday
constexpr int kWeeks = 52;

constexpr int kMonthDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
constexpr int kDaysBefore[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};

constexpr std::string_view kMonths[] = {"January",   "February", "March",    "April",
                                        "May",       "June",     "July",     "August",
                                        "September", "October",  "November", "December"};
constexpr std::string_view kWeekdays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                          "Thursday", "Friday", "Saturday"};

// Quotient and remainder with the remainder from 0 up.
int64_t floor_divide(int64_t a, int64_t b) {
    return a >= 0 ? a / b : -((b - 1 - a) / b);
}
int64_t floor_remainder(int64_t a, int64_t b) {
    return a - floor_divide(a, b) * b;
}

bool has_year(int64_t year) {
    return year >= kFirstYear && year <= kLastYear;
}

// Any year from 0 on; the month and the day exist.
int64_t count_days(int year, int month, int day) {
    const int64_t march_year = month > 2 ? year : year - 1;
    const int march_month = month > 2 ? month - 3 : month + 9;
    const int64_t day_of_march_year = (153 * march_month + 2) / 5 + day - 1;
    return 365 * march_year + march_year / 4 - march_year / 100 + march_year / 400 +
           day_of_march_year - kDaysTo1960;
}

}  // namespace

bool is_leap_year(int year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int days_in_month(int year, int month) {
    return kMonthDays[month - 1] + (month == 2 && is_leap_year(year));
}

bool elapsed_units(double value, int64_t* units) {
    if (!(std::fabs(value) < kMostUnits)) return false;
    *units = int64_t(std::floor(value));
    return true;
}

bool calendar_date(int64_t days, CalendarDate* date) {
    if (days < kFirstDay || days > kLastDay) return false;
    const int64_t since = days + kDaysTo1960;
    const int64_t era = since / kDaysOfFourCenturies;
    const int64_t day_of_era = since % kDaysOfFourCenturies;
    const int64_t leap_days = day_of_era / 1460 - day_of_era / 36524 + day_of_era / 146096;
    const int64_t year_of_era = (day_of_era - leap_days) / 365;
    const int64_t day_of_march_year = day_of_era -
                                      (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const int march_month = int((5 * day_of_march_year + 2) / 153);
    date->month = march_month < 10 ? march_month + 3 : march_month - 9;
    date->day = int(day_of_march_year - (153 * march_month + 2) / 5 + 1);
    date->year = int(year_of_era + era * 400 + (date->month <= 2));
    date->day_of_year = kDaysBefore[date->month - 1] + date->day +
                        (date->month > 2 && is_leap_year(date->year));
    date->weekday = int(floor_remainder(days + kEpochWeekday, 7));
    date->week = std::min((date->day_of_year - 1) / 7 + 1, kWeeks);
    date->quarter = (date->month - 1) / 3 + 1;
    date->half = (date->month - 1) / 6 + 1;
    return true;
}

bool days_of_date(int year, int month, int day, int64_t* days) {
    if (!has_year(year) || month < 1 || month > 12) return false;
    if (day < 1 || day > days_in_month(year, month)) return false;
    *days = count_days(year, month, day);
    return true;
}

int units_a_year(TimeUnit unit) {
    switch (unit) {
    case TimeUnit::Week: return kWeeks;
    case TimeUnit::Month: return 12;
    case TimeUnit::Quarter: return 4;
    case TimeUnit::HalfYear: return 2;
    default: return 1;
    }
}

bool unit_of_parts(TimeUnit unit, int year, int part, int64_t* elapsed) {
    const int units = units_a_year(unit);
    if (!has_year(year) || part < 1 || part > units) return false;
    *elapsed = unit == TimeUnit::Year ? year : int64_t(year - kEpochYear) * units + part - 1;
    return true;
}

bool parts_of_unit(TimeUnit unit, int64_t elapsed, int* year, int* part) {
    const int units = units_a_year(unit);
    const int64_t whole_years = floor_divide(elapsed, units);
    const int64_t its_year = unit == TimeUnit::Year ? elapsed : kEpochYear + whole_years;
    if (!has_year(its_year)) return false;
    *year = int(its_year);
    *part = int(elapsed - whole_years * units) + 1;
    return true;
}

bool unit_of_day(TimeUnit unit, int64_t days, int64_t* elapsed) {
    CalendarDate date;
    if (!calendar_date(days, &date)) return false;
    const int64_t years = date.year - kEpochYear;
    switch (unit) {
    case TimeUnit::Day: *elapsed = days; break;
    case TimeUnit::Week: *elapsed = years * kWeeks + date.week - 1; break;
    case TimeUnit::Month: *elapsed = years * 12 + date.month - 1; break;
    case TimeUnit::Quarter: *elapsed = years * 4 + date.quarter - 1; break;
    case TimeUnit::HalfYear: *elapsed = years * 2 + date.half - 1; break;
    case TimeUnit::Year: *elapsed = date.year; break;
    }
    return true;
}

bool first_day_of_unit(TimeUnit unit, int64_t elapsed, int64_t* days) {
    if (unit == TimeUnit::Day) {
        if (elapsed < kFirstDay || elapsed >= kLastDay) return false;
        *days = elapsed;
        return true;
    }
    int year = 0;
    int part = 0;
    if (!parts_of_unit(unit, elapsed, &year, &part)) return false;
    if (unit == TimeUnit::Week) {
        *days = count_days(year, 1, 1) + 7 * (part - 1);
    } else {
        *days = count_days(year, (part - 1) * (12 / units_a_year(unit)) + 1, 1);
    }
    return true;
}

std::string_view month_name(int month) {
    return kMonths[month - 1];
}

std::string_view weekday_name(int weekday) {
    return kWeekdays[weekday];
}

}  // namespace korva

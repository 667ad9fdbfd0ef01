// output/date_format.cpp - dates and periods in their short forms.
//
// Years run from 1 January, and so do weeks: a year has 52, and the last takes the days that
// remain.
#include <cmath>
#include <cstdio>

#include "output/number_format.h"

namespace korva {

namespace {

constexpr int kEpochYear = 1960;
constexpr int kFirstYear = 100;
constexpr int kLastYear = 9999;
constexpr int kDaysTo1960 = 715815;  // from 0000-03-01 of the proleptic Gregorian calendar
constexpr const char* kMonths[] = {"jan", "feb", "mar", "apr", "may", "jun",
                                   "jul", "aug", "sep", "oct", "nov", "dec"};

int64_t floor_divide(int64_t a, int64_t b) {
    return (a - ((a % b + b) % b)) / b;
}

struct CivilDate {
    int year;
    int month;  // 1 to 12
    int day;
};

// Years that begin in March put the leap day last, so that months have a fixed pattern of 153 days
// in five; 400 such years always have 146097 days.
CivilDate civil_date(int64_t days) {
    days += kDaysTo1960;
    const int64_t era = floor_divide(days, 146097);
    const int64_t day_of_era = days - era * 146097;
    const int64_t year_of_era = (day_of_era - day_of_era / 1460 + day_of_era / 36524 -
                                 day_of_era / 146096) /
                                365;
    const int64_t day_of_year = day_of_era -
                                (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const int64_t march_month = (5 * day_of_year + 2) / 153;
    const int month = int(march_month < 10 ? march_month + 3 : march_month - 9);
    const int64_t year = year_of_era + era * 400 + (month <= 2);
    return {int(year), month, int(day_of_year - (153 * march_month + 2) / 5 + 1)};
}

int periods_a_year(char unit) {
    switch (unit) {
    case 'w': return 52;
    case 'm': return 12;
    case 'q': return 4;
    case 'h': return 2;
    default: return 1;
    }
}

}  // namespace

int format_date(char* out, char unit, double value) {
    if (!(std::fabs(value) < 1e7)) return 0;
    const auto count = int64_t(std::floor(value));
    if (unit == 'd') {
        const CivilDate date = civil_date(count);
        if (date.year < kFirstYear || date.year > kLastYear) return 0;
        return snprintf(out, 32, "%02d%s%d", date.day, kMonths[date.month - 1], date.year);
    }
    if (unit == 'y') {  // a year is its own number, not a count since 1960
        if (count < kFirstYear || count > kLastYear) return 0;
        return snprintf(out, 32, "%d", int(count));
    }
    const int periods = periods_a_year(unit);
    const int64_t year = kEpochYear + floor_divide(count, periods);
    if (year < kFirstYear || year > kLastYear) return 0;
    const int period = int(count - floor_divide(count, periods) * periods) + 1;
    return snprintf(out, 32, "%d%c%d", int(year), unit, period);
}

int date_width(char unit) {
    switch (unit) {
    case 'd': return 9;
    case 'w':
    case 'm': return 7;
    case 'y': return 4;
    default: return 6;
    }
}

}  // namespace korva

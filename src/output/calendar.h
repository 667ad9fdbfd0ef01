// output/calendar.h - the calendar: elapsed days, weeks, months, quarters, half-years and years,
// and the fields of a date.
//
// Time is counted in whole units from 1 January 1960, which is 0 in each unit but the year: a year
// counts as itself, so 1960 is 1960. Earlier units are negative. The calendar is the Gregorian one,
// carried back before its time, from year 100 to year 9999. A year has 52 weeks: they begin on
// 1 January, and the last takes the 8 or 9 days that remain.
//
// All functions are pure. Those that can be asked for what the calendar does not have return false
// and leave their result as it was.
#pragma once

#include <cstdint>
#include <string_view>

namespace korva {

constexpr int kFirstYear = 100;
constexpr int kLastYear = 9999;
constexpr int64_t kFirstDay = -679350;  // 1 January 100
// 1 January 10000, the one day behind year 9999 that is still told. Meant: functions of dates give
// missing from the day after it on. No format shows it.
constexpr int64_t kLastDay = 2936550;

enum class TimeUnit : uint8_t { Day, Week, Month, Quarter, HalfYear, Year };

struct CalendarDate {
    int year = 0;
    int month = 0;        // 1 to 12
    int day = 0;          // of the month, 1 to 31
    int day_of_year = 0;  // 1 to 366
    int weekday = 0;      // 0 Sunday to 6 Saturday
    int week = 0;         // 1 to 52
    int quarter = 0;      // 1 to 4
    int half = 0;         // 1 or 2
};

bool is_leap_year(int year);
int days_in_month(int year, int month);  // month 1 to 12

// The whole unit that an elapsed value stands in, which is its floor: half a day before 0 is day
// -1. False for a missing value and for one beyond every calendar.
bool elapsed_units(double value, int64_t* units);

// The fields of an elapsed day from kFirstDay to kLastDay.
bool calendar_date(int64_t days, CalendarDate* date);

// The elapsed day of a date in years 100 to 9999; false too where the month has no such day.
bool days_of_date(int year, int month, int day, int64_t* days);

// How many of the unit a year has: 52, 12, 4, 2 and 1. Not for days.
int units_a_year(TimeUnit unit);

// Units other than days. unit_of_parts: the elapsed unit from its year, 100 to 9999, and its number
// in the year from 1 on (1 for a year). parts_of_unit: the year and the number from the unit.
bool unit_of_parts(TimeUnit unit, int year, int part, int64_t* elapsed);
bool parts_of_unit(TimeUnit unit, int64_t elapsed, int* year, int* part);

// The elapsed unit in which a day from kFirstDay to kLastDay lies, and the first day of a unit in
// years 100 to 9999. For days both are the day itself.
bool unit_of_day(TimeUnit unit, int64_t days, int64_t* elapsed);
bool first_day_of_unit(TimeUnit unit, int64_t elapsed, int64_t* days);

// Names in English, capitalised: month 1 to 12, weekday 0 (Sunday) to 6. Cut to its first three
// letters a name is its abbreviation.
std::string_view month_name(int month);
std::string_view weekday_name(int weekday);

}  // namespace korva

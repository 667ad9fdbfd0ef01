// The calendar against another way to count: one day after the other, from a known Sunday.
#include "output/calendar.h"

#include <gtest/gtest.h>

#include "core/missing.h"

namespace korva {

namespace {

TEST(Calendar, EveryDayFollowsTheOneBefore) {
    int year = 100, month = 1, day = 1, day_of_year = 1;
    // Friday: 1900 years with 460 leap days are one day beyond whole weeks, and end on a Saturday.
    int weekday = 5;
    CalendarDate date;
    for (int64_t days = kFirstDay; days < kLastDay; days++) {
        ASSERT_TRUE(calendar_date(days, &date));
        ASSERT_TRUE(date.year == year && date.month == month && date.day == day) << days;
        ASSERT_EQ(date.day_of_year, day_of_year) << days;
        ASSERT_EQ(date.weekday, weekday) << days;
        int64_t back = 0;
        ASSERT_TRUE(days_of_date(year, month, day, &back) && back == days) << days;
        weekday = (weekday + 1) % 7;
        day_of_year++;
        if (++day <= days_in_month(year, month)) continue;
        day = 1;
        if (++month <= 12) continue;
        month = day_of_year = 1;
        year++;
    }
    EXPECT_EQ(year, 10000);
}

TEST(Calendar, EndsWhereItSays) {
    CalendarDate date;
    int64_t n = 0;
    EXPECT_FALSE(calendar_date(kFirstDay - 1, &date));
    ASSERT_TRUE(calendar_date(kLastDay, &date));
    EXPECT_TRUE(date.year == 10000 && date.month == 1 && date.day == 1);
    EXPECT_FALSE(calendar_date(kLastDay + 1, &date));
    EXPECT_FALSE(days_of_date(1900, 2, 29, &n));  // a century is no leap year
    EXPECT_TRUE(days_of_date(2000, 2, 29, &n));   // unless it is the fourth
    EXPECT_EQ(n, 14669);                          // 40 years with 10 leap days, and 31 + 28 days
    for (int month : {0, 13}) EXPECT_FALSE(days_of_date(2000, month, 1, &n));
    for (int year : {99, 10000}) EXPECT_FALSE(days_of_date(year, 1, 1, &n));
    EXPECT_FALSE(days_of_date(2000, 4, 31, &n));
    EXPECT_FALSE(days_of_date(2000, 4, 0, &n));
    EXPECT_FALSE(elapsed_units(kSysMissing, &n));
    EXPECT_FALSE(elapsed_units(1e10, &n));
    EXPECT_TRUE(elapsed_units(-0.25, &n));
    EXPECT_EQ(n, -1);
}

TEST(Calendar, UnitsCountFrom1960AndYearsAreThemselves) {
    struct Case {
        TimeUnit unit;
        int year, part;
        int64_t elapsed;
    };
    for (const Case& c :
         {Case{TimeUnit::Week, 1960, 1, 0}, Case{TimeUnit::Week, 1959, 52, -1},
          Case{TimeUnit::Month, 1961, 1, 12}, Case{TimeUnit::Month, 1959, 12, -1},
          Case{TimeUnit::Quarter, 2007, 4, 191}, Case{TimeUnit::HalfYear, 100, 1, -3720},
          Case{TimeUnit::Year, 2007, 1, 2007}}) {
        int64_t elapsed = 0;
        int year = 0, part = 0;
        EXPECT_TRUE(unit_of_parts(c.unit, c.year, c.part, &elapsed));
        EXPECT_EQ(elapsed, c.elapsed);
        EXPECT_TRUE(parts_of_unit(c.unit, c.elapsed, &year, &part));
        EXPECT_TRUE(year == c.year && part == c.part) << c.year;
        EXPECT_FALSE(unit_of_parts(c.unit, c.year, 0, &elapsed));
        EXPECT_FALSE(unit_of_parts(c.unit, c.year, units_a_year(c.unit) + 1, &elapsed));
        EXPECT_FALSE(unit_of_parts(c.unit, 99, 1, &elapsed));
    }
    int year = 0, part = 0;
    EXPECT_FALSE(parts_of_unit(TimeUnit::HalfYear, -3721, &year, &part));
    EXPECT_FALSE(parts_of_unit(TimeUnit::Year, 10000, &year, &part));
}

TEST(Calendar, TheLastWeekTakesTheDaysThatRemain) {
    int64_t n = 0;
    for (const auto& [day, week] :
         {std::pair{0, 0}, {6, 0}, {7, 1}, {356, 50}, {357, 51}, {365, 51}, {366, 52}}) {  // 1960
                                                                                           // has
                                                                                           // 366
                                                                                           // days
        ASSERT_TRUE(unit_of_day(TimeUnit::Week, day, &n));
        EXPECT_EQ(n, week) << day;
    }
    ASSERT_TRUE(first_day_of_unit(TimeUnit::Week, 51, &n));
    EXPECT_EQ(n, 357);
    ASSERT_TRUE(first_day_of_unit(TimeUnit::Quarter, 2, &n));
    EXPECT_EQ(n, 182);  // 31 + 29 + 31 + 30 + 31 + 30
    ASSERT_TRUE(first_day_of_unit(TimeUnit::Year, 1961, &n));
    EXPECT_EQ(n, 366);
}

}  // namespace

}  // namespace korva

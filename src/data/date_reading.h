// data/date_reading.h - dates and periods out of text, in a given order of their parts.
//
// An order is the letters of the parts, in either case: d, m and y for a date, y with one of w, m,
// q and h for a period, y alone for a year. Two digits in front of y are the century of years
// written with two: "md19y". Text is taken apart into numbers and words; everything else separates.
// A month may be a name, in full or its first three letters or more. Numbers may run together:
// 19600131.
//
// A year of one or two digits means the last such year up to the top year, else that of the order's
// century, else nothing can be read.
#pragma once

#include <cstdint>
#include <string_view>

#include "output/calendar.h"

namespace korva {

// The elapsed unit (for TimeUnit::Year the year) that the text tells; false if it tells none or the
// order is none. A missing top_year stands for no top year.
bool read_time(TimeUnit unit, std::string_view text, std::string_view order, double top_year,
               int64_t* elapsed);

// The letter of the time that a display format shows: d, w, m, q, h or y; 0 if it shows none.
char time_kind(std::string_view format);

// A time as it is written in a program, by that letter: 1jan1960, 1960w1, 1960m1, 1960q1, 1960h1,
// 1960. 0: a plain number, with a sign or without.
bool read_time_literal(char kind, std::string_view text, double* value);

}  // namespace korva

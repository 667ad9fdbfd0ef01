// output/number_format.h - display formats taken apart, and the formatter into a caller's buffer.
//
// Commands use fmt_number() of core/print.h, which writes into the one number buffer; output/
// itself uses format_number() where that buffer must stay.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/print.h"

namespace korva {

constexpr int kMaxFormatWidth = 244;  // the longest string value

struct NumberText {
    int length = 0;
    char text[320] = {};
};
extern NumberText number_buffer;  // what fmt_number wrote last; defined in number_format.cpp

enum class FormatKind : uint8_t {
    Bad,
    Fixed,
    Exponent,
    General,
    Hex,
    Bytes8,
    Bytes4,
    Date,
    String
};

struct Format {
    FormatKind kind = FormatKind::Bad;
    bool left = false;
    bool centre = false;  // strings only
    bool zero_pad = false;
    bool comma_point = false;  // the `,` form
    bool groups = false;       // the c behind the letter
    bool low_first = false;    // %16L and %8L
    char unit = 'd';           // of a date: d w m q h y
    int width = 0;
    int decimals = 0;
};

// Takes the format at the start of the text apart; returns its length in bytes, 0 if there is none.
// A date format takes all the letters and signs that follow it as its details.
int parse_format(std::string_view text, Format* format);

// The value as the format shows it, into *out; a kind that shows no numbers counts as %9.0g.
void format_number(NumberText* out, const Format& format, double value);
void format_number(NumberText* out, std::string_view format, double value);

// output/date_format.cpp: the short form of a date or period, such as 01jan1960 or 1960q1. The
// value counts units since 1960 began. Returns the length, 0 when no calendar has the date.
int format_date(char* out, char unit, double value);

// Columns of the short form.
int date_width(char unit);

}  // namespace korva

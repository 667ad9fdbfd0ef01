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
constexpr int kMaxDateDetails = 40;   // bytes of codes behind %td

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
    uint8_t n_details = 0;     // of a date: how many of `details` count
    int width = 0;             // of a date: the most columns that its details can take
    int decimals = 0;
    char details[kMaxDateDetails] = {};  // of a date: its codes, those of the short form included
};

// Takes the format at the start of the text apart; returns its length in bytes, 0 if there is none.
// A date format takes all the codes that follow it as its details; %tg is %9.0g.
int parse_format(std::string_view text, Format* format);

// The value as the format shows it, into *out; a kind that shows no numbers counts as %9.0g.
void format_number(NumberText* out, const Format& format, double value);
void format_number(NumberText* out, std::string_view format, double value);

// output/date_format.cpp. parse_date_details: what follows %d (unit d) or %t and the letter of its
// unit; returns how many bytes are codes, -1 when the unit or the details are none. format_date:
// the date or period of the value, which counts units as calendar.h tells, without padding. Returns
// the length, at most the format's width, and 0 when no calendar has the date.
int parse_date_details(std::string_view text, char unit, Format* format);
int format_date(char* out, const Format& format, double value);

}  // namespace korva

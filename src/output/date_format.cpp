// output/date_format.cpp - dates and periods as text, by the codes of a date format.
//
// The short form that a unit shows by itself is a detailed one too, so that there is one way from a
// value to its text. A period shows the fields of its first day; its week, month and so on are then
// its own.
#include <algorithm>
#include <cstring>

#include "output/calendar.h"
#include "output/number_format.h"

namespace korva {

namespace {

enum class Field : uint8_t {
    None,  // the code is no code
    Century,
    YearOfCentury,
    Month,
    Day,
    DayOfYear,
    Week,
    Quarter,
    Half,
    MonthName,
    WeekdayName,
    Sign,   // the character itself
    Blank,  // _
    Quote,  // !c
};

struct CodeRow {
    char code;
    Field field;
    uint8_t columns;  // the most that it shows
    bool whole;       // of a number: leading zeros; of a name: all its letters
    bool lower;       // of a name: not capitalised
};

// clang-format off
constexpr CodeRow kCodes[] = {
    // code field                 columns whole  lower
    {'C',   Field::Century,       2,      true,  false},
    {'c',   Field::Century,       2,      false, false},
    {'Y',   Field::YearOfCentury, 2,      true,  false},
    {'y',   Field::YearOfCentury, 2,      false, false},
    {'N',   Field::Month,         2,      true,  false},
    {'n',   Field::Month,         2,      false, false},
    {'D',   Field::Day,           2,      true,  false},
    {'d',   Field::Day,           2,      false, false},
    {'J',   Field::DayOfYear,     3,      true,  false},
    {'j',   Field::DayOfYear,     3,      false, false},
    {'W',   Field::Week,          2,      true,  false},
    {'w',   Field::Week,          2,      false, false},
    {'Q',   Field::Quarter,       1,      true,  false},
    {'q',   Field::Quarter,       1,      false, false},
    {'H',   Field::Half,          1,      true,  false},
    {'h',   Field::Half,          1,      false, false},
    {'M',   Field::MonthName,     9,      true,  false},
    {'m',   Field::MonthName,     3,      false, false},
    {'L',   Field::MonthName,     9,      true,  true},
    {'l',   Field::MonthName,     3,      false, true},
    {'A',   Field::WeekdayName,   9,      true,  false},
    {'a',   Field::WeekdayName,   3,      false, false},
    {'E',   Field::WeekdayName,   9,      true,  true},
    {'e',   Field::WeekdayName,   3,      false, true},
    {'.',   Field::Sign,          1,      false, false},
    {',',   Field::Sign,          1,      false, false},
    {':',   Field::Sign,          1,      false, false},
    {';',   Field::Sign,          1,      false, false},
    {'-',   Field::Sign,          1,      false, false},
    {'/',   Field::Sign,          1,      false, false},
    {'\\',  Field::Sign,          1,      false, false},
    {'_',   Field::Blank,         1,      false, false},
    {'!',   Field::Quote,         1,      false, false},
};

struct UnitRow {
    char letter;
    TimeUnit unit;
    std::string_view short_form;
};

constexpr UnitRow kUnits[] = {
    {'d', TimeUnit::Day,      "DlcY"},
    {'w', TimeUnit::Week,     "cY!ww"},
    {'m', TimeUnit::Month,    "cY!mn"},
    {'q', TimeUnit::Quarter,  "cY!qq"},
    {'h', TimeUnit::HalfYear, "cY!hh"},
    {'y', TimeUnit::Year,     "cY"},
};
// clang-format on

// The rows by their codes, so that a code costs no search.
struct CodeIndex {
    CodeRow rows[128] = {};
    constexpr CodeIndex() {
        for (const CodeRow& row : kCodes) rows[size_t(row.code)] = row;
    }
};
constexpr CodeIndex kByCode;

const CodeRow& row_of(char c) {
    return kByCode.rows[static_cast<unsigned char>(c) < 128 ? size_t(c) : 0];
}

const UnitRow* unit_row(char letter) {
    const auto row = std::find_if(std::begin(kUnits), std::end(kUnits),
                                  [&](const UnitRow& unit) { return unit.letter == letter; });
    return row == std::end(kUnits) ? nullptr : row;
}

int number_of(Field field, const CalendarDate& date) {
    switch (field) {
    case Field::Century: return date.year / 100;
    case Field::YearOfCentury: return date.year % 100;
    case Field::Month: return date.month;
    case Field::Day: return date.day;
    case Field::DayOfYear: return date.day_of_year;
    case Field::Week: return date.week;
    case Field::Quarter: return date.quarter;
    default: return date.half;
    }
}

char* add_number(char* to, const CodeRow& row, int number) {
    int size = row.whole ? row.columns : number >= 100 ? 3 : number >= 10 ? 2 : 1;
    for (int i = size; i-- > 0; number /= 10) to[i] = char('0' + number % 10);
    return to + size;
}

char* add_name(char* to, const CodeRow& row, std::string_view name) {
    const size_t n = row.whole ? name.size() : 3;
    memcpy(to, name.data(), n);
    if (row.lower) *to = char(*to - 'A' + 'a');
    return to + n;
}

}  // namespace

int parse_date_details(std::string_view text, char unit, Format* format) {
    const UnitRow* row = unit_row(unit);
    if (row == nullptr) return -1;
    size_t at = 0;
    while (at < text.size()) {
        const Field field = row_of(text[at]).field;
        if (field == Field::None) break;
        if (field == Field::Quote && ++at >= text.size()) return -1;
        if (field == Field::Quote && (text[at] == ' ' || text[at] == 0)) return -1;
        at++;
    }
    const std::string_view details = at > 0 ? text.substr(0, at) : row->short_form;
    if (details.size() > kMaxDateDetails) return -1;
    format->kind = FormatKind::Date;
    format->unit = unit;
    format->n_details = uint8_t(details.size());
    memcpy(format->details, details.data(), details.size());
    format->width = 0;
    for (size_t i = 0; i < details.size(); i++) {
        const CodeRow& code = row_of(details[i]);
        format->width += code.columns;
        i += code.field == Field::Quote;
    }
    return format->width <= kMaxFormatWidth ? int(at) : -1;
}

int format_date(char* out, const Format& format, double value) {
    const UnitRow* unit = unit_row(format.unit);
    int64_t elapsed = 0;
    int64_t days = 0;
    CalendarDate date;
    if (unit == nullptr || !elapsed_units(value, &elapsed)) return 0;
    if (!first_day_of_unit(unit->unit, elapsed, &days) || !calendar_date(days, &date)) return 0;
    char* to = out;
    for (int i = 0; i < format.n_details; i++) {
        const CodeRow& row = row_of(format.details[i]);
        switch (row.field) {
        case Field::None: break;
        case Field::Sign: *to++ = row.code; break;
        case Field::Blank: *to++ = ' '; break;
        case Field::Quote: *to++ = format.details[++i]; break;
        case Field::MonthName: to = add_name(to, row, month_name(date.month)); break;
        case Field::WeekdayName: to = add_name(to, row, weekday_name(date.weekday)); break;
        default: to = add_number(to, row, number_of(row.field, date)); break;
        }
    }
    return int(to - out);
}

}  // namespace korva

// fuzz/format_fuzz.cpp - any text as a format, with any value.
//
// Nine bytes come first: the decimal comma and the value's bits; the rest is the format. The text
// must stay within its buffer and be as long as it says, a format taken whole must be valid for
// numbers or for strings, and the calendar must find back to where it came from.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "core/settings.h"
#include "output/calendar.h"
#include "output/number_format.h"

using namespace korva;

namespace {

constexpr size_t kHead = 9;
constexpr TimeUnit kUnits[] = {TimeUnit::Day,     TimeUnit::Week,     TimeUnit::Month,
                               TimeUnit::Quarter, TimeUnit::HalfYear, TimeUnit::Year};

void require(bool holds) {
    if (!holds) std::abort();
}

void check_text(const NumberText& text, int width) {
    require(text.length >= 0 && size_t(text.length) < sizeof text.text);
    require(text.text[text.length] == 0);
    require(std::strlen(text.text) == size_t(text.length));
    require(text.length >= width);
}

void check_format(std::string_view format, double value) {
    Format parsed;
    const int n = parse_format(format, &parsed);
    require(n >= 0 && size_t(n) <= format.size());
    require((n == 0) == (parsed.kind == FormatKind::Bad));
    const bool whole = n > 0 && size_t(n) == format.size();
    require(whole == (fmt_is_valid(format, false) || fmt_is_valid(format, true)));
    require(parsed.width >= 0 && parsed.width <= kMaxFormatWidth && fmt_width(format) > 0);

    NumberText text;
    const bool shows = n > 0 && parsed.kind != FormatKind::String;
    format_number(&text, parsed, value);
    check_text(text, shows ? parsed.width : 9);
    fmt_number(format, value);
    check_text(number_buffer, 0);
    if (whole) require(std::strcmp(number_buffer.text, text.text) == 0);
}

void check_calendar(double value) {
    int64_t days = 0;
    CalendarDate date;
    if (!elapsed_units(value, &days) || !calendar_date(days, &date) || days == kLastDay) return;
    int64_t back = 0;
    require(days_of_date(date.year, date.month, date.day, &back) && back == days);
    for (TimeUnit unit : kUnits) {
        int64_t elapsed = 0;
        int64_t first = 0;
        require(unit_of_day(unit, days, &elapsed) && first_day_of_unit(unit, elapsed, &first));
        require(first <= days && days - first < 366);
        require(unit_of_day(unit, first, &back) && back == elapsed);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < kHead) return 0;
    settings.dp_comma = data[0] % 2 != 0;
    double value = 0;
    std::memcpy(&value, data + 1, sizeof value);
    std::string_view format{reinterpret_cast<const char*>(data) + kHead, size - kHead};
    format = format.substr(0, format.find('\0'));
    check_format(format, value);
    check_calendar(value);
    return 0;
}

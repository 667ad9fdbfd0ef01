// data/date_reading.cpp - reads the parts one after the other, each as the order's next letter
// says.
#include "data/date_reading.h"

#include <algorithm>
#include <cmath>

#include "core/missing.h"
#include "data/expression_machine.h"

namespace korva {

namespace {

constexpr int kMaxParts = 3;

constexpr bool is_digit(char c) {
    return c >= '0' && c <= '9';
}
constexpr char lower_letter(char c) {
    return c >= 'A' && c <= 'Z' ? char(c + 32) : c;
}
constexpr bool is_letter(char c) {
    return lower_letter(c) >= 'a' && lower_letter(c) <= 'z';
}

struct PartOrder {
    char letters[kMaxParts];
    int n = 0;
    int century = -1;
};

char unit_letter(TimeUnit unit) {
    switch (unit) {
    case TimeUnit::Week: return 'w';
    case TimeUnit::Month: return 'm';
    case TimeUnit::Quarter: return 'q';
    case TimeUnit::HalfYear: return 'h';
    case TimeUnit::Year: return 'y';
    case TimeUnit::Day: break;
    }
    return 'd';
}

// The letters that an order of the unit has, each once.
std::string_view letters_of(TimeUnit unit) {
    switch (unit) {
    case TimeUnit::Week: return "wy";
    case TimeUnit::Month: return "my";
    case TimeUnit::Quarter: return "qy";
    case TimeUnit::HalfYear: return "hy";
    case TimeUnit::Year: return "y";
    case TimeUnit::Day: break;
    }
    return "dmy";
}

bool read_order(TimeUnit unit, std::string_view text, PartOrder* order) {
    const std::string_view letters = letters_of(unit);
    for (size_t i = 0; i < text.size(); i++) {
        if (text[i] == ' ') continue;
        if (is_digit(text[i])) {
            const bool is_century = i + 2 < text.size() && is_digit(text[i + 1]) &&
                                    lower_letter(text[i + 2]) == 'y';
            if (!is_century) return false;
            order->century = (text[i] - '0') * 10 + (text[i + 1] - '0');
            i += 2;
        }
        const char letter = lower_letter(text[i]);
        if (letters.find(letter) == letters.npos) return false;
        if (std::string_view(order->letters, size_t(order->n)).find(letter) != letters.npos) {
            return false;
        }
        order->letters[order->n++] = letter;
    }
    return order->n == int(letters.size());
}

// The month whose name begins with the word, of three letters or more; 0: none.
int month_of_word(std::string_view word) {
    if (word.size() < 3) return 0;
    for (int month = 1; month <= 12; month++) {
        const std::string_view name = month_name(month);
        if (word.size() > name.size()) continue;
        const auto same = [](char a, char b) { return lower_letter(a) == lower_letter(b); };
        if (std::equal(word.begin(), word.end(), name.begin(), same)) return month;
    }
    return 0;
}

// Digits that a part other than the year has at most.
size_t most_digits(char letter) {
    return letter == 'q' || letter == 'h' ? 1 : 2;
}

struct PartReader {
    std::string_view rest;
    const PartOrder* order;
    double top_year;
    bool marks_unit;  // the unit's letter may stand in front of its number: 1960q1
    char unit;

    void skip_separators() {
        while (!rest.empty() && !is_digit(rest[0]) && !is_letter(rest[0])) rest.remove_prefix(1);
    }

    size_t run_of(bool (*belongs)(char)) const {
        size_t n = 0;
        while (n < rest.size() && belongs(rest[n])) n++;
        return n;
    }

    // The digits of the year when `run` digits stand together: all, or what the parts behind it
    // leave when nothing else stands behind.
    size_t year_digits(int place, size_t run) const {
        size_t others = 0;
        for (int i = place + 1; i < order->n; i++) others += most_digits(order->letters[i]);
        bool is_last = true;
        for (char c : rest.substr(run)) is_last = is_last && !is_digit(c) && !is_letter(c);
        return run > others && (run > 4 || is_last) ? run - others : run;
    }

    bool full_year(int digits, int* year) const {
        if (digits > 2) return true;
        if (top_year < kSysMissing && std::fabs(top_year) <= kLastYear) {
            const int top = int(std::floor(top_year));
            const int century = (top - *year) / 100;
            *year += (top < *year ? 0 : century) * 100;
            return top >= *year;
        }
        if (order->century < 0) return false;
        *year += order->century * 100;
        return true;
    }

    // The part of the order's letter number `place`.
    bool read_part(int place, int* value) {
        const char letter = order->letters[place];
        skip_separators();
        size_t run = run_of(is_letter);
        if (run > 0) {
            *value = letter == 'm' ? month_of_word(rest.substr(0, run)) : 0;
            const bool is_mark = marks_unit && run == 1 && lower_letter(rest[0]) == unit &&
                                 letter == unit;
            rest.remove_prefix(run);
            if (*value) return true;
            if (!is_mark) return false;
            skip_separators();
        }
        run = run_of(is_digit);
        if (run == 0) return false;
        const size_t take = letter == 'y' ? year_digits(place, run)
                                          : std::min(run, most_digits(letter));
        if (take > 4) return false;
        *value = 0;
        for (size_t i = 0; i < take; i++) *value = *value * 10 + (rest[i] - '0');
        rest.remove_prefix(take);
        return letter != 'y' || full_year(int(take), value);
    }
};

}  // namespace

bool read_time(TimeUnit unit, std::string_view text, std::string_view order_text, double top_year,
               int64_t* elapsed) {
    PartOrder order;
    if (!read_order(unit, order_text, &order)) return false;
    PartReader reader{text, &order, top_year, unit != TimeUnit::Day, unit_letter(unit)};
    int year = 0, month = 0, day = 0, part = 1;
    for (int i = 0; i < order.n; i++) {
        int value = 0;
        if (!reader.read_part(i, &value)) return false;
        // In a period the unit's letter may also stand behind its number: 1q1960.
        switch (order.letters[i]) {
        case 'y': year = value; break;
        case 'd': day = value; break;
        case 'm': month = value; break;
        default: part = value; break;
        }
        const size_t word = reader.run_of(is_letter);
        const bool is_mark = word == 1 && reader.marks_unit && order.letters[i] == reader.unit &&
                             lower_letter(reader.rest[0]) == reader.unit;
        if (is_mark) reader.rest.remove_prefix(1);
    }
    reader.skip_separators();
    if (!reader.rest.empty()) return false;
    if (unit == TimeUnit::Day) return days_of_date(year, month, day, elapsed);
    return unit_of_parts(unit, year, unit == TimeUnit::Month ? month : part, elapsed);
}

char time_kind(std::string_view format) {
    size_t at = 0;
    while (at < format.size() && (format[at] == '%' || format[at] == '-')) at++;
    if (at < format.size() && format[at] == 'd') return 'd';
    if (at + 1 >= format.size() || format[at] != 't') return 0;
    const char letter = format[at + 1];
    return std::string_view("dwmqhy").find(letter) == std::string_view::npos ? char(0) : letter;
}

bool read_time_literal(char kind, std::string_view text, double* value) {
    if (kind == 0) {
        const bool negative = text.starts_with('-');
        if (!parse_number(text.substr(negative ? 1 : 0), value)) return false;
        if (negative) *value = is_missing(*value) ? kSysMissing : -*value;
        return true;
    }
    constexpr std::string_view kKinds = "dwmqhy";
    constexpr TimeUnit kUnits[] = {TimeUnit::Day,     TimeUnit::Week,     TimeUnit::Month,
                                   TimeUnit::Quarter, TimeUnit::HalfYear, TimeUnit::Year};
    constexpr std::string_view kOrders[] = {"dmy", "yw", "ym", "yq", "yh", "y"};
    const size_t place = kKinds.find(kind);
    int64_t elapsed;
    if (!read_time(kUnits[place], text, kOrders[place], kSysMissing, &elapsed)) return false;
    *value = double(elapsed);
    return true;
}

}  // namespace korva

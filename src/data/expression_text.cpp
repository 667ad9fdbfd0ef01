// data/expression_text.cpp - finding where an expression ends in a line, and reading numbers.
//
// A blank ends an expression only between two operands, so `x if y` ends behind x while `a + b`
// goes on. Numbers are read here once for literals and for real(): short decimal ones exactly by
// one division, everything else by the C library.

#include "data/expression_text.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/missing.h"
#include "core/print.h"
#include "core/scanner.h"
#include "core/session.h"
#include "data/expression.h"
#include "data/expression_machine.h"

namespace korva {

namespace {

constexpr SeparatorSet kOperators{"|&=><+-*/^:!~#"};
constexpr SeparatorSet kMatrixOperators{"|&=><+-*/^:!~#\\,"};
constexpr int kExactDigits = 15;  // a whole number of so many digits is a double
constexpr double kPowersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                   1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

bool is_blank(char c) {
    return c == ' ' || c == '\t';
}
bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

int hex_digit(char c) {
    if (is_digit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// The state of a scan through a line.
struct Cleaner {
    std::string_view line;
    const SeparatorSet& operators;
    bool matrix_mode;
    size_t at = 0;
    int depth = 0;
    char last = 0;       // byte copied last; 0: none
    bool blank = false;  // blanks were passed over behind it

    // True if the expression ends in front of the byte c at depth 0.
    bool ends_at(char c) const {
        if (c == ',') return !matrix_mode;
        if (c == '{' || c == '}') return true;
        const bool behind_operand = last && !operators.has[uint8_t(last)];
        if (!behind_operand) return false;
        if (c == '=') return at + 1 >= line.size() || line[at + 1] != '=';
        return blank && !operators.has[uint8_t(c)];
    }
};

// An in-range value of a literal: what a double cannot hold as a number is `.`.
double literal_value(double magnitude, bool negative) {
    if (!(magnitude < kSysMissing)) return kSysMissing;
    return negative ? -magnitude : magnitude;
}

// h.hhhX+hhh: 2^1023 and above are the missing values, of which 27 patterns stand for one.
bool parse_hexadecimal(std::string_view text, bool negative, double* value) {
    if (text.size() < 5 || (text[0] != '0' && text[0] != '1') || text[1] != '.') return false;
    size_t i = 2;
    while (i < text.size() && hex_digit(text[i]) >= 0) i++;
    if (i + 2 >= text.size() || (text[i] != 'x' && text[i] != 'X')) return false;
    if (text[i + 1] != '+' && text[i + 1] != '-') return false;
    int exponent = 0;
    for (size_t k = i + 2; k < text.size(); k++) {
        if (hex_digit(text[k]) < 0 || k > i + 5) return false;
        exponent = exponent * 16 + hex_digit(text[k]);
    }
    if (text[i + 1] == '-') exponent = -exponent;
    char c_form[300];
    if (i > 250) return false;
    snprintf(c_form, sizeof c_form, "0x%.*sp%d", int(i), text.data(), exponent);
    const double magnitude = strtod(c_form, nullptr);
    const bool stands_for_missing = !negative &&
                                    magnitude == missing_value(missing_code(magnitude));
    *value = stands_for_missing ? magnitude : literal_value(magnitude, negative);
    return true;
}

// True if the text is digits, a point, digits and an exponent, at least one digit in front of it.
bool is_decimal(std::string_view text, bool* short_form, int* fraction_digits) {
    size_t i = 0;
    int digits = 0;
    *fraction_digits = 0;
    while (i < text.size() && is_digit(text[i])) i++, digits++;
    if (i < text.size() && text[i] == '.') {
        i++;
        while (i < text.size() && is_digit(text[i])) i++, digits++, ++*fraction_digits;
    }
    if (digits == 0) return false;
    *short_form = i == text.size() && digits <= kExactDigits;
    if (i == text.size()) return true;
    if (!strchr("eEdD", text[i]) || text[i] == 0) return false;
    i++;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) i++;
    if (i == text.size()) return false;
    while (i < text.size() && is_digit(text[i])) i++;
    return i == text.size();
}

}  // namespace

ReturnCode report_brackets(bool too_many) {
    const LevelGuard level(kLevelError);
    out_error(too_many ? "too many " : "too few ");
    out_error("')' or ']'\n");
    return 132;
}

ReturnCode report_quotes() {
    const LevelGuard level(kLevelError);
    out_error("too few quotes\n");
    return 132;
}

bool has_blanks(std::string_view text) {
    return text.find_first_of(" \t") != std::string_view::npos;
}

size_t string_end(std::string_view text, size_t at) {
    if (text[at] == '"') return text.find('"', at + 1);
    int depth = 1;
    for (size_t i = at + 2; i < text.size(); i++) {
        if (is_compound(text, i)) {
            depth++;
            i++;
        } else if (text[i] == '"' && i + 1 < text.size() && text[i + 1] == '\'') {
            i++;
            if (--depth == 0) return i;
        }
    }
    return std::string_view::npos;
}

ReturnCode clean_expression(std::string_view line, bool matrix_mode, std::string* text,
                            size_t* used) {
    Cleaner s{line, matrix_mode ? kMatrixOperators : kOperators, matrix_mode};
    text->clear();
    for (; s.at < line.size(); s.at++) {
        const char c = line[s.at];
        if (is_blank(c)) {
            s.blank = true;
            continue;
        }
        if (s.depth == 0 && s.ends_at(c)) break;
        s.blank = false;
        s.last = c;
        if (c == '"' || is_compound(line, s.at)) {
            const size_t end = string_end(line, s.at);
            if (end == std::string_view::npos) return report_quotes();
            text->append(line.substr(s.at, end + 1 - s.at));
            s.at = end;
            continue;
        }
        if (c == '(' || c == '[') s.depth++;
        if ((c == ')' || c == ']') && --s.depth < 0) return report_brackets(true);
        text->push_back(c);
    }
    if (s.depth > 0) return report_brackets(false);
    *used = s.at;
    return 0;
}

ReturnCode collect_expression(std::string* text, bool matrix_mode) {
    char* rest = ScanRest();
    size_t used = 0;
    if (ReturnCode rc = clean_expression(rest, matrix_mode, text, &used)) return rc;
    SetScanPointer(rest + used);
    return 0;
}

bool parse_number(std::string_view text, double* value) {
    if (text.empty()) return false;
    if (text[0] == '.' && text.size() <= 2) {
        const char letter = text.size() == 2 ? text[1] : '`';  // ` stands in front of a
        if (letter >= '`' && letter <= 'z' && !(text.size() == 2 && letter == '`')) {
            *value = missing_value(letter - '`');
            return true;
        }
    }
    const bool negative = text[0] == '-';
    if (negative || text[0] == '+') text.remove_prefix(1);
    bool short_form = false;
    int fraction_digits = 0;
    if (!is_decimal(text, &short_form, &fraction_digits)) {
        return parse_hexadecimal(text, negative, value);
    }
    if (short_form) {
        int64_t whole = 0;
        for (char c : text) {
            if (c != '.') whole = whole * 10 + (c - '0');
        }
        const double magnitude = double(whole) / kPowersOfTen[fraction_digits];
        *value = negative ? -magnitude : magnitude;
        return true;
    }
    char c_form[256];
    if (text.size() >= sizeof c_form) return false;
    for (size_t i = 0; i < text.size(); i++) {
        c_form[i] = text[i] == 'd' || text[i] == 'D' ? 'e' : text[i];
    }
    c_form[text.size()] = 0;
    *value = literal_value(strtod(c_form, nullptr), negative);
    return true;
}

}  // namespace korva

// core/number_list.cpp - number lists and the command numlist.
//
// A range is counted before it is written out, so that no text, however small, makes more numbers
// than the list may have. Its numbers are first + i * step: nothing adds up along the way.
#include "core/number_list.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "core/commands.h"
#include "core/macro.h"
#include "core/missing.h"
#include "core/names.h"
#include "core/option_words.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/stored_results.h"
#include "core/words.h"

namespace korva {

namespace {

constexpr double kPlainWholes = 1e9;  // whole numbers below it print as their digits
constexpr double kStepSlack = 1e-10;  // of a step: 0(.1).3 ends at .3, though .3 / .1 is below 3
constexpr ReturnCode kInvalid = 121, kTooFew = 122, kTooMany = 123, kOrder = 124, kRange = 125,
                     kNoninteger = 126, kMissing = 127;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// Takes a number or a missing value off the front of *text. It must end at a blank, at the end, or
// at what makes a range.
bool take_number(std::string_view* text, double* x) {
    const std::string_view& t = *text;
    size_t end = !t.empty() && (t[0] == '-' || t[0] == '+') ? 1 : 0;
    const size_t digits = end;
    while (end < t.size()) {
        const bool exponent_sign = (t[end] == '-' || t[end] == '+') && end > digits &&
                                   (t[end - 1] == 'e' || t[end - 1] == 'E');
        const bool letter = t[end] >= 'a' && t[end] <= 'z';
        if (!is_digit(t[end]) && t[end] != '.' && t[end] != 'E' && !letter && !exponent_sign) break;
        end++;
    }
    if (end == digits || !ParseMacroNumber(t.substr(0, end), x)) return false;
    text->remove_prefix(end);
    return true;
}

void skip_blanks(std::string_view* text) {
    text->remove_prefix(std::min(text->find_first_not_of(' '), text->size()));
}

// Takes `to` or `:` and the number behind it; false, with nothing taken, if something else stands
// there.
bool take_to(std::string_view* text) {
    std::string_view rest = *text;
    skip_blanks(&rest);
    if (rest.starts_with(':')) {
        rest.remove_prefix(1);
    } else if (rest.starts_with("to") && (rest.size() == 2 || rest[2] == ' ')) {
        rest.remove_prefix(2);
    } else {
        return false;
    }
    skip_blanks(&rest);
    *text = rest;
    return true;
}

class Expander {
public:
    Expander(const NumberListRules& rules, std::vector<double>* numbers)
        : rules_(rules), numbers_(numbers) {}

    ReturnCode run(std::string_view text) {
        for (skip_blanks(&text); !text.empty(); skip_blanks(&text)) {
            if (ReturnCode rc = element(&text)) return rc;
            if (!text.empty() && text[0] != ' ') return kInvalid;
        }
        return 0;
    }

private:
    ReturnCode add(double x) {
        if (int64_t(numbers_->size()) >= rules_.max) return kTooMany;
        numbers_->push_back(x);
        return 0;
    }

    // `first` is in the list, or is added here.
    ReturnCode add_range(double first, double step, double last) {
        if (is_missing(first) || is_missing(step) || is_missing(last) || step == 0) return kInvalid;
        const double steps = (last - first) / step;
        if (steps < 0 || !std::isfinite(steps)) return kInvalid;
        const double most = std::floor(steps + kStepSlack * std::max(1.0, steps));
        if (most >= double(rules_.max)) return kTooMany;
        for (double i = 0; i <= most; i++) {
            if (ReturnCode rc = add(first + i * step)) return rc;
        }
        return 0;
    }

    // Behind `a(` or `a[`.
    ReturnCode stepped(std::string_view* text, double first, char close) {
        double step = 0, last = 0;
        skip_blanks(text);
        if (!take_number(text, &step)) return kInvalid;
        skip_blanks(text);
        if (!text->starts_with(close)) return kInvalid;
        text->remove_prefix(1);
        skip_blanks(text);
        if (!take_number(text, &last)) return kInvalid;
        return add_range(first, step, last);
    }

    ReturnCode element(std::string_view* text) {
        double first = 0, last = 0;
        if (!take_number(text, &first)) return kInvalid;
        const char next = text->empty() ? ' ' : (*text)[0];
        if (next == '/') {
            text->remove_prefix(1);
            if (!take_number(text, &last)) return kInvalid;
            return add_range(first, last < first ? -1 : 1, last);
        }
        if (next == '(' || next == '[') {
            text->remove_prefix(1);
            return stepped(text, first, next == '(' ? ')' : ']');
        }
        if (take_to(text)) return to_range(text, first);
        return add(first);
    }

    // Behind `a b to`: a is the last number of the list.
    ReturnCode to_range(std::string_view* text, double second) {
        double last = 0;
        if (numbers_->empty() || !take_number(text, &last)) return kInvalid;
        const double first = numbers_->back();
        if (is_missing(first) || is_missing(second)) return kInvalid;
        numbers_->pop_back();
        return add_range(first, second - first, last);
    }

    const NumberListRules& rules_;
    std::vector<double>* numbers_;
};

bool keeps(const NumberListRules::Bound& bound, double x) {
    using enum NumberListRules::Bound::Test;
    switch (bound.test) {
    case Above: return x > bound.limit;
    case AtLeast: return x >= bound.limit;
    case Below: return x < bound.limit;
    case AtMost: return x <= bound.limit;
    case None: break;
    }
    return true;
}

ReturnCode check_numbers(const NumberListRules& rules, const std::vector<double>& numbers) {
    for (double x : numbers) {
        if (is_missing(x)) {
            if (!rules.missing_okay) return kMissing;
            continue;
        }
        if (rules.integer && !IsWholeNumber(x)) return kNoninteger;
        if (!keeps(rules.bounds[0], x) || !keeps(rules.bounds[1], x)) return kRange;
    }
    if (int64_t(numbers.size()) < rules.min) return kTooFew;
    return 0;
}

ReturnCode check_order(const NumberListRules& rules, const std::vector<double>& numbers) {
    for (size_t i = 1; i < numbers.size(); i++) {
        if (rules.ascending && !(numbers[i] > numbers[i - 1])) return kOrder;
        if (rules.descending && !(numbers[i] < numbers[i - 1])) return kOrder;
    }
    return 0;
}

bool read_count(std::string_view text, int32_t* count) {
    text = TrimBlanks(text);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *count);
    return error == std::errc() && end == text.data() + text.size() && *count >= 0;
}

// One or two of `>= #` and its like.
bool read_bounds(std::string_view text, NumberListRules* rules) {
    int n = 0;
    for (skip_blanks(&text); !text.empty(); skip_blanks(&text)) {
        if (n == 2 || (text[0] != '<' && text[0] != '>')) return false;
        NumberListRules::Bound* bound = &rules->bounds[n++];
        const bool or_equal = text.size() > 1 && text[1] == '=';
        using enum NumberListRules::Bound::Test;
        if (text[0] == '>') {
            bound->test = or_equal ? AtLeast : Above;
        } else {
            bound->test = or_equal ? AtMost : Below;
        }
        text.remove_prefix(or_equal ? 2 : 1);
        skip_blanks(&text);
        if (!take_number(&text, &bound->limit)) return false;
    }
    return n > 0;
}

// The text of the list at the scanner, quoted or not, up to the comma or the end, which is left to
// be read.
ReturnCode take_list_text(std::string* text) {
    char* start = SkipBlanks(ScanRest());
    const std::string_view line = start;
    const size_t comma = FindOutside(line, ',');
    std::string_view list = line.substr(0, comma);
    if (!StripQuotes(&list) && list.find('"') != list.npos) return ReportInvalidSyntax();
    text->assign(list);
    SetScanPointer(start + (comma == line.npos ? line.size() : comma));
    return 0;
}

ReturnCode read_rules(NumberListRules* rules) {
    NextToken();
    if (TokenIsEmpty()) return 0;
    if (!TokenIs(",")) return ReportInvalidSyntax();
    while (*NextToken(OptionSeparators)) {
        const std::string word = scanner.TokenBuffer;
        std::string argument;
        const bool takes_one = word == "min" || word == "max" ||
                               MatchAbbreviation(word, "range", 1);
        if (takes_one && !TakeParenthesised(&argument)) {
            out_error("option " + word + " incorrectly specified\n");
            return 198;
        }
        if (ReadNumberListRule(word, argument, rules)) continue;
        if (!takes_one) return ReportOptionNotAllowed(word);
        out_error("option " + word + " incorrectly specified\n");
        return 198;
    }
    return 0;
}

}  // namespace

bool IsWholeNumber(double x) {
    return !is_missing(x) && x == std::trunc(x);
}

bool ReadNumberListRule(std::string_view word, std::string_view argument, NumberListRules* rules) {
    if (word == "min") return read_count(argument, &rules->min);
    if (word == "max") return read_count(argument, &rules->max);
    if (MatchAbbreviation(word, "range", 1)) return read_bounds(argument, rules);
    if (!argument.empty()) return false;
    if (MatchAbbreviation(word, "ascending", 3)) return rules->ascending = true;
    if (MatchAbbreviation(word, "descending", 4)) return rules->descending = true;
    if (MatchAbbreviation(word, "integer", 3)) return rules->integer = true;
    if (MatchAbbreviation(word, "missingokay", 4)) return rules->missing_okay = true;
    if (MatchAbbreviation(word, "sort", 4)) return rules->sort = true;
    return read_bounds(word, rules);
}

ReturnCode ExpandNumberList(std::string_view text, const NumberListRules& rules,
                            std::vector<double>* numbers) {
    numbers->clear();
    if (ReturnCode rc = Expander(rules, numbers).run(text)) return rc;
    if (ReturnCode rc = check_numbers(rules, *numbers)) return rc;
    if (rules.sort) std::sort(numbers->begin(), numbers->end());
    return check_order(rules, *numbers);
}

std::string NumberListText(const std::vector<double>& numbers) {
    // A comma would end the number for whoever reads the text.
    const bool comma = settings.dp_comma;
    settings.dp_comma = false;
    std::string text;
    for (double x : numbers) {
        if (!text.empty()) text += ' ';
        if (IsWholeNumber(x) && std::abs(x) < kPlainWholes) {
            text += std::to_string(int64_t(x));
        } else {
            text += TrimBlanks(fmt_number("%15.0g", x));
        }
    }
    settings.dp_comma = comma;
    return text;
}

// numlist "text" [, ascending descending integer missingokay min(#) max(#) range(...) sort]
ReturnCode CmdNumlist(int) {
    std::string text;
    NumberListRules rules;
    if (ReturnCode rc = take_list_text(&text)) return rc;
    if (ReturnCode rc = read_rules(&rules)) return rc;
    // Each number takes two bytes of the result at least.
    rules.max = std::min(rules.max, session.macrolen / 2);
    std::vector<double> numbers;
    if (ReturnCode rc = ExpandNumberList(text, rules, &numbers)) return ReportError(rc);
    const std::string list = NumberListText(numbers);
    if (list.size() >= size_t(session.macrolen)) return ReportError(kTooMany);
    ClearResults();
    return SetResultText("numlist", list);
}

}  // namespace korva

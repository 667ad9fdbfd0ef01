// data/options.cpp - what a command asks about the options that the skeleton collected.
//
// A reader marks every option that it recognises, by abbreviation, as used; options_done() names
// the first one left over. Of an option given twice the last one counts.
#include <charconv>
#include <cmath>

#include "core/names.h"
#include "core/print.h"
#include "data/skeleton.h"

namespace korva {

namespace {

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    return text;
}

ReturnCode report_option(std::string_view name, const char* fault) {
    out_errorf("option %.*s %s\n", int(name.size()), name.data(), fault);
    return 198;
}

// The option that has its argument (or none) as it should; null: it was not given.
SkeletonOption* find_option(std::string_view name, int minimum, bool with_argument) {
    SkeletonOption* found = nullptr;
    for (SkeletonOption& option : skeleton.options) {
        if (!MatchAbbreviation(option.name, name, minimum)) continue;
        if (option.has_argument != with_argument) {
            option.wrong = true;
            continue;
        }
        option.used = true;
        found = &option;
    }
    return found;
}

}  // namespace

bool option_present(std::string_view name, int minimum, bool otherwise) {
    bool result = otherwise;
    for (SkeletonOption& option : skeleton.options) {
        std::string_view word = option.name;
        bool value = true;
        if (!MatchAbbreviation(word, name, minimum)) {
            if (!word.starts_with("no") || !MatchAbbreviation(word.substr(2), name, minimum))
                continue;
            value = false;
        }
        if (option.has_argument) {
            option.wrong = true;
            continue;
        }
        option.used = true;
        result = value;
    }
    return result;
}

bool option_text(std::string_view name, int minimum, std::string* text) {
    const SkeletonOption* option = find_option(name, minimum, true);
    if (option) *text = option->argument;
    return option != nullptr;
}

ReturnCode option_number(std::string_view name, int minimum, double* value, bool* given) {
    std::string text;
    *given = option_text(name, minimum, &text);
    if (!*given) return 0;
    const std::string_view number = trimmed(text);
    const std::from_chars_result end = std::from_chars(number.data(), number.data() + number.size(),
                                                       *value);
    if (number.empty() || end.ec != std::errc{} || end.ptr != number.data() + number.size() ||
        !std::isfinite(*value)) {
        return report_option(name, "incorrectly specified");
    }
    return 0;
}

ReturnCode option_integer(std::string_view name, int minimum, int32_t* value, bool* given) {
    double number = 0;
    if (ReturnCode rc = option_number(name, minimum, &number, given)) return rc;
    if (!*given) return 0;
    if (number != std::trunc(number) || std::fabs(number) > INT32_MAX) {
        return report_option(name, "incorrectly specified");
    }
    *value = int32_t(number);
    return 0;
}

ReturnCode option_not_available(std::string_view name, int minimum) {
    const bool flag = find_option(name, minimum, false) != nullptr;
    const bool valued = find_option(name, minimum, true) != nullptr;
    if (!flag && !valued) return 0;
    out_errorf("option %.*s is not available yet\n", int(name.size()), name.data());
    return 199;
}

ReturnCode options_done() {
    for (const SkeletonOption& option : skeleton.options) {
        if (option.used) continue;
        return report_option(option.name, option.wrong ? "incorrectly specified" : "not allowed");
    }
    return 0;
}

}  // namespace korva

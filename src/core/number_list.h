// core/number_list.h - lists of numbers as they are typed, and what a command asks of them.
//
// An element is a number or a missing value, `a/b` (in steps of one, up or down), `a(d)b` or
// `a[d]b` (in steps of d), or `a b to c` (the step is b - a); `:` serves for `to`.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/types.h"

namespace korva {

constexpr int32_t kMostListNumbers = 1600;  // unless max() says otherwise

struct NumberListRules {
    int32_t min = 1;                 // fewest numbers, 122
    int32_t max = kMostListNumbers;  // most numbers, 123
    bool ascending = false;          // each number is above the one before it, 124
    bool descending = false;         // each is below it, 124
    bool integer = false;            // whole numbers only, 126
    bool missing_okay = false;       // missing values may stand there, else 127
    bool sort = false;               // put in ascending order before the order is looked at
    // Bounds that every number that is not missing keeps, 125.
    struct Bound {
        enum Test : uint8_t { None, Above, AtLeast, Below, AtMost } test = None;
        double limit = 0;
    };
    Bound bounds[2];
};

// One rule word of an option's picture or of the command, with the text behind its `=` or between
// its parentheses: ascending, descending, integer, missingokay, sort, min, max, range, or a bound
// as it stands, `>=0`. False: it is none, or not as it should be.
bool ReadNumberListRule(std::string_view word, std::string_view argument, NumberListRules* rules);

// Expands the text into *numbers. 0, or 121 to 127 without words: the caller knows what to say in
// front of ReportError. *numbers is then not to be used.
ReturnCode ExpandNumberList(std::string_view text, const NumberListRules& rules,
                            std::vector<double>* numbers);

// The numbers as text, "%15.0g" each, with blanks between.
std::string NumberListText(const std::vector<double>& numbers);

// True for a number that is whole and not missing.
bool IsWholeNumber(double x);

}  // namespace korva

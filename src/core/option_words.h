// core/option_words.h - options of commands whose options are plain words.
#pragma once

#include <span>
#include <string_view>

#include "core/types.h"

namespace korva {

struct OptionWord {
    std::string_view name;
    int minimum;    // fewest characters of the abbreviation
    bool* present;  // set to true when the word is found
};

// Reads the words at the scanner to the end of the line, each of the list. Another word is
// "option ... not allowed", 198.
ReturnCode ReadOptionWords(std::span<const OptionWord> words);

// What may stand behind a command's arguments: nothing, or a comma and option words.
ReturnCode ReadTrailingOptions(std::span<const OptionWord> words);

// "option %s not allowed", 198.
ReturnCode ReportOptionNotAllowed(std::string_view option);

}  // namespace korva

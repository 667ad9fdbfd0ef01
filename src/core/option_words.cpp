// core/option_words.cpp - options of commands whose options are plain words.
#include "core/option_words.h"

#include <algorithm>
#include <string>

#include "core/names.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"

namespace korva {

ReturnCode ReportOptionNotAllowed(std::string_view option) {
    out_error("option " + std::string(option) + " not allowed\n");
    return 198;
}

ReturnCode ReadOptionWords(std::span<const OptionWord> words) {
    while (*NextToken(OptionSeparators)) {
        const std::string_view typed = scanner.TokenBuffer;
        const auto word = std::find_if(words.begin(), words.end(), [&](const OptionWord& w) {
            return MatchAbbreviation(typed, w.name, w.minimum);
        });
        if (word == words.end()) return ReportOptionNotAllowed(typed);
        *word->present = true;
    }
    return 0;
}

ReturnCode ReadTrailingOptions(std::span<const OptionWord> words) {
    NextToken();
    if (TokenIsEmpty()) return 0;
    if (!TokenIs(",")) return ReportInvalidSyntax();
    return ReadOptionWords(words);
}

}  // namespace korva

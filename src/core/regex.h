// core/regex.h - regular expressions, with the subexpressions of the last match kept.
//
// The syntax is POSIX's extended one. One pattern at a time is kept compiled, so that a loop that
// matches many texts compiles once.
#pragma once

#include <string>
#include <string_view>

#include "core/types.h"

namespace korva {

constexpr int kMaxSubexpressions = 9;

enum class Subexpression : uint8_t { Found, NothingMatched, OutOfRange };

// Whether the pattern is one, without words. There is no last match if it is not.
bool RegexIsSound(std::string_view pattern);

// Whether the pattern matches somewhere in the text. 198 with words for a pattern that is none;
// there is no last match then.
ReturnCode RegexMatch(std::string_view text, std::string_view pattern, bool* matched);

// The text with its first match replaced; the text itself when there is no match. Codes as
// RegexMatch, whose last match it leaves alone.
ReturnCode RegexReplace(std::string_view text, std::string_view pattern, std::string_view with,
                        std::string* result);

// Subexpression n of the last RegexMatch, 0 being the whole match; empty if it took no part. The
// text is valid until the next match.
Subexpression RegexSubexpression(int n, std::string_view* text);

// Forgets the last match and the compiled pattern.
void RegexReset();

}  // namespace korva

// core/tokens.h - text in macros taken apart into tokens by separators of the caller's choice.
#pragma once

#include <string>
#include <string_view>

#include "core/scanner.h"
#include "core/types.h"

namespace korva {

// The local macros 1, 2, ... become the tokens of the text; the next ones up to the first undefined
// one are dropped. 198 for a quote that does not close.
ReturnCode TokenizeToMacros(std::string_view text, const SeparatorSet& separators);

// The rest of the line as text, quoted or not, and the option parse() behind a comma; *given: there
// was one. *separators stays as it is without. 198 with words.
ReturnCode TakeTextAndSeparators(std::string* text, SeparatorSet* separators, bool* given);

}  // namespace korva

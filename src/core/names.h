// core/names.h - what a name may look like, and when a word abbreviates one.
#pragma once

#include <string_view>

namespace korva {

// 1 to 32 characters, none of \!@#$%^&*()-+=[]{}:;,'"~<>?/|. or blank or control, first a letter or
// `_`.
bool IsValidName(std::string_view name);

// True if `word` is a prefix of `name` of at least `minimum` characters. Case counts.
constexpr bool MatchAbbreviation(std::string_view word, std::string_view name, int minimum) {
    return word.size() >= size_t(minimum) && name.starts_with(word);
}

}  // namespace korva

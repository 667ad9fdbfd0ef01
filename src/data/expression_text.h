// data/expression_text.h - the text of an expression before it is compiled, for this folder only.
#pragma once

#include <string>
#include <string_view>

#include "core/types.h"

namespace korva {

// Copies the expression at the start of `line` into *text, without blanks outside strings, up to
// its end at depth 0; *used is where it ends in the line. 132 with words.
ReturnCode clean_expression(std::string_view line, bool matrix_mode, std::string* text,
                            size_t* used);

// True if the text has blanks, so that it may not have been cleaned.
bool has_blanks(std::string_view text);

// Index of the last byte of the string constant that begins at text[at]; npos: it does not end.
size_t string_end(std::string_view text, size_t at);

// True if a compound string begins at text[at].
inline bool is_compound(std::string_view text, size_t at) {
    return text[at] == '`' && at + 1 < text.size() && text[at + 1] == '"';
}

// The words for unbalanced brackets and quotes, and their code.
ReturnCode report_brackets(bool too_many);
ReturnCode report_quotes();

}  // namespace korva

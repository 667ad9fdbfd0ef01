// data/completion_statement.h - the command of a half-typed statement, and its arguments so far.
//
// Both read a mask of the text (core/completion_text.h); the views lie in it or in the command
// table.
#pragma once

#include <cstddef>
#include <string_view>

#include "core/completion_text.h"

namespace korva {

constexpr int kWordsKept = 3;  // of the arguments: no place depends on a later one

struct TypedCommand {
    std::string_view name;   // in full; empty: the cursor is at the command's word, or nowhere
    size_t behind = 0;       // where what follows its word begins
    size_t word = kNowhere;  // where the command's word begins, if the cursor is at it
};

// What stands between the command's word and the word at the cursor.
struct TypedArguments {
    std::string_view words[kWordsKept];  // the first ones outside brackets, in front of the options
    int n_words = 0;
    bool expression = false;  // behind `if` or `=`
    bool range = false;       // behind `in`
    int depth = 0;            // brackets open
    size_t bracket = 0;       // the outermost open one
    size_t comma = kNowhere;  // where the options begin
};

// The command of the statement that begins at `begin`, behind all its prefixes, with or without
// their colon. The mask is that of the whole text in front of the cursor.
TypedCommand find_typed_command(std::string_view mask, size_t begin);

// What stands from `begin` to the end of the mask, which is cut at the word at the cursor.
TypedArguments read_typed_arguments(std::string_view mask, size_t begin);

}  // namespace korva

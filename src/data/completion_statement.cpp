// data/completion_statement.cpp - one look at each byte: prefixes lead on, brackets are counted.
#include "data/completion_statement.h"

#include <algorithm>

#include "core/command_table.h"

namespace korva {

namespace {

// Where the command behind a prefix begins; kNowhere: the word is none, or its part is not over.
size_t behind_prefix(std::string_view name, bool is_builtin, std::string_view mask, size_t at) {
    constexpr std::string_view kPlain[] = {"quietly", "noisily", "capture",
                                           "nobreak", "break",   "else"};
    const size_t next = BehindBlanks(mask, at);
    const bool colon = next < mask.size() && mask[next] == ':';
    if (!is_builtin) return colon ? next + 1 : kNowhere;
    if (std::ranges::find(kPlain, name) != std::end(kPlain)) return colon ? next + 1 : at;
    if (name == "by" || name == "bysort" || name == "version") {
        const size_t found = FindOutsideBrackets(mask, at, ':');
        return found == kNowhere ? kNowhere : found + 1;
    }
    if (name != "if") return kNowhere;
    const size_t end = ExpressionEnd(mask, at);
    return end < mask.size() ? end : kNowhere;
}

// Takes one word of the arguments, or one byte that is part of none, and returns what is behind.
size_t take_argument(std::string_view mask, size_t at, TypedArguments* arguments, bool* outer) {
    const char c = mask[at];
    size_t end = at;
    while (end < mask.size() && (IsNameByte(mask[end]) || mask[end] == kOpaque)) end++;
    if (end > at) {
        const std::string_view word = mask.substr(at, end - at);
        if (word == "if") arguments->expression = true;
        if (word == "using") arguments->expression = false;
        if (arguments->depth == 0 && arguments->comma == kNowhere) {
            if (word == "if" || word == "in" || word == "using") arguments->range = word == "in";
            if (arguments->n_words < kWordsKept) arguments->words[arguments->n_words] = word;
            arguments->n_words++;
        }
        return end;
    }
    if (c == '=') arguments->expression = true;
    if (c == '(' || c == '[') {
        if (arguments->depth++ == 0) {
            arguments->bracket = at;
            *outer = arguments->expression;
        }
    } else if ((c == ')' || c == ']') && arguments->depth > 0) {
        if (--arguments->depth == 0) arguments->expression = *outer;
    } else if (c == ',' && arguments->depth == 0) {
        arguments->comma = at;
        arguments->expression = arguments->range = false;
    }
    return at + 1;
}

}  // namespace

TypedCommand find_typed_command(std::string_view mask, size_t begin) {
    for (size_t at = begin;;) {
        at = BehindBlanks(mask, at);
        size_t end = at;
        while (end < mask.size() && IsNameByte(mask[end])) end++;
        if (end == mask.size()) return {{}, end, at};
        if (end == at) return {};
        const std::string_view word = mask.substr(at, end - at);
        const CommandRow* row = FindCommand(word);
        const std::string_view name = row != nullptr ? row->name : word;
        const size_t next = behind_prefix(name, row != nullptr, mask, end);
        if (next == kNowhere) return {name, end};
        at = next;
    }
}

TypedArguments read_typed_arguments(std::string_view mask, size_t begin) {
    TypedArguments arguments;
    bool outer = false;  // what `expression` was in front of the outermost bracket
    for (size_t at = begin; at < mask.size();) {
        at = take_argument(mask, at, &arguments, &outer);
    }
    return arguments;
}

}  // namespace korva

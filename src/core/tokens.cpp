// core/tokens.cpp - args and tokenize: a program takes its own text apart.
//
// Their tokens are those of text in macros, of any length: one of the separators that is no blank
// is a token, a quoted string is one, and else a token runs up to the next separator.
#include <algorithm>
#include <charconv>
#include <string>
#include <utility>
#include <vector>

#include "core/commands.h"
#include "core/macro.h"
#include "core/names.h"
#include "core/option_words.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/tokens.h"
#include "core/words.h"

namespace korva {

namespace {

constexpr size_t kMaxSeparators = 79;

ReturnCode report_invalid_name(std::string_view name) {
    out_error(std::string(name) + " invalid name\n");
    return 198;
}

// The characters of a parse() option, at the scanner behind its word.
ReturnCode take_separators(std::string_view option, SeparatorSet* separators) {
    const char* rest = ScanRest();
    const std::string_view text = rest;
    const size_t close = text.starts_with('(') ? ClosingParenthesis(text, 0) : text.npos;
    if (close == text.npos) {
        out_error("option " + std::string(option) + " incorrectly specified\n");
        return 198;
    }
    std::string_view characters = text.substr(1, close - 1);
    StripQuotes(&characters);
    if (characters.size() > kMaxSeparators) {
        out_error("option " + std::string(option) + " incorrectly specified\n");
        return 198;
    }
    *separators = SeparatorSet(characters);
    SetScanPointer(scanner.ScanPointer + close + 1);
    return 0;
}

// Stores `value` under i and returns how the name ends; the positional macros go by number.
ReturnCode set_positional(int i, std::string_view value) {
    char name[12];
    return SetLocal({name, size_t(std::to_chars(name, name + sizeof name, i).ptr - name)}, value);
}

std::string_view positional(int i) {
    char name[12];
    return LocalValue({name, size_t(std::to_chars(name, name + sizeof name, i).ptr - name)});
}

bool opens_string(std::string_view text, size_t at) {
    return text[at] == '"' || (text[at] == '`' && at + 1 < text.size() && text[at + 1] == '"');
}

// Takes the first token off *text; false: there is none. *closed: not a quoted one without its end.
bool take_token(std::string_view* text, const SeparatorSet& separators, std::string_view* token,
                bool* closed) {
    std::string_view rest = *text;
    if (separators.has[uint8_t(' ')]) {
        rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
    }
    *closed = true;
    if (rest.empty()) return false;
    size_t end = 0;
    if (opens_string(rest, 0)) {
        end = BehindPart(rest, 0, closed);
        const size_t quote = rest[0] == '"' ? 1 : 2;
        *token = rest.substr(quote, end - (*closed ? 2 * quote : quote));
    } else {
        while (end < rest.size() && !separators.has[uint8_t(rest[end])]) end++;
        if (end == 0) end = 1;
        *token = rest.substr(0, end);
    }
    *text = rest.substr(end);
    return true;
}

}  // namespace

ReturnCode TokenizeToMacros(std::string_view text, const SeparatorSet& separators) {
    std::string_view token;
    bool closed = true;
    int n = 0;
    while (take_token(&text, separators, &token, &closed)) {
        if (!closed) return ReportInvalidSyntax();
        if (ReturnCode rc = set_positional(++n, token)) return rc;
    }
    while (!positional(++n).empty()) {
        if (ReturnCode rc = set_positional(n, {})) return rc;
    }
    return 0;
}

ReturnCode TakeTextAndSeparators(std::string* text, SeparatorSet* separators, bool* given) {
    *given = false;
    char* start = SkipBlanks(ScanRest());
    const std::string_view line = start;
    const size_t comma = FindOutside(line, ',');
    if (comma == line.npos) {
        std::string_view whole = line;
        StripQuotes(&whole);
        text->assign(whole);
        return 0;
    }
    std::string_view front = line.substr(0, comma);
    StripQuotes(&front);
    SetScanPointer(start + comma + 1);
    while (*NextToken(OptionSeparators)) {
        const std::string word = scanner.TokenBuffer;
        if (!MatchAbbreviation(word, "parse", 1)) return ReportOptionNotAllowed(word);
        if (ReturnCode rc = take_separators("parse", separators)) return rc;
        *given = true;
    }
    text->assign(front);
    return 0;
}

// args name...
ReturnCode CmdArgs(int) {
    // All values are taken first: a name may itself be a number.
    std::vector<std::pair<std::string, std::string>> pairs;
    for (NextToken(); !TokenIsEmpty(); NextToken()) {
        const std::string key = "_" + std::string(scanner.TokenBuffer);
        if (!IsValidName(key)) return report_invalid_name(scanner.TokenBuffer);
        pairs.emplace_back(key, positional(int(pairs.size()) + 1));
    }
    for (const auto& [key, value] : pairs) {
        if (ReturnCode rc = SetMacro(key, value)) return rc;
    }
    return 0;
}

// tokenize "text" [, parse(chars)]
ReturnCode CmdTokenize(int) {
    std::string text;
    SeparatorSet separators{" "};
    bool given = false;
    if (ReturnCode rc = TakeTextAndSeparators(&text, &separators, &given)) return rc;
    return TokenizeToMacros(text, separators);
}

}  // namespace korva

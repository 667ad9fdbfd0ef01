// core/macro_text_functions.cpp - the extended macro functions over text: subinstr, piece, length,
// and regular expressions.
#include <algorithm>
#include <string>

#include "core/macro.h"
#include "core/macro_functions.h"
#include "core/names.h"
#include "core/print.h"
#include "core/regex.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/words.h"

namespace korva {

namespace {

// --- subinstr ---

struct Substitution {
    std::string_view text, from, to;
    bool whole_words = false;
    int64_t most = 1;         // replacements at most
    std::string count_macro;  // store key of the macro that gets the count; empty: none
};

ReturnCode take_quoted(std::string_view* text) {
    bool quoted = false;
    return TakeScannedWord(text, &quoted) && quoted ? 0 : ReportInvalidSyntax();
}

// local name or global name: the macro's store key.
ReturnCode take_macro_key(std::string* key) {
    NextToken();
    const bool local = TokenIs("local");
    if (!local && !TokenIs("global"))
        return ReportFoundWhere(scanner.TokenBuffer, "local or global");
    NextToken();
    *key = local ? "_" + std::string(scanner.TokenBuffer) : scanner.TokenBuffer;
    return IsValidName(*key) ? 0 : ReportInvalid("name");
}

// (local name), (global name) or (#) behind count.
ReturnCode take_count(Substitution* job) {
    NextToken();
    if (!TokenIs("(")) return ReportInvalidSyntax();
    const char c = PeekChar();
    if (c >= '0' && c <= '9') {
        int32_t most = 0;
        if (ReturnCode rc = TakeWholeNumber(0, &most)) return rc;
        job->most = most;
        if (most == 0) {
            LevelGuard level(kLevelText);
            out_text("Setting count to zero prevents all "
                     "substitutions.  Original string will"
                     " be returned.\n");
        }
    } else if (ReturnCode rc = take_macro_key(&job->count_macro)) {
        return rc;
    }
    NextToken();
    return TokenIs(")") ? 0 : ReportInvalidSyntax();
}

ReturnCode take_substitution_options(Substitution* job) {
    NextToken();
    if (TokenIsEmpty()) return 0;
    if (!TokenIs(",")) return ReportInvalidSyntax();
    for (NextToken(); !TokenIsEmpty(); NextToken()) {
        if (TokenIs("all")) {
            job->most = INT64_MAX;
        } else if (TokenIs("word")) {
            job->whole_words = true;
        } else if (TokenIs("count")) {
            if (ReturnCode rc = take_count(job)) return rc;
        } else {
            return ReportNotAllowed(scanner.TokenBuffer);
        }
    }
    return 0;
}

bool stands_alone(std::string_view text, size_t at, size_t bytes) {
    const bool starts = at == 0 || text[at - 1] == ' ';
    const size_t end = at + bytes;
    return starts && (end == text.size() || text[end] == ' ');
}

// Returns how many replacements were made. Stops early when the result is too long to be kept.
int64_t substitute(const Substitution& job, std::string* result) {
    int64_t made = 0;
    size_t copied = 0;
    for (size_t at = job.text.find(job.from); at != std::string_view::npos && made < job.most;) {
        if (job.whole_words && !stands_alone(job.text, at, job.from.size())) {
            at = job.text.find(job.from, at + 1);
            continue;
        }
        result->append(job.text.substr(copied, at - copied)).append(job.to);
        made++;
        copied = at + job.from.size();
        if (result->size() >= size_t(session.macrolen)) return made;
        at = job.text.find(job.from, copied);
    }
    result->append(job.text.substr(copied));
    return made;
}

// --- piece ---

// Takes the next piece of at most `most` bytes off the text, broken at a blank where there is one.
std::string_view take_piece(std::string_view* text, size_t most) {
    text->remove_prefix(std::min(text->find_first_not_of(' '), text->size()));
    size_t bytes = text->size();
    if (bytes > most) {
        const size_t blank = text->rfind(' ', most);
        bytes = blank == std::string_view::npos ? most : blank;
    }
    const std::string_view piece = TrimBlanks(text->substr(0, bytes));
    text->remove_prefix(bytes);
    return piece;
}

std::string_view find_piece(std::string_view text, int32_t number, size_t most, bool at_blanks) {
    if (!at_blanks) {
        const size_t start = size_t(number - 1) * most;
        return start < text.size() ? text.substr(start, most) : std::string_view();
    }
    std::string_view piece;
    for (; number > 0; number--) {
        if (TrimBlanks(text).empty()) return {};
        piece = take_piece(&text, most);
    }
    return piece;
}

// --- Regular expressions ---

// The texts of a function's arguments, quoted or not, commas between them allowed.
ReturnCode take_texts(std::string_view* texts, int n) {
    for (int i = 0; i < n; i++) {
        if (i > 0 && PeekChar() == ',') NextToken();
        if (!TakeScannedWord(&texts[i])) return ReportInvalidSyntax();
    }
    return ExpectEnd(0);
}

}  // namespace

// subinstr local|global name "from" "to" [, all word count(local name)]
ReturnCode MfSubinstr(int, std::string* result) {
    Substitution job;
    std::string key;
    if (ReturnCode rc = take_macro_key(&key)) return rc;
    if (ReturnCode rc = take_quoted(&job.from)) return rc;
    if (ReturnCode rc = take_quoted(&job.to)) return rc;
    if (ReturnCode rc = take_substitution_options(&job)) return rc;
    job.text = MacroValue(key);
    int64_t made = 0;
    if (job.from.empty()) {
        result->append(job.text);
    } else {
        made = substitute(job, result);
    }
    // A result that is too long is refused by the caller, and nothing is counted then.
    if (job.count_macro.empty() || result->size() >= size_t(session.macrolen)) return 0;
    return SetMacro(job.count_macro, std::to_string(made));
}

// piece #piece #length of "text" [, nobreak]
ReturnCode MfPiece(int, std::string* result) {
    int32_t number = 0, most = 0;
    if (ReturnCode rc = TakeWholeNumber(1, &number)) return rc;
    if (ReturnCode rc = TakeWholeNumber(1, &most)) return rc;
    NextToken();
    if (!TokenIs("of")) return ReportInvalidSyntax();
    std::string_view text;
    if (ReturnCode rc = take_quoted(&text)) return rc;
    NextToken();
    bool at_blanks = true;
    if (!TokenIsEmpty()) {
        if (!TokenIs(",")) return ReportInvalidSyntax();
        NextToken();
        at_blanks = TokenIsEmpty();
        if (!at_blanks && !TokenIs("nobreak")) return ReportNotAllowed(scanner.TokenBuffer);
        if (ReturnCode rc = ExpectEnd(0)) return rc;
    }
    result->append(find_piece(text, number, size_t(most), at_blanks));
    return 0;
}

// length [local|global] name
ReturnCode MfLength(int, std::string* result) {
    NextToken();
    std::string name = scanner.TokenBuffer;
    bool global = false;
    NextToken();
    if (!TokenIsEmpty() && (name == "local" || name == "global")) {
        global = name == "global";
        name = scanner.TokenBuffer;
        if (ReturnCode rc = ExpectEnd(0)) return rc;
    } else if (!TokenIsEmpty()) {
        return ReportInvalidSyntax();
    }
    if (name.empty() || !IsValidName(global ? name : "_" + name)) return ReportInvalid("name");
    *result += std::to_string((global ? MacroValue(name) : LocalValue(name)).size());
    return 0;
}

ReturnCode MfRegexMatch(int, std::string* result) {
    std::string_view texts[2];
    if (ReturnCode rc = take_texts(texts, 2)) return rc;
    bool matched = false;
    if (ReturnCode rc = RegexMatch(texts[0], texts[1], &matched)) return rc;
    *result += matched ? '1' : '0';
    return 0;
}

ReturnCode MfRegexReplace(int, std::string* result) {
    std::string_view texts[3];
    if (ReturnCode rc = take_texts(texts, 3)) return rc;
    return RegexReplace(texts[0], texts[1], texts[2], result);
}

ReturnCode MfRegexSubexpression(int, std::string* result) {
    int32_t number = 0;
    if (ReturnCode rc = TakeWholeNumber(0, &number)) return rc;
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    std::string_view text;
    LevelGuard level(session.MessageLevel);
    switch (RegexSubexpression(number, &text)) {
    case Subexpression::Found: break;
    case Subexpression::NothingMatched:
        out_error("a regular expression match function must be executed prior to retrieving a "
                  "subexpression\n");
        return 198;
    case Subexpression::OutOfRange:
        out_error("subexpression " + std::to_string(number) + " out of range\n");
        return 198;
    }
    result->append(text);
    return 0;
}

}  // namespace korva

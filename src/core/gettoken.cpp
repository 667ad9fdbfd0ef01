// core/gettoken.cpp - gettoken: takes the first token off a macro's text.
#include <algorithm>
#include <string>
#include <string_view>

#include "core/commands.h"
#include "core/macro.h"
#include "core/names.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/scratch.h"
#include "core/words.h"

namespace korva {

namespace {

constexpr size_t kMaxSeparators = 79;  // of parse()
constexpr ReturnCode kUnbalanced = 132;
constexpr ReturnCode kScratchExhausted = 9710;

struct TokenRequest {
    std::string first;  // store keys of the macros
    std::string rest;   // empty: not wanted
    std::string source;
    std::string match;  // gets the opening bracket; empty: not wanted
    std::string separators = " ";
    bool keep_quotes = false;
    bool bind = false;
};

struct TakenToken {
    std::string_view token;
    std::string_view rest;
    std::string_view opening;  // of a group
};

// [(local)|(global)] name, as a store key.
ReturnCode take_key(std::string* key) {
    bool global = false;
    NextToken();
    if (TokenIs("(")) {
        NextToken();
        global = TokenIs("global");
        if (!global && !TokenIs("local")) {
            return ReportFoundWhere(scanner.TokenBuffer, "local or global");
        }
        NextToken();
        if (!TokenIs(")")) return ReportInvalidSyntax();
        NextToken();
    }
    *key = global ? std::string(scanner.TokenBuffer) : "_" + std::string(scanner.TokenBuffer);
    const bool named = !TokenIsEmpty() && !(global && key->starts_with('_'));
    return named && IsValidName(*key) ? 0 : ReportInvalid("name");
}

// (chars) or ("chars"), where a quoted text may hold parentheses.
ReturnCode take_separators(std::string* separators) {
    NextToken();
    if (!TokenIs("(")) return ReportInvalidSyntax();
    const char* p = SkipBlanks(ScanRest());
    std::string_view chars;
    if (*p == '"' || (p[0] == '`' && p[1] == '"')) {
        char* start = ScanRest();
        std::string_view text = start;
        const size_t bytes = text.size();
        TakeWord(&text, &chars);
        SetScanPointer(start + (bytes - text.size()));
    } else {
        std::string_view text = p;
        chars = text.substr(0, std::min(text.find(')'), text.size()));
        SetScanPointer(const_cast<char*>(p) + chars.size());
    }
    NextToken();
    if (!TokenIs(")") || chars.size() > kMaxSeparators) {
        out_error("option parse() incorrectly specified\n");
        return 198;
    }
    if (!chars.empty()) *separators = chars;
    return 0;
}

ReturnCode take_options(TokenRequest* request) {
    NextToken();
    if (TokenIsEmpty()) return 0;
    if (!TokenIs(",")) return ReportInvalidSyntax();
    for (NextToken(); !TokenIsEmpty(); NextToken()) {
        const std::string word = scanner.TokenBuffer;
        if (MatchAbbreviation(word, "parse", 1)) {
            if (ReturnCode rc = take_separators(&request->separators)) return rc;
        } else if (MatchAbbreviation(word, "quotes", 1)) {
            request->keep_quotes = true;
        } else if (MatchAbbreviation(word, "bind", 4)) {
            request->bind = true;
        } else if (MatchAbbreviation(word, "match", 1)) {
            NextToken();
            if (!TokenIs("(")) return ReportInvalidSyntax();
            if (ReturnCode rc = take_key(&request->match)) return rc;
            NextToken();
            if (!TokenIs(")")) return ReportInvalidSyntax();
        } else {
            out_errorf("option %s not allowed\n", word.c_str());
            return 198;
        }
    }
    return 0;
}

bool opens(char c) {
    return c == '(' || c == '[';
}
bool closes(char c) {
    return c == ')' || c == ']';
}

// Index of the bracket that closes the one at the start of the text, strings passed over; npos if
// none does.
size_t closing_bracket(std::string_view text) {
    int depth = 0;
    for (size_t at = 0; at < text.size(); at = BehindPart(text, at)) {
        if (opens(text[at])) depth++;
        if (closes(text[at]) && --depth == 0) return at;
    }
    return text.npos;
}

// Bytes of the plain token at the start of the text.
size_t token_bytes(std::string_view text, const TokenRequest& request) {
    int depth = 0;
    for (size_t at = 0; at < text.size(); at++) {
        const bool ends = depth == 0 && request.separators.find(text[at]) != std::string::npos;
        // A separator other than a blank is a token by itself.
        if (ends) return at > 0 ? at : 1;
        if (request.bind && opens(text[at])) depth++;
        if (request.bind && closes(text[at]) && depth > 0) depth--;
    }
    return text.size();
}

ReturnCode take_token(std::string_view text, const TokenRequest& request, TakenToken* taken) {
    if (request.separators.find(' ') != std::string::npos) {
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    }
    if (text.starts_with('"') || text.starts_with("`\"")) {
        taken->rest = text;
        TakeWord(&taken->rest, &taken->token);
        if (request.keep_quotes) taken->token = text.substr(0, text.size() - taken->rest.size());
        return 0;
    }
    if (!request.match.empty() && !text.empty() && opens(text[0])) {
        const size_t close = closing_bracket(text);
        if (close == text.npos) {
            out_error("parentheses unbalanced\n");
            return kUnbalanced;
        }
        taken->opening = text.substr(0, 1);
        taken->token = text.substr(1, close - 1);
        taken->rest = text.substr(close + 1);
        return 0;
    }
    const size_t bytes = token_bytes(text, request);
    taken->token = text.substr(0, bytes);
    taken->rest = text.substr(bytes);
    return 0;
}

}  // namespace

// gettoken name1 [name2] : macroname [, parse(chars) quotes match(macro) bind]
ReturnCode CmdGettoken(int) {
    TokenRequest request;
    if (ReturnCode rc = take_key(&request.first)) return rc;
    if (PeekChar() != ':') {
        if (ReturnCode rc = take_key(&request.rest)) return rc;
    }
    NextToken();
    if (!TokenIs(":")) return ReportInvalidSyntax();
    if (ReturnCode rc = take_key(&request.source)) return rc;
    if (ReturnCode rc = take_options(&request)) return rc;

    // A macro that is set may be the source.
    const std::string_view value = MacroValue(request.source);
    const ScratchText copy(value.size() + 1);
    if (copy.text == nullptr) return kScratchExhausted;
    value.copy(copy.text, value.size());
    const std::string_view text(copy.text, value.size());
    TakenToken taken;
    if (ReturnCode rc = take_token(text, request, &taken)) return rc;
    if (ReturnCode rc = SetMacro(request.first, taken.token)) return rc;
    if (!request.rest.empty()) {
        if (ReturnCode rc = SetMacro(request.rest, taken.rest)) return rc;
    }
    return request.match.empty() ? 0 : SetMacro(request.match, taken.opening);
}

}  // namespace korva

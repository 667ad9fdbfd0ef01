// core/scanner.h - the token scanner through which every command reads its arguments.
//
// The scanner stands in ConsoleBuffer (or in any NUL-terminated text it was set to). NextToken()
// puts one token into scanner.TokenBuffer; an empty token is the end of the line.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/types.h"

namespace korva {

// A set of separator characters as a table over bytes.
struct SeparatorSet {
    bool has[256] = {};
    constexpr explicit SeparatorSet(std::string_view characters) {
        for (char c : characters) has[uint8_t(c)] = true;
    }
};

inline constexpr SeparatorSet GeneralSeparators{" \\\"'`~:;,<>/?!@|#$%^&*()-+=[]{}"};
inline constexpr SeparatorSet OptionSeparators{" \\\"'`~:;,<>/?!@|#$%^&*()=[]{}"};
inline constexpr SeparatorSet FileSeparators{" \"'`;,<>()=[]{}|"};
inline constexpr SeparatorSet ExpressionSeparators{" \\\"'`:;,<>/?!@|#$%^&*()-+=[]{}"};
inline constexpr SeparatorSet ListSeparators{" \"`*{}[]"};
inline constexpr SeparatorSet ShortSeparators{" \\\"'`:;,={}"};

struct ScannerState {
    char* ScanPointer = nullptr;     // where the next token starts
    char* ScanMark = nullptr;        // start of the token last taken; null: none
    uint8_t TokenPushedBack = 0;     // the next call returns TokenBuffer again
    uint8_t TokenWasPushedBack = 0;  // the last token came from a push-back
    char TokenBuffer[kTokenBytes] = {};
};
extern ScannerState scanner;  // defined in core/scanner.cpp

// The next token, in scanner.TokenBuffer. A string token begins with `"` and has lost its closing
// quote.
const char* NextToken(const SeparatorSet& separators = GeneralSeparators);

// The token just taken will be returned again.
void PushBackToken();

// Places the scanner at `text`, which must stay while it is read, with nothing pushed back.
void SetScanPointer(char* text);

// The text not yet read. A pushed-back token is part of it: the pointer goes back to its start.
char* ScanRest();

// Start of the token last taken; null if none.
char* ScanMarkPointer();

// The next byte that is not a blank, without moving; NUL at the end. A pushed-back token counts.
char PeekChar();

// The next token must be the one character c, or the end for c = 0; else "invalid syntax", 198.
// Then gives Poll its turn; returns kBreak if a break stands.
ReturnCode ExpectEnd(char c);

// One token with FileSeparators into buffer[kMaxFileNameBytes + 1]; a quoted name loses its quotes.
// An empty name, or one that begins at `,` or `)`, is 7197's words and code.
ReturnCode ParseFileName(char* buffer);

// The text between the parentheses at the scanner, inner pairs kept, into *text. False, with
// nothing taken: there are none, or they do not close.
bool TakeParenthesised(std::string* text);

inline bool TokenIs(std::string_view text) {
    return text == scanner.TokenBuffer;
}
inline bool TokenIsEmpty() {
    return scanner.TokenBuffer[0] == 0;
}
inline bool TokenIsString() {
    return scanner.TokenBuffer[0] == '"';
}

// Keeps the scanner, TokenBuffer included, for a scope.
struct ScannerGuard {
    ScannerGuard() : saved(scanner) {}
    ~ScannerGuard() { scanner = saved; }
    ScannerGuard(const ScannerGuard&) = delete;
    ScannerGuard& operator=(const ScannerGuard&) = delete;
    ScannerState saved;
};

}  // namespace korva

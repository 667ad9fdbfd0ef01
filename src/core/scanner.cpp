// core/scanner.cpp - one token at a time, copied to TokenBuffer.
#include "core/scanner.h"

#include <cstring>

#include "core/poll.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "core/words.h"

namespace korva {

ScannerState scanner;

namespace {

constexpr int kMostTokenBytes = kTokenBytes - 1;

// The token as it grows. A copy that reaches the last byte stops, and so does the scanner.
struct TokenWriter {
    char* next = scanner.TokenBuffer;
    char* end = scanner.TokenBuffer + kMostTokenBytes;

    bool full() const { return next == end; }
    void put(char c) { *next++ = c; }
    void finish() const { *next = 0; }
};

// Behind `" : up to the matching "' , inner pairs kept.
char* take_compound_string(char* p, TokenWriter* token) {
    token->put('"');
    int depth = 1;
    while (*p != 0 && !token->full()) {
        if (p[0] == '"' && p[1] == '\'') {
            if (--depth == 0) return p + 2;
            token->put(*p++);
            if (token->full()) break;
        } else if (p[0] == '`' && p[1] == '"') {
            depth++;
            token->put(*p++);
            if (token->full()) break;
        }
        token->put(*p++);
    }
    return p;
}

// Behind " : up to the next one.
char* take_plain_string(char* p, TokenWriter* token) {
    token->put('"');
    while (*p != 0 && !token->full()) {
        if (*p == '"') return p + 1;
        token->put(*p++);
    }
    return p;
}

char* take_word(char* p, const SeparatorSet& separators, TokenWriter* token) {
    while (*p != 0 && !separators.has[uint8_t(*p)] && !token->full()) token->put(*p++);
    return p;
}

bool doubles_with_equals(char c) {
    return c == '<' || c == '>' || c == '=' || c == '!' || c == '~';
}

}  // namespace

const char* NextToken(const SeparatorSet& separators) {
    if (scanner.TokenPushedBack != 0) {
        scanner.TokenPushedBack = 0;
        scanner.TokenWasPushedBack = 1;
        return scanner.TokenBuffer;
    }
    scanner.TokenWasPushedBack = 0;
    char* p = scanner.ScanPointer;
    if (p == nullptr) {
        scanner.TokenBuffer[0] = 0;
        return scanner.TokenBuffer;
    }
    while (*p == ' ') p++;
    scanner.ScanMark = p;

    TokenWriter token;
    if (*p == 0) {
        // The end of the line stays the end, however often it is read.
    } else if (p[0] == '`' && p[1] == '"') {
        p = take_compound_string(p + 2, &token);
    } else if (*p == '"') {
        p = take_plain_string(p + 1, &token);
    } else if (!separators.has[uint8_t(*p)]) {
        p = take_word(p, separators, &token);
    } else {
        token.put(*p++);
        if (*p == '=' && doubles_with_equals(p[-1])) token.put(*p++);
    }
    token.finish();
    scanner.ScanPointer = p;
    return scanner.TokenBuffer;
}

void PushBackToken() {
    if (scanner.TokenWasPushedBack != 0) {
        scanner.TokenPushedBack = 1;
    } else if (scanner.ScanMark != nullptr) {
        scanner.ScanPointer = scanner.ScanMark;
    }
}

void SetScanPointer(char* text) {
    scanner.ScanPointer = text;
    scanner.ScanMark = nullptr;
    scanner.TokenPushedBack = 0;
    scanner.TokenWasPushedBack = 0;
}

char* ScanRest() {
    if (scanner.TokenPushedBack != 0) {
        scanner.TokenPushedBack = 0;
        if (scanner.ScanMark != nullptr) scanner.ScanPointer = scanner.ScanMark;
    }
    return scanner.ScanPointer;
}

char* ScanMarkPointer() {
    return scanner.ScanMark;
}

char PeekChar() {
    if (scanner.TokenPushedBack != 0) return scanner.TokenBuffer[0];
    const char* p = scanner.ScanPointer;
    if (p == nullptr) return 0;
    while (*p == ' ') p++;
    return *p;
}

ReturnCode ExpectEnd(char c) {
    const char* token = NextToken();
    if (token[0] != c || (c != 0 && token[1] != 0)) return ReportInvalidSyntax();
    Poll(session.pollcount);
    return session.BreakFlag != 0 ? kBreak : 0;
}

ReturnCode ParseFileName(char* buffer) {
    NextToken(FileSeparators);
    const bool quoted = TokenIsString();
    const char* name = scanner.TokenBuffer + (quoted ? 1 : 0);
    const size_t bytes = std::strlen(name);
    const bool missing = bytes == 0 || (!quoted && (*name == ',' || *name == ')'));
    if (missing || bytes > size_t(kMaxFileNameBytes)) {
        buffer[0] = 0;
        return ReportError(7197);
    }
    std::memcpy(buffer, name, bytes + 1);
    return 0;
}

bool TakeParenthesised(std::string* text) {
    char* open = SkipBlanks(ScanRest());
    if (*open != '(') return false;
    int depth = 0;
    char* close = open;
    for (; *close != 0; close++) {
        if (*close == '(') depth++;
        if (*close == ')' && --depth == 0) break;
    }
    if (*close == 0) return false;
    text->assign(open + 1, close);
    SetScanPointer(close + 1);
    return true;
}

}  // namespace korva

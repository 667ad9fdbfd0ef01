// core/words.h - text taken apart at its blanks, quotes respected.
//
// Unlike the tokens of the scanner, words have no limit of length: lists in macros go through here.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace korva {

// Takes the first word off *text: up to the next blank outside quotes. A word that is one quoted
// string, plain or compound, loses its quotes and ends with them; quotes inside a word stay. False:
// no word is left. *quoted tells whether quotes were removed (null: not asked for).
bool TakeWord(std::string_view* text, std::string_view* word, bool* quoted = nullptr);

// All words of the text. They lie in it.
std::vector<std::string_view> SplitWords(std::string_view text);

// Appends the word to a list, with a blank between, in the quotes that it needs to stay one word.
void AppendWord(std::string* list, std::string_view word);

// Index behind the string, plain or compound, that begins at `at`, or behind the one byte there. A
// string that does not close ends with the text; *closed tells (null: not asked for).
size_t BehindPart(std::string_view text, size_t at, bool* closed = nullptr);

// Index of the parenthesis that closes the one at `at`, inner pairs and strings passed over; npos:
// it does not close.
size_t ClosingParenthesis(std::string_view text, size_t at);

// Index of the first byte `c` outside of strings and parentheses; npos: there is none.
size_t FindOutside(std::string_view text, char c);

// The text without its quotes when it is, but for blanks around it, one quoted string as a whole;
// true if it was.
bool StripQuotes(std::string_view* text);

// The text without the blanks at its ends.
std::string_view TrimBlanks(std::string_view text);

// How many bytes of the text go on a line of `columns` (1 at least): all that fit, or up to behind
// the last blank among them, unless that leaves more than half of the line empty.
size_t PieceLength(std::string_view text, size_t columns);

// What makes a word that counts n things a plural: nothing for 1.
inline const char* PluralEnd(int64_t n) {
    return n == 1 ? "" : "s";
}

// The number with a comma in front of every three digits, on the right of `columns` columns.
std::string WithCommas(int64_t number, int columns);

// The first byte at or behind p that is no blank; the NUL if there is none.
inline char* SkipBlanks(char* p) {
    while (*p == ' ') p++;
    return p;
}
inline const char* SkipBlanks(const char* p) {
    while (*p == ' ') p++;
    return p;
}

}  // namespace korva

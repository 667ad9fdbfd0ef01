// core/completion_text.h - what a half-typed text is made of, for the completion of its last word.
//
// The text may be anything: quotes that do not close, stray brackets, any bytes. All of it is read
// once, in time that grows with its length.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace korva {

constexpr size_t kNowhere = std::string_view::npos;
constexpr char kOpaque = '\x02';  // stands in a mask for each byte of what is not to be looked into

// A text taken apart. The mask has the length of the text and its bytes, but blanks for comments
// and for line ends that join lines, kOpaque for strings and for macros that close, and no other
// control byte than LF.
struct TypedText {
    std::string mask;
    size_t begin = 0;               // where the last statement of the text begins
    size_t open_string = kNowhere;  // the opening quote of a string in which the text ends
    bool in_comment = false;        // the text ends in a comment
};
TypedText TakeTextApart(std::string_view text);

// True for the bytes that a name may have behind its first.
bool IsNameByte(char c);

// Where the run of name bytes at the end of the text begins; its size if there is none.
size_t TrailingName(std::string_view text);

// The first place at or behind `at` that is no blank.
size_t BehindBlanks(std::string_view mask, size_t at);

// Where `word` stands in the mask from `begin` on as a whole word outside brackets, the last one;
// kNowhere: it does not.
size_t FindLastWord(std::string_view mask, size_t begin, std::string_view word);

// Where a character stands in the mask from `begin` on outside brackets, the first one.
size_t FindOutsideBrackets(std::string_view mask, size_t begin, char c);

// Where the first thing begins that cannot belong to the expression at `begin`: a second operand
// with nothing between. The size of the mask if all of it may be the expression.
size_t ExpressionEnd(std::string_view mask, size_t begin);

}  // namespace korva

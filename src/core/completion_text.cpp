// core/completion_text.cpp - one pass over the text, with what it is in as its state.
//
// A mask rather than tokens: whoever looks for a comma, a colon or a word afterwards meets none
// that stands in a string, a comment or a macro, and positions are those of the text.
#include "core/completion_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace korva {

namespace {

// Macros open at one time that are followed: more are no text that anybody types, and every level
// may cost one writing of the mask.
constexpr size_t kMaxMacroDepth = 32;

constexpr auto kNameBytes = [] {
    std::array<bool, 256> table{};
    for (int c = ' ' + 1; c < 256; c++) table[size_t(c)] = c != 0x7F;
    for (const char c : std::string_view("\\!@#$%^&*()-+=[]{}:;,'\"`~<>?/|."))
        table[uint8_t(c)] = false;
    return table;
}();

class Reader {
public:
    explicit Reader(std::string_view text) : text_(text) { parts_.mask.assign(text); }

    TypedText read() {
        while (at_ < text_.size()) step();
        return std::move(parts_);
    }

private:
    char byte(size_t i) const { return i < text_.size() ? text_[i] : '\0'; }

    void cover(size_t from, size_t to, char with) {
        to = std::min(to, text_.size());
        std::fill(parts_.mask.begin() + std::ptrdiff_t(from),
                  parts_.mask.begin() + std::ptrdiff_t(to), with);
    }

    void start_statement(size_t at) {
        parts_.begin = at;
        depth_ = 0;
        fresh_ = true;
        open_macros_.clear();
    }

    bool behind_blank() const {
        return at_ == 0 || fresh_ || text_[at_ - 1] == ' ' || text_[at_ - 1] == '\t';
    }

    // A comment up to the end of its line, or joined to the next one.
    void take_line_comment(bool joins) {
        const size_t end = std::min(text_.find('\n', at_), text_.size());
        parts_.in_comment = end == text_.size();
        cover(at_, end + (joins ? 1 : 0), ' ');
        at_ = end + (joins && end < text_.size() ? 1 : 0);
    }

    void take_comment() {
        const size_t close = text_.find("*/", at_ + 2);
        parts_.in_comment = close == kNowhere;
        const size_t end = close == kNowhere ? text_.size() : close + 2;
        cover(at_, end, ' ');
        at_ = end;
    }

    // A string that is not closed ends with its line.
    void take_string() {
        const size_t open = at_;
        const size_t end = std::min(text_.find_first_of("\"\n", at_ + 1), text_.size());
        if (end == text_.size()) parts_.open_string = open;
        at_ = byte(end) == '"' ? end + 1 : end;
        cover(open, at_, kOpaque);
        fresh_ = false;
    }

    void take_compound_string() {
        const size_t open = at_;
        int level = 0;
        for (; at_ < text_.size() && text_[at_] != '\n'; at_++) {
            if (text_[at_] == '`' && byte(at_ + 1) == '"') {
                level++;
                at_++;
            } else if (text_[at_] == '"' && byte(at_ + 1) == '\'') {
                at_++;
                if (--level == 0) break;
            }
        }
        at_ = std::min(at_, text_.size());
        if (at_ == text_.size()) parts_.open_string = open;
        if (byte(at_) == '\'') at_++;
        cover(open, at_, kOpaque);
        fresh_ = false;
    }

    void close_macro() {
        if (open_macros_.empty()) return;
        cover(open_macros_.back(), at_ + 1, kOpaque);
        open_macros_.pop_back();
    }

    // ${name}: its braces open no block.
    void take_braced_macro() {
        const size_t end = std::min(text_.find_first_of("}\n", at_), text_.size());
        cover(at_, end + (byte(end) == '}' ? 1 : 0), kOpaque);
        at_ = end + (byte(end) == '}' ? 1 : 0);
        fresh_ = false;
    }

    void step() {
        const char c = text_[at_];
        const char next = byte(at_ + 1);
        if (c == '\n') return start_statement(++at_);
        if (c == '/' && next == '*') return take_comment();
        if (c == '/' && next == '/' && behind_blank())
            return take_line_comment(byte(at_ + 2) == '/');
        if (c == '*' && fresh_) return take_line_comment(false);
        if (c == '`' && next == '"') return take_compound_string();
        if (c == '"') return take_string();
        if (c == '$' && next == '{') return take_braced_macro();
        if (c == '`' && open_macros_.size() < kMaxMacroDepth) open_macros_.push_back(at_);
        if (c == '\'') close_macro();
        if (c == '(') depth_++;
        if (c == ')' && depth_ > 0) depth_--;
        if (uint8_t(c) < ' ') parts_.mask[at_] = ' ';
        if (c != ' ' && c != '\t') fresh_ = false;
        at_++;
        if (c == '}' || (c == '{' && depth_ == 0)) start_statement(at_);
    }

    std::string_view text_;
    TypedText parts_;
    std::vector<size_t> open_macros_;
    size_t at_ = 0;
    int depth_ = 0;      // round brackets open in the statement
    bool fresh_ = true;  // nothing of the statement was read yet
};

bool is_operand_byte(char c) {
    return IsNameByte(c) || c == kOpaque || c == '.' || c == '$';
}

int step_of(char c) {
    if (c == '(' || c == '[') return 1;
    return c == ')' || c == ']' ? -1 : 0;
}

}  // namespace

TypedText TakeTextApart(std::string_view text) {
    return Reader(text).read();
}

bool IsNameByte(char c) {
    return kNameBytes[uint8_t(c)];
}

size_t TrailingName(std::string_view text) {
    size_t at = text.size();
    while (at > 0 && IsNameByte(text[at - 1])) at--;
    return at;
}

size_t BehindBlanks(std::string_view mask, size_t at) {
    return std::min(mask.find_first_not_of(' ', at), mask.size());
}

size_t FindLastWord(std::string_view mask, size_t begin, std::string_view word) {
    size_t found = kNowhere;
    int depth = 0;
    for (size_t i = begin; i < mask.size(); i++) {
        depth = std::max(depth + step_of(mask[i]), 0);
        if (depth > 0 || (i > begin && mask[i - 1] != ' ')) continue;
        const std::string_view rest = mask.substr(i);
        if (rest.starts_with(word) && rest.size() > word.size() && rest[word.size()] == ' ') {
            found = i;
        }
    }
    return found;
}

size_t FindOutsideBrackets(std::string_view mask, size_t begin, char c) {
    int depth = 0;
    for (size_t i = begin; i < mask.size(); i++) {
        if (mask[i] == c && depth == 0) return i;
        depth = std::max(depth + step_of(mask[i]), 0);
    }
    return kNowhere;
}

size_t ExpressionEnd(std::string_view mask, size_t begin) {
    bool operand = false;  // an operand stands in front
    int depth = 0;
    for (size_t i = begin; i < mask.size();) {
        const char c = mask[i];
        if (is_operand_byte(c)) {
            if (operand && depth == 0 && mask[i - 1] == ' ') return i;
            while (i < mask.size() && is_operand_byte(mask[i])) i++;
            operand = true;
            continue;
        }
        depth = std::max(depth + step_of(c), 0);
        if (c != ' ') operand = c == ')' || c == ']';
        i++;
    }
    return mask.size();
}

}  // namespace korva

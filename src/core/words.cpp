// core/words.cpp - the splitter of lists.
#include "core/words.h"

#include <algorithm>

namespace korva {

namespace {

bool opens_compound(std::string_view text, size_t at) {
    return text[at] == '`' && at + 1 < text.size() && text[at + 1] == '"';
}

// Where a string ends, and whether its own quote ended it or the text did.
struct StringEnd {
    size_t behind;
    bool closed;
};

// Of the compound string whose `" stands at `at`.
StringEnd end_of_compound(std::string_view text, size_t at) {
    int depth = 0;
    while (at + 1 < text.size()) {
        if (opens_compound(text, at)) {
            depth++;
            at += 2;
        } else if (text[at] == '"' && text[at + 1] == '\'') {
            at += 2;
            if (--depth == 0) return {at, true};
        } else {
            at++;
        }
    }
    return {text.size(), false};
}

// Of the plain string whose quote stands at `at`.
StringEnd end_of_plain(std::string_view text, size_t at) {
    const size_t close = text.find('"', at + 1);
    if (close == std::string_view::npos) return {text.size(), false};
    return {close + 1, true};
}

}  // namespace

bool TakeWord(std::string_view* text, std::string_view* word, bool* quoted) {
    std::string_view rest = *text;
    rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
    if (quoted != nullptr) *quoted = false;
    if (rest.empty()) {
        *text = *word = {};
        return false;
    }
    const bool compound = opens_compound(rest, 0);
    if (compound || rest[0] == '"') {
        const StringEnd end = compound ? end_of_compound(rest, 0) : end_of_plain(rest, 0);
        const size_t quote = compound ? 2 : 1;
        *word = rest.substr(quote, end.behind - (end.closed ? 2 : 1) * quote);
        *text = rest.substr(end.behind);
        if (quoted != nullptr) *quoted = true;
        return true;
    }
    size_t at = 0;
    while (at < rest.size() && rest[at] != ' ') at = BehindPart(rest, at);
    *word = rest.substr(0, at);
    *text = rest.substr(at);
    return true;
}

std::vector<std::string_view> SplitWords(std::string_view text) {
    std::vector<std::string_view> words;
    std::string_view word;
    while (TakeWord(&text, &word)) words.push_back(word);
    return words;
}

void AppendWord(std::string* list, std::string_view word) {
    if (!list->empty()) *list += ' ';
    if (word.find('"') != std::string_view::npos) {
        list->append("`\"").append(word).append("\"'");
    } else if (word.empty() || word.find(' ') != std::string_view::npos) {
        list->append("\"").append(word).append("\"");
    } else {
        list->append(word);
    }
}

size_t BehindPart(std::string_view text, size_t at, bool* closed) {
    StringEnd end{at + 1, true};
    if (opens_compound(text, at)) {
        end = end_of_compound(text, at);
    } else if (text[at] == '"') {
        end = end_of_plain(text, at);
    }
    if (closed != nullptr) *closed = end.closed;
    return end.behind;
}

size_t ClosingParenthesis(std::string_view text, size_t at) {
    int depth = 0;
    while (at < text.size()) {
        if (text[at] == '(') depth++;
        if (text[at] == ')' && --depth == 0) return at;
        at = BehindPart(text, at);
    }
    return text.npos;
}

size_t FindOutside(std::string_view text, char c) {
    int depth = 0;
    for (size_t at = 0; at < text.size(); at = BehindPart(text, at)) {
        if (text[at] == c && depth <= 0) return at;
        if (text[at] == '(') depth++;
        if (text[at] == ')') depth--;
    }
    return text.npos;
}

bool StripQuotes(std::string_view* text) {
    const std::string_view whole = TrimBlanks(*text);
    if (whole.empty() || !(whole[0] == '"' || opens_compound(whole, 0))) return false;
    bool closed = false;
    if (BehindPart(whole, 0, &closed) != whole.size() || !closed) return false;
    const size_t quote = whole[0] == '"' ? 1 : 2;
    *text = whole.substr(quote, whole.size() - 2 * quote);
    return true;
}

std::string_view TrimBlanks(std::string_view text) {
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

size_t PieceLength(std::string_view text, size_t columns) {
    if (text.size() <= columns) return text.size();
    if (text[columns] == ' ') return columns + 1;
    const size_t blank = text.substr(0, columns).rfind(' ');
    return blank == std::string_view::npos || blank + 1 < columns / 2 ? columns : blank + 1;
}

std::string WithCommas(int64_t number, int columns) {
    std::string text = std::to_string(number);
    const int first = number < 0 ? 1 : 0;
    for (int at = int(text.size()) - 3; at > first; at -= 3) text.insert(size_t(at), 1, ',');
    if (int(text.size()) < columns) text.insert(0, size_t(columns) - text.size(), ' ');
    return text;
}

}  // namespace korva

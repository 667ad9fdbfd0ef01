// core/words.cpp - the splitter of lists.
#include "core/words.h"

#include <algorithm>

namespace korva {

namespace {

// Index behind the compound string whose `" stands at `at`; the end of the text closes it.
size_t behind_compound(std::string_view text, size_t at) {
    int depth = 0;
    while (at + 1 < text.size()) {
        if (text[at] == '`' && text[at + 1] == '"') {
            depth++;
            at += 2;
        } else if (text[at] == '"' && text[at + 1] == '\'') {
            at += 2;
            if (--depth == 0) return at;
        } else {
            at++;
        }
    }
    return text.size();
}

size_t behind_plain(std::string_view text, size_t at) {
    const size_t close = text.find('"', at + 1);
    return close == std::string_view::npos ? text.size() : close + 1;
}

bool opens_compound(std::string_view text, size_t at) {
    return text[at] == '`' && at + 1 < text.size() && text[at + 1] == '"';
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
    if (opens_compound(rest, 0)) {
        const size_t end = behind_compound(rest, 0);
        const bool closed = end >= 4 && rest.substr(end - 2, 2) == "\"'";
        *word = rest.substr(2, (closed ? end - 2 : end) - 2);
        *text = rest.substr(end);
        if (quoted != nullptr) *quoted = true;
        return true;
    }
    if (rest[0] == '"') {
        const size_t end = behind_plain(rest, 0);
        const bool closed = end >= 2 && rest[end - 1] == '"';
        *word = rest.substr(1, (closed ? end - 1 : end) - 1);
        *text = rest.substr(end);
        if (quoted != nullptr) *quoted = true;
        return true;
    }
    size_t at = 0;
    while (at < rest.size() && rest[at] != ' ') {
        if (opens_compound(rest, at)) {
            at = behind_compound(rest, at);
        } else {
            at = rest[at] == '"' ? behind_plain(rest, at) : at + 1;
        }
    }
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

std::string_view TrimBlanks(std::string_view text) {
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

}  // namespace korva

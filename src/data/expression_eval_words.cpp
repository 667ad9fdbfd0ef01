// data/expression_eval_words.cpp - functions that look at the words of a string, or replace parts
// of it.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>

#include "core/missing.h"
#include "data/expression_machine.h"
#include "data/expression_texts.h"

namespace korva {

namespace {

// A buffer in which a result is put together before it goes to the lane's bytes, which may hold an
// operand.
struct TextBuilder {
    char bytes[kMaxStringBytes];
    int length = 0;
    void add(std::string_view text) {
        const int room = std::min(int(text.size()), kMaxStringBytes - length);
        memcpy(bytes + length, text.data(), size_t(room));
        length += room;
    }
    TextLane put(char* to) const {
        memcpy(to, bytes, size_t(length));
        return {to, length};
    }
};

// The next blank-separated word of *rest, which moves behind it; empty at the end.
std::string_view next_word(std::string_view* rest) {
    const size_t start = rest->find_first_not_of(' ');
    if (start == std::string_view::npos) return {};
    rest->remove_prefix(start);
    const std::string_view word = rest->substr(0, rest->find(' '));
    rest->remove_prefix(word.size());
    return word;
}

int count_words(std::string_view text) {
    int n = 0;
    while (!next_word(&text).empty()) n++;
    return n;
}

// The nth word, from the end if n is negative.
std::string_view nth_word(std::string_view text, double n) {
    if (!(n < kSysMissing)) return {};
    int wanted = count_of(n);
    if (wanted < 0) wanted += count_words(text) + 1;
    if (wanted < 1) return {};
    std::string_view word;
    while (wanted-- > 0) {
        word = next_word(&text);
        if (word.empty()) return {};
    }
    return word;
}

bool is_whole_word(std::string_view text, size_t at_byte, size_t length) {
    const size_t end = at_byte + length;
    return (at_byte == 0 || text[at_byte - 1] == ' ') && (end == text.size() || text[end] == ' ');
}

// `text` with the first n of `from` replaced; n missing: all.
void replace_in(std::string_view text, std::string_view from, std::string_view to, double n,
                bool whole_words, TextBuilder* out) {
    int left = n < kSysMissing ? count_of(n) : kMaxStringBytes;
    size_t done = 0;
    size_t found = from.empty() ? std::string_view::npos : text.find(from);
    while (found != std::string_view::npos && left > 0) {
        if (whole_words && !is_whole_word(text, found, from.size())) {
            found = text.find(from, found + 1);
            continue;
        }
        out->add(text.substr(done, found - done));
        out->add(to);
        done = found + from.size();
        found = text.find(from, done);
        left--;
    }
    out->add(text.substr(done));
}

void replace_lanes(BlockMachine* m, bool whole_words) {
    const TextLane* s = text_operand(m, 0);
    const TextLane* from = text_operand(m, 1);
    TextLane* to = text_operand(m, 2);
    const NumberOperand n = pop_number(m);
    for (int i = 0; i < m->n; i++) {
        TextBuilder out;
        replace_in(s[i].view(), from[i].view(), to[i].view(), at(n, i), whole_words, &out);
        to[i] = out.put(lane_bytes(m, to, i));
    }
    m->text_depth -= 2;
}

// The plural of `word`: with "+x" x is added, with "-x" a final x goes, any other text stands for
// it.
void pluralize(std::string_view word, std::string_view change, TextBuilder* out) {
    if (change.starts_with('+')) {
        out->add(word);
        out->add(change.substr(1));
    } else if (change.starts_with('-')) {
        const std::string_view ending = change.substr(1);
        out->add(word.ends_with(ending) ? word.substr(0, word.size() - ending.size()) : word);
    } else {
        out->add(change);
    }
}

bool is_one(double x) {
    return x == 1 || x == -1;
}

}  // namespace

void op_WORDCOUNT(BlockMachine* m, const int16_t*) {
    number_of_text(m, [](std::string_view s) { return double(count_words(s)); });
}

// Runs of blanks between words become one; those at the ends stay.
void op_ITRIM(BlockMachine* m, const int16_t*) {
    TextLane* s = text_operand(m, 0);
    for (int i = 0; i < m->n; i++) {
        TextLane inner = s[i];
        trim_left(&inner);
        trim_right(&inner);
        const int head = int(inner.text - s[i].text);
        char* to = lane_bytes(m, s, i);
        int length = 0;
        for (int k = 0; k < s[i].length; k++) {
            const bool inside = k > head && k < head + inner.length;
            if (inside && s[i].text[k] == ' ' && to[length - 1] == ' ') continue;
            to[length++] = s[i].text[k];
        }
        s[i] = {to, length};
    }
}

// A letter behind another letter is lower case, any other letter upper case.
void op_PROPER(BlockMachine* m, const int16_t*) {
    TextLane* s = text_operand(m, 0);
    for (int i = 0; i < m->n; i++) {
        char* to = lane_bytes(m, s, i);
        bool behind_letter = false;
        for (int k = 0; k < s[i].length; k++) {
            const char c = s[i].text[k];
            to[k] = behind_letter ? lower_of(c) : upper_of(c);
            behind_letter = is_lower(c) || is_upper(c);
        }
        s[i].text = to;
    }
}

void op_WORD(BlockMachine* m, const int16_t*) {
    const NumberOperand n = pop_number(m);
    TextLane* s = text_operand(m, 0);
    for (int i = 0; i < m->n; i++) {
        const std::string_view word = nth_word(s[i].view(), at(n, i));
        s[i] = word.empty() ? TextLane{"", 0} : TextLane{word.data(), int32_t(word.size())};
    }
}

void op_SUBINSTR(BlockMachine* m, const int16_t*) {
    replace_lanes(m, false);
}
void op_SUBINWORD(BlockMachine* m, const int16_t*) {
    replace_lanes(m, true);
}

void op_PLURAL(BlockMachine* m, const int16_t*) {
    const NumberOperand n = pop_number(m);
    TextLane* s = text_operand(m, 0);
    for (int i = 0; i < m->n; i++) {
        if (is_one(at(n, i))) continue;
        TextBuilder out;
        out.add(s[i].view());
        out.add("s");
        s[i] = out.put(lane_bytes(m, s, i));
    }
}

void op_PLURAL3(BlockMachine* m, const int16_t*) {
    const NumberOperand n = pop_number(m);
    const TextLane* s = text_operand(m, 0);
    TextLane* change = text_operand(m, 1);
    for (int i = 0; i < m->n; i++) {
        TextBuilder out;
        if (is_one(at(n, i))) {
            out.add(s[i].view());
        } else {
            pluralize(s[i].view(), change[i].view(), &out);
        }
        change[i] = out.put(lane_bytes(m, change, i));
    }
    m->text_depth--;
}

}  // namespace korva

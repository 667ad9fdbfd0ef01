// data/expression_eval_strings.cpp - string operands in and out, and functions of strings.
//
// Variables of a few bytes are read into words that lie side by side, so that a function that maps
// bytes takes them all in one vector loop, and are stored from words.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "core/missing.h"
#include "core/print.h"
#include "core/settings.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/expression_machine.h"
#include "data/expression_texts.h"
#include "data/short_text.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr double kShortWhole = 9999999;  // whole numbers that %9.0g shows as they stand

static_assert(kTextSlotBytes > kMaxStringBytes);

// True if eight bytes from `text` on are the machine's own: words are followed by slots, and these
// by padding.
bool is_computed(const BlockMachine* m, const char* text) {
    static_assert(offsetof(BlockMachine, text_bytes) ==
                  offsetof(BlockMachine, words) + sizeof m->words);
    const char* begin = reinterpret_cast<const char*>(m->words);
    return text >= begin && text < m->text_padding;
}

// True if each lane of the slot begins where its own word does.
bool lies_in_words(const BlockMachine* m, const TextLane* slot) {
    const uint64_t* words = m->words[(slot - m->texts[0]) / kBlockObs];
    uint64_t differences = 0;
    for (int i = 0; i < m->n; i++) {
        differences |= reinterpret_cast<uintptr_t>(slot[i].text) ^
                       reinterpret_cast<uintptr_t>(words + i);
    }
    return differences == 0;
}

// Pushes f(first, second); the first argument is on the top.
template <class F>
void number_of_two(BlockMachine* m, const TextLane* first, const TextLane* second, F f) {
    double* out = m->own[m->depth];
    for (int i = 0; i < m->n; i++) out[i] = f(first[i].view(), second[i].view());
    m->text_depth -= 2;
    set_result(m, m->depth, false);
    m->depth++;
}

// Operators have the left operand below the right one.
template <class F>
void text_relation(BlockMachine* m, F holds) {
    number_of_two(m, text_operand(m, 1), text_operand(m, 0),
                  [holds](std::string_view a, std::string_view b) {
                      return holds(a.compare(b)) ? 1.0 : 0.0;
                  });
}

// Changes each byte of the top string; the copy lies in the lane's own bytes.
template <class F>
void map_bytes(BlockMachine* m, F f) {
    TextLane* s = text_operand(m, 0);
    if (lies_in_words(m, s)) {
        char* bytes = reinterpret_cast<char*>(m->words[m->text_depth - 1]);
        const int n_bytes = kWordBytes * m->n;  // read once: the stores could change m->n
        for (int k = 0; k < n_bytes; k++) bytes[k] = f(bytes[k]);
        return;
    }
    for (int i = 0; i < m->n; i++) {
        char* to = lane_bytes(m, s, i);
        if (to != s[i].text) copy_short(to, s[i].text, s[i].length);
        // Eight at a time; the slot is a multiple of 8, so what lies behind the text is the lane's
        // own.
        for (int k = 0; k < s[i].length; k += 8) {
            for (int j = 0; j < 8; j++) to[k + j] = f(to[k + j]);
        }
        s[i].text = to;
    }
}

// substr(): 1-based; from the end if negative; a missing length is all the rest.
TextLane substring(TextLane s, double from, double count) {
    if (!(from < kSysMissing)) return {s.text, 0};
    int start = count_of(from);
    if (start < 0) start += s.length + 1;
    if (start < 1 || start > s.length) return {s.text, 0};
    const int rest = s.length - start + 1;
    const int take = count < kSysMissing ? std::clamp(count_of(count), 0, rest) : rest;
    return {s.text + start - 1, take};
}

// string(x): %9.0g shows a short whole number as it stands.
TextLane number_text(double x, char* to) {
    if (std::fabs(x) <= kShortWhole && x == std::trunc(x)) {
        char digits[8];
        int n = 0;
        uint32_t rest = uint32_t(std::fabs(x));
        do digits[n++] = char('0' + rest % 10);
        while (rest /= 10);
        int length = 0;
        if (x < 0) to[length++] = '-';
        while (n > 0) to[length++] = digits[--n];
        return {to, length};
    }
    const std::string_view text = fmt_number("%9.0g", finite_or_missing(x));
    TextLane lane{text.data(), int32_t(std::min(text.size(), size_t(kMaxStringBytes)))};
    trim_left(&lane);
    trim_right(&lane);
    memcpy(to, lane.text, size_t(lane.length));
    return {to, lane.length};
}

TextLane formatted(double x, std::string_view format, char* to) {
    if (!fmt_is_valid(format, false)) return {to, 0};
    const std::string_view text = fmt_number(format, finite_or_missing(x));
    TextLane lane{text.data(), int32_t(std::min(text.size(), size_t(kMaxStringBytes)))};
    trim_left(&lane);
    memcpy(to, lane.text, size_t(lane.length));
    return {to, lane.length};
}

// The k strings of an instruction, s[0] its first argument; the result takes the deepest one's
// place.
TextLane* take_texts(BlockMachine* m, int k, const TextLane** s) {
    for (int j = 0; j < k; j++) s[j] = text_operand(m, j);
    m->text_depth -= k - 1;
    return text_operand(m, 0);
}

// The text in the lane's own bytes, if they are bytes of another slot.
void keep_lane(BlockMachine* m, TextLane* slot, int lane, TextLane value) {
    if (is_computed(m, value.text)) {
        char* to = lane_bytes(m, slot, lane);
        memmove(to, value.text, size_t(value.length));
        value.text = to;
    }
    slot[lane] = value;
}

// Pushes a variable of at most kWordBytes bytes; observations that do not exist are empty.
void push_words(BlockMachine* m, int var) {
    TextLane* out = m->texts[m->text_depth];
    uint64_t* words = m->words[m->text_depth++];
    const int present = m->index ? m->n : std::clamp(dataset.nobs - m->obs + 1, 0, m->n);
    gather_words(var, m->obs, m->index, present, words);
    std::fill(words + present, words + m->n, uint64_t(0));
    for (int i = 0; i < m->n; i++) {
        out[i] = {reinterpret_cast<const char*>(words + i), narrow_length(words[i])};
    }
}

// store_texts() into a variable of at most kWordBytes bytes.
void store_words(const BlockMachine* m, int var, int obs, int n, const TextLane* values) {
    const int width = type_width(dataset.types[var - 1]);
    uint64_t words[kBlockObs];
    for (int i = 0; i < n; i++) {
        const int length = std::min(values[i].length, width);
        uint64_t word = 0;
        if (is_computed(m, values[i].text)) {
            memcpy(&word, values[i].text, sizeof word);
            word = keep_bytes(word, length);
        } else {
            memcpy(&word, values[i].text, size_t(length));
        }
        words[i] = word;
    }
    scatter_words(var, obs, n, words);
}

constexpr auto kByteTexts = [] {
    std::array<char, 256> bytes{};
    for (int i = 0; i < 256; i++) bytes[size_t(i)] = char(i);
    return bytes;
}();

}  // namespace

const TextLane* block_texts(BlockMachine* m) {
    if (m->text_depth < 1) std::fill(m->texts[0], m->texts[0] + kBlockObs, TextLane{"", 0});
    return m->texts[0];
}

void keep_block_texts(BlockMachine* m) {
    for (int i = 0; i < m->n; i++) {
        char* to = m->text_bytes[0][i];
        memmove(to, m->texts[0][i].text, size_t(m->texts[0][i].length));
        m->texts[0][i].text = to;
    }
}

void store_texts(const BlockMachine* m, int var, int obs, int n, const TextLane* values) {
    const int width = type_width(dataset.types[var - 1]);
    if (width <= kWordBytes) return store_words(m, var, obs, n, values);
    for (int i = 0; i < n; i++) {
        char* cell = reinterpret_cast<char*>(rawcell(var, obs + i));
        const int length = std::min(values[i].length, width);
        copy_short(cell, values[i].text, length);
        clear_short(cell + length, width - length);
    }
}

void op_TEXT(BlockMachine* m, const int16_t* operand) {
    const char* text = expression_pools.texts + operand[0];
    TextLane* out = m->texts[m->text_depth++];
    std::fill(out, out + m->n, TextLane{text, int32_t(strlen(text))});
}

void op_VARIABLE_S(BlockMachine* m, const int16_t* operand) {
    const int var = operand[0];
    const int width = type_width(dataset.types[var - 1]);
    if (width <= kWordBytes) return push_words(m, var);
    TextLane* out = m->texts[m->text_depth++];
    for (int i = 0; i < m->n; i++) {
        const int obs = lane_obs(m, i);
        if (obs > dataset.nobs) {
            out[i] = {"", 0};
            continue;
        }
        const char* cell = reinterpret_cast<const char*>(rawcell(var, obs));
        out[i] = {cell, short_length(cell, width)};
    }
}

void op_CONCAT(BlockMachine* m, const int16_t*) {
    const TextLane* right = text_operand(m, 0);
    TextLane* left = text_operand(m, 1);
    for (int i = 0; i < m->n; i++) {
        char* to = lane_bytes(m, left, i);
        const int tail = std::min(right[i].length, kMaxStringBytes - left[i].length);
        copy_short(to, left[i].text, left[i].length);
        copy_short(to + left[i].length, right[i].text, tail);
        left[i] = {to, left[i].length + tail};
    }
    m->text_depth--;
}

void op_EQ_S(BlockMachine* m, const int16_t*) {
    number_of_two(m, text_operand(m, 1), text_operand(m, 0),
                  [](std::string_view a, std::string_view b) { return a == b ? 1.0 : 0.0; });
}
void op_NE_S(BlockMachine* m, const int16_t*) {
    number_of_two(m, text_operand(m, 1), text_operand(m, 0),
                  [](std::string_view a, std::string_view b) { return a != b ? 1.0 : 0.0; });
}
void op_GE_S(BlockMachine* m, const int16_t*) {
    text_relation(m, [](int order) { return order >= 0; });
}
void op_LE_S(BlockMachine* m, const int16_t*) {
    text_relation(m, [](int order) { return order <= 0; });
}
void op_LT_S(BlockMachine* m, const int16_t*) {
    text_relation(m, [](int order) { return order < 0; });
}
void op_GT_S(BlockMachine* m, const int16_t*) {
    text_relation(m, [](int order) { return order > 0; });
}

void op_LENGTH(BlockMachine* m, const int16_t*) {
    number_of_text(m, [](std::string_view s) { return double(s.size()); });
}

void op_REAL(BlockMachine* m, const int16_t*) {
    number_of_text(m, [](std::string_view s) {
        TextLane lane{s.data(), int32_t(s.size())};
        trim_left(&lane);
        trim_right(&lane);
        double value;
        return parse_number(lane.view(), &value) ? value : kSysMissing;
    });
}

void op_STRPOS(BlockMachine* m, const int16_t*) {
    number_of_two(m, text_operand(m, 0), text_operand(m, 1),
                  [](std::string_view s, std::string_view t) {
                      return t.empty() ? 0.0 : double(s.find(t) + 1);
                  });
}

// Place of the first byte of s that is not in t.
void op_INDEXNOT(BlockMachine* m, const int16_t*) {
    number_of_two(
        m, text_operand(m, 0), text_operand(m, 1),
        [](std::string_view s, std::string_view t) { return double(s.find_first_not_of(t) + 1); });
}

void op_STRMATCH(BlockMachine* m, const int16_t*) {
    number_of_two(m, text_operand(m, 0), text_operand(m, 1),
                  [](std::string_view s, std::string_view pattern) {
                      return glob_match(pattern, s) ? 1.0 : 0.0;
                  });
}

void op_INRANGE_S(BlockMachine* m, const int16_t*) {
    const TextLane* s[3];
    take_texts(m, 3, s);
    m->text_depth--;
    double* out = m->own[m->depth];
    for (int i = 0; i < m->n; i++) {
        out[i] = s[0][i].view() >= s[1][i].view() && s[0][i].view() <= s[2][i].view() ? 1 : 0;
    }
    set_result(m, m->depth, false);
    m->depth++;
}

void op_INLIST_S(BlockMachine* m, const int16_t* operand) {
    const TextLane* s[kMaxTexts];
    const int k = operand[0];
    take_texts(m, k, s);
    m->text_depth--;
    double* out = m->own[m->depth];
    for (int i = 0; i < m->n; i++) {
        bool found = false;
        for (int j = 1; j < k && !found; j++) found = s[j][i].view() == s[0][i].view();
        out[i] = found ? 1 : 0;
    }
    set_result(m, m->depth, false);
    m->depth++;
}

// The number is the instruction's first argument, the format, if any, the second.
void op_STRING(BlockMachine* m, const int16_t* operand) {
    const NumberOperand x = pop_number(m);
    const bool has_format = operand[0] == 2;
    if (!has_format) m->text_depth++;
    TextLane* out = text_operand(m, 0);
    for (int i = 0; i < m->n; i++) {
        char* to = lane_bytes(m, out, i);
        out[i] = has_format ? formatted(at(x, i), out[i].view(), to) : number_text(at(x, i), to);
    }
}

void op_SUBSTR(BlockMachine* m, const int16_t*) {
    const NumberOperand from = pop_number(m);
    const NumberOperand count = pop_number(m);
    TextLane* s = text_operand(m, 0);
    for (int i = 0; i < m->n; i++) s[i] = substring(s[i], at(from, i), at(count, i));
}

void op_LOWER(BlockMachine* m, const int16_t*) {
    map_bytes(m, [](char c) { return lower_of(c); });
}
void op_UPPER(BlockMachine* m, const int16_t*) {
    map_bytes(m, [](char c) { return upper_of(c); });
}

// The text with the decimal point that is shown at present: a comma under set dp comma.
void op_STRSUBDP(BlockMachine* m, const int16_t*) {
    if (settings.dp_comma) map_bytes(m, [](char c) { return c == '.' ? ',' : c; });
}

void op_LTRIM(BlockMachine* m, const int16_t*) {
    TextLane* s = text_operand(m, 0);
    for (int i = 0; i < m->n; i++) trim_left(&s[i]);
}
void op_RTRIM(BlockMachine* m, const int16_t*) {
    TextLane* s = text_operand(m, 0);
    for (int i = 0; i < m->n; i++) trim_right(&s[i]);
}
void op_TRIM(BlockMachine* m, const int16_t*) {
    op_LTRIM(m, nullptr);
    op_RTRIM(m, nullptr);
}

void op_REVERSE(BlockMachine* m, const int16_t*) {
    TextLane* s = text_operand(m, 0);
    for (int i = 0; i < m->n; i++) {
        char* to = lane_bytes(m, s, i);
        memmove(to, s[i].text, size_t(s[i].length));
        std::reverse(to, to + s[i].length);
        s[i].text = to;
    }
}

void op_CHAR(BlockMachine* m, const int16_t*) {
    const NumberOperand x = pop_number(m);
    TextLane* out = m->texts[m->text_depth++];
    for (int i = 0; i < m->n; i++) {
        const double code = std::trunc(at(x, i));
        const bool is_byte = code >= 1 && code <= 255;
        out[i] = {&kByteTexts[is_byte ? size_t(code) : 0], is_byte};
    }
}

// A longer text keeps its first n - 2 characters and its last, with ~ between; n is held to 5..32.
void op_ABBREV(BlockMachine* m, const int16_t*) {
    const NumberOperand width = pop_number(m);
    TextLane* s = text_operand(m, 0);
    for (int i = 0; i < m->n; i++) {
        const double x = at(width, i);
        const int n = x < kSysMissing ? std::clamp(count_of(x), 5, kMaxNameBytes) : kMaxNameBytes;
        if (s[i].length <= n) continue;
        const char last = s[i].text[s[i].length - 1];
        char* to = lane_bytes(m, s, i);
        memmove(to, s[i].text, size_t(n - 2));
        to[n - 2] = '~';
        to[n - 1] = last;
        s[i] = {to, n};
    }
}

void op_COND_S(BlockMachine* m, const int16_t* operand) {
    const NumberOperand x = pop_number(m);
    const TextLane* s[3];
    const int k = operand[0] - 1;
    TextLane* out = take_texts(m, k, s);
    for (int i = 0; i < m->n; i++) {
        const double value = at(x, i);
        const bool missing = !(value < kSysMissing);
        const int chosen = missing && k == 3 ? 2 : value != 0 ? 0 : 1;
        keep_lane(m, out, i, s[chosen][i]);
    }
}

}  // namespace korva

// data/expression_eval_strings.cpp - functions of strings.
//
// A string operand is a pointer and a length for each lane: a cell of the dataset, a constant of
// the pool, or the lane's own bytes in the machine's slot of that depth. A result that is part of
// its operand only moves the pointer. Bytes of a deeper slot never outlive the instruction that
// took it off the stack.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "core/missing.h"
#include "core/print.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/expression_machine.h"
#include "data/short_text.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr int kNarrow = 8;               // bytes of cells that are handled as one word
constexpr double kShortWhole = 9999999;  // whole numbers that %9.0g shows as they stand

static_assert(kTextSlotBytes > kMaxStringBytes);

// The strings on the top of the stack, `below` places under it.
inline TextLane* text_operand(BlockMachine* m, int below) {
    return m->texts[m->text_depth - 1 - below];
}

// Bytes that the lane of the slot owns.
inline char* lane_bytes(BlockMachine* m, const TextLane* slot, int lane) {
    return m->text_bytes[(slot - m->texts[0]) / kBlockObs][lane];
}

// Takes the number on the top of the stack; a constant has a single lane.
NumberOperand pop_number(BlockMachine* m) {
    return m->numbers[--m->depth];
}
inline double at(const NumberOperand& operand, int lane) {
    return operand.x[operand.constant ? 0 : lane];
}

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

// True if eight bytes from `text` on are the machine's own: a slot is followed by another or by
// padding.
bool is_computed(const BlockMachine* m, const char* text) {
    const char* begin = m->text_bytes[0][0];
    return text >= begin && text < begin + sizeof m->text_bytes;
}

constexpr bool is_lower(char c) {
    return c >= 'a' && c <= 'z';
}
constexpr bool is_upper(char c) {
    return c >= 'A' && c <= 'Z';
}
constexpr char lower_of(char c) {
    return is_upper(c) ? char(c + 32) : c;
}
constexpr char upper_of(char c) {
    return is_lower(c) ? char(c - 32) : c;
}

// Pushes f(text) as a number for each lane of the top string.
template <class F>
void number_of_text(BlockMachine* m, F f) {
    const TextLane* s = text_operand(m, 0);
    double* out = m->own[m->depth];
    for (int i = 0; i < m->n; i++) out[i] = f(s[i].view());
    m->text_depth--;
    set_result(m, m->depth, false);
    m->depth++;
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

inline void trim_left(TextLane* s) {
    while (s->length > 0 && *s->text == ' ') s->text++, s->length--;
}
inline void trim_right(TextLane* s) {
    while (s->length > 0 && s->text[s->length - 1] == ' ') s->length--;
}

// A count from a number: truncated, and held within the lengths that matter.
int count_of(double x) {
    return int(std::clamp(x, -1000.0, 1000.0));
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
    const char* begin = m->text_bytes[0][0];
    const char* end = begin + sizeof m->text_bytes;
    if (value.text >= begin && value.text < end) {
        char* to = lane_bytes(m, slot, lane);
        memmove(to, value.text, size_t(value.length));
        value.text = to;
    }
    slot[lane] = value;
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
    for (int i = 0; i < n; i++) {
        char* cell = reinterpret_cast<char*>(rawcell(var, obs + i));
        const int length = std::min(values[i].length, width);
        if (width <= kNarrow && is_computed(m, values[i].text)) {
            uint64_t word;
            memcpy(&word, values[i].text, sizeof word);
            store_narrow(cell, keep_bytes(word, length), width);
            continue;
        }
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
    TextLane* out = m->texts[m->text_depth++];
    for (int i = 0; i < m->n; i++) {
        const int obs = lane_obs(m, i);
        if (obs > dataset.nobs) {
            out[i] = {"", 0};
            continue;
        }
        if (width <= kNarrow) {
            const char* narrow = reinterpret_cast<const char*>(rawcell(var, obs));
            const uint64_t word = load_narrow(narrow, width);
            char* to = lane_bytes(m, out, i);
            memcpy(to, &word, sizeof word);
            out[i] = {to, narrow_length(word)};
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

void op_WORDCOUNT(BlockMachine* m, const int16_t*) {
    number_of_text(m, [](std::string_view s) { return double(count_words(s)); });
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

void op_REVERSE(BlockMachine* m, const int16_t*) {
    TextLane* s = text_operand(m, 0);
    for (int i = 0; i < m->n; i++) {
        char* to = lane_bytes(m, s, i);
        memmove(to, s[i].text, size_t(s[i].length));
        std::reverse(to, to + s[i].length);
        s[i].text = to;
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

void op_CHAR(BlockMachine* m, const int16_t*) {
    const NumberOperand x = pop_number(m);
    TextLane* out = m->texts[m->text_depth++];
    for (int i = 0; i < m->n; i++) {
        const double code = std::trunc(at(x, i));
        const bool is_byte = code >= 1 && code <= 255;
        out[i] = {&kByteTexts[is_byte ? size_t(code) : 0], is_byte};
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

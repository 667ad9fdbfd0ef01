// data/expression_texts.h - string operands of the block machine, for its handlers only.
//
// A string operand is a pointer and a length for each lane: a cell of the dataset, a constant of
// the pool, or the machine's own bytes at that depth. A result that is part of its operand only
// moves the pointer. Bytes of a deeper slot never outlive the instruction that took it off the
// stack.
#pragma once

#include <algorithm>
#include <cstring>
#include <string_view>

#include "data/dataset.h"
#include "data/expression_machine.h"

namespace korva {

// The strings on the top of the stack, `below` places under it.
inline TextLane* text_operand(BlockMachine* m, int below) {
    return m->texts[m->text_depth - 1 - below];
}

// Bytes that the lane of the slot owns.
inline char* lane_bytes(BlockMachine* m, const TextLane* slot, int lane) {
    return m->text_bytes[(slot - m->texts[0]) / kBlockObs][lane];
}

// Takes the number on the top of the stack; a constant has a single lane.
inline NumberOperand pop_number(BlockMachine* m) {
    return m->numbers[--m->depth];
}
inline double at(const NumberOperand& operand, int lane) {
    return operand.x[operand.constant ? 0 : lane];
}

// A count from a number: truncated, and held within the lengths that matter.
inline int count_of(double x) {
    return int(std::clamp(x, -1000.0, 1000.0));
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

inline void trim_left(TextLane* s) {
    while (s->length > 0 && *s->text == ' ') s->text++, s->length--;
}
inline void trim_right(TextLane* s) {
    while (s->length > 0 && s->text[s->length - 1] == ' ') s->length--;
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

}  // namespace korva

// data/expression_eval_regex.cpp - regular expressions over strings of the data.
//
// A pattern that is none fails quietly: running a program prints nothing.

#include <cstring>
#include <string>

#include "core/missing.h"
#include "core/regex.h"
#include "data/expression_machine.h"
#include "data/expression_texts.h"

namespace korva {

void op_REGEXM(BlockMachine* m, const int16_t*) {
    const TextLane* text = text_operand(m, 0);
    const TextLane* pattern = text_operand(m, 1);
    double* out = m->own[m->depth];
    for (int i = 0; i < m->n; i++) {
        bool matched = false;
        const bool sound = RegexIsSound(pattern[i].view()) &&
                           RegexMatch(text[i].view(), pattern[i].view(), &matched) == 0;
        out[i] = sound ? matched : kSysMissing;
    }
    m->text_depth -= 2;
    set_result(m, m->depth, false);
    m->depth++;
}

void op_REGEXR(BlockMachine* m, const int16_t*) {
    const TextLane* text = text_operand(m, 0);
    const TextLane* pattern = text_operand(m, 1);
    const TextLane* with = text_operand(m, 2);
    m->text_depth -= 2;
    TextLane* out = text_operand(m, 0);
    std::string result;  // grows once a block
    for (int i = 0; i < m->n; i++) {
        const bool sound = RegexIsSound(pattern[i].view()) &&
                           RegexReplace(text[i].view(), pattern[i].view(), with[i].view(),
                                        &result) == 0;
        if (!sound) result.clear();
        const int length = std::min(int(result.size()), kMaxStringBytes);
        char* to = lane_bytes(m, out, i);
        memcpy(to, result.data(), size_t(length));
        out[i] = {to, length};
    }
}

void op_REGEXS(BlockMachine* m, const int16_t*) {
    const NumberOperand number = pop_number(m);
    TextLane* out = m->texts[m->text_depth++];
    for (int i = 0; i < m->n; i++) {
        const double n = at(number, i);
        std::string_view part;
        if (n < kSysMissing) RegexSubexpression(count_of(n), &part);
        const int length = std::min(int(part.size()), kMaxStringBytes);
        char* to = lane_bytes(m, out, i);
        part.copy(to, size_t(length));
        out[i] = {to, length};
    }
}

}  // namespace korva

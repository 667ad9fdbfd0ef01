// data/expression_opcodes.cpp - the listing of a program, for debugging and for tests.

#include "data/expression_opcodes.h"

namespace korva {

namespace {

// A number below 1 or above 301, or without a row, is passed over by the machine.
bool is_instruction(int code) {
    return code >= 1 && code < kOpcodes && kOpcodeRows[size_t(code)].name;
}

}  // namespace

std::string list_program(const ExpressionRecord& record) {
    std::string text;
    for (int i = 0; i <= record.last_code; i++) {
        const int code = record.code[i];
        text += std::to_string(i + 1) + "\t";
        if (!is_instruction(code)) {
            text += "? " + std::to_string(code) + "\n";
            continue;
        }
        const OpcodeRow& row = kOpcodeRows[size_t(code)];
        text += row.name;
        for (int k = 0; k < row.operands && i < record.last_code; k++) {
            text += " " + std::to_string(record.code[++i]);
        }
        text += std::string("\t") + row.effect + "\n";
    }
    return text;
}

}  // namespace korva

// data/expression_opcodes.h - the instructions of compiled expressions: numbers, rows, listing.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "data/expression.h"

namespace korva {

constexpr int kOpcodes = 302;  // numbers are 1 to 301; the unused ones have empty rows

enum Opcode : int16_t {
#define OPCODE(name, number, operands, pops, pushes, shares, effect) OP_##name = number,
#define OPCODE_LATER OPCODE
#include "data/expression_opcodes.def"
#undef OPCODE_LATER
#undef OPCODE
};

// What an instruction allows: bits that take a permission away.
enum OpcodeShares : uint8_t {
    kSharesFREE = 0,
    kSharesORDER = 1,
    kSharesTHREAD = 2,
    kSharesALONE = 3
};

struct OpcodeRow {
    const char* name = nullptr;  // null: no instruction has this number
    const char* pops = "";       // N, S, M in argument order, the first from the top; # repeats
    const char* effect = "";
    uint8_t operands = 0;
    char pushes = 0;
    uint8_t shares = kSharesFREE;
    bool available = false;  // it has a handler
};

inline constexpr std::array<OpcodeRow, kOpcodes> kOpcodeRows = [] {
    std::array<OpcodeRow, kOpcodes> rows{};
#define OPCODE_ROW(name, number, operands, pops, pushes, shares, effect, available)                \
    rows[number] = {#name, pops, effect, operands, pushes[0], kShares##shares, available};
#define OPCODE(name, number, operands, pops, pushes, shares, effect)                               \
    OPCODE_ROW(name, number, operands, pops, pushes, shares, effect, true)
#define OPCODE_LATER(name, number, operands, pops, pushes, shares, effect)                         \
    OPCODE_ROW(name, number, operands, pops, pushes, shares, effect, false)
#include "data/expression_opcodes.def"
#undef OPCODE_LATER
#undef OPCODE
#undef OPCODE_ROW
    return rows;
}();

// Arguments that the row's pops stand for; -1 when the program says how many.
constexpr int fixed_arguments(const OpcodeRow& row) {
    int n = 0;
    for (const char* p = row.pops; *p; p++, n++) {
        if (*p == '#') return -1;
    }
    return n;
}

// The program in words, an instruction a line: place, name, operands, effect.
std::string list_program(const ExpressionRecord& record);

}  // namespace korva

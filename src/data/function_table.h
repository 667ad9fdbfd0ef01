// data/function_table.h - the functions that an expression may call, by name.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "data/expression_opcodes.h"

namespace korva {

enum class FunctionKind : uint8_t {
    Fixed,         // arguments as the opcode's row says
    Counted,       // their number is the instruction's operand
    InMatrixMode,  // the result is a matrix
    Alone,         // compiled by a routine of its own
};

enum class FunctionRoutine : uint8_t {
    None,
    Cond,
    Sum,
    Missing,
    InRange,
    InList,
    Plural,
    Scalar,
    Variable,
    Results,
    SystemValue,
    Caller,
    Limit,
    Uniform,
    NormalDensity,
    LogNormalDensity,
    Date,
    TimeRange,
    TimeLiteral,
    Later,  // known by name, not built yet
};

// As many as are wanted: the stack of operands ends the list before.
constexpr int16_t kManyArguments = 2400;

struct FunctionRow {
    std::string_view name;
    FunctionKind kind = FunctionKind::Fixed;
    FunctionRoutine routine = FunctionRoutine::None;
    int16_t opcode = 0;
    int16_t min_arguments = 0;
    int16_t max_arguments = 0;
    int32_t last_version = 0;  // the last that has it; 0: all
};

// Every row, sorted by name.
std::span<const FunctionRow> function_rows();

// True if calls of the function run: it is known by name otherwise, and refused.
bool function_is_available(const FunctionRow& row);

// The row of the name at the version; null: there is none.
const FunctionRow* find_function(std::string_view name, int version);

}  // namespace korva

// data/expression_single.h - programs decoded for one observation at a time, for this folder only.
//
// A loop whose observations wait for each other cannot run over blocks. For it a program is decoded
// once into steps that know their cells' place in the row and their type; a step then costs about
// as much as a lane of a block. The values are the same bits as those of a block of one lane.
//
// A decoded program is valid for the command, the range in force and the storage types of the
// moment: after a recast it is decoded again.
#pragma once

#include <cstdint>

#include "data/expression_machine.h"

namespace korva {

constexpr int kMostSteps = 64;  // also the depth of the stack of a run

struct SingleStep {
    uint8_t kind;         // a StepKind of the .cpp
    StorageType type;     // of the variable that is read
    uint32_t offset;      // of its cell in the row
    int64_t shift;        // x[_n + shift]; arguments of a call
    double constant;      // the right operand or what is pushed
    const int16_t* code;  // the instruction in the record
};

struct SingleProgram {
    ExpressionRecord* record;
    bool one_missing;  // all missing values compare equal: version below 8
    bool has_sums;
    int n_steps;
    SingleStep steps[kMostSteps];
};

// Decodes the record, which is not copied. False: it is long, or uses strings, matrices or the
// state of a generator.
bool decode_single(ExpressionRecord* record, SingleProgram* program);

// The number at the observation: NaN, infinity and overflow are `.`.
double run_single(const SingleProgram& program, int obs);

}  // namespace korva

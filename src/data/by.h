// data/by.h - the by prefix: the group in force and the loop over groups.
#pragma once

#include <cstdint>

#include "core/types.h"
#include "data/dataset.h"

namespace korva {

struct ByState {
    int32_t level = 0;    // nested by prefixes in force; 0: none
    bool active = false;  // a built-in runs by group now
    bool first_group = true;
    bool last_group = true;
    int32_t group_first = 1;  // observations of the group, 1-based
    int32_t group_last = 0;
    int32_t group_number = 0;   // 1-based
    bool in_program = false;    // a byable program runs: group_... are its position
    int32_t program_depth = 0;  // session.CallDepth inside that program
};
extern ByState by_state;  // defined in data/by.cpp

// First and last observation of the group in force: 1 and nobs without by.
inline int32_t range_first() {
    return by_state.active ? by_state.group_first : 1;
}
inline int32_t range_last() {
    return by_state.active ? by_state.group_last : dataset.nobs;
}

// True inside the byable program that by runs, and not in what it calls: _by(), _byn1() and their
// like show group_first, group_last, group_number and last_group then.
bool by_program_running();

// The groups of `by ...: drop if` ended before the deletion: the marks go (data/drop.cpp).
void abandon_drop_marks();

// The groups of `by ...: generate` ended before the last one: the variable goes
// (data/generate.cpp).
void abandon_generate();

}  // namespace korva

// core/types.h - the return code and the few limits that every folder shares.
#pragma once

#include <cstdint>

namespace korva {

// 0 is success. Whoever finds a fault prints its words and returns its code; every caller returns
// it at once and adds nothing.
using ReturnCode = int32_t;

constexpr ReturnCode kBreak = 1;  // the user broke in; every loop that sees BreakFlag returns it

constexpr int kMaxNameBytes = 32;       // a name of a variable, macro, program, matrix, ...
constexpr int kMaxFileNameBytes = 499;  // a path with its file name
constexpr int kTokenBytes = 504;        // one token of the scanner, its NUL included
constexpr int kMaxStringBytes = 244;    // the longest string value of a cell or an expression
constexpr int kCurrentVersion = 920;    // version times 100
constexpr int kMaxCallDepth = 64;       // nested do-files and programs

}  // namespace korva

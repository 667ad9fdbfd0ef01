// core/trace.h - `set trace on`: the lines of programs as they run.
#pragma once

#include <cstdint>
#include <string_view>

namespace korva {

// Shows the line in ConsoleBuffer, as written or (expanded) as macros left it.
void TraceLine(bool expanded);

// Shows that a program or do-file begins or ends.
void TraceBeginEnd(bool is_end, std::string_view name);

// Hash of the line in ConsoleBuffer: tells whether expansion changed it.
uint32_t LineHash();

}  // namespace korva

// output/results.h - the current stream, and the stream behind the Results window.
#pragma once

#include "output/stream.h"

namespace korva {

struct PrintState {
    OutputStream* current = nullptr;  // where the primitives print; null: nowhere
    OutputStream* results = nullptr;  // the Results stream; null before the session opened it
};
extern PrintState print_state;  // defined in output/results.cpp

// Makes the stream the current one; returns the one that was. Capture swaps it and swaps it back.
OutputStream* out_set_current(OutputStream* s);

}  // namespace korva

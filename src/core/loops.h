// core/loops.h - what the loop commands share.
#pragma once

#include <cstdint>

#include "core/session.h"
#include "core/types.h"

namespace korva {

// State of the loop around, while a body runs.
struct LoopGuard {
    LoopGuard()
        : in_loop(session.InLoop), continue_state(session.ContinueState), if_taken(session.IfTaken),
          execute(session.ExecuteFlag) {
        session.InLoop = 1;
        session.ContinueState = 0;
    }
    ~LoopGuard() {
        session.InLoop = in_loop;
        session.ContinueState = continue_state;
        session.IfTaken = if_taken;
        session.ExecuteFlag = execute;
    }
    LoopGuard(const LoopGuard&) = delete;
    LoopGuard& operator=(const LoopGuard&) = delete;
    uint8_t in_loop, continue_state, if_taken, execute;
};

// Runs the block whose opening brace the scanner stands behind as one pass; kBreak, too, when the
// user broke in. *goes_on: the code is 0 and nothing has left the loop.
ReturnCode RunLoopPass(bool* goes_on);

// All passes of the loop whose line was just read from a program and expanded; the scanner stands
// behind its word. Whatever happens, the next line of the program is the one behind the body.
ReturnCode RunForeach();
ReturnCode RunForvalues();

}  // namespace korva

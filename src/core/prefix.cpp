// core/prefix.cpp - quietly, noisily, capture, nobreak, break: change a state, dispatch the rest,
// undo.
//
// Prefixes stack in any order, since each is one recursion of Dispatch. In skip mode they leave
// their state alone and pass the rest on, so that blocks behind them stay balanced.
#include "core/commands.h"
#include "core/poll.h"
#include "core/scanner.h"
#include "core/session.h"

namespace korva {

namespace {

constexpr int kNoisilyToNormal = 220;  // below this version noisily ignores the level of the entry

// A first colon behind the prefix is passed over.
ReturnCode dispatch_behind_colon() {
    NextToken();
    if (TokenIs(":")) NextToken();
    TakeCommandWord();
    return Dispatch();
}

// Runs the rest under the threshold. A command that changed the threshold on purpose keeps its
// change.
ReturnCode run_under(uint8_t threshold) {
    if (!session.ExecuteFlag) return dispatch_behind_colon();
    const uint8_t old = session.OutputThreshold;
    session.OutputThreshold = threshold;
    const ReturnCode rc = dispatch_behind_colon();
    if (session.OutputThreshold == threshold) session.OutputThreshold = old;
    return rc;
}

ReturnCode run_with_breaks(bool enabled) {
    const bool old = SetBreakEnabled(enabled);
    const ReturnCode rc = DispatchNext();
    SetBreakEnabled(old);
    // A break that was parked fires here, at the end of the command.
    return rc == 0 && session.BreakFlag ? kBreak : rc;
}

}  // namespace

ReturnCode CmdQuietly(int) {
    return run_under(session.OutputThreshold == kThresholdCapture ? kThresholdCapture
                                                                  : kThresholdQuiet);
}

ReturnCode CmdNoisily(int) {
    return run_under(session.version < kNoisilyToNormal ? uint8_t(kThresholdNormal)
                                                        : session.OutputThresholdAtEntry);
}

// The code of the rest goes to _rc, and a break in it is swallowed like any other code.
ReturnCode CmdCapture(int) {
    if (!session.ExecuteFlag) {
        dispatch_behind_colon();
        return 0;
    }
    ReturnCode rc;
    {
        const ThresholdGuard silent(kThresholdCapture);
        rc = dispatch_behind_colon();
    }
    // Meant: an exit behind capture ends its level and keeps its code; _rc stays as it was.
    if (session.Unwind) return rc;
    if (session.ExecuteFlag) {
        session.CaptureCode = rc;
        ClearBreak();
    }
    return 0;
}

ReturnCode CmdNobreak(int) {
    return run_with_breaks(false);
}

ReturnCode CmdBreak(int) {
    return run_with_breaks(true);
}

}  // namespace korva

// core/control.h - what the block, if and loop commands share.
#pragma once

#include <cstdint>
#include <string>

#include "core/session.h"
#include "core/types.h"

namespace korva {

struct BlockState {
    int32_t depth = 0;  // blocks being read now, over all levels
    // Below version 8, where text may follow a brace: what of the current source line is not yet
    // run.
    std::string pending;
    bool piece_opens = false;  // the piece being run may take its block from `pending`
};
extern BlockState blocks;  // defined in core/blocks.cpp

// ExecuteFlag as it was, at the end of the scope, unless a `continue` rose in it: then the rest of
// the loop's body stays skipped, whatever block it was in.
struct ExecuteGuard {
    ExecuteGuard() : flag(session.ExecuteFlag), continue_state(session.ContinueState) {}
    ~ExecuteGuard() {
        if (session.ContinueState <= continue_state) session.ExecuteFlag = flag;
    }
    ExecuteGuard(const ExecuteGuard&) = delete;
    ExecuteGuard& operator=(const ExecuteGuard&) = delete;
    uint8_t flag, continue_state;
};

// The rules for braces below version 8: text may stand behind them on their line.
inline bool LooseBraces() {
    return session.version < 800;
}

// The brace that opens a block in a line (behind its expression or list): the last character of the
// line, or, with loose braces, the first `{` outside double quotes that begins no macro. Null:
// none.
char* FindOpenBrace(char* text);

// With loose braces, the text behind the closing brace of the line's block waits for the end of the
// scope: a condition holds for the block only.
struct HoldLineGuard {
    HoldLineGuard() : saved(blocks.piece_opens) {
        if (LooseBraces() && FindOpenBrace(session.ConsoleBuffer)) blocks.piece_opens = true;
    }
    ~HoldLineGuard() { blocks.piece_opens = saved; }
    HoldLineGuard(const HoldLineGuard&) = delete;
    HoldLineGuard& operator=(const HoldLineGuard&) = delete;
    bool saved;
};

// Passes over the block that the line in ConsoleBuffer opens, running nothing. A line without a
// block is nothing.
ReturnCode SkipBlockOfLine();

// After a command with a block is done: with loose braces, runs what its line holds behind the
// closing brace, if no block further out takes that. Returns `code` if it is not 0.
ReturnCode FinishLine(ReturnCode code);

// Takes the next piece of `pending` (up to and with an opening brace, or up to a closing one) to
// *piece; a closing brace alone is the piece "}". False: nothing is left.
bool TakePiece(std::string* piece);

}  // namespace korva

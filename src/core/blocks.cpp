// core/blocks.cpp - the `{ }` block: reads lines up to the closing brace and runs each.
//
// A block is not stored: its lines are read as they come, so a block that is passed over is read
// too, with ExecuteFlag 0, for the braces in it. In a program the line at which such a scan ended
// is kept with the program, so that a branch not taken is read once and jumped over from then on.
// What ends a scan depends on nothing but the text, as long as no block is run: only such scans are
// remembered.
//
// Below version 8 text may stand behind a brace. A source line is then cut at its braces into
// pieces, which run as lines; BlockState::pending holds what is still to be cut, and a nested block
// goes on with it where the block around it stopped.
#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "core/commands.h"
#include "core/control.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/program.h"
#include "core/reader.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/words.h"

namespace korva {

BlockState blocks;

namespace {

struct DepthGuard {
    DepthGuard() { blocks.depth++; }
    ~DepthGuard() { blocks.depth--; }
    DepthGuard(const DepthGuard&) = delete;
    DepthGuard& operator=(const DepthGuard&) = delete;
};

// IfTaken under the rule of ExecuteGuard.
struct IfGuard {
    IfGuard() : taken(session.IfTaken), continue_state(session.ContinueState) {}
    ~IfGuard() {
        if (session.ContinueState <= continue_state) session.IfTaken = taken;
    }
    IfGuard(const IfGuard&) = delete;
    IfGuard& operator=(const IfGuard&) = delete;
    uint8_t taken, continue_state;
};

ReturnCode code_follows_brace(const char* which) {
    out_error(std::string("program error:  code follows on the same line as ") + which +
              " brace\n");
    return 198;
}

ReturnCode no_close_brace() {
    out_error("program error:  matching close brace not found\n");
    return 198;
}

// One block being read: the first code stays its result, and what follows it is only scanned.
struct Block {
    ReturnCode code = 0;
    bool unwound = false;

    void fail(ReturnCode rc) {
        if (rc && !code) code = rc;
        if (rc) session.ExecuteFlag = 0;
    }
    void look_for_break() {
        if (!session.BreakFlag) return;
        fail(kBreak);
        ClearBreak();  // it is taken; the reader would end the source for it
    }
    // At the keyboard a break leaves the block at once: nobody will type its closing brace.
    bool broken_at_keyboard() const {
        return code == kBreak && session.CurrentReader == nullptr && !session.InProgram;
    }
    // Runs the line in ConsoleBuffer; false: it unwound.
    bool run_line() {
        if (!RunLine()) {
            unwound = true;
            session.Unwind = 1;
            code = session.LastReturnCode;
            return false;
        }
        fail(session.LastReturnCode);
        return true;
    }
};

// Scans that may be remembered. A traced one shows its lines, so that it is never cut short.
bool scan_is_remembered() {
    return !session.ExecuteFlag && session.InProgram && !settings.trace;
}

// Goes to the end of the scan from the stored line, if it is known.
bool jump_over_scan(int32_t start) {
    StoreRecord* program = CurrentProgram();
    const int32_t end = program ? RememberedBlockEnd(program, start) : 0;
    if (end > 0) session.ProgramLine = end;
    return end > 0;
}

// The scan from the stored line ended with the line just read.
void remember_scan(int32_t start) {
    if (StoreRecord* program = CurrentProgram()) {
        RememberBlockEnd(program, start, session.ProgramLine);
    }
}

// The block under the present rules: one command a line, braces alone.
void run_strict(Block* block) {
    int32_t scan_start = -1;  // stored line at which the scan began; -1: none is to be remembered
    ReturnCode code_before_scan = 0;
    for (;;) {
        block->look_for_break();
        if (scan_start < 0 && scan_is_remembered()) {
            scan_start = session.ProgramLine;
            code_before_scan = block->code;
            if (jump_over_scan(scan_start)) return;
        }
        if (ReadNextLine(true)) {
            block->fail(session.BreakFlag ? kBreak : no_close_brace());
            return;
        }
        const char* first = SkipBlanks(session.ConsoleBuffer);
        if (*first == '}') {
            if (*SkipBlanks(first + 1)) {
                block->fail(code_follows_brace("close"));
            } else if (scan_start >= 0 && block->code == code_before_scan) {
                remember_scan(scan_start);
            }
            return;
        }
        if (!block->run_line()) return;
        if (block->broken_at_keyboard()) return;
    }
}

void put_line(std::string_view text) {
    const size_t n = std::min(text.size(), size_t(session.conslen - 1));
    std::memmove(session.ConsoleBuffer, text.data(), n);
    session.ConsoleBuffer[n] = 0;
    SetScanPointer(session.ConsoleBuffer);
}

// Runs a piece. One that opens a block leaves `pending` to it; others, which may call programs,
// must not find it.
bool run_piece(Block* block, const std::string& piece) {
    put_line(piece);
    const bool opens = piece.back() == '{';
    std::string kept;
    if (!opens) kept.swap(blocks.pending);
    const bool outer_opens = blocks.piece_opens;
    blocks.piece_opens = opens;
    const bool goes_on = block->run_line();
    blocks.piece_opens = outer_opens;
    if (!opens) blocks.pending.swap(kept);
    return goes_on;
}

// The block below version 8. The text behind its opening brace is pending already or still on the
// line.
void run_loose(Block* block) {
    const char* rest = SkipBlanks(ScanRest());
    if (*rest) blocks.pending = rest;
    for (;;) {
        block->look_for_break();
        std::string piece;
        if (!TakePiece(&piece)) {
            if (ReadNextLine(true)) {
                block->fail(session.BreakFlag ? kBreak : no_close_brace());
                return;
            }
            blocks.pending = SkipBlanks(session.ConsoleBuffer);
            continue;
        }
        if (piece == "}") return;
        if (!run_piece(block, piece)) return;
        if (block->broken_at_keyboard()) return;
    }
}

}  // namespace

char* FindOpenBrace(char* text) {
    if (!LooseBraces()) {
        char* last = text + std::strlen(text);
        while (last > text && last[-1] == ' ') last--;
        return last > text && last[-1] == '{' ? last - 1 : nullptr;
    }
    bool quoted = false;
    for (char* p = text; *p; p++) {
        if (*p == '"') quoted = !quoted;
        if (*p == '{' && !quoted && (p == text || p[-1] != '$')) return p;
    }
    return nullptr;
}

bool TakePiece(std::string* piece) {
    std::string& text = blocks.pending;
    if (TrimBlanks(text).empty()) {
        text.clear();
        return false;
    }
    text.erase(0, text.find_first_not_of(' '));
    if (text[0] == '}') {
        text.erase(0, 1);
        *piece = "}";
        return true;
    }
    bool quoted = false;
    int macro_braces = 0;  // of ${name}
    size_t end = 0;
    for (; end < text.size(); end++) {
        const char c = text[end];
        if (c == '"') quoted = !quoted;
        if (quoted) continue;
        if (c == '{' && end > 0 && text[end - 1] == '$') {
            macro_braces++;
        } else if (c == '}' && macro_braces > 0) {
            macro_braces--;
        } else if (c == '{' || c == '}') {
            break;
        }
    }
    if (end < text.size() && text[end] == '{') end++;
    *piece = text.substr(0, end);
    text.erase(0, end);
    return true;
}

ReturnCode RunBlock() {
    const bool loose = LooseBraces();
    if (!loose && *SkipBlanks(ScanRest())) return code_follows_brace("open");
    Block block;
    {
        DepthGuard depth;
        ExecuteGuard execute;
        IfGuard taken;
        if (loose) {
            run_loose(&block);
        } else {
            run_strict(&block);
        }
    }
    if (block.unwound || block.code) blocks.pending.clear();
    return block.code;
}

ReturnCode SkipBlockOfLine() {
    char* brace = FindOpenBrace(session.ConsoleBuffer);
    if (!brace) return 0;
    ExecuteGuard execute;
    session.ExecuteFlag = 0;
    SetScanPointer(brace + 1);
    return RunBlock();
}

ReturnCode FinishLine(ReturnCode code) {
    if (!LooseBraces() || blocks.piece_opens) return code;
    if (code || session.Unwind) {
        blocks.pending.clear();
        return code;
    }
    Block block;
    ExecuteGuard execute;
    std::string piece;
    while (TakePiece(&piece)) {
        if (piece == "}") {
            block.fail(code_follows_brace("close"));
            break;
        }
        if (!run_piece(&block, piece)) break;
    }
    if (block.code) blocks.pending.clear();
    return block.code;
}

// { ... }: the lines up to the closing brace, as one command.
ReturnCode CmdBlock(int) {
    return FinishLine(RunBlock());
}

}  // namespace korva

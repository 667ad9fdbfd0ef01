// core/control.cpp - if, else, continue and exit.
//
// With ExecuteFlag 0 lines are only scanned: if and else then read nothing but the braces of their
// line, so that blocks stay balanced.
#include <cmath>
#include <limits>
#include <string>

#include "core/commands.h"
#include "core/control.h"
#include "core/missing.h"
#include "core/option_words.h"
#include "core/print.h"
#include "core/program.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/upcalls.h"

namespace korva {

namespace {

// A line that fails before its block is read: but at the keyboard, where the user sees the message
// and types on, the block must not be taken for the lines that follow.
ReturnCode fail_before_block(ReturnCode code) {
    const bool typed = session.CurrentReader == nullptr && !session.InProgram;
    if (!typed || blocks.depth > session.BlockDepth) SkipBlockOfLine();
    return code;
}

// The command behind a condition. A false one is dispatched for its block alone, if it has one.
ReturnCode run_conditional_command(bool taken) {
    NextToken();
    if (TokenIsEmpty()) return ReportInvalidSyntax();
    if (TokenIs("else")) {
        out_error("if may not be immedately followed by else\n");
        return fail_before_block(198);
    }
    session.IfTaken = taken;
    HoldLineGuard line;
    if (taken) {
        TakeCommandWord();
        return Dispatch();
    }
    if (!FindOpenBrace(ScanRest()) && scanner.TokenBuffer[0] != '{') return 0;
    ReturnCode code;
    {
        ExecuteGuard execute;
        session.ExecuteFlag = 0;
        TakeCommandWord();
        code = Dispatch();
    }
    session.IfTaken = 0;
    return code;
}

ReturnCode run_if() {
    ExpressionValue value;
    if (ReturnCode rc = EvaluateScanned(ExpressionMode::Number, &value))
        return fail_before_block(rc);
    const bool taken = value.number != 0;  // a missing value is true
    if (PeekChar() != '{') return run_conditional_command(taken);

    NextToken();
    ExecuteGuard execute;
    session.ExecuteFlag = taken;
    session.IfTaken = taken;
    return RunBlock();
}

// The number of `exit #`, cut to an int.
ReturnCode read_exit_code(ReturnCode* code) {
    *code = 0;
    const char next = PeekChar();
    if (next == 0 || next == ',') return 0;
    ExpressionValue value;
    if (ReturnCode rc = EvaluateScanned(ExpressionMode::Number, &value)) return rc;
    if (is_missing(value.number) ||
        std::fabs(value.number) > double(std::numeric_limits<int32_t>::max())) {
        return ReportInvalidSyntax();
    }
    *code = ReturnCode(value.number);
    return 0;
}

}  // namespace

// if exp command, if exp {
ReturnCode CmdIf(int) {
    return FinishLine(session.ExecuteFlag ? run_if() : SkipBlockOfLine());
}

// else command, else {: what the last if did not take.
ReturnCode CmdElse(int) {
    ReturnCode code;
    {
        ExecuteGuard execute;
        HoldLineGuard line;
        if (session.ExecuteFlag && session.IfTaken) session.ExecuteFlag = 0;
        code = DispatchNext();
    }
    return FinishLine(code);
}

// continue [, break]: the rest of the loop's body is scanned, not run.
ReturnCode CmdContinue(int) {
    if (!session.InLoop) return ReportError(119);
    bool leave = false;
    const OptionWord options[] = {{"break", 2, &leave}};
    if (ReturnCode rc = ReadTrailingOptions(options)) return rc;
    session.ContinueState = leave ? 2 : 1;
    session.ExecuteFlag = 0;
    return 0;
}

// exit [#] [, clear korva]: leaves the program, the file or the session with the code.
ReturnCode CmdExit(int) {
    ReturnCode code;
    if (ReturnCode rc = read_exit_code(&code)) return rc;
    bool clear = false, korva = false;
    const OptionWord options[] = {{"clear", 5, &clear}, {"korva", 5, &korva}};
    if (ReturnCode rc = ReadTrailingOptions(options)) return rc;

    const bool ends_session = korva || session.CallDepth == 0;
    if (ends_session && !clear && DatasetChanged()) return ReportError(4);
    // A group may be empty: that is no failure of the program that runs by groups.
    if ((code == 2000 || code == 2001) && ByGroupRunning()) code = 0;
    session.Unwind = 1;
    if (korva) session.QuitSession = 1;
    session.LastReturnCode = code;
    return code;
}

}  // namespace korva

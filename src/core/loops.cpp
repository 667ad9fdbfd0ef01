// core/loops.cpp - where the lines of a loop come from, and while.
//
// A loop runs on stored program text. In a program the line of a while is a jump target: a pass
// evaluates the condition, runs the body as a block and sets the line number back, so that the line
// is read and its macros are expanded again; foreach and forvalues jump to the line behind theirs.
// A loop in a file or at the keyboard is first read up to its closing brace and stored as a program
// of its own; then it is the same. So is a loop below version 8 of which the body follows on the
// line itself.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "core/commands.h"
#include "core/control.h"
#include "core/loops.h"
#include "core/names.h"
#include "core/print.h"
#include "core/program.h"
#include "core/reader.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/upcalls.h"
#include "core/words.h"

namespace korva {

namespace {

constexpr int kMaxLoopDepth = 999;  // three digits in the name of the stored loop

struct LoopWord {
    std::string_view name;
    int minimum;
    const char* stored_name;  // of the stored loop, by its depth
};
constexpr LoopWord kLoopWords[] = {
    // clang-format off
    {"while",     2, "%dwhile"},
    {"foreach",   7, "!%dfe"},
    {"forvalues", 4, "!%dfe"},
    // clang-format on
};

// The source of the current lines, while a stored loop takes its place.
struct SourceGuard {
    SourceGuard() : line(session.ProgramLine), in_program(session.InProgram) {
        std::memcpy(name, session.ProgramName, sizeof name);
    }
    ~SourceGuard() {
        std::memcpy(session.ProgramName, name, sizeof name);
        ForgetCurrentProgram();
        session.ProgramLine = line;
        session.InProgram = in_program;
    }
    SourceGuard(const SourceGuard&) = delete;
    SourceGuard& operator=(const SourceGuard&) = delete;
    char name[sizeof session.ProgramName];
    int32_t line;
    uint8_t in_program;
};

// The stored text of the line that runs, with its macros, from the loop's word on; empty if the
// line begins with anything but prefixes and the word.
std::string stored_line(const LoopWord& word) {
    StoreRecord* program = CurrentProgram();
    if (!program || session.ProgramLine < 1) return {};
    std::string_view line = ProgramLineText(program, session.ProgramLine - 1);
    line = TrimBlanks(line.substr(1, line.size() - 2));
    for (;;) {
        const size_t end = std::min(line.find_first_of(" (:"), line.size());
        const std::string_view first = line.substr(0, end);
        if (MatchAbbreviation(first, word.name, word.minimum)) return std::string(line);
        if (!MatchAbbreviation(first, "capture", 3) && !MatchAbbreviation(first, "quietly", 1) &&
            !MatchAbbreviation(first, "noisily", 1)) {
            return {};
        }
        line = TrimBlanks(line.substr(end));
        if (!line.empty() && line[0] == ':') line = TrimBlanks(line.substr(1));
    }
}

// Lines of a loop's body under the present rules: one brace a line, at an end of it.
struct BodyReader {
    ProgramText* text;
    int depth = 0;

    // Adds a line; true when it closes the loop.
    bool add(std::string_view line) {
        line = TrimBlanks(line);
        if (line.empty() || line[0] == '*') return false;
        AddProgramLine(text, line);
        if (line[0] == '}' && --depth == 0) return true;
        if (line.back() == '{') depth++;
        return false;
    }
};

// The next source line of a body, in ConsoleBuffer.
ReturnCode read_body_line(int number) {
    if (!session.InProgram && !session.CurrentReader && session.OutputThreshold < kThresholdQuiet) {
        LevelGuard level(kLevelText);
        out_textf("%3d. ", number);
    }
    if (ReadRawLine()) return 0;
    if (session.BreakFlag) return kBreak;
    out_error("program error:  matching close brace not found\n");
    return 198;
}

// The loop's line and its body, up to the closing brace.
ReturnCode read_loop(const std::string& line, ProgramText* text) {
    BodyReader body{text};
    if (!LooseBraces()) {
        if (body.add(line)) return 0;
        for (int number = 2;; number++) {
            if (ReturnCode rc = read_body_line(number)) return rc;
            if (body.add(session.ConsoleBuffer)) return 0;
        }
    }
    // Cut at its braces, the body is stored in the form of the present rules.
    blocks.pending = line + blocks.pending;
    for (int number = 2;;) {
        std::string piece;
        if (TakePiece(&piece)) {
            if (body.add(piece)) return 0;
            continue;
        }
        if (ReturnCode rc = read_body_line(number++)) return rc;
        const std::string_view next = TrimBlanks(session.ConsoleBuffer);
        if (!next.empty() && next[0] != '*') blocks.pending = next;
    }
}

// Runs the lines of the stored loop, at the level where it stands.
ReturnCode run_stored(const char* name) {
    SourceGuard source;
    std::snprintf(session.ProgramName, sizeof session.ProgramName, "%s", name);
    ForgetCurrentProgram();
    session.ProgramLine = 0;
    session.InProgram = 1;
    for (;;) {
        if (session.BreakFlag) return kBreak;
        if (ReadNextLine(true)) return session.BreakFlag ? kBreak : 0;
        if (!RunLine()) {
            session.Unwind = 1;
            return session.LastReturnCode;
        }
        if (session.LastReturnCode) return session.LastReturnCode;
    }
}

// Stores the loop that begins with `line` and runs it.
ReturnCode run_from_source(const LoopWord& word, const std::string& line) {
    if (session.ProgramLoopDepth >= kMaxLoopDepth) return ReportError(198);
    if (!LooseBraces() && TrimBlanks(line).back() != '{') return ReportInvalidSyntax();
    ProgramText text;
    if (ReturnCode rc = read_loop(line, &text)) return rc;
    if (text.too_long) return ReportError(1000);

    char name[24];
    std::snprintf(name, sizeof name, word.stored_name, session.ProgramLoopDepth + 1);
    if (!StoreLoopProgram(name, text)) return 950;
    std::string pending;  // what follows the loop on its line is not the loop's
    pending.swap(blocks.pending);
    const bool opens = blocks.piece_opens;
    blocks.piece_opens = false;
    session.ProgramLoopDepth++;
    const ReturnCode code = run_stored(name);
    session.ProgramLoopDepth--;
    DropLoopProgram(name);
    blocks.piece_opens = opens;
    blocks.pending.swap(pending);
    return code;
}

}  // namespace

ReturnCode RunLoopPass(bool* goes_on) {
    *goes_on = false;
    bool leave;
    ReturnCode code;
    {
        LoopGuard loop;
        code = RunBlock();
        leave = session.ContinueState == 2;
    }
    if (code || session.Unwind) return code;
    if (session.BreakFlag) return kBreak;
    *goes_on = !leave;
    return 0;
}

namespace {

// One pass of the while whose line was just read from a program.
ReturnCode run_while() {
    const int32_t line = session.ProgramLine - 1;
    ExpressionValue value;
    if (ReturnCode rc = EvaluateScanned(ExpressionMode::Number, &value)) {
        SkipBlockOfLine();
        return rc;
    }
    if (PeekChar() != '{') return ReportInvalidSyntax();
    NextToken();
    if (value.number == 0) {
        ExecuteGuard execute;
        session.ExecuteFlag = 0;
        return RunBlock();
    }
    bool goes_on;
    const ReturnCode code = RunLoopPass(&goes_on);
    if (goes_on) {
        session.ProgramLine = line;
        blocks.pending.clear();  // the text behind the closing brace is for the loop's end
    }
    return code;
}

// Below version 8 a body may begin on the loop's own line, which can then be no jump target. A
// stored loop has the strict form.
bool body_on_line() {
    if (!LooseBraces() || IsLoopProgram(session.ProgramName)) return false;
    const char* brace = FindOpenBrace(ScanRest());
    return brace && !(TrimBlanks(brace + 1).empty() && TrimBlanks(blocks.pending).empty());
}

ReturnCode run_loop(int kind) {
    const LoopWord& word = kLoopWords[kind];
    const std::string line = std::string(word.name) + " " + ScanRest();
    if (!session.InProgram) {
        if (session.LineNotExpanded) return run_from_source(word, line);
        out_error(std::string(session.CommandWord) +
                  " command may not result from a macro expansion " +
                  "interactively or in do files\n");
        return 198;
    }
    if (body_on_line()) {
        const std::string stored = stored_line(word);
        if (stored.empty()) return run_from_source(word, line);
        blocks.pending.clear();
        return run_from_source(word, stored);
    }
    switch (kind) {
    case 1: return RunForeach();
    case 2: return RunForvalues();
    default: return run_while();
    }
}

}  // namespace

// while exp {, foreach ... {, forvalues ... {
ReturnCode CmdWhile(int kind) {
    return FinishLine(session.ExecuteFlag ? run_loop(kind) : SkipBlockOfLine());
}

}  // namespace korva

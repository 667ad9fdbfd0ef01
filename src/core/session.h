// core/session.h - the session: its state, the loop, and what takes a line to a return code.
//
// SessionMain() starts the engine, reads lines and runs them until the session ends. Everything
// that is called re-entry (a do-file, a program, a prefix) is recursion on its one stack: RunFile()
// reads lines with ReadNextLine() and runs each with RunLine(), which calls Dispatch().
#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "core/types.h"

namespace korva {

struct LineReader;   // core/reader.h
struct StoreRecord;  // core/store.h

// Output kinds and thresholds; a text prints if its level is at least OutputThreshold.
enum : uint8_t {
    kLevelResult = 0,
    kLevelText = 1,
    kLevelText2 = 2,
    kLevelError = 3,
    kLevelInput = 4,
    kThresholdNormal = 0,
    kThresholdQuiet = 3,
    kThresholdCapture = 5,
};

// What the current program may set: its results' class.
enum : uint8_t { kClassNone = 0, kClassR = 1, kClassS = 2, kClassE = 3 };

enum ExecKind : int { ExecDo = 0, ExecRun = 1, ExecProgram = 3, ExecInclude = 4 };

struct SessionState {
    char* ConsoleBuffer = nullptr;  // the current line, conslen bytes; macros are expanded in place
    int32_t conslen = 0;            // 33 * maxvar + 216
    int32_t macrolen = 0;           // 33 * maxvar + 200: the longest value of one macro
    int32_t maxlrecl = 0;           // 12 * maxvar: the widest observation
    char* ReviewRing = nullptr;     // conslen + 1 bytes of past lines, NUL between them, 1 where
                                    // unused
    char CommandWord[kMaxNameBytes + 1] = {};  // the word that Dispatch matches

    int32_t LastReturnCode = 0;  // of the last line run
    int32_t CaptureCode = 0;     // _rc

    uint8_t MessageLevel = 0;            // class of the text being printed: kLevel...
    uint8_t OutputThreshold = 0;         // kThreshold...
    uint8_t OutputThresholdAtEntry = 0;  // the threshold `noisily` returns to
    uint8_t ExecuteFlag = 1;             // 0: lines are scanned for block structure only
    uint8_t InProgram = 0;               // 1: the next line comes from a program's stored text
    uint8_t ClassProgram = 0;  // the current program lives in the class system's namespace

    LineReader* CurrentReader = nullptr;  // the do-file being read; null: the keyboard
    uint8_t ReaderEof = 0;                // the reader's file has ended, or its line overflowed
    int32_t DelimiterMode = 0;            // 0: lines end at the end of line, 1: at `;`

    int32_t CallDepth = 0;       // frames in force, at most kMaxCallDepth
    int32_t Nesting = 0;         // dispatches in force: prefixes, blocks and levels all nest by one
    int32_t CommandCounter = 0;  // bumped at each dispatch, 1 to 2147483646
    int32_t BlockDepth = 0;      // blocks open when the current level was entered
    int32_t TraceDepth = 0;      // CallDepth at which tracing was turned on

    uint8_t BusyFlag = 0;      // a line is being run
    uint8_t ShuttingDown = 0;  // set once by SessionCleanup
    uint8_t QuitSession = 0;   // after unwinding, the session ends
    uint8_t Unwind = 0;        // leave the current input source now
    uint8_t BatchMode = 0;     // the session runs without a user
    uint8_t UserIdle = 0;      // the loop waits for a line at the keyboard
    uint8_t InputEnded = 0;    // the keyboard (standard input) has no more lines
    uint8_t LinePrinted = 0;   // the current line has printed something
    uint8_t EchoOff = 0;       // a run or a load is in force: lines of files are not echoed

    // Written by the signal handler, read by every long loop after Poll().
    volatile std::sig_atomic_t BreakFlag = 0;
    volatile std::sig_atomic_t BreakEnabled = 1;   // 0 under nobreak
    volatile std::sig_atomic_t BreakPending = 0;   // a break that arrived under nobreak
    volatile std::sig_atomic_t BreakDeferred = 0;  // 1 under nobreak: what the handler parks

    int32_t PollCounter = 0;
    uint32_t LastPollTick = 0;  // ms
    int32_t PollGuard = 0;      // a modal dialog pumps its own messages
    int32_t polltime = 10;      // ms between two pumps of the message queue
    int32_t pollcount = 100;    // calls of Poll between two looks at the clock

    int32_t version = kCurrentVersion;        // version times 100 in force
    int32_t callerVersion = kCurrentVersion;  // the version of the caller of this level
    uint8_t ModernMissing = 0;                // `version #, missing`

    // The current program, of which the stored text runs while InProgram is set.
    char ProgramName[kMaxNameBytes + 2] = {};
    char ProgramDisplayName[kMaxNameBytes + 2] = {};
    char Scope[kMaxNameBytes + 1] = {};    // owner whose subprograms are visible; empty: none
    int32_t ProgramLine = 0;               // index of the next stored line, 0-based
    StoreRecord* ProgramRecord = nullptr;  // its record, as CurrentProgram() last found it
    uint32_t ProgramGeneration = 0;  // of the programs at that time; 0: ProgramRecord is not known
    uint8_t ResultKind = 0;          // kClass... of the current program
    uint8_t SortPreserve = 0;        // the current program restores the sort order

    // Loops and blocks.
    uint8_t InLoop = 0;
    uint8_t ContinueState = 0;  // 0 none, 1 continue, 2 continue, break
    uint8_t IfTaken = 0;        // result of the last if, for else
    int32_t ProgramLoopDepth = 0;
    std::string_view ForeachRest;  // what the current foreach has not yet handed out
    uint8_t LineNotExpanded = 0;   // the current line is a loop: the loop command expands what it
                                   // needs
    uint8_t FirstStatement = 0;    // nothing of the current line has run yet

    // Ado-file loading.
    int32_t LoadDepth = 0;
    int32_t LoadMark = 0;                // CommandCounter when the load began
    uint8_t CommandsOutsideAllowed = 1;  // 0 while an ado-file loads
    uint8_t LoadStarting = 0;            // the next file entered is the ado-file being loaded
    uint8_t ByLoading = 0;               // by is loading its program

    double rmsg_time = 0;   // seconds that the last timed line took
    int64_t StartTime = 0;  // when the session became ready, seconds since 1970
    int32_t procs = 1;      // processors in use (set procs_use)
};
extern SessionState session;  // defined in core/session.cpp

// Runs the whole session; returns the process status: in a batch run 1 when the last code was not
// 0.
int SessionMain(int argc, char** argv);

// Start-up: -1 the start failed (words shown), 0 interactive, 1 a start command stands in
// ConsoleBuffer.
int SessionStart(int argc, char** argv);

// Ends the session as far as it was started; may be called again. Code 900 leaves the process at
// once.
void SessionCleanup(int exitCode);

// Brings the next line into ConsoleBuffer, the scanner at its start. 0: a line is there; 1: the
// source has no more lines. Comments and empty lines are passed over. fromFile: a program's stored
// text counts.
int ReadNextLine(bool fromFile);

// Expands and runs the line in ConsoleBuffer. 1: go on reading; 0: the caller's reading loop must
// stop, Unwind was set. The code stands in LastReturnCode.
int RunLine();

// Runs CommandWord with the scanner behind it (core/dispatch.cpp).
ReturnCode Dispatch();

// Copies TokenBuffer to CommandWord, cut at 32 characters.
void TakeCommandWord();

// Takes the next token as the command word and dispatches it: what every prefix does with its rest.
ReturnCode DispatchNext();

// Runs a dialog's hidden action at once. 9023, with a note shown, while a line is being run; 1004
// for a text longer than a line may be. The scanner, the line and CommandWord are afterwards as
// before.
ReturnCode RunHiddenAction(std::string_view text);

// MessageLevel for as long as the guard lives.
struct LevelGuard {
    explicit LevelGuard(uint8_t level) : saved(session.MessageLevel) {
        session.MessageLevel = level;
    }
    ~LevelGuard() { session.MessageLevel = saved; }
    LevelGuard(const LevelGuard&) = delete;
    LevelGuard& operator=(const LevelGuard&) = delete;
    uint8_t saved;
};

// OutputThreshold for as long as the guard lives.
struct ThresholdGuard {
    explicit ThresholdGuard(uint8_t threshold) : saved(session.OutputThreshold) {
        session.OutputThreshold = threshold;
    }
    ~ThresholdGuard() { session.OutputThreshold = saved; }
    ThresholdGuard(const ThresholdGuard&) = delete;
    ThresholdGuard& operator=(const ThresholdGuard&) = delete;
    uint8_t saved;
};

// True if a text of the current MessageLevel would show: callers skip the work of preparing it if
// not.
inline bool OutputShows() {
    return session.MessageLevel >= session.OutputThreshold;
}

}  // namespace korva

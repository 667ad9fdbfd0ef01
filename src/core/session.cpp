// core/session.cpp - the loop: read a line, run it, report its code.
#include "core/session.h"

#include <ctime>

#include <cstdio>
#include <cstring>
#include <string>

#include "core/ado_path.h"
#include "core/control.h"
#include "core/macro.h"
#include "core/names.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/program.h"
#include "core/reader.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/settings.h"
#include "core/startup.h"
#include "core/trace.h"
#include "core/words.h"
#include "frontend/frontend.h"

namespace korva {

SessionState session;

namespace {

struct TimeOfDay {
    double seconds = 0;  // of a steady clock; 0: absent
};

TimeOfDay now() {
    timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return {double(time.tv_sec) + double(time.tv_nsec) * 1e-9};
}

// The next line of the running program. False: it has no more.
bool read_program_line() {
    StoreRecord* program = CurrentProgram();
    if (program == nullptr || session.ProgramLine >= ProgramOf(program)->lines) return false;
    const std::string_view text = ProgramLineText(program, session.ProgramLine++);
    const size_t room = size_t(session.conslen) - 1;
    const size_t n = text.size() < room ? text.size() : room;
    std::memcpy(session.ConsoleBuffer, text.data(), n);
    session.ConsoleBuffer[0] = ' ';
    session.ConsoleBuffer[n] = 0;
    if (settings.trace) TraceLine(false);
    return true;
}

// The next line of the file or the keyboard. False: there is none.
bool read_source_line(bool fromFile) {
    if (session.CurrentReader != nullptr && session.BreakFlag) return false;
    if (session.CurrentReader == nullptr && session.InputEnded) return false;
    const uint8_t busy = session.BusyFlag;
    session.BusyFlag = 0;
    frontend.SetBusy(false);
    FetchLine(false);
    session.BusyFlag = busy;
    frontend.SetBusy(busy != 0);
    if (session.CurrentReader != nullptr) return session.ReaderEof == 0;
    if (session.BreakFlag) {
        if (fromFile) return false;
        ClearBreak();
        session.ConsoleBuffer[0] = 0;
        out_newline();
    }
    return !(session.InputEnded && session.ConsoleBuffer[0] == 0);
}

// Length of the word at p, up to a blank or punctuation.
size_t word_length(const char* p) {
    size_t n = 0;
    while (!GeneralSeparators.has[uint8_t(p[n])] && p[n] != 0) n++;
    return n;
}

// True if the line's first command, behind capture, noisily and quietly, is a loop: the loop
// expands what it needs, at each pass.
bool is_loop_line(const char* line) {
    const char* p = line;
    for (;;) {
        while (*p == ' ' || *p == ':') p++;
        const std::string_view word(p, word_length(p));
        if (word.empty()) return false;
        if (MatchAbbreviation(word, "capture", 3) || MatchAbbreviation(word, "noisily", 1) ||
            MatchAbbreviation(word, "quietly", 1)) {
            p += word.size();
            continue;
        }
        return word == "foreach" || MatchAbbreviation(word, "forvalues", 4) ||
               MatchAbbreviation(word, "while", 2);
    }
}

// Expands the macros of the line, unless it is a loop or only scanned.
ReturnCode expand_line() {
    session.LineNotExpanded = 0;
    SetScanPointer(session.ConsoleBuffer);
    if (session.InProgram) {
        if (!session.ExecuteFlag) return 0;
        if (!settings.trace || !settings.traceexpand) return ExpandMacros();
        const uint32_t before = LineHash();
        const ReturnCode rc = ExpandMacros();
        if (rc == 0 && LineHash() != before) TraceLine(true);
        return rc;
    }
    if (is_loop_line(session.ConsoleBuffer)) {
        session.LineNotExpanded = 1;
        return 0;
    }
    return ExpandMacros();
}

void print_time(double seconds) {
    const auto hundredths = int64_t(seconds * 100);
    const std::time_t clock = std::time(nullptr);
    std::tm local;
    localtime_r(&clock, &local);
    out_textf(" t=%d.%02d %d:%02d:%02d\n", int(hundredths / 100), int(hundredths % 100),
              local.tm_hour, local.tm_min, local.tm_sec);
}

// Shows the code of a line at the level of a file or the keyboard. Inside a program or a block
// nothing shows: the line that called or opened it will report.
void report_result(TimeOfDay start) {
    if (session.InProgram || !session.ExecuteFlag || blocks.depth > session.BlockDepth) return;
    const ReturnCode rc = session.LastReturnCode;
    const bool timed = settings.rmsg;
    if (rc == 0 && !timed) return;
    if (timed) session.rmsg_time = start.seconds > 0 ? now().seconds - start.seconds : 0;
    const LevelGuard guard(kLevelText2);
    if (!OutputShows()) return;  // a level further out, which is not quiet, will tell
    out_reset();
    if (rc == kBreak) {
        session.MessageLevel = kLevelError;
        out_style();
        out_tmrk("{hline 2}Break{hline 2}\n");
        session.MessageLevel = kLevelText2;
    }
    if (rc != 0) {
        out_style();
        out_tmrkf("{search r(%d):r(%d);}", rc, rc);
        if (!timed) out_newline();
    }
    if (timed) print_time(session.rmsg_time);
}

// Runs profile.do if there is one: a line of its own, the start command set aside meanwhile.
void run_profile() {
    std::string path;
    const std::string places[] = {directories.korva, "./"};
    for (const std::string& place : places) {
        if (path.empty() && FileExists((place + "profile.do").c_str())) path = place + "profile.do";
    }
    if (path.empty()) path = FindProfileAlongSearchPath();
    if (path.empty() && !FindOnPath("profile", "do", 1, &path)) return;
    const std::string start_command = session.ConsoleBuffer;
    {
        const LevelGuard level(kLevelText);
        out_text("running " + path + " ...\n");
    }
    std::snprintf(session.ConsoleBuffer, size_t(session.conslen), "run \"%s\"", path.c_str());
    RunLine();
    std::snprintf(session.ConsoleBuffer, size_t(session.conslen), "%s", start_command.c_str());
}

// Runs the command of the command line, echoed unless a batch run is quiet.
int run_start_command() {
    ClearBreak();
    if (!(session.BatchMode && startup_options.quiet)) {
        const LevelGuard level(kLevelInput);
        out_text(". " + std::string(session.ConsoleBuffer));
        out_newline();
    }
    return RunLine();
}

void run_keyboard() {
    frontend.FocusCommandWindow();
    while (!session.ShuttingDown) {
        // Only here: deeper down a break that came between two lines must stop the next one.
        ClearBreak();
        session.UserIdle = 1;
        out_newline();
        const int ended = ReadNextLine(false);
        session.UserIdle = 0;
        if (ended || RunLine() == 0) break;
        frontend.RefreshVariablesWindow();
    }
}

}  // namespace

int ReadNextLine(bool fromFile) {
    for (;;) {
        const bool got = fromFile && session.InProgram ? read_program_line()
                                                       : read_source_line(fromFile);
        if (!got) return 1;
        char* start = SkipBlanks(session.ConsoleBuffer);
        if (*start == 0 || *start == '*') {
            if (session.BreakFlag) return 1;
            continue;
        }
        SetScanPointer(start);
        return 0;
    }
}

int RunLine() {
    const uint8_t busy = session.BusyFlag;
    session.BusyFlag = 1;
    frontend.SetBusy(true);
    const auto leave = [busy](int result) {
        session.BusyFlag = busy;
        frontend.SetBusy(busy != 0);
        return result;
    };
    if (session.ShuttingDown) {
        session.QuitSession = 1;
        session.Unwind = 1;
        return leave(0);
    }
    session.LinePrinted = 0;
    session.Unwind = 0;
    session.FirstStatement = 1;
    const TimeOfDay start = settings.rmsg ? now() : TimeOfDay{};

    session.LastReturnCode = expand_line();
    if (session.LastReturnCode == 0) {
        NextToken(GeneralSeparators);
        TakeCommandWord();
        session.LastReturnCode = Dispatch();
    }
    if (session.Unwind) {
        if (session.QuitSession) {
            SessionCleanup(0);
        } else {
            session.Unwind = 0;
        }
        return leave(0);
    }
    report_result(start);
    return leave(1);
}

ReturnCode RunHiddenAction(std::string_view text) {
    if (session.BusyFlag) {
        frontend.ShowNote("Korva is busy and cannot perform the action you requested.");
        frontend.ShowNote("Wait until Korva has completed the current command");
        frontend.ShowNote("and make sure all \"more\" conditions have been cleared.");
        frontend.ShowNote(nullptr);
        return 9023;
    }
    if (text.size() >= size_t(session.conslen)) return ReportError(1004);
    const std::string line = session.ConsoleBuffer;
    const ScannerGuard scanner_kept;
    char word[kMaxNameBytes + 1];
    std::strcpy(word, session.CommandWord);

    text.copy(session.ConsoleBuffer, text.size());
    session.ConsoleBuffer[text.size()] = 0;
    SetScanPointer(session.ConsoleBuffer);
    const ReturnCode rc = DispatchNext();

    std::memcpy(session.ConsoleBuffer, line.c_str(), line.size() + 1);
    std::strcpy(session.CommandWord, word);
    return rc;
}

int SessionMain(int argc, char** argv) {
    const int started = SessionStart(argc, argv);
    if (started < 0) {
        SessionCleanup(0);
        return startup_options.show_help || startup_options.show_version ? 0 : 1;
    }
    if (!session.BatchMode) frontend.ShowMainWindow();
    if (startup_options.hide_window) frontend.HideMainWindow();
    run_profile();
    session.StartTime = int64_t(std::time(nullptr));
    int go_on = 1;
    if (started == 1) go_on = run_start_command();
    const ReturnCode last = session.LastReturnCode;
    if (session.BatchMode) {
        if (!startup_options.no_done_box) {
            frontend.ShowNote("Done");
            frontend.ShowNote(nullptr);
        }
        SessionCleanup(0);
        const bool logged = CloseBatchLog();
        frontend.PumpMessages();
        return last == 0 && logged ? 0 : 1;
    }
    if (go_on) run_keyboard();
    SessionCleanup(0);
    frontend.PumpMessages();  // what leaving the levels printed behind the clean-up
    return 0;
}

}  // namespace korva

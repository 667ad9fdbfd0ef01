// core/dispatch.cpp - the order of name resolution: built-in table, programs in memory, ado-path.
#include "core/dispatch.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "core/ado_path.h"
#include "core/alloc.h"
#include "core/command_table.h"
#include "core/control.h"
#include "core/frame.h"
#include "core/names.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/program.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/upcalls.h"

namespace korva {

namespace {

constexpr int32_t kLastCommandNumber = 2147483646;

// Prefixes, blocks and levels nest by recursion: without a bound a line of many prefixes would use
// up the process's stack.
constexpr int32_t kMaxNesting = 1000;

struct NestingGuard {
    NestingGuard() { session.Nesting++; }
    ~NestingGuard() { session.Nesting--; }
    NestingGuard(const NestingGuard&) = delete;
    NestingGuard& operator=(const NestingGuard&) = delete;
};

void count_command() {
    session.CommandCounter = session.CommandCounter >= kLastCommandNumber
                                 ? 1
                                 : session.CommandCounter + 1;
}

ReturnCode unrecognized(std::string_view word, std::string_view why) {
    out_error("unrecognized command:  " + std::string(word) + std::string(why) + "\n");
    return 199;
}

ReturnCode not_available(std::string_view name) {
    out_error("command " + std::string(name) + " is not available yet\n");
    return 199;
}

// Passes over a line while ExecuteFlag is 0: only words that open or carry blocks matter.
ReturnCode skip_command(std::string_view word) {
    const CommandRow* row = FindSkipCommand(word);
    if (row == nullptr) return 0;
    if (row->handler != nullptr) return row->handler(row->argument);
    return SkipBlockOfLine();
}

// True if the full name of the command, or the word that names none, may stand in an ado-file
// outside of its programs.
bool allowed_here(const CommandRow* row) {
    if (session.CommandsOutsideAllowed || session.InProgram) return true;
    return row != nullptr && AllowedOutsidePrograms(row->name);
}

ReturnCode run_program_or_file() {
    const std::string_view word = session.CommandWord;
    if (word[0] == '.') return not_available("class reference");
    StoreRecord* record = FindProgram(word, session.Scope, kFindBoth);
    if (record == nullptr) {
        if (ReturnCode rc = AutoLoad("ado", true)) return rc;
    } else if (record->type == kKindPlugin) {
        return not_available(word);
    }
    return RunFile(ExecProgram, false);
}

// The interrupted line while an ado-file loads.
struct InterruptedLine {
    explicit InterruptedLine(size_t bytes) : line(bytes) {}

    EngineBlock line;  // null bytes: memory was refused
    ScannerState scanner_state;
    ptrdiff_t place;  // of the scanner in the line
    char word[kMaxNameBytes + 1];
    char scope[kMaxNameBytes + 1];
    int32_t load_mark;
    uint8_t outside_allowed;

    void save() {
        std::strcpy(static_cast<char*>(line.bytes), session.ConsoleBuffer);
        scanner_state = scanner;
        place = scanner.ScanPointer - session.ConsoleBuffer;
        std::strcpy(word, session.CommandWord);
        std::strcpy(scope, session.Scope);
        load_mark = session.LoadMark;
        outside_allowed = session.CommandsOutsideAllowed;
    }
    void restore() const {
        std::strcpy(session.ConsoleBuffer, static_cast<const char*>(line.bytes));
        scanner = scanner_state;
        scanner.ScanPointer = session.ConsoleBuffer + place;
        std::strcpy(session.CommandWord, word);
        std::strcpy(session.Scope, scope);
        session.LoadMark = load_mark;
        session.CommandsOutsideAllowed = outside_allowed;
    }
};

// True if CommandWord is but the front of a longer token: no file may be taken for that.
bool word_was_cut(std::string_view word) {
    const std::string_view token = scanner.TokenBuffer;
    return word.size() == size_t(kMaxNameBytes) && token.size() > word.size() &&
           token.starts_with(word);
}

// The path as one token of the line. Compound quotes let it hold double quotes.
std::string quoted_path(const std::string& path) {
    const bool plain = path.find('"') == std::string::npos;
    return plain ? "\"" + path + "\"" : "`\"" + path + "\"'";
}

// Says that the load failed, whatever is quiet now but a capture.
void report_failed_load(std::string_view word, std::string_view extension) {
    const LevelGuard level(kLevelInput);
    out_text("(error occurred while loading " + std::string(word) + "." + std::string(extension) +
             ")\n");
}

}  // namespace

ReturnCode Dispatch() {
    if (session.Nesting >= kMaxNesting) return ReportError(1000);
    const NestingGuard nesting;
    if (session.ShuttingDown) {
        session.QuitSession = 1;
        session.Unwind = 1;
        return 0;
    }
    ResetSkeleton();
    session.MessageLevel = kLevelResult;
    count_command();
    PollNow();
    const std::string_view word = session.CommandWord;
    if (word.empty() || word[0] == '*') return 0;
    if (!session.ExecuteFlag) return skip_command(word);

    const CommandRow* row = FindCommand(word);
    if (!allowed_here(row)) return ReportError(161);
    if (row == nullptr) return run_program_or_file();
    if (row->handler == nullptr) return not_available(row->name);
    return row->handler(row->argument);
}

void TakeCommandWord() {
    const size_t n = strnlen(scanner.TokenBuffer, sizeof session.CommandWord - 1);
    std::memcpy(session.CommandWord, scanner.TokenBuffer, n);
    session.CommandWord[n] = 0;
}

ReturnCode DispatchNext() {
    NextToken();
    TakeCommandWord();
    return Dispatch();
}

ReturnCode AutoLoad(std::string_view extension, bool mustDefine) {
    const std::string word = session.CommandWord;
    if (!IsValidName(word) || word_was_cut(word)) {
        return extension == "class" ? 199 : unrecognized(word, " invalid command name");
    }
    std::string path;
    if (!FindOnPath(word, extension, 1, &path)) return unrecognized(word, "");

    InterruptedLine interrupted(std::strlen(session.ConsoleBuffer) + 1);
    if (interrupted.line.bytes == nullptr) {
        out_error("...meaning insufficient memory to load ado-file\n");
        return 199;
    }
    interrupted.save();
    std::snprintf(session.ConsoleBuffer, size_t(session.conslen), "%s", quoted_path(path).c_str());
    SetScanPointer(session.ConsoleBuffer);
    std::strcpy(session.Scope, word.c_str());
    session.LoadMark = session.CommandCounter;
    session.LoadDepth++;
    session.LoadStarting = 1;
    session.CommandsOutsideAllowed = 0;
    const ReturnCode rc = RunFile(ExecRun, true);
    session.LoadStarting = 0;
    session.LoadDepth--;
    const auto mark = uint32_t(session.LoadMark);
    interrupted.restore();
    session.Unwind = 0;  // an exit in the file ended the file, not the line that needed it

    EvictPrograms(mark, word);
    if (rc != 0) {
        report_failed_load(word, extension);
        DropLoadedPrograms(mark, word);
        return rc;
    }
    if (mustDefine && FindProgram(word, session.Scope, kFindBoth) == nullptr) {
        return unrecognized(word, " not defined by " + word + "." + std::string(extension));
    }
    return 0;
}

}  // namespace korva

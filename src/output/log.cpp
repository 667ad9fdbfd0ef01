// output/log.cpp - log and cmdlog: opening, pausing, resuming, telling, and closing log files.
//
// A log that exists is written over in place, cut only when everything else has been found in
// order: whoever follows the file as it grows goes on seeing it, and a log that does not open
// leaves the old one whole. Whether each write was whole is read off the log set before the file
// leaves it.
#include "output/log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <new>
#include <string>
#include <string_view>

#include "core/alloc.h"
#include "core/commands.h"
#include "core/file_path.h"
#include "core/macro.h"
#include "core/macro_functions.h"
#include "core/names.h"
#include "core/option_words.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/startup.h"
#include "core/stored_results.h"
#include "core/upcalls.h"
#include "core/words.h"
#include "frontend/frontend.h"
#include "output/results.h"

namespace korva {

LogState logs;

namespace {

constexpr int kFirstHandle = 3;  // 0 means none, and 1 and 2 are the front end's
constexpr std::string_view kEveryLog = "_all";

struct LogOptions {
    bool append = false, replace = false;
    bool markup = false, text = false;
    std::string name;
};

bool is_command_log(const LogRecord& log) {
    return &log == &logs.command;
}

const char* type_word(const LogRecord& log) {
    return log.type ? "tmrk" : "text";
}

// --- what is shown ---

// English months whatever the locale: logs are compared and searched.
std::string time_stamp() {
    return std::string(MacroValue("S_DATE")) + ", " + std::string(MacroValue("S_TIME"));
}

void note_change(LogRecord* log, const char* change) {
    log->change = change;
    std::snprintf(log->changed_at, sizeof log->changed_at, "%s", time_stamp().c_str());
}

void print_piece(uint8_t level, std::string_view text) {
    const LevelGuard guard(level);
    out_text(text);
}

void print_entry(std::string_view label, std::string_view value) {
    const LevelGuard level(kLevelText);
    print_piece(kLevelText, label);
    print_piece(kLevelResult, value);
    out_newline();
}

void print_markup(std::string_view text) {
    const LevelGuard guard(kLevelText);
    out_tmrk(text);
}

bool headers_show() {
    return session.OutputThreshold < kThresholdQuiet;
}

// The colons stand below each other: the words have six letters, "resumed" seven.
std::string change_label(std::string_view change) {
    return std::string(change.size() < 7 ? 7 - change.size() : 0, ' ') + std::string(change) +
           " on:  ";
}

void print_record(const LogRecord& log, std::string_view state) {
    print_entry("       log:  ", std::string(log.filename) + std::string(state));
    print_entry("  log type:  ", type_word(log));
    print_entry(change_label(log.change), log.changed_at);
}

void print_command_log() {
    print_piece(kLevelText, "(cmdlog ");
    print_piece(kLevelResult, logs.command.filename);
    print_piece(kLevelText, " " + std::string(logs.command.change) + ")");
    out_newline();
}

// The header of the record's last change.
void print_change(const LogRecord& log) {
    if (!headers_show()) return;
    const LevelGuard level(kLevelText);
    out_reset();
    if (is_command_log(log)) {
        print_command_log();
        return;
    }
    const std::string_view change = log.change;
    const bool begins = change == "opened" || change == "resumed";
    if (begins) print_markup("{.-}\n");
    print_record(log, "");
    if (!begins) print_markup("{txt}{.-}\n");
}

// Told even when headers are not: the user believes that the file holds what the screen showed.
void note_if_incomplete(const LogRecord& log) {
    if (log.whole) return;
    const LevelGuard level(kLevelError);
    out_error("note: " + std::string(log.filename) + " is incomplete: a write to it failed\n");
}

void tell_front_end(const LogRecord& log) {
    if (&log != &logs.log) return;
    char text[32] = "";
    if (log.handle != 0)
        std::snprintf(text, sizeof text, "log %s (%s)", log.status ? "on" : "off", type_word(log));
    frontend.ShowLogStatus(text);
}

void store_results(const LogRecord& log, const char* status) {
    if (is_command_log(log)) return;
    ClearResults();
    SetResultText("filename", log.filename);
    SetResultText("status", status);
    SetResultText("type", type_word(log));
}

void store_results(const LogRecord& log) {
    store_results(log, log.status ? "on" : "off");
}

// --- the stream's side ---

// Asks before a file is touched, so that a refusal leaves it as it was.
bool stream_takes(bool markup) {
    const OutputStream* s = print_state.results;
    return s != nullptr && !s->closed && (markup ? s->tmrk_logs : s->text_logs).count < kMaxLogs;
}

ReturnCode report_refused() {
    out_error("tmrk refused log request -- log not opened\n");
    return 603;
}

// Lets output reach the file; nothing to do for the command log, which looks at its status.
bool start_copying(const LogRecord& log) {
    return is_command_log(log) || AttachResultsLog(log.handle, log.type != 0);
}

void stop_copying(LogRecord* log) {
    if (is_command_log(*log)) return;
    if (!ResultsLogIsWhole(log->handle, log->type != 0)) log->whole = 0;
    DetachResultsLog(log->handle, log->type != 0);
}

// --- records ---

LogRecord* find_named(std::string_view name) {
    for (LogRecord* log = logs.named; log != nullptr; log = log->next) {
        if (name == log->name) return log;
    }
    return nullptr;
}

// The record to open under the name, closed and fresh; null when there is no memory.
LogRecord* fresh_record(std::string_view name) {
    if (name.empty()) {
        logs.log = {};
        return &logs.log;
    }
    void* memory = EngineAlloc(sizeof(LogRecord));
    if (memory == nullptr) return nullptr;
    auto* log = new (memory) LogRecord;
    name.copy(log->name, kMaxLogNameBytes);
    log->next = logs.named;
    logs.named = log;
    return log;
}

void drop_record(LogRecord* log) {
    LogRecord** link = &logs.named;
    while (*link != nullptr && *link != log) link = &(*link)->next;
    if (*link == nullptr) {
        *log = {};
        return;
    }
    *link = log->next;
    EngineFree(log);
}

// The default log comes last: as a rule it is the oldest, and holds what closing the others says.
template <typename Act>
ReturnCode for_every_log(Act act) {
    ReturnCode first = 0;
    for (LogRecord *log = logs.named, *next; log != nullptr; log = next) {
        next = log->next;
        const ReturnCode rc = act(log);
        if (first == 0) first = rc;
    }
    if (logs.log.handle == 0) return first;
    const ReturnCode rc = act(&logs.log);
    return first != 0 ? first : rc;
}

bool any_log_open() {
    return logs.log.handle != 0 || logs.named != nullptr;
}

bool is_same_file(int handle, const struct stat& file) {
    struct stat other;
    return handle > 0 && fstat(handle, &other) == 0 && other.st_dev == file.st_dev &&
           other.st_ino == file.st_ino;
}

// --- opening ---

ReturnCode report_not_opened(int error, const std::string& filename) {
    if (error == EINTR && session.BreakFlag) return kBreak;  // while it waited for a pipe's reader
    if (error == EEXIST) return ReportFileError(602, filename);
    if (error == ENOMEM) return ReportError(950);
    return ReportFileError(603, filename);
}

// Opens the file, leaving what it holds; *handle is at least kFirstHandle.
ReturnCode open_file(const std::string& filename, const std::string& path, bool may_exist,
                     int* handle) {
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (may_exist ? 0 : O_EXCL);
    errno = 0;
    const int fd = StressFails() ? -1 : open(path.c_str(), flags, 0666);
    if (fd < 0) return report_not_opened(errno, filename);
    *handle = fd;
    if (fd >= kFirstHandle) return 0;
    *handle = fcntl(fd, F_DUPFD_CLOEXEC, kFirstHandle);
    close(fd);
    return *handle < 0 ? ReportFileError(603, filename) : 0;
}

// Empties a file that is to be replaced. What is not a regular file holds nothing to cut.
bool cut_file(int handle) {
    struct stat file;
    if (fstat(handle, &file) != 0) return false;
    return !S_ISREG(file.st_mode) || (!StressFails() && ftruncate(handle, 0) == 0);
}

ReturnCode open_log_file(const std::string& filename, const LogOptions& options, int* handle) {
    std::string path;
    if (ReturnCode rc = LocalPath(filename, &path)) return rc;
    if (IsLogFile(path)) return ReportError(604);
    if (ReturnCode rc = open_file(filename, path, options.append || options.replace, handle))
        return rc;
    if (options.replace && !options.append && !cut_file(*handle)) {
        close(*handle);
        return ReportFileError(603, filename);
    }
    return 0;
}

void begin_record(LogRecord* log, int handle, const std::string& filename) {
    log->handle = handle;
    log->status = 1;
    filename.copy(log->filename, kMaxFileNameBytes);
    note_change(log, "opened");
}

bool setting_wants_markup() {
    return std::string_view(settings.logtype) == "tmrk";
}

// Whether the log holds mark-up: by option, by the suffix that was typed, by the setting.
bool wants_markup(const std::string& typed, const LogOptions& options) {
    const bool by_setting = setting_wants_markup();
    if (options.markup || options.text) return by_setting ? options.markup : !options.text;
    if (typed.ends_with(".log")) return false;
    return typed.ends_with(".tmrk") || by_setting;
}

ReturnCode read_log_name(std::string* name) {
    std::string inside;
    if (!TakeParenthesised(&inside)) return ReportInvalidSyntax();
    *name = TrimBlanks(inside);
    // A log's name may be a character longer than other names.
    const bool fits = name->size() <= size_t(kMaxLogNameBytes);
    if (!fits || *name == kEveryLog || !IsValidName(name->substr(0, kMaxNameBytes)) ||
        !IsValidName("_" + name->substr(std::min(name->size(), size_t(kMaxNameBytes)))))
        return ReportInvalid("name");
    return 0;
}

// Reads `[, append replace tmrk text name(x)]` to the end of the line. A bare t means the kind
// that the setting names.
ReturnCode read_log_options(LogOptions* options) {
    NextToken();
    if (TokenIsEmpty()) return 0;
    if (!TokenIs(",")) return ReportInvalidSyntax();
    const bool text_first = !setting_wants_markup();
    while (*NextToken(OptionSeparators)) {
        const std::string_view typed = scanner.TokenBuffer;
        if (typed == "replace") {
            options->replace = true;
        } else if (MatchAbbreviation(typed, "append", 6)) {
            options->append = true;
        } else if (text_first && typed == "t") {
            options->text = true;
        } else if (MatchAbbreviation(typed, "tmrk", 1)) {
            options->markup = true;
        } else if (MatchAbbreviation(typed, "text", 1)) {
            options->text = true;
        } else if (typed == "name") {
            if (ReturnCode rc = read_log_name(&options->name)) return rc;
        } else {
            return ReportOptionNotAllowed(typed);
        }
    }
    return 0;
}

ReturnCode open_log() {
    char typed[kMaxFileNameBytes + 1];
    LogOptions options;
    if (ReturnCode rc = ParseFileName(typed)) return rc;
    if (ReturnCode rc = read_log_options(&options)) return rc;
    const bool in_use = options.name.empty() ? logs.log.handle != 0
                                             : find_named(options.name) != nullptr;
    if (in_use) return ReportError(604);

    const bool markup = wants_markup(typed, options);
    const std::string filename = WithExtension(typed, markup ? ".tmrk" : ".log");
    if (!stream_takes(markup)) return report_refused();
    LogRecord* log = fresh_record(options.name);
    if (log == nullptr) return ReportError(950);
    int handle = 0;
    if (ReturnCode rc = open_log_file(filename, options, &handle)) {
        drop_record(log);
        return rc;
    }
    log->type = markup;
    begin_record(log, handle, filename);
    if (!start_copying(*log)) {
        close(handle);
        drop_record(log);
        return report_refused();
    }
    print_change(*log);
    tell_front_end(*log);
    store_results(*log);
    return 0;
}

ReturnCode open_command_log() {
    char typed[kMaxFileNameBytes + 1];
    LogOptions options;
    const OptionWord words[] = {{"append", 6, &options.append}, {"replace", 7, &options.replace}};
    if (ReturnCode rc = ParseFileName(typed)) return rc;
    if (ReturnCode rc = ReadTrailingOptions(words)) return rc;
    if (logs.command.handle != 0) return ReportError(604);
    const std::string filename = WithExtension(typed, ".txt");
    int handle = 0;
    if (ReturnCode rc = open_log_file(filename, options, &handle)) return rc;
    begin_record(&logs.command, handle, filename);
    print_change(logs.command);
    return 0;
}

// --- changes of an open log ---

void print_already(const LogRecord& log) {
    const std::string word = is_command_log(log) ? "cmdlog" : "log";
    print_markup("{txt}(" + word + " already " + (log.status ? "on" : "off") + ")\n");
}

ReturnCode close_record(LogRecord* log) {
    note_change(log, "closed");
    print_change(*log);
    if (log->status) stop_copying(log);
    if (close(log->handle) != 0) log->whole = 0;
    note_if_incomplete(*log);
    store_results(*log, "closed");
    log->handle = 0;
    tell_front_end(*log);
    drop_record(log);
    return 0;
}

ReturnCode turn_off(LogRecord* log) {
    if (!log->status) {
        print_already(*log);
    } else {
        note_change(log, "paused");
        print_change(*log);
        stop_copying(log);
        log->status = 0;
        note_if_incomplete(*log);
        tell_front_end(*log);
    }
    store_results(*log);
    return 0;
}

ReturnCode turn_on(LogRecord* log) {
    if (log->status) {
        print_already(*log);
    } else {
        if (!start_copying(*log)) return report_refused();
        log->status = 1;
        note_change(log, "resumed");
        print_change(*log);
        tell_front_end(*log);
    }
    store_results(*log);
    return 0;
}

// Asks the set, since a file may have died since the last change.
void look_for_short_writes(LogRecord* log) {
    if (is_command_log(*log) || !log->status) return;
    if (!ResultsLogIsWhole(log->handle, log->type != 0)) log->whole = 0;
}

ReturnCode query(LogRecord* log) {
    look_for_short_writes(log);
    if (log->name[0] != 0) print_entry("      name:  ", log->name);
    print_record(*log, log->status ? ", on" : ", off");
    if (headers_show()) note_if_incomplete(*log);
    store_results(*log);
    return 0;
}

// --- choosing the log ---

using LogAct = ReturnCode (*)(LogRecord* log);

// The act on the log that the rest of the line names: none stands for the default log.
ReturnCode act_on_named(LogAct act) {
    NextToken();
    const std::string name = scanner.TokenBuffer;
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    if (name == kEveryLog) {
        if (any_log_open()) return for_every_log(act);
    } else if (!name.empty()) {
        if (LogRecord* log = find_named(name)) return act(log);
        out_error("log " + name + " not found\n");
        return 111;
    } else if (logs.log.handle != 0) {
        return act(&logs.log);
    }
    if (act != query) return ReportError(606);
    print_entry("       log:  ", "(closed)");
    ClearResults();
    return 0;
}

ReturnCode act_on_command_log(LogAct act) {
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    return logs.command.handle != 0 ? act(&logs.command) : ReportError(607);
}

ReturnCode query_command_log() {
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    const LogRecord& log = logs.command;
    print_entry("    cmdlog:  ", log.handle == 0
                                     ? "(closed)"
                                     : log.filename + std::string(log.status ? ", on" : ", off"));
    if (log.handle != 0 && headers_show()) note_if_incomplete(log);
    return 0;
}

struct LogWord {
    std::string_view name;
    int minimum;
    LogAct act;           // null: opens, or belongs to the translators
    int translate = -1;   // argument of CmdTranslate
    bool command = true;  // cmdlog has it too
};

// clang-format off
constexpr LogWord kLogWords[] = {
    {"using",     1, nullptr},
    {"close",     1, close_record},
    {"query",     1, query},
    {"on",        2, turn_on},
    {"off",       2, turn_off},
    {"translate", 2, nullptr,      0, false},
    {"html",      4, nullptr,      1, false},
    {"texman",    6, nullptr,      2, false},
    {"webhtml",   7, nullptr,      3, false},
};
// clang-format on

// The row of the sub-word just taken; null, with the words said, when there is none.
const LogWord* find_log_word(bool command) {
    for (const LogWord& row : kLogWords) {
        if (command && !row.command) continue;
        if (MatchAbbreviation(scanner.TokenBuffer, row.name, row.minimum)) return &row;
    }
    out_error(std::string(scanner.TokenBuffer) + " invalid\n");
    return nullptr;
}

// True if the line's command, behind capture, noisily and quietly, is cmdlog itself.
bool is_cmdlog_line(std::string_view line) {
    for (;;) {
        const size_t start = line.find_first_not_of(" :");
        if (start == line.npos) return false;
        line.remove_prefix(start);
        size_t n = 0;
        while (n < line.size() && !GeneralSeparators.has[uint8_t(line[n])]) n++;
        const std::string_view word = line.substr(0, n);
        if (word == "cmdlog") return true;
        if (!MatchAbbreviation(word, "capture", 3) && !MatchAbbreviation(word, "noisily", 1) &&
            !MatchAbbreviation(word, "quietly", 1))
            return false;
        line.remove_prefix(n);
    }
}

}  // namespace

bool IsLogFile(const std::string& path) {
    struct stat file;
    if (stat(path.c_str(), &file) != 0 || !S_ISREG(file.st_mode)) return false;
    if (is_same_file(logs.log.handle, file) || is_same_file(logs.command.handle, file) ||
        is_same_file(BatchLogHandle(), file))
        return true;
    for (const LogRecord* log = logs.named; log != nullptr; log = log->next) {
        if (is_same_file(log->handle, file)) return true;
    }
    return false;
}

void LogTypedLine(std::string_view line) {
    LogRecord* log = &logs.command;
    if (log->handle == 0 || !log->status || !log->whole || is_cmdlog_line(line)) return;
    log->whole = log_write_file(log->handle, std::string(line) + "\n");
}

void CloseLogs() {
    // Whatever was quiet when the session ended, the files get their last header.
    const ThresholdGuard threshold(kThresholdNormal);
    for_every_log(close_record);
    if (logs.command.handle != 0) close_record(&logs.command);
}

// The file of the default log; nothing when none is open.
ReturnCode MfLog(int, std::string* result) {
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    result->append(logs.log.filename);
    return 0;
}

// log using filename [, append replace tmrk text name(x)]
// log {close | on | off | query} [name | _all], log {translate | html | texman | webhtml} ...
ReturnCode CmdLog(int) {
    NextToken();
    if (TokenIsEmpty()) return act_on_named(query);
    const LogWord* word = find_log_word(false);
    if (word == nullptr) return 198;
    if (word->translate >= 0) return CmdTranslate(word->translate);
    return word->act == nullptr ? open_log() : act_on_named(word->act);
}

// cmdlog using filename [, append replace], cmdlog {close | on | off | query}
ReturnCode CmdCmdlog(int) {
    NextToken();
    if (TokenIsEmpty()) return query_command_log();
    const LogWord* word = find_log_word(true);
    if (word == nullptr) return 198;
    if (word->act == nullptr) return open_command_log();
    return word->act == query ? query_command_log() : act_on_command_log(word->act);
}

}  // namespace korva

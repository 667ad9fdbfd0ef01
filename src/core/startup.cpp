// core/startup.cpp - the stages of the start, in their order, and the clean-up that undoes them.
//
// StartStage climbs as the start goes on; SessionCleanup uses it to undo only what was done.
#include "core/startup.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "core/ado_path.h"
#include "core/alloc.h"
#include "core/file_path.h"
#include "core/macro.h"
#include "core/missing.h"
#include "core/names.h"
#include "core/platform.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/reader.h"
#include "core/scanner.h"
#include "core/scratch.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/settings_file.h"
#include "core/store.h"
#include "core/switches.h"
#include "core/upcalls.h"
#include "frontend/frontend.h"

namespace korva {

StartupOptions startup_options;
int StartStage = 0;
StartBlock start_blocks[kMaxStartBlocks];
int n_start_blocks = 0;

namespace {

constexpr int64_t kLeastMemory = 102400;
constexpr int64_t kDefaultMemory = 10485760;
constexpr int32_t kDefaultMaxvar = 5000;
constexpr int32_t kDefaultMatsize = 400;
constexpr int64_t kLeastScratch = 271200;
constexpr size_t kMaxInstallationPath = 127;
constexpr int kMarkerVersion = 90;
constexpr int kUpdateTextBytes = 500;

struct StartFiles {
    int batch_log = -1;  // descriptor of the batch log; -1: none
    bool batch_log_markup = false;
    std::string update_text;  // arguments of /u
};
StartFiles start_files;

void note(const std::string& text) {
    frontend.ShowNote(text.c_str());
}

void show_note(const std::string& text) {
    note(text);
    frontend.ShowNote(nullptr);
}

// Remembers a block of the start for `memory`.
void remember_block(const char* name, int64_t bytes) {
    if (n_start_blocks == kMaxStartBlocks) return;
    StartBlock& entry = start_blocks[n_start_blocks++];
    std::snprintf(entry.name, sizeof entry.name, "%s", name);
    entry.bytes = bytes;
}

// Bytes of the blocks whose sizes follow from maxvar. Address space is taken for the largest
// maxvar, so that set maxvar moves none of them; what is not used costs nothing.
struct TextSizes {
    int32_t conslen;
    int32_t macrolen;
    int64_t scratch;
};

TextSizes text_sizes(int32_t maxvar) {
    TextSizes sizes;
    sizes.conslen = 33 * maxvar + 216;
    sizes.macrolen = 33 * maxvar + 200;
    const int64_t expansion = 4 * int64_t(sizes.macrolen);
    const int64_t lines = int64_t(sizes.macrolen) + 2 * int64_t(sizes.conslen);
    sizes.scratch = std::max({expansion, lines, kLeastScratch});
    return sizes;
}

void remember_text_blocks(const TextSizes& sizes) {
    remember_block("console", sizes.conslen);
    remember_block("revbuf", int64_t(sizes.conslen) + 1);
    remember_block("achar", sizes.scratch);
}

// Memory, maxvar and matsize: a switch comes before the recorded preference.
void choose_sizes() {
    if (startup_options.memory != 0) settings.memory = startup_options.memory;
    if (startup_options.maxvar != 0) settings.maxvar = startup_options.maxvar;
    if (startup_options.matsize != 0) settings.matsize = startup_options.matsize;
    if (startup_options.procs != 0) settings.procs_use = startup_options.procs;
    session.procs = settings.procs_use;
    if (settings.memory < kLeastMemory) settings.memory = kDefaultMemory;
}

// Takes the tables as asked, or once more with the defaults. False: not even these could be had.
bool take_tables() {
    choose_sizes();
    if (StartEngineTables(settings.maxvar, settings.memory)) return true;
    note("Could not initialize using set memory, set maxvar,");
    note("and set matsize preferences and/or start-up options.");
    note("Operating System refused to provide the memory.");
    show_note("Trying again using defaults.");
    settings.refused_memory = settings.memory;
    settings.refused_maxvar = settings.maxvar;
    settings.refused_matsize = settings.matsize;
    settings.memory = kDefaultMemory;
    settings.maxvar = kDefaultMaxvar;
    settings.matsize = kDefaultMatsize;
    return StartEngineTables(settings.maxvar, settings.memory);
}

// Says what the start had to change because memory was refused.
void print_memory_fallback() {
    if (settings.refused_maxvar == 0) return;
    out_tmrk("\nNote: Korva has been initialized with{col 45}instead of\n");
    out_tmrkf("    memory {col 25}%12ldk{col 45}%12ldk\n", long(settings.memory / 1024),
              long(settings.refused_memory / 1024));
    out_tmrkf("    matsize{col 25}%12d{col 45}%12d\n", settings.matsize, settings.refused_matsize);
    out_tmrkf("    maxvar {col 25}%12d{col 45}%12d\n", settings.maxvar, settings.refused_maxvar);
    out_tmrk("{p}\nbecause the operating system refused to provide\n"
             "the memory that the preferences or the start-up options ask for.\n"
             "These commands record other preferences:\n{p_end}\n"
             "    {cmd:set memory} #, {cmd:permanently}\n"
             "    {cmd:set matsize} #, {cmd:permanently}\n"
             "    {cmd:set maxvar} #, {cmd:permanently}\n");
}

// Says once that what was recorded is not in force.
void print_damaged_settings(const RecordedSettings& recorded) {
    if (recorded.damaged.empty()) return;
    const LevelGuard level(kLevelText);
    out_text("(note: settings file " + recorded.damaged +
             " is damaged; the settings have their defaults)\n");
}

// The directory of the executable, which must hold the marker file. Words are shown on failure.
bool find_installation(std::string* directory) {
    char path[4096];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    std::string_view whole(path, length > 0 ? size_t(length) : 0);
    const size_t slash = whole.rfind('/');
    if (slash == std::string_view::npos || slash > kMaxInstallationPath) {
        show_note("cannot find Korva directory");
        return false;
    }
    *directory = whole.substr(0, slash + 1);
    char marker[32];
    std::snprintf(marker, sizeof marker, "iskorva.%02d", kMarkerVersion);
    if (FileExists((*directory + marker).c_str())) return true;
    note("cannot find Korva directory");
    show_note(std::string(marker) + " is missing");
    return false;
}

// Name of the batch log: after the do-file when the command runs one.
std::string batch_log_name(std::string_view command) {
    const std::string extension = startup_options.batch_markup ? ".tmrk" : ".log";
    const size_t blank = command.find(' ');
    const std::string_view word = command.substr(0, blank);
    std::string name = "korva";
    if ((word == "do" || word == "run") && blank != std::string_view::npos) {
        std::string_view argument = command.substr(command.find_first_not_of(' ', blank));
        if (argument.starts_with('"')) {
            argument.remove_prefix(1);
            argument = argument.substr(0, argument.find('"'));
        } else {
            argument = argument.substr(0, argument.find(' '));
        }
        argument = argument.substr(0, kMaxFileNameBytes - 1);
        argument = argument.substr(0, argument.find_last_not_of(' ') + 1);
        argument = LastPartOf(argument);
        argument = argument.substr(0, argument.find('.'));
        if (!argument.empty()) name = argument;
    }
    return name + extension;
}

bool open_batch_log(const std::string& command) {
    if (command.empty()) {
        show_note("/b specified with no command\n");
        return false;
    }
    const std::string name = batch_log_name(command);
    const int fd = StressFails() ? -1
                                 : open(name.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    start_files.batch_log = fd;
    start_files.batch_log_markup = startup_options.batch_markup;
    if (fd < 0 || !AttachResultsLog(fd, start_files.batch_log_markup)) {
        show_note("unable to open `" + name + "'\n");
        return false;
    }
    return true;
}

void print_banner() {
    const LevelGuard level(kLevelText);
    out_tmrk("{txt}\n"
             "  {c TLC}{hline 44}{c TRC}\n"
             "  {c |}  {hi:K o r v a}{col 41}{res:9.2}{txt}{col 48}{c |}\n"
             "  {c |}  Statistics/Data Analysis{col 48}{c |}\n"
             "  {c |}  Korva/PX{col 48}{c |}\n"
             "  {c BLC}{hline 44}{c BRC}\n");
}

void print_notes() {
    const LevelGuard level(kLevelText);
    int n = 0;
    out_text("\nNotes:\n");
    const auto number = [&n](const std::string& text) {
        out_textf("     %2d.  %s\n", ++n, text.c_str());
    };
    char text[100];
    std::snprintf(text, sizeof text, "(/m# option or -set memory-) %.2f MB allocated to data",
                  double(settings.memory) / (1024.0 * 1024.0));
    number(text);
    std::snprintf(text, sizeof text, "(/v# option or -set maxvar-) %d maximum variables",
                  settings.maxvar);
    number(text);
    if (session.BatchMode) number("Korva running in batch mode");
}

// The limits that tell a missing value must be what the arithmetic of this machine makes of them.
bool numbers_are_sound() {
    const volatile double zero = 0.0;
    return zero == 0.0 && !(zero < 0.0) && is_missing(missing_value(0)) &&
           !is_missing(kMaxDouble) && missing_code(missing_value(26)) == 26;
}

void define_start_macros() {
    if (session.BatchMode) SetMacro("S_MODE", "batch");
    SetMacro("S_level", settings.level);
    SetMacro("S_MACH", platform::kMachine);
    SetMacro("S_OS", platform::kOperatingSystem);
    SetMacro("S_FLAVOR", "PX");
    SetMacro("S_KorvaLX", "LX");
    SetMacro("S_KorvaPX", "PX");
    const char* ado = std::getenv("S_ADO");
    SetMacro("S_ADO", ado != nullptr ? ado : "UPDATES;BASE;SITE;.;PERSONAL;PLUS;OLDPLACE");
    SetMacro("F1", "help ");
    SetMacro("F2", "#review;");
    SetMacro("F3", "describe;");
    SetMacro("F7", "save ");
    SetMacro("F8", "use ");
}

// The arguments behind the switches, each followed by a blank.
std::string join_arguments(int argc, char** argv, int first) {
    std::string text;
    for (int i = first; i < argc; i++) {
        text += argv[i];
        text += ' ';
    }
    while (!text.empty() && text.back() == ' ') text.pop_back();
    constexpr std::string_view kScheme = "korva:";
    if (startup_options.web_exec && text.starts_with(kScheme)) text.erase(0, kScheme.size());
    return text;
}

// Shows what --help and --version ask for; the session then ends.
bool answer_and_end() {
    if (startup_options.show_version) {
        std::puts("Korva 9.2");
    } else if (startup_options.show_help) {
        std::fputs(kSwitchHelp, stdout);
    }
    return startup_options.show_version || startup_options.show_help;
}

}  // namespace

bool StartEngineTables(int32_t maxvar, int64_t memory) {
    n_start_blocks = 0;
    const TextSizes sizes = text_sizes(maxvar), most = text_sizes(kMostVariables);
    session.maxlrecl = 12 * maxvar;
    session.conslen = sizes.conslen;
    session.macrolen = sizes.macrolen;
    session.ConsoleBuffer = static_cast<char*>(MapPages(size_t(most.conslen)));
    session.ReviewRing = static_cast<char*>(MapPages(size_t(most.conslen) + 1));
    if (session.ConsoleBuffer != nullptr && session.ReviewRing != nullptr) {
        session.ConsoleBuffer[0] = 0;
        std::memset(session.ReviewRing, 1, size_t(session.conslen) + 1);
        SetScanPointer(session.ConsoleBuffer);
        remember_text_blocks(sizes);
        if (ScratchStart(size_t(sizes.scratch), size_t(most.scratch)) &&
            StartDataset(memory, maxvar)) {
            return true;
        }
    }
    EndEngineTables();
    return false;
}

void SetTextLimits(int32_t maxvar) {
    const TextSizes sizes = text_sizes(maxvar);
    session.maxlrecl = 12 * maxvar;
    session.macrolen = sizes.macrolen;
    ResizeReviewRing(sizes.conslen);
    ScratchLimit(size_t(sizes.scratch));
    n_start_blocks = 0;
    remember_text_blocks(sizes);
}

void EndEngineTables() {
    EndDataset();
    ScratchEnd();
    const size_t most = size_t(text_sizes(kMostVariables).conslen);
    UnmapPages(session.ConsoleBuffer, most);
    UnmapPages(session.ReviewRing, most + 1);
    session.ConsoleBuffer = nullptr;
    session.ReviewRing = nullptr;
}

int SessionStart(int argc, char** argv) {
    StartStage = 1;
    InstallBreakHandler();
    const RecordedSettings recorded = ReadSettingsFile();
    LoadMemoryPreferences(recorded);
    int first = 1;
    if (!ParseSwitches(argc, argv, &first)) return -1;
    if (answer_and_end()) return -1;
    StartStage = 2;
    if (startup_options.finish_update) {
        start_files.update_text = join_arguments(argc, argv, first).substr(0, kUpdateTextBytes - 1);
        session.BatchMode = 1;
    }
    StartStage = 3;
    LoadPersistentSettings(recorded);
    if (!OpenResultsStream()) return -1;
    SetResultsWidth(settings.linesize);
    StartStage = 4;
    const std::string command = join_arguments(argc, argv, first);
    std::string installation;
    if (!find_installation(&installation)) return -1;
    StartStage = 5;
    if (startup_options.batch) {
        if (!open_batch_log(command)) return -1;
        frontend.MinimizeMainWindow();
        session.BatchMode = 1;
    }
    SetResultsPaging(settings.pagesize, settings.more && !session.BatchMode);
    StartStage = 7;
    if (!startup_options.quiet) print_banner();
    if (!numbers_are_sound()) return -1;
    StartStage = 8;
    if (!take_tables()) return -1;
    StartStage = 13;
    if (!startup_options.quiet) print_notes();
    StartStage = 14;
    if (!StartTemporaries()) return -1;
    define_start_macros();
    StartDirectories(installation);
    StartStage = 18;
    print_memory_fallback();
    print_damaged_settings(recorded);
    if (int64_t(command.size()) >= session.conslen) {
        show_note("command too long");
        return -1;
    }
    std::strcpy(session.ConsoleBuffer, command.c_str());
    SetScanPointer(session.ConsoleBuffer);
    StartStage = 19;
    if (command.empty()) {
        LoadConfidenceLevel(recorded);
        return 0;
    }
    out_newline();
    return 1;
}

void SessionCleanup(int exitCode) {
    constexpr int kLeaveAtOnce = 900;
    if (exitCode == kLeaveAtOnce) {
        frontend.PumpMessages();  // what was printed must still be seen
        std::_Exit(1);
    }
    if (StartStage >= 4 && !session.ShuttingDown) CloseLogs();
    if (StartStage >= 4) out_flush();
    if (session.ShuttingDown) return;
    session.ShuttingDown = 1;
    frontend.SavePreferences();
    if (StartStage >= 14) EndTemporaries();
    StressReport();
}

int BatchLogHandle() {
    return start_files.batch_log;
}

bool CloseBatchLog() {
    if (start_files.batch_log < 0) return true;
    const bool whole = ResultsLogIsWhole(start_files.batch_log, start_files.batch_log_markup);
    DetachResultsLog(start_files.batch_log, start_files.batch_log_markup);
    const bool closed = close(start_files.batch_log) == 0;
    start_files.batch_log = -1;
    if (whole && closed) return true;
    show_note("insufficient disk space\nthe log is not whole");
    return false;
}

std::string FindProfileAlongSearchPath() {
    const auto in_directory = [](std::string_view directory) {
        std::string path(directory);
        if (path.empty()) return std::string();
        if (path.back() != '/') path += '/';
        path += "profile.do";
        return FileExists(path.c_str()) ? path : std::string();
    };
    const char* variable = std::getenv("PATH");
    std::string_view rest = variable != nullptr ? variable : "";
    while (!rest.empty()) {
        const size_t colon = rest.find(':');
        std::string found = in_directory(rest.substr(0, colon));
        if (!found.empty()) return found;
        if (colon == std::string_view::npos) break;
        rest.remove_prefix(colon + 1);
    }
    for (const char* name : {"USERPROFILE", platform::kHomeVariable}) {
        if (const char* home = std::getenv(name)) return in_directory(home);
    }
    return "";
}

}  // namespace korva

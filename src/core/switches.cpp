// core/switches.cpp - one row a switch; `-x` is taken like `/x`.
#include "core/switches.h"

#include <cctype>
#include <charconv>
#include <cstring>
#include <string>
#include <string_view>

#include "core/startup.h"
#include "core/threads.h"
#include "frontend/frontend.h"

namespace korva {

namespace {

struct SwitchRow {
    char letter;
    bool takes_number;
    int64_t least;
    int64_t most;  // 0: the processors of the machine
    void (*apply)(int64_t number);
};

constexpr int64_t kMostKilobytes = int64_t(1) << 40;

void set_batch() {
    startup_options.batch = true;
}

// clang-format off
constexpr SwitchRow kSwitches[] = {
    {'b', false, 0, 0, [](int64_t) { set_batch(); }},
    {'e', false, 0, 0, [](int64_t) { set_batch(); startup_options.no_done_box = true; }},
    {'s', false, 0, 0, [](int64_t) { set_batch(); startup_options.batch_markup = true; }},
    {'i', false, 0, 0, [](int64_t) { set_batch(); startup_options.hide_window = true;
                                     startup_options.no_done_box = true; }},
    {'k', true, 10, kMostKilobytes, [](int64_t n) { startup_options.memory = n * 1024; }},
    {'m', true, 1, kMostKilobytes / 1024, [](int64_t n) { startup_options.memory = n * 1048576; }},
    {'d', true, 10, 11000, [](int64_t n) { startup_options.matsize = int32_t(n); }},
    {'v', true, 2048, 32767, [](int64_t n) { startup_options.maxvar = int32_t(n); }},
    {'p', true, 1, 0, [](int64_t n) { startup_options.procs = int32_t(n); }},
    {'q', false, 0, 0, [](int64_t) { startup_options.quiet = true; }},
    {'u', false, 0, 0, [](int64_t) { startup_options.finish_update = true; }},
    {'x', false, 0, 0, [](int64_t) {}},
    {'$', false, 0, 0, [](int64_t) {}},
};
// clang-format on

bool parse_number(std::string_view text, int64_t* number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number);
    return error == std::errc() && end == text.data() + text.size();
}

bool apply_switch(std::string_view text) {
    if (text == "webexec") {
        startup_options.web_exec = true;
        return true;
    }
    if (text.empty()) return false;
    const char letter = char(std::tolower(uint8_t(text[0])));
    if (letter == 'w' || letter == 'o') return true;
    for (const SwitchRow& row : kSwitches) {
        if (row.letter != letter) continue;
        int64_t number = 0;
        if (!row.takes_number) {
            if (text.size() != 1) return false;
        } else {
            const int64_t most = row.most != 0 ? row.most : ProcessorCount();
            if (!parse_number(text.substr(1), &number)) return false;
            if (number < row.least || number > most) return false;
        }
        row.apply(number);
        return true;
    }
    return false;
}

}  // namespace

const char* const
    kSwitchHelp = "usage: korva [switches] [command]\n"
                  "\n"
                  "Starts a session, or runs the command first: korva do file.do\n"
                  "\n"
                  "  /q          no banner and no notes\n"
                  "  /b /s       batch run, log in plain text or in mark-up beside it\n"
                  "  /e          batch run, nothing said at its end\n"
                  "  /i          nothing said at the end of a batch run\n"
                  "  /k# /m#     memory for data in kilobytes or megabytes\n"
                  "  /v#         most variables, 2048 to 32767\n"
                  "  /d#         matsize, 10 to 11000\n"
                  "  /p#         processors\n"
                  "  --help, --version\n"
                  "\n"
                  "-x is taken like /x.\n";

bool ParseSwitches(int argc, char** argv, int* first) {
    int i = *first;
    for (; i < argc && (argv[i][0] == '/' || argv[i][0] == '-'); i++) {
        const std::string_view argument = argv[i];
        if (argument == "--help") {
            startup_options.show_help = true;
        } else if (argument == "--version") {
            startup_options.show_version = true;
        } else if (!apply_switch(argument.substr(1))) {
            frontend.ShowNote(("invalid switch " + std::string(argument)).c_str());
            frontend.ShowNote(nullptr);
            return false;
        }
    }
    *first = i;
    return true;
}

}  // namespace korva

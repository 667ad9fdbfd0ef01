// frontend/stdio_frontend.cpp - the front end on standard input and standard output.
//
// Finished lines come as records and go out as plain bytes or, to a terminal, with colours. Input
// is read in blocks. Output gathers in a buffer that a flush, a read, or enough text sends on its
// way.
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "frontend/frontend.h"
#include "frontend/line_record.h"

namespace korva {

namespace {

constexpr size_t kFlushBytes = 65536;  // gathered output goes out from here on

struct StdioState {
    bool input_is_terminal = false;
    bool colours = false;
    char input[65536];
    size_t next = 0;  // of the bytes read and not yet taken
    size_t filled = 0;
    std::string queued;  // keys that dialogs or menus have queued
    size_t queued_next = 0;
    std::string output;        // gathered
    size_t partial_shown = 0;  // bytes of the unfinished line that a flush has shown
    std::string note;
};
StdioState state;

void write_all(int fd, const char* bytes, size_t n) {
    while (n > 0) {
        const ssize_t done = write(fd, bytes, n);
        if (done < 0 && errno == EINTR) continue;
        if (done <= 0) return;  // the reader has gone: what is left has no place to go
        bytes += done;
        n -= size_t(done);
    }
}

void send_output() {
    write_all(STDOUT_FILENO, state.output.data(), state.output.size());
    state.output.clear();
}

// The terminal's sequence for a style; classes read on dark and on light grounds.
void add_style(unsigned char style) {
    static constexpr const char* kColours[8] = {"", "", "", "", ";31", "", ";34", ";1"};
    state.output += "\033[0";
    state.output += kColours[style & kClassMask];
    if (style & kStyleBold) state.output += ";1";
    if (style & kStyleItalic) state.output += ";3";
    if (style & kStyleUnderline || (style & kClassMask) == kStyleLink) state.output += ";4";
    state.output += 'm';
}

// Adds the bytes [from, to) of a run, line-drawing bytes as plain characters.
void add_run(const char* text, int from, int to, unsigned char style) {
    if (!(style & kStyleGraphic)) {
        state.output.append(text + from, size_t(to - from));
        return;
    }
    for (int i = from; i < to; i++) state.output += plain_graphic(text[i]);
}

// Adds the record's line from column `from` on.
void add_line(const unsigned char* record, int from) {
    const char* text = record_text(record);
    const unsigned char* runs = record_runs(record);
    const int last_run = runs[0];
    int start = 0;
    for (int i = 0; i <= last_run; i++) {
        const unsigned char style = runs[2 + 2 * i];
        const int end = runs[3 + 2 * i];
        const int first = start > from ? start : from;
        if (end > first) {
            if (state.colours) add_style(style);
            add_run(text, first, end, style);
        }
        start = end;
    }
    if (state.colours) state.output += "\033[0m";
}

// A line that a flush has shown in part is finished behind what stands there.
void results_sink(const unsigned char* record, int code) {
    if (code == kSinkFlush) {
        send_output();
        return;
    }
    if (code != kSinkLine && code != kSinkPartial) return;
    const int length = record_text_length(record);
    if (int(state.partial_shown) <= length) add_line(record, int(state.partial_shown));
    state.partial_shown = size_t(length);
    if (code == kSinkLine) {
        state.output += '\n';
        state.partial_shown = 0;
    }
    if (state.output.size() >= kFlushBytes) send_output();
}

// Waits for input with the break signal let in only while waiting, so that none is missed between
// the look at the flag and the wait. False: a break came.
bool wait_for_input() {
    pollfd waits = {STDIN_FILENO, POLLIN, 0};
    sigset_t breaks;
    sigset_t old;
    sigemptyset(&breaks);
    sigaddset(&breaks, SIGINT);
    sigprocmask(SIG_BLOCK, &breaks, &old);
    const bool broken = BreakStands() || (ppoll(&waits, 1, nullptr, &old) < 0 && errno == EINTR);
    sigprocmask(SIG_SETMASK, &old, nullptr);
    return !broken;
}

int read_key() {
    if (state.queued_next < state.queued.size()) {
        const int key = static_cast<unsigned char>(state.queued[state.queued_next++]);
        if (state.queued_next == state.queued.size()) {
            state.queued.clear();
            state.queued_next = 0;
        }
        return key;
    }
    while (state.next == state.filled) {
        send_output();
        if (!wait_for_input()) return kKeyBreak;
        const ssize_t got = read(STDIN_FILENO, state.input, sizeof state.input);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return kKeyEndOfInput;
        state.next = 0;
        state.filled = size_t(got);
    }
    return static_cast<unsigned char>(state.input[state.next++]);
}

bool input_waits() {
    if (state.next < state.filled || !state.queued.empty()) return true;
    pollfd waits = {STDIN_FILENO, POLLIN, 0};
    return poll(&waits, 1, 0) > 0;
}

void show_prompt(const char* prompt) {
    if (!state.input_is_terminal) return;
    state.output += prompt;
    send_output();
    state.partial_shown = 0;
}

// Lines gather until a call with null shows them: a note must not mix with the results.
void show_note(const char* text) {
    if (text != nullptr) {
        state.note += text;
        if (!state.note.ends_with('\n')) state.note += '\n';
        return;
    }
    send_output();
    write_all(STDERR_FILENO, state.note.data(), state.note.size());
    state.note.clear();
}

// The pause of a --more--: any line typed goes on; q at its front stops.
int wait_for_more_key() {
    if (!state.input_is_terminal) return ' ';
    send_output();
    const int key = read_key();
    while (state.next < state.filled && state.input[state.next] != '\n') state.next++;
    if (key != '\n' && state.next < state.filled) state.next++;
    return key == kKeyEndOfInput ? 'q' : key;
}

}  // namespace

FrontEnd StdioFrontEnd() {
    state.input_is_terminal = isatty(STDIN_FILENO) != 0;
    const char* no_colour = std::getenv("NO_COLOR");
    state.colours = isatty(STDOUT_FILENO) && (no_colour == nullptr || *no_colour == 0);
    return {
        .ReadKey = read_key,
        .PumpMessages = [] {},
        .InputWaits = input_waits,
        .QueueText = [](const char* text) { state.queued += text; },
        .QueueKey = [](int key) { state.queued += char(key); },
        .SetBusy = [](bool) {},
        .ShowNote = show_note,
        .ShowMainWindow = [] {},
        .HideMainWindow = [] {},
        .MinimizeMainWindow = [] {},
        .FocusCommandWindow = [] {},
        .SetTitle = [](const char*) {},
        .AddToReview = [](const char*) {},
        .ShowPrompt = show_prompt,
        .WaitForMoreKey = wait_for_more_key,
        .ResultsSink = results_sink,
        .RefreshVariablesWindow = [] {},
        .SavePreferences = send_output,
        .shows_typed_text = state.input_is_terminal,
    };
}

}  // namespace korva

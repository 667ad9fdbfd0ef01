// frontend/stdio_frontend.cpp - the front end on standard input and standard output.
//
// Finished lines come as records and go out as plain bytes or, to a terminal, with colours. Input
// is read in blocks. Output gathers in a buffer that a read, enough text, or the pump, which Poll
// calls every few milliseconds, sends on its way: a write for each line that is flushed would cost
// more than making it.
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
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
    std::u16string queued;  // keys that dialogs or menus have queued; editing keys pass 255
    size_t queued_next = 0;
    std::string output;     // gathered
    int partial_shown = 0;  // bytes of the unfinished line that have been shown
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

// The attributes of a style for a terminal, empty for plain text; they read on dark and on light
// grounds. Classes: 1 result, 2 text, 4 error, 5 input, 6 link, 7 highlight.
std::string attributes_of(unsigned char style) {
    static constexpr const char* kOfClass[8] = {"", ";1", "", "", ";31", ";36", ";4", ";1"};
    std::string attributes = kOfClass[style & kClassMask];
    if (style & kStyleBold) attributes += ";1";
    if (style & kStyleItalic) attributes += ";3";
    if (style & kStyleUnderline) attributes += ";4";
    return attributes;
}

// Adds the bytes [from, to) of a run, line-drawing bytes as plain characters.
void add_run(const char* text, int from, int to, unsigned char style) {
    if (!(style & kStyleGraphic)) {
        state.output.append(text + from, size_t(to - from));
        return;
    }
    for (int i = from; i < to; i++) state.output += plain_graphic(text[i]);
}

// Adds a run with its attributes around it.
void add_styled_run(const char* text, int from, int to, unsigned char style) {
    const std::string attributes = state.colours ? attributes_of(style) : std::string();
    if (!attributes.empty()) state.output += "\033[0" + attributes + "m";
    add_run(text, from, to, style);
    if (!attributes.empty()) state.output += "\033[0m";
}

// Adds the record's line from column `from` on.
void add_line(const unsigned char* record, int from) {
    const char* text = record_text(record);
    RunReader runs = record_runs(record);
    for (RecordRun run; next_run(&runs, &run);) {
        const int first = std::max(run.first, from);
        if (run.end > first) add_styled_run(text, first, run.end, run.style);
    }
}

// A line that a flush has shown in part is finished behind what stands there; one that has become
// shorter since is another line.
void add_rest_of_line(const unsigned char* record) {
    const int length = record_text_length(record);
    add_line(record, state.partial_shown <= length ? state.partial_shown : 0);
    state.partial_shown = length;
}

void results_sink(const unsigned char* record, int code) {
    switch (code) {
    case kSinkLine:
        add_rest_of_line(record);
        state.output += '\n';
        state.partial_shown = 0;
        break;
    case kSinkPartial: add_rest_of_line(record); break;
    case kSinkMore:
        if (state.input_is_terminal) add_line(record, 0);
        break;
    default: break;
    }
    if (state.output.size() >= kFlushBytes) send_output();
}

// Waits for input with the break signals let in only while waiting, so that none is missed between
// the look at the flag and the wait. False: a break stands.
bool wait_for_input() {
    pollfd waits = {STDIN_FILENO, POLLIN, 0};
    sigset_t breaks;
    sigset_t old;
    sigemptyset(&breaks);
    sigaddset(&breaks, SIGINT);
    sigaddset(&breaks, SIGTERM);
    sigaddset(&breaks, SIGHUP);
    sigprocmask(SIG_BLOCK, &breaks, &old);
    // Other signals, and a break that nobreak has parked, only end a wait: it begins again.
    while (!BreakStands() && ppoll(&waits, 1, nullptr, &old) < 0 && errno == EINTR) {}
    sigprocmask(SIG_SETMASK, &old, nullptr);
    return !BreakStands();
}

// Blocks until bytes of input wait to be taken; 0, or the key that says why there are none.
int fill_input() {
    while (state.next == state.filled) {
        send_output();
        if (!wait_for_input()) return kKeyBreak;
        const ssize_t got = read(STDIN_FILENO, state.input, sizeof state.input);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return kKeyEndOfInput;
        state.next = 0;
        state.filled = size_t(got);
    }
    return 0;
}

int read_key() {
    if (state.queued_next < state.queued.size()) {
        const int key = state.queued[state.queued_next++];
        if (state.queued_next == state.queued.size()) {
            state.queued.clear();
            state.queued_next = 0;
        }
        return key;
    }
    for (;;) {
        if (const int key = fill_input()) return key;
        const unsigned char byte = state.input[state.next++];
        // Among the bytes of a file or a terminal these two are no keys: they mean nothing.
        if (byte != kKeyBreak && byte != kKeyHidden) return byte;
    }
}

void queue_text(const char* text) {
    for (; *text != 0; text++) state.queued += static_cast<unsigned char>(*text);
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

// The pause of a --more--: the terminal hands over whole lines, so a line answers, by its first
// key.
int wait_for_more_key() {
    if (!state.input_is_terminal) return ' ';
    if (!state.queued.empty()) return read_key();
    const int key = read_key();
    for (int rest = key; rest != kKeyEnter && rest != kKeyBreak && rest != kKeyEndOfInput;) {
        rest = read_key();
    }
    return key == kKeyEndOfInput ? 'q' : key;
}

}  // namespace

FrontEnd StdioFrontEnd() {
    std::atexit(send_output);  // what is printed once the session has been cleaned up
    state.input_is_terminal = isatty(STDIN_FILENO) != 0;
    const char* no_colour = std::getenv("NO_COLOR");
    state.colours = isatty(STDOUT_FILENO) && (no_colour == nullptr || *no_colour == 0);
    return {
        .ReadKey = read_key,
        .PumpMessages = send_output,
        .InputWaits = input_waits,
        .QueueText = queue_text,
        .QueueKey = [](int key) { state.queued += char16_t(key); },
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
        .ShowLogStatus = [](const char*) {},
        .shows_typed_text = state.input_is_terminal,
    };
}

}  // namespace korva

// frontend/stdio_frontend.cpp - the front end on standard input and standard output.
//
// From a pipe or a file bytes are keys as they come. At a terminal lines are edited, by readline
// or by the terminal itself, and reach the engine when they have been entered.
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "frontend/frontend.h"
#include "frontend/keyboard.h"
#include "frontend/line_editor.h"
#include "frontend/line_record.h"
#include "frontend/stdio_output.h"
#include "frontend/typed_lines.h"

namespace korva {

namespace {

constexpr int kEscape = 27;
constexpr int kSequenceMs = 20;  // the bytes of one key come faster, typed keys slower

struct StdioState {
    bool input_is_terminal = false;
    bool lines_are_open = false;  // OpenTypedLines was called
    std::u16string queued;        // keys that dialogs or menus have queued; editing keys pass 255
    size_t queued_next = 0;
    std::string note;
};
StdioState state;

void results_sink(const unsigned char* record, int code) {
    if (code != kSinkMore) {
        PutRecord(record, code);
    } else if (state.input_is_terminal && OutputIsTerminal()) {
        ShowMoreLine(record);
    }
}

// The engine's width follows the window.
void fit_window() {
    winsize size = {};
    if (!OutputIsTerminal() || ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return;
    FitWindow(size.ws_col, size.ws_row);
}

// Readline needs a terminal that can move its cursor.
LineEditor choose_editor() {
#ifdef KORVA_HAS_READLINE
    if (OutputIsTerminal() && !TerminalIsDumb()) return ReadlineEditor();
#endif
    return PlainEditor();
}

// The history is read when the first line is: a batch run has none.
void open_typed_lines() {
    state.lines_are_open = true;
    ListenToWindow();
    OpenTypedLines(choose_editor(), OutputIsTerminal() && !TerminalIsDumb() ? HistoryPath() : "");
}

int read_piped_key() {
    for (;;) {
        const int byte = ReadInputByte();
        if (byte == kInputBreak) return kKeyBreak;
        if (byte == kInputEnd) return kKeyEndOfInput;
        // Among the bytes of a file these two are no keys: they mean nothing.
        if (byte != kKeyBreak && byte != kKeyHidden) return byte;
    }
}

int read_typed_key() {
    if (!state.lines_are_open) open_typed_lines();
    const int key = ReadTypedKey();
    if (key == kKeyEnter) fit_window();
    return key;
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
    return state.input_is_terminal ? read_typed_key() : read_piped_key();
}

void queue_text(const char* text) {
    for (; *text != 0; text++) state.queued += static_cast<unsigned char>(*text);
}

bool input_waits() {
    return !state.queued.empty() || TypedKeyWaits() || InputByteWaits(0);
}

void show_prompt(const char* prompt) {
    if (!state.input_is_terminal) return;
    fit_window();
    BeginTypedLine(prompt);
}

// A break that has ended a statement also drops what was entered behind it.
void set_busy(bool busy) {
    if (!busy && state.input_is_terminal && BreakStands()) DropTypedLines();
}

// Lines gather until a call with null shows them: a note must not mix with the results.
void show_note(const char* text) {
    if (text != nullptr) {
        state.note += text;
        if (!state.note.ends_with('\n')) state.note += '\n';
        return;
    }
    SendOutput();
    for (std::string_view rest = state.note; !rest.empty();) {
        const ssize_t done = write(STDERR_FILENO, rest.data(), rest.size());
        if (done <= 0) break;
        rest.remove_prefix(size_t(done));
    }
    state.note.clear();
}

// While it lives the terminal hands over single keys and does not show them.
struct SingleKeys {
    SingleKeys() : changed(tcgetattr(STDIN_FILENO, &before) == 0) {
        if (!changed) return;
        termios single = before;
        single.c_lflag &= ~tcflag_t(ICANON | ECHO);
        single.c_cc[VMIN] = 1;
        single.c_cc[VTIME] = 0;
        tcsetattr(STDIN_FILENO, TCSADRAIN, &single);
    }
    ~SingleKeys() {
        if (changed) tcsetattr(STDIN_FILENO, TCSADRAIN, &before);
    }
    SingleKeys(const SingleKeys&) = delete;
    SingleKeys& operator=(const SingleKeys&) = delete;
    termios before;
    bool changed;
};

// An arrow or another such key sends several bytes, which count as one.
void drop_rest_of_key() {
    int byte = kEscape;
    while (InputByteWaits(kSequenceMs)) {
        byte = ReadInputByte();
        if (byte < 0 || byte == '~' || (byte >= 'A' && byte <= 'Z' && byte != 'O')) return;
    }
}

// The pause of a --more--: one key answers it.
int wait_for_more_key() {
    if (!state.input_is_terminal || !OutputIsTerminal()) return ' ';
    if (!state.queued.empty()) return read_key();
    int key;
    {
        const SingleKeys single;
        key = ReadInputByte();
        if (key == kEscape) drop_rest_of_key();
    }
    RemoveMoreLine();
    if (key == kInputBreak) return kKeyBreak;
    return key == kInputEnd ? 'q' : key;
}

}  // namespace

FrontEnd StdioFrontEnd() {
    std::atexit(SendOutput);  // what is printed once the session has been cleaned up
    OpenStdioOutput();
    keyboard_hooks.before_wait = SendOutput;
    state.input_is_terminal = isatty(STDIN_FILENO) != 0;
    return {
        .ReadKey = read_key,
        .PumpMessages = SendOutput,
        .InputWaits = input_waits,
        .QueueText = queue_text,
        .QueueKey = [](int key) { state.queued += char16_t(key); },
        .SetBusy = set_busy,
        .ShowNote = show_note,
        .ShowMainWindow = fit_window,
        .HideMainWindow = [] {},
        .MinimizeMainWindow = [] {},
        .FocusCommandWindow = [] {},
        .SetTitle = [](const char*) {},
        .AddToReview = [](const char*) {},
        .ShowPrompt = show_prompt,
        .WaitForMoreKey = wait_for_more_key,
        .ResultsSink = results_sink,
        .RefreshVariablesWindow = [] {},
        .SavePreferences = SendOutput,
        .ShowLogStatus = [](const char*) {},
        .shows_typed_text = state.input_is_terminal,
    };
}

}  // namespace korva

// frontend/keyboard.cpp - the buffer of standard input and the wait for it.
#include "frontend/keyboard.h"

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

#include "frontend/frontend.h"

namespace korva {

KeyboardHooks keyboard_hooks;

namespace {

struct InputState {
    char bytes[65536];
    size_t next = 0;  // of the bytes read and not yet taken
    size_t filled = 0;
};
InputState input;

// Raised by the signals of a window; lowered where the hook is called.
volatile sig_atomic_t window_changed = 0;
volatile sig_atomic_t resumed = 0;

void call_window_hooks() {
    if (window_changed) {
        window_changed = 0;
        if (keyboard_hooks.window_changed != nullptr) keyboard_hooks.window_changed();
    }
    if (resumed) {
        resumed = 0;
        if (keyboard_hooks.resumed != nullptr) keyboard_hooks.resumed();
    }
}

// Waits for bytes with the signals let in only while waiting, so that none is missed between the
// look at its flag and the wait. False: a break stands.
bool wait_for_bytes() {
    pollfd waits = {STDIN_FILENO, POLLIN, 0};
    sigset_t held;
    sigset_t old;
    sigemptyset(&held);
    for (int signal_number : {SIGINT, SIGTERM, SIGHUP, SIGWINCH, SIGCONT}) {
        sigaddset(&held, signal_number);
    }
    sigprocmask(SIG_BLOCK, &held, &old);
    for (;;) {
        call_window_hooks();
        // Other signals, and a break that nobreak has parked, only end a wait: it begins again.
        if (BreakStands() || ppoll(&waits, 1, nullptr, &old) >= 0 || errno != EINTR) break;
    }
    sigprocmask(SIG_SETMASK, &old, nullptr);
    return !BreakStands();
}

}  // namespace

void ListenToWindow() {
    struct sigaction action = {};
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;  // only a wait for the user must notice
    action.sa_handler = [](int) { window_changed = 1; };
    sigaction(SIGWINCH, &action, nullptr);
    action.sa_handler = [](int) { resumed = 1; };
    sigaction(SIGCONT, &action, nullptr);
}

int WaitForInput() {
    while (input.next == input.filled) {
        if (keyboard_hooks.before_wait != nullptr) keyboard_hooks.before_wait();
        if (!wait_for_bytes()) return kInputBreak;
        const ssize_t got = read(STDIN_FILENO, input.bytes, sizeof input.bytes);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return kInputEnd;
        input.next = 0;
        input.filled = size_t(got);
    }
    return 0;
}

int ReadInputByte() {
    if (const int code = WaitForInput()) return code;
    return static_cast<unsigned char>(input.bytes[input.next++]);
}

bool InputByteWaits(int timeout_ms) {
    if (input.next < input.filled) return true;
    pollfd waits = {STDIN_FILENO, POLLIN, 0};
    return poll(&waits, 1, timeout_ms) > 0;
}

void DropInput() {
    input.next = input.filled;
}

}  // namespace korva

// frontend/keyboard.h - the bytes of standard input, a terminal's or a pipe's.
//
// There is one buffer: whoever reads a line, a key or a paste takes from it, so that nothing typed
// ahead is lost between two of them. Waiting lets the break signals in and comes back when one has
// arrived.
#pragma once

namespace korva {

// What ReadInputByte returns beside a byte.
constexpr int kInputEnd = -1;
constexpr int kInputBreak = -2;  // a break stands

// Called while a byte is waited for; null: nothing is.
struct KeyboardHooks {
    void (*before_wait)();     // the user is about to be waited for: what was printed must be seen
    void (*window_changed)();  // the window has another size
    void (*resumed)();         // the program was stopped and goes on: the terminal's mode is lost
};
extern KeyboardHooks keyboard_hooks;  // defined in keyboard.cpp; read there

// Begins to listen for changes of the window and for a continued program. For terminals only.
void ListenToWindow();

// Blocks until a byte can be taken, the input has ended or a break stands: 0 or a code above.
int WaitForInput();

// Takes the next byte, 0 to 255, or a code above; blocks.
int ReadInputByte();

// True if a byte can be taken within the time. A signal ends the wait early.
bool InputByteWaits(int timeout_ms);

// Forgets what was read ahead and not taken.
void DropInput();

}  // namespace korva

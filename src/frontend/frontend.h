// frontend/frontend.h - what the engine demands of a front end, as one list of operations.
//
// A front end fills a FrontEnd and installs it before SessionMain runs. The engine owns the loop:
// it calls these, and is called back by nobody. Without one, the do-nothing operations below serve.
#pragma once

#include <cstddef>
#include <string>

namespace korva {

// Codes that ReadKey returns beside bytes. Function keys are 351 to 360; 328 to 371 belong to
// editing.
constexpr int kKeyBreak = 7;        // a break arrived while waiting
constexpr int kKeyEnter = 10;       // ends the line
constexpr int kKeyHidden = 255;     // the next line is neither echoed nor put in the review
constexpr int kKeyEndOfInput = -1;  // there will be no more keys: the session ends quietly

struct FrontEnd {
    int (*ReadKey)();                     // the next key; blocks
    void (*PumpMessages)();               // dispatches all waiting events
    bool (*InputWaits)();                 // an event or key waits
    void (*QueueText)(const char* text);  // adds text to the key queue
    void (*QueueKey)(int key);
    void (*SetBusy)(bool busy);
    void (*ShowNote)(const char* text);  // gathers a line of a message box; null shows the box
    void (*ShowMainWindow)();
    void (*HideMainWindow)();
    void (*MinimizeMainWindow)();
    void (*FocusCommandWindow)();
    void (*SetTitle)(const char* text);
    void (*AddToReview)(const char* line);
    void (*ShowPrompt)(const char* prompt);                      // a line will be read next
    int (*WaitForMoreKey)();                                     // the wait of a --more--: the key
    void (*ResultsSink)(const unsigned char* record, int code);  // frontend/line_record.h; code 1,
                                                                 // 2, 3, 5
    void (*RefreshVariablesWindow)();
    void (*SavePreferences)();
    void (*ShowLogStatus)(const char* text);  // "log on (tmrk)", "log off (text)"; "" when closed
    bool shows_typed_text;  // the terminal shows a line as it is typed: the engine does not echo it
};
extern FrontEnd frontend;  // defined in core/frontend_default.cpp with do-nothing operations

// The standard-input and standard-output front end (frontend/stdio_frontend.cpp).
FrontEnd StdioFrontEnd();

// What a front end calls of the engine.
int SessionMain(int argc, char** argv);  // core/session.cpp
bool BreakStands();                      // core/poll.cpp: a break is in force

// What one with a terminal asks beside that (core/user_terminal.cpp).
bool StatementGoesOn();                 // the line to be read goes on with a statement that runs
std::string FunctionKeyText(int key);   // the macro of a function key, 1 to 10; may be empty
std::string HistoryPath();              // the file for typed lines; empty: there is no place for it
void FitWindow(int columns, int rows);  // linesize and pagesize follow the window, unless set

}  // namespace korva

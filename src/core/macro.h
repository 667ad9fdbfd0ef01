// core/macro.h - macros: text under a name, global or of one level.
//
// The store key of a global macro is its name; that of a local one has `_` in front and lives in
// the kind of its level. An undefined macro and an empty one are the same.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/types.h"

namespace korva {

struct MacroState {
    int32_t MacroLevel = 0;  // 0 at the top level; kind of its locals: kKindLocalMacro + MacroLevel
    int32_t TempNameCounter = 0;  // of __000000
    int32_t TempFileCounter = 0;  // running count of temporary files, 1 to 1,544,000,000
    int32_t SessionNumber = -1;   // 0 to 998, claimed at start-up by the marker file; -1: none
    int MarkerFd = -1;            // of the marker file, locked while the session lives
    char TempDirectory[kMaxFileNameBytes + 1] = {};  // without a final separator
};
extern MacroState macros;  // defined in core/macro.cpp

// Stores `value` (cut at macrolen - 1) under the store key; an empty value drops the macro. The
// value may lie inside the macro's own present text. 950 when memory is refused.
ReturnCode SetMacro(std::string_view key, std::string_view value);

// The same for a kind told: c_local stores into the caller's level.
ReturnCode SetMacroOfKind(std::string_view key, int32_t kind, std::string_view value);

// The value under the store key; empty when undefined. Valid until the next change of the store.
// S_DATE and S_TIME are made as they are read.
std::string_view MacroValue(std::string_view key);

void DropMacro(std::string_view key);

// The same for a local macro of the current level by its plain name.
ReturnCode SetLocal(std::string_view name, std::string_view value);
std::string_view LocalValue(std::string_view name);
void DropLocal(std::string_view name);

// A level begins or ends: PushFrame and PopFrame. The end drops the level's local macros.
void RaiseMacroLevel();
void DropMacroLevel();

// In the current level, the macro 0 is the whole text and 1, 2, ... its tokens, split at blanks,
// quotes respected and removed. 1004 when the text is longer than a macro may be.
ReturnCode SetArguments(std::string_view text);

// Replaces every macro in ConsoleBuffer, in place, and puts the scanner at its start. 920 with its
// words when the line grows beyond conslen or a place expands more than 20 times; the line is then
// empty.
ReturnCode ExpandMacros();

// Expands the macros of any text into `result`: for loop conditions and the like.
ReturnCode ExpandText(std::string_view text, std::string* result);

// The number as macro text: "%18.0g", trimmed, always with a decimal point.
std::string MacroNumber(double x);

// Reads the whole text, blanks around it aside, as a number or a missing value; false: it is
// neither.
bool ParseMacroNumber(std::string_view text, double* x);

// Adds `step` to the number in the macro of the store key and stores the result. 111 when the macro
// is undefined, 109 when its value is no number of at most 39 characters, with their words.
ReturnCode IncrementMacro(std::string_view key, double step);

// What stands behind a macro's name, at the scanner: `=exp`, `:function`, or text with its outer
// quotes removed. Empty for nothing. 198 for a quote that is not closed; else the code of what
// failed.
ReturnCode ScanMacroValue(std::string* value);

// The list that the current foreach has not yet handed out; empty outside of one.
std::string_view ForeachRest();

// --- core/temporaries.cpp ---

// A new temporary name into buffer[kMaxNameBytes + 1]: __ and six base-36 digits.
void NewTempName(char* buffer);

// A new temporary file's path into buffer[kMaxFileNameBytes + 1].
void NewTempFile(char* buffer);

// Finds the temporary directory (KORVATMP, TEMP, TMPDIR, /tmp) and claims the session's number by
// creating its marker file; false, with words, when no marker could be made.
bool StartTemporaries();
void EndTemporaries();  // deletes the marker and the files that remain

// The end of a level: drops the matrices, scalars, value labels and postfile records named since
// `name_counter` and, if `delete_files`, the files made since `file_counter`. Temporary variables
// go through DropTemporaryVariables (core/upcalls.h).
void DropTemporariesSince(int32_t name_counter, int32_t file_counter, bool delete_files);

// If `name` is a temporary name, its count since the session began; else -1.
int32_t TempNameNumber(std::string_view name);

// --- core/macro_functions.cpp ---

// The extended function at the scanner (the word behind the colon and its arguments) into *result.
// 920 when the result is longer than a macro may be.
ReturnCode RunMacroFunction(std::string* result);

}  // namespace korva

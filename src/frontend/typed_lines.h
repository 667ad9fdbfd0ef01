// frontend/typed_lines.h - from the lines that a user edits at a terminal to the keys that the
// engine reads.
//
// The engine asks line by line: BeginTypedLine, then ReadTypedKey up to kKeyEnter. Behind it stand
// the line editor, the lines of a paste or of a recalled block that are still to be handed over,
// the joining of lines that end in ///, and the history.
#pragma once

#include <string>

#include "frontend/line_editor.h"

namespace korva {

// To be called once, before the others. history: the file of typed lines; empty: none.
void OpenTypedLines(const LineEditor& editor, const std::string& history);

// A command line will be read next, behind this prompt. Without the call what is read next answers
// a question: it is neither completed nor kept.
void BeginTypedLine(const char* prompt);

// The next key, or kKeyBreak, kKeyEndOfInput; blocks.
int ReadTypedKey();

// A key is left of what was entered already.
bool TypedKeyWaits();

// Forgets lines that were pasted, recalled or typed ahead: a break drops them.
void DropTypedLines();

}  // namespace korva

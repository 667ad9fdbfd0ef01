// frontend/line_editor.h - what reads a line from a terminal while the user edits it.
//
// Two things fulfil this: the plain editor, which leaves editing to the terminal's own line mode,
// and the one on GNU readline, with history, search and completion. typed_lines.h calls them.
#pragma once

#include <deque>
#include <string>
#include <string_view>

namespace korva {

// What stands in a line before the user types.
struct EditedText {
    std::string text;
    int cursor = 0;  // 0-based byte of text at which the cursor stands
};

// The line that is wanted.
struct LineRequest {
    std::string prompt;             // complete: the line begins with it at the first column
    const EditedText* unfinished;   // stands behind the prompt
    std::string_view statement;     // the lines in front of this one that belong to the same
                                    // statement, joined by LF; empty: the line begins one
    bool is_command;                // false: an answer, without completion and history
    std::string_view text_on_line;  // the part of the prompt that stands on the screen already
};

// What the user has typed.
struct TypedText {
    std::string text;                // accepted and on the screen; a recalled block holds LFs
    std::deque<std::string> pasted;  // lines pasted behind it; not yet on the screen
    EditedText unfinished;           // pasted behind them without a line end
};

enum class TypedOutcome { Line, Break, EndOfInput };

struct LineEditor {
    // Reads one line. With a Break nothing was typed, and the cursor stands behind the dropped
    // line, which the caller ends.
    TypedOutcome (*ReadLine)(const LineRequest& request, TypedText* typed);
    // Adds an entry of one or more lines, joined by LF, to what can be recalled; replaces_last: it
    // is the last one, grown by a line.
    void (*Remember)(const std::string& entry, bool replaces_last);
};

LineEditor PlainEditor();  // plain_editor.cpp

#ifdef KORVA_HAS_READLINE
LineEditor ReadlineEditor();  // readline_editor.cpp
#endif

}  // namespace korva

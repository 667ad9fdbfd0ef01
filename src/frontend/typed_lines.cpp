// frontend/typed_lines.cpp - lines, statements and the history of a terminal.
//
// What belongs to one statement is the engine's to say: a line that it asks for while a statement
// runs goes on with it. So the history's entry grows line by line, in the file at once and in the
// editor's memory before the next line is edited; a block pasted in ten thousand lines would be
// copied as often otherwise.
#include "frontend/typed_lines.h"

#include <deque>

#include "frontend/frontend.h"
#include "frontend/history.h"
#include "frontend/keyboard.h"
#include "frontend/stdio_output.h"

namespace korva {

namespace {

constexpr const char* kGoesOn = "> ";  // the prompt of a line that goes on with a statement

// A line that was entered and has not been handed over.
struct PendingLine {
    std::string text;
    bool shown = false;    // it is on the screen already
    bool goes_on = false;  // it was recalled together with the line before
};

struct TypedLinesState {
    LineEditor editor = {};
    std::string prompt;       // of the line that the engine asks for
    bool is_command = false;  // it asked through BeginTypedLine

    std::deque<PendingLine> pending;
    EditedText unfinished;  // pasted without a line end: the next line begins with it

    std::string line;      // being handed over
    size_t line_next = 0;  // index in it of the next key
    bool handing = false;

    std::string entry;             // the statement as entered so far
    bool entry_is_new = false;     // the editor does not know it yet
    bool entry_has_grown = false;  // or not all of it
};
TypedLinesState typed;

// How far quotes stand open while lines are joined.
struct JoinState {
    bool plain_string = false;
    int compound_depth = 0;
};

// Where a comment begins that joins the next line, by the rule of do-files: /// at the start of a
// line or behind a blank, outside of strings and of a comment behind //. npos: there is none.
size_t find_joiner(std::string_view line, JoinState* state) {
    bool after_blank = true;
    for (size_t i = 0; i < line.size(); i++) {
        const std::string_view rest = line.substr(i);
        if (!state->plain_string && rest.starts_with("`\"")) {
            state->compound_depth++;
            i++;
        } else if (state->compound_depth > 0 && !state->plain_string && rest.starts_with("\"'")) {
            state->compound_depth--;
            i++;
        } else if (line[i] == '"' && state->compound_depth == 0) {
            state->plain_string = !state->plain_string;
        } else if (after_blank && !state->plain_string && state->compound_depth == 0 &&
                   rest.starts_with("//")) {
            return rest.starts_with("///") ? i : std::string_view::npos;
        }
        after_blank = line[i] == ' ' || line[i] == '\t';
    }
    return std::string_view::npos;
}

// Lines that go on with a statement have a prompt of their own, unless the engine has put something
// else there, such as the number of a program's line.
std::string visible_prompt() {
    if (!typed.is_command || !StatementGoesOn()) return typed.prompt;
    const bool ordinary = typed.prompt == ". " || (typed.prompt.empty() && TextOnLine().empty());
    return ordinary ? kGoesOn : typed.prompt;
}

// Brings the editor's memory up to the lines entered so far.
void tell_editor() {
    if (typed.entry_is_new || typed.entry_has_grown) {
        typed.editor.Remember(typed.entry, !typed.entry_is_new);
    }
    typed.entry_is_new = typed.entry_has_grown = false;
}

void remember(const std::string& line, bool begins) {
    if (begins || typed.entry.empty()) {
        tell_editor();
        typed.entry.clear();
        if (line.find_first_not_of(" \t") == std::string::npos) return;
        typed.entry = line;
        typed.entry_is_new = true;
    } else {
        typed.entry += '\n';
        typed.entry += line;
        typed.entry_has_grown = true;
    }
    RecordHistory(line, typed.entry_is_new && !typed.entry_has_grown);
}

// Adds accepted text to the pending lines: a recalled block is several.
void add_shown_lines(std::string_view text) {
    for (bool goes_on = false;; goes_on = true) {
        const size_t end = text.find('\n');
        typed.pending.push_back({std::string(text.substr(0, end)), true, goes_on});
        if (end == std::string_view::npos) return;
        text.remove_prefix(end + 1);
    }
}

TypedOutcome edit_line(const std::string& prompt, bool begins) {
    if (BreakStands()) return TypedOutcome::Break;  // the pause in front of the prompt was broken
    tell_editor();
    const EditedText unfinished = std::move(typed.unfinished);
    typed.unfinished = {};
    const LineRequest request = {
        .prompt = TextOnLine() + prompt,
        .unfinished = &unfinished,
        .statement = begins ? std::string_view() : std::string_view(typed.entry),
        .is_command = typed.is_command,
        .text_on_line = TextOnLine(),
    };
    TypedText text;
    const TypedOutcome outcome = typed.editor.ReadLine(request, &text);
    if (outcome != TypedOutcome::Line) return outcome;
    ForgetTextOnLine();
    add_shown_lines(text.text);
    for (std::string& line : text.pasted) typed.pending.push_back({std::move(line)});
    typed.unfinished = std::move(text.unfinished);
    return outcome;
}

// Takes the next line as the user entered it, from what is pending or from the editor. *begins: it
// begins a statement as far as the engine knows; false when the user has recalled them as one.
TypedOutcome next_line(const std::string& prompt, bool* begins, PendingLine* line) {
    if (typed.pending.empty()) {
        const TypedOutcome outcome = edit_line(prompt, *begins);
        if (outcome != TypedOutcome::Line) return outcome;
    } else if (!typed.pending.front().shown || !TextOnLine().empty()) {
        PutText(prompt);
        PutText(typed.pending.front().text);
        PutText("\n");
        ForgetTextOnLine();
    }
    *line = std::move(typed.pending.front());
    if (line->goes_on) *begins = false;
    typed.pending.pop_front();
    return TypedOutcome::Line;
}

// The next logical line, into typed.line: lines that end in /// joined.
TypedOutcome read_statement_line() {
    const std::string first_prompt = visible_prompt();
    bool begins = typed.is_command && !StatementGoesOn();
    typed.line.clear();
    JoinState state;
    for (bool joined = false;; joined = true) {
        PendingLine line;
        const std::string& prompt = joined ? kGoesOn : first_prompt;
        const TypedOutcome outcome = next_line(prompt, &begins, &line);
        if (outcome == TypedOutcome::EndOfInput && joined) return TypedOutcome::Line;
        if (outcome != TypedOutcome::Line) return outcome;
        if (typed.is_command) remember(line.text, begins);
        begins = false;
        const size_t joiner = typed.is_command ? find_joiner(line.text, &state) : std::string::npos;
        typed.line.append(line.text, 0, joiner);
        if (joiner == std::string::npos) return TypedOutcome::Line;
    }
}

}  // namespace

void OpenTypedLines(const LineEditor& editor, const std::string& history) {
    typed.editor = editor;
    for (const std::string& entry : LoadHistory(history)) typed.editor.Remember(entry, false);
}

void BeginTypedLine(const char* prompt) {
    typed.prompt = prompt;
    typed.is_command = true;
}

int ReadTypedKey() {
    if (!typed.handing) {
        const TypedOutcome outcome = read_statement_line();
        if (outcome == TypedOutcome::Break) DropTypedLines();
        typed.prompt.clear();
        typed.is_command = false;
        if (outcome == TypedOutcome::Break) return kKeyBreak;
        if (outcome == TypedOutcome::EndOfInput) return kKeyEndOfInput;
        typed.handing = true;
        typed.line_next = 0;
    }
    while (typed.line_next < typed.line.size()) {
        const unsigned char byte = typed.line[typed.line_next++];
        // Among typed bytes these mean nothing; a line end ended the line.
        if (byte != kKeyBreak && byte != kKeyHidden && byte != kKeyEnter) return byte;
    }
    typed.handing = false;
    return kKeyEnter;
}

bool TypedKeyWaits() {
    return typed.handing || !typed.pending.empty();
}

void DropTypedLines() {
    typed.pending.clear();
    typed.unfinished = {};
    typed.handing = false;
    DropInput();
}

}  // namespace korva

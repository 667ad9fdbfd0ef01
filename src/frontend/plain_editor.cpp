// frontend/plain_editor.cpp - lines from a terminal that edits them itself, or cannot edit at all.
#include "frontend/frontend.h"
#include "frontend/keyboard.h"
#include "frontend/line_editor.h"
#include "frontend/stdio_output.h"

namespace korva {

namespace {

TypedOutcome read_line(const LineRequest& request, TypedText* typed) {
    PutText(std::string_view(request.prompt).substr(request.text_on_line.size()));
    for (;;) {
        const int byte = ReadInputByte();
        if (byte == kInputBreak) return TypedOutcome::Break;
        if (byte == kInputEnd) {
            return typed->text.empty() ? TypedOutcome::EndOfInput : TypedOutcome::Line;
        }
        if (byte == '\n') return TypedOutcome::Line;
        typed->text += char(byte);
    }
}

}  // namespace

LineEditor PlainEditor() {
    return {read_line, [](const std::string&, bool) {}};
}

}  // namespace korva

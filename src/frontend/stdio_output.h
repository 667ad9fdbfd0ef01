// frontend/stdio_output.h - records as bytes on standard output, gathered.
//
// A read, enough text, or the pump, which Poll calls every few milliseconds, sends what has
// gathered: a write for each line that is flushed would cost more than making it.
#pragma once

#include <string>
#include <string_view>

namespace korva {

// Looks whether standard output is a terminal, and whether it may have colours.
void OpenStdioOutput();
bool OutputIsTerminal();
// The terminal knows no escape sequences, or nobody has said which it knows.
bool TerminalIsDumb();

// The front end's ResultsSink, but for code 5, which is shown by ShowMoreLine.
void PutRecord(const unsigned char* record, int code);

// The line of a --more--, and its removal once it has been answered.
void ShowMoreLine(const unsigned char* record);
void RemoveMoreLine();

// Adds text as it stands, such as a prompt or a line that is shown in place of its typing.
void PutText(std::string_view text);

void SendOutput();

// What stands on the line of the cursor, in front of a prompt, without its attributes. It is
// forgotten once the user has ended the line.
const std::string& TextOnLine();
void ForgetTextOnLine();

}  // namespace korva

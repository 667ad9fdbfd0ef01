// core/print.h - the print primitives, the one way by which a command shows anything.
//
// All work on the current stream, which output/ owns and where they are defined. Each returns the
// pending return code of the engine (kBreak while a break stands), so that a loop of prints can
// stop. What is printed shows only if session.MessageLevel is at least session.OutputThreshold.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/types.h"

namespace korva {

ReturnCode out_text(std::string_view text);    // literal text, in the style of the current kind
ReturnCode out_result(std::string_view text);  // the same in result style, whatever the kind
ReturnCode out_plain(std::string_view text);   // literal text, no style change
ReturnCode out_tmrk(std::string_view text);    // mark-up, no style change
ReturnCode out_char(int c);                    // 10 and 32 as mark-up, others as text
ReturnCode out_newline();
ReturnCode out_spaces(int n);
ReturnCode out_fill(char c, int n);  // n copies of c; n <= 0 nothing
ReturnCode out_repeat(std::string_view text, int n);
ReturnCode out_text_pad(std::string_view text, int n);  // the text, then n spaces
ReturnCode out_int(int64_t i);
ReturnCode out_buffer();         // the number buffer that fmt_number filled
ReturnCode out_bar();            // {c |} in the style of the kind
ReturnCode out_rule(int level);  // a rule over the line; level 1: in old-help mode
ReturnCode out_hilite(int level, std::string_view text);
ReturnCode out_error(std::string_view text);  // kind 3 from here on, out_reset, then the text
ReturnCode out_reset();                       // ends a paragraph or as-is block left open
ReturnCode out_flush();
ReturnCode out_style();
ReturnCode out_page_text(std::string_view text);   // --more--'s line counter zeroed around it
ReturnCode out_page_input(std::string_view text);  // the same in input style

// printf into the primitives above; the finished text may have any length.
ReturnCode out_textf(const char* format, ...) __attribute__((format(printf, 1, 2)));
ReturnCode out_tmrkf(const char* format, ...) __attribute__((format(printf, 1, 2)));
ReturnCode out_errorf(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The echo of a line that the terminal has shown already: to the logs only.
ReturnCode out_echo_to_logs(std::string_view text);

// Start-up and end of the Results stream (output/results.cpp). False if memory is refused.
bool OpenResultsStream();
void CloseResultsStream();
void SetResultsWidth(int columns);  // the linesize setting; clamped to 40..255
void SetResultsPaging(int pagesize, bool more);
int ResultsWidth();

// Attaches or removes a log file, by its descriptor, on the Results stream; markup: the source text
// goes in, else the rendered lines. False when there is no place or it was not there.
bool AttachResultsLog(int fd, bool markup);
bool DetachResultsLog(int fd, bool markup);

// False once a write to the attached log came up short: nothing more went to it from then on.
bool ResultsLogIsWhole(int fd, bool markup);

// The number formatter (output/number_format.cpp): the value as `format` shows it, with its
// padding. The text stays valid until the next call; it is also what out_buffer() prints. An
// invalid format counts as %9.0g.
const char* fmt_number(std::string_view format, double value);

// True if the text is a display format for numbers (strings = false) or for strings (true).
bool fmt_is_valid(std::string_view format, bool strings);

// Width in columns of what the format shows: the number in front of the `.` or the letter.
int fmt_width(std::string_view format);

}  // namespace korva

// output/render.h - from mark-up to placed text: what stream, directives and paragraphs share.
#pragma once

#include <cstdint>
#include <string_view>

#include "output/stream.h"

namespace korva {

// Renders a piece of what came through the door in the stream's mode. Directives call it for their
// text.
void render(OutputStream* s, std::string_view text);

// Writes text that holds no directives, newlines and tabs included, in the style given.
void write_text(OutputStream* s, std::string_view text, uint8_t style);

// n copies of c as part of the text; in a paragraph they belong to the word in progress.
void write_fill(OutputStream* s, char c, int n, uint8_t style);

// {tab}: to the next multiple of 8, at least one column; line mode only.
void write_tab(OutputStream* s);

// Places text in which tabs are filled; no newlines.
void place_tabbed(OutputStream* s, std::string_view text, uint8_t style);

// Old-help mode (output/old_help.cpp): whole lines, unfinished ones are held.
void render_old_help(OutputStream* s, std::string_view text);

// output/measure.cpp: columns that the mark-up takes, and those of its first word.
int measure_text(const OutputStream* s, std::string_view markup);
int measure_first_word(const OutputStream* s, std::string_view markup);

// A stream in the caller's memory, without logs: what measuring and start-up use.
void init_stream(OutputStream* s, StreamSink sink, void* sink_data, int width);

// --- output/paragraph.cpp: the filler ---

// Fills the paragraph with text; a newline counts as two spaces.
void fill_text(OutputStream* s, std::string_view text, uint8_t style);

// Places the word that waits for its end, if there is one.
void place_pending_word(OutputStream* s);

// Breaks the line, or writes the gap, so that n columns of a word fit at the cursor.
void make_room(OutputStream* s, int n);

// The cursor's place for what cannot wait as part of a word: the pending word is placed, or else
// the gap, on a line that has room for n more columns. What is written next follows without a gap.
void begin_at_cursor(OutputStream* s, int n);

// Where the next character would go: the cursor behind the pending word.
int cursor_column(const OutputStream* s);

// Starts a paragraph (indents and right margin are cut as the width demands).
void start_paragraph(OutputStream* s, int first, int next, int right);

// --- output/directives.cpp ---

// Runs the text between the braces of a directive; false: it is none, and must show as text.
bool run_directive(OutputStream* s, std::string_view text);

// False if what stands behind an opening brace begins no directive, whatever may follow.
bool may_be_directive(std::string_view text);

}  // namespace korva

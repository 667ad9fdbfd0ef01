// output/line.h - building one line of a stream: text, style runs, links, anchors, and its record.
#pragma once

#include <cstdint>
#include <string_view>

#include "output/stream.h"

namespace korva {

// Begins an empty line: the paragraph's indent, and the link that was parked at the end of the last
// one.
void start_line(OutputStream* s);

// Sends the line to text logs and sink, and pauses at the end of a page. start_line() comes next.
void emit_line(OutputStream* s);

inline void end_line(OutputStream* s) {
    emit_line(s);
    start_line(s);
}

// Places text at the cursor; what passes the width goes to a new line behind "> ".
void place_text(OutputStream* s, std::string_view text, uint8_t style);

// n copies of c in place; n <= 0 nothing.
void place_fill(OutputStream* s, char c, int n, uint8_t style);

// Opens a link at the cursor; false when its argument is too long or the table is full.
bool open_link(OutputStream* s, int kind, std::string_view args);
void close_link(OutputStream* s);  // ends it at the cursor; nothing if none is open
void drop_link(OutputStream* s);   // forgets it across the end of a mode

// Adds the name, cut at 32 bytes, to the line's anchors; false when they are full.
bool add_anchor(OutputStream* s, std::string_view name);

// The record of the line as it stands, into record[kMaxRecordBytes].
void build_record(const OutputStream* s, uint8_t* record);

}  // namespace korva

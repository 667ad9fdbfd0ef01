// output/stream.h - the output stream: mark-up goes in, finished lines come out.
//
// A stream is made by out_stream_new(), given a sink and a mode, fed through out_raw() and
// out_literal(), and ended by out_stream_close(). It lays the text out in lines of at most `width`
// columns and hands each to its sink as a line record (frontend/line_record.h). It allocates
// nothing as it runs.
#pragma once

#include <cstdint>
#include <string_view>

#include "frontend/line_record.h"
#include "output/log_set.h"

namespace korva {

enum : uint32_t {
    kModeNone = 0,
    kModeAsIs = 1,
    kModeLine = 2,
    kModeParagraph = 3,
    kModeOldHelp = 4
};

enum : uint32_t { kLinkNone = 1, kLinkOpen = 2, kLinkParked = 3 };

constexpr int kMaxLineColumns = 255;  // a column is one byte in the record
constexpr int kMinLineColumns = 40;
constexpr int kLinkTableBytes = 765;  // limits of the record, which keep it small enough to be kept
constexpr int kAnchorBytes = 99;
constexpr int kRunBytes = 512;
constexpr int kHeldBytes = 1024;
constexpr int kMaxWordBytes = 255;
constexpr int kMaxRecordBytes = 10 + kLinkTableBytes + kAnchorBytes + kRunBytes + kMaxLineColumns +
                                1;
constexpr char kHardSpace = 19;  // in paragraphs: a blank that does not end a word

// Receives records and control codes; the result counts for code 5 only: the key pressed.
using StreamSink = int (*)(void* sink_data, const uint8_t* record, int code);

struct OutputStream {
    uint32_t mode = kModeNone;     // set only by out_stream_set_mode
    uint8_t suppressed = 0;        // everything is dropped at the door
    uint8_t closed = 0;            // log attachment is refused
    StreamSink sink = nullptr;     // may be absent
    StreamSink control = nullptr;  // takes the codes that are merely forwarded; may be absent
    void* sink_data = nullptr;     // first argument of both
    int32_t width = 79;
    int32_t match_held = 0;  // bytes of "{tmrk}" + LF that ended the last chunk
    uint8_t style = kStyleText;
    uint8_t newline_ends_line = 1;   // 0: the next newline is absorbed
    uint8_t skip_first_newline = 1;  // as-is and old-help: one LF at the very start is dropped
    uint8_t underline_capable = 0;   // the sink can show underlining
    uint8_t in_more = 0;
    uint8_t korva_link_kind = 21;  // 22 while text from the net is typed
    uint8_t lumo_link_kind = 23;   // 24 likewise
    uint32_t page_lines = 0;       // 0: no paging
    uint32_t lines_on_page = 0;
    uint8_t more_enabled = 0;
    int32_t depth = 0;               // nesting of the renderer; 1 is the top level of the text
    uint8_t swallow_newline = 0;     // after {p_end}: drop one LF at the start of the next chunk
    uint8_t last_chunk_newline = 0;  // paragraph: 10 if the last top-level chunk ended in LF
    int32_t first_indent = 0;        // of the next line to start
    int32_t next_indent = 0;         // of the lines after it
    int32_t para_line = 0;           // lines emitted in this paragraph
    int32_t saved_width = 79;        // width before the paragraph's right margin
    int32_t blank_after_para = 1;    // the paragraph ends with an empty line
    LogSet tmrk_logs;                // these receive the source text
    LogSet text_logs;                // these receive the rendered lines
    LogBuffer* tmrk_log_buffer = nullptr;
    LogBuffer* text_log_buffer = nullptr;
    int32_t held_len = 0;  // a directive not yet closed, or an unfinished old-help line
    char held[kHeldBytes];
    int32_t word_len = 0;  // paragraph: the word not yet placed
    char word[kMaxWordBytes];
    uint8_t word_styles[kMaxWordBytes];
    uint8_t link_in_word = 0;  // a link is open over that word
    uint8_t long_word = 0;     // paragraph: a word longer than `word` is being placed as it comes
    int32_t p2_col1 = 1;
    int32_t p2_col2 = 31;
    int32_t p2_col3 = 35;
    int32_t p2_right = 0;
    int32_t p2_dent = 2;
    uint32_t after_sentence = 1;  // last word: 0 ordinary, 1 sentence mark, 2 none on this line
    int32_t spaces_seen = 2;      // spaces in the source since the last word
    uint8_t space_style = kStyleText;  // in force when they were read
    char* anchors_next = nullptr;
    uint32_t link_state = kLinkNone;
    char* links_next = nullptr;
    char* link_current = nullptr;  // the open entry
    uint8_t link_kind = 0;         // what to open again on the next line
    const char* link_args = nullptr;
    char link_args_buffer[256];
    int32_t column = 0;             // columns used in the line being built
    uint8_t line_fresh = 1;         // nothing but an indent was written to the line
    uint8_t line_mode = kModeNone;  // mode at the start of the line
    uint8_t runs[kRunBytes];        // as in the record, like the next three
    char links[kLinkTableBytes];
    char anchors[kAnchorBytes];
    char text[kMaxLineColumns + 1];
    uint32_t mode_changes = 0;  // how the renderer sees that a directive changed the mode
    int32_t binding = 0;        // inside {bind}: blanks do not end words
    uint64_t copy_bytes_left = UINT64_MAX;  // {dup} stops where it is used up, and leaves 0
    int32_t measuring = 0;                  // streams that wait for the width of this one's text
};

struct StreamState {
    int32_t width;
    uint8_t underline_capable;
};

// A stream with two log buffers, in mode 0; null when memory is refused. The session's first one
// also renders the --more-- line.
OutputStream* out_stream_new();

// Ends the mode, sends the sink codes 3 and 4, flushes and drops the logs, frees all.
void out_stream_close(OutputStream* s);

void out_stream_set_sink(OutputStream* s, StreamSink sink, void* sink_data);
void out_stream_set_width(OutputStream* s, int columns);  // clamped to 40..255
void out_stream_get_state(const OutputStream* s, StreamState* saved);
void out_stream_set_state(OutputStream* s, const StreamState& saved);

// Closes the present mode, which ends a line in progress, and starts a fresh line in the new one.
void out_stream_set_mode(OutputStream* s, uint32_t mode);

// Shows an unfinished line, tells the sink to flush, and writes the log buffers out.
void out_stream_flush(OutputStream* s);

// The only door for mark-up; the second for the same as text, braces and all.
void out_raw(OutputStream* s, std::string_view bytes);
void out_literal(OutputStream* s, std::string_view bytes);

// For contents of files: CR, LF and CR LF are one newline. *state, 0 at the start of a file,
// remembers a CR at the end of a block.
void out_raw_newlines(uint8_t* state, OutputStream* s, std::string_view bytes);
void out_literal_newlines(uint8_t* state, OutputStream* s, std::string_view bytes);

enum class LogOp : uint8_t { Add = 1, Remove = 2, RemoveUnflushed = 3 };

// Adds or removes a file of the source text, with the preamble that lets it be read from there on;
// and of the rendered lines. Adding one that is there does nothing. False: the set is full, the
// file was not there, or the stream is closed.
bool out_log_attach(OutputStream* s, int fd, LogOp op);
bool out_text_log_attach(OutputStream* s, int fd, LogOp op);

// The pause of a --more--: 0, or 113 when the user stops the command.
int out_more_pause(OutputStream* s);

}  // namespace korva

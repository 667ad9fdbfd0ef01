// output/stream.cpp - a stream's life, its modes, its door and its logs.
//
// "{tmrk}" + LF is no directive: the door looks for it at the end of each chunk, so that it is
// understood even in as-is mode, where nothing else is, and even when two calls bring its halves.
#include "output/stream.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

#include "core/alloc.h"
#include "core/poll.h"
#include "output/line.h"
#include "output/render.h"

namespace korva {

namespace {

constexpr std::string_view kSequence = "{tmrk}\n";
constexpr int kMoreRecordBytes = 80;
constexpr size_t kJoinBytes = 1024;  // lines of files up to this size are one chunk
constexpr int kMoreStop = 113;       // the key q, and the code of a stopped pause

// The --more-- line and a bare newline as records, rendered once.
struct MoreRecords {
    bool ready = false;
    uint8_t line[kMoreRecordBytes] = {};
    uint8_t newline[kMoreRecordBytes] = {};
};
MoreRecords more_records;

int keep_record(void* slot, const uint8_t* record, int code) {
    const int length = code == kSinkLine ? record_length(record) : 0;
    if (length > 0 && length <= kMoreRecordBytes) memcpy(slot, record, size_t(length));
    return 0;
}

void render_slot(uint8_t* slot, std::string_view markup) {
    OutputStream s;
    init_stream(&s, keep_record, slot, 79);
    out_stream_set_mode(&s, kModeLine);
    out_raw(&s, markup);
    out_stream_set_mode(&s, kModeNone);
}

void render_more_records() {
    if (more_records.ready) return;
    render_slot(more_records.line, "{clearmore:{hline 2}more{hline 2}}\n");
    render_slot(more_records.newline, "\n");
    more_records.ready = true;
}

// How many bytes of the sequence the text ends with, the longest match first.
int match_at_end(std::string_view text) {
    const size_t k = kSequence.find(text.back()) + 1;
    if (k == 0 || k > text.size()) return 0;  // every byte of the sequence stands in it once
    return text.ends_with(kSequence.substr(0, k)) ? int(k) : 0;
}

// What waited for the next chunk shows. A directive in it may change the mode.
void release_held(OutputStream* s) {
    const auto match = size_t(s->match_held);
    s->match_held = 0;
    render(s, kSequence.substr(0, match));
    if (s->held_len > 0) render(s, "\n");
}

void end_mode(OutputStream* s) {
    switch (s->mode) {
    case kModeAsIs:
    case kModeLine:
    case kModeOldHelp:
        if (!s->line_fresh) emit_line(s);
        break;
    case kModeParagraph:
        place_pending_word(s);
        if (!s->line_fresh) emit_line(s);
        if (s->blank_after_para) {
            s->first_indent = s->next_indent = 0;
            start_line(s);
            emit_line(s);
        }
        s->width = s->saved_width;
        break;
    default: break;
    }
    drop_link(s);
}

std::string_view class_directive(uint8_t style) {
    switch (style & kClassMask) {
    case kStyleResult: return "{res}";
    case kStyleText: return "{txt}";
    case kStyleInput: return "{com}";
    default: return "{err}";
    }
}

std::string_view weight_directive(uint8_t style) {
    if (style & kStyleBold) return "{bf}";
    if (style & kStyleItalic) return "{it}";
    return "{sf}";
}

// Most chunks are a short piece of plain text or a newline, in line mode with nothing held back:
// these are placed without the renderer. False, with nothing done: the chunk takes the long way.
bool place_plainly(OutputStream* s, std::string_view bytes) {
    if (s->mode != kModeLine || s->depth != 0 || s->held_len > 0 || s->match_held > 0) return false;
    if (s->swallow_newline || !s->newline_ends_line) return false;
    if (bytes == "\n") {
        end_line(s);
        return true;
    }
    if (int64_t(bytes.size()) > s->width - s->column) return false;
    for (char c : bytes) {
        if (c == '{' || c == '\n' || c == '\t') return false;
    }
    place_text(s, bytes, s->style);
    return true;
}

// What a log must hold to be read from here on: the style and the mode in force. False when the
// write came up short.
bool write_preamble(const OutputStream* s, int fd) {
    const uint8_t style = s->line_fresh ? s->style : s->runs[2];
    std::string_view mode = "";
    char paragraph[64];
    if (s->mode == kModeAsIs) mode = "{asis}\n";
    if (s->mode == kModeOldHelp) mode = "{k6hlp}\n";
    if (s->mode == kModeParagraph) {
        snprintf(paragraph, sizeof paragraph, "{p %d %d %d}\n", s->first_indent, s->next_indent,
                 s->saved_width - s->width);
        mode = paragraph;
    }
    char text[128];
    size_t n = 0;
    for (std::string_view part :
         {kSequence, class_directive(style), weight_directive(style),
          std::string_view(style & kStyleUnderline ? "{ul on}" : "{ul off}"), mode}) {
        memcpy(text + n, part.data(), part.size());
        n += part.size();
    }
    return log_write_file(fd, {text, n});
}

bool change_log_set(OutputStream* s, LogSet* set, LogBuffer* buffer, int fd, LogOp op) {
    if (s->closed) return false;
    if (op != LogOp::RemoveUnflushed) log_flush(set, buffer);
    return op == LogOp::Add ? log_add(set, fd) : log_remove(set, fd);
}

using Door = void (*)(OutputStream* s, std::string_view bytes);

// In one piece, since the end of a chunk counts.
void end_with_newline(OutputStream* s, std::string_view line, Door door) {
    char joined[kJoinBytes];
    if (line.size() < sizeof joined) {
        memcpy(joined, line.data(), line.size());
        joined[line.size()] = '\n';
        door(s, {joined, line.size() + 1});
    } else {
        door(s, line);
        door(s, "\n");
    }
}

// A line at a time, whatever ended it.
void feed_newlines(uint8_t* state, OutputStream* s, std::string_view bytes, Door door) {
    if (s == nullptr) return;
    bool after_cr = *state != 0;
    *state = 0;
    while (!bytes.empty()) {
        if (after_cr && bytes[0] == '\n') bytes.remove_prefix(1);
        after_cr = false;
        const size_t end = bytes.find_first_of("\r\n");
        if (end == std::string_view::npos) {
            door(s, bytes);
            return;
        }
        if (bytes[end] == '\n') {
            door(s, bytes.substr(0, end + 1));
        } else {
            end_with_newline(s, bytes.substr(0, end), door);
            after_cr = true;
        }
        bytes.remove_prefix(end + 1);
    }
    *state = after_cr;
}

}  // namespace

void init_stream(OutputStream* s, StreamSink sink, void* sink_data, int width) {
    s->sink = sink;
    s->sink_data = sink_data;
    s->width = s->saved_width = width;
    start_line(s);
}

OutputStream* out_stream_new() {
    void* object = EngineAlloc(sizeof(OutputStream));
    void* source = EngineAlloc(sizeof(LogBuffer));
    void* rendered = EngineAlloc(sizeof(LogBuffer));
    if (object == nullptr || source == nullptr || rendered == nullptr) {
        EngineFree(object);
        EngineFree(source);
        EngineFree(rendered);
        return nullptr;
    }
    render_more_records();
    OutputStream* s = new (object) OutputStream;
    s->tmrk_log_buffer = new (source) LogBuffer;
    s->text_log_buffer = new (rendered) LogBuffer;
    init_stream(s, nullptr, nullptr, 79);
    return s;
}

void out_stream_close(OutputStream* s) {
    if (s == nullptr) return;
    out_stream_set_mode(s, kModeNone);
    s->closed = 1;
    if (s->sink != nullptr) {
        s->sink(s->sink_data, nullptr, kSinkFlush);
        s->sink(s->sink_data, nullptr, kSinkClose);
    }
    log_flush(&s->tmrk_logs, s->tmrk_log_buffer);
    log_flush(&s->text_logs, s->text_log_buffer);
    EngineFree(s->tmrk_log_buffer);
    EngineFree(s->text_log_buffer);
    EngineFree(s);
}

void out_stream_set_sink(OutputStream* s, StreamSink sink, void* sink_data) {
    s->sink = sink;
    s->sink_data = sink_data;
}

void out_stream_set_width(OutputStream* s, int columns) {
    const int margin = s->mode == kModeParagraph ? s->saved_width - s->width : 0;
    s->saved_width = std::clamp(columns, kMinLineColumns, kMaxLineColumns);
    s->width = std::max(s->saved_width - margin, kMinLineColumns / 2);
}

void out_stream_get_state(const OutputStream* s, StreamState* saved) {
    saved->width = s->mode == kModeParagraph ? s->saved_width : s->width;
    saved->underline_capable = s->underline_capable;
}

void out_stream_set_state(OutputStream* s, const StreamState& saved) {
    out_stream_set_width(s, saved.width);
    s->underline_capable = saved.underline_capable;
}

void out_stream_set_mode(OutputStream* s, uint32_t mode) {
    release_held(s);
    const bool after_bare_paragraph = s->mode == kModeParagraph && !s->blank_after_para;
    end_mode(s);
    s->mode = mode;
    s->mode_changes++;
    s->swallow_newline = mode == kModeLine && after_bare_paragraph;
    s->newline_ends_line = 1;
    s->skip_first_newline = 1;
    if (mode == kModeLine || mode == kModeParagraph) s->depth = 0;
    if (mode == kModeOldHelp) s->style = kStyleText;
    if (mode == kModeParagraph) {
        s->word_len = 0;
        s->after_sentence = 1;
        s->spaces_seen = 2;
        s->space_style = s->style;
        s->last_chunk_newline = 0;
        s->para_line = 0;
        s->blank_after_para = 1;
        s->saved_width = s->width;
        s->link_in_word = 0;
        s->long_word = 0;
    }
    start_line(s);
}

void out_stream_flush(OutputStream* s) {
    if (s->sink != nullptr) {
        if (!s->line_fresh) {
            uint8_t record[kMaxRecordBytes];
            build_record(s, record);
            s->sink(s->sink_data, record, kSinkPartial);
        }
        s->sink(s->sink_data, nullptr, kSinkFlush);
    }
    if (s->tmrk_logs.count > 0) log_flush(&s->tmrk_logs, s->tmrk_log_buffer);
    if (s->text_logs.count > 0) log_flush(&s->text_logs, s->text_log_buffer);
}

void out_raw(OutputStream* s, std::string_view bytes) {
    if (bytes.empty() || s->suppressed) return;
    if (s->tmrk_logs.count > 0) log_write(&s->tmrk_logs, s->tmrk_log_buffer, bytes);
    if (place_plainly(s, bytes)) return;

    if (s->match_held > 0) {
        const size_t held = size_t(s->match_held);
        if (kSequence.substr(held).starts_with(bytes)) {
            s->match_held += int32_t(bytes.size());
            if (size_t(s->match_held) < kSequence.size()) return;
            s->match_held = 0;
            out_stream_set_mode(s, kModeLine);
            return;
        }
        s->match_held = 0;
        render(s, kSequence.substr(0, held));
    }
    const int match = match_at_end(bytes);
    render(s, bytes.substr(0, bytes.size() - size_t(match)));
    if (match == int(kSequence.size())) {
        out_stream_set_mode(s, kModeLine);
    } else {
        s->match_held = match;
    }
}

void out_literal(OutputStream* s, std::string_view bytes) {
    if (s->mode == kModeAsIs || s->mode == kModeOldHelp) {
        out_raw(s, bytes);
        return;
    }
    while (!bytes.empty()) {
        size_t brace = 0;
        while (brace < bytes.size() && bytes[brace] != '{' && bytes[brace] != '}') brace++;
        out_raw(s, bytes.substr(0, brace));
        if (brace == bytes.size()) return;
        out_raw(s, bytes[brace] == '{' ? "{c -(}" : "{c )-}");
        bytes.remove_prefix(brace + 1);
    }
}

void out_raw_newlines(uint8_t* state, OutputStream* s, std::string_view bytes) {
    feed_newlines(state, s, bytes, out_raw);
}

void out_literal_newlines(uint8_t* state, OutputStream* s, std::string_view bytes) {
    feed_newlines(state, s, bytes, out_literal);
}

bool out_log_attach(OutputStream* s, int fd, LogOp op) {
    const bool is_there = log_has(s->tmrk_logs, fd);
    const bool is_dead = op != LogOp::Add && !log_is_alive(s->tmrk_logs, fd);
    if (!change_log_set(s, &s->tmrk_logs, s->tmrk_log_buffer, fd, op)) return false;
    if (op == LogOp::Add && is_there) return true;
    // Nothing goes behind the place where a log broke off.
    if (!is_dead && !write_preamble(s, fd)) log_mark_dead(&s->tmrk_logs, fd);
    return true;
}

bool out_text_log_attach(OutputStream* s, int fd, LogOp op) {
    return change_log_set(s, &s->text_logs, s->text_log_buffer, fd, op);
}

int out_more_pause(OutputStream* s) {
    s->in_more = 0;
    if (s->sink == nullptr || !s->more_enabled || !more_records.ready) return 0;
    s->in_more = 1;
    const int key = s->sink(s->sink_data, more_records.line, kSinkMore);
    s->in_more = 0;
    s->lines_on_page = 0;
    if (key == 3 || key == kMoreStop) {
        RaiseBreak();
        return kMoreStop;
    }
    if (key == '\n' || key == '\r' || key == 'l') s->lines_on_page = s->page_lines;
    return 0;
}

}  // namespace korva

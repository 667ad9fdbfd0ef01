// output/print.cpp - the print primitives.
//
// Each asks first whether its text shows: a dropped print costs that comparison and a Poll.
#include "core/print.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "core/poll.h"
#include "core/session.h"
#include "output/line.h"
#include "output/number_format.h"
#include "output/results.h"

namespace korva {

namespace {

constexpr int kDroppedPoll = 5;    // every fifth dropped print lets the message queue run
constexpr int kFillBlock = 510;    // below it copies are built in one buffer
constexpr int kPrintBytes = 1024;  // a formatted text up to this size needs no memory

ReturnCode pending_code() {
    return session.BreakFlag ? kBreak : 0;
}

bool shows() {
    return OutputShows() && print_state.current != nullptr;
}

ReturnCode drop() {
    Poll(kDroppedPoll);
    return pending_code();
}

uint8_t class_of_kind() {
    switch (session.MessageLevel) {
    case kLevelResult: return kStyleResult;
    case kLevelError: return kStyleError;
    case kLevelInput: return kStyleInput;
    default: return kStyleText;
    }
}

bool holds_back(const OutputStream* s) {
    return s->held_len > 0 || s->match_held > 0;
}

// Line mode, with nothing held back: what an earlier print left open ends.
void end_what_is_open(OutputStream* s) {
    if (s->mode != kModeLine || holds_back(s)) out_raw(s, "{tmrk}\n");
}

// Input begins plainly, whatever the output before it left open.
void begin_input(OutputStream* s) {
    end_what_is_open(s);
    s->newline_ends_line = 1;
    if ((s->style & kClassMask) != kStyleInput) out_raw(s, "{com}");
    if (s->style & (kStyleItalic | kStyleBold)) out_raw(s, "{sf}");
    if (s->style & kStyleUnderline) out_raw(s, "{ul off}");
}

void begin_kind(OutputStream* s) {
    if (session.MessageLevel == kLevelInput) {
        begin_input(s);
        return;
    }
    if (s->mode != kModeLine && s->mode != kModeParagraph) return;
    const uint8_t wanted = class_of_kind();
    if (!holds_back(s) && (s->style & kClassMask) == wanted) return;
    switch (wanted) {
    case kStyleResult: out_raw(s, "{res}"); break;
    case kStyleError: out_raw(s, "{err}"); break;
    default: out_raw(s, "{txt}"); break;
    }
}

// The finished text of a printf, in `block` or, if that is too small, in memory of its own.
std::string_view format_text(char* block, std::vector<char>* memory, const char* format,
                             va_list args) {
    va_list again;
    va_copy(again, args);
    int n = vsnprintf(block, kPrintBytes, format, args);
    if (n >= kPrintBytes) {
        memory->resize(size_t(n) + 1);
        n = vsnprintf(memory->data(), memory->size(), format, again);
        block = memory->data();
    }
    va_end(again);
    return {block, size_t(std::max(n, 0))};
}

}  // namespace

ReturnCode out_text(std::string_view text) {
    if (!shows()) return drop();
    begin_kind(print_state.current);
    out_literal(print_state.current, text);
    return pending_code();
}

ReturnCode out_result(std::string_view text) {
    const LevelGuard level(kLevelResult);
    return out_text(text);
}

ReturnCode out_plain(std::string_view text) {
    if (!shows()) return drop();
    out_literal(print_state.current, text);
    return pending_code();
}

ReturnCode out_tmrk(std::string_view text) {
    if (!shows()) return drop();
    out_raw(print_state.current, text);
    return pending_code();
}

ReturnCode out_char(int c) {
    const char byte = char(c);
    if (c == '\n' || c == ' ') return out_tmrk({&byte, 1});
    return out_text({&byte, 1});
}

ReturnCode out_newline() {
    return out_char('\n');
}

ReturnCode out_spaces(int n) {
    return out_fill(' ', n);
}

ReturnCode out_fill(char c, int n) {
    if (n <= 0) return pending_code();
    if (!shows()) return drop();
    if (n < kFillBlock) {
        char block[kFillBlock];
        memset(block, c, size_t(n));
        const std::string_view text{block, size_t(n)};
        return c == ' ' ? out_tmrk(text) : out_text(text);
    }
    for (int i = 0; i < n; i++) {
        const ReturnCode rc = c == ' ' ? out_tmrk(" ") : out_text({&c, 1});
        if (rc) return rc;
    }
    return pending_code();
}

ReturnCode out_repeat(std::string_view text, int n) {
    for (int i = 0; i < n; i++) {
        if (ReturnCode rc = out_text(text)) return rc;
    }
    return pending_code();
}

ReturnCode out_text_pad(std::string_view text, int n) {
    if (ReturnCode rc = out_text(text)) return rc;
    return out_spaces(n);
}

ReturnCode out_int(int64_t i) {
    char text[24];
    const auto end = std::to_chars(text, text + sizeof text, i);
    return out_text({text, size_t(end.ptr - text)});
}

ReturnCode out_buffer() {
    return out_text({number_buffer.text, size_t(number_buffer.length)});
}

ReturnCode out_bar() {
    if (!shows()) return drop();
    begin_kind(print_state.current);
    return out_tmrk("{c |}");
}

ReturnCode out_rule(int level) {
    if (!shows()) return drop();
    begin_kind(print_state.current);
    return out_tmrk(level == 1 ? ".-\n" : "{.-}\n");
}

ReturnCode out_hilite(int level, std::string_view text) {
    if (!shows()) return drop();
    if (level > 1) return out_tmrk("{hilite:" + std::string(text) + "}");  // one call, any length
    out_raw(print_state.current, "^");
    out_literal(print_state.current, text);
    return out_tmrk("^");
}

ReturnCode out_error(std::string_view text) {
    session.MessageLevel = kLevelError;
    out_reset();
    return out_text(text);
}

ReturnCode out_reset() {
    if (shows()) end_what_is_open(print_state.current);
    return pending_code();
}

ReturnCode out_flush() {
    if (shows()) out_stream_flush(print_state.current);
    return pending_code();
}

ReturnCode out_style() {
    if (shows()) begin_kind(print_state.current);
    return pending_code();
}

ReturnCode out_page_text(std::string_view text) {
    if (!shows()) return pending_code();
    OutputStream* s = print_state.current;
    s->lines_on_page = 0;
    const ReturnCode rc = out_text(text);
    s->lines_on_page = 0;
    return rc;
}

ReturnCode out_page_input(std::string_view text) {
    const LevelGuard guard(kLevelInput);
    return out_page_text(text);
}

ReturnCode out_textf(const char* format, ...) {
    if (!shows()) return drop();
    char block[kPrintBytes];
    std::vector<char> memory;
    va_list args;
    va_start(args, format);
    const std::string_view text = format_text(block, &memory, format, args);
    va_end(args);
    return out_text(text);
}

ReturnCode out_tmrkf(const char* format, ...) {
    if (!shows()) return drop();
    char block[kPrintBytes];
    std::vector<char> memory;
    va_list args;
    va_start(args, format);
    const std::string_view text = format_text(block, &memory, format, args);
    va_end(args);
    return out_tmrk(text);
}

ReturnCode out_errorf(const char* format, ...) {
    char block[kPrintBytes];
    std::vector<char> memory;
    va_list args;
    va_start(args, format);
    const std::string_view text = format_text(block, &memory, format, args);
    va_end(args);
    return out_error(text);
}

ReturnCode out_echo_to_logs(std::string_view text) {
    OutputStream* s = print_state.results;
    if (s == nullptr || kLevelInput < session.OutputThreshold) return pending_code();
    begin_input(s);
    const StreamSink sink = s->sink;
    s->sink = nullptr;
    out_literal(s, text);
    s->sink = sink;
    s->lines_on_page = 0;
    if (s->line_fresh) {  // the sink must not take the next line for the one that it has seen begin
        uint8_t record[kMaxRecordBytes];
        build_record(s, record);
        if (sink != nullptr) sink(s->sink_data, record, kSinkPartial);
    }
    return pending_code();
}

}  // namespace korva

// output/line.cpp - the line in the making has the form of its record, so that sending it is
// copying.
//
// The links array holds a count, entries and two zero bytes; `links_next` stands on the first of
// the two. The last run of `runs` grows while the style stays; an empty run is never kept.
#include "output/line.h"

#include <algorithm>
#include <cstring>

namespace korva {

namespace {

constexpr int kMaxAnchorName = 32;
constexpr int kFillBlock = 64;  // bytes placed at a time

void append(OutputStream* s, const char* bytes, int n, uint8_t style) {
    if (n <= 0) return;
    uint8_t* run = s->runs + 2 + 2 * s->runs[0];
    const uint8_t start = run[-1];
    if (run[0] != style) {
        if (run[1] != start) {  // not empty: it stays, and a new one begins where it ended
            run += 2;
            s->runs[0]++;
        }
        run[0] = style;
    }
    char* to = s->text + s->column;
    memcpy(to, bytes, size_t(n));
    if (s->mode == kModeParagraph) std::replace(to, to + n, kHardSpace, ' ');
    s->column += n;
    run[1] = uint8_t(s->column);
    s->line_fresh = 0;
}

// The link's entry ends with the line; it is entered again on the next.
void park_link(OutputStream* s) {
    if (s->link_state != kLinkOpen) return;
    close_link(s);
    s->link_state = kLinkParked;
}

void write_text_logs(OutputStream* s) {
    char line[kMaxLineColumns + 1];
    memcpy(line, s->text, size_t(s->column));
    int start = 0;
    for (int i = 0; i <= s->runs[0]; i++) {
        const uint8_t* run = s->runs + 2 + 2 * i;
        if (run[0] & kStyleGraphic) {
            for (int col = start; col < run[1]; col++) line[col] = plain_graphic(line[col]);
        }
        start = run[1];
    }
    line[s->column] = '\n';
    log_write(&s->text_logs, s->text_log_buffer, {line, size_t(s->column) + 1});
}

void put_u16(uint8_t* at, int value) {
    at[0] = uint8_t(value);
    at[1] = uint8_t(value >> 8);
}

}  // namespace

void start_line(OutputStream* s) {
    s->column = 0;
    s->line_mode = uint8_t(s->mode);
    s->runs[0] = 0;
    s->runs[1] = 0;
    s->runs[2] = s->style;
    s->runs[3] = 0;
    s->links[0] = s->links[1] = s->links[2] = 0;
    s->links_next = s->links + 1;
    s->anchors[0] = 0;
    s->anchors_next = s->anchors;
    if (s->mode == kModeParagraph) {
        if (s->first_indent > 0 && s->first_indent < s->width - 5) {
            place_fill(s, ' ', s->first_indent, kStyleText);
        }
        s->first_indent = s->next_indent;
    }
    s->line_fresh = 1;
    if (s->link_state == kLinkParked) {
        s->link_state = kLinkNone;
        open_link(s, s->link_kind, s->link_args);  // refused: the rest of the text is no link
    }
}

void emit_line(OutputStream* s) {
    park_link(s);
    if (s->text_logs.count > 0) write_text_logs(s);
    if (s->sink != nullptr) {
        uint8_t record[kMaxRecordBytes];
        build_record(s, record);
        if (s->mode == kModeParagraph) s->para_line++;
        s->sink(s->sink_data, record, kSinkLine);
    }
    if (s->page_lines > 0 && s->more_enabled) {
        s->lines_on_page++;
        if (s->lines_on_page >= s->page_lines) out_more_pause(s);
    }
}

void place_text(OutputStream* s, std::string_view text, uint8_t style) {
    while (s->column + int64_t(text.size()) > s->width) {
        const int room = std::max(0, s->width - s->column);
        append(s, text.data(), room, style);
        text.remove_prefix(size_t(room));
        end_line(s);
        append(s, "> ", 2, style);
    }
    append(s, text.data(), int(text.size()), style);
}

void place_fill(OutputStream* s, char c, int n, uint8_t style) {
    char block[kFillBlock];
    memset(block, c, sizeof block);
    for (; n > 0; n -= kFillBlock) {
        place_text(s, {block, size_t(std::min(n, kFillBlock))}, style);
    }
}

bool open_link(OutputStream* s, int kind, std::string_view args) {
    const int used = int(s->links_next - s->links) + 1;
    if (args.size() >= 255 || used + 6 + int(args.size()) > kLinkTableBytes) return false;
    if (!args.empty()) memmove(s->link_args_buffer, args.data(), args.size());
    s->link_args_buffer[args.size()] = 0;
    char* entry = s->links_next;
    entry[0] = char(s->column);
    entry[1] = 0;
    entry[2] = char(kind);
    entry[3] = char(args.size() + 1);
    memcpy(entry + 4, s->link_args_buffer, args.size() + 1);
    s->links_next = entry + 5 + args.size();
    s->links_next[0] = s->links_next[1] = 0;
    s->links[0]++;
    s->link_current = entry;
    s->link_kind = uint8_t(kind);
    s->link_args = s->link_args_buffer;
    s->link_state = kLinkOpen;
    return true;
}

void close_link(OutputStream* s) {
    if (s->link_state == kLinkOpen) {
        if (uint8_t(s->link_current[0]) == s->column) {  // nothing was written under it
            s->links_next = s->link_current;
            s->links_next[0] = s->links_next[1] = 0;
            s->links[0]--;
        } else {
            s->link_current[1] = char(s->column);
        }
    }
    s->link_state = kLinkNone;
}

void drop_link(OutputStream* s) {
    s->link_state = kLinkNone;
    s->link_in_word = 0;
}

bool add_anchor(OutputStream* s, std::string_view name) {
    name = name.substr(0, std::min(name.find('\0'), size_t(kMaxAnchorName)));
    if (name.empty()) return false;  // would end the list
    const size_t used = size_t(s->anchors_next - s->anchors);
    if (used + name.size() + 2 > kAnchorBytes) return false;
    memcpy(s->anchors_next, name.data(), name.size());
    s->anchors_next += name.size();
    *s->anchors_next++ = 0;
    *s->anchors_next = 0;  // the empty string that closes the list
    return true;
}

void build_record(const OutputStream* s, uint8_t* record) {
    int at = 10;
    const auto add = [&](const void* bytes, size_t n) {
        memcpy(record + at, bytes, n);
        at += int(n);
    };
    add(s->links, size_t(s->links_next - s->links) + 2);
    put_u16(record + 2, at);
    add(s->anchors, size_t(s->anchors_next - s->anchors) + 1);
    put_u16(record + 4, at);
    add(s->runs, 4 + 2 * size_t(s->runs[0]));
    put_u16(record + 6, at);
    add(s->text, size_t(s->column));
    record[at++] = 0;
    put_u16(record, at);
    record[8] = s->line_mode == kModeParagraph && s->para_line > 0;
    record[9] = uint8_t(s->column + 1);
}

}  // namespace korva

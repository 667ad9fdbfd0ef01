// output/paragraph.cpp - the filler: words in, lines out.
//
// The last word of a piece is not placed until something ends it, since a directive may go on with
// it: {bf:bold}face is one word. Its characters keep their own styles meanwhile. A word that is too
// long to wait is given up: all of it up to the next blank is placed as it comes (`long_word`), so
// that its lines do not depend on the pieces that brought it.
#include "output/render.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "output/line.h"

namespace korva {

namespace {

bool is_sentence_mark(char c) {
    return c == '.' || c == '!' || c == '?' || c == ':';
}

// Columns of blank ahead of the next word on this line.
int gap_columns(const OutputStream* s) {
    if (s->line_fresh) return 0;
    if (s->after_sentence == 2 && s->spaces_seen == 0) return 0;
    return s->after_sentence == 1 && s->spaces_seen >= 2 ? 2 : 1;
}

void note_word(OutputStream* s, char last) {
    s->after_sentence = is_sentence_mark(last);
    s->spaces_seen = 0;
}

// Writes the pending word run by run. A link over it ends where its colour does.
void write_pending_word(OutputStream* s) {
    const int n = s->word_len;
    s->word_len = 0;
    for (int start = 0, end; start < n; start = end) {
        const uint8_t style = s->word_styles[start];
        for (end = start; end < n && s->word_styles[end] == style; end++) {}
        if (s->link_in_word && (style & kClassMask) != kStyleLink) {
            close_link(s);
            s->link_in_word = 0;
        }
        place_text(s, {s->word + start, size_t(end - start)}, style);
    }
    if (s->link_in_word) close_link(s);
    s->link_in_word = 0;
}

// The pending word and a part that ends it; or, for no pending word, the part alone.
void place_word(OutputStream* s, std::string_view part, uint8_t style) {
    make_room(s, s->word_len + int(part.size()));
    if (s->word_len > 0) write_pending_word(s);
    place_text(s, part, style);
    note_word(s, part.back());
}

// A word too long to wait for its end: it goes out on a line of its own, cut at the width.
void give_up_word(OutputStream* s, std::string_view part, uint8_t style) {
    if (!s->line_fresh) end_line(s);
    write_pending_word(s);
    place_text(s, part, style);
    s->after_sentence = 2;
    s->spaces_seen = 0;
    s->long_word = 1;
}

void add_to_pending(OutputStream* s, std::string_view part, uint8_t style) {
    memcpy(s->word + s->word_len, part.data(), part.size());
    memset(s->word_styles + s->word_len, style, part.size());
    s->word_len += int32_t(part.size());
}

void fill_piece(OutputStream* s, std::string_view piece, uint8_t style) {
    while (!piece.empty()) {
        if (piece[0] == ' ') {
            place_pending_word(s);
            s->spaces_seen++;
            s->space_style = style;
            piece.remove_prefix(1);
            continue;
        }
        const size_t end = piece.find(' ');
        const std::string_view part = piece.substr(0, end);
        if (s->long_word) {
            place_text(s, part, style);
        } else if (size_t(s->word_len) + part.size() > kMaxWordBytes) {
            give_up_word(s, part, style);
        } else if (end == std::string_view::npos) {
            add_to_pending(s, part, style);
        } else {
            place_word(s, part, style);
        }
        piece.remove_prefix(part.size());
    }
}

// A piece with its blanks made hard, a block at a time.
void fill_bound(OutputStream* s, std::string_view piece, uint8_t style) {
    char block[kMaxLineColumns];
    while (!piece.empty()) {
        const size_t n = std::min(piece.size(), sizeof block);
        std::replace_copy(piece.begin(), piece.begin() + std::ptrdiff_t(n), block, ' ', kHardSpace);
        fill_piece(s, {block, n}, style);
        piece.remove_prefix(n);
    }
}

void fill_line(OutputStream* s, std::string_view piece, uint8_t style) {
    if (s->binding > 0) {
        fill_bound(s, piece, style);
    } else {
        fill_piece(s, piece, style);
    }
}

}  // namespace

void fill_text(OutputStream* s, std::string_view text, uint8_t style) {
    while (!text.empty()) {
        size_t end = 0;
        while (end < text.size() && text[end] != '\n' && text[end] != '\t') end++;
        fill_line(s, text.substr(0, end), style);
        if (end == text.size()) return;
        fill_line(s, "  ", style);
        text.remove_prefix(end + 1);
    }
}

void place_pending_word(OutputStream* s) {
    s->long_word = 0;
    if (s->word_len == 0) return;
    const char last = s->word[s->word_len - 1];
    make_room(s, s->word_len);
    write_pending_word(s);
    note_word(s, last);
}

void make_room(OutputStream* s, int n) {
    const int gap = gap_columns(s);
    if (!s->line_fresh && s->column + gap + n > s->width) {
        end_line(s);
    } else {
        place_fill(s, ' ', gap, s->space_style);
    }
}

void begin_at_cursor(OutputStream* s, int n) {
    if (!s->long_word) make_room(s, s->word_len + n);
    if (s->word_len > 0) write_pending_word(s);
    s->after_sentence = 2;
    s->spaces_seen = 0;
}

int cursor_column(const OutputStream* s) {
    if (s->mode != kModeParagraph || s->word_len == 0) return s->column;
    return s->column + gap_columns(s) + s->word_len;
}

void start_paragraph(OutputStream* s, int first, int next, int right) {
    char anchors[kAnchorBytes];
    const bool keep_anchors = s->line_fresh && s->word_len == 0;
    const std::ptrdiff_t anchors_used = s->anchors_next - s->anchors;
    memcpy(anchors, s->anchors, sizeof anchors);

    out_stream_set_mode(s, kModeLine);
    first = std::min(first, s->width - 20);
    next = std::min(next, s->width - 20);
    right = std::max(0, std::min(right, s->width - 20 - std::max(first, next)));
    s->first_indent = first;
    s->next_indent = next;
    out_stream_set_mode(s, kModeParagraph);
    s->width -= right;

    if (keep_anchors) {
        memcpy(s->anchors, anchors, sizeof anchors);
        s->anchors_next = s->anchors + anchors_used;
    }
}

}  // namespace korva

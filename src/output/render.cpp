// output/render.cpp - walks the text from brace to brace.
//
// A chunk is what one call brought. Two rules hang on its end: an unclosed brace waits for the next
// chunk unless this one ends in LF, and an empty line ends a paragraph.
#include "output/render.h"

#include <algorithm>
#include <cstring>

#include "output/line.h"

namespace korva {

namespace {

constexpr int kMaxDepth = 100;  // directives inside each other; deeper ones show as text

// Finds the closing braces of one chunk. The scan that finds that a brace stays open also sees
// which of those behind it do, and keeps the first of them: with a scan for each, a long text of
// such braces would take minutes.
struct BraceFinder {
    static constexpr size_t kKept = 256;
    size_t next = 0;         // of the kept ones, the first not passed yet
    size_t count = 0;        // kept
    size_t from_end[kKept];  // bytes from the brace to the end of the chunk

    // Position of the brace that closes the one at rest[0]; npos if there is none. `rest` is what
    // is left of the chunk.
    size_t closing(std::string_view rest) {
        while (next < count && from_end[next] > rest.size()) next++;
        const bool keep = next == count;  // else those ahead of the next kept one do close
        if (!keep && from_end[next] == rest.size()) return std::string_view::npos;
        size_t open = 0;
        for (size_t i = 0; i < rest.size(); i++) {
            if (rest[i] == '{') {
                if (keep && open > 0 && open <= kKept) from_end[open - 1] = rest.size() - i;
                open++;
            } else if (rest[i] == '}' && --open == 0) {
                return i;
            }
        }
        next = 0;
        count = std::min(open - 1, kKept);
        return std::string_view::npos;
    }
};

// False if the brace at chunk[0] is text however it closes: a long chunk need not be scanned then.
bool worth_closing(const OutputStream* s, std::string_view chunk) {
    if (s->depth >= kMaxDepth) return false;
    return chunk.size() < kHeldBytes || may_be_directive(chunk.substr(1));
}

void render_as_is(OutputStream* s, std::string_view text) {
    if (s->skip_first_newline && text[0] == '\n') text.remove_prefix(1);
    s->skip_first_newline = 0;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        place_text(s, text.substr(0, end), s->style);
        if (end == std::string_view::npos) return;
        end_line(s);
        text.remove_prefix(end + 1);
    }
}

void end_line_at_newline(OutputStream* s) {
    if (s->newline_ends_line) {
        end_line(s);
    } else {
        s->newline_ends_line = 1;
    }
}

void write_line_text(OutputStream* s, std::string_view text, uint8_t style) {
    while (!text.empty()) {
        const size_t end = text.find('\n');
        place_tabbed(s, text.substr(0, end), style);
        if (end == std::string_view::npos) return;
        end_line_at_newline(s);
        text.remove_prefix(end + 1);
    }
}

// True if the chunk is an empty line that ends the paragraph.
bool ends_paragraph(OutputStream* s, std::string_view chunk) {
    if (chunk.back() != '\n') {
        s->last_chunk_newline = 0;
        return false;
    }
    const size_t first = chunk.find_first_not_of(" \t");
    if (chunk[first] == '\n' && first + 1 == chunk.size() && s->last_chunk_newline) return true;
    s->last_chunk_newline = 10;
    return false;
}

// Renders a chunk up to its end, or up to a change of the mode: what is left then is rendered anew.
std::string_view render_chunk(OutputStream* s, std::string_view chunk) {
    s->depth++;
    if (s->mode == kModeLine && s->swallow_newline) {
        s->swallow_newline = 0;
        if (chunk[0] == '\n') chunk.remove_prefix(1);
    }
    if (s->mode == kModeParagraph && s->depth == 1 && ends_paragraph(s, chunk)) {
        out_stream_set_mode(s, kModeLine);
        return {};
    }
    BraceFinder braces;
    while (!chunk.empty()) {
        const size_t brace = chunk.find('{');
        write_text(s, chunk.substr(0, brace), s->style);
        if (brace == std::string_view::npos) break;
        chunk.remove_prefix(brace);

        const size_t close = worth_closing(s, chunk) ? braces.closing(chunk)
                                                     : std::string_view::npos;
        const uint32_t changes = s->mode_changes;
        if (close == std::string_view::npos) {
            if (s->depth == 1 && chunk.back() != '\n' && chunk.size() < kHeldBytes) {
                memcpy(s->held, chunk.data(), chunk.size());
                s->held_len = int32_t(chunk.size());
                break;
            }
        } else if (run_directive(s, chunk.substr(1, close - 1))) {
            chunk.remove_prefix(close + 1);
            if (s->mode_changes == changes) continue;
            s->depth = 0;  // only a directive at the top level changes the mode
            return chunk;
        }
        write_text(s, "{", s->style);
        chunk.remove_prefix(1);
    }
    s->depth--;
    return {};
}

// Renders what was held together with as much of the new text as there is room for; returns the
// rest.
std::string_view render_held(OutputStream* s, std::string_view chunk) {
    char joined[kHeldBytes];
    const size_t held = size_t(s->held_len);
    memcpy(joined, s->held, held);
    const size_t taken = std::min(chunk.size(), kHeldBytes - held);
    memcpy(joined + held, chunk.data(), taken);
    s->held_len = 0;
    std::string_view text{joined, held + taken};
    if (taken == 0) {  // full: its brace is no directive's
        write_text(s, "{", s->style);
        text.remove_prefix(1);
    }
    render(s, text);
    return chunk.substr(taken);
}

// Length of the first line, its LF included; a LF inside braces ends none if they close soon, as
// those of a directive do.
size_t line_length(std::string_view chunk) {
    int open = 0;
    size_t first = std::string_view::npos;  // LF inside braces
    for (size_t i = 0; i < chunk.size(); i++) {
        if (chunk[i] == '{') open++;
        if (chunk[i] == '}' && open > 0) open--;
        if (chunk[i] == '\n') {
            if (open == 0) return i + 1;
            first = std::min(first, i);
        }
        if (first < i && i - first > kHeldBytes) break;
    }
    return first == std::string_view::npos ? chunk.size() : first + 1;
}

// One step over the text, from which the rest comes back: the mode may have changed.
std::string_view render_markup(OutputStream* s, std::string_view chunk) {
    if (s->held_len > 0) return render_held(s, chunk);
    // An empty line ends a paragraph even amid a chunk.
    const bool by_line = s->mode == kModeParagraph && s->depth == 0;
    const size_t n = by_line ? line_length(chunk) : chunk.size();
    const std::string_view rest = render_chunk(s, chunk.substr(0, n));
    return chunk.substr(n - rest.size());
}

}  // namespace

void render(OutputStream* s, std::string_view text) {
    while (!text.empty()) {
        switch (s->mode) {
        case kModeAsIs: render_as_is(s, text); return;
        case kModeOldHelp: render_old_help(s, text); return;
        case kModeLine:
        case kModeParagraph: text = render_markup(s, text); break;
        default: return;
        }
    }
}

void write_text(OutputStream* s, std::string_view text, uint8_t style) {
    if (text.empty()) return;
    if (s->mode == kModeParagraph) {
        fill_text(s, text, style);
    } else {
        write_line_text(s, text, style);
    }
}

void write_fill(OutputStream* s, char c, int n, uint8_t style) {
    if (n <= 0) return;
    if (s->mode != kModeParagraph) {
        place_fill(s, c, n, style);
        return;
    }
    char piece[kMaxLineColumns];
    n = std::min(n, kMaxLineColumns);
    memset(piece, c, size_t(n));
    fill_text(s, {piece, size_t(n)}, style);
}

void write_tab(OutputStream* s) {
    if (s->mode == kModeLine || s->mode == kModeOldHelp) {
        place_fill(s, ' ', 8 - s->column % 8, s->style);
    }
}

void place_tabbed(OutputStream* s, std::string_view text, uint8_t style) {
    for (;;) {
        const size_t tab = text.find('\t');
        place_text(s, text.substr(0, tab), style);
        if (tab == std::string_view::npos) return;
        write_tab(s);
        text.remove_prefix(tab + 1);
    }
}

}  // namespace korva

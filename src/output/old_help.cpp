// output/old_help.cpp - help text of an older format: ^highlight^, @links@ and .- rules, a line at
// a time.
#include <algorithm>
#include <cstring>

#include "output/line.h"
#include "output/render.h"

namespace korva {

namespace {

struct OldLink {
    std::string_view word;
    int kind;
};

// clang-format off
constexpr OldLink kOldLinks[] = {
    {"http:", 9},    {"http", 9},     {"help", 12},     {"browser", 9},   {"search", 14},
    {"back", 11},    {"net", 15},     {"netfrom", 4},   {"nsdialog", 3},  {"sdialog", 5},
    {"ado", 16},     {"adosearch", 1}, {"cdialog", 2},  {"vdialog", 7},   {"update", 17},
    {"adorm", 10},   {"rnethelp", 18}, {"updatebox", 6},
};
// clang-format on

constexpr size_t kMaxLinkWord = 13;

// A line that is only `.-`, or only `.`, blanks apart; 0 for any other.
char lone_rule(std::string_view line) {
    if (line.empty() || line[0] != '.') return 0;
    line.remove_prefix(1);
    while (!line.empty() && line[0] == ' ') line.remove_prefix(1);
    if (line.empty()) return '.';
    if (line[0] != '-') return 0;
    return line.find_first_not_of(' ', 1) == std::string_view::npos ? '-' : 0;
}

// Position of the delimiter that ends what began before text; doubled ones stand for themselves.
size_t find_delimiter(std::string_view text, char delimiter) {
    for (size_t i = 0; i < text.size(); i++) {
        if (text[i] != delimiter) continue;
        if (i + 1 < text.size() && text[i + 1] == delimiter) {
            i++;
            continue;
        }
        return i;
    }
    return std::string_view::npos;
}

// Text in which a doubled delimiter is one.
void place_undoubled(OutputStream* s, std::string_view text, char delimiter, uint8_t style) {
    while (!text.empty()) {
        const size_t at = text.find(delimiter);
        const size_t n = at == std::string_view::npos ? text.size() : at + 1;
        place_tabbed(s, text.substr(0, n), style);
        text.remove_prefix(n);
        if (at != std::string_view::npos && !text.empty() && text[0] == delimiter)
            text.remove_prefix(1);
    }
}

uint8_t with_class(const OutputStream* s, uint8_t colour) {
    return uint8_t((s->style & ~kClassMask) | colour);
}

// The text of a link: a ^ pair in it is honoured.
void place_link_text(OutputStream* s, std::string_view text) {
    while (!text.empty()) {
        const size_t open = text.find('^');
        place_undoubled(s, text.substr(0, open), '@', with_class(s, kStyleLink));
        if (open == std::string_view::npos) return;
        text.remove_prefix(open + 1);
        const size_t close = std::min(text.find('^'), text.size());
        place_undoubled(s, text.substr(0, close), '@', with_class(s, kStyleHighlight));
        text.remove_prefix(std::min(close + 1, text.size()));
    }
}

bool has_web_scheme(std::string_view text) {
    return text.starts_with("http://") || text.starts_with("https://") ||
           text.starts_with("ftp://");
}

bool place_old_link(OutputStream* s, std::string_view content) {
    int kind = has_web_scheme(content) ? 9 : 12;
    std::string_view args = content;
    std::string_view text = content;
    const size_t n = std::min(content.find_first_of(": "), content.size());
    if (kind == 12 && n > 0 && n <= kMaxLinkWord && n < content.size()) {
        const std::string_view word = content.substr(0, n);
        const auto row = std::find_if(std::begin(kOldLinks), std::end(kOldLinks),
                                      [&](const OldLink& link) { return link.word == word; });
        const size_t colon = content.find(':', n);
        if (row != std::end(kOldLinks) && colon != std::string_view::npos) {
            kind = row->kind;
            args = content.substr(n, colon - n);
            args.remove_prefix(std::min(args.find_first_not_of(' '), args.size()));
            text = content.substr(colon + 1);
        }
    }
    if (text.find_first_not_of(' ') == std::string_view::npos || !open_link(s, kind, args))
        return false;
    place_link_text(s, text);
    close_link(s);
    return true;
}

void place_old_line(OutputStream* s, std::string_view line) {
    while (!line.empty()) {
        const size_t at = std::min(line.find_first_of("^@"), line.size());
        place_tabbed(s, line.substr(0, at), s->style);
        line.remove_prefix(at);
        if (line.empty()) return;
        const char delimiter = line[0];
        line.remove_prefix(1);
        if (line.empty()) return;  // at the very end it counts as none
        if (line[0] == delimiter) {
            place_text(s, {&delimiter, 1}, s->style);
            line.remove_prefix(1);
            continue;
        }
        const size_t end = find_delimiter(line, delimiter);
        const std::string_view content = line.substr(0, end);
        if (delimiter == '^') {
            place_undoubled(s, content, '^', with_class(s, kStyleHighlight));
        } else if (end == std::string_view::npos || !place_old_link(s, content)) {
            place_text(s, "@", s->style);
            continue;  // it shows as text, and what it holds is looked at again
        }
        line.remove_prefix(end == std::string_view::npos ? line.size() : end + 1);
    }
}

void render_line(OutputStream* s, std::string_view line) {
    switch (lone_rule(line)) {
    case '-': place_fill(s, '-', s->width - s->column, s->style | kStyleGraphic); break;
    case '.': return;
    default: place_old_line(s, line); break;
    }
    end_line(s);
}

// The first n held bytes as a line; what is behind them stays held.
void render_held_line(OutputStream* s, int n) {
    char line[kHeldBytes];
    memcpy(line, s->held, size_t(n));
    s->held_len -= n;
    memmove(s->held, s->held + n, size_t(s->held_len));
    render_line(s, {line, size_t(n)});
}

}  // namespace

void render_old_help(OutputStream* s, std::string_view text) {
    if (s->skip_first_newline && text[0] == '\n') text.remove_prefix(1);
    s->skip_first_newline = 0;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const size_t n = std::min({text.size(), end, kHeldBytes - size_t(s->held_len)});
        memcpy(s->held + s->held_len, text.data(), n);
        s->held_len += int32_t(n);
        text.remove_prefix(n);
        if (s->held_len == kHeldBytes) {
            render_held_line(s, kHeldBytes - 1);
        } else if (end == n) {
            text.remove_prefix(1);
            render_held_line(s, s->held_len);
        }
    }
}

}  // namespace korva

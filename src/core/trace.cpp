// core/trace.cpp - what tracing prints; a line is shown twice when its macros changed it.
#include "core/trace.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "core/print.h"
#include "core/session.h"
#include "core/settings.h"

namespace korva {

namespace {

constexpr uint32_t kHashModulus = 1997333137;

// Levels below the one at which tracing was turned on; its own lines count as the first.
int trace_depth() {
    return std::max(session.CallDepth - session.TraceDepth, 1);
}

// Programs and do-files deeper than tracedepth stay silent.
bool trace_shows() {
    return settings.trace && trace_depth() <= settings.tracedepth;
}

bool is_word_byte(char c) {
    return uint8_t(c) >= 0x80 || c == '_' || std::isalnum(uint8_t(c)) != 0;
}

// Where tracehilite's pattern stands in the line from `from` on; npos: nowhere.
size_t find_pattern(std::string_view line, size_t from) {
    const std::string& pattern = settings.tracehilite;
    for (size_t at = line.find(pattern, from); at != line.npos; at = line.find(pattern, at + 1)) {
        const size_t behind = at + pattern.size();
        const bool alone = (at == 0 || !is_word_byte(line[at - 1])) &&
                           (behind == line.size() || !is_word_byte(line[behind]));
        if (alone || !settings.tracehilite_word) return at;
    }
    return line.npos;
}

// The text for use inside a directive: braces would end it.
std::string without_braces(std::string_view text) {
    std::string markup;
    for (char c : text) {
        if (c == '{') markup += "{c -(}";
        if (c == '}') markup += "{c )-}";
        if (c != '{' && c != '}') markup += c;
    }
    return markup;
}

// The line, each occurrence of tracehilite's pattern in the style of commands.
void print_line(std::string_view line) {
    size_t from = 0;
    if (!settings.tracehilite.empty()) {
        const std::string marked = "{cmd:" + without_braces(settings.tracehilite) + "}";
        for (size_t at; (at = find_pattern(line, from)) != line.npos;) {
            out_text(line.substr(from, at - from));
            out_tmrk(marked);
            from = at + settings.tracehilite.size();
        }
    }
    out_text(line.substr(from));
}

void print_indent() {
    if (settings.traceindent) out_spaces(2 * (trace_depth() - 1));
}

}  // namespace

uint32_t LineHash() {
    uint32_t h = 0;
    for (const char* p = session.ConsoleBuffer; *p != 0; p++) h = h * 31 + uint8_t(*p);
    return h % kHashModulus;
}

void TraceLine(bool expanded) {
    if (!trace_shows()) return;
    const LevelGuard level(kLevelText);
    if (settings.tracenumber) {
        if (expanded) {
            out_spaces(3);
        } else {
            out_textf("%02d ", trace_depth());
        }
    }
    print_indent();
    out_text(settings.tracesep ? (expanded ? "= " : "- ") : " ");
    print_line(session.ConsoleBuffer);
    out_newline();
}

void TraceBeginEnd(bool is_end, std::string_view name) {
    if (!trace_shows()) return;
    const LevelGuard level(kLevelText);
    print_indent();
    constexpr int kRule = 20;
    out_tmrkf("{hline %d}", kRule);
    out_text(is_end ? " end " : " begin ");
    out_text(name);
    out_text(" ");
    out_tmrk("{hline}\n");
}

}  // namespace korva

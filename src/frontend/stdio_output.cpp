// frontend/stdio_output.cpp - finished lines come as records and go out as plain bytes or, to a
// terminal, with colours.
#include "frontend/stdio_output.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "frontend/line_record.h"

namespace korva {

namespace {

constexpr size_t kFlushBytes = 65536;  // gathered output goes out from here on

struct OutputState {
    bool is_terminal = false;
    bool is_dumb = true;
    bool colours = false;
    bool is_utf8 = false;      // the terminal's characters, by what the environment says
    std::string bytes;         // gathered
    int partial_shown = 0;     // bytes of the unfinished line that have been shown
    std::string text_on_line;  // shown on the line of the cursor
    int more_columns = 0;      // of the --more-- that is shown
};
OutputState output;

// The attributes of a style for a terminal, empty for plain text; they read on dark and on light
// grounds. Classes: 1 result, 2 text, 4 error, 5 input, 6 link, 7 highlight.
std::string attributes_of(unsigned char style) {
    static constexpr const char* kOfClass[8] = {"", ";1", "", "", ";31", ";36", ";4", ";1"};
    std::string attributes = kOfClass[style & kClassMask];
    if (style & kStyleBold) attributes += ";1";
    if (style & kStyleItalic) attributes += ";3";
    if (style & kStyleUnderline) attributes += ";4";
    return attributes;
}

// Bytes of the UTF-8 character that the text begins with, the C1 controls left out; 0: of none.
size_t utf8_length(std::string_view text) {
    const auto lead = uint8_t(text[0]);
    const size_t n = lead < 0xC2 || lead > 0xF4 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (n == 0 || n > text.size()) return 0;
    for (size_t i = 1; i < n; i++) {
        if ((uint8_t(text[i]) & 0xC0) != 0x80) return 0;
    }
    return lead == 0xC2 && uint8_t(text[1]) < 0xA0 ? 0 : n;
}

// Adds text that a terminal only shows: data come from anywhere and must not move its cursor, write
// its clipboard or type into it. A byte stays a column.
void add_harmless(std::string_view text) {
    while (!text.empty()) {
        const auto byte = uint8_t(text[0]);
        size_t n = 1;
        if (byte == '\t') {
            output.bytes += ' ';
        } else if (byte < ' ' || byte == 0x7F) {
            output.bytes += '?';
        } else if (byte < 0x80) {
            output.bytes += char(byte);
        } else if (output.is_utf8 && utf8_length(text) > 0) {
            n = utf8_length(text);
            output.bytes.append(text.substr(0, n));
        } else {
            output.bytes += byte < 0xA0 ? '?' : char(byte);
        }
        text.remove_prefix(n);
    }
}

// Adds the bytes [from, to) of a run, line-drawing bytes as plain characters. A file or a pipe gets
// the others as they are.
void add_run(const char* text, int from, int to, unsigned char style) {
    const size_t start = output.bytes.size();
    if (style & kStyleGraphic) {
        for (int i = from; i < to; i++) output.bytes += plain_graphic(text[i]);
    } else if (output.is_terminal) {
        add_harmless({text + from, size_t(to - from)});
    } else {
        output.bytes.append(text + from, size_t(to - from));
    }
    if (output.is_terminal) output.text_on_line.append(output.bytes, start);
}

// Adds a run with its attributes around it.
void add_styled_run(const char* text, int from, int to, unsigned char style) {
    const std::string attributes = output.colours ? attributes_of(style) : std::string();
    if (!attributes.empty()) output.bytes += "\033[0" + attributes + "m";
    add_run(text, from, to, style);
    if (!attributes.empty()) output.bytes += "\033[0m";
}

// Adds the record's line from column `from` on.
void add_line(const unsigned char* record, int from) {
    const char* text = record_text(record);
    RunReader runs = record_runs(record);
    for (RecordRun run; next_run(&runs, &run);) {
        const int first = std::max(run.first, from);
        if (run.end > first) add_styled_run(text, first, run.end, run.style);
    }
}

// A line that a flush has shown in part is finished behind what stands there; one that has become
// shorter since is another line.
void add_rest_of_line(const unsigned char* record) {
    const int length = record_text_length(record);
    add_line(record, output.partial_shown <= length ? output.partial_shown : 0);
    output.partial_shown = length;
}

bool locale_is_utf8() {
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* value = std::getenv(name);
        if (value == nullptr || *value == 0) continue;  // the next one counts
        const std::string_view locale(value);
        return locale.find("UTF-8") != locale.npos || locale.find("utf8") != locale.npos;
    }
    return false;
}

}  // namespace

void OpenStdioOutput() {
    output.is_utf8 = locale_is_utf8();
    output.is_terminal = isatty(STDOUT_FILENO) != 0;
    const char* terminal = std::getenv("TERM");
    output.is_dumb = terminal == nullptr || *terminal == 0 || std::string_view(terminal) == "dumb";
    const char* no_colour = std::getenv("NO_COLOR");
    const bool refused = no_colour != nullptr && *no_colour != 0;
    output.colours = output.is_terminal && !output.is_dumb && !refused;
}

bool OutputIsTerminal() {
    return output.is_terminal;
}

bool TerminalIsDumb() {
    return output.is_dumb;
}

void PutRecord(const unsigned char* record, int code) {
    if (code == kSinkLine) {
        add_rest_of_line(record);
        output.bytes += '\n';
        output.partial_shown = 0;
        output.text_on_line.clear();
    } else if (code == kSinkPartial) {
        add_rest_of_line(record);
    }
    if (output.bytes.size() >= kFlushBytes) SendOutput();
}

void ShowMoreLine(const unsigned char* record) {
    add_line(record, 0);
    output.more_columns = record_text_length(record);
    output.text_on_line.clear();
}

// A dumb terminal has no way to clear a line but to write blanks over it.
void RemoveMoreLine() {
    output.bytes += output.is_dumb ? "\r" + std::string(size_t(output.more_columns), ' ') + "\r"
                                   : std::string("\r\033[K");
    output.more_columns = 0;
}

void PutText(std::string_view text) {
    output.bytes += text;
    if (output.bytes.size() >= kFlushBytes) SendOutput();
}

void SendOutput() {
    const char* bytes = output.bytes.data();
    size_t left = output.bytes.size();
    while (left > 0) {
        const ssize_t done = write(STDOUT_FILENO, bytes, left);
        if (done < 0 && errno == EINTR) continue;
        if (done <= 0) break;  // the reader has gone: what is left has no place to go
        bytes += done;
        left -= size_t(done);
    }
    output.bytes.clear();
}

const std::string& TextOnLine() {
    return output.text_on_line;
}

void ForgetTextOnLine() {
    output.text_on_line.clear();
}

}  // namespace korva

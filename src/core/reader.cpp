// core/reader.cpp - lines from do-files and from the keyboard.
//
// The file reader takes runs of plain bytes at once and looks closely only at the few that matter:
// quotes, comment marks, line ends, tabs. What it reads it also echoes, physical line by physical
// line, a joined line behind "> ".
#include "core/reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "core/alloc.h"
#include "core/macro.h"
#include "core/names.h"
#include "core/print.h"
#include "core/program.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/upcalls.h"
#include "core/words.h"
#include "frontend/frontend.h"

namespace korva {

namespace {

constexpr int kEchoBytes = 500;    // a longer echo line is printed and begun again
constexpr int kReviewDefault = 5;  // lines that #review shows
constexpr int kReviewMost = 100;
constexpr int kFirstFunctionKey = 351;  // F1
constexpr int kLastFunctionKey = 360;   // F10

enum ByteClass : uint8_t { kPlain, kDropped, kLineEnd, kTab, kMark };

struct ByteClasses {
    ByteClass of[256] = {};
    constexpr ByteClasses() {
        for (int c = 0; c < 32; c++) of[c] = kDropped;
        of[255] = kDropped;
        of[uint8_t('\n')] = kLineEnd;
        of[uint8_t('\r')] = kLineEnd;
        of[uint8_t('\t')] = kTab;
        for (char c : {'"', '`', '\'', '/', '*', ';'}) of[uint8_t(c)] = kMark;
    }
};
constexpr ByteClasses kClasses;

// Where the ring of past lines is written next.
struct ReviewState {
    int32_t next = 0;
};
ReviewState review;

// The echo of the line being read: printed at each physical line's end.
struct Echo {
    explicit Echo(bool shown) : on(shown) { begin(". "); }

    void begin(const char* prompt) {
        length = 0;
        if (!on) return;
        text[0] = prompt[0];
        text[1] = prompt[1];
        length = 2;
    }
    void add(const char* bytes, int n) {
        if (!on) return;
        while (n > 0) {
            const int room = kEchoBytes - length;
            const int part = n < room ? n : room;
            std::memcpy(text + length, bytes, size_t(part));
            length += part;
            bytes += part;
            n -= part;
            if (length == kEchoBytes) {
                print();
                length = 0;
            }
        }
    }
    void print() const {
        if (!on || length == 0) return;
        const LevelGuard level(kLevelInput);
        out_reset();
        out_text(std::string_view(text, size_t(length)));
    }
    void end_line() {
        if (!on) return;
        print();
        const LevelGuard level(kLevelInput);
        out_newline();
    }

    bool on;
    int length = 0;
    char text[kEchoBytes];
};

// What stands open while a logical line is read.
struct LineState {
    explicit LineState(bool shown) : echo(shown) {}

    bool in_comment() const { return comment_depth > 0 || line_comment; }
    bool in_string() const { return plain_string || compound_depth > 0; }

    Echo echo;
    int length = 0;  // bytes in ConsoleBuffer
    int column = 0;  // of the physical line, for tabs
    bool plain_string = false;
    int compound_depth = 0;
    int comment_depth = 0;  // nested /* */
    bool line_comment = false;
    bool joins = false;       // the line comment was ///: the next physical line continues this one
    bool only_blanks = true;  // of the logical line
    bool hash_line = false;   // begins with #: ends at the end of line in both modes
    bool after_blank = true;  // at the start of the line or behind a blank: // is a comment here
};

// Reads more behind the bytes not yet taken; false at the end of the file or on an error, which is
// told.
bool refill(LineReader* reader) {
    if (session.BreakFlag) reader->at_end = true;
    if (reader->at_end) return false;
    const int32_t kept = reader->filled - reader->next;
    std::memmove(reader->buffer, reader->buffer + reader->next, size_t(kept));
    reader->next = 0;
    reader->filled = kept;
    ssize_t got = -1;
    if (!StressFails()) {
        do {
            got = read(reader->fd, reader->buffer + kept, sizeof reader->buffer - size_t(kept));
        } while (got < 0 && errno == EINTR && session.BreakFlag == 0);
    }
    if (got < 0 && session.BreakFlag == 0) reader->error = ReportFileError(692, reader->name);
    if (got <= 0) {
        reader->at_end = true;
        return false;
    }
    reader->filled += int32_t(got);
    return true;
}

// The byte `ahead` places on, not taken; -1 at the end of the file.
int peek_byte(LineReader* reader, int ahead = 0) {
    if (reader->next + ahead >= reader->filled && !refill(reader)) return -1;
    if (reader->next + ahead >= reader->filled) return -1;
    return uint8_t(reader->buffer[reader->next + ahead]);
}

// Some editors put three bytes in front of a text that say nothing.
void skip_byte_order_mark(LineReader* reader) {
    if (peek_byte(reader) == 0xEF && peek_byte(reader, 1) == 0xBB && peek_byte(reader, 2) == 0xBF) {
        reader->next += 3;
    }
}

// Adds bytes to the line; false when it is too long.
bool append(LineState* state, const char* bytes, int n) {
    if (state->length + n >= session.conslen) return false;
    std::memcpy(session.ConsoleBuffer + state->length, bytes, size_t(n));
    if (state->only_blanks) {
        for (int i = 0; i < n; i++) {
            if (bytes[i] == ' ') continue;
            state->only_blanks = false;
            state->hash_line = bytes[i] == '#';
            break;
        }
    }
    state->length += n;
    state->after_blank = bytes[n - 1] == ' ';
    return true;
}

// Takes the run of plain bytes that begins at the reader's place, up to the end of its buffer.
bool take_plain_run(LineReader* reader, LineState* state) {
    const char* start = reader->buffer + reader->next;
    const char* end = reader->buffer + reader->filled;
    const char* p = start;
    while (p < end && kClasses.of[uint8_t(*p)] == kPlain) p++;
    const int n = int(p - start);
    reader->next += n;
    state->column += n;
    state->echo.add(start, n);
    if (state->in_comment()) {
        state->after_blank = false;
        return true;
    }
    return append(state, start, n);
}

bool take_tab(LineReader* reader, LineState* state) {
    static constexpr char kBlanks[] = "        ";
    const int n = 8 - state->column % 8;
    reader->next++;
    state->column += n;
    state->echo.add(kBlanks, n);
    return state->in_comment() || append(state, kBlanks, n);
}

// Takes `n` bytes of a mark as text of the line, or as comment.
bool take_bytes(LineReader* reader, LineState* state, const char* bytes, int n, bool is_text) {
    reader->next += n;
    state->column += n;
    state->echo.add(bytes, n);
    if (is_text) return append(state, bytes, n);
    state->after_blank = false;
    return true;
}

// A quote, a comment mark or `;` outside of its meaning is text. *ended: a `;` ended the line.
bool take_mark(LineReader* reader, LineState* state, bool* ended) {
    const char c = reader->buffer[reader->next];
    const int behind = peek_byte(reader, 1);
    const char pair[2] = {c, char(behind)};

    if (state->line_comment) return take_bytes(reader, state, pair, 1, false);
    if (state->comment_depth > 0) {
        const bool opens = c == '/' && behind == '*';
        const bool closes = c == '*' && behind == '/';
        state->comment_depth += opens ? 1 : closes ? -1 : 0;
        return take_bytes(reader, state, pair, opens || closes ? 2 : 1, false);
    }
    if (c == '`' && behind == '"' && !state->plain_string) {
        state->compound_depth++;
        return take_bytes(reader, state, pair, 2, true);
    }
    if (c == '"' && behind == '\'' && state->compound_depth > 0) {
        state->compound_depth--;
        return take_bytes(reader, state, pair, 2, true);
    }
    if (c == '"') {
        if (state->compound_depth == 0) state->plain_string = !state->plain_string;
        return take_bytes(reader, state, pair, 1, true);
    }
    if (state->in_string()) return take_bytes(reader, state, pair, 1, true);
    if (c == '/' && behind == '*') {
        state->comment_depth = 1;
        return take_bytes(reader, state, pair, 2, false);
    }
    if (c == '/' && behind == '/' && state->after_blank) {
        state->line_comment = true;
        if (!take_bytes(reader, state, pair, 2, false)) return false;
        state->joins = session.DelimiterMode == 0 && peek_byte(reader) == '/';
        return true;
    }
    if (c == ';' && session.DelimiterMode == 1) {
        *ended = true;
        return take_bytes(reader, state, pair, 1, false);
    }
    return take_bytes(reader, state, pair, 1, true);
}

// A physical line has ended. True: so has the logical one.
bool end_physical_line(LineReader* reader, LineState* state) {
    const char c = reader->buffer[reader->next++];
    if (c == '\r' && peek_byte(reader) == '\n') reader->next++;
    reader->lines_read++;
    state->column = 0;
    state->after_blank = true;
    const bool comment_open = state->comment_depth > 0;
    const bool joins = state->joins;
    state->line_comment = false;
    state->joins = false;

    if (session.DelimiterMode == 1 && !state->hash_line) {
        if (state->only_blanks && !comment_open) {
            // Between two commands: nothing to echo but what comments showed.
            if (state->echo.length > 2) state->echo.end_line();
            state->echo.begin(". ");
            state->length = 0;
            return false;
        }
        state->echo.end_line();
        state->echo.begin("> ");
        if (!comment_open) append(state, " ", 1);
        return false;
    }
    state->echo.end_line();
    if (!comment_open && !joins) return true;
    state->echo.begin("> ");
    return false;
}

void show_percent(LineReader* reader) {
    if (reader->total_lines == 0) return;
    const auto percent = int32_t(reader->lines_read * 100 / reader->total_lines);
    if (percent == reader->percent) return;
    reader->percent = percent;
    char title[32];
    std::snprintf(title, sizeof title, "%ld%% complete", long(percent));
    frontend.SetTitle(title);
}

void too_long(LineReader* reader, LineState* state) {
    state->echo.end_line();
    out_error("input too long\n");
    session.ConsoleBuffer[0] = 0;
    session.ReaderEof = 1;
    reader->at_end = true;
    reader->next = reader->filled = 0;
}

void fetch_from_file(LineReader* reader) {
    LineState state(!session.EchoOff && session.OutputThreshold <= kLevelInput);
    session.ConsoleBuffer[0] = 0;
    for (;;) {
        if (reader->next == reader->filled && !refill(reader)) {
            // A last line without a line end is dropped; what never closes and took lines with it
            // is told.
            const bool open = state.comment_depth > 0 ||
                              (session.DelimiterMode == 1 && state.in_string());
            if (open && reader->error == 0 && !session.BreakFlag) reader->error = ReportError(612);
            session.ReaderEof = 1;
            return;
        }
        bool fits = true;
        bool ended = false;
        switch (kClasses.of[uint8_t(reader->buffer[reader->next])]) {
        case kPlain: fits = take_plain_run(reader, &state); break;
        case kDropped: reader->next++; break;
        case kTab: fits = take_tab(reader, &state); break;
        case kMark:
            fits = take_mark(reader, &state, &ended);
            if (ended) state.echo.end_line();
            break;
        case kLineEnd: ended = end_physical_line(reader, &state); break;
        }
        if (!fits) {
            too_long(reader, &state);
            return;
        }
        if (ended) break;
    }
    session.ConsoleBuffer[state.length] = 0;
    if (session.BatchMode) show_percent(reader);
}

// Inserts the text of the function key's macro; true if a final `;` in it acts as Enter.
bool insert_function_key(int key, int32_t* length) {
    char name[8];
    std::snprintf(name, sizeof name, "F%d", key - kFirstFunctionKey + 1);
    std::string_view text = MacroValue(name);
    const bool enter = text.ends_with(';');
    if (enter) text.remove_suffix(1);
    if (*length + int32_t(text.size()) < session.conslen) {
        std::memcpy(session.ConsoleBuffer + *length, text.data(), text.size());
        *length += int32_t(text.size());
    }
    return enter;
}

void finish_keyboard_line(int32_t length, bool hidden, bool raw) {
    session.ConsoleBuffer[length] = 0;
    if (hidden) return;
    AddToReviewRing(session.ConsoleBuffer);
    frontend.AddToReview(session.ConsoleBuffer);
    LogTypedLine(session.ConsoleBuffer);
    const LevelGuard level(kLevelInput);
    const std::string_view line(session.ConsoleBuffer, size_t(length));
    if (frontend.shows_typed_text) {
        if (!raw) out_echo_to_logs(". ");
        out_echo_to_logs(line);
        out_echo_to_logs("\n");
        return;
    }
    if (!raw) out_text(". ");
    out_text(line);
    out_newline();
}

void fetch_from_keyboard(bool raw) {
    out_flush();
    frontend.ShowPrompt(raw ? "" : ". ");
    int32_t length = 0;
    bool hidden = false;
    bool overflow = false;
    session.ConsoleBuffer[0] = 0;
    for (;;) {
        const int key = frontend.ReadKey();
        if (key == kKeyEndOfInput) {
            session.InputEnded = 1;
            break;
        }
        if (key == kKeyBreak && session.BreakFlag != 0) {
            session.ConsoleBuffer[0] = 0;
            return;
        }
        if (key == kKeyEnter) break;
        if (key == kKeyHidden) {
            hidden = true;
        } else if (key >= kFirstFunctionKey && key <= kLastFunctionKey) {
            if (insert_function_key(key, &length)) break;
        } else if (key == '\t') {
            if (length + 1 < session.conslen) session.ConsoleBuffer[length++] = ' ';
        } else if (key >= ' ' && key < kKeyHidden) {
            if (length + 1 < session.conslen) {
                session.ConsoleBuffer[length++] = char(key);
            } else {
                overflow = true;
            }
        }
    }
    if (session.InputEnded && length == 0) return;
    if (overflow) {
        out_error("input too long\n");
        session.ConsoleBuffer[0] = 0;
        return;
    }
    finish_keyboard_line(length, hidden, raw);
}

// The word of a # line and the text behind it.
struct Directive {
    std::string_view word;
    std::string_view rest;
};

bool is_directive(Directive* directive) {
    const std::string_view line = TrimBlanks(session.ConsoleBuffer);
    if (!line.starts_with('#')) return false;
    const std::string_view text = TrimBlanks(line.substr(1));
    size_t n = 0;
    while (n < text.size() && std::isalpha(uint8_t(text[n]))) n++;
    directive->word = text.substr(0, n);
    directive->rest = TrimBlanks(text.substr(n));
    return true;
}

void set_delimiter(std::string_view rest) {
    size_t n = 0;
    while (n < rest.size() && !GeneralSeparators.has[uint8_t(rest[n])]) n++;
    session.DelimiterMode = rest.substr(0, n) == "cr" ? 0 : 1;
    const LevelGuard level(kLevelText);
    out_text("delimiter now ");
    out_text(session.DelimiterMode == 0 ? "cr" : ";");
    out_newline();
}

// A whole number at the front of *text; `otherwise` when there is none.
int take_count(std::string_view* text, int otherwise) {
    size_t digits = 0;
    int value = 0;
    while (digits < text->size() && (*text)[digits] >= '0' && (*text)[digits] <= '9') {
        if (value < 100000) value = value * 10 + ((*text)[digits] - '0');
        digits++;
    }
    if (digits == 0) return otherwise;
    *text = TrimBlanks(text->substr(digits));
    return value;
}

// Start of the ring entry before the one at `at`; -1 when there is none.
int32_t entry_before(int32_t at) {
    const int32_t size = session.conslen + 1;
    int32_t end = (at + size - 1) % size;  // the NUL of the entry
    if (session.ReviewRing[end] != 0) return -1;
    int32_t i = end;
    for (int32_t steps = 0; steps < size - 1; steps++) {
        const int32_t before = (i + size - 1) % size;
        const char c = session.ReviewRing[before];
        if (c == 0 || c == 1 || before == review.next) break;
        i = before;
    }
    return i;
}

// #review [count [shown]]: the last `count` lines, of which the first `shown`, the oldest first.
void show_review(std::string_view arguments) {
    int count = take_count(&arguments, kReviewDefault);
    count = std::min({count, kReviewMost, int(settings.reventries)});
    const int shown = take_count(&arguments, count);
    int32_t starts[kReviewMost];
    int found = 0;
    for (int32_t at = review.next; found < count; found++) {
        at = entry_before(at);
        if (at < 0) break;
        starts[found] = at;
    }
    const LevelGuard level(kLevelText);
    const int32_t size = session.conslen + 1;
    for (int i = found - 1; i >= 0 && i >= found - shown; i--) {
        out_textf("%3d  ", i + 1);
        for (int32_t at = starts[i]; session.ReviewRing[at] != 0; at = (at + 1) % size) {
            out_text(std::string_view(session.ReviewRing + at, 1));
        }
        out_newline();
    }
}

// Runs a # line; false if it is to be handed over.
bool run_directive(const Directive& directive, bool raw) {
    if (MatchAbbreviation(directive.word, "delimit", 1)) {
        if (session.CurrentReader != nullptr) set_delimiter(directive.rest);
        return true;
    }
    if (MatchAbbreviation(directive.word, "review", 1)) {
        show_review(directive.rest);
        return true;
    }
    if (raw) return false;
    out_error("Unknown #command\n");
    return true;
}

void cut_trailing_blanks() {
    size_t length = std::strlen(session.ConsoleBuffer);
    while (length > 0 && session.ConsoleBuffer[length - 1] == ' ') length--;
    session.ConsoleBuffer[length] = 0;
}

}  // namespace

ReturnCode OpenReader(LineReader* reader, const char* path) {
    std::snprintf(reader->name, sizeof reader->name, "%s", path);
    reader->fd = StressFails() ? -1 : open(path, O_RDONLY | O_CLOEXEC);
    if (reader->fd < 0 && session.BreakFlag)
        return kBreak;  // while it waited for a pipe's other end
    if (reader->fd < 0) return ReportFileError(errno == ENOENT ? 601 : 603, path);
    struct stat status;
    if (fstat(reader->fd, &status) != 0 || S_ISDIR(status.st_mode)) {
        CloseReader(reader);
        return ReportFileError(603, path);
    }
    skip_byte_order_mark(reader);
    return 0;
}

void CloseReader(LineReader* reader) {
    if (reader->fd >= 0) close(reader->fd);
    reader->fd = -1;
}

int64_t CountReaderLines(const LineReader& reader) {
    struct stat status;
    if (fstat(reader.fd, &status) != 0 || !S_ISREG(status.st_mode)) return 0;
    int64_t lines = 0;
    int64_t place = 0;
    char block[32768];
    for (ssize_t n; (n = pread(reader.fd, block, sizeof block, place)) > 0; place += n) {
        lines += std::count(block, block + n, '\n');
    }
    return lines;
}

void FetchLine(bool raw) {
    for (;;) {
        LineReader* reader = session.CurrentReader;
        if (reader != nullptr) {
            fetch_from_file(reader);
        } else {
            fetch_from_keyboard(raw);
        }
        if (session.ReaderEof || session.BreakFlag != 0) break;
        Directive directive;
        if (session.ConsoleBuffer[0] == 0 || !is_directive(&directive)) break;
        if (!run_directive(directive, raw)) break;
        if (session.InputEnded) {
            session.ConsoleBuffer[0] = 0;
            break;
        }
    }
    if (!raw) cut_trailing_blanks();
    if (session.BatchMode) out_flush();
}

bool ReadRawLine() {
    if (session.InProgram) {
        StoreRecord* program = CurrentProgram();
        if (program == nullptr || session.ProgramLine >= ProgramOf(program)->lines) return false;
        const std::string_view text = ProgramLineText(program, session.ProgramLine++);
        // The stored line begins with the count of its leading blanks.
        const auto blanks = size_t(uint8_t(text[0]));
        if (blanks + text.size() >= size_t(session.conslen)) return false;
        std::memset(session.ConsoleBuffer, ' ', blanks);
        std::memcpy(session.ConsoleBuffer + blanks, text.data() + 1, text.size() - 1);
        session.ConsoleBuffer[blanks + text.size() - 1] = 0;
        return true;
    }
    if (session.CurrentReader != nullptr && session.BreakFlag != 0) return false;
    if (session.CurrentReader == nullptr && session.InputEnded) return false;
    FetchLine(true);
    if (session.BreakFlag != 0) return false;
    if (session.CurrentReader == nullptr) return !(session.InputEnded && !session.ConsoleBuffer[0]);
    return session.ReaderEof == 0;
}

void AddToReviewRing(const char* line) {
    const int32_t size = session.conslen + 1;
    const auto length = int32_t(std::strlen(line));
    if (length == 0 || length >= size - 1) return;
    for (int32_t i = 0; i <= length; i++) {
        session.ReviewRing[review.next] = line[i];
        review.next = (review.next + 1) % size;
    }
    // The oldest entry, of which a part was written over, goes whole.
    for (int32_t at = review.next; session.ReviewRing[at] != 1; at = (at + 1) % size) {
        const bool last = session.ReviewRing[at] == 0;
        session.ReviewRing[at] = 1;
        if (last) break;
    }
}

void ResizeReviewRing(int32_t conslen) {
    std::vector<std::string> lines;  // newest first
    const int32_t old_size = session.conslen + 1;
    int32_t at = review.next;
    while (int(lines.size()) < kReviewMost && (at = entry_before(at)) >= 0) {
        lines.emplace_back();
        for (int32_t i = at; session.ReviewRing[i] != 0; i = (i + 1) % old_size) {
            lines.back() += session.ReviewRing[i];
        }
    }
    session.conslen = conslen;
    std::memset(session.ReviewRing, 1, size_t(conslen) + 1);
    review.next = 0;
    for (size_t n = lines.size(); n-- > 0;) AddToReviewRing(lines[n].c_str());
}

}  // namespace korva

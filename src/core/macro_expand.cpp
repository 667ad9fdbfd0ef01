// core/macro_expand.cpp - macro substitution over a line.
//
// A line without a macro is scanned once, 16 bytes at a time, and left alone. Otherwise the text
// from the first macro on moves to a scratch block that is used as a gap buffer: what has been
// walked lies at its front, what is still unread at its end, and a value is put down in front of
// the unread text, to be walked in its turn. So the tail of the line never moves, and the work is
// linear in what is read.
//
// A macro's name may hold macros. Each name that is not complete is a frame; its text gathers
// behind the opening character at the front, and its end was found in the unread text when the
// frame was opened: positions there do not change, since all growth goes into the gap. So a quote
// inside a value does not end the name that holds it. The frames are an array, not recursion.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "core/macro.h"
#include "core/poll.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/scratch.h"
#include "core/session.h"
#include "core/store.h"
#include "core/stored_results.h"
#include "core/system_values.h"
#include "core/upcalls.h"
#include "core/words.h"

namespace korva {

namespace {

constexpr int kMaxAtOnePlace = 20;  // expansions at one place: the limit of self-reference
constexpr int kMaxNesting = 200;    // names within names, and unclosed backquotes looked past
constexpr int kOldNameBytes = 8;    // of $name below version 7
constexpr int kLongNamesSince = 700;
constexpr int kPercentBefore = 320;  // % macros are active below it
constexpr int kPairRuleSince = 900;  // from here on, \\ loses a backslash only before a macro
constexpr ReturnCode kTooMany = 920;

bool is_name_start(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool is_name_byte(char c) {
    return is_name_start(c) || (c >= '0' && c <= '9');
}
bool opens_macro(char c) {
    return c == '$' || c == '`';
}

// The first `$`, backquote or NUL at or behind p, or a backslash if they count; `limit` if there is
// none.
const char* find_macro_byte(const char* p, const char* limit, bool backslashes) {
#if defined(__SSE2__)
    const __m128i dollar = _mm_set1_epi8('$');
    const __m128i backquote = _mm_set1_epi8('`');
    const __m128i backslash = _mm_set1_epi8(backslashes ? '\\' : '$');
    const __m128i zero = _mm_setzero_si128();
    for (; limit - p >= 16; p += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i hits = _mm_or_si128(
            _mm_or_si128(_mm_cmpeq_epi8(bytes, dollar), _mm_cmpeq_epi8(bytes, backquote)),
            _mm_or_si128(_mm_cmpeq_epi8(bytes, backslash), _mm_cmpeq_epi8(bytes, zero)));
        if (const int mask = _mm_movemask_epi8(hits)) return p + __builtin_ctz(unsigned(mask));
    }
#endif
    for (; p < limit; p++) {
        if (opens_macro(*p) || *p == 0 || (backslashes && *p == '\\')) break;
    }
    return p;
}

size_t name_limit() {
    return session.version < kLongNamesSince ? kOldNameBytes : kMaxNameBytes;
}

// What the backslash at `p` does: 0 nothing, 1 goes and protects the macro character behind it, 2
// goes before another one.
int backslash_effect(const char* p, const char* end) {
    if (end - p < 2) return 0;
    if (opens_macro(p[1])) return 1;
    if (p[1] != '\\') return 0;
    if (session.version < kPairRuleSince) return 2;
    return end - p > 2 && opens_macro(p[2]) ? 2 : 0;
}

enum class FrameKind : uint8_t { Quote, Dollar, Brace };

struct Frame {
    FrameKind kind;
    int expansions;  // done at the place where the frame was opened
    size_t start;    // of the opening character, among what was walked
    size_t end;      // where the name ends at the latest, in the unread text
};

// Text of a macro, as a view of where it lies or made into `made`.
struct MacroText {
    std::string_view view;
    std::string made;

    void make(std::string text) {
        made = std::move(text);
        view = made;
    }
};

class Expander {
public:
    // Works in text[0, bytes); `unread` is the line from its first macro on.
    Expander(char* text, size_t bytes, std::string_view unread)
        : base(text), limit(bytes), next(bytes - unread.size()) {
        std::memmove(base + next, unread.data(), unread.size());
    }

    ReturnCode run();
    std::string_view result() const { return {base, walked}; }

private:
    size_t region_end() const { return depth == 0 ? limit : frames[size_t(depth) - 1].end; }
    Frame& top() { return frames[size_t(depth) - 1]; }

    void walk(size_t n) {
        std::memmove(base + walked, base + next, n);
        walked += n;
        next += n;
        expansions = 0;
    }

    ReturnCode step();
    ReturnCode step_text(size_t end);
    ReturnCode step_dollar(size_t end);
    void step_backslash(size_t end);

    ReturnCode open(FrameKind kind, size_t opening_bytes, size_t end);
    ReturnCode open_dollar(size_t end, bool* opened);
    ReturnCode open_quote(size_t end, bool* opened);
    bool dollar_opens(size_t at, size_t end) const;
    size_t find_brace(size_t at, size_t end) const;
    ReturnCode find_quote(size_t at, size_t end, size_t* close) const;

    ReturnCode close_frame();
    ReturnCode close_dollar();
    ReturnCode close_brace();
    ReturnCode close_quote();
    void keep_text();
    ReturnCode substitute(const Frame& frame, std::string_view value);
    ReturnCode substitute_walked(const Frame& frame, std::string_view value);

    char* base;
    size_t limit;        // one behind the last unread byte
    size_t walked = 0;   // bytes at the front that are done
    size_t next;         // of the first unread byte
    int expansions = 0;  // at the present place
    int depth = 0;
    std::array<Frame, kMaxNesting> frames;
};

// --- What a name between quotes stands for ---

ReturnCode all_positional(std::string* joined) {
    for (int i = 1;; i++) {
        const std::string_view value = LocalValue(std::to_string(i));
        if (value.empty()) return 0;
        if (joined->size() + value.size() + 1 >= size_t(session.macrolen)) return kTooMany;
        if (i > 1) *joined += ' ';
        joined->append(value);
    }
}

void evaluate(std::string_view expression, MacroText* text) {
    ScannerGuard scanner_guard;
    ThresholdGuard threshold(kThresholdCapture);
    LevelGuard level(session.MessageLevel);
    ExpressionValue value;
    if (EvaluateText(expression, ExpressionMode::Either, &value) != 0) return;
    text->make(value.is_string ? std::move(value.text) : MacroNumber(value.number));
}

// The function's own words show when it fails; the line goes on with nothing in its place.
ReturnCode run_function(std::string_view call, MacroText* text) {
    ScratchText copy(call.size() + 1);
    if (copy.text == nullptr) return kTooMany;
    std::memcpy(copy.text, call.data(), call.size());
    copy.text[call.size()] = 0;
    ScannerGuard scanner_guard;
    LevelGuard level(session.MessageLevel);
    SetScanPointer(copy.text);
    std::string value;
    if (RunMacroFunction(&value) == 0) text->make(std::move(value));
    return 0;
}

void stored_result(ResultFamily family, std::string_view name, MacroText* text) {
    const StoredValue value = FindStoredResult(family, name);
    switch (value.kind) {
    case ResultKind::None: break;
    case ResultKind::Number: text->make(MacroNumber(value.number)); break;
    case ResultKind::Text: text->view = value.text; break;
    case ResultKind::Matrix: text->view = "matrix"; break;
    }
}

void system_value(std::string_view name, MacroText* text) {
    SystemValue value;
    if (!FindSystemValue(name, &value)) return;
    text->make(value.is_text ? std::move(value.text) : MacroNumber(value.number));
}

// word(argument). False: the name is no such form.
bool call_form(std::string_view word, std::string_view argument, MacroText* text) {
    // clang-format off
    if (word == "r")      { stored_result(ResultFamily::R, argument, text); return true; }
    if (word == "e")      { stored_result(ResultFamily::E, argument, text); return true; }
    if (word == "s")      { stored_result(ResultFamily::S, argument, text); return true; }
    if (word == "return") { stored_result(ResultFamily::Return, argument, text); return true; }
    if (word == "c")      { system_value(argument, text); return true; }
    if (word == "ferest") { text->view = ForeachRest(); return true; }
    // clang-format on
    return word == "gdi";  // there are no graphs to ask
}

std::string local_key(std::string_view name) {
    return "_" + std::string(TrimBlanks(name));
}

// ++name, --name: the new value; name++, name--: the old one.
ReturnCode increment_first(std::string_view name, MacroText* text) {
    const std::string key = local_key(name.substr(2));
    if (ReturnCode rc = IncrementMacro(key, name[0] == '+' ? 1 : -1)) return rc;
    text->view = MacroValue(key);
    return 0;
}

ReturnCode increment_behind(std::string_view name, MacroText* text) {
    const std::string key = local_key(name.substr(0, name.size() - 2));
    text->make(std::string(MacroValue(key)));
    return IncrementMacro(key, name.back() == '+' ? 1 : -1);
}

bool is_increment(std::string_view pair) {
    return pair == "++" || pair == "--";
}

ReturnCode quoted_value(std::string_view name, MacroText* text) {
    if (name.empty()) return 0;
    switch (name[0]) {
    case '=': evaluate(name.substr(1), text); return 0;
    case ':': return run_function(name.substr(1), text);
    case '.': return 0;  // a class reference: there are no classes to ask
    case '*':
        if (name.size() != 1) break;
        if (ReturnCode rc = all_positional(&text->made)) return rc;
        text->view = text->made;
        return 0;
    default: break;
    }
    if (name.size() > 2 && is_increment(name.substr(0, 2))) return increment_first(name, text);
    if (name.size() > 2 && is_increment(name.substr(name.size() - 2))) {
        return increment_behind(name, text);
    }
    if (name.ends_with(')')) {
        const size_t paren = name.find('(');
        if (paren != std::string_view::npos &&
            call_form(name.substr(0, paren),
                      TrimBlanks(name.substr(paren + 1, name.size() - paren - 2)), text)) {
            return 0;
        }
    }
    if (name.ends_with(']')) {
        const size_t bracket = name.find('[');
        if (bracket != std::string_view::npos) {
            text->view = CharacteristicOf(
                TrimBlanks(name.substr(0, bracket)),
                TrimBlanks(name.substr(bracket + 1, name.size() - bracket - 2)));
            return 0;
        }
    }
    text->view = LocalValue(name);
    return 0;
}

// The name inside macval(name); empty: the form is another.
std::string_view macval_name(std::string_view name) {
    constexpr std::string_view kOpening = "macval(";
    if (!name.starts_with(kOpening) || !name.ends_with(')')) return {};
    return TrimBlanks(name.substr(kOpening.size(), name.size() - kOpening.size() - 1));
}

// --- Opening a name ---

ReturnCode Expander::open(FrameKind kind, size_t opening_bytes, size_t end) {
    if (depth == kMaxNesting) return kTooMany;
    Frame& frame = frames[size_t(depth++)];
    frame = {kind, expansions, walked, end};
    walk(opening_bytes);
    return 0;
}

// True if what stands behind the `$` before `at` may be a name: `$` and backquotes may make one.
bool Expander::dollar_opens(size_t at, size_t end) const {
    while (at < end && base[at] == '$') at++;
    if (at >= end) return false;
    if (base[at] == '`') return at + 1 < end && base[at + 1] != '"';
    return base[at] == '{' || is_name_start(base[at]);
}

// The `}` that closes the brace before `at`; `end` if there is none, or too many open in between.
size_t Expander::find_brace(size_t at, size_t end) const {
    int braces = 1;
    for (; at < end; at++) {
        if (base[at] == '{' && ++braces > kMaxNesting) return end;
        if (base[at] == '}' && --braces == 0) return at;
    }
    return end;
}

// The quote that closes the backquote before `at`; `end` if there is none.
ReturnCode Expander::find_quote(size_t at, size_t end, size_t* close) const {
    int quotes = 1;
    while (at < end) {
        const char c = base[at];
        if (c == '\\' && backslash_effect(base + at, base + end) != 0) {
            at += 2;
            continue;
        }
        if (c == '`' && ++quotes > kMaxNesting) return kTooMany;
        if (c == '\'' && --quotes == 0) {
            *close = at;
            return 0;
        }
        at++;
    }
    *close = end;
    return 0;
}

ReturnCode Expander::open_dollar(size_t end, bool* opened) {
    *opened = false;
    if (!dollar_opens(next + 1, end)) return 0;
    if (base[next + 1] != '{') {
        *opened = true;
        return open(FrameKind::Dollar, 1, end);
    }
    const size_t close = find_brace(next + 2, end);
    if (close == end) return 0;
    *opened = true;
    return open(FrameKind::Brace, 2, close);
}

ReturnCode Expander::open_quote(size_t end, bool* opened) {
    *opened = false;
    if (next + 1 < end && base[next + 1] == '"') return 0;  // a compound quote
    size_t close = end;
    if (ReturnCode rc = find_quote(next + 1, end, &close)) return rc;
    if (close == end) return 0;
    *opened = true;
    return open(FrameKind::Quote, 1, close);
}

// --- Walking ---

void Expander::step_backslash(size_t end) {
    if (backslash_effect(base + next, base + end) != 0) next++;
    walk(1);
}

ReturnCode Expander::step_text(size_t end) {
    bool opened = false;
    switch (base[next]) {
    case '\\': step_backslash(end); return 0;
    case '$':
        if (ReturnCode rc = open_dollar(end, &opened)) return rc;
        break;
    case '`':
        if (ReturnCode rc = open_quote(end, &opened)) return rc;
        break;
    default: break;
    }
    if (opened) return 0;
    // A run of $ that opens nothing is passed over whole, or each of them would look at all the
    // others.
    if (base[next] == '$') {
        size_t run = 1;
        while (next + run < end && base[next + run] == '$') run++;
        walk(run);
        return 0;
    }
    const char* stop = find_macro_byte(base + next + 1, base + end, true);
    walk(size_t(stop - (base + next)));
    return 0;
}

// Inside $name: takes one byte of the name, opens a name within it, or ends it.
ReturnCode Expander::step_dollar(size_t end) {
    const size_t bytes = walked - top().start - 1;
    const char c = base[next];
    bool opened = false;
    if (c == '`') {
        if (ReturnCode rc = open_quote(end, &opened)) return rc;
        return opened ? 0 : close_frame();
    }
    if (c == '$' && bytes == 0) {
        if (ReturnCode rc = open_dollar(end, &opened)) return rc;
        return opened ? 0 : close_frame();
    }
    const bool of_name = bytes == 0 ? is_name_start(c) : is_name_byte(c);
    if (!of_name || bytes >= name_limit()) return close_frame();
    walk(1);
    return 0;
}

ReturnCode Expander::step() {
    const size_t end = region_end();
    if (next == end) return close_frame();
    if (depth > 0 && top().kind == FrameKind::Dollar) return step_dollar(end);
    return step_text(end);
}

ReturnCode Expander::run() {
    while (depth > 0 || next < limit) {
        if (ReturnCode rc = step()) return rc;
    }
    return 0;
}

// --- Closing a name ---

ReturnCode Expander::close_frame() {
    switch (top().kind) {
    case FrameKind::Dollar: return close_dollar();
    case FrameKind::Brace: return close_brace();
    case FrameKind::Quote: return close_quote();
    }
    return 0;
}

// The text is no macro after all and stays. A `$` in front of it is none then, either.
void Expander::keep_text() {
    expansions = 0;
    depth--;
    while (depth > 0 && top().kind == FrameKind::Dollar) depth--;
}

ReturnCode Expander::substitute(const Frame& frame, std::string_view value) {
    if (frame.expansions + 1 > kMaxAtOnePlace) return kTooMany;
    walked = frame.start;
    if (value.size() > next - walked) return kTooMany;
    next -= value.size();
    if (!value.empty()) std::memmove(base + next, value.data(), value.size());
    expansions = frame.expansions + 1;
    // Macros that hold macros in their names can take long without growing the line.
    Poll(session.pollcount);
    return session.BreakFlag != 0 ? kBreak : 0;
}

ReturnCode Expander::substitute_walked(const Frame& frame, std::string_view value) {
    walked = frame.start;
    if (value.size() > next - walked) return kTooMany;
    if (!value.empty()) std::memmove(base + walked, value.data(), value.size());
    walked += value.size();
    expansions = 0;
    return 0;
}

ReturnCode Expander::close_dollar() {
    const Frame frame = top();
    const std::string_view name(base + frame.start + 1, walked - frame.start - 1);
    if (name.empty() || !is_name_start(name[0])) {
        keep_text();
        return 0;
    }
    depth--;
    return substitute(frame, MacroValue(name));
}

ReturnCode Expander::close_brace() {
    const Frame frame = top();
    std::string_view name(base + frame.start + 2, walked - frame.start - 2);
    const bool good = !name.empty() && is_name_start(name[0]) &&
                      std::all_of(name.begin(), name.end(), is_name_byte);
    if (!good) {
        keep_text();
        return 0;
    }
    depth--;
    next++;
    return substitute(frame, MacroValue(name.substr(0, name_limit())));
}

ReturnCode Expander::close_quote() {
    const Frame frame = top();
    depth--;
    next++;
    const std::string_view name(base + frame.start + 1, walked - frame.start - 1);
    if (const std::string_view plain = macval_name(name); !plain.empty()) {
        return depth == 0 ? substitute_walked(frame, LocalValue(plain)) : substitute(frame, {});
    }
    MacroText text;
    if (ReturnCode rc = quoted_value(name, &text)) return rc;
    return substitute(frame, text.view);
}

// The second pass of old programs: %name, and no backquotes.
ReturnCode expand_percents(std::string_view line, size_t limit, std::string* result) {
    result->clear();
    for (size_t i = 0; i < line.size();) {
        if (line[i] == '`') {
            i++;
            continue;
        }
        if (line[i] != '%' || i + 1 == line.size() || !is_name_start(line[i + 1])) {
            *result += line[i++];
            continue;
        }
        size_t end = i + 1;
        while (end < line.size() && end - i - 1 < name_limit() && is_name_byte(line[end])) end++;
        result->append(MacroValue(line.substr(i + 1, end - i - 1)));
        i = end;
        if (result->size() > limit) return kTooMany;
    }
    return result->size() > limit ? kTooMany : 0;
}

// Where the walk must begin for a macro character at `first`: the backslashes that may act on it
// count.
const char* walk_start(const char* begin, const char* first) {
    for (int i = 0; i < 2 && first > begin && first[-1] == '\\'; i++) first--;
    return first;
}

struct ScanResult {
    const char* start;  // where the walk begins; at the NUL if there is nothing to do
    const char* end;    // the NUL
};

ScanResult scan_line(const char* text, const char* limit) {
    const bool pairs = session.version < kPairRuleSince;
    const char* first = find_macro_byte(text, limit, pairs);
    if (first == limit || *first == 0) return {first, first};
    const char* end = first + std::strlen(first);
    return {walk_start(text, first), end};
}

ReturnCode report(ReturnCode rc) {
    return rc == kTooMany ? ReportError(kTooMany) : rc;
}

}  // namespace

ReturnCode ExpandMacros() {
    char* line = session.ConsoleBuffer;
    SetScanPointer(line);
    if (session.ExecuteFlag == 0) return 0;

    const bool percents = session.version < kPercentBefore;
    const size_t most = size_t(session.conslen) - 1;
    const ScanResult scan = scan_line(line, line + session.conslen);
    ReturnCode rc = 0;
    if (scan.start != scan.end) {
        const size_t done = size_t(scan.start - line);
        ScratchText work(most - done);
        if (work.text == nullptr) {
            line[0] = 0;
            return kTooMany;
        }
        Expander expander(work.text, most - done, {scan.start, size_t(scan.end - scan.start)});
        rc = report(expander.run());
        const std::string_view result = expander.result();
        if (rc == 0) {
            std::memcpy(line + done, result.data(), result.size());
            line[done + result.size()] = 0;
        }
    }
    if (rc == 0 && percents) {
        std::string result;
        rc = report(expand_percents(line, most, &result));
        if (rc == 0) std::memcpy(line, result.c_str(), result.size() + 1);
    }
    if (rc != 0) line[0] = 0;
    SetScanPointer(line);
    return rc;
}

ReturnCode ExpandText(std::string_view text, std::string* result) {
    text = text.substr(0, text.find('\0'));
    result->clear();
    const size_t most = size_t(session.conslen) - 1;
    if (text.size() > most) return ReportError(kTooMany);
    ScannerGuard scanner_guard;
    ScratchText work(most);
    if (work.text == nullptr) return kTooMany;
    Expander expander(work.text, most, text);
    ReturnCode rc = report(expander.run());
    if (rc == 0) {
        if (session.version < kPercentBefore) {
            rc = report(expand_percents(expander.result(), most, result));
        } else {
            *result = expander.result();
        }
    }
    if (rc != 0) result->clear();
    return rc;
}

}  // namespace korva

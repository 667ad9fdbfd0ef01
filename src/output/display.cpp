// output/display.cpp - display, item by item, printing or into a macro's text.
//
// Items are found straight in the line, so that a text may have any length; only expressions go
// through the scanner. A quoted text is an expression if an operator follows that no item could
// begin with.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>

#include "core/commands.h"
#include "core/macro.h"
#include "core/macro_functions.h"
#include "core/names.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/upcalls.h"
#include "frontend/frontend.h"
#include "output/number_format.h"

namespace korva {

namespace {

constexpr int kMaxCount = 400;       // of _skip(#), _dup(#) and the like
constexpr int kPageBreak = 255;      // the byte of _page
constexpr int kMarkupVersion = 700;  // from here on text is mark-up
constexpr int kNoisyVersion = 220;   // below it display always shows
constexpr Format kDisplayFormat{.kind = FormatKind::General, .width = 10};

struct Display {
    std::string* target = nullptr;  // null: print
    const char* at = nullptr;       // the next byte of the line
    bool markup = true;             // text is mark-up; else literal
    bool restyle = false;           // the style of the kind is set before each piece
    bool style_word = false;        // `as` or `in` came
    bool newline = true;            // at the end
    bool has_format = false;
    Format format = kDisplayFormat;
    int copies = 1;   // of the next item
    int columns = 0;  // printed so far on this line, for _column without mark-up
};

// --- Writing ---

ReturnCode put_once(Display* d, std::string_view text) {
    if (d->target != nullptr) {
        // A full target is what the macro functions find to be too long, in their own words.
        const size_t room = size_t(session.macrolen) -
                            std::min(d->target->size(), size_t(session.macrolen));
        d->target->append(text.substr(0, room));
        return 0;
    }
    d->columns += int(text.size());
    if (!d->markup) return d->restyle ? out_text(text) : out_plain(text);
    if (d->restyle) out_style();
    return out_tmrk(text);
}

ReturnCode put_blanks(Display* d, int n) {
    if (n <= 0) return 0;
    char block[128];
    memset(block, ' ', sizeof block);
    for (; n > 0; n -= int(sizeof block)) {
        const size_t part = std::min(size_t(n), sizeof block);
        if (ReturnCode rc = put_once(d, {block, part})) return rc;
    }
    return 0;
}

// The text, padded to the width of a pending string format, as often as _dup() told.
ReturnCode put(Display* d, std::string_view text) {
    int left = 0;
    int right = 0;
    if (d->has_format && d->format.kind == FormatKind::String) {
        const int pad = std::max(0, d->format.width -
                                        int(std::min(text.size(), size_t(kMaxFormatWidth))));
        left = d->format.left ? 0 : d->format.centre ? pad / 2 : pad;
        right = pad - left;
    }
    for (int i = 0; i < d->copies; i++) {
        if (left > 0) {
            if (ReturnCode rc = put_blanks(d, left)) return rc;
        }
        if (ReturnCode rc = put_once(d, text)) return rc;
        if (right > 0) {
            if (ReturnCode rc = put_blanks(d, right)) return rc;
        }
    }
    return 0;
}

void forget_format(Display* d) {
    d->has_format = false;
    d->format = kDisplayFormat;
}

// --- Reading ---

void skip_blanks(Display* d) {
    while (*d->at == ' ') d->at++;
}

bool is_word_byte(char c) {
    return c == '_' || isalnum(static_cast<unsigned char>(c)) != 0;
}

std::string_view word_at(const char* at) {
    const char* end = at;
    while (is_word_byte(*end)) end++;
    return {at, size_t(end - at)};
}

// The mark that closes the compound quote opened ahead of `text`, or the end of the line.
const char* compound_end(const char* text) {
    int open = 1;
    for (; *text != 0; text++) {
        if (text[0] == '`' && text[1] == '"') {
            open++;
        } else if (text[0] == '"' && text[1] == '\'' && --open == 0) {
            break;
        }
    }
    return text;
}

// The text of the quoted item at *at, which moves behind it. The end of the line closes it
// silently.
std::string_view take_quoted(const char** at) {
    const bool compound = **at == '`';
    const size_t mark = compound ? 2 : 1;
    const char* first = *at + mark;
    const char* end = compound ? compound_end(first) : first + strcspn(first, "\"");
    *at = *end == 0 ? end : end + mark;
    return {first, size_t(end - first)};
}

// True if what follows a quoted text makes it the start of an expression. A minus does not: it may
// as well begin the next item. A plus only where it stands apart or ahead of another text.
bool expression_goes_on(const char* at) {
    while (*at == ' ') at++;
    switch (*at) {
    case '=':
    case '<':
    case '>':
    case '&':
    case '|': return true;
    case '!':
    case '~': return at[1] == '=';
    case '+': return at[1] == ' ' || at[1] == '"' || at[1] == '`';
    default: return false;
    }
}

// The number in parentheses at d->at; 198 when there is none or it is out of range.
ReturnCode take_count(Display* d, int* count) {
    skip_blanks(d);
    if (*d->at != '(') return ReportInvalidSyntax();
    d->at++;
    skip_blanks(d);
    const bool negative = *d->at == '-';
    if (negative || *d->at == '+') d->at++;
    int number = 0;
    int digits = 0;
    for (; *d->at >= '0' && *d->at <= '9'; d->at++, digits++) {
        number = std::min(10 * number + (*d->at - '0'), kMaxCount + 1);
    }
    skip_blanks(d);
    if (digits == 0 || number > kMaxCount || *d->at != ')') return ReportInvalidSyntax();
    d->at++;
    *count = negative ? -number : number;
    return 0;
}

// The same where the parentheses may be left out: *count stays.
ReturnCode take_count_if_any(Display* d, int* count) {
    const char* ahead = d->at;
    while (*ahead == ' ') ahead++;
    return *ahead == '(' ? take_count(d, count) : 0;
}

// --- Items ---

ReturnCode item_continue(Display* d) {
    d->newline = false;
    return 0;
}

ReturnCode item_newline(Display* d) {
    int count = 1;
    if (ReturnCode rc = take_count_if_any(d, &count)) return rc;
    if (count < 0) return ReportInvalidSyntax();
    for (int i = 0; i < count * d->copies; i++) {
        if (ReturnCode rc = out_newline()) return rc;
    }
    d->columns = 0;
    d->copies = 1;
    return 0;
}

ReturnCode item_skip(Display* d) {
    int count = 1;
    if (ReturnCode rc = take_count_if_any(d, &count)) return rc;
    count = std::max(count, 0) * d->copies;
    d->copies = 1;
    return put_blanks(d, count);
}

ReturnCode item_column(Display* d) {
    int column = 0;
    if (ReturnCode rc = take_count(d, &column)) return rc;
    d->copies = 1;
    if (d->target == nullptr && d->markup) {
        if (d->restyle) out_style();
        d->columns = std::max(d->columns, column - 1);
        return out_tmrkf("{col %d}", column);
    }
    const int used = d->target != nullptr ? int(d->target->size()) : d->columns;
    return put_blanks(d, column - 1 - used);
}

ReturnCode item_char(Display* d) {
    int code = 0;
    if (ReturnCode rc = take_count(d, &code)) return rc;
    if (code < 1 || code > 255) return ReportInvalidSyntax();
    const char byte = char(code);
    const bool markup = d->markup;
    d->markup = markup && code != '{' && code != '}';  // a brace is meant as a character
    const ReturnCode rc = put(d, {&byte, 1});
    d->markup = markup;
    d->copies = 1;
    return rc;
}

ReturnCode item_dup(Display* d) {
    int count = 0;
    if (ReturnCode rc = take_count(d, &count)) return rc;
    if (count < 0) return ReportInvalidSyntax();
    d->copies = int(std::min<int64_t>(int64_t(d->copies) * count, 1 << 20));
    return 0;
}

ReturnCode item_quote(Display* d) {
    const ReturnCode rc = put(d, "\"");
    d->copies = 1;
    return rc;
}

ReturnCode item_page(Display* d) {
    const char byte = char(kPageBreak);
    d->copies = 1;
    return out_page_text({&byte, 1});
}

ReturnCode item_asis(Display* d) {
    d->markup = false;
    return 0;
}

// A line from the keyboard; false if there is none to be had.
ReturnCode read_line(std::string* line) {
    out_flush();
    for (;;) {
        const int key = frontend.ReadKey();
        if (key == kKeyBreak && session.BreakFlag) return kBreak;
        if (key == kKeyEnter || key == kKeyEndOfInput) break;
        if (key == '\b') {
            if (!line->empty()) line->pop_back();
        } else if (key >= ' ' && key < kKeyHidden && int64_t(line->size()) < session.macrolen - 1) {
            line->push_back(char(key));
        }
    }
    const LevelGuard guard(kLevelInput);
    if (frontend.shows_typed_text) {
        out_echo_to_logs(*line);
        out_echo_to_logs("\n");
    } else {
        out_text(*line);
        out_newline();
    }
    return 0;
}

ReturnCode item_request(Display* d) {
    skip_blanks(d);
    if (*d->at != '(') return ReportInvalidSyntax();
    d->at++;
    skip_blanks(d);
    const std::string_view name = word_at(d->at);
    d->at += name.size();
    skip_blanks(d);
    if (!IsValidName(name) || *d->at != ')') return ReportInvalidSyntax();
    d->at++;
    if (session.BatchMode) {
        SetMacro(name, {});
        return ReportError(8002);
    }
    std::string line;
    if (ReturnCode rc = read_line(&line)) return rc;
    if (d->markup) out_style();  // the answer has left the style of input
    return SetMacro(name, line);
}

struct ItemRow {
    std::string_view word;
    int minimum;
    bool in_macro;  // stands in the macro function as well
    ReturnCode (*handler)(Display* d);
};

// In the order of their search: a bare _ continues.
// clang-format off
constexpr ItemRow kItems[] = {
    // word         min  in macro  handler
    {"_continue",   1,   false,    item_continue},
    {"_newline",    2,   false,    item_newline},
    {"_skip",       2,   true,     item_skip},
    {"_column",     4,   true,     item_column},
    {"_char",       5,   true,     item_char},
    {"_dup",        2,   true,     item_dup},
    {"_quote",      6,   false,    item_quote},
    {"_page",       2,   false,    item_page},
    {"_request",    2,   false,    item_request},
    {"_asis",       5,   false,    item_asis},
};

struct StyleRow {
    std::string_view word;
    int minimum;
    int level;  // -1: mark-up
};

constexpr StyleRow kStyles[] = {
    {"yellow", 1, kLevelResult}, {"result",  3, kLevelResult},
    {"green",  1, kLevelText},   {"text",    4, kLevelText},  {"txt", 3, kLevelText},
    {"blue",   1, kLevelText},
    {"red",    1, kLevelError},  {"error",   3, kLevelError},
    {"white",  1, kLevelInput},  {"command", 3, kLevelInput}, {"input", 3, kLevelInput},
    {"tmrk",   1, -1},
};
// clang-format on

ReturnCode take_style(Display* d) {
    skip_blanks(d);
    const std::string_view word = word_at(d->at);
    const auto row = std::find_if(
        std::begin(kStyles), std::end(kStyles),
        [&](const StyleRow& style) { return MatchAbbreviation(word, style.word, style.minimum); });
    if (row == std::end(kStyles)) return ReportInvalidSyntax();
    d->at += word.size();
    d->markup = true;
    if (row->level < 0) {
        d->restyle = d->style_word;
    } else {
        session.MessageLevel = uint8_t(row->level);
        d->restyle = d->style_word = true;
    }
    return 0;
}

ReturnCode take_format(Display* d) {
    const int n = parse_format(d->at, &d->format);
    if (n == 0 || is_word_byte(d->at[n])) return ReportError(120);
    d->has_format = true;
    d->at += n;
    return 0;
}

ReturnCode put_number(Display* d, double value) {
    if (d->has_format && d->format.kind != FormatKind::String) {
        format_number(&number_buffer, d->format, value);
        return put(d, {number_buffer.text, size_t(number_buffer.length)});
    }
    format_number(&number_buffer, kDisplayFormat, value);
    std::string_view text{number_buffer.text, size_t(number_buffer.length)};
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return put(d, text);
}

// A whole number that stands by itself, as loops print it, needs no compiler. What follows must be
// the end, a text or a comma: anything else might go on with the expression.
bool take_whole_number(Display* d, double* number) {
    constexpr int kMostDigits = 15;  // exact in a double
    const char* at = d->at;
    int64_t whole = 0;
    while (*at >= '0' && *at <= '9' && at - d->at <= kMostDigits)
        whole = 10 * whole + (*at++ - '0');
    if (at == d->at || at - d->at > kMostDigits) return false;
    const char* behind = at;
    while (*behind == ' ') behind++;
    if (*behind != 0 && *behind != '"' && *behind != ',') return false;
    d->at = at;
    *number = double(whole);
    return true;
}

ReturnCode take_number(Display* d, double number) {
    const ReturnCode rc = put_number(d, number);
    forget_format(d);
    d->copies = 1;
    return rc;
}

ReturnCode take_expression(Display* d) {
    double number = 0;
    if (take_whole_number(d, &number)) return take_number(d, number);
    const char* start = d->at;
    SetScanPointer(const_cast<char*>(d->at));
    ExpressionValue value;
    if (ReturnCode rc = EvaluateScanned(ExpressionMode::Either, &value)) return rc;
    d->at = ScanRest();
    if (d->at == start) return ReportInvalidSyntax();
    if (!value.is_string) return take_number(d, value.number);
    const ReturnCode rc = put(d, value.text);
    forget_format(d);
    d->copies = 1;
    return rc;
}

ReturnCode take_text(Display* d) {
    const char* behind = d->at;
    const std::string_view text = take_quoted(&behind);
    if (expression_goes_on(behind)) return take_expression(d);
    d->at = behind;
    const ReturnCode rc = put(d, text);
    if (d->format.kind == FormatKind::String) forget_format(d);
    d->copies = 1;
    return rc;
}

ReturnCode take_comma(Display* d) {
    d->at++;
    if (*d->at == ',') {
        d->at++;
        return 0;
    }
    return put_once(d, " ");
}

ReturnCode take_word(Display* d) {
    const std::string_view word = word_at(d->at);
    const bool to_macro = d->target != nullptr;
    if (word[0] == '_') {
        for (const ItemRow& row : kItems) {
            if (!MatchAbbreviation(word, row.word, row.minimum)) continue;
            if (to_macro && !row.in_macro) break;
            d->at += word.size();
            return row.handler(d);
        }
    } else if (!to_macro && (word == "as" || word == "in")) {
        d->at += word.size();
        return take_style(d);
    }
    return take_expression(d);
}

ReturnCode take_item(Display* d) {
    const char c = *d->at;
    if (c == '"' || (c == '`' && d->at[1] == '"')) return take_text(d);
    if (c == '%') return take_format(d);
    if (c == ',' && d->target == nullptr) return take_comma(d);
    if (c == '_' || isalpha(static_cast<unsigned char>(c))) return take_word(d);
    return take_expression(d);
}

ReturnCode run_items(Display* d) {
    d->at = ScanRest();
    for (;;) {
        skip_blanks(d);
        if (*d->at == 0) break;
        if (ReturnCode rc = take_item(d)) return rc;
    }
    SetScanPointer(const_cast<char*>(d->at));
    return 0;
}

ReturnCode run_display() {
    const LevelGuard level(session.MessageLevel);
    Display d;
    d.markup = session.version >= kMarkupVersion;
    d.restyle = !d.markup;
    if (d.markup) out_style();  // what an earlier command left in force is not ours
    if (ReturnCode rc = run_items(&d)) return rc;
    if (d.newline) {
        out_newline();
        out_flush();
    }
    return session.BreakFlag ? kBreak : 0;
}

}  // namespace

ReturnCode CmdDisplay(int) {
    if (ByActive()) return ReportError(190);
    if (session.version >= kNoisyVersion) return run_display();
    const ThresholdGuard noisy(kThresholdNormal);
    return run_display();
}

ReturnCode MfDisplay(int, std::string* result) {
    Display d;
    std::string text;
    d.target = &text;
    if (ReturnCode rc = run_items(&d)) return rc;
    result->append(text);
    return 0;
}

}  // namespace korva

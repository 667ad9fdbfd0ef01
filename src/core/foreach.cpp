// core/foreach.cpp - foreach and forvalues: a macro that takes one value after the other.
//
// The line is expanded and its list made once, before the first pass: what the body does to the
// macros, variables or numbers that the list came from changes nothing. A pass sets the macro and
// runs the lines behind the loop's own as a block. The loop counts by itself, so that a body may
// set the macro as it likes.
#include <string>
#include <string_view>
#include <vector>

#include "core/control.h"
#include "core/loops.h"
#include "core/macro.h"
#include "core/missing.h"
#include "core/names.h"
#include "core/number_list.h"
#include "core/print.h"
#include "core/program.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/upcalls.h"
#include "core/words.h"

namespace korva {

namespace {

// The body of a loop, which begins at the next stored line, and its macro.
struct LoopBody {
    explicit LoopBody(std::string macro_key) : key(std::move(macro_key)) {}

    std::string key;                           // of the macro, in the store
    int32_t first_line = session.ProgramLine;  // stored line at which each pass begins
    bool was_run = false;
    bool goes_on = true;  // no pass has left the loop

    ReturnCode run(std::string_view value);
};

// One pass.
ReturnCode LoopBody::run(std::string_view value) {
    goes_on = false;
    if (ReturnCode rc = SetMacro(key, value)) return rc;
    if (was_run) {
        session.ProgramLine = first_line;
        blocks.pending.clear();  // the text behind the closing brace is for the loop's end
    }
    // Behind the opening brace there is nothing.
    session.ConsoleBuffer[0] = 0;
    SetScanPointer(session.ConsoleBuffer);
    was_run = true;
    return RunLoopPass(&goes_on);
}

// The end of a loop that may have made no pass: its body is then passed over.
ReturnCode finish(const LoopBody& body, ReturnCode code) {
    if (body.was_run) return code;
    const ReturnCode skipped = SkipBlockOfLine();
    return code ? code : skipped;
}

// A line that is no loop as it should be.
ReturnCode refuse(ReturnCode code) {
    SkipBlockOfLine();
    return code;
}

// The store key of the local macro of the name.
ReturnCode local_key(std::string_view name, std::string* key) {
    *key = "_" + std::string(name);
    if (name.empty()) return ReportInvalidSyntax();
    if (IsValidName(*key)) return 0;
    out_error(std::string(name) + " invalid name\n");
    return 198;
}

// The macro's name and the word behind it.
ReturnCode read_name(std::string_view word, std::string* key) {
    NextToken();
    if (ReturnCode rc = local_key(scanner.TokenBuffer, key)) return rc;
    NextToken();
    return TokenIs(word) ? 0 : ReportInvalidSyntax();
}

// The text between the scanner and the brace that opens the body.
ReturnCode read_to_brace(std::string* text) {
    const char* start = ScanRest();
    const char* brace = FindOpenBrace(ScanRest());
    if (!brace) return ReportInvalidSyntax();
    *text = TrimBlanks({start, size_t(brace - start)});
    return 0;
}

// --- foreach ---

ReturnCode macro_list(bool local, const std::string& name, std::string* list) {
    std::string key = name;
    if (local) {
        if (ReturnCode rc = local_key(name, &key)) return rc;
    } else if (name.empty()) {
        return ReportInvalidSyntax();
    } else if (!IsValidName(name)) {
        out_error(name + " invalid name\n");
        return 198;
    }
    *list = MacroValue(key);
    return 0;
}

ReturnCode number_list(const std::string& text, std::string* list) {
    NumberListRules rules;
    rules.min = 0;  // no number is no pass, as with every other list
    std::vector<double> numbers;
    if (ReturnCode rc = ExpandNumberList(text, rules, &numbers)) return ReportError(rc);
    *list = NumberListText(numbers);
    return 0;
}

// The list of `of kind text`, as words.
ReturnCode make_list(std::string_view kind, const std::string& text, std::string* list) {
    if (kind == "local") return macro_list(true, text, list);
    if (kind == "global") return macro_list(false, text, list);
    if (kind == "varlist") return VariableNames(text, list);
    if (kind == "newlist") return NewVariableNames(text, list);
    if (kind == "numlist") return number_list(text, list);
    return ReportInvalidSyntax();
}

ReturnCode read_foreach(std::string* key, std::string* list) {
    NextToken();
    if (ReturnCode rc = local_key(scanner.TokenBuffer, key)) return rc;
    NextToken();
    if (TokenIs("in")) return read_to_brace(list);
    if (!TokenIs("of")) return ReportInvalidSyntax();
    NextToken();
    const std::string kind = scanner.TokenBuffer;
    std::string text;
    if (ReturnCode rc = read_to_brace(&text)) return rc;
    return make_list(kind, text, list);
}

// The rest of the list around, while an inner foreach hands out its own.
struct RestGuard {
    RestGuard() : rest(session.ForeachRest) {}
    ~RestGuard() { session.ForeachRest = rest; }
    RestGuard(const RestGuard&) = delete;
    RestGuard& operator=(const RestGuard&) = delete;
    std::string_view rest;
};

// --- forvalues ---

struct Range {
    double first = 0;
    double step = 1;
    double last = 0;

    bool holds(double x) const { return step > 0 ? x <= last : x >= last; }
};

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

void skip_blanks(std::string_view* text) {
    while (text->starts_with(' ')) text->remove_prefix(1);
}

bool take(std::string_view* text, std::string_view what) {
    skip_blanks(text);
    if (!text->starts_with(what)) return false;
    text->remove_prefix(what.size());
    return true;
}

bool take_number(std::string_view* text, double* x) {
    skip_blanks(text);
    const std::string_view t = *text;
    size_t end = t.starts_with('-') || t.starts_with('+') ? 1 : 0;
    while (end < t.size() && (is_digit(t[end]) || t[end] == '.')) end++;
    if (end < t.size() && (t[end] == 'e' || t[end] == 'E')) {
        size_t digits = end + 1;
        if (digits < t.size() && (t[digits] == '-' || t[digits] == '+')) digits++;
        if (digits < t.size() && is_digit(t[digits])) end = digits;
        while (end < t.size() && is_digit(t[end])) end++;
    }
    text->remove_prefix(end);
    return ParseMacroNumber(t.substr(0, end), x) && !is_missing(*x);
}

// a/b, a(d)b, a d to b or a d:b
bool parse_range(std::string_view text, Range* range) {
    if (!take_number(&text, &range->first)) return false;
    if (take(&text, "(")) {
        if (!take_number(&text, &range->step) || !take(&text, ")")) return false;
    } else if (!take(&text, "/")) {
        double second = 0;
        if (!take_number(&text, &second)) return false;
        if (!take(&text, "to") && !take(&text, ":")) return false;
        range->step = second - range->first;
    }
    return take_number(&text, &range->last) && TrimBlanks(text).empty();
}

ReturnCode read_forvalues(std::string* key, Range* range) {
    if (ReturnCode rc = read_name("=", key)) return rc;
    std::string text;
    if (ReturnCode rc = read_to_brace(&text)) return rc;
    if (!parse_range(text, range)) return ReportInvalidSyntax();
    if (range->step != 0) return 0;
    out_error("forvalues:  increment may not be zero\n");
    return 198;
}

}  // namespace

ReturnCode RunForeach() {
    std::string key, list;
    if (ReturnCode rc = read_foreach(&key, &list)) return refuse(rc);
    LoopBody body(std::move(key));
    RestGuard outer;
    ReturnCode code = 0;
    std::string_view rest = list, word;
    while (body.goes_on && TakeWord(&rest, &word)) {
        session.ForeachRest = TrimBlanks(rest);
        code = body.run(word);
    }
    return finish(body, code);
}

ReturnCode RunForvalues() {
    std::string key;
    Range range;
    if (ReturnCode rc = read_forvalues(&key, &range)) return refuse(rc);
    LoopBody body(std::move(key));
    ReturnCode code = 0;
    // Meant: the counter adds up, with the rounding of each step.
    for (double x = range.first; body.goes_on && range.holds(x); x += range.step) {
        code = body.run(MacroNumber(x));
    }
    return finish(body, code);
}

}  // namespace korva

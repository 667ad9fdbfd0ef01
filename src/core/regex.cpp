// core/regex.cpp - a thin layer over the system's <regex.h>.
//
// The system's compiler recurses at each parenthesis and writes repetitions out, so patterns that
// would exhaust its stack or the memory are refused before it sees them.
#include "core/regex.h"

#include <regex.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "core/print.h"
#include "core/session.h"

namespace korva {

namespace {

constexpr size_t kMaxPatternBytes = 4000;
constexpr int kMaxParentheses = 200;
constexpr int64_t kMaxCopies = 20000;  // characters and groups, every repetition written out

struct RegexState {
    regex_t program = {};
    bool compiled = false;
    bool refused = false;                      // the pattern is none; nothing is compiled
    std::string pattern;                       // of the compiled program
    std::string subject;                       // of the last match
    bool matched = false;                      // there is a last match, and it succeeded
    int subexpressions = 0;                    // in its pattern
    regmatch_t parts[kMaxSubexpressions + 1];  // of its subject
};
RegexState regex;

// Walks a pattern and adds up what the system's compiler makes of it: `+` writes its operand out
// twice and {m,n} n times, over and over where they are nested or stacked.
class PatternSize {
public:
    explicit PatternSize(std::string_view text) : pattern(text) {}

    bool bounded() {
        if (pattern.size() > kMaxPatternBytes) return false;
        while (at < pattern.size()) {
            if (!take_one()) return false;
            if (sums[size_t(depth)] + atom > kMaxCopies) return false;
        }
        return true;
    }

private:
    // One character, bracket, parenthesis or repetition. False: refused.
    bool take_one() {
        const char c = pattern[at++];
        switch (c) {
        case '(': return open_group();
        case ')': close_group(); return true;
        case '[':
            skip_bracket();
            start_atom(1);
            return true;
        case '\\': return take_escape();
        case '+': atom *= 2; return true;
        case '{': atom *= take_count(); return true;
        case '*':
        case '?': return true;
        default: start_atom(1); return true;
        }
    }

    void start_atom(int64_t size) {
        sums[size_t(depth)] += atom;
        atom = size;
    }

    bool open_group() {
        start_atom(0);
        if (depth == kMaxParentheses) return false;
        sums[size_t(++depth)] = 0;
        return true;
    }

    void close_group() {
        if (depth == 0) return start_atom(1);
        atom += sums[size_t(depth--)] + 1;
    }

    // References back to a group make matching exponential, so they are refused.
    bool take_escape() {
        if (at == pattern.size()) return true;
        const char c = pattern[at++];
        start_atom(1);
        return c < '1' || c > '9';
    }

    // Behind `[`: a `]` that comes first is an ordinary character.
    void skip_bracket() {
        if (at < pattern.size() && pattern[at] == '^') at++;
        if (at < pattern.size() && pattern[at] == ']') at++;
        while (at < pattern.size() && pattern[at] != ']') {
            const bool named = pattern[at] == '[' && at + 1 < pattern.size() &&
                               std::string_view(":.=").find(pattern[at + 1]) !=
                                   std::string_view::npos;
            const char closing[] = {named ? pattern[at + 1] : ']', ']'};
            const size_t end = named ? pattern.find(std::string_view(closing, 2), at + 2)
                                     : std::string_view::npos;
            at = end == std::string_view::npos ? at + 1 : end + 2;
        }
        at = std::min(at + 1, pattern.size());
    }

    // Behind `{`: how many copies it asks for.
    int64_t take_count() {
        int64_t largest = 1;
        int64_t number = 0;
        for (; at < pattern.size() && pattern[at] != '}'; at++) {
            const char c = pattern[at];
            number = c >= '0' && c <= '9' ? std::min(number * 10 + (c - '0'), kMaxCopies) : 0;
            largest = std::max(largest, number + 1);
        }
        return largest;
    }

    std::string_view pattern;
    size_t at = 0;
    int depth = 0;
    int64_t atom = 0;                                 // size of what a repetition would act on
    std::array<int64_t, kMaxParentheses + 1> sums{};  // of each open group, without `atom`
};

void drop_program() {
    if (regex.compiled) regfree(&regex.program);
    regex.compiled = false;
    regex.refused = false;
}

// Compiles the pattern if it is not the one at hand; a refused one is remembered as well.
bool compile_quietly(std::string_view pattern) {
    if ((regex.compiled || regex.refused) && regex.pattern == pattern) return regex.compiled;
    drop_program();
    regex.pattern = pattern;
    regex.compiled = PatternSize(pattern).bounded() &&
                     pattern.find('\0') == std::string_view::npos &&
                     regcomp(&regex.program, regex.pattern.c_str(), REG_EXTENDED) == 0;
    regex.refused = !regex.compiled;
    return regex.compiled;
}

ReturnCode compile(std::string_view pattern) {
    if (compile_quietly(pattern)) return 0;
    LevelGuard level(kLevelError);
    out_error("invalid regular expression\n");
    return 198;
}

}  // namespace

bool RegexIsSound(std::string_view pattern) {
    if (compile_quietly(pattern)) return true;
    regex.matched = false;
    return false;
}

ReturnCode RegexMatch(std::string_view text, std::string_view pattern, bool* matched) {
    *matched = false;
    regex.matched = false;
    if (ReturnCode rc = compile(pattern)) return rc;
    regex.subject = text;
    regex.subexpressions = std::min(int(regex.program.re_nsub), kMaxSubexpressions);
    regex.matched = regexec(&regex.program, regex.subject.c_str(), kMaxSubexpressions + 1,
                            regex.parts, 0) == 0;
    *matched = regex.matched;
    return 0;
}

ReturnCode RegexReplace(std::string_view text, std::string_view pattern, std::string_view with,
                        std::string* result) {
    *result = text;
    if (ReturnCode rc = compile(pattern)) return rc;
    regmatch_t whole;
    if (regexec(&regex.program, result->c_str(), 1, &whole, 0) != 0) return 0;
    result->replace(size_t(whole.rm_so), size_t(whole.rm_eo - whole.rm_so), with);
    return 0;
}

Subexpression RegexSubexpression(int n, std::string_view* text) {
    *text = {};
    if (!regex.matched) return Subexpression::NothingMatched;
    if (n < 0 || n > regex.subexpressions) return Subexpression::OutOfRange;
    const regmatch_t& part = regex.parts[n];
    if (part.rm_so >= 0) {
        *text = std::string_view(regex.subject)
                    .substr(size_t(part.rm_so), size_t(part.rm_eo - part.rm_so));
    }
    return Subexpression::Found;
}

void RegexReset() {
    drop_program();
    regex.matched = false;
}

}  // namespace korva

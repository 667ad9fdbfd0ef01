// data/expression_compile.cpp - text to program, by the operator that binds loosest.
//
// The thirteen binary operators are a level each, `|` loosest and `/` tightest, and each groups
// from the left; so a range's program is that of its parts in the order of the text, each operator
// behind its right part. One pass over the range with a stack of waiting operators, at most one a
// level, gives the same program as splitting at the loosest operator from the right, in linear
// time: brackets and strings are matched once for the whole text, and every scan jumps over them.
//
// Two operators bind tighter than all of these: signs and `!` in front, and `^`. A sign belongs to
// the whole chain of powers behind it, but behind a `^` to its operand alone; below version 5 it
// always does the latter, so -2^2 is -4 now and 4 then.
//
// A failure leaves by CompileFailure, caught in compile(); whoever throws has printed the words.

#include <bit>
#include <cmath>
#include <cstring>
#include <string>

#include "core/alloc.h"
#include "core/missing.h"
#include "core/names.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/store.h"
#include "core/stored_results.h"
#include "core/system_values.h"
#include "data/dataset.h"
#include "data/expression.h"
#include "data/expression_machine.h"
#include "data/expression_text.h"
#include "data/function_table.h"
#include "data/labels.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr int kMaxDepth = 500;        // nested calls, subscripts and brackets that join something
constexpr int kMaxLiteral = 25;       // bytes; a longer range is no number
constexpr int kMaxLeadingName = 273;  // bytes in front of a bracket
constexpr int kShortText = 512;       // bytes whose brackets are matched on the stack
constexpr ReturnCode kNotAvailable = 199;

struct CompileFailure {
    ReturnCode code;
};

[[noreturn]] void fail(ReturnCode code) {
    throw CompileFailure{code};
}
[[noreturn]] void fail_syntax() {
    fail(ReportInvalidSyntax());
}
[[noreturn]] void fail_reported(int code) {
    fail(ReportError(code));
}

[[noreturn]] void fail_words(ReturnCode code, const std::string& words) {
    const LevelGuard level(kLevelError);
    out_error(words);
    fail(code);
}

constexpr bool is_digit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
constexpr bool is_hex_digit(char c) {
    return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Bytes that may end an operand, brackets and quotes.
constexpr SeparatorSet kOperandBreaks{"|&=<>!~+-*/^#\\,'\"`()[]"};

struct BinaryOperator {
    int16_t code;
    int16_t text_code;  // for two strings; 0: there is none
    int8_t level;       // 1 binds loosest; 0: no operator
    int8_t length;
};

// The binary operator at p, which has `left` bytes.
BinaryOperator binary_operator(const char* p, int left) {
    const bool with_equal = left > 1 && p[1] == '=';
    switch (*p) {
    case '|': return {OP_OR, 0, 1, 1};
    case '&': return {OP_AND, 0, 2, 1};
    case '=': return with_equal ? BinaryOperator{OP_EQ, OP_EQ_S, 3, 2} : BinaryOperator{};
    case '>':
        return with_equal ? BinaryOperator{OP_GE, OP_GE_S, 4, 2}
                          : BinaryOperator{OP_GT, OP_GT_S, 7, 1};
    case '<':
        return with_equal ? BinaryOperator{OP_LE, OP_LE_S, 5, 2}
                          : BinaryOperator{OP_LT, OP_LT_S, 6, 1};
    case '!': return with_equal ? BinaryOperator{OP_NE, OP_NE_S, 8, 2} : BinaryOperator{};
    case '~': return with_equal ? BinaryOperator{OP_NE, OP_NE_S, 9, 2} : BinaryOperator{};
    case '+': return {OP_ADD, OP_CONCAT, 10, 1};
    case '-': return {OP_SUB, 0, 11, 1};
    case '*': return {OP_MUL, 0, 12, 1};
    case '/': return {OP_DIV, 0, 13, 1};
    default: return {};
    }
}
constexpr int kBinaryLevels = 13;

struct LimitConstant {
    std::string_view name;
    double value;
};
constexpr LimitConstant kLimits[] = {
    {"byteorder", 2},  // the low-order byte comes first
    {"maxdouble", kMaxDouble}, {"mindouble", -kMaxDouble}, {"epsdouble", 0x1p-52},
    {"maxfloat", kMaxFloat},   {"minfloat", -kMaxFloat},   {"epsfloat", 0x1p-23},
    {"maxlong", 2147483620},   {"minlong", -2147483647},   {"maxint", 32740},
    {"minint", -32767},        {"maxbyte", 100},           {"minbyte", -127},
};

struct Compiler {
    const char* text;
    int32_t* match;  // for each bracket, and each start of a string, the index of its partner
    ExpressionRecord* record;
    bool matrix_mode;
    bool signs_bind_tighter;  // version below 5: than ^
    bool inside_missing = false;
    int depth = 0;
    int n_types = 0;
    int n_texts = 0;
    int n_separators = 0;
    char types[kMaxNumbers];        // N, S, M for each operand on the stack
    int32_t separators[kMaxCodes];  // commas of the calls being compiled

    std::string_view view(int begin, int end) const { return {text + begin, size_t(end - begin)}; }

    // Types and words
    // ---------------------------------------------------------------------------------

    void push_type(char type) {
        if (n_types >= kMaxNumbers) fail_reported(130);
        if (type == 'S' && ++n_texts > kMaxTexts) fail_reported(130);
        types[n_types++] = type;
    }

    void pop_type(char type) {
        if (n_types == 0 || types[n_types - 1] != type) fail_reported(109);
        if (type == 'S') n_texts--;
        n_types--;
    }

    char top_type() const { return n_types > 0 ? types[n_types - 1] : char(0); }

    void word(int value) {
        if (record->last_code + 1 >= kMaxCodes) fail_reported(130);
        record->code[++record->last_code] = int16_t(value);
    }

    // The instruction with its check of types; `count` is how many operands it takes if its row
    // leaves that open.
    void emit(int code, int count = 0) {
        const OpcodeRow& row = kOpcodeRows[size_t(code)];
        int taken = 0;
        for (const char* p = row.pops; *p; p++) {
            if (*p == '#') {
                while (taken < count) pop_type(p[-1]), taken++;
            } else if (p[1] != '#' || taken < count) {
                pop_type(*p);
                taken++;
            }
        }
        push_type(row.pushes);
        if (row.shares & kSharesORDER) record->order_free = 0;
        if (row.shares & kSharesTHREAD) record->thread_safe = 0;
        word(code);
    }

    void emit_binary(const BinaryOperator& op) {
        const bool both_texts = n_types > 1 && types[n_types - 1] == 'S' &&
                                types[n_types - 2] == 'S';
        if (!both_texts) return emit(op.code);
        if (op.text_code == 0) fail_reported(109);
        emit(op.text_code);
    }

    void number(double value) {
        ExpressionPools& pools = expression_pools;
        const uint64_t bits = std::bit_cast<uint64_t>(value);
        int i = 0;
        while (i < pools.n_numbers && std::bit_cast<uint64_t>(pools.numbers[i]) != bits) i++;
        if (i == pools.n_numbers) {
            if (i == kMaxConstants) fail_words(130, "too many literals\n");
            pools.numbers[pools.n_numbers++] = value;
        }
        emit(OP_NUMBER);
        word(i);
    }

    void constant_text(std::string_view value) {
        ExpressionPools& pools = expression_pools;
        value = value.substr(0, size_t(kMaxStringBytes));
        value = value.substr(0, value.find('\0'));
        int at = 0;
        while (at < pools.text_bytes && pools.texts + at != value) {
            at += int(strlen(pools.texts + at)) + 1;
        }
        if (at == pools.text_bytes) {
            if (at + int(value.size()) + 1 > kTextPoolBytes) fail_words(130, "too many literals\n");
            memcpy(pools.texts + at, value.data(), value.size());
            pools.texts[at + int(value.size())] = 0;
            pools.text_bytes += int(value.size()) + 1;
        }
        emit(OP_TEXT);
        word(at);
    }

    void variable(int32_t var) {
        emit(type_is_string(dataset.types[var - 1]) ? OP_VARIABLE_S : OP_VARIABLE);
        word(var);
    }

    // Ranges
    // ------------------------------------------------------------------------------------------

    // Compiles text[begin, end).
    void range(int begin, int end) {
        if (++depth > kMaxDepth) fail_reported(130);
        while (begin < end && text[begin] == '(' && match[begin] == end - 1) begin++, end--;
        if (begin >= end) fail_syntax();
        BinaryOperator waiting[kBinaryLevels];
        int n_waiting = 0;
        int at = chain(begin, end);
        while (at < end) {
            const BinaryOperator op = binary_operator(text + at, end - at);
            if (op.level == 0) fail_misplaced(at);
            while (n_waiting > 0 && waiting[n_waiting - 1].level >= op.level) {
                emit_binary(waiting[--n_waiting]);
            }
            waiting[n_waiting++] = op;
            at = chain(at + op.length, end);
        }
        while (n_waiting > 0) emit_binary(waiting[--n_waiting]);
        depth--;
    }

    [[noreturn]] void fail_misplaced(int at) {
        if (strchr("#\\'", text[at]) && text[at]) fail_reported(509);
        fail_syntax();
    }

    // Where the signs and nots that begin at `at` end.
    int prefixes_end(int at, int end) const {
        while (at < end && (text[at] == '-' || text[at] == '!' || text[at] == '~')) {
            if (text[at] != '-' && at + 1 < end && text[at + 1] == '=') break;
            at++;
        }
        return at;
    }

    void apply_prefixes(int begin, int end) {
        for (int i = end - 1; i >= begin; i--) emit(text[i] == '-' ? OP_NEGATE : OP_NOT);
    }

    // Compiles the operands that ^ joins from `begin` on, with what stands in front of them;
    // returns the place behind.
    int chain(int begin, int end) {
        const int first = prefixes_end(begin, end);
        int at = operand(first, end);
        if (signs_bind_tighter) apply_prefixes(begin, first);
        while (at < end && text[at] == '^') {
            const int signs = at + 1;
            const int right = prefixes_end(signs, end);
            at = operand(right, end);
            apply_prefixes(signs, right);
            emit(OP_POW);
        }
        if (!signs_bind_tighter) apply_prefixes(begin, first);
        return at;
    }

    // True if the sign at `at` is part of the number that begins at `begin`.
    bool is_exponent_sign(int begin, int at, int end) const {
        if (at - begin < 2 || at + 1 >= end) return false;
        const char letter = text[at - 1];
        if (letter == 'x' || letter == 'X') {
            if ((text[begin] != '0' && text[begin] != '1') || text[begin + 1] != '.') return false;
            for (int i = begin + 2; i < at - 1; i++) {
                if (!is_hex_digit(text[i])) return false;
            }
            return is_hex_digit(text[at + 1]);
        }
        if (letter != 'e' && letter != 'E' && letter != 'd' && letter != 'D') return false;
        for (int i = begin; i < at - 1; i++) {
            if (!is_digit(text[i]) && text[i] != '.') return false;
        }
        return is_digit(text[at + 1]);
    }

    // Where the operand that begins at `begin` ends.
    int operand_end(int begin, int end) const {
        int at = begin;
        while (at < end) {
            const char c = text[at];
            if (!kOperandBreaks.has[uint8_t(c)]) {
                at++;
            } else if (c == '(' || c == '[' || c == '"' || (c == '`' && match[at] > at)) {
                at = match[at] + 1;
            } else if (c == '~' && at > begin && (at + 1 == end || text[at + 1] != '=')) {
                at++;  // an abbreviation of a variable's name
            } else if ((c == '+' || c == '-') && is_exponent_sign(begin, at, end)) {
                at++;
            } else if (c == '`') {
                at++;
            } else {
                break;
            }
        }
        return at;
    }

    // Operands
    // ----------------------------------------------------------------------------------------

    // Compiles one operand and returns the place behind it. Short whole numbers have a path of
    // their own.
    int operand(int begin, int end) {
        int at = begin;
        int whole = 0;
        while (at < end && at - begin < 9 && is_digit(text[at]))
            whole = whole * 10 + (text[at++] - '0');
        if (at > begin &&
            (at == end || binary_operator(text + at, end - at).level || text[at] == '^')) {
            number(whole);
            return at;
        }
        // A + may be the sign of a number, but not behind another +.
        const bool has_plus = begin < end && text[begin] == '+';
        if (has_plus && begin > 0 && text[begin - 1] == '+') fail_syntax();
        const int stop = operand_end(begin + (has_plus ? 1 : 0), end);
        if (stop == begin) {
            if (begin < end) fail_misplaced(begin);
            fail_syntax();
        }
        compile_operand(begin, stop);
        return stop;
    }

    void compile_operand(int begin, int end) {
        const char c = text[begin];
        if (c == '(') {
            if (match[begin] != end - 1) fail_syntax();
            return range(begin + 1, end - 1);
        }
        if (c == '"' || is_compound(view(begin, end), 0)) return quoted(begin, end);
        double value;
        if ((is_digit(c) || c == '.' || c == '+') && end - begin < kMaxLiteral &&
            parse_number(view(begin, end), &value)) {
            return number(value);
        }
        named(begin, end);
    }

    // A string constant, or "text":label, the value that the label has.
    void quoted(int begin, int end) {
        const bool compound = text[begin] == '`';
        const int last = match[begin];
        const std::string_view inner = compound ? view(begin + 2, last - 1) : view(begin + 1, last);
        if (last + 1 == end) return constant_text(inner);
        if (text[last + 1] != ':' || last + 2 == end) fail_syntax();
        const std::string_view label = view(last + 2, end);
        if (!IsValidName(label)) fail_syntax();
        double value;
        bool exists = false;
        if (!find_label_value(label, inner, &value, &exists)) {
            const LevelGuard level(kLevelText);
            out_text("(value label " + std::string(inner) + " not found)\n");
            value = kSysMissing;
        }
        number(value);
    }

    void named(int begin, int end) {
        int at = begin;
        while (at < end && text[at] != '(' && text[at] != '[') at++;
        if (at - begin > kMaxLeadingName) fail_syntax();
        const std::string_view name = view(begin, at);
        if (at < end && match[at] != end - 1) {
            if (at > begin) fail_syntax();
            return coefficient(begin, end);
        }
        if (at == end) return plain_name(name);
        if (text[at] == '(') return function(name, at + 1, end - 1);
        if (name == "_b" || name == "_coef" || name == "_se" || name.empty()) {
            return coefficient(begin, end);
        }
        element(name, at + 1, end - 1);
    }

    // _b[x], _se[x], [eq]_b[x]: no estimation results are kept yet, so none is found.
    void coefficient(int begin, int end) { fail(ReportNotFound(view(begin, end))); }

    // A name alone.
    void plain_name(std::string_view name) {
        if (name[0] == '_' && special_name(name)) return;
        if (name.find('.') != std::string_view::npos && is_letter(name[0])) fail_reported(6101);
        if (const int32_t var = look_up_variable(name)) return variable(var);
        if (StoreFind(name, kKindMatrix)) fail_reported(509);
        if (scalar_value(name)) return;
        fail_not_found(name);
    }

    bool special_name(std::string_view name) {
        if (name == "_n") {
            emit(OP_OBS);
        } else if (name == "_N") {
            emit(OP_NOBS);
        } else if (name == "_cons") {
            emit(OP_CONS);
        } else if (name == "_rc") {
            emit(OP_RC);
        } else if (name == "_pi") {
            number(M_PI);
        } else {
            return false;
        }
        return true;
    }

    // The scalar of the name as a constant; false if there is none. Its record holds a double, or a
    // text if the user word is not 0.
    bool scalar_value(std::string_view name) {
        const StoreRecord* scalar = StoreFind(name, kKindScalar);
        if (!scalar) return false;
        if (scalar->user_word) {
            constant_text({scalar->payload(), strnlen(scalar->payload(), scalar->length)});
        } else {
            double value = kSysMissing;
            if (scalar->length >= sizeof value) memcpy(&value, scalar->payload(), sizeof value);
            number(value);
        }
        return true;
    }

    // Nothing has the name: an abbreviation of several variables has its own words.
    [[noreturn]] void fail_not_found(std::string_view name) {
        if (name.find('~') != std::string_view::npos) {
            int32_t var = 0;
            fail(find_variable(name, &var));
        }
        if (!IsValidName(name)) fail_syntax();
        if (settings.varabbrev) {
            for (int i = 0; i < dataset.nvar; i++) {
                if (std::string_view(dataset.names[i]).starts_with(name))
                    fail(ReportAmbiguous(name));
            }
        }
        fail(ReportNotFound(name));
    }

    // x[subscript]
    void element(std::string_view name, int begin, int end) {
        if (name == "_n" || name == "_N" || name == "_cons" || name == "_rc" || name == "_pi") {
            fail_syntax();
        }
        const int32_t var = look_up_variable(name);
        if (!var) {
            if (StoreFind(name, kKindMatrix)) {
                fail_words(kNotAvailable, "elements of matrices are not available yet\n");
            }
            fail_not_found(name);
        }
        range(begin, end);
        emit(type_is_string(dataset.types[var - 1]) ? OP_ELEMENT_S : OP_ELEMENT);
        word(var);
    }

    // Functions
    // ---------------------------------------------------------------------------------------

    // The arguments of a call, as the places of their ends in `separators` from `base` on.
    struct Arguments {
        int base;
        int count;
        int begin;
    };

    Arguments split(int begin, int end) {
        Arguments a{n_separators, 0, begin};
        if (begin == end) return a;
        int at = begin;
        while (at <= end) {
            if (at == end || text[at] == ',') {
                if (n_separators == kMaxCodes) fail_reported(130);
                separators[n_separators++] = at++;
                a.count++;
            } else {
                at = skip(at);
            }
        }
        return a;
    }

    int skip(int at) const {
        const char c = text[at];
        const bool jumps = c == '(' || c == '[' || c == '"' || (c == '`' && match[at] > at);
        return jumps ? match[at] + 1 : at + 1;
    }

    void argument(const Arguments& a, int index) {
        const int begin = index == 0 ? a.begin : separators[a.base + index - 1] + 1;
        range(begin, separators[a.base + index]);
    }

    // Compiles the arguments from the last to the first and forgets them.
    void arguments(const Arguments& a) {
        for (int i = a.count - 1; i >= 0; i--) argument(a, i);
        n_separators = a.base;
    }

    [[noreturn]] void fail_unavailable(std::string_view name) {
        fail_words(kNotAvailable, "function " + std::string(name) + "() is not available yet\n");
    }

    void function(std::string_view name, int begin, int end) {
        const FunctionRow* row = find_function(name, session.version, true);
        if (!row) {
            fail_words(133, "Unknown function " + std::string(name) + "()\n");
        }
        if (row->kind == FunctionKind::InMatrixMode && !matrix_mode) fail_reported(509);
        if (row->kind == FunctionKind::Alone) return routine(*row, begin, end);
        if (!kOpcodeRows[size_t(row->opcode)].available) fail_unavailable(name);
        if (row->max_arguments == 1 && begin < end) {
            range(begin, end);
            emit(row->opcode, 1);
            if (row->kind == FunctionKind::Counted) word(1);
            return;
        }
        const Arguments a = split(begin, end);
        if (a.count < row->min_arguments || a.count > row->max_arguments) fail_syntax();
        arguments(a);
        emit(row->opcode, a.count);
        if (row->kind == FunctionKind::Counted) word(a.count);
    }

    void routine(const FunctionRow& row, int begin, int end) {
        switch (row.routine) {
        case FunctionRoutine::Cond: return condition(begin, end);
        case FunctionRoutine::Sum: return running_sum(begin, end);
        case FunctionRoutine::Missing: return missing(begin, end);
        case FunctionRoutine::InRange:
            return by_first_type(begin, end, 3, 3, OP_INRANGE, OP_INRANGE_S);
        case FunctionRoutine::InList:
            return by_first_type(begin, end, 2, 240, OP_INLIST, OP_INLIST_S);
        case FunctionRoutine::Plural: return plural(begin, end);
        case FunctionRoutine::Scalar: return scalar(begin, end);
        case FunctionRoutine::Variable: return variable_by_name(begin, end);
        case FunctionRoutine::Results: return stored_result(row.name, begin, end);
        case FunctionRoutine::SystemValue: return system_value(begin, end);
        case FunctionRoutine::Caller:
            if (begin != end) fail_syntax();
            return number(session.callerVersion / 100.0);
        case FunctionRoutine::Limit: return limit(row.name, begin, end);
        default: fail_unavailable(row.name);
        }
    }

    void condition(int begin, int end) {
        const Arguments a = split(begin, end);
        if (a.count != 3 && a.count != 4) fail_syntax();
        arguments(a);
        emit(n_types > 1 && types[n_types - 2] == 'S' ? OP_COND_S : OP_COND, a.count);
        word(a.count);
    }

    void running_sum(int begin, int end) {
        if (record->last_sum + 1 >= kMaxSums) fail_words(130, "Too many SUMs\n");
        const int accumulator = ++record->last_sum + 1;
        range(begin, end);
        emit(OP_SUM);
        word(accumulator);
    }

    // missing(a, ...): a >= . for a number, a == "" for a string, joined by |.
    void missing(int begin, int end) {
        if (inside_missing) fail_words(198, "missing() may not be nested within missing()\n");
        inside_missing = true;
        const Arguments a = split(begin, end);
        if (a.count < 1) fail_syntax();
        for (int i = a.count - 1; i >= 0; i--) {
            argument(a, i);
            if (top_type() == 'S') {
                constant_text("");
                emit(OP_EQ_S);
            } else {
                number(kSysMissing);
                emit(OP_GE);
            }
            if (i < a.count - 1) emit(OP_OR);
        }
        n_separators = a.base;
        inside_missing = false;
    }

    // One instruction for numbers and one for strings, by the first argument.
    void by_first_type(int begin, int end, int fewest, int most, int code, int text_code) {
        const Arguments a = split(begin, end);
        if (a.count < fewest || a.count > most) fail_syntax();
        arguments(a);
        const int chosen = top_type() == 'S' ? text_code : code;
        emit(chosen, a.count);
        if (kOpcodeRows[size_t(chosen)].operands) word(a.count);
    }

    void plural(int begin, int end) {
        const Arguments a = split(begin, end);
        if (a.count != 2 && a.count != 3) fail_syntax();
        arguments(a);
        emit(a.count == 2 ? OP_PLURAL : OP_PLURAL3);
    }

    void scalar(int begin, int end) {
        const std::string_view name = view(begin, end);
        if (!IsValidName(name)) fail_syntax();
        if (!scalar_value(name)) fail(ReportNotFound(name));
    }

    void variable_by_name(int begin, int end) {
        int32_t var = 0;
        if (begin == end) fail_syntax();
        if (ReturnCode rc = find_variable(view(begin, end), &var)) fail(rc);
        variable(var);
    }

    // r(name), e(name), s(name), return(name): the value that stands there now. e(sample) is a
    // variable.
    void stored_result(std::string_view family_name, int begin, int end) {
        const std::string_view name = view(begin, end);
        if (family_name == "e" && name == "sample") {
            if (const int var = find_variable_exact(kEstimationSample)) return variable(var);
            return number(0);
        }
        const ResultFamily family = family_name == "r"   ? ResultFamily::R
                                    : family_name == "e" ? ResultFamily::E
                                    : family_name == "s" ? ResultFamily::S
                                                         : ResultFamily::Return;
        const StoredValue value = FindStoredResult(family, name);
        switch (value.kind) {
        case ResultKind::Number: return number(value.number);
        case ResultKind::Text: return constant_text(value.text);
        case ResultKind::Matrix: fail_reported(509);
        case ResultKind::None: break;
        }
        if (!IsValidName(name)) fail_syntax();
        number(kSysMissing);
    }

    void system_value(int begin, int end) {
        const std::string_view name = view(begin, end);
        SystemValue value;
        if (!FindSystemValue(name, &value)) {
            fail_words(133, "c(" + std::string(name) + ") undefined\n");
        }
        if (value.is_text) return constant_text(value.text);
        number(value.number);
    }

    void limit(std::string_view name, int begin, int end) {
        if (begin != end) fail_syntax();
        for (const LimitConstant& row : kLimits) {
            if (row.name == name) return number(row.value);
        }
        fail_unavailable(name);
    }
};

// Fills match[] for every bracket and string start. 132 with words.
ReturnCode match_brackets(std::string_view text, int32_t* match) {
    int32_t open = -1;  // innermost open bracket; its entry holds the one around it
    for (size_t i = 0; i < text.size(); i++) {
        const char c = text[i];
        if (!kOperandBreaks.has[uint8_t(c)]) continue;
        if (c == '"' || c == '`') {
            match[i] = -1;
            if (c == '`' && !is_compound(text, i)) continue;
            const size_t end = string_end(text, i);
            if (end == std::string_view::npos) return report_quotes();
            match[i] = int32_t(end);
            i = end;
        } else if (c == '(' || c == '[') {
            match[i] = open;
            open = int32_t(i);
        } else if (c == ')' || c == ']') {
            if (open < 0 || text[size_t(open)] != (c == ')' ? '(' : '['))
                return report_brackets(true);
            const int32_t around = match[open];
            match[open] = int32_t(i);
            match[i] = open;
            open = around;
        }
    }
    return open >= 0 ? report_brackets(false) : 0;
}

bool type_fits(char type, ExpressionMode mode) {
    switch (mode) {
    case ExpressionMode::Number:
    case ExpressionMode::NumberOrMatrix: return type == 'N';
    case ExpressionMode::String: return type == 'S';
    case ExpressionMode::Either: return type == 'N' || type == 'S';
    case ExpressionMode::Matrix: return type == 'M';
    }
    return false;
}

void empty_record(ExpressionRecord* record) {
    for (double& sum : record->sums) sum = 0;
    record->last_code = -1;
    record->last_sum = -1;
    record->first = record->group_first = 1;
    record->last = record->group_last = 0;
    record->result_type = 0;
    record->has_matrices = 0;
    record->order_free = 1;
    record->thread_safe = 1;
}

ReturnCode compile_clean(std::string_view text, int32_t* match, ExpressionRecord* record,
                         ExpressionMode mode) {
    if (ReturnCode rc = match_brackets(text, match)) return rc;
    const int32_t n_numbers = expression_pools.n_numbers;
    const int32_t text_bytes = expression_pools.text_bytes;
    Compiler c;
    c.text = text.data();
    c.match = match;
    c.record = record;
    c.matrix_mode = mode == ExpressionMode::NumberOrMatrix;
    c.signs_bind_tighter = session.version < 500;
    try {
        c.range(0, int(text.size()));
        if (!type_fits(c.top_type(), mode)) fail_reported(109);
        record->result_type = c.top_type() == 'S' ? 1 : 0;
        return 0;
    } catch (const CompileFailure& failure) {
        empty_record(record);
        expression_pools.n_numbers = n_numbers;
        expression_pools.text_bytes = text_bytes;
        return failure.code;
    }
}

}  // namespace

ReturnCode compile(std::string_view text, ExpressionRecord* record, ExpressionMode mode) {
    empty_record(record);
    if (mode == ExpressionMode::Matrix) {
        const LevelGuard level(kLevelError);
        out_error("matrix expressions are not available yet\n");
        return kNotAvailable;
    }
    std::string cleaned;
    if (has_blanks(text)) {
        size_t used = 0;
        if (ReturnCode rc = clean_expression(text, mode == ExpressionMode::NumberOrMatrix, &cleaned,
                                             &used)) {
            return rc;
        }
        if (used < text.size()) return ReportInvalidSyntax();
        text = cleaned;
    }
    if (text.size() <= size_t(kShortText)) {
        int32_t match[kShortText];
        return compile_clean(text, match, record, mode);
    }
    const EngineBlock match(text.size() * sizeof(int32_t));
    if (!match.bytes) return ReportError(909);
    return compile_clean(text, static_cast<int32_t*>(match.bytes), record, mode);
}

}  // namespace korva

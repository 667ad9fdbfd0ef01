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
// What names stand for is in expression_names.cpp.

#include <bit>
#include <cstring>
#include <string>

#include "core/alloc.h"
#include "core/missing.h"
#include "core/names.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "data/dataset.h"
#include "data/expression_compiler.h"
#include "data/expression_text.h"
#include "data/labels.h"

namespace korva {

namespace {

constexpr int kMaxDepth = 500;   // nested calls, subscripts and brackets that join something
constexpr int kMaxLiteral = 25;  // bytes; a longer range is no number
constexpr int kShortText = 512;  // bytes whose brackets are matched on the stack

constexpr bool is_digit(char c) {
    return c >= '0' && c <= '9';
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
constexpr int kBinaryLevels = 16;  // with those of matrices

// The same in matrix mode, which has three more: # binds tightest, and what joins binds loosest.
BinaryOperator matrix_operator(const char* p, int left, bool joins) {
    if (*p == '#') return {OP_M_KRONECKER, 0, 14, 1};
    if (joins && *p == ',') return {OP_M_COLUMNS, 0, -1, 1};
    if (joins && *p == '\\') return {OP_M_ROWS, 0, -2, 1};
    return binary_operator(p, left);
}

// The operator's code for matrices; 0: it has none.
int matrix_code(const BinaryOperator& op) {
    switch (op.code) {
    case OP_ADD: return OP_M_ADD;
    case OP_SUB: return OP_M_SUB;
    case OP_MUL: return OP_M_MUL;
    case OP_DIV: return OP_M_DIV;
    default: return 0;
    }
}

bool only_matrices(const BinaryOperator& op) {
    return op.code == OP_M_KRONECKER || op.code == OP_M_COLUMNS || op.code == OP_M_ROWS;
}

// An operator that waits for its right operand, whose program begins at right_at.
struct WaitingOperator {
    BinaryOperator op;
    int right_at;
};

}  // namespace

void Compiler::fail(ReturnCode code) {
    throw CompileFailure{code};
}
void Compiler::fail_syntax() {
    fail(ReportInvalidSyntax());
}
void Compiler::fail_reported(int code) {
    fail(ReportError(code));
}

void Compiler::fail_words(ReturnCode code, const std::string& words) {
    const LevelGuard level(kLevelError);
    out_error(words);
    fail(code);
}

// --- the program and its types ---

void Compiler::push_type(char type) {
    if (n_types >= kMaxNumbers) fail_reported(130);
    if (type == 'S' && ++n_texts > kMaxTexts) fail_reported(130);
    if (type == 'M' && ++n_matrices > kMaxMatrices) fail_reported(130);
    types[n_types++] = type;
}

void Compiler::pop_type(char type) {
    if (n_types == 0 || types[n_types - 1] != type) fail_reported(109);
    if (type == 'S') n_texts--;
    if (type == 'M') n_matrices--;
    n_types--;
}

void Compiler::word(int value) {
    if (record->last_code + 1 >= kMaxCodes) fail_reported(130);
    record->code[++record->last_code] = int16_t(value);
}

void Compiler::emit(int code, int count) {
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
    if (row.pushes == 'M' || strchr(row.pops, 'M')) record->has_matrices = 1;
    if (row.shares & kSharesORDER) record->order_free = 0;
    if (row.shares & kSharesTHREAD) record->thread_safe = 0;
    word(code);
}

void Compiler::emit_binary(int code, int text_code) {
    const bool both_texts = n_types > 1 && types[n_types - 1] == 'S' && types[n_types - 2] == 'S';
    if (!both_texts) return emit(code);
    if (text_code == 0) fail_reported(109);
    emit(text_code);
}

void Compiler::emit_matrices(int code, int right_at) {
    if (types[n_types - 2] == 'N') {
        word(0);
        int16_t* at = record->code + right_at;
        memmove(at + 1, at, size_t(record->last_code - right_at) * sizeof *at);
        *at = OP_M_PROMOTE;
        types[n_types - 2] = 'M';
        if (++n_matrices > kMaxMatrices) fail_reported(130);
    }
    if (top_type() == 'N') emit(OP_M_PROMOTE);
    emit(code);
}

void Compiler::number(double value) {
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

int Compiler::pool_text(std::string_view value) {
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
    return at;
}

void Compiler::constant_text(std::string_view value) {
    const int at = pool_text(value);
    emit(OP_TEXT);
    word(at);
}

void Compiler::variable(int32_t var) {
    emit(type_is_string(dataset.types[var - 1]) ? OP_VARIABLE_S : OP_VARIABLE);
    word(var);
}

// --- ranges and operands ---

// Compiles text[begin, end).
void Compiler::range(int begin, int end, bool joins) {
    if (++depth > kMaxDepth) fail_reported(130);
    while (begin < end && text[begin] == '(' && match[begin] == end - 1) {
        begin++, end--;
        joins = true;
    }
    if (begin >= end) fail_syntax();
    WaitingOperator waiting[kBinaryLevels];
    int n_waiting = 0;
    const auto emit_waiting = [&] {
        const auto& [op, right_at] = waiting[--n_waiting];
        const bool has_matrix = matrix_mode && (top_type() == 'M' || types[n_types - 2] == 'M');
        if (only_matrices(op)) return emit_matrices(op.code, right_at);
        if (has_matrix && matrix_code(op)) return emit_matrices(matrix_code(op), right_at);
        emit_binary(op.code, op.text_code);
    };
    int at = chain(begin, end);
    while (at < end) {
        const BinaryOperator op = matrix_mode ? matrix_operator(text + at, end - at, joins)
                                              : binary_operator(text + at, end - at);
        if (op.level == 0) fail_misplaced(at);
        while (n_waiting > 0 && waiting[n_waiting - 1].op.level >= op.level) emit_waiting();
        waiting[n_waiting++] = {op, record->last_code + 1};
        at = chain(at + op.length, end);
    }
    while (n_waiting > 0) emit_waiting();
    depth--;
}

void Compiler::fail_misplaced(int at) {
    if (!matrix_mode && strchr("#\\'", text[at]) && text[at]) fail_reported(509);
    fail_syntax();
}

// Where the signs and nots that begin at `at` end.
int Compiler::prefixes_end(int at, int end) const {
    while (at < end && (text[at] == '-' || text[at] == '!' || text[at] == '~')) {
        if (text[at] != '-' && at + 1 < end && text[at + 1] == '=') break;
        at++;
    }
    return at;
}

void Compiler::apply_prefixes(int begin, int end) {
    const int negate = top_type() == 'M' ? OP_M_NEGATE : OP_NEGATE;
    for (int i = end - 1; i >= begin; i--) emit(text[i] == '-' ? negate : OP_NOT);
}

// Compiles the operands that ^ joins from `begin` on, with what stands in front of them;
// returns the place behind.
int Compiler::chain(int begin, int end) {
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
bool Compiler::is_exponent_sign(int begin, int at, int end) const {
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

// True if the ~ at `at` begins an operator. In x~==1 the == is one, and the ~ belongs to the name.
bool Compiler::is_not_equal(int at, int end) const {
    const bool with_equal = at + 1 < end && text[at + 1] == '=';
    return with_equal && !(at + 2 < end && text[at + 2] == '=');
}

// Where the operand that begins at `begin` ends.
int Compiler::operand_end(int begin, int end) const {
    int at = begin;
    while (at < end) {
        const char c = text[at];
        if (!kOperandBreaks.has[uint8_t(c)]) {
            at++;
        } else if (c == '(' || c == '[' || c == '"' || (c == '`' && match[at] > at)) {
            at = match[at] + 1;
        } else if (c == '~' && at > begin && !is_not_equal(at, end)) {
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

// Compiles one operand and returns the place behind it. Short whole numbers have a path of
// their own.
int Compiler::operand(int begin, int end) {
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
    at = stop;
    while (matrix_mode && at < end && text[at] == '\'') emit(OP_M_TRANSPOSE), at++;
    return at;
}

void Compiler::compile_operand(int begin, int end) {
    const char c = text[begin];
    if (c == '(') {
        if (match[begin] != end - 1) fail_syntax();
        return range(begin + 1, end - 1, true);
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
void Compiler::quoted(int begin, int end) {
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

namespace {

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
    case ExpressionMode::Number: return type == 'N';
    case ExpressionMode::NumberOrMatrix: return type == 'N' || type == 'M';
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
    c.matrix_mode = is_matrix_mode(mode);
    c.signs_bind_tighter = session.version < 500;
    try {
        c.range(0, int(text.size()));
        if (!type_fits(c.top_type(), mode)) Compiler::fail_reported(109);
        record->result_type = c.top_type() == 'S' ? 1 : c.top_type() == 'M' ? 4 : 0;
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
    std::string cleaned;
    if (has_blanks(text)) {
        size_t used = 0;
        if (ReturnCode rc = clean_expression(text, is_matrix_mode(mode), &cleaned, &used))
            return rc;
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

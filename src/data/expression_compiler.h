// data/expression_compiler.h - the state of one compilation and its parts, for this folder only.
//
// compile() fills a Compiler and calls range() for the whole text. Places are indexes into the
// cleaned text; a part [begin, end) never cuts a bracket or a string. Each part appends its program
// to the record and leaves its type on the stack of types. What fails prints its words and leaves
// by CompileFailure, which compile() catches.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "data/expression.h"
#include "data/expression_machine.h"
#include "data/function_table.h"

namespace korva {

struct CompileFailure {
    ReturnCode code;
};

struct Compiler {
    const char* text;  // cleaned; the places count its bytes
    int32_t* match;    // for each bracket, and each start of a string, the index of its partner
    ExpressionRecord* record;       // being filled
    bool matrix_mode;               // a matrix may result
    bool signs_bind_tighter;        // version below 5: than ^
    bool inside_missing = false;    // in the arguments of missing()
    int depth = 0;                  // ranges inside ranges
    int n_types = 0;                // operands on the stack
    int n_texts = 0;                // of them strings
    int n_matrices = 0;             // of them matrices
    int n_separators = 0;           // in use
    char types[kMaxNumbers];        // N, S, M for each operand on the stack
    int32_t separators[kMaxCodes];  // commas of the calls being compiled

    // The arguments of a call, as the places of their ends in `separators` from `base` on.
    struct Arguments {
        int base;
        int count;
        int begin;
    };

    std::string_view view(int begin, int end) const { return {text + begin, size_t(end - begin)}; }
    char top_type() const { return n_types > 0 ? types[n_types - 1] : char(0); }

    // --- failures (data/expression_compile.cpp) ---

    [[noreturn]] static void fail(ReturnCode code);  // the words are out
    [[noreturn]] static void fail_syntax();
    [[noreturn]] static void fail_reported(int code);  // with the words of the code
    [[noreturn]] static void fail_words(ReturnCode code, const std::string& words);
    [[noreturn]] void fail_misplaced(int at);

    // --- the program and its types (data/expression_compile.cpp) ---

    void push_type(char type);
    void pop_type(char type);  // 109 if another lies on the top
    void word(int value);
    // The instruction with its check of types; `count` is how many operands it takes if its row
    // leaves that open.
    void emit(int code, int count = 0);
    // The first code, or for two strings the second; 0: there is none, 109.
    void emit_binary(int code, int text_code);
    // The code for two matrices; a number among them becomes one first. The program of the right
    // operand begins at `right_at`.
    void emit_matrices(int code, int right_at);
    void number(double value);
    void constant_text(std::string_view value);
    int pool_text(std::string_view value);  // its place in the text pool
    void variable(int32_t var);

    // --- ranges and operands (data/expression_compile.cpp) ---

    // In matrix mode \ and , join what stands in parentheses: `joins`.
    void range(int begin, int end, bool joins = false);
    // The operands that ^ joins from `begin` on, with what stands in front of them; returns the
    // place behind. operand() does the same for one.
    int chain(int begin, int end);
    int operand(int begin, int end);
    int prefixes_end(int at, int end) const;
    void apply_prefixes(int begin, int end);
    bool is_exponent_sign(int begin, int at, int end) const;
    bool is_not_equal(int at, int end) const;
    int operand_end(int begin, int end) const;
    void compile_operand(int begin, int end);
    void quoted(int begin, int end);

    // --- names and calls (data/expression_names.cpp) ---

    void named(int begin, int end);
    void plain_name(std::string_view name);
    void time_series(std::string_view name);
    bool special_name(std::string_view name);  // false: it is none of _n, _N, ...
    bool scalar_value(std::string_view name);  // false: there is no scalar of the name
    [[noreturn]] void fail_not_found(std::string_view name);
    void element(std::string_view name, int begin, int end);
    void matrix_cell(std::string_view name, int begin, int end);
    void named_matrix(int code, std::string_view name);
    void coefficient(int begin, int end);
    int skip(int at) const;
    Arguments split(int begin, int end);
    void argument(const Arguments& a, int index);
    void arguments(const Arguments& a);
    [[noreturn]] void fail_unavailable(std::string_view name);
    void function(std::string_view name, int begin, int end);
    void routine(const FunctionRow& row, int begin, int end);
    void condition(int begin, int end);
    void running_sum(int begin, int end);
    void missing(int begin, int end);
    void by_first_type(int begin, int end, int fewest, int most, int code, int text_code);
    void by_count(int begin, int end, int fewest, std::span<const int16_t> codes);
    void plural(int begin, int end);
    void scalar(int begin, int end);
    void variable_by_name(int begin, int end);
    void stored_result(std::string_view family_name, int begin, int end);
    void system_value(int begin, int end);
    void limit(std::string_view name, int begin, int end);
    bool time_bound(int var, char kind, std::string_view literal, int code);
    void time_range(bool strictly, int begin, int end);
    void time_literal(char kind, int begin, int end);
};

}  // namespace korva

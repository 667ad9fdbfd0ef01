// data/expression.h - compiled expressions: text to a flat program of 16-bit codes, and its run.
//
// compile() fills a record; eval() runs it at one observation, eval_block() over many, with the
// same results bit for bit. Records hold no pointers into themselves and are valid for the current
// command: their constants lie in pools that the next command's parse resets.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/types.h"
#include "core/upcalls.h"

namespace korva {

constexpr int kMaxCodes = 2400;
constexpr int kMaxSums = 5;
constexpr int kBlockObs = 256;  // observations that one instruction handles at a time

struct ExpressionRecord {
    double sums[kMaxSums];  // accumulators of sum(), by index
    int16_t code[kMaxCodes];
    int32_t last_code;  // index of the last word; -1 when empty
    int32_t last_sum;   // -1 without sum()
    int32_t first;      // observations of the run's range, 1-based
    int32_t last;
    int32_t group_first;   // of the by-group, or 1
    int32_t group_last;    // of the by-group, or nobs
    uint8_t result_type;   // 0 number, 1 string, 4 matrix
    uint8_t has_matrices;  // the program has matrix operations
    uint8_t order_free;    // no result depends on another's, nor on the order of evaluation
    uint8_t thread_safe;   // several threads may run it at once
};
extern ExpressionRecord main_expression;  // =exp
extern ExpressionRecord if_expression;    // the if qualifier
extern ExpressionRecord scratch_expression;

// Takes the expression at the scanner into *text: up to its end at depth 0, blanks removed, strings
// kept. The scanner stands behind it. 132 with words for unbalanced parentheses or quotes.
ReturnCode collect_expression(std::string* text, bool matrix_mode);

inline bool is_matrix_mode(ExpressionMode mode) {
    return mode == ExpressionMode::Matrix || mode == ExpressionMode::NumberOrMatrix;
}

// Compiles cleaned or raw text. A program with matrix operations, which only the matrix modes give,
// cannot be run yet. 109, 111, 130, 132, 133, 198, 303, 509 with their words; the record
// is then empty.
ReturnCode compile(std::string_view text, ExpressionRecord* record, ExpressionMode mode);

// The number at the observation; NaN, infinity and overflow are `.`. The range is the group in
// force.
double eval(ExpressionRecord* record, int obs);

// The text at the observation into buffer[kMaxStringBytes + 2].
void evalstr(ExpressionRecord* record, int obs, char* buffer);

// The numbers at observations obs .. obs + n - 1 into out[n], n <= kBlockObs, equal to n calls of
// eval in that order.
void eval_block(ExpressionRecord* record, int obs, int n, double* out);

// The constants pool is empty again: a command's parse begins.
void reset_expression_pools();

}  // namespace korva

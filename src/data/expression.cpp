// data/expression.cpp - the fixed records, the pools, and the run of an expression at one place.
//
// What EvaluateText and EvaluateScanned compile lives only during the call, so the pools go back to
// where they were: a line with many of them does not fill what its own command has compiled.

#include "data/expression.h"

#include <algorithm>
#include <cstring>

#include "core/missing.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "data/dataset.h"
#include "data/expression_machine.h"
#include "data/expression_text.h"
#include "data/time_series.h"

namespace korva {

ExpressionRecord main_expression;
ExpressionRecord if_expression;
ExpressionRecord scratch_expression;
ExpressionPools expression_pools;

namespace {

constexpr ReturnCode kNotAvailable = 199;

std::string evaluated_text;  // the cleaned text of an evaluation; keeps its room

// The pools as they were, when the scope ends.
struct PoolGuard {
    PoolGuard()
        : n_numbers(expression_pools.n_numbers), text_bytes(expression_pools.text_bytes),
          time_series(ts_mark()) {}
    ~PoolGuard() {
        expression_pools.n_numbers = n_numbers;
        expression_pools.text_bytes = text_bytes;
        ts_forget(time_series);
    }
    PoolGuard(const PoolGuard&) = delete;
    PoolGuard& operator=(const PoolGuard&) = delete;
    int32_t n_numbers;
    int32_t text_bytes;
    TsMark time_series;
};

// The value of evaluated_text at observation 1 over all data.
ReturnCode evaluate(ExpressionMode mode, ExpressionValue* value) {
    ExpressionRecord* record = &scratch_expression;
    const PoolGuard pools;
    if (ReturnCode rc = compile(evaluated_text, record, mode)) return rc;
    if (record->has_matrices) {
        const LevelGuard level(kLevelError);
        out_error("matrix expressions are not available yet\n");
        return kNotAvailable;
    }
    record->first = record->group_first = 1;
    record->last = record->group_last = dataset.nobs;
    run_block(&engine_machine, record, 1, 1, nullptr, 1);
    value->is_string = record->result_type == 1;
    if (value->is_string) {
        value->text = block_texts(&engine_machine)->view();
        value->number = kSysMissing;
    } else {
        block_numbers(&engine_machine, &value->number);
        value->text.clear();
    }
    return 0;
}

}  // namespace

void reset_expression_pools() {
    expression_pools.n_numbers = 0;
    expression_pools.text_bytes = 0;
    ts_forget({});
}

void ForgetExpressions() {
    reset_expression_pools();
    for (ExpressionRecord* record : {&main_expression, &if_expression, &scratch_expression}) {
        record->last_code = -1;
        record->last_sum = -1;
    }
}

double eval(ExpressionRecord* record, int obs) {
    double value;
    set_run_range(record, false);
    run_block(&engine_machine, record, obs, 1, nullptr, 1);
    block_numbers(&engine_machine, &value);
    return value;
}

void evalstr(ExpressionRecord* record, int obs, char* buffer) {
    set_run_range(record, false);
    run_block(&engine_machine, record, obs, 1, nullptr, 1);
    const std::string_view text = block_texts(&engine_machine)->view();
    memcpy(buffer, text.data(), text.size());
    buffer[text.size()] = 0;
}

void eval_block(ExpressionRecord* record, int obs, int n, double* out) {
    set_run_range(record, false);
    run_block(&engine_machine, record, obs, n, nullptr, n);
    block_numbers(&engine_machine, out);
}

ReturnCode EvaluateText(std::string_view text, ExpressionMode mode, ExpressionValue* value) {
    size_t used = 0;
    if (ReturnCode rc = clean_expression(text, is_matrix_mode(mode), &evaluated_text, &used))
        return rc;
    if (used < text.size()) return ReportInvalidSyntax();
    return evaluate(mode, value);
}

ReturnCode EvaluateScanned(ExpressionMode mode, ExpressionValue* value) {
    if (ReturnCode rc = collect_expression(&evaluated_text, is_matrix_mode(mode))) return rc;
    return evaluate(mode, value);
}

}  // namespace korva

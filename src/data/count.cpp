// data/count.cpp - count and assert.

#include <algorithm>
#include <string>

#include "core/commands.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/stored_results.h"
#include "core/words.h"
#include "data/by.h"
#include "data/row_loop.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr ReturnCode kAssertionFalse = 9;

// Not a failure: a body has seen enough.
constexpr ReturnCode kStopLoop = -1;

// What assert knows from the first by group to the last.
struct Assertion {
    bool null_allowed = false;
    bool rc0 = false;
    bool fast = false;
    bool reported = false;
    int64_t n_tested = 0;  // observations; under by groups
    int64_t n_false = 0;
};
Assertion assertion;

ReturnCode parse_assertion() {
    std::string text;
    if (!skeleton_reused()) {
        if (PeekChar() == 0) return ReportInvalidSyntax();
        if (ReturnCode rc = collect_expression(&text, false)) return rc;
    }
    const bool first = !skeleton_reused();
    skeleton.permit.using_file = kForbidden;
    if (ReturnCode rc = parse_tail()) return rc;
    if (!first) return 0;
    // Behind parse_tail(), which empties the pools.
    if (ReturnCode rc = compile(text, &main_expression, ExpressionMode::Number)) return rc;
    assertion = Assertion{};
    assertion.rc0 = option_present("rc0", 3, false);
    assertion.null_allowed = option_present("null", 4, false);
    assertion.fast = option_present("fast", 4, false);
    return options_done();
}

// Observations tested in one range.
struct Tests {
    int64_t n = 0;
    int64_t n_false = 0;
    void add(const Tests& other) {
        n += other.n;
        n_false += other.n_false;
    }
};

// Counts as far as the first value that is false.
ReturnCode test_until_false(const double* values, int n, Tests* tests) {
    for (int i = 0; i < n; i++) {
        tests->n++;
        if (values[i] != 0) continue;
        tests->n_false++;
        return kStopLoop;
    }
    return 0;
}

ReturnCode test_block(const RowWorker& worker, const RowBlock& block, Tests* tests) {
    if (block.n_marked == 0) return 0;
    alignas(64) double values[kBlockObs];
    run_marked(worker, block);
    block_numbers(worker.machine, values);
    if (assertion.fast) return test_until_false(values, block.n_marked, tests);
    int holds = 0;
    for (int i = 0; i < block.n_marked; i++) holds += values[i] != 0;
    tests->n += block.n_marked;
    tests->n_false += block.n_marked - holds;
    return 0;
}

// Tests the range in force.
ReturnCode test_range(Tests* tests) {
    const auto use = assertion.fast ? LoopUse::BothInOrder : LoopUse::Both;
    const ReturnCode rc = for_each_block(use, block_size_for(0), tests, test_block);
    return rc == kStopLoop ? 0 : rc;
}

ReturnCode report_false() {
    const LevelGuard level(kLevelError);
    if (assertion.n_tested > 1) {
        const char* unit = by_state.active ? "by-group" : "observation";
        out_errorf("%lld contradiction%s in %lld %s%s\n", static_cast<long long>(assertion.n_false),
                   PluralEnd(assertion.n_false), static_cast<long long>(assertion.n_tested), unit,
                   PluralEnd(assertion.n_tested));
    }
    out_error("assertion is false\n");
    return assertion.rc0 ? 0 : kAssertionFalse;
}

ReturnCode judge_assertion() {
    if (assertion.n_false > 0) return report_false();
    if (assertion.n_tested > 0 || assertion.null_allowed) return 0;
    const LevelGuard level(kLevelError);
    out_error("(null assertion)\n");
    return assertion.rc0 ? 0 : kAssertionFalse;
}

}  // namespace

// count [if] [in]
ReturnCode CmdCount(int) {
    skeleton.permit.varlist = kForbidden;
    skeleton.permit.using_file = kForbidden;
    skeleton.permit.options = kForbidden;
    if (ReturnCode rc = parse_skeleton()) return rc;
    int64_t n = std::max<int64_t>(0, int64_t(skeleton.last) - skeleton.first + 1);
    if (skeleton.if_given) {
        RowCount count;
        const auto add = [](const RowWorker&, const RowBlock& block, RowCount* total) {
            total->n += block.n_marked;
            return 0;
        };
        const auto use = LoopUse::Condition;
        if (ReturnCode rc = for_each_block(use, kBlockObs, &count, add)) return rc;
        n = count.n;
    }
    ClearResults();
    if (ReturnCode rc = SetResultNumber("N", double(n))) return rc;
    const LevelGuard level(kLevelResult);
    out_textf("%lld\n", static_cast<long long>(n));
    return 0;
}

// assert exp [if] [in] [, rc0 null fast]
ReturnCode CmdAssert(int) {
    if (ReturnCode rc = parse_assertion()) return rc;
    Tests tests;
    if (ReturnCode rc = test_range(&tests)) return rc;
    if (by_state.active) {
        assertion.n_tested += tests.n > 0;
        assertion.n_false += tests.n_false > 0;
        const bool ends = by_state.last_group || (assertion.fast && tests.n_false > 0);
        if (!ends || assertion.reported) return 0;
        assertion.reported = true;
        return judge_assertion();
    }
    assertion.n_tested = tests.n;
    assertion.n_false = tests.n_false;
    return judge_assertion();
}

}  // namespace korva

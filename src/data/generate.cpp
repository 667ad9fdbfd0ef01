// data/generate.cpp - generate: a new variable from an expression.
//
// The variable is the last one until the command ends, so that undoing it moves no column, and a
// string that grows only claims more bytes at the end of its row. By groups the command is called
// once for each; what it knows from the first group to the last stands in `making`.

#include <algorithm>
#include <cstring>
#include <limits>

#include "core/commands.h"
#include "core/missing.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "data/by.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/row_loop.h"
#include "data/skeleton.h"

namespace korva {

namespace {

struct NewVariable {
    bool pending = false;  // groups have been run and the last one has not
    int32_t var = 0;
    int32_t nvar_before = 0;
    bool grows = false;         // a string whose width follows its texts
    bool reads_itself = false;  // the expressions refer to it
    int64_t n_missing = 0;      // `.` or empty, over all groups
};
NewVariable making;

void set_type(int var, StorageType type) {
    dataset.types[var - 1] = type;
    const std::string format = default_format(type);
    memcpy(dataset.formats[var - 1], format.c_str(), format.size() + 1);
}

// The list is one variable whose type fits the expression; a string may still choose its width.
ReturnCode check_new_variable() {
    if (skeleton.varlist.size() > 1) return ReportError(103);
    making.var = skeleton.varlist[0];
    const bool is_text = main_expression.result_type == 1;
    making.grows = skeleton.new_type_automatic;
    if (is_text && !skeleton.new_type_given && session.version >= 800) {
        if (dataset.label_names[making.var - 1][0]) return ReportError(181);
        set_type(making.var, 1);
        making.grows = true;
    }
    if (is_text != type_is_string(dataset.types[making.var - 1])) return ReportError(109);
    making.reads_itself = program_reads(main_expression, making.var) ||
                          (skeleton.if_given && program_reads(if_expression, making.var));
    return 0;
}

// Makes the cells from..to `.` or empty.
void clear_cells(int64_t from, int64_t to) {
    const bool is_text = type_is_string(dataset.types[making.var - 1]);
    double values[kBlockObs];
    std::fill(values, values + kBlockObs, kSysMissing);
    for (int64_t obs = from; obs <= to; obs += kBlockObs) {
        const int n = int(std::min<int64_t>(kBlockObs, to - obs + 1));
        if (!is_text) scatter(making.var, int(obs), n, values);
        for (int i = 0; is_text && i < n; i++) putstr(making.var, int(obs) + i, "");
    }
}

// Widens the string, whose cells up to observation `written` hold texts.
ReturnCode widen(int width, int64_t written) {
    const int old_width = type_width(dataset.types[making.var - 1]);
    const int64_t needed = int64_t(used_width()) + (width - old_width) + 1 - dataset.lrecl;
    if (needed > 0) {
        if (ReturnCode rc = grow_width(needed)) return report_no_room(rc);
    }
    set_type(making.var, StorageType(width));
    for (int64_t obs = 1; obs <= written; obs++) {  // groups that are done lie in front of this one
        memset(rawcell(making.var, int(obs)) + old_width, 0, size_t(width - old_width));
    }
    return 0;
}

// Puts the lanes at their places among n, `rest` elsewhere.
template <class T>
const T* spread_lanes(const RowBlock& block, const T* lanes, T rest, T* whole) {
    if (!block.index) return lanes;
    std::fill(whole, whole + block.n, rest);
    for (int i = 0; i < block.n_marked; i++) whole[block.index[i]] = lanes[i];
    return whole;
}

// What a cell of the type keeps lies between the two, which it does not keep; all else becomes
// missing.
struct StoredRange {
    double low = -std::numeric_limits<double>::infinity();
    double high = kSysMissing;
};

StoredRange stored_range(StorageType type) {
    switch (type) {
    case kByte: return {-128, 101};
    case kInt: return {-32768, 32741};
    case kLong: return {-2147483648.0, 2147483621.0};
    case kFloat: return {-0x1p127, 0x1.ffffffp126};  // from here on it rounds to 2^127
    default: return {};
    }
}

ReturnCode make_numbers(const RowWorker& worker, const RowBlock& block, RowCount* missing) {
    alignas(64) double lanes[kBlockObs];
    alignas(64) double whole[kBlockObs];
    if (block.n_marked > 0) {
        run_marked(worker, block);
        block_numbers(worker.machine, lanes);
    }
    const double* values = spread_lanes(block, lanes, kSysMissing, whole);
    int64_t present = 0;  // as wide as a value, so that the loop vectorises
    const StoredRange range = stored_range(dataset.types[making.var - 1]);
    for (int i = 0; i < block.n; i++) present += (values[i] > range.low) & (values[i] < range.high);
    missing->n += block.n - present;
    scatter(making.var, block.obs, block.n, values);
    return 0;
}

ReturnCode make_texts(const RowWorker& worker, const RowBlock& block, RowCount* missing) {
    BlockMachine* m = worker.machine;
    TextLane whole[kBlockObs];
    const TextLane* lanes = nullptr;
    if (block.n_marked > 0) {
        run_marked(worker, block);
        lanes = block_texts(m);
    }
    int longest = 1;
    for (int i = 0; i < block.n_marked; i++) longest = std::max(longest, lanes[i].length);
    longest = std::min(longest, kMaxStringBytes);
    if (making.grows && longest > type_width(dataset.types[making.var - 1])) {
        if (worker.beside_others) return kNotBesideOthers;
        keep_block_texts(m);
        const bool all_written = making.reads_itself || worker.after_others;
        if (ReturnCode rc = widen(longest, all_written ? range_last() : int64_t(block.obs) - 1)) {
            return rc;
        }
    }
    const TextLane* values = spread_lanes(block, lanes, TextLane{"", 0}, whole);
    for (int i = 0; i < block.n; i++) missing->n += values[i].length == 0;
    store_texts(m, making.var, block.obs, block.n, values);
    return 0;
}

// For a variable that reads itself: its cells are `.` so far.
ReturnCode make_in_turn(CellTurns* turns, RowCount* missing) {
    missing->n += std::max<int64_t>(0, int64_t(skeleton.last) - skeleton.first + 1);
    return for_each_turn(turns, [missing](int obs, double value) -> ReturnCode {
        put(making.var, obs, value);
        missing->n -= !is_missing(get(making.var, obs));
        return 0;
    });
}

ReturnCode make_group() {
    if (making.reads_itself) clear_cells(range_first(), range_last());
    const bool is_text = type_is_string(dataset.types[making.var - 1]);
    RowCount missing;
    CellTurns turns;
    ReturnCode rc;
    if (prepare_turns(making.var, &turns)) {
        rc = make_in_turn(&turns, &missing);
    } else {
        const auto make = is_text ? make_texts : make_numbers;
        rc = for_each_block(LoopUse::Both, block_size_for(making.var), &missing, make);
    }
    if (rc) return rc;
    making.n_missing += missing.n;
    if (!skeleton.in_given) return 0;
    clear_cells(1, skeleton.first - 1);
    clear_cells(int64_t(skeleton.last) + 1, dataset.nobs);
    making.n_missing += skeleton.first - 1 + int64_t(dataset.nobs) - skeleton.last;
    return 0;
}

void report_missing() {
    if (making.n_missing == 0) return;
    const LevelGuard level(kLevelText);
    out_textf("(%lld missing value%s generated)\n", static_cast<long long>(making.n_missing),
              making.n_missing == 1 ? "" : "s");
}

ReturnCode start_variable(int32_t nvar_before) {
    making = NewVariable{};
    making.nvar_before = nvar_before;
    making.pending = true;
    return check_new_variable();
}

}  // namespace

void abandon_generate() {
    if (!making.pending) return;
    undo_new_variables(making.nvar_before);
    making.pending = false;
}

// generate [type] newvar[:lblname] =exp [if] [in]
ReturnCode CmdGenerate(int) {
    const bool first = !skeleton_reused();
    const int32_t nvar_before = dataset.nvar;
    skeleton.permit.varlist = kRequired;
    skeleton.permit.new_varlist = true;
    skeleton.permit.label_names = true;
    skeleton.permit.exp = kRequired;
    skeleton.permit.exp_mode = ExpressionMode::Either;
    skeleton.permit.options = kForbidden;
    skeleton.permit.using_file = kForbidden;
    if (ReturnCode rc = parse_skeleton()) {
        if (!first) abandon_generate();
        return rc;
    }
    ReturnCode rc = first ? start_variable(nvar_before) : 0;
    if (!rc) rc = make_group();
    if (rc) {
        abandon_generate();
        return rc;
    }
    if (by_state.active && !by_state.last_group) return 0;
    making.pending = false;
    note_change(making.var);
    report_missing();
    return 0;
}

}  // namespace korva

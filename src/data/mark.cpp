// data/mark.cpp - mark, markout, marksample, markin: a 0/1 variable that holds a command's sample.
//
// The marks are made beside the dataset and stored when nothing can fail any more. In a byable
// program the sample lies within the group that by runs it for, unless noby is given.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "core/alloc.h"
#include "core/commands.h"
#include "core/macro.h"
#include "core/missing.h"
#include "core/names.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/upcalls.h"
#include "data/by.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/row_loop.h"
#include "data/skeleton.h"

namespace korva {

namespace {

// A byte for each observation.
struct Marks {
    Marks() : block(size_t(dataset.nobs) + kBlockObs) {
        if (block.bytes) std::memset(block.bytes, 0, size_t(dataset.nobs) + kBlockObs);
    }
    uint8_t* at(int64_t obs) const { return static_cast<uint8_t*>(block.bytes) + (obs - 1); }
    EngineBlock block;
};

// Cuts the range of the skeleton to the group of the byable program that runs.
void keep_to_group(bool by_group) {
    if (!by_group || !by_program_running()) return;
    skeleton.first = std::max(skeleton.first, by_state.group_first);
    skeleton.last = std::min(skeleton.last, by_state.group_last);
}

// Runs body(block) over the range of the skeleton, in order: a weight may fail with words.
template <class Body>
ReturnCode for_each_in_order(Body body) {
    RowBlock block;
    set_run_range(&main_expression, true);
    set_run_range(&if_expression, true);
    ExpressionRecord* condition = skeleton.if_given ? &if_expression : nullptr;
    for (int64_t obs = skeleton.first; obs <= skeleton.last; obs += kBlockObs) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        const int n = int(std::min<int64_t>(kBlockObs, skeleton.last - obs + 1));
        mark_block(&engine_machine, condition, int(obs), n, &block);
        if (ReturnCode rc = body(block)) return rc;
    }
    return 0;
}

// --- mark ---

// What the weight, evaluated over the block's sample, does to its marks.
ReturnCode weigh(const double* weights, const RowBlock& block, bool zero_counts,
                 const Marks& marks) {
    const bool is_frequency = skeleton.weight_type == kFweight;
    for (int i = 0; i < block.n_marked; i++) {
        const double w = weights[i];
        if (!is_missing(w)) {
            if (w < 0 && skeleton.weight_type != kIweight) return ReportError(402);
            if (is_frequency && w != std::floor(w)) return ReportError(401);
        }
        const int place = block.index ? block.index[i] : i;
        *marks.at(block.obs + place) = !is_missing(w) && (zero_counts || w != 0);
    }
    return 0;
}

ReturnCode fill_marks(bool zero_counts, const Marks& marks) {
    return for_each_in_order([&](const RowBlock& block) {
        if (block.n_marked == 0) return 0;
        if (skeleton.weight_given) {
            alignas(64) double weights[kBlockObs];
            BlockMachine* m = &engine_machine;
            run_block(m, &main_expression, block.obs, block.n, block.index, block.n_marked);
            block_numbers(m, weights);
            return weigh(weights, block, zero_counts, marks);
        }
        for (int i = 0; i < block.n_marked; i++) {
            *marks.at(block.obs + (block.index ? block.index[i] : i)) = 1;
        }
        return 0;
    });
}

void store_marks(int var, const Marks& marks) {
    double values[kBlockObs];
    for (int64_t obs = 1; obs <= dataset.nobs; obs += kBlockObs) {
        const int n = int(std::min<int64_t>(kBlockObs, dataset.nobs - obs + 1));
        for (int i = 0; i < n; i++) values[i] = *marks.at(obs + i);
        scatter(var, int(obs), n, values);
    }
}

// newvar [weight] [if] [in] [, zeroweight noby] at the scanner.
ReturnCode make_mark() {
    NextToken();
    const std::string name = scanner.TokenBuffer;
    if (TokenIsString() || is_list_end(name)) return ReportRequired("newvarname");
    if (ReturnCode rc = check_new_name(name)) return rc;
    skeleton.permit.using_file = kForbidden;
    skeleton.permit.weights = kAweight | kFweight | kPweight | kIweight;
    if (ReturnCode rc = parse_tail()) return rc;
    const bool zero_counts = option_present("zeroweight", 1, false);
    const bool by_group = option_present("by", 2, true);
    if (ReturnCode rc = options_done()) return rc;
    keep_to_group(by_group);

    const Marks marks;
    if (!marks.block.bytes) return ReportError(909);
    if (ReturnCode rc = fill_marks(zero_counts, marks)) return rc;
    if (ReturnCode rc = addvar(name, kByte)) return rc;
    store_marks(dataset.nvar, marks);
    note_change(dataset.nvar);
    return 0;
}

// --- markout ---

// Takes observations with a missing value of the element out of the block's marks.
void mark_out_element(size_t i, bool strings_count, int obs, int n, uint8_t* marks) {
    const int var = skeleton.varlist[i];
    if (!type_is_string(dataset.types[var - 1])) {
        double values[kBlockObs];
        varlist_gather(i, obs, n, values);
        for (int k = 0; k < n; k++) marks[k] &= !is_missing(values[k]);
        return;
    }
    for (int k = 0; k < n; k++) {
        marks[k] &= strings_count && !cell_text(var, obs + k).empty();
    }
}

// marker [varlist] [, strok] at the scanner.
ReturnCode mark_out() {
    skeleton.permit.varlist = kRequired;
    skeleton.permit.operators = kAllowed;
    skeleton.permit.if_exp = skeleton.permit.in_range = skeleton.permit.using_file = kForbidden;
    if (ReturnCode rc = parse_skeleton()) return rc;
    const bool strings_count = option_present("strok", 1, false);
    if (ReturnCode rc = options_done()) return rc;
    if (varlist_operator(0)) return ReportError(6101);
    const int marker = skeleton.varlist[0];
    if (dataset.types[marker - 1] != kByte) {
        out_errorf("%s not byte\n", dataset.names[marker - 1]);
        return 198;
    }

    const Marks marks;
    if (!marks.block.bytes) return ReportError(909);
    double values[kBlockObs];
    bool any = false;
    for (int64_t obs = 1; obs <= dataset.nobs; obs += kBlockObs) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        const int n = int(std::min<int64_t>(kBlockObs, dataset.nobs - obs + 1));
        uint8_t* block = marks.at(obs);
        std::memset(block, 1, size_t(n));
        for (size_t i = 1; i < skeleton.varlist.size(); i++) {
            mark_out_element(i, strings_count, int(obs), n, block);
        }
        gather(marker, int(obs), n, values);
        for (int k = 0; k < n; k++) {
            block[k] |= values[k] == 0;  // what stays as it is
            any |= block[k] == 0;
        }
    }
    if (!any) return 0;
    for (int64_t obs = 1; obs <= dataset.nobs; obs++) {
        if (*marks.at(obs) == 0) put(marker, int(obs), 0);
    }
    forget_sort_from(marker);
    note_change(marker);
    return 0;
}

// Runs the act on a line of its own.
ReturnCode run_on(std::string line, ReturnCode (*act)()) {
    const ScannerGuard keep_scanner;
    ResetSkeleton();
    SetScanPointer(line.data());
    return act();
}

}  // namespace

// mark newvar [weight] [if] [in] [, zeroweight noby]
ReturnCode CmdMark(int) {
    return make_mark();
}

// markout marker [varlist] [, strok]
ReturnCode CmdMarkout(int) {
    return mark_out();
}

// marksample lmacro [, zeroweight strok novarlist noby]
ReturnCode CmdMarksample(int) {
    NextToken();
    const std::string macro = scanner.TokenBuffer;
    if (is_list_end(macro)) return ReportInvalidSyntax();
    if (!IsValidName("_" + macro)) return ReportInvalid("name");
    skeleton.permit.varlist = kForbidden;
    skeleton.permit.if_exp = skeleton.permit.in_range = skeleton.permit.using_file = kForbidden;
    if (ReturnCode rc = parse_tail()) return rc;
    const bool zero_counts = option_present("zeroweight", 1, false);
    const bool strings_count = option_present("strok", 1, false);
    const bool with_list = option_present("varlist", 1, true);
    const bool by_group = option_present("by", 2, true);
    if (ReturnCode rc = options_done()) return rc;

    char name[kMaxNameBytes + 1];
    NewTempName(name);
    if (ReturnCode rc = SetLocal(macro, name)) return rc;
    std::string line = name;
    const std::string weight(LocalValue("weight"));
    if (!weight.empty()) line += " [" + weight + std::string(LocalValue("exp")) + "]";
    for (const char* part : {"if", "in"}) line.append(" ").append(LocalValue(part));
    line += ",";
    if (zero_counts) line += " zeroweight";
    if (!by_group) line += " noby";
    if (ReturnCode rc = run_on(line, make_mark)) return rc;
    const std::string list(LocalValue("varlist"));
    if (!with_list || list.empty()) return 0;
    return run_on(name + (" " + list) + (strings_count ? ", strok" : ""), mark_out);
}

// markin [if] [in] [, name(lmacro) noby]
ReturnCode CmdMarkin(int) {
    skeleton.permit.varlist = kForbidden;
    skeleton.permit.using_file = kForbidden;
    if (ReturnCode rc = parse_skeleton()) return rc;
    std::string macro = "in";
    option_text("name", 1, &macro);
    const bool by_group = option_present("by", 2, true);
    if (ReturnCode rc = options_done()) return rc;
    if (!IsValidName("_" + macro)) return ReportInvalid("name");
    keep_to_group(by_group);

    int first = 0, last = 0;
    const ReturnCode rc = for_each_in_order([&](const RowBlock& block) {
        if (block.n_marked == 0) return 0;
        if (first == 0) first = block.obs + (block.index ? block.index[0] : 0);
        const int place = block.n_marked - 1;
        last = block.obs + (block.index ? block.index[place] : place);
        return 0;
    });
    if (rc) return rc;
    if (first == 0) first = last = 1;
    return SetLocal(macro, "in " + std::to_string(first) + "/" + std::to_string(last));
}

}  // namespace korva

// data/expand.cpp - expand: observations copied as often as an expression says.
//
// All counts are known, and with them the room needed, before the first copy is made: the
// expression sees the data as they are. Copies lie behind the last observation and do not count
// before all are there.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/alloc.h"
#include "core/commands.h"
#include "core/missing.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "core/words.h"
#include "data/cells.h"
#include "data/row_loop.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr double kMostObs = 0x7FFFFFFE;  // a scratch row stays

struct Copies {
    uint32_t* of = nullptr;  // further copies of each observation of the range
    double total = 0;        // a double, because nothing bounds what is asked for
    int64_t n_missing = 0;
    int64_t n_noninteger = 0;
    int64_t n_negative = 0;
    int64_t n_zero = 0;
};

double nearest_whole(double x) {
    const double below = std::floor(x);
    return x - below >= 0.5 ? below + 1 : below;
}

// What one count asks for.
void take_count(double count, Copies* copies, uint32_t* place) {
    if (is_missing(count)) {
        copies->n_missing++;
        return;
    }
    const double whole = nearest_whole(count);
    copies->n_noninteger += whole != count;
    copies->n_negative += whole < 0;
    copies->n_zero += whole == 0;
    if (whole < 2) return;
    const double more = whole - 1;
    copies->total += more;
    *place = uint32_t(std::min(more, kMostObs));
}

ReturnCode count_copies(Copies* copies) {
    RowCount none;
    // In order: all blocks add to the same counts.
    const auto take = [copies](const RowWorker& worker, const RowBlock& block, RowCount*) {
        if (block.n_marked == 0) return 0;
        alignas(64) double counts[kBlockObs];
        run_marked(worker, block);
        block_numbers(worker.machine, counts);
        uint32_t* places = copies->of + (block.obs - skeleton.first);
        for (int k = 0; k < block.n_marked; k++) {
            take_count(counts[k], copies, places + (block.index ? block.index[k] : k));
        }
        return 0;
    };
    return for_each_block(LoopUse::BothInOrder, block_size_for(0), &none, take);
}

// Appends the copies; there is room. kBreak with the observations as they were.
ReturnCode append_copies(const Copies& copies) {
    const size_t width = size_t(used_width());
    const int sample = find_variable_exact(kEstimationSample);
    int to = dataset.nobs;
    for (int obs = skeleton.first; obs <= skeleton.last; obs++) {
        for (uint32_t left = copies.of[obs - skeleton.first]; left > 0; left--) {
            Poll(session.pollcount);
            if (session.BreakFlag) return kBreak;
            std::memcpy(rawrow(++to), rawrow(obs), width);
            if (sample) put(sample, to, 0);
        }
    }
    set_nobs(to);
    dataset.sortlist[0] = 0;
    dataset.changed = 1;
    return 0;
}

void say_ignored(int64_t n, const char* kind) {
    if (n == 0) return;
    out_textf("(%lld %s count%s ignored; observation%s not deleted)\n", static_cast<long long>(n),
              kind, PluralEnd(n), PluralEnd(n));
}

void say_what_was_done(const Copies& copies) {
    const LevelGuard level(kLevelText);
    say_ignored(copies.n_missing, "missing");
    if (copies.n_noninteger > 0) {
        out_textf("(%lld noninteger count%s rounded to integer)\n",
                  static_cast<long long>(copies.n_noninteger), PluralEnd(copies.n_noninteger));
    }
    say_ignored(copies.n_negative, "negative");
    say_ignored(copies.n_zero, "zero");
    const int64_t created = int64_t(copies.total);
    if (created == 0) return;
    out_textf("(%lld observation%s created)\n", static_cast<long long>(created),
              PluralEnd(created));
}

}  // namespace

// expand =exp [if] [in]
ReturnCode CmdExpand(int) {
    skeleton.permit.by_allowed = false;
    skeleton.permit.varlist = kForbidden;
    skeleton.permit.exp = kRequired;
    skeleton.permit.using_file = kForbidden;
    skeleton.permit.options = kForbidden;
    if (ReturnCode rc = parse_skeleton()) return rc;
    if (skeleton.last < skeleton.first) return 0;

    const size_t bytes = (size_t(skeleton.last - skeleton.first) + 1) * sizeof(uint32_t);
    EngineBlock block(bytes);
    if (!block.bytes) return ReportError(909);
    std::memset(block.bytes, 0, bytes);
    Copies copies;
    copies.of = static_cast<uint32_t*>(block.bytes);
    if (ReturnCode rc = count_copies(&copies)) return rc;
    if (copies.total > 0) {
        const double wanted = double(dataset.nobs) + copies.total;
        if (wanted > kMostObs) return ReportError(901);
        if (ReturnCode rc = grow_obs(int64_t(wanted) + 1 - dataset.mobs)) return report_no_room(rc);
        ready_slots(int64_t(wanted) + 1);
        if (ReturnCode rc = append_copies(copies)) return rc;
    }
    say_what_was_done(copies);
    return 0;
}

}  // namespace korva

// data/drop.cpp - drop and keep: variables by list, observations by if and in, also group by group.
//
// Observations go in two steps: all are marked first, because the condition may look at other
// observations, then the rows that stay move forward. Without by the marks are a block of bytes.
// Under by each group writes its marks into a hidden variable, and the last group deletes.
#include <cstring>

#include "core/alloc.h"
#include "core/commands.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "data/by.h"
#include "data/cells.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr const char* kMarkName = "_delete";

// The marks of a run of groups.
struct DropMarks {
    int32_t var = 0;  // the mark variable, the last of the table; 0: there is none
};
DropMarks drop_marks;

// --- variables ---

ReturnCode drop_or_keep_variables(bool keep) {
    if (by_state.active) return ReportError(190);
    if (skeleton.all_given) {
        if (!keep) clear_dataset();
        return 0;
    }
    std::vector<int32_t> list = skeleton.varlist;
    if (keep) {
        std::vector<uint8_t> listed(size_t(dataset.nvar) + 1, 0);
        for (int32_t var : list) listed[size_t(var)] = 1;
        const int32_t sample = find_variable_exact(kEstimationSample);
        list.clear();
        for (int32_t var = 1; var <= dataset.nvar; var++) {
            if (!listed[size_t(var)] && var != sample) list.push_back(var);
        }
    }
    const ReturnCode rc = drop_variables(list);
    return rc ? report_no_room(rc) : 0;
}

// --- observations ---

// survives[obs - 1] for the observations of the range; kBreak when the user broke in.
ReturnCode mark_range(bool keep, uint8_t* survives) {
    for (int32_t obs = skeleton.first; obs <= skeleton.last;) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        const int32_t left = skeleton.last - obs + 1;
        const int n = left < kBlockObs ? left : kBlockObs;
        uint8_t* marks = survives + (obs - 1);
        sample_block(obs, n, marks);
        if (!keep) {
            for (int k = 0; k < n; k++) marks[k] ^= 1;
        }
        obs += n;
    }
    return 0;
}

bool rows_in_order() {
    for (int32_t i = 0; i < dataset.nobs; i++) {
        if (dataset.slot[i] != uint32_t(i)) return false;
    }
    return true;
}

// Moves the rows that survive to the front. Rows that lie in order move in runs.
void compact_rows(const uint8_t* survives) {
    const bool in_order = rows_in_order();
    const size_t pitch = size_t(dataset.lrecl);
    const size_t width = size_t(used_width());
    int32_t to = 0;
    for (int32_t from = 0; from < dataset.nobs;) {
        if (!survives[from]) {
            from++;
            continue;
        }
        int32_t end = from + 1;
        while (end < dataset.nobs && survives[end]) end++;
        if (to == from) {
            to = from = end;
        } else if (in_order) {
            std::memmove(dataset.rows + size_t(to) * pitch, dataset.rows + size_t(from) * pitch,
                         size_t(end - from) * pitch);
            to += end - from;
            from = end;
        } else {
            for (; from < end; from++, to++) std::memcpy(rawrow(to + 1), rawrow(from + 1), width);
        }
    }
    dataset.nobs = to;
}

void delete_marked(const uint8_t* survives) {
    int32_t left = 0;
    for (int32_t i = 0; i < dataset.nobs; i++) left += survives[i];
    const int32_t deleted = dataset.nobs - left;
    if (deleted > 0) {
        compact_rows(survives);
        dataset.changed = 1;
    }
    LevelGuard level(kLevelText);
    out_textf("(%d observation%s deleted)\n", deleted, deleted == 1 ? "" : "s");
}

ReturnCode drop_observations(bool keep) {
    EngineBlock block(size_t(dataset.nobs) + 1);
    if (!block.bytes) return ReportError(909);
    uint8_t* survives = static_cast<uint8_t*>(block.bytes);
    std::memset(survives, keep ? 0 : 1, size_t(dataset.nobs));
    if (ReturnCode rc = mark_range(keep, survives)) return rc;
    delete_marked(survives);
    return 0;
}

// --- under by ---

ReturnCode mark_group(bool keep) {
    if (by_state.first_group) {
        abandon_drop_marks();
        if (ReturnCode rc = addvar_internal(kMarkName, kLong)) return rc;
        drop_marks.var = dataset.nvar;
    }
    uint8_t marks[kBlockObs];
    double deleted[kBlockObs];
    for (int32_t obs = skeleton.first; obs <= skeleton.last;) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        const int32_t left = skeleton.last - obs + 1;
        const int n = left < kBlockObs ? left : kBlockObs;
        sample_block(obs, n, marks);
        for (int k = 0; k < n; k++) deleted[k] = (marks[k] != 0) != keep;
        scatter(drop_marks.var, obs, n, deleted);
        obs += n;
    }
    return 0;
}

ReturnCode delete_groups() {
    EngineBlock block(size_t(dataset.nobs) + 1);
    if (!block.bytes) return ReportError(909);
    uint8_t* survives = static_cast<uint8_t*>(block.bytes);
    double deleted[kBlockObs];
    for (int32_t obs = 1; obs <= dataset.nobs;) {
        const int32_t left = dataset.nobs - obs + 1;
        const int n = left < kBlockObs ? left : kBlockObs;
        gather(drop_marks.var, obs, n, deleted);
        for (int k = 0; k < n; k++) survives[obs - 1 + k] = deleted[k] == 0;
        obs += n;
    }
    abandon_drop_marks();
    delete_marked(survives);
    return 0;
}

ReturnCode drop_by_groups(bool keep) {
    if (ReturnCode rc = mark_group(keep)) return rc;
    return by_state.last_group ? delete_groups() : 0;
}

}  // namespace

void abandon_drop_marks() {
    if (drop_marks.var == 0) return;
    undo_new_variables(drop_marks.var - 1);
    drop_marks.var = 0;
}

// drop and keep: varlist, _all, or if and in.
ReturnCode CmdDrop(int argument) {
    const bool keep = argument == 1;
    skeleton.permit.one_of_varlist_if_in = true;
    skeleton.permit.options = kForbidden;
    if (ReturnCode rc = parse_skeleton()) return rc;
    if (skeleton.varlist_given) {
        if (skeleton.if_given || skeleton.in_given) return ReportInvalidSyntax();
        return drop_or_keep_variables(keep);
    }
    return by_state.active ? drop_by_groups(keep) : drop_observations(keep);
}

}  // namespace korva

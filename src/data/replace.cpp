// data/replace.cpp - replace: new values for a variable, with promotion of its type.
//
// A block's new values are compared with the old ones and only cells that change are written. When
// a value does not fit, the variable is recast at once and the loop goes on. If a recast may find
// no room, the column is copied aside first, so that a refusal leaves the variable as it was. By
// groups, the totals run on from the first group to the last.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "core/alloc.h"
#include "core/commands.h"
#include "core/missing.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "core/words.h"
#include "data/by.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/row_loop.h"
#include "data/short_text.h"
#include "data/skeleton.h"

namespace korva {

namespace {

struct Changes {
    int64_t n = 0;
    int64_t n_to_missing = 0;    // of those, now missing
    int64_t n_truncated = 0;     // stored as another number, for want of promotion
    int64_t n_made_missing = 0;  // stored as missing, for want of promotion
    void add(const Changes& other) {
        n += other.n;
        n_to_missing += other.n_to_missing;
        n_truncated += other.n_truncated;
        n_made_missing += other.n_made_missing;
    }
};

struct Replacement {
    int32_t var = 0;
    bool promote = true;
    StorageType old_type = 0;
    Changes total;
    uint8_t* column = nullptr;  // the cells as they were; owned; null where no recast can fail
};
Replacement replacing;

void forget_column() {
    EngineFree(replacing.column);
    replacing.column = nullptr;
}

StorageType type_now() {
    return dataset.types[replacing.var - 1];
}

// The current type in place of one that an older file brought.
StorageType current_form(StorageType type) {
    return type >= kOldByte && type < kByte ? type + 5 : type;
}

bool is_integer(StorageType type) {
    return current_form(type) >= kByte && current_form(type) <= kLong;
}

// Type that holds the value as well as what `type` holds.
StorageType promoted(StorageType type, double value) {
    if (!is_integer(type) || is_missing(value)) return type;
    StorageType t = current_form(type);
    if (value != std::trunc(value)) return t == kLong ? kDouble : kFloat;
    if (std::fabs(value) >= 0x1p31) return kDouble;
    if (t == kByte && (value < -127 || value > 100)) t = kInt;
    if (t == kInt && (value < -32767 || value > 32740)) t = kLong;
    if (t == kLong && value >= 0x7FFFFFE5) t = kDouble;
    return t == current_form(type) ? type : t;
}

// True if no recast on the way to the widest type can lack room.
bool room_is_certain() {
    const int most = type_is_string(type_now()) ? 2 * kMaxStringBytes : 16;
    return used_width() + most <= dataset.lrecl && dataset.nvar < dataset.mvar &&
           dataset.nobs < dataset.mobs;
}

ReturnCode keep_column() {
    const bool recasts = replacing.promote &&
                         (is_integer(type_now()) || type_is_string(type_now()));
    if (!recasts || room_is_certain()) return 0;
    const size_t width = size_t(type_width(type_now()));
    replacing.column = static_cast<uint8_t*>(EngineAllocAny(size_t(dataset.nobs) * width));
    if (!replacing.column) return ReportError(909);
    for (int obs = 1; obs <= dataset.nobs; obs++) {
        memcpy(replacing.column + size_t(obs - 1) * width, rawcell(replacing.var, obs), width);
    }
    return 0;
}

// The cells and the type as they were before the command.
void restore_column() {
    if (!replacing.column) return;
    const int var = replacing.var;
    const size_t width = size_t(type_width(replacing.old_type));
    const bool same_type = type_now() == replacing.old_type;
    // Through the accessors while the type is the wider one; it then goes back without loss.
    for (int obs = 1; obs <= dataset.nobs; obs++) {
        const uint8_t* cell = replacing.column + size_t(obs - 1) * width;
        if (same_type) {
            memcpy(rawcell(var, obs), cell, width);
        } else if (type_is_string(replacing.old_type)) {
            const char* text = reinterpret_cast<const char*>(cell);
            putstr(var, obs, {text, strnlen(text, width)});
        } else {
            put(var, obs, read_cell(replacing.old_type, cell));
        }
    }
    if (!same_type) recast_variable(var, replacing.old_type);
    replacing.total = Changes{};
}

ReturnCode promote_to(StorageType type) {
    if (ReturnCode rc = recast_variable(replacing.var, type)) {
        if (rc != kBreak) restore_column();
        return rc;
    }
    return 0;
}

// One block of new values with the old ones.
struct BlockValues {
    alignas(64) double old_values[kBlockObs];
    alignas(64) double new_values[kBlockObs];
    alignas(64) double stored[kBlockObs];
    uint16_t places[kBlockObs];  // of the cells to be written
};

void read_old(const RowBlock& block, double* out) {
    if (block.index) {
        gather_at(replacing.var, block.obs, block.index, block.n_marked, out);
    } else {
        gather(replacing.var, block.obs, block.n, out);
    }
}

void write_new(const RowBlock& block, const double* values) {
    if (block.index) {
        scatter_at(replacing.var, block.obs, block.index, block.n_marked, values);
    } else {
        scatter(replacing.var, block.obs, block.n, values);
    }
}

// Writes the lanes whose value differs from the old one, which the type holds as they are.
void write_changed(const RowBlock& block, BlockValues* v, Changes* changes) {
    int n = 0, to_missing = 0;
    for (int i = 0; i < block.n_marked; i++) {
        const double value = v->new_values[i];
        const bool changed = value != v->old_values[i];
        v->places[n] = block.index ? block.index[i] : uint16_t(i);
        v->stored[n] = value;
        n += changed;
        to_missing += changed & (value >= kSysMissing);
    }
    if (n == block.n) {
        scatter(replacing.var, block.obs, n, v->stored);
    } else {
        scatter_at(replacing.var, block.obs, v->places, n, v->stored);
    }
    changes->n += n;
    changes->n_to_missing += to_missing;
}

// Writes all lanes, and counts by what can be read back.
void write_and_compare(const RowBlock& block, BlockValues* v, Changes* changes) {
    write_new(block, v->new_values);
    read_old(block, v->stored);
    const bool counts_losses = is_integer(type_now());
    for (int i = 0; i < block.n_marked; i++) {
        const bool changed = v->stored[i] != v->old_values[i];
        changes->n += changed;
        changes->n_to_missing += changed && v->stored[i] >= kSysMissing;
        if (!counts_losses || v->stored[i] == v->new_values[i]) continue;
        (is_missing(v->stored[i]) ? changes->n_made_missing : changes->n_truncated)++;
    }
}

// The type after the block's changes, each in its turn.
StorageType type_after(const RowBlock& block, const BlockValues& v) {
    StorageType type = type_now();
    for (int i = 0; i < block.n_marked; i++) {
        if (v.new_values[i] != v.old_values[i]) type = promoted(type, v.new_values[i]);
    }
    return type;
}

// One cell, as a block of one would change it; *recast becomes true where its type has changed.
ReturnCode replace_cell(int obs, double value, bool* recast, Changes* changes) {
    const int var = replacing.var;
    const double old = get(var, obs);
    if (value == old) return 0;
    StorageType type = current_form(type_now());
    const bool promotes = replacing.promote && is_integer(type);
    if (promotes && promoted(type_now(), value) != type_now()) {
        if (ReturnCode rc = promote_to(promoted(type_now(), value))) return rc;
        *recast = true;
        type = current_form(type_now());
    }
    put(var, obs, value);
    double stored = value;
    if (type != kDouble && !(replacing.promote && is_integer(type))) {
        stored = get(var, obs);
        if (is_integer(type) && stored != value) {
            (is_missing(stored) ? changes->n_made_missing : changes->n_truncated)++;
        }
        if (stored == old) return 0;
    }
    changes->n++;
    changes->n_to_missing += stored >= kSysMissing;
    return 0;
}

ReturnCode replace_in_turn(CellTurns* turns, Changes* changes) {
    return for_each_turn(turns, [turns, changes](int obs, double value) -> ReturnCode {
        bool recast = false;
        if (ReturnCode rc = replace_cell(obs, value, &recast, changes)) return rc;
        if (recast) prepare_turns(replacing.var, turns);
        return 0;
    });
}

// A block beside others that needs no other type may go ahead of one that does: what an integer
// type holds, every type that it may become holds as well.
ReturnCode replace_numbers(const RowWorker& worker, const RowBlock& block, Changes* changes) {
    if (block.n_marked == 0) return 0;
    BlockValues v;
    run_marked(worker, block);
    block_numbers(worker.machine, v.new_values);
    read_old(block, v.old_values);
    if (replacing.promote && is_integer(type_now())) {
        const StorageType type = type_after(block, v);
        if (type != type_now()) {
            if (worker.beside_others) return kNotBesideOthers;
            if (ReturnCode rc = promote_to(type)) return rc;
        }
    }
    const StorageType type = current_form(type_now());
    if (type == kDouble || (replacing.promote && is_integer(type))) {
        write_changed(block, &v, changes);
    } else {
        write_and_compare(block, &v, changes);
    }
    return 0;
}

ReturnCode replace_texts(const RowWorker& worker, const RowBlock& block, Changes* changes) {
    if (block.n_marked == 0) return 0;
    BlockMachine* m = worker.machine;
    run_marked(worker, block);
    const TextLane* lanes = block_texts(m);
    int longest = 0;
    for (int i = 0; i < block.n_marked; i++) longest = std::max(longest, lanes[i].length);
    longest = std::min(longest, kMaxStringBytes);
    if (replacing.promote && longest > type_now()) {
        if (worker.beside_others) return kNotBesideOthers;
        keep_block_texts(m);
        if (ReturnCode rc = promote_to(StorageType(longest))) return rc;
    }
    const int width = type_now();
    for (int i = 0; i < block.n_marked; i++) {
        const int obs = lane_obs(m, i);
        const TextLane text{lanes[i].text, std::min(lanes[i].length, width)};
        const char* cell = reinterpret_cast<const char*>(rawcell(replacing.var, obs));
        if (text.view() == std::string_view(cell, size_t(short_length(cell, width)))) continue;
        store_texts(m, replacing.var, obs, 1, &text);
        changes->n++;
    }
    return 0;
}

void report_loss(int64_t n, const char* what) {
    if (n == 0) return;
    out_textf("(%lld value%s %s due to storage type)\n", static_cast<long long>(n), PluralEnd(n),
              what);
}

void report_changes() {
    const LevelGuard level(kLevelText);
    if (!OutputShows()) return;
    const Changes& total = replacing.total;
    if (type_now() != replacing.old_type) {
        out_textf("%s was %s now %s\n", dataset.names[replacing.var - 1],
                  type_name(replacing.old_type).c_str(), type_name(type_now()).c_str());
    }
    out_textf("(%lld real change%s made", static_cast<long long>(total.n), PluralEnd(total.n));
    if (total.n_to_missing > 0) {
        out_textf(", %lld to missing", static_cast<long long>(total.n_to_missing));
    }
    out_text(")\n");
    report_loss(total.n_truncated, "truncated");
    report_loss(total.n_made_missing, "changed to missing");
}

ReturnCode start_replacement() {
    if (skeleton.varlist.size() > 1) return ReportError(103);
    const bool promote = option_present("promote", 1, session.version >= 320);
    if (ReturnCode rc = options_done()) return rc;
    forget_column();
    replacing = Replacement{};
    replacing.var = skeleton.varlist[0];
    replacing.promote = promote;
    replacing.old_type = type_now();
    const bool is_text = main_expression.result_type == 1;
    if (is_text != type_is_string(replacing.old_type)) return ReportError(109);
    return keep_column();
}

// What a change of cells means for the dataset, also after a break.
void note_changes() {
    if (replacing.total.n == 0) return;
    forget_sort_from(replacing.var);
    note_change(replacing.var);
}

}  // namespace

// replace oldvar =exp [if] [in] [, nopromote]
ReturnCode CmdReplace(int) {
    const bool first = !skeleton_reused();
    skeleton.permit.varlist = kRequired;
    skeleton.permit.exp = kRequired;
    skeleton.permit.exp_mode = ExpressionMode::Either;
    skeleton.permit.using_file = kForbidden;
    if (ReturnCode rc = parse_skeleton()) return rc;
    if (first) {
        if (ReturnCode rc = start_replacement()) return rc;
    }
    Changes changes;
    CellTurns turns;
    ReturnCode rc;
    if (prepare_turns(replacing.var, &turns)) {
        rc = replace_in_turn(&turns, &changes);
    } else {
        const auto work = type_is_string(replacing.old_type) ? replace_texts : replace_numbers;
        rc = for_each_block(LoopUse::Both, block_size_for(replacing.var), &changes, work);
    }
    if (!rc || rc == kBreak) replacing.total.add(changes);  // else restored
    note_changes();
    const bool more_groups = by_state.active && !by_state.last_group;
    if (rc || !more_groups) forget_column();
    if (rc || more_groups) return rc;
    report_changes();
    return 0;
}

}  // namespace korva

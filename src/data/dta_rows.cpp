// data/dta_rows.cpp - the rows of a dataset file, into the dataset.
//
// Rows come in blocks that stay in the nearest cache. There the wanted cells move together, if not
// all are wanted, numbers are turned round and cells that hold no value are mended, one column
// after the other, before the rows are copied to their places. With a condition the rows go behind
// the last observation, a few at a time; those that fail are overwritten by the next.
#include "data/dta_rows.h"

#include "core/print.h"
#include "data/cells.h"
#include "data/dta_file.h"
#include "data/expression_machine.h"
#include "data/row_copy.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr int kFirstWithCurrentDouble = 108;  // format from which 2^333 is a number

// Bytes of the file's row that stand together in the kept one as well.
struct Run {
    uint32_t from;
    uint32_t to;
    uint32_t bytes;
};

std::vector<Run> find_runs(const DtaVariables& file, const std::vector<int32_t>& vars) {
    std::vector<Run> runs;
    uint32_t to = 0;
    for (int32_t var : vars) {
        const uint32_t from = file.offsets[var - 1];
        const uint32_t bytes = uint32_t(type_width(file.types[var - 1]));
        if (!runs.empty() && runs.back().from + runs.back().bytes == from) {
            runs.back().bytes += bytes;
        } else {
            runs.push_back({from, to, bytes});
        }
        to += bytes;
    }
    return runs;
}

// Moves the wanted bytes of the block's rows together.
void pack_rows(const std::vector<Run>& runs, const uint8_t* from, size_t from_pitch, uint8_t* to,
               size_t to_pitch, int rows) {
    for (const Run& run : runs) {
        with_row_copy(run.bytes, [&](auto copy) {
            const uint8_t* source = from + run.from;
            uint8_t* target = to + run.to;
            for (int row = 0; row < rows; row++, source += from_pitch, target += to_pitch) {
                copy(target, source);
            }
        });
    }
}

// Reverses the bytes of every number in the block.
void turn_numbers(const DtaVariables& variables, uint8_t* block, int rows) {
    const size_t pitch = size_t(variables.width);
    for (int i = 0; i < variables.nvar; i++) {
        if (type_is_string(variables.types[i])) continue;
        uint8_t* cell = block + variables.offsets[i];
        switch (type_width(variables.types[i])) {
        case 2: turn_column<uint16_t>(cell, rows, pitch); break;
        case 4: turn_column<uint32_t>(cell, rows, pitch); break;
        case 8: turn_column<uint64_t>(cell, rows, pitch); break;
        default: break;
        }
    }
}

// Copies the rows of the block to observations obs, obs + 1, ..., whose slots are ready.
void place_rows(const uint8_t* block, int rows, size_t width, int32_t obs) {
    const uint32_t* slot = dataset.slot + (obs - 1);
    uint8_t* const base = dataset.rows;
    const uint64_t pitch = uint64_t(dataset.lrecl);
    with_row_copy(width, [&](auto copy) {
        const uint8_t* from = block;
        for (int row = 0; row < rows; row++, from += width) copy(base + slot[row] * pitch, from);
    });
}

// One load of rows: what stays the same from block to block.
struct RowLoad {
    const DtaReader& in;
    const DtaVariables& kept;
    std::vector<Run> runs;  // empty: the rows are kept whole
    bool has_condition;
    int condition_rows;  // rows that the condition is asked about at a time
    bool has_old_doubles;
    std::vector<bool>* had_old_missing;
};

// Brings the kept cells of the block into the form that the dataset trusts.
void mend_rows(const RowLoad& load, uint8_t* rows, int n) {
    const DtaVariables& kept = load.kept;
    const size_t pitch = size_t(kept.width);
    if (load.in.header->swapped) turn_numbers(kept, rows, n);
    for (int i = 0; i < kept.nvar; i++) {
        uint8_t* cell = rows + kept.offsets[i];
        if (load.has_old_doubles && kept.types[i] == kOldDouble &&
            replace_old_missing(cell, n, pitch)) {
            (*load.had_old_missing)[size_t(i)] = true;
        }
        make_cells_sound(kept.types[i], cell, n, pitch);
    }
}

// Rows that hold together: those of the block for which the condition holds go to the end of the
// dataset.
ReturnCode add_rows_if(const RowLoad& load, const uint8_t* block, int n) {
    const size_t width = size_t(load.kept.width);
    for (int done = 0; done < n;) {
        if (dataset.mobs - dataset.nobs < 2) {
            if (ReturnCode rc = grow_obs(1)) return report_no_room(rc);
        }
        const int32_t nobs = dataset.nobs;
        const int rows = std::min({load.condition_rows, n - done, dataset.mobs - 1 - nobs});
        ready_slots(int64_t(nobs) + rows);
        if (width) place_rows(block + size_t(done) * width, rows, width, nobs + 1);
        set_nobs(nobs + rows);  // so that the rows count as observations for the condition
        skeleton.first = 1;
        skeleton.last = dataset.nobs;
        uint8_t marks[kBlockObs];
        const int count = sample_block(nobs + 1, rows, marks);
        int32_t next = nobs + 1;
        for (int i = 0; i < rows && count < rows; i++) {
            if (!marks[i]) continue;
            if (next != nobs + 1 + i) memcpy(rawrow(next), rawrow(nobs + 1 + i), width);
            next++;
        }
        set_nobs(nobs + count);
        done += rows;
    }
    return 0;
}

ReturnCode add_rows(const RowLoad& load, const uint8_t* block, int n) {
    if (load.has_condition) return add_rows_if(load, block, n);
    ready_slots(int64_t(dataset.nobs) + n);
    place_rows(block, n, size_t(load.kept.width), dataset.nobs + 1);
    dataset.nobs += n;
    return 0;
}

ReturnCode read_blocks(const RowLoad& load, size_t file_width, int64_t nobs) {
    const size_t width = size_t(load.kept.width);
    // Rows without variables are counted, and the condition asked about each.
    const int64_t row_bytes = std::max<int64_t>(int64_t(file_width), 1);
    constexpr int64_t room = kRowBufferBytes;
    const int64_t block_rows = 2 * row_bytes < room ? room / row_bytes : 2;
    const bool packs = !load.runs.empty();
    const RowBuffer block(size_t(block_rows) * file_width);
    const RowBuffer packed(packs ? size_t(block_rows) * width : 0);
    if (!block.rows || !packed.rows) return ReportError(909);
    for (int64_t done = 0; done < nobs;) {
        if (ReturnCode rc = break_or_ok()) return rc;
        const int rows = int(std::min(block_rows, nobs - done));
        if (!take_bytes(load.in.source, block.rows, uint64_t(rows) * file_width)) {
            return load.in.cut();
        }
        uint8_t* kept_rows = block.rows;
        if (packs) {
            kept_rows = packed.rows;
            pack_rows(load.runs, block.rows, file_width, kept_rows, width, rows);
        }
        mend_rows(load, kept_rows, rows);
        if (ReturnCode rc = add_rows(load, kept_rows, rows)) return rc;
        done += rows;
    }
    return 0;
}

// Whether what the condition gives at an observation may depend on which ones are there.
bool depends_on_place(const ExpressionRecord& record) {
    return !record.order_free || program_uses(record, OP_OBS) || program_uses(record, OP_NOBS);
}

}  // namespace

ReturnCode read_dta_rows(const DtaReader& in, const DtaVariables& file, const DtaVariables& kept,
                         const DtaSelection* selection, std::vector<bool>* had_old_missing) {
    const int64_t first = selection ? selection->first : 1;
    const int64_t last = std::min<int64_t>(selection ? selection->last : in.header->nobs,
                                           in.header->nobs);
    const int64_t nobs = std::max<int64_t>(last - first + 1, 0);
    const bool has_condition = selection && selection->has_condition;
    if (kept.width == 0 && !has_condition) {
        set_nobs(int32_t(nobs));
        return 0;
    }
    if (nobs == 0) return 0;
    if (!skip_bytes(in.source, uint64_t(first - 1) * uint64_t(file.width))) return in.cut();
    RowLoad load{in,
                 kept,
                 {},
                 has_condition,
                 kBlockObs,
                 in.header->format->treated_as < kFirstWithCurrentDouble,
                 had_old_missing};
    if (selection && kept.nvar < file.nvar) load.runs = find_runs(file, selection->vars);
    const SkeletonState keep_skeleton = skeleton;
    if (has_condition) {
        set_run_range(&if_expression, true);
        if (depends_on_place(if_expression)) load.condition_rows = 1;
    }
    const ReturnCode rc = read_blocks(load, size_t(file.width), nobs);
    skeleton = keep_skeleton;
    set_nobs(dataset.nobs);
    return rc;
}

}  // namespace korva

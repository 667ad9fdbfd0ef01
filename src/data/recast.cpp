// data/recast.cpp - another storage type for a variable.
//
// The new cells are made behind the last variable, beside the old ones, so that a break or a
// shortage of room leaves everything as it was. Then one pass puts each into the place of the old
// one.
//
// Types that are known to hold every value in cells no wider need no second place: each row is
// rewritten from its left, where the new cells never reach the old ones still to be read.

#include <algorithm>
#include <cassert>
#include <cstring>
#include <vector>

#include "core/poll.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "data/cells.h"
#include "data/dataset.h"

namespace korva {

namespace {

constexpr int kBlock = 256;  // numbers converted at a time

// The shortage of width in a promotion has words of its own.
ReturnCode report_no_promotion(ReturnCode code) {
    const bool of_width = code == 901 || code == 902 || code == 9996 || code == 9997;
    return of_width ? ReportError(903) : report_no_room(code);
}

// Adds a nameless variable of the type behind the last, with a scratch row still there.
ReturnCode open_new_column(StorageType type) {
    const int64_t needed = int64_t(used_width()) + type_width(type) - dataset.lrecl;
    if (ReturnCode rc = needed > 0 ? grow_width(needed) : 0) return report_no_promotion(rc);
    if (dataset.nvar >= dataset.mvar) return ReportError(900);

    dataset.offsets[dataset.nvar] = uint32_t(used_width());
    dataset.types[dataset.nvar] = type;
    dataset.names[dataset.nvar][0] = 0;
    dataset.nvar++;
    if (ReturnCode rc = ensure_scratch_row()) {
        dataset.nvar--;
        return report_no_promotion(rc);
    }
    return 0;
}

ReturnCode copy_numbers(int from, int to) {
    double values[kBlock];
    for (int64_t obs = 1; obs <= dataset.nobs; obs += kBlock) {
        Poll(1);
        if (session.BreakFlag) return kBreak;
        const int n = int(std::min<int64_t>(kBlock, dataset.nobs - obs + 1));
        gather(from, int(obs), n, values);
        scatter(to, int(obs), n, values);
    }
    return 0;
}

ReturnCode copy_texts(int from, int to) {
    for (int obs = 1; obs <= dataset.nobs; obs++) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        putstr(to, obs, cell_text(from, obs));
    }
    return 0;
}

// The last variable's cell takes the place of that of `var`; what lies between makes room.
void replace_cells(int var) {
    const uint32_t at = dataset.offsets[var - 1];
    const size_t old_width = size_t(type_width(dataset.types[var - 1]));
    const size_t new_width = size_t(type_width(dataset.types[dataset.nvar - 1]));
    const uint32_t new_cell = dataset.offsets[dataset.nvar - 1];
    const size_t behind = new_cell - at - old_width;
    for (int obs = 1; obs <= dataset.nobs; obs++) {
        uint8_t cell[kMaxStringBytes];
        uint8_t* row = rawrow(obs);
        std::memcpy(cell, row + new_cell, new_width);
        std::memmove(row + at + new_width, row + at + old_width, behind);
        std::memcpy(row + at, cell, new_width);
    }
}

// A number's format stays as long as it is one for numbers; a string's follows the width, on its
// side.
void adapt_format(int var, StorageType old_type, StorageType new_type) {
    if (!type_is_string(old_type) && !type_is_string(new_type)) return;
    std::string format = default_format(new_type);
    const bool left = dataset.formats[var - 1][1] == '-';
    if (type_is_string(new_type) && left) format.insert(1, "-");
    format.copy(dataset.formats[var - 1], format.size());
    dataset.formats[var - 1][format.size()] = 0;
}

// Copies the values of `from` into the cells of `to`.
ReturnCode copy_values(int from, int to) {
    return type_is_string(dataset.types[to - 1]) ? copy_texts(from, to) : copy_numbers(from, to);
}

// The last variable becomes `var` in another type.
void replace_variable(int var) {
    const StorageType old_type = dataset.types[var - 1];
    const StorageType new_type = dataset.types[dataset.nvar - 1];
    replace_cells(var);
    dataset.nvar--;
    dataset.types[var - 1] = new_type;
    renew_offsets(var);
    adapt_format(var, old_type, new_type);
    note_change(var);
}

// What happens to one stretch of a row: a cell changes its type, or bytes move as they are (types
// 0).
struct RowStep {
    uint32_t from;
    uint32_t to;
    uint32_t bytes;
    StorageType old_type;
    StorageType new_type;
};

std::vector<RowStep> narrowing_steps(const std::vector<StorageType>& new_types) {
    std::vector<RowStep> steps;
    uint32_t to = 0;
    for (int i = 0; i < dataset.nvar; i++) {
        const StorageType old_type = dataset.types[i], new_type = new_types[size_t(i)];
        const uint32_t from = dataset.offsets[i];
        const uint32_t width = uint32_t(type_width(new_type));
        assert(width <= uint32_t(type_width(old_type)));
        RowStep* last = steps.empty() ? nullptr : &steps.back();
        if (old_type != new_type && !type_is_string(new_type)) {
            steps.push_back({from, to, width, old_type, new_type});
        } else if (last && last->new_type == 0 && last->from + last->bytes == from) {
            last->bytes += width;
        } else if (from != to) {
            steps.push_back({from, to, width, 0, 0});
        }
        to += width;
    }
    return steps;
}

}  // namespace

ReturnCode recast_variables(const std::vector<int32_t>& vars, StorageType new_type) {
    std::vector<int32_t> list;
    for (int32_t var : vars) {
        const bool listed = std::find(list.begin(), list.end(), var) != list.end();
        if (dataset.types[var - 1] != new_type && !listed) list.push_back(var);
    }
    const int before = dataset.nvar;
    ReturnCode rc = 0;
    for (size_t i = 0; i < list.size() && !rc; i++) rc = open_new_column(new_type);
    for (size_t i = 0; i < list.size() && !rc; i++) rc = copy_values(list[i], before + 1 + int(i));
    if (rc) {
        dataset.nvar = before;
        return rc;
    }
    for (size_t i = list.size(); i-- > 0;) replace_variable(list[i]);
    return 0;
}

ReturnCode recast_variable(int var, StorageType new_type) {
    return recast_variables({var}, new_type);
}

void narrow_variables(const std::vector<StorageType>& new_types) {
    const std::vector<RowStep> steps = narrowing_steps(new_types);
    for (int obs = 1; obs <= dataset.nobs && !steps.empty(); obs++) {
        uint8_t* row = rawrow(obs);
        for (const RowStep& step : steps) {
            if (step.new_type == 0) {
                std::memmove(row + step.to, row + step.from, step.bytes);
            } else {
                write_cell(step.new_type, row + step.to, read_cell(step.old_type, row + step.from));
            }
        }
    }
    for (int i = 0; i < dataset.nvar; i++) {
        const StorageType old_type = dataset.types[i];
        if (old_type == new_types[size_t(i)]) continue;
        dataset.types[i] = new_types[size_t(i)];
        adapt_format(i + 1, old_type, dataset.types[i]);
        note_change(i + 1);
    }
    renew_offsets(0);
}

}  // namespace korva

// data/recast.cpp - another storage type for a variable.
//
// The new cells are made behind the last variable, beside the old ones, so that a break or a
// shortage of room leaves everything as it was. Then one pass puts each into the place of the old
// one.

#include <algorithm>
#include <cstring>

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

}  // namespace

ReturnCode recast_variable(int var, StorageType new_type) {
    const StorageType old_type = dataset.types[var - 1];
    if (old_type == new_type) return 0;
    if (ReturnCode rc = open_new_column(new_type)) return rc;
    const int added = dataset.nvar;
    const bool texts = type_is_string(new_type);
    if (ReturnCode rc = texts ? copy_texts(var, added) : copy_numbers(var, added)) {
        dataset.nvar--;
        return rc;
    }

    replace_cells(var);
    dataset.nvar--;
    dataset.types[var - 1] = new_type;
    for (int i = var; i < dataset.nvar; i++) {
        dataset.offsets[i] = dataset.offsets[i - 1] + uint32_t(type_width(dataset.types[i - 1]));
    }
    adapt_format(var, old_type, new_type);
    note_change(var);
    return 0;
}

}  // namespace korva

// data/variables.cpp - the variable table: adding, moving and dropping columns, names and labels.
//
// Cells lie in a row without gaps in the order of the table, so a change of the table's order or of
// its length moves bytes in every row: one pass, only the bytes that move. Moving can be undone row
// by row and so be broken off; a squeeze loses the dropped bytes and runs to its end.

#include <algorithm>
#include <cassert>
#include <cstring>
#include <utility>

#include "core/macro.h"
#include "core/names.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "core/store.h"
#include "core/upcalls.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/labels.h"

namespace korva {

namespace {

constexpr std::string_view kReservedNames[] = {
    "with",  "using",  "if",  "in",   "%",        "=",     ",",   "_pred", "_b",   "_n",    "_N",
    "float", "double", "int", "long", "_uniform", "_coef", "_rc", "_pi",   "byte", "_cons",
};

// "str" and a number, which a new-variable list would take for a type.
bool looks_like_string_type(std::string_view name) {
    if (!name.starts_with("str") || name.size() < 4 || name[3] < '1' || name[3] > '9') return false;
    return name.find_first_not_of("0123456789", 3) == std::string_view::npos;
}

std::string_view variable_name(int var) {
    return dataset.names[var - 1];
}

void copy_text(char* to, size_t room, std::string_view text) {
    const size_t n = std::min(text.size(), room - 1);
    std::memcpy(to, text.data(), n);
    to[n] = 0;
}

// All that the table says of one variable but its offset.
struct VariableEntry {
    NameText name;
    NameText label_name;
    FormatText format;
    StorageType type;
};

VariableEntry entry_at(int i) {
    VariableEntry entry;
    std::memcpy(entry.name, dataset.names[i], sizeof entry.name);
    std::memcpy(entry.label_name, dataset.label_names[i], sizeof entry.label_name);
    std::memcpy(entry.format, dataset.formats[i], sizeof entry.format);
    entry.type = dataset.types[i];
    return entry;
}

void set_entry(int i, const VariableEntry& entry) {
    std::memcpy(dataset.names[i], entry.name, sizeof entry.name);
    std::memcpy(dataset.label_names[i], entry.label_name, sizeof entry.label_name);
    std::memcpy(dataset.formats[i], entry.format, sizeof entry.format);
    dataset.types[i] = entry.type;
}

// The words for an addition that the count forbids, or the width.
ReturnCode make_room_for(StorageType type, bool internal) {
    const int64_t width = int64_t(used_width()) + type_width(type);
    const int64_t needed = width - dataset.lrecl + (internal ? 0 : 1);
    if (needed > 0) {
        if (ReturnCode rc = grow_width(needed)) return report_no_room(rc);
    }
    if (dataset.nvar >= dataset.mvar - (internal ? 0 : 1)) return ReportError(900);
    return 0;
}

ReturnCode add_variable(std::string_view name, StorageType type, bool internal) {
    assert(type != 0 && type != 245 && name.size() <= size_t(kMaxNameBytes));
    if (ReturnCode rc = make_room_for(type, internal)) return rc;
    const int i = dataset.nvar;
    dataset.offsets[i] = uint32_t(used_width());
    dataset.types[i] = type;
    copy_text(dataset.names[i], sizeof(NameText), name);
    copy_text(dataset.formats[i], sizeof(FormatText), default_format(type));
    dataset.label_names[i][0] = 0;
    dataset.nvar++;
    if (!internal && name.starts_with("__")) dataset.has_temporaries = true;
    StoreDelete(StoreFind(variable_name(dataset.nvar), kKindVariableLabel));
    return 0;
}

// A cell of `width` bytes and a span of `span` bytes that lie one behind the other, from `at` on,
// change places; cell_first tells which comes first now.
struct ColumnShift {
    uint32_t at;
    uint32_t width;
    uint32_t span;
    bool cell_first;
};

void shift_row(uint8_t* row, const ColumnShift& shift) {
    uint8_t cell[sizeof(double) + kMaxStringBytes];
    uint8_t* at = row + shift.at;
    if (shift.cell_first) {
        std::memcpy(cell, at, shift.width);
        std::memmove(at, at + shift.width, shift.span);
        std::memcpy(at + shift.span, cell, shift.width);
    } else {
        std::memcpy(cell, at + shift.span, shift.width);
        std::memmove(at + shift.width, at, shift.span);
        std::memcpy(at, cell, shift.width);
    }
}

// Shifts every row; at a break those that were shifted go back.
ReturnCode shift_rows(ColumnShift shift) {
    for (int obs = 1; obs <= dataset.nobs; obs++) {
        Poll(session.pollcount);
        if (session.BreakFlag) {
            shift.cell_first = !shift.cell_first;
            while (--obs >= 1) shift_row(rawrow(obs), shift);
            return kBreak;
        }
        shift_row(rawrow(obs), shift);
    }
    return 0;
}

// A run of columns that goes from one place in the row to another.
struct ColumnRun {
    uint32_t from;
    uint32_t to;
    uint32_t bytes;
};

// Runs of all columns that stand elsewhere in the new order; the span that they make up is the
// same before and after.
std::vector<ColumnRun> runs_of_order(const std::vector<int32_t>& order, size_t first, size_t last) {
    std::vector<ColumnRun> runs;
    uint32_t to = dataset.offsets[first];
    for (size_t i = first; i <= last; i++) {
        const uint32_t from = dataset.offsets[order[i] - 1];
        const uint32_t width = uint32_t(type_width(dataset.types[order[i] - 1]));
        if (!runs.empty() && runs.back().from + runs.back().bytes == from) {
            runs.back().bytes += width;
        } else {
            runs.push_back({from, to, width});
        }
        to += width;
    }
    return runs;
}

// Puts the runs of every row into their places, through the scratch row; at a break those rows that
// were done go back.
ReturnCode reorder_rows(const std::vector<ColumnRun>& runs) {
    const uint32_t start = runs.front().to;
    const size_t span = runs.back().to + runs.back().bytes - start;
    uint8_t* scratch = rawrow(dataset.nobs + 1);
    for (int obs = 1; obs <= dataset.nobs; obs++) {
        Poll(session.pollcount);
        if (session.BreakFlag) {
            while (--obs >= 1) {
                uint8_t* row = rawrow(obs);
                std::memcpy(scratch + start, row + start, span);
                for (const ColumnRun& run : runs) {
                    std::memcpy(row + run.from, scratch + run.to, run.bytes);
                }
            }
            return kBreak;
        }
        uint8_t* row = rawrow(obs);
        std::memcpy(scratch + start, row + start, span);
        for (const ColumnRun& run : runs) {
            std::memcpy(row + run.to, scratch + run.from, run.bytes);
        }
    }
    return 0;
}

void reorder_table(const std::vector<int32_t>& order, size_t first, size_t last) {
    std::vector<VariableEntry> entries;
    std::vector<uint16_t> new_number(order.size() + 1);
    for (size_t i = first; i <= last; i++) entries.push_back(entry_at(order[i] - 1));
    for (size_t i = 0; i < order.size(); i++) new_number[size_t(order[i])] = uint16_t(i + 1);
    for (size_t i = first; i <= last; i++) set_entry(int(i), entries[i - first]);
    renew_offsets(int(first));
    for (uint16_t* key = dataset.sortlist; *key != 0; key++) *key = new_number[*key];
}

// Runs of the kept columns behind a dropped one.
std::vector<ColumnRun> runs_that_move(const std::vector<bool>& dropped) {
    std::vector<ColumnRun> runs;
    uint32_t to = 0;
    for (int i = 0; i < dataset.nvar; i++) {
        if (dropped[i]) continue;
        const uint32_t from = dataset.offsets[i];
        const uint32_t width = uint32_t(type_width(dataset.types[i]));
        const bool joins = !runs.empty() && runs.back().from + runs.back().bytes == from;
        if (joins) {
            runs.back().bytes += width;
        } else if (from != to) {
            runs.push_back({from, to, width});
        }
        to += width;
    }
    return runs;
}

void squeeze_rows(const std::vector<ColumnRun>& runs) {
    if (runs.empty()) return;
    for (int obs = 1; obs <= dataset.nobs; obs++) {
        uint8_t* row = rawrow(obs);
        for (const ColumnRun& run : runs) std::memmove(row + run.to, row + run.from, run.bytes);
    }
}

// The kept entries move down; the sort keys get their new numbers and end at the first dropped one.
void squeeze_table(const std::vector<bool>& dropped) {
    std::vector<uint16_t> new_number(dropped.size(), 0);
    int kept = 0;
    for (int i = 0; i < dataset.nvar; i++) {
        if (dropped[i]) continue;
        if (kept != i) set_entry(kept, entry_at(i));
        new_number[i] = uint16_t(++kept);
    }
    dataset.nvar = kept;
    renew_offsets(0);
    for (uint16_t* key = dataset.sortlist; *key != 0; key++) {
        *key = new_number[*key - 1];  // 0 for a dropped one: the list ends here
        if (*key == 0) break;
    }
}

}  // namespace

void renew_offsets(int first) {
    for (int i = first; i < dataset.nvar; i++) {
        dataset.offsets[i] = i == 0 ? 0
                                    : dataset.offsets[i - 1] +
                                          uint32_t(type_width(dataset.types[i - 1]));
    }
}

bool name_is_reserved(std::string_view name) {
    const auto* end = std::end(kReservedNames);
    return std::find(std::begin(kReservedNames), end, name) != end || looks_like_string_type(name);
}

int find_variable_exact(std::string_view name) {
    if (name.empty() || name.size() > size_t(kMaxNameBytes)) return 0;
    for (int i = 0; i < dataset.nvar; i++) {
        const char* candidate = dataset.names[i];
        if (candidate[0] == name[0] && candidate[name.size()] == 0 &&
            std::memcmp(candidate, name.data(), name.size()) == 0) {
            return i + 1;
        }
    }
    return 0;
}

ReturnCode check_new_name(std::string_view name) {
    const int length = int(name.size());
    if (!IsValidName(name)) {
        out_errorf("%.*s invalid name\n", length, name.data());
        return 198;
    }
    if (find_variable_exact(name) != 0) return ReportAlreadyDefined(name);
    if (looks_like_string_type(name)) {
        out_errorf("%.*s invalid variable name\n", length, name.data());
        return 198;
    }
    if (name_is_reserved(name)) {
        out_errorf("%.*s invalid varname\n", length, name.data());
        return 198;
    }
    return 0;
}

ReturnCode addvar(std::string_view name, StorageType type) {
    if (ReturnCode rc = check_new_name(name)) return rc;
    return add_variable(name, type, false);
}

ReturnCode addvar_internal(std::string_view name, StorageType type) {
    return add_variable(name, type, true);
}

ReturnCode move_variable(int from, int to) {
    assert(from >= 1 && from <= dataset.nvar && to >= 1 && to <= dataset.nvar);
    if (from == to) return 0;
    if (ReturnCode rc = ensure_scratch_row()) return rc;

    const uint32_t cell = dataset.offsets[from - 1];
    const uint32_t width = uint32_t(type_width(dataset.types[from - 1]));
    const uint32_t target = dataset.offsets[to - 1];
    ColumnShift shift{target, width, cell - target, false};
    if (from < to) {
        const uint32_t end = target + uint32_t(type_width(dataset.types[to - 1]));
        shift = {cell, width, end - cell - width, true};
    }
    if (ReturnCode rc = shift_rows(shift)) return rc;

    const VariableEntry entry = entry_at(from - 1);
    const int step = from < to ? 1 : -1;
    for (int i = from - 1; i != to - 1; i += step) set_entry(i, entry_at(i + step));
    set_entry(to - 1, entry);
    renew_offsets(std::min(from, to) - 1);
    for (uint16_t* key = dataset.sortlist; *key != 0; key++) {
        const int var = *key;
        if (var == from) {
            *key = uint16_t(to);
        } else if (std::min(from, to) <= var && var <= std::max(from, to)) {
            *key = uint16_t(var - step);
        }
    }
    note_change(to);
    return 0;
}

ReturnCode reorder_variables(const std::vector<int32_t>& order) {
    assert(int(order.size()) == dataset.nvar);
    size_t first = 0;
    size_t last = order.size();
    while (first < last && order[first] == int32_t(first) + 1) first++;
    while (last > first && order[last - 1] == int32_t(last)) last--;
    if (first == last) return 0;
    if (ReturnCode rc = ensure_scratch_row()) return rc;
    if (ReturnCode rc = reorder_rows(runs_of_order(order, first, last - 1))) return rc;
    reorder_table(order, first, last - 1);
    return 0;
}

ReturnCode drop_variables(const std::vector<int32_t>& vars) {
    std::vector<bool> dropped(size_t(dataset.nvar), false);
    int left = dataset.nvar;
    for (int32_t var : vars) {
        assert(var >= 1 && var <= dataset.nvar);
        if (dropped[size_t(var) - 1]) continue;
        dropped[size_t(var) - 1] = true;
        left--;
    }
    if (left == dataset.nvar) return 0;
    const int sample = find_variable_exact(kEstimationSample);
    const bool only_sample = left == 1 && sample != 0 && !dropped[size_t(sample) - 1];
    if (left == 0 || only_sample) {
        clear_dataset();
        return 0;
    }

    for (int var = 1; var <= dataset.nvar; var++) {
        if (!dropped[size_t(var) - 1]) continue;
        note_change(var);
        drop_owner_objects(variable_name(var));
    }
    squeeze_rows(runs_that_move(dropped));
    squeeze_table(dropped);
    return 0;
}

void note_change(int var) {
    const std::string_view name = variable_name(var);
    if (!name.starts_with('_') && name != kEstimationSample) dataset.changed = 1;
}

void forget_sort_from(int var) {
    uint16_t* key = dataset.sortlist;
    while (*key != 0 && *key != var) key++;
    *key = 0;
}

std::string variable_label(int var) {
    const StoreRecord* record = StoreFind(variable_name(var), kKindVariableLabel);
    if (record == nullptr) return {};
    return std::string(record->payload(), strnlen(record->payload(), record->length));
}

ReturnCode set_variable_label(int var, std::string_view text) {
    text = text.substr(0, std::min<size_t>(text.find('\0'), kVariableLabelMax));
    StoreRecord* old = StoreFind(variable_name(var), kKindVariableLabel);
    if (!text.empty()) {
        const uint32_t bytes = uint32_t(text.size()) + 1;
        StoreRecord* record = StoreCreate(variable_name(var), kKindVariableLabel, bytes);
        if (record == nullptr) return 950;
        copy_text(record->payload(), bytes, text);
    }
    StoreDelete(old);
    note_change(var);
    return 0;
}

void DropTemporaryVariables(int32_t name_counter_at_entry) {
    if (!dataset.has_temporaries) return;
    std::vector<int32_t> vars;
    for (int var = 1; var <= dataset.nvar; var++) {
        if (!variable_name(var).starts_with("__")) continue;
        if (TempNameNumber(variable_name(var)) >= name_counter_at_entry) vars.push_back(var);
    }
    if (!vars.empty()) drop_variables(vars);
}

}  // namespace korva

// data/dataset.cpp - the store's state, its start and end, and the number of observations.

#include "data/dataset.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <unordered_set>

#include "core/alloc.h"
#include "core/commands.h"
#include "core/macro.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/store.h"
#include "core/upcalls.h"
#include "data/cells.h"

namespace korva {

DatasetStore dataset;

namespace {

constexpr int32_t kRowBytesPerVariable = 12;  // the widest row is so many times maxvar
constexpr uint64_t kTableAlignment = 64;

uint64_t table_share(uint64_t entries, uint64_t bytes) {
    return (entries * bytes + kTableAlignment - 1) / kTableAlignment * kTableAlignment;
}

// One entry more than variables, and one more for the end of sortlist.
uint64_t table_entries(int32_t maxvar) {
    return uint64_t(uint32_t(maxvar)) + 2;
}

uint64_t all_table_bytes(int32_t maxvar) {
    const uint64_t n = table_entries(maxvar);
    return table_share(n, sizeof(NameText)) * 2 + table_share(n, sizeof(FormatText)) +
           table_share(n, sizeof(uint32_t)) + table_share(n, sizeof(uint16_t)) +
           table_share(n, sizeof(StorageType));
}

// Cuts the mapped block into the tables. Fresh pages are zero: no sort, no names.
void place_tables(uint8_t* block, int32_t maxvar) {
    const uint64_t n = table_entries(maxvar);
    const auto take = [&](uint64_t bytes) {
        uint8_t* share = block;
        block += table_share(n, bytes);
        return share;
    };
    dataset.tables = block;
    dataset.table_bytes = all_table_bytes(maxvar);
    dataset.names = reinterpret_cast<NameText*>(take(sizeof(NameText)));
    dataset.label_names = reinterpret_cast<NameText*>(take(sizeof(NameText)));
    dataset.formats = reinterpret_cast<FormatText*>(take(sizeof(FormatText)));
    dataset.offsets = reinterpret_cast<uint32_t*>(take(sizeof(uint32_t)));
    dataset.sortlist = reinterpret_cast<uint16_t*>(take(sizeof(uint16_t)));
    dataset.types = take(sizeof(StorageType));
}

void unmap_area(const DatasetStore& store) {
    if (store.begin != nullptr)
        UnmapPages(store.begin, size_t(store.end - store.begin + kAreaSlack));
    if (store.tables != nullptr) UnmapPages(store.tables, store.table_bytes);
}

// `state`, which has no data, becomes the store, over a fresh area and fresh tables; what was there
// goes. False, with everything as it was, if memory is refused.
bool put_area_under(DatasetStore state, int64_t bytes, int32_t maxvar) {
    uint8_t* area = static_cast<uint8_t*>(MapPages(size_t(bytes + kAreaSlack)));
    if (area == nullptr) return false;
    uint8_t* tables = static_cast<uint8_t*>(MapPages(all_table_bytes(maxvar)));
    if (tables == nullptr) {
        UnmapPages(area, size_t(bytes + kAreaSlack));
        return false;
    }

    const DatasetStore old = dataset;
    dataset = state;
    dataset.maxmaxvar = maxvar;
    dataset.maxlrecl = kRowBytesPerVariable * maxvar;
    dataset.begin = area;
    dataset.end = area + bytes;
    dataset.slot = reinterpret_cast<uint32_t*>(area);
    dataset.slot2 = nullptr;
    dataset.rows = nullptr;
    dataset.lrecl = dataset.mobs = dataset.mvar = dataset.tobs = 0;
    place_tables(tables, maxvar);
    const bool placed = lay_out_first_partition();
    dataset.n_repart = state.n_repart;
    if (!placed) {
        unmap_area(dataset);
        dataset = old;
        return false;
    }
    unmap_area(old);
    return true;
}

// Writes what a new observation holds into the row: `.`, or an empty string, and 0 in (e).
void fill_new_row(uint8_t* row) {
    for (int i = 0; i < dataset.nvar; i++) {
        uint8_t* cell = row + dataset.offsets[i];
        const StorageType type = dataset.types[i];
        if (type_is_string(type)) {
            std::memset(cell, 0, type);
        } else {
            const bool is_sample = std::strcmp(dataset.names[i], kEstimationSample) == 0;
            write_cell(type, cell, is_sample ? 0 : kSysMissing);
        }
    }
}

// The whole number that the token is; false if it is none.
bool token_integer(const char* token, double* value) {
    if (*token == 0 || std::strspn(token, "0123456789.eE+-") != std::strlen(token)) return false;
    char* end = nullptr;
    *value = std::strtod(token, &end);
    return end != token && *end == 0 && std::isfinite(*value) && *value == std::trunc(*value);
}

// The parts of check_dataset; each returns what does not hold, or nothing.

std::string check_shape() {
    const DatasetStore& d = dataset;
    if (d.nvar < 0 || d.nvar > d.mvar || d.mvar > d.maxmaxvar) return "nvar and mvar";
    if (d.nobs < 0 || d.nobs > d.mobs) return "nobs and mobs";
    if (d.lrecl % 2 != 0 || d.lrecl > d.maxlrecl) return "lrecl";
    if (used_width() > d.lrecl) return "the used width is above lrecl";
    if (reinterpret_cast<uint8_t*>(d.slot) != d.begin) return "the observation table's place";
    const uint8_t* tables_end = reinterpret_cast<uint8_t*>(d.slot2 + table_slots());
    const uint8_t* last = d.end + kAreaSlack;
    if (d.rows < tables_end || d.rows + d.memsize > last) return "the row area's place";
    const uint64_t rows_bytes = uint64_t(d.mobs) * uint64_t(d.lrecl);
    if (rows_bytes + d.M_dyn > d.memsize) return "the rows do not fit";
    return {};
}

std::string check_slots() {
    const DatasetStore& d = dataset;
    if (d.tobs > table_slots()) return "tobs is above the table";
    if (d.tobs < std::min<int64_t>(int64_t(d.nobs) + 1, table_slots())) return "tobs is below nobs";
    std::vector<bool> seen(size_t(d.tobs), false);
    for (int32_t i = 0; i < d.tobs; i++) {
        if (d.slot[i] >= uint32_t(d.tobs) || seen[d.slot[i]]) return "slots are no permutation";
        seen[d.slot[i]] = true;
    }
    for (int32_t i = 0; i < std::min(int64_t(d.nobs) + 1, int64_t(d.mobs)); i++) {
        if (d.slot[i] >= uint32_t(d.mobs)) return "a row lies outside the row area";
    }
    return {};
}

std::string check_variable(int var) {
    const int i = var - 1;
    const std::string where = "variable " + std::to_string(var) + ": ";
    if (strnlen(dataset.names[i], sizeof(NameText)) - 1 >= kMaxNameBytes) return where + "name";
    const StorageType type = dataset.types[i];
    if (type == 0 || type == 245) return where + "storage type";
    const uint32_t offset = i == 0 ? 0 : dataset.offsets[i - 1] + type_width(dataset.types[i - 1]);
    if (dataset.offsets[i] != offset) return where + "offset";
    if (strnlen(dataset.formats[i], kFormatBytes) == kFormatBytes) return where + "format";
    if (dataset.formats[i][0] != '%') return where + "format";
    if (strnlen(dataset.label_names[i], sizeof(NameText)) == sizeof(NameText)) {
        return where + "value-label name";
    }
    if (variable_label(var).size() > kVariableLabelMax) return where + "label";
    for (int obs = 1; obs <= dataset.nobs; obs++) {
        if (!cell_is_sound(type, rawcell(var, obs))) return where + "cell";
    }
    return {};
}

std::string check_sortlist() {
    std::unordered_set<int> seen;
    for (int k = 0; dataset.sortlist[k] != 0; k++) {
        const int var = dataset.sortlist[k];
        if (k >= dataset.nvar || var > dataset.nvar) return "sortlist";
        if (!seen.insert(var).second) return "sortlist names a variable twice";
    }
    return {};
}

}  // namespace

int32_t used_width() {
    const int last = dataset.nvar - 1;
    return last < 0 ? 0 : int32_t(dataset.offsets[last]) + type_width(dataset.types[last]);
}

void clear_dataset() {
    StoreDeleteType(kKindVariableLabel);
    StoreDeleteType(kKindCharacteristic);
    StoreDeleteType(kKindValueLabel);
    DropMacro("S_FN");
    DropMacro("S_FNDATE");
    dataset.nvar = 0;
    dataset.nobs = 0;
    dataset.changed = 0;
    dataset.has_temporaries = false;
    dataset.label[0] = 0;
    dataset.filename[0] = 0;
    if (dataset.begin == nullptr) return;
    dataset.sortlist[0] = 0;
    dataset.tobs = 0;
    ready_slots(1);
}

bool replace_data_area(int64_t bytes, int32_t maxvar) {
    assert(dataset.nvar == 0 && dataset.nobs == 0);
    return put_area_under(dataset, bytes, maxvar);
}

bool StartDataset(int64_t bytes, int32_t maxvar) {
    if (!put_area_under(DatasetStore{}, bytes, maxvar)) return false;
    clear_dataset();
    dataset.n_repart = 0;
    return true;
}

void EndDataset() {
    unmap_area(dataset);
    dataset = DatasetStore{};
}

int32_t DatasetVariables() {
    return dataset.nvar;
}
int32_t DatasetObservations() {
    return dataset.nobs;
}
int64_t DatasetWidth() {
    return used_width();
}
bool DatasetChanged() {
    return dataset.changed != 0;
}

ReturnCode extend_observations(int32_t n) {
    if (ReturnCode rc = grow_obs(int64_t(n) + 1 - dataset.mobs)) return report_no_room(rc);
    ready_slots(int64_t(n) + 1);
    const int32_t first = dataset.nobs + 1;
    if (n < first) return 0;

    // The first new row is the pattern of the others; nothing counts before nobs does.
    const uint8_t* pattern = rawrow(first);
    const size_t width = size_t(used_width());
    fill_new_row(rawrow(first));
    for (int64_t obs = int64_t(first) + 1; obs <= n && width > 0; obs++) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        std::memcpy(rawrow(int(obs)), pattern, width);
    }
    set_nobs(n);
    dataset.changed = 1;
    return 0;
}

// set obs #: more observations, their cells missing or empty.
ReturnCode SetObs() {
    NextToken(OptionSeparators);
    double n = 0;
    if (!token_integer(scanner.TokenBuffer, &n)) {
        return ReportFoundWhere(scanner.TokenBuffer, "number");
    }
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    const int64_t most = std::max<int64_t>(largest_obs() - 1, dataset.nobs);
    if (n < dataset.nobs || n > double(most)) {
        out_errorf("obs must be between %d and %lld\n", dataset.nobs, static_cast<long long>(most));
        return 198;
    }
    const int32_t was = dataset.nobs;
    if (ReturnCode rc = extend_observations(int32_t(n))) return rc;
    LevelGuard level(kLevelText);
    return out_textf("obs was %d, now %d\n", was, dataset.nobs);
}

std::string check_dataset() {
    if (std::string fault = check_shape(); !fault.empty()) return fault;
    if (std::string fault = check_slots(); !fault.empty()) return fault;
    std::unordered_set<std::string_view> names;
    for (int var = 1; var <= dataset.nvar; var++) {
        if (std::string fault = check_variable(var); !fault.empty()) return fault;
        if (!names.insert(dataset.names[var - 1]).second) {
            return std::string(dataset.names[var - 1]) + " stands twice";
        }
    }
    if (std::string fault = check_sortlist(); !fault.empty()) return fault;
    if (strnlen(dataset.label, kDataLabelBytes) == kDataLabelBytes) return "the data label's end";
    return {};
}

}  // namespace korva

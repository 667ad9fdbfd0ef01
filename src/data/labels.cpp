// data/labels.cpp - reading and storing value-label tables and characteristics.
//
// A table that grows is edited in place, from its end to its start, so that no byte is overwritten
// before it has moved; its record has spare room from the second change on, and values that come in
// ascending order move nothing but the text. A changed text leaves the old one unused in the block:
// then the table is first built anew without it.
//
// A table's payload is checked once, when it is stored; look-ups then trust it. Payloads are
// aligned to 8, so that the offsets and values of a table are read where they lie. What replaces a
// record is made before the record goes: a refusal of memory leaves the old text.

#include "data/labels.h"

#include <algorithm>
#include <cstring>
#include <numeric>

#include "core/missing.h"
#include "core/return_codes.h"
#include "core/upcalls.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/skeleton.h"
#include "output/number_format.h"

namespace korva {

namespace {

constexpr size_t kTableHead = 2 * sizeof(int32_t);
constexpr size_t kCharacteristicHead = kMaxNameBytes + 1;  // its name, before the text
constexpr uint64_t kSpareShare = 4;  // a table that grew once has a quarter of its size in reserve

// Bytes of the table at the start of the payload; 0 if it is not sound.
size_t sound_table_bytes(std::span<const uint8_t> payload) {
    int32_t n = 0;
    int32_t text_bytes = 0;
    if (payload.size() < kTableHead) return 0;
    std::memcpy(&n, payload.data(), sizeof n);
    std::memcpy(&text_bytes, payload.data() + sizeof n, sizeof text_bytes);
    if (n < 0 || n > kMaxLabels || text_bytes < 0) return 0;
    const size_t text_at = kTableHead + size_t(n) * 2 * sizeof(int32_t);
    const size_t bytes = text_at + size_t(text_bytes);
    if (payload.size() < bytes) return 0;
    if (n > 0 && (text_bytes == 0 || payload[bytes - 1] != 0)) return 0;

    const uint8_t* offsets = payload.data() + kTableHead;
    const uint8_t* values = offsets + size_t(n) * sizeof(int32_t);
    int32_t previous = 0;
    for (size_t i = 0; i < size_t(n); i++) {
        int32_t offset = 0;
        int32_t value = 0;
        std::memcpy(&offset, offsets + i * sizeof offset, sizeof offset);
        std::memcpy(&value, values + i * sizeof value, sizeof value);
        if (offset < 0 || offset >= text_bytes) return 0;
        if (i > 0 && value <= previous) return 0;
        previous = value;
    }
    return bytes;
}

std::vector<StoreRecord*> owner_objects(std::string_view owner) {
    std::vector<StoreRecord*> records;
    for (int32_t kind : {kKindVariableLabel, kKindCharacteristic}) {
        StoreRecord* record = StoreFind(owner, kind);
        for (; record != nullptr; record = StoreNextOfName(record, kind)) records.push_back(record);
    }
    return records;
}

// --- changing a table ---

LabelTable table_in(const char* payload) {
    LabelTable table;
    std::memcpy(&table.n, payload, sizeof table.n);
    std::memcpy(&table.text_bytes, payload + sizeof table.n, sizeof table.text_bytes);
    table.offsets = reinterpret_cast<const int32_t*>(payload + kTableHead);
    table.values = table.offsets + table.n;
    table.text = reinterpret_cast<const char*>(table.values + table.n);
    return table;
}

uint64_t payload_bytes(uint64_t n, uint64_t text_bytes) {
    return kTableHead + 2 * sizeof(int32_t) * n + text_bytes;
}

void set_head(char* payload, int32_t n, int32_t text_bytes) {
    std::memcpy(payload, &n, sizeof n);
    std::memcpy(payload + sizeof n, &text_bytes, sizeof text_bytes);
}

// What a set of changes comes to.
struct LabelPlan {
    std::vector<LabelChange> added;  // by key, none of them in what is kept
    std::vector<int32_t> removed;    // indexes of entries that go, ascending
    uint64_t added_bytes = 0;        // of the texts, NULs included
};

bool make_plan(const LabelTable& table, std::vector<LabelChange>* changes, LabelMode mode,
               LabelPlan* plan) {
    for (size_t i = 0; i < changes->size(); i++) (*changes)[i].turn = int32_t(i);
    // Stable: of several texts for a value, the last one counts when modifying.
    std::stable_sort(changes->begin(), changes->end(),
                     [](const LabelChange& a, const LabelChange& b) { return a.key < b.key; });
    const int32_t* place = table.values;
    const int32_t* end = table.values + table.n;
    for (size_t i = 0; i < changes->size(); i++) {
        const LabelChange& change = (*changes)[i];
        const bool repeated = i + 1 < changes->size() && (*changes)[i + 1].key == change.key;
        place = std::lower_bound(place, end, change.key);
        const bool exists = place != end && *place == change.key;
        if (mode == LabelMode::Add && (exists || repeated)) return false;
        if (repeated) continue;
        if (exists) plan->removed.push_back(int32_t(place - table.values));
        if (mode == LabelMode::Modify && change.text.empty()) continue;
        plan->added.push_back(change);
        plan->added_bytes += change.text.size() + 1;
    }
    return true;
}

// The entries that stay, with their texts in the order in which they were made.
struct KeptEntries {
    std::vector<int32_t> entries;  // indexes, by value
    std::vector<int32_t> order;    // places in `entries`, by offset
    uint64_t text_bytes = 0;
};

KeptEntries entries_that_stay(const LabelTable& table, const LabelPlan& plan) {
    KeptEntries kept;
    auto removed = plan.removed.begin();
    for (int32_t i = 0; i < table.n; i++) {
        if (removed != plan.removed.end() && *removed == i) {
            ++removed;
            continue;
        }
        kept.order.push_back(int32_t(kept.entries.size()));
        kept.entries.push_back(i);
        kept.text_bytes += std::strlen(table.label(i)) + 1;
    }
    std::stable_sort(kept.order.begin(), kept.order.end(), [&](int32_t a, int32_t b) {
        return table.offsets[kept.entries[size_t(a)]] < table.offsets[kept.entries[size_t(b)]];
    });
    return kept;
}

void write_kept(const LabelTable& table, const KeptEntries& kept, char* payload) {
    const size_t n = kept.entries.size();
    set_head(payload, int32_t(n), int32_t(kept.text_bytes));
    auto* offsets = reinterpret_cast<int32_t*>(payload + kTableHead);
    int32_t* values = offsets + n;
    char* text = reinterpret_cast<char*>(values + n);
    int32_t offset = 0;
    for (int32_t place : kept.order) {
        const int32_t entry = kept.entries[size_t(place)];
        const size_t bytes = std::strlen(table.label(entry)) + 1;
        std::memcpy(text + offset, table.label(entry), bytes);
        offsets[place] = offset;
        values[place] = table.values[entry];
        offset += int32_t(bytes);
    }
}

// Adds the entries to the table in the payload, which has room for them.
void insert_in_place(char* payload, const LabelPlan& plan) {
    const LabelTable table = table_in(payload);
    const size_t n_old = size_t(table.n);
    const size_t n_added = plan.added.size();
    const size_t n = n_old + n_added;
    auto* offsets = reinterpret_cast<int32_t*>(payload + kTableHead);
    int32_t* values = offsets + n;
    char* text = reinterpret_cast<char*>(values + n);
    std::memmove(text, table.text, size_t(table.text_bytes));

    // From the back: the place of each new entry among the values.
    std::vector<size_t> places(n_added);
    size_t left = n_old;
    for (size_t k = n_added; k-- > 0;) {
        const size_t before = size_t(
            std::lower_bound(table.values, table.values + left, plan.added[k].key) - table.values);
        std::memmove(values + before + k + 1, table.values + before,
                     (left - before) * sizeof *values);
        places[k] = before + k;
        left = before;
    }
    std::memmove(values, table.values, left * sizeof *values);
    size_t end = n;
    for (size_t k = n_added; k-- > 0;) {
        const size_t behind = places[k] + 1;
        std::memmove(offsets + behind, offsets + behind - k - 1, (end - behind) * sizeof *offsets);
        end = places[k];
    }

    std::vector<size_t> by_turn(n_added);
    std::iota(by_turn.begin(), by_turn.end(), size_t(0));
    std::sort(by_turn.begin(), by_turn.end(),
              [&](size_t a, size_t b) { return plan.added[a].turn < plan.added[b].turn; });
    int32_t offset = table.text_bytes;
    for (size_t k : by_turn) {
        const std::string_view label = plan.added[k].text;
        values[places[k]] = plan.added[k].key;
        offsets[places[k]] = offset;
        std::memcpy(text + offset, label.data(), label.size());
        text[size_t(offset) + label.size()] = 0;
        offset += int32_t(label.size()) + 1;
    }
    set_head(payload, int32_t(n), offset);
}

void set_table_length(StoreRecord* record) {
    const LabelTable table = table_in(record->payload());
    record->length = uint32_t(payload_bytes(uint64_t(table.n), uint64_t(table.text_bytes)));
    record->user_word = record->length;
}

}  // namespace

bool open_label_table(std::string_view name, LabelTable* table) {
    if (name.empty()) return false;
    const StoreRecord* record = StoreFind(name, kKindValueLabel);
    if (record != nullptr) *table = table_in(record->payload());
    return record != nullptr;
}

std::vector<std::string> label_table_names() {
    std::vector<std::string> names;
    for (const StoreRecord* record = StoreNext(kKindValueLabel, nullptr); record != nullptr;
         record = record->nextByType) {
        names.emplace_back(record->name);
    }
    return names;
}

bool label_key(double value, int32_t* key) {
    uint8_t cell[sizeof *key];
    write_cell(kLong, cell, value);
    if (read_cell(kLong, cell) != value) return false;
    std::memcpy(key, cell, sizeof *key);
    return true;
}

double label_number(int32_t key) {
    uint8_t cell[sizeof key];
    std::memcpy(cell, &key, sizeof key);
    return read_cell(kLong, cell);
}

ReturnCode change_label_table(std::string_view name, std::vector<LabelChange>* changes,
                              LabelMode mode) {
    StoreRecord* old = StoreFind(name, kKindValueLabel);
    const LabelTable table = old != nullptr ? table_in(old->payload()) : LabelTable{};
    LabelPlan plan;
    if (!make_plan(table, changes, mode, &plan)) return ReportError(180);

    KeptEntries kept;
    uint64_t kept_n = uint64_t(table.n);
    uint64_t kept_text = uint64_t(table.text_bytes);
    if (!plan.removed.empty()) {
        kept = entries_that_stay(table, plan);
        kept_n = kept.entries.size();
        kept_text = kept.text_bytes;
    }
    const uint64_t n = kept_n + plan.added.size();
    const uint64_t text_bytes = kept_text + plan.added_bytes;
    const uint64_t bytes = payload_bytes(n, text_bytes);
    if (n > kMaxLabels || bytes > INT32_MAX) return ReportError(134);

    StoreRecord* record = old;
    if (old == nullptr || !plan.removed.empty() || bytes > old->capacity) {
        const uint64_t spare = old != nullptr ? bytes / kSpareShare : 0;
        const auto room = uint32_t(std::min<uint64_t>(bytes + spare, INT32_MAX));
        record = StoreCreate(name, kKindValueLabel, room);
        if (record == nullptr) return 950;
        if (!plan.removed.empty()) {
            write_kept(table, kept, record->payload());
        } else if (old != nullptr) {
            std::memcpy(record->payload(), old->payload(), old->length);
        } else {
            set_head(record->payload(), 0, 0);
        }
        StoreDelete(old);
    }
    insert_in_place(record->payload(), plan);
    set_table_length(record);
    dataset.changed = 1;
    return 0;
}

void drop_label_table(std::string_view name) {
    StoreRecord* record = StoreFind(name, kKindValueLabel);
    if (record == nullptr) return;
    StoreDelete(record);
    dataset.changed = 1;
}

void widen_format(int var, int32_t columns) {
    columns = std::min(columns, kMaxFormatWidth);
    char* text = dataset.formats[var - 1];
    Format format;
    if (parse_format(text, &format) == 0 || format.width >= columns) return;
    const bool has_width = format.kind == FormatKind::Fixed || format.kind == FormatKind::General ||
                           format.kind == FormatKind::Exponent;
    if (!has_width) return;
    const std::string_view old = text;
    const size_t width_at = old.find_first_of("123456789");
    if (width_at == old.npos) return;
    const size_t behind = std::min(old.find_first_not_of("0123456789", width_at), old.size());
    std::string widened(old.substr(0, width_at));
    widened.append(std::to_string(columns)).append(old.substr(behind));
    if (widened.size() >= sizeof(FormatText)) return;
    std::memcpy(text, widened.c_str(), widened.size() + 1);
    note_change(var);
}

const char* find_value_label(std::string_view table_name, double value) {
    LabelTable table;
    int32_t key = 0;
    if (!open_label_table(table_name, &table) || !label_key(value, &key)) return nullptr;
    const int32_t* end = table.values + table.n;
    const int32_t* place = std::lower_bound(table.values, end, key);
    return place != end && *place == key ? table.label(int(place - table.values)) : nullptr;
}

bool find_label_value(std::string_view table_name, std::string_view text, double* value,
                      bool* exists) {
    LabelTable table;
    *exists = open_label_table(table_name, &table);
    if (!*exists) return false;
    for (int i = 0; i < table.n; i++) {
        if (text != table.label(i)) continue;
        *value = label_number(table.values[i]);
        return true;
    }
    return false;
}

int32_t longest_value_label(std::string_view table_name) {
    LabelTable table;
    if (!open_label_table(table_name, &table)) return 0;
    size_t longest = 0;
    for (int i = 0; i < table.n; i++) longest = std::max(longest, std::strlen(table.label(i)));
    return int32_t(longest);
}

StoreRecord* make_value_table(std::string_view name, std::span<const uint8_t> payload, int32_t kind,
                              bool* sound) {
    const size_t bytes = sound_table_bytes(payload);
    *sound = bytes != 0;
    if (bytes == 0) return nullptr;
    StoreRecord* record = StoreCreate(name, kind, uint32_t(bytes), uint32_t(bytes));
    if (record != nullptr) std::memcpy(record->payload(), payload.data(), bytes);
    return record;
}

bool store_value_table(std::string_view name, std::span<const uint8_t> payload, ReturnCode* rc) {
    StoreRecord* old = StoreFind(name, kKindValueLabel);
    bool sound = false;
    StoreRecord* record = make_value_table(name, payload, kKindValueLabel, &sound);
    if (!sound) return false;
    *rc = record == nullptr ? 950 : 0;
    if (record != nullptr) StoreDelete(old);
    return true;
}

StoreRecord* find_characteristic(std::string_view owner, std::string_view name) {
    StoreRecord* record = StoreFind(owner, kKindCharacteristic);
    while (record != nullptr && characteristic_name(record) != name) {
        record = StoreNextOfName(record, kKindCharacteristic);
    }
    return record;
}

StoreRecord* make_characteristic(std::string_view owner, std::string_view name,
                                 std::string_view text, int32_t kind) {
    name = name.substr(0, kMaxNameBytes);
    text = text.substr(0, std::min<size_t>(text.find('\0'), kMaxCharacteristicBytes));
    const uint32_t text_bytes = uint32_t(text.size()) + 1;
    StoreRecord* record = StoreCreate(owner, kind, uint32_t(kCharacteristicHead) + text_bytes,
                                      text_bytes);
    if (record == nullptr) return nullptr;
    char* payload = record->payload();
    std::memset(payload, 0, kCharacteristicHead);
    std::memcpy(payload, name.data(), name.size());
    std::memcpy(payload + kCharacteristicHead, text.data(), text.size());
    payload[kCharacteristicHead + text.size()] = 0;
    return record;
}

std::string_view characteristic_name(const StoreRecord* record) {
    return {record->payload(), strnlen(record->payload(), kMaxNameBytes)};
}

std::string_view characteristic_text(const StoreRecord* record) {
    return {record->payload() + kCharacteristicHead, record->user_word - 1};
}

void note_characteristic_change(std::string_view owner, std::string_view name) {
    const bool quiet_owner = owner.starts_with('_') && owner != kDatasetOwner;
    if (!name.starts_with('_') && !quiet_owner) dataset.changed = 1;
}

std::string_view characteristic(std::string_view owner, std::string_view name) {
    const StoreRecord* record = find_characteristic(owner, name);
    if (record == nullptr) return {};
    return characteristic_text(record);
}

ReturnCode set_characteristic(std::string_view owner, std::string_view name,
                              std::string_view text) {
    name = name.substr(0, kMaxNameBytes);
    text = text.substr(0, std::min<size_t>(text.find('\0'), kMaxCharacteristicBytes));
    StoreRecord* old = find_characteristic(owner, name);
    if (text.empty() && old == nullptr) return 0;
    if (!text.empty() && !make_characteristic(owner, name, text, kKindCharacteristic)) return 950;
    note_characteristic_change(owner, name);
    StoreDelete(old);
    return 0;
}

std::vector<std::string_view> characteristic_names(std::string_view owner) {
    std::vector<std::string_view> names;
    StoreRecord* record = StoreFind(owner, kKindCharacteristic);
    for (; record != nullptr; record = StoreNextOfName(record, kKindCharacteristic)) {
        names.push_back(characteristic_name(record));
    }
    return names;
}

void drop_owner_objects(std::string_view owner) {
    for (StoreRecord* record : owner_objects(owner)) StoreDelete(record);
}

void rename_owner_objects(std::string_view owner, std::string_view new_name) {
    // From the oldest on, so that the newest is in front again under the new name.
    std::vector<StoreRecord*> records = owner_objects(owner);
    for (auto record = records.rbegin(); record != records.rend(); ++record) {
        StoreRename(*record, new_name);
    }
}

std::string_view CharacteristicOf(std::string_view owner, std::string_view name) {
    if (owner == kDatasetOwner) return characteristic(owner, name);
    const int var = look_up_variable(owner);
    return var != 0 ? characteristic(dataset.names[var - 1], name) : std::string_view();
}

}  // namespace korva

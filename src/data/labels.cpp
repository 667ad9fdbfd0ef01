// data/labels.cpp - reading and storing value-label tables and characteristics.
//
// A table's payload is checked once, when it is stored; look-ups then trust it. Payloads are
// aligned to 8, so that the offsets and values of a table are read where they lie. What replaces a
// record is made before the record goes: a refusal of memory leaves the old text.

#include "data/labels.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/missing.h"
#include "core/upcalls.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr size_t kTableHead = 2 * sizeof(int32_t);
constexpr size_t kCharacteristicHead = kMaxNameBytes + 1;  // its name, before the text
constexpr std::string_view kDatasetOwner = "_dta";

// A sound table, as it lies in its record.
struct LabelTable {
    int32_t n = 0;
    const int32_t* offsets = nullptr;
    const int32_t* values = nullptr;  // ascending
    const char* text = nullptr;

    const char* label(int i) const { return text + offsets[i]; }
};

bool open_table(std::string_view name, LabelTable* table) {
    if (name.empty()) return false;
    const StoreRecord* record = StoreFind(name, kKindValueLabel);
    if (record == nullptr) return false;
    std::memcpy(&table->n, record->payload(), sizeof table->n);
    table->offsets = reinterpret_cast<const int32_t*>(record->payload() + kTableHead);
    table->values = table->offsets + table->n;
    table->text = reinterpret_cast<const char*>(table->values + table->n);
    return true;
}

// The value as tables have it: whole numbers, and the missing values of a long. False for others.
bool table_value(double value, int32_t* key) {
    uint8_t cell[sizeof *key];
    write_cell(kLong, cell, value);
    if (read_cell(kLong, cell) != value) return false;
    std::memcpy(key, cell, sizeof *key);
    return true;
}

double number_of(int32_t key) {
    uint8_t cell[sizeof key];
    std::memcpy(cell, &key, sizeof key);
    return read_cell(kLong, cell);
}

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

StoreRecord* find_characteristic(std::string_view owner, std::string_view name) {
    StoreRecord* record = StoreFind(owner, kKindCharacteristic);
    while (record != nullptr && characteristic_name(record) != name) {
        record = StoreNextOfName(record, kKindCharacteristic);
    }
    return record;
}

void note_characteristic_change(std::string_view owner, std::string_view name) {
    const bool quiet_owner = owner.starts_with('_') && owner != kDatasetOwner;
    if (!name.starts_with('_') && !quiet_owner) dataset.changed = 1;
}

std::vector<StoreRecord*> owner_objects(std::string_view owner) {
    std::vector<StoreRecord*> records;
    for (int32_t kind : {kKindVariableLabel, kKindCharacteristic}) {
        StoreRecord* record = StoreFind(owner, kind);
        for (; record != nullptr; record = StoreNextOfName(record, kind)) records.push_back(record);
    }
    return records;
}

}  // namespace

const char* find_value_label(std::string_view table_name, double value) {
    LabelTable table;
    int32_t key = 0;
    if (!open_table(table_name, &table) || !table_value(value, &key)) return nullptr;
    const int32_t* end = table.values + table.n;
    const int32_t* place = std::lower_bound(table.values, end, key);
    return place != end && *place == key ? table.label(int(place - table.values)) : nullptr;
}

bool find_label_value(std::string_view table_name, std::string_view text, double* value,
                      bool* exists) {
    LabelTable table;
    *exists = open_table(table_name, &table);
    if (!*exists) return false;
    for (int i = 0; i < table.n; i++) {
        if (text != table.label(i)) continue;
        *value = number_of(table.values[i]);
        return true;
    }
    return false;
}

int32_t longest_value_label(std::string_view table_name) {
    LabelTable table;
    if (!open_table(table_name, &table)) return 0;
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
    if (owner == "_dta") return characteristic(owner, name);
    const int var = look_up_variable(owner);
    return var != 0 ? characteristic(dataset.names[var - 1], name) : std::string_view();
}

}  // namespace korva

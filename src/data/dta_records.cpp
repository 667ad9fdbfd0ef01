// data/dta_records.cpp - expansion records and value labels: what a dataset file says in texts.
//
// Everything becomes a store record at once, under a kind that nobody looks up, so that a file that
// turns out to be damaged further on leaves none of them behind. Giving a record its real kind
// later is a matter of two lists and cannot fail. A characteristic or table that comes twice
// replaces the first; the index that finds it keeps the load of many characteristics of one owner
// linear.
#include <iterator>
#include <unordered_map>
#include <unordered_set>

#include "core/alloc.h"
#include "core/names.h"
#include "core/print.h"
#include "data/dta_file.h"
#include "data/labels.h"

namespace korva {

namespace {

constexpr uint8_t kCharacteristicRecord = 1;
constexpr int kValueLabelPadding = 3;

// A record in memory is several times as long as the shortest one in a file, so that a file of
// nothing else could take many times its size: there is a limit for all of them.
constexpr uint64_t kRecordOverhead = 256;     // beside the payload: the header, the index, the item
constexpr uint64_t kRecordsShare = 4;         // bytes for each of the file
constexpr uint64_t kRecordsSpare = 48 << 20;  // and for a file of any size

// Where a record of the same key stands among the items.
using ItemIndex = std::unordered_map<std::string, size_t>;

// Notes that a record with a payload of `payload` bytes is to come, and that `beside` bytes are in
// use while it is made: 909 if the records would be too large for the file.
ReturnCode claim_bytes(const DtaReader& in, uint64_t payload, uint64_t beside,
                       DtaRecords* records) {
    records->bytes += kRecordOverhead + payload;
    const uint64_t most = kRecordsSpare + kRecordsShare * in.source->size;
    return records->bytes + beside > most ? ReportError(909) : 0;
}

// Adds the record, or removes what stood under the key if it is null.
void put_record(DtaRecords* records, ItemIndex* index, const std::string& key, StoreRecord* record,
                int32_t kind) {
    const auto [place, is_new] = index->try_emplace(key, records->items.size());
    if (!is_new) {
        DtaRecords::Item* earlier = &records->items[place->second];
        if (earlier->record) records->bytes -= earlier->record->length;
        StoreDelete(earlier->record);
        earlier->record = nullptr;
        place->second = records->items.size();
    }
    records->items.push_back({record, kind});
}

// One characteristic of `length` bytes, which are there. An owner that the file does not have is
// left out: such a record would come back with the next variable of that name.
ReturnCode read_characteristic(const DtaReader& in, const DtaVariables& variables, uint32_t length,
                               std::vector<uint8_t>* text, const CharacteristicUse& use) {
    const uint32_t name_bytes = in.header->format->name;
    if (length < 2 * name_bytes) return in.corrupt();
    uint8_t names[2 * (kMaxNameBytes + 1)];
    if (!take_bytes(in.source, names, 2 * name_bytes)) return in.cut();
    std::string_view owner = field_text(names, name_bytes);
    const std::string_view name = field_text(names + name_bytes, name_bytes);

    // One byte beyond the longest text, so that a longer one is still seen to be longer.
    const uint32_t in_file = length - 2 * name_bytes;
    const uint32_t kept = std::min(in_file, uint32_t(kMaxCharacteristicBytes + 1));
    text->resize(kept);
    if (!take_bytes(in.source, text->data(), kept)) return in.cut();
    if (!skip_bytes(in.source, in_file - kept)) return in.cut();

    if (name.size() == name_bytes || !IsValidName(name)) return in.corrupt();
    if (owner != kDatasetOwner) {
        const int i = find_in_file(variables, owner);
        if (i < 0) return 0;
        owner = variables.names[i];
    }
    return use(owner, name, field_text(text->data(), text->size()));
}

// --- value labels ---

// The head of a table in its payload form.
struct TableHead {
    uint32_t entries;
    uint32_t text_bytes;

    // Bytes of the whole table. At most 64 bits are needed for any two numbers.
    uint64_t bytes() const { return 8 + 8 * uint64_t(entries) + text_bytes; }
};

// Brings the numbers of the table into this machine's order, as far as its length holds what its
// count says. False if it does not.
bool open_table(uint8_t* table, uint32_t length, bool swapped, TableHead* head) {
    if (length < 8) return false;
    *head = {dta_u32(table, swapped), dta_u32(table + 4, swapped)};
    if (head->entries > uint32_t(kMaxLabels) || head->bytes() > length) return false;
    if (swapped) turn_column<uint32_t>(table, int(2 + 2 * head->entries), sizeof(uint32_t));
    return true;
}

// True if one of the table's texts is longer than a label may be. Entries may share a text, so the
// texts are gone through once and not entry by entry.
bool has_long_label(const uint8_t* table, const TableHead& head) {
    struct LongText {
        uint32_t first;   // offset of its first byte
        uint32_t behind;  // the first offset from which what is left of it is a label
    };
    std::vector<LongText> long_texts;
    const uint8_t* texts = table + 8 + 8 * size_t(head.entries);
    for (uint64_t at = 0; at < head.text_bytes;) {
        const uint64_t bytes = field_text(texts + at, head.text_bytes - at).size();
        if (bytes > uint64_t(kMaxLabelBytes)) {
            long_texts.push_back({uint32_t(at), uint32_t(at + bytes - kMaxLabelBytes)});
        }
        at += bytes + 1;
    }
    for (uint32_t i = 0; i < head.entries && !long_texts.empty(); i++) {
        const uint32_t offset = dta_u32(table + 8 + 4 * size_t(i), false);
        const auto next = std::upper_bound(
            long_texts.begin(), long_texts.end(), offset,
            [](uint32_t wanted, const LongText& text) { return wanted < text.first; });
        if (next != long_texts.begin() && offset < std::prev(next)->behind) return true;
    }
    return false;
}

// What the tables of one file share.
struct TableReader {
    const DtaReader& in;
    std::unordered_set<std::string_view> used;  // names of kept variables' labels
    bool only_used;
    DtaRecords* records;
    ItemIndex index;

    bool wanted(std::string_view name) const { return !only_used || used.contains(name); }
};

ReturnCode stage_table(TableReader* to, std::string_view name, std::span<const uint8_t> payload) {
    bool sound = true;
    StoreRecord* record = make_value_table(name, payload, kKindIncoming, &sound);
    if (!sound) return to->in.corrupt();
    if (record == nullptr) return 950;
    put_record(to->records, &to->index, std::string(name), record, kKindValueLabel);
    return 0;
}

// Reads and keeps one table of `length` bytes under the name.
ReturnCode read_table(TableReader* to, std::string_view name, uint32_t length) {
    const DtaReader& in = to->in;
    if (length > in.source->left) return in.cut();
    if (!to->wanted(name)) return skip_bytes(in.source, length) ? 0 : in.cut();
    if (ReturnCode rc = claim_bytes(in, length, length, to->records)) return rc;
    const EngineBlock memory(length);
    if (!memory.bytes) return ReportError(909);
    uint8_t* table = static_cast<uint8_t*>(memory.bytes);
    if (!take_bytes(in.source, table, length)) return in.cut();

    TableHead head;
    if (!open_table(table, length, in.header->swapped, &head)) return in.corrupt();
    if (has_long_label(table, head)) {
        to->records->tables_left_out++;
        return 0;
    }
    return stage_table(to, name, {table, size_t(head.bytes())});
}

// Tables stand up to the end of the file, or up to one without a length.
ReturnCode read_tables(TableReader* to) {
    const DtaReader& in = to->in;
    const uint32_t name_bytes = in.header->format->name;
    for (;;) {
        if (ReturnCode rc = break_or_ok()) return rc;
        uint8_t length_field[4];
        if (!take_bytes(in.source, length_field, sizeof length_field)) return 0;
        const int32_t length = int32_t(dta_u32(length_field, in.header->swapped));
        if (length < 1) return 0;
        uint8_t name_field[kMaxNameBytes + 1 + kValueLabelPadding];
        if (!take_bytes(in.source, name_field, name_bytes + kValueLabelPadding)) return in.cut();
        const std::string_view name = field_text(name_field, name_bytes);
        if (name.size() == name_bytes || !IsValidName(name)) return in.corrupt();
        if (ReturnCode rc = read_table(to, name, uint32_t(length))) return rc;
    }
}

ReturnCode read_old_tables(TableReader* to) {
    for (;;) {
        if (ReturnCode rc = break_or_ok()) return rc;
        std::string name;
        std::vector<uint8_t> payload;
        bool ended = false;
        if (ReturnCode rc = read_old_table(to->in, &name, &payload, &ended)) return rc;
        if (ended) return 0;
        if (!to->wanted(name)) continue;
        if (ReturnCode rc = claim_bytes(to->in, payload.size(), 0, to->records)) return rc;
        if (ReturnCode rc = stage_table(to, name, payload)) return rc;
    }
}

void change_tables(DtaRecords* records, int32_t kind) {
    for (const DtaRecords::Item& item : records->items) {
        if (item.record && item.kind == kKindValueLabel) StoreChangeType(item.record, kind);
    }
}

// Gives all records of one kind another, in an order that a second call turns back.
void change_kind(int32_t from, int32_t to) {
    while (StoreRecord* record = StoreNext(from, nullptr)) StoreChangeType(record, to);
}

}  // namespace

DtaRecords::~DtaRecords() {
    for (const Item& item : items) StoreDelete(item.record);
}

void install_records(DtaRecords* records) {
    for (const DtaRecords::Item& item : records->items) {
        if (item.record) StoreChangeType(item.record, item.kind);
    }
    records->items.clear();
}

ValueLabelView::ValueLabelView(DtaRecords* staged) : records(staged) {
    change_kind(kKindValueLabel, kKindSetAside);
    change_tables(records, kKindValueLabel);
}

ValueLabelView::~ValueLabelView() {
    change_tables(records, kKindIncoming);
    change_kind(kKindSetAside, kKindValueLabel);
}

ReturnCode read_expansion_records(const DtaReader& in, const DtaVariables& variables,
                                  const CharacteristicUse& use) {
    const int length_bytes = in.header->format->expansion_length;
    if (length_bytes == 0) return 0;
    std::vector<uint8_t> text;
    for (;;) {
        if (ReturnCode rc = break_or_ok()) return rc;
        uint8_t head[5];
        if (!take_bytes(in.source, head, uint64_t(1 + length_bytes))) return in.cut();
        const uint32_t length = length_bytes == 2 ? dta_u16(head + 1, in.header->swapped)
                                                  : dta_u32(head + 1, in.header->swapped);
        if (head[0] == 0 && length == 0) return 0;
        if (length > in.source->left) return in.cut();
        if (head[0] == kCharacteristicRecord) {
            if (ReturnCode rc = read_characteristic(in, variables, length, &text, use)) return rc;
        } else if (!skip_bytes(in.source, length)) {
            return in.cut();
        }
    }
}

ReturnCode stage_expansion_records(const DtaReader& in, const DtaVariables& file,
                                   const DtaVariables& kept, DtaRecords* records) {
    std::unordered_set<std::string_view> owners{kDatasetOwner};
    for (int i = 0; i < kept.nvar; i++) owners.insert(kept.names[i]);
    ItemIndex index;
    return read_expansion_records(
        in, file,
        [&](std::string_view owner, std::string_view name, std::string_view text) -> ReturnCode {
            if (!owners.contains(owner)) return 0;
            if (ReturnCode rc = claim_bytes(in, text.size(), 0, records)) return rc;
            StoreRecord* record = nullptr;
            if (!text.empty()) {
                record = make_characteristic(owner, name, text, kKindIncoming);
                if (record == nullptr) return 950;
            }
            std::string key(owner);
            key += '\n';  // in no name
            key += name;
            put_record(records, &index, key, record, kKindCharacteristic);
            return 0;
        });
}

ReturnCode stage_variable_labels(const DtaVariables& kept, DtaRecords* records) {
    for (int i = 0; i < kept.nvar; i++) {
        const std::string_view label = kept.labels[i];
        if (label.empty()) continue;
        StoreRecord* record = StoreCreate(kept.names[i], kKindIncoming, uint32_t(label.size()) + 1);
        if (record == nullptr) return 950;
        memcpy(record->payload(), label.data(), label.size() + 1);
        records->items.push_back({record, kKindVariableLabel});
    }
    return 0;
}

ReturnCode stage_value_labels(const DtaReader& in, const DtaVariables& kept, bool only_used,
                              DtaRecords* records) {
    TableReader to{in, {}, only_used, records, {}};
    for (int i = 0; only_used && i < kept.nvar; i++) to.used.insert(kept.label_names[i]);
    return in.header->format->old_value_labels ? read_old_tables(&to) : read_tables(&to);
}

void print_tables_left_out(const DtaRecords& records) {
    const int n = records.tables_left_out;
    if (n == 0) return;
    const LevelGuard level(kLevelText);
    out_textf("The maximum length of labels in this version of Korva is %d. ", kMaxLabelBytes);
    out_textf("The value label%s mentioned %s not loaded.\n", n == 1 ? "" : "s",
              n == 1 ? "was" : "were");
}

}  // namespace korva

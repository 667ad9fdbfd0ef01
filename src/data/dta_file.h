// data/dta_file.h - what the parts of the reader share; for this folder only.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "core/poll.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "core/store.h"
#include "data/byte_source.h"
#include "data/dta_header.h"
#include "data/dta_variables.h"

namespace korva {

// One file being read.
struct DtaReader {
    ByteSource* source;
    std::string_view name;  // of the file, for words
    const DtaHeader* header;
    int32_t row_bytes = 0;  // where a part must pass over the rows

    ReturnCode corrupt() const { return ReportFileError(688, name); }
    ReturnCode cut() const { return ReportFileError(692, name); }
};

inline ReturnCode break_or_ok() {
    Poll(session.pollcount);
    return session.BreakFlag ? kBreak : 0;
}

// The text of a field that is as wide as `bytes`; all of it if it has no NUL.
inline std::string_view field_text(const uint8_t* field, size_t bytes) {
    if (bytes == 0) return {};  // the field may be that of an empty vector
    const char* text = reinterpret_cast<const char*>(field);
    return {text, strnlen(text, bytes)};
}

// Reverses the bytes of `rows` numbers that lie `pitch` bytes apart.
template <class Word>
void turn_column(uint8_t* cell, int rows, size_t pitch) {
    for (int row = 0; row < rows; row++, cell += pitch) {
        Word word;
        memcpy(&word, cell, sizeof word);
        if constexpr (sizeof word == 2) word = __builtin_bswap16(word);
        if constexpr (sizeof word == 4) word = __builtin_bswap32(word);
        if constexpr (sizeof word == 8) word = __builtin_bswap64(word);
        memcpy(cell, &word, sizeof word);
    }
}

// --- data/dta_records.cpp ---

// Store records made from a file under a kind of their own, before the dataset gives way: nothing
// that the file says of labels and characteristics can fail after that. What is not installed goes
// with the struct.
struct DtaRecords {
    struct Item {
        StoreRecord* record;  // null: another took its place
        int32_t kind;
    };
    std::vector<Item> items;
    uint64_t bytes = 0;       // that they take, roughly, with what finds them again
    int tables_left_out = 0;  // value labels beyond the limit

    DtaRecords() = default;
    ~DtaRecords();
    DtaRecords(const DtaRecords&) = delete;
    DtaRecords& operator=(const DtaRecords&) = delete;
};

// Gives each record its kind; the caller has cleared the dataset.
void install_records(DtaRecords* records);

// While it lives the value labels of the file are those in force, and the ones in memory are not:
// for an expression that is compiled against the file.
struct ValueLabelView {
    explicit ValueLabelView(DtaRecords* records);
    ~ValueLabelView();
    ValueLabelView(const ValueLabelView&) = delete;
    ValueLabelView& operator=(const ValueLabelView&) = delete;
    DtaRecords* records;
};

// Calls `use` with owner, name and text of each characteristic; owners are _dta and variables of
// the file, under the names that these have here.
using CharacteristicUse = std::function<ReturnCode(std::string_view, std::string_view,
                                                   std::string_view)>;
ReturnCode read_expansion_records(const DtaReader& in, const DtaVariables& variables,
                                  const CharacteristicUse& use);

// Adds what the records hold of the kept variables.
ReturnCode stage_expansion_records(const DtaReader& in, const DtaVariables& file,
                                   const DtaVariables& kept, DtaRecords* records);
ReturnCode stage_variable_labels(const DtaVariables& kept, DtaRecords* records);

// Adds the value labels up to the end of the file; only those that a kept variable names with
// `only_used`.
ReturnCode stage_value_labels(const DtaReader& in, const DtaVariables& kept, bool only_used,
                              DtaRecords* records);

void print_tables_left_out(const DtaRecords& records);

// --- data/dta_old.cpp ---

// The name with its dots replaced by the first character that makes a name which is_free accepts;
// false: there is none.
bool rename_dots(std::string_view name, const std::function<bool(std::string_view)>& is_free,
                 std::string* renamed);

// Value labels of the first formats: the next table as a payload of today. *ended: there is none.
ReturnCode read_old_table(const DtaReader& in, std::string* name, std::vector<uint8_t>* payload,
                          bool* ended);

// The doubles that stood for missing before format 108 become `.`; true if there was one. The cells
// are in this machine's order and lie `pitch` bytes apart.
bool replace_old_missing(uint8_t* cell, int n, size_t pitch);

// The sort order does not hold with such a variable among the keys: it goes, with a warning.
void drop_old_sort(const std::vector<bool>& had_old_missing);

// The variables of old types get those of today, wider where a value would be taken for a missing
// one. 900, 903, 1010 with words or kBreak; the dataset is then part old, part new.
ReturnCode upgrade_old_types();

}  // namespace korva

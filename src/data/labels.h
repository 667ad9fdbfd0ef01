// data/labels.h - value-label tables and characteristics.
//
// A value-label table is one record of kind kKindValueLabel whose payload is also its form in a
// file: n, txtlen, n offsets, n ascending values, then the texts. A characteristic is a record of
// kind kKindCharacteristic under its owner's name (a variable or _dta): its own name in 33 bytes,
// then the text.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/store.h"
#include "core/types.h"

namespace korva {

constexpr std::string_view kDatasetOwner = "_dta";  // of the dataset's own characteristics
constexpr int kMaxLabels = 65536;                   // entries of one table
constexpr int kMaxLabelBytes = 32000;               // one label's text
constexpr int kMaxCharacteristicBytes = 67783;

// A table as it lies in its record: valid until a table changes.
struct LabelTable {
    int32_t n = 0;
    int32_t text_bytes = 0;
    const int32_t* offsets = nullptr;
    const int32_t* values = nullptr;  // ascending
    const char* text = nullptr;       // in order of creation

    const char* label(int i) const { return text + offsets[i]; }
};

// False: there is no such table.
bool open_label_table(std::string_view name, LabelTable* table);

// Names of all tables, newest first.
std::vector<std::string> label_table_names();

// The key under which tables have the value: a whole number, or the code of a missing value in a
// long. False: no key stands for it. label_number() is the inverse.
bool label_key(double value, int32_t* key);
double label_number(int32_t key);

struct LabelChange {
    int32_t key = 0;
    std::string_view text;  // at most kMaxLabelBytes; empty removes the entry when modifying
    int32_t turn = 0;       // place among the changes, filled by change_label_table()
};

enum class LabelMode : uint8_t { Add, Modify };

// Makes the table if there is none, and carries all changes out, or none: Add takes values without
// an entry only (180), Modify puts new texts in place of the old ones. 134 for too many entries,
// 950; all with words. The order of *changes is lost. Linear in the entries of the table, and close
// to the number of changes for a table that grows at its end.
ReturnCode change_label_table(std::string_view name, std::vector<LabelChange>* changes,
                              LabelMode mode);

// The table is gone; nothing if there is none. Variables keep its name.
void drop_label_table(std::string_view name);

// Widens the variable's number format to show `columns` columns, as far as a format can.
void widen_format(int var, int32_t columns);

// The text for the value in the named table; null if there is no such table or value, or the value
// is no whole number of 32 bits (missing values count as such: they have the codes of a long).
// NUL-terminated, valid until the table changes.
const char* find_value_label(std::string_view table, double value);

// The lowest value whose label is the text; false if there is none. *exists tells if the table is
// there.
bool find_label_value(std::string_view table, std::string_view text, double* value, bool* exists);

// The most bytes that a label of the table has; 0 if there is no such table.
int32_t longest_value_label(std::string_view table);

// Stores a whole table in its payload form, checked: every offset inside the text, values
// ascending, texts terminated. False: it is not sound, nothing is stored. Otherwise *rc is 0, or
// 950 with words and the table that was there untouched.
bool store_value_table(std::string_view name, std::span<const uint8_t> payload, ReturnCode* rc);

// A record of the table under another kind, which the reader of files changes when the dataset
// gives way to the file's. Null: it is not sound (*sound is false), or memory is refused, with
// words.
StoreRecord* make_value_table(std::string_view name, std::span<const uint8_t> payload, int32_t kind,
                              bool* sound);

// A record of a characteristic, likewise; the text is not empty and is cut at its limit. Of the
// kind kKindCharacteristic it hides one that is there until either is deleted: for changes that
// must be undone as a whole. Null with words: 950.
StoreRecord* make_characteristic(std::string_view owner, std::string_view name,
                                 std::string_view text, int32_t kind);

// Name and text of the characteristic in a record of kind kKindCharacteristic.
std::string_view characteristic_name(const StoreRecord* record);
std::string_view characteristic_text(const StoreRecord* record);

// The characteristic's text; empty: there is none.
std::string_view characteristic(std::string_view owner, std::string_view name);

// Sets it; an empty text deletes it; longer texts are cut. A name with a leading underscore, or a
// variable with one as owner, leaves `changed` alone (_dta is no variable). 950 with words, the old
// text in place.
ReturnCode set_characteristic(std::string_view owner, std::string_view name, std::string_view text);

// The record of a characteristic; null for none.
StoreRecord* find_characteristic(std::string_view owner, std::string_view name);

// Sets `changed` as a change of the characteristic does.
void note_characteristic_change(std::string_view owner, std::string_view name);

// Names of the owner's characteristics, newest first.
std::vector<std::string_view> characteristic_names(std::string_view owner);

// The variable is gone, or has another name: its label and characteristics follow.
void drop_owner_objects(std::string_view owner);
void rename_owner_objects(std::string_view owner, std::string_view new_name);

}  // namespace korva

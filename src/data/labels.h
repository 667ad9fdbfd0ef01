// data/labels.h - value-label tables and characteristics.
//
// A value-label table is one record of kind kKindValueLabel whose payload is also its form in a
// file: n, txtlen, n offsets, n ascending values, then the texts. A characteristic is a record of
// kind kKindCharacteristic under its owner's name (a variable or _dta): its own name in 33 bytes,
// then the text.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "core/store.h"
#include "core/types.h"

namespace korva {

constexpr int kMaxLabels = 65536;      // entries of one table
constexpr int kMaxLabelBytes = 32000;  // one label's text
constexpr int kMaxCharacteristicBytes = 67783;

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

// A record of a characteristic, likewise; the text is not empty and is cut at its limit. Null with
// words: 950.
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

// Names of the owner's characteristics, newest first.
std::vector<std::string_view> characteristic_names(std::string_view owner);

// The variable is gone, or has another name: its label and characteristics follow.
void drop_owner_objects(std::string_view owner);
void rename_owner_objects(std::string_view owner, std::string_view new_name);

}  // namespace korva

// data/storage_type.h - the one-byte code of a variable's storage.
//
// Codes below 245 are strings of that many bytes. 251 to 255 are the numeric types; 246 to 250 are
// the same five as older files have them, with `.` as their only missing value.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/types.h"

namespace korva {

using StorageType = uint8_t;

enum : StorageType {
    kMaxStrType = 244,
    kOldByte = 246,
    kOldInt = 247,
    kOldLong = 248,
    kOldFloat = 249,
    kOldDouble = 250,
    kByte = 251,
    kInt = 252,
    kLong = 253,
    kFloat = 254,
    kDouble = 255,
};

constexpr bool type_is_string(StorageType type) {
    return type < 245;
}

// Bytes of a cell.
constexpr int type_width(StorageType type) {
    constexpr uint8_t kWidths[] = {1, 2, 4, 4, 8};
    return type_is_string(type) ? type : kWidths[(type - kOldByte) % 5];
}

// The word of a type: "byte", "str12"; old codes have the words of the current ones.
std::string type_name(StorageType type);

// The type of the word; 0 if it is none. "str" alone, the automatic width, gives 1 and sets
// *automatic.
StorageType type_from_name(std::string_view word, bool* automatic);

// "%9.0g" and its like for the type; a string of width w has "%" max(w, 9) "s".
std::string default_format(StorageType type);

}  // namespace korva

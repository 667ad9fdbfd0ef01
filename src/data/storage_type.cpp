// data/storage_type.cpp - the words of the storage types.

#include "data/storage_type.h"

#include <algorithm>
#include <charconv>

namespace korva {

namespace {

// By (code - kOldByte) % 5: a type of an older file has the word of the current one.
constexpr std::string_view kTypeWords[] = {"byte", "int", "long", "float", "double"};
constexpr std::string_view kTypeFormats[] = {"%8.0g", "%8.0g", "%12.0g", "%9.0g", "%10.0g"};
constexpr int kStringColumns = 9;  // a string shows in at least so many columns

// The width in "str12"; 0 if the digits are no width.
StorageType string_width(std::string_view digits) {
    int width = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, width);
    const bool sound = error == std::errc() && stop == end && digits[0] >= '1' && digits[0] <= '9';
    return sound && width <= kMaxStrType ? StorageType(width) : StorageType(0);
}

}  // namespace

std::string type_name(StorageType type) {
    if (type_is_string(type)) return "str" + std::to_string(type);
    return std::string(kTypeWords[(type - kOldByte) % 5]);
}

StorageType type_from_name(std::string_view word, bool* automatic) {
    *automatic = word == "str";
    if (*automatic) return 1;
    for (int i = 0; i < 5; i++) {
        if (word == kTypeWords[i]) return StorageType(kByte + i);
    }
    if (word.starts_with("str")) return string_width(word.substr(3));
    return 0;
}

std::string default_format(StorageType type) {
    if (type_is_string(type)) {
        return "%" + std::to_string(std::max<int>(type, kStringColumns)) + "s";
    }
    return std::string(kTypeFormats[(type - kOldByte) % 5]);
}

}  // namespace korva

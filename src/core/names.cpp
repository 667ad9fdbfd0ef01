// core/names.cpp - the rule of names, as one table over bytes.
#include "core/names.h"

#include <array>
#include <cstdint>

#include "core/types.h"

namespace korva {

namespace {

enum : uint8_t { kNameNever = 0, kNameInside = 1, kNameFirst = 2 };

// What each byte may be in a name: nothing, a later character, or the first one as well.
constexpr std::array<uint8_t, 256> kNameBytes = [] {
    std::array<uint8_t, 256> table{};
    for (int c = 33; c < 256; c++) {
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
        table[size_t(c)] = letter ? kNameFirst : kNameInside;
    }
    for (char c : std::string_view("\\!@#$%^&*()-+=[]{}:;,'\"~<>?/|.\x7f")) {
        table[uint8_t(c)] = kNameNever;
    }
    return table;
}();

}  // namespace

bool IsValidName(std::string_view name) {
    if (name.empty() || name.size() > kMaxNameBytes) return false;
    if (kNameBytes[uint8_t(name[0])] != kNameFirst) return false;
    for (char c : name) {
        if (kNameBytes[uint8_t(c)] == kNameNever) return false;
    }
    return true;
}

}  // namespace korva

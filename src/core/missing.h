// core/missing.h - the 27 missing values as they stand in a double.
//
// `.` is 2^1023 and `.a` to `.z` follow it, their number in bits 40 to 47; all are larger than
// every number, so one comparison tells a missing value.
#pragma once

#include <bit>
#include <cstdint>

namespace korva {

constexpr double kSysMissing = 0x1p+1023;
constexpr double kMaxDouble = 0x1.fffffffffffffp+1022;  // the largest number that is not missing
constexpr double kMaxFloat = 0x1.fffffep+126;
constexpr int kMissingValues = 27;  // `.` and `.a` to `.z`

constexpr bool is_missing(double x) {
    return x >= kSysMissing;
}

// The missing value number `code`: 0 for `.`, 1 for `.a`, up to 26 for `.z`.
constexpr double missing_value(int code) {
    return std::bit_cast<double>(0x7FE0000000000000ULL | (uint64_t(code) << 40));
}

// The number of a missing value, 0 to 26; 0 as well for bit patterns that stand for no missing
// value.
constexpr int missing_code(double x) {
    const int code = int((std::bit_cast<uint64_t>(x) >> 40) & 0xFF);
    return code < kMissingValues ? code : 0;
}

// x, or `.` when x is a NaN or an infinity.
constexpr double finite_or_missing(double x) {
    return (std::bit_cast<uint64_t>(x) & 0x7FF0000000000000ULL) == 0x7FF0000000000000ULL
               ? kSysMissing
               : x;
}

}  // namespace korva

// data/cells.cpp - cells to doubles and back.
//
// Everything stands on two templates over the storage type, read_as and write_as: the accessors of
// one cell switch on the type and call one of them, the block forms switch once and run a loop with
// the conversion unfolded in it. Numbers are classified by the exponent bits of the double, so that
// one extraction tells missing values, what is out of range, and what may be cut to an integer.
//
// Rows have no alignment: cells are read and written through memcpy, which is one plain move.

#include "data/cells.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

#include "data/short_text.h"

namespace korva {

namespace {

constexpr int kMissingExponent = 1023;        // of 2^1023 and all missing values
constexpr float kFloatMissing = 0x1p+127f;    // `.` in a float
constexpr int32_t kLastOldLong = 2147483647;  // the one missing value of the old long

template <typename T>
inline T load(const uint8_t* cell) {
    T value;
    std::memcpy(&value, cell, sizeof value);
    return value;
}

template <typename T>
inline void store(uint8_t* cell, T value) {
    std::memcpy(cell, &value, sizeof value);
}

// What a current integer type is: its C++ type, its `.`, and the exponent from which it cannot hold
// a number.
template <StorageType type>
struct IntegerCell;
template <>
struct IntegerCell<kByte> {
    using Cell = int8_t;
    static constexpr int32_t missing = 101;
    static constexpr int exponent = 7;
};
template <>
struct IntegerCell<kInt> {
    using Cell = int16_t;
    static constexpr int32_t missing = 32741;
    static constexpr int exponent = 15;
};
template <>
struct IntegerCell<kLong> {
    using Cell = int32_t;
    static constexpr int32_t missing = 0x7FFFFFE5;
    static constexpr int exponent = 31;
};
template <>
struct IntegerCell<kOldByte> {
    using Cell = int8_t;
    static constexpr int32_t missing = 127;
    static constexpr int exponent = 7;
};
template <>
struct IntegerCell<kOldInt> {
    using Cell = int16_t;
    static constexpr int32_t missing = 32767;
    static constexpr int exponent = 15;
};
template <>
struct IntegerCell<kOldLong> {
    using Cell = int32_t;
    static constexpr int32_t missing = kLastOldLong;
    static constexpr int exponent = 31;
};

// A float at or above 2^127 widened: the top 12 bits become those of the missing values, and the
// code that stands behind them is then where a double has it.
inline double widen_float(float value) {
    const double wide = value;
    const uint64_t bits = std::bit_cast<uint64_t>(wide);
    const uint64_t missing = (bits & 0x000FFFFFFFFFFFFFULL) | 0x7FE0000000000000ULL;
    return std::bit_cast<double>(value >= kFloatMissing ? missing : bits);
}

template <StorageType type>
inline double read_as(const uint8_t* cell) {
    if constexpr (type == kDouble) {
        return load<double>(cell);
    } else if constexpr (type == kOldDouble) {
        const double value = load<double>(cell);
        return value >= kSysMissing ? kSysMissing : value;
    } else if constexpr (type == kFloat) {
        return widen_float(load<float>(cell));
    } else if constexpr (type == kOldFloat) {
        const float value = load<float>(cell);
        return value >= kFloatMissing ? kSysMissing : double(value);
    } else if constexpr (type >= kByte) {
        using Integer = IntegerCell<type>;
        const int32_t value = load<typename Integer::Cell>(cell);
        return value >= Integer::missing ? missing_value(value - Integer::missing) : double(value);
    } else {
        using Integer = IntegerCell<type>;
        const int32_t value = load<typename Integer::Cell>(cell);
        return value == Integer::missing ? kSysMissing : double(value);
    }
}

// The bits of a cell of the type, if they are sound; else those of its `.`.
template <StorageType type>
inline auto sound_bits(const uint8_t* cell) {
    constexpr bool is_old = type < kByte;
    constexpr unsigned kCodes = is_old ? 1 : kMissingValues;
    if constexpr (type == kDouble || type == kOldDouble) {
        constexpr uint64_t kDot = 0x7FE0000000000000ULL;
        const uint64_t bits = load<uint64_t>(cell);
        const bool is_number = (bits & kDot) != kDot;
        return is_number || std::rotr(bits - kDot, 40) < kCodes ? bits : kDot;
    } else if constexpr (type == kFloat || type == kOldFloat) {
        constexpr uint32_t kDot = 0x7F000000;
        const uint32_t bits = load<uint32_t>(cell);
        const bool is_number = (bits & kDot) != kDot;
        return is_number || std::rotr(bits - kDot, 11) < kCodes ? bits : kDot;
    } else {
        using Integer = IntegerCell<type>;
        using Cell = typename Integer::Cell;
        const Cell value = load<Cell>(cell);
        const bool below = !is_old && value == std::numeric_limits<Cell>::min();
        return below ? Cell(Integer::missing) : value;
    }
}

// True if n cells that lie `pitch` bytes apart are sound. No branch depends on a cell, and four are
// looked at side by side.
template <StorageType type>
bool column_is_sound(const uint8_t* cell, int n, size_t pitch) {
    const auto fault = [](const uint8_t* at) {
        const auto bits = sound_bits<type>(at);
        return uint64_t(bits ^ load<std::remove_const_t<decltype(bits)>>(at));
    };
    uint64_t faults[4] = {};
    int i = 0;
    for (; i + 4 <= n; i += 4, cell += 4 * pitch) {
        for (size_t k = 0; k < 4; k++) faults[k] |= fault(cell + k * pitch);
    }
    for (; i < n; i++, cell += pitch) faults[0] |= fault(cell);
    return (faults[0] | faults[1] | faults[2] | faults[3]) == 0;
}

inline int exponent_of(double value) {
    return int((std::bit_cast<uint64_t>(value) >> 52) & 0x7FF) - 1023;
}

inline void write_float(uint8_t* cell, double value) {
    const int e = exponent_of(value);
    if (e >= -127 && e <= 126) {
        store(cell, float(value));
    } else if (e == kMissingExponent) {
        // Down to the binade of 2^127 with the mantissa kept: the code survives the narrowing.
        const uint64_t bits = std::bit_cast<uint64_t>(value);
        const uint64_t small = (bits & 0x000FFFFFFFFFFFFFULL) | 0x47E0000000000000ULL;
        store(cell, float(std::bit_cast<double>(small)));
    } else {
        store(cell, e < -127 ? 0.0f : kFloatMissing);
    }
}

// Its limits are not those of the current float: they are what an old reader expects.
inline void write_old_float(uint8_t* cell, double value) {
    const int e = exponent_of(value);
    if (e < -120) {
        store(cell, 0.0f);
    } else {
        store(cell, e < 125 ? float(value) : kFloatMissing);
    }
}

template <StorageType type>
inline void write_as(uint8_t* cell, double value) {
    if constexpr (type == kDouble || type == kOldDouble) {
        store(cell, value);
    } else if constexpr (type == kFloat) {
        write_float(cell, value);
    } else if constexpr (type == kOldFloat) {
        write_old_float(cell, value);
    } else {
        using Integer = IntegerCell<type>;
        const int e = exponent_of(value);
        int32_t held = Integer::missing;
        if (e < Integer::exponent) {
            held = std::min(int32_t(value), Integer::missing);
        } else if (type >= kByte && e == kMissingExponent) {
            // The numbers of the missing values' binade are taken by their code byte as well.
            held += missing_code(value);
        }
        store(cell, typename Integer::Cell(held));
    }
}

// Calls work.operator()<type>() for the numeric type; false if the type is none.
template <typename Work>
inline bool with_numeric_type(StorageType type, Work&& work) {
    switch (type) {
    case kOldByte: work.template operator()<kOldByte>(); return true;
    case kOldInt: work.template operator()<kOldInt>(); return true;
    case kOldLong: work.template operator()<kOldLong>(); return true;
    case kOldFloat: work.template operator()<kOldFloat>(); return true;
    case kOldDouble: work.template operator()<kOldDouble>(); return true;
    case kByte: work.template operator()<kByte>(); return true;
    case kInt: work.template operator()<kInt>(); return true;
    case kLong: work.template operator()<kLong>(); return true;
    case kFloat: work.template operator()<kFloat>(); return true;
    case kDouble: work.template operator()<kDouble>(); return true;
    default: return false;
    }
}

// True if the rows of the n observations follow each other in memory. Two slots a step, so that the
// look costs little beside the loop that it is made for.
bool rows_follow(const uint32_t* slot, int n) {
    uint64_t expected = slot[0] | (uint64_t(slot[0]) + 1) << 32;
    uint64_t differences = 0;
    int i = 0;
    for (; i + 2 <= n; i += 2, expected += 0x0000000200000002ULL) {
        differences |= load<uint64_t>(reinterpret_cast<const uint8_t*>(slot + i)) ^ expected;
    }
    if (i < n) differences |= slot[i] ^ uint32_t(expected);
    return differences == 0;
}

// Rows between the cell worked on and the one asked for in advance: blocks of this many are the
// rule, so that the next block's rows come in while this block's values are worked on.
constexpr uint64_t kAhead = 256;

// Calls work(address of the cell, i) for the n observations from `obs` on.
template <typename Work>
inline void for_each_cell(int var, int obs, int n, Work&& work) {
    const uint64_t pitch = uint64_t(uint32_t(dataset.lrecl));
    const uint32_t* slot = dataset.slot + (obs - 1);
    uint8_t* column = dataset.rows + dataset.offsets[var - 1];
    if (rows_follow(slot, n)) {
        uint8_t* cell = column + uint64_t(slot[0]) * pitch;
        for (int i = 0; i < n; i++, cell += pitch) {
            __builtin_prefetch(cell + kAhead * pitch);
            work(cell, i);
        }
    } else {
        for (int i = 0; i < n; i++) work(column + uint64_t(slot[i]) * pitch, i);
    }
}

// The same for the n > 0 observations obs + place[i], whose places rise.
template <typename Work>
inline void for_each_cell_at(int var, int obs, const uint16_t* place, int n, Work&& work) {
    const uint64_t pitch = uint64_t(uint32_t(dataset.lrecl));
    const uint32_t* slot = dataset.slot + (obs - 1);
    uint8_t* column = dataset.rows + dataset.offsets[var - 1];
    const int first = place[0];
    if (rows_follow(slot + first, place[n - 1] - first + 1)) {
        uint8_t* cells = column + uint64_t(slot[first]) * pitch;
        for (int i = 0; i < n; i++) {
            uint8_t* cell = cells + uint64_t(place[i] - first) * pitch;
            __builtin_prefetch(cell + kAhead * pitch);
            work(cell, i);
        }
    } else {
        for (int i = 0; i < n; i++) work(column + uint64_t(slot[place[i]]) * pitch, i);
    }
}

// Calls work.operator()<width>() for a width of 1 to 8 bytes.
template <typename Work>
inline void with_narrow_width(int width, Work&& work) {
    switch (width) {
    case 1: work.template operator()<1>(); break;
    case 2: work.template operator()<2>(); break;
    case 3: work.template operator()<3>(); break;
    case 4: work.template operator()<4>(); break;
    case 5: work.template operator()<5>(); break;
    case 6: work.template operator()<6>(); break;
    case 7: work.template operator()<7>(); break;
    case 8: work.template operator()<8>(); break;
    default: break;
    }
}

// The word with NULs from its first NUL on. No branch depends on the text.
inline uint64_t padded_word(uint64_t word) {
    const uint64_t nuls = nul_bytes(word);
    return word & (((nuls & -nuls) >> 7) - 1);  // without a NUL, 0 - 1: all bytes
}

// Pads n strings of the width with NULs behind their first, word by word.
void pad_texts(int width, uint8_t* cell, int n, size_t pitch) {
    if (width < kWordBytes) {
        with_narrow_width(width, [&]<int bytes>() {
            for (int i = 0; i < n; i++, cell += pitch) {
                uint64_t word = 0;
                std::memcpy(&word, cell, bytes);
                word = padded_word(word);
                std::memcpy(cell, &word, bytes);
            }
        });
        return;
    }
    // The last word overlaps the one before it, whose bytes it takes from there: to read again what
    // was just stored at another address would wait for the store.
    const int last = width - kWordBytes;
    const int rest = width % kWordBytes;
    for (int i = 0; i < n; i++, cell += pitch) {
        const uint64_t tail = load<uint64_t>(cell + last);
        uint64_t in_text = ~uint64_t(0), padded = 0;
        for (int at = 0; at <= last; at += kWordBytes) {
            const uint64_t word = load<uint64_t>(cell + at);
            padded = padded_word(word) & in_text;
            store(cell + at, padded);
            in_text = nul_bytes(word) ? 0 : in_text;
        }
        if (rest) store(cell + last, (padded >> (8 * rest)) | (padded_word(tail) & in_text));
    }
}

}  // namespace

double read_cell(StorageType type, const uint8_t* cell) {
    double value = kSysMissing;
    with_numeric_type(type, [&]<StorageType t>() { value = read_as<t>(cell); });
    return value;
}

void write_cell(StorageType type, uint8_t* cell, double value) {
    with_numeric_type(type, [&]<StorageType t>() { write_as<t>(cell, value); });
}

std::string_view cell_text(int var, int obs) {
    const StorageType type = dataset.types[var - 1];
    if (!type_is_string(type)) return {};
    const char* cell = reinterpret_cast<const char*>(rawcell(var, obs));
    return {cell, strnlen(cell, type)};
}

void getstr(int var, int obs, char* buffer) {
    const std::string_view text = cell_text(var, obs);
    std::copy(text.begin(), text.end(), buffer);
    buffer[text.size()] = 0;
}

void putstr(int var, int obs, std::string_view text) {
    const StorageType width = dataset.types[var - 1];
    if (!type_is_string(width)) return;
    text = text.substr(0, std::min<size_t>(text.find('\0'), width));
    uint8_t* cell = rawcell(var, obs);
    if (!text.empty())
        std::memmove(cell, text.data(), text.size());  // it may lie in the cell itself
    std::memset(cell + text.size(), 0, width - text.size());
}

void gather(int var, int obs, int n, double* out) {
    if (n < 1) return;
    const bool numeric = with_numeric_type(dataset.types[var - 1], [&]<StorageType t>() {
        for_each_cell(var, obs, n,
                      [out](const uint8_t* cell, int i) { out[i] = read_as<t>(cell); });
    });
    if (!numeric) std::fill_n(out, n, kSysMissing);
}

void scatter(int var, int obs, int n, const double* values) {
    if (n < 1) return;
    with_numeric_type(dataset.types[var - 1], [&]<StorageType t>() {
        for_each_cell(var, obs, n,
                      [values](uint8_t* cell, int i) { write_as<t>(cell, values[i]); });
    });
}

void gather_at(int var, int obs, const uint16_t* place, int n, double* out) {
    if (n < 1) return;
    const bool numeric = with_numeric_type(dataset.types[var - 1], [&]<StorageType t>() {
        for_each_cell_at(var, obs, place, n,
                         [out](const uint8_t* cell, int i) { out[i] = read_as<t>(cell); });
    });
    if (!numeric) std::fill_n(out, n, kSysMissing);
}

void scatter_at(int var, int obs, const uint16_t* place, int n, const double* values) {
    if (n < 1) return;
    with_numeric_type(dataset.types[var - 1], [&]<StorageType t>() {
        for_each_cell_at(var, obs, place, n,
                         [values](uint8_t* cell, int i) { write_as<t>(cell, values[i]); });
    });
}

void gather_words(int var, int obs, const uint16_t* place, int n, uint64_t* words) {
    if (n < 1) return;
    with_narrow_width(dataset.types[var - 1], [&]<int width>() {
        const auto read = [words](const uint8_t* cell, int i) {
            words[i] = 0;
            std::memcpy(words + i, cell, width);
        };
        if (place) {
            for_each_cell_at(var, obs, place, n, read);
        } else {
            for_each_cell(var, obs, n, read);
        }
    });
}

void scatter_words(int var, int obs, int n, const uint64_t* words) {
    if (n < 1) return;
    with_narrow_width(dataset.types[var - 1], [&]<int width>() {
        for_each_cell(var, obs, n,
                      [words](uint8_t* cell, int i) { std::memcpy(cell, words + i, width); });
    });
}

bool cell_is_sound(StorageType type, const uint8_t* cell) {
    if (type_is_string(type)) {
        const uint8_t* end = cell + type;
        const uint8_t* behind = std::find(cell, end, uint8_t(0));
        return std::all_of(behind, end, [](uint8_t byte) { return byte == 0; });
    }
    bool sound = false;
    with_numeric_type(type, [&]<StorageType t>() {
        const auto bits = sound_bits<t>(cell);
        sound = std::memcmp(&bits, cell, sizeof bits) == 0;
    });
    return sound;
}

void make_cells_sound(StorageType type, uint8_t* cell, int n, size_t pitch) {
    if (type_is_string(type)) return pad_texts(type, cell, n, pitch);
    with_numeric_type(type, [&]<StorageType t>() {
        // Nearly all columns are sound already: a look without a store costs half as much.
        if (column_is_sound<t>(cell, n, pitch)) return;
        for (int i = 0; i < n; i++, cell += pitch) store(cell, sound_bits<t>(cell));
    });
}

double round_to_float(double x) {
    uint8_t cell[sizeof(float)];
    write_as<kFloat>(cell, x);
    return read_as<kFloat>(cell);
}

}  // namespace korva

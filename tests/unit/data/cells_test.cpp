// Cells of every storage type: what a stored number becomes, bit for bit, and what is read back.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "core/session.h"
#include "core/upcalls.h"
#include "data/cells.h"

namespace korva {
namespace {

constexpr StorageType kNumericTypes[] = {kOldByte, kOldInt, kOldLong, kOldFloat, kOldDouble,
                                         kByte,    kInt,    kLong,    kFloat,    kDouble};

template <typename T>
T stored(StorageType type, double value) {
    uint8_t cell[8] = {};
    write_cell(type, cell, value);
    T held;
    std::memcpy(&held, cell, sizeof held);
    return held;
}

template <typename T>
double read_back(StorageType type, T held) {
    uint8_t cell[8] = {};
    std::memcpy(cell, &held, sizeof held);
    return read_cell(type, cell);
}

uint64_t bits(double x) {
    return std::bit_cast<uint64_t>(x);
}

TEST(Cells, IntegersAreCutAndOutOfRangeIsMissing) {
    EXPECT_EQ(stored<int8_t>(kByte, -127.9), -127);
    EXPECT_EQ(stored<int8_t>(kByte, -128), 101);
    EXPECT_EQ(stored<int8_t>(kByte, 100.9), 100);
    EXPECT_EQ(stored<int8_t>(kByte, 101), 101);
    EXPECT_EQ(stored<int8_t>(kByte, 127), 101);
    EXPECT_EQ(stored<int8_t>(kByte, -0.9), 0);
    EXPECT_EQ(stored<int16_t>(kInt, -32767.5), -32767);
    EXPECT_EQ(stored<int16_t>(kInt, -32768), 32741);
    EXPECT_EQ(stored<int16_t>(kInt, 32740.99), 32740);
    EXPECT_EQ(stored<int16_t>(kInt, 32742), 32741);
    EXPECT_EQ(stored<int32_t>(kLong, -2147483647.5), -2147483647);
    EXPECT_EQ(stored<int32_t>(kLong, -2147483648.0), 2147483621);
    EXPECT_EQ(stored<int32_t>(kLong, 2147483620.5), 2147483620);
    EXPECT_EQ(stored<int32_t>(kLong, 2147483647.0), 2147483621);
    EXPECT_EQ(stored<int32_t>(kLong, 1e300), 2147483621);
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(stored<int8_t>(kByte, infinity), 101);
    EXPECT_EQ(stored<int32_t>(kLong, std::nan("")), 2147483621);
}

TEST(Cells, OldIntegersHaveOneMissingValue) {
    EXPECT_EQ(stored<int8_t>(kOldByte, 126), 126);
    EXPECT_EQ(stored<int8_t>(kOldByte, 128), 127);
    EXPECT_EQ(stored<int8_t>(kOldByte, missing_value(5)), 127);
    EXPECT_EQ(stored<int16_t>(kOldInt, 32766), 32766);
    EXPECT_EQ(stored<int16_t>(kOldInt, kSysMissing), 32767);
    EXPECT_EQ(stored<int32_t>(kOldLong, 2147483646), 2147483646);
    EXPECT_EQ(stored<int32_t>(kOldLong, 3e9), 2147483647);
    EXPECT_EQ(bits(read_back<int8_t>(kOldByte, 127)), bits(kSysMissing));
    EXPECT_EQ(read_back<int8_t>(kOldByte, 126), 126);
    EXPECT_EQ(bits(read_back<int16_t>(kOldInt, 32767)), bits(kSysMissing));
    EXPECT_EQ(read_back<int16_t>(kOldInt, 32741), 32741);
    EXPECT_EQ(bits(read_back<int32_t>(kOldLong, 2147483647)), bits(kSysMissing));
    EXPECT_EQ(bits(read_back<float>(kOldFloat, 0x1.4p+127f)), bits(kSysMissing));
    EXPECT_EQ(bits(read_back<double>(kOldDouble, missing_value(3))), bits(kSysMissing));
    EXPECT_EQ(bits(stored<double>(kOldDouble, missing_value(3))), bits(missing_value(3)));
}

// First and last missing values of each type as the table of types has them.
TEST(Cells, MissingCodesHaveTheirPlaceInEachType) {
    EXPECT_EQ(stored<int8_t>(kByte, missing_value(0)), 101);
    EXPECT_EQ(stored<int8_t>(kByte, missing_value(1)), 102);
    EXPECT_EQ(stored<int8_t>(kByte, missing_value(26)), 127);
    EXPECT_EQ(stored<int16_t>(kInt, missing_value(26)), 32767);
    EXPECT_EQ(stored<int32_t>(kLong, missing_value(26)), 2147483647);
    EXPECT_EQ(stored<uint32_t>(kFloat, missing_value(0)), 0x7F000000u);
    EXPECT_EQ(stored<uint32_t>(kFloat, missing_value(1)), 0x7F000800u);
    EXPECT_EQ(stored<uint32_t>(kFloat, missing_value(26)), 0x7F00D000u);
    EXPECT_EQ(stored<uint64_t>(kDouble, missing_value(26)), 0x7FE01A0000000000u);
    for (StorageType type : {kByte, kInt, kLong, kFloat, kDouble}) {
        for (int code = 0; code < kMissingValues; code++) {
            const double held = read_cell(
                type, reinterpret_cast<const uint8_t*>(
                          std::to_array({stored<uint64_t>(type, missing_value(code))}).data()));
            EXPECT_EQ(bits(held), bits(missing_value(code))) << int(type) << " code " << code;
        }
    }
    // A code byte beyond .z is `.` in an integer.
    EXPECT_EQ(stored<int8_t>(kByte, std::bit_cast<double>(0x7FE01B0000000000u)), 101);
}

TEST(Cells, FloatLimits) {
    EXPECT_EQ(stored<uint32_t>(kFloat, 1e39), 0x7F000000u);
    EXPECT_EQ(stored<float>(kFloat, 1e-39), 0.0f);
    EXPECT_EQ(stored<uint32_t>(kFloat, -0.0), 0u);  // the exponent of 0 is below the limit: plain 0
    EXPECT_EQ(stored<float>(kFloat, 0x1p-127), 0x1p-127f);
    EXPECT_EQ(stored<float>(kFloat, 0x1.fffffep+126), 0x1.fffffep+126f);
    EXPECT_EQ(stored<uint32_t>(kFloat, 0x1p+127), 0x7F000000u);
    EXPECT_EQ(stored<uint32_t>(kFloat, -0x1p+127), 0x7F000000u);
    EXPECT_EQ(stored<float>(kFloat, 0.1), 0.1f);
    EXPECT_EQ(stored<float>(kOldFloat, 0x1p-120), 0x1p-120f);
    EXPECT_EQ(stored<float>(kOldFloat, 0x1p-121), 0.0f);
    EXPECT_EQ(stored<float>(kOldFloat, 0x1p+124), 0x1p+124f);
    EXPECT_EQ(stored<float>(kOldFloat, 0x1p+125), 0x1p+127f);
    EXPECT_EQ(stored<float>(kOldFloat, missing_value(7)), 0x1p+127f);
    EXPECT_EQ(bits(read_back<float>(kFloat, std::numeric_limits<float>::infinity())),
              bits(kSysMissing));
    EXPECT_EQ(bits(round_to_float(missing_value(17))), bits(missing_value(17)));
    EXPECT_EQ(round_to_float(0.1), double(0.1f));
}

TEST(Cells, OtherCodesReadAsMissingAndKeepTheirBytes) {
    for (StorageType type : {StorageType(0), StorageType(8), StorageType(244), StorageType(245)}) {
        uint8_t cell[8] = {1, 2, 3, 4, 5, 6, 7, 8};
        write_cell(type, cell, 5);
        EXPECT_EQ(cell[0], 1);
        EXPECT_EQ(bits(read_cell(type, cell)), bits(kSysMissing));
    }
}

class CellColumns : public testing::Test {
protected:
    void SetUp() override {
        session.BreakFlag = 0;
        ASSERT_TRUE(StartDataset(1 << 20, 2048));
    }
    void TearDown() override { EndDataset(); }
};

// gather and scatter must agree with get and put whether the rows follow each other or not.
TEST_F(CellColumns, BlocksAgreeWithSingleCells) {
    constexpr int kObs = 601;
    int var = 0;
    for (StorageType type : kNumericTypes) {
        ASSERT_EQ(addvar_internal("v" + std::to_string(++var), type), 0);
        ASSERT_EQ(addvar_internal("w" + std::to_string(var++), 3), 0);
    }
    ASSERT_EQ(extend_observations(kObs), 0);
    std::mt19937_64 random(7);
    std::vector<double> values(kObs);
    for (double& value : values) {
        const int kind = int(random() % 4);
        if (kind == 0) value = missing_value(int(random() % kMissingValues));
        if (kind == 1) value = double(int64_t(random() % 400)) - 200;
        if (kind == 2) value = std::ldexp(double(random() % 1000) - 500, int(random() % 300) - 150);
        if (kind == 3) value = double(int64_t(random() % 0x1FFFFFFFFu)) - double(0xFFFFFFFFu);
    }
    for (int round = 0; round < 3; round++) {
        for (int v = 1; v <= dataset.nvar; v += 2) {
            for (auto [first, n] : {std::pair{1, kObs}, {17, 256}, {300, 1}, {301, 2}, {64, 0}}) {
                scatter(v, first, n, values.data());
                std::vector<double> out(size_t(n) + 1, -1);
                gather(v, first, n, out.data());
                for (int i = 0; i < n; i++) {
                    const uint64_t expected = stored<uint64_t>(dataset.types[v - 1],
                                                               values[size_t(i)]);
                    uint8_t cell[8];
                    std::memcpy(cell, &expected, 8);
                    ASSERT_EQ(bits(get(v, first + i)), bits(read_cell(dataset.types[v - 1], cell)));
                    ASSERT_EQ(bits(out[size_t(i)]), bits(get(v, first + i)));
                }
                ASSERT_EQ(out[size_t(n)], -1);
            }
        }
        // Then with one pair of rows out of order, then with all.
        if (round == 0) std::swap(dataset.slot[40], dataset.slot[41]);
        if (round == 1) std::shuffle(dataset.slot, dataset.slot + kObs, random);
    }
    double out[3];
    gather(2, 1, 3, out);
    EXPECT_EQ(bits(out[2]), bits(kSysMissing));
    scatter(2, 1, 3, values.data());
    EXPECT_EQ(cell_text(2, 1), "");
}

TEST_F(CellColumns, StringsFillTheirCell) {
    ASSERT_EQ(addvar("s", 4), 0);
    ASSERT_EQ(addvar("x", kByte), 0);
    ASSERT_EQ(extend_observations(2), 0);
    putstr(1, 1, "abcdef");
    EXPECT_EQ(cell_text(1, 1), "abcd");  // no NUL behind a full cell
    EXPECT_EQ(bits(get(2, 1)), bits(kSysMissing));
    putstr(1, 1, std::string_view("x\0yz", 4));
    EXPECT_EQ(std::string_view(reinterpret_cast<char*>(rawcell(1, 1)), 4),
              std::string_view("x\0\0\0", 4));
    char buffer[kMaxStringBytes + 1];
    getstr(1, 1, buffer);
    EXPECT_STREQ(buffer, "x");
    getstr(2, 1, buffer);
    EXPECT_STREQ(buffer, "");
    putstr(2, 1, "no");
    EXPECT_EQ(bits(get(2, 1)), bits(kSysMissing));
    EXPECT_EQ(bits(get(1, 1)), bits(kSysMissing));
}

TEST(StorageTypes, WordsAndFormats) {
    bool automatic = false;
    EXPECT_EQ(type_from_name("str244", &automatic), 244);
    EXPECT_EQ(type_from_name("str245", &automatic), 0);
    EXPECT_EQ(type_from_name("str0", &automatic), 0);
    EXPECT_EQ(type_from_name("str01", &automatic), 0);
    EXPECT_EQ(type_from_name("str1x", &automatic), 0);
    EXPECT_EQ(type_from_name("flo", &automatic), 0);
    EXPECT_EQ(type_from_name("long", &automatic), kLong);
    EXPECT_FALSE(automatic);
    EXPECT_EQ(type_from_name("str", &automatic), 1);
    EXPECT_TRUE(automatic);
    EXPECT_EQ(type_name(kOldLong), "long");
    EXPECT_EQ(type_name(17), "str17");
    EXPECT_EQ(default_format(5), "%9s");
    EXPECT_EQ(default_format(80), "%80s");
    EXPECT_EQ(default_format(kLong), "%12.0g");
    EXPECT_EQ(default_format(kOldDouble), "%10.0g");
    EXPECT_EQ(type_width(kOldInt), 2);
    EXPECT_EQ(type_width(kDouble), 8);
}

// Bits of a cell, whether its type has such a value, and what becomes of it.
template <typename Bits>
void expect_sound(StorageType type, Bits bits, bool sound) {
    uint8_t cells[2 * sizeof bits];
    std::memcpy(cells, &bits, sizeof bits);
    std::memcpy(cells + sizeof bits, &bits, sizeof bits);
    EXPECT_EQ(cell_is_sound(type, cells), sound) << int(type) << " " << std::hex << uint64_t(bits);
    make_cells_sound(type, cells, 2, sizeof bits);
    for (int i = 0; i < 2; i++) {
        Bits after;
        std::memcpy(&after, cells + size_t(i) * sizeof bits, sizeof after);
        if (sound) EXPECT_EQ(after, bits);
        if (!sound) EXPECT_EQ(read_cell(type, cells + size_t(i) * sizeof bits), kSysMissing);
    }
}

TEST(CellsFromOutside, WhatStandsForNoValueBecomesMissing) {
    for (uint64_t code = 0; code < 27; code++) {
        expect_sound<uint64_t>(kDouble, 0x7FE0000000000000 + (code << 40), true);
        expect_sound<uint32_t>(kFloat, uint32_t(0x7F000000 + code * 0x800), true);
        expect_sound<uint64_t>(kOldDouble, 0x7FE0000000000000 + (code << 40), code == 0);
    }
    // The next code, a pattern between two codes, NaN, the infinities, -2^1023.
    for (uint64_t bits : {0x7FE01B0000000000, 0x7FE0000000000001, 0x7FE8000000000000,
                          0x7FF8000000000000, 0x7FF0000000000000}) {
        expect_sound<uint64_t>(kDouble, bits, false);
        expect_sound<uint64_t>(kOldDouble, bits, false);
    }
    for (uint64_t bits : {0xFFF8000000000000, 0xFFF0000000000000, 0xFFE0000000000000}) {
        expect_sound<uint64_t>(kDouble, bits, false);
    }
    for (uint32_t bits :
         {0x7F00D800u, 0x7F000001u, 0x7FC00000u, 0x7F800000u, 0xFF800000u, 0xFF000000u}) {
        expect_sound<uint32_t>(kFloat, bits, false);
        expect_sound<uint32_t>(kOldFloat, bits, false);
    }
    for (uint64_t bits : {0x7FDFFFFFFFFFFFFFu, 0xFFDFFFFFFFFFFFFFu, uint64_t(1)}) {
        expect_sound<uint64_t>(kDouble, bits, true);
    }
    expect_sound<uint32_t>(kFloat, 0xFEFFFFFF, true);

    expect_sound<uint8_t>(kByte, 0x80, false);
    expect_sound<uint8_t>(kByte, 0x81, true);
    expect_sound<uint16_t>(kInt, 0x8000, false);
    expect_sound<uint32_t>(kLong, 0x80000000, false);
    expect_sound<uint8_t>(kOldByte, 0x80, true);  // a number there: it waits for a wider type
}

// Strings of every kind of width with their first NUL anywhere, junk behind it and a guard byte.
TEST(CellsFromOutside, StringsArePaddedFromTheirFirstNul) {
    for (int width : {1, 3, 7, 8, 9, 12, 15, 16, 17, 244}) {
        for (int used = 0; used <= width; used++) {
            std::string cell(size_t(width) + 1, '\x80'), expected = cell;
            if (used < width) {
                cell[size_t(used)] = 0;
                std::fill(expected.begin() + used, expected.end() - 1, '\0');
            }
            std::string cells = cell + cell;
            make_cells_sound(StorageType(width), reinterpret_cast<uint8_t*>(cells.data()), 2,
                             cell.size());
            ASSERT_EQ(cells, expected + expected) << width << " " << used;
        }
    }
}

}  // namespace
}  // namespace korva

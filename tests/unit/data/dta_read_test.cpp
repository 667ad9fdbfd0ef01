// Reading dataset files. The files come from tests/tools/make_dta.py, an independent writer, and
// the values expected here are those that it was told to write.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/macro.h"
#include "core/missing.h"
#include "core/session.h"
#include "core/startup.h"
#include "core/store.h"
#include "data/cells.h"
#include "data/dta_read.h"
#include "data/labels.h"

namespace korva {
namespace {

using Bytes = std::vector<uint8_t>;

std::string data_file(const std::string& name) {
    return KORVA_TEST_DATA "/" + name;
}

Bytes bytes_of(const std::string& name) {
    std::ifstream file(data_file(name), std::ios::binary);
    EXPECT_TRUE(file.is_open()) << name;
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

// All that a load leaves behind, as text: two datasets are the same if these are.
std::string picture() {
    std::string all = std::string(dataset.label) + "|" + std::string(MacroValue("S_FNDATE")) + "\n";
    for (int var = 1; var <= dataset.nvar; var++) {
        all += type_name(dataset.types[var - 1]) + " " + dataset.names[var - 1] + " " +
               dataset.formats[var - 1] + " " + dataset.label_names[var - 1] + " " +
               variable_label(var) + "\n";
        for (std::string_view name : characteristic_names(dataset.names[var - 1])) {
            all += std::string(name) + "=" +
                   std::string(characteristic(dataset.names[var - 1], name)) + "\n";
        }
        for (int obs = 1; obs <= dataset.nobs; obs++) {
            char number[32];
            snprintf(number, sizeof number, "%a ", get(var, obs));
            all += number;
            all += cell_text(var, obs);
        }
        all += "\n";
    }
    for (int i = 0; dataset.sortlist[i]; i++) all += std::to_string(dataset.sortlist[i]) + " ";
    return all;
}

class DtaRead : public testing::Test {
protected:
    void SetUp() override {
        session.OutputThreshold = kThresholdCapture;
        ASSERT_TRUE(StartEngineTables(5000, 4 << 20));
    }
    void TearDown() override {
        clear_dataset();
        EndEngineTables();
        session.OutputThreshold = kThresholdNormal;
    }

    static ReturnCode use(const std::string& name) { return use_file(data_file(name), {}); }

    static ReturnCode load(const Bytes& bytes) {
        ByteSource source;
        open_memory(&source, bytes);
        return load_dta(&source, "bytes", {});
    }

    static bool all_is_clear() {
        return dataset.nvar == 0 && dataset.nobs == 0 && dataset.changed == 0 &&
               dataset.label[0] == 0 && dataset.filename[0] == 0 && dataset.sortlist[0] == 0 &&
               MacroValue("S_FN").empty() && MacroValue("S_FNDATE").empty() &&
               StoreNext(kKindValueLabel, nullptr) == nullptr &&
               StoreNext(kKindVariableLabel, nullptr) == nullptr &&
               StoreNext(kKindCharacteristic, nullptr) == nullptr &&
               StoreNext(kKindIncoming, nullptr) == nullptr;
    }

    // A load that fails at the header changes nothing, one that fails behind it leaves the dataset
    // clear, one that succeeds a sound dataset.
    static void expect_error_or_sound(const Bytes& bytes, const std::string& what) {
        if (dataset.nvar == 0) {
            ASSERT_EQ(use("small_lohi.dta"), 0);
        }
        const std::string before = picture();
        const ReturnCode rc = load(bytes);
        if (rc == 609 || rc == 610) {
            ASSERT_EQ(picture(), before) << what;
        } else if (rc) {
            ASSERT_TRUE(rc == 688 || rc == 692 || rc == 900 || rc == 901 || rc == 1010)
                << what << " gave " << rc;
            ASSERT_TRUE(all_is_clear()) << what;
        }
        ASSERT_EQ(check_dataset(), "") << what;
    }
};

TEST_F(DtaRead, EveryTypeKeepsItsMissingValuesAndLimits) {
    ASSERT_EQ(use("types_lohi.dta"), 0);
    ASSERT_EQ(check_dataset(), "");
    ASSERT_EQ(dataset.nvar, 9);
    ASSERT_EQ(dataset.nobs, 30);
    for (int var = 1; var <= 5; var++) {
        for (int code = 0; code < kMissingValues; code++) {
            EXPECT_EQ(get(var, code + 1), missing_value(code)) << var << " " << code;
        }
    }
    const double least[] = {-127, -32767, -2147483647.0, -kMaxFloat, -kMaxDouble};
    const double most[] = {100, 32740, 2147483620.0, kMaxFloat, kMaxDouble};
    const double plain[] = {1, -300, 70000, 1.5, 0.1};
    for (int var = 1; var <= 5; var++) {
        EXPECT_EQ(get(var, 28), least[var - 1]);
        EXPECT_EQ(get(var, 29), most[var - 1]);
        EXPECT_EQ(get(var, 30), plain[var - 1]);
    }
    EXPECT_EQ(cell_text(6, 28), "z");
    EXPECT_EQ(cell_text(7, 28), "seven77");
    EXPECT_EQ(cell_text(7, 30), "t\xe4x\xdft");
    EXPECT_EQ(cell_text(8, 28), std::string(244, 'y'));
    EXPECT_EQ(cell_text(8, 29), "");
}

TEST_F(DtaRead, CellsThatHoldNoValueAreMissing) {
    for (const char* name : {"no_values_lohi.dta", "no_values_hilo.dta"}) {
        ASSERT_EQ(use(name), 0);
        EXPECT_EQ(check_dataset(), "") << name;
        const double plain[] = {-127, -32767, -2147483647.0, 1.5, -0.5};
        for (int var = 1; var <= 5; var++) {
            for (int obs = 1; obs <= 3; obs++) EXPECT_EQ(get(var, obs), kSysMissing) << var;
            EXPECT_EQ(get(var, 4), plain[var - 1]);
            EXPECT_EQ(get(var, 5), missing_value(26));
        }
    }
}

TEST_F(DtaRead, ACharacteristicMayLackItsText) {
    ASSERT_EQ(use("no_text.dta"), 0);
    EXPECT_TRUE(characteristic_names("x").empty());
}

TEST_F(DtaRead, DescriptionsAndLabelsComeWithTheVariables) {
    ASSERT_EQ(use("types_hilo.dta"), 0);
    EXPECT_EQ(std::string(dataset.label), std::string(80, 'L'));
    EXPECT_EQ(MacroValue("S_FNDATE"), "29 Feb 2004 23:59");
    EXPECT_EQ(MacroValue("S_FN"), data_file("types_hilo.dta"));
    EXPECT_EQ(dataset.filename, data_file("types_hilo.dta"));
    EXPECT_EQ(dataset.changed, 0);
    EXPECT_STREQ(dataset.names[8], "name_of_thirty_two_characters_xx");
    EXPECT_STREQ(dataset.formats[6], "%-9s");
    EXPECT_EQ(variable_label(3), std::string(80, 'x'));
    EXPECT_EQ(variable_label(2), "");
    EXPECT_EQ(dataset.sortlist[0], 9);
    EXPECT_EQ(dataset.sortlist[1], 1);
    EXPECT_EQ(dataset.sortlist[2], 0);
    EXPECT_EQ(characteristic("_dta", "note1"), "A note on all.");
    EXPECT_EQ(characteristic("l", "note1"), std::string(300, 'n'));
    EXPECT_EQ(characteristic("nobody", "unit"), "");
    EXPECT_STREQ(find_value_label("answer", -1), "minus one");
    EXPECT_STREQ(find_value_label("answer", 100), "hundred");
    EXPECT_EQ(find_value_label("answer", 2), nullptr);
    EXPECT_STREQ(find_value_label("unused", 1), "yes");
}

TEST_F(DtaRead, ByteOrderAndLettersMakeNoDifference) {
    for (const char* stem : {"types", "small", "blocks"}) {
        ASSERT_EQ(use(std::string(stem) + "_lohi.dta"), 0);
        const std::string low_high = picture();
        ASSERT_EQ(use(std::string(stem) + "_hilo.dta"), 0);
        EXPECT_EQ(picture(), low_high) << stem;
    }
    ASSERT_EQ(use("small_lohi.dta"), 0);
    const std::string current = picture();
    ASSERT_EQ(use("small_112.dta"), 0);
    EXPECT_EQ(picture(), current);
}

TEST_F(DtaRead, RowsFollowEachOtherAcrossBlocks) {
    ASSERT_EQ(use("blocks_hilo.dta"), 0);
    ASSERT_EQ(dataset.nobs, 2100);
    for (int obs = 1; obs <= 2100; obs++) {
        ASSERT_EQ(get(1, obs), (obs - 1) * 0.1);
        ASSERT_EQ(cell_text(3, obs), std::to_string((obs - 1) % 900 + 100));
    }
}

// The rows of blocks_lohi.dta, 2100 of 12 bytes in front of 71 bytes of value labels, 43 times
// over: more than the observation table initialises at once.
TEST_F(DtaRead, ManyRowsEachHaveTheirPlace) {
    const Bytes file = bytes_of("blocks_lohi.dta");
    const auto rows = file.end() - 71 - 2100 * 12;
    Bytes bytes(file.begin(), rows);
    for (int copy = 0; copy < 43; copy++) bytes.insert(bytes.end(), rows, file.end() - 71);
    bytes.insert(bytes.end(), file.end() - 71, file.end());
    const int32_t nobs = 90300;
    memcpy(&bytes[6], &nobs, sizeof nobs);
    ASSERT_EQ(load(bytes), 0);
    ASSERT_EQ(check_dataset(), "");
    ASSERT_EQ(dataset.nobs, nobs);
    for (int obs = 1; obs <= nobs; obs++) ASSERT_EQ(get(1, obs), (obs - 1) % 2100 * 0.1);
    EXPECT_STREQ(find_value_label("gl", 1), "yes");
}

TEST_F(DtaRead, OptionsAndOddButHarmlessContents) {
    ASSERT_EQ(use_file(data_file("small_lohi.dta"), {.value_labels = false}), 0);
    EXPECT_EQ(find_value_label("gl", 0), nullptr);
    EXPECT_STREQ(dataset.label_names[1], "gl");

    ASSERT_EQ(use("string_junk.dta"), 0);
    EXPECT_EQ(cell_text(3, 2), "d");
    EXPECT_EQ(rawcell(3, 2)[2], 0);
    ASSERT_EQ(use("no_rows.dta"), 0);
    EXPECT_EQ(dataset.nobs, 0);
    EXPECT_EQ(dataset.nvar, 3);
    ASSERT_EQ(use("no_variables.dta"), 0);
    EXPECT_EQ(dataset.nvar, 0);
    EXPECT_EQ(characteristic("_dta", "k"), "v");
}

// The files that fail, their codes and words: tests/scripts/data/use_errors.do.
TEST_F(DtaRead, BehindTheHeaderAFailureLeavesTheDatasetClear) {
    ASSERT_EQ(use("types_lohi.dta"), 0);
    const std::string before = picture();
    EXPECT_EQ(use_file(KORVA_TEST_DATA, {}), 603);
    EXPECT_EQ(use("xp.dta"), 609);
    EXPECT_EQ(picture(), before);
    EXPECT_EQ(MacroValue("S_FN"), data_file("types_lohi.dta"));
    EXPECT_STREQ(find_value_label("answer", -1), "minus one");
    for (const char* name : {"cut.dta", "bad_name.dta", "bad_table.dta"}) {
        ASSERT_EQ(use("types_lohi.dta"), 0);
        dataset.changed = 1;
        EXPECT_NE(use(name), 0);
        EXPECT_TRUE(all_is_clear()) << name;
    }
}

// Values of old() in make_dta.py: what no current byte, int or long has makes its variable wider,
// and whatever the format the dataset is the same, but for what the format does not have.
TEST_F(DtaRead, OldFormatsAreBroughtUpToDate) {
    for (int number : {102, 103, 104, 105, 106, 107, 108, 111}) {
        const std::string name = "old_" + std::to_string(number) + ".dta";
        ASSERT_EQ(use(name), 0) << name;
        ASSERT_EQ(check_dataset(), "") << name;
        const StorageType types[] = {kInt, kInt, kByte, kLong, kDouble, kFloat, kDouble, 5};
        for (int i = 0; i < 8; i++) EXPECT_EQ(dataset.types[i], types[i]) << name << " " << i;
        const double first[] = {1, 126, 100, 32766, 2147483646, 1.5, 0.1};
        const double second[] = {2, -128, -127, -32768, -2147483648.0, -2.25, 1e300};
        for (int var = 1; var <= 7; var++) {
            EXPECT_EQ(get(var, 1), first[var - 1]) << name;
            EXPECT_EQ(get(var, 2), second[var - 1]) << name;
            if (var > 1) {
                EXPECT_EQ(get(var, 3), kSysMissing) << name;
            }
        }
        EXPECT_EQ(cell_text(8, 1), "first");
        EXPECT_EQ(variable_label(2), "a byte");
        EXPECT_EQ(dataset.sortlist[0], 1);
        EXPECT_STREQ(find_value_label("bl", -1), "minus");
        EXPECT_EQ(characteristic("d", "unit"), number >= 105 ? "kg" : "");
    }
}

// Places in small_lohi.dta: nvar at 4, nobs at 6; three variables, so lists of 3, 99, 8, 36, 99 and
// 243 bytes from 109 on, then the first expansion record at 597.
TEST_F(DtaRead, CountsAreHeldAgainstTheFile) {
    const auto with = [](size_t at, std::initializer_list<uint8_t> changed) {
        Bytes bytes = bytes_of("small_lohi.dta");
        std::copy(changed.begin(), changed.end(), bytes.begin() + std::ptrdiff_t(at));
        return bytes;
    };
    EXPECT_EQ(load(with(6, {0xFF, 0xFF, 0xFF, 0x7F})), 692);    // 2^31 - 1 observations
    EXPECT_EQ(load(with(6, {0, 0, 0, 0x80})), 688);             // -2^31 of them
    EXPECT_EQ(load(with(4, {0xFF, 0xFF})), 900);                // 65535 variables
    EXPECT_EQ(load(with(4, {0x88, 0x13})), 692);                // 5000: as many as may be
    EXPECT_EQ(load(with(598, {0xFF, 0xFF, 0xFF, 0xFF})), 692);  // expansion record of 2^32 - 1
    EXPECT_EQ(load(with(598, {0x41, 0, 0, 0})), 688);           // too short for its two names
    EXPECT_EQ(dataset.nvar, 0);
}

TEST_F(DtaRead, CutAnywhereIsAnErrorOrASoundDataset) {
    for (const char* name : {"small_lohi.dta", "old_102.dta", "dots_105.dta"}) {
        const Bytes whole = bytes_of(name);
        for (size_t length = 0; length < whole.size(); length++) {
            const Bytes part(whole.begin(), whole.begin() + std::ptrdiff_t(length));
            expect_error_or_sound(part, std::string(name) + " cut at " + std::to_string(length));
            if (HasFatalFailure()) return;
        }
    }
}

TEST_F(DtaRead, AnyByteChangedIsAnErrorOrASoundDataset) {
    for (const char* name : {"small_lohi.dta", "small_hilo.dta", "dots_105.dta", "old_106.dta"}) {
        Bytes bytes = bytes_of(name);
        for (size_t i = 0; i < bytes.size(); i++) {
            const uint8_t old = bytes[i];
            for (uint8_t value : {uint8_t(0), uint8_t(255), uint8_t(old + 1), uint8_t(old - 1)}) {
                bytes[i] = value;
                expect_error_or_sound(bytes, std::string(name) + " " + std::to_string(i) + ": " +
                                                 std::to_string(value));
                if (HasFatalFailure()) return;
            }
            bytes[i] = old;
        }
    }
}

}  // namespace
}  // namespace korva

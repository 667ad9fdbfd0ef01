// The trade of width against length: the data must survive every change of shape and every refusal.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "core/session.h"
#include "core/upcalls.h"
#include "data/cells.h"

namespace korva {
namespace {

// Every relation of two bases and pitches, overlapping or not, against a copy made beforehand.
TEST(RowMover, SurvivesEveryOverlap) {
    std::mt19937 random(3);
    std::vector<uint8_t> area(6000);
    for (int trial = 0; trial < 20000; trial++) {
        for (uint8_t& byte : area) byte = uint8_t(random());
        const int64_t bytes = 1 + random() % 40;
        const int64_t n = random() % 40;
        int64_t from_pitch = bytes + random() % 30;
        int64_t to_pitch = bytes + random() % 30;
        int64_t from = random() % 2000;
        int64_t to = random() % 2000;
        if (trial % 4 == 0) to = from;
        if (trial % 5 == 0) to_pitch = from_pitch;
        const std::vector<uint8_t> before = area;
        move_rows(area.data() + to, to_pitch, area.data() + from, from_pitch, n, size_t(bytes));
        for (int64_t row = 0; row < n; row++) {
            ASSERT_EQ(std::memcmp(area.data() + to + row * to_pitch,
                                  before.data() + from + row * from_pitch, size_t(bytes)),
                      0)
                << "from " << from << "+" << from_pitch << " to " << to << "+" << to_pitch
                << " row " << row << " of " << n;
        }
    }
}

class Partition : public testing::Test {
protected:
    void SetUp() override {
        session.BreakFlag = 0;
        session.OutputThreshold = kThresholdCapture;
    }
    void TearDown() override {
        session.OutputThreshold = kThresholdNormal;
        EndDataset();
    }
};

using Rows = std::vector<std::vector<double>>;

Rows all_values() {
    Rows rows;
    for (int obs = 1; obs <= dataset.nobs; obs++) {
        rows.emplace_back();
        for (int var = 1; var <= dataset.nvar; var++) rows.back().push_back(get(var, obs));
    }
    return rows;
}

TEST_F(Partition, RandomChangesKeepTheData) {
    std::mt19937 random(11);
    for (int64_t bytes : {102400, 300000}) {
        ASSERT_TRUE(StartDataset(bytes, 2048));
        const StorageType types[] = {kByte, kInt, kLong, kFloat, kDouble};
        for (int v = 0; v < 7; v++) {
            ASSERT_EQ(addvar("v" + std::to_string(v), types[v % 5]), 0);
        }
        ASSERT_EQ(extend_observations(500), 0);
        for (int obs = 1; obs <= 500; obs++) {
            for (int v = 1; v <= 7; v++) put(v, obs, double(random() % 200) - 100);
        }
        Rows expected = all_values();
        int failures = 0;
        for (int step = 0; step < 2000; step++) {
            const int32_t nobs = dataset.nobs;
            const int32_t mobs = dataset.mobs;
            const int32_t lrecl = dataset.lrecl;
            ReturnCode rc = 0;
            switch (random() % 6) {
            case 0: rc = repart(int(random() % 300) - 150, 0); break;
            case 1: rc = repart(0, int(random() % 2000) - 1000); break;
            case 2: rc = grow_obs(random() % 100); break;
            case 3: rc = grow_width(random() % 20); break;
            case 4:
                std::shuffle(dataset.slot, dataset.slot + nobs, random);
                for (int i = 0; i < nobs; i++) {  // the values follow their slots
                    for (int v = 1; v <= 7; v++) expected[size_t(i)][size_t(v) - 1] = get(v, i + 1);
                }
                break;
            default:
                if (dataset.nobs > 400) {
                    // Rows are lost at random places: later slots keep numbers below nobs.
                    std::shuffle(dataset.slot, dataset.slot + nobs, random);
                    dataset.nobs -= int(random() % 20);
                    expected = all_values();
                } else if (dataset.nobs + 50 < dataset.mobs) {
                    ASSERT_EQ(extend_observations(dataset.nobs + 50), 0);
                    expected = all_values();
                }
            }
            if (rc != 0) {
                failures++;
                EXPECT_TRUE(rc == 901 || rc == 902 || rc == 1010) << rc;
                EXPECT_EQ(mobs, dataset.mobs);
                EXPECT_EQ(lrecl, dataset.lrecl);
            }
            ASSERT_EQ(check_dataset(), "");
            ASSERT_EQ(all_values(), expected) << "step " << step;
        }
        EXPECT_GT(failures, 0);
        EXPECT_GT(dataset.n_repart, 100);
        EXPECT_GT(dataset.n_shift, 0);
    }
}

TEST_F(Partition, RefusalsHaveTheirCodes) {
    ASSERT_TRUE(StartDataset(102400, 2048));
    ASSERT_EQ(addvar("x", kDouble), 0);
    EXPECT_EQ(repart(0, 0), 0);
    EXPECT_EQ(repart(dataset.maxlrecl, 0), 1010);
    EXPECT_EQ(repart(-dataset.lrecl, 0), 901);              // narrower than any row
    EXPECT_EQ(repart(6 - int64_t(dataset.lrecl), 0), 901);  // narrower than what is used
    EXPECT_EQ(repart(0, 0x7FFFFFFF), 901);
    EXPECT_EQ(repart(0, 102400 / 12), 901);  // no width left for that many
    ASSERT_EQ(extend_observations(4000), 0);
    EXPECT_EQ(repart(100, 0), 902);  // too wide for the rows there are
    EXPECT_EQ(extend_observations(10000), 901);
    EXPECT_EQ(dataset.nobs, 4000);
    EXPECT_EQ(check_dataset(), "");
}

#ifndef KORVA_STRESS
// By hand: (102400 - 16) / (8 + 8) is 6399 rows of 8 bytes.
TEST_F(Partition, LimitsFollowFromTheArea) {
    ASSERT_TRUE(StartDataset(102400, 2048));
    ASSERT_EQ(addvar("x", kDouble), 0);
    EXPECT_EQ(largest_obs(), 6399);
    EXPECT_EQ(dataset.maxlrecl, 24576);
    EXPECT_EQ(largest_width(), 24576);
    ASSERT_EQ(extend_observations(6398), 0);
    EXPECT_EQ(extend_observations(6399), 901);  // one row is scratch
    EXPECT_EQ(dataset.lrecl, 8);
    // -B / n with B = 8 * 6399 - 102384 and n = 6398: 8.001, so 8.
    EXPECT_EQ(largest_width(), 8);
    EXPECT_EQ(recast_variable(1, kLong), 903);
    EXPECT_EQ(addvar("y", kByte), 902);
    EXPECT_EQ(dataset.nvar, 1);
    EXPECT_EQ(check_dataset(), "");
}
#endif

// The area is address space: sizes beyond 4 GB, and beyond what the machine has, only cost what is
// used.
TEST_F(Partition, LargeAreas) {
    for (int64_t bytes : {int64_t(5) << 30, int64_t(64) << 30}) {
        ASSERT_TRUE(StartDataset(bytes, 32767));
        ASSERT_EQ(addvar("x", kDouble), 0);
        ASSERT_EQ(addvar("s", 244), 0);
        ASSERT_EQ(extend_observations(1000), 0);
        ASSERT_EQ(check_dataset(), "");
        // A row far above 4 GB.
        const uint32_t last = uint32_t(dataset.mobs) - 1;
        EXPECT_GT(uint64_t(last) * uint64_t(dataset.lrecl), 0xF0000000u);
        dataset.slot[999] = last;
        put(1, 1000, 17.5);
        EXPECT_EQ(get(1, 1000), 17.5);
        dataset.slot[999] = 999;
        EXPECT_LE(dataset.tobs, 1 << 16);
    }
}

TEST_F(Partition, ClearKeepsThePartition) {
    ASSERT_TRUE(StartDataset(1 << 20, 5000));
    ASSERT_EQ(addvar("s", 100), 0);
    ASSERT_EQ(extend_observations(10), 0);
    std::strcpy(dataset.label, "text");
    dataset.sortlist[0] = 1;
    dataset.sortlist[1] = 0;
    std::swap(dataset.slot[2], dataset.slot[7]);
    const int32_t lrecl = dataset.lrecl;
    clear_dataset();
    EXPECT_EQ(lrecl, dataset.lrecl);
    EXPECT_EQ(dataset.nvar + dataset.nobs + dataset.changed + dataset.sortlist[0], 0);
    EXPECT_STREQ(dataset.label, "");
    ASSERT_EQ(extend_observations(10), 0);
    EXPECT_EQ(dataset.slot[2], 2u);
}

TEST_F(Partition, AFailedStartLeavesWhatWasThere) {
    ASSERT_TRUE(StartDataset(1 << 20, 5000));
    ASSERT_EQ(addvar("x", kByte), 0);
    EXPECT_FALSE(StartDataset(int64_t(1) << 60, 5000));
    EXPECT_EQ(dataset.nvar, 1);
    EXPECT_EQ(check_dataset(), "");
    clear_dataset();
    std::strcpy(dataset.label, "text");
    EXPECT_FALSE(replace_data_area(int64_t(1) << 60, 5000));
    EXPECT_FALSE(replace_data_area(24, 2048));  // too small for a row
    EXPECT_EQ(dataset.end - dataset.begin, 1 << 20);
    ASSERT_EQ(addvar("x", kByte), 0);
    EXPECT_EQ(check_dataset(), "");
    clear_dataset();
    std::strcpy(dataset.label, "text");
    ASSERT_TRUE(replace_data_area(int64_t(6) << 30, 32767));
    EXPECT_STREQ(dataset.label, "text");  // nothing was lost
    EXPECT_EQ(dataset.maxlrecl, 12 * 32767);
    EXPECT_EQ(check_dataset(), "");
}

TEST_F(Partition, ABreakLeavesTheObservations) {
    ASSERT_TRUE(StartDataset(1 << 20, 5000));
    ASSERT_EQ(addvar("x", kByte), 0);
    ASSERT_EQ(extend_observations(5), 0);
    dataset.changed = 0;
    session.BreakFlag = 1;
    EXPECT_EQ(extend_observations(500), kBreak);
    session.BreakFlag = 0;
    EXPECT_EQ(dataset.nobs, 5);
    EXPECT_EQ(dataset.changed, 0);
}

}  // namespace
}  // namespace korva

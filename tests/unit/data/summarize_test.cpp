// The moments of summarize against values worked out by hand.
#include <gtest/gtest.h>

#include <cmath>

#include "core/commands.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/startup.h"
#include "core/store.h"
#include "core/stored_results.h"
#include "core/upcalls.h"
#include "data/by.h"
#include "data/cells.h"
#include "data/skeleton.h"

namespace korva {
namespace {

class Summarize : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(StartEngineTables(2048, 8 << 20));
        settings = SettingsState{};
        by_state = ByState{};
        session.BreakFlag = 0;
        session.OutputThreshold = kThresholdCapture;
    }
    void TearDown() override {
        session.OutputThreshold = kThresholdNormal;
        EndEngineTables();
        StoreClear();
    }

    void fill(int32_t n, double (*value)(int obs), StorageType type = kDouble) {
        ASSERT_EQ(addvar("x", type), 0);
        ASSERT_EQ(extend_observations(n), 0);
        for (int obs = 1; obs <= n; obs++) put(1, obs, value(obs));
    }

    ReturnCode run(const std::string& text) {
        line = text;
        SetScanPointer(line.data());
        ResetSkeleton();
        return CmdSummarize(0);
    }

    double r(const char* name) { return FindStoredResult(ResultFamily::R, name).number; }

    std::string line;
};

TEST_F(Summarize, KeepsDigitsBesideALargeOffset) {
    // 1e12 + 0, 1, 2, 0, 1, 2, ...: the mean is 1e12 + 1, and of n = 3m values 2m are 1 away from
    // it.
    fill(30000, [](int obs) { return 1e12 + obs % 3; });
    ASSERT_EQ(run("x"), 0);
    EXPECT_EQ(r("N"), 30000);
    EXPECT_DOUBLE_EQ(r("mean"), 1e12 + 1);
    EXPECT_NEAR(r("Var"), 20000.0 / 29999, 1e-14);
    EXPECT_EQ(r("min"), 1e12);
    EXPECT_EQ(r("max"), 1e12 + 2);
    EXPECT_EQ(r("sum"), 3e16 + 30000);
}

TEST_F(Summarize, SumsThatCancelLoseNothing) {
    // Three blocks, the large values in the outer ones: a plain running sum ends at 0.
    fill(3 * kBlockObs, [](int obs) {
        if (obs == 1) return 1e17;
        if (obs == 3 * kBlockObs) return -1e17;
        return obs > kBlockObs && obs <= 2 * kBlockObs ? 1.0 : 0.0;
    });
    ASSERT_EQ(run("x"), 0);
    EXPECT_EQ(r("sum"), kBlockObs);
    EXPECT_DOUBLE_EQ(r("mean"), 1.0 / 3);
}

TEST_F(Summarize, MissingValuesStayOutWhereverTheyStand) {
    // 1 to 600 without every seventh: 600 - 85 values; 7 + 14 + ... + 595 = 7 * 85 * 86 / 2 =
    // 25585.
    fill(
        600, [](int obs) { return obs % 7 ? double(obs) : missing_value(obs % 27); }, kInt);
    ASSERT_EQ(run("x"), 0);
    EXPECT_EQ(r("N"), 515);
    EXPECT_EQ(r("sum"), 180300 - 25585);
    EXPECT_EQ(r("max"), 600);
    ASSERT_EQ(run("x in 7"), 0);
    EXPECT_EQ(r("N"), 0);
    EXPECT_TRUE(is_missing(r("mean")));
    EXPECT_TRUE(is_missing(r("max")));
    EXPECT_EQ(r("sum_w"), 0);
}

TEST_F(Summarize, ConditionsAndRangesThatCrossBlocks) {
    fill(1000, [](int obs) { return double(obs); });
    // Even numbers of 300 to 700: 201 of them, mean 500, sum of squared deviations 2 * 4 * sum k^2,
    // k <= 100.
    ASSERT_EQ(run("x if mod(x, 2) == 0 in 300/700"), 0);
    EXPECT_EQ(r("N"), 201);
    EXPECT_EQ(r("mean"), 500);
    EXPECT_NEAR(r("Var"), 8 * 338350.0 / 200, 1e-9);
    EXPECT_NEAR(r("sd"), std::sqrt(13534.0), 1e-12);
}

}  // namespace
}  // namespace korva

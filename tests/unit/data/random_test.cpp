// The generators: their streams, their seeds, and the order in which an expression draws.
#include "data/random.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/scanner.h"
#include "core/session.h"
#include "core/startup.h"
#include "core/system_values.h"
#include "core/upcalls.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/expression.h"
#include "data/skeleton.h"

namespace korva {
namespace {

constexpr int kRows = 600;

class Random : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(StartEngineTables(2048, 4 << 20));
        session.version = kCurrentVersion;
        session.OutputThreshold = kThresholdCapture;
        random_state = RandomState{};
        ASSERT_EQ(addvar("x", kDouble), 0);
        ASSERT_EQ(extend_observations(kRows), 0);
        for (int obs = 1; obs <= kRows; obs++) put(1, obs, obs);
        ResetSkeleton();
        ForgetExpressions();
    }
    void TearDown() override {
        random_state = RandomState{};
        session.version = kCurrentVersion;
        session.OutputThreshold = kThresholdNormal;
        EndEngineTables();
    }
    ReturnCode set(ReturnCode (*setting)(), const std::string& value) {
        line = value;
        SetScanPointer(line.data());
        return setting();
    }
    std::string line;
};

// The draw as the word it comes from.
double word_of_draw() {
    double u;
    draw_uniform(&random_state.uniform, 1, 1, 0, &u);
    return u * 4294967296.0;
}

// Words and state texts from tests/tools/uniform_stream.py, which computes the recurrences with
// whole numbers.
TEST_F(Random, StreamsFollowTheRecurrences) {
    struct Stream {
        const char* seed;
        double words[4];
        const char* state;  // behind the fourth
        double thousandth;
    };
    const Stream streams[] = {
        {"123456789",
         {588342137, 2762611733, 2395740038, 2597574503},
         "Xe4705779cf71d86d29e7a781a8c6bd0a491a",
         3566595851},
        {"1",
         {2869833700, 3985562440, 2080831806, 2017513499},
         "Xe39e66e9e8839d8ad96ccba80152d2b2050f",
         652768554},
        {"-2147483646",
         {2668055565, 245464349, 2348769743, 1208805688},
         "Xb36a8006e8839d8ad96ccba80152d2b236cf",
         3707150871},
    };
    for (const Stream& s : streams) {
        if (s.seed != streams[0].seed) ASSERT_EQ(set(SetSeed, s.seed), 0);
        for (double word : s.words) EXPECT_EQ(word_of_draw(), word) << s.seed;
        SystemValue state;
        ASSERT_TRUE(FindSystemValue("seed", &state));
        EXPECT_EQ(state.text, s.state);
        for (int i = 5; i < 1000; i++) word_of_draw();
        EXPECT_EQ(word_of_draw(), s.thousandth);
        // The state set back, and the seed of the start set again.
        ASSERT_EQ(set(SetSeed, s.state), 0);
        for (int i = 5; i < 1000; i++) word_of_draw();
        EXPECT_EQ(word_of_draw(), s.thousandth);
    }
    ASSERT_EQ(set(SetSeed, "123456789"), 0);
    EXPECT_EQ(word_of_draw(), streams[0].words[0]);

    std::vector<double> old(1000);
    draw_old_uniform(&random_state.old_word, 1000, 1, 0, old.data());
    const double words[] = {69138069, 1441138257, 2111187933, 1352161529};
    for (size_t i = 0; i < 4; i++) EXPECT_EQ(old[i] * 2147483648.0, words[i]);
    EXPECT_EQ(old[999] * 2147483648.0, 1787658889.0);
}

TEST_F(Random, WhatIsNoSeedChangesNothing) {
    const std::string before = seed_text();
    for (const char* text : {"", "abc", "1.5", "2147483647", "-2147483647", "99999999999999999999",
                             "+-1", "1 2", "1, permanently", "x",
                             "Xe4705779cf71d86d29e7a781a8c6bd0a491b",   // another check
                             "Xe4705779cf71d86d29e7a781a8c6bd0a491a0",  // a digit too many
                             "Xe4705779cf71d86d29e7a781a8c6bd0a491",    // one too few
                             "XE4705779CF71D86D29E7A781A8C6BD0A491A",   // written large
                             "Xg4705779cf71d86d29e7a781a8c6bd0a491a"}) {
        EXPECT_EQ(set(SetSeed, text), 198) << text;
        EXPECT_EQ(set(SetOldSeed, text), 198) << text;
        EXPECT_EQ(set(SetSortSeed, text), 198) << text;
    }
    EXPECT_EQ(seed_text(), before);
    EXPECT_EQ(random_state.old_word, 1001u);
    EXPECT_EQ(set(SetSortSeed, "-17"), 0);
    EXPECT_EQ(random_state.sort_word, 17u);
}

// An observation takes all its numbers before the next one, whatever the size of the block.
TEST_F(Random, BlocksDrawAsSingleRunsDo) {
    for (const char* text : {"uniform()", "uniform() - 10 * uniform()",
                             "cond(uniform() < .5, uniform0(), x + uniform()) + uniform0()"}) {
        ASSERT_EQ(compile(text, &main_expression, ExpressionMode::Number), 0);
        EXPECT_EQ(main_expression.order_free | main_expression.thread_safe, 0);
        random_state = RandomState{};
        std::vector<double> single;
        for (int obs = 1; obs <= kBlockObs; obs++) single.push_back(eval(&main_expression, obs));
        const std::string state = seed_text();
        random_state = RandomState{};
        double block[kBlockObs];
        eval_block(&main_expression, 1, kBlockObs, block);
        EXPECT_EQ(std::vector<double>(block, block + kBlockObs), single) << text;
        EXPECT_EQ(seed_text(), state) << text;
    }
    session.version = 310;  // uniform() was the old generator then
    random_state = RandomState{};
    ASSERT_EQ(compile("uniform()", &main_expression, ExpressionMode::Number), 0);
    EXPECT_EQ(eval(&main_expression, 1) * 2147483648.0, 69138069.0);
}

}  // namespace
}  // namespace korva

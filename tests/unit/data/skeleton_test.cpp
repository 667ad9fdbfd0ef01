// The parser of qualifiers, weights and options, and the option readers.
#include <gtest/gtest.h>

#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/startup.h"
#include "core/store.h"
#include "core/upcalls.h"
#include "data/by.h"
#include "data/cells.h"
#include "data/skeleton.h"

namespace korva {
namespace {

class Skeleton : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(StartEngineTables(2048, 1 << 20));
        settings = SettingsState{};
        by_state = ByState{};
        session.OutputThreshold = kThresholdCapture;
        ASSERT_EQ(addvar("x", kDouble), 0);
        ASSERT_EQ(addvar("s", 5), 0);
        set_nobs(10);
        for (int obs = 1; obs <= 10; obs++) put(1, obs, obs);
        ResetSkeleton();
    }
    void TearDown() override {
        by_state = ByState{};
        forget_parsed_skeleton();
        session.OutputThreshold = kThresholdNormal;
        session.version = kCurrentVersion;
        EndEngineTables();
        StoreClear();
    }

    ReturnCode parse(const std::string& text, const Permissions& permit = {}) {
        line = text;
        SetScanPointer(line.data());
        ResetSkeleton();
        skeleton.permit = permit;
        return parse_skeleton();
    }

    std::string line;
};

TEST_F(Skeleton, QualifiersComeInAnyOrderAndOnce) {
    EXPECT_EQ(parse("x in 2/5 if x > 3, o"), 0);
    EXPECT_EQ(skeleton.first, 2);
    EXPECT_EQ(skeleton.last, 5);
    EXPECT_TRUE(skeleton.if_given);
    EXPECT_EQ(skeleton.options.size(), 1u);
    EXPECT_FALSE(sample_has(3));
    EXPECT_TRUE(sample_has(4));
    EXPECT_EQ(parse("if x > 3 if x < 5"), 198);
    EXPECT_EQ(parse("x in 1 in 2"), 198);
    EXPECT_EQ(parse("x !"), 198);
    EXPECT_EQ(parse("if y == 1"), 111);
    EXPECT_EQ(parse("if"), 198);
}

TEST_F(Skeleton, ForbiddenAndRequiredPartsHaveTheirCodes) {
    Permissions permit;
    permit.varlist = kForbidden;
    EXPECT_EQ(parse("x", permit), 101);
    EXPECT_EQ(parse("", permit), 0);
    permit = {};
    permit.varlist = kRequired;
    EXPECT_EQ(parse("if x", permit), 100);
    permit = {};
    permit.if_exp = permit.in_range = permit.options = kForbidden;
    EXPECT_EQ(parse("x if x", permit), 101);
    EXPECT_EQ(parse("x in 1", permit), 101);
    EXPECT_EQ(parse("x, o", permit), 101);
    EXPECT_EQ(parse("x using f", permit), 101);
    EXPECT_EQ(parse("x = 3", permit), 101);
    EXPECT_EQ(parse("x [w=x]", permit), 101);
    permit = {};
    permit.exp = kRequired;
    EXPECT_EQ(parse("x", permit), 100);
    permit = {};
    permit.in_range = kRequired;
    EXPECT_EQ(parse("x if x", permit), 100);
    permit = {};
    permit.in_range = kSpecial;  // may end beyond the data
    EXPECT_EQ(parse("in 3/l", permit), 0);
    EXPECT_EQ(skeleton.last, 0x7FFFFFFE);
    EXPECT_EQ(parse("in 11/2147483646", permit), 0);
    EXPECT_EQ(parse("in 11/2147483647", permit), 198);
    EXPECT_EQ(parse("in -1", permit), 0);
    EXPECT_EQ(skeleton.first, 10);
    permit = {};
    permit.one_of_varlist_if_in = true;
    EXPECT_EQ(parse("", permit), 100);
    EXPECT_EQ(parse("if x", permit), 0);
    // The permissions of one command are not those of the next.
    EXPECT_EQ(skeleton.permit.exp, kForbidden);
    EXPECT_FALSE(skeleton.permit.one_of_varlist_if_in);
}

TEST_F(Skeleton, TextThatRemainsIsAnErrorUnlessTheCommandTakesIt) {
    Permissions permit;
    EXPECT_EQ(parse("x \"text\"", permit), 198);
    EXPECT_EQ(parse("x, a, b"), 198);
    permit.stop_at_unknown = true;
    EXPECT_EQ(parse("x : rest", permit), 0);
    EXPECT_EQ(PeekChar(), ':');
}

TEST_F(Skeleton, WeightsAreTakenByTheirAbbreviations) {
    Permissions permit;
    permit.weights = kAweight | kFweight;
    permit.default_weight = kAweight;
    const struct {
        const char* text;
        ReturnCode rc;
        uint8_t type;
    } cases[] = {
        {"x [w=x]", 0, kAweight},
        {"x [weight=x]", 0, kAweight},
        {"x [fw=x]", 0, kFweight},
        {"x [freq=x]", 0, kFweight},
        {"x [cell=x]", 0, kAweight},
        {"x [fre=x]", 198, 0},
        {"x [pw=x]", 101, 0},
        {"x [f=x]", 198, 0},
        {"x [w=x] [w=x]", 198, 0},
        {"x [w x]", 100, 0},
        {"x [w=x", 100, 0},
        {"x []", 0, 0},
        {"x [aw=x[_n]] in 2", 0, kAweight},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(parse(c.text, permit), c.rc) << c.text;
        if (c.rc != 0) continue;
        EXPECT_EQ(skeleton.weight_type, c.type) << c.text;
    }
    EXPECT_EQ(skeleton.weight_text, "x[_n]");
    EXPECT_EQ(skeleton.first, 2);
    EXPECT_EQ(parse("x = x", permit), 198);
    session.version = 200;
    EXPECT_EQ(parse("x = x", permit), 0);
    EXPECT_TRUE(skeleton.weight_given);
}

TEST_F(Skeleton, OptionsKeepTheirArgumentsAndNameTheFault) {
    ASSERT_EQ(parse("x, sep(3) title(\"a ) b\" (c)) noobs clean"), 0);
    int32_t separator = 0;
    bool given = false;
    EXPECT_EQ(option_integer("separator", 3, &separator, &given), 0);
    EXPECT_TRUE(given);
    EXPECT_EQ(separator, 3);
    std::string title;
    EXPECT_TRUE(option_text("title", 1, &title));
    EXPECT_EQ(title, "\"a ) b\" (c)");
    EXPECT_FALSE(option_present("obs", 1, true));
    EXPECT_TRUE(option_present("label", 1, true));
    EXPECT_EQ(options_done(), 198);  // clean was not asked for
    EXPECT_TRUE(option_present("clean", 1, false));
    EXPECT_EQ(options_done(), 0);

    ASSERT_EQ(parse("x, clean(2) sep"), 0);
    EXPECT_FALSE(option_present("clean", 1, false));
    EXPECT_EQ(option_integer("separator", 3, &separator, &given), 0);
    EXPECT_FALSE(given);
    EXPECT_EQ(options_done(), 198);
    ASSERT_EQ(parse("x, sep(2.5)"), 0);
    EXPECT_EQ(option_integer("separator", 3, &separator, &given), 198);
    ASSERT_EQ(parse("x, sep(1e10)"), 0);
    EXPECT_EQ(option_integer("separator", 3, &separator, &given), 198);
    EXPECT_EQ(parse("x, sep(3"), 100);
    std::string many = "x,";
    for (int k = 0; k < 70; k++) many += " o";
    EXPECT_EQ(parse(many), 0);
    EXPECT_EQ(parse(many + " o"), 1003);
}

TEST_F(Skeleton, LaterGroupsReuseTheParseWithTheirOwnRange) {
    by_state.active = true;
    by_state.first_group = true;
    by_state.group_first = 1;
    by_state.group_last = 4;
    ASSERT_EQ(parse("x if x > 2, o(1)"), 0);
    EXPECT_EQ(skeleton.last, 4);
    std::string text;
    EXPECT_TRUE(option_text("o", 1, &text));

    by_state.first_group = false;
    by_state.group_first = 5;
    by_state.group_last = 10;
    ASSERT_EQ(parse("this is not looked at !!"), 0);
    EXPECT_EQ(skeleton.varlist, (std::vector<int32_t>{1}));
    EXPECT_EQ(skeleton.first, 5);
    EXPECT_EQ(skeleton.last, 10);
    EXPECT_EQ(options_done(), 198);  // each group asks for its options anew
    EXPECT_EQ(parse("x in 1"), 0);
    forget_parsed_skeleton();
    EXPECT_EQ(parse("x in 1"), 190);
    Permissions permit;
    permit.by_allowed = false;
    EXPECT_EQ(parse("x", permit), 190);
}

TEST_F(Skeleton, FailureBehindANewListDropsItsVariables) {
    Permissions permit;
    permit.new_varlist = true;
    permit.exp = kAllowed;
    EXPECT_EQ(parse("byte a b = nosuch", permit), 111);
    EXPECT_EQ(dataset.nvar, 2);
    EXPECT_EQ(parse("byte a b if nosuch", permit), 111);
    EXPECT_EQ(dataset.nvar, 2);
    EXPECT_EQ(parse("byte a b = 1", permit), 0);
    EXPECT_EQ(dataset.nvar, 4);
}

TEST_F(Skeleton, BlocksOfTheSampleAgreeWithItsSingleObservations) {
    ASSERT_EQ(parse("x if x > 3 & x != 7"), 0);
    uint8_t marks[kBlockObs];
    EXPECT_EQ(sample_block(1, 10, marks), 6);  // 4 5 6 8 9 10
    for (int k = 0; k < 10; k++) EXPECT_EQ(marks[k] != 0, sample_has(k + 1)) << k;
    ASSERT_EQ(parse("x"), 0);
    EXPECT_EQ(sample_block(3, 5, marks), 5);
    EXPECT_EQ(require_numeric({1}), 0);
    EXPECT_EQ(require_numeric({1, 2}), 109);
}

}  // namespace
}  // namespace korva

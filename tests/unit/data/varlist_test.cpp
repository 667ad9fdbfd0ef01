// Lists of variables as they are typed, and the ranges of observations.
#include <gtest/gtest.h>

#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/startup.h"
#include "core/store.h"
#include "data/cells.h"
#include "data/labels.h"
#include "data/skeleton.h"

namespace korva {
namespace {

using Vars = std::vector<int32_t>;

class Varlist : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(StartEngineTables(2048, 1 << 20));
        settings = SettingsState{};
        session.OutputThreshold = kThresholdCapture;
    }
    void TearDown() override {
        session.OutputThreshold = kThresholdNormal;
        EndEngineTables();
        StoreClear();
    }

    void add(std::initializer_list<const char*> names) {
        for (const char* name : names) ASSERT_EQ(addvar_internal(name, kFloat), 0) << name;
    }

    ReturnCode code(const std::string& text) {
        Vars list;
        return varlist_from_text(text, &list);
    }

    Vars list(const std::string& text) {
        Vars result;
        EXPECT_EQ(varlist_from_text(text, &result), 0) << text;
        return result;
    }

    // A list with operators, as canonical text.
    ReturnCode operated(const std::string& text) {
        std::string copy = text;
        SetScanPointer(copy.data());
        reset_expression_pools();
        const ReturnCode rc = parse_varlist(&skeleton.varlist, &skeleton.operators);
        operators = skeleton.operators;
        texts.clear();
        for (size_t i = 0; rc == 0 && i < skeleton.varlist.size(); i++) {
            texts += (i > 0 ? " " : "") + varlist_name(i);
        }
        return rc;
    }

    // A new list from `text`; the code, and the names and types that were added.
    ReturnCode add_new(const std::string& text, bool label_names = false) {
        const int32_t before = dataset.nvar;
        std::string copy = text;
        SetScanPointer(copy.data());
        Vars vars;
        const ReturnCode rc = parse_new_varlist(&vars, &automatic, label_names);
        rest = ScanRest();
        added.clear();
        for (int32_t var = before + 1; var <= dataset.nvar; var++) {
            if (!added.empty()) added += ' ';
            added += type_name(dataset.types[var - 1]) + ' ' + dataset.names[var - 1];
        }
        EXPECT_EQ(int32_t(vars.size()), dataset.nvar - before);
        return rc;
    }

    ReturnCode in_range(const std::string& text, int32_t* first, int32_t* last) {
        std::string copy = text;
        SetScanPointer(copy.data());
        return parse_in_range(first, last);
    }

    std::vector<const TsOperator*> operators;
    std::string added, rest, texts;
    bool automatic = false;
};

TEST_F(Varlist, AbbreviationsPreferTheWholeNameAndRefuseDoubt) {
    add({"age", "ages", "agegroup", "wage"});
    EXPECT_EQ(list("age"), (Vars{1}));
    EXPECT_EQ(list("ageg w"), (Vars{3, 4}));
    EXPECT_EQ(code("ag"), 111);
    EXPECT_EQ(code("Age"), 111);
    EXPECT_EQ(code("agess"), 111);
    EXPECT_EQ(code("3x"), 198);
    settings.varabbrev = false;
    EXPECT_EQ(code("w"), 111);
    EXPECT_EQ(list("wage"), (Vars{4}));
    EXPECT_EQ(look_up_variable("w"), 0);
}

TEST_F(Varlist, PatternsTildeAndRangesKeepTheHiddenVariableOut) {
    add({"x1", "(e)", "x2", "xx10", "y"});
    EXPECT_EQ(list("x*"), (Vars{1, 3, 4}));
    EXPECT_EQ(list("x?"), (Vars{1, 3}));
    EXPECT_EQ(list("*"), (Vars{1, 3, 4, 5}));
    EXPECT_EQ(list("_all y"), (Vars{1, 3, 4, 5, 5}));
    EXPECT_EQ(list("x1-y"), (Vars{1, 3, 4, 5}));
    EXPECT_EQ(list("x1 - xx y"), (Vars{1, 3, 4, 5}));
    EXPECT_EQ(list("xx~0"), (Vars{4}));
}

TEST_F(Varlist, GlobTakesNoMoreTimeThanItsLengths) {
    EXPECT_TRUE(glob_match("a*b?d*", "axxbcd"));
    EXPECT_TRUE(glob_match("*ab", "aab"));
    EXPECT_FALSE(glob_match("a*b", "abc"));
    // A matcher that tries every suffix at every star would not come back from this one.
    std::string stars, name(32, 'a');
    for (int k = 0; k < 16; k++) stars += "*a";
    EXPECT_FALSE(glob_match(stars + "*b", name));
}

TEST_F(Varlist, ListEndsAtKeywordsAndLeavesThemForTheCaller) {
    add({"inc", "iff"});
    for (const char* text : {"inc if x", "inc in 1", "inc using f", "inc, o", "inc = 1",
                             "inc [w=1]", "inc: x", "inc (iff)"}) {
        std::string copy = text;
        SetScanPointer(copy.data());
        Vars vars;
        EXPECT_EQ(parse_varlist(&vars), 0) << text;
        EXPECT_EQ(vars, (Vars{1})) << text;
        EXPECT_NE(PeekChar(), 0) << text;
    }
}

TEST_F(Varlist, OperatorsAreSharedSortedAndNeedTime) {
    add({"t", "x", "y"});
    EXPECT_EQ(code("L.x"), 101);
    EXPECT_EQ(operated("L.x"), 111);  // no time variable
    ASSERT_EQ(set_characteristic("_dta", "_TStvar", "t"), 0);
    EXPECT_EQ(operated("L.x"), 5);
    EXPECT_EQ(operated("L0.x"), 0);  // does nothing, so it needs no time
    EXPECT_EQ(texts, "x");
    dataset.sortlist[0] = 1;
    dataset.sortlist[1] = 0;
    EXPECT_EQ(operated("x S2S1.x l2d.x-y LFL.x F2L.x"), 0);
    EXPECT_EQ(texts, "x S1S2.x L2D1.x L2D1.y L1.x F1.x");
    EXPECT_EQ(operated("L(0/2 5(5)15 17[2]21 7 6 to 4)D.x if x"), 0);
    EXPECT_EQ(texts,
              "D1.x L1D1.x L2D1.x L5D1.x L10D1.x L15D1.x L17D1.x L19D1.x L21D1.x L7D1.x L6D1.x "
              "L5D1.x L4D1.x");
    EXPECT_EQ(operated("L.x D.y L.x"), 0);
    EXPECT_EQ(operators[0], operators[2]);
    for (const char* bad : {"L().x", "L(1/).x", "L(1.5).x", "L(1(0)3).x", "L(to 3).x", "L(1/101).x",
                            "L-1.x", "L(-1).x", "L99999999999.x", "L.", ".x", "Q.x", "L..x"}) {
        EXPECT_EQ(operated(bad), 198) << bad;
    }
    EXPECT_EQ(operated("D20.x L(1/20).x"), 0);
    EXPECT_EQ(operated("D21.x"), 1000);
}

TEST_F(Varlist, NewListsHaveTypesGroupsAndNumberedNames) {
    EXPECT_EQ(add_new("a byte b c if x"), 0);
    EXPECT_EQ(added, "float a byte b float c");
    EXPECT_EQ(rest, "if x");
    EXPECT_EQ(add_new("double (d e) int q8-q11 = 1"), 0);
    EXPECT_EQ(added, "double d double e int q8 int q9 int q10 int q11");
    EXPECT_EQ(skeleton.group_bounds, (Vars{0, 2}));
    settings.default_type = kDouble;
    EXPECT_EQ(add_new("f"), 0);
    EXPECT_EQ(added, "double f");
    EXPECT_FALSE(skeleton.new_type_given);
    EXPECT_EQ(add_new("str12 s"), 0);
    EXPECT_EQ(added, "str12 s");
    EXPECT_FALSE(automatic);
    EXPECT_EQ(add_new("str t = 1"), 0);
    EXPECT_TRUE(automatic);
    EXPECT_TRUE(skeleton.new_type_given);
    EXPECT_EQ(add_new("str = 1"), 0);  // a name, since no name follows
    EXPECT_FALSE(automatic);
}

TEST_F(Varlist, NewListThatFailsLeavesTheDatasetAsItWas) {
    ASSERT_EQ(addvar("old", kByte), 0);
    set_nobs(3);
    dataset.changed = 0;
    EXPECT_EQ(add_new("a b old"), 110);
    EXPECT_EQ(add_new("a b a"), 110);
    EXPECT_EQ(add_new("a if-x"), 0);
    undo_new_variables(1);
    EXPECT_EQ(add_new("q3-q1"), 198);
    EXPECT_EQ(add_new("q1-r3"), 198);
    EXPECT_EQ(add_new("byte (a b"), 100);
    EXPECT_EQ(add_new("q1-q32000"), 103);
    EXPECT_EQ(add_new("a:lbl"), 181);
    EXPECT_EQ(add_new("str3 a:lbl", true), 181);
    EXPECT_EQ(add_new("a _n"), 198);
    EXPECT_EQ(dataset.nvar, 1);
    EXPECT_EQ(dataset.nobs, 3);
    EXPECT_EQ(dataset.changed, 0);
    EXPECT_EQ(check_dataset(), "");
    EXPECT_EQ(add_new("a:lbl", true), 0);
    EXPECT_STREQ(dataset.label_names[1], "lbl");
}

TEST_F(Varlist, UndoingTheOnlyVariablesKeepsTheObservations) {
    set_nobs(5);
    EXPECT_EQ(add_new("a b c _n"), 198);
    EXPECT_EQ(dataset.nvar, 0);
    EXPECT_EQ(dataset.nobs, 5);
}

// From both ends: tests/scripts/data/in_if.do.
TEST_F(Varlist, OddRangesOfObservations) {
    set_nobs(10);
    int32_t first = 0, last = 0;
    EXPECT_EQ(in_range("-3/L", &first, &last), 0);
    EXPECT_EQ(first, 8);
    EXPECT_EQ(last, 10);
    for (const char* bad : {"1/11", "-11/3", "", "1/", "-0", "--1", "99999999999999999999"}) {
        EXPECT_EQ(in_range(bad, &first, &last), 198) << bad;
    }
    set_nobs(0);
    EXPECT_EQ(in_range("f/l", &first, &last), 198);
}

TEST_F(Varlist, ShortenedNamesFindTheirVariable) {
    EXPECT_EQ(abbreviate_name("experience", 12), "experience");
    EXPECT_EQ(abbreviate_name("experience_years", 12), "experience~s");
    add({"experience_years", "experience"});
    EXPECT_EQ(list(abbreviate_name("experience_years", 12)), (Vars{1}));
}

}  // namespace
}  // namespace korva

// The internal forms of a picture, what a failure leaves, and that nothing touches the dataset.
#include "data/syntax.h"

#include "core/commands.h"
#include "data/dataset.h"
#include "unit/core/engine_fixture.h"

namespace korva {
namespace {

class Syntax : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        ASSERT_EQ(addvar("price", kFloat), 0);
        ASSERT_EQ(addvar("mpg", kFloat), 0);
        dataset.changed = 0;
    }

    static ReturnCode syntax(std::string_view picture, std::string_view text) {
        SetLocal("0", text);
        return run(CmdSyntax, 0, picture);
    }
};

TEST_F(Syntax, KeepsTheFormsInMacrosUntilTheyAreFilled) {
    ASSERT_EQ(syntax("varname(numeric) [if/] [fweight aw] , Gen(name) [*]", "nosuch"), 111);
    EXPECT_EQ(LocalValue("varlist"), "required ex max(1) numeric");
    EXPECT_EQ(LocalValue("if"), "opt nopre");
    EXPECT_EQ(LocalValue("weight"), "fweight aweight");
    EXPECT_EQ(LocalValue("options"), "!Gen(name) *");
    ASSERT_EQ(syntax("varlist , Gen(name)", "mpg, gen(2)"), 198);
    EXPECT_EQ(LocalValue("varlist"), "mpg");
    EXPECT_EQ(LocalValue("if"), "");
}

TEST_F(Syntax, ReadsNewNamesWithoutMakingThem) {
    ASSERT_EQ(syntax("newvarlist", "a double(b c) x1-x3"), 0);
    EXPECT_EQ(LocalValue("varlist"), "a b c x1 x2 x3");
    EXPECT_EQ(LocalValue("typlist"), "float double double float float float");
    EXPECT_EQ(syntax("newvarlist", "a b a"), 110);
    EXPECT_EQ(syntax("newvarlist", "x1-x30000"), 103);  // beyond mvar
    EXPECT_EQ(dataset.nvar, 2);
    EXPECT_EQ(dataset.changed, 0);
    EXPECT_EQ(check_dataset(), "");
}

TEST_F(Syntax, PutsTypedOptionsToTheFirstThatTheyAbbreviate) {
    ASSERT_EQ(syntax("[, Detail DETAILED(string) noLOg nodes(real 2)]",
                     ", det nolo detailed(\"x\") nodes(3)"),
              0);
    EXPECT_EQ(LocalValue("detail"), "detail");
    EXPECT_EQ(LocalValue("detailed"), "x");
    EXPECT_EQ(LocalValue("log"), "nolog");
    EXPECT_EQ(LocalValue("nodes"), "3");
    EXPECT_EQ(syntax("[, Detail]", ", d, d"), 198);
    EXPECT_EQ(syntax("[, Detail]", ","), 0);
    EXPECT_EQ(syntax("[if]", ","), 101);
}

TEST_F(Syntax, EndsFreeTextOnlyOutsideOfGroups) {
    const std::string open(50000, '(');
    ASSERT_EQ(syntax("anything", open), 0);
    EXPECT_EQ(LocalValue("anything").size(), open.size());
    ASSERT_EQ(syntax("anything(everything) [, A]", "x if [a=b] (c,d), a"), 0);
    EXPECT_EQ(LocalValue("anything"), "x if [a=b] (c,d)");
    EXPECT_EQ(LocalValue("a"), "a");
    ASSERT_EQ(syntax("anything [if]", "iffy fin if(price>1)"), 0);
    EXPECT_EQ(LocalValue("anything"), "iffy fin");
}

}  // namespace
}  // namespace korva

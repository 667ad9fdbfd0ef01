// Text in macros taken apart: lengths beyond those of the scanner, and the limits of the commands.
#include "core/tokens.h"

#include "core/commands.h"
#include "core/number_list.h"
#include "core/words.h"
#include "unit/core/engine_fixture.h"

namespace korva {
namespace {

using Tokens = EngineTest;

TEST_F(Tokens, AreNotCutAtTheLengthOfTheScannersToken) {
    const std::string word(5000, 'x');
    SetLocal("text", word + " rest");
    ASSERT_EQ(run(CmdGettoken, 0, "first text : text"), 0);
    EXPECT_EQ(LocalValue("first"), word);
    EXPECT_EQ(LocalValue("text"), " rest");
    ASSERT_EQ(run(CmdTokenize, 0, "\"a " + word + "\""), 0);
    EXPECT_EQ(LocalValue("2"), word);
}

TEST_F(Tokens, HaveAtMost79Separators) {
    SetLocal("text", "a-b");
    EXPECT_EQ(run(CmdGettoken, 0, "a b : text, parse(" + std::string(79, '-') + ")"), 0);
    EXPECT_EQ(LocalValue("a"), "a");
    EXPECT_EQ(run(CmdGettoken, 0, "a b : text, parse(" + std::string(80, '-') + ")"), 198);
}

TEST_F(Tokens, OfArgsMayBeNamedLikeTheMacrosTheyComeFrom) {
    SetArguments("one two");
    ASSERT_EQ(run(CmdArgs, 0, "2 x"), 0);
    EXPECT_EQ(LocalValue("2"), "one");
    EXPECT_EQ(LocalValue("x"), "two");
}

TEST_F(Tokens, WithoutTheirClosingParenthesisAreReadInOnePass) {
    const std::string open(100000, '(');
    EXPECT_EQ(ClosingParenthesis(open, 0), std::string::npos);
    EXPECT_EQ(FindOutside(open + ",", ','), std::string::npos);
    EXPECT_EQ(FindOutside("\"a,b\" (c,d) `\"e\"f,\"', g", ','), 20u);
    std::vector<double> numbers;
    EXPECT_EQ(ExpandNumberList("1(1e-300)1e300", NumberListRules{}, &numbers), 121);
    EXPECT_EQ(ExpandNumberList("0(1e-9)1", NumberListRules{}, &numbers), 123);
}

}  // namespace
}  // namespace korva

#include "core/macro.h"

#include "core/commands.h"
#include "core/missing.h"
#include "core/names.h"
#include "core/stored_results.h"
#include "unit/core/engine_fixture.h"

namespace korva {

namespace {

using MacroTest = EngineTest;

TEST(Names, FirstCharacterAndLengthCount) {
    for (const char* good : {"a", "_", "x1", "_1", "Z_9"}) EXPECT_TRUE(IsValidName(good)) << good;
    for (const char* bad : {"", "1x", "a.b", "a b", "a-b", "a'b",
                            "\x7f"
                            "a",
                            "$a"}) {
        EXPECT_FALSE(IsValidName(bad)) << bad;
    }
    EXPECT_TRUE(IsValidName(std::string(32, 'a')));
    EXPECT_FALSE(IsValidName(std::string(33, 'a')));
}

TEST_F(MacroTest, AnEmptyMacroIsNone) {
    SetMacro("g", "text");
    EXPECT_EQ(MacroValue("g"), "text");
    SetMacro("g", "");
    EXPECT_EQ(StoreFind("g", kKindGlobalMacro), nullptr);
    EXPECT_EQ(MacroValue("g"), "");
    EXPECT_EQ(expanded("$g"), "");
    EXPECT_EQ(expanded("a$g b"), "a b");
}

TEST_F(MacroTest, LevelsHaveTheirOwnLocals) {
    SetLocal("x", "outer");
    SetMacro("g", "global");
    RaiseMacroLevel();
    EXPECT_EQ(expanded("`x'$g"), "global");
    SetLocal("x", "inner");
    EXPECT_EQ(expanded("`x' $_x"), "inner inner");
    DropMacroLevel();
    EXPECT_EQ(expanded("`x'"), "outer");
    EXPECT_EQ(StoreNext(kKindLocalMacro + 1, nullptr), nullptr);
}

TEST_F(MacroTest, GlobalNamesEndAtTheFirstOtherByte) {
    SetMacro("x", "1");
    SetMacro("x_2", "two");
    EXPECT_EQ(expanded("$x-y ${x}y $x_2 $5 $ $$ a$"), "1-y 1y two $5 $ $$ a$");
    EXPECT_EQ(expanded("${x y} ${5} ${x"), "${x y} ${5} ${x");
    SetMacro(std::string(32, 'n'), "long");
    EXPECT_EQ(expanded("$" + std::string(34, 'n')), "longnn");
    session.version = 600;
    SetMacro("abcdefgh", "eight");
    EXPECT_EQ(expanded("$abcdefghij"), "eightij");
}

TEST_F(MacroTest, NamesMayHoldExpansions) {
    SetLocal("i", "2");
    SetLocal("x2", "value");
    SetMacro("x2", "global");
    SetMacro("name", "x2");
    EXPECT_EQ(expanded("`x`i'' ${x`i'} $x`i' $$name ${$name}"),
              "value global global global global");
    SetLocal("j", "i");
    EXPECT_EQ(expanded("`x``j'''"), "value");
    // A quote in a value is part of the name that it helps to make.
    SetLocal("q", "a'b");
    EXPECT_EQ(expanded("[`=`q'']"), "[]");
    EXPECT_EQ(expanded("`: word 2 of one `q' ' "), "a'b ");
}

TEST_F(MacroTest, ValuesAreExpandedInTheirTurn) {
    SetLocal("a", "`b' and $g");
    SetLocal("b", "B");
    SetMacro("g", "G");
    EXPECT_EQ(expanded("<`a'>"), "<B and G>");
    EXPECT_EQ(expanded("<`macval(a)'> `b'"), "<`b' and $g> B");
    // Not at the outermost level it is nothing.
    SetLocal("xB", "found");
    EXPECT_EQ(expanded("`x`macval(b)''"), "");
}

TEST_F(MacroTest, ABackslashKeepsAMacroCharacter) {
    SetMacro("x", "V");
    SetLocal("y", "W");
    EXPECT_EQ(expanded("\\$x \\`y' a\\b"), "$x `y' a\\b");
    EXPECT_EQ(expanded("\\\\$x \\\\`y' \\\\n"), "\\V \\W \\\\n");
    EXPECT_EQ(expanded("\\\\\\$x"), "\\\\V");
    EXPECT_EQ(expanded("\\\\no macro"), "\\\\no macro");
    session.version = 800;
    EXPECT_EQ(expanded("\\\\$x \\$x \\\\n"), "\\V $x \\n");
    EXPECT_EQ(expanded("\\\\\\$x"), "\\$x");
    EXPECT_EQ(expanded("no macro \\\\n"), "no macro \\n");
}

TEST_F(MacroTest, CompoundQuotesStay) {
    SetLocal("x", "v");
    EXPECT_EQ(expanded("`\"a \"b\" `x'\"'"), "`\"a \"b\" v\"'");
    EXPECT_EQ(expanded("`: word 2 of `\"a b\"' c'"), "c");
    EXPECT_EQ(expanded("don't `x' it's `open"), "don't v it's `open");
}

TEST_F(MacroTest, SelfReferenceEndsWithTooManyMacros) {
    SetLocal("x", "`x'");
    set_line("a `x'");
    EXPECT_EQ(ExpandMacros(), 920);
    EXPECT_STREQ(ScanRest(), "");
    SetLocal("grow", "a`grow'");
    set_line("`grow'");
    EXPECT_EQ(ExpandMacros(), 920);
    // Twenty at one place are allowed, and the next is not.
    for (int n : {20, 21}) {
        for (int i = 1; i < n; i++) {
            SetLocal("m" + std::to_string(i), "`m" + std::to_string(i + 1) + "'");
        }
        SetLocal("m" + std::to_string(n), "end");
        set_line("`m1'");
        EXPECT_EQ(ExpandMacros(), n == 20 ? 0 : 920);
    }
}

TEST_F(MacroTest, DeepNestingIsAnErrorAndNoCrash) {
    for (char c : {'`', '$'}) {
        set_line(std::string(size_t(session.conslen) - 2, c) + "a");
        EXPECT_EQ(ExpandMacros(), 920) << c;
    }
    std::string quotes(30000, '`');
    set_line(quotes + "x" + std::string(30000, '\''));
    EXPECT_EQ(ExpandMacros(), 920);
    set_line(std::string(size_t(session.conslen) - 1, '$'));
    EXPECT_EQ(ExpandMacros(), 0);
}

TEST_F(MacroTest, TheLineMayBeFilledAndNoMore) {
    const size_t most = size_t(session.conslen) - 1;
    SetMacro("ten", "0123456789");
    const std::string fits = std::string(most - 10, ' ') + "$ten";
    set_line(fits);
    EXPECT_EQ(ExpandMacros(), 0);
    EXPECT_EQ(std::strlen(session.ConsoleBuffer), most);
    set_line(std::string(most - 9, ' ') + "$ten");
    EXPECT_EQ(ExpandMacros(), 920);
    EXPECT_STREQ(session.ConsoleBuffer, "");
}

TEST_F(MacroTest, ExpressionsAndResultsBecomeText) {
    SetResultNumber("N", 74);
    SetResultText("cmd", "summarize");
    SetSResult("cmd", "list");
    EXPECT_EQ(expanded("`=2+3' `=1e15' `=\"a b\"' [`=no such']"), "5 1000000000000000 a b []");
    EXPECT_EQ(expanded("`r(N)' `r(cmd)' `s(cmd)' [`r(none)'] [`e(b)']"), "74 summarize list [] []");
    EXPECT_EQ(expanded("`c(maxbyte)' `c(more)' [`c(nosuch)'] [`ferest()'] [`.ref'] [`gdi(x)']"),
              "100 on [] [] [] []");
    ClearResults();
    EXPECT_EQ(expanded("[`r(N)'`r(cmd)']`s(cmd)'"), "[]list");
}

TEST_F(MacroTest, IncrementsSubstituteTheNewOrTheOldValue) {
    SetLocal("i", "5");
    EXPECT_EQ(expanded("`++i' `i' `i++' `i' `--i' `i--' `i'"), "6 6 6 7 6 6 5");
    SetLocal("half", ".5");
    EXPECT_EQ(expanded("`++half'"), "1.5");
    SetLocal("word", "abc");
    set_line("`++word'");
    EXPECT_EQ(ExpandMacros(), 109);
    set_line("`none++'");
    EXPECT_EQ(ExpandMacros(), 111);
    EXPECT_STREQ(ScanRest(), "");
    SetLocal("long", std::string(40, '1'));
    set_line("`++long'");
    EXPECT_EQ(ExpandMacros(), 109);
}

TEST_F(MacroTest, PositionalArguments) {
    ASSERT_EQ(SetArguments("  one \"two words\" `\"th\"re\"e\"' opt(\"a b\")"), 0);
    EXPECT_EQ(LocalValue("0"), "one \"two words\" `\"th\"re\"e\"' opt(\"a b\")");
    EXPECT_EQ(expanded("`1'|`2'|`3'|`4'|`5'"), "one|two words|th\"re\"e|opt(\"a b\")|");
    EXPECT_EQ(expanded("`*'"), "one two words th\"re\"e opt(\"a b\")");
    ASSERT_EQ(SetArguments("x"), 0);
    EXPECT_EQ(expanded("[`1'][`2']"), "[x][]");
    EXPECT_EQ(SetArguments(std::string(size_t(session.macrolen), 'x')), 1004);
}

TEST_F(MacroTest, LinesThatOnlyScanAreLeftAlone) {
    SetMacro("x", "V");
    session.ExecuteFlag = 0;
    EXPECT_EQ(expanded("$x `y'"), "$x `y'");
}

TEST_F(MacroTest, PercentMacrosBelowVersion32) {
    SetMacro("x", "V");
    EXPECT_EQ(expanded("%x"), "%x");
    session.version = 310;
    EXPECT_EQ(expanded("%x %9.0g a`b %x-$x"), "V %9.0g ab V-V");
}

TEST_F(MacroTest, TextIsExpandedWithoutTouchingTheLine) {
    set_line("the line");
    NextToken();
    SetLocal("i", "3");
    std::string result;
    EXPECT_EQ(ExpandText("`i' < 5", &result), 0);
    EXPECT_EQ(result, "3 < 5");
    EXPECT_STREQ(session.ConsoleBuffer, "the line");
    EXPECT_TRUE(TokenIs("the"));
    SetLocal("i", "`i'");
    EXPECT_EQ(ExpandText("`i'", &result), 920);
    EXPECT_EQ(result, "");
}

TEST_F(MacroTest, NumbersAsMacroText) {
    EXPECT_EQ(MacroNumber(-123456789012345), "-123456789012345");
    EXPECT_EQ(MacroNumber(-0.0), "0");
    EXPECT_EQ(MacroNumber(0.5), ".5");
    EXPECT_EQ(MacroNumber(kSysMissing), ".");
    double x = 0;
    EXPECT_TRUE(ParseMacroNumber(" +1.5e3 ", &x));
    EXPECT_EQ(x, 1500);
    EXPECT_TRUE(ParseMacroNumber(".b", &x));
    EXPECT_EQ(x, missing_value(2));
    for (const char* bad : {"", " ", "x", "1x", "+-1", "inf", "nan", "1e999", ".B", "1 2"}) {
        EXPECT_FALSE(ParseMacroNumber(bad, &x)) << bad;
    }
}

// --- The commands ---

enum : int { kLocalWord = 1, kGlobalWord = 2, kCLocalWord = 7 };

TEST_F(MacroTest, LocalTakesTextExpressionsAndFunctions) {
    EXPECT_EQ(run(CmdLocal, kLocalWord, " x  some text  "), 0);
    EXPECT_EQ(LocalValue("x"), "some text");
    EXPECT_EQ(run(CmdLocal, kLocalWord, " x \"  in quotes \""), 0);
    EXPECT_EQ(LocalValue("x"), "  in quotes ");
    EXPECT_EQ(run(CmdLocal, kLocalWord, " x `\"say \"hi\"\"'"), 0);
    EXPECT_EQ(LocalValue("x"), "say \"hi\"");
    for (const char* open : {" x \"abc", " x \"", " x `\"abc\"", " x `\""}) {
        EXPECT_EQ(run(CmdLocal, kLocalWord, open), 198) << open;
    }
    EXPECT_EQ(LocalValue("x"), "say \"hi\"");
    EXPECT_EQ(run(CmdLocal, kLocalWord, " x = 007.50"), 0);
    EXPECT_EQ(LocalValue("x"), "7.5");
    EXPECT_EQ(run(CmdLocal, kLocalWord, " x=2*3"), 0);
    EXPECT_EQ(LocalValue("x"), "6");
    EXPECT_EQ(run(CmdLocal, kLocalWord, " x = \"text\""), 0);
    EXPECT_EQ(LocalValue("x"), "text");
    EXPECT_NE(run(CmdLocal, kLocalWord, " x = "), 0);
    EXPECT_NE(run(CmdLocal, kLocalWord, " x = 1e999999"), -1);
    EXPECT_EQ(run(CmdLocal, kLocalWord, " n : word count a b c"), 0);
    EXPECT_EQ(LocalValue("n"), "3");
    EXPECT_EQ(run(CmdLocal, kLocalWord, " n"), 0);
    EXPECT_EQ(LocalValue("n"), "");
    EXPECT_EQ(run(CmdLocal, kLocalWord, " 1 positional"), 0);
    EXPECT_EQ(LocalValue("1"), "positional");
}

TEST_F(MacroTest, MacroNamesAreChecked) {
    EXPECT_EQ(run(CmdLocal, kLocalWord, " a.b x"), 198);
    EXPECT_EQ(run(CmdLocal, kLocalWord, ""), 198);
    EXPECT_EQ(run(CmdLocal, kLocalWord, " " + std::string(31, 'n') + " x"), 0);
    EXPECT_EQ(run(CmdLocal, kLocalWord, " " + std::string(32, 'n') + " x"), 198);
    EXPECT_EQ(run(CmdLocal, kGlobalWord, " " + std::string(32, 'n') + " x"), 0);
    EXPECT_EQ(run(CmdLocal, kGlobalWord, " _x text"), 198);
    EXPECT_EQ(run(CmdLocal, kGlobalWord, " 1x text"), 198);
    EXPECT_EQ(run(CmdMacro, 0, " define _x text"), 0);
    EXPECT_EQ(LocalValue("x"), "text");
}

TEST_F(MacroTest, LocalIncrements) {
    SetLocal("i", "41");
    EXPECT_EQ(run(CmdLocal, kLocalWord, " ++i"), 0);
    EXPECT_EQ(LocalValue("i"), "42");
    EXPECT_EQ(run(CmdLocal, kLocalWord, " - - i"), 0);
    EXPECT_EQ(LocalValue("i"), "41");
    EXPECT_EQ(run(CmdLocal, kLocalWord, " ++none"), 111);
    for (const char* bad : {" +i", " +-i", " ++i 1", " ++"}) {
        EXPECT_EQ(run(CmdLocal, kLocalWord, bad), 198) << bad;
    }
    EXPECT_EQ(LocalValue("i"), "41");
}

TEST_F(MacroTest, CLocalStoresIntoTheCaller) {
    EXPECT_EQ(run(CmdLocal, kCLocalWord, " x 1"), 198);
    RaiseMacroLevel();
    EXPECT_EQ(run(CmdLocal, kCLocalWord, " x = 1"), 0);
    EXPECT_EQ(LocalValue("x"), "");
    DropMacroLevel();
    EXPECT_EQ(LocalValue("x"), "1");
}

TEST_F(MacroTest, ValuesAreCutToTheLimit) {
    const std::string longest(size_t(session.macrolen) + 5, 'x');
    EXPECT_EQ(SetMacro("g", longest), 0);
    EXPECT_EQ(MacroValue("g").size(), size_t(session.macrolen) - 1);
}

TEST_F(MacroTest, DropAndShift) {
    SetMacro("g", "1");
    SetMacro("S_ADO", "path");
    SetLocal("x", "1");
    EXPECT_EQ(run(CmdMacro, 0, " drop g _x none"), 0);
    EXPECT_EQ(MacroValue("g"), "");
    EXPECT_EQ(LocalValue("x"), "");
    SetMacro("g", "1");
    EXPECT_EQ(run(CmdMacro, 0, " drop g 2bad"), 198);
    EXPECT_EQ(MacroValue("g"), "1");
    EXPECT_EQ(run(CmdMacro, 0, " drop _all"), 0);
    EXPECT_EQ(MacroValue("g"), "");
    EXPECT_EQ(MacroValue("S_ADO"), "path");

    SetArguments("a b c d");
    EXPECT_EQ(run(CmdMacro, 0, " shift"), 0);
    EXPECT_EQ(expanded("`1'`2'`3'[`4']"), "bcd[]");
    EXPECT_EQ(run(CmdMacro, 0, " shift 2"), 0);
    EXPECT_EQ(expanded("`*'[`2']"), "d[]");
    EXPECT_EQ(run(CmdMacro, 0, " shift 0"), 0);
    EXPECT_EQ(run(CmdMacro, 0, " shift 5"), 0);
    EXPECT_EQ(expanded("[`*']"), "[]");
    EXPECT_EQ(run(CmdMacro, 0, " shift x"), 198);
    // Two steps do what two single ones do: an undefined macro ends the list.
    SetArguments("a \"\" c");
    EXPECT_EQ(run(CmdMacro, 0, " shift 2"), 0);
    EXPECT_EQ(expanded("[`1'][`2'][`3']"), "[][][c]");
    SetArguments("a b");
    EXPECT_EQ(run(CmdMacro, 0, " shift 2147483647"), 0);
    EXPECT_EQ(expanded("[`*']"), "[]");
    EXPECT_EQ(run(CmdMacro, 0, " list none"), 111);
    EXPECT_EQ(run(CmdMacro, 0, " nosuch"), 198);
}

}  // namespace

}  // namespace korva

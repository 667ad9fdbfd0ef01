#include "core/scanner.h"

#include <string>
#include <vector>

#include "unit/core/engine_fixture.h"

namespace korva {

namespace {

class ScannerTest : public EngineTest {
protected:
    static std::vector<std::string> tokens(std::string_view text,
                                           const SeparatorSet& separators = GeneralSeparators) {
        set_line(text);
        std::vector<std::string> list;
        for (NextToken(separators); !TokenIsEmpty(); NextToken(separators)) {
            list.emplace_back(scanner.TokenBuffer);
        }
        return list;
    }
};

using List = std::vector<std::string>;

TEST_F(ScannerTest, SeparatorsSplitWithoutBlanks) {
    EXPECT_EQ(tokens("gen x=a-b*(2)"), (List{"gen", "x", "=", "a", "-", "b", "*", "(", "2", ")"}));
    EXPECT_EQ(tokens("a.b_c  12.5"), (List{"a.b_c", "12.5"}));
}

TEST_F(ScannerTest, OnlySignsBeforeEqualsMakePairs) {
    EXPECT_EQ(tokens(">= == <> ~=!=<"), (List{">=", "==", "<", ">", "~=", "!=", "<"}));
    EXPECT_EQ(tokens("+=&="), (List{"+", "=", "&", "="}));
}

TEST_F(ScannerTest, SeparatorSetsDiffer) {
    EXPECT_EQ(tokens("a-b+1", OptionSeparators), (List{"a-b+1"}));
    EXPECT_EQ(tokens("/dir/x.dta,a", FileSeparators), (List{"/dir/x.dta", ",", "a"}));
    EXPECT_EQ(tokens("a~b", ExpressionSeparators), (List{"a~b"}));
}

TEST_F(ScannerTest, StringsBeginWithAQuoteAndLoseTheirEnd) {
    EXPECT_EQ(tokens("\"a b\"c"), (List{"\"a b", "c"}));
    EXPECT_EQ(tokens("\"open"), (List{"\"open"}));
    EXPECT_EQ(tokens("\"\" x"), (List{"\"", "x"}));
}

TEST_F(ScannerTest, CompoundStringsNest) {
    EXPECT_EQ(tokens("`\"a \"b\" c\"'d"), (List{"\"a \"b\" c", "d"}));
    EXPECT_EQ(tokens("`\"x `\"in\"' y\"'"), (List{"\"x `\"in\"' y"}));
    EXPECT_EQ(tokens("`\"open `\"in\"'"), (List{"\"open `\"in\"'"}));
    // A lone backquote is a separator like any other.
    EXPECT_EQ(tokens("`a'"), (List{"`", "a", "'"}));
}

TEST_F(ScannerTest, LongTokensStopAtTheBufferAndGoOn) {
    const std::string word(1200, 'x');
    EXPECT_EQ(tokens(word),
              (List{std::string(503, 'x'), std::string(503, 'x'), std::string(194, 'x')}));
    const List strings = tokens("`\"" + word + "\"'");
    ASSERT_FALSE(strings.empty());
    EXPECT_EQ(strings[0], "\"" + std::string(502, 'x'));
}

TEST_F(ScannerTest, APushedBackTokenComesAgain) {
    set_line("a,b");
    NextToken();
    PushBackToken();
    EXPECT_STREQ(NextToken(), "a");
    EXPECT_STREQ(NextToken(), ",");
    PushBackToken();
    EXPECT_STREQ(ScanRest(), ",b");
    EXPECT_EQ(PeekChar(), ',');
    // Taken again with other separators, it may be longer.
    set_line("a-b");
    NextToken();
    PushBackToken();
    EXPECT_STREQ(NextToken(OptionSeparators), "a-b");
}

TEST_F(ScannerTest, AReplacedTokenCanBePutBackTwice) {
    set_line("word rest");
    NextToken();
    std::strcpy(scanner.TokenBuffer, "other");
    scanner.TokenPushedBack = 1;
    EXPECT_EQ(PeekChar(), 'o');
    EXPECT_STREQ(NextToken(), "other");
    PushBackToken();
    EXPECT_STREQ(NextToken(), "other");
    EXPECT_STREQ(NextToken(), "rest");
}

TEST_F(ScannerTest, TheEndStaysTheEnd) {
    set_line("  ");
    EXPECT_STREQ(NextToken(), "");
    EXPECT_STREQ(NextToken(), "");
    PushBackToken();
    EXPECT_STREQ(NextToken(), "");
    EXPECT_EQ(ExpectEnd(0), 0);
}

TEST_F(ScannerTest, ExpectEndTakesOneCharacterOnly) {
    set_line(") x");
    EXPECT_EQ(ExpectEnd(')'), 0);
    EXPECT_EQ(ExpectEnd(0), 198);
    set_line("== ");
    EXPECT_EQ(ExpectEnd('='), 198);
    session.BreakFlag = 1;
    set_line("");
    EXPECT_EQ(ExpectEnd(0), kBreak);
}

TEST_F(ScannerTest, FileNamesKeepTheirPathAndLoseTheirQuotes) {
    char name[kMaxFileNameBytes + 1];
    set_line("a/b:c-d.dta, clear");
    EXPECT_EQ(ParseFileName(name), 0);
    EXPECT_STREQ(name, "a/b:c-d.dta");
    EXPECT_EQ(PeekChar(), ',');
    EXPECT_EQ(ParseFileName(name), 198);
    set_line("\"my file.dta\"");
    EXPECT_EQ(ParseFileName(name), 0);
    EXPECT_STREQ(name, "my file.dta");
    for (const char* text : {"", "\"\"", ") x", ",x"}) {
        set_line(text);
        EXPECT_EQ(ParseFileName(name), 198) << text;
    }
    set_line("\", x\"");  // a quoted comma is a name
    EXPECT_EQ(ParseFileName(name), 0);
    set_line(std::string(500, 'a'));
    EXPECT_EQ(ParseFileName(name), 198);
}

TEST_F(ScannerTest, AGuardRestoresTokenAndPlace) {
    set_line("one two");
    NextToken();
    {
        ScannerGuard guard;
        char other[] = "three";
        SetScanPointer(other);
        NextToken();
    }
    EXPECT_TRUE(TokenIs("one"));
    EXPECT_STREQ(NextToken(), "two");
}

}  // namespace

}  // namespace korva

// Expressions: how they are compiled, what they give, and that blocks and single runs agree.
#include "data/expression.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "core/commands.h"
#include "core/missing.h"
#include "core/poll.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/startup.h"
#include "core/store.h"
#include "core/stored_results.h"
#include "core/upcalls.h"
#include "data/by.h"
#include "data/cells.h"
#include "data/expression_machine.h"
#include "data/expression_single.h"
#include "data/function_table.h"
#include "data/random.h"
#include "data/row_loop.h"
#include "data/skeleton.h"
#include "frontend/frontend.h"

namespace korva {
namespace {

constexpr int kRows = 600;  // two whole blocks and a part of one

uint64_t bits(double x) {
    return std::bit_cast<uint64_t>(x);
}

class Expression : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(StartEngineTables(2048, 4 << 20));
        settings = SettingsState{};
        by_state = ByState{};
        session.version = kCurrentVersion;
        session.BreakFlag = 0;
        session.OutputThreshold = kThresholdCapture;
        ForgetExpressions();
        ASSERT_EQ(addvar("x", kDouble), 0);
        ASSERT_EQ(addvar("i", kInt), 0);
        ASSERT_EQ(addvar("f", kFloat), 0);
        ASSERT_EQ(addvar("s", 8), 0);
        ASSERT_EQ(addvar("wide", kByte), 0);
        ASSERT_EQ(addvar("width", kByte), 0);
        ASSERT_EQ(extend_observations(kRows), 0);
        for (int obs = 1; obs <= kRows; obs++) {
            put(1, obs, obs % 7 == 0 ? missing_value(obs % 27) : obs / 8.0 - 20);
            put(2, obs, obs % 11 == 0 ? kSysMissing : obs - 300);
            put(3, obs, 1.0 / obs);
            putstr(4, obs, std::string(size_t(obs % 9), char('a' + obs % 26)));
            put(5, obs, obs % 100);
            put(6, obs, 2);
        }
        ResetSkeleton();
    }
    void TearDown() override {
        by_state = ByState{};
        session.version = kCurrentVersion;
        session.OutputThreshold = kThresholdNormal;
        session.BreakFlag = 0;
        EndEngineTables();
        StoreClear();
    }

    double number(const std::string& text) {
        ExpressionValue value;
        const ReturnCode rc = EvaluateText(text, ExpressionMode::Either, &value);
        EXPECT_EQ(rc, 0) << text;
        EXPECT_FALSE(value.is_string) << text;
        return rc ? -12345 : value.number;
    }
    std::string string(const std::string& text) {
        ExpressionValue value;
        EXPECT_EQ(EvaluateText(text, ExpressionMode::String, &value), 0) << text;
        return value.text;
    }
    ReturnCode code(const std::string& text) {
        ExpressionValue value;
        return EvaluateText(text, ExpressionMode::Either, &value);
    }
    std::string program(const std::string& text, ExpressionMode mode = ExpressionMode::Either) {
        ForgetExpressions();
        EXPECT_EQ(compile(text, &main_expression, mode), 0) << text;
        std::string words;
        for (int k = 0; k <= main_expression.last_code; k++) {
            words += std::to_string(main_expression.code[k]) + " ";
        }
        return words;
    }
    // Runs a command's line without its first word.
    ReturnCode run(ReturnCode (*command)(int), const std::string& arguments) {
        line = arguments;
        SetScanPointer(line.data());
        ResetSkeleton();
        return command(0);
    }

    std::string line;
};

// Left half, right half, operator: 21 is a constant with its place in the pool.
TEST_F(Expression, PlusIsLooserThanMinusAndTimesThanOver) {
    EXPECT_EQ(program("1+2-3"), "21 0 21 1 21 2 10 9 ");
    EXPECT_EQ(program("1-2+3"), "21 0 21 1 10 21 2 9 ");
    EXPECT_EQ(program("1*2/3"), "21 0 21 1 21 2 13 11 ");
    EXPECT_EQ(program("1-2-3"), "21 0 21 1 10 21 2 10 ");
    EXPECT_EQ(program("1|2&3==4"), "21 0 21 1 21 2 21 3 3 2 1 ");
    EXPECT_EQ(program("1<2>3"), "21 0 21 1 21 2 8 7 ");    // > binds tighter than <
    EXPECT_EQ(program("1~=2!=3"), "21 0 21 1 4 21 2 4 ");  // ~= tighter than !=
    EXPECT_EQ(program("1!=2~=3"), "21 0 21 1 21 2 4 4 ");
    EXPECT_EQ(program("((1+2))*3"), "21 0 21 1 9 21 2 11 ");
    EXPECT_EQ(program("7 + 1"), "21 0 21 1 9 ");
    EXPECT_EQ(program("1+1"), "21 0 21 0 9 ");  // one constant, twice
    EXPECT_EQ(number("3==3==3"), 0);            // from the left: 1 == 3
    EXPECT_EQ(number("1==1==1"), 1);
}

TEST_F(Expression, SignsAreToldFromOperators) {
    EXPECT_EQ(number("-2^2"), -4);
    EXPECT_EQ(number("2^-1"), 0.5);
    EXPECT_EQ(number("2^-1^2"), 0.25);  // (2^-1)^2
    EXPECT_EQ(number("2^3^2"), 64);
    EXPECT_EQ(number("3--2"), 5);
    EXPECT_EQ(number("2*-3+1"), -5);
    EXPECT_EQ(number("4/-2"), -2);
    EXPECT_EQ(number("--2"), 2);
    EXPECT_EQ(number("-!0"), -1);
    EXPECT_EQ(number("!3==0"), 1);  // (!3) == 0
    EXPECT_EQ(number("+5"), 5);
    EXPECT_EQ(code("1++2"), 198);
    session.version = 400;
    EXPECT_EQ(number("-2^2"), 4);
    EXPECT_EQ(number("!2^2"), 0);
    EXPECT_EQ(number("2^-1"), 0.5);
}

TEST_F(Expression, LiteralsOfEveryForm) {
    EXPECT_EQ(number("1e-3-1d-3"), 0);
    EXPECT_EQ(number("1.5E2"), 150);
    EXPECT_EQ(number(".5"), 0.5);
    EXPECT_EQ(number("0.1"), 0.1);
    EXPECT_EQ(number("123456789012345"), 123456789012345);
    EXPECT_EQ(number("12345678901234567890"), 12345678901234567890.0);
    EXPECT_EQ(number("0.000123456789012345"), 0.000123456789012345);
    EXPECT_EQ(number("1.8x+0"), 1.5);
    EXPECT_EQ(number("1.0X-2"), 0.25);
    EXPECT_EQ(number("1.0x+7f"), 0x1p127);
    EXPECT_EQ(bits(number("1.01ax+3ff")), bits(missing_value(26)));
    EXPECT_EQ(bits(number("1.0x+3ff")), bits(kSysMissing));
    EXPECT_EQ(bits(number(".")), bits(kSysMissing));
    EXPECT_EQ(bits(number(".z")), bits(missing_value(26)));
    EXPECT_EQ(number("1e400"), kSysMissing);
    EXPECT_EQ(number("1.2345678901234567890123"), 1.2345678901234567890123);  // 24 bytes
    EXPECT_EQ(code("1.23456789012345678901234"), 198);                        // 25
    EXPECT_EQ(code("1e"), 198);
    EXPECT_EQ(code("1e+"), 198);
    EXPECT_EQ(code("1.5x"), 198);
}

TEST_F(Expression, MissingValuesByVersion) {
    EXPECT_EQ(number(". == .a"), 0);
    EXPECT_EQ(number(".a < .b"), 1);
    EXPECT_EQ(number(". > 1e300"), 1);
    EXPECT_EQ(number("5/0"), kSysMissing);
    EXPECT_EQ(bits(number(".a+1")), bits(kSysMissing));
    EXPECT_EQ(bits(number("-.a")), bits(kSysMissing));
    EXPECT_EQ(number("!."), 0);
    EXPECT_EQ(number(".|0"), 1);
    EXPECT_EQ(number("0&."), 0);
    EXPECT_EQ(bits(number("floor(.c)")), bits(missing_value(3)));
    EXPECT_EQ(bits(number("trunc(.c)")), bits(kSysMissing));
    EXPECT_EQ(bits(number("float(.q)")), bits(missing_value(17)));
    session.version = 700;
    EXPECT_EQ(number(". == .a"), 1);
    EXPECT_EQ(number("inlist(.z, 1, .)"), 1);
}

TEST_F(Expression, OverflowMakesTheWholeValueMissing) {
    EXPECT_EQ(number("1e307*1e307"), kSysMissing);
    EXPECT_EQ(number("(1e307*1e307) > 1"), kSysMissing);
    EXPECT_EQ(number("cond(1, 2, 1e307*1e307)"), kSysMissing);
    EXPECT_EQ(number("6e307+6e307 > 0"), kSysMissing);  // beyond 2^1023, though finite
    EXPECT_EQ(number("exp(1000) > 1"), 1);              // the library gives . and raises nothing
    EXPECT_EQ(number("10^400 == ."), 1);
    EXPECT_EQ(number("(-8)^(1/3)"), kSysMissing);
    EXPECT_EQ(number("(-8)^3"), -512);
}

// Values by hand or from tables of the functions.
TEST_F(Expression, FunctionsOfNumbers) {
    EXPECT_EQ(number("mod(-1,3)"), 2);
    EXPECT_EQ(number("mod(5,0)"), kSysMissing);
    EXPECT_EQ(number("mod(7.5,2)"), 1.5);
    EXPECT_EQ(number("round(2.5)"), 3);
    EXPECT_EQ(number("round(-2.5)"), -2);  // floor(-2)
    EXPECT_EQ(number("round(17,5)"), 15);
    EXPECT_EQ(number("round(1.7,0)"), 1.7);
    EXPECT_EQ(bits(number("round(.b,2)")), bits(missing_value(2)));
    EXPECT_EQ(number("round(1,.b)"), kSysMissing);
    EXPECT_EQ(number("max(.,3,-1,.a)"), 3);
    EXPECT_EQ(number("min(.,3,-1,.a)"), -1);
    EXPECT_EQ(bits(number("max(.a,.b)")), bits(kSysMissing));
    EXPECT_EQ(number("cond(0,1,2)"), 2);
    EXPECT_EQ(number("cond(.,1,2)"), 1);
    EXPECT_EQ(number("cond(.,1,2,3)"), 3);
    EXPECT_EQ(string("cond(2>1,\"yes\",\"no\")"), "yes");
    EXPECT_EQ(string("cond(.,\"a\",\"b\",\"c\"+\"d\") + \"!\""), "cd!");
    EXPECT_EQ(number("recode(5,3,5,9)"), 5);
    EXPECT_EQ(number("recode(10,3,5,9)"), 9);
    EXPECT_EQ(bits(number("recode(.b,3,5,9)")), bits(missing_value(2)));
    EXPECT_EQ(number("recode(1,9,5)"), kSysMissing);
    EXPECT_EQ(number("irecode(5,3,5,9)"), 1);
    EXPECT_EQ(number("irecode(.,3,5)"), kSysMissing);
    EXPECT_EQ(number("autocode(0,4,0,8)"), 2);
    EXPECT_EQ(number("autocode(5,4,0,8)"), 6);
    EXPECT_EQ(number("autocode(99,4,0,8)"), 8);
    EXPECT_EQ(number("autocode(5,1000,0,8)"), kSysMissing);
    EXPECT_EQ(number("clip(5,1,3)"), 3);
    EXPECT_EQ(number("chop(2.001,.01)"), 2);
    EXPECT_EQ(number("chop(2.1,.01)"), 2.1);
    EXPECT_EQ(number("reldif(3,1)"), 1);
    EXPECT_EQ(number("inrange(2,1,.)"), 1);
    EXPECT_EQ(number("inrange(.,1,.)"), 0);
    EXPECT_EQ(number("inlist(3,1,2,3)"), 1);
    EXPECT_EQ(number("missing(1,\"\")"), 1);
    EXPECT_EQ(number("missing(1,\"a\",2)"), 0);
    EXPECT_EQ(number("missing(.c)"), 1);
    EXPECT_EQ(number("int(-1.9)"), -1);
    EXPECT_EQ(number("sign(-3)"), -1);
    EXPECT_EQ(number("float(0.1)"), double(0.1f));
    EXPECT_DOUBLE_EQ(number("log10(1000)"), 3);
    EXPECT_EQ(number("ln(0)"), kSysMissing);
    EXPECT_EQ(number("sqrt(-1)"), kSysMissing);
    EXPECT_EQ(number("asin(2)"), kSysMissing);
    EXPECT_DOUBLE_EQ(number("atan2(1,-1)"), 3 * M_PI / 4);
    EXPECT_EQ(number("lnfactorial(2.5)"), kSysMissing);
    EXPECT_DOUBLE_EQ(number("lnfactorial(5)"), std::log(120.0));
    EXPECT_DOUBLE_EQ(number("lngamma(0.5)"), std::log(std::sqrt(M_PI)));
    EXPECT_EQ(number("lngamma(0)"), kSysMissing);
    EXPECT_EQ(number("normal(0)"), 0.5);
    EXPECT_NEAR(number("normal(1.959963984540054)"), 0.975, 1e-15);
    EXPECT_NEAR(number("normal(-38)"), 2.8854e-316, 1e-319);
    EXPECT_EQ(number("logit(1)"), kSysMissing);
    EXPECT_EQ(number("invlogit(0)"), 0.5);
    EXPECT_EQ(number("invlogit(800)"), 1);
    EXPECT_DOUBLE_EQ(number("cloglog(invcloglog(-2))"), -2);
    EXPECT_EQ(number("maxbyte()+minint()"), 100 - 32767);
    EXPECT_EQ(number("maxdouble()"), kMaxDouble);
    EXPECT_EQ(number("_pi"), M_PI);
}

TEST_F(Expression, FunctionsOfStrings) {
    EXPECT_EQ(string("\"ab\"+\"cd\""), "abcd");
    EXPECT_EQ(string("`\"a \"b\" c\"'"), "a \"b\" c");
    EXPECT_EQ(string("substr(\"abcdef\",2,3)"), "bcd");
    EXPECT_EQ(string("substr(\"abcdef\",-2,.)"), "ef");
    EXPECT_EQ(string("substr(\"abcdef\",0,2)"), "");
    EXPECT_EQ(string("substr(\"abcdef\",5,9)"), "ef");
    EXPECT_EQ(string("word(\" one two  three\",-1)"), "three");
    EXPECT_EQ(string("word(\"one\",2)"), "");
    EXPECT_EQ(number("wordcount(\" one two  three \")"), 3);
    EXPECT_EQ(string("trim(\"  a b \")+\"|\""), "a b|");
    EXPECT_EQ(number("strmatch(\"(e)\",\"(*)\")"), 1);  // only a variable of that name is hidden
    EXPECT_EQ(string("itrim(\" a   b \")"), " a b ");
    EXPECT_EQ(string("proper(\"hELLO mr o'neil\")"), "Hello Mr O'Neil");
    EXPECT_EQ(string("upper(reverse(\"abc\"))"), "CBA");
    EXPECT_EQ(string("subinstr(\"aXbXc\",\"X\",\"--\",1)"), "a--bXc");
    EXPECT_EQ(string("subinstr(\"aXbXc\",\"X\",\"\",.)"), "abc");
    EXPECT_EQ(string("subinword(\"is this is\",\"is\",\"X\",.)"), "X this X");
    EXPECT_EQ(string("abbrev(\"displacement\",8)"), "displa~t");
    EXPECT_EQ(string("plural(2,\"cat\")"), "cats");
    EXPECT_EQ(string("plural(1,\"cat\")"), "cat");
    EXPECT_EQ(string("plural(2,\"fly\",\"flies\")"), "flies");
    EXPECT_EQ(string("plural(2,\"fish\",\"+es\")"), "fishes");
    EXPECT_EQ(string("plural(2,\"glass\",\"-s\")"), "glas");
    EXPECT_EQ(string("char(65)+char(0)+char(300)"), "A");
    EXPECT_EQ(number("strpos(\"abcabc\",\"ca\")"), 3);
    EXPECT_EQ(number("strpos(\"abc\",\"\")"), 0);
    EXPECT_EQ(number("indexnot(\"abc1\",\"abc\")"), 4);
    EXPECT_EQ(number("strmatch(\"abcde\",\"a*d?\")"), 1);
    EXPECT_EQ(number("length(\"\")"), 0);
    EXPECT_EQ(number("real(\" -1.5e2 \")"), -150);
    EXPECT_EQ(number("real(\"1x\")"), kSysMissing);
    EXPECT_EQ(number("\"b\">\"a\""), 1);
    EXPECT_EQ(number("\"\xe9\">\"z\""), 1);  // bytes are unsigned
    EXPECT_EQ(number("inrange(\"b\",\"a\",\"c\")"), 1);
    EXPECT_EQ(number("inlist(\"b\",\"a\",\"c\")"), 0);
    EXPECT_EQ(string("string(123456)"), "123456");
    EXPECT_EQ(string("string(-7)"), "-7");
    EXPECT_EQ(string("string(.a)"), ".a");
    EXPECT_EQ(string("string(.5)"), ".5");
    EXPECT_EQ(string("string(1,\"%8s\")"), "");
    const std::string long_text(200, 'y');
    EXPECT_EQ(string("\"" + long_text + "\"+\"" + long_text + "\""), std::string(244, 'y'));
}

TEST_F(Expression, NamesAndSubscripts) {
    EXPECT_EQ(number("_cons"), 1);
    EXPECT_EQ(number("wide[3]"), 3);
    EXPECT_EQ(code("wid"), 111);  // two variables
    EXPECT_EQ(number("wi~e[3]"), 3);
    EXPECT_EQ(number("wide~==wide"), 1);  // the == is found first, so the name is wide~
    EXPECT_EQ(code("L.x"), 111);
    EXPECT_EQ(code("_b[x]"), 111);
    SetResultNumber("total", 42);
    SetResultText("word", "text");
    EXPECT_EQ(number("r(total)+1"), 43);
    EXPECT_EQ(string("r(word)"), "text");
    EXPECT_EQ(number("r(nothing)"), kSysMissing);
    EXPECT_EQ(number("e(sample)"), 0);
    EXPECT_EQ(number("c(N)"), kRows);
    EXPECT_EQ(code("c(nothing_such)"), 133);
    const double value = 2.5;
    StorePut("sc", kKindScalar, &value, sizeof value);
    EXPECT_EQ(number("sc*2"), 5);
    EXPECT_EQ(number("scalar(sc)"), 2.5);
}

TEST_F(Expression, WithoutObservationsThereAreNoValues) {
    dataset.nobs = 0;
    EXPECT_EQ(number("x"), kSysMissing);
    EXPECT_EQ(number("x[1]"), kSysMissing);
    EXPECT_EQ(string("s"), "");
    EXPECT_EQ(number("_N"), 0);
}

TEST_F(Expression, FaultsHaveTheirCodes) {
    for (const char* text : {"", "1+", "*2", "1 2", "(1,2)", "abs()", "abs(1,2)", "max(1)", "1==",
                             "a{b", "x[1][2]", "!", "()", "cond(1,2)", "1=2", "round(1,2,3)"}) {
        EXPECT_EQ(code(text), 198) << text;
    }
    for (const char* text : {"s+1", "-s", "s*s", "\"a\"|\"b\"", "abs(s)", "length(1)",
                             "cond(s,1,2)", "cond(1,1,s)", "inlist(1,s)"}) {
        EXPECT_EQ(code(text), 109) << text;
    }
    EXPECT_EQ(code("(1"), 132);
    EXPECT_EQ(code("1)"), 132);
    EXPECT_EQ(code("(1]"), 132);
    EXPECT_EQ(code("\"abc"), 132);
    EXPECT_EQ(code("`\"abc\""), 132);
    EXPECT_EQ(code("nofunction(1)"), 133);
    EXPECT_EQ(code("replay()"), 199);
    EXPECT_EQ(code("invchi(1,2)"), 133);  // gone since version 6
    EXPECT_EQ(code("I(3)"), 509);
    EXPECT_EQ(code("x#x"), 509);
    EXPECT_EQ(code("missing(missing(1))"), 198);
    for (const char* text : {"_b[x]", "_coef[_cons]", "_se[x]", "[eq]_b[x]", "[eq]_se[x]"}) {
        EXPECT_EQ(code(text), 111) << text;  // there are no estimates
    }
    for (const char* text : {"_b[]", "[]_b[x]", "[eq]x[1]", "[eq]", "[eq]_b"}) {
        EXPECT_EQ(code(text), 198) << text;
    }
    EXPECT_EQ(number("missing(1)+missing(.)"), 1);
}

// Matrix mode, by hand: 112 and 51 have the name's place in the text pool, 119 makes a number a
// matrix, 118 and 117 add and subtract, 120 and 121 are * and /.
TEST_F(Expression, MatrixModeCompilesWhole) {
    StorePut("A", kKindMatrix, "", 0);
    StorePut("B", kKindMatrix, "", 0);
    const auto codes = [this](const char* text) {
        const std::string words = program(text, ExpressionMode::NumberOrMatrix);
        EXPECT_EQ(main_expression.has_matrices, 1) << text;
        EXPECT_EQ(main_expression.order_free | main_expression.thread_safe, 0) << text;
        return words;
    };
    EXPECT_EQ(codes("A+B"), "112 0 112 2 118 ");
    EXPECT_EQ(codes("A-2"), "112 0 21 0 119 117 ");
    EXPECT_EQ(codes("(1+2)*A"), "21 0 21 1 9 119 112 0 120 ");  // the left one becomes one first
    EXPECT_EQ(codes("A/2-B'"), "112 0 21 0 119 121 112 2 123 117 ");
    EXPECT_EQ(codes("-A'#B"), "112 0 123 116 112 2 126 ");
    EXPECT_EQ(codes("(1,2\\3,4)"), "21 0 119 21 1 119 124 21 2 119 21 3 119 124 125 ");
    EXPECT_EQ(codes("(A\\B)"), "112 0 112 2 125 ");
    EXPECT_EQ(codes("syminv(A)*trace(B)"), "112 0 127 112 2 44 119 120 ");
    EXPECT_EQ(codes("J(2,3,0)"), "21 0 21 1 21 2 114 ");
    EXPECT_EQ(codes("A[1,2]+1"), "21 0 21 1 51 0 21 1 9 ");
    EXPECT_EQ(codes("A[\"r\",1]"), "21 0 35 0 51 2 ");
    const auto fault = [](const char* text, ExpressionMode mode) {
        return compile(text, &main_expression, mode);
    };
    const auto mode = ExpressionMode::NumberOrMatrix;
    for (const char* text : {"A==B", "A^2", "!A", "A+s", "1'", "diag(3)"}) {
        EXPECT_EQ(fault(text, mode), 109) << text;
    }
    EXPECT_EQ(fault("1,2", mode), 198);  // joined only inside parentheses
    EXPECT_EQ(fault("A[1]", mode), 198);
    EXPECT_EQ(fault("A'A", mode), 198);
    EXPECT_EQ(fault("1+2", ExpressionMode::Matrix), 109);
    EXPECT_EQ(fault("A+B", ExpressionMode::Either), 509);
    std::string deep = "A";
    for (int i = 0; i < 21; i++) deep += "+(A";
    EXPECT_EQ(fault((deep + std::string(21, ')')).c_str(), mode), 130);  // 20 at a time
    ExpressionValue value;
    EXPECT_EQ(EvaluateText("A+B", mode, &value), 199);
}

TEST_F(Expression, LimitsEndInACode) {
    EXPECT_EQ(number("sum(1)+sum(2)+sum(3)+sum(4)+sum(5)"), 15);
    EXPECT_EQ(code("sum(1)+sum(2)+sum(3)+sum(4)+sum(5)+sum(6)"), 130);
    std::string many = "0";
    for (int k = 1; k <= 300; k++) many += "+" + std::to_string(k);
    EXPECT_EQ(code(many), 130);  // 301 different constants
    EXPECT_EQ(code("\"" + std::string(244, 'a') + "\"+\"" + std::string(244, 'b') + "\"+\"" +
                   std::string(244, 'c') + "\""),
              130);  // 735 bytes of text
    std::string texts = "\"a\"", right = "1";
    for (int k = 0; k < 10; k++) texts = "\"a\"+(" + texts + ")";
    EXPECT_EQ(code(texts), 130);  // 11 strings wait at once
    for (int k = 0; k < 250; k++) right = "1+(" + right + ")";
    EXPECT_EQ(code(right), 130);  // 251 numbers wait at once
    std::string list = "1";
    for (int k = 0; k < 248; k++) list += ",2";
    EXPECT_EQ(number("max(" + list + ",9)"), 9);  // as many as the stack holds
    EXPECT_EQ(number("inlist(9," + list + ")"), 0);
    EXPECT_EQ(code("max(" + list + ",9,9)"), 130);
    const std::string open(80000, '('), close(80000, ')');
    EXPECT_EQ(number(open + "7" + close), 7);
    EXPECT_EQ(code(open), 132);
    std::string nested(80000, '-'), chain = "1", deep;
    EXPECT_EQ(code(nested + "1"), 130);
    for (int k = 0; k < 80000; k++) chain += "+1";
    EXPECT_EQ(code(chain), 130);
    for (int k = 0; k < 40000; k++) deep += "(1+";
    EXPECT_EQ(code(deep + "1" + std::string(40000, ')')), 130);
    deep.clear();
    for (int k = 0; k < 40000; k++) deep += "abs(";
    EXPECT_EQ(code(deep + "1" + std::string(40000, ')')), 130);
    std::string left(1000, '(');
    left += "1";
    for (int k = 0; k < 1000; k++) left += "-1)";
    EXPECT_EQ(code(left), 130);  // 2001 constants and 1000 operators are more than 2400 words
    EXPECT_EQ(expression_pools.n_numbers, 0);  // nothing is left behind
}

// An expression ends where the line goes on.
TEST_F(Expression, CollectingStopsAtTheEnd) {
    const auto collected = [&](const std::string& text) {
        line = text;
        SetScanPointer(line.data());
        std::string expression;
        EXPECT_EQ(collect_expression(&expression, false), 0) << text;
        return expression + "|" + ScanRest();
    };
    EXPECT_EQ(collected("x + 1 if y > 2"), "x+1|if y > 2");
    EXPECT_EQ(collected(" f(a, b) , option"), "f(a,b)|, option");
    EXPECT_EQ(collected("a == b {"), "a==b|{");
    EXPECT_EQ(collected("a = b"), "a|= b");
    EXPECT_EQ(collected("\"a b\" \"c\""), "\"a b\"|\"c\"");
    EXPECT_EQ(collected("`\"a \"b\" c\"' + s in 1"), "`\"a \"b\" c\"'+s|in 1");
    EXPECT_EQ(collected("2 -1"), "2-1|");
}

TEST_F(Expression, ParallelFlags) {
    program("sqrt(x)+i");
    EXPECT_TRUE(main_expression.order_free && main_expression.thread_safe);
    program("x[_n-1]");
    EXPECT_FALSE(main_expression.order_free);
    EXPECT_TRUE(main_expression.thread_safe);
    program("sum(x)");
    EXPECT_FALSE(main_expression.order_free);
    EXPECT_EQ(main_expression.last_sum, 0);
}

// --- Random programs ---

struct Grammar {
    std::mt19937 random;
    int sums = 0;

    int pick(int n) { return int(random() % unsigned(n)); }

    std::string numeric(int depth) {
        static const char* const kLeaves[] = {
            "x", "i",     "f",       "wide",    "_n",   "_N",   "1.5",     "-2",    ".b",
            "0", "1e200", "x[_n-1]", "x[_n+3]", "i[i]", "x[3]", "x[_n-4]", "i[_n]", "wide[_n-2]"};
        if (depth <= 0) return kLeaves[pick(int(std::size(kLeaves)))];
        static const char* const kBinary[] = {"+",  "-",  "*",  "/", "^", "<",
                                              ">=", "==", "!=", "|", "&"};
        static const char* const kUnary[] = {"abs",      "sqrt",  "ln",     "exp",
                                             "floor",    "trunc", "normal", "sin",
                                             "invlogit", "round", "sign",   "float"};
        const std::string a = numeric(depth - 1);
        const std::string b = numeric(depth - 1);
        switch (pick(12)) {
        case 0: return std::string(kUnary[pick(int(std::size(kUnary)))]) + "(" + a + ")";
        case 1: return "cond(" + a + "," + b + "," + numeric(depth - 1) + ")";
        case 2: return (pick(2) ? "max(" : "min(") + a + "," + b + ",i)";
        case 3: return "mod(" + a + "," + b + ")";
        case 4: return "length(" + textual(depth - 1) + ")";
        case 5: return "(" + textual(depth - 1) + "<" + textual(depth - 1) + ")";
        case 6: return sums++ < kMaxSums ? "sum(" + a + ")" : a;
        case 7: return "inlist(" + a + "," + b + ",1,.)";
        case 8: return "!(" + a + ")";
        default: return "(" + a + ")" + kBinary[pick(int(std::size(kBinary)))] + "(" + b + ")";
        }
    }

    std::string textual(int depth) {
        if (depth <= 0) {
            static const char* const kTexts[] = {"s",       "s",       "s[_n-1]",
                                                 "s[_n-3]", "s[_n+1]", "\"lit\""};
            return kTexts[pick(int(std::size(kTexts)))];
        }
        const std::string a = textual(depth - 1);
        switch (pick(6)) {
        case 0: return "upper(" + a + ")";
        case 1: return "substr(" + a + ",2,i)";
        case 2: return "(" + a + "+" + textual(depth - 1) + ")";
        case 3: return "string(" + numeric(depth - 1) + ")";
        case 4: return "cond(i>0," + a + "," + textual(depth - 1) + ")";
        default: return "subinstr(" + a + ",\"c\",\"dd\",.)";
        }
    }
};

// One at a time, in order: what every other way must equal.
std::vector<uint64_t> run_singly(ExpressionRecord* record, const std::vector<int>& observations) {
    std::vector<uint64_t> values;
    for (int obs : observations) values.push_back(bits(eval(record, obs)));
    return values;
}

TEST_F(Expression, BlocksAndSingleRunsAgree) {
    by_state.active = true;  // a group that begins and ends inside blocks
    by_state.group_first = 20;
    by_state.group_last = 570;
    int compiled = 0, decoded = 0;
    for (unsigned seed = 1; seed <= 1500; seed++) {
        Grammar grammar{std::mt19937(seed)};
        const std::string text = grammar.numeric(1 + int(seed % 4));
        reset_expression_pools();
        if (compile(text, &main_expression, ExpressionMode::Number)) continue;
        compiled++;
        std::vector<int> all, some;
        std::vector<uint64_t> blocks, masked;
        for (int obs = 20; obs <= 570; obs++) {
            all.push_back(obs);
            if (obs == 20 || (unsigned(obs) * seed) % 3 == 0) some.push_back(obs);
        }
        for (int obs = 20; obs <= 570; obs += kBlockObs) {
            const int n = std::min(kBlockObs, 570 - obs + 1);
            double out[kBlockObs];
            eval_block(&main_expression, obs, n, out);
            for (int k = 0; k < n; k++) blocks.push_back(bits(out[k]));
        }
        set_run_range(&main_expression, true);
        for (int obs = 20; obs <= 570; obs += kBlockObs) {
            const int n = std::min(kBlockObs, 570 - obs + 1);
            uint16_t index[kBlockObs];
            int lanes = 0;
            for (int place = 0; place < n; place++) {
                const int o = obs + place;
                if (o == 20 || (unsigned(o) * seed) % 3 == 0) index[lanes++] = uint16_t(place);
            }
            double out[kBlockObs];
            if (lanes == 0) continue;
            run_block(&engine_machine, &main_expression, obs, n, index, lanes);
            block_numbers(&engine_machine, out);
            for (int k = 0; k < lanes; k++) masked.push_back(bits(out[k]));
        }
        ASSERT_EQ(blocks, run_singly(&main_expression, all)) << text;
        ASSERT_EQ(masked, run_singly(&main_expression, some)) << text;
        SingleProgram single;
        if (!decode_single(&main_expression, &single)) continue;
        decoded++;
        std::vector<uint64_t> lone;
        for (int obs : all) lone.push_back(bits(run_single(single, obs)));
        ASSERT_EQ(lone, blocks) << text;
    }
    EXPECT_GT(compiled, 1000);
    EXPECT_GT(decoded, 500);
}

// A variable that is replaced by what it held at other observations: in one command, whichever way
// that runs, and in a command for each observation.
TEST_F(Expression, AReplacedVariableIsReadInTurn) {
    const auto all_cells = [] {
        std::string bytes;
        for (int var = 1; var <= dataset.nvar; var++) {
            const size_t width = size_t(type_width(dataset.types[var - 1]));
            bytes += std::to_string(dataset.types[var - 1]) + " ";
            for (int obs = 1; obs <= kRows; obs++) {
                bytes.append(reinterpret_cast<const char*>(rawcell(var, obs)), width);
            }
        }
        return bytes;
    };
    static const char* const kTargets[] = {"x", "i", "f", "wide", "s"};
    int done = 0;
    for (unsigned seed = 1; seed <= 150; seed++) {
        Grammar grammar{std::mt19937(seed), kMaxSums};
        const char* target = kTargets[seed % std::size(kTargets)];
        const bool is_text = *target == 's';
        const int depth = 1 + int(seed % 3);
        std::string text = is_text ? "s=substr(" + grammar.textual(depth) + ",1,30)"
                                   : target + ("=" + grammar.numeric(depth));
        if (seed % 4 == 0) text += " if " + grammar.numeric(1);
        const char* option = seed % 7 == 0 ? ", nopromote" : "";
        EndEngineTables();
        SetUp();
        if (run(CmdReplace, text + option)) continue;
        done++;
        const std::string at_once = all_cells();
        EndEngineTables();
        SetUp();
        for (int obs = 1; obs <= kRows; obs++) {
            ASSERT_EQ(run(CmdReplace, text + " in " + std::to_string(obs) + option), 0) << text;
        }
        ASSERT_TRUE(at_once == all_cells()) << text << option;
    }
    EXPECT_GT(done, 100);
}

// --- Commands ---

// The same commands with one thread and with several leave the same bytes and counts. What waits
// for the other threads (a promotion, a text that is too long) lies in different chunks.
TEST_F(Expression, ThreadsDoNotChangeResults) {
    const auto make = [this](int procs) {
        session.procs = procs;
        for (const char* text : {"a = x * 2 - f if mod(i, 3)", "byte b = 1", "str c = s if i > 200",
                                 "u = uniform() if uniform() < .5", "str3 d = s"}) {
            EXPECT_EQ(run(CmdGenerate, text), 0) << text;
        }
        for (const char* text : {"b = 200 if _n == 590", "b = .5 if _n == 70", "b = . if _n == 300",
                                 "b = 100000.1 if _n == 580 | _n == 20", "a = -a if x > 0",
                                 "d = s + s if _n > 100", "d = \"\" if _n == 599"}) {
            EXPECT_EQ(run(CmdReplace, text), 0) << text;
        }
        EXPECT_EQ(run(CmdCount, "if x > 3 & a < ."), 0);
        std::string bytes = std::to_string(FindStoredResult(ResultFamily::R, "N").number);
        for (int var = 7; var <= dataset.nvar; var++) {
            bytes += " " + std::to_string(dataset.types[var - 1]) + " ";
            const size_t width = size_t(type_width(dataset.types[var - 1]));
            for (int obs = 1; obs <= kRows; obs++) {
                bytes.append(reinterpret_cast<const char*>(rawcell(var, obs)), width);
            }
        }
        undo_new_variables(6);
        return bytes;
    };
    random_state = RandomState{};
    const std::string alone = make(1);
    for (int procs : {2, 3, 5}) {
        random_state = RandomState{};
        EXPECT_TRUE(make(procs) == alone) << procs;
    }
    session.procs = 1;
    // By hand: ceil(n / 100 - 1) threads, at most the processors, and chunks of more than 100.
    EXPECT_EQ(ForkThreads(200, 4), 1);
    EXPECT_EQ(ForkThreads(201, 4), 2);  // 2.01 - 1 is above 1; chunks of 101
    EXPECT_EQ(ForkThreads(600, 4), 4);
    EXPECT_EQ(ForkThreads(600, 8), 5);
    EXPECT_EQ(ForkThreads(1000000, 1), 1);
}

TEST_F(Expression, GenerateUndoesItselfOnABreak) {
    const int before = dataset.nvar;
    session.BreakFlag = 1;
    EXPECT_EQ(run(CmdGenerate, "double y = x"), kBreak);
    session.BreakFlag = 0;
    EXPECT_EQ(run(CmdGenerate, "str3 y = 5"), 109);
    EXPECT_EQ(dataset.nvar, before);
    EXPECT_EQ(check_dataset(), "");
}

// The front end raises a break in the middle of a loop that two threads run.
TEST_F(Expression, ABreakEndsAForkedLoopBetweenBlocks) {
    constexpr int kMany = 20000;
    ASSERT_EQ(extend_observations(kMany), 0);
    for (int obs = 1; obs <= kMany; obs++) put(1, obs, obs);
    static int pumps;
    const auto pump_before = frontend.PumpMessages;
    const int32_t polltime_before = session.polltime, pollcount_before = session.pollcount;
    frontend.PumpMessages = [] { pumps++ == 2 ? RaiseBreak() : void(); };
    session.polltime = 0;
    session.pollcount = 1;
    session.procs = 2;
    const int nvar = dataset.nvar;
    const auto broken = [&](ReturnCode (*command)(int), const char* text) {
        pumps = 0;
        const ReturnCode rc = run(command, text);
        ClearBreak();
        return rc;
    };
    EXPECT_EQ(broken(CmdGenerate, "double y = x + 1"), kBreak);
    EXPECT_EQ(dataset.nvar, nvar);
    dataset.sortlist[0] = 1;
    dataset.sortlist[1] = 0;
    EXPECT_EQ(broken(CmdReplace, "x = -x"), kBreak);
    EXPECT_EQ(dataset.sortlist[0], 0);  // what was changed stays, and counts as changed
    EXPECT_EQ(dataset.changed, 1);
    int changed = 0;
    for (int obs = 1; obs <= kMany; obs++) {
        ASSERT_EQ(std::fabs(get(1, obs)), obs);
        changed += get(1, obs) < 0;
    }
    EXPECT_GE(changed, kBlockObs);
    EXPECT_LT(changed, kMany);
    EXPECT_EQ(check_dataset(), "");
    session.procs = 1;
    session.polltime = polltime_before;
    session.pollcount = pollcount_before;
    frontend.PumpMessages = pump_before;
}

TEST_F(Expression, GenerateAndCountCrossBlocks) {
    ASSERT_EQ(run(CmdGenerate, "double y = i*2 if mod(_n,2) in 10/520"), 0);
    const int y = dataset.nvar;
    EXPECT_EQ(get(y, 9), kSysMissing);
    EXPECT_EQ(get(y, 10), kSysMissing);
    EXPECT_EQ(get(y, 519), (519 - 300) * 2);
    EXPECT_EQ(get(y, 521), kSysMissing);
    ASSERT_EQ(run(CmdGenerate, "t = string(_n) + \"!\" if _n > 3"), 0);
    EXPECT_EQ(dataset.types[dataset.nvar - 1], 4);  // "600!"
    EXPECT_EQ(cell_text(dataset.nvar, 3), "");
    EXPECT_EQ(cell_text(dataset.nvar, 9), "9!");
    EXPECT_EQ(cell_text(dataset.nvar, 600), "600!");
    ASSERT_EQ(run(CmdGenerate, "double total = sum(_n) if _n > 2"), 0);
    EXPECT_EQ(get(dataset.nvar, 5), 12);        // 3 + 4 + 5
    ASSERT_EQ(run(CmdCount, "if x == .b"), 0);  // observations 7k with 7k mod 27 = 2: 56, 245, 434
    EXPECT_EQ(FindStoredResult(ResultFamily::R, "N").number, 3);
    EXPECT_EQ(check_dataset(), "");
}

// The text is mapped eight bytes at a time, where it lies in words, and cut by the store.
TEST_F(Expression, StringsOfEveryWidthGoInAndOut) {
    for (int width : {1, 2, 3, 5, 7, 8, 9, 16, 17}) {
        const std::string type = "str" + std::to_string(width);
        ASSERT_EQ(run(CmdGenerate, type + " a = s + s if _n != 2"), 0);
        ASSERT_EQ(run(CmdGenerate, type + " b = upper(a) + \"\" if mod(_n, 3)"), 0);
        ASSERT_EQ(run(CmdGenerate, type + " c = upper(substr(a, 2, .))"), 0);
        for (int obs = 1; obs <= kRows; obs++) {
            const char letter = char('a' + obs % 26), upper = char('A' + obs % 26);
            const size_t n = obs == 2 ? 0 : std::min(size_t(width), size_t(obs % 9) * 2);
            ASSERT_EQ(cell_text(dataset.nvar - 2, obs), std::string(n, letter)) << type;
            ASSERT_EQ(cell_text(dataset.nvar - 1, obs), std::string(obs % 3 ? n : 0, upper));
            ASSERT_EQ(cell_text(dataset.nvar, obs), std::string(n ? n - 1 : 0, upper)) << type;
        }
        EXPECT_EQ(check_dataset(), "");
        undo_new_variables(dataset.nvar - 3);
    }
}

// A whole dividend by a constant goes another way than any other; C's fmod() is exact.
TEST_F(Expression, ModOfWholeNumbersIsThatOfAnyNumbers) {
    for (const double y : {1.0, 2.0, 3.0, 7.0, 600.0, 1e6 + 3, 0x1p31}) {
        for (const double x : {0.0, -0.0, 1.0, -1.0, 299.0, -300.0, 0x1p31, -0x1p31, 123456789.0}) {
            for (int obs = 1; obs <= kRows; obs++) put(1, obs, x + (x == 0x1p31 ? -obs : 0));
            put(1, 1, x);
            ASSERT_EQ(compile("mod(x," + std::to_string(int64_t(y)) + ")", &main_expression,
                              ExpressionMode::Number),
                      0);
            double values[3];
            eval_block(&main_expression, 1, 3, values);
            for (int k = 0; k < 3; k++) {
                const double r = std::fmod(get(1, k + 1), y);
                EXPECT_EQ(bits(values[k]), bits(r < 0 ? r + y : std::fabs(r))) << x << " " << y;
            }
            put(1, 2, 0.5);  // and now not all are whole
            double mixed[3];
            eval_block(&main_expression, 1, 3, mixed);
            EXPECT_EQ(bits(mixed[0]), bits(values[0]));
            EXPECT_EQ(bits(mixed[2]), bits(values[2]));
            reset_expression_pools();
        }
    }
}

TEST_F(Expression, ReplaceChangesNoMoreThanItMust) {
    dataset.changed = 0;
    ASSERT_EQ(run(CmdReplace, "wide = wide"), 0);
    EXPECT_EQ(dataset.changed, 0);
    ASSERT_EQ(run(CmdReplace, "wide = 200 in 5"), 0);
    EXPECT_EQ(dataset.types[4], kInt);
    EXPECT_EQ(dataset.changed, 1);
    ASSERT_EQ(run(CmdReplace, "s = s + \" and more\" in 2"), 0);
    EXPECT_EQ(dataset.types[3], 11);
    EXPECT_EQ(cell_text(4, 2), "cc and more");
    EXPECT_EQ(cell_text(4, 3), "ddd");
    EXPECT_EQ(check_dataset(), "");
}

// A running value must see what the observation before it has just become.
TEST_F(Expression, ReplaceReadsWhatItHasWritten) {
    ASSERT_EQ(run(CmdReplace, "x = 1 in 1"), 0);
    ASSERT_EQ(run(CmdReplace, "x = x[_n-1] + 1 if _n > 1"), 0);
    EXPECT_EQ(get(1, 600), 600);
    ASSERT_EQ(run(CmdReplace, "x = 0 if x[_n-1] == 0 | _n == 300"), 0);
    EXPECT_EQ(get(1, 299), 299);
    EXPECT_EQ(get(1, 600), 0);
}

TEST_F(Expression, ReplaceForgetsTheSortOrderFromItsKey) {
    dataset.sortlist[0] = 5;
    dataset.sortlist[1] = 1;
    dataset.sortlist[2] = 0;
    ASSERT_EQ(run(CmdReplace, "x = x"), 0);
    EXPECT_EQ(dataset.sortlist[1], 1);
    ASSERT_EQ(run(CmdReplace, "x = x + 1"), 0);
    EXPECT_EQ(dataset.sortlist[0], 5);
    EXPECT_EQ(dataset.sortlist[1], 0);
}

// 1.8X+3ff has the exponent of the missing values and a code that none of them has.
TEST_F(Expression, AHexadecimalLiteralIsANumberOrOneOfTheMissingValues) {
    ASSERT_EQ(run(CmdGenerate, "double h = 1.8X+3ff"), 0);
    EXPECT_EQ(get(dataset.nvar, 1), kSysMissing);
    ASSERT_EQ(run(CmdReplace, "h = 1.01aX+3ff"), 0);
    EXPECT_EQ(get(dataset.nvar, 1), missing_value(26));
    EXPECT_EQ(check_dataset(), "");
}

TEST(FunctionTable, FindsNamesByVersion) {
    EXPECT_NE(find_function("abs", 920), nullptr);
    EXPECT_EQ(find_function("ab", 920), nullptr);
    EXPECT_EQ(find_function("invt", 920), nullptr);
    EXPECT_NE(find_function("invt", 600), nullptr);
}

}  // namespace
}  // namespace korva

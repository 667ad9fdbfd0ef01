#include "core/macro_functions.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "core/regex.h"
#include "core/stored_results.h"
#include "core/system_values.h"
#include "unit/core/engine_fixture.h"

namespace korva {

namespace {

class MacroFunctionsTest : public EngineTest {
protected:
    static std::string value(std::string_view call) {
        set_line(call);
        std::string result;
        EXPECT_EQ(RunMacroFunction(&result), 0) << call;
        return result;
    }
    static ReturnCode code(std::string_view call) {
        set_line(call);
        std::string result;
        return RunMacroFunction(&result);
    }
};

TEST_F(MacroFunctionsTest, WordsAreSplitAtBlanks) {
    EXPECT_EQ(value("word count a-b  \"c d\" e"), "3");
    EXPECT_EQ(value("word count"), "0");
    EXPECT_EQ(value("word 2 of a-b  \"c d\" e"), "c d");
    EXPECT_EQ(value("word 4 of a b c"), "");
    // The quote that ends the text closes the inner string, and the outer one stays open.
    EXPECT_EQ(value("word 1 of `\"a `\"b c\"'"), "a `\"b c\"'");
    const std::string word(1000, 'w');  // longer than a token
    EXPECT_EQ(value("word 1 of " + word + " x"), word);
    EXPECT_EQ(code("word 0 of a"), 198);
    EXPECT_EQ(code("word 1 a"), 198);
}

TEST_F(MacroFunctionsTest, ListsOfOneMacro) {
    SetLocal("a", "b a \"x y\" a c a");
    EXPECT_EQ(value("list uniq a"), "b a \"x y\" c");
    EXPECT_EQ(value("list dups a"), "a a");
    EXPECT_EQ(value("list sort a"), "a a a b c \"x y\"");
    EXPECT_EQ(value("list sizeof a"), "6");
    EXPECT_EQ(value("list sizeof none"), "0");
    SetLocal("s", "  \"p\"   q `\"r\"' ");
    EXPECT_EQ(value("list retokenize s"), "\"p\" q `\"r\"'");
    EXPECT_EQ(value("list clean s"), "p q r");
    EXPECT_EQ(value("list posof \"x y\" in a"), "3");
    EXPECT_EQ(value("list posof \"z\" in a"), "0");
    EXPECT_EQ(code("list uniq"), 198);
    EXPECT_EQ(code("list uniq a b"), 198);
}

TEST_F(MacroFunctionsTest, ListsOfTwoMacros) {
    SetLocal("a", "a b c b");
    SetLocal("b", "b d");
    SetLocal("c", "c b a b");
    SetMacro("g", "b");
    EXPECT_EQ(value("list a | b"), "a b c b d");
    EXPECT_EQ(value("list a & b"), "b");
    EXPECT_EQ(value("list a - b"), "a c b");
    EXPECT_EQ(value("list a == c"), "0");
    EXPECT_EQ(value("list a === c"), "1");
    EXPECT_EQ(value("list a == a"), "1");
    EXPECT_EQ(value("list global(g) in a"), "1");
    EXPECT_EQ(value("list b in a"), "0");
    EXPECT_EQ(value("list none in a"), "1");
    EXPECT_EQ(code("list a + b"), 198);
    // The two clocks are made as they are read, and one does not overwrite the other.
    const std::string month_and_year(MacroValue("S_DATE").substr(2));
    EXPECT_NE(value("list global(S_DATE) | global(S_TIME)").find(month_and_year),
              std::string::npos);
    SetLocal("sort", "s");
    EXPECT_EQ(value("list sort | b"), "s b d");  // a macro may have a function's name
}

TEST_F(MacroFunctionsTest, Subinstr) {
    SetLocal("x", "cat concat cat");
    EXPECT_EQ(value("subinstr local x \"cat\" \"dog\""), "dog concat cat");
    EXPECT_EQ(value("subinstr local x \"cat\" \"dog\", all count(local n)"), "dog condog dog");
    EXPECT_EQ(LocalValue("n"), "3");
    EXPECT_EQ(value("subinstr local x \"cat\" \"\", all word count(global n)"), " concat ");
    EXPECT_EQ(MacroValue("n"), "2");
    EXPECT_EQ(value("subinstr local x \"t\" `\"\"q\"\"', count(2)"), "ca\"q\" conca\"q\" cat");
    EXPECT_EQ(value("subinstr local x \"cat\" \"dog\", count(0)"), "cat concat cat");
    EXPECT_EQ(value("subinstr local x \"\" \"dog\", all"), "cat concat cat");
    EXPECT_EQ(value("subinstr global none \"a\" \"b\""), "");
    EXPECT_EQ(code("subinstr x \"a\" \"b\""), 198);
    EXPECT_EQ(code("subinstr local x a b"), 198);
    SetLocal("x", std::string(50000, 'a'));
    SetLocal("n", "before");
    EXPECT_EQ(code("subinstr local x \"a\" \"bbbb\", all count(local n)"), 920);
    EXPECT_EQ(LocalValue("n"), "before");
}

TEST_F(MacroFunctionsTest, Pieces) {
    const std::string text = " of \"the quick  brown fox\"";
    EXPECT_EQ(value("piece 1 10" + text), "the quick");
    EXPECT_EQ(value("piece 2 10" + text), "brown fox");
    EXPECT_EQ(value("piece 3 10" + text), "");
    EXPECT_EQ(value("piece 2 3" + text), "qui");  // no blank to break at
    EXPECT_EQ(value("piece 2 10" + text + ", nobreak"), " brown fox");
    EXPECT_EQ(code("piece 0 10" + text), 198);
}

TEST_F(MacroFunctionsTest, LengthsAndNames) {
    SetLocal("x", "12345");
    SetMacro("x", "123");
    EXPECT_EQ(value("length x"), "5");
    EXPECT_EQ(value("_length local x"), "5");
    EXPECT_EQ(value("length global x"), "3");
    EXPECT_EQ(value("length none"), "0");
    EXPECT_EQ(value("tempvar"), "__000000");
    EXPECT_EQ(value("adosubdir dir/xyz.ado"), "x");
    EXPECT_EQ(value("adosubdir _xyz.ado"), "_");
    EXPECT_EQ(value("adosubdir 1xyz.class"), "1");  // where the search of the path looks, too
    EXPECT_EQ(value("set maxvar"), value("set maxvar"));
    EXPECT_EQ(code("set nosuch"), 111);
    EXPECT_EQ(code("nosuch x"), 198);
    EXPECT_EQ(code("rownames A"), 199);
    setenv("KORVA_TEST_VALUE", "from outside", 1);
    EXPECT_EQ(value("environ KORVA_TEST_VALUE"), "from outside");
}

TEST_F(MacroFunctionsTest, NamesOfObjectsAndResults) {
    SetMacro("ab", "1.5");
    SetMacro("ac", "text");
    SetMacro("b", "2");
    EXPECT_EQ(value("all globals \"a*\""), "ab ac");
    EXPECT_EQ(value("all globals numeric"), "ab b");
    EXPECT_EQ(value("all globals string a?"), "ac");
    EXPECT_EQ(value("all scalars"), "");
    EXPECT_EQ(code("all nothing"), 198);
    SetResultNumber("N", 1);
    SetResultNumber("mean", 2);
    SetResultText("cmd", "x");
    EXPECT_EQ(value("r(scalars)"), "N mean");
    EXPECT_EQ(value("r(macros)"), "cmd");
    EXPECT_EQ(value("e(functions)"), "");
    EXPECT_EQ(code("r(nosuch)"), 198);
}

TEST_F(MacroFunctionsTest, DirListsOneKindOfEntry) {
    char path[] = "/tmp/korva_dir_XXXXXX";
    ASSERT_NE(mkdtemp(path), nullptr);
    const std::string dir = path;
    for (const char* name : {"/b.do", "/a b.do", "/c.txt"}) {
        close(open((dir + name).c_str(), O_CREAT | O_WRONLY, 0600));
    }
    mkdir((dir + "/sub.do").c_str(), 0700);
    EXPECT_EQ(value("dir \"" + dir + "\" files \"*.do\""), "\"a b.do\" \"b.do\"");
    EXPECT_EQ(value("dir \"" + dir + "\" dirs \"*\""), "\"sub.do\"");
    EXPECT_EQ(value("dir \"" + dir + "\" other \"*\", nofail"), "");
    EXPECT_EQ(code("dir \"" + dir + "/none\" files \"*\""), 601);
    EXPECT_EQ(code("dir \"" + dir + "\" things \"*\""), 198);
    for (const char* name : {"/b.do", "/a b.do", "/c.txt"}) unlink((dir + name).c_str());
    rmdir((dir + "/sub.do").c_str());
    rmdir(path);
}

TEST_F(MacroFunctionsTest, RegularExpressions) {
    RegexReset();
    EXPECT_EQ(code("regexs 0"), 198);
    EXPECT_EQ(value("regexm \"abc 123\" \"([a-z]+) ([0-9]+)\""), "1");
    EXPECT_EQ(value("regexs 0"), "abc 123");
    EXPECT_EQ(value("regexs 2"), "123");
    EXPECT_EQ(code("regexs 3"), 198);
    EXPECT_EQ(value("regexr \"abc 123 456\" \"[0-9]+\" \"#\""), "abc # 456");
    EXPECT_EQ(value("regexs 1"), "abc");  // a replacement is no match
    EXPECT_EQ(value("regexm \"abc\" \"[0-9]\""), "0");
    EXPECT_EQ(code("regexs 0"), 198);
    EXPECT_EQ(code("regexm \"a\" \"(\""), 198);
    EXPECT_EQ(code("regexm \"a\" \"" + std::string(3000, '(') + "\""), 198);
    EXPECT_EQ(code("regexm \"a\" \"((a{200}){200}){200}\""), 198);
    // Stacked and nested repetitions double what the one inside is.
    EXPECT_EQ(code("regexm \"a\" \"a" + std::string(60, '+') + "\""), 198);
    EXPECT_EQ(code("regexm \"a\" \"" + std::string(40, '(') + "a" + std::string(80, '+') + "\""),
              198);
    std::string nested = "a+";
    for (int i = 0; i < 40; i++) nested = "(" + nested + ")+";
    EXPECT_EQ(code("regexm \"a\" \"" + nested + "\""), 198);
    EXPECT_EQ(code("regexm \"aa\" \"(a)\\1\""), 198);
    std::string fields;
    for (int i = 0; i < 100; i++) fields += "[]0-9[:alpha:]]+,";
    EXPECT_EQ(value("regexm \"1,2\" \"" + fields + "\""), "0");
    RegexReset();
}

TEST_F(MacroFunctionsTest, SystemValuesAreWorkedOutOnReading) {
    SystemValue v;
    ASSERT_TRUE(FindSystemValue("macrolen", &v));
    EXPECT_EQ(v.number, session.macrolen);
    ASSERT_TRUE(FindSystemValue("Mons", &v));
    EXPECT_EQ(v.text, "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec");
    SetMacro("S_ADO", "BASE;.");
    ASSERT_TRUE(FindSystemValue("adopath", &v));
    EXPECT_EQ(v.text, "BASE;.");
    session.version = 820;
    ASSERT_TRUE(FindSystemValue("version", &v));
    EXPECT_EQ(v.number, 8.2);
    ASSERT_TRUE(FindSystemValue("current_date", &v));
    EXPECT_EQ(v.text.size(), 11u);
    EXPECT_FALSE(FindSystemValue("Macrolen", &v));
}

// What waits for other parts: a number that only falls.
TEST(NotAvailable, RowsWithoutAHandlerAreCounted) {
    EXPECT_LE(MacroFunctionsNotAvailable(), 10);
    EXPECT_LE(SystemValuesNotAvailable(), 65);
    EXPECT_EQ(SystemValueTable().size(), 159u);
}

}  // namespace

}  // namespace korva

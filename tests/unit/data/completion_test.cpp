// What Tab offers: the place that a half-typed statement ends in, and the words of that place.
#include "frontend/completion.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

#include "core/completion_text.h"
#include "core/stored_results.h"
#include "data/completion_options.h"
#include "data/dataset.h"
#include "unit/core/engine_fixture.h"

namespace korva {
namespace {

namespace fs = std::filesystem;

class Completion : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        for (const char* name : {"price", "pressure", "mpg", "(e)", "__000001"}) {
            ASSERT_EQ(addvar_internal(name, kFloat), 0);
        }
        ASSERT_EQ(set_variable_label(1, "Price\nin dollars"), 0);
        char root[] = "/tmp/completionXXXXXX";
        ASSERT_NE(mkdtemp(root), nullptr);
        root_ = root;
        const char* home = std::getenv("HOME");
        old_home_ = home ? home : "";
        old_place_ = fs::current_path();
        fs::current_path(root_);
    }
    void TearDown() override {
        fs::current_path(old_place_);
        fs::remove_all(root_);
        setenv("HOME", old_home_.c_str(), 1);
        EngineTest::TearDown();
    }
    void make(const std::string& path, const std::string& text = "") {
        fs::create_directories(fs::path(root_ + "/" + path).parent_path());
        std::ofstream(root_ + "/" + path) << text;
    }

    // The words, a blank between; with |c behind them when c follows the only one.
    static std::string words(std::string_view text) {
        const CompletionAnswer answer = CompleteStatement(text);
        std::string result;
        for (const CompletionChoice& choice : answer.choices) {
            result += (result.empty() ? "" : " ") + choice.word;
        }
        if (answer.choices.size() == 1 && answer.after_word)
            result += std::string("|") + answer.after_word;
        return result;
    }
    static std::string note(std::string_view text) {
        const CompletionAnswer answer = CompleteStatement(text);
        return answer.choices.empty() ? "" : answer.choices[0].note;
    }

    struct Row {
        const char* text;
        const char* expected;
    };
    static void check(std::initializer_list<Row> rows) {
        for (const Row& row : rows) EXPECT_EQ(words(row.text), row.expected) << row.text;
    }

    std::string root_, old_home_;
    fs::path old_place_;
};

TEST_F(Completion, TheFirstWordOfAStatementIsACommandWhereverItBegins) {
    check({
        {"summ", "summarize| "},
        {"quietly summ", "summarize| "},
        {"cap noi: summ", "summarize| "},
        {"by price, sort: summ", "summarize| "},
        {"bysort price (mpg): summ", "summarize| "},
        {"version 9.2: summ", "summarize| "},
        {"xi: summ", "summarize| "},
        {"if price > 3 & mpg summ", "summarize| "},
        {"else if price {\n summ", "summarize| "},
        {"foreach v of varlist price {\nlist `v'\n} \nsumm", "summarize| "},
        {"list price // summ\nsumm", "summarize| "},
        {"list /// more\n mp", "mpg| "},
        {"list /* summ\n */ mp", "mpg| "},
        {"if pri", "price| "},
        {"list // mp", ""},
        {"* mp", ""},
        {"nosuchcommandatall", ""},
    });
    EXPECT_EQ(note("summ"), "command");
    EXPECT_EQ(words("").substr(0, 10), "_describe ");  // all: built-ins without a handler are not
                                                       // there
}

TEST_F(Completion, VariablesComeWithTheirLabelsAndFunctionsInExpressionsOnly) {
    check({
        {"list pr", "pressure price"},
        {"list PR", ""},
        {"list (pri", "price"},
        {"list ", "mpg pressure price"},
        {"list L.pri", "price| "},
        {"list price-mp", "mpg| "},
        {"list mpg if sub", "subinstr( subinword( substr("},
        {"list mpg if reldi", "reldif("},
        {"list reldi", ""},
        {"replace mpg = reldif(pri", "price"},
        {"display \"`=reldi", "reldif("},
        {"display \"pri", ""},
        {"list if mpg in 1/mp", ""},
        {"list mpg [fweight=pri", "price"},
        {"count if _p", "_pi| "},
    });
    EXPECT_EQ(note("list pri"), "Price in dollars");
    EXPECT_EQ(note("list mp"), "float");
    EXPECT_EQ(CompleteStatement("list price mp").start, 11);
}

TEST_F(Completion, OptionsComeFromTheTableAndFromSyntaxLines) {
    make("lib/c/cmd.ado",
         "program define cmd\n syntax varlist [if/] [, GENerate(name) noCONStant /// \n"
         " by(varlist) Level(real 95, 2) *]\nend\nprogram other\nsyntax [, wrong]\nend\n");
    make("lib/semi.ado",
         "#delimit ;\nprogram semi ;\n syntax ,\n One two(string)\n [ three ] ;\nend ;\n");
    make("lib/pass.ado", "program pass\n version 9.2\n _describe `0'\nend\n");
    SetMacro("S_ADO", root_ + "/lib");
    check({
        {"list mpg, cl", "clean| "},
        {"list mpg if price > 3, sepa", "separator("},
        {"list mpg, clean no", "noheader nolabel noobs"},
        {"assert max(mpg, pri", "price"},
        {"by price, s", "sort| "},
        {"cmd mpg, ", "by( generate( level( noconstant"},
        {"cmd mpg, by(pri", "price"},
        {"cmd mpg, gen(pri", ""},
        {"cmd mpg, level(r(", ""},
        {"semi, ", "one three two("},
        {"pass mpg, sh", "short| "},
        {"cm", "cmd cmdlog"},
        {"unheardof mpg, ", ""},
    });
    EXPECT_EQ(note("cm"), "ado-file");
    make("lib/c/cmdnew.ado");
    EXPECT_EQ(words("cm"), "cmd cmdlog cmdnew");
    std::vector<OptionChoice> options;
    add_picture_options(", Abc(", &options);
    ASSERT_EQ(options.size(), 1u);
    EXPECT_EQ(options[0].minimum, 1);
}

TEST_F(Completion, FileNamesKeepDirectoriesQuotesAndSuffixes) {
    make("data/auto.dta");
    make("data/auto.do");
    make("data/my file.dta");
    make("data/sub dir/x.dta");
    make("data/.hidden.dta");
    make("data/copy (1)");
    make("lone.dta");
    setenv("HOME", (root_ + "/data").c_str(), 1);
    check({
        {"use lo", "lone.dta| "},
        {"use da", "data/"},
        {"use data/a", "data/auto.dta| "},
        {"use data/.", "data/.hidden.dta| "},
        {"do data/a", "data/auto.do| "},
        {"type data/a", "data/auto.do data/auto.dta"},
        {"use data/m", "\"data/my file.dta|\""},
        {"use \"data/my f", "data/my file.dta|\""},
        {"use \"data/su", "data/sub dir/"},
        {"type data/c", "\"data/copy (1)|\""},
        {"cd data/", "\"data/sub dir/"},
        {"list mpg using lo", "lone.dta| "},
        {"merge mpg using data/a", "data/auto.dta| "},
        {"use `x'da", ""},
        {"use lone.dta, cl", "clear| "},
        {"use \"lone.dta\", cl", "clear| "},
        {"save lone lo", ""},
    });
    EXPECT_EQ(words("use ~/a"), root_ + "/data/auto.dta| ");
    EXPECT_EQ(CompleteStatement("use \"data/my f").start, 5);
    EXPECT_TRUE(CompleteStatement("use da").file_names);
    EXPECT_EQ(note("use da"), "directory");
}

TEST_F(Completion, MacrosResultsAndSettings) {
    SetMacro("GlobalOne", "1");
    SetLocal("loc", "a b");
    SetResultNumber("mean", 3);
    SetResultText("what", "x");
    StorePutText("origin", kKindValueLabel, "");
    check({
        {"list `lo", "loc'"},
        {"display \"`lo", "loc'"},
        {"list `x`lo", "loc'"},
        {"display $Gl", "GlobalOne"},
        {"display ${Gl", "GlobalOne}"},
        {"display r(", "mean) what)"},
        {"display sqrt(r(me", "mean)"},
        {"display xr(me", ""},
        {"display c(linesi", "linesize)"},
        {"set var", "varabbrev| "},
        {"set varabbrev ", "off on"},
        {"set type ", "double float"},
        {"set more off, perm", "permanently| "},
        {"label values mp", "mpg| "},
        {"label values mpg o", "origin| "},
        {"label list ", "origin| "},
        {"format mpg %9.3", "%9.3f| "},
        {"foreach v of loc", "local| "},
        {"foreach v of local l", "loc| "},
        {"foreach v of varlist mp", "mpg| "},
        {"which summ", "summarize| "},
    });
    EXPECT_EQ(note("list `lo"), "a b");
    EXPECT_EQ(note("display r(me"), "scalar");
}

TEST_F(Completion, AskingLeavesTheSessionAsItWas) {
    SetResultNumber("mean", 3);
    make("lib/cmd.ado", "program cmd\nsyntax [, One]\nend\nset linesize 50\n");
    SetMacro("S_ADO", root_ + "/lib");
    set_line("list mpg");
    NextToken();
    PushBackToken();
    char before[sizeof(ScannerState)];
    std::memcpy(before, &scanner, sizeof before);
    const std::string line = session.ConsoleBuffer;
    const uint64_t bytes = StoreBytes();
    for (const char* text :
         {"cmd, ", "list `x", "by mpg: cm", "use ", "display r(", "set ", "`=pri"}) {
        CompleteStatement(text);
    }
    EXPECT_EQ(std::memcmp(before, &scanner, sizeof before), 0);
    EXPECT_EQ(session.ConsoleBuffer, line);
    EXPECT_EQ(StoreBytes(), bytes);
    EXPECT_EQ(FindStoredResult(ResultFamily::R, "mean").number, 3);
}

// A reading that looks again at every bracket or quote would not come back from a megabyte of them.
TEST_F(Completion, AnyBytesAreAnsweredInBoundedTime) {
    for (const char* piece : {"`",        "`'",    "`x'",   "(",      "[(", "{",  "\"",
                              "`\"",      "\"'",   "if a ", "by a: ", "a,", "x(", "/*",
                              "//",       "///\n", "*",     "`=",     "$",  "${", "using ",
                              "quietly ", "\n",    "\xff",  "a"}) {
        for (const char* head : {"list ", "use ", "list, a("}) {
            std::string text = head;
            while (text.size() < (1 << 20)) text += piece;
            const auto start = std::chrono::steady_clock::now();
            CompleteStatement(text);
            // Seconds where a repeated reading takes hours: no measurement of speed.
            EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5))
                << head << piece;
        }
    }
    std::mt19937 random(1);
    const std::string_view bytes = "`'\"$({[)]} \n\t,=:./*~%-+aLrif\0\x02\xe9"
                                   "by";
    for (int i = 0; i < 20000; i++) {
        std::string text(random() % 24, ' ');
        for (char& c : text) c = bytes[random() % bytes.size()];
        const CompletionAnswer answer = CompleteStatement(text);
        ASSERT_GE(answer.start, 0) << text;
        ASSERT_LE(size_t(answer.start), text.size()) << text;
        EXPECT_EQ(TakeTextApart(text).mask.size(), text.size());
    }
}

}  // namespace
}  // namespace korva

// The by prefix: its groups when the program that it calls changes the data or leaves, its codes,
// and what it does at the limits of nesting.
#include "data/by.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/macro.h"
#include "core/program.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/startup.h"
#include "core/upcalls.h"
#include "data/cells.h"

namespace korva {
namespace {

class By : public testing::Test {
protected:
    // Groups 1 1 1 2 2 3 4 4 4 4 of g; x counts the observations; seen is 0.
    void SetUp() override {
        StoreClear();
        ForgetPrograms();
        macros = MacroState{};
        session = SessionState{};
        ASSERT_TRUE(StartEngineTables(2048, 4 << 20));
        settings = SettingsState{};
        by_state = ByState{};
        session.OutputThreshold = kThresholdCapture;
        ASSERT_EQ(addvar("g", kByte), 0);
        ASSERT_EQ(addvar("x", kInt), 0);
        ASSERT_EQ(addvar("seen", kInt), 0);
        ASSERT_EQ(extend_observations(10), 0);
        const int groups[] = {1, 1, 1, 2, 2, 3, 4, 4, 4, 4};
        for (int obs = 1; obs <= 10; obs++) {
            put(1, obs, groups[obs - 1]);
            put(2, obs, obs);
            put(3, obs, 0);
        }
        dataset.sortlist[0] = 1;
        dataset.sortlist[1] = 0;
    }
    void TearDown() override {
        StoreClear();
        ForgetPrograms();
        macros = MacroState{};
        EndEngineTables();
        session = SessionState{};
        by_state = ByState{};
    }

    static void define(const char* name, uint8_t byable, const std::string& body) {
        ProgramOptions options;
        options.byableState = byable;
        ASSERT_EQ(DefineProgramFromText(name, options, body), 0);
    }

    static ReturnCode run(const std::string& line) {
        text = line;
        text.copy(session.ConsoleBuffer, text.size());
        session.ConsoleBuffer[text.size()] = 0;
        SetScanPointer(session.ConsoleBuffer);
        return DispatchNext();
    }

    static std::vector<double> column(const char* name) {
        std::vector<double> values;
        const int var = find_variable_exact(name);
        for (int obs = 1; var && obs <= dataset.nobs; obs++) values.push_back(get(var, obs));
        return values;
    }

    static std::string text;
};
std::string By::text;

using Column = std::vector<double>;

TEST_F(By, AProgramReadsItsPlace) {
    define("p", kByRecall,
           "replace seen = 1000*_byindex() + 100*_byn1() + 10*_bylastcall() + _byn2() "
           "if _n >= _byn1() & _n <= _byn2()\nreplace seen = . if !_by()");
    ASSERT_EQ(run("by g: p"), 0);
    EXPECT_EQ(column("seen"), (Column{1103, 1103, 1103, 2405, 2405, 3606, 4720, 4720, 4720, 4720}));
    EXPECT_EQ(check_dataset(), "");
    EXPECT_EQ(dataset.nvar, 3);
}

// The second call drops the third group whole and one observation of the first: the third call gets
// the fourth group, under its own number.
TEST_F(By, GroupsAreFoundAgainInWhatAProgramLeaves) {
    define("p", kByRecall,
           "replace seen = _byindex() if _n >= _byn1() & _n <= _byn2()\n"
           "drop if _byindex() == 2 & (g == 3 | x == 1)");
    ASSERT_EQ(run("by g: p"), 0);
    EXPECT_EQ(column("x"), (Column{2, 3, 4, 5, 7, 8, 9, 10}));
    EXPECT_EQ(column("seen"), (Column{1, 1, 2, 2, 4, 4, 4, 4}));
}

TEST_F(By, AProgramMayDropItsOwnGroupAndEveryOther) {
    define("own", kByRecall,
           "global calls `\"$calls x\"'\ndrop if _n >= _byn1() & _n <= _byn2() & g < 4");
    ASSERT_EQ(run("by g: own"), 0);
    EXPECT_EQ(column("g"), (Column{4, 4, 4, 4}));
    EXPECT_EQ(MacroValue("calls"), " x x x x");
    define("all", kByRecall, "drop if 1");
    EXPECT_EQ(run("by g: all"), 0);
    EXPECT_EQ(dataset.nobs, 0);
}

TEST_F(By, TheLoopEndsWithACodeWhenKeysOrOrderAreGone) {
    define("keyless", kByRecall, "drop g");
    define("unsorted", kByRecall, "replace g = 5 - g");
    EXPECT_EQ(run("by g: unsorted"), 5);
    dataset.sortlist[0] = 1;
    dataset.sortlist[1] = 0;
    for (int obs = 1; obs <= 10; obs++) put(1, obs, obs / 4);
    EXPECT_EQ(run("by g: keyless"), 111);
    EXPECT_EQ(check_dataset(), "");
}

// "No observations" is no failure of a group in the loop, but the answer of a program that loops
// itself.
TEST_F(By, EmptyGroupsCountInTheLoopOnly) {
    define("recalled", kByRecall, "replace seen = 1 if _byindex() == 4\nexit 2000");
    define("own_code", kByOnecall, "empty");
    define("empty", kByNo, "assert g == 9");
    EXPECT_EQ(run("by g: recalled"), 0);
    EXPECT_EQ(column("seen"), Column(10, 1));
    EXPECT_EQ(run("by g: own_code"), 9);
}

TEST_F(By, OnlyAFailingGroupUnderRc0SetsTheCaptureCode) {
    session.CaptureCode = 77;
    EXPECT_EQ(run("by g: count"), 0);
    EXPECT_EQ(run("by g, rc0: count"), 0);
    EXPECT_EQ(run("by g: list nosuch"), 111);
    EXPECT_EQ(session.CaptureCode, 77);
    EXPECT_EQ(run("by g, rc0: list nosuch"), 0);
    EXPECT_EQ(session.CaptureCode, 111);
    define("p", kByRecall, "if _byindex() == 2 exit 459\nif _byindex() == 3 exit 2001");
    EXPECT_EQ(run("by g, rc0: p"), 0);
    EXPECT_EQ(session.CaptureCode, 459);
}

TEST_F(By, NothingMoreRunsWhenTheSessionIsLeft) {
    define("p", kByRecall, "replace seen = _byindex()\nexit, clear korva");
    EXPECT_EQ(run("by g: p"), 0);
    EXPECT_EQ(column("seen"), Column(10, 1));  // by the first call, over all observations
}

// The macros of a program at the deepest level plus one would be records of another kind.
TEST_F(By, NoMacrosBeyondTheDeepestLevel) {
    define("p", kByRecall, "display 1");
    session.CallDepth = kMaxCallDepth;
    macros.MacroLevel = kMaxCallDepth;
    EXPECT_EQ(run("by g: p"), 1000);
    EXPECT_EQ(StoreNext(kKindLocalMacro + kLevels, nullptr), nullptr);
    session.CallDepth = 0;
    macros.MacroLevel = 0;
}

TEST_F(By, NoObservationsRunNothing) {
    ASSERT_EQ(run("drop if 1"), 0);
    EXPECT_EQ(run("by g: generate y = 1"), 0);
    EXPECT_EQ(find_variable_exact("y"), 0);
}

}  // namespace
}  // namespace korva

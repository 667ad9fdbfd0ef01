// Programs in memory: what is stored of a line, which of several programs of a name is found, what
// goes.
#include "core/program.h"

#include <gtest/gtest.h>

#include <string>

#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"

namespace korva {
namespace {

class Program : public testing::Test {
protected:
    void SetUp() override { clear(); }
    void TearDown() override { clear(); }

    static void clear() {
        StoreClear();
        ForgetPrograms();
        session = SessionState{};
        settings.adosize = 500;
        session.OutputThreshold = kThresholdCapture;  // the messages are not looked at here
    }

    static ReturnCode define(const char* name, const std::string& text) {
        return DefineProgramFromText(name, ProgramOptions{}, text);
    }

    // Defines programs as the ado-file `scope` would, at the load mark.
    static void load(const char* scope, int32_t mark, std::initializer_list<const char*> names) {
        session.LoadDepth = 1;
        session.LoadMark = mark;
        std::snprintf(session.Scope, sizeof session.Scope, "%s", scope);
        for (const char* name : names) EXPECT_EQ(define(name, "display 1"), 0) << name;
        session.LoadDepth = 0;
        session.Scope[0] = 0;
    }

    static StoreRecord* find(const char* name, const char* owner = "") {
        return FindProgram(name, owner, kFindBoth);
    }

    static std::string line(const char* name, int index) {
        return std::string(ProgramLineText(find(name), index));
    }
};

using std::string_literals::operator""s;

TEST_F(Program, KeepsTextInStringsAndNoOtherRunsOfBlanks) {
    EXPECT_EQ(define("p", "   display   \"a   b\"   `\"c  \"d   e\"  f\"'   g  \n\nx"), 0);
    EXPECT_EQ(line("p", 0), "\3display \"a   b\" `\"c  \"d   e\"  f\"' g\0"s);
    EXPECT_EQ(line("p", 1), "\0\0"s);
    EXPECT_EQ(line("p", 2), "\0x\0"s);
    EXPECT_EQ(ProgramOf(find("p"))->lines, 3);
}

TEST_F(Program, EndsAtTheFirstTokenEnd) {
    EXPECT_EQ(define("p", "ending\n  end of it\nnot stored"), 0);
    EXPECT_EQ(ProgramOf(find("p"))->lines, 1);
}

TEST_F(Program, LimitsAreThoseOfLinesAndOfBytes) {
    std::string lines;
    for (int i = 0; i < kMaxProgramLines; i++) lines += "x\n";
    EXPECT_EQ(define("fits", lines), 0);
    EXPECT_EQ(define("more", lines + "x\n"), 1000);
    EXPECT_EQ(find("more"), nullptr);

    // A line of 1,354 bytes takes 1,356 with its count and its NUL: a hundred fill the space.
    lines.clear();
    for (int i = 0; i < 100; i++) lines.append(1354, 'y').append("\n");
    EXPECT_EQ(define("full", lines), 0);
    EXPECT_EQ(define("over", lines + "z"), 1000);
}

TEST_F(Program, ClashesOnlyWithinOneOwner) {
    EXPECT_EQ(define("helper", "display 1"), 0);
    EXPECT_EQ(define("helper", "display 2"), 110);
    load("tool", 5, {"tool", "helper"});
    EXPECT_NE(find("helper", "tool"), find("helper"));
    EXPECT_STREQ(ProgramOf(find("helper", "tool"))->owner, "tool");
    EXPECT_EQ(find("helper", "other"), find("helper"));  // shadowed within tool only
    EXPECT_STREQ(ProgramOf(find("tool"))->owner, "");
}

TEST_F(Program, LoadedProgramsBeginWithTheirVersion) {
    session.version = 810;
    load("tool", 5, {"tool"});
    EXPECT_EQ(line("tool", 0), "\10version 8.1\0"s);
    EXPECT_EQ(ProgramOf(find("tool"))->version, 810);
}

TEST_F(Program, OneLoadMayNotDefineTwiceButALaterOneReplaces) {
    load("tool", 5, {"tool"});
    session.LoadDepth = 1;
    session.LoadMark = 5;
    std::snprintf(session.Scope, sizeof session.Scope, "tool");
    EXPECT_EQ(define("tool", "display 2"), 110);
    session.LoadMark = 9;
    EXPECT_EQ(define("tool", "display 3"), 0);
    EXPECT_EQ(line("tool", 1), "\0display 3\0"s);
    ProgramOf(find("tool"))->inUse = 1;
    session.LoadMark = 12;
    EXPECT_EQ(define("tool", "display 4"), 110);
}

TEST_F(Program, LookUpSeesEveryChange) {
    EXPECT_EQ(find("p", "tool"), nullptr);
    EXPECT_EQ(define("p", "a"), 0);
    StoreRecord* global = find("p", "tool");
    ASSERT_NE(global, nullptr);
    load("tool", 5, {"p"});
    EXPECT_NE(find("p", "tool"), global);
    DropProgram(find("p", "tool"));
    EXPECT_EQ(find("p", "tool"), global);
    DropProgram(global);
    EXPECT_EQ(find("p", "tool"), nullptr);
}

TEST_F(Program, EvictionTakesTheLongestUnusedWithItsSubprograms) {
    EXPECT_EQ(define("by_hand", "display 1"), 0);
    load("first", 5, {"first", "sub"});
    load("second", 6, {"second"});
    load("third", 7, {"third"});
    ProgramOf(find("first"))->lastUsed = 6;
    ProgramOf(find("second"))->lastUsed = 5;
    ProgramOf(find("second"))->inUse = 1;
    settings.adosize = 0;
    EvictPrograms(7, "third");
    EXPECT_EQ(find("first"), nullptr);
    EXPECT_EQ(find("sub", "first"), nullptr);
    EXPECT_NE(find("second"), nullptr);  // in use
    EXPECT_NE(find("third"), nullptr);   // just loaded
    EXPECT_NE(find("by_hand"), nullptr);
}

TEST_F(Program, EvictionSparesWhatWasUsedAfterTheMarkAndStopsWhenThereIsRoom) {
    load("old", 5, {"old"});
    load("used", 6, {"used"});
    load("fresh", 9, {"fresh"});
    ProgramOf(find("used"))->lastUsed = 20;
    EvictPrograms(9, "fresh");
    EXPECT_NE(find("old"), nullptr);  // half a megabyte is free
    settings.adosize = 0;
    EvictPrograms(9, "fresh");
    EXPECT_EQ(find("old"), nullptr);
    EXPECT_NE(find("used"), nullptr);
}

TEST_F(Program, ASubprogramInUseKeepsItsScope) {
    load("tool", 5, {"tool", "sub"});
    ProgramOf(find("sub", "tool"))->inUse = 1;
    settings.adosize = 0;
    EvictPrograms(9, "");
    DropAdoPrograms();
    EXPECT_NE(find("tool"), nullptr);
    EXPECT_NE(find("sub", "tool"), nullptr);
}

TEST_F(Program, AFailedLoadLeavesNothingOfItsOwn) {
    EXPECT_EQ(define("tool2", "display 1"), 0);
    load("tool", 5, {"tool", "sub"});
    load("other", 6, {"other"});
    DropLoadedPrograms(5, "tool");
    EXPECT_EQ(find("tool"), nullptr);
    EXPECT_EQ(find("sub", "tool"), nullptr);
    EXPECT_NE(find("other"), nullptr);
    EXPECT_NE(find("tool2"), nullptr);
}

TEST_F(Program, RemembersBlockEndsPerLine) {
    EXPECT_EQ(define("p", "if 0 {\nx\n}\ny"), 0);
    EXPECT_EQ(RememberedBlockEnd(find("p"), 1), 0);
    RememberBlockEnd(find("p"), 1, 3);
    EXPECT_EQ(RememberedBlockEnd(find("p"), 1), 3);
    EXPECT_EQ(RememberedBlockEnd(find("p"), 0), 0);
    EXPECT_EQ(RememberedBlockEnd(find("p"), 5), 0);  // behind the last line
    EXPECT_EQ(line("p", 3), "\0y\0"s);
}

}  // namespace
}  // namespace korva

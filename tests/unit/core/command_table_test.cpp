// The search of the command table: order, abbreviations, versions; and how much of it has no
// handler.
#include "core/command_table.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <set>

#include "core/session.h"

namespace korva {
namespace {

std::string_view found(std::string_view word, int version = kCurrentVersion) {
    session.version = version;
    const CommandRow* row = FindCommand(word);
    session.version = kCurrentVersion;
    return row != nullptr ? row->name : "";
}

TEST(CommandTable, TakesTheFirstRowThatAWordAbbreviates) {
    EXPECT_EQ(found("g"), "generate");
    EXPECT_EQ(found("gl"), "global");
    EXPECT_EQ(found("l"), "list");
    EXPECT_EQ(found("loc"), "local");
    EXPECT_EQ(found("lumo"), "lumo");
    EXPECT_EQ(found("m"), "m");
    EXPECT_EQ(found("ma"), "macro");
    EXPECT_EQ(found("mat"), "matrix");
    EXPECT_EQ(found("q"), "query");
    EXPECT_EQ(found("qui"), "quietly");
    EXPECT_EQ(found("su"), "summarize");
    EXPECT_EQ(found("cap"), "capture");
    EXPECT_EQ(found("{"), "{");
}

TEST(CommandTable, RefusesWhatIsTooShortTooLongOrInCapitals) {
    EXPECT_EQ(found(""), "");
    EXPECT_EQ(found("ca"), "");
    EXPECT_EQ(found("summarizes"), "");
    EXPECT_EQ(found("GENERATE"), "");
    EXPECT_EQ(found("describe"), "");  // an ado-file
}

TEST(CommandTable, HasRowsThatOnlySomeVersionsKnow) {
    EXPECT_EQ(found("predict", 500), "predict");
    EXPECT_EQ(found("predict"), "");
    EXPECT_EQ(found("est", 700), "estimates");
    EXPECT_EQ(found("est", 800), "");
    EXPECT_EQ(found("eret", 700), "");
    EXPECT_EQ(found("eret", 800), "ereturn");
    EXPECT_EQ(found("cp", 500), "");
    EXPECT_EQ(found("cp", 600), "cp");
    EXPECT_EQ(found("graph", 700), "graph");
    EXPECT_EQ(found("graph"), "");
}

TEST(CommandTable, KnowsShorterQuietlyWhileSkipping) {
    EXPECT_EQ(FindSkipCommand("q")->name, "quietly");
    session.version = 700;
    EXPECT_EQ(FindSkipCommand("q"), nullptr);
    EXPECT_EQ(FindSkipCommand("qui")->name, "quietly");
    session.version = kCurrentVersion;
    EXPECT_EQ(FindSkipCommand("generate"), nullptr);
}

TEST(CommandTable, NamesTheBuiltinsThatByMayPrefix) {
    EXPECT_EQ(ByableBuiltin("gen"), "generate");
    EXPECT_EQ(ByableBuiltin("use"), "");
    session.version = 700;
    EXPECT_EQ(ByableBuiltin("gr"), "graph");
    session.version = kCurrentVersion;
}

TEST(CommandTable, TellsHowManyCommandsAreNotAvailableYet) {
    const int missing = CommandsNotAvailable();
    std::printf("[          ] %d of %zu commands have no handler yet\n", missing,
                CommandTable().size());
    EXPECT_LE(missing, 226);  // may only fall
    std::set<std::string_view> names;
    for (const CommandRow& row : CommandTable()) names.insert(row.name);
    EXPECT_EQ(names.size(), CommandTable().size());  // no name twice
}

}  // namespace
}  // namespace korva

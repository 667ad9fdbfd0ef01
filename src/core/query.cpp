// core/query.cpp - `query`: the settings by group, in as many columns as the line has room for.
#include <algorithm>
#include <vector>

#include "core/commands.h"
#include "core/names.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings_table.h"

namespace korva {

namespace {

struct GroupRow {
    std::string_view word;
    SettingGroup group;
    const char* head;
};

constexpr int kLeastLetters = 3;  // of a group's abbreviation

constexpr GroupRow kGroups[] = {
    {"memory", SettingGroup::Memory, "Memory settings"},
    {"output", SettingGroup::Output, "Output settings"},
    {"interface", SettingGroup::Interface, "Interface settings"},
    {"graphics", SettingGroup::Graphics, "Graphics settings"},
    {"efficiency", SettingGroup::Efficiency, "Efficiency settings"},
    {"network", SettingGroup::Network, "Network settings"},
    {"update", SettingGroup::Update, "Update settings"},
    {"trace", SettingGroup::Trace, "Trace (program debugging) settings"},
    {"lumo", SettingGroup::Lumo, "Lumo settings"},
    {"other", SettingGroup::Other, "Other settings"},
};

// A cell is "  set NAME  VALUE": two stand in a line of 78 columns and more, one in a narrower one.
constexpr int kCellColumns = 39;
constexpr int kValueColumn = 24;  // 0-based in the cell; the longest name has 15 letters
constexpr int kValueWidth = kCellColumns - kValueColumn - 1;

struct Entry {
    std::string_view name;
    std::string value;
};

void print_entry(const Entry& entry, bool is_last) {
    out_text("  set ");
    out_text(entry.name);
    if (is_last && entry.value.empty()) return;
    out_spaces(kValueColumn - 6 - int(entry.name.size()));
    const LevelGuard level(kLevelResult);
    out_text(entry.value);
    if (!is_last) out_spaces(kCellColumns - kValueColumn - int(entry.value.size()));
}

// The group's entries run down the first column, then the second. Values that are too long for a
// column come last, a line each.
void print_group(const GroupRow& group) {
    std::vector<Entry> entries;
    std::vector<Entry> wide;
    for (const SettingRow& row : SettingTable()) {
        if (row.group != group.group) continue;
        std::string value = SettingText(row);
        auto& list = value.size() > size_t(kValueWidth) ? wide : entries;
        list.push_back({row.name, std::move(value)});
    }
    const size_t n_columns = ResultsWidth() >= 2 * kCellColumns ? 2 : 1;
    const size_t n_lines = (entries.size() + n_columns - 1) / n_columns;
    out_text(group.head);
    out_newline();
    for (size_t line = 0; line < n_lines; line++) {
        for (size_t i = line; i < entries.size(); i += n_lines) {
            print_entry(entries[i], i + n_lines >= entries.size());
        }
        out_newline();
    }
    for (const Entry& entry : wide) {
        print_entry(entry, true);
        out_newline();
    }
}

}  // namespace

// query [group]: what is set, of one group or of all.
ReturnCode CmdQuery(int) {
    const std::string word = NextToken();
    if (word.size() > size_t(kMaxNameBytes)) return ReportInvalidSyntax();
    if (ReturnCode rc = word.empty() ? 0 : ExpectEnd(0)) return rc;
    const LevelGuard level(kLevelText);
    bool found = false;
    for (const GroupRow& group : kGroups) {
        if (!word.empty() && !MatchAbbreviation(word, group.word, kLeastLetters)) continue;
        if (found) out_newline();
        print_group(group);
        found = true;
        if (session.BreakFlag) return kBreak;
    }
    if (found) return 0;
    out_error(word + " not recognized\n");
    return 198;
}

}  // namespace korva

// data/label_command.cpp - label: variable, data and value labels, and the do-file that makes value
// labels again. Languages have label_language.cpp.
//
// Texts are taken straight from the line: a label is longer than a token of the scanner.
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "core/commands.h"
#include "core/file_path.h"
#include "core/file_replace.h"
#include "core/macro.h"
#include "core/missing.h"
#include "core/names.h"
#include "core/option_words.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/stored_results.h"
#include "core/words.h"
#include "data/dataset.h"
#include "data/label_language.h"
#include "data/labels.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr int kValueColumns = 12;  // of a value in `label list`: the widest key and a margin

// --- reading ---

// The quoted text at the scanner. A quote that is not closed is 198.
ReturnCode take_quoted(std::string_view* text) {
    const char* p = SkipBlanks(ScanRest());
    const bool compound = p[0] == '`' && p[1] == '"';
    if (!compound && *p != '"') return ReportInvalidSyntax();
    const size_t quote = compound ? 2 : 1;
    const char* start = p + quote;
    const char* end = start;
    if (!compound) {
        end += std::strcspn(start, "\"");
        if (*end == 0) return ReportInvalidSyntax();
    }
    for (int depth = 1; compound; end++) {
        if (*end == 0) return ReportInvalidSyntax();
        if (end[0] == '"' && end[1] == '\'') {
            if (--depth == 0) break;
            end++;
        } else if (end[0] == '`' && end[1] == '"') {
            depth++;
            end++;
        }
    }
    *text = {start, size_t(end - start)};
    SetScanPointer(const_cast<char*>(end + quote));
    return 0;
}

// The same for one text of `label define`, where a single word needs no quotes.
ReturnCode take_entry_text(std::string_view* text) {
    char* p = SkipBlanks(ScanRest());
    if (*p == '"' || (p[0] == '`' && p[1] == '"')) return take_quoted(text);
    *text = {p, std::strcspn(p, " ,\"")};
    SetScanPointer(p + text->size());
    return text->empty() ? ReportInvalidSyntax() : 0;
}

// Cuts a text at the longest that a label may be, with a note.
void cut_label(std::string_view* text, size_t most) {
    if (text->size() <= most) return;
    *text = text->substr(0, most);
    const LevelGuard level(kLevelText);
    out_textf("note: label truncated to %d characters\n", int(most));
}

// ["text"] and the end of the line; nothing is the empty text.
ReturnCode take_last_label(std::string_view* text) {
    *text = {};
    if (PeekChar() != 0) {
        if (ReturnCode rc = take_quoted(text)) return rc;
    }
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    cut_label(text, kVariableLabelMax);
    return 0;
}

ReturnCode take_label_name(std::string* name) {
    NextToken();
    *name = scanner.TokenBuffer;
    return IsValidName(*name) ? 0 : ReportInvalid("name");
}

// Names of tables up to the end of the line or `stop`; each must exist. None: all tables.
ReturnCode take_tables(std::string_view stop, std::vector<std::string>* names) {
    for (NextToken(); !TokenIsEmpty() && !TokenIs(stop); NextToken()) {
        const std::string name = scanner.TokenBuffer;
        if (!IsValidName(name)) return ReportInvalid("name");
        LabelTable table;
        if (!open_label_table(name, &table)) return ReportNotFound(name);
        names->push_back(name);
    }
    if (names->empty()) *names = label_table_names();
    return 0;
}

bool is_missing_key(int32_t key) {
    return is_missing(label_number(key));
}

std::string key_text(int32_t key) {
    return is_missing_key(key) ? MacroNumber(label_number(key)) : std::to_string(key);
}

// The formats of the variables that have the table show its longest label.
void widen_formats(std::string_view table) {
    int32_t longest = -1;  // not yet known
    for (int var = 1; var <= dataset.nvar; var++) {
        if (dataset.label_names[var - 1] != table) continue;
        if (longest < 0) longest = longest_value_label(table);
        widen_format(var, longest);
    }
}

// --- variable, data ---

ReturnCode label_variable() {
    NextToken();
    if (TokenIsEmpty()) return ReportRequired("varname");
    int32_t var = 0;
    if (ReturnCode rc = find_variable(std::string(scanner.TokenBuffer), &var)) return rc;
    std::string_view text;
    if (ReturnCode rc = take_last_label(&text)) return rc;
    return set_variable_label(var, text);
}

ReturnCode label_data() {
    std::string_view text;
    if (ReturnCode rc = take_last_label(&text)) return rc;
    std::memset(dataset.label, 0, sizeof dataset.label);
    text.copy(dataset.label, text.size());
    dataset.changed = 1;
    return 0;
}

// --- values ---

// True if the word behind the variables is a label's name: the last of several words, where it is
// no part of a range or a pattern.
bool ends_with_label_name(const std::vector<std::string_view>& words) {
    if (words.size() < 2 || words[words.size() - 2] == "-") return false;
    return words.back() == "." || IsValidName(words.back());
}

// varlist [lblname|.] [, nofix]
ReturnCode label_values() {
    std::string_view rest = ScanRest();
    const std::string_view head = TrimBlanks(rest.substr(0, rest.find(',')));
    const std::vector<std::string_view> words = SplitWords(head);
    if (words.empty()) return ReportRequired("varlist");
    std::string name;
    std::string_view list = head;
    if (ends_with_label_name(words)) {
        name = words.back();
        list = head.substr(0, size_t(words.back().data() - head.data()));
        if (name == ".") name.clear();
    }
    SetScanPointer(const_cast<char*>(head.data() + head.size()));
    bool nofix = false;
    const OptionWord options[] = {{"nofix", 5, &nofix}};
    if (ReturnCode rc = ReadTrailingOptions(options)) return rc;

    std::vector<int32_t> vars;
    if (ReturnCode rc = varlist_from_text(list, &vars)) return rc;
    for (int32_t var : vars) {
        if (!name.empty() && type_is_string(dataset.types[var - 1])) return ReportError(181);
    }
    const int32_t longest = nofix ? 0 : longest_value_label(name);
    for (int32_t var : vars) {
        std::memset(dataset.label_names[var - 1], 0, sizeof(NameText));
        std::memcpy(dataset.label_names[var - 1], name.data(), name.size());
        note_change(var);
        widen_format(var, longest);
    }
    return 0;
}

// --- define, drop ---

// One `# "text"`.
ReturnCode take_entry(LabelChange* change) {
    char* p = SkipBlanks(ScanRest());
    const std::string_view number(p, std::strcspn(p, " ,\"`"));
    SetScanPointer(p + number.size());
    double value = 0;
    if (!ParseMacroNumber(number, &value) || !label_key(value, &change->key)) {
        return ReportFoundWhere(number, "integer");
    }
    if (ReturnCode rc = take_entry_text(&change->text)) return rc;
    cut_label(&change->text, kMaxLabelBytes);
    return 0;
}

// lblname # "text" [# "text" ...] [, add modify nofix]
ReturnCode label_define() {
    std::string name;
    if (ReturnCode rc = take_label_name(&name)) return rc;
    std::vector<LabelChange> changes;
    while (PeekChar() != 0 && PeekChar() != ',') {
        changes.emplace_back();
        if (ReturnCode rc = take_entry(&changes.back())) return rc;
    }
    bool add = false, modify = false, nofix = false;
    const OptionWord options[] = {{"add", 3, &add}, {"modify", 6, &modify}, {"nofix", 5, &nofix}};
    if (ReturnCode rc = ReadTrailingOptions(options)) return rc;
    if (changes.empty()) return ReportInvalidSyntax();

    LabelTable table;
    if (!add && !modify && open_label_table(name, &table)) {
        out_errorf("label %s already defined\n", name.c_str());
        return 110;
    }
    const LabelMode mode = modify ? LabelMode::Modify : LabelMode::Add;
    if (ReturnCode rc = change_label_table(name, &changes, mode)) return rc;
    if (!nofix) widen_formats(name);
    return 0;
}

// lblname [lblname ...], or _all
ReturnCode label_drop() {
    if (PeekChar() == 0) return ReportRequired("lblname");
    std::vector<std::string> names;
    if (std::string_view(TrimBlanks(ScanRest())) == "_all") {
        names = label_table_names();
    } else if (ReturnCode rc = take_tables({}, &names)) {
        return rc;
    }
    for (const std::string& name : names) drop_label_table(name);
    return 0;
}

// --- dir, list ---

ReturnCode label_dir() {
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    std::string list;
    const LevelGuard level(kLevelText);
    for (const std::string& name : label_table_names()) {
        out_text(name);
        out_newline();
        AppendWord(&list, name);
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
    }
    ClearResults();
    return SetResultText("names", list);
}

ReturnCode list_table(const std::string& name, const LabelTable& table) {
    const LevelGuard level(kLevelText);
    out_text(name);
    out_text(":\n");
    for (int i = 0; i < table.n; i++) {
        const std::string value = key_text(table.values[i]);
        out_spaces(kValueColumns - int(value.size()));
        out_result(value);
        out_text(" ");
        out_text(table.label(i));
        out_newline();
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
    }
    return 0;
}

// The entries' number and the range of their numbers, and whether missing values have labels.
ReturnCode store_table_results(const LabelTable& table) {
    int n_numbers = table.n;
    while (n_numbers > 0 && is_missing_key(table.values[n_numbers - 1])) n_numbers--;
    const bool any = n_numbers > 0;
    ClearResults();
    if (ReturnCode rc = SetResultNumber("k", table.n)) return rc;
    const double least = any ? table.values[0] : kSysMissing;
    if (ReturnCode rc = SetResultNumber("min", least)) return rc;
    const double most = any ? table.values[n_numbers - 1] : kSysMissing;
    if (ReturnCode rc = SetResultNumber("max", most)) return rc;
    return SetResultNumber("hasemiss", n_numbers < table.n ? 1 : 0);
}

// [lblname ...]: the results are those of the last one.
ReturnCode label_list() {
    std::vector<std::string> names;
    if (ReturnCode rc = take_tables({}, &names)) return rc;
    ClearResults();
    for (const std::string& name : names) {
        LabelTable table;
        if (!open_label_table(name, &table)) continue;
        if (ReturnCode rc = list_table(name, table)) return rc;
        if (&name == &names.back()) return store_table_results(table);
    }
    return 0;
}

// --- save ---

// The label as a do-file has it: in compound quotes, with a backslash where a macro would begin.
void append_quoted(std::string* line, std::string_view label) {
    line->append("`\"");
    for (char c : label) {
        if (c == '$' || c == '`') *line += '\\';
        *line += c;
    }
    line->append("\"'");
}

ReturnCode write_table(FileReplacement* file, const std::string& name, const LabelTable& table) {
    for (int i = 0; i < table.n; i++) {
        const std::string_view label = table.label(i);
        std::string line = "label define " + name + " " + key_text(table.values[i]) + " ";
        if (label.find_first_of("\"$`") == label.npos) {
            line.append("\"").append(label).append("\"");
        } else {
            append_quoted(&line, label);
        }
        line += ", modify\n";
        if (ReturnCode rc = WriteReplacement(file, line.data(), line.size())) return rc;
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
    }
    return 0;
}

// [lblname ...] using filename [, replace]
ReturnCode label_save() {
    std::vector<std::string> names;
    if (ReturnCode rc = take_tables("using", &names)) return rc;
    if (!TokenIs("using")) return ReportRequired("using");
    char typed[kMaxFileNameBytes + 1];
    if (ReturnCode rc = ParseFileName(typed)) return rc;
    bool replace = false;
    const OptionWord options[] = {{"replace", 7, &replace}};
    if (ReturnCode rc = ReadTrailingOptions(options)) return rc;

    const std::string name = WithExtension(typed, ".do");
    std::string path;
    if (ReturnCode rc = LocalPath(name, &path)) return rc;
    struct stat status;
    if (!replace && stat(path.c_str(), &status) == 0) return ReportFileError(602, name);
    FileReplacement file;
    if (ReturnCode rc = BeginReplace(&file, path)) return rc;
    for (const std::string& table_name : names) {
        LabelTable table;
        if (!open_label_table(table_name, &table)) continue;
        if (ReturnCode rc = write_table(&file, table_name, table)) return rc;
    }
    if (ReturnCode rc = CommitReplace(&file)) return rc;
    return ReportFileError(697, name);
}

struct SubcommandRow {
    std::string_view name;
    int minimum;
    ReturnCode (*handler)();
};
// A word takes the first row that it abbreviates.
constexpr SubcommandRow kSubcommands[] = {
    // clang-format off
    {"variable", 3, label_variable},
    {"values",   3, label_values},
    {"data",     2, label_data},
    {"dir",      2, label_dir},
    {"list",     1, label_list},
    {"drop",     4, label_drop},
    {"define",   2, label_define},
    {"save",     4, label_save},
    {"language", 4, label_language},
    // clang-format on
};

}  // namespace

// label subcommand ...
ReturnCode CmdLabel(int) {
    NextToken();
    const std::string_view word = scanner.TokenBuffer;
    for (const SubcommandRow& row : kSubcommands) {
        if (MatchAbbreviation(word, row.name, row.minimum)) return row.handler();
    }
    return ReportInvalidSyntax();
}

}  // namespace korva

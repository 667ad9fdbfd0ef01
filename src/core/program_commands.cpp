// core/program_commands.cpp - program, discard, and what a program's record tells others.
#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "core/ado_path.h"
#include "core/command_table.h"
#include "core/commands.h"
#include "core/dispatch.h"
#include "core/macro_functions.h"
#include "core/names.h"
#include "core/option_words.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/program.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/words.h"

namespace korva {

namespace {

constexpr size_t kMaxPropertiesBytes = 80;

struct KindWord {
    std::string_view name;
    uint8_t kind;
};
constexpr KindWord kKindWords[] = {
    // clang-format off
    {"rclass", kClassR}, {"eclass", kClassE}, {"sclass", kClassS},
    {"return", kClassR}, {"nclass", kClassNone},
    // clang-format on
};

// A subprogram's name has its ado-file's in front: owner.name.
std::string shown_name(const StoreRecord* record) {
    const auto* head = reinterpret_cast<const ProgramHead*>(record->payload());
    return head->owner[0] ? std::string(head->owner) + "." + record->name : record->name;
}

// All programs but the stored loops, the newest first.
std::vector<StoreRecord*> all_programs() {
    std::vector<StoreRecord*> programs;
    for (StoreRecord* r = StoreNext(kKindProgram, nullptr); r; r = StoreNext(kKindProgram, r)) {
        if (!IsLoopProgram(r->name)) programs.push_back(r);
    }
    return programs;
}

// --- program define ---

ReturnCode incorrect_option(const char* name) {
    out_error(std::string("option ") + name + " incorrectly specified\n");
    return 198;
}

// recall [, header | noheader], or onecall
ReturnCode parse_byable(uint8_t* state) {
    std::string text;
    if (!TakeParenthesised(&text)) return incorrect_option("byable()");
    const size_t comma = text.find(',');
    const std::string_view word = TrimBlanks(std::string_view(text).substr(0, comma));
    const std::string_view header = comma == text.npos
                                        ? ""
                                        : TrimBlanks(std::string_view(text).substr(comma + 1));
    if (word == "onecall" && comma == text.npos) {
        *state = kByOnecall;
    } else if (word == "recall" && (comma == text.npos || header == "header")) {
        *state = kByRecallHeader;
    } else if (word == "recall" && header == "noheader") {
        *state = kByRecall;
    } else {
        return incorrect_option("byable()");
    }
    return 0;
}

// Names with one blank between them.
ReturnCode parse_properties(std::string* properties) {
    std::string text;
    if (!TakeParenthesised(&text)) return incorrect_option("properties()");
    properties->clear();
    std::replace(text.begin(), text.end(), '"', ' ');
    for (size_t at = 0; (at = text.find_first_not_of(' ', at)) != text.npos;) {
        const size_t end = std::min(text.find(' ', at), text.size());
        if (!properties->empty()) *properties += ' ';
        properties->append(text, at, end - at);
        at = end;
    }
    return properties->size() <= kMaxPropertiesBytes ? 0 : incorrect_option("properties()");
}

// One of the words for the class of a program's results; at most one may be given.
ReturnCode take_kind(std::string_view word, bool* given, uint8_t* kind) {
    for (const KindWord& row : kKindWords) {
        if (!MatchAbbreviation(word, row.name, 1)) continue;
        if (*given) return ReportError(184);
        *given = true;
        *kind = row.kind;
        return 0;
    }
    return ReportOptionNotAllowed(word);
}

ReturnCode parse_definition_options(ProgramOptions* options, std::string* properties) {
    bool kind_given = false;
    while (*NextToken()) {
        const std::string word = scanner.TokenBuffer;
        ReturnCode code = 0;
        if (MatchAbbreviation(word, "plugin", 4)) {
            out_error("plugins are not available yet\n");
            code = 199;
        } else if (MatchAbbreviation(word, "sortpreserve", 4)) {
            options->sortPreserve = 1;
        } else if (word == "byable") {
            code = parse_byable(&options->byableState);
        } else if (word == "properties") {
            code = parse_properties(properties);
        } else {
            code = take_kind(word, &kind_given, &options->resultKind);
        }
        if (code) return code;
    }
    return 0;
}

// The name is the token just taken.
ReturnCode define_program() {
    const std::string name = scanner.TokenBuffer;
    if (name.empty() || name == ",") return ReportInvalidSyntax();
    if (!IsValidName(name)) {
        out_error(name + " is an invalid command name\n");
        return 198;
    }
    ProgramOptions options;
    std::string properties;
    NextToken();
    if (!TokenIsEmpty()) {
        if (!TokenIs(",")) return ReportInvalidSyntax();
        if (ReturnCode rc = parse_definition_options(&options, &properties)) return rc;
    }
    options.properties = properties;
    return DefineProgram(name, options);
}

// --- program list, drop, dir ---

ReturnCode print_program(const StoreRecord* record) {
    static constexpr const char* kKinds[] = {"", ", rclass", ", sclass", ", eclass"};
    const auto* head = reinterpret_cast<const ProgramHead*>(record->payload());
    out_newline();
    out_text(shown_name(record) + kKinds[head->resultKind & 3] + ":\n");
    // An ado-file's program begins with a line that its file does not have: line 0.
    const int first = head->loadMark ? 0 : 1;
    for (int32_t i = 0; i < head->lines; i++) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        std::string_view line = ProgramLineText(record, i);
        const auto blanks = static_cast<unsigned char>(line[0]);
        line = line.substr(1, line.size() - 2);
        out_textf("%3d. ", i + first);
        if (!line.empty()) out_text(std::string(blanks, ' ') + std::string(line));
        out_newline();
    }
    return 0;
}

// What a name of `program list` stands for: a global program, or owner.name.
StoreRecord* find_shown(std::string_view name) {
    const size_t point = name.find('.');
    const std::string_view owner = point == name.npos ? "" : name.substr(0, point);
    StoreRecord* record = FindProgram(point == name.npos ? name : name.substr(point + 1), owner,
                                      kFindPrograms);
    return record && owner == ProgramOf(record)->owner ? record : nullptr;
}

// The records of the words at the scanner; *all when it is _all. Subprograms only if they may be.
ReturnCode read_names(bool subprograms, std::vector<StoreRecord*>* records, bool* all) {
    *all = false;
    while (*NextToken()) {
        const std::string word = scanner.TokenBuffer;
        if (word == "_all") {
            *all = true;
            continue;
        }
        const size_t point = word.find('.');
        if (point != word.npos && !subprograms) {
            out_error("subprograms not allowed:  " + word + "\n");
            return 198;
        }
        const bool is_name = point == word.npos ? IsValidName(word)
                                                : IsValidName(word.substr(0, point)) &&
                                                      IsValidName(word.substr(point + 1));
        if (!is_name) return ReportFoundWhere(word, "name or _all");
        StoreRecord* record = find_shown(word);
        if (!record) return ReportNotFound(word);
        if (std::find(records->begin(), records->end(), record) == records->end()) {
            records->push_back(record);
        }
    }
    return 0;
}

ReturnCode list_programs() {
    std::vector<StoreRecord*> records;
    bool all;
    if (ReturnCode rc = read_names(true, &records, &all)) return rc;
    if (all || records.empty()) records = all_programs();
    LevelGuard level(kLevelText);
    for (const StoreRecord* record : records) {
        if (ReturnCode rc = print_program(record)) return rc;
    }
    return 0;
}

// Those in use stay, with what their scope needs.
void drop_all() {
    bool dropped = true;
    while (dropped) {
        dropped = false;
        for (StoreRecord* record : all_programs()) {
            const ProgramHead* head = ProgramOf(record);
            if (head->inUse || ScopeInUse(head->owner[0] ? head->owner : record->name)) continue;
            DropProgram(record);
            dropped = true;
            break;  // its subprograms went too: the list is no longer true
        }
    }
}

ReturnCode drop_programs() {
    std::vector<StoreRecord*> records;
    bool all;
    if (ReturnCode rc = read_names(false, &records, &all)) return rc;
    if (!all && records.empty()) {
        out_error("nothing found where name or _all expected\n");
        return 198;
    }
    for (const StoreRecord* record : records) {
        if (!all && ScopeInUse(record->name)) return ReportError(310);
    }
    if (all) {
        drop_all();
    } else {
        for (StoreRecord* record : records) DropProgram(record);
    }
    return 0;
}

ReturnCode list_directory() {
    LevelGuard level(kLevelText);
    uint64_t total = 0;
    for (StoreRecord* record : all_programs()) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        out_textf("%5s %8d  %s\n", ProgramOf(record)->loadMark ? "ado" : "", int(record->length),
                  shown_name(record).c_str());
        total += record->length;
    }
    out_spaces(6);
    out_tmrk("{hline 8}\n");
    out_spaces(6);
    out_textf("%8d\n", int(total));
    return 0;
}

// Loads the ado-file of a name in the midst of another command.
ReturnCode load_program(const std::string& name) {
    const std::string word = session.CommandWord;
    std::snprintf(session.CommandWord, sizeof session.CommandWord, "%s", name.c_str());
    const ReturnCode code = AutoLoad("ado", true);
    std::snprintf(session.CommandWord, sizeof session.CommandWord, "%s", word.c_str());
    return code;
}

}  // namespace

// program [define] name [, options], program list, program drop, program dir
ReturnCode CmdProgram(int) {
    NextToken();
    const std::string word = scanner.TokenBuffer;
    if (MatchAbbreviation(word, "dir", 2)) {
        if (ReturnCode rc = ExpectEnd(0)) return rc;
        return list_directory();
    }
    if (MatchAbbreviation(word, "list", 1)) return list_programs();
    if (MatchAbbreviation(word, "drop", 4)) return drop_programs();
    if (MatchAbbreviation(word, "define", 2)) NextToken();
    return define_program();
}

// discard: forgets what is kept for speed alone, so that changed ado-files are read again.
ReturnCode CmdDiscard(int) {
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    StoreDeleteType(kKindVarlist);
    StoreDeleteType(kKindLastCommand);
    StoreDeleteType(kKindPostfile);
    for (int32_t kind = kKindHeld; kind < kKindLocalMacro; kind++) StoreDeleteType(kind);
    DropAdoPrograms();
    return 0;
}

// `: properties program': the names given in its properties() option. An ado-file is loaded for it;
// a name that stands for no program has none.
ReturnCode MfProperties(int, std::string* result) {
    NextToken();
    if (!IsValidName(scanner.TokenBuffer)) return ReportInvalidSyntax();
    const std::string name = scanner.TokenBuffer;
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    std::string path;
    if (!FindProgram(name, session.Scope, kFindPrograms) && UnabbreviateBuiltin(name).empty() &&
        FindOnPath(name, "ado", 1, &path)) {
        if (ReturnCode rc = load_program(name)) return rc;
    }
    StoreRecord* record = FindProgram(name, session.Scope, kFindPrograms);
    if (record) *result += ProgramOf(record)->properties;
    return 0;
}

}  // namespace korva

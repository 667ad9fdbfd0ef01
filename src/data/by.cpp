// data/by.cpp - by and bysort: one command, run once for each group of observations with equal
// keys.
//
// The data are sorted by the list, so that a group is a run of observations and is found by
// comparing rows as the loop goes on. A built-in runs with by_state.active set and reads its range
// from by_state; its line stays in ConsoleBuffer and its parse is kept from group to group. A
// program overwrites both ConsoleBuffer and CommandWord, so its line is laid there anew for each
// group; active is off while it runs, for what it calls works on all observations, and its position
// stands in the group fields.
#include "data/by.h"

#include <cstring>
#include <string>
#include <vector>

#include "core/command_table.h"
#include "core/commands.h"
#include "core/dispatch.h"
#include "core/macro.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/program.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/upcalls.h"
#include "data/cells.h"
#include "data/skeleton.h"

namespace korva {

ByState by_state;

namespace {

constexpr int kMaxByLevel = 100;
constexpr int kMaxStateKeys = int(std::size(ByState{}.keys));

// What stands in front of the colon, and the command behind it.
struct ByPlan {
    std::vector<int32_t> keys;       // the grouping variables
    std::vector<std::string> names;  // theirs: a program may move the variables
    std::vector<int32_t> order;      // keys and the sort-only variables behind them
    bool rc0 = false;
    bool header = true;
    char word[kMaxNameBytes + 1] = {};
    std::string rest;              // the line behind the word, for programs
    char* rest_in_line = nullptr;  // the same in ConsoleBuffer, for built-ins
};

struct ByStateGuard {
    ByState saved = by_state;
    ~ByStateGuard() { by_state = saved; }
};

// --- the part in front of the colon ---

// The colon outside strings; null: there is none.
char* find_colon(char* text) {
    bool in_string = false;
    for (; *text; text++) {
        if (*text == '"') in_string = !in_string;
        if (*text == ':' && !in_string) return text;
    }
    return nullptr;
}

bool sorted_by(const std::vector<int32_t>& order) {
    for (size_t i = 0; i < order.size(); i++) {
        if (dataset.sortlist[i] != order[i]) return false;
        if (dataset.sortlist[i] == 0) return false;
    }
    return true;
}

ReturnCode sort_by(const std::vector<int32_t>& order) {
    if (sorted_by(order)) return 0;
    out_error("sorting is not available yet\n");
    return 199;
}

// varlist [(varlist)] [, sort rc0]
ReturnCode parse_prefix(bool sort_otherwise, ByPlan* plan) {
    if (ReturnCode rc = parse_varlist(&plan->keys)) return rc;
    const bool group = PeekChar() == '(';
    if (plan->keys.empty()) return group ? ReportInvalidSyntax() : ReportRequired("varlist");
    plan->order = plan->keys;
    if (group) {
        NextToken();
        std::vector<int32_t> sort_only;
        if (ReturnCode rc = parse_varlist(&sort_only)) return rc;
        NextToken();
        if (!TokenIs(")")) return TokenIsEmpty() ? ReportRequired(")") : report_invalid_token();
        plan->order.insert(plan->order.end(), sort_only.begin(), sort_only.end());
    }
    if (int64_t(plan->order.size()) > dataset.maxmaxvar) return ReportError(1002);
    for (int32_t var : plan->keys) plan->names.emplace_back(dataset.names[var - 1]);

    skeleton.permit.if_exp = kForbidden;
    skeleton.permit.in_range = kForbidden;
    if (ReturnCode rc = parse_tail()) return rc;
    const bool sort = option_present("sort", 1, sort_otherwise);
    plan->rc0 = option_present("rc0", 3, false);
    if (ReturnCode rc = options_done()) return rc;
    if (sort) {
        if (ReturnCode rc = sort_by(plan->order)) return rc;
    }
    return sorted_by(plan->order) ? 0 : ReportError(5);
}

// --- groups ---

bool same_key(int var, const uint8_t* row, const uint8_t* other) {
    const StorageType type = dataset.types[var - 1];
    const uint32_t offset = dataset.offsets[var - 1];
    const uint8_t* a = row + offset;
    const uint8_t* b = other + offset;
    if (std::memcmp(a, b, size_t(type_width(type))) == 0) return true;
    // Unequal bytes may be equal values: the two zeros, and what lies behind the end of a text.
    if (type_is_string(type)) {
        return std::strncmp(reinterpret_cast<const char*>(a), reinterpret_cast<const char*>(b),
                            type) == 0;
    }
    return read_cell(type, a) == read_cell(type, b);
}

// The last observation of the group that begins at `first`; 0 when the user broke in.
int32_t group_end(const std::vector<int32_t>& keys, int32_t first) {
    const uint8_t* row = rawrow(first);
    int32_t obs = first + 1;
    for (; obs <= dataset.nobs; obs++) {
        Poll(session.pollcount);
        if (session.BreakFlag) return 0;
        const uint8_t* other = rawrow(obs);
        for (int32_t var : keys) {
            if (!same_key(var, row, other)) return obs - 1;
        }
    }
    return dataset.nobs;
}

std::string key_text(int32_t var, int32_t obs) {
    if (type_is_string(dataset.types[var - 1])) return std::string(cell_text(var, obs));
    const std::string text = fmt_number(dataset.formats[var - 1], get(var, obs));
    const size_t begin = text.find_first_not_of(' ');
    if (begin == text.npos) return {};
    return text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

void print_header(const ByPlan& plan) {
    LevelGuard level(kLevelText);
    if (!OutputShows()) return;
    out_newline();
    out_style();
    out_tmrk("{hline}\n");
    out_text("-> ");
    for (size_t k = 0; k < plan.keys.size(); k++) {
        if (k > 0) out_text(", ");
        out_text(plan.names[k]);
        out_text(" = ");
        LevelGuard value(kLevelResult);
        out_text(key_text(plan.keys[k], by_state.group_first));
    }
    out_newline();
}

// Sets the group that begins at `first`; kBreak when the user broke in.
ReturnCode set_group(const ByPlan& plan, int32_t first) {
    const int32_t last = group_end(plan.keys, first);
    if (last == 0) return kBreak;
    by_state.group_first = first;
    by_state.group_last = last;
    by_state.group_number++;
    by_state.first_group = first == 1;
    by_state.last_group = last == dataset.nobs;
    return 0;
}

void start_groups(const ByPlan& plan) {
    by_state.level++;
    by_state.first_group = true;
    by_state.last_group = false;
    by_state.group_first = 1;
    by_state.group_last = 0;
    by_state.group_number = 0;
    by_state.nkeys = int32_t(plan.keys.size()) < kMaxStateKeys ? int32_t(plan.keys.size())
                                                               : kMaxStateKeys;
    for (int32_t k = 0; k < by_state.nkeys; k++) by_state.keys[k] = plan.keys[size_t(k)];
}

// What a group's code does to the loop: 0, and the loop goes on, or the code that ends it.
ReturnCode judge_code(const ByPlan& plan, ReturnCode code) {
    if (!plan.rc0 || code == kBreak) return code;
    if (code == 0) return 0;
    session.CaptureCode = code;
    LevelGuard level(kLevelText);
    out_textf("(return code was %d)\n", code);
    return 0;
}

// --- built-ins ---

// The commands that count over all groups and report once: no header, and rc0 does nothing.
bool reports_once(std::string_view name) {
    return name == "generate" || name == "replace" || name == "drop" || name == "keep" ||
           name == "assert";
}

ReturnCode run_builtin(const ByPlan& plan) {
    for (int32_t next = 1; next <= dataset.nobs;) {
        if (session.BreakFlag) return kBreak;
        if (ReturnCode rc = set_group(plan, next)) return rc;
        // The command may change the number of observations, but only at the last group.
        const bool last = by_state.last_group;
        next = by_state.group_last + 1;
        if (plan.header) print_header(plan);
        SetScanPointer(plan.rest_in_line);
        std::memcpy(session.CommandWord, plan.word, sizeof plan.word);
        if (ReturnCode rc = judge_code(plan, Dispatch())) return rc;
        if (last) return 0;
    }
    return 0;
}

ReturnCode run_builtin_groups(std::string_view name, ByPlan* plan) {
    ByStateGuard restore;
    start_groups(*plan);
    by_state.active = true;
    by_state.in_program = false;
    by_state.quiet_count = reports_once(name);
    if (by_state.quiet_count) {
        plan->header = false;
        plan->rc0 = false;
    }
    if (plan->rc0) session.CaptureCode = 0;
    forget_parsed_skeleton();
    const ReturnCode rc = run_builtin(*plan);
    forget_parsed_skeleton();
    abandon_drop_marks();
    abandon_generate();
    return rc;
}

// --- programs ---

// A long variable that numbers the groups, under a temporary name, for as long as by runs.
struct GroupIndex {
    char name[kMaxNameBytes + 1] = {};
    ~GroupIndex() {
        const int32_t var = name[0] ? find_variable_exact(name) : 0;
        if (var) drop_variables({var});
    }
};

ReturnCode make_group_index(const ByPlan& plan, GroupIndex* index) {
    char name[kMaxNameBytes + 1];
    NewTempName(name);
    if (ReturnCode rc = addvar_internal(name, kLong)) return rc;
    std::memcpy(index->name, name, sizeof name);
    const int32_t var = dataset.nvar;
    int32_t group = 0;
    for (int32_t first = 1; first <= dataset.nobs;) {
        const int32_t last = group_end(plan.keys, first);
        if (last == 0) return kBreak;
        group++;
        for (int32_t obs = first; obs <= last; obs++) put(var, obs, group);
        first = last + 1;
    }
    return 0;
}

// The local macros _byvars, _byrc0 and _byindex of the level that the program is about to open.
ReturnCode set_program_macros(const ByPlan& plan, const GroupIndex& index) {
    std::string names;
    for (const std::string& name : plan.names) {
        if (!names.empty()) names += ' ';
        names += name;
    }
    macros.MacroLevel++;
    ReturnCode rc = SetMacro("__byvars", names);
    if (!rc) rc = SetMacro("__byrc0", plan.rc0 ? ", rc0" : "");
    if (!rc) rc = SetMacro("__byindex", index.name);
    macros.MacroLevel--;
    return rc;
}

void drop_program_macros() {
    macros.MacroLevel++;
    for (const char* key : {"__byvars", "__byrc0", "__byindex"}) DropMacro(key);
    macros.MacroLevel--;
}

ReturnCode call_program(const ByPlan& plan, const GroupIndex& index) {
    if (ReturnCode rc = set_program_macros(plan, index)) return rc;
    std::memcpy(session.ConsoleBuffer, plan.rest.c_str(), plan.rest.size() + 1);
    SetScanPointer(session.ConsoleBuffer);
    std::memcpy(session.CommandWord, plan.word, sizeof plan.word);
    const ReturnCode rc = Dispatch();
    drop_program_macros();
    return rc == 2000 || rc == 2001 ? 0 : rc;
}

// A program may drop, move or re-sort: the keys are found again, and the order must still hold.
ReturnCode find_keys_again(ByPlan* plan) {
    for (size_t k = 0; k < plan->keys.size(); k++) {
        plan->keys[k] = find_variable_exact(plan->names[k]);
        if (plan->keys[k] == 0) return ReportNotFound(plan->names[k]);
    }
    return sorted_by(plan->keys) ? 0 : ReportError(5);
}

ReturnCode recall_program(ByPlan* plan, const GroupIndex& index) {
    for (int32_t next = 1; next <= dataset.nobs;) {
        if (session.BreakFlag) return kBreak;
        if (ReturnCode rc = set_group(*plan, next)) return rc;
        const bool last = by_state.last_group;
        next = by_state.group_last + 1;
        if (plan->header) print_header(*plan);
        if (ReturnCode rc = judge_code(*plan, call_program(*plan, index))) return rc;
        if (last) return 0;
        if (ReturnCode rc = find_keys_again(plan)) return rc;
    }
    return 0;
}

ReturnCode run_program_groups(uint8_t byable, ByPlan* plan) {
    if (by_state.level >= kMaxByLevel) {
        out_error("too many nested by's\n");
        return 920;
    }
    if (dataset.nobs == 0) return 0;
    plan->rest = plan->rest_in_line;
    plan->header = byable == kByRecallHeader;
    GroupIndex index;
    if (ReturnCode rc = make_group_index(*plan, &index)) return rc;

    ByStateGuard restore;
    start_groups(*plan);
    by_state.active = false;
    by_state.in_program = true;
    by_state.program_depth = session.CallDepth + 1;
    by_state.quiet_count = false;
    if (byable != kByOnecall) {
        if (plan->rc0) session.CaptureCode = 0;
        return recall_program(plan, index);
    }
    by_state.last_group = true;
    by_state.group_last = dataset.nobs;
    by_state.group_number = 1;
    return call_program(*plan, index);
}

// The program of plan->word, loaded if it must be, into *byable.
ReturnCode find_byable_program(const ByPlan& plan, uint8_t* byable) {
    StoreRecord* program = FindProgram(plan.word, session.Scope, kFindPrograms);
    if (!program) {
        session.ByLoading = 1;
        const ReturnCode rc = AutoLoad("ado", true);
        session.ByLoading = 0;
        if (rc) return rc;
        program = FindProgram(plan.word, session.Scope, kFindPrograms);
        if (!program) return 9733;
    }
    *byable = ProgramOf(program)->byableState;
    return 0;
}

ReturnCode refuse_by(std::string_view name) {
    out_errorf("%.*s may not be combined with by\n", int(name.size()), name.data());
    return 190;
}

}  // namespace

bool ByActive() {
    return by_state.active;
}

bool ByGroupRunning() {
    return by_state.active || by_state.in_program;
}

bool by_program_running() {
    return by_state.in_program && session.CallDepth == by_state.program_depth;
}

// by varlist [(varlist)] [, sort rc0] : command
ReturnCode CmdBy(int argument) {
    if (by_state.active || session.ByLoading) return ReportError(7198);
    ByPlan plan;
    char* line = ScanRest();
    char* colon = find_colon(line);
    if (!colon) return ReportRequired(":");
    std::string prefix(line, size_t(colon - line));
    SetScanPointer(prefix.data());
    const ReturnCode prefix_rc = parse_prefix(argument == 1, &plan);
    SetScanPointer(colon + 1);
    if (prefix_rc) return prefix_rc;

    NextToken();
    if (TokenIsEmpty()) return ReportInvalidSyntax();
    TakeCommandWord();
    std::memcpy(plan.word, session.CommandWord, sizeof plan.word);
    plan.rest_in_line = ScanRest();
    const std::string builtin(ByableBuiltin(plan.word));
    if (!builtin.empty()) {
        if (by_state.level >= kMaxByLevel) {
            out_error("too many nested by's\n");
            return 920;
        }
        return run_builtin_groups(builtin, &plan);
    }
    const std::string_view other = UnabbreviateBuiltin(plan.word);
    if (!other.empty()) return refuse_by(other);
    uint8_t byable = kByNo;
    if (ReturnCode rc = find_byable_program(plan, &byable)) return rc;
    if (byable == kByNo) return refuse_by(plan.word);
    return run_program_groups(byable, &plan);
}

}  // namespace korva

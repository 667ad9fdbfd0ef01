// data/by.cpp - by and bysort: one command, run once for each group of observations with equal
// keys.
//
// The data are sorted by the list, so that a group is a run of observations and is found by
// comparing rows as the loop goes on. A built-in runs with by_state.active set and reads its range
// from by_state; its line stays in ConsoleBuffer and its parse is kept from group to group. A
// program overwrites both ConsoleBuffer and CommandWord, so its line is laid there anew for each
// group; active is off while it runs, for what it calls works on all observations, and its position
// stands in the group fields. A program may also change the data: the next group is then looked for
// by the values of the keys.
#include "data/by.h"

#include <cstring>
#include <string>
#include <vector>

#include "core/command_table.h"
#include "core/commands.h"
#include "core/dispatch.h"
#include "core/macro.h"
#include "core/missing.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/program.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/store.h"
#include "core/upcalls.h"
#include "data/cells.h"
#include "data/skeleton.h"

namespace korva {

ByState by_state;

namespace {

constexpr int kMaxByLevel = 100;

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
    // Unequal bytes are equal values in the two zeros only.
    if (type_is_string(type)) return false;
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

void start_groups() {
    by_state.level++;
    by_state.first_group = true;
    by_state.last_group = false;
    by_state.group_first = 1;
    by_state.group_last = 0;
    by_state.group_number = 0;
}

// True between two groups when the session is being left: nothing more is run.
bool is_leaving() {
    return session.Unwind || session.ShuttingDown;
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
        if (last || is_leaving()) return 0;
    }
    return 0;
}

ReturnCode run_builtin_groups(std::string_view name, ByPlan* plan) {
    ByStateGuard restore;
    start_groups();
    by_state.active = true;
    by_state.in_program = false;
    if (reports_once(name)) {
        plan->header = false;
        plan->rc0 = false;
    }
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

// The local macros _byvars, _byrc0 and _byindex of the level that the program is about to open. At
// the deepest level it cannot be entered, and there is no kind of store records for its macros.
struct ProgramMacros {
    int32_t kind = kKindLocalMacro + macros.MacroLevel + 1;
    bool has_level = session.CallDepth < kMaxCallDepth && macros.MacroLevel + 1 < kLevels;

    ReturnCode set(const ByPlan& plan, const GroupIndex& index) const {
        if (!has_level) return 0;
        std::string names;
        for (const std::string& name : plan.names) {
            if (!names.empty()) names += ' ';
            names += name;
        }
        ReturnCode rc = SetMacroOfKind("__byvars", kind, names);
        if (!rc) rc = SetMacroOfKind("__byrc0", kind, plan.rc0 ? ", rc0" : "");
        if (!rc) rc = SetMacroOfKind("__byindex", kind, index.name);
        return rc;
    }
    // The level's end drops them; they remain if the program could not be entered.
    ~ProgramMacros() {
        for (const char* key : {"__byvars", "__byrc0", "__byindex"}) {
            if (has_level) SetMacroOfKind(key, kind, "");
        }
    }
};

ReturnCode call_program(const ByPlan& plan, const GroupIndex& index) {
    const ProgramMacros program_macros;
    if (ReturnCode rc = program_macros.set(plan, index)) return rc;
    std::memcpy(session.ConsoleBuffer, plan.rest.c_str(), plan.rest.size() + 1);
    SetScanPointer(session.ConsoleBuffer);
    std::memcpy(session.CommandWord, plan.word, sizeof plan.word);
    return Dispatch();
}

// The value of a key in a group.
struct KeyValue {
    bool is_text = false;
    double number = 0;
    std::string text;
};

std::vector<KeyValue> key_values(const std::vector<int32_t>& keys, int32_t obs) {
    std::vector<KeyValue> values;
    for (int32_t var : keys) {
        const bool is_text = type_is_string(dataset.types[var - 1]);
        values.push_back({is_text, get(var, obs), std::string(cell_text(var, obs))});
    }
    return values;
}

// True if the observation's keys come behind the values in the sort order.
bool comes_behind(int32_t obs, const std::vector<int32_t>& keys,
                  const std::vector<KeyValue>& values) {
    for (size_t k = 0; k < keys.size(); k++) {
        if (values[k].is_text) {
            const int order = cell_text(keys[k], obs).compare(values[k].text);
            if (order != 0) return order > 0;
        } else if (const double x = get(keys[k], obs); x != values[k].number) {
            return x > values[k].number;
        }
    }
    return false;
}

// A program may have dropped, moved or recast the keys: finds them again. 5, 109 or 111, with
// words, if the loop cannot go on.
ReturnCode find_keys_again(const std::vector<KeyValue>& values, ByPlan* plan) {
    for (size_t k = 0; k < plan->keys.size(); k++) {
        const int32_t var = find_variable_exact(plan->names[k]);
        if (var == 0) return ReportNotFound(plan->names[k]);
        if (type_is_string(dataset.types[var - 1]) != values[k].is_text) return ReportError(109);
        plan->keys[k] = var;
    }
    return sorted_by(plan->keys) ? 0 : ReportError(5);
}

// The first observation of the group behind the one of these values, whatever the program dropped,
// added or moved; behind the last observation if there is none.
int32_t next_group(const std::vector<int32_t>& keys, const std::vector<KeyValue>& values) {
    int64_t low = 1;
    int64_t high = int64_t(dataset.nobs) + 1;
    while (low < high) {
        const int64_t middle = (low + high) / 2;
        if (comes_behind(int32_t(middle), keys, values)) {
            high = middle;
        } else {
            low = middle + 1;
        }
    }
    return int32_t(low);
}

// The group's number as the index variable has it: a group that is gone leaves a gap.
void take_number_from(const GroupIndex& index) {
    const int32_t var = find_variable_exact(index.name);
    const double number = var ? get(var, by_state.group_first) : kSysMissing;
    if (number < kSysMissing) by_state.group_number = int32_t(number);
}

ReturnCode recall_program(ByPlan* plan, const GroupIndex& index) {
    for (int32_t next = 1; next <= dataset.nobs;) {
        if (session.BreakFlag) return kBreak;
        if (ReturnCode rc = set_group(*plan, next)) return rc;
        take_number_from(index);
        const bool last = by_state.last_group;
        const std::vector<KeyValue> values = key_values(plan->keys, next);
        if (plan->header) print_header(*plan);
        const ReturnCode code = call_program(*plan, index);
        const bool is_empty_group = code == 2000 || code == 2001;
        if (ReturnCode rc = judge_code(*plan, is_empty_group ? 0 : code)) return rc;
        if (last || is_leaving()) return 0;
        if (ReturnCode rc = find_keys_again(values, plan)) return rc;
        next = next_group(plan->keys, values);
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
    start_groups();
    by_state.active = false;
    by_state.in_program = true;
    by_state.program_depth = session.CallDepth + 1;
    if (byable != kByOnecall) return recall_program(plan, index);
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
    if (other == "by" || other == "bysort") return ReportError(7198);
    if (!other.empty()) return refuse_by(other);
    uint8_t byable = kByNo;
    if (ReturnCode rc = find_byable_program(plan, &byable)) return rc;
    if (byable == kByNo) return refuse_by(plan.word);
    return run_program_groups(byable, &plan);
}

}  // namespace korva

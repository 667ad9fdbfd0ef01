// data/completion_sources.cpp - each source looks at its own table or kind of the store.
//
// The prefix is compared before anything is made: a label is looked up for those variables only
// that are offered.
#include "data/completion_sources.h"

#include <algorithm>
#include <cstdlib>

#include "core/command_table.h"
#include "core/completion_files.h"
#include "core/macro.h"
#include "core/names.h"
#include "core/platform.h"
#include "core/program.h"
#include "core/session.h"
#include "core/settings_table.h"
#include "core/store.h"
#include "core/system_values.h"
#include "data/dataset.h"
#include "data/function_table.h"

namespace korva {

namespace {

constexpr size_t kMaxNoteBytes = 80;  // a variable's label is no longer

std::string_view name_of(const StoreRecord* record) {
    return {record->name, record->name_bytes};
}

// Every record of the kind, with the same note.
void add_kind(int32_t kind, std::string_view note, ChoiceList* list) {
    for (StoreRecord* r = StoreNext(kind, nullptr); r; r = StoreNext(kind, r)) {
        if (IsValidName(name_of(r))) list->add(name_of(r), note);
    }
}

std::string_view text_of(const StoreRecord* record) {
    return {record->payload(), record->length > 0 ? record->length - 1 : 0};
}

std::string_view kind_of_file(std::string_view name) {
    struct SuffixRow {
        std::string_view suffix, kind;
    };
    static constexpr SuffixRow kKinds[] = {
        {".dta", "dataset"},
        {".do", "do-file"},
        {".ado", "ado-file"},
        {".log", "log"},
    };
    for (const SuffixRow& row : kKinds) {
        if (name.ends_with(row.suffix)) return row.kind;
    }
    return {};
}

// A built-in that this version has and that runs.
bool is_available(const CommandRow& row) {
    return row.handler != nullptr && row.name != "{" && FindCommand(row.name) == &row;
}

}  // namespace

void ChoiceList::add(std::string_view name, std::string_view note) {
    if (!wants(name)) return;
    CompletionChoice& choice = answer->choices.emplace_back();
    choice.word.reserve(name.size() + closing.size());
    choice.word.append(name).append(closing);
    choice.note = note;
}

std::string note_of(std::string_view text) {
    std::string note(text.substr(0, kMaxNoteBytes));
    std::replace_if(
        note.begin(), note.end(), [](char c) { return uint8_t(c) < ' ' || c == 0x7F; }, ' ');
    return note;
}

void add_commands(ChoiceList* list) {
    for (const CommandRow& row : CommandTable()) {
        if (list->wants(row.name) && is_available(row)) list->add(row.name, "command");
    }
    add_programs(list);
    for (const std::string& name : MatchAdoFiles(list->prefix)) list->add(name, "ado-file");
}

void add_programs(ChoiceList* list) {
    for (StoreRecord* r = StoreNext(kKindProgram, nullptr); r; r = StoreNext(kKindProgram, r)) {
        const std::string_view owner = ProgramOf(r)->owner;
        if (!IsLoopProgram(r->name) && (owner.empty() || owner == session.Scope)) {
            list->add(name_of(r), "program");
        }
    }
}

void add_variables(ChoiceList* list) {
    for (int var = 1; var <= dataset.nvar; var++) {
        const std::string_view name = dataset.names[var - 1];
        if (!list->wants(name) || name[0] == '(') continue;
        if (name.starts_with("__") && TempNameNumber(name) >= 0) continue;
        const std::string label = variable_label(var);
        list->add(name, label.empty() ? type_name(dataset.types[var - 1]) : note_of(label));
    }
}

void add_functions(ChoiceList* list) {
    ChoiceList calls{list->prefix, list->answer, "("};
    for (const FunctionRow& row : function_rows()) {
        if (row.kind == FunctionKind::InMatrixMode || !function_is_available(row)) continue;
        if (row.last_version != 0 && session.version > row.last_version) continue;
        calls.add(row.name, "function");
    }
    for (const std::string_view name : {"_N", "_n", "_pi", "_rc"})
        list->add(name, "system variable");
}

void add_scalars(ChoiceList* list) {
    add_kind(kKindScalar, "scalar", list);
}

void add_matrices(ChoiceList* list) {
    add_kind(kKindMatrix, "matrix", list);
}

void add_value_labels(ChoiceList* list) {
    add_kind(kKindValueLabel, "value label", list);
}

void add_local_macros(ChoiceList* list) {
    const int32_t kind = kKindLocalMacro + macros.MacroLevel;
    for (StoreRecord* r = StoreNext(kind, nullptr); r; r = StoreNext(kind, r)) {
        const std::string_view name = name_of(r);
        if (name.size() > 1 && list->wants(name.substr(1))) {
            list->add(name.substr(1), note_of(text_of(r)));
        }
    }
}

void add_global_macros(ChoiceList* list) {
    for (StoreRecord* r = StoreNext(kKindGlobalMacro, nullptr); r;
         r = StoreNext(kKindGlobalMacro, r)) {
        if (list->wants(name_of(r))) list->add(name_of(r), note_of(text_of(r)));
    }
}

void add_results(ResultFamily family, ChoiceList* list) {
    switch (family) {
    case ResultFamily::R:
        add_kind(kKindResultScalar, "scalar", list);
        add_kind(kKindResultMacro, "macro", list);
        return add_kind(kKindResultMatrix, "matrix", list);
    case ResultFamily::E:
        add_kind(kKindEstimateScalar, "scalar", list);
        add_kind(kKindEstimateMacro, "macro", list);
        return add_kind(kKindEstimateMatrix, "matrix", list);
    case ResultFamily::S: return add_kind(kKindSMacro, "macro", list);
    case ResultFamily::Return: return;
    }
}

void add_system_values(ChoiceList* list) {
    for (const SystemValueRow& row : SystemValueTable()) {
        if (row.get != nullptr) list->add(row.name, "system value");
    }
}

// Rows for older versions and words that do nothing any more are not offered.
void add_settings(ChoiceList* list) {
    for (const SettingRow& row : SettingTable()) {
        if (row.kind < SettingKind::Ignored && row.more.below == INT32_MAX) {
            list->add(row.name, "setting");
        }
    }
}

void add_setting_values(std::string_view setting, ChoiceList* list) {
    static constexpr std::string_view kSwitch[] = {"off", "on"};
    static constexpr std::string_view kPoints[] = {"comma", "period"};
    for (const SettingRow& row : SettingTable()) {
        if (!row.name.starts_with(setting)) continue;
        const bool is_switch = row.kind == SettingKind::Switch ||
                               row.kind == SettingKind::WindowSwitch;
        if (is_switch) return add_words(kSwitch, list);
        for (const char* word : row.more.words) list->add(word, {});
        if (!row.more.words.empty()) return;
        if (row.name == "dp") return add_words(kPoints, list);
        if (row.name == setting) return;
    }
}

void add_words(std::span<const std::string_view> words, ChoiceList* list) {
    for (const std::string_view word : words) list->add(word, {});
}

void add_files(std::string_view suffixes, ChoiceList* list) {
    list->answer->file_names = true;
    std::string path(list->prefix);
    const char* home = std::getenv(platform::kHomeVariable);
    if (home != nullptr && (path == "~" || path.starts_with("~/"))) {
        path = home + (path == "~" ? "/" : path.substr(1));
    }
    const size_t base = path.rfind('/') + 1;  // 0 when there is no separator
    const std::string directory = path.substr(0, base);
    for (const FileMatch& match :
         MatchFiles(directory, std::string_view(path).substr(base), suffixes)) {
        CompletionChoice& choice = list->answer->choices.emplace_back();
        choice.word = directory + match.name + (match.is_directory ? "/" : "");
        choice.note = match.is_directory ? "directory" : kind_of_file(match.name);
    }
}

}  // namespace korva

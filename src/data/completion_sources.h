// data/completion_sources.h - the words that there are to choose from: commands, variables, macros
// and the other things with names.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "core/stored_results.h"
#include "frontend/completion.h"

namespace korva {

// Takes what begins with the prefix into an answer. Words may come more than once.
struct ChoiceList {
    std::string_view prefix;
    CompletionAnswer* answer;
    std::string_view closing = {};  // set behind each name: `'` of a macro, `)` of a result

    bool wants(std::string_view name) const { return name.starts_with(prefix); }
    void add(std::string_view name, std::string_view note);
};

// Any text as a note: bytes that would disturb a terminal as blanks, not longer than a line holds.
std::string note_of(std::string_view text);

void add_commands(ChoiceList* list);   // built-ins, programs in memory, ado-files
void add_programs(ChoiceList* list);   // programs in memory
void add_variables(ChoiceList* list);  // without hidden and temporary ones
void add_functions(ChoiceList* list);  // with their opening bracket; also _n and its kin
void add_scalars(ChoiceList* list);
void add_matrices(ChoiceList* list);
void add_value_labels(ChoiceList* list);
void add_local_macros(ChoiceList* list);  // of the current level
void add_global_macros(ChoiceList* list);
void add_results(ResultFamily family, ChoiceList* list);
void add_system_values(ChoiceList* list);
void add_settings(ChoiceList* list);
void add_setting_values(std::string_view setting, ChoiceList* list);
void add_words(std::span<const std::string_view> words, ChoiceList* list);

// The files whose names begin with the path typed so far, which stands in the list's prefix. The
// home directory takes the place of `~`, which no command would know. Sets file_names.
void add_files(std::string_view suffixes, ChoiceList* list);

}  // namespace korva

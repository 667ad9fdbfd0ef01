// data/syntax.h - a program's text taken apart by the forms of its picture.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/syntax_picture.h"
#include "core/types.h"
#include "data/skeleton.h"

namespace korva {

// Applies the forms to the text: what it finds goes to local macros of the current level. 100 to
// 103, 109, 111, 190, 197, 198 and their kin with words; the macros set until then stay.
ReturnCode apply_syntax(const SyntaxForms& forms, std::string_view text);

// --- data/syntax_options.cpp ---

// The options, as they stand behind the comma, to one local macro each.
ReturnCode apply_options(const OptionForms& forms, std::string_view text);

// Reads a list of the form from its own text: existing or new variables, or names; *names gets
// them, abbreviations expanded, and *types the storage types of new variables (null: not asked
// for). The count is not looked at. A word behind the list is 198.
ReturnCode read_list(const ListForm& form, std::string_view text, std::string* names,
                     int32_t* count, std::string* types);

// The names of the variables, with blanks between; `operators` as parse_varlist makes them.
std::string names_of(const std::vector<int32_t>& list,
                     const std::vector<const TsOperator*>& operators);

// 109 with words behind `prefix` when the form wants another type than a variable has.
ReturnCode check_types(const ListForm& form, const std::vector<int32_t>& list,
                       std::string_view prefix);

// "NOUN:  too many specified" or few: 103 and 102.
ReturnCode check_count(const ListForm& form, int32_t count, std::string_view noun);

}  // namespace korva

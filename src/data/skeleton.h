// data/skeleton.h - the parser of [varlist] [=exp] [using file] [if exp] [in range] [weight] [,
// options].
//
// A command sets skeleton.permit, calls parse_skeleton() (or parse_tail() when it has read its own
// first part), asks for its options, and calls options_done(). The permissions are back at their
// defaults and the results are gone at the next command.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/types.h"
#include "data/dataset.h"
#include "data/expression.h"
#include "data/time_series.h"

namespace korva {

enum Permission : uint8_t {
    kAllowed = 0,
    kRequired = 1,
    kSpecial = 2,  // using: the empty form means the last file; in: it may end beyond the data
    kForbidden = 3,
    kStringsToo = 4,  // if: compiled with strings permitted
};

enum : uint8_t { kAweight = 1, kFweight = 2, kPweight = 4, kIweight = 8 };

struct Permissions {
    Permission varlist = kAllowed;
    bool new_varlist = false;  // the new-variable-list grammar
    bool label_names = false;  // new variables may have :lblname
    bool by_allowed = true;
    Permission operators = kForbidden;  // time-series operators
    Permission exp = kForbidden;
    ExpressionMode exp_mode = ExpressionMode::Number;
    Permission using_file = kForbidden;
    Permission if_exp = kAllowed;
    Permission in_range = kAllowed;
    uint8_t weights = 0;         // kAweight | ...; 0: forbidden
    uint8_t default_weight = 0;  // what plain [weight=] means
    Permission options = kAllowed;
    bool stop_at_unknown = false;
    bool one_of_varlist_if_in = false;
};

struct SkeletonOption {
    std::string name;
    std::string argument;
    bool has_argument = false;
    bool used = false;   // a reader asked for it
    bool wrong = false;  // a reader asked for it, but it has an argument too many or lacks one
};

struct SkeletonState {
    Permissions permit;
    std::vector<int32_t> varlist;  // 1-based variable numbers
    // One for each of the varlist, null without; empty if there is none at all.
    std::vector<const TsOperator*> operators;
    std::vector<int32_t> group_bounds;  // new-variable list: places where ( ) begin and end
    bool varlist_given = false;
    bool all_given = false;           // _all stood there alone
    bool new_type_given = false;      // new-variable list: a storage type was typed
    bool new_type_automatic = false;  // it was plain `str`: the width grows with the texts
    int32_t first = 1;                // range of observations
    int32_t last = 0;
    bool in_given = false;
    bool if_given = false;
    bool exp_given = false;
    bool using_given = false;
    std::string using_file;
    std::string if_text;  // cleaned text of the expressions
    std::string exp_text;
    uint8_t weight_type = 0;  // 0: plain [weight=] where the command has no default
    bool weight_given = false;
    std::string weight_text;  // compiled into main_expression, or scratch_expression beside an =exp
    std::vector<SkeletonOption> options;
};
extern SkeletonState skeleton;  // defined in data/skeleton.cpp

// Parses the rest of the line by skeleton.permit. Without a varlist, an allowed one stays empty:
// varlist_or_all() gives all variables. =exp is compiled into main_expression, if into
// if_expression. Under by the text is parsed for the first group only; for the others the results
// are put back with the group's range. A failure drops the new variables that the list added.
ReturnCode parse_skeleton();
ReturnCode parse_tail();

// True for the second by group on, when the parse of the first stands: a command that reads a part
// of the line itself before parse_tail() skips that as well.
bool skeleton_reused();

// A by prefix begins or ends: no parse is kept.
void forget_parsed_skeleton();

// "'text' invalid", 198, for the token just taken.
ReturnCode report_invalid_token();

// A weight behind its `[`, up to and with the `]`: the type, `otherwise` for plain [weight=], and
// the text of its expression, not looked at yet. 100, 101, 198 with words.
ReturnCode read_weight(uint8_t allowed, uint8_t otherwise, uint8_t* type, std::string* text);

// "fweight" for kFweight; "weight" for none.
std::string_view weight_name(uint8_t type);

// All variables but (e), if the varlist is empty.
void varlist_or_all();

// True if the observation, inside [first, last], is in the sample: the if holds.
bool sample_has(int obs);

// marks[k] is 1 where observation obs + k is in the sample; n <= kBlockObs. Returns how many are.
int sample_block(int obs, int n, uint8_t* marks);

// Elements of skeleton.varlist, 0-based, through their operators: the text of the element, its
// value at an observation, and n <= kBlockObs values.
const TsOperator* varlist_operator(size_t i);
std::string varlist_name(size_t i);
double varlist_value(size_t i, int obs);
void varlist_gather(size_t i, int obs, int n, double* out);

// The option readers. Each marks the option used. option_present: `no` + name gives false.
bool option_present(std::string_view name, int minimum, bool otherwise);
bool option_text(std::string_view name, int minimum, std::string* text);  // true if name(text) was
                                                                          // given
ReturnCode option_number(std::string_view name, int minimum, double* value, bool* given);
ReturnCode option_integer(std::string_view name, int minimum, int32_t* value, bool* given);

// 199 with words if the option was given: known, and not built yet.
ReturnCode option_not_available(std::string_view name, int minimum);

// 198 with words if an option was not asked for.
ReturnCode options_done();

// 109 if one of the variables is a string.
ReturnCode require_numeric(const std::vector<int32_t>& varlist);

// --- data/varlist.cpp ---

// Reads a list of existing variables from the scanner, up to a keyword, `=`, `,`, `[`, `:` or the
// end. 103, 111, 198 with words. Time-series operators are refused (6101) without `operators`;
// with it, it becomes as SkeletonState has it, and time_setting is resolved if there are any.
ReturnCode parse_varlist(std::vector<int32_t>* list,
                         std::vector<const TsOperator*>* operators = nullptr);

// The same from a text of its own.
ReturnCode varlist_from_text(std::string_view text, std::vector<int32_t>* list,
                             std::vector<const TsOperator*>* operators = nullptr);

// One variable by name or abbreviation; 111 with words.
ReturnCode find_variable(std::string_view name, int32_t* var);

// The variable a name or abbreviation stands for, in silence: 0 none or ambiguous.
int32_t look_up_variable(std::string_view name);

// A new-variable list: adds the variables at once (cells not initialised); an error drops them
// again. Without a type a variable has that of `set type`. *automatic: the type was plain `str`.
// Sets skeleton.new_type_given. 103, 110, 181, 198, 900 and its kin with words.
ReturnCode parse_new_varlist(std::vector<int32_t>* list, bool* automatic, bool label_names);

struct NewVariable {
    std::string name;
    StorageType type;
};

// Reads the same grammar from the scanner without adding anything; the same codes.
ReturnCode read_new_names(std::vector<NewVariable>* names);

// Drops the last variables, back to nvar = n, as if they had never been added.
void undo_new_variables(int32_t nvar_before);

// The name in at most `width` columns (5 at least): the start of a longer one, `~` and its last
// character.
std::string abbreviate_name(std::string_view name, int width);

// True if the word ends a variable list: if, in, using, =, a comma, a bracket, a colon, the end.
bool is_list_end(std::string_view token);

// ? one character, * any run; case counts.
bool glob_match(std::string_view pattern, std::string_view name);

// An observation range behind `in`, which was taken. It ends within the data unless `beyond_data`.
ReturnCode parse_in_range(int32_t* first, int32_t* last, bool beyond_data = false);

}  // namespace korva

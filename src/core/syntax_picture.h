// core/syntax_picture.h - the picture that a program gives to syntax, and its internal form.
//
// syntax translates the picture into seven texts, which stand in the local macros varlist, if, in,
// using, exp, weight and options until parse puts what it finds there; old programs set them
// themselves. Their words:
//   varlist  [opt|required] ex|new|names|anything, then modifiers: min(#) max(#) none numeric
//            string ts equalok everything local name(x) id(x)
//   if, in, using, exp   opt|required [nopre], nopre: without the word in front
//   weight   the types, the first being what plain [weight=] means; nopre
//   options  as in the picture, with `!` in front of a required one
// An empty text: the program does not take that part.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/number_list.h"
#include "core/types.h"

namespace korva {

struct SyntaxForms {
    std::string varlist, if_exp, in_range, using_file, exp, weight, options;
};

// 197 or 198 with words when the picture is none; then *forms is not to be used.
ReturnCode TranslatePicture(std::string_view picture, SyntaxForms* forms);

enum class ListKind : uint8_t { None, Existing, New, Names, Anything };

// What is said of a list: of the first element, or of an option's argument.
struct ListForm {
    ListKind kind = ListKind::None;
    bool required = false;
    bool no_default = false;  // without a list, none: not all variables
    bool numeric = false;
    bool string = false;
    bool operators = false;   // time-series operators may stand there
    bool equal_ok = false;    // anything goes on behind `=`
    bool everything = false;  // and behind if, in, using, = and [ too: up to the comma
    bool local = false;       // names of local macros
    bool single = false;      // varname, newvarname, name
    int32_t min = 0;
    int32_t max = INT32_MAX;
    std::string_view macro;  // of name(): the macro for the names; empty: the element's word
    std::string_view id;     // what messages call the list; empty: the element's word
};

// The internal text to what it says; the views lie in it. False: it says nothing sound.
bool ReadListForm(std::string_view text, ListForm* form);

struct QualifierForm {
    bool allowed = false;
    bool required = false;
    bool prefix = true;  // the macro holds the word in front as well
};
QualifierForm ReadQualifierForm(std::string_view text);

enum class OptionType : uint8_t {
    Flag,
    String,
    Asis,
    Integer,
    Real,
    NumberList,
    List,
    Passthru,
    ConfidenceLevel
};

struct OptionForm {
    std::string_view name;  // in lower case, without the `no` of a flag that is negated
    int32_t minimum = 0;    // bytes of the shortest abbreviation, that `no` not counted
    OptionType type = OptionType::Flag;
    bool negated = false;  // the user types no + name
    bool required = false;
    std::string_view otherwise;  // the number it has when it is not given
    ListForm list;
    NumberListRules numbers;

    bool takes_argument() const { return type != OptionType::Flag; }
};

struct OptionForms {
    std::string text;  // where the views of `options` lie
    std::vector<OptionForm> options;
    bool others = false;  // `*`: unknown options go to the macro options
};

// The internal text of the options to what it says; 197 with words.
ReturnCode ReadOptionForms(std::string_view text, OptionForms* forms);

}  // namespace korva

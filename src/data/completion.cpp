// data/completion.cpp - from a half-typed statement to the words that could stand at its end.
//
// The text is taken apart once (core/completion_text.h), its command found and what stands between
// it and the cursor read (data/completion_statement.h). That and the command's row tell the place,
// and the place names the sources (data/completion_sources.h). Neither the scanner nor any command
// takes part, so a question leaves the session as it was.
#include "frontend/completion.h"

#include <algorithm>

#include "core/completion_text.h"
#include "core/names.h"
#include "core/words.h"
#include "data/completion_options.h"
#include "data/completion_sources.h"
#include "data/completion_statement.h"

namespace korva {

namespace {

// More than the largest dataset has variables, with functions and macros beside them.
constexpr size_t kMaxChoices = 40000;

// What a command takes behind its word.
enum class Place : uint8_t {
    Varlist,  // variables, and expressions behind `if`, `in` and `=`
    Expression,
    Nothing,
    File,   // one file's name, first of all
    Files,  // nothing but names of files
    Commands,
    Setting,
    Label,
    Program,
    Scalar,
    Matrix,
    Local,
    Global,
    Macro,
    NewVariable,
    Format,
    Foreach,
};

struct PlaceRow {
    std::string_view command;  // full name
    Place place;
    std::string_view suffixes = {};  // of the files that it takes, also behind `using`
};
constexpr PlaceRow kPlaces[] = {
    // clang-format off
    {"append",    Place::Nothing,     ".dta"},
    {"args",      Place::Nothing},
    {"assert",    Place::Expression},
    {"break",     Place::Nothing},
    {"cat",       Place::File},
    {"cd",        Place::File,        "/"},
    {"chdir",     Place::File,        "/"},
    {"checksum",  Place::File},
    {"chelp",     Place::Commands},
    {"cmdlog",    Place::Nothing},
    {"continue",  Place::Nothing},
    {"copy",      Place::Files},
    {"cp",        Place::Files},
    {"dir",       Place::File},
    {"discard",   Place::Nothing},
    {"display",   Place::Expression},
    {"do",        Place::File,        ".do"},
    {"doedit",    Place::File,        ".do .ado"},
    {"erase",     Place::File},
    {"error",     Place::Expression},
    {"exit",      Place::Expression},
    {"foreach",   Place::Foreach},
    {"format",    Place::Format},
    {"forvalues", Place::Nothing},
    {"generate",  Place::NewVariable},
    {"global",    Place::Global},
    {"help",      Place::Commands},
    {"hexdump",   Place::File},
    {"if",        Place::Expression},
    {"include",   Place::File,        ".do"},
    {"label",     Place::Label},
    {"local",     Place::Local},
    {"log",       Place::Nothing},
    {"ls",        Place::File},
    {"macro",     Place::Macro},
    {"man",       Place::Commands},
    {"matrix",    Place::Matrix},
    {"merge",     Place::Varlist,     ".dta"},
    {"mkdir",     Place::File,        "/"},
    {"program",   Place::Program},
    {"rm",        Place::File},
    {"rmdir",     Place::File,        "/"},
    {"run",       Place::File,        ".do"},
    {"save",      Place::File,        ".dta"},
    {"scalar",    Place::Scalar},
    {"set",       Place::Setting},
    {"shell",     Place::Nothing},
    {"tempfile",  Place::Nothing},
    {"tempname",  Place::Nothing},
    {"tempvar",   Place::Nothing},
    {"translate", Place::Files},
    {"type",      Place::File},
    {"unabcmd",   Place::Commands},
    {"use",       Place::File,        ".dta"},
    {"version",   Place::Nothing},
    {"view",      Place::File},
    {"which",     Place::Commands},
    {"while",     Place::Expression},
    // clang-format on
};
static_assert(std::ranges::is_sorted(kPlaces, {}, &PlaceRow::command));

PlaceRow place_of(std::string_view command) {
    const auto* row = std::ranges::lower_bound(kPlaces, command, {}, &PlaceRow::command);
    if (row != std::end(kPlaces) && row->command == command) return *row;
    return {command, Place::Varlist};
}

struct Question {
    std::string_view text;
    TypedText parts;
    TypedCommand command;
    TypedArguments arguments;
    PlaceRow place;
    size_t word = 0;  // where the name at the cursor begins
    CompletionAnswer* answer;

    ChoiceList list_from(size_t at) const {
        answer->start = int(at);
        return {text.substr(at), answer};
    }
    ChoiceList list() const { return list_from(word); }
};

// --- places that any text may have ---

char byte_before(std::string_view text, size_t at, size_t distance) {
    return at >= distance ? text[at - distance] : '\0';
}

// $name, ${name, `name, `++name. False: the word is no macro.
bool complete_macro(const Question& question) {
    const std::string_view text = question.text;
    const char before = byte_before(text, question.word, 1);
    ChoiceList list = question.list();
    if (before == '$') return add_global_macros(&list), true;
    if (before == '{' && byte_before(text, question.word, 2) == '$') {
        list.closing = "}";
        return add_global_macros(&list), true;
    }
    const bool step = (before == '+' || before == '-') &&
                      byte_before(text, question.word, 2) == before;
    if (byte_before(text, question.word, step ? 3 : 1) != '`') return false;
    list.closing = "'";
    return add_local_macros(&list), true;
}

// r(name, e(name, s(name and c(name. False: the word is no result.
bool complete_result(const Question& question) {
    const std::string_view text = question.text;
    const size_t word = question.word;
    if (byte_before(text, word, 1) != '(' || IsNameByte(byte_before(text, word, 3))) return false;
    const bool option = question.arguments.comma != kNowhere && question.arguments.depth == 1;
    if (option) return false;
    ChoiceList list = question.list();
    list.closing = ")";
    switch (byte_before(text, word, 2)) {
    case 'r': return add_results(ResultFamily::R, &list), true;
    case 'e': return add_results(ResultFamily::E, &list), true;
    case 's': return add_results(ResultFamily::S, &list), true;
    case 'c': return add_system_values(&list), true;
    default: return false;
    }
}

void complete_expression(const Question& question) {
    ChoiceList list = question.list();
    add_variables(&list);
    add_functions(&list);
    add_scalars(&list);
}

// `=exp: an expression in the midst of anything, strings included. False: there is none open.
bool complete_macro_expression(Question* question) {
    const size_t open = question->text.rfind("`=");
    if (open == kNowhere || open < question->parts.begin) return false;
    if (question->text.find('\'', open) != kNowhere) return false;
    question->arguments = {};
    question->arguments.depth = 1;
    if (!complete_result(*question)) complete_expression(*question);
    return true;
}

// --- files ---

// Whether the path must be quoted to stay one word.
bool needs_quotes(std::string_view path) {
    return path.find_first_of(" ';,<>()=[]{}|") != kNowhere;
}

void complete_path(const Question& question, size_t at, bool quoted) {
    if (question.text.find_first_of("`$", at) != kNowhere) return;  // a macro's value is not known
    CompletionAnswer* answer = question.answer;
    ChoiceList list = question.list_from(at);
    add_files(question.place.suffixes, &list);
    // One name that needs its quote gives it to all: they must begin alike.
    const bool quote = !quoted && std::ranges::any_of(answer->choices, [](const auto& choice) {
        return needs_quotes(choice.word);
    });
    answer->after_word = quoted || quote ? '"' : ' ';
    if (!quote) return;
    for (CompletionChoice& choice : answer->choices) choice.word.insert(0, 1, '"');
}

// The file name that begins at or behind `from`. False: it is over, the cursor is behind it.
bool complete_file(const Question& question, size_t from) {
    const std::string_view mask = question.parts.mask;
    const size_t open = question.parts.open_string;
    if (question.place.place == Place::Files) {
        const size_t blank = mask.rfind(' ');
        if (open == kNowhere && blank != kNowhere && blank > from) from = blank;
    }
    from = BehindBlanks(mask, from);
    if (open != kNowhere && (open == from || question.place.place == Place::Files)) {
        complete_path(question, open + (question.text[open] == '"' ? 1 : 2), true);
        return true;
    }
    const size_t end = mask.find_first_of(std::string_view(" ,<>()=[]{}|\2"), from);
    if (end != kNowhere || open != kNowhere) return false;
    complete_path(question, from, false);
    return true;
}

// --- places of single commands ---

std::string_view first_word(const Question& question) {
    return question.arguments.n_words > 0 ? question.arguments.words[0] : std::string_view{};
}

void complete_variables(const Question& question) {
    if (question.arguments.range && question.arguments.depth == 0) return;
    if (question.arguments.expression) return complete_expression(question);
    ChoiceList list = question.list();
    add_variables(&list);
}

void complete_setting(const Question& question, ChoiceList* list) {
    if (question.arguments.n_words == 0) return add_settings(list);
    if (question.arguments.n_words == 1) add_setting_values(first_word(question), list);
}

void complete_label(const Question& question, ChoiceList* list) {
    static constexpr std::string_view kWords[] = {"data", "define", "dir",    "drop",    "language",
                                                  "list", "save",   "values", "variable"};
    const int n = question.arguments.n_words;
    if (n == 0) return add_words(kWords, list);
    const std::string_view word = first_word(question);
    if (MatchAbbreviation(word, "variable", 3)) {
        if (n == 1) add_variables(list);
    } else if (MatchAbbreviation(word, "values", 3)) {
        n == 1 ? add_variables(list) : add_value_labels(list);
    } else if (MatchAbbreviation(word, "list", 1) || MatchAbbreviation(word, "drop", 4) ||
               MatchAbbreviation(word, "save", 4)) {
        add_value_labels(list);
    } else if (MatchAbbreviation(word, "define", 2) && n == 1) {
        add_value_labels(list);
    }
}

void complete_program(const Question& question, ChoiceList* list) {
    static constexpr std::string_view kWords[] = {"define", "dir", "drop", "list"};
    static constexpr std::string_view kAll[] = {"_all"};
    if (question.arguments.n_words == 0) return add_words(kWords, list);
    const std::string_view word = first_word(question);
    if (!MatchAbbreviation(word, "list", 1) && !MatchAbbreviation(word, "drop", 4)) return;
    add_programs(list);
    add_words(kAll, list);
}

// scalar and matrix: their own words, or names; behind `=` an expression.
void complete_named(const Question& question, ChoiceList* list) {
    static constexpr std::string_view kWords[] = {"define", "dir", "drop", "list"};
    if (question.arguments.n_words == 0) add_words(kWords, list);
    if (question.place.place == Place::Matrix) add_matrices(list);
    if (question.arguments.expression) return complete_expression(question);
    if (question.place.place == Place::Scalar) add_scalars(list);
}

void complete_macro_command(const Question& question, ChoiceList* list) {
    static constexpr std::string_view kWords[] = {"define", "dir", "drop", "list", "shift"};
    const int n = question.arguments.n_words;
    if (question.arguments.expression) return complete_expression(question);
    if (question.place.place == Place::Macro) {
        n == 0 ? add_words(kWords, list) : add_global_macros(list);
    } else if (n > 0) {
        add_variables(list);
    } else if (question.place.place == Place::Local) {
        add_local_macros(list);
    } else {
        add_global_macros(list);
    }
}

void complete_new_variable(const Question& question, ChoiceList* list) {
    static constexpr std::string_view kTypes[] = {"byte", "double", "float", "int", "long", "str"};
    if (question.arguments.expression) return complete_expression(question);
    if (question.arguments.n_words == 0) add_words(kTypes, list);
}

// Variables, or the usual display formats behind `%`.
void complete_format(const Question& question) {
    static constexpr std::string_view kFormats[] = {
        "%10.0g", "%10.2f", "%10.3f", "%12.0f", "%12.0g", "%12.0gc", "%12.2f", "%12.2fc",
        "%20s",   "%6.2f",  "%8.0g",  "%8.2f",  "%9.0f",  "%9.0fc",  "%9.0g",  "%9.2f",
        "%9.2fc", "%9.3f",  "%9s",    "%-20s",  "%-9s",   "%d",
    };
    const size_t blank = question.parts.mask.rfind(' ');
    const size_t at = blank == kNowhere ? 0 : blank + 1;
    if (at >= question.text.size() || question.text[at] != '%') return complete_variables(question);
    ChoiceList list = question.list_from(at);
    add_words(kFormats, &list);
}

// foreach name in any words, or of a kind of list.
void complete_foreach(const Question& question, ChoiceList* list) {
    static constexpr std::string_view kJoins[] = {"in", "of"};
    static constexpr std::string_view kKinds[] = {"global", "local", "newlist", "numlist",
                                                  "varlist"};
    const int n = question.arguments.n_words;
    const auto& words = question.arguments.words;
    if (n == 1) return add_words(kJoins, list);
    if (n >= 2 && words[1] == "in") return add_variables(list);
    if (n == 2) return add_words(kKinds, list);
    if (n < 3 || words[1] != "of") return;
    if (words[2].starts_with("var")) add_variables(list);
    if (words[2].starts_with("loc")) add_local_macros(list);
    if (words[2].starts_with("glo")) add_global_macros(list);
}

// --- options ---

// The option in whose brackets the cursor is; null: it is not known.
const OptionChoice* open_option(const Question& question,
                                const std::vector<OptionChoice>& options) {
    const std::string_view before = question.text.substr(0, question.arguments.bracket);
    const std::string_view word = before.substr(TrailingName(before));
    for (const OptionChoice& option : options) {
        if (!word.empty() && MatchAbbreviation(word, option.name, option.minimum)) return &option;
    }
    return nullptr;
}

void complete_options(const Question& question) {
    const std::vector<OptionChoice> options = known_options(question.command.name);
    ChoiceList list = question.list();
    if (question.arguments.depth > 0) {
        const OptionChoice* option = open_option(question, options);
        if (option == nullptr || option->argument == OptionArgument::Variables) {
            return complete_variables(question);
        }
        if (option->argument == OptionArgument::Expression) complete_expression(question);
        return;
    }
    question.answer->after_word = ' ';
    for (const OptionChoice& option : options) {
        list.closing = option.argument == OptionArgument::None ? "" : "(";
        list.add(option.name, "option");
    }
}

// --- all together ---

void complete_place(const Question& question) {
    ChoiceList list = question.list();
    // In brackets a word is as often followed by an operator or the bracket.
    if (question.arguments.depth == 0) question.answer->after_word = ' ';
    switch (question.place.place) {
    case Place::Varlist: return complete_variables(question);
    case Place::Expression: return complete_expression(question);
    case Place::Nothing:
    case Place::File:
    case Place::Files: return;
    case Place::Commands: return add_commands(&list);
    case Place::Setting: return complete_setting(question, &list);
    case Place::Label: return complete_label(question, &list);
    case Place::Program: return complete_program(question, &list);
    case Place::Scalar:
    case Place::Matrix: return complete_named(question, &list);
    case Place::Local:
    case Place::Global:
    case Place::Macro: return complete_macro_command(question, &list);
    case Place::NewVariable: return complete_new_variable(question, &list);
    case Place::Format: return complete_format(question);
    case Place::Foreach: return complete_foreach(question, &list);
    }
}

// A file name stands first behind some commands and behind `using` of all; options come later.
bool complete_file_place(const Question& question) {
    const Place place = question.place.place;
    const std::string_view mask = question.parts.mask;
    const size_t behind = question.command.behind;
    if (behind >= mask.size() || mask[behind] != ' ') return false;
    const size_t using_at = FindLastWord(mask, behind, "using");
    if (using_at != kNowhere && complete_file(question, using_at + 5)) return true;
    if (place != Place::File && place != Place::Files) return false;
    return complete_file(question, behind);
}

void complete(Question* question) {
    const std::string_view mask = question->parts.mask;
    if (question->parts.in_comment || complete_macro(*question)) return;
    if (complete_macro_expression(question)) return;
    question->command = find_typed_command(mask, question->parts.begin);
    if (question->command.word != kNowhere) {
        ChoiceList list = question->list_from(question->command.word);
        question->answer->after_word = ' ';
        return add_commands(&list);
    }
    if (question->command.name.empty()) return;
    question->place = place_of(question->command.name);
    question->arguments = read_typed_arguments(
        mask.substr(0, std::max(question->word, question->command.behind)),
        question->command.behind);
    const bool options = question->arguments.comma != kNowhere;
    if (!options && complete_file_place(*question)) return;
    if (question->parts.open_string != kNowhere || complete_result(*question)) return;
    options ? complete_options(*question) : complete_place(*question);
}

// Sorted, each word once: of several kinds under one name the first source's counts.
void put_in_order(CompletionAnswer* answer) {
    std::vector<CompletionChoice>& choices = answer->choices;
    std::stable_sort(choices.begin(), choices.end(),
                     [](const auto& a, const auto& b) { return a.word < b.word; });
    const auto end = std::unique(choices.begin(), choices.end(),
                                 [](const auto& a, const auto& b) { return a.word == b.word; });
    choices.erase(end, choices.end());
    if (choices.size() > kMaxChoices) choices.resize(kMaxChoices);
    // Behind a bracket, a directory or a macro the word goes on.
    if (choices.size() != 1) return;
    const char last = choices[0].word.back();
    const std::string_view open_ends = answer->file_names ? "/" : "('})";
    if (open_ends.find(last) != kNowhere) answer->after_word = 0;
}

}  // namespace

CompletionAnswer CompleteStatement(std::string_view text) {
    CompletionAnswer answer;
    Question question{text, TakeTextApart(text), {}, {}, {}, TrailingName(text), &answer};
    answer.start = int(text.size());
    complete(&question);
    if (answer.choices.empty()) answer.start = int(text.size());
    put_in_order(&answer);
    return answer;
}

}  // namespace korva

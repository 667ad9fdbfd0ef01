// data/syntax_options.cpp - the options of syntax: from what was typed to one macro each.
//
// The text is gone through once, and each option typed is put to the first of the picture that it
// abbreviates and that agrees with it about parentheses: a picture may have both a flag and an
// option with an argument under one name. Of an option given twice the last one counts.
#include <algorithm>

#include "core/macro.h"
#include "core/missing.h"
#include "core/names.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/words.h"
#include "data/skeleton.h"
#include "data/syntax.h"
#include "data/time_series.h"

namespace korva {

namespace {

constexpr double kLowestLevel = 10, kHighestLevel = 99.99;

struct TypedOption {
    std::string_view name;
    std::string_view argument;
    std::string_view text;  // name and argument
    bool has_argument = false;
};

ReturnCode report_option(std::string_view name, std::string_view fault) {
    out_error("option " + std::string(name) + " " + std::string(fault) + "\n");
    return 198;
}

// --- lists ---

ReturnCode read_names(const ListForm& form, std::string_view text, std::string* names,
                      int32_t* count) {
    std::string_view word;
    while (TakeWord(&text, &word)) {
        const bool local = form.local && word.size() < size_t(kMaxNameBytes) &&
                           IsValidName("_" + std::string(word));
        if (form.local ? !local : !IsValidName(word)) {
            out_error(std::string(word) + " invalid name\n");
            return 198;
        }
        names->append(names->empty() ? "" : " ").append(word);
        ++*count;
    }
    return 0;
}

ReturnCode read_new(std::string_view text, std::string* names, int32_t* count, std::string* types) {
    const ScannerGuard keep_scanner;
    std::string copy(text);
    SetScanPointer(copy.data());
    std::vector<NewVariable> list;
    if (ReturnCode rc = read_new_names(&list)) return rc;
    NextToken();
    if (!TokenIsEmpty()) return report_invalid_token();
    for (const NewVariable& variable : list) {
        names->append(names->empty() ? "" : " ").append(variable.name);
        if (types != nullptr) {
            types->append(types->empty() ? "" : " ").append(type_name(variable.type));
        }
    }
    *count = int32_t(list.size());
    return 0;
}

ReturnCode read_existing(const ListForm& form, std::string_view text, std::vector<int32_t>* list,
                         std::vector<const TsOperator*>* operators) {
    return varlist_from_text(text, list, form.operators ? operators : nullptr);
}

ReturnCode report_no_list(const OptionForm& form) {
    out_error("in option " + std::string(form.name) + "() does not contain a valid " +
              (form.list.single ? "varname\n" : "varlist\n"));
    return 198;
}

ReturnCode check_name_count(const OptionForm& form, int32_t count) {
    if (count >= form.list.min && count >= 1 && count <= form.list.max) return 0;
    out_error(std::string(form.name) + "():  too " + (count > form.list.max ? "many" : "few") +
              " names specified\n");
    return 198;
}

ReturnCode set_list(const OptionForm& form, std::string_view argument) {
    std::string names;
    int32_t count = 0;
    const bool of_names = form.list.kind == ListKind::Names;
    if (!of_names && TrimBlanks(argument).empty()) return report_no_list(form);
    ReturnCode rc;
    {
        // What is wrong is said after the option's name, so it has to be known first.
        const ThresholdGuard silent(kThresholdCapture);
        rc = read_list(form.list, argument, &names, &count, nullptr);
    }
    const std::string noun = std::string(form.name) + "()";
    if (rc == 198 && form.list.kind == ListKind::Existing) return report_no_list(form);
    if (rc) {
        out_error(noun + ":  ");
        names.clear();
        read_list(form.list, argument, &names, &count, nullptr);
        return rc;
    }
    if (ReturnCode check = of_names ? check_name_count(form, count)
                                    : check_count(form.list, count, noun)) {
        return check;
    }
    if (form.list.numeric || form.list.string) {
        std::vector<int32_t> list;
        std::vector<const TsOperator*> operators;
        if (ReturnCode again = read_existing(form.list, argument, &list, &operators)) return again;
        if (ReturnCode check = check_types(form.list, list, noun + ":  ")) return check;
    }
    return SetLocal(form.name, names);
}

// --- the other kinds ---

ReturnCode set_number(const OptionForm& form, std::string_view argument) {
    double x = 0;
    if (!ParseMacroNumber(argument, &x) ||
        (form.type == OptionType::Integer && !IsWholeNumber(x))) {
        return report_option(form.name, "invalid");
    }
    if (!is_missing(x)) return SetLocal(form.name, MacroNumber(x));
    return SetLocal(form.name, TrimBlanks(argument));
}

ReturnCode set_confidence_level(const OptionForm& form, std::string_view argument) {
    double x = 0;
    if (!ParseMacroNumber(argument, &x) || !(x >= kLowestLevel && x <= kHighestLevel)) {
        out_error(std::string(form.name) + "() invalid -- level must be between 10 and 99.99\n");
        return 198;
    }
    return SetLocal(form.name, MacroNumber(x));
}

ReturnCode set_number_list(const OptionForm& form, std::string_view argument) {
    std::vector<double> numbers;
    NumberListRules rules = form.numbers;
    rules.max = std::min(rules.max, session.macrolen / 2);
    if (ReturnCode rc = ExpandNumberList(argument, rules, &numbers)) {
        out_error(std::string(form.name) + "() invalid -- ");
        return ReportError(rc);
    }
    return SetLocal(form.name, NumberListText(numbers));
}

ReturnCode set_text(const OptionForm& form, std::string_view argument) {
    argument = TrimBlanks(argument);
    StripQuotes(&argument);
    if (argument.empty() && form.required) return report_option(form.name, "required");
    return SetLocal(form.name, argument);
}

ReturnCode set_given(const OptionForm& form, const TypedOption& typed) {
    switch (form.type) {
    case OptionType::Flag:
        return SetLocal(form.name, (form.negated ? "no" : "") + std::string(form.name));
    case OptionType::String: return set_text(form, typed.argument);
    case OptionType::Asis: return SetLocal(form.name, typed.argument);
    case OptionType::Integer:
    case OptionType::Real: return set_number(form, typed.argument);
    case OptionType::NumberList: return set_number_list(form, typed.argument);
    case OptionType::List: return set_list(form, typed.argument);
    case OptionType::Passthru:
        return SetLocal(form.name,
                        std::string(form.name) + "(" + std::string(typed.argument) + ")");
    case OptionType::ConfidenceLevel: return set_confidence_level(form, typed.argument);
    }
    return 0;
}

ReturnCode set_absent(const OptionForm& form) {
    if (form.required) return report_option(form.name, "required");
    if (form.type == OptionType::ConfidenceLevel) return SetLocal(form.name, settings.level);
    return SetLocal(form.name, form.otherwise);
}

// --- what was typed ---

// Takes the next option off *text. False: there are no more, or *rc tells what is wrong.
bool take_option(std::string_view* text, TypedOption* option, ReturnCode* rc) {
    text->remove_prefix(std::min(text->find_first_not_of(' '), text->size()));
    *option = {};
    if (text->empty()) return false;
    size_t end = 0;
    while (end < text->size() && !OptionSeparators.has[uint8_t((*text)[end])]) end++;
    const bool is_word = end != 0;
    if (!is_word) end = BehindPart(*text, 0);
    option->name = text->substr(0, end);
    if (option->name == ",") {
        // A second comma ends the options; nothing may stand behind it.
        if (!TrimBlanks(text->substr(1)).empty()) {
            out_error("',' invalid\n");
            *rc = 198;
        }
        return false;
    }
    if (is_word && end < text->size() && (*text)[end] == '(') {
        const size_t close = ClosingParenthesis(*text, end);
        if (close == text->npos) {
            *rc = ReportRequired(")");
            return false;
        }
        option->argument = text->substr(end + 1, close - end - 1);
        option->has_argument = true;
        end = close + 1;
    }
    option->text = text->substr(0, end);
    text->remove_prefix(end);
    return true;
}

bool names_option(const OptionForm& form, std::string_view word, bool* positive) {
    *positive = false;
    if (form.negated) {
        *positive = MatchAbbreviation(word, form.name, form.minimum);
        if (*positive || !word.starts_with("no")) return *positive;
        word.remove_prefix(2);
    }
    return MatchAbbreviation(word, form.name, form.minimum);
}

struct Matches {
    std::vector<TypedOption> given;  // beside the forms; an empty name: not given
    std::string others;
    TypedOption unknown;  // the first that belongs to none; an empty name: all do
    bool wrong = false;   // it has parentheses that its option does not take, or lacks them
    const char* others_end = nullptr;  // of the text of the last of the others
};

void put_to_its_form(const OptionForms& forms, const TypedOption& typed, Matches* matches) {
    bool wrong = false;
    for (size_t i = 0; i < forms.options.size(); i++) {
        const OptionForm& form = forms.options[i];
        bool positive = false;
        if (!names_option(form, typed.name, &positive)) continue;
        if (form.takes_argument() != typed.has_argument) {
            wrong = true;
            continue;
        }
        matches->given[i] = positive ? TypedOption{} : typed;
        return;
    }
    if (forms.others) {
        // What stood together stays together.
        if (!matches->others.empty() && matches->others_end != typed.text.data()) {
            matches->others += ' ';
        }
        matches->others += typed.text;
        matches->others_end = typed.text.data() + typed.text.size();
    } else if (matches->unknown.name.empty()) {
        matches->unknown = typed;
        matches->wrong = wrong;
    }
}

}  // namespace

std::string names_of(const std::vector<int32_t>& list,
                     const std::vector<const TsOperator*>& operators) {
    std::string names;
    for (size_t i = 0; i < list.size(); i++) {
        if (!names.empty()) names += ' ';
        const TsOperator* op = i < operators.size() ? operators[i] : nullptr;
        if (op != nullptr) names += operator_text(op) + '.';
        names += dataset.names[list[i] - 1];
    }
    return names;
}

ReturnCode check_types(const ListForm& form, const std::vector<int32_t>& list,
                       std::string_view prefix) {
    if (!form.numeric && !form.string) return 0;
    for (int32_t var : list) {
        const bool is_string = type_is_string(dataset.types[var - 1]);
        if (is_string == form.string) continue;
        out_error(std::string(prefix) + (is_string ? "string" : "numeric") +
                  " variable not allowed\n");
        return 109;
    }
    return 0;
}

ReturnCode check_count(const ListForm& form, int32_t count, std::string_view noun) {
    if (count >= form.min && count <= form.max) return 0;
    const bool many = count > form.max;
    out_error(std::string(noun) + ":  too " + (many ? "many" : "few") + " specified\n");
    return many ? 103 : 102;
}

ReturnCode read_list(const ListForm& form, std::string_view text, std::string* names,
                     int32_t* count, std::string* types) {
    *count = 0;
    if (form.kind == ListKind::Names) return read_names(form, text, names, count);
    if (form.kind == ListKind::New) return read_new(text, names, count, types);
    std::vector<int32_t> list;
    std::vector<const TsOperator*> operators;
    if (ReturnCode rc = read_existing(form, text, &list, &operators)) return rc;
    *names = names_of(list, operators);
    *count = int32_t(list.size());
    return 0;
}

ReturnCode apply_options(const OptionForms& forms, std::string_view text) {
    Matches matches;
    matches.given.resize(forms.options.size());
    TypedOption typed;
    ReturnCode rc = 0;
    while (take_option(&text, &typed, &rc)) put_to_its_form(forms, typed, &matches);
    if (rc) return rc;

    // First those not given, since a macro may belong to two options.
    for (size_t i = 0; i < forms.options.size(); i++) {
        if (!matches.given[i].name.empty()) continue;
        if (ReturnCode absent = set_absent(forms.options[i])) return absent;
    }
    for (size_t i = 0; i < forms.options.size(); i++) {
        if (matches.given[i].name.empty()) continue;
        if (ReturnCode given = set_given(forms.options[i], matches.given[i])) return given;
    }
    if (ReturnCode others = SetLocal("options", matches.others)) return others;
    if (matches.unknown.name.empty()) return 0;
    return report_option(matches.unknown.name,
                         matches.wrong ? "incorrectly specified" : "not allowed");
}

}  // namespace korva

// core/syntax_picture.cpp - one pass over the picture; what it says is checked here, so that a
// fault is the program's (197) before its user's text is looked at.
#include "core/syntax_picture.h"

#include <algorithm>
#include <charconv>

#include "core/macro.h"
#include "core/names.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "core/words.h"

namespace korva {

namespace {

constexpr size_t kMaxLocalName = kMaxNameBytes - 1;  // its key has `_` in front

ReturnCode report_picture() {
    return ReportError(197);
}

bool is_word_byte(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

void skip_blanks(std::string_view* text) {
    text->remove_prefix(std::min(text->find_first_not_of(' '), text->size()));
}

std::string_view take_word(std::string_view* text) {
    size_t end = 0;
    while (end < text->size() && is_word_byte((*text)[end])) end++;
    const std::string_view word = text->substr(0, end);
    text->remove_prefix(end);
    return word;
}

// Takes `(...)` off the front; false: it does not close.
bool take_parenthesised(std::string_view* text, std::string_view* inner) {
    const size_t close = ClosingParenthesis(*text, 0);
    if (close == text->npos) return false;
    *inner = text->substr(1, close - 1);
    text->remove_prefix(close + 1);
    return true;
}

bool read_count(std::string_view text, int32_t* count) {
    text = TrimBlanks(text);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *count);
    return error == std::errc() && end == text.data() + text.size() && *count >= 0;
}

// A modifier as it is typed, `word`, `word=value` or `word(value)`, off the front of *text; false:
// the text is at its end or not sound, which *sound tells.
bool take_modifier(std::string_view* text, std::string_view* word, std::string_view* value,
                   bool* sound) {
    skip_blanks(text);
    *value = {};
    if (text->empty()) return false;
    size_t end = 0;
    while (
        end < text->size() && (*text)[end] != ' ' && (*text)[end] != '(' &&
        ((*text)[end] != '=' || end == 0 || (*text)[end - 1] == '<' || (*text)[end - 1] == '>')) {
        end++;
    }
    *word = text->substr(0, end);
    text->remove_prefix(end);
    if (text->starts_with('(')) {
        *sound = take_parenthesised(text, value);
    } else if (text->starts_with('=')) {
        text->remove_prefix(1);
        skip_blanks(text);
        size_t behind = 0;
        if (!text->empty()) {
            behind = BehindPart(*text, 0);
            if (behind == 1) behind = std::min(text->find(' '), text->size());
        }
        *value = text->substr(0, behind);
        text->remove_prefix(behind);
        *sound = !value->empty();
    }
    return *sound;
}

bool set_modifier(std::string_view word, std::string_view value, ListForm* form) {
    if (word == "min") return read_count(value, &form->min);
    if (word == "max") return read_count(value, &form->max);
    if (word == "default") return form->no_default = value == "none" || value == "empty";
    if (word == "name") {
        StripQuotes(&value);
        form->macro = value;
        return value.size() <= kMaxLocalName && IsValidName(value);
    }
    if (word == "id") {
        StripQuotes(&value);
        form->id = value;
        return true;
    }
    if (!value.empty()) return false;
    if (word == "numeric") return form->numeric = true;
    if (word == "string") return form->string = true;
    if (word == "ts") return form->operators = true;
    if (word == "none") return form->no_default = true;
    if (word == "equalok") return form->equal_ok = true;
    if (word == "everything") return form->everything = true;
    if (word == "local") return form->local = true;
    if (MatchAbbreviation(word, "required", 3)) return form->required = true;
    return false;
}

bool read_modifiers(std::string_view text, ListForm* form) {
    std::string_view word, value;
    bool sound = true;
    while (take_modifier(&text, &word, &value, &sound)) {
        if (!set_modifier(word, value, form)) return false;
    }
    return sound;
}

struct ElementWord {
    std::string_view word;
    ListKind kind;
    bool single;
};
constexpr ElementWord kElements[] = {
    {"varlist", ListKind::Existing, false},  {"varname", ListKind::Existing, true},
    {"newvarlist", ListKind::New, false},    {"newvarname", ListKind::New, true},
    {"namelist", ListKind::Names, false},    {"name", ListKind::Names, true},
    {"anything", ListKind::Anything, false},
};

bool start_element(std::string_view word, ListForm* form) {
    for (const ElementWord& element : kElements) {
        if (element.word != word) continue;
        form->kind = element.kind;
        form->single = element.single;
        if (element.single) form->max = 1;
        return true;
    }
    return false;
}

void write_list_form(const ListForm& form, std::string* text) {
    static constexpr std::string_view kKinds[] = {"", " ex", " new", " names", " anything"};
    text->assign(form.required ? "required" : "opt").append(kKinds[int(form.kind)]);
    if (form.min != 0) text->append(" min(").append(std::to_string(form.min)) += ')';
    if (form.max != INT32_MAX) text->append(" max(").append(std::to_string(form.max)) += ')';
    if (form.no_default) *text += " none";
    if (form.numeric) *text += " numeric";
    if (form.string) *text += " string";
    if (form.operators) *text += " ts";
    if (form.equal_ok) *text += " equalok";
    if (form.everything) *text += " everything";
    if (form.local) *text += " local";
    if (!form.macro.empty()) text->append(" name(").append(form.macro) += ')';
    if (!form.id.empty()) text->append(" id(`\"").append(form.id) += "\"')";
}

// --- the picture ---

class Translator {
public:
    Translator(std::string_view picture, SyntaxForms* forms) : rest_(picture), forms_(forms) {}

    ReturnCode run() {
        if (!first_element()) return report_picture();
        for (skip_blanks(&rest_); !rest_.empty(); skip_blanks(&rest_)) {
            if (rest_[0] == ',') {
                rest_.remove_prefix(1);
                return options(rest_, false);
            }
            if (rest_[0] == '[') {
                rest_.remove_prefix(1);
                skip_blanks(&rest_);
                if (rest_.starts_with(',')) return bracketed_options();
                if (!bracket()) return report_picture();
            } else if (!qualifier(true)) {
                return report_picture();
            }
        }
        return 0;
    }

private:
    // The variable element, if the picture begins with one.
    bool first_element() {
        skip_blanks(&rest_);
        std::string_view text = rest_;
        const bool optional = text.starts_with('[');
        if (optional) {
            text.remove_prefix(1);
            skip_blanks(&text);
        }
        ListForm form;
        form.required = !optional;
        if (!start_element(take_word(&text), &form)) return true;
        if (text.starts_with('(')) {
            std::string_view modifiers;
            if (!take_parenthesised(&text, &modifiers)) return false;
            if (!read_modifiers(modifiers, &form)) return false;
        }
        if (form.min > form.max || (form.numeric && form.string)) return false;
        skip_blanks(&text);
        if (optional && !text.starts_with(']')) return false;
        if (optional) text.remove_prefix(1);
        rest_ = text;
        write_list_form(form, &forms_->varlist);
        return true;
    }

    // if, in, using, =exp at rest_.
    bool qualifier(bool required) {
        std::string_view word;
        if (rest_.starts_with('=')) {
            rest_.remove_prefix(1);
            skip_blanks(&rest_);
        } else {
            word = take_word(&rest_);
            if (word.empty()) return false;
        }
        std::string* form = nullptr;
        bool prefix = true;
        if (word.empty()) {
            form = &forms_->exp;
            if (!take_slash(&prefix)) prefix = true;
            if (take_word(&rest_) != "exp" || !forms_->weight.empty()) return false;
        } else if (word == "if") {
            form = &forms_->if_exp;
        } else if (word == "in") {
            form = &forms_->in_range;
        } else if (word == "using") {
            form = &forms_->using_file;
        }
        if (form == nullptr || !form->empty()) return false;
        if (!word.empty()) take_slash(&prefix);
        *form = required ? "required" : "opt";
        if (!prefix) *form += " nopre";
        return true;
    }

    bool take_slash(bool* prefix) {
        if (!rest_.starts_with('/')) return false;
        rest_.remove_prefix(1);
        *prefix = false;
        return true;
    }

    // Behind `[`: a qualifier, or the list of weights.
    bool bracket() {
        std::string_view ahead = rest_;
        const std::string_view word = take_word(&ahead);
        const bool is_qualifier = word.empty() || word == "if" || word == "in" || word == "using";
        if (is_qualifier ? !qualifier(false) : !weights()) return false;
        skip_blanks(&rest_);
        if (!rest_.starts_with(']')) return false;
        rest_.remove_prefix(1);
        return true;
    }

    bool weights() {
        if (!forms_->weight.empty() || !forms_->exp.empty()) return false;
        bool prefix = true;
        for (skip_blanks(&rest_); !rest_.empty() && rest_[0] != ']'; skip_blanks(&rest_)) {
            const std::string_view type = weight_type(take_word(&rest_));
            if (type.empty()) return false;
            if (!forms_->weight.empty()) forms_->weight += ' ';
            forms_->weight += type;
            take_slash(&prefix);
        }
        if (!prefix) forms_->weight += " nopre";
        return true;
    }

    static std::string_view weight_type(std::string_view word) {
        for (std::string_view type : {"aweight", "fweight", "pweight", "iweight"}) {
            if (MatchAbbreviation(word, type, 2)) return type;
        }
        return MatchAbbreviation(word, "cellsize", 4) ? "aweight" : "";
    }

    // At the comma of `[, ...]`.
    ReturnCode bracketed_options() {
        rest_.remove_prefix(1);
        std::string_view text = TrimBlanks(rest_);
        if (!text.ends_with(']')) return report_picture();
        text.remove_suffix(1);
        return options(text, true);
    }

    ReturnCode options(std::string_view text, bool optional);

    std::string_view rest_;
    SyntaxForms* forms_;
};

// Behind the option's word, or its `(`.
size_t option_end(std::string_view text) {
    size_t end = 0;
    while (end < text.size() && is_word_byte(text[end])) end++;
    if (end == 0 || end == text.size() || text[end] != '(') return end;
    const size_t close = ClosingParenthesis(text, end);
    return close == text.npos ? 0 : close + 1;
}

ReturnCode Translator::options(std::string_view text, bool optional) {
    std::string* form = &forms_->options;
    bool bracket = false;
    for (skip_blanks(&text); !text.empty(); skip_blanks(&text)) {
        if (text[0] == '[' || text[0] == ']') {
            const bool opens = text[0] == '[';
            if (opens == bracket) return report_picture();
            bracket = opens;
            text.remove_prefix(1);
            continue;
        }
        if (!form->empty()) *form += ' ';
        if (text[0] == '*') {
            *form += '*';
            text.remove_prefix(1);
            continue;
        }
        const size_t end = option_end(text);
        if (end == 0) return report_picture();
        if (!optional && !bracket) *form += '!';
        form->append(text.substr(0, end));
        text.remove_prefix(end);
    }
    if (bracket) return report_picture();
    if (form->size() < size_t(session.macrolen)) return 0;
    out_error("options too long\n");
    return 198;
}

// --- the options' internal text ---

bool is_upper(char c) {
    return c >= 'A' && c <= 'Z';
}

// The name as it stands in the picture to the form; `lower` is the same in lower case.
// Only a flag is negated: node(string) is an option of its own.
bool read_option_name(std::string_view picture, std::string_view lower, bool flag,
                      OptionForm* form) {
    if (flag && picture.starts_with("no") && picture.size() > 2) {
        form->negated = true;
        picture.remove_prefix(2);
        lower.remove_prefix(2);
    }
    form->name = lower;
    const auto end = std::find_if_not(picture.begin(), picture.end(), is_upper);
    form->minimum = int32_t(end - picture.begin());
    if (form->minimum == 0) form->minimum = int32_t(picture.size());
    return lower.size() <= kMaxLocalName && (form->negated || IsValidName(lower));
}

bool read_number_default(std::string_view text, OptionForm* form) {
    form->otherwise = TrimBlanks(text);
    double x = 0;
    return form->otherwise.empty() || ParseMacroNumber(form->otherwise, &x);
}

bool read_number_rules(std::string_view text, NumberListRules* rules) {
    std::string_view word, value;
    bool sound = true;
    while (take_modifier(&text, &word, &value, &sound)) {
        if (!ReadNumberListRule(word, value, rules)) return false;
    }
    return sound;
}

// What stands between the parentheses behind the name.
bool read_option_type(std::string_view text, OptionForm* form) {
    text = TrimBlanks(text);
    const std::string_view word = take_word(&text);
    const std::string_view more = TrimBlanks(text);
    if (word == "string" || word == "str") {
        form->type = more == "asis" ? OptionType::Asis : OptionType::String;
        return more == "asis" || more.empty();
    }
    if (MatchAbbreviation(word, "integer", 3) || word == "real") {
        form->type = word == "real" ? OptionType::Real : OptionType::Integer;
        return read_number_default(more, form);
    }
    if (word == "numlist") {
        form->type = OptionType::NumberList;
        return read_number_rules(more, &form->numbers);
    }
    if (word == "passthru") {
        form->type = OptionType::Passthru;
        return more.empty();
    }
    if (word == "cilevel") {
        form->type = OptionType::ConfidenceLevel;
        return more.empty();
    }
    form->type = OptionType::List;
    if (!start_element(word, &form->list) || form->list.kind == ListKind::Anything) return false;
    return read_modifiers(more, &form->list);
}

}  // namespace

ReturnCode TranslatePicture(std::string_view picture, SyntaxForms* forms) {
    *forms = {};
    if (ReturnCode rc = Translator(picture, forms).run()) return rc;
    OptionForms options;
    return ReadOptionForms(forms->options, &options);
}

bool ReadListForm(std::string_view text, ListForm* form) {
    *form = {};
    std::string_view word, value;
    bool sound = true;
    while (take_modifier(&text, &word, &value, &sound)) {
        if (MatchAbbreviation(word, "optional", 3)) continue;
        if (MatchAbbreviation(word, "existing", 2)) {
            form->kind = ListKind::Existing;
        } else if (word == "new") {
            form->kind = ListKind::New;
        } else if (word == "names") {
            form->kind = ListKind::Names;
        } else if (word == "anything") {
            form->kind = ListKind::Anything;
        } else if (!set_modifier(word, value, form)) {
            return false;
        }
        if (form->kind == ListKind::None) form->kind = ListKind::Existing;
    }
    return sound;
}

QualifierForm ReadQualifierForm(std::string_view text) {
    QualifierForm form;
    std::string_view word;
    while (TakeWord(&text, &word)) {
        form.allowed = true;
        if (MatchAbbreviation(word, "required", 3)) form.required = true;
        if (MatchAbbreviation(word, "noprefix", 5)) form.prefix = false;
    }
    return form;
}

ReturnCode ReadOptionForms(std::string_view text, OptionForms* forms) {
    forms->options.clear();
    forms->others = false;
    forms->text.resize(text.size());
    std::transform(text.begin(), text.end(), forms->text.begin(),
                   [](char c) { return is_upper(c) ? char(c + ('a' - 'A')) : c; });
    std::string_view rest = text;
    for (skip_blanks(&rest); !rest.empty(); skip_blanks(&rest)) {
        if (forms->others) return report_picture();  // nothing may follow `*`
        if (rest[0] == '*') {
            forms->others = true;
            rest.remove_prefix(1);
            continue;
        }
        OptionForm form;
        form.required = rest[0] == '!';
        if (form.required) rest.remove_prefix(1);
        const size_t at = text.size() - rest.size();
        const size_t end = option_end(rest);
        if (end == 0) return report_picture();
        const std::string_view picture = take_word(&rest);
        const std::string_view lower = std::string_view(forms->text).substr(at, picture.size());
        const bool flag = !rest.starts_with('(');
        if (!read_option_name(picture, lower, flag, &form)) return report_picture();
        // The words between the parentheses keep their case: they lie in the caller's text.
        if (!flag && !read_option_type(rest.substr(1, end - picture.size() - 2), &form)) {
            return report_picture();
        }
        rest = text.substr(at + end);
        forms->options.push_back(form);
    }
    return 0;
}

}  // namespace korva

// data/varlist.cpp - lists of variables as they are typed: abbreviations, patterns, ranges, new
// names.
//
// The elements are read from the text itself and not token by token, because the separators of the
// scanner (`*`, `?`, `~`, `-`) are part of them. The scanner is set behind the list at the end.
#include <charconv>
#include <cstring>
#include <string>
#include <unordered_set>
#include <vector>

#include "core/names.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/settings.h"
#include "core/upcalls.h"
#include "data/labels.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr SeparatorSet kNotInNames{"\\!@#$%^&*()-+=[]{}:;,'\"~<>?/|."};
constexpr int32_t kLastOfAnyData = 0x7FFFFFFE;  // what l is where a range may exceed the data
constexpr int kMaxSuffixDigits = 9;             // of a range of new names: more do not fit a count

bool is_name_byte(char c) {
    return uint8_t(c) > ' ' && c != 127 && !kNotInNames.has[uint8_t(c)];
}
bool is_element_byte(char c) {
    return is_name_byte(c) || c == '*' || c == '?' || c == '~' || c == '.';
}
bool has_wildcard(std::string_view word) {
    return word.find_first_of("*?") != word.npos;
}

char* skip_blanks(char* p) {
    while (*p == ' ') p++;
    return p;
}

// The bracket that closes the one at p; null: none.
char* closing(char* p) {
    int depth = 0;
    for (; *p; p++) {
        if (*p == '(') depth++;
        if (*p == ')' && --depth == 0) return p;
    }
    return nullptr;
}

// Behind the element that begins at p. A parenthesis belongs to it only inside an operator,
// L(1/3).x: one that opens a group of names is not followed by the rest of an element.
char* element_end(char* p) {
    for (;;) {
        while (is_element_byte(*p)) p++;
        if (*p != '(') return p;
        char* close = closing(p);
        if (!close || !is_element_byte(close[1])) return p;
        p = close + 1;
    }
}

ReturnCode report_invalid_name(std::string_view name) {
    out_errorf("%.*s invalid name\n", int(name.size()), name.data());
    return 198;
}

ReturnCode report_missing_variable(std::string_view name) {
    out_errorf("variable %.*s not found\n", int(name.size()), name.data());
    return 111;
}

bool is_hidden(int var) {
    return std::strcmp(dataset.names[var - 1], kEstimationSample) == 0;
}

// --- one name ---

enum class Match { None, One, Many };

Match match_abbreviation(std::string_view name, int32_t* found) {
    int32_t matches = 0;
    for (int var = 1; var <= dataset.nvar; var++) {
        const char* entry = dataset.names[var - 1];
        if (entry[0] != name[0] || std::strncmp(entry, name.data(), name.size()) != 0) continue;
        if (entry[name.size()] == 0) {
            *found = var;
            return Match::One;
        }
        if (!settings.varabbrev) continue;
        if (++matches == 1) *found = var;
    }
    if (matches == 0) return Match::None;
    return matches == 1 ? Match::One : Match::Many;
}

Match match_tilde(std::string_view name, int32_t* found) {
    std::string pattern(name);
    for (char& c : pattern) {
        if (c == '~') c = '*';
    }
    int32_t matches = 0;
    for (int var = 1; var <= dataset.nvar; var++) {
        if (is_hidden(var) || !glob_match(pattern, dataset.names[var - 1])) continue;
        if (++matches == 1) *found = var;
    }
    if (matches == 0) return Match::None;
    return matches == 1 ? Match::One : Match::Many;
}

Match match_variable(std::string_view name, int32_t* found) {
    return name.find('~') != name.npos ? match_tilde(name, found) : match_abbreviation(name, found);
}

bool name_can_match(std::string_view name) {
    if (name.find('~') == name.npos) return IsValidName(name);
    return name.size() <= kMaxNameBytes;
}

using NotFoundReport = ReturnCode (*)(std::string_view);

ReturnCode find_or_report(std::string_view name, int32_t* var, NotFoundReport report_not_found) {
    if (!name_can_match(name)) return report_invalid_name(name);
    if (dataset.nvar == 0) {
        out_error("no variables defined\n");
        return 111;
    }
    switch (match_variable(name, var)) {
    case Match::None: return report_not_found(name);
    case Match::Many: return ReportAmbiguous(name);
    case Match::One: break;
    }
    return 0;
}

// --- existing variables ---

ReturnCode append(std::vector<int32_t>* list, int32_t var) {
    if (int64_t(list->size()) >= dataset.mvar) return ReportError(103);
    list->push_back(var);
    return 0;
}

ReturnCode append_span(std::vector<int32_t>* list, int32_t from, int32_t to) {
    for (int32_t var = from; var <= to; var++) {
        if (is_hidden(var)) continue;
        if (ReturnCode rc = append(list, var)) return rc;
    }
    return 0;
}

ReturnCode append_pattern(std::vector<int32_t>* list, std::string_view pattern) {
    bool any = false;
    for (int32_t var = 1; var <= dataset.nvar; var++) {
        if (is_hidden(var) || !glob_match(pattern, dataset.names[var - 1])) continue;
        any = true;
        if (ReturnCode rc = append(list, var)) return rc;
    }
    return any ? 0 : report_missing_variable(pattern);
}

bool is_operator_element(std::string_view word) {
    return word.find_first_of(".(") != word.npos;
}

// The second name of a range, behind its `-` at *p, which is moved behind the name.
ReturnCode append_range(std::vector<int32_t>* list, int32_t from, char** p) {
    char* start = skip_blanks(*p + 1);
    char* end = element_end(start);
    *p = end;
    const std::string_view word(start, size_t(end - start));
    if (is_list_end(word)) {
        out_error("'-' invalid\n");
        return 198;
    }
    int32_t to = 0;
    if (ReturnCode rc = find_or_report(word, &to, report_missing_variable)) return rc;
    if (to < from) {
        out_error("Variables out of order\n");
        return 111;
    }
    return append_span(list, from, to);
}

// The variables of one element, whose word ends at `end`; *p goes behind it, and behind the range
// it begins.
ReturnCode append_variables(std::vector<int32_t>* list, std::string_view word, char** p,
                            char* end) {
    *p = end;
    if (word == "_all") return append_span(list, 1, dataset.nvar);
    if (has_wildcard(word)) {
        if (word.find('~') != word.npos) {
            out_errorf("%.*s:  may not combine ~ and *-or-? notation\n", int(word.size()),
                       word.data());
            return 198;
        }
        return append_pattern(list, word);
    }
    int32_t var = 0;
    if (ReturnCode rc = find_or_report(word, &var, report_missing_variable)) return rc;
    char* next = skip_blanks(end);
    if (*next != '-') return append(list, var);
    *p = next;
    return append_range(list, var, p);
}

// The lists that elements go to; the operators stay empty until there is one.
struct ListTarget {
    std::vector<int32_t>* vars;
    std::vector<const TsOperator*>* operators;  // null: they are not allowed
};

// op.name, op.pattern or op.name-name: every variable with every operator that op stands for.
ReturnCode append_with_operators(const ListTarget& to, std::string_view word, char** p, char* end) {
    const size_t point = operator_point(word);
    if (point == word.npos || point + 1 == word.size() ||
        !is_operator_text(word.substr(0, point))) {
        *p = end;
        return report_invalid_name(word);
    }
    std::vector<const TsOperator*> operators;
    *p = end;
    if (ReturnCode rc = parse_operators(word.substr(0, point), &operators)) return rc;
    std::vector<int32_t> vars;
    if (ReturnCode rc = append_variables(&vars, word.substr(point + 1), p, end)) return rc;
    for (int32_t var : vars) {
        if (ReturnCode rc = refuse_string_operand(var)) return rc;
        for (const TsOperator* op : operators) {
            if (ReturnCode rc = append(to.vars, var)) return rc;
            if (!op && to.operators->empty()) continue;
            to.operators->resize(to.vars->size());
            to.operators->back() = op;
        }
    }
    return 0;
}

// True for L-1.x, which is no range.
bool has_negative_count(std::string_view word, char* end) {
    if (*end != '-' || end[1] < '0' || end[1] > '9' || !is_operator_text(word)) return false;
    return std::string_view(end + 1, size_t(element_end(end + 1) - end - 1)).find('.') !=
           std::string_view::npos;
}

ReturnCode append_element(const ListTarget& to, char** p, char* end) {
    if (to.operators && has_negative_count({*p, size_t(end - *p)}, end)) {
        end = element_end(end + 1);
        const std::string_view word(*p, size_t(end - *p));
        *p = end;
        out_errorf("%.*s invalid\n", int(word.size()), word.data());
        return 198;
    }
    const std::string_view word(*p, size_t(end - *p));
    if (!is_operator_element(word)) return append_variables(to.vars, word, p, end);
    if (to.operators) return append_with_operators(to, word, p, end);
    *p = end;
    return ReportError(6101);
}

// --- new variables ---

struct NewList {
    std::vector<int32_t>* list;
    bool* automatic;
    bool label_names;
    StorageType type;  // of the names being read
    // Where the names are only to be read: they go here, and nothing is added.
    std::vector<NewVariable>* names = nullptr;
    std::unordered_set<std::string> taken = {};
};

ReturnCode note_new(NewList* to, std::string_view name) {
    if (int64_t(to->names->size()) >= dataset.mvar) return ReportError(103);
    if (ReturnCode rc = check_new_name(name)) return rc;
    if (!to->taken.emplace(name).second) return ReportAlreadyDefined(name);
    to->names->push_back({std::string(name), to->type});
    return 0;
}

ReturnCode add_new(NewList* to, std::string_view name, std::string_view label) {
    if (to->names != nullptr) return note_new(to, name);
    if (int64_t(to->list->size()) >= dataset.mvar) return ReportError(103);
    if (!label.empty() && type_is_string(to->type)) return ReportError(181);
    if (ReturnCode rc = addvar(name, to->type)) return rc;
    to->list->push_back(dataset.nvar);
    char* attached = dataset.label_names[dataset.nvar - 1];
    label.copy(attached, label.size());
    attached[label.size()] = 0;
    return 0;
}

// Splits off the digits at the end; false: there are none, too many, or nothing in front of them.
bool split_suffix(std::string_view name, std::string_view* stem, int32_t* suffix) {
    size_t digits = 0;
    while (digits < name.size() && name[name.size() - digits - 1] >= '0' &&
           name[name.size() - digits - 1] <= '9') {
        digits++;
    }
    if (digits == 0 || digits > kMaxSuffixDigits || digits == name.size()) return false;
    *stem = name.substr(0, name.size() - digits);
    std::from_chars(name.data() + stem->size(), name.data() + name.size(), *suffix);
    return true;
}

ReturnCode add_new_range(NewList* to, std::string_view first, std::string_view last) {
    std::string_view stem, last_stem;
    int32_t from = 0, until = 0;
    if (!split_suffix(first, &stem, &from) || !split_suffix(last, &last_stem, &until) ||
        stem != last_stem || until < from) {
        return ReportInvalidSyntax();
    }
    if (int64_t(until) - from >= dataset.mvar) return ReportError(103);
    for (int32_t number = from; number <= until; number++) {
        const std::string name = std::string(stem) + std::to_string(number);
        if (ReturnCode rc = add_new(to, name, {})) return rc;
    }
    return 0;
}

std::string_view read_name(char** p) {
    char* start = *p;
    while (is_name_byte(**p)) (*p)++;
    return {start, size_t(*p - start)};
}

// name, name:lblname or name1-name2 at *p, which goes behind it.
ReturnCode read_new_name(NewList* to, char** p) {
    char* start = *p;
    char* end = element_end(start);
    const std::string_view name = read_name(p);
    if (name.empty() || *p != end) {
        *p = end;
        return report_invalid_name({start, size_t(end - start)});
    }
    char* next = skip_blanks(*p);
    if (*next == '-') {
        *p = skip_blanks(next + 1);
        return add_new_range(to, name, read_name(p));
    }
    if (**p != ':') return add_new(to, name, {});
    ++*p;
    const std::string_view label = read_name(p);
    if (!to->label_names) return ReportError(181);
    if (label.empty()) return ReportRequired("label name");
    if (!IsValidName(label)) return report_invalid_name(label);
    return add_new(to, name, label);
}

// A storage type at *p, if one stands there with a name or a group behind it: `str` alone may be a
// name.
void read_new_type(NewList* to, char** p) {
    to->type = StorageType(settings.default_type);
    char* end = *p;
    const std::string_view word = read_name(&end);
    char* next = skip_blanks(end);
    bool automatic = false;
    const StorageType type = word.empty() ? StorageType{0} : type_from_name(word, &automatic);
    if (type == 0 || !(*next == '(' || is_element_byte(*next))) return;
    char* following_end = next;
    if (*next != '(' && is_list_end(read_name(&following_end))) return;
    to->type = type;
    if (automatic) *to->automatic = true;
    skeleton.new_type_given = true;
    *p = next;
}

ReturnCode read_new_group(NewList* to, char** p) {
    constexpr size_t kMaxBounds = 6;
    const int32_t begin = int32_t(to->list->size());
    for (*p = skip_blanks(*p + 1); **p != ')'; *p = skip_blanks(*p)) {
        if (!is_element_byte(**p)) return ReportRequired(")");
        if (ReturnCode rc = read_new_name(to, p)) return rc;
    }
    ++*p;
    if (skeleton.group_bounds.size() < kMaxBounds) {
        skeleton.group_bounds.push_back(begin);
        skeleton.group_bounds.push_back(int32_t(to->list->size()));
    }
    return 0;
}

ReturnCode read_new_list(NewList* to, char** p) {
    for (;;) {
        *p = skip_blanks(*p);
        if (!is_element_byte(**p) && **p != '(') return 0;
        char* end = *p;
        if (is_element_byte(**p) && is_list_end(read_name(&end)) && end != *p) return 0;
        read_new_type(to, p);
        ReturnCode rc = **p == '(' ? read_new_group(to, p) : read_new_name(to, p);
        if (rc) return rc;
    }
}

// --- ranges of observations ---

ReturnCode report_invalid_obs(std::string_view text) {
    out_errorf("'%.*s' invalid obs no\n", int(text.size()), text.data());
    return 198;
}

// One bound; numbers beyond any count stay out of range whatever the data.
ReturnCode parse_bound(int32_t last_obs, int64_t* bound) {
    NextToken();
    if (TokenIs("f") || TokenIs("F")) {
        *bound = 1;
        return 0;
    }
    if (TokenIs("l") || TokenIs("L")) {
        *bound = last_obs;
        return 0;
    }
    std::string text = scanner.TokenBuffer;
    const bool from_end = text == "-";
    if (from_end) {
        NextToken();
        text = scanner.TokenBuffer;
    }
    int64_t number = 0;
    const std::from_chars_result end = std::from_chars(text.data(), text.data() + text.size(),
                                                       number);
    const bool whole = !text.empty() && text[0] != '-' && end.ptr == text.data() + text.size();
    if (whole && end.ec == std::errc::result_out_of_range) number = INT64_MAX / 2;
    if (!whole || number < 1) return report_invalid_obs(from_end ? "-" + text : text);
    *bound = from_end ? int64_t(dataset.nobs) + 1 - number : number;
    return 0;
}

}  // namespace

bool is_list_end(std::string_view token) {
    return token.empty() || token == "if" || token == "in" || token == "using" || token == "=" ||
           token == "," || token == "[" || token == ":";
}

bool glob_match(std::string_view pattern, std::string_view name) {
    // A mismatch goes back to the last star only, which then takes one character more: an earlier
    // star could not do better, and no pattern costs more than its length times the name's.
    size_t p = 0, n = 0;
    size_t star = pattern.npos, star_name = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            star_name = n;
        } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
            p++;
            n++;
        } else if (star != pattern.npos) {
            p = star + 1;
            n = ++star_name;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*') p++;
    return p == pattern.size();
}

std::string abbreviate_name(std::string_view name, int width) {
    if (width < 5) width = 5;
    if (int(name.size()) <= width) return std::string(name);
    return std::string(name.substr(0, size_t(width - 2))) + '~' + name.back();
}

int32_t look_up_variable(std::string_view name) {
    int32_t var = 0;
    if (name.empty() || !name_can_match(name)) return 0;
    return match_variable(name, &var) == Match::One ? var : 0;
}

ReturnCode find_variable(std::string_view name, int32_t* var) {
    return find_or_report(name, var, ReportNotFound);
}

ReturnCode parse_varlist(std::vector<int32_t>* list, std::vector<const TsOperator*>* operators) {
    const ListTarget to{list, operators};
    list->clear();
    if (operators) operators->clear();
    skeleton.varlist_given = skeleton.all_given = false;
    char* p = ScanRest();
    int elements = 0;
    bool all = false;
    ReturnCode rc = 0;
    for (;;) {
        p = skip_blanks(p);
        char* end = is_element_byte(*p) ? element_end(p) : p;
        const std::string_view word(p, size_t(end - p));
        if (is_list_end(word)) break;
        elements++;
        all = word == "_all";
        rc = append_element(to, &p, end);
        if (rc) break;
    }
    SetScanPointer(p);
    if (rc) return rc;
    skeleton.varlist_given = elements > 0;
    skeleton.all_given = elements == 1 && all;
    if (!operators || operators->empty()) return 0;
    operators->resize(list->size());
    return find_time();
}

ReturnCode varlist_from_text(std::string_view text, std::vector<int32_t>* list,
                             std::vector<const TsOperator*>* operators) {
    ScannerGuard keep_scanner;
    const bool given = skeleton.varlist_given, all = skeleton.all_given;
    std::string copy(text);
    SetScanPointer(copy.data());
    ReturnCode rc = parse_varlist(list, operators);
    skeleton.varlist_given = given;
    skeleton.all_given = all;
    if (rc) return rc;
    NextToken();
    return TokenIsEmpty() ? 0 : report_invalid_token();
}

ReturnCode parse_new_varlist(std::vector<int32_t>* list, bool* automatic, bool label_names) {
    list->clear();
    *automatic = false;
    skeleton.new_type_given = false;
    skeleton.group_bounds.clear();
    NewList to{list, automatic, label_names, StorageType(settings.default_type)};
    const int32_t nvar_before = dataset.nvar;
    char* p = ScanRest();
    const ReturnCode rc = read_new_list(&to, &p);
    SetScanPointer(p);
    if (rc) {
        undo_new_variables(nvar_before);
        list->clear();
    }
    return rc;
}

ReturnCode read_new_names(std::vector<NewVariable>* names) {
    names->clear();
    skeleton.group_bounds.clear();
    bool automatic = false;
    std::vector<int32_t> added;  // stays empty
    NewList to{&added, &automatic, false, StorageType(settings.default_type), names};
    char* p = ScanRest();
    const ReturnCode rc = read_new_list(&to, &p);
    SetScanPointer(p);
    return rc;
}

ReturnCode VariableNames(std::string_view list, std::string* names) {
    names->clear();
    std::vector<int32_t> vars;
    if (ReturnCode rc = varlist_from_text(list, &vars)) return rc;
    for (int32_t var : vars) {
        if (!names->empty()) *names += ' ';
        *names += dataset.names[var - 1];
    }
    return 0;
}

ReturnCode NewVariableNames(std::string_view list, std::string* names) {
    names->clear();
    ScannerGuard keep_scanner;
    const bool type_given = skeleton.new_type_given;
    const std::vector<int32_t> group_bounds = skeleton.group_bounds;
    std::string copy(list);
    SetScanPointer(copy.data());
    std::vector<NewVariable> found;
    const ReturnCode rc = read_new_names(&found);
    skeleton.new_type_given = type_given;
    skeleton.group_bounds = group_bounds;
    if (rc) return rc;
    NextToken();
    if (!TokenIsEmpty()) return report_invalid_token();
    for (const NewVariable& variable : found) {
        if (!names->empty()) *names += ' ';
        *names += variable.name;
    }
    return 0;
}

void undo_new_variables(int32_t nvar_before) {
    // Nothing lies behind them, so no column moves; the data set keeps its observations even if it
    // has no variable left.
    for (int32_t var = dataset.nvar; var > nvar_before; var--) {
        const char* name = dataset.names[var - 1];
        dataset.nvar = var - 1;
        if (find_variable_exact(name) == 0) drop_owner_objects(name);
    }
}

ReturnCode parse_in_range(int32_t* first, int32_t* last, bool beyond_data) {
    const int32_t last_obs = beyond_data ? kLastOfAnyData : dataset.nobs;
    int64_t from = 0;
    if (ReturnCode rc = parse_bound(last_obs, &from)) return rc;
    int64_t until = from;
    NextToken();
    if (TokenIs("/")) {
        if (ReturnCode rc = parse_bound(last_obs, &until)) return rc;
    } else {
        PushBackToken();
    }
    if (from < 1 || until < from || until > last_obs) {
        out_error("Obs. nos. out of range\n");
        return 198;
    }
    *first = int32_t(from);
    *last = int32_t(until);
    return 0;
}

}  // namespace korva

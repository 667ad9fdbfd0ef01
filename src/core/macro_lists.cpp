// core/macro_lists.cpp - the extended macro functions over lists: word, list, all, and result
// names.
//
// The set operators take a repeated element as so many different ones: the first in one list
// answers to the first in the other. So `a b b` less `b` is `a b`, and the work is linear.
#include <fnmatch.h>

#include <algorithm>
#include <charconv>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/macro.h"
#include "core/macro_functions.h"
#include "core/names.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/store.h"
#include "core/stored_results.h"
#include "core/words.h"

namespace korva {

namespace {

using Words = std::vector<std::string_view>;
using Counts = std::unordered_map<std::string_view, int>;

Counts count_words(const Words& words) {
    Counts counts;
    for (std::string_view word : words) counts[word]++;
    return counts;
}

// Takes one of the word out of the counts; false: none is left.
bool take_one(Counts* counts, std::string_view word) {
    const auto found = counts->find(word);
    if (found == counts->end() || found->second == 0) return false;
    found->second--;
    return true;
}

void append_words(std::string* result, const Words& words) {
    for (std::string_view word : words) AppendWord(result, word);
}

// name, local(name) or global(name) at the scanner: the macro's value.
ReturnCode take_list(std::string_view* value) {
    NextToken();
    const bool global = TokenIs("global");
    if ((global || TokenIs("local")) && PeekChar() == '(') {
        NextToken();
        NextToken();
        const std::string name = scanner.TokenBuffer;
        NextToken();
        if (!TokenIs(")") || name.empty()) return ReportInvalidSyntax();
        *value = global ? MacroValue(name) : LocalValue(name);
        return 0;
    }
    if (!IsValidName("_" + std::string(scanner.TokenBuffer)) || TokenIsEmpty()) {
        return ReportInvalidSyntax();
    }
    *value = LocalValue(scanner.TokenBuffer);
    return 0;
}

// --- Functions of one list ---

void list_uniq(std::string_view list, std::string* result) {
    Counts seen;
    for (std::string_view word : SplitWords(list)) {
        if (seen[word]++ == 0) AppendWord(result, word);
    }
}

void list_dups(std::string_view list, std::string* result) {
    Counts seen;
    for (std::string_view word : SplitWords(list)) {
        if (seen[word]++ > 0) AppendWord(result, word);
    }
}

void list_sort(std::string_view list, std::string* result) {
    Words words = SplitWords(list);
    std::sort(words.begin(), words.end());
    append_words(result, words);
}

void list_sizeof(std::string_view list, std::string* result) {
    *result += std::to_string(SplitWords(list).size());
}

// The elements as they are written, one blank between them.
void list_retokenize(std::string_view list, std::string* result) {
    std::string_view word;
    for (list = TrimBlanks(list); !list.empty(); list = TrimBlanks(list)) {
        const std::string_view before = list;
        TakeWord(&list, &word);
        if (!result->empty()) *result += ' ';
        result->append(before.substr(0, before.size() - list.size()));
    }
}

// The elements in no more quotes than they need.
void list_clean(std::string_view list, std::string* result) {
    append_words(result, SplitWords(list));
}

struct ListFunction {
    std::string_view name;
    void (*run)(std::string_view list, std::string* result);
};
constexpr ListFunction kListFunctions[] = {
    // clang-format off
    {"uniq",       list_uniq},
    {"dups",       list_dups},
    {"sort",       list_sort},
    {"sizeof",     list_sizeof},
    {"retokenize", list_retokenize},
    {"clean",      list_clean},
    // clang-format on
};

// --- Functions of two lists ---

void list_union(const Words& a, const Words& b, std::string* result) {
    append_words(result, a);
    Counts of_a = count_words(a);
    for (std::string_view word : b) {
        if (!take_one(&of_a, word)) AppendWord(result, word);
    }
}

void list_intersection(const Words& a, const Words& b, std::string* result) {
    Counts of_b = count_words(b);
    for (std::string_view word : a) {
        if (take_one(&of_b, word)) AppendWord(result, word);
    }
}

void list_difference(const Words& a, const Words& b, std::string* result) {
    Counts of_b = count_words(b);
    for (std::string_view word : a) {
        if (!take_one(&of_b, word)) AppendWord(result, word);
    }
}

void list_equal(const Words& a, const Words& b, std::string* result) {
    *result += a == b ? '1' : '0';
}

bool all_in(const Words& a, const Words& b) {
    Counts of_b = count_words(b);
    return std::all_of(a.begin(), a.end(), [&](auto word) { return take_one(&of_b, word); });
}

void list_in(const Words& a, const Words& b, std::string* result) {
    *result += all_in(a, b) ? '1' : '0';
}

// Equal but for the order.
void list_same(const Words& a, const Words& b, std::string* result) {
    *result += a.size() == b.size() && all_in(a, b) ? '1' : '0';
}

struct ListOperator {
    std::string_view name;
    void (*run)(const Words& a, const Words& b, std::string* result);
};
constexpr ListOperator kListOperators[] = {
    // clang-format off
    {"|",   list_union},
    {"&",   list_intersection},
    {"-",   list_difference},
    {"==",  list_equal},
    {"===", list_same},
    {"in",  list_in},
    // clang-format on
};

// posof "word" in macroname
ReturnCode list_posof(std::string* result) {
    std::string_view word;
    if (!TakeScannedWord(&word)) return ReportInvalidSyntax();
    NextToken();
    if (!TokenIs("in")) return ReportInvalidSyntax();
    std::string_view list;
    if (ReturnCode rc = take_list(&list)) return rc;
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    const Words words = SplitWords(list);
    const auto found = std::find(words.begin(), words.end(), word);
    *result += std::to_string(found == words.end() ? 0 : found - words.begin() + 1);
    return 0;
}

// The operator at the scanner: the signs ==  and = stand together in ===.
std::string take_operator() {
    NextToken();
    std::string name = scanner.TokenBuffer;
    if (name == "==" && *ScanRest() == '=') {
        NextToken();
        name += scanner.TokenBuffer;
    }
    return name;
}

ReturnCode list_operation(std::string* result) {
    std::string_view left, right;
    if (ReturnCode rc = take_list(&left)) return rc;
    const std::string name = take_operator();
    for (const ListOperator& row : kListOperators) {
        if (row.name != name) continue;
        if (ReturnCode rc = take_list(&right)) return rc;
        if (ReturnCode rc = ExpectEnd(0)) return rc;
        row.run(SplitWords(left), SplitWords(right), result);
        return 0;
    }
    return ReportInvalidSyntax();
}

// True if what follows the token makes it the left macro of an operator and no function's word.
bool operator_follows() {
    const char c = PeekChar();
    return c == '|' || c == '&' || c == '-' || c == '=';
}

// --- all ---

enum class Holds : uint8_t { Anything, Numeric, String };

// Numbers are kept as their 8 bytes; a macro is numeric when its text is.
bool is_numeric(const StoreRecord* record) {
    if (record->type != kKindGlobalMacro) return true;
    double x;
    return ParseMacroNumber({record->payload(), record->length - 1}, &x);
}

int32_t kind_of_objects(std::string_view word) {
    if (word == "globals") return kKindGlobalMacro;
    if (word == "scalars") return kKindScalar;
    return word == "matrices" ? kKindMatrix : kKindAny;
}

std::vector<std::string_view> names_of(int32_t kind) {
    std::vector<std::string_view> names;
    for (StoreRecord* record = StoreNext(kind, nullptr); record != nullptr;
         record = StoreNext(kind, record)) {
        names.emplace_back(record->name, record->name_bytes);
    }
    return names;
}

bool is_listed(std::string_view name, int32_t kind, Holds holds, const std::string& pattern) {
    if (fnmatch(pattern.c_str(), std::string(name).c_str(), FNM_NOESCAPE) != 0) return false;
    if (holds == Holds::Anything) return true;
    return is_numeric(StoreFind(name, kind)) == (holds == Holds::Numeric);
}

}  // namespace

// word count text, word # of text
ReturnCode MfWord(int, std::string* result) {
    NextToken();
    if (TokenIs("count")) {
        *result += std::to_string(SplitWords(ScanRest()).size());
        return 0;
    }
    PushBackToken();
    int32_t number = 0;
    if (ReturnCode rc = TakeWholeNumber(1, &number)) return rc;
    NextToken();
    if (!TokenIs("of")) return ReportInvalidSyntax();
    std::string_view text = ScanRest();
    std::string_view word;
    while (number > 0 && TakeWord(&text, &word)) number--;
    if (number == 0) result->append(word);
    return 0;
}

ReturnCode MfList(int, std::string* result) {
    NextToken();
    const std::string word = scanner.TokenBuffer;
    if (word == "posof" && !operator_follows()) return list_posof(result);
    for (const ListFunction& row : kListFunctions) {
        if (row.name != word || operator_follows()) continue;
        std::string_view list;
        if (ReturnCode rc = take_list(&list)) return rc;
        if (ReturnCode rc = ExpectEnd(0)) return rc;
        row.run(list, result);
        return 0;
    }
    PushBackToken();
    return list_operation(result);
}

// all globals|scalars|matrices [numeric|string] [pattern]
ReturnCode MfAll(int, std::string* result) {
    NextToken();
    const int32_t kind = kind_of_objects(scanner.TokenBuffer);
    if (kind == kKindAny)
        return ReportFoundWhere(scanner.TokenBuffer, "globals, scalars or matrices");
    Holds holds = Holds::Anything;
    std::string_view word;
    bool quoted = false;
    bool more = TakeScannedWord(&word, &quoted);
    if (more && !quoted && (word == "numeric" || word == "string")) {
        holds = word == "numeric" ? Holds::Numeric : Holds::String;
        more = TakeScannedWord(&word);
    }
    const std::string pattern = more && !word.empty() ? std::string(word) : "*";
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    std::vector<std::string_view> names = names_of(kind);
    std::sort(names.begin(), names.end());
    for (std::string_view name : names) {
        if (is_listed(name, kind, holds, pattern)) AppendWord(result, name);
    }
    return 0;
}

// r(scalars) and its like: the names in the order in which they were stored.
ReturnCode MfResultNames(int family, std::string* result) {
    NextToken();
    NextToken();
    const std::string word = scanner.TokenBuffer;
    NextToken();
    if (!TokenIs(")")) return ReportInvalidSyntax();
    if (ReturnCode rc = ExpectEnd(0)) return rc;

    const auto which = ResultFamily(family);
    const bool estimates = which == ResultFamily::E;
    int32_t kind = kKindAny;
    if (word == "macros") {
        kind = which == ResultFamily::S ? kKindSMacro
               : estimates              ? kKindEstimateMacro
                                        : kKindResultMacro;
    } else if (word == "scalars") {
        kind = estimates ? kKindEstimateScalar : kKindResultScalar;
    } else if (word == "matrices") {
        kind = estimates ? kKindEstimateMatrix : kKindResultMatrix;
    } else if (word != "functions") {
        return ReportFoundWhere(word, "scalars, macros, matrices or functions");
    }
    // s() has macros only, and no family has functions while there is no estimation sample.
    if (kind == kKindAny || (which == ResultFamily::S && word != "macros")) return 0;
    const std::vector<std::string_view> names = names_of(kind);
    for (size_t i = names.size(); i > 0; i--) AppendWord(result, names[i - 1]);
    return 0;
}

}  // namespace korva

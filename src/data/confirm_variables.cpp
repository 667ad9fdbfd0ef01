// data/confirm_variables.cpp - the forms of confirm that ask the dataset.
#include <cstring>
#include <string>
#include <unordered_set>
#include <vector>

#include "core/names.h"
#include "core/option_words.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/upcalls.h"
#include "core/words.h"
#include "data/dataset.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr ReturnCode kNotOfTheKind = 7;

std::string noun_of(ConfirmedVariables what) {
    switch (what) {
    case ConfirmedVariables::New: return "new variable";
    case ConfirmedVariables::Numeric: return "numeric variable";
    case ConfirmedVariables::String: return "string variable";
    case ConfirmedVariables::Date: return "date variable";
    case ConfirmedVariables::Operators:
    case ConfirmedVariables::Any: break;
    }
    return "variable";
}

ReturnCode report_found(std::string_view found, ConfirmedVariables what) {
    if (found.empty()) {
        out_error("nothing found where " + noun_of(what) + " expected\n");
    } else {
        ReportFoundWhere(found, noun_of(what));
    }
    return kNotOfTheKind;
}

bool is_of_the_kind(int32_t var, ConfirmedVariables what) {
    const bool is_string = type_is_string(dataset.types[var - 1]);
    if (what == ConfirmedVariables::Numeric) return !is_string;
    if (what == ConfirmedVariables::String) return is_string;
    if (what != ConfirmedVariables::Date) return true;
    const char* format = dataset.formats[var - 1] + 1;
    if (*format == '-') format++;
    return *format == 'd' || *format == 't';
}

ReturnCode check_kind(const std::vector<int32_t>& list, ConfirmedVariables what) {
    for (int32_t var : list) {
        if (!is_of_the_kind(var, what)) return report_found(dataset.names[var - 1], what);
    }
    return 0;
}

ReturnCode confirm_new(std::string_view text) {
    std::unordered_set<std::string_view> seen;
    std::string_view word;
    while (TakeWord(&text, &word)) {
        if (!IsValidName(word) || name_is_reserved(word)) {
            return report_found(word, ConfirmedVariables::New);
        }
        if (find_variable_exact(std::string(word).c_str()) != 0) return ReportAlreadyDefined(word);
        if (seen.insert(word).second) continue;
        out_error("new variable " + std::string(word) + " mentioned more than once\n");
        return 110;
    }
    return 0;
}

ReturnCode confirm_exact(std::string_view text, ConfirmedVariables what) {
    std::vector<int32_t> list;
    std::string_view word;
    while (TakeWord(&text, &word)) {
        if (!IsValidName(word)) return report_found(word, what);
        const int32_t var = find_variable_exact(std::string(word).c_str());
        if (var == 0) return ReportNotFound("variable " + std::string(word));
        list.push_back(var);
    }
    return check_kind(list, what);
}

ReturnCode read_list(std::string_view text, ConfirmedVariables what, std::vector<int32_t>* list) {
    std::vector<const TsOperator*> operators;
    return varlist_from_text(text, list,
                             what == ConfirmedVariables::Operators ? &operators : nullptr);
}

ReturnCode confirm_list(std::string_view text, ConfirmedVariables what) {
    std::vector<int32_t> list;
    ReturnCode rc;
    {
        const ThresholdGuard silent(kThresholdCapture);
        rc = read_list(text, what, &list);
    }
    if (rc == 198) return report_found(text, what);  // no list at all
    if (rc) return read_list(text, what, &list);     // again, with its words
    return check_kind(list, what);
}

}  // namespace

ReturnCode ConfirmVariables(ConfirmedVariables what) {
    NextToken();
    const std::string_view word = scanner.TokenBuffer;
    if (word.empty() || !(MatchAbbreviation(word, "variable", 1) || word == "variables")) {
        return ReportInvalidSyntax();
    }
    char* start = SkipBlanks(ScanRest());
    const std::string_view line = start;
    const size_t comma = std::min(line.find(','), line.size());
    const std::string text(TrimBlanks(line.substr(0, comma)));
    bool exact = false;
    if (comma < line.size()) {
        SetScanPointer(start + comma + 1);
        const OptionWord words[] = {{"exact", 2, &exact}};
        if (ReturnCode rc = ReadOptionWords(words)) return rc;
    }
    if (text.empty()) return report_found({}, what);
    if (what == ConfirmedVariables::New) return confirm_new(text);
    return exact ? confirm_exact(text, what) : confirm_list(text, what);
}

}  // namespace korva

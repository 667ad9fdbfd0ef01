// data/macro_functions.cpp - the extended macro functions that ask the dataset.

#include "core/macro_functions.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "core/macro.h"
#include "core/missing.h"
#include "core/names.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "data/dataset.h"
#include "data/labels.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr int kLabelWordMinimum = 3;  // lab, as the function `label` itself

// Takes the second word of `value label` and its like.
ReturnCode take_label_word() {
    NextToken();
    const bool good = MatchAbbreviation(scanner.TokenBuffer, "label", kLabelWordMinimum);
    return good ? 0 : ReportInvalidSyntax();
}

ReturnCode take_variable(int32_t* var) {
    NextToken();
    if (TokenIsEmpty()) return ReportRequired("varname");
    return find_variable(std::string(scanner.TokenBuffer), var);
}

ReturnCode take_symbol(std::string_view symbol) {
    NextToken();
    return TokenIs(symbol) ? 0 : ReportInvalidSyntax();
}

// A whole token as a number or a missing value.
bool token_number(const char* token, double* value) {
    if (token[0] == '.' &&
        (token[1] == 0 || (token[1] >= 'a' && token[1] <= 'z' && token[2] == 0))) {
        *value = missing_value(token[1] == 0 ? 0 : token[1] - 'a' + 1);
        return true;
    }
    if (*token == 0 || std::strspn(token, "0123456789.eE+-") != std::strlen(token)) return false;
    char* end = nullptr;
    *value = finite_or_missing(std::strtod(token, &end));
    return end != token && *end == 0;
}

// lblname, or (varname) for the table attached to the variable.
ReturnCode take_label_table(std::string* table) {
    NextToken();
    if (!TokenIs("(")) {
        *table = scanner.TokenBuffer;
        return IsValidName(*table) ? 0 : ReportInvalid("name");
    }
    int32_t var = 0;
    if (ReturnCode rc = take_variable(&var)) return rc;
    *table = dataset.label_names[var - 1];
    return take_symbol(")");
}

// [length] [, strict] behind the value.
ReturnCode take_label_tail(size_t* length, bool* strict) {
    double number = 0;
    NextToken(OptionSeparators);
    if (!TokenIsEmpty() && !TokenIs(",")) {
        if (!token_number(scanner.TokenBuffer, &number) || is_missing(number) || number < 0) {
            return ReportFoundWhere(scanner.TokenBuffer, "number");
        }
        *length = std::min(*length, size_t(number));
        NextToken(OptionSeparators);
    }
    if (TokenIsEmpty()) return 0;
    if (!TokenIs(",")) return ReportInvalidSyntax();
    NextToken(OptionSeparators);
    if (TokenIsEmpty()) return 0;
    *strict = TokenIs("strict");
    return *strict ? ExpectEnd(0) : ReportInvalidSyntax();
}

// [, length(#)] behind the name of permname.
ReturnCode take_permname_length(size_t* length) {
    NextToken();
    if (TokenIsEmpty()) return 0;
    if (!TokenIs(",")) return ReportInvalidSyntax();
    NextToken();
    if (TokenIsEmpty()) return 0;
    if (!MatchAbbreviation(scanner.TokenBuffer, "length", 1)) return ReportInvalidSyntax();
    if (ReturnCode rc = take_symbol("(")) return rc;
    double number = 0;
    NextToken(OptionSeparators);
    const bool good = token_number(scanner.TokenBuffer, &number) && number >= 1 &&
                      number <= kMaxNameBytes && number == double(int(number));
    if (!good) return ReportFoundWhere(scanner.TokenBuffer, "integer between 1 and 32");
    *length = size_t(number);
    if (ReturnCode rc = take_symbol(")")) return rc;
    return ExpectEnd(0);
}

// The name cut to the length, with a number at its end if the dataset has it already; empty if all
// are taken.
std::string unused_name(std::string_view name, size_t length) {
    const std::string plain(name.substr(0, length));
    if (find_variable_exact(plain) == 0) return plain;
    for (int i = 1; i <= dataset.nvar + 1; i++) {
        const std::string digits = std::to_string(i);
        if (digits.size() >= length) break;  // a name does not begin with a digit
        const std::string tried = plain.substr(0, length - digits.size()) + digits;
        if (find_variable_exact(tried) == 0 && !name_is_reserved(tried)) return tried;
    }
    return {};
}

}  // namespace

ReturnCode MfVariableFact(int fact, std::string* result) {
    if (fact >= 2) {
        if (ReturnCode rc = take_label_word()) return rc;
    }
    int32_t var = 0;
    if (ReturnCode rc = take_variable(&var)) return rc;
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    switch (fact) {
    case 0: *result += type_name(dataset.types[var - 1]); break;
    case 1: *result += dataset.formats[var - 1]; break;
    case 2: *result += dataset.label_names[var - 1]; break;
    default: *result += variable_label(var); break;
    }
    return 0;
}

ReturnCode MfSortedby(int, std::string* result) {
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    for (const uint16_t* key = dataset.sortlist; *key != 0; key++) {
        if (key != dataset.sortlist) *result += ' ';
        *result += dataset.names[*key - 1];
    }
    return 0;
}

// owner[name] for one text, owner[] for the names of all.
ReturnCode MfChar(int, std::string* result) {
    NextToken();
    std::string owner = scanner.TokenBuffer;
    if (owner != kDatasetOwner) {
        PushBackToken();
        int32_t var = 0;
        if (ReturnCode rc = take_variable(&var)) return rc;
        owner = dataset.names[var - 1];
    }
    if (ReturnCode rc = take_symbol("[")) return rc;
    NextToken();
    if (!TokenIs("]")) {
        const std::string name = scanner.TokenBuffer;
        if (ReturnCode rc = take_symbol("]")) return rc;
        if (ReturnCode rc = ExpectEnd(0)) return rc;
        *result += characteristic(owner, name);
        return 0;
    }
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    std::string_view gap;
    for (std::string_view name : characteristic_names(owner)) {
        result->append(gap).append(name);
        gap = " ";
    }
    return 0;
}

// lblname|(varname) #|maxlength [length] [, strict]: a value without a label stands for itself.
ReturnCode MfLabel(int, std::string* result) {
    std::string table;
    if (ReturnCode rc = take_label_table(&table)) return rc;
    NextToken(OptionSeparators);
    const std::string value = scanner.TokenBuffer;
    const bool longest = value == "maxlength";
    double number = 0;
    if (!longest && !token_number(value.c_str(), &number)) return ReportFoundWhere(value, "number");

    size_t length = size_t(session.macrolen - 1);
    bool strict = false;
    if (ReturnCode rc = take_label_tail(&length, &strict)) return rc;
    if (longest) {
        *result += std::to_string(longest_value_label(table));
        return 0;
    }
    const char* label = find_value_label(table, number);
    if (label == nullptr && strict) return 0;
    const std::string text = label != nullptr ? label : MacroNumber(number);
    result->append(text, 0, length);
    return 0;
}

ReturnCode MfDataLabel(int, std::string* result) {
    if (ReturnCode rc = take_label_word()) return rc;
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    *result += dataset.label;
    return 0;
}

ReturnCode MfPermname(int, std::string* result) {
    NextToken();
    const std::string name = scanner.TokenBuffer;
    if (!IsValidName(name)) return ReportInvalid("name");
    size_t length = kMaxNameBytes;
    if (ReturnCode rc = take_permname_length(&length)) return rc;
    *result += unused_name(name, length);
    return 0;
}

}  // namespace korva

// core/macro_functions.h - the table of extended macro functions and the handlers that rows name.
#pragma once

#include <string>
#include <string_view>

#include "core/types.h"

namespace korva {

// Appends the function's value to *result; the scanner stands behind the function's word.
using MacroFunctionHandler = ReturnCode (*)(int argument, std::string* result);

struct MacroFunctionRow {
    std::string_view name;
    int minimum;
    MacroFunctionHandler handler;  // null: not available yet
    int argument = 0;
};

// Defined in output/display.cpp: the text that `display` would print.
ReturnCode MfDisplay(int, std::string* result);

// Defined in output/log.cpp: the file of the default log.
ReturnCode MfLog(int, std::string* result);

// Defined in data/macro_functions.cpp: what the dataset knows.
// Fact: 0 storage type, 1 format, 2 name of the value label, 3 variable label.
ReturnCode MfVariableFact(int fact, std::string* result);
ReturnCode MfSortedby(int, std::string* result);
ReturnCode MfChar(int, std::string* result);
ReturnCode MfLabel(int, std::string* result);
ReturnCode MfDataLabel(int, std::string* result);
ReturnCode MfPermname(int, std::string* result);

// Defined in core.
ReturnCode MfProperties(int, std::string* result);  // core/program_commands.cpp

// Defined in core/macro_lists.cpp: lists of words, and of names.
ReturnCode MfWord(int, std::string* result);
ReturnCode MfList(int, std::string* result);
ReturnCode MfAll(int, std::string* result);
// Family: a ResultFamily. The scanner stands before the parenthesis.
ReturnCode MfResultNames(int family, std::string* result);

// Defined in core/macro_text_functions.cpp.
ReturnCode MfSubinstr(int, std::string* result);
ReturnCode MfPiece(int, std::string* result);
ReturnCode MfLength(int, std::string* result);
ReturnCode MfRegexMatch(int, std::string* result);
ReturnCode MfRegexReplace(int, std::string* result);
ReturnCode MfRegexSubexpression(int, std::string* result);

// The whole number that the next token must be, `least` or more; else "... found where number
// expected".
ReturnCode TakeWholeNumber(int32_t least, int32_t* number);

// The next word at the scanner, of any length, its quotes removed; false at the end of the line.
bool TakeScannedWord(std::string_view* word, bool* quoted = nullptr);

// Rows without a handler: what "is not available yet" answers.
int MacroFunctionsNotAvailable();

}  // namespace korva

// core/return_codes.h - the return codes with their texts, and the routines that print them.
#pragma once

#include <string_view>

#include "core/types.h"

namespace korva {

// Prints the standard text of the code at level 3 (a few at level 1) and returns the code that the
// user sees: most return themselves, a few stand for another. A code without a text prints nothing.
ReturnCode ReportError(int code);

ReturnCode ReportRequired(std::string_view text);        // "%s required", 100
ReturnCode ReportNotAllowed(std::string_view text);      // "%s not allowed", 101
ReturnCode ReportInvalid(std::string_view text);         // "invalid %s", 198
ReturnCode ReportNotFound(std::string_view text);        // "%s not found", 111
ReturnCode ReportAlreadyDefined(std::string_view text);  // "%s already defined", 110
ReturnCode ReportAmbiguous(std::string_view text);       // "%s ambiguous abbreviation", 111
ReturnCode ReportFoundWhere(std::string_view found, std::string_view expected);  // 198
ReturnCode ReportFileError(int code, std::string_view name);  // 601 to 699 with the file's name
ReturnCode ReportMacroNotFound(std::string_view key);         // by store key; 111
ReturnCode ReportInvalidSyntax();                             // "invalid syntax", 198

}  // namespace korva

// core/upcalls.h - the few routines that core and output call to their right; each says who defines
// it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/types.h"

namespace korva {

// --- data/expression.cpp: expressions ---

struct ExpressionValue {
    bool is_string = false;
    double number = 0;
    std::string text;
};

// What the result may be.
enum class ExpressionMode : uint8_t {
    Number = 0,
    String = 1,
    Either = 3,
    Matrix = 4,
    NumberOrMatrix = 5
};

// The value of the whole text at observation 1 over all data. Prints its words on failure.
ReturnCode EvaluateText(std::string_view text, ExpressionMode mode, ExpressionValue* value);

// The same for the expression at the scanner, which is left behind the end of its valid text.
ReturnCode EvaluateScanned(ExpressionMode mode, ExpressionValue* value);

// --- data/random.cpp: the seeds ---

// set seed, set seed0, set sortseed: each takes the rest of the line.
ReturnCode SetSeed();
ReturnCode SetOldSeed();
ReturnCode SetSortSeed();

// The state of uniform(), as `set seed` takes it.
std::string SeedText();

// --- output/log.cpp: logs ---

// A line came from the keyboard: the command log, if one is on, gets it.
void LogTypedLine(std::string_view line);

// The session ends: every log and the command log close with their closing headers.
void CloseLogs();

// True if this session writes a log to the file of the path: one that is on or off, the command
// log, or that of a batch run. Whoever wrote there too would damage both (output/log.cpp).
bool IsLogFile(const std::string& path);

// --- data/: the dataset ---

// Maps the data area of `bytes` bytes and makes the variable tables for `maxvar` variables,
// replacing what was there; false if memory is refused.
bool StartDataset(int64_t bytes, int32_t maxvar);
void EndDataset();

// Dispatch begins a command: qualifiers, permissions, weights and options are as at start.
void ResetSkeleton();

// A level ends: variables whose temporary name was issued since the count go.
void DropTemporaryVariables(int32_t name_counter_at_entry);

int32_t DatasetVariables();     // nvar
int32_t DatasetObservations();  // nobs
int64_t DatasetWidth();         // bytes of a row in use
bool DatasetChanged();

// The variables that a list names, with blanks between (data/varlist.cpp). Codes and words of a
// variable list; an empty one is an empty text.
ReturnCode VariableNames(std::string_view list, std::string* names);

// The same for a list of new variables, none of which is made (data/varlist.cpp).
ReturnCode NewVariableNames(std::string_view list, std::string* names);

// The characteristic of a variable (abbreviation allowed) or of _dta; empty when there is none.
std::string_view CharacteristicOf(std::string_view owner, std::string_view name);

// confirm [new|numeric|string|date|ts] variable list [, exact], the scanner in front of `variable`
// (data/confirm_variables.cpp). 7, 110, 111 with words.
enum class ConfirmedVariables : uint8_t { Any, New, Numeric, String, Date, Operators };
ReturnCode ConfirmVariables(ConfirmedVariables what);

// True while a by prefix runs its groups (data/by.cpp).
bool ByActive();

// True inside a by group that may be empty: codes 2000 and 2001 count as nothing.
bool ByGroupRunning();

// A note of what an expression must not see: forgets compiled programs that the last command left.
void ForgetExpressions();

}  // namespace korva

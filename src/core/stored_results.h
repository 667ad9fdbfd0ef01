// core/stored_results.h - what commands leave behind: r(), e(), s(), and a running program's
// return().
#pragma once

#include <cstdint>
#include <string_view>

#include "core/types.h"

namespace korva {

enum class ResultFamily : uint8_t { R, E, S, Return };
enum class ResultKind : uint8_t { None, Number, Text, Matrix };

struct StoredValue {
    ResultKind kind = ResultKind::None;
    double number = 0;
    std::string_view text;  // valid until the next change of the store
};

// The result under the name in the family; kind None if there is none.
StoredValue FindStoredResult(ResultFamily family, std::string_view name);

// r(): a command clears it once it can no longer fail, then sets what it shows.
void ClearResults();
ReturnCode SetResultNumber(std::string_view name, double value);
ReturnCode SetResultText(std::string_view name, std::string_view text);

// s(): used by helpers such as unabcmd.
void ClearSResults();
ReturnCode SetSResult(std::string_view name, std::string_view text);

}  // namespace korva

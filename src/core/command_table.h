// core/command_table.h - the built-in commands: one table, searched in its order.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "core/types.h"

namespace korva {

// Runs a command whose word was just taken, the scanner behind it. `argument` is the row's
// constant.
using CommandHandler = ReturnCode (*)(int argument);

enum class Gate : uint8_t { Always, AtLeast, Below };

struct CommandRow {
    std::string_view name;
    int minimum;  // fewest characters that select the row
    bool byable;  // `by` may prefix it (with its gate: at a version where the row counts)
    CommandHandler handler;  // null: not available yet
    int argument = 0;
    Gate gate = Gate::Always;
    int gate_version = 0;  // version times 100
};

std::span<const CommandRow> CommandTable();

// The first row, in table order, that the word selects at the version in force; null: none.
const CommandRow* FindCommand(std::string_view word);

// The row with which a word is passed over while lines are only scanned (ExecuteFlag 0); null:
// none.
const CommandRow* FindSkipCommand(std::string_view word);

// The full name of the built-in that the word abbreviates; empty: none.
std::string_view UnabbreviateBuiltin(std::string_view word);

// The name of the built-in if `by` may prefix it; empty: it may not, or there is none.
std::string_view ByableBuiltin(std::string_view word);

// Rows without a handler: what `command NAME is not available yet` answers.
int CommandsNotAvailable();

}  // namespace korva

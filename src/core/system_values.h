// core/system_values.h - c(): the read-only window on settings and constants.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace korva {

struct SystemValue {
    bool is_text = false;
    double number = 0;
    std::string text;
};

// The value of c(name), worked out now; false when there is no such name.
bool FindSystemValue(std::string_view name, SystemValue* value);

struct SystemValueRow {
    std::string_view name;
    void (*get)(SystemValue* value);  // null: what it tells of does not exist yet
};

// Every name, in the order of the search.
std::span<const SystemValueRow> SystemValueTable();

// Names without a getter.
int SystemValuesNotAvailable();

}  // namespace korva

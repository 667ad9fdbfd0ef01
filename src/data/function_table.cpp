// data/function_table.cpp - the rows of functions.def, sorted by name when compiled.

#include "data/function_table.h"

#include <algorithm>
#include <array>

namespace korva {

namespace {

constexpr FunctionRow fixed_row(std::string_view name, int16_t opcode, FunctionKind kind,
                                int version) {
    const int16_t n = int16_t(fixed_arguments(kOpcodeRows[size_t(opcode)]));
    return {name, kind, FunctionRoutine::None, opcode, n, n, version};
}

constexpr auto kSortedRows = [] {
    std::array rows = {
#define FIXED(name, opcode) fixed_row(name, OP_##opcode, FunctionKind::Fixed, 0),
#define OLD(name, opcode, version) fixed_row(name, OP_##opcode, FunctionKind::Fixed, version),
#define IN_MATRIX_MODE(name, opcode) fixed_row(name, OP_##opcode, FunctionKind::InMatrixMode, 0),
#define COUNTED(name, opcode, fewest, most)                                                        \
    FunctionRow{name, FunctionKind::Counted, FunctionRoutine::None, OP_##opcode, fewest, most, 0},
#define ALONE(name, routine)                                                                       \
    FunctionRow{name, FunctionKind::Alone, FunctionRoutine::routine, 0, 0, 0, 0},
#include "data/functions.def"
#undef ALONE
#undef COUNTED
#undef IN_MATRIX_MODE
#undef OLD
#undef FIXED
    };
    std::sort(rows.begin(), rows.end(),
              [](const FunctionRow& a, const FunctionRow& b) { return a.name < b.name; });
    return rows;
}();

constexpr bool rows_are_sound() {
    for (size_t i = 0; i < kSortedRows.size(); i++) {
        const FunctionRow& row = kSortedRows[i];
        if (i > 0 && kSortedRows[i - 1].name == row.name) return false;
        if (row.kind == FunctionKind::Fixed && row.min_arguments < 0) return false;
        if (row.kind == FunctionKind::Counted &&
            fixed_arguments(kOpcodeRows[size_t(row.opcode)]) >= 0) {
            return false;
        }
    }
    return true;
}
static_assert(rows_are_sound(), "a name twice, or an opcode that does not fit its row");

}  // namespace

std::span<const FunctionRow> function_rows() {
    return kSortedRows;
}

bool function_is_available(const FunctionRow& row) {
    if (row.kind == FunctionKind::Alone) return row.routine != FunctionRoutine::Later;
    return kOpcodeRows[size_t(row.opcode)].available;
}

const FunctionRow* find_function(std::string_view name, int version) {
    const auto found = std::lower_bound(
        kSortedRows.begin(), kSortedRows.end(), name,
        [](const FunctionRow& row, std::string_view word) { return row.name < word; });
    if (found == kSortedRows.end() || found->name != name) return nullptr;
    if (found->last_version && version > found->last_version) return nullptr;
    return &*found;
}

}  // namespace korva

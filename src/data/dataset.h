// data/dataset.h - the one dataset: its shape, its variable table and the data area that holds it.
//
// The rectangle lies row by row in one mapped block. Cell (var, obs), both 1-based, is at
// rows + slot[obs - 1] * lrecl + offset[var - 1]. Row nobs + 1 is scratch: whoever writes there
// calls ensure_scratch_row() first. lrecl (the pitch) and mobs (the rows there is room for) trade
// against each other inside the fixed block: repart() changes them and leaves everything as it was
// when it fails.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/types.h"
#include "data/storage_type.h"

namespace korva {

constexpr int kFormatBytes = 12;     // a display format with its NUL
constexpr int kDataLabelBytes = 81;  // the dataset's label with its NUL
constexpr int kVariableLabelMax = 80;
constexpr const char* kEstimationSample = "(e)";  // hidden byte variable: the estimation sample

using NameText = char[kMaxNameBytes + 1];
using FormatText = char[kFormatBytes];

// Bytes mapped behind the data area: where a stress build moves the rows by, so that the area still
// holds what it would.
#ifdef KORVA_STRESS
constexpr int64_t kAreaSlack = 64;
#else
constexpr int64_t kAreaSlack = 0;
#endif

struct DatasetStore {
    int32_t nvar = 0;   // variables now defined, hidden ones included
    int32_t nobs = 0;   // observations now defined
    int32_t mvar = 0;   // variables that the partition can hold
    int32_t mobs = 0;   // observations that the partition can hold
    int32_t tobs = 0;   // slots of the observation table that are initialised; filled as nobs grows
    int32_t lrecl = 0;  // bytes per row in the partition; always even
    uint64_t memsize = 0;   // bytes of the row area
    int32_t maxmaxvar = 0;  // the set maxvar value
    int32_t maxlrecl = 0;   // widest allowed row, 12 * maxmaxvar
    char label[kDataLabelBytes] = {};
    uint8_t changed = 0;  // the data differ from what was last saved or used

    uint8_t* begin = nullptr;  // the data area
    uint8_t* end = nullptr;
    uint64_t M_dyn = 0;         // bytes reserved at the top of the area
    uint32_t* slot = nullptr;   // observation table, at begin; a permutation of 0 .. tobs - 1
    uint32_t* slot2 = nullptr;  // second table, for the sort
    uint8_t* rows = nullptr;    // row area; every growth may move it

    // The variable table, indexed by variable number - 1; maxmaxvar + 1 entries each, all in the
    // one mapped block `tables`.
    uint8_t* tables = nullptr;
    uint64_t table_bytes = 0;
    NameText* names = nullptr;
    StorageType* types = nullptr;
    uint32_t* offsets = nullptr;
    FormatText* formats = nullptr;
    NameText* label_names = nullptr;  // attached value label, empty for none
    uint16_t* sortlist = nullptr;     // 1-based variable numbers of the sort keys, 0-terminated

    int64_t n_repart = 0;                       // partitions changed, for `memory`
    int64_t n_shift = 0;                        // rows put into slot order, for `memory`
    char filename[kMaxFileNameBytes + 1] = {};  // the file the data came from; empty: none
    bool has_temporaries = false;               // a variable named __... was made in this session
};
extern DatasetStore dataset;  // defined in data/dataset.cpp, written only by this folder

// Bytes of a row that variables use; 0 without variables.
int32_t used_width();

// Slots that the observation table has room for, initialised or not: the N_curmax of `memory`.
inline int64_t table_slots() {
    return dataset.slot2 - dataset.slot;
}

// Puts another data area and tables for `maxvar` variables under the store, which has no data; its
// label and what hangs on it stay. False, with the old ones in place, if memory is refused.
bool replace_data_area(int64_t bytes, int32_t maxvar);

// Forgets all variables and observations, the labels, formats and characteristics that hang on
// them, S_FN and S_FNDATE. Value labels go too. The partition stays.
void clear_dataset();

// --- data/partition.cpp ---

// Changes the pitch by d_width bytes or the row capacity by d_obs; exactly one is nonzero. 901,
// 902, 909 or 1010 without words on failure, with nothing changed: the caller reports
// (report_no_room).
ReturnCode repart(int64_t d_width, int64_t d_obs);

// Room for n more observations (mobs) or n more bytes of width (lrecl), with headroom where there
// is. Without words on failure, as repart; also 9996 and 9997, which report_no_room() knows.
ReturnCode grow_obs(int64_t n);
ReturnCode grow_width(int64_t n);

// Copies `bytes` of each of n rows from one base and pitch to another, neither pitch below `bytes`;
// the two areas may overlap in any way.
void move_rows(uint8_t* to, int64_t to_pitch, const uint8_t* from, int64_t from_pitch, int64_t n,
               size_t bytes);

// Lays the first partition out in a fresh area; false if the area is too small for any.
bool lay_out_first_partition();

// Ensures nobs < mobs, and that row nobs + 1 has its slot. Without words on failure.
ReturnCode ensure_scratch_row();

// The number of observations is n from here on; there is room (n <= mobs). Whoever raises nobs does
// it here, because the slots of new rows are initialised no earlier. Lowering nobs by hand is
// harmless.
void set_nobs(int32_t n);

// Initialises the first n slots of the observation table, if they are not yet.
void ready_slots(int64_t n);

// The most observations at the present width and the widest row at the present nobs.
int64_t largest_obs();
int32_t largest_width();

// --- data/variables.cpp ---

// Adds a variable behind the last. The public form checks the name (110, 198 with words) and keeps
// one variable and byte in reserve; 900, 901, 902, 1010 with words when there is no room. The cells
// are not initialised. The variable's number is nvar afterwards.
ReturnCode addvar(std::string_view name, StorageType type);
ReturnCode addvar_internal(std::string_view name, StorageType type);

// The name's rules for a new variable: 198 with words for an invalid or reserved one, 110 for a
// taken one.
ReturnCode check_new_name(std::string_view name);
bool name_is_reserved(std::string_view name);

// Number of the variable of exactly this name; 0: none.
int find_variable_exact(std::string_view name);

// Moves variable `from` to position `to`; the ones between make room. Nothing if they are equal.
// Without words when there is no scratch row; kBreak with every row as it was.
ReturnCode move_variable(int from, int to);

// Puts all variables into another order: order[i] is the variable that comes to position i + 1. One
// pass over the rows, whatever the order; `changed` is the caller's. Without words when there is no
// scratch row; kBreak with every row as it was.
ReturnCode reorder_variables(const std::vector<int32_t>& order);

// Works the offsets out again from the types, from index `first` on.
void renew_offsets(int first);

// Drops the variables whose numbers are listed (any order, duplicates allowed), with labels and
// characteristics. No words. sortlist is cut at the first dropped key; dropping the last clears,
// and so does leaving none but (e). It needs no room and cannot fail or be broken off.
ReturnCode drop_variables(const std::vector<int32_t>& vars);

// Gives the variable another storage type, cell by cell through the accessors. No-op if equal. Both
// cells lie in the row for a while, so it may fail for room: 900, 903, 1010 with words; then and at
// a break nothing is changed. A number keeps its display format, a string gets the width of the new
// type.
ReturnCode recast_variable(int var, StorageType new_type);

// The same for several variables, all or none of them: there must be room for all at once.
ReturnCode recast_variables(const std::vector<int32_t>& vars, StorageType new_type);

// Gives variable i + 1 the type new_types[i], whose cells are no wider and hold every value that it
// has; in one pass over the rows, in place. It needs no room, cannot fail and is not broken off.
void narrow_variables(const std::vector<StorageType>& new_types);

// Sets `changed` unless the variable's name begins with an underscore or the variable is (e).
void note_change(int var);

// The sort order no longer holds from the key `var` on.
void forget_sort_from(int var);

// The words for a code of repart and its kin, then the code.
ReturnCode report_no_room(ReturnCode code);

// The variable's label; empty for none.
std::string variable_label(int var);

// Sets it, cut at kVariableLabelMax bytes; an empty text removes it. 950 with words.
ReturnCode set_variable_label(int var, std::string_view text);

// Sets nobs to n > nobs: new cells are `.` or empty, (e) is 0; sortlist stays. 901 with words;
// kBreak with nobs as it was.
ReturnCode extend_observations(int32_t n);

// Checks every invariant of the store: offsets, names, slots, sortlist, cells; for tests and
// fuzzing. Empty if all hold, else what does not.
std::string check_dataset();

}  // namespace korva

// data/cells.h - reading and writing one cell, by storage type; variables and observations are
// 1-based.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/missing.h"
#include "data/dataset.h"

namespace korva {

// Address of row `obs`, and of the cell of (var, obs): for hot loops that know the type.
inline uint8_t* rawrow(int obs) {
    return dataset.rows + uint64_t(dataset.slot[obs - 1]) * uint64_t(uint32_t(dataset.lrecl));
}
inline uint8_t* rawcell(int var, int obs) {
    return rawrow(obs) + dataset.offsets[var - 1];
}

// The number in a cell of the type, and the store of one with the type's conversions: truncation,
// out of range to missing, missing codes kept where the type has them. A string type reads as `.`
// and is not written.
double read_cell(StorageType type, const uint8_t* cell);
void write_cell(StorageType type, uint8_t* cell, double value);

inline double get(int var, int obs) {
    return read_cell(dataset.types[var - 1], rawcell(var, obs));
}
inline void put(int var, int obs, double value) {
    write_cell(dataset.types[var - 1], rawcell(var, obs), value);
}

// The text of a string cell, without its padding; empty for a numeric variable. Valid until
// written.
std::string_view cell_text(int var, int obs);

// Copies the cell with a NUL into buffer[kMaxStringBytes + 1].
void getstr(int var, int obs, char* buffer);

// Stores the text, cut at the width, padded with NULs. A numeric cell is not written.
void putstr(int var, int obs, std::string_view text);

// Gathers n cells of the variable from observation `obs` on into out[n], as get would; scatter is
// the inverse with put's conversions. What the block evaluator stands on.
void gather(int var, int obs, int n, double* out);
void scatter(int var, int obs, int n, const double* values);

// The same for n of those cells: place[i] is added to `obs`; the places rise.
void gather_at(int var, int obs, const uint16_t* place, int n, double* out);
void scatter_at(int var, int obs, const uint16_t* place, int n, const double* values);

// Strings of a variable that is at most kWordBytes wide, each as a word whose lowest byte is the
// first, zeros above: those of n cells from `obs` on, or at the places if there are any. The store
// writes as many bytes of the word as the cell has.
constexpr int kWordBytes = 8;
void gather_words(int var, int obs, const uint16_t* place, int n, uint64_t* words);
void scatter_words(int var, int obs, int n, const uint64_t* words);

// True if the cell holds a number or a missing value that its type has: no NaN, no infinity, no
// pattern among the missing values that stands for none, not the integer below the type's least.
// A string is sound if only NULs follow its first NUL. The program stores no other cells and relies
// on it; integers of the old types may hold anything until they are upgraded.
bool cell_is_sound(StorageType type, const uint8_t* cell);

// Makes n cells from outside sound that lie `pitch` bytes apart: the number cells that are not
// become `.`, strings are padded with NULs.
void make_cells_sound(StorageType type, uint8_t* cell, int n, size_t pitch);

// Rounds through the float store rule: what a float cell would hold of x.
double round_to_float(double x);

}  // namespace korva

// data/time_series.h - time-series operators: L F D S in front of a variable, and the time that
// they follow.
//
// parse_operators() reads the letters and keeps equal operators once, for the command; the values
// come from ts_gather(). Times and panels are looked up by value, so gaps give missing values. The
// time variable is named by the characteristics _dta[_TStvar] and _dta[_TSpanel], which find_time()
// resolves once a command; no value may be asked for before.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/types.h"

namespace korva {

constexpr int kMaxTsOperators = 100;  // different ones, a command
constexpr int kMaxDifferences = 20;
constexpr int kMaxSeasons = 8;
constexpr int kMaxOperatorText = 20;  // bytes of the canonical form, without the point

struct TsOperator {
    int32_t lag = 0;                    // net: positive for L, negative for F
    int32_t n_differences = 0;          // D
    int32_t n_seasons = 0;              // S
    int32_t seasons[kMaxSeasons] = {};  // their lengths, ascending

    bool is_null() const { return lag == 0 && n_differences == 0 && n_seasons == 0; }
    bool operator==(const TsOperator&) const = default;
};
static_assert(sizeof(TsOperator) == 44);

// What the operators follow, by 1-based variable numbers.
struct TimeSetting {
    int32_t time_var = 0;
    int32_t panel_var = 0;  // 0: one series
};
extern TimeSetting time_setting;  // of the current command, set by find_time()

// Resolves the characteristics. 111 "time variable not set", 109 for a string, 5 if the data are
// not sorted by panel and time; with words.
ReturnCode find_time();

// [panelvar] timevar [, format(%fmt) daily ... generic clear] at the scanner: checks the data, sets
// the characteristics and r(); s(order) has the variables to sort by. Without a list the setting in
// force is looked at again. 5, 111, 198, 451 with words, nothing changed (data/tsset.cpp).
ReturnCode set_time();

// Where the operator ends in `word` and its point stands; npos: the word has no point outside
// parentheses.
size_t operator_point(std::string_view word);

// True if the text is a run of the letters L F D S with counts, as far as its spelling goes.
bool is_operator_text(std::string_view text);

// The operators that the text in front of the point stands for, one for each number of its lists;
// null stands for one that does nothing. They live as long as the command. 198, 1000 with words.
ReturnCode parse_operators(std::string_view text, std::vector<const TsOperator*>* operators);

// The canonical text: L or F, D, S with their counts, without the point; empty for null.
std::string operator_text(const TsOperator* op);

// 109 with words if the variable is a string, which has no operators.
ReturnCode refuse_string_operand(int32_t var);

// Values of op.var at observations obs .. obs + n - 1, n <= kBlockObs; other observations are taken
// from first .. last only, the group in force. Null op: the variable itself.
void ts_gather(const TsOperator* op, int var, int obs, int n, int first, int last, double* out);

// --- elements of the programs that the current command has compiled ---

struct TsElement {
    const TsOperator* op;
    int32_t var;
};

// The element's number for the instruction TSVARIABLE; -1: there are too many.
int keep_ts_element(const TsOperator* op, int32_t var);
const TsElement& ts_element(int number);

// How much the command has kept. A smaller mark forgets what came later.
struct TsMark {
    int32_t n_operators = 0;
    int32_t n_elements = 0;
};
TsMark ts_mark();
void ts_forget(const TsMark& mark);

}  // namespace korva

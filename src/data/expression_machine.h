// data/expression_machine.h - the machine that runs compiled expressions, for this folder only.
//
// It runs a program over a block: each instruction handles all of the block's observations before
// the next one starts. A lane is one observation of the block; lanes are consecutive observations
// or, with `index`, some of them. A run of one observation is a block of one lane, so the results
// are the same bits. A number operand is a pointer to its lanes (a constant has a single one), so
// variables and constants are never copied to the stack; a string operand is a pointer and a length
// for each lane.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/types.h"
#include "data/dataset.h"
#include "data/expression.h"
#include "data/expression_opcodes.h"
#include "data/random.h"

// Lanes do not depend on each other, and an operand that shares its bytes with the result does so
// lane for lane.
#ifdef __clang__
#define KORVA_LANES _Pragma("clang loop vectorize(assume_safety)")
#else
#define KORVA_LANES _Pragma("GCC ivdep")
#endif

// Compiled for wide vectors as well; the machine that runs the program decides. Neither form
// contracts operations, so both give the same bits. Sanitizers run before the choice could be made.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) &&                             \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define KORVA_WIDE __attribute__((target_clones("avx2", "default")))
#define KORVA_INTO_WIDE __attribute__((always_inline)) inline
#else
#define KORVA_WIDE
#define KORVA_INTO_WIDE inline
#endif

namespace korva {

constexpr int kMaxNumbers = 250;     // depth of the stacks, all operands together
constexpr int kMaxTexts = 10;        // of them strings
constexpr int kMaxMatrices = 20;     // of them matrices
constexpr int kMaxConstants = 300;   // numbers of the pool
constexpr int kTextPoolBytes = 512;  // string constants of the pool, each with its NUL
constexpr int kColumns = 16;         // variables kept while a block runs; more are read again
constexpr int kTextSlotBytes = 248;  // room of a computed string, a multiple of 8

// The constants of all records of the current command.
struct ExpressionPools {
    double numbers[kMaxConstants];
    char texts[kTextPoolBytes];
    int32_t n_numbers;
    int32_t text_bytes;
};
extern ExpressionPools expression_pools;  // defined in data/expression.cpp

struct NumberOperand {
    const double* x;  // a number for each lane, or one for all
    bool constant;
};

struct TextLane {
    const char* text;
    int32_t length;
    std::string_view view() const { return {text, size_t(length)}; }
};

struct BlockMachine {
    ExpressionRecord* record;
    int obs;   // first observation of the block
    int span;  // observations from the first lane's block place to the last: obs .. obs + span - 1
    int n;     // lanes
    const uint16_t* index;  // place of each lane in the block; null: lane i is obs + i
    int depth;              // number operands on the stack
    int text_depth;         // string operands on the stack
    bool one_missing;       // all missing values compare equal: version below 8
    bool overflowed;        // a lane of `overflow` is set
    int uniform_calls;      // of uniform() in this run so far, and of uniform0()
    int old_uniform_calls;
    UniformState uniform_start;  // the generators as the run found them
    uint32_t old_uniform_start;
    int n_columns;
    int16_t column_var[kColumns];
    uint8_t overflow[kBlockObs];
    NumberOperand numbers[kMaxNumbers];
    TextLane texts[kMaxTexts][kBlockObs];
    alignas(64) double gathered[kBlockObs];           // scratch of a gather that is then compacted
    alignas(64) double columns[kColumns][kBlockObs];  // variables of this block
    alignas(64) double own[kMaxNumbers][kBlockObs];   // results, by depth
    // Strings of the machine's own, by depth: those of narrow variables close together, so that an
    // instruction takes them as one run of bytes; then what instructions build.
    alignas(64) uint64_t words[kMaxTexts][kBlockObs];
    alignas(64) char text_bytes[kMaxTexts][kBlockObs][kTextSlotBytes];
    char text_padding[8];  // a word read at any of them stays inside
};
extern BlockMachine engine_machine;  // the engine thread's, defined in data/expression_eval.cpp

// Runs the program at n of the observations obs .. obs + span - 1: those whose places `index` lists
// in rising order, or all with a null index (then n == span). span <= kBlockObs.
void run_block(BlockMachine* m, ExpressionRecord* record, int obs, int span, const uint16_t* index,
               int n);

// The run's numbers, a lane each; NaN, infinity and overflow are `.`. A string result gives `.`.
void block_numbers(const BlockMachine* m, double* out);

// marks[i] = 1 where the run's number is not 0, which a missing one is not; else 0.
void block_marks(const BlockMachine* m, uint8_t* marks);

// The run's strings, n lanes; valid until the next run or a change of the data. A numeric result
// gives empty ones.
const TextLane* block_texts(BlockMachine* m);

// Copies the run's strings out of the dataset, for a caller that is about to move its rows.
void keep_block_texts(BlockMachine* m);

// Stores strings without NULs, cut at the width, into n cells from observation `obs` on. A string
// may lie in its own cell.
void store_texts(const BlockMachine* m, int var, int obs, int n, const TextLane* values);

// Takes the range in force into the record, and restarts its running sums if `restart`.
void set_run_range(ExpressionRecord* record, bool restart);

// True if the program refers to the variable.
bool program_reads(const ExpressionRecord& record, int var);

// How many observations back the nearest one is at which the program reads the variable: k for
// x[_n-k], 1 where the subscript may be any, INT32_MAX if it reads at or behind its own alone.
int nearest_read_before(const ExpressionRecord& record, int var);

// How often the instruction, an OP_ number, stands in the program.
int program_uses(const ExpressionRecord& record, int opcode);

// Observation of a lane.
inline int lane_obs(const BlockMachine* m, int lane) {
    return m->obs + (m->index ? m->index[lane] : lane);
}

// The number operand at depth d as n lanes: a constant is spread.
const double* spread(BlockMachine* m, int d);

// Lanes to work on: one when every operand is a constant.
inline int lanes_of(const BlockMachine* m, bool constant) {
    return constant ? 1 : m->n;
}

// out[i] = f(a, b) for n lanes of the operands; `out` may be the lanes of one of them.
template <class F>
KORVA_INTO_WIDE void pair_lanes(NumberOperand a, NumberOperand b, int n, double* out, F f) {
    const double* x = a.x;
    const double* y = b.x;
    if (a.constant == b.constant) {
        KORVA_LANES
        for (int i = 0; i < n; i++) out[i] = f(x[i], y[i]);
    } else if (b.constant) {
        const double right = *y;
        KORVA_LANES
        for (int i = 0; i < n; i++) out[i] = f(x[i], right);
    } else {
        const double left = *x;
        KORVA_LANES
        for (int i = 0; i < n; i++) out[i] = f(left, y[i]);
    }
}

// The operand at depth d is now in own[d].
inline void set_result(BlockMachine* m, int d, bool constant) {
    m->numbers[d] = {m->own[d], constant};
}

// A handler: `operand` are the words behind the code.
using Handler = void (*)(BlockMachine* m, const int16_t* operand);
#define OPCODE(name, number, operands, pops, pushes, shares, effect)                               \
    void op_##name(BlockMachine* m, const int16_t* operand);
#define OPCODE_LATER(name, number, operands, pops, pushes, shares, effect)
#include "data/expression_opcodes.def"
#undef OPCODE_LATER
#undef OPCODE

// The handler of an instruction; null: it is passed over.
Handler handler_of(int code);

// The shift when the words at `code` (an OBS) read a variable, their sixth word, at _n + k or
// _n - k; false if they do not.
bool reads_shifted(const int16_t* code, const int16_t* end, int64_t* shift);

// Observation that a subscript means; 0 if it is outside the group or does not exist.
inline int subscripted_obs(const ExpressionRecord& r, double subscript) {
    if (!(subscript >= -2147483648.0 && subscript <= 2147483647.0)) return 0;
    const int64_t target = int64_t(subscript) + r.group_first - 1;
    const bool inside = target >= r.group_first && target <= r.group_last;
    return inside && target >= 1 && target <= dataset.nobs ? int(target) : 0;
}

// A number written as in an expression, with an optional sign: decimal, hexadecimal or missing.
// False: the whole text is none. What the double cannot hold is `.`.
bool parse_number(std::string_view text, double* value);

}  // namespace korva

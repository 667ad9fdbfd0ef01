// data/expression_eval.cpp - the block machine: its loop, operands, operators and observations.
//
// A result that overflows raises its lane's flag, and the flag makes the expression's value missing
// for that observation, even where the overflowed part was only compared or was not chosen. The
// arithmetic loops write an infinity into such a lane, which no sound result is, and look for it
// only when one of the block overflowed.

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>

#include "core/missing.h"
#include "core/session.h"
#include "data/by.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/expression_machine.h"
#include "data/skeleton.h"
#include "data/time_series.h"

namespace korva {

BlockMachine engine_machine;

namespace {

constexpr double kInfinity = __builtin_inf();

constexpr std::array<Handler, kOpcodes> kHandlers = [] {
    std::array<Handler, kOpcodes> handlers{};
#define OPCODE(name, number, operands, pops, pushes, shares, effect) handlers[number] = op_##name;
#define OPCODE_LATER(name, number, operands, pops, pushes, shares, effect)
#include "data/expression_opcodes.def"
#undef OPCODE_LATER
#undef OPCODE
    return handlers;
}();

void push_constant(BlockMachine* m, double x) {
    m->own[m->depth][0] = x;
    set_result(m, m->depth, true);
    m->depth++;
}

// Marks the lanes that the loop left infinite.
void note_overflow(BlockMachine* m, double* out, bool constant) {
    m->overflowed = true;
    if (constant) {
        memset(m->overflow, 1, size_t(m->n));
        out[0] = kSysMissing;
        return;
    }
    for (int i = 0; i < m->n; i++) {
        if (std::isinf(out[i])) {
            m->overflow[i] = 1;
            out[i] = kSysMissing;
        }
    }
}

// One arithmetic result: missing if an operand is, infinite if it overflowed.
template <class F>
KORVA_INTO_WIDE double arithmetic_lane(double a, double b, F f, uint64_t* overflowed) {
    const double r = f(a, b);
    const bool known = (a < kSysMissing) & (b < kSysMissing);
    const bool fits = std::fabs(r) < kSysMissing;
    *overflowed |= uint64_t(known & !fits);
    return known ? (fits ? r : kInfinity) : kSysMissing;
}

// left and right on the stack; the result takes left's place.
template <class F>
KORVA_INTO_WIDE void arithmetic(BlockMachine* m, F f) {
    const int d = --m->depth - 1;
    const NumberOperand left = m->numbers[d];
    const NumberOperand right = m->numbers[d + 1];
    double* out = m->own[d];
    const bool constant = left.constant && right.constant;
    uint64_t overflowed = 0;
    pair_lanes(left, right, lanes_of(m, constant), out, [f, &overflowed](double a, double b) {
        return arithmetic_lane(a, b, f, &overflowed);
    });
    if (overflowed) note_overflow(m, out, constant);
    set_result(m, d, constant);
}

template <class F>
KORVA_INTO_WIDE void binary(BlockMachine* m, F f) {
    const int d = --m->depth - 1;
    const NumberOperand left = m->numbers[d];
    const NumberOperand right = m->numbers[d + 1];
    const bool constant = left.constant && right.constant;
    pair_lanes(left, right, lanes_of(m, constant), m->own[d], f);
    set_result(m, d, constant);
}

KORVA_INTO_WIDE double known(double x) {
    return std::fabs(x) <= DBL_MAX ? x : kSysMissing;
}
KORVA_INTO_WIDE double same_missing(double x) {
    return x < kSysMissing && x >= -DBL_MAX ? x : kSysMissing;
}

template <class F>
KORVA_INTO_WIDE void relation(BlockMachine* m, F holds) {
    if (m->one_missing) {
        binary(m, [holds](double a, double b) {
            return holds(same_missing(a), same_missing(b)) ? 1.0 : 0.0;
        });
    } else {
        binary(m, [holds](double a, double b) { return holds(known(a), known(b)) ? 1.0 : 0.0; });
    }
}

// Cells of a variable, from..from + count - 1, to out; observations that do not exist are missing.
void load(int var, int from, int count, double* out) {
    const int present = from < 1 ? 0 : std::min(count, dataset.nobs - from + 1);
    if (present > 0) gather(var, from, present, out);
    for (int i = std::max(present, 0); i < count; i++) out[i] = kSysMissing;
}

void load_lanes(BlockMachine* m, int var, double* out) {
    if (!m->index) return load(var, m->obs, m->n, out);
    gather_at(var, m->obs, m->index, m->n, out);
}

// x[_n + shift]: consecutive cells with the group's ends cut off.
void push_shifted(BlockMachine* m, int var, int64_t shift) {
    const ExpressionRecord& r = *m->record;
    double* out = m->own[m->depth];
    double* whole = m->index ? m->gathered : out;
    const int64_t from = m->obs + shift;
    const int64_t low = std::clamp<int64_t>(r.group_first - from, 0, m->span);
    const int64_t high = std::clamp<int64_t>(int64_t(r.group_last) - from + 1, low, m->span);
    for (int64_t i = 0; i < low; i++) whole[i] = kSysMissing;
    if (high > low) load(var, int(from + low), int(high - low), whole + low);
    for (int64_t i = high; i < m->span; i++) whole[i] = kSysMissing;
    if (m->index) {
        for (int i = 0; i < m->n; i++) out[i] = whole[m->index[i]];
    }
    set_result(m, m->depth, false);
    m->depth++;
}

// The shift when the words at `code` (an OBS) read a variable at _n + k or _n - k; false if they do
// not.
bool reads_shifted(const int16_t* code, const int16_t* end, int64_t* shift) {
    if (end - code < 6 || code[1] != OP_NUMBER || code[4] != OP_ELEMENT) return false;
    const double k = expression_pools.numbers[code[2]];
    if (!(std::fabs(k) <= INT32_MAX) || k != std::trunc(k)) return false;
    if (code[3] != OP_ADD && code[3] != OP_SUB) return false;
    *shift = code[3] == OP_ADD ? int64_t(k) : -int64_t(k);
    return true;
}

// Observation that a subscript means; 0 if it is outside the group.
int subscripted_obs(const ExpressionRecord& r, double subscript) {
    if (!(subscript >= -2147483648.0 && subscript <= 2147483647.0)) return 0;
    const int64_t target = int64_t(subscript) + r.group_first - 1;
    return target >= r.group_first && target <= r.group_last && target <= dataset.nobs ? int(target)
                                                                                       : 0;
}

}  // namespace

const double* spread(BlockMachine* m, int d) {
    if (!m->numbers[d].constant) return m->numbers[d].x;
    const double x = *m->numbers[d].x;
    double* out = m->own[d];
    for (int i = 0; i < m->n; i++) out[i] = x;
    m->numbers[d] = {out, false};
    return out;
}

namespace {

void run_program(BlockMachine* m, ExpressionRecord* record, int obs, int span,
                 const uint16_t* index, int n) {
    m->record = record;
    m->obs = obs;
    m->span = span;
    m->n = n;
    m->index = n == span ? nullptr : index;
    m->depth = 0;
    m->text_depth = 0;
    m->n_columns = 0;
    m->uniform_calls = 0;
    m->old_uniform_calls = 0;
    m->one_missing = session.version < 800;
    if (m->overflowed) memset(m->overflow, 0, sizeof m->overflow);
    m->overflowed = false;
    if (record->last_sum >= 0 && n > 0 && lane_obs(m, 0) == record->first) {
        for (double& sum : record->sums) sum = 0;
    }
    const int16_t* code = record->code;
    const int16_t* end = code + record->last_code + 1;
    while (code < end) {
        const int16_t number = *code;
        if (number == OP_OBS) {
            int64_t shift;
            if (reads_shifted(code, end, &shift)) {
                push_shifted(m, code[5], shift);
                code += 6;
                continue;
            }
        }
        if (number < 1 || number >= kOpcodes || !kHandlers[size_t(number)]) {
            code++;
            continue;
        }
        kHandlers[size_t(number)](m, code + 1);
        code += 1 + kOpcodeRows[size_t(number)].operands;
    }
}

// Runs the program an observation at a time: one instruction of it reads what another has left.
void run_one_by_one(BlockMachine* m, ExpressionRecord* record, int obs, int span,
                    const uint16_t* index, int n) {
    double numbers[kBlockObs];
    uint8_t overflow[kBlockObs];
    int32_t lengths[kBlockObs];
    char first[kMaxStringBytes];  // the text of lane 0, whose bytes every run takes again
    bool overflowed = false;
    const bool is_text = record->result_type == 1;
    for (int i = 0; i < n; i++) {
        run_program(m, record, obs + (index ? index[i] : i), 1, nullptr, 1);
        overflow[i] = m->overflowed && m->overflow[0];
        overflowed = overflowed || overflow[i];
        if (is_text) {
            const TextLane text = m->texts[0][0];
            lengths[i] = text.length;
            memmove(i == 0 ? first : m->text_bytes[0][i], text.text, size_t(text.length));
        } else {
            numbers[i] = m->depth > 0 ? *m->numbers[0].x : kSysMissing;
        }
    }
    m->obs = obs;
    m->span = span;
    m->n = n;
    m->index = n == span ? nullptr : index;
    m->n_columns = 0;
    m->overflowed = overflowed;
    memcpy(m->overflow, overflow, size_t(n));
    if (is_text) {
        memcpy(m->text_bytes[0][0], first, size_t(lengths[0]));
        for (int i = 0; i < n; i++) m->texts[0][i] = {m->text_bytes[0][i], lengths[i]};
    } else {
        std::copy(numbers, numbers + n, m->own[0]);
        set_result(m, 0, false);
    }
}

}  // namespace

void run_block(BlockMachine* m, ExpressionRecord* record, int obs, int span, const uint16_t* index,
               int n) {
    const bool reads_own_trace = !record->thread_safe && program_uses(*record, OP_REGEXS);
    if (n > 1 && reads_own_trace) return run_one_by_one(m, record, obs, span, index, n);
    run_program(m, record, obs, span, index, n);
}

bool runs_singly(const ExpressionRecord& record) {
    constexpr int kMostCodes = 64;  // so that the stack below is never full
    if (record.last_code >= kMostCodes || record.result_type != 0) return false;
    for (int i = 0; i <= record.last_code; i++) {
        const int code = record.code[i];
        const bool binary = code >= OP_OR && code <= OP_SUB;
        switch (code) {
        case OP_MUL:
        case OP_DIV:
        case OP_NOT:
        case OP_NEGATE:
        case OP_NUMBER:
        case OP_VARIABLE:
        case OP_ELEMENT:
        case OP_OBS:
        case OP_NOBS:
        case OP_COND: break;
        default:
            if (!binary) return false;
        }
        i += kOpcodeRows[size_t(code)].operands;
    }
    return true;
}

namespace {

// Two operands of one of the binary operators that run_single() knows.
double single_pair(int code, double a, double b, bool one_missing, bool* overflowed) {
    if (code == OP_OR) return (a != 0) | (b != 0);
    if (code == OP_AND) return (a != 0) & (b != 0);
    if (code <= OP_GT) {
        a = one_missing ? same_missing(a) : known(a);
        b = one_missing ? same_missing(b) : known(b);
        switch (code) {
        case OP_EQ: return a == b;
        case OP_NE: return a != b;
        case OP_GE: return a >= b;
        case OP_LE: return a <= b;
        case OP_LT: return a < b;
        default: return a > b;
        }
    }
    if (code == OP_DIV && b == 0) return kSysMissing;
    if (!(a < kSysMissing && b < kSysMissing)) return kSysMissing;
    const double r = code == OP_ADD   ? a + b
                     : code == OP_SUB ? a - b
                     : code == OP_MUL ? a * b
                                      : a / b;
    if (std::fabs(r) < kSysMissing) return r;
    *overflowed = true;
    return kSysMissing;
}

}  // namespace

double run_single(const ExpressionRecord& record, int obs, bool* overflowed) {
    const bool one_missing = session.version < 800;
    double stack[1 + 64];  // the first place stays empty
    stack[0] = kSysMissing;
    double* top = stack;  // the number pushed last
    const int16_t* end = record.code + record.last_code + 1;
    *overflowed = false;
    for (const int16_t* code = record.code; code < end; code++) {
        switch (*code) {
        case OP_NUMBER: *++top = expression_pools.numbers[*++code]; break;
        case OP_VARIABLE:
            *++top = obs <= dataset.nobs ? get(*++code, obs) : (++code, kSysMissing);
            break;
        case OP_ELEMENT: {
            const int at = subscripted_obs(record, *top);
            *top = at ? get(*++code, at) : (++code, kSysMissing);
            break;
        }
        case OP_OBS: *++top = obs - record.group_first + 1; break;
        case OP_NOBS: *++top = double(int64_t(record.group_last) - record.group_first + 1); break;
        case OP_NOT: *top = *top == 0; break;
        case OP_NEGATE: *top = std::fabs(*top) < kSysMissing ? -*top : kSysMissing; break;
        case OP_COND: {  // the first argument lies on the top
            const int k = *++code;
            const double x = *top;
            const double other = top[-2];
            const double chosen = x != 0 ? top[-1] : other;
            const double if_missing = k == 4 ? top[-3] : top[-1];
            top -= k - 1;
            *top = x < kSysMissing ? chosen : if_missing;
            break;
        }
        default: top--; *top = single_pair(*code, top[0], top[1], one_missing, overflowed);
        }
    }
    return *overflowed ? kSysMissing : finite_or_missing(*top);
}

KORVA_WIDE void block_numbers(const BlockMachine* m, double* out) {
    const int n = m->n;
    if (m->depth < 1) {
        for (int i = 0; i < n; i++) out[i] = kSysMissing;
        return;
    }
    const double* x = m->numbers[0].x;
    if (m->numbers[0].constant) {
        const double value = finite_or_missing(*x);
        for (int i = 0; i < n; i++) out[i] = value;
    } else {
        KORVA_LANES
        for (int i = 0; i < n; i++) out[i] = known(x[i]);
    }
    if (!m->overflowed) return;
    for (int i = 0; i < n; i++) {
        if (m->overflow[i]) out[i] = kSysMissing;
    }
}

KORVA_WIDE void block_marks(const BlockMachine* m, uint8_t* marks) {
    const int n = m->n;
    if (m->depth < 1 || m->numbers[0].constant) {
        memset(marks, m->depth < 1 || *m->numbers[0].x != 0, size_t(n));
    } else {
        const double* x = m->numbers[0].x;
        KORVA_LANES
        for (int i = 0; i < n; i++) marks[i] = x[i] != 0;
    }
    if (!m->overflowed) return;
    for (int i = 0; i < n; i++) marks[i] |= m->overflow[i];
}

void set_run_range(ExpressionRecord* record, bool restart) {
    record->group_first = range_first();
    record->group_last = range_last();
    record->first = by_state.active ? record->group_first : skeleton.first;
    record->last = by_state.active ? record->group_last : skeleton.last;
    if (restart) {
        for (double& sum : record->sums) sum = 0;
    }
}

namespace {

bool program_has(const ExpressionRecord& record, int var, bool elsewhere) {
    for (int i = 0; i <= record.last_code; i++) {
        const int code = record.code[i];
        const bool here = !elsewhere && (code == OP_VARIABLE || code == OP_VARIABLE_S);
        if ((here || code == OP_ELEMENT || code == OP_ELEMENT_S) && record.code[i + 1] == var)
            return true;
        if (code == OP_TSVARIABLE &&
            (ts_element(record.code[i + 1]).var == var || time_setting.time_var == var ||
             time_setting.panel_var == var)) {
            return true;
        }
        if (code >= 1 && code < kOpcodes) i += kOpcodeRows[size_t(code)].operands;
    }
    return false;
}

}  // namespace

bool program_reads(const ExpressionRecord& record, int var) {
    return program_has(record, var, false);
}

bool program_reads_elsewhere(const ExpressionRecord& record, int var) {
    return program_has(record, var, true);
}

int program_uses(const ExpressionRecord& record, int opcode) {
    int n = 0;
    for (int i = 0; i <= record.last_code; i++) {
        const int code = record.code[i];
        n += code == opcode;
        if (code >= 1 && code < kOpcodes) i += kOpcodeRows[size_t(code)].operands;
    }
    return n;
}

// --- Operands ---

void op_NUMBER(BlockMachine* m, const int16_t* operand) {
    m->numbers[m->depth++] = {&expression_pools.numbers[operand[0]], true};
}

void op_VARIABLE(BlockMachine* m, const int16_t* operand) {
    const int var = operand[0];
    for (int i = 0; i < m->n_columns; i++) {
        if (m->column_var[i] == var) {
            m->numbers[m->depth++] = {m->columns[i], false};
            return;
        }
    }
    double* out = m->own[m->depth];
    if (m->n_columns < kColumns) {
        m->column_var[m->n_columns] = int16_t(var);
        out = m->columns[m->n_columns++];
    }
    load_lanes(m, var, out);
    m->numbers[m->depth++] = {out, false};
}

void op_ELEMENT(BlockMachine* m, const int16_t* operand) {
    const int var = operand[0];
    const int d = m->depth - 1;
    const NumberOperand subscript = m->numbers[d];
    const int n = lanes_of(m, subscript.constant);
    double* out = m->own[d];
    for (int i = 0; i < n; i++) {
        const int obs = subscripted_obs(*m->record, subscript.x[i]);
        out[i] = obs ? get(var, obs) : kSysMissing;
    }
    set_result(m, d, subscript.constant);
}

void op_TSVARIABLE(BlockMachine* m, const int16_t* operand) {
    const TsElement& element = ts_element(operand[0]);
    double* out = m->own[m->depth];
    double* whole = m->index ? m->gathered : out;
    ts_gather(element.op, element.var, m->obs, m->span, m->record->group_first,
              m->record->group_last, whole);
    if (m->index) {
        for (int i = 0; i < m->n; i++) out[i] = whole[m->index[i]];
    }
    set_result(m, m->depth, false);
    m->depth++;
}

KORVA_WIDE void op_OBS(BlockMachine* m, const int16_t*) {
    double* out = m->own[m->depth];
    const int base = m->obs - m->record->group_first + 1;
    const int n = m->n;
    if (m->index) {
        const uint16_t* index = m->index;
        for (int i = 0; i < n; i++) out[i] = base + index[i];
    } else {
        for (int i = 0; i < n; i++) out[i] = base + i;
    }
    set_result(m, m->depth, false);
    m->depth++;
}

void op_NOBS(BlockMachine* m, const int16_t*) {
    push_constant(m, double(int64_t(m->record->group_last) - m->record->group_first + 1));
}

void op_CONS(BlockMachine* m, const int16_t*) {
    push_constant(m, 1);
}

void op_RC(BlockMachine* m, const int16_t*) {
    push_constant(m, session.CaptureCode);
}

// A program of several calls draws all of a lane's numbers before those of the next lane, as single
// runs would: each call goes through the draws of all, from where the run began, and keeps its own.
void op_UNIFORM(BlockMachine* m, const int16_t*) {
    const int call = m->uniform_calls++;
    if (call == 0) m->uniform_start = random_state.uniform;
    random_state.uniform = m->uniform_start;
    const int calls = program_uses(*m->record, OP_UNIFORM);
    draw_uniform(&random_state.uniform, m->n, calls, call, m->own[m->depth]);
    set_result(m, m->depth++, false);
}

void op_UNIFORM0(BlockMachine* m, const int16_t*) {
    const int call = m->old_uniform_calls++;
    if (call == 0) m->old_uniform_start = random_state.old_word;
    random_state.old_word = m->old_uniform_start;
    const int calls = program_uses(*m->record, OP_UNIFORM0);
    draw_old_uniform(&random_state.old_word, m->n, calls, call, m->own[m->depth]);
    set_result(m, m->depth++, false);
}

// The position of the byable program that by runs; without one, that of a single group of all data.
void op_BY(BlockMachine* m, const int16_t*) {
    push_constant(m, by_program_running());
}
void op_BYLASTCALL(BlockMachine* m, const int16_t*) {
    push_constant(m, !by_program_running() || by_state.last_group);
}
void op_BYINDEX(BlockMachine* m, const int16_t*) {
    push_constant(m, by_program_running() ? by_state.group_number : 1);
}
void op_BYN1(BlockMachine* m, const int16_t*) {
    push_constant(m, by_program_running() ? by_state.group_first : 1);
}
void op_BYN2(BlockMachine* m, const int16_t*) {
    push_constant(m, by_program_running() ? by_state.group_last : dataset.nobs);
}

// --- Operators ---

KORVA_WIDE void op_OR(BlockMachine* m, const int16_t*) {
    binary(m, [](double a, double b) { return ((a != 0) | (b != 0)) ? 1.0 : 0.0; });
}
KORVA_WIDE void op_AND(BlockMachine* m, const int16_t*) {
    binary(m, [](double a, double b) { return ((a != 0) & (b != 0)) ? 1.0 : 0.0; });
}
KORVA_WIDE void op_EQ(BlockMachine* m, const int16_t*) {
    relation(m, [](double a, double b) { return a == b; });
}
KORVA_WIDE void op_NE(BlockMachine* m, const int16_t*) {
    relation(m, [](double a, double b) { return a != b; });
}
KORVA_WIDE void op_GE(BlockMachine* m, const int16_t*) {
    relation(m, [](double a, double b) { return a >= b; });
}
KORVA_WIDE void op_LE(BlockMachine* m, const int16_t*) {
    relation(m, [](double a, double b) { return a <= b; });
}
KORVA_WIDE void op_LT(BlockMachine* m, const int16_t*) {
    relation(m, [](double a, double b) { return a < b; });
}
KORVA_WIDE void op_GT(BlockMachine* m, const int16_t*) {
    relation(m, [](double a, double b) { return a > b; });
}
KORVA_WIDE void op_ADD(BlockMachine* m, const int16_t*) {
    arithmetic(m, [](double a, double b) { return a + b; });
}
KORVA_WIDE void op_SUB(BlockMachine* m, const int16_t*) {
    arithmetic(m, [](double a, double b) { return a - b; });
}
KORVA_WIDE void op_MUL(BlockMachine* m, const int16_t*) {
    arithmetic(m, [](double a, double b) { return a * b; });
}

KORVA_WIDE void op_DIV(BlockMachine* m, const int16_t*) {
    // A divisor of 0 counts as a missing one.
    const NumberOperand divisor = m->numbers[m->depth - 1];
    double* b = m->own[m->depth - 1];
    const int n = lanes_of(m, divisor.constant);
    KORVA_LANES
    for (int i = 0; i < n; i++) b[i] = divisor.x[i] == 0 ? kSysMissing : divisor.x[i];
    set_result(m, m->depth - 1, divisor.constant);
    arithmetic(m, [](double x, double y) { return x / y; });
}

// The power routine gives `.` for what it cannot hold and raises nothing.
void op_POW(BlockMachine* m, const int16_t*) {
    binary(m, [](double a, double b) {
        if (!(a < kSysMissing && b < kSysMissing)) return kSysMissing;
        const double r = std::pow(a, b);
        return std::fabs(r) < kSysMissing ? r : kSysMissing;
    });
}

void op_SUM(BlockMachine* m, const int16_t* operand) {
    double& sum = m->record->sums[operand[0] - 1];
    const int d = m->depth - 1;
    const double* x = spread(m, d);
    double* out = m->own[d];
    bool overflowed = false;
    double running = sum;
    for (int i = 0; i < m->n; i++) {
        running += x[i] < kSysMissing ? x[i] : 0;
        const bool fits = std::fabs(running) < kSysMissing;
        out[i] = fits ? running : kInfinity;
        overflowed |= !fits;
    }
    sum = running;
    if (overflowed) note_overflow(m, out, false);
    set_result(m, d, false);
}

void op_ELEMENT_S(BlockMachine* m, const int16_t* operand) {
    const int var = operand[0];
    const int d = --m->depth;
    const NumberOperand subscript = m->numbers[d];
    TextLane* out = m->texts[m->text_depth++];
    for (int i = 0; i < m->n; i++) {
        const int obs = subscripted_obs(*m->record, subscript.x[subscript.constant ? 0 : i]);
        const std::string_view text = obs ? cell_text(var, obs) : std::string_view("");
        out[i] = {text.data(), int32_t(text.size())};
    }
}

}  // namespace korva

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

}  // namespace

const double* spread(BlockMachine* m, int d) {
    if (!m->numbers[d].constant) return m->numbers[d].x;
    const double x = *m->numbers[d].x;
    double* out = m->own[d];
    for (int i = 0; i < m->n; i++) out[i] = x;
    m->numbers[d] = {out, false};
    return out;
}

bool reads_shifted(const int16_t* code, const int16_t* end, int64_t* shift) {
    if (end - code < 6 || code[1] != OP_NUMBER) return false;
    if (code[4] != OP_ELEMENT && code[4] != OP_ELEMENT_S) return false;
    const double k = expression_pools.numbers[code[2]];
    if (!(std::fabs(k) <= INT32_MAX) || k != std::trunc(k)) return false;
    if (code[3] != OP_ADD && code[3] != OP_SUB) return false;
    *shift = code[3] == OP_ADD ? int64_t(k) : -int64_t(k);
    return true;
}

Handler handler_of(int code) {
    return code >= 1 && code < kOpcodes ? kHandlers[size_t(code)] : nullptr;
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
            if (reads_shifted(code, end, &shift) && code[4] == OP_ELEMENT) {
                push_shifted(m, code[5], shift);
                code += 6;
                continue;
            }
        }
        const Handler handler = handler_of(number);
        if (!handler) {
            code++;
            continue;
        }
        handler(m, code + 1);
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

// True if the instruction is a variable behind a time operator that the cells of `var` decide on.
bool time_element_reads(const int16_t* code, int var) {
    if (*code != OP_TSVARIABLE) return false;
    return ts_element(code[1]).var == var || time_setting.time_var == var ||
           time_setting.panel_var == var;
}

}  // namespace

bool program_reads(const ExpressionRecord& record, int var) {
    for (int i = 0; i <= record.last_code; i++) {
        const int code = record.code[i];
        const bool reads = code == OP_VARIABLE || code == OP_VARIABLE_S || code == OP_ELEMENT ||
                           code == OP_ELEMENT_S;
        if (reads && record.code[i + 1] == var) return true;
        if (time_element_reads(record.code + i, var)) return true;
        if (code >= 1 && code < kOpcodes) i += kOpcodeRows[size_t(code)].operands;
    }
    return false;
}

int nearest_read_before(const ExpressionRecord& record, int var) {
    const int16_t* end = record.code + record.last_code + 1;
    int64_t nearest = INT32_MAX;
    for (const int16_t* code = record.code; code < end; code++) {
        int64_t shift;
        if (*code == OP_OBS && reads_shifted(code, end, &shift)) {
            if (code[5] == var && shift < 0) nearest = std::min(nearest, -shift);
            code += 5;
            continue;
        }
        const bool anywhere = (*code == OP_ELEMENT || *code == OP_ELEMENT_S) && code[1] == var;
        if (anywhere || time_element_reads(code, var)) return 1;
        if (*code >= 1 && *code < kOpcodes) code += kOpcodeRows[size_t(*code)].operands;
    }
    return int(nearest);
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

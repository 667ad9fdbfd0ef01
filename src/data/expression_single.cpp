// data/expression_single.cpp - programs one observation at a time.
//
// The frequent shapes are steps of their own: x[_n-k], and an operator whose right operand is a
// constant. Functions go through the block machine's handlers with one lane, so that there is one
// of each.

#include "data/expression_single.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>

#include "core/missing.h"
#include "core/session.h"
#include "data/cells.h"

namespace korva {

namespace {

// The binary operators stand in the order of their instructions, first on two operands, then with
// a constant on the right.
#define KORVA_STEP_OPERATORS(STEP)                                                                 \
    STEP(Or)                                                                                       \
    STEP(And)                                                                                      \
    STEP(Eq) STEP(Ne) STEP(Ge) STEP(Le) STEP(Lt) STEP(Gt) STEP(Add) STEP(Sub) STEP(Mul) STEP(Div)
enum StepKind : uint8_t {
#define KORVA_STEP(name) k##name,
    KORVA_STEP_OPERATORS(KORVA_STEP)
#undef KORVA_STEP
#define KORVA_STEP(name) k##name##Constant,
        KORVA_STEP_OPERATORS(KORVA_STEP)
#undef KORVA_STEP
            kConstant,
    kDoubleHere,
    kHere,
    kDoubleShifted,
    kShifted,
    kElement,
    kObservation,
    kNot,
    kNegate,
    kCond,
    kMax,
    kMin,
    kSum,
    kCall
};

// The step of a binary operator; -1: the instruction is none.
int binary_step(int code) {
    constexpr int kCodes[] = {OP_OR, OP_AND, OP_EQ,  OP_NE,  OP_GE,  OP_LE,
                              OP_LT, OP_GT,  OP_ADD, OP_SUB, OP_MUL, OP_DIV};
    static_assert(std::size(kCodes) == kDiv + 1 && kOrConstant == kDiv + 1);
    const auto at = std::find(std::begin(kCodes), std::end(kCodes), code);
    return at == std::end(kCodes) ? -1 : int(at - std::begin(kCodes));
}

void read_cells(SingleStep* step, int var, StepKind of_double, StepKind of_others) {
    step->type = dataset.types[var - 1];
    step->offset = dataset.offsets[var - 1];
    step->kind = step->type == kDouble ? of_double : of_others;
}

// An instruction that takes and gives numbers; false if it does not, or keeps a state.
bool decode_call(const int16_t* code, SingleStep* step) {
    if (!handler_of(*code)) return false;
    const OpcodeRow& row = kOpcodeRows[size_t(*code)];
    const bool only_numbers = strspn(row.pops, "N#") == strlen(row.pops) && row.pushes == 'N';
    if (!only_numbers || (row.shares != kSharesFREE && *code != OP_TSVARIABLE)) return false;
    step->kind = kCall;
    step->shift = fixed_arguments(row) >= 0 ? fixed_arguments(row) : code[1];
    return true;
}

// Decodes the instruction into the step; false: it cannot be. *used are its words.
bool decode_step(const ExpressionRecord& record, const int16_t* code, SingleStep* step, int* used) {
    const int16_t* end = record.code + record.last_code + 1;
    *step = SingleStep{};
    step->code = code;
    if (*code < 1 || *code >= kOpcodes) return false;
    *used = 1 + kOpcodeRows[size_t(*code)].operands;
    switch (*code) {
    case OP_NUMBER:
        step->kind = kConstant;
        step->constant = expression_pools.numbers[code[1]];
        return true;
    case OP_NOBS:
        step->kind = kConstant;
        step->constant = double(int64_t(record.group_last) - record.group_first + 1);
        return true;
    case OP_VARIABLE: read_cells(step, code[1], kDoubleHere, kHere); return true;
    case OP_ELEMENT: read_cells(step, code[1], kElement, kElement); return true;
    case OP_OBS:
        step->kind = kObservation;
        if (reads_shifted(code, end, &step->shift) && code[4] == OP_ELEMENT) {
            read_cells(step, code[5], kDoubleShifted, kShifted);
            *used = 6;
        }
        return true;
    case OP_NOT: step->kind = kNot; return true;
    case OP_NEGATE: step->kind = kNegate; return true;
    case OP_COND:
        step->kind = kCond;
        step->shift = code[1];
        return true;
    case OP_MAX:
    case OP_MIN:
        step->kind = *code == OP_MAX ? kMax : kMin;
        step->shift = code[1];
        return true;
    case OP_SUM: step->kind = kSum; return true;
    default: break;
    }
    const int binary = binary_step(*code);
    if (binary < 0) return decode_call(code, step);
    step->kind = uint8_t(binary);
    return true;
}

double load_double(const uint8_t* cell) {
    double x;
    memcpy(&x, cell, sizeof x);
    return x;
}

double known(double x) {
    return std::fabs(x) <= DBL_MAX ? x : kSysMissing;
}
double same_missing(double x) {
    return x < kSysMissing && x >= -DBL_MAX ? x : kSysMissing;
}

template <class F>
double compared(double a, double b, bool one_missing, F holds) {
    if (one_missing) return holds(same_missing(a), same_missing(b));
    return holds(known(a), known(b));
}

template <class F>
double computed(double a, double b, bool* overflowed, F f) {
    if (!(a < kSysMissing && b < kSysMissing)) return kSysMissing;
    const double r = f(a, b);
    if (std::fabs(r) < kSysMissing) return r;
    *overflowed = true;
    return kSysMissing;
}

// The best of k arguments that are not missing, in the place that is returned. The first of them
// lies on the top.
template <class F>
double* best_of(double* top, int64_t k, F better) {
    double best = *top < kSysMissing ? *top : kSysMissing;
    for (int64_t j = 1; j < k; j++) {
        const double y = top[-j];
        if (y < kSysMissing && (best >= kSysMissing || better(y, best))) best = y;
    }
    top -= k - 1;
    *top = best;
    return top;
}

// One lane of the block machine; the arguments end at `top`, the result takes the place of the
// first of them that was pushed, which is returned.
double* call(const SingleProgram& program, const SingleStep& step, int obs, double* top,
             bool* overflowed) {
    BlockMachine* m = &engine_machine;
    const int n = int(step.shift);
    m->record = program.record;
    m->obs = obs;
    m->span = m->n = 1;
    m->index = nullptr;
    m->n_columns = 0;
    m->text_depth = 0;
    m->one_missing = program.one_missing;
    double* first = top - n + 1;
    for (int i = 0; i < n; i++) {
        m->own[i][0] = first[i];
        m->numbers[i] = {m->own[i], false};
    }
    m->depth = n;
    handler_of (*step.code)(m, step.code + 1);
    *first = *m->numbers[0].x;
    if (m->overflowed) {
        *overflowed = true;
        m->overflowed = false;
        memset(m->overflow, 0, sizeof m->overflow);
    }
    return first;
}

double running_sum(const SingleProgram& program, const SingleStep& step, double x,
                   bool* overflowed) {
    double& sum = program.record->sums[step.code[1] - 1];
    sum += x < kSysMissing ? x : 0;
    if (std::fabs(sum) < kSysMissing) return sum;
    *overflowed = true;
    return kSysMissing;
}

}  // namespace

bool decode_single(ExpressionRecord* record, SingleProgram* program) {
    if (record->result_type != 0 || record->last_code < 0) return false;
    set_run_range(record, false);
    program->record = record;
    program->one_missing = session.version < 800;
    program->has_sums = record->last_sum >= 0;
    program->n_steps = 0;
    const int16_t* end = record->code + record->last_code + 1;
    int used;
    for (const int16_t* code = record->code; code < end; code += used) {
        if (program->n_steps == kMostSteps) return false;
        SingleStep* step = &program->steps[program->n_steps];
        if (!decode_step(*record, code, step, &used)) return false;
        if (step->kind <= kDiv && program->n_steps > 0 && step[-1].kind == kConstant) {
            step[-1].kind = uint8_t(step->kind + kOrConstant);
        } else {
            program->n_steps++;
        }
    }
    return true;
}

double run_single(const SingleProgram& program, int obs) {
    const ExpressionRecord& record = *program.record;
    const bool one_missing = program.one_missing;
    const uint8_t* row = obs <= dataset.nobs ? rawrow(obs) : nullptr;
    double stack[kMostSteps + 1];
    stack[0] = kSysMissing;
    double* top = stack;  // the number pushed last; the first place stays empty
    bool overflowed = false;
    if (program.has_sums && obs == record.first) {
        for (double& sum : program.record->sums) sum = 0;
    }
    // The observation x[_n + shift] in the row area; null if it is outside the group.
    const auto shifted = [&](const SingleStep& step) -> const uint8_t* {
        const int64_t at = obs + step.shift;
        const bool inside = at >= record.group_first && at <= record.group_last && at >= 1;
        return inside && at <= dataset.nobs ? rawrow(int(at)) + step.offset : nullptr;
    };
    const SingleStep* end = program.steps + program.n_steps;
    for (const SingleStep* step = program.steps; step < end; step++) {
        double right = step->constant;
        switch (step->kind) {
#define KORVA_STEP(name, result)                                                                   \
    case k##name: right = *top--; [[fallthrough]];                                                 \
    case k##name##Constant: {                                                                      \
        const double left = *top;                                                                  \
        *top = result;                                                                             \
        break;                                                                                     \
    }
#define KORVA_COMPARISON(name, op)                                                                 \
    KORVA_STEP(name, compared(left, right, one_missing, [](double a, double b) { return a op b; }))
#define KORVA_ARITHMETIC(name, op)                                                                 \
    KORVA_STEP(name, computed(left, right, &overflowed, [](double a, double b) { return a op b; }))
            KORVA_STEP(Or, (left != 0) | (right != 0))
            KORVA_STEP(And, (left != 0) & (right != 0))
            KORVA_COMPARISON(Eq, ==)
            KORVA_COMPARISON(Ne, !=)
            KORVA_COMPARISON(Ge, >=)
            KORVA_COMPARISON(Le, <=)
            KORVA_COMPARISON(Lt, <)
            KORVA_COMPARISON(Gt, >)
            KORVA_ARITHMETIC(Add, +)
            KORVA_ARITHMETIC(Sub, -)
            KORVA_ARITHMETIC(Mul, *)
            KORVA_STEP(Div, right == 0 ? kSysMissing
                                       : computed(left, right, &overflowed,
                                                  [](double a, double b) { return a / b; }))
#undef KORVA_ARITHMETIC
#undef KORVA_COMPARISON
#undef KORVA_STEP
        case kConstant: *++top = right; break;
        case kDoubleHere: *++top = row ? load_double(row + step->offset) : kSysMissing; break;
        case kHere: *++top = row ? read_cell(step->type, row + step->offset) : kSysMissing; break;
        case kDoubleShifted: {
            const uint8_t* cell = shifted(*step);
            *++top = cell ? load_double(cell) : kSysMissing;
            break;
        }
        case kShifted: {
            const uint8_t* cell = shifted(*step);
            *++top = cell ? read_cell(step->type, cell) : kSysMissing;
            break;
        }
        case kElement: {
            const int at = subscripted_obs(record, *top);
            *top = at ? read_cell(step->type, rawrow(at) + step->offset) : kSysMissing;
            break;
        }
        case kObservation: *++top = obs - record.group_first + 1; break;
        case kNot: *top = *top == 0; break;
        case kNegate: *top = std::fabs(*top) < kSysMissing ? -*top : kSysMissing; break;
        case kCond: {  // the first argument lies on the top
            const double x = *top;
            const double chosen = x != 0 ? top[-1] : top[-2];
            const double if_missing = step->shift == 4 ? top[-3] : top[-1];
            top -= step->shift - 1;
            *top = x < kSysMissing ? chosen : if_missing;
            break;
        }
        case kMax: top = best_of(top, step->shift, [](double a, double b) { return a > b; }); break;
        case kMin: top = best_of(top, step->shift, [](double a, double b) { return a < b; }); break;
        case kSum: *top = running_sum(program, *step, *top, &overflowed); break;
        default: top = call(program, *step, obs, top, &overflowed);
        }
    }
    return overflowed ? kSysMissing : finite_or_missing(*top);
}

}  // namespace korva

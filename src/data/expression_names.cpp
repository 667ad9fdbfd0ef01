// data/expression_names.cpp - what a name stands for in an expression: a variable, a scalar, one of
// the names with an underscore, an element, a function with its arguments.
//
// What does not change while the command runs (scalars, stored results, settings) becomes a
// constant. The arguments of a call are compiled from the last to the first, so that the first one
// lies on the top of the stack.

#include <cmath>
#include <cstring>
#include <string>

#include "core/missing.h"
#include "core/names.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/store.h"
#include "core/stored_results.h"
#include "core/system_values.h"
#include "core/upcalls.h"
#include "data/dataset.h"
#include "data/date_reading.h"
#include "data/expression_compiler.h"
#include "data/skeleton.h"
#include "data/time_series.h"

namespace korva {

namespace {

constexpr int kMaxLeadingName = 273;  // bytes in front of a bracket
constexpr ReturnCode kNotAvailable = 199;

struct LimitConstant {
    std::string_view name;
    double value;
};
constexpr LimitConstant kLimits[] = {
    {"byteorder", 2},  // the low-order byte comes first
    {"maxdouble", kMaxDouble}, {"mindouble", -kMaxDouble}, {"epsdouble", 0x1p-52},
    {"maxfloat", kMaxFloat},   {"minfloat", -kMaxFloat},   {"epsfloat", 0x1p-23},
    {"maxlong", 2147483620},   {"minlong", -2147483647},   {"maxint", 32740},
    {"minint", -32767},        {"maxbyte", 100},           {"minbyte", -127},
};

// Instructions by the number of arguments.
constexpr int16_t kNormalDensities[] = {OP_NORMALDEN, OP_NORMALDEN2, OP_NORMALDEN3};
constexpr int16_t kLogNormalDensities[] = {OP_LNNORMALDEN, OP_LNNORMALDEN2, OP_LNNORMALDEN3};
constexpr int16_t kDates[] = {OP_DATE2, OP_DATE3};

}  // namespace

// --- names ---

void Compiler::named(int begin, int end) {
    int at = begin;
    while (at < end && text[at] != '(' && text[at] != '[') at++;
    if (at - begin > kMaxLeadingName) fail_syntax();
    const std::string_view name = view(begin, at);
    if (at < end && match[at] != end - 1) {
        if (at > begin) fail_syntax();
        return coefficient(begin, end);
    }
    if (at == end) return plain_name(name);
    if (text[at] == '(') return function(name, at + 1, end - 1);
    if (name == "_b" || name == "_coef" || name == "_se" || name.empty()) {
        return coefficient(begin, end);
    }
    element(name, at + 1, end - 1);
}

// A name alone.
void Compiler::plain_name(std::string_view name) {
    if (name[0] == '_' && special_name(name)) return;
    if (is_operator_text(name.substr(0, name.find('.'))) && name.find('.') != name.npos) {
        return time_series(name);
    }
    if (const int32_t var = look_up_variable(name)) return variable(var);
    if (StoreFind(name, kKindMatrix)) {
        if (!matrix_mode) fail_reported(509);
        return named_matrix(OP_MATRIX, name);
    }
    if (scalar_value(name)) return;
    fail_not_found(name);
}

bool Compiler::special_name(std::string_view name) {
    if (name == "_n") {
        emit(OP_OBS);
    } else if (name == "_N") {
        emit(OP_NOBS);
    } else if (name == "_cons") {
        emit(OP_CONS);
    } else if (name == "_rc") {
        emit(OP_RC);
    } else if (name == "_pi") {
        number(M_PI);
    } else {
        return false;
    }
    return true;
}

// L.x and its kin: found now, so that the run looks up times and no names.
void Compiler::time_series(std::string_view name) {
    const size_t point = name.find('.');
    std::vector<const TsOperator*> operators;
    if (ReturnCode rc = parse_operators(name.substr(0, point), &operators)) fail(rc);
    name.remove_prefix(point + 1);
    if (name.empty()) fail_syntax();
    const int32_t var = look_up_variable(name);
    if (!var) fail_not_found(name);
    if (ReturnCode rc = refuse_string_operand(var)) fail(rc);
    if (!operators[0]) return variable(var);
    if (ReturnCode rc = find_time()) fail(rc);
    const int element = keep_ts_element(operators[0], var);
    if (element < 0) fail_reported(130);
    emit(OP_TSVARIABLE);
    word(element);
}

// The scalar of the name as a constant; false if there is none. Its record holds a double, or a
// text if the user word is not 0.
bool Compiler::scalar_value(std::string_view name) {
    const StoreRecord* scalar = StoreFind(name, kKindScalar);
    if (!scalar) return false;
    if (scalar->user_word) {
        constant_text({scalar->payload(), strnlen(scalar->payload(), scalar->length)});
    } else {
        double value = kSysMissing;
        if (scalar->length >= sizeof value) memcpy(&value, scalar->payload(), sizeof value);
        number(value);
    }
    return true;
}

// Nothing has the name: an abbreviation of several variables has its own words.
void Compiler::fail_not_found(std::string_view name) {
    if (name.find('~') != std::string_view::npos) {
        int32_t var = 0;
        fail(find_variable(name, &var));
    }
    if (!IsValidName(name)) fail_syntax();
    if (settings.varabbrev) {
        for (int i = 0; i < dataset.nvar; i++) {
            if (std::string_view(dataset.names[i]).starts_with(name)) fail(ReportAmbiguous(name));
        }
    }
    fail(ReportNotFound(name));
}

// x[subscript]
void Compiler::element(std::string_view name, int begin, int end) {
    if (name == "_n" || name == "_N" || name == "_cons" || name == "_rc" || name == "_pi") {
        fail_syntax();
    }
    const int32_t var = look_up_variable(name);
    if (!var) {
        if (StoreFind(name, kKindMatrix)) return matrix_cell(name, begin, end);
        fail_not_found(name);
    }
    range(begin, end);
    emit(type_is_string(dataset.types[var - 1]) ? OP_ELEMENT_S : OP_ELEMENT);
    word(var);
}

// m[row, column]: numbers, or names in quotes that the run looks up.
void Compiler::matrix_cell(std::string_view name, int begin, int end) {
    if (!matrix_mode) fail_words(kNotAvailable, "elements of matrices are not available yet\n");
    const Arguments a = split(begin, end);
    if (a.count != 2) fail_syntax();
    arguments(a);
    for (int i = 0; i < 2; i++) pop_type(top_type() == 'S' ? 'S' : 'N');
    record->has_matrices = 1;
    named_matrix(OP_MATRIX_CELL, name);
}

// The instruction, whose operand is the place of the name in the text pool.
void Compiler::named_matrix(int code, std::string_view name) {
    const int at = pool_text(name);
    emit(code);
    word(at);
}

// _b[x], _coef[x], _se[x], [eq]_b[x], ...: no estimation results are kept yet, so none is found.
void Compiler::coefficient(int begin, int end) {
    int at = begin;
    if (text[at] == '[') {
        if (match[at] == at + 1) fail_syntax();
        at = match[at] + 1;
    }
    int bracket = at;
    while (bracket < end && text[bracket] != '[') bracket++;
    const std::string_view name = view(at, bracket);
    const bool known = name == "_b" || name == "_coef" || name == "_se";
    if (!known || bracket == end || match[bracket] != end - 1 || bracket + 1 == end - 1) {
        fail_syntax();
    }
    fail(ReportNotFound(view(begin, end)));
}

// --- calls ---

int Compiler::skip(int at) const {
    const char c = text[at];
    const bool jumps = c == '(' || c == '[' || c == '"' || (c == '`' && match[at] > at);
    return jumps ? match[at] + 1 : at + 1;
}

Compiler::Arguments Compiler::split(int begin, int end) {
    Arguments a{n_separators, 0, begin};
    if (begin == end) return a;
    int at = begin;
    while (at <= end) {
        if (at == end || text[at] == ',') {
            if (n_separators == kMaxCodes) fail_reported(130);
            separators[n_separators++] = at++;
            a.count++;
        } else {
            at = skip(at);
        }
    }
    return a;
}

void Compiler::argument(const Arguments& a, int index) {
    const int begin = index == 0 ? a.begin : separators[a.base + index - 1] + 1;
    range(begin, separators[a.base + index]);
}

// Compiles the arguments from the last to the first and forgets them.
void Compiler::arguments(const Arguments& a) {
    for (int i = a.count - 1; i >= 0; i--) argument(a, i);
    n_separators = a.base;
}

void Compiler::fail_unavailable(std::string_view name) {
    fail_words(kNotAvailable, "function " + std::string(name) + "() is not available yet\n");
}

void Compiler::function(std::string_view name, int begin, int end) {
    const FunctionRow* row = find_function(name, session.version);
    if (!row) {
        fail_words(133, "Unknown function " + std::string(name) + "()\n");
    }
    if (row->kind == FunctionKind::InMatrixMode && !matrix_mode) fail_reported(509);
    if (row->kind == FunctionKind::Alone) return routine(*row, begin, end);
    const OpcodeRow& operation = kOpcodeRows[size_t(row->opcode)];
    const bool has_matrix = operation.pushes == 'M' || strchr(operation.pops, 'M');
    if (!operation.available && !(matrix_mode && has_matrix)) fail_unavailable(name);
    if (row->max_arguments == 1 && begin < end) {
        range(begin, end);
        emit(row->opcode, 1);
        if (row->kind == FunctionKind::Counted) word(1);
        return;
    }
    const Arguments a = split(begin, end);
    if (a.count < row->min_arguments || a.count > row->max_arguments) fail_syntax();
    arguments(a);
    emit(row->opcode, a.count);
    if (row->kind == FunctionKind::Counted) word(a.count);
}

void Compiler::routine(const FunctionRow& row, int begin, int end) {
    switch (row.routine) {
    case FunctionRoutine::Cond: return condition(begin, end);
    case FunctionRoutine::Sum: return running_sum(begin, end);
    case FunctionRoutine::Missing: return missing(begin, end);
    case FunctionRoutine::InRange: return by_first_type(begin, end, 3, 3, OP_INRANGE, OP_INRANGE_S);
    case FunctionRoutine::InList:
        return by_first_type(begin, end, 2, kManyArguments, OP_INLIST, OP_INLIST_S);
    case FunctionRoutine::Plural: return plural(begin, end);
    case FunctionRoutine::Scalar: return scalar(begin, end);
    case FunctionRoutine::Variable: return variable_by_name(begin, end);
    case FunctionRoutine::Results: return stored_result(row.name, begin, end);
    case FunctionRoutine::SystemValue: return system_value(begin, end);
    case FunctionRoutine::Caller:
        if (begin != end) fail_syntax();
        return number(session.callerVersion / 100.0);
    case FunctionRoutine::Uniform:
        if (begin != end) fail_syntax();
        return emit(session.version < 320 ? OP_UNIFORM0 : OP_UNIFORM);
    case FunctionRoutine::Limit: return limit(row.name, begin, end);
    case FunctionRoutine::NormalDensity: return by_count(begin, end, 1, kNormalDensities);
    case FunctionRoutine::LogNormalDensity: return by_count(begin, end, 1, kLogNormalDensities);
    case FunctionRoutine::Date: return by_count(begin, end, 2, kDates);
    case FunctionRoutine::TimeRange: return time_range(row.name == "twithin", begin, end);
    case FunctionRoutine::TimeLiteral: return time_literal(row.name[0], begin, end);
    default: fail_unavailable(row.name);
    }
}

void Compiler::condition(int begin, int end) {
    const Arguments a = split(begin, end);
    if (a.count != 3 && a.count != 4) fail_syntax();
    arguments(a);
    emit(n_types > 1 && types[n_types - 2] == 'S' ? OP_COND_S : OP_COND, a.count);
    word(a.count);
}

void Compiler::running_sum(int begin, int end) {
    if (record->last_sum + 1 >= kMaxSums) fail_words(130, "Too many SUMs\n");
    const int accumulator = ++record->last_sum + 1;
    range(begin, end);
    emit(OP_SUM);
    word(accumulator);
}

// missing(a, ...): a >= . for a number, a == "" for a string, joined by |.
void Compiler::missing(int begin, int end) {
    if (inside_missing) fail_words(198, "missing() may not be nested within missing()\n");
    inside_missing = true;
    const Arguments a = split(begin, end);
    if (a.count < 1) fail_syntax();
    for (int i = a.count - 1; i >= 0; i--) {
        argument(a, i);
        if (top_type() == 'S') {
            constant_text("");
            emit(OP_EQ_S);
        } else {
            number(kSysMissing);
            emit(OP_GE);
        }
        if (i < a.count - 1) emit(OP_OR);
    }
    n_separators = a.base;
    inside_missing = false;
}

// One instruction for numbers and one for strings, by the first argument.
void Compiler::by_first_type(int begin, int end, int fewest, int most, int code, int text_code) {
    const Arguments a = split(begin, end);
    if (a.count < fewest || a.count > most) fail_syntax();
    arguments(a);
    const int chosen = top_type() == 'S' ? text_code : code;
    emit(chosen, a.count);
    if (kOpcodeRows[size_t(chosen)].operands) word(a.count);
}

// An instruction for each number of arguments from `fewest` on.
void Compiler::by_count(int begin, int end, int fewest, std::span<const int16_t> codes) {
    const Arguments a = split(begin, end);
    if (a.count < fewest || a.count >= fewest + int(codes.size())) fail_syntax();
    arguments(a);
    emit(codes[size_t(a.count - fewest)]);
}

void Compiler::plural(int begin, int end) {
    const Arguments a = split(begin, end);
    if (a.count != 2 && a.count != 3) fail_syntax();
    arguments(a);
    emit(a.count == 2 ? OP_PLURAL : OP_PLURAL3);
}

void Compiler::scalar(int begin, int end) {
    const std::string_view name = view(begin, end);
    if (!IsValidName(name)) fail_syntax();
    if (!scalar_value(name)) fail(ReportNotFound(name));
}

void Compiler::variable_by_name(int begin, int end) {
    int32_t var = 0;
    if (begin == end) fail_syntax();
    if (ReturnCode rc = find_variable(view(begin, end), &var)) fail(rc);
    variable(var);
}

// r(name), e(name), s(name), return(name): the value that stands there now. e(sample) is a
// variable.
void Compiler::stored_result(std::string_view family_name, int begin, int end) {
    const std::string_view name = view(begin, end);
    if (family_name == "e" && name == "sample") {
        if (const int var = find_variable_exact(kEstimationSample)) return variable(var);
        return number(0);
    }
    const ResultFamily family = family_name == "r"   ? ResultFamily::R
                                : family_name == "e" ? ResultFamily::E
                                : family_name == "s" ? ResultFamily::S
                                                     : ResultFamily::Return;
    const StoredValue value = FindStoredResult(family, name);
    switch (value.kind) {
    case ResultKind::Number: return number(value.number);
    case ResultKind::Text: return constant_text(value.text);
    case ResultKind::Matrix:
        if (!matrix_mode) fail_reported(509);
        return named_matrix(family == ResultFamily::E   ? OP_E_MATRIX
                            : family == ResultFamily::S ? OP_S_MATRIX
                                                        : OP_R_MATRIX,
                            name);
    case ResultKind::None: break;
    }
    if (!IsValidName(name)) fail_syntax();
    number(kSysMissing);
}

void Compiler::system_value(int begin, int end) {
    const std::string_view name = view(begin, end);
    SystemValue value;
    if (!FindSystemValue(name, &value)) {
        fail_words(133, "c(" + std::string(name) + ") undefined\n");
    }
    if (value.is_text) return constant_text(value.text);
    number(value.number);
}

void Compiler::limit(std::string_view name, int begin, int end) {
    if (begin != end) fail_syntax();
    for (const LimitConstant& row : kLimits) {
        if (row.name == name) return number(row.value);
    }
    fail_unavailable(name);
}

// One bound of a time range: variable, literal, comparison. False: the literal is empty.
bool Compiler::time_bound(int var, char kind, std::string_view literal, int code) {
    if (literal.empty()) return false;
    double value;
    if (!read_time_literal(kind, literal, &value)) fail_syntax();
    variable(var);
    number(value);
    emit(code);
    return true;
}

// tin(a, b), twithin(a, b): the time variable lies between the two times.
void Compiler::time_range(bool strictly, int begin, int end) {
    const Arguments a = split(begin, end);
    if (a.count != 2) fail_syntax();
    const int comma = separators[a.base];
    n_separators = a.base;
    const int var = find_variable_exact(CharacteristicOf("_dta", "_TStvar"));
    if (!var) fail_words(111, "time variable not set\n");
    if (type_is_string(dataset.types[var - 1])) fail_reported(109);
    const char kind = time_kind(dataset.formats[var - 1]);
    const bool low = time_bound(var, kind, view(begin, comma), strictly ? OP_GT : OP_GE);
    const bool high = time_bound(var, kind, view(comma + 1, end), strictly ? OP_LT : OP_LE);
    if (low && high) emit(OP_AND);
    if (!low && !high) number(1);
}

// d(1jan1960), q(1960q1), ...: the elapsed time as a constant.
void Compiler::time_literal(char kind, int begin, int end) {
    double value;
    if (!read_time_literal(kind, view(begin, end), &value)) fail_syntax();
    number(value);
}

}  // namespace korva

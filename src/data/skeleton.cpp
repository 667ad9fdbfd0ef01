// data/skeleton.cpp - one parser for the part of a line that nearly all commands share.
//
// The parse leaves its results in `skeleton` and the compiled expressions in their records. Under
// by it runs once: what the first group parsed is kept in by_parse and put back for every later
// group, whose Dispatch has reset the skeleton in between. The compiled records are left alone from
// group to group.
#include "data/skeleton.h"

#include <cstring>

#include "core/names.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/upcalls.h"
#include "data/by.h"
#include "data/row_loop.h"

namespace korva {

SkeletonState skeleton;

namespace {

constexpr size_t kMaxOptions = 70;

// The parse of the first by group.
struct ByParse {
    bool valid = false;
    SkeletonState state;
};
ByParse by_parse;

struct PermissionGuard {
    ~PermissionGuard() { skeleton.permit = Permissions{}; }
};

// New variables go again unless the parse succeeds.
struct NewVariableGuard {
    int32_t nvar = dataset.nvar;
    bool keep = false;
    ~NewVariableGuard() {
        if (keep || dataset.nvar == nvar) return;
        undo_new_variables(nvar);
        skeleton.varlist.clear();
    }
};

void clear_results(SkeletonState* state) {
    state->varlist.clear();
    state->operators.clear();
    state->group_bounds.clear();
    state->varlist_given = state->all_given = false;
    state->new_type_given = state->new_type_automatic = false;
    state->first = range_first();
    state->last = range_last();
    state->in_given = state->if_given = state->exp_given = state->using_given = false;
    state->using_file.clear();
    state->if_text.clear();
    state->exp_text.clear();
    state->weight_type = 0;
    state->weight_given = false;
    state->weight_text.clear();
    state->options.clear();
}

struct WeightWord {
    std::string_view name;
    int minimum;
    uint8_t type;  // 0: the command's default
};
// In the order of the test: `w` is taken before any of the four.
constexpr WeightWord kWeightWords[] = {
    {"weight", 1, 0},         {"cellsize", 4, kAweight}, {"frequency", 4, kFweight},
    {"fweight", 2, kFweight}, {"aweight", 2, kAweight},  {"pweight", 2, kPweight},
    {"iweight", 2, kIweight},
};

// --- the pieces ---

// End of the string that begins at text (a double quote, or a backquote and one): behind its close,
// or at the NUL.
const char* skip_string(const char* text) {
    if (*text == '"') {
        const char* close = std::strchr(text + 1, '"');
        return close ? close + 1 : text + std::strlen(text);
    }
    int depth = 1;
    for (text += 2; *text; text++) {
        if (text[0] == '`' && text[1] == '"') {
            depth++;
            text++;
        } else if (text[0] == '"' && text[1] == '\'') {
            text++;
            if (--depth == 0) return text + 1;
        }
    }
    return text;
}

// The bracket that closes one already open in front of text, strings passed over; null: there is
// none.
const char* find_close(const char* text, char open, char close) {
    int depth = 1;
    while (*text) {
        if (*text == '"' || (*text == '`' && text[1] == '"')) {
            text = skip_string(text);
            continue;
        }
        if (*text == open) depth++;
        if (*text == close && --depth == 0) return text;
        text++;
    }
    return nullptr;
}

ReturnCode parse_if(const Permissions& permit) {
    if (permit.if_exp == kForbidden) return ReportNotAllowed("if");
    if (skeleton.if_given) return ReportInvalidSyntax();
    if (ReturnCode rc = collect_expression(&skeleton.if_text, false)) return rc;
    const ExpressionMode mode = permit.if_exp == kStringsToo ? ExpressionMode::Either
                                                             : ExpressionMode::Number;
    if (ReturnCode rc = compile(skeleton.if_text, &if_expression, mode)) return rc;
    skeleton.if_given = true;
    return 0;
}

ReturnCode parse_in(const Permissions& permit) {
    if (by_state.active) {
        out_error(" 'in' may not be combined with 'by'\n");
        return 190;
    }
    if (permit.in_range == kForbidden) return ReportNotAllowed("in");
    if (skeleton.in_given) return ReportInvalidSyntax();
    skeleton.in_given = true;
    return parse_in_range(&skeleton.first, &skeleton.last, permit.in_range == kSpecial);
}

ReturnCode parse_using(const Permissions& permit) {
    if (permit.using_file == kForbidden) return ReportNotAllowed("using");
    if (skeleton.using_given) return ReportInvalidSyntax();
    skeleton.using_given = true;
    const char next = PeekChar();
    if (permit.using_file == kSpecial && (next == 0 || next == ',')) return 0;
    char name[kMaxFileNameBytes + 1];
    if (ReturnCode rc = ParseFileName(name)) return rc;
    skeleton.using_file = name;
    return 0;
}

// Where the weight's compiled form goes: the main record, unless the command has an =exp as well.
ReturnCode compile_weight(const Permissions& permit) {
    ExpressionRecord* record = permit.exp == kForbidden ? &main_expression : &scratch_expression;
    skeleton.weight_given = true;
    return compile(skeleton.weight_text, record, ExpressionMode::Number);
}

ReturnCode parse_exp(const Permissions& permit) {
    if (permit.exp == kForbidden && permit.weights == 0) return ReportNotAllowed("=exp");
    if (permit.exp == kForbidden) {
        // The weight of very old programs: the expression alone.
        if (session.version >= 300) return ReportInvalidSyntax();
        {
            LevelGuard level(kLevelText);
            out_text("(please avoid =exp old-style weight syntax)\n");
        }
        if (skeleton.weight_given) {
            out_error("too many weights\n");
            return 198;
        }
        if (ReturnCode rc = collect_expression(&skeleton.weight_text, false)) return rc;
        skeleton.weight_type = permit.default_weight;
        return compile_weight(permit);
    }
    if (skeleton.exp_given) return ReportInvalidSyntax();
    if (ReturnCode rc = collect_expression(&skeleton.exp_text, false)) return rc;
    if (ReturnCode rc = compile(skeleton.exp_text, &main_expression, permit.exp_mode)) return rc;
    skeleton.exp_given = true;
    return 0;
}

// Behind the bracket: word, `=`, expression, bracket.
ReturnCode parse_weight(const Permissions& permit) {
    if (PeekChar() == ']') {
        NextToken();
        return 0;
    }
    if (skeleton.weight_given) {
        out_error("too many weights\n");
        return 198;
    }
    if (permit.weights == 0) return ReportNotAllowed("weights");

    if (ReturnCode rc = read_weight(permit.weights, permit.default_weight, &skeleton.weight_type,
                                    &skeleton.weight_text)) {
        return rc;
    }
    return compile_weight(permit);
}

ReturnCode parse_options(const Permissions& permit) {
    for (;;) {
        NextToken(OptionSeparators);
        if (TokenIsEmpty()) return 0;
        if (TokenIs(",")) {
            // A second comma ends the options; what stands behind it belongs to nobody.
            if (permit.stop_at_unknown || PeekChar() == 0) return 0;
            return report_invalid_token();
        }
        if (skeleton.options.size() == kMaxOptions) return ReportError(1003);
        SkeletonOption option;
        option.name = scanner.TokenBuffer;
        char* rest = ScanRest();
        if (*rest == '(' && option.name[0] != '"') {
            const char* close = find_close(rest + 1, '(', ')');
            if (!close) return ReportRequired(")");
            option.argument.assign(rest + 1, size_t(close - rest - 1));
            option.has_argument = true;
            SetScanPointer(rest + (close - rest) + 1);
        }
        skeleton.options.push_back(std::move(option));
    }
}

ReturnCode parse_list(const Permissions& permit) {
    if (permit.varlist == kForbidden) {
        if (permit.stop_at_unknown) return 0;
        NextToken();
        const bool ends = is_list_end(scanner.TokenBuffer);
        PushBackToken();
        return ends ? 0 : ReportNotAllowed("varlist");
    }
    if (permit.new_varlist) {
        if (ReturnCode rc = parse_new_varlist(&skeleton.varlist, &skeleton.new_type_automatic,
                                              permit.label_names)) {
            return rc;
        }
        skeleton.varlist_given = !skeleton.varlist.empty();
    } else {
        const bool allowed = permit.operators != kForbidden;
        const ReturnCode rc = parse_varlist(&skeleton.varlist,
                                            allowed ? &skeleton.operators : nullptr);
        if (rc) return rc;
    }
    if (permit.varlist == kRequired && !skeleton.varlist_given) return ReportRequired("varlist");
    return 0;
}

// Qualifiers until the end of the line.
ReturnCode parse_qualifiers(const Permissions& permit) {
    for (;;) {
        NextToken();
        if (TokenIsEmpty()) return 0;
        ReturnCode rc = 0;
        if (TokenIs("if")) {
            rc = parse_if(permit);
        } else if (TokenIs("in")) {
            rc = parse_in(permit);
        } else if (TokenIs("using")) {
            rc = parse_using(permit);
        } else if (TokenIs("=")) {
            rc = parse_exp(permit);
        } else if (TokenIs("[")) {
            rc = parse_weight(permit);
        } else if (TokenIs(",")) {
            if (permit.options == kForbidden) return ReportNotAllowed("options");
            return parse_options(permit);
        } else if (permit.stop_at_unknown) {
            PushBackToken();
            return 0;
        } else {
            return report_invalid_token();
        }
        if (rc) return rc;
    }
}

ReturnCode check_required(const Permissions& permit) {
    if (permit.in_range == kRequired && !skeleton.in_given) return ReportRequired("in range");
    if (permit.one_of_varlist_if_in && !skeleton.varlist_given && !skeleton.if_given &&
        !skeleton.in_given) {
        return ReportRequired("varlist or in range");
    }
    if (permit.using_file == kRequired && !skeleton.using_given) return ReportRequired("using");
    if (permit.exp == kRequired && !skeleton.exp_given) return ReportRequired("=exp");
    return 0;
}

ReturnCode parse(bool with_list) {
    PermissionGuard permissions_end_here;
    const Permissions permit = skeleton.permit;
    if (by_state.active && !permit.by_allowed) return ReportError(190);
    if (skeleton_reused()) {
        skeleton = by_parse.state;
        skeleton.first = range_first();
        skeleton.last = range_last();
        return 0;
    }

    reset_expression_pools();
    clear_results(&skeleton);
    NewVariableGuard added;
    if (with_list) {
        if (ReturnCode rc = parse_list(permit)) return rc;
    }
    if (ReturnCode rc = parse_qualifiers(permit)) return rc;
    if (ReturnCode rc = check_required(permit)) return rc;
    added.keep = true;

    if (by_state.active) {
        by_parse.state = skeleton;
        by_parse.valid = true;
    }
    return 0;
}

}  // namespace

void ResetSkeleton() {
    skeleton.permit = Permissions{};
    clear_results(&skeleton);
}

ReturnCode report_invalid_token() {
    const char* quote = TokenIsString() ? "\"" : "";
    out_errorf("'%s%s' invalid\n", scanner.TokenBuffer, quote);
    return 198;
}

std::string_view weight_name(uint8_t type) {
    switch (type) {
    case kAweight: return "aweight";
    case kFweight: return "fweight";
    case kPweight: return "pweight";
    case kIweight: return "iweight";
    default: return "weight";
    }
}

ReturnCode read_weight(uint8_t allowed, uint8_t otherwise, uint8_t* type, std::string* text) {
    NextToken();
    const WeightWord* word = nullptr;
    for (const WeightWord& candidate : kWeightWords) {
        if (MatchAbbreviation(scanner.TokenBuffer, candidate.name, candidate.minimum)) {
            word = &candidate;
            break;
        }
    }
    if (!word) {
        out_errorf("%s unknown weight type\n", scanner.TokenBuffer);
        return 198;
    }
    if (word->type != 0 && !(allowed & word->type))
        return ReportNotAllowed(weight_name(word->type));
    *type = word->type ? word->type : otherwise;

    NextToken();
    if (!TokenIs("=")) return ReportRequired("=");
    char* rest = ScanRest();
    const char* close = find_close(rest, '[', ']');
    if (!close) return ReportRequired("]");
    text->assign(rest, size_t(close - rest));
    SetScanPointer(rest + (close - rest) + 1);
    return 0;
}

ReturnCode parse_skeleton() {
    return parse(true);
}
ReturnCode parse_tail() {
    return parse(false);
}

bool skeleton_reused() {
    return by_state.active && !by_state.first_group && by_parse.valid;
}

void forget_parsed_skeleton() {
    by_parse.valid = false;
}

void varlist_or_all() {
    if (!skeleton.varlist.empty()) return;
    for (int var = 1; var <= dataset.nvar; var++) {
        if (std::strcmp(dataset.names[var - 1], kEstimationSample) != 0) {
            skeleton.varlist.push_back(var);
        }
    }
}

bool sample_has(int obs) {
    if (!skeleton.if_given) return true;
    if (if_expression.result_type == 0) return eval(&if_expression, obs) != 0;
    char text[kMaxStringBytes + 2];
    evalstr(&if_expression, obs, text);
    return text[0] != 0;
}

int sample_block(int obs, int n, uint8_t* marks) {
    if (!skeleton.if_given) {
        std::memset(marks, 1, size_t(n));
        return n;
    }
    if (if_expression.result_type == 0) return mark_sample(&if_expression, obs, n, marks);
    int count = 0;
    for (int k = 0; k < n; k++) count += marks[k] = sample_has(obs + k);
    return count;
}

const TsOperator* varlist_operator(size_t i) {
    return skeleton.operators.empty() ? nullptr : skeleton.operators[i];
}

std::string varlist_name(size_t i) {
    const char* name = dataset.names[skeleton.varlist[i] - 1];
    const TsOperator* op = varlist_operator(i);
    return op ? operator_text(op) + '.' + name : name;
}

double varlist_value(size_t i, int obs) {
    double value;
    varlist_gather(i, obs, 1, &value);
    return value;
}

void varlist_gather(size_t i, int obs, int n, double* out) {
    ts_gather(varlist_operator(i), skeleton.varlist[i], obs, n, range_first(), range_last(), out);
}

ReturnCode require_numeric(const std::vector<int32_t>& varlist) {
    for (int32_t var : varlist) {
        if (type_is_string(dataset.types[var - 1])) return ReportError(109);
    }
    return 0;
}

}  // namespace korva

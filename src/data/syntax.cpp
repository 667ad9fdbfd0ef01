// data/syntax.cpp - syntax and parse: a program's text, read as a built-in command reads its line.
//
// The parts are those of parse_skeleton(), and the same routines read them, but what is found goes
// to macros as it was typed: the program hands it on. Expressions are compiled only to see that
// they can be, so that the fault is told here, in the words of the program's own line.
#include "data/syntax.h"

#include <cstring>

#include "core/commands.h"
#include "core/macro.h"
#include "core/names.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/tokens.h"
#include "core/words.h"
#include "data/by.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr int kOldWeightsBefore = 300;  // below this version a plain =exp may be a weight

// What the forms say, read once.
struct Plan {
    ListForm list;
    QualifierForm if_exp, in_range, using_file, exp, weight;
    uint8_t weights = 0;         // kAweight | ...
    uint8_t default_weight = 0;  // the first that the picture names
    OptionForms options;
    bool takes_options = false;
};

// What stood in the text, as it goes to the macros.
struct Found {
    std::string if_exp, in_range, using_file, exp, weight;
    bool has_if = false, has_in = false, has_using = false, has_exp = false, has_weight = false;
};

ReturnCode read_plan(const SyntaxForms& forms, Plan* plan) {
    if (!ReadListForm(forms.varlist, &plan->list)) return ReportError(197);
    plan->if_exp = ReadQualifierForm(forms.if_exp);
    plan->in_range = ReadQualifierForm(forms.in_range);
    plan->using_file = ReadQualifierForm(forms.using_file);
    plan->exp = ReadQualifierForm(forms.exp);
    plan->weight = ReadQualifierForm(forms.weight);
    std::string_view rest = forms.weight, word;
    while (TakeWord(&rest, &word)) {
        for (uint8_t type : {kAweight, kFweight, kPweight, kIweight}) {
            if (!MatchAbbreviation(word, weight_name(type), 2)) continue;
            if (plan->weights == 0) plan->default_weight = type;
            plan->weights |= type;
        }
    }
    plan->takes_options = !TrimBlanks(forms.options).empty();
    return ReadOptionForms(forms.options, &plan->options);
}

std::string_view list_noun(const ListForm& form) {
    if (!form.id.empty()) return form.id;
    if (form.kind == ListKind::Anything) return "anything";
    if (form.kind == ListKind::Names) return form.single ? "name" : "namelist";
    return "varlist";
}

// --- the first element ---

ReturnCode existing_variables(const ListForm& form) {
    std::vector<int32_t> list;
    std::vector<const TsOperator*> operators;
    if (ReturnCode rc = parse_varlist(&list, form.operators ? &operators : nullptr)) return rc;
    if (!skeleton.varlist_given) {
        if (form.required) return ReportRequired("varlist");
        if (form.no_default) return SetLocal("varlist", {});
        skeleton.varlist.clear();
        varlist_or_all();
        list.swap(skeleton.varlist);
        if (list.empty()) return SetLocal("varlist", {});
    }
    if (ReturnCode check = check_count(form, int32_t(list.size()), "varlist")) return check;
    if (ReturnCode check = check_types(form, list, {})) return check;
    return SetLocal("varlist", names_of(list, operators));
}

ReturnCode new_variables(const ListForm& form) {
    std::vector<NewVariable> list;
    if (ReturnCode rc = read_new_names(&list)) return rc;
    if (list.empty() && form.required) return ReportRequired("varlist");
    if (!list.empty()) {
        if (ReturnCode rc = check_count(form, int32_t(list.size()), "varlist")) return rc;
    }
    std::string names, types;
    for (const NewVariable& variable : list) {
        names.append(names.empty() ? "" : " ").append(variable.name);
        types.append(types.empty() ? "" : " ").append(type_name(variable.type));
    }
    if (ReturnCode rc = SetLocal("varlist", names)) return rc;
    return SetLocal("typlist", types);
}

bool ends_word(char c) {
    return c == 0 || c == ' ' || c == '(' || c == '"' || c == '[' || c == ',' || c == '=';
}

// True if a word that ends the free text begins at p.
bool keyword_at(const char* p) {
    for (const std::string_view word : {"if", "in", "using"}) {
        if (std::strncmp(p, word.data(), word.size()) == 0 && ends_word(p[word.size()]))
            return true;
    }
    return false;
}

// Where the free text at p ends: in front of a keyword, `[`, `=` or the comma, outside of strings
// and parentheses.
char* free_text_end(char* p, const ListForm& form) {
    const std::string_view text = p;
    int depth = 0;
    bool starts_word = true;
    for (size_t at = 0; at < text.size();) {
        const char c = text[at];
        if (depth == 0) {
            if (c == ',') return p + at;
            const bool ends = c == '[' || (c == '=' && !form.equal_ok) ||
                              (starts_word && keyword_at(p + at));
            if (ends && !form.everything) return p + at;
        }
        if (c == '(') depth++;
        if (c == ')' && depth > 0) depth--;
        starts_word = c == ' ' || c == ')';
        at = BehindPart(text, at);
    }
    return p + text.size();
}

ReturnCode free_text(const ListForm& form) {
    char* start = ScanRest();
    char* end = free_text_end(start, form);
    SetScanPointer(end);
    const std::string_view text = TrimBlanks({start, size_t(end - start)});
    if (text.empty() && form.required) return ReportRequired(list_noun(form));
    return SetLocal(form.macro.empty() ? "anything" : form.macro, text);
}

ReturnCode name_list(const ListForm& form) {
    char* start = ScanRest();
    char* p = start;
    for (;;) {
        p = SkipBlanks(p);
        char* end = p;
        while (*end != 0 && std::strchr(" ,=[", *end) == nullptr) end++;
        if (end == p || is_list_end({p, size_t(end - p)})) break;
        p = end;
    }
    SetScanPointer(p);
    const std::string_view text = TrimBlanks({start, size_t(p - start)});
    std::string names;
    int32_t count = 0;
    if (ReturnCode rc = read_list(form, text, &names, &count, nullptr)) return rc;
    if (count == 0 && form.required) return ReportRequired(list_noun(form));
    if (count != 0) {
        if (ReturnCode rc = check_count(form, count, list_noun(form))) return rc;
    }
    return SetLocal(form.macro.empty() ? "namelist" : form.macro, names);
}

ReturnCode first_element(const ListForm& form) {
    switch (form.kind) {
    case ListKind::Existing: return existing_variables(form);
    case ListKind::New: return new_variables(form);
    case ListKind::Names: break;
    case ListKind::Anything: break;
    case ListKind::None: break;
    }
    // The internal form goes, whatever else stands there.
    if (ReturnCode rc = SetLocal("varlist", {})) return rc;
    if (form.kind == ListKind::Names) return name_list(form);
    if (form.kind == ListKind::Anything) return free_text(form);
    NextToken();
    const bool ends = is_list_end(scanner.TokenBuffer);
    PushBackToken();
    return ends ? 0 : ReportNotAllowed("varlist");
}

// --- the qualifiers ---

// What was read since `start`, behind the word in front if the program wants that.
std::string as_typed(const QualifierForm& form, std::string_view word, const char* start) {
    const std::string_view text = TrimBlanks({start, size_t(ScanRest() - start)});
    std::string result;
    if (form.prefix) result.append(word) += ' ';
    return result.append(text);
}

// The expression at the scanner, compiled for its faults.
ReturnCode pass_expression(ExpressionMode mode) {
    std::string cleaned;
    if (ReturnCode rc = collect_expression(&cleaned, false)) return rc;
    return compile(cleaned, &scratch_expression, mode);
}

ReturnCode take_if(const Plan& plan, Found* found) {
    if (!plan.if_exp.allowed) return ReportNotAllowed("if");
    if (found->has_if) return ReportInvalidSyntax();
    found->has_if = true;
    const char next = PeekChar();
    if (next == 0 || next == ',') return ReportRequired("if exp");
    const char* start = ScanRest();
    if (ReturnCode rc = pass_expression(ExpressionMode::Number)) return rc;
    found->if_exp = as_typed(plan.if_exp, "if", start);
    return 0;
}

ReturnCode take_in(const Plan& plan, Found* found) {
    if (by_program_running()) {
        out_error(" 'in' may not be combined with 'by'\n");
        return 190;
    }
    if (!plan.in_range.allowed) return ReportNotAllowed("in");
    if (found->has_in) return ReportInvalidSyntax();
    found->has_in = true;
    const char* start = ScanRest();
    int32_t first = 0, last = 0;
    if (ReturnCode rc = parse_in_range(&first, &last)) return rc;
    found->in_range = as_typed(plan.in_range, "in", start);
    return 0;
}

ReturnCode take_using(const Plan& plan, Found* found) {
    if (!plan.using_file.allowed) return ReportNotAllowed("using");
    if (found->has_using) return ReportInvalidSyntax();
    found->has_using = true;
    const char* start = ScanRest();
    char name[kMaxFileNameBytes + 1];
    if (ReturnCode rc = ParseFileName(name)) return rc;
    // Alone it is the file's name; behind its word it keeps the quotes that it needs there.
    found->using_file = plan.using_file.prefix ? as_typed(plan.using_file, "using", start) : name;
    return 0;
}

ReturnCode keep_weight(const Plan& plan, uint8_t type, std::string_view text, Found* found) {
    found->has_weight = true;
    found->weight = weight_name(type);
    if (plan.weight.prefix) found->exp = "= ";
    found->exp += TrimBlanks(text);
    return 0;
}

ReturnCode take_weight(const Plan& plan, Found* found) {
    if (PeekChar() == ']') {
        NextToken();
        return 0;
    }
    if (found->has_weight) {
        out_error("too many weights\n");
        return 198;
    }
    if (plan.weights == 0) return ReportNotAllowed("weights");
    uint8_t type = 0;
    std::string text;
    if (ReturnCode rc = read_weight(plan.weights, plan.default_weight, &type, &text)) return rc;
    if (ReturnCode rc = compile(text, &scratch_expression, ExpressionMode::Number)) return rc;
    return keep_weight(plan, type, text, found);
}

ReturnCode take_exp(const Plan& plan, Found* found) {
    if (!plan.exp.allowed && plan.weights == 0) return ReportNotAllowed("=exp");
    const bool old_weight = !plan.exp.allowed;
    if (old_weight && session.version >= kOldWeightsBefore) return ReportInvalidSyntax();
    if (found->has_exp || found->has_weight) return ReportInvalidSyntax();
    const char* start = ScanRest();
    if (ReturnCode rc = pass_expression(old_weight ? ExpressionMode::Number
                                                   : ExpressionMode::Either)) {
        return rc;
    }
    if (old_weight) {
        const LevelGuard level(kLevelText);
        out_text("(please avoid =exp old-style weight syntax)\n");
        return keep_weight(plan, plan.default_weight, {start, size_t(ScanRest() - start)}, found);
    }
    found->has_exp = true;
    found->exp = as_typed(plan.exp, "=", start);
    return 0;
}

// Up to the options or the end. *options: their text; null: there is no comma.
ReturnCode qualifiers(const Plan& plan, Found* found, const char** options) {
    for (;;) {
        NextToken();
        if (TokenIsEmpty()) return 0;
        ReturnCode rc = 0;
        if (TokenIs("if")) {
            rc = take_if(plan, found);
        } else if (TokenIs("in")) {
            rc = take_in(plan, found);
        } else if (TokenIs("using")) {
            rc = take_using(plan, found);
        } else if (TokenIs("=")) {
            rc = take_exp(plan, found);
        } else if (TokenIs("[")) {
            rc = take_weight(plan, found);
        } else if (TokenIs(",")) {
            if (!plan.takes_options) return ReportNotAllowed("options");
            *options = ScanRest();
            return 0;
        } else {
            return report_invalid_token();
        }
        if (rc) return rc;
    }
}

ReturnCode keep_qualifiers(const Found& found) {
    const struct {
        std::string_view macro, value;
    } kept[] = {{"if", found.if_exp},
                {"in", found.in_range},
                {"using", found.using_file},
                {"exp", found.exp},
                {"weight", found.weight}};
    for (const auto& [macro, value] : kept) {
        if (ReturnCode rc = SetLocal(macro, value)) return rc;
    }
    return 0;
}

ReturnCode check_required(const Plan& plan, const Found& found) {
    if (plan.if_exp.required && !found.has_if) return ReportRequired("if exp");
    if (plan.in_range.required && !found.has_in) return ReportRequired("in range");
    if (plan.using_file.required && !found.has_using) return ReportRequired("using");
    if (plan.exp.required && !found.has_exp) return ReportRequired("=exp");
    return 0;
}

// --- the commands ---

struct FormMacro {
    std::string_view name;
    std::string SyntaxForms::*form;
};
constexpr FormMacro kFormMacros[] = {
    {"varlist", &SyntaxForms::varlist}, {"if", &SyntaxForms::if_exp},
    {"in", &SyntaxForms::in_range},     {"using", &SyntaxForms::using_file},
    {"exp", &SyntaxForms::exp},         {"weight", &SyntaxForms::weight},
    {"options", &SyntaxForms::options},
};

// The rest of the line is one quoted text with options behind it, so that its first comma is not
// the text's.
bool quoted_with_options(std::string_view line) {
    if (line.empty() || (line[0] != '"' && !line.starts_with("`\""))) return false;
    const std::string_view behind = TrimBlanks(line.substr(BehindPart(line, 0)));
    return behind.starts_with(',');
}

}  // namespace

ReturnCode apply_syntax(const SyntaxForms& forms, std::string_view text) {
    Plan plan;
    if (ReturnCode rc = read_plan(forms, &plan)) return rc;
    const ScannerGuard keep_scanner;
    std::string line(text);
    SetScanPointer(line.data());
    reset_expression_pools();
    if (ReturnCode rc = first_element(plan.list)) return rc;
    Found found;
    const char* options = nullptr;
    if (ReturnCode rc = qualifiers(plan, &found, &options)) return rc;
    if (ReturnCode rc = keep_qualifiers(found)) return rc;
    if (ReturnCode rc = check_required(plan, found)) return rc;
    return apply_options(plan.options, options != nullptr ? options : "");
}

// syntax picture
ReturnCode CmdSyntax(int) {
    SyntaxForms forms;
    if (ReturnCode rc = TranslatePicture(ScanRest(), &forms)) return rc;
    for (const FormMacro& macro : kFormMacros) {
        if (ReturnCode rc = SetLocal(macro.name, forms.*macro.form)) return rc;
    }
    return apply_syntax(forms, LocalValue("0"));
}

// parse text, by the forms in the local macros; parse "text", parse(chars): tokens
ReturnCode CmdParse(int) {
    const std::string_view line = TrimBlanks(ScanRest());
    std::string text;
    if (quoted_with_options(line)) {
        SeparatorSet separators{" "};
        bool given = false;
        if (ReturnCode rc = TakeTextAndSeparators(&text, &separators, &given)) return rc;
        if (given) return TokenizeToMacros(text, separators);
    } else {
        std::string_view whole = line;
        StripQuotes(&whole);
        text.assign(whole);
    }
    SyntaxForms forms;
    for (const FormMacro& macro : kFormMacros) forms.*macro.form = LocalValue(macro.name);
    return apply_syntax(forms, text);
}

}  // namespace korva

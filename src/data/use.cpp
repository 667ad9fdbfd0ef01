// data/use.cpp - use: a dataset file takes the place of the data in memory.
//
// The file's name comes with `using` or without it, and a variable list, if and in apply to the
// file's variables and not to those in memory. So the name is found by a look ahead, and the rest
// of the line is parsed while the file's variables stand in for the dataset's: the list against all
// of them, the condition against those that the list chose.
#include <string>

#include "core/commands.h"
#include "core/file_path.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "data/by.h"
#include "data/dataset.h"
#include "data/dta_file.h"
#include "data/dta_read.h"
#include "data/skeleton.h"

namespace korva {

namespace {

enum class UseForm : uint8_t {
    Name,     // use file ...
    Using,    // use [if] [in] using file ...
    Varlist,  // use varlist ... using file
};

struct UseLine {
    UseForm form = UseForm::Name;
    bool has_qualifier = false;  // if or in, anywhere in front of the options
    bool may_replace = false;    // clear or replace stands among the options
    std::string file;
};

bool token_is_qualifier() {
    return TokenIs("if") || TokenIs("in");
}

// Looks ahead over the line; the scanner stays. A comma in parentheses belongs to an expression.
ReturnCode look_at_line(UseLine* line) {
    const ScannerGuard guard;
    NextToken(FileSeparators);
    const bool keyword = TokenIs("using") || token_is_qualifier();
    if (keyword) line->form = UseForm::Using;
    bool is_first = true;
    int depth = 0;
    for (; !TokenIsEmpty(); NextToken(FileSeparators), is_first = false) {
        if (TokenIs("(")) depth++;
        if (TokenIs(")")) depth--;
        if (TokenIs(",") && depth <= 0) break;
        if (token_is_qualifier()) line->has_qualifier = true;
        if (!TokenIs("using") || !line->file.empty()) continue;
        if (!keyword && !is_first) line->form = UseForm::Varlist;
        char name[kMaxFileNameBytes + 1];
        if (ReturnCode rc = ParseFileName(name)) return rc;
        line->file = name;
    }
    while (!TokenIsEmpty()) {
        NextToken(FileSeparators);
        if (TokenIs("clear") || TokenIs("replace")) line->may_replace = true;
    }
    return 0;
}

struct UseOptions {
    bool may_replace = false;
    DtaOptions load;
};

ReturnCode take_options(UseOptions* options) {
    const bool clear = option_present("clear", 5, false);
    const bool replace = option_present("replace", 7, false);
    options->may_replace = clear || replace;
    options->load.value_labels = option_present("label", 1, true);
    if (ReturnCode rc = options_done()) return rc;
    return dataset.changed && !options->may_replace ? ReportError(4) : 0;
}

// What may stand behind the list, or behind the file's name.
void permit_tail(bool with_using, bool with_qualifiers) {
    skeleton.permit.varlist = kForbidden;
    skeleton.permit.by_allowed = false;
    skeleton.permit.using_file = with_using ? kRequired : kForbidden;
    skeleton.permit.if_exp = with_qualifiers ? kStringsToo : kForbidden;
    skeleton.permit.in_range = with_qualifiers ? kAllowed : kForbidden;
}

std::vector<int32_t> all_variables(int32_t nvar) {
    std::vector<int32_t> vars(static_cast<size_t>(nvar));
    for (int32_t i = 0; i < nvar; i++) vars[size_t(i)] = i + 1;
    return vars;
}

// The variable list against the file's variables.
ReturnCode choose(UseForm form, const DtaHeader& header, const DtaVariables& file,
                  DtaSelection* selection) {
    selection->vars = all_variables(file.nvar);
    if (form != UseForm::Varlist) return 0;
    const DatasetView view(file, header);
    if (ReturnCode rc = parse_varlist(&selection->vars)) return rc;
    std::vector<int32_t>& vars = selection->vars;
    std::sort(vars.begin(), vars.end());
    vars.erase(std::unique(vars.begin(), vars.end()), vars.end());
    return 0;
}

// Value labels are read ahead of the expression only if it seems to name one.
bool line_names_labels() {
    return strstr(ScanRest(), "\":") || strstr(ScanRest(), "\"':");
}

// The value labels of the file; the source is where it was afterwards.
ReturnCode read_labels_ahead(const DtaReader& in, const DtaVariables& chosen, DtaRecords* labels) {
    const uint64_t left = in.source->left;
    const CharacteristicUse pass_over = [](auto...) { return ReturnCode(0); };
    if (ReturnCode rc = read_expansion_records(in, chosen, pass_over)) return rc;
    const int64_t nobs = std::max(in.header->nobs, 0);
    // The load proper tells what is wrong with the file.
    if (skip_bytes(in.source, uint64_t(nobs) * uint64_t(in.row_bytes))) {
        if (ReturnCode rc = stage_value_labels(in, chosen, false, labels)) return rc;
    }
    return go_back(in.source, left) ? 0 : in.cut();
}

// The file is damaged, which is found before the line is read to its end: the data go as they do in
// every load that fails behind the header, unless the user had to say that they may.
ReturnCode fail_early(const UseLine& line, ReturnCode rc) {
    if (!dataset.changed || line.may_replace) clear_dataset();
    return rc;
}

// Qualifiers and options, the chosen variables being those of the dataset.
ReturnCode parse_view(const DtaReader& in, const UseLine& line, const DtaVariables& chosen) {
    DtaRecords labels;
    if (line_names_labels()) {
        if (ReturnCode rc = read_labels_ahead(in, chosen, &labels)) return fail_early(line, rc);
    }
    const ValueLabelView label_view(&labels);
    const DatasetView view(chosen, *in.header);
    permit_tail(line.form != UseForm::Name, true);
    return parse_tail();
}

ReturnCode use_part(const UseLine& line, const std::string& name) {
    if (by_state.active) return ReportError(190);
    ByteSource source;
    if (ReturnCode rc = open_dta(name, &source)) return rc;
    DtaHeader header;
    if (ReturnCode rc = read_dta_header(&source, name, &header)) return rc;
    DtaVariables file;
    if (ReturnCode rc = read_dta_variables(&source, name, header, &file)) {
        return fail_early(line, rc);
    }
    // What is wrong in the line itself leaves the data in memory.
    DtaSelection selection;
    if (ReturnCode rc = choose(line.form, header, file, &selection)) return rc;
    const DtaVariables chosen = choose_variables(file, selection.vars);
    const DtaReader in{&source, name, &header, file.width};
    if (ReturnCode rc = parse_view(in, line, chosen)) return rc;
    UseOptions options;
    if (ReturnCode rc = take_options(&options)) return rc;

    selection.has_condition = skeleton.if_given;
    if (skeleton.in_given) {
        selection.first = skeleton.first;
        selection.last = skeleton.last;
    }
    return load_dta_body(&source, name, header, file, &selection, options.load);
}

}  // namespace

// use filename [if] [in] [, clear nolabel]
// use [varlist] [if] [in] using filename [, clear nolabel]
ReturnCode CmdUse(int) {
    UseLine line;
    if (ReturnCode rc = look_at_line(&line)) return rc;
    if (line.form == UseForm::Name) {
        char name[kMaxFileNameBytes + 1];
        if (ReturnCode rc = ParseFileName(name)) return rc;
        line.file = name;
    }
    const std::string name = WithExtension(line.file, ".dta");
    if (line.form == UseForm::Varlist || line.has_qualifier) {
        if (line.file.empty()) return ReportRequired("using");
        return use_part(line, name);
    }
    permit_tail(line.form == UseForm::Using, false);
    if (ReturnCode rc = parse_tail()) return rc;
    UseOptions options;
    if (ReturnCode rc = take_options(&options)) return rc;
    return use_file(name, options.load);
}

}  // namespace korva

// data/use.cpp - use: a dataset file takes the place of the data in memory.
//
// The file's name comes with `using` or without it, so the parts are told apart by a look ahead
// before anything is parsed: a variable list, if and in apply to the file's variables and not to
// those in memory, and must not reach the parser that knows only these.
#include <string>

#include "core/commands.h"
#include "core/file_path.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "data/dataset.h"
#include "data/dta_read.h"
#include "data/skeleton.h"

namespace korva {

namespace {

enum class UseForm : uint8_t {
    Name,    // use file ...
    Using,   // use using file ...
    Subset,  // use ... using file: what stands in front chooses variables or observations
};

UseForm look_at_form() {
    const ScannerGuard guard;
    NextToken(FileSeparators);
    if (TokenIs("using")) return UseForm::Using;
    if (TokenIs("if") || TokenIs("in")) return UseForm::Subset;
    while (!TokenIsEmpty() && !TokenIs(",")) {
        NextToken(FileSeparators);
        if (TokenIs("using")) return UseForm::Subset;
    }
    return UseForm::Name;
}

// True if a qualifier stands behind the file's name.
bool qualifier_follows() {
    const ScannerGuard guard;
    NextToken();
    return TokenIs("if") || TokenIs("in");
}

ReturnCode subset_not_available() {
    out_error("use with a subset is not available yet\n");
    return 199;
}

// What may stand behind the file's name is the options.
ReturnCode parse_rest() {
    skeleton.permit.varlist = kForbidden;
    skeleton.permit.by_allowed = false;
    skeleton.permit.if_exp = kForbidden;
    skeleton.permit.in_range = kForbidden;
    return parse_tail();
}

}  // namespace

// use [using] filename [, clear nolabel]
ReturnCode CmdUse(int) {
    const UseForm form = look_at_form();
    if (form == UseForm::Subset) return subset_not_available();
    if (form == UseForm::Using) NextToken(FileSeparators);
    char name[kMaxFileNameBytes + 1];
    if (ReturnCode rc = ParseFileName(name)) return rc;
    if (qualifier_follows()) return subset_not_available();
    if (ReturnCode rc = parse_rest()) return rc;

    const bool clear = option_present("clear", 5, false);
    const bool replace = option_present("replace", 7, false);
    DtaOptions options;
    options.value_labels = option_present("label", 1, true);
    if (ReturnCode rc = options_done()) return rc;

    if (dataset.changed && !clear && !replace) return ReportError(4);
    return use_file(WithExtension(name, ".dta"), options);
}

}  // namespace korva

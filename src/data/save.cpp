// data/save.cpp - save: the data in memory go to a dataset file.
//
// All that can be wrong with the data is found before the file is begun. A failure leaves the old
// file, the data and what is known of their file as they were.
#include <sys/stat.h>

#include <cstring>
#include <string>

#include "core/commands.h"
#include "core/file_path.h"
#include "core/macro.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/store.h"
#include "data/dataset.h"
#include "data/dta_write.h"
#include "data/labels.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr size_t kLongestLastName = 498;  // of S_FN, which save without a name goes back to
constexpr int kOldLabelBytes = 80;        // of a value label in an old file

struct SaveOptions {
    bool replace = false;
    bool emptyok = false;
    bool old = false;
    bool midrange = false;
    DtaWriteOptions write;
};

ReturnCode parse_save(std::string* name, SaveOptions* options) {
    const char next = PeekChar();
    if (next != 0 && next != ',') {
        char typed[kMaxFileNameBytes + 1];
        if (ReturnCode rc = ParseFileName(typed)) return rc;
        *name = WithExtension(typed, ".dta");
    }
    skeleton.permit.varlist = kForbidden;
    skeleton.permit.by_allowed = false;
    skeleton.permit.if_exp = kForbidden;
    skeleton.permit.in_range = kForbidden;
    if (ReturnCode rc = parse_tail()) return rc;
    options->replace = option_present("replace", 7, false);
    options->write.value_labels = option_present("label", 1, true);
    options->write.orphans = option_present("orphans", 1, false);
    options->old = option_present("oldformat", 9, false);
    options->midrange = option_present("midrange", 8, false);
    options->write.all = option_present("all", 3, false);
    options->emptyok = option_present("emptyok", 7, false);
    if (options->old) options->write.format = options->midrange ? 110 : 111;
    if (ReturnCode rc = options_done()) return rc;
    if (!name->empty()) return 0;
    *name = MacroValue("S_FN");
    return name->empty() || name->size() > kLongestLastName ? ReportError(7197) : 0;
}

ReturnCode check_strings(const SaveOptions& options) {
    if (!options.midrange) return 0;
    const int longest = options.old ? kLetterStringMost : kMaxStrType;
    for (int var = 1; var <= dataset.nvar; var++) {
        const StorageType type = dataset.types[var - 1];
        if (!type_is_string(type) || type <= longest) continue;
        out_errorf("data contains strings longer than %d characters\n", longest);
        return 459;
    }
    return 0;
}

// Every table, since a label may be attached at any time.
ReturnCode check_labels(const SaveOptions& options) {
    if (!options.old || !options.write.value_labels) return 0;
    bool any = false;
    for (StoreRecord* record = StoreNext(kKindValueLabel, nullptr); record != nullptr;
         record = StoreNext(kKindValueLabel, record)) {
        if (longest_value_label({record->name, record->name_bytes}) <= kOldLabelBytes) continue;
        out_errorf("value label %s contains labels longer than %d characters\n", record->name,
                   kOldLabelBytes);
        any = true;
    }
    if (!any) return 0;
    LevelGuard level(kLevelError);
    out_tmrk("{p}\nRemember that datasets saved with {help saveold} cannot contain strings longer"
             " than 80 characters.\nShorten the labels, or specify option {cmd:nolabel} to leave"
             " all value labels out.\n{p_end}\n");
    return 459;
}

ReturnCode check_data(const SaveOptions& options) {
    const int hidden = !options.write.all && find_variable_exact(kEstimationSample) ? 1 : 0;
    if (dataset.nvar == hidden && !options.emptyok) {
        out_error("no variables defined\n");
        return 111;
    }
    if (ReturnCode rc = check_strings(options)) return rc;
    return check_labels(options);
}

bool something_stands_at(const std::string& path) {
    struct stat facts;
    return lstat(path.c_str(), &facts) == 0;
}

ReturnCode note_saved(const std::string& name, const char* time_stamp) {
    dataset.changed = 0;
    snprintf(dataset.filename, sizeof dataset.filename, "%s", name.c_str());
    if (ReturnCode rc = SetMacro("S_FN", name)) return rc;
    return SetMacro("S_FNDATE", time_stamp);
}

}  // namespace

// save [filename] [, replace nolabel orphans oldformat midrange all emptyok]
ReturnCode CmdSave(int) {
    std::string name;
    SaveOptions options;
    if (ReturnCode rc = parse_save(&name, &options)) return rc;
    std::string path;
    if (ReturnCode rc = LocalPath(name, &path)) return rc;
    if (ReturnCode rc = check_data(options)) return rc;
    if (!options.replace && something_stands_at(path)) return ReportFileError(602, name);
    if (dataset.nobs == 0) {
        LevelGuard level(kLevelText);
        out_text("(note: dataset contains 0 observations)\n");
    }

    char time_stamp[kTimeStampBytes];
    make_time_stamp(time_stamp);
    if (ReturnCode rc = save_dta(path, options.write, time_stamp)) return rc;
    // Meant: what was saved in an old format is not the data in memory, with their missing values,
    // so these go. saveold preserves them.
    if (options.old) {
        clear_dataset();
    } else if (ReturnCode rc = note_saved(name, time_stamp)) {
        return rc;
    }
    return ReportFileError(697, name);
}

}  // namespace korva

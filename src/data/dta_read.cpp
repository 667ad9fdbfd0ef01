// data/dta_read.cpp - a dataset file takes the place of the dataset.
//
// Once the header is known to be good the data in memory go, and whatever fails from there leaves
// the dataset clear: there is never a part of a file in it. The file is looked through before its
// rows are read: the lists, the expansion records, whether the rows are there, the value labels. So
// damage is told at once and not behind millions of rows.
#include "data/dta_read.h"

#include "core/file_path.h"
#include "core/macro.h"
#include "core/print.h"
#include "data/cells.h"
#include "data/dta_file.h"
#include "data/dta_rows.h"

namespace korva {

namespace {

// Rows of a dataset without variables take no bytes of the file, so its size cannot vouch for them;
// their slots are 8 bytes each.
constexpr int32_t kMaxEmptyRows = 4'000'000;

// What the file holds besides its rows.
struct FileContents {
    uint64_t rows_left = 0;  // bytes of the source that are left where the rows begin
    DtaRecords records;
};

// Makes the partition wide enough, with a little to spare where the limit allows it.
ReturnCode make_width(int32_t width) {
    if (width <= dataset.lrecl) return 0;
    const int32_t wanted = std::min(width + 2, dataset.maxlrecl);
    if (ReturnCode rc = grow_width(wanted - dataset.lrecl)) return report_no_room(rc);
    return width <= dataset.lrecl ? 0 : report_no_room(902);
}

// The variable table becomes that of the file. There are no observations yet.
ReturnCode put_variables(const DtaVariables& variables) {
    if (ReturnCode rc = make_width(variables.width)) return rc;
    if (variables.nvar > dataset.mvar) return report_no_room(900);
    const size_t n = size_t(variables.nvar);
    memcpy(dataset.types, variables.types.get(), n * sizeof(StorageType));
    memcpy(dataset.offsets, variables.offsets.get(), n * sizeof(uint32_t));
    memcpy(dataset.names, variables.names.get(), n * sizeof(NameText));
    memcpy(dataset.formats, variables.formats.get(), n * sizeof(FormatText));
    memcpy(dataset.label_names, variables.label_names.get(), n * sizeof(NameText));
    memcpy(dataset.sortlist, variables.sortlist.data(),
           variables.sortlist.size() * sizeof(uint16_t));
    dataset.nvar = variables.nvar;
    for (int var = 1; var <= variables.nvar; var++) {
        if (std::string_view(variables.names[var - 1]).starts_with("__"))
            dataset.has_temporaries = true;
    }
    return 0;
}

void put_data_label(const DtaHeader& header, bool quiet) {
    snprintf(dataset.label, sizeof dataset.label, "%s", header.label);
    if (quiet || !dataset.label[0]) return;
    const LevelGuard level(kLevelText);
    out_textf("(%s)\n", dataset.label);
}

// Observations that the load makes room for at once.
int64_t wanted_rows(const DtaHeader& header, const DtaSelection* selection) {
    if (!selection) return header.nobs;
    if (selection->has_condition) return 0;
    const int64_t last = std::min(selection->last, header.nobs);
    return std::max<int64_t>(last - selection->first + 1, 0);
}

// Looks through the file up to its end and back to the rows.
ReturnCode look_through(const DtaReader& in, const DtaVariables& file, const DtaVariables& kept,
                        bool only_used, const DtaOptions& options, FileContents* contents) {
    if (ReturnCode rc = stage_variable_labels(kept, &contents->records)) return rc;
    if (ReturnCode rc = stage_expansion_records(in, file, kept, &contents->records)) return rc;
    const int64_t nobs = in.header->nobs;
    if (nobs < 0) return in.corrupt();
    if (file.width == 0 && nobs > kMaxEmptyRows && !options.own) return in.corrupt();
    const uint64_t row_bytes = uint64_t(nobs) * uint64_t(file.width);
    if (row_bytes > in.source->left) return in.cut();
    contents->rows_left = in.source->left;
    if (options.value_labels) {
        if (!skip_bytes(in.source, row_bytes)) return in.cut();
        if (ReturnCode rc = stage_value_labels(in, kept, only_used, &contents->records)) return rc;
        if (!go_back(in.source, contents->rows_left)) return in.cut();
    }
    return 0;
}

ReturnCode remember_file(std::string_view name, const char* time_stamp) {
    if (ReturnCode rc = SetMacro("S_FN", name)) return rc;
    if (ReturnCode rc = SetMacro("S_FNDATE", time_stamp)) return rc;
    snprintf(dataset.filename, sizeof dataset.filename, "%.*s", int(name.size()), name.data());
    dataset.changed = 0;
    return 0;
}

// The cleared dataset becomes the file's.
ReturnCode fill_dataset(const DtaReader& in, const DtaVariables& file, const DtaVariables& kept,
                        const DtaSelection* selection, const DtaOptions& options,
                        FileContents* contents) {
    if (ReturnCode rc = put_variables(kept)) return rc;
    install_records(&contents->records);
    put_data_label(*in.header, options.quiet);
    const int64_t rows = wanted_rows(*in.header, selection) + (options.own ? 0 : 1);
    if (ReturnCode rc = grow_obs(rows - dataset.mobs)) return report_no_room(rc);
    if (rows > dataset.mobs) return report_no_room(901);
    std::vector<bool> had_old_missing(size_t(kept.nvar), false);
    if (ReturnCode rc = read_dta_rows(in, file, kept, selection, &had_old_missing)) return rc;
    if (options.value_labels) print_tables_left_out(contents->records);
    if (!options.quiet) print_renamed(kept);
    drop_old_sort(had_old_missing);
    if (in.header->format->old_missing) {
        if (ReturnCode rc = upgrade_old_types()) return rc;
    }
    return remember_file(in.name, in.header->time_stamp);
}

}  // namespace

ReturnCode load_dta_body(ByteSource* source, std::string_view name, const DtaHeader& header,
                         const DtaVariables& variables, const DtaSelection* selection,
                         const DtaOptions& options) {
    clear_dataset();
    const DtaReader in{source, name, &header, variables.width};
    DtaVariables chosen;
    if (selection) chosen = choose_variables(variables, selection->vars);
    const DtaVariables& kept = selection ? chosen : variables;
    FileContents contents;
    ReturnCode rc = look_through(in, variables, kept, selection != nullptr, options, &contents);
    if (rc == 0) rc = fill_dataset(in, variables, kept, selection, options, &contents);
    if (rc) clear_dataset();
    return rc;
}

ReturnCode load_dta(ByteSource* source, std::string_view name, const DtaOptions& options) {
    DtaHeader header;
    if (ReturnCode rc = read_dta_header(source, name, &header)) return rc;
    clear_dataset();
    DtaVariables variables;
    if (ReturnCode rc = read_dta_variables(source, name, header, &variables)) return rc;
    return load_dta_body(source, name, header, variables, nullptr, options);
}

ReturnCode open_dta(const std::string& name, ByteSource* source) {
    std::string path;
    if (ReturnCode rc = LocalPath(name, &path)) return rc;
    const ReturnCode rc = open_source(source, path);
    return rc ? ReportFileError(rc, name) : 0;
}

ReturnCode use_file(const std::string& name, const DtaOptions& options) {
    ByteSource source;
    if (ReturnCode rc = open_dta(name, &source)) return rc;
    return load_dta(&source, name, options);
}

}  // namespace korva

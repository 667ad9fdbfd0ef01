// data/describe.cpp - _describe: what the dataset in memory, or one in a file, consists of.
//
// A file's variable table stands in for the dataset's while it is shown; what lies in the store for
// the dataset, labels and notes, comes from a DescribedFile instead.
//
// The label column of the heading is the column at which all labels begin: the data label and the
// file's date above, the variable labels below. The layout is made for 79 columns. On other lines
// the labels take what is there and break at blanks; on one too narrow for that column they have
// lines of their own.
#include <algorithm>
#include <cstring>
#include <string>
#include <unordered_set>

#include "core/commands.h"
#include "core/file_path.h"
#include "core/macro.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/stored_results.h"
#include "core/words.h"
#include "data/dataset.h"
#include "data/dta_file.h"
#include "data/dta_read.h"
#include "data/labels.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr int kLayoutColumns = 79;  // at this width labels are cut without regard to blanks
constexpr int kWidestRule = 128;    // what the longest label takes
constexpr int kLeastPiece = 24;     // a label column narrower than this is not worth having
constexpr int kCountColumns = 14;   // of the counts at the top
constexpr int kMaxColumns = 13;     // of the limits beside them
constexpr int kGap = 2;
constexpr int kTypeColumn = 16;   // columns in front of the storage type
constexpr int kNoteColumn = 44;   // columns in front of the `*`
constexpr int kLabelColumn = 46;  // columns in front of a label
constexpr int kLabelIndent = 48;  // columns in front of what continues it
constexpr int kNarrowNote = 14;   // the same on a narrow line
constexpr int kNarrowLabel = 16;
constexpr int kNarrowIndent = 18;
constexpr int kNarrowText = 6;  // columns in front of what follows a count on a narrow line
constexpr int kNameColumns = 15;
constexpr int kNumberedNameColumns = 8;
constexpr int kLongLabelName = 9;  // a value label's name from here on has its line alone
constexpr int kRowOverhead = 8;    // bytes beside the row itself: two observation tables

struct DescribeOptions {
    bool brief = false;  // `short`
    bool detail = false;
    bool all = false;
    bool numbers = false;
    bool fullnames = false;
    bool varlist = false;  // of a file: its names are returned
};

// A file that is described in place of the dataset.
struct DescribedFile {
    std::string name;
    DtaHeader header;
    DtaVariables variables;
    std::unordered_set<std::string> noted;  // owners that have notes
};

// What is described; null file: the dataset.
struct Subject {
    const DescribedFile* file = nullptr;

    bool has_notes(std::string_view owner) const {
        return file ? file->noted.contains(std::string(owner))
                    : !characteristic(owner, "note0").empty();
    }
    std::string label(int32_t var) const {
        return file ? std::string(file->variables.labels[var - 1]) : variable_label(var);
    }
    std::string_view date() const {
        return file ? std::string_view(file->header.time_stamp) : MacroValue("S_FNDATE");
    }
};

// The counts, the hidden variable taken off unless all are asked for.
struct Shape {
    int64_t nobs, nvar, width;
    int64_t nobs_max, nvar_max, width_max;
};

ReturnCode parse_describe(DescribeOptions* options) {
    skeleton.permit.if_exp = kForbidden;
    skeleton.permit.in_range = kForbidden;
    skeleton.permit.by_allowed = false;
    if (ReturnCode rc = parse_skeleton()) return rc;
    options->brief = option_present("short", 1, false);
    options->detail = option_present("detail", 1, false);
    // The file's date is always shown; programs that ask for it are not refused.
    option_present("date", 2, false);
    options->all = option_present("all", 3, false);
    options->numbers = option_present("numbers", 7, false);
    options->fullnames = option_present("fullnames", 9, false);
    if (ReturnCode rc = options_done()) return rc;
    if (options->numbers && options->fullnames) {
        out_error("options numbers and fullnames may not be combined\n");
        return 198;
    }
    return 0;
}

Shape measure(bool all) {
    Shape shape;
    const int hidden = !all && find_variable_exact(kEstimationSample) ? 1 : 0;
    shape.nobs = dataset.nobs;
    shape.nvar = dataset.nvar - hidden;
    shape.width = used_width() - hidden;
    if (session.version < 500) {
        shape.nobs_max = dataset.mobs - 1;
        shape.nvar_max = dataset.mvar - 1;
        shape.width_max = dataset.lrecl;
        return shape;
    }
    shape.width_max = largest_width();
    shape.nvar_max = std::min<int64_t>(dataset.maxmaxvar, shape.width_max);
    shape.nobs_max = std::max<int64_t>(largest_obs() - 1, dataset.nobs);
    return shape;
}

// Where labels stand on a line of the present size.
struct Layout {
    int width = ResultsWidth();
    bool narrow = width < kLabelIndent + kLeastPiece;
    int note = narrow ? kNarrowNote : kNoteColumn;
    int label = narrow ? kNarrowLabel : kLabelColumn;
    int indent = narrow ? kNarrowIndent : kLabelIndent;
};

size_t piece_of(std::string_view text, const Layout& layout, int columns) {
    if (layout.width == kLayoutColumns) return std::min(text.size(), size_t(columns));
    return PieceLength(text, size_t(columns));
}

// The text in pieces; the first stands where the line is, the others behind `indent` columns. One
// of at most `whole` columns is not cut.
void print_pieces(std::string_view text, const Layout& layout, int indent, int whole) {
    const int columns = layout.width - indent;
    if (int(text.size()) <= std::max(columns, whole)) {
        out_result(text);
        out_newline();
        return;
    }
    for (bool first = true; !text.empty(); first = false) {
        if (!first) out_spaces(indent);
        const size_t n = piece_of(text, layout, columns);
        const std::string_view piece = text.substr(0, n);
        const bool at_blank = layout.width != kLayoutColumns && piece.ends_with(' ');
        out_result(at_blank ? piece.substr(0, n - 1) : piece);
        out_newline();
        text.remove_prefix(n);
    }
}

// --- the counts ---

// A count with its limit, and the text in the label column.
void print_count(const char* word, int64_t count, int64_t limit, bool detail,
                 std::string_view text) {
    out_text(word);
    out_result(WithCommas(count, kCountColumns));
    int column = int(std::strlen(word)) + kCountColumns;
    if (detail) {
        out_text(" (max=");
        out_result(WithCommas(limit, kMaxColumns));
        out_text(")");
        column += 6 + kMaxColumns + 1;
    }
    const Layout layout;
    if (text.empty()) {
        out_newline();
    } else if (!layout.narrow) {
        out_spaces(layout.label - column);
        print_pieces(text, layout, layout.indent, layout.width - layout.label - 1);
    } else if (column + kGap + int(text.size()) <= layout.width) {
        out_spaces(kGap);
        print_pieces(text, layout, 0, 0);
    } else {
        out_newline();
        out_spaces(kNarrowText);
        print_pieces(text, layout, kNarrowText + kGap, 0);
    }
}

// Appends to a line of `*column` columns, or to the next if it does not fit.
void print_fitting(std::string_view text, int* column) {
    if (*column + int(text.size()) > ResultsWidth()) {
        out_newline();
        out_spaces(kNarrowText);
        *column = kNarrowText;
        text = TrimBlanks(text);
    }
    out_text(text);
    *column += int(text.size());
}

double percent_free() {
    const double block = double(dataset.end - dataset.begin);
    const double data = (double(used_width()) + 4) * double(dataset.nobs);
    double percent = (block - double(dataset.M_dyn) - data) * 100 / double(settings.memory);
    if (dataset.nvar > 0 && dataset.nobs > 0) percent = std::min(percent, 99.9);
    return std::max(percent, 0.0);
}

void print_header(const Shape& shape, bool detail, const Subject& subject) {
    out_text("Contains data");
    if (dataset.filename[0]) {
        out_text(" from ");
        out_result(dataset.filename);
    }
    out_newline();

    print_count("  obs:", shape.nobs, shape.nobs_max, detail, dataset.label);
    print_count(" vars:", shape.nvar, shape.nvar_max, detail, subject.date());

    out_text(" size:");
    out_result(WithCommas((shape.width + kRowOverhead) * shape.nobs, kCountColumns));
    int column = int(std::strlen(" size:")) + kCountColumns;
    if (!detail) {
        char text[40];
        std::snprintf(text, sizeof text, " (%5.1f%% of memory free)", percent_free());
        print_fitting(text, &column);
    }
    if (subject.has_notes(kDatasetOwner)) print_fitting("  (_dta has notes)", &column);
    out_newline();
}

// --- the variables ---

void print_rule() {
    out_style();
    out_tmrkf("{hline %d}\n", std::min(ResultsWidth(), kWidestRule));
}

void print_heading(bool numbers) {
    out_text(numbers ? "    variable  " : "              ");
    out_text("storage  display     value\n");
    out_text(numbers ? "      name      " : "variable name   ");
    out_text("type   format      label");
    if (const Layout layout; layout.narrow) {
        out_newline();
        out_spaces(layout.label);
    } else {
        out_spaces(6);
    }
    out_text("variable label\n");
}

// The name and what leads to the type's column.
void print_name(int32_t var, const DescribeOptions& options) {
    const std::string_view name = dataset.names[var - 1];
    if (options.numbers) {
        out_textf("%5d. ", var);
        LevelGuard level(kLevelResult);
        out_textf("%-9s", abbreviate_name(name, kNumberedNameColumns).c_str());
        return;
    }
    const std::string shown = options.fullnames ? std::string(name)
                                                : abbreviate_name(name, kNameColumns);
    out_result(shown);
    const int columns = int(shown.size());
    if (columns > kNameColumns) {
        out_newline();
        out_spaces(kTypeColumn);
    } else {
        out_spaces(kTypeColumn - columns);
    }
}

// The value label's name, on a narrow line below if it does not fit.
void print_label_name(std::string_view name, const Layout& layout) {
    constexpr int kLabelNameColumn = kNoteColumn - kLongLabelName;
    if (kLabelNameColumn + int(name.size()) > layout.width) {
        out_newline();
        out_spaces(layout.label);
    }
    out_text(name);
}

// From behind the name to the note's column, which is on the next line if the name is long. A
// narrow line has it there anyway.
void lead_to_note(std::string_view name, const Layout& layout) {
    const int columns = int(name.size());
    if (!layout.narrow && columns < kLongLabelName) {
        out_spaces(kLongLabelName - columns);
        return;
    }
    out_newline();
    out_spaces(layout.note);
}

// Prints one variable; returns whether it has notes.
bool print_variable(int32_t var, const DescribeOptions& options, const Subject& subject) {
    const Layout layout;
    print_name(var, options);
    const char* label_name = dataset.label_names[var - 1];
    const bool has_notes = subject.has_notes(dataset.names[var - 1]);
    const std::string label = subject.label(var);
    const std::string type = type_name(dataset.types[var - 1]);
    const char* format = dataset.formats[var - 1];
    if (!has_notes && label.empty() && !*label_name) {
        out_textf("%-6s %s\n", type.c_str(), format);
        return false;
    }
    const bool padded = *label_name || !layout.narrow;
    out_textf(padded ? "%-6s %-11s " : "%-6s %s", type.c_str(), format);
    print_label_name(label_name, layout);
    if (!has_notes && label.empty()) {
        out_newline();
        return false;
    }
    lead_to_note(label_name, layout);
    if (label.empty()) {
        out_text("*\n");
        return true;
    }
    out_text(has_notes ? "*" : " ");
    out_spaces(layout.label - layout.note - 1);
    print_pieces(label, layout, layout.indent, 0);
    return has_notes;
}

ReturnCode print_variables(const DescribeOptions& options, const Subject& subject) {
    print_rule();
    print_heading(options.numbers);
    print_rule();
    bool any_notes = false;
    for (int32_t var : skeleton.varlist) {
        any_notes |= print_variable(var, options, subject);
        if (session.BreakFlag) return kBreak;
    }
    if (any_notes) {
        constexpr std::string_view kRemark = "* indicated variables have notes\n";
        const Layout layout;
        out_spaces(std::min(layout.note, std::max(layout.width - int(kRemark.size()), 0)));
        out_text(kRemark);
    }
    print_rule();
    return 0;
}

void print_sort_order() {
    constexpr std::string_view kHead = "Sorted by:  ";
    out_text(kHead);
    int column = int(kHead.size());
    for (int k = 0; dataset.sortlist[k] != 0; k++) {
        const std::string_view name = dataset.names[dataset.sortlist[k] - 1];
        if (k > 0 && column + 2 + int(name.size()) > ResultsWidth()) {
            out_newline();
            out_spaces(int(kHead.size()));
            column = int(kHead.size());
        } else if (k > 0) {
            out_spaces(2);
            column += 2;
        }
        out_result(name);
        column += int(name.size());
    }
    out_newline();
    if (!dataset.changed) return;
    constexpr std::string_view kNote = "     Note:  ";
    constexpr std::string_view kChanged = "dataset has changed since last saved";
    const size_t n = PieceLength(kChanged, size_t(ResultsWidth()) - kNote.size());
    out_text(kNote);
    out_text(TrimBlanks(kChanged.substr(0, n)));
    out_newline();
    if (n == kChanged.size()) return;
    out_spaces(int(kNote.size()));
    out_text(kChanged.substr(n));
    out_newline();
}

struct NamedCount {
    const char* name;
    int64_t value;
};

ReturnCode store_counts(std::span<const NamedCount> results) {
    ClearResults();
    for (const NamedCount& result : results) {
        if (ReturnCode rc = SetResultNumber(result.name, double(result.value))) return rc;
    }
    return 0;
}

ReturnCode store_results(const Shape& shape) {
    const NamedCount results[] = {
        {"N", shape.nobs},
        {"k", shape.nvar},
        {"width", shape.width},
        {"N_max", shape.nobs_max},
        {"k_max", shape.nvar_max},
        {"widthmax", shape.width_max},
        {"changed", dataset.changed ? 1 : 0},
    };
    return store_counts(results);
}

// --- a file ---

ReturnCode parse_using(std::string* name, DescribeOptions* options) {
    NextToken();  // using
    char typed[kMaxFileNameBytes + 1];
    if (ReturnCode rc = ParseFileName(typed)) return rc;
    *name = WithExtension(typed, ".dta");
    skeleton.permit.varlist = kForbidden;
    skeleton.permit.if_exp = kForbidden;
    skeleton.permit.in_range = kForbidden;
    skeleton.permit.by_allowed = false;
    if (ReturnCode rc = parse_tail()) return rc;
    options->brief = option_present("short", 1, false);
    options->detail = option_present("detail", 1, false);
    options->varlist = option_present("varlist", 7, false);
    option_present("date", 2, false);
    return options_done();
}

ReturnCode read_file(DescribedFile* file) {
    ByteSource source;
    if (ReturnCode rc = open_dta(file->name, &source)) return rc;
    if (ReturnCode rc = read_dta_header(&source, file->name, &file->header)) return rc;
    if (ReturnCode rc = read_dta_variables(&source, file->name, file->header, &file->variables)) {
        return rc;
    }
    const DtaReader in{&source, file->name, &file->header, file->variables.width};
    if (file->header.nobs < 0) return in.corrupt();
    return read_expansion_records(
        in, file->variables,
        [file](std::string_view owner, std::string_view name, std::string_view text) -> ReturnCode {
            if (name == "note0" && !text.empty()) file->noted.emplace(owner);
            return 0;
        });
}

void append_name(std::string* list, int32_t var) {
    if (!list->empty()) *list += ' ';
    *list += dataset.names[var - 1];
}

ReturnCode store_names(const std::vector<int32_t>& vars) {
    std::string names, keys;
    for (int32_t var : vars) append_name(&names, var);
    for (const uint16_t* key = dataset.sortlist; *key; key++) append_name(&keys, *key);
    if (ReturnCode rc = SetResultText("varlist", names)) return rc;
    return SetResultText("sortlist", keys);
}

// _describe using filename [, short detail varlist date]
ReturnCode describe_using() {
    DescribedFile file;
    DescribeOptions options;
    if (ReturnCode rc = parse_using(&file.name, &options)) return rc;
    if (ReturnCode rc = read_file(&file)) return rc;
    const Subject subject{&file};
    const DatasetView view(file.variables, file.header);
    snprintf(dataset.filename, sizeof dataset.filename, "%s", file.name.c_str());
    skeleton.varlist.clear();
    varlist_or_all();
    const Shape shape = measure(false);

    LevelGuard level(kLevelText);
    out_newline();
    print_header(shape, options.detail, subject);
    if (!options.brief) {
        if (ReturnCode rc = print_variables(options, subject)) return rc;
    }
    print_sort_order();
    const NamedCount counts[] = {{"N", shape.nobs}, {"k", shape.nvar}, {"width", shape.width}};
    if (ReturnCode rc = store_counts(counts)) return rc;
    return options.varlist ? store_names(skeleton.varlist) : 0;
}

bool using_is_next() {
    const ScannerGuard guard;
    NextToken();
    return TokenIs("using");
}

}  // namespace

// _describe [varlist] [, short detail date all numbers fullnames]
// _describe using filename [, short detail varlist date]
ReturnCode Cmd_describe(int) {
    if (using_is_next()) return describe_using();
    DescribeOptions options;
    if (ReturnCode rc = parse_describe(&options)) return rc;
    const bool some = skeleton.varlist_given && !skeleton.all_given;
    if (!some) {
        skeleton.varlist.clear();
        varlist_or_all();
        const int32_t sample = options.all ? find_variable_exact(kEstimationSample) : 0;
        if (sample) {
            std::vector<int32_t>& list = skeleton.varlist;
            list.insert(std::lower_bound(list.begin(), list.end(), sample), sample);
        }
    }
    const Shape shape = measure(options.all);

    LevelGuard level(kLevelText);
    out_newline();
    // A list asks about its variables; the dataset as a whole is told without one.
    if (!some) print_header(shape, options.detail, Subject{});
    if (some || !options.brief) {
        if (ReturnCode rc = print_variables(options, Subject{})) return rc;
    }
    if (!some) print_sort_order();
    return store_results(shape);
}

}  // namespace korva

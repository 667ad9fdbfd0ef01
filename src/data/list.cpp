// data/list.cpp - list: the observations as rows, the variables as columns.
//
// Two passes: the first finds how wide each column must be, the second prints. The first looks at
// every value of short lists; of long ones it looks at all strings, whose length is there to see,
// and at the first kMeasured observations of the numbers, which otherwise get what the display
// format and the label table allow at most, so that the first line does not wait for the last
// number to be formatted.
#include "data/list.h"

#include <algorithm>
#include <cstring>

#include "core/alloc.h"
#include "core/commands.h"
#include "core/missing.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "core/words.h"
#include "data/cells.h"
#include "data/labels.h"

namespace korva {

namespace {

constexpr int32_t kMeasured = 10000;  // observations whose numbers are all looked at
constexpr int32_t kLeastName = 5;     // the least that a name can be abbreviated to

// --- values ---

// A text that is over the limit ends in two points.
std::string_view limited(Listing* listing, std::string_view text) {
    const size_t limit = size_t(listing->options.text_limit);
    if (limit == 0 || text.size() <= limit) return text;
    if (limit < 3) return text.substr(0, limit);
    listing->cut_text.assign(text.substr(0, limit - 2));
    listing->cut_text += "..";
    return listing->cut_text;
}

// The number at the observation, through the element's operator.
double cell_number(const ListColumn& column, int32_t obs) {
    return varlist_operator(column.element) ? varlist_value(column.element, obs)
                                            : get(column.var, obs);
}

// What the cell shows, without padding; valid until the next call.
std::string_view cell_display(Listing* listing, const ListColumn& column, int32_t obs) {
    if (column.is_string) return limited(listing, cell_text(column.var, obs));
    const double x = cell_number(column, obs);
    if (column.label_table) {
        if (const char* label = find_value_label(column.label_table, x)) {
            return limited(listing, label);
        }
    }
    format_number(&listing->number, column.format, x);
    return TrimBlanks({listing->number.text, size_t(listing->number.length)});
}

// --- Mean, Sum and N ---

struct Total {
    long double sum = 0;
    int64_t n = 0;
};

ReturnCode add_up(const Listing& listing, std::vector<Total>* totals) {
    for (int32_t obs = skeleton.first; obs <= skeleton.last; obs++) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        if (!is_marked(listing, obs)) continue;
        for (size_t k = 0; k < totals->size(); k++) {
            const double x = cell_number(listing.columns[k], obs);
            if (is_missing(x)) continue;
            (*totals)[k].sum += x;
            (*totals)[k].n++;
        }
    }
    return 0;
}

bool contains(const std::vector<int32_t>& list, int32_t var) {
    return std::find(list.begin(), list.end(), var) != list.end();
}

std::string total_text(const ListColumn& column, SummaryKind kind, const Total& total) {
    if (kind == kCount) return std::to_string(total.n);
    long double x = total.sum;
    if (kind == kMean) x = total.n > 0 ? x / total.n : static_cast<long double>(kSysMissing);
    const double shown = x < -kSysMissing ? kSysMissing
                                          : double(std::min<long double>(x, kSysMissing));
    NumberText text;
    format_number(&text, column.format, shown);
    return std::string(TrimBlanks(text.text));
}

ReturnCode summarize_columns(Listing* listing) {
    const ListOptions& options = listing->options;
    if (std::find(options.summary.begin(), options.summary.end(), true) == options.summary.end()) {
        return 0;
    }
    std::vector<Total> totals(listing->columns.size());
    if (ReturnCode rc = add_up(*listing, &totals)) return rc;
    for (const SummaryKind kind : {kMean, kSum, kCount}) {
        if (!options.summary[kind]) continue;
        const std::vector<int32_t>& of = options.summary_of[kind];
        SummaryLine& line = listing->summary.emplace_back();
        line.kind = kind;
        for (size_t k = 0; k < totals.size(); k++) {
            const ListColumn& column = listing->columns[k];
            std::string& text = line.texts.emplace_back();
            if (column.var == options.name_var) {
                text = kSummaryNames[kind];
            } else if (!column.is_string && (of.empty() || contains(of, column.var))) {
                text = total_text(column, kind, totals[k]);
            }
        }
    }
    return 0;
}

// --- widths ---

// The most columns that a value of the column can take.
int bound_of(const Listing& listing, const ListColumn& column) {
    const int number = column.format.width;
    const int limit = listing.options.text_limit;
    int text = column.is_string ? dataset.types[column.var - 1] : 0;
    if (column.label_table) text = int(longest_value_label(column.label_table));
    if (limit > 0) text = std::min(text, limit);
    return column.is_string ? text : std::max(number, text);
}

ReturnCode measure_values(Listing* listing) {
    int32_t looked_at = 0;
    for (int32_t obs = skeleton.first; obs <= skeleton.last; obs++) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        if (!is_marked(*listing, obs)) continue;
        const bool strings_only = ++looked_at > kMeasured;
        for (ListColumn& column : listing->columns) {
            if (strings_only && !column.is_string) continue;
            column.width = std::max(column.width, int(cell_display(listing, column, obs).size()));
        }
    }
    return 0;
}

std::string heading_of(const ListOptions& options, const ListColumn& column) {
    const std::string name = varlist_name(column.element);
    if (options.heading_from_characteristic) {
        const std::string_view own = characteristic(name, "varname");
        if (!own.empty()) return std::string(own.substr(0, kMaxNameBytes));
    }
    return abbreviate_name(name, std::max(column.width, options.shortest_name));
}

ReturnCode find_widths(Listing* listing) {
    const bool measure = listing->options.measure;
    if (measure) {
        if (ReturnCode rc = measure_values(listing)) return rc;
    }
    for (size_t k = 0; k < listing->columns.size(); k++) {
        ListColumn& column = listing->columns[k];
        const bool bounded = !measure || (listing->rows > kMeasured && !column.is_string);
        if (bounded) column.width = std::max(column.width, bound_of(*listing, column));
        for (const SummaryLine& line : listing->summary) {
            column.width = std::max(column.width, int(line.texts[k].size()));
        }
        column.heading = heading_of(listing->options, column);
    }
    listing->number_width = int(std::to_string(skeleton.last).size()) + 1;
    for (const SummaryLine& line : listing->summary) {
        const int columns = listing->options.name_var ? 0 : int(strlen(kSummaryNames[line.kind]));
        listing->number_width = std::max(listing->number_width, columns);
    }
    if (!listing->options.observation_numbers) listing->number_width = 0;
    return 0;
}

// --- the sample ---

// Counts the observations and, under a condition, marks them, so that it is evaluated once only.
ReturnCode mark_sample(Listing* listing) {
    listing->rows = std::max(skeleton.last - skeleton.first + 1, 0);
    if (!listing->marks) return 0;
    listing->rows = 0;
    for (int32_t obs = skeleton.first; obs <= skeleton.last;) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        const int n = std::min(skeleton.last - obs + 1, kBlockObs);
        listing->rows += sample_block(obs, n, listing->marks + (obs - skeleton.first));
        obs += n;
    }
    return 0;
}

// --- options ---

ReturnCode report_wrong(const char* option) {
    out_errorf("option %s incorrectly specified\n", option);
    return 198;
}

ReturnCode report_both(const char* one, const char* other) {
    out_errorf("options %s and %s may not be combined\n", one, other);
    return 198;
}

// An option with a whole number from least to most.
ReturnCode option_in_range(const char* name, int minimum, int32_t least, int32_t most,
                           int32_t* value) {
    bool given = false;
    if (ReturnCode rc = option_integer(name, minimum, value, &given)) return rc;
    return given && (*value < least || *value > most) ? report_wrong(name) : 0;
}

ReturnCode option_varlist(const char* name, int minimum, std::vector<int32_t>* list) {
    std::string text;
    if (!option_text(name, minimum, &text)) return 0;
    if (ReturnCode rc = varlist_from_text(text, list)) return rc;
    return list->empty() ? report_wrong(name) : 0;
}

// mean, sum and N, each alone or with a list of variables; labvar
ReturnCode parse_summary(ListOptions* options) {
    constexpr std::array<const char*, kSummaryKinds> kNames = {"mean", "sum", "N"};
    constexpr std::array<int, kSummaryKinds> kMinimums = {4, 3, 1};
    for (size_t i = 0; i < kSummaryKinds; i++) {
        std::vector<int32_t>* of = &options->summary_of[i];
        const bool alone = option_present(kNames[i], kMinimums[i], false);
        if (ReturnCode rc = option_varlist(kNames[i], kMinimums[i], of)) return rc;
        if (ReturnCode rc = require_numeric(*of)) return rc;
        options->summary[i] = alone || !of->empty();
    }
    std::vector<int32_t> name_var;
    if (ReturnCode rc = option_varlist("labvar", 6, &name_var)) return rc;
    if (name_var.size() > 1) return report_wrong("labvar");
    if (!name_var.empty()) options->name_var = name_var[0];
    return 0;
}

ReturnCode parse_numbers(ListOptions* options) {
    const int columns = ResultsWidth();
    options->line = columns;
    ReturnCode rc = option_in_range("separator", 3, 0, INT32_MAX, &options->separator);
    if (!rc)
        rc = option_in_range("abbreviate", 2, kLeastName, kMaxNameBytes, &options->shortest_name);
    if (!rc) rc = option_in_range("string", 3, 1, kMaxFormatWidth, &options->text_limit);
    if (!rc) rc = option_in_range("header", 1, 1, INT32_MAX, &options->header_every);
    if (!rc) rc = option_in_range("linesize", 5, 40, 255, &options->line);
    options->line = std::min(options->line, columns);
    return rc;
}

ReturnCode parse_list(int argument, ListOptions* options) {
    skeleton.permit.operators = kAllowed;
    if (ReturnCode rc = parse_skeleton()) return rc;
    options->measure = !option_present("fast", 4, argument != 0);
    options->clean = option_present("clean", 1, false);
    options->divider = option_present("divider", 3, false);
    options->header = option_present("header", 1, true);
    options->observation_numbers = option_present("obs", 1, true);
    options->labels = option_present("label", 1, true);
    options->heading_from_characteristic = option_present("subvarname", 4, false);
    const bool table = option_present("table", 1, false);
    const bool records = option_present("display", 1, false);
    if (table) options->form = ListForm::Table;
    if (records) options->form = ListForm::Records;
    if (ReturnCode rc = parse_numbers(options)) return rc;
    if (ReturnCode rc = option_varlist("sepby", 5, &options->separate_by)) return rc;
    if (ReturnCode rc = parse_summary(options)) return rc;
    if (ReturnCode rc = options_done()) return rc;
    if (table && records) return report_both("table", "display");
    if (options->clean && options->divider) return report_both("clean", "divider");
    if (options->separator >= 0 && !options->separate_by.empty()) {
        return report_both("separator", "sepby");
    }
    return 0;
}

ListColumn make_column(size_t element, const ListOptions& options) {
    const int32_t var = skeleton.varlist[element];
    ListColumn column;
    column.var = var;
    column.element = element;
    column.is_string = type_is_string(dataset.types[var - 1]);
    const char* format = dataset.formats[var - 1];
    if (format[1] == '-') column.align = ListAlign::Left;
    if (format[1] == '~') column.align = ListAlign::Centre;
    if (column.is_string) return column;
    // What shows no numbers counts as the general format.
    if (parse_format(format, &column.format) == 0) parse_format("%9.0g", &column.format);
    const char* table = dataset.label_names[var - 1];
    if (options.labels && table[0]) column.label_table = table;
    return column;
}

}  // namespace

std::string_view row_text(Listing* listing, const ListRow& row, size_t k) {
    if (row.summary) return row.summary->texts[k];
    return cell_display(listing, listing->columns[k], row.obs);
}

// list and flist [varlist] [if] [in] [, table display clean divider noheader header(#) noobs
// nolabel separator(#) sepby(varlist) abbreviate(#) string(#) linesize(#) subvarname fast
// mean[(varlist)] sum[(varlist)] N[(varlist)] labvar(varname)]
ReturnCode CmdList(int argument) {
    Listing listing;
    if (ReturnCode rc = parse_list(argument, &listing.options)) return rc;
    varlist_or_all();
    for (size_t i = 0; i < skeleton.varlist.size(); i++) {
        listing.columns.push_back(make_column(i, listing.options));
    }
    if (listing.columns.empty()) return 0;

    const int32_t range = std::max(skeleton.last - skeleton.first + 1, 0);
    EngineBlock marks(skeleton.if_given ? size_t(range) + 1 : 1);
    if (!marks.bytes) return ReportError(909);
    if (skeleton.if_given) listing.marks = static_cast<uint8_t*>(marks.bytes);
    if (ReturnCode rc = mark_sample(&listing)) return rc;
    if (listing.rows == 0) return 0;
    if (ReturnCode rc = summarize_columns(&listing)) return rc;
    if (ReturnCode rc = find_widths(&listing)) return rc;
    return print_listing(&listing);
}

}  // namespace korva

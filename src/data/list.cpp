// data/list.cpp - list: the observations as rows, the variables as columns.
//
// Two passes: the first finds how wide each column must be, the second prints. A list that is wider
// than the line is cut into blocks of columns that are printed one below the other. The first pass
// looks at every value of short lists; of long ones it looks at the first kMeasured observations
// and otherwise takes what the display format, the string width and the label table allow at most,
// so that the first line does not wait for the last observation.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "core/alloc.h"
#include "core/commands.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "data/cells.h"
#include "data/labels.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr int32_t kMeasured = 10000;  // observations whose values are all looked at
constexpr int kShortestName = 8;      // a heading is not abbreviated below this
constexpr int kGap = 2;               // blanks between two columns
constexpr int32_t kDefaultSeparator = 5;

struct ListOptions {
    bool clean = false;
    bool observation_numbers = true;
    bool labels = true;
    int32_t separator = kDefaultSeparator;  // rows between two rules; 0: none
    bool measure = true;                    // flist: columns as wide as the formats, no first pass
};

struct Column {
    int32_t var = 0;
    bool is_string = false;
    bool left = false;                  // left-justified: the format begins with %-
    const char* label_table = nullptr;  // null: numbers show as numbers
    int width = 0;                      // of the longest value
    std::string heading;
};

// Columns [first, last) of a block of the listing.
struct ColumnBlock {
    size_t first = 0, last = 0;
    int width = 0;  // with the gaps between them
};

struct Listing {
    ListOptions options;
    std::vector<Column> columns;
    int number_width = 0;      // of an observation number with its point
    int32_t rows = 0;          // observations in the sample
    uint8_t* marks = nullptr;  // of the range, from skeleton.first; null: all
};

bool is_marked(const Listing& listing, int32_t obs) {
    return !listing.marks || listing.marks[obs - skeleton.first];
}

// --- values ---

// Control bytes would move the cursor: each shows as a point.
void append_printable(std::string* line, std::string_view text) {
    for (char c : text) line->push_back(uint8_t(c) < ' ' || c == 127 ? '.' : c);
}

std::string_view trimmed(std::string_view text) {
    const size_t begin = text.find_first_not_of(' ');
    if (begin == text.npos) return {};
    return text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

// What the cell shows, without padding; valid until the next call.
std::string_view cell_display(const Column& column, int32_t obs) {
    if (column.is_string) return cell_text(column.var, obs);
    const double x = get(column.var, obs);
    if (column.label_table) {
        if (const char* label = find_value_label(column.label_table, x)) return label;
    }
    return trimmed(fmt_number(dataset.formats[column.var - 1], x));
}

// --- widths ---

// The most columns that a value can take.
int bound_of(const Column& column) {
    if (column.is_string) return dataset.types[column.var - 1];
    const int number = fmt_width(dataset.formats[column.var - 1]);
    return column.label_table ? std::max(number, int(longest_value_label(column.label_table)))
                              : number;
}

ReturnCode measure_values(Listing* listing) {
    int32_t looked_at = 0;
    for (int32_t obs = skeleton.first; obs <= skeleton.last && looked_at < kMeasured; obs++) {
        if (!is_marked(*listing, obs)) continue;
        looked_at++;
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        for (Column& column : listing->columns) {
            column.width = std::max(column.width, int(cell_display(column, obs).size()));
        }
    }
    return 0;
}

ReturnCode find_widths(Listing* listing) {
    if (ReturnCode rc = measure_values(listing)) return rc;
    const bool bounded = !listing->options.measure || listing->rows > kMeasured;
    for (Column& column : listing->columns) {
        if (bounded) column.width = std::max(column.width, bound_of(column));
        column.heading = abbreviate_name(dataset.names[column.var - 1],
                                         std::max(column.width, kShortestName));
        column.width = std::max(column.width, int(column.heading.size()));
    }
    return 0;
}

// As many columns as fit, one at least, from `first` on.
ColumnBlock fill_block(const Listing& listing, size_t first) {
    int room = ResultsWidth();
    // The number, a blank, the bar and a blank; or the number and a gap.
    if (listing.options.observation_numbers) {
        room -= listing.number_width + (listing.options.clean ? kGap : 3);
    }
    ColumnBlock block{first, first, 0};
    for (size_t k = first; k < listing.columns.size(); k++) {
        const int more = listing.columns[k].width + (k > first ? kGap : 0);
        if (k > first && block.width + more > room) break;
        block.width += more;
        block.last = k + 1;
    }
    block.width = std::min(block.width, room);
    return block;
}

// --- printing ---

void append_field(std::string* line, const Column& column, std::string_view text) {
    const int blanks = std::max(column.width - int(text.size()), 0);
    if (!column.left) line->append(size_t(blanks), ' ');
    append_printable(line, text);
    if (column.left) line->append(size_t(blanks), ' ');
}

void cut_trailing_blanks(std::string* line) {
    while (!line->empty() && line->back() == ' ') line->pop_back();
}

// What stands in front of the columns; `number` 0 in the heading.
void print_lead(const Listing& listing, int32_t number) {
    if (!listing.options.observation_numbers) return;
    LevelGuard level(kLevelText);
    char text[16] = "";
    if (number > 0) std::snprintf(text, sizeof text, "%d.", number);
    out_textf("%*s", listing.number_width, text);
    if (listing.options.clean) {
        out_spaces(kGap);
        return;
    }
    out_spaces(1);
    out_bar();
    out_spaces(1);
}

void print_rule(const Listing& listing, const ColumnBlock& block) {
    if (listing.options.clean) return;
    LevelGuard level(kLevelText);
    out_style();
    if (!listing.options.observation_numbers) {
        out_tmrkf("{hline %d}\n", std::min(block.width, 255));
        return;
    }
    out_tmrkf("{hline %d}{c +}{hline %d}\n", listing.number_width + 1,
              std::min(block.width + 1, 255));
}

void print_block_heading(const Listing& listing, const ColumnBlock& block) {
    print_lead(listing, 0);
    std::string line;
    for (size_t k = block.first; k < block.last; k++) {
        if (k > block.first) line.append(kGap, ' ');
        append_field(&line, listing.columns[k], listing.columns[k].heading);
    }
    cut_trailing_blanks(&line);
    LevelGuard level(kLevelText);
    out_text(line);
    out_newline();
}

ReturnCode print_block(const Listing& listing, const ColumnBlock& block) {
    print_block_heading(listing, block);
    print_rule(listing, block);
    std::string line;
    int32_t since_rule = 0;
    for (int32_t obs = skeleton.first; obs <= skeleton.last; obs++) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        if (!is_marked(listing, obs)) continue;
        if (listing.options.separator > 0 && since_rule == listing.options.separator) {
            print_rule(listing, block);
            since_rule = 0;
        }
        since_rule++;
        print_lead(listing, obs);
        line.clear();
        for (size_t k = block.first; k < block.last; k++) {
            if (k > block.first) line.append(kGap, ' ');
            append_field(&line, listing.columns[k], cell_display(listing.columns[k], obs));
        }
        cut_trailing_blanks(&line);
        out_text(line);
        if (ReturnCode rc = out_newline()) return rc;
    }
    return 0;
}

ReturnCode print_listing(const Listing& listing) {
    for (size_t next = 0; next < listing.columns.size();) {
        const ColumnBlock block = fill_block(listing, next);
        out_newline();
        if (ReturnCode rc = print_block(listing, block)) return rc;
        next = block.last;
    }
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

ReturnCode parse_list(int argument, ListOptions* options) {
    skeleton.permit.operators = kAllowed;
    if (ReturnCode rc = parse_skeleton()) return rc;
    options->measure = argument == 0;
    options->clean = option_present("clean", 1, false);
    options->observation_numbers = option_present("obs", 1, true);
    options->labels = option_present("label", 1, true);
    bool given = false;
    if (ReturnCode rc = option_integer("separator", 3, &options->separator, &given)) return rc;
    for (const char* name :
         {"table", "display", "abbreviate", "string", "subvarname", "mean", "sum", "N"}) {
        if (ReturnCode rc = option_not_available(name, name[0] == 'N' ? 1 : 3)) return rc;
    }
    if (ReturnCode rc = options_done()) return rc;
    if (options->separator < 0) {
        out_error("option separator incorrectly specified\n");
        return 198;
    }
    return 0;
}

}  // namespace

// list and flist [varlist] [if] [in] [, clean noobs nolabel separator(#)]
ReturnCode CmdList(int argument) {
    Listing listing;
    if (ReturnCode rc = parse_list(argument, &listing.options)) return rc;
    varlist_or_all();
    for (int32_t var : skeleton.varlist) {
        Column column;
        column.var = var;
        column.is_string = type_is_string(dataset.types[var - 1]);
        column.left = dataset.formats[var - 1][1] == '-';
        const char* table = dataset.label_names[var - 1];
        if (listing.options.labels && !column.is_string && table[0]) column.label_table = table;
        listing.columns.push_back(std::move(column));
    }

    const int32_t range = std::max(skeleton.last - skeleton.first + 1, 0);
    EngineBlock marks(skeleton.if_given ? size_t(range) + 1 : 1);
    if (!marks.bytes) return ReportError(909);
    if (skeleton.if_given) listing.marks = static_cast<uint8_t*>(marks.bytes);
    if (ReturnCode rc = mark_sample(&listing)) return rc;
    if (listing.rows == 0) return 0;
    listing.number_width = int(std::to_string(skeleton.last).size()) + 1;
    if (ReturnCode rc = find_widths(&listing)) return rc;
    return print_listing(listing);
}

}  // namespace korva

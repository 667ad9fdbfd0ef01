// data/list_print.cpp - the pages of a listing: blocks of columns, or a record each observation.
//
// A list that is wider than the line is cut into blocks of columns that are printed one below the
// other; one that would take too many blocks, or has a value wider than the line, shows each
// observation as a record of names and values instead.
//
// The frame is graphic mark-up. A value wider than its column goes on in the lines below, inside
// the frame.
#include <algorithm>
#include <string>
#include <vector>

#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "core/words.h"
#include "data/cells.h"
#include "data/list.h"

namespace korva {

namespace {

constexpr int kGap = 2;         // blanks between two columns
constexpr int kDividedGap = 3;  // the same with a bar in the middle
constexpr int kRecordGap = 3;   // blanks between two cells of a record
constexpr int32_t kDefaultSeparator = 5;
constexpr size_t kMaxBlocks = 3;  // a list of more blocks is easier to read as records

enum class RuleKind : uint8_t { Top, Middle, Bottom };

// Columns [first, last) of a block of the listing.
struct ColumnBlock {
    size_t first = 0, last = 0;
    std::vector<int> widths;
};

// Records: cells of name and value side by side in a grid; a wide cell has lines of its own.
struct Grid {
    size_t across = 1;
    std::vector<int> names, values;  // widths by place in the line
    int width = 0;                   // of a line of cells
};

// --- layout ---

// Columns that the frame leaves to names and values.
int room_of(const Listing& listing) {
    const int lead = listing.number_width;
    if (listing.options.clean) return listing.options.line - (lead ? lead + kGap : 0);
    return listing.options.line - (lead ? lead + 1 : 0) - 4;  // a bar and a blank at each side
}

int gap_of(const Listing& listing) {
    return listing.options.divider ? kDividedGap : kGap;
}

// As many columns as fit, one at least, from `first` on.
ColumnBlock fill_block(const Listing& listing, size_t first) {
    const int room = room_of(listing);
    ColumnBlock block{first, first, {}};
    int used = 0;
    for (size_t k = first; k < listing.columns.size(); k++) {
        const ListColumn& column = listing.columns[k];
        const int width = std::max({column.width, int(column.heading.size()), 1});
        const int more = width + (k > first ? gap_of(listing) : 0);
        if (k > first && used + more > room) break;
        used += more;
        block.last = k + 1;
        block.widths.push_back(std::min(width, room));
    }
    return block;
}

std::vector<ColumnBlock> cut_into_blocks(const Listing& listing) {
    std::vector<ColumnBlock> blocks;
    for (size_t next = 0; next < listing.columns.size(); next = blocks.back().last) {
        blocks.push_back(fill_block(listing, next));
    }
    return blocks;
}

bool shows_records(const Listing& listing, size_t n_blocks) {
    if (listing.options.form != ListForm::Automatic)
        return listing.options.form == ListForm::Records;
    if (listing.options.clean) return false;
    const int room = room_of(listing);
    return n_blocks > kMaxBlocks ||
           std::any_of(listing.columns.begin(), listing.columns.end(),
                       [room](const ListColumn& c) { return c.width > room; });
}

bool is_wide_cell(const ListColumn& column, int room) {
    return int(column.heading.size()) + 1 + column.width > room / 2;
}

// The grid with the given number of cells side by side.
Grid lay_out_grid(const Listing& listing, size_t across) {
    const int room = room_of(listing);
    Grid grid{across, std::vector<int>(across), std::vector<int>(across), 0};
    size_t place = 0;
    for (const ListColumn& column : listing.columns) {
        if (is_wide_cell(column, room)) {
            grid.names[0] = std::max(grid.names[0], int(column.heading.size()));
            place = 0;
            continue;
        }
        grid.names[place] = std::max(grid.names[place], int(column.heading.size()));
        grid.values[place] = std::max(grid.values[place], column.width);
        place = (place + 1) % across;
    }
    grid.width = kRecordGap * int(across - 1);
    for (size_t i = 0; i < across; i++) grid.width += grid.names[i] + 1 + grid.values[i];
    return grid;
}

Grid widest_grid(const Listing& listing) {
    const int room = room_of(listing);
    size_t across = std::min(listing.columns.size(), size_t(room / kRecordGap));
    Grid grid = lay_out_grid(listing, across);
    // Places that no cell ever takes have no columns, and would have gaps.
    while (across > 1 && (grid.width > room || grid.names[across - 1] == 0)) {
        grid = lay_out_grid(listing, --across);
    }
    const int cells = grid.width;
    for (const ListColumn& column : listing.columns) {
        if (!is_wide_cell(column, room)) continue;
        const int wide = grid.names[0] + 1 + column.width;
        grid.width = std::max({grid.width, cells, std::min(wide, room)});
    }
    return grid;
}

// --- frame ---

// What stands in front of the row; the point belongs to observation numbers.
std::string row_tag(const Listing& listing, const ListRow& row) {
    if (!row.summary) return std::to_string(row.obs) + '.';
    return listing.options.name_var ? "" : kSummaryNames[row.summary->kind];
}

// The frame's line over stretches of the given widths, with their blanks, as mark-up.
std::string make_rule(const Listing& listing, const std::vector<int>& stretches, RuleKind kind) {
    static constexpr const char* kEnds[3][3] = {
        {"{c TLC}", "{c TT}", "{c TRC}"},
        {"{c LT}", "{c +}", "{c RT}"},
        {"{c BLC}", "{c BT}", "{c BRC}"},
    };
    const auto& ends = kEnds[int(kind)];
    std::string rule(size_t(listing.number_width ? listing.number_width + 1 : 0), ' ');
    for (size_t i = 0; i < stretches.size(); i++) {
        rule += i == 0 ? ends[0] : ends[1];
        rule += "{hline " + std::to_string(stretches[i]) + '}';
    }
    return rule + ends[2] + '\n';
}

struct Frame {
    bool shown = true;
    std::string top, middle, bottom;
};

Frame make_frame(const Listing& listing, const std::vector<int>& stretches) {
    return {!listing.options.clean, make_rule(listing, stretches, RuleKind::Top),
            make_rule(listing, stretches, RuleKind::Middle),
            make_rule(listing, stretches, RuleKind::Bottom)};
}

void print_rule(const Frame& frame, const std::string& rule) {
    if (!frame.shown) return;
    LevelGuard level(kLevelText);
    out_style();
    out_tmrk(rule);
}

// What stands in front of the columns.
void print_lead(const Listing& listing, std::string_view tag) {
    LevelGuard level(kLevelText);
    char text[64];
    if (listing.number_width > 0) {
        const int blanks = listing.options.clean ? kGap : 1;
        const int n = std::snprintf(text, sizeof text, "%*.*s%*s", listing.number_width,
                                    int(tag.size()), tag.data(), blanks, "");
        out_text({text, size_t(n)});
    }
    if (!listing.options.clean) out_bar();
}

ReturnCode end_row(const Listing& listing) {
    if (!listing.options.clean) {
        LevelGuard level(kLevelText);
        out_bar();
    }
    return out_newline();
}

// Control bytes would move the cursor: each shows as a point.
void append_printable(std::string* line, std::string_view text) {
    const size_t from = line->size();
    line->append(text);
    for (size_t i = from; i < line->size(); i++) {
        char& c = (*line)[i];
        if (uint8_t(c) < ' ' || c == 127) c = '.';
    }
}

void append_field(std::string* line, ListAlign align, int width, std::string_view text) {
    const int blanks = std::max(width - int(text.size()), 0);
    const int ahead = align == ListAlign::Left    ? 0
                      : align == ListAlign::Right ? blanks
                                                  : blanks / 2;
    line->append(size_t(ahead), ' ');
    append_printable(line, text);
    line->append(size_t(blanks - ahead), ' ');
}

// --- as a table ---

// A value that goes on in the next line.
struct Rest {
    size_t k = 0;
    std::string text;
};

// Takes off *text what goes on a line of `width` columns.
std::string_view take_piece(std::string_view* text, int width) {
    const size_t n = PieceLength(*text, size_t(width));
    const std::string_view piece = text->substr(0, n);
    text->remove_prefix(n);
    return TrimBlanks(piece);
}

// A piece stands on the left of its column, however the column is justified; valid until the next.
std::string_view left_piece(Listing* listing, std::string_view* text, int width) {
    const std::string_view piece = take_piece(text, width);
    listing->piece.assign(piece);
    listing->piece.resize(size_t(width), ' ');
    return listing->piece;
}

// The line made of fields, with the bars between them if there are any.
void print_fields(const Listing& listing, const ColumnBlock& block) {
    const std::string& line = listing.line;
    if (listing.options.clean) {
        out_text({line.data(), line.find_last_not_of(' ') + 1});
        return;
    }
    if (!listing.options.divider) {
        out_text(line);
        return;
    }
    size_t at = 0;
    for (size_t i = 0; i < block.widths.size(); i++) {
        if (i > 0) {
            LevelGuard level(kLevelText);
            out_bar();
        }
        const size_t n = size_t(block.widths[i]) + 2;
        out_text({line.data() + at, n});
        at += n;
    }
}

// Puts the field of each column of the block in the listing's line; text(k) gives it.
template <class Text>
void compose_line(Listing* listing, const ColumnBlock& block, Text text) {
    std::string& line = listing->line;
    const ListOptions& options = listing->options;
    line.clear();
    if (!options.clean) line += ' ';
    for (size_t k = block.first; k < block.last; k++) {
        if (k > block.first) line.append(kGap, ' ');
        append_field(&line, listing->columns[k].align, block.widths[k - block.first], text(k));
    }
    if (!options.clean) line += ' ';
}

void print_block_heading(Listing* listing, const ColumnBlock& block) {
    if (!listing->options.header) return;
    compose_line(listing, block,
                 [listing](size_t k) { return std::string_view(listing->columns[k].heading); });
    LevelGuard level(kLevelText);
    print_lead(*listing, "");
    print_fields(*listing, block);
    end_row(*listing);
}

ReturnCode print_rests(Listing* listing, const ColumnBlock& block, std::vector<Rest>* rests) {
    for (bool more = true; more;) {
        more = false;
        compose_line(listing, block, [&](size_t k) {
            for (Rest& rest : *rests) {
                if (rest.k != k) continue;
                std::string_view text = rest.text;
                const std::string_view piece = left_piece(listing, &text,
                                                          block.widths[k - block.first]);
                rest.text = std::string(text);
                more |= !rest.text.empty();
                return piece;
            }
            return std::string_view();
        });
        print_lead(*listing, "");
        print_fields(*listing, block);
        if (ReturnCode rc = end_row(*listing)) return rc;
    }
    return 0;
}

ReturnCode print_row(Listing* listing, const ColumnBlock& block, const ListRow& row) {
    std::vector<Rest> rests;
    compose_line(listing, block, [&](size_t k) {
        std::string_view text = row_text(listing, row, k);
        const int width = block.widths[k - block.first];
        if (int(text.size()) <= width) return text;
        const std::string_view piece = left_piece(listing, &text, width);
        if (!text.empty()) rests.push_back({k, std::string(text)});
        return piece;
    });
    print_lead(*listing, row_tag(*listing, row));
    print_fields(*listing, block);
    if (ReturnCode rc = end_row(*listing)) return rc;
    return rests.empty() ? 0 : print_rests(listing, block, &rests);
}

bool same_value(int32_t var, int32_t obs, int32_t other) {
    if (type_is_string(dataset.types[var - 1])) return cell_text(var, obs) == cell_text(var, other);
    return get(var, obs) == get(var, other);
}

// Counts the rows of a listing and tells where a rule or a heading stands ahead of one.
struct RowCounter {
    const ListOptions& options;
    int32_t separator = 0;
    int32_t since_rule = 0, since_heading = 0;
    int32_t before = 0;  // the observation listed last; 0: none

    bool heading_is_due() const {
        return options.header && options.header_every > 0 && since_heading == options.header_every;
    }
    bool rule_is_due(int32_t obs) const {
        if (!before) return false;
        if (separator > 0 && since_rule == separator) return true;
        return std::any_of(options.separate_by.begin(), options.separate_by.end(),
                           [this, obs](int32_t var) { return !same_value(var, before, obs); });
    }
};

ReturnCode print_block(Listing* listing, const ColumnBlock& block) {
    std::vector<int> stretches;
    if (listing->options.divider) {
        for (int width : block.widths) stretches.push_back(width + 2);
    } else {
        int total = 2 + kGap * int(block.widths.size() - 1);
        for (int width : block.widths) total += width;
        stretches.push_back(total);
    }
    const Frame frame = make_frame(*listing, stretches);
    print_rule(frame, frame.top);
    print_block_heading(listing, block);
    if (listing->options.header) print_rule(frame, frame.middle);

    RowCounter counter{listing->options};
    counter.separator = listing->options.separator;
    if (counter.separator < 0) {
        counter.separator = listing->options.separate_by.empty() ? kDefaultSeparator : 0;
    }
    for (int32_t obs = skeleton.first; obs <= skeleton.last; obs++) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        if (!is_marked(*listing, obs)) continue;
        if (counter.heading_is_due()) {
            print_rule(frame, frame.middle);
            print_block_heading(listing, block);
            print_rule(frame, frame.middle);
            counter.since_rule = counter.since_heading = 0;
        } else if (counter.rule_is_due(obs)) {
            print_rule(frame, frame.middle);
            counter.since_rule = 0;
        }
        counter.since_rule++;
        counter.since_heading++;
        counter.before = obs;
        if (ReturnCode rc = print_row(listing, block, {obs})) return rc;
    }
    if (!listing->summary.empty()) print_rule(frame, frame.middle);
    for (const SummaryLine& line : listing->summary) {
        if (ReturnCode rc = print_row(listing, block, {0, &line})) return rc;
    }
    print_rule(frame, frame.bottom);
    return 0;
}

// --- as records ---

// A record's line in the making.
struct RecordLine {
    Listing* listing;
    int width;        // of its cells together
    std::string tag;  // stands in front of the first line only
    int used = 0;     // columns
    bool is_open = false;

    void begin() {
        print_lead(*listing, tag);
        if (!listing->options.clean) out_text(" ");
        tag.clear();
        used = 0;
        is_open = true;
    }

    // The name, or blanks where a value goes on, and the value, both at the left.
    void cell(int gap, std::string_view name, int name_width, std::string_view value,
              int value_width) {
        std::string& line = listing->line;
        line.assign(size_t(gap), ' ');
        append_field(&line, ListAlign::Left, name_width + 1, name);
        {
            LevelGuard level(kLevelText);
            out_text(line);
        }
        line.clear();
        append_field(&line, ListAlign::Left, value_width, value);
        out_text(line);
        used += gap + name_width + 1 + value_width;
    }

    ReturnCode end() {
        is_open = false;
        if (!listing->options.clean) out_spaces(width - used + 1);
        return end_row(*listing);
    }
};

ReturnCode print_wide_cell(RecordLine* line, const ListColumn& column, std::string text,
                           int name_width) {
    const int value_width = line->width - name_width - 1;
    std::string_view rest = text;
    std::string_view name = column.heading;
    do {
        line->begin();
        line->cell(0, name, name_width, take_piece(&rest, value_width), value_width);
        if (ReturnCode rc = line->end()) return rc;
        name = {};
    } while (!rest.empty());
    return 0;
}

ReturnCode print_record(Listing* listing, const Grid& grid, const ListRow& row) {
    RecordLine line{listing, grid.width, row_tag(*listing, row)};
    const int room = room_of(*listing);
    size_t place = 0;
    for (size_t k = 0; k < listing->columns.size(); k++) {
        const ListColumn& column = listing->columns[k];
        const bool wide = is_wide_cell(column, room);
        if (line.is_open && (wide || place == grid.across)) {
            if (ReturnCode rc = line.end()) return rc;
        }
        if (wide) {
            if (ReturnCode rc = print_wide_cell(
                    &line, column, std::string(row_text(listing, row, k)), grid.names[0])) {
                return rc;
            }
            continue;
        }
        if (!line.is_open) {
            line.begin();
            place = 0;
        }
        line.cell(place > 0 ? kRecordGap : 0, column.heading, grid.names[place],
                  row_text(listing, row, k), grid.values[place]);
        place++;
    }
    return line.is_open ? line.end() : 0;
}

ReturnCode print_records(Listing* listing) {
    const Grid grid = widest_grid(*listing);
    const Frame frame = make_frame(*listing, {grid.width + 2});
    print_rule(frame, frame.top);
    RowCounter counter{listing->options};
    counter.separator = listing->options.separator;
    if (counter.separator < 0) counter.separator = listing->options.separate_by.empty() ? 1 : 0;
    for (int32_t obs = skeleton.first; obs <= skeleton.last; obs++) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        if (!is_marked(*listing, obs)) continue;
        if (counter.rule_is_due(obs)) {
            print_rule(frame, frame.middle);
            if (!frame.shown) out_newline();
            counter.since_rule = 0;
        }
        counter.since_rule++;
        counter.before = obs;
        if (ReturnCode rc = print_record(listing, grid, {obs})) return rc;
    }
    for (const SummaryLine& line : listing->summary) {
        print_rule(frame, frame.middle);
        if (ReturnCode rc = print_record(listing, grid, {0, &line})) return rc;
    }
    print_rule(frame, frame.bottom);
    return 0;
}

}  // namespace

ReturnCode print_listing(Listing* listing) {
    const std::vector<ColumnBlock> blocks = cut_into_blocks(*listing);
    if (shows_records(*listing, blocks.size())) {
        out_newline();
        return print_records(listing);
    }
    for (const ColumnBlock& block : blocks) {
        out_newline();
        if (ReturnCode rc = print_block(listing, block)) return rc;
    }
    return 0;
}

}  // namespace korva

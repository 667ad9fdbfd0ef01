// data/list.h - a listing: what `list` was asked for, its columns, and the way onto the page.
//
// list.cpp reads the options, finds the sample and measures the columns; list_print.cpp cuts them
// into blocks or records and prints.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/types.h"
#include "data/skeleton.h"
#include "output/number_format.h"

namespace korva {

constexpr int32_t kShortestName = 8;  // a heading is not abbreviated below this, unless asked for

enum class ListForm : uint8_t { Automatic, Table, Records };
enum class ListAlign : uint8_t { Right, Left, Centre };

// The lines behind the observations, in their order.
enum SummaryKind : uint8_t { kMean, kSum, kCount, kSummaryKinds };
constexpr std::array<const char*, kSummaryKinds> kSummaryNames = {"Mean", "Sum", "N"};

struct ListOptions {
    ListForm form = ListForm::Automatic;
    bool clean = false;
    bool divider = false;
    bool header = true;
    bool observation_numbers = true;
    bool labels = true;
    bool heading_from_characteristic = false;  // subvarname
    bool measure = true;       // flist: columns as wide as the formats, no first pass
    int32_t separator = -1;    // rows between two rules; 0: none; -1: as the form has it
    int32_t header_every = 0;  // rows between two headings; 0: one heading
    int32_t shortest_name = kShortestName;
    int32_t text_limit = 0;  // columns that a text takes at most; 0: no limit
    int32_t line = 0;        // columns
    std::vector<int32_t> separate_by;
    int32_t name_var = 0;  // the variable in whose column Mean, Sum and N stand; 0: in front
    std::array<bool, kSummaryKinds> summary = {};
    std::array<std::vector<int32_t>, kSummaryKinds> summary_of;  // empty: all
};

struct ListColumn {
    int32_t var = 0;
    size_t element = 0;  // of the varlist
    bool is_string = false;
    ListAlign align = ListAlign::Right;
    const char* label_table = nullptr;  // null: numbers show as numbers
    Format format;                      // of a number
    int width = 0;                      // of the longest value
    std::string heading;
};

struct SummaryLine {
    SummaryKind kind = kMean;
    std::vector<std::string> texts;  // by column
};

struct Listing {
    ListOptions options;
    std::vector<ListColumn> columns;
    std::vector<SummaryLine> summary;
    int number_width = 0;      // of an observation number with its point
    int32_t rows = 0;          // observations in the sample
    uint8_t* marks = nullptr;  // of the range, from skeleton.first; null: all
    NumberText number;         // what a cell shows, until the next one is asked for
    std::string cut_text;      // likewise, of a text over the limit
    std::string piece;         // of a value that takes more than one line
    std::string line;
};

// A row of the listing: an observation, or a line of the summary.
struct ListRow {
    int32_t obs = 0;
    const SummaryLine* summary = nullptr;
};

// True if the observation, inside the range, is in the sample.
inline bool is_marked(const Listing& listing, int32_t obs) {
    return !listing.marks || listing.marks[obs - skeleton.first];
}

// What the row shows in column k (0-based), without padding; valid until the next call.
std::string_view row_text(Listing* listing, const ListRow& row, size_t k);

// Prints the listing, whose columns have their widths; kBreak when the user broke in. Defined in
// list_print.cpp.
ReturnCode print_listing(Listing* listing);

}  // namespace korva

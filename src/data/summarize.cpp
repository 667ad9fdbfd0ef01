// data/summarize.cpp - number of observations, mean, standard deviation, smallest and largest
// value.
//
// Two passes over the observations. The first finds the mean; the second sums the deviations from
// it, and their sum, which would be 0 in exact arithmetic, corrects the sum of squares (Chan, Golub
// and LeVeque, American Statistician 37(3), 1983, p. 242), and the mean where it is the larger of
// the two. Inside a block of observations the sums run in lanes; from block to block they are
// carried with their rounding error (Neumaier, ZAMM 54, 1974, p. 39). All variables go through a
// pass together, so that a row is fetched once a pass.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "core/alloc.h"
#include "core/commands.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "core/stored_results.h"
#include "data/cells.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr int kLanes = 8;
constexpr int kNameColumns = 12;
constexpr const char* kNumberFormat = "%9.0g";

// A sum and the rounding error that its additions left behind.
struct ExactSum {
    double high = 0;
    double low = 0;
    void add(double x) {
        const double sum = high + x;
        low += std::fabs(high) >= std::fabs(x) ? (high - sum) + x : (x - sum) + high;
        high = sum;
    }
    double value() const { return high + low; }
};

struct VariableMoments {
    int32_t var = 0;
    size_t element = 0;        // of the varlist
    bool has_missing = false;  // known behind the first pass
    int64_t n = 0;             // nonmissing values in the sample
    ExactSum sum;
    ExactSum deviations;  // from `mean`; all but 0
    ExactSum squares;
    double mean = 0;  // of the first pass
    double min = kSysMissing;
    double max = -kSysMissing;
};

// What a variable shows; `.` where it is not defined.
struct Moments {
    double mean = kSysMissing;
    double variance = kSysMissing;
    double sd = kSysMissing;
    double min = kSysMissing;
    double max = kSysMissing;
    double sum = 0;
};

double join_lanes(const double* lanes) {
    return ((lanes[0] + lanes[4]) + (lanes[1] + lanes[5])) +
           ((lanes[2] + lanes[6]) + (lanes[3] + lanes[7]));
}

// Moves the values that are in the sample and not missing to the front; returns their number.
int compact(const uint8_t* marks, double* x, int n) {
    int kept = 0;
    for (int k = 0; k < n; k++) {
        const double value = x[k];
        x[kept] = value;
        kept += (value < kSysMissing) & marks[k];
    }
    return kept;
}

// Smallest and largest of all n > 0 values, missing ones included.
void find_range(const double* x, int n, double* min, double* max) {
    double low[kLanes], high[kLanes];
    std::fill_n(low, kLanes, x[0]);
    std::fill_n(high, kLanes, x[0]);
    int k = 0;
    for (; k + kLanes <= n; k += kLanes) {
        for (int lane = 0; lane < kLanes; lane++) {
            low[lane] = x[k + lane] < low[lane] ? x[k + lane] : low[lane];
            high[lane] = x[k + lane] > high[lane] ? x[k + lane] : high[lane];
        }
    }
    for (; k < n; k++) {
        low[0] = std::min(low[0], x[k]);
        high[0] = std::max(high[0], x[k]);
    }
    *min = *std::min_element(low, low + kLanes);
    *max = *std::max_element(high, high + kLanes);
}

double block_sum(const double* x, int n) {
    double lanes[kLanes] = {};
    int k = 0;
    for (; k + kLanes <= n; k += kLanes) {
        for (int lane = 0; lane < kLanes; lane++) lanes[lane] += x[k + lane];
    }
    for (int lane = 0; k < n; k++, lane++) lanes[lane] += x[k];
    return join_lanes(lanes);
}

void block_deviations(const double* x, int n, double mean, double* sum, double* squares) {
    double sums[kLanes] = {}, products[kLanes] = {};
    int k = 0;
    for (; k + kLanes <= n; k += kLanes) {
        for (int lane = 0; lane < kLanes; lane++) {
            const double d = x[k + lane] - mean;
            sums[lane] += d;
            products[lane] += d * d;
        }
    }
    for (int lane = 0; k < n; k++, lane++) {
        const double d = x[k] - mean;
        sums[lane] += d;
        products[lane] += d * d;
    }
    *sum = join_lanes(sums);
    *squares = join_lanes(products);
}

// The block's values of the variable in x[n]; `all`: every observation of the block is in the
// sample.
void add_block(VariableMoments* m, const uint8_t* marks, bool all, double* x, int n) {
    double min = 0, max = 0;
    if (all) find_range(x, n, &min, &max);
    if (!all || max >= kSysMissing) {
        const int kept = compact(marks, x, n);
        m->has_missing |= kept < n;
        n = kept;
        if (n == 0) return;
        find_range(x, n, &min, &max);
    }
    m->n += n;
    m->min = std::min(m->min, min);
    m->max = std::max(m->max, max);
    m->sum.add(block_sum(x, n));
}

void add_deviations(VariableMoments* m, const uint8_t* marks, bool all, double* x, int n) {
    if (!all || m->has_missing) n = compact(marks, x, n);
    if (n == 0) return;
    double sum = 0, squares = 0;
    block_deviations(x, n, m->mean, &sum, &squares);
    m->deviations.add(sum);
    m->squares.add(squares);
}

// Marks of the whole range, so that the condition is evaluated once; null without a condition.
struct SampleMarks {
    explicit SampleMarks(int32_t n) : block(skeleton.if_given ? size_t(n) + 1 : 1) {}
    EngineBlock block;
    uint8_t* at(int32_t offset) const { return static_cast<uint8_t*>(block.bytes) + offset; }
};

using BlockStep = void (*)(VariableMoments*, const uint8_t*, bool, double*, int);

// Runs the step over the range, block by block, for each variable. fill: the marks are made on the
// way.
ReturnCode run_pass(std::vector<VariableMoments>* moments, const SampleMarks& sample, bool fill,
                    BlockStep step) {
    uint8_t ones[kBlockObs];
    std::memset(ones, 1, sizeof ones);
    double x[kBlockObs];
    for (int32_t obs = skeleton.first; obs <= skeleton.last;) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        const int n = std::min(skeleton.last - obs + 1, kBlockObs);
        uint8_t* marks = ones;
        int in_sample = n;
        if (skeleton.if_given) {
            marks = sample.at(obs - skeleton.first);
            if (fill) {
                in_sample = sample_block(obs, n, marks);
            } else {
                in_sample = int(std::count(marks, marks + n, uint8_t(1)));
            }
        }
        if (in_sample > 0) {
            for (VariableMoments& m : *moments) {
                varlist_gather(m.element, obs, n, x);
                step(&m, marks, in_sample == n, x, n);
            }
        }
        obs += n;
    }
    return 0;
}

ReturnCode compute(std::vector<VariableMoments>* moments) {
    SampleMarks sample(std::max(skeleton.last - skeleton.first + 1, 0));
    if (!sample.block.bytes) return ReportError(909);
    if (ReturnCode rc = run_pass(moments, sample, true, add_block)) return rc;
    for (VariableMoments& m : *moments) {
        if (m.n > 0) m.mean = m.sum.value() / double(m.n);
    }
    return run_pass(moments, sample, false, add_deviations);
}

Moments finish(const VariableMoments& m) {
    Moments result;
    if (m.n == 0) return result;
    const double n = double(m.n);
    const double correction = m.deviations.value() / n;
    // A spread below the mean makes the deviations the smaller terms, whose sum is rounded less
    // than that of the values. Otherwise the correction could be the greater error.
    const bool close_values = m.squares.value() < n * m.mean * m.mean;
    result.mean = finite_or_missing(close_values ? m.mean + correction : m.mean);
    result.sum = finite_or_missing(m.sum.value());
    result.min = m.min;
    result.max = m.max;
    if (m.n > 1) {
        const double squares = m.squares.value() - m.deviations.value() * correction;
        result.variance = finite_or_missing(std::max(squares, 0.0) / (n - 1));
        result.sd = is_missing(result.variance) ? kSysMissing : std::sqrt(result.variance);
    }
    return result;
}

// --- the table ---

void print_name(std::string_view name) {
    const std::string shown = abbreviate_name(name, kNameColumns);
    LevelGuard level(kLevelText);
    out_spaces(kNameColumns - int(shown.size()));
    out_text_pad(shown, 1);
    out_bar();
}

struct TableColumn {
    const char* heading;
    int width;
};
constexpr TableColumn kColumns[] = {
    {"Obs", 10}, {"Mean", 12}, {"Std. Dev.", 12}, {"Min", 12}, {"Max", 12},
};
constexpr int kColumnCount = int(std::size(kColumns));

// Columns [first, last) of the table, as many as the line has room for behind the names.
struct Panel {
    int first = 0;
    int last = 0;
    int width = 0;
};

Panel fill_panel(int first) {
    Panel panel{first, first, 0};
    const int room = ResultsWidth() - kNameColumns - 2;
    while (panel.last < kColumnCount && panel.width + kColumns[panel.last].width <= room) {
        panel.width += kColumns[panel.last++].width;
    }
    return panel;
}

void print_heading(const Panel& panel) {
    LevelGuard level(kLevelText);
    out_newline();
    print_name("Variable");
    for (int i = panel.first; i < panel.last; i++) {
        out_textf("%*s", kColumns[i].width, kColumns[i].heading);
    }
    out_newline();
    out_style();
    out_tmrkf("{hline %d}{c +}{hline %d}\n", kNameColumns + 1, panel.width);
}

struct TableRow {
    VariableMoments moments;
    Moments shown;
};

ReturnCode print_row(const TableRow& row, const Panel& panel) {
    print_name(varlist_name(row.moments.element));
    const Moments& m = row.shown;
    const double values[kColumnCount] = {0, m.mean, m.sd, m.min, m.max};
    std::string line;
    for (int i = panel.first; i < panel.last; i++) {
        std::string text = std::to_string(row.moments.n);
        if (i > 0) text = row.moments.n > 0 ? fmt_number(kNumberFormat, values[i]) : "";
        if (text.empty()) break;
        line.append(size_t(std::max(kColumns[i].width - int(text.size()), 0)), ' ');
        line += text;
    }
    out_text(line);
    return out_newline();
}

// On a narrow line the table is cut into panels, one below the other.
ReturnCode print_table(const std::vector<TableRow>& rows) {
    for (Panel panel = fill_panel(0); panel.last > panel.first; panel = fill_panel(panel.last)) {
        print_heading(panel);
        for (const TableRow& row : rows) {
            if (ReturnCode rc = print_row(row, panel)) return rc;
        }
    }
    return 0;
}

ReturnCode store_results(const VariableMoments& m, const Moments& shown) {
    ClearResults();
    const struct {
        const char* name;
        double value;
    } results[] = {
        {"N", double(m.n)},      {"sum_w", double(m.n)}, {"sum", shown.sum}, {"mean", shown.mean},
        {"Var", shown.variance}, {"sd", shown.sd},       {"min", shown.min}, {"max", shown.max},
    };
    for (const auto& result : results) {
        if (ReturnCode rc = SetResultNumber(result.name, result.value)) return rc;
    }
    return 0;
}

}  // namespace

// summarize [varlist] [if] [in]
ReturnCode CmdSummarize(int) {
    skeleton.permit.operators = kAllowed;
    skeleton.permit.weights = kAweight | kFweight | kIweight;
    skeleton.permit.default_weight = kAweight;
    if (ReturnCode rc = parse_skeleton()) return rc;
    if (ReturnCode rc = option_not_available("detail", 1)) return rc;
    if (ReturnCode rc = options_done()) return rc;
    if (skeleton.weight_given) {
        out_error("weights are not available yet\n");
        return 199;
    }
    varlist_or_all();

    // A string has no values, so it stays out of the passes and shows 0 observations.
    std::vector<VariableMoments> moments;
    for (size_t i = 0; i < skeleton.varlist.size(); i++) {
        const int32_t var = skeleton.varlist[i];
        if (type_is_string(dataset.types[var - 1])) continue;
        moments.emplace_back().var = var;
        moments.back().element = i;
    }
    if (ReturnCode rc = compute(&moments)) return rc;

    std::vector<TableRow> rows;
    size_t next = 0;
    for (size_t i = 0; i < skeleton.varlist.size(); i++) {
        const int32_t var = skeleton.varlist[i];
        VariableMoments m;
        m.var = var;
        m.element = i;
        if (!type_is_string(dataset.types[var - 1])) m = moments[next++];
        rows.push_back({m, finish(m)});
    }
    if (ReturnCode rc = print_table(rows)) return rc;
    const TableRow last = rows.empty() ? TableRow{} : rows.back();
    return store_results(last.moments, last.shown);
}

}  // namespace korva

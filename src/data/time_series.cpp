// data/time_series.cpp - operators read, kept and evaluated.
//
// A value is looked up by its time: the observation as many rows away as the lag has periods is
// tried first, for whole blocks at once, which is right wherever a series has no gap. Only where it
// is not, a search between the rows begins, in growing steps towards the time and then by halves.
// Nothing is kept from command to command, so the data may change in any way between them.
#include "data/time_series.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "core/missing.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/expression.h"
#include "data/labels.h"

namespace korva {

TimeSetting time_setting;

namespace {

constexpr size_t kMaxListed = 100;      // numbers of a list in an operator
constexpr int32_t kMaxCount = 1000000;  // behind a letter; the canonical text has 20 characters
constexpr int kMaxElements = 2400;      // more do not fit the programs of a command

// What the command has read; the records do not move while it runs.
struct OperatorStore {
    TsOperator operators[kMaxTsOperators];
    TsElement elements[kMaxElements];
    TsMark used;
};
OperatorStore kept;

ReturnCode report_too_many() {
    out_error("too many time-series operators\n");
    return 1000;
}

ReturnCode report_invalid(std::string_view text) {
    out_errorf("%.*s invalid\n", int(text.size()), text.data());
    return 198;
}

ReturnCode report_numlist() {
    out_error("numlist in operator invalid\n");
    return 198;
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

char letter_of(char c) {
    const char upper = c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c;
    return upper == 'L' || upper == 'F' || upper == 'D' || upper == 'S' ? upper : char(0);
}

// --- lists of counts ---

// Reads the tokens of a list: whole numbers, and the signs between them.
struct CountReader {
    std::string_view rest;

    void skip_blanks() {
        while (!rest.empty() && rest[0] == ' ') rest.remove_prefix(1);
    }
    bool take(char c) {
        skip_blanks();
        if (rest.empty() || rest[0] != c) return false;
        rest.remove_prefix(1);
        return true;
    }
    bool take_to() {
        skip_blanks();
        if (take(':')) return true;
        if (!rest.starts_with("to") || (rest.size() > 2 && rest[2] != ' ')) return false;
        rest.remove_prefix(2);
        return true;
    }
    bool number(int32_t* value) {
        skip_blanks();
        const std::from_chars_result end = std::from_chars(rest.data(), rest.data() + rest.size(),
                                                           *value);
        if (end.ec != std::errc{} || std::abs(int64_t(*value)) > kMaxCount) return false;
        rest.remove_prefix(size_t(end.ptr - rest.data()));
        return rest.empty() || std::strchr(" /([:", rest[0]) || rest[0] == ')' || rest[0] == ']';
    }
};

// Adds from, from + step, ... up to `until`, which `from` itself has been added for.
bool append_steps(int32_t from, int32_t step, int32_t until, std::vector<int32_t>* counts) {
    if (step == 0 || (until > from) != (step > 0)) return until == from;
    for (int64_t x = int64_t(from) + step; step > 0 ? x <= until : x >= until; x += step) {
        if (counts->size() >= kMaxListed) return false;
        counts->push_back(int32_t(x));
    }
    return true;
}

// a, a/b, a(d)b, a[d]b, a b to c, a b : c, one after the other.
bool expand_counts(std::string_view text, std::vector<int32_t>* counts) {
    CountReader reader{text};
    for (reader.skip_blanks(); !reader.rest.empty(); reader.skip_blanks()) {
        int32_t number = 0, step = 0, until = 0;
        if (reader.take_to()) {
            const size_t n = counts->size();
            if (n < 2 || !reader.number(&until)) return false;
            const int32_t last = counts->back();
            if (!append_steps(last, last - (*counts)[n - 2], until, counts)) return false;
            continue;
        }
        if (!reader.number(&number) || counts->size() >= kMaxListed) return false;
        counts->push_back(number);
        const bool round = reader.rest.starts_with('(');
        if (reader.take('/')) {
            if (!reader.number(&until)) return false;
            if (!append_steps(number, until < number ? -1 : 1, until, counts)) return false;
        } else if (round || reader.rest.starts_with('[')) {
            reader.rest.remove_prefix(1);
            if (!reader.number(&step) || !reader.take(round ? ')' : ']')) return false;
            if (!reader.number(&until)) return false;
            if (!append_steps(number, step, until, counts)) return false;
        }
    }
    return !counts->empty();
}

// The counts behind a letter at text[*at], which goes behind them: none stands for 1.
ReturnCode read_counts(std::string_view text, size_t* at, std::vector<int32_t>* counts) {
    counts->clear();
    const size_t begin = *at;
    if (begin < text.size() && text[begin] == '(') {
        int depth = 0;
        size_t end = begin;
        for (; end < text.size(); end++) {
            if (text[end] == '(') depth++;
            if (text[end] == ')' && --depth == 0) break;
        }
        if (end == text.size()) return report_numlist();
        *at = end + 1;
        if (!expand_counts(text.substr(begin + 1, end - begin - 1), counts)) {
            return report_numlist();
        }
    } else {
        while (*at < text.size() && is_digit(text[*at])) ++*at;
        int32_t count = 1;
        if (*at > begin) {
            const std::from_chars_result end = std::from_chars(text.data() + begin,
                                                               text.data() + *at, count);
            if (end.ec != std::errc{} || count > kMaxCount) return report_invalid(text);
        }
        counts->push_back(count);
    }
    for (int32_t count : *counts) {
        if (count < 0) return report_invalid(text);
    }
    return 0;
}

// --- operators ---

ReturnCode add_letter(char letter, int32_t count, TsOperator* op) {
    switch (letter) {
    case 'L':
    case 'F': {
        const int64_t lag = int64_t(op->lag) + (letter == 'L' ? count : -count);
        if (std::abs(lag) > INT32_MAX) return report_too_many();
        op->lag = int32_t(lag);
        return 0;
    }
    case 'D':
        if (op->n_differences + count > kMaxDifferences) return report_too_many();
        op->n_differences += count;
        return 0;
    default:
        if (count == 0) return 0;
        if (op->n_seasons == kMaxSeasons) return report_too_many();
        op->seasons[op->n_seasons++] = count;
        std::sort(op->seasons, op->seasons + op->n_seasons);
        return 0;
    }
}

// The record equal to op, kept once.
const TsOperator* keep(const TsOperator& op) {
    for (int i = 0; i < kept.used.n_operators; i++) {
        if (kept.operators[i] == op) return &kept.operators[i];
    }
    if (kept.used.n_operators == kMaxTsOperators) return nullptr;
    kept.operators[kept.used.n_operators] = op;
    return &kept.operators[kept.used.n_operators++];
}

// --- values ---

constexpr double kNoTime = std::numeric_limits<double>::quiet_NaN();

constexpr int kReach = 32;  // neighbours on each side whose times are read with the block's

// The observations whose values are wanted, with their times and those of their neighbours.
struct TimeBlock {
    int obs;    // the first one
    int n;      // how many
    int first;  // observations that may be looked up
    int last;
    int read_first;  // the first one whose time is here
    int n_read;
    alignas(64) double times[kBlockObs + 2 * kReach];  // NaN where it, or the panel, is missing
    alignas(64) double panels[kBlockObs + 2 * kReach];

    const double* time(int from) const { return times + (from - read_first); }
    const double* panel(int from) const { return panels + (from - read_first); }
};

// Cells obs .. obs + n - 1; beyond the data there are none.
void gather_present(int var, int obs, int n, double* out) {
    const int present = int(std::clamp<int64_t>(int64_t(dataset.nobs) - obs + 1, 0, n));
    if (present > 0) gather(var, obs, present, out);
    std::fill(out + present, out + n, kSysMissing);
}

// Reads `before` and `after` neighbours as well, as far as they may be looked up.
void read_times(int before, int after, TimeBlock* block) {
    block->read_first = std::min(block->obs, std::max(block->first, block->obs - before));
    const int end = block->obs + block->n;
    const int read_end = std::max(end, std::min(block->last + 1, end + after));
    block->n_read = read_end - block->read_first;
    gather_present(time_setting.time_var, block->read_first, block->n_read, block->times);
    if (time_setting.panel_var) {
        gather_present(time_setting.panel_var, block->read_first, block->n_read, block->panels);
    } else {
        std::fill(block->panels, block->panels + block->n_read, 0.0);
    }
    for (int i = 0; i < block->n_read; i++) {
        const bool known = block->times[i] < kSysMissing && block->panels[i] < kSysMissing;
        block->times[i] = known ? block->times[i] : kNoTime;
    }
}

// -1, 0, 1: the observation's panel and time lie before, at or behind those wanted.
int compare_time(int obs, double panel, double time) {
    if (time_setting.panel_var) {
        const double there = get(time_setting.panel_var, obs);
        if (there != panel) return there < panel ? -1 : 1;
    }
    const double there = get(time_setting.time_var, obs);
    return there == time ? 0 : there < time ? -1 : 1;
}

// The observation in first .. last of the panel and time; 0: there is none. It is near `guess`.
int find_observation(double panel, double time, int64_t guess, int first, int last) {
    if (first > last || std::isnan(time)) return 0;
    const int start = int(std::clamp<int64_t>(guess, first, last));
    const int side = compare_time(start, panel, time);
    if (side == 0) return start;
    const int direction = -side;
    int64_t near = start;  // on this side of the place
    int64_t far = start;   // on the other side, or beyond the end
    for (int64_t step = 1;; step *= 2) {
        far = near + direction * step;
        if (far < first || far > last) {
            far = direction > 0 ? int64_t(last) + 1 : int64_t(first) - 1;
            break;
        }
        const int there = compare_time(int(far), panel, time);
        if (there == 0) return int(far);
        if (there != side) break;
        near = far;
    }
    int64_t low = std::min(near, far), high = std::max(near, far);
    while (high - low > 1) {
        const int64_t middle = (low + high) / 2;
        const int there = compare_time(int(middle), panel, time);
        if (there == 0) return int(middle);
        (there < 0 ? low : high) = middle;
    }
    return 0;
}

// Times and panels of the lanes low .. high - 1, `shift` rows back; the others have none.
struct ShiftedTimes {
    alignas(64) double times[kBlockObs];
    alignas(64) double panels[kBlockObs];

    void read(int64_t from, int low, int high, int n) {
        std::fill(times, times + n, kNoTime);
        std::fill(panels, panels + n, 0.0);
        if (low == high) return;
        gather_present(time_setting.time_var, int(from + low), high - low, times + low);
        if (!time_setting.panel_var) return;
        gather_present(time_setting.panel_var, int(from + low), high - low, panels + low);
    }
};

// The variable `shift` periods ago.
void shifted(const TimeBlock& block, int var, int64_t shift, double* out) {
    if (shift == 0) return gather_present(var, block.obs, block.n, out);
    const int n = block.n;
    const int64_t from = block.obs - shift;
    const int low = int(std::clamp<int64_t>(block.first - from, 0, n));
    const int high = int(std::clamp<int64_t>(int64_t(block.last) - from + 1, low, n));
    if (high > low) gather_present(var, int(from + low), high - low, out + low);

    const double* own_time = block.time(block.obs);
    const double* own_panel = block.panel(block.obs);
    ShiftedTimes read;
    const double* time = read.times;
    const double* panel = read.panels;
    if (from >= block.read_first && from + n <= int64_t(block.read_first) + block.n_read) {
        time = block.time(int(from));
        panel = block.panel(int(from));
    } else {
        read.read(from, low, high, n);
    }
    const double periods = double(shift);
    int64_t n_found = 0;
    for (int i = 0; i < n; i++) {
        n_found += (time[i] == own_time[i] - periods) & (panel[i] == own_panel[i]);
    }
    if (n_found == n) return;
    for (int i = 0; i < n; i++) {
        const double wanted = own_time[i] - periods;
        const bool same_panel = panel[i] == own_panel[i];
        if (same_panel && time[i] == wanted) continue;
        if (std::abs(shift) == 1 && i >= low && i < high) {
            const double passed = same_panel ? wanted - time[i] : own_panel[i] - panel[i];
            if (passed * periods > 0) {
                out[i] = kSysMissing;  // nothing lies between neighbours
                continue;
            }
        }
        const int obs = find_observation(own_panel[i], wanted, from + i, block.first, block.last);
        out[i] = obs ? get(var, obs) : kSysMissing;
    }
}

void subtract(double* from, const double* what, int n) {
    for (int i = 0; i < n; i++) {
        const double difference = from[i] - what[i];
        const bool known = from[i] < kSysMissing && what[i] < kSysMissing;
        from[i] = known && std::fabs(difference) < kSysMissing ? difference : kSysMissing;
    }
}

// A difference of differences, in the order of its definition.
void differences(const TimeBlock& block, int var, int count, int64_t shift, double* out) {
    shifted(block, var, shift, out);
    if (count == 0) return;
    alignas(64) double earlier[kMaxDifferences][kBlockObs];
    for (int k = 0; k < count; k++) shifted(block, var, shift + k + 1, earlier[k]);
    for (int left = count; left > 0; left--) {
        subtract(out, earlier[0], block.n);
        for (int k = 0; k + 1 < left; k++) subtract(earlier[k], earlier[k + 1], block.n);
    }
}

// Each season's difference is one of the next one's; those of D lie innermost.
void seasonal(const TimeBlock& block, int var, const TsOperator& op, int season, int64_t shift,
              double* out) {
    if (season == op.n_seasons) return differences(block, var, op.n_differences, shift, out);
    alignas(64) double earlier[kBlockObs];
    seasonal(block, var, op, season + 1, shift, out);
    seasonal(block, var, op, season + 1, shift + op.seasons[season], earlier);
    subtract(out, earlier, block.n);
}

// The numeric variable of exactly that name; 0 with *rc set and words otherwise.
int32_t numeric_variable(std::string_view name, ReturnCode* rc) {
    const int32_t var = find_variable_exact(name);
    if (var == 0) {
        *rc = ReportNotFound(name);
    } else if (type_is_string(dataset.types[var - 1])) {
        *rc = ReportError(109);
        return 0;
    }
    return var;
}

}  // namespace

ReturnCode find_time() {
    time_setting = TimeSetting{};
    const std::string time_name(characteristic(kDatasetOwner, "_TStvar"));
    const std::string panel_name(characteristic(kDatasetOwner, "_TSpanel"));
    if (time_name.empty() || find_variable_exact(time_name) == 0) {
        out_error("time variable not set\n");
        return 111;
    }
    ReturnCode rc = 0;
    TimeSetting found;
    found.time_var = numeric_variable(time_name, &rc);
    if (!rc && !panel_name.empty()) found.panel_var = numeric_variable(panel_name, &rc);
    if (rc) return rc;
    const uint16_t* key = dataset.sortlist;
    if (found.panel_var && *key == found.panel_var) key++;
    const bool panels_sorted = !found.panel_var || key != dataset.sortlist;
    if (!panels_sorted || *key != found.time_var) return ReportError(5);
    time_setting = found;
    return 0;
}

size_t operator_point(std::string_view word) {
    int depth = 0;
    for (size_t i = 0; i < word.size(); i++) {
        if (word[i] == '(') depth++;
        if (word[i] == ')') depth--;
        if (word[i] == '.' && depth == 0) return i;
    }
    return word.npos;
}

bool is_operator_text(std::string_view text) {
    if (text.empty() || !letter_of(text[0])) return false;
    for (size_t i = 0; i < text.size(); i++) {
        if (text[i] == '(') return true;
        if (!letter_of(text[i]) && !is_digit(text[i])) return false;
    }
    return true;
}

ReturnCode parse_operators(std::string_view text, std::vector<const TsOperator*>* operators) {
    operators->clear();
    std::vector<TsOperator> made(1), longer;
    std::vector<int32_t> counts;
    if (text.empty()) return report_invalid(text);
    for (size_t at = 0; at < text.size();) {
        const char letter = letter_of(text[at]);
        if (!letter) return report_invalid(text);
        at++;
        if (ReturnCode rc = read_counts(text, &at, &counts)) return rc;
        if (made.size() * counts.size() > kMaxTsOperators) return report_too_many();
        longer.clear();
        for (const TsOperator& op : made) {
            for (int32_t count : counts) {
                longer.push_back(op);
                if (ReturnCode rc = add_letter(letter, count, &longer.back())) return rc;
            }
        }
        made.swap(longer);
    }
    for (const TsOperator& op : made) {
        if (operator_text(&op).size() > kMaxOperatorText) return report_invalid(text);
        const TsOperator* record = op.is_null() ? nullptr : keep(op);
        if (!op.is_null() && !record) return report_too_many();
        operators->push_back(record);
    }
    return 0;
}

std::string operator_text(const TsOperator* op) {
    std::string text;
    if (!op) return text;
    if (op->lag) {
        text += op->lag > 0 ? 'L' : 'F';
        text += std::to_string(std::abs(int64_t(op->lag)));
    }
    if (op->n_differences) text += 'D' + std::to_string(op->n_differences);
    for (int i = 0; i < op->n_seasons; i++) text += 'S' + std::to_string(op->seasons[i]);
    return text;
}

ReturnCode refuse_string_operand(int32_t var) {
    if (!type_is_string(dataset.types[var - 1])) return 0;
    out_errorf("%s:  may not use time-series operators on string variables\n",
               dataset.names[var - 1]);
    return 109;
}

void ts_gather(const TsOperator* op, int var, int obs, int n, int first, int last, double* out) {
    if (!op || time_setting.time_var == 0) return gather_present(var, obs, n, out);
    TimeBlock block;
    block.obs = obs;
    block.n = n;
    block.first = first;
    block.last = std::min(last, dataset.nobs);
    int64_t longest = op->lag + int64_t(op->n_differences);
    for (int k = 0; k < op->n_seasons; k++) longest += op->seasons[k];
    read_times(int(std::clamp<int64_t>(longest, 0, kReach)),
               int(std::clamp<int64_t>(-int64_t(op->lag), 0, kReach)), &block);
    seasonal(block, var, *op, 0, op->lag, out);
}

int keep_ts_element(const TsOperator* op, int32_t var) {
    int& n = kept.used.n_elements;
    for (int i = 0; i < n; i++) {
        if (kept.elements[i].op == op && kept.elements[i].var == var) return i;
    }
    if (n == kMaxElements) return -1;
    kept.elements[n] = {op, var};
    return n++;
}

const TsElement& ts_element(int number) {
    return kept.elements[number];
}

TsMark ts_mark() {
    return kept.used;
}

void ts_forget(const TsMark& mark) {
    kept.used = mark;
}

}  // namespace korva

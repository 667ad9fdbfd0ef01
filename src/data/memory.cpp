// data/memory.cpp - memory, _repart, and the settings that change the data area: memory, maxvar and
// matsize.
//
// Another area or other tables take the place of the old ones only when the system has given them;
// there are no data then that would have to move. The texts whose lengths follow from maxvar lie in
// blocks that are large enough for any maxvar, so that a line that sets it stays where it is.
#include <charconv>
#include <cstring>
#include <string>

#include "core/commands.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/settings_file.h"
#include "core/settings_parse.h"
#include "core/startup.h"
#include "core/store.h"
#include "core/stored_results.h"
#include "core/words.h"
#include "data/dataset.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr int64_t kLeastMemory = 102400;
constexpr int64_t kMostMemory = int64_t(1) << 47;  // the address space of a process
constexpr int kPointerBytes = 8;                   // a row's slots in the two tables
constexpr int kSlotBytes = 4;
constexpr int kByteColumns = 16;

// --- memory ---

struct MemoryUse {
    int64_t total;     // set memory
    int64_t overhead;  // observation tables of the rows in use
    int64_t data;
    int64_t maxvar;   // tables and texts that grow with maxvar
    int64_t matsize;  // what grows with matsize
    int64_t dynamic;  // programs, saved results, labels: the named objects
};

MemoryUse measure_memory() {
    MemoryUse use{};
    use.total = dataset.end - dataset.begin;
    use.overhead = int64_t(kPointerBytes) * dataset.nobs;
    use.data = int64_t(used_width()) * dataset.nobs;
    use.maxvar = int64_t(dataset.table_bytes);
    for (int i = 0; i < n_start_blocks; i++) {
        const bool of_matsize = std::strcmp(start_blocks[i].name, "matsize") == 0;
        (of_matsize ? use.matsize : use.maxvar) += start_blocks[i].bytes;
    }
    use.dynamic = int64_t(StoreBytes());
    return use;
}

ReturnCode store_memory_results(const MemoryUse& use) {
    const struct {
        const char* name;
        double value;
    } results[] = {
        {"N_cur", double(dataset.mobs)},
        {"N_curmax", double(table_slots())},
        {"k_cur", double(dataset.mvar)},
        {"w_cur", double(dataset.lrecl)},
        {"M_total", double(use.total)},
        {"M_data", double(use.total) - double(dataset.M_dyn)},
        {"M_dyn", double(dataset.M_dyn)},
        {"size_ptr", kSlotBytes},
        {"k", double(dataset.nvar)},
        {"width", double(used_width())},
        {"adosize", double(settings.adosize)},
        {"matsize", double(settings.matsize)},
        {"n_repart", double(dataset.n_repart)},
        {"n_shift", double(dataset.n_shift)},
        {"M_oh", double(use.maxvar)},
        {"M_matsize", double(use.matsize)},
        {"M_dm", double(use.dynamic)},
    };
    ClearResults();
    for (const auto& result : results) {
        if (ReturnCode rc = SetResultNumber(result.name, result.value)) return rc;
    }
    return 0;
}

// The label, a mark-up text, and the number at columns 40 to 55.
void print_bytes(const char* label, int64_t bytes) {
    out_tmrkf("    %s{col 40}", label);
    const LevelGuard level(kLevelResult);
    out_text(WithCommas(bytes, kByteColumns));
}

void print_share(const char* label, int64_t bytes, int64_t total) {
    print_bytes(label, bytes);
    out_textf("%10.2f%%\n", 100 * double(bytes) / double(total));
}

void print_other(const char* label, int64_t bytes) {
    print_bytes(label, bytes);
    out_newline();
}

void print_memory(const MemoryUse& use) {
    const LevelGuard level(kLevelText);
    out_style();
    const int64_t used = use.overhead + use.data;
    out_tmrk("\nDetails of {cmd:set memory} usage{col 51}bytes\n");
    print_share("overhead (pointers)", use.overhead, use.total);
    print_share("data", use.data, use.total);
    print_share("data + overhead", used, use.total);
    print_share("free", use.total - used, use.total);
    print_share("Total allocated", use.total, use.total);
    const int64_t other = use.maxvar + use.matsize + use.dynamic;
    out_tmrk("\nOther memory usage\n");
    print_other("{cmd:set maxvar} usage", use.maxvar);
    print_other("{cmd:set matsize} usage", use.matsize);
    print_other("programs, saved results, etc.", use.dynamic);
    print_other("Total", other);
    out_newline();
    print_other("Grand total", use.total + other);
}

// --- numbers on the line ---

// The whole number that the text is; false if it is none.
bool whole_number(std::string_view text, int64_t* number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number);
    return error == std::errc() && end == text.data() + text.size() && !text.empty();
}

// --- the settings ---

ReturnCode report_bounds(const char* name, const std::string& least, const std::string& most) {
    out_error(std::string(name) + " must be between " + least + " and " + most + "\n");
    return 198;
}

bool data_in_memory() {
    return dataset.nvar > 0 || dataset.nobs > 0;
}

void record(const char* name, int64_t value) {
    RecordSetting(kMemorySection, name, std::to_string(value));
    SayRecorded(name);
}

// Bytes that a unit stands for; 0: it is none.
int64_t bytes_of_unit(std::string_view unit) {
    if (unit == "b") return 1;
    if (unit == "k" || unit.empty()) return 1024;
    if (unit == "m") return 1024 * 1024;
    return unit == "g" ? 1024 * 1024 * 1024 : 0;
}

// # and b, k, m or g, with or without a blank between; k where no unit is given. A size beyond all
// bounds is kMostMemory and more.
ReturnCode take_size(int64_t* bytes) {
    std::string text = NextToken(OptionSeparators);
    const size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
    std::string unit = text.substr(digits);
    if (digits > 0 && unit.empty()) {
        unit = NextToken(OptionSeparators);
        if (TokenIs(",")) {
            PushBackToken();
            unit.clear();
        }
    }
    const int64_t factor = bytes_of_unit(unit);
    if (digits == 0 || factor == 0) return ReportFoundWhere(text, "number");
    int64_t number = 0;
    if (!whole_number(text.substr(0, digits), &number)) number = kMostMemory + 1;
    *bytes = number > kMostMemory / factor ? kMostMemory + 1 : number * factor;
    return 0;
}

// A number within bounds, and `permanently`.
ReturnCode take_number(const char* name, int64_t least, int64_t most, int64_t* number,
                       SettingOptions* options) {
    const std::string text = NextToken(OptionSeparators);
    if (!whole_number(text, number)) return ReportFoundWhere(text, "number");
    if (ReturnCode rc = TakeSettingOptions(options)) return rc;
    if (*number >= least && *number <= most) return 0;
    return report_bounds(name, std::to_string(least), std::to_string(most));
}

}  // namespace

// memory
ReturnCode CmdMemory(int) {
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    const MemoryUse use = measure_memory();
    if (ReturnCode rc = store_memory_results(use)) return rc;
    print_memory(use);
    return 0;
}

// _repart width|obs [+|-] #: the pitch or the number of rows there is room for, or its change.
ReturnCode Cmd_repart(int) {
    NextToken();
    const bool width = TokenIs("width");
    if (!width && !TokenIs("obs")) return ReportFoundWhere(scanner.TokenBuffer, "width or obs");
    NextToken();
    const bool more = TokenIs("+"), less = TokenIs("-");
    if (more || less) NextToken();
    int64_t number = 0;
    if (!whole_number(scanner.TokenBuffer, &number)) {
        return ReportFoundWhere(scanner.TokenBuffer, "number");
    }
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    number = std::min<int64_t>(number, int64_t(1) << 32);  // impossible, and free from overflow
    if (less) number = -number;
    if (!more && !less) number -= width ? dataset.lrecl : dataset.mobs;
    const ReturnCode rc = width ? repart(number, 0) : repart(0, number);
    return rc ? report_no_room(rc) : 0;
}

// set memory #[b|k|m|g] [, permanently]
ReturnCode SetMemory() {
    int64_t bytes = 0;
    if (ReturnCode rc = take_size(&bytes)) return rc;
    SettingOptions options;
    if (ReturnCode rc = TakeSettingOptions(&options)) return rc;
    if (bytes < kLeastMemory || bytes > kMostMemory) return report_bounds("memory", "100k", "128t");
    if (data_in_memory()) return ReportError(4);
    if (!replace_data_area(bytes, dataset.maxmaxvar)) return ReportError(909);
    settings.memory = bytes;
    if (options.permanent) record("memory", bytes);
    return 0;
}

// set maxvar # [, permanently]
ReturnCode SetMaxvar() {
    int64_t maxvar = 0;
    SettingOptions options;
    if (ReturnCode rc = take_number("maxvar", 2048, kMostVariables, &maxvar, &options)) return rc;
    if (data_in_memory()) return ReportError(4);
    if (!replace_data_area(dataset.end - dataset.begin, int32_t(maxvar))) return ReportError(909);
    settings.maxvar = int32_t(maxvar);
    SetTextLimits(settings.maxvar);
    if (options.permanent) record("maxvar", maxvar);
    return 0;
}

// set matsize # [, permanently]
ReturnCode SetMatsize() {
    int64_t matsize = 0;
    SettingOptions options;
    if (ReturnCode rc = take_number("matsize", 10, 11000, &matsize, &options)) return rc;
    settings.matsize = int32_t(matsize);
    if (options.permanent) record("matsize", matsize);
    return 0;
}

}  // namespace korva

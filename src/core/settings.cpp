// core/settings.cpp - the table of settings and the kinds of their syntax.
//
// A row says how its word is matched, which field it sets and within which bounds, and under which
// key it is recorded. Rows are tried in their order.
#include "core/settings.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/commands.h"
#include "core/macro.h"
#include "core/names.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings_file.h"

namespace korva {

SettingsState settings;

namespace {

struct SettingRow {
    std::string_view name;
    int minimum;
    SettingKind kind;
    void* field;        // int32_t for Number, bool for Switch
    int64_t least = 0;  // Number
    int64_t most = 0;
    const char* key = nullptr;          // recorded under it; null: not persistent
    void (*changed)() = nullptr;        // told after the field has changed
    ReturnCode (*handler)() = nullptr;  // Handler; null: not available yet
};

void width_changed() {
    SetResultsWidth(settings.linesize);
}
void paging_changed() {
    SetResultsPaging(settings.pagesize, settings.more && !session.BatchMode);
}
void trace_changed() {
    session.TraceDepth = session.CallDepth;
}
void procs_changed() {
    session.procs = settings.procs_use;
}

// permanently behind a comma; *permanent tells if it was there.
ReturnCode take_permanently(bool* permanent) {
    *permanent = false;
    NextToken();
    if (TokenIsEmpty()) return 0;
    if (!TokenIs(",")) return ReportInvalidSyntax();
    NextToken(OptionSeparators);
    if (!MatchAbbreviation(scanner.TokenBuffer, "permanently", 4)) return ReportInvalidSyntax();
    *permanent = true;
    return ExpectEnd(0);
}

void record(const SettingRow& row, std::string_view value) {
    RecordSetting(kSettingsSection, row.key, value);
    const LevelGuard level(kLevelText);
    out_tmrk("({cmd:set " + std::string(row.name) + "} preference recorded)\n");
}

// 101 in words if `permanently` was given and the row is not recorded.
ReturnCode check_permanent(const SettingRow& row, bool permanent) {
    return permanent && row.key == nullptr ? ReportNotAllowed("option permanently") : 0;
}

// Ends a row's line: permanently, if it may be, then the record of the new value.
ReturnCode finish(const SettingRow& row, bool permanent, std::string_view value) {
    if (row.changed != nullptr) row.changed();
    if (permanent && row.key != nullptr) record(row, value);
    return 0;
}

ReturnCode set_number(const SettingRow& row) {
    NextToken(OptionSeparators);
    const std::string text = scanner.TokenBuffer;
    int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        return ReportFoundWhere(text, "number");
    }
    bool permanent;
    if (ReturnCode rc = take_permanently(&permanent)) return rc;
    if (ReturnCode rc = check_permanent(row, permanent)) return rc;
    if (number < row.least || number > row.most) {
        out_errorf("%.*s must be between %ld and %ld\n", int(row.name.size()), row.name.data(),
                   long(row.least), long(row.most));
        return 198;
    }
    *static_cast<int32_t*>(row.field) = int32_t(number);
    return finish(row, permanent, text);
}

ReturnCode set_switch(const SettingRow& row) {
    NextToken();
    const bool on = TokenIs("on");
    if (!on && !TokenIs("off")) return ReportRequired("on or off");
    bool permanent;
    if (ReturnCode rc = take_permanently(&permanent)) return rc;
    if (ReturnCode rc = check_permanent(row, permanent)) return rc;
    *static_cast<bool*>(row.field) = on;
    return finish(row, permanent, on ? "on" : "off");
}

// set type float|double
ReturnCode set_type() {
    NextToken();
    const std::string word = scanner.TokenBuffer;
    const bool is_double = word == "double";
    if (!is_double && word != "float") {
        out_error("-set type- may not be set to " + word + "; float and double are allowed\n");
        return 198;
    }
    bool permanent;
    if (ReturnCode rc = take_permanently(&permanent)) return rc;
    settings.default_type = is_double ? 255 : 254;
    if (permanent) {
        RecordSetting(kSettingsSection, "type", is_double ? "255" : "254");
        const LevelGuard level(kLevelText);
        out_tmrk("({cmd:set type} preference recorded)\n");
    }
    return 0;
}

bool read_level(const std::string& text, double* level) {
    char* end;
    *level = std::strtod(text.c_str(), &end);
    return !text.empty() && *end == 0;
}

bool level_is_sound(double level) {
    return level >= 10 && level <= 99.99;
}

// set level #: a confidence level, kept as text.
ReturnCode set_level() {
    const std::string text = NextToken(OptionSeparators);
    bool permanent;
    if (ReturnCode rc = take_permanently(&permanent)) return rc;
    if (text.size() > sizeof settings.level - 1) {
        out_error("level too long\n");
        return 198;
    }
    double level;
    if (!read_level(text, &level)) return ReportFoundWhere(text, "number");
    if (!level_is_sound(level)) {
        out_error("level must be between 10 and 99.99\n");
        return 198;
    }
    std::strcpy(settings.level, text.c_str());
    SetMacro("S_level", text);
    if (permanent) {
        RecordSetting(kSettingsSection, "cilevel", text);
        const LevelGuard level_text(kLevelText);
        out_tmrk("({cmd:set level} preference recorded)\n");
    }
    return 0;
}

// set dp comma|period
ReturnCode set_dp() {
    NextToken();
    const bool comma = TokenIs("comma");
    if (!comma && !TokenIs("period")) return ReportRequired("comma or period");
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    settings.dp_comma = comma;
    return 0;
}

constexpr int32_t kMostProcessors = 1024;

// clang-format off
const SettingRow kSettings[] = {
    // name          min  kind                  field                  least  most   key, changed, handler
    {"adosize",      1, SettingKind::Number,  &settings.adosize,      10,    1000,  "adosize"},
    {"dp",           2, SettingKind::Handler, nullptr,                0,     0,     nullptr, nullptr, set_dp},
    {"level",        1, SettingKind::Handler, nullptr,                0,     0,     nullptr, nullptr, set_level},
    {"linesize",     2, SettingKind::Number,  &settings.linesize,     40,    255,   nullptr, width_changed},
    {"matsize",      3, SettingKind::Handler, nullptr},
    {"maxvar",       6, SettingKind::Handler, nullptr},
    {"memory",       3, SettingKind::Handler, nullptr},
    {"more",         2, SettingKind::Switch,  &settings.more,         0,     0,     "more", paging_changed},
    {"obs",          3, SettingKind::Handler, nullptr,                0,     0,     nullptr, nullptr, SetObs},
    {"pagesize",     2, SettingKind::Number,  &settings.pagesize,     0,     32000, nullptr, paging_changed},
    {"pollrate",     8, SettingKind::Number,  &session.pollcount,     1,     32000},
    {"polltime",     8, SettingKind::Number,  &session.polltime,      1,     1000},
    {"procs_use",    9, SettingKind::Number,  &settings.procs_use,    1,     kMostProcessors, nullptr, procs_changed},
    {"rmsg",         1, SettingKind::Switch,  &settings.rmsg,         0,     0,     "rmsg"},
    {"seed",         2, SettingKind::Handler, nullptr},
    {"trace",        2, SettingKind::Switch,  &settings.trace,        0,     0,     nullptr, trace_changed},
    {"tracedepth",   6, SettingKind::Number,  &settings.tracedepth,   1,     32000},
    {"traceexpand",  6, SettingKind::Switch,  &settings.traceexpand,  0,     0,     "traceexpand"},
    {"tracesep",     6, SettingKind::Switch,  &settings.tracesep,     0,     0,     "tracesep"},
    {"traceindent",  6, SettingKind::Switch,  &settings.traceindent,  0,     0,     "traceindent"},
    {"tracenumber",  6, SettingKind::Switch,  &settings.tracenumber,  0,     0,     "tracenumber"},
    {"type",         2, SettingKind::Handler, nullptr,                0,     0,     nullptr, nullptr, set_type},
    {"varabbrev",    9, SettingKind::Switch,  &settings.varabbrev,    0,     0,     "varabbrev"},
};
// clang-format on

ReturnCode run_row(const SettingRow& row) {
    switch (row.kind) {
    case SettingKind::Number: return set_number(row);
    case SettingKind::Switch: return set_switch(row);
    case SettingKind::Ignored:
        out_text("(-set " + std::string(row.name) + "- is irrelvant nowadays)\n");
        return 0;
    case SettingKind::Irrelevant:
        out_text("(-set " + std::string(row.name) + "- irrelevant in this version of Korva)\n");
        return 0;
    case SettingKind::Word:
    case SettingKind::Handler: break;
    }
    if (row.handler != nullptr) return row.handler();
    out_error("set " + std::string(row.name) + " is not available yet\n");
    return 199;
}

void load_row(const SettingRow& row, const RecordedSettings& recorded) {
    std::string text;
    if (row.key == nullptr || !FindRecorded(recorded, kSettingsSection, row.key, &text)) return;
    if (row.kind == SettingKind::Switch) {
        if (text == "on" || text == "off") *static_cast<bool*>(row.field) = text == "on";
    } else if (row.kind == SettingKind::Number) {
        const int64_t number = RecordedNumber(recorded, kSettingsSection, row.key, row.least - 1);
        if (number >= row.least && number <= row.most) {
            *static_cast<int32_t*>(row.field) = int32_t(number);
        }
    }
}

int64_t recorded_within(const RecordedSettings& recorded, const char* key, int64_t least,
                        int64_t most, int64_t otherwise) {
    const int64_t number = RecordedNumber(recorded, kMemorySection, key, otherwise);
    return number >= least && number <= most ? number : otherwise;
}

}  // namespace

size_t SettingCount() {
    return std::size(kSettings);
}

std::string_view SettingName(size_t i) {
    return kSettings[i].name;
}

SettingKind KindOfSetting(size_t i) {
    return kSettings[i].kind;
}

void LoadMemoryPreferences(const RecordedSettings& recorded) {
    settings.memory = recorded_within(recorded, "memory", 102400, INT64_MAX, settings.memory);
    settings.maxvar = int32_t(recorded_within(recorded, "maxvar", 2048, 32767, settings.maxvar));
    settings.matsize = int32_t(recorded_within(recorded, "matsize", 10, 11000, settings.matsize));
}

void LoadPersistentSettings(const RecordedSettings& recorded) {
    for (const SettingRow& row : kSettings) load_row(row, recorded);
    settings.default_type = RecordedNumber(recorded, kSettingsSection, "type", 254) == 255 ? 255
                                                                                           : 254;
}

void LoadConfidenceLevel(const RecordedSettings& recorded) {
    std::string text;
    double level;
    if (!FindRecorded(recorded, kSettingsSection, "cilevel", &text)) return;
    if (text.size() >= sizeof settings.level || !read_level(text, &level)) return;
    if (!level_is_sound(level)) return;
    std::strcpy(settings.level, text.c_str());
    SetMacro("S_level", text);
}

// set name value [, permanently]
ReturnCode CmdSet(int) {
    const std::string word = NextToken();
    for (const SettingRow& row : kSettings) {
        if (MatchAbbreviation(word, row.name, row.minimum)) return run_row(row);
    }
    if (word.empty()) {
        out_error("command query is not available yet\n");
        return 199;
    }
    out_error(word + " not recognized\n");
    return 198;
}

}  // namespace korva

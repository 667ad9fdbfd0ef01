// core/settings_table.cpp - every setting, a row each, and what a few do beside setting a field.
#include "core/settings_table.h"

#include <cstdlib>
#include <cstring>

#include "core/ado_path.h"
#include "core/commands.h"
#include "core/macro.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/settings_file.h"
#include "core/settings_parse.h"
#include "core/upcalls.h"
#include "frontend/frontend.h"

namespace korva {

namespace {

constexpr const char* kColorSchemes[] = {"automatic", "asis", "gs1", "gs2", "gs3"};
constexpr const char* kCharsets[] = {"latin1", "mac"};
constexpr const char* kLogTypes[] = {"text", "tmrk"};
constexpr const char* kFavors[] = {"speed", "space"};
constexpr const char* kSearches[] = {"local", "net", "all"};
constexpr const char* kTypes[] = {"float", "double"};
constexpr const char* kFloats[] = {"nofloat", "float"};

// Longest texts. Values go into the settings file, of which a value has 499 bytes.
constexpr int64_t kTitleBytes = 244;
constexpr int64_t kHostBytes = 255;
constexpr int64_t kUserBytes = 127;
constexpr int64_t kPatternBytes = 244;
constexpr int64_t kLibraryBytes = 255;

void width_changed() {
    settings.linesize_given = true;
    SetResultsWidth(settings.linesize);
}
void page_changed() {
    settings.pagesize_given = true;
    SetResultsPaging(settings.pagesize, settings.more && !session.BatchMode);
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
void title_changed() {
    frontend.SetTitle(settings.cmdtitle.c_str());
}

// The new size waits for the next start, so that it is recorded in any case.
void scrollback_changed() {
    RecordSetting(kSettingsSection, "scrollbufsize", std::to_string(settings.scrollbufsize));
    const LevelGuard level(kLevelText);
    out_style();
    out_tmrk("({cmd:set scrollbufsize} will take effect the next time you launch Korva)\n");
}

ReturnCode dialogs_are_cleared() {
    if (settings.open_dialogs == 0) return 0;
    out_error("all dialogs must be cleared before using -set maxdb-; type -discard-\n");
    return 198;
}

// What is said of a word that is not in a row's list.
ReturnCode refuse_charset(std::string_view, std::string_view word) {
    out_error("charset " + std::string(word) + " invalid\n");
    return 198;
}
ReturnCode refuse_color(std::string_view name, std::string_view) {
    out_error(std::string(name) + " may be -automatic-, -asis-, -gs1-, -gs2-, or -gs3-\n");
    return 198;
}
ReturnCode refuse_log_type(std::string_view, std::string_view) {
    return ReportRequired("text or tmrk");
}
ReturnCode refuse_favor(std::string_view, std::string_view) {
    return ReportRequired("speed or space");
}
ReturnCode refuse_type(std::string_view, std::string_view word) {
    if (word.empty()) return ReportRequired("'float' or 'double'");
    out_error("-set type- may not be set to " + std::string(word) +
              "; float and double are allowed\n");
    return 198;
}
ReturnCode refuse_search(std::string_view, std::string_view) {
    const LevelGuard level(kLevelError);
    out_reset();
    out_style();
    out_tmrk("{cmd:local}, {cmd:net}, or {cmd:all} required\n");
    return 100;
}

ReturnCode check_scheme(const std::string& name) {
    std::string path;
    constexpr size_t kMaxSchemeBytes = 32;
    if (!name.empty() && name.size() <= kMaxSchemeBytes && name.find('/') == name.npos &&
        FindOnPath("scheme-" + name, "scheme", 1, &path)) {
        return 0;
    }
    return ReportNotFound("scheme " + name);
}

// set level #: a confidence level, kept as text.
ReturnCode set_level() {
    const std::string text = NextToken(OptionSeparators);
    SettingOptions options;
    if (ReturnCode rc = TakeSettingOptions(&options)) return rc;
    if (text.size() > sizeof settings.level - 1) {
        out_error("level too long\n");
        return 198;
    }
    double level;
    if (!ParseMacroNumber(text, &level)) return ReportFoundWhere(text, "number");
    if (!LevelIsSound(text)) {
        out_error("level must be between 10 and 99.99\n");
        return 198;
    }
    std::strcpy(settings.level, text.c_str());
    SetMacro("S_level", text);
    if (options.permanent) {
        RecordSetting(kSettingsSection, "cilevel", text);
        SayRecorded("level");
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

// set output proc|inform|error: the least kind of text that shows from here on.
ReturnCode set_output() {
    NextToken();
    uint8_t threshold;
    if (TokenIs("proc")) {
        threshold = kThresholdNormal;
    } else if (TokenIs("inform")) {
        threshold = kLevelText;
    } else if (TokenIs("error")) {
        threshold = kThresholdQuiet;
    } else {
        return ReportRequired("proc, inform, or error");
    }
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    session.OutputThreshold = threshold;
    session.OutputThresholdAtEntry = threshold;
    return 0;
}

std::string show_output() {
    if (session.OutputThreshold == kThresholdNormal) return "proc";
    return session.OutputThreshold < kThresholdQuiet ? "inform" : "error";
}

using enum SettingKind;
using Group = SettingGroup;

// clang-format off
const SettingRow kSettings[] = {
    // name          min kind      field                 least most  key, group, details
    {"adosize",       1, Number,   &settings.adosize,       10, 1000, "adosize", Group::Memory},
    {"charset",       7, Word,     &settings.charset,        0, 0, "charset", Group::Interface, {.words = kCharsets, .refuse = refuse_charset}},
    {"checksum",      8, Switch,   &settings.checksum,       0, 0, "checksum", Group::Network},
    {"level",         1, Handler,  nullptr,                  0, 0, "cilevel", Group::Other, {.handler = set_level, .show = [] { return std::string(settings.level); }}},
    {"cmdtitle",      7, Text,     &settings.cmdtitle,       0, kTitleBytes, nullptr, Group::Interface, {.changed = title_changed}},
    {"copycolor",     9, Word,     &settings.copycolor,      0, 0, "copycolor", Group::Graphics, {.words = kColorSchemes, .refuse = refuse_color}},
    {"printcolor",   10, Word,     &settings.printcolor,     0, 0, "printcolor", Group::Graphics, {.words = kColorSchemes, .refuse = refuse_color}},
    {"dockable",      8, WindowSwitch, &settings.dockable,      0, 0, "dockable", Group::Interface},
    {"dockingguides", 13, WindowSwitch, &settings.dockingguides, 0, 0, "dockingguides", Group::Interface},
    {"doublebuffer", 12, WindowSwitch, &settings.doublebuffer,  0, 0, "doublebuffer", Group::Interface},
    {"floatresults", 12, WindowSwitch, &settings.floatresults,  0, 0, "floatresults", Group::Interface, {.words = kFloats}},
    {"floatwindows", 12, WindowSwitch, &settings.floatwindows,  0, 0, "floatwindows", Group::Interface, {.words = kFloats}},
    {"locksplitters", 13, WindowSwitch, &settings.locksplitters, 0, 0, "locksplitters", Group::Interface},
    {"persistfv",     9, WindowSwitch, &settings.persistfv,     0, 0, "persistfv", Group::Interface},
    {"persistvtopic", 13, WindowSwitch, &settings.persistvtopic, 0, 0, "persistvtopic", Group::Interface},
    {"xptheme",       7, WindowSwitch, &settings.xptheme,       0, 0, "xptheme", Group::Interface, {.recorded_note = "; restart required to take effect"}},
    {"eolchar",       7, Irrelevant},
    {"conren",        6, Irrelevant},
    {"icmap",         5, Irrelevant},
    {"inkey",         5, Irrelevant},
    {"macgphengine", 12, Irrelevant},
    {"piccomments",  11, Irrelevant},
    {"smoothfonts",  11, Irrelevant},
    {"smoothsize",   10, Irrelevant},
    {"use_qd_text",  11, Irrelevant},
    {"use_atsui_graph", 15, Irrelevant},
    {"helpcolor",     9, Irrelevant},
    {"ANSI",          4, Ignored,  nullptr,                  0, 0, nullptr, Group::None, {.below = 800}},
    {"help",          4, Ignored,  nullptr,                  0, 0, nullptr, Group::None, {.below = 900}},
    {"video",         5, Ignored},
    {"varlabelpos",  11, Ignored},
    {"fastscroll",   10, Switch,   &settings.fastscroll,     0, 0, "fastscroll", Group::Interface},
    {"graphics",      1, Switch,   &settings.graphics,       0, 0, nullptr, Group::Graphics},
    {"httpproxy",     9, Switch,   &settings.httpproxy,      0, 0, "httpproxy", Group::Network},
    {"httpproxyhost", 13, Text,    &settings.httpproxyhost,  0, kHostBytes, "httpproxyhost", Group::Network},
    {"httpproxyport", 13, Number,  &settings.httpproxyport,  1, 65535, "httpproxyport", Group::Network},
    {"httpproxyauth", 13, Switch,  &settings.httpproxyauth,  0, 0, "httpproxyauth", Group::Network},
    {"httpproxyuser", 13, Text,    &settings.httpproxyuser,  0, kUserBytes, "httpproxyuser", Group::Network},
    {"httpproxypw",  11, Text,     &settings.httpproxypw,    0, kUserBytes, "httpproxypw"},  // not for eyes beside
    {"linegap",       5, Number,   &settings.linegap,        0, 10, nullptr, Group::Output},
    {"linesize",      2, Number,   &settings.linesize,      10, INT32_MAX, nullptr, Group::None, {.below = 700, .changed = width_changed}},
    {"linesize",      2, Number,   &settings.linesize,      40, 255, nullptr, Group::Output, {.changed = width_changed}},
    {"pagesize",      2, Number,   &settings.pagesize,       0, 32000, nullptr, Group::Output, {.changed = page_changed}},
    {"logtype",       4, Word,     &settings.logtype,        0, 0, "logtype", Group::Output, {.words = kLogTypes, .refuse = refuse_log_type}},
    {"lumocache",     4, Number,   &settings.lumocache,      1, 2000000, "lumocache", Group::Lumo},
    {"lumofavor",     9, Word,     &settings.lumofavor,      0, 0, "lumofavor", Group::Lumo, {.words = kFavors, .refuse = refuse_favor}},
    {"lumostrict",   10, Switch,   &settings.lumostrict,     0, 0, "lumostrict", Group::Lumo},
    {"lumolobfirst", 12, Switch,   &settings.lumolobfirst,   0, 0, "lumolobfirst", Group::Lumo},
    {"lumolnum",      8, Switch,   &settings.lumolnum,       0, 0, nullptr, Group::Lumo},
    {"lumooptimize", 12, Switch,   &settings.lumooptimize,   0, 0, nullptr, Group::Lumo},
    {"lumolibs",      8, Text,     &settings.lumolibs,       0, kLibraryBytes, nullptr, Group::Lumo},
    {"lumodebug",     9, Switch,   &settings.lumodebug},
    {"matsize",       3, Handler,  nullptr,                  0, 0, nullptr, Group::Memory, {.handler = SetMatsize, .show = [] { return std::to_string(settings.matsize); }}},
    {"maxdb",         5, Number,   &settings.maxdb,          5, 500, "maxdb", Group::Interface, {.allowed = dialogs_are_cleared}},
    {"maxiter",       7, Number,   &settings.maxiter,        0, 16000, "maxiter", Group::Other},
    {"maxobs",        4, NoNeed,   nullptr,                  0, 0, nullptr, Group::None, {.since = 500}},
    {"old_maxvar",    4, NoNeed,   nullptr,                  0, 0, nullptr, Group::None, {.since = 500}},
    {"width",         4, NoNeed,   nullptr,                  0, 0, nullptr, Group::None, {.since = 500}},
    {"lrecl",         4, NoNeed,   nullptr,                  0, 0, nullptr, Group::None, {.since = 500}},
    {"maxvar",        6, Handler,  nullptr,                  0, 0, nullptr, Group::Memory, {.handler = SetMaxvar, .show = [] { return std::to_string(settings.maxvar); }}},
    {"memory",        3, Handler,  nullptr,                  0, 0, nullptr, Group::Memory, {.handler = SetMemory, .show = [] { return std::to_string(settings.memory / 1024) + "k"; }}},
    {"more",          2, Switch,   &settings.more,           0, 0, "more", Group::Output, {.takes_number = true, .changed = paging_changed}},
    {"netdebug",      8, Switch,   &settings.netdebug,       0, 0, "netdebug", Group::Network},
    {"obs",           3, Handler,  nullptr,                  0, 0, nullptr, Group::None, {.handler = SetObs}},
    {"dp",            2, Handler,  nullptr,                  0, 0, nullptr, Group::Output, {.handler = set_dp, .show = [] { return std::string(settings.dp_comma ? "comma" : "period"); }}},
    {"output",        2, Handler,  nullptr,                  0, 0, nullptr, Group::Output, {.handler = set_output, .show = show_output}},
    {"pollrate",      8, Number,   &session.pollcount,       1, 32000, nullptr, Group::Efficiency},
    {"polltime",      8, Number,   &session.polltime,        1, 1000, nullptr, Group::Efficiency},
    {"procs_use",     9, Number,   &settings.procs_use,      1, 0, nullptr, Group::Efficiency, {.changed = procs_changed}},
    {"profiling",     9, Switch,   &settings.profiling,      0, 0, nullptr, Group::Efficiency},
    {"reventries",    7, Number,   &settings.reventries,    50, 500, "reventries", Group::Interface, {.dashed = true}},
    {"revwindow",     6, NoLonger},
    {"varwindow",     6, NoLonger},
    {"rmsg",          1, Switch,   &settings.rmsg,           0, 0, "rmsg", Group::Output},
    {"scheme",        6, Text,     &settings.scheme,         0, 32, "scheme", Group::Graphics, {.check = check_scheme}},
    {"scrollbufsize", 13, Number,  &settings.scrollbufsize, 10000, 500000, "scrollbufsize", Group::Interface, {.changed = scrollback_changed}},
    {"searchdefault", 7, Code,     &settings.searchdefault,  1, 0, "searchdefault", Group::Network, {.words = kSearches, .refuse = refuse_search}},
    {"seed",          2, Handler,  nullptr,                  0, 0, nullptr, Group::None, {.since = 320, .handler = SetSeed}},
    {"seed0",         5, Handler,  nullptr,                  0, 0, nullptr, Group::None, {.handler = SetOldSeed}},
    {"sortseed",      8, Handler,  nullptr,                  0, 0, nullptr, Group::None, {.handler = SetSortSeed}},
    {"smalldlg",      8, Switch,   &settings.smalldlg,       0, 0, "smalldlg", Group::Interface},
    {"textsize",      2, Number,   &settings.textsize,       1, 1000, nullptr, Group::Graphics},
    {"timeout1",      8, Number,   &settings.timeout1,       1, 32000, "timeout1", Group::Network},
    {"timeout2",      8, Number,   &settings.timeout2,       1, 32000, "timeout2", Group::Network},
    {"trace",         2, Switch,   &settings.trace,          0, 0, nullptr, Group::Trace, {.changed = trace_changed}},
    {"tracedepth",    6, Number,   &settings.tracedepth,     1, 32000, nullptr, Group::Trace, {.dashed = true}},
    {"tracecode",     9, Switch,   &settings.tracecode,      0, 0, nullptr, Group::Trace},
    {"tracetime",     9, Switch,   &settings.tracetime,      0, 0, nullptr, Group::Trace},
    {"traceexpand",   6, Switch,   &settings.traceexpand,    0, 0, "traceexpand", Group::Trace},
    {"tracesep",      6, Switch,   &settings.tracesep,       0, 0, "tracesep", Group::Trace},
    {"traceindent",   6, Switch,   &settings.traceindent,    0, 0, "traceindent", Group::Trace},
    {"tracenumber",   6, Switch,   &settings.tracenumber,    0, 0, "tracenumber", Group::Trace},
    {"tracehilite",   6, Text,     &settings.tracehilite,    0, kPatternBytes, "tracehilite", Group::Trace, {.option = "word", .option_field = &settings.tracehilite_word}},
    {"type",          2, Code,     &settings.default_type, 254, 0, "type", Group::Other, {.words = kTypes, .refuse = refuse_type}},
    {"unlinktimeout", 13, Number,  &settings.unlinktimeout,  0, 32000, nullptr, Group::Other},
    {"update_oride", 12, Number,   &settings.update_oride,   0, 1, "update_oride", Group::Update},
    {"update_query", 12, Switch,   &settings.update_query,   0, 0, "update_query", Group::Update},
    {"update_interval", 15, Number, &settings.update_interval, 1, 32000, "update_interval", Group::Update},
    {"update_prompt", 13, Switch,  &settings.update_prompt,  0, 0, "update_prompt", Group::Update},
    {"varabbrev",     9, Switch,   &settings.varabbrev,      0, 0, "varabbrev", Group::Other},
    {"virtual",       3, Switch,   &settings.virtual_memory,  0, 0, nullptr, Group::Memory},
};
// clang-format on

}  // namespace

std::span<const SettingRow> SettingTable() {
    return kSettings;
}

bool LevelIsSound(const std::string& text) {
    double level;
    return ParseMacroNumber(text, &level) && level >= 10 && level <= 99.99;
}

}  // namespace korva

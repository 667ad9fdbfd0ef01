// core/system_values.cpp - c() as one table: a name and how its value is worked out.
#include "core/system_values.h"

#include <limits.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <numbers>

#include "core/ado_path.h"
#include "core/macro.h"
#include "core/missing.h"
#include "core/platform.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/settings_table.h"
#include "core/upcalls.h"

namespace korva {

namespace {

constexpr int32_t kDoubleType = 255;  // the storage type of `set type double`

void set_number(SystemValue* v, double x) {
    v->number = x;
}

void set_text(SystemValue* v, std::string_view text) {
    v->is_text = true;
    v->text = text;
}

void set_switch(SystemValue* v, bool on) {
    set_text(v, on ? "on" : "off");
}

// A setting as `query` shows it.
void set_setting(SystemValue* v, std::string_view name) {
    for (const SettingRow& row : SettingTable()) {
        if (row.name == name) set_text(v, SettingText(row));
    }
}

void set_macro(SystemValue* v, std::string_view key) {
    set_text(v, MacroValue(key));
}

// The level is kept as text, so that it shows as it was typed.
void get_level(SystemValue* v) {
    if (!ParseMacroNumber(settings.level, &v->number)) v->number = kSysMissing;
}

void get_working_directory(SystemValue* v) {
    char path[PATH_MAX];
    set_text(v, getcwd(path, sizeof path) != nullptr ? path : "");
}

// clang-format off
constexpr SystemValueRow kSystemValues[] = {
    {"ALPHA",            [](SystemValue* v) { set_text(v, "A B C D E F G H I J K L M N O P Q R S T U V W X Y Z"); }},
    {"LX",               [](SystemValue* v) { set_number(v, MacroValue("S_KorvaLX").empty() ? 0 : 1); }},
    {"Mons",             [](SystemValue* v) { set_text(v, "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec"); }},
    {"Months",           [](SystemValue* v) { set_text(v, "January February March April May June July August September October November December"); }},
    {"N",                [](SystemValue* v) { set_number(v, DatasetObservations()); }},
    {"PX",               [](SystemValue* v) { set_number(v, 1); }},
    {"Wdays",            [](SystemValue* v) { set_text(v, "Sun Mon Tue Wed Thu Fri Sat"); }},
    {"Weekdays",         [](SystemValue* v) { set_text(v, "Sunday Monday Tuesday Wednesday Thursday Friday Saturday"); }},
    {"adopath",          [](SystemValue* v) { set_macro(v, "S_ADO"); }},
    {"adosize",          [](SystemValue* v) { set_number(v, settings.adosize); }},
    {"alpha",            [](SystemValue* v) { set_text(v, "a b c d e f g h i j k l m n o p q r s t u v w x y z"); }},
    {"born_date",        [](SystemValue* v) { set_text(v, "20 Jul 2007"); }},
    {"byteorder",        [](SystemValue* v) { set_text(v, platform::kByteOrder); }},
    {"changed",          [](SystemValue* v) { set_number(v, DatasetChanged() ? 1 : 0); }},
    {"charset",          [](SystemValue* v) { set_text(v, settings.charset); }},
    {"checksum",         [](SystemValue* v) { set_switch(v, settings.checksum); }},
    {"cmdtitle",         [](SystemValue* v) { set_text(v, settings.cmdtitle); }},
    {"compile_number",   [](SystemValue* v) { set_number(v, 444); }},
    {"console",          [](SystemValue* v) { set_macro(v, "S_CONSOLE"); }},
    {"copycolor",        [](SystemValue* v) { set_text(v, settings.copycolor); }},
    {"cmdlen",           [](SystemValue* v) { set_number(v, session.conslen); }},
    {"current_date",     [](SystemValue* v) { set_macro(v, "S_DATE"); }},
    {"current_time",     [](SystemValue* v) { set_macro(v, "S_TIME"); }},
    {"curscm",           nullptr},
    {"dirsep",           [](SystemValue* v) { set_text(v, platform::kDirectorySeparator); }},
    {"dp",               [](SystemValue* v) { set_text(v, settings.dp_comma ? "comma" : "period"); }},
    {"debug",            nullptr},
    {"di_g",             nullptr},
    {"dockable",         [](SystemValue* v) { set_switch(v, settings.dockable); }},
    {"dockingguides",    [](SystemValue* v) { set_switch(v, settings.dockingguides); }},
    {"doublebuffer",     [](SystemValue* v) { set_switch(v, settings.doublebuffer); }},
    {"epsfloat",         [](SystemValue* v) { set_number(v, std::numeric_limits<float>::epsilon()); }},
    {"epsdouble",        [](SystemValue* v) { set_number(v, std::numeric_limits<double>::epsilon()); }},
    {"flavor",           [](SystemValue* v) { set_macro(v, "S_FLAVOR"); }},
    {"filename",         [](SystemValue* v) { set_macro(v, "S_FN"); }},
    {"filedate",         [](SystemValue* v) { set_macro(v, "S_FNDATE"); }},
    {"filenamelen",      [](SystemValue* v) { set_number(v, kMaxFileNameBytes); }},
    {"fastscroll",       [](SystemValue* v) { set_switch(v, settings.fastscroll); }},
    {"getsockopt",       nullptr},
    {"graphics",         [](SystemValue* v) { set_switch(v, settings.graphics); }},
    {"guixeqcmd",        nullptr},
    {"httpproxy",        [](SystemValue* v) { set_switch(v, settings.httpproxy); }},
    {"httpproxyhost",    [](SystemValue* v) { set_text(v, settings.httpproxyhost); }},
    {"httpproxyport",    [](SystemValue* v) { set_number(v, settings.httpproxyport); }},
    {"httpproxyauth",    [](SystemValue* v) { set_switch(v, settings.httpproxyauth); }},
    {"httpproxyuser",    [](SystemValue* v) { set_text(v, settings.httpproxyuser); }},
    {"httpproxypw",      [](SystemValue* v) { set_text(v, settings.httpproxypw); }},
    {"helpcolor",        nullptr},
    {"jitterseed",       nullptr},
    {"k",                [](SystemValue* v) { set_number(v, DatasetVariables()); }},
    {"level",            [](SystemValue* v) { get_level(v); }},
    {"linesize",         [](SystemValue* v) { set_number(v, settings.linesize); }},
    {"loghelp",          nullptr},
    {"logtype",          [](SystemValue* v) { set_text(v, settings.logtype); }},
    {"linegap",          [](SystemValue* v) { set_number(v, settings.linegap); }},
    {"locksplitters",    [](SystemValue* v) { set_switch(v, settings.locksplitters); }},
    {"machine_type",     [](SystemValue* v) { set_text(v, platform::kMachine); }},
    {"macrolen",         [](SystemValue* v) { set_number(v, session.macrolen); }},
    {"maxdb",            [](SystemValue* v) { set_number(v, settings.maxdb); }},
    {"maxiter",          [](SystemValue* v) { set_number(v, settings.maxiter); }},
    {"max_macrolen",     [](SystemValue* v) { set_number(v, 33.0 * kMostVariables + 200); }},
    {"lumostrict",       [](SystemValue* v) { set_switch(v, settings.lumostrict); }},
    {"lumolobfirst",     [](SystemValue* v) { set_switch(v, settings.lumolobfirst); }},
    {"lumolnum",         [](SystemValue* v) { set_switch(v, settings.lumolnum); }},
    {"lumooptimize",     [](SystemValue* v) { set_switch(v, settings.lumooptimize); }},
    {"lumofavor",        [](SystemValue* v) { set_text(v, settings.lumofavor); }},
    {"lumocache",        [](SystemValue* v) { set_number(v, settings.lumocache); }},
    {"lumolibs",         [](SystemValue* v) { set_text(v, settings.lumolibs); }},
    {"lumodebug",        [](SystemValue* v) { set_switch(v, settings.lumodebug); }},
    {"matsize",          [](SystemValue* v) { set_number(v, settings.matsize); }},
    {"maxbyte",          [](SystemValue* v) { set_number(v, 100); }},
    {"maxdouble",        [](SystemValue* v) { set_number(v, kMaxDouble); }},
    {"maxfloat",         [](SystemValue* v) { set_number(v, kMaxFloat); }},
    {"maxint",           [](SystemValue* v) { set_number(v, 32740); }},
    {"maxlong",          [](SystemValue* v) { set_number(v, 2147483620); }},
    {"maxvar",           [](SystemValue* v) { set_number(v, settings.maxvar); }},
    {"max_N_current",    nullptr},
    {"max_k_current",    [](SystemValue* v) { set_number(v, settings.maxvar); }},
    {"max_k_theory",     [](SystemValue* v) { set_number(v, kMostVariables); }},
    {"max_N_theory",     [](SystemValue* v) { set_number(v, 2147483647); }},
    {"max_width_current", [](SystemValue* v) { set_number(v, session.maxlrecl); }},
    {"max_width_theory", [](SystemValue* v) { set_number(v, 12.0 * kMostVariables); }},
    {"max_matsize",      [](SystemValue* v) { set_number(v, 11000); }},
    {"maxoptions",       nullptr},
    {"max_cmdlen",       [](SystemValue* v) { set_number(v, 33.0 * kMostVariables + 216); }},
    {"maxstrvarlen",     [](SystemValue* v) { set_number(v, kMaxStringBytes); }},
    {"memory",           [](SystemValue* v) { set_number(v, double(settings.memory)); }},
    {"minbyte",          [](SystemValue* v) { set_number(v, -127); }},
    {"mindouble",        [](SystemValue* v) { set_number(v, -kMaxDouble); }},
    {"minfloat",         [](SystemValue* v) { set_number(v, -kMaxFloat); }},
    {"minint",           [](SystemValue* v) { set_number(v, -32767); }},
    {"min_k",            [](SystemValue* v) { set_number(v, 2048); }},
    {"minlong",          [](SystemValue* v) { set_number(v, -2147483647); }},
    {"min_matsize",      [](SystemValue* v) { set_number(v, 10); }},
    {"mode",             [](SystemValue* v) { set_macro(v, "S_MODE"); }},
    {"more",             [](SystemValue* v) { set_switch(v, settings.more); }},
    {"namelen",          [](SystemValue* v) { set_number(v, kMaxNameBytes); }},
    {"netdebug",         [](SystemValue* v) { set_switch(v, settings.netdebug); }},
    {"os",               [](SystemValue* v) { set_text(v, platform::kOperatingSystem); }},
    {"osdtl",            [](SystemValue* v) { set_macro(v, "S_OSDTL"); }},
    {"procs_use",        [](SystemValue* v) { set_number(v, session.procs); }},
    {"procs_mach",       [](SystemValue* v) { set_number(v, double(sysconf(_SC_NPROCESSORS_ONLN))); }},
    {"pagesize",         [](SystemValue* v) { set_number(v, settings.pagesize); }},
    {"persistfv",        [](SystemValue* v) { set_switch(v, settings.persistfv); }},
    {"persistvtopic",    [](SystemValue* v) { set_switch(v, settings.persistvtopic); }},
    {"pi",               [](SystemValue* v) { set_number(v, std::numbers::pi); }},
    {"pollrate",         [](SystemValue* v) { set_number(v, session.pollcount); }},
    {"polltime",         [](SystemValue* v) { set_number(v, session.polltime); }},
    {"printcolor",       [](SystemValue* v) { set_text(v, settings.printcolor); }},
    {"profiling",        [](SystemValue* v) { set_switch(v, settings.profiling); }},
    {"pwd",              [](SystemValue* v) { get_working_directory(v); }},
    {"reventries",       [](SystemValue* v) { set_number(v, settings.reventries); }},
    {"rmsg",             [](SystemValue* v) { set_switch(v, settings.rmsg); }},
    {"rmsg_time",        [](SystemValue* v) { set_number(v, session.rmsg_time); }},
    {"rc",               [](SystemValue* v) { set_number(v, session.CaptureCode); }},
    {"searchdefault",    [](SystemValue* v) { set_setting(v, "searchdefault"); }},
    {"scheme",           [](SystemValue* v) { set_text(v, settings.scheme); }},
    {"scrollbufsize",    [](SystemValue* v) { set_number(v, settings.scrollbufsize); }},
    {"seed",             [](SystemValue* v) { set_text(v, SeedText()); }},
    {"smalldlg",         [](SystemValue* v) { set_switch(v, settings.smalldlg); }},
    {"korva_version",    [](SystemValue* v) { set_number(v, kCurrentVersion / 100.0); }},
    {"sysdir_base",      [](SystemValue* v) { set_text(v, directories.base); }},
    {"sysdir_oldplace",  [](SystemValue* v) { set_text(v, directories.oldplace); }},
    {"sysdir_personal",  [](SystemValue* v) { set_text(v, directories.personal); }},
    {"sysdir_updates",   [](SystemValue* v) { set_text(v, directories.updates); }},
    {"sysdir_site",      [](SystemValue* v) { set_text(v, directories.site); }},
    {"sysdir_korva",     [](SystemValue* v) { set_text(v, directories.korva); }},
    {"sysdir_plus",      [](SystemValue* v) { set_text(v, directories.plus); }},
    {"sysdir_ktbplus",   nullptr},
    {"sysdir_kjplus",    nullptr},
    {"textsize",         [](SystemValue* v) { set_number(v, settings.textsize); }},
    {"timeout1",         [](SystemValue* v) { set_number(v, settings.timeout1); }},
    {"timeout2",         [](SystemValue* v) { set_number(v, settings.timeout2); }},
    {"tol_0",            nullptr},
    {"tol_1",            nullptr},
    {"tol_2",            nullptr},
    {"tol_r",            nullptr},
    {"tokenlen",         [](SystemValue* v) { set_number(v, kTokenBytes - 1); }},
    {"trace",            [](SystemValue* v) { set_switch(v, settings.trace); }},
    {"tracecode",        [](SystemValue* v) { set_switch(v, settings.tracecode); }},
    {"tracetime",        [](SystemValue* v) { set_switch(v, settings.tracetime); }},
    {"tracedepth",       [](SystemValue* v) { set_number(v, settings.tracedepth); }},
    {"traceexpand",      [](SystemValue* v) { set_switch(v, settings.traceexpand); }},
    {"tracesep",         [](SystemValue* v) { set_switch(v, settings.tracesep); }},
    {"traceindent",      [](SystemValue* v) { set_switch(v, settings.traceindent); }},
    {"tracenumber",      [](SystemValue* v) { set_switch(v, settings.tracenumber); }},
    {"tracehilite",      [](SystemValue* v) { set_text(v, settings.tracehilite); }},
    {"type",             [](SystemValue* v) { set_text(v, settings.default_type == kDoubleType ? "double" : "float"); }},
    {"unlinktimeout",    [](SystemValue* v) { set_number(v, settings.unlinktimeout); }},
    {"update_oride",     [](SystemValue* v) { set_number(v, settings.update_oride); }},
    {"update_query",     [](SystemValue* v) { set_switch(v, settings.update_query); }},
    {"update_interval",  [](SystemValue* v) { set_number(v, settings.update_interval); }},
    {"update_prompt",    [](SystemValue* v) { set_switch(v, settings.update_prompt); }},
    {"varabbrev",        [](SystemValue* v) { set_switch(v, settings.varabbrev); }},
    {"varlabelpos",      nullptr},
    {"version",          [](SystemValue* v) { set_number(v, session.version / 100.0); }},
    {"virtual",          [](SystemValue* v) { set_switch(v, settings.virtual_memory); }},
    {"width",            [](SystemValue* v) { set_number(v, double(DatasetWidth())); }},
    {"xptheme",          [](SystemValue* v) { set_switch(v, settings.xptheme); }},
};
// clang-format on

constexpr bool names_are_unique() {
    for (const SystemValueRow& row : kSystemValues) {
        if (std::count_if(std::begin(kSystemValues), std::end(kSystemValues),
                          [&](const SystemValueRow& other) { return other.name == row.name; }) !=
            1) {
            return false;
        }
    }
    return true;
}
static_assert(names_are_unique());

}  // namespace

bool FindSystemValue(std::string_view name, SystemValue* value) {
    for (const SystemValueRow& row : kSystemValues) {
        if (row.name != name) continue;
        if (row.get == nullptr) return false;
        *value = {};
        row.get(value);
        return true;
    }
    return false;
}

std::span<const SystemValueRow> SystemValueTable() {
    return kSystemValues;
}

int SystemValuesNotAvailable() {
    return int(std::count_if(std::begin(kSystemValues), std::end(kSystemValues),
                             [](const SystemValueRow& row) { return row.get == nullptr; }));
}

}  // namespace korva

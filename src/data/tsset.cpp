// data/tsset.cpp - what makes data a time series: set_time(), on which tsset stands, and tsrevar.
//
// set_time() looks at every observation before it changes anything: the data must be in order by
// panel and time, the times whole numbers, and none may come twice in a panel. Observations whose
// time or panel is missing belong to no series. Data found in order count as sorted from here on,
// as if they had been sorted once more.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "core/commands.h"
#include "core/macro.h"
#include "core/missing.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "core/stored_results.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/labels.h"
#include "data/skeleton.h"

namespace korva {

namespace {

struct TimeUnit {
    char letter;  // behind %t
    const char* name;
};
constexpr TimeUnit kUnits[] = {{'d', "daily"},     {'w', "weekly"},     {'m', "monthly"},
                               {'q', "quarterly"}, {'h', "halfyearly"}, {'y', "yearly"}};

// What a pass over the data finds.
struct SeriesFacts {
    double time_min = kSysMissing, time_max = kSysMissing;
    double panel_min = kSysMissing, panel_max = kSysMissing;
    bool in_order = true;
    bool whole = true;      // every time is a whole number
    bool repeated = false;  // a time comes twice in a panel
    bool gaps = false;
};

void widen(double x, double* min, double* max) {
    if (is_missing(*min) || x < *min) *min = x;
    if (is_missing(*max) || x > *max) *max = x;
}

// One observation behind another.
void compare_neighbours(double panel, double time, double next_panel, double next_time,
                        SeriesFacts* facts) {
    if (next_panel != panel) {
        facts->in_order &= next_panel > panel;
        return;
    }
    facts->in_order &= next_time >= time;
    if (is_missing(time) || is_missing(next_time) || is_missing(panel)) return;
    facts->repeated |= next_time == time;
    facts->gaps |= next_time - time > 1;
}

ReturnCode find_facts(const TimeSetting& setting, SeriesFacts* facts) {
    double time[kBlockObs], panel[kBlockObs] = {};
    double last_time = 0, last_panel = 0;
    for (int64_t obs = 1; obs <= dataset.nobs; obs += kBlockObs) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        const int n = int(std::min<int64_t>(kBlockObs, dataset.nobs - obs + 1));
        gather(setting.time_var, int(obs), n, time);
        if (setting.panel_var) gather(setting.panel_var, int(obs), n, panel);
        for (int i = 0; i < n; i++) {
            if (obs + i > 1) compare_neighbours(last_panel, last_time, panel[i], time[i], facts);
            last_time = time[i];
            last_panel = panel[i];
            if (is_missing(time[i]) || is_missing(panel[i])) continue;
            facts->whole &= time[i] == std::floor(time[i]);
            widen(time[i], &facts->time_min, &facts->time_max);
            widen(panel[i], &facts->panel_min, &facts->panel_max);
        }
    }
    return 0;
}

const TimeUnit* unit_of(std::string_view format) {
    if (!format.starts_with('%')) return nullptr;
    format.remove_prefix(1);
    if (format.starts_with('-')) format.remove_prefix(1);
    if (format.starts_with('d')) return &kUnits[0];
    if (!format.starts_with('t') || format.size() < 2) return nullptr;
    for (const TimeUnit& unit : kUnits) {
        if (unit.letter == format[1]) return &unit;
    }
    return nullptr;
}

std::string shown(std::string_view format, double x) {
    const std::string text = fmt_number(format, x);
    const size_t begin = text.find_first_not_of(' ');
    if (begin == text.npos) return {};
    return text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

ReturnCode store_facts(const TimeSetting& setting, const SeriesFacts& facts) {
    const char* format = dataset.formats[setting.time_var - 1];
    const TimeUnit* unit = unit_of(format);
    ClearResults();
    ReturnCode rc = SetResultText("timevar", dataset.names[setting.time_var - 1]);
    if (!rc) rc = SetResultNumber("tmin", facts.time_min);
    if (!rc) rc = SetResultNumber("tmax", facts.time_max);
    if (!rc) rc = SetResultText("tmins", shown(format, facts.time_min));
    if (!rc) rc = SetResultText("tmaxs", shown(format, facts.time_max));
    if (!rc) rc = SetResultText("tsfmt", format);
    if (!rc) rc = SetResultText("unit", unit ? unit->name : "generic");
    if (!rc) rc = SetResultText("unit1", unit ? std::string(1, unit->letter) : ".");
    if (!rc) rc = SetResultNumber("gaps", facts.gaps);
    if (rc || !setting.panel_var) return rc;
    const char* panel_format = dataset.formats[setting.panel_var - 1];
    rc = SetResultText("panelvar", dataset.names[setting.panel_var - 1]);
    if (!rc) rc = SetResultNumber("imin", facts.panel_min);
    if (!rc) rc = SetResultNumber("imax", facts.panel_max);
    if (!rc) rc = SetResultText("imins", shown(panel_format, facts.panel_min));
    if (!rc) rc = SetResultText("imaxs", shown(panel_format, facts.panel_max));
    return rc;
}

// The variables in force before, for a call without a list.
ReturnCode present_setting(TimeSetting* setting) {
    const std::string time_name(characteristic(kDatasetOwner, "_TStvar"));
    const std::string panel_name(characteristic(kDatasetOwner, "_TSpanel"));
    setting->time_var = time_name.empty() ? 0 : find_variable_exact(time_name);
    if (setting->time_var == 0) {
        out_error("time variable not set\n");
        return 111;
    }
    if (panel_name.empty()) return 0;
    setting->panel_var = find_variable_exact(panel_name);
    return setting->panel_var ? 0 : ReportNotFound(panel_name);
}

// The format that the options ask for; empty: the variable keeps its own.
ReturnCode take_format(std::string* format) {
    int given = 0;
    for (const TimeUnit& unit : kUnits) {
        if (!option_present(unit.name, 1, false)) continue;
        *format = std::string("%t") + unit.letter;
        given++;
    }
    if (option_present("generic", 1, false)) {
        *format = "%9.0g";
        given++;
    }
    std::string text;
    if (option_text("format", 1, &text)) {
        if (!fmt_is_valid(text, false) || text.size() >= size_t(kFormatBytes)) {
            return ReportInvalid("%format");
        }
        *format = text;
        given++;
    }
    return given > 1 ? ReportInvalidSyntax() : 0;
}

ReturnCode judge_facts(const TimeSetting& setting, const SeriesFacts& facts) {
    if (!facts.in_order) return ReportError(5);
    if (!facts.whole) return ReportError(451);
    if (!facts.repeated) return 0;
    out_error(setting.panel_var ? "repeated time values within panel\n"
                                : "repeated time values in sample\n");
    return 451;
}

ReturnCode clear_setting() {
    if (ReturnCode rc = set_characteristic(kDatasetOwner, "_TStvar", "")) return rc;
    if (ReturnCode rc = set_characteristic(kDatasetOwner, "_TSpanel", "")) return rc;
    ClearResults();
    return 0;
}

void note_sorted(const TimeSetting& setting) {
    uint16_t* key = dataset.sortlist;
    const uint16_t first = uint16_t(setting.panel_var ? setting.panel_var : setting.time_var);
    if (key[0] == first && (!setting.panel_var || key[1] == setting.time_var)) return;
    if (setting.panel_var) *key++ = uint16_t(setting.panel_var);
    *key++ = uint16_t(setting.time_var);
    *key = 0;
}

}  // namespace

ReturnCode set_time() {
    skeleton.permit.if_exp = skeleton.permit.in_range = skeleton.permit.using_file = kForbidden;
    if (ReturnCode rc = parse_skeleton()) return rc;
    const bool clear = option_present("clear", 5, false);
    std::string format;
    if (ReturnCode rc = take_format(&format)) return rc;
    if (ReturnCode rc = options_done()) return rc;
    const std::vector<int32_t> vars = skeleton.varlist;
    if (vars.size() > 2) return ReportError(103);
    if (clear) return vars.empty() && format.empty() ? clear_setting() : ReportInvalidSyntax();

    TimeSetting setting;
    if (vars.empty()) {
        if (ReturnCode rc = present_setting(&setting)) return rc;
    } else {
        setting.time_var = vars.back();
        setting.panel_var = vars.size() > 1 ? vars[0] : 0;
    }
    if (setting.panel_var == setting.time_var) return ReportInvalidSyntax();
    if (ReturnCode rc = require_numeric({setting.time_var})) return rc;
    const std::string time_name = dataset.names[setting.time_var - 1];
    std::string panel_name;
    if (setting.panel_var) {
        if (ReturnCode rc = require_numeric({setting.panel_var})) return rc;
        panel_name = dataset.names[setting.panel_var - 1];
    }
    // Whoever sorts for us reads the keys here.
    ClearSResults();
    if (ReturnCode rc = SetSResult("order",
                                   panel_name + (panel_name.empty() ? "" : " ") + time_name)) {
        return rc;
    }
    SeriesFacts facts;
    if (ReturnCode rc = find_facts(setting, &facts)) return rc;
    if (ReturnCode rc = judge_facts(setting, facts)) return rc;

    const std::string old_time(characteristic(kDatasetOwner, "_TStvar"));
    if (ReturnCode rc = set_characteristic(kDatasetOwner, "_TStvar", time_name)) return rc;
    if (ReturnCode rc = set_characteristic(kDatasetOwner, "_TSpanel", panel_name)) {
        set_characteristic(kDatasetOwner, "_TStvar", old_time);
        return rc;
    }
    note_sorted(setting);
    char* present = dataset.formats[setting.time_var - 1];
    if (!format.empty() && format != present) {
        present[format.copy(present, size_t(kFormatBytes) - 1)] = 0;
        note_change(setting.time_var);
    }
    return store_facts(setting, facts);
}

namespace {

// The name of the temporary variable with the values of element i, computed the first time that it
// is asked for.
ReturnCode substitute(size_t i, std::vector<std::string>* made) {
    const std::vector<int32_t>& vars = skeleton.varlist;
    for (size_t k = 0; k < i; k++) {
        if (vars[k] == vars[i] && varlist_operator(k) == varlist_operator(i)) {
            made->push_back((*made)[k]);
            return 0;
        }
    }
    char name[kMaxNameBytes + 1];
    NewTempName(name);
    if (ReturnCode rc = addvar(name, kDouble)) return rc;
    double values[kBlockObs];
    for (int64_t obs = 1; obs <= dataset.nobs; obs += kBlockObs) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        const int n = int(std::min<int64_t>(kBlockObs, dataset.nobs - obs + 1));
        varlist_gather(i, int(obs), n, values);
        scatter(dataset.nvar, int(obs), n, values);
    }
    made->push_back(name);
    return 0;
}

ReturnCode store_names(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
    ClearResults();
    return SetResultText("varlist", text);
}

}  // namespace

// tsrevar [varlist] [, list substitute]
ReturnCode CmdTsrevar(int) {
    skeleton.permit.operators = kAllowed;
    skeleton.permit.if_exp = skeleton.permit.in_range = skeleton.permit.using_file = kForbidden;
    if (ReturnCode rc = parse_skeleton()) return rc;
    const bool list = option_present("list", 1, false);
    const bool substitutes = option_present("substitute", 1, false);
    if (ReturnCode rc = options_done()) return rc;
    if (list && substitutes) return ReportInvalidSyntax();
    if (skeleton.varlist.empty()) return 0;

    const int32_t nvar_before = dataset.nvar;
    std::vector<std::string> names;
    for (size_t i = 0; i < skeleton.varlist.size(); i++) {
        const std::string name = dataset.names[skeleton.varlist[i] - 1];
        if (list) {
            if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
        } else if (!varlist_operator(i)) {
            names.push_back(name);
        } else if (ReturnCode rc = substitute(i, &names)) {
            undo_new_variables(nvar_before);
            return rc;
        }
    }
    return store_names(names);
}

}  // namespace korva

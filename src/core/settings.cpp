// core/settings.cpp - what the kinds of settings have in common: how each is parsed, recorded and
// read back.
//
// A row says how its word is matched, which field it sets and within which bounds, and under which
// key it is recorded. Numbers and switches are recorded as numbers, a word of a list as it is or by
// its number. A failed `set` leaves the field as it was.
#include "core/settings.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "core/commands.h"
#include "core/macro.h"
#include "core/names.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings_file.h"
#include "core/settings_parse.h"
#include "core/settings_table.h"
#include "core/threads.h"
#include "core/words.h"

namespace korva {

SettingsState settings;

namespace {

template <typename T>
T& field_of(const SettingRow& row) {
    return *static_cast<T*>(row.field);
}

std::string name_of(const SettingRow& row) {
    return std::string(row.name);
}

int64_t most_of(const SettingRow& row) {
    return row.most != 0 ? row.most : ProcessorCount();
}

bool counts_now(const SettingRow& row) {
    return session.version >= row.more.since && session.version < row.more.below;
}

// The value as it is recorded.
std::string recorded_text(const SettingRow& row) {
    switch (row.kind) {
    case SettingKind::Switch:
    case SettingKind::WindowSwitch: return field_of<bool>(row) ? "1" : "0";
    case SettingKind::Code: return std::to_string(field_of<int32_t>(row));
    default: return SettingText(row);
    }
}

// The key of the row's own option.
std::string option_key(const SettingRow& row) {
    return std::string(row.key) + "_" + std::string(row.more.option);
}

// What may be asked before a row's field changes: permanently, where nothing is recorded, is 101.
ReturnCode check_change(const SettingRow& row, bool permanent) {
    if (permanent && row.key == nullptr) return ReportNotAllowed("option permanently");
    return row.more.allowed != nullptr ? row.more.allowed() : 0;
}

// Ends a row's line: whoever must know is told, and the value is recorded.
ReturnCode finish(const SettingRow& row, bool permanent) {
    if (row.more.changed != nullptr) row.more.changed();
    if (!permanent) return 0;
    RecordSetting(kSettingsSection, row.key, recorded_text(row));
    if (row.more.option_field != nullptr) {
        RecordSetting(kSettingsSection, option_key(row), *row.more.option_field ? "1" : "0");
    }
    SayRecorded(row.name, row.more.recorded_note);
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
    SettingOptions options;
    if (ReturnCode rc = TakeSettingOptions(&options)) return rc;
    if (ReturnCode rc = check_change(row, options.permanent)) return rc;
    if (number < row.least || number > most_of(row)) {
        const std::string name = row.more.dashed ? "-set " + name_of(row) + "-" : name_of(row);
        out_error(name + " must be between " + std::to_string(row.least) + " and " +
                  std::to_string(most_of(row)) + "\n");
        return 198;
    }
    field_of<int32_t>(row) = int32_t(number);
    return finish(row, options.permanent);
}

// Position of the word in the row's list; -1: it is not in it.
int find_word(const SettingRow& row, std::string_view word) {
    const auto words = row.more.words;
    const auto found = std::find(words.begin(), words.end(), word);
    return found == words.end() ? -1 : int(found - words.begin());
}

// True and *number for a token of digits.
bool token_is_number(int* number) {
    const char* text = scanner.TokenBuffer;
    const char* end = text + std::strlen(text);
    const auto [behind, error] = std::from_chars(text, end, *number);
    return error == std::errc() && behind == end;
}

ReturnCode set_switch(const SettingRow& row) {
    NextToken();
    int number = 0;
    const bool old_form = row.more.takes_number && token_is_number(&number);
    const int word = find_word(row, scanner.TokenBuffer);  // nofloat 0, float 1
    const bool on = TokenIs("on") || word == 1 || number != 0;
    if (!on && !TokenIs("off") && word != 0 && !old_form) return ReportRequired("on or off");
    SettingOptions options;
    if (ReturnCode rc = TakeSettingOptions(&options)) return rc;
    if (old_form && options.permanent) {
        out_error("old syntax -set " + name_of(row) +
                  " #- may not be combined with permanent option\n");
        return 198;
    }
    if (ReturnCode rc = check_change(row, options.permanent)) return rc;
    field_of<bool>(row) = on;
    return finish(row, options.permanent);
}

ReturnCode set_word(const SettingRow& row) {
    NextToken();
    const std::string word = scanner.TokenBuffer;
    const int i = find_word(row, word);
    if (i < 0) return row.more.refuse(row.name, word);
    SettingOptions options;
    if (ReturnCode rc = TakeSettingOptions(&options)) return rc;
    if (ReturnCode rc = check_change(row, options.permanent)) return rc;
    if (row.kind == SettingKind::Code) {
        field_of<int32_t>(row) = int32_t(row.least) + i;
    } else {
        field_of<const char*>(row) = row.more.words[size_t(i)];
    }
    return finish(row, options.permanent);
}

ReturnCode set_text(const SettingRow& row) {
    const std::string text = TakeSettingText();
    SettingOptions options;
    if (ReturnCode rc = TakeSettingOptions(&options, row.more.option)) return rc;
    if (ReturnCode rc = check_change(row, options.permanent)) return rc;
    if (text.size() > size_t(row.most)) {
        out_error(name_of(row) + " too long\n");
        return 198;
    }
    if (row.more.check != nullptr) {
        if (ReturnCode rc = row.more.check(text)) return rc;
    }
    field_of<std::string>(row) = text;
    if (row.more.option_field != nullptr) *row.more.option_field = options.other;
    return finish(row, options.permanent);
}

// Says of a setting that it does nothing any more.
ReturnCode say(const std::string& markup) {
    const LevelGuard level(kLevelText);
    out_style();
    out_tmrk(markup);
    return 0;
}

ReturnCode run_row(const SettingRow& row) {
    const std::string name = name_of(row);
    if (row.more.handler != nullptr) return row.more.handler();
    switch (row.kind) {
    case SettingKind::Number: return set_number(row);
    case SettingKind::WindowSwitch:
        if (session.BatchMode) return ReportError(8002);
        [[fallthrough]];
    case SettingKind::Switch: return set_switch(row);
    case SettingKind::Word:
    case SettingKind::Code: return set_word(row);
    case SettingKind::Text: return set_text(row);
    case SettingKind::Ignored: return say("(-set " + name + "- is irrelvant nowadays)\n");
    case SettingKind::Irrelevant:
        return say("(-set " + name + "- irrelevant in this version of Korva)\n");
    case SettingKind::NoLonger: return say("{cmd:set " + name + "} no longer applicable\n");
    case SettingKind::NoNeed:
        return say("(maxvar and maxobs no longer need be set with this version of Korva)\n");
    case SettingKind::Handler: break;
    }
    out_error("set " + name + " is not available yet\n");
    return 199;
}

void load_row(const SettingRow& row, const RecordedSettings& recorded) {
    std::string text;
    if (row.key == nullptr || !FindRecorded(recorded, kSettingsSection, row.key, &text)) return;
    const int64_t number = RecordedNumber(recorded, kSettingsSection, row.key, -1);
    switch (row.kind) {
    case SettingKind::Switch:
    case SettingKind::WindowSwitch:
        if (number == 0 || number == 1) field_of<bool>(row) = number == 1;
        break;
    case SettingKind::Number:
        if (number >= row.least && number <= most_of(row)) {
            field_of<int32_t>(row) = int32_t(number);
        }
        break;
    case SettingKind::Code:
        if (number >= row.least && number < row.least + int64_t(row.more.words.size())) {
            field_of<int32_t>(row) = int32_t(number);
        }
        break;
    case SettingKind::Word:
        if (const int i = find_word(row, text); i >= 0) {
            field_of<const char*>(row) = row.more.words[size_t(i)];
        }
        break;
    case SettingKind::Text:
        if (text.size() > size_t(row.most)) break;
        field_of<std::string>(row) = text;
        if (row.more.option_field != nullptr) {
            *row.more.option_field = RecordedNumber(recorded, kSettingsSection, option_key(row),
                                                    0) == 1;
        }
        break;
    default: break;
    }
}

// Settings that are read first, in this order; the others follow in that of the table.
constexpr std::string_view kReadFirst[] = {
    "adosize",  "lumocache",    "lumofavor",       "lumostrict",    "lumolobfirst",
    "charset",  "checksum",     "logtype",         "maxiter",       "more",
    "netdebug", "fastscroll",   "maxdb",           "printcolor",    "copycolor",
    "rmsg",     "reventries",   "searchdefault",   "varabbrev",     "timeout1",
    "timeout2", "traceindent",  "traceexpand",     "tracenumber",   "tracesep",
    "type",     "update_query", "update_interval", "update_prompt", "scheme",
};

bool is_read_first(std::string_view name) {
    return std::find(std::begin(kReadFirst), std::end(kReadFirst), name) != std::end(kReadFirst);
}

int64_t recorded_within(const RecordedSettings& recorded, const char* key, int64_t least,
                        int64_t most, int64_t otherwise) {
    const int64_t number = RecordedNumber(recorded, kMemorySection, key, otherwise);
    return number >= least && number <= most ? number : otherwise;
}

}  // namespace

ReturnCode TakeSettingOptions(SettingOptions* options, std::string_view other) {
    NextToken();
    if (TokenIsEmpty()) return 0;
    if (!TokenIs(",")) return ReportInvalidSyntax();
    do {
        NextToken(OptionSeparators);
        if (MatchAbbreviation(scanner.TokenBuffer, "permanently", 4)) {
            options->permanent = true;
        } else if (!other.empty() && TokenIs(other)) {
            options->other = true;
        } else {
            return ReportInvalidSyntax();
        }
    } while (PeekChar() != 0);
    return 0;
}

std::string TakeSettingText() {
    if (PeekChar() == '"') return NextToken() + 1;
    char* from = SkipBlanks(ScanRest());
    const size_t n = std::strcspn(from, ",");
    SetScanPointer(from + n);
    return std::string(TrimBlanks(std::string_view(from, n)));
}

void SayRecorded(std::string_view name, std::string_view behind) {
    const LevelGuard level(kLevelText);
    out_style();
    out_tmrk("({cmd:set " + std::string(name) + "} preference recorded" + std::string(behind) +
             ")\n");
}

std::string SettingText(const SettingRow& row) {
    if (row.more.show != nullptr) return row.more.show();
    switch (row.kind) {
    case SettingKind::Number: return std::to_string(field_of<int32_t>(row));
    case SettingKind::Switch:
    case SettingKind::WindowSwitch: return field_of<bool>(row) ? "on" : "off";
    case SettingKind::Word: return field_of<const char*>(row);
    case SettingKind::Code:
        return row.more.words[size_t(field_of<int32_t>(row) - int32_t(row.least))];
    case SettingKind::Text: return field_of<std::string>(row);
    default: return {};
    }
}

void LoadMemoryPreferences(const RecordedSettings& recorded) {
    settings.memory = recorded_within(recorded, "memory", 102400, INT64_MAX, settings.memory);
    settings.maxvar = int32_t(recorded_within(recorded, "maxvar", 2048, 32767, settings.maxvar));
    settings.matsize = int32_t(recorded_within(recorded, "matsize", 10, 11000, settings.matsize));
}

void LoadPersistentSettings(const RecordedSettings& recorded) {
    for (std::string_view name : kReadFirst) {
        for (const SettingRow& row : SettingTable()) {
            if (row.name == name) load_row(row, recorded);
        }
    }
    for (const SettingRow& row : SettingTable()) {
        if (!is_read_first(row.name)) load_row(row, recorded);
    }
    constexpr size_t kMostLibraries = 255;  // characters of the list
    const char* libraries = std::getenv("LUMOLIB");
    if (libraries != nullptr && std::strlen(libraries) <= kMostLibraries) {
        settings.lumolibs = libraries;
    }
}

void LoadConfidenceLevel(const RecordedSettings& recorded) {
    std::string text;
    if (!FindRecorded(recorded, kSettingsSection, "cilevel", &text)) return;
    if (text.size() >= sizeof settings.level || !LevelIsSound(text)) return;
    std::strcpy(settings.level, text.c_str());
    SetMacro("S_level", text);
}

// set [name value [, permanently]]
ReturnCode CmdSet(int) {
    const std::string word = NextToken();
    if (word.empty()) return CmdQuery(0);
    bool known = false;
    for (const SettingRow& row : SettingTable()) {
        if (!MatchAbbreviation(word, row.name, row.minimum)) continue;
        if (counts_now(row)) return run_row(row);
        known = true;
    }
    // A word that only other versions know is told apart from one that none does.
    if (known) out_error("-set " + word + "- not allowed; ");
    out_error(word + " not recognized\n");
    return 198;
}

}  // namespace korva

// core/settings_table.h - the rows of `set`: what `set` parses by, what is recorded, what `query`
// shows.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "core/types.h"

namespace korva {

enum class SettingKind : uint8_t {
    Number,        // set name #, within bounds; int32_t
    Switch,        // set name on|off; bool
    WindowSwitch,  // Switch for a window of the front end: ignored, with a note, in a batch run
    Word,          // set name word, one of a list; const char* that points into it
    Code,          // the same, kept and recorded as number; int32_t
    Text,          // set name text; std::string
    Handler,       // its own routine alone; without one the setting is not available yet
    Ignored,       // "is irrelvant nowadays"
    Irrelevant,    // "irrelevant in this version"
    NoLonger,      // "no longer applicable"
    NoNeed,        // "no longer need be set"
};

enum class SettingGroup : uint8_t {
    None,  // not shown by query
    Memory,
    Output,
    Interface,
    Graphics,
    Efficiency,
    Network,
    Update,
    Trace,
    Lumo,
    Other,
};

struct SettingDetails {
    std::span<const char* const> words = {};  // Word, Code; Switch: further words for off and on
    // Word, Code: words for what is not in the list.
    ReturnCode (*refuse)(std::string_view name, std::string_view word) = nullptr;
    ReturnCode (*check)(const std::string& text) = nullptr;  // Text: words for what it may not be
    int32_t since = 0;                    // the row counts from this version on, times 100
    int32_t below = INT32_MAX;            // and below this one
    bool dashed = false;                  // the bounds are told of "-set name-"
    bool takes_number = false;            // Switch: an old form gives a number, 0 for off
    std::string_view option = {};         // Text: an option of its own
    bool* option_field = nullptr;         // whether it was given
    std::string_view recorded_note = {};  // said behind "preference recorded"
    ReturnCode (*allowed)() = nullptr;    // asked before the field changes
    void (*changed)() = nullptr;          // told after it has changed
    ReturnCode (*handler)() = nullptr;    // parses in place of the kind
    std::string (*show)() = nullptr;      // the value for query, where it is not the field's
};

struct SettingRow {
    std::string_view name;
    int minimum;  // fewest characters of the abbreviation
    SettingKind kind;
    void* field = nullptr;
    int64_t least = 0;          // Number; Code: the number of the first word
    int64_t most = 0;           // Number, 0: the processors of the machine; Text: bytes
    const char* key = nullptr;  // recorded under it; null: not persistent
    SettingGroup group = SettingGroup::None;
    SettingDetails more = {};
};

// Every row, in the order of the search. A word takes the first row that it abbreviates and that
// counts in the version in force.
std::span<const SettingRow> SettingTable();

// The row's value as the user would type it.
std::string SettingText(const SettingRow& row);

}  // namespace korva

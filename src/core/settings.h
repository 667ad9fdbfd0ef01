// core/settings.h - what `set` changes: the fields, and the table of rows that parses into them.
//
// A setting lives in one field here, which its owner reads directly. Rows with `permanently` also
// keep the value in the settings file (core/settings_file.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "core/types.h"

namespace korva {

struct RecordedSettings;  // core/settings_file.h

struct SettingsState {
    int32_t adosize = 500;  // kilobytes of programs from ado-files kept in memory
    char level[33] = "95";  // confidence level, as text
    int32_t linesize = 79;  // columns of a line
    int32_t pagesize = 23;  // lines between two --more--
    bool more = true;
    bool rmsg = false;           // each line reports its time
    bool dp_comma = false;       // decimal comma in what is shown
    int32_t default_type = 254;  // StorageType of a new variable without one: 254 float, 255 double
    bool varabbrev = true;       // variable names may be abbreviated
    bool trace = false;
    int32_t tracedepth = 32000;
    bool traceexpand = true;
    bool tracesep = true;
    bool traceindent = true;
    bool tracenumber = false;
    bool profiling = false;
    int32_t reventries = 100;
    int32_t matsize = 400;
    int32_t maxvar = 5000;
    int64_t memory = 10485760;  // bytes of the data area
    int32_t procs_use = 1;
    char charset[9] = "latin1";
    char logtype[5] = "tmrk";
    // What was asked for at start-up when the system refused it; 0: nothing was refused.
    int64_t refused_memory = 0;
    int32_t refused_maxvar = 0;
    int32_t refused_matsize = 0;
};
extern SettingsState settings;  // defined in core/settings.cpp

enum class SettingKind : uint8_t {
    Number,      // set name #
    Switch,      // set name on|off
    Word,        // set name word, one of a list
    Handler,     // its own routine
    Ignored,     // "is irrelvant nowadays"
    Irrelevant,  // "irrelevant in this version"
};

// The rows of the table in its order, 0-based: what may be typed behind `set`.
size_t SettingCount();
std::string_view SettingName(size_t i);
SettingKind KindOfSetting(size_t i);

// Reads the recorded memory, maxvar and matsize: they are needed before anything else.
void LoadMemoryPreferences(const RecordedSettings& recorded);

// Reads the recorded confidence level: last of all, and only into a session that begins at the
// keyboard.
void LoadConfidenceLevel(const RecordedSettings& recorded);

// Reads every persistent setting from the settings file into its field, bad values left out.
void LoadPersistentSettings(const RecordedSettings& recorded);

}  // namespace korva

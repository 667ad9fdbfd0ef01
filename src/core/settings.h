// core/settings.h - what `set` changes: the fields, and the table of rows that parses into them.
//
// A setting lives in one field here, which its owner reads directly. Rows with `permanently` also
// keep the value in the settings file (core/settings_file.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "core/types.h"

namespace korva {

struct RecordedSettings;  // core/settings_file.h

constexpr int32_t kMostVariables = 32767;  // the largest maxvar that can be set

struct SettingsState {
    // Output.
    char level[33] = "95";  // confidence level, as text
    int32_t linesize = 79;  // columns of a line
    int32_t pagesize = 23;  // lines between two --more--
    int32_t linegap = 1;    // pixels between two lines
    bool more = true;
    bool rmsg = false;                     // each line reports its time
    bool dp_comma = false;                 // decimal comma in what is shown
    const char* logtype = "tmrk";          // "text" or "tmrk": what log using writes without a word
    const char* charset = "latin1";        // or "mac"
    int32_t default_type = 254;            // StorageType of a new variable without one: 254 float,
                                           // 255 double
    const char* copycolor = "automatic";   // "automatic", "asis", "gs1", "gs2" or "gs3"
    const char* printcolor = "automatic";  // the same
    // Interface: stored for front ends.
    bool dockable = true;
    bool dockingguides = true;
    bool doublebuffer = true;
    bool fastscroll = true;
    bool floatresults = false;
    bool floatwindows = false;
    bool locksplitters = false;
    bool persistfv = false;
    bool persistvtopic = false;
    bool smalldlg = false;
    bool xptheme = true;
    std::string cmdtitle;           // title of the Command window; empty: its own
    int32_t maxdb = 50;             // dialogs remembered
    int32_t open_dialogs = 0;       // counted by dialog/: maxdb waits until there are none
    int32_t reventries = 100;       // lines that the review keeps
    int32_t scrollbufsize = 32000;  // bytes of the Results window's scrollback
    // Graphics.
    bool graphics = true;  // graphs are shown as they are drawn
    std::string scheme = "s2color";
    int32_t textsize = 100;  // percent
    // Memory and efficiency.
    int32_t adosize = 500;  // kilobytes of programs from ado-files kept in memory
    int32_t matsize = 400;
    int32_t maxvar = 5000;
    int64_t memory = 10485760;    // bytes of the data area
    bool virtual_memory = false;  // set virtual
    int32_t procs_use = 1;
    // Network and update.
    bool checksum = false;
    bool httpproxy = false;
    bool httpproxyauth = false;
    std::string httpproxyhost;
    int32_t httpproxyport = 80;
    std::string httpproxyuser;
    std::string httpproxypw;
    bool netdebug = false;
    int32_t timeout1 = 120;     // seconds for a connection
    int32_t timeout2 = 300;     // seconds for an answer
    int32_t searchdefault = 1;  // 1 local, 2 net, 3 all
    int32_t unlinktimeout = 5;  // seconds in which a file that is in use is tried again
    int32_t update_oride = 0;
    bool update_query = true;
    int32_t update_interval = 7;  // days
    bool update_prompt = true;
    // Trace.
    bool trace = false;
    int32_t tracedepth = 32000;
    bool traceexpand = true;
    bool tracesep = true;
    bool traceindent = true;
    bool tracenumber = false;
    bool tracecode = false;
    bool tracetime = false;
    std::string tracehilite;        // what is highlighted in a traced line; empty: nothing
    bool tracehilite_word = false;  // only where it stands as a word
    // Lumo.
    bool lumostrict = false;
    bool lumolnum = false;
    bool lumooptimize = true;
    const char* lumofavor = "space";  // or "speed"
    int32_t lumocache = 400;          // kilobytes of code from libraries kept in memory
    std::string lumolibs = "base;math;stat;io;eispack";
    bool lumolobfirst = false;
    bool lumodebug = false;
    // Other.
    int32_t maxiter = 16000;
    bool profiling = false;
    bool varabbrev = true;  // variable names may be abbreviated
    // -set linesize- and -set pagesize- were used: the window no longer decides.
    bool linesize_given = false;
    bool pagesize_given = false;
    // What was asked for at start-up when the system refused it; 0: nothing was refused.
    int64_t refused_memory = 0;
    int32_t refused_maxvar = 0;
    int32_t refused_matsize = 0;
};
extern SettingsState settings;  // defined in core/settings.cpp

// Reads the recorded memory, maxvar and matsize: they are needed before anything else.
void LoadMemoryPreferences(const RecordedSettings& recorded);

// Reads the recorded confidence level: last of all, and only into a session that begins at the
// keyboard.
void LoadConfidenceLevel(const RecordedSettings& recorded);

// Reads every persistent setting from the settings file into its field, bad values left out, and
// takes the library list of the environment (LUMOLIB), which comes before the default.
void LoadPersistentSettings(const RecordedSettings& recorded);

}  // namespace korva

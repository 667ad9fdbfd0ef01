// output/log.h - the log files of the session: which are open, and where each stands.
//
// A log that is on is a descriptor in one of the log sets of the Results stream; the command log is
// written here, a line at a time. A record exists while its file is open. log.cpp holds `log`,
// `cmdlog`, the macro function `log`, and what the session calls (core/upcalls.h).
#pragma once

#include <cstdint>
#include <string>

#include "core/types.h"

namespace korva {

constexpr int kMaxLogNameBytes = 33;

struct LogRecord {
    int handle = 0;                             // of the file; 0: none, the record is closed
    uint8_t type = 0;                           // 1 mark-up, 0 text
    uint8_t status = 0;                         // 1 on, 0 off
    uint8_t whole = 1;                          // 0 once a write came up short
    char filename[kMaxFileNameBytes + 1] = {};  // as typed, with its suffix
    char name[kMaxLogNameBytes + 1] = {};       // of name(); empty: the default log
    const char* change = "";    // "opened", "paused" or "resumed", whichever was last
    char changed_at[32] = {};   // when, as headers show it
    LogRecord* next = nullptr;  // the named log opened before this one
};

struct LogState {
    LogRecord log;               // the default log
    LogRecord command;           // the command log
    LogRecord* named = nullptr;  // logs with a name, the newest first; each is owned
};
extern LogState logs;  // defined in output/log.cpp

}  // namespace korva

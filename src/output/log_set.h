// output/log_set.h - the log files attached to a stream, and the block that gathers what goes to
// them.
#pragma once

#include <cstdint>
#include <string_view>

namespace korva {

constexpr int kMaxLogs = 5;           // files in one set
constexpr int kLogBufferBytes = 512;  // gathered before a write

struct LogSet {
    uint32_t count = 0;
    int fd[kMaxLogs] = {};
    uint8_t alive[kMaxLogs] = {};  // 0: a write came up short; the file is skipped from then on
};

struct LogBuffer {
    uint32_t fill = 0;
    char bytes[kLogBufferBytes];
};

// Gathers the text for the files of the set; every LF goes out as CR LF.
void log_write(LogSet* set, LogBuffer* buffer, std::string_view text);

// Writes out what has been gathered.
void log_flush(LogSet* set, LogBuffer* buffer);

// Writes the text straight to the end of one file, every LF as CR LF; false when it came up short.
bool log_write_file(int fd, std::string_view text);

// Adds the file, alive; true if it is there already, false when the set is full.
bool log_add(LogSet* set, int fd);

// True if the file is there, dead or alive.
bool log_has(const LogSet& set, int fd);

// True if the file is there and every write to it was whole.
bool log_is_alive(const LogSet& set, int fd);

// Marks the file dead; nothing if it is not there.
void log_mark_dead(LogSet* set, int fd);

// Takes the file out; false if it is not there.
bool log_remove(LogSet* set, int fd);

}  // namespace korva

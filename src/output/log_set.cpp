// output/log_set.cpp - logs are written through descriptors, always at the end of the file.
//
// A disk that fills must not end the session: a write that comes up short marks its file dead, and
// the others go on.
#include "output/log_set.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

#include "core/alloc.h"

namespace korva {

namespace {

bool write_bytes(int fd, const char* bytes, size_t n) {
    if (StressFails()) return false;
    lseek(fd, 0, SEEK_END);  // fails on a pipe, which is always at its end
    while (n > 0) {
        const ssize_t written = write(fd, bytes, n);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes += written;
        n -= size_t(written);
    }
    return true;
}

void write_set(LogSet* set, const char* bytes, size_t n) {
    for (uint32_t i = 0; i < set->count; i++) {
        if (set->alive[i] && !write_bytes(set->fd[i], bytes, n)) set->alive[i] = 0;
    }
}

void gather(LogSet* set, LogBuffer* buffer, const char* bytes, size_t n) {
    if (n > kLogBufferBytes) {
        log_flush(set, buffer);
        write_set(set, bytes, n);
        return;
    }
    if (buffer->fill + n > kLogBufferBytes) log_flush(set, buffer);
    memcpy(buffer->bytes + buffer->fill, bytes, n);
    buffer->fill += uint32_t(n);
}

}  // namespace

void log_write(LogSet* set, LogBuffer* buffer, std::string_view text) {
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        if (!line.empty()) gather(set, buffer, line.data(), line.size());
        if (end == std::string_view::npos) return;
        gather(set, buffer, "\r\n", 2);
        text.remove_prefix(end + 1);
    }
}

void log_flush(LogSet* set, LogBuffer* buffer) {
    if (buffer->fill == 0) return;
    write_set(set, buffer->bytes, buffer->fill);
    buffer->fill = 0;
}

bool log_write_file(int fd, std::string_view text) {
    LogSet one;
    LogBuffer buffer;
    log_add(&one, fd);
    log_write(&one, &buffer, text);
    log_flush(&one, &buffer);
    return one.alive[0] != 0;
}

bool log_add(LogSet* set, int fd) {
    if (log_has(*set, fd)) return true;
    if (set->count == kMaxLogs) return false;
    set->fd[set->count] = fd;
    set->alive[set->count] = 1;
    set->count++;
    return true;
}

bool log_has(const LogSet& set, int fd) {
    return std::find(set.fd, set.fd + set.count, fd) != set.fd + set.count;
}

bool log_is_alive(const LogSet& set, int fd) {
    for (uint32_t i = 0; i < set.count; i++) {
        if (set.fd[i] == fd) return set.alive[i] != 0;
    }
    return false;
}

void log_mark_dead(LogSet* set, int fd) {
    for (uint32_t i = 0; i < set->count; i++) {
        if (set->fd[i] == fd) set->alive[i] = 0;
    }
}

bool log_remove(LogSet* set, int fd) {
    for (uint32_t i = 0; i < set->count; i++) {
        if (set->fd[i] != fd) continue;
        for (uint32_t k = i + 1; k < set->count; k++) {
            set->fd[k - 1] = set->fd[k];
            set->alive[k - 1] = set->alive[k];
        }
        set->count--;
        return true;
    }
    return false;
}

}  // namespace korva

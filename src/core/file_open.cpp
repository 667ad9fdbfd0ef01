// core/file_open.cpp - calls that a signal interrupts begin again; a break is the caller's to see.
#include "core/file_open.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "core/alloc.h"

namespace korva {

ReturnCode OpenToRead(const std::string& path, int* fd) {
    if (StressFails()) return 603;
    int opened;
    do opened = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    while (opened < 0 && errno == EINTR);
    if (opened < 0) return errno == ENOENT || errno == ENOTDIR ? 601 : 603;
    struct stat facts;
    if (fstat(opened, &facts) != 0 || !S_ISREG(facts.st_mode)) {
        close(opened);
        return 603;
    }
    *fd = opened;
    return 0;
}

int64_t ReadSome(int fd, void* to, size_t n) {
    if (StressFails()) return -1;
    ssize_t got;
    do got = read(fd, to, n);
    while (got < 0 && errno == EINTR);
    return got;
}

}  // namespace korva

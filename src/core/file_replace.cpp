// core/file_replace.cpp - a file beside the old one, renamed over it when it is whole.
//
// The path is made absolute at the beginning, so that a change of the working directory between
// two writes moves nothing. Signals that ask the process to end only raise a break, so that the
// command unwinds and takes its file away; a process that is killed leaves the file beside.
#include "core/file_replace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>

#include "core/alloc.h"
#include "core/return_codes.h"
#include "core/upcalls.h"

namespace korva {

namespace {

constexpr int kMaxLinks = 40;     // what the system itself follows before it calls it a loop
constexpr int kMaxAttempts = 64;  // names that sessions killed under this process number may hold
constexpr mode_t kNewFileMode = 0666;

struct ReplaceState {
    uint32_t counter = 0;  // replacements begun: part of the names beside
} replace_state;

std::string directory_of(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

bool make_absolute(std::string* path) {
    if (path->empty()) return false;
    if (path->front() == '/') return true;
    char directory[PATH_MAX];
    if (getcwd(directory, sizeof directory) == nullptr) return false;
    *path = std::string(directory) + "/" + *path;
    return true;
}

// Replaces a link by what it points to, whether or not a file stands there. On return *status is
// that of the file, and *exists tells if there is one. False: nothing can be written under the
// name.
bool follow_links(std::string* path, struct stat* status, bool* exists) {
    for (int hops = 0; hops < kMaxLinks; hops++) {
        *exists = lstat(path->c_str(), status) == 0;
        if (!*exists) return errno == ENOENT;
        if (!S_ISLNK(status->st_mode)) return true;
        char link[PATH_MAX];
        const ssize_t n = readlink(path->c_str(), link, sizeof link);
        if (n <= 0 || size_t(n) == sizeof link) return false;
        const std::string_view points_to(link, size_t(n));
        *path = points_to.front() == '/' ? std::string(points_to)
                                         : directory_of(*path) + std::string(points_to);
    }
    return false;
}

// Nobody's write bit counts as read-only too: the superuser is refused nothing, yet whoever took
// the bits away meant it.
bool may_be_written(const std::string& path, const struct stat& status) {
    constexpr mode_t kAnyWrite = S_IWUSR | S_IWGRP | S_IWOTH;
    return (status.st_mode & kAnyWrite) != 0 && access(path.c_str(), W_OK) == 0;
}

// Gives the new file owner and rights of the one that it replaces. A foreign owner cannot be kept
// without privilege; the rights of set-user-id programs are not handed on.
bool take_rights(int fd, const struct stat& status) {
    if (fchown(fd, status.st_uid, status.st_gid) != 0 &&
        fchown(fd, uid_t(-1), status.st_gid) != 0 && errno != EPERM) {
        return false;
    }
    return fchmod(fd, status.st_mode & 0777) == 0;
}

bool is_want_of_space(int error) {
    return error == ENOSPC || error == EDQUOT || error == EFBIG;
}

ReturnCode report_write_error(int error, const std::string& name) {
    return is_want_of_space(error) ? ReportError(699) : ReportFileError(693, name);
}

// Opens a file of a new name in the directory; errno tells the reason of a failure.
int open_beside(const std::string& directory, mode_t mode, std::string* beside) {
    if (StressFails()) {
        errno = EACCES;
        return -1;
    }
    for (int attempt = 0; attempt < kMaxAttempts; attempt++) {
        *beside = directory + ".korva_" + std::to_string(getpid()) + "_" +
                  std::to_string(++replace_state.counter) + ".new";
        const int fd = open(beside->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                            mode);
        if (fd >= 0 || errno != EEXIST) return fd;
    }
    return -1;
}

void flush_directory(const std::string& target) {
    const int fd = open(directory_of(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    fsync(fd);
    close(fd);
}

}  // namespace

FileReplacement::~FileReplacement() {
    AbandonReplace(this);
}

ReturnCode BeginReplace(FileReplacement* file, std::string_view path) {
    AbandonReplace(file);
    file->name = path;
    file->target = path;
    struct stat status;
    bool exists;
    if (!make_absolute(&file->target) || !follow_links(&file->target, &status, &exists)) {
        return ReportFileError(603, path);
    }
    if (exists && !S_ISREG(status.st_mode)) return ReportFileError(603, path);
    if (exists && IsLogFile(file->target)) return ReportError(604);
    if (exists && !may_be_written(file->target, status)) return ReportFileError(608, path);
    // Nobody else reads what is written before it has the rights of the old file.
    file->fd = open_beside(directory_of(file->target), exists ? 0600 : kNewFileMode, &file->beside);
    if (file->fd < 0) {
        return is_want_of_space(errno) ? ReportError(699) : ReportFileError(603, path);
    }
    if (exists && !take_rights(file->fd, status)) {
        AbandonReplace(file);
        return ReportFileError(603, path);
    }
    return 0;
}

ReturnCode WriteReplacement(FileReplacement* file, const void* bytes, size_t n) {
    const char* from = static_cast<const char*>(bytes);
    while (n > 0) {
        errno = EIO;
        const ssize_t written = StressFails() ? -1 : write(file->fd, from, n);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) {
            const int error = written == 0 ? ENOSPC : errno;
            AbandonReplace(file);
            return report_write_error(error, file->name);
        }
        from += written;
        n -= size_t(written);
    }
    return 0;
}

ReturnCode CommitReplace(FileReplacement* file) {
    errno = EIO;
    // Some systems tell only here, or at the close, that there was no room.
    bool flushed = !StressFails() && fsync(file->fd) == 0;
    int error = errno;
    if (close(file->fd) != 0 && flushed) {
        flushed = false;
        error = errno;
    }
    file->fd = -1;
    const bool renamed = flushed && !StressFails() &&
                         std::rename(file->beside.c_str(), file->target.c_str()) == 0;
    if (!renamed) unlink(file->beside.c_str());
    if (!flushed) return report_write_error(error, file->name);
    if (!renamed) return ReportError(694);
    // The rename stands by now; a directory that cannot be flushed does not undo it.
    flush_directory(file->target);
    return 0;
}

void AbandonReplace(FileReplacement* file) {
    if (file->fd < 0) return;
    close(file->fd);
    file->fd = -1;
    unlink(file->beside.c_str());
}

}  // namespace korva

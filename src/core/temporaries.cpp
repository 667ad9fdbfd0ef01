// core/temporaries.cpp - temporary names and files, and what a level leaves of them.
//
// Names come from two counters and are never looked up: a counter makes each unique in the session,
// and the marker file that a session creates under the running count 0 keeps two sessions in one
// directory apart. What a level made is what the counters passed since it began.
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "core/ado_path.h"
#include "core/alloc.h"
#include "core/commands.h"
#include "core/macro.h"
#include "core/names.h"
#include "core/platform.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/store.h"

namespace korva {

namespace {

constexpr bool kKeepMarker = true;

constexpr std::string_view kNameDigits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::string_view kFileDigits = "0123456789abcdefghijklmnopqrstuvwx";
constexpr int kCountDigits = 6;
constexpr int kSessionDigits = 2;
constexpr int32_t kMaxTempName = INT32_MAX;   // the counter's own limit; six digits hold more
constexpr int32_t kMaxTempFile = 1544000000;  // six digits of base 34 hold a little more
constexpr int kSessions = 999;                // 0 to 998
constexpr const char* kFileExtension = ".tmp";
constexpr size_t kFileNameBytes = 15;  // ST_ss000000.tmp

// The number in `digits.size()`-base, high digit first.
void write_digits(int64_t number, std::string_view digits, int n, char* text) {
    const auto base = int64_t(digits.size());
    for (int i = n - 1; i >= 0; i--) {
        text[i] = digits[size_t(number % base)];
        number /= base;
    }
}

// ST_ and the session's two digits, which all its files share, into text[6].
void write_prefix(int session_number, char* text) {
    std::memcpy(text, "ST_", 3);
    write_digits(session_number, kFileDigits, kSessionDigits, text + 3);
    text[5] = 0;
}

std::string file_path(int session_number, int32_t count) {
    char prefix[6];
    char digits[kCountDigits + 1] = {};
    write_prefix(session_number, prefix);
    write_digits(count, kFileDigits, kCountDigits, digits);
    return std::string(macros.TempDirectory) + platform::kDirectorySeparator + prefix + digits +
           kFileExtension;
}

// Takes the candidate as the temporary directory, if it is one and short enough.
bool take_directory(const char* candidate) {
    if (candidate == nullptr || *candidate == 0 || !DirectoryExists(candidate)) return false;
    std::string path = candidate;
    while (path.ends_with('/')) path.pop_back();
    if (path.size() + 1 + kFileNameBytes > kMaxFileNameBytes) return false;
    std::memcpy(macros.TempDirectory, path.c_str(), path.size() + 1);
    return true;
}

bool names_file(const char* path, int fd) {
    struct stat at_path;
    struct stat opened;
    return lstat(path, &at_path) == 0 && fstat(fd, &opened) == 0 &&
           at_path.st_dev == opened.st_dev && at_path.st_ino == opened.st_ino;
}

enum class Claim : uint8_t { Made, Reclaimed, Taken, Refused };

// Makes the number's marker, or takes over one that a session left which was killed: a living
// session holds the lock of its own. Refused: no file can be made in the directory.
Claim claim_number(int number) {
    const std::string path = file_path(number, 0);
    if (StressFails()) return Claim::Refused;
    constexpr int kFlags = O_RDWR | O_CLOEXEC | O_NOFOLLOW;
    int fd = open(path.c_str(), kFlags | O_CREAT | O_EXCL, 0600);
    const bool made = fd >= 0;
    if (!made && errno != EEXIST) return Claim::Refused;
    if (!made) fd = open(path.c_str(), kFlags | O_NONBLOCK);
    if (fd < 0) return Claim::Taken;
    if (flock(fd, LOCK_EX | LOCK_NB) != 0 || !names_file(path.c_str(), fd)) {
        close(fd);
        return Claim::Taken;
    }
    macros.MarkerFd = fd;
    return made ? Claim::Made : Claim::Reclaimed;
}

bool named_since(const StoreRecord* record, int32_t counter) {
    const int32_t number = TempNameNumber(std::string_view(record->name, record->name_bytes));
    if (number < 0) return false;
    // The counter may have returned to zero since then.
    if (macros.TempNameCounter >= counter)
        return number >= counter && number < macros.TempNameCounter;
    return number >= counter || number < macros.TempNameCounter;
}

void drop_named_since(int32_t kind, int32_t counter) {
    for (StoreRecord* record = StoreNext(kind, nullptr); record != nullptr;) {
        StoreRecord* next = StoreNext(kind, record);
        if (named_since(record, counter)) StoreDelete(record);
        record = next;
    }
}

int32_t next_file_count(int32_t count) {
    return count >= kMaxTempFile ? 1 : count + 1;
}

// Deletes every file of this session, the marker included unless it is kept.
void delete_session_files(bool keep_marker) {
    DIR* directory = opendir(macros.TempDirectory);
    if (directory == nullptr) return;
    char prefix[6];
    write_prefix(macros.SessionNumber, prefix);
    while (const dirent* entry = readdir(directory)) {
        const std::string_view name = entry->d_name;
        if (name.size() != kFileNameBytes || !name.starts_with(prefix)) continue;
        if (!name.ends_with(kFileExtension)) continue;
        if (keep_marker && file_path(macros.SessionNumber, 0).ends_with(name)) continue;
        unlinkat(dirfd(directory), entry->d_name, 0);
    }
    closedir(directory);
}

}  // namespace

void NewTempName(char* buffer) {
    buffer[0] = buffer[1] = '_';
    write_digits(macros.TempNameCounter, kNameDigits, kCountDigits, buffer + 2);
    buffer[2 + kCountDigits] = 0;
    macros.TempNameCounter = macros.TempNameCounter == kMaxTempName ? 0
                                                                    : macros.TempNameCounter + 1;
}

void NewTempFile(char* buffer) {
    macros.TempFileCounter = next_file_count(macros.TempFileCounter);
    const std::string path = file_path(macros.SessionNumber < 0 ? 0 : macros.SessionNumber,
                                       macros.TempFileCounter);
    std::memcpy(buffer, path.c_str(), path.size() + 1);
}

bool StartTemporaries() {
    const char* candidates[] = {std::getenv("KORVATMP"), std::getenv("TEMP"), std::getenv("TMPDIR"),
                                platform::kDefaultTempDirectory};
    for (const char* candidate : candidates) {
        if (!take_directory(candidate)) continue;
        for (int number = 0; number < kSessions; number++) {
            const Claim claim = claim_number(number);
            if (claim == Claim::Taken) continue;
            if (claim == Claim::Refused) break;
            macros.SessionNumber = number;
            if (claim == Claim::Reclaimed) delete_session_files(kKeepMarker);
            return true;
        }
    }
    out_error("temporary directory " + std::string(macros.TempDirectory) +
              " cannot be written or is used by too many sessions\n");
    return false;
}
void EndTemporaries() {
    if (macros.SessionNumber < 0) return;
    delete_session_files(!kKeepMarker);
    close(macros.MarkerFd);
    macros.MarkerFd = -1;
    macros.SessionNumber = -1;
}

void DropTemporariesSince(int32_t name_counter, int32_t file_counter, bool delete_files) {
    if (name_counter != macros.TempNameCounter) {
        for (int32_t kind :
             {int32_t(kKindMatrix), kKindMatrix + 1, kKindMatrix + 2, int32_t(kKindScalar),
              int32_t(kKindValueLabel), int32_t(kKindPostfile)}) {
            drop_named_since(kind, name_counter);
        }
    }
    if (!delete_files || macros.SessionNumber < 0) return;
    for (int32_t count = file_counter; count != macros.TempFileCounter;) {
        count = next_file_count(count);
        unlink(file_path(macros.SessionNumber, count).c_str());
    }
}

int32_t TempNameNumber(std::string_view name) {
    if (name.size() != 2 + kCountDigits || !name.starts_with("__")) return -1;
    int64_t number = 0;
    for (char c : name.substr(2)) {
        const size_t digit = kNameDigits.find(c);
        if (digit == std::string_view::npos) return -1;
        number = number * int64_t(kNameDigits.size()) + int64_t(digit);
    }
    return number <= kMaxTempName ? int32_t(number) : -1;
}

// tempvar, tempname and tempfile name...
ReturnCode CmdTempvar(int file) {
    std::vector<std::string> names;
    for (NextToken(); !TokenIsEmpty(); NextToken()) {
        names.emplace_back(scanner.TokenBuffer);
        if (IsValidName("_" + names.back())) continue;
        LevelGuard level(kLevelError);
        out_error(names.back() + " invalid name\n");
        return 198;
    }
    if (names.empty()) return ReportInvalidSyntax();
    for (const std::string& name : names) {
        char text[kMaxFileNameBytes + 1];
        if (file != 0) {
            NewTempFile(text);
        } else {
            NewTempName(text);
        }
        if (ReturnCode rc = SetLocal(name, text)) return rc;
    }
    return 0;
}

}  // namespace korva

// core/completion_files.cpp - directories read for completion, those of the ado-path remembered.
//
// A Tab must not wait for a path of many thousand ado-files: a directory is read once and asked
// only for its time afterwards. Of the letter directories only that of the prefix is looked at.
#include "core/completion_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <map>

#include "core/ado_path.h"
#include "core/names.h"

namespace korva {

namespace {

constexpr int kMaxEntries = 100000;        // of a directory that are read
constexpr size_t kMaxRemembered = 1000;    // directories; then all are forgotten
constexpr int64_t kFreshNs = 100'000'000;  // a directory changed so lately may change again unseen
constexpr std::string_view kAdoSuffix = ".ado";

struct RememberedDirectory {
    dev_t device = 0;
    ino_t inode = 0;
    int64_t changed_ns = 0;
    std::vector<std::string> ado_files;  // names without the suffix, sorted
    std::vector<std::string> letters;    // subdirectories with names of one byte
};

struct CompletionFilesState {
    std::map<std::string, RememberedDirectory> directories;  // by path as the ado-path gives it
};
CompletionFilesState remembered;

int64_t nanoseconds(const timespec& time) {
    return int64_t(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

struct DirectoryCloser {
    ~DirectoryCloser() {
        if (handle) closedir(handle);
    }
    DIR* handle;
};

// Calls take(name, entry, descriptor) for each entry but `.` and `..`.
template <typename Take>
void for_entries(const std::string& path, Take take) {
    const DirectoryCloser directory{opendir(path.c_str())};
    if (!directory.handle) return;
    for (int i = 0; i < kMaxEntries; i++) {
        const dirent* entry = readdir(directory.handle);
        if (!entry) return;
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") take(name, entry, dirfd(directory.handle));
    }
}

bool entry_is_directory(const dirent* entry, int descriptor) {
    if (entry->d_type != DT_LNK && entry->d_type != DT_UNKNOWN) return entry->d_type == DT_DIR;
    struct stat status;
    return fstatat(descriptor, entry->d_name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

bool has_suffix(std::string_view name, std::string_view suffixes) {
    if (suffixes.empty()) return true;
    while (!suffixes.empty()) {
        const size_t end = std::min(suffixes.find(' '), suffixes.size());
        if (name.ends_with(suffixes.substr(0, end))) return true;
        suffixes.remove_prefix(std::min(end + 1, suffixes.size()));
    }
    return false;
}

bool can_be_typed(std::string_view name) {
    return std::none_of(name.begin(), name.end(), [](char c) {
        return uint8_t(c) < ' ' || c == 0x7F || c == '"' || c == '`' || c == '$';
    });
}

RememberedDirectory read_directory(const std::string& path) {
    RememberedDirectory result;
    for_entries(path, [&](std::string_view name, const dirent* entry, int descriptor) {
        if (name.size() == 1 && entry_is_directory(entry, descriptor)) {
            result.letters.emplace_back(name);
        } else if (name.ends_with(kAdoSuffix)) {
            name.remove_suffix(kAdoSuffix.size());
            if (IsValidName(name)) result.ado_files.emplace_back(name);
        }
    });
    std::sort(result.ado_files.begin(), result.ado_files.end());
    return result;
}

// What the directory holds now; null: there is none.
const RememberedDirectory* look_into(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return nullptr;
    const int64_t changed_ns = nanoseconds(status.st_mtim);
    const auto found = remembered.directories.find(path);
    if (found != remembered.directories.end() && found->second.device == status.st_dev &&
        found->second.inode == status.st_ino && found->second.changed_ns == changed_ns) {
        return &found->second;
    }
    if (remembered.directories.size() >= kMaxRemembered) remembered.directories.clear();
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    RememberedDirectory& directory = remembered.directories[path];
    directory = read_directory(path);
    directory.device = status.st_dev;
    directory.inode = status.st_ino;
    directory.changed_ns = nanoseconds(now) - changed_ns < kFreshNs ? 0 : changed_ns;
    return &directory;
}

void add_matches(const RememberedDirectory* directory, std::string_view prefix,
                 std::vector<std::string>* names) {
    if (!directory) return;
    const auto& files = directory->ado_files;
    for (auto file = std::lower_bound(files.begin(), files.end(), prefix);
         file != files.end() && file->starts_with(prefix); ++file) {
        names->push_back(*file);
    }
}

}  // namespace

std::vector<FileMatch> MatchFiles(const std::string& directory, std::string_view prefix,
                                  std::string_view suffixes) {
    std::vector<FileMatch> matches;
    for_entries(directory.empty() ? "." : directory,
                [&](std::string_view name, const dirent* entry, int descriptor) {
                    if (!name.starts_with(prefix) || !can_be_typed(name)) return;
                    if (name[0] == '.' && prefix.empty()) return;
                    const bool is_directory = entry_is_directory(entry, descriptor);
                    if (!is_directory && !has_suffix(name, suffixes)) return;
                    matches.push_back({std::string(name), is_directory});
                });
    return matches;
}

std::vector<std::string> MatchAdoFiles(std::string_view prefix) {
    std::vector<std::string> names;
    for (const std::string& path : PathDirectories()) {
        const RememberedDirectory* directory = look_into(path);
        add_matches(directory, prefix, &names);
        if (!prefix.empty()) {
            add_matches(look_into(path + prefix[0] + "/"), prefix, &names);
            continue;
        }
        if (!directory) continue;
        const std::vector<std::string> letters = directory->letters;
        for (const std::string& letter : letters) {
            add_matches(look_into(path + letter + "/"), prefix, &names);
        }
    }
    return names;
}

std::string ReadHeadOfFile(const std::string& path, size_t limit) {
    // A pipe under the name of an ado-file would hold the session up: nothing waits here.
    const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) return {};
    struct stat status;
    std::string text;
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
        text.resize(std::min(limit, size_t(std::max<off_t>(status.st_size, 0))));
        const ssize_t n = read(file, text.data(), text.size());
        text.resize(n > 0 ? size_t(n) : 0);
    }
    close(file);
    return text;
}

}  // namespace korva

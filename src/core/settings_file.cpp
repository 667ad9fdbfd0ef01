// core/settings_file.cpp - reading and safely rewriting the settings file.
#include "core/settings_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>

#include "core/file_open.h"
#include "core/file_replace.h"
#include "core/platform.h"
#include "core/session.h"

namespace korva {

namespace {

constexpr size_t kMaxFileBytes = 1 << 20;  // a larger file is none of ours

// The directory of the settings file; empty when there is no home.
std::string settings_directory() {
    if (const char* config = std::getenv("XDG_CONFIG_HOME"); config != nullptr && *config != 0) {
        return std::string(config) + "/korva";
    }
    const char* home = std::getenv(platform::kHomeVariable);
    return home != nullptr && *home != 0 ? std::string(home) + "/.config/korva" : "";
}

// The text at the path. False: something stands there that is no file of a sensible size, or it
// cannot be read; a file that is not there is empty.
bool read_whole(const std::string& path, std::string* text) {
    int fd = -1;
    if (ReturnCode rc = OpenToRead(path, &fd)) return rc == 601;
    char block[4096];
    int64_t n = 0;
    while (text->size() <= kMaxFileBytes && (n = ReadSome(fd, block, sizeof block)) > 0) {
        text->append(block, size_t(n));
    }
    close(fd);
    return n == 0;
}

bool has_control(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char c) { return uint8_t(c) < ' '; });
}

struct SettingLine {
    std::string_view section;
    std::string_view key;
    std::string_view value;
};

// One line as `section key value`; false: it is no such line.
bool parse_line(std::string_view line, SettingLine* out) {
    const size_t first = line.find(' ');
    if (first == std::string_view::npos) return false;
    const size_t second = line.find(' ', first + 1);
    if (second == std::string_view::npos || first == 0 || second == first + 1) return false;
    if (has_control(line)) return false;
    *out = {line.substr(0, first), line.substr(first + 1, second - first - 1),
            line.substr(second + 1)};
    return out->value.size() <= kMaxSettingBytes;
}

// Calls visit(line, row) for each line that is a setting; false: there are others.
template <typename Visit>
bool for_each_line(std::string_view text, Visit visit) {
    bool sound = true;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        SettingLine row;
        if (parse_line(line, &row)) {
            visit(line, row);
        } else if (!line.empty()) {
            sound = false;
        }
        if (end == std::string_view::npos) break;
        text.remove_prefix(end + 1);
    }
    return sound;
}

// The text as lines, the line of (section, key) left out.
std::string lines_without(std::string_view text, std::string_view section, std::string_view key) {
    std::string kept;
    for_each_line(text, [&](std::string_view line, const SettingLine& row) {
        if (row.section != section || row.key != key) kept.append(line).append("\n");
    });
    return kept;
}

// Replaces the file; silent, since a setting counts in this session even if it cannot be kept.
void write_whole(const std::string& path, std::string_view text) {
    const LevelGuard level(session.MessageLevel);  // words that nobody sees change the level too
    const ThresholdGuard silence(kThresholdCapture);
    FileReplacement file;
    if (BeginReplace(&file, path) == 0 && WriteReplacement(&file, text.data(), text.size()) == 0) {
        CommitReplace(&file);
    }
}

}  // namespace

RecordedSettings ReadSettingsFile() {
    RecordedSettings recorded;
    const std::string directory = settings_directory();
    if (directory.empty()) return recorded;
    const bool is_read = read_whole(directory + "/settings", &recorded.text);
    if (is_read && for_each_line(recorded.text, [](auto, const auto&) {})) return recorded;
    // Half of what somebody chose may be worse than none of it.
    recorded.text.clear();
    recorded.damaged = directory + "/settings";
    return recorded;
}

bool FindRecorded(const RecordedSettings& recorded, std::string_view section, std::string_view key,
                  std::string* value) {
    bool found = false;
    for_each_line(recorded.text, [&](std::string_view, const SettingLine& row) {
        if (found || row.section != section || row.key != key) return;
        *value = row.value;
        found = true;
    });
    return found;
}

int64_t RecordedNumber(const RecordedSettings& recorded, std::string_view section,
                       std::string_view key, int64_t otherwise) {
    std::string text;
    if (!FindRecorded(recorded, section, key, &text)) return otherwise;
    int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? number : otherwise;
}

std::string MakeSettingsDirectory() {
    const std::string directory = settings_directory();
    if (directory.empty()) return directory;
    mkdir(directory.substr(0, directory.rfind('/')).c_str(), 0777);
    mkdir(directory.c_str(), 0700);  // a password may be among the values
    return directory;
}

void RecordSetting(std::string_view section, std::string_view key, std::string_view value) {
    if (has_control(value)) return;
    const std::string directory = MakeSettingsDirectory();
    if (directory.empty()) return;
    const std::string path = directory + "/settings";
    const int lock = open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (lock < 0) return;
    flock(lock, LOCK_EX);
    std::string old;
    // What is no setting goes; what cannot be read now may be whole, and stays.
    if (!read_whole(path, &old) && old.size() <= kMaxFileBytes) {
        close(lock);
        return;
    }
    std::string text = lines_without(old, section, key);
    text.append(section).append(" ").append(key).append(" ");
    text.append(value.substr(0, kMaxSettingBytes)).append("\n");
    write_whole(path, text);
    close(lock);
}

}  // namespace korva

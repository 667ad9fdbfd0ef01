// frontend/history.cpp - the file of typed lines.
//
// A line of the file is `session . text` where an entry begins and `session > text` where it goes
// on: sessions that write side by side mix their lines, and the first word tells them apart. A line
// is one write behind the end of the file, under the lock that also keeps cutting apart from it.
#include "frontend/history.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <unordered_map>

namespace korva {

namespace {

constexpr int64_t kMaxFileBytes = 2 << 20;   // a longer file is cut
constexpr size_t kKeptBytes = 1 << 20;       // to entries of this size
constexpr int64_t kMaxReadBytes = 64 << 20;  // a file beyond it is not ours, or long forgotten
constexpr size_t kMaxLineBytes = 1 << 16;    // a longer line is data rather than a command

struct HistoryFile {
    std::string path;     // empty: none is kept
    std::string session;  // the first word of our lines
    bool ragged = false;  // the file's last line has no end: a session died while writing
};
HistoryFile file;

struct Entry {
    std::string session;
    std::string text;
};

// Held while the file is appended to or replaced.
struct Lock {
    Lock() : fd(open((file.path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
        if (fd >= 0) flock(fd, LOCK_EX);
    }
    ~Lock() {
        if (fd >= 0) close(fd);
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    int fd;
};

std::string read_file() {
    std::string text;
    // Not blocking: what stands there may be no file.
    const int fd = open(file.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return text;
    struct stat status;
    if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_size <= kMaxReadBytes) {
        char block[65536];
        for (ssize_t n; (n = read(fd, block, sizeof block)) > 0;) text.append(block, size_t(n));
    }
    close(fd);
    return text;
}

// Adds a line of the file to the entries; open: the last entry of each session. What is no such
// line is left out.
void add_line(std::string_view line, std::vector<Entry>* entries,
              std::unordered_map<std::string, size_t>* open) {
    const size_t blank = line.find(' ');
    if (blank == 0 || blank == std::string_view::npos || blank + 2 >= line.size()) return;
    const std::string session(line.substr(0, blank));
    const char mark = line[blank + 1];
    if (line[blank + 2] != ' ' || (mark != '.' && mark != '>')) return;
    const std::string_view text = line.substr(blank + 3);
    const auto place = open->find(session);
    if (mark == '>' && place != open->end()) {
        (*entries)[place->second].text.append("\n").append(text);
        return;
    }
    (*open)[session] = entries->size();
    entries->push_back({session, std::string(text)});
}

std::vector<Entry> parse(std::string_view text) {
    std::vector<Entry> entries;
    std::unordered_map<std::string, size_t> open;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        add_line(text.substr(0, end), &entries, &open);
        if (end == std::string_view::npos) break;
        text.remove_prefix(end + 1);
    }
    return entries;
}

// The newest entries, as many as may be kept.
std::vector<Entry> newest(std::vector<Entry> entries) {
    size_t bytes = 0;
    size_t first = entries.size();
    while (first > 0 && entries.size() - first < size_t(kMostHistoryEntries)) {
        bytes += entries[first - 1].text.size();
        if (bytes > kKeptBytes) break;
        first--;
    }
    entries.erase(entries.begin(), entries.begin() + std::ptrdiff_t(first));
    return entries;
}

bool write_text(int fd, std::string_view text) {
    return write(fd, text.data(), text.size()) == ssize_t(text.size());
}

// Replaces the file by the entries; a failure leaves it as it was.
void replace_file(const std::vector<Entry>& entries) {
    std::string text;
    for (const Entry& entry : entries) {
        text += entry.session + " . ";
        for (char c : entry.text) {
            text += c;
            if (c == '\n') text += entry.session + " > ";
        }
        text += '\n';
    }
    const std::string beside = file.path + ".new";
    const int fd = open(beside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) return;
    const bool written = write_text(fd, text);
    close(fd);
    if (!written || std::rename(beside.c_str(), file.path.c_str()) != 0) unlink(beside.c_str());
}

int64_t file_bytes() {
    struct stat status;
    return stat(file.path.c_str(), &status) == 0 ? int64_t(status.st_size) : 0;
}

}  // namespace

std::vector<std::string> LoadHistory(const std::string& path) {
    file = {path, std::to_string(getpid()) + "-" + std::to_string(std::time(nullptr)), false};
    std::vector<std::string> texts;
    if (path.empty()) return texts;
    const Lock lock;
    const std::string text = read_file();
    file.ragged = !text.empty() && text.back() != '\n';
    const std::vector<Entry> entries = newest(parse(text));
    if (lock.fd >= 0 && file_bytes() > kMaxFileBytes) {
        replace_file(entries);
        file.ragged = false;
    }
    for (const Entry& entry : entries) texts.push_back(entry.text);
    return texts;
}

void RecordHistory(std::string_view line, bool begins) {
    if (file.path.empty() || line.size() > kMaxLineBytes) return;
    const Lock lock;
    const int fd = open(file.path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK,
                        0600);
    if (fd < 0) return;
    std::string text = file.ragged ? "\n" : "";
    text.append(file.session).append(begins ? " . " : " > ").append(line).append("\n");
    if (write_text(fd, text)) file.ragged = false;
    close(fd);
}

}  // namespace korva

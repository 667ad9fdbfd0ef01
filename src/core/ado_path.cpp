// core/ado_path.cpp - the ado-path, the system directories, and file names as typed.
#include "core/ado_path.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "core/macro.h"
#include "core/platform.h"

namespace korva {

SystemDirectories directories;

namespace {

constexpr size_t kMaxPathListBytes = 5400;  // of S_ADO

struct Codeword {
    std::string_view word;
    std::string SystemDirectories::*directory;
};
constexpr Codeword kCodewords[] = {
    // clang-format off
    {"KORVA",    &SystemDirectories::korva},
    {"UPDATES",  &SystemDirectories::updates},
    {"BASE",     &SystemDirectories::base},
    {"SITE",     &SystemDirectories::site},
    {"PLUS",     &SystemDirectories::plus},
    {"PERSONAL", &SystemDirectories::personal},
    {"OLDPLACE", &SystemDirectories::oldplace},
    // clang-format on
};

bool is_separator(char c) {
    return c == '/' || c == '\\';
}

bool can_be_seen(const char* path) {
    struct stat status;
    return stat(path, &status) == 0;
}

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string with_separator(std::string path) {
    if (!path.empty() && !is_separator(path.back())) path += platform::kDirectorySeparator;
    return path;
}

// Where the part behind the last separator begins.
size_t base_name(std::string_view path) {
    size_t at = path.size();
    while (at > 0 && !is_separator(path[at - 1])) at--;
    return at;
}

// Takes the next element off the path list; empty: there is no more. Quotes are removed.
std::string_view take_element(std::string_view* list) {
    while (!list->empty() && (list->front() == ' ' || list->front() == ';')) list->remove_prefix(1);
    std::string_view element;
    if (list->starts_with('"')) {
        const size_t close = std::min(list->find('"', 1), list->size());
        element = list->substr(1, close - 1);
        list->remove_prefix(std::min(close + 1, list->size()));
        return element;
    }
    if (list->starts_with("`\"")) {
        const size_t close = std::min(list->find("\"'", 2), list->size());
        element = list->substr(2, close - 2);
        list->remove_prefix(std::min(close + 2, list->size()));
        return element;
    }
    const size_t end = std::min(list->find(';'), list->size());
    element = list->substr(0, end);
    list->remove_prefix(end);
    while (element.ends_with(' ')) element.remove_suffix(1);
    return element;
}

// The directory of an element, with its final separator.
std::string element_directory(std::string_view element) {
    const std::string_view system = SystemDirectory(element);
    if (!system.empty()) return std::string(system);
    return with_separator(PlatformPath(element));
}

// The two places of a file in one directory: <dir>/name and <dir>/n/name.
std::array<std::string, 2> places_in(const std::string& directory, std::string_view file) {
    const size_t base = base_name(file);
    const std::string start = directory + std::string(file.substr(0, base));
    const std::string name(file.substr(base));
    return {start + name, start + name.substr(0, 1) + platform::kDirectorySeparator + name};
}

// Counts a hit; true when it is the one that was asked for.
bool take_hit(const std::string& path, int* occurrence, std::string* result) {
    if (!FileExists(path.c_str()) || --*occurrence > 0) return false;
    *result = path;
    return true;
}

// The user's home when no variable tells it; the root when nobody knows.
std::string home_on_record() {
    const passwd* entry = getpwuid(getuid());
    return entry != nullptr && entry->pw_dir != nullptr ? entry->pw_dir : "/";
}

}  // namespace

void StartDirectories(std::string_view installation) {
    std::string home = environment("USERPROFILE");
    if (home.empty()) home = environment(platform::kHomeVariable);
    if (home.empty()) home = home_on_record();
    const std::string root = with_separator(std::string(installation));
    const std::string ado = with_separator(home) + "ado/";
    directories.korva = root;
    directories.updates = root + "ado/updates/";
    directories.base = root + "ado/base/";
    directories.site = root + "ado/site/";
    directories.oldplace = ado;
    directories.personal = ado + "personal/";
    directories.plus = ado + "ktbplus/";
    if (!DirectoryExists(directories.plus.c_str())) directories.plus = ado + "plus/";
}

std::string_view SystemDirectory(std::string_view codeword) {
    for (const Codeword& row : kCodewords) {
        if (row.word == codeword) return directories.*row.directory;
    }
    return {};
}

bool SetSystemDirectory(std::string_view codeword, std::string_view path) {
    for (const Codeword& row : kCodewords) {
        if (row.word != codeword) continue;
        directories.*row.directory = with_separator(std::string(path));
        return true;
    }
    return false;
}

std::string_view SystemCodeword(int index) {
    return index >= 0 && size_t(index) < std::size(kCodewords) ? kCodewords[index].word
                                                               : std::string_view();
}

bool FindOnPath(std::string_view name, std::string_view extension, int occurrence,
                std::string* result) {
    std::string file(name);
    std::replace(file.begin(), file.end(), '\\', '/');
    if (!extension.empty()) file += "." + std::string(extension);
    if (base_name(file) == file.size()) return false;
    // A whole path is looked for at its own place only.
    if (is_separator(file[0])) return take_hit(file, &occurrence, result);

    const std::string list(MacroValue("S_ADO").substr(0, kMaxPathListBytes));
    std::string_view rest = list;
    for (;;) {
        const bool at_end = rest.find_first_not_of(" ;") == rest.npos;
        if (at_end) return false;
        const std::string_view element = take_element(&rest);
        if (element.empty()) continue;
        for (const std::string& path : places_in(element_directory(element), file)) {
            if (path.size() > size_t(kMaxFileNameBytes)) return false;
            if (take_hit(path, &occurrence, result)) return true;
        }
    }
}

std::vector<std::string> PathDirectories() {
    const std::string list(MacroValue("S_ADO").substr(0, kMaxPathListBytes));
    std::vector<std::string> paths;
    for (std::string_view rest = list; rest.find_first_not_of(" ;") != rest.npos;) {
        const std::string_view element = take_element(&rest);
        if (!element.empty()) paths.push_back(element_directory(element));
    }
    return paths;
}

bool FindDoFile(std::string_view name, std::string* result) {
    const std::string_view base = name.substr(base_name(name));
    const size_t point = base.rfind('.');
    std::string file(name);
    if (point == base.npos) file += ".do";
    *result = PlatformPath(file);
    if (FileExists(result->c_str())) return true;

    std::string found;
    const size_t end = point == base.npos ? name.size() : name.size() - (base.size() - point);
    const std::string_view extension = point == base.npos ? "do" : base.substr(point + 1);
    if (!FindOnPath(name.substr(0, end), extension, 1, &found)) return false;
    *result = found;
    return true;
}

std::string PlatformPath(std::string_view name) {
    std::string path(name);
    if (path.find('\\') == path.npos || can_be_seen(path.c_str())) return path;
    std::string other = path;
    std::replace(other.begin(), other.end(), '\\', '/');
    return can_be_seen(other.c_str()) ? other : path;
}

bool FileExists(const char* path) {
    struct stat status;
    return stat(path, &status) == 0 && !S_ISDIR(status.st_mode);
}

bool DirectoryExists(const char* path) {
    struct stat status;
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace korva

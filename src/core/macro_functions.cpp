// core/macro_functions.cpp - the table of extended macro functions, and those about the system.
#include "core/macro_functions.h"

#include <dirent.h>
#include <fnmatch.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/ado_path.h"
#include "core/alloc.h"
#include "core/file_path.h"
#include "core/macro.h"
#include "core/names.h"
#include "core/platform.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/stored_results.h"
#include "core/system_values.h"
#include "core/words.h"

namespace korva {

ReturnCode TakeWholeNumber(int32_t least, int32_t* number) {
    NextToken();
    const char* token = scanner.TokenBuffer;
    const char* end = token + std::strlen(token);
    const auto parsed = std::from_chars(token, end, *number);
    const bool good = parsed.ec == std::errc() && parsed.ptr == end && *number >= least;
    return good ? 0 : ReportFoundWhere(token, "number");
}

bool TakeScannedWord(std::string_view* word, bool* quoted) {
    char* start = ScanRest();
    std::string_view text = start;
    const size_t bytes = text.size();
    const bool found = TakeWord(&text, word, quoted);
    SetScanPointer(start + bytes - text.size());
    return found;
}

namespace {

ReturnCode mf_environment(int, std::string* result) {
    const char* value = std::getenv(std::string(TrimBlanks(ScanRest())).c_str());
    if (value != nullptr) result->append(value);
    return 0;
}

ReturnCode mf_temporary(int file, std::string* result) {
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    char text[kMaxFileNameBytes + 1];
    if (file != 0) {
        NewTempFile(text);
    } else {
        NewTempName(text);
    }
    result->append(text);
    return 0;
}

// The value of a setting as c() tells it.
ReturnCode mf_set(int, std::string* result) {
    NextToken();
    const std::string name = scanner.TokenBuffer;
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    SystemValue value;
    if (!FindSystemValue(name, &value)) return ReportNotFound(name);
    result->append(value.is_text ? value.text : MacroNumber(value.number));
    return 0;
}

ReturnCode mf_sysdir(int, std::string* result) {
    NextToken();
    std::string word = scanner.TokenBuffer;
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    for (char& c : word) {
        if (c >= 'a' && c <= 'z') c = char(c - 'a' + 'A');
    }
    const std::string_view directory = SystemDirectory(word);
    if (directory.empty()) return ReportNotFound(word);
    result->append(directory);
    return 0;
}

// The subdirectory in which the search of the ado-path looks for the file.
ReturnCode mf_adosubdir(int, std::string* result) {
    std::string_view name;
    if (!TakeScannedWord(&name) || name.empty()) return ReportRequired("filename");
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    result->append(LastPartOf(name).substr(0, 1));
    return 0;
}

ReturnCode mf_pwd(int, std::string* result) {
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    char path[PATH_MAX];
    if (getcwd(path, sizeof path) != nullptr) result->append(path);
    return 0;
}

ReturnCode mf_dirsep(int, std::string* result) {
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    result->append(platform::kDirectorySeparator);
    return 0;
}

// --- dir ---

enum class EntryKind : uint8_t { Files, Directories, Other };

EntryKind kind_of_entry(int directory, const char* name) {
    struct stat status;
    if (fstatat(directory, name, &status, 0) != 0) return EntryKind::Other;
    if (S_ISREG(status.st_mode)) return EntryKind::Files;
    return S_ISDIR(status.st_mode) ? EntryKind::Directories : EntryKind::Other;
}

std::vector<std::string> matching_entries(DIR* directory, EntryKind kind, const char* pattern) {
    std::vector<std::string> names;
    while (const dirent* entry = readdir(directory)) {
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..") continue;
        if (fnmatch(pattern, entry->d_name, FNM_NOESCAPE) != 0) continue;
        if (kind_of_entry(dirfd(directory), entry->d_name) == kind) names.emplace_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

struct DirRequest {
    std::string path, pattern;
    EntryKind kind = EntryKind::Files;
    bool nofail = false;  // as many names as a macro holds are enough
};

ReturnCode take_dir_request(DirRequest* request) {
    std::string_view word;
    if (!TakeScannedWord(&word)) return ReportInvalidSyntax();
    request->path = word.empty() ? "." : PlatformPath(word);
    NextToken();
    if (TokenIs("dirs")) {
        request->kind = EntryKind::Directories;
    } else if (TokenIs("other")) {
        request->kind = EntryKind::Other;
    } else if (!TokenIs("files")) {
        return ReportFoundWhere(scanner.TokenBuffer, "files, dirs or other");
    }
    if (!TakeScannedWord(&word)) return ReportInvalidSyntax();
    request->pattern = word;
    NextToken();
    if (TokenIsEmpty()) return 0;
    if (!TokenIs(",")) return ReportInvalidSyntax();
    NextToken();
    if (TokenIsEmpty()) return 0;
    if (!TokenIs("nofail")) return ReportNotAllowed(scanner.TokenBuffer);
    request->nofail = true;
    return ExpectEnd(0);
}

// dir "path" files|dirs|other "pattern" [, nofail]
ReturnCode mf_dir(int, std::string* result) {
    DirRequest request;
    if (ReturnCode rc = take_dir_request(&request)) return rc;
    LevelGuard level(session.MessageLevel);
    DIR* directory = StressFails() ? nullptr : opendir(request.path.c_str());
    if (directory == nullptr) {
        out_error("directory " + request.path + " not found\n");
        return 601;
    }
    const auto names = matching_entries(directory, request.kind, request.pattern.c_str());
    closedir(directory);
    for (const std::string& name : names) {
        if (result->size() + name.size() + 3 >= size_t(session.macrolen)) {
            if (request.nofail) return 0;
            out_error("too many filenames\n");
            return 920;
        }
        if (!result->empty()) *result += ' ';
        result->append("\"").append(name).append("\"");
    }
    return 0;
}

// clang-format off
constexpr MacroFunctionRow kMacroFunctions[] = {
    // name          min  handler              argument
    {"type",         1,   MfVariableFact,      0},
    {"format",       1,   MfVariableFact,      1},
    {"value",        3,   MfVariableFact,      2},
    {"variable",     3,   MfVariableFact,      3},
    {"environment",  3,   mf_environment,      0},
    {"tempvar",      5,   mf_temporary,        0},
    {"tempfile",     5,   mf_temporary,        1},
    {"rownames",     4,   nullptr,             0},
    {"colnames",     4,   nullptr,             0},
    {"roweq",        4,   nullptr,             0},
    {"coleq",        4,   nullptr,             0},
    {"rowfullnames", 4,   nullptr,             0},
    {"colfullnames", 4,   nullptr,             0},
    {"sortedby",     4,   MfSortedby,          0},
    {"display",      2,   MfDisplay,           0},
    {"word",         4,   MfWord,              0},
    {"char",         4,   MfChar,              0},
    {"label",        3,   MfLabel,             0},
    {"regexmatch",   5,   MfRegexMatch,        0},
    {"regexreplace", 6,   MfRegexReplace,      0},
    {"regexsubexp",  6,   MfRegexSubexpression, 0},
    {"list",         4,   MfList,              0},
    {"set",          3,   mf_set,              0},
    {"log",          3,   MfLog,               0},
    {"subinstr",     8,   MfSubinstr,          0},
    {"sysdir",       6,   mf_sysdir,           0},
    {"piece",        5,   MfPiece,             0},
    {"data",         4,   MfDataLabel,         0},
    {"dir",          3,   mf_dir,              0},
    {"adosubdir",    9,   mf_adosubdir,        0},
    {"_length",      7,   MfLength,            0},
    {"properties",   10,  MfProperties,        0},
    {"pwd",          3,   mf_pwd,              0},
    {"dirsep",       6,   mf_dirsep,           0},
    {"tsnorm",       6,   nullptr,             0},
    {"serset",       6,   nullptr,             0},
    {"length",       6,   MfLength,            0},
    {"permname",     8,   MfPermname,          0},
    {"constraint",   10,  nullptr,             0},
    {"all",          3,   MfAll,               0},
};
// clang-format on

constexpr bool minimums_fit_names() {
    return std::all_of(std::begin(kMacroFunctions), std::end(kMacroFunctions),
                       [](const MacroFunctionRow& row) {
                           return row.minimum > 0 && size_t(row.minimum) <= row.name.size();
                       });
}
static_assert(minimums_fit_names());

// r, e or s with a parenthesis behind it lists names of results.
bool takes_result_names(ResultFamily* family) {
    if (PeekChar() != '(' || std::strlen(scanner.TokenBuffer) != 1) return false;
    switch (scanner.TokenBuffer[0]) {
    case 'r': *family = ResultFamily::R; return true;
    case 'e': *family = ResultFamily::E; return true;
    case 's': *family = ResultFamily::S; return true;
    default: return false;
    }
}

ReturnCode run_row(std::string* result) {
    ResultFamily family;
    if (takes_result_names(&family)) return MfResultNames(int(family), result);
    const std::string word = scanner.TokenBuffer;
    for (const MacroFunctionRow& row : kMacroFunctions) {
        if (!MatchAbbreviation(word, row.name, row.minimum)) continue;
        if (row.handler != nullptr) return row.handler(row.argument, result);
        LevelGuard level(session.MessageLevel);
        out_error("extended macro function " + std::string(row.name) + " is not available yet\n");
        return 199;
    }
    return ReportInvalidSyntax();
}

}  // namespace

ReturnCode RunMacroFunction(std::string* result) {
    result->clear();
    NextToken();
    if (ReturnCode rc = run_row(result)) return rc;
    if (result->size() < size_t(session.macrolen)) return 0;
    LevelGuard level(session.MessageLevel);
    out_error("extended macro function list:  resulting macro too long\n");
    return 920;
}

int MacroFunctionsNotAvailable() {
    return int(std::count_if(std::begin(kMacroFunctions), std::end(kMacroFunctions),
                             [](const MacroFunctionRow& row) { return row.handler == nullptr; }));
}

}  // namespace korva

// core/which.cpp - where a command comes from: which, unabcmd, sysdir.
#include <cstdio>
#include <string>
#include <string_view>

#include "core/ado_path.h"
#include "core/command_table.h"
#include "core/commands.h"
#include "core/names.h"
#include "core/option_words.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/stored_results.h"

namespace korva {

namespace {

constexpr size_t kShownColumns = 80;  // a version line is folded here
constexpr size_t kTabColumns = 8;
constexpr size_t kMaxLineBytes = 4096;  // of a file's line; the rest of a longer one is not shown

// Ado-files that take abbreviations of their own.
struct AdoWord {
    std::string_view name;
    int minimum;
};
constexpr AdoWord kAdoWords[] = {
    // clang-format off
    {"cnreg",   3}, {"logit",  4}, {"mlogit",  4}, {"ologit", 4},
    {"oprobit", 5}, {"probit", 4}, {"regress", 3}, {"tobit",  3},
    // clang-format on
};

ReturnCode not_found(const std::string& word) {
    out_error("command " + word + " not found as either built-in or ado-file\n");
    return 111;
}

// Tabs as blanks and control characters as points.
std::string shown_line(std::string_view line) {
    std::string shown;
    for (char c : line) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\t') {
            shown.append(kTabColumns - shown.size() % kTabColumns, ' ');
        } else {
            shown += byte < 32 || byte == 127 ? '.' : c;
        }
    }
    return shown;
}

// Reads a line of at most kMaxLineBytes, leaving the rest of it out; false at the end of the file.
bool read_line(std::FILE* file, std::string* line) {
    line->clear();
    int c;
    while ((c = std::getc(file)) != EOF && c != '\n' && !session.BreakFlag) {
        if (line->size() < kMaxLineBytes) *line += char(c);
    }
    if (!line->empty() && line->back() == '\r') line->pop_back();
    return c != EOF || !line->empty();
}

// The path of a hit and the version lines of the file.
ReturnCode print_hit(const std::string& path) {
    out_text(path + "\n");
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return 0;  // what cannot be read has no version lines to show
    std::string line;
    ReturnCode code = 0;
    while (!code && read_line(file, &line)) {
        Poll(session.pollcount);
        if (session.BreakFlag) code = kBreak;
        if (!line.starts_with("*!") && !line.starts_with("{* *!")) continue;
        const std::string shown = shown_line(line);
        for (size_t at = 0; at < shown.size(); at += kShownColumns) {
            out_text(shown.substr(at, kShownColumns) + "\n");
        }
    }
    std::fclose(file);
    return code;
}

// The words of `sysdir` in front of their directories.
ReturnCode list_directories() {
    LevelGuard level(kLevelText);
    for (int i = 0; !SystemCodeword(i).empty(); i++) {
        const std::string word(SystemCodeword(i));
        out_textf("%11s:  ", word.c_str());
        LevelGuard result(kLevelResult);
        out_text(std::string(SystemDirectory(word)) + "\n");
    }
    return 0;
}

ReturnCode set_directory() {
    const std::string codeword = NextToken();
    if (codeword.empty()) return ReportInvalidSyntax();
    if (SystemDirectory(codeword).empty()) return ReportFoundWhere(codeword, "sysdir codeword");
    char path[kMaxFileNameBytes + 1];
    if (ReturnCode rc = ParseFileName(path)) return rc;
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    if (std::string_view(path).size() >= size_t(kMaxDirectoryBytes)) return ReportError(7197);
    SetSystemDirectory(codeword, path);
    return 0;
}

}  // namespace

// which name [, all]: the built-in or the ado-files of the name, with their version lines.
ReturnCode CmdWhich(int) {
    const std::string word = NextToken(FileSeparators);
    if (word.empty() || word == ",") return ReportInvalidSyntax();
    bool all = false;
    const OptionWord options[] = {{"all", 1, &all}};
    if (ReturnCode rc = ReadTrailingOptions(options)) return rc;

    const std::string name = word[0] == '"' ? word.substr(1) : word;
    LevelGuard level(kLevelText);
    const std::string builtin(UnabbreviateBuiltin(name));
    if (!builtin.empty()) out_text("built-in command:  " + builtin + "\n");

    const size_t point = name.rfind('.');
    const bool has_extension = point != name.npos && point > 0;
    const std::string stem = has_extension ? name.substr(0, point) : name;
    const std::string extension = has_extension ? name.substr(point + 1) : "ado";
    bool found = !builtin.empty();
    std::string path;
    for (int n = 1; FindOnPath(stem, extension, n, &path); n++) {
        found = true;
        if (ReturnCode rc = print_hit(path)) return rc;
        if (!all) break;
    }
    return found ? 0 : not_found(name);
}

// unabcmd word: the command's full name in s(cmd).
ReturnCode CmdUnabcmd(int) {
    const std::string word = NextToken();
    if (word.empty()) return ReportInvalidSyntax();
    NextToken();
    if (!TokenIsEmpty()) {
        out_error("\"" + word + " " + scanner.TokenBuffer + "\" is an invalid command name\n");
        return 198;
    }
    if (word != "." && !IsValidName(word)) {
        out_error(word + " is an invalid command name\n");
        return 198;
    }
    std::string full;
    if (word == ".") full = word;
    if (full.empty()) full = UnabbreviateBuiltin(word);
    for (const AdoWord& row : kAdoWords) {
        if (full.empty() && MatchAbbreviation(word, row.name, row.minimum)) full = row.name;
    }
    std::string path;
    if (full.empty() && FindOnPath(word, "ado", 1, &path)) full = word;
    if (full.empty()) return not_found(word);
    ClearSResults();
    return SetSResult("cmd", full);
}

// sysdir [list], sysdir set codeword "path"
ReturnCode CmdSysdir(int) {
    NextToken();
    if (TokenIs("set")) return set_directory();
    if (!TokenIsEmpty() && !TokenIs("list")) {
        return ReportFoundWhere(scanner.TokenBuffer, "list or set");
    }
    if (!TokenIsEmpty()) {
        if (ReturnCode rc = ExpectEnd(0)) return rc;
    }
    return list_directories();
}

}  // namespace korva

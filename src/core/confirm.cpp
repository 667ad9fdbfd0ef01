// core/confirm.cpp - confirm: a fact is as said, in silence, or a code tells that it is not.
//
// The forms that ask the dataset are data/confirm_variables.cpp's.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "core/commands.h"
#include "core/file_path.h"
#include "core/macro.h"
#include "core/names.h"
#include "core/number_list.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/store.h"
#include "core/upcalls.h"
#include "core/words.h"

namespace korva {

namespace {

constexpr ReturnCode kNothingThere = 6, kNotOfTheKind = 7;

ReturnCode report_found(std::string_view found, std::string_view expected) {
    if (found.empty()) {
        out_error("nothing found where " + std::string(expected) + " expected\n");
    } else {
        ReportFoundWhere(found, expected);
    }
    return kNotOfTheKind;
}

std::string_view rest_of_line() {
    return TrimBlanks(ScanRest());
}

ReturnCode confirm_existence(int) {
    if (!rest_of_line().empty()) return 0;
    report_found({}, "something");
    return kNothingThere;
}

ReturnCode confirm_names(int) {
    std::string_view rest = rest_of_line(), word;
    if (rest.empty()) return report_found({}, "name");
    while (TakeWord(&rest, &word)) {
        if (!IsValidName(word)) return report_found(word, "name");
    }
    return 0;
}

ReturnCode confirm_object(int kind) {
    const std::string name(NextToken());
    if (name.empty()) return ReportRequired("name");
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    if (StoreFind(name, kind) != nullptr) return 0;
    return ReportNotFound((kind == kKindMatrix ? "matrix " : "scalar ") + name);
}

ReturnCode confirm_number(bool whole) {
    double x = 0;
    const std::string_view text = rest_of_line();
    if (ParseMacroNumber(text, &x) && !(whole && !IsWholeNumber(x))) return 0;
    return report_found(text, whole ? "integer" : "number");
}

ReturnCode confirm_any_number(int) {
    return confirm_number(false);
}

// integer number text
ReturnCode confirm_integer(int) {
    NextToken();
    if (TokenIsEmpty() || !MatchAbbreviation(scanner.TokenBuffer, "number", 1)) PushBackToken();
    return confirm_number(true);
}

ReturnCode take_file(std::string* name, std::string* path) {
    char buffer[kMaxFileNameBytes + 1];
    if (ReturnCode rc = ParseFileName(buffer)) return rc;
    *name = buffer;
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    return LocalPath(*name, path);
}

ReturnCode confirm_file(int) {
    std::string name, path;
    if (ReturnCode rc = take_file(&name, &path)) return rc;
    // A pipe without a writer must not hold the session.
    const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return ReportFileError(errno == ENOENT || errno == ENOTDIR ? 601 : 603, name);
    struct stat status;
    const bool is_file = fstat(fd, &status) == 0 && !S_ISDIR(status.st_mode);
    close(fd);
    return is_file ? 0 : ReportFileError(603, name);
}

ReturnCode confirm_new_file() {
    std::string name, path;
    if (ReturnCode rc = take_file(&name, &path)) return rc;
    // Made and removed again: nothing else tells what the file system will say.
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) return ReportFileError(errno == EEXIST ? 602 : 603, name);
    close(fd);
    unlink(path.c_str());
    return 0;
}

// new file name, new variable list
ReturnCode confirm_new(int) {
    NextToken();
    if (!TokenIsEmpty() && MatchAbbreviation(scanner.TokenBuffer, "file", 1)) {
        return confirm_new_file();
    }
    PushBackToken();
    return ConfirmVariables(ConfirmedVariables::New);
}

ReturnCode confirm_variables(int what) {
    return ConfirmVariables(ConfirmedVariables(what));
}

ReturnCode confirm_format(int) {
    const std::string text(rest_of_line());
    if (fmt_is_valid(text, false) || fmt_is_valid(text, true)) return 0;
    return report_found(text, "%format");
}

struct ConfirmRow {
    std::string_view word;
    int minimum;
    ReturnCode (*test)(int argument);
    int argument;
};

// A word takes the first row that it abbreviates.
// clang-format off
constexpr ConfirmRow kTests[] = {
    {"existence", 1, confirm_existence,  0},
    {"names",     4, confirm_names,      0},
    {"matrix",    3, confirm_object,     kKindMatrix},
    {"scalar",    3, confirm_object,     kKindScalar},
    {"number",    1, confirm_any_number, 0},
    {"integer",   1, confirm_integer,    0},
    {"file",      1, confirm_file,       0},
    {"new",       3, confirm_new,        0},
    {"numeric",   4, confirm_variables,  int(ConfirmedVariables::Numeric)},
    {"string",    3, confirm_variables,  int(ConfirmedVariables::String)},
    {"date",      4, confirm_variables,  int(ConfirmedVariables::Date)},
    {"ts",        2, confirm_variables,  int(ConfirmedVariables::Operators)},
    {"format",    3, confirm_format,     0},
};
// clang-format on

}  // namespace

ReturnCode CmdConfirm(int) {
    NextToken();
    const std::string_view word = scanner.TokenBuffer;
    for (const ConfirmRow& row : kTests) {
        if (MatchAbbreviation(word, row.word, row.minimum)) return row.test(row.argument);
    }
    PushBackToken();
    if (MatchAbbreviation(word, "variable", 1) || word == "variables") {
        return ConfirmVariables(ConfirmedVariables::Any);
    }
    return ReportInvalidSyntax();
}

}  // namespace korva

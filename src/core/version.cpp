// core/version.cpp - version: old rules for those who ask for them.
#include "core/version.h"

#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/commands.h"
#include "core/option_words.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"

namespace korva {

namespace {

constexpr std::array<std::string_view, 12> kMonths = {"jan", "feb", "mar", "apr", "may", "jun",
                                                      "jul", "aug", "sep", "oct", "nov", "dec"};
constexpr std::array<int, 12> kMonthDays = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

// What a version line asks for.
struct VersionRequest {
    int32_t version = 0;
    bool missing = false;
    bool is_prefix = false;  // a colon follows: the version is for one command
};

ReturnCode print_version() {
    LevelGuard level(kLevelText);
    out_text("version " + VersionText(session.version));
    if (session.ModernMissing) out_text(" (with modern treatment of missing values)");
    return out_newline();
}

// Version times 100 from text such as 9.2; 0: the text is none.
int32_t parse_version(const char* text) {
    if (*text < '0' || *text > '9') return 0;
    char* end;
    const double number = std::strtod(text, &end);
    if (*end || !(number >= 1) || number > 1e6) return 0;
    return int32_t(std::lround(number * 100));
}

ReturnCode cannot_run(int32_t version) {
    out_error("this is version " + VersionText(kCurrentVersion) +
              " of Korva; it cannot run version " + VersionText(version) + " programs\n");
    return 9;
}

// "dd Mon yyyy" as year, month and day in one number that orders as the dates do; 0: no date.
int date_number(const std::string& text) {
    int day = 0, year = 0, used = 0;
    char month_name[4] = {};
    if (std::sscanf(text.c_str(), " %2d %3[A-Za-z] %4d %n", &day, month_name, &year, &used) != 3 ||
        size_t(used) != text.size()) {
        return 0;
    }
    for (char& c : month_name) c = char(std::tolower(uint8_t(c)));
    for (size_t i = 0; i < kMonths.size(); i++) {
        if (kMonths[i] != month_name) continue;
        const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
        if (day < 1 || day > kMonthDays[i] || (i == 1 && day == 29 && !leap) || year < 1000)
            return 0;
        return year * 10000 + int(i + 1) * 100 + day;
    }
    return 0;
}

ReturnCode check_born() {
    std::string text;
    if (!TakeParenthesised(&text)) {
        out_error("option born() incorrectly specified\n");
        return 198;
    }
    const int date = date_number(text);
    if (date == 0) {
        out_error("\"" + text + "\" invalid date\n");
        return 198;
    }
    if (date > kBuildYear * 10000 + kBuildMonth * 100 + kBuildDay) {
        out_error("you must update the Korva executable to run this program\n");
        return 9;
    }
    return 0;
}

ReturnCode parse_request(VersionRequest* request) {
    request->version = parse_version(scanner.TokenBuffer);
    if (request->version == 0) return ReportInvalidSyntax();
    if (request->version > kCurrentVersion) return cannot_run(request->version);
    NextToken();
    if (TokenIs(",")) {
        for (NextToken(); !TokenIsEmpty() && !TokenIs(":"); NextToken()) {
            if (TokenIs("missing")) {
                request->missing = true;
            } else if (TokenIs("born")) {
                if (ReturnCode rc = check_born()) return rc;
            } else {
                return ReportOptionNotAllowed(scanner.TokenBuffer);
            }
        }
    }
    request->is_prefix = TokenIs(":");
    return request->is_prefix || TokenIsEmpty() ? 0 : ReportInvalidSyntax();
}

// Only scanned: what stands behind the colon may open a block. The line's macros are not expanded.
ReturnCode skip_version() {
    while (!TokenIsEmpty() && !TokenIs(":")) NextToken();
    return TokenIsEmpty() ? 0 : DispatchNext();
}

}  // namespace

std::string VersionText(int version) {
    char text[24];
    std::snprintf(text, sizeof text, version % 10 ? "%d.%02d" : "%d.%d", version / 100,
                  version % 10 ? version % 100 : version % 100 / 10);
    return text;
}

// version, version # [, missing born(date)] [: command]
ReturnCode CmdVersion(int) {
    NextToken();
    if (!session.ExecuteFlag) return skip_version();
    if (TokenIsEmpty()) return print_version();
    VersionRequest request;
    if (ReturnCode rc = parse_request(&request)) return rc;

    const int32_t old_version = session.version;
    const uint8_t old_missing = session.ModernMissing;
    session.version = request.version;
    session.ModernMissing = request.missing;
    if (!request.is_prefix) return 0;
    const ReturnCode code = DispatchNext();
    session.version = old_version;
    session.ModernMissing = old_missing;
    return code;
}

}  // namespace korva

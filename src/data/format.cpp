// data/format.cpp - format: how the values of variables are shown.
#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "core/commands.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/words.h"
#include "data/by.h"
#include "data/labels.h"
#include "data/skeleton.h"

namespace korva {

namespace {

bool is_format(std::string_view word) {
    return !word.empty() && word.front() == '%';
}

// Takes the format from the front or the back of the text; empty if it stands at neither.
std::string take_format(std::string* text) {
    const std::vector<std::string_view> words = SplitWords(*text);
    if (words.empty()) return {};
    const std::string first(words.front()), last(words.back());
    const size_t last_at = size_t(words.back().data() - text->data());
    if (is_format(first)) {
        text->erase(0, size_t(words.front().data() - text->data()) + first.size());
        return first;
    }
    if (!is_format(last)) return {};
    text->resize(last_at);
    return last;
}

ReturnCode check_format(const std::string& format, const std::vector<int32_t>& vars) {
    const bool for_numbers = fmt_is_valid(format, false);
    const bool for_strings = fmt_is_valid(format, true);
    const bool fits = format.size() < size_t(kFormatBytes);
    if (!fits || (!for_numbers && !for_strings)) return ReportError(120);
    for (int32_t var : vars) {
        const bool suits = type_is_string(dataset.types[var - 1]) ? for_strings : for_numbers;
        if (!suits) return ReportError(109);
    }
    return 0;
}

void show_formats(const std::vector<int32_t>& vars) {
    size_t width = std::strlen("variable name");
    for (int32_t var : vars) width = std::max(width, std::strlen(dataset.names[var - 1]));
    const LevelGuard level(kLevelText);
    out_tmrkf("\n{txt}  variable name{col %d}display format\n  {hline %d}\n", int(width) + 6,
              int(width) + 3 + int(std::strlen("display format")));
    for (int32_t var : vars) {
        out_tmrkf("{txt}  %s{col %d}{res}%s\n", dataset.names[var - 1], int(width) + 6,
                  dataset.formats[var - 1]);
    }
}

}  // namespace

// format varlist %fmt, or format %fmt varlist; format [varlist] shows the formats.
ReturnCode CmdFormat(int) {
    if (by_state.active) return ReportError(190);
    std::string text(ScanRest());
    const std::string format = take_format(&text);
    skeleton.varlist.clear();
    if (!TrimBlanks(text).empty()) {
        if (ReturnCode rc = varlist_from_text(text, &skeleton.varlist)) return rc;
    } else if (!format.empty()) {
        return ReportRequired("varlist");
    }
    varlist_or_all();
    if (format.empty()) {
        show_formats(skeleton.varlist);
        return 0;
    }
    if (ReturnCode rc = check_format(format, skeleton.varlist)) return rc;
    for (int32_t var : skeleton.varlist) {
        std::memcpy(dataset.formats[var - 1], format.c_str(), format.size() + 1);
        note_change(var);
    }
    return 0;
}

}  // namespace korva

// core/do_file.cpp - do, run and include: their line. core/frame.cpp runs the file.
#include "core/do_file.h"

#include <string_view>

#include "core/ado_path.h"
#include "core/commands.h"
#include "core/frame.h"
#include "core/names.h"
#include "core/option_words.h"
#include "core/scanner.h"
#include "core/words.h"

namespace korva {

namespace {

constexpr size_t kNone = std::string_view::npos;

// The last comma outside plain and compound quotes.
size_t last_comma(std::string_view text) {
    size_t comma = kNone;
    int compound = 0;
    bool quoted = false;
    for (size_t i = 0; i < text.size(); i++) {
        const char next = i + 1 < text.size() ? text[i + 1] : '\0';
        if (!quoted && text[i] == '`' && next == '"') {
            compound++;
            i++;
        } else if (compound > 0 && text[i] == '"' && next == '\'') {
            compound--;
            i++;
        } else if (compound == 0 && text[i] == '"') {
            quoted = !quoted;
        } else if (text[i] == ',' && !quoted && compound == 0) {
            comma = i;
        }
    }
    return comma;
}

// The words at the scanner. A delay means nothing here, where a file is read as it runs.
ReturnCode read_options(bool* stop) {
    while (*NextToken()) {
        const std::string_view word = scanner.TokenBuffer;
        if (MatchAbbreviation(word, "stop", 1)) {
            *stop = true;
        } else if (word.starts_with("no") && MatchAbbreviation(word.substr(2), "stop", 1)) {
            *stop = false;
        } else if (!MatchAbbreviation(word, "delay", 1)) {
            return ReportOptionNotAllowed(word);
        }
    }
    return 0;
}

}  // namespace

ReturnCode ParseDoLine(ExecKind kind, std::string* path, std::string* arguments, bool* stop) {
    *stop = true;
    arguments->clear();
    char name[kMaxFileNameBytes + 1];
    if (ReturnCode rc = ParseFileName(name)) return rc;
    if (kind == ExecInclude) {
        if (ReturnCode rc = ExpectEnd(0)) return rc;
    } else {
        char* rest = ScanRest();
        const std::string_view text = rest;
        const size_t comma = last_comma(text);
        *arguments = TrimBlanks(text.substr(0, comma));
        if (comma != kNone) {
            SetScanPointer(rest + comma + 1);
            if (ReturnCode rc = read_options(stop)) return rc;
        }
    }
    FindDoFile(name, path);
    return 0;
}

// do file [arguments] [, nostop], run, include file
ReturnCode CmdDo(int kind) {
    return RunFile(ExecKind(kind), false);
}

}  // namespace korva

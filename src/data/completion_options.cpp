// data/completion_options.cpp - pictures of options, from the table or read in a program's text.
//
// Built-ins have their pictures here in the notation of `syntax`, so that one reader serves both. A
// command of which several syntax lines stand in its program has the options of all of them. One
// without any, which hands its whole line to a built-in, has the options of that.
#include "data/completion_options.h"

#include <algorithm>
#include <cctype>

#include "core/ado_path.h"
#include "core/command_table.h"
#include "core/completion_files.h"
#include "core/completion_text.h"
#include "core/names.h"
#include "core/program.h"
#include "core/session.h"
#include "core/words.h"

namespace korva {

namespace {

constexpr size_t kMaxSourceBytes = 400000;  // of an ado-file that are read: three full programs
constexpr size_t kMaxOptions = 1000;

struct PictureRow {
    std::string_view command;  // full name
    std::string_view picture;
};
// Also with an argument: header(#), and mean, sum and N with a list of variables.
constexpr std::string_view kListPicture =
    ", Table Display Clean DIVider noHeader noObs noLabel SEParator(integer) SEPBY(varlist) "
    "ABbreviate(integer) STRing(integer) LINESize(integer) SUBVarname FAST MEAN SUM N "
    "LABVAR(varname)";

// What the handlers take, by the names that they pass to option_present() and its kin.
constexpr PictureRow kPictures[] = {
    // clang-format off
    {"_describe",  ", Short Detail DAte ALL NUMBERS FULLNAMES"},
    {"assert",     ", RC0 NULL FAST"},
    {"by",         ", Sort RC0"},
    {"bysort",     ", RC0"},
    {"char",       ", REPLACE"},
    {"continue",   ", BReak"},
    {"do",         ", noStop"},
    {"exit",       ", CLEAR KORVA"},
    {"flist",      kListPicture},
    {"gettoken",   ", Parse(string) Quotes Match(name) BIND"},
    {"label",      ", ADD MODIFY noFIX REPLACE NEW COPY RENAME DELETE"},
    {"list",       kListPicture},
    {"mark",       ", Zeroweight noBY"},
    {"markin",     ", Name(name) noBY"},
    {"markout",    ", Strok"},
    {"marksample", ", Zeroweight Strok noVarlist noBY"},
    {"preserve",   ", CHanged"},
    {"program",    ", Rclass Eclass Sclass Nclass SORTpreserve BYABLE(name) PROPERTIES(name)"},
    {"replace",    ", noPromote"},
    {"restore",    ", NOT PREServe"},
    {"run",        ", noStop"},
    {"set",        ", PERManently"},
    {"tsrevar",    ", List Substitute"},
    {"use",        ", CLEAR REPLACE noLabel"},
    {"version",    ", MISSING BORN(name)"},
    {"which",      ", ALL"},
    // clang-format on
};

bool is_capital(char c) {
    return c >= 'A' && c <= 'Z';
}

OptionArgument argument_of(std::string_view spec) {
    spec = TrimBlanks(spec);
    const std::string_view word = spec.substr(0, std::min(spec.find(' '), spec.size()));
    for (const std::string_view name : {"varlist", "varname", "string", "passthru"}) {
        if (word.starts_with(name)) return OptionArgument::Variables;
    }
    return word == "exp" ? OptionArgument::Expression : OptionArgument::Other;
}

// Of an option without capitals every character counts; so do the digits among capitals.
OptionChoice option_of(std::string_view name) {
    OptionChoice option;
    const size_t no = name.size() > 2 && name.starts_with("no") && is_capital(name[2]) ? 2 : 0;
    size_t capitals = no;
    while (capitals < name.size() &&
           (is_capital(name[capitals]) || (name[capitals] >= '0' && name[capitals] <= '9'))) {
        capitals++;
    }
    option.minimum = int(capitals > no ? capitals : name.size());
    for (const char c : name) option.name += is_capital(c) ? char(c - 'A' + 'a') : c;
    return option;
}

// --- reading a program's text ---

// Statements of a source one after the other: lines, or what stands between semicolons.
struct StatementReader {
    std::string_view mask;
    size_t at = 0;
    bool semicolons = false;

    bool take(size_t* begin, size_t* end) {
        if (at >= mask.size()) return false;
        *begin = at;
        *end = std::min(mask.find(semicolons ? ';' : '\n', at), mask.size());
        if (mask.substr(at).starts_with("#delimit")) {
            *end = std::min(mask.find('\n', at), mask.size());
            semicolons = mask.substr(at, *end - at).find(';') != kNowhere;
        }
        at = *end + 1;
        while (at < mask.size() && (mask[at] == ' ' || mask[at] == '\n')) at++;
        return true;
    }
};

std::string_view take_word(std::string_view* rest) {
    *rest = TrimBlanks(*rest);
    size_t end = 0;
    while (end < rest->size() && IsNameByte((*rest)[end])) end++;
    const std::string_view word = rest->substr(0, end);
    rest->remove_prefix(end);
    return word;
}

// The name that a `program` line defines; empty: the statement is no such line.
std::string_view defined_program(std::string_view statement) {
    if (!MatchAbbreviation(take_word(&statement), "program", 2)) return {};
    std::string_view name = take_word(&statement);
    if (name == "drop" || name == "list" || name == "dir") return {};
    if (!MatchAbbreviation(name, "define", 2)) return name;
    const std::string_view second = take_word(&statement);
    return second.empty() ? name : second;
}

// Goes over the statements of one program: its syntax lines, and where it hands its line on.
void read_statement(std::string_view text, std::string_view mask, std::string* handed_to,
                    std::vector<OptionChoice>* options) {
    std::string_view rest = mask;
    std::string_view word = take_word(&rest);
    while (MatchAbbreviation(word, "capture", 3) || MatchAbbreviation(word, "quietly", 3) ||
           MatchAbbreviation(word, "noisily", 1)) {
        word = take_word(&rest);
    }
    if (word == "syntax") return add_picture_options(rest, options);
    if (!word.empty() && TrimBlanks(text).ends_with(" `0'")) *handed_to = word;
}

// The options that the source tells. In a file only the statements of the program `name` count;
// an empty name takes them all.
std::vector<OptionChoice> options_of_source(const std::string& source, std::string_view name) {
    std::vector<OptionChoice> options;
    const TypedText parts = TakeTextApart(source);
    StatementReader reader{parts.mask};
    std::string handed_to;
    bool inside = name.empty();
    for (size_t begin, end; reader.take(&begin, &end);) {
        std::string mask = parts.mask.substr(begin, end - begin);
        std::replace(mask.begin(), mask.end(), '\n', ' ');
        if (!name.empty()) {
            const std::string_view defined = defined_program(mask);
            if (!defined.empty()) inside = defined == name;
            if (TrimBlanks(mask) == "end") inside = false;
        }
        if (!inside) continue;
        read_statement(std::string_view(source).substr(begin, end - begin), mask, &handed_to,
                       &options);
    }
    if (!options.empty() || handed_to.empty()) return options;
    const std::string_view builtin = UnabbreviateBuiltin(handed_to);
    return builtin.empty() ? options : known_options(builtin);
}

std::string source_of_program(const StoreRecord* record) {
    const auto* head = reinterpret_cast<const ProgramHead*>(record->payload());
    std::string source;
    for (int32_t i = 0; i < head->lines; i++) {
        const std::string_view line = ProgramLineText(record, i);
        source.append(line.substr(1, line.size() - 2));
        source += '\n';
    }
    return source;
}

}  // namespace

void add_picture_options(std::string_view picture, std::vector<OptionChoice>* options) {
    int depth = 0;
    size_t at = 0;
    for (; at < picture.size() && (picture[at] != ',' || depth > 0); at++) {
        if (picture[at] == '(') depth++;
        if (picture[at] == ')') depth--;
    }
    while (++at < picture.size() && options->size() < kMaxOptions) {
        if (!IsNameByte(picture[at])) continue;
        size_t end = at;
        while (end < picture.size() && IsNameByte(picture[end])) end++;
        OptionChoice option = option_of(picture.substr(at, end - at));
        if (end < picture.size() && picture[end] == '(') {
            const size_t close = std::min(FindOutsideBrackets(picture, end + 1, ')'),
                                          picture.size());
            option.argument = argument_of(picture.substr(end + 1, close - end - 1));
            end = close;
        }
        options->push_back(std::move(option));
        at = end;
    }
}

std::vector<OptionChoice> known_options(std::string_view command) {
    std::vector<OptionChoice> options;
    const std::string_view builtin = UnabbreviateBuiltin(command);
    if (!builtin.empty()) {
        for (const PictureRow& row : kPictures) {
            if (row.command == builtin) add_picture_options(row.picture, &options);
        }
        return options;
    }
    if (const StoreRecord* record = FindProgram(command, session.Scope, kFindPrograms)) {
        return options_of_source(source_of_program(record), {});
    }
    std::string path;
    if (!IsValidName(command) || !FindOnPath(command, "ado", 1, &path)) return options;
    return options_of_source(ReadHeadOfFile(path, kMaxSourceBytes), command);
}

}  // namespace korva

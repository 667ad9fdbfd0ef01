// core/command_table.cpp - the built-in commands, in the order of their search.
//
// A word takes the first row, in this order, that it abbreviates: the order decides among rows
// whose abbreviations overlap, and the first character picks the group, so that few rows are
// compared. A row without a handler is a command that is not available yet; Dispatch says so.
#include "core/command_table.h"

#include <algorithm>
#include <array>

#include "core/commands.h"
#include "core/names.h"
#include "core/session.h"

namespace korva {

namespace {

// clang-format off
constexpr CommandRow kCommands[] = {
    // name             min  by     handler       argument, gate
    {"!",                 1, false, nullptr,      0},

    {"_asis",             5, false, nullptr,      0},
    {"_byobs",            6, false, nullptr,      0},
    {"_clogit",           4, true,  nullptr,      0},
    {"_clogit_lf",       10, false, nullptr,      0},
    {"_cls",              4, false, nullptr,      0},
    {"_cluster",          8, false, nullptr,      0},
    {"_clustermat",      11, false, nullptr,      0},
    {"_cnreg",            6, true,  nullptr,      0},
    {"_describe",         9, false, Cmd_describe, 0},
    {"_dialog",           7, false, nullptr,      0},
    {"_estimates",        4, false, nullptr,      0, Gate::AtLeast, 800},
    {"_test",             5, false, nullptr,      0},
    {"_findhlpalias",    12, false, nullptr,      0},
    {"_GEEBT",            5, false, nullptr,      0},
    {"_GEEUC",            5, false, nullptr,      0},
    {"_GEERC",            5, false, nullptr,      0},
    {"_gllamm_fl",        9, false, nullptr,      0},
    {"_gllamm_ord",       9, false, nullptr,      0},
    {"_gllamm_lnu",       9, false, nullptr,      0},
    {"_gllamm_nom",       9, false, nullptr,      0},
    {"_huber",            3, false, nullptr,      0},
    {"_ktau",             5, false, nullptr,      0},
    {"_logit",            6, true,  nullptr,      0},
    {"_merge",            4, false, nullptr,      0},
    {"_mlmatbysum",      11, false, nullptr,      0},
    {"_mlogit",           7, true,  nullptr,      0},
    {"_natscale",         9, false, nullptr,      0},
    {"_ologit",           7, true,  nullptr,      0},
    {"_oprobit",          8, true,  nullptr,      0},
    {"_parse",            6, false, Cmd_parse,    0},
    {"_predict",          8, false, nullptr,      0},
    {"_pctile",           7, false, nullptr,      0},
    {"_probit",           7, true,  nullptr,      0},
    {"_repart",           7, false, Cmd_repart,   0},
    {"_regress",          8, true,  nullptr,      0},
    {"_return",           4, false, nullptr,      0},
    {"_robust",           7, false, nullptr,      0},
    {"_rotate_mat",      11, false, nullptr,      0},
    {"_rmcoll",           7, false, nullptr,      0},
    {"_svy",              4, false, nullptr,      0},
    {"_tobit",            6, true,  nullptr,      0},
    {"_tsnatscale",       9, false, nullptr,      0},
    {"_XTRENORM",         9, false, nullptr,      0},
    {"_XTLLCalc",         6, false, nullptr,      0},
    {"_GetAdap",          6, false, nullptr,      0},
    {"_GetRho",           5, false, nullptr,      0},
    {"_GetQuad",          4, false, nullptr,      0},
    {"_KDE",              4, false, nullptr,      0},
    {"_KDE2",             5, false, nullptr,      0},
    {"_LOWESS",           7, false, nullptr,      0},
    {"_kalman1",          8, false, nullptr,      0},
    {"_qreg",             5, false, nullptr,      0},
    {"_xtarm",            6, false, nullptr,      0},
    {"_xtmka",            6, false, nullptr,      0},
    {"_xtmkz",            6, false, nullptr,      0},
    {"_xtzw",             4, false, nullptr,      0},
    {"_xtzv",             4, false, nullptr,      0},
    {"_xtwhw",            5, false, nullptr,      0},
    {"_xta2",             4, false, nullptr,      0},
    {"_sfevdstd",         8, false, nullptr,      0},
    {"_varfstd",          7, false, nullptr,      0},
    {"_fevdstd",          7, false, nullptr,      0},

    {"about",             5, false, nullptr,      0},
    {"about_dlg",         9, false, nullptr,      0},
    {"ado",               3, false, nullptr,      0},
    {"append",            2, false, nullptr,      0},
    {"anova",             2, true,  nullptr,      0},
    {"anovadef",          8, false, nullptr,      0},
    {"args",              4, false, CmdArgs,      0},
    {"assert",            2, true,  CmdAssert,    0},

    {"by",                2, false, CmdBy,        0},
    {"bysort",            3, false, CmdBy,        1},
    {"break",             5, false, CmdBreak,     0},
    {"browse",            2, false, nullptr,      0},
    {"beep",              2, false, nullptr,      0},

    {"cat",               3, false, nullptr,      0},
    {"capture",           3, false, CmdCapture,   0},
    {"chdir",             5, false, nullptr,      0},
    {"cd",                2, false, nullptr,      0},
    {"char",              4, false, CmdChar,      0},
    {"checksum",          8, false, nullptr,      0},
    {"chelp",             2, false, nullptr,      0},
    {"class",             5, false, nullptr,      0},
    {"c_local",           7, false, CmdLocal,     7},
    {"compress",          8, false, CmdCompress,  0},
    {"confirm",           4, false, CmdConfirm,   0},
    {"constraint",        4, false, nullptr,      0},
    {"continue",          8, false, CmdContinue,  0},
    {"copy",              4, false, nullptr,      0},
    {"cp",                2, false, nullptr,      0, Gate::AtLeast, 600},
    {"count",             3, true,  CmdCount,     0},
    {"cox",               3, true,  nullptr,      0},
    {"correlate",         3, true,  nullptr,      0},
    {"cmdlog",            6, false, CmdCmdlog,    0},
    {"creturn",           4, false, nullptr,      0},
    {"clist",             2, true,  nullptr,      0},

    {"debug",             5, false, CmdDebug,     0},
    {"decode",            3, false, nullptr,      0},
    {"dir",               3, false, nullptr,      0},
    {"display",           2, false, CmdDisplay,   0},
    {"discard",           7, false, CmdDiscard,   0},
    {"do_dlg",            6, false, nullptr,      0},
    {"do",                2, false, CmdDo,        ExecDo},
    {"drop",              4, true,  CmdDrop,      0},
    {"doedit",            3, false, nullptr,      0},
    {"datatimer",         8, false, nullptr,      0},
    {"di_g",              4, false, nullptr,      0},
    {"datasignature",     7, false, nullptr,      0},

    {"edit",              2, false, nullptr,      0},
    {"else",              4, false, CmdElse,      0},
    {"encode",            2, false, nullptr,      0},
    {"erase",             5, false, nullptr,      0},
    {"error",             3, false, CmdError,     0},
    {"estimates",         3, false, nullptr,      0, Gate::Below, 800},
    {"ereturn",           4, false, nullptr,      0, Gate::AtLeast, 800},
    {"exit",              1, false, CmdExit,      0},
    {"expand",            6, false, CmdExpand,    0},

    {"forvalues",         4, false, CmdWhile,     2},
    {"foreach",           7, false, CmdWhile,     1},
    {"factor_cmd8",      11, true,  nullptr,      0},
    {"fdadescribe",       6, false, nullptr,      0},
    {"fdasave",           6, false, nullptr,      0},
    {"fdause",            6, false, nullptr,      0},
    {"fft",               3, true,  nullptr,      0},
    {"format",            4, false, CmdFormat,    0},
    {"file",              4, false, nullptr,      0},
    {"filefilter",        5, false, nullptr,      0},
    {"flist",             2, true,  CmdList,      1},

    {"generate",          1, true,  CmdGenerate,  0},
    {"gettoken",          8, false, CmdGettoken,  0},
    {"global",            2, false, CmdLocal,     2},
    {"gdi",               3, false, nullptr,      0},
    {"gph",               3, false, nullptr,      0, Gate::Below, 800},
    {"graph",             2, true,  nullptr,      0, Gate::Below, 800},
    {"graph7",            6, false, nullptr,      0},
    {"gr7",               3, false, nullptr,      0},
    {"gprefs",            6, false, nullptr,      0},

    {"haver",             5, false, nullptr,      0},
    {"hexdump",           7, false, nullptr,      0},

    {"include",           7, false, CmdDo,        ExecInclude},
    {"if",                2, false, CmdIf,        0},
    {"infile",            3, false, nullptr,      0},
    {"infix",             5, false, nullptr,      0},
    {"input",             3, false, nullptr,      0},
    {"insheet",           4, false, nullptr,      0},
    {"inspect",           3, true,  nullptr,      0},

    {"keep",              4, true,  CmdDrop,      1},

    {"local",             3, false, CmdLocal,     1},
    {"list",              1, true,  CmdList,      0},
    {"ls",                2, false, nullptr,      0},
    {"label",             2, false, CmdLabel,     0},
    {"labeldefine_dlg",  15, false, nullptr,      0},
    {"lookup",            2, false, nullptr,      0},
    {"log",               3, false, CmdLog,       0},
    {"log_dlg",           7, false, nullptr,      0},
    {"lumo",              4, false, nullptr,      0},
    {"lumo_clear",       10, false, nullptr,      0},
    {"lumo_describe",    13, false, nullptr,      0},
    {"lumo_drop",         9, false, nullptr,      0},
    {"lumo_llib",         9, false, nullptr,      0},
    {"lumo_memory",      11, false, nullptr,      0},
    {"lumo_lobsave",     12, false, nullptr,      0},
    {"lumo_rename",      11, false, nullptr,      0},
    {"lumo_which",       10, false, nullptr,      0},

    {"macro",             2, false, CmdMacro,     0},
    {"man",               3, false, nullptr,      0},
    {"manova",            4, true,  nullptr,      0},
    {"manovatest",       10, false, nullptr,      0},
    {"mark",              4, false, CmdMark,      0},
    {"markout",           7, false, CmdMarkout,   0},
    {"marksample",       10, false, CmdMarksample, 0},
    {"markin",            6, false, CmdMarkin,    0},
    {"m",                 1, false, nullptr,      0},
    {"mat_put_rr",       10, false, nullptr,      0},
    {"matrix",            3, false, nullptr,      0},
    {"memory",            6, false, CmdMemory,    0},
    {"mkdir",             5, false, nullptr,      0},
    {"mleval",            6, false, nullptr,      0},
    {"mlsum",             5, false, nullptr,      0},
    {"mlvecsum",          8, false, nullptr,      0},
    {"mlmatsum",          8, false, nullptr,      0},
    {"mlmatbysum",        8, false, nullptr,      0},
    {"more",              3, false, CmdMore,      0},
    {"move",              3, false, CmdMove,      0},

    {"noisily",           1, false, CmdNoisily,   0},
    {"net",               3, false, nullptr,      0},
    {"news",              4, false, nullptr,      0},
    {"nobreak",           7, false, CmdNobreak,   0},
    {"numlist",           7, false, CmdNumlist,   0, Gate::AtLeast, 600},
    {"notify",            6, false, nullptr,      0},
    {"notes_dlg",         9, false, nullptr,      0},

    {"odbc",              4, false, nullptr,      0},
    {"odbcload_dlg",     12, false, nullptr,      0},
    {"oldgprefs",         9, false, nullptr,      0},
    {"oneway",            2, true,  nullptr,      0},
    {"order",             5, false, CmdOrder,     0},
    {"outfile",           2, false, nullptr,      0},
    {"outsheet",          4, false, nullptr,      0},

    {"parse",             3, false, CmdParse,     0},
    {"plot",              2, true,  nullptr,      0},
    {"plugin",            4, false, nullptr,      0},
    {"postfile",          8, false, nullptr,      0},
    {"post",              4, false, nullptr,      0},
    {"postclose",         9, false, nullptr,      0},
    {"postutil",          8, false, nullptr,      0},
    {"preserve",          8, false, CmdPreserve,  0},
    {"printgr",           7, false, nullptr,      0},
    {"program",           2, false, CmdProgram,   0},
    {"push",              4, false, nullptr,      0},
    {"pwd",               3, false, nullptr,      0},
    {"predict",           3, false, nullptr,      0, Gate::Below, 600},

    {"quietly",           3, false, CmdQuietly,   0},
    {"query",             1, false, CmdQuery,     0},

    {"rename",            3, false, CmdRename,    0},
    {"replace",           7, true,  CmdReplace,   0},
    {"restore",           7, false, CmdRestore,   0},
    {"return",            3, false, nullptr,      0},
    {"rotate_cmd8",      11, false, nullptr,      0},
    {"rmdir",             5, false, nullptr,      0},
    {"run",               2, false, CmdDo,        ExecRun},

    {"save",              2, false, CmdSave,      0},
    {"save_dlg",          8, false, nullptr,      0},
    {"scalar",            3, false, nullptr,      0},
    {"search",            6, false, nullptr,      0},
    {"search_dlg",       10, false, nullptr,      0},
    {"set",               2, false, CmdSet,       0},
    {"score_cmd8",       10, false, nullptr,      0},
    {"showpoint",         8, false, nullptr,      0},
    {"shell",             2, false, nullptr,      0},
    {"sort",              2, false, nullptr,      0},
    {"sleep",             5, false, nullptr,      0},
    {"sortmapj",          8, false, nullptr,      0},
    {"sreturn",           4, false, nullptr,      0},
    {"summarize",         2, true,  CmdSummarize, 0},
    {"syntax",            6, false, CmdSyntax,    0},
    {"sysdir",            6, false, CmdSysdir,    0},
    {"subwin",            6, false, nullptr,      0},
    {"sysmenu",           7, false, nullptr,      0},
    {"serset",            6, false, nullptr,      0},
    {"stypop",            6, false, nullptr,      0},

    {"tabdisp",           4, true,  nullptr,      0},
    {"tabulate",          2, true,  nullptr,      0},
    {"tempvar",           7, false, CmdTempvar,   0},
    {"tempname",          8, false, CmdTempvar,   0},
    {"tempfile",          7, false, CmdTempvar,   1},
    {"timer",             5, false, nullptr,      0},
    {"tokenize",          5, false, CmdTokenize,  0},
    {"tsrevar",           7, false, CmdTsrevar,   0},
    {"type",              2, false, nullptr,      0},
    {"translate",         5, false, CmdTranslate, 0},
    {"translator",       10, false, nullptr,      0},
    {"transmap",          8, false, nullptr,      0},

    {"update",            6, false, nullptr,      0},
    {"use",               1, false, CmdUse,       0},
    {"use_dlg",           7, false, nullptr,      0},
    {"unabcmd",           7, false, CmdUnabcmd,   0},

    {"version",           4, false, CmdVersion,   0},
    {"view",              4, false, nullptr,      0},

    {"while",             2, false, CmdWhile,     0},
    {"which",             4, false, CmdWhich,     0},
    {"winexec",           7, false, nullptr,      0},
    {"wdlg",              4, false, nullptr,      0},
    {"wdctl",             5, false, nullptr,      0},
    {"wdupdate",          8, false, nullptr,      0},
    {"window",            3, false, nullptr,      0},
    {"wmenu",             5, false, nullptr,      0},

    {"xmlsave",           6, false, nullptr,      0},
    {"xmluse",            6, false, nullptr,      0},
    {"xshell",            3, false, nullptr,      0},

    {"{",                 1, false, CmdBlock,     0},
};

// The words that mean something while lines are only scanned for their blocks. Meant: quietly is shorter
// here than in the table above, where `q` is query.
struct SkipRow {
    std::string_view name;
    int minimum;
    Gate gate = Gate::Always;
    int gate_version = 0;
};
constexpr SkipRow kSkipCommands[] = {
    {"_byobs",    6}, {"_cls",      4}, {"break",     5}, {"capture",   3}, {"class",     5},
    {"else",      4}, {"foreach",   7}, {"forvalues", 4}, {"if",        2}, {"m",         1},
    {"lumo",      4}, {"noisily",   1}, {"nobreak",   7},
    {"quietly",   1, Gate::AtLeast, 800}, {"quietly", 3, Gate::Below, 800},
    {"version",   4}, {"while",     2}, {"{",         1},
};
// clang-format on

constexpr bool minimums_fit_names() {
    return std::ranges::all_of(kCommands, [](const CommandRow& row) {
        return row.minimum >= 1 && row.minimum <= int(row.name.size());
    });
}
static_assert(minimums_fit_names());
static_assert(std::size(kCommands) == 271);

// Rows of one first character stand together, so a group is a span of the table.
constexpr bool groups_are_contiguous() {
    bool seen[256] = {};
    for (size_t i = 0; i < std::size(kCommands); i++) {
        const auto c = uint8_t(kCommands[i].name[0]);
        if (seen[c] && kCommands[i - 1].name[0] != kCommands[i].name[0]) return false;
        seen[c] = true;
    }
    return true;
}
static_assert(groups_are_contiguous());

struct Group {
    uint16_t begin = 0;
    uint16_t end = 0;
};

constexpr std::array<Group, 256> make_groups() {
    std::array<Group, 256> groups{};
    for (size_t i = 0; i < std::size(kCommands); i++) {
        Group& group = groups[uint8_t(kCommands[i].name[0])];
        if (group.end == 0) group.begin = uint16_t(i);
        group.end = uint16_t(i + 1);
    }
    return groups;
}
constexpr std::array<Group, 256> kGroups = make_groups();

constexpr const CommandRow* row_named(std::string_view name) {
    for (const CommandRow& row : kCommands) {
        if (row.name == name) return &row;
    }
    return nullptr;
}
static_assert(std::ranges::all_of(kSkipCommands, [](const SkipRow& row) {
    return row_named(row.name) != nullptr;
}));

bool gate_open(Gate gate, int gate_version) {
    if (gate == Gate::Always) return true;
    return (session.version >= gate_version) == (gate == Gate::AtLeast);
}

}  // namespace

std::span<const CommandRow> CommandTable() {
    return kCommands;
}

const CommandRow* FindCommand(std::string_view word) {
    if (word.empty()) return nullptr;
    const Group group = kGroups[uint8_t(word[0])];
    for (int i = group.begin; i < group.end; i++) {
        const CommandRow& row = kCommands[i];
        if (MatchAbbreviation(word, row.name, row.minimum) &&
            gate_open(row.gate, row.gate_version)) {
            return &row;
        }
    }
    return nullptr;
}

const CommandRow* FindSkipCommand(std::string_view word) {
    if (word.empty()) return nullptr;
    for (const SkipRow& row : kSkipCommands) {
        if (row.name[0] == word[0] && MatchAbbreviation(word, row.name, row.minimum) &&
            gate_open(row.gate, row.gate_version)) {
            return row_named(row.name);
        }
    }
    return nullptr;
}

std::string_view UnabbreviateBuiltin(std::string_view word) {
    const CommandRow* row = FindCommand(word);
    return row != nullptr ? row->name : std::string_view();
}

std::string_view ByableBuiltin(std::string_view word) {
    const CommandRow* row = FindCommand(word);
    return row != nullptr && row->byable ? row->name : std::string_view();
}

int CommandsNotAvailable() {
    return int(std::ranges::count_if(kCommands,
                                     [](const CommandRow& row) { return row.handler == nullptr; }));
}

}  // namespace korva

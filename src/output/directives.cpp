// output/directives.cpp - the grammar of a directive and the table of all of them.
#include "output/directives.h"

#include <algorithm>
#include <array>

#include "output/render.h"

namespace korva {

namespace {

constexpr size_t kMaxDirectiveName = 13;
constexpr size_t kMaxTokenBytes = 255;
constexpr int kMaxNumber = 1 << 20;  // larger numbers count as this: sums of a few stay small

std::string_view skip_spaces(std::string_view text) {
    const size_t first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string_view{} : text.substr(first);
}

// A compound-quoted token: the text behind the opening pair; false when it is not closed.
bool split_compound(std::string_view text, std::string_view* token, std::string_view* rest) {
    int open = 1;
    for (size_t i = 0; i + 1 < text.size(); i++) {
        if (text[i] == '`' && text[i + 1] == '"') {
            open++;
            i++;
        } else if (text[i] == '"' && text[i + 1] == '\'' && --open == 0) {
            *token = text.substr(0, i);
            *rest = text.substr(i + 2);
            return true;
        }
    }
    return false;
}

// Position of the first colon outside all braces; npos if there is none.
size_t top_colon(std::string_view text) {
    int open = 0;
    for (size_t i = 0; i < text.size(); i++) {
        if (text[i] == '{') open++;
        if (text[i] == '}') open--;
        if (text[i] == ':' && open == 0) return i;
    }
    return std::string_view::npos;
}

const DirectiveRow* find_directive(std::string_view name);

// The flags' part of the work: position, mode, text.
bool call_directive(OutputStream* s, const DirectiveRow* row, std::string_view rest) {
    if ((row->flags & kTop) && s->depth != 1) return false;
    if ((row->flags & kLine) && s->mode != kModeLine) return false;
    DirectiveCall call;
    call.argument = row->argument;
    call.rest = rest;
    if (!(row->flags & kArgs)) {
        if (!finish_arguments(&call)) return false;
        if (call.has_text && (row->flags & kNoText)) return false;
        if (!call.has_text && (row->flags & kMustText)) return false;
    }
    return row->handler(s, &call);
}

}  // namespace

std::string_view next_token(DirectiveCall* call, char separator) {
    std::string_view text = skip_spaces(call->rest);
    call->rest = {};
    if (text.empty()) return {};
    std::string_view token;
    if (text[0] == '"') {
        const size_t end = text.find('"', 1);
        if (end == std::string_view::npos) return {};
        token = text.substr(1, end - 1);
        call->rest = text.substr(end + 1);
    } else if (text.starts_with("`\"")) {
        if (!split_compound(text.substr(2), &token, &call->rest)) return {};
    } else {
        size_t end = 1;
        if (text[0] != separator) {
            while (end < text.size() && text[end] != ' ' && text[end] != separator) end++;
        }
        token = text.substr(0, end);
        call->rest = text.substr(end);
    }
    return token.size() < kMaxTokenBytes ? token : std::string_view{};
}

bool finish_arguments(DirectiveCall* call) {
    const std::string_view text = skip_spaces(call->rest);
    if (text.empty()) return true;
    if (text[0] != ':') return false;
    call->has_text = true;
    call->text = text.substr(1);
    return true;
}

int read_number(std::string_view token) {
    if (token.empty()) return -1;
    int number = 0;
    for (char c : token) {
        if (c < '0' || c > '9') return -1;
        number = std::min(10 * number + (c - '0'), kMaxNumber);
    }
    return number;
}

bool read_signed(std::string_view token, int* number) {
    const bool negative = token.starts_with('-');
    if (negative || token.starts_with('+')) token.remove_prefix(1);
    const int size = read_number(token);
    *number = negative ? -size : size;
    return size >= 0;
}

int read_numbers(DirectiveCall* call, int* numbers, int most) {
    for (int n = 0;; n++) {
        const std::string_view ahead = skip_spaces(call->rest);
        if (ahead.empty() || ahead[0] == ':') return n;
        if (n == most || !read_signed(next_token(call), &numbers[n])) return -1;
    }
}

bool may_be_directive(std::string_view text) {
    text = skip_spaces(text).substr(0, kMaxDirectiveName + 1);
    if (text.starts_with('?')) return true;
    return find_directive(text.substr(0, text.find_first_of(": {}"))) != nullptr;
}

bool run_directive(OutputStream* s, std::string_view text) {
    text = skip_spaces(text);
    const bool optional = text.starts_with('?');
    if (optional) text.remove_prefix(1);
    const size_t n = std::min(text.find_first_of(": "), text.size());
    if (n == 0 || n > kMaxDirectiveName) return false;
    const DirectiveRow* row = find_directive(text.substr(0, n));
    const std::string_view rest = text.substr(n);
    if (row != nullptr) return call_directive(s, row, rest);
    if (!optional) return false;
    const size_t colon = top_colon(rest);
    if (colon != std::string_view::npos) render(s, rest.substr(colon + 1));
    return true;
}

namespace {

// clang-format off
constexpr DirectiveRow kRows[] = {
    // name            flags                       handler          argument
    {"txt",            kMayText,                   dir_class,       kStyleText},
    {"text",           kMayText,                   dir_class,       kStyleText},
    {"green",          kMayText,                   dir_class,       kStyleText},
    {"gr",             kMayText,                   dir_class,       kStyleText},
    {"res",            kMayText,                   dir_class,       kStyleResult},
    {"result",         kMayText,                   dir_class,       kStyleResult},
    {"yellow",         kMayText,                   dir_class,       kStyleResult},
    {"ye",             kMayText,                   dir_class,       kStyleResult},
    {"err",            kMayText,                   dir_class,       kStyleError},
    {"error",          kMayText,                   dir_class,       kStyleError},
    {"red",            kMayText,                   dir_class,       kStyleError},
    {"re",             kMayText,                   dir_class,       kStyleError},
    {"inp",            kMayText,                   dir_class,       kStyleInput},
    {"input",          kMayText,                   dir_class,       kStyleInput},
    {"com",            kMayText,                   dir_class,       kStyleInput},
    {"command",        kMayText,                   dir_class,       kStyleInput},
    {"white",          kMayText,                   dir_class,       kStyleInput},
    {"wh",             kMayText,                   dir_class,       kStyleInput},
    {"hi",             kMayText,                   dir_class,       kStyleHighlight},
    {"hilite",         kMayText,                   dir_class,       kStyleHighlight},
    {"cmd",            kMayText,                   dir_class,       kStyleHighlight},
    {"bf",             kMayText,                   dir_weight,      kStyleBold},
    {"it",             kMayText,                   dir_weight,      kStyleItalic},
    {"sf",             kMayText,                   dir_weight,      0},
    {"rm",             kMayText,                   dir_weight,      0},
    {"ul",             kArgs,                      dir_ul},
    {"reset",          kNoText,                    dir_reset},

    {"...",            kNoText,                    dir_dots},
    {".-",             kNoText,                    dir_rule},
    {"*",              kArgs,                      dir_comment},
    {"tab",            kNoText,                    dir_tab},
    {"col",            kArgs | kLine,              dir_col},
    {"right",          kMustText,                  dir_right},
    {"center",         kArgs,                      dir_center,      0},
    {"centre",         kArgs,                      dir_center,      0},
    {"rcenter",        kArgs,                      dir_center,      1},
    {"rcentre",        kArgs,                      dir_center,      1},
    {"lalign",         kArgs,                      dir_align,       0},
    {"ralign",         kArgs,                      dir_align,       1},
    {"dup",            kArgs,                      dir_dup},
    {"space",          kArgs,                      dir_space},
    {"hline",          kArgs,                      dir_hline},
    {"break",          kNoText | kTop,             dir_break},
    {"newpage",        kNoText,                    dir_newpage},
    {"marker",         kArgs,                      dir_marker},
    {"bind",           kMustText,                  dir_bind},
    {"title",          kMustText,                  dir_title},
    {"dlgtab",         kArgs,                      dir_dlgtab},

    {"p",              kArgs | kTop,               dir_p},
    {"p_end",          kNoText | kTop,             dir_p_end},
    {"pstd",           kNoText | kTop,             dir_p_fixed,     0x040402},  // first, next, right
    {"psee",           kNoText | kTop,             dir_p_fixed,     0x040d02},
    {"phang",          kNoText | kTop,             dir_p_fixed,     0x040802},
    {"pmore",          kNoText | kTop,             dir_p_fixed,     0x080802},
    {"pin",            kNoText | kTop,             dir_p_fixed,     0x080802},
    {"phang2",         kNoText | kTop,             dir_p_fixed,     0x080c02},
    {"pmore2",         kNoText | kTop,             dir_p_fixed,     0x0c0c02},
    {"pin2",           kNoText | kTop,             dir_p_fixed,     0x0c0c02},
    {"phang3",         kNoText | kTop,             dir_p_fixed,     0x0c1002},
    {"pmore3",         kNoText | kTop,             dir_p_fixed,     0x101002},
    {"pin3",           kNoText | kTop,             dir_p_fixed,     0x101002},
    {"p2colset",       kArgs | kTop,               dir_p2colset},
    {"p2colreset",     kNoText | kTop,             dir_p2colreset},
    {"p2col",          kArgs | kTop,               dir_p2col,       0},
    {"p2coldent",      kMustText | kTop,           dir_p2col,       1},
    {"p2line",         kArgs | kTop,               dir_p2line,      0},
    {"p2linedent",     kNoText | kTop,             dir_p2line,      1},
    {"synoptset",      kArgs | kTop,               dir_synoptset},
    {"synopt",         kArgs | kTop,               dir_p2col,       0},
    {"synoptline",     kNoText | kTop,             dir_p2line,      1},
    {"synopthdr",      kMayText | kTop,            dir_synopthdr},
    {"syntab",         kMustText | kTop,           dir_syntab},

    {"asis",           kNoText | kTop,             dir_mode,        kModeAsIs},
    {"k6hlp",          kNoText | kTop,             dir_mode,        kModeOldHelp},

    {"char",           kArgs,                      dir_char},
    {"c",              kArgs,                      dir_char},
    {"ccl",            kArgs,                      dir_ccl},

    // Links: the argument is the kind; '-', '+' and '?' tell of the link's own argument.
    {"ado_d",          kArgs,                      dir_link,        1 | '-' << 8},
    {"asdialog",       kArgs,                      dir_link,        1 | '-' << 8},
    {"cdialog",        kArgs,                      dir_link,        2 | '-' << 8},
    {"help_d",         kArgs,                      dir_link,        2 | '-' << 8},
    {"net_d",          kArgs,                      dir_link,        3 | '-' << 8},
    {"nsdialog",       kArgs,                      dir_link,        3 | '-' << 8},
    {"netfrom_d",      kArgs,                      dir_link,        4 | '-' << 8},
    {"nfdialog",       kArgs,                      dir_link,        4 | '-' << 8},
    {"sdialog",        kArgs,                      dir_link,        5 | '-' << 8},
    {"search_d",       kArgs,                      dir_link,        5 | '-' << 8},
    {"ufdialog",       kArgs,                      dir_link,        6 | '-' << 8},
    {"update_d",       kArgs,                      dir_link,        6 | '-' << 8},
    {"vdialog",        kArgs,                      dir_link,        7 | '-' << 8},
    {"view_d",         kArgs,                      dir_link,        7 | '-' << 8},
    {"clearmore",      kArgs,                      dir_link,        8 | '-' << 8},
    {"browse",         kArgs,                      dir_link,        9 | '+' << 8},
    {"adorm",          kArgs,                      dir_link,        10 | '+' << 8},
    {"back",           kArgs,                      dir_link,        11 | '-' << 8},
    {"help",           kArgs,                      dir_link,        12 | '+' << 8},
    {"helpb",          kArgs,                      dir_link,        13 | '+' << 8},
    {"search",         kArgs,                      dir_link,        14 | '+' << 8},
    {"net",            kArgs,                      dir_link,        15 | '+' << 8},
    {"ado",            kArgs,                      dir_link,        16 | '+' << 8},
    {"update",         kArgs,                      dir_link,        17 | '?' << 8},
    {"rnethelp",       kArgs,                      dir_link,        18 | '+' << 8},
    {"view",           kArgs,                      dir_link,        19 | '+' << 8},
    {"news",           kArgs,                      dir_link,        20 | '-' << 8},
    {"korva",          kArgs,                      dir_link,        21 | '+' << 8},
    {"lumocmd",        kArgs,                      dir_link,        23 | '+' << 8},
    {"dialog",         kArgs,                      dir_link,        25 | '+' << 8},
    {"netpref_d",      kArgs,                      dir_link,        26 | '-' << 8},

    {"manhelp",        kArgs,                      dir_manhelp,     0},
    {"manhelpi",       kArgs,                      dir_manhelp,     1},
    {"opt",            kArgs,                      dir_opt,         0},
    {"opth",           kArgs,                      dir_opt,         1},
    {"depvar",         kMayText,                   dir_topic,       0},
    {"depvars",        kMayText,                   dir_topic,       1},
    {"depvarlist",     kMayText,                   dir_topic,       1},
    {"indepvars",      kMayText,                   dir_topic,       2},
    {"newvar",         kMayText,                   dir_topic,       3},
    {"var",            kMayText,                   dir_topic,       4},
    {"varname",        kMayText,                   dir_topic,       4},
    {"vars",           kMayText,                   dir_topic,       5},
    {"varlist",        kMayText,                   dir_topic,       5},
    {"ifin",           kNoText,                    dir_fixed,       0},
    {"weight",         kNoText,                    dir_fixed,       1},
    {"dtype",          kNoText,                    dir_fixed,       2},
    {"cmdab",          kMustText,                  dir_cmdab},
};
// clang-format on

constexpr size_t kRowCount = std::size(kRows);

// Names are looked up by hash: a page of help has several on each line. A slot holds the row's
// index plus 1; 0 ends a search.
constexpr size_t kSlots = 512;

constexpr size_t slot_of(std::string_view name) {
    unsigned hash = 0;
    for (char c : name) hash = 31 * hash + static_cast<unsigned char>(c);
    return hash % kSlots;
}

constexpr auto kSlotRows = [] {
    std::array<uint8_t, kSlots> slots{};
    for (size_t i = 0; i < kRowCount; i++) {
        size_t slot = slot_of(kRows[i].name);
        while (slots[slot] != 0) slot = (slot + 1) % kSlots;
        slots[slot] = uint8_t(i + 1);
    }
    return slots;
}();

constexpr bool names_are_sound() {
    for (size_t i = 0; i < kRowCount; i++) {
        if (kRows[i].name.size() > kMaxDirectiveName) return false;
        for (size_t k = 0; k < i; k++) {
            if (kRows[k].name == kRows[i].name) return false;
        }
    }
    return kRowCount < 256;
}
static_assert(names_are_sound(), "a name stands once and fits the grammar");

const DirectiveRow* find_directive(std::string_view name) {
    for (size_t slot = slot_of(name); kSlotRows[slot] != 0; slot = (slot + 1) % kSlots) {
        const DirectiveRow* row = &kRows[kSlotRows[slot] - 1];
        if (row->name == name) return row;
    }
    return nullptr;
}

}  // namespace

}  // namespace korva

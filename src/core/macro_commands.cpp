// core/macro_commands.cpp - macro, local, global and c_local.
//
// A loop in the command language spends much of its time on `local i = number`, so an expression
// that is one number literal goes from its bytes to the macro with nothing in between.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "core/commands.h"
#include "core/macro.h"
#include "core/missing.h"
#include "core/names.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/store.h"
#include "core/upcalls.h"
#include "core/words.h"

namespace korva {

namespace {

enum : int { kDefine = 0, kLocal = 1, kGlobal = 2, kCallersLocal = 7 };

constexpr int kShortNumberBefore = 220;  // version below which numbers show ten columns

// Left out of the list of all macros, and kept when all are dropped: they describe the session.
constexpr std::string_view kSystemMacros[] = {
    "S_ADO", "S_FLAVOR", "S_OS",     "S_OSDTL",   "S_MACH",    "S_level",   "S_MODE",
    "S_KTB", "S_SHELL",  "S_XSHELL", "S_XSHELL2", "S_CONSOLE", "S_KorvaLX", "S_KorvaPX",
};

bool is_system_macro(std::string_view name) {
    return std::find(std::begin(kSystemMacros), std::end(kSystemMacros), name) !=
           std::end(kSystemMacros);
}

ReturnCode report_invalid_name(std::string_view name) {
    LevelGuard level(kLevelError);
    out_error("");
    out_text(name);
    out_text(" invalid name\n");
    return 198;
}

// A macro's name as typed, made its store key.
struct MacroKey {
    std::array<char, kTokenBytes + 1> text;
    size_t bytes = 0;
    std::string_view view() const { return {text.data(), bytes}; }
};

ReturnCode take_key(int kind, MacroKey* key) {
    const size_t bytes = std::strlen(scanner.TokenBuffer);
    const bool local = kind == kLocal || kind == kCallersLocal;
    if (local) key->text[key->bytes++] = '_';
    std::memcpy(key->text.data() + key->bytes, scanner.TokenBuffer, bytes);
    key->bytes += bytes;
    const bool reserved = kind == kGlobal && key->text[0] == '_';
    if (bytes == 0) return ReportInvalidSyntax();
    return !reserved && IsValidName(key->view()) ? 0 : report_invalid_name(scanner.TokenBuffer);
}

std::string number_text(double x) {
    if (session.version >= kShortNumberBefore) return MacroNumber(x);
    std::string_view text = TrimBlanks(fmt_number("%10.0g", x));
    return std::string(text.substr(0, text.find(' ')));
}

// True if the text is one plain number, which then stands for itself: no sign, no name, no
// operator.
bool is_number_literal(std::string_view text, double* x) {
    if (text.empty() || !((text[0] >= '0' && text[0] <= '9') || text[0] == '.')) return false;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *x);
    return error == std::errc() && end == text.data() + text.size() && !is_missing(*x);
}

ReturnCode scan_expression(std::string_view text, std::string* value) {
    double x = 0;
    if (is_number_literal(text, &x)) {
        *value = number_text(x);
        return 0;
    }
    if (text.empty()) return ReportInvalidSyntax();
    ExpressionValue result;
    if (ReturnCode rc = EvaluateText(text, ExpressionMode::Either, &result)) return rc;
    *value = result.is_string ? std::move(result.text) : number_text(result.number);
    return 0;
}

// Removes the quotes around the value; 198 when one is not closed.
ReturnCode strip_quotes(std::string_view* value) {
    const bool compound = value->starts_with("`\"");
    if (!compound && !value->starts_with('"')) return 0;
    const size_t opening = compound ? 2 : 1;
    const bool closed = value->size() >= 2 * opening && value->ends_with(compound ? "\"'" : "\"");
    if (!closed) return ReportInvalidSyntax();
    *value = value->substr(opening, value->size() - 2 * opening);
    return 0;
}

// local ++name and local --name: two signs of a kind stand in front.
ReturnCode increment_local() {
    NextToken();
    const char sign = scanner.TokenBuffer[0];
    NextToken();
    if (scanner.TokenBuffer[0] != sign) return report_invalid_name(std::string_view(&sign, 1));
    NextToken();
    const double step = sign == '+' ? 1 : -1;
    MacroKey key;
    if (ReturnCode rc = take_key(kLocal, &key)) return rc;
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    return IncrementMacro(key.view(), step);
}

ReturnCode define_macro(int kind) {
    if (kind == kLocal && (PeekChar() == '+' || PeekChar() == '-')) return increment_local();
    NextToken();
    MacroKey key;
    if (ReturnCode rc = take_key(kind, &key)) return rc;
    int32_t level = macros.MacroLevel;
    if (kind == kCallersLocal && level-- == 0) return ReportInvalidSyntax();
    const int32_t record_kind = key.text[0] == '_' ? kKindLocalMacro + level
                                                   : int32_t(kKindGlobalMacro);

    const char* p = ScanRest();
    while (*p == ' ') p++;
    double x = 0;
    if (*p == '=' && is_number_literal(TrimBlanks(p + 1), &x)) {
        return SetMacroOfKind(key.view(), record_kind, number_text(x));
    }
    if (*p == '=' || *p == ':') {
        std::string value;
        if (ReturnCode rc = ScanMacroValue(&value)) return rc;
        return SetMacroOfKind(key.view(), record_kind, value);
    }
    std::string_view value = TrimBlanks(p);
    if (ReturnCode rc = strip_quotes(&value)) return rc;
    return SetMacroOfKind(key.view(), record_kind, value);
}

// --- macro drop ---

void drop_all_of(int32_t kind) {
    for (StoreRecord* record = StoreNext(kind, nullptr); record != nullptr;) {
        StoreRecord* next = StoreNext(kind, record);
        if (kind != kKindGlobalMacro || !is_system_macro(record->name)) StoreDelete(record);
        record = next;
    }
}

ReturnCode drop_macros() {
    std::vector<std::string> names;
    for (NextToken(); !TokenIsEmpty(); NextToken()) names.emplace_back(scanner.TokenBuffer);
    if (names.empty()) return ReportInvalidSyntax();
    for (const std::string& name : names) {
        if (!IsValidName(name)) return report_invalid_name(name);
    }
    for (const std::string& name : names) {
        if (name == "_all") {
            drop_all_of(kKindGlobalMacro);
            drop_all_of(kKindLocalMacro + macros.MacroLevel);
        } else {
            DropMacro(name);
        }
    }
    return 0;
}

// --- macro list ---

void list_macro(std::string_view key) {
    out_tmrk("{p 0 16}\n");
    out_text(key);
    out_text(":  ");
    out_text(MacroValue(key));
    out_tmrk("{p_end}\n");
}

std::vector<std::string> keys_of(int32_t kind) {
    std::vector<std::string> keys;
    for (StoreRecord* record = StoreNext(kind, nullptr); record != nullptr;
         record = StoreNext(kind, record)) {
        if (kind != kKindGlobalMacro || !is_system_macro(record->name)) {
            keys.emplace_back(record->name);
        }
    }
    return keys;
}

ReturnCode list_all() {
    for (int32_t kind : {int32_t(kKindGlobalMacro), kKindLocalMacro + macros.MacroLevel}) {
        for (const std::string& key : keys_of(kind)) {
            list_macro(key);
            Poll(session.pollcount);
            if (session.BreakFlag != 0) return kBreak;
        }
    }
    return 0;
}

ReturnCode list_macros(bool names_allowed) {
    std::vector<std::string> names;
    for (NextToken(); !TokenIsEmpty(); NextToken()) names.emplace_back(scanner.TokenBuffer);
    if (!names_allowed && !names.empty()) return ReportInvalidSyntax();
    for (const std::string& name : names) {
        if (name == "_all") continue;
        if (!IsValidName(name)) return report_invalid_name(name);
        if (MacroValue(name).empty()) return ReportMacroNotFound(name);
    }
    LevelGuard level(kLevelText);
    if (names.empty()) return list_all();
    for (const std::string& name : names) {
        if (name != "_all") {
            list_macro(name);
        } else if (ReturnCode rc = list_all()) {
            return rc;
        }
    }
    return 0;
}

// --- macro shift ---

StoreRecord* positional(int i) {
    return StoreFind("_" + std::to_string(i), kKindLocalMacro + macros.MacroLevel);
}

// Moves the positional macros down: the records take the lower names, and no text is copied.
ReturnCode shift_macros() {
    int32_t by = 1;
    NextToken();
    if (!TokenIsEmpty()) {
        const char* end = scanner.TokenBuffer + std::strlen(scanner.TokenBuffer);
        const auto parsed = std::from_chars(scanner.TokenBuffer, end, by);
        if (parsed.ec != std::errc() || parsed.ptr != end || by < 0) {
            return ReportFoundWhere(scanner.TokenBuffer, "integer");
        }
        if (ReturnCode rc = ExpectEnd(0)) return rc;
    }
    if (by == 0) return 0;
    // The first undefined one ends the list; only `1` may be undefined in front of others.
    for (int i = 1; i <= by; i++) {
        StoreRecord* record = positional(i);
        if (record == nullptr && i > 1) return 0;
        StoreDelete(record);
    }
    for (int i = by + 1;; i++) {
        StoreRecord* record = positional(i);
        if (record == nullptr) return 0;
        StoreRename(record, "_" + std::to_string(i - by));
        Poll(session.pollcount);
        if (session.BreakFlag != 0) return kBreak;
    }
}

}  // namespace

ReturnCode ScanMacroValue(std::string* value) {
    const char* p = ScanRest();
    while (*p == ' ') p++;
    value->clear();
    if (*p == '=') return scan_expression(TrimBlanks(p + 1), value);
    if (*p == ':') {
        NextToken();
        return RunMacroFunction(value);
    }
    std::string_view text = TrimBlanks(p);
    if (ReturnCode rc = strip_quotes(&text)) return rc;
    value->assign(text.substr(0, size_t(session.macrolen) - 1));
    return 0;
}

ReturnCode CmdLocal(int kind) {
    return define_macro(kind);
}

// macro define|drop|list|dir|shift
ReturnCode CmdMacro(int) {
    NextToken();
    const std::string_view word = scanner.TokenBuffer;
    if (MatchAbbreviation(word, "define", 3)) return define_macro(kDefine);
    if (MatchAbbreviation(word, "drop", 4)) return drop_macros();
    if (MatchAbbreviation(word, "list", 1)) return list_macros(true);
    if (MatchAbbreviation(word, "dir", 3)) return list_macros(false);
    if (MatchAbbreviation(word, "shift", 3)) return shift_macros();
    if (word.empty()) return ReportInvalidSyntax();
    return ReportFoundWhere(word, "define, drop, list, dir or shift");
}

}  // namespace korva

// core/macro.cpp - macros as records of the store, their levels, and numbers as macro text.
//
// A key with `_` in front is a local macro of the current level: each level has a kind of its own,
// so that a level ends by dropping one kind, with no search.
#include "core/macro.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "core/missing.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/store.h"
#include "core/words.h"

namespace korva {

MacroState macros;

namespace {

constexpr double kPrintsAsItself = 1e15;  // whole numbers below it have at most 15 digits
constexpr size_t kMaxIncrementBytes = 39;
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// Texts of S_DATE and S_TIME, made when they are read. Each has its own: a list may name both.
struct ClockTexts {
    char date[32];
    char time[32];
};
ClockTexts clock_texts;

// The store key of a local macro, on the stack.
struct LocalKey {
    explicit LocalKey(std::string_view name) : bytes(name.size() + 1) {
        if (bytes > kMaxNameBytes) return;  // no macro can have it
        text[0] = '_';
        std::memcpy(text + 1, name.data(), name.size());
    }
    bool possible() const { return bytes <= kMaxNameBytes; }
    std::string_view key() const { return {text, bytes}; }
    size_t bytes;
    char text[kMaxNameBytes + 1];
};

int32_t kind_of_key(std::string_view key) {
    return key.starts_with('_') ? kKindLocalMacro + macros.MacroLevel : int32_t(kKindGlobalMacro);
}

tm local_time() {
    const time_t now = time(nullptr);
    tm parts{};
    localtime_r(&now, &parts);
    return parts;
}

std::string_view date_text() {
    const tm now = local_time();
    const int n = std::snprintf(clock_texts.date, sizeof clock_texts.date, "%2d %s %04d",
                                now.tm_mday, kMonths[now.tm_mon], now.tm_year + 1900);
    return {clock_texts.date, size_t(n)};
}

std::string_view time_text() {
    const tm now = local_time();
    const int n = std::snprintf(clock_texts.time, sizeof clock_texts.time, "%02d:%02d:%02d",
                                now.tm_hour, now.tm_min, now.tm_sec);
    return {clock_texts.time, size_t(n)};
}

}  // namespace

ReturnCode SetMacroOfKind(std::string_view key, int32_t kind, std::string_view value) {
    if (value.empty()) {
        StoreDelete(StoreFind(key, kind));
        return 0;
    }
    value = value.substr(0, size_t(session.macrolen) - 1);
    return StorePutText(key, kind, value) == nullptr ? 950 : 0;
}

ReturnCode SetMacro(std::string_view key, std::string_view value) {
    return SetMacroOfKind(key, kind_of_key(key), value);
}

std::string_view MacroValue(std::string_view key) {
    if (key.empty() || key.size() > kMaxNameBytes) return {};
    if (key == "S_DATE") return date_text();
    if (key == "S_TIME") return time_text();
    const StoreRecord* record = StoreFind(key, kind_of_key(key));
    if (record == nullptr) return {};
    return {record->payload(), record->length - 1};
}

void DropMacro(std::string_view key) {
    StoreDelete(StoreFind(key, kind_of_key(key)));
}

ReturnCode SetLocal(std::string_view name, std::string_view value) {
    const LocalKey local(name);
    return local.possible() ? SetMacro(local.key(), value) : ReportInvalid("name");
}

std::string_view LocalValue(std::string_view name) {
    const LocalKey local(name);
    return local.possible() ? MacroValue(local.key()) : std::string_view();
}

void DropLocal(std::string_view name) {
    const LocalKey local(name);
    if (local.possible()) DropMacro(local.key());
}

void RaiseMacroLevel() {
    assert(macros.MacroLevel + 1 < kLevels);
    macros.MacroLevel++;
}

void DropMacroLevel() {
    StoreDeleteType(kKindLocalMacro + macros.MacroLevel);
    if (macros.MacroLevel > 0) macros.MacroLevel--;
}

ReturnCode SetArguments(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    if (text.size() >= size_t(session.macrolen)) return ReportError(1004);
    if (ReturnCode rc = SetLocal("0", text)) return rc;

    char name[12];
    std::string_view word;
    int n = 0;
    while (TakeWord(&text, &word)) {
        const auto end = std::to_chars(name, name + sizeof name, ++n).ptr;
        if (ReturnCode rc = SetLocal({name, size_t(end - name)}, word)) return rc;
    }
    // What an earlier call left behind the last word would be taken for more of them.
    for (;;) {
        const auto end = std::to_chars(name, name + sizeof name, ++n).ptr;
        const std::string_view stale(name, size_t(end - name));
        if (LocalValue(stale).empty()) return 0;
        DropLocal(stale);
    }
}

std::string MacroNumber(double x) {
    if (std::abs(x) < kPrintsAsItself && x == std::trunc(x)) {
        char digits[24];
        const auto end = std::to_chars(digits, digits + sizeof digits, int64_t(x)).ptr;
        return {digits, size_t(end - digits)};
    }
    // A comma would end the number for whoever reads the macro.
    const bool comma = settings.dp_comma;
    settings.dp_comma = false;
    std::string text(TrimBlanks(fmt_number("%18.0g", x)));
    settings.dp_comma = comma;
    return text;
}

bool ParseMacroNumber(std::string_view text, double* x) {
    text = TrimBlanks(text);
    if (text.starts_with('.') && text.size() <= 2 &&
        (text.size() == 1 || (text[1] >= 'a' && text[1] <= 'z'))) {
        *x = missing_value(text.size() == 1 ? 0 : text[1] - 'a' + 1);
        return true;
    }
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return false;
    }
    // The words for infinity and not-a-number are no numbers here.
    if (text.empty() || text.find_first_not_of("0123456789.eE+-") != std::string_view::npos) {
        return false;
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *x);
    return error == std::errc() && end == text.data() + text.size() && !is_missing(*x);
}

ReturnCode IncrementMacro(std::string_view key, double step) {
    const std::string_view value = MacroValue(key);
    if (value.empty()) return ReportMacroNotFound(key);
    double x = 0;
    if (value.size() > kMaxIncrementBytes || !ParseMacroNumber(value, &x)) return ReportError(109);
    x = is_missing(x) ? kSysMissing : finite_or_missing(x + step);
    return SetMacro(key, MacroNumber(x));
}

std::string_view ForeachRest() {
    return session.ForeachRest;
}

}  // namespace korva

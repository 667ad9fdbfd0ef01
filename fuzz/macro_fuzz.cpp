// fuzz/macro_fuzz.cpp - any line through macro expansion, then through the scanner.
//
// The first byte picks a version, so that the old rules are walked too. The line must stay within
// its buffer, and the scanner must come to its end.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/macro.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/startup.h"
#include "core/store.h"

using namespace korva;

namespace {

constexpr int kVersions[] = {kCurrentVersion, kCurrentVersion, 800, 600, 310, 210};

void define_macros() {
    SetMacro("g", "global text");
    SetMacro("name", "g");
    SetMacro("loop", "$loop");
    SetMacro("grow", "x$grow$grow");
    SetLocal("a", "A `b' $g");
    SetLocal("b", "1");
    SetLocal("self", "`self'");
    SetLocal("quote", "don't \"a");
    SetLocal("list", "c a \"x y\" b a");
    SetLocal("i", "41");
    SetLocal("tick", "`");
    SetArguments("one \"two words\" three");
}

bool start() {
    if (!StartEngineTables(2048, 1 << 20)) std::abort();
    session.OutputThreshold = kThresholdCapture;
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool started = start();
    if (!started || size < 1) return 0;
    StoreClear();
    define_macros();
    session.version = kVersions[data[0] % std::size(kVersions)];
    const size_t bytes = std::min(size - 1, size_t(session.conslen) - 1);
    std::memcpy(session.ConsoleBuffer, data + 1, bytes);
    session.ConsoleBuffer[bytes] = 0;

    const ReturnCode rc = ExpandMacros();
    const size_t length = strnlen(session.ConsoleBuffer, size_t(session.conslen));
    if (length >= size_t(session.conslen)) std::abort();
    if (rc != 0 && length != 0) std::abort();
    // Each token takes a byte at least.
    for (size_t taken = 0; taken <= length; taken++) {
        const char* token = NextToken(taken % 2 != 0 ? OptionSeparators : GeneralSeparators);
        if (*token == 0) return 0;
        if (std::strlen(token) >= size_t(kTokenBytes)) std::abort();
    }
    std::abort();
}

// core/trace.cpp - what tracing prints; a line is shown twice when its macros changed it.
#include "core/trace.h"

#include <algorithm>

#include "core/print.h"
#include "core/session.h"
#include "core/settings.h"

namespace korva {

namespace {

constexpr uint32_t kHashModulus = 1997333137;

// Levels below the one at which tracing was turned on; its own lines count as the first.
int trace_depth() {
    return std::max(session.CallDepth - session.TraceDepth, 1);
}

// Programs and do-files deeper than tracedepth stay silent.
bool trace_shows() {
    return settings.trace && trace_depth() <= settings.tracedepth;
}

void print_indent() {
    if (settings.traceindent) out_spaces(2 * (trace_depth() - 1));
}

}  // namespace

uint32_t LineHash() {
    uint32_t h = 0;
    for (const char* p = session.ConsoleBuffer; *p != 0; p++) h = h * 31 + uint8_t(*p);
    return h % kHashModulus;
}

void TraceLine(bool expanded) {
    if (!trace_shows()) return;
    const LevelGuard level(kLevelText);
    if (settings.tracenumber) {
        if (expanded) {
            out_spaces(3);
        } else {
            out_textf("%02d ", trace_depth());
        }
    }
    print_indent();
    out_text(settings.tracesep ? (expanded ? "= " : "- ") : " ");
    out_text(session.ConsoleBuffer);
    out_newline();
}

void TraceBeginEnd(bool is_end, std::string_view name) {
    if (!trace_shows()) return;
    const LevelGuard level(kLevelText);
    print_indent();
    constexpr int kRule = 20;
    out_tmrkf("{hline %d}", kRule);
    out_text(is_end ? " end " : " begin ");
    out_text(name);
    out_text(" ");
    out_tmrk("{hline}\n");
}

}  // namespace korva

// What a call of syntax costs a program: every ado-file begins with one.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/commands.h"
#include "core/macro.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/startup.h"
#include "data/dataset.h"
#include "yardstick.h"

namespace {

using namespace korva;

constexpr int kCalls = 20000;
constexpr int kRuns = 5;
constexpr int kVariables = 50;

// Microseconds of one call.
double measure(const char* picture, const char* text) {
    const std::string line = picture;
    const double seconds = fastest(kRuns, [&] {
        for (int i = 0; i < kCalls; i++) {
            SetLocal("0", text);
            std::memcpy(session.ConsoleBuffer, line.c_str(), line.size() + 1);
            SetScanPointer(session.ConsoleBuffer);
            if (CmdSyntax(0)) std::exit(1);
        }
    });
    return seconds / kCalls * 1e6;
}

}  // namespace

int main() {
    if (!StartEngineTables(2048, 16 << 20)) return 1;
    session.OutputThreshold = kThresholdCapture;
    for (int i = 1; i <= kVariables; i++) {
        if (addvar("variable" + std::to_string(i), kDouble)) return 1;
    }
    if (addvar("price", kDouble) || addvar("mpg", kDouble) || extend_observations(100)) return 1;
    report("syntax, a typical call, microseconds",
           measure("varlist(min=1) [if] [in] [, Detail Level(integer 95) SAVing(string)]",
                   "price mpg if price > 2 in 2/40, detail level(90) saving(x, replace)"),
           20);
    report(
        "syntax, twenty options and 50 variables",
        measure("[varlist] [if] [in] [fw aw pw iw] [, A1 B1 C1 D1(string) E1(real 1) F1 G1 H1 I1 "
                "J1 K1(numlist) L1 M1 N1(name) O1 P1 Q1 R1(varlist) S1 T1(integer 3) *]",
                "[fw=mpg], a1 d1(text) k1(1/5) r1(price mpg) t1(4) title(x) scheme(y)"),
        60);
    EndEngineTables();
    return 0;
}

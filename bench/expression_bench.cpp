// Expressions over 5,000,000 observations beside a plain loop: the same arithmetic, on the same
// bytes.
//
// Each yardstick reads and writes the cells of the dataset's own rows, through memcpy, and keeps
// the rule for missing values; it knows the types and the expression.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/commands.h"
#include "core/missing.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/startup.h"
#include "core/upcalls.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/expression.h"
#include "data/skeleton.h"
#include "engine_run.h"
#include "yardstick.h"

namespace {

using namespace korva;

constexpr int kRows = 5000000;
constexpr int kRuns = 5;
constexpr int kClockRounds = 25;  // on the clock: until a quiet moment comes

double load(const uint8_t* cell) {
    double x;
    memcpy(&x, cell, sizeof x);
    return x;
}
void store(uint8_t* cell, double x) {
    memcpy(cell, &x, sizeof x);
}

double plus(double a, double b) {
    const double r = a + b;
    return a < kSysMissing && b < kSysMissing && std::fabs(r) < kSysMissing ? r : kSysMissing;
}

// sqrt(x)*ln(x+1)-x/3 if mod(_n,3)
void plain_generate(int x, int y) {
    const uint64_t pitch = uint64_t(dataset.lrecl);
    for (int i = 0; i < kRows; i++) {
        uint8_t* row = dataset.rows + dataset.slot[i] * pitch;
        const double v = load(row + dataset.offsets[x - 1]);
        double result = kSysMissing;
        if ((i + 1) % 3 != 0 && v < kSysMissing && v >= 0) {
            result = std::sqrt(v) * std::log(v + 1) - v / 3;
            if (!(std::fabs(result) < kSysMissing)) result = kSysMissing;
        }
        store(row + dataset.offsets[y - 1], result);
    }
}

// x = x + 1 if y > 0
int plain_replace(int x, int y) {
    const uint64_t pitch = uint64_t(dataset.lrecl);
    int changed = 0;
    for (int i = 0; i < kRows; i++) {
        uint8_t* row = dataset.rows + dataset.slot[i] * pitch;
        if (!(load(row + dataset.offsets[y - 1]) > 0)) continue;
        uint8_t* cell = row + dataset.offsets[x - 1];
        const double before = load(cell);
        const double after = plus(before, 1);
        changed += after != before;
        store(cell, after);
    }
    return changed;
}

int plain_count(int y) {
    const uint64_t pitch = uint64_t(dataset.lrecl);
    int n = 0;
    for (int i = 0; i < kRows; i++) {
        n += load(dataset.rows + dataset.slot[i] * pitch + dataset.offsets[y - 1]) > 0;
    }
    return n;
}

void plain_upper(int s, int t) {
    const uint64_t pitch = uint64_t(dataset.lrecl);
    for (int i = 0; i < kRows; i++) {
        uint8_t* row = dataset.rows + dataset.slot[i] * pitch;
        const uint8_t* from = row + dataset.offsets[s - 1];
        uint8_t* to = row + dataset.offsets[t - 1];
        for (int k = 0; k < 8; k++) {
            to[k] = from[k] >= 'a' && from[k] <= 'z' ? uint8_t(from[k] - 32) : from[k];
        }
    }
}

// substr(s,2,3) + "x"
void plain_part(int s, int t) {
    const uint64_t pitch = uint64_t(dataset.lrecl);
    for (int i = 0; i < kRows; i++) {
        uint8_t* row = dataset.rows + dataset.slot[i] * pitch;
        const char* from = reinterpret_cast<char*>(row + dataset.offsets[s - 1]);
        char to[8] = {};
        int n = 0;
        for (int k = 1; k < 4 && from[0] && from[k]; k++) to[n++] = from[k];
        to[n] = 'x';
        memcpy(row + dataset.offsets[t - 1], to, sizeof to);
    }
}

void make_data() {
    if (!StartEngineTables(2048, int64_t(600) << 20)) exit(1);
    session.OutputThreshold = kThresholdQuiet;
    if (addvar("x", kDouble) || addvar("y", kDouble) || addvar("s", 8) ||
        extend_observations(kRows)) {
        exit(1);
    }
    uint64_t state = 1;
    for (int obs = 1; obs <= kRows; obs++) {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        put(1, obs, obs % 50 == 0 ? kSysMissing : double(state >> 40) / 1000);
        put(2, obs, int(state >> 33) % 2 ? 1 : -1);
        putstr(3, obs, std::string("abcdefgh").substr(0, state % 9));
    }
}

// Reports the engine beside the other time.
double timed(const char* what, double limit, double plain, double engine) {
    std::printf("  plain loop %.4f s, engine %.4f s\n", plain, engine);
    report(what, engine / plain, limit);
    return engine;
}

}  // namespace

int main() {
    make_data();
    addvar("z", kDouble);
    run(CmdGenerate, "double w = 0");
    const int z = 4, w = 5;
    plain_generate(1, z);
    const double plain = fastest_cpu(kRuns, [&] { plain_generate(1, z); });
    const double engine = fastest_cpu(kRuns, [&] {
        undo_new_variables(w - 1);
        run(CmdGenerate, "double w = sqrt(x)*ln(x+1)-x/3 if mod(_n,3)");
    });
    for (int obs = 1; obs <= kRows; obs++) failures += get(z, obs) != get(w, obs);
    timed("generate sqrt(x)*ln(x+1)-x/3 if mod(_n,3)", 2.0, plain, engine);

    // Two threads: what counts is the time on the clock, so other programs must be quiet. The rows
    // come from memory, which both threads share: a plain loop gains less from the second one.
    const auto make_w = [&] {
        undo_new_variables(w - 1);
        run(CmdGenerate, "double w = sqrt(x)*ln(x+1)-x/3 if mod(_n,3)");
    };
    double on_clock[2] = {1e300, 1e300};
    for (int round = 0; round < kClockRounds; round++) {
        for (int threads : {1, 2}) {
            settings.procs_use = session.procs = threads;
            on_clock[threads - 1] = std::min(on_clock[threads - 1], fastest(1, make_w));
        }
    }
    for (int obs = 1; obs <= kRows; obs++) failures += get(z, obs) != get(w, obs);
    settings.procs_use = session.procs = 1;
    std::printf("  one thread %.4f s, two %.4f s\n", on_clock[0], on_clock[1]);
    report("the same, two threads beside one, on the clock", on_clock[1] / on_clock[0], 1 / 1.7);
    const double parallel = fastest_cpu(kRuns, [&] {
        undo_new_variables(w - 1);
        run(CmdGenerate, "double w = x + 1");
    });
    for (const char* text : {"double w = sum(x)", "double w = x[_n-1]", "double w = x[_N-_n]",
                             "double w = uniform()", "double w = uniform() + uniform()"}) {
        const double alone = fastest_cpu(kRuns, [&] {
            undo_new_variables(w - 1);
            run(CmdGenerate, text);
        });
        timed(text, 4, parallel, alone);
    }
    constexpr const char* kChained[][2] = {
        {"w = w[_n-1] + 1 if _n > 1", "w = x - w"},
        {"w = w[_n-3] + 1", "w = x - w"},
        {"w = w[_n+1] + 1", "w = x - w"},
        {"w = max(w[_n-1], x)", "w = max(w, x)"},
        {"w = cond(x < 5000, w[_n-1] + x, 0)", "w = cond(x < 5000, w + x, 0)"},
    };
    for (const auto& [text, free] : kChained) {
        const double beside = fastest_cpu(kRuns, [&, line = free] { run(CmdReplace, line); });
        const double chained = fastest_cpu(kRuns, [&, line = text] { run(CmdReplace, line); });
        timed((std::string("replace ") + text).c_str(), 4, beside, chained);
    }

    const double plain_lag = fastest_cpu(kRuns, [&] {
        const uint64_t pitch = uint64_t(dataset.lrecl);
        double before = kSysMissing;
        for (int i = 0; i < kRows; i++) {
            uint8_t* row = dataset.rows + dataset.slot[i] * pitch;
            const double x = load(row);
            store(row + dataset.offsets[z - 1], x < kSysMissing ? plus(x, -before) : kSysMissing);
            before = x;
        }
    });
    const double lag = fastest_cpu(kRuns, [&] {
        undo_new_variables(w - 1);
        run(CmdGenerate, "double w = x - x[_n-1]");
    });
    timed("generate x - x[_n-1]", 2.4, plain_lag, lag);
    const double running = fastest_cpu(kRuns, [&] {
        undo_new_variables(w - 1);
        run(CmdGenerate, "double w = sum(x)");
    });
    timed("generate sum(x), beside the same loop", 2.4, plain_lag, running);

    const double plain_change = fastest_cpu(kRuns, [&] { plain_replace(1, 2); });
    const double change = fastest_cpu(kRuns, [&] { run(CmdReplace, "x = x + 1 if y > 0"); });
    timed("replace x = x + 1 if y > 0", 2.5, plain_change, change);

    const double plain_counted = fastest_cpu(kRuns, [&] { failures += plain_count(2) == 0; });
    const double counted = fastest_cpu(kRuns, [&] { run(CmdCount, "if y > 0"); });
    timed("count if y > 0", 2.5, plain_counted, counted);

    undo_new_variables(w - 1);
    run(CmdGenerate, "str8 t = s");
    const double plain_texts = fastest_cpu(kRuns, [&] { plain_upper(3, w); });
    const double texts = fastest_cpu(kRuns, [&] {
        undo_new_variables(w - 1);
        run(CmdGenerate, "str8 t = upper(s)");
    });
    timed("generate str8 upper(s)", 2.5, plain_texts, texts);

    undo_new_variables(w - 1);
    run(CmdGenerate, "str8 t = s");
    const double plain_parts = fastest_cpu(kRuns, [&] { plain_part(3, w); });
    const double parts = fastest_cpu(kRuns, [&] {
        undo_new_variables(w - 1);
        run(CmdGenerate, "str8 t = substr(s,2,3) + \"x\"");
    });
    timed("generate str8 substr(s,2,3) + \"x\"", 3, plain_parts, parts);

    ExpressionValue value;
    const double evaluated = fastest_cpu(kRuns, [&] {
        for (int k = 0; k < 100000; k++)
            failures += EvaluateText("7 + 1", ExpressionMode::Number, &value);
    });
    report("one evaluation of 7 + 1, ns", evaluated * 1e4, 500);
    EndEngineTables();
    return failures ? 1 : 0;
}

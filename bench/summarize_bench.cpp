// bench/summarize_bench.cpp - summarize over 5,000,000 observations beside two plain passes over
// the same bytes: one for the count, sum and range, one for the squares of the deviations.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/commands.h"
#include "core/missing.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/startup.h"
#include "core/upcalls.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/skeleton.h"
#include "engine_run.h"
#include "yardstick.h"

namespace {

using namespace korva;

constexpr int kRows = 5000000;
constexpr int kRuns = 5;

struct PlainMoments {
    int n = 0;
    double mean = 0;
    double variance = 0;
    double min = kSysMissing;
    double max = -kSysMissing;
};

// Calls work(x) for every number of the variable for which y > 0, or for all.
template <class Work>
void for_each_number(int var, bool if_positive, Work work) {
    const uint64_t pitch = uint64_t(dataset.lrecl);
    const uint32_t offset = dataset.offsets[var - 1], condition = dataset.offsets[1];
    for (int i = 0; i < kRows; i++) {
        const uint8_t* row = dataset.rows + dataset.slot[i] * pitch;
        double x, y;
        memcpy(&x, row + offset, sizeof x);
        memcpy(&y, row + condition, sizeof y);
        if (x < kSysMissing && (!if_positive || y > 0)) work(x);
    }
}

PlainMoments plain_summarize(int var, bool if_positive) {
    PlainMoments m;
    double sum = 0, squares = 0;
    for_each_number(var, if_positive, [&](double x) {
        m.n++;
        sum += x;
        m.min = x < m.min ? x : m.min;
        m.max = x > m.max ? x : m.max;
    });
    m.mean = sum / m.n;
    for_each_number(var, if_positive, [&](double x) { squares += (x - m.mean) * (x - m.mean); });
    m.variance = squares / (m.n - 1);
    return m;
}

void make_data() {
    if (!StartEngineTables(2048, int64_t(600) << 20)) exit(1);
    session.OutputThreshold = kThresholdQuiet;
    if (addvar("x", kDouble) || addvar("y", kDouble) || addvar("z", kDouble) ||
        extend_observations(kRows)) {
        exit(1);
    }
    uint64_t state = 1;
    for (int obs = 1; obs <= kRows; obs++) {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        put(1, obs, obs % 50 == 0 ? kSysMissing : double(state >> 40) / 1000);
        put(2, obs, int(state >> 33) % 2 ? 1 : -1);
        put(3, obs, double(state >> 50));
    }
}

// Measures both ways, and holds the range and, but for rounding, the mean against each other.
void compare(const char* arguments, int var, bool if_positive) {
    PlainMoments m;
    const double plain = fastest(kRuns, [&] { m = plain_summarize(var, if_positive); });
    const double engine = fastest(kRuns, [&] { run(CmdSummarize, arguments); });
    for (const auto& [expression, value] : {std::pair("r(N)", double(m.n)),
                                            {"r(mean)", m.mean},
                                            {"r(Var)", m.variance},
                                            {"r(min)", m.min},
                                            {"r(max)", m.max}}) {
        ExpressionValue shown;
        failures += EvaluateText(expression, ExpressionMode::Number, &shown) != 0;
        failures += !(std::fabs(shown.number - value) <= 1e-9 * std::fabs(value));
    }
    std::printf("  two plain passes %.4f s, engine %.4f s\n", plain, engine);
    report((std::string("summarize ") + arguments).c_str(), engine / plain, 2.0);
}

}  // namespace

int main() {
    make_data();
    compare("x", 1, false);
    compare("z", 3, false);
    compare("x if y > 0", 1, true);
    EndEngineTables();
    if (failures) std::printf("%d failures\n", failures);
    return failures ? 1 : 0;
}

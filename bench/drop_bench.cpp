// bench/drop_bench.cpp - drop if over 5,000,000 observations beside plain C++: the condition into a
// byte a row, then the rows that stay moved forward.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "core/commands.h"
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

// The rows as they are before each run.
struct Snapshot {
    std::vector<uint8_t> rows;
    explicit Snapshot(size_t bytes) : rows(dataset.rows, dataset.rows + bytes) {}
    void put_back() const {
        std::memcpy(dataset.rows, rows.data(), rows.size());
        set_nobs(kRows);
    }
};

template <class Holds>
void plain_drop(uint8_t* stays, Holds holds) {
    const size_t pitch = size_t(dataset.lrecl);
    for (int i = 0; i < kRows; i++) {
        double y;
        std::memcpy(&y, dataset.rows + dataset.slot[i] * pitch + dataset.offsets[1], sizeof y);
        stays[i] = !holds(y);
    }
    size_t to = 0;
    for (int i = 0; i < kRows; i++) {
        if (!stays[i]) continue;
        std::memmove(dataset.rows + to * pitch, dataset.rows + size_t(i) * pitch, pitch);
        to++;
    }
    set_nobs(int32_t(to));
}

template <class Holds>
void compare(const char* arguments, Holds holds) {
    const Snapshot before(size_t(kRows) * size_t(dataset.lrecl));
    std::vector<uint8_t> stays(kRows);
    double plain = 1e300, engine = 1e300;
    int32_t expected = 0;
    for (int i = 0; i < kRuns; i++) {
        before.put_back();
        plain = std::min(plain, fastest(1, [&] { plain_drop(stays.data(), holds); }));
        expected = dataset.nobs;
        before.put_back();
        engine = std::min(engine, fastest(1, [&] { run(CmdDrop, arguments); }));
        failures += dataset.nobs != expected;
    }
    before.put_back();
    std::printf("  plain %.4f s, engine %.4f s\n", plain, engine);
    report((std::string("drop ") + arguments).c_str(), engine / plain, 2.0);
}

void make_data() {
    if (!StartEngineTables(2048, int64_t(600) << 20)) exit(1);
    session.OutputThreshold = kThresholdQuiet;
    if (addvar("x", kDouble) || addvar("y", kDouble) || addvar("s", 8) || addvar("k", kLong) ||
        extend_observations(kRows)) {
        exit(1);
    }
    uint64_t state = 1;
    for (int obs = 1; obs <= kRows; obs++) {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        put(1, obs, double(state >> 40) / 1000);
        put(2, obs, double(state >> 54) / 1024);
        put(4, obs, obs % 1000);
    }
}

// Squeezing a column out, and narrowing one, beside one pass that moves the same bytes.
void compare_shapes() {
    const Snapshot before(size_t(kRows) * size_t(dataset.lrecl));
    const size_t pitch = size_t(dataset.lrecl);
    const uint32_t at = dataset.offsets[1];
    const size_t behind = size_t(used_width()) - dataset.offsets[2];
    const double plain = fastest(kRuns, [&] {
        for (int i = 0; i < kRows; i++) {
            uint8_t* row = dataset.rows + size_t(i) * pitch;
            std::memmove(row + at, row + at + sizeof(double), behind);
        }
    });
    before.put_back();
    const double narrow = fastest(1, [&] { run(CmdCompress, "k"); });
    const double squeeze = fastest(1, [&] { run(CmdDrop, "y"); });
    std::printf("  a plain pass %.4f s, drop y %.4f s, compress k %.4f s\n", plain, squeeze,
                narrow);
    report("drop y", squeeze / plain, 2.0);
    report("compress k, which also reads the column", narrow / plain, 4.0);
}

}  // namespace

int main() {
    make_data();
    compare("if y > 0.5", [](double y) { return y > 0.5; });
    compare("if y > 0.99", [](double y) { return y > 0.99; });
    compare_shapes();
    EndEngineTables();
    if (failures) std::printf("%d failures\n", failures);
    return failures ? 1 : 0;
}

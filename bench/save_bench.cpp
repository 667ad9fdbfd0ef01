// bench/save_bench.cpp - save and use of 5,000,000 observations of six numeric variables beside
// plain loops that gather the same rows and write them, or read and place them, block by block.
//
// Files lie on the disk of the temporary directory and in the system's cache. save is measured
// without the flush to the disk, through the same writer, and as it is, beside a plain write that
// is flushed; preserve and restore beside a plain write and read; use of two variables out of 200
// is measured beside reading the bytes alone.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "core/commands.h"
#include "core/macro.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/startup.h"
#include "core/upcalls.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/dta_write.h"
#include "data/skeleton.h"
#include "engine_run.h"
#include "yardstick.h"

namespace {

using namespace korva;

constexpr int kRows = 5000000;
constexpr int kRuns = 5;
constexpr size_t kBlockBytes = 24000;
constexpr StorageType kTypes[] = {kDouble, kFloat, kLong, kInt, kByte, kDouble};
constexpr int kWideVars = 200;
constexpr int kWideRows = 100000;

void make_dataset() {
    clear_dataset();
    for (size_t i = 0; i < std::size(kTypes); i++) {
        failures += addvar("v" + std::to_string(i), kTypes[i]) != 0;
    }
    failures += extend_observations(kRows) != 0;
    for (int obs = 1; obs <= kRows; obs++) {
        for (int var = 1; var <= dataset.nvar; var++) put(var, obs, obs % (90 + var));
    }
}

void make_wide_dataset() {
    clear_dataset();
    for (int i = 1; i <= kWideVars; i++) {
        failures += addvar("w" + std::to_string(i), i % 2 ? kDouble : kFloat) != 0;
    }
    failures += extend_observations(kWideRows) != 0;
    for (int var = 1; var <= kWideVars; var++) {
        for (int obs = 1; obs <= kWideRows; obs++) put(var, obs, var + obs);
    }
}

int create(const char* path) {
    return open(path, O_WRONLY | O_CREAT | O_TRUNC, 0600);
}

void plain_save(const char* path, bool flushed) {
    alignas(64) static uint8_t block[kBlockBytes];
    const size_t width = size_t(used_width()), block_rows = kBlockBytes / width;
    const int fd = create(path);
    for (size_t done = 0; done < kRows; done += block_rows) {
        const size_t n = std::min(block_rows, size_t(kRows) - done);
        const uint8_t* from = dataset.rows + done * size_t(dataset.lrecl);
        for (size_t i = 0; i < n; i++, from += dataset.lrecl) {
            memcpy(block + i * width, from, width);
        }
        failures += write(fd, block, n * width) != ssize_t(n * width);
    }
    if (flushed) failures += fsync(fd) != 0;
    close(fd);
}

void plain_use(const char* path, size_t width, size_t rows, uint8_t* to, size_t pitch) {
    alignas(64) static uint8_t block[kBlockBytes];
    const size_t block_rows = kBlockBytes / width;
    const int fd = open(path, O_RDONLY);
    for (size_t done = 0; done < rows; done += block_rows) {
        const size_t n = std::min(block_rows, rows - done);
        failures += read(fd, block, n * width) != ssize_t(n * width);
        if (!to) continue;
        for (size_t i = 0; i < n; i++) memcpy(to + (done + i) * pitch, block + i * width, width);
    }
    close(fd);
}

ReturnCode write_plainly(void* context, const void* bytes, size_t n) {
    return write(*static_cast<int*>(context), bytes, n) == ssize_t(n) ? 0 : 693;
}

void save_unflushed(const char* path) {
    int fd = create(path);
    char stamp[kTimeStampBytes];
    make_time_stamp(stamp);
    failures += write_dta({write_plainly, &fd}, {}, stamp) != 0;
    close(fd);
}

// The fastest of each, taken in turn, so that what else the machine does meets both.
struct Pair {
    double plain = 1e300;
    double engine = 1e300;
};
template <class Plain, class Engine>
Pair fastest_pair(Plain plain, Engine engine) {
    Pair best;
    for (int i = 0; i < kRuns; i++) {
        best.plain = std::min(best.plain, fastest(1, plain));
        best.engine = std::min(best.engine, fastest(1, engine));
    }
    std::printf("  plain %.4f s, engine %.4f s\n", best.plain, best.engine);
    return best;
}

void report_pair(const char* what, const Pair& pair) {
    report(what, pair.engine / pair.plain, 1.5);
}

}  // namespace

int main() {
    if (!StartEngineTables(2048, int64_t(800) << 20)) return 1;
    if (!StartTemporaries()) return 1;
    session.OutputThreshold = kThresholdQuiet;
    char path[] = "/tmp/save_bench_XXXXXX.dta";
    close(mkstemps(path, 4));
    const std::string file = "\"" + std::string(path) + "\"";

    make_dataset();
    report_pair("save, not flushed",
                fastest_pair([&] { plain_save(path, false); }, [&] { save_unflushed(path); }));
    report_pair(
        "save, flushed to the disk",
        fastest_pair([&] { plain_save(path, true); }, [&] { run(CmdSave, file + ", replace"); }));

    run(CmdUse, file + ", clear");
    const size_t width = size_t(used_width()), pitch = size_t(dataset.lrecl);
    {
        std::vector<uint8_t> rows(pitch * kRows);
        report_pair("use, six numeric variables",
                    fastest_pair([&] { plain_use(path, width, kRows, rows.data(), pitch); },
                                 [&] { run(CmdUse, file + ", clear"); }));
    }

    {
        std::vector<uint8_t> rows(pitch * kRows);
        report_pair("preserve and restore", fastest_pair(
                                                [&] {
                                                    plain_save(path, false);
                                                    plain_use(path, width, kRows, rows.data(),
                                                              pitch);
                                                },
                                                [&] {
                                                    run(CmdPreserve, "");
                                                    run(CmdRestore, "");
                                                }));
    }

    make_wide_dataset();
    const size_t wide = size_t(used_width());
    run(CmdSave, file + ", replace");
    run(CmdUse, "w3 w180 using " + file + ", clear");
    report_pair("use, 2 of 200 variables, beside reading",
                fastest_pair([&] { plain_use(path, wide, kWideRows, nullptr, 0); },
                             [&] { run(CmdUse, "w3 w180 using " + file + ", clear"); }));
    failures += dataset.nvar != 2 || get(2, 7) != 187;
    unlink(path);
    EndTemporaries();
    EndEngineTables();
    if (failures) std::printf("%d failures\n", failures);
    return failures ? 1 : 0;
}

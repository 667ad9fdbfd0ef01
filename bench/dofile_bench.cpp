// bench/dofile_bench.cpp - a do-file of 200,000 lines `local x = 1`, beside bash with as many
// `x=1`.
//
// Promise: at least 2 times faster than bash. The file is run with `run`, which echoes nothing, as
// bash echoes nothing.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "yardstick.h"

namespace {

constexpr int kLines = 200000;
constexpr int kRuns = 5;

void write_lines(const std::string& path, const char* line) {
    std::FILE* file = std::fopen(path.c_str(), "w");
    for (int i = 0; i < kLines; i++) std::fprintf(file, "%s\n", line);
    std::fclose(file);
}

double seconds_of(const std::string& command) {
    return fastest(kRuns, [&] {
        if (std::system(command.c_str()) != 0) std::puts("the command failed");
    });
}

}  // namespace

int main() {
    char directory[] = "/tmp/korva-bench-XXXXXX";
    if (mkdtemp(directory) == nullptr) return 1;
    const std::string base = directory;
    write_lines(base + "/lines.do", "local x = 1");
    write_lines(base + "/lines.sh", "x=1");
    const std::string korva = program_beside("korva");
    const double ours = seconds_of(korva + " /q run " + base + "/lines.do </dev/null >/dev/null");
    const double bash = seconds_of("bash " + base + "/lines.sh");
    const double start = seconds_of(korva + " /q exit </dev/null >/dev/null");
    std::printf("do-file of %d lines: %.3f s (%.2f million lines a second), bash %.3f s\n", kLines,
                ours, kLines / (ours - start) / 1e6, bash);
    report("time of the do-file, parts of bash's", ours / bash, 0.5);
    if (std::system(("rm -r " + base).c_str()) != 0) return 1;
    return 0;
}

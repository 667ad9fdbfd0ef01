// bench/dofile_bench.cpp - a do-file of 200,000 lines `local x = 1` and loops of 1,000,000 passes,
// beside bash with as many.
//
// Promise: at least 2 times faster than bash, and a stored line that does next to nothing in less
// than half a microsecond. The files are run with `run`, which echoes nothing, as bash echoes
// nothing.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "yardstick.h"

namespace {

constexpr int kLines = 200000;
constexpr int kPasses = 1000000;
constexpr int kRuns = 5;
constexpr int kLoopRuns = 3;

void write_lines(const std::string& path, const char* line) {
    std::FILE* file = std::fopen(path.c_str(), "w");
    for (int i = 0; i < kLines; i++) std::fprintf(file, "%s\n", line);
    std::fclose(file);
}

void write_text(const std::string& path, const std::string& text) {
    std::FILE* file = std::fopen(path.c_str(), "w");
    std::fputs(text.c_str(), file);
    std::fclose(file);
}

double seconds_of(const std::string& command, int runs = kRuns) {
    return fastest(runs, [&] {
        if (std::system(command.c_str()) != 0) std::puts("the command failed");
    });
}

// Seconds of a loop in a program with the body, without the start.
double loop_seconds(const std::string& base, const std::string& body, double start) {
    const std::string path = base + "/loop.do";
    write_text(path, "program loop\nforvalues i = 1/" + std::to_string(kPasses) + " {\n" + body +
                         "}\nend\nloop\n");
    const std::string korva = program_beside("korva");
    return seconds_of(korva + " /q run " + path + " </dev/null >/dev/null", kLoopRuns) - start;
}

double bash_loop_seconds(const std::string& base, const std::string& body) {
    const std::string path = base + "/loop.sh";
    write_text(path,
               "for ((i = 1; i <= " + std::to_string(kPasses) + "; i++)); do " + body + "; done\n");
    return seconds_of("bash " + path, kLoopRuns);
}

void measure_loops(const std::string& base, double start) {
    const double empty = loop_seconds(base, "", start);
    const double empty_bash = bash_loop_seconds(base, ":");
    const double sum = loop_seconds(base, "local s = `i' + 1\n", start);
    const double sum_bash = bash_loop_seconds(base, "s=$((i + 1))");
    constexpr int kLinesInBody = 5;
    std::string text;
    for (int i = 0; i < kLinesInBody; i++) text += "local s 1\n";
    const double lines = loop_seconds(base, text, start);
    std::printf("loops of %d passes: empty %.3f s, bash %.3f s; an addition %.3f s, bash %.3f s\n",
                kPasses, empty, empty_bash, sum, sum_bash);
    report("time of the empty loop, parts of bash's", empty / empty_bash, 0.5);
    report("time of the loop that adds, parts of bash's", sum / sum_bash, 0.5);
    report("microseconds of a stored line, local s 1",
           (lines - empty) / kPasses / kLinesInBody * 1e6, 0.5);
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
    measure_loops(base, start);
    if (std::system(("rm -r " + base).c_str()) != 0) return 1;
    return 0;
}

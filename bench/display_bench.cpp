// bench/display_bench.cpp - 100,000 lines through display into a pipe, beside printf of the same
// text; the number formatter; and a print that does not show.
//
// Promise: at most 4 times the time of printf. A do-file holds the display commands one behind the
// other, so that little but display runs. What display adds to a loop is told too, without a
// promise: it holds what the reader and macros do for a stored line. Of all programs the user's and
// the kernel's time is counted, not the wall's, since the reader of the pipe is another process.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/poll.h"
#include "core/print.h"
#include "core/session.h"
#include "core/startup.h"
#include "yardstick.h"

namespace {

using namespace korva;

constexpr int kLines = 100000;
constexpr int kRuns = 9;
constexpr double kTimesPrintf = 4;
constexpr int kNumbers = 1000000;
constexpr int kDropped = 20000000;
constexpr const char* kText = "a line of text of some length";

// The yardstick's side: the same lines through printf.
int print_lines(const char* what) {
    const bool numbers = std::strcmp(what, "numbers") == 0;
    const bool fractions = std::strcmp(what, "fractions") == 0;
    for (int i = 0; i < kLines; i++) {
        if (fractions) {
            std::printf("line %9.4f\n", i / 7.0);
        } else if (numbers) {
            std::printf("line %d\n", i);
        } else {
            std::printf("%s\n", kText);
        }
    }
    return 0;
}

// Processor time of a program whose output a pipe takes; the least of all runs.
double seconds_of(const std::string& program, const std::string& arguments) {
    double least = 1e9;
    for (int run = 0; run < kRuns; run++) {
        int ends[2];
        if (pipe(ends) != 0) return least;
        const pid_t child = fork();
        if (child == 0) {
            dup2(ends[1], STDOUT_FILENO);
            close(ends[0]);
            close(ends[1]);
            if (freopen("/dev/null", "r", stdin) == nullptr) _exit(1);
            const std::string command = "exec " + program + " " + arguments;
            execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        close(ends[1]);
        static char block[1 << 16];
        while (read(ends[0], block, sizeof block) > 0) {}
        close(ends[0]);
        int status;
        rusage usage;
        wait4(child, &status, 0, &usage);
        if (status != 0) std::puts("a program failed");
        const auto seconds = [](const timeval& t) { return double(t.tv_sec) + t.tv_usec / 1e6; };
        least = std::min(least, seconds(usage.ru_utime) + seconds(usage.ru_stime));
    }
    return least;
}

template <typename WriteLine>
void write_file(const std::string& path, WriteLine write_line) {
    std::FILE* file = std::fopen(path.c_str(), "w");
    std::fprintf(file, "noisily {\n");
    for (int i = 0; i < kLines; i++) write_line(file, i);
    std::fprintf(file, "}\n");
    std::fclose(file);
}

void write_loop(const std::string& path, const char* body) {
    std::FILE* file = std::fopen(path.c_str(), "w");
    std::fprintf(file, "noisily {\nlocal i = 0\nwhile `i' < %d {\n%s\nlocal i = `i' + 1\n}\n}\n",
                 kLines, body);
    std::fclose(file);
}

void measure_lines(const std::string& base) {
    write_file(base + "/text.do",
               [](std::FILE* file, int) { std::fprintf(file, "display \"%s\"\n", kText); });
    write_file(base + "/numbers.do",
               [](std::FILE* file, int i) { std::fprintf(file, "display \"line \" %d\n", i); });
    write_file(base + "/fractions.do", [](std::FILE* file, int i) {
        std::fprintf(file, "display \"line \" %%9.4f %d/7\n", i);
    });
    write_loop(base + "/empty.do", "");
    write_loop(base + "/text_loop.do", (std::string("display \"") + kText + "\"").c_str());
    write_loop(base + "/numbers_loop.do", "display \"line \" `i'");

    const std::string korva = program_beside("korva");
    const std::string run = "/q run " + base + "/";
    const double start = seconds_of(korva, "/q exit");
    const auto compare = [&](const char* what, const std::string& file, const char* printed,
                             double without) {
        const double plain = seconds_of(own_path(), std::string("--print ") + printed);
        const double ours = seconds_of(korva, run + file) - without;
        std::printf("  printf %.4f s, display %.4f s (%.0f ns a line)\n", plain, ours,
                    ours / kLines * 1e9);
        report(what, ours / plain, kTimesPrintf);
    };
    compare("display of a text", "text.do", "text", start);
    compare("display of a text and a whole number", "numbers.do", "numbers", start);
    compare("display of a text and a fraction", "fractions.do", "fractions", start);
    const double loop = seconds_of(korva, run + "empty.do");
    for (const char* file : {"text_loop.do", "numbers_loop.do"}) {
        std::printf("  %s, less the loop: %.0f ns a line\n", file,
                    (seconds_of(korva, run + file) - loop) / kLines * 1e9);
    }
}

double sum = 0;  // keeps the work from being left out

void measure_numbers(const char* format, const char* c_format, double step) {
    char text[64];
    const double plain = fastest(kRuns, [&] {
        for (int i = 0; i < kNumbers; i++) {
            sum += std::snprintf(text, sizeof text, c_format, i * step);
        }
    });
    const double ours = fastest(kRuns, [&] {
        for (int i = 0; i < kNumbers; i++) sum += fmt_number(format, i * step)[0];
    });
    std::printf("  snprintf %s %.0f ns, fmt_number %s %.0f ns\n", c_format, plain / kNumbers * 1e9,
                format, ours / kNumbers * 1e9);
    report("number formatter beside snprintf", ours / plain, 2);
}

void measure_dropped() {
    session.OutputThreshold = kThresholdQuiet;
    session.MessageLevel = kLevelText;
    const double plain = fastest(kRuns, [&] {
        for (int i = 0; i < kDropped; i++) {
            if (!OutputShows()) Poll(5);
        }
    });
    const double ours = fastest(kRuns, [&] {
        for (int i = 0; i < kDropped; i++) out_text("dropped");
    });
    std::printf("  a comparison and a Poll %.2f ns, out_text that does not show %.2f ns\n",
                plain / kDropped * 1e9, ours / kDropped * 1e9);
    report("dropped print beside a comparison and a Poll", ours / plain, 2);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 2 && std::strcmp(argv[1], "--print") == 0) return print_lines(argv[2]);
    char directory[] = "/tmp/korva-bench-XXXXXX";
    if (mkdtemp(directory) == nullptr) return 1;
    const std::string base = directory;
    measure_lines(base);
    if (std::system(("rm -r " + base).c_str()) != 0) return 1;

    if (!StartEngineTables(2048, int64_t(1) << 20)) return 1;
    measure_numbers("%9.0g", "%9.7g", 1.0 / 7);
    measure_numbers("%9.2f", "%9.2f", 1.0 / 7);
    measure_numbers("%10.0g", "%10.8g", 1);
    measure_dropped();
    EndEngineTables();
    return sum == 0;
}

// bench/yardstick.h - how a benchmark times its subject beside a yardstick and says what came of
// it.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>

// Seconds of the fastest of `runs` calls: what is left when nothing else disturbs the machine.
template <typename Work>
double fastest(int runs, Work work) {
    double best = 1e300;
    for (int i = 0; i < runs; i++) {
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        best = std::min(best, taken.count());
    }
    return best;
}

// The same in seconds of this program's processor time, on all threads: steadier beside other
// programs.
template <typename Work>
double fastest_cpu(int runs, Work work) {
    const auto now = [] {
        timespec t;
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
        return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
    };
    double best = 1e300;
    for (int i = 0; i < runs; i++) {
        const double start = now();
        work();
        best = std::min(best, now() - start);
    }
    return best;
}

// Says what was measured and what is promised: at most `limit`.
inline void report(const char* what, double measured, double limit) {
    std::printf("  %-48s %10.3f   promised at most %10.3f   %s\n", what, measured, limit,
                measured <= limit ? "kept" : "NOT KEPT");
}

inline std::string own_path() {
    char path[4096];
    const ssize_t n = readlink("/proc/self/exe", path, sizeof path);
    return std::string(path, n > 0 ? size_t(n) : 0);
}

// A program in the directory of this one, or in the one above it.
inline std::string program_beside(const std::string& name) {
    std::string directory = own_path();
    for (int up = 0; up < 2; up++) {
        directory.erase(directory.rfind('/'));
        const std::string path = directory + "/" + name;
        if (access(path.c_str(), X_OK) == 0) return path;
    }
    return name;
}

// bench/startup_bench.cpp - what an empty session costs, beside /bin/true and an empty program of
// our libraries.
//
// Promise: at most 8 times the wall time of /bin/true plus what mapping the libraries costs, and at
// most 30 MB resident.
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "yardstick.h"

extern char** environ;

namespace {

constexpr int kRuns = 200;
constexpr double kTimesTrue = 8;
constexpr double kMostMegabytes = 30;

struct Cost {
    double seconds = 0;    // median of a run
    double megabytes = 0;  // most resident in any run
};

Cost measure(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", 0, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", 1, 0);
    std::vector<double> times;
    Cost cost;
    for (int i = 0; i < kRuns; i++) {
        const auto start = std::chrono::steady_clock::now();
        pid_t child;
        if (posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ) != 0)
            return {};
        int status;
        rusage usage;
        wait4(child, &status, 0, &usage);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        times.push_back(taken.count());
        cost.megabytes = std::max(cost.megabytes, double(usage.ru_maxrss) / 1024);
    }
    posix_spawn_file_actions_destroy(&actions);
    std::nth_element(times.begin(), times.begin() + kRuns / 2, times.end());
    cost.seconds = times[kRuns / 2];
    return cost;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "--empty") == 0) return 0;
    const Cost nothing = measure({"/bin/true"});
    const Cost empty = measure({own_path(), "--empty"});
    const Cost session = measure({program_beside("korva"), "/q", "exit"});
    const double limit = kTimesTrue * nothing.seconds + (empty.seconds - nothing.seconds);
    std::printf("start-up: /bin/true %.2f ms, an empty program of our libraries %.2f ms\n",
                nothing.seconds * 1e3, empty.seconds * 1e3);
    report("empty session, ms", session.seconds * 1e3, limit * 1e3);
    report("empty session, MB resident", session.megabytes, kMostMegabytes);
    return 0;
}

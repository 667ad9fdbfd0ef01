// bench/store_bench.cpp - look-ups in a store of 100,000 macros beside std::unordered_map, and the
// cost of `local i = #`. Ratios within one run count; the seconds are the machine's.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/commands.h"
#include "core/macro.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/startup.h"
#include "core/store.h"

namespace korva {

namespace {

constexpr int kMacros = 100000;
constexpr int kLookUps = 2000000;
constexpr int kRounds = 5;

double now() {
    using Clock = std::chrono::steady_clock;
    return std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
}

// The best of the rounds, in nanoseconds a call. *sum keeps the work from being left out.
template <typename Work>
double best_ns(int calls, uint64_t* sum, Work work) {
    double best = 1e300;
    for (int round = 0; round < kRounds; round++) {
        const double start = now();
        for (int i = 0; i < calls; i++) *sum += work(i);
        best = std::min(best, now() - start);
    }
    return best * 1e9 / calls;
}

struct Names {
    std::vector<std::string> all;
    std::vector<uint32_t> asked;  // indexes, in the order of the look-ups
};

Names make_names() {
    Names names;
    for (int i = 0; i < kMacros; i++)
        names.all.push_back("macro_" + std::to_string(i * 7919 % 999983));
    std::mt19937 random(1);
    for (int i = 0; i < kLookUps; i++) names.asked.push_back(random() % kMacros);
    return names;
}

void bench_look_ups() {
    const Names names = make_names();
    std::unordered_map<std::string, std::string> map;
    for (const std::string& name : names.all) {
        map[name] = name + " value";
        SetMacro(name, name + " value");
    }
    uint64_t sum = 0;
    const double store_ns = best_ns(kLookUps, &sum, [&](int i) {
        return StoreFind(names.all[names.asked[size_t(i)]], kKindGlobalMacro)->length;
    });
    const double map_ns = best_ns(kLookUps, &sum, [&](int i) {
        return map.find(names.all[names.asked[size_t(i)]])->second.size();
    });
    std::printf("look-up among %d: store %.1f ns, unordered_map %.1f ns, ratio %.2f  (%llu)\n",
                kMacros, store_ns, map_ns, store_ns / map_ns, static_cast<unsigned long long>(sum));
}

void bench_local() {
    uint64_t sum = 0;
    char line[32];
    const double ns = best_ns(1000000, &sum, [&](int i) {
        std::snprintf(line, sizeof line, " i = %d", i);
        SetScanPointer(line);
        return uint64_t(CmdLocal(1));
    });
    const double print_ns = best_ns(1000000, &sum, [&](int i) {
        return uint64_t(std::snprintf(line, sizeof line, " i = %d", i));
    });
    std::printf("local i = #: %.1f ns\n", ns - print_ns);
}

void bench_expansion() {
    const std::string plain(70, 'x');
    SetLocal("i", "12345");
    const std::string macro = "generate x`i' = y[`i'] + 1 if z > 5 & w < 3";
    uint64_t sum = 0;
    for (const std::string& line : {plain, macro}) {
        const double ns = best_ns(1000000, &sum, [&](int) {
            std::memcpy(session.ConsoleBuffer, line.c_str(), line.size() + 1);
            return uint64_t(ExpandMacros());
        });
        std::printf("expansion, %zu bytes, %s macros: %.1f ns\n", line.size(),
                    line == macro ? "2" : "no", ns);
    }
}

}  // namespace

}  // namespace korva

int main() {
    if (!korva::StartEngineTables(5000, 1 << 20)) return 1;
    korva::bench_look_ups();
    korva::bench_local();
    korva::bench_expansion();
    korva::StoreClear();
    korva::EndEngineTables();
}

// bench/completion_bench.cpp - what a press of Tab costs with 5,000 variables and a path full of
// ado-files.
//
// Promise: at most 10 ms an answer; only the first look into a directory may take longer.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "core/macro.h"
#include "core/startup.h"
#include "data/dataset.h"
#include "frontend/completion.h"
#include "yardstick.h"

namespace {

using namespace korva;
namespace fs = std::filesystem;

constexpr int kVariables = 5000;
constexpr int kAdoFiles = 10000;
constexpr int kRuns = 20;
constexpr double kLimitMs = 10;
constexpr double kMegabyteLimitMs = 100;  // a text that nobody types: no more than a short wait

void make_variables() {
    for (int i = 1; i <= kVariables; i++) {
        if (addvar_internal("variable" + std::to_string(i), kFloat)) std::exit(1);
        if (set_variable_label(i, "answer to question " + std::to_string(i))) std::exit(1);
    }
}

void make_ado_files(const fs::path& root) {
    for (char letter = 'a'; letter <= 'z'; letter++) {
        fs::create_directories(root / std::string(1, letter));
    }
    for (int i = 0; i < kAdoFiles; i++) {
        const std::string letter(1, char('a' + i % 26));
        const std::string name = letter + "command" + std::to_string(i);
        std::ofstream(root / letter / (name + ".ado"))
            << "program " << name << "\nsyntax varlist [, One(string) Two]\nend\n";
    }
    SetMacro("S_ADO", root.string());
    // A directory that has just changed is not remembered yet.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
}

void measure(const char* what, const std::string& text, double limit = kLimitMs) {
    size_t choices = 0;
    const double seconds = fastest(kRuns,
                                   [&] { choices = CompleteStatement(text).choices.size(); });
    std::printf("%s: %zu words\n", what, choices);
    report(what, seconds * 1e3, limit);
}

}  // namespace

int main() {
    char root[] = "/tmp/completion_benchXXXXXX";
    if (!mkdtemp(root) || !StartEngineTables(5000, 10485760)) return 1;
    make_variables();
    make_ado_files(root);
    const double first = fastest(1, [] { CompleteStatement(""); });
    std::printf("first look along the path: %.1f ms\n", first * 1e3);
    measure("variables, all, ms", "list ");
    measure("variables and functions, all, ms", "list if ");
    measure("variables, by prefix, ms", "list variable49");
    measure("commands, all, ms", "");
    measure("commands, by prefix, ms", "quietly sc");
    measure("options of an ado-file, ms", "acommand0 variable1, ");
    std::string text = "list ";
    while (text.size() < 1 << 20) text += "variable1 (variable2) `m' ";
    measure("the last word of a megabyte, ms", text, kMegabyteLimitMs);
    fs::remove_all(root);
    EndEngineTables();
    return 0;
}

// tests/link/engine_alone.cpp - the engine links and runs without any front end: what it shows goes
// to a sink of ours, and a line typed by nobody ends the session.
#include <cstdio>
#include <string>

#include "frontend/frontend.h"
#include "frontend/line_record.h"

namespace {

std::string shown;

void collect(const unsigned char* record, int code) {
    if (code == korva::kSinkLine) shown += std::string(korva::record_text(record)) + "\n";
}

}  // namespace

int main(int, char** argv) {
    korva::frontend.ResultsSink = collect;
    char quiet[] = "/q";
    char command[] = "display 6*7";
    char* arguments[] = {argv[0], quiet, command, nullptr};
    const int status = korva::SessionMain(3, arguments);
    const bool right = shown.find("42\n") != std::string::npos;
    if (!right) std::printf("shown:\n%s", shown.c_str());
    return status == 0 && right ? 0 : 1;
}

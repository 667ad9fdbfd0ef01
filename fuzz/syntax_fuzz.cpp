// Any picture against any line: the first line of the input is the picture, the second the
// program's text; the rest goes through the other commands that take text apart.
//
// The dataset must stay as it is, and the code must be one that a user may see.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/commands.h"
#include "core/macro.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/startup.h"
#include "core/store.h"
#include "data/dataset.h"

using namespace korva;

namespace {

constexpr int kMaxvar = 2048;

struct Command {
    ReturnCode (*run)(int);
    const char* front;  // of the line, in front of the input's text
};
constexpr Command kCommands[] = {
    {CmdTokenize, ""},
    {CmdGettoken, "a b : text, "},
    {CmdGettoken, "a text : text, match(p)"},
    {CmdNumlist, ""},
    {CmdConfirm, ""},
    {CmdConfirm, "numeric variable "},
    {CmdArgs, ""},
    {CmdParse, ""},
    {Cmd_parse, ""},
    {Cmd_parse, "comma l r : text"},
    {Cmd_parse, "canonicalize out : text"},
    {Cmd_parse, "combop out : text, option(a)"},
    {Cmd_parse, "expand p rest : text"},
    {Cmd_parse, "factordot p : text, option(a)"},
};

bool start() {
    if (!StartEngineTables(kMaxvar, 1 << 20)) std::abort();
    session.OutputThreshold = kThresholdCapture;
    if (addvar("price", kFloat) || addvar("mpg", kDouble) || addvar("make", 8) ||
        extend_observations(5)) {
        std::abort();
    }
    return true;
}

void run(const Command& command, std::string_view text) {
    std::string line = command.front;
    line += text;
    line.resize(std::min(line.size(), size_t(session.conslen) - 1));
    std::memcpy(session.ConsoleBuffer, line.c_str(), line.size() + 1);
    SetScanPointer(session.ConsoleBuffer);
    const ReturnCode rc = command.run(0);
    if (rc < 0 || (rc >= 9000 && rc != 9710)) std::abort();
}

// Creating files by names from the input is not what is looked at here.
bool names_files(std::string_view text) {
    return text.find('f') != text.npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool started = start();
    if (!started) return 0;
    std::string input(reinterpret_cast<const char*>(data), size);
    std::replace(input.begin(), input.end(), '\0', ' ');
    const size_t first = std::min(input.find('\n'), input.size());
    const size_t second = std::min(input.find('\n', std::min(first + 1, input.size())),
                                   input.size());
    StoreClear();
    SetLocal("0", first < second ? std::string_view(input).substr(first + 1, second - first - 1)
                                 : std::string_view());
    run({CmdSyntax, ""}, std::string_view(input).substr(0, first));

    const std::string_view rest = second < input.size() ? std::string_view(input).substr(second + 1)
                                                        : std::string_view(input);
    for (const Command& command : kCommands) {
        SetLocal("text", rest);
        const bool takes_text = command.front[0] == 0 ||
                                command.front[std::strlen(command.front) - 1] == ' ';
        if (command.run == CmdConfirm && names_files(rest)) continue;
        run(command, takes_text ? rest : std::string_view());
    }
    const std::string fault = check_dataset();
    if (!fault.empty() || dataset.nvar != 3 || dataset.nobs != 5) {
        std::fprintf(stderr, "%s\n", fault.c_str());
        std::abort();
    }
    return 0;
}

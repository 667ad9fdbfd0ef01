// Any bytes as an expression: compiling it ends in a code or in a program, the program runs over a
// small dataset to the same values in blocks and one at a time, and the dataset stays as it was.
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/scanner.h"
#include "core/session.h"
#include "core/startup.h"
#include "core/store.h"
#include "core/types.h"
#include "core/upcalls.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/expression.h"
#include "data/expression_machine.h"
#include "data/expression_opcodes.h"
#include "data/expression_single.h"
#include "data/random.h"

namespace {

using namespace korva;

constexpr int kRows = 40;

[[noreturn]] void give_up(const char* why) {
    fprintf(stderr, "%s\n", why);
    abort();
}

void compare_runs(ExpressionRecord* record) {
    double block[kRows];
    char text[kMaxStringBytes + 2];
    if (record->result_type == 1) {
        for (int obs = 1; obs <= kRows; obs++) evalstr(record, obs, text);
        return;
    }
    random_state = RandomState{};
    eval_block(record, 1, kRows, block);
    random_state = RandomState{};
    for (int obs = 1; obs <= kRows; obs++) {
        const double single = eval(record, obs);
        if (std::bit_cast<uint64_t>(single) != std::bit_cast<uint64_t>(block[obs - 1])) {
            give_up("a block and a single run differ");
        }
    }
    SingleProgram decoded;
    if (!decode_single(record, &decoded)) return;
    for (int obs = 1; obs <= kRows; obs++) {
        if (std::bit_cast<uint64_t>(run_single(decoded, obs)) !=
            std::bit_cast<uint64_t>(block[obs - 1])) {
            give_up("the run of one observation differs");
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    session.OutputThreshold = kThresholdCapture;
    if (!StartEngineTables(2048, 1 << 20)) give_up("the engine does not start");
    if (addvar("x", kDouble) || addvar("i", kInt) || addvar("s", 12) || addvar("t", 5) ||
        extend_observations(kRows)) {
        give_up("the dataset does not fit");
    }
    for (int obs = 1; obs <= kRows; obs++) {
        if (obs % 5) put(1, obs, obs / 4.0 - 3);
        if (obs % 7) put(2, obs, obs - 20);
        putstr(3, obs, std::string_view("some text 12").substr(size_t(obs % 12)));
        putstr(4, obs, std::string_view("a b").substr(0, size_t(obs % 4)));
    }
    if (!StorePut("A", kKindMatrix, "", 0)) give_up("the store is full");
    ResetSkeleton();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    constexpr int32_t kVersions[] = {920, 700, 400, 310};
    const std::string_view input(reinterpret_cast<const char*>(bytes), size);
    // The first byte chooses the version, so that the old rules are reached.
    session.version = input.empty() ? 920 : kVersions[uint8_t(input[0]) % 4];
    const std::string_view text = input.empty() ? input : input.substr(1);
    reset_expression_pools();
    if (compile(text, &main_expression, ExpressionMode::Either) == 0)
        compare_runs(&main_expression);
    for (ExpressionMode mode : {ExpressionMode::Matrix, ExpressionMode::NumberOrMatrix}) {
        reset_expression_pools();
        if (compile(text, &main_expression, mode) == 0) list_program(main_expression);
    }
    std::string line(text.substr(0, text.find('\0')));
    SetScanPointer(line.data());
    ExpressionValue value;
    EvaluateScanned(ExpressionMode::Either, &value);
    if (!check_dataset().empty()) give_up("the dataset is not sound any more");
    return 0;
}

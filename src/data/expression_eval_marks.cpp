// data/expression_eval_marks.cpp - which observations of a block are in the sample.
//
// Marks are turned into places eight at a time, through a table of the places of a byte's bits: no
// branch to mispredict, and no step a mark.

#include <array>
#include <cstring>
#include <memory>

#include "data/row_loop.h"

namespace korva {

namespace {

// Machines of the threads but the first, kept from the first fork on.
std::vector<std::unique_ptr<BlockMachine>> thread_machines;

// Eight 16-bit places in two words, the bits of the index in front, lowest first.
using PlaceRow = std::array<uint64_t, 2>;

constexpr auto kPlaces = [] {
    std::array<PlaceRow, 256> rows{};
    for (unsigned bits = 0; bits < 256; bits++) {
        unsigned n = 0;
        for (unsigned bit = 0; bit < 8; bit++) {
            if (!(bits >> bit & 1)) continue;
            rows[bits][n / 4] |= uint64_t(bit) << (16 * (n % 4));
            n++;
        }
    }
    return rows;
}();

// Lists the places of the marks that are 1; returns their number. Marks behind n up to a multiple
// of 8 are 0, and `places` has room for kBlockObs.
int list_places(const uint8_t* marks, int n, uint16_t* places) {
    constexpr uint64_t kEach = 0x0001000100010001ULL;
    int listed = 0;
    for (int i = 0; i < n; i += 8) {
        uint64_t eight;
        memcpy(&eight, marks + i, 8);
        const PlaceRow& row = kPlaces[(eight * 0x0102040810204080ULL) >> 56];  // a bit for a byte
        const uint64_t at[2] = {row[0] + uint64_t(i) * kEach, row[1] + uint64_t(i) * kEach};
        memcpy(places + listed, at, sizeof at);  // listed <= i, so it ends within the block
        listed += int((eight * 0x0101010101010101ULL) >> 56);
    }
    return listed;
}

}  // namespace

int block_size_for(int var) {
    // Draws and the like of the `if` and of the expression take turns from one observation to the
    // next.
    const auto keeps_state = [](const ExpressionRecord& r) {
        return !r.order_free && !r.thread_safe;
    };
    if (skeleton.if_given && keeps_state(main_expression) && keeps_state(if_expression)) return 1;
    if (var == 0) return kBlockObs;
    // Where an expression reads the variable k observations back, those must be finished: as many
    // are worked on at once.
    int back = nearest_read_before(main_expression, var);
    if (skeleton.if_given) back = std::min(back, nearest_read_before(if_expression, var));
    return std::min(back, kBlockObs);
}

bool prepare_turns(int var, CellTurns* turns) {
    if (block_size_for(var) > 1 || !decode_single(&main_expression, &turns->main)) return false;
    turns->tests = skeleton.if_given && nearest_read_before(if_expression, var) < kBlockObs;
    return !turns->tests || decode_single(&if_expression, &turns->condition);
}

int loop_threads(int64_t n, bool main) {
    const auto allows = [](const ExpressionRecord& r) { return r.order_free && r.thread_safe; };
    if (main && !allows(main_expression)) return 1;
    if (skeleton.if_given && !allows(if_expression)) return 1;
    const int threads = ForkThreads(n, session.procs);
    while (int(thread_machines.size()) < threads - 1) {
        BlockMachine* machine = new (std::nothrow) BlockMachine();
        if (!machine) return 1;
        thread_machines.emplace_back(machine);
    }
    return threads;
}

BlockMachine* thread_machine(int thread) {
    return thread == 0 ? &engine_machine : thread_machines[size_t(thread - 1)].get();
}

void mark_block(BlockMachine* m, ExpressionRecord* condition, int obs, int n, RowBlock* block) {
    block->obs = obs;
    block->n = n;
    block->n_marked = n;
    block->index = nullptr;
    if (!condition) return;
    alignas(64) uint8_t marks[kBlockObs];
    run_block(m, condition, obs, n, nullptr, n);
    block_marks(m, marks);
    if (n % 8 != 0) memset(marks + n, 0, size_t(8 - n % 8));
    block->n_marked = list_places(marks, n, block->places);
    if (block->n_marked < n) block->index = block->places;
}

int mark_sample(ExpressionRecord* condition, int obs, int n, uint8_t* marks) {
    set_run_range(condition, false);
    run_block(&engine_machine, condition, obs, n, nullptr, n);
    block_marks(&engine_machine, marks);
    int count = 0;
    for (int i = 0; i < n; i++) count += marks[i];
    return count;
}

}  // namespace korva

// data/row_loop.h - the one loop over observations under generate, replace, count and assert.
//
// The range is cut into blocks; for each the `if` is run and the places where it holds are listed,
// then the body works on the block. All that a body changes are cells of its own block and its own
// totals, so that the loop may be cut into chunks of blocks that run side by side: a chunk then
// needs a machine and copies of the records of its own.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/poll.h"
#include "core/session.h"
#include "data/expression_machine.h"
#include "data/skeleton.h"

namespace korva {

struct RowBlock {
    int obs = 0;                      // first observation
    int n = 0;                        // observations
    int n_marked = 0;                 // those in the sample
    const uint16_t* index = nullptr;  // their places in the block, rising; null: all are
    uint16_t places[kBlockObs];       // what index points to
};

// Fills the block: runs the `if` over observations obs .. obs + n - 1.
void mark_block(BlockMachine* m, ExpressionRecord* condition, int obs, int n, RowBlock* block);

// The marks of observations obs .. obs + n - 1, 1 where the condition, a number, holds; returns how
// many do. The running sums go on from the call before.
int mark_sample(ExpressionRecord* condition, int obs, int n, uint8_t* marks);

// A variable at observations other than the one being written is read by an expression: then each
// observation must be finished before the next one is worked on.
inline int block_size_for(int var) {
    const bool reads_back = program_reads_elsewhere(main_expression, var) ||
                            (skeleton.if_given && program_reads_elsewhere(if_expression, var));
    return reads_back ? 1 : kBlockObs;
}

// Runs body(machine, block) over the range in force: skeleton.first to skeleton.last. The body
// returns a code; not 0 ends the loop. kBreak when the user broke in.
template <class Body>
ReturnCode for_each_block(int block_size, Body body) {
    BlockMachine* m = &engine_machine;
    RowBlock block;
    set_run_range(&main_expression, true);
    set_run_range(&if_expression, true);
    const int64_t last = skeleton.last;
    for (int64_t obs = skeleton.first; obs <= last; obs += block_size) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        const int n = int(std::min<int64_t>(block_size, last - obs + 1));
        mark_block(m, skeleton.if_given ? &if_expression : nullptr, int(obs), n, &block);
        if (ReturnCode rc = body(m, block)) return rc;
    }
    return 0;
}

// Runs the main expression over the block's marked observations.
inline void run_marked(BlockMachine* m, const RowBlock& block) {
    run_block(m, &main_expression, block.obs, block.n, block.index, block.n_marked);
}

}  // namespace korva

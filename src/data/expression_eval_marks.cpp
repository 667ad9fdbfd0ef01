// data/expression_eval_marks.cpp - which observations of a block are in the sample.

#include "data/row_loop.h"

namespace korva {

void mark_block(BlockMachine* m, ExpressionRecord* condition, int obs, int n, RowBlock* block) {
    block->obs = obs;
    block->n = n;
    block->n_marked = n;
    block->index = nullptr;
    if (!condition) return;
    alignas(64) double holds[kBlockObs];
    run_block(m, condition, obs, n, nullptr, n);
    block_numbers(m, holds);
    // Every place is written and kept if the observation is in: no branch to mispredict.
    int marked = 0;
    for (int i = 0; i < n; i++) {
        block->places[marked] = uint16_t(i);
        marked += holds[i] != 0;
    }
    block->n_marked = marked;
    if (marked < n) block->index = block->places;
}

}  // namespace korva

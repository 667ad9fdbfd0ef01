// data/row_loop.h - the one loop over observations under generate, replace, count and assert.
//
// The range is cut into blocks; for each the `if` is run and the places where it holds are listed,
// then the body works on the block. All that a body changes are cells of its own block and its
// totals, so a long range whose expressions allow it is cut into chunks of blocks that run side by
// side, each with a machine, records and totals of its own; the totals are added at the end.
//
// What a block needs beyond that, such as another storage type, waits: a body beside others returns
// kNotBesideOthers and leaves its block alone. The rest of that chunk is done when the others have
// ended, chunk by chunk in the order of the observations.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "core/poll.h"
#include "core/session.h"
#include "core/threads.h"
#include "data/expression_machine.h"
#include "data/expression_single.h"
#include "data/skeleton.h"

namespace korva {

struct RowBlock {
    int obs = 0;                      // first observation
    int n = 0;                        // observations
    int n_marked = 0;                 // those in the sample
    const uint16_t* index = nullptr;  // their places in the block, rising; null: all are
    uint16_t places[kBlockObs];       // what index points to
};

// Who works on a block: a machine, and the records that it alone runs.
struct RowWorker {
    BlockMachine* machine;
    ExpressionRecord* main;
    ExpressionRecord* condition;  // null without an if
    bool beside_others;           // only the block's own cells may change
    bool after_others;            // blocks behind this one may have been worked on
};

constexpr ReturnCode kNotBesideOthers = -2;

// Totals of a body that only counts.
struct RowCount {
    int64_t n = 0;
    void add(const RowCount& other) { n += other.n; }
};

// Fills the block: runs the `if` over observations obs .. obs + n - 1.
void mark_block(BlockMachine* m, ExpressionRecord* condition, int obs, int n, RowBlock* block);

// The marks of observations obs .. obs + n - 1, 1 where the condition, a number, holds; returns how
// many do. The running sums go on from the call before.
int mark_sample(ExpressionRecord* condition, int obs, int n, uint8_t* marks);

// Observations that a block may have when the loop writes the variable; 0: it writes none.
int block_size_for(int var);

// Threads for a loop over n observations with the expressions in force; the machines for them are
// there then. The main expression counts only if `main` says so.
int loop_threads(int64_t n, bool main);

// The machine of a thread that loop_threads() has counted; the first one's is the engine's.
BlockMachine* thread_machine(int thread);

// Runs the body over the blocks from *obs to last; *obs is left at the block that ended the loop.
template <class Totals, class Body>
ReturnCode run_rows(const RowWorker& worker, int block_size, int64_t* obs, int64_t last,
                    Totals* totals, Body& body) {
    // The counter of Poll lies beside what all threads read: a forked loop writes it seldom.
    const unsigned poll_every = worker.beside_others ? 8 : 1;
    RowBlock block;
    for (unsigned turn = 0; *obs <= last; *obs += block_size, turn++) {
        if (turn % poll_every == 0) Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        const int n = int(std::min<int64_t>(block_size, last - *obs + 1));
        mark_block(worker.machine, worker.condition, int(*obs), n, &block);
        if (ReturnCode rc = body(worker, block, totals)) return rc;
    }
    return 0;
}

// One thread's part of a forked loop, on a line of memory of its own.
template <class Totals>
struct alignas(64) RowChunk {
    int64_t obs = 0;  // the next to be done
    int64_t last = 0;
    ReturnCode rc = 0;
    Totals totals;
};

template <class Totals, class Body>
ReturnCode run_rows_forked(int threads, const RowWorker& alone, int block_size, Totals* totals,
                           Body& body) {
    const int64_t first = skeleton.first, last = skeleton.last;
    const int64_t size = ForkChunk(last - first + 1, threads);
    std::vector<RowChunk<Totals>> chunks{size_t(threads)};
    RunThreads(threads, [&](int k) {
        RowChunk<Totals>& chunk = chunks[size_t(k)];
        chunk.obs = first + k * size;
        chunk.last = std::min(last, chunk.obs + size - 1);
        ExpressionRecord main = *alone.main;
        ExpressionRecord condition = if_expression;
        const RowWorker worker{thread_machine(k), &main, alone.condition ? &condition : nullptr,
                               true, true};
        Totals own;
        chunk.rc = run_rows(worker, block_size, &chunk.obs, chunk.last, &own, body);
        chunk.totals = own;
    });
    ReturnCode failure = 0;
    for (const auto& chunk : chunks) {
        totals->add(chunk.totals);
        if (!failure && chunk.rc != kNotBesideOthers) failure = chunk.rc;
    }
    RowWorker rest = alone;
    rest.after_others = true;
    for (auto& chunk : chunks) {
        if (failure) break;
        if (chunk.rc == kNotBesideOthers) {
            failure = run_rows(rest, block_size, &chunk.obs, chunk.last, totals, body);
        }
    }
    return failure;
}

// What a loop's body does.
enum class LoopUse : uint8_t {
    Both,         // the body runs the main expression
    BothInOrder,  // it does, and ends at a place that depends on the order
    Condition,    // it does not
};

// Runs body(worker, block, totals) over the range in force: skeleton.first to skeleton.last. The
// body returns a code; not 0 ends the loop. kBreak when the user broke in.
template <class Totals, class Body>
ReturnCode for_each_block(LoopUse use, int block_size, Totals* totals, Body body) {
    set_run_range(&main_expression, true);
    set_run_range(&if_expression, true);
    const RowWorker alone{&engine_machine, &main_expression,
                          skeleton.if_given ? &if_expression : nullptr, false, false};
    const int64_t n = int64_t(skeleton.last) - skeleton.first + 1;
    const bool may_fork = use != LoopUse::BothInOrder && block_size == kBlockObs;
    const int threads = may_fork ? loop_threads(n, use == LoopUse::Both) : 1;
    if (threads > 1) return run_rows_forked(threads, alone, block_size, totals, body);
    int64_t obs = skeleton.first;
    return run_rows(alone, block_size, &obs, skeleton.last, totals, body);
}

// A loop whose observations wait for each other, in which each cell is finished before the next one
// is looked at; the expressions are decoded for that.
struct CellTurns {
    SingleProgram main;
    SingleProgram condition;
    bool tests = false;  // the `if` waits as well; else it runs over blocks
};

// Decodes for a loop that writes the variable. False: it can run over blocks, or an expression
// cannot be decoded. Again after the variable was recast.
bool prepare_turns(int var, CellTurns* turns);

// Runs cell(obs, value) in the range in force where the `if` holds, `value` being what the main
// expression gives there. A code other than 0 ends the loop, as does a break.
template <class Cell>
ReturnCode for_each_turn(CellTurns* turns, Cell cell) {
    set_run_range(&main_expression, true);
    set_run_range(&if_expression, true);
    ExpressionRecord* condition = skeleton.if_given && !turns->tests ? &if_expression : nullptr;
    const RowWorker alone{&engine_machine, &main_expression, condition, false, false};
    int64_t first = skeleton.first;
    int none = 0;
    const auto body = [&](const RowWorker&, const RowBlock& block, int*) -> ReturnCode {
        for (int i = 0; i < block.n_marked; i++) {
            const int obs = block.obs + (block.index ? block.index[i] : i);
            // A missing condition counts as true.
            if (turns->tests && run_single(turns->condition, obs) == 0) continue;
            if (ReturnCode rc = cell(obs, run_single(turns->main, obs))) return rc;
        }
        return 0;
    };
    return run_rows(alone, kBlockObs, &first, skeleton.last, &none, body);
}

// Runs the main expression over the block's marked observations.
inline void run_marked(const RowWorker& worker, const RowBlock& block) {
    run_block(worker.machine, worker.main, block.obs, block.n, block.index, block.n_marked);
}

}  // namespace korva

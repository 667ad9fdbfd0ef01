// core/threads.h - the few facts about threads that the engine asks for, with or without OpenMP.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#ifdef _OPENMP
#include <omp.h>
#endif

namespace korva {

#ifdef _OPENMP
inline int ThreadNumber() {
    return omp_get_thread_num();
}
inline int ProcessorCount() {
    return omp_get_num_procs();
}
#else
inline int ThreadNumber() {
    return 0;
}
inline int ProcessorCount() {
    return 1;
}
#endif

// Threads among which a loop over n observations is forked when `procs` processors are in use; 1:
// it is not. A short loop takes fewer: one for each `share` observations (100 as a rule), and fewer
// than the square root of n. Thread k works on ForkChunk() of them from k * ForkChunk() on.
inline int64_t ForkChunk(int64_t n, int threads) {
    return (n + threads - 1) / threads;
}
inline int ForkThreads(int64_t n, int procs, int share = 100) {
    if (procs <= 1) return 1;
    const int64_t by_share = std::clamp<int64_t>((n + share - 1) / share - 1, 1, procs);
    const int64_t by_root = std::max<int64_t>(int64_t(std::ceil(std::sqrt(double(n)))) - 1, 1);
    const int threads = int(std::min(by_share, by_root));
    const int64_t chunk = ForkChunk(n, threads);
    return chunk > 100 && chunk > threads ? threads : 1;
}

// Runs body(k) for k = 0 .. threads - 1, each on a thread of its own where there are so many, and
// waits for all. The calling thread runs body(0).
template <class Body>
void RunThreads(int threads, Body body) {
#ifdef _OPENMP
#pragma omp parallel num_threads(threads)
    for (int k = omp_get_thread_num(); k < threads; k += omp_get_num_threads()) body(k);
#else
    for (int k = 0; k < threads; k++) body(k);
#endif
}

}  // namespace korva

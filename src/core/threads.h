// core/threads.h - the few facts about threads that the engine asks for, with or without OpenMP.
#pragma once

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

}  // namespace korva

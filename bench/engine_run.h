// bench/engine_run.h - running a command of the engine from a measurement.
#pragma once

#include <cstdio>
#include <string>

#include "core/scanner.h"
#include "core/types.h"
#include "core/upcalls.h"

inline int failures = 0;  // commands that failed, and what the measurement itself finds wrong

// Runs the handler on its arguments.
inline void run(korva::ReturnCode (*command)(int), std::string arguments) {
    korva::SetScanPointer(arguments.data());
    korva::ResetSkeleton();
    if (const korva::ReturnCode rc = command(0)) {
        std::printf("%s: code %d\n", arguments.c_str(), rc);
        failures++;
    }
}

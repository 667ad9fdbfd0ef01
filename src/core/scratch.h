// core/scratch.h - the stack of scratch text that macro expansion and its kin work in.
//
// One block, taken at start-up, so that deep recursion of expansion never allocates.
#pragma once

#include <cstddef>

#include "core/types.h"

namespace korva {

// Takes a block of `most` bytes, of which `bytes` may be used: max(4 * macrolen, macrolen + 2 *
// conslen, 271,200). False if memory is refused.
bool ScratchStart(size_t bytes, size_t most);

// So many bytes of the block may be used from here on; what is taken stays.
void ScratchLimit(size_t bytes);

void ScratchEnd();

// n bytes from the top of the stack; null when it is exhausted: "unexpectedly out of memory" is
// printed.
char* ScratchTake(size_t n);

// session.macrolen bytes.
char* ScratchTakeMacro();

// Sets the top back to p, which a Take returned: everything taken since is free. Null is nothing.
void ScratchRelease(char* p);

// Releases what a scope took.
struct ScratchText {
    explicit ScratchText(size_t n) : text(ScratchTake(n)) {}
    ~ScratchText() { ScratchRelease(text); }
    ScratchText(const ScratchText&) = delete;
    ScratchText& operator=(const ScratchText&) = delete;
    char* text;  // null: exhausted, already reported; the caller returns 920
};

}  // namespace korva

// core/alloc.cpp - small blocks from the heap, large ones straight from the page allocator.
//
// The header is one 64-bit word: the lowest byte tells the source (1 heap, 0 pages), the rest is
// the total size, which unmapping needs. A large block goes back to the system as soon as it is
// freed.
#include "core/alloc.h"

#include <sys/mman.h>

#include <cstdio>
#include <cstdlib>

namespace korva {

namespace {

constexpr size_t kHeaderBytes = 8;
constexpr size_t kPageBlock = 4194304;  // from here on blocks are mapped
constexpr uint64_t kFromHeap = 1;

}  // namespace

#ifdef KORVA_STRESS
namespace {

struct StressState {
    long count = 0;
    long fail_at = -1;  // -1: not read from the environment yet; 0: nothing fails
};
StressState stress;

}  // namespace

bool StressFails() {
    if (stress.fail_at < 0) {
        const char* text = std::getenv("KORVA_STRESS_FAIL");
        stress.fail_at = text != nullptr ? std::atol(text) : 0;
    }
    return ++stress.count == stress.fail_at;
}

void StressReport() {
    std::fprintf(stderr, "stress: %ld operations\n", stress.count);
}
#endif

void* MapPages(size_t size) {
    if (StressFails()) return nullptr;
    // Not reserved: memory set far above what the machine has costs nothing until it is used.
    void* pages = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return pages == MAP_FAILED ? nullptr : pages;
}

void UnmapPages(void* pages, size_t size) {
    if (pages != nullptr) munmap(pages, size);
}

void* EngineAlloc(size_t size) {
    const size_t total = size + kHeaderBytes;
    if (total < size) return nullptr;
    uint64_t* block;
    uint64_t source = 0;
    if (total < kPageBlock) {
        if (StressFails()) return nullptr;
        block = static_cast<uint64_t*>(std::malloc(total));
        source = kFromHeap;
    } else {
        block = static_cast<uint64_t*>(MapPages(total));
    }
    if (block == nullptr) return nullptr;
    *block = uint64_t(total) << 8 | source;
    return block + 1;
}

void* EngineAllocAny(size_t size) {
    return EngineAlloc(size == 0 ? 1 : size);
}

void EngineFree(void* block) {
    if (block == nullptr) return;
    uint64_t* start = static_cast<uint64_t*>(block) - 1;
    if ((*start & 0xFF) == kFromHeap) {
        std::free(start);
    } else {
        UnmapPages(start, size_t(*start >> 8));
    }
}

}  // namespace korva

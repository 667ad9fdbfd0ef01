// core/alloc.h - the engine's allocator.
//
// A block has an 8-byte header that tells where it came from: blocks of 4 MB and more are mapped
// pages, which go back to the system as soon as they are freed. Blocks are never resized.
#pragma once

#include <cstddef>
#include <cstdint>

namespace korva {

// A block of `size` bytes, aligned to 8; null if the memory is refused: the caller reports 909 or
// 950.
void* EngineAlloc(size_t size);

// EngineAlloc, size 0 counting as 1.
void* EngineAllocAny(size_t size);

// Gives the block back; null is nothing.
void EngineFree(void* block);

// Owns one block for a scope.
struct EngineBlock {
    explicit EngineBlock(size_t size) : bytes(EngineAlloc(size)) {}
    ~EngineBlock() { EngineFree(bytes); }
    EngineBlock(const EngineBlock&) = delete;
    EngineBlock& operator=(const EngineBlock&) = delete;
    void* bytes;  // null: refused
};

// Address space for the data area, not touched and so costing nothing until it is used; null if
// refused.
void* MapPages(size_t size);
void UnmapPages(void* pages, size_t size);

// In the stress build: true when this is the allocation or file operation that must fail
// (KORVA_STRESS_FAIL=n). Every place that asks the system for memory or does a file operation asks.
// In the other builds always false, at no cost.
#ifdef KORVA_STRESS
bool StressFails();
void StressReport();  // tells on standard error how many operations there were
#else
constexpr bool StressFails() {
    return false;
}
inline void StressReport() {}
#endif

}  // namespace korva

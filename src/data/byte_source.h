// data/byte_source.h - the bytes of a file that is read once from front to back, or of a block in
// memory.
//
// The size is known from the start, so that a reader can hold what the bytes promise against what
// is there before it takes memory for it. Small reads go through a buffer, large ones past it.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "core/types.h"

namespace korva {

struct ByteSource {
    ByteSource() = default;
    ~ByteSource();
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    int fd = -1;                    // owned; -1: the bytes lie in memory
    const uint8_t* next = nullptr;  // bytes at hand, not yet taken: [next, limit)
    const uint8_t* limit = nullptr;
    uint64_t left = 0;  // bytes not yet taken, those at hand included
    uint64_t size = 0;  // bytes in all
    alignas(64) uint8_t buffer[24576];
};

// Opens the regular file of the path for reading. 0, 601 or 603, without words: the caller knows
// the name that the user typed.
ReturnCode open_source(ByteSource* source, const std::string& path);

// Reads from the block instead, which must stay as long as the source is used.
void open_memory(ByteSource* source, std::span<const uint8_t> bytes);

// The next n bytes into `to`. False if fewer are left or the system refuses; the source is then at
// an undefined place and nothing more may be taken.
bool take_bytes(ByteSource* source, void* to, uint64_t n);

// Passes over the next n bytes; false as above.
bool skip_bytes(ByteSource* source, uint64_t n);

// Goes back to where `left` bytes were not yet taken; false as above.
bool go_back(ByteSource* source, uint64_t left);

}  // namespace korva

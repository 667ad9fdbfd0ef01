// data/row_copy.h - copying the same few bytes of many rows, and the buffer that rows of a file go
// through.
//
// A call of memcpy for each row costs more than the bytes of a narrow one. Up to 64 bytes go as two
// moves of a fixed size that may overlap, chosen once for all rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/alloc.h"

namespace korva {

constexpr size_t kRowBufferBytes = 24000;  // rows moved at a time; fits the first-level cache

// A buffer that begins on a line of the cache.
struct RowBuffer {
    explicit RowBuffer(size_t bytes) : memory(bytes + kAlignment) {
        rows = static_cast<uint8_t*>(memory.bytes);
        if (rows) rows += size_t(-reinterpret_cast<uintptr_t>(rows)) % kAlignment;
    }
    static constexpr size_t kAlignment = 64;
    EngineBlock memory;
    uint8_t* rows;  // null: refused
};

template <size_t half>
inline void copy_halves(uint8_t* to, const uint8_t* from, size_t bytes) {
    uint8_t tail[half];
    memcpy(tail, from + bytes - half, half);
    memcpy(to, from, half);
    memcpy(to + bytes - half, tail, half);
}

// Calls loop(copy), where copy(to, from) copies `bytes` bytes between places that do not overlap.
template <class Loop>
inline void with_row_copy(size_t bytes, Loop&& loop) {
    if (bytes == 1) {
        loop([](uint8_t* to, const uint8_t* from) { *to = *from; });
    } else if (bytes == 2) {
        loop([](uint8_t* to, const uint8_t* from) { memcpy(to, from, 2); });
    } else if (bytes == 4) {
        loop([](uint8_t* to, const uint8_t* from) { memcpy(to, from, 4); });
    } else if (bytes == 8) {
        loop([](uint8_t* to, const uint8_t* from) { memcpy(to, from, 8); });
    } else if (bytes > 8 && bytes <= 16) {
        loop([=](uint8_t* to, const uint8_t* from) { copy_halves<8>(to, from, bytes); });
    } else if (bytes > 16 && bytes <= 32) {
        loop([=](uint8_t* to, const uint8_t* from) { copy_halves<16>(to, from, bytes); });
    } else if (bytes > 32 && bytes <= 64) {
        loop([=](uint8_t* to, const uint8_t* from) { copy_halves<32>(to, from, bytes); });
    } else {
        loop([=](uint8_t* to, const uint8_t* from) { memcpy(to, from, bytes); });
    }
}

}  // namespace korva

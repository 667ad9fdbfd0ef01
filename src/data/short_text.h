// data/short_text.h - copying and measuring strings of a few bytes without a call.
//
// Most string cells are short, and for them a call of the C library costs more than the work. No
// byte outside the given ranges is read or written.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace korva {

static_assert(std::endian::native == std::endian::little);

// Copies n bytes; they may overlap.
inline void copy_short(char* to, const char* from, int n) {
    uint64_t head, tail;
    if (n > 16) {
        memmove(to, from, size_t(n));
    } else if (n >= 8) {
        memcpy(&head, from, 8);
        memcpy(&tail, from + n - 8, 8);
        memcpy(to, &head, 8);
        memcpy(to + n - 8, &tail, 8);
    } else if (n >= 4) {
        uint32_t first, last;
        memcpy(&first, from, 4);
        memcpy(&last, from + n - 4, 4);
        memcpy(to, &first, 4);
        memcpy(to + n - 4, &last, 4);
    } else if (n > 0) {
        const char first = from[0], middle = from[n / 2], last = from[n - 1];
        to[0] = first;
        to[n / 2] = middle;
        to[n - 1] = last;
    }
}

// Sets n bytes to NUL.
inline void clear_short(char* to, int n) {
    if (n > 16) {
        memset(to, 0, size_t(n));
    } else if (n >= 8) {
        memset(to, 0, 8);
        memset(to + n - 8, 0, 8);
    } else if (n >= 4) {
        memset(to, 0, 4);
        memset(to + n - 4, 0, 4);
    } else if (n > 0) {
        to[0] = to[n / 2] = to[n - 1] = 0;
    }
}

// The top bit of the word's first NUL, and none below it; 0 without a NUL. Bits above may be set
// for other bytes.
inline uint64_t nul_bytes(uint64_t word) {
    constexpr uint64_t kOnes = 0x0101010101010101ULL, kTops = 0x8080808080808080ULL;
    return (word - kOnes) & ~word & kTops;
}

// Bytes of the word in front of its first NUL.
inline int narrow_length(uint64_t word) {
    const uint64_t zeros = nul_bytes(word);
    return zeros ? std::countr_zero(zeros) / 8 : 8;
}

// The word's first n bytes, 0 to 8, zeros above.
inline uint64_t keep_bytes(uint64_t word, int n) {
    return n >= 8 ? word : word & ((uint64_t(1) << (8 * n)) - 1);
}

// Bytes in front of the first NUL among `width`.
inline int short_length(const char* cell, int width) {
    int at = 0;
    for (; at + 8 <= width; at += 8) {
        uint64_t bytes;
        memcpy(&bytes, cell + at, 8);
        const uint64_t zeros = nul_bytes(bytes);
        if (zeros) return at + std::countr_zero(zeros) / 8;
    }
    while (at < width && cell[at]) at++;
    return at;
}

}  // namespace korva

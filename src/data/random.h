// data/random.h - the generators behind uniform(), uniform0() and the shuffle of sort.
//
// Their states are words of 32 bits, and the streams are the same on every machine. `set seed`,
// `set seed0` and `set sortseed` arrive through core/upcalls.h.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace korva {

struct UniformState {
    uint32_t x = 123456789;
    uint32_t y = 521288629;
    uint32_t z = 362436069;
    uint32_t w = 2262615;
};

struct RandomState {
    UniformState uniform;       // of uniform()
    uint32_t old_word = 1001;   // of uniform0(), 31 bits
    uint32_t sort_word = 1001;  // of the shuffle, 31 bits
};
extern RandomState random_state;  // defined in data/random.cpp

// Draws n groups of `size` numbers in [0, 1) and keeps number `place`, from 0, of each in out[n].
// One number after the other: size 1, place 0. draw_old_uniform() is uniform0()'s.
void draw_uniform(UniformState* state, int n, int size, int place, double* out);
void draw_old_uniform(uint32_t* word, int n, int size, int place, double* out);

// The words of uniform() as a user may note them down: X, 32 hexadecimal digits, 4 of a check.
std::string seed_text();

// Takes such a text. False: it is none, and the state stays.
bool take_seed_text(std::string_view text);

// Starts uniform() from a number; the sign does not count.
void seed_uniform(int32_t seed);

}  // namespace korva

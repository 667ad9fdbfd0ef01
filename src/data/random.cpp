// data/random.cpp - the generators of random numbers and their seeds.
//
// uniform() adds four generators of 32 bits: a linear congruential one, a shift register, and two
// that multiply with carry (G. Marsaglia's combination). Every intermediate is a word that wraps.
// The old generator stays because old do-files stand on its stream.

#include "data/random.h"

#include <charconv>
#include <cstdlib>

#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/upcalls.h"
#include "core/words.h"

namespace korva {

RandomState random_state;

namespace {

constexpr int kWarmUp = 100;  // draws behind a seed that is not the one of the start
constexpr uint32_t kOldMask = 0x7FFFFFFF;
constexpr size_t kCheckedChars = 33;  // X and four words
constexpr size_t kSeedChars = kCheckedChars + 4;
constexpr uint32_t kCheckModulus = 20009;
constexpr int64_t kSeedBound = 2147483647;  // a seed's absolute value is below it

uint32_t step(UniformState* s) {
    s->x = 69069 * s->x + 1234567;
    s->y ^= s->y << 13;
    s->y ^= s->y >> 17;
    s->y ^= s->y << 5;
    s->z = 65184 * (s->z & 65535) + (s->z >> 16);
    s->w = 63663 * (s->w & 65535) + (s->w >> 16);
    return s->x + s->y + s->z + (s->w << 16);
}

uint32_t check_word(std::string_view text) {
    uint32_t h = 0;
    for (char c : text) h = h * 31 + uint8_t(c);
    return h % kCheckModulus;
}

void append_hex(std::string* text, uint32_t word, int digits) {
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
        text->push_back("0123456789abcdef"[word >> shift & 15]);
    }
}

// The word that all of the text is, in lower-case digits.
bool read_hex(std::string_view text, uint32_t* word) {
    *word = 0;
    for (char c : text) {
        const bool letter = c >= 'a' && c <= 'f';
        if (!letter && !(c >= '0' && c <= '9')) return false;
        *word = *word << 4 | uint32_t(letter ? c - 'a' + 10 : c - '0');
    }
    return true;
}

// Takes the rest of the line, an integer whose absolute value is below 2^31-1.
ReturnCode take_seed(const std::string& text, int32_t* seed) {
    const size_t sign = text.starts_with('+') ? 1 : 0;
    const char* begin = text.data() + sign;
    const char* end = text.data() + text.size();
    int64_t number = 0;
    const auto [behind, error] = std::from_chars(begin, end, number);
    const bool whole = error == std::errc() && behind == end && begin != end &&
                       !(sign && *begin == '-');
    if (!whole || number >= kSeedBound || number <= -kSeedBound) {
        return ReportFoundWhere(text, "integer < 2^31-1");
    }
    *seed = int32_t(std::abs(number));
    return 0;
}

// What stands behind the setting's name, to the end of the line.
std::string rest_of_line() {
    char* rest = SkipBlanks(ScanRest());
    const std::string text(TrimBlanks(rest));
    SetScanPointer(rest + std::char_traits<char>::length(rest));
    return text;
}

ReturnCode set_word(uint32_t* word) {
    int32_t seed = 0;
    if (ReturnCode rc = take_seed(rest_of_line(), &seed)) return rc;
    *word = uint32_t(seed);
    return 0;
}

}  // namespace

void draw_uniform(UniformState* state, int n, int size, int place, double* out) {
    UniformState s = *state;
    for (int i = 0; i < n; i++) {
        for (int k = 0; k < size; k++) {
            const double u = step(&s) / 4294967296.0;
            if (k == place) out[i] = u;
        }
    }
    *state = s;
}

void draw_old_uniform(uint32_t* word, int n, int size, int place, double* out) {
    uint32_t s = *word;
    for (int i = 0; i < n; i++) {
        for (int k = 0; k < size; k++) {
            s = (((s * 3533) & kOldMask) + ((s << 16) & kOldMask)) & kOldMask;
            if (k == place) out[i] = s / 2147483648.0;
        }
    }
    *word = s;
}

std::string seed_text() {
    const UniformState& s = random_state.uniform;
    std::string text = "X";
    for (uint32_t word : {s.x, s.y, s.z, s.w}) append_hex(&text, word, 8);
    append_hex(&text, check_word(text), 4);
    return text;
}

bool take_seed_text(std::string_view text) {
    if (text.size() != kSeedChars || text[0] != 'X') return false;
    uint32_t words[4], check;
    for (size_t i = 0; i < 4; i++) {
        if (!read_hex(text.substr(1 + 8 * i, 8), &words[i])) return false;
    }
    if (!read_hex(text.substr(kCheckedChars), &check)) return false;
    if (check != check_word(text.substr(0, kCheckedChars))) return false;
    random_state.uniform = {words[0], words[1], words[2], words[3]};
    return true;
}

void seed_uniform(int32_t seed) {
    UniformState state;
    const uint32_t start = state.x;
    state.x = uint32_t(std::abs(seed));
    double unused[kWarmUp];
    if (state.x != start) draw_uniform(&state, kWarmUp, 1, 0, unused);
    random_state.uniform = state;
}

std::string SeedText() {
    return seed_text();
}

// set seed #|X...
ReturnCode SetSeed() {
    const std::string text = rest_of_line();
    if (text.starts_with('X')) {
        if (take_seed_text(text)) return 0;
        out_error(text + " is an invalid set-seed code\n");
        return 198;
    }
    int32_t seed = 0;
    if (ReturnCode rc = take_seed(text, &seed)) return rc;
    seed_uniform(seed);
    return 0;
}

// set seed0 #
ReturnCode SetOldSeed() {
    return set_word(&random_state.old_word);
}

// set sortseed #
ReturnCode SetSortSeed() {
    return set_word(&random_state.sort_word);
}

}  // namespace korva

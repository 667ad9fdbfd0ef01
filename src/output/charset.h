// output/charset.h - what the 8-bit characters of shown text are, for writers of other encodings.
#pragma once

#include <cstdint>

namespace korva {

constexpr uint16_t kNoCharacter = 0xFFFD;

// The Unicode code point of a byte of text in the character set that the setting `charset` names:
// latin1 with the Windows characters in 128 to 159, or mac. Control bytes other than tab and
// newline are kNoCharacter.
uint16_t unicode_of(uint8_t byte);

// The Unicode box-drawing character of the byte of a graphic run, that of the byte if it is none.
uint16_t unicode_of_graphic(uint8_t byte);

}  // namespace korva

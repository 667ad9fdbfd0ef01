// data/dta_header.h - the formats of dataset files, and the header record that any of them fills.
//
// A file begins with its format number. What the formats differ in stands in one row each of a
// table, which all code behind the header asks instead of the number wherever it can.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/types.h"
#include "data/byte_source.h"
#include "data/dataset.h"

namespace korva {

constexpr int kTimeStampBytes = 18;  // "12 Jul 2004 16:20" with its NUL
// Where types are letters, a string is this and its width; the widest fills the byte.
constexpr int kLetterStringBase = 127;
constexpr int kLetterStringMost = 255 - kLetterStringBase;

// Widths in bytes of the fields of one format.
struct DtaFormat {
    uint8_t number;
    uint8_t treated_as;   // number by which the code behind the header knows it
    bool has_byte_order;  // otherwise low-high
    uint8_t nobs;         // 2 (signed) or 4
    uint8_t data_label;
    uint8_t time_stamp;  // 0: none
    uint8_t name;        // of variables, value labels and characteristics
    uint8_t display_format;
    uint8_t variable_label;
    uint8_t expansion_length;  // length field of an expansion record; 0: there are none
    bool letter_types;         // types are letters and 127 + length, not the codes of today
    bool old_missing;          // numbers know `.` only
    bool old_value_labels;     // records of two-byte values and eight-byte texts

    // Bytes of the header behind the format number.
    constexpr int header() const { return 5 + nobs + data_label + time_stamp; }
};

// The row of the format; null: there is no such format.
const DtaFormat* find_dta_format(int number);

struct DtaHeader {
    const DtaFormat* format = nullptr;
    bool swapped = false;  // numbers stand in the other byte order than this machine's
    uint16_t nvar = 0;     // as the file says: not checked
    int32_t nobs = 0;      // as the file says: may be negative
    char label[kDataLabelBytes] = {};
    char time_stamp[kTimeStampBytes] = {};  // empty when the format has none
};

// Fills the header from the front of the source. 609 or 610, with words about the file `name`, if
// it is no dataset file of a format in the table; then nothing but the source has changed.
ReturnCode read_dta_header(ByteSource* source, std::string_view name, DtaHeader* header);

// Numbers of the file in this machine's order.
uint16_t dta_u16(const uint8_t* bytes, bool swapped);
uint32_t dta_u32(const uint8_t* bytes, bool swapped);

}  // namespace korva

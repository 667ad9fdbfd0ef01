// frontend/line_record.h - the line record: what a sink receives for each line, byte for byte.
//
// One contiguous block, low-high byte order:
//   0-1    u16 length of the record
//   2-3    u16 position of the anchors
//   4-5    u16 position of the style runs
//   6-7    u16 position of the text
//   8      u8  1 if the line continues a paragraph
//   9      u8  text length + 1
//   10     link table: u8 count; per link u8 first column, u8 column behind the last (0 while
//   open),
//          u8 kind, u8 length of the argument with its NUL, the argument; two zero bytes end it
//   then   anchors: NUL-terminated strings, closed by an empty one
//   then   style runs: u8 index of the last run, u8 start column (0), per run u8 style, u8 column
//   behind
//          its end
//   then   text, NUL-terminated
#pragma once

#include <cstdint>

namespace korva {

// A style byte: bits 0-2 colour class, 3-4 weight, 5 underline, 7 graphic.
enum : uint8_t {
    kClassMask = 7,
    kStyleResult = 1,
    kStyleText = 2,
    kStyleError = 4,
    kStyleInput = 5,
    kStyleLink = 6,
    kStyleHighlight = 7,
    kStyleItalic = 8,
    kStyleBold = 16,
    kStyleUnderline = 32,
    kStyleGraphic = 128,
};

// Codes of a sink call.
enum : int { kSinkLine = 1, kSinkPartial = 2, kSinkFlush = 3, kSinkClose = 4, kSinkMore = 5 };

inline int record_u16(const unsigned char* record, int at) {
    return record[at] | record[at + 1] << 8;
}
inline int record_length(const unsigned char* record) {
    return record_u16(record, 0);
}
inline const unsigned char* record_links(const unsigned char* record) {
    return record + 10;
}
inline const unsigned char* record_anchors(const unsigned char* record) {
    return record + record_u16(record, 2);
}
inline const unsigned char* record_runs(const unsigned char* record) {
    return record + record_u16(record, 4);
}
inline const char* record_text(const unsigned char* record) {
    return reinterpret_cast<const char*>(record + record_u16(record, 6));
}
inline int record_text_length(const unsigned char* record) {
    return uint8_t(record[9] - 1);
}

// The byte of a graphic run as plain text: TT, BT, and the bar `-`; LT, RT `|`; corners `+`.
inline char plain_graphic(char c) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte == 1 || byte == 2) return '-';
    if (byte == 3 || byte == 4) return '|';
    if (byte >= 5 && byte <= 8) return '+';
    return c;
}

}  // namespace korva

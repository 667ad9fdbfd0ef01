// data/dta_header.cpp - the table of formats, and the header.
//
// Numbers in the header have fixed places in front of the texts, so that one routine reads every
// format from the widths of its row.
#include "data/dta_header.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>

#include "core/print.h"
#include "core/return_codes.h"

namespace korva {

static_assert(std::endian::native == std::endian::little,
              "byte order 2 is taken for the machine's own");

namespace {

// clang-format off
constexpr DtaFormat kFormats[] = {
    //                                         display variable expan- letter old    old value
    // no  as   order  nobs label stamp  name  format  label    sion   types  missing labels
    {102, 102, false,  2,   32,   0,     9,    7,      32,      0,     true,  true,  true},
    {103, 104, true,   4,   32,   0,     9,    7,      32,      0,     true,  true,  true},
    {104, 104, true,   4,   32,   0,     9,    7,      32,      0,     true,  true,  true},
    {105, 105, true,   4,   32,   18,    9,    12,     32,      2,     true,  true,  true},
    {106, 106, true,   4,   32,   18,    9,    12,     32,      2,     true,  true,  false},
    {107, 107, true,   4,   81,   18,    9,    12,     81,      2,     true,  true,  false},
    {108, 108, true,   4,   81,   18,    9,    12,     81,      2,     true,  true,  false},
    {110, 110, true,   4,   81,   18,    33,   12,     81,      4,     true,  true,  false},
    {111, 111, true,   4,   81,   18,    33,   12,     81,      4,     false, true,  false},
    {112, 112, true,   4,   81,   18,    33,   12,     81,      4,     true,  false, false},
    {113, 113, true,   4,   81,   18,    33,   12,     81,      4,     false, false, false},
};
// clang-format on

constexpr bool fields_fit(std::span<const DtaFormat> formats) {
    return std::all_of(formats.begin(), formats.end(), [](const DtaFormat& f) {
        return f.data_label <= kDataLabelBytes && f.time_stamp <= kTimeStampBytes &&
               f.name <= kMaxNameBytes + 1 && f.display_format <= kFormatBytes &&
               f.variable_label <= kVariableLabelMax + 1;
    });
}
static_assert(fields_fit(kFormats));
static_assert(kFormats[0].header() == 39 && kFormats[2].header() == 41 &&
              kFormats[3].header() == 59 && std::end(kFormats)[-1].header() == 108);

constexpr int kMaxHeaderBytes = 108;
constexpr std::string_view kLaterFormatMark = "Korva .dta file";  // follows a later one's number
constexpr int kFirstByteOfText = 111;  // below, a byte that is no format needs no second look

ReturnCode refuse_format(ByteSource* source, int number, std::string_view name) {
    char mark[kLaterFormatMark.size()];
    if (number < kFirstByteOfText || !take_bytes(source, mark, sizeof mark) ||
        std::string_view(mark, sizeof mark) != kLaterFormatMark) {
        return ReportFileError(610, name);
    }
    out_errorf("file %.*s from more recent version of Korva\n", int(name.size()), name.data());
    return 610;
}

// Copies a text field of the file, which may lack its NUL, into `to`, which has at least as many
// bytes.
void copy_text(char* to, const uint8_t* field, size_t bytes) {
    if (bytes == 0) return;
    memcpy(to, field, bytes);
    to[bytes - 1] = 0;
}

}  // namespace

const DtaFormat* find_dta_format(int number) {
    const DtaFormat* found = std::find_if(
        std::begin(kFormats), std::end(kFormats),
        [number](const DtaFormat& format) { return format.number == number; });
    return found == std::end(kFormats) ? nullptr : found;
}

ReturnCode read_dta_header(ByteSource* source, std::string_view name, DtaHeader* header) {
    uint8_t number;
    if (!take_bytes(source, &number, 1)) return ReportFileError(610, name);
    const DtaFormat* format = find_dta_format(number);
    if (!format) return refuse_format(source, number, name);

    uint8_t bytes[kMaxHeaderBytes];
    if (!take_bytes(source, bytes, uint64_t(format->header()))) return ReportFileError(610, name);
    if (format->has_byte_order && bytes[0] != 1 && bytes[0] != 2) return ReportFileError(610, name);
    if (bytes[1] != 1) return ReportFileError(609, name);

    *header = {};
    header->format = format;
    header->swapped = format->has_byte_order && bytes[0] == 1;
    header->nvar = dta_u16(bytes + 3, header->swapped);
    header->nobs = format->nobs == 2 ? int16_t(dta_u16(bytes + 5, header->swapped))
                                     : int32_t(dta_u32(bytes + 5, header->swapped));
    const uint8_t* texts = bytes + 5 + format->nobs;
    copy_text(header->label, texts, format->data_label);
    copy_text(header->time_stamp, texts + format->data_label, format->time_stamp);
    return 0;
}

uint16_t dta_u16(const uint8_t* bytes, bool swapped) {
    uint16_t number;
    memcpy(&number, bytes, sizeof number);
    return swapped ? __builtin_bswap16(number) : number;
}

uint32_t dta_u32(const uint8_t* bytes, bool swapped) {
    uint32_t number;
    memcpy(&number, bytes, sizeof number);
    return swapped ? __builtin_bswap32(number) : number;
}

}  // namespace korva

// data/dta_write.h - the dataset as the bytes of a dataset file.
//
// write_dta() changes nothing and does not know where the bytes go; save_dta() puts them safely in
// the place of a file.
#pragma once

#include <cstddef>
#include <string>

#include "core/types.h"
#include "data/dta_header.h"

namespace korva {

struct DtaWriteOptions {
    int format = 113;          // 113, 111 or 110; the older ones know `.` as the only missing value
    bool value_labels = true;  // those that a variable names
    bool orphans = false;      // and those that none does
    bool all = false;          // (e) is written too
    bool oldest_first = false;  // characteristics and value labels, so that the reader makes the
                                // store's order again; otherwise as the store has them
};

// Takes the next n bytes of the file; not 0, told with words, ends the writing.
struct DtaSink {
    ReturnCode (*write)(void* context, const void* bytes, size_t n);
    void* context;
};

// Writes the whole file with the time stamp. kBreak, 909 with words, or what the sink returned.
ReturnCode write_dta(const DtaSink& sink, const DtaWriteOptions& options,
                     const char time_stamp[kTimeStampBytes]);

// "12 Jul 2004 16:20": the time now, as files have it.
void make_time_stamp(char stamp[kTimeStampBytes]);

// Writes the file of the path so that its name stands for the old or the new contents at any
// moment. 603, 608, 693, 694 or 699 with words, or kBreak; the old file is then as it was.
ReturnCode save_dta(const std::string& path, const DtaWriteOptions& options,
                    const char time_stamp[kTimeStampBytes]);

}  // namespace korva

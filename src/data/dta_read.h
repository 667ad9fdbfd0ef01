// data/dta_read.h - reading a dataset file: the lists that describe its variables, and the whole
// file.
//
// use_file() is what commands call. load_dta() is the same from any source of bytes.
// read_dta_header() and then read_dta_variables() give what describes a file without touching the
// dataset.
//
// Nothing in a file is trusted: counts are held against the bytes that are left before memory is
// taken for them, and what reaches the dataset keeps the store's invariants.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/types.h"
#include "data/byte_source.h"
#include "data/dataset.h"
#include "data/dta_header.h"
#include "data/storage_type.h"

namespace korva {

using VariableLabelText = char[kVariableLabelMax + 1];

// The variables of a file as its lists tell them, checked. Index: variable number - 1.
struct DtaVariables {
    int32_t nvar = 0;
    int32_t width = 0;  // bytes of a row in the file
    std::unique_ptr<StorageType[]> types;
    std::unique_ptr<uint32_t[]> offsets;  // of the cell in the file's row
    std::unique_ptr<NameText[]> names;
    std::unique_ptr<FormatText[]> formats;
    std::unique_ptr<NameText[]> label_names;
    std::unique_ptr<VariableLabelText[]> labels;
    std::vector<uint16_t> sortlist;              // 0-terminated
    std::vector<std::string_view> sorted_names;  // in the order of their bytes, for look-up
};

struct DtaOptions {
    bool value_labels = true;
    bool quiet = false;  // the dataset's label is not shown
};

// Reads the lists behind the header: types, names, sort list, display formats, value-label names
// and labels; the source stands at the expansion records. 688, 692, or 900 and 1010 for more
// variables or bytes than the dataset may have, with words about the file `name`.
ReturnCode read_dta_variables(ByteSource* source, std::string_view name, const DtaHeader& header,
                              DtaVariables* variables);

// Puts the file in place of the dataset. 609, 610, and 199 for a format that is not read yet, leave
// the dataset alone; after any other failure (688, 692, 900, 901, 902, 909, 950, 1010, break) it is
// clear. S_FN, S_FNDATE and dataset.filename tell of the file `name` afterwards.
ReturnCode load_dta(ByteSource* source, std::string_view name, const DtaOptions& options);

// load_dta of the file that the user named, which has its extension by now. Also 199, 601, 603 and
// 671, which leave the dataset alone.
ReturnCode use_file(const std::string& name, const DtaOptions& options);

}  // namespace korva

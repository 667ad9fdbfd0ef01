// data/dta_variables.h - the variables of a dataset file, as the lists behind its header tell them.
//
// The record stands beside the dataset. While a DatasetView lives, the dataset's variable table is
// that of the file, so that lists of variables and expressions are read against the file.
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

// Checked. Index: variable number - 1.
struct DtaVariables {
    int32_t nvar = 0;
    int32_t width = 0;  // bytes of a row in the file
    std::unique_ptr<StorageType[]> types;
    std::unique_ptr<uint32_t[]> offsets;  // of the cell in the file's row
    std::unique_ptr<NameText[]> names;
    std::unique_ptr<NameText[]> file_names;  // as in the file, where old names may have dots
    std::unique_ptr<FormatText[]> formats;
    std::unique_ptr<NameText[]> label_names;
    std::unique_ptr<VariableLabelText[]> labels;
    std::vector<uint16_t> sortlist;  // 0-terminated
    std::vector<int32_t> by_name;    // indexes, in the order of the bytes of file_names
};

// Reads the lists behind the header: types, names, sort list, display formats, value-label names
// and labels; the source stands at the expansion records. 688, 692, or 900 and 1010 for more
// variables or bytes than the dataset may have, with words about the file `name`.
ReturnCode read_dta_variables(ByteSource* source, std::string_view name, const DtaHeader& header,
                              DtaVariables* variables);

// The listed variables alone (1-based, rising, each once), their cells close together. The sort
// order goes as far as its keys are among them.
DtaVariables choose_variables(const DtaVariables& variables, const std::vector<int32_t>& vars);

// Index of the variable that has this name in the file; -1: none.
int find_in_file(const DtaVariables& variables, std::string_view name);

// The file has names with dots, which became others: tells which.
void print_renamed(const DtaVariables& variables);

// The file's variables and number of observations in place of those in memory, for as long as the
// guard lives. No cell may be read or written, and nothing added, meanwhile.
struct DatasetView {
    DatasetView(const DtaVariables& variables, const DtaHeader& header);
    ~DatasetView() { dataset = saved; }
    DatasetView(const DatasetView&) = delete;
    DatasetView& operator=(const DatasetView&) = delete;
    DatasetStore saved;
};

}  // namespace korva

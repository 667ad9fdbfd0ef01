// data/dta_read.h - reading a dataset file into the dataset, or only what describes it.
//
// use_file() is what commands call; load_dta() is the same from any source of bytes. A DtaSelection
// restricts a load to some variables and observations. read_dta_header() and then
// read_dta_variables() (data/dta_variables.h) give what describes a file without touching the
// dataset.
//
// Nothing in a file is trusted: counts are held against the bytes that are left before memory is
// taken for them, all that is kept of labels and characteristics against the file's size, and what
// reaches the dataset keeps the store's invariants.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/types.h"
#include "data/byte_source.h"
#include "data/dta_header.h"
#include "data/dta_variables.h"

namespace korva {

struct DtaOptions {
    bool value_labels = true;
    bool quiet = false;  // the dataset's label is not shown
    bool own = false;    // the session's own picture of data that the present partition held: no
                         // spare row is asked for, and any number of rows without variables loads
};

// What of the file is wanted. `if_expression` is compiled against the chosen variables when
// has_condition is set.
struct DtaSelection {
    std::vector<int32_t> vars;  // 1-based numbers in the file, rising, each once
    int32_t first = 1;          // observations of the file
    int32_t last = 0x7FFFFFFF;  // cut at the file's last
    bool has_condition = false;
};

// Puts the file in place of the dataset. A file whose header is refused (609, 610) changes nothing.
// Behind the header any failure leaves the dataset clear: damage (688, 692), want of room (900,
// 901, 902, 1010) or memory (909, 950), a break. S_FN, S_FNDATE and dataset.filename tell of the
// file `name` afterwards.
ReturnCode load_dta(ByteSource* source, std::string_view name, const DtaOptions& options);

// The same behind the header and the lists, for the selection; null: all. The dataset goes at once.
// Only value labels that a chosen variable names come with a selection.
ReturnCode load_dta_body(ByteSource* source, std::string_view name, const DtaHeader& header,
                         const DtaVariables& variables, const DtaSelection* selection,
                         const DtaOptions& options);

// load_dta of the file that the user named, which has its extension by now. Also 199, 601, 603 and
// 671.
ReturnCode use_file(const std::string& name, const DtaOptions& options);

// Opens the file that the user named, at its first byte: 199, 601, 603, 671 with words.
ReturnCode open_dta(const std::string& name, ByteSource* source);

}  // namespace korva

// data/dta_rows.h - the rows of a dataset file, into the dataset; for the reader only.
#pragma once

#include <vector>

#include "data/dta_file.h"
#include "data/dta_read.h"

namespace korva {

// Reads the rows that the selection wants (null: all) behind the source's place into the dataset,
// whose variables are the kept ones and which has no observations; without a condition there is
// room for all of them. (*had_old_missing)[i] becomes true where variable i + 1 had doubles that
// stood for missing in old files. 692, 901, 909 with words or kBreak.
ReturnCode read_dta_rows(const DtaReader& in, const DtaVariables& file, const DtaVariables& kept,
                         const DtaSelection* selection, std::vector<bool>* had_old_missing);

}  // namespace korva

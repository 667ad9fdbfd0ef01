// data/label_language.h - label language: several sets of labels, of which one is in use.
//
// The labels in use are the dataset's own; those of the other languages wait in characteristics.
// _dta[_lang_c] names the language in use, _dta[_lang_list] the others; both are absent while there
// has never been but one, which is then called "default".
#pragma once

#include "core/types.h"

namespace korva {

// label language [name [, new copy rename delete]], the scanner behind the word. A failure leaves
// every label and characteristic as it was.
ReturnCode label_language();

}  // namespace korva

// core/dispatch.h - from the command word to what runs it: built-in, program, or ado-file.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/types.h"

namespace korva {

// Loads the file of CommandWord and the extension along the ado-path. 199 with its words when the
// word names nothing; the code of the load when it failed. mustDefine: the file must define the
// word.
ReturnCode AutoLoad(std::string_view extension, bool mustDefine);

}  // namespace korva

// core/do_file.h - the line of a do, run or include.
#pragma once

#include <string>

#include "core/session.h"
#include "core/types.h"

namespace korva {

// Reads the text behind the command word: the file's name, resolved to *path (as typed, with `.do`
// if it has no extension, when there is no such file: opening it fails), the text of the arguments,
// trimmed, and whether a failing line ends the file. The options stand behind the last comma that
// is in no quotes. An include takes the name only.
ReturnCode ParseDoLine(ExecKind kind, std::string* path, std::string* arguments, bool* stop);

}  // namespace korva

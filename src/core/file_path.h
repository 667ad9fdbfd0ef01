// core/file_path.h - from the file name that a user types to the path that is opened.
#pragma once

#include <string>
#include <string_view>

#include "core/types.h"

namespace korva {

// The name, with the extension (".dta") behind it when its last part has none.
std::string WithExtension(std::string_view name, std::string_view extension);

// What stands behind the last separator, of either kind.
std::string_view LastPartOf(std::string_view name);

// The path under which the system knows the file that the user named. A web address is 199, another
// scheme 671, a name that is longer than a path may be 603, each with its words.
ReturnCode LocalPath(const std::string& name, std::string* path);

}  // namespace korva

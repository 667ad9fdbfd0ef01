// core/version.h - the version of the program, and versions as text.
#pragma once

#include <string>

namespace korva {

// The build that `version #, born()` compares with.
constexpr int kBuildDay = 20;
constexpr int kBuildMonth = 7;
constexpr int kBuildYear = 2007;
constexpr const char* kBuildDate = "20 Jul 2007";

// A version times 100 as it is shown: 920 is "9.2", 900 "9.0", 911 "9.11".
std::string VersionText(int version);

}  // namespace korva

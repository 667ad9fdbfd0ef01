// core/platform.h - every word and value that names the platform, in one place.
#pragma once

namespace korva::platform {

constexpr const char* kMachine = "PC";               // S_MACH
constexpr const char* kOperatingSystem = "Windows";  // S_OS; ado-files test for this value
constexpr const char* kByteOrder = "lohi";
constexpr const char* kDirectorySeparator = "/";
constexpr const char* kIrrelevantHere = "irrelevant under Windows\n";  // note 8001
constexpr const char* kDefaultTempDirectory = "/tmp";
constexpr const char* kHomeVariable = "HOME";  // stands for USERPROFILE where that is not set

}  // namespace korva::platform

// core/switches.h - the command line's switches.
#pragma once

namespace korva {

extern const char* const kSwitchHelp;  // what --help prints

// Reads argv from *first on while an argument is a switch into startup_options; *first is then the
// first that is none. False, with a note shown: an unknown switch or a bad number.
bool ParseSwitches(int argc, char** argv, int* first);

}  // namespace korva

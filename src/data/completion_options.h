// data/completion_options.h - the options that a command takes, for completion.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace korva {

enum class OptionArgument : uint8_t {
    None,       // a flag
    Variables,  // variables, or text in which they may stand
    Expression,
    Other,  // numbers and names that nobody can foretell
};

struct OptionChoice {
    std::string name;  // in full, a leading `no` included
    int minimum = 1;   // fewest characters of it
    OptionArgument argument = OptionArgument::None;
};

// The options of a command by its full name: of a built-in from the table, of a program or an
// ado-file from its `syntax` lines. Empty if nothing is known. Nothing is loaded.
std::vector<OptionChoice> known_options(std::string_view command);

// The options of a picture as `syntax` has it: behind its first comma, capitals mark the minimum.
void add_picture_options(std::string_view picture, std::vector<OptionChoice>* options);

}  // namespace korva

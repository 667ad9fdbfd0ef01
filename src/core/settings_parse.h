// core/settings_parse.h - the pieces of which the handlers of `set` are made.
#pragma once

#include <string>
#include <string_view>

#include "core/types.h"

namespace korva {

struct SettingOptions {
    bool permanent = false;  // permanently was given
    bool other = false;      // so was the option that the row has of its own
};

// What may stand behind the value: nothing, or a comma and permanently (from 4 characters) and, if
// `other` is not empty, that word. Anything else is "invalid syntax", 198.
ReturnCode TakeSettingOptions(SettingOptions* options, std::string_view other = {});

// A text at the scanner: what stands between quotes, or else all up to a comma or the end. Empty if
// there is none.
std::string TakeSettingText();

// "({cmd:set name} preference recorded)"; `behind` goes in front of the parenthesis.
void SayRecorded(std::string_view name, std::string_view behind = {});

// True if the text is a confidence level, 10 to 99.99.
bool LevelIsSound(const std::string& text);

}  // namespace korva

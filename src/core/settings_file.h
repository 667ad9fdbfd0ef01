// core/settings_file.h - the persistent settings: a small text file of `section key value` lines.
//
// It stands at korva/settings under $XDG_CONFIG_HOME (default ~/.config). Values are texts of at
// most 499 bytes. A file with a line that is none of ours counts as damaged: nothing of it is used,
// and the next value that is recorded leaves out the lines that are no settings.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/types.h"

namespace korva {

inline constexpr std::string_view kSettingsSection = "set_w";
inline constexpr std::string_view kMemorySection = "mem_se_w";
constexpr size_t kMaxSettingBytes = 499;

// The whole file, read once for many look-ups; empty when there is none.
struct RecordedSettings {
    std::string text;
    std::string damaged = {};  // the file's path, if it is damaged or cannot be read
};
RecordedSettings ReadSettingsFile();

// The recorded text of section and key; false if there is none.
bool FindRecorded(const RecordedSettings& recorded, std::string_view section, std::string_view key,
                  std::string* value);

// The recorded number, or `otherwise` when it is missing or no number.
int64_t RecordedNumber(const RecordedSettings& recorded, std::string_view section,
                       std::string_view key, int64_t otherwise);

// The directory of the settings file, made if it is missing; empty when there is no home.
std::string MakeSettingsDirectory();

// Records a value: the file is written whole beside the old one, flushed and renamed over it, under
// a lock, so that two sessions lose nothing of each other's. Failures are not reported.
void RecordSetting(std::string_view section, std::string_view key, std::string_view value);

}  // namespace korva

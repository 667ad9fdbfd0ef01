// frontend/history.h - typed lines kept across sessions, in a file of the user's.
//
// Each line is appended as it is entered, so that a session that is killed loses none, and sessions
// that run side by side keep theirs. The file is korva/history beside the settings.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace korva {

constexpr int kMostHistoryEntries = 5000;

// What earlier sessions have entered, oldest first; an entry of several lines has them joined by
// LF. A file that has grown too long is cut to its newest entries. A later call begins anew.
std::vector<std::string> LoadHistory(const std::string& path);

// Appends a line to the file that was loaded. begins: it begins an entry, else it belongs to the
// one that this session has begun. Failures are not reported.
void RecordHistory(std::string_view line, bool begins);

}  // namespace korva

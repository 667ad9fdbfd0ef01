// core/completion_files.h - names of files that begin like what was typed.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace korva {

struct FileMatch {
    std::string name;  // inside its directory
    bool is_directory = false;
};

// What the directory (empty: the current one) has that begins with `prefix`, in no order. A
// directory always counts, a file if it ends in one of `suffixes` (".do .ado"; empty: any). Names
// that cannot be typed between quotes are left out, and hidden ones unless the prefix has the
// point.
std::vector<FileMatch> MatchFiles(const std::string& directory, std::string_view prefix,
                                  std::string_view suffixes);

// The names, without `.ado`, of the ado-files along S_ADO that begin with `prefix`; a name may come
// more than once. What a directory holds is remembered until the directory changes.
std::vector<std::string> MatchAdoFiles(std::string_view prefix);

// The first `limit` bytes of a plain file; empty when it cannot be read or is anything else.
std::string ReadHeadOfFile(const std::string& path, size_t limit);

}  // namespace korva

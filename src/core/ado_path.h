// core/ado_path.h - where ado-files and system directories are.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/types.h"

namespace korva {

constexpr int kMaxDirectoryBytes = 127;  // of a system directory, its separator included

struct SystemDirectories {
    std::string korva, updates, base, site, plus, personal, oldplace;  // each ends in the separator
};
extern SystemDirectories directories;  // defined in core/ado_path.cpp

// Fills the directories from the installation directory (with its final separator) and the home.
void StartDirectories(std::string_view installation);

// The directory of a codeword (KORVA, UPDATES, BASE, SITE, PLUS, PERSONAL, OLDPLACE); empty: no
// codeword.
std::string_view SystemDirectory(std::string_view codeword);

// Changes the directory of a codeword, its final separator added; false: no codeword.
bool SetSystemDirectory(std::string_view codeword, std::string_view path);

// The codewords in the order in which they are listed, index 0-based; empty behind the last.
std::string_view SystemCodeword(int index);

// Looks for name.extension along the elements of S_ADO, in each directory and in its subdirectory
// of the name's first letter. `occurrence` 1 takes the first hit, a larger one skips that many less
// one.
bool FindOnPath(std::string_view name, std::string_view extension, int occurrence,
                std::string* result);

// The directories of S_ADO's elements in their order, each with its final separator, whether they
// are there or not.
std::vector<std::string> PathDirectories();

// The file of a do, run or include: the name itself (with .do when it has no extension), then the
// path. False leaves the name itself, with its extension, in *result.
bool FindDoFile(std::string_view name, std::string* result);

// `name` if a file of it can be seen; else with every `\` as `/` when that names one; else `name`.
std::string PlatformPath(std::string_view name);

// True for anything at the path but a directory.
bool FileExists(const char* path);

bool DirectoryExists(const char* path);

}  // namespace korva

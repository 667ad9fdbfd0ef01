// core/file_replace.h - writing a file so that its name always stands for a whole one.
//
// The new contents go to a file beside the old one, are flushed to the disk, and take the name by a
// rename. A full disk, a signal or a kill at any moment leaves the old file or the new one; after a
// kill the unfinished file, ".korva_PROCESS_NUMBER.new", stands beside it.
// Whatever this program writes over goes through here, but for logs, which grow in place.
//
//     FileReplacement file;
//     if (ReturnCode rc = BeginReplace(&file, path)) return rc;
//     ... WriteReplacement(&file, bytes, n) ...
//     return CommitReplace(&file);    // without it the destructor removes what was written
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "core/types.h"

namespace korva {

struct FileReplacement {
    int fd = -1;         // open for writing; -1: not begun, committed or abandoned
    std::string name;    // as the caller gave it: what messages show
    std::string target;  // where it goes: links are followed
    std::string beside;  // the file being written, in the target's directory

    FileReplacement() = default;
    ~FileReplacement();  // abandons what was not committed
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;
};

// Opens the file beside `path`, with the rights of what stands there now. 603 with words when the
// directory refuses it or the path is none of a regular file; 604 when a log is written there; 608
// when the present file may not be written.
ReturnCode BeginReplace(FileReplacement* file, std::string_view path);

// Adds n bytes; 693 or, for want of space, 699, with words.
ReturnCode WriteReplacement(FileReplacement* file, const void* bytes, size_t n);

// Flushes to the disk and renames, then flushes the directory; 693, 694 or 699 with words, the old
// file untouched.
ReturnCode CommitReplace(FileReplacement* file);

// Removes the file beside; nothing if none is open.
void AbandonReplace(FileReplacement* file);

}  // namespace korva

// core/file_open.h - opening what somebody named for reading, whatever it turns out to be.
#pragma once

#include <string>

#include "core/types.h"

namespace korva {

// Opens a regular file for reading: *fd is the caller's to close. It never waits: a pipe or a
// device might not answer, and has no size. 601 when there is none, 603 when it cannot be opened or
// is something else; without words.
ReturnCode OpenToRead(const std::string& path, int* fd);

// Reads up to n bytes: how many, 0 at the end, -1 when the system refuses.
int64_t ReadSome(int fd, void* to, size_t n);

}  // namespace korva

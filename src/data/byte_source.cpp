// data/byte_source.cpp - a read buffer over a descriptor or a block.
//
// A pipe or a device has no size to check counts against, so only regular files are taken. One that
// shrinks while it is read looks like one that was cut.
#include "data/byte_source.h"

#include <algorithm>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

#include "core/alloc.h"
#include "core/file_open.h"

namespace korva {

namespace {

constexpr uint64_t kDirectBytes = 4096;  // from here on a copy through the buffer costs more than a
                                         // call

// Up to n bytes from the descriptor; 0 at the end or when the system refuses.
size_t read_some(int fd, void* to, size_t n) {
    const int64_t got = ReadSome(fd, to, n);
    return got > 0 ? size_t(got) : 0;
}

bool refill(ByteSource* source) {
    if (source->fd < 0) return false;
    const size_t got = read_some(source->fd, source->buffer, sizeof source->buffer);
    source->next = source->buffer;
    source->limit = source->buffer + got;
    return got > 0;
}

}  // namespace

ByteSource::~ByteSource() {
    if (fd >= 0) close(fd);
}

ReturnCode open_source(ByteSource* source, const std::string& path) {
    int fd = -1;
    if (ReturnCode rc = OpenToRead(path, &fd)) return rc;
    source->fd = fd;
    struct stat facts;
    if (fstat(fd, &facts) != 0) return 603;
    source->next = source->limit = nullptr;
    source->left = source->size = uint64_t(facts.st_size);
    return 0;
}

void open_memory(ByteSource* source, std::span<const uint8_t> bytes) {
    source->fd = -1;
    source->next = bytes.data();
    source->limit = bytes.data() + bytes.size();
    source->left = source->size = bytes.size();
}

bool take_bytes(ByteSource* source, void* to, uint64_t n) {
    if (n > source->left) return false;
    source->left -= n;
    uint8_t* out = static_cast<uint8_t*>(to);
    while (n > 0) {
        const uint64_t at_hand = std::min<uint64_t>(n, uint64_t(source->limit - source->next));
        if (at_hand > 0) {
            memcpy(out, source->next, at_hand);
            source->next += at_hand;
        } else if (n >= kDirectBytes && source->fd >= 0) {
            const size_t got = read_some(source->fd, out, n);
            if (got == 0) return false;
            out += got;
            n -= got;
            continue;
        } else if (!refill(source)) {
            return false;
        }
        out += at_hand;
        n -= at_hand;
    }
    return true;
}

bool skip_bytes(ByteSource* source, uint64_t n) {
    if (n > source->left) return false;
    source->left -= n;
    const uint64_t at_hand = std::min<uint64_t>(n, uint64_t(source->limit - source->next));
    source->next += at_hand;
    n -= at_hand;
    if (n == 0) return true;
    if (source->fd < 0 || StressFails()) return false;
    return lseek(source->fd, off_t(n), SEEK_CUR) >= 0;
}

bool go_back(ByteSource* source, uint64_t left) {
    if (left > source->size) return false;
    if (source->fd < 0) {
        source->next = source->limit - left;
    } else {
        if (StressFails()) return false;
        if (lseek(source->fd, off_t(source->size - left), SEEK_SET) < 0) return false;
        source->next = source->limit = nullptr;
    }
    source->left = left;
    return true;
}

}  // namespace korva

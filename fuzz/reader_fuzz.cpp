// fuzz/reader_fuzz.cpp - any bytes as a do-file: lines are read, expanded and cut into tokens, not
// run.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>

#include "core/macro.h"
#include "core/poll.h"
#include "core/reader.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/startup.h"
#include "core/store.h"

namespace {

using namespace korva;

constexpr size_t kMostBytes = 65536;

// The do-file as the reader sees it.
void open_bytes(LineReader* reader, const uint8_t* bytes, size_t size) {
    reader->fd = memfd_create("do-file", MFD_CLOEXEC);
    size_t written = 0;
    while (written < size) {
        const ssize_t n = write(reader->fd, bytes + written, size - written);
        if (n <= 0) break;
        written += size_t(n);
    }
    lseek(reader->fd, 0, SEEK_SET);
    std::snprintf(reader->name, sizeof reader->name, "fuzzed.do");
}

void read_all_lines() {
    while (ReadNextLine(true) == 0) {
        if (ExpandMacros() != 0) continue;
        do {
            NextToken();
        } while (!TokenIsEmpty());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    static const bool started = StartEngineTables(2048, 1 << 20);
    if (!started || size > kMostBytes) return 0;
    session.OutputThreshold = kThresholdCapture;
    session.DelimiterMode = 0;
    session.ReaderEof = 0;
    SetLocal("a", "text `b' $c");
    SetLocal("b", "2");
    SetMacro("c", "`\"quoted\"'");
    LineReader reader;
    open_bytes(&reader, bytes, size);
    session.CurrentReader = &reader;
    read_all_lines();
    session.CurrentReader = nullptr;
    CloseReader(&reader);
    StoreClear();
    ClearBreak();
    return 0;
}

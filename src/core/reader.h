// core/reader.h - the do-file reader and the read from the keyboard.
#pragma once

#include <cstdint>

#include "core/types.h"

namespace korva {

#ifdef KORVA_STRESS
constexpr int kReaderBytes = 16;  // small, so that everything straddles its end
#else
constexpr int kReaderBytes = 32768;
#endif

// One open do-file. Lives on the stack of the RunFile that reads it.
struct LineReader {
    int fd = -1;
    char buffer[kReaderBytes];  // bytes read and not yet taken
    int32_t next = 0;           // index of the next byte in buffer
    int32_t filled = 0;         // bytes in buffer
    bool at_end = false;        // the file has no more bytes
    ReturnCode error = 0;       // what ended the file early: 612, 692
    int64_t total_lines = 0;    // of the outermost file of a batch run; 0: not counted
    int64_t lines_read = 0;
    int32_t percent = -1;  // last percentage shown in the title
    char name[kMaxFileNameBytes + 1];
};

// Opens the file of the path, as it stands. 601, 603 or 692 with their words.
ReturnCode OpenReader(LineReader* reader, const char* path);
void CloseReader(LineReader* reader);

// Lines of the reader's file, for the title of a batch run; 0 unless it is a regular file.
int64_t CountReaderLines(const LineReader& reader);

// Brings the next logical line of the current reader, or of the keyboard when there is none, into
// ConsoleBuffer. #delimit and #review lines are consumed. Sets ReaderEof at the end of the file and
// InputEnded at the end of the keyboard. raw: the line is data (a program's body): an unknown #
// word is handed over instead of refused, and the keyboard shows no prompt.
void FetchLine(bool raw);

// The next raw line of the current source, stored program text included, into ConsoleBuffer with
// its leading blanks: comments, empty lines and macros as they stand. False at the end of the
// source.
bool ReadRawLine();

// Adds a line to the review ring.
void AddToReviewRing(const char* line);

// conslen is another from here on, and the ring holds what fits of its lines. Its block is large
// enough for any.
void ResizeReviewRing(int32_t conslen);

}  // namespace korva

// output/capture.h - output of a stretch of commands into a sink of the caller's: what a Viewer
// fills itself from.
//
//     if (ReturnCode rc = capture_begin(take_line, &lines, width)) return rc;
//     CaptureGuard guard;
//     ... print: the records come to take_line() ...
//     capture_end();    // or the guard: the rest of the text comes, and all is as before
//
// Within the capture everything printed reaches the sink, whatever `quietly` or `capture` was in
// force, in text style at first; no log sees it and nothing pauses. Only one can be active.
#pragma once

#include "core/types.h"
#include "output/stream.h"

namespace korva {

// Begins the capture: the sink gets the records and codes of a new stream of the width given. 119
// while another one is active, 950 without memory, each with its words and nothing changed.
ReturnCode capture_begin(StreamSink sink, void* sink_data, int width);

// Ends it: the stream's last line, then codes 3 and 4 go to the sink. Current stream, output kind,
// quiet level, break flags and the running command line are again as capture_begin() found them.
// Nothing if none is active.
void capture_end();

bool capture_active();

// Ends the capture on every way out of its scope.
struct CaptureGuard {
    CaptureGuard() = default;
    ~CaptureGuard() { capture_end(); }
    CaptureGuard(const CaptureGuard&) = delete;
    CaptureGuard& operator=(const CaptureGuard&) = delete;
};

}  // namespace korva

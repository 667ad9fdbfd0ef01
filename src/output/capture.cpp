// output/capture.cpp - swaps the current stream for one of its own, and swaps it back.
//
// What is captured may run commands of its own, so the place in the running line is kept too: the
// scanner with its token, and the word that Dispatch matched.
#include "output/capture.h"

#include <cstring>

#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "output/results.h"

namespace korva {

namespace {

struct CaptureState {
    OutputStream* stream = nullptr;  // owned; null: no capture is active
    OutputStream* before = nullptr;  // the stream that was current
    uint8_t threshold = 0;           // session.OutputThreshold
    uint8_t level = 0;               // session.MessageLevel
    int break_flag = 0;
    int break_enabled = 1;
    int break_pending = 0;
    int break_deferred = 0;
    ScannerState line;
    char word[sizeof session.CommandWord] = {};
};
CaptureState capture;

void save_session() {
    capture.threshold = session.OutputThreshold;
    capture.level = session.MessageLevel;
    capture.break_flag = session.BreakFlag;
    capture.break_enabled = session.BreakEnabled;
    capture.break_pending = session.BreakPending;
    capture.break_deferred = session.BreakDeferred;
    capture.line = scanner;
    memcpy(capture.word, session.CommandWord, sizeof capture.word);
}

void restore_session() {
    session.OutputThreshold = capture.threshold;
    session.MessageLevel = capture.level;
    session.BreakFlag = capture.break_flag;
    session.BreakEnabled = capture.break_enabled;
    session.BreakPending = capture.break_pending;
    session.BreakDeferred = capture.break_deferred;
    scanner = capture.line;
    memcpy(session.CommandWord, capture.word, sizeof capture.word);
}

}  // namespace

ReturnCode capture_begin(StreamSink sink, void* sink_data, int width) {
    if (capture.stream != nullptr) return ReportError(119);
    OutputStream* s = out_stream_new();
    if (s == nullptr) return ReportError(950);
    out_stream_set_sink(s, sink, sink_data);
    out_stream_set_width(s, width);
    s->underline_capable = 1;
    out_stream_set_mode(s, kModeLine);

    save_session();
    capture.stream = s;
    capture.before = out_set_current(s);
    session.OutputThreshold = kThresholdNormal;
    session.MessageLevel = kLevelText;
    out_tmrk("{txt}");
    return 0;
}

void capture_end() {
    OutputStream* s = capture.stream;
    if (s == nullptr) return;
    capture.stream = nullptr;
    out_set_current(capture.before);
    restore_session();
    out_stream_close(s);  // last: its sink finds the session as it was
}

bool capture_active() {
    return capture.stream != nullptr;
}

}  // namespace korva

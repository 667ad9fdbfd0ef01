// output/results.cpp - the Results stream: its sink is the front end's.
#include "output/results.h"

#include "core/print.h"
#include "core/session.h"
#include "core/settings.h"
#include "frontend/frontend.h"

namespace korva {

PrintState print_state;

namespace {

// The key of a --more--. The guard is up, so that the key is taken here and no event starts a
// command.
int wait_for_more_key() {
    const int32_t guard = session.PollGuard;
    session.PollGuard = 1;
    const int key = frontend.WaitForMoreKey();
    session.PollGuard = guard;
    return key;
}

// Hands records on; the front end, which owns the keyboard, also does the waiting of a --more--.
int results_sink(void*, const uint8_t* record, int code) {
    if (code == kSinkClose) return 0;
    frontend.ResultsSink(record, code);
    return code == kSinkMore ? wait_for_more_key() : 0;
}

}  // namespace

OutputStream* out_set_current(OutputStream* s) {
    OutputStream* before = print_state.current;
    print_state.current = s;
    return before;
}

bool OpenResultsStream() {
    if (print_state.results != nullptr) return true;
    OutputStream* s = out_stream_new();
    if (s == nullptr) return false;
    out_stream_set_sink(s, results_sink, nullptr);
    out_stream_set_width(s, settings.linesize);
    out_stream_set_mode(s, kModeLine);
    print_state.results = print_state.current = s;
    SetResultsPaging(settings.pagesize, settings.more);
    return true;
}

void CloseResultsStream() {
    OutputStream* s = print_state.results;
    if (s == nullptr) return;
    if (print_state.current == s) print_state.current = nullptr;
    print_state.results = nullptr;
    out_stream_close(s);
}

void SetResultsWidth(int columns) {
    if (print_state.results != nullptr) out_stream_set_width(print_state.results, columns);
}

void SetResultsPaging(int pagesize, bool more) {
    if (print_state.results == nullptr) return;
    print_state.results->page_lines = pagesize > 0 ? uint32_t(pagesize) : 0;
    print_state.results->more_enabled = more && !session.BatchMode;
}

int ResultsWidth() {
    const OutputStream* s = print_state.results;
    if (s == nullptr) return 79;
    return s->mode == kModeParagraph ? s->saved_width : s->width;
}

bool AttachResultsLog(int fd, bool markup) {
    OutputStream* s = print_state.results;
    if (s == nullptr) return false;
    return markup ? out_log_attach(s, fd, LogOp::Add) : out_text_log_attach(s, fd, LogOp::Add);
}

bool ResultsLogIsWhole(int fd, bool markup) {
    OutputStream* s = print_state.results;
    if (s == nullptr) return false;
    out_stream_flush(s);
    return log_is_alive(markup ? s->tmrk_logs : s->text_logs, fd);
}

bool DetachResultsLog(int fd, bool markup) {
    OutputStream* s = print_state.results;
    if (s == nullptr) return false;
    return markup ? out_log_attach(s, fd, LogOp::Remove)
                  : out_text_log_attach(s, fd, LogOp::Remove);
}

}  // namespace korva

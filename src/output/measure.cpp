// output/measure.cpp - the width of mark-up, found by rendering it for a sink that only counts.
#include "output/render.h"

#include <cstring>

#include "output/line.h"

namespace korva {

namespace {

constexpr int kMeasureWidth = 254;

// Text inside text is measured once more at each level; beyond this its bytes are counted, or the
// work would double with every level of nesting.
constexpr int kMaxMeasuring = 3;

int add_width(void* total, const uint8_t* record, int code) {
    if (code == kSinkLine) *static_cast<int*>(total) += uint8_t(record[9] - 1);
    return 0;
}

int take_first_word(void* width, const uint8_t* record, int code) {
    int* columns = static_cast<int*>(width);
    if (code != kSinkLine || *columns > 0) return 0;
    const char* text = record_text(record);
    *columns = int(strcspn(text, " "));
    return 0;
}

int measure(const OutputStream* s, std::string_view markup, StreamSink sink) {
    int columns = 0;
    OutputStream counter;
    init_stream(&counter, sink, &columns, kMeasureWidth);
    counter.underline_capable = s->underline_capable;
    counter.measuring = s->measuring + 1;
    counter.copy_bytes_left = s->copy_bytes_left;
    out_stream_set_mode(&counter, kModeLine);
    counter.depth = 1;  // as inside a directive: nothing here may change the mode
    render(&counter, markup);
    render(&counter, "\n");
    out_stream_set_mode(&counter, kModeNone);
    return columns;
}

bool counts_as_bytes(const OutputStream* s, std::string_view markup) {
    return markup.find('{') == std::string_view::npos || s->measuring >= kMaxMeasuring;
}

}  // namespace

int measure_text(const OutputStream* s, std::string_view markup) {
    if (counts_as_bytes(s, markup)) return int(markup.size());
    return measure(s, markup, add_width);
}

int measure_first_word(const OutputStream* s, std::string_view markup) {
    if (counts_as_bytes(s, markup)) return int(markup.substr(0, markup.find(' ')).size());
    return measure(s, markup, take_first_word);
}

}  // namespace korva

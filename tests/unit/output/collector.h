// A stream for tests, and a sink that keeps what it gets as plain values.
#pragma once

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "output/stream.h"

namespace korva::test {

struct Link {
    int first, end, kind;
    std::string args;
    bool operator==(const Link&) const = default;
};

struct StyleRun {
    int style, end;
    bool operator==(const StyleRun&) const = default;
};

struct Line {
    std::string text;
    std::vector<StyleRun> runs;
    std::vector<Link> links;
    std::vector<std::string> anchors;
    bool continued = false;
    bool operator==(const Line&) const = default;
};

inline Line read_record(const uint8_t* record) {
    Line line;
    line.text = record_text(record);
    line.continued = record_continues(record);
    LinkReader links = record_links(record);
    for (RecordLink link; next_link(&links, &link);) {
        line.links.push_back({link.first, link.end, link.kind, link.argument});
    }
    for (const char* name = record_anchors(record); *name != 0; name = next_anchor(name)) {
        line.anchors.emplace_back(name);
    }
    RunReader runs = record_runs(record);
    for (RecordRun run; next_run(&runs, &run);) line.runs.push_back({run.style, run.end});
    return line;
}

struct Collector {
    OutputStream* s = out_stream_new();
    std::vector<Line> lines;
    std::vector<Line> partial;
    int pauses = 0;
    int key = ' ';  // what a pause answers

    explicit Collector(int width = 79, uint32_t mode = kModeLine) {
        out_stream_set_sink(s, take, this);
        out_stream_set_width(s, width);
        out_stream_set_mode(s, mode);
    }
    ~Collector() { out_stream_close(s); }
    Collector(const Collector&) = delete;
    Collector& operator=(const Collector&) = delete;

    static int take(void* data, const uint8_t* record, int code) {
        auto* self = static_cast<Collector*>(data);
        if (code == kSinkLine) self->lines.push_back(read_record(record));
        if (code == kSinkPartial) self->partial.push_back(read_record(record));
        if (code == kSinkMore) self->pauses++;
        return code == kSinkMore ? self->key : 0;
    }

    Collector& feed(std::string_view bytes) {
        out_raw(s, bytes);
        return *this;
    }

    // All lines, the unfinished one included, each closed by `|`.
    std::string text() {
        out_stream_set_mode(s, kModeLine);
        std::string all;
        for (const Line& line : lines) all += line.text + "|";
        return all;
    }
};

// What the mark-up shows, in one piece.
inline std::string shown(std::string_view markup, int width = 79) {
    Collector c(width);
    return c.feed(markup).text();
}

}  // namespace korva::test

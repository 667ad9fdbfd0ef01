// output/translation.cpp - drives the stream over the source, and writes plain text.
//
// Whole lines go through the door, since the end of a chunk counts there; a line that is longer
// than any sensible one goes in parts. Plain text goes as literal text, in lines as long as a
// record can hold, so that what was laid out once is not laid out again.
#include "output/translation.h"

#include <algorithm>

#include "core/poll.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "output/translation_target.h"

namespace korva {

namespace {

constexpr size_t kMaxPendingBytes = 16384;  // of a line that waits for its end
constexpr size_t kOutBytes = 65536;         // gathered before the sink is called

// For the copies that the {dup}s of one block of source may make: thousands of rules over a line,
// and not the 10^15 characters of five {dup 999:} inside each other.
constexpr uint64_t kCopyBudget = uint64_t(1) << 24;

void text_nothing(Translation*) {}

void text_line(Translation* t, const LineParts& parts) {
    if (t->book && begins_page(parts)) t->out += '\f';
    for (const LinePiece& piece : parts.pieces) add_plain(&t->out, piece);
    t->out += '\n';
}

// clang-format off
// By TargetKind.
constexpr TargetRow kTargets[] = {
    {text_nothing, text_line, text_nothing},
    {html_begin,   html_line, html_end},
    {tex_begin,    tex_line,  tex_end},
};
// clang-format on

void hand_out(Translation* t) {
    if (t->rc == 0 && !t->out.empty()) t->rc = t->sink(t->sink_data, t->out);
    t->out.clear();
}

int take_record(void* data, const uint8_t* record, int code) {
    auto* t = static_cast<Translation*>(data);
    if (code != kSinkLine || t->rc != 0) return 0;
    LineParts parts;
    take_line_apart(record, &parts);
    t->writer->line(t, parts);
    if (t->out.size() >= kOutBytes) hand_out(t);
    if (t->rc != 0) t->stream->copy_bytes_left = 0;  // no more copies of what nobody takes
    return 0;
}

void check_break(Translation* t) {
    Poll(session.pollcount);
    if (t->rc == 0 && session.BreakFlag) t->rc = kBreak;
}

// A block of the source through the door.
void convert(Translation* t, std::string_view block) {
    if (t->rc != 0 || block.empty()) return;
    t->stream->copy_bytes_left = kCopyBudget;
    if (t->is_markup) {
        out_raw_newlines(&t->newline_state, t->stream, block);
    } else {
        out_literal_newlines(&t->newline_state, t->stream, block);
    }
    check_break(t);
    if (t->rc == 0 && t->stream->copy_bytes_left == 0) t->rc = ReportFileError(688, t->source_name);
}

// Where the last line of the text begins; 0 if it holds no line end.
size_t start_of_last_line(std::string_view text) {
    const size_t end = text.find_last_of("\r\n");
    return end == text.npos ? 0 : end + 1;
}

void end_stream(Translation* t) {
    if (t->stream == nullptr) return;
    out_stream_close(t->stream);
    t->stream = nullptr;
}

}  // namespace

Translation::~Translation() {
    if (rc == 0) rc = kBreak;  // what closing the stream brings is not wanted
    end_stream(this);
}

void take_line_apart(const uint8_t* record, LineParts* parts) {
    parts->text = {record_text(record), size_t(record_text_length(record))};
    LinkReader links = record_links(record);
    for (RecordLink link; next_link(&links, &link);) {
        if (link.first < link.end) parts->links.push_back(link);
    }
    const char* anchor = record_anchors(record);
    for (; *anchor != 0; anchor = next_anchor(anchor)) parts->anchors.emplace_back(anchor);
    RunReader runs = record_runs(record);
    size_t link = 0;
    int column = 0;
    for (RecordRun run; next_run(&runs, &run);) {
        while (column < run.end) {
            while (link < parts->links.size() && parts->links[link].end <= column) link++;
            const bool ahead = link < parts->links.size();
            const bool inside = ahead && parts->links[link].first <= column;
            int end = run.end;
            if (ahead) {
                end = std::min(end, inside ? parts->links[link].end : parts->links[link].first);
            }
            parts->pieces.push_back({parts->text.substr(size_t(column), size_t(end - column)),
                                     run.style, inside ? int(link) : -1});
            column = end;
        }
    }
}

bool begins_page(const LineParts& parts) {
    return std::find(parts.anchors.begin(), parts.anchors.end(), "\f") != parts.anchors.end();
}

uint8_t target_style(const Translation& t, uint8_t style) {
    const int color = style & kClassMask;
    const bool bold = (t.bold_result && color == kStyleResult) ||
                      (t.bold_input && color == kStyleInput);
    return bold ? style | kStyleBold : style;
}

void add_plain(std::string* out, const LinePiece& piece) {
    if (!(piece.style & kStyleGraphic)) {
        out->append(piece.text);
        return;
    }
    for (char c : piece.text) *out += plain_graphic(c);
}

ReturnCode translation_begin(Translation* t, TargetSink sink, void* sink_data) {
    t->sink = sink;
    t->sink_data = sink_data;
    t->writer = &kTargets[size_t(t->target)];
    t->stream = out_stream_new();
    if (t->stream == nullptr) return t->rc = ReportError(950);
    out_stream_set_sink(t->stream, take_record, t);
    out_stream_set_width(t->stream, t->is_markup ? t->width : kMaxLineColumns);
    // Plain text shows no underline, so its titles get a rule below them as on the screen.
    t->stream->underline_capable = t->target != TargetKind::Text;
    out_stream_set_mode(t->stream, kModeLine);
    t->writer->begin(t);
    return 0;
}

ReturnCode translation_feed(Translation* t, std::string_view bytes) {
    while (t->rc == 0 && !bytes.empty()) {
        const size_t taken = std::min(bytes.size(), kMaxPendingBytes);
        t->pending.append(bytes.substr(0, taken));
        bytes.remove_prefix(taken);
        size_t whole = start_of_last_line(t->pending);
        if (t->pending.size() - whole >= kMaxPendingBytes) whole = t->pending.size();
        convert(t, std::string_view(t->pending).substr(0, whole));
        t->pending.erase(0, whole);
    }
    return t->rc;
}

ReturnCode translation_end(Translation* t) {
    convert(t, t->pending);
    t->pending.clear();
    end_stream(t);
    if (t->rc == 0) t->writer->end(t);
    hand_out(t);
    return t->rc;
}

}  // namespace korva

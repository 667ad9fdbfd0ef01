// Any bytes through a stream: records are sound, lines keep to the width, and the same lines come
// however the text is cut into calls.
//
// A newline at the end of a call has a meaning, and so have these, which are kept whole: a line of
// nothing but blanks, which may end a paragraph; "{tmrk}" and its newline; more of an open
// directive than the stream holds back. A brace that its line leaves open shows as text at the
// newline, so such a line is never joined to the next one.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "output/stream.h"

namespace {

using namespace korva;

constexpr size_t kMaxLine = 1000;    // below what the stream holds back
constexpr size_t kMaxJoined = 4000;  // bytes of the lines that are joined into one call

enum class Cut { Lines, Pieces, Joined };

struct Seen {
    std::string records;
    OutputStream* s = nullptr;
};

void require(bool holds) {
    if (!holds) abort();
}

void check_record(const uint8_t* record, int width, bool finished) {
    const int length = record_length(record);
    const int columns = record_text_length(record);
    require(columns <= width && record_u16(record, 6) + columns + 1 == length);
    require(record[length - 1] == 0 && length <= kMaxRecordBytes);
    int column = 0;
    RunReader runs = record_runs(record);
    for (RecordRun run; next_run(&runs, &run);) {
        require(run.first == column && run.end >= column);
        column = run.end;
    }
    require(column == columns);
    column = 0;
    LinkReader links = record_links(record);
    for (RecordLink link; next_link(&links, &link);) {
        require(column <= link.first && link.first <= link.end && link.end <= columns);
        require(link.first < link.end || !finished);  // its first word may not be placed yet
        require(link.kind > 0 && *link_hint(link.kind) != 0);
        require(reinterpret_cast<const uint8_t*>(link.argument) < record + record_u16(record, 2));
        column = link.end;
    }
    const char* name = record_anchors(record);
    while (*name != 0) name = next_anchor(name);
    require(name + 1 == reinterpret_cast<const char*>(record + record_u16(record, 4)));
}

int take(void* data, const uint8_t* record, int code) {
    auto* seen = static_cast<Seen*>(data);
    if (code != kSinkLine && code != kSinkPartial) return 0;
    check_record(record, seen->s->saved_width, code == kSinkLine);
    if (code == kSinkLine) {
        seen->records.append(reinterpret_cast<const char*>(record), size_t(record_length(record)));
    }
    return 0;
}

bool is_blank(std::string_view line) {
    return line.find_first_not_of(" \t\n") == std::string_view::npos;
}

// True if the line may stand ahead of another in one call.
bool may_be_joined(std::string_view line) {
    int open = 0;
    for (char c : line) {
        if (c == '{') open++;
        if (c == '}' && open > 0) open--;
    }
    return open == 0 && line.ends_with('\n') && line.find("{tmrk}") == std::string_view::npos;
}

std::string_view first_line(std::string_view text) {
    const size_t end = text.find('\n');
    return text.substr(0, end == std::string_view::npos ? end : end + 1);
}

void feed_pieces(OutputStream* s, std::string_view line, uint32_t* random, uint32_t step) {
    while (!is_blank(line)) {
        *random = *random * 1664525 + 1013904223;
        const size_t n = std::min(line.size() - 1, size_t(1 + (*random >> 16) % step));
        if (n == 0) break;
        out_raw(s, line.substr(0, n));
        line.remove_prefix(n);
    }
    out_raw(s, line);
}

struct Options {
    int width;
    bool underline, from_net;
    uint32_t step;
};

std::string rendered(std::string_view text, const Options& options, Cut cut) {
    Seen seen;
    OutputStream* s = seen.s = out_stream_new();
    if (s == nullptr) return {};
    out_stream_set_sink(s, take, &seen);
    out_stream_set_width(s, options.width);
    out_stream_set_mode(s, kModeLine);
    s->underline_capable = options.underline;
    if (options.from_net) s->korva_link_kind++, s->lumo_link_kind++;
    uint32_t random = options.step;
    while (!text.empty()) {
        std::string_view line = first_line(text);
        if (cut == Cut::Joined) {
            while (line.size() < text.size() && line.size() < kMaxJoined &&
                   may_be_joined(line.substr(line.rfind('\n', line.size() - 2) + 1))) {
                line = text.substr(0, line.size() + first_line(text.substr(line.size())).size());
            }
        }
        text.remove_prefix(line.size());
        if (cut == Cut::Pieces) {
            feed_pieces(s, line, &random, options.step);
        } else {
            out_raw(s, line);
        }
        require(s->depth == 0 && s->held_len < kHeldBytes && s->word_len <= kMaxWordBytes);
    }
    if (cut != Cut::Pieces) out_stream_flush(s);
    // Whatever came: the sequence leads back to line mode, and text shows as it stands there.
    out_raw(s, "\n");
    out_raw(s, "{tmrk}\n");
    out_literal(s, "{asis}{\n{tmrk}\n{p}{");
    require(s->mode == kModeLine && s->held_len == 0 && s->match_held == 0);
    out_stream_close(s);
    return seen.records;
}

// Lines that are not too long, and no copies of copies, which take as long as they take.
bool is_fit(std::string_view text) {
    size_t line = 0;
    size_t repeats = 0;
    for (size_t i = 0; i < text.size(); i++) {
        line = text[i] == '\n' ? 0 : line + 1;
        const std::string_view ahead = text.substr(i);
        repeats += ahead.starts_with("dup") ? 2 : ahead.starts_with("col");
        if (line > kMaxLine || repeats > 3) return false;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const std::string_view text{reinterpret_cast<const char*>(data) + 2, size - 2};
    if (!is_fit(text)) return 0;
    const Options options{.width = data[0],
                          .underline = (data[1] & 64) != 0,
                          .from_net = (data[1] & 128) != 0,
                          .step = 1u + data[1] % 16};
    const std::string whole = rendered(text, options, Cut::Lines);
    require(rendered(text, options, Cut::Pieces) == whole);
    require(rendered(text, options, Cut::Joined) == whole);
    return 0;
}

// Any bytes through a stream: lines keep to the width, and a line gives the same however it is cut
// up.
//
// What hangs on whole chunks is kept whole or left out: an empty line ends a paragraph; a directive
// that fills the holding buffer, or a word that fills its own, is given up where it does; and
// copies of copies take as long as they take.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "output/stream.h"

namespace {

using namespace korva;

struct Seen {
    std::string text;
    OutputStream* s = nullptr;
};

int take(void* data, const uint8_t* record, int code) {
    auto* seen = static_cast<Seen*>(data);
    if (code != kSinkLine) return 0;
    if (uint8_t(record[9] - 1) > seen->s->saved_width) abort();
    seen->text.append(reinterpret_cast<const char*>(record), size_t(record_length(record)));
    return 0;
}

bool is_blank(std::string_view line) {
    return line.find_first_not_of(" \t\n") == std::string_view::npos;
}

// Renders line by line; with a step, each line in pieces of about that size.
std::string rendered(std::string_view text, int width, uint32_t step) {
    Seen seen;
    seen.s = out_stream_new();
    if (seen.s == nullptr) return {};
    out_stream_set_sink(seen.s, take, &seen);
    out_stream_set_width(seen.s, width);
    out_stream_set_mode(seen.s, kModeLine);
    uint32_t random = step;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        std::string_view line = text.substr(0, end == std::string_view::npos ? end : end + 1);
        text.remove_prefix(line.size());
        while (step > 0 && !is_blank(line)) {
            random = random * 1664525 + 1013904223;
            const size_t n = std::min(line.size() - 1, size_t(1 + (random >> 16) % step));
            if (n == 0 || is_blank(line.substr(n))) break;
            out_raw(seen.s, line.substr(0, n));
            line.remove_prefix(n);
        }
        out_raw(seen.s, line);
    }
    out_stream_close(seen.s);
    return seen.text;
}

bool is_fit(std::string_view text) {
    size_t line = 0;
    size_t digits = 0;
    size_t fills = 0;  // directives that make text longer than it stands there
    bool copies = false;
    for (size_t i = 0; i < text.size(); i++) {
        line = text[i] == '\n' ? 0 : line + 1;
        digits = text[i] >= '0' && text[i] <= '9' ? digits + 1 : 0;
        if (line > 150 || digits > 2) return false;
        const std::string_view ahead = text.substr(i);
        for (std::string_view name : {"dup", "col", "space", "hline"})
            fills += ahead.starts_with(name);
        copies = copies || ahead.starts_with("dup");
    }
    return fills < 2 && !(copies && text.find("{p") != std::string_view::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const std::string_view text{reinterpret_cast<const char*>(data) + 2, size - 2};
    if (!is_fit(text)) return 0;
    const std::string whole = rendered(text, data[0], 0);
    if (rendered(text, data[0], 1 + data[1] % 16) != whole) abort();
    return 0;
}

// Any bytes through a conversion: it ends, what it writes is well formed, and how the source is cut
// into pieces changes nothing.
//
// The first byte chooses target and options, the second the width and the size of the pieces.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "output/translation.h"

namespace {

using namespace korva;

constexpr size_t kMaxSourceBytes = 600;  // what larger ones expand to takes too long
constexpr size_t kMaxOutBytes = size_t(8) << 20;

ReturnCode take(void* data, std::string_view bytes) {
    auto* out = static_cast<std::string*>(data);
    out->append(bytes);
    return out->size() > kMaxOutBytes ? 699 : 0;
}

// The code; the target in *out.
ReturnCode converted(std::string_view source, int choice, int width, size_t piece,
                     std::string* out) {
    Translation t;
    t.target = TargetKind(choice % 3);
    t.is_markup = !(choice & 4);
    t.page = choice & 8;
    t.book = choice & 16;
    t.bold_result = choice & 32;
    t.bold_input = choice & 64;
    t.all_links = choice & 128;
    t.width = width;
    if (ReturnCode rc = translation_begin(&t, take, out)) return rc;
    while (!source.empty()) {
        if (ReturnCode rc = translation_feed(&t, source.substr(0, piece))) return rc;
        source.remove_prefix(source.size() < piece ? source.size() : piece);
    }
    return translation_end(&t);
}

// Elements close in order, and no byte of the source stands where mark-up begins.
void check_html(std::string_view html) {
    std::string open;  // first letters of the elements now open
    for (size_t i = 0; i < html.size(); i++) {
        if (uint8_t(html[i]) >= 127) abort();
        if (html[i] != '<') continue;
        const size_t end = html.find('>', i);
        if (end == html.npos) abort();
        const std::string_view tag = html.substr(i + 1, end - i - 1);
        if (tag.starts_with("!") || tag.starts_with("meta")) continue;
        if (!tag.starts_with("/")) {
            open += tag[0];
        } else if (open.empty() || open.back() != tag[1]) {
            abort();
        } else {
            open.pop_back();
        }
        i = end;
    }
    if (!open.empty()) abort();
}

// Braces match; those of the source are macros.
void check_tex(std::string_view tex) {
    int depth = 0;
    for (char c : tex) {
        depth += c == '{' ? 1 : c == '}' ? -1 : 0;
        if (depth < 0 || uint8_t(c) >= 127) abort();
    }
    if (depth != 0) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2 || size > kMaxSourceBytes) return 0;
    const std::string_view source{reinterpret_cast<const char*>(data) + 2, size - 2};
    const int width = data[1] < 40 ? 79 : data[1];
    std::string whole;
    const ReturnCode rc = converted(source, data[0], width, source.size() + 1, &whole);
    if (rc != 0) return 0;
    if (TargetKind(data[0] % 3) == TargetKind::Html) check_html(whole);
    if (TargetKind(data[0] % 3) == TargetKind::Tex) check_tex(whole);
    std::string cut;
    if (converted(source, data[0], width, 1 + data[1] % 16, &cut) != 0 || cut != whole) abort();
    return 0;
}

// output/translation.h - from mark-up or plain text to plain text, HTML or TeX.
//
// A conversion drives a stream of its own over the source and writes each finished line in the
// target's way. The source comes in pieces of any size and the target goes out in pieces:
//
//     Translation t;
//     t.target = TargetKind::Html;
//     if (ReturnCode rc = translation_begin(&t, write, &file)) return rc;
//     ... while (more) if (ReturnCode rc = translation_feed(&t, bytes)) return rc; ...
//     return translation_end(&t);
//
// The source is hostile: any bytes, lines of any length, directives that never close or that grow
// without end.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/types.h"
#include "output/stream.h"

namespace korva {

enum class TargetKind : uint8_t { Text, Html, Tex };

// Takes a piece of the target; a code ends the conversion, its words printed.
using TargetSink = ReturnCode (*)(void* data, std::string_view bytes);

struct TargetRow;  // output/translation_target.h

struct Translation {
    // What the caller sets.
    bool is_markup = true;  // false: the source is text as it stands
    TargetKind target = TargetKind::Text;
    bool page = true;          // HTML: a whole page, not only what stands between <pre> and </pre>
    bool book = false;         // ready for paper; see docs/manual/translate.md
    bool bold_result = false;  // yebf: class result in bold face
    bool bold_input = false;   // whbf: class input in bold face
    bool all_links = false;    // links: those that only the program can follow, too
    int width = 79;            // columns of a line
    std::string source_name;   // for messages
    std::string title;         // of the page

    // What the conversion keeps.
    TargetSink sink = nullptr;
    void* sink_data = nullptr;
    const TargetRow* writer = nullptr;
    OutputStream* stream = nullptr;  // owned; null: not begun, or ended
    std::string pending;             // the source's last line, not ended yet
    std::string out;                 // lines not yet given to the sink
    uint8_t newline_state = 0;       // of out_raw_newlines
    ReturnCode rc = 0;               // the first failure; nothing is written after it

    Translation() = default;
    ~Translation();  // gives up a conversion that was not ended
    Translation(const Translation&) = delete;
    Translation& operator=(const Translation&) = delete;
};

// Begins: the target's head. 950 without memory.
ReturnCode translation_begin(Translation* t, TargetSink sink, void* sink_data);

// Converts the next bytes of the source. kBreak when the user broke in, 688 when the source has
// copies of copies that would fill any disk, or what the sink said.
ReturnCode translation_feed(Translation* t, std::string_view bytes);

// Converts what is left and writes the target's end; the codes of translation_feed().
ReturnCode translation_end(Translation* t);

}  // namespace korva

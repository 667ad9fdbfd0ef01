// output/translation_target.h - what the writers of the targets share: a line taken apart, and the
// table of their callbacks.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "frontend/line_record.h"
#include "output/translation.h"

namespace korva {

// A stretch of one style that no link begins or ends in.
struct LinePiece {
    std::string_view text;
    uint8_t style;
    int link;  // 0-based index in the links; -1: none
};

// All of it points into the record.
struct LineParts {
    std::string_view text;
    std::vector<LinePiece> pieces;
    std::vector<RecordLink> links;
    std::vector<std::string_view> anchors;  // a form feed stands for a new page
};

// Takes the record apart, with at least one piece unless the line is empty.
void take_line_apart(const uint8_t* record, LineParts* parts);

// True if a {newpage} stands on the line.
bool begins_page(const LineParts& parts);

// The style as the target shows it: bold face where yebf and whbf ask for it.
uint8_t target_style(const Translation& t, uint8_t style);

// Adds the text, graphic bytes in their ASCII forms.
void add_plain(std::string* out, const LinePiece& piece);

// Callbacks of a target; each adds to t->out.
struct TargetRow {
    void (*begin)(Translation* t);
    void (*line)(Translation* t, const LineParts& parts);
    void (*end)(Translation* t);
};

// output/translation_html.cpp
void html_begin(Translation* t);
void html_line(Translation* t, const LineParts& parts);
void html_end(Translation* t);

// output/translation_tex.cpp
void tex_begin(Translation* t);
void tex_line(Translation* t, const LineParts& parts);
void tex_end(Translation* t);

}  // namespace korva

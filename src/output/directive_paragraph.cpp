// output/directive_paragraph.cpp - paragraphs, the two-column family and the mode changers.
#include <algorithm>
#include <cstdio>

#include "output/directives.h"
#include "output/line.h"
#include "output/render.h"

namespace korva {

namespace {

// A directive that started a paragraph renders its text below the top level, and then leaves the
// rest of the chunk to be rendered anew.
void render_below_top(OutputStream* s, std::string_view text) {
    s->depth = 1;
    render(s, text);
    s->depth = 0;
}

constexpr int kMaxOptionColumns = 246;  // the third column, up to 9 behind it, stays below 256

struct Columns {
    int col1, col2, col3, right;
};

// Takes numbers[0..3] as the settings of two columns; false when they make no sense.
bool check_columns(const int* numbers, Columns* columns) {
    for (int i = 0; i < 4; i++) {
        if (numbers[i] < 0) return false;
    }
    *columns = {std::max(1, numbers[0]), std::max(1, numbers[1]), std::max(1, numbers[2]),
                numbers[3]};
    return columns->col1 < 256 && columns->col2 < 256 && columns->col3 < 256 &&
           columns->col2 > columns->col1;
}

}  // namespace

bool dir_p(OutputStream* s, DirectiveCall* call) {
    int numbers[3] = {0, 0, 0};
    if (call->rest.find_first_of("+-") != std::string_view::npos) return false;  // takes no signs
    if (read_numbers(call, numbers, 3) < 0 || !finish_arguments(call) || call->has_text)
        return false;
    if (numbers[0] > 255 || numbers[1] > 255) return false;
    start_paragraph(s, numbers[0], numbers[1], numbers[2]);
    return true;
}

bool dir_p_end(OutputStream* s, DirectiveCall*) {
    if (s->mode != kModeParagraph) return false;
    s->blank_after_para = 0;
    out_stream_set_mode(s, kModeLine);
    return true;
}

bool dir_p_fixed(OutputStream* s, DirectiveCall* call) {
    start_paragraph(s, call->argument >> 16, call->argument >> 8 & 255, call->argument & 255);
    return true;
}

bool dir_p2colset(OutputStream* s, DirectiveCall* call) {
    int numbers[5] = {0, 0, 0, 0, s->p2_dent};
    const int n = read_numbers(call, numbers, 5);
    Columns columns;
    if (n < 4 || !finish_arguments(call) || call->has_text || !check_columns(numbers, &columns)) {
        return false;
    }
    if (n == 5 && numbers[4] < 0 && -numbers[4] >= columns.col1) return false;
    s->p2_col1 = columns.col1;
    s->p2_col2 = columns.col2;
    s->p2_col3 = columns.col3;
    s->p2_right = columns.right;
    s->p2_dent = numbers[4];
    return true;
}

bool dir_p2colreset(OutputStream* s, DirectiveCall*) {
    s->p2_col1 = 1;
    s->p2_col2 = 31;
    s->p2_col3 = 35;
    s->p2_right = 0;
    s->p2_dent = 2;
    return true;
}

// Argument 1: the first column is indented by p2_dent, and no numbers are taken.
bool dir_p2col(OutputStream* s, DirectiveCall* call) {
    const bool dented = call->argument == 1;
    Columns columns{s->p2_col1, s->p2_col2, s->p2_col3, s->p2_right};
    if (!dented) {
        int numbers[4];
        const int n = read_numbers(call, numbers, 4);
        if ((n != 0 && n != 4) || !finish_arguments(call) || !call->has_text) return false;
        if (n == 4 && !check_columns(numbers, &columns)) return false;
    }
    const int first = columns.col1 - 1 + (dented ? s->p2_dent : 0);
    start_paragraph(s, std::max(0, first), columns.col3 - 1, columns.right);
    render_below_top(s, call->text);
    place_pending_word(s);
    if (s->column > columns.col2 - 1) {
        end_line(s);
        s->para_line = 0;
    } else if (s->column < columns.col2 - 1) {
        place_fill(s, ' ', columns.col2 - 1 - s->column, s->style);
        s->after_sentence = 2;  // the second column follows here without a gap
        s->spaces_seen = 0;
    }
    return true;
}

bool dir_p2line(OutputStream* s, DirectiveCall* call) {
    int numbers[2] = {0, 0};
    if (call->argument == 1) {
        numbers[0] = s->p2_dent;
    } else {
        const int n = read_numbers(call, numbers, 2);
        if ((n != 0 && n != 2) || !finish_arguments(call) || call->has_text) return false;
    }
    if (s->mode != kModeLine) return true;
    const int from = s->p2_col1 + numbers[0] - 1;
    const int to = s->width - (s->p2_right + numbers[1]);
    if (from > 255 || to > 255) return false;
    place_fill(s, ' ', from - s->column, s->style);
    place_fill(s, '-', to - s->column, s->style | kStyleGraphic);
    return true;
}

bool dir_synoptset(OutputStream* s, DirectiveCall* call) {
    int columns = 20;
    bool tabbed = false;
    std::string_view token = next_token(call);
    if (!token.empty() && token != "tabbed") {
        columns = read_number(token);
        if (columns < 0 || columns > kMaxOptionColumns) return false;
        token = next_token(call);
    }
    if (token == "tabbed") {
        tabbed = true;
        token = next_token(call);
    }
    if (!token.empty() || !call->rest.empty()) return false;
    s->p2_col1 = tabbed ? 7 : 5;
    s->p2_col2 = tabbed ? 7 + columns : 5 + columns + 2;
    s->p2_dent = tabbed ? -2 : 0;
    s->p2_col3 = s->p2_col2 + 2;
    s->p2_right = 2;
    return true;
}

bool dir_synopthdr(OutputStream* s, DirectiveCall* call) {
    const std::string_view text = call->has_text ? call->text : "options";
    if (text.size() > 200) return false;
    const int ahead = std::max(0, s->p2_col1 + s->p2_dent - 1);
    const int behind = s->p2_col2 - s->p2_dent - s->p2_col1 - int(text.size());
    char markup[320];
    const int n = snprintf(markup, sizeof markup, "{space %3d}{it}%.*s{sf}{space %3d}description",
                           ahead, int(text.size()), text.data(), behind < 0 ? 1 : behind);
    render(s, {markup, size_t(n)});
    return true;
}

// A line of its own between rows of a table of options.
bool dir_syntab(OutputStream* s, DirectiveCall* call) {
    const int indent = std::max(0, s->p2_col1 + s->p2_dent - 1);
    start_paragraph(s, indent, indent, s->p2_right);
    render_below_top(s, call->text);
    s->blank_after_para = 0;
    out_stream_set_mode(s, kModeLine);
    s->swallow_newline = 0;  // one newline is absorbed, not two
    s->newline_ends_line = 0;
    return true;
}

bool dir_mode(OutputStream* s, DirectiveCall* call) {
    out_stream_set_mode(s, uint32_t(call->argument));
    return true;
}

}  // namespace korva

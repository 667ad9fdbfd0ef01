// output/directive_layout.cpp - style and layout directives.
#include <algorithm>

#include "core/poll.h"
#include "core/session.h"
#include "output/directives.h"
#include "output/line.h"
#include "output/render.h"

namespace korva {

namespace {

constexpr uint64_t kCopyCost = 64;  // what a copy of {dup} costs besides its bytes

// Sets the style for the text only, or from here on when there is no text.
bool set_style(OutputStream* s, const DirectiveCall* call, uint8_t style) {
    const uint8_t before = s->style;
    s->style = style;
    if (call->has_text) {
        render(s, call->text);
        s->style = before;
    }
    return true;
}

// Ends what has been written of the line; an untouched line stays.
void end_used_line(OutputStream* s) {
    if (s->mode == kModeParagraph) place_pending_word(s);
    if (!s->line_fresh) end_line(s);
}

// The text in a field of `columns`, padded on both sides.
void write_field(OutputStream* s, std::string_view text, int left, int right) {
    write_fill(s, ' ', left, s->style);
    render(s, text);
    write_fill(s, ' ', right, s->style);
}

// Pads ahead of text that goes to the end of the line (whole) or its middle, by a share of the
// surplus.
void write_aligned(OutputStream* s, std::string_view text, int (*share)(int surplus)) {
    const int columns = measure_text(s, text);
    if (columns > s->width - s->column && s->column > 0) render(s, "\n");
    const int surplus = s->width - s->column - columns;
    write_field(s, text, surplus > 0 ? share(surplus) : 0, 0);
}

bool parse_field(DirectiveCall* call, int* columns) {
    *columns = read_number(next_token(call));
    return *columns >= 0 && *columns < 256 && finish_arguments(call) && call->has_text;
}

// Writes the text of `call` into its field, share(surplus) of the columns left over on the left.
// False if its arguments are no field.
template <class Share>
bool write_in_field(OutputStream* s, DirectiveCall* call, Share share) {
    int columns = 0;
    if (!parse_field(call, &columns)) return false;
    if (s->mode != kModeLine) {
        render(s, call->text);
        return true;
    }
    const int surplus = std::max(0, columns - measure_text(s, call->text));
    const int left = share(surplus);
    write_field(s, call->text, left, surplus - left);
    return true;
}

}  // namespace

bool dir_class(OutputStream* s, DirectiveCall* call) {
    return set_style(s, call, uint8_t((s->style & ~kClassMask) | call->argument));
}

bool dir_weight(OutputStream* s, DirectiveCall* call) {
    const int others = s->style & ~(kStyleItalic | kStyleBold);
    return set_style(s, call, uint8_t(others | call->argument));
}

bool dir_ul(OutputStream* s, DirectiveCall* call) {
    DirectiveCall ahead = *call;
    if (finish_arguments(&ahead)) {
        return ahead.has_text && set_style(s, &ahead, s->style | kStyleUnderline);
    }
    const std::string_view word = next_token(call);
    if (!finish_arguments(call) || call->has_text) return false;
    if (word == "on") return set_style(s, call, s->style | kStyleUnderline);
    if (word == "off") return set_style(s, call, uint8_t(s->style & ~kStyleUnderline));
    return false;
}

bool dir_reset(OutputStream* s, DirectiveCall*) {
    s->style = kStyleText;
    return true;
}

bool dir_dots(OutputStream* s, DirectiveCall*) {
    if (s->mode != kModeParagraph) s->newline_ends_line = 0;
    return true;
}

bool dir_rule(OutputStream* s, DirectiveCall*) {
    end_used_line(s);
    if (s->column >= s->width) return false;
    place_fill(s, '-', s->width - s->column, s->style | kStyleGraphic);
    end_line(s);
    s->newline_ends_line = 0;
    return true;
}

bool dir_comment(OutputStream*, DirectiveCall* call) {
    return !call->rest.empty();
}

bool dir_tab(OutputStream* s, DirectiveCall*) {
    if (s->mode == kModeLine) write_tab(s);
    return true;
}

bool dir_col(OutputStream* s, DirectiveCall* call) {
    const std::string_view token = next_token(call);
    if (token.empty() || !finish_arguments(call)) return false;
    const int column = std::max(read_number(token), 1) - 1;  // a bad number counts as negative
    if (column >= 255) return false;
    if (!call->has_text) {
        place_fill(s, ' ', column - s->column, s->style);
        return true;
    }
    while (s->column < column) {
        const int before = s->column;
        render(s, call->text);
        if (s->column <= before) break;
    }
    return true;
}

bool dir_right(OutputStream* s, DirectiveCall* call) {
    if (s->mode != kModeLine) {
        render(s, call->text);
    } else {
        write_aligned(s, call->text, [](int surplus) { return surplus; });
    }
    return true;
}

bool dir_center(OutputStream* s, DirectiveCall* call) {
    const bool larger_left = call->argument == 1;
    DirectiveCall ahead = *call;
    if (finish_arguments(&ahead)) {
        if (!ahead.has_text) return false;
        if (s->mode != kModeLine) {
            render(s, ahead.text);
        } else if (larger_left) {
            write_aligned(s, ahead.text, [](int surplus) { return surplus - surplus / 2; });
        } else {
            write_aligned(s, ahead.text, [](int surplus) { return surplus / 2; });
        }
        return true;
    }
    return write_in_field(s, call, [larger_left](int surplus) {
        return larger_left ? surplus - surplus / 2 : surplus / 2;
    });
}

bool dir_align(OutputStream* s, DirectiveCall* call) {
    const bool right = call->argument == 1;
    return write_in_field(s, call, [right](int surplus) { return right ? surplus : 0; });
}

bool dir_dup(OutputStream* s, DirectiveCall* call) {
    const int copies = read_number(next_token(call));
    if (copies < 0 || copies > 999 || !finish_arguments(call) || !call->has_text) return false;
    // Copies inside copies can be very many: the user may break in, and a stream may bound them.
    const uint64_t cost = kCopyCost + call->text.size();
    for (int i = 0; i < copies && !session.BreakFlag; i++) {
        if (s->copy_bytes_left < cost) {
            s->copy_bytes_left = 0;
            break;
        }
        s->copy_bytes_left -= cost;
        render(s, call->text);
        Poll(session.pollcount);
    }
    return true;
}

bool dir_space(OutputStream* s, DirectiveCall* call) {
    const int columns = read_number(next_token(call));
    if (columns < 0 || columns > 255 || !finish_arguments(call) || call->has_text) return false;
    write_fill(s, s->mode == kModeParagraph ? kHardSpace : ' ', columns, s->style);
    return true;
}

bool dir_hline(OutputStream* s, DirectiveCall* call) {
    int number = 0;
    const std::string_view token = next_token(call);
    if (!finish_arguments(call) || call->has_text) return false;
    if (token.empty()) {
        if (s->mode != kModeLine) return false;
        number = s->width - s->column;
    } else {
        if (!read_signed(token, &number)) return false;
        if (token[0] == '-') number += s->width - cursor_column(s);
    }
    if (number < 0 || number > 255) return false;
    write_fill(s, '-', number, s->style | kStyleGraphic);
    return true;
}

bool dir_break(OutputStream* s, DirectiveCall*) {
    if (s->mode == kModeParagraph) place_pending_word(s);
    end_line(s);
    s->para_line = 0;
    return true;
}

bool dir_newpage(OutputStream* s, DirectiveCall*) {
    return add_anchor(s, "\f");
}

bool dir_marker(OutputStream* s, DirectiveCall* call) {
    const std::string_view name = next_token(call);
    if (name.empty() || !finish_arguments(call) || call->has_text) return false;
    return add_anchor(s, name);
}

bool dir_bind(OutputStream* s, DirectiveCall* call) {
    s->binding++;
    render(s, call->text);
    s->binding--;
    return true;
}

bool dir_title(OutputStream* s, DirectiveCall* call) {
    if (s->mode != kModeLine) {
        render(s, call->text);
        return true;
    }
    const uint8_t before = s->style;
    const int from = s->column;
    s->style = uint8_t((before & ~kStyleItalic) | kStyleBold);
    if (s->underline_capable) s->style |= kStyleUnderline;
    const int columns = s->underline_capable ? 0 : measure_text(s, call->text);
    render(s, call->text);
    s->style = before;
    if (!s->underline_capable) {
        end_line(s);
        place_fill(s, ' ', from, s->style);
        place_fill(s, '-', std::min(columns, s->width - from), s->style | kStyleGraphic);
    }
    return true;
}

// A tab as a dialog shows it: its title in a frame that stands on a line.
bool dir_dlgtab(OutputStream* s, DirectiveCall* call) {
    int indent[2] = {4, 2};
    if (read_numbers(call, indent, 2) < 0 || !finish_arguments(call) || !call->has_text)
        return false;
    if (indent[0] < 0 || indent[1] < 0) return false;
    if (s->mode != kModeLine) {
        render(s, call->text);
        return true;
    }
    const int title = measure_text(s, call->text);
    const int room = s->width - s->column;
    int a = std::min(indent[0], 255);
    int b = std::min(indent[1], 255);
    if (a + title + 6 + b + 2 > room) b = 0;
    if (a + title + 6 + b + 2 > room) a = std::max(0, room - title - b - 8);
    const int tail = std::max(0, room - a - title - 8 - b);
    const uint8_t graphic = s->style | kStyleGraphic;

    place_fill(s, ' ', a + 4, s->style);
    place_fill(s, 8, 1, graphic);  // TLC
    place_fill(s, '-', title + 2, graphic);
    place_fill(s, 7, 1, graphic);  // TRC
    end_line(s);
    place_fill(s, ' ', b + a, s->style);
    place_fill(s, '-', 4, graphic);
    place_fill(s, 5, 1, graphic);  // BRC
    place_fill(s, ' ', 1, s->style);
    render(s, call->text);
    place_fill(s, ' ', 1, s->style);
    place_fill(s, 6, 1, graphic);  // BLC
    place_fill(s, '-', tail, graphic);
    return true;
}

}  // namespace korva
